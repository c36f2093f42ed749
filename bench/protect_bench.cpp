// Protection of a port with 128 ONUs of ten rows: the copy that makes a group beside bare exchanges of as
// many messages, and how long its steps hold the loop; a mirrored write beside the same write on a port
// without a group; a switch-over that the card reports. See README.md.
//
//   protect_bench [TURNS]     best of so many turns (5)
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>

#include "bench_application.h"
#include "hal_sock_tipc.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_pon_protect.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_port_config.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"
#include "ov_hal_gpon_msg.h"
#include "table_snmp_ahead.h"

namespace {

using namespace bench_application;
using Port = ov_sPonTable_attr_t;
using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;
using Service = ov_sRmServiceTable_attr_t;
using UniVlan = ov_sRmUniVlanTable_attr_t;
using Wan = ov_sRmWanTable_attr_t;
using IpHost = ov_sRmIPHostTable_attr_t;
using Group = ov_portProtectTable_attr_t;

constexpr int SLOT = 1;
constexpr int WORK = 1;
constexpr int PROTECT = 2;
constexpr int PLAIN = 3;

double usec_of(const std::function<void()>& act) {
    const auto began = Clock::now();
    act();
    return usec_since(began);
}

ov_ifindex_t index_of(int port) {
    return port_ifindex(PORT_TYPE_GPON, SLOT, port);
}

// ---- subscribers ------------------------------------------------------------------------------------------

void add_traffic(int port, int onu) {
    auto tcont = row_of<Tcont>(SLOT, port, onu);
    tcont.tcontId = 1;
    snprintf(tcont.sTcontTableBwProfileName, sizeof tcont.sTcontTableBwProfileName, "default");
    MIB_Flags_t flags = columns(sTcontTable_column::sTcontTableBwProfileName);
    check(ov_app_gpon_tcont_add(&tcont, &flags, 1), "T-CONT", SLOT, port, onu);
    for (mib_ulong id = 1; id <= 2; ++id) {
        auto gem = row_of<Gem>(SLOT, port, onu);
        gem.gemID = id;
        gem.sGemTableTcontID = 1;
        flags = columns(sGemTable_column::sGemTableTcontID);
        check(ov_app_gpon_gemport_add(&gem, &flags, 1), "GEM port", SLOT, port, onu);
        auto line = row_of<ServicePort>(SLOT, port, onu);
        line.servicePortId = static_cast<mib_long>(id);
        line.servicePortGemId = static_cast<mib_long>(id);
        line.servicePortVlanAction = SERVICEPORTVLANACTION_XLATE;
        line.servicePortVlan = 100 + static_cast<mib_long>(id);
        line.servicePortUserVlan = 10;
        check(ov_app_gpon_service_port_add(&line, columns(servicePortTable_column::servicePortGemId,
                                                          servicePortTable_column::servicePortVlanAction,
                                                          servicePortTable_column::servicePortVlan,
                                                          servicePortTable_column::servicePortUserVlan)),
              "service port", SLOT, port, onu);
    }
}

void add_services(int port, int onu) {
    for (mib_ulong id = 1; id <= 2; ++id) {
        auto service = row_of<Service>(SLOT, port, onu);
        service.rmServiceID = id;
        service.sRmServiceTableRmServiceType = SRMSERVICETABLERMSERVICETYPE_VLAN;
        service.sRmServiceTableGemId = id;
        service.sRmServiceTableVlanId = 100 + static_cast<mib_long>(id);
        MIB_Flags_t flags = columns(sRmServiceTable_column::sRmServiceTableRmServiceType,
                                    sRmServiceTable_column::sRmServiceTableGemId,
                                    sRmServiceTable_column::sRmServiceTableVlanId);
        check(ov_app_gpon_rmservice_add(&service, &flags), "service", SLOT, port, onu);
    }
    auto vlan = row_of<UniVlan>(SLOT, port, onu);
    vlan.onuCardID = 1;
    vlan.onuPortID = 1;
    vlan.sRmUniVlanTableVlanMode = SRMUNIVLANTABLEVLANMODE_ACCESS;
    vlan.sRmUniVlanTablePvid = 100;
    MIB_Flags_t flags =
        columns(sRmUniVlanTable_column::sRmUniVlanTableVlanMode, sRmUniVlanTable_column::sRmUniVlanTablePvid);
    check(ov_app_gpon_rmunivlan_edit(&vlan, &flags), "VLANs", SLOT, port, onu);
    auto wan = row_of<Wan>(SLOT, port, onu);
    wan.sRmWanIndex = 1;
    wan.sRmWanMode = SRMWANMODE_ROUTE;
    flags = columns(sRmWanTable_column::sRmWanMode);
    check(ov_app_gpon_rm_wan_add(&wan, &flags, 1), "WAN", SLOT, port, onu);
    auto host = row_of<IpHost>(SLOT, port, onu);
    host.sRmIPHostVlanId = 46;
    flags = columns(sRmIPHostTable_column::sRmIPHostVlanId);
    check(ov_app_gpon_rm_iphost_add(&host, &flags), "IP host", SLOT, port, onu);
}

void add_ports() {
    for (const int number : {WORK, PROTECT, PLAIN}) {
        auto port = port_key<Port>(SLOT, number);
        MIB_Flags_t flags = {};
        check(ov_app_gpon_port_add(&port, &flags), "port", SLOT, number, 0);
    }
    ov_startup_gpon_config_sync_end_set(SLOT, 1);
}

void add_subscribers(int port) {
    for (int onu = 1; onu <= ONUS; ++onu) {
        add_onu(SLOT, port, onu);
        add_traffic(port, onu);
        add_services(port, onu);
    }
}

// ---- the copy ---------------------------------------------------------------------------------------------

struct Copied {
    double usec = 0;
    double held = 0; // the longest event of the loop
    uint32_t messages = 0;
};

Group new_group() {
    Group group = {};
    group.ppGroupId = 1;
    snprintf(group.ppGroupName, sizeof group.ppGroupName, "north");
    group.ppWorkPonIfindex = static_cast<mib_long>(index_of(WORK));
    group.ppProtectPonIfindex = static_cast<mib_long>(index_of(PROTECT));
    group.portProtectRowStatus = OVRA_CREATEANDGO;
    return group;
}
namespace group_column = portProtectTable_column;
const MIB_Flags_t GROUP_COLUMNS =
    columns(group_column::ppGroupName, group_column::ppWorkPonIfindex, group_column::ppProtectPonIfindex);

// As an operator makes it.
Copied make_group() {
    Copied copied;
    bool ended = false;
    const uint32_t sent = g_agent_msg_tx_cb->num_sync_send;
    copied.usec = usec_of([&] {
        check(ov_app_gpon_protect_group_add_start(new_group(), GROUP_COLUMNS,
                                                  [&](int result) {
                                                      check(result, "group", SLOT, WORK, 0);
                                                      ended = true;
                                                  }),
              "group", SLOT, WORK, 0);
        copied.held = longest_event_until([&] { return ended; });
    });
    copied.messages = g_agent_msg_tx_cb->num_sync_send - sent;
    return copied;
}

// What carries out a manager's set; all in one go, unless it has been copied ahead of it.
double carry_out_set() {
    Group group = new_group();
    MIB_Flags_t flags = GROUP_COLUMNS;
    return usec_of([&] { check(ov_app_gpon_protect_group_add(&group, &flags), "group", SLOT, WORK, 0); });
}

// As a manager makes it: ahead of the set, then the set. The longest that the loop is held.
double hold_of_managers_group() {
    const Group group = new_group();
    const auto* row = reinterpret_cast<const char*>(&group);
    snmp_ahead_keep(table_of<Group>::module(), {row, row + sizeof group}, GROUP_COLUMNS);
    const double began = usec_of([&] { snmp_ahead_begin(); });
    const double held = longest_event_until([] { return !snmp_ahead_begin(); });
    const double set = carry_out_set();
    snmp_ahead_end(table_of<Group>::module());
    return std::max({began, held, set});
}

void end_group() {
    Group group = {};
    group.ppGroupId = 1;
    check(ov_app_gpon_protect_group_del(&group), "end of the group", SLOT, WORK, 0);
    check(ov_app_gpon_port_config_clear(index_of(PROTECT)), "clear", SLOT, PROTECT, 0);
}

// As many exchanges, of a record as long as most.
double bare(uint32_t messages) {
    auto key = row_of<Gem>(SLOT, WORK, 1);
    key.gemID = 1;
    ov_gpon_gemport_attr_t record = {};
    gem_map.encode(find_row(key), &record);
    return usec_of([&] {
        for (uint32_t n = 0; n < messages; ++n)
            check(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_GEMPORT, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 1),
                  "message", SLOT, WORK, 1);
    });
}

