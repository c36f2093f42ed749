#include "ipc_fixture.h"

#include <cerrno>
#include <cstdlib>

TEST(IpcRegistration, HoldsHundredAndTenNamesAndRefusesOneMore) {
    in_private_network([] {
        for (int i = 0; i < 110; i++)
            ASSERT_EQ(registered(IPC_SERVICE_MISC, uint32_t(i)), i);
        EXPECT_EQ(IPC_num_service_regs, 110);
        int handle = -1;
        EXPECT_EQ(ipcRegisterService(IPC_SERVICE_MISC, 110, 0, &handle), IPC_RC_FAILED);
        EXPECT_EQ(handle, -1);
        EXPECT_EQ(ipcUnregisterService(57), IPC_RC_SUCCESS);
        EXPECT_EQ(registered(IPC_SERVICE_MISC, 110), 57);
    });
}

TEST(IpcRegistration, BadHandlesAreInvalidEverywhere) {
    in_private_network([] {
        const int freed = registered(3, 1);
        ASSERT_EQ(ipcUnregisterService(freed), IPC_RC_SUCCESS);
        SendBuffer buf("x");
        Bytes reply(IPC_MAX_FRAME_SIZE);
        uint8_t* behind = reply.data() + IPC_HDR_SIZE;
        ipc_header hdr = {};
        uint32_t depth = 0;
        for (const int handle : {-1, 110, 1000000, freed}) {
            EXPECT_EQ(ipcSend(handle, 3, 2, buf.msg(), 1, nullptr), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcSendReq(handle, 3, 2, buf.msg(), 1, nullptr), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcSendMcast(handle, 3, 2, 3, buf.msg(), 1, nullptr), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcReply(handle, &hdr, buf.msg(), 1), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcSyncSend(handle, 3, 2, buf.msg(), 1, behind, 9, 1, nullptr), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcReceive(handle, &hdr, behind, 9, nullptr, 1), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcReceiveNonB(handle, &hdr, behind, 9, nullptr), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcSend_impl_sem(handle, 3, 2, buf.msg(), 1, nullptr), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcUnregisterService(handle), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcModifyService(handle, 3, 3, 0), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcGetReadFd(handle), IPC_RC_INVALID_IDENT);
            EXPECT_EQ(ipcGetQueueDepth(handle, &depth), IPC_RC_INVALID_IDENT);
        }
    });
}

TEST(IpcRegistration, ANameIsBoundOnce) {
    SKIP_ON_TIPC("TIPC binds a name twice");
    in_private_network([] {
        const LogCapture log;
        const int first = registered(3, 7);
        int second = -1;
        EXPECT_EQ(ipcRegisterService(3, 7, 0, &second), IPC_RC_FAILED);
        EXPECT_TRUE(has_line(log.lines(), "Registration of service 3, sub id 7 failed"));
        EXPECT_EQ(ipcUnregisterService(first), IPC_RC_SUCCESS);
        EXPECT_EQ(ipcRegisterService(3, 7, 0, &second), IPC_RC_SUCCESS);
    });
}

TEST(IpcRegistration, IsFoundByItsName) {
    in_private_network([] {
        registered(3, 7);
        const int handle = registered(3, 8);
        int found = -1;
        EXPECT_EQ(ipcGetHandleFromServSubId(3, 8, &found), IPC_RC_SUCCESS);
        EXPECT_EQ(found, handle);
        EXPECT_EQ(ipcGetHandleFromServSubId(4, 8, &found), IPC_RC_INVALID_IDENT);
    });
}

TEST(IpcRegistration, CanTakeAnotherNameAndKeepsItsOwnWhenThatIsBound) {
    SKIP_ON_TIPC("TIPC binds a name twice");
    in_private_network([] {
        const LogCapture log;
        const int handle = registered(3, 7);
        const Peer taken(3, 8);
        EXPECT_EQ(ipcModifyService(handle, 3, 8, 0), IPC_RC_FAILED);
        taken.send(3, 7, frame(IPC_ASYNC, 1, bytes_of("still here")));
        EXPECT_EQ(receive_on(handle).bytes, bytes_of("still here"));
        EXPECT_EQ(ipcModifyService(handle, 3, 9, 0), IPC_RC_SUCCESS);
        taken.send(3, 9, frame(IPC_ASYNC, 2, bytes_of("moved")));
        EXPECT_EQ(receive_on(handle).bytes, bytes_of("moved"));
        EXPECT_EQ(ipcModifyService(handle, 3, 9, 0), IPC_RC_SUCCESS);
    });
}

TEST(IpcRegistration, FirstOneSeedsTheMessageIds) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        SendBuffer buf("x");
        uint32_t id = 0;
        ASSERT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, &id), IPC_RC_SUCCESS);
        srand(101 + 11101);
        EXPECT_EQ(id, uint32_t(rand())); // NOLINT(cert-msc30-c,cert-msc50-cpp)
    });
}

