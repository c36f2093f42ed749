#include "ov_app_gpon_onusrv_batch_copy.h"

#include <algorithm>
#include <cstdio>

#include "app_rows.h"
#include "ov_product_log.h"
#include "ov_refusal.h"

BatchCopy::BatchCopy(ov_ifindex_t port, ov_batch_onu_flags_in_t onus, mib_ulong profile)
    : port_(port), profile_(profile) {
    std::copy(onus.begin(), onus.end(), onus_.begin());
}

void BatchCopy::begin() {
    begun_ = true;
    for (const BatchLine& line : ov_gpon_batch_lines())
        line.collect(line, profile_, rows_);
}

bool BatchCopy::step() {
    if (!begun_)
        begin();
    for (; row_ < rows_.size(); ++row_, onu_ = 0)
        while (onu_ < OV_BATCH_ONU_MAX)
            if (visit(rows_[row_], onu_++))
                return true;
    return false;
}

// Whether the ONU was given the row.
bool BatchCopy::visit(const BatchRow& row, size_t position) {
    switch (onus_[position]) {
    case OV_BATCH_ONU_CONFIG:
        give(row, position);
        return true;
    case OV_BATCH_ONU_WRONG_TYPE:
        result_.errorCode[position] = ONU_TYPE_ERROR;
        return false;
    case OV_BATCH_ONU_NOT_THERE:
        result_.errorCode[position] = ONU_NOT_EXIST;
        return false;
    default:
        return false;
    }
}

void BatchCopy::give(const BatchRow& row, size_t position) {
    OvRefusal door("batch");
    auto onu = onu_key_of_ifindex<ov_sOnuTable_attr_t>(port_);
    onu.shelfID = GPON_SHELF;
    onu.onuId = static_cast<mib_long>(position + 1);
    const ov_gpon_config_error_t error = row.line->give(row, onu);
    if (error == NO_ERROR)
        return;
    onus_[position] = OV_BATCH_ONU_FAILED;
    result_.errorCode[position] = error;
    OV_LOG_INFO("MMG", "%s", ov_gpon_batch_failure_text(row, onu).c_str());
    note_refusal(door, onu);
}

void BatchCopy::note_refusal(OvRefusal& door, const ov_sOnuTable_attr_t& onu) {
    char name[40];
    snprintf(name, sizeof name, "gpon-onu%d/%d:%d", onu.slotID, onu.portID, onu.onuId);
    const char* why = door.refuse(name, nullptr);
    if (first_refusal_.empty())
        first_refusal_ = why;
}
