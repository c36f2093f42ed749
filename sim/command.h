// The command language of scenario files and of the control socket.
//
// A command is checked when it is read and acts when it is run, so that a scenario with a mistake in its last
// line never starts.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "chassis.h"
#include "text.h"

struct Answer {
    std::string error; // empty: it worked
    std::vector<std::string> lines;

    static Answer failure(std::string why) { return {std::move(why), {}}; }
};

using Done = std::function<void(Answer)>;
using Cancel = std::function<void()>; // may be empty

// Where a command runs: records up to since don't count for a wait that doesn't say otherwise.
struct Context {
    uint64_t since = 0;
};

// Calls done once, at once or later. Cancel stops a later one.
using Action = std::function<Cancel(const Context&, Done)>;

// The words behind a command's name: plain words, then KEY=VALUE options. A reader that finds something wrong
// notes the first mistake in error(); the parse function ends with finish().
class Arguments {
public:
    explicit Arguments(std::span<const std::string> words);

    bool has_word() const { return next_ < words_.size(); }
    // The next plain word; a missing one is a mistake.
    std::string word(const char* what);
    // The next word whatever it looks like, for words that may hold a '='; plain words come first.
    bool has_text() const { return has_word() || !options_.empty(); }
    std::string text(const char* what);
    uint32_t number(const char* what);
    bool on_off(const char* what);

    // An option is taken out by its reader.
    std::optional<std::string> option(const std::string& key);
    std::optional<uint32_t> number_option(const std::string& key, uint32_t max = UINT32_MAX);
    uint32_t number_option_or(const std::string& key, uint32_t otherwise) {
        return number_option(key).value_or(otherwise);
    }
    std::optional<std::vector<uint8_t>> body_option(const std::string& key);
    // All that are left, in the order given.
    Fields rest_as_fields();
    Words rest_as_words();

    void mistake(std::string why);
    const std::string& error() const { return error_; }
    // Words and options that nobody took are a mistake. True when there was none at all.
    bool finish();

private:
    Words words_;
    std::vector<std::pair<std::string, std::string>> options_;
    size_t next_ = 0;
    std::string error_;
};

struct Command {
    const char* name;
    const char* usage; // behind the name
    const char* help;  // one line, or several
    // Reads the arguments and gives what to do; with a mistake in the arguments the result isn't used.
    Action (*parse)(Chassis&, Arguments&);
};

// The command groups; each has a file of its own.
std::span<const Command> controller_commands();
std::span<const Command> fault_commands();
std::span<const Command> record_commands();
std::span<const Command> chassis_commands();
std::span<const Command> card_commands();
std::span<const Command> card_event_commands();
std::span<const Command> onu_commands();
std::span<const Command> uni_commands();
std::span<const Command> home_commands();
std::span<const Command> upgrade_commands();
std::span<const Command> optics_commands();
std::span<const Command> traffic_commands();
std::span<const Command> protect_commands();

// The rest of "show onu" and "show port".
Action parse_show_onu(Chassis& chassis, Arguments& args);
Action parse_show_port(Chassis& chassis, Arguments& args);
// The next word as a serial number; another word is a mistake.
OnuSerial serial_argument(Arguments& args);
// The next word as a UNI ("eth_1/1"); another word is a mistake.
UniPosition uni_argument(Arguments& args);
// An action on an ONU and the card that it is on, or on one of its UNIs, which must be there when it runs.
Action on_onu(Chassis& chassis, const OnuSerial& serial, std::function<Answer(Card&, Onu&)> act);
Action on_uni(Chassis& chassis, const OnuSerial& serial, const UniPosition& uni,
              std::function<Answer(Card&, Onu&)> act);

// An action for a command line that was split into at least one word; empty, with the reason in error, when
// it is wrong.
Action parse_command(Chassis& chassis, std::span<const std::string> words, std::string& error);

// An action that is over when it returns.
Action immediate(std::function<Answer()> act);
