// Protection groups: who may form one, what the card is told, which port is in service.
#include "protect_chassis.h"

#include "kavo_if.h"
#include "ov_app_gpon_config_restore_tables.h"
#include "ov_app_gpon_trap.h"
#include "table_snmp_ahead.h"

using namespace protect_test;

namespace {

struct Told {
    int action;
    ov_ifindex_t work;
    ov_ifindex_t standby;
    std::string name;
    bool operator==(const Told&) const = default;
};
void PrintTo(const Told& told, std::ostream* out) {
    *out << told.action << " " << std::hex << told.work << " " << told.standby << " " << told.name;
}

std::vector<Told> told_of_groups(const AppChassis& chassis) {
    std::vector<Told> all;
    for (const CardMessage& message : chassis.messages_of(GROUP_MESSAGE)) {
        const auto record = message.record<ov_gpon_protect_group_attr_t>();
        EXPECT_EQ(message.mask, 0u);
        EXPECT_EQ(record.type, 1u);
        all.push_back({message.action, record.ifindex_work_pon, record.ifindex_stdby_pon,
                       std::string(text_in(record.name))});
    }
    return all;
}

TEST(ProtectGroup, GivesRolesAndTellsTheCard) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        EXPECT_THAT(told_of_groups(chassis),
                    testing::ElementsAre(Told{CREATE, index_of(WORK), index_of(PROTECT), "north"}));
        EXPECT_TRUE(chassis.messages_of(GROUP_MESSAGE)[0].wants_reply);
        EXPECT_EQ(role_of(WORK), "working, pair 5, active");
        EXPECT_EQ(role_of(PROTECT), "protecting, pair 4");
        ASSERT_NE(stored_group(), nullptr);
        EXPECT_EQ(stored_group()->ppActivePort, static_cast<mib_long>(index_of(WORK)));
        mib_long id = 0;
        EXPECT_EQ(ov_app_gpon_protect_group_getId("north", &id), 1);
        EXPECT_EQ(id, 1);
        EXPECT_EQ(ov_app_gpon_protect_group_getId("south", &id), 0);
        EXPECT_EQ(ov_app_gpon_protect_group_getId(nullptr, &id), 0);
    });
}

TEST(ProtectGroup, IsKnownToTheInterfaceList) {
    on_two_ports([](AppChassis&, TestClock&) {
        EXPECT_FALSE(uif_is_pon_protect_group_member(index_of(WORK)));
        EXPECT_EQ(uif_get_pon_protect_group_pair_port(index_of(WORK)), OV_IFINDEX_INVALID);
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        EXPECT_TRUE(uif_is_pon_protect_group_member_work_pon(index_of(WORK)));
        EXPECT_FALSE(uif_is_pon_protect_group_member_protect_pon(index_of(WORK)));
        EXPECT_TRUE(uif_is_pon_protect_group_member_protect_pon(index_of(PROTECT)));
        EXPECT_EQ(uif_get_pon_protect_group_pair_port(index_of(PROTECT)), index_of(WORK));
    });
}

struct Refusal {
    const char* what;
    NewGroup group;
    std::string text; // none: without a message
    std::function<void(AppChassis&)> before = [](AppChassis&) {};
};

void edit_protecting(MIB_Flags_t columns, const std::function<void(Port&)>& fill) {
    ASSERT_EQ(edit_port(PROTECT, columns, fill), OV_GPON_RET_OK);
}

