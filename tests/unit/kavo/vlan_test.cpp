#include "kavo_vlan.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr ov_ifindex_t PORT = 0x10000001;
constexpr ov_ifindex_t OTHER_PORT = 0x10000002;

class Vlan : public ::testing::Test {
protected:
    Vlan() { EXPECT_EQ(uvlan_init(), KAVO_OK); }

    static umsg_vlan_port_t membership(std::initializer_list<uint32_t> vids, uint16_t tag = 0,
                                       ov_ifindex_t ifindex = PORT) {
        umsg_vlan_port_t link{};
        link.ifindex = ifindex;
        link.tag = tag;
        for (uint32_t vid : vids)
            EXPECT_TRUE(uvlan_set_add(&link.uvlan, vid));
        return link;
    }
    static uint32_t link(std::initializer_list<uint32_t> vids, uint16_t tag = 0,
                         ov_ifindex_t ifindex = PORT) {
        umsg_vlan_port_t record = membership(vids, tag, ifindex);
        return uvlan_port_link(&record);
    }
    static uint32_t unlink(std::initializer_list<uint32_t> vids, ov_ifindex_t ifindex = PORT) {
        umsg_vlan_port_t record = membership(vids, 0, ifindex);
        return uvlan_port_unlink(&record);
    }
};

TEST_F(Vlan, InitCreatesVlanOneOnly) {
    ASSERT_NE(vlan_get_entry(1), nullptr);
    EXPECT_EQ(vlan_get_entry(1)->vid, 1);
    for (uint32_t vid = 2; vid <= 4094; vid++)
        ASSERT_EQ(vlan_get_entry(vid), nullptr) << vid;
}

TEST_F(Vlan, InitEmptiesTheList) {
    uvlan_create(7);
    uvlan_port_add(PORT);
    vlan_prealloc_vid();
    uvlan_init();
    EXPECT_EQ(vlan_get_entry(7), nullptr);
    EXPECT_EQ(uvlan_port_get(PORT), nullptr);
    EXPECT_EQ(vlan_prealloc_vid(), 2);
}

TEST_F(Vlan, CreateMakesAVlanOnce) {
    uvlan_entry_t* vlan = uvlan_create(100);
    ASSERT_NE(vlan, nullptr);
    EXPECT_EQ(vlan->vid, 100);
    EXPECT_STREQ(vlan->name, "vlan100");
    EXPECT_EQ(vlan_get_entry(100), vlan);
    EXPECT_EQ(uvlan_create(100), vlan);
    EXPECT_NE(uvlan_create(4094), nullptr);
}

TEST_F(Vlan, IdsOutOfRangeAreNoVlans) {
    for (uint32_t vid : {0u, 4095u, 4096u, 65537u, 0xFFFFFFFFu}) {
        EXPECT_EQ(uvlan_create(vid), nullptr) << vid;
        EXPECT_EQ(vlan_get_entry(vid), nullptr) << vid;
        EXPECT_STREQ(uvlan_get_name(vid), "unknown") << vid;
        EXPECT_EQ(_uvlan_del(vid), KAVO_PARAM) << vid;
        EXPECT_EQ(uvlan_set_pvid(PORT, vid), KAVO_PARAM) << vid;
        EXPECT_FALSE(uvlan_is_in_port(PORT, vid)) << vid;
        uvlan_t set{};
        EXPECT_FALSE(uvlan_set_add(&set, vid)) << vid;
        EXPECT_FALSE(uvlan_set_remove(&set, vid)) << vid;
        EXPECT_FALSE(uvlan_set_has(&set, vid)) << vid;
    }
}

TEST_F(Vlan, SetEntryNamesAVlanAndMakesItWhenMissing) {
    uvlan_entry_t entry{20, "voice"};
    EXPECT_EQ(vlan_set_entry(&entry), KAVO_OK);
    EXPECT_STREQ(uvlan_get_name(20), "voice");
    entry.name[0] = '\0';
    EXPECT_EQ(vlan_set_entry(&entry), KAVO_OK);
    EXPECT_STREQ(uvlan_get_name(20), "vlan20");
    EXPECT_EQ(vlan_set_entry(vlan_get_entry(20)), KAVO_OK);
    EXPECT_STREQ(uvlan_get_name(20), "vlan20");
    memset(entry.name, 'x', sizeof(entry.name)); // no terminator
    EXPECT_EQ(vlan_set_entry(&entry), KAVO_OK);
    EXPECT_EQ(uvlan_get_name(20), std::string(32, 'x'));
    entry.vid = 4095;
    EXPECT_EQ(vlan_set_entry(&entry), KAVO_PARAM);
    EXPECT_EQ(vlan_set_entry(nullptr), KAVO_PARAM);
    EXPECT_STREQ(uvlan_get_name(21), "unknown");
}

