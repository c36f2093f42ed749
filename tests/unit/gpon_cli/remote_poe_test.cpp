// Power over Ethernet and the optics of an ONU by command.
#include "remote_services_fixture.h"

#include "ov_app_gpon_pon_role.h"
#include "ov_gpon.h"

namespace {

using UniPoe = ov_sRmUniPoeTable_attr_t;
using OnuPoe = ov_sRmOnuPoeTable_attr_t;
using Thresholds = ov_sRmOnuOptThresholdTable_attr_t;
using Readings = ov_sOnuExtendInfoTable_attr_t;

class RemotePoe : public RemoteServicesCli {
protected:
    static UniPoe* uni_poe(const Place& place, int port = 1) {
        auto key = onu_key<UniPoe>(place.slot, place.port, place.onu);
        key.sRmUniPoeOnuCardID = 1;
        key.sRmUniPoeOnuPortType = ETH;
        key.sRmUniPoeOnuPortID = static_cast<mib_ulong>(port);
        return const_cast<UniPoe*>(find_row(key));
    }
    void can_choose(bool yes) {
        ov_gpon_rmuni_poe_attr_t record = {};
        record.powPairsContAbility = yes ? 1 : 0;
        record.detectionSta = 3;
        record.pseConsumPow = 65;
        chassis_.card_reads(OV_HAL_MSG_GPON_RM_UNI_POE, record);
    }
    // What was saved, entered again on cleared rows, makes the same.
    void replay(const Place& place) {
        const Lines lines = saved(place);
        const UniPoe uni = *uni_poe(place);
        const OnuPoe onu = *row<OnuPoe>(place);
        remove_all<UniPoe>();
        remove_all<OnuPoe>();
        add_poe();
        EXPECT_EQ(saved(place), Lines{});
        enter(place, lines);
        expect_same(uni_poe(place), uni);
        expect_same(row<OnuPoe>(place), onu);
        EXPECT_EQ(saved(place), lines);
    }
};

const std::vector<std::string> OF_UNI = {"remote uni eth_1/1 poe adminstate enable",
                                         "remote uni eth_1/1 poe request_power 60",
                                         "remote uni eth_1/1 poe powpri low"};
const std::vector<std::string> OF_ONU = {"remote onu poe usagethr 99", "remote onu poe arc enable",
                                         "remote onu poe extpowavl 4294967295",
                                         "remote onu poe extbattpowavl 1"};

CLI_TEST(RemotePoe, SettingsAreSavedAndMakeTheSame) {
    for (const Place& place : {on_profile(), on_onu()}) {
        enter(place, OF_UNI);
        enter(place, OF_ONU);
        Lines all = OF_UNI;
        all.insert(all.end(), OF_ONU.begin(), OF_ONU.end());
        EXPECT_EQ(saved(place), all);
        EXPECT_EQ(uni_poe(place)->sRmUniPoePowPri, 3);
        EXPECT_EQ(uni_poe(place)->sRmUniPoePseLldpReqPow, 60);
        EXPECT_EQ(row<OnuPoe>(place)->sRmOnuPoeExtPowAvl, 4294967295u);
        EXPECT_EQ(row<OnuPoe>(place)->sRmOnuPoeUsageThr, 99);
        replay(place);
    }
}

CLI_TEST(RemotePoe, WiresAreChosenOfAnOnuThatCan) {
    can_choose(true);
    for (const auto& [word, number] : {std::pair{"signal", 1}, {"spare", 2}}) {
        const std::string line = std::string("remote uni eth_1/1 poe powpairs ") + word;
        enter(on_onu(), {line});
        EXPECT_EQ(uni_poe(on_onu())->sRmUniPoePowPairs, number);
        EXPECT_EQ(saved(on_onu()), Lines{line});
    }
    const auto told = chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI_POE);
    ASSERT_EQ(told.size(), 4u) << "asked, and told, twice";
    EXPECT_EQ(told[3].record<ov_gpon_rmuni_poe_attr_t>().powPairs, 2);
}

CLI_TEST(RemotePoe, WiresOfAnOnuThatCannotChooseStayAsTheyAre) {
    can_choose(false);
    expect_refused(on_onu(),
                   {{"remote uni eth_1/1 poe powpairs signal",
                     "%uni poe power pairs control ability is uncontrolled /**ability=0**/\n"}},
                   104006);
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_UNI_POE, 1009);
    expect_refused(
        on_onu(),
        {{"remote uni eth_1/1 poe powpairs signal", "%Failed to get uni poe power pairs control ability\n"},
         {"remote uni eth_1/3 poe powpairs signal", "%Failed to set eth_1/3 poe pow pairs\n"}},
        104006);
    EXPECT_EQ(uni_poe(on_onu())->sRmUniPoePowPairs, 0);
}

