// WAN connections, wireless networks and telephony of ONUs by command: what reaches the rows and the card,
// what is refused and why, and that no log has a password.
#include "remote_fixture.h"

#include <arpa/inet.h>

#include "sRmVoipConfigDataTable.h"
#include "sRmVoipLineStatusTable.h"
#include "sRmVoipSipAgentConfigTable.h"
#include "sRmVoipSipUserDataTable.h"
#include "sRmWanTable.h"
#include "sRmWifiTable.h"

namespace {

using Wan = ov_sRmWanTable_attr_t;
using Wifi = ov_sRmWifiTable_attr_t;
using Voip = ov_sRmVoipConfigDataTable_attr_t;
using Agent = ov_sRmVoipSipAgentConfigTable_attr_t;
using User = ov_sRmVoipSipUserDataTable_attr_t;
using Line = ov_sRmVoipLineStatusTable_attr_t;

struct Refused {
    std::string line;
    const char* text;
    int result = 104001;
};

class RemoteWan : public RemoteCli {
protected:
    RemoteWan() {
        active(sRmVoipConfigDataTable_createEntry(1, 3, 2, 7));
        active(sRmVoipConfigDataTable_createEntry(1, 31, 15, 5));
        active(sRmVoipSipUserDataTable_createEntry(1, 3, 2, 7, POTS, 1, 1));
        active(sRmVoipLineStatusTable_createEntry(1, 3, 2, 7, POTS, 1, 1));
        LogCapture::clear();
    }
    static const Wan* wan(unsigned number, bool of_profile = false) {
        auto key = of_profile ? onu_key<Wan>(31, 15, 5) : onu_key<Wan>(3, 2, 7);
        key.sRmWanIndex = number;
        return find_row(key);
    }
    static const Wifi* wifi(unsigned number) {
        auto key = onu_key<Wifi>(3, 2, 7);
        key.sRmWifiIndex = number;
        return find_row(key);
    }
    static std::string address(uint32_t stored) {
        char text[INET_ADDRSTRLEN];
        return inet_ntop(AF_INET, &stored, text, sizeof text);
    }
    static std::string text(size_t size) { return std::string(size, 'x'); }
    size_t told(int message) { return chassis_.messages_of(message).size(); }
    void expect_unlogged(const char* secret) const {
        EXPECT_THAT(log_.lines(), testing::Not(testing::Contains(testing::HasSubstr(secret))));
    }
};

// ---- WAN connections --------------------------------------------------------------------------------------

CLI_TEST(RemoteWan, ARoutedConnectionByPppoe) {
    EXPECT_EQ(run(far_, "remote wan 3 route tr069_voice_internet pppoe me secret isp vlan-mode tag 4094 "
                        "priority 7 eth 4,1 ssid 2 ssid-5g 7,5"),
              "");
    const Wan* row = wan(3);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->sRmWanMode, 1);
    EXPECT_EQ(row->sRmWanType, 8);
    EXPECT_EQ(row->sRmWanDSP, 3);
    EXPECT_STREQ(row->sRmWanPppUser, "me");
    EXPECT_STREQ(row->sRmWanPppPwd, "secret");
    EXPECT_STREQ(row->sRmWanPppSrvName, "isp");
    EXPECT_EQ(row->sRmWanVlanMode, 1);
    EXPECT_EQ(row->sRmWanVlan, 4094);
    EXPECT_EQ(row->sRmWanVlanCos, 7);
    EXPECT_EQ(row->sRmWanBindLan, 0b1001);
    EXPECT_EQ(row->sRmWanBindSsid, 0b0010);
    EXPECT_EQ(row->sRmWanBindSsid5G, 0b0101);
    EXPECT_EQ(row->sRmWanEnable, 1);
    ASSERT_EQ(told(OV_HAL_MSG_GPON_RM_WAN), 1u);
    const auto record = chassis_.messages_of(OV_HAL_MSG_GPON_RM_WAN)[0].record<ov_gpon_rmwan_attr_t>();
    EXPECT_EQ(record.wanIndex, 3u);
    EXPECT_EQ(record.wanVlan, 4094);
    EXPECT_EQ(record.lan, 0b1001);
}

