#include "ov_app_gpon_alarm_task.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <utility>

#include "agentx.h"
#include "alarm_los_rows.h"
#include "app_loop.h"
#include "mmg_internal.h"
#include "ov_clock.h"
#include "ov_hal_gpon_msg.h"
#include "ov_ifindex.h"
#include "ov_product_log.h"
#include "ovralist.h"

int gpon_alarm_appid = 0;

namespace {

constexpr unsigned TICK_SECONDS = 1;

AlarmLosRows los_rows;

MIBDID alarm_did() {
    return mmg_table_did_getbyindex(SACTIVEALARM);
}

char change_row(int type, sActiveAlarmTable_entry& row, MIB_Flags_t flags = mibDefFlags) {
    return los_rows.access(type, gpon_alarm_appid, row, flags);
}

// ---- tick ------------------------------------------------------------------------------------------------

// The row of this source and code as it stands; all zero when there is none.
bool read_row(const sActiveAlarmTable_entry& wanted, sActiveAlarmTable_entry& row) {
    row = {};
    row.sActiveAlarmTableAlarmSource = wanted.sActiveAlarmTableAlarmSource;
    row.sActiveAlarmTableAlarmCode = wanted.sActiveAlarmTableAlarmCode;
    return MibAccessHandle(MIB_GET, gpon_alarm_appid, alarm_did(), &row, mibDefFlags, 0) == MIB_OK;
}

// The expiry functions return whether the table was changed.

bool apply_raise(sActiveAlarmTable_entry& alarm) {
    sActiveAlarmTable_entry standing;
    read_row(alarm, standing);
    if (standing.sActiveAlarmTableRowStatus != OVRA_ACTIVE) {
        alarm.sActiveAlarmTableRowStatus = OVRA_CREATEANDGO;
        const bool made = change_row(MIB_SET, alarm) == MIB_OK;
        ov_app_gpon_alarm_led();
        return made;
    }
    // The write covers all columns: without its status the row would not be found active the next time.
    alarm.sActiveAlarmTableRowStatus = OVRA_ACTIVE;
    if (change_row(MIB_SET, alarm) == MIB_OK)
        return true;
    std::printf("%s(%d):MIB SET Error\n", __func__, __LINE__);
    std::fflush(stdout);
    return false;
}

bool apply_clear(sActiveAlarmTable_entry& alarm) {
    sActiveAlarmTable_entry standing;
    if (!read_row(alarm, standing))
        return false;
    OV_LOG_DEBUG("LIB", "get alarm ok, %lu:%lu",
                 static_cast<unsigned long>(alarm.sActiveAlarmTableAlarmSource),
                 static_cast<unsigned long>(alarm.sActiveAlarmTableAlarmCode));

    // First the row with its new state, then the row that goes: managers are told of both.
    alarm.sActiveAlarmTableRowStatus = OVRA_ACTIVE;
    const bool written = change_row(MIB_SET, alarm) == MIB_OK;
    if (written)
        OV_LOG_DEBUG("LIB", "set ok");
    else
        OV_LOG_ERROR("LIB", "set fail");

    const bool deleted = change_row(MIB_DEL, alarm) == MIB_OK;
    if (deleted) {
        OV_LOG_DEBUG("LIB", "del ok");
        ov_app_gpon_alarm_led();
    } else {
        OV_LOG_ERROR("LIB", "del fail");
    }
    return written || deleted;
}

bool apply(alarm_cache& entry) {
    sActiveAlarmTable_entry& alarm = *entry.alarmdata;
    return alarm.sActiveAlarmTableAlarmState == SACTIVEALARMTABLEALARMSTATE_CLEAR ? apply_clear(alarm)
                                                                                  : apply_raise(alarm);
}

// A second has passed for all that wait.
void count_down() {
    for (alarm_cache* entry = alarm_cache_head; entry != nullptr; entry = entry->next)
        if (--entry->timeleft < 1)
            entry->expired = 1;
}

bool table_changed = false; // since its file was written

// Takes at most so many whose time is over into the table, the newest first, and writes the file behind the
// last one. Whether more are left.
bool take_expired(size_t most) {
    for (alarm_cache* entry = alarm_cache_head; entry != nullptr;) {
        alarm_cache* following = entry->next;
        if (entry->expired != 0) {
            if (most-- == 0)
                return true;
            table_changed = apply(*entry) || table_changed;
            following = entry->next;
            ov_app_gpon_alarm_cachelist_remove(entry);
            ov_app_gpon_alarm_cache_free(entry);
        }
        entry = following;
    }
    if (std::exchange(table_changed, false))
        mib_save_sActiveAlarmTable_backdoor();
    return false;
}

// Alarms between which others get their turn. A fibre that is cut, or a card that goes, takes thousands of
// ONUs along in the same second: some 70 microseconds each.
constexpr size_t STEP = 100;

bool is_taking = false; // a step is to come

int on_step(struct thread* /*event*/) {
    is_taking = take_expired(STEP);
    if (is_taking)
        app_add_timer_msec(on_step, nullptr, 0);
    return 0;
}

void run_tick(unsigned /*id*/, void* /*arg*/) {
    count_down();
    if (!is_taking)
        on_step(nullptr);
}

// ---- deleted ONUs ----------------------------------------------------------------------------------------

// The kinds of source that go with an ONU. They are sought in the whole top byte of an index, of which the
// kind is only the upper five bits, so the indexes of ONUs, GEM ports and UNIs are not among them: their
// alarms stay until the card clears them.
constexpr std::array<uint32_t, 3> ONU_SOURCE_BYTES = {PORT_TYPE_GONU, PORT_TYPE_GEMPORT,
                                                      PORT_TYPE_GPON_ONU_UNI};
constexpr unsigned TOP_BYTE_SHIFT = 24;

// Whether the table has any source that am_compare could give to an ONU. Rows stand in the order of their
// sources, so this needs one step for each kind, where the query looks at all rows.
bool has_onu_sources() {
    const OvraMutexGuard lock(getMutex(alarm_did()));
    for (const uint32_t byte : ONU_SOURCE_BYTES) {
        sActiveAlarmTable_entry before{};
        before.sActiveAlarmTableAlarmSource = (byte << TOP_BYTE_SHIFT) - 1;
        before.sActiveAlarmTableAlarmCode = -1; // the last code in the order of rows
        const auto* next = static_cast<const sActiveAlarmTable_entry*>(row_getNext(alarm_did(), &before));
        if (next != nullptr && next->sActiveAlarmTableAlarmSource >> TOP_BYTE_SHIFT == byte)
            return true;
    }
    return false;
}

// Whether the row was changed.
bool clear_and_delete(sActiveAlarmTable_entry& alarm) {
    if (MibAccessHandle(MIB_GET_S, gpon_alarm_appid, alarm_did(), &alarm, mibDefFlags, 0) != MIB_OK)
        return false;
    alarm.sActiveAlarmTableAlarmState = SACTIVEALARMTABLEALARMSTATE_CLEAR;
    alarm.sActiveAlarmTableAlarmDTS = static_cast<uint32_t>(ov_wall_time());
    MIB_Flags_t columns{};
    mib_flag_set(columns, sActiveAlarmTable_column::sActiveAlarmTableAlarmState);
    mib_flag_set(columns, sActiveAlarmTable_column::sActiveAlarmTableAlarmDTS);
    const bool written = change_row(MIB_SET_S, alarm, columns) == MIB_OK;
    const bool deleted = change_row(MIB_DEL_S, alarm) == MIB_OK;
    return written || deleted;
}

// ---- LED -------------------------------------------------------------------------------------------------

// Body of OV_HAL_MSG_GPON_DRV_LED.
struct LedRecord {
    uint8_t lednum;
    uint8_t ledact;
};
static_assert(sizeof(LedRecord) == 2 && offsetof(LedRecord, ledact) == 1);

} // namespace

