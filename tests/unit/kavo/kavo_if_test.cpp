#include "kavo_if.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../ov_common/product_test_env.h"
#include "avltree.h"

namespace {

class InterfaceList : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(uif_init(), 0); }
    void TearDown() override {
        uif_set_pon_protect_queries(nullptr);
        uif_deinit();
    }
    ScopedVariable log_file{"OV_LOG_FILE", "/dev/null"};
    LogTap log;
};

constexpr ov_ifindex_t PON_1_1 = 0x4c200000;

TEST_F(InterfaceList, CreateByIndexNamesTheRecord) {
    uif_t* uif = uif_create_by_ifindex(PON_1_1);
    ASSERT_NE(uif, nullptr);
    EXPECT_EQ(uif->ifindex, PON_1_1);
    EXPECT_STREQ(uif->name, "gpon-olt1/1");
    EXPECT_EQ(uif->flags, 0u);
    EXPECT_EQ(uif->speed, 0u);
    EXPECT_EQ(uif->duplex, 0u);
    EXPECT_STREQ(uif->onu_sn, "");
    EXPECT_EQ(uif_lookup_by_index(PON_1_1), uif);
    EXPECT_EQ(avl_get_tree_size(g_uif_avl), 1);
}

TEST_F(InterfaceList, CreateOfAnExistingIndexGivesItsRecord) {
    uif_t* uif = uif_create_by_ifindex(PON_1_1);
    uif->speed = 7;
    EXPECT_EQ(uif_create_by_ifindex(PON_1_1), uif);
    EXPECT_EQ(uif_create_by_name("gpon-olt1/1"), uif);
    EXPECT_EQ(uif->speed, 7u);
    EXPECT_EQ(avl_get_tree_size(g_uif_avl), 1);
}

TEST_F(InterfaceList, CreateRefusesWhatHasNoName) {
    EXPECT_EQ(uif_create_by_ifindex(OV_IFINDEX_INVALID), nullptr);
    EXPECT_EQ(uif_create_by_ifindex(15u << 27), nullptr);
    EXPECT_EQ(uif_create_by_name("nonsense"), nullptr);
    EXPECT_EQ(uif_create_by_name(""), nullptr);
    EXPECT_EQ(uif_create_by_name(nullptr), nullptr);
    EXPECT_EQ(avl_get_tree_size(g_uif_avl), 0);
}

TEST_F(InterfaceList, SecondInitKeepsTheRecords) {
    uif_t* uif = uif_create_by_ifindex(PON_1_1);
    EXPECT_EQ(uif_init(), 0);
    EXPECT_EQ(uif_lookup_by_index(PON_1_1), uif);
}

TEST_F(InterfaceList, BeforeInitNothingIsFoundOrMade) {
    uif_deinit();
    EXPECT_EQ(uif_create_by_ifindex(PON_1_1), nullptr);
    EXPECT_EQ(uif_lookup_by_index(PON_1_1), nullptr);
    EXPECT_EQ(uif_lookup_by_name("gpon-olt1/1"), nullptr);
    EXPECT_STREQ(uif_ifindex_to_name(PON_1_1), "unknown");
}

TEST_F(InterfaceList, Holds30720RecordsAndNoMore) {
    std::vector<uif_t*> all;
    for (int i = 0; i < 30720; i++) {
        all.push_back(uif_create_by_ifindex(ov_ifindex_gen_by_logicinfo(6, uint16_t(i))));
        ASSERT_NE(all.back(), nullptr) << i;
    }
    EXPECT_EQ(uif_create_by_ifindex(PON_1_1), nullptr);
    EXPECT_EQ(uif_lookup_by_index(PON_1_1), nullptr);
    EXPECT_EQ(std::set<uif_t*>(all.begin(), all.end()).size(), 30720u);

    uif_delete(all[5]);
    uif_t* uif = uif_create_by_ifindex(PON_1_1);
    ASSERT_NE(uif, nullptr);
    EXPECT_STREQ(uif->name, "gpon-olt1/1");
    EXPECT_EQ(uif_lookup_by_index(ov_ifindex_gen_by_vlan_id(5)), nullptr);
}

