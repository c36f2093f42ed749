// The list of events that wait, and its index.
#include <gmock/gmock.h>

#include <list>
#include <random>

#include "../../ov_common/private_root.h"
#include "ov_app_gpon_alarm_cache.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

sActiveAlarmTable_entry alarm(uint32_t source, int32_t code,
                              int32_t state = SACTIVEALARMTABLEALARMSTATE_SET) {
    sActiveAlarmTable_entry row{};
    row.sActiveAlarmTableAlarmSource = source;
    row.sActiveAlarmTableAlarmCode = code;
    row.sActiveAlarmTableAlarmState = state;
    return row;
}

alarm_cache* insert(uint32_t source, int32_t code, int32_t state = SACTIVEALARMTABLEALARMSTATE_SET) {
    const auto row = alarm(source, code, state);
    return ov_app_gpon_alarm_cachelist_insert(&row);
}

alarm_cache* find(uint32_t source, int32_t code) {
    const auto row = alarm(source, code);
    return ov_app_gpon_alarm_cachelist_find(&row);
}

// The list from its head; its links back are checked on the way.
std::vector<std::pair<uint32_t, int32_t>> listed() {
    std::vector<std::pair<uint32_t, int32_t>> found;
    const alarm_cache* before = nullptr;
    for (const alarm_cache* entry = alarm_cache_head; entry; before = entry, entry = entry->next) {
        EXPECT_EQ(entry->prev, before);
        found.emplace_back(entry->alarmdata->sActiveAlarmTableAlarmSource,
                           entry->alarmdata->sActiveAlarmTableAlarmCode);
    }
    return found;
}

class AlarmCache : public testing::Test {
protected:
    ~AlarmCache() override { ov_app_gpon_alarm_cachelist_clear(); }
};

using Pair = std::pair<uint32_t, int32_t>;

TEST_F(AlarmCache, TheNewestEventStandsFirst) {
    insert(1, 201);
    insert(2, 201);
    insert(1, 202);
    EXPECT_THAT(listed(), ElementsAre(Pair(1, 202), Pair(2, 201), Pair(1, 201)));
}

TEST_F(AlarmCache, AnEntryIsFoundBySourceAndCode) {
    alarm_cache* const first = insert(0x54210000, 201);
    alarm_cache* const last = insert(0xffffffff, -1);
    EXPECT_EQ(find(0x54210000, 201), first);
    EXPECT_EQ(find(0xffffffff, -1), last);
    EXPECT_EQ(find(0x54210000, 202), nullptr);
    EXPECT_EQ(find(0x54210001, 201), nullptr);
    EXPECT_EQ(ov_app_gpon_alarm_cachelist_find(nullptr), nullptr);
}

TEST_F(AlarmCache, AnEntryOwnsACopyOfItsRowAndWaitsByItsState) {
    for (const auto& [state, seconds] : {std::pair(1, 3), {2, 10}, {0, 0}, {3, 0}, {-1, 0}}) {
        auto row = alarm(7, state, state);
        const alarm_cache* entry = ov_app_gpon_alarm_cachelist_insert(&row);
        row.sActiveAlarmTableAlarmSource = 8;
        EXPECT_EQ(entry->alarmdata->sActiveAlarmTableAlarmSource, 7u);
        EXPECT_EQ(entry->timeout, seconds);
        EXPECT_EQ(entry->timeleft, seconds);
        EXPECT_EQ(entry->expired, 0);
    }
}

TEST_F(AlarmCache, ARemovedEntryIsTheCallers) {
    insert(1, 1);
    alarm_cache* const middle = insert(2, 2);
    insert(3, 3);
    EXPECT_EQ(ov_app_gpon_alarm_cachelist_remove(middle), 0);
    EXPECT_THAT(listed(), ElementsAre(Pair(3, 3), Pair(1, 1)));
    EXPECT_EQ(find(2, 2), nullptr);
    EXPECT_EQ(ov_app_gpon_alarm_cachelist_remove(middle), -1); // it isn't in the list any more
    ov_app_gpon_alarm_cache_free(middle);
    EXPECT_EQ(ov_app_gpon_alarm_cachelist_remove(nullptr), -1);
    alarm_cache stranger{};
    EXPECT_EQ(ov_app_gpon_alarm_cachelist_remove(&stranger), -1);
    auto row = alarm(1, 1);
    stranger.alarmdata = &row; // the list has another entry of this alarm
    EXPECT_EQ(ov_app_gpon_alarm_cachelist_remove(&stranger), -1);
    EXPECT_EQ(listed().size(), 2u);
    ov_app_gpon_alarm_cache_free(nullptr);
}

