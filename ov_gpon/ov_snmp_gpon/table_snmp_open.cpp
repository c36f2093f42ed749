#include "table_snmp_open.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include <net-snmp/agent/agent_callbacks.h>

#include "ov_product_log.h"
#include "table_record.h"

namespace {

struct OpenRow {
    TableModule* module;
    SnmpRowKey key;
    SnmpSetState state;
    MIB_Flags_t columns;
};

// A master has one set at a time: a few rows at most.
std::vector<OpenRow>& open_rows() {
    static std::vector<OpenRow> rows;
    return rows;
}

void complete(TableModule& module, void* row) {
    const TableDesc& desc = module.desc();
    const int32_t status = row_status_of(desc, row);
    if (status == OVRA_DESTROY) {
        module.remove_entry(row);
    } else if (status == OVRA_CREATEANDGO || status == OVRA_CREATEANDWAIT) {
        set_old_row_status(desc, row, status);
        set_row_status(desc, row, status == OVRA_CREATEANDGO ? OVRA_ACTIVE : OVRA_NOTINSERVICE);
    }
    module.mark_changed();
}

void take_back(TableModule& module, void* row, const MIB_Flags_t& columns) {
    const int32_t status = row_status_of(module.desc(), row);
    if (status == OVRA_CREATEANDGO || status == OVRA_CREATEANDWAIT) {
        module.remove_entry(row);
        return;
    }
    char* bytes = record_bytes(row);
    for (const ColumnDesc& column : module.desc().columns) {
        if (!mib_flag_is_set(columns, column.number))
            continue;
        std::memcpy(bytes + column.offset, bytes + column.old_offset, column.size);
        std::memset(bytes + column.old_offset, 0, column.size);
    }
}

void end_set(OpenRow& open) {
    OvraMutexGuard lock(getMutex(open.module->did()));
    void* row = row_get(open.module->did(), open.key.data());
    if (row == nullptr)
        return;
    setOpOwnerSnmp(open.module->did());
    if (open.state == SnmpSetState::ACCEPTED)
        complete(*open.module, row);
    else if (open.state == SnmpSetState::REFUSED)
        take_back(*open.module, row, open.columns);
    else if (row_status_of(open.module->desc(), row) == OVRA_NONEXISTENT)
        open.module->remove_entry(row);
    clearOpOwnerSnmp(open.module->did());
}

int on_master_lost(int /*major*/, int /*minor*/, void* /*session*/, void* /*own*/) {
    snmp_open_abandon();
    return 0;
}

} // namespace

void snmp_open_note(TableModule& module, const SnmpRowKey& key, SnmpSetState state,
                    const MIB_Flags_t& columns) {
    for (OpenRow& open : open_rows()) {
        if (open.module == &module && open.key == key) {
            open.state = state;
            open.columns = columns;
            return;
        }
    }
    open_rows().push_back({&module, key, state, columns});
}

void snmp_open_forget(const TableModule& module) {
    std::erase_if(open_rows(), [&](const OpenRow& open) { return open.module == &module; });
}

void snmp_open_abandon() {
    for (OpenRow& open : std::exchange(open_rows(), {}))
        end_set(open);
}

void snmp_open_watch_master() {
    // The library says so on each loss of its session with the master.
    static const int registered =
        snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, on_master_lost, nullptr);
    if (registered != SNMPERR_SUCCESS)
        OV_LOG_ERROR("SNMP", "no notice of a lost master");
}
