// Files of the active control card for the standby one, and commands for the platform's peer on another slot.
//
// The standby fetches files by itself: it is told a command that gets them from this board's address on the
// inner network. Each card has a server of the platform that carries such commands out; this module is a
// client of it (ov_ipc_client.h). No word that could mean something to the other side's shell gets into a
// command, and no log line has a password.
//
// Any thread; a call waits for the other slot. One transfer at a time: the next waits for its end.
#pragma once

#include <cstddef>
#include <cstdint>

#include <boost/endian/arithmetic.hpp>

// Results of the library.
enum ov_backup_rc : int {
    OV_FAIL = -1,
    OV_SUCCESS = 0,
    OV_MUTEX_BUSY = 1,
    OV_RDLOCK_BUSY = 2,
    OV_WRLOCK_BUSY = 3,
    OV_THREAD_NULL_ROUTINE = 4,
    OV_SAME_BOOT_LOAD = 5,
    OV_SAME_SHELF_TYPE = 6,
    OV_FILE_LOCKED = 7,
    OV_ALREADY_RUNNING = 8,
    OV_MD5_FILE_MISSING = 9,
    OV_MD5_CHECK_FAIL = 10,
    OV_UNAVAILABLE = 11,
};

// What a request asks for.
// NOLINTBEGIN(readability-identifier-naming): the platform's own names of its requests
enum ov_backup_e : int32_t {
    inform_slot_ftpget = 0,
    inform_backup_new_load_is_operational = 1,
    inform_backup_shelf_type = 2,
    execute_cmd = 3,
    ask_for_env_value = 4,
    ask_for_md5sum = 5,
    ask_for_path_stat = 6,
    become_main = 7,
    become_backup = 8,
    backup_sc_is_online = 9,
    sync_slot_status = 10,
};
// NOLINTEND(readability-identifier-naming)

inline constexpr size_t OV_BACKUP_ARG_SIZE = 1024; // bytes of an argument with its terminator
inline constexpr size_t OV_BACKUP_HOST_SIZE = 24;  // of an address of the inner network

// The request between two cards, big-endian on the wire.
struct ov_backup_s {
    boost::endian::big_int32_at type; // ov_backup_e
    char arg_1[OV_BACKUP_ARG_SIZE];
    boost::endian::big_int32_at arg_1_len; // without the terminator
    char arg_2[OV_BACKUP_ARG_SIZE];
    boost::endian::big_int32_at arg_2_len;
    char arg_3[OV_BACKUP_ARG_SIZE];
    boost::endian::big_int32_at arg_3_len;
};
static_assert(sizeof(ov_backup_s) == 3088);
static_assert(offsetof(ov_backup_s, arg_1) == 4 && offsetof(ov_backup_s, arg_1_len) == 1028);
static_assert(offsetof(ov_backup_s, arg_2) == 1032 && offsetof(ov_backup_s, arg_2_len) == 2056);
static_assert(offsetof(ov_backup_s, arg_3) == 2060 && offsetof(ov_backup_s, arg_3_len) == 3084);

// In front of a request and of its answer: the words of an IPC client's message (ov_ipc_client.h),
// big-endian. An answer has the text that the command printed behind it.
struct ov_backup_head_t {
    boost::endian::big_int32_at type;
    boost::endian::big_int32_at return_code;        // of the exchange
    boost::endian::big_int32_at server_return_code; // of what was asked for
    boost::endian::big_int32_at data_len;           // bytes that follow
};
static_assert(sizeof(ov_backup_head_t) == 16);

// A file on a board: "%s:%s" of host and path.
struct ov_backup_src_path_t {
    char text[OV_BACKUP_ARG_SIZE];
};

// ---- files ------------------------------------------------------------------------------------------------

// Copies a file or directory to the standby control card. 0; OV_UNAVAILABLE on a board that isn't active or
// has no standby; OV_FAIL or the other slot's code when the transfer failed. The environment value
// backup_file_sync_fin is 0 meanwhile and 1 behind it: the attempt is over, whatever came of it.
int ov_backup_sync_path_to_backup_sc(const char* path);
// Has another slot fetch a file or directory of this board, to the same path.
int ov_backup_save_path_to_slot(uint32_t slot, const char* path);
// Tells `slot` to fetch `source`, which is on `own_slot`, to `path`; the first has the platform check what
// came.
int ov_backup_inform_slot_ftpget_and_test(uint32_t own_slot, uint32_t slot,
                                          const ov_backup_src_path_t& source, const char* path);
int ov_backup_inform_slot_ftpget(uint32_t own_slot, uint32_t slot, const ov_backup_src_path_t& source,
                                 const char* path);
// This board's address as a peer on a slot sees it, in OV_BACKUP_HOST_SIZE bytes. 0, or OV_FAIL when no
// control card is in service to tell the plane by.
int ov_backup_get_self_host(uint32_t slot, char* host, size_t size);

// ---- the peer on a slot -----------------------------------------------------------------------------------

// Has a command run there: the command's result, or OV_FAIL when the peer can't be asked or doesn't answer in
// `timeout` microseconds, 1000000 for 0. What it printed goes into `result`, cut and terminated; that may be
// null.
int ov_backup_execute_cmd(uint32_t slot, const char* cmd, char* result, size_t result_len, uint32_t timeout);
// 0: its peer answers.
int ov_backup_slot_is_in_service(uint32_t slot);
// An environment value there, into `value`, which has room for OV_BACKUP_ARG_SIZE bytes. 0, else it is "".
int ov_backup_ask_for_env_value(uint32_t slot, const char* name, char* value);

// Whether refused paths are told in the log.
extern bool g_ov_backup_debug;
