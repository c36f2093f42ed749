// PON ports: what goes to the card and what stays in the table.
#include "ov_app_gpon_port.h"

#include <gmock/gmock.h>

#include "../../support/app_chassis.h"
#include "../support/check_callbacks.h"
#include "ov_app_gpon_pair.h"
#include "ov_app_gpon_qos.h"
#include "sOnuSrvProfileTable.h"
#include "sQosProfileTable.h"

using namespace sPonTable_column;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StrEq;

namespace {

using Port = ov_sPonTable_attr_t;
constexpr int PORT = 4;
constexpr uint32_t NO_ATTRIBUTE = 1u << OV_GPON_PORT_ATTR_INDEX_MAX;

ov_ifindex_t ifindex_of(int port) {
    return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, AppChassis::SLOT, 0, static_cast<uint16_t>(port), 0);
}

Port key_of(int port) {
    Port key = {};
    table_of<Port>::module().set_index_at(&key, GPON_SHELF, AppChassis::SLOT, port);
    return key;
}

const Port& stored(int port = PORT) {
    const Port* row = find_row(key_of(port));
    EXPECT_NE(row, nullptr);
    return *row;
}

template <typename... Column>
MIB_Flags_t columns(Column... column) {
    return columns_of(column...);
}

// Writes columns of the port as a command does.
template <typename Fill, typename... Column>
int edit(Fill fill, Column... column) {
    Port row = key_of(PORT);
    fill(row);
    MIB_Flags_t flag = columns(column...);
    return ov_app_gpon_port_edit(&row, &flag);
}

// One column, whose value is then `value`.
int edit_number(mib_long Port::*member, mib_long value, unsigned column) {
    return edit([&](Port& row) { row.*member = value; }, column);
}

void put_qos_profile(AppChassis& chassis, uint32_t id, const char* name) {
    chassis.put_row<ov_sQosProfileTable_attr_t>(
        [name](auto& row) {
            strcpy(row.sQosProfileTableQueueName, name);
            row.sQosProfileSchModeOfQ1 = 2;
            row.sQosProfileSchModeOfQ8 = 3;
            row.sQosProfileTableWeightOfQ1 = 10;
            row.sQosProfileTableWeightOfQ8 = 80;
        },
        id);
}

void put_srv_profile(AppChassis& chassis, uint32_t id) {
    chassis.put_row<ov_sOnuSrvProfileTable_attr_t>([](auto&) {}, id);
}

// A chassis with port 4, seen by a card that has no message yet.
void with_port(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&](AppChassis& chassis) {
        ASSERT_EQ(ov_pon_protect_group_pon_status_init(), static_cast<uint32_t>(KAVO_OK));
        chassis.put_port(PORT);
        LogCapture::clear();
        body(chassis);
    });
}

// ---- registration ------------------------------------------------------------------------------------

TEST(PortInit, CallbacksAreRegisteredForTheirColumns) {
    app_chassis::run([](AppChassis&) {
        const table_control_t& table = table_cntl[SPON];
        const auto has = [](const MIB_callback* callback, unsigned column) {
            return mib_flag_is_set(callback->app.appFlags, column);
        };
        const MIB_callback* set = table.callback_set;
        while (set != nullptr && set->callback != ov_port_table_set_callback)
            set = set->next;
        ASSERT_NE(set, nullptr);
        EXPECT_STREQ(set->app.appName, "app_port");
        EXPECT_EQ(set->app.appId, gpon_port_appid);
        EXPECT_NE(gpon_port_appid, 0);
        const MIB_callback* check = table.callback_check;
        while (check != nullptr && check->callback != ov_port_table_set_check_callback)
            check = check->next;
        ASSERT_NE(check, nullptr);
        EXPECT_STREQ(check->app.appName, "app_port");
        const MIB_callback* get = table.callback_get;
        while (get != nullptr && get->callback != ov_port_table_get_callback)
            get = get->next;
        ASSERT_NE(get, nullptr);
        EXPECT_STREQ(get->app.appName, "app_port");
        for (unsigned column = 0; column < 128; ++column) {
            const bool read = column == 6 || column == 8 || column == 27;
            EXPECT_EQ(has(set, column), !read) << column;
            EXPECT_EQ(has(check, column), !read) << column;
            EXPECT_EQ(has(get, column), read) << column;
        }
    });
}

// ---- add, edit, delete -------------------------------------------------------------------------------

