// "show onu reason" and "show alarm".
#include "onu_fixture.h"

#include <ctime>
#include <sstream>

#include "ov_local_time.h"
#include "ov_slot.h"
#include "sActiveAlarmTable.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

constexpr char REASON_HEAD[] =
    "\n"
    "onu        now               since                last reason     at                   remarks\n"
    "----------------------------------------------------------------------------------------------\n";
constexpr char ALARM_HEAD[] = "\n"
                              "source               severity      code text                            since "
                              "                          age\n"
                              "------------------------------------------------------------------------------"
                              "-----------------------------\n";

std::vector<std::string> words_in_front(const std::string& text) {
    std::vector<std::string> words;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] != '-' && !line.starts_with("onu ") && !line.starts_with("source ") &&
            !line.starts_with("total"))
            words.push_back(line.substr(0, line.find(' ')));
    return words;
}

class OnuReasonCli : public OnuCli {
protected:
    OnuReasonCli() {
        setenv("TZ", "UTC", 1);
        tzset();
        for (const char* name : {"gpon-olt1/2", "gpon-olt14/16", "gpon-onu1/2:7"})
            add_interface(name);
        uif_lookup_by_name("gpon-olt1/2")->flags = UIF_FLAG_UP;
        for (const uint32_t slot : {1u, 14u}) {
            ov_slot_create(slot, 27, 1);
            ov_slot_set_connected(slot, 1);
        }
    }

    static ov_sOnuTable_attr_t& add_enabled(int slot, int port, int onu) {
        auto& row = add_onu(slot, port, onu);
        row.sOnuTableAdminState = SONUTABLEADMINSTATE_ENABLED;
        return row;
    }
    static ov_sActiveAlarmTable_attr_t& add_alarm(ov_ifindex_t source, int code, int severity,
                                                  mib_ulong since, const char* text = "") {
        auto* row = active(sActiveAlarmTable_createEntry(source, code));
        row->sActiveAlarmTableAlarmSourceType = SACTIVEALARMTABLEALARMSOURCETYPE_ONU;
        row->sActiveAlarmTableAlarmSeverity = severity;
        row->sActiveAlarmTableAlarmDTS = since;
        set(row->sActiveAlarmTableAlarmProbableCause, text);
        return *row;
    }

    FrrSession enable_{ENABLE_NODE};
    FrrSession config_{CONFIG_NODE};
};

CLI_TEST(OnuReasonCli, OneLineForAnOnuWithWordsAndTimes) {
    auto& up = add_enabled(1, 2, 1);
    up.sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
    auto& history = *active(sOnuHistoryTable_createEntry(1, 1, 2, 1));
    history.sOnuHistoryAuthTime1 = 1000000000;
    add_enabled(1, 2, 128);
    add_alarm(index_of("gpon-olt1/2"), SACTIVEALARMTABLEALARMCODE_OLT_PON_LOS, 4, 5);
    EXPECT_EQ(run(enable_, "show onu reason"),
              std::string(REASON_HEAD) +
                  "1/2:1      operational       2001-09-09 01:46:40  -               -\n"
                  "1/2:128    never seen        -                    -               -                    "
                  "no light on gpon-olt1/2\n"
                  "total 2\n");
}

CLI_TEST(OnuReasonCli, EveryNodeShowsWhatIsItsOwn) {
    for (const auto& [slot, port, onu] : {std::tuple{1, 2, 7}, std::tuple{1, 2, 8}, std::tuple{14, 16, 7}})
        add_enabled(slot, port, onu);
    const auto onus = [this](FrrSession& session, const char* line) {
        return words_in_front(run(session, line));
    };
    EXPECT_THAT(onus(enable_, "show onu reason"), ElementsAre("1/2:7", "1/2:8", "14/16:7"));
    EXPECT_THAT(onus(config_, "show onu 7 reason"), ElementsAre("1/2:7", "14/16:7"));
    EXPECT_THAT(onus(port_, "show onu reason"), ElementsAre("1/2:7", "1/2:8"));
    EXPECT_THAT(onus(port_, "show onu 8 reason"), ElementsAre("1/2:8"));
    EXPECT_THAT(onus(onu_, "show onu reason"), ElementsAre("1/2:7"));
    EXPECT_THAT(onus(onu_, "show interface gpon-olt14/16 onu reason"), ElementsAre("14/16:7"));
    EXPECT_THAT(onus(enable_, "show interface gpon-olt1/2 onu 8 reason"), ElementsAre("1/2:8"));
    EXPECT_THAT(onus(config_, "show interface gpon-onu1/2:7 onu reason"), ElementsAre("1/2:7"));
}

