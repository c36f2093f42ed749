// QinQ rules as rows of smartQinqTable. For the module's own sources, and for those who register callbacks.
#pragma once

#include "ov_app_gpon_qinq.h"

// The application id of the module.
int getQinqAppid();
void setQinqAppid(int appid);

// Start-up: the table's side of the store and the callbacks.
void ov_app_gpon_qinq_mmg_init();

// Writes the row of a rule, or deletes it, past the table's set callback. 0; OV_GPON_RET_BAD_PARAM for an
// interface that is neither a PON port nor an ONU; OV_GPON_RET_EXISTED for a row with another service VLAN;
// OV_GPON_RET_FAIL when the table refused. A row that is so already passes.
int ov_app_gpon_qinq_mmg_add(const ov_gpon_qinq_attr_t& attr);
int ov_app_gpon_qinq_mmg_del(const ov_gpon_qinq_attr_t& attr);

// A row that is written becomes a rule, one that is deleted takes its rule along.
int ov_app_gpon_qinq_smarQinqTable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// Rows hold all that there is to read.
int ov_app_gpon_qinq_smarQinqTable_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
