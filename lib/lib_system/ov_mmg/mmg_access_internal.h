// Shared by the files of the access core; not for other layers.
#pragma once

#include <cstring>

#include "mmg_access.h"
#include "ov_product_log.h"

inline constexpr char MMG_LOG_TAG[] = "MMG";

// The entry that an identity points to may be rewritten by a look-up in a callback (see mmg_definition.h):
// read its index once, with mmg_table_index, and go on with the number.

// Control record of a table, null for an index outside the arrays.
inline table_control_t* mib_control_at(int index) {
    return index < 0 || index >= MIB_TABLE_SLOTS ? nullptr : &table_cntl[index];
}
inline table_control_t* mib_control_of(MIBDID did) {
    return mib_control_at(mmg_table_index(did));
}

// The present identity of an index; `given` for one that the registry doesn't know.
inline MIBDID mib_fresh_did(int index, MIBDID given) {
    MIBDID did = mmg_table_did_getbyindex(index);
    return did == nullptr ? given : did;
}

// Forms by index of the public functions. `did` is what callbacks get if the registry doesn't know the index.
int mib_row_mode(int index, void* row);
char mib_run_chain(int index, MIBDID did, int type, void* row, MIB_Flags_t flags);

// Frees all callbacks of a table.
void mib_clear_chains(int index);

// A detail, logged while the info debug switch is on.
#define MMG_INFO_LOG(...)                                                                                    \
    do {                                                                                                     \
        if (mmg_get_debug_info_flag() != 0)                                                                  \
            OV_LOG_INFO(MMG_LOG_TAG, __VA_ARGS__);                                                           \
    } while (0)

// Logs entry and exit of the function that holds it, while the function debug switch is on.
class MmgFunctionTrace {
public:
    MmgFunctionTrace(const char* function, int line)
        : function_(mmg_get_debug_function_flag() != 0 ? function : nullptr), line_(line) {
        log("ENTRY");
    }
    ~MmgFunctionTrace() { log("EXIT"); }
    MmgFunctionTrace(const MmgFunctionTrace&) = delete;
    MmgFunctionTrace& operator=(const MmgFunctionTrace&) = delete;

private:
    void log(const char* what) const {
        if (function_ == nullptr)
            return;
        constexpr char FILE[] = "mmg_access";
        ov_product_app_log(FILE, int{sizeof(FILE) - 1}, function_, static_cast<int>(std::strlen(function_)),
                           line_, OV_LOG_LVL_DEBUG, MMG_LOG_TAG, "%s", what);
    }
    const char* function_;
    int line_;
};
