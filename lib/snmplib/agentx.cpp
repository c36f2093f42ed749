#include "agentx.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <list>

#include "agentx_inner.h"
#include "agentx_link.h"
#include "agentx_setup.h"
#include "kavo_timer.h"
#include "ov_loop_thread.h"
#include "ov_product_log.h"

int agentx_read_flags = 0;
int agentx_timeout_flags = 0;

namespace {

std::atomic<int> agentx_enabled = 0; // 1 when notifications may be sent
struct thread_master* agentx_tm = nullptr;
struct thread* timeout_thr = nullptr;
bool alarms_changed = false;             // since timeout_thr was armed, by the application
struct thread* link_write_thr = nullptr; // the connection to the master can be written to
struct thread* link_watch_thr = nullptr; // a look whether the master is still there
std::array<struct thread*, AGENTX_FD_MAX> agentx_snmp_read_threads{}; // by descriptor
int agentx_snmp_max_fd = 0;                                           // highest seen; only grows
int debug_snmp_agentx = 0;

// Guards the event array and agentx_snmp_max_fd; never held while the library works.
pthread_mutex_t agentx_snmp_mtx = PTHREAD_MUTEX_INITIALIZER;
class EventLock {
public:
    EventLock() { pthread_mutex_lock(&agentx_snmp_mtx); }
    ~EventLock() { pthread_mutex_unlock(&agentx_snmp_mtx); }
    EventLock(const EventLock&) = delete;
    EventLock& operator=(const EventLock&) = delete;
};

// A set of descriptors, any number of them: the library's own kind, which grows as needed.
class DescriptorSet {
public:
    DescriptorSet() { netsnmp_large_fd_set_init(&set_, AGENTX_FD_MAX); }
    ~DescriptorSet() { netsnmp_large_fd_set_cleanup(&set_); }
    DescriptorSet(const DescriptorSet&) = delete;
    DescriptorSet& operator=(const DescriptorSet&) = delete;

    void clear() { NETSNMP_LARGE_FD_ZERO(&set_); }
    void add(int fd) { NETSNMP_LARGE_FD_SET(fd, &set_); }
    void remove(int fd) { NETSNMP_LARGE_FD_CLR(fd, &set_); }
    bool has(int fd) { return NETSNMP_LARGE_FD_ISSET(fd, &set_) != 0; }
    netsnmp_large_fd_set* get() { return &set_; }

private:
    netsnmp_large_fd_set set_ = {};
};

// What the library waits for.
struct Wanted {
    DescriptorSet fds;
    int count = 0; // highest descriptor + 1
    bool has_timeout = false;
    timeval timeout = {};

