// The connection to a master agent that doesn't do its part: how long it holds the daemon.
#include "agentx_link.h"

#include <gmock/gmock.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

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
        EXPECT_LT(milliseconds_of([] { smux_init(frr_master()); }), 20000); // it would wait for ever
    });
}

TEST(AgentxLink, AMuteMasterHoldsTheStartForOneAnswerOnly) {
    private_root::run([] {
        const LogCapture log;
        start_mute_master(5);
        const int took = milliseconds_of([] { smux_init(frr_master()); });
        EXPECT_GE(took, AGENTX_REPLY_MS / 2);  // it was asked
        EXPECT_LT(took, 10 * AGENTX_REPLY_MS); // of the many that it has to ask for
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
        for (; sent < 100000 && agentx_link_has_room(); sent++)
            ASSERT_EQ(link->f_send(link, notify.data(), int(notify.size()), nullptr, nullptr),
                      int(notify.size())); // it fails when it has to wait for the master
        EXPECT_GT(sent, 10);
        EXPECT_LT(sent, 100000);

        std::string heard(notify.size() * size_t(sent), '\0');
        ASSERT_EQ(recv(master, heard.data(), heard.size(), MSG_WAITALL), ssize_t(heard.size()));
        EXPECT_TRUE(agentx_link_has_room());
        link->f_close(link);
        netsnmp_transport_free(link);
        EXPECT_TRUE(agentx_link_has_room());
    });
}

// A connection with a master that is nothing but bytes.
class BareLink {
public:
    BareLink() : listener_(start_mute_master(1)) {
        agentx_link_init();
        link_ = netsnmp_transport_open_client("agentx", "gponagentx:/var/agentx/master");
        master_ = accept(listener_, nullptr, nullptr);
    }
    void master_sends(const std::vector<std::string>& pdus) const {
        std::string all;
        for (const std::string& pdu : pdus)
            all += pdu;
        EXPECT_EQ(send(master_, all.data(), all.size(), MSG_NOSIGNAL), ssize_t(all.size()));
    }
    void master_leaves() const { close(master_); }
    int fd() const { return link_->sock; }
    int listener() const { return listener_; }
    // As the library reads: the bytes that it gets; "later" for nothing yet, "end" for the end.
    std::string read() const {
        std::string bytes(65536, '\0');
        void* opaque = nullptr;
        int length = 0;
        const int got = link_->f_recv(link_, bytes.data(), int(bytes.size()), &opaque, &length);
        const bool may_be_empty = (link_->flags & NETSNMP_TRANSPORT_FLAG_EMPTY_PKT) != 0;
        link_->flags &= ~unsigned(NETSNMP_TRANSPORT_FLAG_EMPTY_PKT); // the library takes it back
        if (got <= 0)
            return got == 0 && may_be_empty ? "later" : "end";
        bytes.resize(size_t(got));
        return bytes;
    }
    void answer(uint32_t packet) const {
        const std::string pdu = make_pdu(18, packet, std::string(8, '\0'));
        EXPECT_EQ(link_->f_send(link_, pdu.data(), int(pdu.size()), nullptr, nullptr), int(pdu.size()));
    }
    void leave() {
        link_->f_close(link_);
        netsnmp_transport_free(link_);
    }
    static std::string make_pdu(uint8_t type, uint32_t packet, const std::string& payload = "") {
        std::string pdu = {1, char(type), 0x10, 0, 0, 0, 0, 7, 0, 0, 0, 55};
        for (const uint32_t word : {packet, uint32_t(payload.size())})
            for (const int shift : {24, 16, 8, 0})
                pdu += char(word >> shift);
        return pdu + payload;
    }

private:
    int listener_;
    int master_ = -1;
    netsnmp_transport* link_ = nullptr;
};

constexpr uint8_t GET = 5, TEST_SET = 8, COMMIT_SET = 9, CLEANUP_SET = 11;

TEST(AgentxLink, PhasesOfASetThatCameTogetherGoToTheLibraryOneByOne) {
    private_root::run([] {
        const LogCapture log;
        const BareLink link;
        const std::string test = BareLink::make_pdu(TEST_SET, 1);
        const std::string commit = BareLink::make_pdu(COMMIT_SET, 2);
        const std::string cleanup = BareLink::make_pdu(CLEANUP_SET, 3);
        link.master_sends({test, commit, cleanup, test});
        EXPECT_EQ(link.read(), test);
        EXPECT_EQ(link.read(), "later");
        link.answer(1);
        EXPECT_EQ(link.read(), commit);
        EXPECT_EQ(link.read(), "later");
        link.answer(2);
        EXPECT_EQ(link.read(), cleanup);
        EXPECT_EQ(link.read(), "later"); // it has no answer
        agentx_link_idle();
        EXPECT_EQ(link.read(), test);
    });
}

TEST(AgentxLink, TheEndComesBehindTheAnswerThatIsDue) {
    private_root::run([] {
        const LogCapture log;
        const BareLink link;
        const std::string get = BareLink::make_pdu(GET, 1);
        link.master_sends({get, get});
        EXPECT_EQ(link.read(), get);
        link.answer(1);
        link.master_leaves();
        EXPECT_EQ(link.read(), get);
        EXPECT_EQ(link.read(), "later");
        agentx_link_idle();
        EXPECT_EQ(link.read(), "end");
    });
}

TEST(AgentxLink, ARequestThatTheLibraryDropsIsNotWaitedForForEver) {
    private_root::run([] {
        const LogCapture log;
        const BareLink link;
        const std::string test = BareLink::make_pdu(TEST_SET, 1);
        link.master_sends({test, test});
        EXPECT_EQ(link.read(), test);
        std::string got = "later";
        for (int step = 0; step < 100 && got == "later"; step++)
            got = link.read();
        EXPECT_EQ(got, test);
    });
}

TEST(AgentxLink, APduThatIsNoneEndsTheConnection) {
    private_root::run([] {
        const LogCapture log;
        const BareLink link;
        link.master_sends({BareLink::make_pdu(GET, 1), BareLink::make_pdu(GET, 2, "half")});
        EXPECT_EQ(link.read(), BareLink::make_pdu(GET, 1));
        link.answer(1);
        EXPECT_EQ(link.read(), "end");
        EXPECT_THAT(log.lines(), testing::Contains(testing::HasSubstr("sends what isn't AgentX")));
    });
}

TEST(AgentxLink, TellsWhetherTheConnectionWasReadOrMadeAnew) {
    private_root::run([] {
        const LogCapture log;
        const unsigned before = agentx_link_reads();
        BareLink link;
        const int fd = link.fd();
        EXPECT_TRUE(agentx_link_is(fd));
        EXPECT_FALSE(agentx_link_is(link.listener()));
        const unsigned made = agentx_link_reads();
        EXPECT_NE(made, before); // an event of an earlier connection means nothing for this one

        link.answer(2);
        EXPECT_EQ(agentx_link_reads(), made);
        const std::string get = BareLink::make_pdu(GET, 3);
        link.master_sends({get});
        EXPECT_EQ(agentx_link_reads(), made);
        EXPECT_EQ(link.read(), get);
        EXPECT_NE(agentx_link_reads(), made);

        link.leave();
        EXPECT_FALSE(agentx_link_is(fd));
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
