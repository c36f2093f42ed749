// The life of an ONU: what may be created, what the card is told, and what its answer leads to.
#include "../support/check_callbacks.h"
#include "../support/onu_chassis.h"

#include "mmg_definition.h"
#include "ov_product.h"
#include "sOnuExtendInfoTable.h"
#include "sOnuHistoryTable.h"
#include "uclient.h"

using namespace onu_test;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

constexpr const char* SN = "ABCD0012ff78";

// ---- add -----------------------------------------------------------------------------------------------

TEST(OnuAdd, CompletesTheRowAndTellsTheCard) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        Request request = new_onu(7, SN);
        request.row.sOnuTableUpFec = 1;
        set_text(request.row.sOnuTableSplitterNumber, "12");
        request.with(onu_column::sOnuTableUpFec).with(onu_column::sOnuTableSplitterNumber);
        EXPECT_EQ(request.add(), OV_GPON_RET_OK);

        const Onu* row = stored_onu(7);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->sOnuTableIfIndex, onu_ifindex_of(*row));
        EXPECT_STREQ(row->sOnuTableOnuName, "gpon-onu3/4:7");
        EXPECT_EQ(row->sOnuTableOnuTypeProfileId, unsigned{TYPE_ID});
        EXPECT_EQ(row->sOnuTableRowStatus, OVRA_ACTIVE);
        EXPECT_EQ(row->sOnuTableAdminState, 1);
        EXPECT_EQ(row->sOnuTableActiviate, 1);
        EXPECT_EQ(row->sOnuTableOnuState, SONUTABLEONUSTATE_ADDED);
        const uif_t* interface = uif_lookup_by_index(row->sOnuTableIfIndex);
        ASSERT_NE(interface, nullptr);
        EXPECT_STREQ(interface->onu_sn, SN);

        const auto messages = chassis.messages();
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].type, ONU_MESSAGE);
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_TRUE(messages[0].wants_reply);
        // name, authentication, type, upstream FEC, and the marker of columns without an attribute
        EXPECT_EQ(messages[0].mask, 1u << 1 | 1u << 2 | 1u << 5 | 1u << 10 | 1u << 15);
        const auto record = messages[0].record<ov_gpon_onu_attr_t>();
        EXPECT_EQ(record.ifindex, row->sOnuTableIfIndex);
        EXPECT_STREQ(record.name, "gpon-onu3/4:7");
        EXPECT_EQ(record.authAttr.mode, 1);
        EXPECT_EQ(std::string(record.authAttr.sn, 9), std::string("ABCD\x00\x12\xff\x78\x00", 9));
        EXPECT_EQ(record.adminStatus, 0); // as requested; the row becomes enabled behind the answer
        EXPECT_EQ(record.active, 1);
        EXPECT_STREQ(record.typeProfile, "HG-1");
        EXPECT_EQ(record.spliterNum, 12);
        EXPECT_EQ(record.usFec, 1);
        EXPECT_EQ(record.isAutolearn, 0);
    });
}

TEST(OnuRecord, HasTheSplittersNumberOrTheNearestThatThereIs) {
    for (const auto& [text, number] :
         {std::pair{"", 0}, std::pair{"12", 12}, std::pair{"12 b", 12}, std::pair{"b12", 0},
          std::pair{"-5", -5}, std::pair{"2147483647", INT32_MAX}, std::pair{"2147483648", INT32_MAX},
          std::pair{"4294967297", INT32_MAX}, std::pair{"-2147483649", INT32_MIN},
          std::pair{"999999999999999999999999999999999", INT32_MAX}}) {
        Onu onu = {};
        set_text(onu.sOnuTableSplitterNumber, text);
        ov_gpon_onu_attr_t record;
        ov_bmp_t mask = 0;
        sonu_mib_data_convert_to_hal(&onu, &record, {}, &mask);
        EXPECT_EQ(record.spliterNum, number) << text;
    }
}

