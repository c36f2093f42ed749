// VLANs of UNIs: what a write sends, what each mode uses, what stays of a change that failed.
#include "ov_app_gpon_rmunivlan.h"

#include "../../support/test_clock.h"
#include "../support/remote_chassis.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Row = ov_sRmUniVlanTable_attr_t;
using Record = ov_gpon_rmuni_vlan_attr_t;
namespace column = sRmUniVlanTable_column;

constexpr int MESSAGE = 916;
const Row UNI = uni<Row>(ETH, 1);
const Row TEMPLATE = template_uni<Row>(ETH, 1);

constexpr unsigned MODE = column::sRmUniVlanTableVlanMode;
constexpr unsigned PVID = column::sRmUniVlanTablePvid;
constexpr unsigned IDS = column::sRmUniVlanTableVlanIdList;
constexpr unsigned TRANSLATED = column::sRmUniVlanTableTranslateVlanIdList;
constexpr unsigned PRIORITY = column::sRmUniVlanTablePriority;

struct Vlan {
    mib_long mode = 1;
    mib_long pvid = 0;
    mib_long priority = 0;
    std::vector<int> ids = {};
    std::vector<int> translated = {};
    bool operator==(const Vlan&) const = default;
};
void PrintTo(const Vlan& vlan, std::ostream* out) {
    *out << "mode " << vlan.mode << " pvid " << vlan.pvid << " priority " << vlan.priority << " ids "
         << testing::PrintToString(vlan.ids) << " to " << testing::PrintToString(vlan.translated);
}
Row with(Row row, const Vlan& vlan) {
    row.sRmUniVlanTableVlanMode = vlan.mode;
    row.sRmUniVlanTablePvid = vlan.pvid;
    row.sRmUniVlanTablePriority = vlan.priority;
    put_list(row.sRmUniVlanTableVlanIdList, vlan.ids);
    put_list(row.sRmUniVlanTableTranslateVlanIdList, vlan.translated);
    return row;
}
std::vector<int> ids_of(const uint8_t* list) {
    std::vector<int> ids;
    for (size_t n = 0; n < 16; ++n)
        if (const int id = list[2 * n] << 8 | list[2 * n + 1])
            ids.push_back(id);
    return ids;
}
Vlan vlan_of(const Row& row) {
    return {row.sRmUniVlanTableVlanMode, row.sRmUniVlanTablePvid, row.sRmUniVlanTablePriority,
            ids_of(row.sRmUniVlanTableVlanIdList), ids_of(row.sRmUniVlanTableTranslateVlanIdList)};
}
Vlan stored(const Row& key = UNI) {
    return vlan_of(*find_row(key));
}
// Past all callbacks.
void put(const Vlan& vlan, const Row& key = UNI) {
    Row row = with(key, vlan);
    ASSERT_TRUE(mib_access(MIB_SET_S_N, row, columns_of(MODE, PVID, IDS, TRANSLATED, PRIORITY)));
}

int edit(Row row, MIB_Flags_t columns) {
    return ov_app_gpon_rmunivlan_edit(&row, &columns);
}

// A row in which everything is used.
const Vlan FULL = {0, 100, 5, {10, 20}, {30, 40}};
Vlan full(mib_long mode) {
    Vlan vlan = FULL;
    vlan.mode = mode;
    return vlan;
}
// What each mode leaves of it.
const Vlan LEFT[] = {
    {1, 0, 0, {}, {}},         {2, 100, 5, {}, {}}, {3, 0, 0, {10, 20}, {}},
    {4, 100, 5, {10, 20}, {}}, {5, 0, 0, {}, {}},   {6, 0, 0, {10, 20}, {30, 40}},
};

// ---- writes -----------------------------------------------------------------------------------------------

