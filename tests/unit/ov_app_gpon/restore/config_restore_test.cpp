// The replay of a card's configuration: who is served, the chain of stages, what each sends.
#include "ov_app_gpon_config_restore.h"

#include <map>

#include "../support/restore_chassis.h"
#include "ov_app_gpon_config_restore_tables.h"
#include "ov_app_gpon_port.h"
#include "ov_slot.h"
#include "portProtectTable.h"
#include "rmServiceMacFilterModeTable.h"
#include "sBWProfileTable.h"
#include "sGemTable.h"
#include "sMcastVlanTable.h"
#include "sOnuTable.h"
#include "sOnuTypeProfileTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

namespace {

constexpr int SLOT = AppChassis::SLOT;
constexpr int CONTROL_SLOT = 8;
constexpr int UPLINK_SLOT = 17;
constexpr int POWER_SLOT = 19;

int start(int slot, uint32_t priority) {
    umsg_cfg_sync_t sync = {};
    sync.slotid = static_cast<uint32_t>(slot);
    sync.cfg_prio = priority;
    strcpy(sync.appName, "gpon");
    return ov_app_gpon_config_restore_start_callback(&sync);
}

template <typename Row, typename... Index>
void put(const RestoreChassis& chassis, Index... index) {
    chassis.card.put_row<Row>([](auto&) {}, index...);
}

// What the platform says of the product from now on.
void set_products_facts(const std::map<std::string, std::string>& facts) {
    for (const auto& [name, value] : facts)
        HalChassis::set(name, value);
    ov_product_deinit();
}

std::vector<std::string> recovery_lines(const RestoreChassis& chassis) {
    std::vector<std::string> found;
    for (const std::string& line : chassis.card.hal.log.lines())
        if (line.find("stage") != std::string::npos || line.find("finished") == 0)
            found.push_back(line);
    return found;
}

// ---- who is served -----------------------------------------------------------------------------------

TEST(RestoreStart, ASlotThatIsNoCardsIsReportedAtOnceWhateverThePriority) {
    run_restore_chassis([](RestoreChassis& chassis) {
        for (const uint32_t priority : {300u, 410u, 480u, 555u})
            EXPECT_EQ(start(POWER_SLOT, priority), KAVO_PARAM);
        EXPECT_EQ(start(UPLINK_SLOT, 300), KAVO_PARAM);
        EXPECT_THAT(
            chassis.controller.reports(),
            ElementsAre("gpon 19/300/0", "gpon 19/410/0", "gpon 19/480/0", "gpon 19/555/0", "gpon 17/300/0"));
        EXPECT_EQ(HeldTimers::count(), 0u);
    });
}

TEST(RestoreStart, AnotherPriorityIsIgnoredAndNotReported) {
    run_restore_chassis([](RestoreChassis& chassis) {
        const auto seen = chassis.messages_of([] {
            for (const uint32_t priority : {0u, 299u, 301u, 400u, 481u})
                EXPECT_EQ(start(SLOT, priority), KAVO_OK);
        });
        EXPECT_THAT(seen, IsEmpty());
        EXPECT_THAT(chassis.controller.reports(), IsEmpty());
        EXPECT_EQ(HeldTimers::count(), 0u);
    });
}

TEST(RestoreStart, TheQosPriorityIsReportedAtOnce) {
    run_restore_chassis([](RestoreChassis& chassis) {
        EXPECT_EQ(start(SLOT, 410), KAVO_OK);
        EXPECT_THAT(chassis.controller.reports(), ElementsAre("gpon 3/410/0"));
        EXPECT_EQ(HeldTimers::count(), 0u);
    });
}

TEST(RestoreStart, TheLastPriorityEndsTheSyncAndIsReported) {
    run_restore_chassis([](RestoreChassis& chassis) {
        const auto seen = chassis.messages_of([] { EXPECT_EQ(start(SLOT, 480), KAVO_OK); });
        EXPECT_THAT(outline(seen), ElementsAre("950 set"));
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(SLOT), 1);
        EXPECT_THAT(chassis.controller.reports(), ElementsAre("gpon 3/480/0"));
    });
}

