// Counters on the test chassis: owners and rows of the five families, a card that counts, and the passes.
#pragma once

#include <gmock/gmock.h>

#include <atomic>
#include <deque>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "../../support/app_chassis.h"
#include "../../support/test_clock.h"
#include "app_columns.h"
#include "app_loop.h"
#include "ov_app_gpon_pm_cycle.h"
#include "ov_app_gpon_pm_gem.h"
#include "ov_app_gpon_pm_onu.h"
#include "ov_app_gpon_pm_pon.h"
#include "ov_app_gpon_pm_pon_nni.h"
#include "ov_app_gpon_pm_ui.h"
#include "pm_pass.h"
#include "sGemTable.h"
#include "sOnuTable.h"

namespace pm_test {

inline constexpr int SLOT = AppChassis::SLOT;
inline constexpr int PORT = 4;
inline constexpr int ONU = 7;
inline constexpr time_t AT_10_15 = 1'700'043'300; // 2023-11-15 10:15:00 UTC

using PonPm = ov_ponPmTable_attr_t;
using OnuPm = ov_onuPmTable_attr_t;
using GemPm = ov_gemPmTable_attr_t;
using NniPm = ov_ponnniPmTable_attr_t;
using UplinkPm = ov_uplinkPmTable_attr_t;

inline void run(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&](AppChassis& chassis) {
        app_loop_set(frr_master());
        body(chassis);
    });
}

// ---- rows -------------------------------------------------------------------------------------------------

template <typename Row>
Row port_row(int port = PORT, int slot = SLOT) {
    Row row = {};
    row.shelfID = 1;
    row.slotID = slot;
    row.portID = port;
    return row;
}
template <typename Row>
Row onu_row(int onu = ONU, int port = PORT, int slot = SLOT) {
    Row row = port_row<Row>(port, slot);
    row.onuId = onu;
    return row;
}

// A stored row of counters that nobody was asked for.
inline void put_onu_pm(const AppChassis& chassis, int onu, int slot = SLOT, int port = PORT) {
    chassis.put_row<OnuPm>(
        [](OnuPm& row) {
            row.opmFecCodeWords = 1;
            row.opmTxPackets = 1;
            row.opmStartTimeStamp = 11;
            row.opmStopTimeStamp = 12;
            row.opmDataValid = OPMDATAVALID_AVAILABLE;
        },
        1, slot, port, onu);
}
inline const OnuPm* stored_onu_pm(int onu, int slot = SLOT, int port = PORT) {
    return find_row(onu_row<OnuPm>(onu, port, slot));
}

// A write that passes all callbacks, as a manager's.
template <typename Row, typename Change>
bool edit(Row row, unsigned column, Change change) {
    change(row);
    return mib_access(MIB_SET, row, columns_of(column));
}

// ---- a card that counts -----------------------------------------------------------------------------------

// The ONU id, or the port, that a request's interface index names: what its counters are known by.
inline uint32_t index_of(const wire::Bytes& request) {
    return wire::get32(request, wire::PAYLOAD + 8);
}
inline bool is_clearing(const wire::Bytes& request) {
    return wire::get32(request, wire::PAYLOAD + 12) == 1;
}
// A reply in which each counter is the same number.
inline wire::Bytes counted(const FakeCard& card, const wire::Bytes& request, uint64_t count) {
    wire::Bytes reply = card.reply_to(request, 0);
    for (size_t at = wire::PAYLOAD + 16; at + 8 <= reply.size() - 16; at += 8) {
        wire::put32(reply, at, static_cast<uint32_t>(count >> 32));
        wire::put32(reply, at + 4, static_cast<uint32_t>(count));
    }
    return reply;
}
// Each ONU has counted 1000 and its id when it is asked to clear, and 5 when it is just asked.
inline void count(FakeCard& card, const wire::Bytes& request) {
    const uint64_t number = is_clearing(request) ? 1000 + ov_ifindex_get_subport_id(index_of(request)) : 5;
    card.answer(request, counted(card, request, number));
}

// A card that keeps what it is asked, so that a test answers it.
class PatientCard {
public:
    static FakeCard::Behaviour of(const std::shared_ptr<PatientCard>& kept) {
        return [kept](FakeCard& /*card*/, const wire::Bytes& request) {
            const std::lock_guard lock(kept->mutex_);
            kept->requests_.push_back(request);
        };
    }
    size_t waiting() const {
        const std::lock_guard lock(mutex_);
        return requests_.size();
    }
    wire::Bytes take(size_t n = 0) {
        const std::lock_guard lock(mutex_);
        const wire::Bytes request = requests_.at(n);
        requests_.erase(requests_.begin() + static_cast<long>(n));
        return request;
    }

private:
    mutable std::mutex mutex_;
    std::deque<wire::Bytes> requests_;
};

// ---- passes -----------------------------------------------------------------------------------------------

inline bool pass_ends(const PmFamily& family) {
    return loop_until([&family] { return !family.pass().running(); });
}
inline bool run_pass(const PmFamily& family, void (*begin)()) {
    begin();
    return pass_ends(family);
}
// Runs the loop for as long as nothing is waited for.
inline void run_loop_a_while() {
    loop_until([n = 0]() mutable { return ++n > 30; });
}

// Answers from the test's own thread, which is the loop's: it has to take answers before the next has room.
inline void answer(FakeCard& card, const wire::Bytes& request) {
    count(card, request);
    loop_until([n = 0]() mutable { return ++n > 2; });
}

inline std::string file_text(TableModule& table) {
    std::ifstream file(table.path());
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

inline bool logged(const AppChassis& chassis, const std::string& line) {
    const auto lines = chassis.hal.log.lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

} // namespace pm_test
