// What T-CONTs, GEM ports and service ports stand on: bandwidth profiles, an ONU type, ONUs and service
// profiles, put into their tables past all callbacks; and rows of the three as an operator would make them.
#pragma once

#include <algorithm>
#include <sstream>
#include <string>

#include <gmock/gmock.h>

#include "../../support/app_chassis.h"
#include "app_set_callback.h"
#include "mmg_text.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_pon_role.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"
#include "sBWProfileTable.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTypeProfileTable.h"
#include "sRmServiceTable.h"

namespace provisioning {

inline constexpr int SLOT = AppChassis::SLOT;
inline constexpr int PORT = 4;
inline constexpr int ONU = 7;
inline constexpr mib_ulong ONU_TYPE = 77;
inline constexpr int QUEUES = 8;
inline constexpr int PROFILE = 5; // a service profile

using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;

inline void put_bandwidth(const AppChassis& chassis, const char* name, int fixed, int assured) {
    chassis.put_row<ov_sBWProfileTable_attr_t>(
        [&](auto& row) {
            snprintf(row.sBWProfileTableBwProfileName, sizeof row.sBWProfileTableBwProfileName, "%s", name);
            row.sBWProfileTableFixBw = fixed;
            row.sBWProfileTableAssBw = assured;
        },
        BKDRHash(name, static_cast<int>(strlen(name))));
}

inline void put_onu(const AppChassis& chassis, int port = PORT, int onu = ONU, bool templet = false) {
    chassis.put_row<ov_sOnuTable_attr_t>(
        [&](auto& row) {
            row.sOnuTableOnuTypeProfileId = ONU_TYPE;
            row.sOnuTableConfigMode = templet ? 1 : 0;
        },
        1, SLOT, port, onu);
}

inline void put_service_profile(const AppChassis& chassis, int id = PROFILE) {
    chassis.put_row<ov_sOnuSrvProfileTable_attr_t>([](auto&) {}, id);
}
// So many ONUs are bound to it.
inline void bind_service_profile(int count, int id = PROFILE) {
    ov_sOnuSrvProfileTable_attr_t row = {};
    row.onuSrvProfileId = static_cast<mib_ulong>(id);
    row.sOnuSrvProfileBindCount = count;
    ASSERT_TRUE(
        mib_access(MIB_SET_S_N, row, columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileBindCount)));
}

// A COS-to-COS profile that turns every COS into its id.
inline void put_cos_to_cos(const AppChassis& /*chassis*/, int id) {
    const std::vector<uint32_t> mapped(OV_QOS_COS_NUM, static_cast<uint32_t>(id));
    auto* profile = ov_app_cos_to_cos_map_profile_new();
    ASSERT_EQ(ov_app_cos_to_cos_map_profile_edit_id(profile, static_cast<uint32_t>(id)), OV_QOS_OK);
    ASSERT_EQ(ov_app_cos_to_cos_map_profile_edit_mapped_cos(profile, mapped.data(), OV_QOS_COS_NUM),
              OV_QOS_OK);
    ASSERT_EQ(ov_app_cos_to_cos_mapping_profile_add(profile, SYNC_MIB | SYNC_APP), OV_QOS_OK);
    LogCapture::clear();
}

// Runs the body with ONU 7 on port 4, service profile 5, and bandwidth profiles "small" (100 fixed, 200
// assured), "none" (nothing guaranteed) and "default", whose id has its highest bit set.
inline void run(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&](AppChassis& chassis) {
        put_bandwidth(chassis, "small", 100, 200);
        put_bandwidth(chassis, "none", 0, 0);
        put_bandwidth(chassis, "default", 0, 0);
        chassis.put_row<ov_sOnuTypeProfileTable_attr_t>(
            [](auto& row) { row.sOnuTypeProfileTableUpQueueNum = QUEUES; }, ONU_TYPE);
        put_onu(chassis);
        put_service_profile(chassis);
        ASSERT_EQ(ov_pon_protect_group_pon_status_init(), KAVO_OK);
        LogCapture::clear();
        body(chassis);
    });
}

// ---- rows of an operator ----------------------------------------------------------------------------------

template <typename Row>
Row row_at(int slot, int port, int onu) {
    Row row = {};
    row.shelfID = 1;
    row.slotID = slot;
    row.portID = port;
    row.onuId = onu;
    return row;
}

inline Tcont tcont(unsigned id, const char* bandwidth = "small", int slot = SLOT, int port = PORT,
                   int onu = ONU) {
    auto row = row_at<Tcont>(slot, port, onu);
    row.tcontId = id;
    snprintf(row.sTcontTableBwProfileName, sizeof row.sTcontTableBwProfileName, "%s", bandwidth);
    return row;
}
inline Tcont template_tcont(unsigned id, const char* bandwidth = "small", int profile = PROFILE) {
    return tcont(id, bandwidth, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, profile);
}
inline constexpr MIB_Flags_t TCONT_COLUMNS = columns_of(sTcontTable_column::sTcontTableBwProfileName);