TEST(OnuAdd, StartsEnabledWhateverTheRequestSaid) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        Request request = new_onu(7, SN);
        request.row.sOnuTableActiviate = SONUTABLEACTIVIATE_DEACTIVIATED;
        request.with(onu_column::sOnuTableActiviate).with(onu_column::sOnuTableAdminState);
        EXPECT_EQ(request.add(), OV_GPON_RET_OK);
        EXPECT_EQ(chassis.messages().at(0).record<ov_gpon_onu_attr_t>().active, 0);
        EXPECT_EQ(stored_onu(7)->sOnuTableActiviate, 1);
        EXPECT_EQ(stored_onu(7)->sOnuTableAdminState, 1);
    });
}

TEST(OnuAdd, KeepsANameThatTheCallerGave) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        Request request = new_onu(7, SN);
        set_text(request.row.sOnuTableOnuName, "cellar");
        EXPECT_EQ(request.with(onu_column::sOnuTableOnuName).add(), OV_GPON_RET_OK);
        EXPECT_STREQ(stored_onu(7)->sOnuTableOnuName, "cellar");
    });
}

TEST(OnuAdd, NullArgumentsAreRefused) {
    app_chassis::run([](AppChassis& chassis) {
        Onu onu = onu_at(1);
        MIB_Flags_t columns = {};
        EXPECT_EQ(ov_app_gpon_onu_add(nullptr, &columns, 1), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_onu_add(&onu, nullptr, 1), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_onu_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_onu_edit(&onu, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_onu_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("null pointer", "null pointer", "null pointer",
                                                         "null pointer", "null pointer"));
    });
}

TEST(OnuAdd, Id128IsTheLast) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        EXPECT_EQ(new_onu(128, SN).add(), OV_GPON_RET_OK);
        EXPECT_NE(stored_onu(128), nullptr);
        LogCapture::clear();
        EXPECT_EQ(new_onu(129, "").add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("wrong onuId or wrong onuTypeName"));
    });
}

TEST(OnuAdd, IdsBelowOneFailOnlyInTheCheck) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        for (const auto& [id, text] :
             {std::pair{0, "illega onu index:1.3.4.0:"}, std::pair{-3, "illega onu index:1.3.4.-3:"}}) {
            LogCapture::clear();
            EXPECT_EQ(new_onu(id, SN).add(), OV_GPON_RET_BAD_PARAM);
            EXPECT_THAT(chassis.hal.log.lines(), Contains(text));
            EXPECT_THAT(chassis.hal.log.lines().back(), "mib add error for onu table");
            EXPECT_EQ(stored_onu(id), nullptr);
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// Beyond what an interface index holds a number would be that of another ONU.
TEST(OnuAdd, AnIndexThatAnInterfaceIndexCannotHoldIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        struct Place {
            int shelf, slot, port, onu;
            const char* text;
        };
        for (const Place& at : {Place{1, 3, 17, 1, "illega onu index:1.3.17.1:"},
                                Place{1, 19, 4, 1, "illega onu index:1.19.4.1:"},
                                Place{1, 35, 4, 1, "illega onu index:1.35.4.1:"},
                                Place{1, 31, 15, 1, "illega onu index:1.31.15.1:"},
                                Place{1, 3, 0x10004, 1, "illega onu index:1.3.65540.1:"},
                                Place{3, 3, 4, 1, "illega onu index:3.3.4.1:"},
                                Place{1, 3, 4, 129, "illega onu index:1.3.4.129:"}}) {
            LogCapture::clear();
            Request request = new_onu(at.onu, SN, at.port);
            request.row.shelfID = at.shelf;
            request.row.slotID = at.slot;
            request.row.sOnuTableRowStatus = OVRA_CREATEANDGO;
            EXPECT_FALSE(
                mib_access(MIB_SET, request.row, request.with(onu_column::sOnuTableRowStatus).columns));
            EXPECT_THAT(chassis.hal.log.lines(), Contains(at.text));
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
        Request last = new_onu(1, SN, 16);
        EXPECT_EQ(last.add(), OV_GPON_RET_OK);
        last = new_onu(1, SN);
        last.row.slotID = 18;
        EXPECT_EQ(last.add(), OV_GPON_RET_OK);
    });
}