CLI_TEST(RemoteWan, ARoutedConnectionWithAddresses) {
    EXPECT_EQ(run(profile_,
                  "remote wan 8 route voice static ip-address 10.1.2.3 netmask 255.255.254.0 gw 10.1.2.1 "
                  "primary-dns 8.8.4.4 secondary-dns 0.0.0.0 vlan-mode tag 1 priority 0"),
              "");
    const Wan* row = wan(8, true);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->sRmWanType, 3);
    EXPECT_EQ(row->sRmWanDSP, 2);
    EXPECT_EQ(address(row->sRmWanIpAddr), "10.1.2.3");
    EXPECT_EQ(address(row->sRmWanNetMask), "255.255.254.0");
    EXPECT_EQ(address(row->sRmWanGateway), "10.1.2.1");
    EXPECT_EQ(address(row->sRmWanPrimaryDns), "8.8.4.4");
    EXPECT_EQ(address(row->sRmWanSecondaryDns), "0.0.0.0");
    EXPECT_EQ(row->sRmWanBindLan, 0);
}

CLI_TEST(RemoteWan, ABridgedConnection) {
    EXPECT_EQ(run(far_, "remote wan 1 bridge other bridge-mode ip-bridge vlan-mode tag 5 priority 1 eth 2"),
              "");
    const Wan* row = wan(1);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->sRmWanMode, 2);
    EXPECT_EQ(row->sRmWanType, 4);
    EXPECT_EQ(row->sRmWanBridgeMode, 2);
    EXPECT_EQ(row->sRmWanDSP, 0);
    EXPECT_EQ(row->sRmWanBindLan, 2);
    EXPECT_EQ(run(far_, "no remote wan 1"), "");
    EXPECT_EQ(wan(1), nullptr);
}

CLI_TEST(RemoteWan, ANumberThatIsTakenIsRefused) {
    EXPECT_EQ(run(far_, "remote wan 1 route internet dhcp vlan-mode tag 5 priority 0"), "");
    EXPECT_EQ(run(far_, "remote wan 1 route voice dhcp vlan-mode tag 6 priority 0", 104006),
              "%wan[1] exist \n");
    EXPECT_EQ(wan(1)->sRmWanType, 2);
    EXPECT_EQ(run(far_, "no remote wan 2", 104006), "%Failed to delete remote wan[2] \n");
}

CLI_TEST(RemoteWan, WhatExcludesAnotherOrTheCardRefusesIsntKept) {
    EXPECT_EQ(run(far_, "remote wan 1 route internet dhcp vlan-mode tag 5 priority 0 eth 1,2"), "");
    const char* failure = "%Failed to add remote wan, please check \n";
    EXPECT_EQ(run(far_, "remote wan 2 route internet dhcp vlan-mode tag 5 priority 0", 104006), failure);
    EXPECT_EQ(run(far_, "remote wan 2 bridge other bridge-mode ip-bridge vlan-mode tag 6 priority 0 eth 2,3",
                  104006),
              failure);
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_WAN, 101001);
    EXPECT_EQ(run(far_, "remote wan 2 route voice pppoe me hunter2 vlan-mode tag 7 priority 0", 104006),
              failure);
    EXPECT_EQ(wan(2), nullptr);
    expect_unlogged("hunter2");
}

