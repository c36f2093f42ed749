#include "ov_app_gpon_srvprofile.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include "app_index.h"
#include "app_name_index.h"
#include "app_set_callback.h"
#include "sOnuTable.h"
#include "sPonTable.h"

int gpon_onu_srvprofile_appid = 0;

namespace {

using Row = ov_sOnuSrvProfileTable_attr_t;
namespace column = sOnuSrvProfileTable_column;
namespace limit = sOnuSrvProfileTable_limit;

Row profile_key(mib_ulong id) {
    Row key = {};
    key.onuSrvProfileId = id;
    return key;
}

const Row* find_profile(mib_ulong id) {
    return find_row(profile_key(id));
}

// Tells the cards that a profile goes. Not the number of a delete: cards depend on this one.
void send_removal(mib_ulong id) {
    constexpr auto REMOVAL = static_cast<ov_hal_gpon_msg_action_t>(MODE_DEL);
    big_uint32_at record = id;
    ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_ONU_SRV_PROFILE, REMOVAL, &record, 0, 0);
}

// Its id stands where ONU ids stand, in rows and in what cards are told.
bool has_place(const Row& profile) {
    return fits(profile.onuSrvProfileId, ov_gpon_max_srvpofile_num()) ||
           ov_refusal_because("a service profile has a number from 1 to %d", ov_gpon_max_srvpofile_num());
}

// Whether a port or an ONU has the profile; states which one.
bool refuse_while_used(mib_ulong id) {
    if (ov_gpon_onu_service_profile_inuse(id) == 0)
        return false;
    for (const ov_sOnuTable_attr_t& onu : all_rows<ov_sOnuTable_attr_t>())
        if (onu.sOnuTableSrvProfileId == id)
            ov_refusal_because("gpon-onu%d/%d:%d has the service profile", onu.slotID, onu.portID, onu.onuId);
    ov_refusal_because("a PON port gives the service profile to ONUs that it learns");
    return true;
}

} // namespace

void ov_app_gpon_service_pofile_init() {
    gpon_onu_srvprofile_appid = AssignAppId();
    const CallbackRegistration callbacks{"onu_srvprofile", gpon_onu_srvprofile_appid,
                                         "onu_srvprofile register set call back error"};
    callbacks.add(SONUSRVPROFILE, CALLBACK_SET, ov_gpon_onu_srvpofile_set_callback, mibDefFlags);
}

