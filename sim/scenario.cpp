#include "scenario.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace {

constexpr size_t MAX_LINE = 65536;

std::string at_line(const Scenario& scenario, unsigned line, const std::string& why) {
    return scenario.file + ":" + std::to_string(line) + ": " + why;
}

bool is(const Words& words, std::initializer_list<std::string_view> wanted) {
    return std::equal(words.begin(), words.end(), wanted.begin(), wanted.end());
}

// Takes one line into the script being read; false with the reason.
bool take_line(Chassis& chassis, Scenario& scenario, const std::string& text, unsigned line, bool& in_block,
               std::string& why) {
    Words words;
    if (text.size() > MAX_LINE) {
        why = "line too long";
        return false;
    }
    if (!split_words(text, words, why))
        return false;
    if (words.empty())
        return true;
    if (words[0] == "on" || words[0] == "end") {
        const bool opens = is(words, {"on", "connect"});
        if (!opens && !is(words, {"end"}))
            why = "only \"on connect\" and \"end\" are known";
        else if (opens == in_block)
            why = opens ? "\"on connect\" inside \"on connect\"" : "\"end\" without \"on connect\"";
        in_block = opens;
        return why.empty();
    }
    Action action = parse_command(chassis, words, why);
    if (!action)
        return false;
    (in_block ? scenario.on_connect : scenario.on_start).push_back({line, std::move(action)});
    return true;
}

} // namespace

bool read_scenario(Chassis& chassis, std::istream& in, Scenario& scenario, std::string& error) {
    std::string text;
    unsigned line = 0;
    bool in_block = false;
    while (std::getline(in, text)) {
        std::string why;
        if (!take_line(chassis, scenario, text, ++line, in_block, why)) {
            error = at_line(scenario, line, why);
            return false;
        }
    }
    if (in.bad())
        error = scenario.file + ": can't be read";
    else if (in_block)
        error = at_line(scenario, line, "\"end\" is missing");
    return error.empty();
}

bool load_scenario(Chassis& chassis, const std::string& file, Scenario& scenario, std::string& error) {
    scenario.file = file;
    std::ifstream in(file);
    if (!in) {
        error = file + ": " + std::strerror(errno);
        return false;
    }
    return read_scenario(chassis, in, scenario, error);
}

void ScriptRun::start(const Scenario& scenario, const Script& script, uint64_t since, Finished finished) {
    cancel();
    scenario_ = &scenario;
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
    const unsigned line = (*script_)[next_++].line;
    const bool later = static_cast<bool>(cancel_step_);
    cancel_step_ = nullptr;
    in_step_ = false;
    if (!answer.error.empty()) {
        script_ = nullptr;
        finished_(at_line(*scenario_, line, answer.error));
        return;
    }
    if (later)
        go_on();
}
