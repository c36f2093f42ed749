#include "collect.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

#include "memory_words.h"
#include "process_list.h"
#include "run_program.h"
#include "text_files.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t MEGABYTE = 1 << 20;
constexpr size_t LOG_READ = 32 * MEGABYTE; // in which the last hour is looked for
constexpr size_t LOG_KEPT = 4 * MEGABYTE;
constexpr size_t TABLE_MOST = 64 * MEGABYTE;
constexpr size_t CRASH_MOST = MEGABYTE;
constexpr size_t CRASHES = 20; // the latest ones
constexpr size_t ANSWER_MOST = 16 * MEGABYTE;
constexpr size_t PROGRAM_MOST = MEGABYTE;
constexpr std::chrono::seconds PROGRAM_LIMIT(10);

struct Asked {
    const char* member;
    const char* command; // of the shell
    const char* about;
};
constexpr Asked RUNNING = {"config/running.conf", "write terminal", "the configuration as it is now"};
constexpr Asked ANSWERS[] = {
    {"versions/gpon.txt", "show version", "version and build of the daemon"},
    {"figures/health.txt", "show chassis health", "what there is to look at, cards and their replays"},
    {"figures/saves.txt", "show chassis saves", "when each table was saved, and what failed"},
    {"figures/table-memory.txt", "show chassis memory", "rows and memory of each table"},
    {"figures/refused.txt", "show refused", "requests that were refused, and why"},
    {"figures/refused-last.txt", "show refused last", "the last of them in full"},
    {"figures/loop.txt", "show loop", "what held the event loop, longest first"},
    {"figures/memory.txt", "show memory", "the daemon's memory by what it is for"},
    {"figures/thread-cpu.txt", "show thread cpu", "processor time of each kind of task"},
    {"figures/mib-tables.txt", "show mib table", "the tables in the store"},
    {"figures/resources.txt", "show gpon resources", "what is reserved, with its limits"},
    {"figures/slots.txt", "show slot info", "the shelf and its slots"},
    {"figures/alarms.txt", "show alarm", "alarms that stand"},
    {"figures/onu-status.txt", "show onu status", "states of the ONUs"},
    {"figures/onu-reason.txt", "show onu reason", "why ONUs are not in service"},
    {"figures/onu-history.txt", "show onu history", "when ONUs came and went"},
    {"figures/onu-unconfig.txt", "show onu unconfig", "ONUs that wait to be configured"},
    {"figures/upgrades.txt", "show cpe update-status all", "firmware upgrades"},
};

struct Program {
    const char* member;
    std::vector<std::string> argv;
    const char* about;
};
const std::array<Program, 3> PROGRAMS = {{
    {"system/kernel.txt", {"uname", "-a"}, "the kernel"},
    {"system/disks.txt", {"df", "-k"}, "room on the disks"},
    {"system/kernel-log.txt", {"dmesg"}, "the kernel's log"},
}};

struct SpecialFile {
    const char* member;
    const char* path;
    const char* about;
};
constexpr SpecialFile SYSTEM_FILES[] = {
    {"system/memory.txt", "/proc/meminfo", "memory of the system"},
    {"system/load.txt", "/proc/loadavg", "load of the system"},
    {"system/uptime.txt", "/proc/uptime", "seconds since the system started"},
    {"system/processor.txt", "/proc/cpuinfo", "the processor"},
    {"system/mounts.txt", "/proc/mounts", "file systems"},
    {"system/release.txt", "/etc/os-release", "the distribution"},
};
constexpr const char* PROCESS_FILES[] = {"status", "stat", "limits", "io", "cmdline", "smaps_rollup"};

std::string first_set(std::initializer_list<std::string> values) {
    return *std::ranges::find_if(values, [](const std::string& value) { return !value.empty(); });
}

std::string own_variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string platform_value(const char* name) {
    const auto asked = run_program({"ov_env_get", name}, PROGRAM_LIMIT, PROGRAM_MOST);
    return asked.trouble.empty() ? asked.output.substr(0, asked.output.find_first_of("\r\n")) : "";
}

