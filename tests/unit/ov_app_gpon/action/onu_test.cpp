// Actions on ranges of ONUs.
#include "action_chassis.h"

#include "../support/onu_chassis.h"
#include "ov_app_gpon_action_onu.h"

using testing::Contains;
using testing::Each;

namespace {

using onu_test::PORT;
using onu_test::PROFILE;
using Flags = std::array<char, OV_BATCH_ONU_MAX>;

// ---- ranges ------------------------------------------------------------------------------------------

struct Range {
    const char* text;
    int result;
    std::vector<size_t> ids;
};

TEST(OnuRange, IsAListOfIdsAndRanges) {
    for (const Range& each :
         {Range{"1", 0, {1}}, Range{"1-3,128", 0, {1, 2, 3, 128}}, Range{",5,,6,", 0, {5, 6}},
          Range{"", 0, {}}, Range{"7,x,8", -1, {7}}, Range{"0", -1, {}}, Range{"129", -1, {}},
          Range{"5-3", -1, {}}, Range{"257", 0, {1}}, Range{"1 -2", -1, {}}, Range{"1;2", -1, {}}}) {
        Flags flags{};
        EXPECT_EQ(ov_app_onu_range_parse(each.text, flags), each.result) << each.text;
        std::vector<size_t> ids;
        for (size_t place = 0; place < flags.size(); ++place)
            if (flags[place] == OV_BATCH_ONU_ASKED)
                ids.push_back(place + 1);
        EXPECT_EQ(ids, each.ids) << each.text;
    }
}

// Whatever is written there, no flag outside the list is set and each piece is an id or a refusal.
TEST(OnuRange, AnyTextIsTakenOrRefused) {
    const std::string letters = "0123456789-,-, x+\xC3";
    unsigned seed = 1;
    for (int run = 0; run < 20000; ++run) {
        std::string text;
        for (unsigned length = (seed = seed * 1103515245u + 12345u) >> 16 & 15; length > 0; --length)
            text += letters[((seed = seed * 1103515245u + 12345u) >> 16) % letters.size()];
        Flags flags{};
        const int result = ov_app_onu_range_parse(text.c_str(), flags);
        ASSERT_TRUE(result == 0 || result == -1) << text;
        ASSERT_THAT(flags, Each(testing::AnyOf(OV_BATCH_ONU_NOT_ASKED, OV_BATCH_ONU_ASKED))) << text;
    }
}

// ---- what their rows say -----------------------------------------------------------------------------

void put_onu(const AppChassis& chassis, int id, int state, const char* type = "HG-1") {
    onu_test::put_onu(
        chassis,
        [&](onu_test::Onu& row) {
            row.sOnuTableOnuState = state;
            set_text(row.sOnuTableOnuTypeProfileName, type);
        },
        id);
}

TEST(OnuStates, AreThoseOfTheRows) {
    action_chassis::run([](ActionChassis& chassis) {
        put_onu(chassis, 1, 3);
        put_onu(chassis, 2, 3, "other");
        put_onu(chassis, 3, 0);
        Flags flags{};
        ASSERT_EQ(ov_app_onu_range_parse("1-4", flags), 0);
        Flags copy = flags;
        const ov_ifindex_t port = port_ifindex(PORT_TYPE_GPON, ActionChassis::SLOT, PORT);
        ov_gpon_multi_onu_add_state_check(port, flags, "HG-1");
        EXPECT_EQ(flags[0], OV_BATCH_ONU_CONFIG);
        EXPECT_EQ(flags[1], OV_BATCH_ONU_WRONG_TYPE);
        EXPECT_EQ(flags[2], OV_BATCH_ONU_NOT_THERE) << "its card has never reported it";
        EXPECT_EQ(flags[3], OV_BATCH_ONU_NOT_THERE);
        EXPECT_EQ(flags[4], OV_BATCH_ONU_NOT_ASKED);
        EXPECT_EQ(ov_gpon_onu_state_check(port, copy), -1);
        EXPECT_EQ(copy[1], OV_BATCH_ONU_CONFIG);
        Flags both{};
        ASSERT_EQ(ov_app_onu_range_parse("1-2", both), 0);
        EXPECT_EQ(ov_gpon_onu_state_check(port, both), 0);
    });
}

// ---- the actions -------------------------------------------------------------------------------------

void put_profile(const AppChassis& chassis) {
    onu_test::put_type(chassis);
    chassis.put_row<ov_sOnuSrvProfileTable_attr_t>(
        [](auto& row) { set_text(row.sOnuTypeProfileName, "HG-1"); }, PROFILE);
    onu_test::put_bandwidth(chassis, "gold", 11, 0, 1000);
    chassis.put_row<ov_sTcontTable_attr_t>([](auto& row) { set_text(row.sTcontTableBwProfileName, "gold"); },
                                           GPON_SHELF, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE, 1);
}

std::string as_bytes(const ActionRow& row, int number) {
    return {action_parameter(row, number), ACTION_PARAMETER_SIZE - 1};
}

TEST(ConfigOnus, EndsWithACodeForEachOnu) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_MULTIONUSRVCFG;
        put_profile(chassis);
        put_onu(chassis, 2, 3, "other");
        put_onu(chassis, 100, 3, "other");
        EXPECT_TRUE(ActionChassis::begin(TYPE, {"4", "9", "1-2,100"}));
        EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_RUNNING) << "it goes on in steps";
        EXPECT_TRUE(ActionChassis::is_busy());
        EXPECT_TRUE(loop_until([] { return !ActionChassis::is_busy(); }));
        EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(chassis.row_status(TYPE), OVRA_ACTIVE);
        EXPECT_THAT(chassis.log(), Contains("NMS start multi-onu service config!"));
        EXPECT_THAT(chassis.log(), Contains("action command 49 finished"));
        std::string codes(128, '\0');
        codes[0] = ONU_NOT_EXIST;
        codes[1] = codes[99] = ONU_TYPE_ERROR;
        const ActionRow row = ActionChassis::stored(TYPE);
        EXPECT_EQ(as_bytes(row, 5) + as_bytes(row, 6), codes);
    });
}

