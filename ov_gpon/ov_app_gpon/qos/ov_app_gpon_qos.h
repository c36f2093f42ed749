// QoS: profiles of four kinds, and what names them: ports, PON ports, ONUs and service ports. An object lives
// twice: as a record of the application, which is the working copy, and as a row (or columns of one).
//
// Main loop only. Functions answer OV_QOS_RET.
#pragma once

#include "ov_app_gpon_onu_qos.h"
#include "ov_app_gpon_port_qos.h"
#include "ov_app_gpon_qos_codes.h"
#include "ov_app_gpon_qos_profile.h"
#include "ov_app_gpon_service_port_qos.h"

// Start-up, in its place of the list, when the tables are loaded: the default profiles, the callbacks, and an
// object for each row that has none.
void ov_app_gpon_qos_init();

extern int ov_gpon_qos_appid;

// Gates the debug lines of the QoS modules.
extern int g_gpon_qos_debug_flag;

// Of the product file, section CPMU: whether PON ports can do simple scheduling (qos_pon_simple_mode_enable),
// and the model that they start with (qos_pon_def_mode_value, ov_qos_sched_model_e). Both 1 unless stated.
extern int g_qos_pon_simple_mode_enable;
extern int g_qos_pon_def_mode_value;
