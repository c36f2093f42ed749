// The named IPC over TIPC: what the carrier asks of the kernel and makes of its answers.
#include "../ov_ipc/ipc_fixture.h"
#include "fake_tipc.h"
#include "wi_nameserver.h"

#include <thread>

#include <fcntl.h>
#include <poll.h>

namespace {

constexpr uint32_t OWN = 11101;
constexpr uint32_t CARD = 10103;

sockaddr_tipc address(uint32_t serv, uint32_t sub) {
    sockaddr_tipc name = {};
    name.family = AF_TIPC;
    name.addrtype = TIPC_SERVICE_ADDR;
    name.scope = TIPC_CLUSTER_SCOPE;
    name.addr.name.name = {serv + 19000, sub};
    return name;
}

// A card agent that knows the kernel's calls and the bytes.
class TipcPeer {
public:
    TipcPeer(uint32_t serv, uint32_t sub) : sock_(open_small()) {
        const sockaddr_tipc name = address(serv, sub);
        EXPECT_EQ(bind(sock_, reinterpret_cast<const sockaddr*>(&name), sizeof(name)), 0);
    }
    ~TipcPeer() { leave(); }
    TipcPeer(const TipcPeer&) = delete;
    TipcPeer& operator=(const TipcPeer&) = delete;

    void leave() {
        if (sock_ >= 0)
            close(sock_);
        sock_ = -1;
    }
    // The next frame; waits for it.
    Bytes receive() const {
        Bytes bytes(70000);
        iovec part = {bytes.data(), bytes.size()};
        msghdr msg = {};
        msg.msg_iov = &part;
        msg.msg_iovlen = 1;
        const ssize_t length = recvmsg(sock_, &msg, 0);
        bytes.resize(length < 0 ? 0 : size_t(length));
        return bytes;
    }
    void send(uint32_t serv, uint32_t sub, const Bytes& bytes) const {
        const sockaddr_tipc to = address(serv, sub);
        EXPECT_EQ(sendto(sock_, bytes.data(), bytes.size(), MSG_DONTWAIT,
                         reinterpret_cast<const sockaddr*>(&to), sizeof(to)),
                  ssize_t(bytes.size()));
    }
    void reply(const Bytes& request, const Bytes& msg) const {
        send(word(request, 12), word(request, 16), frame(IPC_REPLY, word(request, 20), msg));
    }

private:
    // A kernel's own size takes thousands of messages.
    static int open_small() {
        const int sock = socket(AF_TIPC, SOCK_RDM | SOCK_CLOEXEC, 0);
        const int size = 0x4000;
        setsockopt(sock, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
        return sock;
    }
    int sock_;
};

wi_ipc_register_result_st& sockets_of(int handle) {
    return IPC_service_reg_data.at(size_t(handle)).sockets;
}

int send_text(int handle, const char* text, uint32_t* id = nullptr) {
    SendBuffer buf(text);
    return ipcSend(handle, 101, CARD, buf.msg(), buf.size(), id);
}

// Sends a request that the card at the other end treats as told.
int ask(int handle, const std::function<void(const Bytes&)>& card, const TipcPeer& peer) {
    std::thread agent([&] { card(peer.receive()); });
    SendBuffer buf("question");
    Bytes reply(IPC_HDR_SIZE + 64);
    const int rc = ipcSyncSend(handle, 101, CARD, buf.msg(), buf.size(), reply.data() + IPC_HDR_SIZE, 64, 30,
                               [](void*, int, int) { return 0; });
    agent.join();
    return rc;
}

} // namespace

// ---- registrations ---------------------------------------------------------------------------------

TEST(TipcCarrier, BindsTheNameForTheClusterAndSendsFromASocketWithoutOne) {
    fake_tipc::run([] {
        const auto& sockets = sockets_of(registered(101, OWN));
        EXPECT_STREQ(sockets.carrier->name(), "tipc");
        const fake_tipc::Told receiver = fake_tipc::told(sockets.rcv_sock);
        ASSERT_EQ(receiver.names.size(), 1u);
        const sockaddr_tipc& name = receiver.names[0];
        EXPECT_EQ(name.addrtype, TIPC_SERVICE_ADDR);
        EXPECT_EQ(name.scope, TIPC_CLUSTER_SCOPE);
        EXPECT_EQ(name.addr.name.name.type, 19101u);
        EXPECT_EQ(name.addr.name.name.instance, OWN);
        EXPECT_EQ(name.addr.name.domain, 0u);
        EXPECT_TRUE(fake_tipc::told(sockets.snd_sock).names.empty());
    });
}

TEST(TipcCarrier, SetsImportanceBuffersAndTheReturnOfMessagesOnBothSockets) {
    fake_tipc::run([] {
        const auto& sockets = sockets_of(registered(101, OWN));
        for (const int sock : {sockets.rcv_sock, sockets.snd_sock}) {
            const fake_tipc::Told told = fake_tipc::told(sock);
            EXPECT_EQ(told.type, SOCK_RDM);
            EXPECT_EQ(told.importance, 1u);
            EXPECT_EQ(told.dest_droppable, 0u);
            EXPECT_EQ(told.receive_buffer, 0xa0000);
            EXPECT_EQ(told.send_buffer, 0xa0000);
            EXPECT_NE(fcntl(sock, F_GETFD) & FD_CLOEXEC, 0);
        }
    });
}

TEST(TipcCarrier, IsTakenUnaskedWhereTheKernelHasTipc) {
    fake_tipc::run([] {
        unsetenv("OV_IPC_CARRIER"); // NOLINT(concurrency-mt-unsafe)
        const LogCapture log;
        EXPECT_STREQ(sockets_of(registered(101, OWN)).carrier->name(), "tipc");
        EXPECT_TRUE(log.lines().empty());
    });
}

TEST(TipcCarrier, ANameIsGoneWithItsRegistration) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const int other = registered(101, CARD);
        EXPECT_EQ(send_text(own, "x"), IPC_RC_SUCCESS);
        EXPECT_EQ(receive_on(other).rc, 1);
        EXPECT_EQ(ipcModifyService(other, 101, CARD + 1, 0), IPC_RC_SUCCESS);
        EXPECT_EQ(send_text(own, "x"), IPC_RC_MSG_RTRNED);
        EXPECT_EQ(ipcUnregisterService(other), IPC_RC_SUCCESS);
    });
}

