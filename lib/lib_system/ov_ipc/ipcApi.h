// The named IPC for programs: register a name, send to names, receive.
//
//   int handle;
//   ipcRegisterService(IPC_SERVICE_MISC, 7, 0, &handle);
//   std::array<char, IPC_HDR_SIZE + 5> buf;           // the header's place in front of the message
//   memcpy(buf.data() + IPC_HDR_SIZE, "hello", 5);
//   ipcSend(handle, IPC_SERVICE_MISC, 8, buf.data() + IPC_HDR_SIZE, 5, &msg_id);
//
// Send buffers: `msg` points at the message, and the IPC_HDR_SIZE bytes in front of it belong to the caller's
// buffer too: the header is written there, so that a message leaves without a copy. No alignment is needed.
// Sending and receiving allocate no memory.
//
// Results are those of enum ipc_rc; those that receive give the message's length, which is one more than the
// buffer holds for a message that was cut: the rest is lost then. Every function with a handle gives
// IPC_RC_INVALID_IDENT for one that isn't registered.
//
// Threads: registration is guarded by one lock. The functions here don't lock a handle; two threads that
// share one use the _sem forms of ipcImpl.h (the control blocks of ipc_app_cb.h do), which hold the handle's
// semaphore during the call.
#pragma once

#include "ipc_types.h"

struct wi_ns_topology_t;
struct ipc_ns_event_st;

// ---- registrations ---------------------------------------------------------------------------------

// Binds the name (serv_id, sub_id) and gives a handle of 0 to 109. `flags` is kept for the connection-style
// sockets, which this system leaves out: 0. IPC_RC_FAILED when 110 names are registered, when the carrier
// refuses (no TIPC; on the unix carrier, name bound already) or for a null output; IPC_RC_SEM_INIT_FAIL.
int ipcRegisterService(uint32_t serv_id, uint32_t sub_id, uint32_t flags, int* ipc_handle);
// Closes the sockets and frees the handle; the name is free at once. No thread may be in a call on it.
int ipcUnregisterService(int ipc_handle);
// Gives the handle another name. The old one stands when the new one can't be bound (IPC_RC_FAILED).
// Messages that wait under the old name are lost.
int ipcModifyService(int ipc_handle, uint32_t serv_id, uint32_t sub_id, uint32_t flags);
// IPC_RC_INVALID_IDENT when this process has no such registration.
int ipcGetHandleFromServSubId(uint32_t serv_id, uint32_t sub_id, int* ipc_handle);

// ---- sending ---------------------------------------------------------------------------------------

// One-way message of type IPC_ASYNC. `msg_id` (may be null) gets the id it was sent with. Never waits.
// IPC_RC_SUCCESS; IPC_RC_MSG_RTRNED when it came back at once (nobody has the name, or its receiver has no
// room: ipcReturnedForRoom tells; it has been taken); IPC_RC_RTRNED_MSG_WAITING when it was sent but an older
// one waits at the send side (take it with ipcReceive); IPC_RC_SND_BUFF_FULL; IPC_RC_MSG_TOO_LONG above 66000
// bytes with the header; IPC_RC_UNEXPECTED when the send side can't be looked at; IPC_RC_FAILED for anything
// else.
int ipcSend(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
            uint32_t* msg_id);
// The same with the type IPC_REQUEST, for a reply that is collected elsewhere.
int ipcSendReq(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
               uint32_t* msg_id);
// IPC_ASYNC to everyone who has a sub id from low to high. It comes back when that is nobody.
int ipcSendMcast(int ipc_handle, uint32_t dest_serv_id, uint32_t low_sub_id, uint32_t high_sub_id, void* msg,
                 int size, uint32_t* msg_id);
// Answers a request: IPC_REPLY with the request's id to its sender's name.
int ipcReply(int ipc_handle, const ipc_header* request, void* msg, int size);

// The msg_num in the header of the last message that was sent on the handle. It names a message among all
// that this process sends, and a later one has the greater (counted round).
uint32_t ipcLastMsgNum(int ipc_handle);
// Whether the message that the last call on the handle found to have come back did so because its receiver is
// there but has no room, and is thus worth sending again. False for one that nobody was there for.
bool ipcReturnedForRoom(int ipc_handle);
// A descriptor that polls writable once whoever has the name has room, or has gone; the caller closes it.
// IPC_RC_FAILED where only another try can tell (TIPC) or there is nobody.
int ipcWatchRoom(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id);
// The descriptor that is readable when messages have come back by themselves, for event loops; they are taken
// with ipcReceive or ipc_take_returned. IPC_RC_INVALID_IDENT.
int ipcGetReturnFd(int ipc_handle);

