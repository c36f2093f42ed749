// The named IPC's logic: what ipcApi passes its calls to, and the forms that lock the handle.
#pragma once

#include "ipcApi.h"
#include "wi_ipc.h"

#include <array>
#include <atomic>
#include <chrono>
#include <optional>
#include <span>

#include <semaphore.h>

// ---- state -----------------------------------------------------------------------------------------

// One registered name. An entry is free while its handle is -1.
struct IPC_service_reg_st {
    uint32_t serv_id = 0;
    uint32_t sub_id = 0;
    std::atomic<int> ipc_handle = -1;
    wi_ipc_register_result_st sockets;
    std::atomic<uint32_t> last_msg_num = 0;                // of what was sent last
    std::atomic<wi_ipc_why> last_return_why = WI_IPC_GONE; // of the message last found to have come back
    sem_t sem;                                             // held by the _sem functions
};

extern std::array<IPC_service_reg_st, IPC_MAX_SERVICE_REGS> IPC_service_reg_data; // by handle
extern sem_t IPC_global_sem;                                                      // guards registrations
extern int IPC_num_service_regs;
extern std::array<std::array<std::atomic<uint32_t>, IPC_STATS_SERVICES>, IPC_STATS_SERVICES> gl_ipc_stats;
extern std::atomic<int> ipc_debug_level_now;

// The registration of a handle, null for a handle that isn't one.
IPC_service_reg_st* ipc_registration(int ipc_handle);

// Sets up the global semaphore, the table and the statistics at the first call. IPC_RC_SEM_INIT_FAIL lets the
// next call try again.
int ipc_init();
// Importance, buffers and the return of undeliverable messages, as the carrier has them. 0 or an errno.
int ipcSetSocketOpts(const IPC_service_reg_st& reg);

// ---- the API's functions, without locking the handle --------------------------------------------------

int ipcRegisterService_impl(uint32_t serv_id, uint32_t sub_id, uint32_t flags, int* ipc_handle);
int ipcUnregisterService_impl(int ipc_handle);
int ipcModifyService_impl(int ipc_handle, uint32_t serv_id, uint32_t sub_id, uint32_t flags);
int ipcGetHandleFromServSubId_impl(uint32_t serv_id, uint32_t sub_id, int* ipc_handle);
int ipcSend_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                 uint32_t* msg_id);
int ipcSendReq_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                    uint32_t* msg_id);
int ipcSendMcast_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                      void* msg, int size, uint32_t* msg_id);
int ipcReply_impl(int ipc_handle, const ipc_header* request, void* msg, int size);
int ipcSyncSend_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                     void* reply, int reply_size, int timeout, ipc_non_reply_callback_t callback);
int ipcReceive_impl(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned, int timeout);
int ipcReceiveNonB_impl(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned);
uint32_t ipcLastMsgNum_impl(int ipc_handle);
bool ipcReturnedForRoom_impl(int ipc_handle);
int ipcWatchRoom_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id);
int ipcGetReturnFd_impl(int ipc_handle);
int ipcGetReadFd_impl(int ipc_handle);
int ipcGetQueueDepth_impl(int ipc_handle, uint32_t* depth);
int ipcTopologyNotificationRegister_impl(uint32_t serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                                         int timeout, wi_ns_topology_t** topology);
int ipcTopologyReceive_impl(wi_ns_topology_t* topology, ipc_ns_event_st* event, int timeout);
int ipcGetStats_impl(ipc_stats* out);
void ipcResetStats_impl();
void ipcSetDebugLevel_impl(int level);
const char* ipcGetErrorCodeStr_impl(int rc);
const char* ipcGetMsgTypeStr_impl(uint32_t msg_type);
void ipcShowIpcHeader_impl(const ipc_header* hdr);
void ipcShowIpcMessage_impl(const ipc_header* hdr, const void* msg, int size);
const char* ipcTimestamp_impl();

// ---- forms of their own for the control blocks -------------------------------------------------------

// Whom a request goes to, and where it and its reply stand: both behind IPC_HDR_SIZE bytes of their buffers.
struct ipc_peer {
    uint32_t serv_id;
    uint32_t sub_id;
};
struct ipc_exchange {
    void* msg;
    int size;
    std::span<uint8_t> reply;
    std::chrono::steady_clock::time_point deadline;
    ipc_non_reply_callback_t callback;
    bool (*is_awaited)(const ipc_header& request) = nullptr; // as ipc_app_cb
};
// ipcSyncSend with a point in time, which bounds the whole wait whatever arrives meanwhile.
int ipc_sync_send_until(int ipc_handle, const ipc_peer& to, const ipc_exchange& exchange);

