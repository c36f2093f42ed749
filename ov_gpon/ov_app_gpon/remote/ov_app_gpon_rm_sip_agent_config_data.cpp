#include "ov_app_gpon_rm_sip_agent_config_data.h"

#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_owner.h"

int gpon_rm_sip_agent_appid = 0;

namespace {

using Row = ov_sRmVoipSipAgentConfigTable_attr_t;
using Record = ov_rm_voip_sip_agent_config_data_attr_t;
using Change = RowChange<Row>;
namespace column = sRmVoipSipAgentConfigTable_column;

mib_ulong number_of(const Row& row) {
    return row.sRmVoipSipAgentConfigAgentID;
}

// Without attributes: the whole record counts. The other columns are stored alone.
constexpr MapLine SIP_AGENT_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_ONLY(agentID, number_of),
    UNMASKED(sRmVoipSipAgentConfigProxyServer, proxyServer),
    UNMASKED(sRmVoipSipAgentConfigOutboundServer, outboundServer),
    UNMASKED_IPV4(sRmVoipSipAgentConfigPrimaryDns, priDns),
    UNMASKED_IPV4(sRmVoipSipAgentConfigSecondaryDns, secDns),
    UNMASKED(sRmVoipSipAgentConfigTcpUdpPort, port),
    UNMASKED(sRmVoipSipAgentConfigRegistrarServer, registrarServer),
    UNMASKED(sRmVoipSipAgentConfigIpHost, ipHost),
};

// ---- rows -------------------------------------------------------------------------------------------------

constexpr RmOwnerRules OWNER = {.bound_refuses = Writes::ALL_BUT_DELETES, .blank_before_bind = true};

// An agent speaks through an IP host of its ONU: the one that there is, or the first, which may still come.
bool has_its_iphost(const Row& row) {
    const mib_ulong host = row.sRmVoipSipAgentConfigIpHost;
    if (host == 0 || host == 1 || ov_rm_iphost_count(onu_key<ov_sOnuTable_attr_t>(row)) == 1)
        return true;
    OV_LOG_ERROR("MMG", "iphost not existed");
    return ov_refusal_because_of(column::sRmVoipSipAgentConfigIpHost, "the ONU has no IP host %u",
                                 static_cast<unsigned>(host));
}

bool sip_agent_admits(Change& change) {
    return ov_app_gpon_rm_owner_admits(change.row, change.action, OWNER) &&
           (change.deletes() || has_its_iphost(change.row));
}

constexpr OwnedRows<Row> OWNED = {.appid = &gpon_rm_sip_agent_appid, .stops = true};
constexpr char LEFT[] = "iterate delete sip agent fail";
constexpr RmDoors<Row> DOORS = {.table = "rm_sip_agent_config_data",
                                .appid = &gpon_rm_sip_agent_appid,
                                .status_column = column::sRmVoipSipAgentConfigRowStatus,
                                .status = &Row::sRmVoipSipAgentConfigRowStatus};

} // namespace

constinit const MessageMap<ov_sRmVoipSipAgentConfigTable_attr_t, ov_rm_voip_sip_agent_config_data_attr_t>
    rm_sip_agent_map(SIP_AGENT_LINES);
RESTORE(rm_voip_sip_agent, SRMVOIPSIPAGENTCONFIG, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG,
        rm_sip_agent_map, CREATED)
RESTORE_TEMPLATES(voip_sip_agent, SRMVOIPSIPAGENTCONFIG, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG,
                  rm_sip_agent_map, CREATED)

int ov_app_gpon_rm_sip_agent_config_data_add(ov_sRmVoipSipAgentConfigTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.add(attr, flag);
}

int ov_app_gpon_rm_sip_agent_config_data_edit(ov_sRmVoipSipAgentConfigTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

int ov_app_gpon_rm_sip_agent_config_data_delete(ov_sRmVoipSipAgentConfigTable_attr_t* attr) {
    return DOORS.del(attr);
}

int ov_rm_voip_sip_agent_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG,
        .map = &rm_sip_agent_map,
        .check = sip_agent_admits,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_SIP_CONF_DATA, Row>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm sip agent config data to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rm_voip_sip_agent_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_app_gpon_rm_voip_agent_config_data_onutable_set_callback(MIBDID did, void* row,
                                                                MIB_Flags_t /*column_flag*/) {
    return rm_rows_go_with_onu(OWNED, LEFT, did, row);
}

int ov_app_gpon_rm_voip_sip_agent_config_data_onu_srvprofile_set_callback(MIBDID did, void* row,
                                                                          MIB_Flags_t /*column_flag*/) {
    return rm_rows_go_with_profile(OWNED, LEFT, did, row);
}

void ov_app_gpon_rm_sip_agent_config_data_init() {
    gpon_rm_sip_agent_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_sip_agent_config_data", gpon_rm_sip_agent_appid,
                                      "app_rm_sip_agent_config_data register set call back error"};
    app.add(SRMVOIPSIPAGENTCONFIG, CALLBACK_SET, ov_rm_voip_sip_agent_table_set_callback, mibDefFlags);
    app.add(SRMVOIPSIPAGENTCONFIG, CALLBACK_CHECK, ov_rm_voip_sip_agent_table_set_check_callback,
            mibDefFlags);
    app.add(SONU, CALLBACK_SET, ov_app_gpon_rm_voip_agent_config_data_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
    app.add(SONUSRVPROFILE, CALLBACK_SET,
            ov_app_gpon_rm_voip_sip_agent_config_data_onu_srvprofile_set_callback,
            columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}
