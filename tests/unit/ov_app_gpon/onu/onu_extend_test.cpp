// Live readings of an ONU, fetched from the card at each read.
#include "../support/check_callbacks.h"
#include "../support/onu_chassis.h"

#include "ov_app_gpon_onu_extend.h"
#include "sOnuExtendInfoTable.h"
#include "uclient.h"

using namespace onu_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Info = ov_sOnuExtendInfoTable_attr_t;
namespace column = sOnuExtendInfoTable_column;

namespace {

constexpr int OPTICS_MESSAGE = 929;

void put_info(const AppChassis& chassis, int state, int port = PORT) {
    put_onu(
        chassis, [=](Onu& onu) { onu.sOnuTableOnuState = state; }, 7, port);
    chassis.put_row<Info>(
        [](Info& info) {
            info.sOnuExtendInfoOltRxPower = -1;
            info.sOnuExtendInfoRmOnuRxPower = -2;
            info.sOnuExtendInfoRmOnuTxPower = -3;
            info.sOnuExtendInfoPhysicalDistance = 4;
            info.sOnuExtendInfoRmOnuVol = -5;
            info.sOnuExtendInfoRmOnuBias = -6;
            info.sOnuExtendInfoRmOnuTemp = -7;
        },
        GPON_SHELF, AppChassis::SLOT, port, 7);
}

void let_card_read(AppChassis& chassis) {
    ov_gpon_onu_attr_t onu = {};
    onu.oltRxPw = -2311;
    onu.phyDistance = 1234;
    chassis.card_reads(ONU_MESSAGE, onu);
    ov_gpon_rmonu_opt_ani_info_attr_t optics = {};
    optics.rxpwr = -2100;
    optics.txpwr = 250;
    optics.biascurrent = 11;
    optics.powervol = 33;
    optics.temperature = 44;
    chassis.card_reads(OPTICS_MESSAGE, optics);
}

// What a read of these columns gives; the row is left as it was when the read fails.
template <typename... Column>
Info read(bool succeeds, Column... columns) {
    auto info = onu_key<Info>(onu_at(7));
    EXPECT_EQ(mib_access(MIB_GET, info, columns_of(columns...)), succeeds);
    return info;
}

TEST(OnuExtendInfo, DistanceIsReadWhateverTheState) {
    app_chassis::run([](AppChassis& chassis) {
        put_info(chassis, SONUTABLEONUSTATE_ADDED);
        let_card_read(chassis);
        EXPECT_EQ(read(true, column::sOnuExtendInfoPhysicalDistance).sOnuExtendInfoPhysicalDistance, 1234u);
        const auto messages = chassis.messages();
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].type, ONU_MESSAGE);
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(messages[0].mask, 1u << 11);
        EXPECT_EQ(messages[0].record<ov_gpon_onu_attr_t>().ifindex, onu_ifindex_of(onu_at(7)));
    });
}

TEST(OnuExtendInfo, PowersOfAnOperationalOnuAreRead) {
    app_chassis::run([](AppChassis& chassis) {
        put_info(chassis, SONUTABLEONUSTATE_OPERATIONAL);
        let_card_read(chassis);
        EXPECT_EQ(read(true, column::sOnuExtendInfoOltRxPower).sOnuExtendInfoOltRxPower, -2311);
        const Info info = read(true, column::sOnuExtendInfoRmOnuRxPower);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuRxPower, -2100);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuTxPower, 250);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuBias, 11);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuVol, 33);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuTemp, 44);
        const auto messages = chassis.messages();
        ASSERT_THAT(messages, SizeIs(2));
        EXPECT_EQ(messages[0].mask, 1u << 7);
        EXPECT_EQ(messages[1].type, OPTICS_MESSAGE);
        EXPECT_EQ(messages[1].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(messages[1].record<ov_gpon_rmonu_opt_ani_info_attr_t>().onuIfindex,
                  onu_ifindex_of(onu_at(7)));
    });
}

TEST(OnuExtendInfo, PowersOfAnyOtherOnuAreZero) {
    app_chassis::run([](AppChassis& chassis) {
        put_info(chassis, SONUTABLEONUSTATE_AUTHPASS);
        let_card_read(chassis);
        const Info info = read(true, column::sOnuExtendInfoOltRxPower, column::sOnuExtendInfoRmOnuRxPower);
        EXPECT_EQ(info.sOnuExtendInfoOltRxPower, 0);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuRxPower, 0);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuTxPower, 0);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuBias, 0);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuVol, 0);
        EXPECT_EQ(info.sOnuExtendInfoRmOnuTemp, 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuExtendInfo, WholeRowIsReadInThreeMessages) {
    app_chassis::run([](AppChassis& chassis) {
        put_info(chassis, SONUTABLEONUSTATE_OPERATIONAL);
        let_card_read(chassis);
        auto info = onu_key<Info>(onu_at(7));
        EXPECT_TRUE(mib_access(MIB_GET, info));
        std::vector<uint32_t> masks;
        for (const CardMessage& message : chassis.messages())
            masks.push_back(message.mask);
        EXPECT_THAT(masks, ElementsAre(1u << 11, 1u << 7, 0u));
    });
}

