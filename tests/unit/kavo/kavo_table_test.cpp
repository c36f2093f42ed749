#include "kavo_table.h"

#include <gtest/gtest.h>

#include "cli_call.h"
#include "frr_fixture.h"

namespace {

constexpr kavo_column_t COLUMNS[] = {{"onu type", -10}, {"eth", 5}, {"note", -6, "remark"}};

int show_table(CliCall& call) {
    const kavo_table_t table(call.vty, COLUMNS);
    table.heading();
    table.row({"HOME", 4, "-"});
    table.row({std::string("a\"b\\\x01\xe4"), -7u, "x"});
    table.row({"", 0});
    table.line("total %d", 3);
    return 0;
}

int show_utf8(CliCall& call) {
    const kavo_table_t table(call.vty, COLUMNS);
    table.row({"B\u00fcro \u20ac", 4, "M\xfcller"});
    return 0;
}

int show_trimmed(CliCall& call) {
    const kavo_table_t table(call.vty, COLUMNS, {"  ", "   ", true});
    table.row({"HOME", 4, "-"});
    return 0;
}

int show_refusal(CliCall& call) {
    call.out("%% no\n");
    return 104001;
}

const kavo_cmd_t commands[] = {
    {{CONFIG_NODE}, "show atable", "Show\nTable\n", show_table},
    {{CONFIG_NODE}, "show utf8", "Show\nTable\n", show_utf8},
    {{CONFIG_NODE}, "show trimmed", "Show\nTable\n", show_trimmed},
    {{CONFIG_NODE}, "show refusal", "Show\nTable\n", show_refusal},
    {{CONFIG_NODE}, "spoil table", "Spoil\nTable\n", show_table},
};

// What a line prints, behind its result.
std::string answer(const std::string& line) {
    static const bool installed = [] {
        frr_master();
        frr_install_node(GPON_NODE);
        for (const auto node : {ONU_SRV_PROFILE_NODE, IF_NODE, IF_GPON_NODE, GPON_ONU_NODE})
            frr_install_node(node);
        kavo_table_vty_init();
        return kavo_cmd_install(commands) == static_cast<int>(std::size(commands));
    }();
    EXPECT_TRUE(installed);
    FrrSession session(CONFIG_NODE);
    const int result = session.run(line);
    return std::to_string(result) + ":" + session.output();
}

TEST(KavoTable, ColumnsStandUnderTheirHeadings) {
    EXPECT_EQ(answer("show atable"), "0:onu type     eth note  \n"
                                     "HOME           4 -     \n"
                                     "a\"b\\\x01\xe4     4294967289 x     \n"
                                     "               0\n"
                                     "total 3\n");
}

TEST(KavoTable, ACharacterOfUtf8TakesOnePlaceAndStandsInJsonAsItIs) {
    EXPECT_EQ(answer("show utf8"), "0:B\u00fcro \u20ac         4 M\xfcller\n");
    EXPECT_EQ(answer("json show utf8"),
              "0:{\"onu_type\":\"B\u00fcro \u20ac\",\"eth\":4,\"remark\":\"M\\u00fcller\"}\n");
}

TEST(KavoTable, MarginGapAndEndsOfLinesCanBeChosen) {
    EXPECT_EQ(answer("show trimmed"), "0:  HOME             4   -\n");
}

TEST(KavoTable, AsJsonEachRowIsAnObject) {
    EXPECT_EQ(answer("json show atable"),
              "0:{\"onu_type\":\"HOME\",\"eth\":4,\"remark\":null}\n"
              "{\"onu_type\":\"a\\\"b\\\\\\u0001\\u00e4\",\"eth\":4294967289,\"remark\":\"x\"}\n"
              "{\"onu_type\":null,\"eth\":0}\n");
}

TEST(KavoTable, TheNextCommandPrintsTextAgain) {
    const auto text = answer("show atable");
    EXPECT_EQ(answer("json show atable").find("total"), std::string::npos);
    EXPECT_EQ(answer("show atable"), text);
}

TEST(KavoTable, OnlyShowsCanBeAskedForAsJson) {
    EXPECT_EQ(answer("json spoil table"), "1:% json takes a command that begins with show\n");
    EXPECT_EQ(answer("json show nothing"), "1:% Unknown command: show nothing\n");
    EXPECT_EQ(answer("json show refusal"), "1:% no\n");
}

} // namespace
