// The connection to a master agent, also to one that doesn't do its part: nothing of it holds the daemon.
#include "agentx_link.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "../kavo/frr_fixture.h"
#include "../ov_common/private_root.h"
#include "../support/log_capture.h"
#include "agentx.h"
#include "played_master.h"

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

using Clock = std::chrono::steady_clock;

int milliseconds_of(const std::function<void()>& work) {
    const auto began = Clock::now();
    work();
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began).count());
}

bool connects() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s", AGENTX_MASTER_SOCKET);
    const int sock = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
    return connect(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// ---- a master that isn't there, or says nothing ------------------------------------------------------

// What a whole agent on the event loop may be held for by a master, with room for a busy machine. It would
// be for ever, or for each of many answers in vain.
constexpr int HELD_MS = 25 * AGENTX_PASS_MS;

// Runs the loop until done, or for ten seconds; the longest time for which other events waited, in ms.
int longest_hold(const std::function<bool()>& done) {
    static constexpr int EVERY_MS = 5;
    struct Tick {
        static void run(struct thread* event) {
            auto& self = *static_cast<Tick*>(THREAD_ARG(event));
            const auto now = Clock::now();
            self.worst = std::max(self.worst, now - self.last);
            self.last = now;
            thread_add_timer_msec(frr_master(), run, &self, EVERY_MS, &self.event);
        }
        Clock::time_point last = Clock::now();
        Clock::duration worst{};
        struct thread* event = nullptr;
    };
    Tick tick;
    thread_add_timer_msec(frr_master(), Tick::run, &tick, EVERY_MS, &tick.event);
    const auto end = Clock::now() + std::chrono::seconds(10);
    struct thread event;
    while (!done() && Clock::now() < end && thread_fetch(frr_master(), &event))
        thread_call(&event);
    thread_cancel(&tick.event);
    EXPECT_TRUE(done());
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(tick.worst).count());
}

bool has_line(const LogCapture& log, const char* part) {
    const auto lines = log.lines();
    return std::any_of(lines.begin(), lines.end(),
                       [part](const std::string& line) { return line.find(part) != line.npos; });
}

TEST(AgentxLink, AMasterWhoseQueueOfConnectionsIsFullCountsAsAbsent) {
    private_root::run([] {
        const LogCapture log;
        const played::Master master(0);
        while (connects())
            ;
        EXPECT_LT(milliseconds_of([] { smux_init(frr_master()); }), 20000); // it would wait for ever
    });
}

TEST(AgentxLink, AMuteMasterDoesNotHoldTheDaemon) {
    private_root::run([] {
        const LogCapture log;
        played::Master master;
        const int start = milliseconds_of([] { smux_init(frr_master()); });
        EXPECT_GE(start, AGENTX_PASS_MS / 2); // it was asked
        EXPECT_LT(start, HELD_MS);
        EXPECT_LT(longest_hold([&] { return has_line(log, "doesn't answer, connection given up"); }),
                  HELD_MS);
        master.accept();
        EXPECT_EQ(master.hear().type, played::OPEN);
    });
}

// Every way in which the library's configuration can say where the master is.
TEST(AgentxLink, AMuteMasterDoesNotHoldTheDaemonHoweverItsAddressIsWritten) {
    for (const char* form : {"/run/other/agentx", "unix:/run/other/agentx", "tcp:127.0.0.1:PORT",
                             "127.0.0.1:PORT", "localhost:PORT", "PORT"})
        private_root::run([form] {
            const LogCapture log;
            sockaddr_in any = {};
            any.sin_family = AF_INET;
            any.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            std::string address = form;
            const bool is_tcp = address.find("PORT") != address.npos;
            const auto master = is_tcp ? std::make_unique<played::Master>(any)
                                       : std::make_unique<played::Master>(5, "/run/other/agentx");
            if (is_tcp)
                address.replace(address.find("PORT"), 4, std::to_string(master->port()));
            netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, address.c_str());
            EXPECT_LT(milliseconds_of([] { smux_init(frr_master()); }), HELD_MS) << address;
            master->accept();
            EXPECT_EQ(master->hear().type, played::OPEN) << address;
        });
}