// Takes an own one-way message that has come back: its length, with *msg cut to the bytes of it that came.
// IPC_RC_NO_MESSAGE when none has, IPC_RC_RTRNED_MSG_WAITING when a request stands in front (it is left for
// the next send to report), IPC_RC_FAILED.
int ipc_take_returned(int ipc_handle, ipc_header* hdr, std::span<uint8_t>* msg);
// Takes what has arrived, without waiting and without a look at what came back: a length, IPC_RC_NO_MESSAGE,
// IPC_RC_FAILED.
int ipc_take_arrived(int ipc_handle, ipc_header* hdr, std::span<uint8_t> msg);
// Whether the message that came back and is next to be taken is a request, whose header is then in *hdr.
bool ipc_request_came_back(int ipc_handle, ipc_header* hdr);

// ---- the same with the handle's semaphore held, so that threads can share a handle ---------------------
// Besides the plain functions' results: IPC_RC_SEM_WAIT_FAIL (nothing was done), IPC_RC_SEM_POST_FAIL.

int ipcSend_impl_sem(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                     uint32_t* msg_id);
int ipcSendReq_impl_sem(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                        uint32_t* msg_id);
int ipcSendMcast_impl_sem(int ipc_handle, uint32_t dest_serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                          void* msg, int size, uint32_t* msg_id);
int ipcReply_impl_sem(int ipc_handle, const ipc_header* request, void* msg, int size);
// Held until the reply is there: it blocks the other senders on the handle.
int ipcSyncSend_impl_sem(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                         void* reply, int reply_size, int timeout, ipc_non_reply_callback_t callback);
int ipc_sync_send_until_sem(int ipc_handle, const ipc_peer& to, const ipc_exchange& exchange);
int ipc_take_returned_sem(int ipc_handle, ipc_header* hdr, std::span<uint8_t>* msg);
int ipc_take_arrived_sem(int ipc_handle, ipc_header* hdr, std::span<uint8_t> msg);
int ipcReceive_impl_sem(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned, int timeout);
int ipcReceiveNonB_impl_sem(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned);

// ---- inside the library --------------------------------------------------------------------------------

// The semaphore calls, which a test may let fail.
struct ipc_sem_calls_t {
    int (*init)(sem_t*, int, unsigned);
    int (*wait)(sem_t*);
    int (*post)(sem_t*);
    int (*destroy)(sem_t*);
};
extern ipc_sem_calls_t ipc_sem_calls;

// The semaphore's part of an operation. 0, IPC_RC_SEM_WAIT_FAIL or IPC_RC_SEM_POST_FAIL; signals don't end
// the wait.
int ipc_sem_take(sem_t* sem);
int ipc_sem_give(sem_t* sem);

// Where a message goes: one name, or a range of sub ids.
struct ipc_destination {
    uint32_t serv_id;
    uint32_t low_sub_id;
    uint32_t high_sub_id;
    bool mcast;
};
// Fills in the header in front of the message and sends both; all send functions end here. `msg_id` is that
// of the request for a reply; for other types it gets the new one (may be null).
int ipc_prep_hdr_and_send(int ipc_handle, const ipc_destination& to, ipc_msg_type type, void* msg, int size,
                          uint32_t* msg_id);
// Looks for a message that came back: IPC_RC_SUCCESS for none, IPC_RC_MSG_RTRNED for the one with this id
// (taken), IPC_RC_RTRNED_MSG_WAITING for another (left there), IPC_RC_UNEXPECTED when that fails.
int ipc_returned_msg_peak(IPC_service_reg_st& reg, uint32_t msg_id);

// ipcReceive with a point in time instead of seconds; none waits for ever.
int ipc_receive_until(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned,
                      std::optional<std::chrono::steady_clock::time_point> deadline);
// Waits a moment (WI_IPC_SOON) for a message, in which returned ones aren't looked at: a length,
// IPC_RC_NO_MESSAGE, IPC_RC_FAILED. The header's place in front of `msg` is used.
int ipc_receive_soon(int ipc_handle, ipc_header* hdr, std::span<uint8_t> msg);
// Takes what is there without waiting, returned messages first: a length, IPC_RC_NO_MESSAGE, IPC_RC_FAILED.
int ipc_take_message(IPC_service_reg_st& reg, ipc_header* hdr, std::span<uint8_t> msg, int* returned);
