// Settings: commands that give one value to one column of one row. Each is a line of data in a file of
// commands (commands/README.md tells its form), and from the line follow the command with its help, what it
// asks of the application, the line that saves it, and its part in the tests.
//
//   GPON_SETTING(ov_gpon_onu_mac_limit_cli, NODES(S, O), "service-port <1-32> mac-limit <0-4095>",
//                HELP, service_port, servicePortMacLimit, NUMBER, "%%Could not set service port: %d%s")
//
// A setting is saved by its own command, in the words of its syntax, when the row's value isn't the column's
// default and the command can give it (managers can write others). Ranges and choices are those of the
// syntax.
//
// Everything here is constant after the start. Main thread.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "cli_call.h"
#include "cli_forms.h"
#include "mmg_access.h"
#include "table_desc.h"

// ---- rows ----------------------------------------------------------------------------------------------

// A word of the command that is part of the row's index.
struct CliIndexWord {
    const char* name; // of the argument (cli_words.h)
    int column = -1;  // the index column that it is the number of, counted from 0; -1: the functions know
    // Puts a word into the row's index. 0, or the result of a refusal, behind its text.
    int (*put)(const CliCall& call, const char* word, void* row) = nullptr;
    // The word of a row; empty for one that no word stands for.
    std::string (*word)(const void* row) = nullptr;
};

// The rows of one table that settings belong to: the session's object itself, or rows below it that words of
// the command tell apart.
struct CliObject {
    const TableDesc& table;
    // How many leading index columns the session gives: 3 for a PON port (shelf, slot, port), 4 for an ONU,
    // or a service profile in the place of one.
    size_t from_session;
    // The application's way to change columns of a row: OV_GPON_RET_OK, or anything else for a failure.
    int (*edit)(void* row, const MIB_Flags_t& columns);
    std::span<const CliIndexWord> words = {};
    // What a row that isn't there is refused with, its "%d" the last number of the index; null for rows that
    // the application looks for.
    const char* missing = nullptr;
    // Why there is no row, in an operator's words, "%s" its word; for rows that come and go with something.
    const char* absent = nullptr;
};

// The record of a row, cleared.
class CliRow {
public:
    explicit CliRow(const TableDesc& table) : record_(table.entry_size) {}
    void* get() { return record_.data(); }

private:
    std::vector<std::byte> record_; // aligned for any record, as new memory is
};

// ---- values --------------------------------------------------------------------------------------------

struct CliSettingValue {
    enum class Kind {
        NUMBER,  // the last argument: a number, or a word that stands for one
        INTEGER, // the same, of any size and with a sign: a word of the syntax that isn't a range
        TEXT,    // the last argument, of a text column
        ADDRESS, // the last argument, A.B.C.D for a column of IP addresses
        FIXED,   // the command itself: there is no argument for it
    };
    Kind kind;
    std::span<const ColName> words = {}; // NUMBER, INTEGER: those that stand for numbers
    int64_t number = 0; // FIXED: what a column of numbers gets; one of texts gets its usual text
    size_t longest = 0; // TEXT: in characters
    const char* bad =
        ""; // what a TEXT that is longer, an INTEGER that is none ("%w" the word) is refused with
};

namespace cli_setting_values {
inline constexpr ColName SWITCH_WORDS[] = {{1, "enable"}, {0, "disable"}};
inline constexpr CliSettingValue NUMBER = {CliSettingValue::Kind::NUMBER};
inline constexpr CliSettingValue SWITCH = {CliSettingValue::Kind::NUMBER, SWITCH_WORDS};
inline constexpr CliSettingValue ADDRESS = {CliSettingValue::Kind::ADDRESS};
// A choice of words, or of words and numbers.
constexpr CliSettingValue WORDS(std::span<const ColName> words) {
    return {CliSettingValue::Kind::NUMBER, words};
}
// A number of 32 bits, or one of the words.
constexpr CliSettingValue INTEGER(std::span<const ColName> words, const char* bad) {
    return {CliSettingValue::Kind::INTEGER, words, 0, 0, bad};
}
constexpr CliSettingValue FIXED(int64_t number) {
    return {CliSettingValue::Kind::FIXED, {}, number};
}
// The text that the row has when nobody gives it one.
inline constexpr CliSettingValue USUAL = {CliSettingValue::Kind::FIXED};
constexpr CliSettingValue TEXT(size_t longest, const char* too_long) {
    return {CliSettingValue::Kind::TEXT, {}, 0, longest, too_long};
}
} // namespace cli_setting_values

