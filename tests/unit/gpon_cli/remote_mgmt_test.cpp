// Management of an ONU itself by command: its IP host, its TR-069 client, the turns of its queues.
#include "remote_services_fixture.h"

#include <arpa/inet.h>

namespace {

using Host = ov_sRmIPHostTable_attr_t;
using Client = ov_sRmTr069MgmtTable_attr_t;
using Schedule = ov_sRmOnuQosPriorityQueueScheduleTable_attr_t;

// ---- IP host --------------------------------------------------------------------------------------------

using RemoteIpHost = RemoteServicesCli;

constexpr char STATIC[] = "remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.0.1 8.8.8.8 0.0.0.0 vlan 4094";
constexpr char DHCP[] = "remote onu mgmt-ip dhcp vlan 1";
constexpr const char* LAST = STATIC;

void expect_static(const Host* host) {
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(host->sRmIPHostMode, SRMIPHOSTMODE_STATIC);
    EXPECT_EQ(host->sRmIPHostIpAddress, inet_addr("10.0.0.2"));
    EXPECT_EQ(host->sRmIPHostNetMask, inet_addr("255.255.255.0"));
    EXPECT_EQ(host->sRmIPHostGateway, inet_addr("10.0.0.1"));
    EXPECT_EQ(host->sRmIPHostPrimaryDns, inet_addr("8.8.8.8"));
    EXPECT_EQ(host->sRmIPHostSecondaryDns, 0u);
    EXPECT_EQ(host->sRmIPHostVlanId, 4094u);
}

CLI_TEST(RemoteIpHost, IsMadeSavedRemovedAndMadeAgain) {
    for (const Place& place : places()) {
        for (const char* line : {DHCP, LAST}) {
            enter(place, {line});
            EXPECT_EQ(saved(place), Lines{line});
            const Host entered = *row<Host>(place);
            enter(place, {"no remote onu mgmt-ip"});
            EXPECT_EQ(row<Host>(place), nullptr);
            EXPECT_EQ(saved(place), Lines{});
            enter(place, {line});
            expect_same(row<Host>(place), entered);
            expect_refused(place, {{DHCP, "%Failed to add mgmt ip\n"}}, 104006); // there is one already
            EXPECT_EQ(saved(place), Lines{line});
            if (line != LAST)
                enter(place, {"no remote onu mgmt-ip"});
        }
        expect_static(row<Host>(place));
    }
}

CLI_TEST(RemoteIpHost, DhcpHasNoAddresses) {
    for (const Place& place : places()) {
        enter(place, {DHCP});
        const Host& host = *row<Host>(place);
        EXPECT_EQ(host.sRmIPHostMode, SRMIPHOSTMODE_DHCP);
        EXPECT_EQ(host.sRmIPHostIpAddress | host.sRmIPHostNetMask | host.sRmIPHostGateway |
                      host.sRmIPHostPrimaryDns,
                  0u);
        EXPECT_EQ(host.sRmIPHostVlanId, 1u);
    }
}

CLI_TEST(RemoteIpHost, TheCardIsTold) {
    run(far_, STATIC);
    const auto told = chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_IPHOST);
    ASSERT_EQ(told.size(), 1u);
    const auto record = told[0].record<ov_gpon_onu_iphost_attr_t>();
    EXPECT_EQ(record.onuIfindex, index_of("gpon-onu3/2:7"));
    EXPECT_EQ(record.vlanid, 4094u);
}

