// VoIP of an ONU: signalling, SIP agents and users, the state of its lines.
#include "../support/remote_tables.h"
#include "ov_app_gpon_rm_voip_line_status.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

// ---- signalling -------------------------------------------------------------------------------------------

using Config = ov_sRmVoipConfigDataTable_attr_t;
using ConfigRecord = ov_rm_voip_config_data_attr_t;

Config config_row() {
    Config row = row_of<VoipConfig>();
    row.sRmVoipConfigDataSigProtocolUsed = 255;
    row.sRmVoipConfigDataVoipConfigMethodUsed = 1;
    row.sRmVoipConfigDataVoipConfigAddressPtr = 0x1234;
    row.sRmVoipConfigDataRetrieveProfile = 1;
    set_text(row.sRmVoipConfigDataVoipMacVlan, text_of(128, 'v'));
    return row;
}

TEST(RmVoipConfig, EachColumnReachesItsFieldAndHasItsNumberAsBit) {
    run([](AppChassis& chassis) {
        for (const unsigned column : {2u, 4u, 5u, 7u, 9u}) {
            chassis.forget_messages();
            Config row = config_row();
            MIB_Flags_t columns = columns_of(column);
            ASSERT_EQ(ov_app_gpon_rm_voip_config_data_edit(&row, &columns), 0) << column;
            EXPECT_EQ(chassis.messages().at(0).mask, 1u << column);
        }
        const auto record = chassis.messages().at(0).record<ConfigRecord>();
        EXPECT_EQ(record.sigProtocolUsed, 255);
        EXPECT_EQ(record.voipConfigMethodUsed, 1);
        EXPECT_EQ(record.voipConfigAddressPtr, 0x1234);
        EXPECT_EQ(record.retrieveProfile, 1);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(record.voipMacVlan), 128), text_of(128, 'v'));
    });
}

TEST(RmVoipConfig, AReplaySetsWhatIsNotAsItWasMade) {
    const auto mask = [](auto fill) {
        Config row = {};
        fill(row);
        return static_cast<uint32_t>(ov_rm_voip_config_data_table_attr_mask_get(&row));
    };
    EXPECT_EQ(mask([](Config&) {}), 0u);
    EXPECT_EQ(mask([](Config& row) { row = config_row(); }), 0x2b4u);
    EXPECT_EQ(mask([](Config& row) { row.sRmVoipConfigDataVoipConfigMethodUsed = 2; }), 1u << 4);
    EXPECT_EQ(mask([](Config& row) { row.sRmVoipConfigDataVoipConfigState = 1; }), 0u); // the ONU's
}

// ---- SIP agents -------------------------------------------------------------------------------------------

using Agent = ov_sRmVoipSipAgentConfigTable_attr_t;
using AgentRecord = ov_rm_voip_sip_agent_config_data_attr_t;
namespace agent_column = sRmVoipSipAgentConfigTable_column;

Agent agent(mib_ulong iphost = 0, int onu = ONU, int port = PORT, int slot = SLOT) {
    Agent row = row_of<SipAgent>(onu, port, slot);
    row.sRmVoipSipAgentConfigIpHost = iphost;
    return row;
}
int add(Agent row) {
    MIB_Flags_t columns = mibDefFlags;
    return ov_app_gpon_rm_sip_agent_config_data_add(&row, &columns);
}

TEST(RmSipAgent, SevenColumnsReachTheCard) {
    run([](AppChassis& chassis) {
        Agent row = agent(1);
        set_text(row.sRmVoipSipAgentConfigProxyServer, "proxy.example.net");
        set_text(row.sRmVoipSipAgentConfigOutboundServer, text_of(128, 'o'));
        set_text(row.sRmVoipSipAgentConfigRegistrarServer, "registrar.example.net");
        row.sRmVoipSipAgentConfigPrimaryDns = ipv4("10.0.0.1");
        row.sRmVoipSipAgentConfigSecondaryDns = ipv4("10.0.0.2");
        row.sRmVoipSipAgentConfigTcpUdpPort = 65535;
        row.sRmVoipSipAgentConfigRegExpTime = 3600;
        set_text(row.sRmVoipSipAgentConfigHostPartUri, "stored-alone");
        ASSERT_EQ(add(row), OV_GPON_RET_OK);
        const CardMessage message = chassis.messages().at(0);
        EXPECT_EQ(message.mask, 0u); // the whole record counts
        const auto record = message.record<AgentRecord>();
        EXPECT_EQ(record.agentID, 65535u);
        EXPECT_STREQ(record.proxyServer, "proxy.example.net");
        EXPECT_EQ(record.outboundServer, text_of(127, 'o')); // with its terminator
        EXPECT_STREQ(record.registrarServer, "registrar.example.net");
        EXPECT_EQ(record.priDns, 0x0a000001u);
        EXPECT_EQ(record.secDns, 0x0a000002u);
        EXPECT_EQ(record.port, 65535u);
        EXPECT_EQ(record.ipHost, 1u);
        EXPECT_EQ(find_row(row)->sRmVoipSipAgentConfigOutboundServer, text_of(128, 'o'));
        EXPECT_STREQ(find_row(row)->sRmVoipSipAgentConfigHostPartUri, "stored-alone");
    });
}

