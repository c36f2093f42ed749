// What every table of profiles by name does alike. What sets a table apart stands in its own test.
#include "../support/profile_tables.h"

#include <thread>

using namespace profile_test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

struct NameOfDescription {
    template <typename Table>
    static std::string GetName(int /*index*/) {
        if (std::is_same_v<Table, BwProfiles>)
            return "Bw";
        if (std::is_same_v<Table, OnuTypeProfiles>)
            return "OnuType";
        return std::is_same_v<Table, QosProfiles> ? "Qos" : "Traffic";
    }
};

// Where a table has no text, nothing may be said.
auto says(const char* text) {
    return text != nullptr ? testing::Matcher<std::vector<std::string>>(ElementsAre(text))
                           : testing::Matcher<std::vector<std::string>>(IsEmpty());
}

// The one message that went to the card; none of a table that cards don't know.
template <typename Table>
void expect_told(const AppChassis& chassis, int action, mib_ulong id) {
    const std::vector<CardMessage> seen = chassis.messages(Table::MESSAGE != 0 ? 1 : 0);
    if constexpr (Table::MESSAGE == 0) {
        EXPECT_THAT(seen, IsEmpty());
    } else {
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].type, Table::MESSAGE);
        EXPECT_EQ(seen[0].action, action);
        EXPECT_TRUE(seen[0].wants_reply);
        EXPECT_EQ(seen[0].record<typename Table::Record>().id, static_cast<int32_t>(id));
    }
}

// ---- all of them ------------------------------------------------------------------------------------------

template <typename Table>
class NamedProfile : public testing::Test {};
using AllTables = testing::Types<BwProfiles, OnuTypeProfiles, QosProfiles, TrafficProfiles>;
TYPED_TEST_SUITE(NamedProfile, AllTables, NameOfDescription);

TYPED_TEST(NamedProfile, IsFoundByNameOnEachThreadWhileOthersAreMade) {
    using T = TypeParam;
    app_chassis::run([](AppChassis&) {
        ASSERT_EQ(T::add(T::profile("gold")), OV_GPON_RET_OK);
        std::thread other([] {
            for (int round = 0; round < 300; ++round) {
                mib_ulong id = 0;
                EXPECT_EQ(T::GET_ID("gold", &id), 1);
                EXPECT_EQ(id, hash_of("gold"));
            }
        });
        for (int round = 0; round < 60; ++round) {
            EXPECT_EQ(T::add(T::profile("silver")), OV_GPON_RET_OK);
            EXPECT_EQ(T::del("silver"), OV_GPON_RET_OK);
        }
        other.join();
    });
}

TYPED_TEST(NamedProfile, AddMakesARowUnderTheHashOfItsName) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(T::add(T::profile("gold", 60)), OV_GPON_RET_OK);
        EXPECT_THAT(log_of(chassis), Not(Contains(HasSubstr("error"))));
        const auto* row = T::stored("gold");
        ASSERT_NE(row, nullptr);
        auto copy = *row;
        EXPECT_STREQ(T::name_of(copy), "gold");
        EXPECT_EQ(copy.*T::ID, hash_of("gold"));
        EXPECT_EQ(T::value_of(row), 60);
        EXPECT_EQ(copy.*T::ROW_STATUS, OVRA_ACTIVE);
        expect_told<T>(chassis, OV_HAL_GPON_MSG_ACTION_CREATE, hash_of("gold"));
    });
}

TYPED_TEST(NamedProfile, AddTakesOnlyTheColumnsThatItIsGiven) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& /*chassis*/) {
        EXPECT_EQ(T::add(T::profile("gold", 300), columns_of(T::NAME_COLUMN)), OV_GPON_RET_OK);
        ASSERT_NE(T::stored("gold"), nullptr);
        EXPECT_EQ(T::value_of(T::stored("gold")), 0);
        EXPECT_EQ(T::stored("gold")->*T::ROW_STATUS, OVRA_ACTIVE); // and what it needs of itself
    });
}

