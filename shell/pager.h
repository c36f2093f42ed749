#pragma once

// Long output page by page on a terminal.

#include <optional>
#include <string>

class Pager {
public:
    /// @param on_terminal  whether standard input and output are one; nothing is paged if not
    explicit Pager(bool on_terminal_given) : on_terminal_(on_terminal_given) {}

    /// Print text. If it doesn't fit the terminal: through the program that PAGER names, or page by
    /// page: Space goes on a page, Enter a line, q or Ctrl-C ends it and says how much was left out.
    void show(const std::string& text) const;

    /// Lines of a page, as "terminal length" sets them: 0 turns paging off, nothing stands for the
    /// height of the terminal.
    void set_length(std::optional<int> lines) { length_ = lines; }

    /// Rows that a line takes on a terminal of so many columns: at least one. Tabs go to the next
    /// multiple of 8; bytes of one UTF-8 character count once.
    static size_t rows_of(std::string_view line, size_t columns);

private:
    bool show_with_program(const std::string& text) const;

    bool on_terminal_;
    std::optional<int> length_;
};