TEST(RmSipAgent, SpeaksThroughAnIpHostOfItsOnu) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(add(agent(2)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("iphost not existed"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_THAT(all_of<Agent>(), IsEmpty());
        for (const mib_ulong host : {0u, 1u}) { // none, or the first
            Agent row = agent(host);
            EXPECT_EQ(add(row), OV_GPON_RET_OK) << host;
            EXPECT_EQ(ov_app_gpon_rm_sip_agent_config_data_delete(&row), OV_GPON_RET_OK);
        }
        ASSERT_EQ(add_one<IpHost>(row_of<IpHost>()), OV_GPON_RET_OK);
        Agent row = agent(2);
        EXPECT_EQ(add(row), OV_GPON_RET_OK);
        // a change is looked at too, a removal isn't
        auto host = row_of<IpHost>();
        ASSERT_EQ(ov_app_gpon_rm_iphost_del(&host), OV_GPON_RET_OK);
        EXPECT_EQ(edit_one<SipAgent>(row), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_sip_agent_config_data_delete(&row), OV_GPON_RET_OK);
    });
}

TEST(RmSipAgent, TheIpHostOfAnotherOnuIsNotItsOwn) {
    run([](AppChassis&) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_OK);
        ASSERT_EQ(add_one<IpHost>(row_of<IpHost>(8)), OV_GPON_RET_OK);
        EXPECT_EQ(add(agent(2)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(agent(2, 8)), OV_GPON_RET_OK);
    });
}

TEST(RmSipAgent, OfABoundProfileIsRemovedAllTheSame) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
        Agent row = agent(0, PROFILE, GPON_TEMPLATE_PORT, GPON_TEMPLATE_SLOT);
        ASSERT_EQ(add(row), OV_GPON_RET_OK);
        bind_profile(3);
        Agent other = row;
        other.sRmVoipSipAgentConfigAgentID = 2;
        EXPECT_EQ(add(other), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 9 bind 3 times"));
        EXPECT_EQ(ov_app_gpon_rm_sip_agent_config_data_delete(&row), OV_GPON_RET_OK);
    });
}

// ---- SIP users --------------------------------------------------------------------------------------------

using User = ov_sRmVoipSipUserDataTable_attr_t;
using UserRecord = ov_rm_voip_sip_user_data_attr_t;

// "card/kind/port" of an ONU's rows, in the table's order.
std::vector<std::string> users_of(int onu = ONU) {
    std::vector<std::string> found;
    for (const User& row : rows_under(onu_key<User>(SLOT, PORT, onu), INDEX_TO_ONU))
        found.push_back(std::to_string(row.sRmVoipSipUserDataCardID) + "/" +
                        std::to_string(row.sRmVoipSipUserDataCardType) + "/" +
                        std::to_string(row.sRmVoipSipUserDataPortID));
    return found;
}

TEST(RmSipUser, ThereIsOneForEachPotsPort) {
    run([](AppChassis&) { EXPECT_THAT(users_of(), ElementsAre("1/1/1", "2/1/1", "1/1/2", "2/1/2")); },
        {.cards = 2, .eth = 4, .pots = 2});
}

