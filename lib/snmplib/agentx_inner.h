// The inner connections of the SNMP library. It takes each phase of a request from its subagent half to its
// agent half and the answer back, every hop a byte in a pipe that it reads when somebody has seen that the
// pipe can be read. Who writes the byte is known here, so that nobody needs to ask the kernel for each hop.
//
// Event loop's thread only.
#pragma once

// Whether both ends are known: then agentx_inner_ready() tells of each hop. Otherwise the kernel does. To be
// asked in front of each step, for the library may have closed one.
bool agentx_inner_is_known();

// The descriptor of one that has something to read, -1 when none has.
int agentx_inner_ready();
