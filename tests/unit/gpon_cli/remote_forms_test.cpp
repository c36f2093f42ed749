// The commands that make rows behind an ONU in many forms: every form with every word that it has, and both
// ends of what its arguments take, entered, saved, entered again. Driven by the syntaxes themselves.
#include "remote_fixture.h"

#include <random>
#include <sstream>

#include "cli_forms.h"
#include "command_syntaxes.h"
#include "rm/ov_gpon_rm_wan_forms.h"
#include "sRmVoipSipAgentConfigTable.h"
#include "sRmVoipSipUserDataTable.h"
#include "sRmWanTable.h"
#include "sRmWifiTable.h"
#include "table_record.h"

namespace {

using Wan = ov_sRmWanTable_attr_t;
using Wifi = ov_sRmWifiTable_attr_t;
using Agent = ov_sRmVoipSipAgentConfigTable_attr_t;
using User = ov_sRmVoipSipUserDataTable_attr_t;
using Texts = std::vector<std::string>;

// What an argument of a command may be.
Texts samples_of_word(const std::string& name, const std::string& keyword, const std::string& line) {
    const auto long_text = [](size_t size) { return std::string(size, 'y'); };
    if (name == "A.B.C.D" && keyword == "netmask")
        return {"255.255.255.0", "255.255.255.255", "128.0.0.0"};
    if (name == "A.B.C.D")
        return {"10.0.0.1", "1.0.0.0", "223.255.255.254"};
    if (name == "ETH" || name == "SSID")
        return {"1", "4", "1,3", "1,2,3,4"};
    if (name == "SSIDADC")
        return {"5", "8", "6,8", "5,6,7,8"};
    if (name == "SSIDNAME")
        return {"n", "home|net", long_text(32)};
    if (name == "SHAREKEY")
        return {"12345678", long_text(63)};
    if (name == "KEYVALUE" && line.find("wep-64bits") != line.npos)
        return {"keyhi", "0123456789", "abcdefABCD"};
    if (name == "KEYVALUE")
        return {"keyhikeyhikey", "0123456789abcdefABCDEF0123"};
    if (name == "POTS")
        return {"pots_1/1"};
    if (name == "USERNAME" && keyword == "username")
        return {"u", long_text(50)};
    if (name == "STRING" && keyword != "display-name")
        return {"x", "sip.net:5060/a?b", long_text(128)};
    return {"z", "vlan-mode", long_text(25)};
}

class RemoteForms : public RemoteCli {
protected:
    RemoteForms() {
        active(sRmVoipSipUserDataTable_createEntry(1, 3, 2, 7, POTS, 1, 1));
        LogCapture::clear();
    }

    // Where the commands stand: a session, and its object.
    struct Place {
        FrrSession* session;
        const char* node;
        int slot, port, onu;
    };
    std::vector<Place> places() { return {{&far_, "O", 3, 2, 7}, {&profile_, "S", 31, 15, 5}}; }

    // All texts that an argument may have, in a line that is complete but for it.
    static Texts samples(const CliSyntax& syntax, const CliSyntax::Argument& argument,
                         const std::string& line) {
        const kavo_cmd_word_t& word = syntax.words()[argument.place];
        Texts all = argument.keywords;
        for (const CliSyntax::Range& range : argument.ranges)
            all.insert(all.end(), {std::to_string(range.least), std::to_string(range.most)});
        if (argument.is_variable)
            all = samples_of_word(word.alternatives[0], syntax.words()[argument.place - 1].alternatives[0],
                                  line);
        return all;
    }
    static std::string filled(const std::string& syntax, const CliSyntax& parsed, const Texts& values) {
        std::string line = syntax;
        for (size_t i = values.size(); i-- > 0;) {
            const kavo_cmd_word_t& word = parsed.words()[parsed.arguments()[i].place];
            line.replace(word.begin, word.end - word.begin, values[i]);
        }
        return line.substr(0, line.find_last_not_of(' ') + 1);
    }
    // Lines of a syntax: one with the first that each argument may be, and for each argument others with all
    // that it may be.
    static Texts lines_of(const std::string& syntax) {
        const CliSyntax parsed(syntax);
        Texts values(parsed.arguments().size());
        for (int round = 0; round < 2; round++) // what a word may be depends on others
            for (size_t i = 0; i < values.size(); i++)
                values[i] = samples(parsed, parsed.arguments()[i], filled(syntax, parsed, values)).front();
        Texts lines = {filled(syntax, parsed, values)};
        for (size_t i = 0; i < values.size(); i++)
            for (const std::string& value : samples(parsed, parsed.arguments()[i], lines.front())) {
                Texts others = values;
                others[i] = value;
                for (size_t k = i + 1; k < values.size(); k++)
                    others[k] =
                        samples(parsed, parsed.arguments()[k], filled(syntax, parsed, others)).front();
                lines.push_back(filled(syntax, parsed, others));
            }
        std::erase_if(lines, [](const std::string& line) {
            return line.find("mode 802.11n/a") != line.npos && line.find("20/40/80MHz") != line.npos;
        });
        return lines;
    }
    static Texts syntaxes_of(const std::string& beginning, const std::string& with) {
        Texts all;
        for (const std::string syntax : gpon_command_syntaxes())
            if (syntax.starts_with(beginning) && syntax.find(with) != syntax.npos)
                all.push_back(syntax);
        return all;
    }

