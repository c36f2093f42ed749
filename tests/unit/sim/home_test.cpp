#include "home.h"

#include <gtest/gtest.h>

#include <cstring>

#include "card_change.h"
#include "card_frame.h"
#include "card_rules.h"
#include "onu_rules.h"
#include "told.h"

namespace {

constexpr uint32_t SLOT = 1;
constexpr uint32_t PON = 9u << 27 | 1u << 26 | SLOT << 21 | 2u << 15;
constexpr uint32_t ONU_5 = 10u << 27 | 1u << 26 | SLOT << 21 | 2u << 15 | 4u << 7;
constexpr uint32_t TEMPLATE_7 = 10u << 27 | 1u << 26 | 31u << 21 | 14u << 15 | 6u << 7;
constexpr UniPosition POTS_1 = {1, OV_GPON_RMUNI_TYPE_POTS, 1};
constexpr UniPosition ETH_1 = {1, OV_GPON_RMUNI_TYPE_ETH, 1};
constexpr UniPosition ETH_2 = {1, OV_GPON_RMUNI_TYPE_ETH, 2};
constexpr UniPosition ETH_3 = {1, OV_GPON_RMUNI_TYPE_ETH, 3};
constexpr uint32_t ALL = 0xFFFFFFFF;

template <typename Record>
std::vector<uint8_t> bytes_of(const Record& record) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    return {bytes, bytes + sizeof record};
}

template <size_t Size, typename Char>
void put(Char (&field)[Size], const char* text) {
    std::memcpy(field, text, std::strlen(text));
}

class Home : public testing::Test {
protected:
    Home() {
        ov_gpon_onutype_attr_t type{};
        put(type.name, "HOME");
        type.id = 5;
        type.ethNum = 3;
        type.potsNum = 1;
        type.cardNum = 1;
        objects.put(*find_card_message(906u), bytes_of(type));
        tell_onu(0);
        onus.set_delays(std::chrono::milliseconds(0), std::chrono::milliseconds(0),
                        std::chrono::milliseconds(5));
        Onu plugged;
        plugged.pon = PON;
        plugged.serial = *parse_onu_serial("ABCD00000005");
        onus.add(plugged);
        onus.power_on(onu());
        come_up();
    }
    // Tells the card of the ONU, which may be bound to a service profile.
    void tell_onu(uint32_t profile) {
        ov_gpon_onu_attr_t record{};
        record.ifindex = ONU_5;
        record.authAttr.mode = OV_GPON_ONU_AUTH_MODE_SN;
        const auto serial = *parse_onu_serial("ABCD00000005");
        std::memcpy(record.authAttr.sn, serial.data(), serial.size());
        put(record.typeProfile, "HOME");
        record.srvProfileId = profile;
        objects.put(*find_card_message(903u), bytes_of(record));
    }
    void make_gem_port(uint32_t number, uint32_t onu_index = ONU_5) {
        ov_gpon_gemport_attr_t gem{};
        gem.ifindex = 11u << 27 | (onu_index & 0x07FFFF80) | (number - 1);
        objects.put(*find_card_message(909u), bytes_of(gem));
    }
    void come_up() {
        loop.after(std::chrono::milliseconds(1), [this] { stop_when_up(); });
        loop.run();
    }
    void stop_when_up() {
        if (onu().state == OnuState::OPERATIONAL)
            loop.stop();
        else
            loop.after(std::chrono::milliseconds(1), [this] { stop_when_up(); });
    }
    Onu& onu() { return *onus.find(*parse_onu_serial("ABCD00000005")); }

    // What the card answers; carries it out when it is right.
    template <typename Record>
    std::string tell(uint16_t number, uint32_t action, const Record& record, uint32_t mask = ALL,
                     bool waits = true) {
        const auto bytes = bytes_of(record);
        CardRequest request;
        request.message = find_card_message(number);
        const size_t attributes = request.message->attributes.size();
        request.action = action;
        request.mask = attributes ? mask & ((1u << attributes) - 1) : 0;
        request.record = bytes;
        request.header.ipc_type = static_cast<uint32_t>(waits ? IpcType::REQUEST : IpcType::ASYNC);
        auto refused = check_card_rules(request, SLOT, objects);
        if (!refused)
            refused = check_onu_rules(request, objects, onus);
        if (refused)
            return refused->reason;
        change_objects(objects, request);
        return "";
    }
    template <typename Record>
    Record read(uint16_t number, Record record) {
        auto bytes = bytes_of(record);
        fill_home(number, onu(), objects, bytes);
        return record_of<Record>(bytes);
    }

