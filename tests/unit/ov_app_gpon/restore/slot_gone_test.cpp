// Cards and ports that go: out of service with their rows kept, or removed with their rows.
#include "ov_app_gpon_config_restore.h"

#include "../support/check_callbacks.h"
#include "../support/restore_chassis.h"
#include "ov_app_gpon_qinq.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_service_port.h"
#include "sBWProfileTable.h"
#include "sGemTable.h"
#include "sOnuHistoryTable.h"
#include "sOnuInitTable.h"
#include "sOnuTable.h"
#include "sRmIPHostTable.h"
#include "sRmOnuOptThresholdTable.h"
#include "sRmServiceTable.h"
#include "sRmUniStatusTable.h"
#include "sRmUniVlanTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

namespace {

constexpr int SLOT = AppChassis::SLOT;
constexpr uint16_t CARD_16_PORTS = 27;

using Onu = ov_sOnuTable_attr_t;

template <typename Row, typename... Index>
const Row* row_at(Index... index) {
    Row key = {};
    table_of<Row>::module().set_index_at(&key, index...);
    return find_row(key);
}

void put_onu(const RestoreChassis& chassis, int slot, int port, int onu, int shelf = 1) {
    chassis.card.put_row<Onu>(
        [](Onu& row) {
            row.sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
            strcpy(row.sOnuTableOnuActVersion, "V1");
            strcpy(row.sOnuTableOnuName, "name");
        },
        shelf, slot, port, onu);
    chassis.card.put_row<ov_sOnuHistoryTable_attr_t>(
        [](auto& row) { row.sOnuHistoryAuthTime1 = row.sOnuHistoryOffTime5 = 99; }, shelf, slot, port, onu);
    chassis.card.put_row<ov_sOnuInitTable_attr_t>([](auto&) {}, shelf, slot, port,
                                                  static_cast<unsigned>(onu));
}

int deactive(uint32_t slot) {
    umsg_card_t card = {.slot_id = slot, .card_type = CARD_16_PORTS};
    return ov_app_gpon_slot_deactive_callback(&card);
}

int remove(uint32_t slot, uint16_t card_type = CARD_16_PORTS) {
    umsg_card_t card = {.slot_id = slot, .card_type = card_type};
    return ov_app_gpon_slot_remove_callback(&card);
}

// ---- deactivation ------------------------------------------------------------------------------------

TEST(SlotDeactive, OnusAreOutOfServiceAndKeepTheirRows) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_onu(chassis, SLOT, 4, 7);
        put_onu(chassis, SLOT, 5, 8);
        put_onu(chassis, SLOT + 1, 4, 7);
        ov_startup_gpon_config_sync_end_set(SLOT, 1);
        ov_startup_gpon_config_sync_end_set(SLOT + 1, 1);
        EXPECT_THAT(chassis.messages_of([] { EXPECT_EQ(deactive(SLOT), KAVO_OK); }), IsEmpty());
        for (const auto& [port, onu] : {std::pair{4, 7}, std::pair{5, 8}}) {
            const auto* row = row_at<Onu>(1, SLOT, port, onu);
            ASSERT_NE(row, nullptr);
            EXPECT_EQ(row->sOnuTableOnuState, SONUTABLEONUSTATE_ADDED);
            EXPECT_STREQ(row->sOnuTableOnuActVersion, "");
            EXPECT_STREQ(row->sOnuTableOnuName, "name");
            const auto* history = row_at<ov_sOnuHistoryTable_attr_t>(1, SLOT, port, onu);
            EXPECT_EQ(history->sOnuHistoryAuthTime1, 0u);
            EXPECT_EQ(history->sOnuHistoryOffTime5, 0u);
            EXPECT_EQ(history->sOnuHistoryRowStatus, OVRA_ACTIVE);
            EXPECT_EQ(row_at<ov_sOnuInitTable_attr_t>(1, SLOT, port, onu), nullptr);
        }
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(SLOT), 0);
        EXPECT_EQ(row_at<Onu>(1, SLOT + 1, 4, 7)->sOnuTableOnuState, SONUTABLEONUSTATE_OPERATIONAL);
        EXPECT_EQ(row_at<ov_sOnuHistoryTable_attr_t>(1, SLOT + 1, 4, 7)->sOnuHistoryAuthTime1, 99u);
        EXPECT_NE(row_at<ov_sOnuInitTable_attr_t>(1, SLOT + 1, 4, 7), nullptr);
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(SLOT + 1), 1);
    });
}