// ---- the mirror -------------------------------------------------------------------------------------------

Gem gem_of(int port, int onu) {
    auto gem = row_of<Gem>(SLOT, port, onu);
    gem.gemID = 1;
    return gem;
}

bool has_encryption(int port, int onu, mib_long value) {
    return find_row(gem_of(port, onu))->sGemTableIfEnableEncryption == value;
}

// What a write takes of time, and of this process: on a busy machine the second tells more.
struct Cost {
    double usec = 0;
    double own = 0;
};

double own_usec() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

// One write of each ONU, and its repetition if the port has one.
Cost write_port(int port, mib_long value) {
    const MIB_Flags_t flags = columns(sGemTable_column::sGemTableIfEnableEncryption);
    const double before = own_usec();
    const double usec = usec_of([&] {
        for (int onu = 1; onu <= ONUS; ++onu) {
            Gem gem = gem_of(port, onu);
            gem.sGemTableIfEnableEncryption = value;
            MIB_Flags_t own = flags;
            check(ov_app_gpon_gemport_edit(&gem, &own), "write", SLOT, port, onu);
        }
        struct thread event;
        while (port == WORK && !has_encryption(PROTECT, ONUS, value) && thread_fetch(loop(), &event))
            thread_call(&event);
    });
    return {usec / ONUS, (own_usec() - before) / ONUS};
}