TEST_F(Vlan, PreallocGivesEachFreeIdOnce) {
    uvlan_create(2);
    EXPECT_EQ(vlan_prealloc_vid(), 3);
    EXPECT_EQ(vlan_prealloc_vid(), 4);
    EXPECT_EQ(vlan_get_entry(3), nullptr); // set aside, not created
    EXPECT_EQ(_uvlan_del(3), KAVO_OK);     // given back
    EXPECT_EQ(_uvlan_del(3), KAVO_ERR);
    EXPECT_EQ(vlan_prealloc_vid(), 3);
    uvlan_create(4);
    EXPECT_EQ(_uvlan_del(4), KAVO_OK);
    EXPECT_EQ(vlan_prealloc_vid(), 4);
    for (int vid = 5; vid <= 4094; vid++)
        ASSERT_EQ(vlan_prealloc_vid(), vid);
    EXPECT_EQ(vlan_prealloc_vid(), 0);
}

TEST_F(Vlan, VlanOneCannotBeDeleted) {
    EXPECT_EQ(_uvlan_del(1), KAVO_PARAM);
    EXPECT_NE(vlan_get_entry(1), nullptr);
}

TEST_F(Vlan, DeletionTakesPortsOutAndPutsTheirOwnVlanBack) {
    uvlan_create(10);
    uvlan_port_add(PORT);
    link({1, 10});
    uvlan_set_pvid(PORT, 10);
    EXPECT_EQ(_uvlan_del(10), KAVO_OK);
    EXPECT_EQ(vlan_get_entry(10), nullptr);
    EXPECT_FALSE(uvlan_is_in_port(PORT, 10));
    EXPECT_TRUE(uvlan_is_in_port(PORT, 1));
    EXPECT_EQ(uvlan_port_get(PORT)->pvid, 1);
    EXPECT_EQ(_uvlan_del(10), KAVO_ERR);
}

TEST_F(Vlan, NewPortIsInNoVlanAndHasVlanOneAsItsOwn) {
    EXPECT_EQ(uvlan_port_add(PORT), KAVO_OK);
    const umsg_vlan_port_t* port = uvlan_port_get(PORT);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(port->ifindex, PORT);
    EXPECT_EQ(port->pvid, 1);
    EXPECT_TRUE(std::all_of(std::begin(port->uvlan.bits), std::end(port->uvlan.bits),
                            [](uint8_t byte) { return byte == 0; }));
    EXPECT_EQ(uvlan_port_add(0), KAVO_PARAM);
    EXPECT_EQ(uvlan_port_add(OV_IFINDEX_INVALID), KAVO_PARAM);
}

TEST_F(Vlan, AddingAPortAgainKeepsItsMembership) {
    uvlan_port_add(PORT);
    link({1}, 1);
    EXPECT_EQ(uvlan_port_add(PORT), KAVO_OK);
    EXPECT_TRUE(uvlan_is_in_port(PORT, 1));
    EXPECT_EQ(uvlan_port_get(PORT)->tag, 1);
}

TEST_F(Vlan, PortsJoinAndLeaveSetsOfVlans) {
    for (uint32_t vid : {10u, 20u, 4094u})
        uvlan_create(vid);
    uvlan_port_add(PORT);
    uvlan_port_add(OTHER_PORT);
    EXPECT_EQ(link({1, 10}, 0), KAVO_OK);
    EXPECT_EQ(link({20, 4094}, 1), KAVO_OK);
    for (uint32_t vid : {1u, 10u, 20u, 4094u}) {
        EXPECT_TRUE(uvlan_is_in_port(PORT, vid)) << vid;
        EXPECT_FALSE(uvlan_is_in_port(OTHER_PORT, vid)) << vid;
    }
    EXPECT_EQ(uvlan_port_get(PORT)->tag, 1);
    EXPECT_EQ(unlink({10, 4094, 3000}), KAVO_OK);
    EXPECT_FALSE(uvlan_is_in_port(PORT, 10));
    EXPECT_TRUE(uvlan_is_in_port(PORT, 20));
    EXPECT_FALSE(uvlan_is_in_port(PORT, 4094));
}

