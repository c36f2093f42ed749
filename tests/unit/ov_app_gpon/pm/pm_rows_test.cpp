// Rows of counters: they come and go with a switch, and a read brings them up to date.
#include "pm_chassis.h"

#include "ov_app_gpon_stat_onu.h"
#include "ov_app_uplink_pm_action.h"
#include "sPonTable.h"
#include "uclient.h"

using namespace pm_test;
using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

namespace {

using Port = ov_sPonTable_attr_t;
using Onu = ov_sOnuTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using Action = ov_uplinkPmActTable_attr_t;

bool switch_port(mib_long on, unsigned column, mib_long Port::*enable) {
    return edit(port_row<Port>(), column, [&](Port& row) { row.*enable = on; });
}
bool switch_pon(mib_long on) {
    return switch_port(on, sPonTable_column::sPonTablePmEnable, &Port::sPonTablePmEnable);
}
bool switch_nni(mib_long on) {
    return switch_port(on, sPonTable_column::sPonTableNniPmEnable, &Port::sPonTableNniPmEnable);
}

// A port whose switch is on, and a card that answers with counters from 1 up.
void put_counting_port(AppChassis& chassis) {
    chassis.put_port(PORT);
    ov_gpon_port_pkt_sta_attr_t record = {};
    record.pondata.fec_codewords = 1;
    record.pondata.tx_dropped_vid_miss = 30;
    chassis.card_reads(OV_HAL_MSG_GPON_PM_PON, record);
}

TEST(PmRows, ASwitchMakesARowWithTheCountersOfTheReadThatClears) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_counting_port(chassis);
        ASSERT_TRUE(switch_pon(1));
        const PonPm* row = find_row(port_row<PonPm>());
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->ppmFecCodeWords, 1u);
        EXPECT_EQ(row->ppmTxDroppedVidMiss, 30u);
        EXPECT_EQ(row->ppmStartTimeStamp, uint32_t(AT_10_15));
        EXPECT_EQ(row->ppmStopTimeStamp, uint32_t(AT_10_15));
        EXPECT_EQ(row->ppmDataValid, PPMDATAVALID_AVAILABLE);
        EXPECT_EQ(row->ppmRowStatus, OVRA_ACTIVE);
        EXPECT_EQ(row->ppmThrProfileId, 0);
        const auto sent = chassis.messages_of(OV_HAL_MSG_GPON_PM_PON);
        ASSERT_THAT(sent, SizeIs(1));
        EXPECT_EQ(sent[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(sent[0].mask, 0u);
        const auto record = sent[0].record<ov_gpon_port_pkt_sta_attr_t>();
        EXPECT_EQ(record.index.ifIndex, port_ifindex(PORT_TYPE_GPON, SLOT, PORT));
        EXPECT_EQ(record.index.read_clean, 1u);
    });
}

TEST(PmRows, ASwitchThatIsOnAlreadyDoesNothingAndOneThatIsOffTakesTheRow) {
    run([](AppChassis& chassis) {
        put_counting_port(chassis);
        ASSERT_TRUE(switch_pon(1));
        ASSERT_TRUE(switch_pon(1));
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PM_PON), SizeIs(1));
        ASSERT_TRUE(switch_pon(0));
        EXPECT_EQ(find_row(port_row<PonPm>()), nullptr);
        ASSERT_TRUE(switch_pon(0));
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PM_PON), SizeIs(1));
    });
}

TEST(PmRows, ARowThatIsMissingComesWhenTheSwitchIsWrittenAgain) {
    run([](AppChassis& chassis) {
        put_counting_port(chassis);
        ASSERT_TRUE(switch_pon(1));
        auto row = port_row<PonPm>();
        ASSERT_TRUE(mib_access(MIB_DEL, row));
        ASSERT_TRUE(switch_pon(1));
        EXPECT_NE(find_row(port_row<PonPm>()), nullptr);
    });
}

TEST(PmRows, AnotherColumnOfTheOwnerTouchesNothing) {
    run([](AppChassis& chassis) {
        put_counting_port(chassis);
        ASSERT_TRUE(switch_pon(1));
        auto gone = port_row<PonPm>();
        ASSERT_TRUE(mib_access(MIB_DEL, gone));
        ASSERT_TRUE(switch_nni(0));
        EXPECT_EQ(find_row(port_row<PonPm>()), nullptr);
    });
}

