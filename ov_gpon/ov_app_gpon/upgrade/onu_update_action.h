// An action on the ONUs of a port that holds nobody: the loop serves others while the file is copied for the
// card, and while the card thinks.
//
//     const auto action = OnuUpdateAction::begin(row, columns);
//     ... in steps, until action->go_on() says that it is over: action->result()
//
// What is told to the card and what becomes of the row is as with ov_app_gpon_pon_onu_update_edit. Once the
// card has been asked its answer is taken whether anybody waits for it or not. Main loop only.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "mmg_access.h"
#include "onu_image_copy.h"
#include "ov_clock.h"
#include "sOnuUpdateTable.h"

class OnuUpdateAction : public std::enable_shared_from_this<OnuUpdateAction> {
public:
    // How long a card may have no room for it before it is waited for like a write of the row.
    static constexpr std::chrono::seconds PATIENCE{12};

    // The row's key and what is written, its action among it.
    static std::shared_ptr<OnuUpdateAction> begin(const ov_sOnuUpdateTable_attr_t& row,
                                                  const MIB_Flags_t& columns);

    OnuUpdateAction(const ov_sOnuUpdateTable_attr_t& row, const MIB_Flags_t& columns);

    // Does what can be done now. Whether it is over.
    bool go_on();
    // When it is over: 0, or OV_GPON_RET_BAD_PARAM; states the reason then.
    int result() const;

private:
    void go_on_with_copy();
    void ask_card();
    void take(int result, const std::string& reason);
    void write();
    void end(int result);

    ov_sOnuUpdateTable_attr_t row_;
    MIB_Flags_t columns_;
    std::shared_ptr<OnuImageCopy> copy_; // of a start
    ov_mono_time_t begun_;
    bool is_asked_ = false;
    bool is_over_ = false;
    int result_ = 0;
    std::string reason_;
};
