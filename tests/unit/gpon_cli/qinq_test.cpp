// The commands of QinQ rules: what each makes, what is shown, and what is saved.
#include "cli_fixture.h"

#include <set>

#include "../support/dice.h"
#include "ov_app_gpon_qinq.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Rule = ov_gpon_qinq_attr_t;

class Qinq : public Cli {
protected:
    Qinq() {
        for (const char* name : {"gpon-olt1/1", "gpon-olt1/2", "gpon-onu1/3:1", "gpon-onu1/3:2", "xe8/1"})
            add_interface(name);
    }
    static ov_ifindex_t index_of_port() { return index_of("gpon-olt1/1"); }

    static std::string run(const std::string& line, int result = 0, int node = CONFIG_NODE) {
        FrrSession session(node);
        EXPECT_EQ(session.run(line), result == 0 ? CMD_SUCCESS : CMD_WARNING) << line;
        EXPECT_EQ(kavo_cmd_last_result(), result) << line;
        return session.output();
    }
    static std::string add(const std::string& rest, int result = 0) {
        return run("vlan-smart-qinq ingress-port " + rest, result);
    }
    static std::string remove(const std::string& rest, int result = 0) {
        return run("no vlan-smart-qinq ingress-port " + rest, result);
    }
    // "id bits min max ether cos svlan svlancos" of each rule of an interface.
    static std::vector<std::string> rules(const char* name = "gpon-olt1/1") {
        std::vector<std::string> all;
        for (const Rule& r : ov_app_gpon_qinq_rules_of(index_of(name))) {
            char text[128];
            snprintf(text, sizeof text, "%d 0x%x %d %d 0x%x %d %d %d", int(r.qinqId), unsigned(r.opflag),
                     int(r.user_vlan_min), int(r.user_vlan_max), unsigned(r.ether_type), int(r.cos),
                     int(r.svlan), int(r.svlancos));
            all.emplace_back(text);
        }
        return all;
    }
    static std::string written(const char* form = "write terminal") {
        FrrSession session(ENABLE_NODE);
        EXPECT_EQ(session.run(form), CMD_SUCCESS);
        return session.output();
    }
    // The lines of rules in a configuration.
    static std::vector<std::string> rule_lines(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream all(text);
        for (std::string line; std::getline(all, line);)
            if (line.starts_with("vlan-smart-qinq"))
                lines.push_back(line);
        return lines;
    }
    static void clear_all() {
        for (auto next = ov_app_gpon_qinq_interface_from(0); next;
             next = ov_app_gpon_qinq_interface_from(0)) {
            Rule all = {};
            all.ifindex = *next;
            all.opflag = ov_gpon_qinq_op(OV_GPON_ONU_QINQ_OP_PORT_ALL);
            ASSERT_EQ(ov_app_gpon_qinq_del(&all, QINQ_SYNC_ALL), 0);
        }
    }
};

struct Form {
    const char* criteria;
    const char* rule;
};
constexpr Form FORMS[] = {
    {"", "0x4 0 0 0x0 0"},
    {" user-vlan 10", "0x8 10 0 0x0 0"},
    {" user-vlan-range 10 to 20", "0x10 10 20 0x0 0"},
    {" ether-type ipv6", "0x20 0 0 0x86dd 0"},
    {" user-vlan 10 ether-type 2048", "0x28 10 0 0x800 0"},
    {" cos 3", "0x40 0 0 0x0 3"},
    {" user-vlan 10 cos 0", "0x48 10 0 0x0 0"},
    {" ether-type pppoe-data cos 7", "0x60 0 0 0x8864 7"},
};

