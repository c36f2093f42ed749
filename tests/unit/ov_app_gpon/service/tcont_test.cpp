// T-CONTs: what a row must meet, what it takes of its port, and what the card hears.
#include "../../support/test_clock.h"
#include "../support/provisioning_chassis.h"

using namespace provisioning;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int BAD_PARAM = OV_GPON_RET_BAD_PARAM;
namespace column = sTcontTable_column;

const Tcont* stored(const Tcont& row) {
    return find_row(row);
}

ov_sOnuTable_attr_t onu_row() {
    return row_at<ov_sOnuTable_attr_t>(SLOT, PORT, ONU);
}

TEST(Tcont, ACreatedRowReservesAndReachesTheCard) {
    provisioning::run([](AppChassis& chassis) {
        Tcont row = tcont(3);
        strcpy(row.sTcontTableTcontName, "voice");
        MIB_Flags_t columns = columns_of(column::sTcontTableTcontName, column::sTcontTableBwProfileName);
        ASSERT_EQ(ov_app_gpon_tcont_add(&row, &columns, 1), 0);

        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].type, 908);
        EXPECT_EQ(messages[0].action, CREATE);
        EXPECT_TRUE(messages[0].wants_reply);
        EXPECT_EQ(messages[0].mask, 1u << 5 | 1u << 3 | 1u << 4); // columns 3, 4 and 5
        wire::Bytes expected(144);
        wire::put32(expected, 0, ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, SLOT, 0, PORT, ONU));
        wire::put32(expected, 4, 3);
        std::copy_n("voice", 5, expected.begin() + 12);
        std::copy_n("small", 5, expected.begin() + 77);
        EXPECT_EQ(record_bytes<ov_gpon_tcont_attr_t>(messages[0]), expected);

        const Tcont* made = stored(row);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(made->sTcontTableRowStatus, OVRA_ACTIVE);
        EXPECT_EQ(static_cast<mib_ulong>(made->sTcontTableBwProfileId), BKDRHash("small", 5));
        EXPECT_EQ(held_of(PORT), (Held{1, 0, 300, 100}));
        EXPECT_EQ(held_of(PORT + 1), (Held{0, 0, 0, 0}));
    });
}

TEST(Tcont, TheMaskIsThatOfTheColumnMap) {
    const std::map<unsigned, uint32_t> bits = {{1, 1}, {2, 2}, {3, 5}, {4, 3}, {5, 4}};
    for (unsigned number = 0; number < 32; ++number) {
        Tcont row = {};
        ov_gpon_tcont_attr_t record = {};
        ov_bmp_t mask = -1;
        stcont_mib_data_convert_to_hal(&row, &record, columns_of(number), &mask);
        const auto bit = bits.find(number);
        EXPECT_EQ(static_cast<uint32_t>(mask), bit == bits.end() ? 0 : 1u << bit->second) << number;
    }
}

TEST(Tcont, NamesFillTheRecordAndNoMore) {
    Tcont row = {};
    memset(row.sTcontTableTcontName, 'n', sTcontTable_limit::sTcontTableTcontName);
    memset(row.sTcontTableBwProfileName, 'b', sTcontTable_limit::sTcontTableBwProfileName);
    row.sTcontTableAllocID = 1024;
    ov_gpon_tcont_attr_t record = {};
    ov_bmp_t mask = 0;
    stcont_mib_data_convert_to_hal(&row, &record, {}, &mask);
    EXPECT_EQ(std::string(record.name), std::string(33, 'n'));
    EXPECT_EQ(std::string(record.bwProfile), std::string(64, 'b'));
    EXPECT_EQ(record.allocId, 1024u);
}

TEST(Tcont, AnIdAboveTheSignedRangeIsKeptBitForBit) {
    provisioning::run([](AppChassis&) {
        ASSERT_EQ(add(tcont(1, "default")), 0);
        EXPECT_EQ(stored(tcont(1))->sTcontTableBwProfileId, -594834439);
    });
}

