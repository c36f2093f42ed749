// ONUs on the test chassis: profiles, rows and shorthands for the modules of ONUs.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "../../support/app_chassis.h"
#include "app_set_callback.h"
#include "app_text.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_pair.h"
#include "sBWProfileTable.h"
#include "sGemTable.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"
#include "sOnuTypeProfileTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

namespace onu_test {

using Onu = ov_sOnuTable_attr_t;
namespace onu_column = sOnuTable_column;

inline constexpr int PORT = 4;
inline constexpr int OTHER_PORT = 5;
inline constexpr int TYPE_ID = 77;
inline constexpr int PROFILE = 9;
inline constexpr int ONU_MESSAGE = 903;

inline void put_type(const AppChassis& chassis, const char* name = "HG-1", int id = TYPE_ID) {
    chassis.put_row<ov_sOnuTypeProfileTable_attr_t>(
        [name](auto& row) { set_text(row.onuTypeProfileName, name); }, id);
}
inline void put_bandwidth(const AppChassis& chassis, const char* name, int id, int fixed, int assured) {
    chassis.put_row<ov_sBWProfileTable_attr_t>(
        [&](auto& row) {
            set_text(row.sBWProfileTableBwProfileName, name);
            row.sBWProfileTableFixBw = fixed;
            row.sBWProfileTableAssBw = assured;
        },
        id);
}

inline Onu onu_at(int id, int port = PORT, int slot = AppChassis::SLOT) {
    Onu onu = {};
    onu.shelfID = GPON_SHELF;
    onu.slotID = slot;
    onu.portID = port;
    onu.onuId = id;
    return onu;
}
inline const Onu* stored_onu(int id, int port = PORT) {
    return find_row(onu_at(id, port));
}

// A request for an ONU, as commands make it.
struct Request {
    Onu row;
    MIB_Flags_t columns = {};

    explicit Request(int id, int port = PORT) : row(onu_at(id, port)) {}
    Request& mode(int value) {
        row.sOnuTableAuthMode = value;
        return with(onu_column::sOnuTableAuthMode);
    }
    Request& sn(const char* text) {
        set_text(row.sOnuTableSn, text);
        return with(onu_column::sOnuTableSn);
    }
    Request& pw(const char* text) {
        set_text(row.sOnuTablePw, text);
        return with(onu_column::sOnuTablePw);
    }
    Request& type(const char* text) {
        set_text(row.sOnuTableOnuTypeProfileName, text);
        return with(onu_column::sOnuTableOnuTypeProfileName);
    }
    Request& templet(int profile) {
        row.sOnuTableSrvProfileId = static_cast<mib_ulong>(profile);
        row.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
        with(onu_column::sOnuTableSrvProfileId);
        return with(onu_column::sOnuTableConfigMode);
    }
    Request& with(unsigned column) {
        mib_flag_set(columns, column);
        return *this;
    }
    int add(int is_need_check = 1) { return ov_app_gpon_onu_add(&row, &columns, is_need_check); }
    int edit() { return ov_app_gpon_onu_edit(&row, &columns); }
};

// An ordinary ONU of type "HG-1", authenticated by its serial number.
inline Request new_onu(int id, const char* sn, int port = PORT) {
    Request request(id, port);
    request.mode(OV_GPON_ONU_AUTH_MODE_SN).sn(sn).type("HG-1");
    return request;
}

// A stored ONU that nobody was told of.
template <typename Fill>
void put_onu(const AppChassis& chassis, Fill fill, int id, int port = PORT) {
    chassis.put_row<Onu>(
        [&](Onu& row) {
            row.sOnuTableIfIndex = onu_ifindex_of(row);
            set_text(row.sOnuTableOnuTypeProfileName, "HG-1");
            fill(row);
        },
        GPON_SHELF, AppChassis::SLOT, port, id);
}

inline ov_gpon_cnt_limit_t& counters() {
    return g_gponCntLimit[AppChassis::SLOT - 1];
}

// Two ports of the card as a protection group.
inline void make_group(int work, int protect, bool work_is_active) {
    const int slot = AppChassis::SLOT;
    ov_pon_protect_group_pon_status_init();
    ov_startup_gpon_config_sync_end_set(slot, 1);
    const auto index = [&](int port) {
        return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, GPON_SHELF, slot, 0, static_cast<uint16_t>(port), 0);
    };
    ov_pon_protect_group_pon_status_set(slot, work, OV_PON_PROTECT_PON_STATUS_WORKING);
    ov_pon_protect_group_pair_port_index_set(slot, work, index(protect));
    ov_pon_protect_group_pon_active_status_set(slot, work, work_is_active ? 1 : 0);
    ov_pon_protect_group_pon_status_set(slot, protect, OV_PON_PROTECT_PON_STATUS_PROTECTING);
    ov_pon_protect_group_pair_port_index_set(slot, protect, index(work));
    ov_pon_protect_group_pon_active_status_set(slot, protect, work_is_active ? 0 : 1);
}

} // namespace onu_test
