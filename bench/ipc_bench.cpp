// The named IPC over Unix sockets, against the same bytes over bare sockets, with a peer in another process.
//
//   SyncRoundTrip   100,000 requests each way in turns of 1000; medians in microseconds and their ratio
//   OneWay          messages a second to a peer that keeps up, and how many of them it got
//   Both count the sender's heap allocations per message.
#include "ipcApi.h"
#include "ipc_app_cb.h"
#include "wi_ipc.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include <csignal>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

static uint64_t allocations;

// Replaced to count; what they give is malloc's.
[[gnu::noinline]] void* operator new(size_t size) {
    allocations++;
    if (void* memory = malloc(size))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t /*size*/) noexcept {
    free(memory);
}

namespace {

constexpr int ROUND_TRIPS = 100000;
constexpr int TURN = 1000;
constexpr int ONE_WAY = 600000;
constexpr int MESSAGE = 136; // packet header, netlink header and an 84-byte record
constexpr uint32_t PEER = 10103;
constexpr uint32_t OWN = 11101;

using Clock = std::chrono::steady_clock;

int open_named(const char* name) {
    const int sock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path + 1, name, strlen(name));
    const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + strlen(name));
    if (bind(sock, reinterpret_cast<const sockaddr*>(&address), length) != 0)
        abort();
    return sock;
}

struct To {
    sockaddr_un address = {};
    socklen_t length;
    explicit To(const char* name) {
        address.sun_family = AF_UNIX;
        memcpy(address.sun_path + 1, name, strlen(name));
        length = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + strlen(name));
    }
    void send(int sock, const void* bytes, size_t size) const {
        if (sendto(sock, bytes, size, 0, reinterpret_cast<const sockaddr*>(&address), length) < 0)
            abort();
    }
};

// Plays the peer in a process of its own until it is killed.
class Peer {
public:
    Peer(const char* name, const char* answers_to) {
        const int sock = open_named(name);
        pid_ = fork();
        if (pid_ == 0)
            echo(sock, To(answers_to));
        close(sock);
    }
    ~Peer() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

private:
    [[noreturn]] static void echo(int sock, const To& to) {
        std::array<uint8_t, 4096> frame;
        for (;;) {
            const ssize_t got = recv(sock, frame.data(), frame.size(), 0);
            frame[11] = IPC_REPLY;
            to.send(sock, frame.data(), size_t(got));
        }
    }
    pid_t pid_;
};

double median_us(std::vector<int64_t>& ns) {
    std::nth_element(ns.begin(), ns.begin() + ptrdiff_t(ns.size() / 2), ns.end());
    return double(ns[ns.size() / 2]) / 1000;
}

