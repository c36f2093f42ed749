#include "chassis_vty.h"

#include <algorithm>
#include <string>
#include <sys/stat.h>

#include "chassis_count.h"
#include "chassis_matters.h"
#include "chassis_memory.h"
#include "chassis_metrics.h"
#include "kavo_cmd_rows.h"
#include "kavo_loop.h"
#include "kavo_table.h"
#include "ov_app_gpon_pm_cycle.h"
#include "ov_app_gpon_restore_record.h"
#include "ov_build_info.h"
#include "ov_clock.h"
#include "ov_error_ring.h"
#include "ov_local_time.h"
#include "ov_product.h"
#include "ov_product_place.h"
#include "ov_slot.h"
#include "pm_family.h"
#include "pm_pass.h"
#include "slot_vty.h"

namespace {

constexpr kavo_table_style_t STYLE = {.gap = "  ", .trimmed = true};
constexpr size_t LARGEST_TABLES = 3; // that the health names
constexpr size_t MATTERS_MAX = 12;   // of which it tells: the screen has more to show

// ---- texts ------------------------------------------------------------------------------------------------

std::string tenths(uint64_t value, uint64_t unit) {
    const uint64_t rounded = (value * 10 + unit / 2) / unit;
    return std::to_string(rounded / 10) + "." + std::to_string(rounded % 10);
}

std::string mebibytes(uint64_t bytes) {
    return tenths(bytes, uint64_t{1024} * 1024) + " MB";
}

std::string seconds(uint32_t ms) {
    return tenths(ms, 1000);
}

// "3d 02:00:59".
std::string time_span(time_t span) {
    const auto whole = static_cast<unsigned long>(std::max<time_t>(span, 0));
    char text[48];
    snprintf(text, sizeof text, "%lud %02lu:%02lu:%02lu", whole / 86400, whole / 3600 % 24, whole / 60 % 60,
             whole % 60);
    return text;
}

// A line of the part below the cards: its name in front.
constexpr char PART[] = "%-13s  %s";

// ---- the health -------------------------------------------------------------------------------------------

constexpr kavo_column_t CARD_COLUMNS[] = {
    {"slot", 4},    {"type", 5},          {"state", -31}, {"ports", 5},     {"onus", 5},   {"up", 5},
    {"waiting", 7}, {"restored at", -19}, {"took s", 9},  {"messages", 10}, {"failed", 10}};

void print_card(const kavo_table_t& table, const ChassisCount& count, const ov_slot_info_t& card) {
    const uint32_t slot = card.slotIndex.slotId;
    const auto number = static_cast<int32_t>(slot);
    const PonPortCount onus = count.card(number);
    const gpon_restore_record_t& restore = ov_app_gpon_restore_record(number);
    const bool went_through = restore.ended != 0;
    table.row({slot, card.slotType, slot_vty_state_text(slot), count.ports_of(number), onus.all(),
               onus.operational(), onus.unconfigured,
               went_through         ? ov_local_time_text(restore.ended)
               : restore.began != 0 ? std::string("under way")
                                    : std::string("-"),
               went_through ? seconds(restore.took_ms) : std::string("-"), restore.messages, restore.failed});
}

void print_cards(const kavo_table_t& table, const ChassisCount& count) {
    table.heading();
    for (size_t place = 0; place < ov_slot_get_card_num(); ++place)
        if (const ov_slot_info_t* card = ov_slot_get_card(place); card != nullptr)
            print_card(table, count, *card);
}

void print_matters(const kavo_table_t& table, const ChassisCount& count) {
    const std::vector<std::string> matters = chassis_matters(count);
    table.line("%s %s, up %s", ov_build_product(), ov_build_version(),
               time_span(ov_wall_time() - ov_process_start_time()).c_str());
    if (matters.empty())
        table.line("The chassis is well.");
    else
        table.line("Look at %zu:", matters.size());
    for (size_t i = 0; i < std::min(matters.size(), MATTERS_MAX); ++i)
        table.line("  %s", matters[i].c_str());
    if (matters.size() > MATTERS_MAX)
        table.line("  and %zu more", matters.size() - MATTERS_MAX);
    table.line("%s", "");
}

void print_onus(const kavo_table_t& table, const ChassisCount& count) {
    const PonPortCount all = count.chassis();
    std::string text = std::to_string(all.all());
    for (size_t state = ONU_STATES; state-- > 0;)
        text += (state + 1 == ONU_STATES ? ": " : ", ") + std::to_string(all.onus[state]) + " " +
                chassis_onu_state_word(state);
    table.line(PART, "ONUs", (text + "; " + std::to_string(all.unconfigured) + " unconfigured").c_str());
}

void print_alarms(const kavo_table_t& table, const ChassisCount& count) {
    std::string text;
    for (const size_t severity :
         {SACTIVEALARMTABLEALARMSEVERITY_CRITICAL, SACTIVEALARMTABLEALARMSEVERITY_MAJOR,
          SACTIVEALARMTABLEALARMSEVERITY_MINOR, SACTIVEALARMTABLEALARMSEVERITY_WARNING,
          SACTIVEALARMTABLEALARMSEVERITY_INDETERMINATE})
        text += (text.empty() ? "" : ", ") + std::to_string(count.alarms()[severity]) + " " +
                chassis_severity_word(severity);
    table.line(PART, "alarms", text.c_str());
}

void print_saves(const kavo_table_t& table) {
    struct stat status {};
    const std::string file = ov_product_config_file();
    const bool is_there = stat(file.c_str(), &status) == 0;
    table.line(PART, "configuration",
               is_there ? ("saved " + ov_local_time_text(status.st_mtime)).c_str() : "never saved");
    unsigned done = 0;
    unsigned failed = 0;
    time_t last = 0;
    for (const TableModule* module : table_module_list()) {
        const TableSaves saves = module->registered() ? module->save_record() : TableSaves{};
        done += saves.done;
        failed += saves.failed;
        last = std::max(last, saves.last_at);
    }
    table.line("%-13s  %u saved since the start, %u failed, the last at %s", "table files", done, failed,
               ov_local_time_text(last).c_str());
}

// "pass of gem at 2026-11-22 21:15:00, 0.3 s, 120 rows, 0 without answer".
std::string pass_text(const PmFamilyName& family, const PmPassRecord& pass) {
    return std::string("pass of ") + family.name + " at " + ov_local_time_text(pass.began) +
           (pass.ended != 0 ? ", " + seconds(pass.took_ms) + " s, " : ", under way, ") +
           std::to_string(pass.answered + pass.missed) + " rows, " + std::to_string(pass.missed) +
           " without answer";
}

void print_counters(const kavo_table_t& table) {
    bool was_any = false;
    for (const PmFamilyName& family : ov_app_gpon_pm_families) {
        const PmPassRecord& pass = family.family->pass().record();
        if (pass.began != 0)
            table.line(PART, "counters", pass_text(family, pass).c_str());
        was_any = was_any || pass.began != 0;
    }
    if (!was_any)
        table.line(PART, "counters", "no pass yet");
}

void print_loop(const kavo_table_t& table) {
    const auto handlers = kavo_loop_handlers();
    std::string text = std::to_string(kavo_loop_slow_runs()) + " runs above " +
                       std::to_string(KAVO_LOOP_SLOW.count()) + " ms";
    if (!handlers.empty())
        text += ", the longest " + std::to_string(handlers.front().longest.count() / 1000) + " ms at " +
                ov_local_time_text(handlers.front().longest_at) + ": " + handlers.front().name;
    table.line(PART, "loop", text.c_str());
}

void print_memory(const kavo_table_t& table) {
    const auto tables = chassis_tables_by_memory();
    uint64_t rows = 0;
    for (const ChassisTableMemory& each : tables)
        rows += each.bytes();
    std::string text = mebibytes(process_resident_bytes()) + " resident, " + mebibytes(rows) + " in rows:";
    for (size_t i = 0; i < std::min(tables.size(), LARGEST_TABLES); ++i)
        text +=
            std::string(i == 0 ? " " : ", ") + tables[i].table->name() + " " + mebibytes(tables[i].bytes());
    table.line(PART, "memory", text.c_str());
}

void print_log(const kavo_table_t& table) {
    const ov_error_counts_t counts = ov_error_ring_counts();
    const auto lines = ov_error_ring_lines();
    std::string text = std::to_string(counts.errors + counts.fatals) + " error lines since the start";
    if (!lines.empty())
        text += ", the last at " + ov_local_time_text(lines.back().time) + ": " + lines.back().text;
    table.line(PART, "log", text.c_str());
}

int show_chassis_health(CliCall& call) {
    const auto count = std::make_shared<ChassisCount>();
    return gpon_run_in_steps(
        call.vty, [count] { return count->step(); },
        [count, table = kavo_table_t(call.vty, CARD_COLUMNS, STYLE)] {
            print_matters(table, *count);
            print_cards(table, *count);
            table.line("%s", "");
            print_onus(table, *count);
            print_alarms(table, *count);
            print_saves(table);
            print_counters(table);
            print_loop(table);
            print_memory(table);
            print_log(table);
            return 0;
        });
}

// ---- tables -----------------------------------------------------------------------------------------------

constexpr kavo_column_t MEMORY_COLUMNS[] = {{"table", -36}, {"rows", 10},  {"record", 6},
                                            {"index", 5},   {"bytes", 11}, {"reserved", 11}};

int show_chassis_memory(CliCall& call) {
    const kavo_table_t table(call.vty, MEMORY_COLUMNS, STYLE);
    uint64_t all = 0;
    table.heading();
    for (const ChassisTableMemory& each : chassis_tables_by_memory()) {
        table.row({each.table->name(), each.memory.rows, each.memory.record, each.memory.index, each.bytes(),
                   each.memory.reserved});
        all += each.bytes();
    }
    table.line("rows %s, process %s", mebibytes(all).c_str(), mebibytes(process_resident_bytes()).c_str());
    return 0;
}

constexpr kavo_column_t SAVE_COLUMNS[] = {{"table", -36},     {"saved", 10},  {"failed", 10},
                                          {"last save", -19}, {"result", -6}, {"took ms", 10}};

int show_chassis_saves(CliCall& call) {
    const kavo_table_t table(call.vty, SAVE_COLUMNS, STYLE);
    table.heading();
    for (const TableModule* module : table_module_list()) {
        const TableSaves saves = module->registered() ? module->save_record() : TableSaves{};
        if (saves.last_at != 0)
            table.row({module->name(), saves.done, saves.failed, ov_local_time_text(saves.last_at),
                       saves.last_failed ? "failed" : "ok", saves.last_us / 1000});
    }
    return 0;
}

// ---- for programs -----------------------------------------------------------------------------------------

int show_chassis_metrics(CliCall& call) {
    return chassis_show_metrics(call.vty, call.words.has("onus"));
}

const kavo_cmd_t chassis_cmds[] = {
#include "commands/chassis.def"
};

} // namespace

void chassis_vty_init() {
    kavo_cmd_install(chassis_cmds);
}