void ov_app_gpon_alarm_task_init() {
    if (agentx_alarm_register(TICK_SECONDS, SA_REPEAT, run_tick, nullptr) == 0) {
        std::printf("register alarm 1s timer fail");
        std::fflush(stdout);
    }
    agentx_snmp_update(); // the loop has to wake up for it
    ov_app_gpon_alarm_cachelist_clear();
    los_rows.forget();
    is_taking = false;
    table_changed = false;
    gpon_alarm_appid = AssignAppId();
    MIB_Flags_t row_status{};
    mib_flag_set(row_status, sOnuTable_column::sOnuTableRowStatus);
    MibRegisterCallback(mmg_table_did_getbyindex(SONU), CALLBACK_SET, "app_alarm", gpon_alarm_appid,
                        ov_alarm_onutable_set_callback, row_status);
}

int ov_app_gpon_alarm_eventhandle(const sActiveAlarmTable_entry* pentry) {
    if (pentry == nullptr)
        return -1;
    alarm_cache* cached = ov_app_gpon_alarm_cachelist_find(pentry);
    if (cached == nullptr) {
        ov_app_gpon_alarm_cachelist_insert(pentry);
        return 0;
    }
    if (cached->alarmdata->sActiveAlarmTableAlarmState == pentry->sActiveAlarmTableAlarmState) {
        cached->alarmdata->sActiveAlarmTableAlarmDTS = pentry->sActiveAlarmTableAlarmDTS;
        cached->timeleft = cached->timeout;
        return 0;
    }
    ov_app_gpon_alarm_cachelist_remove(cached);
    ov_app_gpon_alarm_cache_free(cached);
    return 0;
}

