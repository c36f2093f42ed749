// MAC filters of services: how modes and limits follow services and one another, and what cards hear of them.
#include <random>

#include "../support/filter_chassis.h"

using namespace filter_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// ---- with the service -------------------------------------------------------------------------------------

TEST(MacFilter, AServiceComesWithModeDynamicAndNoLimit) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(ONE), 0);
        EXPECT_EQ(mode_of(ONE), DYNAMIC);
        ASSERT_TRUE(has_limit(ONE));
        EXPECT_EQ(find_row(filter_of<FilterLimit>(ONE))->rmSmfdMacLimit, 0);
        EXPECT_THAT(sent(chassis), ElementsAre("913 create", "934 create"));
        const CardMessage message = chassis.messages().at(1);
        EXPECT_TRUE(message.wants_reply);
        EXPECT_EQ(message.mask, 1u << 3 | 1u << 8);
        const auto record = message.record<Record>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(onu_at(ONU)));
        EXPECT_EQ(record.flowId, 1);
        EXPECT_EQ(record.dyn_count, 0);
    });
}

TEST(MacFilter, AServiceGoesBehindItsFilters) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(set_filter_mode(ONE, STATIC), 0);
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        ASSERT_EQ(add(rule_of(ONE, 255, B)), 0);
        ASSERT_EQ(add(rule_of(TWO, 1, A)), 0);
        chassis.forget_messages();
        EXPECT_EQ(del(ONE), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("934 delete", "934 delete", "913 delete"));
        EXPECT_EQ(chassis.messages()[1].record<Record>().entryId, 255);
        EXPECT_EQ(rows_of<FilterMode>(ONE) + rows_of<FilterLimit>(ONE) + rows_of<FilterRule>(ONE), 0u);
        EXPECT_EQ(rows_of<FilterRule>(TWO), 1u);
        chassis.forget_messages();
        EXPECT_EQ(del(TWO), 0); // whose mode is dynamic
        EXPECT_THAT(sent(chassis), ElementsAre("934 delete", "934 delete", "913 delete"));
        EXPECT_THAT(everything(), IsEmpty());
    });
}

TEST(MacFilter, ARuleThatCannotGoKeepsItsService) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(set_filter_mode(ONE, STATIC), 0);
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        const auto before = everything();
        chassis.card_answers(FILTER_MESSAGE, 1009);
        EXPECT_EQ(del(ONE), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't delete macfilter static data"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't delete macfilter mode data"));
        EXPECT_EQ(everything(), before);
        EXPECT_THAT(chassis.messages_of(SERVICE_MESSAGE), IsEmpty());
    });
}

TEST(MacFilter, ALimitThatTheCardRefusesKeepsTheServiceAway) {
    run([](AppChassis& chassis) {
        chassis.card_answers(FILTER_MESSAGE, 1009);
        EXPECT_EQ(add(ONE), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm macfilter dynamic to hal error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't create macfilter dynamic data"));
        EXPECT_THAT(everything(), IsEmpty());
        chassis.card_answers(FILTER_MESSAGE, 0);
        EXPECT_EQ(add(ONE), 0);
    });
}

// A removal past all callbacks leaves them.
TEST(MacFilter, WhatIsLeftWithoutAServiceIsTakenOverOrGoesWithTheOnu) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), 0);
        ASSERT_EQ(add(service(1, {}, 8)), 0);
        ASSERT_EQ(add(rule_of(service(9), 1, A)), 0); // of a service that isn't there
        ASSERT_EQ(set_filter_mode(ONE, STATIC), 0);
        Service gone = ONE;
        ASSERT_TRUE(mib_access(MIB_DEL_S, gone));
        ASSERT_EQ(add(ONE), 0);
        EXPECT_EQ(mode_of(ONE), STATIC);
        gone = TWO;
        ASSERT_TRUE(mib_access(MIB_DEL_S, gone));
        chassis.forget_messages();
        EXPECT_EQ(delete_onu(), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("913 delete", "903 delete"));
        EXPECT_THAT(all_of<FilterMode>(), SizeIs(1)); // that of ONU 8
        EXPECT_THAT(all_of<FilterLimit>(), SizeIs(1));
        EXPECT_THAT(all_of<FilterRule>(), IsEmpty());
    });
}

// ---- the mode ---------------------------------------------------------------------------------------------

