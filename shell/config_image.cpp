#include "config_image.h"

#include <sstream>

namespace {

/// Lines of a file, walked through as if the daemon took each of them.
script_summary_t walk(std::istream& file, const understand_t& understand,
                      const std::function<void(script_runner&)>& prepare) {
    shell_mode mode(understand);
    mode.answered("enable", 0);
    const auto taken = [] { return vty_reply_t{"", 0}; };
    script_runner runner(
        {[](const std::string&) {}, taken, taken}, mode, [](const std::string&) {},
        [](const script_refusal_t&) {});
    prepare(runner);
    runner.run(file);
    return runner.summary();
}

} // namespace

config_image::config_image(const std::string& text, const understand_t& understand) {
    std::istringstream file(text);
    walk(file, understand, [this](script_runner& runner) {
        runner.watch([this](const script_line_t& line, bool /*known*/) { lines.insert(line); });
    });
}

config_image::changes_t config_image::changes_by(std::istream& file, const understand_t& understand) const {
    changes_t changes;
    const auto summary = walk(file, understand, [&](script_runner& runner) {
        runner.leave_out([this](const script_line_t& line) { return holds(line); });
        runner.watch([&](const script_line_t& line, bool known) { changes.lines.push_back({line, known}); });
    });
    changes.same = summary.same;
    return changes;
}
