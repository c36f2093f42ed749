// The shapes of a module, on a table that no chassis has: what a write sends and what its answer means, what
// a read asks, which rows follow.
#include "example_module.h"

#include <gmock/gmock.h>

#include "../../support/app_chassis.h"
#include "app_follow_rows.h"
#include "app_get_callback.h"
#include "app_set_callback.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_pon_role.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"

using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Row = ov_sExampleTable_attr_t;
using Record = ov_gpon_rmuni_attr_t;
using Change = RowChange<Row>;
using Callback = SetCallback<Row, Record>;
namespace column = sExampleTable_column;

constexpr int MESSAGE = OV_HAL_MSG_GPON_RM_UNI;
constexpr int SLOT = AppChassis::SLOT;
constexpr uint32_t LIMIT_BIT = 1u << OV_GPON_RMUNI_ATTR_INDEX_macLrnCount;
constexpr uint32_t ENABLE_BIT = 1u << OV_GPON_RMUNI_ATTR_INDEX_adminStatus;

void run(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&](AppChassis& chassis) {
        init_sExampleTable();
        ov_app_gpon_example_init();
        ASSERT_EQ(ov_pon_protect_group_pon_status_init(), KAVO_OK);
        LogCapture::clear();
        body(chassis);
    });
}

Row row_at(int slot = SLOT, int onu = 7) {
    Row row = onu_key<Row>(slot, 4, onu);
    row.exampleLimit = 9;
    row.exampleEnable = 1;
    return row;
}

// What a callback answers to a change of these columns.
int answer_to(const Callback& callback, Row& row, const MIB_Flags_t& columns,
              ov_hal_gpon_msg_action_t action = OV_HAL_GPON_MSG_ACTION_SET) {
    Change change{row, columns, action};
    return run_set_steps(callback, change);
}
constexpr MIB_Flags_t LIMIT = columns_of(column::exampleLimit);

ov_sOnuTable_attr_t put_onu(const AppChassis& chassis, int state = SONUTABLEONUSTATE_OPERATIONAL) {
    chassis.put_row<ov_sOnuTable_attr_t>([=](ov_sOnuTable_attr_t& onu) { onu.sOnuTableOnuState = state; },
                                         GPON_SHELF, SLOT, 4, 7);
    return onu_key<ov_sOnuTable_attr_t>(SLOT, 4, 7);
}

// Runs the callback on the owner's table as the access to it would.
int owner_changes(const ov_sOnuTable_attr_t& key, int status) {
    ov_sOnuTable_attr_t onu = key;
    onu.sOnuTableRowStatus = status;
    onu.old_sOnuTableRowStatus = status == OVRA_CREATEANDGO ? 0 : OVRA_ACTIVE;
    return ov_example_onutable_set_callback(did_of<ov_sOnuTable_attr_t>(), &onu,
                                            columns_of(sOnuTable_column::sOnuTableRowStatus));
}

constexpr Callback PLAIN = {.message = MESSAGE, .map = &example_map, .failure = "set example error"};

// ---- a write ---------------------------------------------------------------------------------------------

TEST(SetShape, SendsTheRecordWithItsBitsAndTheActionsWord) {
    run([](AppChassis& chassis) {
        Row row = row_at();
        for (const auto action :
             {OV_HAL_GPON_MSG_ACTION_CREATE, OV_HAL_GPON_MSG_ACTION_SET, OV_HAL_GPON_MSG_ACTION_DELETE})
            EXPECT_EQ(answer_to(PLAIN, row, LIMIT, action), SET_ACCEPTED);
        const auto seen = chassis.messages(3);
        ASSERT_THAT(seen, SizeIs(3));
        for (const CardMessage& message : seen) {
            EXPECT_EQ(message.type, MESSAGE);
            EXPECT_EQ(message.mask, LIMIT_BIT);
            EXPECT_TRUE(message.wants_reply);
            EXPECT_EQ(message.record<Record>().macLrnCount, 9u);
            EXPECT_EQ(message.record<Record>().onuIfindex, onu_ifindex_of(row));
        }
        EXPECT_EQ(seen[0].action, 1);
        EXPECT_EQ(seen[1].action, 3);
        EXPECT_EQ(seen[2].action, 2);
    });
}

