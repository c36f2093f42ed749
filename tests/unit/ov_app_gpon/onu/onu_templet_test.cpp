// Template ONUs: what their service profile's rows take from their port, and what happens when a step fails.
#include "../support/check_callbacks.h"
#include "../support/onu_chassis.h"

#include "uclient.h"

using namespace onu_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

constexpr int SLOT31 = GPON_TEMPLATE_SLOT;
constexpr int PORT15 = GPON_TEMPLATE_PORT;
constexpr const char* SN = "ABCD00000001";
constexpr const char* NO_PROFILE_ID = " slot 3 port 4 onu 1 config mode 1 ,profile id";

int bind_count() {
    ov_sOnuSrvProfileTable_attr_t key = {};
    key.onuSrvProfileId = PROFILE;
    const auto* row = find_row(key);
    return row ? row->sOnuSrvProfileBindCount : -1;
}

void put_tcont(const AppChassis& chassis, const char* bandwidth, int id, int profile = PROFILE) {
    chassis.put_row<ov_sTcontTable_attr_t>(
        [&](auto& row) { set_text(row.sTcontTableBwProfileName, bandwidth); }, GPON_SHELF, SLOT31, PORT15,
        profile, id);
}
void put_gem(const AppChassis& chassis, int id, int profile = PROFILE) {
    chassis.put_row<ov_sGemTable_attr_t>([](auto& row) { row.sGemTablePmEnable = 1; }, GPON_SHELF, SLOT31,
                                         PORT15, profile, id);
}
void put_service_port(const AppChassis& chassis, int id, int profile = PROFILE) {
    chassis.put_row<ov_servicePortTable_attr_t>([](auto&) {}, GPON_SHELF, SLOT31, PORT15, profile, id);
}

// A service profile of two T-CONTs (together 300 fixed, 700 with the assured), three GEM ports and four
// service ports; rows of another profile and of an ordinary ONU stand beside them.
void put_profile(const AppChassis& chassis) {
    put_type(chassis);
    put_bandwidth(chassis, "small", 1, 100, 150);
    put_bandwidth(chassis, "large", 2, 200, 250);
    chassis.put_row<ov_sOnuSrvProfileTable_attr_t>(
        [](auto& row) { set_text(row.sOnuTypeProfileName, "HG-1"); }, PROFILE);
    put_tcont(chassis, "small", 1);
    put_tcont(chassis, "large", 2);
    put_tcont(chassis, "large", 1, PROFILE + 1);
    for (int id = 1; id <= 3; ++id)
        put_gem(chassis, id);
    put_gem(chassis, 1, PROFILE + 1);
    for (int id = 1; id <= 4; ++id)
        put_service_port(chassis, id);
    chassis.put_row<ov_servicePortTable_attr_t>([](auto&) {}, GPON_SHELF, AppChassis::SLOT, PORT, PROFILE, 1);
}

// What the port holds, in the order of the steps.
struct Held {
    int tconts, with_assured, fixed, gems, service_ports;
    bool operator==(const Held&) const = default;
};
void PrintTo(const Held& held, std::ostream* out) {
    *out << held.tconts << ' ' << held.with_assured << ' ' << held.fixed << ' ' << held.gems << ' '
         << held.service_ports;
}
Held held() {
    const auto& card = counters();
    return {card.tcontCnt[PORT - 1], card.usedMaxBandwidth[PORT - 1], card.usedFixBandwidth[PORT - 1],
            card.gemCnt[PORT - 1], card.srvPortCnt};
}
constexpr Held NOTHING = {0, 0, 0, 0, 0};
constexpr Held PROFILES_OWN = {2, 700, 300, 3, 4};

Request templet_onu(int id, const char* sn = SN) {
    return Request(id).mode(OV_GPON_ONU_AUTH_MODE_SN).sn(sn).templet(PROFILE);
}

