// A service profile with a row in every table that is copied, and ONUs of its type that can have them, on the
// test chassis.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "filter_chassis.h"
#include "onuQosTable.h"
#include "ov_app_gpon_onusrv_batch_config.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rmunivlan.h"
#include "provisioning_chassis.h"
#include "remote_tables.h"

namespace batch_test {

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;
using UniVlan = ov_sRmUniVlanTable_attr_t;

inline const ov_ifindex_t PON = port_ifindex(PORT_TYPE_GPON, SLOT, PORT);

// Runs the body on a chassis with type "HG-1", ONU 7 of it on port 4, bandwidth profile "small", and service
// profile 9 of the type without rows of its own.
inline void run_with_profile(const std::function<void(AppChassis&)>& body) {
    run([&body](AppChassis& chassis) {
        provisioning::put_bandwidth(chassis, "small", 100, 200);
        ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
        chassis.messages(0);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

inline void put_onus(int from, int to, int port = PORT, const char* type = "HG-1") {
    for (int id = from; id <= to; ++id) {
        char sn[17];
        snprintf(sn, sizeof sn, "ABCD%04x%04x", port, id);
        ASSERT_EQ(new_onu(id, sn, port).type(type).add(), OV_GPON_RET_OK) << id;
    }
}

// ---- rows of the profile, past all callbacks --------------------------------------------------------------

template <typename Row, typename Fill, typename... Index>
void put_template(const AppChassis& chassis, Fill fill, Index... index) {
    chassis.put_row<Row>(fill, GPON_SHELF, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE, index...);
}

inline void put_template_tcont(const AppChassis& chassis, int id, const char* bandwidth = "small") {
    put_template<Tcont>(
        chassis,
        [&](auto& row) {
            set_text(row.sTcontTableTcontName, "voice");
            set_text(row.sTcontTableBwProfileName, bandwidth);
        },
        id);
}
inline void put_template_gemport(const AppChassis& chassis, int id, int tcont = 1) {
    put_template<Gem>(
        chassis,
        [&](auto& row) {
            row.sGemTableTcontID = static_cast<mib_ulong>(tcont);
            row.sGemTableIfIndex = gemport_ifindex(row, row.gemID);
            set_text(row.sGemTableGemName, "data");
        },
        id);
}
inline void put_template_service_port(const AppChassis& chassis, int id, int gem = 1) {
    put_template<ServicePort>(
        chassis,
        [&](auto& row) {
            row.servicePortGemId = gem;
            row.servicePortVlan = 100 + id;
            row.servicePortVlanAction = SERVICEPORTVLANACTION_XLATE;
        },
        id);
}
inline void put_template_service_row(const AppChassis& chassis, int id, int filter_mode) {
    put_template<Service>(
        chassis,
        [&](auto& row) {
            row.sRmServiceTableRmServiceType = OV_GPON_RM_SERVICE_VLAN;
            row.sRmServiceTableGemId = 1;
            row.sRmServiceTableVlanId = 100 + id;
        },
        id);
    put_template<FilterMode>(
        chassis, [&](auto& row) { row.rmSmfmMode = filter_mode; }, id);
}

// T-CONT 1, GEM port 1, service ports 1 and 2.
inline void fill_traffic(const AppChassis& chassis) {
    put_template_tcont(chassis, 1);
    put_template_gemport(chassis, 1);
    put_template_service_port(chassis, 1);
    put_template_service_port(chassis, 2);
}

template <typename Table>
void put_template_of(const AppChassis& /*chassis*/) {
    const auto at = template_row_of<Table>();
    put_row_of<Table>(at);
    Table::set_one(*const_cast<typename Table::Row*>(find_row(at)));
}

// Services 1, whose addresses are learnt (at most 5), and 2, with one filter; a UNI in mode "access".
inline void fill_services(const AppChassis& chassis) {
    put_template_service_row(chassis, 1, RMSMFMMODE_DYNAMIC);
    put_template_service_row(chassis, 2, RMSMFMMODE_STATIC);
    put_template<FilterLimit>(
        chassis, [](auto& row) { row.rmSmfdMacLimit = 5; }, 1);
    put_template<FilterRule>(
        chassis, [](auto& row) { row.rmSmfsMac[5] = 7; }, 2, 1);
    put_template<UniVlan>(
        chassis,
        [](auto& row) {
            row.sRmUniVlanTableVlanMode = SRMUNIVLANTABLEVLANMODE_ACCESS;
            row.sRmUniVlanTablePvid = 46;
        },
        1, ETH, 1);
}

using OnuQos = ov_onuQosTable_attr_t;
inline constexpr mib_ulong MAX_BW = 5000;

// A row in each of the tables.
inline void fill_profile(const AppChassis& chassis) {
    fill_traffic(chassis);
    fill_services(chassis);
    put_template_of<IpHost>(chassis);
    put_template<OnuQos>(chassis, [](auto& row) { row.onuQosMaxBw = MAX_BW; });
    put_template_of<Wifi>(chassis);
    put_template_of<Wan>(chassis);
    put_template_of<VoipConfig>(chassis);
    put_template_of<SipAgent>(chassis);
    put_template_of<SipUser>(chassis);
    put_template_of<OnuPoe>(chassis);
    put_template_of<UniPoe>(chassis);
    LogCapture::clear();
}

// ---- asking for a copy ------------------------------------------------------------------------------------

using Flags = std::array<char, OV_BATCH_ONU_MAX>;

inline Flags flags_of(const std::vector<int>& onus, char flag = OV_BATCH_ONU_CONFIG) {
    Flags flags = {};
    for (const int id : onus)
        flags[static_cast<size_t>(id - 1)] = flag;
    return flags;
}
inline Flags flags_from(int from, int to) {
    Flags flags = {};
    for (int id = from; id <= to; ++id)
        flags[static_cast<size_t>(id - 1)] = OV_BATCH_ONU_CONFIG;
    return flags;
}

// "7: 1" for each ONU that has a code.
inline std::vector<std::string> codes(const ov_batch_cfg_rtn_t& result) {
    std::vector<std::string> texts;
    for (size_t n = 0; n < OV_BATCH_ONU_MAX; ++n)
        if (result.errorCode[n] != 0)
            texts.push_back(std::to_string(n + 1) + ": " + std::to_string(result.errorCode[n]));
    return texts;
}

inline std::vector<std::string> copy_to(Flags flags, int profile = PROFILE) {
    return codes(ov_gpon_multi_onu_service_config(PON, flags, static_cast<mib_ulong>(profile)));
}

template <typename Row>
size_t rows_of_onu(int onu = ONU, int port = PORT) {
    return rows_copied(onu_key<Row>(SLOT, port, onu), INDEX_TO_ONU).size();
}

} // namespace batch_test