TEST(AgentxLink, AnAddressThatIsNoneIsSaidOnce) {
    private_root::run([] {
        const LogCapture log;
        netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, "udp:127.0.0.1:705");
        smux_init(frr_master());
        EXPECT_TRUE(has_line(log, "\"udp:127.0.0.1:705\" is no address of one"));
    });
}

// ---- a master that is slow, or stops -----------------------------------------------------------------

// Opens a session and answers each request after some time, until the connection ends.
class SlowMaster {
public:
    explicit SlowMaster(int milliseconds)
        : thread_([this, milliseconds] {
              master_.accept();
              for (played::Heard heard = master_.hear(); heard.type != 0; heard = master_.hear()) {
                  usleep(static_cast<unsigned>(milliseconds) * 1000);
                  registered_ += heard.type == played::REGISTER;
                  if (heard.type != played::RESPONSE && !master_.try_to_send(played::response(heard.packet)))
                      return;
              }
          }) {}
    ~SlowMaster() {
        shutdown(master_.fd(), SHUT_RDWR);
        thread_.join();
    }
    SlowMaster(const SlowMaster&) = delete;
    SlowMaster& operator=(const SlowMaster&) = delete;
    int registered() const { return registered_; }

private:
    played::Master master_;
    std::atomic<int> registered_ = 0;
    std::thread thread_;
};

void register_objects(int count) {
    for (int i = 1; i <= count; i++) {
        const oid name[] = {1, 3, 6, 1, 4, 1, 99999, static_cast<oid>(i)};
        netsnmp_handler_registration* object = netsnmp_create_handler_registration(
            "object", [](auto...) { return SNMP_ERR_NOERROR; }, name, std::size(name), HANDLER_CAN_RONLY);
        EXPECT_EQ(netsnmp_register_handler(object), MIB_REGISTERED_OK);
    }
}

TEST(AgentxLink, ASlowMasterIsReachedAndHoldsNobody) {
    private_root::run([] {
        constexpr int OBJECTS = 120; // 20 ms for each are more than two seconds
        const LogCapture log;
        const SlowMaster master(20);
        EXPECT_LT(milliseconds_of([] {
                      smux_init(frr_master());
                      register_objects(OBJECTS);
                      agentx_snmp_update();
                  }),
                  HELD_MS);
        EXPECT_LT(longest_hold([&] { return has_line(log, "AgentX master agent connected"); }), HELD_MS);
        EXPECT_GE(master.registered(), OBJECTS);
        EXPECT_FALSE(has_line(log, "given up"));
    });
}

TEST(AgentxLink, AnObjectThatTheMasterRefusesIsSaid) {
    private_root::run([] {
        const LogCapture log;
        played::Master master;
        std::thread played([&] {
            master.open_session();
            for (played::Heard heard = master.hear(); heard.type != 0; heard = master.hear())
                master.try_to_send(played::response(heard.packet, heard.type == played::REGISTER ? 263 : 0));
        });
        smux_init(frr_master());
        register_objects(1);
        agentx_snmp_update();
        longest_hold([&] { return has_line(log, "refuses to register an object, error 263"); });
        shutdown(master.fd(), SHUT_RDWR);
        played.join();
    });
}

TEST(AgentxLink, HalfAPduWaitsForItsRestAndHoldsNobody) {
    private_root::run([] {
        const LogCapture log;
        played::Master master;
        std::atomic<int> state = 0;
        std::string answered;
        std::thread played([&] {
            master.open_session();
            const std::string get = played::pdu(played::GET, 99, std::string(8, '\0')); // a whole range
            master.send(get.substr(0, 22)); // nothing else can be said now
            state = 1;
            while (state != 2)
                usleep(1000);
            master.send(get.substr(22));
            for (played::Heard heard = master.hear(); heard.type != 0; heard = master.hear())
                if (heard.type == played::RESPONSE) {
                    answered = heard.bytes;
                    state = 3;
                }
        });
        smux_init(frr_master());
        const auto began = Clock::now();
        EXPECT_LT(longest_hold([&] {
                      return state == 1 &&
                             Clock::now() - began > std::chrono::milliseconds(AGENTX_SILENCE_MS / 4);
                  }),
                  HELD_MS);
        state = 2;
        EXPECT_LT(longest_hold([&] { return state == 3; }), HELD_MS);
        shutdown(master.fd(), SHUT_RDWR);
        played.join();
        EXPECT_FALSE(answered.empty());
    });
}