TEST(PmRows, ACreatingReadThatFailsMakesTheRowAllTheSame) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_counting_port(chassis);
        chassis.card_answers(OV_HAL_MSG_GPON_PM_PON, 1009);
        ASSERT_TRUE(switch_pon(1));
        const PonPm* row = find_row(port_row<PonPm>());
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->ppmFecCodeWords, 0u);
        EXPECT_EQ(row->ppmDataValid, PPMDATAVALID_NA);
        EXPECT_EQ(row->ppmStartTimeStamp, uint32_t(AT_10_15));
        EXPECT_EQ(row->ppmStopTimeStamp, 0u);
    });
}

TEST(PmRows, ThePortsEndTakesItsRows) {
    run([](AppChassis& chassis) {
        put_counting_port(chassis);
        ASSERT_TRUE(switch_pon(1));
        ASSERT_TRUE(switch_nni(1));
        auto port = port_row<Port>();
        ASSERT_TRUE(mib_access(MIB_DEL, port));
        EXPECT_EQ(find_row(port_row<PonPm>()), nullptr);
        EXPECT_EQ(find_row(port_row<NniPm>()), nullptr);
    });
}

TEST(PmRows, TheNetworkSideHasSixtyThreeCounters) {
    run([](AppChassis& chassis) {
        chassis.put_port(PORT);
        ov_gpon_nni_pkt_sta_attr_t record = {};
        record.nnidata.rx_frames_64 = 1;
        record.nnidata.rx_runt_frames = 35;
        record.nnidata.tx_frames_64 = 36;
        record.nnidata.tx_underrun_frames = uint64_t{1} << 40;
        chassis.card_reads(OV_HAL_MSG_GPON_PM_NNI, record);
        ASSERT_TRUE(switch_nni(1));
        const NniPm* row = find_row(port_row<NniPm>());
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->ppmRxframes64, 1u);
        EXPECT_EQ(row->ppmRxRuntframes, 35u);
        EXPECT_EQ(row->ppmTxFrame64, 36u);
        EXPECT_EQ(row->ppmTxUnderrunFrames, uint64_t{1} << 40);
        EXPECT_EQ(row->npmDataValid, NPMDATAVALID_AVAILABLE);
        ASSERT_TRUE(switch_nni(0));
        EXPECT_EQ(find_row(port_row<NniPm>()), nullptr);
    });
}

// ---- ONUs and GEM ports -----------------------------------------------------------------------------------

ov_gpon_onu_pkt_sta_attr_t onu_record() {
    ov_gpon_onu_pkt_sta_attr_t record = {};
    record.onudata.fec_codewords = 1;
    record.onudata.negative_drift = 10;
    record.onudata.rx_omci = 999; // no column
    record.onudata.rx_omci_packets_crc_error = 11;
    record.onudata.rdi_errors = 15;
    record.onudata.rx_bytes = 16;
    record.onudata.tx_packets = 19;
    return record;
}

TEST(PmRows, AnOnuHasNineteenCounters) {
    run([](AppChassis& chassis) {
        chassis.put_row<Onu>([](Onu&) {}, 1, SLOT, PORT, ONU);
        chassis.card_reads(OV_HAL_MSG_GPON_PM_ONU, onu_record());
        auto onu = onu_row<Onu>();
        onu.sOnuTablePmEnable = 1;
        const MIB_Flags_t columns = columns_of(sOnuTable_column::sOnuTablePmEnable);
        onu.sOnuTableRowStatus = OVRA_ACTIVE;
        onu.old_sOnuTableRowStatus = OVRA_ACTIVE;
        ASSERT_EQ(pmonu_table_onu_set(did_of<Onu>(), &onu, columns), 1);
        const OnuPm* row = stored_onu_pm(ONU);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->opmFecCodeWords, 1u);
        EXPECT_EQ(row->opmNegativeDrift, 10u);
        EXPECT_EQ(row->opmRxOmciPacketsCrcError, 11u);
        EXPECT_EQ(row->opmRdiErrors, 15u);
        EXPECT_EQ(row->opmRxBytes, 16u);
        EXPECT_EQ(row->opmTxPackets, 19u);
        EXPECT_EQ(
            chassis.messages_of(OV_HAL_MSG_GPON_PM_ONU)[0].record<ov_gpon_onu_pkt_sta_attr_t>().index.ifIndex,
            onu_ifindex(SLOT, PORT, ONU));
        onu.sOnuTablePmEnable = 0;
        ASSERT_EQ(pmonu_table_onu_set(did_of<Onu>(), &onu, columns), 1);
        EXPECT_EQ(stored_onu_pm(ONU), nullptr);
    });
}

