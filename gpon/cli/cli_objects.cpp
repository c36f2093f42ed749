#include "cli_objects.h"

#include "app_rows.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_tr069_mgmt.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rminfo.h"
#include "ov_app_gpon_rmmulticast.h"
#include "ov_app_gpon_rmonu_opt_threshold.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmunipoe.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmwifi.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_uplink_pm_action.h"
#include "rm/ov_gpon_rm_uni_word.h"
#include "sRmInfoTable.h"
#include "sRmUniStatusTable.h"
#include "uplinkPmActTable.h"

namespace {

constexpr int GEM_ID = 4;          // of the index columns
constexpr int SERVICE_PORT_ID = 4; // the same
constexpr int RM_SERVICE_ID = 4;   // the same
constexpr int WIFI_INDEX = 4;      // the same

template <typename Row, int (*edit)(Row*, MIB_Flags_t*)>
int edit_row(void* row, const MIB_Flags_t& columns) {
    MIB_Flags_t flags = columns;
    return edit(static_cast<Row*>(row), &flags);
}

// A card that refuses a COS-to-COS profile keeps nobody from writing the row, so the row is then as before.
int edit_service_port(void* row, const MIB_Flags_t& columns) {
    auto& port = *static_cast<ov_servicePortTable_attr_t*>(row);
    const uint32_t profile = port.servicePortUplinkCosToCosProfileId;
    if (const int result = ov_app_gpon_service_port_edit(&port, columns); result != OV_GPON_RET_OK)
        return result;
    auto* qos = ov_app_find_service_port_qos_by_ifindex(service_port_ifindex(port));
    if (!mib_flag_is_set(columns, servicePortTable_column::servicePortUplinkCosToCosProfileId) ||
        qos == nullptr || qos->cos_to_cos_profile_id[QOS_UP_LINK] == profile)
        return OV_GPON_RET_OK;
    ov_app_service_port_qos_set(qos, SYNC_MIB);
    return OV_GPON_RET_FAIL;
}

constexpr char NO_UNI[] = "the ONU has no UNI %s";
constexpr CliIndexWord GEM_WORDS[] = {{"gemport", GEM_ID}};
using UniStatus = ov_sRmUniStatusTable_attr_t;

constexpr CliIndexWord SERVICE_PORT_WORDS[] = {{"service-port", SERVICE_PORT_ID}};
constexpr CliIndexWord UNI_WORDS[] = {gpon_rm_uni_index<UniStatus>("ETHUNI")};
constexpr CliIndexWord MULTICAST_WORDS[] = {gpon_rm_uni_index<ov_sRmMulticastTable_attr_t>("ETHUNI")};
constexpr CliIndexWord UNI_POE_WORDS[] = {gpon_rm_uni_index<ov_sRmUniPoeTable_attr_t>("ETHUNI")};
constexpr CliIndexWord RM_SERVICE_WORDS[] = {{"service", RM_SERVICE_ID}};
constexpr CliIndexWord VIDEO_WORDS[] = {gpon_rm_uni_index<UniStatus>("VIDEO")};
constexpr CliIndexWord WIFI_WORDS[] = {{"wifi", WIFI_INDEX}};

} // namespace