// ---- the transport by itself -------------------------------------------------------------------------

// A connection with a master that is nothing but bytes.
class BareLink {
public:
    BareLink() {
        agentx_link_init();
        // The session isn't open yet; the next attempt goes on where this one ended.
        EXPECT_EQ(open(), nullptr);
        master_.open_session();
        link_ = open();
        EXPECT_NE(link_, nullptr);
    }
    played::Master& master() { return master_; }
    const played::Master& master() const { return master_; }
    void master_sends(const std::vector<std::string>& pdus) {
        std::string all;
        for (const std::string& pdu : pdus)
            all += pdu;
        master_.send(all);
    }
    // As the library reads: the bytes that it gets; "later" for nothing yet, "end" for the end.
    std::string read(size_t room = 65536) const {
        std::string bytes(room, '\0');
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
    bool send(const std::string& pdu) const {
        return link_->f_send(link_, pdu.data(), int(pdu.size()), nullptr, nullptr) == int(pdu.size());
    }
    void answer(uint32_t packet) const { EXPECT_TRUE(send(played::response(packet))); }
    void leave() {
        link_->f_close(link_);
        netsnmp_transport_free(link_);
    }

private:
    static netsnmp_transport* open() {
        return netsnmp_transport_open_client("agentx", "gponagentx:/var/agentx/master");
    }
    played::Master master_;
    netsnmp_transport* link_ = nullptr;
};

using played::CLEANUP_SET;
using played::COMMIT_SET;
using played::GET;
using played::NOTIFY;
using played::TEST_SET;
using played::UNDO_SET;

TEST(AgentxLink, WhatTheLibraryAsksIsAnsweredAtOnceAndGoesToTheMaster) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        EXPECT_EQ(link.read(), "later");
        ASSERT_TRUE(link.send(played::pdu(played::REGISTER, 5, std::string(8, '\0'))));
        ASSERT_TRUE(link.send(played::pdu(played::PING, 6)));
        EXPECT_EQ(link.read(), played::response(5));
        EXPECT_EQ(link.read(), played::response(6));
        EXPECT_EQ(link.read(), "later");
        EXPECT_EQ(link.master().hear().packet, 5u);
        EXPECT_EQ(link.master().hear().packet, 6u);
        link.master().send(played::response(5) + played::response(6));
        EXPECT_EQ(link.read(), "later"); // it has had its answers
        EXPECT_THAT(log.lines(), Contains(HasSubstr("AgentX master agent connected")));
    });
}

TEST(AgentxLink, AnswersToNotificationsAreTheLibrarys) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        ASSERT_TRUE(link.send(played::pdu(NOTIFY, 5)));
        EXPECT_EQ(link.read(), "later");
        EXPECT_EQ(link.master().hear().type, NOTIFY);
        link.master().send(played::response(5));
        EXPECT_EQ(link.read(), played::response(5));
    });
}

TEST(AgentxLink, APduComesInAsManyPartsAsTheLibraryHasRoomFor) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        const std::string get = played::pdu(GET, 1, std::string(1200, '\0'));
        link.master_sends({get});
        std::string got = link.read(500);
        EXPECT_EQ(got.size(), 500u);
        got += link.read(500);
        got += link.read(500);
        EXPECT_EQ(got, get);
        EXPECT_EQ(link.read(), "later");
    });
}

