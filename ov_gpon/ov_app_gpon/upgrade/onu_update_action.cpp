#include "onu_update_action.h"

#include "app_card_answer.h"
#include "app_rows.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_hal_gpon_msg.h"

using Row = ov_sOnuUpdateTable_attr_t;

std::shared_ptr<OnuUpdateAction> OnuUpdateAction::begin(const Row& row, const MIB_Flags_t& columns) {
    auto action = std::make_shared<OnuUpdateAction>(row, columns);
    action->go_on();
    return action;
}

OnuUpdateAction::OnuUpdateAction(const Row& row, const MIB_Flags_t& columns)
    : row_(row), columns_(columns), begun_(ov_mono_now()) {
    if (row.sOnuUpdateAction == SONUUPDATEACTION_START)
        copy_ = OnuImageCopy::begin(row.sOnuUpdateVersionName);
}

bool OnuUpdateAction::go_on() {
    if (!is_over_ && copy_ != nullptr)
        go_on_with_copy();
    else if (!is_over_ && !is_asked_)
        ask_card();
    return is_over_;
}

int OnuUpdateAction::result() const {
    if (!reason_.empty())
        ov_refusal_because("%s", reason_.c_str());
    return result_;
}

// ---- a start ----------------------------------------------------------------------------------------------

// Written when its file is ready for the card, which isn't waited for, and behind an earlier start of its
// port whose file isn't.
void OnuUpdateAction::go_on_with_copy() {
    if (!copy_->is_over() || ov_app_gpon_pon_onu_update_is_late(row_))
        return;
    if (copy_->result() == OV_GPON_RET_OK) {
        write();
        return;
    }
    reason_ =
        std::string("the firmware file \"") + row_.sOnuUpdateVersionName + "\" can't be copied for the cards";
    OV_LOG_ERROR("MMG", "mib set error for pon_onu_update table");
    end(OV_GPON_RET_BAD_PARAM);
}

// ---- the others -------------------------------------------------------------------------------------------

// A card that is away, or a row that has gone, is what the write of the row knows about. A port's actions
// reach the card in their order.
void OnuUpdateAction::ask_card() {
    if (ov_app_gpon_pon_onu_update_is_late(row_))
        return;
    const HalRequest sent = find_stored_row(row_) != nullptr ? request() : HalRequest::FAILED;
    is_asked_ = sent == HalRequest::SENT;
    if (sent == HalRequest::FAILED || (!is_asked_ && ov_mono_now() - begun_ >= PATIENCE))
        write();
}

HalRequest OnuUpdateAction::request() {
    ov_gpon_onu_update_attr_t record = {};
    onu_update_map.encode(&row_, &record);
    auto own = std::make_unique<std::shared_ptr<OnuUpdateAction>>(shared_from_this());
    const HalRequest sent = ov_hal_gpon_msg_request(OV_HAL_MSG_GPON_RMONU_UPDATE, OV_HAL_GPON_MSG_ACTION_SET,
                                                    &record, 0, on_reply, own.get());
    if (sent == HalRequest::SENT)
        own.release(); // NOLINT(bugprone-unused-return-value): the reply's from here on
    return sent;
}

void OnuUpdateAction::on_reply(void* context, unsigned result, const hal_nlmsghdr* /*reply*/) {
    const std::unique_ptr<std::shared_ptr<OnuUpdateAction>> own(
        static_cast<std::shared_ptr<OnuUpdateAction>*>(context));
    (*own)->take(static_cast<int>(result));
}

void OnuUpdateAction::take(int result) {
    if (card_answer(result, NotSupported::ACCEPT, "MMG", "set to which not support") != CardAnswer::FAILED) {
        end(ov_app_gpon_pon_onu_update_edit_no_callback(&row_, &columns_));
        return;
    }
    OV_LOG_ERROR("MMG", "set onu update action to hal error");
    OV_LOG_ERROR("MMG", "mib set error for pon_onu_update table");
    end(OV_GPON_RET_BAD_PARAM);
}

void OnuUpdateAction::write() {
    end(ov_app_gpon_pon_onu_update_edit(&row_, &columns_));
}

// What was stated at this door is told at that of whoever waits.
void OnuUpdateAction::end(int result) {
    OvRefusal* const door = OvRefusal::current();
    if (result != OV_GPON_RET_OK && reason_.empty() && door != nullptr)
        reason_ = door->notes().reason.data();
    result_ = result;
    is_over_ = true;
}
