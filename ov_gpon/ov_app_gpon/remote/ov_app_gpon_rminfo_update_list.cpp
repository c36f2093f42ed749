#include <algorithm>
#include <string_view>
#include <vector>

#include "app_rows.h"
#include "app_text.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_rminfo.h"
#include "ov_types.h"
#include "sOnuUpdateTable.h"

namespace {

using Info = ov_sRmInfoTable_attr_t;
using Port = ov_sOnuUpdateTable_attr_t;

bool is_wanted(const Info& info, std::string_view version, std::string_view equipment) {
    const ov_sOnuTable_attr_t* onu = ov_app_gpon_onu_of(info);
    return onu != nullptr && onu->sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL &&
           info.sRmInfoTableEqptID[0] != '\0' && text_in(info.sRmInfoTableEqptID) == equipment &&
           text_in(onu->sOnuTableOnuActVersion) != version;
}

// Rows of a port are one behind the other.
Port& port_of(std::vector<Port>& ports, const Info& info) {
    const Port key = port_key<Port>(info);
    if (ports.empty() || ports.back().slotID != key.slotID || ports.back().portID != key.portID)
        ports.push_back(key);
    return ports.back();
}

void mark(Port& port, mib_long onu) {
    const auto bit = static_cast<unsigned>(onu - 1);
    if (bit / 8 < sizeof port.sOnuUpdateOnuMask)
        port.sOnuUpdateOnuMask[bit / 8] |= static_cast<char>(1u << (bit & 7));
}

size_t size_of_port(const void* /*element*/) {
    return sizeof(Port);
}

} // namespace

int ov_app_gpon_rminfo_get_onu_update_list(const char* version, const char* eqptID,
                                           ovralist_t* update_port_list) {
    std::vector<Port> ports;
    int onus = 0;
    for (const Info& info : all_rows<Info>()) {
        if (!is_wanted(info, version, eqptID))
            continue;
        mark(port_of(ports, info), info.onuId);
        ++onus;
    }
    ovralist_attributes_copy(update_port_list, size_of_port, 1);
    const bool listed = std::all_of(ports.begin(), ports.end(), [&](const Port& port) {
        return ovralist_append(update_port_list, &port) == 1;
    });
    return listed ? onus : OV_GPON_RET_NO_MEM;
}

void ov_app_gpon_rminfo_release_onu_update_list(ovralist_t* list) {
    ovralist_clear(list);
}
