#include "ov_app_ctrl.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <strings.h>
#include <system_error>
#include <unistd.h>

#include "ov_product_log.h"
#include "ov_util_ini_cfg.h"

app_ctrl_cb_t g_app_ctrl_cb;

namespace {

constexpr size_t APP_NAME_MAX = 64;
constexpr char SECTION_DEBUG[] = "debug";
constexpr char SECTION_INT[] = "int";
constexpr char SECTION_STRING[] = "string";
constexpr char SECTION_ACTION[] = "action";

// ---- signals -----------------------------------------------------------------------------------

volatile sig_atomic_t running_conf_signalled = 0;
volatile sig_atomic_t action_conf_signalled = 0;
int signal_pipe[2] = {-1, -1};

void on_control_signal(int signo) {
    const int saved_errno = errno;
    if (signo == SIGUSR1)
        running_conf_signalled = 1;
    else
        action_conf_signalled = 1;
    // A full pipe already wakes the reader, so the result doesn't matter.
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(signal_pipe[1], &byte, 1);
    errno = saved_errno;
}

int take_control_signals() {
    if (signal_pipe[0] < 0 && pipe2(signal_pipe, O_NONBLOCK | O_CLOEXEC) != 0)
        return errno;
    struct sigaction action = {};
    action.sa_handler = on_control_signal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (int signo : {SIGUSR1, SIGUSR2}) {
        if (sigaction(signo, &action, nullptr) != 0)
            return errno;
    }
    return 0;
}

// ---- files -------------------------------------------------------------------------------------

bool file_exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// Makes an empty file where there is none; `flags` O_TRUNC empties one that is there.
void make_file(const std::string& path, int flags) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666);
    if (fd < 0) {
        OV_LOG_WARN("LIB", "Control file %s can't be made: %s", path.c_str(), strerror(errno));
        return;
    }
    close(fd);
}

void write_key(const std::string& path, const char* section, const std::string& key,
               const std::string& value) {
    const int error = ov_util_ini_cfg_set_val(path.c_str(), section, key.c_str(), value.c_str());
    if (error != 0)
        OV_LOG_WARN("LIB", "Control file %s: %s can't be written: %s", path.c_str(), key.c_str(),
                    strerror(error));
}

bool has_key(const std::string& path, const char* section, const char* key) {
    const std::string absent = "\n"; // no value holds a line end
    return ov_util_ini_cfg_get_str(path.c_str(), section, key, absent) != absent;
}

std::string text_of(const app_ctrl_int_item_t& item) {
    return std::to_string(item.value);
}
std::string text_of(const app_ctrl_str_item_t& item) {
    return item.value;
}

// Calls visit(section, item) for each item of a file, flags first, then integers, then texts.
template <typename Visit>
void for_each_item(app_ctrl_items_t& items, Visit visit) {
    for (auto& item : items.debug_flags)
        visit(SECTION_DEBUG, item);
    for (auto& item : items.ints)
        visit(SECTION_INT, item);
    for (auto& item : items.strs)
        visit(SECTION_STRING, item);
}

void write_all_keys(app_ctrl_items_t& items) {
    make_file(items.path, O_TRUNC);
    for_each_item(items, [&](const char* section, auto& item) {
        write_key(items.path, section, item.cfg_name, text_of(item));
    });
}

// The readers take a key's value, or what is in force if it has none, and hand it to the item's handler.
void read_item(const std::string& path, const char* section, app_ctrl_int_item_t& item) {
    item.value = ov_util_ini_cfg_get_int(path.c_str(), section, item.cfg_name.c_str(), item.value);
    item.handler(item.value);
}

void read_item(const std::string& path, const char* section, app_ctrl_str_item_t& item) {
    item.value = ov_util_ini_cfg_get_str(path.c_str(), section, item.cfg_name.c_str(), item.value);
    item.handler(item.value.c_str());
}

void ctrl_running_debug_flag(app_ctrl_int_item_t& item) {
    read_item(g_app_ctrl_cb.running.path, SECTION_DEBUG, item);
}
void ctrl_running_int(app_ctrl_int_item_t& item) {
    read_item(g_app_ctrl_cb.running.path, SECTION_INT, item);
}
void ctrl_running_str(app_ctrl_str_item_t& item) {
    read_item(g_app_ctrl_cb.running.path, SECTION_STRING, item);
}

// ---- items -------------------------------------------------------------------------------------

bool is_ini_key(const std::string& name) {
    return !name.empty() && name.find_first_of("[]:=\"#; \t\r\n") == std::string::npos;
}

template <typename Item>
int add_item(std::vector<Item>& list, Item item) {
    if (!is_ini_key(item.cfg_name) || item.handler == nullptr)
        return EINVAL;
    for (const Item& other : list) {
        if (strcasecmp(other.cfg_name.c_str(), item.cfg_name.c_str()) == 0)
            return EEXIST;
    }
    list.push_back(std::move(item));
    return 0;
}

std::string text_or_empty(const char* text) {
    return text != nullptr ? text : "";
}

} // namespace

