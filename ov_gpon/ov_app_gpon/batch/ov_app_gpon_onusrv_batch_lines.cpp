#include "ov_app_gpon_onusrv_batch_lines.h"

#include <array>
#include <cstring>
#include <type_traits>

#include "app_row_doors.h"
#include "app_rows.h"
#include "onuQosTable.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onusrv_batch_mask.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_sip_agent_config_data.h"
#include "ov_app_gpon_rm_sip_user_data.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunipoe.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_rmwifi.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"
#include "ov_refusal.h"

namespace {

// ---- rows -------------------------------------------------------------------------------------------------

template <typename Row>
Row row_for(const BatchRow& from, const ov_sOnuTable_attr_t& onu) {
    Row row;
    std::memcpy(&row, from.record.data(), sizeof row);
    move_to_onu(row, onu);
    return row;
}

template <typename Row, auto columns_of_row>
void collect(const BatchLine& line, mib_ulong profile, std::vector<BatchRow>& rows) {
    for_each_template_row<Row>(profile, [&](const Row& row) {
        const auto* bytes = reinterpret_cast<const std::byte*>(&row);
        rows.push_back({&line, {bytes, bytes + sizeof row}, columns_of_row(row)});
    });
}

template <auto door>
ov_gpon_config_error_t give(const BatchRow& from, const ov_sOnuTable_attr_t& onu) {
    auto row = row_for<decltype(row_of_door(door))>(from, onu);
    MIB_Flags_t columns = from.columns;
    // The check callbacks ask what the set callbacks ask again.
    return write_by(door, row, columns, Checks::PASSED_OVER) == OV_GPON_RET_OK ? NO_ERROR : from.line->error;
}

template <typename Row>
MIB_Flags_t all_columns(const Row& /*row*/) {
    return mibDefFlags;
}

template <auto door, auto columns_of_row = all_columns<decltype(row_of_door(door))>>
constexpr BatchLine line(ov_gpon_config_error_t error, const char* text) {
    return {collect<decltype(row_of_door(door)), columns_of_row>, give<door>, error, text};
}

// ---- QoS of the ONU ---------------------------------------------------------------------------------------

using OnuQos = ov_onuQosTable_attr_t;

ov_gpon_config_error_t error_of(int result) {
    return result == OV_QOS_OK ? NO_ERROR : result == OV_QOS_MIB_FAIL ? MIB_ACCESS_ERROR : ONU_QOS_NOTSUPPORT;
}

// The row is there since its ONU is: the ONU's object takes what is different, and hands it on.
ov_gpon_config_error_t give_qos(const BatchRow& from, const ov_sOnuTable_attr_t& onu) {
    ov_app_onu_qos_s* qos = ov_app_find_onu_qos_by_ifindex(onu_ifindex_of(onu));
    if (qos == nullptr) {
        ov_refusal_because("the ONU has no QoS");
        return ONU_QOS_ERROR;
    }
    if (!ov_onu_qos_mib_to_app(row_for<OnuQos>(from, onu), *qos))
        return ONU_QOS_NOTSUPPORT;
    return qos->sflag == 0 ? NO_ERROR : error_of(ov_app_onu_qos_set(qos, SYNC_HAL | SYNC_MIB));
}

// ---- the table --------------------------------------------------------------------------------------------

constexpr std::array LINES = {
    line<ov_app_gpon_tcont_add, ov_gpon_tcont_mibmask_get>(TCONT_ERROR,
                                                           "onu %d/%d/%d:%d config tcont %d failed"),
    line<ov_app_gpon_gemport_add>(GEM_ERROR, "onu %d/%d/%d:%d config gem %d failed"),
    line<ov_app_gpon_service_port_add, ov_gpon_service_port_mibmask_get>(
        SRVPORT_ERROR, "onu %d/%d/%d:%d config srv-port %d failed"),
    line<ov_app_gpon_rmservice_add>(RMSRV_ERROR, "onu %d/%d/%d:%d config rm-srv %d failed"),
    line<ov_app_gpon_rmunivlan_edit, ov_gpon_rmuni_vlan_mibmask_get>(
        RMUNI_ERROR, "onu %d/%d/%d:%d config rm uni failed..."),
    line<ov_app_gpon_rm_iphost_add>(RMIPHOST_ERROR, "onu %d/%d/%d:%d config rm iphost failed..."),
    BatchLine{collect<OnuQos, all_columns<OnuQos>>, give_qos, ONU_QOS_ERROR,
              "onu %d/%d/%d:%d config onu qos failed..."},
    line<ov_app_gpon_rm_wifi_add>(RMWIFI_ERROR, "onu %d/%d/%d:%d config rm-wifi %d failed"),
    line<ov_app_gpon_rm_wan_add>(RMWAN_ERROR, "onu %d/%d/%d:%d config rm-wan %d failed"),
    line<ov_app_gpon_rm_voip_config_data_edit>(RMVOIPCFG_ERROR,
                                               "onu %d/%d/%d:%d config rm-voipConfigData failed"),
    line<ov_app_gpon_rm_sip_agent_config_data_add>(RMSIPAGENT_ERROR,
                                                   "onu %d/%d/%d:%d config rm-voipSipAgentConfig %d failed"),
    line<ov_app_gpon_rm_sip_user_data_edit>(
        RMSIPUSER_ERROR,
        "onu %d/%d/%d:%d config rm-voipSipUsetData cardType[%d] portId[%d] cardId[%d] failed"),
    line<ov_app_gpon_rm_mac_filter_mode_edit>(RMMACFILTER_ERROR,
                                              "onu %d/%d/%d:%d config rm-serviceMacFilterMode %d failed"),
    line<ov_app_gpon_rm_mac_filter_dyn_edit>(RMMACFILTER_ERROR,
                                             "onu %d/%d/%d:%d config rm-serviceMacFilterDynamic %d failed"),
    line<ov_app_gpon_rm_mac_filter_static_add>(
        RMMACFILTER_ERROR, "onu %d/%d/%d:%d config rm-serviceMacFilterDynamic %d %d failed"),
    line<ov_app_gpon_rmonupoe_edit, ov_gpon_onupoe_mibmask_get>(RMONUPOE_ERROR,
                                                                "onu %d/%d/%d:%d config rm Onu Poe failed"),
    line<ov_app_gpon_rmunipoe_edit, ov_gpon_unipoe_mibmask_get>(RMUNIPOE_ERROR,
                                                                "onu %d/%d/%d:%d config rm Uni Poe failed"),
};

} // namespace

std::span<const BatchLine> ov_gpon_batch_lines() {
    return LINES;
}

std::string ov_gpon_batch_failure_text(const BatchRow& row, const ov_sOnuTable_attr_t& onu) {
    std::array<int32_t, TableModule::MAX_INDEX_COLUMNS> index;
    std::memcpy(index.data(), row.record.data(), sizeof index);
    std::memcpy(index.data(), &onu, INDEX_TO_ONU * sizeof index[0]);
    std::string text = row.line->text;
    size_t number = 0;
    for (size_t at = text.find("%d"); at != std::string::npos; at = text.find("%d", at))
        text.replace(at, strlen("%d"), std::to_string(index[number++]));
    return text;
}