CLI_TEST(RemoteWan, BadWordsAreRefusedAndNothingIsTold) {
    const std::string pppoe = "remote wan 1 route internet pppoe ";
    const std::string vlan = " vlan-mode tag 5 priority 0";
    const std::string route = "remote wan 1 route internet dhcp" + vlan;
    const std::string bridge = "remote wan 1 bridge internet bridge-mode pppoe-bridge" + vlan;
    const auto addresses = [&](const char* ip, const char* mask, const char* gateway, const char* first,
                               const char* second) {
        return std::string("remote wan 1 route other static ip-address ") + ip + " netmask " + mask + " gw " +
               gateway + " primary-dns " + first + " secondary-dns " + second + vlan;
    };
    std::vector<Refused> lines = {
        {pppoe + text(26) + " pw" + vlan, "%Username or password len exceed range\n", 104006},
        {pppoe + "me " + text(26) + vlan, "%Username or password len exceed range\n", 104006},
        {pppoe + "me pw " + text(26) + vlan, "%pppoe service name len exceed range\n", 104006},
    };
    for (const char* ip : {"0.0.0.0", "0.1.2.3", "127.0.0.1", "224.0.0.1", "255.255.255.255"}) {
        lines.push_back(
            {addresses(ip, "255.0.0.0", "1.1.1.1", "1.1.1.1", "1.1.1.1"), "% Malformed ip address \n"});
        if (std::string(ip) == "0.0.0.0")
            continue; // of the others it says that there is none
        lines.push_back(
            {addresses("1.1.1.1", "255.0.0.0", ip, "1.1.1.1", "1.1.1.1"), "% Malformed gateway \n"});
        lines.push_back(
            {addresses("1.1.1.1", "255.0.0.0", "1.1.1.1", ip, "1.1.1.1"), "% Malformed primary dns \n"});
        lines.push_back(
            {addresses("1.1.1.1", "255.0.0.0", "1.1.1.1", "1.1.1.1", ip), "% Malformed secondary dns \n"});
    }
    for (const char* mask : {"0.0.0.0", "255.0.255.0", "0.255.255.255", "1.0.0.0", "255.255.255.253"})
        lines.push_back(
            {addresses("1.1.1.1", mask, "1.1.1.1", "1.1.1.1", "1.1.1.1"), "% Malformed netmask \n"});
    for (const char* list :
         {"0", "5", "1,5", "1,1", "x", "1,", ",1", "1,,2", "12", "1 2", "1;2", "-1", "1,2,3,4,1"}) {
        if (std::string(list) == "1 2")
            continue; // two words
        lines.push_back({route + " eth " + list, "%Unknown ETH string \n"});
        lines.push_back({bridge + " ssid " + list, "%Unknown SSID string \n"});
    }
    for (const char* list : {"4", "9", "5,4", "5,5", "x", "5,"}) {
        lines.push_back({route + " ssid-5g " + list, "%Unknown SSIDADC string \n"});
        lines.push_back({route + " eth 1 ssid 1 ssid-5g " + list, "%Unknown SSIDADC string \n"});
        lines.push_back({bridge + " ssid-5g " + list, "%Unknown SSID-5G string \n"});
    }
    // no short form of "voice_internet"
    lines.push_back({"remote wan 1 route voice dhcp" + vlan + " eth 1", "%Unknown wan type\n"});
    for (const Refused& refused : lines)
        for (FrrSession* session : {&far_, &profile_})
            EXPECT_EQ(run(*session, refused.line, refused.result), refused.text) << refused.line;
    EXPECT_EQ(told(OV_HAL_MSG_GPON_RM_WAN), 0u);
    EXPECT_TRUE(rows_copied(Wan{}, 0).empty());
}

