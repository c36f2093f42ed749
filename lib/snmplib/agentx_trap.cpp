#include <algorithm>
#include <iterator>
#include <memory>
#include <span>
#include <vector>

#include "agentx.h"
#include "agentx_link.h"

namespace {

const oid snmptrap_oid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0}; // snmpTrapOID.0 (RFC 3418)

struct FreeVarbinds {
    void operator()(netsnmp_variable_list* list) const { snmp_free_varbind(list); }
};
using Varbinds = std::unique_ptr<netsnmp_variable_list, FreeVarbinds>;
using Name = std::vector<oid>;

int update_events(struct thread* /*thread*/) {
    agentx_snmp_update();
    return 0;
}

// What the master doesn't take at once goes when it does. Notifications are sent from within the library's
// work, too: its events are left alone until that is over.
void send(const Varbinds& list) {
    send_v2trap(list.get());
    if (agentx_link_wants_to_write() && agentx_loop() != nullptr)
        kavo_add_event(agentx_loop(), update_events, nullptr, 0, nullptr);
}

int send_handed_over(struct thread* thread) {
    send(Varbinds(static_cast<netsnmp_variable_list*>(THREAD_ARG(thread))));
    return 0;
}

void append(Name& name, std::span<const oid> arcs) {
    name.insert(name.end(), arcs.begin(), arcs.end());
}

bool is_named(const struct variable& candidate, std::span<const oid> name) {
    return oid_compare(candidate.name, candidate.namelen, name.data(), static_cast<int>(name.size())) == 0;
}

// Adds the object if one of the variables has its name and a value for the instance.
void add_object(netsnmp_variable_list** list, std::span<struct variable> variables,
                std::span<const oid> prefix, std::span<const oid> instance, const trap_object& object) {
    const bool with_instance = object.namelen >= 0;
    const auto arcs = std::min<size_t>(static_cast<size_t>(std::abs(object.namelen)), std::size(object.name));
    const std::span<const oid> own(object.name, arcs);
    const auto found = std::find_if(variables.begin(), variables.end(),
                                    [own](const struct variable& v) { return is_named(v, own); });
    Name name(prefix.begin(), prefix.end());
    append(name, own);
    if (found == variables.end() || name.size() + instance.size() > MAX_OID_LEN)
        return;

    struct variable column = *found; // the lookup function wants the object's full name
    oid_copy(column.name, name.data(), name.size());
    column.namelen = static_cast<u_char>(name.size());
    if (with_instance)
        append(name, instance);
    size_t length = name.size();
    name.resize(MAX_OID_LEN);
    size_t value_length = 0;
    WriteMethod* write_method = nullptr;
    const u_char* value = column.findVar(&column, name.data(), &length, 1, &value_length, &write_method);
    if (value != nullptr)
        snmp_varlist_add_variable(list, name.data(), length, column.type, value, value_length);
}

} // namespace

int smux_trap(struct variable* vp, size_t vp_len, const oid* ename, size_t enamelen, const oid* name,
              size_t namelen, const oid* iname, size_t inamelen, const struct trap_object* trapobj,
              size_t trapobjlen, uint8_t sptrap) {
    if (agentx_is_enabled() == 0)
        return 0;
    Name identity(ename, ename + enamelen);
    identity.push_back(sptrap);

    netsnmp_variable_list* list = nullptr;
    snmp_varlist_add_variable(&list, snmptrap_oid, std::size(snmptrap_oid), ASN_OBJECT_ID, identity.data(),
                              identity.size() * sizeof(oid));
    for (const trap_object& object : std::span(trapobj, trapobjlen))
        add_object(&list, {vp, vp_len}, {name, namelen}, {iname, inamelen}, object);
    agentx_send_notification(list);
    agentx_snmp_update();
    return 1;
}

void agentx_send_notification(netsnmp_variable_list* variables) {
    Varbinds list(variables);
    if (agentx_is_on_loop())
        send(list);
    else
        kavo_add_event(agentx_loop(), send_handed_over, list.release(), 0, nullptr);
}
