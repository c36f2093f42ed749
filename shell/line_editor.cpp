#include "line_editor.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <readline/history.h>
#include <readline/readline.h>

#include "line_tail.h"

namespace {

// The library calls back without saying for whom.
const CommandTree* commands = nullptr;
const Pager* output = nullptr;
std::function<enum node_type()> current_node;
std::function<std::vector<std::string>(const std::string& text)> existing_names;

bool line_is_finished = false;
std::optional<std::string> finished_line;

void finish_line(char* line) {
    // Removed at once, or the library would show the prompt again.
    rl_callback_handler_remove();
    line_is_finished = true;
    finished_line = line ? std::optional<std::string>(line) : std::nullopt;
    free(line);
}

std::string text_up_to(int point) {
    return {rl_line_buffer, static_cast<size_t>(point)};
}

/// What can stand where text ends: keywords and names, or what goes behind a "|".
std::vector<std::string> words_for(const std::string& text) {
    std::vector<std::string> words;
    if (const auto tail = tail_help(text)) {
        for (const auto& [word, help] : *tail)
            words.push_back(word);
        return words;
    }
    words = commands->complete(current_node(), text);
    const auto names = existing_names(text);
    words.insert(words.end(), names.begin(), names.end());
    return words;
}

char** complete(const char* /*text*/, int /*start*/, int end) {
    rl_attempted_completion_over = 1; // no file names
    static std::vector<std::string> words;
    words = words_for(text_up_to(end));
    const auto next = [](const char* /*text*/, int state) -> char* {
        const auto i = static_cast<size_t>(state);
        return i < words.size() ? strdup(words[i].c_str()) : nullptr;
    };
    return rl_completion_matches("", next);
}

/// The help for a text: the daemon's commands, and what the shell itself does with their output.
std::vector<CommandHelp> help_for(const std::string& text) {
    std::vector<CommandHelp> lines;
    if (const auto tail = tail_help(text)) {
        for (const auto& [word, help] : *tail)
            lines.push_back({word, help, true});
        return lines;
    }
    lines = commands->describe(current_node(), text);
    const bool complete =
        std::any_of(lines.begin(), lines.end(), [](const CommandHelp& line) { return line.word == "<cr>"; });
    if (complete && takes_tail(text)) {
        lines.push_back({"|", "What to do with the lines: include TEXT, exclude TEXT, count, json", true});
        lines.push_back({"repeat", "Again every so many seconds: repeat SECONDS [TIMES]", true});
    }
    return lines;
}

/// Tab, or a blank where it is a character of pasted lines: more of them stands behind it already.
int complete_or_separate(int count, int key) {
    int waiting = 0;
    if (ioctl(STDIN_FILENO, FIONREAD, &waiting) == 0 && waiting > 0)
        return rl_insert(count, ' ');
    return rl_complete(count, key);
}

int show_help(int /*count*/, int /*key*/) {
    const auto lines = help_for(text_up_to(rl_point));
    fputs("?\n", stdout);
    output->show(lines.empty() ? "% There is no matched command.\n" : LineEditor::help_text(lines));
    rl_on_new_line();
    rl_redisplay();
    return 0;
}

void set_up_library() {
    rl_readline_name = "gponsh";
    rl_catch_signals = 0; // Ctrl-C is ours
    rl_initialize();
    rl_variable_bind("show-all-if-ambiguous", "on");
    // Pasted lines are run line by line.
    rl_variable_bind("enable-bracketed-paste", "off");
    rl_completer_word_break_characters = " \t";
    rl_completer_quote_characters = "";
    rl_attempted_completion_function = complete;
    rl_sort_completion_matches = 0; // port 2 comes before port 10
    rl_bind_key('?', show_help);
    rl_bind_key('\t', complete_or_separate);
}

/// Make the file, for this user only; false if that can't be.
bool make_private_file(const std::string& path) {
    std::error_code error;
    const auto directory = std::filesystem::path(path).parent_path();
    if (!std::filesystem::exists(directory, error)) {
        std::filesystem::create_directories(directory, error);
        std::filesystem::permissions(directory, std::filesystem::perms::owner_all, error);
    }
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return false;
    close(fd);
    return true;
}

} // namespace