    void ask() {
        int block = 1;
        fds.clear();
        timeout = {};
        count = agentx_snmp_max_fd + 1;
        snmp_select_info2(&count, fds.get(), &timeout, &block);
        has_timeout = block == 0;
    }
};

Wanted& wanted() {
    static auto& it = *new Wanted; // its descriptor set is made once
    return it;
}

// ---- serving ----------------------------------------------------------------------------------------------

// Leaves those of the descriptors in the set that have something to read now. False if none has.
bool leave_ready(DescriptorSet& fds, int count) {
    timeval no_wait = {};
    return netsnmp_large_fd_set_select(count, fds.get(), nullptr, nullptr, &no_wait) > 0;
}

// Lets the library read descriptors, each of which has something to read.
void read_ready(DescriptorSet& fds) {
    agentx_read_flags = 1;
    snmp_read2(fds.get());
    agentx_read_flags = 0;
    netsnmp_check_outstanding_agent_requests();
}

// Lets the library read what the master has sent. False if there is nothing for it.
bool read_link() {
    static auto& fds = *new DescriptorSet;
    fds.clear();
    if (!agentx_link_can_hand_over())
        return false;
    fds.add(agentx_link_fd());
    read_ready(fds);
    return true;
}

bool is_master(int fd) {
    return fd >= 0 && fd == agentx_link_socket();
}

// Reads the descriptor of an event. It may be closed meanwhile, or empty: something has read it since the
// event became ready. False then.
bool read_descriptor(int fd) {
    static auto& fds = *new DescriptorSet;
    if (is_master(fd)) {
        agentx_link_receive();
        return read_link();
    }
    fds.clear();
    wanted().ask();
    if (fd < 0 || fd >= AGENTX_FD_MAX || !wanted().fds.has(fd))
        return false;
    fds.add(fd);
    if (!leave_ready(fds, fd + 1))
        return false;
    read_ready(fds);
    return true;
}

// The next hop of a request within the library. False if there is none.
bool read_inner() {
    static auto& fds = *new DescriptorSet;
    const int fd = agentx_inner_ready();
    if (fd < 0 || fd >= AGENTX_FD_MAX)
        return false;
    fds.clear();
    fds.add(fd);
    read_ready(fds);
    return true;
}

// Lets the library do the next thing that there is for it. False if there is nothing.
bool take_step() {
    if (read_link())
        return true;
    if (agentx_inner_is_known())
        return read_inner();
    Wanted& now = wanted();
    now.ask();
    const int master = agentx_link_wants_to_read() ? agentx_link_socket() : -1;
    if (master >= 0)
        now.fds.add(master);
    if (agentx_link_fd() >= 0)
        now.fds.remove(agentx_link_fd()); // nothing is to be had there now, whatever waits behind it
    if (!leave_ready(now.fds, std::max(now.count, master + 1)))
        return false;
    if (master >= 0 && now.fds.has(master)) {
        now.fds.remove(master);
        agentx_link_receive();
    }
    read_ready(now.fds);
    return true;
}

// A request takes three steps through the library's inner connections; they are taken at once instead of in
// one pass of the event loop each, and so is the next request of a walk. Bounded, so that a busy manager
// doesn't keep the loop.
void drain() {
    constexpr int MAX_STEPS = 48;
    for (int step = 0; step < MAX_STEPS; ++step) {
        if (take_step())
            continue;
        agentx_link_idle();
        if (!agentx_link_can_hand_over())
            return;
    }
}

void run_timeouts() {
    agentx_timeout_flags = 1;
    snmp_timeout();
    run_alarms();
    netsnmp_check_outstanding_agent_requests();
    agentx_timeout_flags = 0;
}

// ---- events -----------------------------------------------------------------------------------------------

void refuse_high_descriptor(int fd) {
    static bool said = false;
    if (!said)
        OV_LOG_ERROR("SNMP", "descriptor %d of the SNMP library is too high, not served", fd);
    said = true;
}

void update_read_event(int fd, bool is_wanted) {
    struct thread*& event = agentx_snmp_read_threads[static_cast<size_t>(fd)];
    if (is_wanted && event == nullptr) {
        kavo_add_read(agentx_tm, agentx_snmp_read, nullptr, fd, &event);
        if (debug_snmp_agentx != 0)
            OV_LOG_DEBUG("SNMP", "add new agentx_read, fd %d, thread %p", fd, static_cast<void*>(event));
    } else if (!is_wanted && event != nullptr) {
        if (debug_snmp_agentx != 0)
            OV_LOG_DEBUG("SNMP", "remove agentx_read, fd %d, thread %p", fd, static_cast<void*>(event));
        thread_cancel(&event);
    }
}

int write_to_master(struct thread* /*thread*/) {
    agentx_link_flush();
    agentx_snmp_update();
    return 0;
}

int watch_master(struct thread* /*thread*/) {
    agentx_link_check_silence();
    agentx_snmp_update();
    return 0;
}

// The events of the connection to the master beside its read event.
void update_link_events() {
    constexpr int WATCH_MS = AGENTX_SILENCE_MS / 4;
    const int sock = agentx_link_socket();
    if (link_write_thr != nullptr && (!agentx_link_wants_to_write() || THREAD_FD(link_write_thr) != sock))
        thread_cancel(&link_write_thr);
    if (agentx_link_wants_to_write())
        thread_add_write(agentx_tm, kavo_handle<write_to_master>, nullptr, sock, &link_write_thr);
    if (agentx_link_is_owed())
        kavo_add_timer_msec(agentx_tm, watch_master, nullptr, WATCH_MS, &link_watch_thr);
}

int update_event(struct thread* /*thread*/) {
    agentx_snmp_update();
    return 0;
}

} // namespace

