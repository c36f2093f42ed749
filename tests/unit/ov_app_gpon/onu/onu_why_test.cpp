// Why an ONU isn't up: its state in words and what took it down last.
#include "../support/onu_chassis.h"

#include <functional>

#include "ov_app_gpon_config_restore.h"
#include "ov_app_gpon_onu_history.h"
#include "ov_app_gpon_onu_why.h"
#include "ov_app_gpon_onuinit.h"
#include "ov_app_gpon_trap.h"
#include "ov_app_gpon_wn_trap.h"
#include "ov_local_time.h"
#include "ov_slot.h"
#include "sActiveAlarmTable.h"
#include "sOnuHistoryTable.h"
#include "sOnuInitTable.h"

using namespace onu_test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using History = ov_sOnuHistoryTable_attr_t;
constexpr int SLOT = AppChassis::SLOT;
constexpr int RAISED = SACTIVEALARMTABLEALARMSTATE_SET;
constexpr int CLEARED = SACTIVEALARMTABLEALARMSTATE_CLEAR;

// With the card in service.
void on_a_card(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&body](AppChassis& chassis) {
        ov_slot_create(SLOT, 27, 1);
        ov_slot_set_connected(SLOT, 1);
        body(chassis);
    });
}

// The history of an ONU that came up and went off.
void set_history(int id, unsigned auth, unsigned off) {
    auto* history = const_cast<History*>(find_row(onu_key<History>(onu_at(id))));
    ASSERT_NE(history, nullptr);
    history->sOnuHistoryAuthTime1 = auth;
    history->sOnuHistoryOffTime1 = off;
}

// A configured ONU, in service as far as it goes.
void put(const AppChassis& chassis, int id, int state = SONUTABLEONUSTATE_ADDED,
         const char* sn = "ABCD0000000a") {
    put_onu(
        chassis,
        [=](Onu& onu) {
            onu.sOnuTableAuthMode = OV_GPON_ONU_AUTH_MODE_SN;
            set_text(onu.sOnuTableSn, sn);
            onu.sOnuTableAdminState = SONUTABLEADMINSTATE_ENABLED;
            onu.sOnuTableActiviate = SONUTABLEACTIVIATE_ACTIVIATED;
            onu.sOnuTableOnuState = state;
        },
        id);
    chassis.put_row<History>([](auto&) {}, GPON_SHELF, SLOT, PORT, id);
}

gpon_onu_why_t why(int id) {
    return ov_app_gpon_onu_why(*find_stored_row(onu_at(id)));
}

void report(int id, int state) {
    ov_gpon_trap_onu_state_attr_t attr = {};
    attr.onuIfindex = onu_ifindex_of(onu_at(id));
    attr.states = static_cast<uint8_t>(state);
    ov_app_gpon_onu_state_update(&attr);
    ov_app_gpon_onu_state_historytable_update(&attr);
}

void alarm(int id, int code, int state) {
    ov_gpon_wanning_trap_t attr = {};
    attr.AlarmTableAlarmSource = onu_ifindex_of(onu_at(id));
    attr.AlarmTableAlarmCode = code;
    attr.AlarmTableAlarmState = state;
    ov_app_gpon_wn_trap_set_by_lowlayer(&attr);
}

void put_unconfigured(const AppChassis& chassis, int port, unsigned id, const char* sn, const char* pw = "",
                      const char* loid = "", const char* loid_pw = "") {
    chassis.put_row<ov_sOnuInitTable_attr_t>(
        [=](auto& row) {
            set_text(row.sOnuInitTableSn, sn);
            set_text(row.sOnuInitTablePw, pw);
            set_text(row.sOnuInitTableLoid, loid);
            set_text(row.sOnuInitTableLoidPw, loid_pw);
        },
        GPON_SHELF, SLOT, port, id);
}

void put_alarm(const AppChassis& chassis, ov_ifindex_t source, int code, unsigned since) {
    chassis.put_row<sActiveAlarmTable_entry>([=](auto& row) { row.sActiveAlarmTableAlarmDTS = since; },
                                             source, code);
}

