// What a card that comes up is told again of services, their filters and multicast, and in which order the
// callbacks of their tables run.
#include "../support/restore_chassis.h"
#include "../support/service_chassis.h"
#include "ov_app_gpon_rmmulticast.h"

using namespace remote_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Multicast = ov_sRmMulticastTable_attr_t;

constexpr auto CREATE = OV_HAL_GPON_MSG_ACTION_CREATE;
constexpr auto SET = OV_HAL_GPON_MSG_ACTION_SET;
constexpr auto AS_MADE = [](auto&) {};

void use_vlan(Service& row) {
    row.sRmServiceTableRmServiceType = OV_GPON_RM_SERVICE_VLAN;
    row.sRmServiceTableGemId = 3;
    row.sRmServiceTableVlanId = 100;
}

// Services of this card, of another, and of a profile; and one that waits.
void put_services(const RestoreChassis& chassis) {
    chassis.card.put_row<Service>(use_vlan, 1, SLOT, PORT, ONU, 1);
    chassis.card.put_row<Service>(AS_MADE, 1, SLOT, PORT, ONU, 2);
    chassis.card.put_row<Service>(use_vlan, 1, 2, PORT, ONU, 1);
    chassis.card.put_row<Service>(use_vlan, 1, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE, 4);
    Service waiting = service(9);
    waiting.sRmServiceTableRowStatus = OVRA_CREATEANDWAIT;
    ASSERT_TRUE(mib_access(MIB_SET, waiting, columns_of(sRmServiceTable_column::sRmServiceTableRowStatus)));
}

TEST(ServiceReplay, ServicesOfTheCardAreCreated) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_services(chassis);
        const auto messages =
            chassis.messages_of([] { ov_app_gpon_config_restore_rm_service(SLOT, CREATE); });
        EXPECT_THAT(outline(messages), ElementsAre("913 create", "913 create"));
        const auto record = messages.at(0).record<ov_gpon_rmservice_attr_t>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(onu_at(ONU)));
        EXPECT_EQ(record.serviceId, 1);
        EXPECT_EQ(record.type, 1);
        EXPECT_EQ(record.gemId, 3);
        EXPECT_EQ(record.vlan, 100);
        EXPECT_FALSE(messages.at(0).wants_reply);
    });
}

TEST(ServiceReplay, ServicesOfProfilesGoToEveryCard) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_services(chassis);
        const auto messages =
            chassis.messages_of([] { ov_app_gpon_config_restore_onusrvprofile_rmservice(SLOT, CREATE); });
        EXPECT_THAT(outline(messages), ElementsAre("913 create"));
        const auto record = messages.at(0).record<ov_gpon_rmservice_attr_t>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(template_service(4)));
        EXPECT_EQ(record.serviceId, 4);
    });
}

template <typename Filter, typename Fill>
void put_filter(const RestoreChassis& chassis, Fill fill, int of, int slot = SLOT, int port = PORT) {
    chassis.card.put_row<Filter>(fill, 1, slot, port, ONU, of);
}

TEST(ServiceReplay, ModesAndLimitsAreSetWhereTheyAreNotAsTheyWereMade) {
    run_restore_chassis([](RestoreChassis& chassis) {
        const auto fixed = [](FilterMode& row) { row.rmSmfmMode = RMSMFMMODE_STATIC; };
        const auto limited = [](FilterLimit& row) { row.rmSmfdMacLimit = 16; };
        put_filter<FilterMode>(chassis, AS_MADE, 1);
        put_filter<FilterMode>(chassis, fixed, 2);
        put_filter<FilterMode>(chassis, fixed, 3, 2);
        put_filter<FilterMode>(chassis, fixed, 4, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT);
        put_filter<FilterLimit>(chassis, AS_MADE, 1);
        put_filter<FilterLimit>(chassis, limited, 3);
        put_filter<FilterLimit>(chassis, limited, 4, 2);
        const auto messages = chassis.messages_of([] {
            ov_app_gpon_config_restore_rm_macfilter_mode(SLOT, SET);
            ov_app_gpon_config_restore_rm_macfilter_dynamic(SLOT, SET);
        });
        EXPECT_THAT(outline(messages), ElementsAre("934 set 0x4", "934 set 0x8"));
        EXPECT_EQ(messages.at(0).record<ov_gpon_rm_macfilter_attr_t>().flowId, 2);
        EXPECT_EQ(messages.at(0).record<ov_gpon_rm_macfilter_attr_t>().mode, RMSMFMMODE_STATIC);
        EXPECT_EQ(messages.at(1).record<ov_gpon_rm_macfilter_attr_t>().flowId, 3);
        EXPECT_EQ(messages.at(1).record<ov_gpon_rm_macfilter_attr_t>().dyn_count, 16);
    });
}

