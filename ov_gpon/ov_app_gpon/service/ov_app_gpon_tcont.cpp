#include "ov_app_gpon_tcont.h"

#include "app_restore_line.h"

#include "app_follow_rows.h"
#include "app_index.h"
#include "app_rows.h"
#include "app_set_callback.h"
#include "app_text.h"
#include "app_write_row.h"
#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_pair.h"
#include "ov_gpon.h"
#include "ov_product_log.h"
#include "sGemTable.h"
#include "sOnuSrvProfileTable.h"

int gpon_tcont_appid = 0;

namespace {

using Tcont = ov_sTcontTable_attr_t;
namespace column = sTcontTable_column;

// What the T-CONTs of a service profile may ask for together: one PON port must be able to give it.
constexpr int64_t PROFILE_MAX_BW = 1200000;
constexpr int64_t PROFILE_MAX_FIX_BW = 800000;

// What the T-CONTs of a bandwidth profile count by.
struct Bandwidth {
    int assured_and_fixed = 0;
    int fixed = 0;
};

bool bandwidth_of(const char* profile, Bandwidth& bandwidth) {
    return ov_app_gpon_bwtype_assAndFix_get(profile, &bandwidth.assured_and_fixed, &bandwidth.fixed) == 1 ||
           ov_refusal_because_of(column::sTcontTableBwProfileName, "no bandwidth profile \"%s\"", profile);
}

// What the T-CONTs of a service profile ask for together.
struct BandwidthSum {
    int64_t assured_and_fixed = 0;
    int64_t fixed = 0;

