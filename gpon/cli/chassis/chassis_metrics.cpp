#include "chassis_metrics.h"

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

#include "chassis_count.h"
#include "chassis_memory.h"
#include "kavo_cmd.h"
#include "kavo_loop.h"
#include "onuPmTable.h"
#include "ov_app_gpon_pm_cycle.h"
#include "ov_app_gpon_restore_record.h"
#include "ov_build_info.h"
#include "ov_error_ring.h"
#include "ov_product_place.h"
#include "ov_refused_ring.h"
#include "ov_shown_text.h"
#include "ov_slot.h"
#include "pm_family.h"
#include "pm_pass.h"
#include "ponPmTable.h"
#include "ponnniPmTable.h"
#include "sOnuExtendInfoTable.h"
#include "sPonOpticTable.h"
#include "slot_vty.h"
#include "uplinkPmTable.h"

namespace {

// ---- lines ------------------------------------------------------------------------------------------------

struct Label {
    const char* name;
    std::string value;

    Label(const char* label, std::string text) : name(label), value(std::move(text)) {}
    Label(const char* label, std::integral auto number) : name(label), value(std::to_string(number)) {}
};

// As a label's value stands between quotes. Tables hold bytes of no particular character set.
std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : ov_shown_text(text)) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

void print(struct vty* vty, const char* name, std::initializer_list<Label> labels, const std::string& value) {
    std::string line = name;
    const char* between = "{";
    for (const Label& label : labels) {
        line += std::string(between) + label.name + "=" + quoted(label.value);
        between = ",";
    }
    line += (labels.size() != 0 ? "} " : " ") + value;
    vty_out(vty, "%s%s", line.c_str(), kavo_newline(vty));
}

void print(struct vty* vty, const char* name, std::initializer_list<Label> labels, uint64_t value) {
    print(vty, name, labels, std::to_string(value));
}

// Parts of a second, "0.312".
std::string in_seconds(uint64_t value, uint64_t parts) {
    std::string fraction = std::to_string(parts + value % parts);
    fraction.front() = '.';
    return std::to_string(value / parts) + fraction;
}
std::string of_ms(uint64_t ms) {
    return in_seconds(ms, 1000);
}
std::string of_us(uint64_t us) {
    return in_seconds(us, 1000000);
}

// ---- parts that are short ---------------------------------------------------------------------------------

void print_process(struct vty* vty, const ChassisCount& /*count*/) {
    print(vty, "gpon_build_info", {{"version", ov_build_version()}, {"commit", ov_build_commit()}}, 1);
    print(vty, "gpon_start_time_seconds", {}, static_cast<uint64_t>(ov_process_start_time()));
    print(vty, "gpon_resident_memory_bytes", {}, process_resident_bytes());
    const ov_error_counts_t errors = ov_error_ring_counts();
    print(vty, "gpon_log_errors_total", {}, errors.errors + errors.fatals);
    for (const auto& [door, refused] : ov_refused_counts())
        print(vty, "gpon_refused_requests_total", {{"door", door}}, refused);
    struct stat status {};
    if (stat(ov_product_config_file().c_str(), &status) == 0)
        print(vty, "gpon_configuration_saved_timestamp_seconds", {}, static_cast<uint64_t>(status.st_mtime));
}

void print_restore(struct vty* vty, int slot) {
    const gpon_restore_record_t& restore = ov_app_gpon_restore_record(slot);
    if (restore.began == 0)
        return;
    print(vty, "gpon_restores_total", {{"slot", slot}}, restore.restores);
    print(vty, "gpon_restore_began_timestamp_seconds", {{"slot", slot}},
          static_cast<uint64_t>(restore.began));
    print(vty, "gpon_restore_messages", {{"slot", slot}}, restore.messages);
    print(vty, "gpon_restore_failed_messages", {{"slot", slot}}, restore.failed);
    if (restore.ended == 0)
        return;
    print(vty, "gpon_restore_ended_timestamp_seconds", {{"slot", slot}},
          static_cast<uint64_t>(restore.ended));
    print(vty, "gpon_restore_duration_seconds", {{"slot", slot}}, of_ms(restore.took_ms));
}

void print_cards(struct vty* vty, const ChassisCount& /*count*/) {
    for (size_t place = 0; place < ov_slot_get_card_num(); ++place) {
        const ov_slot_info_t* card = ov_slot_get_card(place);
        if (card == nullptr)
            continue;
        const uint32_t slot = card->slotIndex.slotId;
        const std::string state = slot_vty_state_text(slot);
        if (state == "-")
            continue;
        print(vty, "gpon_card_in_service", {{"slot", slot}, {"type", card->slotType}},
              state == "in service" ? 1 : 0);
        print_restore(vty, static_cast<int>(slot));
    }
}

