// Commands that make a row of many columns, in many forms: which word fills which column is data, and the
// same data writes the command that saves a row.
//
//     constexpr CliRowWord LAMP[] = {
//         {.name = "level", .column = sRmLampTableLevel},
//         {.name = "colour", .column = sRmLampTableColour, .words = COLOURS},
//         {.name = "USERNAME", .column = sRmLampTableUser, .unfit = "%%User too long%s",
//          .with = {sRmLampTableLogin, 1}},
//         {.name = "rooms", .column = sRmLampTableRooms, .may_miss = true},
//     };
//     static const CliRowForms lamps(table_desc_sRmLampTable, LAMP_INDEX, LAMP);
//
// The forms are the syntaxes of all commands whose arguments all have one of the names (cli_forms.h). A
// keyword in a form ("mode a") and one of a choice ("mode (b|g)") are the same to a description.
//
// Constant once it is made. Event loop's thread.
#pragma once

#include <string>
#include <vector>

#include "cli_setting.h"

struct CliRowWord;

// A row that a command fills.
struct CliFilledRow {
    const TableDesc& table;
    void* row;
    MIB_Flags_t columns; // that the command gives

    void put(unsigned column, int32_t number);
};

// A value that isn't simply that of its column.
struct CliRowCodec {
    // Puts what was typed into the row. 0, or the result of a refusal, behind its text.
    int (*put)(const CliCall& call, const CliRowWord& word, const char* typed, CliFilledRow& filled);
    // The word of a row; empty for one that no word stands for.
    std::string (*word)(const CliRowWord& word, const void* row);
};

// Values of a column that a word has a meaning for.
struct CliColumnRange {
    unsigned column = 0; // 0: all rows
    int32_t least = 0;
    int32_t most = 0;
};

// What an argument, or a keyword without one, says of the row.
struct CliRowWord {
    const char* name;    // cli_words.h
    unsigned column = 0; // that it fills, as the column's type says; 0: none, or the codec knows
    std::span<const ColName> words = {}; // that stand for numbers
    const CliRowCodec* codec = nullptr;
    // A text that is longer than its column, or a word that is none of `words`, is refused with this.
    const char* unfit = "%%Bad parameter%s";
    // Whether the row, with the value in it, is as it should be; what it is refused with if not, and why.
    bool (*is_right)(const CliRowWord& word, const void* row) = nullptr;
    const char* wrong = "";
    const char* because = "";
    // Written with it; only rows with that value have the word.
    CliCompanion with = {};
    // Only rows with these values have the word.
    CliColumnRange when = {};
    // A form without it leaves the column at its default.
    bool may_miss = false;
};

class CliRowForms {
public:
    // `unsaid`: columns that count and no form has; rows where they aren't at their defaults have no line.
    CliRowForms(const TableDesc& table, std::span<const CliIndexWord> index,
                std::span<const CliRowWord> words, std::span<const unsigned> unsaid = {});

    // Fills a row, which has the index columns of the session's object, from the line. 0, or the result of a
    // refusal, behind its text.
    int read(const CliCall& call, void* row, MIB_Flags_t& columns) const;

    // The command that makes the row, without a blank in front; empty when there is none: a form says all of
    // the row's values that have a meaning, or it isn't the row's.
    std::string line(const void* row) const;

    // Of how many forms it knows.
    size_t size() const { return forms_.size(); }

private:
    int put(const CliCall& call, const CliRowWord& word, CliFilledRow& filled) const;
    bool has(const CliRowWord& word, const void* row) const;
    CliValue value_of(const CliRowWord& word, const void* row, std::string& text) const;
    std::vector<const char*> names() const;

    const TableDesc& table_;
    std::span<const CliIndexWord> index_;
    std::span<const CliRowWord> words_;
    std::span<const unsigned> unsaid_;
    CliForms forms_;
};
