// A subagent that does nothing but answer: what the agent library and the protocol cost by themselves.
//
//   noop_subagent ROWS
//
// It pretends to have a table at .1.3.6.1.4.1.99999.2 with columns 2 to 25 and the row numbers of
// snmp_walk.py: shelf 1, slots, 16 ports, 128 ONUs, 4 objects each. Every value is the integer 7, nothing is
// stored, names are reckoned, and a SET of whatever is accepted.
#include <algorithm>
#include <cstdlib>
#include <iterator>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

namespace {

constexpr oid ENTRY[] = {1, 3, 6, 1, 4, 1, 99999, 2, 1};
constexpr size_t HEAD = std::size(ENTRY);
constexpr size_t FULL = HEAD + 6; // column and five numbers of the index
constexpr oid FIRST_COLUMN = 2;
constexpr oid LAST_COLUMN = 25;

oid row_count = 0;

oid row_of(const oid* index) {
    return (index[1] - 1) * 8192 + (index[2] - 1) * 512 + (index[3] - 1) * 4 + (index[4] - 1);
}

// Names the variable behind a request's; without a name and a value the agent goes on behind the table.
void move_on(netsnmp_request_info* request) {
    const netsnmp_variable_list& asked = *request->requestvb;
    oid column = asked.name_length > HEAD ? std::max(asked.name[HEAD], FIRST_COLUMN) : FIRST_COLUMN;
    oid row = asked.name_length < FULL ? 0 : row_of(asked.name + HEAD + 1) + 1;
    if (row >= row_count) {
        row = 0;
        ++column;
    }
    if (column > LAST_COLUMN)
        return;
    oid name[FULL];
    std::copy(std::begin(ENTRY), std::end(ENTRY), name);
    const oid rest[] = {column, 1, 1 + row / 8192, 1 + row / 512 % 16, 1 + row / 4 % 128, 1 + row % 4};
    std::copy(std::begin(rest), std::end(rest), name + HEAD);
    snmp_set_var_objid(request->requestvb, name, FULL);
    snmp_set_var_typed_integer(request->requestvb, ASN_INTEGER, 7);
}

int handle(netsnmp_mib_handler*, netsnmp_handler_registration*, netsnmp_agent_request_info* info,
           netsnmp_request_info* requests) {
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (info->mode == MODE_GET)
            snmp_set_var_typed_integer(request->requestvb, ASN_INTEGER, 7);
        else if (info->mode == MODE_GETNEXT)
            move_on(request);
    }
    return SNMP_ERR_NOERROR;
}

} // namespace

int main(int argc, char** argv) {
    row_count = argc > 1 ? strtoul(argv[1], nullptr, 10) : 1024;
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
    init_agent("noop_subagent");
    netsnmp_register_handler(
        netsnmp_create_handler_registration("noop", handle, ENTRY, HEAD - 1, HANDLER_CAN_RWRITE));
    init_snmp("noop_subagent");
    for (;;)
        agent_check_and_process(1);
}
