// What all tables behind an ONU have in common: when a row may be written, what a card's refusal means, how
// rows come and go with ONUs and service profiles, what a partner port is told.
#include "../../support/test_clock.h"
#include "../support/remote_tables.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

template <typename Table>
class RemoteTables : public testing::Test {
public:
    using Row = typename Table::Row;

    // The chassis with ONU 7, and the table's row of it.
    static void run(const std::function<void(AppChassis&, const Row&)>& body) {
        remote_test::run([&](AppChassis& chassis) {
            put_row_of<Table>(row_of<Table>());
            body(chassis, row_of<Table>());
        });
    }
    // The same with a service profile, and its row.
    static void run_with_profile(const std::function<void(AppChassis&, const Row&)>& body) {
        remote_test::run([&](AppChassis& chassis) {
            ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
            put_row_of<Table>(template_row_of<Table>());
            chassis.forget_messages();
            body(chassis, template_row_of<Table>());
        });
    }
    static std::string error(const char* verb) {
        return std::string("mib ") + verb + " error for " + Table::NAME + " table";
    }
};

struct TableName {
    template <typename Table>
    static std::string GetName(int) {
        return Table::NAME;
    }
};
using AllTables =
    testing::Types<Wan, Wifi, IpHost, SipAgent, VoipConfig, SipUser, Tr069, QueueSchedule, UniPoe, OnuPoe>;
TYPED_TEST_SUITE(RemoteTables, AllTables, TableName);

// ---- writes -----------------------------------------------------------------------------------------------

TYPED_TEST(RemoteTables, AnEditReachesTheCard) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis& chassis, const auto& row) {
        EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_OK);
        EXPECT_TRUE(Table::is_set(*find_row(row)));
        const auto messages = chassis.messages();
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].type, Table::MESSAGE);
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(messages[0].mask, Table::MASK);
        EXPECT_TRUE(messages[0].wants_reply);
        EXPECT_EQ(messages[0].template record<typename Table::Record>().onuIfindex, onu_ifindex_of(row));
    });
}

TYPED_TEST(RemoteTables, ACardThatDoesNotKnowItIsBelieved) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis& chassis, const auto& row) {
        chassis.card_answers(Table::MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_OK);
        EXPECT_TRUE(Table::is_set(*find_row(row)));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
    });
}

TYPED_TEST(RemoteTables, WhatACardRefusesStaysAsItWas) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis& chassis, const auto& row) {
        const auto before = all_of<typename Table::Row>();
        chassis.card_answers(Table::MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(all_of<typename Table::Row>(), before);
        EXPECT_THAT(chassis.hal.log.lines(), Contains(Table::FAILURE));
        EXPECT_THAT(chassis.hal.log.lines(), Contains(TestFixture::error("set")));
    });
}

TYPED_TEST(RemoteTables, DoorsNeedARowAndItsColumns) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis& chassis, const auto& row) {
        auto copy = row;
        MIB_Flags_t columns = columns_of(Table::COLUMN);
        EXPECT_EQ(Table::edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(Table::edit(&copy, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(2));
        if constexpr (Table::MADE_BY_HAND) {
            EXPECT_EQ(Table::add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
            EXPECT_EQ(Table::del(nullptr), OV_GPON_RET_BAD_PARAM);
            EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(4));
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- owners -----------------------------------------------------------------------------------------------

TYPED_TEST(RemoteTables, RowsOfAnOnuThatIsNotThere) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis& chassis, const auto&) {
        const auto row = row_of<Table>(99);
        put_row_of<Table>(row);
        EXPECT_EQ(edit_one<Table>(row), Table::ASKS_FOR_ONU ? OV_GPON_RET_BAD_PARAM : OV_GPON_RET_OK);
        EXPECT_EQ(Table::is_set(*find_row(row)), !Table::ASKS_FOR_ONU);
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains("onu id 99 is not exist").Times(Table::ASKS_FOR_ONU ? 1 : 0));
    });
}

TYPED_TEST(RemoteTables, RowsOfAnOnuThatTakesItsSettingsFromAProfile) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis& chassis, const auto&) {
        ASSERT_EQ(add_profile(), 0);
        ASSERT_EQ(new_onu(8, "ABCD00000008").templet(PROFILE).add(), 0);
        const auto row = row_of<Table>(8);
        put_row_of<Table>(row);
        EXPECT_EQ(edit_one<Table>(row), Table::TEMPLET_REFUSES ? OV_GPON_RET_BAD_PARAM : OV_GPON_RET_OK);
        EXPECT_EQ(Table::is_set(*find_row(row)), !Table::TEMPLET_REFUSES);
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains("onu id 8 is configured by templet").Times(Table::TEMPLET_REFUSES ? 1 : 0));
        if constexpr (Table::MADE_BY_HAND) {
            auto gone = row;
            EXPECT_EQ(Table::del(&gone), OV_GPON_RET_OK);
            EXPECT_EQ(add_one<Table>(row), OV_GPON_RET_OK);
        }
    });
}

