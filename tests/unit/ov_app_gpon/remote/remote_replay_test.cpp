// What a card that comes up is told again of UNIs, and what the tables' callbacks are registered for.
#include "../support/remote_chassis.h"
#include "../support/restore_chassis.h"
#include "ov_app_gpon_config_restore_tables.h"
#include "ov_app_gpon_rmcapa.h"
#include "ov_app_gpon_rminfo.h"
#include "ov_app_gpon_rmunipm.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmunivlan.h"

using namespace remote_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Status = ov_sRmUniStatusTable_attr_t;
using Vlan = ov_sRmUniVlanTable_attr_t;

constexpr auto SET = OV_HAL_GPON_MSG_ACTION_SET;

template <typename Row, typename Fill>
void put_uni(const RestoreChassis& chassis, Fill fill, int slot, int port, int onu, int uni) {
    chassis.card.put_row<Row>(fill, 1, slot, port, onu, 1, ETH, uni);
}
constexpr auto AS_MADE = [](auto&) {};

TEST(RemoteReplay, UniStatusIsSetWhereItIsNotAsItWasMade) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_uni<Status>(chassis, AS_MADE, SLOT, PORT, ONU, 1);
        put_uni<Status>(
            chassis, [](Status& row) { row.sRmUniStatusTableAdminState = 0; }, SLOT, PORT, ONU, 2);
        put_uni<Status>(
            chassis,
            [](Status& row) {
                row.sRmUniStatusTablePmEnable = 1;
                row.sRmUniStatusMaxFrameSize = 1518;
                row.sRmUniStatusLinkStatus = 1;
            },
            SLOT, PORT, ONU, 3);
        put_uni<Status>(
            chassis, [](Status& row) { row.sRmUniStatusTableAdminState = 0; }, 2, PORT, ONU, 1);
        put_uni<Status>(
            chassis, [](Status& row) { row.sRmUniStatusTableAdminState = 0; }, GPON_TEMPLATE_SLOT,
            GPON_TEMPLATE_PORT, PROFILE, 1);
        const auto messages =
            chassis.messages_of([] { ov_app_gpon_config_restore_rm_uni_status(SLOT, SET); });
        EXPECT_THAT(outline(messages), ElementsAre("915 set 0x4", "915 set 0x408"));
        const auto record = messages.at(1).record<ov_gpon_rmuni_attr_t>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(onu_at(ONU)));
        EXPECT_EQ(record.uniPos.uniId, 3);
        EXPECT_EQ(record.pmEnabled, 1u);
        EXPECT_EQ(record.maxFrameSize, 1518u);
        EXPECT_FALSE(messages.at(1).wants_reply);
    });
}

void use_trunk(Vlan& row) {
    row.sRmUniVlanTableVlanMode = 3;
    put_list(row.sRmUniVlanTableVlanIdList, {10, 20});
}

TEST(RemoteReplay, UniVlanIsSetWhereItIsNotAsItWasMade) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_uni<Vlan>(chassis, AS_MADE, SLOT, PORT, ONU, 1);
        put_uni<Vlan>(chassis, use_trunk, SLOT, PORT, ONU, 2);
        put_uni<Vlan>(chassis, use_trunk, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE, 1);
        const auto messages = chassis.messages_of([] { ov_app_gpon_config_restore_rm_uni_vlan(SLOT, SET); });
        EXPECT_THAT(outline(messages), ElementsAre("916 set 0x18"));
        const auto record = messages.at(0).record<ov_gpon_rmuni_vlan_attr_t>();
        EXPECT_EQ(record.uniPos.uniId, 2);
        EXPECT_EQ(record.vlanMode, 3);
        EXPECT_EQ(record.vlanList.numVlanGrp, 2);
        EXPECT_EQ(record.vlanList.vlanGrp[1].startVlan, 20);
    });
}

TEST(RemoteReplay, UniVlansOfServiceProfilesGoToEveryCard) {
    run_restore_chassis([](RestoreChassis& chassis) {
        put_uni<Vlan>(chassis, AS_MADE, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE, 1);
        put_uni<Vlan>(chassis, use_trunk, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE, 2);
        put_uni<Vlan>(chassis, use_trunk, SLOT, PORT, ONU, 2);
        const auto messages =
            chassis.messages_of([] { ov_app_gpon_config_restore_onusrvprofile_rmunivlan(SLOT, SET); });
        EXPECT_THAT(outline(messages), ElementsAre("916 set 0x18"));
        EXPECT_EQ(messages.at(0).record<ov_gpon_rmuni_vlan_attr_t>().onuIfindex,
                  onu_ifindex_of(template_uni<Vlan>(ETH, 2)));
    });
}

TEST(RemoteReplay, WhatOnusSayOfThemselvesIsInNoStage) {
    run_restore_chassis([](RestoreChassis& chassis) {
        chassis.card.put_row<ov_sRmInfoTable_attr_t>([](auto& row) { row.sRmInfoTableReboot = 1; }, 1, SLOT,
                                                     PORT, ONU);
        const auto messages = chassis.messages_of([] { ov_app_gpon_config_restore_onu_info(SLOT, SET); });
        EXPECT_THAT(messages, IsEmpty());
    });
}