// ---- settings ------------------------------------------------------------------------------------------

// A column, of those that a choice in the command tells apart.
struct CliColumnOf {
    const char* word = nullptr; // the chosen keyword
    unsigned column = 0;
};

// A column that is written with the setting's, and must have this value for the setting to be saved.
struct CliCompanion {
    unsigned column = 0; // 0: there is none
    int32_t value = 0;
};

struct CliSetting {
    const CliObject* object;
    unsigned column; // 0: the line has them in `by`
    CliSettingValue value;
    // What a failure prints, as in CliCall::fail; "%d" is the last number of the row's index, "%w" the value
    // as it was typed. A "%s" in front of that of the line end is the word of the row ("eth_1/2") or, of an
    // object without words, that of the column; a second one the value.
    const char* failure;
    int result = KAVO_CLI_FAILED; // of a failure
    CliColumnOf by[2] = {};
    CliCompanion with = {};
    // The text that a row has without the setting; null: the column's default.
    std::string (*usual)(const void* row) = nullptr;
    // Of the order in which an object's settings are saved: by this number, else as in the file.
    int place = 0;
    // What must hold before the row is asked to change: 0, or the result of a refusal, behind its text.
    int (*allowed)(const CliCall& call, const void* row) = nullptr;
    // Whether a replay's command will be taken, of a row whose value could be saved; null: it will.
    bool (*saved)(const void* row) = nullptr;
};

// A line of a file of commands: with an empty setting for one that has a handler of its own.
struct CliCommand {
    kavo_cmd_t row;
    CliSetting setting;
};

// The handler of all settings.
int cli_setting_cli(CliCall& call);

// States why there is no row, if there is none: for handlers of their own that write rows of an object.
void cli_tell_absent(const CliObject& object, const CliCall& call, const void* row);

// Installs a file's commands, in its order. What is wrong in itself is logged at error level and left out:
// beside the reasons of kavo_cmd_install, a setting with an argument that it has no use for.
void cli_install(std::span<const CliCommand> table);

// Prints the lines that save the settings of a row, those whose commands stand on a node. Gives their number.
int cli_settings_print(struct vty* vty, const CliObject& object, const void* row, enum node_type node);

// ---- for tests -----------------------------------------------------------------------------------------

// What follows from a setting's line.
class CliPreparedSetting {
public:
    explicit CliPreparedSetting(const CliCommand& command);

    // Whether each argument has a meaning.
    bool is_complete() const;
    const kavo_cmd_t& command() const { return command_->row; }
    const CliSetting& setting() const { return command_->setting; }
    const CliSyntax& syntax() const { return syntax_; }
    // The columns, one or those that a word tells apart.
    std::span<const CliColumnOf> columns() const;

    // The command that gives a row's column its value, without the blank in front; empty when it isn't saved.
    std::string line(const CliColumnOf& column, const void* row) const;
    bool stands_on(enum node_type node) const;
    // Whether any row has a line: what gives a column its default has none.
    bool has_line() const;

    // What an argument of the command is.
    struct Use {
        enum What { NOTHING, INDEX, COLUMN, VALUE } what;
        size_t number; // of the index word
    };
    std::span<const Use> uses() const { return uses_; }

private:
    bool has_default(const ColumnDesc& desc, const void* row) const;
    bool is_to_be_saved(const ColumnDesc& desc, const void* row) const;
    CliValue number_value(int64_t number) const;
    CliValue value_of(const ColumnDesc& desc, const void* row, std::string& text) const;
    CliValue index_value(const CliIndexWord& word, const void* row, std::string& text) const;

    const CliCommand* command_;
    CliSyntax syntax_;
    std::vector<Use> uses_;
    CliColumnOf single_;
};

// All that are installed.
std::span<const CliPreparedSetting> cli_settings();