TEST(SlotDeactive, OnusOfAnyShelfAreOutOfService) {
    run_restore_chassis([](RestoreChassis& chassis) {
        for (const int shelf : {1, 2})
            put_onu(chassis, SLOT, 4, 7, shelf);
        deactive(SLOT);
        for (const int shelf : {1, 2}) {
            EXPECT_EQ(row_at<Onu>(shelf, SLOT, 4, 7)->sOnuTableOnuState, SONUTABLEONUSTATE_ADDED) << shelf;
            EXPECT_EQ(row_at<ov_sOnuHistoryTable_attr_t>(shelf, SLOT, 4, 7)->sOnuHistoryAuthTime1, 0u)
                << shelf;
        }
        // What a card reported is kept on shelf 1 only.
        EXPECT_EQ(row_at<ov_sOnuInitTable_attr_t>(1, SLOT, 4, 7u), nullptr);
        EXPECT_NE(row_at<ov_sOnuInitTable_attr_t>(2, SLOT, 4, 7u), nullptr);
    });
}

TEST(SlotDeactive, AllTenTimesOfTheHistoryAreCleared) {
    run_restore_chassis([](RestoreChassis& chassis) {
        using History = ov_sOnuHistoryTable_attr_t;
        constexpr uint32_t History::*times[] = {
            &History::sOnuHistoryAuthTime1, &History::sOnuHistoryAuthTime2, &History::sOnuHistoryAuthTime3,
            &History::sOnuHistoryAuthTime4, &History::sOnuHistoryAuthTime5, &History::sOnuHistoryOffTime1,
            &History::sOnuHistoryOffTime2,  &History::sOnuHistoryOffTime3,  &History::sOnuHistoryOffTime4,
            &History::sOnuHistoryOffTime5};
        chassis.card.put_row<History>(
            [&](History& row) {
                for (const auto time : times)
                    row.*time = 99;
            },
            1, SLOT, 4, 7);
        deactive(SLOT);
        for (const auto time : times)
            EXPECT_EQ(row_at<History>(1, SLOT, 4, 7)->*time, 0u);
    });
}

TEST(SlotDeactive, OnlyLineCardsAreServed) {
    run_restore_chassis([](RestoreChassis&) {
        for (const uint32_t slot : {8u, 17u, 19u, 99u, 0xffffffffu})
            EXPECT_EQ(deactive(slot), KAVO_PARAM);
    });
}

TEST(SlotDeactive, RowsThatCannotBeWrittenAreLoggedAndTheRestIsDone) {
    run_restore_chassis([](RestoreChassis& chassis) {
        app_chassis::refuse_writes_of(SONU);
        put_onu(chassis, SLOT, 4, 7);
        put_onu(chassis, SLOT, 4, 8);
        ov_startup_gpon_config_sync_end_set(SLOT, 1);
        EXPECT_EQ(deactive(SLOT), KAVO_OK);
        ov_app_gpon_pon_shutdown_deactive_onu(ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, SLOT, 0, 4, 0));
        std::vector<std::string> lines = chassis.card.hal.log.lines();
        std::erase_if(lines,
                      [](const std::string& line) { return !line.starts_with("set onu state error "); });
        EXPECT_THAT(lines, SizeIs(4));
        EXPECT_THAT(lines, Each(MatchesRegex("set onu state error [a-z_]+ [0-9]+")));
        EXPECT_EQ(row_at<Onu>(1, SLOT, 4, 7)->sOnuTableOnuState, SONUTABLEONUSTATE_OPERATIONAL);
        EXPECT_EQ(row_at<ov_sOnuHistoryTable_attr_t>(1, SLOT, 4, 8)->sOnuHistoryAuthTime1, 0u);
        EXPECT_EQ(row_at<ov_sOnuInitTable_attr_t>(1, SLOT, 4, 8u), nullptr);
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(SLOT), 0);
    });
}

