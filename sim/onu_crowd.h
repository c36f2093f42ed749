// ONUs in any number, for PON ports that learn: commands of simctl and of scenarios.
#pragma once

#include "command.h"

// The rest of "onu crowd": ONUs of eight models by turns, into ports that follow one another.
Action parse_crowd(Chassis& chassis, Arguments& args);
// The rest of "onu states": how many ONUs there are in each state.
Action parse_states(Chassis& chassis);

// What the commands of ONUs share. The option "port", the name of a PON port; another one is a mistake.
uint32_t pon_option(Arguments& args);
// The option "power", on or off; on when it isn't given.
bool power_option(Arguments& args);
// Plugs an ONU in where it says.
Answer plug_onu(Chassis& chassis, const Onu& onu, bool power);
