#include "vty_client.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "kavo_refusal.h"

namespace {

using namespace std::string_literals;

/// A daemon that takes one connection, waits for a line, and answers with the given chunks, a
/// pause between them; then waits for the next line, and hangs up when it has no answer left.
class Daemon {
public:
    using Answer = std::vector<std::string>;

    explicit Daemon(std::vector<Answer> answers_given) : answers_(std::move(answers_given)) {
        char name[] = "/tmp/vty_client_test.XXXXXX";
        EXPECT_NE(mkdtemp(name), nullptr);
        directory_ = name;
        path = directory_ + "/vty";
        listener_ = socket(AF_UNIX, SOCK_STREAM, 0);
        struct sockaddr_un address {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(listener_, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(listener_, 1), 0);
        worker_ = std::thread([this] { serve(); });
    }
    ~Daemon() {
        finish();
        close(listener_);
        unlink(path.c_str());
        rmdir(directory_.c_str());
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    /// Wait until the client is served, and give the lines that it sent.
    const std::vector<std::string>& finish() {
        shutdown(listener_, SHUT_RDWR);
        if (worker_.joinable())
            worker_.join();
        return lines_;
    }

    std::string path;

private:
    static bool read_line(int fd, std::string& line) {
        line.clear();
        for (char c; read(fd, &c, 1) == 1;) {
            if (c == '\0')
                return true;
            line += c;
        }
        return false;
    }

    void serve() {
        const int fd = accept(listener_, nullptr, nullptr);
        std::string line;
        for (const auto& answer : answers_) {
            if (!read_line(fd, line))
                break;
            lines_.push_back(line);
            for (const auto& chunk : answer) {
                send(fd, chunk.data(), chunk.size(), MSG_NOSIGNAL);
                usleep(5000);
            }
        }
        close(fd);
    }

    std::vector<Answer> answers_;
    std::vector<std::string> lines_;
    std::string directory_;
    int listener_;
    std::thread worker_;
};

TEST(VtyClient, TextAndResultOfALineAreTold) {
    Daemon daemon({{"hello\nworld\n\0\0\0\0"s}, {"\0\0\0\1"s}});
    VtyClient client(daemon.path);
    const auto first = client.run("show");
    EXPECT_EQ(first.text, "hello\nworld\n");
    EXPECT_EQ(first.result, 0);
    const auto second = client.run("bad");
    EXPECT_EQ(second.text, "");
    EXPECT_EQ(second.result, 1);
}

TEST(VtyClient, LineGoesOutWithANulBehindIt) {
    Daemon daemon({{"\0\0\0\0"s}, {"\0\0\0\0"s}});
    {
        VtyClient client(daemon.path);
        client.run("enable");
        client.run("show onu status");
    }
    EXPECT_EQ(daemon.finish(), (std::vector<std::string>{"enable", "show onu status"}));
}

TEST(VtyClient, MarkerMayBeCutAnywhereAcrossChunks) {
    const std::string whole = "text\n\0\0\0\2"s;
    for (size_t cut = 1; cut < whole.size(); cut++) {
        Daemon daemon({{whole.substr(0, cut), whole.substr(cut)}});
        VtyClient client(daemon.path);
        const auto reply = client.run("show");
        EXPECT_EQ(reply.text, "text\n") << cut;
        EXPECT_EQ(reply.result, 2) << cut;
    }
}

TEST(VtyClient, ResultAboveAByteOfSignIsPositive) {
    Daemon daemon({{"\0\0\0\xff"s}});
    VtyClient client(daemon.path);
    EXPECT_EQ(client.run("x").result, 255);
}

TEST(VtyClient, LongAnswerComesWhole) {
    const std::string text(300'000, 'x');
    Daemon daemon({{text + "\0\0\0\0"s}});
    VtyClient client(daemon.path);
    EXPECT_EQ(client.run("show").text, text);
}

TEST(VtyClient, MissingDaemonIsAClearError) {
    try {
        VtyClient client("/nonexistent/vty");
        FAIL();
    } catch (const VtyClientError& error) {
        EXPECT_STREQ(error.what(),
                     "the daemon can't be reached at /nonexistent/vty: No such file or directory");
    }
}

TEST(VtyClient, PathThatIsTooLongIsRefused) {
    EXPECT_THROW(VtyClient("/" + std::string(200, 'x')), VtyClientError);
}

TEST(VtyClient, DaemonThatHangsUpBeforeAnsweringIsAnError) {
    Daemon daemon({{"half an ans"}});
    VtyClient client(daemon.path);
    EXPECT_THROW(client.run("show"), VtyClientError);
}

TEST(VtyClient, DaemonThatHangsUpAfterAnsweringIsSeen) {
    Daemon daemon({{"\0\0\0\0"s}});
    VtyClient client(daemon.path);
    EXPECT_EQ(client.run("exit").result, 0);
    EXPECT_TRUE(client.closed(2000));
}

TEST(VtyClient, OpenConnectionIsNotTakenForClosed) {
    Daemon daemon({{"\0\0\0\0"s}, {"\0\0\0\0"s}});
    VtyClient client(daemon.path);
    client.run("x");
    EXPECT_FALSE(client.closed(10));
}

TEST(VtyClient, NonsenseInsteadOfTheMarkerIsAnError) {
    Daemon daemon({{"text\0zz\0"s}});
    VtyClient client(daemon.path);
    EXPECT_THROW(client.run("show"), VtyClientError);
}

TEST(VtyClient, LineTheDaemonCannotTakeIsNotSent) {
    Daemon daemon({{"ok\0\0\0\0"s}});
    VtyClient client(daemon.path);
    EXPECT_NE(client.run(std::string(VtyClient::MAX_LINE + 1, 'x')).result, 0);
    EXPECT_NE(client.run("show\0 it"s).result, 0);
    EXPECT_EQ(client.run(std::string(VtyClient::MAX_LINE, 'x')).text, "ok");
}

TEST(VtyClient, AnswersComeInTheOrderOfTheLinesSentAhead) {
    Daemon daemon({{"one\0\0\0\0"s}, {"two\0\0\0\1"s}});
    VtyClient client(daemon.path);
    client.send("first");
    client.send("second");
    EXPECT_EQ(client.unanswered(), 2u);
    EXPECT_EQ(client.receive()->text, "one");
    const auto second = client.receive();
    EXPECT_EQ(second->text, "two");
    EXPECT_EQ(second->result, 1);
    EXPECT_EQ(client.unanswered(), 0u);
}

TEST(VtyClient, WaitingEndsAtItsTimeAndTheAnswerComesLater) {
    Daemon daemon({{"half "s, "", "", "", "", "", "",
                    "",       "", "", "", "", "", "",
                    "",       "", "", "", "", "", "an answer\0\0\0\0"s}});
    VtyClient client(daemon.path);
    client.send("x");
    EXPECT_FALSE(client.receive(20));
    EXPECT_EQ(client.receive()->text, "half an answer");
}

TEST(VtyClient, WaitingEndsWhenTheOtherDescriptorIsReadable) {
    Daemon daemon({{"x\0\0\0\0"s}});
    VtyClient client(daemon.path);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "", 1), 1);
    EXPECT_FALSE(client.receive(-1, ends[0]));
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(client.run("x").text, "x");
}

TEST(VtyClient, RefusedLineKeepsItsPlaceAmongTheAnswers) {
    Daemon daemon({{"one\0\0\0\0"s}, {"two\0\0\0\0"s}});
    VtyClient client(daemon.path);
    client.send("short");
    client.send(std::string(VtyClient::MAX_LINE + 1, 'x'));
    client.send("short");
    EXPECT_EQ(client.receive()->text, "one");
    EXPECT_EQ(client.receive()->text, "% Command is too long.\n");
    EXPECT_EQ(client.receive()->text, "two");
}

TEST(VtyClient, AnswerThatNobodyAskedForIsAnError) {
    Daemon daemon({{"x\0\0\0\0y\0\0\0\0"s}});
    VtyClient client(daemon.path);
    EXPECT_THROW(client.run("x"), VtyClientError);
}

/// The line of the daemon's list of reasons for a line that was sent.
std::string reason_line(const std::string& line, const std::string& reason) {
    char number[16];
    snprintf(number, sizeof(number), "%08x ", kavo_refusal_line_number(line));
    return number + std::string("7 ") + reason + "\n";
}

TEST(VtyClient, ReasonOfARefusalIsAskedFor) {
    Daemon daemon({{"no\n\0\0\0\1"s}, {reason_line("bad", "because") + "\0\0\0\0"s}, {"yes\n\0\0\0\0"s}});
    {
        VtyClient client(daemon.path);
        client.ask_reasons();
        const auto reply = client.run("bad");
        EXPECT_EQ(reply.text, "no\n");
        EXPECT_EQ(reply.reason, "because");
        EXPECT_EQ(reply.refused, 7u);
        EXPECT_EQ(client.run("good").reason, "");
        EXPECT_EQ(client.unanswered(), 0u);
    }
    EXPECT_EQ(daemon.finish(), (std::vector<std::string>{"bad", "show refusal numbered", "good"}));
}

TEST(VtyClient, NobodyAsksForReasonsUnlessTold) {
    Daemon daemon({{"no\n\0\0\0\1"s}});
    {
        VtyClient client(daemon.path);
        EXPECT_EQ(client.run("bad").reason, "");
    }
    EXPECT_EQ(daemon.finish(), std::vector<std::string>{"bad"});
}

TEST(VtyClient, LineThatIsNotUnderstoodHasNoReason) {
    Daemon daemon({{"% Unknown\n\0\0\0\2"s}});
    VtyClient client(daemon.path);
    client.ask_reasons();
    EXPECT_EQ(client.run("bad").result, 2);
    EXPECT_EQ(daemon.finish(), std::vector<std::string>{"bad"});
}

TEST(VtyClient, DaemonThatKnowsNoReasonsGivesNone) {
    Daemon daemon({{"no\n\0\0\0\1"s}, {"% Unknown command\n\0\0\0\2"s}});
    VtyClient client(daemon.path);
    client.ask_reasons();
    EXPECT_EQ(client.run("bad").reason, "");
}

TEST(VtyClient, LinesSentAheadHaveEachTheirOwnReason) {
    // The question goes out behind the lines that were sent before the first refusal was read.
    Daemon daemon({{"1\n\0\0\0\1"s},
                   {"2\n\0\0\0\0"s},
                   {"3\n\0\0\0\1"s},
                   {"4\n\0\0\0\1"s},
                   {reason_line("a", "of the first") + reason_line("c", "of the third") +
                    reason_line("a", "of the fourth") + "\0\0\0\0"s}});
    VtyClient client(daemon.path);
    client.ask_reasons();
    for (const char* line : {"a", "b", "c", "a"})
        client.send(line);
    EXPECT_EQ(client.unanswered(), 4u);
    for (const char* reason : {"of the first", "", "of the third", "of the fourth"})
        EXPECT_EQ(client.receive()->reason, reason);
    EXPECT_EQ(daemon.finish().back(), "show refusal numbered");
}

} // namespace
