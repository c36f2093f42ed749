#include "enterpriseGPONProductsTrapGroup.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "agentx.h"
#include "ov_clock.h"
#include "ov_product.h"
#include "sActiveAlarmTable.h"
#include "table_list.h"
#include "table_record.h"
#include "trap_queue.h"

namespace {

using Oid = std::vector<oid>;

const oid snmptrap_oid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0}; // snmpTrapOID.0 (RFC 3418)
// Below the enterprise number: the notifications, and the object of their time.
const oid trap_arcs[] = {1, 1, 2, 0};
const oid trap_time_arcs[] = {1, 1, 2, 0, 1, 0};

struct Trap {
    oid number;
    const char* table;
};
const Trap traps[] = {
#define OV_TRAP(number, table) {number, #table},
#include "trap_list.def"
#undef OV_TRAP
};

// 1.3.6.1.4.1.E and what stands below it.
template <typename Arcs>
Oid enterprise_oid(const Arcs& below) {
    Oid name = {1, 3, 6, 1, 4, 1, ov_product_enterprise_id_get()};
    name.insert(name.end(), std::begin(below), std::end(below));
    return name;
}

void add(netsnmp_variable_list** list, const Oid& name, u_char type, const void* value, size_t size) {
    snmp_varlist_add_variable(list, name.data(), name.size(), type, value, size);
}

// The library takes integers by their size.
void add_number(netsnmp_variable_list** list, const Oid& name, u_char type, uint32_t value) {
    if (type == ASN_INTEGER) {
        const long number = static_cast<int32_t>(value);
        add(list, name, type, &number, sizeof number);
    } else {
        const u_long number = value;
        add(list, name, type, &number, sizeof number);
    }
}

void add_counter(netsnmp_variable_list** list, const Oid& name, uint64_t value) {
    const counter64 counter = {.high = static_cast<u_long>(value >> 32),
                               .low = static_cast<u_long>(value & 0xffffffffu)};
    add(list, name, ASN_COUNTER64, &counter, sizeof counter);
}

// In full length, with zeros behind the text.
void add_text(netsnmp_variable_list** list, const Oid& name, std::string_view text, size_t limit) {
    std::string padded(text);
    padded.resize(limit);
    add(list, name, ASN_OCTET_STR, padded.data(), padded.size());
}

void add_column(netsnmp_variable_list** list, const Oid& entry, const ColumnDesc& column, const void* row) {
    if (column.number == 0)
        return; // the table has no object for it
    Oid name = entry;
    name.push_back(column.number);
    const char* value = record_bytes(row) + column.offset;
    switch (column.type) {
    case ColType::INT:
    case ColType::ROWSTATUS:
        return add_number(list, name, ASN_INTEGER, record_get<uint32_t>(row, column.offset));
    case ColType::UINT:
        return add_number(list, name, ASN_UNSIGNED, record_get<uint32_t>(row, column.offset));
    case ColType::COUNTER64:
        return add_counter(list, name, record_get<uint64_t>(row, column.offset));
    case ColType::IPADDR:
        return add(list, name, ASN_IPADDRESS, value, column.size);
    case ColType::TEXT:
        return add_text(list, name, {value, text_length(column, row)}, column.limit);
    case ColType::BIN:
        return add(list, name, ASN_OCTET_STR, value, column.limit);
    }
}

void send_row(const TrapRow& trap) {
    Oid identity = enterprise_oid(trap_arcs);
    identity.push_back(trap.number);
    Oid entry = enterprise_oid(trap.desc->oid);
    entry.push_back(1);

    netsnmp_variable_list* list = nullptr;
    snmp_varlist_add_variable(&list, snmptrap_oid, std::size(snmptrap_oid), ASN_OBJECT_ID, identity.data(),
                              identity.size() * sizeof(oid));
    for (const ColumnDesc& column : trap.desc->index)
        add_column(&list, entry, column, trap.row.data());
    for (const ColumnDesc& column : trap.desc->columns)
        add_column(&list, entry, column, trap.row.data());
    add_number(&list, enterprise_oid(trap_time_arcs), ASN_TIMETICKS, trap.seconds);
    agentx_send_notification(list);
}

TrapQueue& trap_queue() {
    static auto& queue = *new TrapQueue(send_row); // other threads may use it until the end
    return queue;
}

} // namespace

int trap_send_row(const TableDesc& desc, const void* row) {
    const auto* trap = std::find_if(std::begin(traps), std::end(traps),
                                    [&desc](const Trap& t) { return &desc == table_desc_find(t.table); });
    if (trap == std::end(traps) || row == nullptr)
        return -1;
    const auto* bytes = static_cast<const std::byte*>(row);
    trap_queue().send({.number = trap->number,
                       .desc = &desc,
                       .seconds = static_cast<uint32_t>(ov_wall_time()),
                       .row = {bytes, bytes + desc.entry_size}});
    return 0;
}

void trap_row_changed(const TableDesc& desc, const void* row) {
    if (&desc == &table_desc_sActiveAlarmTable)
        trap_send_row(desc, row);
}

#define OV_TRAP(number, table)                                                                               \
    int send_##table##Trap_trap(struct table##_entry* pNewCfg) {                                             \
        trap_send_row(*table_desc_find(#table), pNewCfg);                                                    \
        return 0;                                                                                            \
    }
#include "trap_list.def"
#undef OV_TRAP
