// Saves that don't come to their end: the process is killed at every step, the disk is full.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <string>

#include "../ov_common/private_root.h"
#include "../support/log_tap.h"
#include "../support/temp_dir.h"
#include "engine_tables.h"
#include "table_file_io.h"

namespace {

// Enough for several writes to each file: a row takes some 95 bytes.
constexpr uint32_t MANY = 3000;
constexpr uint32_t MORE = 600;

// What is done to the calls that change files, by number of the call.
struct Fault {
    enum Kind { NONE, KILL_BEFORE, KILL_WITHIN, FAIL } kind = NONE;
    int at = 0;
    int error = 0;
    const char* call = ""; // counts only this one; "" every one
};

Fault fault;
int calls_made = 0;
const table_file_calls_t real_calls = table_file_calls;

// Whether this call is the one.
bool strikes(const char* call) {
    if (*fault.call != '\0' && std::string_view(fault.call) != call)
        return false;
    return ++calls_made == fault.at;
}

[[noreturn]] void die() {
    kill(getpid(), SIGKILL);
    abort();
}

// For calls that are done as a whole: before them is the only instant there is.
bool refused(const char* call) {
    if (!strikes(call))
        return false;
    if (fault.kind != Fault::FAIL)
        die();
    errno = fault.error;
    return true;
}

ssize_t faulty_write(int fd, const void* data, size_t size) {
    if (!strikes("write"))
        return real_calls.write(fd, data, size);
    if (fault.kind == Fault::FAIL) {
        errno = fault.error;
        return -1;
    }
    if (fault.kind == Fault::KILL_WITHIN && real_calls.write(fd, data, size / 2 + 1) < 0)
        abort();
    die();
}

const table_file_calls_t faulty_calls = {
    [](const char* path, int flags, mode_t mode) {
        return refused("open") ? -1 : real_calls.open(path, flags, mode);
    },
    [](int fd, int mode, off_t offset, off_t length) {
        return refused("fallocate") ? -1 : real_calls.fallocate(fd, mode, offset, length);
    },
    faulty_write,
    [](int fd, off_t length) { return refused("ftruncate") ? -1 : real_calls.ftruncate(fd, length); },
    [](const char* path) { return refused("unlink") ? -1 : real_calls.unlink(path); },
};

// Runs with a fault in the calls.
template <typename Body>
void with_fault(const Fault& wanted, Body body) {
    fault = wanted;
    calls_made = 0;
    table_file_calls = faulty_calls;
    body();
    table_file_calls = real_calls;
}

class Save : public testing::Test {
protected:
    Save() { start(); }
    ~Save() override { table_file_calls = real_calls; }

    // What a start of the daemon does with the table.
    void start() {
        crates.initialize_table_data();
        crates.load();
    }
    void add(uint32_t first, uint32_t last, const char* name) {
        for (uint32_t id = first; id <= last; ++id) {
            auto* row = static_cast<CrateRow*>(crates.create_entry_at(1, 2, 3, 4, id));
            set_text(row->crateName, name);
            set_text(row->crateProfName, std::string(last >= MANY ? 65 : 0, 'p').c_str());
        }
    }
    std::string name_of(uint32_t id) {
        CrateRow key = crate(1, 2, 3, 4, id);
        const auto* row = static_cast<CrateRow*>(row_get(crates.did(), &key));
        return row == nullptr ? "none" : row->crateName;
    }
    // The table's file as it is, and as it would be.
    std::string file() const { return dir.read("crateTable.mib"); }
    bool has_copy() const { return std::filesystem::exists(dir.file("crateTable.mib.new")); }

    // Runs the body in a process of its own; true if it came to its end.
    static bool survives(const std::function<void()>& body) {
        const pid_t child = fork();
        if (child == 0) {
            body();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) ? WTERMSIG(status) == SIGKILL : WEXITSTATUS(status) == 0);
        return WIFEXITED(status);
    }

    LogTap log;
    TempDir dir;
    ScopedEnv env{MMG_MIB_DATA_DIR_ENV, dir.path()};
    TableModule& crates = crate_module();
};

// ---- killed ----------------------------------------------------------------------------------------

