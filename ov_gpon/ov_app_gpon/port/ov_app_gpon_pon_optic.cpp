#include "ov_app_gpon_pon_optic.h"

#include "app_follow_rows.h"
#include "app_get_callback.h"
#include "app_set_callback.h"

int gpon_optic_appid = 0;

namespace {

using Port = ov_sPonTable_attr_t;
using Row = ov_sPonOpticTable_attr_t;
using Record = ov_gpon_pon_optic_attr_t;
namespace column = sPonOpticTable_column;

// The row has the temperature in front of the bias current, the record behind it.
constexpr MapLine OPTIC_LINES[] = {
    WIRE_ONLY(ifindex, port_ifindex_of<Row>), READ_ONLY(sPonOpticTableTxPower, txPwr),
    READ_ONLY(sPonOpticTableRxPower, rxPwr),  READ_ONLY(sPonOpticTableVcc, vcc),
    READ_ONLY(sPonOpticTableTemp, temp),      READ_ONLY(sPonOpticTableBias, bias),
};

Asked asked_of_port(const Row& row) {
    const Port* port = find_row(port_key<Port>(row));
    return port != nullptr && port->sPonTableAdminState == SPONTABLEADMINSTATE_ENABLED &&
                   !ov_app_gpon_port_is_out_of_operation(*port)
               ? Asked::YES
               : Asked::NO;
}

constexpr GetCallback<Row, Record> READS = {
    .message = OV_HAL_MSG_GPON_PON_OPTIC_MODULE,
    .map = &pon_optic_map,
    .columns = columns_of(column::sPonOpticTableTxPower),
    .asked = asked_of_port,
    .masked_by_columns = false,
    .taken = Taken::WHOLE,
    .failure = "get pon optic from hal error",
};

constexpr FollowRows<Port, Row> FOLLOWS_PORT = {
    .key = port_key<Row, Port>,
    .appid = &gpon_optic_appid,
    .add_error = "add pon optic table error",
    .remove_error = "del pon optic table error",
};

} // namespace

constinit const MessageMap<ov_sPonOpticTable_attr_t, ov_gpon_pon_optic_attr_t> pon_optic_map(OPTIC_LINES);

bool ov_app_gpon_port_is_out_of_operation(const ov_sPonTable_attr_t& port) {
    return port.sPonTableOperationalState == SPONTABLEOPERATIONALSTATE_REDONNOOP ||
           port.sPonTableOperationalState == SPONTABLEOPERATIONALSTATE_LEDOFFNOOP;
}

int ov_pon_optic_table_pontable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_PORT, did, row, column_flag);
}

int ov_pon_optic_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    return run_get_callback(READS, row, column_flag);
}

void ov_app_gpon_pon_optic_init() {
    gpon_optic_appid = AssignAppId();
    const CallbackRegistration app = {"app_pon_optic", gpon_optic_appid,
                                      "app_pon_optic register set call back error"};
    app.add(SPON, CALLBACK_SET, ov_pon_optic_table_pontable_set_callback,
            columns_of(sPonTable_column::sPonTableRowStatus));
}
