// Application control: an operator pokes the running process with a file and a signal.
//
// Three ini files belong to an application:
//   /flash/initial.<app>         read once at start; sections [debug], [int], [string]
//   /tmp/product/running.<app>   read on SIGUSR1; the same sections
//   /tmp/product/action.<app>    read on SIGUSR2; section [action], one key per action: set it to a
//                                non-zero number and send the signal. Keys are not reset after a run.
// Each key is the name of an item that some module registered, each item has a handler.
//
// The signal handlers only leave a mark and write a byte into a pipe; whoever waits on
// app_ctrl_signal_fd() runs the work with app_ctrl_service_pending(). Everything here, the items' handlers
// included, therefore runs on the event loop's thread.
#pragma once

#include <string>
#include <vector>

typedef void (*app_ctrl_int_handler_t)(int value);
typedef void (*app_ctrl_str_handler_t)(const char* value); // valid for the call
typedef void (*app_ctrl_action_handler_t)();

// Items carry the value in force: a key that can't be read leaves its item as it is.
struct app_ctrl_int_item_t {
    std::string cfg_name;
    int value;
    app_ctrl_int_handler_t handler;
};
struct app_ctrl_str_item_t {
    std::string cfg_name;
    std::string value;
    app_ctrl_str_handler_t handler;
};
struct app_ctrl_action_t {
    std::string cfg_name;
    app_ctrl_action_handler_t handler;
};

// A control file and the items read from it.
struct app_ctrl_items_t {
    std::string path;
    std::vector<app_ctrl_int_item_t> debug_flags;
    std::vector<app_ctrl_int_item_t> ints;
    std::vector<app_ctrl_str_item_t> strs;
};

struct app_ctrl_cb_t {
    std::string app_name;
    app_ctrl_items_t startup;
    app_ctrl_items_t running;
    std::string action_path;
    std::vector<app_ctrl_action_t> actions;
};

extern app_ctrl_cb_t g_app_ctrl_cb;

// Stores the name, forms the paths, empties the lists of items and takes SIGUSR1 and SIGUSR2. To be called
// before any item is registered; again to start over. 0 or an errno: EINVAL for a name that is null, empty,
// longer than 64 characters or holds a '/', else what pipe2 or sigaction said.
int app_ctrl_init(const char* appName);

// Makes the three files and hands the startup items their values. A file that can't be written is logged
// and doesn't stop the start.
void app_ctrl_start();

// Register an item; `dflt` is what its file gets when it has no such key. 0, or EINVAL for a name that
// can't be an ini key (empty, or with white space or one of []:="#;) or a null handler, or EEXIST for a name
// that the same list has already (keys don't distinguish case).
int app_add_startup_debug_flag(const char* cfg_name, int dflt, app_ctrl_int_handler_t handler);
int app_add_startup_int_ctrl(const char* cfg_name, int dflt, app_ctrl_int_handler_t handler);
int app_add_startup_str_ctrl(const char* cfg_name, const char* dflt, app_ctrl_str_handler_t handler);
int app_add_running_debug_flag(const char* cfg_name, int dflt, app_ctrl_int_handler_t handler);
int app_add_running_int_ctrl(const char* cfg_name, int dflt, app_ctrl_int_handler_t handler);
int app_add_running_str_ctrl(const char* cfg_name, const char* dflt, app_ctrl_str_handler_t handler);
int app_add_action_ctrl(const char* cfg_name, app_ctrl_action_handler_t hndl_action);

// Steps of app_ctrl_start. The startup file keeps what an operator put there and gets only the keys it
// lacks; the running file starts at the defaults, as the process does; all actions start at 0.
void app_ctrl_init_app_startup_ctrl_info();
void app_ctrl_init_app_running_ctrl_info();
void app_ctrl_init_action_items();

// What SIGUSR1 asks for: makes the running file if it is missing and hands each item its value.
void app_ctrl_proc_running_conf();
// What SIGUSR2 asks for: runs each action whose key isn't 0, in the order of registration.
void app_ctrl_proc_action_conf();

// Read end of the pipe that a control signal writes to; non-blocking, -1 before app_ctrl_init.
int app_ctrl_signal_fd();
// Empties the pipe and runs what was signalled since the last call; does nothing when nothing was.
void app_ctrl_service_pending();
