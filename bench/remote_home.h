// A home behind an ONU with all that an operator can set there, some 25 rows: written by the doors of the
// commands, or the same messages sent bare, each with the card's answer.
#pragma once

#include "bench_application.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_queue_schedule.h"
#include "ov_app_gpon_rm_sip_agent_config_data.h"
#include "ov_app_gpon_rm_sip_user_data.h"
#include "ov_app_gpon_rm_tr069_mgmt.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rmonu_opt_threshold.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunipoe.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_rmwifi.h"
#include "ov_hal_gpon_msg.h"

namespace bench_application {

inline constexpr auto CREATE = OV_HAL_GPON_MSG_ACTION_CREATE;
inline constexpr auto SET = OV_HAL_GPON_MSG_ACTION_SET;

struct RemoteHome {
    int slot, port, onu;
    bool bare;    // the messages alone
    int rows = 0; // that were written

    // One row, by its door or as the message that the door sends.
    template <typename Row, typename Record, typename Door>
    void write(Row row, MIB_Flags_t flags, Door door, int message, ov_hal_gpon_msg_action_t action,
               const MessageMap<Row, Record>& map) {
        ++rows;
        if (!bare) {
            check(door(&row, &flags), "home", slot, port, onu);
            return;
        }
        Record record = {};
        map.encode(&row, &record);
        check(ov_hal_gpon_msg_send(message, action, &record, map.set_mask(&row, flags), 1), "message", slot,
              port, onu);
    }
    template <typename Row>
    Row row() const {
        return row_of<Row>(slot, port, onu);
    }

    void write_ports() {
        for (mib_ulong uni = 1; uni <= 4; ++uni) {
            auto status = row<ov_sRmUniStatusTable_attr_t>();
            status.onuCardID = 1;
            status.onuPortID = uni;
            status.sRmUniStatusTableMcastEnable = 0;
            status.sRmUniStatusMacLearnCount = 16;
            write(status, columns(sRmUniStatusTable_column::sRmUniStatusMacLearnCount),
                  ov_app_gpon_rmunistatus_edit, OV_HAL_MSG_GPON_RM_UNI, SET, unistatus_map);
            auto vlan = row<ov_sRmUniVlanTable_attr_t>();
            vlan.onuCardID = 1;
            vlan.onuPortID = uni;
            vlan.sRmUniVlanTableVlanMode = SRMUNIVLANTABLEVLANMODE_ACCESS;
            vlan.sRmUniVlanTablePvid = 100;
            write(vlan,
                  columns(sRmUniVlanTable_column::sRmUniVlanTableVlanMode,
                          sRmUniVlanTable_column::sRmUniVlanTablePvid),
                  ov_app_gpon_rmunivlan_edit, OV_HAL_MSG_GPON_RM_UNI_VLAN, SET, univlan_map);
            auto poe = row<ov_sRmUniPoeTable_attr_t>();
            poe.sRmUniPoeOnuCardID = 1;
            poe.sRmUniPoeOnuPortID = uni;
            poe.sRmUniPoeAdminState = 1;
            write(poe, columns(sRmUniPoeTable_column::sRmUniPoeAdminState), ov_app_gpon_rmunipoe_edit,
                  OV_HAL_MSG_GPON_RM_UNI_POE, SET, unipoe_map);
        }
    }

    void write_network() {
        for (mib_long number = 1; number <= 2; ++number) {
            auto service = row<ov_sRmServiceTable_attr_t>();
            service.rmServiceID = static_cast<decltype(service.rmServiceID)>(number);
            service.sRmServiceTableRmServiceType = 1;
            service.sRmServiceTableVlanId = 100 + number;
            write(service, mibDefFlags, ov_app_gpon_rmservice_add, OV_HAL_MSG_GPON_RM_SERVICE, CREATE,
                  rmservice_map);
            auto wan = row<ov_sRmWanTable_attr_t>();
            wan.sRmWanIndex = static_cast<mib_ulong>(number);
            wan.sRmWanMode = SRMWANMODE_ROUTE;
            wan.sRmWanVlan = 100 + number;
            const auto add_wan = [](auto* row, auto* flags) { return ov_app_gpon_rm_wan_add(row, flags, 1); };
            write(wan, mibDefFlags, add_wan, OV_HAL_MSG_GPON_RM_WAN, CREATE, rmwan_map);
            auto wifi = row<ov_sRmWifiTable_attr_t>();
            wifi.sRmWifiIndex = static_cast<mib_ulong>(number);
            wifi.sRmWifiChannel = 11;
            const auto add_wifi = [](auto* row, auto* flags) {
                return ov_app_gpon_rm_wifi_add(row, flags, 1);
            };
            write(wifi, mibDefFlags, add_wifi, OV_HAL_MSG_GPON_RM_WIFI, CREATE, rmwifi_map);
        }
        auto host = row<ov_sRmIPHostTable_attr_t>();
        host.sRmIPHostVlanId = 46;
        write(host, mibDefFlags, ov_app_gpon_rm_iphost_add, OV_HAL_MSG_GPON_RMONU_IPHOST, CREATE,
              rm_iphost_map);
    }

