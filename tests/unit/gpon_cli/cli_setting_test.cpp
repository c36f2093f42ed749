// Settings of kinds that no command has yet, on an invented table: texts, addresses, words for numbers, and
// rows below the session's object that two numbers, or one word, tell apart.
#include "onu_fixture.h"

#include <arpa/inet.h>
#include <cstddef>

#include "cli_command_rows.h"

namespace {

struct Lamp {
    mib_long shelf = 0, slot = 0, port = 0, onu = 0, card = 0, uni = 0;
    mib_long mode = 0;
    mib_ulong power = 0;
    char url[41] = "";
    mib_ulong server = 0;
    mib_long lit = 0;
    mib_long source = 0;
};

constexpr ColumnDesc number(const char* name, uint8_t number, ColType type, size_t offset, int64_t dflt = 0) {
    return {name, number, type, ColAccess::READ_CREATE, static_cast<uint16_t>(offset), 0, 4, 0, 0, 0,
            {},   dflt,   ""};
}
constexpr ColumnDesc INDEX[] = {
    number("shelf", 0, ColType::INT, offsetof(Lamp, shelf)),
    number("slot", 0, ColType::INT, offsetof(Lamp, slot)),
    number("port", 0, ColType::INT, offsetof(Lamp, port)),
    number("onu", 0, ColType::INT, offsetof(Lamp, onu)),
    number("card", 0, ColType::INT, offsetof(Lamp, card)),
    number("uni", 0, ColType::INT, offsetof(Lamp, uni)),
};
enum : unsigned { MODE = 3, POWER, URL, SERVER, LIT, SOURCE };
constexpr ColumnDesc COLUMNS[] = {
    number("mode", MODE, ColType::INT, offsetof(Lamp, mode), 1),
    number("power", POWER, ColType::UINT, offsetof(Lamp, power)),
    {"url", URL, ColType::TEXT, ColAccess::READ_CREATE, offsetof(Lamp, url), 0, 41, 40, 0, 40, {}, 0, ""},
    number("server", SERVER, ColType::IPADDR, offsetof(Lamp, server)),
    number("lit", LIT, ColType::INT, offsetof(Lamp, lit)),
    number("source", SOURCE, ColType::INT, offsetof(Lamp, source), 1),
};
const TableDesc LAMPS = {"lamps", 0, {}, RowUse::STORED, true, 24, sizeof(Lamp), INDEX, COLUMNS, nullptr};

// The application: what it was asked for.
Lamp stored;
MIB_Flags_t asked;
int answer = OV_GPON_RET_OK;

int edit_lamp(void* row, const MIB_Flags_t& columns) {
    stored = *static_cast<const Lamp*>(row);
    asked = columns;
    return answer;
}

// "lamp_1/2", as UNIs are called.
int put_lamp_word(const CliCall& call, const char* word, void* row) {
    auto& lamp = *static_cast<Lamp*>(row);
    if (sscanf(word, "lamp_%d/%d", &lamp.card, &lamp.uni) == 2)
        return 0;
    call.line("%%Bad format LAMP %s", word);
    return KAVO_CLI_FAILED;
}
std::string lamp_word(const void* row) {
    const auto& lamp = *static_cast<const Lamp*>(row);
    return lamp.uni != 0 ? "lamp_" + std::to_string(lamp.card) + "/" + std::to_string(lamp.uni) : "";
}

constexpr CliIndexWord BY_WORD[] = {{.name = "LAMP", .put = put_lamp_word, .word = lamp_word}};
constexpr CliIndexWord BY_NUMBERS[] = {{.name = "card", .column = 4}, {.name = "socket", .column = 5}};
const CliObject lamp = {LAMPS, INDEX_TO_ONU, edit_lamp, BY_WORD};
const CliObject socket_lamp = {LAMPS, INDEX_TO_ONU, edit_lamp, BY_NUMBERS, "%%No lamp %d%s"};

const CliObject lamps = {LAMPS, INDEX_TO_ONU, edit_lamp};
const CliObject dark_lamp = {.table = LAMPS,
                             .from_session = INDEX_TO_ONU,
                             .edit = edit_lamp,
                             .words = BY_WORD,
                             .absent = "%s isn't screwed in"};

int may_flicker(const CliCall& call, const void* row) {
    return static_cast<const Lamp*>(row)->lit == 0 ? 0 : call.fail("%%Lamps must not flicker%s", 104002);
}

std::string usual_url(const void* row) {
    return "http://" + std::to_string(static_cast<const Lamp*>(row)->onu);
}

constexpr ColName MODES[] = {{1, "auto"}, {2, "warm"}, {3, "cold"}};
constexpr ColName OWN[] = {{-7, "own"}};
constexpr char FAILURE[] = "%%Failed to set lamp %d to %w%s";

const CliCommand commands[] = {
    // clang-format off
    GPON_SETTING(, NODES(O, S), "remote lamp LAMP mode (auto|warm|cold)", "", lamp, MODE, WORDS(MODES), FAILURE)
    GPON_SETTING(, NODES(O, S), "remote lamp LAMP power <0-4294967295>", "", lamp, POWER, NUMBER, FAILURE)
    GPON_SETTING(, NODES(O), "remote lamp LAMP url STRING", "", lamp, URL, TEXT(40, "%%Bad url%s"), FAILURE, .usual = usual_url)
    GPON_SETTING(, NODES(O), "no remote lamp LAMP url", "", lamp, URL, USUAL, FAILURE, .usual = usual_url)
    GPON_SETTING(, NODES(O), "remote lamp LAMP server  A.B.C.D", "", lamp, SERVER, ADDRESS, FAILURE, .with = {SOURCE, 2})
    GPON_SETTING(, NODES(O), "remote lamp LAMP lit", "", lamp, LIT, FIXED(1), FAILURE, .place = -1)
    GPON_SETTING(, NODES(O), "remote lamp LAMP flicker (enable|disable)", "", dark_lamp, LIT, SWITCH, FAILURE, .allowed = may_flicker)
    GPON_SETTING(, NODES(O), "remote lamps (lit|source) (VALUE|own)", "", lamps, 0, INTEGER(OWN, "%%Bad value %w of lamps%s"),
                 "%%Failed to set %s %s%s", .by = {{"lit", LIT}, {"source", SOURCE}})
    GPON_SETTING(, NODES(O), "remote card <1-4> socket <1-8> (enable|disable)", "", socket_lamp, LIT, SWITCH, FAILURE)
    // clang-format on
};
const CliCommand wrong[] = {
    GPON_SETTING(, NODES(O), "remote lamp LAMP <1-4> lit", "", lamp, LIT, FIXED(1), FAILURE) //
    GPON_SETTING(, NODES(O), "remote all lamps (enable|disable)", "", lamp, LIT, SWITCH, FAILURE)};

class Lamps : public OnuCli {
protected:
    Lamps() {
        cli_install(commands);
        stored = {};
        answer = OV_GPON_RET_OK;
    }
    static bool is_asked(unsigned column) { return mib_flag_is_set(asked, column); }
    // The lines that save what is stored.
    static std::string saved(const CliObject& object = lamp, enum node_type node = GPON_ONU_NODE) {
        FrrSession session(CONFIG_NODE);
        const int lines = cli_settings_print(session.vty, object, &stored, node);
        std::string text = session.output();
        EXPECT_EQ(lines, std::count(text.begin(), text.end(), '\n'));
        return text;
    }
    // Enters a line, saves what came of it, and enters that.
    void expect_replayed(const std::string& line) {
        EXPECT_EQ(run(onu_, line), "");
        const Lamp entered = stored;
        EXPECT_EQ(saved(), " " + line + "\n");
        stored = {};
        EXPECT_EQ(run(onu_, line), "");
        EXPECT_EQ(memcmp(&stored, &entered, sizeof entered), 0) << line;
    }
};

CLI_TEST(Lamps, AreFoundByTheSessionAndTheWordOfTheCommand) {
    EXPECT_EQ(run(onu_, "remote lamp lamp_3/4 mode warm"), "");
    EXPECT_EQ(std::tie(stored.shelf, stored.slot, stored.port, stored.onu, stored.card, stored.uni),
              std::make_tuple(1, 1, 2, 7, 3, 4));
    EXPECT_TRUE(is_asked(MODE));
    EXPECT_FALSE(is_asked(POWER));
    EXPECT_EQ(run(profile_, "remote lamp lamp_1/1 mode cold"), "");
    EXPECT_EQ(std::tie(stored.slot, stored.port, stored.onu), std::make_tuple(31, 15, 5));
    EXPECT_EQ(run(onu_, "remote lamp other mode cold", 104006), "%Bad format LAMP other\n");
}

CLI_TEST(Lamps, AreFoundByTwoNumbers) {
    EXPECT_EQ(run(onu_, "remote card 3 socket 8 enable", 104001), "%No lamp 8\n");
    stored = {.card = 3, .uni = 8, .lit = 1};
    EXPECT_EQ(saved(socket_lamp), " remote card 3 socket 8 enable\n");
    stored.card = 5; // no command has it
    EXPECT_EQ(saved(socket_lamp), "");
}

CLI_TEST(Lamps, WordsStandForNumbers) {
    expect_replayed("remote lamp lamp_1/2 mode warm");
    EXPECT_EQ(stored.mode, 2);
    EXPECT_EQ(run(onu_, "remote lamp lamp_1/2 mode a"), "");
    EXPECT_EQ(stored.mode, 1);
    EXPECT_EQ(saved(), "") << "the default";
    stored.mode = 4;
    EXPECT_EQ(saved(), "") << "no word";
}

CLI_TEST(Lamps, NumbersHaveTheirWholeRange) {
    stored = {.mode = 1};
    expect_replayed("remote lamp lamp_1/2 power 4294967295");
    EXPECT_EQ(stored.power, 4294967295u);
}

CLI_TEST(Lamps, IntegersHaveASignAndNamesForSome) {
    for (const char* number : {"-2147483648", "-1", "2147483647"}) {
        EXPECT_EQ(run(onu_, std::string("remote lamps lit ") + number), "");
        EXPECT_EQ(std::to_string(stored.lit), number);
        EXPECT_TRUE(is_asked(LIT) && !is_asked(SOURCE));
        stored.source = 1;
        EXPECT_EQ(saved(lamps), std::string(" remote lamps lit ") + number + "\n");
    }
    EXPECT_EQ(run(onu_, "remote lamps source own"), "");
    EXPECT_EQ(stored.source, -7);
    EXPECT_EQ(saved(lamps), " remote lamps source -7\n");
}

CLI_TEST(Lamps, WhatIsNoIntegerIsRefusedAsItWasTyped) {
    asked = {};
    for (const char* word : {"x", "1x", "1.0", "+1", "2147483648", "-2147483649", "%s%n%d%w"})
        EXPECT_EQ(run(onu_, std::string("remote lamps lit ") + word, 104001),
                  std::string("%Bad value ") + word + " of lamps\n");
    EXPECT_FALSE(is_asked(LIT));
    answer = 1003;
    EXPECT_EQ(run(onu_, "remote lamps source own", 104006), "%Failed to set source own\n");
}

CLI_TEST(Lamps, WhatMustHoldIsAskedInFrontOfTheWrite) {
    asked = {};
    EXPECT_EQ(run(onu_, "remote lamp lamp_1/2 flicker enable", 104002), "%Lamps must not flicker\n");
    EXPECT_FALSE(is_asked(LIT));
    EXPECT_EQ(run(onu_, "remote lamp lamp_1/2 flicker disable"), "");
    EXPECT_TRUE(is_asked(LIT));
}

CLI_TEST(Lamps, AReasonIsGivenForARowThatIsNotThere) {
    answer = 1003;
    run(onu_, "remote lamp lamp_1/2 flicker disable", 104006);
    EXPECT_THAT(log_.lines(), testing::Contains(testing::HasSubstr("lamp_1/2 isn't screwed in")));
}

CLI_TEST(Lamps, TextsAreAsLongAsTheColumn) {
    stored = {.mode = 1};
    EXPECT_EQ(run(onu_, "remote lamp lamp_1/2 url " + std::string(41, 'u'), 104006), "%Bad url\n");
    expect_replayed("remote lamp lamp_1/2 url " + std::string(40, 'u'));
    EXPECT_EQ(run(onu_, "no remote lamp lamp_1/2 url"), "");
    EXPECT_STREQ(stored.url, "http://7");
    EXPECT_EQ(saved(), "");
    strcpy(stored.url, "two words");
    EXPECT_EQ(saved(), "");
}

CLI_TEST(Lamps, AddressesAreKeptInNetworkOrderWithTheirCompanion) {
    EXPECT_EQ(run(onu_, "remote lamp lamp_1/2 server 10.0.0.1"), "");
    EXPECT_EQ(stored.server, htonl(0x0a000001));
    EXPECT_EQ(stored.source, 2);
    EXPECT_TRUE(is_asked(SERVER) && is_asked(SOURCE));
    stored.mode = 1;
    strcpy(stored.url, "http://7");
    EXPECT_EQ(saved(), " remote lamp lamp_1/2 server  10.0.0.1\n");
    stored.source = 1;
    EXPECT_EQ(saved(), "") << "chosen another way";
}

CLI_TEST(Lamps, AreSavedInTheirOrderAndOnTheirNodes) {
    stored = {.onu = 7, .card = 1, .uni = 2, .mode = 3, .power = 5, .lit = 1};
    strcpy(stored.url, "http://7");
    EXPECT_EQ(saved(), " remote lamp lamp_1/2 lit\n"
                       " remote lamp lamp_1/2 mode cold\n"
                       " remote lamp lamp_1/2 power 5\n");
    EXPECT_EQ(saved(lamp, ONU_SRV_PROFILE_NODE), " remote lamp lamp_1/2 mode cold\n"
                                                 " remote lamp lamp_1/2 power 5\n");
    stored.uni = 0; // no word names it
    EXPECT_EQ(saved(), "");
}

CLI_TEST(Lamps, AFailureTellsNumberAndValue) {
    answer = 1003;
    EXPECT_EQ(run(onu_, "remote lamp lamp_1/2 mode w", 104006), "%Failed to set lamp 2 to warm\n");
}

CLI_TEST(Lamps, ASettingWithAnArgumentWithoutAMeaningIsLeftOut) {
    const size_t before = cli_settings().size();
    testing::internal::CaptureStderr();
    cli_install(wrong);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("has an argument without a meaning"));
    EXPECT_EQ(cli_settings().size(), before);
}

} // namespace