TEST(TipcCarrier, CountsTheMessagesThatWait) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const int card = registered(101, CARD);
        uint32_t depth = 9;
        EXPECT_EQ(ipcGetQueueDepth(card, &depth), IPC_RC_SUCCESS);
        EXPECT_EQ(depth, 0u);
        for (int n = 0; n < 3; n++)
            EXPECT_EQ(send_text(own, "x"), IPC_RC_SUCCESS);
        EXPECT_EQ(ipcGetQueueDepth(card, &depth), IPC_RC_SUCCESS);
        EXPECT_EQ(depth, 3u);
    });
}

// ---- sending and receiving ---------------------------------------------------------------------------

TEST(TipcCarrier, AFrameIsOneMessageWithItsHeaderInFront) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const TipcPeer peer(101, CARD);
        uint32_t id = 0;
        EXPECT_EQ(send_text(own, "hello", &id), IPC_RC_SUCCESS);
        const Bytes got = peer.receive();
        ASSERT_EQ(got.size(), 33u);
        EXPECT_EQ(word(got, 0), 0xface01bcu);
        EXPECT_EQ(word(got, 12), 101u);
        EXPECT_EQ(word(got, 16), OWN);
        EXPECT_EQ(word(got, 20), id);
        EXPECT_EQ(Bytes(got.begin() + 28, got.end()), bytes_of("hello"));
    });
}

TEST(TipcCarrier, ARequestGetsItsReply) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const TipcPeer peer(101, CARD);
        EXPECT_EQ(ask(
                      own, [&](const Bytes& request) { peer.reply(request, bytes_of("answer")); }, peer),
                  6);
    });
}

TEST(TipcCarrier, WhatTheKernelRefusesHasItsResult) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const TipcPeer peer(101, CARD);
        for (const auto& [error, rc] : {std::pair{EAGAIN, IPC_RC_SND_BUFF_FULL},
                                        {EMSGSIZE, IPC_RC_MSG_TOO_LONG},
                                        {EHOSTUNREACH, IPC_RC_MSG_RTRNED},
                                        {ENETDOWN, IPC_RC_FAILED},
                                        {ENOMEM, IPC_RC_FAILED}}) {
            fake_tipc::fail_next_send(error);
            EXPECT_EQ(send_text(own, "x"), rc) << error;
        }
        fake_tipc::fail_next_send(EINTR); // is tried again
        EXPECT_EQ(send_text(own, "x"), IPC_RC_SUCCESS);
        SendBuffer longest(Bytes(66000 - IPC_HDR_SIZE));
        EXPECT_EQ(ipcSend(own, 101, CARD, longest.msg(), longest.size(), nullptr), IPC_RC_SUCCESS);
        SendBuffer longer(Bytes(66001 - IPC_HDR_SIZE));
        EXPECT_EQ(ipcSend(own, 101, CARD, longer.msg(), longer.size(), nullptr), IPC_RC_MSG_TOO_LONG);
    });
}

