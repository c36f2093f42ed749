// Wireless networks: their record, names and keys at their limits.
#include "../support/remote_tables.h"

using namespace remote_test;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

using Row = ov_sRmWifiTable_attr_t;
using Record = ov_gpon_rmwifi_attr_t;

Row wifi(mib_ulong number) {
    Row row = onu_key<Row>(SLOT, PORT, ONU);
    row.sRmWifiIndex = number;
    return row;
}
int add(Row row, int is_need_check = 1) {
    MIB_Flags_t columns = mibDefFlags;
    return ov_app_gpon_rm_wifi_add(&row, &columns, is_need_check);
}

Row full_row() {
    Row row = wifi(5);
    row.sRmWifiMode = SRMWIFIMODE_ACNA;
    row.sRmWifiChannel = 165;
    set_text(row.sRmWifiName, "home");
    row.sRmWifiBandwidth = SRMWIFIBANDWIDTH_MHZ20_40_80;
    row.sRmWifiRate = 54;
    row.sRmWifiGuardInterval = 400;
    row.sRmWifiBeaconInterval = 1000;
    row.sRmWifiDtimInterval = 3;
    row.sRmWifiSecurityMode = SRMWIFISECURITYMODE_WPA_WPA2_PSK;
    set_text(row.sRmWifiShareKey, "s3cret-share");
    row.sRmWifiWepAuth = SRMWIFIWEPAUTH_OPEN_SHARE;
    row.sRmWifiWepKeybit = SRMWIFIWEPKEYBIT_BITS128;
    row.sRmWifiKeyIndex = 4;
    set_text(row.sRmWifiKeyOne, "s3cret-one");
    set_text(row.sRmWifiKeyTwo, "s3cret-two");
    set_text(row.sRmWifiKeyThree, "s3cret-three");
    set_text(row.sRmWifiKeyFour, "s3cret-four");
    row.sRmWifiWpaEncrypt = SRMWIFIWPAENCRYPT_TKIP_AES;
    row.sRmWifiApIso = 1;
    row.sRmWifiBroadcastCancel = 2;
    row.sRmWifiSsidEnable = 1;
    row.sRmWifiEnable = 0;
    return row;
}

TEST(RmWifi, EachColumnReachesItsField) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(full_row()), OV_GPON_RET_OK);
        ASSERT_THAT(chassis.messages(), SizeIs(1));
        EXPECT_EQ(chassis.messages()[0].mask, 0u); // the whole record counts
        const auto record = chassis.messages()[0].record<Record>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(onu_at(ONU)));
        EXPECT_EQ(record.wifiIndex, 5);
        EXPECT_EQ(record.wifiMode, 8);
        EXPECT_EQ(record.wifiChannel, 165);
        EXPECT_STREQ(record.wifiName, "home");
        EXPECT_EQ(record.wifiBandwidth, 4);
        EXPECT_EQ(record.wifiRate, 54);
        EXPECT_EQ(record.wifiGuardInterval, 400);
        EXPECT_EQ(record.wifiBeaconInterval, 1000);
        EXPECT_EQ(record.wifiDtimInterval, 3);
        EXPECT_EQ(record.wifiSecurityMode, 6);
        EXPECT_STREQ(record.wifiShareKey, "s3cret-share");
        EXPECT_EQ(record.wifiWepAuth, 3);
        EXPECT_EQ(record.wifiWepKeybit, 128);
        EXPECT_EQ(record.wifiKeyIndex, 4);
        EXPECT_STREQ(record.wifiKeyOne, "s3cret-one");
        EXPECT_STREQ(record.wifiKeyTwo, "s3cret-two");
        EXPECT_STREQ(record.wifiKeyThree, "s3cret-three");
        EXPECT_STREQ(record.wifiKeyFour, "s3cret-four");
        EXPECT_EQ(record.wifiWpaEncrypt, 3);
        EXPECT_EQ(record.wifiApIso, 1);
        EXPECT_EQ(record.wifiBroadcastCancel, 2);
        EXPECT_EQ(record.wifiSsidEnable, 1);
        EXPECT_EQ(record.wifiEnable, 0);
    });
}

// A pre-shared key of 63 characters is the longest there is, and fits; so do 31 characters of a name.
TEST(RmWifi, NameAndKeysAreStoredWholeAndCutInTheRecord) {
    run([](AppChassis& chassis) {
        Row row = wifi(1);
        set_text(row.sRmWifiName, text_of(32));
        set_text(row.sRmWifiShareKey, text_of(63, 'k'));
        set_text(row.sRmWifiKeyOne, text_of(32, '1'));
        std::memset(row.sRmWifiKeyFour, '4', sizeof row.sRmWifiKeyFour); // one more, and no end
        ASSERT_EQ(add(row), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(row)->sRmWifiName, text_of(32));
        EXPECT_EQ(find_row(row)->sRmWifiKeyFour, text_of(32, '4'));
        const auto record = chassis.messages().at(0).record<Record>();
        EXPECT_EQ(record.wifiName, text_of(31));
        EXPECT_EQ(record.wifiShareKey, text_of(63, 'k'));
        EXPECT_EQ(record.wifiKeyOne, text_of(31, '1'));
        EXPECT_EQ(record.wifiKeyFour, text_of(31, '4'));
    });
}

TEST(RmWifi, AKeyStandsInNoLogLine) {
    run([](AppChassis& chassis) {
        g_gpon_ipc_msg_debug_flag = 1;
        chassis.card_answers(956, OV_GPON_RET_DRV_ERR);
        EXPECT_NE(add(full_row()), OV_GPON_RET_OK);
        g_gpon_ipc_msg_debug_flag = 0;
        EXPECT_THAT(chassis.hal.log.lines(), Contains(HasSubstr("home"))); // the record was dumped
        EXPECT_THAT(chassis.hal.log.lines(), Not(Contains(HasSubstr("s3cret"))));
    });
}

TEST(RmWifi, OneThatIsThereIsNotMadeAgain) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(wifi(3)), OV_GPON_RET_OK);
        EXPECT_EQ(add(wifi(3)), OV_GPON_RET_EXISTED);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("wifiIndex[3] exist"));
    });
}

TEST(RmWifi, OnlyWithoutTheCheckIsOneMadeOnAProtectingPort) {
    run([](AppChassis&) {
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(add(wifi(1), 1), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(wifi(1), 0), OV_GPON_RET_OK);
    });
}

TEST(RmWifi, ANumberFitsTheRecord) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(add(wifi(0)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(wifi(256)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("wrong wifiIndex[256]"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// Two networks may be the same in everything.
TEST(RmWifi, NetworksExcludeNoOther) {
    run([](AppChassis&) {
        for (const mib_ulong number : {1u, 2u, 8u}) {
            Row row = full_row();
            row.sRmWifiIndex = number;
            EXPECT_EQ(add(row), OV_GPON_RET_OK) << number;
        }
    });
}

} // namespace