TEST_F(Vlan, APortJoinsAllVlansOfASetOrNone) {
    uvlan_port_add(PORT);
    EXPECT_EQ(link({1, 10}), KAVO_ERR); // VLAN 10 doesn't exist
    EXPECT_FALSE(uvlan_is_in_port(PORT, 1));
    umsg_vlan_port_t reserved = membership({1});
    reserved.uvlan.bits[0] |= 1; // VLAN 0
    EXPECT_EQ(uvlan_port_link(&reserved), KAVO_ERR);
    reserved = membership({1});
    reserved.uvlan.bits[511] |= 0x80; // VLAN 4095
    EXPECT_EQ(uvlan_port_link(&reserved), KAVO_ERR);
    EXPECT_FALSE(uvlan_is_in_port(PORT, 1));
}

TEST_F(Vlan, UnknownPortsAreRefused) {
    EXPECT_EQ(link({1}), KAVO_ERR);
    EXPECT_EQ(unlink({1}), KAVO_ERR);
    EXPECT_EQ(uvlan_set_pvid(PORT, 1), KAVO_ERR);
    EXPECT_FALSE(uvlan_is_in_port(PORT, 1));
    EXPECT_EQ(uvlan_port_deinit(PORT), KAVO_OK);
    EXPECT_EQ(uvlan_port_link(nullptr), KAVO_PARAM);
    EXPECT_EQ(uvlan_port_unlink(nullptr), KAVO_PARAM);
}

TEST_F(Vlan, DeinitTakesThePortOutOfEverything) {
    uvlan_port_add(PORT);
    link({1});
    EXPECT_EQ(uvlan_port_deinit(PORT), KAVO_OK);
    EXPECT_EQ(uvlan_port_get(PORT), nullptr);
    uvlan_port_add(PORT);
    EXPECT_FALSE(uvlan_is_in_port(PORT, 1));
}

TEST_F(Vlan, PvidMustBeAnExistingVlan) {
    uvlan_port_add(PORT);
    EXPECT_EQ(uvlan_set_pvid(PORT, 5), KAVO_ERR);
    EXPECT_EQ(uvlan_port_get(PORT)->pvid, 1);
    uvlan_create(5);
    EXPECT_EQ(uvlan_set_pvid(PORT, 5), KAVO_OK);
    EXPECT_EQ(uvlan_port_get(PORT)->pvid, 5);
}

TEST(VlanSet, HasVlanVAtBitVModulo8OfByteVDividedBy8) {
    uvlan_t set{};
    EXPECT_TRUE(uvlan_set_add(&set, 1));
    EXPECT_TRUE(uvlan_set_add(&set, 4094));
    EXPECT_TRUE(uvlan_set_add(&set, 17));
    EXPECT_EQ(set.bits[0], 0x02);
    EXPECT_EQ(set.bits[2], 0x02);
    EXPECT_EQ(set.bits[511], 0x40);
    EXPECT_TRUE(uvlan_set_has(&set, 17));
    EXPECT_FALSE(uvlan_set_has(&set, 16));
    EXPECT_TRUE(uvlan_set_remove(&set, 17));
    EXPECT_FALSE(uvlan_set_has(&set, 17));
    EXPECT_FALSE(uvlan_set_add(nullptr, 1));
    EXPECT_FALSE(uvlan_set_remove(nullptr, 1));
    EXPECT_FALSE(uvlan_set_has(nullptr, 1));
}

std::string matched(const char* range) {
    uint16_t min = 0xAAAA;
    uint16_t max = 0xBBBB;
    if (vlan_range_match(range, &min, &max) != 1) {
        EXPECT_EQ(min, 0xAAAA) << range;
        EXPECT_EQ(max, 0xBBBB) << range;
        return "no";
    }
    return std::to_string(min) + ".." + std::to_string(max);
}

TEST(VlanRange, TakesAnIdOrARange) {
    EXPECT_EQ(matched("5"), "5..5");
    EXPECT_EQ(matched("1"), "1..1");
    EXPECT_EQ(matched("4094"), "4094..4094");
    EXPECT_EQ(matched("10-20"), "10..20");
    EXPECT_EQ(matched("1-4094"), "1..4094");
    EXPECT_EQ(matched("7-7"), "7..7");
}

TEST(VlanRange, RefusesEverythingElse) {
    for (const char* word : {"",      "0",    "4095",   "65537", "4294967297", "99999999999999999999",
                             "5-3",   "0-5",  "1-4095", "-",     "5-",         "-5",
                             "1-2-3", "1--2", "x",      "5x",    "x5",         " 5",
                             "5 ",    "+5",   "1,2",    "1-2x",  "0x10",       "1- 2"})
        EXPECT_EQ(matched(word), "no") << word;
    uint16_t n = 0;
    EXPECT_EQ(vlan_range_match(nullptr, &n, &n), 0);
    EXPECT_EQ(vlan_range_match("1", nullptr, &n), 0);
    EXPECT_EQ(vlan_range_match("1", &n, nullptr), 0);
}

} // namespace
