#include "sTableInit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace {

std::vector<std::string> names(std::span<const ov_init_step_t> list) {
    std::vector<std::string> out;
    for (const ov_init_step_t& step : list)
        out.emplace_back(step.name);
    return out;
}

size_t place(const std::vector<std::string>& list, const std::string& name) {
    const auto it = std::find(list.begin(), list.end(), name);
    EXPECT_NE(it, list.end()) << name;
    return static_cast<size_t>(it - list.begin());
}

TEST(StartLists, SixtyFiveTablesFromPonToServiceProfile) {
    const auto list = names(ov_table_init_list());
    ASSERT_EQ(list.size(), 65u);
    EXPECT_EQ(list.front(), "init_sPonTable");
    EXPECT_EQ(list[9], "init_sOnuTable");
    EXPECT_EQ(list[46], "init_servicePortTable");
    EXPECT_EQ(list.back(), "init_sOnuSrvProfileTable");
}

TEST(StartLists, SixtyApplicationsFromPortToPmDefaults) {
    const auto list = names(ov_app_init_list());
    ASSERT_EQ(list.size(), 60u);
    EXPECT_EQ(list.front(), "ov_app_gpon_port_init");
    EXPECT_EQ(list[58], "ov_app_gpon_service_pofile_init");
    EXPECT_EQ(list.back(), "ov_app_gpon_pm_ini_init");
}

// A chain runs the last registered first: the modules that clean up behind an ONU come before the ONU's own
// callback because they are registered later.
TEST(StartLists, FollowersOfTheOnuRegisterBehindIt) {
    const auto list = names(ov_app_init_list());
    const size_t onu = place(list, "ov_app_gpon_onu_init");
    for (const char* follower :
         {"ov_app_gpon_tcont_init", "ov_app_gpon_gemport_init", "ov_app_gpon_service_port_init"})
        EXPECT_GT(place(list, follower), onu) << follower;
}

TEST(StartLists, NoModuleStandsTwiceAndDormantTablesStandInNone) {
    auto list = names(ov_table_init_list());
    EXPECT_EQ(std::set<std::string>(list.begin(), list.end()).size(), list.size());
    EXPECT_TRUE(std::none_of(list.begin(), list.end(), [](const std::string& name) {
        return name.starts_with("init_acl") || name == "init_smartQinqTable";
    }));
    list = names(ov_app_init_list());
    EXPECT_EQ(std::set<std::string>(list.begin(), list.end()).size(), list.size());
}

} // namespace