TEST(RmSipUser, TheRowsOfAnOnuAreMadeAndRemovedTogether) {
    run([](AppChassis& chassis) {
        const Onu onu = *stored_onu(ONU);
        EXPECT_EQ(ov_sip_user_table_iterate_del(&onu), 1);
        EXPECT_THAT(users_of(), IsEmpty());
        EXPECT_EQ(ov_sip_user_table_iterate_add(&onu), 1);
        EXPECT_THAT(users_of(), SizeIs(1));
        EXPECT_EQ(ov_sip_user_table_iterate_add(&onu), 0); // there already
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't add ONUPORTTYPE_POTS"));
        Onu unknown = onu;
        unknown.sOnuTableOnuTypeProfileId = 4711;
        EXPECT_EQ(ov_sip_user_table_iterate_add(&unknown), 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't get onutype id"));
    });
}

User user_row() {
    User row = row_of<SipUser>();
    row.sRmVoipSipUserDataAgentID = 65535;
    set_text(row.sRmVoipSipUserDataUserAor, text_of(128, 'a'));
    set_text(row.sRmVoipSipUserDataDisplayName, text_of(25, 'd'));
    set_text(row.sRmVoipSipUserDataUsername, text_of(50, 'u'));
    set_text(row.sRmVoipSipUserDataPassword, "s3cret-sip");
    return row;
}

TEST(RmSipUser, EachColumnReachesItsFieldAndHasItsNumberAsBit) {
    run([](AppChassis& chassis) {
        User row;
        for (const unsigned column : {4u, 5u, 6u, 7u, 8u}) {
            chassis.forget_messages();
            row = user_row();
            MIB_Flags_t columns = columns_of(column);
            ASSERT_EQ(ov_app_gpon_rm_sip_user_data_edit(&row, &columns), 0) << column;
            EXPECT_EQ(chassis.messages().at(0).mask, 1u << column);
        }
        const auto record = chassis.messages().at(0).record<UserRecord>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(row));
        EXPECT_EQ(record.onuCardID, 1u);
        EXPECT_EQ(record.onuPortType, POTS);
        EXPECT_EQ(record.onuPortID, 1u);
        EXPECT_EQ(record.agentID, 65535u);
        EXPECT_EQ(record.user_aor, text_of(127, 'a')); // each with its terminator
        EXPECT_EQ(record.display_name, text_of(24, 'd'));
        EXPECT_EQ(record.username, text_of(49, 'u'));
        EXPECT_STREQ(record.password, "s3cret-sip");
        EXPECT_EQ(find_row(row)->sRmVoipSipUserDataUsername, text_of(50, 'u'));
        EXPECT_EQ(find_row(row)->sRmVoipSipUserDataDisplayName, text_of(25, 'd'));
    });
}

TEST(RmSipUser, APasswordStandsInNoLogLine) {
    run([](AppChassis& chassis) {
        g_gpon_ipc_msg_debug_flag = 1;
        User row = user_row();
        MIB_Flags_t columns = columns_of(7u, 8u);
        EXPECT_EQ(ov_app_gpon_rm_sip_user_data_edit(&row, &columns), 0);
        chassis.card_answers(948, OV_GPON_RET_DRV_ERR);
        EXPECT_NE(ov_app_gpon_rm_sip_user_data_edit(&row, &columns), 0);
        g_gpon_ipc_msg_debug_flag = 0;
        EXPECT_THAT(chassis.hal.log.lines(), Contains(HasSubstr("uuuu"))); // the record was dumped
        EXPECT_THAT(chassis.hal.log.lines(), Not(Contains(HasSubstr("s3cret"))));
    });
}

TEST(RmSipUser, ARowOfAProfileStaysInItsTable) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
        const User row = template_row_of<SipUser>();
        put_row_of<SipUser>(row);
        chassis.forget_messages();
        EXPECT_EQ(edit_one<SipUser>(row), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        bind_profile(3);
        EXPECT_EQ(edit_one<SipUser>(row), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 9 bind 3 times"));
    });
}

TEST(RmSipUser, AReplaySetsWhatIsNotAsItWasMade) {
    User row = {};
    EXPECT_EQ(ov_rm_voip_sip_user_data_table_attr_mask_get(&row), 0);
    set_text(row.sRmVoipSipUserDataVoiceMailServer, "stored alone");
    EXPECT_EQ(ov_rm_voip_sip_user_data_table_attr_mask_get(&row), 0);
    set_text(row.sRmVoipSipUserDataPassword, "x");
    EXPECT_EQ(ov_rm_voip_sip_user_data_table_attr_mask_get(&row), 1 << 8);
    row = user_row();
    EXPECT_EQ(ov_rm_voip_sip_user_data_table_attr_mask_get(&row), 0x1f0);
}