// ---- switch-over ------------------------------------------------------------------------------------------

double switch_over(int active, int standby) {
    ov_gpon_pon_protect_group_attr_t event = {};
    event.ActivePonIfindex = index_of(active);
    event.StandbyPonIfindex = index_of(standby);
    return usec_of([&] { ov_app_gpon_pon_protect_status_switch_set(&event); });
}

double least(double so_far, double usec) {
    return so_far == 0 ? usec : std::min(so_far, usec);
}

Cost least(const Cost& so_far, const Cost& cost) {
    return {least(so_far.usec, cost.usec), least(so_far.own, cost.own)};
}

void measure_writes(int turns) {
    Cost plain;
    Cost mirrored;
    double switched = 0;
    for (int turn = 1; turn <= turns; ++turn) {
        plain = least(plain, write_port(PLAIN, turn % 2));
        mirrored = least(mirrored, write_port(WORK, turn % 2));
        switched = std::max({switched, switch_over(PROTECT, WORK), switch_over(WORK, PROTECT)});
    }
    printf("a write of %.1f us, mirrored %.1f us (%.2f)\n", plain.usec, mirrored.usec,
           mirrored.usec / plain.usec);
    printf("of this process's time %.1f us, mirrored %.1f us (%.2f)\n", plain.own, mirrored.own,
           mirrored.own / plain.own);
    printf("a switch-over by the card: %.0f us at most\n", switched);
}

} // namespace

int main(int argc, char** argv) {
    const int turns = std::clamp(argc > 1 ? atoi(argv[1]) : 5, 1, 100);
    start_with_own_card();
    add_ports();
    for (const int port : {WORK, PLAIN})
        add_subscribers(port);
    Copied best;
    double alone = 0;
    double held = 0;
    for (int turn = 1; turn <= turns; ++turn) {
        if (turn > 1)
            end_group();
        const Copied copied = make_group();
        held = std::max(held, copied.held);
        best = turn == 1 || copied.usec < best.usec ? copied : best;
        alone = least(alone, bare(copied.messages));
    }
    printf("copy of %d ONUs of ten rows: %u messages, %.1f ms, bare %.1f ms (%.2f)\n", ONUS, best.messages,
           best.usec / 1000, alone / 1000, best.usec / alone);
    printf("the loop was held for %.1f ms at most\n", held / 1000);
    end_group();
    const double in_one_go = carry_out_set();
    end_group();
    printf("by a manager's set for %.1f ms, %.1f ms in one go\n", hold_of_managers_group() / 1000,
           in_one_go / 1000);
    measure_writes(turns);
    return 0;
}
