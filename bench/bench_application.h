// The application on a chassis full of cards, for benchmarks: cards in processes of their own, all tables and
// modules, ONUs that are made and removed by their doors, and the time of each block of them.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

#include "app_loop.h"
#include "app_modules.h"
#include "app_rows.h"
#include "bench_place.h"
#include "hal_slot.h"
#include "hal_sock_tipc.h"
#include "kavo_frr.h"
#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onutype.h"
#include "ov_gpon.h"
#include "ov_slot.h"
#include "table_module.h"
#include "table_modules.h"

namespace bench_application {

using namespace bench_place;
using Clock = std::chrono::steady_clock;

inline constexpr int PORTS = 16;
inline constexpr int ONUS = 128;
inline constexpr int BLOCK = 500; // ONUs that are timed together; the best block is what the code costs

inline double usec_since(Clock::time_point began) {
    return std::chrono::duration<double, std::micro>(Clock::now() - began).count();
}

// Slots of line cards: all but those of the two control cards.
inline int card_slot(int n) {
    return n < 7 ? n + 1 : n + 3;
}

// Where the scheduler puts the two ends matters more than all else, so it isn't left to the scheduler.
inline void run_on_core(int core) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    sched_setaffinity(0, sizeof cores, &cores);
}

inline void start_cards(const char* sim, int cards) {
    if (sim) {
        std::string scenario = "card-board 8\n";
        for (int n = 0; n < cards; ++n)
            scenario += "card " + std::to_string(card_slot(n)) + " add\n";
        write_file("/tmp/cards.scn", scenario + "mono-ready 1\n");
        if (fork() == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            execl(sim, sim, "--scenario", "/tmp/cards.scn", "--control", "/tmp/sim.ctl", nullptr);
            perror(sim);
            _exit(1);
        }
    } else {
        for (int n = 0; n < cards; ++n)
            if (fork() == 0)
                be_echoing_card(static_cast<uint32_t>(card_slot(n)));
    }
    usleep(300000);
}

inline struct thread_master* loop() {
    static struct thread_master* const made = thread_master_create("bench");
    return made;
}

inline void start_application(int cards) {
    ov_slot_init();
    ov_gpon_const_val_init();
    app_loop_set(loop());
    hal_init(HAL_GPON, loop(), nullptr);
#define OV_TABLE_INIT(function) function();
#include "table_init_list.def"
#undef OV_TABLE_INIT
#define OV_APP_INIT(function) function();
#include "app_init_list.def"
#undef OV_APP_INIT
    for (int n = 0; n < cards; ++n)
        hal_slot_active_flag_set(__func__, __LINE__, static_cast<uint16_t>(card_slot(n)));
    ov_app_gpon_bwtype_add_default();
    ov_app_gpon_profile_onutype_add_default();
}

// The chassis of a benchmark that needs one card, in slot card_slot(0): each end has a processor of its own.
inline void start_with_own_card() {
    enter_private_place();
    set_up_platform();
    run_on_core(1);
    start_cards(nullptr, 1);
    run_on_core(0);
    start_application(1);
}

// Runs the loop until something has come about; the time of its longest event, microseconds.
template <typename Done>
double longest_event_until(Done done) {
    double longest = 0;
    struct thread event;
    while (!done() && thread_fetch(loop(), &event)) {
        const auto began = Clock::now();
        thread_call(&event);
        longest = std::max(longest, usec_since(began));
    }
    return longest;
}

inline void check(int result, const char* what, int slot, int port, int onu) {
    if (result == OV_GPON_RET_OK)
        return;
    fprintf(stderr, "%s %d/%d:%d refused: %d\n", what, slot, port, onu, result);
    exit(1);
}

template <typename Row>
Row row_of(int slot, int port, int onu) {
    Row row = {};
    row.shelfID = GPON_SHELF;
    row.slotID = slot;
    row.portID = port;
    row.onuId = onu;
    return row;
}

template <typename... Column>
MIB_Flags_t columns(Column... column) {
    MIB_Flags_t flags = {};
    (mib_flag_set(flags, column), ...);
    return flags;
}

// An ONU that its serial number authenticates, of the first default type: four Ethernet UNIs and two for
// telephones.
inline void add_onu(int slot, int port, int onu) {
    auto row = row_of<ov_sOnuTable_attr_t>(slot, port, onu);
    row.sOnuTableAuthMode = OV_GPON_ONU_AUTH_MODE_SN;
    snprintf(row.sOnuTableSn, sizeof row.sOnuTableSn, "ABCD%02x%02x%04x", slot, port, onu);
    snprintf(row.sOnuTableOnuTypeProfileName, sizeof row.sOnuTableOnuTypeProfileName, "KLM-618");
    MIB_Flags_t flags = columns(sOnuTable_column::sOnuTableAuthMode, sOnuTable_column::sOnuTableSn,
                                sOnuTable_column::sOnuTableOnuTypeProfileName);
    check(ov_app_gpon_onu_add(&row, &flags, 1), "onu", slot, port, onu);
}

inline void delete_onu(int slot, int port, int onu) {
    auto row = row_of<ov_sOnuTable_attr_t>(slot, port, onu);
    check(ov_app_gpon_onu_del(&row), "delete of onu", slot, port, onu);
}

// The time per ONU of each block, in the order of the walk over cards, ports and ONUs.
inline std::vector<double> timed(int cards, void (*step)(int slot, int port, int onu)) {
    std::vector<double> blocks;
    int in_block = 0;
    auto began = Clock::now();
    for (int n = 0; n < cards; ++n)
        for (int port = 1; port <= PORTS; ++port)
            for (int onu = 1; onu <= ONUS; ++onu) {
                step(card_slot(n), port, onu);
                if (++in_block == BLOCK) {
                    blocks.push_back(usec_since(began) / BLOCK);
                    in_block = 0;
                    began = Clock::now();
                }
            }
    return blocks;
}

} // namespace bench_application
