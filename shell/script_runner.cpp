#include "script_runner.h"

#include <algorithm>

#include "config_save.h"

namespace {

/// Lines that may be unanswered, and their bytes: the daemon reads on only while its answers are
/// taken.
constexpr size_t MAX_IN_FLIGHT = 32;
constexpr size_t MAX_BYTES_IN_FLIGHT = 16384;

std::string trimmed(const std::string& line) {
    const auto first = line.find_first_not_of(" \t\r");
    return first == line.npos ? "" : line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

} // namespace

ScriptRunner::ScriptRunner(LinePort port_given, ShellMode& mode_given,
                           std::function<void(const std::string& text)> printed_given,
                           std::function<void(const ScriptRefusal&)> refused_given)
    : port_(std::move(port_given)), mode_(mode_given), printed_(std::move(printed_given)),
      refused_(std::move(refused_given)) {}

void ScriptRunner::run(std::istream& lines) {
    size_t number = 0;
    for (std::string line; std::getline(lines, line);)
        step(++number, trimmed(line));
    settle();
}

void ScriptRunner::step(size_t number, const std::string& line) {
    // Where the line would run must be known.
    if (std::any_of(in_flight_.begin(), in_flight_.end(), [](const Flight& f) { return f.moves; }))
        settle();

    if (line == "!") {
        at_mark_ = true;
        block_ = {};
    } else if (shell_words(line).empty()) {
        return;
    } else if (mode_.over()) {
        counts_.skipped++;
    } else if (mode_.enters_block(line)) {
        begin_block(number, line);
    } else if (mode_.leaves(line) || mode_.ends(line)) {
        leave(number, line);
    } else if (asks_to_save(line)) {
        run_save(number, line);
    } else {
        run_plain(number, line);
    }
}

/// Stands for itself wherever it is, and ends no block: what isn't in the daemon can't be saved, what is can.
void ScriptRunner::run_save(size_t number, const std::string& line) {
    settle();
    const auto reply = port_.save();
    counts_.run++;
    answered_line_ = number;
    if (reply.result == 0) {
        printed_(reply.text);
    } else {
        counts_.refused++;
        refused_({number, line, reply.text, 0, "", reply, mode_.node()});
    }
}

void ScriptRunner::begin_block(size_t number, const std::string& line) {
    at_mark_ = false;
    block_ = {};
    lead_to(line);
    block_ = {number, line, 0, false};
    put(number, line, true);
}

/// The line that ends a block; or one that stands for itself, when no block is open.
void ScriptRunner::leave(size_t number, const std::string& line) {
    const bool never_entered = block_.start != 0 && !mode_.ends(line) && mode_.depth() < block_.depth;
    at_mark_ = false;
    block_.start = 0;
    if (never_entered)
        return; // "exit" would lead out of where the session stands
    put(number, line, false);
    mode_.answered(line, 0); // can't be refused
}

void ScriptRunner::run_plain(size_t number, const std::string& line) {
    if (block_.start != 0) {
        settle();
        if (block_.stopped) {
            counts_.skipped++;
            return;
        }
    } else {
        leave_blocks();
        lead_to(line);
    }
    if (!changes_nothing(line))
        put(number, line, mode_.may_move(line));
}

/// A line that stands already isn't run.
bool ScriptRunner::changes_nothing(const std::string& line) {
    if (!stands_ && !watched_)
        return false;
    std::string words;
    for (const auto& word : mode_.read(line).words)
        words += (words.empty() ? "" : " ") + word;
    const ScriptLine there = {mode_.prompt(), words};
    if (stands_ && stands_(there)) {
        counts_.same++;
        return true;
    }
    if (watched_)
        watched_(there, mode_.knows(line));
    return false;
}

/// Go where the line is known, if it isn't known where the session stands.
void ScriptRunner::lead_to(const std::string& line) {
    if (mode_.knows(line))
        return;
    const bool in_config = mode_.knows_in(CONFIG_NODE, line);
    const bool enters_from_gpon = !in_config && mode_.knows_in(GPON_NODE, line) && mode_.enters_block(line);
    if (mode_.depth() == 1 && (in_config || enters_from_gpon))
        help("configure terminal");
    if (enters_from_gpon)
        help("gpon");
}

/// Behind "!": up to where lines outside of blocks stand.
void ScriptRunner::leave_blocks() {
    if (!at_mark_)
        return;
    at_mark_ = false;
    settle();
    if (mode_.depth() > 2) {
        help("end");
        help("configure terminal");
    }
}

void ScriptRunner::help(const std::string& line) {
    put(0, line, true, true);
    settle();
}

void ScriptRunner::put(size_t number, const std::string& line, bool moves, bool helping) {
    while (!in_flight_.empty() &&
           (in_flight_.size() >= MAX_IN_FLIGHT || bytes_in_flight_ + line.size() > MAX_BYTES_IN_FLIGHT))
        take_answer();
    port_.send(line);
    bytes_in_flight_ += line.size();
    in_flight_.push_back({number, line, block_.start, block_.line, moves, helping});
    counts_.run += helping ? 0 : 1;
}

void ScriptRunner::settle() {
    while (!in_flight_.empty())
        take_answer();
}

void ScriptRunner::take_answer() {
    const auto reply = port_.receive();
    const Flight flight = std::move(in_flight_.front());
    in_flight_.pop_front();
    bytes_in_flight_ -= flight.line.size();
    if (flight.moves)
        mode_.answered(flight.line, reply.result);
    if (flight.helping)
        return; // what follows fails if this did
    answered_line_ = flight.number;

    const bool begins_block = flight.block == flight.number;
    if (reply.result == 0) {
        if (begins_block && block_.start == flight.block)
            block_.depth = mode_.depth();
        printed_(reply.text);
        return;
    }
    counts_.refused++;
    if (flight.block != 0) {
        if (flight.block != last_stopped_)
            counts_.blocks++;
        last_stopped_ = flight.block;
        if (block_.start == flight.block) {
            block_.stopped = true;
            if (begins_block)
                block_.depth = mode_.depth() + 1;
        }
    }
    refused_({flight.number, flight.line, reply.text, flight.block, flight.block_line, reply, mode_.node()});
}
