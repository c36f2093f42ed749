// Two services with MAC filters on the test chassis, and what there is of filters.
#pragma once

#include "service_chassis.h"

namespace filter_test {

using namespace remote_test;

using Record = ov_gpon_rm_macfilter_attr_t;
using Mac = std::array<uint8_t, 6>;

inline constexpr unsigned MODE = rmServiceMacFilterModeTable_column::rmSmfmMode;
inline constexpr unsigned LIMIT = rmServiceMacFilterDynamicTable_column::rmSmfdMacLimit;
inline constexpr unsigned ACTION = rmServiceMacFilterStaticTable_column::rmSmfsFwdFilter;
inline constexpr unsigned RULE = rmServiceMacFilterStaticTable_column::rmSmfsRule;
inline constexpr unsigned ADDRESS = rmServiceMacFilterStaticTable_column::rmSmfsMac;

inline constexpr int DYNAMIC = RMSMFMMODE_DYNAMIC;
inline constexpr int STATIC = RMSMFMMODE_STATIC;
inline constexpr Mac A = {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e};
inline constexpr Mac B = {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5f};

inline const Service ONE = service(1, {.vlan = 10});
inline const Service TWO = service(2, {.vlan = 20});

inline int del(FilterRule row) {
    return ov_app_gpon_rm_mac_filter_static_del(&row);
}
inline int edit(FilterRule row, MIB_Flags_t columns) {
    return ov_app_gpon_rm_mac_filter_static_edit(&row, &columns);
}

// With services 1 and 2, whose creation nobody looks at.
inline void run_services(const std::function<void(AppChassis&)>& body) {
    run([&body](AppChassis& chassis) {
        ASSERT_EQ(add(ONE), 0);
        ASSERT_EQ(add(TWO), 0);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

template <typename Filter>
size_t rows_of(const Service& of) {
    size_t rows = 0;
    for (const Filter& row : rows_under(filter_of<Filter>(of), INDEX_TO_SERVICE))
        rows += row.rmServiceID == of.rmServiceID ? 1 : 0;
    return rows;
}
inline mib_long mode_of(const Service& of) {
    const auto* row = find_row(filter_of<FilterMode>(of));
    return row != nullptr ? row->rmSmfmMode : 0;
}
inline bool has_limit(const Service& of) {
    return find_row(filter_of<FilterLimit>(of)) != nullptr;
}

inline std::vector<std::string> everything() {
    auto all = all_of<FilterMode>();
    for (const auto& more : {all_of<FilterLimit>(), all_of<FilterRule>(), all_of<Service>()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace filter_test
