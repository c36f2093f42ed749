#pragma once

// The configuration of the daemon as a set of lines, to see which lines of a file would change something.

#include <set>
#include <string>
#include <vector>

#include "script_runner.h"

class config_image {
public:
    /// @param text  what "write file" prints
    config_image(const std::string& text, const understand_t& understand);

    bool holds(const script_line_t& line) const { return lines.contains(line); }

    /// What a file would change here, without running anything.
    struct change_t {
        script_line_t line;
        bool known; // is there such a command? One that there isn't would be refused
    };
    struct changes_t {
        std::vector<change_t> lines;
        size_t same = 0; // lines that stand already
    };
    changes_t changes_by(std::istream& file, const understand_t& understand) const;

private:
    std::set<script_line_t> lines;
};
