// Commands that take longer than their handler: they wait for what the loop or another thread brings about,
// or do much, one piece after the other. In a shell's session the event loop serves everybody else meanwhile;
// the shell gets the result at the end. Event loop's thread.
#pragma once

#include <cstdint>
#include <functional>

struct vty;

// How a step of such a command ended.
struct GponStep {
    enum class Kind : uint8_t { MORE, WAIT, END };

    Kind kind;
    int result; // of the command, at its end: 0 or KAVO_CLI_*

    static GponStep more() { return {Kind::MORE, 0}; } // another step follows
    static GponStep wait() { return {Kind::WAIT, 0}; } // the same, in a moment
    static GponStep end(int result) { return {Kind::END, result}; }
};
using gpon_step_t = std::function<GponStep()>;

// Whether a command of the session can wait. In one without a connection all steps follow each other at once:
// there a command must do by itself what it would otherwise wait for.
bool gpon_can_wait(const struct vty* vty);

// Takes the steps of a command, for the end of its handler, whose result it gives: that of the command when
// it has ended by then. What `step` holds lives as long as the command. A refusal in a later step is told
// like one of the handler.
int gpon_run_in_steps(struct vty* vty, gpon_step_t step);
