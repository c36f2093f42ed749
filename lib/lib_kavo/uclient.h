// The client of the system controller.
//
// Two TCP connections: on the synchronous one the daemon sends a request and waits for the reply, on the
// asynchronous one, which the controller opens back to the daemon, the controller pushes events. Event
// loop's thread, except for uclient_get_seqnr. The synchronous connection has no lock: of two threads that
// send at once, one may read the other's reply (-5). Nothing reconnects; the platform restarts the daemon.
#pragma once

#include <cstdint>
#include <span>

#include "kavo_if.h"
#include "kavo_msg.h"

// Ports with a meaning of their own: only to a controller is the synchronous connection made, and a client
// on the port below gets no events.
inline constexpr unsigned short UCLIENT_CONTROLLER_PORT = 30000;
inline constexpr unsigned short UCLIENT_CONTROLLER_PORT_ALT = 30200;
inline constexpr unsigned short UCLIENT_SYNC_ONLY_PORT = 30022;

// The handle. Descriptors are -1 where there is none. A callback's record is valid for the call, its texts
// are terminated; its result isn't looked at. An empty slot drops the event.
struct uclient_s {
    int fd_sync;
    int fd_async;
    int async_server_sock;
    int (*if_new)(umsg_if_t*);
    int (*if_del)(umsg_if_t*);
    int (*trunk_set)(umsg_trunk_t*);
    int (*if_admin)(umsg_if_t*);
    int (*if_status)(umsg_if_t*);
    int (*vlan_create)(umsg_vlan_t*);
    int (*vlan_destroy)(umsg_vlan_t*);
    int (*vlan_port)(umsg_vlan_port_t*);
    int (*ip_add)(umsg_ip_t*);
    int (*ip_del)(umsg_ip_t*);
    int (*ip_update)(umsg_ip_t*);
    int (*host)(umsg_host_t*);
    int (*gpon_redistribute)(umsg_gpon_t*);
    int (*protect_group_add)(umsg_protect_group_t*);
    int (*protect_group_del)(umsg_protect_group_t*);
    int (*onu_status_notify)(umsg_onu_op_t*);
    int (*slot_add)(uint32_t slot);
    int (*slot_remove)(umsg_card_t*);
    int (*slot_active)(uint32_t slot);
    int (*slot_deactive)(umsg_card_t*);
    int (*slot_switch_2_active_start)(uint32_t slot);
    int (*slot_switch_2_active_end)(uint32_t slot);
    int (*slot_cfg_sync_start)(umsg_cfg_sync_t*);
    int (*slot_cfg_sync_end)(umsg_cfg_sync_t*);
};

// The process's client; set by main after uclient_connect, null before.
extern uclient_s* uclient;

// What the events set off in the layers above. Installed by main; a null pointer is skipped.
struct uclient_upcalls {
    // The flags that say which cards can be talked to, with the caller's function name and line.
    void (*slot_active_flag_set)(const char* func_name, int line, unsigned short slot);
    void (*slot_active_flag_clear)(const char* func_name, int line, unsigned short slot);
    unsigned (*slot_active_flag_check)(unsigned short slot);
    int (*init_hal_backup)();
    void (*snmp_agent_start)();
    int (*mmg_table_save_immediate)(const char* table); // 0: saved
};
// Copies the record; null takes all away.
void uclient_set_upcalls(const uclient_upcalls*);

// ---- connection ----------------------------------------------------------------------------------

// Connects to the controller at this board's inner address (`ip` isn't used), port `dstport`, from
// `syncport`, and waits, without limit, for the connection back on `syncport` + 1. `pgname` names the
// program in the log. Null after any failure, logged, with everything closed.
uclient_s* uclient_connect(const char* pgname, unsigned int ip, unsigned short dstport,
                           unsigned short syncport);
// Closes the descriptors and frees the handle; 0, or -1 for null.
int uclient_close(uclient_s*);
// Sets two of the callback slots.
void uclient_register_callback(uclient_s*, int (*if_new)(umsg_if_t*), int (*if_del)(umsg_if_t*));

