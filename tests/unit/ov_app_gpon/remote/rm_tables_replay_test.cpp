// What a card that comes up is told again of the tables behind an ONU, and which of their rows.
#include "../support/remote_tables.h"
#include "../support/restore_chassis.h"
#include "ov_app_gpon_config_restore_tables.h"
#include "ov_app_gpon_rmonu_opt_threshold.h"

using namespace remote_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto CREATE = OV_HAL_GPON_MSG_ACTION_CREATE;
constexpr auto SET = OV_HAL_GPON_MSG_ACTION_SET;

struct OptThreshold : RemoteTable<ov_sRmOnuOptThresholdTable_attr_t, ov_gpon_rmonu_opt_threshold_attr_t> {
    static constexpr const char* NAME = "rmonu_opt_threshold";
    static constexpr int MESSAGE = 931;
    static constexpr uint32_t MASK = 1u << 1;
    static constexpr unsigned COLUMN = 1;
    static void set_one(Row& row) { row.sRmOnuOptThresholdLowRxpwr = -30; }
};

// How a table is replayed: its rows of ONUs, those of service profiles (null: it has none to tell), and with
// which action.
template <typename Table>
struct Replay;
#define REPLAY(table, of_onus, of_profiles, action_)                                                         \
    template <>                                                                                              \
    struct Replay<table> {                                                                                   \
        static constexpr const RestoreTable* onus = &ov_app_gpon_config_restore_##of_onus;                   \
        static constexpr auto profiles = of_profiles;                                                        \
        static constexpr auto action = action_;                                                              \
    };
#define PROFILES(word) &ov_app_gpon_config_restore_onusrvprofile_##word
REPLAY(Wan, rm_wan, PROFILES(wan), CREATE)
REPLAY(Wifi, rm_wifi, PROFILES(wifi), CREATE)
REPLAY(IpHost, rm_iphost, PROFILES(iphost), CREATE)
REPLAY(SipAgent, rm_voip_sip_agent, PROFILES(voip_sip_agent), CREATE)
REPLAY(VoipConfig, rm_voip_cfg, PROFILES(voip_cfg), SET)
REPLAY(SipUser, rm_voip_sip_user, nullptr, SET)
REPLAY(Tr069, rm_tr069, nullptr, SET)
REPLAY(UniPoe, rm_uni_poe, PROFILES(uni_poe), SET)
REPLAY(OnuPoe, rm_onu_poe, PROFILES(onu_poe), SET)
REPLAY(OptThreshold, rm_onu_threshold, nullptr, SET)

struct TableName {
    template <typename Table>
    static std::string GetName(int) {
        return Table::NAME;
    }
};

template <typename Table>
class RemoteTablesReplay : public testing::Test {
public:
    // Stored past all callbacks; with one setting, or as it was made.
    static void put(typename Table::Row row, bool set) {
        TableModule& table = table_of<typename Table::Row>::module();
        ASSERT_EQ(MibAccessHandle(MIB_CREATEGO_S_N, 0, table.did(), &row, mibDefFlags, 0), MIB_OK);
        if (set) {
            Table::set_one(row);
            ASSERT_TRUE(mib_access(MIB_SET_S_N, row, columns_of(Table::COLUMN)));
        }
    }
    static std::string line() {
        const CardMessage message = {.type = Table::MESSAGE,
                                     .action = Replay<Table>::action,
                                     .mask = Replay<Table>::action == SET ? Table::MASK : 0,
                                     .wants_reply = false,
                                     .bytes = {}};
        return outline({message}).at(0);
    }
};
using ReplayedTables =
    testing::Types<Wan, Wifi, IpHost, SipAgent, VoipConfig, SipUser, Tr069, UniPoe, OnuPoe, OptThreshold>;
TYPED_TEST_SUITE(RemoteTablesReplay, ReplayedTables, TableName);

// A create always goes out, a set for what isn't as it was made.
TYPED_TEST(RemoteTablesReplay, RowsOfTheSlotGoOut) {
    using Table = TypeParam;
    run_restore_chassis([](RestoreChassis& chassis) {
        TestFixture::put(row_of<Table>(1), false);
        TestFixture::put(row_of<Table>(2), true);
        TestFixture::put(row_of<Table>(3, PORT, 2), true);
        TestFixture::put(template_row_of<Table>(), true);
        auto waiting = row_of<Table>(4);
        ASSERT_TRUE(mib_access(MIB_CREATEWAIT_S_N, waiting));
        const auto messages =
            chassis.messages_of([] { (*Replay<Table>::onus)(SLOT, Replay<Table>::action); });
        if constexpr (Replay<Table>::action == CREATE)
            EXPECT_THAT(outline(messages), ElementsAre(TestFixture::line(), TestFixture::line()));
        else
            EXPECT_THAT(outline(messages), ElementsAre(TestFixture::line()));
        EXPECT_EQ(messages.back().template record<typename Table::Record>().onuIfindex,
                  onu_ifindex_of(row_of<Table>(2)));
        EXPECT_FALSE(messages.back().wants_reply);
    });
}

TYPED_TEST(RemoteTablesReplay, RowsOfProfilesGoToEveryCard) {
    using Table = TypeParam;
    if constexpr (!std::is_null_pointer_v<decltype(Replay<Table>::profiles)>)
        run_restore_chassis([](RestoreChassis& chassis) {
            TestFixture::put(row_of<Table>(1), true);
            TestFixture::put(template_row_of<Table>(), true);
            const auto messages =
                chassis.messages_of([] { (*Replay<Table>::profiles)(SLOT, Replay<Table>::action); });
            EXPECT_THAT(outline(messages), ElementsAre(TestFixture::line()));
            EXPECT_EQ(messages.at(0).template record<typename Table::Record>().onuIfindex,
                      onu_ifindex_of(template_row_of<Table>()));
        });
}

TEST(QueueScheduleReplay, ModeAndWeightsGoTogether) {
    run_restore_chassis([](RestoreChassis& chassis) {
        const auto put = [&](int onu, int mode) {
            chassis.card.put_row<QueueSchedule::Row>(
                [&](auto& row) {
                    row.sRmQueueScheduleMode = mode;
                    row.sRmQueueScheduleWeight[0] = 30;
                },
                1, SLOT, PORT, onu);
        };
        put(1, SRMQUEUESCHEDULEMODE_NOT_SET);
        put(2, SRMQUEUESCHEDULEMODE_WRR);
        const auto messages =
            chassis.messages_of([] { ov_app_gpon_config_restore_rm_queue_schedule(SLOT, SET); });
        EXPECT_THAT(outline(messages), ElementsAre("944 set 0x6"));
        EXPECT_EQ(messages.at(0).record<QueueSchedule::Record>().weight[0], 30);
    });
}

} // namespace