    static ov_gpon_rmservice_attr_t service(uint32_t number, uint32_t gem, uint32_t vlan = 100) {
        ov_gpon_rmservice_attr_t record{};
        record.onuIfindex = ONU_5;
        record.serviceId = static_cast<uint16_t>(number);
        record.type = OV_GPON_RM_SERVICE_VLAN;
        record.gemId = static_cast<uint16_t>(gem);
        record.vlan = static_cast<uint16_t>(vlan);
        return record;
    }
    std::string use_sip(uint8_t protocol = 1) {
        ov_rm_voip_config_data_attr_t config{};
        config.onuIfindex = ONU_5;
        config.sigProtocolUsed = protocol;
        return tell(946, card_action::SET, config, 1u << OV_RM_VOIP_CONFIG_DATA_INDEX_SIGPROTOCOLUSED);
    }
    static ov_rm_voip_sip_agent_config_data_attr_t agent(uint32_t id, uint32_t index = ONU_5) {
        ov_rm_voip_sip_agent_config_data_attr_t record{};
        record.onuIfindex = index;
        record.agentID = id;
        put(record.registrarServer, "sip.example");
        return record;
    }
    static ov_rm_voip_sip_user_data_attr_t user(uint32_t agent_id, const char* name, const char* password) {
        ov_rm_voip_sip_user_data_attr_t record{};
        record.onuIfindex = ONU_5;
        record.onuCardID = 1;
        record.onuPortType = OV_GPON_RMUNI_TYPE_POTS;
        record.onuPortID = 1;
        record.agentID = agent_id;
        put(record.username, name);
        put(record.password, password);
        return record;
    }
    static ov_gpon_rmwan_attr_t wan(uint8_t number, uint8_t address_by) {
        ov_gpon_rmwan_attr_t record{};
        record.onuIfindex = ONU_5;
        record.wanIndex = number;
        record.wanMode = 1;
        record.wanDSP = address_by;
        record.enable = 1;
        return record;
    }
    static ov_gpon_rmwifi_attr_t wifi(uint8_t number, uint8_t mode, uint8_t channel = 0) {
        ov_gpon_rmwifi_attr_t record{};
        record.onuIfindex = ONU_5;
        record.wifiIndex = number;
        record.wifiMode = mode;
        record.wifiChannel = channel;
        record.wifiEnable = record.wifiSsidEnable = 1;
        return record;
    }
    std::string set_poe(const UniPosition& uni, uint8_t on, uint8_t priority = 0, uint16_t requested = 0) {
        ov_gpon_rmuni_poe_attr_t record{};
        record.onuIfindex = ONU_5;
        record.uniPos.cardId = uni.card;
        record.uniPos.uniType = uni.type;
        record.uniPos.uniId = uni.port;
        record.poeAdminState = on;
        record.powPri = priority;
        record.pseLldpReqPow = requested;
        return tell(962, card_action::SET, record);
    }
    std::string line() { return line_state(onu(), objects, POTS_1).name; }

    EventLoop loop;
    CardObjects objects;
    Onus onus{loop, objects, [](uint16_t, uint32_t, std::span<const uint8_t>) { return true; }};
};

// ---- services ---------------------------------------------------------------------------------------------

TEST_F(Home, AServiceNeedsAGemPortOfItsOnu) {
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 3)), "no-gem-port");
    make_gem_port(3, ONU_5 + 128); // the neighbour's
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 3)), "no-gem-port");
    make_gem_port(3);
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 0)), "no-gem-port");
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 3)), "");
    EXPECT_TRUE(service_is_up(onu(), objects, service(1, 3)));
    EXPECT_FALSE(service_is_up(onu(), objects, service(1, 4)));
}

TEST_F(Home, AServiceOfABoundOnuUsesTheGemPortsOfTheProfile) {
    make_gem_port(3, TEMPLATE_7);
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 3)), "no-gem-port");
    tell_onu(7);
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 3)), "");
    EXPECT_EQ(tell(913, card_action::CREATE, service(2, 4)), "no-gem-port");
}