TEST(MacFilterMode, LimitComesAndGoesWithIt) {
    run_services([](AppChassis& chassis) {
        EXPECT_EQ(set_filter_mode(ONE, STATIC), 0);
        EXPECT_EQ(mode_of(ONE), STATIC);
        EXPECT_FALSE(has_limit(ONE));
        EXPECT_TRUE(has_limit(TWO));
        EXPECT_THAT(sent(chassis), ElementsAre("934 delete", "934 set"));
        const CardMessage message = chassis.messages()[1];
        EXPECT_EQ(message.mask, 1u << 2);
        EXPECT_EQ(message.record<Record>().flowId, 1);
        EXPECT_EQ(message.record<Record>().mode, STATIC);
        chassis.forget_messages();
        EXPECT_EQ(set_filter_mode(ONE, DYNAMIC), 0);
        EXPECT_TRUE(has_limit(ONE));
        EXPECT_THAT(sent(chassis), ElementsAre("934 create", "934 set"));
        EXPECT_EQ(chassis.messages()[1].record<Record>().mode, DYNAMIC);
    });
}

TEST(MacFilterMode, RulesGoWhenItLeavesStatic) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(set_filter_mode(ONE, STATIC), 0);
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        ASSERT_EQ(add(rule_of(ONE, 2, B)), 0);
        ASSERT_EQ(add(rule_of(TWO, 1, A)), 0);
        chassis.forget_messages();
        EXPECT_EQ(set_filter_mode(ONE, STATIC), 0); // no change
        EXPECT_EQ(rows_of<FilterRule>(ONE), 2u);
        EXPECT_THAT(sent(chassis), ElementsAre("934 set"));
        chassis.forget_messages();
        EXPECT_EQ(set_filter_mode(ONE, DYNAMIC), 0);
        EXPECT_EQ(rows_of<FilterRule>(ONE), 0u);
        EXPECT_EQ(rows_of<FilterRule>(TWO), 1u);
        EXPECT_THAT(sent(chassis), ElementsAre("934 delete", "934 delete", "934 create", "934 set"));
    });
}

TEST(MacFilterMode, AChangeThatMayNotBeLosesNothing) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(set_filter_mode(ONE, STATIC), 0);
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        Onu onu = onu_at(ONU);
        onu.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
        ASSERT_TRUE(mib_access(MIB_SET_S_N, onu, columns_of(onu_column::sOnuTableConfigMode)));
        chassis.forget_messages();
        const auto before = everything();
        EXPECT_EQ(set_filter_mode(ONE, DYNAMIC), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(set_filter_limit(TWO, 5), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(edit(rule_of(ONE, 1, B), RULE_COLUMNS), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 7 is configured by templet").Times(3));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rm_mac_filter_mode table"));
        EXPECT_EQ(everything(), before);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(MacFilterMode, ACardThatFailsKeepsIt) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(set_filter_mode(ONE, STATIC), 0);
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        const auto before = everything();
        chassis.card_answers(FILTER_MESSAGE, 1009);
        EXPECT_EQ(set_filter_mode(ONE, DYNAMIC), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(set_filter_mode(TWO, STATIC), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't delete macfilter dynamic data"));
        EXPECT_EQ(set_filter_mode(ONE, STATIC), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm macfilter mode to hal error"));
        EXPECT_EQ(everything(), before);
    });
}

// Which message fails, counted from here; the card does the others.
class OneFailure {
public:
    OneFailure(AppChassis& chassis, int type, int action) {
        chassis.card.behave([&chassis, type, action](FakeCard& card, const wire::Bytes& request) {
            const bool fails = wire::get16(request, wire::NL + 4) == type &&
                               wire::get32(request, wire::PAYLOAD) == static_cast<uint32_t>(action);
            card.reply(request, fails ? 1009 : 0);
        });
    }
};

TEST(MacFilterMode, AModeThatTheCardDoesNotTakeHasItsLimitAgain) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(set_filter_mode(TWO, STATIC), 0);
        const auto before = everything();
        const OneFailure failure(chassis, FILTER_MESSAGE, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(set_filter_mode(ONE, STATIC), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(set_filter_mode(TWO, DYNAMIC), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(everything(), before);
    });
}

TEST(MacFilter, AServiceThatTheCardKeepsHasAFilterAgain) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(set_filter_mode(ONE, STATIC), 0);
        const OneFailure failure(chassis, SERVICE_MESSAGE, OV_HAL_GPON_MSG_ACTION_DELETE);
        EXPECT_EQ(del(ONE), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(del(TWO), OV_GPON_RET_BAD_PARAM);
        for (const Service& of : {ONE, TWO}) {
            EXPECT_EQ(mode_of(of), DYNAMIC);
            EXPECT_TRUE(has_limit(of));
            EXPECT_NE(find_row(of), nullptr);
        }
    });
}