ov_ifindex_t port_index(int port = PORT) {
    return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, GPON_SHELF, SLOT, 0, static_cast<uint16_t>(port), 0);
}

// ---- silent ONUs -----------------------------------------------------------------------------------------

TEST(OnuWhy, AnOnuThatNeverCameUpIsNeverSeen) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1);
        const auto answer = why(1);
        EXPECT_EQ(answer.now, OnuNow::NEVER_SEEN);
        EXPECT_EQ(answer.since, 0u);
        EXPECT_EQ(answer.last, OnuReason::NONE);
        EXPECT_EQ(answer.detail, "");
        put_unconfigured(chassis, PORT, 1, "EFGH00000001");
        EXPECT_EQ(why(1).detail, "on its port unconfigured: EFGH00000001");
        put_unconfigured(chassis, PORT, 2, "EFGH00000002");
        EXPECT_EQ(why(1).detail, "on its port unconfigured: EFGH00000001 and 1 more");
        put_alarm(chassis, port_index(), SACTIVEALARMTABLEALARMCODE_OLT_PON_LOS, 5);
        EXPECT_EQ(why(1).detail, "no light on gpon-olt3/4");
    });
}

TEST(OnuWhy, AnOnuThatIsUpTellsSinceWhenAndWhatTookItDownBefore) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1);
        const mib_ulong begin = get_local_time();
        report(1, SONUTABLEONUSTATE_AUTHPASS);
        EXPECT_EQ(why(1).now, OnuNow::COMING_UP);
        report(1, SONUTABLEONUSTATE_OPERATIONAL);
        EXPECT_EQ(why(1).now, OnuNow::OPERATIONAL);
        EXPECT_GE(why(1).since, begin);
        EXPECT_EQ(why(1).last, OnuReason::NONE);
        alarm(1, SACTIVEALARMTABLEALARMCODE_ONU_DYING_GASP, RAISED);
        report(1, SONUTABLEONUSTATE_ADDED);
        report(1, SONUTABLEONUSTATE_OPERATIONAL);
        EXPECT_EQ(why(1).now, OnuNow::OPERATIONAL);
        EXPECT_EQ(why(1).last, OnuReason::DYING_GASP);
        EXPECT_GE(why(1).last_at, begin);
    });
}

struct Outage {
    std::vector<int> alarms; // in front of the state's report, negative behind it
    OnuReason expected;
};

TEST(OnuWhy, TheReasonOfAnOutageIsTheOneThatTellsMost) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1);
        for (const Outage& outage : {
                 Outage{{}, OnuReason::LOSS_OF_SIGNAL}, Outage{{201}, OnuReason::LOSS_OF_SIGNAL},
                 Outage{{209}, OnuReason::DYING_GASP}, Outage{{209, 201}, OnuReason::DYING_GASP},
                 Outage{{201, 209}, OnuReason::DYING_GASP}, Outage{{-209}, OnuReason::DYING_GASP},
                 Outage{{-201}, OnuReason::LOSS_OF_SIGNAL}, Outage{{203}, OnuReason::POWER},
                 Outage{{205}, OnuReason::FAILURE}, Outage{{214}, OnuReason::SWITCHED_OFF},
                 Outage{{204, 210, 301}, OnuReason::LOSS_OF_SIGNAL}, // tell nothing of it
             }) {
            ov_app_gpon_onu_note_forget(onu_at(1));
            report(1, SONUTABLEONUSTATE_OPERATIONAL);
            for (const int code : outage.alarms)
                if (code > 0)
                    alarm(1, code, RAISED);
            report(1, SONUTABLEONUSTATE_ADDED);
            for (const int code : outage.alarms)
                if (code < 0)
                    alarm(1, -code, RAISED);
            EXPECT_EQ(why(1).now, OnuNow::OFF);
            EXPECT_EQ(why(1).last, outage.expected);
            EXPECT_EQ(why(1).since, why(1).last_at);
        }
    });
}