void agentx_snmp_update() {
    if (agentx_tm == nullptr)
        return;
    if (pthread_equal(agentx_tm->owner, pthread_self()) ==
        0) { // events are cancelled by the loop's thread only
        kavo_add_event(agentx_tm, update_event, nullptr, 0, nullptr);
        return;
    }
    agentx_link_wake();
    const EventLock lock;
    thread_cancel(&timeout_thr);
    alarms_changed = false;
    Wanted& now = wanted();
    now.ask();
    if (now.count > AGENTX_FD_MAX)
        refuse_high_descriptor(now.count - 1);
    const int master = agentx_link_wants_to_read() ? agentx_link_socket() : -1;
    agentx_snmp_max_fd = std::clamp(std::max(now.count - 1, master), agentx_snmp_max_fd, AGENTX_FD_MAX - 1);
    if (now.has_timeout)
        thread_add_timer_tv(agentx_tm, kavo_handle<agentx_snmp_timeout>, nullptr, &now.timeout, &timeout_thr);
    for (int fd = 0; fd <= agentx_snmp_max_fd; ++fd)
        update_read_event(fd, now.fds.has(fd) || fd == master);
    update_link_events();
}

int agentx_snmp_read_ready() {
    const EventLock lock;
    const auto first = agentx_snmp_read_threads.begin();
    return std::any_of(first, first + agentx_snmp_max_fd + 1, [](const struct thread* event) {
        return event != nullptr && event->type == THREAD_READY;
    });
}

namespace {

// Brings in line the events of the connection to the master alone: the library hasn't been at work.
void update_master_event(int master) {
    const EventLock lock;
    update_read_event(master, agentx_link_wants_to_read());
    update_link_events();
}

} // namespace

int agentx_snmp_read(struct thread* thread) {
    const int fd = THREAD_FD(thread);
    const bool from_master = is_master(fd);
    const bool was_known = agentx_inner_is_known();
    const int link = agentx_link_fd();
    const bool at_work = read_descriptor(fd);
    if (at_work)
        drain();
    const bool stays = from_master && is_master(fd) && link == agentx_link_fd() && !alarms_changed;
    // A request leaves the library's descriptors as they were, with their events.
    if (stays && (at_work ? was_known && agentx_inner_is_known() : !agentx_link_has_input())) {
        agentx_link_wake();
        update_master_event(fd);
    } else {
        agentx_snmp_update();
    }
    return 0;
}

int agentx_snmp_timeout(struct thread* /*t*/) {
    timeout_thr = nullptr;
    // Requests go before timers: a timeout handled first would drop the packet that waits to be read.
    if (agentx_snmp_read_ready() != 0) {
        if (debug_snmp_agentx != 0)
            OV_LOG_DEBUG("SNMP", "snmp_read ready, skip snmp_timeout handle!!!");
    } else {
        run_timeouts();
    }
    agentx_snmp_update();
    return 0;
}

void agentx_set_debug(int on) {
    debug_snmp_agentx = on;
}

// ---- alarms -----------------------------------------------------------------------------------------------

namespace {

unsigned int add_alarm_taken(std::chrono::microseconds period, unsigned int flags,
                             SNMPAlarmCallback* callback, void* arg) {
    return kavo_timers_taken()->add_alarm(period, (flags & SA_REPEAT) != 0,
                                          [=](unsigned int number) { callback(number, arg); });
}

} // namespace

