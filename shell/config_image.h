#pragma once

// The configuration of the daemon as a set of lines, to see which lines of a file would change something.

#include <set>
#include <string>
#include <vector>

#include "script_runner.h"

class ConfigImage {
public:
    /// @param text  what "write file" prints
    ConfigImage(const std::string& text, const Understand& understand);

    bool holds(const ScriptLine& line) const { return lines_.contains(line); }

    /// What a file would change here, without running anything.
    struct Change {
        ScriptLine line;
        bool known; // is there such a command? One that there isn't would be refused
    };
    struct Changes {
        std::vector<Change> lines;
        size_t same = 0; // lines that stand already
    };
    Changes changes_by(std::istream& file, const Understand& understand) const;

private:
    std::set<ScriptLine> lines_;
};
