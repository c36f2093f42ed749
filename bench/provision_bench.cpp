// A subscriber's service provisioned on a whole chassis, through the application's add functions and with the
// card's answers: an ONU, its T-CONT, GEM port and service port. Beside it the bare exchanges of the same
// number of bytes. See README.md.
//
//   provision_bench [--sim PATH] [SLOTS]     fills SLOTS (14) cards; --sim: cards are played by this
//   chassis-sim
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <malloc.h>
#include <sys/wait.h>

#include "app_modules.h"
#include "app_rows.h"
#include "bench_place.h"
#include "hal_slot.h"
#include "hal_sock_tipc.h"
#include "kavo_frr.h"
#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"
#include "ov_gpon.h"
#include "ov_slot.h"
#include "table_module.h"
#include "table_modules.h"

namespace {

using namespace bench_place;
using Clock = std::chrono::steady_clock;

constexpr int PORTS = 16;
constexpr int ONUS = 128;
constexpr int EXCHANGES = 4;
constexpr int BLOCK = 500; // ONUs that are timed together; the best block is what the code costs

double usec_since(Clock::time_point began) {
    return std::chrono::duration<double, std::micro>(Clock::now() - began).count();
}

// Slots of line cards: all but those of the two control cards.
int card_slot(int n) {
    return n < 7 ? n + 1 : n + 3;
}

// Where the scheduler puts the two ends matters more than all else, so it isn't left to the scheduler.
void run_on_core(int core) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    sched_setaffinity(0, sizeof cores, &cores);
}

void start_cards(const char* sim, int cards) {
    if (sim) {
        std::string scenario = "card-board 8\n";
        for (int n = 0; n < cards; ++n)
            scenario += "card " + std::to_string(card_slot(n)) + " add\n";
        write_file("/tmp/cards.scn", scenario + "mono-ready 1\n");
        if (fork() == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            execl(sim, sim, "--scenario", "/tmp/cards.scn", "--control", "/tmp/sim.ctl", nullptr);
            perror(sim);
            _exit(1);
        }
    } else {
        for (int n = 0; n < cards; ++n)
            if (fork() == 0)
                be_echoing_card(static_cast<uint32_t>(card_slot(n)));
    }
    usleep(300000);
}

void start_application(int cards) {
    ov_slot_init();
    ov_gpon_const_val_init();
    hal_init(HAL_GPON, thread_master_create("bench"), nullptr);
#define OV_TABLE_INIT(function) function();
#include "table_init_list.def"
#undef OV_TABLE_INIT
#define OV_APP_INIT(function) function();
#include "app_init_list.def"
#undef OV_APP_INIT
    for (int n = 0; n < cards; ++n)
        hal_slot_active_flag_set(__func__, __LINE__, static_cast<uint16_t>(card_slot(n)));
    ov_app_gpon_bwtype_add_default();
    ov_app_gpon_profile_onutype_add_default();
}

void check(int result, const char* what, int slot, int port, int onu) {
    if (result == OV_GPON_RET_OK)
        return;
    fprintf(stderr, "%s %d/%d:%d refused: %d\n", what, slot, port, onu, result);
    exit(1);
}

template <typename Row>
Row row_of(int slot, int port, int onu) {
    Row row = {};
    row.shelfID = GPON_SHELF;
    row.slotID = slot;
    row.portID = port;
    row.onuId = onu;
    return row;
}

template <typename... Column>
MIB_Flags_t columns(Column... column) {
    MIB_Flags_t flags = {};
    (mib_flag_set(flags, column), ...);
    return flags;
}

void provision(int slot, int port, int onu) {
    auto row = row_of<ov_sOnuTable_attr_t>(slot, port, onu);
    row.sOnuTableAuthMode = OV_GPON_ONU_AUTH_MODE_SN;
    snprintf(row.sOnuTableSn, sizeof row.sOnuTableSn, "ABCD%02x%02x%04x", slot, port, onu);
    snprintf(row.sOnuTableOnuTypeProfileName, sizeof row.sOnuTableOnuTypeProfileName, "KLM-618");
    MIB_Flags_t flags = columns(sOnuTable_column::sOnuTableAuthMode, sOnuTable_column::sOnuTableSn,
                                sOnuTable_column::sOnuTableOnuTypeProfileName);
    check(ov_app_gpon_onu_add(&row, &flags, 1), "onu", slot, port, onu);

    auto tcont = row_of<ov_sTcontTable_attr_t>(slot, port, onu);
    tcont.tcontId = 1;
    snprintf(tcont.sTcontTableBwProfileName, sizeof tcont.sTcontTableBwProfileName, "default");
    flags = columns(sTcontTable_column::sTcontTableBwProfileName);
    check(ov_app_gpon_tcont_add(&tcont, &flags, 1), "tcont", slot, port, onu);

    auto gem = row_of<ov_sGemTable_attr_t>(slot, port, onu);
    gem.gemID = 1;
    gem.sGemTableTcontID = 1;
    flags = columns(sGemTable_column::sGemTableTcontID);
    check(ov_app_gpon_gemport_add(&gem, &flags, 1), "gemport", slot, port, onu);

    auto service = row_of<ov_servicePortTable_attr_t>(slot, port, onu);
    service.servicePortId = 1;
    service.servicePortGemId = 1;
    service.servicePortVlan = 100;
    service.servicePortVlanAction = SERVICEPORTVLANACTION_XLATE;
    flags = columns(servicePortTable_column::servicePortGemId, servicePortTable_column::servicePortVlan,
                    servicePortTable_column::servicePortVlanAction);
    check(ov_app_gpon_service_port_add(&service, flags), "service port", slot, port, onu);
}

