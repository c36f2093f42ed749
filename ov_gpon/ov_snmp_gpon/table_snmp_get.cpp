// GET of managers: one run of the get chain for all variables of a request, then the answers.
#include <cstring>
#include <vector>

#include "table_record.h"
#include "table_snmp.h"
#include "table_snmp_request.h"
#include "table_snmp_value.h"

namespace {

bool has_row(netsnmp_request_info* request) {
    return !snmp_is_done(request) && netsnmp_extract_table_info(request) != nullptr &&
           netsnmp_extract_iterator_context(request) != nullptr;
}

// Refreshes the first row, by all columns that are asked for.
void refresh(TableModule& module, netsnmp_request_info* requests) {
    if (!snmp_has_get_chain(module))
        return;
    const void* first = nullptr;
    MIB_Flags_t columns{};
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (!has_row(request))
            continue;
        mib_flag_set(columns, netsnmp_extract_table_info(request)->colnum);
        first = first == nullptr ? netsnmp_extract_iterator_context(request) : first;
    }
    if (first == nullptr)
        return;
    snmp_refresh_row(module, first, columns);
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (has_row(request))
            snmp_attach_row(request, snmp_find_row(module, *netsnmp_extract_table_info(request)));
    }
}

void answer(netsnmp_variable_list* variable, const SnmpValue& value) {
    switch (value.type) {
    case ASN_INTEGER:
        snmp_set_var_typed_integer(variable, ASN_INTEGER, static_cast<int32_t>(value.number));
        break;
    case ASN_UNSIGNED:
        snmp_set_var_typed_integer(variable, ASN_UNSIGNED, static_cast<long>(value.number));
        break;
    case ASN_COUNTER64: {
        counter64 counter;
        counter.high = static_cast<u_long>(value.number >> 32);
        counter.low = static_cast<u_long>(value.number & 0xFFFFFFFFu);
        snmp_set_var_typed_value(variable, ASN_COUNTER64, &counter, sizeof(counter));
        break;
    }
    default:
        snmp_set_var_typed_value(variable, value.type, value.bytes.data(), value.bytes.size());
    }
}

} // namespace

bool snmp_has_get_chain(const TableModule& module) {
    return table_cntl[module.desc().registry_index].callback_get != nullptr;
}

void snmp_refresh_row(TableModule& module, const void* row, const MIB_Flags_t& columns) {
    const TableDesc& desc = module.desc();
    const auto* bytes = static_cast<const std::byte*>(row);
    const std::vector<std::byte> key(bytes, bytes + desc.key_size);
    std::vector<std::byte> fresh(bytes, bytes + desc.entry_size);
    Run_MibCallbackFunc(0, module.did(), CALLBACK_GET, fresh.data(), columns);
    if (void* stored = row_get(module.did(), const_cast<std::byte*>(key.data())))
        std::memcpy(record_bytes(stored) + desc.key_size, fresh.data() + desc.key_size,
                    desc.entry_size - desc.key_size);
}

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
            answer(request->requestvb, snmp_value(module, *column, row));
        else
            netsnmp_set_request_error(reqinfo, request, SNMP_NOSUCHOBJECT);
    }
}
