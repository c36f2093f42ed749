// Which callbacks the provisioning modules have after start-up: for which columns, under which label, and in
// which order they run where several modules follow one table.
#include "../support/provisioning_chassis.h"

#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_qosprofile.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_sip_agent_config_data.h"
#include "ov_app_gpon_rm_traffic.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunipoe.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_service.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_app_gpon_vlan.h"

using testing::ElementsAre;

namespace {

const MIB_callback* chain_of(int table, int kind) {
    const table_control_t& control = table_cntl[table];
    return kind == CALLBACK_SET ? control.callback_set : control.callback_check;
}
const MIB_callback* registered(int table, int kind, MIB_callback_ptr function) {
    const MIB_callback* node = chain_of(table, kind);
    while (node != nullptr && node->callback != function)
        node = node->next;
    return node;
}
// Those of some functions in the order in which a change of the table runs them.
std::vector<MIB_callback_ptr> order_of(int table, const std::vector<MIB_callback_ptr>& functions) {
    std::vector<MIB_callback_ptr> order;
    for (const MIB_callback* node = chain_of(table, CALLBACK_SET); node != nullptr; node = node->next)
        if (std::find(functions.begin(), functions.end(), node->callback) != functions.end())
            order.push_back(node->callback);
    return order;
}

struct Registration {
    const char* label;
    int table;
    int kind;
    MIB_callback_ptr function;
    MIB_Flags_t columns;
};

TEST(Registration, EachCallbackHasItsLabelAndItsColumns) {
    constexpr MIB_Flags_t ALL_BUT_MONITORING = columns_but(11u);
    constexpr MIB_Flags_t ONU_STATUS = columns_of(17u);
    constexpr MIB_Flags_t PROFILE_STATUS = columns_of(6u);
    const Registration wanted[] = {
        {"app_onutype", SONUTYPEPROFILE, CALLBACK_SET, ov_onutype_table_set_callback, mibDefFlags},
        {"app_bwtype", SBWPROFILE, CALLBACK_SET, ov_bwtype_table_set_callback, mibDefFlags},
        {"app_qosprofile", SQOSPROFILE, CALLBACK_SET, ov_qosprofile_table_set_callback, mibDefFlags},
        {"app_rm_traffic", SRMTRAFFICPROFILE, CALLBACK_SET, ov_rm_traffic_table_set_callback, mibDefFlags},
        {"onu_srvprofile", SONUSRVPROFILE, CALLBACK_SET, ov_gpon_onu_srvpofile_set_callback, mibDefFlags},
        {"app_tcont", STCONT, CALLBACK_SET, ov_tcont_table_set_callback, mibDefFlags},
        {"app_tcont", SONU, CALLBACK_SET, ov_tcont_table_onu_del_callback, ONU_STATUS},
        {"app_tcont", SONUSRVPROFILE, CALLBACK_SET, ov_tcont_table_multi_srvprofile_del_callback,
         PROFILE_STATUS},
        {"app_gemport", SGEM, CALLBACK_SET, ov_gemport_table_set_callback, ALL_BUT_MONITORING},
        {"app_gemport", SGEM, CALLBACK_CHECK, ov_gemport_table_set_check_callback, ALL_BUT_MONITORING},
        {"app_gemport", SONU, CALLBACK_SET, ov_gemport_table_onu_del_callback, ONU_STATUS},
        {"app_gemport", SONUSRVPROFILE, CALLBACK_SET, ov_gemport_table_multi_srvprofile_del_callback,
         PROFILE_STATUS},
        {"ov_app_gpon_service_port", SSERVICEPORT, CALLBACK_SET, ov_service_port_table_set_callback,
         mibDefFlags},
        {"ov_app_gpon_service_port", SSERVICEPORT, CALLBACK_CHECK, ov_service_port_table_set_check_callback,
         mibDefFlags},
        {"ov_app_gpon_service_port", SONU, CALLBACK_SET, ov_service_port_table_on_onu_table_callback,
         ONU_STATUS},
        {"ov_app_gpon_service_port", SONUSRVPROFILE, CALLBACK_SET,
         ov_service_port_table_multi_srvprofile_callback, PROFILE_STATUS},
        {"app_mcast_vlan", SMCASTVLAN, CALLBACK_SET, ov_mcast_vlan_table_set_callback, mibDefFlags},
    };
    app_chassis::run([&](AppChassis&) {
        for (const Registration& r : wanted) {
            const MIB_callback* node = registered(r.table, r.kind, r.function);
            ASSERT_NE(node, nullptr) << r.label << " on table " << r.table;
            EXPECT_STREQ(node->app.appName, r.label) << r.table;
            EXPECT_NE(node->app.appId, 0) << r.label;
            for (unsigned column = 0; column < 128; ++column)
                EXPECT_EQ(mib_flag_is_set(node->app.appFlags, column), mib_flag_is_set(r.columns, column))
                    << r.label << " on table " << r.table << ", column " << column;
        }
        // T-CONTs of a protecting port may change
        EXPECT_EQ(chain_of(STCONT, CALLBACK_CHECK), nullptr);
    });
}

TEST(Registration, ServicePortsGoBeforeGemPortsAndTheseBeforeTconts) {
    app_chassis::run([](AppChassis&) {
        EXPECT_THAT(order_of(SONU, {ov_tcont_table_onu_del_callback, ov_gemport_table_onu_del_callback,
                                    ov_service_port_table_on_onu_table_callback}),
                    ElementsAre(ov_service_port_table_on_onu_table_callback,
                                ov_gemport_table_onu_del_callback, ov_tcont_table_onu_del_callback));
    });
}

// The profile first, which may refuse; what refers to something in front of that.
TEST(Registration, TheRowsOfAServiceProfileGoInThisOrder) {
    app_chassis::run([](AppChassis&) {
        const std::vector<MIB_callback_ptr> wanted = {
            ov_gpon_onu_srvpofile_set_callback,
            ov_app_gpon_rm_voip_sip_agent_config_data_onu_srvprofile_set_callback,
            ov_rmservice_multi_srvprofile_del_callback,
            ov_rm_iphost_multi_srvprofile_del_callback,
            ov_service_port_table_multi_srvprofile_callback,
            ov_gemport_table_multi_srvprofile_del_callback,
            ov_tcont_table_multi_srvprofile_del_callback,
            ov_onu_qos_onu_srvprofile_set_callback,
            ov_onupoe_onu_srvprofile_set_callback,
            ov_unipoe_onu_srvprofile_set_callback,
            ov_unistatus_onu_srvprofile_set_callback,
            ov_app_gpon_rm_voip_config_data_onu_srvprofile_set_callback,
            ov_univlan_onu_srvprofile_set_callback,
        };
        EXPECT_EQ(order_of(SONUSRVPROFILE, wanted), wanted);
    });
}

TEST(Registration, NothingFollowsTheOlderServicesUntilTheyAreAskedTo) {
    app_chassis::run([](AppChassis&) {
        EXPECT_EQ(chain_of(SSERVICE, CALLBACK_SET), nullptr);
        ov_app_gpon_service_init();
        const MIB_callback* node = registered(SSERVICE, CALLBACK_SET, ov_service_table_set_callback);
        ASSERT_NE(node, nullptr);
        EXPECT_STREQ(node->app.appName, "app_gemport");
    });
}

} // namespace