CLI_TEST(Qinq, EachFormMakesItsRuleAndItsNoTakesItAway) {
    for (const Form& form : FORMS) {
        const std::string criteria = form.criteria;
        const std::pair<const char*, int> service_cos[] = {
            {"", 0}, {" svlancos 0", 0}, {" svlancos 7", 7}, {" svlancos copy-cvlan", 8}};
        for (const auto& [word, number] : service_cos) {
            EXPECT_EQ(add("gpon-olt1/1" + criteria + " svlan 4094" + word), "");
            EXPECT_THAT(rules(),
                        ElementsAre("1 " + std::string(form.rule) + " 4094 " + std::to_string(number)));
            EXPECT_EQ(remove("gpon-olt1/1" + (criteria.empty() ? " mode tsp" : criteria)), "");
            EXPECT_THAT(rules(), IsEmpty()) << criteria;
        }
    }
}

CLI_TEST(Qinq, TheCommandsStandOnTheNodeOfRulesToo) {
    EXPECT_EQ(run("vlan-smart-qinq ingress-port gpon-olt1/1 svlan 100", 0, QINQ_NODE), "");
    EXPECT_EQ(run("no vlan-smart-qinq ingress-port gpon-olt1/1 mode all", 0, QINQ_NODE), "");
    EXPECT_THAT(rules(), IsEmpty());
}

CLI_TEST(Qinq, AllRulesOfAnInterfaceGoWithModeAll) {
    add("gpon-olt1/1 user-vlan 10 svlan 100");
    add("gpon-olt1/1 user-vlan 11 svlan 100");
    add("gp1/2 user-vlan 10 svlan 100"); // a short name
    EXPECT_EQ(remove("gpon-olt1/1 mode all"), "");
    EXPECT_THAT(rules(), IsEmpty());
    EXPECT_THAT(rules("gpon-olt1/2"), testing::SizeIs(1));
    EXPECT_EQ(remove("gpon-olt1/1 mode all"), "");
}

CLI_TEST(Qinq, OnlyPonPortsAndOnusHaveRules) {
    char text[96];
    snprintf(text, sizeof text, "%% qinq can only applied on pon and onu interface! ifindex[%x]\n",
             index_of("xe8/1"));
    EXPECT_EQ(add("xe8/1 svlan 100", 104001), text);
    EXPECT_EQ(remove("xe8/1 mode all", 104001), text);
    EXPECT_EQ(run("show qinq port xe8/1", 104001), text);
    EXPECT_EQ(add("gpon-onu1/3:9 svlan 100", 104001),
              "% qinq can only applied on pon and onu interface! ifindex[ffffffff]\n");
}

CLI_TEST(Qinq, RangesStandOnPonPortsAndInTheirOrder) {
    char text[96];
    snprintf(text, sizeof text, "%% qinq uservlan range can only applied on pon interface! ifindex[0x%x]\n",
             index_of("gpon-onu1/3:1"));
    EXPECT_EQ(add("gpon-onu1/3:1 user-vlan-range 10 to 20 svlan 100", 104001), text);
    EXPECT_EQ(remove("gpon-onu1/3:1 user-vlan-range 10 to 20", 104001), text);
    EXPECT_EQ(add("gpon-olt1/1 user-vlan-range 20 to 10 svlan 100", 104001),
              "% user end vlan should greater than begin vlan\n");
    EXPECT_EQ(remove("gpon-olt1/1 user-vlan-range 20 to 10", 104001), "% user vlan range invalid\n");
    EXPECT_EQ(add("gpon-olt1/1 user-vlan-range 10 to 10 svlan 100"), "");
    EXPECT_THAT(chassis_.messages(), IsEmpty()); // the system isn't in operation
}

