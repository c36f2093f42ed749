// What the interface events of the system controller mean to ports: what a port that appears brings along,
// and what a change of its state writes. Ports are PON ports and the uplinks GE and XE. What can't be done is
// logged. Main loop only.
#pragma once

#include "kavo_msg.h"
#include "ov_types.h"

// A port appears: it is entered into the interface list and gets its rows (of uplinks the performance row, of
// PON ports their own) and its QoS object. Rows that stand already, loaded from their files, stay as they
// are. The ONUs of a PON port's rows become known as interfaces. Other kinds are dropped, ONUs among them:
// those are made here and not by the controller.
void ov_app_gpon_port_appeared(const umsg_if_t& event);

// A port goes: an uplink loses its performance row, a PON port keeps its row.
void ov_app_gpon_port_gone(const umsg_if_t& event);

// The administrative or the operational state of a PON port, carried to its row; other kinds are left alone.
// `handler` names the one who asks in the log line about a port that nobody knows. `take_onus_out` takes the
// ONUs of a port that goes down out of service.
void ov_app_gpon_port_admin_changed(const umsg_if_t& event, const char* handler,
                                    void (*take_onus_out)(ov_ifindex_t port));
void ov_app_gpon_port_status_changed(const umsg_if_t& event, const char* handler);
