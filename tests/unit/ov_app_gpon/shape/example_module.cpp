#include "example_module.h"

#include "app_follow_rows.h"
#include "app_get_callback.h"
#include "app_key.h"
#include "app_set_callback.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_pair.h"
#include "sOnuTable.h"

int gpon_example_appid = 0;

namespace {

using Row = ov_sExampleTable_attr_t;
using Record = ov_gpon_rmuni_attr_t;
namespace column = sExampleTable_column;

constexpr MapLine EXAMPLE_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    MAP(exampleLimit, macLrnCount, OV_GPON_RMUNI_ATTR_INDEX_macLrnCount),
    MAP(exampleEnable, adminStatus, OV_GPON_RMUNI_ATTR_INDEX_adminStatus),
    READ_ONLY(exampleLink, linkstauts),
};

constexpr FollowRows<ov_sOnuTable_attr_t, Row> FOLLOWS_ONU = {
    .key = [](const ov_sOnuTable_attr_t& onu) { return onu_key<Row>(onu); },
    .add = MIB_CREATEGO_N,
    .remove = MIB_DEL_N,
    .appid = &gpon_example_appid,
    .add_failed = "add example table fail",
    .remove_failed = "delete example table fail",
};

} // namespace

constinit const MessageMap<ov_sExampleTable_attr_t, ov_gpon_rmuni_attr_t> example_map(EXAMPLE_LINES);
RESTORE(example, SEXAMPLE, OV_HAL_MSG_GPON_RM_UNI, example_map, CREATED_AND_SET)

int ov_example_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_UNI,
        .map = &example_map,
        .sent = SentChanges::EDITS_OF_ONUS,
        .check = [](RowChange<Row>& change) { return ov_app_gpon_owner_admits(change.row); },
        .skips_empty_mask = true,
        .follow =
            [](RowChange<Row>& change) { return ov_app_gpon_follow_on_pair(SYNC_RMONU_UNISTATUS, change); },
        .failure = "set example to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_example_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return ov_app_gpon_refuse_on_protecting_port(*static_cast<const Row*>(row), "example: protecting port");
}

int ov_example_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    static constexpr GetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_UNI,
        .map = &example_map,
        .columns = columns_of(column::exampleLink),
        .asked = ov_app_gpon_asked_of_onu,
        .failure = "get example from low level error",
    };
    return run_get_callback(CALLBACK, row, column_flag);
}

int ov_example_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_ONU, did, row, column_flag);
}

void ov_app_gpon_example_init() {
    gpon_example_appid = AssignAppId();
    const CallbackRegistration app = {"app_example", gpon_example_appid, "app_example: register failed"};
    const MIB_Flags_t written = columns_but(column::exampleLink);
    app.add(SEXAMPLE, CALLBACK_SET, ov_example_table_set_callback, written);
    app.add(SEXAMPLE, CALLBACK_CHECK, ov_example_table_set_check_callback, written);
    app.add(SEXAMPLE, CALLBACK_GET, ov_example_table_get_callback, columns_of(column::exampleLink));
    app.add(SONU, CALLBACK_SET, ov_example_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
