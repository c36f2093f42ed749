#include "ov_app_gpon_rminfo.h"

#include <string>

#include "app_follow_rows.h"
#include "app_get_callback.h"
#include "app_set_callback.h"
#include "app_write_row.h"
#include "mmg_text.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_pair.h"

int gpon_rminfo_appid = 0;

namespace {

using Row = ov_sRmInfoTable_attr_t;
using Record = ov_gpon_rmonu_info_attr_t;
using Change = RowChange<Row>;
namespace column = sRmInfoTable_column;

// ---- to the card and back ---------------------------------------------------------------------------------

std::string hex_of(const char* bytes, int length) {
    std::string text(static_cast<size_t>(2 * length), '\0');
    hex_to_str_clip(text.data(), text.size() + 1, bytes, length);
    return text;
}

constexpr int VENDOR_CODE = 4; // characters, in front of as many bytes

void take_serial_number(const Record& record, Row& row) {
    const std::string vendor(record.sn, VENDOR_CODE);
    set_text(row.sRmInfoTableSn, (vendor + hex_of(record.sn + VENDOR_CODE, VENDOR_CODE)).c_str());
}

void take_product_code(const Record& record, Row& row) {
    const uint16_t code = record.ProductCode;
    const char bytes[] = {static_cast<char>(code >> 8), static_cast<char>(code & 0xff)};
    set_text(row.sRmInfoTableProductCode, hex_of(bytes, sizeof bytes));
}

// The three commands to an ONU: their columns are wishes, and read 0.
constexpr auto ITSELF = [](mib_long value) { return value; };
template <mib_long Row::*command>
bool is_wished(const Row& row) {
    return row.*command == 1;
}
#define COMMAND(name, field, bit) MAP_AS(name, field, bit, ITSELF).applies_when(ROW_IS(is_wished<&Row::name>))

constexpr MapLine RMINFO_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    READ_ONLY(sRmInfoTableVersion, version),
    READ_INTO(sRmInfoTableSn, sn, take_serial_number),
    READ_ONLY(sRmInfoTableLoid, loid),
    READ_ONLY(sRmInfoTableLoidPass, loidPw),
    READ_ONLY(sRmInfoTableEqptID, eqptId),
    READ_ONLY(sRmInfoTableOmccVersion, omccVer),
    READ_ONLY(sRmInfoTableBridgeMode, bridgeMode),
    READ_ONLY(sRmInfoTableVendorId, vendorId),
    READ_INTO(sRmInfoTableProductCode, ProductCode, take_product_code),
    READ_ONLY(sRmInfoTableEncrptionMode, EncrptionMode),
    READ_ONLY(sRmInfoTablePriorityQueue, PriorityQueue),
    READ_ONLY(sRmInfoTableAdminState, AdminState),
    READ_ONLY(sRmInfoTableOperationalState, OperationalState),
    READ_ONLY(sRmInfoTableServiceSchedulerNumber, SchedulerNumber),
    READ_ONLY(sRmInfoTableServiceType, serviceType),
    COMMAND(sRmInfoTableReboot, reboot, OV_GPON_RMONU_INFO_ATTR_INDEX_reboot),
    COMMAND(sRmInfoTableMibSyn, mibSync, OV_GPON_RMONU_INFO_ATTR_INDEX_mibSync),
    READ_ONLY(sRmInfoTableOnuType, onuType),
    COMMAND(sRmInfoTableRestoreDefault, restoreDefault, OV_GPON_RMONU_INFO_ATTR_INDEX_restoreDefault),
};
constexpr MIB_Flags_t COMMANDS =
    columns_of(column::sRmInfoTableReboot, column::sRmInfoTableMibSyn, column::sRmInfoTableRestoreDefault);

void forget_commands(Change& change) {
    change.row.sRmInfoTableReboot = 0;
    change.row.sRmInfoTableMibSyn = 0;
    change.row.sRmInfoTableRestoreDefault = 0;
}

// ---- the row's life ---------------------------------------------------------------------------------------

constexpr FollowRows<ov_sOnuTable_attr_t, Row> FOLLOWS_ONU = {
    .key = [](const ov_sOnuTable_attr_t& onu) { return onu_key<Row>(onu); },
    .add = MIB_CREATEGO_N,
    .remove = MIB_DEL_N,
    .appid = &gpon_rminfo_appid,
    .added = "add rminfo success", // at an error's level: the field counts new ONUs by these lines
    .add_error = "add rminfo error",
    .remove_error = "del rminfo error",
};

} // namespace

constinit const MessageMap<ov_sRmInfoTable_attr_t, ov_gpon_rmonu_info_attr_t> rminfo_map(RMINFO_LINES);
RESTORE(onu_info, SRMINFO, OV_HAL_MSG_GPON_RMONU_INFO, rminfo_map, CREATED)

int ov_app_gpon_rminfo_edit(ov_sRmInfoTable_attr_t* attr, MIB_Flags_t* flag) {
    return write_row(MIB_SET, attr, flag, gpon_rminfo_appid, "mib set error for rm_info table");
}

char ov_rminfo_table_add(const ov_sOnuTable_attr_t* onu) {
    return follow_all(FOLLOWS_ONU, *onu, true) ? 1 : 0;
}

char ov_rminfo_table_del(const ov_sOnuTable_attr_t* onu) {
    return follow_all(FOLLOWS_ONU, *onu, false) ? 1 : 0;
}

char ov_rminfo_check(const ov_sRmInfoTable_attr_t* row) {
    return ov_app_gpon_asked_of_onu(*row) == Asked::YES ? 1 : 0;
}

void srminfo_hal_data_convert_to_mib(const ov_gpon_rmonu_info_attr_t* hal, ov_sRmInfoTable_attr_t* mib) {
    rminfo_map.decode(hal, mib, mibDefFlags);
}

int ov_rminfo_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    static constexpr GetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_INFO,
        .map = &rminfo_map,
        .columns = columns_of(column::sRmInfoTableVersion),
        .asked = ov_app_gpon_asked_of_onu,
        .masked_by_columns = false,
        .taken = Taken::WHOLE,
        .failure = "get rminfo from low level error",
    };
    return run_get_callback(CALLBACK, row, column_flag);
}

int ov_rminfo_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_INFO,
        .map = &rminfo_map,
        .sent = SentChanges::EDITS,
        .narrow = [](const Change& change) { return columns_in(change.columns, COMMANDS); },
        .skips_empty_mask = true,
        .follow =
            [](Change& change) {
                forget_commands(change);
                return SET_ACCEPTED;
            },
        .not_supported = NotSupported::FOLLOW,
        .give_back = forget_commands,
        .failure = "set rminfo to hal error",
        .keeps_on_refusal = true,
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rminfo_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return ov_app_gpon_refuse_on_protecting_port(*static_cast<const Row*>(row),
                                                 "ov_rminfo_table_set_check_callback failed");
}

int ov_rminfo_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_ONU, did, row, column_flag);
}

void ov_app_gpon_rminfo_init() {
    gpon_rminfo_appid = AssignAppId();
    const CallbackRegistration app = {"app_rminfo", gpon_rminfo_appid,
                                      "app_rminfo register set call back error"};
    app.add(SRMINFO, CALLBACK_SET, ov_rminfo_table_set_callback, COMMANDS);
    app.add(SRMINFO, CALLBACK_CHECK, ov_rminfo_table_set_check_callback, COMMANDS);
    app.add(SRMINFO, CALLBACK_GET, ov_rminfo_table_get_callback, columns_of(column::sRmInfoTableVersion));
    app.add(SONU, CALLBACK_SET, ov_rminfo_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
