// Two PON ports of the test chassis, 4 and 5, that may become a protection group, with what ONUs stand on;
// the mirror runs when a test lets time pass.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "../../support/test_clock.h"
#include "../support/service_chassis.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_pon_protect.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_port_config.h"
#include "ov_app_gpon_port_config_copy.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"

namespace protect_test {

using namespace remote_test;
using namespace std::chrono_literals;
using testing::Contains;
using testing::IsEmpty;
using testing::Not;

using Group = ov_portProtectTable_attr_t;
using Port = ov_sPonTable_attr_t;
using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;
namespace group_column = portProtectTable_column;

inline constexpr int WORK = PORT;
inline constexpr int PROTECT = OTHER_PORT;
inline constexpr int GROUP_MESSAGE = 952;
inline constexpr int CREATE = OV_HAL_GPON_MSG_ACTION_CREATE;
inline constexpr int DELETE = OV_HAL_GPON_MSG_ACTION_DELETE;
inline constexpr int SET = OV_HAL_GPON_MSG_ACTION_SET;

inline ov_ifindex_t index_of(int port, int slot = SLOT) {
    return port_ifindex(PORT_TYPE_GPON, slot, port);
}

// Both ports with their rows, their card in step, ONU type "HG-1" and bandwidth profile "small".
inline void on_two_ports(const std::function<void(AppChassis&, TestClock&)>& body) {
    app_chassis::run([&](AppChassis& chassis) {
        TestClock clock;
        put_type_with(chassis, {});
        put_bandwidth(chassis, "small", BKDRHash("small", 5), 100, 200);
        for (const int port : {WORK, PROTECT, 6, 7})
            chassis.put_port(port);
        ov_startup_gpon_config_sync_end_set(SLOT, 1);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis, clock);
    });
}

// ---- groups -----------------------------------------------------------------------------------------------

struct NewGroup {
    int id = 1;
    const char* name = "north";
    ov_ifindex_t work = index_of(WORK);
    ov_ifindex_t protect = index_of(PROTECT);
};

inline int add_group(const NewGroup& wanted = {}) {
    Group row = {};
    row.ppGroupId = wanted.id;
    set_text(row.ppGroupName, wanted.name);
    row.ppWorkPonIfindex = static_cast<mib_long>(wanted.work);
    row.ppProtectPonIfindex = static_cast<mib_long>(wanted.protect);
    MIB_Flags_t columns = columns_of(group_column::ppGroupName, group_column::ppWorkPonIfindex,
                                     group_column::ppProtectPonIfindex);
    return ov_app_gpon_protect_group_add(&row, &columns);
}
inline int command(int value, int id = 1) {
    Group row = {};
    row.ppGroupId = id;
    row.ppExternalCommand = value;
    MIB_Flags_t columns = columns_of(group_column::ppExternalCommand);
    return ov_app_gpon_protect_group_edit(&row, &columns);
}
inline int delete_group(int id = 1) {
    Group row = {};
    row.ppGroupId = id;
    return ov_app_gpon_protect_group_del(&row);
}
inline const Group* stored_group(int id = 1) {
    Group key = {};
    key.ppGroupId = id;
    return find_row(key);
}
// "working, pair 5, active"
inline std::string role_of(int port, int slot = SLOT) {
    static constexpr const char* ROLES[] = {"none", "working", "protecting", "error"};
    const auto pair = ov_pon_protect_group_get_pair_port_index(slot, port);
    return ROLES[ov_pon_protect_group_pon_status_get(slot, port)] +
           (pair != 0 ? ", pair " + std::to_string(ov_ifindex_get_port_id(pair)) : std::string()) +
           (ov_app_gpon_port_is_group_active_pon_port(slot, port) == 1 ? ", active" : "");
}
inline void card_switches_to(ov_ifindex_t active, ov_ifindex_t standby) {
    ov_gpon_pon_protect_group_attr_t event = {};
    event.ActivePonIfindex = active;
    event.StandbyPonIfindex = standby;
    ov_app_gpon_pon_protect_status_switch_set(&event);
}

// ---- rows of a port ---------------------------------------------------------------------------------------

template <typename Row>
Row of_onu(int port = WORK, int onu = ONU) {
    return onu_key<Row>(SLOT, port, onu);
}
template <typename Row>
const Row* stored(const Row& key) {
    return find_row(key);
}

