#include "ov_app_gpon_bwtype.h"

#include "app_restore_line.h"

#include <algorithm>
#include <array>
#include <climits>
#include <string_view>

#include "app_named_profile.h"
#include "app_set_callback.h"
#include "app_text.h"
#include "sOnuTable.h"
#include "sTcontTable.h"

int gpon_bwtype_appid = 0;

namespace {

using Row = ov_sBWProfileTable_attr_t;
namespace column = sBWProfileTable_column;

constexpr int MAX_PROFILES = 256;
constexpr char DEFAULT_NAME[] = "default";
constexpr int DEFAULT_MAX_BW = 100000;

int log_same_name(int id, const char* name) {
    ov_refusal_because_of(column::sBWProfileTableBwProfileName,
                          "bandwidth profile %u has the name \"%s\" already", static_cast<unsigned>(id),
                          name);
    OV_LOG_ERROR("MMG", "same bwprofile name exist before %d:%s", id, name);
    return OV_GPON_RET_EXISTED;
}

void log_exists(int id, const char* name) {
    OV_LOG_ERROR("MMG", "bwtype profile was exist %d:%s", id, name);
}

void log_unknown(int id, const char* name) {
    OV_LOG_ERROR("MMG", "bwtype profile did not exist %d:%s", id, name);
}

// Refuses a name that stands under an id other than its hash, and a row too many.
int room_for(const Row& row);

NamedProfileTable<Row>& profiles() {
    static NamedProfileTable<Row> table({
        .name = [](const Row& row) -> const char* { return row.sBWProfileTableBwProfileName; },
        .id = &Row::bwProfileId,
        .row_status = &Row::sBWProfileTableRowStatus,
        .id_column = 1,
        .name_column = column::sBWProfileTableBwProfileName,
        .row_status_column = column::sBWProfileTableRowStatus,
        .before_add = room_for,
        .exists = log_exists,
        .unknown = log_unknown,
        .add_failed = "mib add error for bwtype table",
        .del_failed = "mib del error for bwtype table",
    });
    return table;
}

int room_for(const Row& row) {
    Row made = row;
    made.bwProfileId = profile_id_of(row.sBWProfileTableBwProfileName);
    if (const Row* other = profiles().other_of_same_name(made))
        return log_same_name(static_cast<int>(other->bwProfileId), row.sBWProfileTableBwProfileName);
    if (profiles().number() < MAX_PROFILES)
        return OV_GPON_RET_OK;
    ov_refusal_because("there are %d bandwidth profiles already, the most there can be", MAX_PROFILES);
    return OV_GPON_RET_NO_RESOURCE;
}

bool may_go(const Row& row) {
    if (std::string_view(row.sBWProfileTableBwProfileName) == DEFAULT_NAME) {
        ov_refusal_because("the default profile stays");
        OV_LOG_ERROR("MMG", "bwprofile name is default");
        return false;
    }
    for (const ov_sTcontTable_attr_t& tcont : all_rows<ov_sTcontTable_attr_t>())
        if (static_cast<mib_ulong>(tcont.sTcontTableBwProfileId) == row.bwProfileId) {
            ov_refusal_because("T-CONT %u of gpon-onu%d/%d:%d has this profile",
                               static_cast<unsigned>(tcont.tcontId), tcont.slotID, tcont.portID, tcont.onuId);
            OV_LOG_ERROR("MMG", "this bwfile is using in tcont table! bwfileid:%d",
                         static_cast<int>(row.bwProfileId));
            return false;
        }
    for (const ov_sOnuTable_attr_t& onu : all_rows<ov_sOnuTable_attr_t>())
        if (onu.sOnuTableOmccBwProfileId == row.bwProfileId) {
            ov_refusal_because("gpon-onu%d/%d:%d has this profile for its OMCC", onu.slotID, onu.portID,
                               onu.onuId);
            OV_LOG_ERROR("MMG", "this bwfile is using in onu table! bwfileid:%d",
                         static_cast<int>(row.bwProfileId));
            return false;
        }
    return true;
}

// Amounts in the order that the type of contract asks for. The other types have but one amount, or two that
// may stand in any relation.
bool amounts_fit(const Row& row) {
    const int64_t assured = row.sBWProfileTableAssBw;
    if (row.sBWProfileTableType == SBWPROFILETABLETYPE_TYPE5 &&
        row.sBWProfileTableFixBw + assured > row.sBWProfileTableMaxBw) {
        ov_refusal_because_of(column::sBWProfileTableMaxBw,
                              "maximum %d is less than fixed and assured together", row.sBWProfileTableMaxBw);
        OV_LOG_ERROR("MMG", "type5 bwprofile params error");
        return false;
    }
    if (row.sBWProfileTableType == SBWPROFILETABLETYPE_TYPE3 && assured > row.sBWProfileTableMaxBw) {
        ov_refusal_because_of(column::sBWProfileTableMaxBw, "maximum %d is less than assured",
                              row.sBWProfileTableMaxBw);
        OV_LOG_ERROR("MMG", "type3 bwprofile params error");
        return false;
    }
    return true;
}

bool may_come(const Row& row) {
    if (row.sBWProfileTableBwProfileName[0] == '\0') {
        ov_refusal_because_of(column::sBWProfileTableBwProfileName, "the name is empty");
        OV_LOG_ERROR("MMG", "bwprofile name is empty");
        return false;
    }
    if (!amounts_fit(row))
        return false;
    if (const Row* other = profiles().other_of_same_name(row)) {
        log_same_name(static_cast<int>(other->bwProfileId), row.sBWProfileTableBwProfileName);
        return false;
    }
    return profiles().others_of(row) < MAX_PROFILES ||
           ov_refusal_because("there are %d bandwidth profiles already, the most there can be", MAX_PROFILES);
}

using Record = ov_gpon_bwprofile_attr_t;
constexpr MapLine BWTYPE_LINES[] = {
    MAP(bwProfileId, id, OV_GPON_BWPROFILE_ATTR_INDEX_id),
    MAP(sBWProfileTableBwProfileName, name, OV_GPON_BWPROFILE_ATTR_INDEX_name),
    MAP(sBWProfileTableType, bwType, OV_GPON_BWPROFILE_ATTR_INDEX_bwType),
    MAP(sBWProfileTableFixBw, fixbw, OV_GPON_BWPROFILE_ATTR_INDEX_fixbw),
    MAP(sBWProfileTableAssBw, assBw, OV_GPON_BWPROFILE_ATTR_INDEX_assBw),
    MAP(sBWProfileTableMaxBw, maxBw, OV_GPON_BWPROFILE_ATTR_INDEX_maxBw),
};

} // namespace

