// The fixed flow of a learnt ONU: one service of its own, without any service profile.
#include "ov_app_gpon_autolearn_flow.h"

#include "app_columns.h"
#include "app_rows.h"
#include "app_text.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"

namespace {

constexpr int UNIS = 4;

int result_of(int door) {
    return door == OV_GPON_RET_OK ? OV_GPON_RET_OK : OV_GPON_RET_FAIL;
}

} // namespace

int ov_app_gpon_tcont_autolearn_add(ov_ifindex_t onu_ifindex) {
    auto tcont = onu_key_of_ifindex<ov_sTcontTable_attr_t>(onu_ifindex);
    tcont.tcontId = 1;
    set_text(tcont.sTcontTableBwProfileName, "default");
    MIB_Flags_t columns = columns_of(sTcontTable_column::sTcontTableBwProfileName);
    return result_of(ov_app_gpon_tcont_add(&tcont, &columns, 1));
}

int ov_app_gpon_gem_autolearn_add(ov_ifindex_t onu_ifindex) {
    auto gem = onu_key_of_ifindex<ov_sGemTable_attr_t>(onu_ifindex);
    gem.gemID = 1;
    gem.sGemTableTcontID = 1;
    MIB_Flags_t columns = columns_of(sGemTable_column::sGemTableTcontID);
    return result_of(ov_app_gpon_gemport_add(&gem, &columns, 1));
}

int ov_app_gpon_service_autolearn_add(ov_ifindex_t onu_ifindex) {
    auto service = onu_key_of_ifindex<ov_servicePortTable_attr_t>(onu_ifindex);
    service.servicePortId = 1;
    service.servicePortGemId = 1;
    service.servicePortVlanAction = SERVICEPORTVLANACTION_ALLTRANSPARENT;
    const MIB_Flags_t columns =
        columns_of(servicePortTable_column::servicePortGemId, servicePortTable_column::servicePortVlanAction);
    return result_of(ov_app_gpon_service_port_add(&service, columns));
}

int ov_app_gpon_rm_service_autolearn_add(ov_ifindex_t onu_ifindex) {
    auto service = onu_key_of_ifindex<ov_sRmServiceTable_attr_t>(onu_ifindex);
    service.rmServiceID = 1;
    service.sRmServiceTableGemId = 1;
    service.sRmServiceTableRmServiceType = SRMSERVICETABLERMSERVICETYPE_TRANSPARNT;
    MIB_Flags_t columns = columns_of(sRmServiceTable_column::sRmServiceTableGemId,
                                     sRmServiceTable_column::sRmServiceTableRmServiceType);
    return result_of(ov_app_gpon_rmservice_add(&service, &columns));
}

int ov_app_gpon_uni_vlan_autolearn_set(ov_ifindex_t onu_ifindex) {
    for (int port = 1; port <= UNIS; ++port) {
        auto vlan = onu_key_of_ifindex<ov_sRmUniVlanTable_attr_t>(onu_ifindex);
        vlan.onuCardID = 1;
        vlan.onuPortType = OV_UNI_ETH;
        vlan.onuPortID = static_cast<mib_ulong>(port);
        vlan.sRmUniVlanTableVlanMode = SRMUNIVLANTABLEVLANMODE_TRANSPARENT;
        MIB_Flags_t columns = columns_of(sRmUniVlanTable_column::sRmUniVlanTableVlanMode);
        if (ov_app_gpon_rmunivlan_edit(&vlan, &columns) != OV_GPON_RET_OK)
            return OV_GPON_RET_FAIL;
    }
    return OV_GPON_RET_OK;
}