    void write_telephony() {
        auto voip = row<ov_sRmVoipConfigDataTable_attr_t>();
        voip.sRmVoipConfigDataSigProtocolUsed = 1;
        write(voip, columns(sRmVoipConfigDataTable_column::sRmVoipConfigDataSigProtocolUsed),
              ov_app_gpon_rm_voip_config_data_edit, OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA, SET,
              rm_voip_config_data_map);
        auto agent = row<ov_sRmVoipSipAgentConfigTable_attr_t>();
        agent.sRmVoipSipAgentConfigAgentID = 1;
        agent.sRmVoipSipAgentConfigTcpUdpPort = 5060;
        write(agent, mibDefFlags, ov_app_gpon_rm_sip_agent_config_data_add,
              OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG, CREATE, rm_sip_agent_map);
        for (mib_ulong pots = 1; pots <= 2; ++pots) {
            auto user = row<ov_sRmVoipSipUserDataTable_attr_t>();
            user.sRmVoipSipUserDataCardType = OV_GPON_RMUNI_TYPE_POTS;
            user.sRmVoipSipUserDataPortID = pots;
            user.sRmVoipSipUserDataCardID = 1;
            user.sRmVoipSipUserDataAgentID = 1;
            write(user, columns(sRmVoipSipUserDataTable_column::sRmVoipSipUserDataAgentID),
                  ov_app_gpon_rm_sip_user_data_edit, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA, SET,
                  rm_sip_user_map);
        }
    }

    void write_onu() {
        auto client = row<ov_sRmTr069MgmtTable_attr_t>();
        client.sRmTr069MgmtVlanId = 46;
        write(client, columns(sRmTr069MgmtTable_column::sRmTr069MgmtVlanId), ov_app_gpon_rm_tr069_mgmt_edit,
              OV_HAL_MSG_GPON_RMONU_TR069_SRV, SET, rm_tr069_mgmt_map);
        auto queues = row<ov_sRmOnuQosPriorityQueueScheduleTable_attr_t>();
        queues.sRmQueueScheduleMode = SRMQUEUESCHEDULEMODE_STRICT_PRIORITY;
        write(queues, columns(sRmOnuQosPriorityQueueScheduleTable_column::sRmQueueScheduleMode),
              ov_app_gpon_rm_queue_schedule_edit, OV_HAL_MSG_GPON_RMONU_QUEUE_SCHEDULE, SET,
              rm_queue_schedule_map);
        auto poe = row<ov_sRmOnuPoeTable_attr_t>();
        poe.sRmOnuPoeUsageThr = 80;
        write(poe, columns(sRmOnuPoeTable_column::sRmOnuPoeUsageThr), ov_app_gpon_rmonupoe_edit,
              OV_HAL_MSG_GPON_RM_ONU_POE, SET, onupoe_map);
        auto optics = row<ov_sRmOnuOptThresholdTable_attr_t>();
        optics.sRmOnuOptThresholdLowRxpwr = -28;
        write(optics, columns(sRmOnuOptThresholdTable_column::sRmOnuOptThresholdLowRxpwr),
              ov_app_gpon_rmonu_opt_threshold_edit, OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD, SET,
              rmonu_opt_threshold_map);
    }

    void write_all() {
        write_ports();
        write_network();
        write_telephony();
        write_onu();
    }
};

} // namespace bench_application
