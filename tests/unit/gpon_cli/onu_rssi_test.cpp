// RSSI profiles by command: made, shown, saved.
#include "cli_fixture.h"

#include <sstream>

#include "ov_app_gpon_onu_rssi.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Row = ov_sOnuRssiProfileTable_attr_t;

class OnuRssi : public Cli {
protected:
    FrrSession session_{GPON_NODE};
    std::string run(const std::string& line, int result = 0) {
        EXPECT_EQ(session_.run(line), result == 0 ? CMD_SUCCESS : CMD_WARNING) << line;
        if (result != 0) {
            EXPECT_EQ(kavo_cmd_last_result(), result) << line;
        }
        return session_.output();
    }
    static const Row* profile(int id) {
        Row key = {};
        key.profileId = id;
        return find_row(key);
    }
    // The lines of the gpon block that are of RSSI profiles.
    std::vector<std::string> saved() {
        std::istringstream text(run("write terminal current"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
            if (line.find("onu-rssi") != std::string::npos)
                lines.push_back(line);
        return lines;
    }
};

CLI_TEST(OnuRssi, EachQuantityHasItsFourLimitsFromTheLowestToTheHighest) {
    const struct {
        const char* word;
        mib_long Row::*low_alarm;
        mib_long Row::*low_warning;
        mib_long Row::*high_warning;
        mib_long Row::*high_alarm;
    } quantities[] = {
        {"txpwr", &Row::sOnuRssiLowTxpwrAlm, &Row::sOnuRssiLowTxpwrWarn, &Row::sOnuRssiHighTxpwrWarn,
         &Row::sOnuRssiHighTxpwrAlm},
        {"rxpwr", &Row::sOnuRssiLowRxpwrAlm, &Row::sOnuRssiLowRxpwrWarn, &Row::sOnuRssiHighRxpwrWarn,
         &Row::sOnuRssiHighRxpwrAlm},
        {"bias", &Row::sOnuRssiLowBiasAlm, &Row::sOnuRssiLowBiasWarn, &Row::sOnuRssiHighBiasWarn,
         &Row::sOnuRssiHighBiasAlm},
        {"vcc", &Row::sOnuRssiLowVccAlm, &Row::sOnuRssiLowVccWarn, &Row::sOnuRssiHighVccWarn,
         &Row::sOnuRssiHighVccAlm},
        {"temp", &Row::sOnuRssiLowTempAlm, &Row::sOnuRssiLowTempWarn, &Row::sOnuRssiHighTempWarn,
         &Row::sOnuRssiHighTempAlm},
    };
    int id = 1;
    for (const auto& quantity : quantities) {
        chassis_.forget_messages();
        const std::string command = "profile onu-rssi " + std::to_string(id) + " " + quantity.word +
                                    "-threshold -2147483648 -20 30 2147483647";
        EXPECT_EQ(run(command), "");
        const Row* row = profile(id);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->*quantity.low_alarm, INT32_MIN) << quantity.word;
        EXPECT_EQ(row->*quantity.low_warning, -20) << quantity.word;
        EXPECT_EQ(row->*quantity.high_warning, 30) << quantity.word;
        EXPECT_EQ(row->*quantity.high_alarm, INT32_MAX) << quantity.word;
        // the others are those of the default profile
        for (const auto& other : quantities)
            if (&other != &quantity) {
                EXPECT_EQ(row->*other.high_alarm, profile(0)->*other.high_alarm) << quantity.word;
            }
        EXPECT_THAT(saved(), testing::Contains(" " + command));
        id += 7; // 1 to 29
    }
    EXPECT_EQ(run("profile onu-rssi 32 vcc-threshold 1 2 3 4"), "");
}

CLI_TEST(OnuRssi, ValuesThatAreNoNumbersAndNumbersOutOfRangeAreRefused) {
    for (const char* values :
         {"x 2 3 4", "1 2 3 4.5", "1 2147483648 3 4", "1 2 -2147483649 4", "1 2 3 0x4", "1- 2 3 4"})
        EXPECT_EQ(run(std::string("profile onu-rssi 1 temp-threshold ") + values, 104001),
                  "%Invalid parameter \n")
            << values;
    for (const char* line :
         {"profile onu-rssi 0 temp-threshold 1 2 3 4", "profile onu-rssi 33 temp-threshold 1 2 3 4",
          "profile onu-rssi 1 temp-threshold 1 2 3", "profile onu-rssi 1", "no profile onu-rssi 0",
          "no profile onu-rssi 33", "show profile onu-rssi 0", "show profile onu-rssi 33"})
        EXPECT_NE(session_.run(line), CMD_SUCCESS) << line;
    EXPECT_EQ(profile(1), nullptr);
}

CLI_TEST(OnuRssi, AProfileInUseStaysAsItIs) {
    run("profile onu-rssi 3 vcc-threshold 1 2 3 4");
    add_onu(1, 2, 7).sOnuTableRssiProfileId = 3;
    EXPECT_EQ(run("profile onu-rssi 3 vcc-threshold 1 2 3 5", 104006),
              "onu rssi profile set error,maybe the profile is inuse \n");
    EXPECT_EQ(run("no profile onu-rssi 3", 104006), "%Failed to delete onu rssi profile 3\n");
    EXPECT_EQ(profile(3)->sOnuRssiHighVccAlm, 4);
    EXPECT_EQ(run("no profile onu-rssi 4", 104006), "%Failed to delete onu rssi profile 4\n");
    add_onu(1, 2, 7).sOnuTableRssiProfileId = 0;
    EXPECT_EQ(run("no profile onu-rssi 3"), "");
    EXPECT_EQ(profile(3), nullptr);
}

CLI_TEST(OnuRssi, OneOrAllAreShown) {
    run("profile onu-rssi 3 rxpwr-threshold -2900 -2700 -900 -800");
    const std::string heading =
        "\nrssi profile threshold    low alarm  low warning high warning   high alarm\n";
    const std::string default_rows =
        "default      txpwr            -1400        -1200          800          900\n"
        "default      rxpwr            -3400        -3000          200          300\n"
        "default      bias               200          700        11000        13100\n"
        "default      vcc                297          314          347          363\n"
        "default      temp             -4500        -1500         8000         9000\n";
    EXPECT_EQ(run("show profile onu-rssi default"), heading + default_rows);
    const std::string three = run("show profile onu-rssi 3");
    EXPECT_THAT(three,
                HasSubstr("3            rxpwr            -2900        -2700         -900         -800\n"));
    EXPECT_THAT(three, testing::StartsWith(heading));
    EXPECT_EQ(run("show profile onu-rssi all"),
              heading + default_rows + three.substr(heading.size()) + "total 2\n");
    EXPECT_EQ(run("show profile onu-rssi 4", 104001), "%Invalid parameter \n");
}

CLI_TEST(OnuRssi, WhatIsSavedMakesTheSame) {
    EXPECT_THAT(saved(), IsEmpty());
    run("profile onu-rssi 3 rxpwr-threshold -2900 -2700 -900 -800");
    run("profile onu-rssi 3 temp-threshold 1 2 3 4");
    run("profile onu-rssi 4 txpwr-threshold -1400 -1200 800 900"); // nothing but defaults
    const auto lines = saved();
    EXPECT_THAT(lines, ElementsAre(" profile onu-rssi 3 rxpwr-threshold -2900 -2700 -900 -800",
                                   " profile onu-rssi 3 temp-threshold 1 2 3 4",
                                   " profile onu-rssi 4 txpwr-threshold -1400 -1200 800 900"));
    run("no profile onu-rssi 3");
    run("no profile onu-rssi 4");
    EXPECT_THAT(saved(), IsEmpty());
    for (const std::string& line : lines)
        run(line.substr(1));
    EXPECT_EQ(saved(), lines);
}

CLI_TEST(OnuRssi, ProfilesThatNoCommandMakesAreNotSaved) {
    active(sOnuRssiProfileTable_createEntry(33))->sOnuRssiHighVccAlm = 1;
    const_cast<Row*>(profile(0))->sOnuRssiHighVccAlm = 1;
    EXPECT_THAT(saved(), IsEmpty());
}

} // namespace
