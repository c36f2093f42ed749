#include "hal_topo.h"

#include "hal_slot.h"
#include "hal_sock_tipc.h"
#include "ov_product_log.h"
#include "ovra_thread.h"
#include "wi_nameserver.h"

int hal_register_tipc_topo_change() {
    wi_ns_topology_t* topology = nullptr;
    const int rc = ipcTopologyNotificationRegister(IPC_SERVICE_PACKT_SWITCH_AGENT, &topology);
    if (rc != IPC_RC_SUCCESS)
        return rc;
    if (Ovra_ThreadCreate("hal_topo", 0, OVRA_THREAD_DEFAULT_STACK, hal_tipc_topo_event_task, topology,
                          nullptr) == 0)
        return IPC_RC_SUCCESS;
    ipcTopologyUnregister(topology);
    return IPC_RC_FAILED;
}

void* hal_tipc_topo_event_task(void* topology) {
    auto* subscription = static_cast<wi_ns_topology_t*>(topology);
    ipc_ns_event_st event = {};
    for (int rc = 0; rc >= 0 || rc == IPC_RC_NO_MESSAGE || rc == IPC_RC_TIMEOUT;) {
        rc = ipcTopologyReceive(subscription, &event, 0);
        if (rc >= 0)
            hal_tipc_topo_callback(&event);
    }
    ipcTopologyUnregister(subscription);
    return nullptr;
}

void hal_tipc_topo_callback(const ipc_ns_event_st* event) {
    const auto app_slotid = static_cast<int>(event->sub_id);
    if (event->serv_id != IPC_SERVICE_PACKT_SWITCH_AGENT ||
        _hal_tipc_get_module_id(app_slotid) != static_cast<int>(IPC_SERVICE_PACKT_SWITCH_AGENT))
        return;
    const int slot = _hal_tipc_get_slot_id(app_slotid);
    if (slot < static_cast<int>(ov_slot_get_min_slot_num()) ||
        slot > static_cast<int>(ov_slot_get_max_slot_num())) {
        OV_LOG_ERROR("LIB", "Error! Bad slot %d from app_slot_id %d ", slot, app_slotid);
        return;
    }
    if (event->ipc_ns_ev == IPC_SERV_PUBLISHED)
        hal_slot_active_flag_set(__func__, __LINE__, static_cast<unsigned short>(slot));
    else if (event->ipc_ns_ev == IPC_SERV_WITHDRAWN)
        hal_slot_active_flag_clear(__func__, __LINE__, static_cast<unsigned short>(slot));
    else
        OV_LOG_ERROR("LIB", "Error! Unknown event %d on slot [service %d, appslot id %d]", event->ipc_ns_ev,
                     event->serv_id, app_slotid);
}