void print_ports(struct vty* vty, const ChassisCount& count) {
    for (const auto& [place, port] : count.ports()) {
        for (size_t state = 0; state < ONU_STATES; ++state)
            print(vty, "gpon_onus",
                  {{"slot", place.first}, {"port", place.second}, {"state", chassis_onu_state_word(state)}},
                  port.onus[state]);
        print(vty, "gpon_onus_unconfigured", {{"slot", place.first}, {"port", place.second}},
              port.unconfigured);
    }
}

void print_alarms(struct vty* vty, const ChassisCount& count) {
    for (size_t severity = SACTIVEALARMTABLEALARMSEVERITY_WARNING; severity < ALARM_SEVERITIES; ++severity)
        print(vty, "gpon_alarms", {{"severity", chassis_severity_word(severity)}}, count.alarms()[severity]);
}

void print_saves(struct vty* vty, const TableModule& table) {
    const TableSaves saves = table.save_record();
    if (saves.last_at == 0)
        return;
    const std::string name = table.name();
    print(vty, "gpon_table_saves_total", {{"table", name}, {"result", "ok"}}, saves.done);
    print(vty, "gpon_table_saves_total", {{"table", name}, {"result", "failed"}}, saves.failed);
    print(vty, "gpon_table_save_timestamp_seconds", {{"table", name}}, static_cast<uint64_t>(saves.last_at));
    print(vty, "gpon_table_save_duration_seconds", {{"table", name}}, of_us(saves.last_us));
    print(vty, "gpon_table_save_failed", {{"table", name}}, saves.last_failed ? 1 : 0);
}

void print_tables(struct vty* vty, const ChassisCount& /*count*/) {
    for (const ChassisTableMemory& each : chassis_tables_by_memory()) {
        const std::string name = each.table->name();
        print(vty, "gpon_table_rows", {{"table", name}}, each.memory.rows);
        print(vty, "gpon_table_bytes", {{"table", name}}, each.bytes());
        print(vty, "gpon_table_reserved_bytes", {{"table", name}}, each.memory.reserved);
    }
    for (const TableModule* table : table_module_list())
        if (table->registered())
            print_saves(vty, *table);
}

void print_passes(struct vty* vty, const ChassisCount& /*count*/) {
    for (const PmFamilyName& family : ov_app_gpon_pm_families) {
        const PmPassRecord& pass = family.family->pass().record();
        if (pass.began == 0)
            continue;
        const std::string name = family.name;
        print(vty, "gpon_counter_passes_total", {{"family", name}}, pass.passes);
        print(vty, "gpon_counter_pass_timestamp_seconds", {{"family", name}},
              static_cast<uint64_t>(pass.began));
        print(vty, "gpon_counter_pass_rows", {{"family", name}, {"result", "answered"}}, pass.answered);
        print(vty, "gpon_counter_pass_rows", {{"family", name}, {"result", "missed"}}, pass.missed);
        if (pass.ended != 0)
            print(vty, "gpon_counter_pass_duration_seconds", {{"family", name}}, of_ms(pass.took_ms));
    }
}

void print_loop(struct vty* vty, const ChassisCount& /*count*/) {
    struct Times {
        uint64_t runs = 0;
        std::chrono::microseconds total{0};
        std::chrono::microseconds longest{0};
    };
    std::map<std::string, Times> by_name; // two functions may have one name
    for (const kavo_loop_handler_t& handler : kavo_loop_handlers()) {
        Times& times = by_name[handler.name];
        times.runs += handler.runs;
        times.total += handler.total;
        times.longest = std::max(times.longest, handler.longest);
    }
    print(vty, "gpon_loop_slow_runs_total", {}, kavo_loop_slow_runs());
    for (const auto& [name, times] : by_name) {
        print(vty, "gpon_loop_runs_total", {{"handler", name}}, times.runs);
        print(vty, "gpon_loop_busy_seconds_total", {{"handler", name}},
              of_us(static_cast<uint64_t>(times.total.count())));
        print(vty, "gpon_loop_longest_run_seconds", {{"handler", name}},
              of_us(static_cast<uint64_t>(times.longest.count())));
    }
}

using Part = void (*)(struct vty* vty, const ChassisCount& count);
constexpr Part PARTS[] = {print_process, print_cards,  print_ports, print_alarms,
                          print_tables,  print_passes, print_loop};

// ---- parts by row -----------------------------------------------------------------------------------------

using Step = std::function<bool()>;

