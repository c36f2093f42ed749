// The parts of the simulated chassis.
#pragma once

#include "cards.h"
#include "controller.h"
#include "env_store.h"
#include "event_loop.h"
#include "faults.h"
#include "heartbeat_monitor.h"
#include "records.h"
#include "waits.h"

struct Chassis {
    EventLoop loop;
    Records records;
    Waits waits{loop, records};
    Faults faults;
    Controller controller{loop, records, faults};
    HeartbeatMonitor monitor{loop, records};
    EnvStore env;
    Cards cards{loop, records, env};
    std::string scenario_state = "none"; // none, running, done, failed
};
