#include "upgrade_progress.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <vector>

#include "shell_mode.h"

namespace {

struct Progress {
    unsigned onus = 0;
    unsigned done = 0; // with the step that is under way: loaded, committed or activated
    unsigned failed = 0;
    unsigned long percent = 0; // of all of them together
};

bool is_heading(std::string_view line) {
    return line.starts_with("onu ") && line.find(" percent status") != line.npos;
}

bool is_number(const std::string& word) {
    return !word.empty() && word.size() <= 3 && word.find_first_not_of("0123456789") == word.npos;
}

// "1/1:1 FILE SIZE SENT PERCENT STATUS"
void count(Progress& progress, const std::string& line) {
    constexpr size_t WORDS = 6;
    const auto words = shell_words(line);
    if (words.size() < WORDS || !is_number(words[WORDS - 2]))
        return;
    const std::string_view status = words[WORDS - 1];
    ++progress.onus;
    progress.percent += std::stoul(words[WORDS - 2]);
    progress.done += status == "DOWNLOADSUC" || status.ends_with("OK") ? 1 : 0;
    progress.failed += status.ends_with("FAIL") || status.ends_with("ABORT") || status == "UNKNOWN" ? 1 : 0;
}

} // namespace

VtyReply with_upgrade_progress(const LineTail& tail, VtyReply reply) {
    if (tail.seconds == 0 || reply.result != 0)
        return reply;
    Progress progress;
    bool is_in_table = false;
    std::istringstream lines(reply.text);
    for (std::string line; std::getline(lines, line);) {
        if (is_in_table)
            count(progress, line);
        is_in_table = is_in_table || is_heading(line);
    }
    if (progress.onus == 0)
        return reply;
    reply.text += std::to_string(progress.percent / progress.onus) + "% sent, " +
                  std::to_string(progress.done) + " of " + std::to_string(progress.onus) + " ONUs done, " +
                  std::to_string(progress.failed) + " failed\n";
    return reply;
}
