#include "table_snmp.h"

#include <memory>
#include <string>

#include "agentx_link.h"
#include "ov_product_log.h"
#include "table_record.h"
#include "table_snmp_answer.h"
#include "table_snmp_open.h"
#include "table_snmp_refusal.h"
#include "table_snmp_request.h"

namespace {

void put_index(const TableDesc& desc, const void* row, netsnmp_variable_list* index) {
    for (const ColumnDesc& column : desc.index) {
        if (index == nullptr)
            return;
        auto value = record_get<uint32_t>(row, column.offset);
        snmp_set_var_typed_integer(index, snmp_index_type(column),
                                   column.type == ColType::INT ? static_cast<int32_t>(value)
                                                               : static_cast<long>(value));
        index = index->next_variable;
    }
}

struct TableInfoFree {
    void operator()(netsnmp_table_registration_info* info) const {
        netsnmp_table_registration_info_free(info);
    }
};
using TableInfo = std::unique_ptr<netsnmp_table_registration_info, TableInfoFree>;

TableInfo create_table_info(const TableDesc& desc) {
    TableInfo info(SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info));
    if (info == nullptr)
        return nullptr;
    for (const ColumnDesc& column : desc.index)
        netsnmp_table_helper_add_indexes(info.get(), static_cast<int>(snmp_index_type(column)), 0);
    info->min_column = static_cast<unsigned>(desc.min_column());
    info->max_column = static_cast<unsigned>(desc.max_column());
    return info;
}

} // namespace

// ---- registration --------------------------------------------------------------------------------

bool table_snmp_available() {
    return netsnmp_subtree_find_first("") != nullptr;
}

netsnmp_handler_registration* table_snmp_create(TableModule& module, netsnmp_node_handler* handler) {
    snmp_open_watch_master();
    const auto oid = module.table_oid();
    netsnmp_handler_registration* registration =
        netsnmp_create_handler_registration(module.name(), handler, oid.data(), oid.size(),
                                            module.desc().writable ? HANDLER_CAN_RWRITE : HANDLER_CAN_RONLY);
    if (registration == nullptr)
        return nullptr;
    netsnmp_mib_handler* finder = netsnmp_create_handler("row_finder", table_snmp_find);
    if (finder != nullptr)
        finder->myvoid = &module;
    if (finder == nullptr || netsnmp_inject_handler(registration, finder) != SNMPERR_SUCCESS) {
        netsnmp_handler_registration_free(registration);
        return nullptr;
    }
    return registration;
}

bool table_snmp_register(const TableModule& module, netsnmp_handler_registration* registration) {
    TableInfo info = create_table_info(module.desc());
    if (info == nullptr)
        netsnmp_handler_registration_free(registration);
    else if (netsnmp_register_table(registration, info.get()) == MIB_REGISTERED_OK) {
        agentx_link_set_answerer(table_snmp_answer);
        static_cast<void>(info.release()); // the library's table helper has it, for good
        return true;                       // NOLINT(clang-analyzer-unix.Malloc)
    }
    OV_LOG_ERROR("SNMP", "failed to register %s with the agent", module.name());
    return false;
}

// ---- handlers ------------------------------------------------------------------------------------

int table_snmp_handler(TableModule& module, netsnmp_node_handler* work, netsnmp_mib_handler* handler,
                       netsnmp_handler_registration* reginfo, netsnmp_agent_request_info* reqinfo,
                       netsnmp_request_info* requests) {
    OvraMutexGuard lock(getMutex(module.did()));
    setOpOwnerSnmp(module.did());
    int result = work(handler, reginfo, reqinfo, requests);
    clearOpOwnerSnmp(module.did());
    return result;
}

int table_snmp_in_handler(TableModule& module, netsnmp_agent_request_info* reqinfo,
                          netsnmp_request_info* requests) {
    DEBUGTRACE;
    if (snmp_get_do_debugging() != 0) {
        const std::string token = std::string(module.name()) + ":handler";
        DEBUGMSGTL((token.c_str(), "Processing request (%d)\n", reqinfo->mode));
    }
    if (reqinfo->mode == MODE_GET)
        snmp_serve_get(module, reqinfo, requests);
    else if (module.desc().writable)
        snmp_serve_set_telling(module, reqinfo, requests);
    return SNMP_ERR_NOERROR;
}

// ---- data points ---------------------------------------------------------------------------------

netsnmp_variable_list* table_snmp_first_data_point(const TableModule& module, void** loop_context,
                                                   void** data_context, netsnmp_variable_list* index) {
    *loop_context = get_table_head(module.did());
    return table_snmp_next_data_point(module, loop_context, data_context, index);
}

netsnmp_variable_list* table_snmp_next_data_point(const TableModule& module, void** loop_context,
                                                  void** data_context, netsnmp_variable_list* index) {
    void* row = *loop_context;
    if (row == nullptr)
        return nullptr;
    put_index(module.desc(), row, index);
    *data_context = row;
    *loop_context = row_getNext(module.did(), row);
    return index;
}