TEST(OnuWhy, AnAlarmThatIsOverIsNotTheReasonOfALaterOutage) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1, SONUTABLEONUSTATE_OPERATIONAL);
        alarm(1, SACTIVEALARMTABLEALARMCODE_ONU_DYING_GASP, RAISED);
        alarm(1, SACTIVEALARMTABLEALARMCODE_ONU_DYING_GASP, CLEARED);
        EXPECT_EQ(why(1).last, OnuReason::DYING_GASP);
        report(1, SONUTABLEONUSTATE_ADDED);
        EXPECT_EQ(why(1).last, OnuReason::LOSS_OF_SIGNAL);
    });
}

TEST(OnuWhy, AfterARestartAlarmsAndHistoryTellWhatIsLeft) {
    on_a_card([](AppChassis& chassis) {
        for (int id = 1; id <= 3; id++)
            put(chassis, id);
        for (const int id : {2, 3})
            set_history(id, 1000, 2000);
        put_alarm(chassis, onu_ifindex_of(onu_at(3)), SACTIVEALARMTABLEALARMCODE_ONU_OFF, 2001);
        EXPECT_EQ(why(1).now, OnuNow::NEVER_SEEN);
        EXPECT_EQ(why(2).now, OnuNow::OFF);
        EXPECT_EQ(why(2).last, OnuReason::WENT_OFF);
        EXPECT_EQ(why(2).since, 2000u);
        EXPECT_EQ(why(3).last, OnuReason::LOSS_OF_SIGNAL);
        EXPECT_EQ(why(3).last_at, 2001u);
    });
}

TEST(OnuWhy, AnAlarmOfNoOnuIsPassedOver) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1);
        alarm(2, SACTIVEALARMTABLEALARMCODE_ONU_OFF, RAISED);
        EXPECT_EQ(ov_app_gpon_onu_note(onu_at(2)).reason, OnuReason::NONE);
        put(chassis, 2);
        EXPECT_EQ(why(2).now, OnuNow::NEVER_SEEN);
    });
}

// ---- held back -------------------------------------------------------------------------------------------

TEST(OnuWhy, WhatIsSwitchedOffIsNotAskedForLight) {
    on_a_card([](AppChassis& chassis) {
        put_type(chassis);
        put(chassis, 1, SONUTABLEONUSTATE_OPERATIONAL);
        Request off(1);
        off.row.sOnuTableActiviate = SONUTABLEACTIVIATE_DEACTIVIATED;
        off.with(onu_column::sOnuTableActiviate);
        EXPECT_EQ(off.edit(), 0);
        EXPECT_EQ(stored_onu(1)->sOnuTableOnuState, SONUTABLEONUSTATE_OPERATIONAL)
            << "the card hasn't said so yet";
        EXPECT_EQ(why(1).now, OnuNow::DEACTIVATED);
        EXPECT_EQ(why(1).last, OnuReason::DEACTIVATED);
        EXPECT_NE(why(1).since, 0u);
        alarm(1, SACTIVEALARMTABLEALARMCODE_ONU_OFF, RAISED);
        report(1, SONUTABLEONUSTATE_ADDED);
        EXPECT_EQ(why(1).last, OnuReason::DEACTIVATED);
        Request on(1);
        on.row.sOnuTableActiviate = SONUTABLEACTIVIATE_ACTIVIATED;
        on.with(onu_column::sOnuTableActiviate);
        EXPECT_EQ(on.edit(), 0);
        EXPECT_EQ(why(1).now, OnuNow::OFF);
        EXPECT_EQ(why(1).last, OnuReason::DEACTIVATED);
        Request disabled(1);
        disabled.row.sOnuTableAdminState = SONUTABLEADMINSTATE_DISABLED;
        disabled.with(onu_column::sOnuTableAdminState);
        EXPECT_EQ(disabled.edit(), 0);
        EXPECT_EQ(why(1).now, OnuNow::DISABLED);
    });
}

