#include "ipc_fixture.h"

#include "ov_ipc_client.h"
#include "ov_ipc_private.h"
#include "wi_ipc_tipc.h"
#include "wi_nameserver.h"

#include <linux/tipc.h>

TEST(IpcText, NamesEveryResult) {
    EXPECT_STREQ(ipcGetErrorCodeStr(0), "IPC_RC_SUCCESS");
    EXPECT_STREQ(ipcGetErrorCodeStr(-1), "IPC_RC_FAILED");
    EXPECT_STREQ(ipcGetErrorCodeStr(-2), "IPC_RC_INVALID_IDENT");
    EXPECT_STREQ(ipcGetErrorCodeStr(-3), "IPC_RC_SND_BUFF_FULL");
    EXPECT_STREQ(ipcGetErrorCodeStr(-4), "IPC_RC_MSG_RTRNED");
    EXPECT_STREQ(ipcGetErrorCodeStr(-5), "IPC_RC_USER_ABORT");
    EXPECT_STREQ(ipcGetErrorCodeStr(-6), "IPC_RC_TIMEOUT");
    EXPECT_STREQ(ipcGetErrorCodeStr(-7), "IPC_RC_MSG_TOO_LONG");
    EXPECT_STREQ(ipcGetErrorCodeStr(-8), "IPC_RC_RTRNED_MSG_WAITING");
    EXPECT_STREQ(ipcGetErrorCodeStr(-9), "IPC_RC_UNEXPECTED");
    EXPECT_STREQ(ipcGetErrorCodeStr(-10), "IPC_RC_NO_MESSAGE");
    EXPECT_STREQ(ipcGetErrorCodeStr(-11), "IPC_RC_SEM_INIT_FAIL");
    EXPECT_STREQ(ipcGetErrorCodeStr(-12), "IPC_RC_SEM_WAIT_FAIL");
    EXPECT_STREQ(ipcGetErrorCodeStr(-13), "IPC_RC_SEM_POST_FAIL");
    EXPECT_STREQ(ipcGetErrorCodeStr(-14), "IPC_RC_SEM_DESTROY_FAIL");
    for (const int other : {1, -15, -2147483647 - 1, 2147483647})
        EXPECT_STREQ(ipcGetErrorCodeStr(other), "IPC RC UNDEFINED!");
}

TEST(IpcText, NamesMessageTypes) {
    EXPECT_STREQ(ipcGetMsgTypeStr(0), "IPC_ASYNC");
    EXPECT_STREQ(ipcGetMsgTypeStr(1), "IPC_REQUEST");
    EXPECT_STREQ(ipcGetMsgTypeStr(2), "IPC_REPLY");
    EXPECT_STREQ(ipcGetMsgTypeStr(3), "IPC_INVALID");
}

TEST(IpcText, ShowsHeadersMessagesAndTheTime) {
    const LogCapture log;
    ipc_header hdr = {};
    hdr.hdr_id = IPC_HDR_ID;
    hdr.msg_type = IPC_REPLY;
    hdr.msg_id = 42;
    const Bytes msg(17, 0xab);
    ipcShowIpcMessage(&hdr, msg.data(), 17);
    EXPECT_TRUE(
        has_line(log.lines(), "hdr_id 0xface01bc ipc_ver 0 msg_type 2 (IPC_REPLY) sender 0/0 msg_id 42"));
    EXPECT_TRUE(has_line(log.lines(), "0010: ab"));
    ipcShowIpcMessage(nullptr, nullptr, 5);
    EXPECT_EQ(std::string(ipcTimestamp()).size(), 15u);
}

TEST(IpcText, DebugLevelShowsWhatIsSentAndReceived) {
    in_private_network([] {
        const LogCapture log;
        ipcSetDebugLevel(IPC_ERROR_DEBUG);
        const int handle = registered(3, 7);
        SendBuffer buf("abc");
        EXPECT_EQ(ipcSend(handle, 3, 7, buf.msg(), 3, nullptr), IPC_RC_SUCCESS);
        EXPECT_EQ(receive_on(handle).rc, 3);
        EXPECT_TRUE(has_line(log.lines(), "Registered service 3, sub id 7"));
        const auto lines = log.lines();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "0000: 61 62 63"), 2);
    });
}

// ---- TIPC's forms ----------------------------------------------------------------------------------