inline Gem gem(unsigned id, unsigned tcont_id, int slot = SLOT, int port = PORT, int onu = ONU) {
    auto row = row_at<Gem>(slot, port, onu);
    row.gemID = id;
    row.sGemTableTcontID = tcont_id;
    return row;
}
inline Gem template_gem(unsigned id, unsigned tcont_id, int profile = PROFILE) {
    return gem(id, tcont_id, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, profile);
}
inline constexpr MIB_Flags_t GEM_COLUMNS = columns_of(sGemTable_column::sGemTableTcontID);

// With values that all pass, as the defaults of a row would be.
inline ServicePort service_port(int id, int gem_id, int slot = SLOT, int port = PORT, int onu = ONU) {
    auto row = row_at<ServicePort>(slot, port, onu);
    row.servicePortId = id;
    row.servicePortGemId = gem_id;
    row.servicePortVlanAction = 1;
    row.servicePortVlanPrioAction = 1;
    row.servicePortSvlanPrioAction = 1;
    row.servicePortQueueSelectMode = 1;
    row.servicePortMacmove = 1;
    return row;
}
inline ServicePort template_service_port(int id, int gem_id, int profile = PROFILE) {
    return service_port(id, gem_id, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, profile);
}
inline constexpr MIB_Flags_t SERVICE_PORT_COLUMNS =
    columns_of(servicePortTable_column::servicePortGemId, servicePortTable_column::servicePortVlanAction);

inline int add(Tcont row, MIB_Flags_t columns = TCONT_COLUMNS) {
    return ov_app_gpon_tcont_add(&row, &columns, 1);
}
inline int add(Gem row, MIB_Flags_t columns = GEM_COLUMNS) {
    return ov_app_gpon_gemport_add(&row, &columns, 1);
}
inline int add(ServicePort row, MIB_Flags_t columns = SERVICE_PORT_COLUMNS) {
    return ov_app_gpon_service_port_add(&row, columns);
}
inline int edit(Tcont row, MIB_Flags_t columns = TCONT_COLUMNS) {
    return ov_app_gpon_tcont_edit(&row, &columns);
}
inline int edit(Gem row, MIB_Flags_t columns) {
    return ov_app_gpon_gemport_edit(&row, &columns);
}
inline int edit(ServicePort row, MIB_Flags_t columns) {
    return ov_app_gpon_service_port_edit(&row, columns);
}
inline int del(Tcont row) {
    return ov_app_gpon_tcont_del(&row);
}
inline int del(Gem row) {
    return ov_app_gpon_gemport_del(&row);
}
inline int del(ServicePort row) {
    return ov_app_gpon_service_port_del(&row);
}
template <typename Row>
bool exists(const Row& row) {
    return find_row(row) != nullptr;
}

// ---- what they count --------------------------------------------------------------------------------------

inline ov_gpon_cnt_limit_t& held() {
    return g_gponCntLimit[SLOT - 1];
}
struct Held {
    int tconts, gems, assured_and_fixed, fixed;
    bool operator==(const Held&) const = default;
};
inline void PrintTo(const Held& held, std::ostream* out) {
    *out << held.tconts << " T-CONTs, " << held.gems << " GEM ports, " << held.assured_and_fixed << " ("
         << held.fixed << " fixed)";
}
inline Held held_of(int port) {
    const auto n = static_cast<size_t>(port - 1);
    return {held().tcontCnt[n], held().gemCnt[n], held().usedMaxBandwidth[n], held().usedFixBandwidth[n]};
}

// ---- what was said and sent -------------------------------------------------------------------------------

inline bool logged(const AppChassis& chassis, const std::string& line) {
    const auto lines = chassis.hal.log.lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// The same with level and tag, as the log file has it.
inline bool logged_as(const AppChassis& chassis, int level, const std::string& tag, const std::string& line) {
    std::istringstream file(chassis.hal.log.file_text());
    const std::string head = "/" + std::to_string(level) + " [" + tag + "] ";
    for (std::string got; std::getline(file, got);)
        if (got.find(head) != got.npos && got.ends_with(" " + line))
            return true;
    return false;
}

// A message in short: type and action.
using Sent = std::pair<int, int>;
inline std::vector<Sent> sent(const AppChassis& chassis) {
    std::vector<Sent> all;
    for (const CardMessage& message : chassis.messages())
        all.emplace_back(message.type, message.action);
    return all;
}
inline constexpr int CREATE = OV_HAL_GPON_MSG_ACTION_CREATE;
inline constexpr int DELETE = OV_HAL_GPON_MSG_ACTION_DELETE;
inline constexpr int SET = OV_HAL_GPON_MSG_ACTION_SET;
inline constexpr int TCONT = OV_HAL_MSG_GPON_TCONT;
inline constexpr int GEM = OV_HAL_MSG_GPON_GEMPORT;
inline constexpr int SERVPORT = OV_HAL_MSG_GPON_SERVPORT;

// The record's bytes, without the spare ones that follow every record.
template <typename Record>
wire::Bytes record_bytes(const CardMessage& message) {
    EXPECT_GE(message.bytes.size(), sizeof(Record));
    return {message.bytes.begin(), message.bytes.begin() + sizeof(Record)};
}

// The port's role in a protection group whose card is in step.
inline void give_role(ov_pon_protect_pon_status_e role, int port = PORT) {
    ov_startup_gpon_config_sync_end_set(SLOT, 1);
    ov_pon_protect_group_pon_status_set(SLOT, port, role);
}

} // namespace provisioning