namespace rules {
using Record = ov_gpon_qinq_attr_t;
constexpr MapLine LINES[] = {WIRE_ONLY(ifindex, onu_ifindex_of<Row>), UNMASKED(exampleLimit, qinqId)};
constexpr MessageMap<Row, Record> map(LINES);
} // namespace rules

TEST(SetShape, ChoosesItsMessageByTheRow) {
    run([](AppChassis& chassis) {
        static constexpr SetCallback<Row, ov_gpon_qinq_attr_t> CALLBACK = {
            .message_of =
                [](const Change& change) {
                    return int{change.row.onuId == 0 ? OV_HAL_MSG_GPON_PORT_QINQ : OV_HAL_MSG_GPON_ONU_QINQ};
                },
            .map = &rules::map,
        };
        for (const int onu : {0, 7}) {
            Row row = row_at(SLOT, onu);
            Change change{row, LIMIT, OV_HAL_GPON_MSG_ACTION_SET};
            EXPECT_EQ(run_set_steps(CALLBACK, change), SET_ACCEPTED);
        }
        const auto seen = chassis.messages(2);
        ASSERT_THAT(seen, SizeIs(2));
        EXPECT_EQ(seen[0].type, OV_HAL_MSG_GPON_PORT_QINQ);
        EXPECT_EQ(seen[1].type, OV_HAL_MSG_GPON_ONU_QINQ);
    });
}

TEST(SetShape, WaitsByTheAction) {
    run([](AppChassis& chassis) {
        Callback callback = PLAIN;
        callback.waits = [](const Change& change) { return !change.creates(); };
        Row row = row_at();
        chassis.card_answers(MESSAGE, 1003);
        EXPECT_EQ(answer_to(callback, row, LIMIT, OV_HAL_GPON_MSG_ACTION_CREATE), SET_ACCEPTED);
        EXPECT_EQ(answer_to(callback, row, LIMIT), SET_REFUSED);
        const auto seen = chassis.messages(2);
        ASSERT_THAT(seen, SizeIs(2));
        EXPECT_FALSE(seen[0].wants_reply);
        EXPECT_TRUE(seen[1].wants_reply);
    });
}

TEST(SetShape, CarriesTheActionWordsOfItsMessage) {
    run([](AppChassis& chassis) {
        Callback callback = PLAIN;
        callback.words = {.create = 3, .remove = 3, .set = 2};
        Row row = row_at();
        for (const auto action :
             {OV_HAL_GPON_MSG_ACTION_CREATE, OV_HAL_GPON_MSG_ACTION_SET, OV_HAL_GPON_MSG_ACTION_DELETE})
            answer_to(callback, row, LIMIT, action);
        const auto seen = chassis.messages(3);
        ASSERT_THAT(seen, SizeIs(3));
        EXPECT_EQ(seen[0].action, 3);
        EXPECT_EQ(seen[1].action, 2);
        EXPECT_EQ(seen[2].action, 3);
    });
}

TEST(SetShape, NarrowsTheColumnsForTheCardAndForWhatFollows) {
    run([](AppChassis& chassis) {
        static bool limit_follows = true;
        static bool enable_follows = false;
        Callback callback = PLAIN;
        callback.narrow = [](const Change& change) {
            return columns_in(change.columns, columns_of(column::exampleEnable));
        };
        callback.follow = [](Change& change) {
            limit_follows = change.has(column::exampleLimit);
            enable_follows = change.has(column::exampleEnable);
            return SET_ACCEPTED;
        };
        Row row = row_at();
        EXPECT_EQ(answer_to(callback, row, columns_of(column::exampleLimit, column::exampleEnable)),
                  SET_ACCEPTED);
        const auto seen = chassis.messages(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].mask, ENABLE_BIT);
        EXPECT_FALSE(limit_follows);
        EXPECT_TRUE(enable_follows);
    });
}

TEST(SetShape, WithAnEmptyMaskSendsNothingAndGoesOn) {
    run([](AppChassis& chassis) {
        Callback callback = PLAIN;
        callback.follow = [](Change& /*change*/) { return 42; };
        Row row = row_at();
        EXPECT_EQ(answer_to(callback, row, {}), 42); // sent all the same
        callback.skips_empty_mask = true;
        EXPECT_EQ(answer_to(callback, row, {}), 42);
        const auto seen = chassis.messages(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].mask, 0u);
    });
}