TEST(PortRows, AddMakesAnActiveRowAndTellsTheCard) {
    app_chassis::run([](AppChassis& chassis) {
        Port row = key_of(PORT);
        MIB_Flags_t flag = {};
        EXPECT_EQ(ov_app_gpon_port_add(&row, &flag), OV_GPON_RET_OK);
        EXPECT_TRUE(mib_flag_is_set(flag, 13));
        EXPECT_TRUE(mib_flag_is_set(flag, 4));
        EXPECT_EQ(stored().sPonTableRowStatus, OVRA_ACTIVE);
        EXPECT_EQ(stored().sPonTableIfIndex, ifindex_of(PORT));
        EXPECT_EQ(stored().sPonTableOperationalState, SPONTABLEOPERATIONALSTATE_LEDOFF);
        const auto seen = chassis.messages(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].type, 901);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_EQ(seen[0].mask, NO_ATTRIBUTE);
        EXPECT_TRUE(seen[0].wants_reply);
        const auto record = seen[0].record<ov_gpon_port_attr_t>();
        EXPECT_EQ(record.ifindex, ifindex_of(PORT));
        EXPECT_EQ(record.scbport, 4095u);
        EXPECT_EQ(record.MaxLogicDistance, 20u);
        EXPECT_EQ(record.KeyExchangeInterval, 10000u);
        EXPECT_EQ(record.portProtect, 1);
        EXPECT_EQ(record.autofind, 1);
        EXPECT_EQ(record.mibDataSync, 1);
        for (size_t queue = 0; queue < 8; ++queue) {
            EXPECT_EQ(record.sched.mode[queue], 0);
            EXPECT_EQ(record.sched.weight[queue], 1);
        }
    });
}

