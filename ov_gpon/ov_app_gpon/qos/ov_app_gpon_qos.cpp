#include "ov_app_gpon_qos.h"

#include "app_set_callback.h"
#include "kavo_if.h"
#include "ov_app_gpon_qos_pair.h"
#include "ov_ifindex.h"
#include "ov_product.h"
#include "ov_util_ini_cfg.h"
#include "qos_kinds.h"
#include "qos_port.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"

int ov_gpon_qos_appid = 0;
int g_gpon_qos_debug_flag = 0;
int g_qos_pon_simple_mode_enable = 1;
int g_qos_pon_def_mode_value = OV_QOS_SCHED_SIMPLE;

namespace {

void read_product_file() {
    const char* file = ov_product_pdt_ini_file();
    g_qos_pon_simple_mode_enable = ov_util_ini_cfg_get_int(file, "CPMU", "qos_pon_simple_mode_enable", 1);
    g_qos_pon_def_mode_value =
        ov_util_ini_cfg_get_int(file, "CPMU", "qos_pon_def_mode_value", OV_QOS_SCHED_SIMPLE);
}

// A profile's callback behind its defaults: they aren't rows of a manager.
void register_callbacks() {
    const CallbackRegistration app = {"ov_app_gpon_qos", ov_gpon_qos_appid,
                                      "ov_app_gpon_qos register set call back error"};
    const auto on = [&app](int table, MIB_callback_ptr callback, const MIB_Flags_t& columns = mibDefFlags) {
        app.add(table, CALLBACK_SET, callback, columns);
    };
    on(SONUQOS, ov_onu_qos_table_set_callback);
    on(SONU, ov_app_gpon_onu_qos_on_onu_table_callback, columns_of(sOnuTable_column::sOnuTableRowStatus));
    on(SONUSRVPROFILE, ov_onu_qos_onu_srvprofile_set_callback,
       columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
    on(SPORTQOS, ov_port_qos_table_set_callback);
    on(SPONPORTQOS, ov_pon_port_qos_table_set_callback);
    qos_sched_profile_add_default();
    on(SQOSSCHEDULERPROFILE, ov_qos_scheduler_profile_table_set_callback);
    qos_cosq_map_profile_add_defaults();
    on(SCOSQUEUEMAPPINGPROFILE, ov_cos_queue_mapping_profile_table_set_callback);
    qos_traffic_profile_add_default();
    on(SQOSTRAFFICPROFILE, ov_qos_traffic_profile_table_set_callback);
    qos_cos_to_cos_profile_add_default();
    on(SQOSCOSTOCOSPROFILE, ov_cos_to_cos_profile_table_set_callback);
}

// An uplink port whose kind isn't known yet gets its object when it appears.
void adopt_rows() {
    qos_sched_profile_adopt_rows();
    qos_cosq_map_profile_adopt_rows();
    qos_traffic_profile_adopt_rows();
    qos_cos_to_cos_profile_adopt_rows();
    for (const ov_portQosTable_attr_t& row : all_rows<ov_portQosTable_attr_t>())
        if (const uif_t* uif = uif_get_uplink_port_by_phy_info(static_cast<uint8_t>(row.shelfID),
                                                               static_cast<uint8_t>(row.slotID),
                                                               static_cast<uint16_t>(row.portID)))
            qos_port_adopt(uif->ifindex);
    for (const ov_ponPortQosTable_attr_t& row : all_rows<ov_ponPortQosTable_attr_t>())
        qos_port_adopt(port_ifindex_of(row));
    for (const ov_onuQosTable_attr_t& row : all_rows<ov_onuQosTable_attr_t>())
        qos_onu_adopt(onu_ifindex_of(row));
}

} // namespace

void ov_app_gpon_qos_init() {
    read_product_file();
    ov_gpon_qos_appid = AssignAppId();
    register_callbacks();
    ov_app_gpon_qos_pair_init();
    adopt_rows();
    ov_app_service_port_qos_init();
}