// By way of the table, where the row goes back to whoever asked.
int set_pending(const Callback& callback, Row& row) {
    row.exampleRowStatus = OVRA_ACTIVE;
    row.old_exampleRowStatus = OVRA_ACTIVE;
    return run_set_callback(callback, did_of<Row>(), &row, LIMIT);
}

TEST(SetShape, GivesARefusedRowBackAsItCameUnlessItKeepsIt) {
    run([](AppChassis& chassis) {
        Callback callback = PLAIN;
        callback.prepare = [](Row& row) { row.exampleEnable = 0; };
        callback.give_back = [](Change& change) { change.row.exampleLimit = 0; };
        chassis.card_answers(MESSAGE, 1003);
        Row row = row_at();
        EXPECT_EQ(set_pending(callback, row), SET_REFUSED);
        EXPECT_EQ(row.exampleLimit, 9);
        EXPECT_EQ(row.exampleEnable, 1);
        callback.keeps_on_refusal = true;
        EXPECT_EQ(set_pending(callback, row), SET_REFUSED);
        EXPECT_EQ(row.exampleLimit, 0);
        EXPECT_EQ(row.exampleEnable, 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set example error").Times(2));
    });
}

TEST(SetShape, MakesOfNotSupportedWhatTheTableSays) {
    run([](AppChassis& chassis) {
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        Callback callback = PLAIN;
        callback.follow = [](Change& /*change*/) { return 42; };
        Row row = row_at();
        EXPECT_EQ(answer_to(callback, row, LIMIT), SET_ACCEPTED);
        callback.not_supported = NotSupported::FOLLOW;
        EXPECT_EQ(answer_to(callback, row, LIMIT), 42);
        callback.not_supported = NotSupported::REFUSE;
        EXPECT_EQ(answer_to(callback, row, LIMIT), SET_REFUSED);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support").Times(2));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set example error").Times(1));
    });
}

TEST(SetShape, TellsTheModuleThatTheCardHasDoneItAndOnlyThen) {
    run([](AppChassis& chassis) {
        Callback callback = PLAIN;
        callback.not_supported = NotSupported::FOLLOW;
        callback.taken = [](Change& change) { change.row.exampleLimit = 1; };
        callback.follow = [](Change& change) { return 40 + change.row.exampleLimit; };
        for (const auto& [code, limit] : {std::pair{0u, 1}, std::pair{1008u, 9}, std::pair{1003u, 9}}) {
            chassis.card_answers(MESSAGE, code);
            Row row = row_at();
            EXPECT_EQ(answer_to(callback, row, LIMIT), code == 1003 ? SET_REFUSED : 40 + limit);
            EXPECT_EQ(row.exampleLimit, limit) << code;
        }
    });
}

TEST(SetShape, KeepsNothingOfARefusalInAStoredRow) {
    run([](AppChassis& chassis) {
        owner_changes(put_onu(chassis), OVRA_CREATEANDGO);
        Callback callback = PLAIN;
        callback.keeps_on_refusal = true;
        callback.give_back = [](Change& change) { change.row.exampleLimit = 5; };
        chassis.card_answers(MESSAGE, 1003);
        auto* stored = const_cast<Row*>(find_row(row_at()));
        ASSERT_NE(stored, nullptr);
        stored->exampleLimit = 9;
        EXPECT_EQ(run_set_callback(callback, did_of<Row>(), stored, LIMIT), SET_REFUSED);
        EXPECT_EQ(stored->exampleLimit, 9);
    });
}

TEST(SetShape, KnowsWhichColumnsKeepTheirValue) {
    static constexpr ShadowedColumn<Row> WATCHED[] = {
        {column::exampleLimit, &Row::exampleLimit, &Row::old_exampleLimit}};
    Row row = {};
    row.exampleLimit = 9;
    row.exampleEnable = 1;
    row.old_exampleEnable = 1;
    const MIB_Flags_t both = columns_of(column::exampleLimit, column::exampleEnable);
    const auto changed = [&] {
        return columns_that_change<Row>(Change{row, both, OV_HAL_GPON_MSG_ACTION_SET}, WATCHED);
    };
    EXPECT_TRUE(mib_flag_is_set(changed(), column::exampleLimit));
    row.old_exampleLimit = 9;
    EXPECT_FALSE(mib_flag_is_set(changed(), column::exampleLimit));
    EXPECT_TRUE(mib_flag_is_set(changed(), column::exampleEnable)); // nobody watches it
}

