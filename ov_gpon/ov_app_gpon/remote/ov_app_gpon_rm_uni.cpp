#include "ov_app_gpon_rm_uni.h"

#include "ov_app_gpon_onutype.h"
#include "ov_refusal.h"

const ov_sOnuTypeProfileTable_attr_t* ov_app_gpon_rm_onutype(mib_ulong id, const char* name,
                                                             const char* no_type) {
    ov_sOnuTypeProfileTable_attr_t key = {};
    key.onuTypeProfileId = id;
    if (id == 0 && ov_app_gpon_onutype_getId(name, &key.onuTypeProfileId) != 1) {
        ov_refusal_because("no ONU type \"%s\"", name);
        OV_LOG_ERROR("MMG", "can't get onutype id base on name");
        return nullptr;
    }
    const ov_sOnuTypeProfileTable_attr_t* type = find_row(key);
    if (type == nullptr) {
        ov_refusal_because("no ONU type with the id %u", static_cast<unsigned>(key.onuTypeProfileId));
        OV_LOG_ERROR("MMG", "%s", no_type);
    }
    return type;
}

bool ov_app_gpon_rm_uni_fits(const UniKind& kind, const ov_sOnuTypeProfileTable_attr_t& type) {
    for (const UniKind::Number number : {kind.ports, kind.cards})
        if (number != nullptr && type.*number > UNI_NUMBER_MAX)
            return ov_refusal_because(
                "ONU type \"%s\" has %d ports or cards of a kind, and an ONU at most %d",
                type.onuTypeProfileName, type.*number, UNI_NUMBER_MAX);
    return true;
}