TEST(TempletOnu, CountsTheProfilesRowsAgainstItsPort) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_OK);
        EXPECT_EQ(held(), PROFILES_OWN);
        EXPECT_EQ(bind_count(), 1);
        EXPECT_STREQ(stored_onu(1)->sOnuTableOnuTypeProfileName, "HG-1"); // as the profile dictates
        EXPECT_EQ(stored_onu(1)->sOnuTableOnuTypeProfileId, unsigned{TYPE_ID});
        const auto record = chassis.messages_of(ONU_MESSAGE).at(0).record<ov_gpon_onu_attr_t>();
        EXPECT_EQ(record.cfgMode, 1);
        EXPECT_EQ(record.srvProfileId, unsigned{PROFILE});
        EXPECT_EQ(templet_onu(2, "").add(), OV_GPON_RET_OK);
        EXPECT_EQ(held(), (Held{4, 1400, 600, 6, 8}));

        Onu onu = onu_at(1);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_OK);
        EXPECT_EQ(held(), PROFILES_OWN);
        EXPECT_EQ(bind_count(), 1);
    });
}

TEST(TempletOnu, OrdinaryOnuCountsNothing) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_OK);
        EXPECT_EQ(held(), NOTHING);
        EXPECT_EQ(bind_count(), 0);
    });
}

TEST(TempletOnu, ProfileWithoutRowsPasses) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        chassis.put_row<ov_sOnuSrvProfileTable_attr_t>(
            [](auto& row) { set_text(row.sOnuTypeProfileName, "HG-1"); }, PROFILE);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_OK);
        EXPECT_EQ(held(), NOTHING);
    });
}

TEST(TempletOnu, NeedsAProfile) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("the onu srv profile did not exist"));
    });
}

TEST(TempletOnu, ProfileIdZeroFailsEachStep) {
    app_chassis::run([](AppChassis& chassis) {
        Onu onu = onu_at(1);
        onu.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
        for (const auto step : {ov_app_gpon_onu_templet_tcont_check, ov_app_gpon_onu_templet_gemport_check,
                                ov_app_gpon_onu_templet_service_port_check}) {
            LogCapture::clear();
            EXPECT_EQ(step(&onu, OV_HAL_GPON_MSG_ACTION_CREATE), 0);
            EXPECT_THAT(chassis.hal.log.lines(), ElementsAre(NO_PROFILE_ID));
        }
        for (const auto step :
             {ov_app_gpon_onu_templet_tcont_release_reserve, ov_app_gpon_onu_templet_gemport_release_reserve,
              ov_app_gpon_onu_templet_service_port_release_reserve})
            step(&onu, OV_HAL_GPON_MSG_ACTION_DELETE);
        EXPECT_EQ(held(), NOTHING);
    });
}

TEST(TempletOnu, MissingBandwidthProfileRefusesTheOnu) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        put_tcont(chassis, "nobody", 3);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("ov_app_gpon_onu_templet_tcont_check errror"));
        EXPECT_EQ(held(), NOTHING);
    });
}

// ---- a step that fails ---------------------------------------------------------------------------------

struct Shortage {
    ov_gpon_attr_index_t selector;
    int (*left)(); // of it, so that the profile doesn't fit
    const char* counter_text;
    const char* step_text;
};
const std::vector<Shortage> SHORTAGES = {
    {TCONT_LIMIT_INDEX, [] { return g_gponConstVal.tcontMaxCnt - 1; },
     "reserve tcont info error slot 3 port 4,count_tcont 2", "ov_app_gpon_onu_templet_tcont_check errror"},
    {USMAXBW_LIMIT_INDEX, [] { return g_gponConstVal.usMaxBw - 699; },
     "reserve bw info error slot 3 port 4 sum_assFixSumBw 700", "ov_app_gpon_onu_templet_tcont_check errror"},
    {BW_LIMIT_INDEX, [] { return g_gponConstVal.usMaxFixBw - 299; },
     "reserve bw info error slot 3 port 4 sum_fixedBw 300", "ov_app_gpon_onu_templet_tcont_check errror"},
    {GEM_LIMIT_INDEX, [] { return g_gponConstVal.gemMaxCnt - 2; },
     "reserve gem info error slot 3 port 4 count_gem 3 ", "ov_app_gpon_onu_templet_gemport_check errror"},
    {SRVPORT_LIMIT_INDEX, [] { return g_gponConstVal.srvPortMaxCnt - 3; },
     "reserve service port info error slot 3 port 4 count_srvport 4",
     "ov_app_gpon_onu_templet_service_port_check errror"},
};