// A column's name without that of its table: "TxPower".
std::string reading_name(const ColumnDesc& column, std::string_view prefix) {
    const std::string_view name = column.name;
    return std::string(name.starts_with(prefix) ? name.substr(prefix.size()) : name);
}

bool is_counter(const ColumnDesc& column) {
    return column.type == ColType::COUNTER64;
}
bool is_reading(const ColumnDesc& column) {
    return column.type == ColType::INT || column.type == ColType::UINT;
}

// The columns of a kind, each a line; `labels` with the column's name as the last one are the caller's.
template <typename Row, typename PrintColumn>
Step each_column(bool (*is_wanted)(const ColumnDesc&), PrintColumn print_column) {
    return [steps = gpon_row_steps<Row>(Row{}, 0), is_wanted, print_column]() mutable {
        return steps.step([&](const Row& row) {
            for (const ColumnDesc& column : table_of<Row>::module().desc().columns)
                if (is_wanted(column))
                    print_column(row, column, TableModule::column_text(column, &row));
        });
    };
}

template <typename Row>
Step port_counters(struct vty* vty, const char* name) {
    return each_column<Row>(
        is_counter, [=](const Row& row, const ColumnDesc& column, const std::string& value) {
            print(vty, name, {{"slot", row.slotID}, {"port", row.portID}, {"counter", column.name}}, value);
        });
}

Step uplink_counters(struct vty* vty) {
    using Row = ov_uplinkPmTable_attr_t;
    return each_column<Row>(
        is_counter, [=](const Row& row, const ColumnDesc& column, const std::string& value) {
            print(vty, "gpon_uplink_counter",
                  {{"slot", row.slotID}, {"port", row.portID}, {"counter", column.name}}, value);
        });
}

Step port_optics(struct vty* vty) {
    using Row = ov_sPonOpticTable_attr_t;
    return each_column<Row>(is_reading, [=](const Row& row, const ColumnDesc& column,
                                            const std::string& value) {
        print(
            vty, "gpon_port_optical_reading",
            {{"slot", row.slotID}, {"port", row.portID}, {"reading", reading_name(column, "sPonOpticTable")}},
            value);
    });
}

Step onu_states(struct vty* vty) {
    return [vty, steps = gpon_row_steps<ov_sOnuTable_attr_t>({}, 0)]() mutable {
        return steps.step([vty](const ov_sOnuTable_attr_t& onu) {
            print(vty, "gpon_onu_state",
                  {{"slot", onu.slotID},
                   {"port", onu.portID},
                   {"onu", onu.onuId},
                   {"sn", onu.sOnuTableSn},
                   {"name", onu.sOnuTableOnuName}},
                  static_cast<uint64_t>(onu.sOnuTableOnuState));
        });
    };
}

template <typename Row>
Step onu_columns(struct vty* vty, const char* name, const char* label, const char* prefix,
                 bool (*is_wanted)(const ColumnDesc&)) {
    return each_column<Row>(is_wanted,
                            [=](const Row& row, const ColumnDesc& column, const std::string& value) {
                                print(vty, name,
                                      {{"slot", row.slotID},
                                       {"port", row.portID},
                                       {"onu", row.onuId},
                                       {label, reading_name(column, prefix)}},
                                      value);
                            });
}

std::vector<Step> steps_of(struct vty* vty, bool onus) {
    const auto count = std::make_shared<ChassisCount>();
    std::vector<Step> steps = {[count] { return count->step(); }};
    for (const Part part : PARTS)
        steps.push_back([vty, count, part] { return part(vty, *count), false; });
    steps.push_back(port_optics(vty));
    steps.push_back(port_counters<ov_ponPmTable_attr_t>(vty, "gpon_pon_counter"));
    steps.push_back(port_counters<ov_ponnniPmTable_attr_t>(vty, "gpon_nni_counter"));
    steps.push_back(uplink_counters(vty));
    if (!onus)
        return steps;
    steps.push_back(onu_states(vty));
    steps.push_back(onu_columns<ov_sOnuExtendInfoTable_attr_t>(vty, "gpon_onu_optical_reading", "reading",
                                                               "sOnuExtendInfo", is_reading));
    steps.push_back(onu_columns<ov_onuPmTable_attr_t>(vty, "gpon_onu_counter", "counter", "", is_counter));
    return steps;
}

} // namespace

int chassis_show_metrics(struct vty* vty, bool onus) {
    return gpon_run_in_steps(
        vty,
        [steps = steps_of(vty, onus), at = size_t{0}]() mutable {
            at += steps[at]() ? 0 : 1;
            return at < steps.size();
        },
        nullptr);
}
