// MAC filters of services: how modes, limits and rules follow one another, and what cards hear of them.
#include <random>

#include "../../support/test_clock.h"
#include "../support/service_chassis.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Record = ov_gpon_rm_macfilter_attr_t;
using Mac = std::array<uint8_t, 6>;

constexpr unsigned MODE = rmServiceMacFilterModeTable_column::rmSmfmMode;
constexpr unsigned LIMIT = rmServiceMacFilterDynamicTable_column::rmSmfdMacLimit;
constexpr unsigned ACTION = rmServiceMacFilterStaticTable_column::rmSmfsFwdFilter;
constexpr unsigned RULE = rmServiceMacFilterStaticTable_column::rmSmfsRule;
constexpr unsigned ADDRESS = rmServiceMacFilterStaticTable_column::rmSmfsMac;

constexpr int DYNAMIC = RMSMFMMODE_DYNAMIC;
constexpr int STATIC = RMSMFMMODE_STATIC;
constexpr Mac A = {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e};
constexpr Mac B = {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5f};

const Service ONE = service(1, {.vlan = 10});
const Service TWO = service(2, {.vlan = 20});

int del(FilterRule row) {
    return ov_app_gpon_rm_mac_filter_static_del(&row);
}
int edit(FilterRule row, MIB_Flags_t columns) {
    return ov_app_gpon_rm_mac_filter_static_edit(&row, &columns);
}