    // False, behind a log line, when there is no such profile, or more than a PON port has.
    bool add(const Tcont& row) {
        Bandwidth bw;
        if (!bandwidth_of(row.sTcontTableBwProfileName, bw)) {
            OV_LOG_ERROR("MMG", "do not found bw profile:%s", row.sTcontTableBwProfileName);
            return false;
        }
        assured_and_fixed += bw.assured_and_fixed;
        fixed += bw.fixed;
        if (assured_and_fixed <= PROFILE_MAX_BW && fixed <= PROFILE_MAX_FIX_BW)
            return true;
        ov_refusal_because("the profile's T-CONTs together would ask for more than a PON port gives "
                           "(fixed %lld of %lld, fixed and assured %lld of %lld)",
                           static_cast<long long>(fixed), static_cast<long long>(PROFILE_MAX_FIX_BW),
                           static_cast<long long>(assured_and_fixed), static_cast<long long>(PROFILE_MAX_BW));
        OV_LOG_ERROR("MMG", "config bw is over max bw");
        return false;
    }
};

// ---- what a T-CONT takes of its port ----------------------------------------------------------------------

bool reserve(const Tcont& row, const Bandwidth& bw) {
    const int slot = row.slotID;
    const int port = row.portID;
    if (ov_gpon_resource_reserve(TCONT_LIMIT_INDEX, slot, port, 1) != KAVO_OK) {
        OV_LOG_ERROR("MMG", "reserve tcont info error slot %d port %d", slot, port);
        return false;
    }
    if (ov_gpon_resource_reserve(USMAXBW_LIMIT_INDEX, slot, port, bw.assured_and_fixed) != KAVO_OK) {
        ov_gpon_resource_release(TCONT_LIMIT_INDEX, slot, port, 1);
        OV_LOG_ERROR("MMG", "reserve bw info error slot %d port %d", slot, port);
        return false;
    }
    if (ov_gpon_resource_reserve(BW_LIMIT_INDEX, slot, port, bw.fixed) != KAVO_OK) {
        ov_gpon_resource_release(USMAXBW_LIMIT_INDEX, slot, port, bw.assured_and_fixed);
        ov_gpon_resource_release(TCONT_LIMIT_INDEX, slot, port, 1);
        OV_LOG_ERROR("MMG", "reserve bw info error slot %d port %d", slot, port);
        return false;
    }
    return true;
}

// The first that can't be given back refuses; what went before it stays given back.
bool release(const Tcont& row, const Bandwidth& bw) {
    const int slot = row.slotID;
    const int port = row.portID;
    if (ov_gpon_resource_release(TCONT_LIMIT_INDEX, slot, port, 1) != KAVO_OK) {
        OV_LOG_ERROR("MMG", "release tcont info error slot %d port %d", slot, port);
        return false;
    }
    if (ov_gpon_resource_release(USMAXBW_LIMIT_INDEX, slot, port, bw.assured_and_fixed) != KAVO_OK ||
        ov_gpon_resource_release(BW_LIMIT_INDEX, slot, port, bw.fixed) != KAVO_OK) {
        OV_LOG_ERROR("MMG", "release bw info error slot %d port %d", slot, port);
        return false;
    }
    return true;
}

// ---- the check --------------------------------------------------------------------------------------------

bool has_whole_index(const Tcont& row) {
    if (has_owner_index(row) && row.tcontId != 0)
        return true;
    ov_refusal_because("index %d.%d.%d.%d.%u is no place of a T-CONT", row.shelfID, row.slotID, row.portID,
                       row.onuId, static_cast<unsigned>(row.tcontId));
    OV_LOG_ERROR("MMG", "illega tcont index:%d.%d.%d.%d.%d:", row.shelfID, row.slotID, row.portID, row.onuId,
                 static_cast<int>(row.tcontId));
    return false;
}

bool is_free_of_gemports(const Tcont& row) {
    for (const ov_sGemTable_attr_t& gem : rows_under(onu_key<ov_sGemTable_attr_t>(row), INDEX_TO_ONU)) {
        if (gem.sGemTableTcontID != row.tcontId)
            continue;
        ov_refusal_because("GEM port %lu uses the T-CONT", static_cast<unsigned long>(gem.gemID));
        OV_LOG_ERROR("MMG", "this tcontid:%lu is using in gem table! gemid:%lu",
                     static_cast<unsigned long>(row.tcontId), static_cast<unsigned long>(gem.gemID));
        return false;
    }
    return true;
}

// Another bandwidth profile isn't counted again.
bool may_become(const Tcont& row, int action) {
    Bandwidth bw;
    if (!bandwidth_of(row.sTcontTableBwProfileName, bw) || !ov_app_gpon_owner_admits(row))
        return false;
    if (action == OV_HAL_GPON_MSG_ACTION_CREATE)
        return has_whole_index(row);
    return action != OV_HAL_GPON_MSG_ACTION_DELETE || is_free_of_gemports(row);
}

bool count(const Tcont& row, int action) {
    Bandwidth bw;
    if (is_template_row(row) || !bandwidth_of(row.sTcontTableBwProfileName, bw))
        return is_template_row(row);
    if (action == OV_HAL_GPON_MSG_ACTION_CREATE)
        return reserve(row, bw);
    return action != OV_HAL_GPON_MSG_ACTION_DELETE || release(row, bw);
}

// ---- the steps of the set callback ------------------------------------------------------------------------

bool tcont_admits(RowChange<Tcont>& change) {
    return may_become(change.row, change.action);
}

bool tcont_reserve(RowChange<Tcont>& change) {
    return count(change.row, change.action);
}

// A template row must leave its profile as one that fits a PON port. A profile that doesn't fit any more,
// because a bandwidth has grown, can be taken away all the same.
std::optional<int> profile_refusal(const RowChange<Tcont>& change) {
    if (change.deletes())
        return std::nullopt;
    if (ov_tcont_multi_srvprofile_exist_check(&change.row) != 1) {
        OV_LOG_ERROR("MMG", "srvprofile not exist");
        return OV_GPON_RET_BAD_PARAM;
    }
    if (ov_app_gpon_multi_srvprofile_check_DBA(&change.row) != 1) {
        OV_LOG_ERROR("MMG", "bw check fail");
        return OV_GPON_RET_BAD_PARAM;
    }
    return std::nullopt;
}

std::optional<int> settle_without_card(RowChange<Tcont>& change) {
    Tcont& row = change.row;
    mib_ulong profile_id = 0;
    if (ov_app_gpon_bwtype_getId(row.sTcontTableBwProfileName, &profile_id) != 1) {
        ov_refusal_because_of(column::sTcontTableBwProfileName, "no bandwidth profile \"%s\"",
                              row.sTcontTableBwProfileName);
        OV_LOG_ERROR("MMG", "cannot find bw profile:%s", row.sTcontTableBwProfileName);
        return SET_REFUSED;
    }
    row.sTcontTableBwProfileId = static_cast<mib_long>(profile_id);
    if (is_template_row(row))
        if (const auto refusal = profile_refusal(change))
            return refusal;
    // An edit is kept for the next replay of the card's configuration: neither the card nor the partner port
    // hears of it now.
    if (change.sets())
        return SET_ACCEPTED;
    return std::nullopt;
}

int follow(RowChange<Tcont>& change) {
    return ov_app_gpon_follow_on_pair(SYNC_STCONT, change);
}

void give_back(RowChange<Tcont>& change) {
    const Tcont& row = change.row;
    Bandwidth bw;
    if (is_template_row(row) || !bandwidth_of(row.sTcontTableBwProfileName, bw))
        return;
    const auto inverse = change.creates() ? ov_gpon_resource_release : ov_gpon_resource_reserve;
    inverse(TCONT_LIMIT_INDEX, row.slotID, row.portID, 1);
    inverse(BW_LIMIT_INDEX, row.slotID, row.portID, bw.fixed);
    inverse(USMAXBW_LIMIT_INDEX, row.slotID, row.portID, bw.assured_and_fixed);
}

bool name_profile_id(Tcont& row, MIB_Flags_t& flag) {
    mib_ulong profile_id = 0;
    if (ov_app_gpon_bwtype_getId(row.sTcontTableBwProfileName, &profile_id) != 1) {
        ov_refusal_because("no bandwidth profile \"%s\"", row.sTcontTableBwProfileName);
        OV_LOG_ERROR("MMG", "do not found bw profile:%s", row.sTcontTableBwProfileName);
        return false;
    }
    row.sTcontTableBwProfileId = static_cast<mib_long>(profile_id);
    mib_flag_set(flag, column::sTcontTableBwProfileId);
    return true;
}

// ---- to the card ------------------------------------------------------------------------------------------

// From column 3 on the bits are one column late: cards expect the bits of a T-CONT so.
using Row = Tcont;
using Record = ov_gpon_tcont_attr_t;
namespace column = sTcontTable_column;
constexpr MapLine TCONT_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Tcont>),
    MAP(tcontId, tcontId, OV_GPON_TCONT_ATTR_INDEX_tcontId),
    MAP(sTcontTableAllocID, allocId, OV_GPON_TCONT_ATTR_INDEX_allocId),
    UNMASKED(sTcontTableTcontName, name),
    MASK_ONLY(sTcontTableBwProfileId, OV_GPON_TCONT_ATTR_INDEX_name),
    MAP(sTcontTableBwProfileName, bwProfile, OV_GPON_TCONT_ATTR_INDEX_bwProfile),
};

} // namespace