TEST(UniVlan, AWriteReachesTheCardInFieldsAndBits) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(edit(with(UNI, full(6)), columns_of(MODE, PVID, IDS, TRANSLATED, PRIORITY)), 0);
        ASSERT_THAT(chassis.messages(), SizeIs(1));
        const CardMessage message = chassis.messages()[0];
        EXPECT_EQ(message.type, MESSAGE);
        EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_TRUE(message.wants_reply);
        EXPECT_EQ(message.mask, 1u << 2 | 1u << 3 | 1u << 4 | 1u << 5 | 1u << 6);
        const auto record = message.record<Record>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(UNI));
        EXPECT_EQ(record.uniPos.cardId, 1);
        EXPECT_EQ(record.uniPos.uniType, ETH);
        EXPECT_EQ(record.uniPos.uniId, 1);
        EXPECT_EQ(record.vlanMode, 6);
        EXPECT_EQ(record.pvid, 100);
        EXPECT_EQ(record.priority, 5);
        EXPECT_EQ(record.vlanList.numVlanGrp, 2);
        EXPECT_EQ(record.vlanList.vlanGrp[0].startVlan, 10);
        EXPECT_EQ(record.vlanList.vlanGrp[0].endVlan, 10);
        EXPECT_EQ(record.vlanList.vlanGrp[1].startVlan, 20);
        EXPECT_EQ(record.vlanList.vlanGrp[2].startVlan, 0);
        EXPECT_EQ(record.xlateList.numVlanGrp, 2);
        EXPECT_EQ(record.xlateList.vlanGrp[1].endVlan, 40);
    });
}

TEST(UniVlan, EachColumnHasItsBit) {
    run([](AppChassis& chassis) {
        const std::pair<unsigned, unsigned> bits[] = {
            {MODE, 3}, {PVID, 2}, {IDS, 4}, {TRANSLATED, 5}, {PRIORITY, 6}};
        for (const auto& [number, bit] : bits) {
            chassis.forget_messages();
            ASSERT_EQ(edit(with(UNI, full(2)), columns_of(number)), 0);
            EXPECT_EQ(chassis.messages().at(0).mask, 1u << bit) << number;
        }
        chassis.forget_messages();
        ASSERT_EQ(edit(*find_row(UNI), mibDefFlags), 0);
        EXPECT_EQ(chassis.messages().at(0).mask, 0xfcu); // with the marker of the row status
    });
}

TEST(UniVlan, AListIsTwelveIdsOfWhichZerosAreNone) {
    run([](AppChassis& chassis) {
        Row row = UNI;
        // 4095, one twice, holes, and ids behind the twelfth
        put_list(row.sRmUniVlanTableVlanIdList, {4095, 0, 7, 7, 0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12});
        ASSERT_EQ(edit(row, columns_of(IDS)), 0);
        const auto record = chassis.messages().at(0).record<Record>();
        ASSERT_EQ(record.vlanList.numVlanGrp, 10);
        std::vector<int> sent;
        for (const auto& range : record.vlanList.vlanGrp)
            sent.push_back(range.startVlan);
        EXPECT_THAT(sent, ElementsAre(4095, 7, 7, 1, 2, 3, 4, 5, 6, 8, 0, 0));
        EXPECT_EQ(list_in(find_row(UNI)->sRmUniVlanTableVlanIdList),
                  list_in(row.sRmUniVlanTableVlanIdList)); // stored as it came
    });
}

