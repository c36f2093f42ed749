#include "scenario.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

constexpr size_t MAX_LINE = 65536;
constexpr unsigned MAX_DEPTH = 8;

std::string at_line(const std::string& file, unsigned line, const std::string& why) {
    return file + ":" + std::to_string(line) + ": " + why;
}

bool is(const Words& words, std::initializer_list<std::string_view> wanted) {
    return std::equal(words.begin(), words.end(), wanted.begin(), wanted.end());
}

// A file that is being read, perhaps for a line of another one.
struct Reading {
    Chassis& chassis;
    Scenario& scenario;
    std::string file;
    unsigned depth = 0; // of files that include one another
    unsigned line = 0;
    bool in_block = false;

    std::string here(const std::string& why) const { return at_line(file, line, why); }
};

bool read_file(Reading reading, std::istream& in, std::string& error);

bool open_and_read(const Reading& reading, std::string& error) {
    std::ifstream in(reading.file);
    if (in)
        return read_file(reading, in, error);
    error = reading.file + ": " + std::strerror(errno);
    return false;
}

bool take_include(const Reading& reading, const Words& words, std::string& error) {
    if (words.size() != 2 || reading.in_block || reading.depth == MAX_DEPTH) {
        error = reading.here(words.size() != 2  ? "include: which file?"
                             : reading.in_block ? "\"include\" inside \"on connect\""
                                                : "too many files include one another");
        return false;
    }
    const auto place = std::filesystem::path(reading.file).parent_path();
    return open_and_read({.chassis = reading.chassis,
                          .scenario = reading.scenario,
                          .file = (place / words[1]).string(),
                          .depth = reading.depth + 1},
                         error);
}

// "on connect" and "end".
bool take_bracket(Reading& reading, const Words& words, std::string& error) {
    const bool opens = is(words, {"on", "connect"});
    std::string why;
    if (!opens && !is(words, {"end"}))
        why = "only \"on connect\" and \"end\" are known";
    else if (opens == reading.in_block)
        why = opens ? "\"on connect\" inside \"on connect\"" : "\"end\" without \"on connect\"";
    reading.in_block = opens;
    if (!why.empty())
        error = reading.here(why);
    return why.empty();
}

bool take_command(const Reading& reading, const Words& words, std::string& error) {
    std::string why;
    Action action = parse_command(reading.chassis, words, why);
    if (!action) {
        error = reading.here(why);
        return false;
    }
    Script& script = reading.in_block ? reading.scenario.on_connect : reading.scenario.on_start;
    script.push_back({reading.file, reading.line, std::move(action)});
    return true;
}

// Takes one line into the script being read; false with the reason.
bool take_line(Reading& reading, const std::string& text, std::string& error) {
    Words words;
    std::string why;
    if (text.size() > MAX_LINE)
        why = "line too long";
    else
        split_words(text, words, why);
    if (!why.empty()) {
        error = reading.here(why);
        return false;
    }
    if (words.empty())
        return true;
    if (words[0] == "on" || words[0] == "end")
        return take_bracket(reading, words, error);
    return words[0] == "include" ? take_include(reading, words, error) : take_command(reading, words, error);
}

bool read_file(Reading reading, std::istream& in, std::string& error) {
    std::string text;
    while (std::getline(in, text)) {
        ++reading.line;
        if (!take_line(reading, text, error))
            return false;
    }
    if (in.bad())
        error = reading.file + ": can't be read";
    else if (reading.in_block)
        error = reading.here("\"end\" is missing");
    return error.empty();
}

} // namespace

bool read_scenario(Chassis& chassis, std::istream& in, Scenario& scenario, std::string& error) {
    return read_file({.chassis = chassis, .scenario = scenario, .file = scenario.file}, in, error);
}

bool load_scenario(Chassis& chassis, const std::string& file, Scenario& scenario, std::string& error) {
    scenario.file = file;
    return open_and_read({.chassis = chassis, .scenario = scenario, .file = file}, error);
}

void ScriptRun::start(const Script& script, uint64_t since, Finished finished) {
    cancel();
    script_ = &script;
    next_ = 0;
    context_.since = since;
    finished_ = std::move(finished);
    go_on();
}

void ScriptRun::cancel() {
    ++run_;
    script_ = nullptr;
    if (cancel_step_)
        cancel_step_();
    cancel_step_ = nullptr;
    in_step_ = false;
}

// A loop, not a recursion: a step that is over at once has cleared in_step_ when its action returns.
void ScriptRun::go_on() {
    while (script_ && !in_step_) {
        if (next_ == script_->size()) {
            script_ = nullptr;
            finished_({});
            return;
        }
        const uint64_t run = run_;
        in_step_ = true;
        const Step& step = (*script_)[next_];
        Cancel cancel = step.action(context_, [this, run](const Answer& answer) { step_done(run, answer); });
        if (run == run_ && in_step_) {
            cancel_step_ = std::move(cancel);
            return;
        }
    }
}

void ScriptRun::step_done(uint64_t run, const Answer& answer) {
    if (run != run_)
        return;
    const Step& step = (*script_)[next_++];
    const bool later = static_cast<bool>(cancel_step_);
    cancel_step_ = nullptr;
    in_step_ = false;
    if (!answer.error.empty()) {
        script_ = nullptr;
        finished_(at_line(step.file, step.line, answer.error));
        return;
    }
    if (later)
        go_on();
}
