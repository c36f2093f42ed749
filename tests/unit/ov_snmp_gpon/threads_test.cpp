// A second thread at the tables, as the worker of long actions is one: what MibAccessHandle reaches below the
// application layer. Under ThreadSanitizer these find every unguarded access; without it they look at the
// results.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include "../support/log_capture.h"
#include "../support/on_loop.h"
#include "../support/temp_dir.h"
#include "engine_tables.h"
#include "table_list.h"

namespace {

constexpr int ROUNDS = 400;

// Runs both at once, from the same instant on.
void at_once(const std::function<void()>& one, const std::function<void()>& other) {
    std::atomic<int> ready{0};
    const auto start = [&ready](const std::function<void()>& body) {
        ready.fetch_add(1);
        while (ready.load() < 2) {
        }
        body();
    };
    std::thread second([&] { start(other); });
    start(one);
    second.join();
}

class Threads : public testing::Test {
protected:
    Threads() {
        crates.initialize_table_data();
        crates.load();
    }

    char access(int type, CrateRow& row, const MIB_Flags_t& flags = mibDefFlags) {
        return MibAccessHandle(type, 0, crates.did(), &row, flags, 0);
    }
    // The life of a row again and again, each step with its result.
    void live(int32_t slot) {
        for (int round = 0; round < ROUNDS; ++round) {
            CrateRow row = crate(1, slot, 1, 1, 7);
            row.crateRowStatus = OVRA_CREATEANDGO;
            EXPECT_EQ(access(MIB_SET, row, columns({6})), MIB_OK);
            row.crateAlloc = round;
            EXPECT_EQ(access(MIB_SET_S, row, columns({2})), MIB_OK);
            row.crateAlloc = -1;
            EXPECT_EQ(access(MIB_GET_S, row), MIB_OK);
            EXPECT_EQ(row.crateAlloc, round);
            EXPECT_EQ(access(MIB_DEL_S_N, row), MIB_OK);
            EXPECT_EQ(access(MIB_GET, row), MIB_FAIL);
        }
    }