TEST_F(InterfaceList, DeleteTakesTheRecordOut) {
    uif_t* uif = uif_create_by_ifindex(PON_1_1);
    uif_t* other = uif_create_by_name("gpon-olt1/2");
    uif_delete(uif);
    EXPECT_EQ(uif_lookup_by_index(PON_1_1), nullptr);
    EXPECT_EQ(uif_lookup_by_name("gpon-olt1/1"), nullptr);
    EXPECT_EQ(uif_lookup_by_name("gpon-olt1/2"), other);
    EXPECT_EQ(avl_get_tree_size(g_uif_avl), 1);
}

TEST_F(InterfaceList, DeleteOfNullOrAForeignRecordDoesNothing) {
    uif_t* uif = uif_create_by_ifindex(PON_1_1);
    uif_t copy = *uif;
    uif_delete(nullptr);
    uif_delete(&copy);
    EXPECT_EQ(uif_lookup_by_index(PON_1_1), uif);
}

TEST_F(InterfaceList, NewRecordOfAnOldPlaceIsClear) {
    uif_t* uif = uif_create_by_ifindex(PON_1_1);
    uif->flags = UIF_FLAG_UP;
    uif->onu_sn[0] = 'A';
    uif_delete(uif);
    const uif_t* again = uif_create_by_name("ge1/1");
    EXPECT_EQ(again->flags, 0u);
    EXPECT_STREQ(again->onu_sn, "");
}

TEST_F(InterfaceList, RecordsAreOrderedByIndex) {
    for (const char* name : {"gpon-onu1/1:2", "ge1/1", "gpon-olt1/1", "gpon-onu1/1:1", "xe1/1"})
        ASSERT_NE(uif_create_by_name(name), nullptr);
    std::vector<std::string> names;
    for (avl_node_s* node = avl_top_sort(g_uif_avl); node != nullptr; node = avl_next_sort(node))
        names.push_back(static_cast<uif_t*>(node->info)->name);
    EXPECT_EQ(names,
              (std::vector<std::string>{"ge1/1", "xe1/1", "gpon-olt1/1", "gpon-onu1/1:1", "gpon-onu1/1:2"}));
    uif_t low{};
    uif_t high{};
    low.ifindex = 1;
    high.ifindex = 0xF0000000;
    EXPECT_LT(uif_cmp_func(&low, &high), 0);
    EXPECT_GT(uif_cmp_func(&high, &low), 0);
    EXPECT_EQ(uif_cmp_func(&low, &low), 0);
}

// ---- look-ups by name --------------------------------------------------------------------------------

TEST_F(InterfaceList, NamesMustMatchWhole) {
    uif_t* uif = uif_create_by_name("gpon-onu1/1:1");
    EXPECT_EQ(uif_lookup_by_name("gpon-onu1/1:1"), uif);
    for (const char* name : {"gpon-onu1/1:12", "gpon-onu1/1:", "gpon-onu1/1:1x", "gpon-onu01/1:1", "",
                             "gpon-onu", "bond0", "gpon-onu1/1:1 and a very long tail"})
        EXPECT_EQ(uif_lookup_by_name(name), nullptr) << name;
    EXPECT_EQ(uif_lookup_by_name(nullptr), nullptr);
}

TEST_F(InterfaceList, UnknownNamesAreNotLogged) {
    EXPECT_EQ(uif_lookup_by_name("bond0"), nullptr);
    EXPECT_EQ(uif_get_by_name("gp1/1"), nullptr);
    EXPECT_TRUE(LogTap::lines().empty());
}

TEST_F(InterfaceList, LookupByLengthTakesThatManyCharacters) {
    uif_t* uif = uif_create_by_name("gpon-onu1/1:1");
    EXPECT_EQ(uif_lookup_by_name_len("gpon-onu1/1:123", 13), uif);
    EXPECT_EQ(uif_lookup_by_name_len("gpon-onu1/1:123", 14), nullptr);
    EXPECT_EQ(uif_lookup_by_name_len("gpon-onu1/1:1", 12), nullptr);
    EXPECT_EQ(uif_lookup_by_name_len("gpon-onu1/1:1", 100), uif) << "not beyond the end of the text";
    EXPECT_EQ(uif_lookup_by_name_len("gpon-onu1/1:1", 0), nullptr);
    EXPECT_EQ(uif_lookup_by_name_len(nullptr, 5), nullptr);
    const char unterminated[] = {'g', 'p', 'o', 'n', '-', 'o', 'n', 'u', '1', '/', '1', ':', '1'};
    EXPECT_EQ(uif_lookup_by_name_len(unterminated, sizeof unterminated), uif);
}

