#include "ov_app_gpon_rm_traffic.h"

#include "app_restore_line.h"

#include <string_view>

#include "app_named_profile.h"
#include "app_set_callback.h"
#include "app_text.h"
#include "sGemTable.h"

int gpon_rm_traffic_appid = 0;

namespace {

using Row = ov_sRmTrafficProfileTable_attr_t;
namespace column = sRmTrafficProfileTable_column;

constexpr int MAX_PROFILES = 128;
constexpr char DEFAULT_NAME[] = "default";

void log_exists(int id, const char* name) {
    OV_LOG_ERROR("MMG", "traffic profile was exist %d:%s", id, name);
}

void log_unknown(int id, const char* name) {
    OV_LOG_ERROR("MMG", "traffic profile did not exist %d:%s", id, name);
}

NamedProfileTable<Row>& profiles() {
    static NamedProfileTable<Row> table({
        .name = [](const Row& row) -> const char* { return row.sRmTrafficProfileName; },
        .id = &Row::sRmTrafficProfileId,
        .row_status = &Row::sRmTrafficProfileRowStatus,
        .id_column = 1,
        .name_column = column::sRmTrafficProfileName,
        .row_status_column = column::sRmTrafficProfileRowStatus,
        .exists = log_exists,
        .unknown = log_unknown,
        .add_failed = "mib add error for traffic profile ",
        .del_failed = "mib del error for traffic profile ",
    });
    return table;
}

bool may_go(const Row& row) {
    const std::string_view name = row.sRmTrafficProfileName;
    if (name == DEFAULT_NAME) {
        ov_refusal_because("the default profile stays");
        OV_LOG_ERROR("MMG", "trfprofile name is default");
        return false;
    }
    for (const ov_sGemTable_attr_t& gem : all_rows<ov_sGemTable_attr_t>())
        if (name == gem.sGemTableUpTrafficName || name == gem.sGemTableDownTrafficName) {
            ov_refusal_because("GEM port %u of gpon-onu%d/%d:%d has this profile",
                               static_cast<unsigned>(gem.gemID), gem.slotID, gem.portID, gem.onuId);
            OV_LOG_ERROR("MMG", "this traffic profile is using in onu table! tarffic profileid:%d",
                         static_cast<int>(row.sRmTrafficProfileId));
            return false;
        }
    return true;
}

bool may_come(const Row& row) {
    if (row.sRmTrafficProfileName[0] == '\0') {
        ov_refusal_because_of(column::sRmTrafficProfileName, "the name is empty");
        OV_LOG_ERROR("MMG", "traffic profile name is empty");
        return false;
    }
    if (const Row* other = profiles().other_of_same_name(row)) {
        ov_refusal_because_of(column::sRmTrafficProfileName, "traffic profile %u has the name \"%s\" already",
                              static_cast<unsigned>(other->sRmTrafficProfileId), row.sRmTrafficProfileName);
        OV_LOG_ERROR("MMG", "same traffic profile name exist before %d:%s",
                     static_cast<int>(other->sRmTrafficProfileId), row.sRmTrafficProfileName);
        return false;
    }
    return profiles().others_of(row) < MAX_PROFILES ||
           ov_refusal_because("there are %d traffic profiles already, the most there can be", MAX_PROFILES);
}

// The profile goes out whole; its record has no attributes.
using Record = ov_gpon_trfprofile_attr_t;
constexpr MapLine RM_TRAFFIC_LINES[] = {
    UNMASKED(sRmTrafficProfileId, id),   UNMASKED(sRmTrafficProfileName, name),
    UNMASKED(sRmTrafficProfileCIR, cir), UNMASKED(sRmTrafficProfileCBS, cbs),
    UNMASKED(sRmTrafficProfilePIR, pir), UNMASKED(sRmTrafficProfilePBS, pbs),
};

} // namespace

constinit const MessageMap<ov_sRmTrafficProfileTable_attr_t, ov_gpon_trfprofile_attr_t>
    rm_traffic_map(RM_TRAFFIC_LINES);
RESTORE(rm_traffic, SRMTRAFFICPROFILE, OV_HAL_MSG_GPON_RMONU_TRAFFIC_PROFILE, rm_traffic_map, CREATED)

void ov_app_gpon_rm_traffic_init() {
    gpon_rm_traffic_appid = AssignAppId();
    const CallbackRegistration callbacks{"app_rm_traffic", gpon_rm_traffic_appid,
                                         "app_rm_traffic register set call back error"};
    callbacks.add(SRMTRAFFICPROFILE, CALLBACK_SET, ov_rm_traffic_table_set_callback, mibDefFlags);
}

char ov_app_gpon_rm_traffic_getId(const char* name, mib_ulong* id) {
    return profiles().get_id(name, id);
}

int ov_app_gpon_rm_traffic_add(ov_sRmTrafficProfileTable_attr_t* attr, MIB_Flags_t* flag) {
    return profiles().add(attr, flag);
}

int ov_app_gpon_rm_traffic_del(ov_sRmTrafficProfileTable_attr_t* attr) {
    return profiles().del(attr);
}

int ov_app_gpon_rm_traffic_add_default() {
    Row row = {};
    set_text(row.sRmTrafficProfileName, DEFAULT_NAME);
    row.sRmTrafficProfileCIR = 2048;
    row.sRmTrafficProfileCBS = 34768;
    row.sRmTrafficProfilePIR = 4096;
    row.sRmTrafficProfilePBS = 69536;
    MIB_Flags_t columns = mibDefFlags;
    if (ov_app_gpon_rm_traffic_add(&row, &columns) == OV_GPON_RET_OK)
        return OV_GPON_RET_OK;
    OV_LOG_ERROR("MMG", "mib add default traffic profile error");
    return OV_GPON_RET_BAD_PARAM;
}

char ov_app_gpon_rm_traffic_check(ov_sRmTrafficProfileTable_attr_t* row, int action, MIB_Flags_t /*flag*/) {
    switch (action) {
    case OV_HAL_GPON_MSG_ACTION_CREATE:
        return may_come(*row) ? 1 : 0;
    case OV_HAL_GPON_MSG_ACTION_DELETE:
        return may_go(*row) ? 1 : 0;
    default:
        return 1;
    }
}

void srmtraffic_mib_data_convert_to_hal(ov_sRmTrafficProfileTable_attr_t* mib, ov_gpon_trfprofile_attr_t* hal,
                                        const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    rm_traffic_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

int ov_rm_traffic_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, ov_gpon_trfprofile_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_TRAFFIC_PROFILE,
        .map = &rm_traffic_map,
        .check = passes<ov_app_gpon_rm_traffic_check>,
        .failure = "set rm traffic to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}