TEST_F(AlarmCache, NoRowMakesNoEntry) {
    EXPECT_EQ(ov_app_gpon_alarm_cachelist_insert(nullptr), nullptr);
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(AlarmCache, RowsAreEqualBySourceAndCode) {
    const auto row = alarm(1, 201);
    auto same = alarm(1, 201, SACTIVEALARMTABLEALARMSTATE_CLEAR);
    const auto other_code = alarm(1, 202);
    const auto other_source = alarm(2, 201);
    EXPECT_EQ(ov_app_gpon_alarm_alarmtableentry_equals(&row, &same), 0);
    EXPECT_NE(ov_app_gpon_alarm_alarmtableentry_equals(&row, &other_code), 0);
    EXPECT_NE(ov_app_gpon_alarm_alarmtableentry_equals(&row, &other_source), 0);
    EXPECT_NE(ov_app_gpon_alarm_alarmtableentry_equals(&row, nullptr), 0);
    EXPECT_NE(ov_app_gpon_alarm_alarmtableentry_equals(nullptr, &row), 0);
    EXPECT_EQ(ov_app_gpon_alarm_alarmtableentry_equals(nullptr, nullptr), 0);
}

TEST_F(AlarmCache, ShowPrintsEachEntry) {
    insert(1411383296, 201);
    insert(5, 1301, SACTIVEALARMTABLEALARMSTATE_CLEAR);
    testing::internal::CaptureStdout();
    ov_app_gpon_alarm_cachelist_show();
    const std::string shown = testing::internal::GetCapturedStdout();
    EXPECT_THAT(shown, HasSubstr("source 5 code 1301 state 2 timeout 10 timeleft 10"));
    EXPECT_THAT(shown, HasSubstr("source 1411383296 code 201 state 1 timeout 3 timeleft 3"));
}

// The list against a plain one, by thousands of random changes.
TEST_F(AlarmCache, ListAndIndexAgreeWhateverHappens) {
    std::mt19937 random(4711);
    std::list<Pair> model;
    for (int step = 0; step < 20000; step++) {
        const Pair key(random() % 40, int32_t(random() % 20));
        const auto known = std::find(model.begin(), model.end(), key);
        alarm_cache* const found = find(key.first, key.second);
        ASSERT_EQ(found != nullptr, known != model.end());
        if (found) {
            ASSERT_EQ(ov_app_gpon_alarm_cachelist_remove(found), 0);
            ov_app_gpon_alarm_cache_free(found);
            model.erase(known);
        } else {
            ASSERT_NE(insert(key.first, key.second), nullptr);
            model.push_front(key);
        }
        if (step % 500 == 0) {
            ASSERT_EQ(listed(), std::vector<Pair>(model.begin(), model.end()));
        }
    }
}

#if !defined(__SANITIZE_ADDRESS__) // its allocator ends the program instead of answering null
TEST_F(AlarmCache, WithoutMemoryTheEventIsLostAndThatIsPrinted) {
    const auto outcome = private_root::run_captured([] {
        insert(1, 1);
        printf("%s", ""); // its buffer is there
        private_root::use_up_memory();
        const bool is_lost =
            insert(2, 2) == nullptr && alarm_cache_head->alarmdata->sActiveAlarmTableAlarmSource == 1;
        fflush(stdout);
        _exit(is_lost && find(2, 2) == nullptr ? 0 : 1);
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out,
                testing::MatchesRegex("ov_app_gpon_alarm_cachelist_insert\\([0-9]+\\): calloc error! \n"));
}
#endif

} // namespace
