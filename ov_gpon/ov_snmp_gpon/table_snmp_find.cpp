// The row finder: from the object identifier of a request to the row of the store.
//
// GET and SET name a row by its whole index. GETNEXT names a place in the order of object identifiers, column
// by column and inside a column row by row, and gets the first variable behind it; the place needn't be a
// variable's and may be any sequence of numbers.
#include <algorithm>
#include <limits>

#include "table_record.h"
#include "table_snmp.h"
#include "table_snmp_request.h"

namespace {

constexpr uint32_t GREATEST = std::numeric_limits<uint32_t>::max();

// A number of an object identifier as an index value; false when no index column holds it. The library reads
// the numbers of AgentX messages as signed: where an arc has 64 bits, those from 2^31 up come sign-extended.
bool index_value(oid arc, uint32_t& value) {
    value = static_cast<uint32_t>(arc);
    return arc == value || arc == static_cast<oid>(static_cast<int32_t>(value));
}

// The first row of a column behind an index.
void* row_behind(const TableModule& module, SnmpRowKey& key, size_t given) {
    if (given == 0)
        return get_table_head(module.did());
    const size_t wanted = module.desc().index.size();
    if (given < wanted) {
        // Zeros behind a short index: whatever row begins with it comes behind it.
        std::fill(key.begin() + static_cast<ptrdiff_t>(given), key.end(), 0);
        if (void* row = row_get(module.did(), key.data()))
            return row;
    }
    // A longer index than the table's stands behind the row that it begins with.
    return row_getNext(module.did(), key.data());
}

// The index of a request, and how many of its numbers count.
size_t given_index(const TableDesc& desc, const netsnmp_table_request_info& info, SnmpRowKey& key) {
    for (size_t i = 0; i < desc.index.size() && i < info.index_oid_len; ++i) {
        if (!index_value(info.index_oid[i], key[i])) {
            // Behind all rows that agree so far.
            std::fill(key.begin() + static_cast<ptrdiff_t>(i), key.end(), GREATEST);
            return desc.index.size();
        }
    }
    return info.index_oid_len;
}

// The first readable column at or above a number, 0 at the end.
unsigned column_from(const TableDesc& desc, unsigned number) {
    const auto last = static_cast<unsigned>(desc.max_column());
    for (; number <= last; ++number) {
        if (snmp_readable_column(desc, number) != nullptr)
            return number;
    }
    return 0;
}

// Makes a request that of a row's column.
void name_variable(const TableModule& module, netsnmp_request_info* request, netsnmp_table_request_info& info,
                   const void* row) {
    std::array<oid, MAX_OID_LEN> name;
    size_t length = 0;
    for (oid arc : module.table_oid())
        name[length++] = arc;
    name[length++] = 1; // the entry
    name[length++] = info.colnum;
    info.index_oid_len = 0;
    netsnmp_variable_list* index = info.indexes;
    for (const ColumnDesc& column : module.desc().index) {
        const auto value = record_get<uint32_t>(row, column.offset);
        name[length++] = info.index_oid[info.index_oid_len++] = value;
        if (index == nullptr)
            continue;
        snmp_set_var_typed_integer(index, snmp_index_type(column), static_cast<long>(value));
        index = index->next_variable;
    }
    info.number_indexes = static_cast<unsigned>(info.index_oid_len);
    snmp_set_var_objid(request->requestvb, name.data(), length);
}

// Moves a request to the variable behind it; false when the table has none.
bool find_next(const TableModule& module, netsnmp_request_info* request) {
    netsnmp_table_request_info* info = netsnmp_extract_table_info(request);
    if (info == nullptr)
        return false;
    SnmpRowKey key{};
    const size_t given = given_index(module.desc(), *info, key);
    void* row = snmp_next_variable(module, info->colnum, key, given);
    if (row == nullptr)
        return false;
    name_variable(module, request, *info, row);
    snmp_attach_row(request, row);
    return true;
}

// Attaches the next rows; whether there is one for any of the requests.
bool find_all_next(const TableModule& module, netsnmp_request_info* requests) {
    bool found = false;
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (snmp_is_done(request))
            continue;
        if (find_next(module, request))
            found = true;
        else
            request->processed = 1; // without a value: the agent goes on behind this table
    }
    return found;
}

void find_named(const TableModule& module, netsnmp_request_info* requests) {
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        const netsnmp_table_request_info* info =
            snmp_is_done(request) ? nullptr : netsnmp_extract_table_info(request);
        if (info != nullptr)
            snmp_attach_row(request, snmp_find_row(module, *info));
    }
}

} // namespace

int table_snmp_find(netsnmp_mib_handler* handler, netsnmp_handler_registration* reginfo,
                    netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    const auto& module = *static_cast<const TableModule*>(handler->myvoid);
    // Held while the module's handler works: a row that was found stays until then.
    OvraMutexGuard lock(getMutex(module.did()));
    if (reqinfo->mode != MODE_GETNEXT) {
        find_named(module, requests);
        return netsnmp_call_next_handler(handler, reginfo, reqinfo, requests);
    }
    if (!find_all_next(module, requests))
        return SNMP_ERR_NOERROR;
    // What the requests name now is there: they are answered like a GET.
    reqinfo->mode = MODE_GET;
    const int result = netsnmp_call_next_handler(handler, reginfo, reqinfo, requests);
    reqinfo->mode = MODE_GETNEXT;
    return result;
}

// ---- requests ------------------------------------------------------------------------------------

const ColumnDesc* snmp_readable_column(const TableDesc& desc, unsigned number) {
    if (number == 0 || number > static_cast<unsigned>(desc.max_column()))
        return nullptr;
    const ColumnDesc* column = desc.column(static_cast<int>(number));
    if (column == nullptr) {
        for (const ColumnDesc& index : desc.index) {
            if (index.number == number)
                column = &index;
        }
    }
    return column != nullptr && column->access != ColAccess::NOT_ACCESSIBLE ? column : nullptr;
}

void* snmp_next_variable(const TableModule& module, unsigned& column, SnmpRowKey& key, size_t given) {
    if (snmp_readable_column(module.desc(), column) != nullptr) {
        if (void* row = row_behind(module, key, given))
            return row;
    }
    const unsigned next = column_from(module.desc(), column + 1);
    if (next == 0)
        return nullptr;
    column = next;
    return get_table_head(module.did());
}

bool snmp_row_key(const TableDesc& desc, const netsnmp_table_request_info& info, SnmpRowKey& key) {
    if (info.index_oid_len != desc.index.size())
        return false;
    key = {};
    for (size_t i = 0; i < desc.index.size(); ++i) {
        if (!index_value(info.index_oid[i], key[i]))
            return false;
    }
    return true;
}

void* snmp_find_row(const TableModule& module, const netsnmp_table_request_info& info) {
    SnmpRowKey key;
    return snmp_row_key(module.desc(), info, key) ? row_get(module.did(), key.data()) : nullptr;
}

void snmp_attach_row(netsnmp_request_info* request, void* row) {
    if (netsnmp_data_list* attached = netsnmp_get_list_node(request->parent_data, TABLE_ITERATOR_NAME))
        attached->data = row;
    else if (row != nullptr)
        netsnmp_request_add_list_data(request, netsnmp_create_data_list(TABLE_ITERATOR_NAME, row, nullptr));
}

void snmp_detach_row(netsnmp_request_info* requests, const void* row) {
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (netsnmp_extract_iterator_context(request) == row)
            snmp_attach_row(request, nullptr);
    }
}