TYPED_TEST(RemoteTables, ARowOfAProfileGoesToTheCardsUntilAnOnuIsBound) {
    using Table = TypeParam;
    if (Table::BOUND != nullptr)
        TestFixture::run_with_profile([](AppChassis& chassis, const auto& row) {
            EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_OK);
            ASSERT_THAT(chassis.messages(), SizeIs(1));
            EXPECT_EQ(chassis.messages()[0].type, Table::MESSAGE);
            EXPECT_EQ(chassis.messages()[0].mask, Table::MASK);
            EXPECT_EQ(chassis.messages()[0].template record<typename Table::Record>().onuIfindex,
                      onu_ifindex_of(row));
            bind_profile(3);
            chassis.forget_messages();
            EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_BAD_PARAM);
            EXPECT_THAT(chassis.hal.log.lines(), Contains(EndsWith(Table::BOUND)));
            EXPECT_THAT(chassis.messages(), IsEmpty());
        });
}

TYPED_TEST(RemoteTables, RowsOfAProfileThatIsNotThereAreNobodys) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis& chassis, const auto&) {
        const auto row = template_row_of<Table>(33);
        put_row_of<Table>(row);
        EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 33 is not exist"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- rows that come and go --------------------------------------------------------------------------------

TYPED_TEST(RemoteTables, ComeWithTheirOnuUnlessTheyAreMadeByHand) {
    using Table = TypeParam;
    remote_test::run([](AppChassis& chassis) {
        EXPECT_EQ(find_row(row_of<Table>()) != nullptr, !Table::MADE_BY_HAND);
        EXPECT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(row_of<Table>(8)) != nullptr, !Table::MADE_BY_HAND);
        EXPECT_THAT(chassis.messages_of(Table::MESSAGE), IsEmpty()); // as the ONU has it anyway
    });
}

TYPED_TEST(RemoteTables, GoWithTheirOnu) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis& chassis, const auto& row) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_OK);
        put_row_of<Table>(row_of<Table>(8));
        chassis.forget_messages();
        EXPECT_EQ(delete_onu(), OV_GPON_RET_OK);
        EXPECT_EQ(find_stored_row(row), nullptr);
        EXPECT_NE(find_stored_row(row_of<Table>(8)), nullptr);
        const auto told = chassis.messages_of(Table::MESSAGE);
        ASSERT_THAT(told, SizeIs(Table::MADE_BY_HAND ? 1 : 0));
        if (!told.empty()) {
            EXPECT_EQ(told[0].action, OV_HAL_GPON_MSG_ACTION_DELETE);
            EXPECT_EQ(chassis.messages()[0].type, Table::MESSAGE); // in front of the ONU
        }
    });
}

TYPED_TEST(RemoteTables, ARowThatTheCardKeepsKeepsItsOnu) {
    using Table = TypeParam;
    if constexpr (Table::MADE_BY_HAND)
        TestFixture::run([](AppChassis& chassis, const auto& row) {
            chassis.card_answers(Table::MESSAGE, OV_GPON_RET_DRV_ERR);
            EXPECT_EQ(delete_onu(), OV_GPON_RET_BAD_PARAM);
            EXPECT_NE(find_row(row), nullptr);
            EXPECT_NE(stored_onu(ONU), nullptr);
            EXPECT_THAT(chassis.messages_of(ONU_MESSAGE), IsEmpty());
            EXPECT_THAT(chassis.hal.log.lines(), Contains(Table::FAILURE));
        });
}

TYPED_TEST(RemoteTables, FollowTheirProfile) {
    using Table = TypeParam;
    remote_test::run([](AppChassis& chassis) {
        const auto row = template_row_of<Table>();
        ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
        const bool comes = Table::BOUND != nullptr && !Table::MADE_BY_HAND;
        EXPECT_EQ(find_row(row) != nullptr, comes);
        EXPECT_THAT(chassis.messages_of(Table::MESSAGE), IsEmpty());
        if (Table::BOUND == nullptr)
            return;
        put_row_of<Table>(row);
        EXPECT_EQ(ov_gpon_onu_service_profile_del(PROFILE), OV_GPON_RET_OK);
        EXPECT_EQ(find_stored_row(row) == nullptr, Table::GOES_WITH_PROFILE);
        EXPECT_THAT(chassis.messages_of(Table::MESSAGE),
                    SizeIs(Table::MADE_BY_HAND && Table::GOES_WITH_PROFILE ? 1 : 0));
    });
}

// ---- protection groups ------------------------------------------------------------------------------------

