// The simulated chassis takes any bytes: frames from the daemon, lines at the control socket, scenarios.
#include "card.h"
#include "card_fields.h"
#include "control_socket.h"
#include "frame.h"
#include "scenario.h"

#include "../ov_common/private_root.h"
#include "../support/dice.h"
#include "../support/temp_dir.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t SLOT = 3;

// A chassis in a network and file system of its own: cards and the controller bind names and ports.
void in_chassis(const std::function<void(Chassis&)>& body) {
    private_root::run([&] {
        if (unshare(CLONE_NEWNET) != 0)
            _exit(private_root::EXIT_NO_NAMESPACE);
        const ScopedEnv env("OV_ENV_DIR", "/tmp/env");
        Chassis chassis;
        body(chassis);
    });
}

// ---- cards -------------------------------------------------------------------------------------------

uint32_t onu_index(uint32_t kind, uint32_t slot, Dice& dice) {
    return kind << 27 | 1u << 26 | slot << 21 | uint32_t(dice.below(16)) << 15 |
           uint32_t(dice.below(4)) << 7 | uint32_t(dice.below(4));
}

Bytes request_frame(const CardMessage& message, uint32_t action, uint32_t mask, const Bytes& record,
                    bool wants_reply) {
    const Bytes payload = message.use == CardUse::PLAIN ? record : card_payload(action, mask, record);
    CardHeader header;
    header.ipc_type = uint32_t(wants_reply ? IpcType::REQUEST : IpcType::ASYNC);
    header.sender_service = card_wire::AGENT_SERVICE;
    header.sender_sub_id = card_wire::GPON_SUB_ID + 1;
    header.topic = wants_reply ? 1 : 2;
    header.cmd = message.number;
    header.nlmsg_type = message.number;
    header.nlmsg_flags = message.use == CardUse::PLAIN ? 1 : 0;
    header.nlmsg_len = uint32_t(card_wire::NETLINK_HEADER + payload.size());
    header.msg_len = uint32_t(card_wire::PACKET_HEADER + header.nlmsg_len);
    return build_card_frame(header, payload);
}

// A frame of a known message with right lengths and a mostly random record, so that many are carried out.
Bytes likely_frame(Dice& dice) {
    const auto all = card_messages();
    const CardMessage& message = all[dice.below(all.size())];
    Bytes record = dice.bytes(message.size);
    const uint32_t kind = message.kind != 0 ? message.kind : 9 + uint32_t(dice.below(4));
    if (record.size() >= message.owner_at + 4u && !dice.one_in(8))
        put_be32(record, message.owner_at,
                 message.owner == CardOwner::SLOT_WORD || message.owner == CardOwner::OWN_SLOT
                     ? SLOT
                     : onu_index(kind, SLOT, dice));
    const uint32_t action = 1 + uint32_t(dice.below(5));
    const uint32_t mask = dice.one_in(2) ? 1u << dice.below(32) : dice.word();
    return request_frame(message, action, mask, record, dice.one_in(2));
}

TEST(CardFuzz, AnyFrameIsCarriedOutOrRefused) {
    in_chassis([](Chassis& chassis) {
        std::string error;
        ASSERT_TRUE(chassis.cards.add(SLOT, error)) << error;
        Card& card = *chassis.cards.find(SLOT);
        Dice dice(7);
        constexpr uint64_t ROUNDS = 20000;
        for (uint64_t round = 0; round < ROUNDS; round++) {
            Bytes frame = dice.one_in(20) ? dice.bytes(dice.below(2500)) : likely_frame(dice);
            if (dice.one_in(3))
                frame = dice.damaged(frame);
            card.handle(frame);
        }
        const CardCounters& counters = card.counters();
        EXPECT_EQ(counters.received, ROUNDS);
        EXPECT_GT(counters.refused, ROUNDS / 10);
        EXPECT_GT(counters.received - counters.refused, ROUNDS / 10);

        card.restart(); // and it works as before
        Bytes onu(316);
        put_be32(onu, 0, 10u << 27 | 1u << 26 | SLOT << 21);
        card.handle(request_frame(*find_card_message(903u), card_action::CREATE, 0, onu, false));
        EXPECT_EQ(card.objects().table(903).size(), 1u);
    });
}

TEST(FrameFuzz, AStreamOfAnyBytesIsCutWithinItsEndOrRefused) {
    Dice dice(8);
    int frames = 0;
    for (int round = 0; round < 5000; round++) {
        FrameReader reader;
        Frame frame;
        auto result = FrameReader::Result::NEED_MORE;
        for (int piece = 0; piece < 6 && (result == FrameReader::Result::NEED_MORE); piece++) {
            Bytes bytes = encode_frame({uint8_t(dice.word()), dice.word(), dice.bytes(dice.below(200))});
            if (dice.one_in(3))
                bytes = dice.damaged(bytes);
            reader.feed(bytes);
            while ((result = reader.next(frame)) == FrameReader::Result::FRAME) {
                frames++;
                ASSERT_LE(frame.body.size(), size_t(UMSG_MAX_BODY));
            }
            ASSERT_LE(reader.pending(), 8u + UMSG_MAX_BODY + bytes.size());
        }
    }
    EXPECT_GT(frames, 5000);
}

// ---- commands ----------------------------------------------------------------------------------------

