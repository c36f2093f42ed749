// A table that a command shows: lines in columns for a person, or for a program that asked with "json
// COMMAND" a JSON object for each row, a line each (RFC 8259), named by the headings. In JSON headings, rules
// and sums are left out.
//
//     constexpr kavo_column_t COLUMNS[] = {{"onu type", -33}, {"eth", 5}};
//     const kavo_table_t table(vty, COLUMNS);
//     table.heading();
//     table.row({name, row.eth});
//     table.line("total %d", count);
//
// A table may be copied, and used by the later steps of a command that goes on in steps. Event loop's thread.
#pragma once

#include <concepts>
#include <initializer_list>
#include <span>
#include <string>

struct vty;

struct kavo_column_t {
    const char* name;           // stands in the heading; in JSON with "_" for blanks
    int width;                  // as in printf: negative for columns that begin at the left
    const char* json = nullptr; // name in JSON, where it isn't that of the heading
    int indent = 0;             // blanks in front of it, beside the gap
};

// What stands in front of each line and between two columns.
struct kavo_table_style_t {
    const char* margin = "";
    const char* gap = " ";
    bool trimmed = false; // without blanks at the ends of lines
};

// A value of a row. Numbers are numbers in JSON, and a text that is empty or "-" is null.
class kavo_cell_t {
public:
    kavo_cell_t(const char* text) : text_(text), is_number_(false) {}
    kavo_cell_t(std::string text) : text_(std::move(text)), is_number_(false) {}
    kavo_cell_t(std::integral auto number) : text_(std::to_string(number)), is_number_(true) {}

    const std::string& text() const { return text_; }
    bool is_number() const { return is_number_; }

private:
    std::string text_;
    bool is_number_;
};

class kavo_table_t {
public:
    // `columns` must outlive the table and its copies.
    kavo_table_t(struct vty* vty, std::span<const kavo_column_t> columns, kavo_table_style_t style = {});

    void heading() const;
    // A line of dashes as wide as the heading.
    void rule() const;
    // As many cells as columns; columns without one at the end of a row stay empty.
    void row(std::initializer_list<kavo_cell_t> cells) const;
    void row(std::span<const kavo_cell_t> cells) const;
    // A line beside the rows, without its end: an empty one, a rule, a sum.
    [[gnu::format(printf, 2, 3)]] void line(const char* format, ...) const;

private:
    void text_row(std::span<const kavo_cell_t> cells) const;
    void json_row(std::span<const kavo_cell_t> cells) const;

    struct vty* vty_;
    std::span<const kavo_column_t> columns_;
    kavo_table_style_t style_;
    bool json_;
};

// Told of each row that is about to be printed in columns, headings included; for tests. Null takes it away.
using kavo_table_watch_t = void (*)(std::span<const kavo_column_t> columns,
                                    std::span<const kavo_cell_t> cells);
void kavo_table_set_watch(kavo_table_watch_t watch);

// Installs "json COMMAND". Main thread, at start, behind the nodes.
void kavo_table_vty_init();