TEST(ProtectGroup, IsRefusedWhenThePortsDontFit) {
    namespace column = sPonTable_column;
    const NewGroup plain = {};
    const Refusal refusals[] = {
        {"a working port in a group",
         {.id = 2, .protect = index_of(6)},
         "this pon protect group member have added",
         [](AppChassis&) { ASSERT_EQ(add_group(), OV_GPON_RET_OK); }},
        {"a protecting port in a group",
         {.id = 2, .work = index_of(6)},
         "this pon protect group member have added",
         [](AppChassis&) { ASSERT_EQ(add_group(), OV_GPON_RET_OK); }},
        {"roles turned round",
         {.id = 2, .work = index_of(PROTECT), .protect = index_of(6)},
         "this pon protect group member have added",
         [](AppChassis&) { ASSERT_EQ(add_group(), OV_GPON_RET_OK); }},
        {"one port", {.protect = index_of(WORK)}, "this pon protect group north can not use the same port"},
        {"two cards",
         {.protect = index_of(WORK, SLOT + 1)},
         "this pon protect group north is not using the same card"},
        {"no port", {.work = 0, .protect = 0}, "this pon protect group north can not use the same port"},
        {"an ONU", {.protect = onu_ifindex(SLOT, PROTECT, 1)}, ""},
        {"a port that can't be", {.protect = index_of(17)}, ""},
        {"no name", {.name = ""}, "ppGroupName is empty"},
        {"ONUs", plain, "the protect group north :  protect pon port have onu added",
         [](AppChassis&) { ASSERT_EQ(add_onu(ONU, PROTECT), OV_GPON_RET_OK); }},
        {"addresses that don't move", plain,
         "the protect group north :  work pon port have servicePort mac-move is disable",
         [](AppChassis&) {
             add_whole_onu();
             ServicePort row = service_port_key();
             row.servicePortMacmove = SERVICEPORTMACMOVE_DISABLE;
             ASSERT_EQ(
                 ov_app_gpon_service_port_edit(&row, columns_of(servicePortTable_column::servicePortMacmove)),
                 OV_GPON_RET_OK);
         }},
        {"distance", plain, "",
         [](AppChassis&) {
             edit_protecting(columns_of(column::sPonTableMaxLogicDistance),
                             [](Port& row) { row.sPonTableMaxLogicDistance = 40; });
         }},
        {"find", plain, "",
         [](AppChassis&) { edit_protecting(columns_of(column::sPonTableAutoFind), [](Port&) {}); }},
        {"learn", plain, "",
         [](AppChassis&) {
             edit_protecting(columns_of(column::sPonTableAutoLearn),
                             [](Port& row) { row.sPonTableAutoLearn = 1; });
         }},
        {"fec", plain, "",
         [](AppChassis&) {
             edit_protecting(columns_of(column::sPonTableDsFec), [](Port& row) { row.sPonTableDsFec = 1; });
         }},
        {"keys", plain, "",
         [](AppChassis&) {
             edit_protecting(columns_of(column::sPonTableKeyExchangeCtrl),
                             [](Port& row) { row.sPonTableKeyExchangeCtrl = 1; });
         }},
        {"recording", plain, "",
         [](AppChassis&) {
             edit_protecting(columns_of(column::sPonTablePmEnable),
                             [](Port& row) { row.sPonTablePmEnable = 1; });
         }},
        {"recording of the network side", plain, "",
         [](AppChassis&) {
             edit_protecting(columns_of(column::sPonTableNniPmEnable),
                             [](Port& row) { row.sPonTableNniPmEnable = 1; });
         }},
        {"switching", plain, "",
         [](AppChassis&) { edit_protecting(columns_of(column::sPonTablePortProtect), [](Port&) {}); }},
        {"no row", {.protect = index_of(9)}, ""},
    };
    for (const Refusal& refusal : refusals)
        on_two_ports([&](AppChassis& chassis, TestClock&) {
            SCOPED_TRACE(refusal.what);
            refusal.before(chassis);
            LogCapture::clear();
            chassis.forget_messages();
            EXPECT_EQ(add_group(refusal.group), OV_GPON_RET_BAD_PARAM);
            EXPECT_EQ(stored_group(refusal.group.id), nullptr);
            EXPECT_THAT(chassis.messages(), IsEmpty());
            EXPECT_THAT(logged(chassis), Contains("mib add error for gpon protect group table"));
            if (!refusal.text.empty()) {
                EXPECT_THAT(logged(chassis), Contains(refusal.text));
            }
            EXPECT_EQ(role_of(WORK), refusal.group.id == 1 ? "none" : "working, pair 5, active");
        });
}

// ---- a copy that goes on in steps -------------------------------------------------------------------------