TEST(RestoreStart, ControlCardsAreServedAndHaveNoSyncToEnd) {
    run_restore_chassis([](RestoreChassis& chassis) {
        const auto seen = chassis.messages_of([] {
            EXPECT_EQ(start(CONTROL_SLOT, 410), KAVO_OK);
            EXPECT_EQ(start(CONTROL_SLOT, 480), KAVO_OK);
        });
        EXPECT_THAT(seen, IsEmpty());
        EXPECT_EQ(start(CONTROL_SLOT, 300), KAVO_OK);
        EXPECT_THAT(HeldTimers::run_all(), SizeIs(16));
        EXPECT_THAT(chassis.controller.reports(),
                    ElementsAre("gpon 8/410/0", "gpon 8/480/0", "gpon 8/300/0"));
    });
}

TEST(RestoreStart, ASingleUnitServesWhateverSlotIsAskedFor) {
    run_restore_chassis([](RestoreChassis& chassis) {
        set_products_facts({{"PDT_INFO_SHELF_TYPE", "52"}});
        put<ov_sTcontTable_attr_t>(chassis, 1, 5, 4, 7, 1u); // not on this board
        const auto seen = chassis.messages_of([] {
            EXPECT_EQ(start(5, 300), KAVO_OK);
            EXPECT_THAT(HeldTimers::run_all(), SizeIs(16));
        });
        EXPECT_THAT(seen, IsEmpty());
        EXPECT_EQ(start(5, 480), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.controller.reports(), ElementsAre("gpon 5/300/0", "gpon 5/480/0"));
    });
}

TEST(RestoreStart, ARefusedSyncEndIsReportedAsDoneToo) {
    run_restore_chassis([](RestoreChassis& chassis) {
        chassis.card.card_answers(950, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(start(SLOT, 480), OV_GPON_RET_NOT_SUPPORT);
        EXPECT_THAT(chassis.controller.reports(), ElementsAre("gpon 3/480/0"));
    });
}

// ---- the chain ---------------------------------------------------------------------------------------

TEST(RestoreChain, SixteenStagesASecondApartThenTheReport) {
    run_restore_chassis([](RestoreChassis& chassis) {
        EXPECT_EQ(start(SLOT, 300), KAVO_OK);
        EXPECT_THAT(chassis.card.hal.log.lines(), IsEmpty());
        for (int stage = 0; stage < 16; ++stage) {
            EXPECT_THAT(chassis.controller.reports(), IsEmpty());
            ASSERT_EQ(HeldTimers::count(), 1u);
            EXPECT_EQ(HeldTimers::run_first(), 1000);
        }
        EXPECT_EQ(HeldTimers::count(), 0u);
        EXPECT_THAT(chassis.controller.reports(), ElementsAre("gpon 3/300/0"));
        const std::vector<std::string> expected = {
            "slot 3 stage 1: finish restore gpon profile using [0-9.]+ s",
            "slot 3 stage 2: finish restore gpon port configuration using [0-9.]+ s",
            "slot 3 stage 2.5: finish restore gpon port qos configuration using [0-9.]+ s",
            "slot 3 stage 3: finish gpon onu create and set configuration using [0-9.]+ s",
            "slot 3 stage 4: finish gpon onu tcont configuration using [0-9.]+ s",
            "slot 3 stage 5: finish restore gpon onu gem configuration using [0-9.]+ s",
            "slot 3 stage 6: finish restore gpon onu srv configuration using [0-9.]+ s",
            "slot 3 stage 7: finish restore gpon onu mcast configuration using [0-9.]+ s",
            "slot 3 stage 8: finish restore remote onu uni-status&iphost&tr069 configuration using [0-9.]+ s",
            "slot 3 stage 9: finish restore remote onu service configuration using [0-9.]+ s",
            "slot 3 stage 10: finish restore remote onu uni-vlan configuration using [0-9.]+ s",
            "slot 3 stage 11: finish restore remote onu mcast configuration using [0-9.]+ s",
            "slot 3 stage 12: finish restore remote onu wan&wifi using [0-9.]+ s",
            "slot 3 stage 13: finish restore remote onu wan&wifi using [0-9.]+ s",
            "slot 3 stage 14: finish restore remote onu macfilter&threshold  configuration using [0-9.]+ s",
            "slot 3 stage 15: finish restore remote unipoe using [0-9.]+ s",
            "finished pon config restore for slot 3"};
        const auto lines = recovery_lines(chassis);
        ASSERT_THAT(lines, SizeIs(expected.size()));
        for (size_t n = 0; n < expected.size(); ++n)
            EXPECT_THAT(lines[n], MatchesRegex(expected[n]));
    });
}

TEST(RestoreChain, SlotsAreReplayedSideBySideAndOneTwiceOver) {
    run_restore_chassis([](RestoreChassis& chassis) {
        start(SLOT, 300);
        start(4, 300);
        start(SLOT, 300);
        EXPECT_EQ(HeldTimers::count(), 3u);
        EXPECT_THAT(HeldTimers::run_all(), SizeIs(3 * 16));
        EXPECT_THAT(chassis.controller.reports(),
                    ElementsAre("gpon 3/300/0", "gpon 4/300/0", "gpon 3/300/0"));
    });
}

TEST(RestoreChain, ACardThatWentAwayIsReportedAllTheSame) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put<ov_sTcontTable_attr_t>(chassis, 1, SLOT, 4, 7, 1u);
        start(SLOT, 300);
        HeldTimers::run_first();
        hal_slot_active_flag_clear("test", 0, SLOT);
        HeldTimers::run_all();
        EXPECT_THAT(outline(chassis.card.messages()), ElementsAre("904 create")); // before it went
        EXPECT_THAT(chassis.controller.reports(), ElementsAre("gpon 3/300/0"));
    });
}