CLI_TEST(RemoteWan, LinesBesideTheFormsAreNoCommands) {
    for (const char* line : {
             "remote wan 0 route internet dhcp vlan-mode tag 5 priority 0",
             "remote wan 9 route internet dhcp vlan-mode tag 5 priority 0",
             "remote wan 1 route television dhcp vlan-mode tag 5 priority 0",
             "remote wan 1 route internet dhcp vlan-mode tag 4095 priority 0",
             "remote wan 1 route internet dhcp vlan-mode tag 5 priority 8",
             "remote wan 1 route internet dhcp vlan-mode untag",
             "remote wan 1 bridge voice bridge-mode ip-bridge vlan-mode tag 5 priority 0",
             "remote wan 1 route internet static ip-address 10.1.1.256 netmask 255.0.0.0 gw 1.1.1.1 "
             "primary-dns "
             "1.1.1.1 secondary-dns 1.1.1.1 vlan-mode tag 5 priority 0",
             "remote wifi 1 mode 802.11a channel 36 ssid-name home security-mode open",
             "remote wifi 1 mode 802.11b channel 14 ssid-name home security-mode open",
             "remote wifi 5 mode 802.11a channel 35 ssid-name home security-mode open",
             "remote wifi 5 mode 802.11a channel 166 ssid-name home security-mode open",
             "remote wifi 5 mode 802.11b channel auto ssid-name home security-mode open",
             "remote wifi 9 enable",
             "remote wifi 1 mode 802.11n channel 1 ssid-name home security-mode open", // without a bandwidth
             "remote wifi 1 mode 802.11n channel 1 bandwidth 20/40/80MHz ssid-name home security-mode open",
             "remote voip protocol h323",
             "no remote sip-agent 0",
         })
        EXPECT_EQ(far_.run(line), CMD_ERR_NO_MATCH) << line;
    for (const char* line : {"remote wan 1 route internet dhcp vlan-mode tag 5 priority 0",
                             "no remote wifi 1", "remote voip protocol sip"}) {
        EXPECT_EQ(far_port_.run(line), CMD_ERR_NO_MATCH) << line;
        EXPECT_EQ(config_.run(line), CMD_ERR_NO_MATCH) << line;
    }
    for (const char* line :
         {"remote onu 100 aa", "no remote sip-user pots_1/1", "show onu remote sip-user pots_1/1 status"})
        EXPECT_EQ(profile_.run(line), CMD_ERR_NO_MATCH) << line;
}

// ---- wireless networks ------------------------------------------------------------------------------------

CLI_TEST(RemoteWan, AWirelessNetworkWithASharedKey) {
    EXPECT_EQ(run(far_, "remote wifi 5 mode 802.11ac/n/a channel auto bandwidth 20/40/80MHz ssid-name home "
                        "security-mode wpa-psk/wpa2-psk share-key 12345678"),
              "");
    const Wifi* row = wifi(5);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->sRmWifiMode, 8);
    EXPECT_EQ(row->sRmWifiChannel, 0);
    EXPECT_EQ(row->sRmWifiBandwidth, 4);
    EXPECT_STREQ(row->sRmWifiName, "home");
    EXPECT_EQ(row->sRmWifiSecurityMode, 6);
    EXPECT_STREQ(row->sRmWifiShareKey, "12345678");
    EXPECT_EQ(told(OV_HAL_MSG_GPON_RM_WIFI), 1u);
    expect_unlogged("12345678");
    EXPECT_EQ(run(far_,
                  "remote wifi 4 mode 802.11b/g channel 13 ssid-name home security-mode wpa2-psk share-key "
                  "abcdefgh encrypt-mode tkip/aes"),
              "");
    EXPECT_EQ(wifi(4)->sRmWifiMode, 3);
    EXPECT_EQ(wifi(4)->sRmWifiChannel, 13);
    EXPECT_EQ(wifi(4)->sRmWifiSecurityMode, 5);
    EXPECT_EQ(wifi(4)->sRmWifiWpaEncrypt, 3);
}

