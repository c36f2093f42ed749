// What a replay to a card knows of a table: one line beside its module, handed to one engine for all.
//
//     RESTORE(gemport, SGEM, OV_HAL_MSG_GPON_GEMPORT, gem_map, CREATED_AND_SET)
//     RESTORE_TEMPLATES(gemport, SGEM, OV_HAL_MSG_GPON_GEMPORT, gem_map, CREATED_AND_SET)
//
// make ov_app_gpon_config_restore_gemport, the rows of ONUs, and
// ov_app_gpon_config_restore_onusrvprofile_gemport, the rows of service profiles. Which stage replays them is
// said in config_restore_stages.def.
//
// A row goes out as its table's own record, made by the map of the table's set callback, without waiting for
// the card. Main loop.
#pragma once

#include <cstdint>

#include "app_message_map.h"
#include "ov_hal_gpon_msg.h"

inline constexpr size_t RESTORE_RECORD_MAX = 512; // bytes of the longest record that is replayed

// Which rows a replay takes.
enum class RestoreRows : uint8_t {
    OF_SLOT,   // those that belong to the slot which is restored (ov_app_gpon_get_slot_from_mib_attr)
    TEMPLATES, // those of service profiles, whichever slot is restored
};

// Whether a replay sets, behind the creates, what differs from what a create gives.
enum class RestoreSets : bool { CREATED, CREATED_AND_SET };

struct RestoreTable {
    const char* name;         // ov_app_gpon_config_restore_*
    int table;                // registry index
    int message;              // OV_HAL_MSG_GPON_*
    const AnyMessageMap* map; // null: nothing is replayed
    RestoreSets sets = RestoreSets::CREATED;
    RestoreRows rows = RestoreRows::OF_SLOT;

    // Replays the table's active rows to the card in `slot`, in the table's order: each with a create, or
    // with a set those whose mask isn't 0. Costs by the rows that go out.
    void operator()(int32_t slot, ov_hal_gpon_msg_action_t action) const;
};

#define RESTORE(word, table, message, map, sets)                                                             \
    extern const RestoreTable ov_app_gpon_config_restore_##word;                                             \
    constinit const RestoreTable ov_app_gpon_config_restore_##word = {                                       \
        "ov_app_gpon_config_restore_" #word, table, message, &(map), RestoreSets::sets};
#define RESTORE_TEMPLATES(word, of_table, message, map, sets)                                                \
    extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_##word;                               \
    constinit const RestoreTable ov_app_gpon_config_restore_onusrvprofile_##word = {                         \
        "ov_app_gpon_config_restore_onusrvprofile_" #word,                                                   \
        of_table,                                                                                            \
        message,                                                                                             \
        &(map),                                                                                              \
        RestoreSets::sets,                                                                                   \
        RestoreRows::TEMPLATES};