constinit const MessageMap<ov_sTcontTable_attr_t, ov_gpon_tcont_attr_t>
    tcont_map(TCONT_LINES, {.last = sTcontTable_column::sTcontTableBwProfileName,
                            .no_attribute = OV_GPON_TCONT_ATTR_INDEX_MAX});
RESTORE(tcont, STCONT, OV_HAL_MSG_GPON_TCONT, tcont_map, CREATED)
RESTORE_TEMPLATES(tcont, STCONT, OV_HAL_MSG_GPON_TCONT, tcont_map, CREATED)

void ov_app_gpon_tcont_init() {
    gpon_tcont_appid = AssignAppId();
    const CallbackRegistration registration = {"app_tcont", gpon_tcont_appid,
                                               "tcont: register callback failed"};
    registration.add(STCONT, CALLBACK_SET, ov_tcont_table_set_callback, mibDefFlags);
    registration.add(SONU, CALLBACK_SET, ov_tcont_table_onu_del_callback,
                     columns_of(sOnuTable_column::sOnuTableRowStatus));
    registration.add(SONUSRVPROFILE, CALLBACK_SET, ov_tcont_table_multi_srvprofile_del_callback,
                     columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}

// ---- add, edit, delete ------------------------------------------------------------------------------------

int ov_app_gpon_tcont_add(ov_sTcontTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check) {
    if (!attr || !flag) {
        OV_LOG_ERROR("MMG", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    if (!mib_flag_is_set(*flag, column::sTcontTableBwProfileName)) {
        mib_flag_set(*flag, column::sTcontTableBwProfileName);
        OV_LOG_ERROR("MMG", "missing parameter for bwfiletype in when adding tcont profile name is %s ",
                     attr->sTcontTableBwProfileName);
    }
    if (!name_profile_id(*attr, *flag))
        return OV_GPON_RET_BAD_PARAM;
    attr->sTcontTableRowStatus = OVRA_CREATEANDGO;
    mib_flag_set(*flag, column::sTcontTableRowStatus);
    return write_row(is_need_check != 0 ? MIB_SET : MIB_SET_N, attr, flag, gpon_tcont_appid,
                     "mib set error for tcont table");
}

int ov_app_gpon_tcont_edit(ov_sTcontTable_attr_t* attr, MIB_Flags_t* flag) {
    if (attr && flag && mib_flag_is_set(*flag, column::sTcontTableBwProfileName) &&
        !name_profile_id(*attr, *flag))
        return OV_GPON_RET_OK; // the row keeps the profile that it has; callers know no failure here
    return write_row(MIB_SET, attr, flag, gpon_tcont_appid, "mib edit error for tcont table");
}

int ov_app_gpon_tcont_del(ov_sTcontTable_attr_t* attr) {
    if (!attr) {
        OV_LOG_ERROR("MMG", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    if (!mib_access(MIB_DEL, *attr, mibDefFlags, gpon_tcont_appid)) {
        OV_LOG_ERROR("MMG", "mib del tcont error: %d/%s", static_cast<int>(attr->tcontId),
                     attr->sTcontTableTcontName);
        return OV_GPON_RET_BAD_PARAM;
    }
    return OV_GPON_RET_OK;
}

// ---- checks -----------------------------------------------------------------------------------------------

char ov_app_gpon_tcont_exist_check(ov_sTcontTable_attr_t* attr) {
    return find_row(*attr) != nullptr ? 1 : 0;
}

char ov_app_gpon_tcont_check(ov_sTcontTable_attr_t* attr, int action, MIB_Flags_t /*flag*/) {
    return may_become(*attr, action) && count(*attr, action) ? 1 : 0;
}

char ov_tcont_multi_srvprofile_exist_check(ov_sTcontTable_attr_t* attr) {
    if (ov_app_gpon_srvprofile_of(attr->onuId) != nullptr)
        return 1;
    ov_refusal_because("no service profile %d", attr->onuId);
    OV_LOG_ERROR("MMG", "srvprofile id %d is not exist", attr->onuId);
    return 0;
}

char ov_app_gpon_multi_srvprofile_check_DBA(ov_sTcontTable_attr_t* attr) {
    // The row in hand counts with what it will be, whether it is in service by now or not.
    BandwidthSum sum;
    if (!sum.add(*attr))
        return 0;
    for (const Tcont& row : rows_under(*attr, INDEX_TO_ONU))
        if (row.tcontId != attr->tcontId && !sum.add(row))
            return 0;
    return 1;
}

// ---- to the card ------------------------------------------------------------------------------------------

void stcont_mib_data_convert_to_hal(ov_sTcontTable_attr_t* mib, ov_gpon_tcont_attr_t* hal,
                                    const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    tcont_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

int ov_tcont_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Tcont, ov_gpon_tcont_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_TCONT,
        .map = &tcont_map,
        .check = tcont_admits,
        .reserve = tcont_reserve,
        .before_send = settle_without_card,
        .dumps = true,
        .follow = follow,
        .not_supported = NotSupported::FOLLOW,
        .give_back = give_back,
        .failure = "set tcont to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

// ---- with the owner ---------------------------------------------------------------------------------------

namespace {

void log_left_tcont(const Tcont& row) {
    OV_LOG_ERROR("MMG", "delete tcont fail! onuid:%d, tcontid:%d", row.onuId, static_cast<int>(row.tcontId));
}

} // namespace

int ov_tcont_table_iterate_del(ov_sOnuTable_attr_t* ponu_attr) {
    static constexpr OwnedRows<Tcont> OWNED = {
        .appid = &gpon_tcont_appid,
        .failed = log_left_tcont,
        .stops = true,
    };
    return remove_owned_rows(OWNED, *ponu_attr) ? 1 : 0;
}

int ov_tcont_table_onu_del_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    if (MibRowStatusGet(did, row) != MODE_DEL)
        return SET_ACCEPTED;
    return ov_tcont_table_iterate_del(static_cast<ov_sOnuTable_attr_t*>(row));
}

int ov_tcont_table_multi_srvprofile_del_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    if (MibRowStatusGet(did, row) != MODE_DEL)
        return SET_ACCEPTED;
    auto owner = ov_app_gpon_template_owner(*static_cast<const ov_sOnuSrvProfileTable_attr_t*>(row));
    return ov_tcont_table_iterate_del(&owner);
}