int ov_app_gpon_onu_srvprofile_add(ov_sOnuSrvProfileTable_attr_t* attr, MIB_Flags_t* flag) {
    if (!attr || !flag) {
        OV_LOG_ERROR("MMG", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    if (!mib_flag_is_set(*flag, column::sOnuTypeProfileName)) {
        OV_LOG_ERROR("MMG", "missing parameter");
        return OV_GPON_RET_BAD_PARAM;
    }
    mib_flag_set(*flag, 1);
    mib_flag_set(*flag, 2);
    mib_flag_set(*flag, column::sOnuSrvProfileRowStatus);
    attr->sOnuSrvProfileRowStatus = OVRA_CREATEANDGO;
    if (mib_access(MIB_SET_N, *attr, *flag))
        return OV_GPON_RET_OK;
    OV_LOG_ERROR("MMG", "mib add error for onu srvprofile table");
    return OV_GPON_RET_FAIL;
}

int ov_gpon_onu_service_profile_del(mib_ulong profileId) {
    if (refuse_while_used(profileId))
        return OV_GPON_RET_BUSY;
    Row row = profile_key(profileId);
    if (mib_access(MIB_DEL_N, row))
        return OV_GPON_RET_OK;
    OV_LOG_ERROR("MMG", "mib del error for multi srvprofile table");
    return OV_GPON_RET_FAIL;
}

int ov_gpon_onu_srv_profile_exist_check(ov_sOnuSrvProfileTable_attr_t* onuSrvProfileMib, int* existFlag) {
    if (!onuSrvProfileMib || !existFlag)
        return OV_GPON_RET_BAD_PARAM;
    const Row* stored = find_profile(onuSrvProfileMib->onuSrvProfileId);
    *existFlag = stored != nullptr ? 1 : 0;
    const bool same_type =
        !stored || std::strcmp(stored->sOnuTypeProfileName, onuSrvProfileMib->sOnuTypeProfileName) == 0;
    return same_type ? OV_GPON_RET_OK : OV_GPON_RET_EXISTED;
}

char ov_app_gpon_onu_srvprofile_check(mib_ulong onuSrvProfileId, char* onuTypeName) {
    const Row* stored = find_profile(onuSrvProfileId);
    if (!stored)
        return 0;
    if (onuTypeName)
        std::memcpy(onuTypeName, stored->sOnuTypeProfileName, sizeof stored->sOnuTypeProfileName);
    return 1;
}

char ov_app_gpon_onu_srvprofile_bindCount(mib_ulong onuSrvProfileId, int enable) {
    Row row = profile_key(onuSrvProfileId);
    if (const Row* stored = find_profile(onuSrvProfileId))
        row.sOnuSrvProfileBindCount = stored->sOnuSrvProfileBindCount + (enable == 1 ? 1 : -1);
    if (mib_access(MIB_SET_S, row, columns_of(column::sOnuSrvProfileBindCount)))
        return 1;
    OV_LOG_ERROR("MMG", "mib add error for onu srvprofile table");
    return 0;
}

char ov_app_gpon_onusrv_bind_onutype_check(const char* onuTypeProfile) {
    const std::string_view type = onuTypeProfile ? onuTypeProfile : "";
    for (const Row& profile : all_rows<Row>())
        if (type == profile.sOnuTypeProfileName)
            return 1;
    return 0;
}

char ov_gpon_onu_service_profile_inuse(mib_ulong profileId) {
    if (profileId == 0) // stands for "none" in both tables
        return 0;
    for (const ov_sPonTable_attr_t& port : all_rows<ov_sPonTable_attr_t>())
        if (static_cast<mib_ulong>(port.sPonTableSrvProfileID) == profileId)
            return 1;
    for (const ov_sOnuTable_attr_t& onu : all_rows<ov_sOnuTable_attr_t>())
        if (onu.sOnuTableSrvProfileId == profileId)
            return 1;
    return 0;
}

char ov_app_gpon_onusrvprofile_getId(const char* name, mib_ulong* id) {
    static NameIndex<Row> by_name([](const Row& row) -> const char* { return row.onuSrvProfileName; });
    const Row* stored = name ? by_name.find(name) : nullptr;
    if (!stored || !id)
        return 0;
    *id = stored->onuSrvProfileId;
    return 1;
}

int ov_app_gpon_onusrvprofile_setname(mib_ulong id, const char* name) {
    const std::string_view text = name ? name : "";
    if (!name || text.size() > limit::onuSrvProfileName) {
        ov_refusal_because("a name has at most %zu characters", size_t{limit::onuSrvProfileName});
        return OV_GPON_RET_BAD_PARAM;
    }
    Row row = profile_key(id);
    text.copy(row.onuSrvProfileName, limit::onuSrvProfileName);
    return mib_access(MIB_SET, row, columns_of(column::onuSrvProfileName)) ? OV_GPON_RET_OK
                                                                           : OV_GPON_RET_BAD_PARAM;
}

int ov_gpon_onu_srvpofile_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    Row& profile = *static_cast<Row*>(row);
    if (profile.onuSrvProfileName[0] == '\0')
        snprintf(profile.onuSrvProfileName, sizeof profile.onuSrvProfileName, "%d",
                 static_cast<int>(profile.onuSrvProfileId));
    const int mode = MibRowStatusGet(did, row);
    if (mode == MODE_CRE && !has_place(profile))
        return SET_REFUSED;
    if (mode != MODE_DEL)
        return SET_ACCEPTED;
    if (refuse_while_used(profile.onuSrvProfileId))
        return SET_REFUSED;
    send_removal(profile.onuSrvProfileId);
    return SET_ACCEPTED;
}