CLI_TEST(RemoteIpHost, AddressesThatCannotBeAreRefusedEachWithItsText) {
    for (const Place& place : places())
        expect_refused(place,
                       {{"remote onu mgmt-ip 0.0.0.0 255.255.255.0 10.0.0.1 8.8.8.8 8.8.4.4 vlan 100",
                         "%Inconsistent ip address\n"},
                        {"remote onu mgmt-ip 10.0.0.2 255.0.255.0 10.0.0.1 8.8.8.8 8.8.4.4 vlan 100",
                         "%Inconsistent ip netmask\n"},
                        {"remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.1.1 8.8.8.8 8.8.4.4 vlan 100",
                         "%Inconsistent ip gateway\n"},
                        {"remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.0.1 224.8.8.8 8.8.4.4 vlan 100",
                         "%Inconsistent primary DNS server\n"},
                        {"remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.0.1 8.8.8.8 255.8.4.4 vlan 100",
                         "%Inconsistent secondary DNS server\n"}},
                       104001);
    EXPECT_EQ(count<Host>(on_onu()) + count<Host>(on_profile()), 0u);
}

CLI_TEST(RemoteIpHost, BeyondTheirLimitsAreNoCommands) {
    for (const Place& place : places())
        expect_no_commands(*place.session,
                           {"remote onu mgmt-ip 10.0.0.256 255.255.255.0 10.0.0.1 8.8.8.8 8.8.4.4 vlan 100",
                            "remote onu mgmt-ip 10.0.0.2 24 10.0.0.1 8.8.8.8 8.8.4.4 vlan 100",
                            "remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.0.1 8.8.8.8 vlan 100",
                            "remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.0.1 8.8.8.8 8.8.4.4 vlan 0",
                            "remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.0.1 8.8.8.8 8.8.4.4 vlan 4095",
                            "remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.0.1 8.8.8.8 8.8.4.4",
                            "remote onu mgmt-ip dhcp vlan 0", "remote onu mgmt-ip dhcp vlan 4095",
                            "remote onu mgmt-ip dhcp", "no remote onu"});
    EXPECT_EQ(count<Host>(on_onu()) + count<Host>(on_profile()), 0u);
}

CLI_TEST(RemoteIpHost, WhatIsRefusedIsToldWithItsText) {
    expect_refused(on_onu(), {{"no remote onu mgmt-ip", "%Failed to delete mgmt ip\n"}}, 104006);
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_IPHOST, 101001);
    expect_refused(on_onu(), {{STATIC, "%Failed to add mgmt ip\n"}, {DHCP, "%Failed to add mgmt ip\n"}},
                   104006);
    EXPECT_EQ(saved(on_onu()), Lines{});
}

CLI_TEST(RemoteIpHost, IsShownWithTheAddressesInUse) {
    EXPECT_EQ(item(run(far_, "show onu remote mgmt-ip"), "mode"), "none");
    enter(on_onu(), {"remote onu mgmt-ip dhcp vlan 100"});
    ov_gpon_onu_iphost_attr_t record = {};
    record.ipaddr = inet_network("10.1.2.3");
    record.netmask = inet_network("255.255.0.0");
    record.gateway = inet_network("10.1.0.1");
    chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_IPHOST, record);
    std::string text = run(far_, "show onu remote mgmt-ip");
    EXPECT_EQ(item(text, "read"), "now");
    EXPECT_EQ(item(text, "mode"), "dhcp");
    EXPECT_EQ(item(text, "vlan"), "100");
    EXPECT_EQ(item(text, "ip address"), "0.0.0.0");
    EXPECT_EQ(item(text, "current ip address"), "10.1.2.3");
    EXPECT_EQ(item(text, "current netmask"), "255.255.0.0");
    EXPECT_EQ(item(text, "current gateway"), "10.1.0.1");
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_IPHOST, 1009);
    text = run(far_, "show onu remote mgmt-ip");
    EXPECT_EQ(item(text, "read"), "earlier, its card doesn't tell");
    EXPECT_EQ(item(text, "mode"), "dhcp");
    row<ov_sOnuTable_attr_t>(on_onu())->sOnuTableOnuState = SONUTABLEONUSTATE_ADDED;
    chassis_.forget_messages();
    EXPECT_EQ(item(run(far_, "show onu remote mgmt-ip"), "read"), "earlier");
    EXPECT_EQ(chassis_.messages().size(), 0u);
}

