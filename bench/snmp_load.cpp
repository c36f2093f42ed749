// A manager that measures: walks, GETs and SETs through a master agent.
//
//   snmp_load walk OID COLUMNS   GETBULK walk of COLUMNS neighbouring columns in parallel, the first at OID
//   snmp_load get OID COUNT      COUNT times a GET of one variable
//   snmp_load set OID COUNT      COUNT times a SET of one Integer32
//
// Prints the number of variables and the seconds they took. The master is at 127.0.0.1, community "private".
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

namespace {

using Oid = std::vector<oid>;

Oid parse(const char* text) {
    Oid name(MAX_OID_LEN);
    size_t length = name.size();
    if (read_objid(text, name.data(), &length) == 0)
        exit(2);
    name.resize(length);
    return name;
}

netsnmp_session* open_session() {
    netsnmp_session session;
    snmp_sess_init(&session);
    session.version = SNMP_VERSION_2c;
    char peer[] = "127.0.0.1";
    session.peername = peer;
    unsigned char community[] = "private";
    session.community = community;
    session.community_len = sizeof(community) - 1;
    session.timeout = 5000000;
    netsnmp_session* opened = snmp_open(&session);
    if (opened == nullptr)
        exit(2);
    return opened;
}

netsnmp_pdu* exchange(netsnmp_session* session, netsnmp_pdu* request) {
    netsnmp_pdu* answer = nullptr;
    if (snmp_synch_response(session, request, &answer) != STAT_SUCCESS || answer->errstat != 0) {
        fprintf(stderr, "no answer, or error %ld\n", answer != nullptr ? answer->errstat : -1L);
        exit(1);
    }
    return answer;
}

size_t walk(netsnmp_session* session, const Oid& base, size_t columns) {
    std::vector<Oid> at;
    for (size_t i = 0; i < columns; ++i) {
        at.push_back(base);
        at.back().back() += i;
    }
    size_t count = 0;
    for (bool inside = true; inside;) {
        netsnmp_pdu* request = snmp_pdu_create(SNMP_MSG_GETBULK);
        request->non_repeaters = 0;
        request->max_repetitions = static_cast<long>(columns > 4 ? 48 / columns + 1 : 50);
        for (const Oid& name : at)
            snmp_add_null_var(request, name.data(), name.size());
        netsnmp_pdu* answer = exchange(session, request);
        size_t column = 0;
        inside = false;
        for (const netsnmp_variable_list* v = answer->variables; v != nullptr; v = v->next_variable) {
            inside = v->name_length > base.size() &&
                     std::memcmp(v->name, base.data(), (base.size() - 1) * sizeof(oid)) == 0 &&
                     v->name[base.size() - 1] == base.back() + column;
            if (!inside)
                break;
            ++count;
            at[column].assign(v->name, v->name + v->name_length);
            column = (column + 1) % columns;
        }
        snmp_free_pdu(answer);
    }
    return count;
}

size_t repeat(netsnmp_session* session, int command, const Oid& name, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        netsnmp_pdu* request = snmp_pdu_create(command);
        const long value = static_cast<long>(i);
        if (command == SNMP_MSG_SET)
            snmp_pdu_add_variable(request, name.data(), name.size(), ASN_INTEGER, &value, sizeof(value));
        else
            snmp_add_null_var(request, name.data(), name.size());
        snmp_free_pdu(exchange(session, request));
    }
    return count;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    init_snmp("snmp_load");
    netsnmp_session* session = open_session();
    const Oid name = parse(argv[2]);
    const size_t number = strtoul(argv[3], nullptr, 10);
    const std::string what = argv[1];
    const auto start = std::chrono::steady_clock::now();
    size_t variables = 0;
    if (what == "walk")
        variables = walk(session, name, number);
    else
        variables = repeat(session, what == "set" ? SNMP_MSG_SET : SNMP_MSG_GET, name, number);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    printf("%zu %.6f\n", variables, taken.count());
    return 0;
}