namespace {

// Ancillary data as recvmsg gives them.
class Control {
public:
    void add(int level, int type, const Bytes& value) {
        const size_t at = bytes_.size();
        bytes_.resize(at + CMSG_SPACE(value.size()));
        cmsghdr head = {};
        head.cmsg_len = CMSG_LEN(value.size());
        head.cmsg_level = level;
        head.cmsg_type = type;
        memcpy(bytes_.data() + at, &head, sizeof(head));
        std::copy(value.begin(), value.end(), bytes_.begin() + ptrdiff_t(at + CMSG_LEN(0)));
    }
    msghdr msg() {
        msghdr m = {};
        m.msg_control = bytes_.data();
        m.msg_controllen = bytes_.size();
        return m;
    }
    Bytes bytes_;
};

Bytes event_bytes(uint32_t number, uint32_t type, uint32_t low, uint32_t found) {
    tipc_event event = {};
    event.event = number;
    event.found_lower = event.found_upper = found;
    event.s.seq = {type, low, low + 1000};
    Bytes bytes(sizeof(event));
    memcpy(bytes.data(), &event, sizeof(event));
    return bytes;
}

} // namespace

TEST(TipcReturned, IsTheDataBesideTheError) {
    Control control;
    control.add(SOL_TIPC, TIPC_ERRINFO, Bytes(8));
    control.add(SOL_TIPC, TIPC_RETDATA, bytes_of("the message"));
    const auto returned = wi_ipc_tipc_returned(control.msg(), {});
    ASSERT_TRUE(returned);
    EXPECT_EQ(Bytes(returned->frame.begin(), returned->frame.end()), bytes_of("the message"));
}

TEST(TipcReturned, OnlyAnOverloadedReceiverIsWorthAnotherTry) {
    for (const uint32_t error : {TIPC_ERR_NO_NAME, TIPC_ERR_NO_PORT, TIPC_ERR_NO_NODE, TIPC_ERR_OVERLOAD}) {
        const uint32_t info[] = {error, 11}; // in the host's byte order
        const auto* bytes = reinterpret_cast<const uint8_t*>(info);
        Control control;
        control.add(SOL_TIPC, TIPC_ERRINFO, Bytes(bytes, bytes + sizeof(info)));
        const auto returned = wi_ipc_tipc_returned(control.msg(), {});
        ASSERT_TRUE(returned);
        EXPECT_EQ(returned->why, error == TIPC_ERR_OVERLOAD ? WI_IPC_NO_ROOM : WI_IPC_GONE) << error;
    }
    Control shorter;
    shorter.add(SOL_TIPC, TIPC_ERRINFO, Bytes(3));
    EXPECT_EQ(wi_ipc_tipc_returned(shorter.msg(), {})->why, WI_IPC_GONE);
}

TEST(TipcReturned, WithoutReturnedDataIsTheBody) {
    Control control;
    control.add(SOL_TIPC, TIPC_ERRINFO, Bytes(8));
    const Bytes body = bytes_of("body");
    const auto returned = wi_ipc_tipc_returned(control.msg(), body);
    ASSERT_TRUE(returned);
    EXPECT_EQ(Bytes(returned->frame.begin(), returned->frame.end()), body);
}

TEST(TipcReturned, OrdinaryAndCutOffAncillaryDataAreNone) {
    Control other;
    other.add(SOL_SOCKET, TIPC_ERRINFO, Bytes(8));
    EXPECT_FALSE(wi_ipc_tipc_returned(other.msg(), {}));
    EXPECT_FALSE(wi_ipc_tipc_returned(msghdr{}, {}));
    Control cut;
    cut.add(SOL_TIPC, TIPC_ERRINFO, Bytes(8));
    for (size_t length = 0; length < CMSG_LEN(8); length++) {
        msghdr msg = cut.msg();
        msg.msg_controllen = length;
        EXPECT_FALSE(wi_ipc_tipc_returned(msg, {})) << length;
    }
}

TEST(Topology, EventsBecomeNamesOfServices) {
    ipc_ns_event_st event = {};
    ASSERT_TRUE(process_evt(event_bytes(TIPC_PUBLISHED, 19101, 0, 10103), &event));
    EXPECT_EQ(event.ipc_ns_ev, 1);
    EXPECT_EQ(event.serv_id, 101u);
    EXPECT_EQ(event.sub_id, 10103u);
    ASSERT_TRUE(process_evt(event_bytes(TIPC_WITHDRAWN, 19000, 0, 5), &event));
    EXPECT_EQ(event.ipc_ns_ev, 0);
    EXPECT_EQ(event.serv_id, 0u);
    ASSERT_TRUE(process_evt(event_bytes(TIPC_SUBSCR_TIMEOUT, 19101, 7, 0), &event));
    EXPECT_EQ(event.ipc_ns_ev, 2);
    EXPECT_EQ(event.sub_id, 7u);
}

TEST(Topology, OtherTypesUnknownEventsAndShortOnesAreIgnored) {
    const LogCapture log;
    ipc_ns_event_st event = {};
    EXPECT_FALSE(process_evt(event_bytes(TIPC_PUBLISHED, 18999, 0, 1), &event));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_FALSE(process_evt(event_bytes(99, 19101, 0, 1), &event));
    EXPECT_TRUE(has_line(log.lines(), "Pid: " + std::to_string(getpid()) + ", Unknown, evt = 99 "));
    const Bytes whole = event_bytes(TIPC_PUBLISHED, 19101, 0, 1);
    EXPECT_FALSE(process_evt(std::span(whole).first(whole.size() - 1), &event));
    EXPECT_FALSE(process_evt({}, &event));
}