CLI_TEST(RemoteIpHost, WhatNoCommandMakesIsInNoSavedConfiguration) {
    for (const Place& place : places()) {
        enter(place, {STATIC});
        Host& host = *row<Host>(place);
        const Host right = host;
        host.sRmIPHostPriority = 3;
        EXPECT_EQ(saved(place), Lines{});
        host = right;
        set(host.sRmIPHostIdentifier, "me");
        EXPECT_EQ(saved(place), Lines{STATIC}) << "a label alone is left out";
        host = right;
        host.sRmIPHostVlanId = 0;
        EXPECT_EQ(saved(place), Lines{});
        host = right;
        host.sRmIPHostGateway = inet_addr("11.0.0.1");
        EXPECT_EQ(saved(place), Lines{});
        host = right;
        EXPECT_EQ(saved(place), Lines{STATIC});
    }
}

// ---- TR-069 client --------------------------------------------------------------------------------------

class RemoteTr069 : public RemoteServicesCli {
protected:
    static Client& client() { return *row<Client>({nullptr, 3, 2, 7}); }
    // What was saved, entered again on a row that is cleared, makes the same.
    void replay() {
        const Lines lines = saved(on_onu());
        const Client entered = client();
        remove_all<Client>();
        active(sRmTr069MgmtTable_createEntry(1, 3, 2, 7));
        enter(on_onu(), lines);
        expect_same(&client(), entered);
        EXPECT_EQ(saved(on_onu()), lines);
    }
};

CLI_TEST(RemoteTr069, StateTagAndServerAreSetSavedAndMakeTheSame) {
    const std::string long_url = "http://" + std::string(121, 'a');
    const std::string long_text(25, 'b');
    for (const Lines& lines :
         {Lines{"remote onu tr069-mgmt state lock"}, Lines{"remote onu tr069-mgmt tag 1 pri 0"},
          Lines{"remote onu tr069-mgmt tag 4094 pri 7"},
          Lines{"remote onu tr069-mgmt acs http://acs:7547/x?y=1&z validate disable"},
          Lines{"remote onu tr069-mgmt acs http://acs validate basic username me password pw|%s"},
          Lines{"remote onu tr069-mgmt acs " + long_url + " validate md5 username " + long_text +
                " password " + long_text},
          Lines{"remote onu tr069-mgmt state lock", "remote onu tr069-mgmt tag 5 pri 1",
                "remote onu tr069-mgmt acs http://acs validate md5 username a password b"}}) {
        enter(on_onu(), lines);
        EXPECT_EQ(saved(on_onu()), lines);
        replay();
        enter(on_onu(), {"remote onu tr069-mgmt state unlock", "remote onu tr069-mgmt untag",
                         "no remote onu tr069-mgmt acs"});
        EXPECT_EQ(saved(on_onu()), Lines{});
    }
}

CLI_TEST(RemoteTr069, ValuesReachTheirColumnsAndTheCard) {
    enter(on_onu(), {"remote onu tr069-mgmt state lock", "remote onu tr069-mgmt tag 5 pri 1",
                     "remote onu tr069-mgmt acs http://acs validate basic username me password secret"});
    EXPECT_EQ(client().sRmTr069MgmtAdminState, 1);
    EXPECT_EQ(client().sRmTr069MgmtVlanId, 5u);
    EXPECT_EQ(client().sRmTr069MgmtPri, 1u);
    EXPECT_STREQ(client().sRmTr069MgmtAcsAddr, "http://acs");
    EXPECT_EQ(client().sRmTr069MgmtValidateMode, 2);
    EXPECT_STREQ(client().sRmTr069MgmtUsername, "me");
    EXPECT_STREQ(client().sRmTr069MgmtPassword, "secret");
    const auto told = chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_TR069_SRV);
    ASSERT_EQ(told.size(), 3u);
    EXPECT_EQ(told[0].mask, 1u << 1);
    EXPECT_EQ(told[1].mask, 1u << 2 | 1u << 3);
    EXPECT_EQ(told[2].mask, 1u << 4 | 1u << 5 | 1u << 6 | 1u << 7);
    enter(on_onu(), {"remote onu tr069-mgmt acs http://other validate disable"});
    EXPECT_STREQ(client().sRmTr069MgmtUsername, "") << "nothing is left of the credentials";
    EXPECT_STREQ(client().sRmTr069MgmtPassword, "");
}