TEST(TipcCarrier, ASendSideThatCannotBeLookedAtIsUnexpected) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const TipcPeer peer(101, CARD);
        fake_tipc::break_socket(sockets_of(own).snd_sock, EIO);
        EXPECT_EQ(send_text(own, "x"), IPC_RC_UNEXPECTED);
    });
}

// The kernel says only that a message was cut, not by how much.
TEST(TipcCarrier, AMessageLongerThanTheBufferIsToldByOneByte) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const TipcPeer peer(101, CARD);
        peer.send(101, OWN, frame(IPC_ASYNC, 5, bytes_of("abcdef")));
        ipc_header hdr;
        std::array<char, 4> buf = {'.', '.', '.', '.'};
        EXPECT_EQ(ipcReceive(own, &hdr, buf.data(), 3, nullptr, 1), 4);
        EXPECT_EQ(std::string(buf.data(), 4), "abc.");
        peer.send(101, OWN, frame(IPC_ASYNC, 5, bytes_of("abc")));
        EXPECT_EQ(ipcReceive(own, &hdr, buf.data(), 3, nullptr, 1), 3);
    });
}

TEST(TipcCarrier, MulticastReachesTheRangeAndComesBackOnlyFromNobody) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const TipcPeer first(101, CARD);
        const TipcPeer last(101, CARD + 5);
        const TipcPeer beyond(101, CARD + 6);
        SendBuffer buf("all");
        EXPECT_EQ(ipcSendMcast(own, 101, CARD, CARD + 5, buf.msg(), 3, nullptr), IPC_RC_SUCCESS);
        EXPECT_EQ(first.receive(), last.receive());
        EXPECT_EQ(ipcSendMcast(own, 101, CARD + 7, CARD + 9, buf.msg(), 3, nullptr), IPC_RC_MSG_RTRNED);
        EXPECT_EQ(ipcSendMcast(own, 101, CARD + 5, CARD, buf.msg(), 3, nullptr), IPC_RC_FAILED);
    });
}

TEST(TipcCarrier, AMulticastComesBackForAReceiverWithoutRoomAndReachesTheOthers) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const TipcPeer full(101, CARD);
        const TipcPeer ready(101, CARD + 1);
        for (int n = 0; n < 1000 && send_text(own, "x") == IPC_RC_SUCCESS; n++) {
        }
        SendBuffer buf("all");
        EXPECT_EQ(ipcSendMcast(own, 101, CARD, CARD + 1, buf.msg(), 3, nullptr), IPC_RC_MSG_RTRNED);
        EXPECT_TRUE(ipcReturnedForRoom(own));
        EXPECT_EQ(ready.receive().size(), 31u);
    });
}

// ---- returned messages -------------------------------------------------------------------------------

TEST(TipcReturn, ANameThatNobodyHasGivesTheMessageBackAtOnce) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        EXPECT_EQ(send_text(own, "x"), IPC_RC_MSG_RTRNED);
        ipc_header hdr;
        uint8_t byte = 0;
        EXPECT_EQ(ipcReceiveNonB(own, &hdr, &byte, 1, nullptr), IPC_RC_NO_MESSAGE); // it has been taken
    });
}

TEST(TipcReturn, AnOverloadedReceiverGivesTheMessageBackAtOnce) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const TipcPeer peer(101, CARD);
        EXPECT_EQ(ipcWatchRoom(own, 101, CARD), IPC_RC_FAILED); // only another try tells
        size_t taken = 0;
        while (taken < 1000 && send_text(own, "x") == IPC_RC_SUCCESS)
            taken++;
        EXPECT_GE(taken, 10u);
        EXPECT_LT(taken, 1000u);
        EXPECT_EQ(send_text(own, "x"), IPC_RC_MSG_RTRNED);
        EXPECT_TRUE(ipcReturnedForRoom(own));
        peer.receive();
        EXPECT_EQ(send_text(own, "x"), IPC_RC_SUCCESS);
    });
}