TEST(Topology, IsRefusedInWordsOnTheUnixCarrier) {
    const LogCapture log;
    const ScopedEnv carrier("OV_IPC_CARRIER", "unix");
    wi_ns_topology_t* topology = nullptr;
    EXPECT_EQ(ipcTopologyNotificationRegister(101, &topology), IPC_RC_FAILED);
    EXPECT_EQ(ipcTopologyNotificationRegisterSubId(101, 10103, 5, &topology), IPC_RC_FAILED);
    EXPECT_EQ(topology, nullptr);
    EXPECT_TRUE(has_line(log.lines(), "Names of service 101 can't be watched: that needs TIPC"));
    ipc_ns_event_st event = {};
    EXPECT_EQ(ipcTopologyReceive(nullptr, &event, 1), IPC_RC_FAILED);
    EXPECT_EQ(ipcTopologyGetReadFd(nullptr), -1);
    ipcTopologyUnregister(nullptr);
}

TEST(Topology, ABrokenConnectionIsTriedAgainUntilTheTimeout) {
    if (wi_ipc_have_tipc())
        GTEST_SKIP() << "this kernel has TIPC";
    wi_ns_topology_t broken;
    ipc_ns_event_st event = {};
    EXPECT_EQ(ipcTopologyReceive(&broken, &event, 1), IPC_RC_TIMEOUT);
}

// ---- sub ids and the client ------------------------------------------------------------------------

TEST(IpcPrivate, SubIdsOfClientsAndServers) {
    EXPECT_EQ(ov_ipc_private_get_client_recv_subid(3, 111), 1003111u);
    EXPECT_EQ(ov_ipc_private_get_client_send_subid(3, 111), 1103111u);
    EXPECT_EQ(ov_ipc_private_get_recv_subid_by_send_subid(1103111), 1003111u);
    EXPECT_EQ(ov_ipc_private_get_server_recv_subid(3), 1200003u);
    EXPECT_EQ(ov_ipc_private_get_server_send_subid(3), 1300003u);
}

TEST(IpcClient, RegistersItsTwoNamesOnce) {
    SKIP_ON_TIPC("TIPC binds a name twice");
    in_private_network([] {
        const LogCapture log;
        EXPECT_EQ(ov_ipc_client_init(3, 111), 0);
        EXPECT_EQ(ov_ipc_client_init(3, 111), 0);
        EXPECT_EQ(IPC_num_service_regs, 2);
        EXPECT_EQ(ov_ipc_client_init(100, 111), -1);
        EXPECT_EQ(ov_ipc_client_init(3, 1000), -1);
        const Peer taken(IPC_SERVICE_MISC, 1104111);
        EXPECT_EQ(ov_ipc_client_init(4, 111), -1);
        EXPECT_EQ(IPC_num_service_regs, 2);
    });
}

TEST(IpcClient, AMessageKeepsWhatIsPutIn) {
    ov_ipc_client_msg_t* msg = ov_ipc_client_msg_new();
    EXPECT_EQ(ov_ipc_client_msg_get_data(msg), nullptr);
    EXPECT_EQ(ov_ipc_client_msg_edit_type(msg, 3), 0);
    EXPECT_EQ(ov_ipc_client_msg_edit_return_code(msg, -4), 0);
    EXPECT_EQ(ov_ipc_client_edit_server_return_code(msg, 9), 0);
    EXPECT_EQ(ov_ipc_client_msg_edit_data(msg, "data", 4), 0);
    EXPECT_EQ(ov_ipc_client_msg_edit_data(msg, nullptr, 4), -1);
    EXPECT_EQ(ov_ipc_client_msg_edit_data(msg, "data", OV_IPC_CLIENT_MAX_DATA + 1), -1);
    EXPECT_EQ(ov_ipc_client_msg_get_type(msg), 3);
    EXPECT_EQ(ov_ipc_client_msg_get_return_code(msg), -4);
    EXPECT_EQ(ov_ipc_client_get_server_return_code(msg), 9);
    ASSERT_EQ(ov_ipc_client_msg_get_data_len(msg), 4);
    EXPECT_EQ(memcmp(ov_ipc_client_msg_get_data(msg), "data", 4), 0);
    ov_ipc_client_msg_destroy(msg);
    EXPECT_EQ(ov_ipc_client_msg_edit_type(nullptr, 3), -1);
    EXPECT_EQ(ov_ipc_client_msg_get_type(nullptr), -1);
    EXPECT_EQ(ov_ipc_client_msg_get_data_len(nullptr), -1);
    ov_ipc_client_msg_destroy(nullptr);
}
