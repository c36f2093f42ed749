// Where the platform has its files. Each place can be moved by an environment variable of the process; any
// thread.
#pragma once

#include <string>

// Staging of what comes from a server or goes to one.
inline constexpr char OV_STAGING_DIR[] = "/tmp";
// What the management station fetches, and what it has put here, over its own connection.
inline constexpr char OV_NMS_UPLOAD_DIR[] = "/home/nms/upload";
inline constexpr char OV_NMS_DOWNLOAD_DIR[] = "/home/nms/download";

// The configuration that the system starts with: OV_ENV_CONFIG_FILE, "/flash/gpon.conf"; and the one before,
// the same with ".bak".
std::string ov_product_config_file();
std::string ov_product_config_backup_file();

// Firmware files of ONUs: what ov_product_onu_version_path_get() says, else "/app/appload/onu".
std::string ov_product_onu_version_dir();
// How many such files there are: "ls DIRECTORY | sort | wc -l".
int ov_product_onu_version_count();
// Of those, at most this many.
inline constexpr int OV_ONU_VERSION_MAX = 6;

// The boot directory that isn't in use: the environment value "boot_flag" (0 or 1, 0 when unset) names the
// one that is, OV_ENV_BOOT_DIR_0 or OV_ENV_BOOT_DIR_1, by default "/app/appload/0" and "/app/appload/1". ""
// when it isn't a directory of its own that may be emptied: "/", a name that isn't absolute, the one in use.
std::string ov_product_alternate_boot_dir();
// Makes the alternate directory the one in use at the next start. 0 or -1.
int ov_product_switch_bootflag();

// Sets a value of the platform's environment store with "ov_env_put". 0 or -1.
int ov_product_env_put(const char* name, const char* value);