TEST(TempletOnu, FailedStepGivesBackWhatTheOthersReserved) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        for (const Shortage& shortage : SHORTAGES) {
            SCOPED_TRACE(shortage.counter_text);
            ASSERT_EQ(ov_gpon_resource_reserve(shortage.selector, AppChassis::SLOT, PORT, shortage.left()),
                      KAVO_OK);
            const Held before = held();
            LogCapture::clear();
            EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_BAD_PARAM);
            EXPECT_THAT(chassis.hal.log.lines(), Contains(shortage.counter_text));
            EXPECT_THAT(chassis.hal.log.lines(), Contains(shortage.step_text));
            EXPECT_EQ(held(), before);
            EXPECT_EQ(stored_onu(1), nullptr);
            ov_gpon_resource_release(shortage.selector, AppChassis::SLOT, PORT, shortage.left());
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(bind_count(), 0);
    });
}

// Sums beyond 32 bits are beyond every limit.
TEST(TempletOnu, HugeBandwidthsAreTooMuch) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        put_bandwidth(chassis, "huge", 3, 1, 2000000000);
        for (int id = 11; id <= 13; ++id)
            put_tcont(chassis, "huge", id);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains("reserve bw info error slot 3 port 4 sum_assFixSumBw 2147483647"));
        EXPECT_EQ(held(), NOTHING);
    });
}

struct Loss {
    ov_gpon_attr_index_t selector;
    int amount; // taken away behind the ONU's back
    const char* counter_text;
    Held after; // a failed release undoes nothing of its own step; steps before it are reserved again
};
const std::vector<Loss> LOSSES = {
    {TCONT_LIMIT_INDEX, 1, "release tcont info error slot 3 port 4 count_tcont 2 ", {1, 700, 300, 3, 4}},
    {USMAXBW_LIMIT_INDEX, 1, "release bw info error slot 3 port 4 sum_assFixSumBw 700", {0, 699, 300, 3, 4}},
    {BW_LIMIT_INDEX, 1, "release bw info error slot 3 port 4 sum_fixedBw 300", {0, 0, 299, 3, 4}},
    {GEM_LIMIT_INDEX, 1, "release gem info error slot 3 port 4 count_gem 3 ", {2, 700, 300, 2, 4}},
    {SRVPORT_LIMIT_INDEX,
     1,
     "release service port info error slot 3 port 4 count_srvport 4",
     {2, 700, 300, 3, 3}},
};

TEST(TempletOnu, FailedReleaseRefusesTheDelete) {
    for (const Loss& loss : LOSSES)
        app_chassis::run([&](AppChassis& chassis) {
            SCOPED_TRACE(loss.counter_text);
            put_profile(chassis);
            EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_OK);
            ov_gpon_resource_release(loss.selector, AppChassis::SLOT, PORT, loss.amount);
            chassis.forget_messages();
            LogCapture::clear();
            Onu onu = onu_at(1);
            EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_BAD_PARAM);
            EXPECT_THAT(chassis.hal.log.lines(), Contains(loss.counter_text));
            EXPECT_EQ(held(), loss.after);
            EXPECT_NE(stored_onu(1), nullptr);
            EXPECT_THAT(chassis.messages_of(ONU_MESSAGE), IsEmpty());
        });
}

