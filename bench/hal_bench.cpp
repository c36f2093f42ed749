// Messages to and from a card over the datagram carrier: a synchronous send against a bare request and reply,
// sends without reply, the dispatch of a full queue, heap allocations. The card is a process of its own that
// speaks raw bytes. See README.md.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "hal_recv_tipc.h"
#include "hal_slot.h"
#include "hal_sock_tipc.h"
#include "kavo_frr.h"
#include "ov_hal_gpon_msg.h"
#include "ov_slot.h"

extern "C" void* __libc_malloc(size_t);
namespace {
std::atomic<unsigned long> g_allocations{0};
}
extern "C" void* malloc(size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

namespace {

constexpr uint32_t CARD_SLOT = 3;
constexpr int ROUND_TRIPS = 100000;
constexpr int EVENTS = 40960;
constexpr size_t IPC_HEADER = 28;

struct Address {
    sockaddr_un un = {};
    socklen_t len;
    explicit Address(const std::string& name) {
        un.sun_family = AF_UNIX;
        memcpy(un.sun_path + 1, name.data(), name.size());
        len = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&un); }
};

int bound_socket(const std::string& name) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int room = 0xa0000;
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
    const Address address(name);
    if (bind(fd, address.get(), address.len) != 0) {
        perror("bind");
        exit(1);
    }
    return fd;
}

uint32_t word(const unsigned char* at) {
    uint32_t value;
    memcpy(&value, at, 4);
    return ntohl(value);
}
void set_word(unsigned char* at, uint32_t value) {
    value = htonl(value);
    memcpy(at, &value, 4);
}

// Sends events until the queue's worth is out.
void flood(int fd) {
    std::array<unsigned char, IPC_HEADER + 36 + 16 + 8 + 44 + 16> event = {};
    set_word(&event[0], 0xface01bc);
    set_word(&event[12], 101);
    set_word(&event[16], 10100 + CARD_SLOT);
    set_word(&event[IPC_HEADER + 20], uint32_t(event.size() - IPC_HEADER));
    set_word(&event[IPC_HEADER + 36], uint32_t(event.size() - IPC_HEADER - 36));
    set_word(&event[IPC_HEADER + 40], 927u << 16);
    const Address to("ov_ipc/19111/11108");
    for (int n = 0; n < EVENTS; n++)
        sendto(fd, event.data(), event.size(), 0, to.get(), to.len);
}

// The card: answers requests with themselves; a one-way message of type 949 asks for a flood of events.
[[noreturn]] void be_card() {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int fd = bound_socket("ov_ipc/19101/" + std::to_string(10100 + CARD_SLOT));
    std::array<unsigned char, 4096> buf;
    for (;;) {
        const ssize_t got = recv(fd, buf.data(), buf.size(), 0);
        if (got < ssize_t(IPC_HEADER + 52))
            continue;
        if (word(&buf[8]) != 1) {
            if (word(&buf[IPC_HEADER + 8]) == 949)
                flood(fd);
            continue;
        }
        const Address to("ov_ipc/" + std::to_string(word(&buf[12]) + 19000) + "/" +
                         std::to_string(word(&buf[16])));
        set_word(&buf[8], 2);
        sendto(fd, buf.data(), size_t(got), 0, to.get(), to.len);
    }
}

void write_file(const char* path, const char* text) {
    if (FILE* file = fopen(path, "w")) {
        fputs(text, file);
        fclose(file);
    }
}

// A file system and network of our own: names, lock and log files are those of the product.
void enter_private_place() {
    const std::string uid = std::to_string(geteuid());
    const std::string gid = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWNET) != 0) {
        perror("unshare");
        exit(1);
    }
    write_file("/proc/self/setgroups", "deny");
    write_file("/proc/self/uid_map", (uid + " " + uid + " 1\n").c_str());
    write_file("/proc/self/gid_map", (gid + " " + gid + " 1\n").c_str());
    mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    for (const char* path : {"/tmp", "/run"})
        if (mount("tmpfs", path, "tmpfs", 0, "mode=0777") != 0) {
            perror(path);
            exit(1);
        }
}

void set_up_platform() {
    mkdir("/tmp/bin", 0755);
    mkdir("/tmp/product", 0755);
    write_file("/tmp/recovering", "0");
    write_file("/tmp/bin/ov_env_get", "#!/bin/sh\n"
                                      "case $1 in\n"
                                      "PDT_INFO_SHELF_TYPE) echo 53 ;;\n"
                                      "PDT_INFO_CARD_SLOTID) echo 8 ;;\n"
                                      "OV_APP_FLAG_FILE_HA_RECOVERY) echo /tmp/recovering ;;\n"
                                      "*) exit 1 ;;\n"
                                      "esac\n");
    chmod("/tmp/bin/ov_env_get", 0755);
    setenv("PATH", (std::string("/tmp/bin:") + getenv("PATH")).c_str(), 1);
    setenv("OV_IPC_CARRIER", "unix", 1);
}