// Where this program is, if that one is there, too, or in the directory given beside it; else the shell's
// PATH.
std::string program_beside(const std::string& name, const char* directory = ".") {
    std::error_code error;
    const auto here = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& path : {here / name, here / directory / name})
        if (fs::exists(path, error))
            return path.lexically_normal();
    return name;
}
std::string daemon_program() {
    return program_beside("gpon", "../sbin");
}

// One run of this program.
class Collector {
public:
    Collector(const Places& places, Bundle& bundle, Secrets& secrets, std::string& said);
    void run();

private:
    void add(const std::string& member, std::string_view text, const std::string& about) {
        bundle_.add(member, secrets_.blank_commands(text), about);
    }
    // What has no commands in it.
    void add_foreign(const std::string& member, std::string_view text, const std::string& about) {
        bundle_.add(member, secrets_.blank_values(text), about);
    }
    // A file of the kernel's, if there is one.
    void add_if_told(const std::string& member, const std::string& path, const std::string& about) {
        const std::string text = read_special_file(path);
        if (text.empty())
            bundle_.leave_out(member, path + " is empty or can't be read");
        else
            add_foreign(member, text, about);
    }
    void find_daemon();
    std::string daemon_variable(const std::string& name) const;
    std::optional<std::string> ask(const Asked& asked, std::chrono::seconds limit);
    void ask_all();
    void learn();
    void add_tables();
    void add_config();
    void add_log();
    void add_crashes();
    void add_answers();
    void add_process();
    void add_program();
    void add_libraries();
    void add_system();
    std::vector<fs::path> files_in(const std::string& directory, const std::string& member);

    Places places_;
    Bundle& bundle_;
    Secrets& secrets_;
    std::string& said_;
    std::string pid_;                                 // empty: no daemon runs
    std::string silent_;                              // why the daemon isn't asked any more
    std::vector<std::optional<std::string>> answers_; // by ANSWERS
    std::optional<std::string> running_;
};

Collector::Collector(const Places& places, Bundle& bundle, Secrets& secrets, std::string& said)
    : places_(places), bundle_(bundle), secrets_(secrets), said_(said) {
    find_daemon();
    places_.log = first_set(
        {places.log, daemon_variable("OV_LOG_FILE"), own_variable("OV_LOG_FILE"), "/tmp/product/gpon.log"});
    places_.tables = first_set({places.tables, daemon_variable("OV_PDT_RUN_MIB_DATA_DIR"),
                                own_variable("OV_PDT_RUN_MIB_DATA_DIR"), "/var/run/product/mibdata"});
    places_.config = first_set({places.config, own_variable("OV_ENV_CONFIG_FILE"),
                                platform_value("OV_ENV_CONFIG_FILE"), "/flash/gpon.conf"});
}

void Collector::find_daemon() {
    std::istringstream(read_special_file(places_.pid_file)) >> pid_;
    if (pid_.empty() || pid_.find_first_not_of("0123456789") != std::string::npos ||
        read_special_file("/proc/" + pid_ + "/comm") != "gpon\n")
        pid_.clear();
    said_ += pid_.empty() ? "No daemon runs.\n" : "The daemon runs as process " + pid_ + ".\n";
}

std::string Collector::daemon_variable(const std::string& name) const {
    if (pid_.empty())
        return "";
    std::istringstream all(read_special_file("/proc/" + pid_ + "/environ"));
    for (std::string word; all >> word;)
        if (word.starts_with(name + "="))
            return word.substr(name.size() + 1);
    return "";
}

// A daemon that has been silent once isn't asked again.
std::optional<std::string> Collector::ask(const Asked& asked, std::chrono::seconds limit) {
    if (!silent_.empty()) {
        bundle_.leave_out(asked.member, silent_);
        return std::nullopt;
    }
    const auto answer = run_program({program_beside("gponsh"), "-s", places_.socket, "-c", asked.command},
                                    limit, ANSWER_MOST);
    if (answer.timed_out)
        silent_ = "the daemon doesn't answer (within " + std::to_string(limit.count()) + " s)";
    if (answer.trouble.empty())
        return answer.output;
    bundle_.leave_out(asked.member, answer.timed_out
                                        ? silent_
                                        : answer.trouble + ": " + secrets_.blank_commands(answer.output));
    return std::nullopt;
}