TEST(OnuAdd, TheTypeMustExist) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("the onutype profile did not exist"));
        EXPECT_EQ(stored_onu(1), nullptr);
    });
}

TEST(OnuAdd, AnExistingOnuIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_OK);
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib add error for onu table"));
        EXPECT_NE(stored_onu(1), nullptr);
    });
}

// ---- create as managers do it --------------------------------------------------------------------------

TEST(OnuCreate, ManagersRowGetsItsInterfaceIndexAndNoName) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        Request request = new_onu(7, SN);
        request.row.sOnuTableRowStatus = OVRA_CREATEANDGO;
        request.with(onu_column::sOnuTableRowStatus);
        EXPECT_TRUE(mib_access(MIB_SET, request.row, request.columns));
        EXPECT_EQ(stored_onu(7)->sOnuTableIfIndex, onu_ifindex_of(*stored_onu(7)));
        EXPECT_STREQ(stored_onu(7)->sOnuTableOnuName, "");
        EXPECT_EQ(stored_onu(7)->sOnuTableOnuTypeProfileId, unsigned{TYPE_ID});
    });
}

TEST(OnuCreate, TypeThatNobodyHasIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        Request request = new_onu(7, SN);
        request.row.sOnuTableRowStatus = OVRA_CREATEANDGO;
        request.with(onu_column::sOnuTableRowStatus);
        EXPECT_FALSE(mib_access(MIB_SET, request.row, request.columns));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("the onutype profile was not exist"));
        EXPECT_EQ(stored_onu(7), nullptr);
    });
}

TEST(OnuCreate, ServiceProfileThatNobodyHasIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        Request request = new_onu(7, SN);
        request.row.sOnuTableSrvProfileId = PROFILE;
        EXPECT_EQ(request.with(onu_column::sOnuTableSrvProfileId).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("the onu srv profile did not exist"));
        EXPECT_EQ(stored_onu(7), nullptr);
    });
}

TEST(OnuSerialNumber, IsUniqueOnAPort) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_OK);
        EXPECT_EQ(new_onu(2, SN).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("the onu sn have created in this pon port"));
        EXPECT_EQ(stored_onu(2), nullptr);
        EXPECT_EQ(new_onu(2, SN, OTHER_PORT).add(), OV_GPON_RET_OK);
        EXPECT_EQ(new_onu(2, "ABCD0012ff79").add(), OV_GPON_RET_OK);
    });
}

TEST(OnuSerialNumber, InOtherLettersIsTheSame) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        EXPECT_EQ(new_onu(1, "ABCD0012Ff78").add(), OV_GPON_RET_OK);
        EXPECT_STREQ(stored_onu(1)->sOnuTableSn, "ABCD0012Ff78"); // as it was given
        for (const char* sn : {SN, "ABCD0012FF78"})
            EXPECT_EQ(new_onu(2, sn).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(new_onu(2, "abcd0012ff78").add(), OV_GPON_RET_OK); // the vendor's letters as they stand
        const auto messages = chassis.messages();
        ASSERT_THAT(messages, SizeIs(2));
        EXPECT_EQ(std::string(messages[0].record<ov_gpon_onu_attr_t>().authAttr.sn, 8),
                  std::string("ABCD\x00\x12\xff\x78", 8));
    });
}

TEST(OnuSerialNumber, MayBeEmptyOnSeveralOnus) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        EXPECT_EQ(new_onu(1, "").add(), OV_GPON_RET_OK);
        EXPECT_EQ(new_onu(2, "").add(), OV_GPON_RET_OK);
        const auto record = chassis.messages().at(0).record<ov_gpon_onu_attr_t>();
        EXPECT_THAT(record.authAttr.sn, Each(0));
    });
}

TEST(OnuSerialNumber, IsOfTwelveCharactersWithAHexadecimalTail) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        for (const char* bad : {"ABCD0000000G", "ABCD1234567", "ABCD123456789"}) {
            LogCapture::clear();
            EXPECT_EQ(new_onu(1, bad).add(), OV_GPON_RET_BAD_PARAM);
            EXPECT_THAT(chassis.hal.log.lines(), Contains(std::string("illegal data: ") + bad));
        }
        put_onu(
            chassis, [](Onu&) {}, 1);
        EXPECT_EQ(Request(1).sn("ABCD0000000G").edit(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("illegal data: ABCD0000000G"));
        EXPECT_EQ(Request(1).sn("").edit(), OV_GPON_RET_OK);
    });
}

