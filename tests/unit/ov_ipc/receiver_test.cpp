#include "ipc_fixture.h"

#include "ov_ipc_rcv.h"

#include <chrono>
#include <fstream>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace {

// Before any namespace hides them.
const uid_t g_uid = getuid();
const gid_t g_gid = getgid();

// Lock files go to an own /var/run. False on a machine that doesn't give one.
bool private_run_directory() {
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << g_uid << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << g_gid << " 1";
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/run", "tmpfs", 0, nullptr) == 0 && access("/var/run/.", W_OK) == 0;
}

class Queues {
public:
    Queues(int sync, int async, int reply) {
        EXPECT_EQ(ov_msgq_create(&syncq, sync, 0), 0);
        EXPECT_EQ(ov_msgq_create(&asyncq, async, 0), 0);
        EXPECT_EQ(ov_msgq_create(&replyq, reply, 0), 0);
    }
    ~Queues() {
        for (const ov_msg_queue_t queue : {syncq, asyncq, replyq})
            ov_msgq_destroy(queue);
    }
    Queues(const Queues&) = delete;
    Queues& operator=(const Queues&) = delete;
    ov_msg_queue_t syncq = nullptr;
    ov_msg_queue_t asyncq = nullptr;
    ov_msg_queue_t replyq = nullptr;
};

// A receiver without its thread: what the thread does in one round is called by the test.
class Receiver : public Queues {
public:
    Receiver(int sync, int async, int reply) : Queues(sync, async, reply), peer(101, 10103) {
        state.ov_ipc_recv_handle_id = registered(111, 11101);
        state.ov_ipc_recv_module_id = 111;
        state.ov_ipc_recv_app_id = 11101;
        state.ov_ipc_recv_syncq = syncq;
        state.ov_ipc_recv_asyncq = asyncq;
        state.ov_ipc_recv_replyq = replyq;
    }
    int take(const Bytes& bytes) {
        peer.send(111, 11101, bytes);
        return _ov_ipc_recv_message(&state, &msg);
    }
    ov_ipc_recv_s state = {};
    ov_ipc_recv_msg msg = {};
    Peer peer;
};

// A packet of this many bytes whose header says `told`.
Bytes packet(size_t size, uint32_t told, uint8_t fill = 0x11) {
    Bytes bytes(size, fill);
    if (size >= 24)
        put_word(bytes, 20, told);
    return bytes;
}

Bytes dequeue(ov_msg_queue_t queue) {
    Bytes bytes(OV_MSGQ_MAX_ENTRY);
    const int rc = ov_msgq_dequeue(queue, bytes.data());
    bytes.resize(size_t(std::max(rc, 0)));
    return bytes;
}

bool becomes(const std::function<bool()>& condition) {
    for (int i = 0; i < 3000 && !condition(); i++)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return condition();
}

} // namespace

TEST(IpcReceiver, SortsByTypeAndKeepsTheHeaderOfRequestsAndReplies) {
    in_private_network([] {
        Receiver receiver(9, 9, 9);
        receiver.take(frame(IPC_REQUEST, 5, packet(40, 40, 1)));
        receiver.take(frame(IPC_REPLY, 6, packet(41, 41, 2)));
        receiver.take(frame(IPC_ASYNC, 7, packet(42, 42, 3)));
        receiver.take(frame(99, 8, packet(43, 43, 4)));
        Bytes msg(OV_MSGQ_MAX_ENTRY);
        ipc_header hdr;
        EXPECT_EQ(ov_msgq_dequeue_envelope(receiver.syncq, msg.data(), &hdr), 40);
        EXPECT_EQ(hdr.msg_id, 5u);
        EXPECT_EQ(hdr.sender_sub_id, 10103u);
        EXPECT_EQ(word(msg, 24), 0x01010101u); // as received
        EXPECT_EQ(ov_msgq_dequeue_envelope(receiver.replyq, msg.data(), &hdr), 41);
        EXPECT_EQ(hdr.msg_id, 6u);
        EXPECT_EQ(dequeue(receiver.asyncq), packet(42, 42, 3));
        EXPECT_EQ(dequeue(receiver.asyncq), packet(43, 43, 4));
        EXPECT_EQ(receiver.state.count_of_messages_rx, 4u);
    });
}

