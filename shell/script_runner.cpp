#include "script_runner.h"

#include <algorithm>

#include "config_save.h"

namespace {

/// Lines that may be unanswered, and their bytes: the daemon reads on only while its answers are
/// taken.
constexpr size_t max_in_flight = 32;
constexpr size_t max_bytes_in_flight = 16384;

std::string trimmed(const std::string& line) {
    const auto first = line.find_first_not_of(" \t\r");
    return first == line.npos ? "" : line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

} // namespace

script_runner::script_runner(line_port_t port_given, shell_mode& mode_given,
                             std::function<void(const std::string& text)> printed_given,
                             std::function<void(const script_refusal_t&)> refused_given)
    : port(std::move(port_given)), mode(mode_given), printed(std::move(printed_given)),
      refused(std::move(refused_given)) {}

void script_runner::run(std::istream& lines) {
    size_t number = 0;
    for (std::string line; std::getline(lines, line);)
        step(++number, trimmed(line));
    settle();
}

void script_runner::step(size_t number, const std::string& line) {
    // Where the line would run must be known.
    if (std::any_of(in_flight.begin(), in_flight.end(), [](const flight_t& f) { return f.moves; }))
        settle();

    if (line == "!") {
        at_mark = true;
        block = {};
    } else if (shell_words(line).empty()) {
        return;
    } else if (mode.over()) {
        counts.skipped++;
    } else if (mode.enters_block(line)) {
        begin_block(number, line);
    } else if (mode.leaves(line) || mode.ends(line)) {
        leave(number, line);
    } else if (asks_to_save(line)) {
        run_save(number, line);
    } else {
        run_plain(number, line);
    }
}

/// Stands for itself wherever it is, and ends no block: what isn't in the daemon can't be saved, what is can.
void script_runner::run_save(size_t number, const std::string& line) {
    settle();
    const auto reply = port.save();
    counts.run++;
    answered_line = number;
    if (reply.result == 0) {
        printed(reply.text);
    } else {
        counts.refused++;
        refused({number, line, reply.text, 0, "", reply, mode.node()});
    }
}

void script_runner::begin_block(size_t number, const std::string& line) {
    at_mark = false;
    block = {};
    lead_to(line);
    block = {number, line, 0, false};
    put(number, line, true);
}

/// The line that ends a block; or one that stands for itself, when no block is open.
void script_runner::leave(size_t number, const std::string& line) {
    const bool never_entered = block.start != 0 && !mode.ends(line) && mode.depth() < block.depth;
    at_mark = false;
    block.start = 0;
    if (never_entered)
        return; // "exit" would lead out of where the session stands
    put(number, line, false);
    mode.answered(line, 0); // can't be refused
}

void script_runner::run_plain(size_t number, const std::string& line) {
    if (block.start != 0) {
        settle();
        if (block.stopped) {
            counts.skipped++;
            return;
        }
    } else {
        leave_blocks();
        lead_to(line);
    }
    if (!changes_nothing(line))
        put(number, line, mode.may_move(line));
}

/// A line that stands already isn't run.
bool script_runner::changes_nothing(const std::string& line) {
    if (!stands && !watched)
        return false;
    std::string words;
    for (const auto& word : mode.read(line).words)
        words += (words.empty() ? "" : " ") + word;
    const script_line_t there = {mode.prompt(), words};
    if (stands && stands(there)) {
        counts.same++;
        return true;
    }
    if (watched)
        watched(there, mode.knows(line));
    return false;
}

/// Go where the line is known, if it isn't known where the session stands.
void script_runner::lead_to(const std::string& line) {
    if (mode.knows(line))
        return;
    const bool in_config = mode.knows_in(CONFIG_NODE, line);
    const bool enters_from_gpon = !in_config && mode.knows_in(GPON_NODE, line) && mode.enters_block(line);
    if (mode.depth() == 1 && (in_config || enters_from_gpon))
        help("configure terminal");
    if (enters_from_gpon)
        help("gpon");
}

/// Behind "!": up to where lines outside of blocks stand.
void script_runner::leave_blocks() {
    if (!at_mark)
        return;
    at_mark = false;
    settle();
    if (mode.depth() > 2) {
        help("end");
        help("configure terminal");
    }
}

void script_runner::help(const std::string& line) {
    put(0, line, true, true);
    settle();
}

void script_runner::put(size_t number, const std::string& line, bool moves, bool helping) {
    while (!in_flight.empty() &&
           (in_flight.size() >= max_in_flight || bytes_in_flight + line.size() > max_bytes_in_flight))
        take_answer();
    port.send(line);
    bytes_in_flight += line.size();
    in_flight.push_back({number, line, block.start, block.line, moves, helping});
    counts.run += helping ? 0 : 1;
}

void script_runner::settle() {
    while (!in_flight.empty())
        take_answer();
}

void script_runner::take_answer() {
    const auto reply = port.receive();
    const flight_t flight = std::move(in_flight.front());
    in_flight.pop_front();
    bytes_in_flight -= flight.line.size();
    if (flight.moves)
        mode.answered(flight.line, reply.result);
    if (flight.helping)
        return; // what follows fails if this did
    answered_line = flight.number;

    const bool begins_block = flight.block == flight.number;
    if (reply.result == 0) {
        if (begins_block && block.start == flight.block)
            block.depth = mode.depth();
        printed(reply.text);
        return;
    }
    counts.refused++;
    if (flight.block != 0) {
        if (flight.block != last_stopped)
            counts.blocks++;
        last_stopped = flight.block;
        if (block.start == flight.block) {
            block.stopped = true;
            if (begins_block)
                block.depth = mode.depth() + 1;
        }
    }
    refused({flight.number, flight.line, reply.text, flight.block, flight.block_line, reply, mode.node()});
}