CLI_TEST(Qinq, ARefusalHasItsTextAndItsReason) {
    FrrSession session(CONFIG_NODE);
    const auto reason_of = [&](const std::string& line, const char* text) {
        EXPECT_EQ(session.run(line), CMD_WARNING) << line;
        EXPECT_EQ(session.output(), text);
        session.run("show last refusal");
        return session.output();
    };
    const std::string command = "vlan-smart-qinq ingress-port ";
    add("gpon-olt1/1 user-vlan-range 10 to 20 svlan 100");
    add("gpon-onu1/3:1 user-vlan 10 svlan 100");
    const char* const not_added = "%Failed to add qinq rule\n";
    reason_of(command + "gpon-olt1/1 user-vlan-range 10 to 20 svlan 200", not_added);
    EXPECT_THAT(log_.lines(),
                testing::Contains(HasSubstr("a QinQ rule with these criteria is there already")));
    reason_of(command + "gpon-olt1/1 user-vlan-range 15 to 25 svlan 100", not_added);
    EXPECT_THAT(log_.lines(), testing::Contains(HasSubstr("it meets traffic of rule 1 of gpon-olt1/1")));
    reason_of("no " + command + "gpon-olt1/1 mode tsp", "%Failed to delete qinq rule\n");
    EXPECT_THAT(log_.lines(), testing::Contains(HasSubstr("no QinQ rule has these criteria")));
}

// ---- showing ----------------------------------------------------------------------------------------------

CLI_TEST(Qinq, RulesAreShownInColumns) {
    add("gpon-olt1/1 user-vlan-range 1000 to 4094 svlan 4094 svlancos copy-cvlan");
    add("gpon-olt1/1 ether-type pppoe-control cos 3 svlan 100");
    add("gpon-olt1/2 svlan 100 svlancos 7");
    add("gpon-onu1/3:2 user-vlan 10 ether-type 1000 svlan 200");
    const std::string head = "\n"
                             "interface        id user vlan ether type    user cos svlan svlan cos \n"
                             "---------------------------------------------------------------------\n";
    const std::string port = "gpon-olt1/1       1 1000-4094 -             -         4094 copy-cvlan\n"
                             "gpon-olt1/1       2 -         pppoe-control 3          100 0         \n";
    const std::string onu = "gpon-onu1/3:2     1 10        1000          -          200 0         \n";
    EXPECT_EQ(run("show qinq"),
              head + port + "gpon-olt1/2       1 -         -             -          100 7         \n" + onu +
                  "total 4\n");
    EXPECT_EQ(run("show qinq port gpon-olt1/1"), head + port + "total 2\n");
    FrrSession on_port(IF_GPON_NODE);
    kavo_vty_set_index(on_port.vty, index_of_port());
    on_port.run("show qinq");
    EXPECT_EQ(on_port.output(), head + port + "total 2\n");
    FrrSession on_onu(GPON_ONU_NODE);
    kavo_vty_set_index(on_onu.vty, index_of("gpon-onu1/3:2"));
    on_onu.run("show qinq");
    EXPECT_EQ(on_onu.output(), head + onu + "total 1\n");
    EXPECT_EQ(run("show qinq port gpon-onu1/3:1"), head + "total 0\n");
}

CLI_TEST(Qinq, RulesAreShownAsJson) {
    add("gpon-olt1/1 user-vlan 10 svlan 100");
    EXPECT_EQ(run("json show qinq"),
              R"({"interface":"gpon-olt1/1","id":1,"user_vlan":"10","ether_type":null,"user_cos":null,)"
              R"("svlan":100,"svlan_cos":"0"})"
              "\n");
}

// ---- the saved configuration ------------------------------------------------------------------------------

CLI_TEST(Qinq, RulesAreSavedBehindThePortsAndInFrontOfTheOnus) {
    add_port(1, 1);
    add_onu(1, 3, 1);
    add("gpon-onu1/3:1 user-vlan 10 svlan 100 svlancos 5");
    add("gpon-olt1/1 ether-type 2054 svlan 100 svlancos copy-cvlan");
    add("gpon-olt1/1 svlan 100", 104006); // meets the other
    EXPECT_THAT(written(), HasSubstr("interface gpon-olt1/1\n"
                                     "!\n"
                                     "vlan-smart-qinq ingress-port gpon-olt1/1 ether-type arp svlan 100 "
                                     "svlancos copy-cvlan\n"
                                     "vlan-smart-qinq ingress-port gpon-onu1/3:1 user-vlan 10 svlan 100 "
                                     "svlancos 5\n"
                                     "!\n"
                                     "interface gpon-onu1/3:1\n"));
    EXPECT_THAT(rule_lines(written("write terminal interface gpon-olt1/1")),
                ElementsAre(HasSubstr("gpon-olt1/1 ether-type")));
    EXPECT_THAT(rule_lines(written("write terminal interface gpon-olt1/2")), IsEmpty());
}