unsigned int agentx_alarm_register(unsigned int when, unsigned int flags, SNMPAlarmCallback* callback,
                                   void* arg) {
    ov_assert_on_loop();
    if (kavo_timers_taken() != nullptr)
        return add_alarm_taken(std::chrono::seconds(when), flags, callback, arg);
    alarms_changed = true;
    return snmp_alarm_register(when, flags, callback, arg);
}

unsigned int agentx_alarm_register_hr(timeval period, unsigned int flags, SNMPAlarmCallback* callback,
                                      void* arg) {
    ov_assert_on_loop();
    if (kavo_timers_taken() != nullptr)
        return add_alarm_taken(std::chrono::seconds(period.tv_sec) +
                                   std::chrono::microseconds(period.tv_usec),
                               flags, callback, arg);
    alarms_changed = true;
    return snmp_alarm_register_hr(period, flags, callback, arg);
}

void agentx_alarm_unregister(unsigned int number) {
    ov_assert_on_loop();
    if (kavo_timers_taken() != nullptr)
        kavo_timers_taken()->remove_alarm(number);
    else
        snmp_alarm_unregister(number);
    alarms_changed = true;
}

// ---- start ------------------------------------------------------------------------------------------------

void smux_init(struct thread_master* tm) {
    agentx_tm = tm;
    agentx_setup_library();
    agentx_snmp_read_threads.fill(nullptr);
    agentx_snmp_update();
    agentx_enabled = 1;
}

void snmp_agent_start() {
    agentx_start_library();
    agentx_enabled = 1;
}

void smux_register_mib(const char* descr, struct variable* var, size_t width, int num, oid* name,
                       size_t namelen) {
    register_mib(descr, var, width, static_cast<size_t>(num), name, namelen);
}

int agentx_is_enabled() {
    return agentx_enabled;
}

struct thread_master* agentx_loop() {
    return agentx_tm;
}

bool agentx_is_on_loop() {
    return agentx_tm == nullptr || pthread_equal(agentx_tm->owner, pthread_self()) != 0;
}

// ---- the event handling that came with the frame -----------------------------------------------------
//
// The same job with a list of events. Nothing starts it: two of them on one loop would serve each descriptor
// twice.

namespace {

std::list<struct thread*> events; // a list, because the loop keeps pointers to its elements
void agentx_events_update();

void debug_dump_agent_events() {
    OV_LOG_DEBUG("SNMP", "%zu agentx events", events.size());
    for (const struct thread* event : events)
        if (event != nullptr)
            OV_LOG_DEBUG("SNMP", "agentx_read, fd %d, thread %p", event->u.fd,
                         static_cast<const void*>(event));
}

void cancel_events() {
    thread_cancel(&timeout_thr);
    for (struct thread*& event : events)
        thread_cancel(&event);
    events.clear();
}

} // namespace

int agentx_read(struct thread* t) {
    read_descriptor(THREAD_FD(t));
    agentx_events_update();
    return 0;
}

int agentx_timeout(struct thread* /*t*/) {
    timeout_thr = nullptr;
    run_timeouts();
    agentx_events_update();
    return 0;
}

namespace {

void agentx_events_update() {
    cancel_events();
    Wanted& now = wanted();
    now.ask();
    if (now.has_timeout)
        thread_add_timer_tv(agentx_tm, kavo_handle<agentx_timeout>, nullptr, &now.timeout, &timeout_thr);
    for (int fd = 0; fd < std::min(now.count, AGENTX_FD_MAX); ++fd) {
        if (!now.fds.has(fd))
            continue;
        struct thread*& event = events.emplace_back(nullptr);
        kavo_add_read(agentx_tm, agentx_read, nullptr, fd, &event);
    }
    if (debug_snmp_agentx != 0)
        debug_dump_agent_events();
}

} // namespace