TEST(OnuWhy, ACardThatIsAwayOrBeingSetUp) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1, SONUTABLEONUSTATE_OPERATIONAL);
        put(chassis, 2);
        put(chassis, 3);
        set_history(3, 77, 77);
        ov_slot_set_connected(SLOT, 0);
        umsg_card_t card = {.slot_id = SLOT, .card_type = 27};
        ov_app_gpon_slot_deactive_callback(&card);
        for (const int id : {1, 2, 3}) {
            EXPECT_EQ(why(id).now, OnuNow::CARD_AWAY);
            EXPECT_NE(why(id).since, 0u);
        }
        ov_slot_set_connected(SLOT, 1);
        ov_slot_set_synching(SLOT, 1);
        EXPECT_EQ(why(1).now, OnuNow::CARD_SETUP);
        ov_startup_gpon_config_sync_end_set(SLOT, 1); // which leaves the mark of the replay as it is
        EXPECT_EQ(why(1).now, OnuNow::OFF);
        EXPECT_EQ(why(1).last, OnuReason::CARD_AWAY);
        EXPECT_EQ(why(2).now, OnuNow::NEVER_SEEN);
        EXPECT_EQ(why(3).now, OnuNow::OFF) << "its history is cleared, not forgotten";
        EXPECT_EQ(why(3).last_at, 77u);
        report(1, SONUTABLEONUSTATE_OPERATIONAL);
        EXPECT_EQ(why(1).now, OnuNow::OPERATIONAL);
    });
}

TEST(OnuWhy, APortThatIsDown) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1, SONUTABLEONUSTATE_OPERATIONAL);
        uif_t* port = uif_create_by_ifindex(port_index());
        ov_app_gpon_pon_shutdown_deactive_onu(port_index());
        EXPECT_EQ(why(1).now, OnuNow::PORT_DOWN);
        EXPECT_EQ(why(1).last, OnuReason::PORT_DOWN);
        port->flags |= UIF_FLAG_UP;
        EXPECT_EQ(why(1).now, OnuNow::OFF);
    });
}

TEST(OnuWhy, ARowThatIsNotActive) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1);
        const_cast<Onu*>(stored_onu(1))->sOnuTableRowStatus = OVRA_NOTINSERVICE;
        EXPECT_EQ(why(1).now, OnuNow::ROW_WAITS);
    });
}

// ---- seen, but not as configured -------------------------------------------------------------------------

TEST(OnuWhy, ASerialNumberThatWaitsOnAnotherPort) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1, SONUTABLEONUSTATE_ADDED, "ABCD0000000A");
        put_unconfigured(chassis, OTHER_PORT, 9, "ABCD0000000a"); // the same eight bytes
        EXPECT_EQ(why(1).now, OnuNow::ELSEWHERE);
        EXPECT_EQ(why(1).detail, "waits unconfigured on gpon-olt3/5");
        put_unconfigured(chassis, PORT, 3, "ABCD0000000a");
        EXPECT_EQ(why(1).now, OnuNow::NOT_ADMITTED) << "its own port comes first";
        ov_onu_uncfg_table_iterate_del(SLOT);
        EXPECT_EQ(why(1).now, OnuNow::NEVER_SEEN);
    });
}

TEST(OnuWhy, APasswordThatIsNotTheConfiguredOne) {
    on_a_card([](AppChassis& chassis) {
        const auto put_with = [&chassis](int id, int mode) {
            put_onu(
                chassis,
                [mode](Onu& onu) {
                    onu.sOnuTableAdminState = SONUTABLEADMINSTATE_ENABLED;
                    onu.sOnuTableAuthMode = mode;
                    set_text(onu.sOnuTableSn, "ABCD0000000a");
                    set_text(onu.sOnuTablePw, "right");
                    set_text(onu.sOnuTableLoid, "house");
                    set_text(onu.sOnuTableLoidPw, "right");
                },
                id);
        };
        put_with(1, OV_GPON_ONU_AUTH_MODE_SNPW);
        put_with(2, OV_GPON_ONU_AUTH_MODE_LOIDPW);
        put_with(3, OV_GPON_ONU_AUTH_MODE_PW);
        put_with(4, OV_GPON_ONU_AUTH_MODE_LOID);
        put_unconfigured(chassis, PORT, 1, "ABCD0000000a", "wrong", "house", "wrong");
        EXPECT_EQ(why(1).now, OnuNow::BAD_PASSWORD);
        EXPECT_EQ(why(2).now, OnuNow::BAD_PASSWORD);
        EXPECT_EQ(why(2).detail, "serial number ABCD0000000a waits unconfigured on its port");
        EXPECT_EQ(why(3).now, OnuNow::NEVER_SEEN);
        EXPECT_EQ(why(4).now, OnuNow::NOT_ADMITTED);
        ov_onu_uncfg_table_iterate_del(SLOT);
        put_unconfigured(chassis, PORT, 2, "ABCD0000000a", "right", "house", "right");
        EXPECT_EQ(why(1).now, OnuNow::NOT_ADMITTED);
        EXPECT_EQ(why(2).now, OnuNow::NOT_ADMITTED);
        EXPECT_EQ(why(3).now, OnuNow::NOT_ADMITTED);
    });
}

