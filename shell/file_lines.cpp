// The lines of a file, such as a saved configuration.

#include "gponsh.h"

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <unistd.h>
#include <utility>

#include "command_tree.h"
#include "config_image.h"
#include "config_save.h"
#include "operator_session.h"
#include "refusal_text.h"
#include "script_runner.h"
#include "signal_watch.h"
#include "vty_client.h"

namespace {

void tell_refusal(const std::string& file, const ScriptRefusal& refusal, const CommandTree& tree) {
    fflush(stdout);
    fprintf(stderr, "%s:%zu: refused: %s\n", file.c_str(), refusal.number, refusal.line.c_str());
    if (!refusal.text.empty())
        fprintf(stderr, "    %s%s", refusal.text.c_str(), refusal.text.ends_with('\n') ? "" : "\n");
    if (const auto second = refusal_second_line(tree, refusal.node, refusal.line, refusal.reply);
        !second.empty())
        fprintf(stderr, "    %s", second.c_str() + second.find_first_not_of(" \n"));
    if (refusal.block_start != 0)
        fprintf(stderr, "    (ends the block of line %zu: %s)\n", refusal.block_start, refusal.block.c_str());
}

void tell_summary(const std::string& file, const ScriptSummary& summary) {
    fflush(stdout);
    fprintf(stderr, "%s: %zu lines run, %zu refused; %zu blocks refused, %zu lines skipped", file.c_str(),
            summary.run, summary.refused, summary.blocks, summary.skipped);
    if (summary.same != 0)
        fprintf(stderr, "; %zu lines stood already", summary.same);
    fputc('\n', stderr);
}

/// The lines of the running configuration are left out, up to the first line that takes something away: what
/// stood may be gone behind it.
void leave_out_what_stands(ScriptRunner& runner, const ConfigImage& image) {
    const auto sure = std::make_shared<bool>(true);
    runner.leave_out([&image, sure](const ScriptLine& line) { return *sure && image.holds(line); });
    runner.watch(
        [sure](const ScriptLine& line, bool /*known*/) { *sure = *sure && !line.line.starts_with("no "); });
}

/// Tell what a file would change: each line below the mode that it stands in.
Exit tell_changes(const std::string& file, const ConfigImage::Changes& changes) {
    std::string place;
    size_t unknown = 0;
    for (const auto& change : changes.lines) {
        if (change.line.place != place)
            print((place = change.line.place) + "\n");
        print((change.known ? "    " : "  ? ") + change.line.line + "\n");
        unknown += change.known ? 0 : 1;
    }
    fflush(stdout);
    fprintf(stderr, "%s: %zu lines would run, %zu stand already", file.c_str(), changes.lines.size(),
            changes.same);
    if (unknown != 0)
        fprintf(stderr, "; %zu (\"?\") are no commands there", unknown);
    fputc('\n', stderr);
    return changes.lines.empty() ? EXIT_OK : EXIT_REFUSED;
}

/// Throws Interrupted where Ctrl-C came first, VtyClientError.
VtyReply next_answer(VtyClient& daemon, SignalWatch& interrupt) {
    auto reply = wait_for_answer(daemon, interrupt, [](unsigned seconds) {
        if (seconds == 1 && isatty(STDERR_FILENO))
            fputs("(no answer from the daemon yet; Ctrl-C ends)\n", stderr);
    });
    if (!reply)
        throw Interrupted{};
    return *std::move(reply);
}

Exit run_stream(const Options& options, std::istream& lines) {
    const std::string file = options.file == "-" ? "standard input" : options.file;
    SignalWatch interrupt{SIGINT};
    const CommandTree tree;
    const Understand understand = [&](enum node_type node, const std::string& line) {
        return tree.understand(node, line);
    };
    ShellMode mode(understand);
    VtyClient daemon(options.socket);
    daemon.ask_reasons();
    const auto receive = [&] { return next_answer(daemon, interrupt); };
    const auto send = [&](const std::string& line) { daemon.send(line); };

    const auto save = [&] {
        return *save_configuration([&](const std::string& line) {
            send(line);
            return std::optional(receive());
        });
    };

    ScriptRunner runner({send, receive, save}, mode, print,
                        [&](const ScriptRefusal& refusal) { tell_refusal(file, refusal, tree); });
    try {
        send("enable");
        mode.answered("enable", receive().result);
        std::optional<ConfigImage> image;
        if (options.apply || options.check) {
            send("write file");
            image.emplace(receive().text, understand);
        }
        if (options.check)
            return tell_changes(file, image->changes_by(lines, understand));
        if (options.apply)
            leave_out_what_stands(runner, *image);
        runner.run(lines);
    } catch (const Interrupted&) {
        tell_summary(file, runner.summary());
        fprintf(stderr, "%s: ended by Ctrl-C behind line %zu\n", file.c_str(), runner.last_answered());
        return EXIT_INTERRUPTED;
    } catch (const VtyClientError&) {
        tell_summary(file, runner.summary());
        fprintf(stderr, "%s: the daemon answered up to line %zu\n", file.c_str(), runner.last_answered());
        throw;
    }
    tell_summary(file, runner.summary());
    return runner.summary().refused == 0 ? EXIT_OK : EXIT_REFUSED;
}

} // namespace

Exit run_file(const Options& options) {
    if (options.file == "-")
        return run_stream(options, std::cin);
    std::ifstream lines(options.file);
    if (!lines) {
        fprintf(stderr, "gponsh: %s can't be read\n", options.file.c_str());
        return EXIT_USAGE;
    }
    return run_stream(options, lines);
}