int start_group(int* result, ov_ifindex_t protect = index_of(PROTECT)) {
    Group row = {};
    row.ppGroupId = 1;
    set_text(row.ppGroupName, "north");
    row.ppWorkPonIfindex = static_cast<mib_long>(index_of(WORK));
    row.ppProtectPonIfindex = static_cast<mib_long>(protect);
    return ov_app_gpon_protect_group_add_start(row,
                                               columns_of(group_column::ppGroupName,
                                                          group_column::ppWorkPonIfindex,
                                                          group_column::ppProtectPonIfindex),
                                               [result](int made) { *result = made; });
}

TEST(ProtectGroupInSteps, IsMadeBehindItsCopyWithWhatWasWrittenMeanwhile) {
    on_two_ports([](AppChassis&, TestClock& clock) {
        for (const int onu : {1, 2, 3})
            add_whole_onu(onu);
        int result = -1;
        ASSERT_EQ(start_group(&result), OV_GPON_RET_OK);
        EXPECT_EQ(result, -1);
        EXPECT_EQ(stored_group(), nullptr);
        EXPECT_EQ(add_group({.id = 2, .protect = index_of(6)}), OV_GPON_RET_BAD_PARAM); // both are taken
        EXPECT_EQ(add_group({.id = 2, .work = index_of(6)}), OV_GPON_RET_BAD_PARAM);
        add_whole_onu(4);
        ASSERT_EQ(delete_onu(2, WORK), OV_GPON_RET_OK);
        ASSERT_EQ(
            edit_gem(sGemTable_column::sGemTableIfEnableEncryption, &Gem::sGemTableIfEnableEncryption, 1, 3),
            OV_GPON_RET_OK);
        while (clock.armed() > 0)
            clock.run_next();
        EXPECT_EQ(result, OV_GPON_RET_OK);
        EXPECT_EQ(role_of(WORK), "working, pair 5, active");
        EXPECT_EQ(role_of(PROTECT), "protecting, pair 4");
        EXPECT_EQ(rows_of<Onu>(PROTECT), rows_of<Onu>(WORK));
        EXPECT_EQ(rows_of<Onu>(PROTECT).size(), 3u);
        EXPECT_EQ(rows_of<Gem>(PROTECT), rows_of<Gem>(WORK));
        EXPECT_EQ(rows_of<ServicePort>(PROTECT), rows_of<ServicePort>(WORK));
        EXPECT_EQ(rows_of<Service>(PROTECT), rows_of<Service>(WORK));
    });
}