TEST(AgentxLink, HasRoomUntilTheMastersQueueFillsUp) {
    private_root::run([] {
        const LogCapture log;
        agentx_link_init();
        EXPECT_TRUE(agentx_link_has_room()); // nobody is there
        BareLink link;
        EXPECT_TRUE(agentx_link_has_room());

        const std::string notify = played::pdu(NOTIFY, 1, std::string(400, '\0'));
        int sent = 0;
        for (; sent < 100000 && agentx_link_has_room(); sent++)
            ASSERT_TRUE(link.send(notify));
        EXPECT_GT(sent, 10);
        EXPECT_LT(sent, 100000);

        for (int heard = 0; heard < sent; heard++)
            ASSERT_EQ(link.master().hear().type, NOTIFY);
        EXPECT_TRUE(agentx_link_has_room());
        link.leave();
        EXPECT_TRUE(agentx_link_has_room());
    });
}

TEST(AgentxLink, WhatAMasterDoesNotReadWaitsForItAndHoldsNobody) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        const std::string notify = played::pdu(NOTIFY, 1, std::string(4000, '\0'));
        constexpr int MANY = 500; // 2 MB
        EXPECT_LT(milliseconds_of([&] {
                      for (int i = 0; i < MANY; i++)
                          ASSERT_TRUE(link.send(notify));
                  }),
                  HELD_MS);
        EXPECT_TRUE(agentx_link_wants_to_write());
        EXPECT_FALSE(agentx_link_wants_to_read()); // nothing more is asked of us meanwhile
        for (int heard = 0; heard < MANY; heard++) {
            ASSERT_EQ(link.master().hear().bytes, notify) << heard;
            agentx_link_flush();
        }
        EXPECT_FALSE(agentx_link_wants_to_write());
        EXPECT_TRUE(agentx_link_wants_to_read());

        // No memory is without end.
        const unsigned losses = agentx_link_losses();
        int more = 0;
        while (more < 10000 && link.send(notify))
            more++;
        EXPECT_LT(more, 10000);
        EXPECT_EQ(agentx_link_losses(), losses + 1);
        EXPECT_EQ(link.read(), "end");
        EXPECT_THAT(log.lines(), Contains(HasSubstr("takes no more requests, connection given up")));
    });
}

TEST(AgentxLink, PhasesOfASetThatCameTogetherGoToTheLibraryOneByOne) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        const std::string test = played::pdu(TEST_SET, 1);
        const std::string commit = played::pdu(COMMIT_SET, 2);
        const std::string cleanup = played::pdu(CLEANUP_SET, 3);
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

TEST(AgentxLink, AnAnswerOfOursComesBeforeARequestThatWaits) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        const std::string test = played::pdu(TEST_SET, 1);
        link.master_sends({test, test});
        EXPECT_EQ(link.read(), test);
        ASSERT_TRUE(link.send(played::pdu(played::PING, 6)));
        EXPECT_EQ(link.read(), played::response(6));
        EXPECT_EQ(link.read(), "later");
    });
}

TEST(AgentxLink, TheEndComesBehindTheAnswerThatIsDue) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        const std::string get = played::pdu(GET, 1);
        link.master_sends({get, get});
        EXPECT_EQ(link.read(), get);
        link.answer(1);
        link.master().leave();
        EXPECT_EQ(link.read(), get);
        EXPECT_EQ(link.read(), "later");
        agentx_link_idle();
        EXPECT_EQ(link.read(), "end");
    });
}

TEST(AgentxLink, ARequestThatTheLibraryDropsIsNotWaitedForForEver) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        const std::string test = played::pdu(TEST_SET, 1);
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
        BareLink link;
        link.master_sends({played::pdu(GET, 1), played::pdu(GET, 2, "half")});
        EXPECT_EQ(link.read(), played::pdu(GET, 1));
        agentx_link_idle();
        EXPECT_EQ(link.read(), "end");
        EXPECT_THAT(log.lines(), Contains(HasSubstr("sends what isn't AgentX")));
    });
}

TEST(AgentxLink, AMasterThatHasForgottenTheSessionIsLeft) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        ASSERT_TRUE(link.send(played::pdu(played::PING, 6)));
        EXPECT_EQ(link.read(), played::response(6));
        link.master().send(played::response(6, 257)); // notOpen
        EXPECT_EQ(link.read(), "end");
        EXPECT_THAT(log.lines(), Contains(HasSubstr("doesn't know the session")));
    });
}

// ---- requests that are answered without the library --------------------------------------------------