// ---- the card's answer ---------------------------------------------------------------------------------

TEST(TempletOnu, RefusalOfTheCardTakesTheReservationBack) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(held(), NOTHING);
        EXPECT_EQ(bind_count(), 0);

        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_OK);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_OK);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_DRV_ERR);
        Onu onu = onu_at(1);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(held(), PROFILES_OWN);
        EXPECT_EQ(bind_count(), 1);
        LogCapture::clear();
        Request change(1);
        EXPECT_EQ(change.with(onu_column::sOnuTableUpFec).edit(), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(held(), PROFILES_OWN);
    });
}

TEST(TempletOnu, SilenceOfTheCardTakesTheReservationBack) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_OK);
        chassis.card_falls_silent();
        EXPECT_EQ(templet_onu(2).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(stored_onu(2), nullptr);
        EXPECT_EQ(held(), PROFILES_OWN); // of the first
        Onu onu = onu_at(1);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_BAD_PARAM);
        EXPECT_NE(stored_onu(1), nullptr);
        EXPECT_EQ(held(), PROFILES_OWN);
        EXPECT_EQ(bind_count(), 1);
    });
}

// It is a change of the tables alone, which the card hears of with its next start.
TEST(TempletOnu, CardThatLeavesBetweenCheckAndSendIsNoRefusal) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        app_chassis::take_card_out_at_writes_of(SONU);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_OK);
        EXPECT_NE(stored_onu(1), nullptr);
        EXPECT_EQ(held(), PROFILES_OWN);
        HalChassis::activate(AppChassis::SLOT);
        Onu onu = onu_at(1);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_OK);
        EXPECT_EQ(stored_onu(1), nullptr);
        EXPECT_EQ(held(), NOTHING);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// The lines of a take-back that finds nothing tell its order: the fixed bandwidth before the sum.
TEST(TempletOnu, BandwidthIsTakenBackInTheReverseOrder) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        Onu onu = onu_at(1);
        onu.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
        onu.sOnuTableSrvProfileId = PROFILE;
        ov_app_gpon_onu_templet_tcont_release_reserve(&onu, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_THAT(chassis.hal.log.lines(), IsEmpty());
        ov_app_gpon_onu_templet_tcont_release_reserve(&onu, OV_HAL_GPON_MSG_ACTION_CREATE);
        const auto lines = chassis.hal.log.lines();
        const auto place = [&](const char* line) { return std::find(lines.begin(), lines.end(), line); };
        const auto fixed = place("bandwidth 300 over g_gponCntLimit[2].usedFixBanwidth[3] 0");
        const auto sum = place("bandwidth 700 over g_gponCntLimit[2].usedMaxBandwidth[3] 0");
        ASSERT_NE(sum, lines.end());
        EXPECT_LT(fixed, sum);
        EXPECT_EQ(held(), NOTHING);
    });
}

TEST(TempletOnu, UnsupportedCreateKeepsTheReservation) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_OK);
        ASSERT_NE(stored_onu(1), nullptr);
        EXPECT_EQ(held(), PROFILES_OWN);
        EXPECT_EQ(bind_count(), 0);
        EXPECT_EQ(uif_lookup_by_index(stored_onu(1)->sOnuTableIfIndex), nullptr);
    });
}

TEST(TempletOnu, GemRecordsAreAskedForThroughItsInterfaceIndex) {
    app_chassis::run([](AppChassis& chassis) {
        put_profile(chassis);
        EXPECT_EQ(templet_onu(1).add(), OV_GPON_RET_OK);
        Onu onu = *stored_onu(1);
        EXPECT_EQ(ov_app_gpon_onu_gem_pm_is_enable(&onu, 1), OV_GPON_RET_OK);
        EXPECT_EQ(ov_app_gpon_onu_gem_pm_is_enable(&onu, 0), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Not(Contains("set gemport pm failed")));
    });
}

} // namespace