// A small table first, then one of which every tenth row is gone and the others have other texts.
class KilledSave : public Save {
protected:
    KilledSave() {
        add(1, MANY, "old");
        crates.save_file();
        old_file_ = file();
        crates.initialize_table_data();
        add(5, MANY + MORE, "a new and longer name");
    }
    // The content after a kill at this step of the save, which the table in memory makes.
    void check_start(const std::string& what) {
        start();
        const int rows = crates.row_count();
        const bool is_old = rows == static_cast<int>(MANY);
        EXPECT_TRUE(is_old || rows == static_cast<int>(MANY + MORE - 4)) << what << ": " << rows << " rows";
        EXPECT_EQ(name_of(5), is_old ? "old" : "a new and longer name") << what;
        EXPECT_EQ(name_of(MANY), name_of(5)) << what;
        EXPECT_FALSE(has_copy()) << what;
        const std::string there = file();
        crates.save_file();
        EXPECT_TRUE(there == file()) << what << ": the file isn't the table";
        EXPECT_EQ(there == old_file_, is_old) << what;
    }
    void put_back() const { dir.write("crateTable.mib", old_file_); }

    std::string old_file_;
};

TEST_F(KilledSave, AtEveryStepLosesNoRow) {
    int steps = 0;
    bool new_came_through = false;
    for (const Fault::Kind kind : {Fault::KILL_BEFORE, Fault::KILL_WITHIN}) {
        for (int at = 1;; ++at) {
            put_back();
            crates.initialize_table_data();
            add(5, MANY + MORE, "a new and longer name");
            const bool survived =
                survives([&] { with_fault({.kind = kind, .at = at}, [&] { crates.save_file(); }); });
            check_start("kill " + std::to_string(kind) + " at step " + std::to_string(at));
            new_came_through = new_came_through || name_of(5) != "old";
            if (survived)
                break;
            ++steps;
        }
    }
    // open, writes; open, fallocate, writes, ftruncate; unlink; twice
    EXPECT_GE(steps, 2 * 9);
    EXPECT_TRUE(new_came_through);
}

TEST_F(KilledSave, AStartThatIsKilledToo) {
    // The save dies at the file's first write, the start after it at each of its own.
    for (int at = 1;; ++at) {
        put_back();
        crates.initialize_table_data();
        add(5, MANY + MORE, "a new and longer name");
        survives([&] {
            with_fault({.kind = Fault::KILL_BEFORE, .at = 1, .call = "ftruncate"},
                       [&] { crates.save_file(); });
        });
        ASSERT_TRUE(has_copy());
        const bool survived = survives([&] {
            crates.initialize_table_data();
            with_fault({.kind = Fault::KILL_WITHIN, .at = at}, [&] { crates.load(); });
        });
        check_start("start killed at step " + std::to_string(at));
        EXPECT_EQ(name_of(5), "a new and longer name") << at;
        if (survived)
            return;
    }
}

TEST_F(KilledSave, IsToldInTheLog) {
    survives([&] {
        with_fault({.kind = Fault::KILL_BEFORE, .at = 1, .call = "ftruncate"}, [&] { crates.save_file(); });
    });
    LogTap::take();
    start();
    EXPECT_TRUE(LogTap::has("the last save of " + dir.file("crateTable.mib") +
                            " was cut off, its content is taken from " + dir.file("crateTable.mib.new")));
    EXPECT_EQ(LogTap::lines().front().level, OV_LOG_LVL_WARN);
}

TEST_F(Save, ALineFeedInATextLeavesTheCopyWhole) {
    add(1, 3, "one\ntwo");
    survives([&] {
        with_fault({.kind = Fault::KILL_BEFORE, .at = 1, .call = "fallocate"}, [&] { crates.save_file(); });
    });
    start();
    EXPECT_TRUE(LogTap::has("the last save of " + dir.file("crateTable.mib") +
                            " was cut off, its content is taken from " + dir.file("crateTable.mib.new")));
    EXPECT_EQ(name_of(3), "one") << "a text can't hold a line feed";
}

// ---- the copy ---------------------------------------------------------------------------------------

std::string line(std::string text) {
    for (char& c : text)
        if (c == '|')
            c = '\x1F';
    return text;
}
const std::string ROW_1 = line("1|2|3|4|1|0|one|0||1|\n");
const std::string ROW_2 = line("1|2|3|4|2|0|two|0||1|\n");

TEST_F(Save, StandsWholeBesideTheFileBeforeThatIsTouched) {
    add(1, 2, "x");
    const std::string before = file();
    survives([&] {
        with_fault({.kind = Fault::KILL_BEFORE, .at = 1, .call = "fallocate"}, [&] { crates.save_file(); });
    });
    EXPECT_EQ(file(), before);
    EXPECT_EQ(dir.read("crateTable.mib.new"), line("1|2|3|4|1|0|x|0||0|\n1|2|3|4|2|0|x|0||0|\n#2\n"));
}