TEST(SetShape, SendsEditsAlone) {
    run([](AppChassis& chassis) {
        Callback callback = PLAIN;
        callback.sent = SentChanges::EDITS;
        callback.reserve = [](Change& change) {
            EXPECT_TRUE(change.sets());
            return true;
        };
        Row row = row_at();
        Row of_profile = row_at(GPON_TEMPLATE_SLOT);
        EXPECT_EQ(answer_to(callback, row, LIMIT, OV_HAL_GPON_MSG_ACTION_CREATE), SET_ACCEPTED);
        EXPECT_EQ(answer_to(callback, row, LIMIT, OV_HAL_GPON_MSG_ACTION_DELETE), SET_ACCEPTED);
        EXPECT_EQ(answer_to(callback, row, LIMIT), SET_ACCEPTED);
        callback.sent = SentChanges::EDITS_OF_ONUS;
        EXPECT_EQ(answer_to(callback, of_profile, LIMIT), SET_ACCEPTED);
        EXPECT_THAT(chassis.messages(1), SizeIs(1));
    });
}

TEST(SetShape, SendsRowsOfOnusAlone) {
    run([](AppChassis& chassis) {
        Callback callback = PLAIN;
        callback.sent = SentChanges::OF_ONUS;
        Row row = row_at();
        Row of_profile = row_at(GPON_TEMPLATE_SLOT);
        for (const auto action :
             {OV_HAL_GPON_MSG_ACTION_CREATE, OV_HAL_GPON_MSG_ACTION_SET, OV_HAL_GPON_MSG_ACTION_DELETE}) {
            EXPECT_EQ(answer_to(callback, row, LIMIT, action), SET_ACCEPTED);
            EXPECT_EQ(answer_to(callback, of_profile, LIMIT, action), SET_ACCEPTED);
        }
        EXPECT_THAT(chassis.messages(3), SizeIs(3));
    });
}

TEST(SetShape, ChecksAndReservesBeforeItSendsAndGivesBackWhatTheCardRefused) {
    run([](AppChassis& chassis) {
        static std::string steps;
        Callback callback = PLAIN;
        callback.check = [](Change& change) {
            steps += "check ";
            return change.row.exampleLimit != 1;
        };
        callback.reserve = [](Change& change) {
            steps += "reserve ";
            return change.row.exampleLimit != 2;
        };
        callback.give_back = [](Change& /*change*/) { steps += "give_back "; };
        const auto steps_of = [&](int limit) {
            steps.clear();
            Row row = row_at();
            row.exampleLimit = limit;
            answer_to(callback, row, LIMIT);
            return steps;
        };
        EXPECT_EQ(steps_of(1), "check ");
        EXPECT_EQ(steps_of(2), "check reserve ");
        EXPECT_EQ(steps_of(3), "check reserve ");
        chassis.card_answers(MESSAGE, 1003);
        EXPECT_EQ(steps_of(3), "check reserve give_back ");
        EXPECT_THAT(chassis.messages(2), SizeIs(2));
    });
}

// ---- the example module -----------------------------------------------------------------------------------