GemPm gem_pm(unsigned gem) {
    auto row = onu_row<GemPm>();
    row.gemID = gem;
    return row;
}

TEST(PmRows, AGemPortOfAProfileFollowsTheOnu) {
    run([](AppChassis& chassis) {
        ov_gpon_gem_pkt_sta_attr_t record = {};
        record.gemdata.rx_packets = 1;
        record.gemdata.tx_bytes = 4;
        chassis.card_reads(OV_HAL_MSG_GPON_PM_GEM, record);
        auto gem = onu_row<Gem>();
        gem.gemID = 3;
        gem.sGemTablePmEnable = 1;
        const MIB_Flags_t enable = columns_of(sGemTable_column::sGemTablePmEnable);
        EXPECT_EQ(ov_app_gpon_pm_gem_edit(&gem, {}, 1), 0); // the column isn't meant
        EXPECT_EQ(find_row(gem_pm(3)), nullptr);
        EXPECT_EQ(ov_app_gpon_pm_gem_edit(&gem, enable, 1), 0);
        ASSERT_NE(find_row(gem_pm(3)), nullptr);
        EXPECT_EQ(find_row(gem_pm(3))->gpmRxPackets, 1u);
        EXPECT_EQ(find_row(gem_pm(3))->gpmTxBytes, 4u);
        EXPECT_EQ(
            chassis.messages_of(OV_HAL_MSG_GPON_PM_GEM)[0].record<ov_gpon_gem_pkt_sta_attr_t>().index.ifIndex,
            gemport_ifindex(gem, 3));
        EXPECT_EQ(ov_app_gpon_pm_gem_edit(&gem, enable, 0), 0);
        EXPECT_EQ(find_row(gem_pm(3)), nullptr);
        gem.sGemTablePmEnable = 0;
        EXPECT_EQ(ov_app_gpon_pm_gem_edit(&gem, enable, 1), 0);
        EXPECT_EQ(find_row(gem_pm(3)), nullptr);
        EXPECT_EQ(ov_app_gpon_pm_gem_edit(nullptr, enable, 1), OV_GPON_RET_FAIL);
    });
}

TEST(PmRows, AGemPortsSwitchMakesAndTakesItsRow) {
    run([](AppChassis& chassis) {
        chassis.put_row<Gem>([](Gem&) {}, 1, SLOT, PORT, ONU, 3);
        auto gem = onu_row<Gem>();
        gem.gemID = 3;
        const auto set = [&](mib_long on) {
            return edit(gem, sGemTable_column::sGemTablePmEnable,
                        [on](Gem& row) { row.sGemTablePmEnable = on; });
        };
        ASSERT_TRUE(set(1));
        EXPECT_NE(find_row(gem_pm(3)), nullptr);
        ASSERT_TRUE(set(0));
        EXPECT_EQ(find_row(gem_pm(3)), nullptr);
    });
}

// ---- reads ------------------------------------------------------------------------------------------------

TEST(PmRows, AReadOfTheTableBringsTheRunningValueAndClearsNothing) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_counting_port(chassis);
        ASSERT_TRUE(switch_pon(1));
        ov_gpon_port_pkt_sta_attr_t record = {};
        record.pondata.fec_codewords = 50;
        chassis.card_reads(OV_HAL_MSG_GPON_PM_PON, record);
        chassis.forget_messages();
        clock.advance(61s);
        auto row = port_row<PonPm>();
        ASSERT_TRUE(mib_access(MIB_GET, row, columns_of(1u)));
        EXPECT_EQ(row.ppmFecCodeWords, 50u);
        EXPECT_EQ(row.ppmStartTimeStamp, uint32_t(AT_10_15));
        EXPECT_EQ(row.ppmStopTimeStamp, uint32_t(AT_10_15) + 61);
        EXPECT_EQ(find_row(row)->ppmFecCodeWords, 50u); // the stored row has them too
        const auto sent = chassis.messages_of(OV_HAL_MSG_GPON_PM_PON);
        ASSERT_THAT(sent, SizeIs(1));
        EXPECT_EQ(sent[0].record<ov_gpon_port_pkt_sta_attr_t>().index.read_clean, 0u);
        ASSERT_TRUE(mib_access(MIB_GET, row, columns_of(2u))); // not the column that brings them
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PM_PON), SizeIs(1));
    });
}

