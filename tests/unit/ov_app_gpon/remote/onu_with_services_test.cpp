// An ONU with all that services, filters and multicast make of it, from its creation to its end; and rows of
// flows, which nobody acts on.
#include "../support/service_chassis.h"
#include "ov_app_gpon_rm_uni.h"
#include "ov_app_gpon_rmmulticast.h"
#include "ov_app_gpon_rmunistatus.h"
#include "sGemTable.h"
#include "sRmFlowTable.h"

using namespace remote_test;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Multicast = ov_sRmMulticastTable_attr_t;
using Status = ov_sRmUniStatusTable_attr_t;

int switch_multicast(int value, int port) {
    auto status = uni<Status>(ETH, port);
    status.sRmUniStatusTableMcastEnable = value;
    MIB_Flags_t columns = columns_of(sRmUniStatusTable_column::sRmUniStatusTableMcastEnable);
    return ov_app_gpon_rmunistatus_edit(&status, &columns);
}

// How many rows there are of what these modules keep.
std::vector<int> rows_left() {
    return {MibNumberGet(did_of<Service>()),     MibNumberGet(did_of<FilterMode>()),
            MibNumberGet(did_of<FilterLimit>()), MibNumberGet(did_of<FilterRule>()),
            MibNumberGet(did_of<Multicast>()),   MibNumberGet(did_of<Status>()),
            MibNumberGet(did_of<Onu>())};
}

// Configures what an ONU has: 32 services, each second with rules, the others with a limit; and multicast.
void configure(int services) {
    for (int id = 1; id <= services; ++id) {
        const Service row = service(id, {.vlan = id});
        ASSERT_EQ(add(row), 0);
        if (id % 2 == 0) {
            ASSERT_EQ(set_filter_limit(row, id), 0);
            continue;
        }
        ASSERT_EQ(set_filter_mode(row, RMSMFMMODE_STATIC), 0);
        for (uint8_t rule = 1; rule <= 3; ++rule)
            ASSERT_EQ(add(rule_of(row, rule, {2, 0, 0, 0, 0, rule})), 0);
    }
    for (const int port : {1, 2})
        ASSERT_EQ(switch_multicast(1, port), 0);
}

void change(int services) {
    for (int id = 1; id <= services; ++id) {
        const Service row = service(id, {.gem = 2, .vlan = 100 + id});
        ASSERT_EQ(edit(row, columns_of(service_column::sRmServiceTableVlanId,
                                       service_column::sRmServiceTableGemId)),
                  0);
        ASSERT_EQ(set_filter_mode(row, id % 2 == 0 ? RMSMFMMODE_STATIC : RMSMFMMODE_DYNAMIC), 0);
    }
    ASSERT_EQ(switch_multicast(0, 1), 0);
}

TEST(OnuWithServices, LeavesNothingBehind) {
    run([](AppChassis& chassis) {
        const auto before = rows_left();
        configure(32);
        EXPECT_EQ(rows_left(), (std::vector{32, 32, 16, 48, 2, before[5], before[6]}));
        change(32);
        EXPECT_EQ(rows_left(), (std::vector{32, 32, 16, 0, 1, before[5], before[6]}));
        chassis.forget_messages();
        EXPECT_EQ(delete_onu(), 0);
        EXPECT_EQ(rows_left(), (std::vector{0, 0, 0, 0, 0, 0, 0}));
        // 16 limits and 32 services in front of the ONU, and nothing behind it
        const auto messages = sent(chassis);
        ASSERT_THAT(messages, SizeIs(16 + 32 + 1));
        EXPECT_EQ(messages.back(), "903 delete");
        ASSERT_EQ(new_onu(ONU, "ABCD00000007").add(), 0);
        EXPECT_EQ(rows_left(), before);
        configure(1);
    });
}

TEST(OnuWithServices, KeepsItsGemPortsWhileServicesUseThem) {
    run([](AppChassis& chassis) {
        chassis.put_row<ov_sGemTable_attr_t>([](auto&) {}, 1, SLOT, PORT, ONU, 1);
        counters().gemCnt[PORT - 1] = 1;
        ASSERT_EQ(add(service(1)), 0);
        auto gem = onu_key<ov_sGemTable_attr_t>(onu_at(ONU));
        gem.gemID = 1;
        EXPECT_FALSE(mib_access(MIB_DEL, gem));
        EXPECT_THAT(chassis.hal.log.lines(),
                    testing::Contains("this gemid:1 is using in rm service table! rm serviceid:1"));
        ASSERT_EQ(del(service(1)), 0);
        EXPECT_TRUE(mib_access(MIB_DEL, gem));
    });
}

// ---- flows ------------------------------------------------------------------------------------------------

TEST(RmFlow, RowsAreStoredAndNobodyHearsOfThem) {
    run([](AppChassis& chassis) {
        using Flow = ov_sRmFlowTable_attr_t;
        namespace column = sRmFlowTable_column;
        for (const int slot : {SLOT, GPON_TEMPLATE_SLOT}) {
            Flow row = onu_key<Flow>(slot, PORT, ONU);
            row.flowID = 5;
            row.onuCardID = 1;
            row.onuPortType = VEIP;
            row.onuPortID = 1;
            row.sRmFlowTableVlanId = 100;
            row.sRmFlowTableRowStatus = OVRA_CREATEANDGO;
            ASSERT_TRUE(mib_access(MIB_SET, row,
                                   columns_of(column::sRmFlowTableVlanId, column::sRmFlowTableRowStatus)));
            ASSERT_NE(find_row(row), nullptr);
            EXPECT_EQ(find_row(row)->sRmFlowTableVlanId, 100);
            row.sRmFlowTablePriorityID = 7;
            ASSERT_TRUE(mib_access(MIB_SET, row, columns_of(column::sRmFlowTablePriorityID)));
            EXPECT_EQ(find_row(row)->sRmFlowTablePriorityID, 7);
            ASSERT_TRUE(mib_access(MIB_DEL, row));
            EXPECT_EQ(find_stored_row(row), nullptr);
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

} // namespace
