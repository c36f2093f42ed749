// The connection to a master agent that doesn't do its part: how long it holds the daemon.
#include "agentx_link.h"

#include <gmock/gmock.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>

#include "../kavo/frr_fixture.h"
#include "../ov_common/private_root.h"
#include "../support/log_capture.h"
#include "agentx.h"

namespace {

sockaddr_un master_address() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s", AGENTX_MASTER_SOCKET);
    return address;
}

// Takes `queue` + 1 connections and never answers.
int start_mute_master(int queue) {
    std::filesystem::create_directories("/var/agentx");
    const sockaddr_un address = master_address();
    const int sock = socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(bind(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(sock, queue), 0);
    return sock;
}

bool connects() {
    const sockaddr_un address = master_address();
    const int sock = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
    return connect(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

int milliseconds_of(const std::function<void()>& work) {
    const auto began = std::chrono::steady_clock::now();
    work();
    const auto took = std::chrono::steady_clock::now() - began;
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(took).count());
}

TEST(AgentxLink, AMasterWhoseQueueOfConnectionsIsFullCountsAsAbsent) {
    private_root::run([] {
        const LogCapture log;
        start_mute_master(0);
        while (connects())
            ;
        EXPECT_LT(milliseconds_of([] { smux_init(frr_master()); }), AGENTX_REPLY_MS);
    });
}

TEST(AgentxLink, AMuteMasterHoldsTheStartForOneAnswerOnly) {
    private_root::run([] {
        const LogCapture log;
        start_mute_master(5);
        const int took = milliseconds_of([] { smux_init(frr_master()); });
        EXPECT_GE(took, AGENTX_REPLY_MS / 2); // it was asked
        EXPECT_LT(took, 5 * AGENTX_REPLY_MS);
    });
}

TEST(AgentxLink, HasRoomUntilTheMastersQueueFillsUp) {
    private_root::run([] {
        const LogCapture log;
        agentx_link_init();
        EXPECT_TRUE(agentx_link_has_room()); // nobody is there
        const int listener = start_mute_master(1);
        netsnmp_transport* link = netsnmp_transport_open_client("agentx", "gponagentx:/var/agentx/master");
        ASSERT_NE(link, nullptr);
        const int master = accept(listener, nullptr, nullptr);
        EXPECT_TRUE(agentx_link_has_room());

        std::string notify(400, '\0');
        notify[0] = 1;
        notify[1] = 12;
        int sent = 0;
        const int took = milliseconds_of([&] {
            for (; sent < 100000 && agentx_link_has_room(); sent++)
                ASSERT_EQ(link->f_send(link, notify.data(), int(notify.size()), nullptr, nullptr),
                          int(notify.size()));
        });
        EXPECT_GT(sent, 10);
        EXPECT_LT(sent, 100000);
        EXPECT_LT(took, AGENTX_REPLY_MS); // it didn't have to wait for the master

        std::string heard(notify.size() * size_t(sent), '\0');
        ASSERT_EQ(recv(master, heard.data(), heard.size(), MSG_WAITALL), ssize_t(heard.size()));
        EXPECT_TRUE(agentx_link_has_room());
        link->f_close(link);
        netsnmp_transport_free(link);
        EXPECT_TRUE(agentx_link_has_room());
    });
}

TEST(AgentxLink, TellsWhetherTheConnectionWasLookedAtAndHowManyAnswersWentOut) {
    private_root::run([] {
        const LogCapture log;
        agentx_link_init();
        const int listener = start_mute_master(1);
        const AgentxTraffic before = agentx_link_traffic();
        netsnmp_transport* link = netsnmp_transport_open_client("agentx", "gponagentx:/var/agentx/master");
        ASSERT_NE(link, nullptr);
        EXPECT_TRUE(agentx_link_is(link->sock));
        EXPECT_FALSE(agentx_link_is(listener));
        const AgentxTraffic fresh = agentx_link_traffic();
        EXPECT_NE(fresh.reads, before.reads); // an event of an earlier connection means nothing for this one

        const auto send_type = [link](char type) {
            const std::string pdu = {1, type, 0, 0};
            EXPECT_EQ(link->f_send(link, pdu.data(), int(pdu.size()), nullptr, nullptr), int(pdu.size()));
        };
        send_type(12);
        EXPECT_EQ(agentx_link_traffic().answers, fresh.answers);
        send_type(18);
        EXPECT_EQ(agentx_link_traffic().answers, fresh.answers + 1);
        EXPECT_EQ(agentx_link_traffic().reads, fresh.reads);

        const int master = accept(listener, nullptr, nullptr);
        ASSERT_EQ(write(master, "x", 1), 1);
        char byte = 0;
        void* opaque = nullptr;
        int length = 0;
        ASSERT_EQ(link->f_recv(link, &byte, 1, &opaque, &length), 1);
        EXPECT_NE(agentx_link_traffic().reads, fresh.reads);

        const int sock = link->sock;
        link->f_close(link);
        netsnmp_transport_free(link);
        EXPECT_FALSE(agentx_link_is(sock));
    });
}

TEST(AgentxLink, OnlyRequestsOfOursWaitForTheMaster) {
    EXPECT_TRUE(agentx_link_waits_for_answer(1));   // open
    EXPECT_TRUE(agentx_link_waits_for_answer(3));   // register
    EXPECT_TRUE(agentx_link_waits_for_answer(13));  // ping
    EXPECT_FALSE(agentx_link_waits_for_answer(12)); // notify
    EXPECT_FALSE(agentx_link_waits_for_answer(18)); // response
}

} // namespace
