// A card or a port that goes down: its ONUs are out of service, what they are configured as stays.
#include <array>

#include "app_set_callback.h"
#include "app_slot_rows.h"
#include "app_text.h"
#include "ov_app_gpon_config_restore.h"
#include "ov_app_gpon_onu_history.h"
#include "ov_app_gpon_onu_note.h"
#include "ov_app_gpon_onuinit.h"
#include "ov_gpon.h"
#include "ov_ifindex.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "sOnuTable.h"

namespace {

using OnuRow = ov_sOnuTable_attr_t;

// Writes columns of an ONU's row without telling the card, which is gone.
void write_onu(OnuRow& onu, const MIB_Flags_t& columns) {
    if (!mib_access(MIB_SET_S, onu, columns))
        OV_LOG_ERROR("LIB", "set onu state error %s %d", __func__, __LINE__);
}

void take_onus_out_of_service(int32_t slot) {
    using namespace sOnuTable_column;
    for_each_row_of_any_shelf<OnuRow>(std::array{slot}, [](const OnuRow& stored) {
        OnuRow onu = stored;
        ov_app_gpon_onu_note_history(onu);
        ov_app_gpon_onu_note_state(onu, SONUTABLEONUSTATE_ADDED, OnuReason::CARD_AWAY);
        onu.sOnuTableOnuState = SONUTABLEONUSTATE_ADDED;
        set_text(onu.sOnuTableOnuActVersion, "");
        write_onu(onu, columns_of(sOnuTableOnuState, sOnuTableOnuActVersion));
    });
}

void forget_times(ov_sOnuHistoryTable_attr_t history) {
    for (const OnuPeriod& period : ONU_PERIODS)
        history.*period.auth = history.*period.off = 0;
    if (!mib_access(MIB_SET_S, history))
        OV_LOG_ERROR("LIB", "clear onu history of %d/%d:%d failed", history.slotID, history.portID,
                     history.onuId);
}

void clear_history(int32_t slot) {
    for_each_row_of_any_shelf<ov_sOnuHistoryTable_attr_t>(std::array{slot}, forget_times);
}

} // namespace

int ov_app_gpon_slot_deactive_callback(umsg_card_t* card) {
    if (!ov_product_is_slot_lc(card->slot_id))
        return KAVO_PARAM;
    const auto slot = static_cast<int32_t>(card->slot_id);
    take_onus_out_of_service(slot);
    clear_history(slot);
    ov_onu_uncfg_table_iterate_del(slot);
    ov_startup_gpon_config_sync_end_set(slot, 0);
    return KAVO_OK;
}

void ov_app_gpon_pon_shutdown_deactive_onu(ov_ifindex_t ifIndex) {
    if (ov_ifindex_get_port_type(ifIndex) != PORT_TYPE_GPON) {
        OV_LOG_ERROR("LIB", "wrong parameter %s %d", __func__, __LINE__);
        return;
    }
    const auto slot = static_cast<int32_t>(ov_ifindex_get_slot_id(ifIndex));
    const auto port = static_cast<int32_t>(ov_ifindex_get_port_id(ifIndex));
    for_each_row_of_any_shelf<OnuRow>(std::array{slot, port}, [](const OnuRow& stored) {
        OnuRow onu = stored;
        ov_app_gpon_onu_note_state(onu, SONUTABLEONUSTATE_ADDED, OnuReason::PORT_DOWN);
        onu.sOnuTableOnuState = SONUTABLEONUSTATE_ADDED;
        write_onu(onu, columns_of(sOnuTable_column::sOnuTableOnuState));
    });
    ov_onu_uncfg_table_iterate_del(slot, port);
}
