#include "ov_app_gpon_owner.h"

#include "ov_product_log.h"
#include "ov_refusal.h"

namespace {

ov_sOnuSrvProfileTable_attr_t profile_key(mib_long profile_id) {
    ov_sOnuSrvProfileTable_attr_t key = {};
    key.onuSrvProfileId = static_cast<mib_ulong>(profile_id);
    return key;
}

template <typename Owner>
const Owner* owner_of(const Owner& key, const OwnerRules& rules) {
    return rules.waiting_counts ? find_stored_row(key) : find_row(key);
}

void log_bound(mib_long profile_id, mib_long times, bool blank_before_bind) {
    if (blank_before_bind)
        OV_LOG_ERROR("MMG", "multi-srvprofile id %d bind %d times", profile_id, times);
    else
        OV_LOG_ERROR("MMG", "multi-srvprofile id %dbind %d times", profile_id, times);
}

bool profile_admits(mib_long profile_id, const OwnerRules& rules) {
    const auto* profile = owner_of(profile_key(profile_id), rules);
    if (profile == nullptr) {
        ov_refusal_because("no service profile %d", profile_id);
        OV_LOG_ERROR("MMG", "multi-srvprofile id %d is not exist", profile_id);
        return false;
    }
    if (rules.profile_is_free && profile->sOnuSrvProfileBindCount > 0) {
        ov_refusal_because("%d ONUs have service profile %d, which can't change under them",
                           profile->sOnuSrvProfileBindCount, profile_id);
        log_bound(profile_id, profile->sOnuSrvProfileBindCount, rules.blank_before_bind);
        return false;
    }
    return true;
}

bool onu_admits(const ov_sOnuTable_attr_t& owner, const OwnerRules& rules) {
    if (!rules.onu_exists)
        return true;
    const ov_sOnuTable_attr_t* onu = owner_of(owner, rules);
    if (onu == nullptr) {
        ov_refusal_because("no ONU gpon-onu%d/%d:%d", owner.slotID, owner.portID, owner.onuId);
        OV_LOG_ERROR("MMG", "onu id %d is not exist", owner.onuId);
        return false;
    }
    if (rules.onu_sets_itself && onu->sOnuTableConfigMode == SONUTABLECONFIGMODE_TEMPLET) {
        ov_refusal_because("gpon-onu%d/%d:%d takes its settings from service profile %d", owner.slotID,
                           owner.portID, owner.onuId, static_cast<int>(onu->sOnuTableSrvProfileId));
        OV_LOG_ERROR("MMG", "onu id %d is configured by templet", owner.onuId);
        return false;
    }
    return true;
}

} // namespace

bool ov_app_gpon_owner_check(const ov_sOnuTable_attr_t& owner, const OwnerRules& rules) {
    return is_template_row(owner) ? profile_admits(owner.onuId, rules) : onu_admits(owner, rules);
}

const ov_sOnuSrvProfileTable_attr_t* ov_app_gpon_srvprofile_of(mib_long profile_id) {
    return find_row(profile_key(profile_id));
}

ov_sOnuTable_attr_t ov_app_gpon_template_owner(const ov_sOnuSrvProfileTable_attr_t& profile) {
    return template_key<ov_sOnuTable_attr_t>(profile.onuSrvProfileId);
}
