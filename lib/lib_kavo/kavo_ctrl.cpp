#include "kavo_ctrl.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <unistd.h>

#include <frr/config.h>

#include <frr/zebra.h>

#include <frr/command.h>
#include <frr/vector.h>

#include "crashHandler.h"
#include "libovra.h"
#include "ov_app_ctrl.h"
#include "ov_build_info.h"
#include "ov_clock.h"
#include "ov_error_ring.h"
#include "ov_product_log.h"
#include "ov_slot.h"

namespace {

// Local time as text.
std::string time_text(time_t when) {
    tm parts = {};
    char text[32] = "";
    localtime_r(&when, &parts);
    strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

void register_action(const char* cfg_name, app_ctrl_action_handler_t handler) {
    const int error = app_add_action_ctrl(cfg_name, handler);
    if (error != 0)
        OV_LOG_ERROR("LIB", "action %s: %s", cfg_name, strerror(error));
}

// ---- startup info ------------------------------------------------------------------------------

void dump_startup_info() {
    printf("  name          %s\n", g_app_ctrl_cb.app_name.c_str());
    printf("  pid           %d\n", getpid());
    printf("  started       %s (%ld seconds ago)\n", time_text(ov_process_start_time()).c_str(),
           long(ov_wall_time() - ov_process_start_time()));
    printf("  command line ");
    for (int i = 0; i < gArgc && gArgv[i] != nullptr; ++i)
        printf(" %s", gArgv[i]);
    printf("\n  version       %s\n", ov_build_version());
    printf("  build         %s, commit %s, %s, %s\n", ov_build_time(), ov_build_commit(), ov_build_type(),
           ov_build_compiler());
}

// ---- slots -------------------------------------------------------------------------------------

struct SlotMark {
    const char* name;
    const slot_bitmap_t* bitmap;
};

constexpr SlotMark SLOT_MARKS[] = {
    {"services", &g_shelf_slot_info.slotBitsSrvsCard},   {"smart", &g_shelf_slot_info.slotBitsSmartCard},
    {"present", &g_shelf_slot_info.slotBitsPresent},     {"inserted", &g_slot_bitmap_inserted},
    {"power-off", &g_shelf_slot_info.slotBitsPwrOff},    {"added", &g_shelf_slot_info.slotBitsAdded},
    {"connected", &g_shelf_slot_info.slotBitsConnected}, {"synching", &g_shelf_slot_info.slotBitsSynching},
    {"synched", &g_shelf_slot_info.slotBitsSynched},     {"operational", &g_slot_bitmap_operational},
};

void dump_slot(uint32_t slot) {
    const ov_shelf_info_t& shelf = g_shelf_slot_info;
    printf("  slot %2" PRIu32 ":", slot);
    for (const SlotMark& mark : SLOT_MARKS) {
        if ((*mark.bitmap & (1u << slot)) != 0)
            printf(" %s", mark.name);
    }
    if (slot == shelf.activeScSlot)
        printf(" active-control");
    if (slot == shelf.standbyScSlot)
        printf(" standby-control");
    ov_slot_info_t* card = ov_slot_lookup_by_slotid(slot);
    if (card == nullptr) {
        printf(" (no card)\n");
        return;
    }
    printf(" (card type %" PRIu32 ", admin %" PRIu32 ", operational %" PRIu32 ")\n", card->slotType,
           card->slotAdmStatus, card->slotOpStatus);
    if (card->dump_client_info_cb != nullptr)
        card->dump_client_info_cb(card);
}

void dump_slot_info() {
    const ov_shelf_info_t& shelf = g_shelf_slot_info;
    printf("  shelf %" PRIu32 ", type %" PRIu32 ", slots %" PRIu32 " to %" PRIu32
           ", line cards up to %" PRIu32 "\n",
           shelf.shelfId, shelf.shelfConfig.shelf_type, ov_slot_get_min_slot_num(),
           ov_slot_get_max_slot_num(), ov_slot_get_max_lc_num());
    for (uint32_t slot = ov_slot_get_min_slot_num();
         slot <= ov_slot_get_max_slot_num() && slot <= OV_SLOT_MAX; ++slot)
        dump_slot(slot);
}

// ---- commands ----------------------------------------------------------------------------------

// Calls visit(element) for the elements of a libfrr vector, gaps left out.
template <typename Element, typename Visit>
void for_each_element(vector elements, Visit visit) {
    for (unsigned i = 0; elements != nullptr && i < vector_active(elements); ++i) {
        if (vector_slot(elements, i) != nullptr)
            visit(*static_cast<const Element*>(vector_slot(elements, i)));
    }
}

void dump_cmd_all() {
    unsigned nodes = 0;
    unsigned commands = 0;
    for_each_element<cmd_node>(cmdvec, [&](const cmd_node& node) {
        printf("  node %d %s\n", int(node.node), node.name != nullptr ? node.name : "");
        ++nodes;
        for_each_element<cmd_element>(node.cmd_vector, [&](const cmd_element& command) {
            printf("    %s\n", command.string);
            ++commands;
        });
    });
    printf("  %u commands in %u nodes\n", commands, nodes);
}

// ---- errors ------------------------------------------------------------------------------------

void dump_error_info() {
    const ov_error_counts_t counts = ov_error_ring_counts();
    printf("  errors %" PRIu64 ", fatal %" PRIu64 "\n", counts.errors, counts.fatals);
    for (const ov_error_line_t& line : ov_error_ring_lines())
        printf("  %s %d [%s] %s\n", time_text(line.time).c_str(), line.level, line.module.c_str(),
               line.text.c_str());
}

} // namespace

void kavo_ctrl_init(const char* name) {
    const int error = app_ctrl_init(name);
    if (error != 0) {
        OV_LOG_ERROR("LIB", "application control of %s: %s", name != nullptr ? name : "", strerror(error));
        return;
    }
    app_add_action_dump_startup_info();
    app_add_action_dump_slot_info();
    app_add_action_dump_cmd_all();
    app_add_action_dump_error_info();
    app_ctrl_start();
}

void app_add_action_dump_startup_info() {
    register_action("dump_startup_info", dump_startup_info);
}

void app_add_action_dump_slot_info() {
    register_action("dump_slot_info", dump_slot_info);
}

void app_add_action_dump_cmd_all() {
    register_action("dump_cmd_all", dump_cmd_all);
}

void app_add_action_dump_error_info() {
    register_action("dump_error_info", dump_error_info);
}