TEST(UniVlan, AWriteWithoutSettingsSendsNothing) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(edit(UNI, {}), 0);
        EXPECT_EQ(edit(*find_row(UNI), columns_of(column::sRmUniVlanTableRowStatus)), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(UniVlan, RowsThatAreMadeOrRemovedAreTheTablesOwn) {
    run([](AppChassis& chassis) {
        Row row = with(uni<Row>(ETH, 9), full(4));
        MIB_Flags_t columns = columns_of(MODE, PVID);
        EXPECT_EQ(ov_app_gpon_rmunivlan_add(&row, &columns), 0);
        EXPECT_TRUE(mib_flag_is_set(columns, column::sRmUniVlanTableRowStatus));
        ASSERT_NE(find_row(row), nullptr);
        EXPECT_EQ(stored(row), (Vlan{4, 100, 0, {}, {}}));
        EXPECT_EQ(find_row(row)->sRmUniVlanTableRowStatus, OVRA_ACTIVE);
        EXPECT_EQ(ov_app_gpon_rmunivlan_add(&row, &columns), OV_GPON_RET_BAD_PARAM); // there already
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib add error for rm_uni_vlan table"));
        EXPECT_EQ(ov_app_gpon_rmunivlan_del(&row), 0);
        EXPECT_EQ(find_stored_row(row), nullptr);
        EXPECT_EQ(ov_app_gpon_rmunivlan_del(&row), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib del error for rm_uni_vlan table"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(UniVlan, DoorsNeedARowAndItsColumns) {
    run([](AppChassis& chassis) {
        Row row = UNI;
        MIB_Flags_t columns = columns_of(MODE);
        EXPECT_EQ(ov_app_gpon_rmunivlan_add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmunivlan_add(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmunivlan_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmunivlan_edit(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmunivlan_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(5));
    });
}

// ---- modes ------------------------------------------------------------------------------------------------

TEST(UniVlan, AModeKeepsWhatItUses) {
    for (const Vlan& left : LEFT) {
        Row row = with(UNI, full(left.mode));
        ov_univlan_table_vlanmode_change_clear(&row);
        EXPECT_EQ(vlan_of(row), left);
    }
    for (const mib_long unknown : {0, 7}) {
        Row row = with(UNI, full(unknown));
        ov_univlan_table_vlanmode_change_clear(&row);
        EXPECT_EQ(vlan_of(row), full(unknown));
    }
}

TEST(UniVlan, ANewModeClearsTheRowWhenTheCardHasTakenIt) {
    run([](AppChassis& chassis) {
        for (const Vlan& left : LEFT) {
            put(full(2));
            chassis.forget_messages();
            ASSERT_EQ(edit(with(UNI, full(left.mode)), columns_of(MODE)), 0);
            EXPECT_EQ(stored(), left);
            EXPECT_EQ(chassis.messages().at(0).record<Record>().pvid, 100); // told as it was
        }
    });
}

TEST(UniVlan, OtherSettingsClearNothing) {
    run([](AppChassis& /*chassis*/) {
        put(full(1));
        Row row = UNI;
        row.sRmUniVlanTablePvid = 7;
        ASSERT_EQ(edit(row, columns_of(PVID)), 0);
        EXPECT_EQ(stored(), (Vlan{1, 7, 5, {10, 20}, {30, 40}}));
    });
}

TEST(UniVlan, ACardThatDoesNotKnowItLeavesTheRowAsItWasWritten) {
    run([](AppChassis& chassis) {
        put(full(2));
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(edit(with(UNI, full(1)), columns_of(MODE)), 0);
        EXPECT_EQ(stored(), full(1));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
    });
}

TEST(UniVlan, ARefusedChangeLeavesTheCallersRowEmptyAndTheTableAsItWas) {
    run([](AppChassis& chassis) {
        chassis.card_answers(MESSAGE, 1009);
        for (const mib_long mode : {1, 2, 3, 4, 5, 6}) {
            put(full(2));
            const auto before = all_of<Row>();
            Row row = with(UNI, full(mode));
            MIB_Flags_t columns = columns_of(MODE);
            EXPECT_EQ(ov_app_gpon_rmunivlan_edit(&row, &columns), OV_GPON_RET_BAD_PARAM);
            EXPECT_EQ(vlan_of(row), (mode == 1 ? full(1) : Vlan{.mode = mode})) << mode;
            EXPECT_EQ(all_of<Row>(), before) << mode;
        }
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm univlan to hal error").Times(6));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rm_uni_vlan table").Times(6));
    });
}

// A manager's request works on the stored row, and its undo knows the columns that it named.
TEST(UniVlan, ARefusedChangeOfTheStoredRowLosesNothing) {
    run([](AppChassis& chassis) {
        put(full(4));
        chassis.card_answers(MESSAGE, 1009);
        auto* row = const_cast<Row*>(find_row(UNI));
        EXPECT_EQ(ov_univlan_table_set_callback(did_of<Row>(), row, columns_of(PVID)), 0);
        EXPECT_EQ(stored(), full(4));
    });
}

TEST(UniVlan, AChangeThatTheCardDoesNotAnswerIsRefused) {
    run([](AppChassis& chassis) {
        put(full(4));
        chassis.card_falls_silent();
        EXPECT_EQ(edit(with(UNI, full(2)), columns_of(MODE)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(stored(), full(4));
    });
}

// ---- owners -----------------------------------------------------------------------------------------------

TEST(UniVlan, RowsOfAnOnuThatIsNotThereAreNobodys) {
    run([](AppChassis& chassis) {
        Row row = uni<Row>(ETH, 1, 1, 99);
        MIB_Flags_t columns = columns_of(MODE);
        EXPECT_EQ(ov_app_gpon_rmunivlan_add(&row, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 99 is not exist"));
        EXPECT_EQ(find_stored_row(row), nullptr);
    });
}

TEST(UniVlan, OfATemplatesOnuCannotBeChangedButMadeAndRemoved) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        ASSERT_EQ(new_onu(8, "ABCD00000008").templet(PROFILE).add(), 0);
        const Row key = uni<Row>(ETH, 1, 1, 8);
        const auto before = all_of<Row>();
        chassis.forget_messages();
        EXPECT_EQ(edit(with(key, full(2)), columns_of(MODE)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 8 is configured by templet"));
        EXPECT_EQ(all_of<Row>(), before);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        Row row = key;
        EXPECT_EQ(ov_app_gpon_rmunivlan_del(&row), 0);
        MIB_Flags_t columns = columns_of(MODE);
        EXPECT_EQ(ov_app_gpon_rmunivlan_add(&row, &columns), 0);
    });
}

TEST(UniVlan, OfABoundProfileCannotBeWritten) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        bind_profile(3);
        EXPECT_EQ(edit(with(TEMPLATE, full(2)), columns_of(MODE)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 9bind 3 times"));
        EXPECT_EQ(stored(TEMPLATE), Vlan{});
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(UniVlan, OfAProfileThatIsNotThereIsNobodys) {
    run([](AppChassis& chassis) {
        chassis.put_row<Row>([](Row&) {}, 1, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, 33, 1, ETH, 1);
        EXPECT_EQ(edit(template_uni<Row>(ETH, 1, 1, 33), columns_of(MODE)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 33 is not exist"));
        Row row = template_uni<Row>(ETH, 1, 1, 33);
        EXPECT_EQ(ov_univlan_multi_srvprofile_exist_check(&row), 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("srvprofile id 33 is not exist"));
    });
}

TEST(UniVlan, ATemplateRowGoesToTheCardsAsItsModeHasIt) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        put(full(2), TEMPLATE);
        ASSERT_EQ(edit(with(TEMPLATE, full(3)), columns_of(MODE)), 0);
        EXPECT_EQ(stored(TEMPLATE), (Vlan{3, 0, 0, {10, 20}, {}}));
        ASSERT_THAT(chassis.messages(), SizeIs(1));
        const auto record = chassis.messages()[0].record<Record>();
        EXPECT_EQ(record.pvid, 0);
        EXPECT_EQ(record.vlanList.numVlanGrp, 2);
        EXPECT_EQ(record.xlateList.numVlanGrp, 0);
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(TEMPLATE));
    });
}

TEST(UniVlan, ATemplatesPvidIsNotInItsListInHybridMode) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        const MIB_Flags_t columns = columns_of(MODE, PVID, IDS);
        EXPECT_EQ(edit(with(TEMPLATE, {4, 20, 0, {10, 20}, {}}), columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("pvid is in vlan list"));
        EXPECT_EQ(stored(TEMPLATE), Vlan{});
        EXPECT_THAT(chassis.messages(), IsEmpty());
        // behind the twelve it isn't in the list, in another mode it may be, and on an ONU too
        EXPECT_EQ(edit(with(TEMPLATE, {4, 20, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 20}, {}}), columns),
                  0);
        EXPECT_EQ(edit(with(TEMPLATE, {3, 20, 0, {10, 20}, {}}), columns), 0);
        EXPECT_EQ(edit(with(UNI, {4, 20, 0, {10, 20}, {}}), columns), 0);
    });
}

// ---- protection groups ------------------------------------------------------------------------------------

TEST(UniVlan, IsNotToBeWrittenOnAProtectingPort) {
    run([](AppChassis& chassis) {
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(edit(with(UNI, full(2)), columns_of(MODE)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(stored(), Vlan{});
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_THAT(chassis.hal.log.lines(), Contains("ov_univlan_table_set_check_callback failed"));
    });
}

TEST(UniVlan, OfAWorkingPortIsRepeatedOnThePartner) {
    run([](AppChassis& chassis) {
        make_mirrored_group<SYNC_RMONU_UNIVLAN>();
        TestClock clock;
        EXPECT_EQ(edit(with(UNI, full(2)), columns_of(MODE)), 0);
        EXPECT_EQ(edit(*find_row(UNI), columns_of(column::sRmUniVlanTableRowStatus)),
                  0); // nothing for the card
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(edit(with(UNI, full(3)), columns_of(MODE)), 0);
        EXPECT_THAT(chassis.messages(), SizeIs(2));
        clock.advance(std::chrono::seconds(1));
        EXPECT_THAT(repeated(),
                    ElementsAre("12 action 3 on port 5", "12 action 3 on port 5", "12 action 3 on port 5"));
    });
}

// ---- when the services go ---------------------------------------------------------------------------------

TEST(UniVlan, GoesBackToDiscardInTheTableAlone) {
    run([](AppChassis& chassis) {
        put(full(4));
        put({1, 0, 5, {10}, {}}, uni<Row>(ETH, 2)); // there already
        put({1, 7, 5, {10}, {11}}, uni<Row>(POTS, 1));
        const Onu onu = onu_at(ONU);
        EXPECT_EQ(ov_rmunivlan_table_del_init(&onu), 1);
        EXPECT_EQ(stored(), (Vlan{1, 0, 5, {}, {}}));
        EXPECT_EQ(stored(uni<Row>(ETH, 2)), (Vlan{1, 0, 5, {10}, {}}));
        EXPECT_EQ(stored(uni<Row>(POTS, 1)), (Vlan{1, 0, 5, {}, {}}));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        put(full(4));
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(ov_rmunivlan_table_del_init(&onu), 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rm_uni_vlan table"));
    });
}

// ---- what is replayed -------------------------------------------------------------------------------------

TEST(UniVlan, AReplaySetsWhatIsNotAsItWasMade) {
    run([](AppChassis& /*chassis*/) {
        const auto mask = [](const Vlan& vlan) {
            const Row row = with(UNI, vlan);
            return static_cast<uint32_t>(ov_rmuni_vlan_table_attr_mask_get(&row));
        };
        EXPECT_EQ(mask({}), 0u);
        EXPECT_EQ(mask({.mode = 2}), 1u << 3);
        EXPECT_EQ(mask({.pvid = 1}), 1u << 2);
        EXPECT_EQ(mask({.priority = 1}), 1u << 6);
        EXPECT_EQ(mask({.ids = {1}}), 1u << 4);
        EXPECT_EQ(mask({.translated = {1}}), 1u << 5);
    });
}

} // namespace