TEST(PmRows, AReadThatFailsIsRefusedAndOneThatTheCardDoesNotKnowIsNot) {
    run([](AppChassis& chassis) {
        put_counting_port(chassis);
        ASSERT_TRUE(switch_pon(1));
        auto row = port_row<PonPm>();
        chassis.card_answers(OV_HAL_MSG_GPON_PM_PON, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_TRUE(mib_access(MIB_GET, row));
        EXPECT_TRUE(logged(chassis, "get which not support"));
        EXPECT_EQ(row.ppmFecCodeWords, 1u);
        EXPECT_EQ(row.ppmDataValid, PPMDATAVALID_NA);
        chassis.card_answers(OV_HAL_MSG_GPON_PM_PON, 1009);
        EXPECT_FALSE(mib_access(MIB_GET, row));
        EXPECT_TRUE(logged(chassis, "get pm data for pon port error"));
    });
}

TEST(PmRows, EachFamilySaysWhatItCouldNotRead) {
    run([](AppChassis& chassis) {
        hal_slot_active_flag_clear("test", 0, SLOT);
        auto onu = onu_row<OnuPm>();
        auto gem = gem_pm(3);
        auto nni = port_row<NniPm>();
        auto uplink = port_row<UplinkPm>();
        EXPECT_EQ(pmonu_table_self_get({}, &onu, {}), 0);
        EXPECT_EQ(pmgem_table_self_get({}, &gem, {}), 0);
        EXPECT_EQ(pmnni_table_self_get({}, &nni, {}), 0);
        EXPECT_EQ(pm_uplink_table_self_get({}, &uplink, {}), 0);
        for (const char* line : {"get pm data for onu error", "get pm data for gem port error",
                                 "get pm data for pon port error", "get pm data for uplink error",
                                 "Cannot find uplink interface by phy info shelf 1 slot 3 port 4"})
            EXPECT_TRUE(logged(chassis, line)) << line;
        EXPECT_EQ(onu.opmDataValid, OPMDATAVALID_NA);
        EXPECT_EQ(gem.gpmDataValid, GPMDATAVALID_NA);
        EXPECT_EQ(nni.npmDataValid, NPMDATAVALID_NA);
        EXPECT_EQ(uplink.uplinkPmDataValid, UPLINKPMDATAVALID_NA);
    });
}

TEST(PmRows, AShowGetsTheCountersAloneAndMayClear) {
    run([](AppChassis& chassis) {
        put_counting_port(chassis);
        auto row = port_row<PonPm>();
        row.ppmStopTimeStamp = 17;
        EXPECT_EQ(ov_get_pon_pm_data_from_hal(&row, 1), 0);
        EXPECT_EQ(row.ppmFecCodeWords, 1u);
        EXPECT_EQ(row.ppmStopTimeStamp, 17u);
        EXPECT_EQ(row.ppmDataValid, 0);
        EXPECT_EQ(ov_get_pon_pm_data_from_hal(&row, 0), 0);
        const auto sent = chassis.messages_of(OV_HAL_MSG_GPON_PM_PON);
        ASSERT_THAT(sent, SizeIs(2));
        EXPECT_EQ(sent[0].record<ov_gpon_port_pkt_sta_attr_t>().index.read_clean, 1u);
        EXPECT_EQ(sent[1].record<ov_gpon_port_pkt_sta_attr_t>().index.read_clean, 0u);
        chassis.card_answers(OV_HAL_MSG_GPON_PM_PON, 1009);
        EXPECT_NE(ov_get_pon_pm_data_from_hal(&row, 0), 0);
        EXPECT_EQ(row.ppmFecCodeWords, 1u);
        EXPECT_EQ(row.ppmDataValid, 0);
        EXPECT_EQ(get_pon_pm_data_from_hal({}, nullptr, 0, 0), OV_GPON_RET_BAD_PARAM);
    });
}

// ---- uplink ports -----------------------------------------------------------------------------------------

constexpr int STAT_CLEAR = 96;
constexpr int STAT_GET = 97;

void put_uplink() {
    umsg_if_t record = {};
    record.ifindex = port_ifindex(PORT_TYPE_XE, SLOT, PORT);
    snprintf(record.name, sizeof record.name, "xe1/3/4");
    ASSERT_NE(uclient_new_if(&record), nullptr);
}
Action action_row() {
    return port_row<Action>();
}

TEST(PmRows, AnUplinkPortsRowComesWithItsAction) {
    run([](AppChassis& chassis) {
        put_uplink();
        Action port = action_row();
        MIB_Flags_t flags = {};
        ASSERT_EQ(ov_app_uplink_pm_action_add(&port, &flags), 0);
        EXPECT_TRUE(mib_flag_is_set(flags, 1) && mib_flag_is_set(flags, 2));
        ASSERT_NE(find_row(action_row()), nullptr);
        EXPECT_EQ(find_row(action_row())->uplinkPmAction, UPLINKPMACTION_DISABLE);
        EXPECT_EQ(find_row(port_row<UplinkPm>()), nullptr);
        Action on = action_row();
        on.uplinkPmAction = UPLINKPMACTION_ENABLE;
        MIB_Flags_t action = columns_of(uplinkPmActTable_column::uplinkPmAction);
        ASSERT_EQ(ov_app_uplink_pm_action_edit(&on, &action), 0);
        const UplinkPm* row = find_row(port_row<UplinkPm>());
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->uplinkPmDataValid, UPLINKPMDATAVALID_AVAILABLE);
        // read, and cleared behind that
        EXPECT_THAT(chassis.messages_of(STAT_GET), SizeIs(1));
        EXPECT_THAT(chassis.messages_of(STAT_CLEAR), SizeIs(1));
        Action again = action_row(); // with another action
        ASSERT_EQ(ov_app_uplink_pm_action_add(&again, &flags), 0);
        EXPECT_EQ(find_row(action_row())->uplinkPmAction, UPLINKPMACTION_ENABLE);
        EXPECT_NE(find_row(port_row<UplinkPm>()), nullptr);
        Action gone = action_row();
        ASSERT_EQ(ov_app_uplink_pm_action_del(&gone), 0);
        EXPECT_EQ(find_row(port_row<UplinkPm>()), nullptr);
        EXPECT_NE(ov_app_uplink_pm_action_del(&gone), 0);
        EXPECT_EQ(ov_app_uplink_pm_action_add(nullptr, &flags), OV_GPON_RET_BAD_PARAM);
    });
}

