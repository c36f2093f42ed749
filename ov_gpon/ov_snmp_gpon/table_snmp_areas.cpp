#include "table_snmp_areas.h"

#include <algorithm>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/agent_callbacks.h>

#include "agentx_query.h"
#include "table_snmp_request.h"

namespace {

bool is_stale = true;

int note_change(int /*major*/, int /*minor*/, void* /*registered*/, void* /*own*/) {
    is_stale = true;
    return 0;
}

// The library says of each registration that it comes or goes.
bool watch_registrations() {
    for (const int event : {SNMPD_CALLBACK_REGISTER_OID, SNMPD_CALLBACK_UNREGISTER_OID})
        if (snmp_register_callback(SNMP_CALLBACK_APPLICATION, event, note_change, nullptr) != SNMPERR_SUCCESS)
            return false;
    return true;
}

std::vector<uint32_t> arcs_of(const oid* arcs, size_t size) {
    std::vector<uint32_t> made(size);
    std::transform(arcs, arcs + size, made.begin(), [](oid arc) { return static_cast<uint32_t>(arc); });
    return made;
}

bool is_empty(const netsnmp_subtree& subtree) {
    const netsnmp_handler_registration* registered = subtree.reginfo;
    return registered == nullptr ||
           (registered->handler != nullptr && registered->handler->access_method == netsnmp_null_handler);
}

// The module whose whole table this is, null for none.
TableModule* module_of(const netsnmp_subtree& subtree, const std::vector<uint32_t>& start) {
    for (TableModule* module : table_module_list()) {
        const auto own = module->table_oid();
        if (subtree.reginfo == table_cntl[module->desc().registry_index].reg &&
            std::equal(own.begin(), own.end(), start.begin(), start.end()))
            return module;
    }
    return nullptr;
}

SnmpArea area_of(const netsnmp_subtree& subtree) {
    SnmpArea area{.start = arcs_of(subtree.start_a, subtree.start_len),
                  .end = arcs_of(subtree.end_a, subtree.end_len),
                  .kind = SnmpArea::Kind::EMPTY,
                  .module = nullptr};
    if (is_empty(subtree))
        return area;
    area.module = module_of(subtree, area.start);
    area.kind = area.module != nullptr ? SnmpArea::Kind::TABLE : SnmpArea::Kind::FOREIGN;
    return area;
}

} // namespace

std::span<const SnmpArea> snmp_areas() {
    static const bool is_watched = watch_registrations();
    static auto& areas = *new std::vector<SnmpArea>;
    if (!is_stale && is_watched)
        return areas;
    areas.clear();
    for (const netsnmp_subtree* at = netsnmp_subtree_find_first(""); at != nullptr; at = at->next)
        areas.push_back(area_of(*at));
    is_stale = false;
    return areas;
}

size_t snmp_area_from(std::span<const SnmpArea> areas, AgentxArcs name, size_t likely) {
    if (likely < areas.size() && agentx_compare(name, areas[likely].start) >= 0 &&
        agentx_compare(name, areas[likely].end) < 0)
        return likely;
    const auto behind =
        std::upper_bound(areas.begin(), areas.end(), name, [](AgentxArcs wanted, const SnmpArea& area) {
            return agentx_compare(wanted, area.start) < 0;
        });
    const auto before = behind == areas.begin() ? behind : behind - 1;
    const bool is_in_it = before != areas.end() && agentx_compare(name, before->end) < 0;
    return static_cast<size_t>((is_in_it ? before : behind) - areas.begin());
}
