#include "ov_product_transfer.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <system_error>
#include <vector>

#include <unistd.h>

#include "ov_command.h"
#include "ov_file.h"
#include "ov_product_log.h"
#include "ov_system.h"

namespace {

namespace fs = std::filesystem;

constexpr char LOG_TAG[] = "LIB";
constexpr long DEFAULT_LIMIT = 300; // seconds
constexpr long LONGEST_LIMIT = 86400;
constexpr char FETCHED_CONFIG[] = "/tmp/gpon.conf";
constexpr char CONFIG_PACK_DIR[] = "/app/config";
constexpr char LOG_PACK[] = "logs.tar.gz";
constexpr char LOG_PACK_PATH[] = "/tmp/logs.tar.gz";
constexpr char GATHERED[] = "/tmp/tmplog"; // where tar finds it; the temporary directory is a link to it
constexpr char CRASH_DIR[] = "/app/crash";
constexpr char LOG_DIR[] = "/tmp/product";

OvCommandSettings settings() {
    return {.quiet = true, .limit = ov_product_transfer_limit()};
}

bool words_ok(const OvTftpServer& server, const std::string& remote) {
    return ov_command_word_ok(server.host) && (server.port == nullptr || ov_command_word_ok(server.port)) &&
           ov_command_word_ok(remote);
}

int run_client(std::vector<const char*> argv, const OvTftpServer& server, const OvCommandSettings& with) {
    argv.push_back(server.host);
    if (server.port != nullptr)
        argv.push_back(server.port);
    return ov_command_run(argv, with) == 0 ? 0 : -1;
}

void sync_disk() {
    ov_sys("sync");
}

void back_config_up() {
    const std::string config = ov_product_config_file();
    const std::string backup = ov_product_config_backup_file();
    if (ov_file_copy(config, backup) != 0)
        OV_LOG_WARN(LOG_TAG, "can't cp temp config file:%s to backup config file:%s", config.c_str(),
                    backup.c_str());
}

bool fetch_config(const OvTftpServer& server, const char* path) {
    back_config_up();
    if (ov_product_tftp_get(server, path, FETCHED_CONFIG, OV_CONFIG_LONGEST) != 0)
        return false;
    const bool replaced = ov_file_move(FETCHED_CONFIG, ov_product_config_file()) == 0;
    unlink(FETCHED_CONFIG);
    sync_disk();
    return replaced;
}

int failed(const char* text) {
    OV_LOG_ERROR(LOG_TAG, "%s", text);
    return OV_TRANSFER_FAILED;
}

// Packs in one directory; what was packed before stands until the new pack is whole.
int pack(const std::string& directory, const std::string& what, const std::string& to) {
    const std::string way = to + ".new";
    OvCommandSettings in = settings();
    in.directory = directory.c_str();
    const int status = ov_command_run({"tar", "-czf", way.c_str(), what.c_str()}, in);
    if (status == 0 && rename(way.c_str(), to.c_str()) == 0)
        return 0;
    unlink(way.c_str());
    return -1;
}

// A link of this name to a file or directory, in place of what has the name now.
bool link_to(const std::string& target, const std::string& name) {
    unlink(name.c_str());
    return symlink(target.c_str(), name.c_str()) == 0;
}

// ---- diagnostics -------------------------------------------------------------------------------------

void remove_tree(const std::string& path) {
    std::error_code error;
    fs::remove_all(path, error);
}

void remove_gathered(const std::string& temporary) {
    unlink(LOG_PACK_PATH);
    remove_tree(temporary);
    remove_tree(GATHERED);
}

bool gather(const char* what, const std::string& into) {
    return !is_file_exist(what) || ov_command_run({"cp", "-r", what, into.c_str()}, settings()) == 0;
}

bool gather_all(const std::string& temporary) {
    sync_disk();
    return ov_directory_make(GATHERED) == 0 && link_to(GATHERED, temporary) &&
           gather(LOG_DIR, temporary + "/log") &&
           gather(ov_product_config_file().c_str(), temporary + "/gpon.conf") &&
           gather(CRASH_DIR, temporary + "/crash");
}

bool pack_gathered() {
    OvCommandSettings in = settings();
    in.directory = OV_STAGING_DIR;
    return ov_command_run({"tar", "-czf", LOG_PACK, "./tmplog/"}, in) == 0;
}

} // namespace

