// Scenario files: commands that run when the chassis starts, and others for each time a daemon connects.
//
//   env PDT_INFO_SHELF_TYPE 52      # commands of the control socket, one per line
//   include chassis.scn             # the lines of another file, from the place of this one
//   mono-ready 1
//   on connect                      # run when the daemon's connections stand; a lost connection stops it
//       event slot-active slot_id=1
//   end
#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <string>
#include <vector>

#include "command.h"

struct Step {
    std::string file; // where it stands
    unsigned line;
    Action action;
};
using Script = std::vector<Step>;

struct Scenario {
    std::string file;
    Script on_start;
    Script on_connect;
};

// Reads and checks a whole scenario. False, with "FILE:LINE: reason" (or "FILE: reason") in error.
bool read_scenario(Chassis& chassis, std::istream& in, Scenario& scenario, std::string& error);
bool load_scenario(Chassis& chassis, const std::string& file, Scenario& scenario, std::string& error);

// Runs a script, a step after the other. The steps must outlive the run.
class ScriptRun {
public:
    // error: empty, or "FILE:LINE: reason" of the step that failed; the rest isn't run.
    using Finished = std::function<void(std::string error)>;

    // What is over at once is done before this returns. A script that runs already is cancelled.
    void start(const Script& script, uint64_t since, Finished finished);
    // finished isn't called after this.
    void cancel();

private:
    void go_on();
    void step_done(uint64_t run, const Answer& answer);

    const Script* script_ = nullptr;
    size_t next_ = 0;
    uint64_t run_ = 0; // tells the callbacks of a cancelled run
    Context context_;
    Finished finished_;
    Cancel cancel_step_;
    bool in_step_ = false;
};