// Or else no configuration could be replayed before its ONUs are up.
CLI_TEST(RemotePoe, WiresOfAnOnuThatIsNotUpAreTakenAsTheyAreTold) {
    row<ov_sOnuTable_attr_t>(on_onu())->sOnuTableOnuState = SONUTABLEONUSTATE_ADDED;
    enter(on_onu(), {"remote uni eth_1/1 poe powpairs spare"});
    EXPECT_EQ(saved(on_onu()), Lines{"remote uni eth_1/1 poe powpairs spare"});
}

CLI_TEST(RemotePoe, WhatIsRefusedIsToldWithItsText) {
    expect_refused(on_onu(),
                   {{"remote uni eth_1/3 poe adminstate enable", "%Failed to set eth_1/3 poe adminstate\n"},
                    {"remote uni eth_1 poe adminstate enable", "%Bad format ETHUNI eth_1\n"},
                    {"remote uni x poe powpairs signal", "%Bad format ONU interface x\n"}},
                   104006);
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_UNI_POE, 101001);
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_ONU_POE, 101001);
    expect_refused(
        on_onu(),
        {{"remote uni eth_1/1 poe adminstate enable", "%Failed to set eth_1/1 poe adminstate\n"},
         {"remote uni eth_1/1 poe request_power 1", "%Failed to set eth_1/1 poe request power\n"},
         {"remote uni eth_1/1 poe powpri high", "%Failed to set eth_1/1 poe powpri\n"},
         {"remote onu poe usagethr 1", "%Failed to set onu poe usage threshold\n"},
         {"remote onu poe arc enable", "%Failed to set onu poe arc\n"},
         {"remote onu poe extpowavl 1", "%Failed to set onu poe external power available\n"},
         {"remote onu poe extbattpowavl 1", "%Failed to set onu poe external battery power available\n"}},
        104006);
    EXPECT_EQ(saved(on_onu()), Lines{});
}

CLI_TEST(RemotePoe, BeyondTheirLimitsAreNoCommands) {
    for (const Place& place : places())
        expect_no_commands(
            *place.session,
            {"remote uni eth_1/1 poe adminstate on", "remote uni eth_1/1 poe request_power 61",
             "remote uni eth_1/1 poe request_power -1", "remote uni eth_1/1 poe powpri medium",
             "remote uni eth_1/1 poe powpairs both", "remote uni eth_1/1 poe", "remote onu poe usagethr 0",
             "remote onu poe usagethr 100", "remote onu poe arc 1", "remote onu poe extpowavl 4294967296",
             "remote onu poe extpowavl -1", "remote onu poe extbattpowavl 4294967296", "remote onu poe"});
    expect_no_commands(profile_, {"remote uni eth_1/1 poe powpairs signal", "show onu remote poe"});
}

CLI_TEST(RemotePoe, IsShownAsTheOnuTellsItNow) {
    can_choose(true);
    enter(on_onu(), OF_UNI);
    std::string text = run(far_, "show onu remote uni eth_1/1 poe");
    EXPECT_EQ(item(text, "adminstate"), "enable");
    EXPECT_EQ(item(text, "request_power"), "60");
    EXPECT_EQ(item(text, "powpri"), "low");
    EXPECT_EQ(item(text, "powpairs"), "-");
    EXPECT_EQ(item(text, "powpairs control"), "controlled");
    EXPECT_EQ(item(text, "detection"), "delivering");
    EXPECT_EQ(item(text, "power consumed"), "65");
    ov_gpon_rmonu_poe_attr_t record = {};
    record.operStatus = 1;
    record.nominalPoePow = 600;
    chassis_.card_reads(OV_HAL_MSG_GPON_RM_ONU_POE, record);
    enter(on_onu(), OF_ONU);
    text = run(far_, "show onu remote poe");
    EXPECT_EQ(item(text, "supply"), "on");
    EXPECT_EQ(item(text, "nominal power"), "600");
    EXPECT_EQ(item(text, "usagethr"), "99");
    EXPECT_EQ(item(text, "arc"), "enable");
    EXPECT_EQ(item(text, "extpowavl"), "4294967295");
}