TEST_F(Home, ANumberHasOneServiceAndAReplayTellsItAnew) {
    make_gem_port(3);
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 3, 100)), "");
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 3, 100)), ""); // the same
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 3, 200)), "exists");
    EXPECT_EQ(tell(913, card_action::CREATE, service(1, 3, 200), 0, false), "");
    EXPECT_EQ(told_records<ov_gpon_rmservice_attr_t>(objects, 913, ONU_5).at(0).vlan, 200u);
}

TEST_F(Home, AServiceOfAUniNeedsTheUni) {
    make_gem_port(3);
    auto of_uni = service(1, 3);
    of_uni.type = OV_GPON_RM_SERVICE_VLAN_UNI;
    of_uni.uniPos.cardId = 1;
    of_uni.uniPos.uniId = 9;
    EXPECT_EQ(tell(913, card_action::CREATE, of_uni), "no-such-uni");
    of_uni.uniPos.uniType = OV_GPON_RMUNI_TYPE_IPHOST;
    EXPECT_EQ(tell(913, card_action::CREATE, of_uni), "");
    of_uni.uniPos.uniType = OV_GPON_RMUNI_TYPE_ETH;
    of_uni.uniPos.uniId = 2;
    of_uni.serviceId = 2;
    EXPECT_EQ(tell(913, card_action::CREATE, of_uni), "");
    EXPECT_TRUE(service_is_up(onu(), objects, of_uni));
    onu().unis[ETH_2].has_link = false;
    EXPECT_FALSE(service_is_up(onu(), objects, of_uni));
}

TEST_F(Home, TheRulesOfAFilterGoWithTheirService) {
    ov_gpon_rm_macfilter_attr_t mode{};
    mode.onuIfindex = ONU_5;
    mode.flowId = 1;
    mode.mode = 2;
    EXPECT_EQ(tell(934, card_action::SET, mode, 1u << OV_GPON_RM_MACFILTER_ATTR_INDEX_mode), "");
    auto rule = mode;
    rule.entryId = 4;
    EXPECT_EQ(tell(934, card_action::CREATE, rule), "no-service");
    make_gem_port(3);
    tell(913, card_action::CREATE, service(1, 3));
    tell(913, card_action::CREATE, service(2, 3));
    EXPECT_EQ(tell(934, card_action::CREATE, rule), "");
    rule.flowId = 2;
    EXPECT_EQ(tell(934, card_action::CREATE, rule), "");
    const size_t before = objects.size();
    EXPECT_EQ(tell(913, card_action::DELETE, service(1, 3)), "");
    EXPECT_EQ(objects.table(934).size(), 1u);
    EXPECT_EQ(objects.size(), before - 3);
}

// ---- telephony --------------------------------------------------------------------------------------------

TEST_F(Home, ALineRegistersWhenAllIsThere) {
    EXPECT_EQ(line(), "no-sip");
    EXPECT_EQ(use_sip(), "");
    EXPECT_EQ(line(), "no-user");
    EXPECT_EQ(tell(948, card_action::SET, user(3, "anna", "secret")), "no-agent");
    EXPECT_EQ(tell(947, card_action::CREATE, agent(3)), "");
    EXPECT_EQ(tell(948, card_action::SET, user(3, "anna", "")), "");
    EXPECT_EQ(line(), "no-login");
    EXPECT_EQ(tell(948, card_action::SET, user(3, "", "secret")), "");
    EXPECT_EQ(line(), "no-login");
    EXPECT_EQ(tell(948, card_action::SET, user(3, "anna", "secret")), "");
    EXPECT_EQ(line(), "registered");
    use_sip(2);
    EXPECT_EQ(line(), "no-sip");
    use_sip();
    onu().home.server_refuses = true;
    EXPECT_EQ(line(), "refused");
    onu().home.server_refuses = false;
    EXPECT_EQ(tell(947, card_action::DELETE, agent(3)), "");
    EXPECT_EQ(line(), "no-agent");
}

TEST_F(Home, ADisabledPortIsNotRegistered) {
    use_sip();
    tell(947, card_action::CREATE, agent(3));
    tell(948, card_action::SET, user(3, "anna", "secret"));
    ov_gpon_rmuni_attr_t port{};
    port.onuIfindex = ONU_5;
    port.uniPos.cardId = 1;
    port.uniPos.uniType = OV_GPON_RMUNI_TYPE_POTS;
    port.uniPos.uniId = 1;
    EXPECT_EQ(tell(915, card_action::SET, port, 1u << OV_GPON_RMUNI_ATTR_INDEX_adminStatus), "");
    EXPECT_EQ(line(), "disabled");
}