TEST(ProtectGroupInSteps, IsRefusedAtOnceOrByTheCard) {
    on_two_ports([](AppChassis& chassis, TestClock& clock) {
        int result = -1;
        EXPECT_EQ(start_group(&result, index_of(WORK)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(clock.armed(), 0u);
        EXPECT_EQ(result, -1);
        add_whole_onu(1);
        chassis.card_answers(GROUP_MESSAGE, OV_GPON_RET_FAIL);
        EXPECT_EQ(start_group(&result), OV_GPON_RET_OK);
        while (clock.armed() > 0)
            clock.run_next();
        EXPECT_EQ(result, OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(role_of(WORK), "none");
        EXPECT_EQ(role_of(PROTECT), "none");
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty());
        EXPECT_EQ(stored_group(), nullptr);
    });
}

// ---- a manager's group ------------------------------------------------------------------------------------

Group group_of_a_set(int status = OVRA_CREATEANDGO) {
    Group row = {};
    row.ppGroupId = 1;
    set_text(row.ppGroupName, "north");
    row.ppWorkPonIfindex = static_cast<mib_long>(index_of(WORK));
    row.ppProtectPonIfindex = static_cast<mib_long>(index_of(PROTECT));
    row.portProtectRowStatus = status;
    return row;
}
// What a TestSet with that row leaves, and the CommitSet behind it: whether it is held.
bool commit_is_held(const Group& row) {
    const auto* bytes = reinterpret_cast<const char*>(&row);
    snmp_ahead_keep(table_of<Group>::module(), {bytes, bytes + sizeof row},
                    columns_of(group_column::ppGroupName, group_column::ppWorkPonIfindex,
                               group_column::ppProtectPonIfindex, group_column::portProtectRowStatus));
    return snmp_ahead_begin();
}
void end_set() {
    snmp_ahead_end(table_of<Group>::module());
}
void let_all_time_pass(TestClock& clock) {
    while (clock.armed() > 0)
        clock.run_next();
}

TEST(ProtectGroupOfAManager, IsCopiedAheadOfItsSet) {
    on_two_ports([](AppChassis& chassis, TestClock& clock) {
        for (const int onu : {1, 2, 3})
            add_whole_onu(onu);
        ASSERT_TRUE(commit_is_held(group_of_a_set()));
        EXPECT_EQ(role_of(WORK), "working, pair 5, active"); // what is written meanwhile is repeated
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty());
        int result = -1;
        EXPECT_EQ(start_group(&result), OV_GPON_RET_BAD_PARAM); // nobody else makes it
        EXPECT_EQ(start_group(&result, index_of(6)), OV_GPON_RET_BAD_PARAM);
        add_whole_onu(4);
        let_all_time_pass(clock);
        EXPECT_FALSE(snmp_ahead_begin()); // it goes on
        EXPECT_EQ(rows_of<Onu>(PROTECT), rows_of<Onu>(WORK));
        EXPECT_EQ(start_group(&result), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(told_of_groups(chassis), IsEmpty());

        chassis.forget_messages();
        EXPECT_EQ(add_group(), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.messages(), testing::SizeIs(1));
        EXPECT_THAT(told_of_groups(chassis), testing::SizeIs(1));
        end_set();
        let_all_time_pass(clock);
        EXPECT_EQ(role_of(WORK), "working, pair 5, active");
        EXPECT_EQ(role_of(PROTECT), "protecting, pair 4");
        EXPECT_EQ(rows_of<Gem>(PROTECT), rows_of<Gem>(WORK));
        EXPECT_EQ(rows_of<Onu>(PROTECT).size(), 4u);
    });
}

TEST(ProtectGroupOfAManager, LeavesNothingWhenItsSetIsTakenBackInTheMiddle) {
    on_two_ports([](AppChassis&, TestClock& clock) {
        for (const int onu : {1, 2, 3})
            add_whole_onu(onu);
        ASSERT_TRUE(commit_is_held(group_of_a_set()));
        while (rows_of<Onu>(PROTECT).empty())
            ov_app_gpon_port_config_go_on();
        end_set();
        EXPECT_EQ(role_of(WORK), "none");
        EXPECT_EQ(role_of(PROTECT), "none");
        let_all_time_pass(clock);
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty());
        EXPECT_EQ(stored_group(), nullptr);
        EXPECT_EQ(rows_of<Onu>(WORK).size(), 3u);
        EXPECT_EQ(add_group(), OV_GPON_RET_OK);
    });
}

TEST(ProtectGroupOfAManager, IsClearedBehindItsSetWhenTheCardRefuses) {
    on_two_ports([](AppChassis& chassis, TestClock& clock) {
        add_whole_onu(1);
        ASSERT_TRUE(commit_is_held(group_of_a_set()));
        let_all_time_pass(clock);
        chassis.card_answers(GROUP_MESSAGE, OV_GPON_RET_FAIL);
        EXPECT_EQ(add_group(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(logged(chassis), Contains("set pon protect to hal error"));
        end_set();
        let_all_time_pass(clock);
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty());
        EXPECT_EQ(role_of(WORK), "none");
        EXPECT_EQ(role_of(PROTECT), "none");
        EXPECT_EQ(stored_group(), nullptr);
    });
}

TEST(ProtectGroupOfAManager, KeepsItsCopyWhereTheCardKnowsNoGroups) {
    on_two_ports([](AppChassis& chassis, TestClock& clock) {
        add_whole_onu(1);
        chassis.card_answers(GROUP_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        ASSERT_TRUE(commit_is_held(group_of_a_set()));
        let_all_time_pass(clock);
        EXPECT_EQ(add_group(), OV_GPON_RET_OK);
        end_set();
        let_all_time_pass(clock);
        EXPECT_NE(stored_group(), nullptr);
        EXPECT_EQ(role_of(WORK), "none");
        EXPECT_EQ(role_of(PROTECT), "none");
        EXPECT_EQ(rows_of<Onu>(PROTECT).size(), 1u);

        ASSERT_EQ(delete_group(), OV_GPON_RET_OK);
        ov_app_gpon_port_config_clear(index_of(PROTECT));
        int result = -1; // an operator's, too
        ASSERT_EQ(start_group(&result), OV_GPON_RET_OK);
        let_all_time_pass(clock);
        EXPECT_EQ(result, OV_GPON_RET_OK);
        EXPECT_EQ(role_of(WORK), "none");
        EXPECT_EQ(rows_of<Onu>(PROTECT).size(), 1u);
    });
}

TEST(ProtectGroupOfAManager, IsNotHeldWhereThereIsNothingToCopy) {
    on_two_ports([](AppChassis& chassis, TestClock& clock) {
        for (const int status :
             std::initializer_list<int>{OVRA_CREATEANDWAIT, OVRA_DESTROY, OVRA_ACTIVE, 0}) {
            EXPECT_FALSE(commit_is_held(group_of_a_set(status))) << status;
            end_set();
        }
        Group same_port = group_of_a_set();
        same_port.ppProtectPonIfindex = same_port.ppWorkPonIfindex;
        EXPECT_FALSE(commit_is_held(same_port));
        end_set();
        EXPECT_THAT(logged(chassis), IsEmpty()); // the set says it
        Group activated = group_of_a_set(OVRA_ACTIVE);
        activated.old_portProtectRowStatus = OVRA_NOTINSERVICE;
        EXPECT_TRUE(commit_is_held(activated));
        end_set();
        let_all_time_pass(clock);
        EXPECT_EQ(role_of(WORK), "none");
    });
}

TEST(ProtectGroup, NeedsItsNameAndBothPorts) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        for (const unsigned missing :
             {group_column::ppGroupName, group_column::ppWorkPonIfindex, group_column::ppProtectPonIfindex}) {
            Group row = {};
            row.ppGroupId = 1;
            MIB_Flags_t columns = columns_of(group_column::ppGroupName, group_column::ppWorkPonIfindex,
                                             group_column::ppProtectPonIfindex);
            mib_flag_clear(columns, missing);
            LogCapture::clear();
            EXPECT_EQ(ov_app_gpon_protect_group_add(&row, &columns), OV_GPON_RET_BAD_PARAM);
            EXPECT_THAT(logged(chassis), Contains("missing parameter"));
        }
        EXPECT_EQ(ov_app_gpon_protect_group_add(nullptr, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_protect_group_edit(nullptr, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_protect_group_del(nullptr), OV_GPON_RET_BAD_PARAM);
    });
}

TEST(ProtectGroup, OfACardThatDoesntKnowThemStandsWithoutRoles) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_onu(), OV_GPON_RET_OK);
        chassis.card_answers(GROUP_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(add_group(), OV_GPON_RET_OK);
        EXPECT_THAT(logged(chassis), Contains("set to which not support"));
        ASSERT_NE(stored_group(), nullptr);
        EXPECT_EQ(stored_group()->ppActivePort, 0);
        EXPECT_EQ(role_of(WORK), "none");
        EXPECT_EQ(role_of(PROTECT), "none");
        EXPECT_NE(stored_onu(ONU, PROTECT), nullptr); // the copy stays
        EXPECT_EQ(command(PPEXTERNALCOMMAND_MSP), OV_GPON_RET_OK);
        EXPECT_EQ(stored_group()->ppActivePort, 0);
        ov_app_gpon_pon_protect_init(); // a restart
        EXPECT_EQ(role_of(WORK), "none");
        EXPECT_EQ(delete_group(), OV_GPON_RET_OK);
        EXPECT_EQ(stored_group(), nullptr);
    });
}

