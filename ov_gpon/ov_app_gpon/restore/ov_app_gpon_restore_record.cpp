#include "ov_app_gpon_restore_record.h"

#include <array>
#include <chrono>

#include "ov_clock.h"
#include "ov_slot.h"

namespace {

struct Kept : gpon_restore_record_t {
    ov_mono_time_t began_at = {};
};

std::array<Kept, OV_SLOT_MAX + 1> g_kept;

// The place of no slot takes what nobody asks for.
Kept& kept_of(int slot) {
    return g_kept[slot >= 1 && slot <= int{OV_SLOT_MAX} ? static_cast<size_t>(slot) : 0];
}

} // namespace

const gpon_restore_record_t& ov_app_gpon_restore_record(int slot) {
    static const gpon_restore_record_t NONE;
    const Kept& kept = kept_of(slot);
    return &kept == g_kept.data() ? NONE : kept;
}

void ov_app_gpon_restore_note_begin(int slot) {
    Kept& kept = kept_of(slot);
    const uint32_t restores = kept.restores + 1;
    kept = {};
    kept.restores = restores;
    kept.began = ov_wall_time();
    kept.began_at = ov_mono_now();
}

void ov_app_gpon_restore_note_sent(int slot, uint32_t messages, uint32_t failed) {
    Kept& kept = kept_of(slot);
    kept.messages += messages;
    kept.failed += failed;
}

void ov_app_gpon_restore_note_end(int slot, bool confirmed) {
    Kept& kept = kept_of(slot);
    if (kept.began == 0) // told without a replay
        return;
    kept.failed += confirmed ? 0 : 1;
    kept.ended = ov_wall_time();
    kept.took_ms = static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(ov_mono_now() - kept.began_at).count());
}
