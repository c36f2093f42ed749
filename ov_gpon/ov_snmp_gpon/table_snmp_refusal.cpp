#include "table_snmp_refusal.h"

#include <string>

#include "ov_refusal.h"
#include "table_record.h"
#include "table_row_name.h"

namespace {

// ---- what a column takes ---------------------------------------------------------------------------------

const char* type_text(const ColumnDesc& column) {
    switch (column.type) {
    case ColType::INT:
    case ColType::ROWSTATUS:
        return "Integer32";
    case ColType::UINT:
        return "Unsigned32";
    case ColType::COUNTER64:
        return "Counter64";
    case ColType::IPADDR:
        return "IpAddress";
    case ColType::TEXT:
    case ColType::BIN:
        return "OCTET STRING";
    }
    return "";
}

// "1 to 8", or the values of an enumeration: "1 (stage1), 2 (stage2)".
std::string range_text(const ColumnDesc& column) {
    if (column.names.empty())
        return std::to_string(column.min) + " to " + std::to_string(column.max);
    std::string text;
    for (const ColName& named : column.names)
        text += (text.empty() ? "" : ", ") + std::to_string(named.value) + " (" + named.name + ")";
    return text;
}

// ---- why a variable is refused ----------------------------------------------------------------------

// A RowStatus that the row's present one doesn't allow.
const char* status_reason(const netsnmp_request_info* request) {
    const netsnmp_variable_list* value = request->requestvb;
    if (netsnmp_check_vb_int(value) != SNMP_ERR_NOERROR)
        return "";
    switch (*value->val.integer) {
    case OVRA_CREATEANDGO:
    case OVRA_CREATEANDWAIT:
        return "exists already";
    case OVRA_NOTINSERVICE:
        if (netsnmp_extract_iterator_context(const_cast<netsnmp_request_info*>(request)) != nullptr)
            return "is active and can't be taken out of service, only destroyed";
        return "doesn't exist";
    default:
        return "doesn't exist";
    }
}

std::string value_reason(const ColumnDesc& column) {
    if (column.type == ColType::ROWSTATUS)
        return std::string(column.name) + " takes 1, 2, 4, 5, 6 (active, notInService, createAndGo, "
                                          "createAndWait, destroy)";
    return std::string(column.name) + " takes " + range_text(column);
}

std::string reason_of(const TableModule& module, const netsnmp_request_info* request,
                      const netsnmp_table_request_info& info) {
    const ColumnDesc* column = module.desc().column(static_cast<int>(info.colnum));
    const std::string name = column != nullptr ? column->name : "column " + std::to_string(info.colnum);
    switch (request->status) {
    case SNMP_ERR_NOTWRITABLE:
        return module.awaits_module() ? "nothing stands behind the table yet" : name + " can't be written";
    case SNMP_ERR_WRONGTYPE:
        return column != nullptr ? name + " is of type " + type_text(*column) : "";
    case SNMP_ERR_WRONGLENGTH:
        return column != nullptr ? name + " takes at most " + std::to_string(column->limit) + " bytes" : "";
    case SNMP_ERR_WRONGVALUE:
        return column != nullptr ? value_reason(*column) : "";
    case SNMP_ERR_INCONSISTENTVALUE:
        return status_reason(request);
    case SNMP_ERR_RESOURCEUNAVAILABLE:
        return "doesn't exist"; // or, with a create, there is no room for it
    default:
        return "";
    }
}

// ---- requests ---------------------------------------------------------------------------------------

const netsnmp_request_info* first_refused(const netsnmp_request_info* request) {
    while (request != nullptr && request->status == SNMP_ERR_NOERROR)
        request = request->next;
    return request;
}

std::string row_name(const TableModule& module, const netsnmp_table_request_info& info) {
    SnmpRowKey key;
    if (!snmp_row_key(module.desc(), info, key))
        return module.name();
    const void* row = snmp_find_row(module, info);
    return row != nullptr ? table_row_name(module, row) : table_key_name(module, key.data());
}

// "10 wrongValue": the library's text begins with the name in parentheses.
std::string status_text(int status) {
    const std::string text = snmp_errstring(status);
    const size_t end = text.find(')');
    const bool has_name = text.starts_with('(') && end != text.npos;
    return std::to_string(status) + " " + (has_name ? text.substr(1, end - 1) : text);
}

// "SET sTcontTableTcontName.1.1.1.1.3": not the value, which may be a password.
OvRefusedRequest request_of(const TableModule& module, const netsnmp_request_info* refused,
                            const netsnmp_table_request_info& info) {
    const ColumnDesc* column = module.desc().column(static_cast<int>(info.colnum));
    std::string what =
        "SET " + (column != nullptr ? std::string(column->name)
                                    : std::string(module.name()) + "." + std::to_string(info.colnum));
    for (size_t i = 0; i < info.index_oid_len; ++i)
        what += "." + std::to_string(info.index_oid[i]);
    return {.what = what, .result = status_text(refused->status), .object = ""};
}

void tell(const TableModule& module, OvRefusal& door, const netsnmp_request_info* refused) {
    const netsnmp_table_request_info* info =
        netsnmp_extract_table_info(const_cast<netsnmp_request_info*>(refused));
    if (info != nullptr)
        door.refuse(row_name(module, *info).c_str(), reason_of(module, refused, *info).c_str(),
                    request_of(module, refused, *info));
    else
        door.refuse(module.name(), nullptr);
}

// The variable of the column that the check has named, if it spoke of a row of this table.
netsnmp_request_info* named_by_check(const TableModule& module, netsnmp_request_info* requests) {
    OvRefusal* door = OvRefusal::current();
    if (door == nullptr || door->notes().column == 0 || door->notes().table != module.desc().registry_index)
        return nullptr;
    netsnmp_request_info* named = nullptr;
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        const netsnmp_table_request_info* info = netsnmp_extract_table_info(request);
        if (info != nullptr && info->colnum == door->notes().column)
            named = request; // the last one of a column is what the row holds
    }
    return named;
}

} // namespace

void snmp_serve_set_telling(TableModule& module, netsnmp_agent_request_info* reqinfo,
                            netsnmp_request_info* requests) {
    const bool refused_before = first_refused(requests) != nullptr; // by the library, or in an earlier phase
    OvRefusal door("snmp");
    snmp_serve_set(module, reqinfo, requests);
    const netsnmp_request_info* refused = refused_before ? nullptr : first_refused(requests);
    if (refused != nullptr)
        tell(module, door, refused);
}

void snmp_refuse_row(const TableModule& module, netsnmp_agent_request_info* reqinfo,
                     netsnmp_request_info* requests, int error) {
    if (netsnmp_request_info* named = named_by_check(module, requests)) {
        netsnmp_set_request_error(reqinfo, named, error);
        return;
    }
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next)
        netsnmp_set_request_error(reqinfo, request, error);
}

bool snmp_destroys_nothing(const netsnmp_request_info* request, const ColumnDesc* column) {
    return column != nullptr && column->type == ColType::ROWSTATUS &&
           netsnmp_check_vb_int(request->requestvb) == SNMP_ERR_NOERROR &&
           *request->requestvb->val.integer == OVRA_DESTROY &&
           netsnmp_extract_iterator_context(const_cast<netsnmp_request_info*>(request)) == nullptr;
}