TEST(ProtectGroup, RefusedByTheCardLeavesThePortsAsTheyWere) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_onu(), OV_GPON_RET_OK);
        chassis.card_answers(GROUP_MESSAGE, OV_GPON_RET_FAIL);
        EXPECT_EQ(add_group(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(logged(chassis), Contains("set pon protect to hal error"));
        EXPECT_EQ(stored_group(), nullptr);
        EXPECT_EQ(role_of(WORK), "none");
        EXPECT_EQ(stored_onu(ONU, PROTECT), nullptr); // the copy is cleared
        EXPECT_NE(stored_onu(ONU, WORK), nullptr);
        chassis.card_answers(GROUP_MESSAGE, OV_GPON_RET_OK);
        EXPECT_EQ(add_group(), OV_GPON_RET_OK);
    });
}

TEST(ProtectGroup, SwitchesOverAsItIsTold) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        chassis.forget_messages();
        EXPECT_EQ(command(PPEXTERNALCOMMAND_MSW), OV_GPON_RET_BAD_PARAM); // is in service
        EXPECT_EQ(command(PPEXTERNALCOMMAND_MSP), OV_GPON_RET_OK);
        EXPECT_EQ(role_of(WORK), "working, pair 5");
        EXPECT_EQ(role_of(PROTECT), "protecting, pair 4, active");
        EXPECT_EQ(stored_group()->ppActivePort, static_cast<mib_long>(index_of(PROTECT)));
        EXPECT_EQ(stored_group()->ppCurrentSwitchRequest, PPCURRENTSWITCHREQUEST_NO);
        EXPECT_EQ(command(PPEXTERNALCOMMAND_MSP), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(command(PPEXTERNALCOMMAND_MSW), OV_GPON_RET_OK);
        EXPECT_EQ(role_of(WORK), "working, pair 5, active");
        EXPECT_EQ(command(PPEXTERNALCOMMAND_NO), OV_GPON_RET_OK); // swaps too
        EXPECT_EQ(role_of(PROTECT), "protecting, pair 4, active");
        EXPECT_EQ(command(PPEXTERNALCOMMAND_NO), OV_GPON_RET_OK);
        EXPECT_EQ(role_of(WORK), "working, pair 5, active");
        // the record has the port that was in service
        const Told to_protect = {SET, index_of(WORK), index_of(PROTECT), "north"};
        const Told to_work = {SET, index_of(PROTECT), index_of(WORK), "north"};
        EXPECT_THAT(told_of_groups(chassis), testing::ElementsAre(to_protect, to_work, to_protect, to_work));
    });
}