TYPED_TEST(RemoteTables, AreNotToBeWrittenOnAProtectingPort) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis& chassis, const auto& row) {
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_BAD_PARAM);
        EXPECT_FALSE(Table::is_set(*find_row(row)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_THAT(chassis.hal.log.lines(), Contains(Table::CHECK));
    });
}

TYPED_TEST(RemoteTables, AnOnuOfAProtectingPortComesAndGoes) {
    using Table = TypeParam;
    TestFixture::run([](AppChassis&, const auto& row) {
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(new_onu(8, "ABCD00000008").add(0), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(row_of<Table>(8)) != nullptr, !Table::MADE_BY_HAND);
        Onu onu = onu_at(ONU);
        EXPECT_TRUE(mib_access(MIB_DEL_N, onu));
        EXPECT_EQ(find_stored_row(row), nullptr);
    });
}

TYPED_TEST(RemoteTables, OfAWorkingPortAreRepeatedOnThePartner) {
    using Table = TypeParam;
    if constexpr (Table::SYNC != ov_pon_protect_sync_table_e{})
        TestFixture::run([](AppChassis& chassis, const auto& row) {
            make_mirrored_group<Table::SYNC>();
            TestClock clock;
            EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_OK);
            chassis.card_answers(Table::MESSAGE, OV_GPON_RET_NOT_SUPPORT);
            EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_OK);
            chassis.card_answers(Table::MESSAGE, OV_GPON_RET_DRV_ERR);
            EXPECT_EQ(edit_one<Table>(row), OV_GPON_RET_BAD_PARAM);
            clock.advance(std::chrono::seconds(1));
            const std::string repeat = std::to_string(Table::SYNC) + " action 3 on port 5";
            EXPECT_THAT(repeated(), ElementsAre(repeat, repeat));
        });
}

// ---- rows that are made by hand ---------------------------------------------------------------------------

template <typename Table>
class RemoteTablesByHand : public RemoteTables<Table> {};
using TablesByHand = testing::Types<Wan, Wifi, IpHost, SipAgent>;
TYPED_TEST_SUITE(RemoteTablesByHand, TablesByHand, TableName);

TYPED_TEST(RemoteTablesByHand, AreMadeAndRemovedOnTheCard) {
    using Table = TypeParam;
    remote_test::run([](AppChassis& chassis) {
        auto row = row_of<Table>();
        MIB_Flags_t columns = columns_of(Table::COLUMN);
        Table::set_one(row);
        EXPECT_EQ(Table::add(&row, &columns), OV_GPON_RET_OK);
        ASSERT_NE(find_row(row), nullptr);
        EXPECT_TRUE(Table::is_set(*find_row(row)));
        EXPECT_EQ(
            MibRowStatusGet(did_of<typename Table::Row>(), const_cast<typename Table::Row*>(find_row(row))),
            MODE_CHG);                                              // in service
        EXPECT_NE(add_one<Table>(row_of<Table>()), OV_GPON_RET_OK); // there already
        EXPECT_EQ(Table::del(&row), OV_GPON_RET_OK);
        EXPECT_EQ(find_stored_row(row), nullptr);
        EXPECT_EQ(Table::del(&row), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains(TestFixture::error("del")));
        const auto messages = chassis.messages();
        ASSERT_THAT(messages, SizeIs(2));
        EXPECT_EQ(messages[0].type, Table::MESSAGE);
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_EQ(messages[1].action, OV_HAL_GPON_MSG_ACTION_DELETE);
    });
}

TYPED_TEST(RemoteTablesByHand, WhatACardRefusesToMakeIsNotMade) {
    using Table = TypeParam;
    remote_test::run([](AppChassis& chassis) {
        chassis.card_answers(Table::MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(add_one<Table>(row_of<Table>()), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(all_of<typename Table::Row>(), IsEmpty());
        EXPECT_THAT(chassis.hal.log.lines(), Contains(Table::FAILURE));
        EXPECT_THAT(chassis.hal.log.lines(), Contains(TestFixture::error("add")));
    });
}

TYPED_TEST(RemoteTablesByHand, AWaitingRowReachesTheCardWhenItBecomesActive) {
    using Table = TypeParam;
    remote_test::run([](AppChassis& chassis) {
        auto row = row_of<Table>();
        ASSERT_TRUE(mib_access(MIB_CREATEWAIT, row));
        EXPECT_EQ(find_row(row), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        const auto& desc = table_of<typename Table::Row>::module().desc();
        const int32_t active = OVRA_ACTIVE;
        std::memcpy(reinterpret_cast<char*>(&row) + desc.row_status->offset, &active, sizeof active);
        EXPECT_TRUE(mib_access(MIB_SET, row, columns_of(static_cast<unsigned>(desc.row_status->number))));
        ASSERT_THAT(chassis.messages(), SizeIs(1));
        EXPECT_EQ(chassis.messages()[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_NE(find_row(row), nullptr);
    });
}

} // namespace