TEST(SlotDeactive, TheVersionLeavesNothingBehindItsEnd) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_onu(chassis, SLOT, 4, 7);
        deactive(SLOT);
        EXPECT_THAT(row_at<Onu>(1, SLOT, 4, 7)->sOnuTableOnuActVersion, Each('\0'));
    });
}

// ---- a port that is shut down ------------------------------------------------------------------------

TEST(PortShutdown, TakesTheOnusOfThePortOutOfService) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_onu(chassis, SLOT, 4, 7);
        put_onu(chassis, SLOT, 5, 7);
        ov_app_gpon_pon_shutdown_deactive_onu(ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, SLOT, 0, 4, 0));
        EXPECT_EQ(row_at<Onu>(1, SLOT, 4, 7)->sOnuTableOnuState, SONUTABLEONUSTATE_ADDED);
        EXPECT_STREQ(row_at<Onu>(1, SLOT, 4, 7)->sOnuTableOnuActVersion, "V1");
        EXPECT_EQ(row_at<ov_sOnuHistoryTable_attr_t>(1, SLOT, 4, 7)->sOnuHistoryAuthTime1, 99u);
        EXPECT_EQ(row_at<ov_sOnuInitTable_attr_t>(1, SLOT, 4, 7), nullptr);
        EXPECT_EQ(row_at<Onu>(1, SLOT, 5, 7)->sOnuTableOnuState, SONUTABLEONUSTATE_OPERATIONAL);
        EXPECT_NE(row_at<ov_sOnuInitTable_attr_t>(1, SLOT, 5, 7), nullptr);
    });
}

TEST(PortShutdown, ReachesOnusOfAnyShelf) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_onu(chassis, SLOT, 4, 7, 2);
        ov_app_gpon_pon_shutdown_deactive_onu(ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, SLOT, 0, 4, 0));
        EXPECT_EQ(row_at<Onu>(2, SLOT, 4, 7)->sOnuTableOnuState, SONUTABLEONUSTATE_ADDED);
    });
}

TEST(PortShutdown, AnyOtherKindOfInterfaceIsRefused) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_onu(chassis, SLOT, 4, 7);
        ov_app_gpon_pon_shutdown_deactive_onu(ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, SLOT, 0, 4, 7));
        EXPECT_EQ(row_at<Onu>(1, SLOT, 4, 7)->sOnuTableOnuState, SONUTABLEONUSTATE_OPERATIONAL);
        EXPECT_THAT(chassis.card.hal.log.lines(),
                    Contains(MatchesRegex("wrong parameter ov_app_gpon_pon_shutdown_deactive_onu [0-9]+")));
    });
}

// ---- removal -----------------------------------------------------------------------------------------

TEST(SlotRemove, CardTypesHaveTheirPorts) {
    EXPECT_EQ(get_portNum_by_cardtype(27), 16);
    EXPECT_EQ(get_portNum_by_cardtype(28), 8);
    EXPECT_EQ(get_portNum_by_cardtype(102), 4);
    EXPECT_EQ(get_portNum_by_cardtype(103), 4);
    for (const uint16_t other : {0, 1, 26, 29, 101, 104, 0xffff})
        EXPECT_EQ(get_portNum_by_cardtype(other), -1);
}

TEST(SlotRemove, AnUnknownTypeOrSlotIsRefusedWithAllRowsLeft) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_onu(chassis, SLOT, 4, 7);
        EXPECT_EQ(remove(SLOT, 29), KAVO_PARAM);
        EXPECT_EQ(remove(19), KAVO_PARAM);
        EXPECT_EQ(remove(99), KAVO_PARAM);
        EXPECT_EQ(HeldTimers::count(), 0u);
        EXPECT_NE(row_at<Onu>(1, SLOT, 4, 7), nullptr);
        EXPECT_NE(row_at<ov_sOnuInitTable_attr_t>(1, SLOT, 4, 7), nullptr);
    });
}

TEST(SlotRemove, ControlAndUplinkCardsHaveNoChain) {
    run_restore_chassis([](RestoreChassis&) {
        EXPECT_EQ(remove(8), KAVO_OK);
        EXPECT_EQ(remove(17), KAVO_OK);
        EXPECT_EQ(HeldTimers::count(), 0u);
    });
}