TEST(TipcReturn, AMessageThatComesBackLaterIsTakenWithItsReason) {
    fake_tipc::run([] {
        const LogCapture log;
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, OWN, 0, nullptr);
        ASSERT_NE(cb, nullptr);
        const TipcPeer peer(101, CARD);
        fake_tipc::hold_returns();
        for (size_t n = 0; n <= fake_tipc::QUEUE_LIMIT; n++)
            ASSERT_EQ(ipc_post_msg(cb, CARD, "abc", 3), IPC_RC_SUCCESS);
        const uint32_t last = ipcLastMsgNum(cb->ipcHandle);
        ipc_header header;
        Bytes room(100);
        std::span<uint8_t> msg(room);
        EXPECT_EQ(ipc_take_returned_msg(cb, &header, &msg), IPC_RC_NO_MESSAGE);
        fake_tipc::release_returns();
        pollfd back = {.fd = ipcGetReturnFd(cb->ipcHandle), .events = POLLIN, .revents = 0};
        EXPECT_EQ(poll(&back, 1, 0), 1);
        ASSERT_EQ(ipc_take_returned_msg(cb, &header, &msg), 3);
        EXPECT_EQ(Bytes(msg.begin(), msg.end()), bytes_of("abc"));
        EXPECT_EQ(header.msg_num, last);
        EXPECT_TRUE(ipcReturnedForRoom(cb->ipcHandle));
        EXPECT_EQ(poll(&back, 1, 0), 0);
        ipc_app_cb_destroy(cb);
    });
}

TEST(TipcReturn, ARequestThatCameBackIsLeftForTheNextSendToReport) {
    fake_tipc::run([] {
        const LogCapture log;
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, OWN, 0, nullptr);
        ASSERT_NE(cb, nullptr);
        TipcPeer gone(101, CARD);
        SendBuffer buf("question");
        ASSERT_EQ(ipcSendReq(cb->ipcHandle, 101, CARD, buf.msg(), buf.size(), nullptr), IPC_RC_SUCCESS);
        gone.leave();
        const TipcPeer back(101, CARD);
        ipc_header header;
        Bytes room(100);
        std::span<uint8_t> msg(room);
        EXPECT_EQ(ipc_take_returned_msg(cb, &header, &msg), IPC_RC_RTRNED_MSG_WAITING);
        EXPECT_EQ(ipc_post_msg(cb, CARD, "x", 1), IPC_RC_RTRNED_MSG_WAITING);
        EXPECT_EQ(receive_on(cb->ipcHandle).bytes, bytes_of("question"));
        EXPECT_FALSE(ipcReturnedForRoom(cb->ipcHandle));
        ipc_app_cb_destroy(cb);
    });
}

TEST(TipcCarrier, ANameMayBeHeldTwiceAndItsHoldersTakeTurns) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        const int first = registered(101, CARD);
        const int second = registered(101, CARD);
        for (int n = 0; n < 4; n++)
            EXPECT_EQ(send_text(own, "x"), IPC_RC_SUCCESS);
        for (const int holder : {first, first, second, second})
            EXPECT_EQ(receive_on(holder).rc, 1);
        EXPECT_EQ(ipcUnregisterService(first), IPC_RC_SUCCESS);
        EXPECT_EQ(send_text(own, "x"), IPC_RC_SUCCESS);
        EXPECT_EQ(receive_on(second).rc, 1);
    });
}

TEST(TipcReturn, WhatAReceiverLeftUnreadIsReportedByTheNextSend) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        TipcPeer gone(101, CARD);
        uint32_t unread = 0;
        EXPECT_EQ(send_text(own, "unread", &unread), IPC_RC_SUCCESS);
        gone.leave();
        const TipcPeer back(101, CARD);
        EXPECT_EQ(send_text(own, "next"), IPC_RC_RTRNED_MSG_WAITING);
        EXPECT_EQ(back.receive().size(), 32u); // sent all the same
        const Message got = receive_on(own);
        EXPECT_EQ(got.returned, 1);
        EXPECT_EQ(got.hdr.msg_id, unread);
        EXPECT_EQ(got.bytes, bytes_of("unread"));
        EXPECT_EQ(send_text(own, "next"), IPC_RC_SUCCESS);
    });
}

