// A command that is being run: what its handler gets.
//
//     int ov_gpon_del_tcont_cli(CliCall& call) {
//         Tcont row = key_of_session(call.vty);
//         row.tcontId = call.words.number<mib_ulong>("tcont");
//         if (ov_app_gpon_tcont_del(&row) == OV_GPON_RET_OK)
//             return 0;
//         return call.fail_of("%%Failed to delete tcont:%d%s", row.tcontId);
//     }
//
// Lives until the handler returns; what goes on behind it (gpon_stepped_show.h) copies what it needs. Event
// loop's thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cli_words.h"
#include "ov_types.h"

class CliCall {
public:
    CliCall(struct vty* session, const kavo_cmd_t& matched, CliWords typed)
        : vty(session), command(matched), words(std::move(typed)) {}

    struct vty* const vty;     // the session
    const kavo_cmd_t& command; // as its table has it
    const CliWords words;      // the arguments, by name

    // Prints as vty_out does; the line end of the session, kavo_newline, is up to the caller.
    [[gnu::format(printf, 2, 3)]] void out(const char* format, ...) const;
    // Prints a line with its end.
    [[gnu::format(printf, 2, 3)]] void line(const char* format, ...) const;

    // Ways to fail. Each prints a text as vty_out would, "%%" as a percent sign and "%s" as the session's
    // line end (for texts that stand in tables), and gives the result handed in, so that a handler can end
    // with it. The text stands for the reason of the refusal when nothing else was stated or logged.
    int fail(const char* text, int result = KAVO_CLI_FAILED) const;
    // For a text that tells the number of an object, its "%d" or "%u".
    int fail_of(const char* text, int64_t number, int result = KAVO_CLI_FAILED) const;
    // For a name that is longer than `longest`, which the reason tells.
    int fail_name(const char* text, size_t longest) const;
};
