// Names coming and going.
#include "ipcImpl.h"
#include "ov_clock.h"
#include "ov_product_log.h"
#include "wi_nameserver.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <poll.h>

namespace {

constexpr int RECONNECT_PAUSE_MS = 100;

int timeout_ms(std::optional<ov_mono_time_t> deadline) {
    if (!deadline)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - ov_wait_now()).count();
    return int(std::clamp<int64_t>(left, 0, 3600 * 1000));
}

// Waits for the connection to have something to read, or for its reopening.
void wait_readable(const wi_ns_topology_t& topology, std::optional<ov_mono_time_t> deadline) {
    pollfd fd = {topology.sock, POLLIN, 0};
    int ms = timeout_ms(deadline);
    if (topology.sock < 0) // poll passes over it
        ms = ms < 0 ? RECONNECT_PAUSE_MS : std::min(ms, RECONNECT_PAUSE_MS);
    poll(&fd, 1, ms);
}

} // namespace

int ipcTopologyNotificationRegister_impl(uint32_t serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                                         int timeout, wi_ns_topology_t** topology) {
    if (topology == nullptr)
        return IPC_RC_FAILED;
    *topology = nullptr;
    if (timeout < 0 || high_sub_id < low_sub_id)
        return IPC_RC_FAILED;
    const WiIpcCarrier* carrier = wi_ipc_choose_carrier();
    if (carrier != &wi_ipc_tipc_carrier()) {
        OV_LOG_ERROR("IPC", "Names of service %u can't be watched: that needs TIPC", serv_id);
        return IPC_RC_FAILED;
    }
    const uint32_t ms =
        timeout == 0 ? WI_NS_FOREVER : uint32_t(std::min<int64_t>(timeout * 1000LL, 0xfffffffe));
    const int error = topology_notification_init(serv_id, low_sub_id, high_sub_id, ms, topology);
    if (error != 0)
        OV_LOG_ERROR("IPC", "Names of service %u can't be watched: %s", serv_id, strerror(error));
    return error == 0 ? int(IPC_RC_SUCCESS) : int(IPC_RC_FAILED);
}

int ipcTopologyReceive_impl(wi_ns_topology_t* topology, ipc_ns_event_st* event, int timeout) {
    if (topology == nullptr || event == nullptr || timeout < 0)
        return IPC_RC_FAILED;
    std::optional<ov_mono_time_t> deadline;
    if (timeout > 0)
        deadline = ov_wait_now() + std::chrono::seconds(timeout);
    for (;;) {
        const int error = topology_receive(topology, event);
        if (error == 0) {
            if (ipc_debug_level_now >= IPC_TOPO_DEBUG)
                OV_LOG_DEBUG("IPC", "Name event %d of service %u, sub id %u", event->ipc_ns_ev,
                             event->serv_id, event->sub_id);
            return IPC_RC_SUCCESS;
        }
        if (error != EAGAIN)
            topo_server_reconnect(topology);
        if (deadline && ov_wait_now() >= *deadline)
            return IPC_RC_TIMEOUT;
        wait_readable(*topology, deadline);
    }
}