template <typename Fill>
int edit_port(int port, MIB_Flags_t columns, Fill fill) {
    auto row = port_key<Port>(SLOT, port);
    fill(row);
    return ov_app_gpon_port_edit(&row, &columns);
}
inline const Port& stored_port(int port) {
    return *find_row(port_key<Port>(SLOT, port));
}

inline int add_onu(int id = ONU, int port = WORK) {
    char sn[16];
    snprintf(sn, sizeof sn, "ABCD%08d", id);
    return new_onu(id, sn, port).add();
}
inline int add_tcont(mib_ulong id = 1, int onu = ONU, int port = WORK) {
    auto row = of_onu<Tcont>(port, onu);
    row.tcontId = id;
    set_text(row.sTcontTableBwProfileName, "small");
    MIB_Flags_t columns = columns_of(sTcontTable_column::sTcontTableBwProfileName);
    return ov_app_gpon_tcont_add(&row, &columns, 1);
}
inline Gem gem_key(mib_ulong id = 1, int onu = ONU, int port = WORK) {
    auto row = of_onu<Gem>(port, onu);
    row.gemID = id;
    return row;
}
inline int add_gem(mib_ulong id = 1, int onu = ONU, int port = WORK) {
    Gem row = gem_key(id, onu, port);
    row.sGemTableTcontID = 1;
    MIB_Flags_t columns = columns_of(sGemTable_column::sGemTableTcontID);
    return ov_app_gpon_gemport_add(&row, &columns, 1);
}
inline int edit_gem(unsigned column, mib_long Gem::*value, mib_long wanted, int onu = ONU, int port = WORK) {
    Gem row = gem_key(1, onu, port);
    row.*value = wanted;
    MIB_Flags_t columns = columns_of(column);
    return ov_app_gpon_gemport_edit(&row, &columns);
}
inline ServicePort service_port_key(int id = 1, int onu = ONU, int port = WORK) {
    auto row = of_onu<ServicePort>(port, onu);
    row.servicePortId = id;
    return row;
}
inline int add_service_port(int id = 1, int onu = ONU, int port = WORK, int vlan = 100) {
    auto row = service_port_key(id, onu, port);
    row.servicePortGemId = 1;
    row.servicePortVlan = vlan;
    row.servicePortUserVlan = vlan;
    row.servicePortVlanAction = SERVICEPORTVLANACTION_TRANSPARENT;
    namespace column = servicePortTable_column;
    return ov_app_gpon_service_port_add(&row, columns_of(column::servicePortGemId, column::servicePortVlan,
                                                         column::servicePortUserVlan,
                                                         column::servicePortVlanAction));
}
// An ONU that has one of each.
inline void add_whole_onu(int id = ONU, int port = WORK) {
    ASSERT_EQ(add_onu(id, port), OV_GPON_RET_OK);
    ASSERT_EQ(add_tcont(1, id, port), OV_GPON_RET_OK);
    ASSERT_EQ(add_gem(1, id, port), OV_GPON_RET_OK);
    ASSERT_EQ(add_service_port(1, id, port), OV_GPON_RET_OK);
    ASSERT_EQ(add(service(1, {.gem = 1, .vlan = 100, .port = 1}, id, port)), OV_GPON_RET_OK);
}

// ---- two ports beside each other --------------------------------------------------------------------------

// The rows of a port, a text for each with its index and all columns but those that name the port or come
// from the card.
template <typename Row>
std::vector<std::string> rows_of(int port) {
    std::vector<std::string> texts;
    const TableDesc& desc = table_of<Row>::module().desc();
    for (const Row& row : rows_under(port_key<Row>(SLOT, port), INDEX_TO_PORT)) {
        std::string text = std::string(desc.name) + " ";
        for (size_t n = INDEX_TO_PORT; n < desc.index.size(); ++n)
            text += std::to_string(reinterpret_cast<const int32_t*>(&row)[n]) + ".";
        for (const ColumnDesc& column : desc.columns)
            if (column.access != ColAccess::READ_ONLY && std::string_view(column.name) != "sOnuTableOnuName")
                text += std::string(" ") + column.name + "=" + TableModule::column_text(column, &row);
        texts.push_back(text);
    }
    return texts;
}

inline std::vector<std::string> logged(const AppChassis& chassis) {
    return chassis.hal.log.lines();
}
inline size_t times_logged(const AppChassis& chassis, const std::string& part) {
    size_t times = 0;
    for (const std::string& line : logged(chassis))
        times += line.find(part) != std::string::npos ? 1 : 0;
    return times;
}

} // namespace protect_test
