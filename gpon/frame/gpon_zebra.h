// What the controller's interface events mean to the GPON service. Handlers for the control client's
// callback slots: each gives 0, and what it can't do it logs. Event loop's thread only.
#pragma once

#include "kavo_msg.h"

// if_new: enters a GE, XE or PON port into the interface list and makes its rows and its QoS object.
// ONUs are made by the daemon itself, so their events are dropped.
int gpon_new_if(umsg_if_t* msg);
// if_del: takes an uplink port's performance row away. A PON port keeps its row.
int gpon_del_if(umsg_if_t* msg);
// if_admin: carries a PON port's administrative state to its row; down takes its ONUs out of service.
int gpon_admin_if(umsg_if_t* msg);
// if_status: carries a PON port's operational state to its row.
int gpon_status_if(umsg_if_t* msg);

// Stand ready for later use and do nothing.
int gpon_del_vlan(umsg_vlan_t* msg);
int gpon_http_parse(struct msg* msg);
