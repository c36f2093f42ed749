// TODO: the alarms of the SNMP library, once the subagent runs: they keep their order with its requests.
#include "gpon_alarm.h"

#include <deque>

#include "gpon_main.h"

namespace {

constexpr unsigned REPEAT = 1;

struct Alarm {
    unsigned number;
    unsigned when; // seconds
    unsigned flags;
    mmg_alarm_callback callback;
    void* clientarg;
};

// A deque, because the loop keeps pointers to its elements. Registrations live as long as the process.
std::deque<Alarm>& alarms() {
    static auto& all = *new std::deque<Alarm>;
    return all;
}

int gpon_alarm_run(struct thread* thread) {
    auto* alarm = static_cast<Alarm*>(THREAD_ARG(thread));
    if (alarm->flags == REPEAT)
        kavo_add_timer(master, gpon_alarm_run, alarm, alarm->when, nullptr);
    alarm->callback(alarm->number, alarm->clientarg);
    return 0;
}

} // namespace

unsigned int gpon_alarm_register(unsigned int when, unsigned int flags, mmg_alarm_callback callback,
                                 void* clientarg) {
    if (when == 0 || callback == nullptr)
        return 0;
    Alarm& alarm = alarms().emplace_back(Alarm{.number = static_cast<unsigned>(alarms().size()) + 1,
                                               .when = when,
                                               .flags = flags,
                                               .callback = callback,
                                               .clientarg = clientarg});
    kavo_add_timer(master, gpon_alarm_run, &alarm, when, nullptr);
    return alarm.number;
}
