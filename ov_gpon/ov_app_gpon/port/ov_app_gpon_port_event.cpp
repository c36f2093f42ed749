#include "ov_app_gpon_port_event.h"

#include <cstring>

#include "app_rows.h"
#include "app_set_callback.h"
#include "kavo_if.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_uplink_pm_action.h"
#include "ov_ifindex.h"
#include "ov_product_log.h"
#include "sOnuTable.h"
#include "uclient.h"

namespace {

bool is_pon_port(ov_ifindex_t ifindex) {
    return ov_ifindex_get_port_type(ifindex) == PORT_TYPE_GPON;
}

bool is_uplink_port(ov_ifindex_t ifindex) {
    const uint16_t type = ov_ifindex_get_port_type(ifindex);
    return type == PORT_TYPE_GE || type == PORT_TYPE_XE;
}

// ---- what a port that appears brings along ----------------------------------------------------------------

void add_uplink_row(const uif_t& uif) {
    MIB_Flags_t flags = {};
    auto row = port_key_of_ifindex<ov_uplinkPmActTable_attr_t>(uif.ifindex);
    if (ov_app_uplink_pm_action_add(&row, &flags) != OV_GPON_RET_OK)
        OV_LOG_WARN("LIB", "add uplink pm action of %s failed", uif.name);
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

// After a restart the row may be there, loaded from its file: the refusal is logged, and nothing overwritten.
void add_pon_row(const uif_t& uif) {
    MIB_Flags_t flags = {};
    auto row = port_key_of_ifindex<ov_sPonTable_attr_t>(uif.ifindex);
    ov_app_gpon_port_add(&row, &flags); // logs a refusal itself
    enter_onus_of_port(row);
}

// A port that has appeared before has its object, and so has one whose row was loaded from its file.
void add_port_qos(const uif_t& uif) {
    if (ov_app_find_port_qos_by_ifindex(uif.ifindex) != nullptr)
        return;
    ov_app_port_qos_s* qos = ov_app_port_qos_new();
    if (!qos) {
        OV_LOG_ERROR("LIB", "new port qos of %s failed", uif.name);
        return;
    }
    ov_app_port_qos_edit_ifindex(qos, uif.ifindex);
    if (ov_app_port_qos_add(qos, SYNC_EVERY_COPY) == 0)
        return;
    ov_app_port_qos_destroy(qos);
    OV_LOG_ERROR("LIB", "add port qos of %s failed", uif.name);
}

// ---- what a state writes ----------------------------------------------------------------------------------

// The interface record of a PON port, brought up to date from the event; null for another kind of port and,
// logged, for one that nobody knows.
const uif_t* updated_pon_port(const umsg_if_t& event, const char* handler) {
    if (!is_pon_port(event.ifindex))
        return nullptr;
    const uif_t* uif = uclient_if_status(&event);
    if (!uif)
        OV_LOG_ERROR("LIB", "%s: unknonw interface: %s", handler, event.name);
    return uif;
}

void edit_port(ov_sPonTable_attr_t& row, unsigned column) {
    MIB_Flags_t flags = columns_of(column);
    ov_app_gpon_port_edit(&row, &flags);
}

} // namespace

void ov_app_gpon_port_appeared(const umsg_if_t& event) {
    const bool is_uplink = is_uplink_port(event.ifindex);
    if (!is_uplink && !is_pon_port(event.ifindex))
        return;
    const uif_t* uif = uclient_new_if(&event);
    if (!uif)
        return;
    is_uplink ? add_uplink_row(*uif) : add_pon_row(*uif);
    add_port_qos(*uif);
}

void ov_app_gpon_port_gone(const umsg_if_t& event) {
    const bool is_uplink = is_uplink_port(event.ifindex);
    if (!is_uplink && !is_pon_port(event.ifindex))
        return;
    if (is_uplink) {
        auto row = port_key_of_ifindex<ov_uplinkPmActTable_attr_t>(event.ifindex);
        if (ov_app_uplink_pm_action_del(&row) != OV_GPON_RET_OK)
            OV_LOG_ERROR("LIB", "del uplink pm action of %s failed", event.name);
    }
    OV_LOG_NOTICE("LIB", "del interface %s", event.name);
}

void ov_app_gpon_port_admin_changed(const umsg_if_t& event, const char* handler,
                                    void (*take_onus_out)(ov_ifindex_t port)) {
    const uif_t* uif = updated_pon_port(event, handler);
    if (!uif)
        return;
    const bool is_up = uif_is_up(uif);
    OV_LOG_NOTICE("LIB", "%s admin %s", uif->name, is_up ? "up" : "down");
    if (!is_up)
        take_onus_out(uif->ifindex);
    auto row = port_key_of_ifindex<ov_sPonTable_attr_t>(event.ifindex);
    row.sPonTableAdminState = is_up ? SPONTABLEADMINSTATE_ENABLED : SPONTABLEADMINSTATE_DISABLED;
    edit_port(row, sPonTable_column::sPonTableAdminState);
}

void ov_app_gpon_port_status_changed(const umsg_if_t& event, const char* handler) {
    const uif_t* uif = updated_pon_port(event, handler);
    if (!uif)
        return;
    const bool runs = uif_is_running(uif);
    OV_LOG_NOTICE("LIB", "%s operation %s", uif->name, runs ? "up" : "down");
    auto row = port_key_of_ifindex<ov_sPonTable_attr_t>(event.ifindex);
    row.sPonTableOperationalState =
        runs ? SPONTABLEOPERATIONALSTATE_GREENONOP : SPONTABLEOPERATIONALSTATE_LEDOFF;
    edit_port(row, sPonTable_column::sPonTableOperationalState);
}
