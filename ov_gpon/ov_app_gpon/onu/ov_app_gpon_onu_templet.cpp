// Template ONUs. The rows of a service profile stand once in the tables, and the cards know them; an ONU that
// is bound to the profile gets them from the card. What is left to do for each ONU is to count them against
// its own slot and port, and to have their GEM ports recorded.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <optional>
#include <span>

#include "app_set_callback.h"
#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_pm_gem.h"
#include "ov_gpon.h"
#include "ov_product_log.h"
#include "sGemTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

namespace {

using Onu = ov_sOnuTable_attr_t;

// What the rows of a profile amount to in one table. Sums are formed in 64 bits.
struct Amounts {
    int64_t count = 0;
    int64_t sum_assFixSumBw = 0;
    int64_t sum_fixedBw = 0;
};

// The counters are of 32 bits; what doesn't fit one is beyond every limit.
int as_count(int64_t amount) {
    return static_cast<int>(std::clamp<int64_t>(amount, INT_MIN, INT_MAX));
}

// One counter that a step takes from.
struct Counter {
    ov_gpon_attr_index_t selector;
    int64_t Amounts::*amount;
};

// One step: what the profile's rows of a table amount to (none: it can't be told, the step fails), and the
// counters in the order in which they are taken.
struct Step {
    std::optional<Amounts> (*amounts)(mib_ulong profile_id);
    std::span<const Counter> counters;
};

// ---- the three steps -----------------------------------------------------------------------------------

std::optional<Amounts> tcont_amounts(mib_ulong profile_id) {
    std::optional<Amounts> sum = Amounts{};
    for_each_template_row<ov_sTcontTable_attr_t>(profile_id, [&](const ov_sTcontTable_attr_t& tcont) {
        int assAndFix = 0;
        int fixed = 0;
        if (!sum)
            return;
        if (ov_app_gpon_bwtype_assAndFix_get(tcont.sTcontTableBwProfileName, &assAndFix, &fixed) != 1) {
            ov_refusal_because("no bandwidth profile \"%s\", which T-CONT %u of the service profile has",
                               tcont.sTcontTableBwProfileName, static_cast<unsigned>(tcont.tcontId));
            sum.reset();
            return;
        }
        ++sum->count;
        sum->sum_assFixSumBw += assAndFix;
        sum->sum_fixedBw += fixed;
    });
    return sum;
}

template <typename Row>
std::optional<Amounts> row_count(mib_ulong profile_id) {
    Amounts sum;
    for_each_template_row<Row>(profile_id, [&](const Row& /*row*/) { ++sum.count; });
    return sum;
}

constexpr Counter TCONT_COUNTERS[] = {
    {TCONT_LIMIT_INDEX, &Amounts::count},
    {USMAXBW_LIMIT_INDEX, &Amounts::sum_assFixSumBw},
    {BW_LIMIT_INDEX, &Amounts::sum_fixedBw},
};
constexpr Counter GEM_COUNTERS[] = {{GEM_LIMIT_INDEX, &Amounts::count}};
constexpr Counter SERVICE_PORT_COUNTERS[] = {{SRVPORT_LIMIT_INDEX, &Amounts::count}};

const Step TCONT_STEP = {tcont_amounts, TCONT_COUNTERS};
const Step GEM_STEP = {row_count<ov_sGemTable_attr_t>, GEM_COUNTERS};
const Step SERVICE_PORT_STEP = {row_count<ov_servicePortTable_attr_t>, SERVICE_PORT_COUNTERS};

// ---- the engine ----------------------------------------------------------------------------------------

void log_not_reserved(ov_gpon_attr_index_t selector, int slot, int port, int amount) {
    switch (selector) {
    case TCONT_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "reserve tcont info error slot %d port %d,count_tcont %d", slot, port, amount);
        break;
    case USMAXBW_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "reserve bw info error slot %d port %d sum_assFixSumBw %d", slot, port, amount);
        break;
    case BW_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "reserve bw info error slot %d port %d sum_fixedBw %d", slot, port, amount);
        break;
    case GEM_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "reserve gem info error slot %d port %d count_gem %d ", slot, port, amount);
        break;
    case SRVPORT_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "reserve service port info error slot %d port %d count_srvport %d", slot, port,
                     amount);
        break;
    }
}

void log_not_released(ov_gpon_attr_index_t selector, int slot, int port, int amount) {
    switch (selector) {
    case TCONT_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "release tcont info error slot %d port %d count_tcont %d ", slot, port, amount);
        break;
    case USMAXBW_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "release bw info error slot %d port %d sum_assFixSumBw %d", slot, port, amount);
        break;
    case BW_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "release bw info error slot %d port %d sum_fixedBw %d", slot, port, amount);
        break;
    case GEM_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "release gem info error slot %d port %d count_gem %d ", slot, port, amount);
        break;
    case SRVPORT_LIMIT_INDEX:
        OV_LOG_ERROR("MMG", "release service port info error slot %d port %d count_srvport %d", slot, port,
                     amount);
        break;
    }
}

