#include "gpon_main.h"

#include <getopt.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include "agentx.h"
#include "app_loop.h"
#include "crashHandler.h"
#include "gpon_vty.h"
#include "gpon_zebra.h"
#include "hal_backup.h"
#include "hal_slot.h"
#include "hal_sock.h"
#include "kavo_cmd_library.h"
#include "kavo_ctrl.h"
#include "kavo_if.h"
#include "kavo_loop.h"
#include "kavo_timer.h"
#include "kavo_vlan.h"
#include "mmg_mib_save_task.h"
#include "mono_api.h"
#include "ov_app_ctrl.h"
#include "ov_app_gpon_config_restore.h"
#include "ov_app_gpon_trap.h"
#include "ov_backup.h"
#include "ov_build_info.h"
#include "ov_clock.h"
#include "ov_gpon.h"
#include "ov_loop_thread.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_slot.h"
#include "sTableInit.h"
#include "service_manager.h"
#include "slot_vty.h"
#include "snmp_agent_library.h"
#include "uclient.h"
#include "uds_heartbeat.h"

struct thread_master* master = nullptr;
pid_t pid = 0;
const char* pid_file = "/var/run/gpon.pid";

namespace {

enum : int { OPTION_HELP = 256, OPTION_VERSION }; // no letters of their own

const option longopts[] = {
    {"daemon", no_argument, nullptr, 'd'},
    {"help", no_argument, nullptr, OPTION_HELP},
    {"version", no_argument, nullptr, OPTION_VERSION},
    {nullptr, 0, nullptr, 0},
};

void sighup() {
    OV_LOG_NOTICE("LIB", "SIGHUP received");
}

void sigusr1() {
    zlog_rotate();
}

void sigint() {
    OV_LOG_NOTICE("LIB", "Terminating on signal");
    if (uclient != nullptr) {
        close(uclient->fd_sync);
        close(uclient->fd_async);
    }
    exit(0);
}

// The part of argv[0] behind its last '/'.
const char* program_name(int argc, char** argv) {
    if (argc < 1 || argv[0] == nullptr || argv[0][0] == '\0')
        return GPON_NAME;
    const char* slash = strrchr(argv[0], '/');
    return slash == nullptr ? argv[0] : slash + 1;
}

constexpr char HELP[] = R"(Usage: gpon [-d|--daemon]

Manages everything GPON of the chassis. Waits until the system controller is
ready, then runs until it is ended by a signal.

  -d, --daemon   go into the background once the controller is ready
      --help     print this and end
      --version  print what this program was built as and end

Any other option is ignored.
)";

// Status 1: the answer couldn't be written.
[[noreturn]] void end_answered() {
    exit(fflush(stdout) == 0 ? 0 : 1);
}

[[noreturn]] void answer_help() {
    fputs(HELP, stdout);
    end_answered();
}

[[noreturn]] void answer_version() {
    printf("%s %s\nbuilt %s, commit %s, %s, %s\n", ov_build_product(), ov_build_version(), ov_build_time(),
           ov_build_commit(), ov_build_type(), ov_build_compiler());
    end_answered();
}

// Whether the daemon is to go into the background; ends the process for an option that is only answered.
bool daemon_wanted(int argc, char** argv) {
    bool wanted = false;
    opterr = 0; // an unknown option is nobody's business
    for (int opt; argc > 0 && (opt = getopt_long(argc, argv, "d", longopts, nullptr)) != -1;) {
        if (opt == 'd')
            wanted = true;
        else if (opt == OPTION_HELP)
            answer_help();
        else if (opt == OPTION_VERSION)
            answer_version();
    }
    return wanted;
}

// Waits for the controller, for as long as it takes. Signals that ask for the control files are served
// meanwhile.
void wait_for_mono() {
    while (!ov_product_mono_ready_flag_get()) {
        app_ctrl_service_pending();
        usleep(1000);
    }
}

void become_daemon() {
    if (daemon(0, 1) == 0)
        return;
    OV_LOG_ERROR("LIB", "daemon failed: %s", strerror(errno));
    exit(1);
}