TEST_F(Home, AUserOfABoundOnuHasTheAgentOfTheProfile) {
    use_sip();
    EXPECT_EQ(tell(947, card_action::CREATE, agent(3, TEMPLATE_7)), "");
    EXPECT_EQ(tell(948, card_action::SET, user(3, "anna", "secret")), "no-agent");
    tell_onu(7);
    EXPECT_EQ(tell(948, card_action::SET, user(3, "anna", "secret")), "");
    EXPECT_EQ(line(), "registered");
}

TEST_F(Home, AUserIsOfATelephone) {
    auto other = user(0, "anna", "secret");
    other.onuPortID = 2;
    EXPECT_EQ(tell(948, card_action::SET, other), "no-such-uni");
    other = user(0, "anna", "secret");
    other.onuPortType = OV_GPON_RMUNI_TYPE_ETH;
    EXPECT_EQ(tell(948, card_action::SET, other), "not-on-this-uni");
}

TEST_F(Home, ACallNeedsARegistrationAndEndsWithIt) {
    EXPECT_FALSE(call(onu(), objects, POTS_1, "100"));
    use_sip();
    tell(947, card_action::CREATE, agent(3));
    tell(948, card_action::SET, user(3, "anna", "secret"));
    ov_rm_voip_line_status_attr_t asked{};
    asked.onuIfindex = ONU_5;
    asked.uniPos.cardId = 1;
    asked.uniPos.uniType = OV_GPON_RMUNI_TYPE_POTS;
    asked.uniPos.uniId = 1;
    EXPECT_EQ(read(964, asked).voipVoiceSerStatus, 1);
    EXPECT_TRUE(call(onu(), objects, POTS_1, "100"));
    const auto status = read(964, asked);
    EXPECT_EQ(status.voipVoiceSerStatus, 2);
    EXPECT_EQ(status.voipCodecUsed, 8u);
    EXPECT_EQ(status.voipPortSessionType, 1);
    EXPECT_EQ(status.voipCall1PktPeriod, 20u);
    EXPECT_STREQ(status.voipCall1DstAddr, "100");
    EXPECT_STREQ(status.voipCall2DstAddr, "");
    onu().home.server_refuses = true;
    end_lost_calls(onu(), objects);
    onu().home.server_refuses = false;
    EXPECT_EQ(line(), "registered");
    EXPECT_TRUE(onu().home.phones[POTS_1].is_off_hook);
}

TEST_F(Home, ARebootEndsCallsAndClearsWhatWasCounted) {
    use_sip();
    tell(947, card_action::CREATE, agent(3));
    tell(948, card_action::SET, user(3, "anna", "secret"));
    call(onu(), objects, POTS_1, "100");
    onu().home.poe[ETH_1] = {.watts = 7, .shorts = 3};
    onus.reboot(ONU_5);
    EXPECT_EQ(line(), "onu-down");
    EXPECT_EQ(onu().home.phones[POTS_1].called, "");
    EXPECT_TRUE(onu().home.phones[POTS_1].is_off_hook);
    EXPECT_EQ(onu().home.poe[ETH_1].shorts, 0u);
    EXPECT_EQ(onu().home.poe[ETH_1].watts, 7u) << "the device is still there";
}

// ---- connections ------------------------------------------------------------------------------------------

TEST_F(Home, AConnectionGetsItsAddress) {
    auto fixed = wan(1, 2);
    EXPECT_STREQ(wan_connection(onu(), fixed).state, "no-address");
    fixed.ipAddr = 0xC0000201;
    fixed.gateway = 0xC00002FE;
    EXPECT_EQ(wan_connection(onu(), fixed).in_use.address, 0xC0000201u);
    EXPECT_EQ(wan_connection(onu(), fixed).in_use.gateway, 0xC00002FEu);
    EXPECT_EQ(wan_connection(onu(), wan(2, 1)).in_use.address, 0x0A012305u); // 10.1.35.5
    auto pppoe = wan(8, 3);
    EXPECT_STREQ(wan_connection(onu(), pppoe).state, "no-login");
    put(pppoe.pppUser, "home");
    put(pppoe.pppPwd, "secret");
    EXPECT_EQ(wan_connection(onu(), pppoe).in_use.address, 0x64018305u); // 100.1.131.5
    pppoe.enable = 0;
    EXPECT_STREQ(wan_connection(onu(), pppoe).state, "disabled");
    auto bridge = wan(3, 0);
    bridge.wanMode = 2;
    EXPECT_STREQ(wan_connection(onu(), bridge).state, "bridged");
    onus.lose(onu());
    EXPECT_STREQ(wan_connection(onu(), fixed).state, "onu-down");
}