void SyncRoundTrip(benchmark::State& state) {
    setenv("OV_IPC_CARRIER", "unix", 1);
    Peer bare_peer("ov_bench/peer", "ov_bench/own");
    Peer ipc_peer("ov_ipc/19101/10103", "ov_ipc/19101/11101");
    const int bare = open_named("ov_bench/own");
    const To bare_to("ov_bench/peer");
    IPC_APP_CB_T* cb = ipc_app_cb_init(IPC_SERVICE_PACKT_SWITCH_AGENT, OWN, 0, nullptr);
    std::vector<int64_t> bare_ns;
    std::vector<int64_t> ipc_ns;
    bare_ns.reserve(ROUND_TRIPS);
    ipc_ns.reserve(ROUND_TRIPS);
    std::array<uint8_t, IPC_HDR_SIZE + MESSAGE> bytes = {};
    std::array<uint8_t, IPC_MAX_MSG_SIZE> reply;
    uint64_t allocated = 0;
    const auto bare_trip = [&] {
        bare_to.send(bare, bytes.data(), bytes.size());
        if (recv(bare, reply.data(), reply.size(), 0) != ssize_t(bytes.size()))
            abort();
    };
    const auto ipc_trip = [&] {
        if (ipc_send_sync_msg(cb, PEER, bytes.data(), MESSAGE, reply.data(), int(reply.size())) != MESSAGE)
            abort();
    };
    const auto timed = [](auto& trip, std::vector<int64_t>& into) {
        const auto start = Clock::now();
        trip();
        into.push_back(std::chrono::nanoseconds(Clock::now() - start).count());
    };
    for (auto _ : state) {
        bare_ns.clear();
        ipc_ns.clear();
        for (int turn = 0; turn < ROUND_TRIPS / TURN; turn++) {
            for (int i = 0; i < TURN; i++)
                timed(bare_trip, bare_ns);
            const uint64_t before = allocations;
            for (int i = 0; i < TURN; i++)
                timed(ipc_trip, ipc_ns);
            allocated += allocations - before;
        }
    }
    const double bare_us = median_us(bare_ns);
    const double ipc_us = median_us(ipc_ns);
    state.counters["bare_us"] = bare_us;
    state.counters["ipc_us"] = ipc_us;
    state.counters["ratio"] = ipc_us / bare_us;
    state.counters["allocs_per_msg"] = double(allocated) / ROUND_TRIPS;
    ipc_app_cb_destroy(cb);
    close(bare);
}
BENCHMARK(SyncRoundTrip)->Iterations(1)->Unit(benchmark::kMillisecond);

// A receiver without room gives the message back; it is sent again when there is room.
bool post_to_reader(IPC_APP_CB_T* cb, const uint8_t* bytes) {
    for (;;) {
        const int rc = ipc_post_msg(cb, PEER, bytes, MESSAGE);
        if (rc != IPC_RC_MSG_RTRNED || !ipcReturnedForRoom(cb->ipcHandle))
            return rc == IPC_RC_SUCCESS;
        pollfd room = {ipcWatchRoom(cb->ipcHandle, IPC_SERVICE_PACKT_SWITCH_AGENT, PEER), POLLOUT, 0};
        poll(&room, 1, -1);
        close(room.fd);
    }
}

void OneWay(benchmark::State& state) {
    setenv("OV_IPC_CARRIER", "unix", 1);
    int result[2];
    if (pipe(result) != 0)
        abort();
    const int sock = open_named("ov_ipc/19101/10103");
    const pid_t receiver = fork();
    if (receiver == 0) {
        std::array<uint8_t, 4096> frame;
        int got = 0;
        while (recv(sock, frame.data(), frame.size(), 0) > IPC_HDR_SIZE) // the last one is empty
            got++;
        if (write(result[1], &got, sizeof(got)) != sizeof(got))
            abort();
        _exit(0);
    }
    close(sock);
    IPC_APP_CB_T* cb = ipc_app_cb_init(IPC_SERVICE_PACKT_SWITCH_AGENT, OWN, 0, nullptr);
    std::array<uint8_t, MESSAGE> bytes = {};
    const uint64_t before = allocations;
    int failed = 0;
    const auto start = Clock::now();
    for (auto _ : state)
        for (int i = 0; i < ONE_WAY; i++)
            failed += post_to_reader(cb, bytes.data()) ? 0 : 1;
    const std::chrono::duration<double> took = Clock::now() - start;
    const uint64_t allocated = allocations - before;
    while (ipc_send_async_msg(cb, PEER, bytes.data(), 0) == IPC_RC_MSG_RTRNED) {
    }
    int got = 0;
    if (read(result[0], &got, sizeof(got)) != sizeof(got))
        abort();
    waitpid(receiver, nullptr, 0);
    state.counters["msgs_per_s"] = ONE_WAY / took.count();
    state.counters["send_failed"] = failed;
    state.counters["lost"] = ONE_WAY - got;
    state.counters["allocs_per_msg"] = double(allocated) / ONE_WAY;
    ipc_app_cb_destroy(cb);
    close(result[0]);
    close(result[1]);
}
BENCHMARK(OneWay)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