// ---- requests ------------------------------------------------------------------------------------

// Results of a request that didn't get through; any other number is the controller's own.
enum UCLIENT_RESULT : int {
    UCLIENT_OK = 0,
    UCLIENT_NO_CLIENT = -1,    // no handle or no message
    UCLIENT_SEND_FAILED = -2,  // the request could not be written
    UCLIENT_NO_REPLY = -3,     // the connection ended, or what came was not a message
    UCLIENT_BAD_TYPE = -4,     // what came was not a reply
    UCLIENT_BAD_SEQUENCE = -5, // the reply belongs to another request
    UCLIENT_BAD_LENGTH = -6,   // the reply's data doesn't fit, or its length is a lie
};

// Sends a request and blocks until its reply is in. Takes `msg`, whatever happens. `reply` may be null.
// Gives the controller's result, or a UCLIENT_RESULT.
int uclient_send(uclient_s*, msg* msg, msg_reply* reply);
int uclient_send_request(uclient_s*, msg* msg, msg_reply* reply);

// A number for the next request: 1 to 0x7FFFFFFF, then from 1 again. Any thread.
unsigned uclient_get_seqnr();
// The number that follows `seqnr`.
unsigned uclient_seqnr_after(unsigned seqnr);

// With the flag set, every message sent or received is logged. 0 at start.
int uclient_debug_flag_get();
void uclient_debug_flag_set(int flag);

// ---- events --------------------------------------------------------------------------------------

// Takes what waits on the descriptor, up to the end of one message, and dispatches the message if that makes
// it whole; the beginning of one is kept with the descriptor until its rest comes. Never blocks, and never
// takes a second message, however many wait: a peer that floods has its turn with the others. 0, or -1 when
// nothing more can be read, or a message isn't whole MSG_FRAME_TIME after its first byte: the connection is
// then to be closed.
int uclient_handle_async(uclient_s*, int fd);
// Milliseconds that the message in the making on this descriptor has left until uclient_handle_async gives it
// up; -1 when there is none.
long uclient_async_left_msec(int fd);
// Closes the descriptor of an asynchronous connection and forgets what has come on it.
void uclient_close_async(int fd);
// Dispatches a message that came on `fd`; the message stays the caller's. No reply is ever sent. An
// unknown type or a body shorter than its record is logged and dropped. Gives 0.
int uclient_msghandle(uclient_s*, const msg*, int fd);

// The cases that do more than call a callback. Each takes the message's body and drops a short one.
void uclient_handle_slot_add(uclient_s*, std::span<const uint8_t> body);
void uclient_handle_slot_remove(uclient_s*, std::span<const uint8_t> body);
void uclient_handle_slot_active(uclient_s*, std::span<const uint8_t> body);
void uclient_handle_slot_deactive(uclient_s*, std::span<const uint8_t> body);
void uclient_handle_slot_cfg_sync_start(uclient_s*, std::span<const uint8_t> body);
void uclient_handle_slot_cfg_sync_end(uclient_s*, std::span<const uint8_t> body);
void uclient_handle_sc_switch_2_active_start(uclient_s*, std::span<const uint8_t> body);
void uclient_handle_sc_switch_2_active_end(uclient_s*, std::span<const uint8_t> body);
void uclient_handle_start_snmp_agentx(uclient_s*, std::span<const uint8_t> body);
void uclient_handle_mibsave_request(uclient_s*, std::span<const uint8_t> body);

// ---- interface list ------------------------------------------------------------------------------

// The interface record of the event, made when there is none, with the event's flags and serial number.
// Null when the list is full or the index has no name.
uif_t* uclient_new_if(const umsg_if_t*);
// Takes flags, speed and duplex of the event over; null when the interface isn't in the list.
uif_t* uclient_if_status(const umsg_if_t*);
// Takes an interface out of the list.
void uclient_del_if(ov_ifindex_t ifindex);
