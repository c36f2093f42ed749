// GET of managers: one run of the get chain for all variables of a request, then the answers.
#include <cstring>
#include <vector>

#include "table_record.h"
#include "table_snmp.h"
#include "table_snmp_request.h"

namespace {

// What the get chain fills in.
struct FreshRow {
    std::vector<std::byte> row;
    netsnmp_request_info* request = nullptr; // the first with a row: that is the one the chain gets
    MIB_Flags_t flags{};
};

bool has_row(netsnmp_request_info* request) {
    return !snmp_is_done(request) && netsnmp_extract_table_info(request) != nullptr &&
           netsnmp_extract_iterator_context(request) != nullptr;
}

FreshRow collect(const TableDesc& desc, netsnmp_request_info* requests) {
    FreshRow fresh;
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (!has_row(request))
            continue;
        mib_flag_set(fresh.flags, netsnmp_extract_table_info(request)->colnum);
        if (fresh.request != nullptr)
            continue;
        fresh.request = request;
        const auto* row = static_cast<const std::byte*>(netsnmp_extract_iterator_context(request));
        fresh.row.assign(row, row + desc.entry_size);
    }
    return fresh;
}

// Runs the get chain on a copy of the first row, and keeps what it filled in, whatever the chain's result:
// live data replaces the stored. The row's key isn't the chain's to change.
void refresh(TableModule& module, netsnmp_request_info* requests) {
    if (table_cntl[module.desc().registry_index].callback_get == nullptr)
        return;
    FreshRow fresh = collect(module.desc(), requests);
    if (fresh.request == nullptr)
        return;
    Run_MibCallbackFunc(0, module.did(), CALLBACK_GET, fresh.row.data(), fresh.flags);
    // Callbacks may have removed rows.
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (has_row(request))
            snmp_attach_row(request, snmp_find_row(module, *netsnmp_extract_table_info(request)));
    }
    const size_t key_size = module.desc().key_size;
    if (void* stored = netsnmp_extract_iterator_context(fresh.request))
        std::memcpy(record_bytes(stored) + key_size, fresh.row.data() + key_size,
                    module.desc().entry_size - key_size);
}

void answer_counter(netsnmp_variable_list* variable, uint64_t value) {
    counter64 counter;
    counter.high = static_cast<u_long>(value >> 32);
    counter.low = static_cast<u_long>(value & 0xFFFFFFFFu);
    snmp_set_var_typed_value(variable, ASN_COUNTER64, &counter, sizeof(counter));
}

void answer(const TableModule& module, netsnmp_variable_list* variable, const ColumnDesc& column,
            const void* row) {
    const char* value = record_bytes(row) + column.offset;
    switch (column.type) {
    case ColType::INT:
    case ColType::ROWSTATUS:
        snmp_set_var_typed_integer(variable, ASN_INTEGER, record_get<int32_t>(row, column.offset));
        break;
    case ColType::UINT:
        snmp_set_var_typed_integer(variable, ASN_UNSIGNED,
                                   static_cast<long>(record_get<uint32_t>(row, column.offset)));
        break;
    case ColType::COUNTER64:
        answer_counter(variable, record_get<uint64_t>(row, column.offset));
        break;
    case ColType::IPADDR:
        snmp_set_var_typed_value(variable, ASN_IPADDRESS, value, column.size);
        break;
    case ColType::TEXT:
        snmp_set_var_typed_value(variable, ASN_OCTET_STR, value,
                                 module.is_whole_text(column, row) ? column.limit : text_length(column, row));
        break;
    case ColType::BIN:
        snmp_set_var_typed_value(variable, ASN_OCTET_STR, value, column.limit);
        break;
    }
}

} // namespace

void snmp_serve_get(TableModule& module, netsnmp_agent_request_info* reqinfo,
                    netsnmp_request_info* requests) {
    refresh(module, requests);
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (snmp_is_done(request))
            continue;
        const netsnmp_table_request_info* info = netsnmp_extract_table_info(request);
        const void* row = info == nullptr ? nullptr : netsnmp_extract_iterator_context(request);
        if (row == nullptr) {
            netsnmp_set_request_error(reqinfo, request, SNMP_NOSUCHINSTANCE);
            continue;
        }
        if (const ColumnDesc* column = snmp_readable_column(module.desc(), info->colnum))
            answer(module, request->requestvb, *column, row);
        else
            netsnmp_set_request_error(reqinfo, request, SNMP_NOSUCHOBJECT);
    }
}