TEST(TipcReturn, OfALongMessageTheFirst1024BytesComeBack) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        TipcPeer gone(101, CARD);
        SendBuffer buf(Bytes(2048, 0x5a));
        EXPECT_EQ(ipcSend(own, 101, CARD, buf.msg(), buf.size(), nullptr), IPC_RC_SUCCESS);
        gone.leave();
        const Message got = receive_on(own);
        EXPECT_EQ(got.returned, 1);
        EXPECT_EQ(got.bytes, Bytes(1024 - IPC_HDR_SIZE, 0x5a));
    });
}

TEST(TipcReturn, ACardThatDiesWithTheRequestEndsTheWait) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        TipcPeer peer(101, CARD);
        std::thread card([&] {
            uint32_t depth = 0;
            while (depth == 0) {
                std::this_thread::yield();
                depth = fake_tipc::waiting(101 + 19000, CARD);
            }
            peer.leave();
        });
        SendBuffer buf("question");
        Bytes reply(IPC_HDR_SIZE + 64);
        EXPECT_EQ(
            ipcSyncSend(own, 101, CARD, buf.msg(), buf.size(), reply.data() + IPC_HDR_SIZE, 64, 30, nullptr),
            IPC_RC_MSG_RTRNED);
        card.join();
    });
}

TEST(TipcReturn, WhatComesToTheSendSocketByItsPortIsThrownAway) {
    fake_tipc::run([] {
        const int own = registered(101, OWN);
        TipcPeer gone(101, CARD);
        EXPECT_EQ(send_text(own, "unread"), IPC_RC_SUCCESS);
        fake_tipc::deliver_to_port(sockets_of(own).snd_sock, frame(IPC_ASYNC, 1, bytes_of("stray")));
        gone.leave();
        const TipcPeer back(101, CARD);
        EXPECT_EQ(send_text(own, "x"), IPC_RC_SUCCESS); // the stray one stood in front
        EXPECT_EQ(send_text(own, "x"), IPC_RC_RTRNED_MSG_WAITING);
        EXPECT_EQ(receive_on(own).bytes, bytes_of("unread"));
    });
}

TEST(TipcReturn, AControlBlockTriesOnceMoreAndTakesOlderOnesOutOfTheWay) {
    fake_tipc::run([] {
        const LogCapture log;
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, OWN, 0, nullptr);
        ASSERT_NE(cb, nullptr);
        ipcResetStats();
        EXPECT_EQ(ipc_send_async_msg(cb, CARD, "x", 1), IPC_RC_MSG_RTRNED);
        EXPECT_EQ(gl_ipc_stats[101][101], 2u);
        TipcPeer gone(101, CARD);
        EXPECT_EQ(ipc_send_async_msg(cb, CARD, "x", 1), IPC_RC_SUCCESS);
        gone.leave();
        const TipcPeer back(101, CARD);
        EXPECT_EQ(ipc_send_async_msg(cb, CARD, "x", 1), IPC_RC_RTRNED_MSG_WAITING);
        EXPECT_EQ(ipc_send_async_msg(cb, CARD, "x", 1), IPC_RC_SUCCESS);
        ipc_app_cb_destroy(cb);
    });
}

// ---- the topology service ----------------------------------------------------------------------------

namespace {

// The service's end of a connection.
struct Service {
    explicit Service(size_t number = 0) : fd(fake_tipc::topology_connections().at(number)) {}

    tipc_subscr subscription() const {
        tipc_subscr got = {};
        EXPECT_EQ(recv(fd, &got, sizeof(got), MSG_TRUNC), ssize_t(sizeof(got)));
        return got;
    }
    void tell(uint32_t event, uint32_t sub_id, uint32_t type = 19101) const {
        tipc_event told = {};
        told.event = event;
        told.found_lower = told.found_upper = sub_id;
        told.s.seq = {type, 0, 0xffffffff};
        EXPECT_EQ(send(fd, &told, sizeof(told), 0), ssize_t(sizeof(told)));
    }
    int fd;
};

} // namespace

