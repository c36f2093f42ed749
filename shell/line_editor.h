#pragma once

// Reads an operator's lines from the terminal: editing, history, Tab and "?". There is one
// terminal, and one editor.

#include <functional>
#include <optional>
#include <string>

#include "command_tree.h"
#include "pager.h"
#include "signal_watch.h"

class LineEditor {
public:
    /// Lines that the history keeps.
    static constexpr int HISTORY_SIZE = 1000;

    /// @param node   the node that lines are typed in
    /// @param names  what exists and could stand for the last word of a text
    LineEditor(const CommandTree& tree, const Pager& output, SignalWatch& interrupt_given,
               std::function<enum node_type()> node,
               std::function<std::vector<std::string>(const std::string& text)> names);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// Something to be watched while the operator types.
    struct Watch {
        std::function<int()> descriptor; // -1 for none
        std::function<void()> readable;  // may print lines
    };

    /// The next line, without its end; nothing at the end of the input. Ctrl-C drops what was typed.
    std::optional<std::string> read(const std::function<std::string()>& prompt, const Watch& watch);

    /// Keep a line for the next sessions too. Empty lines, lines that begin with a blank, and the
    /// same line again are not kept.
    void remember(const std::string& line);

    /// The file of the history below the user's state directory; empty if there is no such place.
    static std::string history_path();

    /// What "?" shows: a line for each word, with the words in one column.
    static std::string help_text(const std::vector<CommandHelp>& lines);

private:
    void drop_line();
    void draw_again();

    SignalWatch& interrupt_;
    SignalWatch resumed_;      // behind Ctrl-Z
    std::string history_file_; // empty: not kept
};
