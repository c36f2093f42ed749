// QinQ rules on a chassis that fills up: the n-th rule beside the first, with the test of what is in its way
// by itself, and the replay of a card's rules beside as many bare requests. See README.md.
//
//   qinq_bench [SLOTS]     fills SLOTS (14) cards of 16 ports with 32 rules each
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench_application.h"
#include "ov_app_gpon_qinq.h"
#include "ov_app_gpon_qinq_list.h"

namespace {

using namespace bench_application;
using Rule = ov_gpon_qinq_attr_t;

constexpr int RULES = OV_GPON_QINQ_RULES_MAX;
constexpr int TURNS = 5;

// Single VLANs, so that each rule has to be compared with all others of its port.
Rule rule_of(int slot, int port, int number) {
    Rule rule = {};
    rule.ifindex = port_ifindex(PORT_TYPE_GPON, slot, port);
    rule.opflag = ov_gpon_qinq_op(OV_GPON_ONU_QINQ_OP_USERVLAN);
    rule.user_vlan_min = static_cast<uint16_t>(1 + number);
    rule.svlan = 100;
    return rule;
}

struct PortTimes {
    double add;   // of a rule
    double check; // of one rule more
};

double check_usec(int slot, int port) {
    constexpr int CHECKS = 1000;
    const Rule rule = rule_of(slot, port, RULES + 1);
    const auto began = Clock::now();
    for (int n = 0; n < CHECKS; ++n)
        check(ov_app_gpon_qinq_check(rule), "check", slot, port, n);
    return usec_since(began) / CHECKS;
}

PortTimes fill_port(int slot, int port) {
    const auto began = Clock::now();
    for (int number = 1; number <= RULES; ++number) {
        Rule rule = rule_of(slot, port, number);
        check(ov_app_gpon_qinq_add(&rule, QINQ_SYNC_ALL), "rule", slot, port, number);
    }
    return {usec_since(began) / RULES, check_usec(slot, port)};
}

// The best of a card's ports is what the code costs.
PortTimes fill_card(int slot) {
    PortTimes best = fill_port(slot, 1);
    for (int port = 2; port <= PORTS; ++port) {
        const PortTimes times = fill_port(slot, port);
        best = {std::min(best.add, times.add), std::min(best.check, times.check)};
    }
    return best;
}

void fill_cards(const char* what, int cards) {
    std::vector<PortTimes> all;
    for (int n = 0; n < cards; ++n)
        all.push_back(fill_card(card_slot(n)));
    const PortTimes& first = all.front();
    const PortTimes& last = all.back();
    printf("%-16s a rule on the first card %.1f us, on the last %.1f us (%.2f)\n", what, first.add, last.add,
           last.add / first.add);
    printf("%-16s its test beside 32 others %.3f us, %.3f us (%.2f)\n", what, first.check, last.check,
           last.check / first.check);
}

void empty_cards(int cards) {
    for (int n = 0; n < cards; ++n)
        for (int port = 1; port <= PORTS; ++port)
            check(ov_app_gpon_port_qinq_del(port_ifindex(PORT_TYPE_GPON, card_slot(n), port)), "delete",
                  card_slot(n), port, 0);
}

double bare_requests(int slot) {
    const auto began = Clock::now();
    for (int port = 1; port <= PORTS; ++port)
        for (int number = 1; number <= RULES; ++number) {
            Rule rule = rule_of(slot, port, number);
            rule.qinqId = static_cast<uint16_t>(number);
            ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_PORT_QINQ, OV_HAL_GPON_MSG_ACTION_SET, &rule, 2, 1);
        }
    return usec_since(began);
}

double replay(int slot) {
    const auto began = Clock::now();
    check(ov_app_gpon_qinq_config_restore(slot), "replay", slot, 0, 0);
    return usec_since(began);
}

void measure_replay(int slot) {
    double best = replay(slot);
    double bare = bare_requests(slot);
    for (int turn = 1; turn < TURNS; ++turn) {
        best = std::min(best, replay(slot));
        bare = std::min(bare, bare_requests(slot));
    }
    printf("%-16s %d rules %.0f us, bare requests %.0f us (%.2f)\n", "replay", PORTS * RULES, best, bare,
           best / bare);
}

void set_operational(bool yes) {
    write_file("/tmp/operational", yes ? "1\n" : "0\n");
}

} // namespace

int main(int argc, char** argv) {
    const int cards = std::clamp(argc > 1 ? atoi(argv[1]) : 14, 1, 14);
    enter_private_place();
    set_up_platform();
    run_on_core(1); // that of the cards
    start_cards(nullptr, cards);
    run_on_core(0);
    start_application(cards);
    set_operational(false);
    fill_cards("at the start", cards);
    empty_cards(cards);
    set_operational(true);
    fill_cards("in operation", cards);
    measure_replay(card_slot(0));
    return 0;
}
