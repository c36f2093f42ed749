// The rows of ONUs: what is read of whom, and the choice of ONUs by what they are loading.
#include "upgrade_chassis.h"

#include "app_loop.h"
#include "onu_read_pass.h"

using namespace upgrade_test;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

bool read(Status& row, std::initializer_list<unsigned> of) {
    MIB_Flags_t columns = {};
    for (const unsigned each : of)
        mib_flag_set(columns, each);
    return mib_access(MIB_GET, row, columns);
}

ProgressRecord progress(const char* file = "onu-2.bin") {
    ProgressRecord record = {};
    record.onuindex = onu_ifindex(SLOT, PORT, ONU);
    set_text(record.verName, file);
    record.verSize = 1000;
    record.transmitted = 250;
    record.status = SONUUPDSTATUSCURRSTATUS_DOWNLOADING;
    return record;
}

ImagesRecord images() {
    ImagesRecord record = {};
    record.onuindex = onu_ifindex(SLOT, PORT, ONU);
    std::memset(record.product_code, 'p', sizeof record.product_code); // to the last byte
    std::memset(record.region1_Name, '1', sizeof record.region1_Name);
    set_text(record.region2_Name, "V2");
    record.region1_isvalid = 1;
    record.region1_isactive = 1;
    record.region2_isvalid = 1;
    record.region2_iscommit = 1;
    return record;
}

// ---- the rows' life, and reads ----------------------------------------------------------------------------

TEST(OnuUpdStatus, RowsComeAndGoWithTheirOnus) {
    with_onu([](AppChassis& /*chassis*/) {
        EXPECT_NE(find_row(STATUS), nullptr);
        ASSERT_EQ(delete_onu(), OV_GPON_RET_OK);
        EXPECT_THAT(all_of<Status>(), IsEmpty());
    });
}

