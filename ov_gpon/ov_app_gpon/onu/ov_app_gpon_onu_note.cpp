#include "ov_app_gpon_onu_note.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <mutex>
#include <string>
#include <unordered_map>

#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onu_history.h"
#include "ov_local_time.h"
#include "ov_product_log.h"
#include "ov_shown_text.h"
#include "table_value_name.h"

namespace {

using Onu = ov_sOnuTable_attr_t;
using Note = gpon_onu_note_t;

struct AlarmReason {
    int32_t code;
    OnuReason reason;
};
constexpr std::array ALARM_REASONS = {
    AlarmReason{SACTIVEALARMTABLEALARMCODE_ONU_OFF, OnuReason::LOSS_OF_SIGNAL},
    AlarmReason{SACTIVEALARMTABLEALARMCODE_ONU_POWER, OnuReason::POWER},
    AlarmReason{SACTIVEALARMTABLEALARMCODE_ONU_FAIL, OnuReason::FAILURE},
    AlarmReason{SACTIVEALARMTABLEALARMCODE_ONU_DYING_GASP, OnuReason::DYING_GASP},
    AlarmReason{SACTIVEALARMTABLEALARMCODE_ONU_MENUAL_POWEROFF, OnuReason::SWITCHED_OFF},
};

// ---- the notes -------------------------------------------------------------------------------------------

struct Notes {
    std::mutex mutex;
    std::unordered_map<ov_ifindex_t, Note> of;
};

// Never destroyed: other threads may use it while the process ends.
Notes& notes() {
    static Notes& instance = *new Notes;
    return instance;
}

// Of the reasons of one outage the one that tells most stays: an ONU that loses its power goes dark, too, and
// what goes out with its port, its card or by an operator's word has light.
int weight(OnuReason reason) {
    switch (reason) {
    case OnuReason::NONE:
    case OnuReason::WENT_OFF:
        return 0;
    case OnuReason::DISABLED:
    case OnuReason::DEACTIVATED:
        return 3;
    case OnuReason::LOSS_OF_SIGNAL:
    case OnuReason::PORT_DOWN:
    case OnuReason::CARD_AWAY:
        return 1;
    default:
        return 2;
    }
}

// Gives what is noted from then on.
OnuReason note(ov_ifindex_t onu, OnuReason reason) {
    const mib_ulong now = get_local_time();
    const std::lock_guard lock(notes().mutex);
    Note& noted = notes().of[onu];
    if (!noted.stands || weight(noted.reason) < weight(reason))
        noted = {reason, true, now};
    return noted.reason;
}

// The reason has gone; `only` NONE means any.
void end_reason(ov_ifindex_t onu, OnuReason only) {
    const std::lock_guard lock(notes().mutex);
    const auto found = notes().of.find(onu);
    if (found != notes().of.end() && (only == OnuReason::NONE || found->second.reason == only))
        found->second.stands = false;
}

// What the row tells of why an ONU is off, or what an outage without further word is.
OnuReason reason_of_row(const Onu& onu) {
    if (onu.sOnuTableActiviate == SONUTABLEACTIVIATE_DEACTIVIATED)
        return OnuReason::DEACTIVATED;
    if (onu.sOnuTableAdminState == SONUTABLEADMINSTATE_DISABLED)
        return OnuReason::DISABLED;
    return OnuReason::LOSS_OF_SIGNAL;
}

// ---- the log's line --------------------------------------------------------------------------------------

std::string state_name(mib_long state) {
    return table_value_text(table_desc_sOnuTable.column(sOnuTable_column::sOnuTableOnuState)->names, state);
}

// " (first-home)", nothing for a name that says no more than the place; '?' for what would upset a terminal.
std::string name_in_brackets(const Onu& onu, const char* place) {
    const std::string name = onu.sOnuTableOnuName;
    return name.empty() || name == place ? "" : " (" + ov_shown_text(name) + ")";
}

void log_change(const Onu& onu, mib_long state, OnuReason reason) {
    const bool is_service =
        state == SONUTABLEONUSTATE_OPERATIONAL || onu.sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL;
    char place[40];
    snprintf(place, sizeof place, "gpon-onu%d/%d:%d", onu.slotID, onu.portID, onu.onuId);
    OV_APP_LOG(is_service ? OV_LOG_LVL_NOTICE : OV_LOG_LVL_INFO, "LIB", "%s%s goes from %s to %s%s%s", place,
               name_in_brackets(onu, place).c_str(), state_name(onu.sOnuTableOnuState).c_str(),
               state_name(state).c_str(), reason != OnuReason::NONE ? ": " : "",
               reason != OnuReason::NONE ? ov_app_gpon_onu_reason_text(reason) : "");
}

} // namespace

