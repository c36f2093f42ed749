#include "ov_app_gpon_config_restore_tables.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <boost/endian/conversion.hpp>

#include "app_slot_rows.h"
#include "ov_app_gpon_config_restore.h"
#include "ov_app_gpon_restore_record.h"
#include "ov_ifindex.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "portProtectTable.h"
#include "table_record.h"

namespace {

// One entry for each pair of table and message.
const std::array CONVERTERS = {
    &ov_app_gpon_config_restore_onu_type,
    &ov_app_gpon_config_restore_bw_type,
    &ov_app_gpon_config_restore_onu_rssi,
    &ov_app_gpon_config_restore_rm_traffic,
    &ov_app_gpon_config_restore_pon,
    &ov_app_gpon_config_restore_pon_protect,
    &ov_app_gpon_config_restore_onu,
    &ov_app_gpon_config_restore_onu_info,
    &ov_app_gpon_config_restore_tcont,
    &ov_app_gpon_config_restore_gemport,
    &ov_app_gpon_config_restore_srvport,
    &ov_app_gpon_config_restore_mcast_vlan,
    &ov_app_gpon_config_restore_rm_uni_status,
    &ov_app_gpon_config_restore_rm_iphost,
    &ov_app_gpon_config_restore_rm_tr069,
    &ov_app_gpon_config_restore_rm_queue_schedule,
    &ov_app_gpon_config_restore_rm_service,
    &ov_app_gpon_config_restore_rm_uni_vlan,
    &ov_app_gpon_config_restore_rm_mcast,
    &ov_app_gpon_config_restore_rm_wan,
    &ov_app_gpon_config_restore_rm_wifi,
    &ov_app_gpon_config_restore_rm_voip_cfg,
    &ov_app_gpon_config_restore_rm_voip_sip_agent,
    &ov_app_gpon_config_restore_rm_voip_sip_user,
    &ov_app_gpon_config_restore_rm_macfilter_mode,
    &ov_app_gpon_config_restore_rm_macfilter_static,
    &ov_app_gpon_config_restore_rm_macfilter_dynamic,
    &ov_app_gpon_config_restore_rm_uni_poe,
    &ov_app_gpon_config_restore_rm_onu_poe,
    &ov_app_gpon_config_restore_pon_threshold,
    &ov_app_gpon_config_restore_rm_onu_threshold,
    &ov_app_gpon_config_restore_onuqos,
};

// ---- slots of rows -----------------------------------------------------------------------------------

enum class SlotOf : uint8_t { INDEX, RESTORED, WORKING_PORT, NONE };

SlotOf slot_rule(int table, int message) {
    switch (message) {
    case OV_HAL_MSG_GPON_PORT:
    case OV_HAL_MSG_GPON_ONU:
    case OV_HAL_MSG_GPON_TCONT:
    case OV_HAL_MSG_GPON_GEMPORT:
    case OV_HAL_MSG_GPON_SERVPORT:
    case OV_HAL_MSG_GPON_RM_SERVICE:
    case OV_HAL_MSG_GPON_RMONU_INFO:
    case OV_HAL_MSG_GPON_RM_UNI:
    case OV_HAL_MSG_GPON_RM_UNI_VLAN:
    case OV_HAL_MSG_GPON_RM_UNI_MCAST:
    case OV_HAL_MSG_GPON_ONU_QOS:
    case OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD:
    case OV_HAL_MSG_GPON_PON_MODULE_THRESHOLD:
    case OV_HAL_MSG_GPON_RMONU_IPHOST:
    case OV_HAL_MSG_GPON_RMONU_TR069_SRV:
    case OV_HAL_MSG_GPON_RMONU_QUEUE_SCHEDULE:
    case OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA:
    case OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG:
    case OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA:
    case OV_HAL_MSG_GPON_RM_WAN:
    case OV_HAL_MSG_GPON_RM_WIFI:
    case OV_HAL_MSG_GPON_RM_UNI_POE:
    case OV_HAL_MSG_GPON_RM_ONU_POE:
    case OV_HAL_MSG_GPON_RMONU_VOIP_LINE_STATUS:
        return SlotOf::INDEX;
    case OV_HAL_MSG_GPON_RM_MAC_FLT:
        return table == SRMMACFMODE || table == SRMMACFS || table == SRMMACFD ? SlotOf::INDEX : SlotOf::NONE;
    case OV_HAL_MSG_GPON_ONU_RSSI:
    case OV_HAL_MSG_GPON_ONU_TYPE:
    case OV_HAL_MSG_GPON_BW_TYPE:
    case OV_HAL_MSG_GPON_RMONU_TRAFFIC_PROFILE:
        return SlotOf::RESTORED;
    case OV_HAL_MSG_GPON_PON_PROTECT: // rows of other tables have no such port
        return table == SPORTPROTECT ? SlotOf::WORKING_PORT : SlotOf::NONE;
    default:
        // Multicast VLANs too: they belong to slot 0, so that no card's restore sends them.
        return SlotOf::NONE;
    }
}

int32_t slot_of_row(SlotOf rule, const void* row, int32_t restored) {
    switch (rule) {
    case SlotOf::INDEX:
        return record_get<int32_t>(row, sizeof(int32_t)); // shelfID, slotID, ...
    case SlotOf::RESTORED:
        return restored;
    case SlotOf::WORKING_PORT: {
        const auto* group = static_cast<const ov_portProtectTable_attr_t*>(row);
        return static_cast<int32_t>(ov_ifindex_get_slot_id(static_cast<uint32_t>(group->ppWorkPonIfindex)));
    }
    case SlotOf::NONE:
        break;
    }
    return 0;
}

// ---- one row -----------------------------------------------------------------------------------------

using Record = std::array<std::byte, RESTORE_RECORD_MAX>;

// A record whose target is a slot in a word of its own goes to `slot`.
void direct_to_slot(int message, void* record, int32_t slot) {
    const ov_hal_gpon_msg_desc_t* desc = ov_hal_gpon_msg_desc_get(static_cast<unsigned>(message));
    if (desc->dest == ov_hal_gpon_msg_dest_t::WORD_AT)
        boost::endian::store_big_s32(static_cast<unsigned char*>(record) + desc->offset, slot);
}

ov_bmp_t convert_row(const RestoreTable& table, const void* row, void* record, int action, int32_t slot) {
    std::memset(record, 0, table.map->record().size);
    table.map->encode(row, record);
    direct_to_slot(table.message, record, slot);
    return action == OV_HAL_GPON_MSG_ACTION_SET && table.sets == RestoreSets::CREATED_AND_SET
               ? table.map->replay_mask(row)
               : 0;
}

enum class Sent : uint8_t { NOTHING, DONE, FAILED };

// Creates always go out; a set of a row whose values are all default doesn't.
Sent send_row(const RestoreTable& table, const void* row, ov_hal_gpon_msg_action_t action, int32_t slot) {
    alignas(std::max_align_t) Record record;
    const ov_bmp_t mask = convert_row(table, row, record.data(), action, slot);
    if (action != OV_HAL_GPON_MSG_ACTION_CREATE && mask == 0)
        return Sent::NOTHING;
    const int result = ov_hal_gpon_msg_send(table.message, action, record.data(), mask, 0);
    return result == OV_GPON_RET_OK ? Sent::DONE : Sent::FAILED;
}

// ---- the rows of a slot ------------------------------------------------------------------------------

template <typename Visit>
void visit_rows(const RestoreTable& table, TableModule& module, int32_t slot, Visit visit) {
    if (table.rows == RestoreRows::TEMPLATES) {
        for_each_row_of_any_shelf(module, std::array{int32_t{GPON_TEMPLATE_SLOT}}, visit);
        return;
    }
    if (!ov_product_if_slot_contain_pon_port(static_cast<uint32_t>(slot)))
        return;
    const SlotOf rule = slot_rule(table.table, table.message);
    if (rule == SlotOf::INDEX) {
        for_each_row_of_any_shelf(module, std::array{slot}, visit);
        return;
    }
    const OvraMutexGuard lock(getMutex(module.did()));
    for (const void* row = module.first_row_under(nullptr, 0); row != nullptr;
         row = module.next_row_under(row, 0))
        if (slot_of_row(rule, row, slot) == slot)
            visit(row);
}

// A row that waits isn't the card's business yet, one that a request deletes no longer.
bool is_replayed(const TableModule& module, const void* row) {
    const int mode = module.row_mode(row);
    return mode == MODE_CRE || mode == MODE_CHG;
}

} // namespace

