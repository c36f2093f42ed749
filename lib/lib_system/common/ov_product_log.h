// Every log line of the daemon goes through here.
//
// A line is formatted into 10000 bytes and handed to the platform's log with file, function, line, a
// level and a short module tag ("LIB", "MMG", "QOS", "SNMP"). Safe from any thread, not from a signal
// handler. Nothing here fails: what can't be written is dropped.
#pragma once

#include <cstddef>

enum OV_LOG_LEVEL {
    OV_LOG_LVL_DEBUG = 20,
    OV_LOG_LVL_INFO = 40,
    OV_LOG_LVL_NOTICE = 60,
    OV_LOG_LVL_WARN = 80,
    OV_LOG_LVL_ERROR = 100,
    OV_LOG_LVL_FATAL = 120,
};

// Configuration file of the platform's log.
inline constexpr char OV_PRODUCT_LOG_CONF[] = "/var/run/product/conf/olt_log.conf";

// The ordinary log call. The two lengths are those of the names in front of them; the macros below
// fill all five in.
void ov_product_app_log(const char* file_name, int file_len, const char* func_name, int func_len, int line,
                        int level, const char* module, const char* fmt, ...)
    __attribute__((format(printf, 8, 9)));

// The same for a named library log: "lib", "halmsg", "ipcmsg", "pondrv", "reboot", "snmpd",
// "clientcmd", "cmdhistory"; a handle is opened at its first use. `flag` 0 drops the line: callers pass
// their debug switch. An unknown name logs to the application's own log.
void ov_product_library_log(int flag, const char* lib, const char* file_name, int file_len,
                            const char* func_name, int func_len, int line, int level, const char* module,
                            const char* fmt, ...) __attribute__((format(printf, 10, 11)));

// Lines for the command history, user commands, SNMP configuration, the system log and reboots.
void ov_product_app_cmd_log(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
void ov_product_usr_cmd_log(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
void ov_product_snmp_cfg_log(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
void ov_product_sys_log(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
void ov_product_reboot_log(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// Called with each line of ov_product_app_log before it goes out; for tests. Null takes it away.
void ov_product_log_set_tap(void (*tap)(int level, const char* module, const char* text));

#define OV_APP_LOG(level, module, ...)                                                                       \
    ov_product_app_log(__FILE_NAME__, int(sizeof(__FILE_NAME__) - 1), __func__, int(sizeof(__func__) - 1),   \
                       __LINE__, (level), (module), __VA_ARGS__)
#define OV_LIB_LOG(flag, lib, level, module, ...)                                                            \
    ov_product_library_log((flag), (lib), __FILE_NAME__, int(sizeof(__FILE_NAME__) - 1), __func__,           \
                           int(sizeof(__func__) - 1), __LINE__, (level), (module), __VA_ARGS__)

#define OV_LOG_DEBUG(module, ...) OV_APP_LOG(OV_LOG_LVL_DEBUG, module, __VA_ARGS__)
#define OV_LOG_INFO(module, ...) OV_APP_LOG(OV_LOG_LVL_INFO, module, __VA_ARGS__)
#define OV_LOG_NOTICE(module, ...) OV_APP_LOG(OV_LOG_LVL_NOTICE, module, __VA_ARGS__)
#define OV_LOG_WARN(module, ...) OV_APP_LOG(OV_LOG_LVL_WARN, module, __VA_ARGS__)
#define OV_LOG_ERROR(module, ...) OV_APP_LOG(OV_LOG_LVL_ERROR, module, __VA_ARGS__)
#define OV_LOG_FATAL(module, ...) OV_APP_LOG(OV_LOG_LVL_FATAL, module, __VA_ARGS__)
