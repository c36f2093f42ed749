// Threshold profiles, the settings file they begin with, and the alarms of counters that have crossed one.
#include "pm_chassis.h"

#include "ov_app_gpon_pm_ini.h"
#include "ov_app_gpon_pm_tca_alm.h"
#include "ov_app_gpon_pm_thr.h"

using namespace pm_test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using PonThr = ov_ponPmThrTable_attr_t;
using OnuThr = ov_onuPmThrTable_attr_t;
using GemThr = ov_gemPmThrTable_attr_t;
using Alarm = ov_tcaAlarmTable_attr_t;

// Starts the application with this settings file; none for null.
void run_with_ini(const char* text, const std::function<void(AppChassis&)>& body) {
    private_root::run([&] {
        if (unshare(CLONE_NEWNET) != 0)
            _exit(private_root::EXIT_NO_NAMESPACE);
        if (text != nullptr)
            private_root::write_file("/tmp/oltpm.ini", text);
        AppChassis chassis;
        body(chassis);
    });
}
template <typename Row>
std::vector<Row> all_of() {
    return rows_copied(Row{}, 0);
}
PonThr pon_default() {
    PonThr row = {};
    get_ponpm_thr_default(&row);
    return row;
}

constexpr char SETTINGS[] = "[threshold]\n"
                            "ppmThrFecCodeWords = 5\n"
                            "ppmThrTxDroppedVidMiss = -1\n"
                            "ppmThrBip8Bytes = 99999999999999999999\n"
                            "ppmThrBip8Errors = 0x10\n"
                            "ppmThrRxPloams = many\n"
                            "ppmThrNobodyKnows = 3\n"
                            "opmThrRdiErrors = 15\n"
                            "gpmThrTxBytes = 4\n"
                            "[tcaenable]\n"
                            "ppmThrFecCodeWords = 1\n"
                            "ppmThrTxDroppedVidMiss = 7\n"
                            "ppmThrBip8Errors = 0\n"
                            "opmThrRdiErrors = 1\n"
                            "gpmThrTxBytes = 1\n"
                            "[other]\n"
                            "ppmThrRxCpu = 9\n";

TEST(PmIni, TheFileMakesTheProfileOfANewSystem) {
    run_with_ini(SETTINGS, [](AppChassis&) {
        const auto pon = all_of<PonThr>();
        ASSERT_THAT(pon, SizeIs(1));
        EXPECT_EQ(pon[0].ppmThrId, 1);
        EXPECT_STREQ(pon[0].ppmThrName, "default");
        EXPECT_EQ(pon[0].ppmThrFecCodeWords, 5u);
        EXPECT_EQ(pon[0].ppmThrTxDroppedVidMiss, ~uint64_t{0}); // the sign goes up to 64 bits
        EXPECT_EQ(pon[0].ppmThrBip8Bytes, 2147483647u);
        EXPECT_EQ(pon[0].ppmThrBip8Errors, 16u);
        EXPECT_EQ(pon[0].ppmThrRxPloams, 0u);
        EXPECT_EQ(pon[0].ppmThrRxCpu, 0u);
        EXPECT_EQ(pon[0].ppmThrBitEnable, 1ull << 4 | 1ull << 33);
        EXPECT_EQ(pon[0].ppmThrRowStatus, OVRA_ACTIVE);
        const auto onu = all_of<OnuThr>();
        ASSERT_THAT(onu, SizeIs(1));
        EXPECT_EQ(onu[0].opmThrRdiErrors, 15u);
        EXPECT_EQ(onu[0].opmThrBitEnable, 1 << 18);
        const auto gem = all_of<GemThr>();
        ASSERT_THAT(gem, SizeIs(1));
        EXPECT_EQ(gem[0].gpmThrTxBytes, 4u);
        EXPECT_EQ(gem[0].gpmThrBitEnable, 1 << 7);
        EXPECT_EQ(pon_default().ppmThrRowStatus, 0);
    });
}

// Id 0, no name, nothing enabled; the row is there all the same.
void expect_empty_profiles() {
    const auto pon = all_of<PonThr>();
    ASSERT_THAT(pon, SizeIs(1));
    EXPECT_EQ(pon[0].ppmThrId, 0);
    EXPECT_STREQ(pon[0].ppmThrName, "");
    EXPECT_EQ(pon[0].ppmThrFecCodeWords, 0u);
    EXPECT_EQ(pon[0].ppmThrBitEnable, 0u);
    EXPECT_EQ(pon[0].ppmThrRowStatus, OVRA_ACTIVE);
    EXPECT_THAT(all_of<OnuThr>(), SizeIs(1));
    EXPECT_THAT(all_of<GemThr>(), SizeIs(1));
}

