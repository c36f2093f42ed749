#include <vector>

#include "home.h"
#include "onu.h"
#include "told.h"

namespace {

using Settings = ov_gpon_rmuni_poe_attr_t;

// What devices of a class get at most, by class (RFC 3621 counts them from 1).
constexpr uint32_t CLASS_WATTS[] = {4, 7, 15, 30, POE_BUDGET};

uint8_t class_of(uint32_t watts) {
    uint8_t place = 0;
    while (place + 1u < std::size(CLASS_WATTS) && watts > CLASS_WATTS[place])
        ++place;
    return static_cast<uint8_t>(place + 1);
}

PoePort port_of(const Onu& onu, const UniPosition& uni) {
    const auto it = onu.home.poe.find(uni);
    return it == onu.home.poe.end() ? PoePort() : it->second;
}

struct Claim {
    UniPosition uni;
    Settings settings;
    PoePort port;
    // critical (1) before low (3); one without a priority comes last
    uint32_t rank() const { return settings.powPri ? settings.powPri : 4u; }
};

std::vector<Claim> claims_of(const Onu& onu, const CardObjects& objects) {
    std::vector<Claim> claims;
    for (const UniPosition& uni : unis_of(ports_of(onu, objects).value_or(UniPorts())))
        if (uni.type == OV_GPON_RMUNI_TYPE_ETH)
            claims.push_back({uni, poe_settings(onu, objects, uni), port_of(onu, uni)});
    std::ranges::stable_sort(claims, {}, &Claim::rank);
    return claims;
}

// What a port gives; takes it from what is left.
PoePower grant(const Claim& claim, uint32_t& left) {
    if (claim.settings.poeAdminState == 0)
        return {};
    if (claim.port.fault != PoeFault::NONE)
        return {PoeDetection::FAULT};
    const uint32_t watts = claim.port.watts;
    const uint8_t device_class = class_of(watts);
    const uint32_t requested = claim.settings.pseLldpReqPow;
    const uint32_t allocated = requested ? requested : CLASS_WATTS[device_class - 1];
    if (watts == 0 || watts > allocated || watts > left)
        return {PoeDetection::SEARCHING};
    left -= watts;
    return {PoeDetection::DELIVERING, device_class, watts, allocated};
}

} // namespace

const char* poe_detection_name(PoeDetection detection) {
    static constexpr const char* NAMES[] = {"disabled", "searching", "delivering", "fault"};
    return NAMES[static_cast<size_t>(detection) - 1];
}

Settings poe_settings(const Onu& onu, const CardObjects& objects, const UniPosition& uni) {
    for (const auto& settings : told_records<Settings>(objects, OV_HAL_MSG_GPON_RM_UNI_POE, onu.index))
        if (settings.uniPos.cardId == uni.card && settings.uniPos.uniType == uni.type &&
            settings.uniPos.uniId == uni.port)
            return settings;
    return {};
}

std::map<UniPosition, PoePower> poe_powers(const Onu& onu, const CardObjects& objects) {
    std::map<UniPosition, PoePower> powers;
    const bool is_up = onu.state == OnuState::OPERATIONAL;
    uint32_t left = POE_BUDGET;
    for (const Claim& claim : claims_of(onu, objects))
        powers[claim.uni] = is_up ? grant(claim, left) : PoePower();
    return powers;
}

PoePower poe_total(const Onu& onu, const CardObjects& objects) {
    PoePower total;
    for (const auto& [uni, power] : poe_powers(onu, objects)) {
        total.consumed += power.consumed;
        total.allocated += power.allocated;
    }
    return total;
}

void attach_device(Onu& onu, const CardObjects& objects, const UniPosition& uni, uint32_t watts) {
    PoePort& port = onu.home.poe[uni];
    port.watts = watts;
    port.fault = PoeFault::NONE;
    port.denied += poe_powers(onu, objects)[uni].detection == PoeDetection::SEARCHING;
}

void detach_device(Onu& onu, const CardObjects& objects, const UniPosition& uni) {
    const bool was_fed = poe_powers(onu, objects)[uni].detection == PoeDetection::DELIVERING;
    PoePort& port = onu.home.poe[uni];
    port.watts = 0;
    port.fault = PoeFault::NONE;
    port.absent += was_fed;
}

void make_poe_fault(Onu& onu, const UniPosition& uni, PoeFault fault) {
    PoePort& port = onu.home.poe[uni];
    port.fault = fault;
    port.overloads += fault == PoeFault::OVERLOAD;
    port.shorts += fault == PoeFault::SHORT;
}
