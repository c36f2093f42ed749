#include "onu_update_ahead.h"

#include <cstring>
#include <memory>
#include <utility>

#include "app_columns.h"
#include "app_loop.h"
#include "app_rows.h"
#include "onu_update_action.h"
#include "onu_update_request.h"
#include "ov_app_gpon_onu_update.h"
#include "table_snmp_ahead.h"

namespace {

using Row = ov_sOnuUpdateTable_attr_t;

// One action. It is the set's, and a request's that is under way.
struct Action {
    Row row;
    std::function<void()> ready;
    ov_mono_time_t begun = ov_mono_now();
    std::optional<OnuUpdateAnswer> answer = std::nullopt;
    std::shared_ptr<OnuImageCopy> copy = nullptr; // of a start
};

// A master has one set at a time.
std::shared_ptr<Action> g_action;
struct thread* g_next_look = nullptr;

// How far one has come. What isn't asked for, or can't be had, is left to the set.
enum class Step : uint8_t { ASKED, LOOK_AGAIN, LEFT };

bool is_older(const Action& action, std::chrono::seconds limit) {
    return ov_mono_now() - action.begun >= limit;
}

Step ask(const std::shared_ptr<Action>& action) {
    const HalRequest sent = onu_update_request(action->row, [action](int result, const std::string& reason) {
        action->answer = {.result = result, .reason = reason};
        if (g_action == action)
            action->ready();
    });
    if (sent == HalRequest::NO_ROOM && !is_older(*action, OnuUpdateAction::PATIENCE))
        return Step::LOOK_AGAIN;
    return sent == HalRequest::SENT ? Step::ASKED : Step::LEFT;
}

Step copy(Action& action) {
    if (action.copy == nullptr)
        action.copy = OnuImageCopy::begin(action.row.sOnuUpdateVersionName);
    const bool is_enough = action.copy->is_over() || is_older(action, ONU_UPDATE_COPY_PATIENCE);
    return is_enough ? Step::LEFT : Step::LOOK_AGAIN;
}

Step go_on(const std::shared_ptr<Action>& action) {
    if (ov_app_gpon_pon_onu_update_is_late(action->row))
        return Step::LOOK_AGAIN;
    return action->row.sOnuUpdateAction == SONUUPDATEACTION_START ? copy(*action) : ask(action);
}

int on_look(struct thread* /*timer*/) {
    constexpr long LOOK_MSEC = 20;
    g_next_look = nullptr;
    if (g_action == nullptr)
        return 0;
    const Step step = go_on(g_action);
    if (step == Step::LEFT)
        g_action->ready();
    else if (step == Step::LOOK_AGAIN)
        kavo_add_timer_msec(app_loop(), on_look, nullptr, LOOK_MSEC, &g_next_look);
    return 0;
}

// ---- of a set ---------------------------------------------------------------------------------------------

bool begin(const void* set_row, const MIB_Flags_t& columns, std::function<void()> ready) {
    const Row& row = *static_cast<const Row*>(set_row);
    if (table_of<Row>::module().row_mode(&row) != MODE_CHG ||
        !mib_flag_is_set(columns, sOnuUpdateTable_column::sOnuUpdateAction))
        return false;
    const auto action = std::make_shared<Action>(Action{.row = row, .ready = std::move(ready)});
    const Step step = go_on(action);
    if (step == Step::LEFT && action->copy == nullptr)
        return false;
    g_action = action;
    if (step != Step::ASKED && g_next_look == nullptr)
        kavo_add_timer_msec(app_loop(), on_look, nullptr, 0, &g_next_look);
    return true;
}

// A look that is still to come finds nothing.
void end(const void* /*row*/) {
    g_action = nullptr;
}

bool is_same(const Row& a, const Row& b) {
    return a.shelfID == b.shelfID && a.slotID == b.slotID && a.portID == b.portID &&
           a.sOnuUpdateAction == b.sOnuUpdateAction &&
           std::strcmp(a.sOnuUpdateVersionName, b.sOnuUpdateVersionName) == 0 &&
           std::memcmp(a.sOnuUpdateOnuMask, b.sOnuUpdateOnuMask, sizeof a.sOnuUpdateOnuMask) == 0;
}

} // namespace

void onu_update_ahead_init() {
    static constexpr SnmpAhead AHEAD = {.begin = begin, .end = end};
    snmp_ahead_register(SONUUPDATE, AHEAD);
}

std::optional<OnuUpdateAnswer> onu_update_ahead_answer(const ov_sOnuUpdateTable_attr_t& row) {
    return g_action != nullptr && is_same(g_action->row, row) ? g_action->answer : std::nullopt;
}

std::shared_ptr<OnuImageCopy> onu_update_ahead_copy(const ov_sOnuUpdateTable_attr_t& row) {
    const bool is_copied = g_action != nullptr && is_same(g_action->row, row) && g_action->copy != nullptr &&
                           g_action->copy->is_over();
    return is_copied ? g_action->copy : nullptr;
}
