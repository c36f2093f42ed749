#include "ov_app_gpon_onutype.h"

#include "app_restore_line.h"

#include <array>
#include <cstring>
#include <span>
#include <string_view>

#include "app_named_profile.h"
#include "app_set_callback.h"
#include "app_text.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_product.h"
#include "sOnuTable.h"

int gpon_onutype_appid = 0;

namespace {

using Row = ov_sOnuTypeProfileTable_attr_t;
namespace column = sOnuTypeProfileTable_column;

constexpr int MAX_PROFILES = 256;
constexpr int MAX_PORTS_PER_ONU = 27;

void log_same_name(int id, const char* name) {
    OV_LOG_ERROR("MMG", "same onutype name exist before %d:%s", id, name);
}

void log_unknown(int id, const char* name) {
    OV_LOG_ERROR("MMG", "the onutype profile name is not exist before %d:%s", id, name);
}

int free_of_service_profiles(const Row& row) {
    if (ov_app_gpon_onusrv_bind_onutype_check(row.onuTypeProfileName) == 0)
        return OV_GPON_RET_OK;
    ov_refusal_because("a service profile is of ONU type \"%s\"", row.onuTypeProfileName);
    OV_LOG_ERROR("MMG", "onu srvprofile bind the onu type");
    return OV_GPON_RET_EXISTED;
}

NamedProfileTable<Row>& profiles() {
    static NamedProfileTable<Row> table({
        .name = [](const Row& row) -> const char* { return row.onuTypeProfileName; },
        .id = &Row::onuTypeProfileId,
        .row_status = &Row::sOnuTypeProfileTableRowStatus,
        .id_column = 1,
        .name_column = column::onuTypeProfileName,
        .row_status_column = column::sOnuTypeProfileTableRowStatus,
        .before_del = free_of_service_profiles,
        .exists = log_same_name,
        .unknown = log_unknown,
        .add_failed = "mib add error for onutype table",
        .del_failed = "mib del error for onutype table",
    });
    return table;
}

bool may_go(const Row& row) {
    if (row.sOnuTypeProfileTableIsDefaultProfile == 1)
        return ov_refusal_because("\"%s\" is one of the default types", row.onuTypeProfileName);
    for (const ov_sOnuTable_attr_t& onu : all_rows<ov_sOnuTable_attr_t>())
        if (onu.sOnuTableOnuTypeProfileId == row.onuTypeProfileId) {
            ov_refusal_because("gpon-onu%d/%d:%d is of this type", onu.slotID, onu.portID, onu.onuId);
            OV_LOG_ERROR("MMG", "this onutype is using in onu table! onutype profile id:%d",
                         static_cast<int>(row.onuTypeProfileId));
            return false;
        }
    if (ov_app_gpon_onusrv_bind_onutype_check(row.onuTypeProfileName) != 0) {
        ov_refusal_because("a service profile is of ONU type \"%s\"", row.onuTypeProfileName);
        OV_LOG_ERROR("MMG", "this onutype is using in srv-profile table! profile name:%s",
                     row.onuTypeProfileName);
        return false;
    }
    return true;
}

bool may_come(const Row& row) {
    if (row.onuTypeProfileName[0] == '\0') {
        ov_refusal_because_of(column::onuTypeProfileName, "the name is empty");
        OV_LOG_ERROR("MMG", "onutype name is empty");
        return false;
    }
    if (const Row* other = profiles().other_of_same_name(row)) {
        ov_refusal_because_of(column::onuTypeProfileName, "ONU type %u has the name \"%s\" already",
                              static_cast<unsigned>(other->onuTypeProfileId), row.onuTypeProfileName);
        log_same_name(static_cast<int>(other->onuTypeProfileId), row.onuTypeProfileName);
        return false;
    }
    // One port more than there are, so an ONU gets one fewer than the line says.
    const int64_t ports = int64_t{row.sOnuTypeProfileTableEthNum} + row.sOnuTypeProfileTablePotsNum + 1;
    if (ports > MAX_PORTS_PER_ONU) {
        ov_refusal_because("eth and pots together are at most %d", MAX_PORTS_PER_ONU - 1);
        OV_LOG_ERROR("MMG", "the max port number for one onu is %d", MAX_PORTS_PER_ONU);
        return false;
    }
    if (profiles().others_of(row) >= MAX_PROFILES) {
        ov_refusal_because("there are %d ONU types already, the most there can be", MAX_PROFILES);
        OV_LOG_ERROR("MMG", "the max onu type profile number is %d", MAX_PROFILES);
        return false;
    }
    return true;
}

// ---- default types ----------------------------------------------------------------------------------------

struct DefaultType {
    std::string_view name;
    mib_long ethNum;
    mib_long pots;
    mib_long videoNum;
    mib_long qnum;
};

// The first of a brand is what ov_gpon_default_onutype_get() names.
constexpr DefaultType VANDEL_TYPES[] = {
    {.name = "Vandel", .ethNum = 4, .pots = 2, .videoNum = 0, .qnum = 8},
    {.name = "HX07", .ethNum = 1, .pots = 0, .videoNum = 0, .qnum = 8},
    {.name = "HR36TD", .ethNum = 4, .pots = 2, .videoNum = 0, .qnum = 8},
};
constexpr DefaultType OTHER_TYPES[] = {
    {.name = "KLM-618", .ethNum = 4, .pots = 2, .videoNum = 0, .qnum = 4},
};

void _ov_app_gpon_profile_onutype_add_default(const DefaultType& type) {
    Row row = {};
    set_text(row.onuTypeProfileName, type.name);
    row.sOnuTypeProfileTableIsDefaultProfile = 1;
    row.sOnuTypeProfileTableCardNum = 1;
    row.sOnuTypeProfileTableTcontNum = 8;
    row.sOnuTypeProfileTableGemPortNum = 32;
    row.sOnuTypeProfileTableUpQueueNum = type.qnum;
    row.sOnuTypeProfileTableDwnQueueNum = type.qnum;
    row.sOnuTypeProfileTableHostNum = type.pots;
    row.sOnuTypeProfileTableEthNum = type.ethNum;
    row.sOnuTypeProfileTablePotsNum = type.pots;
    row.sOnuTypeProfileTableVideoNum = type.videoNum;
    MIB_Flags_t columns =
        columns_of(column::onuTypeProfileName, column::sOnuTypeProfileTableIsDefaultProfile,
                   column::sOnuTypeProfileTableCardNum, column::sOnuTypeProfileTableTcontNum,
                   column::sOnuTypeProfileTableGemPortNum, column::sOnuTypeProfileTableUpQueueNum,
                   column::sOnuTypeProfileTableDwnQueueNum, column::sOnuTypeProfileTableHostNum,
                   column::sOnuTypeProfileTableEthNum, column::sOnuTypeProfileTablePotsNum,
                   column::sOnuTypeProfileTableVideoNum);
    // The line marks the start on which the types are made; on later starts they exist and nothing is said.
    // The field tells a first start by it. It reads like an error and is none.
    if (ov_app_gpon_onutype_add(&row, &columns) == OV_GPON_RET_OK)
        OV_LOG_NOTICE("MMG", "mib add error for default onutype table");
}

using Record = ov_gpon_onutype_attr_t;
constexpr MapLine ONUTYPE_LINES[] = {
    MAP(onuTypeProfileId, id, OV_GPON_ONUTYPE_ATTR_INDEX_id),
    MAP(onuTypeProfileName, name, OV_GPON_ONUTYPE_ATTR_INDEX_name),
    MAP(sOnuTypeProfileTableIsDefaultProfile, isDefault, OV_GPON_ONUTYPE_ATTR_INDEX_isDefault),
    MAP(sOnuTypeProfileTableInUse, inUse, OV_GPON_ONUTYPE_ATTR_INDEX_inUse),
    MAP(sOnuTypeProfileTableCardNum, cardNum, OV_GPON_ONUTYPE_ATTR_INDEX_cardNum),
    MAP(sOnuTypeProfileTableTcontNum, tcontNum, OV_GPON_ONUTYPE_ATTR_INDEX_tcontNum),
    MAP(sOnuTypeProfileTableGemPortNum, gemPortNum, OV_GPON_ONUTYPE_ATTR_INDEX_gemportNum),
    MAP(sOnuTypeProfileTableUpQueueNum, upQueueNum, OV_GPON_ONUTYPE_ATTR_INDEX_upQueueNum),
    MAP(sOnuTypeProfileTableDwnQueueNum, downQueueNum, OV_GPON_ONUTYPE_ATTR_INDEX_downQueueNum),
    MAP(sOnuTypeProfileTableServicePortNum, servportNum, OV_GPON_ONUTYPE_ATTR_INDEX_servportNum),
    UNMASKED(sOnuTypeProfileTableHostNum, hostNum),
    MAP(sOnuTypeProfileTableEthNum, ethNum, OV_GPON_ONUTYPE_ATTR_INDEX_ethNum),
    MAP(sOnuTypeProfileTablePotsNum, potsNum, OV_GPON_ONUTYPE_ATTR_INDEX_potsNum),
    MAP(sOnuTypeProfileTableWifiNum, wifiNum, OV_GPON_ONUTYPE_ATTR_INDEX_wifiNum),
    MAP(sOnuTypeProfileTableVideoNum, videoNum, OV_GPON_ONUTYPE_ATTR_INDEX_videoNum),
};

} // namespace

