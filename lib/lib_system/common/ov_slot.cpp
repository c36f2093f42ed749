#include "ov_slot.h"

#include <memory>
#include <new>

#include "libovra.h"
#include "ov_clock.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_shelf_layout.h"
#include "ov_types.h"

ov_shelf_info_t g_shelf_slot_info;
slot_bitmap_t g_slot_bitmap_inserted;
slot_bitmap_t g_slot_bitmap_connected;
slot_bitmap_t g_slot_bitmap_recovering;
slot_bitmap_t g_slot_bitmap_operational;
slot_bitmap_t g_slot_bitmap_pwrlock;

namespace {

void mark(slot_bitmap_t& bitmap, uint32_t slot, bool set) {
    if (set)
        bitmap |= ov_slot_bit(slot);
    else
        bitmap &= ~ov_slot_bit(slot);
}

bool is_marked(slot_bitmap_t bitmap, uint32_t slot) {
    return (bitmap & ov_slot_bit(slot)) != 0;
}

void change_status(slot_status_t& status, uint32_t value) {
    status.pre_status = status.cur_status;
    status.pre_change_time = status.change_time;
    status.cur_status = value;
    status.change_time = ov_wall_time();
}

// Notes a change in the slot's record, if the slot has one.
void change_slot_status(uint32_t slot, slot_status_t ov_slot_info_t::*status, bool set) {
    ov_slot_info_t* info = ov_slot_lookup_by_slotid(slot);
    if (info != nullptr && (info->*status).cur_status != uint32_t(set))
        change_status(info->*status, set ? 1 : 0);
}

bool is_standby_sc(uint32_t slot) {
    return slot != 0 && slot == g_shelf_slot_info.standbyScSlot;
}

void set_standby_alive(uint32_t alive) {
    if (g_shelf_slot_info.standbyScAlive != alive)
        OV_LOG_NOTICE("LIB", "standby control card in slot %d is %s", int(g_shelf_slot_info.standbyScSlot),
                      alive != 0 ? "connected" : "disconnected");
    g_shelf_slot_info.standbyScAlive = alive;
}

void classify_slot(uint32_t slot) {
    ov_shelf_info_t& shelf = g_shelf_slot_info;
    if (ov_product_is_slot_sc(slot) || ov_product_is_slot_lc(slot)) {
        mark(shelf.slotBitsSrvsCard, slot, true);
        mark(shelf.slotBitsSmartCard, slot, true);
    } else if (ov_product_is_slot_uplink(slot)) {
        mark(shelf.slotBitsSrvsCard, slot, true);
    } else {
        mark(shelf.slotBitsNonSrvsCard, slot, true);
    }
}

bool is_slot_of_shelf(uint32_t slot) {
    const ov_shelf_config_t& config = g_shelf_slot_info.shelfConfig;
    return ov_slot_bit(slot) != 0 && slot >= config.min_slot_num && slot <= config.max_slot_num;
}

slot_index_s slot_index(uint32_t slot) {
    return {uint8_t(g_shelf_slot_info.shelfId), uint8_t(slot), 0};
}

ov_slot_info_t* add_card(uint32_t slot) {
    std::unique_ptr<ov_slot_info_t> info(new (std::nothrow) ov_slot_info_t{});
    if (!info)
        return nullptr;
    info->slotIndex = slot_index(slot);
    info->sysCardFlag = ov_product_is_slot_sc(slot) ? 1 : 0;
    info->sysCardActive = info->sysCardFlag != 0 && slot == g_shelf_slot_info.activeScSlot ? 1 : 0;
    if (ov_list_add(g_shelf_slot_info.slotList, info.get()) != 0)
        return nullptr;
    mark(g_shelf_slot_info.slotBitsAdded, slot, true);
    return info.release(); // the list's from here on
}

void free_card(ov_slot_info_t* info) {
    if (info->client_info_deinit_cb != nullptr)
        info->client_info_deinit_cb(info);
    delete info;
}

void set_card_active(uint32_t slot, uint32_t active) {
    ov_slot_info_t* info = ov_slot_lookup_by_slotid(slot);
    if (info != nullptr)
        info->sysCardActive = active;
}

} // namespace

// ---- the shelf ---------------------------------------------------------------------------------------

int ov_slot_index_cmp_func(const void* a, const void* b) {
    const auto position = [](const void* record) {
        const slot_index_s& index = static_cast<const ov_slot_info_t*>(record)->slotIndex;
        return (int(index.shelfId) << 16) | (int(index.slotId) << 8) | index.cardId;
    };
    return position(a) - position(b);
}

void ov_shelf_config_init() {
    if (g_shelf_slot_info.shelfConfig.shelf_config_init == 0)
        g_shelf_slot_info.shelfConfig = ov_shelf_layout_get(ov_product_get_shelf_type()).config;
}

