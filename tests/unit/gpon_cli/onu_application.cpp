// The application's part: the linker takes these functions instead of the library's. Rows are stored as the
// application would, with no card to ask.
#include "onu_fixture.h"

#include <string_view>

#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_rm_traffic.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"

OnuApplication onu_app;

namespace {

template <typename Row>
int store(int operation, Row& row, const MIB_Flags_t& flags, int answer) {
    if (answer != 0)
        return answer;
    return mib_access(operation, row, flags) ? 0 : OV_GPON_RET_BAD_PARAM;
}

template <typename Row>
int create(Row& row, int32_t& status, unsigned status_column, MIB_Flags_t flags, int answer) {
    status = OVRA_CREATEANDGO;
    mib_flag_set(flags, status_column);
    return store(MIB_SET, row, flags, answer);
}

} // namespace

int ov_app_gpon_onu_add(ov_sOnuTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check) {
    const int answer = app.called(is_need_check == 1 ? "onu_add" : "onu_add without checks", flag);
    onu_app.onu = *attr;
    ov_sOnuTable_attr_t row = *attr;
    MIB_Flags_t flags = *flag;
    mib_flag_set(flags, sOnuTable_column::sOnuTableOnuName);
    snprintf(row.sOnuTableOnuName, sizeof(row.sOnuTableOnuName), "gpon-onu%d/%d:%d", row.slotID, row.portID,
             row.onuId);
    return create(row, row.sOnuTableRowStatus, sOnuTable_column::sOnuTableRowStatus, flags, answer);
}
int ov_app_gpon_onu_edit(ov_sOnuTable_attr_t* attr, MIB_Flags_t* flag) {
    onu_app.onu = *attr;
    return store(MIB_SET, *attr, *flag, app.called("onu_edit", flag));
}
int ov_app_gpon_onu_del(ov_sOnuTable_attr_t* attr) {
    onu_app.onu = *attr;
    return store(MIB_DEL, *attr, mibDefFlags, app.called("onu_del"));
}

int ov_app_gpon_tcont_add(ov_sTcontTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check) {
    onu_app.tcont = *attr;
    const int answer = app.called(is_need_check == 1 ? "tcont_add" : "tcont_add without checks", flag);
    return create(*attr, attr->sTcontTableRowStatus, sTcontTable_column::sTcontTableRowStatus, *flag, answer);
}
int ov_app_gpon_tcont_del(ov_sTcontTable_attr_t* attr) {
    onu_app.tcont = *attr;
    return store(MIB_DEL, *attr, mibDefFlags, app.called("tcont_del"));
}

int ov_app_gpon_gemport_add(ov_sGemTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check) {
    onu_app.gem = *attr;
    const int answer = app.called(is_need_check == 1 ? "gemport_add" : "gemport_add without checks", flag);
    return create(*attr, attr->sGemTableRowStatus, sGemTable_column::sGemTableRowStatus, *flag, answer);
}
int ov_app_gpon_gemport_edit(ov_sGemTable_attr_t* attr, MIB_Flags_t* flag) {
    onu_app.gem = *attr;
    return store(MIB_SET, *attr, *flag, app.called("gemport_edit", flag));
}
int ov_app_gpon_gemport_del(ov_sGemTable_attr_t* attr) {
    onu_app.gem = *attr;
    return store(MIB_DEL, *attr, mibDefFlags, app.called("gemport_del"));
}

int ov_app_gpon_service_port_add(ov_servicePortTable_attr_t* row, MIB_Flags_t column_flag) {
    onu_app.service_port = *row;
    return create(*row, row->servicePortRowStatus, servicePortTable_column::servicePortRowStatus, column_flag,
                  app.called("service_port_add", &column_flag));
}
int ov_app_gpon_service_port_edit(ov_servicePortTable_attr_t* row, MIB_Flags_t column_flag) {
    onu_app.service_port = *row;
    return store(MIB_SET, *row, column_flag, app.called("service_port_edit", &column_flag));
}
int ov_app_gpon_service_port_del(ov_servicePortTable_attr_t* row) {
    onu_app.service_port = *row;
    return store(MIB_DEL, *row, mibDefFlags, app.called("service_port_del"));
}

char ov_app_gpon_rm_traffic_getId(const char* name, mib_ulong* id) {
    for (const auto& row : all_rows<ov_sRmTrafficProfileTable_attr_t>())
        if (std::string_view(name) == row.sRmTrafficProfileName) {
            *id = row.sRmTrafficProfileId;
            return 1;
        }
    return 0;
}