int app_ctrl_init(const char* appName) {
    const std::string name = text_or_empty(appName);
    if (name.empty() || name.size() > APP_NAME_MAX || name.find('/') != std::string::npos)
        return EINVAL;

    char path[APP_NAME_MAX + 64];
    g_app_ctrl_cb = {};
    g_app_ctrl_cb.app_name = name;
    snprintf(path, sizeof(path), "/flash/initial.%s", name.c_str());
    g_app_ctrl_cb.startup.path = path;
    snprintf(path, sizeof(path), "/tmp/product/running.%s", name.c_str());
    g_app_ctrl_cb.running.path = path;
    snprintf(path, sizeof(path), "/tmp/product/action.%s", name.c_str());
    g_app_ctrl_cb.action_path = path;
    return take_control_signals();
}

void app_ctrl_start() {
    std::error_code error;
    std::filesystem::create_directories("/tmp/product", error); // a failure shows at the first file
    app_ctrl_init_app_startup_ctrl_info();
    app_ctrl_init_app_running_ctrl_info();
    app_ctrl_init_action_items();
}

int app_add_startup_debug_flag(const char* cfg_name, int dflt, app_ctrl_int_handler_t handler) {
    return add_item(g_app_ctrl_cb.startup.debug_flags, {text_or_empty(cfg_name), dflt, handler});
}

int app_add_startup_int_ctrl(const char* cfg_name, int dflt, app_ctrl_int_handler_t handler) {
    return add_item(g_app_ctrl_cb.startup.ints, {text_or_empty(cfg_name), dflt, handler});
}

int app_add_startup_str_ctrl(const char* cfg_name, const char* dflt, app_ctrl_str_handler_t handler) {
    return add_item(g_app_ctrl_cb.startup.strs, {text_or_empty(cfg_name), text_or_empty(dflt), handler});
}

int app_add_running_debug_flag(const char* cfg_name, int dflt, app_ctrl_int_handler_t handler) {
    return add_item(g_app_ctrl_cb.running.debug_flags, {text_or_empty(cfg_name), dflt, handler});
}

int app_add_running_int_ctrl(const char* cfg_name, int dflt, app_ctrl_int_handler_t handler) {
    return add_item(g_app_ctrl_cb.running.ints, {text_or_empty(cfg_name), dflt, handler});
}

int app_add_running_str_ctrl(const char* cfg_name, const char* dflt, app_ctrl_str_handler_t handler) {
    return add_item(g_app_ctrl_cb.running.strs, {text_or_empty(cfg_name), text_or_empty(dflt), handler});
}

int app_add_action_ctrl(const char* cfg_name, app_ctrl_action_handler_t hndl_action) {
    return add_item(g_app_ctrl_cb.actions, {text_or_empty(cfg_name), hndl_action});
}

void app_ctrl_init_app_startup_ctrl_info() {
    app_ctrl_items_t& startup = g_app_ctrl_cb.startup;
    make_file(startup.path, 0);
    for_each_item(startup, [&](const char* section, auto& item) {
        const char* key = item.cfg_name.c_str();
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): registration filled the item in
        if (!has_key(startup.path, section, key))
            write_key(startup.path, section, item.cfg_name, text_of(item));
        read_item(startup.path, section, item);
    });
}

void app_ctrl_init_app_running_ctrl_info() {
    write_all_keys(g_app_ctrl_cb.running);
}

void app_ctrl_init_action_items() {
    make_file(g_app_ctrl_cb.action_path, O_TRUNC);
    for (const app_ctrl_action_t& action : g_app_ctrl_cb.actions)
        write_key(g_app_ctrl_cb.action_path, SECTION_ACTION, action.cfg_name, "0");
}

void app_ctrl_proc_running_conf() {
    app_ctrl_items_t& running = g_app_ctrl_cb.running;
    OV_LOG_NOTICE("LIB", "Re-configure app %s", g_app_ctrl_cb.app_name.c_str());
    if (!file_exists(running.path))
        write_all_keys(running);
    for (app_ctrl_int_item_t& item : running.debug_flags)
        ctrl_running_debug_flag(item);
    for (app_ctrl_int_item_t& item : running.ints)
        ctrl_running_int(item);
    for (app_ctrl_str_item_t& item : running.strs)
        ctrl_running_str(item);
}

void app_ctrl_proc_action_conf() {
    OV_LOG_NOTICE("LIB", "app %s proc user actions", g_app_ctrl_cb.app_name.c_str());
    for (const app_ctrl_action_t& action : g_app_ctrl_cb.actions) {
        const char* name = action.cfg_name.c_str();
        if (ov_util_ini_cfg_get_int(g_app_ctrl_cb.action_path.c_str(), SECTION_ACTION, name, 0) == 0)
            continue;
        printf("\r\n  proc actions %s\r\n", name);
        action.handler();
        fflush(stdout);
        OV_LOG_NOTICE("LIB", "app %s action %s done", g_app_ctrl_cb.app_name.c_str(), name);
    }
}

int app_ctrl_signal_fd() {
    return signal_pipe[0];
}

void app_ctrl_service_pending() {
    if (signal_pipe[0] < 0)
        return;
    // The pipe first, the marks after it: a signal in between leaves its byte for the next call.
    char bytes[64];
    while (read(signal_pipe[0], bytes, sizeof(bytes)) > 0) {
    }
    if (running_conf_signalled != 0) {
        running_conf_signalled = 0;
        app_ctrl_proc_running_conf();
    }
    if (action_conf_signalled != 0) {
        action_conf_signalled = 0;
        app_ctrl_proc_action_conf();
    }
}