TYPED_TEST(NamedProfile, AddNeedsARowAMaskAndAName) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        expect_add_needs<typename T::Row>(chassis, T::ADD, T::profile("gold"), T::NAME_COLUMN);
        EXPECT_EQ(T::DEL(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
    });
}

TYPED_TEST(NamedProfile, AnEmptyNameIsRefusedByTheTable) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(T::add(T::profile("")), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains(T::NAME_EMPTY));
        EXPECT_THAT(log, Contains(T::ADD_FAILED));
        EXPECT_EQ(rows_of<typename T::Row>(), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TYPED_TEST(NamedProfile, ANameCanBeAddedOnce) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(T::profile("gold", 5)), 0);
        log_of(chassis);
        chassis.forget_messages();
        EXPECT_EQ(T::add(T::profile("gold", 7)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre(with_id(T::EXISTS, hash_of("gold"), "gold")));
        EXPECT_EQ(T::value_of(T::stored("gold")), 5);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TYPED_TEST(NamedProfile, ANameUnderAnotherIdIsRefusedByAdd) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(T::manager_creates(42, T::profile("gold")));
        log_of(chassis);
        EXPECT_EQ(T::add(T::profile("gold")), T::ADD_OTHER_ID_CODE);
        EXPECT_THAT(log_of(chassis), ElementsAre(with_id(T::ADD_OTHER_ID, 42, "gold")));
        EXPECT_EQ(T::stored("gold"), nullptr);
    });
}

TYPED_TEST(NamedProfile, ANameUnderAnotherIdIsRefusedByTheTable) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(T::manager_creates(42, T::profile("gold")));
        for (const mib_ulong id : {41u, 43u}) { // on either side of the row that has the name
            log_of(chassis);
            EXPECT_FALSE(T::manager_creates(id, T::profile("gold")));
            EXPECT_THAT(log_of(chassis), Contains(with_id(T::OTHER_ID, 42, "gold")));
            EXPECT_EQ(T::stored(id), nullptr);
        }
    });
}

TYPED_TEST(NamedProfile, DelRemovesByName) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(T::profile("gold")), 0);
        ASSERT_EQ(T::add(T::profile("silver")), 0);
        chassis.forget_messages();
        EXPECT_EQ(T::del("gold"), 0);
        EXPECT_EQ(T::stored("gold"), nullptr);
        EXPECT_NE(T::stored("silver"), nullptr);
        expect_told<T>(chassis, OV_HAL_GPON_MSG_ACTION_DELETE, hash_of("gold"));
    });
}

TYPED_TEST(NamedProfile, DelOfAnUnknownNameIsRefused) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(T::profile("silver")), 0);
        log_of(chassis);
        EXPECT_EQ(T::del("gold"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre(with_id(T::UNKNOWN, 0, "gold")));
        EXPECT_NE(T::stored("silver"), nullptr);
    });
}

TYPED_TEST(NamedProfile, AManagerRemovesARow) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(T::manager_creates(42, T::profile("gold")));
        chassis.forget_messages();
        EXPECT_TRUE(T::manager_sets_status(42, OVRA_DESTROY));
        EXPECT_EQ(rows_of<typename T::Row>(), 0);
        expect_told<T>(chassis, OV_HAL_GPON_MSG_ACTION_DELETE, 42);
    });
}

TYPED_TEST(NamedProfile, IdsByName) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(T::add(T::profile("gold")), 0);
        ASSERT_TRUE(T::manager_creates(42, T::profile("silver")));
        mib_ulong id = 77;
        EXPECT_EQ(T::GET_ID("bronze", &id), 0);
        EXPECT_EQ(T::GET_ID("gol", &id), 0);
        EXPECT_EQ(T::GET_ID(nullptr, &id), 0);
        EXPECT_EQ(T::GET_ID("gold", nullptr), 0);
        EXPECT_EQ(id, 77u);
        EXPECT_EQ(T::GET_ID("gold", &id), 1);
        EXPECT_EQ(id, hash_of("gold"));
        EXPECT_EQ(T::GET_ID("silver", &id), 1);
        EXPECT_EQ(id, 42u);
        EXPECT_EQ(T::del("gold"), 0);
        EXPECT_EQ(T::GET_ID("gold", &id), 0);
        EXPECT_EQ(id, 42u);
    });
}