std::chrono::microseconds g_handler_takes{0};
int g_handled = 0;
unsigned handle_event(unsigned /*type*/, void* /*buf*/, unsigned /*len*/) {
    ++g_handled;
    const auto until = std::chrono::steady_clock::now() + g_handler_takes;
    while (std::chrono::steady_clock::now() < until) {
    }
    return 0;
}

void set_up() {
    static bool done = false;
    if (done)
        return;
    done = true;
    enter_private_place();
    set_up_platform();
    if (fork() == 0)
        be_card();
    usleep(100000);
    ov_slot_init();
    hal_init(HAL_GPON, nullptr, nullptr);
    hal_slot_active_flag_set(__func__, __LINE__, CARD_SLOT);
}

struct alignas(8) Record {
    unsigned char bytes[144] = {};
    Record() { set_word(bytes, 9u << 28 | CARD_SLOT); }
};

template <typename Exchange>
double median_usec(Exchange exchange) {
    std::vector<double> took(ROUND_TRIPS);
    for (double& t : took) {
        const auto began = std::chrono::steady_clock::now();
        exchange();
        t = std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - began).count();
    }
    std::nth_element(took.begin(), took.begin() + ROUND_TRIPS / 2, took.end());
    return took[ROUND_TRIPS / 2];
}

// Message 966 goes to every card without a look at the record: no interface index is needed here. Only one
// card is up.
constexpr int BROADCAST_TYPE = OV_HAL_MSG_GPON_DEBUG;

void SyncSend(benchmark::State& state) {
    set_up();
    const int fd = bound_socket("ov_ipc/20000/1");
    std::array<unsigned char, IPC_HEADER + 36 + 48> request = {};
    set_word(&request[8], 1);
    set_word(&request[12], 1000);
    set_word(&request[16], 1);
    std::array<unsigned char, 4096> reply;
    const Address card("ov_ipc/19101/" + std::to_string(10100 + CARD_SLOT));
    const auto bare = [&] {
        sendto(fd, request.data(), request.size(), 0, card.get(), card.len);
        benchmark::DoNotOptimize(recv(fd, reply.data(), reply.size(), 0));
    };
    Record record;
    const auto hal = [&] {
        if (ov_hal_gpon_msg_send(BROADCAST_TYPE, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 1) != 0)
            state.SkipWithError("send failed");
    };
    for ([[maybe_unused]] auto _ : state) {
        const double bare_usec = median_usec(bare);
        const double hal_usec = median_usec(hal);
        state.counters["bare_us"] = bare_usec;
        state.counters["send_us"] = hal_usec;
        state.counters["ratio"] = hal_usec / bare_usec;
    }
    close(fd);
}

void AsyncSend(benchmark::State& state) {
    set_up();
    Record record;
    for ([[maybe_unused]] auto _ : state)
        ov_hal_gpon_msg_send(BROADCAST_TYPE, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 0);
    state.SetItemsProcessed(state.iterations());
    state.counters["failed"] = g_agent_msg_tx_cb->num_async_send_fail;
}

void Allocations(benchmark::State& state) {
    set_up();
    Record record;
    ov_hal_gpon_msg_send(BROADCAST_TYPE, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 1);
    const unsigned long before = g_allocations;
    for ([[maybe_unused]] auto _ : state) {
        ov_hal_gpon_msg_send(BROADCAST_TYPE, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 1);
        ov_hal_gpon_msg_send(BROADCAST_TYPE, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 0);
    }
    state.counters["mallocs"] = static_cast<double>(g_allocations - before);
}

// A full queue, dispatched tick by tick with a handler of so many microseconds.
void Dispatch(benchmark::State& state) {
    set_up();
    g_handler_takes = std::chrono::microseconds(state.range(0));
    static bool armed = false;
    if (!armed)
        hal_tipc_start_recv_timer(thread_master_create("bench"), handle_event);
    armed = true;
    ov_msg_queue_t queue = g_hal_tipc_recvq_info[1].hal_tipc_recv_asyncq;
    for ([[maybe_unused]] auto _ : state) {
        Record record;
        ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_TRAP_SYNC, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 0);
        while (ov_msgq_count(queue) < EVENTS)
            usleep(1000);
        g_handled = 0;
        double longest = 0;
        int ticks = 0;
        for (; ov_msgq_count(queue) > 0; ++ticks) {
            const auto began = std::chrono::steady_clock::now();
            hal_tipc_asyncmsg_dispatch();
            const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - began;
            longest = std::max(longest, took.count());
        }
        state.counters["events"] = g_handled;
        state.counters["ticks"] = ticks;
        state.counters["longest_ms"] = longest;
    }
}

BENCHMARK(SyncSend)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(AsyncSend)->Iterations(60000)->UseRealTime();
BENCHMARK(Allocations)->Iterations(1000)->UseRealTime();
BENCHMARK(Dispatch)->Arg(0)->Arg(20)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
