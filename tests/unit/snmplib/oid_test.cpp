// Object identifiers, and the checks that lookup functions begin with.
#include <gmock/gmock.h>

#include <arpa/inet.h>

#include <vector>

#include "snmp.h"

using testing::ElementsAre;

namespace {

using Name = std::vector<oid>;

int compare(const Name& a, const Name& b) {
    return oid_compare(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()));
}

TEST(Oid, ComparesByArcsAndPutsThePrefixFirst) {
    EXPECT_EQ(compare({1, 3, 6}, {1, 3, 6}), 0);
    EXPECT_LT(compare({1, 3, 6}, {1, 3, 7}), 0);
    EXPECT_GT(compare({1, 4}, {1, 3, 7}), 0);
    EXPECT_LT(compare({1, 3}, {1, 3, 0}), 0);
    EXPECT_GT(compare({1, 3, 0}, {1, 3}), 0);
    EXPECT_LT(compare({}, {0}), 0);
    EXPECT_LT(compare({1}, {4294967295}), 0); // arcs are unsigned
}

TEST(Oid, CopiesArcsAlsoWithinOneName) {
    Name name = {1, 2, 3, 4};
    EXPECT_EQ(oid_copy(name.data() + 1, name.data(), 3), name.data() + 1);
    EXPECT_THAT(name, ElementsAre(1, 1, 2, 3));
    EXPECT_EQ(oid_copy(nullptr, nullptr, 0), nullptr);
}

TEST(Oid, AddressesAreFourArcsOfOneByte) {
    const Name name = {10, 20, 30, 40};
    in_addr address = {};
    oid2in_addr(name.data(), 4, &address);
    EXPECT_EQ(address.s_addr, inet_addr("10.20.30.40"));
    Name back(4);
    oid_copy_addr(back.data(), &address, 4);
    EXPECT_EQ(back, name);
}

TEST(Oid, APartOfAnAddressLeavesTheRestAlone) {
    in_addr address = {.s_addr = inet_addr("1.2.3.4")};
    const Name name = {9, 256 + 8, 7, 7, 7};
    oid2in_addr(name.data(), 2, &address);
    EXPECT_EQ(address.s_addr, inet_addr("9.8.3.4"));
    oid2in_addr(name.data(), 5, &address); // never more than an address has
    EXPECT_EQ(address.s_addr, inet_addr("9.8.7.7"));
    oid2in_addr(name.data(), -1, &address);
    EXPECT_EQ(address.s_addr, inet_addr("9.8.7.7"));
}

class SmuxHeader : public testing::Test {
protected:
    SmuxHeader() {
        object_.namelen = 3;
        oid_copy(object_.name, Name{1, 3, 6}.data(), 3);
    }
    using Header = int(struct variable*, oid*, size_t*, int, size_t*, WriteMethod**);
    bool matches(Header* header, const Name& name, int exact) {
        oid_copy(name_, name.data(), name.size());
        length_ = name.size();
        var_len_ = 0;
        write_method_ = [](int, u_char*, u_char, size_t, u_char*, oid*, size_t) { return 0; };
        return header(&object_, name_, &length_, exact, &var_len_, &write_method_) == MATCH_SUCCEEDED;
    }
    Name name() const { return {name_, name_ + length_}; }

    struct variable object_ = {};
    oid name_[MAX_OID_LEN] = {};
    size_t length_ = 0;
    size_t var_len_ = 0;
    WriteMethod* write_method_ = nullptr;
};

TEST_F(SmuxHeader, AScalarMatchesItsOnlyInstance) {
    EXPECT_TRUE(matches(smux_header_generic, {1, 3, 6, 0}, 1));
    EXPECT_THAT(name(), ElementsAre(1, 3, 6, 0));
    EXPECT_EQ(var_len_, sizeof(long));
    EXPECT_EQ(write_method_, nullptr);
    EXPECT_FALSE(matches(smux_header_generic, {1, 3, 6}, 1));
    EXPECT_FALSE(matches(smux_header_generic, {1, 3, 6, 1}, 1));
}

TEST_F(SmuxHeader, AScalarIsTheNextOfWhatSortsBeforeIt) {
    EXPECT_TRUE(matches(smux_header_generic, {1, 3}, 0));
    EXPECT_THAT(name(), ElementsAre(1, 3, 6, 0));
    EXPECT_TRUE(matches(smux_header_generic, {1, 3, 6}, 0));
    EXPECT_FALSE(matches(smux_header_generic, {1, 3, 6, 0}, 0));
    EXPECT_FALSE(matches(smux_header_generic, {1, 4}, 0));
}

TEST_F(SmuxHeader, AColumnMatchesWhatLiesBelowIt) {
    EXPECT_TRUE(matches(smux_header_table, {1, 3, 6, 5, 5}, 1));
    EXPECT_THAT(name(), ElementsAre(1, 3, 6, 5, 5));
    EXPECT_EQ(var_len_, sizeof(long));
    EXPECT_FALSE(matches(smux_header_table, {1, 3, 5, 9}, 1));
    EXPECT_FALSE(matches(smux_header_table, {1, 3}, 1));
}

TEST_F(SmuxHeader, AColumnStartsAWalkThatComesFromBeforeIt) {
    EXPECT_TRUE(matches(smux_header_table, {1, 3, 5, 9}, 0));
    EXPECT_THAT(name(), ElementsAre(1, 3, 6));
    EXPECT_TRUE(matches(smux_header_table, {1, 3, 6, 7}, 0));
    EXPECT_THAT(name(), ElementsAre(1, 3, 6, 7));
    EXPECT_FALSE(matches(smux_header_table, {1, 3, 7}, 0));
}

} // namespace
