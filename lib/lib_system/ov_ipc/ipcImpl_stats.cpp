// Statistics and the debug level.
#include "ipcImpl.h"

std::array<std::array<std::atomic<uint32_t>, IPC_STATS_SERVICES>, IPC_STATS_SERVICES> gl_ipc_stats;
std::atomic<int> ipc_debug_level_now = IPC_NO_DEBUG;

int ipcGetStats_impl(ipc_stats* out) {
    if (out == nullptr)
        return IPC_RC_FAILED;
    for (size_t from = 0; from < IPC_STATS_SERVICES; from++)
        for (size_t to = 0; to < IPC_STATS_SERVICES; to++)
            out->msgs[from][to] = gl_ipc_stats[from][to].load(std::memory_order_relaxed);
    return IPC_RC_SUCCESS;
}

void ipcResetStats_impl() {
    for (auto& row : gl_ipc_stats)
        for (auto& count : row)
            count.store(0, std::memory_order_relaxed);
}

void ipcSetDebugLevel_impl(int level) {
    ipc_debug_level_now = level;
}