// With services 1 and 2, whose creation nobody looks at.
void run_services(const std::function<void(AppChassis&)>& body) {
    run([&body](AppChassis& chassis) {
        ASSERT_EQ(remote_test::add(ONE), 0);
        ASSERT_EQ(remote_test::add(TWO), 0);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

template <typename Filter>
size_t rows_of(const Service& of) {
    size_t rows = 0;
    for (const Filter& row : rows_under(filter_of<Filter>(of), INDEX_TO_SERVICE))
        rows += row.rmServiceID == of.rmServiceID ? 1 : 0;
    return rows;
}
mib_long mode_of(const Service& of) {
    const auto* row = find_row(filter_of<FilterMode>(of));
    return row != nullptr ? row->rmSmfmMode : 0;
}
bool has_limit(const Service& of) {
    return find_row(filter_of<FilterLimit>(of)) != nullptr;
}

std::vector<std::string> everything() {
    auto all = all_of<FilterMode>();
    for (const auto& more : {all_of<FilterLimit>(), all_of<FilterRule>(), all_of<Service>()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

// ---- with the service -------------------------------------------------------------------------------------

TEST(MacFilter, AServiceComesWithModeDynamicAndNoLimit) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(remote_test::add(ONE), 0);
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
        EXPECT_EQ(remote_test::del(ONE), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("934 delete", "934 delete", "913 delete"));
        EXPECT_EQ(chassis.messages()[1].record<Record>().entryId, 255);
        EXPECT_EQ(rows_of<FilterMode>(ONE) + rows_of<FilterLimit>(ONE) + rows_of<FilterRule>(ONE), 0u);
        EXPECT_EQ(rows_of<FilterRule>(TWO), 1u);
        chassis.forget_messages();
        EXPECT_EQ(remote_test::del(TWO), 0); // whose mode is dynamic
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
        EXPECT_EQ(remote_test::del(ONE), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't delete macfilter static data"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't delete macfilter mode data"));
        EXPECT_EQ(everything(), before);
        EXPECT_THAT(chassis.messages_of(SERVICE_MESSAGE), IsEmpty());
    });
}

TEST(MacFilter, ALimitThatTheCardRefusesKeepsTheServiceAway) {
    run([](AppChassis& chassis) {
        chassis.card_answers(FILTER_MESSAGE, 1009);
        EXPECT_EQ(remote_test::add(ONE), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm macfilter dynamic to hal error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't create macfilter dynamic data"));
        EXPECT_THAT(everything(), IsEmpty());
        chassis.card_answers(FILTER_MESSAGE, 0);
        EXPECT_EQ(remote_test::add(ONE), 0);
    });
}

// A removal past all callbacks leaves them.
TEST(MacFilter, WhatIsLeftWithoutAServiceIsTakenOverOrGoesWithTheOnu) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), 0);
        ASSERT_EQ(remote_test::add(service(1, {}, 8)), 0);
        ASSERT_EQ(add(rule_of(service(9), 1, A)), 0); // of a service that isn't there
        ASSERT_EQ(set_filter_mode(ONE, STATIC), 0);
        Service gone = ONE;
        ASSERT_TRUE(mib_access(MIB_DEL_S, gone));
        ASSERT_EQ(remote_test::add(ONE), 0);
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
        EXPECT_EQ(remote_test::del(ONE), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(remote_test::del(TWO), OV_GPON_RET_BAD_PARAM);
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
                remote_test::add(of);
                break;
            case 2:
                remote_test::del(of);
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
        ASSERT_EQ(remote_test::add(ONE), 0);
        EXPECT_EQ(set_filter_limit(ONE, 5), 0);
        EXPECT_EQ(set_filter_mode(ONE, STATIC), 0);
        EXPECT_EQ(add(rule_of(ONE, 1, A)), 0);
        EXPECT_EQ(remote_test::del(ONE), 0);
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
        EXPECT_EQ(remote_test::del(ONE), 0);
    });
}

// ---- rules ------------------------------------------------------------------------------------------------

TEST(MacFilterRule, ReachesTheCardWhole) {
    run_services([](AppChassis& chassis) {
        FilterRule rule = rule_of(ONE, 255, A);
        rule.rmSmfsFwdFilter = RMSMFSFWDFILTER_DISCARD;
        rule.rmSmfsRule = RMSMFSRULE_SA;
        EXPECT_EQ(add(rule), 0);
        EXPECT_EQ(edit(rule, columns_of(ACTION)), 0);
        EXPECT_EQ(edit(rule, columns_of(RULE)), 0);
        EXPECT_EQ(edit(rule, columns_of(ADDRESS)), 0); // its own address
        EXPECT_EQ(del(rule), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("934 create", "934 set", "934 set", "934 set", "934 delete"));
        const auto messages = chassis.messages();
        EXPECT_EQ(messages[0].mask, 1u << 5 | 1u << 6 | 1u << 7 | 1u << 8);
        EXPECT_EQ(messages[1].mask, 1u << 5);
        EXPECT_EQ(messages[2].mask, 1u << 6);
        EXPECT_EQ(messages[3].mask, 1u << 7);
        for (const CardMessage& message : messages) {
            const auto record = message.record<Record>();
            EXPECT_EQ(record.onuIfindex, onu_ifindex_of(onu_at(ONU)));
            EXPECT_EQ(record.flowId, 1);
            EXPECT_EQ(record.entryId, 255);
            EXPECT_EQ(record.fwdFilter, 1);
            EXPECT_EQ(record.rule, 1);
            EXPECT_EQ(std::memcmp(&record.macAddress, A.data(), A.size()), 0);
        }
        EXPECT_EQ(find_stored_row(rule), nullptr);
    });
}

TEST(MacFilterRule, AnAddressStandsOnceInAService) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), 0);
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        ASSERT_EQ(add(rule_of(ONE, 2, B)), 0);
        const auto before = everything();
        chassis.forget_messages();
        EXPECT_EQ(add(rule_of(ONE, 3, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm macfilter static param check failed"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib add error for rm_mac_filter_static table"));
        EXPECT_EQ(edit(rule_of(ONE, 2, A), columns_of(ADDRESS)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(everything(), before);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(edit(rule_of(ONE, 2, A), columns_of(ACTION)), 0); // the address isn't meant
        EXPECT_EQ(add(rule_of(TWO, 3, A)), 0);
        EXPECT_EQ(add(rule_of(service(1, {}, 8), 3, A)), 0);
        EXPECT_EQ(del(rule_of(ONE, 1)), 0);
        EXPECT_EQ(add(rule_of(ONE, 3, A)), 0);
        const FilterRule row = rule_of(ONE, 4, A);
        EXPECT_EQ(ov_rm_macfilter_create_iterate_parser_check(&row), 1);
        EXPECT_EQ(ov_rm_macfilter_create_iterate_parser_check(find_row(rule_of(ONE, 3))), 0);
    });
}

TEST(MacFilterRule, OneThatWaitsHasNoAddressYet) {
    run_services([](AppChassis& /*chassis*/) {
        FilterRule waiting = rule_of(ONE, 1, A);
        constexpr unsigned STATUS = rmServiceMacFilterStaticTable_column::rmSmfsRowStatus;
        waiting.rmSmfsRowStatus = OVRA_CREATEANDWAIT;
        ASSERT_TRUE(mib_access(MIB_SET, waiting, columns_of(ADDRESS, STATUS)));
        ASSERT_EQ(add(rule_of(ONE, 2, A)), 0);
        waiting.rmSmfsRowStatus = OVRA_ACTIVE;
        EXPECT_FALSE(mib_access(MIB_SET, waiting, columns_of(STATUS)));
        EXPECT_EQ(remote_test::del(ONE), 0); // which takes the waiting one too
        EXPECT_EQ(rows_of<FilterRule>(ONE), 0u);
        EXPECT_EQ(find_stored_row(rule_of(ONE, 1)), nullptr);
    });
}

