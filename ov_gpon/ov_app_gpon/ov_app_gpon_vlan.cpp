#include "ov_app_gpon_vlan.h"

#include <cstring>

#include "app_set_callback.h"

int gpon_mcast_vlan_appid = 0;

void ov_app_gpon_mcast_vlan_init() {
    gpon_mcast_vlan_appid = AssignAppId();
    const CallbackRegistration registration = {"app_mcast_vlan", gpon_mcast_vlan_appid,
                                               "mcast vlan: register callback failed"};
    registration.add(SMCASTVLAN, CALLBACK_SET, ov_mcast_vlan_table_set_callback, mibDefFlags);
}

void smcastvlan_mib_data_convert_to_hal(ov_sMcastVlanTable_attr_t* mib, ov_gpon_mcast_vlan_attr_t* hal,
                                        const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    static constexpr std::array<uint8_t, 7> smcastvlan_table_flag_map = {
        OV_GPON_MCAST_VLAN_ATTR_INDEX_MAX,  OV_GPON_MCAST_VLAN_ATTR_INDEX_id,
        OV_GPON_MCAST_VLAN_ATTR_INDEX_vlan, OV_GPON_MCAST_VLAN_ATTR_INDEX_macac,
        OV_GPON_MCAST_VLAN_ATTR_INDEX_MAX,  OV_GPON_MCAST_VLAN_ATTR_INDEX_routerIf,
        OV_GPON_MCAST_VLAN_ATTR_INDEX_MAX,
    };
    *hal = {};
    hal->id = static_cast<uint16_t>(mib->multicastID);
    hal->vlan = static_cast<uint16_t>(mib->sMcastVlanTableMulticasVlanID);
    static_assert(sizeof hal->mac == sMcastVlanTable_limit::sMcastVlanTableMulticasMacAdd);
    std::memcpy(hal->mac, mib->sMcastVlanTableMulticasMacAdd, sizeof hal->mac);
    hal->routerIf = mib->sMcastVlanTableRouterPortIndex;
    *hal_flag = hal_mask_of_columns(mib_mask, smcastvlan_table_flag_map, 1, 6);
}

int ov_mcast_vlan_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<ov_sMcastVlanTable_attr_t, ov_gpon_mcast_vlan_attr_t> callback = {
        .message = OV_HAL_MSG_GPON_MCAST,
        .convert = smcastvlan_mib_data_convert_to_hal,
        .failure = "set vlan to hal error",
    };
    return run_set_callback(callback, did, row, column_flag);
}