uint32_t ov_slot_init() {
    ov_shelf_info_t& shelf = g_shelf_slot_info;
    ov_shelf_config_init();
    if (shelf.slotList != nullptr)
        return KAVO_OK;

    shelf.shelfId = ov_product_shelf_id_get();
    shelf.maxSlotNum = shelf.shelfConfig.max_slot_num;
    shelf.standbyScSupport = uint32_t(ov_product_get_standby_sc_supported());
    shelf.activeScSlot = 0;
    for (uint32_t slot = shelf.shelfConfig.min_slot_num; slot <= shelf.shelfConfig.max_slot_num; slot++)
        classify_slot(slot);

    shelf.slotList = ov_list_new(ov_slot_index_cmp_func);
    if (shelf.slotList == nullptr) {
        OV_LOG_ERROR("LIB", "failed to create the list of slots");
        return KAVO_MEMORY;
    }
    return KAVO_OK;
}

void ov_slot_deinit() {
    ov_list_t* list = g_shelf_slot_info.slotList;
    for (size_t i = 0; i < ov_slot_get_card_num(); i++)
        free_card(static_cast<ov_slot_info_t*>(ov_list_at(list, i)));
    if (list != nullptr)
        ov_list_destroy(list);
    g_shelf_slot_info = {};
    g_slot_bitmap_inserted = g_slot_bitmap_connected = g_slot_bitmap_recovering = 0;
    g_slot_bitmap_operational = g_slot_bitmap_pwrlock = 0;
}

// ---- records of cards --------------------------------------------------------------------------------

ov_slot_info_t* ov_slot_create(uint32_t slot, uint32_t card_type, int present) {
    if (g_shelf_slot_info.slotList == nullptr || !is_slot_of_shelf(slot))
        return nullptr;
    ov_slot_info_t* info = ov_slot_lookup_by_slotid(slot);
    if (info == nullptr)
        info = add_card(slot);
    if (info == nullptr)
        return nullptr;
    info->slotType = card_type;
    if (present != 0) {
        mark(g_slot_bitmap_inserted, slot, true);
        change_slot_status(slot, &ov_slot_info_t::inserted_stat, true);
    }
    return info;
}

ov_slot_info_t* ov_slot_lookup_by_slotid(uint32_t slot) {
    if (g_shelf_slot_info.slotList == nullptr || ov_slot_bit(slot) == 0)
        return nullptr;
    ov_slot_info_t key{};
    key.slotIndex = slot_index(slot);
    return static_cast<ov_slot_info_t*>(ov_list_find(g_shelf_slot_info.slotList, &key));
}

int ov_slot_delete(uint32_t slot) {
    ov_slot_set_connected(slot, 0);
    ov_slot_set_synching(slot, 0);
    ov_slot_set_synched(slot, 0);
    ov_slot_info_t* info = ov_slot_lookup_by_slotid(slot);
    if (info == nullptr)
        return -1;
    mark(g_slot_bitmap_inserted, slot, false);
    mark(g_shelf_slot_info.slotBitsAdded, slot, false);
    ov_list_remove(g_shelf_slot_info.slotList, info);
    free_card(info);
    return 0;
}

size_t ov_slot_get_card_num() {
    return g_shelf_slot_info.slotList != nullptr ? ov_list_count(g_shelf_slot_info.slotList) : 0;
}

const ov_slot_info_t* ov_slot_get_card(size_t position) {
    if (position >= ov_slot_get_card_num())
        return nullptr;
    return static_cast<const ov_slot_info_t*>(ov_list_at(g_shelf_slot_info.slotList, position));
}

// ---- marks of slots ----------------------------------------------------------------------------------

int ov_slot_set_connected(uint32_t slot, int flag) {
    if (!is_marked(g_shelf_slot_info.slotBitsSmartCard, slot))
        return 0;
    mark(g_shelf_slot_info.slotBitsConnected, slot, flag != 0);
    mark(g_slot_bitmap_connected, slot, flag != 0);
    mark(g_slot_bitmap_operational, slot, flag != 0);
    change_slot_status(slot, &ov_slot_info_t::connect_status, flag != 0);
    if (is_standby_sc(slot))
        set_standby_alive(flag != 0 ? 1 : 0);
    return 0;
}

int ov_slot_set_synching(uint32_t slot, int flag) {
    mark(g_shelf_slot_info.slotBitsSynching, slot, flag != 0);
    mark(g_slot_bitmap_recovering, slot, flag != 0);
    change_slot_status(slot, &ov_slot_info_t::recover_stat, flag != 0);
    return 0;
}

