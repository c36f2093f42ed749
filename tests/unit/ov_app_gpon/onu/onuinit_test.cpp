// ONUs that nobody has provisioned, as the cards report them.
#include "ov_app_gpon_onuinit.h"

#include "../support/onu_chassis.h"
#include "mmg_internal.h"
#include "ov_app_gpon_trap.h"
#include "sOnuInitTable.h"

using namespace onu_test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using UnknownOnu = ov_sOnuInitTable_attr_t;

namespace {

constexpr unsigned CARDS_NUMBER = 7;

const UnknownOnu* stored(unsigned number, int port = PORT) {
    UnknownOnu key = {};
    table_of<UnknownOnu>::module().set_index_at(&key, 1, AppChassis::SLOT, port, number);
    return find_row(key);
}

ov_gpon_uncfg_onu_attr_t report_of(unsigned number = CARDS_NUMBER) {
    ov_gpon_uncfg_onu_attr_t report = {};
    report.ponIfindex = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, AppChassis::SLOT, 0, PORT, 0);
    report.index = number;
    std::memcpy(report.sn, "ABCD\x00\x12\xff\x78", sizeof report.sn);
    std::memcpy(report.pw, "password-11", sizeof report.pw); // none of these with a terminator
    std::memcpy(report.loid, "loid-of-25-characters-....", sizeof report.loid);
    std::memcpy(report.loidPw, "loid-pass-13.", sizeof report.loidPw);
    std::memcpy(report.eqptId, "HG-1-equipment-of-21.", sizeof report.eqptId);
    return report;
}

// As it comes from the card.
void receive(int action, const ov_gpon_uncfg_onu_attr_t& report) {
    std::array<unsigned char, 8 + sizeof report> body = {0, 0, 0, static_cast<unsigned char>(action)};
    std::memcpy(body.data() + 8, &report, sizeof report);
    ov_hal_gpon_msg_recv(OV_HAL_MSG_GPON_UNCFG_ONU, body.data(), 16 + body.size());
}

