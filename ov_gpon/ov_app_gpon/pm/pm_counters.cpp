#include "pm_counters.h"

#include <cstring>

#include <boost/endian/conversion.hpp>

#include "hal_slot.h"
#include "kavo_if.h"
#include "ov_hal_gpon_msg.h"
#include "ov_product_log.h"
#include "ov_types.h"

namespace {

// ---- messages of the GPON catalogue -----------------------------------------------------------------------

PmRecord card_record(const PmReading& reading, const void* row, bool clean) {
    PmRecord record = {};
    record.index.ifIndex = reading.ifindex(row);
    record.index.read_clean = clean ? 1 : 0;
    return record;
}

int read_card(const PmReading& reading, const void* row, bool clean, PmRecord& record) {
    record = card_record(reading, row, clean);
    return ov_hal_gpon_msg_send(reading.message, OV_HAL_GPON_MSG_ACTION_GET, &record, 0, 1);
}

HalRequest request_card(const PmReading& reading, const void* row, bool clean, hal_reply_handle handle,
                        void* context) {
    const PmRecord record = card_record(reading, row, clean);
    return ov_hal_gpon_msg_request(reading.message, OV_HAL_GPON_MSG_ACTION_GET, &record, 0, handle, context);
}

// ---- port statistics --------------------------------------------------------------------------------------

// The index columns that the rows of all network ports begin with.
struct PortPlace {
    int32_t shelf;
    int32_t slot;
    int32_t port;
};

// The port of a row; null, behind a log line, where there is none.
const uif_t* find_port(const void* row) {
    PortPlace at;
    std::memcpy(&at, row, sizeof at);
    const uif_t* port = uif_get_uplink_port_by_phy_info(
        static_cast<uint8_t>(at.shelf), static_cast<uint8_t>(at.slot), static_cast<uint16_t>(at.port));
    if (port == nullptr)
        OV_LOG_ERROR("MMG", "Cannot find uplink interface by phy info shelf %d slot %d port %d", at.shelf,
                     at.slot, at.port);
    return port;
}

bool has_agent(uint32_t slot) {
    return hal_slot_active_flag_check(static_cast<unsigned short>(slot)) != 0;
}

// Counts that arrive between the two messages are lost.
int read_port(const PmReading& /*reading*/, const void* row, bool clean, PmRecord& record) {
    const uif_t* port = find_port(row);
    if (port == nullptr)
        return OV_GPON_RET_NOT_FOUND;
    const uint32_t slot = uif_get_agt_slotid_by_ifindex(port->ifindex);
    if (!has_agent(slot)) // a send to it would succeed, and bring zeros
        return OV_GPON_RET_FAIL;
    hal_msg_stat_t stat = {};
    if (const unsigned result = hal_port_stat_get(port->ifindex, &stat, slot); result != KAVO_OK)
        return static_cast<int>(result);
    std::memcpy(static_cast<void*>(&record), &stat, sizeof stat);
    if (clean)
        hal_port_stat_clear(port->ifindex, slot);
    return OV_GPON_RET_OK;
}

HalRequest request_port(const PmReading& /*reading*/, const void* row, bool /*clean*/,
                        hal_reply_handle handle, void* context) {
    const uif_t* port = find_port(row);
    return port ? hal_port_stat_get_request(port->ifindex, uif_get_agt_slotid_by_ifindex(port->ifindex),
                                            handle, context)
                : HalRequest::FAILED;
}

const void* port_record_in(const hal_nlmsghdr* reply) {
    return reinterpret_cast<const unsigned char*>(reply) + sizeof *reply;
}

void port_cleared(void* /*context*/, unsigned /*result*/, const hal_nlmsghdr* /*reply*/) {
    // a failure is in the log, and the counts will be in the next interval
}

void clear_port(const void* row) {
    const uif_t* port = find_port(row);
    if (port == nullptr)
        return;
    const uint32_t slot = uif_get_agt_slotid_by_ifindex(port->ifindex);
    if (hal_port_stat_clear_request(port->ifindex, slot, port_cleared, nullptr) == HalRequest::NO_ROOM)
        hal_port_stat_clear(port->ifindex, slot);
}

} // namespace

const PmSource PM_CARD_RECORDS = {
    .read = read_card, .request = request_card, .record_in = ov_hal_gpon_msg_record, .clear = nullptr};
const PmSource PM_PORT_STATISTICS = {
    .read = read_port, .request = request_port, .record_in = port_record_in, .clear = clear_port};

void pm_copy_counters(const PmReading& reading, const void* record, void* row) {
    const auto* counters = static_cast<const unsigned char*>(record) + PM_RECORD_HEAD;
    for (const PmCounter& each : reading.counters) {
        const uint64_t value = boost::endian::load_big_u64(counters + each.field);
        std::memcpy(static_cast<char*>(row) + each.column, &value, sizeof value);
    }
}

int pm_read_counters(const PmReading& reading, void* row, bool clean) {
    PmRecord record = {};
    const int result = reading.source->read(reading, row, clean, record);
    if (result == OV_GPON_RET_OK)
        pm_copy_counters(reading, &record, row);
    return result;
}