TEST(ExampleModule, ItsRowComesAndGoesWithTheOnu) {
    run([](AppChassis& chassis) {
        const auto onu = put_onu(chassis);
        const Row key = onu_key<Row>(onu);
        EXPECT_EQ(owner_changes(onu, OVRA_CREATEANDGO), SET_ACCEPTED);
        ASSERT_NE(find_row(key), nullptr);
        EXPECT_EQ(owner_changes(onu, OVRA_CREATEANDGO), SET_ACCEPTED); // there already
        EXPECT_EQ(owner_changes(onu, OVRA_DESTROY), SET_ACCEPTED);
        EXPECT_EQ(find_stored_row(key), nullptr);
        EXPECT_EQ(owner_changes(onu, OVRA_DESTROY), SET_ACCEPTED);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(ExampleModule, AWriteReachesTheCardAndIsKept) {
    run([](AppChassis& chassis) {
        owner_changes(put_onu(chassis), OVRA_CREATEANDGO);
        Row row = row_at();
        EXPECT_TRUE(mib_access(MIB_SET, row, LIMIT));
        ASSERT_THAT(chassis.messages(1), SizeIs(1));
        EXPECT_EQ(chassis.messages(1)[0].mask, LIMIT_BIT);
        EXPECT_EQ(find_row(row)->exampleLimit, 9);
        EXPECT_EQ(static_cast<uint32_t>(example_map.replay_mask(find_row(row))), LIMIT_BIT);
    });
}

TEST(ExampleModule, AWriteThatTheCardRefusesIsNot) {
    run([](AppChassis& chassis) {
        owner_changes(put_onu(chassis), OVRA_CREATEANDGO);
        chassis.card_answers(MESSAGE, 1003);
        Row row = row_at();
        EXPECT_FALSE(mib_access(MIB_SET, row, LIMIT));
        EXPECT_EQ(find_row(row)->exampleLimit, 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set example to hal error"));
    });
}

TEST(ExampleModule, RowsOfAProtectingPortAreNobodysToWrite) {
    run([](AppChassis& chassis) {
        owner_changes(put_onu(chassis), OVRA_CREATEANDGO);
        Row row = row_at();
        EXPECT_EQ(ov_example_table_set_check_callback(did_of<Row>(), &row, LIMIT), SET_ACCEPTED);
        ov_pon_protect_group_pon_status_set(SLOT, 4, OV_PON_PROTECT_PON_STATUS_PROTECTING);
        ov_startup_gpon_config_sync_end_set(SLOT, 1);
        EXPECT_EQ(ov_example_table_set_check_callback(did_of<Row>(), &row, LIMIT), SET_REFUSED);
        EXPECT_FALSE(mib_access(MIB_SET, row, LIMIT));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("example: protecting port").Times(2));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- a read -----------------------------------------------------------------------------------------------

// The row after a read of its link column; the stored link is 7.
uint32_t read_link(bool succeeds = true) {
    Row row = row_at();
    EXPECT_EQ(mib_access(MIB_GET, row, columns_of(column::exampleLink)), succeeds);
    return row.exampleLink;
}

TEST(GetShape, AsksTheCardForWhatLivesThere) {
    run([](AppChassis& chassis) {
        owner_changes(put_onu(chassis), OVRA_CREATEANDGO);
        Record record = {};
        record.linkstauts = 2;
        record.macLrnCount = 200;
        chassis.card_reads(MESSAGE, record);
        Row row = row_at();
        EXPECT_TRUE(mib_access(MIB_GET, row, LIMIT)); // stored alone
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(read_link(), 2u);
        const auto seen = chassis.messages(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(seen[0].record<Record>().onuIfindex, onu_ifindex_of(row));
        EXPECT_EQ(seen[0].record<Record>().macLrnCount, 0u);
        EXPECT_EQ(find_row(row)->exampleLimit, 0); // it wasn't asked for
    });
}

TEST(GetShape, LeavesTheRowOfAnObjectThatDoesNotAnswer) {
    run([](AppChassis& chassis) {
        owner_changes(put_onu(chassis, SONUTABLEONUSTATE_ADDED), OVRA_CREATEANDGO);
        EXPECT_EQ(read_link(), 7u);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(GetShape, WarnsOfWhatTheCardDoesNotHaveAndFailsForTheRest) {
    run([](AppChassis& chassis) {
        owner_changes(put_onu(chassis), OVRA_CREATEANDGO);
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(read_link(), 7u);
        chassis.card_answers(MESSAGE, 1003);
        read_link(false);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get which not support"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get example from low level error"));
    });
}

TEST(GetShape, MayReadZeroAndTakeTheWholeAnswer) {
    run([](AppChassis& chassis) {
        GetCallback<Row, Record> callback = {
            .message = MESSAGE,
            .map = &example_map,
            .columns = columns_of(column::exampleLink),
            .asked = [](const Row& row) { return row.onuId == 7 ? Asked::YES : Asked::ZERO; },
            .address = [](const Row& row, Record& record) { record.onuIfindex = onu_ifindex_of(row); },
            .masked_by_columns = false,
            .mask = 5,
            .failure = "no",
        };
        Record record = {};
        record.linkstauts = 2;
        record.macLrnCount = 200;
        chassis.card_reads(MESSAGE, record);
        Row row = row_at(SLOT, 8);
        row.exampleLink = 9;
        EXPECT_EQ(run_get_callback(callback, &row, mibDefFlags), SET_ACCEPTED);
        EXPECT_EQ(row.exampleLink, 0u);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        row = row_at();
        callback.taken = Taken::WHOLE;
        EXPECT_EQ(run_get_callback(callback, &row, mibDefFlags), SET_ACCEPTED);
        EXPECT_EQ(row.exampleLimit, 200);
        EXPECT_EQ(chassis.messages(1)[0].mask, 5u);
        callback.not_supported = NotSupported::REFUSE;
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(run_get_callback(callback, &row, mibDefFlags), SET_REFUSED);
    });
}

// ---- rows that follow a switch, and rows of which there are several ---------------------------------------

constexpr FollowSwitch<Row> BY_ENABLE = {
    .column = column::exampleEnable, .value = &Row::exampleEnable, .before = &Row::old_exampleEnable};

TEST(FollowShape, BySwitchAddsAndRemovesAtRealChanges) {
    const auto mode = [](int row_mode, mib_long now, mib_long before, bool named = true) {
        Row owner = {};
        owner.exampleEnable = now;
        owner.old_exampleEnable = before;
        return followed_mode(&BY_ENABLE, owner, row_mode,
                             named ? columns_of(column::exampleEnable) : MIB_Flags_t{});
    };
    EXPECT_EQ(mode(MODE_CRE, 1, 0), 1);
    EXPECT_EQ(mode(MODE_CRE, 0, 0), -1);
    EXPECT_EQ(mode(MODE_CHG, 1, 0), 1);
    EXPECT_EQ(mode(MODE_CHG, 0, 1), 0);
    EXPECT_EQ(mode(MODE_CHG, 2, 1), 0); // anything but "on"
    EXPECT_EQ(mode(MODE_CHG, 1, 1), -1);
    EXPECT_EQ(mode(MODE_CHG, 1, 0, false), -1);
    EXPECT_EQ(mode(MODE_DEL, 1, 1), 0);
    EXPECT_EQ(mode(MODE_DEL, 0, 1), -1);
    EXPECT_EQ(mode(MODE_IDLE, 1, 0), -1);
}

TEST(FollowShape, SeveralRowsStopAtTheFirstThatFails) {
    run([](AppChassis& chassis) {
        static constexpr FollowRows<ov_sOnuTable_attr_t, Row> several = {
            .each =
                [](const ov_sOnuTable_attr_t& onu, bool (*visit)(const Row&, void*), void* with) {
                    Row row = onu_key<Row>(onu);
                    for (row.exampleId = 1; row.exampleId <= 3; ++row.exampleId)
                        if (!visit(row, with))
                            return false;
                    return true;
                },
            .looks_first = false,
            .appid = &gpon_example_appid,
            .add_error = "can't add a row",
        };
        const auto onu = put_onu(chassis);
        Row second = onu_key<Row>(onu);
        second.exampleId = 2;
        EXPECT_TRUE(mib_access(MIB_CREATEGO_S_N, second));
        EXPECT_FALSE(follow_all(several, onu, true)); // the second is there
        size_t rows = 0;
        for (const Row& row : rows_under(onu_key<Row>(onu), INDEX_TO_ONU))
            rows += row.exampleId <= 2 ? 1 : 10;
        EXPECT_EQ(rows, 2u);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't add a row"));
    });
}

TEST(OwnedShape, RowsGoWithTheirOwnerOrStopIt) {
    run([](AppChassis& chassis) {
        const auto onu = put_onu(chassis);
        for (const mib_ulong id : {1, 2}) {
            Row row = onu_key<Row>(onu);
            row.exampleId = id;
            ASSERT_TRUE(mib_access(MIB_CREATEGO_S_N, row));
        }
        OwnedRows<Row> owned = {
            .remove = MIB_OPERATION(0), // none: each fails
            .appid = &gpon_example_appid,
            .failed = [](const Row& row) { OV_LOG_ERROR("MMG", "row %u stays", unsigned(row.exampleId)); },
        };
        EXPECT_TRUE(remove_owned_rows(owned, onu));
        owned.stops = true;
        EXPECT_FALSE(remove_owned_rows(owned, onu));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("row 2 stays").Times(1));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("row 1 stays").Times(2));
        owned.remove = MIB_DEL_N;
        EXPECT_TRUE(remove_owned_rows(owned, onu));
        EXPECT_THAT(rows_copied(onu_key<Row>(onu), INDEX_TO_ONU), IsEmpty());
    });
}

} // namespace