TEST_F(Home, AConnectionIsBoundToWhatTheOnuHas) {
    auto bound = wan(1, 1);
    bound.lan = 0b1000;
    EXPECT_EQ(tell(955, card_action::CREATE, bound), "no-such-lan");
    bound.lan = 0b0111;
    bound.ssid = bound.ssid5G = 0b1111;
    EXPECT_EQ(tell(955, card_action::CREATE, bound), "");
    onu().home.networks_5g = 3;
    EXPECT_EQ(tell(955, card_action::SET, bound), "no-such-ssid");
    bound.ssid5G = 0b0111;
    EXPECT_EQ(tell(955, card_action::SET, bound), "");
    bound.lan = 0b1000;
    EXPECT_EQ(tell(955, card_action::DELETE, bound), "");
    onus.lose(onu()); // nobody is there to refuse it
    EXPECT_EQ(tell(955, card_action::CREATE, bound), "");
}

TEST_F(Home, ANetworkIsOfItsRadio) {
    EXPECT_EQ(tell(956, card_action::CREATE, wifi(1, 5, 13)), "");
    EXPECT_EQ(tell(956, card_action::CREATE, wifi(5, 8, 36)), "");
    EXPECT_EQ(tell(956, card_action::CREATE, wifi(2, 8)), "not-on-this-radio");
    EXPECT_EQ(tell(956, card_action::CREATE, wifi(6, 5)), "not-on-this-radio");
    EXPECT_EQ(tell(956, card_action::CREATE, wifi(2, 4, 36)), "not-on-this-radio");
    EXPECT_EQ(tell(956, card_action::CREATE, wifi(9, 8)), "no-such-ssid");
    EXPECT_EQ(tell(956, card_action::CREATE, wifi(0, 1)), "no-such-ssid");
    onu().home.networks = 1;
    EXPECT_EQ(tell(956, card_action::CREATE, wifi(2, 4)), "no-such-ssid");
}

TEST_F(Home, ANetworkIsUpWithRadioAndSsid) {
    auto network = wifi(1, 4);
    EXPECT_STREQ(wifi_state(onu(), network), "up");
    network.wifiSsidEnable = 0;
    EXPECT_STREQ(wifi_state(onu(), network), "ssid-off");
    network.wifiEnable = 0;
    EXPECT_STREQ(wifi_state(onu(), network), "radio-off");
}

TEST_F(Home, TheIpHostTellsTheAddressesInUse) {
    ov_gpon_onu_iphost_attr_t host{};
    host.onuIfindex = ONU_5;
    EXPECT_EQ(read(942, host).ipaddr, 0u); // there is none
    host.ipaddr = 0xC0000201;
    host.vlanid = 40;
    tell(942, card_action::CREATE, host);
    ov_gpon_onu_iphost_attr_t asked{};
    asked.onuIfindex = ONU_5;
    EXPECT_EQ(read(942, asked).ipaddr, 0xC0000201u);
    EXPECT_EQ(read(942, asked).vlanid, 40u);
    host.mode = 1;
    tell(942, card_action::CREATE, host);
    EXPECT_EQ(read(942, asked).ipaddr, 0x0A010305u); // 10.1.3.5
    EXPECT_EQ(read(942, asked).netmask, 0xFFFFFF00u);
    EXPECT_EQ(read(942, asked).gateway, 0x0A0103FEu);
    EXPECT_NE(read(942, asked).priDns, 0u);
}

TEST_F(Home, AClientReachesItsServerUnlessItIsLocked) {
    ov_gpon_onu_tr069_mgmt_attr_t client{};
    EXPECT_STREQ(tr069_state(onu(), client), "no-server");
    put(client.acsAddr, "http://acs.example/");
    EXPECT_STREQ(tr069_state(onu(), client), "up");
    client.adminstate = 1;
    EXPECT_STREQ(tr069_state(onu(), client), "locked");
}

TEST_F(Home, OneOnuTellsItsOwnThresholdsOnlyInPart) {
    ov_gpon_rmonu_opt_threshold_attr_t asked{};
    asked.lowrxPwrthreshod = -255;
    const auto told = read(931, asked);
    EXPECT_EQ(told.lowrxPwrthreshod, -255);
    EXPECT_LT(told.lowvoltthreshod, told.uppervoltthreshod);
    EXPECT_LT(told.lowbiasthreshod, told.upperbiasthreshod);
    EXPECT_LT(told.lowtempthreshod, 0);
    EXPECT_GT(told.uppertempthreshod, 0);
}

