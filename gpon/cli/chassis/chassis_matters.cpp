#include "chassis_matters.h"

#include "kavo_loop.h"
#include "ov_app_gpon_pm_cycle.h"
#include "ov_app_gpon_restore_record.h"
#include "ov_clock.h"
#include "ov_local_time.h"
#include "ov_slot.h"
#include "pm_family.h"
#include "pm_pass.h"
#include "slot_vty.h"

namespace {

using Matters = std::vector<std::string>;

constexpr uint32_t ONUS_OF_A_DARK_PORT = 2;             // fewer may all be switched off
constexpr size_t DARK_PORTS_MAX = 4;                    // that are named; a card that is away has sixteen
constexpr size_t UNSAVED_TABLES_MAX = 2;                // that are named; a full disk takes none of them
constexpr std::chrono::microseconds LOOP_HELD{1000000}; // what operators and managers feel
constexpr time_t LOOP_HELD_RECENTLY = 3600;             // seconds

std::string text_of(uint64_t number) {
    return std::to_string(number);
}

std::string port_name(const ChassisCount::Place& place) {
    std::string name = "gpon-olt" + std::to_string(place.first);
    return name.append("/").append(std::to_string(place.second));
}

bool has_card(uint32_t slot) {
    return ov_slot_lookup_by_slotid(slot) != nullptr && slot_vty_state_text(slot) != "-";
}

bool is_in_service(uint32_t slot) {
    return slot_vty_state_text(slot) == "in service";
}

void add_cards(Matters& matters) {
    for (uint32_t slot = ov_slot_get_min_slot_num(); slot <= ov_slot_get_max_slot_num(); ++slot) {
        if (has_card(slot) && !is_in_service(slot))
            matters.push_back("card in slot " + text_of(slot) + ": " + slot_vty_state_text(slot) +
                              " (show slot info)");
        const gpon_restore_record_t& restore = ov_app_gpon_restore_record(static_cast<int>(slot));
        if (restore.failed != 0)
            matters.push_back("card in slot " + text_of(slot) + ": " + text_of(restore.failed) +
                              " messages of its restore at " + ov_local_time_text(restore.began) + " failed");
    }
}

// Of cards in service: what a card that is away does to its ports has been said.
void add_dark_ports(Matters& matters, const ChassisCount& count) {
    size_t more = 0;
    size_t named = 0;
    for (const auto& [place, port] : count.ports()) {
        if (port.all() < ONUS_OF_A_DARK_PORT || port.operational() != 0 ||
            !is_in_service(static_cast<uint32_t>(place.first)))
            continue;
        if (named++ >= DARK_PORTS_MAX) {
            ++more;
            continue;
        }
        const std::string name = port_name(place);
        matters.push_back(name + ": none of its " + text_of(port.all()) +
                          " ONUs is operational (show interface " + name + " onu reason)");
    }
    if (more != 0)
        matters.push_back(text_of(more) + " more ports without an operational ONU");
}

void add_alarms(Matters& matters, const ChassisCount& count) {
    for (const size_t severity :
         {SACTIVEALARMTABLEALARMSEVERITY_CRITICAL, SACTIVEALARMTABLEALARMSEVERITY_MAJOR})
        if (count.alarms()[severity] != 0)
            matters.push_back(text_of(count.alarms()[severity]) + " " + chassis_severity_word(severity) +
                              " alarms (show alarm)");
}

void add_saves(Matters& matters) {
    size_t failed = 0;
    for (const TableModule* table : table_module_list()) {
        const TableSaves saves = table->registered() ? table->save_record() : TableSaves{};
        if (saves.last_failed && failed++ < UNSAVED_TABLES_MAX)
            matters.push_back(std::string("the file of ") + table->name() + " couldn't be saved at " +
                              ov_local_time_text(saves.last_at) + " (show chassis saves)");
    }
    if (failed > UNSAVED_TABLES_MAX)
        matters.push_back("the files of " + text_of(failed - UNSAVED_TABLES_MAX) +
                          " more tables couldn't be saved (show chassis saves)");
}

void add_counters(Matters& matters) {
    for (const PmFamilyName& family : ov_app_gpon_pm_families) {
        const PmPassRecord& pass = family.family->pass().record();
        if (pass.missed != 0)
            matters.push_back(text_of(pass.missed) + " rows of the " + family.name +
                              " counters had no answer at " + ov_local_time_text(pass.began));
    }
}

void add_loop(Matters& matters) {
    for (const kavo_loop_handler_t& handler : kavo_loop_handlers()) {
        if (handler.longest < LOOP_HELD)
            return;
        if (ov_wall_time() - handler.longest_at <= LOOP_HELD_RECENTLY)
            matters.push_back(
                "the loop was held for " + text_of(static_cast<uint64_t>(handler.longest.count()) / 1000) +
                " ms at " + ov_local_time_text(handler.longest_at) + " by " + handler.name + " (show loop)");
    }
}

} // namespace

std::vector<std::string> chassis_matters(const ChassisCount& count) {
    Matters matters;
    add_cards(matters);
    add_dark_ports(matters, count);
    add_alarms(matters, count);
    add_saves(matters);
    add_counters(matters);
    add_loop(matters);
    return matters;
}
