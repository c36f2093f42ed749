// Loads of this system and of ONUs: fetched, checked, and put where they are started from.
//
// As with ov_product_transfer.h: for a thread of the caller's own, with its time limits and its rules for
// words from outside.
#pragma once

// ---- this system -------------------------------------------------------------------------------------

enum OV_LOAD_RESULT : int {
    OV_LOAD_OK = 0,
    OV_LOAD_NO_LOAD = -1,
    OV_LOAD_NO_DIGEST = 9,
    OV_LOAD_BAD_CHECK = 10, // the digest isn't the load's
};

// Fetches a load and its digest (PATH.md5) into the staging directory, under its bare name, and checks it. An
// OV_LOAD_RESULT; only a good load stays there.
int ov_product_get_load_from_tftp(const char* host, const char* port, const char* path);
// Puts the load that was fetched from `path` and its digest into the alternate boot directory, which is
// emptied first, and notes its directory and name in the environment values "fresh_load_path" and
// "fresh_load_name". 0 or -1.
int ov_product_upgrade_load(const char* path);

// Checks a load and its digest in the station's download directory with "ov_check_file". 0 or -1.
int ov_product_check_load_by_sftp(const char* name);
// The same from the station's download directory; the boot flag then names the directory. 0 or -1.
int ov_product_upgrade_olt_load_by_sftp(const char* name);

// ---- ONUs --------------------------------------------------------------------------------------------

// Fetches a firmware file into the staging directory, under its bare name. 0 or -1.
int ov_product_onu_tftp_update(const char* host, const char* file);
// The same from a port of the server; null leaves it to the client.
int ov_product_onu_tftp_update_port(const char* host, const char* port, const char* file);
// "mv FROM TO"; TO may be a directory. 0, or -1 with the target as it was.
int ov_product_mv_file(const char* from, const char* to);
// "rm NAME" in the directory of firmware files. 0 or -1.
int ov_product_onu_version_file_delete(const char* name);
// Takes a firmware file from the station's download directory: fewer than OV_ONU_VERSION_MAX must exist, and
// the name must be new. 0 or -1.
int ov_product_upgrade_onu_load_by_sftp(const char* name);