TEST_F(Save, TheStartTakesAWholeCopyForTheFilesContent) {
    dir.write("crateTable.mib", ROW_2 + ROW_2.substr(0, 5));
    dir.write("crateTable.mib.new", ROW_1 + ROW_2 + "#2\n");
    start();
    EXPECT_EQ(crates.row_count(), 2);
    EXPECT_EQ(name_of(1), "one");
    EXPECT_EQ(file(), ROW_1 + ROW_2);
    EXPECT_FALSE(has_copy());
}

TEST_F(Save, AWholeCopyOfAnEmptyTableEmptiesTheFile) {
    dir.write("crateTable.mib", ROW_1);
    dir.write("crateTable.mib.new", "#0\n");
    start();
    EXPECT_EQ(crates.row_count(), 0);
    EXPECT_EQ(file(), "");
    EXPECT_FALSE(has_copy());
}

TEST_F(Save, AWholeCopyWithoutAFileMakesTheFile) {
    std::filesystem::remove(dir.file("crateTable.mib"));
    dir.write("crateTable.mib.new", ROW_1 + "#1\n");
    start();
    EXPECT_EQ(file(), ROW_1);
    EXPECT_EQ(crates.row_count(), 1);
}

TEST_F(Save, ACopyThatIsNotWholeIsDeletedAndTheFileLoaded) {
    const std::string not_whole[] = {
        "",
        "#",
        "\n",
        "#\n",
        "#x\n",
        "#1 \n",
        "#-1\n",
        "#1",
        ROW_1,
        ROW_1.substr(0, 7),
        ROW_1 + "#1",
        ROW_1 + "#2\n",
        ROW_1 + ROW_2 + "#1\n",
        ROW_1 + "#0\n",
        ROW_1 + "#1\n\n",
        ROW_1 + "#1\n" + ROW_2,
        ROW_1 + "#1\n#1\n",
        ROW_1 + "#99999999999999999999999999999999999999999999\n",
        ROW_1.substr(0, ROW_1.size() - 1) + "#1\n",
        std::string(100000, '\n') + "#99999\n",
        std::string(200, '\0'),
    };
    for (const std::string& copy : not_whole) {
        dir.write("crateTable.mib", ROW_2);
        dir.write("crateTable.mib.new", copy);
        start();
        EXPECT_EQ(crates.row_count(), 1) << copy;
        EXPECT_EQ(name_of(2), "two") << copy;
        EXPECT_EQ(file(), ROW_2) << copy;
        EXPECT_FALSE(has_copy()) << copy;
    }
}

TEST_F(Save, NothingStandsBesideTheFileAfterIt) {
    add(1, 3, "x");
    crates.save_file();
    EXPECT_FALSE(has_copy());
    EXPECT_EQ(crates.row_count(), 3);
}

TEST_F(Save, AShorterTableLeavesNothingOfTheLongerOneInTheFile) {
    add(1, MANY, "long");
    crates.save_file();
    crates.initialize_table_data();
    add(1, 1, "short");
    crates.save_file();
    EXPECT_EQ(file(), line("1|2|3|4|1|0|short|0||0|\n"));
}

// ---- a full disk --------------------------------------------------------------------------------------

class FullDisk : public Save {
protected:
    FullDisk() {
        add(1, 3, "old");
        crates.save_file();
        old_file_ = file();
        add(4, MANY, "new");
        LogTap::take();
    }
    std::string saving_failed() const {
        return "saving " + dir.file("crateTable.mib") + " failed: No space left on device";
    }
    std::string old_file_;
};

TEST_F(FullDisk, AtTheCopyKeepsTheFile) {
    for (const int write : {1, 2}) {
        LogTap::take();
        with_fault({.kind = Fault::FAIL, .at = write, .error = ENOSPC, .call = "write"},
                   [&] { crates.save_file(); });
        EXPECT_EQ(file(), old_file_);
        EXPECT_FALSE(has_copy());
        EXPECT_EQ(LogTap::texts(), std::vector<std::string>{saving_failed()});
        EXPECT_EQ(LogTap::lines().front().level, OV_LOG_LVL_ERROR);
    }
}

