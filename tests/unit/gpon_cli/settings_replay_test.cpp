// Every setting of every command: what is entered is saved, and what is saved makes the same again. Driven by
// the settings themselves, so that a new one is covered by its line of data.
#include "onu_fixture.h"

#include <sstream>

#include "cli_setting.h"
#include "ov_app_gpon_qos.h"
#include "rmServiceMacFilterDynamicTable.h"
#include "rmServiceMacFilterModeTable.h"
#include "sRmInfoTable.h"
#include "sRmMulticastTable.h"
#include "sRmOnuOptThresholdTable.h"
#include "sRmOnuPoeTable.h"
#include "sRmServiceTable.h"
#include "sRmTr069MgmtTable.h"
#include "sRmUniPmTable.h"
#include "sRmUniPoeTable.h"
#include "sRmUniStatusTable.h"
#include "sRmVoipConfigDataTable.h"
#include "sRmWifiTable.h"
#include "table_record.h"
#include "uplinkPmActTable.h"

namespace {

using Use = CliPreparedSetting::Use;
using Kind = CliSettingValue::Kind;
using Bytes = std::vector<char>;

// Where a setting is entered: a session, and the index columns of its object.
struct Place {
    enum node_type node;
    FrrSession* session;
    std::vector<uint32_t> index;
};

class SettingsReplay : public OnuCli {
protected:
    SettingsReplay() {
        add_port(1, 2);
        auto& onu = add_onu(1, 2, 7);
        set(onu.sOnuTableOnuName, "gpon-onu1/2:7");
        add_profile(5, "five", "KLM-618");
        add_bandwidth("gold");
        add_rows(1, 2, 7);
        add_rows(31, 15, 5);
        uplink_.vty->index = add_interface("xe1/3");
        active(uplinkPmActTable_createEntry(1, 1, 3));
        add_qos();
    }
    // What settings rest on: a hierarchical scheduler, and profiles.
    static void add_qos() {
        make_hierarchical("gpon-olt1/2");
        for (const uint32_t id : {1u, 7u}) {
            auto* profile = ov_app_cos_to_cos_map_profile_new();
            const uint32_t classes[OV_QOS_COS_NUM] = {id, id};
            ov_app_cos_to_cos_map_profile_edit_id(profile, id);
            ov_app_cos_to_cos_map_profile_edit_name(profile, "x");
            ov_app_cos_to_cos_map_profile_edit_mapped_cos(profile, classes, OV_QOS_COS_NUM);
            ASSERT_EQ(ov_app_cos_to_cos_mapping_profile_add(profile, SYNC_MIB | SYNC_APP), OV_QOS_OK);
        }
    }
    static void add_rows(int slot, int port, int onu) {
        set(active(sTcontTable_createEntry(1, slot, port, onu, 1))->sTcontTableBwProfileName, "gold");
        active(sGemTable_createEntry(1, slot, port, onu, 1))->sGemTableTcontID = 1;
        auto& service_port = *active(servicePortTable_createEntry(1, slot, port, onu, 1));
        service_port.servicePortGemId = 1;
        service_port.servicePortVlanAction = SERVICEPORTVLANACTION_ALLTRANSPARENT;
        active(sRmInfoTable_createEntry(1, slot, port, onu));
        active(sRmUniStatusTable_createEntry(1, slot, port, onu, 1, 1, 1)); // pots_1/1
        active(sRmUniPoeTable_createEntry(1, slot, port, onu, 1, 1, 1));
        active(sRmOnuPoeTable_createEntry(1, slot, port, onu));
        active(sRmTr069MgmtTable_createEntry(1, slot, port, onu));
        active(sRmOnuOptThresholdTable_createEntry(1, slot, port, onu));
        active(sRmServiceTable_createEntry(1, slot, port, onu, 1))->sRmServiceTableRmServiceType =
            SRMSERVICETABLERMSERVICETYPE_TRANSPARNT;
        active(rmServiceMacFilterModeTable_createEntry(1, slot, port, onu, 1));
        active(sRmVoipConfigDataTable_createEntry(1, slot, port, onu));
        for (const unsigned number : {1u, 5u}) {
            auto& wifi = *active(sRmWifiTable_createEntry(1, slot, port, onu, number));
            wifi.sRmWifiMode = number == 1 ? SRMWIFIMODE_B : SRMWIFIMODE_A;
            wifi.sRmWifiSecurityMode = SRMWIFISECURITYMODE_OPEN;
            set(wifi.sRmWifiName, "home");
        }
    }
    // The rows that come and go with a switch of another row: those that a setting works on.
    static void add_following_rows(const CliPreparedSetting& setting) {
        remove_all<ov_sRmUniPmTable_attr_t>();
        remove_all<ov_sRmMulticastTable_attr_t>();
        remove_all<ov_rmServiceMacFilterDynamicTable_attr_t>();
        for (const auto& [slot, port, onu] : {std::array{1, 2, 7}, {31, 15, 5}}) {
            active(rmServiceMacFilterDynamicTable_createEntry(1, slot, port, onu, 1));
            if (&setting.setting().object->table == &table_desc_sRmMulticastTable)
                active(sRmMulticastTable_createEntry(1, slot, port, onu, 1, 1, 1));
        }
    }

