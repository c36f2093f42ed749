#include "ov_app_gpon_rmunipm_task.h"

#include <array>
#include <ctime>

#include "agentx.h"
#include "app_rows.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_rm_uni.h"
#include "ov_app_gpon_rmunipm.h"
#include "ov_local_time.h"
#include "ov_product_log.h"

namespace {

using Row = ov_sRmUniPmTable_attr_t;
using Record = ov_gpon_rmuni_stats_attr_t;
namespace column = sRmUniPmTable_column;

constexpr int KEY_SIZE = 28; // seven index columns

std::array<Record, RM_UNI_PM_UNIS> onu_pm; // the request in hand, and its answer

// ---- the two stores ---------------------------------------------------------------------------------------

// Rows that are waiting for their turn. What is taken out of it goes for good.
class RowStore {
public:
    constexpr explicit RowStore(int index) : index_(index) {}

    void make() const { data_Init(did(), KEY_SIZE, sizeof(Row)); }
    void add(const Row& row) const {
        Row copy = row;
        row_add(did(), &copy);
    }
    const Row* first() const { return static_cast<const Row*>(get_table_head(did())); }
    void remove_first() const {
        Row key = *first();
        row_del(did(), &key);
    }
    void empty() const {
        while (first() != nullptr)
            remove_first();
    }

private:
    MIBDID did() const { return mmg_table_did_getbyindex(index_); }

    int index_;
};

constexpr RowStore CYCLE(SRMUNIPMPON);
constexpr RowStore ONU(SRMUNIPMONU);

bool is_same_onu(const Row& a, const Row& b) {
    return a.portID == b.portID && a.onuId == b.onuId;
}

OvraMutexGuard lock_of_table() {
    return OvraMutexGuard(getMutex(did_of<Row>()));
}

// ---- the pace ---------------------------------------------------------------------------------------------

// Two parts more than there are ONUs, so that a cycle is through when the next one comes.
timeval pace_of(int onus) {
    constexpr int MICROSECONDS = 1'000'000;
    const int parts = onus + 2;
    if (parts < static_cast<int>(RM_UNI_PM_CYCLE_SECONDS))
        return {.tv_sec = static_cast<int>(RM_UNI_PM_CYCLE_SECONDS) / parts, .tv_usec = 0};
    const int pause = static_cast<int>(RM_UNI_PM_CYCLE_SECONDS) * MICROSECONDS / parts;
    return {.tv_sec = pause / MICROSECONDS, .tv_usec = pause % MICROSECONDS};
}

// ---- what a row says of the time --------------------------------------------------------------------------

void stamp(Row& row) {
    constexpr uint32_t MINUTES = 15;
    const uint32_t sample = get_local_time();
    const auto now = static_cast<time_t>(sample);
    tm local = {};
    localtime_r(&now, &local);
    row.sRmUniPmTableSampleTimeStamp = sample;
    row.sRmUniPmTableEndTimeStamp =
        sample - static_cast<uint32_t>(local.tm_min) % MINUTES * 60 - static_cast<uint32_t>(local.tm_sec);
    row.sRmUniPmTableStartTimeStamp = row.sRmUniPmTableEndTimeStamp - RM_UNI_PM_CYCLE_SECONDS;
}

// Those that a cycle fetches; the last four of the record are live ones.
constexpr MIB_Flags_t CYCLE_COUNTERS = [] {
    MIB_Flags_t columns = {};
    for (unsigned each = column::sRmUniPmTableFcsErr; each <= column::sRmUniPmTablePktLargerThan1518; ++each)
        mib_flag_set(columns, each);
    return columns;
}();

void save_record(const Record& record, bool valid) {
    auto row = uni_key_of_record<Row>(record);
    if (!mib_access(MIB_GET_S, row))
        return;
    if (valid)
        unipm_map.decode(&record, &row, CYCLE_COUNTERS);
    row.sRmUniPmTableDataValid = valid ? SRMUNIPMTABLEDATAVALID_AVAILABLE : SRMUNIPMTABLEDATAVALID_NA;
    stamp(row);
    if (!mib_access(MIB_SET_S, row, mibDefFlags, gpon_unipm_appid))
        OV_LOG_ERROR("MMG", "set pm data to mib error, %d:%d:%d:%d", row.slotID, row.portID, row.onuId,
                     static_cast<int>(row.onuPortID));
}

// ---- a tick -----------------------------------------------------------------------------------------------

void end_cycle(unsigned int alarm) {
    agentx_alarm_unregister(alarm);
    OV_LOG_INFO("MMG", "all pm work in 900s are finished, time to save pm mib");
    const auto lock = lock_of_table();
    mib_save_sRmUniPmTable_backdoor();
}

// The request for the rows in hand that are in the table still: how many. `onu` is that of the last.
int fill_request(uint32_t& mask, ov_sOnuTable_attr_t& onu) {
    const auto lock = lock_of_table();
    mask = 0;
    onu_pm.fill({});
    int unis = 0;
    while (const Row* row = ONU.first()) {
        onu = onu_key<ov_sOnuTable_attr_t>(*row);
        if (find_stored_row(*row) != nullptr) {
            unipm_map.encode_address(row, &onu_pm[static_cast<size_t>(unis)]);
            mask |= 1u << unis;
            if (++unis == RM_UNI_PM_UNIS)
                break;
        }
        ONU.remove_first();
    }
    return unis;
}

void fetch(uint32_t mask) {
    if (ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_RM_UNI_STATS, OV_HAL_GPON_MSG_ACTION_GET, onu_pm.data(),
                             static_cast<ov_bmp_t>(mask), 1) == OV_GPON_RET_OK)
        save_pm_data_to_mib(&mask, 1);
    else
        OV_LOG_ERROR("MMG", "get pm data error");
}

} // namespace

