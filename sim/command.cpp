#include "command.h"

#include <algorithm>

namespace {

Action parse_help(Chassis&, Arguments& args);

constexpr Command HELP[] = {
    {"help", "[COMMAND]", "this list, or one command's help", parse_help},
};

std::vector<const Command*> all_commands() {
    std::vector<const Command*> commands;
    for (const auto group : {std::span<const Command>(HELP), record_commands(), controller_commands(),
                             fault_commands(), card_commands(), card_event_commands(), onu_commands(),
                             uni_commands(), home_commands(), upgrade_commands(), optics_commands(),
                             traffic_commands(), protect_commands(), chassis_commands()}) {
        for (const Command& command : group)
            commands.push_back(&command);
    }
    return commands;
}

const Command* find_command(std::string_view name) {
    for (const Command* command : all_commands()) {
        if (name == command->name)
            return command;
    }
    return nullptr;
}

void describe(const Command& command, std::vector<std::string>& lines) {
    lines.push_back(std::string(command.name) + (*command.usage ? " " : "") + command.usage);
    std::string_view help = command.help;
    while (!help.empty()) {
        const size_t end = help.find('\n');
        lines.push_back("    " + std::string(help.substr(0, end)));
        help.remove_prefix(end == std::string_view::npos ? help.size() : end + 1);
    }
}

Action parse_help(Chassis&, Arguments& args) {
    const std::string name = args.has_word() ? args.word("COMMAND") : "";
    if (!name.empty() && !find_command(name))
        args.mistake("no command \"" + name + "\"");
    return immediate([name] {
        Answer answer;
        for (const Command* command : all_commands()) {
            if (name.empty() || name == command->name)
                describe(*command, answer.lines);
        }
        return answer;
    });
}

bool is_option(const std::string& word) {
    const size_t equals = word.find('=');
    return equals != std::string::npos && equals != 0;
}

} // namespace

Arguments::Arguments(std::span<const std::string> words) {
    for (const std::string& word : words) {
        if (!is_option(word)) {
            words_.push_back(word);
            continue;
        }
        const size_t equals = word.find('=');
        options_.emplace_back(word.substr(0, equals), word.substr(equals + 1));
    }
}

void Arguments::mistake(std::string why) {
    if (error_.empty())
        error_ = std::move(why);
}

std::string Arguments::word(const char* what) {
    if (has_word())
        return words_[next_++];
    mistake(std::string(what) + " is missing");
    return {};
}

std::string Arguments::text(const char* what) {
    if (has_word() || options_.empty())
        return word(what);
    std::string text = options_.front().first + "=" + options_.front().second;
    options_.erase(options_.begin());
    return text;
}

uint32_t Arguments::number(const char* what) {
    const std::string text = word(what);
    const auto value = parse_u32(text);
    if (!value)
        mistake(std::string(what) + " is not a number: \"" + text + "\"");
    return value.value_or(0);
}

bool Arguments::on_off(const char* what) {
    const std::string text = word(what);
    if (text != "on" && text != "off")
        mistake(std::string(what) + " must be on or off, not \"" + text + "\"");
    return text == "on";
}

std::optional<std::string> Arguments::option(const std::string& key) {
    const auto it =
        std::find_if(options_.begin(), options_.end(), [&](const auto& o) { return o.first == key; });
    if (it == options_.end())
        return {};
    std::string value = std::move(it->second);
    options_.erase(it);
    return value;
}

std::optional<uint32_t> Arguments::number_option(const std::string& key, uint32_t max) {
    const auto text = option(key);
    if (!text)
        return {};
    const auto value = parse_u32(*text);
    if (!value || *value > max) {
        const std::string limit = max == UINT32_MAX ? "" : format(" up to %u", max);
        mistake(format("%s must be a number%s, not \"%s\"", key.c_str(), limit.c_str(), text->c_str()));
        return 0;
    }
    return value;
}

std::optional<std::vector<uint8_t>> Arguments::body_option(const std::string& key) {
    static constexpr std::string_view ZEROS = "zeros:";
    static constexpr uint32_t MAX_SIZE = 0xFFFF;
    const auto text = option(key);
    if (!text)
        return {};
    if (text->starts_with(ZEROS)) {
        const auto size = parse_u32(std::string_view(*text).substr(ZEROS.size()));
        if (!size || *size > MAX_SIZE)
            mistake(key + ": zeros: needs a size up to 65535");
        return std::vector<uint8_t>(std::min(size.value_or(0), MAX_SIZE), 0);
    }
    auto bytes = parse_hex(*text);
    if (!bytes || bytes->size() > MAX_SIZE)
        mistake(key + " must be hexadecimal digits or zeros:SIZE");
    return bytes ? std::move(*bytes) : std::vector<uint8_t>();
}

Fields Arguments::rest_as_fields() {
    Fields fields;
    for (auto& [key, value] : std::exchange(options_, {})) {
        if (!fields.emplace(key, std::move(value)).second)
            mistake(key + " is given twice");
    }
    return fields;
}

Words Arguments::rest_as_words() {
    Words words;
    for (const auto& [key, value] : std::exchange(options_, {}))
        words.push_back(format("%s=%s", key.c_str(), value.c_str()));
    return words;
}

bool Arguments::finish() {
    if (next_ < words_.size())
        mistake("unexpected \"" + words_[next_] + "\"");
    if (!options_.empty())
        mistake("unknown option " + options_.front().first + "=");
    return error_.empty();
}

Action immediate(std::function<Answer()> act) {
    return [act = std::move(act)](const Context&, const Done& done) {
        done(act());
        return Cancel();
    };
}

Action parse_command(Chassis& chassis, std::span<const std::string> words, std::string& error) {
    const Command* command = find_command(words.front());
    if (!command) {
        error = "no command \"" + words.front() + "\"; \"help\" lists them";
        return {};
    }
    Arguments args(words.subspan(1));
    Action action = command->parse(chassis, args);
    if (!args.finish()) {
        error = std::string(command->name) + ": " + args.error();
        return {};
    }
    return action;
}