constinit const MessageMap<ov_sBWProfileTable_attr_t, ov_gpon_bwprofile_attr_t>
    bwtype_map(BWTYPE_LINES,
               {.last = column::sBWProfileTableMaxBw, .no_attribute = OV_GPON_BWPROFILE_ATTR_INDEX_MAX});
RESTORE(bw_type, SBWPROFILE, OV_HAL_MSG_GPON_BW_TYPE, bwtype_map, CREATED)

void ov_app_gpon_bwtype_init() {
    gpon_bwtype_appid = AssignAppId();
    const CallbackRegistration callbacks{"app_bwtype", gpon_bwtype_appid,
                                         "app_bwtype register set call back error"};
    callbacks.add(SBWPROFILE, CALLBACK_SET, ov_bwtype_table_set_callback, mibDefFlags);
}

char ov_app_gpon_bwtype_getId(const char* bwtypeName, mib_ulong* bwtypeId) {
    return profiles().get_id(bwtypeName, bwtypeId);
}

char ov_app_gpon_bwtype_assAndFix_get(const char* bwtypeName, int* assAndFix, int* fixed) {
    const Row* row = profiles().find(bwtypeName);
    if (!row || !assAndFix || !fixed)
        return 0;
    const int64_t sum = int64_t{row->sBWProfileTableFixBw} + row->sBWProfileTableAssBw;
    *assAndFix = static_cast<int>(std::clamp<int64_t>(sum, INT_MIN, INT_MAX));
    *fixed = row->sBWProfileTableFixBw;
    return 1;
}

int ov_app_gpon_bwtype_add(ov_sBWProfileTable_attr_t* attr, MIB_Flags_t* flag) {
    return profiles().add(attr, flag);
}

int ov_app_gpon_bwtype_edit(ov_sBWProfileTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_OK;
}

int ov_app_gpon_bwtype_del(ov_sBWProfileTable_attr_t* attr) {
    return profiles().del(attr);
}

int ov_app_gpon_bwtype_add_default() {
    Row row = {};
    set_text(row.sBWProfileTableBwProfileName, DEFAULT_NAME);
    row.sBWProfileTableType = SBWPROFILETABLETYPE_TYPE4;
    row.sBWProfileTableMaxBw = DEFAULT_MAX_BW;
    MIB_Flags_t columns = mibDefFlags;
    if (ov_app_gpon_bwtype_add(&row, &columns) == OV_GPON_RET_OK)
        return OV_GPON_RET_OK;
    OV_LOG_ERROR("MMG", "mib add default bandwidth profile error");
    return OV_GPON_RET_BAD_PARAM;
}

char ov_app_gpon_bwtype_check(ov_sBWProfileTable_attr_t* attr, int action, MIB_Flags_t /*flags*/) {
    switch (action) {
    case OV_HAL_GPON_MSG_ACTION_CREATE:
        return may_come(*attr) ? 1 : 0;
    case OV_HAL_GPON_MSG_ACTION_DELETE:
        return may_go(*attr) ? 1 : 0;
    default:
        return 1; // any change is taken, that of the default profile too
    }
}

void sbwtype_mib_data_convert_to_hal(ov_sBWProfileTable_attr_t* mib, ov_gpon_bwprofile_attr_t* hal,
                                     const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    bwtype_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

int ov_bwtype_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, ov_gpon_bwprofile_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_BW_TYPE,
        .map = &bwtype_map,
        .check = passes<ov_app_gpon_bwtype_check>,
        .dumps = true,
        .failure = "set bwtype error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}