TEST(ConfigOnus, AManagerReadsAllBytesOfTheCodes) {
    action_chassis::run([](ActionChassis& chassis) {
        const auto put = [&chassis](int type) {
            chassis.put_row<ActionRow>([](ActionRow& row) { row.sActionParam5[40] = ONU_NOT_EXIST; },
                                       GPON_SHELF, ActionChassis::SLOT, type);
        };
        put(SACTIONTYPE_MULTIONUSRVCFG);
        put(SACTIONTYPE_MULTIONUSRVDEL);
        const TableModule& table = table_of<ActionRow>::module();
        const auto length = [&table](int type, unsigned column) {
            for (const ColumnDesc& each : table.desc().columns)
                if (each.number == column)
                    return table.is_whole_text(
                        each, table.find_row(&static_cast<const ActionRow&>(ActionChassis::key(type))));
            return false;
        };
        EXPECT_TRUE(length(SACTIONTYPE_MULTIONUSRVCFG, sActionTable_column::sActionParam5));
        EXPECT_TRUE(length(SACTIONTYPE_MULTIONUSRVCFG, sActionTable_column::sActionParam6));
        EXPECT_FALSE(length(SACTIONTYPE_MULTIONUSRVCFG, sActionTable_column::sActionParam4));
        EXPECT_FALSE(length(SACTIONTYPE_MULTIONUSRVDEL, sActionTable_column::sActionParam5));
    });
}

TEST(ConfigOnus, ARowThatHasGoneGetsNoCodes) {
    action_chassis::run([](ActionChassis& chassis) {
        put_profile(chassis);
        EXPECT_TRUE(ActionChassis::begin(SACTIONTYPE_MULTIONUSRVCFG, {"4", "9", "1"}));
        ActionRow row = ActionChassis::key(SACTIONTYPE_MULTIONUSRVCFG);
        EXPECT_TRUE(mib_access(MIB_DEL, row));
        EXPECT_TRUE(loop_until([] { return !ActionChassis::is_busy(); }));
        EXPECT_FALSE(mib_access(MIB_GET_S, row));
    });
}

TEST(ConfigOnus, WhatItCantBeginIsRefused) {
    struct Case {
        std::vector<std::string> parameters;
        const char* text;
    };
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_MULTIONUSRVCFG;
        put_profile(chassis);
        for (const Case& each :
             {Case{{"4", "8", "1"}, "Wrong onu srvprofile id!"},
              Case{{"4", "x", "1"}, "Wrong onu srvprofile id!"}, Case{{"4", "9", "x"}, "wrong parameter!"},
              Case{{"17", "9", "1"}, "wrong parameter!"}, Case{{"4", "9", ""}, "lack of parameter!"}}) {
            chassis.create(TYPE, each.parameters);
            EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_FAIL) << each.text;
            EXPECT_EQ(chassis.row_status(TYPE), OVRA_NOTINSERVICE) << each.text;
            EXPECT_THAT(chassis.log(), Contains(each.text));
        }
    });
}

TEST(DeleteOnuServices, AllOnusMustBeThere) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_MULTIONUSRVDEL;
        put_onu(chassis, 1, 3);
        put_onu(chassis, 2, 3, "other");
        chassis.create(TYPE, {"4", "", "1-2"});
        EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_SUCCESS);
        EXPECT_THAT(chassis.log(), Contains("action command 50 finished"));
        for (const char* range : {"1-3", "x"}) {
            chassis.create(TYPE, {"4", "", range});
            EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_FAIL) << range;
            EXPECT_THAT(chassis.log(), Contains("wrong parameter!")) << range;
        }
    });
}

} // namespace