// ---- one transfer ------------------------------------------------------------------------------------

std::chrono::seconds ov_product_transfer_limit() {
    const char* text = getenv("OV_TRANSFER_TIMEOUT");
    const long seconds = text != nullptr ? strtol(text, nullptr, 10) : 0;
    return std::chrono::seconds(seconds > 0 ? std::min(seconds, LONGEST_LIMIT) : DEFAULT_LIMIT);
}

int ov_product_tftp_put(const OvTftpServer& server, const std::string& local, const std::string& remote) {
    if (!words_ok(server, remote))
        return -1;
    return run_client({"tftp", "-l", local.c_str(), "-r", remote.c_str(), "-p"}, server, settings());
}

int ov_product_tftp_get(const OvTftpServer& server, const std::string& remote, const std::string& local,
                        uint64_t longest) {
    if (!words_ok(server, remote))
        return -1;
    unlink(local.c_str()); // another client may still be writing to it
    OvCommandSettings with = settings();
    with.file_limit = longest;
    if (run_client({"tftp", "-r", remote.c_str(), "-l", local.c_str(), "-g"}, server, with) == 0 &&
        ov_file_is_regular(local))
        return 0;
    unlink(local.c_str());
    return -1;
}

// ---- configuration -----------------------------------------------------------------------------------

int ov_product_transmit_config_by_tftp(int upload, const char* host, const char* port, const char* path) {
    const OvTftpServer server = {host, port};
    if (upload != 0)
        return ov_product_tftp_put(server, ov_product_config_file(), path) == 0
                   ? 0
                   : failed("Can't put the new config file");
    if (!words_ok(server, path) || !fetch_config(server, path))
        return failed("Can't get the new config file");
    return 0;
}

int ov_product_get_config_file_by_sftp(const char* name) {
    const std::string file = std::string(OV_NMS_DOWNLOAD_DIR) + "/" + name;
    if (!ov_command_word_ok(name) || !ov_file_is_regular(file))
        return failed("Can't replace the old config file with the new one");
    back_config_up();
    if (ov_file_move(file, ov_product_config_file()) != 0)
        return failed("Can't replace the old config file with the new one");
    sync_disk();
    return 0;
}

int ov_product_pack_config_file() {
    const fs::path config = ov_product_config_file();
    const std::string to = std::string(CONFIG_PACK_DIR) + "/" + OV_CONFIG_PACK;
    const bool done = ov_directory_make(CONFIG_PACK_DIR) == 0 && ov_directory_make(OV_NMS_UPLOAD_DIR) == 0 &&
                      pack(config.parent_path(), config.filename(), to) == 0 &&
                      link_to(to, std::string(OV_NMS_UPLOAD_DIR) + "/" + OV_CONFIG_PACK);
    return done ? 0 : OV_TRANSFER_FAILED;
}

// ---- diagnostics -------------------------------------------------------------------------------------

int ov_product_transmit_log_by_tftp(const char* host, const char* port, const char* temporary,
                                    const char* name) {
    const OvTftpServer server = {host, port};
    const std::string remote = std::string(name) + ".tar.gz";
    if (!words_ok(server, remote))
        return -1;
    remove_gathered(temporary); // of one that was killed
    ov_directory_make(fs::path(temporary).parent_path());
    const bool sent =
        gather_all(temporary) && pack_gathered() && ov_product_tftp_put(server, LOG_PACK_PATH, remote) == 0;
    remove_gathered(temporary);
    return sent ? 0 : -1;
}