// What the stage at a place of the chain sends (0 for the first).
std::vector<CardMessage> stage_messages(RestoreChassis& chassis, int place, int slot = SLOT) {
    start(slot, 300);
    for (int before = 0; before < place; ++before)
        HeldTimers::run_first();
    auto seen = chassis.messages_of([] { HeldTimers::run_first(); });
    HeldTimers::run_all();
    return seen;
}

// ---- profiles and templates --------------------------------------------------------------------------

void put_profiles(const RestoreChassis& chassis) {
    chassis.card.put_row<ov_sOnuTypeProfileTable_attr_t>(
        [](auto& row) { strcpy(row.onuTypeProfileName, "type"); }, 11u);
    chassis.card.put_row<ov_sBWProfileTable_attr_t>(
        [](auto& row) { strcpy(row.sBWProfileTableBwProfileName, "bw"); }, 12u);
}

TEST(RestoreProfiles, GoToTheCardThatIsRestored) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_profiles(chassis);
        const auto seen = stage_messages(chassis, 0);
        ASSERT_THAT(outline(seen), ElementsAre("906 create", "907 create", "904 create"));
        EXPECT_EQ(seen[0].record<ov_gpon_onutype_attr_t>().ifindex, static_cast<uint32_t>(SLOT));
        EXPECT_STREQ(seen[0].record<ov_gpon_onutype_attr_t>().name, "type");
        EXPECT_EQ(seen[1].record<ov_gpon_bwprofile_attr_t>().ifindex, SLOT);
        EXPECT_FALSE(seen[0].wants_reply);
        EXPECT_FALSE(seen[1].wants_reply);
    });
}

// RSSI profiles, whose record has no place for a slot, go to every card at every replay.
TEST(RestoreProfiles, AnotherCardsReplayLeavesThisOneAlone) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_profiles(chassis);
        EXPECT_THAT(outline(stage_messages(chassis, 0, 4)), ElementsAre("904 create"));
    });
}

void put_templates(const RestoreChassis& chassis) {
    put<ov_sTcontTable_attr_t>(chassis, 1, 31, 15, 9, 1u);
    put<ov_sGemTable_attr_t>(chassis, 1, 31, 15, 9, 2u);
    put<ov_servicePortTable_attr_t>(chassis, 1, 31, 15, 9, 3);
}