CLI_TEST(RemotePoe, OfAnOnuThatDoesNotTellIsNotShown) {
    expect_refused(on_onu(),
                   {{"show onu remote uni eth_1/3 poe", "%Failed to get uni poe \n"},
                    {"show onu remote uni eth_x poe", "%Bad format ETHUNI eth_x\n"}},
                   104006);
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_UNI_POE, 1009);
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_ONU_POE, 1009);
    expect_refused(on_onu(),
                   {{"show onu remote uni eth_1/1 poe", "%Failed to get uni poe \n"},
                    {"show onu remote poe", "%failed to get onu poe \n"}},
                   104006);
    row<ov_sOnuTable_attr_t>(on_onu())->sOnuTableOnuState = SONUTABLEONUSTATE_ADDED;
    expect_refused(on_onu(),
                   {{"show onu remote uni eth_1/1 poe",
                     "%failed to get onu uni poe , please verify onu is operational! \n"},
                    {"show onu remote poe", "%failed to get onu poe , please verify onu is operational! \n"}},
                   104006);
}

// ---- optics ---------------------------------------------------------------------------------------------

class RemoteOptics : public RemoteServicesCli {
protected:
    static Thresholds& thresholds() { return *row<Thresholds>({nullptr, 3, 2, 7}); }
};

struct Threshold {
    const char* name;
    mib_long Thresholds::*value;
    mib_long own;
    int bit;
};
constexpr Threshold THRESHOLDS[] = {{"lowerrxpower", &Thresholds::sRmOnuOptThresholdLowRxpwr, -255, 1},
                                    {"upperrxpower", &Thresholds::sRmOnuOptThresholdUpperRxpwr, -255, 2},
                                    {"lowertxpower", &Thresholds::sRmOnuOptThresholdLowTxpwr, -127, 3},
                                    {"uppertxpower", &Thresholds::sRmOnuOptThresholdUpperTxpwr, -127, 4}};

CLI_TEST(RemoteOptics, ThresholdsAreSetSavedAndMakeTheSame) {
    for (const Threshold& threshold : THRESHOLDS) {
        const std::string head = std::string("remote onu optical threshold ") + threshold.name + " ";
        for (const char* number : {"-28", "0", "7", "2147483647", "-2147483648"}) {
            chassis_.forget_messages();
            enter(on_onu(), {head + number});
            EXPECT_EQ(std::to_string(thresholds().*threshold.value), number) << head;
            EXPECT_EQ(saved(on_onu()), Lines{head + number});
            const auto told = chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD);
            ASSERT_EQ(told.size(), 1u);
            EXPECT_EQ(told[0].mask, 1u << threshold.bit);
        }
        enter(on_onu(), {head + "onu_internal"});
        EXPECT_EQ(thresholds().*threshold.value, threshold.own);
        EXPECT_EQ(saved(on_onu()), Lines{}) << "that is the default";
    }
}

CLI_TEST(RemoteOptics, ValuesThatAreNoNumbersAreRefused) {
    for (const Threshold& threshold : THRESHOLDS)
        for (const char* word : {"x", "-2o", "2.5", "--2", "+2", "2147483648", "-2147483649", "0x10", "-",
                                 "onu_internal2", "50%", "%s%n"}) {
            const std::string line =
                std::string("remote onu optical threshold ") + threshold.name + " " + word;
            EXPECT_EQ(run(far_, line, 104001), std::string("%Bad params ") + word + "\n") << line;
        }
    EXPECT_EQ(saved(on_onu()), Lines{});
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD).size(), 0u);
}

CLI_TEST(RemoteOptics, WhatTheCardRefusesIsNotKept) {
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD, 101001);
    expect_refused(on_onu(),
                   {{"remote onu optical threshold lowerrxpower -28", "%Failed to set lowerrxpower -28\n"},
                    {"remote onu optical threshold uppertxpower onu_internal",
                     "%Failed to set uppertxpower onu_internal\n"}},
                   104006);
    EXPECT_EQ(saved(on_onu()), Lines{});
    expect_no_commands(far_, {"remote onu optical threshold", "remote onu optical threshold lowerrxpower",
                              "remote onu optical threshold rxpower 1"});
    expect_no_commands(profile_, {"remote onu optical threshold lowerrxpower -28"});
}

