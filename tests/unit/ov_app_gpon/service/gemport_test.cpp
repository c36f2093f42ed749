// GEM ports: what a row must meet, what it takes of its port, and what the card hears.
#include "../../support/test_clock.h"
#include "../support/provisioning_chassis.h"

using namespace provisioning;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int BAD_PARAM = OV_GPON_RET_BAD_PARAM;
namespace column = sGemTable_column;

ov_ifindex_t ifindex_of(const Gem& row) {
    return ov_ifindex_gen_by_extendinfo(PORT_TYPE_GEMPORT, uint8_t(row.shelfID), uint8_t(row.slotID), 0,
                                        uint16_t(row.portID), uint16_t(row.onuId), uint16_t(row.gemID), 0, 0);
}

// With T-CONT 1 on the ONU and in the service profile.
void run_with_tcont(const std::function<void(AppChassis&)>& body) {
    provisioning::run([&](AppChassis& chassis) {
        ASSERT_EQ(add(tcont(1, "none")), 0);
        ASSERT_EQ(add(template_tcont(1, "none")), 0);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

TEST(Gemport, ACreatedRowReservesAndReachesTheCard) {
    run_with_tcont([](AppChassis& chassis) {
        Gem row = gem(9, 1);
        strcpy(row.sGemTableGemName, "data");
        strcpy(row.sGemTableUpTrafficName, "up");
        strcpy(row.sGemTableDownTrafficName, "down");
        row.sGemTableSrvPortNum = 2;
        row.sGemTableDirection = 3;
        row.sGemTableIfEnableEncryption = 1;
        row.sGemTableUpQueueMapID = 6;
        MIB_Flags_t columns = columns_of(4u, 5u, 6u, 8u, 10u, 12u, 13u, 14u);
        ASSERT_EQ(ov_app_gpon_gemport_add(&row, &columns, 1), 0);

        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].type, 909);
        EXPECT_EQ(messages[0].action, CREATE);
        EXPECT_EQ(messages[0].mask,
                  1u << 0 | 1u << 1 | 1u << 2 | 1u << 7 | 1u << 8 | 1u << 9 | 1u << 10 | 1u << 11 | 1u << 12);
        wire::Bytes expected(168);
        wire::put32(expected, 0, ifindex_of(row));
        std::copy_n("data", 4, expected.begin() + 4);
        wire::put32(expected, 72, 1);
        wire::put32(expected, 80, 6);
        wire::put32(expected, 92, 3);
        wire::put32(expected, 96, 2);
        expected[100] = 1;
        std::copy_n("up", 2, expected.begin() + 101);
        std::copy_n("down", 4, expected.begin() + 134);
        EXPECT_EQ(record_bytes<ov_gpon_gemport_attr_t>(messages[0]), expected);

        const Gem* made = find_row(row);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(made->sGemTableIfIndex, ifindex_of(row));
        EXPECT_EQ(held_of(PORT).gems, 1);
    });
}

TEST(Gemport, TheMaskIsThatOfTheColumnMap) {
    const std::map<unsigned, uint32_t> bits = {{1, 12},  {2, 0},   {3, 12},  {4, 1},  {5, 2},
                                               {6, 8},   {7, 12},  {8, 7},   {9, 12}, {10, 9},
                                               {11, 12}, {12, 12}, {13, 10}, {14, 11}};
    for (unsigned number = 0; number < 32; ++number) {
        Gem row = {};
        ov_gpon_gemport_attr_t record = {};
        ov_bmp_t mask = -1;
        sgemport_mib_data_convert_to_hal(&row, &record, columns_of(number), &mask);
        const auto bit = bits.find(number);
        EXPECT_EQ(static_cast<uint32_t>(mask), bit == bits.end() ? 0 : 1u << bit->second) << number;
    }
}

TEST(Gemport, LongTrafficNamesAreCutToTheRecord) {
    Gem row = {};
    memset(row.sGemTableUpTrafficName, 'u', sGemTable_limit::sGemTableUpTrafficName);
    memset(row.sGemTableDownTrafficName, 'd', sGemTable_limit::sGemTableDownTrafficName);
    ov_gpon_gemport_attr_t record = {};
    ov_bmp_t mask = 0;
    sgemport_mib_data_convert_to_hal(&row, &record, {}, &mask);
    EXPECT_EQ(std::string(record.upTrfDescripName), std::string(32, 'u'));
    EXPECT_EQ(std::string(record.downTrfDescripName), std::string(32, 'd'));
}

TEST(Gemport, ARowWithoutInterfaceIndexGetsOne) {
    run_with_tcont([](AppChassis& chassis) {
        Gem row = gem(9, 1);
        row.sGemTableRowStatus = OVRA_CREATEANDGO;
        ASSERT_TRUE(mib_access(MIB_SET, row, columns_of(5u, 9u)));
        EXPECT_EQ(find_row(row)->sGemTableIfIndex, ifindex_of(row));
        EXPECT_EQ(chassis.messages(1).at(0).record<ov_gpon_gemport_attr_t>().ifindex, ifindex_of(row));
    });
}

TEST(Gemport, ItsTcontMustExist) {
    run_with_tcont([](AppChassis& chassis) {
        EXPECT_EQ(add(gem(9, 2)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "tcont id 2 is not exist"));
        EXPECT_TRUE(logged(chassis, "mib add error for gemport table"));
        ASSERT_EQ(add(gem(9, 1)), 0);
        EXPECT_EQ(edit(gem(9, 2), columns_of(5u)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "mib set error for gemport table"));
        // only asked for when the column is written
        EXPECT_EQ(add(gem(10, 2), {}), 0);
        EXPECT_EQ(held_of(PORT).gems, 2);
    });
}

TEST(Gemport, ItsTcontIsAskedForBeforeItsOwnerAndThisBeforeItsIndex) {
    run_with_tcont([](AppChassis& chassis) {
        Gem row = gem(0, 2, SLOT, PORT, 99);
        EXPECT_EQ(ov_app_gpon_gemport_check(&row, CREATE, GEM_COLUMNS), 0);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("tcont id 2 is not exist"));
        LogCapture::clear();
        EXPECT_EQ(ov_app_gpon_gemport_check(&row, CREATE, {}), 0);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("onu id 99 is not exist"));
        LogCapture::clear();
        EXPECT_EQ(ov_app_gpon_gemport_check(&row, DELETE, GEM_COLUMNS), 0);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("onu id 99 is not exist"));
        EXPECT_EQ(add(gem(0, 1)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "illega gem index:1.3.4.7.0:"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// Its interface index has 7 bits for its number: 129 would be GEM port 1 on the card.
TEST(Gemport, ANumberThatItsInterfaceIndexCannotHoldIsRefused) {
    run_with_tcont([](AppChassis& chassis) {
        EXPECT_EQ(add(gem(129, 1)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "illega gem index:1.3.4.7.129:"));
        EXPECT_EQ(add(gem(257, 1)), BAD_PARAM);
        EXPECT_EQ(add(gem(0x80000001u, 1)), BAD_PARAM);
        EXPECT_EQ(add(template_gem(129, 1)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "illega gem index:1.31.15.5.129:"));
        EXPECT_EQ(held_of(PORT).gems, 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(add(gem(128, 1)), 0);
        EXPECT_EQ(add(template_gem(128, 1)), 0);
    });
}

TEST(Gemport, TheOnuMustHaveTheQueue) {
    run_with_tcont([](AppChassis& chassis) {
        Gem row = gem(9, 1);
        row.sGemTableUpQueueMapID = QUEUES;
        EXPECT_EQ(add(row, columns_of(5u, 12u)), 0);
        row = gem(10, 1);
        row.sGemTableUpQueueMapID = QUEUES + 1;
        LogCapture::clear();
        EXPECT_EQ(add(row, columns_of(5u, 12u)), BAD_PARAM);
        row.sGemTableUpQueueMapID = 0xFFFFFFFF;
        EXPECT_EQ(add(row, columns_of(5u, 12u)), BAD_PARAM);
        for (const std::string& line : chassis.hal.log.lines())
            EXPECT_THAT(line, testing::Not(testing::HasSubstr("queue"))) << line;
        EXPECT_EQ(held_of(PORT).gems, 1);
        // without a type there is no queue
        ov_sOnuTypeProfileTable_attr_t type = {};
        type.onuTypeProfileId = ONU_TYPE;
        ASSERT_TRUE(mib_access(MIB_DEL_S_N, type));
        EXPECT_EQ(add(gem(10, 1)), BAD_PARAM);
    });
}

TEST(Gemport, APortHoldsSoManyAndNoMore) {
    run_with_tcont([](AppChassis& chassis) {
        for (int onu = 1; onu <= 8; ++onu) {
            if (onu != ONU)
                put_onu(chassis, PORT, onu);
            for (unsigned id = 1; id <= 128; ++id)
                ASSERT_EQ(add(gem(id, 0, SLOT, PORT, onu), {}), 0) << onu << " " << id;
        }
        put_onu(chassis, PORT, 9);
        EXPECT_EQ(add(gem(1, 0, SLOT, PORT, 9), {}), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "reserve gem info error slot 3 port 4"));
        EXPECT_EQ(held_of(PORT).gems, 1024);
    });
}

TEST(Gemport, AChangeOfMonitoringDoesntReachTheCard) {
    run_with_tcont([](AppChassis& chassis) {
        ASSERT_EQ(add(gem(9, 1)), 0);
        chassis.forget_messages();
        Gem row = gem(9, 1);
        row.sGemTablePmEnable = 1;
        // alone it passes no callback, so not even a protecting port refuses it
        give_role(OV_PON_PROTECT_PON_STATUS_PROTECTING);
        EXPECT_EQ(edit(row, columns_of(11u)), 0);
        EXPECT_EQ(find_row(row)->sGemTablePmEnable, 1);
        EXPECT_EQ(edit(row, columns_of(10u, 11u)), BAD_PARAM);
        give_role(OV_PON_PROTECT_PON_STATUS_NONE);
        row.sGemTableIfEnableEncryption = 1;
        EXPECT_EQ(edit(row, columns_of(10u, 11u)), 0);
        EXPECT_EQ(find_row(row)->sGemTableIfEnableEncryption, 1);
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_GEMPORT), IsEmpty());
        EXPECT_THAT(chassis.messages(), testing::SizeIs(1)); // the counters are read for the first time
    });
}

TEST(Gemport, ADeleteIsRefusedWhileAServiceRefersToIt) {
    run_with_tcont([](AppChassis& chassis) {
        ASSERT_EQ(add(gem(9, 1)), 0);
        ASSERT_EQ(add(gem(10, 1)), 0);
        ASSERT_EQ(add(service_port(3, 9)), 0);
        EXPECT_EQ(del(gem(9, 1)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "this gemid:9 is using in service table! serviceportid:3"));
        EXPECT_TRUE(logged(chassis, "mib del error for gemport table"));
        ASSERT_EQ(del(service_port(3, 9)), 0);
        chassis.put_row<ov_sRmServiceTable_attr_t>([](auto& row) { row.sRmServiceTableGemId = 9; }, 1, SLOT,
                                                   PORT, ONU, 4);
        EXPECT_EQ(del(gem(9, 1)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "this gemid:9 is using in rm service table! rm serviceid:4"));
        EXPECT_EQ(held_of(PORT).gems, 2);
        chassis.forget_messages();
        EXPECT_EQ(del(gem(10, 1)), 0);
        EXPECT_THAT(sent(chassis), ElementsAre(Sent(GEM, DELETE)));
        EXPECT_EQ(held_of(PORT).gems, 1);
    });
}

TEST(Gemport, ACardThatDoesntSupportItIsPassedOverAndThePartnerToo) {
    run_with_tcont([](AppChassis& chassis) {
        const TestClock clock;
        give_role(OV_PON_PROTECT_PON_STATUS_WORKING);
        EXPECT_EQ(add(gem(9, 1)), 0);
        EXPECT_EQ(clock.armed(), 1u); // on its way to the partner
        chassis.card_answers(909, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(add(gem(10, 1)), 0);
        EXPECT_EQ(clock.armed(), 1u);
        EXPECT_TRUE(logged(chassis, "set to which not support"));
        // a change of monitoring is repeated
        EXPECT_EQ(edit(gem(10, 1), columns_of(10u, 11u)), 0);
        EXPECT_EQ(clock.armed(), 2u);
    });
}

TEST(Gemport, TheCopyFromAPartnerPassesTheCheckOfAProtectingPort) {
    run_with_tcont([](AppChassis&) {
        give_role(OV_PON_PROTECT_PON_STATUS_PROTECTING);
        Gem row = gem(10, 1);
        MIB_Flags_t columns = GEM_COLUMNS;
        EXPECT_EQ(ov_app_gpon_gemport_add(&row, &columns, 1), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_gemport_add(&row, &columns, 0), 0);
        EXPECT_TRUE(exists(row));
    });
}

TEST(Gemport, ATemplateRowNeedsItsTcontAndNoServiceOfItsNumber) {
    run_with_tcont([](AppChassis& chassis) {
        EXPECT_EQ(add(template_gem(9, 2), {}), BAD_PARAM); // whatever columns are written
        ASSERT_EQ(add(template_gem(9, 1)), 0);
        // a service port with the GEM port's number, though it belongs to another
        ASSERT_EQ(add(template_gem(8, 1)), 0);
        ASSERT_EQ(add(template_service_port(9, 8)), 0);
        EXPECT_EQ(del(template_gem(9, 1)), BAD_PARAM);
        ASSERT_EQ(del(template_service_port(9, 8)), 0);
        chassis.put_row<ov_sRmServiceTable_attr_t>([](auto&) {}, 1, 31, 15, PROFILE, 9);
        EXPECT_EQ(del(template_gem(9, 1)), BAD_PARAM);
        EXPECT_EQ(del(template_gem(8, 1)), 0);
        EXPECT_EQ(held_of(PORT).gems, 0);
    });
}

TEST(Gemport, ATemplateRowOfABoundProfileMayBeEditedButForItsEncryption) {
    run_with_tcont([](AppChassis& chassis) {
        ASSERT_EQ(add(template_gem(9, 1)), 0);
        chassis.forget_messages();
        bind_service_profile(3);
        Gem row = template_gem(9, 1);
        row.sGemTableDirection = 2;
        row.sGemTableIfEnableEncryption = 1;
        EXPECT_EQ(edit(row, columns_of(8u)), 0);
        EXPECT_EQ(find_row(row)->sGemTableDirection, 2);
        EXPECT_EQ(edit(row, columns_of(10u)), BAD_PARAM);
        EXPECT_EQ(find_row(row)->sGemTableIfEnableEncryption, 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        bind_service_profile(0);
        EXPECT_EQ(edit(row, columns_of(10u)), 0);
        EXPECT_THAT(sent(chassis), ElementsAre(Sent(GEM, SET)));
    });
}

TEST(Gemport, MissingArgumentsAreSaid) {
    provisioning::run([](AppChassis& chassis) {
        Gem row = gem(1, 1);
        MIB_Flags_t columns = {};
        EXPECT_EQ(ov_app_gpon_gemport_add(nullptr, &columns, 1), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_gemport_add(&row, nullptr, 1), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_gemport_edit(nullptr, &columns), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_gemport_edit(&row, nullptr), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_gemport_del(nullptr), BAD_PARAM);
        EXPECT_EQ(chassis.hal.log.lines(), std::vector<std::string>(5, "null pointer"));
        EXPECT_EQ(ov_app_gpon_gemport_exist_check(&row), 0);
    });
}

TEST(Gemport, OneThatCantGoKeepsItsTcont) {
    run_with_tcont([](AppChassis& chassis) {
        for (unsigned id = 8; id <= 10; ++id)
            ASSERT_EQ(add(gem(id, 1)), 0);
        ASSERT_EQ(add(service_port(1, 9)), 0);
        auto onu = row_at<ov_sOnuTable_attr_t>(SLOT, PORT, ONU);
        ov_gemport_table_iterate_del(&onu);
        EXPECT_EQ(held_of(PORT).gems, 1);
        EXPECT_EQ(ov_tcont_table_iterate_del(&onu), 0);
        EXPECT_TRUE(logged(chassis, "this tcontid:1 is using in gem table! gemid:9"));
    });
}

} // namespace