    // The lines that save an object's rows of a kind.
    static Texts saved(const Place& place, const std::string& beginning) {
        EXPECT_EQ(place.session->run("write terminal current"), CMD_SUCCESS);
        std::istringstream text(place.session->output());
        Texts lines;
        for (std::string line; std::getline(text, line);)
            if (line.starts_with(" " + beginning))
                lines.push_back(line.substr(1));
        return lines;
    }
    // A row's values as texts, without what the application keeps for itself.
    template <typename Row>
    static Texts values_of(const Row& row) {
        Texts values;
        for (const ColumnDesc& column : table_of<Row>::module().desc().columns)
            if (column.type != ColType::ROWSTATUS)
                values.push_back(
                    std::string(reinterpret_cast<const char*>(&row) + column.offset, column.size));
        return values;
    }
    template <typename Row>
    static std::vector<Texts> rows(const Place& place) {
        std::vector<Texts> all;
        for (const Row& row : rows_under(onu_key<Row>(place.slot, place.port, place.onu), INDEX_TO_ONU))
            all.push_back(values_of(row));
        return all;
    }

    // Enters every line of every form, saves it, takes it back, replays what was saved, and compares.
    template <typename Row>
    int check_all(const Place& place, const std::string& beginning, const std::string& with) {
        int entered = 0;
        const auto empty = rows<Row>(place);
        for (const std::string& syntax : syntaxes_of(beginning, with))
            for (const std::string& line : lines_of(syntax)) {
                EXPECT_EQ(run(*place.session, line), "") << line;
                const auto made = rows<Row>(place);
                EXPECT_NE(made, empty) << line;
                const Texts lines = saved(place, beginning);
                EXPECT_EQ(lines, Texts{line}) << line;
                run(*place.session, undo(line));
                EXPECT_EQ(rows<Row>(place), empty) << line;
                EXPECT_EQ(saved(place, beginning), Texts{}) << line;
                for (const std::string& again : lines)
                    EXPECT_EQ(run(*place.session, again), "") << again;
                EXPECT_EQ(rows<Row>(place), made) << line;
                EXPECT_EQ(saved(place, beginning), lines) << line;
                run(*place.session, undo(line));
                entered++;
            }
        return entered;
    }
    // "no" and the first three words of a line.
    static std::string undo(const std::string& line) {
        size_t end = 0;
        for (int word = 0; word < 3; word++)
            end = line.find(' ', end + 1);
        return "no " + line.substr(0, end);
    }
};

CLI_TEST(RemoteForms, EveryFormOfAWanConnectionIsSavedAndMakesTheSame) {
    EXPECT_EQ(syntaxes_of("remote wan ", "").size(), 35u);
    for (const Place& place : places())
        EXPECT_GT(check_all<Wan>(place, "remote wan ", ""), 35 * 15);
}

CLI_TEST(RemoteForms, EveryFormOfAWirelessNetworkIsSavedAndMakesTheSame) {
    EXPECT_EQ(syntaxes_of("remote wifi ", " mode ").size(), 12u);
    for (const Place& place : places())
        EXPECT_GT(check_all<Wifi>(place, "remote wifi ", " mode "), 12 * 12);
}

CLI_TEST(RemoteForms, ASipAgentIsSavedAndMakesTheSame) {
    for (const Place& place : places())
        EXPECT_GT(check_all<Agent>(place, "remote sip-agent ", ""), 15);
}

CLI_TEST(RemoteForms, ASipUserIsSavedAndMakesTheSame) {
    EXPECT_GT(check_all<User>(places()[0], "remote sip-user ", ""), 10);
}

// ---- what can't be typed is in no saved configuration -----------------------------------------------------

CLI_TEST(RemoteForms, ARowThatNoFormSaysHasNoLineAndTheLogTells) {
    const Place place = places()[0];
    const std::string line = "remote wan 2 route voice_internet pppoe me secret service vlan-mode tag 100 "
                             "priority 3 eth 1,2 ssid 1 ssid-5g 5";
    EXPECT_EQ(run(far_, line), "");
    auto key = onu_key<Wan>(3, 2, 7);
    key.sRmWanIndex = 2;
    auto& wan = const_cast<Wan&>(*find_row(key));
    const Wan made = wan;
    using Change = void (*)(Wan&);
    const Change changes[] = {
        [](Wan& row) { row.sRmWanMode = 0; },
        [](Wan& row) { row.sRmWanMode = SRMWANMODE_BRIDGE; }, // of this type there is none
        [](Wan& row) { row.sRmWanType = SRMWANTYPE_VOICE; },  // it has no bindings
        [](Wan& row) { row.sRmWanType = 9; },
        [](Wan& row) { row.sRmWanDSP = 0; },
        [](Wan& row) { row.sRmWanDSP = SRMWANDSP_STATIC; }, // without addresses
        [](Wan& row) { row.sRmWanVlan = 0; },
        [](Wan& row) { row.sRmWanVlan = 4095; },
        [](Wan& row) { row.sRmWanVlanMode = 0; },
        [](Wan& row) { row.sRmWanVlanCos = 8; },
        [](Wan& row) { row.sRmWanBindLan = 16; },
        [](Wan& row) { row.sRmWanBindLan = -1; },
        [](Wan& row) { row.sRmWanBindLan = 0; }, // none for both networks alone
        [](Wan& row) { row.sRmWanBindSsid5G = 17; },
        [](Wan& row) { set(row.sRmWanPppUser, ""); },
        [](Wan& row) { set(row.sRmWanPppPwd, "two words"); },
        [](Wan& row) { set(row.sRmWanPppSrvName, "x\nno remote wan 2"); },
        [](Wan& row) { row.sRmWanEnable = 0; },
    };
    for (const Change change : changes) {
        change(wan);
        EXPECT_EQ(saved(place, "remote wan"), Texts{}) << &change - changes;
        wan = made;
    }
    EXPECT_EQ(saved(place, "remote wan"), Texts{line});
    wan.sRmWanEnable = 0;
    FrrSession session(ENABLE_NODE);
    EXPECT_EQ(session.run("write file"), CMD_SUCCESS);
    EXPECT_THAT(log_.lines(), testing::Contains(testing::HasSubstr(
                                  "gpon-onu3/2:7 wan 2 is in no saved configuration: no command makes it")));
}

// What another kind of connection would need doesn't count.
CLI_TEST(RemoteForms, ValuesWithoutAMeaningAreLeftOut) {
    const Place place = places()[0];
    const std::string line = "remote wan 1 bridge other bridge-mode ip-bridge vlan-mode tag 7 priority 0";
    EXPECT_EQ(run(far_, line), "");
    auto key = onu_key<Wan>(3, 2, 7);
    key.sRmWanIndex = 1;
    auto& wan = const_cast<Wan&>(*find_row(key));
    wan.sRmWanDSP = SRMWANDSP_PPPOE;
    set(wan.sRmWanPppUser, "left over");
    EXPECT_EQ(saved(place, "remote wan"), Texts{line});
}

CLI_TEST(RemoteForms, AWirelessNetworkThatNoFormSaysHasNoLine) {
    const Place place = places()[0];
    const std::string line =
        "remote wifi 1 mode 802.11b channel auto ssid-name home security-mode wep-128bits "
        "wep-auth share key-index 2 1234567890123";
    EXPECT_EQ(run(far_, line), "");
    auto key = onu_key<Wifi>(3, 2, 7);
    key.sRmWifiIndex = 1;
    auto& wifi = const_cast<Wifi&>(*find_row(key));
    const Wifi made = wifi;
    using Change = void (*)(Wifi&);
    const Change changes[] = {
        [](Wifi& row) { row.sRmWifiMode = SRMWIFIMODE_A; }, // at 5 GHz
        [](Wifi& row) { row.sRmWifiMode = SRMWIFIMODE_N; }, // without a bandwidth
        [](Wifi& row) { row.sRmWifiMode = 9; },
        [](Wifi& row) { row.sRmWifiChannel = 14; },
        [](Wifi& row) { row.sRmWifiBandwidth = SRMWIFIBANDWIDTH_MHZ20; },
        [](Wifi& row) { set(row.sRmWifiName, ""); },
        [](Wifi& row) { set(row.sRmWifiName, "our home"); },
        [](Wifi& row) { row.sRmWifiSecurityMode = 0; },
        [](Wifi& row) { row.sRmWifiSecurityMode = SRMWIFISECURITYMODE_WEP64; }, // of another length
        [](Wifi& row) { row.sRmWifiSecurityMode = SRMWIFISECURITYMODE_WPA_PSK; },
        [](Wifi& row) { row.sRmWifiWepAuth = 0; },
        [](Wifi& row) { row.sRmWifiKeyIndex = 0; },
        [](Wifi& row) { row.sRmWifiKeyIndex = 3; }, // there is no such key
        [](Wifi& row) { row.sRmWifiKeyIndex = 5; },
        [](Wifi& row) { row.sRmWifiBroadcastCancel = 1; },
    };
    for (const Change change : changes) {
        change(wifi);
        EXPECT_EQ(saved(place, "remote wifi"), Texts{}) << &change - changes;
        wifi = made;
    }
    EXPECT_EQ(saved(place, "remote wifi"), Texts{line});
}

// What a manager may do to rows: other values in some columns, near what commands give and far from it.
class Manager {
public:
    size_t choose(size_t among) { return std::uniform_int_distribution<size_t>(0, among - 1)(random_); }
    template <typename Row>
    void change(Row& row) {
        const auto columns = table_of<Row>::module().desc().columns;
        for (size_t times = choose(4); times > 0; times--) {
            const ColumnDesc& column = columns[choose(columns.size())];
            fill(column, reinterpret_cast<char*>(&row) + column.offset);
        }
    }

private:
    int number(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }
    void fill(const ColumnDesc& column, char* at) {
        const uint32_t address = static_cast<uint32_t>(number(0, 0x7fffffff));
        const int value = number(0, 3) == 0 ? number(-1, 4100) : number(0, 16);
        if (column.type == ColType::TEXT) {
            memset(at, 0, column.size);
            for (int length = number(0, column.limit); length > 0; length--)
                *at++ = static_cast<char>(number(0, 99) == 0 ? number(1, 255) : number('!', 'z'));
        } else if (column.type == ColType::IPADDR) {
            memcpy(at, &address, sizeof address);
        } else if (column.type != ColType::ROWSTATUS) {
            memcpy(at, &value, sizeof value);
        }
    }

