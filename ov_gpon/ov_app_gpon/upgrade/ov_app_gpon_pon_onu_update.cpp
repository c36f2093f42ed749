#include <algorithm>
#include <deque>
#include <memory>
#include <optional>
#include <utility>

#include "app_follow_rows.h"
#include "app_loop.h"
#include "app_set_callback.h"
#include "app_write_row.h"
#include "onu_image_copy.h"
#include "onu_update_ahead.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_product_onu_image.h"
#include "sPonTable.h"

int gpon_onuupd_appid = 0;

namespace {

using Row = ov_sOnuUpdateTable_attr_t;
using Record = ov_gpon_onu_update_attr_t;
namespace column = sOnuUpdateTable_column;

constexpr bool is_start(const Row& row) {
    return row.sOnuUpdateAction == SONUUPDATEACTION_START;
}

constexpr MapLine UPDATE_LINES[] = {
    WIRE_ONLY(ifindex, port_ifindex_of<Row>),
    UNMASKED(sOnuUpdateOnuMask, onuMask),
    UNMASKED(sOnuUpdateAction, updAct),
    UNMASKED(sOnuUpdateVersionName, versionName).applies_when(ROW_IS(is_start)),
};

constexpr MIB_Flags_t ACTION = columns_of(column::sOnuUpdateAction);

std::optional<int> only_actions(RowChange<Row>& change) {
    if (mib_flag_is_set(change.columns, column::sOnuUpdateAction))
        return std::nullopt;
    return SET_ACCEPTED;
}

// ---- the file of a start ----------------------------------------------------------------------------------

// Whoever writes a start is told when its file can't be copied, and the loop has others to serve: a copy that
// takes longer than this is waited for only if it is going to fail, for want of the file or of room.
constexpr std::chrono::milliseconds COPY_PATIENCE{40};
constexpr long LOOK_MSEC = 20;

// A start that its card isn't told of before its file is there.
struct LateStart {
    std::shared_ptr<OnuImageCopy> copy;
    Row row;
};
std::deque<LateStart>& late_starts() {
    static auto& all = *new std::deque<LateStart>;
    return all;
}

// The one that the change in hand has become.
std::shared_ptr<OnuImageCopy> g_copy_in_hand;

void tell_late(const LateStart& start) {
    Record record = {};
    onu_update_map.encode(&start.row, &record);
    if (start.copy->result() != OV_GPON_RET_OK ||
        ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_RMONU_UPDATE, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 0) !=
            OV_GPON_RET_OK)
        OV_LOG_ERROR("MMG", "set onu update action to hal error");
}

struct thread* g_next_look = nullptr;
int on_look(struct thread* timer);

void arm_next_look() {
    if (g_next_look == nullptr && !late_starts().empty())
        kavo_add_timer_msec(app_loop(), on_look, nullptr, LOOK_MSEC, &g_next_look);
}

// Those whose file is there, in their order.
int on_look(struct thread* /*timer*/) {
    g_next_look = nullptr;
    while (!late_starts().empty() && late_starts().front().copy->is_over()) {
        tell_late(late_starts().front());
        late_starts().pop_front();
    }
    arm_next_look();
    return 0;
}

void start_late(const Row& row) {
    late_starts().push_back({std::exchange(g_copy_in_hand, nullptr), row});
    arm_next_look();
}

bool is_of_port(const LateStart& start, const Row& row) {
    return start.row.slotID == row.slotID && start.row.portID == row.portID;
}

// A port's actions reach the card in their order: what is written behind a start waits for it.
void finish_late_starts(const Row& row) {
    for (const LateStart& start : late_starts())
        if (is_of_port(start, row)) {
            start.copy->wait();
            tell_late(start);
        }
    std::erase_if(late_starts(), [&row](const LateStart& start) { return is_of_port(start, row); });
}

bool copy_image(const Row& row) {
    const auto made_ahead = onu_update_ahead_copy(row);
    const auto copy = made_ahead != nullptr ? made_ahead : OnuImageCopy::begin(row.sOnuUpdateVersionName);
    if (!copy->wait(COPY_PATIENCE)) {
        if (ov_product_onu_image_has_room(row.sOnuUpdateVersionName)) {
            g_copy_in_hand = copy;
            return true;
        }
        copy->wait();
    }
    return copy->result() == OV_GPON_RET_OK ||
           ov_refusal_because("the firmware file \"%s\" can't be copied for the cards",
                              row.sOnuUpdateVersionName);
}