TEST(UnconfiguredOnu, ReportMakesItsRow) {
    app_chassis::run([](AppChassis& chassis) {
        receive(OV_HAL_GPON_MSG_ACTION_CREATE, report_of());
        const UnknownOnu* row = stored(CARDS_NUMBER);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->sOnuInitTableIfIndex,
                  ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, AppChassis::SLOT, 0, PORT, CARDS_NUMBER));
        EXPECT_STREQ(row->sOnuInitTableSn, "ABCD0012ff78");
        EXPECT_STREQ(row->sOnuInitTablePw, "password-11");
        EXPECT_STREQ(row->sOnuInitTableLoid, "loid-of-25-characters-...");
        EXPECT_STREQ(row->sOnuInitTableLoidPw, "loid-pass-13.");
        EXPECT_STREQ(row->sOnuInitTableEqptId, "HG-1-equipment-of-21.");
        EXPECT_EQ(row->sOnuInitTableType, SONUINITTABLETYPE_SFU);
        EXPECT_EQ(row->sOnuInitTableRowStatus, OVRA_ACTIVE);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(UnconfiguredOnu, ReportTakenBackDeletesItsRowAndNoOther) {
    app_chassis::run([](AppChassis&) {
        receive(OV_HAL_GPON_MSG_ACTION_CREATE, report_of(7));
        receive(OV_HAL_GPON_MSG_ACTION_CREATE, report_of(8));
        receive(OV_HAL_GPON_MSG_ACTION_SET, report_of(8)); // no such report
        receive(OV_HAL_GPON_MSG_ACTION_DELETE, report_of(7));
        EXPECT_EQ(stored(7), nullptr);
        EXPECT_NE(stored(8), nullptr);
    });
}

TEST(UnconfiguredOnu, EditChangesTheRow) {
    app_chassis::run([](AppChassis&) {
        auto report = report_of();
        EXPECT_EQ(ov_app_gpon_unconfig_onu_add_by_lowlayer(&report), OV_GPON_RET_OK);
        std::memcpy(report.pw, "other\0", 6);
        EXPECT_EQ(ov_app_gpon_unconfig_onu_edit_by_lowlayer(&report), OV_GPON_RET_OK);
        EXPECT_STREQ(stored(CARDS_NUMBER)->sOnuInitTablePw, "other");
        EXPECT_EQ(stored(CARDS_NUMBER)->sOnuInitTableRowStatus, OVRA_ACTIVE);
    });
}

TEST(UnconfiguredOnu, AReportThatIsRepeatedIsNoFailureAndAnotherOfItsNameIs) {
    app_chassis::run([](AppChassis& chassis) {
        receive(OV_HAL_GPON_MSG_ACTION_CREATE, report_of());
        receive(OV_HAL_GPON_MSG_ACTION_CREATE, report_of());
        EXPECT_THAT(chassis.hal.log.file_text(), testing::Not(testing::HasSubstr("error/100")));
        auto other = report_of();
        other.pw[0] = 'P';
        receive(OV_HAL_GPON_MSG_ACTION_CREATE, other);
        EXPECT_THAT(chassis.hal.log.lines(), testing::Contains("add unconfig onu failure!: 1:3:4:7"));
        EXPECT_STREQ(stored(CARDS_NUMBER)->sOnuInitTablePw, "password-11");
    });
}

TEST(UnconfiguredOnu, WhatTheTableRefusesIsLogged) {
    app_chassis::run([](AppChassis& chassis) {
        auto report = report_of();
        EXPECT_EQ(ov_app_gpon_unconfig_onu_del_by_lowlayer(&report), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_unconfig_onu_edit_by_lowlayer(&report), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_unconfig_onu_add_by_lowlayer(&report), OV_GPON_RET_OK);
        EXPECT_EQ(ov_app_gpon_unconfig_onu_add_by_lowlayer(&report), OV_GPON_RET_BAD_PARAM); // it is there
        EXPECT_THAT(chassis.hal.log.lines(), IsSupersetOf({"delete unconfig onu failure!: 1:3:4:7",
                                                           "edit unconfig onu failure!: 1:3:4:7",
                                                           "add unconfig onu failure!: 1:3:4:7"}));
        EXPECT_STREQ(stored(CARDS_NUMBER)->sOnuInitTablePw, "password-11");
    });
}

// Whatever the card calls its port and its ONU: a row of that name, which goes as it came.
TEST(UnconfiguredOnu, ReportsOfImpossiblePlacesAreTakenAndTakenBack) {
    app_chassis::run([](AppChassis& chassis) {
        for (const uint32_t port : {0u, 0xffffffffu, 0x0a010000u, 77u})
            for (const uint32_t number : {0u, 129u, 70000u, 0xffffffffu}) {
                SCOPED_TRACE(testing::Message() << port << " " << number);
                auto report = report_of(number);
                report.ponIfindex = port;
                receive(OV_HAL_GPON_MSG_ACTION_CREATE, report);
                int rows = 0;
                for (const UnknownOnu& row : all_rows<UnknownOnu>()) {
                    ++rows;
                    EXPECT_EQ(row.slotID, static_cast<int32_t>(ov_ifindex_get_slot_id(port)));
                    EXPECT_EQ(row.portID, static_cast<int32_t>(ov_ifindex_get_port_id(port)));
                    EXPECT_EQ(row.sOnuInitTableTmpOnuId, number);
                }
                EXPECT_EQ(rows, 1);
                receive(OV_HAL_GPON_MSG_ACTION_DELETE, report);
                EXPECT_EQ(get_row_num(did_of<UnknownOnu>()), 0);
            }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(UnconfiguredOnu, NoReportIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_unconfig_onu_add_by_lowlayer(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_unconfig_onu_edit_by_lowlayer(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_unconfig_onu_del_by_lowlayer(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("null pointer", "null pointer", "null pointer"));
    });
}

} // namespace