// Sends an IPC_REQUEST and waits for the IPC_REPLY with its id, `timeout` seconds in all, 5 for 0.
// `reply` holds `reply_size` bytes for the message and, like a send buffer, IPC_HDR_SIZE bytes in front of
// it, where the reply's header comes to stand. Returns the reply's length (more than reply_size: it was cut).
// A reply is matched by type and id, not by sender. Other messages go to `callback`, or without one are
// shown in the log and dropped. IPC_RC_TIMEOUT; IPC_RC_MSG_RTRNED when the request came back;
// IPC_RC_USER_ABORT by the callback; what ipcSend gives.
int ipcSyncSend(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size, void* reply,
                int reply_size, int timeout, ipc_non_reply_callback_t callback);

// ---- receiving -------------------------------------------------------------------------------------

// Waits for a message, `timeout` seconds or without limit for 0. The header goes to `hdr`, the message to
// `msg` (at most `size` bytes), and `returned` says whether it is one of our own that came back (1; they go
// first). Returns the message's length, IPC_RC_TIMEOUT, IPC_RC_NO_MESSAGE when what had arrived was no IPC
// message (dropped with a line in the log) or another thread took it, or IPC_RC_FAILED.
int ipcReceive(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned, int timeout);
// The same without waiting: IPC_RC_NO_MESSAGE when there is none.
int ipcReceiveNonB(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned);

// The descriptor that is readable when a message waits, for select and event loops; to be read with the
// functions above only. IPC_RC_INVALID_IDENT.
int ipcGetReadFd(int ipc_handle);
// Messages that wait under the name, in `depth`. The unix carrier can only tell none (0) from some (1).
int ipcGetQueueDepth(int ipc_handle, uint32_t* depth);

// ---- name table events -----------------------------------------------------------------------------

// Subscribes to names coming and going: those of a service, of one sub id, or of a range of them.
// `timeout` is in seconds, 0 for ever. Needs TIPC: IPC_RC_FAILED with a line in the log on the unix carrier.
int ipcTopologyNotificationRegister(uint32_t serv_id, wi_ns_topology_t** topology);
int ipcTopologyNotificationRegisterSubId(uint32_t serv_id, uint32_t sub_id, int timeout,
                                         wi_ns_topology_t** topology);
int ipcTopologyNotificationRegisterRange(uint32_t serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                                         int timeout, wi_ns_topology_t** topology);
// Waits for the next event of our services (`timeout` as in ipcReceive). Reopens a broken connection.
int ipcTopologyReceive(wi_ns_topology_t* topology, ipc_ns_event_st* event, int timeout);
// Readable when an event waits; changes when the connection was reopened.
int ipcTopologyGetReadFd(const wi_ns_topology_t* topology);
void ipcTopologyUnregister(wi_ns_topology_t* topology);

// ---- statistics and texts --------------------------------------------------------------------------

// Messages sent by this process, by sender's and destination's service.
struct ipc_stats {
    uint32_t msgs[IPC_STATS_SERVICES][IPC_STATS_SERVICES];
};
int ipcGetStats(ipc_stats* out);
void ipcResetStats();

// IPC_PORT_DEBUG and above choose what goes to the log; 0 is silence.
enum ipc_debug_level : int {
    IPC_NO_DEBUG = 0,
    IPC_PORT_DEBUG = 200,  // registrations
    IPC_SEND_DEBUG = 201,  // and the headers of what is sent
    IPC_RECV_DEBUG = 202,  // and of what is received
    IPC_MSG_DEBUG = 203,   // and the messages' first bytes
    IPC_TOPO_DEBUG = 204,  // and name table events
    IPC_ERROR_DEBUG = 205, // and each result that isn't success
};
void ipcSetDebugLevel(int level);

// The result's name, "IPC RC UNDEFINED!" for a number that isn't one.
const char* ipcGetErrorCodeStr(int rc);
// "IPC_ASYNC", "IPC_REQUEST", "IPC_REPLY" or "IPC_INVALID".
const char* ipcGetMsgTypeStr(uint32_t msg_type);

// Write the header's fields, or the header and the first `size` bytes of the message as hex, to the log.
void ipcShowIpcHeader(const ipc_header* hdr);
void ipcShowIpcMessage(const ipc_header* hdr, const void* msg, int size);

// "HH:MM:SS.uuuuuu" of now, in a buffer of the calling thread that lives until its next call.
const char* ipcTimestamp();