bool reserve_image(RowChange<Row>& change) {
    if (!mib_flag_is_set(change.columns, column::sOnuUpdateAction))
        return true;
    finish_late_starts(change.row);
    return !is_start(change.row) || copy_image(change.row);
}

constexpr char FAILURE[] = "set onu update action to hal error";

// An answer that the card has given already.
int judge(const OnuUpdateAnswer& answer) {
    if (card_answer(answer.result, NotSupported::ACCEPT, "MMG", "set to which not support") !=
        CardAnswer::FAILED)
        return SET_ACCEPTED;
    if (!answer.reason.empty())
        ov_refusal_because("%s", answer.reason.c_str());
    refuse_for_card(answer.result, OV_HAL_MSG_GPON_RMONU_UPDATE);
    OV_LOG_ERROR("MMG", "%s", FAILURE);
    return SET_REFUSED;
}

std::optional<int> before_send(RowChange<Row>& change) {
    if (g_copy_in_hand != nullptr) {
        start_late(change.row);
        return SET_ACCEPTED;
    }
    if (const auto asked =
            change.has(column::sOnuUpdateAction) ? onu_update_ahead_answer(change.row) : std::nullopt)
        return judge(*asked);
    return only_actions(change);
}

bool waits_for_card(const RowChange<Row>& change) {
    return !is_start(change.row);
}

constexpr FollowRows<ov_sPonTable_attr_t, Row> FOLLOWS_PORT = {
    .key = port_key<Row, ov_sPonTable_attr_t>,
    .appid = &gpon_onuupd_appid,
    .add_error = "add pon onu update table error",
    .remove_error = "del pon onu update table error",
};

} // namespace

constinit const MessageMap<ov_sOnuUpdateTable_attr_t, ov_gpon_onu_update_attr_t> onu_update_map(UPDATE_LINES);

int ov_app_gpon_pon_onu_update_edit(ov_sOnuUpdateTable_attr_t* attr, MIB_Flags_t* flag) {
    return write_row(MIB_SET, attr, flag, gpon_onuupd_appid, "mib set error for pon_onu_update table");
}

int ov_app_gpon_pon_onu_update_edit_no_callback(ov_sOnuUpdateTable_attr_t* attr, MIB_Flags_t* flag) {
    return write_row(MIB_SET_S, attr, flag, gpon_onuupd_appid, "mib set error for pon_onu_update table");
}

int sonuupdate_mib_data_convert_to_hal(const ov_sOnuUpdateTable_attr_t* mib, ov_gpon_onu_update_attr_t* hal) {
    *hal = {};
    onu_update_map.encode(mib, hal);
    return is_start(*mib) ? ov_product_onuupdate_mibdata_convert_to_hal(mib->sOnuUpdateVersionName)
                          : OV_GPON_RET_OK;
}

bool ov_app_gpon_pon_onu_update_is_late(const ov_sOnuUpdateTable_attr_t& port) {
    return std::any_of(late_starts().begin(), late_starts().end(),
                       [&port](const LateStart& start) { return is_of_port(start, port); });
}

int ov_pon_onu_update_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_UPDATE,
        .map = &onu_update_map,
        .sent = SentChanges::EDITS,
        .reserve = reserve_image,
        .before_send = before_send,
        .waits = waits_for_card,
        .failure = FAILURE,
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_pon_onu_update_table_pontable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_PORT, did, row, column_flag);
}

void ov_app_gpon_pon_onu_update_init() {
    gpon_onuupd_appid = AssignAppId();
    const CallbackRegistration app = {"app_pon_onuupd", gpon_onuupd_appid,
                                      "app_pon_onuupd register call back error"};
    app.add(SONUUPDATE, CALLBACK_SET, ov_pon_onu_update_table_set_callback, ACTION);
    app.add(SPON, CALLBACK_SET, ov_pon_onu_update_table_pontable_set_callback,
            columns_of(sPonTable_column::sPonTableRowStatus));
    onu_update_ahead_init();
}