CLI_TEST(RemoteWan, AWirelessNetworkWithWepHasItsKeyInTheColumnOfItsNumber) {
    EXPECT_EQ(run(far_,
                  "remote wifi 1 mode 802.11b channel 1 ssid-name home security-mode wep-64bits wep-auth "
                  "open/share key-index 3 abcde"),
              "");
    const Wifi* row = wifi(1);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->sRmWifiSecurityMode, 2);
    EXPECT_EQ(row->sRmWifiWepAuth, 3);
    EXPECT_EQ(row->sRmWifiWepKeybit, 64);
    EXPECT_EQ(row->sRmWifiKeyIndex, 3);
    EXPECT_STREQ(row->sRmWifiKeyOne, "");
    EXPECT_STREQ(row->sRmWifiKeyThree, "abcde");
    EXPECT_EQ(run(far_,
                  "remote wifi 6 mode 802.11a channel 36 ssid-name home security-mode wep-128bits wep-auth "
                  "open key-index 1 0123456789abcdef0123456789"),
              "");
    EXPECT_EQ(wifi(6)->sRmWifiWepKeybit, 128);
    EXPECT_EQ(wifi(6)->sRmWifiWepAuth, 1);
    EXPECT_STREQ(wifi(6)->sRmWifiKeyOne, "0123456789abcdef0123456789");
}

CLI_TEST(RemoteWan, ANetworkIsSwitchedAndRemoved) {
    EXPECT_EQ(run(far_, "remote wifi 2 mode 802.11g channel 6 ssid-name home security-mode open"), "");
    EXPECT_EQ(wifi(2)->sRmWifiSecurityMode, 1);
    EXPECT_EQ(run(far_, "remote wifi 2 disable"), "");
    EXPECT_EQ(run(far_, "remote wifi 2 ssid disable"), "");
    EXPECT_EQ(wifi(2)->sRmWifiEnable, 0);
    EXPECT_EQ(wifi(2)->sRmWifiSsidEnable, 0);
    EXPECT_EQ(run(far_, "remote wifi 2 mode 802.11b channel 1 ssid-name other security-mode open", 104006),
              "%Failed to add remote wifi \n");
    EXPECT_STREQ(wifi(2)->sRmWifiName, "home");
    EXPECT_EQ(run(far_, "no remote wifi 2"), "");
    EXPECT_EQ(wifi(2), nullptr);
    EXPECT_EQ(run(far_, "no remote wifi 2", 104006), "%Failed to config remote wifi \n");
    EXPECT_EQ(run(far_, "remote wifi 2 enable", 104006), "%Failed to config remote wifi \n");
    EXPECT_EQ(run(far_, "remote wifi 7 ssid enable", 104006), "%Failed to config remote wifi ssid\n");
}

CLI_TEST(RemoteWan, BadWordsOfNetworksAreRefusedAndNothingIsTold) {
    const std::string radio = "remote wifi 1 mode 802.11b channel 1 ssid-name ";
    const std::string wpa = radio + "home security-mode wpa-psk share-key ";
    const std::string wep64 = radio + "home security-mode wep-64bits wep-auth open key-index 1 ";
    const std::string wep128 = radio + "home security-mode wep-128bits wep-auth open key-index 4 ";
    const std::string narrow =
        "remote wifi 5 mode 802.11n/a channel auto bandwidth 20/40/80MHz ssid-name home security-mode ";
    const char* wide = "%Only 802.11ac/n/a support 20/40/80MHz\n";
    const Refused lines[] = {
        {"remote wifi 1 mode 802.11b channel 1 bandwidth 20MHz ssid-name home security-mode open",
         "%Bad parameter\n"}, // no short form of 802.11b/g/n
        {radio + text(33) + " security-mode open", "%SSID name len exceed range\n", 104006},
        {narrow + "open", wide},
        {narrow + "wpa-psk share-key 12345678", wide},
        {narrow + "wep-64bits wep-auth open key-index 1 abcde", wide},
        {wpa + text(7) + " encrypt-mode aes", "%Share key len error\n"},
        {wpa + text(64) + " encrypt-mode aes", "%Share key len error\n"},
        {wpa + text(65) + " encrypt-mode aes", "%Share key len exceed range\n", 104006},
        {wep64 + text(4), "%Invalid key value\n"},
        {wep64 + text(6), "%Invalid key value\n"},
        {wep64 + "123456789", "%Invalid key value\n"},
        {wep64 + "123456789g", "%Invalid key value\n"}, // no hexadecimal digit
        {wep64 + text(13), "%Invalid key value\n"},
        {wep128 + text(5), "%Invalid key value\n"},
        {wep128 + text(12), "%Invalid key value\n"},
        {wep128 + text(26), "%Invalid key value\n"},
        {wep128 + "0123456789abcdef0123456789a", "%Invalid key value\n"},
        {wep128 + text(200), "%Invalid key value\n"},
    };
    for (const Refused& refused : lines)
        for (FrrSession* session : {&far_, &profile_})
            EXPECT_EQ(run(*session, refused.line, refused.result), refused.text) << refused.line;
    EXPECT_EQ(told(OV_HAL_MSG_GPON_RM_WIFI), 0u);
    EXPECT_TRUE(rows_copied(Wifi{}, 0).empty());
    expect_unlogged("123456789g");
}

