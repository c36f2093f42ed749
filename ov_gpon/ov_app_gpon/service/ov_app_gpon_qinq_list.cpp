#include "ov_app_gpon_qinq_list.h"

#include <algorithm>
#include <map>
#include <new>

#include "ov_refusal.h"

QinqLink g_qinq_attr = {&g_qinq_attr, &g_qinq_attr};

namespace {

using Rule = ov_gpon_qinq_attr_t;
using Element = ov_app_gpon_qinq_attr_t;

// The elements of each interface, the oldest first. In the order of the indexes the ONUs of a port are
// neighbours.
std::map<ov_ifindex_t, std::vector<const Element*>>& interfaces() {
    static auto& all = *new std::map<ov_ifindex_t, std::vector<const Element*>>;
    return all;
}

// None for an interface without rules.
const std::vector<const Element*>& elements_of(ov_ifindex_t ifindex) {
    static const std::vector<const Element*> none;
    const auto found = interfaces().find(ifindex);
    return found == interfaces().end() ? none : found->second;
}

} // namespace

// ---- the list ---------------------------------------------------------------------------------------------

void list_add(QinqLink* entry, QinqLink* head) {
    entry->prev = head;
    entry->next = head->next;
    head->next->prev = entry;
    head->next = entry;
}

void list_del(QinqLink* entry) {
    entry->prev->next = entry->next;
    entry->next->prev = entry->prev;
}

bool list_empty(const QinqLink* head) {
    return head->next == head;
}

bool ov_app_gpon_qinq_link(const ov_gpon_qinq_attr_t& attr) {
    auto* element = new (std::nothrow) Element;
    if (element == nullptr)
        return false;
    element->attr = attr;
    list_add(element, &g_qinq_attr);
    interfaces()[attr.ifindex].push_back(element);
    return true;
}

void ov_app_gpon_qinq_unlink(const ov_app_gpon_qinq_attr_t* element) {
    const auto of = interfaces().find(element->attr.ifindex);
    std::erase(of->second, element);
    if (of->second.empty())
        interfaces().erase(of);
    auto* const taken = const_cast<Element*>(element);
    list_del(taken);
    delete taken;
}

const ov_app_gpon_qinq_attr_t* ov_app_gpon_qinq_find(const ov_gpon_qinq_attr_t& request, QinqMatch* match) {
    const auto& elements = elements_of(request.ifindex);
    const auto found = std::find_if(elements.rbegin(), elements.rend(),
                                    [&](const Element* element) { return match(element->attr, request); });
    return found == elements.rend() ? nullptr : *found;
}

std::vector<ov_gpon_qinq_attr_t> ov_app_gpon_qinq_rules_of(ov_ifindex_t ifindex) {
    std::vector<Rule> rules;
    for (const Element* element : elements_of(ifindex))
        rules.push_back(element->attr);
    return rules;
}

std::optional<ov_ifindex_t> ov_app_gpon_qinq_interface_from(ov_ifindex_t ifindex) {
    const auto found = interfaces().lower_bound(ifindex);
    return found == interfaces().end() ? std::nullopt : std::optional(found->first);
}

// ---- which rule is meant ----------------------------------------------------------------------------------

namespace {

using Field = decltype(Rule::opflag) Rule::*;

// What the bits of a rule compare.
struct Criterion {
    unsigned bit;
    Field field;
};
constexpr Criterion CRITERIA[] = {
    {OV_GPON_ONU_QINQ_OP_USERVLAN, &Rule::user_vlan_min},
    {OV_GPON_ONU_QINQ_OP_USERVLAN_RANGE, &Rule::user_vlan_min},
    {OV_GPON_ONU_QINQ_OP_USERVLAN_RANGE, &Rule::user_vlan_max},
    {OV_GPON_ONU_QINQ_OP_ETHTYPE, &Rule::ether_type},
    {OV_GPON_ONU_QINQ_OP_COS, &Rule::cos},
};

} // namespace

bool ov_app_gpon_qinq_match_byall(const ov_gpon_qinq_attr_t& entry, const ov_gpon_qinq_attr_t& request) {
    if (entry.ifindex != request.ifindex)
        return false;
    if (ov_gpon_qinq_has(request, OV_GPON_ONU_QINQ_OP_PORT_ALL))
        return true;
    return entry.opflag == request.opflag && std::ranges::all_of(CRITERIA, [&](const Criterion& criterion) {
               return !ov_gpon_qinq_has(request, criterion.bit) ||
                      entry.*criterion.field == request.*criterion.field;
           });
}

bool ov_app_gpon_qinq_match_byqinqId(const ov_gpon_qinq_attr_t& entry, const ov_gpon_qinq_attr_t& request) {
    return entry.ifindex == request.ifindex && entry.qinqId == request.qinqId;
}

// ---- conflicts --------------------------------------------------------------------------------------------