// ---- notes and the log -----------------------------------------------------------------------------------

TEST(OnuWhy, ADeletedOnuLeavesNothingToTheNextOne) {
    on_a_card([](AppChassis& chassis) {
        put_type(chassis);
        put(chassis, 1, SONUTABLEONUSTATE_OPERATIONAL);
        report(1, SONUTABLEONUSTATE_ADDED);
        EXPECT_EQ(ov_app_gpon_onu_note(onu_at(1)).reason, OnuReason::LOSS_OF_SIGNAL);
        Onu gone = onu_at(1);
        EXPECT_EQ(ov_app_gpon_onu_del(&gone), 0);
        EXPECT_EQ(ov_app_gpon_onu_note(onu_at(1)).reason, OnuReason::NONE);
    });
}

TEST(OnuWhy, EveryChangeOfStateIsOneLineWithTheOnusName) {
    on_a_card([](AppChassis& chassis) {
        put(chassis, 1);
        set_text(const_cast<Onu*>(stored_onu(1))->sOnuTableOnuName, "first-\x1bhome");
        put(chassis, 2, SONUTABLEONUSTATE_OPERATIONAL);
        set_text(const_cast<Onu*>(stored_onu(2))->sOnuTableOnuName, "gpon-onu3/4:2");
        LogCapture::clear();
        for (const int state : {1, 2, 2, 3, 3, 1, 1, 9})
            report(1, state);
        umsg_card_t card = {.slot_id = SLOT, .card_type = 27};
        ov_app_gpon_slot_deactive_callback(&card);
        std::vector<std::string> lines = chassis.hal.log.lines();
        std::erase_if(lines, [](const std::string& line) { return line.find(" goes from ") == line.npos; });
        EXPECT_THAT(lines,
                    ElementsAre("gpon-onu3/4:1 (first-?home) goes from added to authpass",
                                "gpon-onu3/4:1 (first-?home) goes from authpass to operational",
                                "gpon-onu3/4:1 (first-?home) goes from operational to added: loss of signal",
                                "gpon-onu3/4:1 (first-?home) goes from added to 9",
                                "gpon-onu3/4:1 (first-?home) goes from 9 to added",
                                "gpon-onu3/4:2 goes from operational to added: card away"));
        const std::string file = chassis.hal.log.file_text();
        EXPECT_THAT(file, testing::ContainsRegex("info/40 .*from added to authpass"));
        EXPECT_THAT(file, testing::ContainsRegex("notice/60 .*from authpass to operational"));
        EXPECT_THAT(file, testing::ContainsRegex("notice/60 .*from operational to added"));
    });
}

TEST(OnuWhy, EveryStateAndReasonHasItsWords) {
    for (int now = 0; now <= static_cast<int>(OnuNow::OFF); now++)
        EXPECT_STRNE(ov_app_gpon_onu_now_text(static_cast<OnuNow>(now)), "");
    for (int reason = 1; reason <= static_cast<int>(OnuReason::DEACTIVATED); reason++)
        EXPECT_STRNE(ov_app_gpon_onu_reason_text(static_cast<OnuReason>(reason)), "-");
    EXPECT_STREQ(ov_app_gpon_onu_now_text(OnuNow::OFF), "off");
    EXPECT_STREQ(ov_app_gpon_onu_now_text(OnuNow::NEVER_SEEN), "never seen");
    EXPECT_STREQ(ov_app_gpon_onu_now_text(OnuNow::ELSEWHERE), "on other port");
}

} // namespace
