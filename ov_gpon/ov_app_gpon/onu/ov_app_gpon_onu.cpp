#include "ov_app_gpon_onu.h"

#include "app_restore_line.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "app_set_callback.h"
#include "app_text.h"
#include "ov_app_gpon_if.h"
#include "ov_app_gpon_onu_note.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_pair.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_gpon.h"
#include "ov_product_log.h"
#include "ov_refusal.h"

int gpon_onu_appid = 0;

namespace {

namespace column = sOnuTable_column;
using Onu = ov_sOnuTable_attr_t;
using OnuChange = RowChange<Onu>;

bool is_template_onu(const Onu& onu) {
    return onu.sOnuTableConfigMode == SONUTABLECONFIGMODE_TEMPLET;
}

// ---- credentials --------------------------------------------------------------------------------------

// What an authentication mode uses. The card gets these; a change of the mode clears the others.
struct Credentials {
    bool sn;
    bool pw;
    bool loid;
    bool loid_pw;
};

std::optional<Credentials> credentials_of(int mode) {
    switch (mode) {
    case OV_GPON_ONU_AUTH_MODE_SN:
        return Credentials{.sn = true, .pw = false, .loid = false, .loid_pw = false};
    case OV_GPON_ONU_AUTH_MODE_PW:
        return Credentials{.sn = false, .pw = true, .loid = false, .loid_pw = false};
    case OV_GPON_ONU_AUTH_MODE_SNPW:
        return Credentials{.sn = true, .pw = true, .loid = false, .loid_pw = false};
    case OV_GPON_ONU_AUTH_MODE_LOID:
        return Credentials{.sn = false, .pw = false, .loid = true, .loid_pw = false};
    case OV_GPON_ONU_AUTH_MODE_LOIDPW:
        return Credentials{.sn = false, .pw = false, .loid = true, .loid_pw = true};
    default:
        return std::nullopt;
    }
}

void clear_unused_credentials(Onu& onu) {
    const auto used = credentials_of(onu.sOnuTableAuthMode);
    if (!used)
        return;
    if (!used->sn)
        set_text(onu.sOnuTableSn, "");
    if (!used->pw)
        set_text(onu.sOnuTablePw, "");
    if (!used->loid)
        set_text(onu.sOnuTableLoid, "");
    if (!used->loid_pw)
        set_text(onu.sOnuTableLoidPw, "");
}

// ---- names ---------------------------------------------------------------------------------------------

using OnuName = std::array<char, sOnuTable_limit::sOnuTableOnuName + 1>;

OnuName default_name_of(const Onu& onu) {
    OnuName name{};
    snprintf(name.data(), name.size(), "gpon-onu%d/%d:%d", onu.slotID, onu.portID, onu.onuId);
    return name;
}

// ---- the pair of a protection group --------------------------------------------------------------------

// The port that leads its group: what is made and removed on it is at once made and removed on its pair.
bool leads_group(const Onu& onu) {
    return ov_app_gpon_port_is_group_work_pon_port(onu.slotID, onu.portID) == 1 &&
           ov_app_gpon_port_is_group_active_pon_port(onu.slotID, onu.portID) == 1;
}

void move_to_pair(Onu& onu) {
    move_to_port(onu, ov_pon_protect_group_get_pair_port_index(onu.slotID, onu.portID));
}

// The whole row, whichever columns the request named: the rest of it may have been there before.
bool add_on_pair(const OnuChange& change) {
    Onu copy = change.row;
    MIB_Flags_t columns = mibDefFlags;
    if (ov_app_gpon_onu_is_named_by_place(copy))
        mib_flag_clear(columns, column::sOnuTableOnuName); // the pair's ONU gets its own
    move_to_pair(copy);
    return ov_app_gpon_onu_add(&copy, &columns, 0) == OV_GPON_RET_OK;
}

bool delete_on_pair(const OnuChange& change) {
    Onu key = onu_key<Onu>(change.row);
    move_to_pair(key);
    const bool is_being_copied_to =
        ov_pon_protect_group_pon_status_get(key.slotID, key.portID) == OV_PON_PROTECT_PON_STATUS_ERR;
    return (is_being_copied_to && find_stored_row(key) == nullptr) || mib_access(MIB_DEL_N, key);
}

// ---- the steps of the set callback ---------------------------------------------------------------------

void fill_ifindex(Onu& onu) {
    if (onu.sOnuTableIfIndex == 0)
        onu.sOnuTableIfIndex = onu_ifindex_of(onu);
}

bool onu_admits(OnuChange& change) {
    return ov_app_gpon_onu_marevo_check(&change.row, change.action) == 1 &&
           ov_app_gpon_onu_may_become(&change.row, change.action, change.columns) == 1;
}

// What the service profile of a template ONU brings along.
bool onu_reserve(OnuChange& change) {
    return ov_app_gpon_onu_reserve(&change.row, change.action) == 1;
}

// While a port learns ONUs by their serial numbers, none of them can change to another authentication.
bool auth_may_change(Onu& onu) {
    int autolearn = 0;
    return ov_app_gpon_port_autolearn_get(&onu, &autolearn) == OV_GPON_RET_OK &&
           (autolearn != 1 || ov_refusal_because_of(column::sOnuTableAuthMode,
                                                    "the port learns ONUs by itself; switch that off first"));
}

// Columns that the card doesn't take by themselves: new credentials wait for the next change of the
// authentication mode, or for the card's next start.
bool has_waiting_column(const OnuChange& change) {
    for (const unsigned waiting : {column::sOnuTablePmEnable, column::sOnuTableSn, column::sOnuTablePw,
                                   column::sOnuTableLoid, column::sOnuTableLoidPw})
        if (change.has(waiting))
            return true;
    return false;
}

// A refusal here leaves raised what the check has reserved: only a failed message gives it back.
std::optional<int> onu_before_send(OnuChange& change) {
    if (change.sets() && change.has(column::sOnuTableAuthMode)) {
        if (!auth_may_change(change.row))
            return SET_REFUSED;
    } else if (change.sets() && has_waiting_column(change)) {
        return ov_app_gpon_follow_on_pair(SYNC_SONU, change);
    }
    if (change.creates() && leads_group(change.row) && !add_on_pair(change)) {
        OV_LOG_ERROR("MMG", "add standby onu failed");
        return SET_REFUSED;
    }
    if (change.deletes() && leads_group(change.row) && !delete_on_pair(change)) {
        OV_LOG_ERROR("MMG", "del standby onu failed");
        return SET_REFUSED;
    }
    return std::nullopt;
}

// Every new ONU starts enabled and activated, whatever the request said.
void follow_create(Onu& onu) {
    if (is_template_onu(onu))
        ov_app_gpon_onu_srvprofile_bindCount(onu.sOnuTableSrvProfileId, 1);
    onu.sOnuTableAdminState = SONUTABLEADMINSTATE_ENABLED;
    onu.sOnuTableActiviate = SONUTABLEACTIVIATE_ACTIVIATED;
    onu.sOnuTableOnuState = SONUTABLEONUSTATE_ADDED;
    ov_app_gpon_onu_note_forget(onu);
    ov_app_gpon_new_if(onu.sOnuTableIfIndex, onu.sOnuTableSn);
    if (is_template_onu(onu))
        ov_app_gpon_onu_gem_pm_is_enable(&onu, 1);
}

void follow_delete(Onu& onu) {
    if (is_template_onu(onu)) {
        ov_app_gpon_onu_srvprofile_bindCount(onu.sOnuTableSrvProfileId, 0);
        ov_app_gpon_onu_gem_pm_is_enable(&onu, 0);
    }
    ov_app_gpon_onu_note_forget(onu);
    ov_app_gpon_del_if(onu.sOnuTableIfIndex);
}

void follow_set(OnuChange& change) {
    if (change.has(column::sOnuTableAuthMode))
        clear_unused_credentials(change.row);
    if (change.has(column::sOnuTableActiviate) || change.has(column::sOnuTableAdminState))
        ov_app_gpon_onu_note_switch(change.row);
}

int onu_follow(OnuChange& change) {
    if (change.creates())
        follow_create(change.row);
    else if (change.deletes())
        follow_delete(change.row);
    else
        follow_set(change);
    if (!change.sets() && leads_group(change.row))
        return SET_ACCEPTED; // the pair has had its own
    return ov_app_gpon_follow_on_pair(SYNC_SONU, change);
}

void onu_give_back(OnuChange& change) {
    ov_app_gpon_onu_templet_tcont_release_reserve(&change.row, change.action);
    ov_app_gpon_onu_templet_gemport_release_reserve(&change.row, change.action);
    ov_app_gpon_onu_templet_service_port_release_reserve(&change.row, change.action);
}

// ---- add and edit --------------------------------------------------------------------------------------

int bad_param(const char* text) {
    OV_LOG_ERROR("MMG", "%s", text);
    return OV_GPON_RET_BAD_PARAM;
}

// Completes a new ONU's row and mask: what the profile dictates, its identity, its row status.
void complete_new_onu(Onu& onu, MIB_Flags_t& columns) {
    if (!mib_flag_is_set(columns, column::sOnuTableOnuName))
        ov_app_gpon_onu_name_by_place(onu);
    onu.sOnuTableIfIndex = onu_ifindex_of(onu);
    onu.sOnuTableRowStatus = OVRA_CREATEANDGO;
    for (const unsigned filled : {column::sOnuTableIfIndex, column::sOnuTableOnuName,
                                  column::sOnuTableOnuTypeProfileId, column::sOnuTableRowStatus})
        mib_flag_set(columns, filled);
}

// May the authentication of this ONU be changed so? 0 or the code of the refusal, logged.
int check_new_auth(Onu& onu, const MIB_Flags_t& columns) {
    if (mib_flag_is_set(columns, column::sOnuTableSn) && !ov_gpon_onu_sn_is_legal(onu.sOnuTableSn)) {
        ov_refusal_because("serial number \"%s\" isn't 4 letters and 8 hex digits", onu.sOnuTableSn);
        OV_LOG_ERROR("MMG", "illegal data: %s", onu.sOnuTableSn);
        return OV_ONU_AUTH_ILLEGAL;
    }
    if (find_row(onu) == nullptr) {
        ov_refusal_because("no ONU %d on the port", onu.onuId);
        OV_LOG_ERROR("MMG", "onu %d not exist", onu.onuId);
        return OV_GPON_RET_NOT_FOUND;
    }
    int autolearn = 0;
    ov_app_gpon_port_autolearn_get(&onu, &autolearn);
    if (autolearn == 1) {
        ov_refusal_because(
            "the port learns ONUs by itself; switch that off first (onu auto-authentication disable)");
        OV_LOG_ERROR("MMG", "pon autolearn must disable");
        return OV_GPON_RET_BUSY;
    }
    return OV_GPON_RET_OK;
}

// The column is free text; the card has a number: 0 for a text that isn't one, the nearest that there is for
// one that is too large.
int32_t splitter_number_of(const char* text) {
    const long long number = strtoll(text, nullptr, 10);
    return static_cast<int32_t>(std::clamp<long long>(number, INT32_MIN, INT32_MAX));
}

// What an ONU proves itself by. The other texts stay empty.
void fill_auth(const Onu& onu, ov_gpon_onu_attr_t& record) {
    record.authAttr.mode = onu.sOnuTableAuthMode;
    sonu_mib_auth_attr_convert_to_hal(&onu, &record.authAttr);
}

using Row = Onu;
using Record = ov_gpon_onu_attr_t;
constexpr MapLine ONU_LINES[] = {
    UNMASKED(sOnuTableIfIndex, ifindex),
    MAP(sOnuTableOnuName, name, OV_GPON_ONU_ATTR_INDEX_name).create_only(),
    MAP_INTO(sOnuTableAuthMode, authAttr, OV_GPON_ONU_ATTR_INDEX_authAttr, fill_auth).create_only(),
    MAP(sOnuTableAdminState, adminStatus, OV_GPON_ONU_ATTR_INDEX_adminStatus),
    MAP(sOnuTableActiviate, active, OV_GPON_ONU_ATTR_INDEX_active),
    MAP(sOnuTableOnuState, status, OV_GPON_ONU_ATTR_INDEX_status).create_only(),
    MAP(sOnuTableOnuTypeProfileName, typeProfile, OV_GPON_ONU_ATTR_INDEX_typeProfile).create_only(),
    MAP(sOnuTableOmccBwProfileName, omccBwProfile, OV_GPON_ONU_ATTR_INDEX_omccBwProfile),
    MAP_AS(sOnuTableSplitterNumber, spliterNum, MapLine::NO_ATTRIBUTE, splitter_number_of),
    MAP(sOnuTableUpFec, usFec, OV_GPON_ONU_ATTR_INDEX_usFec),
    MAP(sOnuTableRssiProfileId, rssiProfileId, OV_GPON_ONU_ATTR_INDEX_rssi)
        .replayed(MapReplay::IN_RANGE, 1, 32),
    // These two have attributes whose bits are never raised: cards take both from every record.
    UNMASKED(sOnuTableSrvProfileId, srvProfileId),
    UNMASKED(sOnuTableConfigMode, cfgMode),
};

} // namespace