TEST(RestoreProfiles, TemplateRowsGoOutAtEverySlotsReplay) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_templates(chassis);
        put<ov_sTcontTable_attr_t>(chassis, 1, SLOT, 4, 7, 1u);
        for (const int slot : {SLOT, 4, CONTROL_SLOT}) {
            const auto seen = stage_messages(chassis, 0, slot);
            const size_t of_cards = slot == CONTROL_SLOT ? 0 : 1; // rows of a slot: the default RSSI profile
            std::vector<std::string> expected = {"904 create", "908 create", "909 create", "910 create"};
            EXPECT_THAT(outline(seen),
                        testing::ElementsAreArray(expected.begin() + (of_cards == 0 ? 1 : 0), expected.end()))
                << slot;
            EXPECT_EQ(ov_ifindex_get_slot_id(seen.at(of_cards).record<ov_gpon_tcont_attr_t>().onuIfindex),
                      31u);
        }
    });
}

// They wait for the modules of their tables; the places in the replay are theirs.
TEST(RestoreProfiles, TemplateRowsOfWanWifiAndPoeHaveTheirTables) {
    const auto is = [](const RestoreTable& templates, const RestoreTable& base, int message,
                       const char* name) {
        EXPECT_STREQ(templates.name, name);
        EXPECT_EQ(templates.table, base.table);
        EXPECT_EQ(templates.message, message);
        EXPECT_EQ(templates.rows, RestoreRows::TEMPLATES);
        EXPECT_EQ(templates.map, base.map);
        EXPECT_EQ(templates.sets, base.sets);
        const auto* desc = ov_hal_gpon_msg_desc_get(static_cast<unsigned>(message));
        ASSERT_NE(desc, nullptr);
        EXPECT_EQ(desc->dest, ov_hal_gpon_msg_dest_t::INDEX_OR_ALL); // slot 31 is every card
    };
    is(ov_app_gpon_config_restore_onusrvprofile_wan, ov_app_gpon_config_restore_rm_wan, 955,
       "ov_app_gpon_config_restore_onusrvprofile_wan");
    is(ov_app_gpon_config_restore_onusrvprofile_wifi, ov_app_gpon_config_restore_rm_wifi, 956,
       "ov_app_gpon_config_restore_onusrvprofile_wifi");
    is(ov_app_gpon_config_restore_onusrvprofile_uni_poe, ov_app_gpon_config_restore_rm_uni_poe, 962,
       "ov_app_gpon_config_restore_onusrvprofile_uni_poe");
    is(ov_app_gpon_config_restore_onusrvprofile_onu_poe, ov_app_gpon_config_restore_rm_onu_poe, 963,
       "ov_app_gpon_config_restore_onusrvprofile_onu_poe");
}

// Brings the row into a status as the requests of managers do.
template <typename Row, typename... Index>
void set_status(mib_long Row::*status, mib_long Row::*old_status, int value, int old_value, Index... index) {
    Row key = {};
    table_of<Row>::module().set_index_at(&key, index...);
    auto* row = const_cast<Row*>(find_stored_row(key));
    ASSERT_NE(row, nullptr);
    row->*status = value;
    row->*old_status = old_value;
}