TEST(TipcTopology, SubscribesToEachNameOfAService) {
    fake_tipc::run([] {
        wi_ns_topology_t* topology = nullptr;
        ASSERT_EQ(ipcTopologyNotificationRegister(101, &topology), IPC_RC_SUCCESS);
        const tipc_subscr all = Service().subscription();
        EXPECT_EQ(all.seq.type, 19101u);
        EXPECT_EQ(all.seq.lower, 0u);
        EXPECT_EQ(all.seq.upper, 0xffffffffu);
        EXPECT_EQ(all.timeout, uint32_t(TIPC_WAIT_FOREVER));
        EXPECT_EQ(all.filter, uint32_t(TIPC_SUB_PORTS));
        wi_ns_topology_t* one = nullptr;
        ASSERT_EQ(ipcTopologyNotificationRegisterSubId(101, CARD, 5, &one), IPC_RC_SUCCESS);
        const tipc_subscr single = Service(1).subscription();
        EXPECT_EQ(single.seq.lower, CARD);
        EXPECT_EQ(single.seq.upper, CARD);
        EXPECT_EQ(single.timeout, 5000u);
        wi_ns_topology_t* range = nullptr;
        ASSERT_EQ(ipcTopologyNotificationRegisterRange(101, CARD, CARD + 9, 0, &range), IPC_RC_SUCCESS);
        EXPECT_EQ(Service(2).subscription().seq.upper, CARD + 9);
        for (wi_ns_topology_t* opened : {topology, one, range})
            ipcTopologyUnregister(opened);
    });
}

TEST(TipcTopology, GivesEventsOfOurServicesAndPassesOverOthers) {
    fake_tipc::run([] {
        const LogCapture log;
        wi_ns_topology_t* topology = nullptr;
        ASSERT_EQ(ipcTopologyNotificationRegister(101, &topology), IPC_RC_SUCCESS);
        EXPECT_GE(ipcTopologyGetReadFd(topology), 0);
        const Service service;
        service.tell(TIPC_PUBLISHED, 7, 18999);
        service.tell(99, 7);
        EXPECT_EQ(send(service.fd, "short", 5, 0), 5);
        service.tell(TIPC_PUBLISHED, CARD);
        service.tell(TIPC_WITHDRAWN, CARD);
        ipc_ns_event_st event = {};
        ASSERT_EQ(ipcTopologyReceive(topology, &event, 30), IPC_RC_SUCCESS);
        EXPECT_EQ(event.ipc_ns_ev, 1);
        EXPECT_EQ(event.serv_id, 101u);
        EXPECT_EQ(event.sub_id, CARD);
        ASSERT_EQ(ipcTopologyReceive(topology, &event, 30), IPC_RC_SUCCESS);
        EXPECT_EQ(event.ipc_ns_ev, 0);
        EXPECT_EQ(ipcTopologyReceive(topology, &event, 1), IPC_RC_TIMEOUT);
        EXPECT_TRUE(has_line(log.lines(), "Unknown, evt = 99 "));
        ipcTopologyUnregister(topology);
    });
}

TEST(TipcTopology, AConnectionThatFallsIsOpenedAnewWithItsSubscription) {
    fake_tipc::run([] {
        wi_ns_topology_t* topology = nullptr;
        ASSERT_EQ(ipcTopologyNotificationRegister(101, &topology), IPC_RC_SUCCESS);
        close(Service().fd);
        fake_tipc::refuse_topology(ECONNREFUSED); // at first
        ipc_ns_event_st event = {};
        EXPECT_EQ(ipcTopologyReceive(topology, &event, 1), IPC_RC_TIMEOUT);
        EXPECT_EQ(fake_tipc::topology_connections().size(), 1u);
        fake_tipc::refuse_topology(0);
        EXPECT_EQ(ipcTopologyReceive(topology, &event, 1), IPC_RC_TIMEOUT);
        ASSERT_EQ(fake_tipc::topology_connections().size(), 2u);
        EXPECT_EQ(Service(1).subscription().seq.type, 19101u);
        Service(1).tell(TIPC_PUBLISHED, CARD);
        ASSERT_EQ(ipcTopologyReceive(topology, &event, 30), IPC_RC_SUCCESS);
        EXPECT_EQ(event.sub_id, CARD);
        ipcTopologyUnregister(topology);
    });
}

TEST(TipcTopology, WithoutTheServiceThereIsNoSubscription) {
    fake_tipc::run([] {
        const LogCapture log;
        fake_tipc::refuse_topology(ECONNREFUSED);
        wi_ns_topology_t* topology = nullptr;
        EXPECT_EQ(ipcTopologyNotificationRegister(101, &topology), IPC_RC_FAILED);
        EXPECT_EQ(topology, nullptr);
        EXPECT_TRUE(has_line(log.lines(), "Names of service 101 can't be watched: Connection refused"));
    });
}