// ---- power over Ethernet ----------------------------------------------------------------------------------

TEST_F(Home, APortFeedsADeviceWhileItIsSwitchedOn) {
    const auto detection = [this](const UniPosition& uni) {
        return std::string(poe_detection_name(poe_powers(onu(), objects)[uni].detection));
    };
    attach_device(onu(), objects, ETH_1, 7);
    EXPECT_EQ(detection(ETH_1), "disabled");
    EXPECT_EQ(set_poe(ETH_1, 1), "");
    EXPECT_EQ(detection(ETH_1), "delivering");
    EXPECT_EQ(set_poe(ETH_2, 1), "");
    EXPECT_EQ(detection(ETH_2), "searching");
    make_poe_fault(onu(), ETH_1, PoeFault::SHORT);
    EXPECT_EQ(detection(ETH_1), "fault");
    attach_device(onu(), objects, ETH_1, 7);
    detach_device(onu(), objects, ETH_1);
    EXPECT_EQ(detection(ETH_1), "searching");
    const PoePort port = onu().home.poe[ETH_1];
    EXPECT_EQ(port.shorts, 1u);
    EXPECT_EQ(port.absent, 1u);
    EXPECT_EQ(port.denied, 0u);
}

TEST_F(Home, PowerGoesToThePortsInTheOrderOfTheirPriority) {
    set_poe(ETH_1, 1, 3);
    set_poe(ETH_2, 1, 2);
    set_poe(ETH_3, 1, 1);
    for (const auto& uni : {ETH_1, ETH_2, ETH_3})
        attach_device(onu(), objects, uni, 25);
    auto powers = poe_powers(onu(), objects);
    EXPECT_EQ(powers[ETH_1].detection, PoeDetection::SEARCHING);
    EXPECT_EQ(powers[ETH_2].consumed, 25u);
    EXPECT_EQ(powers[ETH_3].allocated, 30u);
    EXPECT_EQ(poe_total(onu(), objects).consumed, 50u);
    EXPECT_EQ(onu().home.poe[ETH_3].denied, 0u);
}

TEST_F(Home, APortDeniesMoreThanWasRequestedForIt) {
    set_poe(ETH_1, 1, 0, 5);
    attach_device(onu(), objects, ETH_1, 7);
    EXPECT_EQ(onu().home.poe[ETH_1].denied, 1u);
    set_poe(ETH_1, 1, 0, 10);
    ov_gpon_rmuni_poe_attr_t asked{};
    asked.uniPos.cardId = asked.uniPos.uniId = 1;
    const auto told = read(962, asked);
    EXPECT_EQ(told.poeAdminState, 1);
    EXPECT_EQ(told.detectionSta, 3);
    EXPECT_EQ(told.powClassification, 2);
    EXPECT_EQ(told.pseConsumPow, 7u);
    EXPECT_EQ(told.pseAllocatePow, 10u);
    EXPECT_EQ(told.powDeniedCount, 1u);
    const auto onu_told = read(963, ov_gpon_rmonu_poe_attr_t{});
    EXPECT_EQ(onu_told.nominalPoePow, 60u);
    EXPECT_EQ(onu_told.pseConsumPow, 7u);
    EXPECT_EQ(onu_told.pseAllocatePow, 10u);
    EXPECT_EQ(onu_told.inputCur, 129u);
}

TEST_F(Home, OnlyPortsThatCanFeedTakeIt) {
    EXPECT_EQ(set_poe(POTS_1, 1), "not-on-this-uni");
    EXPECT_EQ(set_poe({1, OV_GPON_RMUNI_TYPE_ETH, 4}, 1), "no-such-uni");
    ov_gpon_rmuni_mcast_attr_t multicast{};
    multicast.onuIfindex = ONU_5;
    multicast.uniPos.cardId = multicast.uniPos.uniId = 1;
    EXPECT_EQ(tell(917, card_action::SET, multicast), "");
    multicast.uniPos.uniType = OV_GPON_RMUNI_TYPE_POTS;
    EXPECT_EQ(tell(917, card_action::SET, multicast), "not-on-this-uni");
}

} // namespace