void deprovision(int slot, int port, int onu) {
    auto row = row_of<ov_sOnuTable_attr_t>(slot, port, onu);
    check(ov_app_gpon_onu_del(&row), "delete of onu", slot, port, onu);
}

// The time per ONU of each block, in the order of the walk over cards, ports and ONUs.
std::vector<double> timed(int cards, void (*step)(int slot, int port, int onu)) {
    std::vector<double> blocks;
    int in_block = 0;
    auto began = Clock::now();
    for (int n = 0; n < cards; ++n)
        for (int port = 1; port <= PORTS; ++port)
            for (int onu = 1; onu <= ONUS; ++onu) {
                step(card_slot(n), port, onu);
                if (++in_block == BLOCK) {
                    blocks.push_back(usec_since(began) / BLOCK);
                    in_block = 0;
                    began = Clock::now();
                }
            }
    return blocks;
}

// Median of a bare request and reply of a provisioning message's size between two processes.
double bare_exchange_usec(int cores) {
    constexpr uint32_t SLOT = 18;
    const pid_t echo = fork();
    if (echo == 0) {
        run_on_core(cores == 1 ? 0 : 1);
        be_echoing_card(SLOT);
    }
    usleep(100000);
    const int fd = bound_socket("ov_ipc/20000/1");
    std::array<unsigned char, IPC_HEADER + 52 + 8 + 168> request = {};
    set_word(&request[8], 1);
    set_word(&request[12], 1000);
    set_word(&request[16], 1);
    std::array<unsigned char, 4096> reply;
    const Address card(card_name(SLOT));
    std::vector<double> took(50000);
    for (double& t : took) {
        const auto began = Clock::now();
        sendto(fd, request.data(), request.size(), 0, card.get(), card.len);
        if (recv(fd, reply.data(), reply.size(), 0) < 0)
            exit(1);
        t = usec_since(began);
    }
    close(fd);
    kill(echo, SIGTERM);
    waitpid(echo, nullptr, 0);
    std::nth_element(took.begin(), took.begin() + 25000, took.end());
    return took[25000];
}

// Median of one message of the daemon's to a card and its answer, without any application around it.
double send_usec() {
    ov_gpon_tcont_attr_t record = {};
    record.onuIfindex = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, 1, 0, 1, 1);
    std::vector<double> took(50000);
    for (double& t : took) {
        const auto began = Clock::now();
        ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_TCONT, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 1);
        t = usec_since(began);
    }
    std::nth_element(took.begin(), took.begin() + 25000, took.end());
    return took[25000];
}

size_t resident_bytes() {
    size_t pages = 0;
    size_t resident = 0;
    if (FILE* file = fopen("/proc/self/statm", "r")) {
        if (fscanf(file, "%zu %zu", &pages, &resident) != 2)
            resident = 0;
        fclose(file);
    }
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

void print_memory(size_t before) {
    printf("memory %.1f MB more than at the start; by table, rows and record bytes:\n",
           static_cast<double>(resident_bytes() - before) / 1e6);
    for (const TableModule* table : table_module_list())
        if (table->row_count() > 256)
            printf("  %-24s %8d rows  %4d B  %7.1f MB\n", table->name(), table->row_count(),
                   table->desc().entry_size,
                   static_cast<double>(table->row_count()) * table->desc().entry_size / 1e6);
}

void print_blocks(const char* what, const std::vector<double>& blocks, double bare) {
    const double first = blocks.front();
    const double last = blocks.back();
    const double sum = [&] {
        double all = 0;
        for (const double block : blocks)
            all += block;
        return all;
    }();
    const double mean = sum / static_cast<double>(blocks.size());
    const double best = *std::min_element(blocks.begin(), blocks.end());
    printf("%-10s per ONU: first %d %.1f us, last %d %.1f us (%.2f), mean %.1f us, best %.1f us, %.2f of %d "
           "bare exchanges\n",
           what, BLOCK, first, BLOCK, last, last / first, mean, best, best / (EXCHANGES * bare), EXCHANGES);
}

} // namespace

int main(int argc, char** argv) {
    const char* sim = nullptr;
    int cards = 14;
    int cores = 2;
    for (int n = 1; n < argc; ++n) {
        if (strcmp(argv[n], "--sim") == 0 && n + 1 < argc)
            sim = argv[++n];
        else if (strcmp(argv[n], "--cores") == 0 && n + 1 < argc)
            cores = atoi(argv[++n]);
        else
            cards = std::clamp(atoi(argv[n]), 1, 14);
    }
    enter_private_place();
    set_up_platform();
    run_on_core(cores == 1 ? 0 : 1); // that of the cards
    start_cards(sim, cards);
    run_on_core(0);
    start_application(cards);
    const double bare = bare_exchange_usec(cores);
    printf("bare exchange %.2f us, the daemon's %.2f us; %d cards played by %s\n", bare, send_usec(), cards,
           sim ? "chassis-sim" : "an echo");
    const size_t before = resident_bytes();
    print_blocks("provision", timed(cards, provision), bare);
    print_memory(before);
    print_blocks("delete", timed(cards, deprovision), bare);
    return 0;
}
