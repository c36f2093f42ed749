// "show statistic ..." and the switch of the counters of uplink ports.
#include "onu_fixture.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <sstream>

#include <boost/endian/conversion.hpp>

#include "gemPmTable.h"
#include "onuPmTable.h"
#include "ponPmTable.h"
#include "ponnniPmTable.h"
#include "uplinkPmActTable.h"
#include "uplinkPmTable.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr char FAILED[] = "%Failed to get port info \n";
constexpr size_t HEAD = sizeof(pkt_sta_index);

// A card's answer in which the counters are 1, 2, 3 and so on.
template <typename Record>
Record counted() {
    Record record = {};
    auto* bytes = reinterpret_cast<unsigned char*>(&record);
    for (size_t at = HEAD; at < sizeof record; at += sizeof(uint64_t))
        boost::endian::store_big_u64(bytes + at, at / sizeof(uint64_t));
    return record;
}

struct Counter {
    std::string object;
    std::string name;
    uint64_t value;
    bool operator==(const Counter&) const = default;
};

class Statistic : public OnuCli {
protected:
    Statistic() {
        for (const char* name : {"gpon-olt3/2", "gpon-onu3/2:7", "xe3/1"})
            add_interface(name);
        add_port(3, 2);
        add_onu(3, 2, 7);
        active(sGemTable_createEntry(1, 3, 2, 7, 30));
        chassis_.card_reads(OV_HAL_MSG_GPON_PM_PON, counted<ov_gpon_port_pkt_sta_attr_t>());
        chassis_.card_reads(OV_HAL_MSG_GPON_PM_NNI, counted<ov_gpon_nni_pkt_sta_attr_t>());
        chassis_.card_reads(OV_HAL_MSG_GPON_PM_ONU, counted<ov_gpon_onu_pkt_sta_attr_t>());
        chassis_.card_reads(OV_HAL_MSG_GPON_PM_GEM, counted<ov_gpon_gem_pkt_sta_attr_t>());
    }

    // The counters of a show, in its order. All lines behind the empty one are as wide as the rule.
    static std::vector<Counter> counters(const std::string& text, size_t object_width) {
        std::istringstream in(text);
        std::string line;
        std::getline(in, line);
        EXPECT_EQ(line, "");
        std::string heading;
        std::string rule;
        std::getline(in, heading);
        std::getline(in, rule);
        EXPECT_EQ(rule, std::string(heading.size(), '-'));
        std::vector<Counter> all;
        while (std::getline(in, line)) {
            EXPECT_EQ(line.size(), heading.size()) << line;
            const auto trimmed = [](std::string part) {
                part.erase(0, part.find_first_not_of(' '));
                return part.erase(part.find_last_not_of(' ') + 1);
            };
            all.push_back({trimmed(line.substr(0, object_width)), trimmed(line.substr(object_width + 1, 30)),
                           std::stoull(line.substr(object_width + 1 + 30))});
        }
        return all;
    }
    static std::vector<uint64_t> values(const std::vector<Counter>& counters) {
        std::vector<uint64_t> all;
        for (const Counter& counter : counters)
            all.push_back(counter.value);
        return all;
    }
    static std::vector<uint64_t> up_to(size_t last) {
        std::vector<uint64_t> all(last);
        std::iota(all.begin(), all.end(), 1);
        return all;
    }
    // Why the last line was refused, as the log has it.
    void expect_reason(const std::string& reason) {
        EXPECT_THAT(log_.lines(), Contains(HasSubstr(reason)));
        LogCapture::clear();
    }

    FrrSession config_{CONFIG_NODE};
};

// ---- what is shown --------------------------------------------------------------------------------------

CLI_TEST(Statistic, OfAPonPortAreThoseOfItsGtcLayer) {
    const std::string text = run(config_, "show statistic gpon-olt3/2 protocol clear disable");
    EXPECT_TRUE(text.starts_with("\n"
                                 "port       counter                                       value\n"
                                 "--------------------------------------------------------------\n"
                                 "3/2        fec code words                                    1\n"
                                 "3/2        fec code words uncorrectable                      2\n"))
        << text;
    const auto shown = counters(text, 10);
    EXPECT_EQ(values(shown), up_to(30)) << "in the order of the table";
    EXPECT_EQ(shown[6], (Counter{"3/2", "rx gem corrected", 7}));
    EXPECT_EQ(shown[29], (Counter{"3/2", "tx dropped vid miss", 30}));
    EXPECT_EQ(run(port_, "show statistic gp3/2 prot clear dis"), text) << "as an operator may shorten it";
}