TEST_F(InterfaceList, RecordsWhoseNameSaysAnotherIndexAreFoundToo) {
    uif_t* mgmt = uif_create_by_ifindex(ov_ifindex_gen_by_logicinfo(14, 1));
    EXPECT_EQ(uif_lookup_by_name("eth1"), mgmt) << "the name says kind 8";
    uif_t* eth = uif_create_by_ifindex(ov_ifindex_gen_by_logicinfo(8, 1));
    EXPECT_EQ(uif_lookup_by_name("eth1"), eth);
    uif_t* shelf0 = uif_create_by_ifindex(ov_ifindex_gen_by_phyinfo(2, 0, 1, 0, 1, 0));
    EXPECT_EQ(uif_lookup_by_name("ge1/1"), shelf0);
    uif_t* gem = uif_create_by_ifindex(ov_ifindex_gen_by_extendinfo(11, 1, 1, 0, 16, 128, 128, 0, 0));
    EXPECT_EQ(uif_lookup_by_name("gpon-gem1/16:128_1"), gem) << "a cut name";
}

TEST_F(InterfaceList, GetByNameExtendsWhatWasTyped) {
    uif_t* olt = uif_create_by_name("gpon-olt1/1");
    uif_t* onu = uif_create_by_name("gpon-onu1/1:1");
    uif_t* vlan = uif_create_by_name("vlanif100");
    uif_t* xe = uif_create_by_name("xe17/1");
    EXPECT_EQ(uif_get_by_name("gp1/1"), olt);
    EXPECT_EQ(uif_get_by_name("gpon-olt1/1"), olt);
    EXPECT_EQ(uif_get_by_name("gp1/1:1"), onu);
    EXPECT_EQ(uif_get_by_name("x17/1"), xe);
    EXPECT_EQ(uif_get_by_name("vlanif100"), vlan) << "has no short form";
    for (const char* name : {"gp1/2", "gpon-olt1/1:1", "x", "", "t17"})
        EXPECT_EQ(uif_get_by_name(name), nullptr) << name;
    EXPECT_EQ(uif_get_by_name(nullptr), nullptr);
}

TEST_F(InterfaceList, IndexByNameIsInvalidForNoInterface) {
    uif_create_by_name("gpon-olt1/1");
    EXPECT_EQ(uif_get_ifindex_by_name("gp1/1"), PON_1_1);
    EXPECT_EQ(uif_get_ifindex_by_name("gp1/2"), 0xFFFFFFFFu);
    EXPECT_EQ(uif_get_ifindex_by_name(nullptr), 0xFFFFFFFFu);
}

TEST_F(InterfaceList, NameOfAnUnknownIndexIsUnknown) {
    uif_create_by_name("gpon-olt1/1");
    EXPECT_STREQ(uif_ifindex_to_name(PON_1_1), "gpon-olt1/1");
    EXPECT_STREQ(uif_ifindex_to_name(PON_1_1 + 1), "unknown");
    EXPECT_STREQ(uif_ifindex_to_name(OV_IFINDEX_INVALID), "unknown");
}

TEST_F(InterfaceList, UplinkPortOfAPositionIsTheXeOrElseTheGePort) {
    EXPECT_EQ(uif_get_uplink_port_by_phy_info(1, 17, 1), nullptr);
    uif_t* ge = uif_create_by_name("ge17/1");
    EXPECT_EQ(uif_get_uplink_port_by_phy_info(1, 17, 1), ge);
    uif_t* xe = uif_create_by_name("xe17/1");
    EXPECT_EQ(uif_get_uplink_port_by_phy_info(1, 17, 1), xe);
    EXPECT_EQ(uif_get_uplink_port_by_phy_info(1, 17, 2), nullptr);
}

// ---- facts -------------------------------------------------------------------------------------------

