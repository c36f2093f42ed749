// The doors of tables (ov_app_gpon_*_add, ov_app_gpon_*_edit) have three shapes. Whoever takes rows of many
// tables somewhere else calls them alike.
#pragma once

#include "mmg_access.h"

// Whether a door that can do without the check callbacks runs them.
enum class Checks : int { PASSED_OVER = 0, RUN = 1 };

template <typename Row>
int write_by(int (*door)(Row*, MIB_Flags_t*), Row& row, MIB_Flags_t& columns, Checks /*checks*/) {
    return door(&row, &columns);
}
template <typename Row>
int write_by(int (*door)(Row*, MIB_Flags_t), Row& row, MIB_Flags_t& columns, Checks /*checks*/) {
    return door(&row, columns);
}
template <typename Row>
int write_by(int (*door)(Row*, MIB_Flags_t*, int), Row& row, MIB_Flags_t& columns, Checks checks) {
    return door(&row, &columns, static_cast<int>(checks));
}

// The row that a door takes: decltype(row_of_door(ov_app_gpon_tcont_add)).
template <typename Row, typename... More>
Row row_of_door(int (*door)(Row*, More...));