TEST(Tcont, ABandwidthProfileThatDoesntExistRefusesTheRow) {
    provisioning::run([](AppChassis& chassis) {
        EXPECT_EQ(add(tcont(1, "nobody")), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "do not found bw profile:nobody"));
        EXPECT_FALSE(exists(tcont(1)));

        // straight to the table: without a word of its own
        LogCapture::clear();
        Tcont row = tcont(1, "nobody");
        row.sTcontTableRowStatus = OVRA_CREATEANDGO;
        EXPECT_FALSE(mib_access(MIB_SET, row, columns_of(5u, 6u)));
        for (const std::string& line : chassis.hal.log.lines())
            EXPECT_THAT(line, testing::Not(testing::HasSubstr("bw profile"))) << line;
        EXPECT_FALSE(exists(tcont(1)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(Tcont, ARowWhoseBandwidthProfileHasVanishedStays) {
    provisioning::run([](AppChassis& chassis) {
        ASSERT_EQ(add(tcont(1)), 0);
        ov_sBWProfileTable_attr_t profile = {};
        profile.bwProfileId = BKDRHash("small", 5);
        ASSERT_TRUE(mib_access(MIB_DEL_S_N, profile));
        chassis.forget_messages();
        LogCapture::clear();
        EXPECT_EQ(del(tcont(1)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "mib del tcont error: 1/"));
        EXPECT_TRUE(exists(tcont(1)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(held_of(PORT), (Held{1, 0, 300, 100}));
    });
}

TEST(Tcont, AnEditIsForTheOwnerToAdmitToo) {
    provisioning::run([](AppChassis& chassis) {
        EXPECT_EQ(add(tcont(1, "small", SLOT, PORT, 99)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "mib set error for tcont table"));
        ASSERT_EQ(add(template_tcont(1)), 0);
        bind_service_profile(2);
        EXPECT_EQ(edit(template_tcont(1, "none")), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 5bind 2 times"));
        EXPECT_TRUE(logged(chassis, "mib edit error for tcont table"));
        EXPECT_STREQ(stored(template_tcont(1))->sTcontTableBwProfileName, "small");
    });
}

// The bandwidth profile is asked for first, and without a word.
TEST(Tcont, AnUnknownProfileRefusesAheadOfAnOwnerThatIsntThere) {
    provisioning::run([](AppChassis& chassis) {
        Tcont row = tcont(1, "nobody", SLOT, PORT, 99);
        for (const int action : {CREATE, SET, DELETE})
            EXPECT_EQ(ov_app_gpon_tcont_check(&row, action, TCONT_COLUMNS), 0) << action;
        EXPECT_THAT(chassis.hal.log.lines(), IsEmpty());
        row = tcont(0, "small", SLOT, PORT, 99);
        EXPECT_EQ(ov_app_gpon_tcont_check(&row, CREATE, TCONT_COLUMNS), 0);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("onu id 99 is not exist"));
    });
}

TEST(Tcont, AnIndexWithAZeroIsRefused) {
    provisioning::run([](AppChassis& chassis) {
        EXPECT_EQ(add(tcont(0)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "illega tcont index:1.3.4.7.0:"));
        EXPECT_EQ(held_of(PORT), (Held{0, 0, 0, 0}));
        EXPECT_EQ(add(template_tcont(0)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "illega tcont index:1.31.15.5.0:"));
    });
}

// Rows that a file brought in may have owners where no card has any.
TEST(Tcont, AnIndexThatItsOwnersInterfaceIndexCannotHoldIsRefused) {
    provisioning::run([](AppChassis& chassis) {
        struct Place {
            int slot, port, onu;
        };
        for (const Place& at : {Place{SLOT, 17, 1}, Place{19, PORT, 1}, Place{SLOT, PORT, 129}}) {
            chassis.put_row<ov_sOnuTable_attr_t>([](auto&) {}, 1, at.slot, at.port, at.onu);
            EXPECT_EQ(add(tcont(1, "small", at.slot, at.port, at.onu)), BAD_PARAM);
            EXPECT_TRUE(logged(chassis, "illega tcont index:1." + std::to_string(at.slot) + "." +
                                            std::to_string(at.port) + "." + std::to_string(at.onu) + ".1:"));
        }
        EXPECT_EQ(add(tcont(1, "small", GPON_TEMPLATE_SLOT, 14, PROFILE)), BAD_PARAM); // no template's port
        put_service_profile(chassis, 129);
        EXPECT_EQ(add(template_tcont(1, "small", 129)), BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(held_of(PORT), (Held{0, 0, 0, 0}));
        EXPECT_EQ(add(tcont(0xffffffffu)), 0); // its own number goes to the card whole
        EXPECT_EQ(chassis.messages().at(0).record<ov_gpon_tcont_attr_t>().tcontId, 0xffffffffu);
    });
}

TEST(Tcont, APortHoldsSoManyAndNoMore) {
    provisioning::run([](AppChassis& chassis) {
        for (unsigned id = 1; id <= 512; ++id)
            ASSERT_EQ(add(tcont(id, "none")), 0) << id;
        EXPECT_EQ(add(tcont(513, "none")), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "reserve tcont info error slot 3 port 4"));
        EXPECT_EQ(held_of(PORT), (Held{512, 0, 0, 0}));
        put_onu(chassis, PORT + 1);
        EXPECT_EQ(add(tcont(1, "none", SLOT, PORT + 1)), 0);
    });
}

TEST(Tcont, BandwidthGoesUpToTheLimitOfThePort) {
    provisioning::run([](AppChassis& chassis) {
        put_bandwidth(chassis, "fixed", 800000, 0);
        put_bandwidth(chassis, "assured", 0, 400000);
        put_bandwidth(chassis, "one assured", 0, 1);
        put_bandwidth(chassis, "one fixed", 1, 0);
        ASSERT_EQ(add(tcont(1, "fixed")), 0);
        EXPECT_EQ(add(tcont(2, "one fixed")), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "reserve bw info error slot 3 port 4"));
        EXPECT_EQ(held_of(PORT), (Held{1, 0, 800000, 800000})); // what was reserved before is given back
        ASSERT_EQ(add(tcont(2, "assured")), 0);
        LogCapture::clear();
        EXPECT_EQ(add(tcont(3, "one assured")), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "reserve bw info error slot 3 port 4"));
        EXPECT_EQ(held_of(PORT), (Held{2, 0, 1200000, 800000}));
        EXPECT_FALSE(exists(tcont(3)));
    });
}

TEST(Tcont, AnEditIsStoredButNeitherSentNorCounted) {
    provisioning::run([](AppChassis& chassis) {
        ASSERT_EQ(add(tcont(1)), 0);
        chassis.forget_messages();
        EXPECT_EQ(edit(tcont(1, "none")), 0);
        EXPECT_STREQ(stored(tcont(1))->sTcontTableBwProfileName, "none");
        EXPECT_EQ(static_cast<mib_ulong>(stored(tcont(1))->sTcontTableBwProfileId), BKDRHash("none", 4));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(held_of(PORT), (Held{1, 0, 300, 100}));
        // on a working port neither
        give_role(OV_PON_PROTECT_PON_STATUS_WORKING);
        EXPECT_EQ(edit(tcont(1, "small")), 0);
        EXPECT_STREQ(stored(tcont(1))->sTcontTableBwProfileName, "small");
    });
}

TEST(Tcont, AnEditToAProfileThatDoesntExistSucceedsAndChangesNothing) {
    provisioning::run([](AppChassis& chassis) {
        ASSERT_EQ(add(tcont(1)), 0);
        EXPECT_EQ(edit(tcont(1, "nobody")), 0);
        EXPECT_TRUE(logged(chassis, "do not found bw profile:nobody"));
        EXPECT_STREQ(stored(tcont(1))->sTcontTableBwProfileName, "small");
    });
}

TEST(Tcont, ADeleteNamesTheTcont) {
    provisioning::run([](AppChassis& chassis) {
        ASSERT_EQ(add(tcont(2)), 0);
        chassis.forget_messages();
        EXPECT_EQ(del(tcont(2)), 0);
        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].record<ov_gpon_tcont_attr_t>().tcontId, 2u);
        EXPECT_EQ(held_of(PORT), (Held{0, 0, 0, 0}));
    });
}

TEST(Tcont, ADeleteIsRefusedWhileAGemPortRidesInIt) {
    provisioning::run([](AppChassis& chassis) {
        ASSERT_EQ(add(tcont(1)), 0);
        ASSERT_EQ(add(tcont(2)), 0);
        ASSERT_EQ(add(gem(9, 2)), 0);
        EXPECT_EQ(del(tcont(2)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "this tcontid:2 is using in gem table! gemid:9"));
        EXPECT_EQ(held_of(PORT), (Held{2, 1, 600, 200}));
        EXPECT_EQ(del(tcont(1)), 0);
    });
}

TEST(Tcont, AReleaseThatFailsRefusesTheDeleteAndKeepsWhatWentBefore) {
    provisioning::run([](AppChassis& chassis) {
        ASSERT_EQ(add(tcont(1)), 0);
        chassis.forget_messages();
        held().usedMaxBandwidth[PORT - 1] = 0;
        EXPECT_EQ(del(tcont(1)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "release bw info error slot 3 port 4"));
        EXPECT_EQ(held_of(PORT), (Held{0, 0, 0, 100}));
        LogCapture::clear();
        EXPECT_EQ(del(tcont(1)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "release tcont info error slot 3 port 4"));
        EXPECT_TRUE(exists(tcont(1)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(Tcont, ACardThatDoesntSupportItIsPassedOver) {
    provisioning::run([](AppChassis& chassis) {
        chassis.card_answers(908, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(add(tcont(1)), 0);
        EXPECT_TRUE(logged_as(chassis, OV_LOG_LVL_WARN, "MMG", "set to which not support"));
        EXPECT_EQ(held_of(PORT), (Held{1, 0, 300, 100}));
    });
}

TEST(Tcont, ARowOfAWorkingPortIsRepeatedOnThePartnerWhateverTheCardSupports) {
    provisioning::run([](AppChassis& chassis) {
        const TestClock clock;
        give_role(OV_PON_PROTECT_PON_STATUS_WORKING);
        EXPECT_EQ(add(tcont(1)), 0);
        EXPECT_EQ(clock.armed(), 1u); // on its way to the partner
        chassis.card_answers(908, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(add(tcont(2)), 0);
        EXPECT_EQ(clock.armed(), 2u);
        EXPECT_EQ(chassis.messages(2).size(), 2u); // the card has both by then
    });
}

TEST(Tcont, RowsOfAProtectingPortMayChange) {
    provisioning::run([](AppChassis&) {
        give_role(OV_PON_PROTECT_PON_STATUS_PROTECTING);
        EXPECT_EQ(add(tcont(1)), 0);
        EXPECT_EQ(del(tcont(1)), 0);
    });
}

TEST(Tcont, AServiceProfileMustFitOnePort) {
    provisioning::run([](AppChassis& chassis) {
        put_bandwidth(chassis, "fixed", 800000, 0);
        put_bandwidth(chassis, "assured", 0, 400000);
        put_bandwidth(chassis, "one assured", 0, 1);
        put_bandwidth(chassis, "one fixed", 1, 0);
        ASSERT_EQ(add(template_tcont(1, "fixed")), 0);
        EXPECT_EQ(add(template_tcont(2, "one fixed")), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "config bw is over max bw"));
        EXPECT_TRUE(logged(chassis, "bw check fail"));
        ASSERT_EQ(add(template_tcont(2, "assured")), 0); // both sums at their limit
        EXPECT_EQ(add(template_tcont(3, "one assured")), BAD_PARAM);
        ASSERT_EQ(add(template_tcont(3, "none")), 0);
        EXPECT_EQ(edit(template_tcont(3, "one assured")), BAD_PARAM);
        EXPECT_EQ(edit(template_tcont(2, "none")), 0);
        EXPECT_EQ(edit(template_tcont(3, "assured")), 0);
        // another profile is another sum
        put_service_profile(chassis, 6);
        EXPECT_EQ(add(template_tcont(1, "assured", 6)), 0);
    });
}

// A bandwidth profile may grow under the T-CONTs that name it. They then count with what it has become, but
// what doesn't fit a port can be taken away.
TEST(Tcont, AServiceProfileThatFitsNoLongerCanBeTakenAway) {
    provisioning::run([](AppChassis& chassis) {
        ASSERT_EQ(add(template_tcont(1)), 0);
        ASSERT_EQ(add(template_tcont(2, "none")), 0);
        chassis.forget_messages();
        ov_sBWProfileTable_attr_t grown = {};
        grown.bwProfileId = BKDRHash("small", 5);
        grown.sBWProfileTableFixBw = 800001;
        const MIB_Flags_t fixed = columns_of(sBWProfileTable_column::sBWProfileTableFixBw);
        ASSERT_TRUE(mib_access(MIB_SET_S_N, grown, fixed));
        EXPECT_EQ(add(template_tcont(3, "none")), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "config bw is over max bw"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        for (const unsigned id : {2u, 1u})
            EXPECT_EQ(del(template_tcont(id)), 0);
        EXPECT_THAT(sent(chassis), ElementsAre(Sent(TCONT, DELETE), Sent(TCONT, DELETE)));
    });
}

TEST(Tcont, TheSumsOfAServiceProfileDontOverflow) {
    provisioning::run([](AppChassis& chassis) {
        put_bandwidth(chassis, "debt", -2000000000, 0);
        put_bandwidth(chassis, "huge", 2000000000, 147483647);
        Tcont row = template_tcont(1, "debt");
        for (unsigned id = 1; id <= 2; ++id)
            chassis.put_row<Tcont>([](Tcont& put) { strcpy(put.sTcontTableBwProfileName, "debt"); }, 1, 31,
                                   15, PROFILE, id);
        EXPECT_EQ(ov_app_gpon_multi_srvprofile_check_DBA(&row), 1);
        chassis.put_row<Tcont>([](Tcont& put) { strcpy(put.sTcontTableBwProfileName, "huge"); }, 1, 31, 15,
                               PROFILE, 0);
        EXPECT_EQ(ov_app_gpon_multi_srvprofile_check_DBA(&row), 0);
        chassis.put_row<Tcont>([](Tcont& put) { strcpy(put.sTcontTableBwProfileName, "gone"); }, 1, 31, 15, 6,
                               1);
        row = template_tcont(1, "gone", 6);
        EXPECT_EQ(ov_app_gpon_multi_srvprofile_check_DBA(&row), 0);
        EXPECT_TRUE(logged(chassis, "do not found bw profile:gone"));
    });
}

TEST(Tcont, ARefusalForAServiceProfileIsACodeThatIsntOne) {
    provisioning::run([](AppChassis& chassis) {
        put_bandwidth(chassis, "fixed", 800001, 0);
        Tcont row = template_tcont(1, "fixed");
        chassis.put_row<Tcont>([&](Tcont& put) { strcpy(put.sTcontTableBwProfileName, "fixed"); }, 1, 31, 15,
                               PROFILE, 1);
        row.sTcontTableRowStatus = OVRA_CREATEANDGO;
        EXPECT_EQ(ov_tcont_table_set_callback(did_of<Tcont>(), &row, TCONT_COLUMNS), BAD_PARAM);
        Tcont nobody = template_tcont(1, "small", 6);
        EXPECT_EQ(ov_tcont_multi_srvprofile_exist_check(&nobody), 0);
        EXPECT_TRUE(logged(chassis, "srvprofile id 6 is not exist"));
    });
}

TEST(Tcont, AModeThatAsksNothingIsAccepted) {
    provisioning::run([](AppChassis& chassis) {
        Tcont row = tcont(1, "nobody");
        row.sTcontTableRowStatus = OVRA_NOTINSERVICE;
        EXPECT_EQ(ov_tcont_table_set_callback(did_of<Tcont>(), &row, mibDefFlags), 1);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(Tcont, MissingArgumentsAreSaid) {
    provisioning::run([](AppChassis& chassis) {
        Tcont row = tcont(1);
        MIB_Flags_t columns = {};
        EXPECT_EQ(ov_app_gpon_tcont_add(nullptr, &columns, 1), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_tcont_add(&row, nullptr, 1), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_tcont_edit(nullptr, &columns), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_tcont_edit(&row, nullptr), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_tcont_del(nullptr), BAD_PARAM);
        EXPECT_EQ(chassis.hal.log.lines(), std::vector<std::string>(5, "null pointer"));
        // the profile's column is added when it is missing
        EXPECT_EQ(ov_app_gpon_tcont_add(&row, &columns, 1), 0);
        EXPECT_TRUE(
            logged(chassis, "missing parameter for bwfiletype in when adding tcont profile name is small "));
        EXPECT_TRUE(mib_flag_is_set(columns, column::sTcontTableBwProfileName));
        EXPECT_EQ(ov_app_gpon_tcont_exist_check(&row), 1);
        row.tcontId = 2;
        EXPECT_EQ(ov_app_gpon_tcont_exist_check(&row), 0);
    });
}

TEST(Tcont, TheTcontsOfAnOnuAreDeletedUpToTheFirstThatIsRefused) {
    provisioning::run([](AppChassis& chassis) {
        put_onu(chassis, PORT, ONU + 1);
        for (unsigned id = 1; id <= 3; ++id)
            ASSERT_EQ(add(tcont(id)), 0);
        ASSERT_EQ(add(tcont(1, "small", SLOT, PORT, ONU + 1)), 0);
        auto onu = onu_row();
        EXPECT_EQ(ov_tcont_table_iterate_del(&onu), 1);
        for (unsigned id = 1; id <= 3; ++id)
            EXPECT_FALSE(exists(tcont(id)));
        EXPECT_TRUE(exists(tcont(1, "small", SLOT, PORT, ONU + 1)));
        EXPECT_EQ(held_of(PORT), (Held{1, 0, 300, 100}));
        EXPECT_EQ(ov_tcont_table_iterate_del(&onu), 1); // nothing to do

        ASSERT_EQ(add(tcont(4)), 0);
        chassis.card_answers(908, 1);
        EXPECT_EQ(ov_tcont_table_iterate_del(&onu), 0);
        EXPECT_TRUE(logged(chassis, "delete tcont fail! onuid:7, tcontid:4"));
        EXPECT_TRUE(exists(tcont(4)));
    });
}

} // namespace
