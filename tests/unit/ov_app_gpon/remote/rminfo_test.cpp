// Remote information and capabilities of an ONU: the rows that follow it, what is read of it, and what it is
// told to do.
#include "ov_app_gpon_rminfo.h"

#include "../support/remote_chassis.h"
#include "app_card_answer.h"
#include "ov_app_gpon_rmcapa.h"
#include "sOnuUpdateTable.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

using Info = ov_sRmInfoTable_attr_t;
using InfoRecord = ov_gpon_rmonu_info_attr_t;
using Capa = ov_sRmOnuCapaTable_attr_t;
using CapaRecord = ov_gpon_rmonu_capa_attr_t;
namespace column = sRmInfoTable_column;

constexpr int MESSAGE = 914;
constexpr int CAPA_MESSAGE = 928;
const Info INFO = onu_key<Info>(SLOT, PORT, ONU);
const Capa CAPA = onu_key<Capa>(SLOT, PORT, ONU);

template <typename Row>
bool read(Row& row, unsigned read_column = 1) {
    return mib_access(MIB_GET, row, columns_of(read_column));
}

int command(unsigned of, mib_long Info::*value, mib_long wished = 1) {
    Info row = INFO;
    row.*value = wished;
    MIB_Flags_t columns = columns_of(of);
    return ov_app_gpon_rminfo_edit(&row, &columns);
}
int reboot(mib_long wished = 1) {
    return command(column::sRmInfoTableReboot, &Info::sRmInfoTableReboot, wished);
}

// ---- the rows' life ---------------------------------------------------------------------------------------

TEST(RemoteInfo, ItsRowAndThatOfTheCapabilitiesComeAndGoWithTheOnu) {
    run([](AppChassis& /*chassis*/) {
        EXPECT_NE(find_row(INFO), nullptr);
        EXPECT_NE(find_row(CAPA), nullptr);
        EXPECT_EQ(delete_onu(), OV_GPON_RET_OK);
        EXPECT_THAT(all_of<Info>(), IsEmpty());
        EXPECT_THAT(all_of<Capa>(), IsEmpty());
    });
}

TEST(RemoteInfo, IsLoggedForEachRowThatIsAdded) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(ov_rminfo_table_add(find_row(onu_at(ONU))), 1); // there already
        EXPECT_THAT(chassis.hal.log.lines(), Not(Contains("add rminfo success")));
        ASSERT_EQ(ov_rminfo_table_del(find_row(onu_at(ONU))), 1);
        EXPECT_EQ(find_stored_row(INFO), nullptr);
        EXPECT_EQ(ov_rminfo_table_add(find_row(onu_at(ONU))), 1);
        EXPECT_NE(find_row(INFO), nullptr);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("add rminfo success").Times(1));
        ASSERT_EQ(ov_rmcapa_table_del(find_row(onu_at(ONU))), 1);
        EXPECT_EQ(find_stored_row(CAPA), nullptr);
        EXPECT_EQ(ov_rmcapa_table_add(find_row(onu_at(ONU))), 1);
        EXPECT_NE(find_row(CAPA), nullptr);
    });
}

int refuse_all(MIBDID /*did*/, void* /*row*/, MIB_Flags_t /*flags*/) {
    return SET_REFUSED;
}

TEST(RemoteInfo, ARowThatCannotComeRefusesTheOnu) {
    run([](AppChassis& chassis) {
        MibRegisterCallback(did_of<Info>(), CALLBACK_SET, "refuses", 1, refuse_all, mibDefFlags);
        EXPECT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("add rminfo error"));
        EXPECT_EQ(find_stored_row(onu_at(8)), nullptr);
        EXPECT_EQ(find_stored_row(onu_key<Info>(SLOT, PORT, 8)), nullptr);
        EXPECT_EQ(delete_onu(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("del rminfo error"));
        EXPECT_NE(find_row(onu_at(ONU)), nullptr);
    });
}