TEST(PmIni, WithoutAFileTheProfilesAreEmpty) {
    run_with_ini(nullptr, [](AppChassis&) { expect_empty_profiles(); });
}

TEST(PmIni, ABrokenFileIsNone) {
    run_with_ini("[threshold]\nppmThrFecCodeWords = 5\nthis is no setting\n",
                 [](AppChassis&) { expect_empty_profiles(); });
}

TEST(PmIni, AnEmptyFileMakesAProfileWithANameAndNothingElse) {
    run_with_ini("", [](AppChassis&) {
        const auto pon = all_of<PonThr>();
        ASSERT_THAT(pon, SizeIs(1));
        EXPECT_EQ(pon[0].ppmThrId, 1);
        EXPECT_STREQ(pon[0].ppmThrName, "default");
        EXPECT_EQ(pon[0].ppmThrFecCodeWords, 0u);
    });
}

TEST(PmIni, ProfilesThatAreStoredWinOverTheFile) {
    run_with_ini(SETTINGS, [](AppChassis&) {
        PonThr row = all_of<PonThr>()[0];
        row.ppmThrFecCodeWords = 88;
        MIB_Flags_t columns = columns_of(4u);
        ASSERT_EQ(ov_app_gpon_pm_pon_thr_edit(&row, &columns), 0);
        ov_app_gpon_pm_pon_thr_init(); // as another start with that file
        ASSERT_THAT(all_of<PonThr>(), SizeIs(1));
        EXPECT_EQ(all_of<PonThr>()[0].ppmThrFecCodeWords, 88u);
    });
}

// ---- profiles ---------------------------------------------------------------------------------------------

TEST(PmThr, ProfilesAreAddedChangedAndRemoved) {
    run([](AppChassis& chassis) {
        PonThr row = {};
        row.ppmThrId = 5;
        row.ppmThrFecCodeWords = 10;
        MIB_Flags_t columns = columns_of(4u);
        ASSERT_EQ(ov_app_gpon_pm_pon_thr_add(&row, &columns), 0);
        EXPECT_EQ(all_of<PonThr>().back().ppmThrFecCodeWords, 10u);
        PonThr again = {};
        again.ppmThrId = 5;
        EXPECT_EQ(ov_app_gpon_pm_pon_thr_add(&again, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "same Id exist"));
        again.ppmThrFecCodeWords = 11;
        MIB_Flags_t fec = columns_of(4u);
        EXPECT_EQ(ov_app_gpon_pm_pon_thr_edit(&again, &fec), 0);
        EXPECT_EQ(all_of<PonThr>().back().ppmThrFecCodeWords, 11u);
        EXPECT_EQ(ov_app_gpon_pm_pon_thr_del(&again), 0);
        EXPECT_THAT(all_of<PonThr>(), SizeIs(1));
        EXPECT_EQ(ov_app_gpon_pm_pon_thr_del(&again), OV_GPON_RET_BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "mib del error for pm_pon_threshold table"));
    });
}

TEST(PmThr, AProfileThatARowRefersToStays) {
    run([](AppChassis& chassis) {
        GemThr row = {};
        row.gpmThrId = 5;
        MIB_Flags_t columns = {};
        ASSERT_EQ(ov_app_gpon_pm_gem_thr_add(&row, &columns), 0);
        chassis.put_row<GemPm>([](GemPm& gem) { gem.gpmThrProfileId = 5; }, 1, SLOT, PORT, ONU, 3);
        EXPECT_EQ(ov_app_gpon_pm_gem_thr_del(&row), OV_GPON_RET_BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "this profile is being used, can't be deleted"));
        auto gem = onu_row<GemPm>();
        gem.gemID = 3;
        ASSERT_TRUE(mib_access(MIB_DEL, gem));
        EXPECT_EQ(ov_app_gpon_pm_gem_thr_del(&row), 0);
    });
}

