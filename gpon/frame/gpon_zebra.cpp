#include "gpon_zebra.h"

#include <cstring>

#include "kavo_if.h"
#include "ov_app_gpon_config_restore.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_uplink_pm_action.h"
#include "ov_ifindex.h"
#include "ov_product_log.h"
#include "uclient.h"

namespace {

MIB_Flags_t column_mask(unsigned column) {
    MIB_Flags_t flags = {};
    mib_flag_set(flags, column);
    return flags;
}

bool is_uplink_port(uint16_t port_type) {
    return port_type == PORT_TYPE_GE || port_type == PORT_TYPE_XE;
}

// Interface records for the ONUs of a port: rows that were loaded from a file have passed no callback that
// would have made them. The controller knows these interfaces.
void enter_onus_of_port(const ov_sPonTable_attr_t& port) {
    for (const auto& onu : rows_under(port_key<ov_sOnuTable_attr_t>(port), INDEX_TO_PORT)) {
        umsg_if_t record = {};
        record.ifindex = onu_ifindex_of(onu);
        std::memcpy(record.onu_sn, onu.sOnuTableSn, strnlen(onu.sOnuTableSn, sizeof record.onu_sn - 1));
        uclient_new_if(&record);
    }
}

// The rows that a new port gets. After a restart they may exist, loaded from their files: the refusal is
// logged and nothing is overwritten.
void add_port_rows(const uif_t* uif, uint16_t port_type) {
    MIB_Flags_t flags = {};
    switch (port_type) {
    case PORT_TYPE_GE:
    case PORT_TYPE_XE: {
        auto row = port_key_of_ifindex<ov_uplinkPmActTable_attr_t>(uif->ifindex);
        if (ov_app_uplink_pm_action_add(&row, &flags) != OV_GPON_RET_OK)
            OV_LOG_WARN("LIB", "add uplink pm action of %s failed", uif->name);
        break;
    }
    case PORT_TYPE_GPON: {
        auto row = port_key_of_ifindex<ov_sPonTable_attr_t>(uif->ifindex);
        ov_app_gpon_port_add(&row, &flags); // logs a refusal itself
        enter_onus_of_port(row);
        break;
    }
    default:
        OV_LOG_NOTICE("LIB", "new interface %s of type %d", uif->name, port_type);
        break;
    }
}

void add_port_qos(const uif_t* uif) {
    ov_app_port_qos_s* qos = ov_app_port_qos_new();
    if (!qos) {
        OV_LOG_ERROR("LIB", "new port qos of %s failed", uif->name);
        return;
    }
    ov_app_port_qos_edit_ifindex(qos, uif->ifindex);
    if (ov_app_port_qos_add(qos, SYNC_EVERY_COPY) == 0)
        return;
    ov_app_port_qos_destroy(qos);
    OV_LOG_ERROR("LIB", "add port qos of %s failed", uif->name);
}

// The interface record of a PON port event, brought up to date; null, logged, for an unknown port.
const uif_t* updated_port(const umsg_if_t* msg, const char* func) {
    const uif_t* uif = uclient_if_status(msg);
    if (!uif)
        OV_LOG_ERROR("LIB", "%s: unknonw interface: %s", func, msg->name);
    return uif;
}

// Each sets the column of a state event in the row and gives its number.
unsigned fill_admin_state(const uif_t* uif, ov_sPonTable_attr_t& row) {
    if (uif_is_up(uif)) {
        row.sPonTableAdminState = SPONTABLEADMINSTATE_ENABLED;
        OV_LOG_NOTICE("LIB", "%s admin up", uif->name);
    } else {
        row.sPonTableAdminState = SPONTABLEADMINSTATE_DISABLED;
        OV_LOG_NOTICE("LIB", "%s admin down", uif->name);
        ov_app_gpon_pon_shutdown_deactive_onu(uif->ifindex);
    }
    return sPonTable_column::sPonTableAdminState;
}

unsigned fill_operational_state(const uif_t* uif, ov_sPonTable_attr_t& row) {
    if (uif_is_running(uif)) {
        row.sPonTableOperationalState = SPONTABLEOPERATIONALSTATE_GREENONOP;
        OV_LOG_NOTICE("LIB", "%s operation up", uif->name);
    } else {
        row.sPonTableOperationalState = SPONTABLEOPERATIONALSTATE_LEDOFF;
        OV_LOG_NOTICE("LIB", "%s operation down", uif->name);
    }
    return sPonTable_column::sPonTableOperationalState;
}

// Brings the record of a PON port up to date from the event and writes one column of its row; ports of other
// kinds and unknown ones are left alone.
int edit_port_state(umsg_if_t* msg, const char* func, unsigned (*fill)(const uif_t*, ov_sPonTable_attr_t&)) {
    if (ov_ifindex_get_port_type(msg->ifindex) != PORT_TYPE_GPON)
        return 0;
    auto row = port_key_of_ifindex<ov_sPonTable_attr_t>(msg->ifindex);
    const uif_t* uif = updated_port(msg, func);
    if (!uif)
        return 0;
    MIB_Flags_t flags = column_mask(fill(uif, row));
    ov_app_gpon_port_edit(&row, &flags);
    return 0;
}

} // namespace

int gpon_new_if(umsg_if_t* msg) {
    const uint16_t port_type = ov_ifindex_get_port_type(msg->ifindex);
    if (!is_uplink_port(port_type) && port_type != PORT_TYPE_GPON)
        return 0;
    const uif_t* uif = uclient_new_if(msg);
    if (!uif)
        return 0;
    add_port_rows(uif, port_type);
    add_port_qos(uif);
    return 0;
}

int gpon_del_if(umsg_if_t* msg) {
    const uint16_t port_type = ov_ifindex_get_port_type(msg->ifindex);
    if (!is_uplink_port(port_type) && port_type != PORT_TYPE_GPON)
        return 0;
    if (is_uplink_port(port_type)) {
        auto row = port_key_of_ifindex<ov_uplinkPmActTable_attr_t>(msg->ifindex);
        if (ov_app_uplink_pm_action_del(&row) != OV_GPON_RET_OK)
            OV_LOG_ERROR("LIB", "del uplink pm action of %s failed", msg->name);
    }
    OV_LOG_NOTICE("LIB", "del interface %s", msg->name);
    return 0;
}

int gpon_admin_if(umsg_if_t* msg) {
    return edit_port_state(msg, __func__, fill_admin_state);
}

int gpon_status_if(umsg_if_t* msg) {
    return edit_port_state(msg, __func__, fill_operational_state);
}

int gpon_del_vlan(umsg_vlan_t* /*msg*/) {
    return 0;
}

int gpon_http_parse(struct msg* /*msg*/) {
    return 0;
}
