// The shelf's slots: what each may hold, what it holds, and whether its card can be talked to.
//
// One structure for the shelf, read and written on the event loop's thread only. A bitmap has slot N at
// bit N; slots run from 1 to 31, and any other number reads as "no" and writes nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

typedef uint32_t slot_bitmap_t;

inline constexpr uint32_t OV_SLOT_MAX = 31;

struct ov_list_t;

// Fixed facts of a shelf type; slot numbers are 0 where the shelf has no such slot.
struct ov_shelf_config_t {
    uint32_t shelf_config_init;
    uint32_t shelf_type;
    uint32_t if_uplink_support;
    uint32_t active_standby_mode;
    uint32_t distribute_mode;
    uint32_t sc1_slot_id;
    uint32_t sc2_slot_id;
    uint32_t uplink1_slot_id;
    uint32_t uplink2_slot_id;
    uint32_t pwr1_slot_id;
    uint32_t pwr2_slot_id;
    uint32_t fan_slot_id;
    uint32_t bpcard_slot_id;
    uint32_t min_slot_num;
    uint32_t max_slot_num;
    uint32_t max_smart_slot_id;
};

struct slot_index_s {
    uint8_t shelfId;
    uint8_t slotId;
    uint8_t cardId;
};

struct slot_status_t {
    uint32_t pre_status;
    uint32_t cur_status;
    time_t pre_change_time;
    time_t change_time;
};

struct ov_slot_info_t {
    slot_index_s slotIndex;
    uint32_t slotFeatureFlag;
    uint32_t slotType;
    uint32_t slotAdmStatus;
    uint32_t slotOpStatus;
    uint32_t sysCardFlag;
    uint32_t sysCardActive;
    slot_status_t inserted_stat;
    slot_status_t connect_status;
    slot_status_t recover_stat;
    void* clientSlotInfo; // a client's own data, made and freed by its callbacks
    void (*client_info_init_cb)(ov_slot_info_t*);
    void (*client_info_deinit_cb)(ov_slot_info_t*);
    void (*dump_client_info_cb)(ov_slot_info_t*);
};

struct ov_shelf_info_t {
    uint32_t shelfId;
    uint32_t maxSlotNum;
    slot_bitmap_t slotBitsNonSrvsCard; // neither control, line nor uplink cards
    slot_bitmap_t slotBitsSrvsCard;    // control, line and uplink cards
    slot_bitmap_t slotBitsSmartCard;   // control and line cards: those with an agent to talk to
    uint32_t standbyScSupport;
    slot_bitmap_t slotBitsPresent; // what the backplane sees
    slot_bitmap_t slotBitsPwrOff;
    uint32_t activeScSlot; // 0: none known
    uint32_t standbyScSlot;
    uint32_t standbyScAlive;
    uint32_t standbyScSynced;
    slot_bitmap_t slotBitsAdded;     // slots with a card record
    slot_bitmap_t slotBitsConnected; // the message channel is open
    slot_bitmap_t slotBitsSynching;  // configuration being pushed
    slot_bitmap_t slotBitsSynched;   // configuration pushed
    ov_list_t* slotList;             // ov_slot_info_t, sorted by ov_slot_index_cmp_func
    ov_shelf_config_t shelfConfig;
};

extern ov_shelf_info_t g_shelf_slot_info;
extern slot_bitmap_t g_slot_bitmap_inserted;
extern slot_bitmap_t g_slot_bitmap_connected;
extern slot_bitmap_t g_slot_bitmap_recovering;
extern slot_bitmap_t g_slot_bitmap_operational;
extern slot_bitmap_t g_slot_bitmap_pwrlock;

// Fills the facts of this shelf and makes the list of cards. 0, or KAVO_MEMORY (101002) when the list
// can't be made. A second call does nothing and gives 0.
uint32_t ov_slot_init();
void ov_shelf_config_init();
// For tests only: frees the records (their clients are told) and clears everything, so that ov_slot_init
// starts afresh, for another shelf type if ov_product_deinit came before it.
void ov_slot_deinit();
int ov_slot_index_cmp_func(const void* a, const void* b);

// Makes the record of a card (or updates its type when there is one); null for a slot the shelf doesn't
// have or without memory. `present` 1 marks the slot as inserted.
ov_slot_info_t* ov_slot_create(uint32_t slot, uint32_t card_type, int present);
ov_slot_info_t* ov_slot_lookup_by_slotid(uint32_t slot);
// Takes the slot's connected, synching and synched marks, and its record. 0, or -1 when there was no record.
int ov_slot_delete(uint32_t slot);

// Marks of a slot; `flag` 0 clears. All give 0. Connected counts for control and line cards only; for
// the standby control card it is also kept in standbyScAlive and logged. The g_slot_bitmap_* of the same
// meaning and the status of the slot's record follow; a connected card is operational.
int ov_slot_set_connected(uint32_t slot, int flag);
int ov_slot_set_synching(uint32_t slot, int flag);
int ov_slot_set_synched(uint32_t slot, int flag);
int ov_slot_set_pwr_off(uint32_t slot, int flag);
// Says which control card is active or standby, 0 for none. A card that becomes the one is no more the
// other; what is known of the standby card starts from its marks.
int ov_slot_set_active_sc(uint32_t slot);
int ov_slot_set_standby_sc(uint32_t slot);
// Stores what the backplane sees and logs each slot that came or went.
void ov_slot_update_present(slot_bitmap_t bitmap);

bool ov_slot_check_slot_connected(uint32_t slot);
bool ov_slot_check_slot_operstatus(uint32_t slot);

// For dumps: the records in order of slots, and what a slot is for: "sc", "lc", "uplink", "power", "fan",
// "backplane", or "" for none. The single board's slot is an "sc".
size_t ov_slot_get_card_num();
const ov_slot_info_t* ov_slot_get_card(size_t position); // null past the end
const char* ov_slot_role_text(uint32_t slot);

uint32_t ov_slot_get_min_slot_num();
uint32_t ov_slot_get_max_slot_num();
uint32_t ov_slot_get_max_lc_num(); // max_smart_slot_id: sizes everything that is kept per card
uint32_t ov_slot_get_active_sc_slotId();
uint32_t ov_slot_get_standby_sc_slotId();
uint32_t ov_slot_get_sc1_slotId();
uint32_t ov_slot_get_sc2_slotId();
uint32_t ov_slot_get_uplink1_slotId();
uint32_t ov_slot_get_uplink2_slotId();
uint32_t ov_slot_get_pwr1_slotId();
uint32_t ov_slot_get_pwr2_slotId();
uint32_t ov_slot_get_fan_slotId();
uint32_t ov_slot_get_bp_card_slotId();
