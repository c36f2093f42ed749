#include "ov_app_gpon_config_restore_mask.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

#include "mmg_access.h"
#include "onuQosTable.h"
#include "ov_hal_gpon_attr_index.h"
#include "sGemTable.h"
#include "sOnuTable.h"
#include "sPonTable.h"
#include "sRmOnuQosPriorityQueueScheduleTable.h"
#include "servicePortTable.h"
#include "table_module.h"
#include "table_record.h"

namespace {

int64_t number_in(const ColumnDesc& column, const void* row) {
    switch (column.type) {
    case ColType::UINT:
        return record_get<uint32_t>(row, column.offset);
    case ColType::IPADDR:
        return ntohl(record_get<uint32_t>(row, column.offset));
    case ColType::COUNTER64:
        return static_cast<int64_t>(record_get<uint64_t>(row, column.offset));
    default:
        return record_get<int32_t>(row, column.offset);
    }
}

bool differs_from_default(const ColumnDesc& column, const void* row) {
    const char* value = record_bytes(row) + column.offset;
    if (column.type == ColType::TEXT)
        return std::strncmp(value, column.dflt_text, column.size) != 0;
    if (column.type == ColType::BIN)
        return std::any_of(value, value + column.size,
                           [&](char byte) { return byte != static_cast<char>(column.dflt); });
    return number_in(column, row) != column.dflt;
}

bool holds(const MaskCondition& condition, const ColumnDesc& column, const void* row) {
    switch (condition.when) {
    case MaskWhen::DIFFERS:
        return differs_from_default(column, row);
    case MaskWhen::NOT_ZERO:
        return number_in(column, row) != 0;
    case MaskWhen::ZERO:
        return number_in(column, row) == 0;
    case MaskWhen::IN_RANGE:
        return number_in(column, row) >= condition.low && number_in(column, row) <= condition.high;
    }
    return false;
}

} // namespace

ov_bmp_t MaskRule::operator()(const void* row) const {
    const TableModule* module = table_module_find(table);
    if (module == nullptr)
        return 0;
    uint32_t mask = 0;
    for (const MaskCondition& condition : listed) {
        const ColumnDesc* column = module->desc().column(condition.column);
        if (column != nullptr && holds(condition, *column, row))
            mask |= 1u << condition.attribute;
    }
    for (const ColumnDesc& column : module->desc().columns)
        if (column.number < map.size() && map[column.number] != no_attribute &&
            differs_from_default(column, row))
            mask |= 1u << (map[column.number] & 31u);
    return static_cast<ov_bmp_t>(mask);
}

// ---- the rules ---------------------------------------------------------------------------------------

namespace {

using namespace sPonTable_column;
using namespace sOnuTable_column;
using namespace servicePortTable_column;

// The scheduling profile and the broadcast queue are carried by the create alone. The data synchronisation is
// set whenever it is on, though that is its default: a port with it off keeps what the create gave.
constexpr MaskCondition PON_PORT[] = {
    {OV_GPON_PORT_ATTR_INDEX_scbport, sPonTableScbPort},
    {OV_GPON_PORT_ATTR_INDEX_scb_maxBw, sPonTableScbMaxBW},
    {OV_GPON_PORT_ATTR_INDEX_MaxLogicDistance, sPonTableMaxLogicDistance},
    {OV_GPON_PORT_ATTR_INDEX_DsFec, sPonTableDsFec},
    {OV_GPON_PORT_ATTR_INDEX_KeyExchangeCtrl, sPonTableKeyExchangeCtrl},
    {OV_GPON_PORT_ATTR_INDEX_KeyExchangeInterval, sPonTableKeyExchangeInterval},
    {OV_GPON_PORT_ATTR_INDEX_AutoLearn, sPonTableAutoLearn},
    {OV_GPON_PORT_ATTR_INDEX_PROTECTED, sPonTablePortProtect},
    {OV_GPON_PORT_ATTR_INDEX_Autofind, sPonTableAutoFind},
    {OV_GPON_PORT_ATTR_INDEX_RogueOnuDetect, sPonTableRogueOnuDetect},
    {OV_GPON_PORT_ATTR_INDEX_silenceTime, sPonTableSilenceOnuTime},
    {OV_GPON_PORT_ATTR_INDEX_mibDataSync, sPonTableMibDataSync, MaskWhen::NOT_ZERO},
};
constexpr MaskCondition ONU[] = {
    {OV_GPON_ONU_ATTR_INDEX_adminStatus, sOnuTableAdminState},
    {OV_GPON_ONU_ATTR_INDEX_active, sOnuTableActiviate},
    {OV_GPON_ONU_ATTR_INDEX_omccBwProfile, sOnuTableOmccBwProfileName},
    {OV_GPON_ONU_ATTR_INDEX_usFec, sOnuTableUpFec},
    {OV_GPON_ONU_ATTR_INDEX_rssi, sOnuTableRssiProfileId, MaskWhen::IN_RANGE, 1, 32},
};
constexpr MaskCondition GEMPORT[] = {
    {OV_GPON_GEMPORT_ATTR_INDEX_isEncyption, sGemTable_column::sGemTableIfEnableEncryption},
};
constexpr MaskCondition SERVICEPORT[] = {
    {OV_GPON_SERVICE_PORT_ATTR_INDEX_cosq_map, servicePortCosQueueMappingProfileId},
    {OV_GPON_SERVICE_PORT_ATTR_INDEX_queue, servicePortQueue},
    {OV_GPON_SERVICE_PORT_ATTR_INDEX_mac_move, servicePortMacmove, MaskWhen::ZERO},
    {OV_GPON_SERVICE_PORT_ATTR_INDEX_mac_limit, servicePortMacLimit},
};
constexpr MaskCondition ONU_QOS[] = {
    {OV_GPON_ONU_QOS_ATTR_INDEX_maxBw, onuQosTable_column::onuQosMaxBw},
    {OV_GPON_ONU_QOS_ATTR_INDEX_minBw, onuQosTable_column::onuQosMinBw},
};
// Mode and weights go together.
constexpr MaskCondition QUEUE_SCHEDULE[] = {
    {1, sRmOnuQosPriorityQueueScheduleTable_column::sRmQueueScheduleMode, MaskWhen::NOT_ZERO},
    {2, sRmOnuQosPriorityQueueScheduleTable_column::sRmQueueScheduleMode, MaskWhen::NOT_ZERO},
};

} // namespace

const MaskRule ov_pon_port_table_attr_mask_get = {.table = SPON, .listed = PON_PORT};
const MaskRule ov_onu_table_attr_mask_get = {.table = SONU, .listed = ONU};
const MaskRule ov_gemport_table_attr_mask_get = {.table = SGEM, .listed = GEMPORT};
const MaskRule ov_serviceport_table_attr_mask_get = {.table = SSERVICEPORT, .listed = SERVICEPORT};
const MaskRule ov_onu_qos_table_attr_mask_get = {.table = SONUQOS, .listed = ONU_QOS};
const MaskRule ov_rm_queue_schedule_attr_mask_get = {.table = SRMQUEUESCHEDULE, .listed = QUEUE_SCHEDULE};