TEST(RestoreRows, ThatWaitOrGoAreNotReplayed) {
    run_restore_chassis([](RestoreChassis& chassis) {
        using Tcont = ov_sTcontTable_attr_t;
        const auto put_tcont = [&](unsigned id, int value, int old_value, int slot = SLOT, int port = 4) {
            put<Tcont>(chassis, 1, slot, port, 7, id);
            set_status<Tcont>(&Tcont::sTcontTableRowStatus, &Tcont::old_sTcontTableRowStatus, value,
                              old_value, 1, slot, port, 7, id);
        };
        put_tcont(1, OVRA_ACTIVE, OVRA_CREATEANDGO);
        put_tcont(2, OVRA_NOTINSERVICE, OVRA_CREATEANDWAIT);
        put_tcont(3, OVRA_CREATEANDGO, OVRA_NONEXISTENT);
        put_tcont(4, OVRA_DESTROY, OVRA_ACTIVE);
        put_tcont(5, OVRA_NONEXISTENT, OVRA_NONEXISTENT);
        put_tcont(6, OVRA_NOTREADY, OVRA_NONEXISTENT);
        EXPECT_THAT(outline(stage_messages(chassis, 4)), ElementsAre("908 create", "908 create"));
        put_tcont(7, OVRA_NOTINSERVICE, OVRA_CREATEANDWAIT, 31, 15);
        put_profiles(chassis);
        using Bandwidths = ov_sBWProfileTable_attr_t;
        set_status<Bandwidths>(&Bandwidths::sBWProfileTableRowStatus,
                               &Bandwidths::old_sBWProfileTableRowStatus, OVRA_NOTINSERVICE,
                               OVRA_CREATEANDWAIT, 12u);
        EXPECT_THAT(outline(stage_messages(chassis, 0)), ElementsAre("906 create", "904 create"));
    });
}

TEST(RestoreProfiles, TemplateRowsAreInNoLaterStage) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_templates(chassis);
        start(SLOT, 300);
        HeldTimers::run_first();
        // but the default QoS profiles
        EXPECT_THAT(chassis.messages_of([] { HeldTimers::run_all(); }),
                    Each(testing::Field(&CardMessage::type, testing::Lt(OV_HAL_MSG_GPON_BASE))));
    });
}

TEST(RestoreProfiles, AControlCardGetsNoRowsOfASlot) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_profiles(chassis);
        put<ov_sPonTable_attr_t>(chassis, 1, CONTROL_SLOT, 1);
        EXPECT_THAT(chassis.messages_of([] {
            start(CONTROL_SLOT, 300);
            HeldTimers::run_all();
        }),
                    IsEmpty());
    });
}

// ---- PON ports ---------------------------------------------------------------------------------------

TEST(RestorePorts, AllCreatesThenTheSetsThatDiffer) {
    run_restore_chassis([](RestoreChassis& chassis) {
        chassis.card.put_port(1);
        chassis.card.put_row<ov_sPonTable_attr_t>(
            [](auto& row) {
                row.sPonTableDsFec = 1;
                row.sPonTableMibDataSync = 0;
                row.sPonTableIfIndex = 77;
            },
            1, SLOT, 2);
        chassis.card.put_row<ov_sPonTable_attr_t>([](auto& row) { row.sPonTableMibDataSync = 0; }, 1, SLOT,
                                                  3);
        put<ov_sPonTable_attr_t>(chassis, 1, 4, 1);
        // The records carry what the row has: indexes here tell the rows apart.
        for (const int port : {1, 2, 3}) {
            ov_sPonTable_attr_t key = {};
            table_of<ov_sPonTable_attr_t>::module().set_index_at(&key, 1, SLOT, port);
            const_cast<ov_sPonTable_attr_t*>(find_row(key))->sPonTableIfIndex =
                ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, SLOT, 0, static_cast<uint16_t>(port), 0);
        }
        auto seen = stage_messages(chassis, 1);
        std::erase_if(seen, [](const CardMessage& message) { return message.type < OV_HAL_MSG_GPON_BASE; });
        // The all-default port is set for its data synchronisation; the port with it off isn't.
        EXPECT_THAT(outline(seen), ElementsAre("901 create", "901 create", "901 create", "901 set 0x80000",
                                               "901 set 0x400"));
        EXPECT_THAT(seen, Each(testing::Field(&CardMessage::wants_reply, false)));
        for (size_t n = 0; n < 3; ++n)
            EXPECT_EQ(ov_ifindex_get_port_id(seen[n].record<ov_gpon_port_attr_t>().ifindex), n + 1);
        EXPECT_EQ(ov_ifindex_get_port_id(seen[4].record<ov_gpon_port_attr_t>().ifindex), 2u);
        EXPECT_EQ(seen[4].record<ov_gpon_port_attr_t>().DsFec, 1);
    });
}

// ---- ONUs and what hangs off them --------------------------------------------------------------------

