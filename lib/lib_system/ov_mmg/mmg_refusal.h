// What the access core tells of accesses that are refused (ov_refusal.h).
#pragma once

#include <cstddef>

#include "mmg_access.h"
#include "ov_refusal.h"

// How a row is called in a refusal: "sTcontTable gpon-onu1/1:1 T-CONT 1". The layer above knows the tables'
// columns; until it sets this, a row is called by its table. Start-up, main thread.
typedef void (*mib_row_namer)(int index, const void* row, char* text, size_t size);
void MibSetRowNamer(mib_row_namer namer);

// States which row an access was about that has been refused.
void mib_refused_at(int index, const void* row);

// For the access core alone: one access of MibAccessHandle, from its start to its result. What was stated
// within one that succeeds is forgotten. The outermost write that is refused behind the door of an event is
// reported at once.
class MibRefusalWatch {
public:
    MibRefusalWatch(int index, const void* row, bool is_write);
    ~MibRefusalWatch();
    MibRefusalWatch(const MibRefusalWatch&) = delete;
    MibRefusalWatch& operator=(const MibRefusalWatch&) = delete;

    char end(char result);

private:
    int index_;
    const void* row_;
    bool is_write_;
    OvRefusalMark before_;
};