constinit const MessageMap<ov_sOnuTypeProfileTable_attr_t, ov_gpon_onutype_attr_t>
    onutype_map(ONUTYPE_LINES, {.last = column::sOnuTypeProfileTableVideoNum,
                                .no_attribute = OV_GPON_ONUTYPE_ATTR_INDEX_MAX});
RESTORE(onu_type, SONUTYPEPROFILE, OV_HAL_MSG_GPON_ONU_TYPE, onutype_map, CREATED)

void ov_app_gpon_onutype_init() {
    gpon_onutype_appid = AssignAppId();
    const CallbackRegistration callbacks{"app_onutype", gpon_onutype_appid,
                                         "app_onutype register set call back error"};
    callbacks.add(SONUTYPEPROFILE, CALLBACK_SET, ov_onutype_table_set_callback, mibDefFlags);
}

char ov_app_gpon_onutype_getId(const char* onutypeName, mib_ulong* onutypeId) {
    return profiles().get_id(onutypeName, onutypeId);
}

int ov_app_gpon_onutype_add(ov_sOnuTypeProfileTable_attr_t* attr, MIB_Flags_t* flag) {
    return profiles().add(attr, flag);
}

int ov_app_gpon_onutype_edit(ov_sOnuTypeProfileTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_OK;
}