// ---- registrations ----------------------------------------------------------------------------------------

const MIB_callback* chain_of(int table, int kind) {
    const table_control_t& control = table_cntl[table];
    return kind == CALLBACK_GET   ? control.callback_get
           : kind == CALLBACK_SET ? control.callback_set
                                  : control.callback_check;
}
std::vector<std::string> labels_of(int table, int kind) {
    std::vector<std::string> labels;
    for (const MIB_callback* node = chain_of(table, kind); node != nullptr; node = node->next)
        labels.emplace_back(node->app.appName);
    return labels;
}
std::vector<unsigned> columns_of_node(const MIB_callback* node) {
    std::vector<unsigned> columns;
    for (unsigned column = 0; column < MIB_FLAGS_COLUMNS; ++column)
        if (mib_flag_is_set(node->app.appFlags, column))
            columns.push_back(column);
    return columns;
}

TEST(RemoteRegistration, UniStatusRunsFirstOnItsTableAndThenTheCounters) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        EXPECT_THAT(labels_of(SRMUNISTATUS, CALLBACK_SET),
                    ElementsAre("app_unistatus", "app_unipm", "app_multicast"));
        const auto written = testing::ElementsAre(4, 5, 6, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20);
        EXPECT_THAT(columns_of_node(chain_of(SRMUNISTATUS, CALLBACK_SET)), written);
        EXPECT_THAT(columns_of_node(chain_of(SRMUNISTATUS, CALLBACK_CHECK)), written);
        EXPECT_THAT(columns_of_node(chain_of(SRMUNISTATUS, CALLBACK_GET)), ElementsAre(10));
    });
}

TEST(RemoteRegistration, OfTheOtherTables) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        EXPECT_THAT(labels_of(SRMUNIVLAN, CALLBACK_SET), ElementsAre("app_univlan"));
        EXPECT_EQ(columns_of_node(chain_of(SRMUNIVLAN, CALLBACK_SET)).size(), MIB_FLAGS_COLUMNS);
        EXPECT_EQ(columns_of_node(chain_of(SRMUNIVLAN, CALLBACK_CHECK)).size(), MIB_FLAGS_COLUMNS);
        EXPECT_THAT(labels_of(SRMINFO, CALLBACK_SET), ElementsAre("app_rminfo"));
        EXPECT_THAT(columns_of_node(chain_of(SRMINFO, CALLBACK_SET)), ElementsAre(18, 19, 22));
        EXPECT_THAT(columns_of_node(chain_of(SRMINFO, CALLBACK_CHECK)), ElementsAre(18, 19, 22));
        EXPECT_THAT(columns_of_node(chain_of(SRMINFO, CALLBACK_GET)), ElementsAre(1));
        EXPECT_THAT(labels_of(SRMONUCAPA, CALLBACK_GET), ElementsAre("app_rmcapa"));
        EXPECT_EQ(columns_of_node(chain_of(SRMONUCAPA, CALLBACK_GET)).size(), 20u);
        EXPECT_THAT(labels_of(SRMONUCAPA, CALLBACK_SET), IsEmpty());
        EXPECT_THAT(labels_of(SRMUNIPM, CALLBACK_SET), IsEmpty());
    });
}

// An ONU's change runs those whose rows a card holds for it in front of the ONU's own, the others behind it;
// a profile's all behind the profile's.
TEST(RemoteRegistration, RowsFollowTheirOwnerInTheirOrder) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        const auto of_remote = [](int table, const std::string& own) {
            std::vector<std::string> found;
            for (const std::string& label : labels_of(table, CALLBACK_SET))
                if (label == own || label.starts_with("app_rm") || label.starts_with("app_uni"))
                    found.push_back(label);
            return found;
        };
        EXPECT_THAT(of_remote(SONU, "app_onu"),
                    ElementsAre("app_rmwifi", "app_rmwan", "app_rm_sip_agent_config_data", "app_rmservice",
                                "app_rm_iphost",
                                // behind these the card hears of the ONU
                                "app_onu", "app_rmonu_opt_threshold", "app_rmcapa", "app_rminfo",
                                "app_rm_voip_line_status", "app_rmonupoe", "app_unipoe", "app_unistatus",
                                "app_rm_tr069_mgmt", "app_rm_queue_schedule", "app_rm_voip_config_data",
                                "app_rm_sip_user_data", "app_univlan"));
        EXPECT_THAT(of_remote(SONUSRVPROFILE, "onu_srvprofile"),
                    ElementsAre("onu_srvprofile", "app_rm_sip_agent_config_data", "app_rmservice",
                                "app_rm_iphost", "app_rmonupoe", "app_unipoe", "app_unistatus",
                                "app_rm_voip_config_data", "app_univlan"));
    });
}

} // namespace