// Whatever is written and whatever the card says: services and modes come in pairs, and a limit is there
// while its mode is dynamic.
TEST(MacFilter, RowsFitTogetherAfterThousandsOfWrites) {
    run([](AppChassis& chassis) {
        std::mt19937 random(7);
        const auto any = [&random](int below) {
            return static_cast<int>(random() % static_cast<unsigned>(below));
        };
        for (int turn = 0; turn < 3000; ++turn) {
            chassis.card_answers(SERVICE_MESSAGE, any(10) == 0 ? 1009 : any(10) == 0 ? 1008 : 0);
            chassis.card_answers(FILTER_MESSAGE, any(10) == 0 ? 1009 : any(10) == 0 ? 1008 : 0);
            const Service of = service(1 + any(6), {.vlan = any(8)});
            switch (any(7)) {
            case 0:
            case 1:
                add(of);
                break;
            case 2:
                del(of);
                break;
            case 3:
                set_filter_mode(of, 1 + any(2));
                break;
            case 4:
                set_filter_limit(of, any(256));
                break;
            case 5:
                add(rule_of(of, 1 + any(3), {2, 0, 0, 0, 0, static_cast<uint8_t>(any(4))}));
                break;
            default:
                del(rule_of(of, 1 + any(3)));
            }
            for (int id = 1; id <= 6; ++id) {
                const bool there = find_stored_row(service(id)) != nullptr;
                ASSERT_EQ(mode_of(service(id)) != 0, there) << turn << " service " << id;
                ASSERT_EQ(has_limit(service(id)), mode_of(service(id)) == DYNAMIC) << turn << " limit " << id;
            }
        }
        chassis.card_answers(SERVICE_MESSAGE, 0);
        chassis.card_answers(FILTER_MESSAGE, 0);
        EXPECT_EQ(delete_onu(), 0);
        EXPECT_THAT(everything(), IsEmpty());
    });
}

TEST(MacFilterMode, ACardThatKnowsNoFiltersLetsThemBe) {
    run([](AppChassis& chassis) {
        chassis.card_answers(FILTER_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        ASSERT_EQ(add(ONE), 0);
        EXPECT_EQ(set_filter_limit(ONE, 5), 0);
        EXPECT_EQ(set_filter_mode(ONE, STATIC), 0);
        EXPECT_EQ(add(rule_of(ONE, 1, A)), 0);
        EXPECT_EQ(del(ONE), 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
        EXPECT_THAT(everything(), IsEmpty());
    });
}

// ---- the limit --------------------------------------------------------------------------------------------

TEST(MacFilterLimit, ReachesTheCard) {
    run_services([](AppChassis& chassis) {
        EXPECT_EQ(set_filter_limit(TWO, 255), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("934 set"));
        const CardMessage message = chassis.messages()[0];
        EXPECT_EQ(message.mask, 1u << 3);
        EXPECT_EQ(message.record<Record>().flowId, 2);
        EXPECT_EQ(message.record<Record>().dyn_count, 255);
        EXPECT_EQ(find_row(filter_of<FilterLimit>(TWO))->rmSmfdMacLimit, 255);
        ASSERT_EQ(set_filter_mode(TWO, STATIC), 0);
        EXPECT_EQ(set_filter_limit(TWO, 5), OV_GPON_RET_BAD_PARAM); // no row in this mode
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rm_mac_filter_dyn table"));
        ASSERT_EQ(set_filter_mode(TWO, DYNAMIC), 0);
        EXPECT_EQ(find_row(filter_of<FilterLimit>(TWO))->rmSmfdMacLimit, 0); // a new one
        chassis.card_answers(FILTER_MESSAGE, 1009);
        EXPECT_EQ(set_filter_limit(TWO, 5), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(find_row(filter_of<FilterLimit>(TWO))->rmSmfdMacLimit, 0);
    });
}

// As a manager's request for the row itself runs: the table is the request's.
class ManagersRequest {
public:
    ManagersRequest() { setOpOwnerSnmp(did_of<FilterLimit>()); }
    ~ManagersRequest() { clearOpOwnerSnmp(did_of<FilterLimit>()); }
    ManagersRequest(const ManagersRequest&) = delete;
    ManagersRequest& operator=(const ManagersRequest&) = delete;
    static bool write(int operation, const Service& of) {
        auto row = filter_of<FilterLimit>(of);
        return mib_access(operation, row);
    }
};

TEST(MacFilterLimit, IsThereForManagersToo) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(set_filter_mode(TWO, STATIC), 0);
        chassis.forget_messages();
        const auto before = everything();
        {
            const ManagersRequest request;
            EXPECT_FALSE(ManagersRequest::write(MIB_DEL, ONE));
            EXPECT_FALSE(ManagersRequest::write(MIB_CREATEGO, TWO));
            EXPECT_FALSE(ManagersRequest::write(MIB_CREATEWAIT, TWO));
            EXPECT_FALSE(ManagersRequest::write(MIB_CREATEGO, service(3)));
        }
        EXPECT_EQ(everything(), before);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        // one that is missing may be put back, one too many taken away
        ASSERT_TRUE(ManagersRequest::write(MIB_DEL_S_N, ONE));
        ASSERT_TRUE(ManagersRequest::write(MIB_CREATEGO_S_N, TWO));
        const ManagersRequest request;
        EXPECT_TRUE(ManagersRequest::write(MIB_CREATEGO, ONE));
        EXPECT_TRUE(ManagersRequest::write(MIB_DEL, TWO));
        EXPECT_EQ(everything(), before);
    });
}