TEST(RemoteInfo, ACapabilityRowThatCannotComeRefusesTheOnu) {
    run([](AppChassis& chassis) {
        MibRegisterCallback(did_of<Capa>(), CALLBACK_SET, "refuses", 1, refuse_all, mibDefFlags);
        EXPECT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("add rmcapa error"));
        EXPECT_EQ(find_stored_row(onu_at(8)), nullptr);
        EXPECT_EQ(delete_onu(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("del rmcapa error"));
    });
}

// ---- reads ------------------------------------------------------------------------------------------------

InfoRecord reported() {
    InfoRecord record = {};
    std::memcpy(record.version, "V1.2.3-and-more", sizeof record.version); // not terminated
    std::memcpy(record.sn, "ABCD\x00\x12\xff\x78", 8);
    set_text(record.loid, "home17");
    set_text(record.loidPw, "secret");
    set_text(record.eqptId, "HG8-4E2P");
    record.omccVer = 0xa0;
    record.bridgeMode = 3;
    set_text(record.vendorId, "ABCD");
    record.ProductCode = 0x0A7f;
    record.EncrptionMode = 1;
    record.PriorityQueue = 64;
    record.AdminState = 1;
    record.OperationalState = 2;
    record.SchedulerNumber = 8;
    set_text(record.serviceType, "HSI");
    record.onuType = 5;
    record.reboot = 1; // an echo of a command isn't a column
    return record;
}

TEST(RemoteInfo, AReadAsksTheOnuAndKeepsWhatItSays) {
    run([](AppChassis& chassis) {
        bring_up();
        chassis.card_reads(MESSAGE, reported());
        Info row = INFO;
        ASSERT_TRUE(read(row));
        for (const Info* seen : {&std::as_const(row), find_row(INFO)}) {
            EXPECT_STREQ(seen->sRmInfoTableVersion, "V1.2.3-and-more");
            EXPECT_STREQ(seen->sRmInfoTableSn, "ABCD0012FF78");
            EXPECT_STREQ(seen->sRmInfoTableLoid, "home17");
            EXPECT_STREQ(seen->sRmInfoTableLoidPass, "secret");
            EXPECT_STREQ(seen->sRmInfoTableEqptID, "HG8-4E2P");
            EXPECT_EQ(seen->sRmInfoTableOmccVersion, 0xa0);
            EXPECT_EQ(seen->sRmInfoTableBridgeMode, 3);
            EXPECT_STREQ(seen->sRmInfoTableVendorId, "ABCD");
            EXPECT_STREQ(seen->sRmInfoTableProductCode, "0A7F");
            EXPECT_EQ(seen->sRmInfoTableEncrptionMode, 1);
            EXPECT_EQ(seen->sRmInfoTablePriorityQueue, 64);
            EXPECT_EQ(seen->sRmInfoTableAdminState, 1);
            EXPECT_EQ(seen->sRmInfoTableOperationalState, 2);
            EXPECT_EQ(seen->sRmInfoTableServiceSchedulerNumber, 8);
            EXPECT_STREQ(seen->sRmInfoTableServiceType, "HSI");
            EXPECT_EQ(seen->sRmInfoTableOnuType, 5);
            EXPECT_STREQ(seen->sRmInfoTablePw, "");
            EXPECT_EQ(seen->sRmInfoTableReboot, 0);
        }
        const auto messages = chassis.messages();
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].type, MESSAGE);
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(messages[0].mask, 0u);
        EXPECT_EQ(messages[0].record<InfoRecord>().onuIfindex, onu_ifindex_of(INFO));
    });
}