// A card with a row in each table, as it stands when the daemon has made them all itself.
void put_card(const RestoreChassis& chassis, int slot) {
    chassis.card.put_row<ov_sPonTable_attr_t>([](auto&) {}, 1, slot, 4);
    put_onu(chassis, slot, 4, 7);
    chassis.card.put_row<ov_sRmOnuOptThresholdTable_attr_t>([](auto&) {}, 1, slot, 4, 7);
    chassis.card.put_row<ov_sRmUniVlanTable_attr_t>([](auto&) {}, 1, slot, 4, 7, 1u, 1, 1u);
    chassis.card.put_row<ov_sRmUniStatusTable_attr_t>([](auto&) {}, 1, slot, 4, 7, 1u, 1, 1u);
    chassis.card.put_row<ov_sRmIPHostTable_attr_t>([](auto&) {}, 1, slot, 4, 7);
    chassis.card.put_row<ov_servicePortTable_attr_t>([](auto& row) { row.servicePortGemId = 1; }, 1, slot, 4,
                                                     7, 1);
    chassis.card.put_row<ov_sTcontTable_attr_t>([](auto& row) { strcpy(row.sTcontTableBwProfileName, "bw"); },
                                                1, slot, 4, 7, 1u);
    chassis.card.put_row<ov_sGemTable_attr_t>([](auto& row) { row.sGemTableTcontID = 1; }, 1, slot, 4, 7, 1u);
    chassis.card.put_row<ov_sGemTable_attr_t>([](auto& row) { row.sGemTableTcontID = 1; }, 1, slot, 4, 7, 2u);
    chassis.card.put_row<ov_sRmServiceTable_attr_t>([](auto&) {}, 1, slot, 4, 7, 1u);
    ov_gpon_resource_reserve(TCONT_LIMIT_INDEX, slot, 4, 1);
    ov_gpon_resource_reserve(GEM_LIMIT_INDEX, slot, 4, 2);
    ov_gpon_resource_reserve(SRVPORT_LIMIT_INDEX, slot, 4, 1);
    auto* qos = ov_app_service_port_qos_new();
    ov_app_service_port_qos_edit_index(
        qos, service_port_ifindex(*row_at<ov_servicePortTable_attr_t>(1, slot, 4, 7, 1)));
    ASSERT_EQ(ov_app_service_port_qos_add(qos, SYNC_APP), OV_QOS_OK);
}

TEST(SlotRemove, TheQinqRulesOfItsPortsAndOnusGo) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_onu(chassis, SLOT, 4, 7);
        const ov_ifindex_t port = port_ifindex(PORT_TYPE_GPON, SLOT, 16);
        const ov_ifindex_t onu = onu_ifindex(SLOT, 4, 7);
        const ov_ifindex_t other = port_ifindex(PORT_TYPE_GPON, SLOT + 1, 16);
        for (const ov_ifindex_t ifindex : {port, onu, other}) {
            ov_gpon_qinq_attr_t rule = {};
            rule.ifindex = ifindex;
            rule.opflag = ov_gpon_qinq_op(OV_GPON_ONU_QINQ_OP_PORT_TSP);
            ASSERT_EQ(ov_app_gpon_qinq_add(&rule, QINQ_SYNC_ALL), OV_GPON_RET_OK);
        }
        hal_slot_active_flag_clear("test", 0, SLOT);
        EXPECT_EQ(remove(SLOT), KAVO_OK);
        HeldTimers::run_all();
        EXPECT_THAT(ov_app_gpon_qinq_rules_of(port), IsEmpty());
        EXPECT_THAT(ov_app_gpon_qinq_rules_of(onu), IsEmpty());
        EXPECT_THAT(ov_app_gpon_qinq_rules_of(other), SizeIs(1));
    });
}

