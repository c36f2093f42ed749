// Firmware files of ONUs: fetched and deleted by command.
#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "app_text.h"
#include "gpon_waiting_command.h"
#include "kavo_cmd_rows.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_file.h"
#include "ov_gpon_upgrade_cli.h"
#include "ov_product_load.h"
#include "ov_product_place.h"
#include "ov_refusal.h"
#include "ovra_thread.h"

namespace {

constexpr unsigned FETCH_STACK = 0x20000;

// A file that is being fetched, by a thread of its own: a server may take minutes.
struct Fetch {
    std::string host;
    std::string file;
    std::atomic<bool> is_over{false};
    int result = -1; // set before that
};

// The files that are being fetched: two at a time would be written over each other.
class Fetches {
public:
    bool begin(const std::string& file) {
        const std::lock_guard lock(mutex_);
        return files_.insert(file).second;
    }
    void end(const std::string& file) {
        const std::lock_guard lock(mutex_);
        files_.erase(file);
    }

private:
    std::mutex mutex_;
    std::set<std::string> files_;
};
Fetches& fetches() {
    static auto& all = *new Fetches;
    return all;
}

std::string stored_path(const std::string& file) {
    return ov_product_onu_version_dir() + "/" + ov_file_bare_name(file);
}

int fetch(const Fetch& what) {
    const std::string staged = std::string(OV_STAGING_DIR) + "/" + ov_file_bare_name(what.file);
    const std::string directory = ov_product_onu_version_dir();
    if (ov_product_onu_tftp_update(what.host.c_str(), what.file.c_str()) != 0 ||
        ov_directory_make(directory) != 0)
        return -1;
    return ov_product_mv_file(staged.c_str(), directory.c_str());
}

// The thread; `context` is a shared pointer to its Fetch, and its own.
void* run_fetch(void* context) {
    const std::unique_ptr<std::shared_ptr<Fetch>> own(static_cast<std::shared_ptr<Fetch>*>(context));
    Fetch& what = **own;
    what.result = fetch(what);
    fetches().end(ov_file_bare_name(what.file));
    what.is_over = true;
    return nullptr;
}

bool start_fetch(const std::shared_ptr<Fetch>& what) {
    auto own = std::make_unique<std::shared_ptr<Fetch>>(what);
    if (!fetches().begin(ov_file_bare_name(what->file)))
        return ov_refusal_because("\"%s\" is being fetched already", what->file.c_str());
    if (Ovra_ThreadCreate("onuVersion", 0, FETCH_STACK, run_fetch, own.get(), nullptr) == 0) {
        own.release(); // the thread has it now
        return true;
    }
    fetches().end(ov_file_bare_name(what->file));
    return ov_refusal_because("no thread could be started");
}

// What the operator is told behind "please wait"; copies what it needs, since the handler has returned.
int end_fetch(struct vty* vty, const Fetch& what) {
    if (what.result == 0)
        return 0;
    ov_refusal_because("\"%s\" couldn't be fetched from %s, or put into its directory", what.file.c_str(),
                       what.host.c_str());
    vty_out(vty, "Can't upgrade%s", kavo_newline(vty));
    return KAVO_CLI_FAILED;
}

} // namespace

int upgrade_onu_cli(CliCall& call) {
    const auto what = std::make_shared<Fetch>();
    what->host = call.words.text("onuversion");
    what->file = call.words.text("VERSION");
    if (!gpon_upgrade_word_fits(call, "VERSION", UPGRADE_FILE_MAX, "%%version file name string too long %s"))
        return KAVO_CLI_BAD_INPUT;
    if (is_file_exist(stored_path(what->file).c_str())) {
        ov_refusal_because("there is a file \"%s\"", what->file.c_str());
        call.line("onu version %s have existed.", what->file.c_str());
        return KAVO_CLI_BAD_INPUT;
    }
    if (ov_product_onu_version_count() >= OV_ONU_VERSION_MAX) {
        ov_refusal_because("there are %d files already", OV_ONU_VERSION_MAX);
        call.line("Maximum version number reached.");
        return KAVO_CLI_BAD_INPUT;
    }
    call.line("Getting file from %s, please wait...", what->host.c_str());
    if (!gpon_can_wait(call.vty)) {
        what->result = fetch(*what);
        return end_fetch(call.vty, *what);
    }
    if (!start_fetch(what))
        return call.fail("Can't upgrade%s");
    return gpon_run_in_steps(call.vty, [vty = call.vty, what] {
        return what->is_over ? GponStep::end(end_fetch(vty, *what)) : GponStep::wait();
    });
}

int delete_onu_versions_cli(CliCall& call) {
    const char* file = call.words.text("onuversion");
    ov_gpon_onu_update_attr_t gone = {};
    if (ov_product_onu_version_file_delete(file) != 0) {
        ov_refusal_because("there is no file \"%s\", or it can't be deleted", file);
        return call.fail("Can't delete%s");
    }
    set_text(gone.versionName, file);
    ov_app_gpon_onu_version_delete(&gone);
    return 0;
}
