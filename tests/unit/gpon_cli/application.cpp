// The application's part: the linker takes these functions instead of the library's.
#include "cli_fixture.h"

#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_rm_traffic.h"
#include "ov_app_gpon_srvprofile.h"

Application app;

int ov_app_gpon_port_edit(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag) {
    app.port = *attr;
    return app.called("port_edit", flag);
}
int ov_app_gpon_bwtype_add(ov_sBWProfileTable_attr_t* attr, MIB_Flags_t* flag) {
    app.bandwidth = *attr;
    return app.called("bwtype_add", flag);
}
int ov_app_gpon_bwtype_del(ov_sBWProfileTable_attr_t* attr) {
    app.bandwidth = *attr;
    return app.called("bwtype_del");
}
int ov_app_gpon_onutype_add(ov_sOnuTypeProfileTable_attr_t* attr, MIB_Flags_t* flag) {
    app.onutype = *attr;
    return app.called("onutype_add", flag);
}
int ov_app_gpon_onutype_del(ov_sOnuTypeProfileTable_attr_t* attr) {
    app.onutype = *attr;
    return app.called("onutype_del");
}
int ov_app_gpon_rm_traffic_add(ov_sRmTrafficProfileTable_attr_t* attr, MIB_Flags_t* flag) {
    app.traffic = *attr;
    return app.called("traffic_add", flag);
}
int ov_app_gpon_rm_traffic_del(ov_sRmTrafficProfileTable_attr_t* attr) {
    app.traffic = *attr;
    return app.called("traffic_del");
}
// There is one ONU type.
char ov_app_gpon_onutype_getId(const char* name, mib_ulong* id) {
    *id = 7;
    return strcmp(name, "KLM-618") == 0 ? 1 : 0;
}

int ov_app_gpon_onu_srvprofile_add(ov_sOnuSrvProfileTable_attr_t* attr, MIB_Flags_t* flag) {
    app.srvprofile = *attr;
    return app.called("srvprofile_add", flag);
}
int ov_gpon_onu_service_profile_del(mib_ulong id) {
    app.srvprofile.onuSrvProfileId = id;
    return app.called("srvprofile_del");
}
int ov_app_gpon_onusrvprofile_setname(mib_ulong id, const char* name) {
    app.srvprofile.onuSrvProfileId = id;
    snprintf(app.srvprofile.onuSrvProfileName, sizeof(app.srvprofile.onuSrvProfileName), "%s", name);
    return app.called("srvprofile_setname");
}
// These look at the rows that a test made.
int ov_gpon_onu_srv_profile_exist_check(ov_sOnuSrvProfileTable_attr_t* profile, int* exists) {
    const auto* row = find_row(*profile);
    *exists = row != nullptr ? 1 : 0;
    return row == nullptr || strcmp(row->sOnuTypeProfileName, profile->sOnuTypeProfileName) == 0
               ? OV_GPON_RET_OK
               : OV_GPON_RET_EXISTED;
}
char ov_app_gpon_onu_srvprofile_check(mib_ulong id, char* /*type*/) {
    ov_sOnuSrvProfileTable_attr_t key = {};
    key.onuSrvProfileId = id;
    return find_row(key) != nullptr ? 1 : 0;
}
char ov_app_gpon_onusrvprofile_getId(const char* name, mib_ulong* id) {
    for (const auto& row : all_rows<ov_sOnuSrvProfileTable_attr_t>()) {
        if (strcmp(row.onuSrvProfileName, name) != 0)
            continue;
        *id = row.onuSrvProfileId;
        return 1;
    }
    return 0;
}
