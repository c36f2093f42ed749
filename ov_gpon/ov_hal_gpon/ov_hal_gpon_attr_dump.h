// The dumps of the records that application modules log before they send them: each writes every field to the
// debug log, one line for each; a null record is passed over.
#pragma once

#include "ov_hal_gpon_records.h"

void ov_gpon_port_attr_dump(const ov_gpon_port_attr_t* attr);
void ov_gpon_onu_attr_dump(const ov_gpon_onu_attr_t* attr);
void ov_gpon_onutype_attr_dump(const ov_gpon_onutype_attr_t* attr);
void ov_gpon_bwprofile_attr_dump(const ov_gpon_bwprofile_attr_t* attr);
void ov_gpon_tcont_attr_dump(const ov_gpon_tcont_attr_t* attr);
void ov_gpon_gemport_attr_dump(const ov_gpon_gemport_attr_t* attr);
void ov_gpon_servport_attr_dump(const ov_gpon_service_port_attr_t* attr);
void ov_gpon_rmflow_attr_dump(const ov_gpon_rmflow_attr_t* attr);
void ov_gpon_rmflow_vlan_attr_dump(const ov_gpon_rmflow_vlan_attr_t* attr);
void ov_gpon_rmuni_vlan_attr_dump(const ov_gpon_rmuni_vlan_attr_t* attr);
void ov_gpon_rmuni_attr_dump(const ov_gpon_rmuni_attr_t* attr);
void ov_gpon_rmservice_attr_dump(const ov_gpon_rmservice_attr_t* attr);
void ov_gpon_rmuni_mcast_attr_dump(const ov_gpon_rmuni_mcast_attr_t* attr);