const char* ov_app_gpon_onu_reason_text(OnuReason reason) {
    switch (reason) {
    case OnuReason::WENT_OFF:
        return "not known";
    case OnuReason::LOSS_OF_SIGNAL:
        return "loss of signal";
    case OnuReason::PORT_DOWN:
        return "port down";
    case OnuReason::CARD_AWAY:
        return "card away";
    case OnuReason::DYING_GASP:
        return "dying gasp";
    case OnuReason::POWER:
        return "power supply";
    case OnuReason::FAILURE:
        return "ONU failure";
    case OnuReason::SWITCHED_OFF:
        return "switched off";
    case OnuReason::DISABLED:
        return "disabled";
    case OnuReason::DEACTIVATED:
        return "deactivated";
    default:
        return "-";
    }
}

OnuReason ov_app_gpon_onu_reason_of_alarm(int32_t code) {
    const auto* found = std::find_if(ALARM_REASONS.begin(), ALARM_REASONS.end(),
                                     [code](const AlarmReason& known) { return known.code == code; });
    return found != ALARM_REASONS.end() ? found->reason : OnuReason::NONE;
}

gpon_onu_note_t ov_app_gpon_onu_note(const ov_sOnuTable_attr_t& onu) {
    const std::lock_guard lock(notes().mutex);
    const auto found = notes().of.find(onu_ifindex_of(onu));
    return found != notes().of.end() ? found->second : Note{};
}

void ov_app_gpon_onu_note_state(const ov_sOnuTable_attr_t& onu, mib_long state, OnuReason reason) {
    const ov_ifindex_t index = onu_ifindex_of(onu);
    if (state == SONUTABLEONUSTATE_OPERATIONAL)
        end_reason(index, OnuReason::NONE);
    if (state == onu.sOnuTableOnuState)
        return;
    const bool goes = onu.sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL;
    OnuReason noted = OnuReason::NONE;
    if (goes)
        noted = note(index, reason != OnuReason::NONE ? reason : reason_of_row(onu));
    log_change(onu, state, noted);
}

void ov_app_gpon_onu_note_alarm(const sActiveAlarmTable_entry& alarm) {
    const OnuReason reason = ov_app_gpon_onu_reason_of_alarm(alarm.sActiveAlarmTableAlarmCode);
    const ov_ifindex_t source = alarm.sActiveAlarmTableAlarmSource;
    if (reason == OnuReason::NONE || ov_ifindex_get_port_type(source) != PORT_TYPE_GONU)
        return;
    const Onu* onu = find_row(onu_key_of_ifindex<Onu>(source));
    if (onu == nullptr)
        return; // any card may say anything: notes are of ONUs that there are
    if (alarm.sActiveAlarmTableAlarmState == SACTIVEALARMTABLEALARMSTATE_CLEAR)
        end_reason(onu_ifindex_of(*onu), reason);
    else
        note(onu_ifindex_of(*onu), reason);
}

void ov_app_gpon_onu_note_switch(const ov_sOnuTable_attr_t& onu) {
    const ov_ifindex_t index = onu_ifindex_of(onu);
    const OnuReason off = reason_of_row(onu);
    if (off != OnuReason::LOSS_OF_SIGNAL) {
        note(index, off);
        return;
    }
    end_reason(index, OnuReason::DEACTIVATED);
    end_reason(index, OnuReason::DISABLED);
}

void ov_app_gpon_onu_note_history(const ov_sOnuTable_attr_t& onu) {
    const auto* history = find_row(onu_key<ov_sOnuHistoryTable_attr_t>(onu));
    if (history == nullptr || history->sOnuHistoryAuthTime1 == 0 ||
        onu.sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL)
        return;
    const mib_ulong off = history->sOnuHistoryOffTime1;
    const std::lock_guard lock(notes().mutex);
    notes().of.try_emplace(onu_ifindex_of(onu),
                           Note{OnuReason::WENT_OFF, true, off != 0 ? off : history->sOnuHistoryAuthTime1});
}

void ov_app_gpon_onu_note_forget(const ov_sOnuTable_attr_t& onu) {
    const std::lock_guard lock(notes().mutex);
    notes().of.erase(onu_ifindex_of(onu));
}