TEST(PmRows, AnUplinkPortHasThirtySixCounters) {
    run([](AppChassis& chassis) {
        put_uplink();
        chassis.card.behave([](FakeCard& card, const wire::Bytes& request) {
            wire::Bytes reply = card.reply_to(request, 0);
            for (uint32_t n = 0; n < 36 && wire::get16(request, wire::NL + 4) == STAT_GET; ++n)
                wire::put32(reply, wire::PAYLOAD + 8 + 8 * n + 4, 100 + n);
            card.answer(request, reply);
        });
        auto row = port_row<UplinkPm>();
        EXPECT_EQ(get_ui_pm_data_from_hal({}, &row, 0, 0), 0);
        EXPECT_EQ(row.rxPackets, 100u);
        EXPECT_EQ(row.outLate, 117u);
        EXPECT_EQ(row.txPkts4095to9216Octets, 135u);
        EXPECT_EQ(chassis.messages_of(STAT_CLEAR).size(), 0u);
        hal_slot_active_flag_clear("test", 0, SLOT);
        EXPECT_EQ(get_ui_pm_data_from_hal({}, &row, 0, 0), OV_GPON_RET_FAIL);
        EXPECT_EQ(row.rxPackets, 100u);
        EXPECT_EQ(row.uplinkPmDataValid, UPLINKPMDATAVALID_NA);
        auto nobody = port_row<UplinkPm>(9);
        EXPECT_EQ(get_ui_pm_data_from_hal({}, &nobody, 0, 0), OV_GPON_RET_NOT_FOUND);
    });
}