// ---- telephony --------------------------------------------------------------------------------------------

CLI_TEST(RemoteWan, TheProtocolOfTelephony) {
    for (FrrSession* session : {&far_, &profile_}) {
        const Voip* row = find_row(session == &far_ ? onu_key<Voip>(3, 2, 7) : onu_key<Voip>(31, 15, 5));
        for (const auto& [word, code] :
             {std::pair{"sip", 1}, {"h248", 2}, {"mgcp", 3}, {"non_omci", 255}, {"none", 0}}) {
            EXPECT_EQ(run(*session, std::string("remote voip protocol ") + word), "");
            EXPECT_EQ(row->sRmVoipConfigDataSigProtocolUsed, code) << word;
        }
    }
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA, 101001);
    EXPECT_EQ(run(far_, "remote voip protocol sip", 104006), "%Failed to set voip config data\n");
    EXPECT_EQ(run(far_, "remote onu 100 0011-2233-4455", 104006), "%Failed to set voip vlan and mac\n");
}

CLI_TEST(RemoteWan, TheVlanAndMacAddressOfTelephonyAreKeptAsTheyAreTyped) {
    const Voip* row = find_row(onu_key<Voip>(3, 2, 7));
    EXPECT_EQ(run(far_, "remote onu  voip  vlan 100 mac 0011-2233-4455"), "");
    EXPECT_STREQ(row->sRmVoipConfigDataVoipMacVlan, "voip vlan 100 mac 0011-2233-4455");
    EXPECT_THAT(block("gpon-onu3/2:7", GPON_ONU_NODE),
                testing::HasSubstr(" remote onu voip vlan 100 mac 0011-2233-4455\n"));
    EXPECT_EQ(run(far_, "remote onu " + text(128)), "");
    EXPECT_EQ(row->sRmVoipConfigDataVoipMacVlan, text(128));
    EXPECT_EQ(run(far_, "remote onu " + text(129), 104006), "%String length exceeds\n");
    EXPECT_EQ(run(far_, "remote onu " + text(64) + " " + text(64), 104006), "%String length exceeds\n");
    EXPECT_EQ(row->sRmVoipConfigDataVoipMacVlan, text(128));
}

// Typed wrong, "remote onu reboot now" would else be kept as a text and sent to the ONU.
CLI_TEST(RemoteWan, WhatBeginsAsAnotherCommandIsNoText) {
    for (const char* words : {"reboot now", "restore defaults", "r x", "res x", "restore default x"})
        EXPECT_EQ(run(far_, std::string("remote onu ") + words, 104001),
                  std::string("%Bad params ") + words + "\n");
    EXPECT_EQ(told(OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA), 0u);
    EXPECT_EQ(run(far_, "remote onu reboot"), "");
    EXPECT_EQ(told(OV_HAL_MSG_GPON_RMONU_INFO), 1u);
    EXPECT_STREQ(find_row(onu_key<Voip>(3, 2, 7))->sRmVoipConfigDataVoipMacVlan, "");
}

