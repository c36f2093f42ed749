// The pass that ends an interval of the ONUs' counters, over cards that take their time for each answer and
// over cards that don't. See README.md.
//
//   pm_bench [SLOTS]     up to SLOTS (14) cards, 2048 ONUs each
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <functional>

#include <poll.h>
#include <sys/mman.h>

#include "bench_application.h"
#include "ov_app_gpon_pm_onu.h"
#include "ov_hal_gpon_msg.h"
#include "pm_pass.h"

namespace {

using namespace bench_application;
using std::chrono::microseconds;

constexpr int ROWS = PORTS * ONUS; // of a card
constexpr microseconds ANSWER_TIME{2000};

// What all cards take for an answer, in microseconds; of all processes.
std::atomic<int>* answer_time = nullptr;

// ---- cards ------------------------------------------------------------------------------------------------

struct Answer {
    Clock::time_point due;
    std::vector<unsigned char> frame;
};

void send_answer(int fd, std::vector<unsigned char>& frame) {
    const Address to("ov_ipc/" + std::to_string(word(&frame[12]) + 19000) + "/" +
                     std::to_string(word(&frame[16])));
    set_word(&frame[8], 2);
    sendto(fd, frame.data(), frame.size(), 0, to.get(), to.len);
}

void wait_for_work(int fd, const std::deque<Answer>& answers) {
    pollfd p = {.fd = fd, .events = POLLIN, .revents = 0};
    if (answers.empty()) {
        poll(&p, 1, -1);
        return;
    }
    const auto left = std::max(answers.front().due - Clock::now(), Clock::duration::zero());
    const timespec wait = {.tv_sec = 0, .tv_nsec = static_cast<long>(std::chrono::nanoseconds(left).count())};
    ppoll(&p, 1, &wait, nullptr);
}

// Works on all that it has been asked at once, and answers each request with itself when its time is over.
[[noreturn]] void be_busy_card(uint32_t slot) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    prctl(PR_SET_TIMERSLACK, 1000);
    const int fd = bound_socket(card_name(slot));
    std::deque<Answer> answers;
    for (;;) {
        wait_for_work(fd, answers);
        std::vector<unsigned char> frame(4096);
        for (;;) {
            const ssize_t got = recv(fd, frame.data(), frame.size(), MSG_DONTWAIT);
            if (got < 0)
                break;
            if (got < ssize_t(IPC_HEADER + 52) || word(&frame[8]) != 1)
                continue;
            answers.push_back(
                {Clock::now() + microseconds(answer_time->load()), {frame.begin(), frame.begin() + got}});
        }
        while (!answers.empty() && answers.front().due <= Clock::now()) {
            send_answer(fd, answers.front().frame);
            answers.pop_front();
        }
    }
}

void start_busy_cards(int cards) {
    void* shared =
        mmap(nullptr, sizeof *answer_time, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    answer_time = new (shared) std::atomic<int>(0);
    for (int n = 0; n < cards; ++n)
        if (fork() == 0)
            be_busy_card(static_cast<uint32_t>(card_slot(n)));
    usleep(300000);
}

void fill(int card) {
    TableModule& table = table_of<ov_onuPmTable_attr_t>::module();
    for (int port = 1; port <= PORTS; ++port)
        for (int onu = 1; onu <= ONUS; ++onu) {
            auto* row = static_cast<ov_onuPmTable_attr_t*>(
                table.create_entry_at(GPON_SHELF, card_slot(card), port, onu));
            row->opmRowStatus = row->old_opmRowStatus = OVRA_ACTIVE;
        }
}

// ---- passes -----------------------------------------------------------------------------------------------

double cpu_usec() {
    timespec used = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

struct Pass {
    double usec;
    double cpu;
    double held;     // the longest event of the loop
    double held_cpu; // and the one that took most of the processor
};

Pass run_pass() {
    Pass pass = {};
    const double cpu = cpu_usec();
    const auto began = Clock::now();
    get_onu_pm_data_task();
    pass.held = usec_since(began);
    struct thread event;
    while (ONU_PM.pass().running() && thread_fetch(loop(), &event)) {
        const auto at = Clock::now();
        const double at_cpu = cpu_usec();
        thread_call(&event);
        pass.held = std::max(pass.held, usec_since(at));
        pass.held_cpu = std::max(pass.held_cpu, cpu_usec() - at_cpu);
    }
    pass.usec = usec_since(began);
    pass.cpu = cpu_usec() - cpu;
    for (const auto& row : all_rows<ov_onuPmTable_attr_t>())
        check(row.opmDataValid == OPMDATAVALID_AVAILABLE ? 0 : 1, "row", row.slotID, row.portID, row.onuId);
    return pass;
}

// The best of some turns.
Pass best_pass() {
    constexpr int TURNS = 5;
    Pass best = run_pass();
    for (int turn = 1; turn < TURNS; ++turn) {
        const Pass pass = run_pass();
        best = {std::min(best.usec, pass.usec), std::min(best.cpu, pass.cpu), std::max(best.held, pass.held),
                std::max(best.held_cpu, pass.held_cpu)};
    }
    return best;
}

// The processor time of an exchange that waits, with the same message.
double bare_exchange() {
    constexpr int TURNS = 5;
    double best = 0;
    for (int turn = 0; turn < TURNS; ++turn) {
        const double cpu = cpu_usec();
        for (int n = 0; n < ROWS; ++n) {
            ov_gpon_onu_pkt_sta_attr_t record = {};
            record.index.ifIndex = onu_ifindex(card_slot(0), 1 + n / ONUS, uint32_t(1 + n % ONUS));
            check(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_PM_ONU, OV_HAL_GPON_MSG_ACTION_GET, &record, 0, 1),
                  "exchange", card_slot(0), 1, n);
        }
        const double used = (cpu_usec() - cpu) / ROWS;
        best = turn == 0 ? used : std::min(best, used);
    }
    return best;
}

} // namespace

int main(int argc, char** argv) {
    const int cards = std::clamp(argc > 1 ? atoi(argv[1]) : 14, 1, 14);
    enter_private_place();
    set_up_platform();
    run_on_core(1); // that of the cards
    start_busy_cards(cards);
    run_on_core(0);
    start_application(cards);
    const double bare = bare_exchange();
    fill(0);
    const Pass quick = best_pass();
    answer_time->store(int(ANSWER_TIME.count()));
    const Pass one = best_pass();
    for (int n = 1; n < cards; ++n)
        fill(n);
    const Pass all = best_pass();
    const double answers = double(ROWS) * double(ANSWER_TIME.count());
    printf("processor time: bare exchange %.1f us, a row of a pass %.1f us (%.2f)\n", bare, quick.cpu / ROWS,
           quick.cpu / ROWS / bare);
    printf("one card, 2 ms an answer: %.0f ms, %.3f of the answers' sum\n", one.usec / 1000,
           one.usec / answers);
    printf("%d cards: %.0f ms (%.2f of one), %.1f us of processor time a row\n", cards, all.usec / 1000,
           all.usec / one.usec, all.cpu / ROWS / cards);
    printf("the loop was held for %.1f ms at most, %.1f ms of processor time\n", all.held / 1000,
           all.held_cpu / 1000);
    return 0;
}