TEST(PmRows, ThePassOverUplinkPortsReadsAndClearsEach) {
    run([](AppChassis& chassis) {
        put_uplink();
        chassis.put_row<UplinkPm>([](UplinkPm&) {}, 1, SLOT, PORT);
        chassis.put_row<UplinkPm>([](UplinkPm&) {}, 1, SLOT, PORT + 1); // no such interface
        ASSERT_TRUE(run_pass(UPLINK_PM, get_ui_pm_data_task));
        EXPECT_EQ(find_row(port_row<UplinkPm>())->uplinkPmDataValid, UPLINKPMDATAVALID_AVAILABLE);
        EXPECT_EQ(find_row(port_row<UplinkPm>(PORT + 1))->uplinkPmDataValid, UPLINKPMDATAVALID_NA);
        ASSERT_THAT(chassis.messages(2), SizeIs(2));
        EXPECT_EQ(chassis.messages()[0].type, STAT_GET);
        EXPECT_EQ(chassis.messages()[1].type, STAT_CLEAR);
    });
}

// ---- present readings of an ONU ---------------------------------------------------------------------------

using Stat = ov_onuStatTable_attr_t;

int follow_onu(int old_status, int status) {
    auto onu = onu_row<Onu>();
    onu.sOnuTableRowStatus = status;
    onu.old_sOnuTableRowStatus = old_status;
    return onu_stat_table_onu_set_callback(did_of<Onu>(), &onu, {});
}

TEST(OnuStat, ARowIsThereAsLongAsTheOnuAndIsFilledByARead) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(follow_onu(OVRA_CREATEANDGO, OVRA_CREATEANDGO), 1);
        auto row = onu_row<Stat>();
        ASSERT_NE(find_row(row), nullptr);
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PM_ONU), IsEmpty());
        chassis.card_reads(OV_HAL_MSG_GPON_PM_ONU, onu_record());
        ASSERT_TRUE(mib_access(MIB_GET, row, columns_of(1u)));
        EXPECT_EQ(row.onuStatRxBytes, 16u);
        EXPECT_EQ(row.onuStatTxPackets, 19u);
        EXPECT_EQ(row.onuStatFecCodeWords, 1u);
        EXPECT_EQ(row.onuStatRxOmciPacketsCrcError, 11u);
        EXPECT_EQ(row.onuStatRdiErrors, 15u);
        chassis.card_answers(OV_HAL_MSG_GPON_PM_ONU, 1009);
        EXPECT_TRUE(mib_access(MIB_GET, row, columns_of(19u)));
        EXPECT_EQ(row.onuStatRxBytes, 16u); // those before
        EXPECT_TRUE(logged(chassis, "get onu stat data for onu error"));
        EXPECT_EQ(follow_onu(OVRA_ACTIVE, OVRA_DESTROY), 1);
        EXPECT_EQ(find_row(row), nullptr);
        EXPECT_EQ(follow_onu(OVRA_ACTIVE, OVRA_DESTROY), 1);
        EXPECT_TRUE(logged(chassis, "there is no onu stat table,just return MIB OK"));
    });
}

TEST(OnuStat, AReadClearsWhereTheRowSaysSo) {
    run([](AppChassis& chassis) {
        follow_onu(OVRA_CREATEANDGO, OVRA_CREATEANDGO);
        auto row = onu_row<Stat>();
        row.onuStatReadClearOperation = 1;
        ASSERT_TRUE(mib_access(MIB_SET, row, columns_of(onuStatTable_column::onuStatReadClearOperation)));
        ASSERT_TRUE(mib_access(MIB_GET, row, columns_of(7u)));
        ASSERT_TRUE(mib_access(MIB_GET, row, columns_of(onuStatTable_column::onuStatReadClearOperation)));
        const auto sent = chassis.messages_of(OV_HAL_MSG_GPON_PM_ONU);
        ASSERT_THAT(sent, SizeIs(1));
        EXPECT_EQ(sent[0].record<ov_gpon_onu_pkt_sta_attr_t>().index.read_clean, 1u);
    });
}

} // namespace