    std::mt19937 random_{7};
};

CLI_TEST(RemoteForms, WhatIsSavedOfAChangedRowMakesTheSameLine) {
    const Place place = places()[0];
    Manager manager;
    int saved_rows = 0;
    const auto play = [&]<typename Row>(Row* /*type*/, const std::string& beginning, const Texts& lines,
                                        const CliRowForms& forms) {
        run(far_, lines[manager.choose(lines.size())]);
        Row row = rows_copied(onu_key<Row>(3, 2, 7), INDEX_TO_ONU)[0];
        manager.change(row);
        remove_all<Row>();
        const std::string line = forms.line(&row);
        if (line.empty())
            return;
        EXPECT_EQ(run(far_, line), "") << line;
        EXPECT_EQ(saved(place, beginning), Texts{line});
        remove_all<Row>();
        saved_rows++;
    };
    const auto all_lines = [](const std::string& beginning, const std::string& with) {
        Texts lines;
        for (const std::string& syntax : syntaxes_of(beginning, with))
            for (const std::string& line : lines_of(syntax))
                lines.push_back(line);
        return lines;
    };
    const Texts wans = all_lines("remote wan ", "");
    const Texts networks = all_lines("remote wifi ", " mode ");
    for (int i = 0; i < 2000; i++) {
        play(static_cast<Wan*>(nullptr), "remote wan ", wans, gpon_rm_wan_forms());
        play(static_cast<Wifi*>(nullptr), "remote wifi ", networks, gpon_rm_wifi_forms());
    }
    EXPECT_GT(saved_rows, 1000);
    EXPECT_LT(saved_rows, 3500);
}

CLI_TEST(RemoteForms, ASwitchedOffNetworkIsSavedBehindItself) {
    for (const Place& place : places()) {
        const std::string line = "remote wifi 6 mode 802.11a channel 36 ssid-name home security-mode open";
        EXPECT_EQ(run(*place.session, line), "");
        EXPECT_EQ(run(*place.session, "remote wifi 6 disable"), "");
        EXPECT_EQ(run(*place.session, "remote wifi 6 ssid disable"), "");
        EXPECT_EQ(saved(place, "remote wifi"),
                  (Texts{line, "remote wifi 6 disable", "remote wifi 6 ssid disable"}));
        EXPECT_EQ(run(*place.session, "remote wifi 6 ssid enable"), "");
        EXPECT_EQ(saved(place, "remote wifi"), (Texts{line, "remote wifi 6 disable"}));
    }
}

} // namespace