    LogCapture log;
    TempDir dir;
    ScopedEnv env{MMG_MIB_DATA_DIR_ENV, dir.path()};
    TableModule& crates = crate_module();
};

TEST_F(Threads, RowsOfOneTableLiveSideBySide) {
    const uint64_t before = crates.generation();
    at_once([&] { live(2); }, [&] { live(3); });
    EXPECT_EQ(crates.row_count(), 0);
    EXPECT_EQ(crates.generation() - before, uint64_t{2} * ROUNDS * 3) << "each change is counted";
}

TEST_F(Threads, WalksMeetTheRowsThatStandWhileOthersComeAndGo) {
    for (uint32_t id = 1; id <= 20; ++id)
        crates.create_entry_at(1, 9, 1, 1, id);
    at_once([&] { live(2); },
            [&] {
                for (int round = 0; round < ROUNDS; ++round) {
                    CrateRow key = crate(1, 9, 0, 0, 0);
                    ovralist_t found;
                    ovralist_init(&found);
                    EXPECT_EQ(crates.query_by_condition(&key, 3, 1, &found, nullptr, nullptr), 20);
                    ovralist_destroy(&found);
                    EXPECT_FALSE(crates.row_text(std::vector<uint32_t>{1, 9, 1, 1, 20}).empty());
                    EXPECT_GE(MibNumberGet(crates.did()), 20);
                }
            });
}

TEST_F(Threads, SavesHoldWholeRows) {
    for (uint32_t id = 1; id <= 20; ++id)
        crates.create_entry_at(1, 9, 1, 1, id);
    at_once([&] { live(2); },
            [&] {
                for (int round = 0; round < ROUNDS / 10; ++round) {
                    crates.save_file();
                    crates.save_if_changed();
                    mmg_table_save_flag_get("crateTable");
                }
            });
    crates.save_file();
    const std::string file = dir.read("crateTable.mib");
    EXPECT_EQ(std::count(file.begin(), file.end(), '\n'), 20);
    EXPECT_FALSE(std::filesystem::exists(dir.file("crateTable.mib.new")));
}

TEST_F(Threads, CallbacksComeAndGoWhileChainsRun) {
    const AnyThread any_thread; // no application behind these callbacks
    static std::atomic<int> checked;
    checked = 0;
    const MIB_callback_ptr count = [](MIBDID, void*, MIB_Flags_t) {
        return checked.fetch_add(1) >= 0 ? 1 : 0;
    };
    const MIB_callback_ptr admit = [](MIBDID, void*, MIB_Flags_t) { return 1; };
    MibRegisterCallback(crates.did(), CALLBACK_CHECK, "count", AssignAppId(), count, mibDefFlags);
    at_once([&] { live(2); },
            [&] {
                for (int round = 0; round < ROUNDS; ++round) {
                    const int id = AssignAppId();
                    EXPECT_GT(id, 0);
                    EXPECT_EQ(
                        MibRegisterCallback(crates.did(), CALLBACK_CHECK, "admit", id, admit, mibDefFlags),
                        1);
                    IfMibFlagsConflict(crates.did(), id, CALLBACK_SET, mibDefFlags);
                    MibUnRegisterCallback(crates.did(), CALLBACK_CHECK, admit);
                    ReleaseAppId(id);
                }
            });
    MibUnRegisterCallback(crates.did(), CALLBACK_CHECK, count);
    EXPECT_EQ(checked, 2 * ROUNDS) << "the check of each MIB_SET and MIB_SET_S";
}

TEST_F(Threads, ChangedFlagsAreMadeOnceAndLoseNoChange) {
    for (int round = 0; round < 50; ++round) {
        ReleaseMutex(global_change_flag.pmutex);
        global_change_flag.pmutex = nullptr; // as at the start
        const auto change = [](int table) { MibChangedFlagSet(mmg_table_did_getbyindex(table)); };
        at_once([&] { change(SGEM); }, [&] { change(STCONT); });
        EXPECT_EQ(MibChangedTableFlagGet(mmg_table_did_getbyindex(SGEM)), 1);
        EXPECT_EQ(MibChangedTableFlagGet(mmg_table_did_getbyindex(STCONT)), 1);
        MibChangedFlagClear();
    }
}

TEST_F(Threads, TablesAreEnteredByWhoeverLooksThemUpFirst) {
    const std::vector<MIBDid_t> saved(std::begin(_sDid_Array), std::end(_sDid_Array));
    std::fill(std::begin(_sDid_Array), std::end(_sDid_Array), MIBDid_t{});
    // Each look-up of a new table may take the place of SPON, which the other thread is just using.
    const auto look_up = [](int first, int step) {
        for (int index = first; index <= SNTPSERVER && index > 0; index += step) {
            if (index == ARPCONFIGSCALARS)
                continue;
            EXPECT_EQ(mmg_table_index(mmg_table_did_getbyindex(index)), index);
            const MIBDid_t spon = mmg_table_did_read(mmg_table_did_getbyindex(SPON));
            EXPECT_EQ(spon.index, SPON);
            EXPECT_STREQ(spon.table_name, "SPON");
            EXPECT_STREQ(mmg_table_name_getbyindex(SPON), "SPON");
        }
    };
    at_once([&] { look_up(1, 1); }, [&] { look_up(SNTPSERVER, -1); });
    std::vector<int> known;
    for (const MIBDid_t& did : _sDid_Array)
        if (did.table_name != nullptr)
            known.push_back(did.index);
    std::sort(known.begin(), known.end());
    EXPECT_EQ(std::adjacent_find(known.begin(), known.end()), known.end()) << "no table stands twice";
    EXPECT_EQ(known.size(), 198u);
    std::copy(saved.begin(), saved.end(), std::begin(_sDid_Array));
}

TEST_F(Threads, ModulesAreFoundWhileOthersEnter) {
    at_once([] { test_module<MIX_DESC>(); },
            [&] {
                for (int round = 0; round < ROUNDS; ++round) {
                    EXPECT_EQ(table_module_find("crateTable"), &crates);
                    EXPECT_FALSE(table_module_list().empty());
                }
            });
}

} // namespace