// Cards take the rules by these tests, as one-sided as they are: a criterion that a rule doesn't have counts
// with the 0 of its record. So a single VLAN in front of a new range is a range that ends at 0, and none of
// them overlaps it.
namespace {

// Whether a criterion separates a new rule from one that is there.
using Separates = bool(const Rule& entry, const Rule& added);

bool single_vlans_separate(const Rule& entry, const Rule& added) {
    if (entry.user_vlan_min == added.user_vlan_min)
        return false;
    return added.user_vlan_max == 0 || entry.user_vlan_min < added.user_vlan_min ||
           entry.user_vlan_min > added.user_vlan_max;
}

bool vlan_ranges_separate(const Rule& entry, const Rule& added) {
    if (added.user_vlan_min == 0)
        return true;
    const uint16_t last = added.user_vlan_max == 0 ? added.user_vlan_min : added.user_vlan_max;
    return added.user_vlan_min > entry.user_vlan_max || last < entry.user_vlan_min;
}

bool ether_types_separate(const Rule& entry, const Rule& added) {
    return entry.ether_type != added.ether_type;
}

bool cos_separate(const Rule& entry, const Rule& added) {
    return entry.cos != added.cos;
}

struct Separation {
    unsigned bit;
    Separates* separates;
};
constexpr Separation SEPARATIONS[] = {
    {OV_GPON_ONU_QINQ_OP_USERVLAN, single_vlans_separate},
    {OV_GPON_ONU_QINQ_OP_USERVLAN_RANGE, vlan_ranges_separate},
    {OV_GPON_ONU_QINQ_OP_ETHTYPE, ether_types_separate},
    {OV_GPON_ONU_QINQ_OP_COS, cos_separate},
};

} // namespace

bool ov_app_gpon_qinq_attr_conflict_matchfunc(const ov_gpon_qinq_attr_t& entry,
                                              const ov_gpon_qinq_attr_t& attr) {
    if (entry.ifindex != attr.ifindex)
        return false;
    if (ov_gpon_qinq_has(attr, OV_GPON_ONU_QINQ_OP_PORT_TSP))
        return true;
    return std::ranges::none_of(SEPARATIONS, [&](const Separation& separation) {
        const bool counts = ov_gpon_qinq_has(entry, separation.bit) || ov_gpon_qinq_has(attr, separation.bit);
        return counts && separation.separates(entry, attr);
    });
}

// ---- ports and their ONUs ---------------------------------------------------------------------------------

namespace {

// An interface of the same PON port.
ov_ifindex_t on_same_port(ov_ifindex_t ifindex, uint16_t kind, uint16_t onu) {
    return ov_ifindex_gen_by_phyinfo(kind, static_cast<uint8_t>(ov_ifindex_get_shelf_id(ifindex)),
                                     static_cast<uint8_t>(ov_ifindex_get_slot_id(ifindex)),
                                     static_cast<uint8_t>(ov_ifindex_get_card_id(ifindex)),
                                     static_cast<uint16_t>(ov_ifindex_get_port_id(ifindex)), onu);
}

bool an_onu_has_rules(ov_ifindex_t port) {
    const auto first = ov_app_gpon_qinq_interface_from(on_same_port(port, PORT_TYPE_GONU, 1));
    return first && ov_ifindex_get_port_type(*first) == PORT_TYPE_GONU &&
           on_same_port(*first, PORT_TYPE_GPON, 0) == port;
}

// The text lives until the next one.
const char* name_of(ov_ifindex_t ifindex) {
    const char* const name = ov_get_ifname_by_ifindex(ifindex);
    return name != nullptr ? name : "it";
}

// Rules on the other side: on the port of an ONU, on an ONU of a port.
bool admits_others(const Rule& attr) {
    switch (ov_ifindex_get_port_type(attr.ifindex)) {
    case PORT_TYPE_GONU: {
        const ov_ifindex_t port = on_same_port(attr.ifindex, PORT_TYPE_GPON, 0);
        return elements_of(port).empty() ||
               ov_refusal_because("%s has QinQ rules of its own, so its ONUs can't have any", name_of(port));
    }
    case PORT_TYPE_GPON:
        return !an_onu_has_rules(attr.ifindex) ||
               ov_refusal_because("ONUs of %s have QinQ rules, so the port can't have any",
                                  name_of(attr.ifindex));
    default:
        return true;
    }
}

} // namespace

int ov_app_gpon_qinq_check(const ov_gpon_qinq_attr_t& attr) {
    if (list_empty(&g_qinq_attr))
        return OV_GPON_RET_OK;
    if (!admits_others(attr))
        return OV_GPON_RET_FAIL;
    const Element* const in_the_way = ov_app_gpon_qinq_find(attr, ov_app_gpon_qinq_attr_conflict_matchfunc);
    if (in_the_way == nullptr)
        return OV_GPON_RET_OK;
    ov_refusal_because("it meets traffic of rule %d of %s", static_cast<int>(in_the_way->attr.qinqId),
                       name_of(attr.ifindex));
    return OV_GPON_RET_FAIL;
}