CLI_TEST(OnuReasonCli, ANameThatIsNeitherIsRefused) {
    for (const char* line : {"show interface gpon-olt3/3 onu reason",
                             "show interface gpon-onu1/2:7 onu 7 reason", "show interface xe1/1 onu reason"})
        EXPECT_THAT(run(enable_, line, 104001), EndsWith(" is not a PON port\n")) << line;
    EXPECT_THAT(run(enable_, "show alarm interface nonsense", 104001),
                EndsWith("% nonsense is not a PON port\n"));
}

CLI_TEST(OnuReasonCli, AlarmsHaveTheNameOfTheirSourceAndTheirAge) {
    const mib_ulong now = get_local_time();
    char since[32];
    const auto begin = static_cast<time_t>(now - (3 * 86400 + 2 * 3600 + 59));
    strftime(since, sizeof since, "%F %T", gmtime(&begin));
    add_alarm(index_of("gpon-onu1/2:7"), SACTIVEALARMTABLEALARMCODE_ONU_DYING_GASP, 3,
              static_cast<mib_ulong>(begin), "dying \x1bgasp");
    add_alarm(index_of("gpon-olt1/2"), SACTIVEALARMTABLEALARMCODE_OLT_PON_LOS, 4, 0);
    add_alarm(7, 1300, 9, now + 1000).sActiveAlarmTableAlarmSourceType =
        SACTIVEALARMTABLEALARMSOURCETYPE_SLOT;
    const std::string text = run(enable_, "show alarm");
    EXPECT_TRUE(text.starts_with(ALARM_HEAD)) << text;
    EXPECT_THAT(text, HasSubstr("\nslot 7               9             1300 eqptmissng "));
    EXPECT_THAT(text, HasSubstr("\ngpon-olt1/2          critical      101  oltPonLos                       - "
                                "                                -\n"));
    EXPECT_THAT(
        text,
        HasSubstr(std::string("\ngpon-onu1/2:7        major         209  dying ?gasp                     ") +
                  since + "     3d 02:00:5"));
    EXPECT_THAT(text, EndsWith("total 3\n"));
}

CLI_TEST(OnuReasonCli, AlarmsAreFilteredByPortAndOnu) {
    const ov_ifindex_t uni = ov_ifindex_gen_by_extendinfo(PORT_TYPE_GPON_ONU_UNI, 1, 1, 0, 2, 7, 1, 1, 1);
    for (const ov_ifindex_t source :
         {index_of("gpon-olt1/2"), index_of("gpon-onu1/2:7"), index_of("gpon-onu1/2:8"),
          index_of("gpon-onu14/16:7"), uni, index_of("xe1/2"), ov_ifindex_t{7}})
        add_alarm(source, 201, 2, 5);
    const auto count = [this](FrrSession& session, const char* line) {
        const std::string text = run(session, line);
        return static_cast<size_t>(std::stoi(text.substr(text.rfind("total ") + 6)));
    };
    EXPECT_EQ(count(enable_, "show alarm"), 7u);
    EXPECT_EQ(count(config_, "show alarm interface gpon-olt1/2"), 4u);
    EXPECT_EQ(count(port_, "show alarm"), 4u);
    EXPECT_EQ(count(onu_, "show alarm"), 2u);
    EXPECT_EQ(count(enable_, "show alarm interface gpon-onu1/2:7"), 2u);
    EXPECT_EQ(count(onu_, "show alarm interface gpon-olt14/16"), 1u);
}

} // namespace
