// Commands that look at the records.

#include "command.h"

namespace {

Pattern pattern_of(Arguments& args) {
    Pattern pattern;
    std::string error;
    const Words words = args.rest_as_words();
    if (!Pattern::parse(words, pattern, error))
        args.mistake(error);
    return pattern;
}

Action parse_records(Chassis& chassis, Arguments& args) {
    const uint32_t since = args.number_option_or("since", 0);
    const uint32_t limit = args.number_option_or("limit", UINT32_MAX);
    return immediate([&chassis, since, limit, pattern = pattern_of(args)] {
        Answer answer;
        for (const Record& record : chassis.records.all()) {
            if (record.id > since && answer.lines.size() < limit && pattern.matches(record))
                answer.lines.push_back(record.line());
        }
        return answer;
    });
}

Action parse_count(Chassis& chassis, Arguments& args) {
    const uint32_t since = args.number_option_or("since", 0);
    return immediate([&chassis, since, pattern = pattern_of(args)] {
        size_t count = 0;
        for (const Record& record : chassis.records.all())
            count += record.id > since && pattern.matches(record) ? 1 : 0;
        return Answer{{}, {std::to_string(count)}};
    });
}

Action parse_wait(Chassis& chassis, Arguments& args) {
    Waits::Request request;
    request.timeout_ms = args.number_option_or("timeout", 10'000);
    request.count = args.number_option_or("count", 1);
    const auto since = args.number_option("since");
    const Words words = args.rest_as_words();
    std::string error;
    if (words.empty())
        args.mistake("a KEY=PATTERN is missing");
    else if (!Pattern::parse(words, request.pattern, error))
        args.mistake(error);
    return [&chassis, request, since](const Context& context, const Done& done) {
        Waits::Request wanted = request;
        wanted.since = since.value_or(context.since);
        const Waits::Id id =
            chassis.waits.start(wanted, [wanted, done](bool complete, std::vector<std::string> lines) {
                const std::string late = format("timeout after %u ms: %zu of %u records seen",
                                                wanted.timeout_ms, lines.size(), wanted.count);
                done({complete ? "" : late, std::move(lines)});
            });
        return Cancel([&chassis, id] { chassis.waits.cancel(id); });
    };
}

Action parse_mark(Chassis& chassis, Arguments&) {
    return immediate([&chassis] { return Answer{{}, {std::to_string(chassis.records.last_id())}}; });
}

Action parse_clear(Chassis& chassis, Arguments&) {
    return immediate([&chassis] {
        chassis.records.clear();
        return Answer();
    });
}

Action parse_note(Chassis& chassis, Arguments& args) {
    const std::string text = args.text("TEXT");
    return immediate([&chassis, text] {
        chassis.records.add("note", {{"text", text}});
        return Answer();
    });
}

constexpr Command COMMANDS[] = {
    {"records", "[since=ID] [limit=N] [KEY=PATTERN]...",
     "what was seen and done, one record per line; a pattern is a shell glob or a number,\n"
     "\"records kind=request type=new-if port=gpon-onu1/1:*\"",
     parse_records},
    {"count", "[since=ID] [KEY=PATTERN]...", "the number of such records", parse_count},
    {"wait", "[timeout=MS] [since=ID] [count=N] KEY=PATTERN...",
     "waits until N records (1) match, prints them; fails after MS milliseconds (10000; 0: never).\n"
     "Records that exist already count, those up to since=ID don't",
     parse_wait},
    {"mark", "", "the id of the last record, for since=", parse_mark},
    {"note", "TEXT", "puts TEXT on record, kind=note", parse_note},
    {"clear-records", "", "forgets all records; ids go on", parse_clear},
};

} // namespace

std::span<const Command> record_commands() {
    return COMMANDS;
}