// ---- the brand -----------------------------------------------------------------------------------------

void become_marevo() {
    HalChassis::set("PDT_INFO_VENDER_PDT_NAME", "MAREVO-L");
    ov_product_deinit();
    ASSERT_STREQ(ov_product_get_sysinfo_product_vender(), "MAREVO-L");
}

TEST(OnuBrand, AdmitsItsOwnMakersOnCreateOnly) {
    app_chassis::run([](AppChassis& chassis) {
        become_marevo();
        put_type(chassis);
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(new_onu(1, "").add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Not(Contains(HasSubstr("marevo"))));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(new_onu(1, "MRVO00000001").add(), OV_GPON_RET_OK);
        EXPECT_EQ(new_onu(2, "MRVI00000001").add(), OV_GPON_RET_OK);
        EXPECT_EQ(Request(1).sn(SN).edit(), OV_GPON_RET_OK);
        EXPECT_STREQ(stored_onu(1)->sOnuTableSn, SN);
    });
}

TEST(OnuBrand, TellsOfARefusalWhileDebugging) {
    app_chassis::run([](AppChassis& chassis) {
        become_marevo();
        Onu onu = onu_at(1);
        set_text(onu.sOnuTableSn, SN);
        mmg_set_debug_info_flag(1);
        EXPECT_EQ(ov_app_gpon_onu_marevo_check(&onu, OV_HAL_GPON_MSG_ACTION_CREATE), 0);
        mmg_set_debug_info_flag(0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("illegal onu sn: ABCD0012ff78, marevo check failed"));
    });
}

TEST(OnuBrand, OthersAdmitEveryMaker) {
    app_chassis::run([](AppChassis&) {
        Onu onu = onu_at(1);
        EXPECT_EQ(ov_app_gpon_onu_marevo_check(&onu, OV_HAL_GPON_MSG_ACTION_CREATE), 1);
        HalChassis::set("PDT_INFO_VENDER_PDT_NAME", "MAREVO-LX");
        ov_product_deinit();
        EXPECT_EQ(ov_app_gpon_onu_marevo_check(&onu, OV_HAL_GPON_MSG_ACTION_CREATE), 1);
    });
}

// ---- the card's answer ---------------------------------------------------------------------------------

TEST(OnuCardAnswer, NotSupportedKeepsTheRowWithoutAnInterface) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
        ASSERT_NE(stored_onu(1), nullptr);
        EXPECT_EQ(stored_onu(1)->sOnuTableOnuState, SONUTABLEONUSTATE_INIT);
        EXPECT_EQ(uif_lookup_by_index(stored_onu(1)->sOnuTableIfIndex), nullptr);
    });
}

TEST(OnuCardAnswer, FailureRefusesTheRow) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set ONU error"));
        EXPECT_EQ(stored_onu(1), nullptr);
    });
}

TEST(OnuCardAnswer, SilenceRefusesTheRow) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        chassis.card_falls_silent();
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set ONU error"));
        EXPECT_EQ(stored_onu(1), nullptr);
    });
}

constexpr int ABSENT_SLOT = 5; // a line card's, without a card

// A card that is known to be gone gets its ONUs with its next start; one that isn't is asked in vain.
TEST(OnuCardAnswer, CardThatLeavesBetweenCheckAndSend) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        app_chassis::take_card_out_at_writes_of(SONU);
        EXPECT_EQ(new_onu(1, SN).add(), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        ASSERT_NE(stored_onu(1), nullptr);
        EXPECT_EQ(stored_onu(1)->sOnuTableOnuState, SONUTABLEONUSTATE_ADDED);
        EXPECT_NE(uif_lookup_by_index(onu_ifindex_of(onu_at(1))), nullptr);

        HalChassis::activate(ABSENT_SLOT);
        Request request = new_onu(1, SN);
        request.row.slotID = ABSENT_SLOT;
        EXPECT_EQ(request.add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set ONU error"));
        EXPECT_EQ(find_row(onu_at(1, PORT, ABSENT_SLOT)), nullptr);
        EXPECT_EQ(uif_lookup_by_index(onu_ifindex_of(onu_at(1, PORT, ABSENT_SLOT))), nullptr);
    });
}

