#include "hal_sock.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>

#include "hal_backup.h"
#include "hal_debug.h"
#include "hal_recv_tipc.h"
#include "hal_sock_tipc.h"
#include "ipcApi.h"
#include "ov_clock.h"
#include "ov_loop_thread.h"
#include "ov_product_log.h"
#include "ov_types.h"

uint32_t sync_msg_seq = 0;
uint32_t async_msg_seq = 0;

namespace {

constexpr std::array MODULES = {
    hal_module_info{HAL_CPM, 0, "unknown"},
    hal_module_info{HAL_CPMU, 0, "cpm"},
    hal_module_info{HAL_EQPTMGR, IPC_SERVICE_PACKT_EQPT_MGR, "eqptmgr"},
    hal_module_info{HAL_MONO, IPC_SERVICE_PACKT_MONO, "mono"},
    hal_module_info{HAL_ZEBRA, IPC_SERVICE_PACKT_ZEBRA, "zebra"},
    hal_module_info{HAL_MSTP, IPC_SERVICE_PACKT_STP, "mstp"},
    hal_module_info{HAL_LLDP, 0, "lldp"},
    hal_module_info{HAL_LACP, IPC_SERVICE_PACKT_LACP, "lacp"},
    hal_module_info{HAL_IGMPS, IPC_SERVICE_PACKT_IGMP, "igmps"},
    hal_module_info{HAL_VRRP, IPC_SERVICE_PACKT_MONO, "vrrp"},
    hal_module_info{HAL_RSTP, IPC_SERVICE_PACKT_STP, "rstp"},
    hal_module_info{HAL_DOT1X, 109, "dot1x"}, // the one service without a name
    hal_module_info{HAL_PIMSM, 0, "pimsm"},
    hal_module_info{HAL_GVRP, IPC_SERVICE_PACKT_MONO, "gvrp"},
    hal_module_info{HAL_SNMP, IPC_SERVICE_PACKT_MAX, "snmp"}, // not IPC_SERVICE_PACKT_SNMP
    hal_module_info{HAL_DHCP, IPC_SERVICE_PACKT_DHCP, "dhcp"},
    hal_module_info{HAL_DHCPSNOOP, IPC_SERVICE_PACKT_DHCPSNOOP, "dhcps"},
    hal_module_info{HAL_MLD_SNOOPING, IPC_SERVICE_PACKT_MLD, "mlds"},
    hal_module_info{HAL_ARP, IPC_SERVICE_PACKT_ARP, "arp"},
    hal_module_info{HAL_GPON, IPC_SERVICE_PACKT_GPON, "gpon"},
    hal_module_info{HAL_RTMGR, IPC_SERVICE_PACKT_ROUTE_MGR, "rtmgr"},
    hal_module_info{HAL_PPPOEIA, IPC_SERVICE_PACKT_PPPOE_IA, "pppoe"},
    hal_module_info{HAL_SWITCH_AGT, 0, "switch_agt"},
    hal_module_info{HAL_SCA, IPC_SERVICE_SCA, "sca"},
};

// 0, or why a message can't be sent.
unsigned length_error(const hal_nlmsghdr* nlhdr) {
    if (!nlhdr || nlhdr->nlmsg_len < sizeof(hal_nlmsghdr))
        return KAVO_PARAM;
    if (nlhdr->nlmsg_len <= HAL_MSG_MAX)
        return KAVO_OK;
    OV_LOG_ERROR("LIB", "Message is too big");
    return KAVO_MEMORY;
}

unsigned _hal_send(hal_nlmsghdr* nlhdr, const hal_msg_t& untouched) {
    const unsigned result = hal_send_sync_tipc(nlhdr);
    if (result == KAVO_OK)
        hal_backup_async(&untouched.hdr); // a mate that can't be reached is no failure of the send
    return result;
}

} // namespace

hal_module_info hal_module_info_get(unsigned module) {
    const auto* found = std::find_if(MODULES.begin(), MODULES.end(),
                                     [module](const hal_module_info& m) { return m.module == module; });
    return found != MODULES.end() ? *found : hal_module_info{module, 0, "unknown"};
}

void hal_init(unsigned module, struct thread_master* master, hal_recv_handle recv) {
    hal_debug_log_init(hal_module_info_get(module).name);
    hal_init_tipc(module, master, recv);
}

unsigned hal_send(hal_nlmsghdr* nlhdr) {
    ov_assert_on_loop();
    if (const unsigned error = length_error(nlhdr); error != KAVO_OK)
        return error;
    ++sync_msg_seq;
    hal_msg_t untouched; // the reply overwrites the message
    std::memcpy(static_cast<void*>(&untouched), nlhdr, nlhdr->nlmsg_len);

    const auto began = ov_mono_now();
    const unsigned result = _hal_send(nlhdr, untouched);
    const auto took = ov_mono_now() - began;

    const hal_nlmsghdr& sent = untouched.hdr;
    hal_debug_log_timing(
        {.len = sent.nlmsg_len,
         .type = sent.nlmsg_type,
         .seq = sync_msg_seq,
         .slot = sent.nlmsg_pid,
         .flags = sent.nlmsg_flags,
         .usec = static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(took).count())});
    return result;
}

unsigned _hal_send_async(hal_nlmsghdr* nlhdr) {
    ov_assert_on_loop();
    if (const unsigned error = length_error(nlhdr); error != KAVO_OK)
        return error;
    ++async_msg_seq;
    return hal_send_async_tipc(nlhdr);
}

unsigned hal_send_async(hal_nlmsghdr* nlhdr) {
    const unsigned result = _hal_send_async(nlhdr);
    if (result == KAVO_OK)
        hal_backup_async(nlhdr);
    return result;
}

unsigned hal_recv(hal_recv_handle filter) {
    return hal_recv_tipc(filter);
}

void hal_set_debug(int debug_flag) {
    hal_debug_flag_set(debug_flag);
    hal_sock_tipc_debug_flag_set(debug_flag);
}