TEST(RestoreOnus, EachTableInItsStageAndTheSetsBehindTheCreates) {
    run_restore_chassis([](RestoreChassis& chassis) {
        for (const int onu : {7, 8}) {
            chassis.card.put_row<ov_sOnuTable_attr_t>([&](auto& row) { row.sOnuTableUpFec = onu == 8; }, 1,
                                                      SLOT, 4, onu);
            put<ov_sTcontTable_attr_t>(chassis, 1, SLOT, 4, onu, 1u);
            chassis.card.put_row<ov_sGemTable_attr_t>(
                [&](auto& row) { row.sGemTableIfEnableEncryption = onu == 7; }, 1, SLOT, 4, onu, 1u);
            chassis.card.put_row<ov_servicePortTable_attr_t>(
                [&](auto& row) { row.servicePortMacmove = onu - 7; }, 1, SLOT, 4, onu, 1);
        }
        put<ov_sOnuTable_attr_t>(chassis, 1, SLOT + 1, 4, 7);
        EXPECT_THAT(outline(stage_messages(chassis, 3)),
                    ElementsAre("903 create", "903 create", "903 set 0x400"));
        EXPECT_THAT(outline(stage_messages(chassis, 4)), ElementsAre("908 create", "908 create"));
        EXPECT_THAT(outline(stage_messages(chassis, 5)),
                    ElementsAre("909 create", "909 create", "909 set 0x200"));
        EXPECT_THAT(outline(stage_messages(chassis, 6)),
                    ElementsAre("910 create", "910 create", "910 set 0x2000"));
    });
}

TEST(RestoreOnus, RowsOfOtherShelvesGoInTheTablesOrder) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put<ov_sTcontTable_attr_t>(chassis, 2, SLOT, 4, 1, 22u);
        put<ov_sTcontTable_attr_t>(chassis, 1, SLOT, 5, 1, 11u);
        put<ov_sTcontTable_attr_t>(chassis, 1, SLOT + 1, 5, 1, 12u);
        put<ov_sTcontTable_attr_t>(chassis, -1, SLOT, 4, 1, 33u);
        start(SLOT, 300);
        for (int n = 0; n < 4; ++n)
            HeldTimers::run_first();
        const auto seen = chassis.messages_of([] { HeldTimers::run_first(); });
        std::vector<uint32_t> ids;
        for (const CardMessage& message : seen)
            ids.push_back(message.record<ov_gpon_tcont_attr_t>().tcontId);
        EXPECT_THAT(ids, ElementsAre(11u, 22u, 33u));
        HeldTimers::run_all();
    });
}

TEST(RestoreOnus, MulticastVlansBelongToNoCard) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put<ov_sMcastVlanTable_attr_t>(chassis, 1, 1);
        EXPECT_THAT(stage_messages(chassis, 7), IsEmpty());
    });
}

TEST(RestoreDebug, NumbersOfMessagesAreLogged) {
    run_restore_chassis([](RestoreChassis& chassis) {
        chassis.card.put_port(1);
        stage_messages(chassis, 1);
        EXPECT_THAT(chassis.card.hal.log.lines(), Not(Contains(testing::HasSubstr("sent"))));
        g_config_restore_debug = 1;
        stage_messages(chassis, 1);
        EXPECT_THAT(chassis.card.hal.log.lines(),
                    Contains("slot 3: ov_app_gpon_config_restore_pon action 1 sent 1 messages"));
    });
}

// ---- one row -----------------------------------------------------------------------------------------

TEST(RestoreConvert, GivesTheMaskForASetOnly) {
    run_restore_chassis([](RestoreChassis& chassis) {
        chassis.card.put_port(1);
        ov_sPonTable_attr_t row = {};
        table_of<ov_sPonTable_attr_t>::module().set_index_at(&row, 1, SLOT, 1);
        row = *find_row(row);
        row.sPonTableScbPort = 5;
        alignas(8) std::byte record[RESTORE_RECORD_MAX];
        const MIBDID did = did_of<ov_sPonTable_attr_t>();
        EXPECT_EQ(ov_mib_data_convert_to_hal(&row, record, 901, did, OV_HAL_GPON_MSG_ACTION_SET, SLOT),
                  0x80010);
        EXPECT_EQ(reinterpret_cast<ov_gpon_port_attr_t*>(record)->scbport, 5u);
        EXPECT_EQ(ov_mib_data_convert_to_hal(&row, record, 901, did, OV_HAL_GPON_MSG_ACTION_CREATE, SLOT), 0);
    });
}