TEST(IpcReceiver, TheSendersWordAboutTheLengthIsBoundedByTheBytes) {
    in_private_network([] {
        const LogCapture log;
        Receiver receiver(9, 9, 9);
        receiver.take(frame(IPC_ASYNC, 1, packet(100, 60)));
        EXPECT_EQ(dequeue(receiver.asyncq).size(), 60u);
        for (const uint32_t lie : {101u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
            receiver.take(frame(IPC_ASYNC, 1, packet(100, lie)));
            EXPECT_EQ(dequeue(receiver.asyncq).size(), 100u) << lie;
        }
        receiver.take(frame(IPC_ASYNC, 1, packet(5000, 5000)));
        EXPECT_EQ(dequeue(receiver.asyncq).size(), 2048u);
    });
}

TEST(IpcReceiver, FramesShorterThanAPacketHeaderAreLoggedAndDropped) {
    in_private_network([] {
        const LogCapture log;
        Receiver receiver(9, 9, 9);
        for (const size_t size : {size_t(0), size_t(1), size_t(24), size_t(35)})
            receiver.take(frame(IPC_ASYNC, 1, packet(size, 100)));
        receiver.take(frame(IPC_ASYNC, 1, packet(100, 35)));
        EXPECT_EQ(ov_msgq_count(receiver.asyncq), 0);
        EXPECT_TRUE(has_line(log.lines(), "message of 24 bytes is shorter than its header, msg_type[0]"));
        receiver.take(frame(IPC_ASYNC, 1, packet(36, 36)));
        EXPECT_EQ(dequeue(receiver.asyncq).size(), 36u);
        EXPECT_EQ(receiver.take(Bytes(10)), IPC_RC_NO_MESSAGE);
        EXPECT_EQ(receiver.state.count_of_no_message, 1u);
    });
}

TEST(IpcReceiver, AFullQueueDropsTheMessageWithALine) {
    in_private_network([] {
        const LogCapture log;
        Receiver receiver(1, 2, 1);
        for (int i = 0; i < 3; i++)
            for (const uint32_t type : {IPC_ASYNC, IPC_REQUEST, IPC_REPLY})
                receiver.take(frame(type, 1, packet(36, 36, uint8_t(i))));
        EXPECT_TRUE(has_line(log.lines(), "msgq is full, msg_type[0] ipc_rcv_111_11101"));
        EXPECT_TRUE(has_line(log.lines(), "msgq is full, msg_type[1] ipc_rcv_111_11101"));
        EXPECT_TRUE(has_line(log.lines(), "msgq is full, msg_type[2] ipc_rcv_111_11101"));
        EXPECT_EQ(dequeue(receiver.asyncq)[0], 0);
        EXPECT_EQ(dequeue(receiver.asyncq)[0], 1);
        EXPECT_TRUE(dequeue(receiver.asyncq).empty());
    });
}

TEST(IpcReceiver, AQueueThatFailsIsLoggedWithItsResult) {
    in_private_network([] {
        const LogCapture log;
        Receiver receiver(1, 1, 1);
        receiver.asyncq->sem_timeout = 1000;
        sem_wait(&receiver.asyncq->semlock);
        receiver.take(frame(IPC_ASYNC, 1, packet(36, 36)));
        EXPECT_TRUE(has_line(log.lines(), "enmsgq is error, ret[-6] msg_type[0] ipc_rcv_111_11101"));
    });
}

TEST(IpcReceiver, ReturnedMessagesAndBreaksAreLogged) {
    in_private_network([] {
        const LogCapture log;
        Receiver receiver(1, 1, 1);
        give_back(receiver.state.ov_ipc_recv_handle_id, 5);
        EXPECT_EQ(_ov_ipc_recv_message(&receiver.state, &receiver.msg), 3);
        EXPECT_TRUE(has_line(log.lines(), "ipc_rcv_111_11101: ipcReceive Got a returned message!\n"));
        EXPECT_EQ(ov_msgq_count(receiver.asyncq) + ov_msgq_count(receiver.syncq), 0);
        EXPECT_EQ(_ov_ipc_recv_message(&receiver.state, &receiver.msg), IPC_RC_TIMEOUT);
        EXPECT_TRUE(has_line(log.lines(),
                             "ipc_rcv_111_11101: ipcReceive returned -6 IPC_RC_TIMEOUT! Exiting App!\n"));
    });
}

TEST(IpcReceiver, ThreadEmptiesAFloodBeyondTheQueueLimit) {
    in_private_network([] {
        if (!private_run_directory())
            GTEST_SKIP() << "no private /var/run on this machine";
        const LogCapture log;
        static Queues queues(1024, 4096, 512); // the thread stays
        const int handle = registered(111, 11101);
        const Peer peer(101, 10103);
        ASSERT_EQ(ov_ipc_rcv_init(111, 11101, handle, queues.syncq, queues.asyncq, queues.replyq), 0);
        for (uint32_t i = 0; i < 4196; i++) {
            Bytes bytes = packet(40, 40);
            put_word(bytes, 36, i);
            peer.send(111, 11101, frame(IPC_ASYNC, i, bytes));
            if (i % 200 == 0) { // a card would repeat what an overloaded receiver gives back
                ASSERT_TRUE(becomes([&] { return ov_msgq_count(queues.asyncq) > int(std::min(i, 4095u)); }));
            }
        }
        peer.send(111, 11101, frame(IPC_REQUEST, 1, packet(36, 36)));
        ASSERT_TRUE(becomes([&] { return ov_msgq_count(queues.syncq) == 1; }));
        EXPECT_EQ(ov_msgq_count(queues.asyncq), 4096);
        for (uint32_t i = 0; i < 4096; i++)
            ASSERT_EQ(word(dequeue(queues.asyncq), 36), i);
        const auto lines = log.lines();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "msgq is full, msg_type[0] ipc_rcv_111_11101"), 100);
        peer.send(111, 11101, frame(IPC_ASYNC, 1, packet(36, 36)));
        EXPECT_TRUE(becomes([&] { return ov_msgq_count(queues.asyncq) == 1; }));
    });
}