int ov_slot_set_synched(uint32_t slot, int flag) {
    mark(g_shelf_slot_info.slotBitsSynched, slot, flag != 0);
    if (is_standby_sc(slot))
        g_shelf_slot_info.standbyScSynced = flag != 0 ? 1 : 0;
    return 0;
}

int ov_slot_set_pwr_off(uint32_t slot, int flag) {
    mark(g_shelf_slot_info.slotBitsPwrOff, slot, flag != 0);
    mark(g_slot_bitmap_pwrlock, slot, flag != 0);
    return 0;
}

int ov_slot_set_active_sc(uint32_t slot) {
    if (slot > OV_SLOT_MAX)
        return 0;
    if (is_standby_sc(slot))
        ov_slot_set_standby_sc(0);
    set_card_active(g_shelf_slot_info.activeScSlot, 0);
    set_card_active(slot, 1);
    g_shelf_slot_info.activeScSlot = slot;
    return 0;
}

int ov_slot_set_standby_sc(uint32_t slot) {
    ov_shelf_info_t& shelf = g_shelf_slot_info;
    if (slot > OV_SLOT_MAX)
        return 0;
    if (slot != 0 && slot == shelf.activeScSlot)
        ov_slot_set_active_sc(0);
    shelf.standbyScSlot = slot;
    shelf.standbyScAlive = is_marked(shelf.slotBitsConnected, slot) ? 1 : 0;
    shelf.standbyScSynced = is_marked(shelf.slotBitsSynched, slot) ? 1 : 0;
    return 0;
}

void ov_slot_update_present(slot_bitmap_t bitmap) {
    const slot_bitmap_t changed = bitmap ^ g_shelf_slot_info.slotBitsPresent;
    for (uint32_t slot = 1; slot < OV_SLOT_MAX; slot++) {
        if (is_marked(changed, slot))
            OV_LOG_NOTICE("LIB", "slot %d is %s", int(slot), is_marked(bitmap, slot) ? "present" : "absent");
    }
    g_shelf_slot_info.slotBitsPresent = bitmap;
}

bool ov_slot_check_slot_connected(uint32_t slot) {
    return is_marked(g_shelf_slot_info.slotBitsConnected, slot);
}

bool ov_slot_check_slot_operstatus(uint32_t slot) {
    return is_marked(g_slot_bitmap_operational, slot);
}

// ---- numbers of the shelf ----------------------------------------------------------------------------

const char* ov_slot_role_text(uint32_t slot) {
    const ov_shelf_config_t& config = g_shelf_slot_info.shelfConfig;
    if (!is_slot_of_shelf(slot))
        return "";
    if (ov_product_is_slot_sc(slot))
        return "sc";
    if (ov_product_is_slot_lc(slot))
        return "lc";
    if (ov_product_is_slot_uplink(slot))
        return "uplink";
    if (slot == config.pwr1_slot_id || slot == config.pwr2_slot_id)
        return "power";
    if (slot == config.fan_slot_id)
        return "fan";
    return slot == config.bpcard_slot_id ? "backplane" : "";
}

uint32_t ov_slot_get_min_slot_num() {
    return g_shelf_slot_info.shelfConfig.min_slot_num;
}

uint32_t ov_slot_get_max_slot_num() {
    return g_shelf_slot_info.shelfConfig.max_slot_num;
}

uint32_t ov_slot_get_max_lc_num() {
    return g_shelf_slot_info.shelfConfig.max_smart_slot_id;
}

uint32_t ov_slot_get_active_sc_slotId() {
    return g_shelf_slot_info.activeScSlot;
}

uint32_t ov_slot_get_standby_sc_slotId() {
    return g_shelf_slot_info.standbyScSlot;
}

uint32_t ov_slot_get_sc1_slotId() {
    return g_shelf_slot_info.shelfConfig.sc1_slot_id;
}

uint32_t ov_slot_get_sc2_slotId() {
    return g_shelf_slot_info.shelfConfig.sc2_slot_id;
}

uint32_t ov_slot_get_uplink1_slotId() {
    return g_shelf_slot_info.shelfConfig.uplink1_slot_id;
}

uint32_t ov_slot_get_uplink2_slotId() {
    return g_shelf_slot_info.shelfConfig.uplink2_slot_id;
}

uint32_t ov_slot_get_pwr1_slotId() {
    return g_shelf_slot_info.shelfConfig.pwr1_slot_id;
}

uint32_t ov_slot_get_pwr2_slotId() {
    return g_shelf_slot_info.shelfConfig.pwr2_slot_id;
}

uint32_t ov_slot_get_fan_slotId() {
    return g_shelf_slot_info.shelfConfig.fan_slot_id;
}

uint32_t ov_slot_get_bp_card_slotId() {
    return g_shelf_slot_info.shelfConfig.bpcard_slot_id;
}
