#include "onu_update_action.h"

#include "app_card_answer.h"
#include "app_rows.h"
#include "onu_update_request.h"
#include "ov_app_gpon_onu_update.h"

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
    const auto taker = [own = shared_from_this()](int result, const std::string& reason) {
        own->take(result, reason);
    };
    const HalRequest sent =
        find_stored_row(row_) != nullptr ? onu_update_request(row_, taker) : HalRequest::FAILED;
    is_asked_ = sent == HalRequest::SENT;
    if (sent == HalRequest::FAILED || (!is_asked_ && ov_mono_now() - begun_ >= PATIENCE))
        write();
}

void OnuUpdateAction::take(int result, const std::string& reason) {
    if (card_answer(result, NotSupported::ACCEPT, "MMG", "set to which not support") != CardAnswer::FAILED) {
        end(ov_app_gpon_pon_onu_update_edit_no_callback(&row_, &columns_));
        return;
    }
    reason_ = reason;
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