// The layers below reach the ones above through these.
void install_upcalls() {
    static const uclient_upcalls upcalls = {
        .slot_active_flag_set = hal_slot_active_flag_set,
        .slot_active_flag_clear = hal_slot_active_flag_clear,
        .slot_active_flag_check = hal_slot_active_flag_check,
        .init_hal_backup = init_hal_backup,
        .snmp_agent_start = snmp_agent_start,
        .mmg_table_save_immediate = mmg_table_save_immediate,
    };
    uclient_set_upcalls(&upcalls);
    mmg_set_alarm_register(agentx_alarm_register);
    mmg_set_backup_sync(ov_backup_sync_path_to_backup_sc);
}

void connect_to_mono() {
    // The address isn't used: the connection always goes to the supervisory card's inner address.
    uclient = uclient_connect(GPON_NAME, 0x7f000001, GPON_MONO_PORT, GPON_SYNC_PORT);
    if (uclient != nullptr)
        return;
    OV_LOG_ERROR("LIB", "Failed to create uclient");
    exit(1);
}

void fill_uclient_slots() {
    uclient->if_new = gpon_new_if;
    uclient->if_del = gpon_del_if;
    uclient->if_admin = gpon_admin_if;
    uclient->if_status = gpon_status_if;
    uclient->slot_cfg_sync_start = ov_app_gpon_config_restore_start_callback;
    uclient->slot_deactive = ov_app_gpon_slot_deactive_callback;
    uclient->slot_remove = ov_app_gpon_slot_remove_callback;
    uclient->slot_switch_2_active_end = ov_app_gpon_trap_status_sync_callback;
}

// Where operators connect.
const char* vty_socket() {
    const char* moved = getenv(GPON_VTY_SOCKET_ENV);
    return moved != nullptr && moved[0] != '\0' ? moved : GPON_VTY_SOCKET;
}

// A service manager that watches the process gets its signs of life from the loop: one that stands still
// gives none.
void start_watchdog() {
    if (const long msec = service_watchdog_interval().count(); msec > 0)
        kavo_add_timer_msec(master, gpon_watchdog_timer, nullptr, msec, nullptr);
}

void init_platform_lists() {
    uif_init();
    uvlan_init();
    ov_slot_init();
    slot_vty_init();
}

void init_vty() {
    kavo_cmd_defer_trees();
    cmd_init(1);
    vty_init(master, GPON_NAME);
    kavo_ctrl_init(GPON_NAME);
    kavo_add_read(master, gpon_ctrl_signal, nullptr, app_ctrl_signal_fd(), nullptr);
    memory_init();
}

// Steps that need no controller. No event runs before the loop, so nothing here may wait for one.
void set_up(int argc, char** argv) {
    ov_loop_thread_set();
    master = thread_master_create(GPON_NAME);
    app_loop_set(master);
    ov_init_crash_signal_handlers(argc, argv);
    init_vty();
    init_platform_lists();
    gpon_vty_init();
    ov_gpon_const_val_init();
    sort_node();
}

// Steps behind the connection to the controller; each depends on the ones before it.
void start_connected() {
    install_upcalls();
    connect_to_mono();
    smux_init(master);
    init_ovra_snmp_set();
    init_config_restore_debug();
    fill_uclient_slots();
    kavo_add_read(master, gpon_read, uclient, uclient->fd_async, nullptr);
    kavo_add_read(master, gpon_serv, uclient, uclient->async_server_sock, nullptr);
    hal_init(HAL_GPON, master, gpon_nl_msg);
    vty_serv_sock(nullptr, 0, vty_socket());
    gpon_register_recovery_seq();
    OV_LOG_NOTICE("LIB", "Gpon %s starting", ov_build_version());
    init_ovra_gpon_table_default_set();
    hb_uds_task(GPON_NAME, HB_ROLE_CLIENT);
    kavo_add_timer(master, gpon_heartbeat_timer, nullptr, GPON_HEARTBEAT_SECONDS, nullptr);
}

// How long the start took, and how much of it the platform's environment tool.
void log_start_up_time(ov_mono_time_t began) {
    const std::chrono::duration<double, std::micro> took = ov_mono_now() - began;
    OV_LOG_INFO("LIB", "start-up took %.0f us, environment look-ups %.0f us", took.count(),
                static_cast<double>(ov_product_env_cost_get().usec));
}

// The events of an asynchronous connection of the controller.
struct Link {
    uclient_s* client = nullptr;
    int fd = -1;
    struct thread* read = nullptr;
    struct thread* half_message = nullptr; // armed while half a message has come
};
std::map<int, Link> links; // by descriptor