int pm_clone_whole_mib() {
    const auto lock = lock_of_table();
    CYCLE.empty();
    int onus = 0;
    const Row* before = nullptr;
    for (const Row& row : RowsUnder<Row, WalkedRows::STORED>(Row{}, 0)) {
        CYCLE.add(row);
        if (before == nullptr || !is_same_onu(*before, row))
            ++onus;
        before = &row;
    }
    return onus;
}

PmOnuTaken pm_get_one_onu_mib() {
    ONU.empty();
    if (CYCLE.first() == nullptr)
        return PM_ONU_NONE;
    const Row head = *CYCLE.first();
    while (CYCLE.first() != nullptr && is_same_onu(*CYCLE.first(), head)) {
        ONU.add(*CYCLE.first());
        CYCLE.remove_first();
    }
    return CYCLE.first() == nullptr ? PM_ONU_LAST : PM_ONU_TAKEN;
}

int pm_prepare_one_onu_request(uint32_t* mask) {
    ov_sOnuTable_attr_t onu = {};
    const int unis = fill_request(*mask, onu);
    if (!mib_access(MIB_GET, onu))
        return 0;
    return onu.sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL ? unis : -1;
}

void save_pm_data_to_mib(const uint32_t* mask, int valid) {
    const auto lock = lock_of_table();
    for (size_t n = 0; n < onu_pm.size(); ++n)
        if ((*mask >> n & 1) != 0)
            save_record(onu_pm[n], valid == 1);
}

void rm_uni_pm_onu_task(unsigned int clientreg, void* /*clientarg*/) {
    if (pm_get_one_onu_mib() == PM_ONU_NONE) {
        end_cycle(clientreg);
        return;
    }
    uint32_t mask = 0;
    const int unis = pm_prepare_one_onu_request(&mask);
    if (unis == 0) {
        OV_LOG_INFO("MMG", "the pm data which existed before is not exist now");
    } else if (unis < 0) {
        OV_LOG_INFO("MMG", "the onu is not working in operational state");
        if (mask != 0)
            save_pm_data_to_mib(&mask, 0);
    } else {
        fetch(mask);
    }
}

void rm_uni_pm_900s_cycle_task(unsigned int /*clientreg*/, void* /*clientarg*/) {
    if (MibNumberGet(did_of<Row>()) == 0) {
        OV_LOG_DEBUG("MMG", "no pm data need to be retrieve!");
        return;
    }
    const int onus = pm_clone_whole_mib();
    if (onus == 0) {
        OV_LOG_ERROR("MMG", "the code should not to here!");
        return;
    }
    if (agentx_alarm_register_hr(pace_of(onus), SA_REPEAT, rm_uni_pm_onu_task, nullptr) == 0)
        OV_LOG_ERROR("MMG", "register the timer for onu pm retrieving task fail\n");
    agentx_snmp_update(); // the loop has to wake up for it
}

void ov_app_gpon_rmunipm_task_init() {
    CYCLE.make();
    ONU.make();
    if (agentx_alarm_register(RM_UNI_PM_CYCLE_SECONDS, SA_REPEAT, rm_uni_pm_900s_cycle_task, nullptr) != 0)
        OV_LOG_INFO("MMG", "register a %d s timer task for rmunipm ok",
                    static_cast<int>(RM_UNI_PM_CYCLE_SECONDS));
    agentx_snmp_update();
}
