#include <string_view>

#include "app_onu_ports.h"
#include "app_text.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_rminfo.h"

namespace {

using Info = ov_sRmInfoTable_attr_t;

bool is_wanted(const Info& info, std::string_view version, std::string_view equipment) {
    const ov_sOnuTable_attr_t* onu = ov_app_gpon_onu_of(info);
    return onu != nullptr && onu->sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL &&
           info.sRmInfoTableEqptID[0] != '\0' && text_in(info.sRmInfoTableEqptID) == equipment &&
           text_in(onu->sOnuTableOnuActVersion) != version;
}

} // namespace

int ov_app_gpon_rminfo_get_onu_update_list(const char* version, const char* eqptID,
                                           ovralist_t* update_port_list) {
    OnuPorts ports;
    for (const Info& info : all_rows<Info>())
        if (is_wanted(info, version, eqptID))
            ports.add(info);
    return ports.append_to(update_port_list);
}

void ov_app_gpon_rminfo_release_onu_update_list(ovralist_t* list) {
    ovralist_clear(list);
}
