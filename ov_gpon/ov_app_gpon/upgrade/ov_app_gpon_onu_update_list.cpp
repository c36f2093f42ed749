#include <bit>
#include <string_view>

#include "app_onu_ports.h"
#include "app_text.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_gpon.h"
#include "ov_product_log.h"

namespace {

using Status = ov_sOnuUpdStatusTable_attr_t;
using Port = ov_sOnuUpdateTable_attr_t;

bool is_wanted(const Status& row, std::string_view file, int status) {
    if (row.sOnuUpdStatusVerName[0] == '\0')
        return false;
    OV_LOG_INFO("MMG", "check ONU gpon-onu%d/%d:%d version[%s] status[%d:%s]", row.slotID, row.portID,
                row.onuId, row.sOnuUpdStatusVerName, row.sOnuUpdStatusCurrStatus,
                ov_gpon_update_status_convert_to_string(row.sOnuUpdStatusCurrStatus));
    return text_in(row.sOnuUpdStatusVerName) == file &&
           (status == SONUUPDSTATUSCURRSTATUS_NULL || row.sOnuUpdStatusCurrStatus == status);
}

int onus_in(const Port& port) {
    int onus = 0;
    for (const uint8_t byte : port.sOnuUpdateOnuMask)
        onus += std::popcount(byte);
    return onus;
}

// A line for each port; that of the last one has the total.
void log_ports(const OnuPorts& ports) {
    Port last = {};
    for (const Port& port : ports.ports()) {
        if (last.portID != 0)
            OV_LOG_INFO("MMG", "gpon-olt%d/%d onu count %d", last.slotID, last.portID, onus_in(last));
        last = port;
    }
    OV_LOG_INFO("MMG", "gpon-olt%d/%d onu count %d total count %d", last.slotID, last.portID, onus_in(last),
                ports.onus());
}

} // namespace

int ov_app_gpon_get_onu_update_task_list(const char* filename, ovralist_t* update_port_list,
                                         int onuUpdateStatus) {
    OnuPorts ports;
    for (const Status& row : all_rows<Status>()) {
        if (!is_wanted(row, filename, onuUpdateStatus))
            continue;
        ports.add(row);
        OV_LOG_INFO("MMG", "%4d ONU gpon-onu%d/%d:%d version[%s] need abort", ports.onus(), row.slotID,
                    row.portID, row.onuId, row.sOnuUpdStatusVerName);
    }
    log_ports(ports);
    return ports.append_to(update_port_list);
}

void ov_app_gpon_release_onu_update_task_list(ovralist_t* onuUpdateList) {
    ovralist_clear(onuUpdateList);
}