TEST(ProtectGroup, StaysAsItIsWhenTheCardRefusesTheSwitch) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        chassis.card_answers(GROUP_MESSAGE, OV_GPON_RET_FAIL);
        EXPECT_EQ(command(PPEXTERNALCOMMAND_MSP), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(role_of(WORK), "working, pair 5, active");
        EXPECT_EQ(stored_group()->ppExternalCommand, PPEXTERNALCOMMAND_NO);
        EXPECT_EQ(stored_group()->ppActivePort, static_cast<mib_long>(index_of(WORK)));
        EXPECT_EQ(delete_group(), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(role_of(PROTECT), "protecting, pair 4");
    });
}

TEST(ProtectGroup, EndsWithItsPortsAsTheyAre) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_onu(), OV_GPON_RET_OK);
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        ASSERT_EQ(command(PPEXTERNALCOMMAND_MSP), OV_GPON_RET_OK);
        chassis.forget_messages();
        EXPECT_EQ(delete_group(), OV_GPON_RET_OK);
        EXPECT_THAT(told_of_groups(chassis),
                    testing::ElementsAre(Told{DELETE, index_of(PROTECT), index_of(WORK), "north"}));
        EXPECT_EQ(role_of(WORK), "none");
        EXPECT_EQ(role_of(PROTECT), "none");
        EXPECT_NE(stored_onu(ONU, WORK), nullptr);
        EXPECT_NE(stored_onu(ONU, PROTECT), nullptr);
        EXPECT_EQ(delete_group(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(logged(chassis), Contains("mib del error for gpon protect table"));
    });
}

