// Service profiles: sOnuSrvProfileTable, a named set of rows that many ONUs share. The rows of a profile
// stand in the ordinary tables under slot 31, port 15, the profile's id for the ONU (app_key.h): ids are 1 to
// ov_gpon_max_srvpofile_num().
#pragma once

#include "mmg_access.h"
#include "sOnuSrvProfileTable.h"

extern int gpon_onu_srvprofile_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_service_pofile_init();

// Adds a profile; its ONU type is required. 0; OV_GPON_RET_BAD_PARAM; OV_GPON_RET_FAIL when it is refused.
int ov_app_gpon_onu_srvprofile_add(ov_sOnuSrvProfileTable_attr_t* attr, MIB_Flags_t* flag);
// Removes a profile with its rows. 0; OV_GPON_RET_BUSY while it is in use; OV_GPON_RET_FAIL.
int ov_gpon_onu_service_profile_del(mib_ulong profileId);
// Is the id taken? `existFlag` 1 or 0; OV_GPON_RET_EXISTED when it is by a profile of another ONU type, else
// 0.
int ov_gpon_onu_srv_profile_exist_check(ov_sOnuSrvProfileTable_attr_t* onuSrvProfileMib, int* existFlag);
// 1 and the profile's ONU type when it exists, else 0. `onuTypeName` has room for 34 bytes, or is null.
char ov_app_gpon_onu_srvprofile_check(mib_ulong onuSrvProfileId, char* onuTypeName);
// One more ONU (enable 1) or one fewer is bound to the profile. 1, or 0 behind a log line.
char ov_app_gpon_onu_srvprofile_bindCount(mib_ulong onuSrvProfileId, int enable);
// 1 when a profile names this ONU type, else 0.
char ov_app_gpon_onusrv_bind_onutype_check(const char* onuTypeProfile);
// 1 when a PON port or an ONU has the profile, else 0.
char ov_gpon_onu_service_profile_inuse(mib_ulong profileId);
// The id of a name; 1 when there is such a profile, else 0.
char ov_app_gpon_onusrvprofile_getId(const char* name, mib_ulong* id);
// Renames a profile. 0 or OV_GPON_RET_BAD_PARAM.
int ov_app_gpon_onusrvprofile_setname(mib_ulong id, const char* name);

int ov_gpon_onu_srvpofile_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
