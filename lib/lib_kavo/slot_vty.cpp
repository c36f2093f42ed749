#include "slot_vty.h"

#include <string>

#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_local_time.h"
#include "ov_product.h"
#include "ov_slot.h"

namespace {

bool has(slot_bitmap_t bitmap, uint32_t slot) {
    return (bitmap & (1u << slot)) != 0;
}

int (*g_is_replayed)(int slot) = nullptr;

// The mark of a replay that began stays when it has ended; the application knows that.
bool is_being_set_up(uint32_t slot) {
    return has(g_shelf_slot_info.slotBitsSynching, slot) && g_is_replayed != nullptr &&
           g_is_replayed(static_cast<int>(slot)) == 0;
}

const char* yes_or_dash(bool yes) {
    return yes ? "yes" : "-";
}

// How the slot's card is, in words: whether it is in service can't be seen in one of the marks alone. A card
// that was pulled keeps its record, and the mark of a configuration that it has no more.
std::string state_text(uint32_t slot, const ov_slot_info_t* card) {
    const ov_shelf_info_t& shelf = g_shelf_slot_info;
    if (!has(shelf.slotBitsSmartCard, slot) || (card == nullptr && !has(shelf.slotBitsConnected, slot)))
        return "-";
    if (has(shelf.slotBitsConnected, slot))
        return is_being_set_up(slot) ? "being set up" : "in service";
    if (card->connect_status.change_time == 0)
        return "not yet up";
    return "away since " + ov_local_time_text(card->connect_status.change_time);
}

constexpr kavo_column_t COLUMNS[] = {{"slot", 4},    {"role", -9},     {"card type", 9},
                                     {"present", 7}, {"connected", 9}, {"synching", 8},
                                     {"synched", 7}, {"power", 5},     {"state", 0}};
constexpr kavo_table_style_t STYLE = {.margin = "   ", .gap = "    "};

void dump_shelf(const kavo_table_t& table) {
    const ov_shelf_info_t& shelf = g_shelf_slot_info;
    table.line("  shelf %u, type %u, this board in slot %u", shelf.shelfId, shelf.shelfConfig.shelf_type,
               ov_product_slot_id_get());
    if (shelf.standbyScSupport != 0)
        table.line("  control card: active slot %u, standby slot %u%s", shelf.activeScSlot,
                   shelf.standbyScSlot, shelf.standbyScAlive != 0 ? ", alive" : "");
}

void dump_slot(const kavo_table_t& table, uint32_t slot) {
    const ov_shelf_info_t& shelf = g_shelf_slot_info;
    const ov_slot_info_t* card = ov_slot_lookup_by_slotid(slot);
    table.row({slot, ov_slot_role_text(slot),
               card != nullptr ? kavo_cell_t(card->slotType) : kavo_cell_t("-"),
               yes_or_dash(has(shelf.slotBitsPresent | g_slot_bitmap_inserted, slot)),
               yes_or_dash(has(shelf.slotBitsConnected, slot)),
               yes_or_dash(has(shelf.slotBitsSynching, slot)), yes_or_dash(has(shelf.slotBitsSynched, slot)),
               has(shelf.slotBitsPwrOff, slot) ? "off" : "on", state_text(slot, card)});
}

int show_slot_info(CliCall& call) {
    slot_vty_dump_all(call.vty);
    return 0;
}

const kavo_cmd_t slot_cmds[] = {
#include "slot_vty.def"
};

} // namespace

void slot_vty_set_replay_query(int (*is_replayed)(int slot)) {
    g_is_replayed = is_replayed;
}

std::string slot_vty_state_text(uint32_t slot) {
    return state_text(slot, ov_slot_lookup_by_slotid(slot));
}

void slot_vty_dump_all(struct vty* vty) {
    static const char rule[] =
        "   ------------------------------------------------------------------------------------------------"
        "----------------------------";
    const kavo_table_t table(vty, COLUMNS, STYLE);
    dump_shelf(table);
    table.heading();
    table.line("%s", rule);
    for (uint32_t slot = ov_slot_get_min_slot_num(); slot <= ov_slot_get_max_slot_num(); slot++)
        dump_slot(table, slot);
    table.line("%s", rule);
}

void slot_vty_init() {
    kavo_cmd_install(slot_cmds);
}
