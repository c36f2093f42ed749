// Runs programs for the runner at the other end of a serial port, any number at once.
//
// What goes over the port are frames: the payload's length (4 bytes, high byte first), a channel that the
// runner numbers (2 bytes), a kind (1 byte), the payload.
//
//   from the runner  'S'  start a program: texts that end with NUL: "pty" or "pipe", the directory to start
//   in (or /
//                         where there is none), how many variables, the variables NAME=VALUE, the arguments
//                    'I'  input for it; empty: its end
//                    'K'  a signal's number as text, for the program and its process group
//   to the runner    'R'  the agent is ready (channel 0)
//                    'O', 'E'  what the program printed, and what it printed as errors
//                    'X'  it has ended, and all that it printed has been told: its status as waitpid has it,
//                    as text
#pragma once

// Serves the port until its other end is closed.
void serve_agent(int port);