std::string LineEditor::history_path() {
    const char* const state = getenv("XDG_STATE_HOME");
    if (state && *state == '/')
        return std::string(state) + "/gponsh/history";
    const char* const home = getenv("HOME");
    return home && *home == '/' ? std::string(home) + "/.local/state/gponsh/history" : "";
}

std::string LineEditor::help_text(const std::vector<CommandHelp>& lines) {
    size_t width = 0;
    for (const auto& line : lines)
        width = std::max(width, line.word.size());
    std::string text;
    for (const auto& line : lines) {
        text += "  " + line.word;
        if (!line.help.empty())
            text += std::string(width - line.word.size() + 2, ' ') + line.help;
        text += '\n';
    }
    return text;
}

LineEditor::LineEditor(const CommandTree& tree, const Pager& pager_given, SignalWatch& interrupt_given,
                       std::function<enum node_type()> node,
                       std::function<std::vector<std::string>(const std::string& text)> names)
    : interrupt_(interrupt_given), resumed_(SIGCONT), history_file_(history_path()) {
    commands = &tree;
    output = &pager_given;
    current_node = std::move(node);
    existing_names = std::move(names);
    set_up_library();
    using_history();
    stifle_history(HISTORY_SIZE);
    if (history_file_.empty() || !make_private_file(history_file_)) {
        history_file_.clear();
        return;
    }
    history_truncate_file(history_file_.c_str(), HISTORY_SIZE);
    read_history(history_file_.c_str());
}

LineEditor::~LineEditor() {
    rl_callback_handler_remove();
}

void LineEditor::remember(const std::string& line) {
    if (line.find_first_not_of(" \t") == line.npos || line[0] == ' ' || line[0] == '\t')
        return;
    const HIST_ENTRY* const last =
        history_length > 0 ? history_get(history_base + history_length - 1) : nullptr;
    if (last && line == last->line)
        return;
    add_history(line.c_str());
    // Line by line: sessions at the same time keep each other's.
    if (!history_file_.empty())
        append_history(1, history_file_.c_str());
}

void LineEditor::drop_line() {
    rl_callback_sigcleanup();
    fputs("^C\n", stdout);
    rl_free_line_state();
    rl_replace_line("", 0);
    rl_on_new_line();
    rl_redisplay();
}

/// The terminal is as others left it.
void LineEditor::draw_again() {
    rl_deprep_terminal();
    rl_prep_terminal(1);
    rl_forced_update_display();
}

std::optional<std::string> LineEditor::read(const std::function<std::string()>& prompt, const Watch& watch) {
    line_is_finished = false;
    interrupt_.take(); // meant for what ran before
    resumed_.take();
    rl_callback_handler_install(prompt().c_str(), finish_line);
    while (!line_is_finished) {
        struct pollfd fds[] = {{STDIN_FILENO, POLLIN, 0},
                               {interrupt_.descriptor(), POLLIN, 0},
                               {watch.descriptor(), POLLIN, 0},
                               {resumed_.descriptor(), POLLIN, 0}};
        if (poll(fds, std::size(fds), -1) < 0) {
            if (errno != EINTR)
                return std::nullopt;
            continue;
        }
        if (fds[3].revents && resumed_.take())
            draw_again();
        if (fds[2].revents) {
            rl_clear_visible_line();
            fflush(rl_outstream);
            watch.readable();
            rl_set_prompt(prompt().c_str());
            rl_on_new_line();
            rl_redisplay();
        }
        if (fds[1].revents && interrupt_.take())
            drop_line();
        if (fds[0].revents)
            rl_callback_read_char();
    }
    return finished_line;
}
