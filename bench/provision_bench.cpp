// A subscriber's service provisioned on a whole chassis, through the application's add functions and with the
// card's answers: an ONU, its T-CONT, GEM port and service port. Beside it the bare exchanges of the same
// number of bytes. See README.md.
//
//   provision_bench [--sim PATH] [SLOTS]     fills SLOTS (14) cards; --sim: cards are played by this
//   chassis-sim
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <malloc.h>
#include <sys/wait.h>

#include "bench_application.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"

namespace {

using namespace bench_application;

constexpr int EXCHANGES = 4;

void provision(int slot, int port, int onu) {
    add_onu(slot, port, onu);

    auto tcont = row_of<ov_sTcontTable_attr_t>(slot, port, onu);
    tcont.tcontId = 1;
    snprintf(tcont.sTcontTableBwProfileName, sizeof tcont.sTcontTableBwProfileName, "default");
    MIB_Flags_t flags = columns(sTcontTable_column::sTcontTableBwProfileName);
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
    print_blocks("delete", timed(cards, delete_onu), bare);
    return 0;
}
