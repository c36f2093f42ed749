// States of ONUs as the cards report them: the row, its history, and what the controller hears.
#include "../support/check_callbacks.h"
#include "../support/onu_chassis.h"

#include <ctime>

#include "../../support/frames.h"
#include "ov_app_gpon_onu_history.h"
#include "ov_app_gpon_trap.h"
#include "sOnuHistoryTable.h"
#include "uclient.h"

using namespace onu_test;
using testing::ElementsAre;
using testing::IsEmpty;
using History = ov_sOnuHistoryTable_attr_t;

namespace {

ov_gpon_trap_onu_state_attr_t report_of(int id, int state) {
    ov_gpon_trap_onu_state_attr_t report = {};
    report.onuIfindex = onu_ifindex_of(onu_at(id));
    report.states = static_cast<uint8_t>(state);
    std::memcpy(report.onuVersion, "V1.2.3.4.5.6.78", sizeof report.onuVersion); // without a terminator
    std::memcpy(report.sn, "ABCD\x00\x12\xff\x78\x00", sizeof report.sn);
    std::memcpy(report.pw, "password-11", sizeof report.pw);
    return report;
}

// As it comes from the card.
void receive(ov_gpon_trap_onu_state_attr_t report) {
    std::array<unsigned char, 8 + sizeof report> body = {0, 0, 0, OV_HAL_GPON_MSG_ACTION_SET};
    std::memcpy(body.data() + 8, &report, sizeof report);
    ov_hal_gpon_msg_recv(OV_HAL_MSG_GPON_ONUSTATES_TRAP, body.data(), 16 + body.size());
}

void put_authenticated_by(const AppChassis& chassis, int mode, int state = SONUTABLEONUSTATE_ADDED) {
    put_onu(
        chassis,
        [=](Onu& onu) {
            onu.sOnuTableAuthMode = mode;
            onu.sOnuTableOnuState = state;
            set_text(onu.sOnuTableSn, "EFGH00000009");
            set_text(onu.sOnuTablePw, "given");
            set_text(onu.sOnuTableOnuActVersion, "old");
        },
        mode);
}

struct Learnt {
    int mode;
    int state;
    const char* sn;
    const char* pw;
    const char* version;
};

TEST(OnuState, ReportFillsTheRowByStateAndMode) {
    app_chassis::run([](AppChassis& chassis) {
        for (const Learnt& expected : {
                 Learnt{1, 2, "EFGH00000009", "password-11", ""},
                 Learnt{1, 3, "EFGH00000009", "given", "V1.2.3.4.5.6.78"},
                 Learnt{1, 1, "EFGH00000009", "", ""},
                 Learnt{1, 0, "EFGH00000009", "", ""},
                 Learnt{2, 2, "ABCD0012ff78", "given", ""},
                 Learnt{2, 3, "EFGH00000009", "given", "V1.2.3.4.5.6.78"},
                 Learnt{2, 1, "", "given", ""},
                 Learnt{2, 0, "", "given", ""},
                 Learnt{2, 200, "", "given", ""}, // the card decides; any value is taken
                 Learnt{3, 2, "EFGH00000009", "given", ""},
                 Learnt{4, 1, "EFGH00000009", "given", ""},
                 Learnt{5, 3, "EFGH00000009", "given", "V1.2.3.4.5.6.78"},
             }) {
            SCOPED_TRACE(expected.mode * 10 + expected.state);
            put_authenticated_by(chassis, expected.mode);
            receive(report_of(expected.mode, expected.state));
            const Onu* row = stored_onu(expected.mode);
            EXPECT_EQ(row->sOnuTableOnuState, expected.state);
            EXPECT_STREQ(row->sOnuTableSn, expected.sn);
            EXPECT_STREQ(row->sOnuTablePw, expected.pw);
            EXPECT_STREQ(row->sOnuTableOnuActVersion, expected.version);
            EXPECT_EQ(row->sOnuTableRowStatus, OVRA_ACTIVE);
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuState, ReportOfADeletedOnuIsPassedOver) {
    app_chassis::run([](AppChassis& chassis) {
        for (int state = 0; state <= 3; ++state) {
            auto report = report_of(9, state);
            ov_app_gpon_onu_state_update(&report);
            ov_app_gpon_onu_state_historytable_update(&report);
        }
        EXPECT_EQ(stored_onu(9), nullptr);
        EXPECT_THAT(chassis.hal.log.lines(), IsEmpty());
    });
}

TEST(OnuState, ReportsOfImpossiblePlacesChangeNothing) {
    app_chassis::run([](AppChassis& chassis) {
        put_authenticated_by(chassis, 1);
        const ov_ifindex_t port =
            ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, GPON_SHELF, AppChassis::SLOT, 0, PORT, 0);
        for (const uint32_t place : {0u, 0xffffffffu, 0x0a010000u, 77u, static_cast<uint32_t>(port)})
            for (int state = 0; state <= 4; ++state) {
                auto report = report_of(1, state);
                report.onuIfindex = place;
                receive(report);
            }
        int onus = 0;
        for (const Onu& onu : all_rows<Onu>()) {
            ++onus;
            EXPECT_EQ(onu.sOnuTableOnuState, SONUTABLEONUSTATE_ADDED);
            EXPECT_STREQ(onu.sOnuTableOnuActVersion, "old");
        }
        EXPECT_EQ(onus, 1);
        for (const History& history : all_rows<History>())
            ADD_FAILURE() << "a history of " << history.onuId;
    });
}

// The controller's end of the connection, which the report is to reach or not.
struct Listener {
    Listener() {
        client.fd_sync = pair.fd[0];
        uclient = &client;
    }
    ~Listener() { uclient = nullptr; }
    SocketPair pair;
    uclient_s client = {};
};

TEST(OnuState, OnlineOnuThatWentOffIsReportedToTheController) {
    app_chassis::run([](AppChassis& chassis) {
        put_authenticated_by(chassis, 1, SONUTABLEONUSTATE_OPERATIONAL);
        Listener listener;
        Received got;
        Controller controller([&] {
            got = read_frame(listener.pair.fd[1]);
            write_all(listener.pair.fd[1], frame(UMSG_REPLY, got.seq, reply_body(0, 0, "")));
        });
        receive(report_of(1, SONUTABLEONUSTATE_ADDED));
        controller.join();
        EXPECT_EQ(got.type, UMSG_ONU_STATUS_NOTIFY);
        const auto body = got.as<umsg_onu_op_t>();
        EXPECT_EQ(body.ifindex, onu_ifindex_of(onu_at(1)));
        EXPECT_EQ(body.status, 1);
        EXPECT_THAT(body.onu_sn, ElementsAre('A', 'B', 'C', 'D', 0x00, 0x12, 0xFF, 0x78, 0));
    });
}

TEST(OnuState, NoOtherChangeIsReportedToTheController) {
    app_chassis::run([](AppChassis& chassis) {
        Listener listener;
        for (int from = 0; from <= 3; ++from)
            for (int to = 0; to <= 3; ++to) {
                if (from == 3 && to == 1)
                    continue;
                put_authenticated_by(chassis, 1, from);
                receive(report_of(1, to));
                EXPECT_FALSE(has_input(listener.pair.fd[1])) << from << " to " << to;
            }
    });
}

// ---- history -------------------------------------------------------------------------------------------

const History* history_of(int id) {
    return find_row(onu_key<History>(onu_at(id)));
}
std::vector<uint32_t> times_of(int id) {
    const History& h = *history_of(id);
    return {h.sOnuHistoryAuthTime1, h.sOnuHistoryOffTime1, h.sOnuHistoryAuthTime2, h.sOnuHistoryOffTime2,
            h.sOnuHistoryAuthTime3, h.sOnuHistoryOffTime3, h.sOnuHistoryAuthTime4, h.sOnuHistoryOffTime4,
            h.sOnuHistoryAuthTime5, h.sOnuHistoryOffTime5};
}
void put_history(const AppChassis& chassis, const std::vector<uint32_t>& times) {
    chassis.put_row<History>(
        [&](History& h) {
            uint32_t* columns[] = {&h.sOnuHistoryAuthTime1, &h.sOnuHistoryOffTime1,  &h.sOnuHistoryAuthTime2,
                                   &h.sOnuHistoryOffTime2,  &h.sOnuHistoryAuthTime3, &h.sOnuHistoryOffTime3,
                                   &h.sOnuHistoryAuthTime4, &h.sOnuHistoryOffTime4,  &h.sOnuHistoryAuthTime5,
                                   &h.sOnuHistoryOffTime5};
            for (size_t n = 0; n < times.size(); ++n)
                *columns[n] = times[n];
        },
        GPON_SHELF, AppChassis::SLOT, PORT, 1);
}
MATCHER(IsNow, "") {
    const auto now = static_cast<uint32_t>(time(nullptr));
    return arg <= now && arg + 60 >= now;
}

TEST(OnuHistory, OnlineOpensAPeriodAndOfflineClosesIt) {
    app_chassis::run([](AppChassis& chassis) {
        put_history(chassis, {});
        put_authenticated_by(chassis, 1);
        receive(report_of(1, 3));
        EXPECT_THAT(times_of(1), ElementsAre(IsNow(), 0, 0, 0, 0, 0, 0, 0, 0, 0));
        receive(report_of(1, 1));
        EXPECT_THAT(times_of(1), ElementsAre(IsNow(), IsNow(), 0, 0, 0, 0, 0, 0, 0, 0));
        EXPECT_EQ(history_of(1)->sOnuHistoryRowStatus, OVRA_ACTIVE);
    });
}

TEST(OnuHistory, NextPeriodShiftsTheFiveAndDropsTheOldest) {
    app_chassis::run([](AppChassis& chassis) {
        put_history(chassis, {11, 12, 21, 22, 31, 32, 41, 42, 51, 52});
        auto report = report_of(1, 3);
        ov_app_gpon_onu_state_historytable_update(&report);
        EXPECT_THAT(times_of(1), ElementsAre(IsNow(), 0, 11, 12, 21, 22, 31, 32, 41, 42));
    });
}

TEST(OnuHistory, SecondOnlineReportKeepsTheOlderPeriods) {
    app_chassis::run([](AppChassis& chassis) {
        put_history(chassis, {11, 0, 21, 22});
        auto report = report_of(1, 3);
        ov_app_gpon_onu_state_historytable_update(&report);
        EXPECT_THAT(times_of(1), ElementsAre(IsNow(), 0, 21, 22, 0, 0, 0, 0, 0, 0));
    });
}

TEST(OnuHistory, OfflineWithoutAPeriodAndOtherStatesChangeNothing) {
    app_chassis::run([](AppChassis& chassis) {
        put_history(chassis, {0, 0, 21, 22});
        for (const int state : {1, 0, 2, 4}) {
            auto report = report_of(1, state);
            ov_app_gpon_onu_state_historytable_update(&report);
            EXPECT_THAT(times_of(1), ElementsAre(0, 0, 21, 22, 0, 0, 0, 0, 0, 0)) << state;
        }
    });
}

TEST(OnuHistory, RefusedWriteIsLogged) {
    app_chassis::run([](AppChassis& chassis) {
        put_history(chassis, {});
        app_chassis::refuse_writes_of(SONUHISTORY);
        auto report = report_of(1, 3);
        ov_app_gpon_onu_state_historytable_update(&report);
        EXPECT_THAT(chassis.hal.log.lines().back(), "set onu history error");
    });
}

TEST(OnuHistory, FailureOfTheRowIsLoggedAndRefusesTheOnu) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        app_chassis::refuse_writes_of(SONUHISTORY);
        EXPECT_EQ(new_onu(1, "").add(), OV_GPON_RET_BAD_PARAM);
        // The card had it before the row was tried, and nobody takes it back.
        EXPECT_EQ(stored_onu(1), nullptr);
        ASSERT_EQ(chassis.messages_of(ONU_MESSAGE).size(), 1u);
        EXPECT_EQ(chassis.messages_of(ONU_MESSAGE)[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_NE(uif_lookup_by_index(onu_ifindex_of(onu_at(1))), nullptr);
        EXPECT_THAT(chassis.hal.log.lines(),
                    testing::IsSupersetOf({"add onuhistory table error", "add onuhistiry table fail"}));
        put_history(chassis, {});
        put_onu(
            chassis, [](Onu&) {}, 1);
        Onu onu = onu_at(1);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(),
                    testing::IsSupersetOf({"del onuhistory table error", "delete onuhistiry table fail"}));
    });
}

} // namespace