TEST(RestoreConvert, MessagesThatAreNotReplayedFromTheTableGiveNothing) {
    run_restore_chassis([](RestoreChassis&) {
        ov_sPonTable_attr_t row = {};
        std::byte record[RESTORE_RECORD_MAX] = {};
        const MIBDID did = did_of<ov_sPonTable_attr_t>();
        for (const int message : {0, 900, 902, 903, 911, 950, 964, 967, -1})
            EXPECT_EQ(
                ov_mib_data_convert_to_hal(&row, record, message, did, OV_HAL_GPON_MSG_ACTION_SET, SLOT), 0);
        EXPECT_EQ(ov_mib_data_convert_to_hal(&row, record, 901, nullptr, OV_HAL_GPON_MSG_ACTION_SET, SLOT),
                  0);
        EXPECT_THAT(record, Each(std::byte{0}));
    });
}

TEST(RestoreSlotOfRow, IsThatOfTheMessage) {
    run_restore_chassis([](RestoreChassis&) {
        ov_sPonTable_attr_t row = {};
        row.shelfID = 1;
        row.slotID = 9;
        const MIBDID pon = did_of<ov_sPonTable_attr_t>();
        const std::vector<int> of_index = {901, 903, 908, 909, 910, 913, 914, 915, 916, 917, 921, 931,
                                           932, 942, 943, 944, 946, 947, 948, 955, 956, 962, 963, 964};
        const std::vector<int> of_restored = {904, 906, 907, 945};
        for (int message = 900; message < 970; ++message) {
            const bool index = std::find(of_index.begin(), of_index.end(), message) != of_index.end();
            const bool restored =
                std::find(of_restored.begin(), of_restored.end(), message) != of_restored.end();
            EXPECT_EQ(ov_app_gpon_get_slot_from_mib_attr(pon, &row, message, 5), index      ? 9
                                                                                 : restored ? 5
                                                                                            : 0)
                << message;
        }
        row.slotID = 31;
        EXPECT_EQ(ov_app_gpon_get_slot_from_mib_attr(pon, &row, 909, 5), 31);
        ov_rmServiceMacFilterModeTable_attr_t filter = {};
        filter.slotID = 9;
        EXPECT_EQ(ov_app_gpon_get_slot_from_mib_attr(did_of<ov_rmServiceMacFilterModeTable_attr_t>(), &filter,
                                                     934, 5),
                  9);
        ov_portProtectTable_attr_t group = {};
        group.ppWorkPonIfindex =
            static_cast<mib_long>(ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, 6, 0, 2, 0));
        group.ppProtectPonIfindex =
            static_cast<mib_long>(ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, 7, 0, 2, 0));
        EXPECT_EQ(ov_app_gpon_get_slot_from_mib_attr(did_of<ov_portProtectTable_attr_t>(), &group, 952, 5),
                  6);
    });
}

// ---- the end of the sync -----------------------------------------------------------------------------

TEST(RestoreSyncEnd, TheCardLearnsWhoseItIs) {
    run_restore_chassis([](RestoreChassis& chassis) {
        set_products_facts({{"PDT_INFO_VENDER_PDT_NAME", "A vendor"},
                            {"PDT_INFO_PDT_NAME", "A name that is longer than thirty bytes"},
                            {"PDT_INFO_CARD_SN", std::string(63, '7')}});
        const auto seen = chassis.messages_of([] { EXPECT_EQ(ov_app_gpon_sync_end(SLOT), OV_GPON_RET_OK); });
        ASSERT_THAT(outline(seen), ElementsAre("950 set"));
        EXPECT_TRUE(seen[0].wants_reply);
        const auto record = seen[0].record<ov_gpon_cfg_sync_end_attr_t>();
        EXPECT_EQ(record.slotid, SLOT);
        EXPECT_STREQ(record.vendorName, "A vendor");
        EXPECT_EQ(record.eqptSn, std::string(29, '7')); // and its end
        EXPECT_STREQ(record.eqptName, "A name that is longer than th");
        EXPECT_THAT(chassis.card.hal.log.lines(), Contains("set sync finish success"));
    });
}