CLI_TEST(Statistic, OfItsNetworkSideBeginWithTheTraffic) {
    const auto shown = counters(run(port_, "show statistic gpon-olt3/2 data clear disable"), 10);
    auto sorted = values(shown);
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, up_to(63)) << "each once";
    EXPECT_EQ(shown[0], (Counter{"3/2", "rx frames", 11}));
    EXPECT_EQ(shown[1], (Counter{"3/2", "rx bytes", 12}));
    for (const Counter& counter : {Counter{"3/2", "rx frames 64", 1},
                                   {"3/2", "rx frames 1519-2047", 7},
                                   {"3/2", "rx runt frames", 35},
                                   {"3/2", "tx frames 64", 36},
                                   {"3/2", "tx frames 9217-16638", 45},
                                   {"3/2", "tx frames", 46},
                                   {"3/2", "tx bytes", 47},
                                   {"3/2", "tx broadcast frames", 51},
                                   {"3/2", "tx pause frames", 52},
                                   {"3/2", "tx underrun frames", 63}})
        EXPECT_THAT(shown, Contains(counter)) << counter.name;
}

CLI_TEST(Statistic, OfAnOnuLeaveOutWhatNoTableHas) {
    const auto shown = counters(run(config_, "show statistic gpon-olt3/2 onu 7 clear disable"), 10);
    EXPECT_THAT(values(shown), ElementsAre(17, 18, 19, 20, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12, 13, 14, 15, 16))
        << "the card's 11th is of packets that no column counts";
    EXPECT_EQ(shown[0], (Counter{"3/2:7", "rx bytes", 17}));
    EXPECT_EQ(shown[18], (Counter{"3/2:7", "rdi errors", 16}));
    EXPECT_EQ(run(onu_, "show statistic gpon-olt3/2 onu 7 clear disable").empty(), false);
}

CLI_TEST(Statistic, OfAGemPortAreFour) {
    const std::string text = run(onu_, "show statistic gpon-olt3/2 onu 7 gem 30 clear disable");
    EXPECT_EQ(text, "\n"
                    "onu        gem counter                                       value\n"
                    "------------------------------------------------------------------\n"
                    "3/2:7       30 rx packets                                        1\n"
                    "3/2:7       30 rx bytes                                          2\n"
                    "3/2:7       30 tx packets                                        3\n"
                    "3/2:7       30 tx bytes                                          4\n");
}

CLI_TEST(Statistic, TheLargestCountFits) {
    ov_gpon_gem_pkt_sta_attr_t record = {};
    record.gemdata.tx_bytes = std::numeric_limits<uint64_t>::max();
    chassis_.card_reads(OV_HAL_MSG_GPON_PM_GEM, record);
    const auto shown = counters(run(config_, "show statistic gpon-olt3/2 onu 7 gem 30 clear disable"), 14);
    EXPECT_EQ(shown[3].value, std::numeric_limits<uint64_t>::max());
    EXPECT_THAT(
        run(config_, "json show statistic gpon-olt3/2 onu 7 gem 30 clear disable"),
        HasSubstr("{\"onu\":\"3/2:7\",\"gem\":30,\"counter\":\"tx bytes\",\"value\":18446744073709551615}"));
}

CLI_TEST(Statistic, AGemPortMayBeOfTheServiceProfile) {
    active(sGemTable_createEntry(1, 31, 15, 5, 4));
    run(config_, "show statistic gpon-olt3/2 onu 7 gem 4 clear disable", 104006);
    expect_reason("the ONU has no GEM port 4");
    const_cast<ov_sOnuTable_attr_t*>(find_row(onu_key<ov_sOnuTable_attr_t>(3, 2, 7)))->sOnuTableSrvProfileId =
        5;
    EXPECT_THAT(run(config_, "show statistic gpon-olt3/2 onu 7 gem 4 clear disable"), HasSubstr("tx bytes"));
}

// ---- clearing -------------------------------------------------------------------------------------------