// ---- changes -------------------------------------------------------------------------------------------

TEST(OnuEdit, NewCredentialsAloneWaitForTheNextChangeOfTheMode) {
    app_chassis::run([](AppChassis& chassis) {
        put_onu(
            chassis, [](Onu& onu) { set_text(onu.sOnuTableSn, SN); }, 1);
        for (const unsigned column :
             {onu_column::sOnuTableSn, onu_column::sOnuTablePw, onu_column::sOnuTableLoid,
              onu_column::sOnuTableLoidPw, onu_column::sOnuTablePmEnable}) {
            Request request(1);
            set_text(request.row.sOnuTableSn, "EFGH00000002");
            set_text(request.row.sOnuTablePw, "secret");
            request.row.sOnuTablePmEnable = 1;
            EXPECT_EQ(request.with(column).edit(), OV_GPON_RET_OK) << column;
        }
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_ONU), IsEmpty());
        EXPECT_THAT(chassis.messages(), SizeIs(1)); // the counters are read for the first time
        EXPECT_STREQ(stored_onu(1)->sOnuTableSn, "EFGH00000002");
        EXPECT_STREQ(stored_onu(1)->sOnuTablePw, "secret");
        EXPECT_EQ(stored_onu(1)->sOnuTablePmEnable, 1);
    });
}

TEST(OnuEdit, OtherColumnsGoToTheCardWithTheirBits) {
    app_chassis::run([](AppChassis& chassis) {
        put_bandwidth(chassis, "omcc", 5, 0, 0);
        put_type(chassis);
        put_onu(
            chassis, [](Onu&) {}, 1);
        struct Case {
            unsigned column;
            uint32_t bit;
        };
        for (const auto& [column, bit] :
             {Case{3, 1}, Case{9, 3}, Case{10, 4}, Case{13, 5}, Case{15, 6}, Case{18, 10}, Case{22, 12},
              Case{2, 15}, Case{12, 15}, Case{14, 15}, Case{16, 15}, Case{21, 15}}) {
            chassis.forget_messages();
            Request request(1);
            set_text(request.row.sOnuTableOnuTypeProfileName, "HG-1");
            set_text(request.row.sOnuTableOmccBwProfileName, "omcc");
            EXPECT_EQ(request.with(column).edit(), OV_GPON_RET_OK) << column;
            const auto messages = chassis.messages();
            ASSERT_THAT(messages, SizeIs(1)) << column;
            EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_SET);
            EXPECT_EQ(messages[0].mask, 1u << bit) << column;
        }
    });
}

TEST(OnuEdit, NamesOfProfilesFillTheIds) {
    app_chassis::run([](AppChassis& chassis) {
        put_bandwidth(chassis, "omcc", 5, 0, 0);
        put_type(chassis);
        put_onu(
            chassis, [](Onu&) {}, 1);
        Request request(1);
        set_text(request.row.sOnuTableOmccBwProfileName, "omcc");
        EXPECT_EQ(request.type("HG-1").with(onu_column::sOnuTableOmccBwProfileName).edit(), OV_GPON_RET_OK);
        EXPECT_EQ(stored_onu(1)->sOnuTableOnuTypeProfileId, unsigned{TYPE_ID});
        EXPECT_EQ(stored_onu(1)->sOnuTableOmccBwProfileId, 5u);
    });
}