TEST(PortRows, AddOfARowThatExistsIsRefusedAndChangesNothing) {
    with_port([](AppChassis& chassis) {
        Port row = key_of(PORT);
        row.sPonTableDsFec = 1;
        MIB_Flags_t flag = columns(sPonTableDsFec);
        EXPECT_EQ(ov_app_gpon_port_add(&row, &flag), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib add error for port table"));
        EXPECT_EQ(stored().sPonTableDsFec, 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// Port 17 of a slot would be its port 1 to the card.
TEST(PortRows, AnIndexThatAnInterfaceIndexCannotHoldIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        const auto add = [](int shelf, int slot, int port) {
            Port row = {};
            table_of<Port>::module().set_index_at(&row, shelf, slot, port);
            MIB_Flags_t flag = {};
            return ov_app_gpon_port_add(&row, &flag);
        };
        EXPECT_EQ(add(1, AppChassis::SLOT, 17), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("wrong pon port index:1.3.17"));
        EXPECT_EQ(add(1, AppChassis::SLOT, 0), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(1, 19, 1), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(3, AppChassis::SLOT, 1), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(add(1, AppChassis::SLOT, 16), OV_GPON_RET_OK);
        EXPECT_EQ(add(1, 18, 1), OV_GPON_RET_OK);
    });
}

TEST(PortRows, RefusedAddLeavesNoRow) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(OV_HAL_MSG_GPON_PORT, 5);
        Port row = key_of(PORT);
        MIB_Flags_t flag = {};
        EXPECT_EQ(ov_app_gpon_port_add(&row, &flag), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(find_row(key_of(PORT)), nullptr);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set port to hal error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib add error for port table"));
    });
}

TEST(PortRows, EditOrDeleteOfAnAbsentRowIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 1, sPonTableDsFec), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for port table"));
        Port row = key_of(PORT);
        EXPECT_EQ(ov_app_gpon_port_del(&row), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib del error for port table"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PortRows, NullArgumentsAreRefused) {
    app_chassis::run([](AppChassis& chassis) {
        Port row = {};
        MIB_Flags_t flag = {};
        EXPECT_EQ(ov_app_gpon_port_add(nullptr, &flag), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_port_add(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_port_edit(nullptr, &flag), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_port_edit(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_port_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), SizeIs(5));
        EXPECT_THAT(chassis.hal.log.lines(), Each(StrEq("null pointer")));
    });
}

TEST(PortRows, DeleteTellsTheCard) {
    with_port([](AppChassis& chassis) {
        Port row = key_of(PORT);
        EXPECT_EQ(ov_app_gpon_port_del(&row), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(key_of(PORT)), nullptr);
        const auto seen = chassis.messages(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_DELETE);
    });
}

// ---- columns and attributes --------------------------------------------------------------------------

TEST(PortRecord, EachColumnSetsTheBitOfItsAttribute) {
    const std::map<unsigned, unsigned> attributes = {
        {4, 20},  {5, 1},   {6, 2},   {7, 4},   {8, 8},   {9, 6},   {10, 5},  {11, 20}, {12, 7},
        {13, 20}, {14, 9},  {15, 10}, {16, 11}, {17, 12}, {18, 20}, {19, 20}, {20, 13}, {21, 14},
        {22, 15}, {23, 20}, {24, 20}, {25, 20}, {26, 16}, {27, 20}, {28, 20}, {29, 18}, {30, 19}};
    for (unsigned column = 0; column < 128; ++column) {
        Port row = {};
        ov_gpon_port_attr_t record = {};
        ov_bmp_t mask = 0;
        row.sPonTableQosPorfileID = 0;
        sport_mib_data_convert_to_hal(&row, &record, columns(column), &mask);
        const auto attribute = attributes.find(column);
        const uint32_t expected = attribute == attributes.end() ? 0 : 1u << attribute->second;
        EXPECT_EQ(static_cast<uint32_t>(mask), expected) << column;
    }
}

TEST(PortRecord, CarriesTheWholeRowWhateverTheMask) {
    Port row = {};
    row.sPonTableIfIndex = 0x48c08000;
    row.sPonTableAdminState = 1;
    row.sPonTableOperationalState = 2;
    row.sPonTableScbPort = 4000;
    row.sPonTableTxPower = -120;
    row.sPonTableScbMaxBW = 2000000;
    row.sPonTableScbDwnQueueMapID = 7;
    row.sPonTableMaxLogicDistance = 40;
    row.sPonTableDsFec = 1;
    row.sPonTableKeyExchangeCtrl = 1;
    row.sPonTableKeyExchangeInterval = 20000;
    row.sPonTableAutoLearn = 1;
    row.sPonTablePortProtect = 1;
    row.sPonTableAutoFind = 1;
    row.sPonTableRogueOnuDetect = 1;
    row.sPonTableRogueOnuDetectState = 5;
    row.sPonTableSilenceOnuTime = 300;
    row.sPonTableMibDataSync = 1;
    ov_gpon_port_attr_t record;
    std::memset(static_cast<void*>(&record), 0xee, sizeof record);
    ov_bmp_t mask = 0;
    sport_mib_data_convert_to_hal(&row, &record, {}, &mask);
    EXPECT_EQ(mask, 0);
    EXPECT_EQ(record.ifindex, 0x48c08000u);
    EXPECT_EQ(record.adminStatus, 1);
    EXPECT_EQ(record.priStatus, 2);
    EXPECT_EQ(record.secStatus, 0);
    EXPECT_EQ(record.scbport, 4000u);
    EXPECT_EQ(record.txPwr, -120);
    EXPECT_EQ(record.scb_maxBw, 2000000);
    EXPECT_EQ(record.scb_qid, 7);
    EXPECT_EQ(record.MaxLogicDistance, 40u);
    EXPECT_EQ(record.DsFec, 1);
    EXPECT_EQ(record.KeyExchangeCtrl, 1);
    EXPECT_EQ(record.KeyExchangeInterval, 20000u);
    EXPECT_EQ(record.autolearn, 1);
    EXPECT_EQ(record.portProtect, 1);
    EXPECT_EQ(record.autofind, 1);
    EXPECT_EQ(record.rogueOnuDetect, 1);
    EXPECT_EQ(record.rogueOnuDetectState, 0u);
    EXPECT_EQ(record.silenceTime, 300u);
    EXPECT_EQ(record.mibDataSync, 1);
    EXPECT_EQ(record.sched.weight[7], 1);
}

// ---- writes that the card gets -----------------------------------------------------------------------

TEST(PortSet, AChangeGoesToTheCardAndIntoTheRow) {
    with_port([](AppChassis& chassis) {
        EXPECT_EQ(edit_number(&Port::sPonTableMaxLogicDistance, 40, sPonTableMaxLogicDistance), 0);
        const auto seen = chassis.messages(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].type, OV_HAL_MSG_GPON_PORT);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(seen[0].mask, 1u << OV_GPON_PORT_ATTR_INDEX_MaxLogicDistance);
        EXPECT_EQ(seen[0].record<ov_gpon_port_attr_t>().MaxLogicDistance, 40u);
        EXPECT_EQ(stored().sPonTableMaxLogicDistance, 40);
    });
}

TEST(PortSet, TheInterfaceIndexIsFilledInWithTheFirstWrite) {
    with_port([](AppChassis& chassis) {
        ASSERT_EQ(stored().sPonTableIfIndex, 0u);
        EXPECT_EQ(edit_number(&Port::sPonTableAutoLearn, 1, sPonTableAutoLearn), 0);
        EXPECT_EQ(stored().sPonTableIfIndex, ifindex_of(PORT));
        EXPECT_EQ(chassis.messages(1).at(0).record<ov_gpon_port_attr_t>().ifindex, ifindex_of(PORT));
    });
}

TEST(PortSet, AColumnThatTheCardDoesNotSupportIsStored) {
    with_port([](AppChassis& chassis) {
        chassis.card_answers(OV_HAL_MSG_GPON_PORT, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 1, sPonTableDsFec), 0);
        EXPECT_EQ(stored().sPonTableDsFec, 1);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
    });
}

TEST(PortSet, AnyOtherAnswerOfTheCardRefusesTheRow) {
    with_port([](AppChassis& chassis) {
        chassis.card_answers(OV_HAL_MSG_GPON_PORT, OV_GPON_RET_BUSY);
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 1, sPonTableDsFec), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(stored().sPonTableDsFec, 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set port to hal error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for port table"));
    });
}

TEST(PortSet, ASilentCardRefusesTheRow) {
    with_port([](AppChassis& chassis) {
        chassis.card_falls_silent();
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 1, sPonTableDsFec), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(stored().sPonTableDsFec, 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set port to hal error"));
    });
}

// It hears of the setting with its next start.
TEST(PortSet, ACardThatLeavesBetweenCheckAndSendRefusesNothing) {
    with_port([](AppChassis& chassis) {
        app_chassis::take_card_out_at_writes_of(SPON);
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 1, sPonTableDsFec), 0);
        EXPECT_EQ(stored().sPonTableDsFec, 1);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PortSet, APortOfAnAbsentCardIsWritten) {
    with_port([](AppChassis& chassis) {
        hal_slot_active_flag_clear("test", 0, AppChassis::SLOT);
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 1, sPonTableDsFec), 0);
        EXPECT_EQ(stored().sPonTableDsFec, 1);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PortSet, SingleCopyBroadcastKeepsItsPortZeroWhenRemoved) {
    with_port([](AppChassis& chassis) {
        const auto scb = [](uint32_t port) {
            return edit(
                [port](Port& row) {
                    row.sPonTableScbPort = port;
                    row.sPonTableScbDwnQueueMapID = 7;
                },
                sPonTableScbPort, sPonTableScbDwnQueueMapID);
        };
        EXPECT_EQ(scb(100), 0);
        EXPECT_EQ(scb(0), 0);
        const auto seen = chassis.messages(2);
        ASSERT_THAT(seen, SizeIs(2));
        EXPECT_EQ(seen[1].mask, 1u << 4 | 1u << 5);
        EXPECT_EQ(seen[1].record<ov_gpon_port_attr_t>().scbport, 0u);
        EXPECT_EQ(seen[1].record<ov_gpon_port_attr_t>().scb_qid, 7);
        EXPECT_EQ(stored().sPonTableScbPort, 0u);
    });
}

// ---- writes that stay in the table -------------------------------------------------------------------

TEST(PortSet, AdminStateAndRecordingSwitchesStayInTheTable) {
    with_port([](AppChassis& chassis) {
        EXPECT_EQ(edit_number(&Port::sPonTableAdminState, 1, sPonTableAdminState), 0);
        EXPECT_EQ(edit_number(&Port::sPonTablePmEnable, 1, sPonTablePmEnable), 0);
        EXPECT_EQ(edit_number(&Port::sPonTableNniPmEnable, 1, sPonTableNniPmEnable), 0);
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PORT), IsEmpty());
        EXPECT_THAT(chassis.messages(), SizeIs(2)); // the counters are read for the first time
        EXPECT_EQ(stored().sPonTableAdminState, 1);
        EXPECT_EQ(stored().sPonTablePmEnable, 1);
        EXPECT_EQ(stored().sPonTableNniPmEnable, 1);
    });
}

