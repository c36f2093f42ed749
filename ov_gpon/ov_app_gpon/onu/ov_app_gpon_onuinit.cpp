#include "ov_app_gpon_onuinit.h"

#include <cstring>

#include "app_rows.h"
#include "app_text.h"
#include "ov_gpon.h"
#include "ov_ifindex.h"
#include "ov_product_log.h"
#include "sOnuInitTable.h"

namespace {

using UnknownOnu = ov_sOnuInitTable_attr_t;

int gpon_onuinit_appid;

// The row that a report stands for. Its kind of ONU isn't reported.
UnknownOnu sonu_hal_data_convert_to_mib(const ov_gpon_uncfg_onu_attr_t& report) {
    auto row = port_key_of_ifindex<UnknownOnu>(report.ponIfindex);
    row.sOnuInitTableTmpOnuId = report.index;
    row.sOnuInitTableIfIndex = onu_ifindex(row.slotID, row.portID, row.sOnuInitTableTmpOnuId);
    set_text(row.sOnuInitTableSn, ov_gpon_onu_sn_string(reinterpret_cast<const unsigned char*>(report.sn)));
    set_text(row.sOnuInitTablePw, text_in(report.pw));
    set_text(row.sOnuInitTableLoid, text_in(report.loid));
    set_text(row.sOnuInitTableLoidPw, text_in(report.loidPw));
    set_text(row.sOnuInitTableEqptId, text_in(report.eqptId));
    return row;
}

void log_failure(const char* what, const UnknownOnu& row) {
    OV_LOG_ERROR("LIB", "%s unconfig onu failure!: %d:%d:%d:%d", what, row.shelfID, row.slotID, row.portID,
                 static_cast<int>(row.sOnuInitTableTmpOnuId));
}

// Carries a report out on its row; `what` stands in the line of a failure.
int apply_report(const ov_gpon_uncfg_onu_attr_t* report, int operation, int row_status, const char* what) {
    if (!report) {
        OV_LOG_ERROR("LIB", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    UnknownOnu row = sonu_hal_data_convert_to_mib(*report);
    row.sOnuInitTableRowStatus = row_status;
    if (mib_access(operation, row, mibDefFlags, gpon_onuinit_appid))
        return OV_GPON_RET_OK;
    log_failure(what, row);
    return OV_GPON_RET_BAD_PARAM;
}

void delete_rows_under(const ov_sOnuInitTable_attr_t& key, size_t leading) {
    for (ov_sOnuInitTable_attr_t& row : rows_copied(key, leading))
        if (!mib_access(MIB_DEL, row))
            log_failure("delete", row);
}

} // namespace

void ov_app_gpon_unconfig_onu_init() {
    gpon_onuinit_appid = AssignAppId();
}

bool ov_app_gpon_unconfig_onu_is_listed(const ov_gpon_uncfg_onu_attr_t* attr) {
    const UnknownOnu reported = sonu_hal_data_convert_to_mib(*attr);
    const UnknownOnu* listed = find_row(reported);
    const auto same = [&](const auto& text) { return strcmp(listed->*text, reported.*text) == 0; };
    return listed != nullptr && same(&UnknownOnu::sOnuInitTableSn) && same(&UnknownOnu::sOnuInitTablePw) &&
           same(&UnknownOnu::sOnuInitTableLoid) && same(&UnknownOnu::sOnuInitTableLoidPw) &&
           same(&UnknownOnu::sOnuInitTableEqptId);
}

int ov_app_gpon_unconfig_onu_add_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr) {
    return apply_report(attr, MIB_SET, OVRA_CREATEANDGO, "add");
}

int ov_app_gpon_unconfig_onu_edit_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr) {
    return apply_report(attr, MIB_SET, OVRA_ACTIVE, "edit");
}

int ov_app_gpon_unconfig_onu_del_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr) {
    return apply_report(attr, MIB_DEL, OVRA_DESTROY, "delete");
}

void ov_onu_uncfg_table_iterate_del(int32_t slot) {
    delete_rows_under(slot_key<UnknownOnu>(slot), INDEX_TO_SLOT);
}

void ov_onu_uncfg_table_iterate_del(int32_t slot, int32_t port) {
    delete_rows_under(port_key<UnknownOnu>(slot, port), INDEX_TO_PORT);
}
