#include "pm_family.h"

#include <cstring>
#include <vector>

#include "app_set_callback.h"
#include "ov_clock.h"
#include "ov_local_time.h"
#include "ov_product_log.h"
#include "ovra_mutex.h"
#include "pm_pass.h"

namespace {

template <typename Value>
void put(void* row, uint16_t place, Value value) {
    std::memcpy(static_cast<char*>(row) + place, &value, sizeof value);
}

mib_long number_at(const void* row, uint16_t place) {
    mib_long value;
    std::memcpy(&value, static_cast<const char*>(row) + place, sizeof value);
    return value;
}

// A blank row of the family at the index of another.
class BlankRow {
public:
    BlankRow(const PmFamily& family, const void* index) : bytes_(family.module().desc().entry_size) {
        std::memcpy(bytes_.data(), index, family.module().desc().key_size);
    }
    void* get() { return bytes_.data(); }

private:
    std::vector<char> bytes_; // of the heap, and so aligned for any record
};

bool exists(const PmFamily& family, void* row) {
    const OvraMutexGuard lock(getMutex(family.module().did()));
    return family.module().find_row(row) != nullptr;
}

bool access(const PmFamily& family, int operation, void* row) {
    return MibAccessHandle(operation, *family.appid, family.module().did(), row, mibDefFlags, 0) == MIB_OK;
}

} // namespace

// ---- reading ----------------------------------------------------------------------------------------------

uint32_t pm_now() {
    static time_t asked = -1; // a pass wants the same second ten thousand times
    static uint32_t answered = 0;
    if (const time_t now = ov_wall_time(); now != asked) {
        asked = now;
        answered = get_local_time();
    }
    return answered;
}

void pm_stamp_start(const PmFamily& family, void* row, uint32_t seconds) {
    put(row, family.closing.start, seconds);
}

void pm_stamp_stop(const PmFamily& family, void* row, uint32_t seconds) {
    put(row, family.closing.stop, seconds);
}

void pm_mark_unavailable(const PmFamily& family, void* row) {
    put(row, family.closing.valid, PmValid::NOT_AVAILABLE);
}

void pm_take_record(const PmFamily& family, const void* record, void* row) {
    pm_copy_counters(family.reading, record, row);
    pm_stamp_stop(family, row, pm_now());
    put(row, family.closing.valid, PmValid::AVAILABLE);
}

int pm_read(const PmFamily& family, void* row, bool clean, bool check) {
    if (row == nullptr) {
        OV_LOG_ERROR("MMG", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    PmRecord record = {};
    const int result = family.reading.source->read(family.reading, row, clean, record);
    if (result != OV_GPON_RET_OK) {
        pm_mark_unavailable(family, row);
        return result;
    }
    pm_take_record(family, &record, row);
    if (check)
        family.check_alarm(row);
    return OV_GPON_RET_OK;
}

int pm_get_callback(const PmFamily& family, void* row) {
    if (family.pass().has_asked(row)) // the row is as the pass found it, or will in a moment
        return SET_ACCEPTED;
    const int result = pm_read(family, row, false, false);
    switch (card_answer(result, NotSupported::ACCEPT, "MMG", "get which not support")) {
    case CardAnswer::DONE:
    case CardAnswer::NOT_SUPPORTED:
        return SET_ACCEPTED;
    case CardAnswer::FAILED:
        break;
    }
    OV_LOG_ERROR("MMG", "%s", family.read_failure);
    return SET_REFUSED;
}

// ---- rows -------------------------------------------------------------------------------------------------

bool pm_add_row(const PmFamily& family, const void* owner) {
    BlankRow row(family, owner);
    if (exists(family, row.get()))
        return true;
    family.pass().note_new_row(row.get());
    pm_read(family, row.get(), true, false);
    pm_stamp_start(family, row.get(), pm_now());
    put(row.get(), family.closing.status, mib_long{OVRA_CREATEANDGO});
    if (access(family, family.add, row.get()))
        return true;
    if (family.add_failure != nullptr)
        OV_LOG_ERROR("MMG", "%s", family.add_failure);
    return false;
}

bool pm_remove_row(const PmFamily& family, const void* owner) {
    BlankRow row(family, owner);
    return !exists(family, row.get()) || access(family, MIB_DEL, row.get());
}

int pm_owner_callback(const PmFamily& family, MIBDID did, void* owner, const MIB_Flags_t& columns) {
    const int mode = MibRowStatusGet(did, owner);
    const bool is_on = number_at(owner, family.owner.enable) == 1;
    if (mode == MODE_DEL)
        pm_remove_row(family, owner);
    else if (mode == MODE_CRE || (mode == MODE_CHG && mib_flag_is_set(columns, family.owner.enable_column)))
        is_on ? pm_add_row(family, owner) : pm_remove_row(family, owner);
    return SET_ACCEPTED;
}

void pm_family_init(const PmFamily& family) {
    constexpr unsigned FIRST_COUNTER = 1;
    *family.appid = AssignAppId();
    CallbackRegistration{family.application, *family.appid, family.get_failure}.add(
        family.table, CALLBACK_GET, family.get, columns_of(FIRST_COUNTER));
    CallbackRegistration{family.application, *family.appid, family.set_failure}.add(
        family.owner.table, CALLBACK_SET, family.set,
        columns_of(family.owner.status_column, family.owner.enable_column));
}
