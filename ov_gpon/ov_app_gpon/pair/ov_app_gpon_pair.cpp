#include "ov_app_gpon_pair.h"

#include <array>
#include <cstddef>
#include <deque>
#include <new>
#include <vector>

#include "app_loop.h"
#include "ov_product_log.h"

namespace {

constexpr long BEHIND_THE_ACCESS_MSEC = 1;

struct RepeatedWrite {
    ov_app_gpon_pair_writer_t writer;
    std::vector<std::byte> row;
    MIB_Flags_t columns;
    int action;
    ov_ifindex_t partner;
};

std::array<ov_app_gpon_pair_writer_t, SYNC_TABLES + 1> writers; // by number; 0 is none
std::deque<RepeatedWrite> on_their_way;                         // a timer for each

// Null for a number that nobody knows.
ov_app_gpon_pair_writer_t writer_of(int table) {
    return table >= 1 && table <= SYNC_TABLES ? writers[static_cast<size_t>(table)] : nullptr;
}

int ov_app_pon_protect_group_cfg_sync_handle_timer(struct thread* /*thread*/) {
    RepeatedWrite write = std::move(on_their_way.front());
    on_their_way.pop_front();
    if (write.writer != nullptr)
        write.writer(write.row.data(), write.columns, write.action, write.partner);
    return 0;
}

} // namespace

void ov_app_gpon_pair_writer_set(ov_pon_protect_sync_table_e table, ov_app_gpon_pair_writer_t writer) {
    writers.at(static_cast<size_t>(table)) = writer;
}

int ov_app_pon_protect_group_config_table_sync(int syncTable, const void* row, int len,
                                               const MIB_Flags_t& column_flag, int action,
                                               ov_ifindex_t protect) {
    const auto* bytes = static_cast<const std::byte*>(row);
    try {
        on_their_way.push_back({writer_of(syncTable), {bytes, bytes + len}, column_flag, action, protect});
    } catch (const std::bad_alloc&) {
        OV_LOG_ERROR("MMG", "Failed: XMALLOC MTYPE_PON.\n");
        return 0;
    }
    app_add_timer_msec(ov_app_pon_protect_group_cfg_sync_handle_timer, nullptr, BEHIND_THE_ACCESS_MSEC);
    return 1;
}
