#include "pm_thr_family.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "ov_app_gpon_pm_tca_alm.h"
#include "ov_product_log.h"
#include "ov_types.h"
#include "ov_util_ini_cfg.h"
#include "ovra_mutex.h"

namespace {

constexpr unsigned NAME_COLUMN = 2;
constexpr unsigned MASK_COLUMN = 3;
constexpr int32_t DEFAULT_ID = 1;
constexpr char DEFAULT_NAME[] = "default";

const TableDesc& desc_of(const PmThrFamily& family) {
    return family.module().desc();
}

template <typename Value>
void put(void* row, size_t place, Value value) {
    std::memcpy(static_cast<char*>(row) + place, &value, sizeof value);
}

template <typename Value>
Value get(const void* row, size_t place) {
    Value value;
    std::memcpy(&value, static_cast<const char*>(row) + place, sizeof value);
    return value;
}

// The mask is of 32 bits where it has room for all counters.
uint64_t mask_in(const PmThrFamily& family, const void* profile) {
    const ColumnDesc& mask = *desc_of(family).column(MASK_COLUMN);
    return mask.size == sizeof(uint64_t) ? get<uint64_t>(profile, mask.offset)
                                         : get<uint32_t>(profile, mask.offset);
}

void put_mask(const PmThrFamily& family, void* profile, uint64_t bits) {
    const ColumnDesc& mask = *desc_of(family).column(MASK_COLUMN);
    if (mask.size == sizeof(uint64_t))
        put(profile, mask.offset, bits);
    else
        put(profile, mask.offset, static_cast<uint32_t>(bits));
}

bool access(const PmThrFamily& family, int operation, void* row, const MIB_Flags_t& columns) {
    return MibAccessHandle(operation, *family.appid, family.module().did(), row, columns, 0) == MIB_OK;
}

int refuse(const char* why) {
    OV_LOG_ERROR("MMG", "%s", why);
    return OV_GPON_RET_BAD_PARAM;
}

int write(const PmThrFamily& family, int operation, void* row, const MIB_Flags_t& columns,
          const char* failure) {
    return access(family, operation, row, columns) ? OV_GPON_RET_OK : refuse(failure);
}

bool is_used(const PmThrFamily& family, int32_t profile) {
    const PmFamily& counters = *family.counters;
    const MIBDID table = counters.module().did();
    const OvraMutexGuard lock(getMutex(table));
    for (void* row = get_table_head(table); row != nullptr; row = row_getNext(table, row))
        if (get<int32_t>(row, counters.closing.profile) == profile)
            return true;
    return false;
}

} // namespace

// ---- the profile of a new system --------------------------------------------------------------------------

void pm_thr_read_default(const PmThrFamily& family, const ov_util_ini_file& file, void* row) {
    const TableDesc& desc = desc_of(family);
    std::memset(row, 0, desc.entry_size);
    put(row, desc.index.front().offset, DEFAULT_ID);
    std::memcpy(static_cast<char*>(row) + desc.column(NAME_COLUMN)->offset, DEFAULT_NAME,
                sizeof DEFAULT_NAME);
    uint64_t enabled = 0;
    for (unsigned bit = PM_THR_FIRST_BIT; bit <= family.last_bit; ++bit) {
        const ColumnDesc& column = *desc.column(static_cast<int>(bit));
        put(row, column.offset, static_cast<uint64_t>(int64_t{file.get_int("threshold", column.name, 0)}));
        if (file.get_int("tcaenable", column.name, 0) != 0)
            enabled |= 1ull << bit;
    }
    put_mask(family, row, enabled);
}

void pm_thr_init(const PmThrFamily& family, void* row) {
    if (MibNumberGet(family.module().did()) != 0)
        return;
    *family.appid = AssignAppId();
    put(row, desc_of(family).row_status->offset, mib_long{OVRA_CREATEANDGO});
    access(family, MIB_SET_S, row, mibDefFlags);
}

// ---- profiles ---------------------------------------------------------------------------------------------

int pm_thr_add(const PmThrFamily& family, void* attr, MIB_Flags_t* flag) {
    if (attr == nullptr || flag == nullptr)
        return refuse("null pointer");
    const ColumnDesc& status = *desc_of(family).row_status;
    {
        const OvraMutexGuard lock(getMutex(family.module().did()));
        if (family.module().find_row(attr) != nullptr)
            return refuse("same Id exist");
    }
    put(attr, status.offset, mib_long{OVRA_CREATEANDGO});
    mib_flag_set(*flag, status.number);
    return write(family, MIB_SET, attr, *flag, family.add_failure);
}

int pm_thr_edit(const PmThrFamily& family, void* attr, MIB_Flags_t* flag) {
    if (attr == nullptr || flag == nullptr)
        return refuse("null pointer");
    return write(family, MIB_SET, attr, *flag, family.set_failure);
}

int pm_thr_del(const PmThrFamily& family, void* attr) {
    if (attr == nullptr)
        return refuse("null pointer");
    if (is_used(family, get<int32_t>(attr, desc_of(family).index.front().offset)))
        return refuse("this profile is being used, can't be deleted");
    return write(family, MIB_DEL, attr, mibDefFlags, family.del_failure);
}

// ---- crossings --------------------------------------------------------------------------------------------

int pm_thr_check(const PmThrFamily& family, const void* row) {
    const TableDesc& desc = desc_of(family);
    std::vector<char> profile(desc.entry_size);
    put(profile.data(), desc.index.front().offset, get<int32_t>(row, family.counters->closing.profile));
    if (!access(family, MIB_GET, profile.data(), mibDefFlags))
        return 0;
    const uint64_t enabled = mask_in(family, profile.data());
    const TableDesc& counters = family.counters->module().desc();
    const ov_ifindex_t source = family.source(row);
    for (unsigned bit = PM_THR_FIRST_BIT; bit <= family.last_bit; ++bit) {
        const auto counter =
            get<uint64_t>(row, counters.column(static_cast<int>(bit - PM_THR_COUNTER_OF_BIT))->offset);
        const auto threshold = get<uint64_t>(profile.data(), desc.column(static_cast<int>(bit))->offset);
        const bool crossed = (enabled >> bit & 1) != 0 && counter >= threshold;
        gen_tca_alm(source, static_cast<int>(bit + family.code_of_bit),
                    crossed ? TCAALARMSTATE_SET : TCAALARMSTATE_CLEAR);
    }
    return 0;
}
