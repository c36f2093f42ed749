#include "mono_api.h"

#include <gmock/gmock.h>

#include "../support/frames.h"
#include "../support/log_capture.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr ov_ifindex_t IFINDEX = 0x48000001;

std::string text_of(const char* field, size_t size) {
    return std::string(field, strnlen(field, size));
}

class MonoApi : public testing::Test {
protected:
    MonoApi() {
        client.fd_sync = pair.fd[0];
        uclient = &client;
    }
    ~MonoApi() override { uclient = nullptr; }

    // What the controller receives from a call that it answers with `errcode` and data.
    Received received_of(const std::function<int()>& call, uint32_t errcode = 0,
                         const std::string& data = "") {
        Received got;
        Controller controller([&] {
            got = read_frame(pair.fd[1]);
            write_all(pair.fd[1], frame(UMSG_REPLY, got.seq,
                                        reply_body(errcode, static_cast<uint32_t>(data.size()), data)));
        });
        result = call();
        controller.join();
        return got;
    }

    LogCapture log;
    SocketPair pair;
    uclient_s client = {};
    msg_reply reply = {};
    int result = -100;
};

TEST_F(MonoApi, GetIfSendsFourZeroBytes) {
    const Received got = received_of([&] { return mono_api_get_if(&reply); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(got.type, UMSG_GET_IF);
    EXPECT_THAT(got.body, ElementsAre(0, 0, 0, 0));
}

TEST_F(MonoApi, GetHostnameGivesTheNameAsData) {
    const Received got = received_of([&] { return mono_api_get_hostname(&reply); }, 0, "olt-7");
    EXPECT_EQ(got.type, UMSG_GET_HOSTNAME);
    EXPECT_THAT(got.body, ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(reply.len, 5u);
    EXPECT_STREQ(reply.data, "olt-7");
}

TEST_F(MonoApi, LoopdetectSetSendsPortAndSwitch) {
    const Received got = received_of([&] { return mono_api_loopdetect_set(IFINDEX, 1); });
    EXPECT_EQ(got.type, UMSG_IF_LOOPDETECT);
    const auto body = got.as<umsg_loopdetect_t>();
    EXPECT_EQ(body.ifindex, IFINDEX);
    EXPECT_EQ(body.set, 1u);
}

TEST_F(MonoApi, TrunkSetSendsItsThreeArguments) {
    const Received got = received_of([&] { return mono_api_trunk_set(1, 16, IFINDEX); });
    EXPECT_EQ(got.type, UMSG_TRUNK_SET);
    const auto body = got.as<umsg_trunk_t>();
    EXPECT_EQ(body.set, 1u);
    EXPECT_EQ(body.tid, 16u);
    EXPECT_EQ(body.ifindex, IFINDEX);
}

TEST_F(MonoApi, PortSchedulerModeSetSendsPortAndModel) {
    const Received got = received_of([&] { return mono_api_port_scheduler_mode_set(IFINDEX, 2); });
    EXPECT_EQ(got.type, UMSG_PORT_SCHEDULER_SET);
    const auto body = got.as<umsg_port_qos_t>();
    EXPECT_EQ(body.ifindex, IFINDEX);
    EXPECT_EQ(body.scheduler_mode, 2u);
}

TEST_F(MonoApi, CfgSyncPrioSetSendsFeatureStageAndName) {
    const Received got = received_of([&] { return mono_api_cfg_sync_prio_set(30047, "gpon", REC_SEQ_QINQ); });
    EXPECT_EQ(got.type, UMSG_CFG_APP_SYNC_PRIO);
    const auto body = got.as<umsg_cfg_sync_t>();
    EXPECT_EQ(body.appid, 30047u);
    EXPECT_EQ(body.slotid, 0u);
    EXPECT_EQ(body.cfg_prio, 480u);
    EXPECT_EQ(body.retcode, 0u);
    EXPECT_STREQ(body.appName, "gpon");
}

TEST_F(MonoApi, CfgRecoveryNotifyResultSendsSlotStageAndResult) {
    const Received got = received_of([&] { return mono_api_cfg_recovery_notify_result("gpon", 3, 300, 5); });
    EXPECT_EQ(got.type, UMSG_CFG_APP_NOTIFY_RECOVER_RESULT);
    const auto body = got.as<umsg_cfg_sync_t>();
    EXPECT_EQ(body.appid, 0u);
    EXPECT_EQ(body.slotid, 3u);
    EXPECT_EQ(body.cfg_prio, 300u);
    EXPECT_EQ(body.retcode, 5u);
    EXPECT_STREQ(body.appName, "gpon");
}

TEST_F(MonoApi, MibSaveActionSendsSequenceAndTable) {
    const Received got = received_of([&] { return mono_api_mib_save_action(77, "sOnuTable"); });
    EXPECT_EQ(got.type, UMSG_SNMP_MIB_TABLE_SAVE);
    const auto body = got.as<umsg_snmp_save_req_t>();
    EXPECT_EQ(body.sequence, 77u);
    EXPECT_STREQ(body.tablename, "sOnuTable");
    EXPECT_EQ(body.saveStatus, 0u);
}

TEST_F(MonoApi, ApplicationNameIsCutAt127Characters) {
    const std::string name(200, 'n');
    for (msg* m : {mono_msg_cfg_sync_prio_set(1, name.c_str(), 2),
                   mono_msg_cfg_recovery_notify_result(name.c_str(), 1, 2, 3)}) {
        const auto body = umsg_body_parse<umsg_cfg_sync_t>(msg_body(m));
        EXPECT_EQ(text_of(body->appName, sizeof(body->appName)), std::string(127, 'n'));
        msg_free(m);
    }
}

TEST_F(MonoApi, TableNameIsCutAt62Characters) {
    msg* m = mono_msg_mib_save_action(1, std::string(100, 't').c_str());
    const auto body = umsg_body_parse<umsg_snmp_save_req_t>(msg_body(m));
    EXPECT_EQ(text_of(body->tablename, sizeof(body->tablename)), std::string(62, 't'));
    msg_free(m);
}

TEST_F(MonoApi, BytesBehindTheNameAreZero) {
    msg* m = mono_msg_cfg_sync_prio_set(1, "gpon", 2);
    const auto body = msg_body(m);
    EXPECT_THAT(Bytes(body.begin() + 20, body.end()), Each(0));
    msg_free(m);
}

TEST_F(MonoApi, EachRequestHasTheNextSequenceNumber) {
    msg* first = mono_msg_get_if();
    msg* second = mono_msg_trunk_set(0, 1, IFINDEX);
    EXPECT_EQ(msg_get_seq(second), msg_get_seq(first) + 1);
    EXPECT_GE(msg_get_seq(first), 1u);
    msg_free(first);
    msg_free(second);
}

TEST_F(MonoApi, ControllersResultIsTheCallsResult) {
    received_of([&] { return mono_api_trunk_set(1, 17, IFINDEX); }, 104001);
    EXPECT_EQ(result, 104001);
}

TEST_F(MonoApi, TransportFailureIsTheCallsResult) {
    pair.close_end(1);
    EXPECT_EQ(mono_api_loopdetect_set(IFINDEX, 0), -2);
}

TEST_F(MonoApi, WithoutAClientTheResultIsMinus1) {
    uclient = nullptr;
    EXPECT_EQ(mono_api_get_if(nullptr), -1);
}

// The name that a call without its argument prints.
std::string printed_by(const std::function<int()>& call) {
    testing::internal::CaptureStderr();
    const int result = call();
    std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_EQ(result, -1);
    return printed;
}

TEST_F(MonoApi, RequestThatCannotBeBuiltPrintsItsNameAndGivesMinus1) {
    EXPECT_EQ(printed_by([] { return mono_api_cfg_sync_prio_set(1, nullptr, 2); }),
              "mono_api_cfg_sync_prio_set failed\n");
    EXPECT_EQ(printed_by([] { return mono_api_cfg_recovery_notify_result(nullptr, 1, 2, 3); }),
              "mono_api_cfg_recovery_notify_result failed\n");
    EXPECT_EQ(printed_by([] { return mono_api_mib_save_action(1, nullptr); }),
              "mono_api_mib_save_action failed\n");
    EXPECT_FALSE(has_input(pair.fd[1]));
}

} // namespace