CLI_TEST(RemoteTr069, TextsThatAreTooLongAreRefused) {
    const std::string too_long(26, 'b');
    for (const std::string& line :
         {"remote onu tr069-mgmt acs " + std::string(129, 'a') + " validate disable",
          "remote onu tr069-mgmt acs " + std::string(129, 'a') + " validate md5 username a password b",
          "remote onu tr069-mgmt acs a validate md5 username " + too_long + " password b",
          "remote onu tr069-mgmt acs a validate basic username a password " + too_long})
        EXPECT_EQ(run(far_, line, 104006), "%String length exceeds\n") << line;
    EXPECT_EQ(saved(on_onu()), Lines{});
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_TR069_SRV).size(), 0u);
}

CLI_TEST(RemoteTr069, BeyondTheirLimitsAreNoCommands) {
    expect_no_commands(far_, {"remote onu tr069-mgmt", "remote onu tr069-mgmt state",
                              "remote onu tr069-mgmt state open", "remote onu tr069-mgmt tag 0 pri 1",
                              "remote onu tr069-mgmt tag 4095 pri 1", "remote onu tr069-mgmt tag 1",
                              "remote onu tr069-mgmt tag 1 pri 8", "remote onu tr069-mgmt acs http://acs",
                              "remote onu tr069-mgmt acs http://acs validate",
                              "remote onu tr069-mgmt acs http://acs validate sha1 username a password b",
                              "remote onu tr069-mgmt acs http://acs validate md5",
                              "remote onu tr069-mgmt acs http://acs validate md5 username a",
                              "remote onu tr069-mgmt acs http://acs validate disable username a password b"});
    expect_no_commands(profile_,
                       {"remote onu tr069-mgmt state lock", "remote onu tr069-mgmt untag",
                        "remote onu tr069-mgmt acs a validate disable", "no remote onu tr069-mgmt acs"});
}

CLI_TEST(RemoteTr069, WhatTheCardRefusesIsNotKept) {
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_TR069_SRV, 101001);
    expect_refused(
        on_onu(),
        {{"remote onu tr069-mgmt state lock", "%Failed to set state\n"},
         {"remote onu tr069-mgmt tag 5 pri 1", "%Failed to set tr069 vlan\n"},
         {"remote onu tr069-mgmt acs a validate disable", "%Failed to set tr069 acs\n"},
         {"remote onu tr069-mgmt acs a validate md5 username a password b", "%Failed to set tr069 acs\n"}},
        104006);
    EXPECT_EQ(saved(on_onu()), Lines{});
}

CLI_TEST(RemoteTr069, WhatNoCommandMakesIsInNoSavedConfiguration) {
    set(client().sRmTr069MgmtAcsAddr, "http://two words");
    EXPECT_EQ(saved(on_onu()), Lines{});
    set(client().sRmTr069MgmtAcsAddr, "http://acs");
    client().sRmTr069MgmtValidateMode = SRMTR069MGMTVALIDATEMODE_MD5; // without credentials
    EXPECT_EQ(saved(on_onu()), Lines{});
    client().sRmTr069MgmtValidateMode = 7;
    EXPECT_EQ(saved(on_onu()), Lines{});
    client().sRmTr069MgmtValidateMode = SRMTR069MGMTVALIDATEMODE_DISABLE;
    EXPECT_EQ(saved(on_onu()), Lines{"remote onu tr069-mgmt acs http://acs validate disable"});
    set(client().sRmTr069MgmtUsername, "of before");
    EXPECT_EQ(saved(on_onu()), Lines{"remote onu tr069-mgmt acs http://acs validate disable"});
    client().sRmTr069MgmtPri = 3; // of no tag
    EXPECT_EQ(saved(on_onu()), Lines{"remote onu tr069-mgmt acs http://acs validate disable"});
}