CLI_TEST(RemoteWan, ATextThatCannotBeTypedIsNotSaved) {
    auto& row = const_cast<Voip&>(*find_row(onu_key<Voip>(3, 2, 7)));
    for (const char* bad : {"reboot", "reb", " a", "a ", "a  b", "a |", "a | b", "a\nb", "gr\xfcn"}) {
        set(row.sRmVoipConfigDataVoipMacVlan, bad);
        EXPECT_THAT(block("gpon-onu3/2:7", GPON_ONU_NODE), testing::Not(testing::HasSubstr("remote onu")))
            << bad;
    }
    set(row.sRmVoipConfigDataVoipMacVlan, "a|b c");
    EXPECT_THAT(block("gpon-onu3/2:7", GPON_ONU_NODE), testing::HasSubstr(" remote onu a|b c\n"));
}

CLI_TEST(RemoteWan, ASipAgent) {
    const std::string servers = " registrar-server reg.net proxy-server proxy.net outbound-proxy out.net ";
    const std::string rest = "primary-dns 1.1.1.1 secondary-dns 1.1.1.2 tcpudp-port 5060";
    for (FrrSession* session : {&far_, &profile_}) {
        EXPECT_EQ(run(*session, "remote sip-agent 65535" + servers + rest), "");
        auto key = session == &far_ ? onu_key<Agent>(3, 2, 7) : onu_key<Agent>(31, 15, 5);
        key.sRmVoipSipAgentConfigAgentID = 65535;
        const Agent* row = find_row(key);
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->sRmVoipSipAgentConfigRegistrarServer, "reg.net");
        EXPECT_STREQ(row->sRmVoipSipAgentConfigProxyServer, "proxy.net");
        EXPECT_STREQ(row->sRmVoipSipAgentConfigOutboundServer, "out.net");
        EXPECT_EQ(address(row->sRmVoipSipAgentConfigPrimaryDns), "1.1.1.1");
        EXPECT_EQ(address(row->sRmVoipSipAgentConfigSecondaryDns), "1.1.1.2");
        EXPECT_EQ(row->sRmVoipSipAgentConfigTcpUdpPort, 5060u);
        EXPECT_EQ(run(*session, "no remote sip-agent 65535"), "");
        EXPECT_EQ(find_row(key), nullptr);
        EXPECT_EQ(run(*session, "no remote sip-agent 65535", 104006), "%Failed to no sip-agent\n");
    }
    EXPECT_EQ(
        run(far_,
            "remote sip-agent 1 registrar-server " + text(129) + " proxy-server a outbound-proxy b " + rest,
            104006),
        "%String length exceeds\n");
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG, 101001);
    EXPECT_EQ(run(far_, "remote sip-agent 1" + servers + rest, 104006), "%Failed to add sip-agent\n");
}