void alarm_1s_task() {
    count_down();
    take_expired(SIZE_MAX);
}

void ov_app_gpon_alarm_led() {
    if (los_rows.any()) {
        OV_LOG_DEBUG("LIB", "Turn on the Fault LED");
        ov_gpon_led_msg_send(OV_GPON_LED_FAULT, OV_GPON_LED_ACT_ON);
    } else {
        OV_LOG_DEBUG("LIB", "Turn off the Fault LED");
        ov_gpon_led_msg_send(OV_GPON_LED_FAULT, OV_GPON_LED_ACT_OFF);
    }
}

int ov_gpon_led_msg_send(uint8_t lednm, uint8_t ledact) {
    LedRecord led = {.lednum = lednm, .ledact = ledact};
    return ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_DRV_LED, OV_HAL_GPON_MSG_ACTION_SET, &led, 0, 0);
}

int ov_alarm_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*flags*/) {
    if (MibRowStatusGet(did, row) == MODE_DEL)
        ov_alarm_table_iterate_del(static_cast<const sOnuTable_entry*>(row));
    return 1;
}

void ov_alarm_table_iterate_del(const sOnuTable_entry* onu) {
    if (onu == nullptr || !has_onu_sources())
        return;
    sOnuTable_entry key = *onu;
    ovralist_t alarms;
    ovralist_init(&alarms);
    sActiveAlarmTableClass_QBC(&key, 0, 1, &alarms, nullptr, am_compare);
    bool changed = false;
    ovralist_iterator_start(&alarms);
    while (ovralist_iterator_hasnext(&alarms) != 0)
        changed = clear_and_delete(*static_cast<sActiveAlarmTable_entry*>(ovralist_iterator_next(&alarms))) ||
                  changed;
    ovralist_iterator_stop(&alarms);
    ovralist_destroy(&alarms);
    if (changed)
        mib_save_sActiveAlarmTable_backdoor();
}

int am_compare(void* data1, void* data2, int /*flag*/) {
    if (data1 == nullptr || data2 == nullptr)
        return 1;
    const auto& onu = *static_cast<const sOnuTable_entry*>(data1);
    const uint32_t source = static_cast<const sActiveAlarmTable_entry*>(data2)->sActiveAlarmTableAlarmSource;
    for (const uint32_t byte : ONU_SOURCE_BYTES)
        if (source >> TOP_BYTE_SHIFT == byte &&
            ov_ifindex_get_port_id(source) == static_cast<uint32_t>(onu.portID) &&
            ov_ifindex_get_subport_id(source) == static_cast<uint32_t>(onu.onuId))
            return 0;
    return 1;
}