// The configuration of a full shelf takes its time.
void Collector::ask_all() {
    constexpr int LONGER = 5;
    for (const Asked& asked : ANSWERS)
        answers_.push_back(ask(asked, places_.wait));
    running_ = ask(RUNNING, places_.wait * LONGER);
}

std::vector<fs::path> Collector::files_in(const std::string& directory, const std::string& member) {
    std::vector<fs::path> files;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(directory, error))
        if (entry.symlink_status(error).type() == fs::file_type::regular) // links lead who knows where
            files.push_back(entry.path());
    if (files.empty())
        bundle_.leave_out(member, directory + (error ? ": " + error.message() : " has none"));
    std::ranges::sort(files);
    return files;
}

// Before anything is added: what one file has as a password another may have anywhere.
void Collector::learn() {
    std::string why;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(places_.tables, error)) {
        const std::string table = entry.path().stem();
        if (!Secrets::fields_of(table))
            continue;
        if (const auto file = read_text_file(entry.path(), TABLE_MOST, why))
            secrets_.learn_table(table, file->text);
    }
    for (const char* ending : {"", ".bak"})
        if (const auto file = read_text_file(places_.config + ending, TABLE_MOST, why))
            secrets_.learn_commands(file->text);
    if (running_)
        secrets_.learn_commands(*running_);
    for (const auto& answer : answers_)
        if (answer)
            secrets_.learn_lists(*answer);
}

void Collector::add_tables() {
    for (const auto& path : files_in(places_.tables, "tables")) {
        const std::string member = "tables/" + path.filename().string();
        std::string why;
        const auto file = read_text_file(path, TABLE_MOST, why);
        if (!file)
            bundle_.leave_out(member, why);
        else if (path.extension() == ".mib")
            bundle_.add(member, secrets_.blank_table(path.stem().string(), file->text),
                        file->cut ? "the end of a table's file" : "a table's file");
    }
}

void Collector::add_config() {
    if (running_)
        add(RUNNING.member, *running_, RUNNING.about);
    const std::array<std::array<std::string, 3>, 4> files = {{
        {"config/saved.conf", places_.config, "the saved configuration"},
        {"config/saved.conf.bak", places_.config + ".bak", "the one before it"},
        {"config/initial.ini", "/flash/initial.gpon", "start-up settings"},
        {"config/running.ini", "/tmp/product/running.gpon", "running settings"},
    }};
    for (const auto& [member, path, about] : files) {
        std::string why;
        if (const auto file = read_text_file(path, TABLE_MOST, why))
            add(member, file->text, about + ", " + path);
        else
            bundle_.leave_out(member, path + ": " + why);
    }
}

void Collector::add_log() {
    std::string why;
    const auto log = read_log_file(places_.log, LOG_READ, why);
    if (!log) {
        bundle_.leave_out("log", places_.log + ": " + why);
        return;
    }
    const auto hour = last_hour_of(log->text);
    if (hour.empty())
        bundle_.leave_out("log/last-hour.log", "no line of the log begins with a time");
    else
        add("log/last-hour.log", hour,
            log->cut && hour.size() == log->text.size() ? "the end of the daemon's last hour in its log"
                                                        : "the daemon's last hour in its log");
    std::string_view end = log->text;
    if (end.size() > LOG_KEPT)
        end.remove_prefix(end.find('\n', end.size() - LOG_KEPT) + 1);
    add("log/gpon.log", end, (log->cut || end.size() < log->text.size() ? "the end of " : "") + places_.log);
}