CLI_TEST(Qinq, ARuleThatNoCommandMakesIsInNoConfigurationAndTheLogSaysSo) {
    const auto rule = [](uint16_t bits, uint16_t vlan, uint16_t svlan) {
        Rule made = {};
        made.ifindex = index_of_port();
        made.opflag = bits;
        made.user_vlan_min = vlan;
        made.svlan = svlan;
        return made;
    };
    for (Rule made :
         {rule(1 << 3 | 1, 10, 100), rule(1 << 3, 1, 100), rule(1 << 3, 12, 1), rule(0x78, 13, 100)})
        EXPECT_EQ(ov_app_gpon_qinq_add(&made, QINQ_SYNC_ALL), 0);
    EXPECT_THAT(rule_lines(written("write file")), IsEmpty());
    for (const char* id : {"1", "2", "3", "4"})
        EXPECT_THAT(log_.lines(),
                    testing::Contains("qinq rule " + std::string(id) +
                                      " of gpon-olt1/1 is in no saved configuration: no command "
                                      "makes it"));
}

// Some hundred rules of all forms, entered, saved, cleared and entered again as saved.
CLI_TEST(Qinq, WhatIsSavedMakesTheSameRulesAgain) {
    Dice dice(4711);
    const auto number = [&](size_t limit) { return std::to_string(2 + dice.below(limit)); };
    const char* const names[] = {"gpon-olt1/1", "gpon-olt1/2", "gpon-onu1/3:1", "gpon-onu1/3:2"};
    const char* const types[] = {"ip", "ipv6", "arp", "rarp", "pppoe-control", "pppoe-data", "0", "65535"};
    size_t added = 0;
    std::set<std::string> forms;
    for (int n = 0; n < 600; ++n) {
        const std::string name = names[dice.below(4)];
        const std::string criteria[] = {"",
                                        " user-vlan " + number(40),
                                        " user-vlan-range " + number(20) + " to " + number(4000),
                                        std::string(" ether-type ") + types[dice.below(8)],
                                        " user-vlan " + number(40) + " ether-type " + types[dice.below(8)],
                                        " cos " + std::to_string(dice.below(8)),
                                        " user-vlan " + number(40) + " cos " + std::to_string(dice.below(8)),
                                        std::string(" ether-type ") + types[dice.below(8)] + " cos " +
                                            std::to_string(dice.below(8))};
        const char* const service_cos[] = {"", " svlancos 1", " svlancos copy-cvlan"};
        const size_t form = dice.below(8);
        FrrSession session(CONFIG_NODE);
        if (session.run("vlan-smart-qinq ingress-port " + name + criteria[form] + " svlan " + number(4000) +
                        service_cos[dice.below(3)]) == CMD_SUCCESS) {
            ++added;
            forms.insert(std::to_string(form));
        }
        if (dice.one_in(8)) // so that ids have gaps
            session.run("no vlan-smart-qinq ingress-port " + name + " user-vlan " + number(40));
    }
    EXPECT_GT(added, 60u);
    EXPECT_GE(forms.size(), 7u);
    const std::string before = written();
    const auto lines = rule_lines(before);
    EXPECT_GT(lines.size(), 60u);
    clear_all();
    EXPECT_THAT(rule_lines(written()), IsEmpty());
    FrrSession replay(CONFIG_NODE);
    for (const std::string& line : lines)
        EXPECT_EQ(replay.run(line), CMD_SUCCESS) << line;
    EXPECT_EQ(written(), before);
}

} // namespace
