#pragma once

// Runs the lines of a file, such as a saved configuration, without running into a wrong node:
// lines stand in blocks, and the first line of a block that the daemon refuses ends the block.
//
// A block begins with a line that enters one of the daemon's nodes ("interface gpon-olt1/1",
// "gpon", "onu-srvprofile ..."), and ends before the next such line, or with "!", "exit", "quit"
// or "end". A line outside of blocks stands for itself, at the level that "!" and "exit" lead to.
// A line that belongs below enable mode goes there by itself, so that a saved configuration needs
// no "configure terminal" in front.
//
// Only a line that is to run whatever becomes of the one before it is sent ahead of that one's
// answer.

#include <deque>
#include <functional>
#include <istream>
#include <string>

#include "shell_mode.h"
#include "vty_client.h"

/// The way to the daemon.
struct LinePort {
    std::function<void(const std::string& line)> send;
    /// Wait for the answer to the earliest unanswered line.
    std::function<VtyReply()> receive;
    /// Save the configuration, for a line that asks for it. Called when no line is unanswered.
    std::function<VtyReply()> save;
};

/// What became of a line.
struct ScriptRefusal {
    size_t number;       // of the line in the file, from 1
    std::string line;    // as it stands there, without surrounding blanks
    std::string text;    // the daemon's
    size_t block_start;  // number of the line that began the block that ends with this; 0 for none
    std::string block;   // that line
    VtyReply reply;      // the answer whole
    enum node_type node; // where the line was run
};

/// A line of a configuration, as the mode that it stands in and its words in full tell it apart from others.
struct ScriptLine {
    std::string place; // the prompt of the mode
    std::string line;
    auto operator<=>(const ScriptLine&) const = default;
};

struct ScriptSummary {
    size_t run = 0;     // lines sent, those of the file
    size_t same = 0;    // lines not sent, because they stand already
    size_t refused = 0; // of these
    size_t blocks = 0;  // blocks that a refused line ended
    size_t skipped = 0; // lines not sent, because of that or behind the end of the session
};

class ScriptRunner {
public:
    /// @param mode      where the session stands; followed while lines run
    /// @param printed   gets what lines printed that weren't refused
    /// @param refused   told of each line that the daemon refused
    ScriptRunner(LinePort port_given, ShellMode& mode_given,
                 std::function<void(const std::string& text)> printed_given,
                 std::function<void(const ScriptRefusal&)> refused_given);

    /// Leave out lines for which this holds: they would change nothing. Lines that enter or leave a mode run
    /// always.
    void leave_out(std::function<bool(const ScriptLine& line)> stands_given) {
        stands_ = std::move(stands_given);
    }
    /// Told of each line that is sent and neither enters nor leaves a mode, and whether a command is known
    /// for it.
    void watch(std::function<void(const ScriptLine& line, bool known)> watch_given) {
        watched_ = std::move(watch_given);
    }

    /// Run all lines of a file. Throws what the port throws; summary() holds up to there.
    void run(std::istream& lines);

    const ScriptSummary& summary() const { return counts_; }
    /// Number of the line that was answered last.
    size_t last_answered() const { return answered_line_; }

private:
    struct Flight {
        size_t number;
        std::string line;
        size_t block; // number of the block's first line; 0 for none
        std::string block_line;
        bool moves;   // the mode changes with its answer
        bool helping; // not from the file
    };
    struct Block {
        size_t start = 0; // line number; 0: no block is open
        std::string line;
        size_t depth = 0; // of the mode inside
        bool stopped = false;
    };

    void step(size_t number, const std::string& line);
    void begin_block(size_t number, const std::string& line);
    void leave(size_t number, const std::string& line);
    void run_plain(size_t number, const std::string& line);
    void run_save(size_t number, const std::string& line);
    void lead_to(const std::string& line);
    void leave_blocks();
    bool changes_nothing(const std::string& line);
    void put(size_t number, const std::string& line, bool moves, bool helping = false);
    void help(const std::string& line);
    void take_answer();
    void settle();

    LinePort port_;
    ShellMode& mode_;
    std::function<void(const std::string&)> printed_;
    std::function<void(const ScriptRefusal&)> refused_;
    std::function<bool(const ScriptLine& line)> stands_;
    std::function<void(const ScriptLine& line, bool known)> watched_;

    std::deque<Flight> in_flight_;
    size_t bytes_in_flight_ = 0;
    Block block_;
    size_t last_stopped_ = 0;
    bool at_mark_ = false; // behind "!": in no block, but the session is still inside
    ScriptSummary counts_;
    size_t answered_line_ = 0;
};