TEST(OnuEdit, ServiceProfileAndConfigModeHaveNoBit) {
    app_chassis::run([](AppChassis& chassis) {
        put_onu(
            chassis, [](Onu&) {}, 1);
        Request request(1);
        request.row.sOnuTableSrvProfileId = PROFILE;
        EXPECT_EQ(request.with(23).with(24).edit(), OV_GPON_RET_OK);
        const auto message = chassis.messages().at(0);
        EXPECT_EQ(message.mask, 0u);
        EXPECT_EQ(message.record<ov_gpon_onu_attr_t>().srvProfileId, unsigned{PROFILE});
    });
}

TEST(OnuEdit, NamesOfProfilesMustExist) {
    app_chassis::run([](AppChassis& chassis) {
        put_onu(
            chassis, [](Onu&) {}, 1);
        EXPECT_EQ(Request(1).type("nobody").edit(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("the onutype profile was not exist"));
        EXPECT_THAT(chassis.hal.log.lines().back(), "mib set error for onu table");
        Request request(1);
        set_text(request.row.sOnuTableOmccBwProfileName, "nobody");
        EXPECT_EQ(request.with(onu_column::sOnuTableOmccBwProfileName).edit(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("the bwtype profile was not exist"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// A manager's request works on the stored row itself, and its undo knows the requested columns alone.
TEST(OnuEdit, RefusedChangeLeavesNoIdOfItsNamesBehind) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        put_bandwidth(chassis, "omcc", 5, 0, 0);
        put_onu(
            chassis, [](Onu& onu) { onu.sOnuTableOnuTypeProfileId = 6; }, 1);
        Onu pending = *stored_onu(1);
        set_text(pending.sOnuTableOmccBwProfileName, "omcc");
        const auto columns =
            columns_of(onu_column::sOnuTableOnuTypeProfileName, onu_column::sOnuTableOmccBwProfileName);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(ov_onu_table_set_callback(did_of<Onu>(), &pending, columns), SET_REFUSED);
        EXPECT_EQ(pending.sOnuTableOnuTypeProfileId, 6u);
        EXPECT_EQ(pending.sOnuTableOmccBwProfileId, 0u);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_OK);
        EXPECT_EQ(ov_onu_table_set_callback(did_of<Onu>(), &pending, columns), SET_ACCEPTED);
        EXPECT_EQ(pending.sOnuTableOnuTypeProfileId, unsigned{TYPE_ID});
        EXPECT_EQ(pending.sOnuTableOmccBwProfileId, 5u);
    });
}

TEST(OnuEdit, StateAndVersionConcernNobody) {
    app_chassis::run([](AppChassis& chassis) {
        put_onu(
            chassis, [](Onu&) {}, 1);
        Request request(1);
        request.row.sOnuTableOnuState = 2;
        EXPECT_EQ(request.with(11).with(20).edit(), OV_GPON_RET_OK);
        EXPECT_EQ(stored_onu(1)->sOnuTableOnuState, 2);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- authentication ------------------------------------------------------------------------------------

struct AuthMode {
    int mode;
    std::string used; // s serial number, p password, l logical id, w its password
};
const std::vector<AuthMode> AUTH_MODES = {{1, "s"}, {2, "p"}, {3, "sp"}, {4, "l"}, {5, "lw"}};

TEST(OnuAuth, EachModeSendsAndKeepsItsOwnCredentials) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.put_port(PORT);
        for (const auto& [mode, used] : AUTH_MODES) {
            SCOPED_TRACE(mode);
            put_onu(
                chassis,
                [](Onu& onu) {
                    set_text(onu.sOnuTableSn, SN);
                    set_text(onu.sOnuTablePw, "password-of-more");
                    set_text(onu.sOnuTableLoid, "logical-id-of-more-than-24");
                    set_text(onu.sOnuTableLoidPw, "its-password-of-more");
                },
                mode);
            chassis.forget_messages();
            EXPECT_EQ(Request(mode).mode(mode).edit(), OV_GPON_RET_OK);
            const auto message = chassis.messages().at(0);
            EXPECT_EQ(message.mask, 1u << 2);
            const auto auth = message.record<ov_gpon_onu_attr_t>().authAttr;
            const auto uses = [&](char which) { return used.find(which) != std::string::npos; };
            EXPECT_EQ(auth.mode, mode);
            EXPECT_EQ(std::string(auth.sn, 9),
                      uses('s') ? std::string("ABCD\x00\x12\xff\x78\x00", 9) : std::string(9, '\0'));
            EXPECT_STREQ(auth.pw, uses('p') ? "password-o" : "");
            EXPECT_STREQ(auth.loid, uses('l') ? "logical-id-of-more-than-" : "");
            EXPECT_STREQ(auth.loidPw, uses('w') ? "its-password" : "");
            const Onu* row = stored_onu(mode);
            EXPECT_STREQ(row->sOnuTableSn, uses('s') ? SN : "");
            EXPECT_STREQ(row->sOnuTablePw, uses('p') ? "password-of-more" : "");
            EXPECT_STREQ(row->sOnuTableLoid, uses('l') ? "logical-id-of-more-than-24" : "");
            EXPECT_STREQ(row->sOnuTableLoidPw, uses('w') ? "its-password-of-more" : "");
        }
    });
}

TEST(OnuAuth, EditNeedsALegalSerialNumberAndARow) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.put_port(PORT);
        put_onu(
            chassis, [](Onu&) {}, 1);
        EXPECT_EQ(Request(1).mode(1).sn("").edit(), OV_ONU_AUTH_ILLEGAL);
        EXPECT_EQ(Request(1).mode(1).sn("ABCD0000000G").edit(), OV_ONU_AUTH_ILLEGAL);
        EXPECT_EQ(Request(2).mode(1).sn(SN).edit(), OV_GPON_RET_NOT_FOUND);
        EXPECT_THAT(chassis.hal.log.lines(),
                    ElementsAre("illegal data: ", "illegal data: ABCD0000000G", "onu 2 not exist"));
        EXPECT_EQ(Request(1).mode(1).sn(SN).edit(), OV_GPON_RET_OK);
        EXPECT_STREQ(stored_onu(1)->sOnuTableSn, SN);
    });
}

