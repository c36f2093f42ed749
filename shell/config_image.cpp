#include "config_image.h"

#include <sstream>

namespace {

/// Lines of a file, walked through as if the daemon took each of them.
ScriptSummary walk(std::istream& file, const Understand& understand,
                   const std::function<void(ScriptRunner&)>& prepare) {
    ShellMode mode(understand);
    mode.answered("enable", 0);
    const auto taken = [] { return VtyReply{"", 0}; };
    ScriptRunner runner(
        {[](const std::string&) {}, taken, taken}, mode, [](const std::string&) {},
        [](const ScriptRefusal&) {});
    prepare(runner);
    runner.run(file);
    return runner.summary();
}

} // namespace

ConfigImage::ConfigImage(const std::string& text, const Understand& understand) {
    std::istringstream file(text);
    walk(file, understand, [this](ScriptRunner& runner) {
        runner.watch([this](const ScriptLine& line, bool /*known*/) { lines_.insert(line); });
    });
}

ConfigImage::Changes ConfigImage::changes_by(std::istream& file, const Understand& understand) const {
    Changes changes;
    const auto summary = walk(file, understand, [&](ScriptRunner& runner) {
        runner.leave_out([this](const ScriptLine& line) { return holds(line); });
        runner.watch([&](const ScriptLine& line, bool known) { changes.lines.push_back({line, known}); });
    });
    changes.same = summary.same;
    return changes;
}