std::vector<const Command*> commands() {
    std::vector<const Command*> all;
    for (const auto group : {record_commands(), controller_commands(), fault_commands(), card_commands(),
                             card_event_commands(), onu_commands(), chassis_commands()})
        for (const Command& command : group)
            if (std::string_view(command.name) != "quit")
                all.push_back(&command);
    return all;
}

// Words that the commands' own usage names, and values.
std::vector<std::string> vocabulary() {
    std::vector<std::string> words = {
        "1",           "3",        "31",      "4294967295",  "0x7fffffff", "-1",    "",
        "gpon-olt1/3", "hex:00ff", "zeros:9", "zeros:65536", "=",          "a=b=c", "ABCD00000001",
        "tcont",       "903",      "\"a b\"", "\"",          "%s%n",       "*",     "onu",
        "../../x",     "count=3",  "0x"};
    for (const Command* command : commands()) {
        std::string word;
        for (const char c : std::string(command->usage) + " ") {
            if (isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '=') {
                word += c;
                continue;
            }
            if (!word.empty())
                words.push_back(word);
            word.clear();
        }
    }
    return words;
}

std::string any_line(Dice& dice, const std::vector<std::string>& words) {
    static const std::vector<const Command*> all = commands();
    std::string line = all[dice.below(all.size())]->name;
    for (size_t more = dice.below(6); more > 0; more--) {
        line += " " + words[dice.below(words.size())];
        if (line.back() == '=')
            line += words[dice.below(words.size())];
    }
    if (dice.one_in(4)) {
        const Bytes bytes = dice.damaged(Bytes(line.begin(), line.end()));
        line.assign(bytes.begin(), bytes.end());
    }
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

TEST(CommandFuzz, AnyLineIsACommandOrAMistakeWithAReason) {
    in_chassis([](Chassis& chassis) {
        Dice dice(9);
        const std::vector<std::string> words = vocabulary();
        int good = 0;
        constexpr int ROUNDS = 20000;
        for (int round = 0; round < ROUNDS; round++) {
            const std::string line = any_line(dice, words);
            Words split;
            std::string error;
            if (!split_words(line, split, error) || split.empty()) {
                ASSERT_TRUE(!error.empty() || split.empty()) << line;
                continue;
            }
            const Action action = parse_command(chassis, split, error);
            ASSERT_NE(bool(action), !error.empty()) << line;
            good += bool(action);
        }
        EXPECT_GT(good, ROUNDS / 50);
        EXPECT_LT(good, ROUNDS);
    });
}

TEST(CommandFuzz, AScenarioOfAnyLinesIsReadOrNamesItsLine) {
    in_chassis([](Chassis& chassis) {
        Dice dice(10);
        const std::vector<std::string> words = vocabulary();
        for (int round = 0; round < 2000; round++) {
            std::string text;
            for (size_t lines = dice.below(4); lines > 0; lines--)
                text += (dice.one_in(4) ? std::string(dice.one_in(2) ? "on connect" : "end")
                                        : any_line(dice, words)) +
                        "\n";
            Scenario scenario;
            scenario.file = "x.scn";
            std::string error;
            std::istringstream in(text);
            if (!read_scenario(chassis, in, scenario, error)) {
                ASSERT_TRUE(error.starts_with("x.scn:")) << text << error;
            }
        }
    });
}

// Plays a client of the control socket.
class Client {
public:
    explicit Client(const char* path) : sock_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        snprintf(address.sun_path, sizeof(address.sun_path), "%s", path);
        EXPECT_EQ(connect(sock_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    }
    ~Client() { close(sock_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void say(const std::string& text) const {
        size_t done = 0;
        while (done < text.size()) {
            const ssize_t sent = send(sock_, text.data() + done, text.size() - done, MSG_NOSIGNAL);
            if (sent < 0)
                return; // it was thrown out
            done += size_t(sent);
        }
    }
    // The answer up to its last line.
    std::string answer() const {
        std::string text;
        char byte = 0;
        size_t line = 0;
        while (recv(sock_, &byte, 1, 0) == 1) {
            text += byte;
            if (byte != '\n')
                continue;
            if (text.compare(line, 2, "= ") != 0)
                break;
            line = text.size();
        }
        return text;
    }

private:
    int sock_;
};

TEST(CommandFuzz, TheControlSocketOutlivesAnyClients) {
    in_chassis([](Chassis& chassis) {
        constexpr char PATH[] = "/tmp/control";
        ControlSocket control(chassis);
        std::string error;
        ASSERT_TRUE(control.listen(PATH, error)) << error;
        std::thread clients([&] {
            Dice dice(11);
            const std::vector<std::string> words = vocabulary();
            for (int round = 0; round < 300; round++) {
                const Client client(PATH);
                std::string text;
                for (size_t lines = dice.below(20); lines > 0; lines--)
                    text += any_line(dice, words) + "\n";
                text.resize(text.size() - std::min(text.size(), dice.below(8))); // leaves in the middle
                client.say(text);
                if (dice.one_in(3))
                    continue;
                const Client asking(PATH); // others are served meanwhile
                asking.say("mark\n");
                EXPECT_TRUE(asking.answer().ends_with("ok\n"));
            }
            const Client last(PATH);
            last.say("quit\n");
            EXPECT_EQ(last.answer(), "ok\n");
        });
        chassis.loop.run();
        clients.join();
    });
}

} // namespace