TEST(RemoteInfo, AReadOfOtherColumnsAsksNobody) {
    run([](AppChassis& chassis) {
        bring_up();
        Info row = INFO;
        EXPECT_TRUE(read(row, column::sRmInfoTableEqptID));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(RemoteInfo, OfAnOnuThatIsNotInOperationIsWhatWasStored) {
    run([](AppChassis& chassis) {
        bring_up();
        chassis.card_reads(MESSAGE, reported());
        Info row = INFO;
        ASSERT_TRUE(read(row));
        EXPECT_EQ(ov_rminfo_check(&row), 1);
        chassis.forget_messages();
        for (const int state : {SONUTABLEONUSTATE_ADDED, SONUTABLEONUSTATE_AUTHPASS}) {
            set_state(state);
            Info again = INFO;
            EXPECT_EQ(ov_rminfo_check(&again), 0);
            ASSERT_TRUE(read(again));
            EXPECT_STREQ(again.sRmInfoTableVersion, "V1.2.3-and-more");
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(RemoteInfo, AReadThatTheCardCannotDoIsWhatWasStored) {
    run([](AppChassis& chassis) {
        bring_up();
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        Info row = INFO;
        EXPECT_TRUE(read(row));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get which not support"));
    });
}

TEST(RemoteInfo, AReadThatFailsFails) {
    run([](AppChassis& chassis) {
        bring_up();
        chassis.card_answers(MESSAGE, 1003);
        Info row = INFO;
        EXPECT_FALSE(read(row));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get rminfo from low level error"));
        EXPECT_STREQ(find_row(INFO)->sRmInfoTableVersion, "");
    });
}

TEST(RemoteInfo, AReadOfASilentCardFails) {
    run([](AppChassis& chassis) {
        bring_up();
        chassis.card_falls_silent();
        Info row = INFO;
        EXPECT_FALSE(read(row));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get rminfo from low level error"));
    });
}

TEST(RemoteCapability, AReadAsksTheOnu) {
    run([](AppChassis& chassis) {
        CapaRecord record = {};
        record.tcontNum = 8;
        record.gemucNum = 32;
        record.queueNum = 300;
        record.cardNum = 2;
        record.ethuniNum = 4;
        record.specVersion = 0xa3;
        record.onuType = 1;
        record.txpowerCtrl = 1;
        record.card4ethuniNum = 9;
        record.trafficMagOption = 2;
        std::memcpy(record.operationId, "OPER", 4);
        std::memset(record.queueNumberTcont, 0x5a, sizeof record.queueNumberTcont);
        chassis.card_reads(CAPA_MESSAGE, record);
        Capa row = CAPA;
        ASSERT_TRUE(read(row, 13)); // any column but the row status
        EXPECT_THAT(chassis.messages(), IsEmpty());
        bring_up();
        ASSERT_TRUE(read(row, sRmOnuCapaTable_column::sRmOnuCapaRowStatus));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        ASSERT_TRUE(read(row, 13));
        EXPECT_EQ(row.sRmOnuCapaTcontNum, 8);
        EXPECT_EQ(row.sRmOnuCapaGemucNum, 32);
        EXPECT_EQ(row.sRmOnuCapaQueueNum, 300);
        EXPECT_EQ(row.sRmOnuCapaCardNum, 2);
        EXPECT_EQ(row.sRmOnuCapaEthuniNum, 4);
        EXPECT_EQ(row.sRmOnuCapaSpecVersion, 0xa3);
        EXPECT_EQ(row.sRmOnuCapaOnuType, 1);
        EXPECT_EQ(row.sRmOnuCapaTxpowerCtrl, 1);
        EXPECT_EQ(row.sRmOnuCapaCard4EthuniNum, 9);
        EXPECT_EQ(row.sRmOnuCapaTrafficMagOption, 2);
        EXPECT_EQ(std::memcmp(row.sRmOnuCapaOperationId, "OPER", 4), 0);
        EXPECT_EQ(row.sRmOnuCapaQueueNumberTcont[31], 0x5a);
        const auto messages = chassis.messages();
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].type, CAPA_MESSAGE);
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(messages[0].record<CapaRecord>().onuIfindex, onu_ifindex_of(CAPA));
    });
}

TEST(RemoteCapability, AReadThatFailsFails) {
    run([](AppChassis& chassis) {
        bring_up();
        chassis.card_answers(CAPA_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        Capa row = CAPA;
        EXPECT_TRUE(read(row));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get which not support"));
        chassis.card_answers(CAPA_MESSAGE, 1009);
        EXPECT_FALSE(read(row));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get rmcapa from low level error"));
    });
}

// ---- commands ---------------------------------------------------------------------------------------------

TEST(RemoteInfo, ACommandIsSentOnceAndReadsZero) {
    struct Case {
        unsigned column;
        mib_long Info::*value;
        unsigned bit;
    };
    for (const Case& each : {Case{column::sRmInfoTableReboot, &Info::sRmInfoTableReboot, 11},
                             Case{column::sRmInfoTableMibSyn, &Info::sRmInfoTableMibSyn, 12},
                             Case{column::sRmInfoTableRestoreDefault, &Info::sRmInfoTableRestoreDefault, 21}})
        run([&](AppChassis& chassis) {
            for (const size_t time : {1u, 2u}) {
                EXPECT_EQ(command(each.column, each.value), OV_GPON_RET_OK);
                EXPECT_EQ(find_row(INFO)->*each.value, 0);
                ASSERT_THAT(chassis.messages(), SizeIs(time)); // a repeated write acts again
            }
            const CardMessage message = chassis.messages()[0];
            EXPECT_EQ(message.type, MESSAGE);
            EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_SET);
            EXPECT_EQ(message.mask, 1u << each.bit);
            EXPECT_TRUE(message.wants_reply);
            const auto record = message.record<InfoRecord>();
            EXPECT_EQ(record.onuIfindex, onu_ifindex_of(INFO));
            EXPECT_EQ(record.reboot, each.bit == 11 ? 1 : 0);
            EXPECT_EQ(record.mibSync, each.bit == 12 ? 1 : 0);
            EXPECT_EQ(record.restoreDefault, each.bit == 21 ? 1 : 0);
        });
}

TEST(RemoteInfo, CommandsOfOneWriteAreOneMessage) {
    run([](AppChassis& chassis) {
        Info row = INFO;
        row.sRmInfoTableReboot = 1;
        row.sRmInfoTableRestoreDefault = 1;
        MIB_Flags_t columns = columns_of(column::sRmInfoTableReboot, column::sRmInfoTableMibSyn,
                                         column::sRmInfoTableEqptID, column::sRmInfoTableRestoreDefault);
        EXPECT_EQ(ov_app_gpon_rminfo_edit(&row, &columns), OV_GPON_RET_OK);
        ASSERT_THAT(chassis.messages(), SizeIs(1));
        EXPECT_EQ(chassis.messages()[0].mask, 1u << 11 | 1u << 21);
    });
}

TEST(RemoteInfo, ZeroIsNoCommandAndNeitherIsAnyOtherNumber) {
    run([](AppChassis& chassis) {
        for (const mib_long value : {0, 2, -1}) {
            EXPECT_EQ(reboot(value), OV_GPON_RET_OK);
            EXPECT_EQ(find_row(INFO)->sRmInfoTableReboot, 0);
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(RemoteInfo, ACommandThatTheCardDoesNotKnowIsTakenAllTheSame) {
    run([](AppChassis& chassis) {
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(reboot(), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(INFO)->sRmInfoTableReboot, 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
    });
}

TEST(RemoteInfo, ACommandThatFailsIsRefusedAndForgotten) {
    run([](AppChassis& chassis) {
        chassis.card_answers(MESSAGE, 1009);
        Info row = INFO;
        row.sRmInfoTableReboot = 1;
        MIB_Flags_t columns = columns_of(column::sRmInfoTableReboot);
        EXPECT_EQ(ov_app_gpon_rminfo_edit(&row, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(row.sRmInfoTableReboot, 0);
        EXPECT_EQ(find_row(INFO)->sRmInfoTableReboot, 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rminfo to hal error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rm_info table"));
    });
}

TEST(RemoteInfo, NoCommandGoesToAnOnuOnAProtectingPort) {
    run([](AppChassis& chassis) {
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(reboot(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_THAT(chassis.hal.log.lines(), Contains("ov_rminfo_table_set_check_callback failed"));
    });
}

TEST(RemoteInfo, ACommandNeedsARowAndItsColumns) {
    run([](AppChassis& chassis) {
        Info row = onu_key<Info>(SLOT, PORT, 99);
        MIB_Flags_t columns = columns_of(column::sRmInfoTableReboot);
        EXPECT_EQ(ov_app_gpon_rminfo_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rminfo_edit(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(2));
        EXPECT_EQ(ov_app_gpon_rminfo_edit(&row, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- ONUs by equipment id ---------------------------------------------------------------------------------

void put_reported(int id, int port, const char* equipment, const char* version,
                  int state = SONUTABLEONUSTATE_OPERATIONAL) {
    ASSERT_EQ(new_onu(id, ("ABCD0000" + std::to_string(1000 + 10 * port + id)).c_str(), port).add(), 0);
    Info info = onu_key<Info>(SLOT, port, id);
    set_text(info.sRmInfoTableEqptID, equipment);
    ASSERT_TRUE(mib_access(MIB_SET_S_N, info, columns_of(column::sRmInfoTableEqptID)));
    Onu onu = onu_at(id, port);
    onu.sOnuTableOnuState = state;
    set_text(onu.sOnuTableOnuActVersion, version);
    ASSERT_TRUE(mib_access(MIB_SET_S_N, onu,
                           columns_of(onu_column::sOnuTableOnuState, onu_column::sOnuTableOnuActVersion)));
}

TEST(UpdateList, HasTheOnusOfAnEquipmentIdByPort) {
    run([](AppChassis& /*chassis*/) {
        put_reported(1, PORT, "HG8", "V1");
        put_reported(9, PORT, "HG8", "V1");
        put_reported(2, PORT, "HG9", "V1");                          // another model
        put_reported(3, PORT, "HG8", "V2");                          // has it already
        put_reported(4, PORT, "HG8", "V1", SONUTABLEONUSTATE_ADDED); // away
        put_reported(5, PORT, "", "V1");                             // never read
        put_reported(2, OTHER_PORT, "HG8", "");
        ovralist_t list;
        ovralist_init(&list);
        EXPECT_EQ(ov_app_gpon_rminfo_get_onu_update_list("V2", "HG8", &list), 3);
        ASSERT_EQ(ovralist_size(&list), 2u);
        const auto* first = static_cast<const ov_sOnuUpdateTable_attr_t*>(ovralist_findpos(&list, 0)->data);
        const auto* second = static_cast<const ov_sOnuUpdateTable_attr_t*>(ovralist_findpos(&list, 1)->data);
        EXPECT_EQ(first->shelfID, 1);
        EXPECT_EQ(first->slotID, SLOT);
        EXPECT_EQ(first->portID, PORT);
        EXPECT_EQ(first->sOnuUpdateOnuMask[0], 1 << 0); // ONU 1
        EXPECT_EQ(first->sOnuUpdateOnuMask[1], 1 << 0); // ONU 9
        EXPECT_EQ(second->portID, OTHER_PORT);
        EXPECT_EQ(second->sOnuUpdateOnuMask[0], 1 << 1);
        EXPECT_EQ(second->sOnuUpdateOnuMask[1], 0);
        ov_app_gpon_rminfo_release_onu_update_list(&list);
        EXPECT_EQ(ovralist_size(&list), 0u);
        EXPECT_EQ(ov_app_gpon_rminfo_get_onu_update_list("V2", "nobody", &list), 0);
        EXPECT_EQ(ov_app_gpon_rminfo_get_onu_update_list("V2", "", &list), 0);
        EXPECT_EQ(ovralist_size(&list), 0u);
    });
}

} // namespace