// ---- those with an edit -----------------------------------------------------------------------------------

template <typename Table>
class ProfileEdit : public testing::Test {};
using TablesWithEdit = testing::Types<BwProfiles, OnuTypeProfiles, QosProfiles>;
TYPED_TEST_SUITE(ProfileEdit, TablesWithEdit, NameOfDescription);

TYPED_TEST(ProfileEdit, DoesNothing) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(T::profile("gold", 5)), 0);
        chassis.forget_messages();
        auto row = T::profile("gold", 9);
        MIB_Flags_t columns = mibDefFlags;
        EXPECT_EQ(T::EDIT(&row, &columns), 0);
        EXPECT_EQ(T::value_of(T::stored("gold")), 5);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- those that cards know --------------------------------------------------------------------------------

template <typename Table>
class CardProfile : public testing::Test {};
using TablesOfCards = testing::Types<BwProfiles, OnuTypeProfiles, TrafficProfiles>;
TYPED_TEST_SUITE(CardProfile, TablesOfCards, NameOfDescription);

TYPED_TEST(CardProfile, EveryCardIsTold) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        FakeCard other(5);
        HalChassis::activate(5);
        ASSERT_EQ(T::add(T::profile("gold")), 0);
        EXPECT_EQ(other.wait_for(1).size(), 1u);
        expect_told<T>(chassis, OV_HAL_GPON_MSG_ACTION_CREATE, hash_of("gold"));
    });
}

TYPED_TEST(CardProfile, ACardWithoutSupportIsNoObstacle) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(T::MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(T::add(T::profile("gold")), 0);
        EXPECT_THAT(log_of(chassis), Not(Contains(HasSubstr("error"))));
        EXPECT_NE(T::stored("gold"), nullptr);
    });
}

TYPED_TEST(CardProfile, ACardsErrorRefusesTheRow) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(T::MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(T::add(T::profile("gold")), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains(T::CARD_FAILED));
        EXPECT_THAT(log, Contains(T::ADD_FAILED));
        EXPECT_EQ(rows_of<typename T::Row>(), 0);
        mib_ulong id = 0;
        EXPECT_EQ(T::GET_ID("gold", &id), 0);
    });
}

TYPED_TEST(CardProfile, AFailedRemovalLeavesTheRow) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(T::profile("gold")), 0);
        chassis.card_answers(T::MESSAGE, OV_GPON_RET_FAIL);
        EXPECT_EQ(T::del("gold"), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains(T::CARD_FAILED));
        EXPECT_THAT(log, Contains(T::DEL_FAILED));
        EXPECT_NE(T::stored("gold"), nullptr);
    });
}

TYPED_TEST(CardProfile, ASilentCardRefusesTheRow) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_falls_silent();
        EXPECT_EQ(T::add(T::profile("gold")), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains(T::CARD_FAILED));
        EXPECT_EQ(rows_of<typename T::Row>(), 0);
    });
}

TYPED_TEST(CardProfile, ARowThatWaitsGoesToTheCardWhenItIsActivated) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(T::manager_writes(9, T::profile("gold"), OVRA_CREATEANDWAIT));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        ASSERT_TRUE(T::manager_sets_status(9, OVRA_ACTIVE));
        expect_told<T>(chassis, OV_HAL_GPON_MSG_ACTION_CREATE, 9);
    });
}