TEST(SlotRemove, RowsGoFromTheOnuSideToThePort) {
    run_restore_chassis([](RestoreChassis& chassis) {
        chassis.card.put_row<ov_sBWProfileTable_attr_t>(
            [](auto& row) { strcpy(row.sBWProfileTableBwProfileName, "bw"); }, 12u);
        put_card(chassis, SLOT);
        put_card(chassis, SLOT + 1);
        hal_slot_active_flag_clear("test", 0, SLOT);
        EXPECT_EQ(remove(SLOT), KAVO_OK);
        EXPECT_EQ(row_at<ov_sOnuInitTable_attr_t>(1, SLOT, 4, 7), nullptr);
        EXPECT_THAT(chassis.card.hal.log.lines(), Contains("start remove task for slot 3 type 27"));
        std::vector<long> pauses;
        std::vector<std::string> left; // behind each stage
        while (HeldTimers::count() != 0) {
            pauses.push_back(HeldTimers::run_first());
            std::string rows;
            rows += row_at<ov_sRmOnuOptThresholdTable_attr_t>(1, SLOT, 4, 7) ? "threshold " : "";
            rows += row_at<ov_sRmServiceTable_attr_t>(1, SLOT, 4, 7, 1u) ? "service " : "";
            rows += row_at<ov_sRmUniVlanTable_attr_t>(1, SLOT, 4, 7, 1u, 1, 1u) ? "vlan " : "";
            rows += row_at<ov_sRmUniStatusTable_attr_t>(1, SLOT, 4, 7, 1u, 1, 1u) ? "uni " : "";
            rows += row_at<ov_sRmIPHostTable_attr_t>(1, SLOT, 4, 7) ? "iphost " : "";
            rows += row_at<ov_servicePortTable_attr_t>(1, SLOT, 4, 7, 1) ? "srvport " : "";
            rows += row_at<ov_sGemTable_attr_t>(1, SLOT, 4, 7, 2u) ? "gem " : "";
            rows += row_at<ov_sTcontTable_attr_t>(1, SLOT, 4, 7, 1u) ? "tcont " : "";
            rows += row_at<Onu>(1, SLOT, 4, 7) ? "onu " : "";
            rows += row_at<ov_sPonTable_attr_t>(1, SLOT, 4) ? "port" : "";
            left.push_back(rows);
        }
        EXPECT_THAT(pauses, ElementsAre(200, 100, 200, 200, 200, 100, 200, 200, 200, 500));
        EXPECT_THAT(left, ElementsAre("service vlan uni iphost srvport gem tcont onu port",
                                      "vlan uni iphost srvport gem tcont onu port",
                                      "uni iphost srvport gem tcont onu port",
                                      "iphost srvport gem tcont onu port", "srvport gem tcont onu port",
                                      "gem tcont onu port", "tcont onu port", "onu port", "port", ""));
        EXPECT_NE(row_at<ov_sGemTable_attr_t>(1, SLOT + 1, 4, 7, 2u), nullptr);
        EXPECT_NE(row_at<ov_sPonTable_attr_t>(1, SLOT + 1, 4), nullptr);
        EXPECT_NE(row_at<Onu>(1, SLOT + 1, 4, 7), nullptr);
    });
}

TEST(SlotRemove, RowsOfOtherShelvesStay) {
    run_restore_chassis([](RestoreChassis& chassis) {
        for (const int shelf : {1, 2})
            put_onu(chassis, SLOT, 4, 7, shelf);
        remove(SLOT);
        HeldTimers::run_all();
        EXPECT_EQ(row_at<Onu>(1, SLOT, 4, 7), nullptr);
        EXPECT_NE(row_at<Onu>(2, SLOT, 4, 7), nullptr);
    });
}

TEST(SlotRemove, CardsAreRemovedSideBySideAndOneTwiceOver) {
    run_restore_chassis([](RestoreChassis& chassis) {
        chassis.card.put_row<ov_sBWProfileTable_attr_t>(
            [](auto& row) { strcpy(row.sBWProfileTableBwProfileName, "bw"); }, 12u);
        put_card(chassis, SLOT);
        put_card(chassis, SLOT + 1);
        for (const uint32_t slot : {SLOT, SLOT + 1, SLOT})
            EXPECT_EQ(remove(slot), KAVO_OK);
        EXPECT_THAT(HeldTimers::run_all(), SizeIs(3 * 10));
        for (const int slot : {SLOT, SLOT + 1}) {
            EXPECT_EQ(row_at<Onu>(1, slot, 4, 7), nullptr);
            EXPECT_EQ(row_at<ov_sPonTable_attr_t>(1, slot, 4), nullptr);
        }
    });
}