int ov_app_gpon_onutype_del(ov_sOnuTypeProfileTable_attr_t* attr) {
    return profiles().del(attr);
}

int ov_app_gpon_profile_onutype_add_default() {
    const char* vendor = ov_product_get_sysinfo_product_vender();
    const bool is_vandel = vendor && std::strcmp(vendor, "VANDEL") == 0;
    for (const DefaultType& type :
         is_vandel ? std::span<const DefaultType>(VANDEL_TYPES) : std::span<const DefaultType>(OTHER_TYPES))
        _ov_app_gpon_profile_onutype_add_default(type);
    return OV_GPON_RET_OK;
}

char ov_app_gpon_onutype_check(ov_sOnuTypeProfileTable_attr_t* attr, int action, MIB_Flags_t /*flags*/) {
    switch (action) {
    case OV_HAL_GPON_MSG_ACTION_CREATE:
        return may_come(*attr) ? 1 : 0;
    case OV_HAL_GPON_MSG_ACTION_DELETE:
        return may_go(*attr) ? 1 : 0;
    case OV_HAL_GPON_MSG_ACTION_SET:
        ov_refusal_because("an ONU type can't be changed, only deleted and made again");
        OV_LOG_ERROR("MMG", "onutype do not support edit");
        return 0;
    default:
        return 1;
    }
}

void sonutype_mib_data_convert_to_hal(ov_sOnuTypeProfileTable_attr_t* mib, ov_gpon_onutype_attr_t* hal,
                                      const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    onutype_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

int ov_onutype_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, ov_gpon_onutype_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_ONU_TYPE,
        .map = &onutype_map,
        .check = passes<ov_app_gpon_onutype_check>,
        .dumps = true,
        .failure = "set onutype to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}