// ---- lines ------------------------------------------------------------------------------------------------

using Line = ov_sRmVoipLineStatusTable_attr_t;
using LineRecord = ov_rm_voip_line_status_attr_t;
constexpr int LINE_MESSAGE = 964;

Line line(int onu = ONU) {
    Line row = onu_key<Line>(SLOT, PORT, onu);
    row.sRmVoipLineStatusCardType = POTS;
    row.sRmVoipLineStatusPortID = 1;
    row.sRmVoipLineStatusCardID = 1;
    return row;
}
bool read(Line& row, unsigned column) {
    row = line();
    return mib_access(MIB_GET, row, columns_of(column));
}

TEST(RmVoipLine, ThereIsOneForEachPotsPortOfAnOnuAlone) {
    run(
        [](AppChassis&) {
            EXPECT_THAT(all_of<Line>(), SizeIs(6));
            ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
            EXPECT_THAT(all_of<Line>(), SizeIs(6));
            EXPECT_EQ(delete_onu(), OV_GPON_RET_OK);
            EXPECT_THAT(all_of<Line>(), IsEmpty());
        },
        {.cards = 2, .eth = 1, .pots = 3});
}

TEST(RmVoipLine, IsReadFromTheOnuWhileItIsInOperation) {
    run([](AppChassis& chassis) {
        LineRecord record = {};
        record.voipCodecUsed = 8;
        record.voipVoiceSerStatus = 3;
        record.voipPortSessionType = 2;
        record.voipCall1PktPeriod = 20;
        record.voipCall2PktPeriod = 40;
        std::memset(record.voipCall1DstAddr, '5', sizeof record.voipCall1DstAddr); // up to the last byte
        set_text(record.voipCall2DstAddr, "sip:b");
        chassis.card_reads(LINE_MESSAGE, record);
        Line row;
        ASSERT_TRUE(read(row, 4));
        EXPECT_EQ(row.sRmVoipLineStatusVoipCodecUsed, 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        bring_up();
        ASSERT_TRUE(read(row, 4));
        EXPECT_EQ(row.sRmVoipLineStatusVoipCodecUsed, 8);
        const CardMessage message = chassis.messages().back();
        EXPECT_EQ(message.type, LINE_MESSAGE);
        EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(message.mask, 1u << 2);
        const auto asked = message.record<LineRecord>();
        EXPECT_EQ(asked.onuIfindex, onu_ifindex_of(row));
        EXPECT_EQ(asked.uniPos.cardId, 1);
        EXPECT_EQ(asked.uniPos.uniType, POTS);
        EXPECT_EQ(asked.uniPos.uniId, 1);
        row = line();
        ASSERT_TRUE(mib_access(MIB_GET, row));
        EXPECT_EQ(chassis.messages().back().mask, 0x1fcu);
        EXPECT_EQ(row.sRmVoipLineStatusVoipVoiceSerStatus, 3);
        EXPECT_EQ(row.sRmVoipLineStatusVoipPortSessionType, 2);
        EXPECT_EQ(row.sRmVoipLineStatusVoipCall1PktPeriod, 20);
        EXPECT_EQ(row.sRmVoipLineStatusVoipCall2PktPeriod, 40);
        EXPECT_EQ(row.sRmVoipLineStatusVoipCall1DstAddr, text_of(25, '5'));
        EXPECT_STREQ(row.sRmVoipLineStatusVoipCall2DstAddr, "sip:b");
    });
}

// A card would take port 65537 for port 1.
TEST(RmVoipLine, ALineThatAnOnuCannotHaveIsNotAskedFor) {
    run([](AppChassis& chassis) {
        bring_up();
        Line row = line();
        row.sRmVoipLineStatusPortID = 65537;
        ASSERT_TRUE(mib_access(MIB_CREATEGO, row));
        EXPECT_TRUE(mib_access(MIB_GET, row));
        EXPECT_THAT(chassis.messages_of(LINE_MESSAGE), IsEmpty());
    });
}

TEST(RmVoipLine, ACardThatCannotTellFailsTheReadUnlessItDoesNotKnowIt) {
    run([](AppChassis& chassis) {
        bring_up();
        Line row;
        chassis.card_answers(LINE_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_TRUE(read(row, 10));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get which not support"));
        chassis.card_answers(LINE_MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_FALSE(read(row, 10));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get rm voip line status from low level error"));
    });
}

} // namespace