void Collector::add_crashes() {
    auto files = files_in(places_.crashes, "crash");
    std::error_code error;
    std::ranges::sort(files, std::greater(),
                      [&error](const fs::path& path) { return fs::last_write_time(path, error); });
    for (size_t i = 0; i < files.size(); ++i) {
        const std::string member = "crash/" + files[i].filename().string();
        std::string why = "older than the latest " + std::to_string(CRASHES);
        const auto file = i < CRASHES ? read_text_file(files[i], CRASH_MOST, why) : std::nullopt;
        if (file)
            add(member, blank_memory_words(file->text),
                file->cut ? "the end of a crash report" : "a crash report");
        else
            bundle_.leave_out(member, why);
    }
}

void Collector::add_answers() {
    for (size_t i = 0; i < answers_.size(); ++i)
        if (answers_[i])
            add(ANSWERS[i].member, *answers_[i], std::string(ANSWERS[i].about) + ": " + ANSWERS[i].command);
}

void Collector::add_process() {
    if (pid_.empty()) {
        bundle_.leave_out("process", "no daemon runs");
        return;
    }
    const std::string place = "/proc/" + pid_ + "/";
    for (const char* name : PROCESS_FILES)
        add_if_told("process/" + std::string(name) + ".txt", place + name, "/proc of the daemon");
    std::string files, threads;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(place + "fd", error))
        files +=
            entry.path().filename().string() + " " + fs::read_symlink(entry.path(), error).string() + "\n";
    for (const auto& entry : fs::directory_iterator(place + "task", error))
        threads += entry.path().filename().string() + " " + read_special_file(entry.path() / "stat");
    add_foreign("process/open-files.txt", files, "open files of the daemon");
    add_foreign("process/threads.txt", threads, "threads of the daemon");
}

// What would be started; it needs no running daemon to tell.
void Collector::add_program() {
    const std::string program = daemon_program();
    const auto told = run_program({program, "--version"}, PROGRAM_LIMIT, PROGRAM_MOST);
    if (told.trouble.empty())
        add_foreign("versions/program.txt", told.output, "version and build of " + program);
    else
        bundle_.leave_out("versions/program.txt", told.trouble);
}

// Those of the running daemon, else those that it would start with.
void Collector::add_libraries() {
    std::set<std::string> paths;
    std::istringstream maps(pid_.empty() ? "" : read_special_file("/proc/" + pid_ + "/maps"));
    for (std::string line; std::getline(maps, line);)
        if (const size_t at = line.find('/'); at != std::string::npos)
            paths.insert(line.substr(at));
    std::string list;
    for (const auto& path : paths) {
        std::error_code error;
        const auto size = fs::file_size(path, error);
        list += path + (error ? " (" + error.message() + ")" : " " + std::to_string(size) + " bytes") + "\n";
    }
    std::string trouble;
    if (list.empty()) {
        auto told = run_program({"ldd", daemon_program()}, PROGRAM_LIMIT, PROGRAM_MOST);
        list = std::move(told.output);
        trouble = std::move(told.trouble);
    }
    if (!trouble.empty()) {
        bundle_.leave_out("versions/libraries.txt", "no daemon runs, and " + trouble);
        return;
    }
    add_foreign("versions/libraries.txt", list,
                pid_.empty() ? "libraries of the program" : "program and libraries of the daemon");
}

void Collector::add_system() {
    for (const SpecialFile& file : SYSTEM_FILES)
        add_if_told(file.member, file.path, file.about);
    add_foreign("system/processes.txt", process_list(),
                "processes, without the words they were started with");
    for (const Program& program : PROGRAMS) {
        const auto result = run_program(program.argv, PROGRAM_LIMIT, PROGRAM_MOST);
        if (result.trouble.empty())
            add_foreign(program.member, result.output, program.about);
        else
            bundle_.leave_out(program.member, result.trouble);
    }
}

void Collector::run() {
    ask_all();
    learn();
    add_log();
    add_crashes();
    add_tables();
    add_config();
    add_answers();
    add_process();
    add_program();
    add_libraries();
    add_system();
}

} // namespace

void collect(const Places& places, Bundle& bundle, Secrets& secrets, std::string& said) {
    Collector(places, bundle, secrets, said).run();
}