// ---- queues ---------------------------------------------------------------------------------------------

class RemoteQueues : public RemoteServicesCli {
protected:
    static std::vector<int> weights() {
        std::vector<int> all;
        for (const auto weight : row<Schedule>({nullptr, 3, 2, 7})->sRmQueueScheduleWeight)
            all.push_back(static_cast<uint8_t>(weight));
        return all;
    }
    static mib_long mode() { return row<Schedule>({nullptr, 3, 2, 7})->sRmQueueScheduleMode; }
};

constexpr char WRR[] = "remote onu queue-schedule wrr 1 2 3 4 5 6 7 100";
constexpr char STRICT[] = "remote onu queue-schedule strict-priority";

CLI_TEST(RemoteQueues, TakeTurnsAsTheyAreToldAndAreSavedSo) {
    EXPECT_EQ(saved(on_onu()), Lines{});
    for (const char* line : {STRICT, WRR}) {
        enter(on_onu(), {line});
        EXPECT_EQ(saved(on_onu()), Lines{line});
        remove_all<Schedule>();
        active(sRmOnuQosPriorityQueueScheduleTable_createEntry(1, 3, 2, 7));
        enter(on_onu(), {line});
        EXPECT_EQ(saved(on_onu()), Lines{line});
    }
    EXPECT_EQ(mode(), SRMQUEUESCHEDULEMODE_WRR);
    EXPECT_EQ(weights(), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 100}));
    enter(on_onu(), {STRICT});
    EXPECT_EQ(mode(), SRMQUEUESCHEDULEMODE_STRICT_PRIORITY);
    EXPECT_EQ(weights(), std::vector<int>(8, 0)) << "no weights are left behind";
}

CLI_TEST(RemoteQueues, TheCardIsTold) {
    run(far_, WRR);
    const auto told = chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_QUEUE_SCHEDULE);
    ASSERT_EQ(told.size(), 1u);
    const auto record = told[0].record<ov_gpon_onu_queue_schedule_attr_t>();
    EXPECT_EQ(record.weight[7], 100);
    EXPECT_EQ(told[0].mask, 6u);
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_QUEUE_SCHEDULE, 101001);
    expect_refused(on_onu(), {{STRICT, "%Failed to set queue-schedule\n"}}, 104006);
    EXPECT_EQ(saved(on_onu()), Lines{WRR});
}

CLI_TEST(RemoteQueues, BeyondTheirLimitsAreNoCommands) {
    expect_no_commands(far_, {"remote onu queue-schedule", "remote onu queue-schedule wrr",
                              "remote onu queue-schedule wrr 0 2 3 4 5 6 7 8",
                              "remote onu queue-schedule wrr 1 2 3 4 5 6 7 101",
                              "remote onu queue-schedule wrr 1 2 3 4 5 6 7",
                              "remote onu queue-schedule wrr 1 2 3 4 5 6 7 8 9"});
    expect_no_commands(profile_, {STRICT, WRR});
}

CLI_TEST(RemoteQueues, WeightsThatNoCommandGivesAreInNoSavedConfiguration) {
    enter(on_onu(), {WRR});
    row<Schedule>(on_onu())->sRmQueueScheduleWeight[3] = 0;
    EXPECT_EQ(saved(on_onu()), Lines{});
    row<Schedule>(on_onu())->sRmQueueScheduleMode = 9;
    EXPECT_EQ(saved(on_onu()), Lines{});
}

} // namespace
