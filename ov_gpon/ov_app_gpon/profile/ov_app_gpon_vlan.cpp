#include "ov_app_gpon_vlan.h"

#include "app_restore_line.h"

#include "app_set_callback.h"

int gpon_mcast_vlan_appid = 0;

namespace {

namespace column = sMcastVlanTable_column;
using Row = ov_sMcastVlanTable_attr_t;
using Record = ov_gpon_mcast_vlan_attr_t;
constexpr MapLine MCAST_VLAN_LINES[] = {
    MAP(multicastID, id, OV_GPON_MCAST_VLAN_ATTR_INDEX_id),
    MAP(sMcastVlanTableMulticasVlanID, vlan, OV_GPON_MCAST_VLAN_ATTR_INDEX_vlan),
    MAP(sMcastVlanTableMulticasMacAdd, mac, OV_GPON_MCAST_VLAN_ATTR_INDEX_macac),
    MAP(sMcastVlanTableRouterPortIndex, routerIf, OV_GPON_MCAST_VLAN_ATTR_INDEX_routerIf),
};

} // namespace

constinit const MessageMap<ov_sMcastVlanTable_attr_t, ov_gpon_mcast_vlan_attr_t>
    mcast_vlan_map(MCAST_VLAN_LINES, {.last = column::sMcastVlanTableOnuIndexList,
                                      .no_attribute = OV_GPON_MCAST_VLAN_ATTR_INDEX_MAX});
RESTORE(mcast_vlan, SMCASTVLAN, OV_HAL_MSG_GPON_MCAST, mcast_vlan_map, CREATED)

void ov_app_gpon_mcast_vlan_init() {
    gpon_mcast_vlan_appid = AssignAppId();
    const CallbackRegistration registration = {"app_mcast_vlan", gpon_mcast_vlan_appid,
                                               "mcast vlan: register callback failed"};
    registration.add(SMCASTVLAN, CALLBACK_SET, ov_mcast_vlan_table_set_callback, mibDefFlags);
}

void smcastvlan_mib_data_convert_to_hal(ov_sMcastVlanTable_attr_t* mib, ov_gpon_mcast_vlan_attr_t* hal,
                                        const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    mcast_vlan_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

int ov_mcast_vlan_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<ov_sMcastVlanTable_attr_t, ov_gpon_mcast_vlan_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_MCAST,
        .map = &mcast_vlan_map,
        .failure = "set vlan to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}