TEST(PmThr, MissingArgumentsAreRefused) {
    run([](AppChassis& chassis) {
        OnuThr row = {};
        MIB_Flags_t columns = {};
        EXPECT_EQ(ov_app_gpon_pm_onu_thr_add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_pm_onu_thr_add(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_pm_onu_thr_edit(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_pm_onu_thr_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "null pointer"));
    });
}

// ---- crossings --------------------------------------------------------------------------------------------

std::vector<std::pair<uint32_t, int>> alarms() {
    std::vector<std::pair<uint32_t, int>> standing;
    for (const Alarm& alarm : all_of<Alarm>())
        standing.emplace_back(alarm.tcaAlarmSource, alarm.tcaAlarmCode);
    return standing;
}

TEST(PmThr, AnAlarmStandsForEachEnabledCounterThatHasReachedItsThreshold) {
    run([](AppChassis&) {
        TestClock clock(AT_10_15);
        PonThr profile = {};
        profile.ppmThrId = 5;
        profile.ppmThrFecCodeWords = 10;
        profile.ppmThrFecCodeWordsUncorrect = 10;
        profile.ppmThrTxDroppedVidMiss = ~uint64_t{0};
        profile.ppmThrBitEnable = 1ull << 4 | 1ull << 33 | 1ull << 7; // bit 7 has threshold 0
        MIB_Flags_t columns = mibDefFlags;
        ASSERT_EQ(ov_app_gpon_pm_pon_thr_add(&profile, &columns), 0);
        auto row = port_row<PonPm>();
        row.ppmThrProfileId = 5;
        row.ppmFecCodeWords = 10;            // equal counts
        row.ppmFecCodeWordsUncorrect = 1000; // isn't enabled
        row.ppmTxDroppedVidMiss = ~uint64_t{0} - 1;
        EXPECT_EQ(check_alarm_for_pon_pm(&row), 0);
        const uint32_t source = port_ifindex(PORT_TYPE_GPON, SLOT, PORT + 1);
        EXPECT_THAT(alarms(), ElementsAre(std::pair(source, 10), std::pair(source, 13)));
        const Alarm alarm = all_of<Alarm>()[0];
        EXPECT_EQ(alarm.tcaAlarmSeverity, TCAALARMSEVERITY_MINOR);
        EXPECT_EQ(alarm.tcaAlarmState, TCAALARMSTATE_SET);
        EXPECT_EQ(alarm.tcaAlarmDTS, uint32_t(AT_10_15));
        row.ppmFecCodeWords = 9;
        row.ppmTxDroppedVidMiss = ~uint64_t{0};
        clock.advance(std::chrono::seconds(1));
        check_alarm_for_pon_pm(&row);
        EXPECT_THAT(alarms(), ElementsAre(std::pair(source, 13), std::pair(source, 39)));
        EXPECT_EQ(all_of<Alarm>()[0].tcaAlarmDTS, uint32_t(AT_10_15)); // one that stands is left alone
        row.ppmThrProfileId = 6;                                       // nobody's
        row.ppmFecCodeWords = 10;
        check_alarm_for_pon_pm(&row);
        EXPECT_THAT(alarms(), SizeIs(2));
    });
}

TEST(PmThr, OnusAndGemPortsHaveCodesAndSourcesOfTheirOwn) {
    run([](AppChassis&) {
        OnuThr onu_profile = {};
        onu_profile.opmThrId = 5;
        onu_profile.opmThrBitEnable = 1 << 4 | 1 << 18;
        GemThr gem_profile = {};
        gem_profile.gpmThrId = 5;
        gem_profile.gpmThrBitEnable = 1 << 7;
        MIB_Flags_t columns = mibDefFlags;
        ASSERT_EQ(ov_app_gpon_pm_onu_thr_add(&onu_profile, &columns), 0);
        ASSERT_EQ(ov_app_gpon_pm_gem_thr_add(&gem_profile, &columns), 0);
        auto onu = onu_row<OnuPm>();
        onu.opmThrProfileId = 5;
        auto gem = onu_row<GemPm>();
        gem.gemID = 3;
        gem.gpmThrProfileId = 5;
        check_alarm_for_onu_pm(&onu);
        check_alarm_for_gem_pm(&gem);
        const uint32_t source = onu_ifindex(SLOT, PORT, ONU);
        EXPECT_THAT(alarms(), testing::UnorderedElementsAre(std::pair(source, 100), std::pair(source, 114),
                                                            std::pair(gemport_ifindex(gem, 3), 203)));
    });
}

TEST(PmThr, NoReadInOperationLooksAtThresholds) {
    run([](AppChassis& chassis) {
        PonThr profile = {};
        profile.ppmThrId = 5;
        profile.ppmThrBitEnable = 1ull << 4;
        MIB_Flags_t columns = mibDefFlags;
        ASSERT_EQ(ov_app_gpon_pm_pon_thr_add(&profile, &columns), 0);
        chassis.put_row<PonPm>([](PonPm& row) { row.ppmThrProfileId = 5; }, 1, SLOT, PORT);
        ASSERT_TRUE(run_pass(PON_PM, get_pon_pm_data_task));
        auto row = port_row<PonPm>();
        ASSERT_TRUE(mib_access(MIB_GET, row));
        EXPECT_THAT(alarms(), IsEmpty());
        EXPECT_EQ(get_pon_pm_data_from_hal({}, &row, 0, 1), 0); // who asks for it has it
        EXPECT_THAT(alarms(), SizeIs(1));
        auto nni = port_row<NniPm>();
        auto uplink = port_row<UplinkPm>();
        EXPECT_EQ(check_alarm_for_pon_nni_pm(&nni), 0);
        EXPECT_EQ(check_alarm_for_ui_pm(&uplink), 0);
    });
}

} // namespace
