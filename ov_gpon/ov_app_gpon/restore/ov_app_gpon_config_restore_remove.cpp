// A line card that was taken out: its rows are deleted in stages, what hangs off an ONU first and the port
// last, each through its callbacks. The other tables of remote management follow their ONU's row by
// themselves.
#include <memory>
#include <new>

#include "app_loop.h"
#include "app_rows.h"
#include "app_stage.h"
#include "ov_app_gpon_config_restore.h"
#include "ov_app_gpon_onuinit.h"
#include "ov_app_gpon_qinq.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_service_port.h"
#include "ov_ifindex.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "sGemTable.h"
#include "sOnuTable.h"
#include "sPonTable.h"
#include "sRmIPHostTable.h"
#include "sRmOnuOptThresholdTable.h"
#include "sRmServiceTable.h"
#include "sRmUniStatusTable.h"
#include "sRmUniVlanTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

namespace {

// What a chain of removal carries from stage to stage.
struct SlotRemoval {
    uint32_t slot;
    uint16_t card_type;
    uint16_t port = 1; // the next one to clear
};

template <typename Row>
bool delete_row(Row& row) {
    return mib_access(MIB_DEL, row);
}
bool delete_row(ov_servicePortTable_attr_t& row) {
    return ov_app_gpon_service_port_del(&row) == OV_GPON_RET_OK;
}

template <typename Row>
void delete_rows_of_slot(SlotRemoval& removal) {
    for (Row& row : rows_copied(slot_key<Row>(static_cast<int32_t>(removal.slot)), INDEX_TO_SLOT))
        if (!delete_row(row)) {
            const TableModule& table = table_of<Row>::module();
            char index[TableModule::MAX_INDEX_TEXT];
            OV_LOG_ERROR("slotEvent", "slot %d: delete of %s %s failed", static_cast<int>(removal.slot),
                         table.name(), table.index_string(&row, index, sizeof index));
        }
}

void delete_port_qos(ov_ifindex_t ifindex) {
    if (ov_app_port_qos_del(ov_app_find_port_qos_by_ifindex(ifindex), SYNC_EVERY_COPY) != OV_QOS_OK)
        OV_LOG_ERROR("slotEvent", "!!!!!!!!!!del pon port qos error!!!!!!!!!!!!!!!!");
}

void delete_ports(SlotRemoval& removal) {
    const int ports = get_portNum_by_cardtype(removal.card_type);
    for (; removal.port <= ports; ++removal.port) {
        const ov_ifindex_t ifindex =
            port_ifindex(PORT_TYPE_GPON, static_cast<int32_t>(removal.slot), removal.port);
        delete_port_qos(ifindex);
        if (ov_app_gpon_port_qinq_del(ifindex) != OV_GPON_RET_OK)
            OV_LOG_ERROR("slotEvent", "!!!!!!!!!!del pon port qinq error!!!!!!!!!!!!!!!!");
    }
    delete_rows_of_slot<ov_sPonTable_attr_t>(removal);
}

void finish_chain(const SlotRemoval* removal) {
    OV_LOG_INFO("slotEvent", "Delete all onu on slot %d", static_cast<int>(removal->slot));
    delete removal;
}

// ---- the stages --------------------------------------------------------------------------------------

#define REMOVAL_STAGE(milliseconds, timer, ...) int timer(struct thread* thread);
#include "config_restore_remove_stages.def"
#undef REMOVAL_STAGE

#define REMOVAL_STAGE(milliseconds, timer, ...)                                                              \
    {timer, [](void* removal) { app_add_timer_msec(timer, removal, milliseconds); }},
constexpr ChainStage STAGES[] = {
#include "config_restore_remove_stages.def"
};
#undef REMOVAL_STAGE

// A timer function: deletes, and arms the next one.
#define REMOVAL_STAGE(milliseconds, timer, number, what, deletion)                                           \
    int timer(struct thread* thread) {                                                                       \
        auto* removal = static_cast<SlotRemoval*>(THREAD_ARG(thread));                                       \
        const int slot = static_cast<int>(removal->slot);                                                    \
        OV_LOG_INFO("slotEvent", "slot %d stage " number ": start remove  " what " configuration", slot);    \
        StageClock clock;                                                                                    \
        deletion(*removal);                                                                                  \
        OV_LOG_INFO("slotEvent",                                                                             \
                    "slot %d stage " number ": finish remove " what " configuration using %f s", slot,       \
                    clock.stop());                                                                           \
        if (!arm_next_stage(STAGES, timer, removal))                                                         \
            finish_chain(removal);                                                                           \
        return 0;                                                                                            \
    }
#include "config_restore_remove_stages.def"
#undef REMOVAL_STAGE

} // namespace

// ---- the event ---------------------------------------------------------------------------------------

int get_portNum_by_cardtype(uint16_t card_type) {
    switch (card_type) {
    case 27:
        return 16;
    case 28:
        return 8;
    case 102:
    case 103:
        return 4;
    default:
        return -1;
    }
}

int ov_app_gpon_slot_remove_callback(umsg_card_t* card) {
    const uint32_t slot = card->slot_id;
    const bool has_uplinks = ov_product_is_slot_sc(slot) || ov_product_is_slot_uplink(slot);
    if (!has_uplinks && !ov_product_is_slot_lc(slot))
        return KAVO_PARAM;
    const int ports = get_portNum_by_cardtype(card->card_type);
    if (ports < 0)
        return KAVO_PARAM;
    if (has_uplinks) {
        for (int port = 1; port <= ports; ++port)
            delete_port_qos(port_ifindex(PORT_TYPE_XE, slot, port));
        return KAVO_OK;
    }
    ov_onu_uncfg_table_iterate_del(static_cast<int32_t>(slot));
    auto* removal = new (std::nothrow) SlotRemoval{.slot = slot, .card_type = card->card_type};
    if (removal == nullptr)
        return KAVO_MEMORY;
    OV_LOG_INFO("slotEvent", "start remove task for slot %d type %d", static_cast<int>(slot),
                card->card_type);
    STAGES[0].arm(removal);
    return KAVO_OK;
}