TEST(PortSet, FecWrittenWithARecordingSwitchStaysInTheTableToo) {
    with_port([](AppChassis& chassis) {
        EXPECT_EQ(edit(
                      [](Port& row) {
                          row.sPonTablePmEnable = 1;
                          row.sPonTableDsFec = 1;
                      },
                      sPonTablePmEnable, sPonTableDsFec),
                  0);
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PORT), IsEmpty());
        EXPECT_EQ(stored().sPonTableDsFec, 1);
    });
}

TEST(PortSet, OperationalStateIsWrittenPastTheCard) {
    with_port([](AppChassis& chassis) {
        EXPECT_EQ(edit_number(&Port::sPonTableOperationalState, 1, sPonTableOperationalState), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(stored().sPonTableOperationalState, SPONTABLEOPERATIONALSTATE_GREENONOP);
    });
}

// ---- service profiles of learnt ONUs -----------------------------------------------------------------

TEST(PortSrvProfile, TheDefaultProfileMustExistAndIsThenPushed) {
    with_port([](AppChassis& chassis) {
        EXPECT_EQ(edit_number(&Port::sPonTableSrvProfileID, 9, sPonTableSrvProfileID), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        put_srv_profile(chassis, 9);
        EXPECT_EQ(edit_number(&Port::sPonTableSrvProfileID, 9, sPonTableSrvProfileID), 0);
        EXPECT_EQ(edit_number(&Port::sPonTableSrvProfileID, 0, sPonTableSrvProfileID), 0);
        const auto seen = chassis.messages(2);
        ASSERT_THAT(seen, SizeIs(2));
        EXPECT_EQ(seen[0].mask, NO_ATTRIBUTE);
    });
}

TEST(PortSrvProfile, KindsOfOnusNeedExistingProfilesAndReachNoCard) {
    with_port([](AppChassis& chassis) {
        put_srv_profile(chassis, 9);
        for (const auto& [member, column] :
             {std::pair{&Port::sPonTableHguSrvProfile, 24u}, std::pair{&Port::sPonTableSfuSrvProfile, 25u}}) {
            EXPECT_EQ(edit_number(member, 8, column), OV_GPON_RET_BAD_PARAM) << column;
            EXPECT_EQ(edit_number(member, 9, column), 0) << column;
            EXPECT_EQ(stored().*member, 9) << column;
            EXPECT_EQ(edit_number(member, 0, column), 0) << column;
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PortSrvProfile, ModelAndVendorSlotsCountWithANameAndAProfile) {
    with_port([](AppChassis& chassis) {
        put_srv_profile(chassis, 9);
        const auto model = [](size_t slot, const char* name, unsigned char profile) {
            return edit(
                [&](Port& row) {
                    std::memcpy(row.sPonTableModelSrvProfileName + 20 * slot, name, strlen(name));
                    row.sPonTableModelSrvProfile[slot] = profile;
                },
                sPonTableModelSrvProfile, sPonTableModelSrvProfileName);
        };
        EXPECT_EQ(model(3, "M-4", 8), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(model(3, "", 8), 0);
        EXPECT_EQ(model(3, "M-4", 0), 0);
        EXPECT_EQ(model(3, "M-4", 9), 0);
        EXPECT_EQ(stored().sPonTableModelSrvProfile[3], 9);
        const auto vendor = [](size_t slot, const char* code, unsigned char profile) {
            return edit(
                [&](Port& row) {
                    std::memcpy(row.sPonTableVendorSrvProfileName + 4 * slot, code, strlen(code));
                    row.sPonTableVendorSrvProfile[slot] = profile;
                },
                sPonTableVendorSrvProfile, sPonTableVendorSrvProfileName);
        };
        EXPECT_EQ(vendor(3, "ABCD", 8), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(vendor(3, "", 8), 0);
        EXPECT_EQ(vendor(0, "ABCD", 9), 0);
        EXPECT_EQ(stored().sPonTableVendorSrvProfile[0], 9);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

void put_autoflow(AppChassis& chassis) {
    put_srv_profile(chassis, 9);
    edit(
        [](Port& row) {
            row.sPonTableHguSrvProfile = row.sPonTableSfuSrvProfile = 9;
            row.sPonTableModelSrvProfile[1] = row.sPonTableVendorSrvProfile[1] = 9;
            row.sPonTableModelSrvProfileName[20] = row.sPonTableVendorSrvProfileName[4] = 'M';
            row.sPonTableSrvProfileID = 9;
            row.sPonTableAutoFlow = 1;
        },
        sPonTableAutoFlow, sPonTableHguSrvProfile, sPonTableSfuSrvProfile, sPonTableModelSrvProfile,
        sPonTableModelSrvProfileName, sPonTableVendorSrvProfile, sPonTableVendorSrvProfileName,
        sPonTableSrvProfileID);
    ASSERT_EQ(stored().sPonTableModelSrvProfile[1], 9);
}

TEST(PortSrvProfile, AutoFlowOffAloneClearsTheSixProfileColumns) {
    with_port([](AppChassis& chassis) {
        put_autoflow(chassis);
        EXPECT_EQ(edit_number(&Port::sPonTableAutoFlow, 0, sPonTableAutoFlow), 0);
        EXPECT_EQ(stored().sPonTableAutoFlow, 0);
        EXPECT_EQ(stored().sPonTableHguSrvProfile, 0);
        EXPECT_EQ(stored().sPonTableSfuSrvProfile, 0);
        EXPECT_THAT(stored().sPonTableModelSrvProfile, Each(0));
        EXPECT_THAT(stored().sPonTableModelSrvProfileName, Each(0));
        EXPECT_THAT(stored().sPonTableVendorSrvProfile, Each(0));
        EXPECT_THAT(stored().sPonTableVendorSrvProfileName, Each(0));
        EXPECT_EQ(stored().sPonTableSrvProfileID, 9);
        EXPECT_THAT(chassis.messages(1), SizeIs(1));
    });
}

TEST(PortSrvProfile, AutoFlowOffTogetherWithAProfileClearsNothing) {
    with_port([](AppChassis& chassis) {
        put_autoflow(chassis);
        EXPECT_EQ(edit(
                      [](Port& row) {
                          row.sPonTableAutoFlow = 0;
                          row.sPonTableHguSrvProfile = 9;
                      },
                      sPonTableAutoFlow, sPonTableHguSrvProfile),
                  0);
        EXPECT_EQ(stored().sPonTableAutoFlow, 0);
        EXPECT_EQ(stored().sPonTableSfuSrvProfile, 9);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PortSrvProfile, AutoFlowOffThatTheCardDoesNotSupportClearsNothing) {
    with_port([](AppChassis& chassis) {
        put_autoflow(chassis);
        chassis.card_answers(OV_HAL_MSG_GPON_PORT, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(edit_number(&Port::sPonTableAutoFlow, 0, sPonTableAutoFlow), 0);
        EXPECT_EQ(stored().sPonTableAutoFlow, 0);
        EXPECT_EQ(stored().sPonTableSfuSrvProfile, 9);
    });
}

// ---- scheduling profile and limit --------------------------------------------------------------------

int edit_qos_name(const char* name) {
    return edit([name](Port& row) { strcpy(row.sPonTableQosProfileName, name); }, sPonTableQosProfileName);
}

TEST(PortQos, ANameIsResolvedAndTheProfileGoesToTheCard) {
    with_port([](AppChassis& chassis) {
        put_qos_profile(chassis, 0x90000001u, "gold");
        EXPECT_EQ(edit_qos_name("gold"), 0);
        EXPECT_EQ(stored().sPonTableQosPorfileID, 0x90000001u);
        const auto seen = chassis.messages(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].mask, 1u << OV_GPON_PORT_ATTR_INDEX_sched);
        const auto sched = seen[0].record<ov_gpon_port_attr_t>().sched;
        EXPECT_EQ(sched.mode[0], 2);
        EXPECT_EQ(sched.mode[7], 3);
        EXPECT_EQ(sched.weight[0], 10);
        EXPECT_EQ(sched.weight[7], 80);
    });
}

TEST(PortQos, AnUnknownNameIsRefused) {
    with_port([](AppChassis& chassis) {
        EXPECT_EQ(edit_qos_name("gold"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("the qos profile was not exist"));
        EXPECT_STREQ(stored().sPonTableQosProfileName, "");
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PortQos, AnEmptyNameTakesTheProfileOff) {
    with_port([](AppChassis& chassis) {
        put_qos_profile(chassis, 77, "gold");
        ASSERT_EQ(edit_qos_name("gold"), 0);
        EXPECT_EQ(edit_qos_name(""), 0);
        EXPECT_EQ(stored().sPonTableQosPorfileID, 0u);
        EXPECT_EQ(chassis.messages(2).at(1).record<ov_gpon_port_attr_t>().sched.weight[3], 1);
    });
}

TEST(PortQos, AProfileThatIsGoneLeavesTheScheduleZero) {
    Port row = {};
    app_chassis::run([&row](AppChassis&) {
        row.sPonTableQosPorfileID = 77;
        ov_gpon_port_attr_t record = {};
        ov_bmp_t mask = 0;
        sport_mib_data_convert_to_hal(&row, &record, {}, &mask);
        for (size_t queue = 0; queue < 8; ++queue) {
            EXPECT_EQ(record.sched.mode[queue], 0);
            EXPECT_EQ(record.sched.weight[queue], 0);
        }
    });
}

TEST(PortQos, TheNameZeroWithTheIdZeroClearsAndIsKept) {
    with_port([](AppChassis&) {
        EXPECT_EQ(edit(
                      [](Port& row) {
                          row.sPonTableQosPorfileID = 0;
                          strcpy(row.sPonTableQosProfileName, "0");
                      },
                      sPonTableQosPorfileID, sPonTableQosProfileName),
                  0);
        EXPECT_STREQ(stored().sPonTableQosProfileName, "0");
        EXPECT_EQ(stored().sPonTableQosPorfileID, 0u);
    });
}

TEST(PortQos, ALimitNeedsTheHierarchicalScheduler) {
    with_port([](AppChassis& chassis) {
        int model = 0;
        ASSERT_NE(ov_app_qos_port_model_get_by_ifindex(ifindex_of(PORT), &model), OV_QOS_OK);
        EXPECT_EQ(edit([](Port& row) { row.sPonTableScbMaxBW = 1000; }, sPonTableScbMaxBW),
                  OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains("ov_app_qos_port_model_get_by_ifindex failed or port model isn't hierarchy"));
        EXPECT_EQ(stored().sPonTableScbMaxBW, 0u);
        EXPECT_THAT(chassis.messages(), IsEmpty());

        auto* qos = ov_app_port_qos_new();
        ASSERT_EQ(ov_app_port_qos_edit_ifindex(qos, ifindex_of(PORT)), OV_QOS_OK);
        ASSERT_EQ(ov_app_port_qos_add(qos, SYNC_MIB | SYNC_APP), OV_QOS_OK);
        EXPECT_EQ(edit([](Port& row) { row.sPonTableScbMaxBW = 1000; }, sPonTableScbMaxBW),
                  OV_GPON_RET_BAD_PARAM); // the simple one won't do
        ASSERT_EQ(ov_app_port_qos_edit_sched_mode(qos, OV_QOS_SCHED_HIERARCHY), OV_QOS_OK);
        ASSERT_EQ(ov_app_port_qos_set(qos, SYNC_EVERY_COPY), OV_QOS_OK);
        LogCapture::clear();
        EXPECT_EQ(edit([](Port& row) { row.sPonTableScbMaxBW = 1000; }, sPonTableScbMaxBW), 0);
        EXPECT_EQ(stored().sPonTableScbMaxBW, 1000u);
        EXPECT_THAT(chassis.hal.log.lines(), IsEmpty());
    });
}

TEST(PortQos, ALimitWithAnEmptyProfileNameIsNotChecked) {
    with_port([](AppChassis& chassis) {
        EXPECT_EQ(
            edit([](Port& row) { row.sPonTableScbMaxBW = 1000; }, sPonTableScbMaxBW, sPonTableQosProfileName),
            0);
        const auto seen = chassis.messages(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].mask, 1u << 6 | 1u << 7);
        EXPECT_EQ(seen[0].record<ov_gpon_port_attr_t>().scb_maxBw, 1000);
        EXPECT_EQ(stored().sPonTableScbMaxBW, 1000u);
    });
}

// ---- protection groups -------------------------------------------------------------------------------

TEST(PortProtection, AProtectingPortRefusesWritesOnceItsCardIsSynchronised) {
    with_port([](AppChassis& chassis) {
        ov_pon_protect_group_pon_status_set(AppChassis::SLOT, PORT, OV_PON_PROTECT_PON_STATUS_PROTECTING);
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 1, sPonTableDsFec), 0);
        ov_startup_gpon_config_sync_end_set(AppChassis::SLOT, 1);
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 0, sPonTableDsFec), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(edit_number(&Port::sPonTablePmEnable, 1, sPonTablePmEnable), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(stored().sPonTableDsFec, 1);
        EXPECT_EQ(stored().sPonTablePmEnable, 0);
        EXPECT_THAT(chassis.messages(1), SizeIs(1));
        // The mirror of the working port's writes passes.
        Port row = key_of(PORT);
        EXPECT_TRUE(mib_access(MIB_SET_N, row, columns(sPonTableDsFec)));
        EXPECT_EQ(stored().sPonTableDsFec, 0);
        EXPECT_THAT(chassis.messages(2), SizeIs(2));
    });
}

TEST(PortProtection, AWorkingPortHandsItsWritesToThePartnerOnceSynchronised) {
    with_port([](AppChassis& chassis) {
        ov_pon_protect_group_pon_status_set(AppChassis::SLOT, PORT, OV_PON_PROTECT_PON_STATUS_WORKING);
        ov_pon_protect_group_pair_port_index_set(AppChassis::SLOT, PORT, ifindex_of(5));
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 1, sPonTableDsFec), 0);
        ov_startup_gpon_config_sync_end_set(AppChassis::SLOT, 1);
        Port row = stored();
        const bool taken =
            ov_app_pon_protect_group_config_table_sync(SYNC_SPON, &row, sizeof row, columns(sPonTableDsFec),
                                                       OV_HAL_GPON_MSG_ACTION_SET, ifindex_of(5)) == 1;
        const int expected = taken ? OV_GPON_RET_OK : OV_GPON_RET_BAD_PARAM;
        // By the card, by the daemon alone, and as a service profile.
        EXPECT_EQ(edit_number(&Port::sPonTableDsFec, 0, sPonTableDsFec), expected);
        EXPECT_EQ(edit_number(&Port::sPonTablePmEnable, 1, sPonTablePmEnable), expected);
        EXPECT_EQ(edit_number(&Port::sPonTableHguSrvProfile, 0, sPonTableHguSrvProfile), expected);
        EXPECT_EQ(stored().sPonTablePmEnable, taken ? 1 : 0);
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PORT), SizeIs(2));
    });
}

// ---- columns that are read from the card -------------------------------------------------------------

ov_gpon_port_attr_t reading() {
    ov_gpon_port_attr_t record = {};
    record.priStatus = 2;
    record.txPwr = -310;
    record.rogueOnuDetectState = 4;
    record.MaxLogicDistance = 60;
    return record;
}

TEST(PortGet, EachOfTheThreeColumnsIsReadFromTheCardEachTime) {
    with_port([](AppChassis& chassis) {
        chassis.card_reads(OV_HAL_MSG_GPON_PORT, reading());
        Port row = key_of(PORT);
        EXPECT_TRUE(mib_access(MIB_GET, row, columns(sPonTableOperationalState)));
        EXPECT_EQ(row.sPonTableOperationalState, 2);
        EXPECT_EQ(row.sPonTableTxPower, 0);
        EXPECT_TRUE(mib_access(MIB_GET, row, columns(sPonTableTxPower)));
        EXPECT_EQ(row.sPonTableTxPower, -310);
        EXPECT_EQ(row.sPonTableRogueOnuDetectState, 0);
        EXPECT_TRUE(mib_access(MIB_GET, row, columns(sPonTableRogueOnuDetectState)));
        EXPECT_EQ(row.sPonTableRogueOnuDetectState, 4);
        EXPECT_TRUE(mib_access(MIB_GET, row, columns(sPonTableTxPower)));
        EXPECT_EQ(row.sPonTableMaxLogicDistance, 20);
        const auto seen = chassis.messages(4);
        ASSERT_THAT(seen, SizeIs(4));
        for (const CardMessage& message : seen) {
            EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_GET);
            EXPECT_EQ(message.record<ov_gpon_port_attr_t>().ifindex, ifindex_of(PORT));
        }
        EXPECT_EQ(seen[0].mask, 1u << 2);
        EXPECT_EQ(seen[1].mask, 1u << 8);
        EXPECT_EQ(seen[2].mask, NO_ATTRIBUTE); // the rogue state has no attribute of its own here
    });
}

TEST(PortGet, AReadOfAllColumnsAsksForThoseUpToTheRogueState) {
    with_port([](AppChassis& chassis) {
        chassis.card_reads(OV_HAL_MSG_GPON_PORT, reading());
        Port row = key_of(PORT);
        EXPECT_TRUE(mib_access(MIB_GET, row));
        const auto seen = chassis.messages(1);
        ASSERT_THAT(seen, SizeIs(1));
        // All attributes but ifindex, secStatus, RogueOnuDetectState, silenceTime and mibDataSync.
        EXPECT_EQ(seen[0].mask, 0x11fff6u & ~(1u << 3));
        EXPECT_EQ(row.sPonTableOperationalState, 2);
        EXPECT_EQ(row.sPonTableTxPower, -310);
        EXPECT_EQ(row.sPonTableRogueOnuDetectState, 4);
    });
}

TEST(PortGet, OtherColumnsAndSilentReadsDoNotReachTheCard) {
    with_port([](AppChassis& chassis) {
        Port row = key_of(PORT);
        EXPECT_TRUE(mib_access(MIB_GET, row, columns(sPonTableDsFec)));
        EXPECT_TRUE(mib_access(MIB_GET_S, row));
        EXPECT_EQ(ov_port_table_get_callback(did_of<Port>(), &row, columns(sPonTableDsFec)), 1);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PortGet, AFailedReadIsRefused) {
    with_port([](AppChassis& chassis) {
        chassis.card_answers(OV_HAL_MSG_GPON_PORT, OV_GPON_RET_BUSY);
        Port row = key_of(PORT);
        EXPECT_FALSE(mib_access(MIB_GET, row, columns(sPonTableTxPower)));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("failed to get pon port info"));
        hal_slot_active_flag_clear("test", 0, AppChassis::SLOT);
        LogCapture::clear();
        EXPECT_FALSE(mib_access(MIB_GET, row, columns(sPonTableTxPower)));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("failed to get pon port info"));
    });
}

// ---- rogue ONU ---------------------------------------------------------------------------------------

TEST(PortRogueOnu, StagesHaveLabelsAndSomePrintNoLine) {
    const std::array<const char*, 9> texts = {"Rogue onu detect start",
                                              "Rogue onu detecting",
                                              "Rogue onu detecting",
                                              "Rogue onu detect complete",
                                              "Have unconfig rogue onu",
                                              nullptr,
                                              "Stop rogue onu detect rudely",
                                              nullptr,
                                              nullptr};
    for (int stage = 0; stage < 9; ++stage) {
        EXPECT_EQ(ov_app_gpon_rogue_stage_label(stage), " STAGE" + std::to_string(stage + 1) + " ");
        EXPECT_STREQ(ov_app_gpon_rogue_stage_text(stage), texts[static_cast<size_t>(stage)]) << stage;
    }
    for (const int stage : {-1, 9, INT32_MAX, INT32_MIN}) {
        EXPECT_STREQ(ov_app_gpon_rogue_stage_label(stage), "UNKNOWN ERROR");
        EXPECT_EQ(ov_app_gpon_rogue_stage_text(stage), nullptr);
    }
}

TEST(PortRogueOnu, DetectionGoesToTheCardLikeAnySetting) {
    with_port([](AppChassis& chassis) {
        EXPECT_EQ(edit_number(&Port::sPonTableRogueOnuDetect, 1, sPonTableRogueOnuDetect), 0);
        EXPECT_EQ(chassis.messages(1).at(0).mask, 1u << OV_GPON_PORT_ATTR_INDEX_RogueOnuDetect);
    });
}

} // namespace