// Answers those with an odd number of a packet.
bool answer_odd(std::span<const uint8_t> request, AgentxPdu& response) {
    const uint32_t packet = agentx_header(request)->packet;
    const std::string answer = played::response(packet);
    response.assign(answer.begin(), answer.end());
    return packet % 2 == 1;
}

std::vector<uint32_t> heard(const BareLink& link, size_t count) {
    std::vector<uint32_t> packets;
    while (packets.size() < count)
        packets.push_back(link.master().hear().packet);
    return packets;
}

TEST(AgentxLink, WhatTheAnswererLeavesIsTheLibrarysAndWhatFollowsWaitsForIt) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        agentx_link_set_answerer(answer_odd);
        link.master_sends({played::pdu(GET, 1), played::pdu(GET, 2), played::pdu(GET, 3)});
        EXPECT_EQ(link.read(), played::pdu(GET, 2));
        EXPECT_EQ(link.read(), "later");
        link.answer(2);
        EXPECT_EQ(link.read(), "later"); // there is nothing for the library any more
        EXPECT_EQ(heard(link, 3), (std::vector<uint32_t>{1, 2, 3}));
    });
}

TEST(AgentxLink, OnlyRequestsForValuesOfTheSessionGoToTheAnswerer) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        agentx_link_set_answerer(answer_odd);
        std::string of_another = played::pdu(GET, 3);
        of_another[7] = 8;
        for (const std::string& pdu : {played::pdu(TEST_SET, 1), played::pdu(COMMIT_SET, 1), of_another}) {
            link.master_sends({pdu});
            EXPECT_EQ(link.read(), pdu);
            link.answer(1);
        }
        agentx_link_set_answerer(nullptr);
        link.master_sends({played::pdu(GET, 1)});
        EXPECT_EQ(link.read(), played::pdu(GET, 1));
    });
}

TEST(AgentxLink, TheLibraryIsDoneWithASetBeforeTheAnswererGoesOn) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        agentx_link_set_answerer(answer_odd);
        link.master_sends({played::pdu(CLEANUP_SET, 2), played::pdu(GET, 3)});
        EXPECT_EQ(link.read(), played::pdu(CLEANUP_SET, 2));
        agentx_link_receive();
        EXPECT_FALSE(agentx_link_can_hand_over());
        EXPECT_EQ(link.read(), "later");
        link.answer(2);
        EXPECT_TRUE(agentx_link_can_hand_over());
        EXPECT_EQ(link.read(), "later");
        EXPECT_EQ(heard(link, 2), (std::vector<uint32_t>{2, 3}));
    });
}

TEST(AgentxLink, AMasterThatTakesNoAnswersHoldsNobody) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        agentx_link_set_answerer([](std::span<const uint8_t> request, AgentxPdu& response) {
            const std::string answer =
                played::pdu(played::RESPONSE, agentx_header(request)->packet, std::string(40000, '\0'));
            response.assign(answer.begin(), answer.end());
            return true;
        });
        constexpr uint32_t MANY = 60; // 2.4 MB of answers
        for (uint32_t packet = 1; packet <= MANY; packet++)
            link.master_sends({played::pdu(GET, packet)});
        EXPECT_LT(milliseconds_of([&] {
                      for (uint32_t n = 0; n < MANY; n++)
                          agentx_link_receive();
                  }),
                  HELD_MS);
        EXPECT_TRUE(agentx_link_wants_to_write());
        EXPECT_FALSE(agentx_link_wants_to_read());
        for (uint32_t packet = 1; packet <= MANY; packet++) {
            EXPECT_EQ(link.master().hear().packet, packet);
            agentx_link_flush();
            agentx_link_receive();
        }
    });
}

// ---- sets that take long -----------------------------------------------------------------------------

int asked = 0; // about CommitSets
bool hold_first() {
    return ++asked == 1;
}