TEST(IpcRegistration, DescriptorTellsThatAMessageWaits) {
    in_private_network([] {
        const int handle = registered(3, 7);
        const Peer peer(3, 8);
        uint32_t depth = 9;
        EXPECT_EQ(ipcGetQueueDepth(handle, &depth), IPC_RC_SUCCESS);
        EXPECT_EQ(depth, 0u);
        peer.send(3, 7, frame(IPC_ASYNC, 1, bytes_of("a")));
        fd_set set;
        FD_ZERO(&set);
        FD_SET(ipcGetReadFd(handle), &set);
        timeval limit = {1, 0};
        EXPECT_EQ(select(ipcGetReadFd(handle) + 1, &set, nullptr, nullptr, &limit), 1);
        EXPECT_EQ(ipcGetQueueDepth(handle, &depth), IPC_RC_SUCCESS);
        EXPECT_EQ(depth, 1u);
    });
}

// ---- carriers --------------------------------------------------------------------------------------

TEST(IpcCarrier, TipcWithoutTipcFailsTheRegistration) {
    if (wi_ipc_have_tipc())
        GTEST_SKIP() << "this kernel has TIPC";
    const LogCapture log;
    const ScopedEnv carrier("OV_IPC_CARRIER", "tipc");
    int handle = -1;
    EXPECT_EQ(ipcRegisterService(3, 7, 0, &handle), IPC_RC_FAILED);
    EXPECT_EQ(handle, -1);
}

TEST(IpcCarrier, UnsetWithoutTipcTakesUnixWithOneNotice) {
    if (wi_ipc_have_tipc())
        GTEST_SKIP() << "this kernel has TIPC";
    in_private_network([] {
        unsetenv("OV_IPC_CARRIER"); // NOLINT(concurrency-mt-unsafe)
        const LogCapture log;
        const int handle = registered(3, 7);
        registered(3, 8);
        EXPECT_STREQ(IPC_service_reg_data.at(size_t(handle)).sockets.carrier->name(), "unix");
        const auto lines = log.lines();
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [](const std::string& l) { return l.find("no TIPC") != std::string::npos; }),
                  1);
    });
}

TEST(IpcCarrier, AnUnknownNameIsRefused) {
    const LogCapture log;
    const ScopedEnv carrier("OV_IPC_CARRIER", "pigeon");
    int handle = -1;
    EXPECT_EQ(ipcRegisterService(3, 7, 0, &handle), IPC_RC_FAILED);
    EXPECT_TRUE(has_line(log.lines(), "OV_IPC_CARRIER is pigeon"));
}

// ---- semaphores ------------------------------------------------------------------------------------

namespace {
ipc_sem_calls_t real_calls() {
    return {sem_init, sem_wait, sem_post, sem_destroy};
}
int refuse(sem_t* /*sem*/) {
    errno = EINVAL;
    return -1;
}
int interrupted_once(sem_t* sem) {
    ipc_sem_calls.wait = sem_wait;
    sem_trywait(sem);
    sem_post(sem);
    errno = EINTR;
    return -1;
}
} // namespace

TEST(IpcSemaphores, EachFailureHasItsResult) {
    in_private_network([] {
        ipc_sem_calls.init = [](sem_t*, int, unsigned) { return -1; };
        int handle = -1;
        EXPECT_EQ(ipcRegisterService(3, 7, 0, &handle), IPC_RC_SEM_INIT_FAIL); // the table's
        ipc_sem_calls = real_calls();
        handle = registered(3, 7);
        ipc_sem_calls.init = [](sem_t*, int, unsigned) { return -1; };
        int other = -1;
        EXPECT_EQ(ipcRegisterService(3, 8, 0, &other), IPC_RC_SEM_INIT_FAIL); // the entry's
        ipc_sem_calls = real_calls();
        const Peer free_again(3, 8); // nothing stayed bound
        SendBuffer buf("x");
        ipc_sem_calls.wait = refuse;
        EXPECT_EQ(ipcSend_impl_sem(handle, 3, 8, buf.msg(), 1, nullptr), IPC_RC_SEM_WAIT_FAIL);
        EXPECT_FALSE(free_again.waiting());
        ipc_sem_calls = real_calls();
        ipc_sem_calls.post = refuse;
        EXPECT_EQ(ipcSend_impl_sem(handle, 3, 8, buf.msg(), 1, nullptr), IPC_RC_SEM_POST_FAIL);
        ipc_sem_calls = real_calls();
        sem_post(&IPC_service_reg_data.at(size_t(handle)).sem);
        ipc_sem_calls.wait = interrupted_once;
        EXPECT_EQ(ipcSend_impl_sem(handle, 3, 8, buf.msg(), 1, nullptr), IPC_RC_SUCCESS);
        ipc_sem_calls.destroy = refuse;
        EXPECT_EQ(ipcUnregisterService(handle), IPC_RC_SEM_DESTROY_FAIL);
        ipc_sem_calls = real_calls();
    });
}