CLI_TEST(RemoteOptics, AreShownWithTheThresholds) {
    ov_gpon_rmonu_opt_ani_info_attr_t readings = {};
    readings.rxpwr = -1800;
    readings.txpwr = 220;
    readings.biascurrent = 1250;
    readings.powervol = 3300;
    readings.temperature = 4500;
    chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_ANI_OPT_INFO, readings);
    ov_gpon_rmonu_opt_threshold_attr_t record = {};
    record.lowvoltthreshod = 2900;
    record.uppertempthreshod = 9000;
    chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD, record);
    enter(on_onu(), {"remote onu optical threshold lowerrxpower -28"});
    std::string text = run(far_, "show onu remote optical info");
    const std::pair<const char*, const char*> items[] = {{"read", "now"},
                                                         {"rx power", "-1800"},
                                                         {"tx power", "220"},
                                                         {"bias current", "1250"},
                                                         {"voltage", "3300"},
                                                         {"temperature", "4500"},
                                                         {"lowerrxpower", "-28"},
                                                         {"upperrxpower", "onu_internal"},
                                                         {"lowertxpower", "onu_internal"},
                                                         {"lower voltage", "2900"},
                                                         {"upper temperature", "9000"}};
    for (const auto& [name, value] : items)
        EXPECT_EQ(item(text, name), value);
    row<ov_sOnuTable_attr_t>(on_onu())->sOnuTableOnuState = SONUTABLEONUSTATE_ADDED;
    chassis_.forget_messages();
    text = run(far_, "show onu remote optical info");
    EXPECT_EQ(item(text, "read"), "earlier");
    EXPECT_EQ(item(text, "lowerrxpower"), "-28");
    EXPECT_TRUE(item(text, "rx power").starts_with("nothing"));
    EXPECT_EQ(chassis_.messages().size(), 0u);
}

CLI_TEST(RemoteOptics, PowerAtBothEndsIsShown) {
    ov_gpon_onu_attr_t onu = {};
    onu.oltRxPw = -1950;
    chassis_.card_reads(OV_HAL_MSG_GPON_ONU, onu);
    ov_gpon_rmonu_opt_ani_info_attr_t readings = {};
    readings.rxpwr = -1800;
    readings.txpwr = 220;
    chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_ANI_OPT_INFO, readings);
    const std::string text = run(far_, "show onu power");
    EXPECT_EQ(item(text, "olt rx power"), "-1950");
    EXPECT_EQ(item(text, "onu rx power"), "-1800");
    EXPECT_EQ(item(text, "onu tx power"), "220");
}

CLI_TEST(RemoteOptics, OfAProtectionGroupAreThoseOfThePortInService) {
    ov_pon_protect_group_pon_status_init();
    ov_pon_protect_group_pon_status_set(3, 2, OV_PON_PROTECT_PON_STATUS_PROTECTING);
    ov_pon_protect_group_pair_port_index_set(3, 2, index_of("gpon-olt3/1"));
    ov_startup_gpon_config_sync_end_set(3, 1);
    row<ov_sOnuTable_attr_t>(on_onu())->sOnuTableOnuState = SONUTABLEONUSTATE_ADDED;
    add_onu(3, 1, 7).sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
    active(sOnuExtendInfoTable_createEntry(1, 3, 1, 7));
    active(sRmOnuOptThresholdTable_createEntry(1, 3, 1, 7));
    chassis_.forget_messages();
    for (const char* line : {"show onu power", "show onu remote optical info"})
        EXPECT_NE(run(far_, line).find("\n3/1:7 "), std::string::npos) << line;
    for (const auto& asked : chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_ANI_OPT_INFO))
        EXPECT_EQ(asked.record<ov_gpon_rmonu_opt_ani_info_attr_t>().onuIfindex, index_of("gpon-onu3/1:7"));
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_ANI_OPT_INFO).size(), 2u);
    ov_pon_protect_group_pon_active_status_set(3, 2, 1);
    EXPECT_EQ(run(far_, "show onu power", 104006), "%Failed to get port info \n") << "that one isn't up";
}

CLI_TEST(RemoteOptics, OfAnOnuThatDoesNotTellAreNotShown) {
    const Texts texts = {{"show onu power", "%Failed to get port info \n"},
                         {"show onu remote optical info", "%Failed to get port info \n"}};
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_ANI_OPT_INFO, 1009);
    expect_refused(on_onu(), texts, 104006);
    row<ov_sOnuTable_attr_t>(on_onu())->sOnuTableOnuState = SONUTABLEONUSTATE_ADDED;
    expect_refused(on_onu(), {texts[0]}, 104006);
    expect_no_commands(far_port_, {"show onu remote optical info"});
    expect_no_commands(profile_, {"show onu power", "show onu remote optical info"});
}

} // namespace
