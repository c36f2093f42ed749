#include "ov_app_gpon_onu_learnt.h"

#include <array>
#include <list>
#include <unordered_map>
#include <utility>

#include "app_rows.h"
#include "ov_gpon.h"
#include "ov_local_time.h"

namespace {

using Learnt = gpon_learnt_onu_t;
using Onu = ov_sOnuTable_attr_t;

std::string key_of(mib_long slot, mib_long port, const std::string& sn) {
    return std::to_string(slot) + "/" + std::to_string(port) + ":" + sn;
}

std::string key_of(const Learnt& learnt) {
    const auto place = port_key_of_ifindex<Onu>(learnt.onu);
    return key_of(place.slotID, place.portID, learnt.sn);
}

struct Memory {
    std::list<Learnt> in_order; // of their last reports
    std::unordered_map<std::string, std::list<Learnt>::iterator> by_key;

    Learnt* find(const std::string& key) {
        const auto found = by_key.find(key);
        return found != by_key.end() ? &*found->second : nullptr;
    }
    Learnt& renew(const std::string& key) {
        const auto found = by_key.find(key);
        if (found != by_key.end()) {
            in_order.splice(in_order.end(), in_order, found->second);
            return *found->second;
        }
        if (in_order.size() == OV_GPON_LEARNT_MAX) {
            by_key.erase(key_of(in_order.front()));
            in_order.pop_front();
        }
        by_key[key] = in_order.emplace(in_order.end());
        return in_order.back();
    }
};

Memory& memory() {
    static Memory& instance = *new Memory;
    return instance;
}

bool stands(const Learnt& learnt) {
    if (learnt.outcome == LearnOutcome::REFUSED)
        return false;
    const Onu* onu = find_row(onu_key_of_ifindex<Onu>(learnt.onu));
    return onu != nullptr && ov_gpon_onu_sn_is_same(onu->sOnuTableSn, learnt.sn.c_str());
}

} // namespace

std::string ov_app_gpon_learn_rule_text(LearnRule rule, int slot) {
    static constexpr std::array TEXTS = {"-", "model", "vendor", "sfu", "hgu", "default"};
    const std::string text = TEXTS.at(static_cast<size_t>(rule));
    return slot != 0 ? text + " " + std::to_string(slot) : text;
}

const char* ov_app_gpon_learn_outcome_text(LearnOutcome outcome) {
    static constexpr std::array TEXTS = {"no profile", "bound", "copied", "copy failed", "refused"};
    return TEXTS.at(static_cast<size_t>(outcome));
}

void ov_app_gpon_onu_learnt_note(gpon_learnt_onu_t learnt) {
    Learnt& known = memory().renew(key_of(learnt));
    const unsigned reports = known.reports + 1;
    if (learnt.outcome != LearnOutcome::REFUSED || !stands(known))
        known = std::move(learnt);
    known.reports = reports;
    known.at = get_local_time();
}

std::vector<gpon_learnt_onu_t> ov_app_gpon_onus_learnt(mib_long slot, mib_long port) {
    std::vector<gpon_learnt_onu_t> found;
    for (const Learnt& learnt : memory().in_order) {
        const auto place = port_key_of_ifindex<Onu>(learnt.onu);
        if ((slot == 0 || slot == place.slotID) && (port == 0 || port == place.portID))
            found.push_back(learnt);
    }
    return found;
}

const gpon_learnt_onu_t* ov_app_gpon_onu_learnt(const ov_sOnuTable_attr_t& onu) {
    const Learnt* learnt = memory().find(key_of(onu.slotID, onu.portID, onu.sOnuTableSn));
    return learnt != nullptr && learnt->onu == onu_ifindex_of(onu) && stands(*learnt) ? learnt : nullptr;
}
