// QoS on a chassis that is full of ONUs: a profile bound to an ONU and to a port beside the bare round trip
// of its message, what the objects of service ports cost in memory, and the replay of all that to a card
// beside as many bare sends. See README.md.
//
//   qos_bench [SLOTS]     fills SLOTS (14) cards, 2048 ONUs each
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include <malloc.h>

#include "avltree.h"
#include "bench_application.h"
#include "hal_outbox.h"
#include "hal_sock.h"
#include "ov_app_gpon_qos.h"
#include "servicePortTable.h"

namespace {

using namespace bench_application;
using Message = ov_gpon_onu_qos_attr_t;

constexpr int TURNS = 5; // the best of them counts: where one falls on a busy machine is luck
constexpr uint32_t PROFILE = 1;
constexpr int SERVICE_PORTS = 4; // of an ONU
constexpr int OBJECTS = 112000;

double usec_of(const std::function<void()>& act) {
    const auto began = Clock::now();
    act();
    return usec_since(began);
}

void check_qos(int result, const char* what) {
    check(result == OV_QOS_OK ? OV_GPON_RET_OK : result, what, 0, 0, 0);
}

void add_profiles() {
    auto* scheduler = ov_app_qos_sched_profile_new();
    ov_app_qos_sched_profile_edit_id(scheduler, PROFILE);
    check_qos(ov_app_qos_sched_profile_add(scheduler, SYNC_EVERY_COPY), "scheduler profile");
    auto* map = ov_app_cos_to_cos_map_profile_new();
    ov_app_cos_to_cos_map_profile_edit_id(map, PROFILE);
    check_qos(ov_app_cos_to_cos_mapping_profile_add(map, SYNC_EVERY_COPY), "COS-to-COS profile");
}

// ---- a binding --------------------------------------------------------------------------------------------

constexpr int BINDINGS = 2000;

void bare_round_trip(int slot) {
    Message record = {};
    record.onuIfindex = onu_ifindex(slot, 1, 1);
    ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_ONU_QOS, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 1);
}

void bind_onu(int slot, int n) {
    auto* qos = ov_app_find_onu_qos_by_ifindex(onu_ifindex(slot, PORTS, static_cast<uint32_t>(1 + n % ONUS)));
    ov_app_onu_qos_edit_sched_profile(qos, n / ONUS % 2 == 0 ? PROFILE : 0);
    check_qos(ov_app_onu_qos_set(qos, SYNC_EVERY_COPY), "binding of an ONU");
}

void bind_port(int slot, int n) {
    auto* qos = ov_app_find_port_qos_by_ifindex(port_ifindex(PORT_TYPE_GPON, slot, PORTS));
    ov_app_port_qos_edit_qos_sched_profile(qos, n % 2 == 0 ? PROFILE : 0);
    check_qos(ov_app_port_qos_set(qos, SYNC_EVERY_COPY), "binding of a port");
}

void add_port_objects(int slot) {
    for (int port = 1; port <= PORTS; ++port) {
        auto* qos = ov_app_port_qos_new();
        ov_app_port_qos_edit_ifindex(qos, port_ifindex(PORT_TYPE_GPON, slot, port));
        check_qos(ov_app_port_qos_add(qos, SYNC_EVERY_COPY), "QoS of a port");
    }
}

void measure_binding(const char* what, int slot, void (*bind)(int slot, int n)) {
    double binding = 0;
    double bare = 0;
    uint32_t messages = 0;
    for (int turn = 0; turn < TURNS; ++turn) {
        const uint32_t before = sync_msg_seq;
        const double a = usec_of([&] {
            for (int n = 0; n < BINDINGS; ++n)
                bind(slot, n);
        });
        messages = sync_msg_seq - before;
        const double b = usec_of([&] {
            for (int n = 0; n < BINDINGS; ++n)
                bare_round_trip(slot);
        });
        binding = turn == 0 ? a : std::min(binding, a);
        bare = turn == 0 ? b : std::min(bare, b);
    }
    printf("binding to %s among %zu ONUs: %.1f us, %.2f messages, bare %.1f us (%.2f)\n", what,
           g_onu_qos_list.size(), binding / BINDINGS, messages / double(BINDINGS), bare / BINDINGS,
           binding / bare);
}

// ---- service ports ----------------------------------------------------------------------------------------

size_t allocated() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

ov_app_service_port_qos_s* add_service_port(ov_ifindex_t index) {
    auto* qos = ov_app_service_port_qos_new();
    ov_app_service_port_qos_edit_index(qos, index);
    check_qos(ov_app_service_port_qos_add(qos, SYNC_HAL | SYNC_APP), "QoS of a service port");
    return qos;
}

