// The public face: each call goes to the function of the same name in ipcImpl.
#include "ipcApi.h"

#include "ipcImpl.h"
#include "wi_nameserver.h"

#include <limits>

int ipcRegisterService(uint32_t serv_id, uint32_t sub_id, uint32_t flags, int* ipc_handle) {
    return ipcRegisterService_impl(serv_id, sub_id, flags, ipc_handle);
}

int ipcUnregisterService(int ipc_handle) {
    return ipcUnregisterService_impl(ipc_handle);
}

int ipcModifyService(int ipc_handle, uint32_t serv_id, uint32_t sub_id, uint32_t flags) {
    return ipcModifyService_impl(ipc_handle, serv_id, sub_id, flags);
}

int ipcGetHandleFromServSubId(uint32_t serv_id, uint32_t sub_id, int* ipc_handle) {
    return ipcGetHandleFromServSubId_impl(serv_id, sub_id, ipc_handle);
}

int ipcSend(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
            uint32_t* msg_id) {
    return ipcSend_impl(ipc_handle, dest_serv_id, dest_sub_id, msg, size, msg_id);
}

int ipcSendReq(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
               uint32_t* msg_id) {
    return ipcSendReq_impl(ipc_handle, dest_serv_id, dest_sub_id, msg, size, msg_id);
}

int ipcSendMcast(int ipc_handle, uint32_t dest_serv_id, uint32_t low_sub_id, uint32_t high_sub_id, void* msg,
                 int size, uint32_t* msg_id) {
    return ipcSendMcast_impl(ipc_handle, dest_serv_id, low_sub_id, high_sub_id, msg, size, msg_id);
}

int ipcReply(int ipc_handle, const ipc_header* request, void* msg, int size) {
    return ipcReply_impl(ipc_handle, request, msg, size);
}

uint32_t ipcLastMsgNum(int ipc_handle) {
    return ipcLastMsgNum_impl(ipc_handle);
}

bool ipcReturnedForRoom(int ipc_handle) {
    return ipcReturnedForRoom_impl(ipc_handle);
}

int ipcWatchRoom(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id) {
    return ipcWatchRoom_impl(ipc_handle, dest_serv_id, dest_sub_id);
}

int ipcGetReturnFd(int ipc_handle) {
    return ipcGetReturnFd_impl(ipc_handle);
}

int ipcSyncSend(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size, void* reply,
                int reply_size, int timeout, ipc_non_reply_callback_t callback) {
    return ipcSyncSend_impl(ipc_handle, dest_serv_id, dest_sub_id, msg, size, reply, reply_size, timeout,
                            callback);
}

int ipcReceive(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned, int timeout) {
    return ipcReceive_impl(ipc_handle, hdr, msg, size, returned, timeout);
}

int ipcReceiveNonB(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned) {
    return ipcReceiveNonB_impl(ipc_handle, hdr, msg, size, returned);
}

int ipcGetReadFd(int ipc_handle) {
    return ipcGetReadFd_impl(ipc_handle);
}

int ipcGetQueueDepth(int ipc_handle, uint32_t* depth) {
    return ipcGetQueueDepth_impl(ipc_handle, depth);
}

int ipcTopologyNotificationRegister(uint32_t serv_id, wi_ns_topology_t** topology) {
    return ipcTopologyNotificationRegister_impl(serv_id, 0, std::numeric_limits<uint32_t>::max(), 0,
                                                topology);
}

int ipcTopologyNotificationRegisterSubId(uint32_t serv_id, uint32_t sub_id, int timeout,
                                         wi_ns_topology_t** topology) {
    return ipcTopologyNotificationRegister_impl(serv_id, sub_id, sub_id, timeout, topology);
}

int ipcTopologyNotificationRegisterRange(uint32_t serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                                         int timeout, wi_ns_topology_t** topology) {
    return ipcTopologyNotificationRegister_impl(serv_id, low_sub_id, high_sub_id, timeout, topology);
}

int ipcTopologyReceive(wi_ns_topology_t* topology, ipc_ns_event_st* event, int timeout) {
    return ipcTopologyReceive_impl(topology, event, timeout);
}

int ipcTopologyGetReadFd(const wi_ns_topology_t* topology) {
    return topology == nullptr ? -1 : topology->sock;
}

void ipcTopologyUnregister(wi_ns_topology_t* topology) {
    topology_notification_close(topology);
}

int ipcGetStats(ipc_stats* out) {
    return ipcGetStats_impl(out);
}

void ipcResetStats() {
    ipcResetStats_impl();
}

void ipcSetDebugLevel(int level) {
    ipcSetDebugLevel_impl(level);
}

const char* ipcGetErrorCodeStr(int rc) {
    return ipcGetErrorCodeStr_impl(rc);
}

const char* ipcGetMsgTypeStr(uint32_t msg_type) {
    return ipcGetMsgTypeStr_impl(msg_type);
}

void ipcShowIpcHeader(const ipc_header* hdr) {
    ipcShowIpcHeader_impl(hdr);
}

void ipcShowIpcMessage(const ipc_header* hdr, const void* msg, int size) {
    ipcShowIpcMessage_impl(hdr, msg, size);
}

const char* ipcTimestamp() {
    return ipcTimestamp_impl();
}
