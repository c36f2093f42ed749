// Opening the transport, and the ways in which it can't be opened.
#include "hal_sock.h"

#include <gmock/gmock.h>

#include <sys/file.h>

#include "../support/hal_chassis.h"
#include "hal_debug.h"

using testing::Contains;
using testing::HasSubstr;
using testing::StrEq;

namespace {

// Opens the transport of a module in a child and gives its exit status and what it logged.
struct Ended {
    int status;
    std::string log;
};
Ended end_of(unsigned module) {
    private_root::write_file("/tmp/ended.log", "");
    const int status = private_root::run_child([module] {
        setenv("OV_LOG_FILE", "/tmp/ended.log", 1);
        hal_init(module, frr_master(), nullptr);
    });
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, private_root::read_file("/tmp/ended.log")};
}

TEST(HalInit, RegistersBothNamesWithTwelveSeconds) {
    hal_chassis::run([](HalChassis& chassis) {
        EXPECT_EQ(g_agent_msg_tx_cb->serv_id, 101u);
        EXPECT_EQ(g_agent_msg_tx_cb->my_slot_app_id, 11108u);
        EXPECT_EQ(g_agent_msg_rx_cb->serv_id, 111u);
        EXPECT_EQ(g_agent_msg_rx_cb->my_slot_app_id, 11108u);
        EXPECT_EQ(g_agent_msg_tx_cb->timeout, 12);
        EXPECT_EQ(g_agent_msg_rx_cb->timeout, 12);
        EXPECT_THAT(hal_get_app_name(), StrEq("gpon"));
        EXPECT_THAT(chassis.log.file_text(),
                    HasSubstr("module [1035]  rx_module_id [111] start recv background timer."));
    });
}

TEST(HalInit, AnotherDaemonWaitsForTheDefaultTime) {
    hal_chassis::run_closed([](HalChassis&) {
        hal_init(HAL_MSTP, frr_master(), nullptr);
        EXPECT_EQ(g_agent_msg_tx_cb->timeout, 0);
        EXPECT_EQ(g_agent_msg_rx_cb->serv_id, 103u);
        EXPECT_EQ(g_agent_msg_rx_cb->my_slot_app_id, 10308u);
    });
}

TEST(HalInit, RefusedModuleEndsTheProcessWithStatus1) {
    hal_chassis::run_closed([](HalChassis&) {
        for (const unsigned module : {1000u, 1001u, 1010u, 1021u, 1041u, 1036u, 0u}) {
            const Ended ended = end_of(module);
            EXPECT_EQ(ended.status, 1);
            EXPECT_THAT(ended.log, HasSubstr("UNKOWN module " + std::to_string(module) +
                                             "! APP init ipc failed, exiting!"));
        }
    });
}

TEST(HalInit, SendingNameThatIsTakenEndsTheProcessWithStatus1) {
    SKIP_ON_TIPC("TIPC binds a name twice");
    hal_chassis::run_closed([](HalChassis&) {
        FakeCard squatter(1008); // service 101, sub id 11108
        const Ended ended = end_of(HAL_GPON);
        EXPECT_EQ(ended.status, 1);
        EXPECT_THAT(ended.log, HasSubstr("IPC Registration Client message handler failed, exiting!"));
    });
}

TEST(HalInit, ReceivingNameThatIsTakenEndsTheProcessWithStatus1) {
    SKIP_ON_TIPC("TIPC binds a name twice");
    hal_chassis::run_closed([](HalChassis&) {
        const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const wire::Address name(111, 11108);
        ASSERT_EQ(bind(fd, name.get(), name.len), 0);
        const Ended ended = end_of(HAL_GPON);
        EXPECT_EQ(ended.status, 1);
        EXPECT_THAT(ended.log, HasSubstr("IPC Registration server message handler failed, exiting!"));
        close(fd);
    });
}