TEST(OnuExtendInfo, OtherColumnsComeFromTheRow) {
    app_chassis::run([](AppChassis& chassis) {
        put_info(chassis, SONUTABLEONUSTATE_OPERATIONAL);
        EXPECT_EQ(read(true, column::sOnuExtendInfoRmOnuTemp).sOnuExtendInfoRmOnuTemp, -7);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuExtendInfo, WhatTheCardDoesntSupportStaysAsItWas) {
    app_chassis::run([](AppChassis& chassis) {
        put_info(chassis, SONUTABLEONUSTATE_OPERATIONAL);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(read(true, column::sOnuExtendInfoPhysicalDistance).sOnuExtendInfoPhysicalDistance, 4u);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get which not support"));
    });
}

TEST(OnuExtendInfo, FailureFailsTheRead) {
    app_chassis::run([](AppChassis& chassis) {
        put_info(chassis, SONUTABLEONUSTATE_OPERATIONAL);
        for (const int type : {ONU_MESSAGE, OPTICS_MESSAGE})
            chassis.card_answers(type, OV_GPON_RET_DRV_ERR);
        for (const unsigned wanted : {column::sOnuExtendInfoPhysicalDistance,
                                      column::sOnuExtendInfoOltRxPower, column::sOnuExtendInfoRmOnuRxPower}) {
            LogCapture::clear();
            read(false, wanted);
            EXPECT_THAT(chassis.hal.log.lines(), Contains("get onu extend info error"));
        }
        EXPECT_EQ(find_row(onu_key<Info>(onu_at(7)))->sOnuExtendInfoOltRxPower, -1);
    });
}

TEST(OnuExtendInfo, WithoutItsOnuNothingIsRead) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.put_row<Info>([](Info& info) { info.sOnuExtendInfoOltRxPower = -1; }, GPON_SHELF,
                              AppChassis::SLOT, PORT, 7);
        EXPECT_EQ(read(true, column::sOnuExtendInfoOltRxPower).sOnuExtendInfoOltRxPower, -1);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuExtendInfo, OfAProtectionGroupThePortInServiceIsAsked) {
    app_chassis::run([](AppChassis& chassis) {
        put_info(chassis, SONUTABLEONUSTATE_OPERATIONAL, PORT);
        put_info(chassis, SONUTABLEONUSTATE_OPERATIONAL, OTHER_PORT);
        let_card_read(chassis);
        struct Case {
            int asked_of;
            bool work_is_active;
            int answers;
        };
        for (const auto& [asked_of, work_is_active, answers] :
             {Case{PORT, true, PORT}, Case{PORT, false, OTHER_PORT}, Case{OTHER_PORT, true, PORT},
              Case{OTHER_PORT, false, OTHER_PORT}}) {
            make_group(PORT, OTHER_PORT, work_is_active);
            chassis.forget_messages();
            auto info = onu_key<Info>(onu_at(7, asked_of));
            EXPECT_TRUE(mib_access(MIB_GET, info, columns_of(column::sOnuExtendInfoOltRxPower)));
            const auto messages = chassis.messages();
            ASSERT_THAT(messages, SizeIs(1));
            EXPECT_EQ(messages[0].record<ov_gpon_onu_attr_t>().ifindex, onu_ifindex_of(onu_at(7, answers)));
            EXPECT_EQ(info.portID, asked_of);
        }
    });
}

TEST(OnuExtendInfo, FailureOfTheRowIsLoggedAndRefusesTheOnu) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        app_chassis::refuse_writes_of(SONUEXTENDINFO);
        EXPECT_EQ(new_onu(7, "").add(), OV_GPON_RET_BAD_PARAM);
        // The card had it before the row was tried, and nobody takes it back.
        EXPECT_EQ(stored_onu(7), nullptr);
        ASSERT_EQ(chassis.messages_of(ONU_MESSAGE).size(), 1u);
        EXPECT_EQ(chassis.messages_of(ONU_MESSAGE)[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_NE(uif_lookup_by_index(onu_ifindex_of(onu_at(7))), nullptr);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("add onu_extend_info error"));
        put_info(chassis, SONUTABLEONUSTATE_ADDED);
        Onu onu = onu_at(7);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("delete onu_extend_info error"));
    });
}

} // namespace