namespace cli_objects {

const CliObject pon_port = {table_desc_sPonTable, INDEX_TO_PORT,
                            edit_row<ov_sPonTable_attr_t, ov_app_gpon_port_edit>};
const CliObject uplink_pm = {.table = table_desc_uplinkPmActTable,
                             .from_session = INDEX_TO_PORT,
                             .edit = edit_row<ov_uplinkPmActTable_attr_t, ov_app_uplink_pm_action_edit>,
                             .absent = "counters are recorded of GE and XE ports only"};
const CliObject onu = {table_desc_sOnuTable, INDEX_TO_ONU,
                       edit_row<ov_sOnuTable_attr_t, ov_app_gpon_onu_edit>};
const CliObject gem_port = {table_desc_sGemTable, INDEX_TO_ONU,
                            edit_row<ov_sGemTable_attr_t, ov_app_gpon_gemport_edit>, GEM_WORDS};
const CliObject service_port = {table_desc_servicePortTable,
                                INDEX_TO_ONU,
                                edit_service_port,
                                SERVICE_PORT_WORDS,
                                "%%Could not find service port: %d%s",
                                "the ONU has no service port %s"};
const CliObject rm_onu = {table_desc_sRmInfoTable, INDEX_TO_ONU,
                          edit_row<ov_sRmInfoTable_attr_t, ov_app_gpon_rminfo_edit>};
const CliObject rm_uni = {.table = table_desc_sRmUniStatusTable,
                          .from_session = INDEX_TO_ONU,
                          .edit = edit_row<UniStatus, ov_app_gpon_rmunistatus_edit>,
                          .words = UNI_WORDS,
                          .absent = NO_UNI};
const CliObject rm_video = {.table = table_desc_sRmUniStatusTable,
                            .from_session = INDEX_TO_ONU,
                            .edit = edit_row<UniStatus, ov_app_gpon_rmunistatus_edit>,
                            .words = VIDEO_WORDS,
                            .absent = NO_UNI};
const CliObject rm_uni_multicast = {.table = table_desc_sRmUniStatusTable,
                                    .from_session = INDEX_TO_ONU,
                                    .edit = edit_row<UniStatus, ov_app_gpon_rmunistatus_edit>,
                                    .words = UNI_WORDS,
                                    .absent = NO_UNI};
const CliObject rm_multicast = {.table = table_desc_sRmMulticastTable,
                                .from_session = INDEX_TO_ONU,
                                .edit = edit_row<ov_sRmMulticastTable_attr_t, ov_app_gpon_rmmulticast_edit>,
                                .words = MULTICAST_WORDS,
                                .absent = "multicast isn't enabled at %s"};
const CliObject rm_mac_filter_mode = {
    .table = table_desc_rmServiceMacFilterModeTable,
    .from_session = INDEX_TO_ONU,
    .edit = edit_row<ov_rmServiceMacFilterModeTable_attr_t, ov_app_gpon_rm_mac_filter_mode_edit>,
    .words = RM_SERVICE_WORDS,
    .absent = "there is no remote service %s"};
const CliObject rm_mac_filter_limit = {
    .table = table_desc_rmServiceMacFilterDynamicTable,
    .from_session = INDEX_TO_ONU,
    .edit = edit_row<ov_rmServiceMacFilterDynamicTable_attr_t, ov_app_gpon_rm_mac_filter_dyn_edit>,
    .words = RM_SERVICE_WORDS,
    .absent = "there is no remote service %s of mode dynamic"};
const CliObject rm_tr069 = {table_desc_sRmTr069MgmtTable, INDEX_TO_ONU,
                            edit_row<ov_sRmTr069MgmtTable_attr_t, ov_app_gpon_rm_tr069_mgmt_edit>};
const CliObject rm_uni_poe = {.table = table_desc_sRmUniPoeTable,
                              .from_session = INDEX_TO_ONU,
                              .edit = edit_row<ov_sRmUniPoeTable_attr_t, ov_app_gpon_rmunipoe_edit>,
                              .words = UNI_POE_WORDS,
                              .absent = "%s has no Power over Ethernet"};
const CliObject rm_onu_poe = {table_desc_sRmOnuPoeTable, INDEX_TO_ONU,
                              edit_row<ov_sRmOnuPoeTable_attr_t, ov_app_gpon_rmonupoe_edit>};
const CliObject rm_optics = {
    table_desc_sRmOnuOptThresholdTable, INDEX_TO_ONU,
    edit_row<ov_sRmOnuOptThresholdTable_attr_t, ov_app_gpon_rmonu_opt_threshold_edit>};
const CliObject rm_wifi = {table_desc_sRmWifiTable, INDEX_TO_ONU,
                           edit_row<ov_sRmWifiTable_attr_t, ov_app_gpon_rm_wifi_edit>, WIFI_WORDS};
const CliObject rm_voip = {table_desc_sRmVoipConfigDataTable, INDEX_TO_ONU,
                           edit_row<ov_sRmVoipConfigDataTable_attr_t, ov_app_gpon_rm_voip_config_data_edit>};

} // namespace cli_objects
