#include "table_snmp_open.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include <net-snmp/agent/agent_callbacks.h>

#include "ov_product_log.h"
#include "table_record.h"
#include "table_snmp_ahead.h"

namespace {

using Image = std::vector<char>;

struct OpenRow {
    TableModule* module;
    SnmpRowKey key;
    SnmpSetState state = SnmpSetState::RESERVED;
    MIB_Flags_t columns{};
    Image before{}; // what the row held; empty before ACTION
    Image after{};  // what the callbacks left; empty if there was no row then
};

// A master has one set at a time: a few rows at most.
std::vector<OpenRow>& open_rows() {
    static std::vector<OpenRow> rows;
    return rows;
}

OpenRow& open_row(TableModule& module, const SnmpRowKey& key) {
    auto& rows = open_rows();
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const OpenRow& open) {
        return open.module == &module && open.key == key;
    });
    return found != rows.end() ? *found : rows.emplace_back(OpenRow{.module = &module, .key = key});
}

Image image_of(const TableModule& module, const void* row) {
    const char* bytes = record_bytes(row);
    return row == nullptr ? Image() : Image(bytes, bytes + module.desc().entry_size);
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

// One value of a column, or its shadow.
void take_value_back(const OpenRow& open, char* row, size_t offset, size_t size) {
    const bool changed_since =
        open.after.empty() || std::memcmp(row + offset, open.after.data() + offset, size) != 0;
    if (!changed_since)
        std::memcpy(row + offset, open.before.data() + offset, size);
}

void take_columns_back(const OpenRow& open, char* row) {
    if (open.before.empty())
        return;
    for (const ColumnDesc& column : open.module->desc().columns) {
        if (mib_flag_is_set(open.columns, column.number)) {
            std::memcpy(row + column.offset, open.before.data() + column.offset, column.size);
            std::memset(row + column.old_offset, 0, column.size);
        } else {
            take_value_back(open, row, column.offset, column.size);
            take_value_back(open, row, column.old_offset, column.size);
        }
    }
}

void take_back(const OpenRow& open, void* row) {
    const int32_t status = row_status_of(open.module->desc(), row);
    if (status == OVRA_CREATEANDGO || status == OVRA_CREATEANDWAIT)
        open.module->remove_entry(row);
    else
        take_columns_back(open, record_bytes(row));
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
        take_back(open, row);
    else if (row_status_of(open.module->desc(), row) == OVRA_NONEXISTENT)
        open.module->remove_entry(row);
    clearOpOwnerSnmp(open.module->did());
}

int on_master_lost(int /*major*/, int /*minor*/, void* /*session*/, void* /*own*/) {
    snmp_open_abandon();
    return 0;
}

} // namespace

void snmp_open_keep(TableModule& module, const SnmpRowKey& key, const void* row) {
    OpenRow& open = open_row(module, key);
    if (open.before.empty())
        open.before = image_of(module, row);
}

void snmp_open_note(TableModule& module, const SnmpRowKey& key, SnmpSetState state,
                    const MIB_Flags_t& columns) {
    OpenRow& open = open_row(module, key);
    open.state = state;
    open.columns = columns;
    if (state != SnmpSetState::RESERVED)
        open.after = image_of(module, module.find_row(key.data()));
}

void snmp_open_take_back(TableModule& module, const SnmpRowKey& key, void* row) {
    take_columns_back(open_row(module, key), record_bytes(row));
}

void snmp_open_forget(const TableModule& module) {
    std::erase_if(open_rows(), [&](const OpenRow& open) { return open.module == &module; });
    snmp_ahead_end(module);
}

void snmp_open_abandon() {
    for (OpenRow& open : std::exchange(open_rows(), {}))
        end_set(open);
    snmp_ahead_end_all();
}

void snmp_open_watch_master() {
    // The library says so on each loss of its session with the master.
    static const int registered =
        snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, on_master_lost, nullptr);
    if (registered != SNMPERR_SUCCESS)
        OV_LOG_ERROR("SNMP", "no notice of a lost master");
}