    // The places where a setting's command stands.
    std::vector<Place> places(const CliPreparedSetting& setting) {
        std::vector<Place> all;
        const Place every[] = {{IF_NODE, &uplink_, {1, 1, 3}},
                               {IF_GPON_NODE, &port_, {1, 1, 2}},
                               {GPON_ONU_NODE, &onu_, {1, 1, 2, 7}},
                               {ONU_SRV_PROFILE_NODE, &profile_, {1, 31, 15, 5}}};
        for (const Place& place : every)
            if (setting.stands_on(place.node))
                all.push_back(place);
        return all;
    }

    // The number of a row below the session's object: the least that the command takes.
    static int64_t number_of(const CliPreparedSetting& setting, size_t column) {
        const auto& words = setting.setting().object->words;
        for (size_t i = 0; i < setting.uses().size(); i++) {
            const Use& use = setting.uses()[i];
            if (use.what == Use::INDEX && words[use.number].column == static_cast<int>(column))
                return setting.syntax().arguments()[i].ranges.front().least;
        }
        return 1;
    }
    // The stored row that a setting is entered for: of the session's object, or the first one below it.
    static char* row_of(const CliPreparedSetting& setting, const Place& place) {
        const TableDesc& table = setting.setting().object->table;
        CliRow key(table);
        for (size_t i = 0; i < table.index.size(); i++)
            record_put<uint32_t>(key.get(), table.index[i].offset,
                                 i < place.index.size() ? place.index[i]
                                                        : static_cast<uint32_t>(number_of(setting, i)));
        return const_cast<char*>(
            static_cast<const char*>(table_module_find(table.registry_index)->find_row(key.get())));
    }
    static Bytes bytes_of(const CliPreparedSetting& setting, const Place& place) {
        const char* row = row_of(setting, place);
        return {row, row + setting.setting().object->table.entry_size};
    }
    static Bytes value_in(const CliPreparedSetting& setting, const CliColumnOf& column, const Bytes& row) {
        const ColumnDesc& desc = *setting.setting().object->table.column(static_cast<int>(column.column));
        return {row.begin() + desc.offset, row.begin() + desc.offset + desc.size};
    }
    static void restore(const CliPreparedSetting& setting, const Place& place, const Bytes& bytes) {
        add_following_rows(setting);
        std::copy(bytes.begin(), bytes.end(), row_of(setting, place));
    }

    // The lines that save the place's object.
    static std::vector<std::string> saved(const Place& place) {
        EXPECT_EQ(place.session->run("write terminal current"), CMD_SUCCESS);
        std::istringstream text(place.session->output());
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    }

    // All values that the last argument has: each choice, both ends of each range, texts short and long.
    static std::vector<std::string> values(const CliPreparedSetting& setting) {
        const CliSettingValue& value = setting.setting().value;
        if (value.kind == Kind::FIXED)
            return {""};
        const CliSyntax::Argument& argument = setting.syntax().arguments().back();
        std::vector<std::string> all = argument.keywords;
        for (const CliSyntax::Range& range : argument.ranges)
            all.insert(all.end(), {std::to_string(range.least), std::to_string(range.most)});
        if (value.kind == Kind::ADDRESS)
            all.insert(all.end(), {"10.0.0.1", "255.255.255.255"});
        else if (value.kind == Kind::INTEGER)
            all.insert(all.end(), {"-20", "0", "2147483647", "-2147483648"});
        else if (argument.is_variable)
            all.insert(all.end(), {"x", std::string(value.longest, 'y')});
        return all;
    }