TEST(OnuUpdStatus, TheFirstColumnReadsTheProgress) {
    with_onu([](AppChassis& chassis) {
        chassis.card_reads(PROGRESS_MESSAGE, progress());
        Status row = STATUS;
        ASSERT_TRUE(read(row, {1}));
        EXPECT_STREQ(row.sOnuUpdStatusVerName, "onu-2.bin");
        EXPECT_EQ(row.sOnuUpdStatusVerSize, 1000);
        EXPECT_EQ(row.sOnuUpdStatusTxSize, 250);
        EXPECT_EQ(row.sOnuUpdStatusCurrStatus, SONUUPDSTATUSCURRSTATUS_DOWNLOADING);
        const auto asked = chassis.messages();
        ASSERT_THAT(asked, SizeIs(1));
        EXPECT_EQ(asked[0].type, PROGRESS_MESSAGE);
        EXPECT_EQ(asked[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(asked[0].mask, 0u);
        EXPECT_EQ(asked[0].record<ProgressRecord>().onuindex, onu_ifindex(SLOT, PORT, ONU));
    });
}

TEST(OnuUpdStatus, TheFifthColumnReadsTheImages) {
    with_onu([](AppChassis& chassis) {
        chassis.card_reads(IMAGES_MESSAGE, images());
        Status row = STATUS;
        ASSERT_TRUE(read(row, {5}));
        EXPECT_EQ(row.sOnuUpdInfoProCode, std::string(26, 'p'));
        EXPECT_EQ(row.sOnuUpdInfo0VerName, std::string(14, '1'));
        EXPECT_EQ(row.sOnuUpdInfo0isValid, 1);
        EXPECT_EQ(row.sOnuUpdInfo0isActived, 1);
        EXPECT_EQ(row.sOnuUpdInfo0isCommited, 0);
        EXPECT_STREQ(row.sOnuUpdInfo1VerName, "V2");
        EXPECT_EQ(row.sOnuUpdInfo1isValid, 1);
        EXPECT_EQ(row.sOnuUpdInfo1isActived, 0);
        EXPECT_EQ(row.sOnuUpdInfo1isCommited, 1);
        EXPECT_THAT(chassis.messages_of(PROGRESS_MESSAGE), IsEmpty());
    });
}

TEST(OnuUpdStatus, OtherColumnsAskNobody) {
    with_onu([](AppChassis& chassis) {
        Status row = STATUS;
        EXPECT_TRUE(read(row, {2, 3, 4, 6, 13}));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuUpdStatus, AnOnuThatIsAwayKeepsItsLastValues) {
    with_onu([](AppChassis& chassis) {
        chassis.card_reads(PROGRESS_MESSAGE, progress());
        put_status(ONU, "onu-1.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
        for (const int state : {SONUTABLEONUSTATE_ADDED, SONUTABLEONUSTATE_AUTHPASS}) {
            set_state(state);
            Status row = STATUS;
            EXPECT_TRUE(read(row, {1, 5}));
            EXPECT_STREQ(row.sOnuUpdStatusVerName, "onu-1.bin");
            EXPECT_EQ(row.sOnuUpdStatusCurrStatus, SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuUpdStatus, TheLastReadDecides) {
    with_onu([](AppChassis& chassis) {
        Status row = STATUS;
        chassis.card_answers(PROGRESS_MESSAGE, 1009);
        EXPECT_TRUE(read(row, {1, 5})); // the images could be read
        EXPECT_FALSE(read(row, {1}));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get onu extend info error").Times(1));
        chassis.card_answers(PROGRESS_MESSAGE, 0);
        chassis.card_answers(IMAGES_MESSAGE, 1009);
        EXPECT_FALSE(read(row, {1, 5}));
    });
}

TEST(OnuUpdStatus, ACardThatDoesNotKnowItLeavesTheRow) {
    with_onu([](AppChassis& chassis) {
        chassis.card_answers(PROGRESS_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        put_status(ONU, "onu-1.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
        Status row = STATUS;
        EXPECT_TRUE(read(row, {1}));
        EXPECT_STREQ(row.sOnuUpdStatusVerName, "onu-1.bin");
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get which not support"));
    });
}

// ---- ONUs by what they are loading ------------------------------------------------------------------------

void put_statuses(const AppChassis& chassis) {
    const auto put = [&](int port, int onu, const char* file, mib_long state) {
        chassis.put_row<Status>(
            [&](Status& row) {
                set_text(row.sOnuUpdStatusVerName, file);
                row.sOnuUpdStatusCurrStatus = state;
            },
            GPON_SHELF, SLOT, port, onu);
    };
    put(6, 1, "onu-2.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
    put(6, 2, "onu-2.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADING);
    put(6, 3, "", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
    put(6, 4, "onu-3.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
    put(6, 9, "onu-2.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
    put(8, 128, "onu-2.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
    put(8, 127, "onu-2.bi", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
}

const Update& listed(ovralist_t& list, size_t position) {
    return *static_cast<const Update*>(ovralist_findpos(&list, position)->data);
}

TEST(OnuUpdateTasks, AreGatheredByPort) {
    with_onu([](AppChassis& chassis) {
        put_statuses(chassis);
        ovralist_t list;
        EXPECT_EQ(
            ov_app_gpon_get_onu_update_task_list("onu-2.bin", &list, SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC), 3);
        ASSERT_EQ(ovralist_size(&list), 2u);
        EXPECT_EQ(listed(list, 0).portID, 6);
        EXPECT_EQ(listed(list, 0).sOnuUpdateOnuMask[0], 1);
        EXPECT_EQ(listed(list, 0).sOnuUpdateOnuMask[1], 1);
        EXPECT_EQ(listed(list, 1).slotID, SLOT);
        EXPECT_EQ(listed(list, 1).portID, 8);
        EXPECT_EQ(listed(list, 1).sOnuUpdateOnuMask[15], 0x80);
        ov_app_gpon_release_onu_update_task_list(&list);
        EXPECT_EQ(ovralist_size(&list), 0u);
    });
}

TEST(OnuUpdateTasks, AreLoggedOneByOneAndByPort) {
    with_onu([](AppChassis& chassis) {
        put_statuses(chassis);
        ovralist_t list;
        ov_app_gpon_get_onu_update_task_list("onu-2.bin", &list, SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
        const auto lines = chassis.hal.log.lines();
        EXPECT_THAT(lines, Contains("check ONU gpon-onu3/6:2 version[onu-2.bin] status[2:downloading]"));
        EXPECT_THAT(lines, Not(Contains(HasSubstr("gpon-onu3/6:3 "))));
        EXPECT_THAT(lines, Contains("   2 ONU gpon-onu3/6:9 version[onu-2.bin] need abort"));
        EXPECT_THAT(lines, Contains("   3 ONU gpon-onu3/8:128 version[onu-2.bin] need abort"));
        EXPECT_THAT(lines, Contains("gpon-olt3/6 onu count 2"));
        EXPECT_EQ(lines.back(), "gpon-olt3/8 onu count 1 total count 3");
    });
}

TEST(OnuUpdateTasks, AnyStateAndNone) {
    with_onu([](AppChassis& chassis) {
        put_statuses(chassis);
        ovralist_t list;
        EXPECT_EQ(ov_app_gpon_get_onu_update_task_list("onu-2.bin", &list, 0), 4);
        ov_app_gpon_release_onu_update_task_list(&list);
        EXPECT_EQ(ov_app_gpon_get_onu_update_task_list("", &list, 0), 0);
        EXPECT_EQ(ov_app_gpon_get_onu_update_task_list("onu-2.bin", &list, 13), 0);
        EXPECT_EQ(ovralist_size(&list), 0u);
    });
}

// ---- all of them anew -------------------------------------------------------------------------------------

constexpr int MANY = 600;

// Rows of ONUs 1 to 100 of ports 5 to 10; those with an odd number are in operation.
void put_many(const AppChassis& chassis) {
    for (int n = 0; n < MANY; ++n) {
        const int port = 5 + n / 100;
        const int onu = 1 + n % 100;
        chassis.put_row<Onu>(
            [onu](Onu& row) {
                row.sOnuTableOnuState =
                    onu % 2 == 1 ? SONUTABLEONUSTATE_OPERATIONAL : SONUTABLEONUSTATE_ADDED;
            },
            GPON_SHELF, SLOT, port, onu);
        chassis.put_row<Status>([](Status&) {}, GPON_SHELF, SLOT, port, onu);
    }
}

void report_progress(FakeCard& card, const wire::Bytes& request) {
    constexpr size_t RECORD = wire::PAYLOAD + 8;
    wire::Bytes reply = card.reply_to(request, 0);
    std::memcpy(&reply[RECORD + 4], "new.bin", 8);
    wire::put32(reply, RECORD + 68, 100);
    wire::put32(reply, RECORD + 72, ov_ifindex_get_subport_id(wire::get32(request, RECORD)));
    wire::put32(reply, RECORD + 76, SONUUPDSTATUSCURRSTATUS_DOWNLOADING);
    card.answer(request, reply);
}

bool passes_through(uint64_t pass) {
    return loop_until([pass] { return onu_update_status_pass().has_ended(pass); });
}

TEST(OnuReadPassOfUpdates, ReadsWhoeverIsInOperation) {
    with_onu([](AppChassis& chassis) {
        app_loop_set(frr_master());
        put_many(chassis);
        put_status(2, "old.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC, 5);
        chassis.card.behave(report_progress);
        ASSERT_TRUE(passes_through(onu_update_status_pass().begin()));
        EXPECT_THAT(chassis.messages_of(PROGRESS_MESSAGE), SizeIs(MANY / 2 + 1)); // and ONU 7 of port 4
        for (const int onu : {1, 51, 99}) {
            const Status& row = *find_row(onu_key<Status>(SLOT, 10, onu));
            EXPECT_STREQ(row.sOnuUpdStatusVerName, "new.bin");
            EXPECT_EQ(row.sOnuUpdStatusTxSize, onu);
        }
        EXPECT_STREQ(find_row(onu_key<Status>(SLOT, 5, 2))->sOnuUpdStatusVerName, "old.bin");
        EXPECT_EQ(find_row(STATUS)->sOnuUpdStatusTxSize, ONU);
    });
}

TEST(OnuReadPassOfUpdates, OneThatIsAskedForDuringAnotherBeginsBehindIt) {
    with_onu([](AppChassis& chassis) {
        app_loop_set(frr_master());
        chassis.card.behave(report_progress);
        OnuReadPass& pass = onu_update_status_pass();
        const uint64_t first = pass.begin();
        const uint64_t second = pass.begin();
        EXPECT_EQ(pass.begin(), second); // asked for at the same time
        EXPECT_GT(second, first);
        ASSERT_TRUE(passes_through(first));
        ASSERT_TRUE(passes_through(second));
        EXPECT_THAT(chassis.messages_of(PROGRESS_MESSAGE), SizeIs(2));
    });
}

TEST(OnuReadPassOfUpdates, ACardThatRefusesLeavesTheValues) {
    with_onu([](AppChassis& chassis) {
        app_loop_set(frr_master());
        put_status(ONU, "old.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
        chassis.card_answers(PROGRESS_MESSAGE, 1009);
        ASSERT_TRUE(passes_through(onu_update_status_pass().begin()));
        EXPECT_STREQ(find_row(STATUS)->sOnuUpdStatusVerName, "old.bin");
        EXPECT_EQ(find_row(STATUS)->sOnuUpdStatusCurrStatus, SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
    });
}

TEST(OnuReadPassOfUpdates, AnOnuThatGoesMeanwhileTakesNoAnswer) {
    with_onu([](AppChassis& chassis) {
        app_loop_set(frr_master());
        put_many(chassis);
        bool gone = false;
        chassis.card.behave(
            [&](FakeCard& card, const wire::Bytes& request) { report_progress(card, request); });
        const uint64_t pass = onu_update_status_pass().begin();
        Status row = onu_key<Status>(SLOT, 10, 99);
        gone = mib_access(MIB_DEL_N, row);
        EXPECT_TRUE(gone);
        ASSERT_TRUE(passes_through(pass));
        EXPECT_EQ(find_stored_row(row), nullptr);
        EXPECT_EQ(find_row(onu_key<Status>(SLOT, 10, 97))->sOnuUpdStatusTxSize, 97);
    });
}

TEST(OnuReadPassOfUpdates, WithoutOnusItIsThroughAtOnce) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        app_loop_set(frr_master());
        EXPECT_TRUE(onu_update_status_pass().has_ended(onu_update_status_pass().begin()));
    });
}

} // namespace