TEST(HalInit, ReceiverThatCannotStartEndsTheProcessWithStatus1) {
    hal_chassis::run_closed([](HalChassis&) {
        std::filesystem::create_directory("/var/run/ov_ipc_receive_111_11108.lock"); // no file can be made
        EXPECT_EQ(end_of(HAL_GPON).status, 1);
    });
}

TEST(HalInit, ModulesHaveTheirServicesAndNames) {
    struct Row {
        unsigned module;
        int service;
        const char* name;
    };
    for (const Row& row : {Row{1002, 113, "eqptmgr"}, Row{1004, 102, "mono"},  Row{1006, 117, "zebra"},
                           Row{1008, 103, "mstp"},    Row{1012, 105, "lacp"},  Row{1014, 104, "igmps"},
                           Row{1016, 102, "vrrp"},    Row{1017, 103, "rstp"},  Row{1019, 109, "dot1x"},
                           Row{1023, 102, "gvrp"},    Row{1025, 118, "snmp"},  Row{1027, 107, "dhcp"},
                           Row{1029, 108, "dhcps"},   Row{1031, 106, "mlds"},  Row{1033, 115, "arp"},
                           Row{1035, 111, "gpon"},    Row{1037, 114, "rtmgr"}, Row{1039, 116, "pppoe"},
                           Row{1042, 4, "sca"},       Row{1000, 0, "unknown"}, Row{1001, 0, "cpm"},
                           Row{1010, 0, "lldp"},      Row{1021, 0, "pimsm"},   Row{1041, 0, "switch_agt"},
                           Row{1003, 0, "unknown"}}) {
        EXPECT_EQ(hal_module_info_get(row.module).service, row.service) << row.module;
        EXPECT_THAT(hal_module_info_get(row.module).name, StrEq(row.name)) << row.module;
    }
    EXPECT_EQ(HAL_MODULE_MAX, 1043u);
}

TEST(HalInit, SubIdPacksServiceAndSlot) {
    EXPECT_EQ(_hal_tipc_get_app_slotid(111, 8), 11108);
    EXPECT_EQ(_hal_tipc_get_module_id(10114), 101);
    EXPECT_EQ(_hal_tipc_get_slot_id(10114), 14);
}

TEST(HalDebug, NameIsNullBeforeItIsSet) {
    EXPECT_THAT(hal_get_app_name(), StrEq("NULL"));
    hal_debug_log_init(nullptr);
    EXPECT_THAT(hal_get_app_name(), StrEq("NULL"));
}

TEST(HalDebug, TopicsAndApplicationsHaveNamesAndTheRestIsInvalid) {
    EXPECT_THAT(hal_pktmsg_topic_name(0), StrEq("invalid"));
    EXPECT_THAT(hal_pktmsg_topic_name(1), StrEq("PKTMSG_TOPIC_SYS"));
    EXPECT_THAT(hal_pktmsg_topic_name(12), StrEq("PKTMSG_TOPIC_GPON"));
    EXPECT_THAT(hal_pktmsg_topic_name(14), StrEq("PKTMSG_TOPIC_MLDS"));
    EXPECT_THAT(hal_pktmsg_topic_name(15), StrEq("invalid"));
    EXPECT_THAT(hal_pktmsg_topic_name(0xFFFFFFFF), StrEq("invalid"));
    EXPECT_THAT(hal_pkt_app_name(0), StrEq("invalid"));
    EXPECT_THAT(hal_pkt_app_name(PKT_APP_GPON), StrEq("PKT_APP_GPON"));
    EXPECT_THAT(hal_pkt_app_name(PKT_APP_EQPT_MGR), StrEq("PKT_APP_EQPT_MGR"));
    EXPECT_THAT(hal_pkt_app_name(PKT_APP_MAX), StrEq("invalid"));
}

TEST(HalDebug, SwitchReachesTheTransport) {
    hal_set_debug(1);
    EXPECT_EQ(hal_debug_flag_get(), 1);
    hal_set_debug(0);
    EXPECT_EQ(hal_debug_flag_get(), 0);
}

} // namespace
