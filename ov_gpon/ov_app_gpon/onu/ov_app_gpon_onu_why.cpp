#include "ov_app_gpon_onu_why.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "app_unknown_onus.h"
#include "kavo_if.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onu_history.h"
#include "ov_app_gpon_onu_learnt.h"
#include "ov_gpon.h"
#include "ov_hal_gpon_enums.h"
#include "ov_slot.h"

namespace {

using Onu = ov_sOnuTable_attr_t;
using History = ov_sOnuHistoryTable_attr_t;
using UnknownOnu = ov_sOnuInitTable_attr_t;

UnknownOnus& unknown_onus() {
    static UnknownOnus& instance = *new UnknownOnus;
    return instance;
}

std::string port_name(mib_long slot, mib_long port) {
    return "gpon-olt" + std::to_string(slot) + "/" + std::to_string(port);
}

bool has_alarm(ov_ifindex_t source, int32_t code) {
    sActiveAlarmTable_entry key = {};
    key.sActiveAlarmTableAlarmSource = source;
    key.sActiveAlarmTableAlarmCode = code;
    return find_row(key) != nullptr;
}

// ---- the past --------------------------------------------------------------------------------------------

struct Past {
    mib_ulong up_since = 0; // when it came up last, 0 when it never did or nobody knows
    gpon_onu_note_t last = {};

