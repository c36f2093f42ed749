#include "ov_app_gpon_if.h"

#include <gmock/gmock.h>

#include "ov_ifindex.h"
#include "uclient.h"

#include "../../support/frames.h"
#include "../../support/log_capture.h"
#include "../../support/test_shelf.h"

using testing::ElementsAre;

namespace {

class AppIf : public testing::Test {
protected:
    AppIf() {
        client.fd_sync = pair.fd[0];
        uclient = &client;
    }
    ~AppIf() override { uclient = nullptr; }

    // What the controller receives from a call that it answers with `errcode`.
    Received received_of(const std::function<int()>& call, uint32_t errcode = 0) {
        Received got;
        Controller controller([&] {
            got = read_frame(pair.fd[1]);
            write_all(pair.fd[1], frame(UMSG_REPLY, got.seq, reply_body(errcode, 0, "")));
        });
        result = call();
        controller.join();
        return got;
    }

    const ov_ifindex_t pon = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, 1, 0, 4, 0);
    const ov_ifindex_t onu = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, 1, 0, 4, 7);
    TestShelf shelf{OV_SHELF_TYPE_SINGLE};
    LogCapture log;
    SocketPair pair;
    uclient_s client = {};
    int result = -100;
};

TEST_F(AppIf, NewInterfaceIsAnnouncedWithSequence0) {
    const Received got = received_of([&] { return ov_app_gpon_new_if(onu, "ABCD12345678"); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(got.type, UMSG_NEW_IF);
    EXPECT_EQ(got.seq, 0u);
    const auto body = got.as<umsg_if_t>();
    EXPECT_EQ(body.ifindex, onu);
    EXPECT_STREQ(body.name, "gpon-onu1/4:7");
    EXPECT_STREQ(body.onu_sn, "ABCD12345678");
    for (const uint32_t unused : {body.status, body.admin, body.duplex, body.speed, body.flags})
        EXPECT_EQ(unused, 0u);
}

TEST_F(AppIf, NewInterfaceIsEnteredLocallyAfterItsMessage) {
    bool known_while_sending = true;
    Controller controller([&] {
        const Received got = read_frame(pair.fd[1]);
        known_while_sending = uif_lookup_by_index(onu) != nullptr;
        write_all(pair.fd[1], frame(UMSG_REPLY, got.seq, reply_body(0, 0, "")));
    });
    ov_app_gpon_new_if(onu, "ABCD12345678");
    controller.join();
    EXPECT_FALSE(known_while_sending);
    const uif_t* uif = uif_lookup_by_name("gpon-onu1/4:7");
    ASSERT_NE(uif, nullptr);
    EXPECT_EQ(uif->ifindex, onu);
    EXPECT_STREQ(uif->onu_sn, "ABCD12345678");
}

TEST_F(AppIf, NewInterfaceIsEnteredWhateverTheAnswer) {
    received_of([&] { return ov_app_gpon_new_if(onu, "ABCD12345678"); }, 104006);
    EXPECT_EQ(result, 104006);
    EXPECT_NE(uif_lookup_by_index(onu), nullptr);
}

TEST_F(AppIf, NewInterfaceIsEnteredWithoutAController) {
    uclient = nullptr;
    EXPECT_EQ(ov_app_gpon_new_if(onu, nullptr), -1);
    ASSERT_NE(uif_lookup_by_index(onu), nullptr);
    EXPECT_STREQ(uif_lookup_by_index(onu)->onu_sn, "");
}

TEST_F(AppIf, SerialNumberIsCutAt31Characters) {
    const Received got = received_of([&] { return ov_app_gpon_new_if(onu, std::string(40, 'S').c_str()); });
    EXPECT_STREQ(got.as<umsg_if_t>().onu_sn, std::string(31, 'S').c_str());
}

TEST_F(AppIf, DeletedInterfaceIsWithdrawnThenRemoved) {
    received_of([&] { return ov_app_gpon_new_if(onu, ""); });
    bool known_while_sending = false;
    Received got;
    Controller controller([&] {
        got = read_frame(pair.fd[1]);
        known_while_sending = uif_lookup_by_index(onu) != nullptr;
        write_all(pair.fd[1], frame(UMSG_REPLY, got.seq, reply_body(0, 0, "")));
    });
    EXPECT_EQ(ov_app_gpon_del_if(onu), 0);
    controller.join();
    EXPECT_TRUE(known_while_sending);
    EXPECT_EQ(got.type, UMSG_DEL_IF);
    EXPECT_EQ(got.seq, 0u);
    EXPECT_EQ(got.as<umsg_if_t>().ifindex, onu);
    EXPECT_STREQ(got.as<umsg_if_t>().name, "gpon-onu1/4:7");
    EXPECT_EQ(uif_lookup_by_index(onu), nullptr);
}

TEST_F(AppIf, DeleteServesOnusPonPortsAndXePorts) {
    for (const ov_ifindex_t ifindex : {onu, pon, ov_ifindex_gen_by_phyinfo(PORT_TYPE_XE, 1, 1, 0, 1, 0)}) {
        ASSERT_NE(uif_create_by_ifindex(ifindex), nullptr);
        EXPECT_EQ(received_of([&] { return ov_app_gpon_del_if(ifindex); }).type, UMSG_DEL_IF);
        EXPECT_EQ(uif_lookup_by_index(ifindex), nullptr);
    }
}

TEST_F(AppIf, DeleteOfAnyOtherKindIsRefusedWithoutAMessage) {
    const ov_ifindex_t ge = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GE, 1, 1, 0, 1, 0);
    ASSERT_NE(uif_create_by_ifindex(ge), nullptr);
    EXPECT_EQ(ov_app_gpon_del_if(ge), OV_GPON_RET_BAD_PARAM);
    EXPECT_FALSE(has_input(pair.fd[1]));
    EXPECT_NE(uif_lookup_by_index(ge), nullptr);
}

TEST_F(AppIf, DeleteRemovesWhateverTheAnswer) {
    ASSERT_NE(uif_create_by_ifindex(onu), nullptr);
    received_of([&] { return ov_app_gpon_del_if(onu); }, 104006);
    EXPECT_EQ(result, 104006);
    EXPECT_EQ(uif_lookup_by_index(onu), nullptr);
}

TEST_F(AppIf, ProtectionGroupIsAnnouncedAndWithdrawnWithBothPorts) {
    const ov_ifindex_t other = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, 1, 0, 5, 0);
    for (const auto& [call, type] : {std::pair{&ov_app_gpon_new_ppgroup_if, UMSG_PROTECT_GROUP_ADD},
                                     std::pair{&ov_app_gpon_del_ppgroup_if, UMSG_PROTECT_GROUP_DEL}}) {
        const Received got = received_of([&, send = call] { return send(pon, other); });
        EXPECT_EQ(got.type, type);
        EXPECT_EQ(got.seq, 0u);
        const auto body = got.as<umsg_protect_group_t>();
        EXPECT_EQ(body.work_ifindex, pon);
        EXPECT_EQ(body.protect_ifindex, other);
        EXPECT_EQ(body.type, 0u);
    }
}

TEST_F(AppIf, OnuStatusCarriesTheEightSerialBytesAndAZero) {
    const unsigned char sn[8] = {'A', 'B', 'C', 'D', 0x00, 0x34, 0xFF, 0x78};
    const Received got = received_of([&] { return ov_gpon_onu_status_notify(onu, 1, sn); });
    EXPECT_EQ(got.type, UMSG_ONU_STATUS_NOTIFY);
    EXPECT_EQ(got.seq, 0u);
    const auto body = got.as<umsg_onu_op_t>();
    EXPECT_EQ(body.ifindex, onu);
    EXPECT_EQ(body.status, 1);
    EXPECT_THAT(body.onu_sn, ElementsAre('A', 'B', 'C', 'D', 0x00, 0x34, 0xFF, 0x78, 0));
    EXPECT_EQ(got.body.back(), 0); // padding too
}

TEST_F(AppIf, OnuStatusMayLackTheSerial) {
    const Received got = received_of([&] { return ov_gpon_onu_status_notify(onu, 3, nullptr); });
    EXPECT_THAT(got.as<umsg_onu_op_t>().onu_sn, testing::Each(0));
}

} // namespace