CLI_TEST(RemoteWan, ASipUser) {
    auto key = onu_key<User>(3, 2, 7);
    key.sRmVoipSipUserDataCardType = POTS;
    key.sRmVoipSipUserDataCardID = key.sRmVoipSipUserDataPortID = 1;
    const User* row = find_row(key);
    const std::string user = " sip-agent 1 user-aor 100 display-name Home username me password ";
    EXPECT_EQ(run(far_, "remote sip-user pots_1/1" + user + "hunter2"), "");
    EXPECT_EQ(row->sRmVoipSipUserDataAgentID, 1u);
    EXPECT_STREQ(row->sRmVoipSipUserDataUserAor, "100");
    EXPECT_STREQ(row->sRmVoipSipUserDataDisplayName, "Home");
    EXPECT_STREQ(row->sRmVoipSipUserDataUsername, "me");
    EXPECT_STREQ(row->sRmVoipSipUserDataPassword, "hunter2");
    EXPECT_THAT(block("gpon-onu3/2:7", GPON_ONU_NODE), testing::HasSubstr("password hunter2\n"));
    EXPECT_EQ(run(far_, "no remote sip-user pots_1/1"), "");
    EXPECT_EQ(row->sRmVoipSipUserDataAgentID, 0u);
    EXPECT_STREQ(row->sRmVoipSipUserDataPassword, "");
    EXPECT_THAT(block("gpon-onu3/2:7", GPON_ONU_NODE), testing::Not(testing::HasSubstr("sip-user")));
    const Refused lines[] = {
        {"remote sip-user pots_1/2" + user + "hunter2", "%Failed to add remote sip user \n", 104006},
        {"no remote sip-user eth_1/1", "%Failed to add remote sip user \n", 104006},
        {"remote sip-user pots_1" + user + "hunter2", "%Bad format POTS pots_1\n", 104006},
        {"no remote sip-user phone", "%Bad format ONU interface phone\n", 104006},
        {"remote sip-user pots_1/1" + user + text(26), "%Username or password len exceed range\n", 104006},
        {"remote sip-user pots_1/1 sip-agent 1 user-aor 1 display-name H username " + text(51) +
             " password hunter2",
         "%Username or password len exceed range\n", 104006},
        {"remote sip-user pots_1/1 sip-agent 1 user-aor 1 display-name " + text(26) +
             " username me password hunter2",
         "%String length exceeds\n", 104006},
        {"remote sip-user pots_1/1 sip-agent 1 user-aor " + text(129) +
             " display-name H username me password hunter2",
         "%String length exceeds\n", 104006},
    };
    for (const Refused& refused : lines)
        EXPECT_EQ(run(far_, refused.line, refused.result), refused.text) << refused.line;
    EXPECT_EQ(row->sRmVoipSipUserDataAgentID, 0u);
    expect_unlogged("hunter2");
}

CLI_TEST(RemoteWan, TheStateOfALineIsAskedOfTheOnu) {
    ov_rm_voip_line_status_attr_t record = {};
    record.voipVoiceSerStatus = 5;
    record.voipPortSessionType = 2;
    record.voipCodecUsed = 18;
    chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_VOIP_LINE_STATUS, record);
    const std::string shown = run(far_, "show onu remote sip-user pots_1/1 status");
    for (const char* line :
         {"pots_1/1   read                     now\n",
          "pots_1/1   server status            registration failed: authentication\n",
          "pots_1/1   session                  3 way\n", "pots_1/1   codec                    G.729\n"})
        EXPECT_THAT(shown, testing::HasSubstr(line));
    EXPECT_EQ(told(OV_HAL_MSG_GPON_RMONU_VOIP_LINE_STATUS), 1u);
    const char* failure = "%Failed to get voip voice server status\n";
    EXPECT_EQ(run(far_, "show onu remote sip-user pots_1/2 status", 104006), failure);
    EXPECT_EQ(run(far_, "show onu remote sip-user pots status", 104006), "%Bad format ONU interface pots\n");
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_VOIP_LINE_STATUS, 1009);
    EXPECT_EQ(run(far_, "show onu remote sip-user pots_1/1 status", 104006), failure);
    const_cast<ov_sOnuTable_attr_t&>(*find_row(onu_key<ov_sOnuTable_attr_t>(3, 2, 7))).sOnuTableOnuState =
        SONUTABLEONUSTATE_ADDED;
    const size_t before = told(OV_HAL_MSG_GPON_RMONU_VOIP_LINE_STATUS);
    EXPECT_THAT(run(far_, "show onu remote sip-user pots_1/1 status"),
                testing::HasSubstr("read                     earlier\n"));
    EXPECT_EQ(told(OV_HAL_MSG_GPON_RMONU_VOIP_LINE_STATUS), before);
}

} // namespace