TEST(ProtectGroup, KeepsItsPorts) {
    on_two_ports([](AppChassis&, TestClock&) {
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        for (const unsigned column : {group_column::ppWorkPonIfindex, group_column::ppProtectPonIfindex}) {
            Group row = {};
            row.ppGroupId = 1;
            row.ppWorkPonIfindex = row.ppProtectPonIfindex = static_cast<mib_long>(index_of(6));
            MIB_Flags_t columns = columns_of(column);
            EXPECT_EQ(ov_app_gpon_protect_group_edit(&row, &columns), OV_GPON_RET_BAD_PARAM);
        }
        EXPECT_EQ(stored_group()->ppWorkPonIfindex, static_cast<mib_long>(index_of(WORK)));
        EXPECT_EQ(stored_group()->ppProtectPonIfindex, static_cast<mib_long>(index_of(PROTECT)));
    });
}

// ---- the card switches ------------------------------------------------------------------------------------

TEST(ProtectSwitch, OfTheCardChangesWhichPortServes) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        ASSERT_EQ(add_group({.id = 2, .name = "south", .work = index_of(6), .protect = index_of(7)}),
                  OV_GPON_RET_OK);
        chassis.forget_messages();
        card_switches_to(index_of(PROTECT), index_of(WORK));
        EXPECT_EQ(stored_group()->ppActivePort, static_cast<mib_long>(index_of(PROTECT)));
        EXPECT_EQ(role_of(WORK), "working, pair 5");
        EXPECT_EQ(role_of(PROTECT), "protecting, pair 4, active");
        EXPECT_EQ(stored_group()->ppCurrentSwitchRequest, PPCURRENTSWITCHREQUEST_NO);
        card_switches_to(index_of(PROTECT), index_of(WORK)); // once more
        EXPECT_EQ(role_of(PROTECT), "protecting, pair 4, active");
        card_switches_to(index_of(WORK), index_of(PROTECT));
        EXPECT_EQ(role_of(WORK), "working, pair 5, active");
        EXPECT_EQ(role_of(6), "working, pair 7, active"); // the other group
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(ProtectSwitch, OfNoGroupChangesNothing) {
    on_two_ports([](AppChassis&, TestClock&) {
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        const std::pair<ov_ifindex_t, ov_ifindex_t> events[] = {{index_of(6), index_of(7)},
                                                                {index_of(6), index_of(WORK)},
                                                                {0, 0},
                                                                {0, index_of(WORK)},
                                                                {~0u, ~0u}};
        for (const auto& [active, standby] : events) {
            card_switches_to(active, standby);
            EXPECT_EQ(role_of(WORK), "working, pair 5, active");
            EXPECT_EQ(role_of(PROTECT), "protecting, pair 4");
            EXPECT_EQ(role_of(6), "none");
            EXPECT_EQ(stored_group()->ppActivePort, static_cast<mib_long>(index_of(WORK)));
        }
    });
}

// ---- restarts ---------------------------------------------------------------------------------------------

TEST(ProtectGroup, HasItsRolesAfterARestart) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        ASSERT_EQ(command(PPEXTERNALCOMMAND_MSP), OV_GPON_RET_OK);
        chassis.forget_messages();
        ov_pon_protect_group_pon_status_init();
        EXPECT_EQ(role_of(WORK), "none");
        ov_app_gpon_pon_protect_init();
        EXPECT_EQ(role_of(WORK), "working, pair 5");
        EXPECT_EQ(role_of(PROTECT), "protecting, pair 4, active");
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(ProtectGroup, IsToldToACardThatComesUp) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        ASSERT_EQ(command(PPEXTERNALCOMMAND_MSP), OV_GPON_RET_OK);
        chassis.forget_messages();
        ov_app_gpon_config_restore_pon_protect(SLOT, OV_HAL_GPON_MSG_ACTION_CREATE);
        loop_until([&] { return !chassis.messages().empty(); });
        const auto sent = chassis.messages(1);
        ASSERT_EQ(sent.size(), 1u);
        EXPECT_FALSE(sent[0].wants_reply);
        EXPECT_THAT(told_of_groups(chassis),
                    testing::ElementsAre(Told{CREATE, index_of(PROTECT), index_of(WORK), "north"}));
    });
}

} // namespace