TEST(OnuAuth, CannotChangeWhileThePortLearns) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.put_row<ov_sPonTable_attr_t>([](auto& port) { port.sPonTableAutoLearn = 1; }, GPON_SHELF,
                                             AppChassis::SLOT, PORT);
        put_onu(
            chassis, [](Onu&) {}, 1);
        EXPECT_EQ(Request(1).mode(2).edit(), OV_GPON_RET_BUSY);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("pon autolearn must disable"));
        LogCapture::clear();
        Request by_manager = Request(1).mode(2); // refused without a word of its own
        EXPECT_FALSE(mib_access(MIB_SET, by_manager.row, by_manager.columns));
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre(HasSubstr("handler app_onu return error!")));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(stored_onu(1)->sOnuTableAuthMode, 1);
    });
}

TEST(OnuAuth, CannotChangeWithoutThePortsRow) {
    app_chassis::run([](AppChassis& chassis) {
        put_onu(
            chassis, [](Onu&) {}, 1);
        EXPECT_EQ(Request(1).mode(2).edit(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib get error for port table"));
        EXPECT_THAT(chassis.hal.log.lines().back(), "mib set error for onu table");
        Onu onu = onu_at(1);
        int autolearn = -1;
        EXPECT_EQ(ov_app_gpon_port_autolearn_get(&onu, &autolearn), OV_GPON_RET_BAD_PARAM);
        chassis.put_port(PORT);
        EXPECT_EQ(ov_app_gpon_port_autolearn_get(&onu, &autolearn), OV_GPON_RET_OK);
        EXPECT_EQ(autolearn, 0);
    });
}

TEST(OnuAuth, UnsupportedModeChangeClearsNothing) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.put_port(PORT);
        put_onu(
            chassis, [](Onu& onu) { set_text(onu.sOnuTableSn, SN); }, 1);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(Request(1).mode(2).pw("secret").edit(), OV_GPON_RET_OK);
        EXPECT_EQ(stored_onu(1)->sOnuTableAuthMode, 2);
        EXPECT_STREQ(stored_onu(1)->sOnuTableSn, SN);
    });
}

// ---- delete and what follows the row -------------------------------------------------------------------

