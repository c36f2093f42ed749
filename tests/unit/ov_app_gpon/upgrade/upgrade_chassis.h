// Firmware of ONUs on the test chassis: ONU 7 of port 4, the row of that port, and a directory of files.
#pragma once

#include <filesystem>

#include "../support/remote_chassis.h"
#include "ov_app_gpon_onu_update.h"

namespace upgrade_test {

using namespace remote_test;

using Update = ov_sOnuUpdateTable_attr_t;
using Status = ov_sOnuUpdStatusTable_attr_t;
using UpdateRecord = ov_gpon_onu_update_attr_t;
using ProgressRecord = ov_gpon_onu_update_status_attr_t;
using ImagesRecord = ov_gpon_onu_update_info_attr_t;
namespace update_column = sOnuUpdateTable_column;
namespace status_column = sOnuUpdStatusTable_column;

inline constexpr int UPDATE_MESSAGE = 930;
inline constexpr int IMAGES_MESSAGE = 939;
inline constexpr int PROGRESS_MESSAGE = 940;
inline constexpr const char* DIRECTORY = "/app/appload/onu";
inline const Update UPDATE = port_key<Update>(SLOT, PORT);
inline const Status STATUS = onu_key<Status>(SLOT, PORT, ONU);

inline void put_image(const std::string& name, const std::string& text = "image") {
    std::filesystem::create_directories(DIRECTORY);
    ASSERT_TRUE(private_root::write_file(std::string(DIRECTORY) + "/" + name, text));
}

// Runs the body with the port's row, and ONU 7 in operation.
inline void with_onu(const std::function<void(AppChassis&)>& body) {
    remote_test::run([&](AppChassis& chassis) {
        chassis.put_row<Update>([](auto&) {}, GPON_SHELF, SLOT, PORT);
        bring_up();
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

// An edit of the port's row, with all three columns.
inline int act(mib_long action, const char* file = "", std::initializer_list<int> onus = {ONU}) {
    Update row = UPDATE;
    for (const int onu : onus)
        row.sOnuUpdateOnuMask[(onu - 1) >> 3] |= static_cast<uint8_t>(1u << ((onu - 1) & 7));
    set_text(row.sOnuUpdateVersionName, file);
    row.sOnuUpdateAction = action;
    MIB_Flags_t columns = columns_of(update_column::sOnuUpdateOnuMask, update_column::sOnuUpdateVersionName,
                                     update_column::sOnuUpdateAction);
    return ov_app_gpon_pon_onu_update_edit(&row, &columns);
}

inline std::string named_in(const UpdateRecord& record) {
    return {record.versionName, strnlen(record.versionName, sizeof record.versionName)};
}

// Lets a start whose file isn't copied at once reach its card.
inline bool file_is_there() {
    return loop_until([] { return !ov_app_gpon_pon_onu_update_is_late(UPDATE); });
}

inline void put_status(int onu, const char* file, mib_long state, int port = PORT, int slot = SLOT) {
    Status row = onu_key<Status>(slot, port, onu);
    set_text(row.sOnuUpdStatusVerName, file);
    row.sOnuUpdStatusCurrStatus = state;
    ASSERT_TRUE(
        mib_access(MIB_SET_S_N, row,
                   columns_of(status_column::sOnuUpdStatusVerName, status_column::sOnuUpdStatusCurrStatus)));
}

} // namespace upgrade_test