TEST(MacFilterRule, NumbersThatWouldNameAnotherRuleAreRefused) {
    run_services([](AppChassis& chassis) {
        EXPECT_EQ(add(rule_of(ONE, 0, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_of(ONE, 256, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_of(service(65537), 1, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_of(service(1, {}, 99), 1, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 99 is not exist"));
        EXPECT_THAT(all_of<FilterRule>(), IsEmpty());
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(add(rule_of(ONE, 1, A)), 0);
        EXPECT_EQ(add(rule_of(ONE, 255, B)), 0);
    });
}

TEST(MacFilterRule, WhatTheCardRefusesIsNotThere) {
    run_services([](AppChassis& chassis) {
        chassis.card_answers(FILTER_MESSAGE, 1009);
        EXPECT_EQ(add(rule_of(ONE, 1, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm macfilter static to hal error"));
        EXPECT_THAT(all_of<FilterRule>(), IsEmpty());
        chassis.card_answers(FILTER_MESSAGE, 0);
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        chassis.card_falls_silent();
        const auto before = everything();
        EXPECT_EQ(edit(rule_of(ONE, 1, B), columns_of(ADDRESS)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(everything(), before);
    });
}

TEST(MacFilter, DoorsNeedARowAndItsColumns) {
    run_services([](AppChassis& chassis) {
        auto mode = filter_of<FilterMode>(ONE);
        auto limit = filter_of<FilterLimit>(ONE);
        FilterRule rule = rule_of(ONE, 1, A);
        MIB_Flags_t columns = columns_of(MODE);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_mode_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_mode_edit(&mode, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_dyn_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_dyn_edit(&limit, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_add(&rule, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_edit(&rule, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(9));
        EXPECT_EQ(del(rule), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib del error for rm_mac_filter_static table"));
    });
}

// ---- service profiles -------------------------------------------------------------------------------------

TEST(MacFilterOfAProfile, StaysInTheTables) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        put_template_gem(chassis);
        const Service of = template_service(1);
        ASSERT_EQ(remote_test::add(of), 0);
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

// ---- protection groups ------------------------------------------------------------------------------------

TEST(MacFilterPair, IsNotToBeWrittenOnAProtectingPort) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        chassis.forget_messages();
        make_group(OTHER_PORT, PORT, true);
        const auto before = everything();
        EXPECT_EQ(set_filter_mode(ONE, STATIC), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(set_filter_limit(ONE, 5), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_of(ONE, 2, B)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(edit(rule_of(ONE, 1, B), columns_of(ADDRESS)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(del(rule_of(ONE, 1)), OV_GPON_RET_BAD_PARAM);
        for (const auto& [function, times] :
             {std::pair("ov_mac_filter_mode_table_set_check_callback failed", 1),
              {"ov_mac_filter_dyn_table_set_check_callback failed", 1},
              {"ov_mac_filter_static_table_set_check_callback failed", 3}})
            EXPECT_THAT(chassis.hal.log.lines(), Contains(function).Times(times));
        EXPECT_EQ(everything(), before);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        // the partner's writer gets through, with all that follows
        auto mode = filter_of<FilterMode>(ONE);
        mode.rmSmfmMode = STATIC;
        EXPECT_TRUE(mib_access(MIB_SET_N, mode, columns_of(MODE)));
        EXPECT_FALSE(has_limit(ONE));
        mode.rmSmfmMode = DYNAMIC;
        EXPECT_TRUE(mib_access(MIB_SET_N, mode, columns_of(MODE)));
        EXPECT_TRUE(has_limit(ONE));
        EXPECT_EQ(rows_of<FilterRule>(ONE), 0u);
    });
}

TEST(MacFilterPair, ModeAndRulesAreRepeatedOnThePartner) {
    run_services([](AppChassis& /*chassis*/) {
        make_mirrored_group<SYNC_RMONU_MACFILTER_MODE>();
        ov_app_gpon_pair_writer_set(SYNC_RMONU_MACFILTER_STATIC, note_repeat<SYNC_RMONU_MACFILTER_STATIC>);
        TestClock clock;
        EXPECT_EQ(set_filter_limit(ONE, 5), 0); // limits are each port's own
        EXPECT_EQ(set_filter_mode(ONE, STATIC), 0);
        EXPECT_EQ(add(rule_of(ONE, 1, A)), 0);
        EXPECT_EQ(edit(rule_of(ONE, 1, B), columns_of(ADDRESS)), 0);
        EXPECT_EQ(del(rule_of(ONE, 1)), 0);
        clock.advance(std::chrono::seconds(1));
        EXPECT_THAT(repeated(), ElementsAre("14 action 3 on port 5", "15 action 1 on port 5",
                                            "15 action 3 on port 5", "15 action 2 on port 5"));
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
