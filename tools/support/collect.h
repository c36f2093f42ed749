// What goes into a support bundle, and where it is found.
#pragma once

#include <chrono>
#include <string>

#include "bundle.h"
#include "secrets.h"

struct Places {
    std::string socket = "/var/run/gpon.vty";
    std::string pid_file = "/var/run/gpon.pid";
    std::string log;    // empty: where the daemon writes it
    std::string tables; // empty: where the daemon has them
    std::string config; // empty: where the shell saves it
    std::string crashes = "/app/crash";
    std::chrono::seconds wait{20}; // for each answer of the daemon
};

// Fills the bundle. What isn't there or doesn't answer is left out, with the reason; `said` gets the remarks
// that stand at the head of MANIFEST. Throws NoBundle.
void collect(const Places& places, Bundle& bundle, Secrets& secrets, std::string& said);
