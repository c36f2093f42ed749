// The sections of a crash report, as a table.
#pragma once

#include <span>

#include "crashHandlerUtils.h"

struct crash_section_t {
    const char* title;
    void (*print)(int fd, const crash_context_t& crash);
    bool (*applies)(const crash_context_t& crash); // null: always
};

// All sections in the order of the report.
std::span<const crash_section_t> crash_sections();

// Writes the sections from self.next_section on. It moves before each, so that a fault in one leads on to
// the next one.
void crashPrintSections(crash_thread_t& self);

// Name of a signal without its "SIG" ("SEGV"), or "?" for a number that has none.
const char* crash_signal_name(int signo);

// Remembers when the process started, and makes the C library load what backtrace() needs, which it must
// not do in a signal handler. Start-up only.
void crash_prepare_sections();
