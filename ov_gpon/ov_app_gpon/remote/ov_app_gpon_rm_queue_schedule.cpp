#include "ov_app_gpon_rm_queue_schedule.h"

#include "ov_app_gpon_rm_owner.h"

int gpon_rm_queue_schedule_appid = 0;

namespace {

using Row = ov_sRmOnuQosPriorityQueueScheduleTable_attr_t;
using Record = ov_gpon_onu_queue_schedule_attr_t;
namespace column = sRmOnuQosPriorityQueueScheduleTable_column;

// A mode takes its weights along; weights alone are no schedule.
constexpr MapLine QUEUE_SCHEDULE_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    MAP(sRmQueueScheduleMode, qosMode, OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_QOSMODE)
        .replayed(MapReplay::NOT_ZERO),
    MASK_ONLY(sRmQueueScheduleMode, OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_WEIGHT).replayed(MapReplay::NOT_ZERO),
    MAP(sRmQueueScheduleWeight, weight, OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_WEIGHT).create_only(),
};

// A service profile has no such row, so that any ONU may have settings of its own.
constexpr RmOwnerRules OWNER = {.templet_refuses = Writes::NONE, .comes_with_owner = true};
constexpr RmDoors<Row> DOORS = {.table = "rm_queue_schedule", .appid = &gpon_rm_queue_schedule_appid};
constexpr FollowRows<ov_sOnuTable_attr_t, Row> FOLLOWS_ONU = {
    .key = onu_key<Row, ov_sOnuTable_attr_t>,
    .add = MIB_CREATEGO_S,
    .remove = MIB_DEL_S,
    .appid = &gpon_rm_queue_schedule_appid,
    .add_error = "set queue schedule table error",
    .remove_error = "del queue schedule table error",
};

} // namespace

constinit const MessageMap<ov_sRmOnuQosPriorityQueueScheduleTable_attr_t, ov_gpon_onu_queue_schedule_attr_t>
    rm_queue_schedule_map(QUEUE_SCHEDULE_LINES);
RESTORE(rm_queue_schedule, SRMQUEUESCHEDULE, OV_HAL_MSG_GPON_RMONU_QUEUE_SCHEDULE, rm_queue_schedule_map,
        CREATED_AND_SET)

int ov_app_gpon_rm_queue_schedule_edit(ov_sRmOnuQosPriorityQueueScheduleTable_attr_t* attr,
                                       MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

ov_bmp_t ov_rm_queue_schedule_attr_mask_get(const void* row) {
    return rm_queue_schedule_map.replay_mask(row);
}

int ov_rm_queue_schedule_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_QUEUE_SCHEDULE,
        .map = &rm_queue_schedule_map,
        .sent = SentChanges::EDITS,
        .check = rm_owner_admits<OWNER, Row>,
        .dumps = true,
        .failure = "set rm queue schedule to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

// The row comes and goes behind its check, also that of an ONU on a protecting port.
int ov_rm_queue_schedule_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return MibRowStatusGet(did, row) == MODE_CHG ? rm_refuse_on_protecting_port<Row>(row, __func__)
                                                 : SET_ACCEPTED;
}

int ov_rm_queue_schedule_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_ONU, did, row, column_flag);
}

void ov_app_gpon_rm_queue_schedule_init() {
    gpon_rm_queue_schedule_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_queue_schedule", gpon_rm_queue_schedule_appid,
                                      "app_rm_queue_schedule register set call back error"};
    app.add(SRMQUEUESCHEDULE, CALLBACK_SET, ov_rm_queue_schedule_table_set_callback, mibDefFlags);
    app.add(SRMQUEUESCHEDULE, CALLBACK_CHECK, ov_rm_queue_schedule_table_set_check_callback, mibDefFlags);
    app.add(SONU, CALLBACK_SET, ov_rm_queue_schedule_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