void close_link(Link& link) {
    const int fd = link.fd;
    thread_cancel(&link.read);
    links.erase(fd);
    uclient_close_async(fd);
    OV_LOG_ERROR("LIB", "Connection closed, exiting..."); // only the connection goes; the wording is old
}

// Takes at most one message of the connection and arms what is to come.
int read_link(uclient_s* client, int fd) {
    Link& link = links[fd];
    link.client = client;
    link.fd = fd;
    kavo_cancel_timer(&link.half_message);
    if (uclient_handle_async(client, fd) < 0) {
        close_link(link);
        return -1;
    }
    kavo_add_read(master, gpon_read, client, fd, &link.read);
    if (const long left = uclient_async_left_msec(fd); left >= 0)
        kavo_add_timer_msec(master, gpon_half_message, &link, left, &link.half_message);
    return 0;
}

} // namespace

std::array<quagga_signal_t, 4> gpon_signals = {{
    {.signal = SIGHUP, .handler = sighup, .caught = 0},
    {.signal = SIGUSR1, .handler = sigusr1, .caught = 0},
    {.signal = SIGINT, .handler = sigint, .caught = 0},
    {.signal = SIGTERM, .handler = sigint, .caught = 0},
}};

int gpon_main(int argc, char** argv) {
    const auto began = ov_mono_now();
    const bool daemonise = daemon_wanted(argc, argv);
    umask(027);
    openzlog(program_name(argc, argv), ZLOG_GPON, LOG_PID | LOG_CONS | LOG_NDELAY, LOG_DAEMON);
    set_up(argc, argv);
    service_manager_tell("STATUS=Waiting for the system controller");
    wait_for_mono();
    if (daemonise)
        become_daemon();
    pid = pid_output(pid_file);
    start_connected();
    log_start_up_time(began);
    ov_refusal_set_thread_door("timer");
    start_watchdog();
    service_manager_tell("READY=1\nSTATUS=In service");

    kavo_loop_run(master);
    return 0;
}

int gpon_read(struct thread* thread) {
    return read_link(static_cast<uclient_s*>(THREAD_ARG(thread)), THREAD_FD(thread));
}

int gpon_half_message(struct thread* thread) {
    const auto* link = static_cast<const Link*>(THREAD_ARG(thread));
    return read_link(link->client, link->fd);
}

int gpon_serv(struct thread* thread) {
    const int server = THREAD_FD(thread);
    auto* client = static_cast<uclient_s*>(THREAD_ARG(thread));
    kavo_add_read(master, gpon_serv, client, server, nullptr);
    const int fd = accept4(server, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) {
        OV_LOG_ERROR("LIB", "%s: accept async failed\n", __func__);
        return -1;
    }
    kavo_add_read(master, gpon_read, client, fd, nullptr);
    return 0;
}

int gpon_heartbeat_timer(struct thread* /*thread*/) {
    hb_uds_task_client(GPON_NAME);
    kavo_add_timer(master, gpon_heartbeat_timer, nullptr, GPON_HEARTBEAT_SECONDS, nullptr);
    return 0;
}

int gpon_watchdog_timer(struct thread* /*thread*/) {
    service_manager_tell("WATCHDOG=1");
    start_watchdog();
    return 0;
}

int gpon_ctrl_signal(struct thread* thread) {
    kavo_add_read(master, gpon_ctrl_signal, nullptr, THREAD_FD(thread), nullptr);
    app_ctrl_service_pending();
    return 0;
}

int gpon_nl_receive(struct thread* thread) {
    kavo_add_read(master, gpon_nl_receive, nullptr, THREAD_FD(thread), nullptr);
    return hal_recv(gpon_nl_msg) != 0 ? -1 : 0;
}

unsigned gpon_nl_msg(unsigned type, void* buf, unsigned len) {
    ov_hal_gpon_msg_recv(type, buf, len);
    return 0;
}

void gpon_register_recovery_seq() {
    for (const uint32_t prio : {REC_SEQ_PON, REC_SEQ_QOS, REC_SEQ_QINQ})
        mono_api_cfg_sync_prio_set(GPON_ASYNC_PORT, GPON_NAME, prio);
}
