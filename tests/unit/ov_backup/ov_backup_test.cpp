// The client of the platform's servers on other slots, played by one that knows only bytes; and what a
// standby control card is told to fetch.
#include "ov_backup.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "../ov_common/private_root.h"
#include "../support/carrier.h"
#include "../support/log_capture.h"
#include "libovra.h"
#include "ov_product.h"
#include "ov_slot.h"

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Bytes = std::vector<uint8_t>;
constexpr uint32_t OWN = 8;
constexpr uint32_t MATE = 9;

uint32_t word(const Bytes& bytes, size_t at) {
    return at + 4 > bytes.size() ? 0xdeadbeef
                                 : uint32_t(bytes[at]) << 24 | uint32_t(bytes[at + 1]) << 16 |
                                       uint32_t(bytes[at + 2]) << 8 | bytes[at + 3];
}
void put_word(Bytes& bytes, size_t at, uint32_t value) {
    for (size_t n = 0; n < 4; n++)
        bytes.at(at + n) = uint8_t(value >> (24 - 8 * n));
}

struct Answered {
    int code;
    std::string text;
    bool is_silent = false;
};

// The platform's server of a slot.
class Peer {
public:
    using Behaviour = std::function<Answered(int type, const std::string& arg)>;

    explicit Peer(uint32_t slot, Behaviour behave = {}) : behave_(std::move(behave)) {
        fd_ = carrier::open_small_socket();
        const carrier::Address name(3, 1200000 + slot);
        EXPECT_EQ(bind(fd_, name.get(), name.len), 0);
        thread_ = std::thread([this] { serve(); });
    }
    ~Peer() {
        stop_ = true;
        thread_.join();
        close(fd_);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    // What it was asked for: "3 pwd".
    std::vector<std::string> asked() const {
        const std::lock_guard lock(mutex_);
        return asked_;
    }
    Bytes last() const {
        const std::lock_guard lock(mutex_);
        return last_;
    }

private:
    void serve() {
        while (!stop_) {
            pollfd fd = {fd_, POLLIN, 0};
            Bytes request(8192);
            if (poll(&fd, 1, 5) <= 0)
                continue;
            const ssize_t length = recv(fd_, request.data(), request.size(), 0);
            if (length < 0)
                continue;
            request.resize(size_t(length));
            answer(request);
        }
    }
    void answer(const Bytes& request) {
        const std::string arg = reinterpret_cast<const char*>(request.data()) + 28 + 16 + 4;
        const int type = int(word(request, 28 + 16));
        {
            const std::lock_guard lock(mutex_);
            last_ = request;
            asked_.push_back(std::to_string(type) + " " + arg);
        }
        const Answered made = behave_ ? behave_(type, arg) : Answered{0, ""};
        if (!made.is_silent)
            reply(request, word(request, 20), made);
    }
    // To the name that the client receives under. In front of it one that is for another request.
    void reply(const Bytes& request, uint32_t id, const Answered& made) const {
        const carrier::Address to(word(request, 12), word(request, 16) - 100000);
        for (const bool is_other : {true, false}) {
            Bytes bytes(28 + 16);
            put_word(bytes, 0, 0xface01bc);
            put_word(bytes, 8, 2);
            put_word(bytes, 12, 3);
            put_word(bytes, 20, is_other ? id + 1 : id);
            put_word(bytes, 28 + 8, is_other ? 77 : uint32_t(made.code));
            put_word(bytes, 28 + 12, uint32_t(made.text.size()));
            bytes.insert(bytes.end(), made.text.begin(), made.text.end());
            EXPECT_EQ(sendto(fd_, bytes.data(), bytes.size(), 0, to.get(), to.len), ssize_t(bytes.size()));
        }
    }

    Behaviour behave_;
    int fd_ = -1;
    mutable std::mutex mutex_;
    std::vector<std::string> asked_;
    Bytes last_;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

// The active control card of the largest shelf, with a standby that is there.
struct Board {
    LogCapture log;

    Board() {
        std::filesystem::create_directories("/tmp/env");
        std::filesystem::create_directories("/tmp/bin");
        tool("ov_env_get", "[ -f \"/tmp/env/$1\" ] && read -r value <\"/tmp/env/$1\" && echo \"$value\"\n");
        tool("ov_env_put", "echo \"$1=$2\" >>/tmp/puts\n");
        setenv("PATH", ("/tmp/bin:" + std::string(getenv("PATH"))).c_str(), 1);
        setenv("OV_IPC_CARRIER", carrier::name(), 1);
        set("PDT_INFO_SHELF_TYPE", "53");
        set("PDT_INFO_CARD_SLOTID", "8");
        set("active", "1");
        set("mate_slot", "9");
        ov_product_deinit();
        ov_slot_deinit();
        ov_slot_init();
        ov_slot_set_active_sc(OWN);
        ov_slot_set_standby_sc(MATE);
        ov_slot_set_connected(MATE, 1);
        LogCapture::clear();
    }
    static void tool(const std::string& name, const std::string& body) {
        private_root::write_file("/tmp/bin/" + name, "#!/bin/sh\n" + body);
        chmod(("/tmp/bin/" + name).c_str(), 0755);
    }
    static void set(const std::string& name, const std::string& value) {
        private_root::write_file("/tmp/env/" + name, value + "\n");
    }
    static std::string puts() { return private_root::read_file("/tmp/puts"); }
};

void on_board(const std::function<void(Board&)>& body) {
    private_root::run([&body] {
        if (unshare(CLONE_NEWNET) != 0)
            _exit(private_root::EXIT_NO_NAMESPACE);
        Board board;
        body(board);
    });
}

// ---- the peer ---------------------------------------------------------------------------------------------

constexpr uint32_t PATIENCE = 20000000; // microseconds: the machine may be busy

TEST(Backup, ARequestIsARecordOf3088BytesBehindItsHead) {
    on_board([](Board&) {
        Peer peer(5);
        EXPECT_EQ(ov_backup_execute_cmd(5, "ls /tmp", nullptr, 0, PATIENCE), 0);
        const Bytes seen = peer.last();
        ASSERT_EQ(seen.size(), 28u + 16 + 3088);
        EXPECT_EQ(word(seen, 8), 1u);  // a request
        EXPECT_EQ(word(seen, 12), 3u); // under the name to send with
        EXPECT_EQ(word(seen, 16), 1100000u + 8000 + 111);
        EXPECT_EQ(word(seen, 28), 3u); // execute_cmd
        EXPECT_EQ(word(seen, 28 + 12), 3088u);
        EXPECT_EQ(word(seen, 44), 3u);
        EXPECT_STREQ(reinterpret_cast<const char*>(seen.data()) + 48, "ls /tmp");
        EXPECT_EQ(word(seen, 44 + 1028), 7u);
        EXPECT_THAT(Bytes(seen.begin() + 44 + 1032, seen.end()), Each(0));
    });
}

TEST(Backup, ACommandsResultAndTextComeBack) {
    on_board([](Board&) {
        Peer peer(5, [](int, const std::string& arg) {
            return Answered{arg == "false" ? 1 : 0, "text of it"};
        });
        char text[32] = "old";
        EXPECT_EQ(ov_backup_execute_cmd(5, "true", text, sizeof text, PATIENCE), 0);
        EXPECT_STREQ(text, "text of it");
        EXPECT_EQ(ov_backup_execute_cmd(5, "false", text, 5, PATIENCE), 1);
        EXPECT_STREQ(text, "text");
    });
}

TEST(Backup, WhoDoesntAnswerCantBeAsked) {
    on_board([](Board&) {
        char text[32] = "old";
        EXPECT_EQ(ov_backup_execute_cmd(6, "pwd", text, sizeof text, PATIENCE), OV_FAIL); // nobody is there
        EXPECT_STREQ(text, "");
        Peer peer(5, [](int, const std::string&) { return Answered{0, "", true}; });
        EXPECT_EQ(ov_backup_execute_cmd(5, "pwd", text, sizeof text, 2000), OV_FAIL);
        EXPECT_EQ(ov_backup_execute_cmd(5, nullptr, text, sizeof text, 0), OV_FAIL);
        EXPECT_EQ(ov_backup_execute_cmd(5, std::string(1024, 'x').c_str(), text, sizeof text, 0), OV_FAIL);
        EXPECT_NE(ov_backup_slot_is_in_service(6), 0);
    });
}

TEST(Backup, ASlotIsInServiceWhenItAnswers) {
    on_board([](Board&) {
        Peer peer(5);
        int result = OV_FAIL; // a busy machine may be late
        for (int tries = 0; result != 0 && tries < 10; ++tries)
            result = ov_backup_slot_is_in_service(5);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(peer.asked().back(), "3 pwd");
    });
}

TEST(Backup, ValuesOfAnotherSlotCanBeAskedFor) {
    on_board([](Board&) {
        Peer peer(5, [](int, const std::string& arg) {
            return arg == "ftpuser" ? Answered{0, "nobody"} : Answered{1, "junk"};
        });
        char value[OV_BACKUP_ARG_SIZE];
        EXPECT_EQ(ov_backup_ask_for_env_value(5, "ftpuser", value), 0);
        EXPECT_STREQ(value, "nobody");
        EXPECT_EQ(ov_backup_ask_for_env_value(5, "other", value), 1);
        EXPECT_STREQ(value, "");
        EXPECT_THAT(peer.asked(), ElementsAre("4 ftpuser", "4 other"));
    });
}

// ---- the address ------------------------------------------------------------------------------------------

std::string host_for(uint32_t slot) {
    char host[OV_BACKUP_HOST_SIZE] = "";
    EXPECT_EQ(ov_backup_get_self_host(slot, host, sizeof host), 0);
    return host;
}

TEST(Backup, TheAddressIsThatOfThePlaneBetweenTheSlots) {
    on_board([](Board&) {
        EXPECT_EQ(host_for(MATE), "126.1.0.8");
        EXPECT_EQ(host_for(3), "126.1.1.8");
        Board::set("PDT_INFO_CARD_SLOTID", "9");
        ov_product_deinit();
        EXPECT_EQ(host_for(3), "126.1.2.9");
        Board::set("PDT_INFO_CARD_SLOTID", "3");
        ov_product_deinit();
        EXPECT_EQ(host_for(8), "126.1.1.3");
        EXPECT_EQ(host_for(9), "126.1.2.3");
    });
}

TEST(Backup, OnAVlanThePlaneIsThatOfTheControlCardInService) {
    on_board([](Board&) {
        Board::set("internal_network_vlan", "1");
        EXPECT_EQ(host_for(MATE), "126.1.1.8"); // this one is
        Board::set("PDT_INFO_CARD_SLOTID", "3");
        ov_product_deinit();
        char host[OV_BACKUP_HOST_SIZE];
        EXPECT_EQ(ov_backup_get_self_host(9, host, sizeof host), OV_FAIL);
        Peer second(9);
        EXPECT_EQ(host_for(9), "126.1.2.3");
        Peer first(8);
        EXPECT_EQ(host_for(9), "126.1.1.3");
    });
}

// ---- to the standby ---------------------------------------------------------------------------------------

// Behaves as a slot with these values and takes all commands.
Peer::Behaviour slot_with(std::map<std::string, std::string> values, int result = 0) {
    return [values = std::move(values), result](int type, const std::string& arg) {
        if (type != ask_for_env_value)
            return Answered{result, ""};
        const auto value = values.find(arg);
        return value == values.end() ? Answered{1, ""} : Answered{0, value->second};
    };
}

// The other slot has the time of a transfer for its answer, which a busy machine may need for itself.
int sync_patiently(const char* path) {
    int result = OV_FAIL;
    for (int tries = 0; result == OV_FAIL && tries < 50; ++tries)
        result = ov_backup_sync_path_to_backup_sc(path);
    return result;
}

TEST(Backup, ABoardWithoutAStandbySyncsNothing) {
    on_board([](Board&) {
        Peer peer(MATE);
        ov_slot_set_connected(MATE, 0);
        EXPECT_EQ(ov_backup_sync_path_to_backup_sc("/tmp/env"), OV_UNAVAILABLE);
        ov_slot_set_connected(MATE, 1);
        Board::set("active", "0");
        EXPECT_EQ(ov_backup_sync_path_to_backup_sc("/tmp/env"), OV_UNAVAILABLE);
        EXPECT_EQ(Board::puts(), "");
        EXPECT_THAT(peer.asked(), IsEmpty());
    });
}

TEST(Backup, TheStandbyIsToldToFetchAFileOrAWholeDirectory) {
    on_board([](Board&) {
        Peer peer(MATE, slot_with({{"ov_rootfs_spec_day", "20171110"}}));
        EXPECT_EQ(sync_patiently("/tmp/env/active"), 0);
        EXPECT_THAT(peer.asked(),
                    Contains("3 ov_backup_get_and_test -h 126.1.0.8 -l /tmp/env/active -r /tmp/env/active"));
        EXPECT_EQ(sync_patiently("/tmp/env"), 0);
        EXPECT_EQ(peer.asked().back(), "3 ov_backup_get_and_test -h 126.1.0.8 -l /tmp/env -r /tmp/env -R");
        EXPECT_TRUE(Board::puts().starts_with("backup_file_sync_fin=0\nbackup_file_sync_fin=1\n"));
    });
}

TEST(Backup, AnOlderSlotGetsItsOwnUserAndPasswordAndTheLogDoesnt) {
    on_board([](Board& board) {
        Peer peer(
            MATE,
            slot_with({{"ov_rootfs_spec_day", "20171109"}, {"ftpuser", "ftp"}, {"ftppasswd", "s3cret"}}, 5));
        int result = OV_FAIL;
        for (int tries = 0; result == OV_FAIL && tries < 50; ++tries)
            result = ov_backup_inform_slot_ftpget(OWN, MATE, {"126.1.0.8:/tmp/env"}, "/tmp/there");
        EXPECT_EQ(result, 5);
        EXPECT_EQ(peer.asked().back(),
                  "3 ov_get -m ncftp -h 126.1.0.8 -u ftp -p \"s3cret\" -l /tmp/there -r /tmp/env -R");
        EXPECT_THAT(board.log.lines(), Contains("execute_cmd failed"));
        EXPECT_THAT(board.log.lines(), Not(Contains(HasSubstr("s3cret"))));
    });
}

TEST(Backup, AFailedTransferIsOverToo) {
    on_board([](Board& board) {
        EXPECT_EQ(ov_backup_sync_path_to_backup_sc("/tmp/env"), OV_FAIL); // nobody answers
        EXPECT_EQ(Board::puts(), "backup_file_sync_fin=0\nbackup_file_sync_fin=1\n");
        EXPECT_THAT(board.log.lines(), Contains("execute_cmd failed"));
        g_ov_backup_debug = true;
        EXPECT_EQ(ov_backup_sync_path_to_backup_sc("/tmp/nothing"), OV_FAIL);
        EXPECT_THAT(board.log.lines(), Contains("Invalid path /tmp/nothing"));
        EXPECT_EQ(ov_backup_sync_path_to_backup_sc("/dev/null"), OV_FAIL);
        EXPECT_THAT(board.log.lines(), Contains("Invalid path /dev/null"));
        EXPECT_EQ(ov_backup_sync_path_to_backup_sc(nullptr), OV_FAIL);
    });
}

TEST(Backup, NoWordThatMeansSomethingToAShellGetsIntoACommand) {
    on_board([](Board&) {
        Peer peer(MATE, slot_with({{"ov_rootfs_spec_day", "20100101"},
                                   {"ftpuser", "ftp"},
                                   {"ftppasswd", "a\";reboot;\""}}));
        std::filesystem::create_directories("/tmp/a;reboot");
        EXPECT_EQ(ov_backup_save_path_to_slot(MATE, "/tmp/a;reboot"), OV_FAIL);
        EXPECT_EQ(ov_backup_save_path_to_slot(MATE, "/tmp/env"), OV_FAIL); // the password
        EXPECT_EQ(ov_backup_inform_slot_ftpget(OWN, MATE, {"$(reboot):/tmp/env"}, "/tmp/env"), OV_FAIL);
        EXPECT_EQ(ov_backup_inform_slot_ftpget(OWN, MATE, {"126.1.0.8:/tmp/env"}, "`reboot`"), OV_FAIL);
        EXPECT_EQ(ov_backup_inform_slot_ftpget(OWN, MATE, {"no-colon"}, "/tmp/env"), OV_FAIL);
        const std::string long_path = "/tmp/" + std::string(1020, 'x'); // more than a command can hold
        EXPECT_EQ(ov_backup_inform_slot_ftpget(OWN, MATE, {"126.1.0.8:/tmp/env"}, long_path.c_str()),
                  OV_FAIL);
        EXPECT_THAT(peer.asked(), Each(testing::StartsWith("4 ")));
    });
}

} // namespace