TEST(AgentxLink, AHeldCommitGoesOnWhenItIsLetGoAndWhatIsBehindItWaits) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        agentx_link_set_answerer(answer_odd);
        agentx_link_set_hold(hold_first);
        const std::string commit = played::pdu(COMMIT_SET, 1);
        const std::string cleanup = played::pdu(CLEANUP_SET, 2);
        link.master_sends({commit, cleanup, played::pdu(GET, 3)});
        EXPECT_EQ(link.read(), "later");
        EXPECT_EQ(asked, 1);
        EXPECT_FALSE(agentx_link_has_input()); // the loop has nothing to do
        EXPECT_FALSE(agentx_link_can_hand_over());

        // Requests of ours are answered meanwhile, and more may come.
        ASSERT_TRUE(link.send(played::pdu(played::PING, 6)));
        EXPECT_EQ(link.read(), played::response(6));
        EXPECT_EQ(link.master().hear().type, played::PING);
        link.master_sends({commit, played::response(7)}); // once more, as masters do; and to a notification
        agentx_link_receive();
        EXPECT_TRUE(agentx_link_can_hand_over());
        EXPECT_EQ(link.read(), played::response(7));
        EXPECT_EQ(link.read(), "later");

        agentx_link_go_on();
        EXPECT_TRUE(agentx_link_can_hand_over());
        EXPECT_EQ(link.read(), commit);
        link.answer(1);
        EXPECT_EQ(link.master().hear().packet, 1u);
        EXPECT_EQ(link.read(), cleanup);
        agentx_link_idle();
        EXPECT_EQ(asked, 1);
        EXPECT_EQ(link.read(), commit); // the library knows what to make of it
        EXPECT_EQ(asked, 2);
        EXPECT_EQ(link.master().hear().packet, 3u);
        agentx_link_go_on(); // nothing is held
        link.answer(1);
        EXPECT_EQ(link.read(), "later");
    });
}

TEST(AgentxLink, AHeldCommitThatIsUndoneNeverReachesTheLibrary) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        agentx_link_set_hold(hold_first);
        const std::string undo = played::pdu(UNDO_SET, 2);
        link.master_sends({played::pdu(COMMIT_SET, 1), played::pdu(COMMIT_SET, 1)});
        EXPECT_EQ(link.read(), "later");
        link.master_sends({undo});
        agentx_link_receive();
        EXPECT_TRUE(agentx_link_can_hand_over());
        EXPECT_EQ(link.read(), undo);
        agentx_link_go_on();
        link.answer(2);
        EXPECT_EQ(link.read(), "later");
        link.master_sends({played::pdu(COMMIT_SET, 3)}); // of the next set
        agentx_link_receive();
        EXPECT_EQ(link.read(), played::pdu(COMMIT_SET, 3));
        EXPECT_EQ(asked, 2);
    });
}

TEST(AgentxLink, TheEndDoesNotWaitForAHeldCommit) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        agentx_link_set_hold(hold_first);
        link.master_sends({played::pdu(COMMIT_SET, 1)});
        EXPECT_EQ(link.read(), "later");
        link.master().leave();
        agentx_link_receive();
        EXPECT_TRUE(agentx_link_can_hand_over());
        EXPECT_EQ(link.read(), "end");
    });
}

TEST(AgentxLink, OnlyCommitsOfTheSessionAreHeld) {
    private_root::run([] {
        const LogCapture log;
        BareLink link;
        agentx_link_set_hold([] { return true; });
        std::string of_another = played::pdu(COMMIT_SET, 3);
        of_another[7] = 8;
        for (const std::string& pdu :
             {played::pdu(TEST_SET, 1), played::pdu(UNDO_SET, 1), played::pdu(GET, 1), of_another}) {
            link.master_sends({pdu});
            EXPECT_EQ(link.read(), pdu);
            link.answer(1);
        }
    });
}

TEST(AgentxLink, OnlyRequestsOfOursWaitForTheMaster) {
    EXPECT_TRUE(agentx_link_waits_for_answer(played::OPEN));
    EXPECT_TRUE(agentx_link_waits_for_answer(played::REGISTER));
    EXPECT_TRUE(agentx_link_waits_for_answer(played::PING));
    EXPECT_FALSE(agentx_link_waits_for_answer(NOTIFY));
    EXPECT_FALSE(agentx_link_waits_for_answer(played::RESPONSE));
}

} // namespace
