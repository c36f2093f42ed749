#include "../support/batch_chassis.h"

using namespace batch_test;

namespace {

// ---- what is copied ---------------------------------------------------------------------------------------

TEST(BatchCopy, EveryTableReachesTheOnu) {
    run_with_profile([](AppChassis& chassis) {
        fill_profile(chassis);
        EXPECT_THAT(copy_to(flags_of({ONU})), IsEmpty());
        EXPECT_EQ(rows_of_onu<Tcont>(), 1u);
        EXPECT_EQ(rows_of_onu<Gem>(), 1u);
        EXPECT_EQ(rows_of_onu<ServicePort>(), 2u);
        EXPECT_EQ(rows_of_onu<Service>(), 2u);
        EXPECT_EQ(find_row(uni<UniVlan>(ETH, 1))->sRmUniVlanTablePvid, 46);
        EXPECT_EQ(find_row(service_key<FilterLimit>(service(1)))->rmSmfdMacLimit, 5);
        EXPECT_EQ(find_row(service_key<FilterMode>(service(2)))->rmSmfmMode, RMSMFMMODE_STATIC);
        EXPECT_EQ(find_row(rule_of(service(2), 1))->rmSmfsMac[5], 7);
        EXPECT_TRUE(IpHost::is_set(*find_row(row_of<IpHost>())));
        EXPECT_EQ(find_row(onu_key<OnuQos>(SLOT, PORT, ONU))->onuQosMaxBw, MAX_BW);
        EXPECT_TRUE(Wifi::is_set(*find_row(row_of<Wifi>())));
        EXPECT_TRUE(Wan::is_set(*find_row(row_of<Wan>())));
        EXPECT_TRUE(VoipConfig::is_set(*find_row(row_of<VoipConfig>())));
        EXPECT_TRUE(SipAgent::is_set(*find_row(row_of<SipAgent>())));
        EXPECT_TRUE(SipUser::is_set(*find_row(row_of<SipUser>())));
        EXPECT_TRUE(OnuPoe::is_set(*find_row(row_of<OnuPoe>())));
        EXPECT_TRUE(UniPoe::is_set(*find_row(row_of<UniPoe>())));
    });
}

TEST(BatchCopy, TablesFollowEachOtherAndOnusTakeARowInTurn) {
    run_with_profile([](AppChassis& chassis) {
        put_onus(8, 8);
        chassis.forget_messages();
        fill_profile(chassis);
        EXPECT_THAT(copy_to(flags_of({7, 8})), IsEmpty());
        // the services' filters come with them; a static one has no limit
        EXPECT_THAT(sent(chassis),
                    ElementsAre("908 create", "908 create", "909 create", "909 create", // T-CONT, GEM port
                                "910 create", "910 create", "910 create", "910 create", // service ports
                                "913 create", "934 create", "913 create", "934 create", // services
                                "913 create", "934 create", "913 create", "934 create", //
                                "916 set", "916 set", "942 create", "942 create",       // UNI, IP host
                                "921 set", "921 set",                                   // QoS
                                "956 create", "956 create", "955 create", "955 create", // Wi-Fi, WAN
                                "946 set", "946 set", "947 create", "947 create",       // VoIP, SIP agent
                                "948 set", "948 set",                                   // SIP users
                                "934 set", "934 set",                                   // filter modes
                                "934 delete", "934 set", "934 delete", "934 set",       //
                                "934 set", "934 set", "934 create", "934 create",       // limit, filter
                                "963 set", "963 set", "962 set", "962 set"));           // PoE
    });
}

TEST(BatchCopy, RowsAreTheOnusOwn) {
    run_with_profile([](AppChassis& chassis) {
        fill_traffic(chassis);
        ASSERT_THAT(copy_to(flags_of({ONU})), IsEmpty());
        const auto tcont = *find_row(provisioning::tcont(1, "", SLOT, PORT, ONU));
        EXPECT_STREQ(tcont.sTcontTableTcontName, "voice");
        EXPECT_STREQ(tcont.sTcontTableBwProfileName, "small");
        const auto gem = *find_row(provisioning::gem(1, 1, SLOT, PORT, ONU));
        EXPECT_EQ(gem.sGemTableIfIndex, gemport_ifindex(gem, 1));
        EXPECT_EQ(gem.sGemTableRowStatus, OVRA_ACTIVE);
        EXPECT_EQ(provisioning::held_of(PORT), (provisioning::Held{1, 1, 300, 100}));
    });
}

TEST(BatchCopy, LimitsOfAddressesAndQueuesOfAServicePortAreNotCopied) {
    run_with_profile([](AppChassis& chassis) {
        fill_traffic(chassis);
        put_template<ServicePort>(
            chassis,
            [](auto& row) {
                row.servicePortMacLimit = 9;
                row.servicePortMacmove = SERVICEPORTMACMOVE_DISABLE;
                row.servicePortQueue = 3;
                row.servicePortQueueSelectMode = SERVICEPORTQUEUESELECTMODE_COSQMAPPINGPROFILE;
                row.servicePortVlanPrio = 6;
                row.servicePortVlanPrioAction = SERVICEPORTVLANPRIOACTION_NEW;
            },
            1);
        ASSERT_THAT(copy_to(flags_of({ONU})), IsEmpty());
        const auto row = *find_row(provisioning::service_port(1, 1, SLOT, PORT, ONU));
        EXPECT_EQ(row.servicePortVlan, 101);
        EXPECT_EQ(row.servicePortVlanPrio, 6);
        EXPECT_EQ(row.servicePortVlanPrioAction, SERVICEPORTVLANPRIOACTION_NEW);
        EXPECT_EQ(row.servicePortMacLimit, 0);
        EXPECT_EQ(row.servicePortMacmove, SERVICEPORTMACMOVE_ENABLE);
        EXPECT_EQ(row.servicePortQueue, 0);
        EXPECT_EQ(row.servicePortQueueSelectMode, SERVICEPORTQUEUESELECTMODE_DIRECTLY);
    });
}

TEST(BatchCopy, UnisWithoutSettingsInTheProfileKeepTheirs) {
    run_with_profile([](AppChassis& chassis) {
        fill_services(chassis);
        put_template_tcont(chassis, 1);
        put_template_gemport(chassis, 1);
        auto second = uni<UniVlan>(ETH, 2);
        second.sRmUniVlanTableVlanMode = SRMUNIVLANTABLEVLANMODE_TRANSPARENT;
        MIB_Flags_t columns = columns_of(sRmUniVlanTable_column::sRmUniVlanTableVlanMode);
        ASSERT_EQ(ov_app_gpon_rmunivlan_edit(&second, &columns), OV_GPON_RET_OK);
        ASSERT_THAT(copy_to(flags_of({ONU})), IsEmpty());
        EXPECT_EQ(find_row(second)->sRmUniVlanTableVlanMode, SRMUNIVLANTABLEVLANMODE_TRANSPARENT);
        EXPECT_EQ(find_row(uni<UniVlan>(ETH, 1))->sRmUniVlanTableVlanMode, SRMUNIVLANTABLEVLANMODE_ACCESS);
    });
}

TEST(BatchCopy, OtherProfilesAndRowsThatWaitAreNotCopied) {
    run_with_profile([](AppChassis& chassis) {
        put_template_tcont(chassis, 1);
        put_template<Tcont>(
            chassis, [](auto& row) { set_text(row.sTcontTableBwProfileName, "small"); }, 2);
        const_cast<Tcont*>(find_row(provisioning::template_tcont(2, "", PROFILE)))->sTcontTableRowStatus =
            OVRA_NOTINSERVICE;
        chassis.put_row<Tcont>([](auto& row) { set_text(row.sTcontTableBwProfileName, "small"); }, GPON_SHELF,
                               GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE + 1, 3);
        EXPECT_THAT(copy_to(flags_of({ONU})), IsEmpty());
        EXPECT_EQ(rows_of_onu<Tcont>(), 1u);
    });
}

// ---- what fails -------------------------------------------------------------------------------------------

TEST(BatchCopy, AProfileWithoutRowsReportsNoError) {
    run_with_profile([](AppChassis& chassis) {
        Flags flags = flags_of({8}, OV_BATCH_ONU_WRONG_TYPE);
        flags[8] = OV_BATCH_ONU_NOT_THERE;
        flags[ONU - 1] = OV_BATCH_ONU_CONFIG;
        EXPECT_THAT(copy_to(flags, PROFILE + 1), IsEmpty());
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(BatchCopy, OnusOfAnotherTypeAndMissingOnesHaveTheirCodes) {
    run_with_profile([](AppChassis& chassis) {
        fill_traffic(chassis);
        Flags flags = flags_of({8}, OV_BATCH_ONU_WRONG_TYPE);
        flags[8] = OV_BATCH_ONU_NOT_THERE;
        flags[9] = OV_BATCH_ONU_ASKED;
        flags[127] = OV_BATCH_ONU_NOT_THERE;
        EXPECT_THAT(copy_to(flags), ElementsAre("8: 6", "9: 7", "128: 7"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

struct Refusal {
    int message;
    std::string code;
    std::string line;
};
void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.message;
}

class BatchCopyRefusal : public testing::TestWithParam<Refusal> {};

// What stands in front of the row that the card refuses has come, what is behind it hasn't.
TEST_P(BatchCopyRefusal, HasItsCodeAndItsLine) {
    run_with_profile([](AppChassis& chassis) {
        put_onus(8, 8);
        fill_profile(chassis);
        chassis.forget_messages();
        const Refusal& refusal = GetParam();
        chassis.card_answers(refusal.message, 1009);
        Flags flags = flags_of({ONU, 8});
        EXPECT_THAT(codes(ov_gpon_multi_onu_service_config(PON, flags, PROFILE)),
                    ElementsAre("7: " + refusal.code, "8: " + refusal.code));
        EXPECT_EQ(flags, flags_of({ONU, 8}, OV_BATCH_ONU_FAILED));
        EXPECT_TRUE(provisioning::logged(chassis, "onu 1/3/4:7 config " + refusal.line));
        EXPECT_TRUE(provisioning::logged(chassis, "onu 1/3/4:8 config " + refusal.line));
        const auto messages = chassis.messages();
        ASSERT_GE(messages.size(), 2u);
        EXPECT_EQ(messages.back().type, refusal.message);
        EXPECT_EQ(messages[messages.size() - 2].type, refusal.message);
    });
}

const Refusal REFUSALS[] = {
    {908, "1", "tcont 1 failed"},
    {909, "2", "gem 1 failed"},
    {910, "3", "srv-port 1 failed"},
    {913, "4", "rm-srv 1 failed"},
    {916, "5", "rm uni failed..."},
    {942, "11", "rm iphost failed..."},
    {921, "9", "onu qos failed..."},
    {956, "12", "rm-wifi 2 failed"},
    {955, "13", "rm-wan 2 failed"},
    {946, "14", "rm-voipConfigData failed"},
    {947, "15", "rm-voipSipAgentConfig 65535 failed"},
    {948, "16", "rm-voipSipUsetData cardType[1] portId[1] cardId[1] failed"},
    {963, "17", "rm Onu Poe failed"},
    {962, "18", "rm Uni Poe failed"},
};
INSTANTIATE_TEST_SUITE_P(OfACard, BatchCopyRefusal, testing::ValuesIn(REFUSALS));

// Refuses the n-th message of that type, counted from 1, and agrees to all others.
void refuse_nth(AppChassis& chassis, int type, int n) {
    auto left = std::make_shared<int>(n);
    chassis.card.behave([=](FakeCard& card, const wire::Bytes& request) {
        const bool refused = wire::get16(request, wire::NL + 4) == type && --*left == 0;
        card.answer(request, card.reply_to(request, refused ? 1009 : 0));
    });
}

TEST(BatchCopy, TheLinesOfMacFiltersAreTold) {
    for (const auto& [nth, line] :
         {std::pair{3, "rm-serviceMacFilterMode 1 failed"}, std::pair{5, "rm-serviceMacFilterMode 2 failed"},
          std::pair{6, "rm-serviceMacFilterDynamic 1 failed"},
          std::pair{7, "rm-serviceMacFilterDynamic 2 1 failed"}})
        run_with_profile([nth = nth, line = line](AppChassis& chassis) {
            fill_profile(chassis);
            refuse_nth(chassis, FILTER_MESSAGE, nth);
            EXPECT_THAT(copy_to(flags_of({ONU})), ElementsAre("7: 19"));
            EXPECT_TRUE(provisioning::logged(chassis, std::string("onu 1/3/4:7 config ") + line));
        });
}

TEST(BatchCopy, QosFailsByItsSteps) {
    run_with_profile([](AppChassis& chassis) {
        put_onus(9, 9);
        put_template<OnuQos>(chassis, [](auto& row) { row.onuQosMaxBw = MAX_BW; });
        auto* gone = ov_app_find_onu_qos_by_ifindex(onu_ifindex(SLOT, PORT, 7));
        ASSERT_EQ(ov_app_onu_qos_del(gone, SYNC_APP), OV_QOS_OK);
        EXPECT_THAT(copy_to(flags_of({7, 9})), ElementsAre("7: 8"));
        EXPECT_TRUE(provisioning::logged(chassis, "onu 1/3/4:7 config onu qos failed..."));
        EXPECT_EQ(find_row(onu_key<OnuQos>(SLOT, PORT, 9))->onuQosMaxBw, MAX_BW);

        put_template<OnuQos>(chassis, [](auto& row) { row.onuQosSchedulerProfileId = 3; });
        EXPECT_THAT(copy_to(flags_of({9})), ElementsAre("9: 9")); // there is no such profile
        EXPECT_EQ(find_row(onu_key<OnuQos>(SLOT, PORT, 9))->onuQosSchedulerProfileId, 0);
    });
}

TEST(BatchCopy, QosAsTheOnuHasItIsNotSent) {
    run_with_profile([](AppChassis& chassis) {
        put_template<OnuQos>(chassis, [](auto& row) { row.onuQosMaxBw = 0; });
        EXPECT_THAT(copy_to(flags_of({ONU})), IsEmpty());
        EXPECT_THAT(chassis.messages_of(921), IsEmpty());
    });
}

TEST(BatchCopy, AnOnuThatRefusesGetsNoMoreAndTheOthersGoOn) {
    run_with_profile([](AppChassis& chassis) {
        put_onus(8, 10);
        fill_traffic(chassis);
        refuse_nth(chassis, 909, 2); // GEM port 1 of ONU 8
        EXPECT_THAT(copy_to(flags_of({7, 8, 9, 10})), ElementsAre("8: 2"));
        EXPECT_EQ(rows_of_onu<Tcont>(8), 1u); // what it has got by then stays
        EXPECT_EQ(rows_of_onu<Gem>(8), 0u);
        EXPECT_EQ(rows_of_onu<ServicePort>(8), 0u);
        for (const int id : {7, 9, 10})
            EXPECT_EQ(rows_of_onu<ServicePort>(id), 2u) << id;
        EXPECT_EQ(provisioning::held_of(PORT), (provisioning::Held{4, 3, 1200, 400}));
    });
}

TEST(BatchCopy, AnOnuThatTakesItsSettingsFromAProfileRefusesTheFirstTcont) {
    run_with_profile([](AppChassis& chassis) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").templet(PROFILE).add(), OV_GPON_RET_OK);
        fill_traffic(chassis);
        chassis.forget_messages();
        EXPECT_THAT(copy_to(flags_of({8})), ElementsAre("8: 1"));
        EXPECT_TRUE(provisioning::logged(chassis, "onu id 8 is configured by templet"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(BatchCopy, AnOnuThatHasGoneRefuses) {
    run_with_profile([](AppChassis& chassis) {
        fill_traffic(chassis);
        EXPECT_THAT(copy_to(flags_of({99})), ElementsAre("99: 1"));
        EXPECT_EQ(rows_of_onu<Tcont>(99), 0u);
        EXPECT_EQ(provisioning::held_of(PORT), provisioning::Held{});
    });
}

TEST(BatchCopy, ASecondCopyIsRefusedByWhatIsThere) {
    run_with_profile([](AppChassis& chassis) {
        fill_traffic(chassis);
        ASSERT_THAT(copy_to(flags_of({ONU})), IsEmpty());
        EXPECT_THAT(copy_to(flags_of({ONU})), ElementsAre("7: 1"));
        EXPECT_EQ(provisioning::held_of(PORT), (provisioning::Held{1, 1, 300, 100}));
    });
}

TEST(BatchCopy, ACardThatIsNotThereIsToldWhenItIsBack) {
    run_with_profile([](AppChassis& chassis) {
        fill_traffic(chassis);
        hal_slot_active_flag_clear("test", 0, SLOT);
        EXPECT_THAT(copy_to(flags_of({ONU})), IsEmpty());
        EXPECT_EQ(rows_of_onu<ServicePort>(), 2u);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(BatchCopy, ACardThatFallsSilentFailsTheRow) {
    run_with_profile([](AppChassis& chassis) {
        fill_traffic(chassis);
        chassis.card_falls_silent();
        EXPECT_THAT(copy_to(flags_of({ONU})), ElementsAre("7: 1"));
        EXPECT_EQ(rows_of_onu<Tcont>(), 0u);
        EXPECT_EQ(provisioning::held_of(PORT), provisioning::Held{});
    });
}

// A port that protects another one is written by its partner alone: doors without checks pass, the first
// with them refuses.
TEST(BatchCopy, AProtectingPortRefusesServicePorts) {
    run_with_profile([](AppChassis& chassis) {
        make_group(OTHER_PORT, PORT, true);
        fill_traffic(chassis);
        EXPECT_THAT(copy_to(flags_of({ONU})), ElementsAre("7: 3"));
        EXPECT_EQ(rows_of_onu<Gem>(), 1u);
    });
}

TEST(BatchCopy, EveryRefusalSaysWhyInTheLog) {
    run_with_profile([](AppChassis& chassis) {
        put_template_tcont(chassis, 1, "gone");
        EXPECT_THAT(copy_to(flags_of({ONU})), ElementsAre("7: 1"));
        EXPECT_TRUE(
            provisioning::logged(chassis, "refused: batch: gpon-onu3/4:7: no bandwidth profile \"gone\""));
    });
}

} // namespace