TEST(ServiceReplay, RulesAreCreated) {
    run_restore_chassis([](RestoreChassis& chassis) {
        chassis.card.put_row<FilterRule>([](FilterRule& row) { row.rmSmfsMac[5] = 7; }, 1, SLOT, PORT, ONU, 1,
                                         200);
        chassis.card.put_row<FilterRule>(AS_MADE, 1, 2, PORT, ONU, 1, 1);
        const auto messages =
            chassis.messages_of([] { ov_app_gpon_config_restore_rm_macfilter_static(SLOT, CREATE); });
        EXPECT_THAT(outline(messages), ElementsAre("934 create"));
        const auto record = messages.at(0).record<ov_gpon_rm_macfilter_attr_t>();
        EXPECT_EQ(record.entryId, 200);
        EXPECT_EQ(messages.at(0).bytes.at(offsetof(ov_gpon_rm_macfilter_attr_t, macAddress) + 5), 7);
    });
}

TEST(ServiceReplay, MulticastIsSetWhereItIsNotAsItWasMade) {
    run_restore_chassis([](RestoreChassis& chassis) {
        const auto snooping = [](Multicast& row) {
            row.sRmMulticastTableIgmpMode = SRMMULTICASTTABLEIGMPMODE_SNOOPING;
            row.sRmMulticastTableMaxGroupNum = 64;
        };
        chassis.card.put_row<Multicast>(AS_MADE, 1, SLOT, PORT, ONU, 1, ETH, 1);
        chassis.card.put_row<Multicast>(snooping, 1, SLOT, PORT, ONU, 1, ETH, 2);
        chassis.card.put_row<Multicast>(snooping, 1, 2, PORT, ONU, 1, ETH, 3);
        chassis.card.put_row<Multicast>(snooping, 1, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE, 1, ETH,
                                        4);
        const auto messages = chassis.messages_of([] { ov_app_gpon_config_restore_rm_mcast(SLOT, SET); });
        EXPECT_THAT(outline(messages), ElementsAre("917 set 0x50"));
        const auto record = messages.at(0).record<ov_gpon_rmuni_mcast_attr_t>();
        EXPECT_EQ(record.uniPos.uniId, 2);
        EXPECT_EQ(record.enabled, 1);
        EXPECT_EQ(record.mode, 1);
        EXPECT_EQ(record.maxGrpNum, 64u);
    });
}

// ---- registrations ----------------------------------------------------------------------------------------

std::vector<std::string> labels(const MIB_callback* node) {
    std::vector<std::string> found;
    for (; node != nullptr; node = node->next)
        found.emplace_back(node->app.appName);
    return found;
}

TEST(ServiceRegistration, FiltersRunInFrontOfWhatTheyFollow) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        EXPECT_THAT(labels(table_cntl[SRMSERVICE].callback_set),
                    ElementsAre("app_rm_macfilter_mode", "app_rmservice"));
        EXPECT_THAT(labels(table_cntl[SRMMACFMODE].callback_set),
                    ElementsAre("app_rm_macfilter_static", "app_rm_macfilter_dyn", "app_rm_macfilter_mode"));
        EXPECT_THAT(labels(table_cntl[SRMMACFD].callback_set), ElementsAre("app_rm_macfilter_dyn"));
        EXPECT_THAT(labels(table_cntl[SRMMACFS].callback_set), ElementsAre("app_rm_macfilter_static"));
        EXPECT_THAT(labels(table_cntl[SRMMULTICAST].callback_set), ElementsAre("app_multicast"));
        for (const int table : {SRMSERVICE, SRMMACFMODE, SRMMACFD, SRMMACFS, SRMMULTICAST})
            EXPECT_EQ(labels(table_cntl[table].callback_check).size(), 1u) << table;
        for (const auto* chain : {table_cntl[SRMFLOW].callback_set, table_cntl[SRMFLOW].callback_check,
                                  table_cntl[SRMFLOW].callback_get})
            EXPECT_THAT(labels(chain), IsEmpty());
    });
}

} // namespace