    bool has_been_up() const { return up_since != 0 || last.reason != OnuReason::NONE; }
};

// What an alarm that stands tells; it outlives a restart of the daemon, which notes don't. Of several the one
// with the highest code: an ONU that gasps goes dark, too.
gpon_onu_note_t note_of_alarms(const Onu& onu) {
    gpon_onu_note_t note = {};
    sActiveAlarmTable_entry key = {};
    key.sActiveAlarmTableAlarmSource = onu_ifindex_of(onu);
    for (const sActiveAlarmTable_entry& alarm : rows_under(key, 1)) {
        const OnuReason reason = ov_app_gpon_onu_reason_of_alarm(alarm.sActiveAlarmTableAlarmCode);
        if (reason != OnuReason::NONE)
            note = {reason, true, alarm.sActiveAlarmTableAlarmDTS};
    }
    return note;
}

Past past_of(const Onu& onu) {
    Past past;
    const History* history = find_row(onu_key<History>(onu));
    if (history != nullptr)
        past.up_since = history->sOnuHistoryAuthTime1;
    past.last = ov_app_gpon_onu_note(onu);
    if (past.last.reason == OnuReason::NONE)
        past.last = note_of_alarms(onu);
    if (past.last.reason == OnuReason::NONE && history != nullptr && history->sOnuHistoryOffTime1 != 0)
        past.last = {OnuReason::WENT_OFF, true, history->sOnuHistoryOffTime1};
    return past;
}

// ---- the present -----------------------------------------------------------------------------------------

bool port_is_down(const Onu& onu) {
    const uif_t* port = uif_lookup_by_index(port_ifindex_of(onu));
    return port != nullptr && !uif_is_up(port);
}

// A replay has begun and not ended. The mark alone stays for ever.
bool slot_is_set_up(mib_long slot) {
    return slot > 0 && slot <= static_cast<mib_long>(OV_SLOT_MAX) &&
           (g_shelf_slot_info.slotBitsSynching & 1u << slot) != 0 &&
           ov_startup_gpon_config_sync_end_check(slot) == 0;
}

mib_ulong card_went_at(mib_long slot) {
    const ov_slot_info_t* card = ov_slot_lookup_by_slotid(static_cast<uint32_t>(slot));
    return card != nullptr ? static_cast<mib_ulong>(card->connect_status.change_time) : 0;
}

// What keeps an ONU out of service whatever it does itself.
std::optional<OnuNow> held_back(const Onu& onu) {
    if (onu.sOnuTableRowStatus == OVRA_NOTINSERVICE || onu.sOnuTableRowStatus == OVRA_NOTREADY)
        return OnuNow::ROW_WAITS;
    if (!ov_slot_check_slot_connected(static_cast<uint32_t>(onu.slotID)))
        return OnuNow::CARD_AWAY;
    if (onu.sOnuTableActiviate == SONUTABLEACTIVIATE_DEACTIVIATED)
        return OnuNow::DEACTIVATED;
    if (onu.sOnuTableAdminState == SONUTABLEADMINSTATE_DISABLED)
        return OnuNow::DISABLED;
    return std::nullopt;
}

bool has_other_password(const Onu& onu, const UnknownOnu& shown) {
    if (onu.sOnuTableAuthMode == OV_GPON_ONU_AUTH_MODE_SNPW)
        return strcmp(onu.sOnuTablePw, shown.sOnuInitTablePw) != 0;
    return onu.sOnuTableAuthMode == OV_GPON_ONU_AUTH_MODE_LOIDPW &&
           strcmp(onu.sOnuTableLoidPw, shown.sOnuInitTableLoidPw) != 0;
}

// An unconfigured ONU that shows the configured one's identity, on its own port rather than on another.
std::optional<OnuNow> seen_unconfigured(const Onu& onu, std::string& detail) {
    const auto* like = unknown_onus().like(onu);
    if (like == nullptr)
        return std::nullopt;
    const auto here = std::find_if(like->begin(), like->end(), [&](const UnknownOnu& shown) {
        return shown.slotID == onu.slotID && shown.portID == onu.portID;
    });
    if (here == like->end()) {
        detail = "waits unconfigured on " + port_name(like->front().slotID, like->front().portID);
        return OnuNow::ELSEWHERE;
    }
    detail = std::string("serial number ") + here->sOnuInitTableSn + " waits unconfigured on its port";
    return has_other_password(onu, *here) ? OnuNow::BAD_PASSWORD : OnuNow::NOT_ADMITTED;
}

// What else of its port helps to find the cause.
std::string detail_of_port(const Onu& onu) {
    if (has_alarm(port_ifindex_of(onu), SACTIVEALARMTABLEALARMCODE_OLT_PON_LOS))
        return "no light on " + port_name(onu.slotID, onu.portID);
    const auto [count, first] = unknown_onus().on_port_of(onu);
    if (count == 0)
        return "";
    return "on its port unconfigured: " + first +
           (count > 1 ? " and " + std::to_string(count - 1) + " more" : "");
}

// An ONU may be up and lack half of its services: it was learnt, and the copy of its profile failed.
std::string detail_of_learning(const Onu& onu) {
    const gpon_learnt_onu_t* learnt = ov_app_gpon_onu_learnt(onu);
    if (learnt == nullptr || learnt->outcome != LearnOutcome::COPY_FAILED)
        return "";
    return "learnt with a part of service profile " + std::to_string(learnt->profile) + ": " + learnt->reason;
}

// An ONU that is up, may come up, or is silent.
OnuNow state_of(const Onu& onu, const Past& past, std::string& detail) {
    if (onu.sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL)
        return OnuNow::OPERATIONAL;
    if (port_is_down(onu))
        return OnuNow::PORT_DOWN;
    if (onu.sOnuTableOnuState == SONUTABLEONUSTATE_AUTHPASS)
        return OnuNow::COMING_UP;
    if (slot_is_set_up(onu.slotID))
        return OnuNow::CARD_SETUP;
    if (const auto seen = seen_unconfigured(onu, detail))
        return *seen;
    detail = detail_of_port(onu);
    return past.has_been_up() ? OnuNow::OFF : OnuNow::NEVER_SEEN;
}

mib_ulong since(const Onu& onu, OnuNow now, const Past& past) {
    switch (now) {
    case OnuNow::OPERATIONAL:
        return past.up_since;
    case OnuNow::CARD_AWAY:
        return card_went_at(onu.slotID);
    case OnuNow::DEACTIVATED:
        return past.last.reason == OnuReason::DEACTIVATED ? past.last.at : 0;
    case OnuNow::DISABLED:
        return past.last.reason == OnuReason::DISABLED ? past.last.at : 0;
    case OnuNow::PORT_DOWN:
        return past.last.reason == OnuReason::PORT_DOWN ? past.last.at : 0;
    case OnuNow::OFF:
        return past.last.stands ? past.last.at : 0;
    default:
        return 0;
    }
}

} // namespace

const char* ov_app_gpon_onu_now_text(OnuNow now) {
    static constexpr std::array TEXTS = {
        "operational", "coming up", "row not active", "card away",    "card being set up", "deactivated",
        "disabled",    "port down", "other password", "not admitted", "on other port",     "never seen",
        "off",
    };
    return TEXTS.at(static_cast<size_t>(now));
}

gpon_onu_why_t ov_app_gpon_onu_why(const ov_sOnuTable_attr_t& onu) {
    const Past past = past_of(onu);
    gpon_onu_why_t why = {};
    why.last = past.last.reason;
    why.last_at = past.last.at;
    if (const auto held = held_back(onu))
        why.now = *held;
    else
        why.now = state_of(onu, past, why.detail);
    if (why.detail.empty())
        why.detail = detail_of_learning(onu);
    why.since = since(onu, why.now, past);
    return why;
}