CLI_TEST(Statistic, TheCardIsToldWhetherToBeginAtZero) {
    struct {
        const char* words;
        int type;
        ov_ifindex_t index;
    } const shows[] = {
        {"protocol", OV_HAL_MSG_GPON_PM_PON, index_of("gpon-olt3/2")},
        {"data", OV_HAL_MSG_GPON_PM_NNI, index_of("gpon-olt3/2")},
        {"onu 7", OV_HAL_MSG_GPON_PM_ONU, index_of("gpon-onu3/2:7")},
        {"onu 7 gem 30", OV_HAL_MSG_GPON_PM_GEM,
         ov_ifindex_gen_by_extendinfo(PORT_TYPE_GEMPORT, 1, 3, 0, 2, 7, 30, 0, 0)},
    };
    for (const auto& show : shows)
        for (const auto& [word, clean] : {std::pair{"enable", 1u}, {"e", 1u}, {"disable", 0u}, {"d", 0u}}) {
            chassis_.forget_messages();
            run(config_, std::string("show statistic gpon-olt3/2 ") + show.words + " clear " + word);
            const auto messages = chassis_.messages(1);
            ASSERT_EQ(messages.size(), 1u) << show.words;
            EXPECT_EQ(messages[0].type, show.type);
            EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_GET);
            const auto asked = messages[0].record<pkt_sta_index>();
            EXPECT_EQ(asked.ifIndex, show.index) << show.words;
            EXPECT_EQ(asked.read_clean, clean) << show.words << " " << word;
        }
}

CLI_TEST(Statistic, LeavesTheRecordsOfTheIntervalAlone) {
    auto& row = *active(onuPmTable_createEntry(1, 3, 2, 7));
    row.opmStopTimeStamp = 12;
    row.opmDataValid = OPMDATAVALID_NA;
    row.opmFecCodeWords = 99;
    run(config_, "show statistic gpon-olt3/2 onu 7 clear enable");
    EXPECT_EQ(row.opmStopTimeStamp, 12u);
    EXPECT_EQ(row.opmDataValid, OPMDATAVALID_NA);
    EXPECT_EQ(row.opmFecCodeWords, 99u);
}

// ---- refusals -------------------------------------------------------------------------------------------

CLI_TEST(Statistic, OfWhatIsNoPonPortIsRefused) {
    for (const char* name : {"gpon-onu3/2:7", "xe3/1", "gpon-olt3/3", "nonsense"})
        for (const char* words : {"protocol", "data", "onu 7", "onu 7 gem 30"}) {
            EXPECT_EQ(
                run(config_, std::string("show statistic ") + name + " " + words + " clear disable", 104001),
                std::string("% ") + name + " is not a PON port\n");
            expect_reason(std::string(name) + " isn't a PON port");
        }
    EXPECT_THAT(chassis_.messages(), IsEmpty());
}

CLI_TEST(Statistic, OfAnOnuThatIsNotThereIsRefused) {
    EXPECT_EQ(run(config_, "show statistic gpon-olt3/2 onu 128 clear disable", 104001),
              "%Onu 128 not exist\n");
    expect_reason("no ONU 128");
    EXPECT_EQ(run(config_, "show statistic gpon-olt3/2 onu 1 gem 1 clear disable", 104001),
              "%Onu 1 not exist\n");
    EXPECT_EQ(run(config_, "show statistic gpon-olt3/2 onu 7 gem 1 clear disable", 104006), FAILED);
    EXPECT_THAT(chassis_.messages(), IsEmpty());
}

CLI_TEST(Statistic, NumbersAndWordsBeyondTheSyntaxAreNoCommand) {
    for (const char* words : {"onu 0 clear disable", "onu 129 clear disable", "onu 7 gem 0 clear disable",
                              "onu 7 gem 31 clear disable", "onu 7", "onu 7 clear", "onu 7 clear both",
                              "both clear disable", "protocol", "clear disable"})
        EXPECT_NE(config_.run(std::string("show statistic gpon-olt3/2 ") + words), CMD_SUCCESS) << words;
    // A port's commands stand on ports, an ONU's on ONUs; what isn't one of the node's runs on its parent.
    FrrSession enable(ENABLE_NODE);
    for (const char* words : {"protocol clear disable", "onu 7 clear disable", "onu 7 gem 30 clear disable"})
        EXPECT_NE(enable.run(std::string("show statistic gpon-olt3/2 ") + words), CMD_SUCCESS) << words;
    EXPECT_THAT(chassis_.messages(), IsEmpty());
}

CLI_TEST(Statistic, ACardThatRefusesFailsTheShow) {
    chassis_.card_answers(OV_HAL_MSG_GPON_PM_PON, 101001);
    EXPECT_EQ(run(config_, "show statistic gpon-olt3/2 protocol clear disable", 104006), FAILED);
    expect_reason("the card in slot 3 refused with code 101001");
    chassis_.card_answers(OV_HAL_MSG_GPON_PM_GEM, 1008);
    EXPECT_EQ(run(config_, "show statistic gpon-olt3/2 onu 7 gem 30 clear enable", 104006), FAILED);
    EXPECT_NE(run(config_, "show statistic gpon-olt3/2 data clear disable"), FAILED)
        << "the others are there";
}