TEST(OnuDelete, TellsTheCardAndWithdrawsTheInterface) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        EXPECT_EQ(new_onu(7, SN).add(), OV_GPON_RET_OK);
        const ov_ifindex_t ifindex = stored_onu(7)->sOnuTableIfIndex;
        chassis.forget_messages();
        Onu onu = onu_at(7);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_OK);
        EXPECT_EQ(stored_onu(7), nullptr);
        EXPECT_EQ(uif_lookup_by_index(ifindex), nullptr);
        const auto messages = chassis.messages_of(ONU_MESSAGE);
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_DELETE);
        EXPECT_EQ(messages[0].mask, 1u << 1 | 1u << 2 | 1u << 3 | 1u << 4 | 1u << 5 | 1u << 6 | 1u << 8 |
                                        1u << 10 | 1u << 12 | 1u << 15);
        EXPECT_EQ(messages[0].record<ov_gpon_onu_attr_t>().ifindex, ifindex);
    });
}

TEST(OnuDelete, FailsWithoutARowAndOnTheCardsRefusal) {
    app_chassis::run([](AppChassis& chassis) {
        Onu onu = onu_at(7);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines().back(), "mib del error for onu table");
        put_onu(
            chassis, [](Onu&) {}, 7);
        chassis.card_answers(ONU_MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set ONU error"));
        EXPECT_NE(stored_onu(7), nullptr);
    });
}

bool has_companions(int id) {
    return find_row(onu_key<ov_sOnuHistoryTable_attr_t>(onu_at(id))) != nullptr &&
           find_row(onu_key<ov_sOnuExtendInfoTable_attr_t>(onu_at(id))) != nullptr;
}
bool has_a_companion(int id) {
    return find_row(onu_key<ov_sOnuHistoryTable_attr_t>(onu_at(id))) != nullptr ||
           find_row(onu_key<ov_sOnuExtendInfoTable_attr_t>(onu_at(id))) != nullptr;
}

TEST(OnuCompanions, ComeAndGoWithTheOnu) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        EXPECT_EQ(new_onu(7, SN).add(), OV_GPON_RET_OK);
        EXPECT_TRUE(has_companions(7));
        Onu onu = onu_at(7);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_OK);
        EXPECT_FALSE(has_a_companion(7));
    });
}

TEST(OnuCompanions, MayBeThereOrMissingAlready) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        chassis.put_row<ov_sOnuHistoryTable_attr_t>([](auto&) {}, 1, AppChassis::SLOT, PORT, 7);
        chassis.put_row<ov_sOnuExtendInfoTable_attr_t>([](auto&) {}, 1, AppChassis::SLOT, PORT, 7);
        EXPECT_EQ(new_onu(7, SN).add(), OV_GPON_RET_OK);
        EXPECT_TRUE(has_companions(7));
        put_onu(
            chassis, [](Onu&) {}, 8);
        Onu onu = onu_at(8);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_OK);
    });
}

// The chain runs from the last registration to the first: what the ONU needs gone, the ONU, its companions.
std::vector<std::string> set_chain_of_onus() {
    std::vector<std::string> names;
    for (const MIB_callback* node = table_cntl[SONU].callback_set; node; node = node->next)
        names.emplace_back(node->app.appName);
    return names;
}

TEST(OnuCompanions, FollowTheOnuInTheChain) {
    app_chassis::run([](AppChassis&) {
        const auto chain = set_chain_of_onus();
        auto from = chain.begin();
        for (const char* next : {"ov_app_gpon_service_port", "app_gemport", "app_tcont", "app_onu",
                                 "app_alarm", "app_onu_extend", "app_onu_history"}) {
            from = std::find(from, chain.end(), next);
            EXPECT_NE(from, chain.end()) << next << " is not behind those before it";
        }
    });
}

TEST(OnuInit, RegistrationsThatFailAreLogged) {
    app_chassis::run([](AppChassis& chassis) {
        ov_app_gpon_onu_init(); // for the second time
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("app_onu register onutable set call back error",
                                                         "app_onu register onutable set call back error"));
    });
}

} // namespace
