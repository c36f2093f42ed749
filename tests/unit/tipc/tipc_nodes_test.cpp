// The named IPC between two nodes of a cluster, over the kernel's own TIPC.
#include "../ov_ipc/ipc_fixture.h"
#include "two_nodes.h"
#include "wi_nameserver.h"

#include <unistd.h>

namespace {

constexpr uint32_t OWN = 11101;
constexpr uint32_t CARD = 10103;

// The body on a kernel with TIPC; elsewhere there is no second node.
void on_a_cluster(const std::function<void()>& body) {
    if (!carrier::is_tipc())
        GTEST_SKIP() << "needs a kernel with TIPC (./test --vm)";
    in_private_network(body);
}

// A card's agent: answers requests with themselves, one after the other.
void answer_for_ever() {
    const Peer card(101, CARD);
    for (;;) {
        const Bytes request = card.receive();
        if (request.size() > 28)
            card.reply(request, Bytes(request.begin() + 28, request.end()));
    }
}

// The next event of the card's name.
int next_event(wi_ns_topology_t* topology) {
    ipc_ns_event_st event = {};
    EXPECT_EQ(ipcTopologyReceive(topology, &event, 60), IPC_RC_SUCCESS);
    EXPECT_EQ(event.serv_id, 101u);
    EXPECT_EQ(event.sub_id, CARD);
    return event.ipc_ns_ev;
}

int ask(int handle) {
    SendBuffer buf("question");
    Bytes reply(IPC_HDR_SIZE + 64);
    return ipcSyncSend(handle, 101, CARD, buf.msg(), buf.size(), reply.data() + IPC_HDR_SIZE, 64, 10,
                       nullptr);
}

} // namespace

TEST(TipcNodes, ACardOnAnotherNodeIsHeardOfAskedAndGoneWithItsLink) {
    on_a_cluster([] {
        const int own = registered(101, OWN);
        wi_ns_topology_t* topology = nullptr;
        ASSERT_EQ(ipcTopologyNotificationRegisterSubId(101, CARD, 0, &topology), IPC_RC_SUCCESS);
        EXPECT_EQ(ask(own), IPC_RC_MSG_RTRNED); // nobody yet
        const OtherNode other(answer_for_ever);
        EXPECT_EQ(next_event(topology), IPC_SERV_PUBLISHED);
        for (int n = 0; n < 100; n++)
            ASSERT_EQ(ask(own), 8);
        OtherNode::cut();
        EXPECT_EQ(next_event(topology), IPC_SERV_WITHDRAWN);
        EXPECT_EQ(ask(own), IPC_RC_MSG_RTRNED);
        ipcTopologyUnregister(topology);
    });
}

TEST(TipcNodes, ACardThatDiesWithTheRequestEndsTheWait) {
    on_a_cluster([] {
        const int own = registered(101, OWN);
        wi_ns_topology_t* topology = nullptr;
        ASSERT_EQ(ipcTopologyNotificationRegisterSubId(101, CARD, 0, &topology), IPC_RC_SUCCESS);
        const OtherNode other([] {
            const Peer card(101, CARD);
            while (!card.waiting())
                usleep(1000);
        });
        EXPECT_EQ(next_event(topology), IPC_SERV_PUBLISHED);
        EXPECT_EQ(ask(own), IPC_RC_MSG_RTRNED);
        ipcTopologyUnregister(topology);
    });
}

TEST(TipcKernel, NamesThatComeAndGoAreTold) {
    on_a_cluster([] {
        wi_ns_topology_t* topology = nullptr;
        ASSERT_EQ(ipcTopologyNotificationRegister(101, &topology), IPC_RC_SUCCESS);
        {
            const Peer card(101, CARD);
            EXPECT_EQ(next_event(topology), IPC_SERV_PUBLISHED);
        }
        EXPECT_EQ(next_event(topology), IPC_SERV_WITHDRAWN);
        ipcTopologyUnregister(topology);
    });
}