// The tree with its pool included, which is there from the start.
void measure_service_ports() {
    avl_finish(g_service_port_qos_avl_entry);
    g_service_port_qos_avl_entry = nullptr;
    const size_t before = allocated();
    const double usec = usec_of([] {
        for (ov_ifindex_t n = 1; n <= OBJECTS; ++n)
            add_service_port(n);
    });
    const double each = double(allocated() - before) / OBJECTS;
    const double limit = 1.25 * sizeof(ov_app_service_port_qos_s) + 64;
    printf("%d objects of service ports: %.1f bytes each (%.2f of the limit of %.0f), %.2f us to add one\n",
           avl_get_tree_size(g_service_port_qos_avl_entry), each, each / limit, limit, usec / OBJECTS);
    for (ov_ifindex_t n = 1; n <= OBJECTS; ++n)
        ov_app_service_port_qos_del(ov_app_find_service_port_qos_by_ifindex(n), SYNC_APP);
}

// ---- replay -----------------------------------------------------------------------------------------------

template <typename Act>
void for_each_onu(int slot, Act act) {
    for (int port = 1; port <= PORTS; ++port)
        for (int onu = 1; onu <= ONUS; ++onu)
            act(row_of<ov_servicePortTable_attr_t>(slot, port, onu));
}

void give_every_onu_qos(int slot) {
    for_each_onu(slot, [](const ov_servicePortTable_attr_t& key) {
        auto* qos = ov_app_find_onu_qos_by_ifindex(onu_ifindex_of(key));
        ov_app_onu_qos_edit_sched_profile(qos, PROFILE);
        ov_app_onu_qos_edit_bw(qos, 1000, 2000);
        check_qos(ov_app_onu_qos_set(qos, SYNC_EVERY_COPY), "QoS of an ONU");
        for (mib_ulong id = 1; id <= SERVICE_PORTS; ++id) {
            auto* service_port = add_service_port(service_port_ifindex(key, id));
            ov_app_service_port_qos_edit_cos_to_cos(service_port, PROFILE, QOS_UP_LINK);
            check_qos(ov_app_service_port_qos_set(service_port, SYNC_HAL), "COS to COS");
        }
    });
}

// Until the card has read everything: a request goes behind it.
void wait_for_card(int slot) {
    hal_outbox_drain(static_cast<unsigned>(slot), Clock::now() + std::chrono::seconds(10));
    bare_round_trip(slot);
}

// The same messages from memory.
double bare_sends(int slot) {
    struct OfOnu {
        Message qos;
        ov_gpon_service_port_attr_t service_ports[SERVICE_PORTS];
    };
    std::vector<OfOnu> messages;
    for_each_onu(slot, [&messages](const ov_servicePortTable_attr_t& key) {
        OfOnu& made = messages.emplace_back();
        made.qos.onuIfindex = onu_ifindex_of(key);
        for (mib_ulong id = 1; id <= SERVICE_PORTS; ++id)
            made.service_ports[id - 1].ifindex = service_port_ifindex(key, id);
    });
    return usec_of([&] {
        for (OfOnu& each : messages) {
            ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_ONU_QOS, OV_HAL_GPON_MSG_ACTION_SET, &each.qos, 0x34, 0);
            for (auto& service_port : each.service_ports)
                ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_SERVPORT, OV_HAL_GPON_MSG_ACTION_SET, &service_port,
                                     1 << OV_GPON_SERVICE_PORT_ATTR_INDEX_cos_to_cos, 0);
        }
        wait_for_card(slot);
    });
}

void measure_replay(int slot) {
    double replay = 0;
    double bare = 0;
    uint32_t messages = 0;
    for (int turn = 0; turn < TURNS; ++turn) {
        const uint32_t before = async_msg_seq;
        const double a = usec_of([&] {
            ov_app_onu_qos_config_restore(slot);
            wait_for_card(slot);
        });
        messages = async_msg_seq - before;
        const double b = bare_sends(slot);
        replay = turn == 0 ? a : std::min(replay, a);
        bare = turn == 0 ? b : std::min(bare, b);
    }
    printf("replay of a card's QoS: %u messages in %.1f ms, bare %.1f ms (%.2f)\n", messages, replay / 1000,
           bare / 1000, replay / bare);
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
    measure_service_ports();
    timed(cards, add_onu);
    add_profiles();
    const int slot = card_slot(cards - 1);
    add_port_objects(slot);
    measure_binding("an ONU", slot, bind_onu);
    measure_binding("a port", slot, bind_port);
    give_every_onu_qos(slot);
    measure_replay(slot);
    return 0;
}
