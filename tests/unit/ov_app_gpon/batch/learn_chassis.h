// A learning port on the test chassis, and cards that report ONUs there.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "../support/remote_chassis.h"
#include "ov_app_gpon_autolearn_flow.h"
#include "ov_app_gpon_onu_learnt.h"
#include "ov_app_gpon_trap.h"
#include "sPonTable.h"

namespace learn_test {

using namespace remote_test;
using namespace std::string_literals;
using Port = ov_sPonTable_attr_t;
using Report = ov_gpon_autolearn_onu_attr_t;

inline constexpr char DEFAULT_TYPE[] = "KLM-618";
inline constexpr int BIND = SPONTABLEAUTOFLOWCONFIGONUNODE_DISABLE;
inline constexpr int COPY = SPONTABLEAUTOFLOWCONFIGONUNODE_ENABLE;

// ---- the port ---------------------------------------------------------------------------------------------

// A name or code in its slot, counted from 1, with its profile.
inline void put_model(Port& port, int slot, const std::string& name, int profile) {
    const auto at = static_cast<size_t>(slot) - 1;
    std::copy_n(name.begin(), std::min<size_t>(name.size(), 20), port.sPonTableModelSrvProfileName + 20 * at);
    port.sPonTableModelSrvProfile[at] = static_cast<unsigned char>(profile);
}
inline void put_vendor(Port& port, int slot, const std::string& code, int profile) {
    const auto at = static_cast<size_t>(slot) - 1;
    std::copy_n(code.begin(), std::min<size_t>(code.size(), 4), port.sPonTableVendorSrvProfileName + 4 * at);
    port.sPonTableVendorSrvProfile[at] = static_cast<unsigned char>(profile);
}

// A port that learns, with auto flow on.
template <typename Fill>
void put_learning_port(const AppChassis& chassis, Fill fill, int port = PORT) {
    chassis.put_row<Port>(
        [&](Port& row) {
            row.sPonTableAutoLearn = 1;
            row.sPonTableAutoFlow = SPONTABLEAUTOFLOW_ENABLE;
            fill(row);
        },
        GPON_SHELF, SLOT, port);
}

// ---- the report -------------------------------------------------------------------------------------------

struct Seen {
    int onu = 1;
    std::string sn = "ABCD\x00\x00\x00\x01"s;
    std::string model = "HOME-4";
    int kind = 0;
    std::string vendor = "ABCD";
    int port = PORT;
};

inline Report report_of(const Seen& seen) {
    Report report = {};
    report.onuIfindex = onu_ifindex(SLOT, seen.port, static_cast<uint32_t>(seen.onu));
    std::copy_n(seen.sn.begin(), std::min<size_t>(seen.sn.size(), 8), report.sn);
    std::copy_n(seen.vendor.begin(), std::min(seen.vendor.size(), sizeof report.vendorId), report.vendorId);
    std::copy_n(seen.model.begin(), std::min(seen.model.size(), sizeof report.eqptId), report.eqptId);
    report.onuType = static_cast<uint8_t>(seen.kind);
    std::memcpy(report.profile, "of the card", 11);
    return report;
}

inline int learn(const Seen& seen) {
    Report report = report_of(seen);
    return ov_app_gpon_autolearn_onu_add(&report);
}

// The serial number of the n-th ONU, in the bytes of a report and as text.
inline std::string sn_bytes(int n) {
    return "ABCD" + std::string({'\0', '\0', static_cast<char>(n >> 8), static_cast<char>(n)});
}
inline std::string sn_text(int n) {
    char text[13];
    snprintf(text, sizeof text, "ABCD%08x", static_cast<unsigned>(n));
    return text;
}

// As it comes from the card.
inline void receive(const Report& report, int action = OV_HAL_GPON_MSG_ACTION_CREATE) {
    std::array<unsigned char, 8 + sizeof report> body = {0, 0, 0, static_cast<unsigned char>(action)};
    std::memcpy(body.data() + 8, &report, sizeof report);
    ov_hal_gpon_msg_recv(OV_HAL_MSG_GPON_AUTO_LEARN_ONU, body.data(), 16 + body.size());
}

inline std::vector<gpon_learnt_onu_t> remembered(int port = PORT) {
    return ov_app_gpon_onus_learnt(SLOT, port);
}

// Runs the body with the brand's default type, type "HG-1" and service profiles 5 to 9 of that type.
inline void on_chassis(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&](AppChassis& chassis) {
        put_type_with(chassis, {});
        put_type_with(chassis, {.eth = 4}, DEFAULT_TYPE, TYPE_ID + 1);
        ASSERT_EQ(ov_pon_protect_group_pon_status_init(), KAVO_OK);
        for (int id = 5; id <= PROFILE; ++id)
            ASSERT_EQ(add_profile(id), OV_GPON_RET_OK);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

} // namespace learn_test