constinit const MessageMap<ov_sOnuTable_attr_t, ov_gpon_onu_attr_t>
    onu_map(ONU_LINES, {.first = column::sOnuTableIfIndex,
                        .last = column::sOnuTableRssiProfileId,
                        .no_attribute = OV_GPON_ONU_ATTR_INDEX_MAX});
RESTORE(onu, SONU, OV_HAL_MSG_GPON_ONU, onu_map, CREATED_AND_SET)

// ---- the card's record -----------------------------------------------------------------------------------

void sonu_mib_auth_attr_convert_to_hal(const ov_sOnuTable_attr_t* mib, ov_gpon_onu_auth_attr_t* hal) {
    const auto used = credentials_of(mib->sOnuTableAuthMode);
    if (!used)
        return;
    if (used->sn)
        ov_gpon_onu_sn_string_to_bytes(mib->sOnuTableSn, reinterpret_cast<unsigned char*>(hal->sn));
    if (used->pw)
        set_text(hal->pw, text_in(mib->sOnuTablePw));
    if (used->loid)
        set_text(hal->loid, text_in(mib->sOnuTableLoid));
    if (used->loid_pw)
        set_text(hal->loidPw, text_in(mib->sOnuTableLoidPw));
}

void sonu_mib_data_convert_to_hal(ov_sOnuTable_attr_t* mib, ov_gpon_onu_attr_t* hal,
                                  const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    onu_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

ov_bmp_t ov_onu_table_attr_mask_get(const void* row) {
    return onu_map.replay_mask(row);
}

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_onu_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<ov_sOnuTable_attr_t, ov_gpon_onu_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_ONU,
        .map = &onu_map,
        .prepare = fill_ifindex,
        .check = onu_admits,
        .reserve = onu_reserve,
        .before_send = onu_before_send,
        .dumps = true,
        .follow = onu_follow,
        .give_back = onu_give_back,
        .failure = "set ONU error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_onu_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return ov_app_gpon_refuse_on_protecting_port(*static_cast<const ov_sOnuTable_attr_t*>(row),
                                                 "ov_onu_table_set_check_callback failed");
}