CLI_TEST(Statistic, OfACardThatIsAwayFails) {
    add_interface("gpon-olt9/2");
    EXPECT_EQ(run(config_, "show statistic gpon-olt9/2 data clear disable", 104006), FAILED);
    expect_reason("the card in slot 9 is away");
}

// ---- uplink ports ---------------------------------------------------------------------------------------

class UplinkPm : public OnuCli {
protected:
    UplinkPm() {
        for (const char* name : {"xe3/1", "ge3/2", "fe3/3"})
            stands_.push_back(add_interface(name));
        for (int port : {1, 2})
            active(uplinkPmActTable_createEntry(1, 3, port));
        stand_on_port(0);
    }
    void stand_on_port(size_t number) { port_.vty->index = stands_[number]; }
    static mib_long action(int port) {
        return find_row(port_key<ov_uplinkPmActTable_attr_t>(3, port))->uplinkPmAction;
    }
    static bool is_recorded(int port) {
        return find_row(port_key<ov_uplinkPmTable_attr_t>(3, port)) != nullptr;
    }
    static std::string written(const std::string& form) {
        FrrSession session(ENABLE_NODE);
        EXPECT_EQ(session.run(form), CMD_SUCCESS);
        return session.output();
    }

    std::vector<uif_t*> stands_;
    FrrSession port_{IF_NODE};
};

CLI_TEST(UplinkPm, IsSwitchedOnAndOff) {
    EXPECT_EQ(run(port_, "pm enable"), "");
    EXPECT_EQ(action(1), UPLINKPMACTION_ENABLE);
    EXPECT_TRUE(is_recorded(1));
    EXPECT_EQ(action(2), UPLINKPMACTION_DISABLE);
    EXPECT_EQ(run(port_, "pm enable"), "") << "once more";
    EXPECT_EQ(run(port_, "pm disable"), "");
    EXPECT_EQ(action(1), UPLINKPMACTION_DISABLE);
    EXPECT_FALSE(is_recorded(1));
}

CLI_TEST(UplinkPm, IsSavedInABlockOfThePort) {
    EXPECT_THAT(written("write terminal"), testing::Not(HasSubstr("pm")));
    stand_on_port(1);
    run(port_, "pm enable");
    EXPECT_EQ(written("write terminal"), "gpon\n!\ninterface ge3/2\n pm enable\n!\n");
    stand_on_port(0);
    run(port_, "pm enable");
    EXPECT_EQ(written("write file"),
              "gpon\n!\ninterface xe3/1\n pm enable\ninterface ge3/2\n pm enable\n!\n");
    EXPECT_EQ(written("write terminal interface ge3/2"), "gpon\n!\ninterface ge3/2\n pm enable\n!\n");
    EXPECT_EQ(written("write terminal interface x3/1"), "gpon\n!\ninterface xe3/1\n pm enable\n!\n");
    EXPECT_EQ(run(port_, "write terminal current"), "interface xe3/1\n pm enable\n!\n");
    stand_on_port(2);
    EXPECT_EQ(run(port_, "write terminal current"), "");
}

// A port that isn't there has no name; its row keeps the switch.
CLI_TEST(UplinkPm, OfAPortThatIsAwayIsNotSaved) {
    run(port_, "pm enable");
    uif_delete(stands_[0]);
    EXPECT_EQ(written("write terminal"), "gpon\n!\n");
    EXPECT_EQ(run(port_, "pm disable", 104006), "%Failed to set pm \n");
    EXPECT_EQ(action(1), UPLINKPMACTION_ENABLE);
}

CLI_TEST(UplinkPm, IsRefusedOnOtherPorts) {
    stand_on_port(2);
    EXPECT_EQ(run(port_, "pm enable", 104006), "%Failed to set pm \n");
    EXPECT_THAT(log_.lines(), Contains(HasSubstr("counters are recorded of GE and XE ports only")));
    EXPECT_EQ(find_row(port_key<ov_uplinkPmActTable_attr_t>(3, 3)), nullptr) << "no row is made";
    for (const char* line : {"pm", "pm both", "pm protocol enable", "pm enable all"})
        EXPECT_NE(port_.run(line), CMD_SUCCESS) << line;
}

} // namespace