TEST_F(FullDisk, AtTheFileKeepsTheFile) {
    const TableSaves at_first = crates.save_record();
    with_fault({.kind = Fault::FAIL, .at = 1, .error = ENOSPC, .call = "fallocate"},
               [&] { crates.save_file(); });
    EXPECT_EQ(file(), old_file_);
    EXPECT_FALSE(has_copy());
    EXPECT_EQ(LogTap::texts(), std::vector<std::string>{saving_failed()});
    const TableSaves before = crates.save_record();
    EXPECT_TRUE(before.last_failed);
    EXPECT_EQ(before.failed, at_first.failed + 1);
    EXPECT_NE(before.last_at, 0);
    crates.save_file();
    EXPECT_FALSE(crates.save_record().last_failed);
    EXPECT_EQ(crates.save_record().failed, before.failed);
    EXPECT_EQ(crates.save_record().done, before.done + 1);
    EXPECT_EQ(crates.row_count(), static_cast<int>(MANY));
    start();
    EXPECT_EQ(crates.row_count(), static_cast<int>(MANY)) << "the next save has room";
}

// A file system that reserves nothing: the file is broken, and the copy is what there is.
TEST_F(FullDisk, WithinTheFileLeavesTheCopyForTheNextStart) {
    with_fault({.kind = Fault::FAIL, .at = 3, .error = ENOSPC, .call = "write"}, [&] { crates.save_file(); });
    EXPECT_TRUE(LogTap::has(saving_failed()));
    EXPECT_TRUE(has_copy());
    start();
    EXPECT_EQ(crates.row_count(), static_cast<int>(MANY));
    EXPECT_EQ(name_of(MANY), "new");
    EXPECT_FALSE(has_copy());
}

TEST_F(FullDisk, WithinTheFileTheNextSaveDoesNotGiveTheCopyUpForALesserOne) {
    with_fault({.kind = Fault::FAIL, .at = 3, .error = EIO, .call = "write"}, [&] { crates.save_file(); });
    // The next save can't write the file either, and one is killed as it writes its own copy.
    with_fault({.kind = Fault::FAIL, .at = 1, .error = EIO, .call = "write"}, [&] { crates.save_file(); });
    EXPECT_TRUE(has_copy());
    for (int at = 1; at < 12; ++at) {
        survives([&] { with_fault({.kind = Fault::KILL_WITHIN, .at = at}, [&] { crates.save_file(); }); });
        crates.initialize_table_data();
        crates.load();
        EXPECT_EQ(crates.row_count(), static_cast<int>(MANY)) << at;
    }
}

TEST_F(FullDisk, AtTheStartTheTableComesFromTheCopyAndTheCopyStays) {
    dir.write("crateTable.mib", ROW_2.substr(0, 9));
    dir.write("crateTable.mib.new", ROW_1 + ROW_2 + "#2\n");
    crates.initialize_table_data();
    with_fault({.kind = Fault::FAIL, .at = 1, .error = ENOSPC, .call = "fallocate"}, [&] { crates.load(); });
    EXPECT_TRUE(LogTap::has(saving_failed()));
    EXPECT_EQ(crates.row_count(), 2);
    EXPECT_EQ(name_of(1), "one");
    EXPECT_TRUE(has_copy());
    crates.save_file();
    EXPECT_EQ(file(), ROW_1 + ROW_2);
    EXPECT_FALSE(has_copy());
}

// The real thing, on a disk of 192 kB: whatever it is that doesn't fit, copy or file.
TEST(FullDiskOfTheMachine, KeepsTheFileWhateverDoesNotFit) {
    private_root::run([] {
        LogTap log;
        ASSERT_EQ(mkdir("/tmp/data", 0755), 0);
        ASSERT_EQ(mount("tmpfs", "/tmp/data", "tmpfs", 0, "size=192k"), 0);
        ScopedEnv env(MMG_MIB_DATA_DIR_ENV, "/tmp/data");
        TableModule& crates = crate_module();
        crates.initialize_table_data();
        crates.load();
        std::string saved;
        int refusals = 0;
        for (uint32_t id = 1; refusals < 3; id += 250) { // from some kB on, past what fits twice and once
            for (uint32_t n = 0; n < 250; ++n)
                crates.create_entry_at(1, 2, 3, 4, id + n);
            LogTap::take();
            crates.save_file();
            const std::string there = private_root::read_file("/tmp/data/crateTable.mib");
            const bool refused =
                LogTap::has("saving /tmp/data/crateTable.mib failed: No space left on device");
            EXPECT_EQ(there == saved, refused) << id;
            EXPECT_FALSE(std::filesystem::exists("/tmp/data/crateTable.mib.new")) << id;
            refusals += refused ? 1 : 0;
            saved = there;
            ASSERT_LT(id, 100000u);
        }
        EXPECT_FALSE(saved.empty());
        crates.initialize_table_data();
        crates.load();
        EXPECT_EQ(std::count(saved.begin(), saved.end(), '\n'), crates.row_count());
    });
}

} // namespace