TEST(MacFilterLimit, OneThatIsMissingIsNotMissed) {
    run_services([](AppChassis& /*chassis*/) {
        ASSERT_TRUE(ManagersRequest::write(MIB_DEL_S_N, ONE));
        EXPECT_EQ(set_filter_mode(ONE, STATIC), 0);
        ASSERT_TRUE(ManagersRequest::write(MIB_CREATEGO_S_N, ONE));
        EXPECT_EQ(set_filter_mode(ONE, DYNAMIC), 0);
        EXPECT_TRUE(has_limit(ONE));
        ASSERT_TRUE(ManagersRequest::write(MIB_DEL_S_N, ONE));
        EXPECT_EQ(del(ONE), 0);
    });
}

// ---- service profiles -------------------------------------------------------------------------------------

TEST(MacFilterOfAProfile, StaysInTheTables) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        put_template_gem(chassis);
        const Service of = template_service(1);
        ASSERT_EQ(add(of), 0);
        EXPECT_EQ(set_filter_limit(of, 5), 0);
        EXPECT_EQ(set_filter_mode(of, STATIC), 0);
        EXPECT_EQ(add(rule_of(of, 1, A)), 0);
        EXPECT_EQ(add(rule_of(of, 2, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(edit(rule_of(of, 1, B), columns_of(ADDRESS)), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("913 create"));
        EXPECT_EQ(mode_of(of), STATIC);
        EXPECT_EQ(rows_of<FilterRule>(of), 1u);
        chassis.forget_messages();
        bind_profile(2);
        const auto before = everything();
        EXPECT_EQ(set_filter_mode(of, DYNAMIC), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_of(of, 3, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(del(rule_of(of, 1)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 9bind 2 times").Times(3));
        EXPECT_EQ(everything(), before);
        bind_profile(0);
        EXPECT_EQ(ov_gpon_onu_service_profile_del(PROFILE), 0);
        EXPECT_THAT(chassis.messages_of(FILTER_MESSAGE), IsEmpty());
        EXPECT_THAT(everything(), IsEmpty());
    });
}

// ---- what is replayed -------------------------------------------------------------------------------------

TEST(MacFilter, AReplaySetsWhatIsNotAsItWasMade) {
    run([](AppChassis& /*chassis*/) {
        FilterMode mode = {};
        FilterLimit limit = {};
        mode.rmSmfmMode = DYNAMIC;
        EXPECT_EQ(ov_rmservice_macfilter_mode_table_attr_mask_get(&mode), 0);
        EXPECT_EQ(ov_rmservice_macfilter_dynamic_table_attr_mask_get(&limit), 0);
        mode.rmSmfmMode = STATIC;
        limit.rmSmfdMacLimit = 1;
        EXPECT_EQ(ov_rmservice_macfilter_mode_table_attr_mask_get(&mode), 1 << 2);
        EXPECT_EQ(ov_rmservice_macfilter_dynamic_table_attr_mask_get(&limit), 1 << 3);
    });
}

} // namespace