void RestoreTable::operator()(int32_t slot, ov_hal_gpon_msg_action_t action) const {
    TableModule* module = table_module_find(table);
    if (map == nullptr || module == nullptr || !module->registered())
        return;
    unsigned sent = 0;
    unsigned failed = 0;
    visit_rows(*this, *module, slot, [&](const void* row) {
        const Sent done = is_replayed(*module, row) ? send_row(*this, row, action, slot) : Sent::NOTHING;
        sent += done != Sent::NOTHING ? 1 : 0;
        failed += done == Sent::FAILED ? 1 : 0;
    });
    ov_app_gpon_restore_note_sent(slot, sent - failed, failed);
    if (g_config_restore_debug != 0)
        OV_LOG_DEBUG("recovery", "slot %d: %s action %d sent %u messages", slot, name, action, sent);
}

ov_bmp_t ov_mib_data_convert_to_hal(const void* pmib_a, void* shal_a, int msgType, MIBDID did, int action,
                                    int32_t dstSlot) {
    if (did == nullptr)
        return 0;
    const auto* const* found =
        std::find_if(CONVERTERS.begin(), CONVERTERS.end(), [&](const RestoreTable* entry) {
            return entry->message == msgType && entry->table == mmg_table_index(did);
        });
    if (found == CONVERTERS.end() || (*found)->map == nullptr)
        return 0;
    return convert_row(**found, pmib_a, shal_a, action, dstSlot);
}

int32_t ov_app_gpon_get_slot_from_mib_attr(MIBDID did, const void* pmib_attr, int msgType, int32_t dstSlot) {
    return did != nullptr ? slot_of_row(slot_rule(mmg_table_index(did), msgType), pmib_attr, dstSlot) : 0;
}
