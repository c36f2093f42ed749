// A card full of ONUs that are learnt, each with the ten rows of a service profile as its own, beside the
// same card provisioned row by row through the application's add functions: the time per row of both, and the
// longest that one report holds the event loop. See README.md.
//
//   learn_bench [TURNS]     so many turns (3) of both, by turns; the best of each counts
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "bench_application.h"
#include "ov_app_gpon_autolearn_flow.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onu_learnt.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_app_gpon_tcont.h"
#include "sPonTable.h"

namespace {

using namespace bench_application;

constexpr int PROFILE = 1;
constexpr int ROWS = 10;              // of the profile
constexpr int ROWS_OF_ONU = ROWS + 1; // and the ONU's own

// What an operator types for a subscriber: two T-CONTs, three GEM ports, three service ports and two services
// behind the ONU.
void add_rows(int slot, int port, int onu) {
    for (unsigned id = 1; id <= 2; ++id) {
        auto tcont = row_of<ov_sTcontTable_attr_t>(slot, port, onu);
        tcont.tcontId = id;
        snprintf(tcont.sTcontTableBwProfileName, sizeof tcont.sTcontTableBwProfileName, "default");
        MIB_Flags_t flags = columns(sTcontTable_column::sTcontTableBwProfileName);
        check(ov_app_gpon_tcont_add(&tcont, &flags, 1), "tcont", slot, port, onu);
    }
    for (unsigned id = 1; id <= 3; ++id) {
        auto gem = row_of<ov_sGemTable_attr_t>(slot, port, onu);
        gem.gemID = id;
        gem.sGemTableTcontID = 1;
        MIB_Flags_t flags = columns(sGemTable_column::sGemTableTcontID);
        check(ov_app_gpon_gemport_add(&gem, &flags, 1), "gemport", slot, port, onu);
    }
    for (int id = 1; id <= 3; ++id) {
        auto service = row_of<ov_servicePortTable_attr_t>(slot, port, onu);
        service.servicePortId = id;
        service.servicePortGemId = id;
        service.servicePortVlan = 100 + id;
        service.servicePortVlanAction = SERVICEPORTVLANACTION_XLATE;
        const MIB_Flags_t flags =
            columns(servicePortTable_column::servicePortGemId, servicePortTable_column::servicePortVlan,
                    servicePortTable_column::servicePortVlanAction);
        check(ov_app_gpon_service_port_add(&service, flags), "service port", slot, port, onu);
    }
    for (int id = 1; id <= 2; ++id) {
        auto service = row_of<ov_sRmServiceTable_attr_t>(slot, port, onu);
        service.rmServiceID = static_cast<mib_ulong>(id);
        service.sRmServiceTableRmServiceType = OV_GPON_RM_SERVICE_VLAN;
        service.sRmServiceTableGemId = 1;
        service.sRmServiceTableVlanId = 100 + id;
        MIB_Flags_t flags = columns(sRmServiceTable_column::sRmServiceTableRmServiceType,
                                    sRmServiceTable_column::sRmServiceTableGemId,
                                    sRmServiceTable_column::sRmServiceTableVlanId);
        check(ov_app_gpon_rmservice_add(&service, &flags), "service", slot, port, onu);
    }
}

void make_profile() {
    ov_sOnuSrvProfileTable_attr_t profile = {};
    profile.onuSrvProfileId = PROFILE;
    snprintf(profile.sOnuTypeProfileName, sizeof profile.sOnuTypeProfileName, "KLM-618");
    MIB_Flags_t flags = columns(sOnuSrvProfileTable_column::sOnuTypeProfileName);
    check(ov_app_gpon_onu_srvprofile_add(&profile, &flags), "profile", GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT,
          PROFILE);
    add_rows(GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE);
}

void make_learning_port(int slot, int port) {
    auto* row = static_cast<ov_sPonTable_attr_t*>(
        table_of<ov_sPonTable_attr_t>::module().create_entry_at(GPON_SHELF, slot, port));
    row->sPonTableRowStatus = OVRA_ACTIVE;
    row->sPonTableAutoLearn = 1;
    row->sPonTableAutoFlow = SPONTABLEAUTOFLOW_ENABLE;
    row->sPonTableAutoFlowConfigOnuNode = SPONTABLEAUTOFLOWCONFIGONUNODE_ENABLE;
    row->sPonTableSrvProfileID = PROFILE;
}

std::vector<double> g_holds; // of each report

// As the handler of its message does.
void learn(int slot, int port, int onu) {
    ov_gpon_autolearn_onu_attr_t report = {};
    report.onuIfindex = onu_ifindex(slot, port, static_cast<uint32_t>(onu));
    const unsigned char sn[] = {'A',
                                'B',
                                'C',
                                'D',
                                static_cast<unsigned char>(slot),
                                static_cast<unsigned char>(port),
                                0,
                                static_cast<unsigned char>(onu)};
    std::memcpy(report.sn, sn, sizeof sn);
    std::memcpy(report.vendorId, "ABCD", 4);
    std::memcpy(report.eqptId, "HOME-4", 6);
    const auto began = Clock::now();
    check(ov_app_gpon_autolearn_onu_add(&report), "learnt onu", slot, port, onu);
    g_holds.push_back(usec_since(began));
}

void provision(int slot, int port, int onu) {
    add_onu(slot, port, onu);
    add_rows(slot, port, onu);
}

double usec_per_row(void (*step)(int slot, int port, int onu)) {
    const std::vector<double> blocks = timed(1, step);
    double sum = 0;
    for (const double block : blocks)
        sum += block;
    return sum / static_cast<double>(blocks.size()) / ROWS_OF_ONU;
}

void check_all_copied() {
    for (const gpon_learnt_onu_t& onu : ov_app_gpon_onus_learnt(0, 0))
        if (onu.outcome != LearnOutcome::COPIED) {
            fprintf(stderr, "%s: %s\n", onu.sn.c_str(), onu.reason.c_str());
            exit(1);
        }
}

} // namespace

int main(int argc, char** argv) {
    const int turns = std::clamp(argc > 1 ? atoi(argv[1]) : 3, 1, 100);
    start_with_own_card();
    make_profile();
    const int slot = card_slot(0);
    for (int port = 1; port <= PORTS; ++port)
        make_learning_port(slot, port);
    double by_hand = 0;
    double learnt = 0;
    for (int turn = 0; turn < turns; ++turn) {
        const double a = usec_per_row(provision);
        timed(1, delete_onu);
        const double b = usec_per_row(learn);
        check_all_copied();
        timed(1, delete_onu);
        by_hand = turn == 0 ? a : std::min(by_hand, a);
        learnt = turn == 0 ? b : std::min(learnt, b);
    }
    std::sort(g_holds.begin(), g_holds.end());
    printf("%d ONUs with %d rows each: provisioned %.1f us a row, learnt %.1f us a row (rate %.2f)\n",
           PORTS * ONUS, ROWS, by_hand, learnt, by_hand / learnt);
    printf("a report holds the loop for %.2f ms in the median, %.2f ms in 999 of 1000, %.2f ms at most\n",
           g_holds[g_holds.size() / 2] / 1000, g_holds[g_holds.size() * 999 / 1000] / 1000,
           g_holds.back() / 1000);
    return 0;
}
