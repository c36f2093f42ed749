// The alarms that stand: "show alarm".
#include <string>

#include "gpon_cli_scope.h"
#include "gpon_stepped_show.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_gpon_onu_cli.h"
#include "ov_local_time.h"
#include "sActiveAlarmTable.h"
#include "table_value_name.h"

namespace {

using Alarm = ov_sActiveAlarmTable_attr_t;
using Scope = gpon_cli_scope_t;

constexpr kavo_column_t COLUMNS[] = {{"source", -20}, {"severity", -13}, {"code", -4},
                                     {"text", -31},   {"since", -19},    {"age", 15}};

void print_head(const kavo_table_t& table) {
    table.line("%s", "");
    table.heading();
    table.rule();
}

const ColumnDesc& column_of(unsigned number) {
    return *table_desc_sActiveAlarmTable.column(static_cast<int>(number));
}

bool has_name(const Alarm& alarm) {
    switch (alarm.sActiveAlarmTableAlarmSourceType) {
    case SACTIVEALARMTABLEALARMSOURCETYPE_NE:
    case SACTIVEALARMTABLEALARMSOURCETYPE_SLOT:
        return false;
    default:
        return ov_ifindex_get_port_type(alarm.sActiveAlarmTableAlarmSource) != 0;
    }
}

// Ports and ONUs by name; what has none, such as a slot, by its kind and number.
std::string source_name(const Alarm& alarm) {
    const ov_ifindex_t source = alarm.sActiveAlarmTableAlarmSource;
    char name[64] = "";
    if (has_name(alarm) && ov_gen_ifname_by_ifindex(source, name, sizeof name) != nullptr)
        return name;
    const char* kind =
        table_value_name(column_of(sActiveAlarmTable_column::sActiveAlarmTableAlarmSourceType).names,
                         alarm.sActiveAlarmTableAlarmSourceType);
    return std::string(kind != nullptr ? kind : "source") + " " + std::to_string(source);
}

// What the card says, else the code's own name.
std::string text_of(const Alarm& alarm) {
    if (alarm.sActiveAlarmTableAlarmProbableCause[0] != '\0')
        return gpon_cli_shown(alarm.sActiveAlarmTableAlarmProbableCause);
    const char* name =
        table_value_name(table_desc_sActiveAlarmTable.index[1].names, alarm.sActiveAlarmTableAlarmCode);
    return name != nullptr ? name : "-";
}

std::string severity_of(const Alarm& alarm) {
    return table_value_text(column_of(sActiveAlarmTable_column::sActiveAlarmTableAlarmSeverity).names,
                            alarm.sActiveAlarmTableAlarmSeverity);
}

// "3d 02:00:59"; nothing for an alarm of the future, which a changed clock makes.
std::string age_text(mib_ulong since, mib_ulong now) {
    if (since == 0 || since > now)
        return "-";
    const mib_ulong age = now - since;
    char text[40];
    snprintf(text, sizeof text, "%ud %02u:%02u:%02u", age / 86400, age / 3600 % 24, age / 60 % 60, age % 60);
    return text;
}

// Whether the alarm is of the port or ONU that is asked for, or of something on it.
bool is_in(const Scope& scope, const Alarm& alarm) {
    if (scope.port == Scope::ANY)
        return true;
    const ov_ifindex_t source = alarm.sActiveAlarmTableAlarmSource;
    const uint16_t kind = ov_ifindex_get_port_type(source);
    const bool is_on_pon = kind >= PORT_TYPE_GPON && kind <= PORT_TYPE_GPON_ONU_UNI;
    if (!is_on_pon || static_cast<mib_long>(ov_ifindex_get_slot_id(source)) != scope.slot ||
        static_cast<mib_long>(ov_ifindex_get_port_id(source)) != scope.port)
        return false;
    return scope.onu == Scope::ANY ||
           (kind != PORT_TYPE_GPON && static_cast<mib_long>(ov_ifindex_get_subport_id(source)) == scope.onu);
}

void print_alarm(const kavo_table_t& table, const Alarm& alarm, mib_ulong now) {
    const mib_ulong since = alarm.sActiveAlarmTableAlarmDTS;
    table.row({source_name(alarm), severity_of(alarm), alarm.sActiveAlarmTableAlarmCode, text_of(alarm),
               ov_local_time_text(since), age_text(since, now)});
}

int gpon_show_alarm_cli(CliCall& call) {
    const kavo_table_t table(call.vty, COLUMNS);
    Scope scope = gpon_cli_object_scope_of(call.vty);
    print_head(table);
    if (call.words.has("IFNAME")) {
        scope = {};
        if (!gpon_cli_narrow_to_object(call, scope))
            return KAVO_CLI_BAD_INPUT;
    }
    return gpon_show_rows(
        call.vty, Alarm{}, 0,
        [table, scope, now = get_local_time()](const Alarm& alarm) {
            const bool is_asked_for = is_in(scope, alarm);
            if (is_asked_for)
                print_alarm(table, alarm, now);
            return is_asked_for;
        },
        [table](int count) { table.line("total %d", count); });
}

const kavo_cmd_t alarm_cmds[] = {
#include "commands/alarm.def"
};

} // namespace

void gpon_alarm_cli_init() {
    kavo_cmd_install(alarm_cmds);
}
