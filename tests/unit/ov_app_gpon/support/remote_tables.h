// The tables behind an ONU that are set by an operator or manager, each by what a test of the rules that they
// share must know of it: its door, its message, what it asks of its owner.
#pragma once

#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_queue_schedule.h"
#include "ov_app_gpon_rm_sip_agent_config_data.h"
#include "ov_app_gpon_rm_sip_user_data.h"
#include "ov_app_gpon_rm_tr069_mgmt.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmunipoe.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_rmwifi.h"
#include "remote_chassis.h"

namespace remote_test {

// What is true of most of them.
template <typename RowType, typename RecordType>
struct RemoteTable {
    using Row = RowType;
    using Record = RecordType;
    static constexpr uint32_t MASK = 0;                      // of the setting that `set_one` sets
    static constexpr bool ASKS_FOR_ONU = true;               // the ONU must be there
    static constexpr bool TEMPLET_REFUSES = true;            // an ONU with a service profile isn't edited
    static constexpr const char* BOUND = "id 9bind 3 times"; // of a bound profile; null: it has no rows
    static constexpr bool MADE_BY_HAND = false;              // rows don't come with their owner
    static constexpr bool GOES_WITH_PROFILE = true;
    static void number(Row& /*row*/) {} // the index behind the ONU's
};

struct Wan : RemoteTable<ov_sRmWanTable_attr_t, ov_gpon_rmwan_attr_t> {
    static constexpr const char* NAME = "rm_wan";
    static constexpr int MESSAGE = 955;
    static constexpr auto SYNC = SYNC_RMONU_WAN;
    static constexpr const char* FAILURE = "set rm wan to hal error";
    static constexpr const char* CHECK = "ov_rmwan_table_set_check_callback failed";
    static constexpr bool ASKS_FOR_ONU = false;
    static constexpr bool TEMPLET_REFUSES = false;
    static constexpr const char* BOUND = "id 9 bind 3 times";
    static constexpr bool MADE_BY_HAND = true;
    static constexpr bool GOES_WITH_PROFILE = false;
    static constexpr unsigned COLUMN = sRmWanTable_column::sRmWanVlanCos;
    static void number(Row& row) { row.sRmWanIndex = 2; }
    static void set_one(Row& row) { row.sRmWanVlanCos = 5; }
    static bool is_set(const Row& row) { return row.sRmWanVlanCos == 5; }
    static int add(Row* row, MIB_Flags_t* columns) { return ov_app_gpon_rm_wan_add(row, columns, 1); }
    static int edit(Row* row, MIB_Flags_t* columns) { return ov_app_gpon_rm_wan_edit(row, columns); }
    static int del(Row* row) { return ov_app_gpon_rm_wan_del(row); }
};

struct Wifi : RemoteTable<ov_sRmWifiTable_attr_t, ov_gpon_rmwifi_attr_t> {
    static constexpr const char* NAME = "rm_wifi";
    static constexpr int MESSAGE = 956;
    static constexpr auto SYNC = SYNC_RMONU_WIFI;
    static constexpr const char* FAILURE = "set rm wifi to hal error";
    static constexpr const char* CHECK = "ov_rmwifi_table_set_check_callback failed";
    static constexpr bool ASKS_FOR_ONU = false;
    static constexpr bool TEMPLET_REFUSES = false;
    static constexpr const char* BOUND = "id 9 bind 3 times";
    static constexpr bool MADE_BY_HAND = true;
    static constexpr bool GOES_WITH_PROFILE = false;
    static constexpr unsigned COLUMN = sRmWifiTable_column::sRmWifiChannel;
    static void number(Row& row) { row.sRmWifiIndex = 2; }
    static void set_one(Row& row) { row.sRmWifiChannel = 11; }
    static bool is_set(const Row& row) { return row.sRmWifiChannel == 11; }
    static int add(Row* row, MIB_Flags_t* columns) { return ov_app_gpon_rm_wifi_add(row, columns, 1); }
    static int edit(Row* row, MIB_Flags_t* columns) { return ov_app_gpon_rm_wifi_edit(row, columns); }
    static int del(Row* row) { return ov_app_gpon_rm_wifi_del(row); }
};

struct IpHost : RemoteTable<ov_sRmIPHostTable_attr_t, ov_gpon_onu_iphost_attr_t> {
    static constexpr const char* NAME = "rm_iphost";
    static constexpr int MESSAGE = 942;
    static constexpr auto SYNC = SYNC_RMONU_IPHOST;
    static constexpr const char* FAILURE = "set rm iphost to hal error";
    static constexpr const char* CHECK = "ov_rm_iphost_table_set_check_callback failed";
    static constexpr bool MADE_BY_HAND = true;
    static constexpr unsigned COLUMN = sRmIPHostTable_column::sRmIPHostVlanId;
    static void set_one(Row& row) { row.sRmIPHostVlanId = 100; }
    static bool is_set(const Row& row) { return row.sRmIPHostVlanId == 100; }
    static int add(Row* row, MIB_Flags_t* columns) { return ov_app_gpon_rm_iphost_add(row, columns); }
    static int edit(Row* row, MIB_Flags_t* columns) { return ov_app_gpon_rm_iphost_edit(row, columns); }
    static int del(Row* row) { return ov_app_gpon_rm_iphost_del(row); }
};

struct SipAgent : RemoteTable<ov_sRmVoipSipAgentConfigTable_attr_t, ov_rm_voip_sip_agent_config_data_attr_t> {
    static constexpr const char* NAME = "rm_sip_agent_config_data";
    static constexpr int MESSAGE = 947;
    static constexpr auto SYNC = SYNC_RMONU_SIP_CONF_DATA;
    static constexpr const char* FAILURE = "set rm sip agent config data to hal error";
    static constexpr const char* CHECK = "ov_rm_voip_sip_agent_table_set_check_callback failed";
    static constexpr const char* BOUND = "id 9 bind 3 times";
    static constexpr bool MADE_BY_HAND = true;
    static constexpr unsigned COLUMN = sRmVoipSipAgentConfigTable_column::sRmVoipSipAgentConfigTcpUdpPort;
    static void number(Row& row) { row.sRmVoipSipAgentConfigAgentID = 65535; }
    static void set_one(Row& row) { row.sRmVoipSipAgentConfigTcpUdpPort = 5060; }
    static bool is_set(const Row& row) { return row.sRmVoipSipAgentConfigTcpUdpPort == 5060; }
    static int add(Row* row, MIB_Flags_t* columns) {
        return ov_app_gpon_rm_sip_agent_config_data_add(row, columns);
    }
    static int edit(Row* row, MIB_Flags_t* columns) {
        return ov_app_gpon_rm_sip_agent_config_data_edit(row, columns);
    }
    static int del(Row* row) { return ov_app_gpon_rm_sip_agent_config_data_delete(row); }
};

struct VoipConfig : RemoteTable<ov_sRmVoipConfigDataTable_attr_t, ov_rm_voip_config_data_attr_t> {
    static constexpr const char* NAME = "rm_voip_config_data";
    static constexpr int MESSAGE = 946;
    static constexpr uint32_t MASK = 1u << 2;
    static constexpr auto SYNC = SYNC_RMONU_VOIP_CONF_DATA;
    static constexpr const char* FAILURE = "set rm voip config data to hal error";
    static constexpr const char* CHECK = "ov_rm_voip_config_data_table_set_check_callback failed";
    static constexpr const char* BOUND = "id 9 bind 3 times";
    static constexpr unsigned COLUMN = sRmVoipConfigDataTable_column::sRmVoipConfigDataSigProtocolUsed;
    static void set_one(Row& row) { row.sRmVoipConfigDataSigProtocolUsed = 255; }
    static bool is_set(const Row& row) { return row.sRmVoipConfigDataSigProtocolUsed == 255; }
    static int edit(Row* row, MIB_Flags_t* columns) {
        return ov_app_gpon_rm_voip_config_data_edit(row, columns);
    }
};

struct SipUser : RemoteTable<ov_sRmVoipSipUserDataTable_attr_t, ov_rm_voip_sip_user_data_attr_t> {
    static constexpr const char* NAME = "rm_sip_user_data";
    static constexpr int MESSAGE = 948;
    static constexpr uint32_t MASK = 1u << 4;
    static constexpr auto SYNC = SYNC_RMONU_SIP_USER_DATA;
    static constexpr const char* FAILURE = "set rm sip user data to hal error";
    static constexpr const char* CHECK = "ov_rm_sip_user_table_set_check_callback failed";
    static constexpr bool TEMPLET_REFUSES = false;
    static constexpr const char* BOUND = nullptr;
    static constexpr unsigned COLUMN = sRmVoipSipUserDataTable_column::sRmVoipSipUserDataAgentID;
    static void number(Row& row) {
        row.sRmVoipSipUserDataCardType = POTS;
        row.sRmVoipSipUserDataPortID = 1;
        row.sRmVoipSipUserDataCardID = 1;
    }
    static void set_one(Row& row) { row.sRmVoipSipUserDataAgentID = 3; }
    static bool is_set(const Row& row) { return row.sRmVoipSipUserDataAgentID == 3; }
    static int edit(Row* row, MIB_Flags_t* columns) {
        return ov_app_gpon_rm_sip_user_data_edit(row, columns);
    }
};

struct Tr069 : RemoteTable<ov_sRmTr069MgmtTable_attr_t, ov_gpon_onu_tr069_mgmt_attr_t> {
    static constexpr const char* NAME = "rm_tr069_mgmt";
    static constexpr int MESSAGE = 943;
    static constexpr uint32_t MASK = 1u << 2;
    static constexpr auto SYNC = SYNC_RMONU_TR069MGMT;
    static constexpr const char* FAILURE = "set rm tr069 mgmt to hal error";
    static constexpr const char* CHECK = "ov_rm_tr069_mgmt_table_set_check_callback failed";
    static constexpr bool TEMPLET_REFUSES = false;
    static constexpr const char* BOUND = nullptr;
    static constexpr unsigned COLUMN = sRmTr069MgmtTable_column::sRmTr069MgmtVlanId;
    static void set_one(Row& row) { row.sRmTr069MgmtVlanId = 46; }
    static bool is_set(const Row& row) { return row.sRmTr069MgmtVlanId == 46; }
    static int edit(Row* row, MIB_Flags_t* columns) { return ov_app_gpon_rm_tr069_mgmt_edit(row, columns); }
};

struct QueueSchedule
    : RemoteTable<ov_sRmOnuQosPriorityQueueScheduleTable_attr_t, ov_gpon_onu_queue_schedule_attr_t> {
    static constexpr const char* NAME = "rm_queue_schedule";
    static constexpr int MESSAGE = 944;
    static constexpr uint32_t MASK = 1u << 2;
    static constexpr auto SYNC = ov_pon_protect_sync_table_e{}; // not repeated
    static constexpr const char* FAILURE = "set rm queue schedule to hal error";
    static constexpr const char* CHECK = "ov_rm_queue_schedule_table_set_check_callback failed";
    static constexpr bool TEMPLET_REFUSES = false;
    static constexpr const char* BOUND = nullptr;
    static constexpr unsigned COLUMN = sRmOnuQosPriorityQueueScheduleTable_column::sRmQueueScheduleWeight;
    static void set_one(Row& row) { row.sRmQueueScheduleWeight[7] = 100; }
    static bool is_set(const Row& row) { return row.sRmQueueScheduleWeight[7] == 100; }
    static int edit(Row* row, MIB_Flags_t* columns) {
        return ov_app_gpon_rm_queue_schedule_edit(row, columns);
    }
};

struct UniPoe : RemoteTable<ov_sRmUniPoeTable_attr_t, ov_gpon_rmuni_poe_attr_t> {
    static constexpr const char* NAME = "rm_uni_poe";
    static constexpr int MESSAGE = 962;
    static constexpr uint32_t MASK = 1u << 2;
    static constexpr auto SYNC = SYNC_RMONU_UNIPOE;
    static constexpr const char* FAILURE = "set rm unipoe to hal error";
    static constexpr const char* CHECK = "ov_unipoe_table_set_check_callback failed";
    static constexpr unsigned COLUMN = sRmUniPoeTable_column::sRmUniPoeAdminState;
    static void number(Row& row) {
        row.sRmUniPoeOnuCardID = 1;
        row.sRmUniPoeOnuPortType = ETH;
        row.sRmUniPoeOnuPortID = 2;
    }
    static void set_one(Row& row) { row.sRmUniPoeAdminState = 1; }
    static bool is_set(const Row& row) { return row.sRmUniPoeAdminState == 1; }
    static int edit(Row* row, MIB_Flags_t* columns) { return ov_app_gpon_rmunipoe_edit(row, columns); }
};

struct OnuPoe : RemoteTable<ov_sRmOnuPoeTable_attr_t, ov_gpon_rmonu_poe_attr_t> {
    static constexpr const char* NAME = "rm_onu_poe";
    static constexpr int MESSAGE = 963;
    static constexpr uint32_t MASK = 1u << 6;
    static constexpr auto SYNC = SYNC_RMONU_ONUPOE;
    static constexpr const char* FAILURE = "set rm onupoe to hal error";
    static constexpr const char* CHECK = "ov_rm_onupoe_table_set_check_callback failed";
    static constexpr unsigned COLUMN = sRmOnuPoeTable_column::sRmOnuPoeArc;
    static void set_one(Row& row) { row.sRmOnuPoeArc = 1; }
    static bool is_set(const Row& row) { return row.sRmOnuPoeArc == 1; }
    static int edit(Row* row, MIB_Flags_t* columns) { return ov_app_gpon_rmonupoe_edit(row, columns); }
};

// ---- their rows -------------------------------------------------------------------------------------------

template <typename Table>
typename Table::Row row_of(int onu = ONU, int port = PORT, int slot = SLOT) {
    auto row = onu_key<typename Table::Row>(slot, port, onu);
    Table::number(row);
    return row;
}
template <typename Table>
typename Table::Row template_row_of(int profile = PROFILE) {
    return row_of<Table>(profile, GPON_TEMPLATE_PORT, GPON_TEMPLATE_SLOT);
}

// Puts the row past all callbacks, unless it is there.
template <typename Table>
void put_row_of(const typename Table::Row& at) {
    if (find_stored_row(at) != nullptr)
        return;
    using Row = typename Table::Row;
    TableModule& table = table_of<Row>::module();
    Row row = at;
    ASSERT_EQ(MibAccessHandle(MIB_CREATEGO_S_N, 0, table.did(), &row, mibDefFlags, 0), MIB_OK);
    LogCapture::clear();
}

// One setting of the row, by the door.
template <typename Table>
int edit_one(typename Table::Row row) {
    Table::set_one(row);
    MIB_Flags_t columns = columns_of(Table::COLUMN);
    return Table::edit(&row, &columns);
}
template <typename Table>
int add_one(typename Table::Row row) {
    Table::set_one(row);
    MIB_Flags_t columns = columns_of(Table::COLUMN);
    return Table::add(&row, &columns);
}

// A text of that many characters.
inline std::string text_of(size_t length, char letter = 'x') {
    return std::string(length, letter);
}
// An address as columns hold it.
inline in_addr_t ipv4(const char* dotted) {
    return inet_addr(dotted);
}

} // namespace remote_test