TEST(RestoreSyncEnd, TheSlotCountsAsSynchronisedWhateverTheCardAnswers) {
    run_restore_chassis([](RestoreChassis& chassis) {
        chassis.card.card_answers(950, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(ov_app_gpon_sync_end(SLOT), OV_GPON_RET_NOT_SUPPORT);
        EXPECT_THAT(chassis.card.hal.log.lines(), Contains("set sync finish  which not support"));
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(SLOT), 1);
        ov_startup_gpon_config_sync_end_set(SLOT, 0);
        chassis.card.card_answers(950, 5);
        EXPECT_NE(ov_app_gpon_sync_end(SLOT), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.card.hal.log.lines(), Contains("sync finish set error"));
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(SLOT), 1);
    });
}

TEST(RestoreSyncEnd, OnlyLineCardsOfAChassisAreTold) {
    run_restore_chassis([](RestoreChassis& chassis) {
        const auto seen =
            chassis.messages_of([] { EXPECT_EQ(ov_app_gpon_sync_end(CONTROL_SLOT), OV_GPON_RET_OK); });
        EXPECT_THAT(seen, IsEmpty());
        EXPECT_THAT(chassis.card.hal.log.lines(), Contains("No need to recover slot id 8"));
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(CONTROL_SLOT), 0);
    });
}

TEST(RestoreSyncEnd, ASingleUnitHasSlot1Only) {
    run_restore_chassis([](RestoreChassis& chassis) {
        set_products_facts({{"PDT_INFO_PDT_TYPE", "1"}});
        EXPECT_EQ(ov_app_gpon_sync_end(2), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.card.hal.log.lines(), Contains("Wrong slot id 2"));
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(2), 0);
        EXPECT_EQ(ov_app_gpon_sync_end(1), OV_GPON_RET_OK);
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(1), 1);
    });
}

TEST(RestoreSyncEnd, Slot18IsNeverMarked) {
    run_restore_chassis([](RestoreChassis&) {
        // No chassis has line cards so far up: a single board that says it is one.
        for (const int slot : {17, 18}) {
            set_products_facts({{"PDT_INFO_SHELF_TYPE", "52"},
                                {"PDT_INFO_PDT_TYPE", "2"},
                                {"PDT_INFO_CARD_SLOTID", std::to_string(slot)}});
            ov_app_gpon_sync_end(slot);
            EXPECT_EQ(ov_startup_gpon_config_sync_end_check(slot), slot == 17 ? 1 : 0);
        }
    });
}

TEST(RestoreTrapSync, EveryCardIsAskedWhateverTheSlot) {
    run_restore_chassis([](RestoreChassis& chassis) {
        const auto seen =
            chassis.messages_of([] { EXPECT_EQ(ov_app_gpon_trap_status_sync_callback(12), 0); });
        ASSERT_THAT(outline(seen), ElementsAre("949 set"));
        EXPECT_FALSE(seen[0].wants_reply);
        ASSERT_GE(seen[0].bytes.size(), 4u);
        EXPECT_EQ(wire::get32(seen[0].bytes, 0), 0u);
        EXPECT_THAT(chassis.card.hal.log.lines(), Contains("set trap sync success"));
    });
}

TEST(RestoreTrapSync, WithoutAChannelTheErrorIsLoggedAndAnswered) {
    LogCapture log;
    EXPECT_NE(ov_app_gpon_trap_status_sync_callback(3), OV_GPON_RET_OK);
    EXPECT_EQ(log.lines().back(), "config restore error");
}

} // namespace
