#include "ov_product_load.h"

#include <chrono>
#include <string>

#include <unistd.h>

#include "ov_command.h"
#include "ov_file.h"
#include "ov_product_log.h"
#include "ov_product_transfer.h"

namespace {

constexpr char LOG_TAG[] = "LIB";
constexpr char DIGEST[] = ".md5";
constexpr std::chrono::seconds REMOVE_LIMIT(5);

// The name that a file from outside has here; "" for one that may not stand in a command line or isn't one.
std::string local_name(const char* path) {
    if (!ov_command_word_ok(path))
        return {};
    std::string name = ov_file_bare_name(path);
    const bool usable = ov_command_word_ok(name) && name != ".";
    return usable ? name : "";
}

std::string in_directory(const std::string& directory, const std::string& name) {
    return directory + "/" + name;
}

int check_load(const std::string& path) {
    const OvCommandSettings settings = {.quiet = true, .limit = ov_product_transfer_limit()};
    return ov_command_run({"ov_check_file", path.c_str()}, settings) == 0 ? 0 : -1;
}

void remove_load(const std::string& path) {
    unlink(path.c_str());
    unlink((path + DIGEST).c_str());
}

// Fetches a load and its digest, and checks them.
int fetch_load(const OvTftpServer& server, const std::string& remote, const std::string& local) {
    if (ov_product_tftp_get(server, remote, local, OV_LOAD_LONGEST) != 0)
        return OV_LOAD_NO_LOAD;
    if (ov_product_tftp_get(server, remote + DIGEST, local + DIGEST, OV_DIGEST_LONGEST) != 0) {
        OV_LOG_ERROR(LOG_TAG, "missing md5 file %s.md5", remote.c_str());
        return OV_LOAD_NO_DIGEST;
    }
    return check_load(local) == 0 ? OV_LOAD_OK : OV_LOAD_BAD_CHECK;
}

// What is put there must be there in whole before the old content goes.
int put_into_boot_dir(const std::string& load) {
    const std::string directory = ov_product_alternate_boot_dir();
    if (directory.empty() || !ov_file_is_regular(load) || !ov_file_is_regular(load + DIGEST) ||
        ov_directory_make(directory) != 0 || ov_directory_empty(directory) != 0)
        return -1;
    if (ov_file_move(load, directory) != 0 || ov_file_move(load + DIGEST, directory) != 0)
        return -1;
    return ov_product_env_put("fresh_load_path", directory.c_str()) == 0 &&
                   ov_product_env_put("fresh_load_name", ov_file_bare_name(load).c_str()) == 0
               ? 0
               : -1;
}

// A file that the station has put into its directory; "" if there is none of this name.
std::string downloaded(const char* name) {
    if (!ov_command_word_ok(name))
        return {};
    std::string path = in_directory(OV_NMS_DOWNLOAD_DIR, name);
    return ov_file_is_regular(path) ? path : "";
}

} // namespace

// ---- this system -------------------------------------------------------------------------------------

int ov_product_get_load_from_tftp(const char* host, const char* port, const char* path) {
    const std::string name = local_name(path);
    if (name.empty())
        return OV_LOAD_NO_LOAD;
    const std::string local = in_directory(OV_STAGING_DIR, name);
    const int result = fetch_load({host, port}, path, local);
    if (result != OV_LOAD_OK)
        remove_load(local);
    return result;
}

int ov_product_upgrade_load(const char* path) {
    const std::string name = local_name(path);
    if (name.empty())
        return -1;
    const std::string local = in_directory(OV_STAGING_DIR, name);
    const int result = put_into_boot_dir(local);
    remove_load(local); // what couldn't be put there
    return result;
}

int ov_product_check_load_by_sftp(const char* name) {
    const std::string load = downloaded(name);
    return !load.empty() && check_load(load) == 0 ? 0 : -1;
}

int ov_product_upgrade_olt_load_by_sftp(const char* name) {
    const std::string load = downloaded(name);
    if (load.empty() || put_into_boot_dir(load) != 0)
        return -1;
    return ov_product_switch_bootflag();
}

// ---- ONUs --------------------------------------------------------------------------------------------

int ov_product_onu_tftp_update(const char* host, const char* file) {
    return ov_product_onu_tftp_update_port(host, nullptr, file);
}

int ov_product_onu_tftp_update_port(const char* host, const char* port, const char* file) {
    const std::string name = local_name(file);
    if (name.empty())
        return -1;
    return ov_product_tftp_get({host, port}, file, in_directory(OV_STAGING_DIR, name), OV_ONU_LOAD_LONGEST);
}

int ov_product_mv_file(const char* from, const char* to) {
    return ov_command_word_ok(from) && ov_command_word_ok(to) ? ov_file_move(from, to) : -1;
}

int ov_product_onu_version_file_delete(const char* name) {
    if (!ov_command_word_ok(name))
        return -1;
    const std::string path = in_directory(ov_product_onu_version_dir(), name);
    return ov_command_run({"rm", path.c_str()}, {.quiet = true, .limit = REMOVE_LIMIT}) == 0 ? 0 : -1;
}

int ov_product_upgrade_onu_load_by_sftp(const char* name) {
    const std::string load = downloaded(name);
    const std::string directory = ov_product_onu_version_dir();
    if (load.empty() || ov_product_onu_version_count() >= OV_ONU_VERSION_MAX ||
        is_file_exist(in_directory(directory, ov_file_bare_name(load)).c_str()))
        return -1;
    return ov_directory_make(directory) == 0 ? ov_file_move(load, directory) : -1;
}