TEST_F(InterfaceList, UpAndRunningAreTheirBits) {
    uif_t* uif = uif_create_by_ifindex(PON_1_1);
    EXPECT_FALSE(uif_is_up(uif));
    EXPECT_FALSE(uif_is_running(uif));
    uif->flags = 0x1;
    EXPECT_TRUE(uif_is_up(uif));
    EXPECT_FALSE(uif_is_running(uif));
    uif->flags = 0x40;
    EXPECT_FALSE(uif_is_up(uif));
    EXPECT_TRUE(uif_is_running(uif));
    uif->flags = ~uint64_t(0x41);
    EXPECT_FALSE(uif_is_up(uif));
    EXPECT_FALSE(uif_is_running(uif));
    EXPECT_FALSE(uif_is_up(nullptr));
    EXPECT_FALSE(uif_is_running(nullptr));
}

TEST_F(InterfaceList, AgentSlotFollowsTheKind) {
    FakePlatform platform;
    platform.set("PDT_INFO_SHELF_TYPE", "53");
    platform.set("PDT_INFO_CARD_SLOTID", "9");
    ov_product_slot_id_get();
    LogTap::take();
    for (uint16_t kind : {0, 5, 6, 7})
        EXPECT_EQ(uif_get_agt_slotid_by_ifindex(ov_ifindex_gen_by_logicinfo(kind, 3)), 9u) << kind;
    for (uint16_t kind : {2, 3}) {
        EXPECT_EQ(uif_get_agt_slotid_by_ifindex(ov_ifindex_gen_by_phyinfo(kind, 1, 3, 0, 1, 0)), 3u);
        EXPECT_EQ(uif_get_agt_slotid_by_ifindex(ov_ifindex_gen_by_phyinfo(kind, 1, 17, 0, 1, 0)), 9u);
        EXPECT_EQ(uif_get_agt_slotid_by_ifindex(ov_ifindex_gen_by_phyinfo(kind, 1, 18, 0, 1, 0)), 9u);
    }
    for (uint16_t kind : {9, 10, 11, 12, 13})
        EXPECT_EQ(uif_get_agt_slotid_by_ifindex(ov_ifindex_gen_by_phyinfo(kind, 1, 17, 0, 1, 1)), 17u)
            << kind;
    EXPECT_TRUE(LogTap::lines().empty());
    for (uint16_t kind : {1, 4, 8, 14, 15, 31}) {
        EXPECT_EQ(uif_get_agt_slotid_by_ifindex(uint32_t(kind) << 27), 0u);
        EXPECT_EQ(LogTap::take(), (std::vector<LogLine>{
                                      {OV_LOG_LVL_ERROR, "LIB", "not suport type " + std::to_string(kind)}}));
    }
}

// ---- PON protection ----------------------------------------------------------------------------------

TEST_F(InterfaceList, WithoutTheProtectionModuleAPortIsInNoGroup) {
    const uif_pon_protect_queries none{};
    for (const uif_pon_protect_queries* queries :
         {&none, static_cast<const uif_pon_protect_queries*>(nullptr)}) {
        uif_set_pon_protect_queries(queries);
        EXPECT_FALSE(uif_is_pon_protect_group_member(PON_1_1));
        EXPECT_EQ(uif_get_pon_protect_group_pair_port(PON_1_1), OV_IFINDEX_INVALID);
        EXPECT_FALSE(uif_is_pon_protect_group_member_protect_pon(PON_1_1));
        EXPECT_FALSE(uif_is_pon_protect_group_member_work_pon(PON_1_1));
    }
}

TEST_F(InterfaceList, ProtectionQueriesAnswerByTheInstalledModule) {
    const uif_pon_protect_queries queries = {
        [](ov_ifindex_t i) { return i == 1 || i == 2; },
        [](ov_ifindex_t i) { return i == 1   ? 2
                                    : i == 2 ? 1
                                             : OV_IFINDEX_INVALID; },
        [](ov_ifindex_t i) { return i == 2; },
        [](ov_ifindex_t i) { return i == 1; },
    };
    uif_set_pon_protect_queries(&queries);
    EXPECT_TRUE(uif_is_pon_protect_group_member(1));
    EXPECT_FALSE(uif_is_pon_protect_group_member(3));
    EXPECT_EQ(uif_get_pon_protect_group_pair_port(1), 2u);
    EXPECT_TRUE(uif_is_pon_protect_group_member_work_pon(1));
    EXPECT_FALSE(uif_is_pon_protect_group_member_protect_pon(1));
    EXPECT_TRUE(uif_is_pon_protect_group_member_protect_pon(2));
    EXPECT_FALSE(uif_is_pon_protect_group_member_work_pon(2));
}

} // namespace
