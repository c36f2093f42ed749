#include "process_list.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "text_files.h"

namespace {

namespace fs = std::filesystem;

std::set<long> pids() {
    std::set<long> found;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") == std::string::npos)
            found.insert(std::strtol(name.c_str(), nullptr, 10));
    }
    return found;
}

// What a line "Name:  VALUE" of /proc/PID/status says, without a unit; "-" where it says nothing, as of the
// memory of a thread of the kernel.
std::string value_of(const std::string& status, const std::string& name) {
    std::istringstream lines(status);
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(name + ":")) {
            const size_t begin = line.find_first_not_of(" \t", name.size() + 1);
            const size_t end = line.find_last_of("0123456789");
            const bool has_unit = line.ends_with(" kB") && end != std::string::npos;
            return begin == std::string::npos ? "-"
                                              : line.substr(begin, has_unit ? end + 1 - begin : line.npos);
        }
    return "-";
}

} // namespace

std::string process_list() {
    std::string list = "    pid  parent  state             threads  memory KB  name\n";
    for (const long pid : pids()) {
        const std::string status = read_special_file("/proc/" + std::to_string(pid) + "/status");
        if (status.empty()) // it has ended
            continue;
        char line[160];
        std::snprintf(line, sizeof line, "%7ld %7s  %-16s %8s %10s  %s\n", pid,
                      value_of(status, "PPid").c_str(), value_of(status, "State").c_str(),
                      value_of(status, "Threads").c_str(), value_of(status, "VmRSS").c_str(),
                      value_of(status, "Name").c_str());
        list += line;
    }
    return list;
}