void ov_app_gpon_onu_init() {
    gpon_onu_appid = AssignAppId();
    const CallbackRegistration app = {"app_onu", gpon_onu_appid,
                                      "app_onu register onutable set call back error"};
    // Reports of the card write these two and concern nobody.
    const MIB_Flags_t columns = columns_but(column::sOnuTableOnuState, column::sOnuTableOnuActVersion);
    app.add(SONU, CALLBACK_SET, ov_onu_table_set_callback, columns);
    app.add(SONU, CALLBACK_CHECK, ov_onu_table_set_check_callback, columns);
}

// ---- doors -----------------------------------------------------------------------------------------------

bool ov_app_gpon_onu_is_named_by_place(const ov_sOnuTable_attr_t& onu) {
    return text_in(onu.sOnuTableOnuName) == default_name_of(onu).data();
}

void ov_app_gpon_onu_name_by_place(ov_sOnuTable_attr_t& onu) {
    set_text(onu.sOnuTableOnuName, default_name_of(onu).data());
}

int ov_app_gpon_onu_add(ov_sOnuTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check) {
    if (!attr || !flag)
        return bad_param("null pointer");
    if (attr->onuId > OV_GPON_ONU_ID_MAX) {
        ov_refusal_because("ONU numbers are 1 to %d", OV_GPON_ONU_ID_MAX);
        return bad_param("wrong onuId or wrong onuTypeName");
    }
    if (is_template_onu(*attr)) {
        if (ov_app_gpon_onu_srvprofile_check(attr->sOnuTableSrvProfileId,
                                             attr->sOnuTableOnuTypeProfileName) != 1) {
            ov_refusal_because("no service profile %d", static_cast<int>(attr->sOnuTableSrvProfileId));
            return bad_param("the onu srv profile did not exist");
        }
        mib_flag_set(*flag, column::sOnuTableOnuTypeProfileName);
    }
    if (ov_app_gpon_onutype_getId(attr->sOnuTableOnuTypeProfileName, &attr->sOnuTableOnuTypeProfileId) != 1) {
        ov_refusal_because("no ONU type \"%s\"", attr->sOnuTableOnuTypeProfileName);
        return bad_param("the onutype profile did not exist");
    }
    complete_new_onu(*attr, *flag);
    if (!mib_access(is_need_check == 1 ? MIB_SET : MIB_SET_N, *attr, *flag, gpon_onu_appid))
        return bad_param("mib add error for onu table");
    return OV_GPON_RET_OK;
}

int ov_app_gpon_onu_edit(ov_sOnuTable_attr_t* attr, MIB_Flags_t* flag) {
    if (!attr || !flag)
        return bad_param("null pointer");
    if (mib_flag_is_set(*flag, column::sOnuTableAuthMode))
        if (const int refusal = check_new_auth(*attr, *flag); refusal != OV_GPON_RET_OK)
            return refusal;
    if (!mib_access(MIB_SET, *attr, *flag, gpon_onu_appid))
        return bad_param("mib set error for onu table");
    return OV_GPON_RET_OK;
}

int ov_app_gpon_onu_del(ov_sOnuTable_attr_t* attr) {
    if (!attr)
        return bad_param("null pointer");
    if (!mib_access(MIB_DEL, *attr, mibDefFlags, gpon_onu_appid))
        return bad_param("mib del error for onu table");
    return OV_GPON_RET_OK;
}
