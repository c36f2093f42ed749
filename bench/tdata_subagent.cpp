// A minimal AgentX subagent to measure against: a table of the shape of the T-CONT table (five index columns;
// integer, text, integer, text, row status; and integers in columns up to 19) in the agent library's own
// sorted table, without any logic.
//
//   tdata_subagent ROWS
//
// The table is at .1.3.6.1.4.1.99999.1; rows are numbered like those that snmp_walk.py gives the daemon.
#include <cstdlib>
#include <cstring>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

namespace {

struct Row {
    int32_t alloc, profile, status;
    char name[34], profile_name[66];
};

void answer(netsnmp_request_info* request) {
    const auto* row = static_cast<const Row*>(netsnmp_tdata_extract_entry(request));
    const netsnmp_table_request_info* info = netsnmp_extract_table_info(request);
    if (row == nullptr || info == nullptr)
        return;
    netsnmp_variable_list* value = request->requestvb;
    if (info->colnum == 3 || info->colnum == 5) {
        const char* text = info->colnum == 3 ? row->name : row->profile_name;
        snmp_set_var_typed_value(value, ASN_OCTET_STR, text, strlen(text));
        return;
    }
    snmp_set_var_typed_integer(value, ASN_INTEGER,
                               info->colnum == 2   ? row->alloc
                               : info->colnum == 6 ? row->status
                                                   : row->profile);
}

int handle(netsnmp_mib_handler*, netsnmp_handler_registration*, netsnmp_agent_request_info* info,
           netsnmp_request_info* requests) {
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (info->mode == MODE_GET)
            answer(request);
        else if (info->mode == MODE_SET_ACTION)
            static_cast<Row*>(netsnmp_tdata_extract_entry(request))->profile =
                static_cast<int32_t>(*request->requestvb->val.integer);
    }
    return SNMP_ERR_NOERROR;
}

void fill(netsnmp_tdata* table, int rows) {
    for (int i = 0; i < rows; ++i) {
        netsnmp_tdata_row* entry = netsnmp_tdata_create_row();
        const long index[] = {1, 1 + i / 8192, 1 + i / 512 % 16, 1 + i / 4 % 128, 1 + i % 4};
        for (int k = 0; k < 5; ++k)
            netsnmp_tdata_row_add_index(entry, k < 4 ? ASN_INTEGER : ASN_UNSIGNED, &index[k], sizeof(long));
        auto* row = static_cast<Row*>(calloc(1, sizeof(Row)));
        *row = {1024 + i, 7, 1, "tc", "default"};
        entry->data = row;
        netsnmp_tdata_add_row(table, entry);
    }
}

} // namespace

int main(int argc, char** argv) {
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
    init_agent("tdata_subagent");
    const oid root[] = {1, 3, 6, 1, 4, 1, 99999, 1};
    netsnmp_tdata* table = netsnmp_tdata_create_table("bench", 0);
    fill(table, argc > 1 ? atoi(argv[1]) : 1024);
    auto* info = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
    netsnmp_table_helper_add_indexes(info, ASN_INTEGER, ASN_INTEGER, ASN_INTEGER, ASN_INTEGER, ASN_UNSIGNED,
                                     0);
    info->min_column = 2;
    info->max_column = 19;
    netsnmp_tdata_register(
        netsnmp_create_handler_registration("bench", handle, root, OID_LENGTH(root), HANDLER_CAN_RWRITE),
        table, info);
    init_snmp("tdata_subagent");
    for (;;)
        agent_check_and_process(1);
}
