// Services behind an ONU on the test chassis, as commands make them, and their MAC filters.
#pragma once

#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rmservice.h"
#include "remote_chassis.h"

namespace remote_test {

using Service = ov_sRmServiceTable_attr_t;
using FilterMode = ov_rmServiceMacFilterModeTable_attr_t;
using FilterLimit = ov_rmServiceMacFilterDynamicTable_attr_t;
using FilterRule = ov_rmServiceMacFilterStaticTable_attr_t;
namespace service_column = sRmServiceTable_column;

inline constexpr int SERVICE_MESSAGE = 913;
inline constexpr int FILTER_MESSAGE = 934;

// What a service takes: by its type, some of it doesn't count.
struct Traffic {
    int type = OV_GPON_RM_SERVICE_VLAN;
    int gem = 1;
    int vlan = 0;
    int cos = 0;
    int kind = ETH;
    int port = 0;
    int card = 1;
};

inline constexpr MIB_Flags_t SERVICE_COLUMNS =
    columns_of(service_column::sRmServiceTableOnuCardID, service_column::sRmServiceTableOnuPortType,
               service_column::sRmServiceTableOnuPortID, service_column::sRmServiceTableRmServiceType,
               service_column::sRmServiceTableGemId, service_column::sRmServiceTableVlanId,
               service_column::sRmServiceTablePriorityID);

// The service with that number of an ONU, on port 4 of the card if nothing else is said.
inline Service service(int id, const Traffic& traffic = {}, int onu = ONU, int pon = PORT, int slot = SLOT) {
    auto row = onu_key<Service>(slot, pon, onu);
    row.rmServiceID = static_cast<mib_ulong>(id);
    row.sRmServiceTableOnuCardID = static_cast<mib_ulong>(traffic.card);
    row.sRmServiceTableOnuPortType = traffic.kind;
    row.sRmServiceTableOnuPortID = static_cast<mib_ulong>(traffic.port);
    row.sRmServiceTableRmServiceType = traffic.type;
    row.sRmServiceTableGemId = static_cast<mib_ulong>(traffic.gem);
    row.sRmServiceTableVlanId = traffic.vlan;
    row.sRmServiceTablePriorityID = traffic.cos;
    return row;
}
inline Service template_service(int id, const Traffic& traffic = {}, int profile = PROFILE) {
    return service(id, traffic, profile, GPON_TEMPLATE_PORT, GPON_TEMPLATE_SLOT);
}

inline int add(Service row, MIB_Flags_t columns = SERVICE_COLUMNS) {
    return ov_app_gpon_rmservice_add(&row, &columns);
}
inline int edit(Service row, MIB_Flags_t columns) {
    return ov_app_gpon_rmservice_edit(&row, &columns);
}
inline int del(Service row) {
    return ov_app_gpon_rmservice_del(&row);
}

// A filter's row of a service.
template <typename Filter>
Filter filter_of(const Service& of) {
    return service_key<Filter>(of);
}
inline FilterRule rule_of(const Service& of, int id, const std::array<uint8_t, 6>& mac = {}) {
    auto rule = service_key<FilterRule>(of);
    rule.rmSmfsId = static_cast<mib_ulong>(id);
    std::memcpy(rule.rmSmfsMac, mac.data(), mac.size());
    return rule;
}
inline constexpr MIB_Flags_t RULE_COLUMNS = columns_of(rmServiceMacFilterStaticTable_column::rmSmfsFwdFilter,
                                                       rmServiceMacFilterStaticTable_column::rmSmfsRule,
                                                       rmServiceMacFilterStaticTable_column::rmSmfsMac);
inline int add(FilterRule row, MIB_Flags_t columns = RULE_COLUMNS) {
    return ov_app_gpon_rm_mac_filter_static_add(&row, &columns);
}
inline int set_filter_mode(const Service& of, int mode) {
    auto row = service_key<FilterMode>(of);
    row.rmSmfmMode = mode;
    MIB_Flags_t columns = columns_of(rmServiceMacFilterModeTable_column::rmSmfmMode);
    return ov_app_gpon_rm_mac_filter_mode_edit(&row, &columns);
}
inline int set_filter_limit(const Service& of, int limit) {
    auto row = service_key<FilterLimit>(of);
    row.rmSmfdMacLimit = limit;
    MIB_Flags_t columns = columns_of(rmServiceMacFilterDynamicTable_column::rmSmfdMacLimit);
    return ov_app_gpon_rm_mac_filter_dyn_edit(&row, &columns);
}

// A GEM port of a service profile, which its services need.
inline void put_template_gem(const AppChassis& chassis, int id = 1, int profile = PROFILE) {
    chassis.put_row<ov_sGemTable_attr_t>([](auto&) {}, GPON_SHELF, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT,
                                         profile, id);
}

// "913 create", "934 set", ... of all messages since they were forgotten.
inline std::vector<std::string> sent(const AppChassis& chassis) {
    static const char* const actions[] = {"?", "create", "delete", "set", "get", "current"};
    std::vector<std::string> lines;
    for (const CardMessage& message : chassis.messages())
        lines.push_back(std::to_string(message.type) + " " + actions[message.action]);
    return lines;
}

} // namespace remote_test
