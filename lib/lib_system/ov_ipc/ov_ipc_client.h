// The client of the client-server scheme: its names, and the messages that it exchanges with a server.
//
// A message is a type, a return code of each side and up to OV_IPC_CLIENT_MAX_DATA bytes. Functions that take
// a message give -1 for a null one. A message belongs to one thread at a time.
#pragma once

#include <cstdint>

inline constexpr int OV_IPC_CLIENT_MAX_DATA = 4096;

struct ov_ipc_client_msg_t;

// Registers the two names of application `app` (0 to 999) on `slot` (0 to 99) under service
// IPC_SERVICE_MISC: one to send and one to receive by the sub ids of ov_ipc_private.h. 0, also when that was
// done before; -1 for a number out of range or a name that can't be had.
int ov_ipc_client_init(int slot, int app);

// An empty message of type 0; null when memory is used up. Freed with ov_ipc_client_msg_destroy.
ov_ipc_client_msg_t* ov_ipc_client_msg_new();
void ov_ipc_client_msg_destroy(ov_ipc_client_msg_t* msg);

int ov_ipc_client_msg_edit_type(ov_ipc_client_msg_t* msg, int type);
int ov_ipc_client_msg_get_type(const ov_ipc_client_msg_t* msg);

// Copies the data in. -1 for null data of a length above 0, or a length out of range; the message is
// unchanged then.
int ov_ipc_client_msg_edit_data(ov_ipc_client_msg_t* msg, const void* data, int len);
// The message's own copy, valid until it is edited or destroyed; null when it has no data.
const void* ov_ipc_client_msg_get_data(const ov_ipc_client_msg_t* msg);
int ov_ipc_client_msg_get_data_len(const ov_ipc_client_msg_t* msg);

// What the server's handler made of the request.
int ov_ipc_client_edit_server_return_code(ov_ipc_client_msg_t* msg, int rc);
int ov_ipc_client_get_server_return_code(const ov_ipc_client_msg_t* msg);
// What became of the exchange.
int ov_ipc_client_msg_edit_return_code(ov_ipc_client_msg_t* msg, int rc);
int ov_ipc_client_msg_get_return_code(const ov_ipc_client_msg_t* msg);
