#include "sTableInit.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

#include "start_order.inc"

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

TEST(StartLists, TablesStartInTheirOrder) {
    EXPECT_THAT(names(ov_table_init_list()), testing::ElementsAreArray(TABLE_INITIALISERS));
    EXPECT_EQ(std::size(TABLE_INITIALISERS), 65u);
}

TEST(StartLists, ApplicationsStartInTheirOrder) {
    EXPECT_THAT(names(ov_app_init_list()), testing::ElementsAreArray(APPLICATION_INITIALISERS));
    EXPECT_EQ(std::size(APPLICATION_INITIALISERS), 60u);
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
