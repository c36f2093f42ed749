// The daemon's requests to the system controller.
//
// mono_msg_<name> builds a request, with the next sequence number; null when an argument is missing.
// mono_api_<name> builds and sends it through the process's client, and blocks until the reply is in. It
// gives the controller's result (0 for success) or a negative UCLIENT_RESULT; when the request can't be
// built it prints "<its name> failed" to standard error and gives -1.
//
// Event loop's thread, but for mono_api_mib_save_action, which the action thread calls: see uclient.h on
// replies that cross.
#pragma once

#include <cstdint>

#include "ov_types.h"
#include "uclient.h"

// The controller's interfaces, as it pushes them at its start. `reply` may be null.
msg* mono_msg_get_if();
int mono_api_get_if(msg_reply* reply);

// The host name: the reply's data.
msg* mono_msg_get_hostname();
int mono_api_get_hostname(msg_reply* reply);

// Loop detection of a port: on 1, off 0.
msg* mono_msg_loopdetect_set(ov_ifindex_t ifindex, uint32_t set);
int mono_api_loopdetect_set(ov_ifindex_t ifindex, uint32_t set);

// Puts a port into trunk `tid` (set 1) or takes it out (0).
msg* mono_msg_trunk_set(uint32_t set, uint32_t tid, ov_ifindex_t ifindex);
int mono_api_trunk_set(uint32_t set, uint32_t tid, ov_ifindex_t ifindex);

// The scheduler model of a port: simple 1, hierarchy 2.
msg* mono_msg_port_scheduler_mode_set(ov_ifindex_t ifindex, uint32_t sch_mode);
int mono_api_port_scheduler_mode_set(ov_ifindex_t ifindex, uint32_t sch_mode);

// Registers the application for a stage (REC_SEQ) of the configuration replay. The name is cut at 127
// characters.
msg* mono_msg_cfg_sync_prio_set(uint32_t feature_id, const char* appName, uint32_t cfg_prio);
int mono_api_cfg_sync_prio_set(uint32_t feature_id, const char* appName, uint32_t cfg_prio);

// Reports a stage of a slot's replay as done.
msg* mono_msg_cfg_recovery_notify_result(const char* appName, uint32_t slot_id, uint32_t cfg_prio,
                                         uint32_t retcode);
int mono_api_cfg_recovery_notify_result(const char* appName, uint32_t slot_id, uint32_t cfg_prio,
                                        uint32_t retcode);

// Asks for a table to be saved: the controller sends the request back as an event when it suits. The name
// is cut at 62 characters.
msg* mono_msg_mib_save_action(uint32_t action_seq, const char* mibTable);
int mono_api_mib_save_action(uint32_t action_seq, const char* mibTable);
