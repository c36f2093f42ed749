// A manager that measures: walks, GETs and SETs through a master agent.
//
//   snmp_load walk OID N/OF LIMIT   GETBULK walk of N variables in parallel, the first at OID, the others in
//                                   turn at the OF columns from there on, to the end of the table or until
//                                   LIMIT variables have come
//   snmp_load get OID COUNT         COUNT times a GET of one variable
//   snmp_load set OID COUNT         COUNT times a SET of one Integer32
//   snmp_load create OID COUNT      createAndGo of COUNT rows: OID is the name of their row status without
//                                   the last number of the index
//   snmp_load destroy OID COUNT     removes them
//
// Prints the number of variables, the seconds they took, and its own processor time in seconds. The master is
// at 127.0.0.1, community "private".
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
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

struct Walk {
    size_t columns; // variables of a request
    size_t of;      // different columns
    size_t limit;
};

// Whether a name lies in the column of the table that the walk's first column is of.
bool is_in_column(const netsnmp_variable_list& v, const Oid& first, size_t column) {
    return v.name_length > first.size() &&
           std::memcmp(v.name, first.data(), (first.size() - 1) * sizeof(oid)) == 0 &&
           v.name[first.size() - 1] == first.back() + column;
}

netsnmp_pdu* bulk_request(const std::vector<Oid>& at) {
    netsnmp_pdu* request = snmp_pdu_create(SNMP_MSG_GETBULK);
    request->non_repeaters = 0;
    request->max_repetitions = static_cast<long>(at.size() > 4 ? 48 / at.size() + 1 : 50);
    for (const Oid& name : at)
        snmp_add_null_var(request, name.data(), name.size());
    return request;
}

size_t walk(netsnmp_session* session, const Oid& first, const Walk& what) {
    std::vector<Oid> at;
    for (size_t i = 0; i < what.columns; ++i) {
        at.push_back(first);
        at.back().back() += i % what.of;
    }
    size_t count = 0;
    for (bool inside = true; inside && count < what.limit;) {
        netsnmp_pdu* answer = exchange(session, bulk_request(at));
        size_t place = 0;
        inside = false;
        for (const netsnmp_variable_list* v = answer->variables; v != nullptr; v = v->next_variable) {
            inside = is_in_column(*v, first, place % what.of);
            if (!inside)
                break;
            ++count;
            at[place].assign(v->name, v->name + v->name_length);
            place = (place + 1) % what.columns;
        }
        snmp_free_pdu(answer);
    }
    return count;
}

void set_integer(netsnmp_session* session, const Oid& name, long value) {
    netsnmp_pdu* request = snmp_pdu_create(SNMP_MSG_SET);
    snmp_pdu_add_variable(request, name.data(), name.size(), ASN_INTEGER, &value, sizeof(value));
    snmp_free_pdu(exchange(session, request));
}

void set_rows(netsnmp_session* session, Oid name, size_t count, long row_status) {
    name.push_back(0);
    for (size_t i = 0; i < count; ++i) {
        ++name.back();
        set_integer(session, name, row_status);
    }
}

void get(netsnmp_session* session, const Oid& name) {
    netsnmp_pdu* request = snmp_pdu_create(SNMP_MSG_GET);
    snmp_add_null_var(request, name.data(), name.size());
    snmp_free_pdu(exchange(session, request));
}

size_t run(netsnmp_session* session, const std::string& what, const Oid& name, char** words) {
    char* rest = nullptr;
    const size_t number = strtoul(words[0], &rest, 10);
    if (what == "walk" && *rest == '/' && words[1] != nullptr)
        return walk(session, name, {number, strtoul(rest + 1, nullptr, 10), strtoul(words[1], nullptr, 10)});
    if (what == "create" || what == "destroy") {
        set_rows(session, name, number, what == "create" ? 4 : 6);
    } else if (what == "set" || what == "get") {
        for (size_t i = 0; i < number; ++i)
            what == "set" ? set_integer(session, name, static_cast<long>(i)) : get(session, name);
    } else {
        exit(2);
    }
    return number;
}

double seconds_of(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4)
        return 2;
    init_snmp("snmp_load");
    netsnmp_session* session = open_session();
    const Oid name = parse(argv[2]);
    const double start = seconds_of(CLOCK_MONOTONIC);
    const double start_cpu = seconds_of(CLOCK_PROCESS_CPUTIME_ID);
    const size_t variables = run(session, argv[1], name, argv + 3);
    printf("%zu %.6f %.6f\n", variables, seconds_of(CLOCK_MONOTONIC) - start,
           seconds_of(CLOCK_PROCESS_CPUTIME_ID) - start_cpu);
    return 0;
}
