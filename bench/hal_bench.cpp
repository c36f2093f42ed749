// Messages to and from a card over the datagram carrier: a synchronous send against a bare request and reply,
// sends without reply, the dispatch of a full queue, heap allocations. The cards are processes of their own:
// one speaks raw bytes, one is a card of the simulated chassis. See README.md.
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

#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "bench_place.h"
#include "card.h"
#include "hal_outbox.h"
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

using namespace bench_place;

constexpr uint32_t CARD_SLOT = 3; // the card that speaks raw bytes
constexpr uint32_t SIM_SLOT = 4;  // the simulated one
constexpr int ROUND_TRIPS = 100000;
constexpr int TURN = 1000; // of them, before the other kind has its turn
constexpr int EVENTS = 40960;
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

// Answers requests with themselves; a one-way message of type 949 asks for a flood of events.
[[noreturn]] void be_echo(const std::string& name, const std::string& client) {
    const int fd = bound_socket(name);
    const Address to(client);
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
        set_word(&buf[8], 2);
        sendto(fd, buf.data(), size_t(got), 0, to.get(), to.len);
    }
}

// The card of the simulated chassis, with nothing else of it.
[[noreturn]] void be_simulated_card() {
    EventLoop loop;
    Records records;
    IpcSender sender(loop);
    uint32_t board = 8;
    uint32_t records_per_second = 1000;
    Capture capture; // without a file
    Card card({loop, records, sender, board, records_per_second, capture}, SIM_SLOT);
    std::string error;
    if (!card.open(error)) {
        fprintf(stderr, "%s\n", error.c_str());
        exit(1);
    }
    loop.run();
    exit(0);
}

template <typename Role>
pid_t start_process(Role role) {
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        role();
    }
    return pid;
}

const std::string BARE_PEER = "ov_bench/peer";
const std::string BARE_OWN = "ov_bench/own";
std::vector<pid_t> g_peers;

// Puts the peers on the last processor and this process on it too, or on the first.
void place(bool apart) {
    const auto pin = [](pid_t pid, long cpu) {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(static_cast<size_t>(cpu), &set);
        sched_setaffinity(pid, sizeof set, &set);
    };
    const long last = sysconf(_SC_NPROCESSORS_ONLN) - 1;
    for (const pid_t peer : g_peers)
        pin(peer, last);
    pin(0, apart ? 0 : last);
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
    g_peers = {start_process([] { be_echo(BARE_PEER, BARE_OWN); }),
               start_process([] { be_echo(card_name(CARD_SLOT), "ov_ipc/19101/11108"); }),
               start_process(be_simulated_card)};
    usleep(100000);
    ov_slot_init();
    hal_init(HAL_GPON, nullptr, nullptr);
    for (const uint32_t slot : {CARD_SLOT, SIM_SLOT})
        hal_slot_active_flag_set(__func__, __LINE__, static_cast<unsigned short>(slot));
}

// An ONU type for one card: of the messages that provisioning sends, one that goes by a slot in its record.
constexpr int TYPE = OV_HAL_MSG_GPON_ONU_TYPE;
constexpr size_t RECORD_SIZE = 128;
constexpr size_t SLOT_AT = 124;
constexpr size_t FRAME_SIZE = IPC_HEADER + 36 + 40 + RECORD_SIZE;

struct alignas(8) Attr {
    unsigned char bytes[RECORD_SIZE] = {};
    explicit Attr(uint32_t slot) { set_word(bytes + SLOT_AT, slot); }
    int send(int needs_reply) {
        return ov_hal_gpon_msg_send(TYPE, OV_HAL_GPON_MSG_ACTION_CREATE, bytes, 0, needs_reply);
    }
};

// What exchanges took, in microseconds.
class Times {
public:
    Times() { took_.reserve(ROUND_TRIPS); }
    template <typename Exchange>
    void turn(Exchange exchange) {
        for (int n = 0; n < TURN; n++) {
            const auto began = std::chrono::steady_clock::now();
            exchange();
            const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - began;
            took_.push_back(took.count());
        }
    }
    double median() {
        const auto middle = took_.begin() + static_cast<ptrdiff_t>(took_.size() / 2);
        std::nth_element(took_.begin(), middle, took_.end());
        return *middle;
    }

private:
    std::vector<double> took_;
};

void SyncSend(benchmark::State& state) {
    set_up();
    place(state.range(1) == 2);
    const int fd = bound_socket(BARE_OWN);
    std::array<unsigned char, FRAME_SIZE> request = {};
    set_word(&request[8], 1);
    std::array<unsigned char, 4096> reply;
    const Address peer(BARE_PEER);
    const auto bare = [&] {
        sendto(fd, request.data(), request.size(), 0, peer.get(), peer.len);
        benchmark::DoNotOptimize(recv(fd, reply.data(), reply.size(), 0));
    };
    Attr attr(static_cast<uint32_t>(state.range(0)));
    const auto hal = [&] {
        if (attr.send(1) != 0)
            state.SkipWithError("send failed");
    };
    for ([[maybe_unused]] auto _ : state) {
        Times bare_times;
        Times hal_times;
        for (int n = 0; n < ROUND_TRIPS / TURN; n++) {
            bare_times.turn(bare);
            hal_times.turn(hal);
        }
        const double bare_usec = bare_times.median();
        const double hal_usec = hal_times.median();
        state.counters["bare_us"] = bare_usec;
        state.counters["send_us"] = hal_usec;
        state.counters["ratio"] = hal_usec / bare_usec;
    }
    close(fd);
}

void AsyncSend(benchmark::State& state) {
    set_up();
    place(true);
    Attr attr(CARD_SLOT);
    for ([[maybe_unused]] auto _ : state) {
        attr.send(0);
        if (hal_outbox_messages(CARD_SLOT) > 0) // there is no loop here that would do it
            hal_outbox_drain(CARD_SLOT, std::chrono::steady_clock::now() + std::chrono::seconds(60));
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["failed"] = g_agent_msg_tx_cb->num_async_send_fail;
}

void Allocations(benchmark::State& state) {
    set_up();
    Attr attr(CARD_SLOT);
    attr.send(1);
    const unsigned long before = g_allocations;
    for ([[maybe_unused]] auto _ : state) {
        attr.send(1);
        attr.send(0);
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
        Attr flood_please(0); // to every card; only the one of raw bytes does it
        ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_TRAP_SYNC, OV_HAL_GPON_MSG_ACTION_SET, &flood_please, 0, 0);
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

BENCHMARK(SyncSend)
    ->ArgNames({"slot", "cores"})
    ->ArgsProduct({{CARD_SLOT, SIM_SLOT}, {1, 2}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(AsyncSend)->Iterations(60000)->UseRealTime();
BENCHMARK(Allocations)->Iterations(1000)->UseRealTime();
BENCHMARK(Dispatch)->Arg(0)->Arg(20)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