bool take(const Onu& onu, const Counter& counter, const Amounts& amounts) {
    return ov_gpon_resource_reserve(counter.selector, onu.slotID, onu.portID,
                                    as_count(amounts.*counter.amount)) == KAVO_OK;
}
bool give_back(const Onu& onu, const Counter& counter, const Amounts& amounts) {
    return ov_gpon_resource_release(counter.selector, onu.slotID, onu.portID,
                                    as_count(amounts.*counter.amount)) == KAVO_OK;
}

// All counters or none.
bool reserve(const Onu& onu, std::span<const Counter> counters, const Amounts& amounts) {
    for (size_t n = 0; n < counters.size(); ++n) {
        if (take(onu, counters[n], amounts))
            continue;
        const Counter& failed = counters[n];
        while (n-- > 0)
            give_back(onu, counters[n], amounts);
        log_not_reserved(failed.selector, onu.slotID, onu.portID, as_count(amounts.*failed.amount));
        return false;
    }
    return true;
}

// Up to the first that can't be given back; what was given back before it stays so.
bool release(const Onu& onu, std::span<const Counter> counters, const Amounts& amounts) {
    for (const Counter& counter : counters) {
        if (give_back(onu, counter, amounts))
            continue;
        log_not_released(counter.selector, onu.slotID, onu.portID, as_count(amounts.*counter.amount));
        return false;
    }
    return true;
}

bool is_template_onu(const Onu& onu) {
    return onu.sOnuTableConfigMode == SONUTABLECONFIGMODE_TEMPLET;
}

char check(const Step& step, const Onu& onu, int action) {
    if (!is_template_onu(onu))
        return 1;
    if (onu.sOnuTableSrvProfileId == 0) {
        ov_refusal_because_of(sOnuTable_column::sOnuTableSrvProfileId,
                              "an ONU in template mode needs a service profile");
        OV_LOG_ERROR("MMG", " slot %d port %d onu %d config mode %d ,profile id", onu.slotID, onu.portID,
                     onu.onuId, onu.sOnuTableConfigMode);
        return 0;
    }
    const auto amounts = step.amounts(onu.sOnuTableSrvProfileId);
    if (!amounts)
        return 0;
    if (action == OV_HAL_GPON_MSG_ACTION_CREATE)
        return reserve(onu, step.counters, *amounts) ? 1 : 0;
    if (action == OV_HAL_GPON_MSG_ACTION_DELETE)
        return release(onu, step.counters, *amounts) ? 1 : 0;
    return 1;
}

// The rows are counted anew: they can't have changed within one access.
void take_back(const Step& step, const Onu& onu, int action) {
    const bool gives_back = action == OV_HAL_GPON_MSG_ACTION_CREATE;
    if (!is_template_onu(onu) || onu.sOnuTableSrvProfileId == 0 ||
        (!gives_back && action != OV_HAL_GPON_MSG_ACTION_DELETE))
        return;
    const auto amounts = step.amounts(onu.sOnuTableSrvProfileId);
    if (!amounts)
        return;
    for (size_t n = step.counters.size(); n-- > 0;) {
        if (gives_back)
            give_back(onu, step.counters[n], *amounts);
        else
            take(onu, step.counters[n], *amounts);
    }
}

} // namespace

char ov_app_gpon_onu_templet_tcont_check(ov_sOnuTable_attr_t* attr, int action) {
    return check(TCONT_STEP, *attr, action);
}
char ov_app_gpon_onu_templet_gemport_check(ov_sOnuTable_attr_t* attr, int action) {
    return check(GEM_STEP, *attr, action);
}
char ov_app_gpon_onu_templet_service_port_check(ov_sOnuTable_attr_t* attr, int action) {
    return check(SERVICE_PORT_STEP, *attr, action);
}
void ov_app_gpon_onu_templet_tcont_release_reserve(ov_sOnuTable_attr_t* attr, int action) {
    take_back(TCONT_STEP, *attr, action);
}
void ov_app_gpon_onu_templet_gemport_release_reserve(ov_sOnuTable_attr_t* attr, int action) {
    take_back(GEM_STEP, *attr, action);
}
void ov_app_gpon_onu_templet_service_port_release_reserve(ov_sOnuTable_attr_t* attr, int action) {
    take_back(SERVICE_PORT_STEP, *attr, action);
}

int ov_app_gpon_onu_gem_pm_is_enable(ov_sOnuTable_attr_t* attr, char isAdd) {
    const auto onu = onu_key_of_ifindex<ov_sGemTable_attr_t>(attr->sOnuTableIfIndex);
    bool done = true;
    for_each_template_row<ov_sGemTable_attr_t>(
        attr->sOnuTableSrvProfileId, [&](const ov_sGemTable_attr_t& templet) {
            if (!done || templet.sGemTablePmEnable == 0)
                return;
            ov_sGemTable_attr_t gem = templet;
            move_to_onu(gem, onu);
            done = ov_app_gpon_pm_gem_edit(&gem, columns_of(sGemTable_column::sGemTablePmEnable), isAdd) ==
                   OV_GPON_RET_OK;
        });
    if (done)
        return OV_GPON_RET_OK;
    OV_LOG_ERROR("MMG", "set gemport pm failed");
    return OV_GPON_RET_FAIL;
}