TYPED_TEST(CardProfile, ThereIsRoomForSoManyAndNoMore) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        T::put_many(chassis, T::MOST - 1);
        EXPECT_EQ(T::add(T::profile("last")), 0);
        log_of(chassis);
        EXPECT_EQ(T::add(T::profile("more")), T::ADD_FULL_CODE);
        log_of(chassis);
        EXPECT_FALSE(T::manager_creates(7, T::profile("more")));
        if (T::FULL != nullptr) {
            EXPECT_THAT(log_of(chassis), Contains(T::FULL));
        }
        EXPECT_EQ(rows_of<typename T::Row>(), T::MOST);
        EXPECT_EQ(T::stored(7), nullptr);
    });
}

TYPED_TEST(CardProfile, AManagerMakesTheLastRow) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        T::put_many(chassis, T::MOST - 1);
        EXPECT_TRUE(T::manager_creates(7, T::profile("last")));
        EXPECT_NE(T::stored(7), nullptr);
    });
}

// The check looks at a row that stands in the table already.
TYPED_TEST(CardProfile, TheCheckOfARowTooManySaysWhatTheTableSays) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        T::put_many(chassis, T::MOST - 1);
        T::put(chassis, 7, "more");
        auto row = *T::stored(7);
        EXPECT_EQ(T::CHECK(&row, OV_HAL_GPON_MSG_ACTION_CREATE, mibDefFlags), 1);
        EXPECT_THAT(log_of(chassis), IsEmpty());
        T::put(chassis, 8, "still more");
        EXPECT_EQ(T::CHECK(&row, OV_HAL_GPON_MSG_ACTION_CREATE, mibDefFlags), 0);
        EXPECT_THAT(log_of(chassis), says(T::FULL));
    });
}

TYPED_TEST(CardProfile, AProfileInUseStays) {
    using T = TypeParam;
    ASSERT_GT(hash_of(IN_USE), mib_ulong{INT32_MAX});
    for (const ProfileUser& user : T::users())
        app_chassis::run([&](AppChassis& chassis) {
            ASSERT_EQ(T::add(T::profile(IN_USE)), 0);
            ASSERT_EQ(T::add(T::profile("free")), 0);
            user.put(chassis, IN_USE);
            chassis.forget_messages();
            auto row = T::key(hash_of(IN_USE));
            EXPECT_FALSE(mib_access(MIB_DEL, row)); // as a manager does it
            EXPECT_THAT(log_of(chassis), Contains(user.refusal));
            EXPECT_EQ(T::del(IN_USE), user.del_code) << user.refusal;
            if (user.del_code == OV_GPON_RET_BAD_PARAM) {
                EXPECT_THAT(log_of(chassis),
                            testing::IsSupersetOf({user.refusal, std::string(T::DEL_FAILED)}));
            }
            EXPECT_NE(T::stored(IN_USE), nullptr);
            EXPECT_THAT(chassis.messages(), IsEmpty());
            EXPECT_EQ(T::del("free"), 0);
        });
}

TYPED_TEST(CardProfile, TheDefaultStays) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::ADD_DEFAULT(), 0);
        ASSERT_NE(T::stored(T::DEFAULT), nullptr);
        chassis.forget_messages();
        log_of(chassis);
        auto row = *T::stored(T::DEFAULT);
        EXPECT_EQ(T::CHECK(&row, OV_HAL_GPON_MSG_ACTION_DELETE, mibDefFlags), 0);
        EXPECT_THAT(log_of(chassis), says(T::DEFAULT_STAYS));
        EXPECT_EQ(T::del(T::DEFAULT), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains(T::DEL_FAILED));
        EXPECT_NE(T::stored(T::DEFAULT), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TYPED_TEST(CardProfile, ASavedDefaultStaysAsItIsOnARestart) {
    using T = TypeParam;
    app_chassis::run([](AppChassis& chassis) {
        T::put(chassis, hash_of(T::DEFAULT), T::DEFAULT, 5);
        EXPECT_EQ(T::ADD_DEFAULT(), T::ADD_DEFAULT_AGAIN_CODE);
        EXPECT_EQ(T::value_of(T::stored(T::DEFAULT)), 5);
        EXPECT_EQ(rows_of<typename T::Row>(), 1);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

} // namespace