TEST(SlotRemove, EachStageLogsItsStartAndItsEnd) {
    run_restore_chassis([](RestoreChassis& chassis) {
        remove(SLOT);
        HeldTimers::run_all();
        const auto lines = chassis.card.hal.log.lines();
        EXPECT_THAT(lines, Contains("slot 3 stage 5: start remove  gem configuration"));
        EXPECT_THAT(
            lines, Contains(MatchesRegex("slot 3 stage 5: finish remove gem configuration using [0-9.]+ s")));
        for (const char* stage : {"1", "2-1", "2-2", "2-3", "3", "4", "5", "6", "7", "8"}) {
            EXPECT_THAT(lines,
                        Contains(HasSubstr("slot 3 stage " + std::string(stage) + ": start remove  ")));
            EXPECT_THAT(lines,
                        Contains(HasSubstr("slot 3 stage " + std::string(stage) + ": finish remove ")));
        }
        EXPECT_EQ(lines.back(), "Delete all onu on slot 3");
    });
}

// Other columns would tell the card a profile first.
TEST(SlotRemove, AServicePortGoesByItsRowStatusAlone) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_card(chassis, SLOT);
        static MIB_Flags_t columns;
        columns = {};
        const MIBDID did = mmg_table_did_getbyindex(SSERVICEPORT);
        ASSERT_EQ(MibRegisterCallback(
                      did, CALLBACK_SET, "watch", 1,
                      [](MIBDID /*did*/, void* /*row*/, MIB_Flags_t flags) {
                          columns = flags;
                          return SET_ACCEPTED;
                      },
                      mibDefFlags),
                  1);
        remove(SLOT);
        HeldTimers::run_all();
        const MIB_Flags_t row_status = columns_of(servicePortTable_column::servicePortRowStatus);
        EXPECT_EQ(memcmp(&columns, &row_status, sizeof columns), 0);
        EXPECT_EQ(row_at<ov_servicePortTable_attr_t>(1, SLOT, 4, 7, 1), nullptr);
        EXPECT_THAT(chassis.card.hal.log.lines(), Not(Contains(HasSubstr("delete of servicePortTable"))));
    });
}

TEST(SlotRemove, RowsThatWaitGoToo) {
    run_restore_chassis([](RestoreChassis& /*chassis*/) {
        using Gem = ov_sGemTable_attr_t;
        Gem waiting = {};
        table_of<Gem>::module().set_index_at(&waiting, 1, SLOT, 4, 7, 5u);
        waiting.sGemTableRowStatus = OVRA_CREATEANDWAIT;
        ASSERT_TRUE(mib_access(MIB_SET, waiting, columns_of(sGemTable_column::sGemTableRowStatus)));
        ASSERT_EQ(find_row(waiting), nullptr);
        ASSERT_NE(find_stored_row(waiting), nullptr);
        remove(SLOT);
        HeldTimers::run_all();
        EXPECT_EQ(find_stored_row(waiting), nullptr);
    });
}

TEST(SlotRemove, ARowThatCannotBeDeletedIsLoggedAndTheChainGoesOn) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_card(chassis, SLOT);
        chassis.card.card_answers(OV_HAL_MSG_GPON_PORT, OV_GPON_RET_BUSY);
        chassis.card.put_row<ov_sPonTable_attr_t>([](auto&) {}, 1, SLOT, 5);
        remove(SLOT);
        HeldTimers::run_all();
        EXPECT_NE(row_at<ov_sPonTable_attr_t>(1, SLOT, 4), nullptr);
        const auto lines = chassis.card.hal.log.lines();
        for (const char* port : {"4", "5"})
            EXPECT_THAT(lines, Contains(HasSubstr("delete of sPonTable entry [shelfID:1 slotID:3 portID:" +
                                                  std::string(port))));
        EXPECT_EQ(lines.back(), "Delete all onu on slot 3");
    });
}

} // namespace