    // The word of an index argument.
    static std::string index_word(const CliIndexWord& word, const CliPreparedSetting& setting,
                                  const Place& place) {
        return word.word != nullptr ? word.word(row_of(setting, place))
                                    : std::to_string(number_of(setting, static_cast<size_t>(word.column)));
    }
    // The command for a value.
    static std::string command(const CliPreparedSetting& setting, const Place& place,
                               const CliColumnOf& column, const std::string& value) {
        std::string text = setting.command().syntax;
        const auto arguments = setting.syntax().arguments();
        for (size_t i = arguments.size(); i-- > 0;) {
            const kavo_cmd_word_t& word = setting.syntax().words()[arguments[i].place];
            const Use::What what = setting.uses()[i].what;
            text.replace(
                word.begin, word.end - word.begin,
                what == Use::INDEX
                    ? index_word(setting.setting().object->words[setting.uses()[i].number], setting, place)
                : what == Use::COLUMN ? column.word
                                      : value);
        }
        return text;
    }

    static std::vector<std::string> added_to(const std::vector<std::string>& before,
                                             const std::vector<std::string>& after) {
        std::vector<std::string> added;
        for (const std::string& line : after)
            if (std::find(before.begin(), before.end(), line) == before.end())
                added.push_back(line);
        return added;
    }
    // Enters a value, clears it, replays what was saved of it, and compares.
    void check(const CliPreparedSetting& setting, const Place& place, const CliColumnOf& column,
               const std::string& line) {
        const Bytes before = bytes_of(setting, place);
        const auto lines_before = saved(place);
        EXPECT_EQ(run(*place.session, line), "") << line;
        const Bytes entered = bytes_of(setting, place);
        const auto lines = saved(place);
        const auto added = added_to(lines_before, lines);
        EXPECT_EQ(lines.size(), lines_before.size() + added.size()) << line;

        restore(setting, place, before);
        EXPECT_EQ(saved(place), lines_before) << line;
        for (const std::string& replayed : added)
            EXPECT_EQ(run(*place.session, replayed), "") << replayed;
        if (added.empty()) // what has no line has the column's default: as it was
            EXPECT_EQ(value_in(setting, column, entered), value_in(setting, column, before)) << line;
        else
            EXPECT_EQ(bytes_of(setting, place), entered) << line;
        EXPECT_EQ(saved(place), lines) << line;
        restore(setting, place, before);
        entered_ += added.empty() ? 0 : 1;
    }
    void check(const CliPreparedSetting& setting, const Place& place) {
        for (const CliColumnOf& column : setting.columns())
            for (const std::string& value : values(setting))
                check(setting, place, column, command(setting, place, column, value));
    }

    // Whether the command can give a column this number.
    static bool can_give(const CliPreparedSetting& setting, int64_t number) {
        for (const ColName& word : setting.setting().value.words)
            if (word.value == number)
                return true;
        return setting.syntax().arguments().back().can_hold(number);
    }

    FrrSession uplink_{IF_NODE};
    int entered_ = 0; // lines that were saved
};

CLI_TEST(SettingsReplay, WhatIsEnteredIsSavedAndMakesTheSame) {
    EXPECT_GT(cli_settings().size(), 25u);
    for (const CliPreparedSetting& setting : cli_settings()) {
        add_following_rows(setting);
        const auto where = places(setting);
        EXPECT_FALSE(where.empty()) << setting.command().syntax << ": a node that this test doesn't know";
        for (const Place& place : where) {
            ASSERT_NE(row_of(setting, place), nullptr)
                << setting.command().syntax << ": make a row for it in this test's fixture";
            check(setting, place);
        }
    }
    EXPECT_GT(entered_, 20);
}

// What a manager wrote and no command gives isn't saved: a replay ends the block at the first line that is
// refused.
CLI_TEST(SettingsReplay, NumbersBesideTheSyntaxAreNotSaved) {
    for (const CliPreparedSetting& setting : cli_settings()) {
        if (setting.setting().value.kind != Kind::NUMBER)
            continue;
        add_following_rows(setting);
        for (const Place& place : places(setting))
            for (const CliColumnOf& column : setting.columns()) {
                const Bytes before = bytes_of(setting, place);
                const auto lines_before = saved(place);
                const ColumnDesc& desc =
                    *setting.setting().object->table.column(static_cast<int>(column.column));
                for (const int64_t number : {int64_t{-1}, int64_t{19}, int64_t{35}, int64_t{0x7fffffff}}) {
                    const bool has_sign = desc.type != ColType::UINT;
                    if (can_give(setting, has_sign ? number : static_cast<uint32_t>(number)))
                        continue;
                    record_put<int32_t>(row_of(setting, place), desc.offset, static_cast<int32_t>(number));
                    EXPECT_EQ(saved(place), lines_before) << setting.command().syntax << " " << number;
                }
                restore(setting, place, before);
            }
    }
}

} // namespace