TEST(IpcReceiver, ASecondInitWithTheSameIdsReturnsZeroAndStartsNothing) {
    in_private_network([] {
        if (!private_run_directory())
            GTEST_SKIP() << "no private /var/run on this machine";
        static Queues first(9, 9, 9);
        static Queues second(9, 9, 9);
        const int handle = registered(111, 11101);
        const int other = registered(111, 11102);
        const Peer peer(101, 10103);
        ASSERT_EQ(ov_ipc_rcv_init(111, 1, handle, first.syncq, first.asyncq, first.replyq), 0);
        EXPECT_EQ(access("/var/run/ov_ipc_receive_111_1.lock", F_OK), 0);
        ASSERT_EQ(ov_ipc_rcv_init(111, 1, other, second.syncq, second.asyncq, second.replyq), 0);
        peer.send(111, 11102, frame(IPC_ASYNC, 1, packet(36, 36)));
        peer.send(111, 11101, frame(IPC_ASYNC, 1, packet(36, 36)));
        EXPECT_TRUE(becomes([&] { return ov_msgq_count(first.asyncq) == 1; }));
        EXPECT_EQ(ov_msgq_count(second.asyncq), 0);
        uint32_t depth = 0;
        EXPECT_EQ(ipcGetQueueDepth(other, &depth), IPC_RC_SUCCESS);
        EXPECT_EQ(depth, 1u); // nobody took it
    });
}

TEST(IpcReceiver, RefusesNegativeIdsAndMissingQueues) {
    Queues queues(1, 1, 1);
    EXPECT_EQ(ov_ipc_rcv_init(-1, 1, 0, queues.syncq, queues.asyncq, queues.replyq), -1);
    EXPECT_EQ(ov_ipc_rcv_init(1, -1, 0, queues.syncq, queues.asyncq, queues.replyq), -1);
    EXPECT_EQ(ov_ipc_rcv_init(1, 1, -1, queues.syncq, queues.asyncq, queues.replyq), -1);
    EXPECT_EQ(ov_ipc_rcv_init(1, 1, 0, nullptr, queues.asyncq, queues.replyq), -1);
}

TEST(IpcReceiver, ALockFileThatCannotBeHadEndsTheProcess) {
    in_private_network([] {
        if (!private_run_directory())
            GTEST_SKIP() << "no private /var/run on this machine";
        const LogCapture log;
        Queues queues(1, 1, 1);
        ASSERT_EQ(mkdir("/var/run/ov_ipc_receive_3_4.lock", 0755), 0);
        EXPECT_EXIT(ov_ipc_rcv_init(3, 4, 0, queues.syncq, queues.asyncq, queues.replyq),
                    testing::ExitedWithCode(1), "");
    });
}
