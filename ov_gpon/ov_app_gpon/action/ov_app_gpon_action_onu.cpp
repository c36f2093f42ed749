#include "ov_app_gpon_action_onu.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

#include "app_index.h"
#include "app_key.h"
#include "app_rows.h"
#include "ov_app_gpon_action_type.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_gpon.h"
#include "ov_product_log.h"
#include "sOnuTable.h"

namespace {

constexpr char LOG_TAG[] = "MMG";
constexpr char BETWEEN_RANGES[] = ",";
constexpr size_t TYPE_NAME_SIZE = 34; // what ov_app_gpon_onu_srvprofile_check needs
using Flags = std::array<char, OV_BATCH_ONU_MAX>;

// The row of an ONU that its card has reported.
const ov_sOnuTable_attr_t* onu_at(ov_ifindex_t ifindex, size_t place) {
    auto key = port_key_of_ifindex<ov_sOnuTable_attr_t>(ifindex);
    key.onuId = static_cast<mib_long>(place + 1);
    const auto* onu = find_row(key);
    return onu != nullptr && onu->sOnuTableOnuState > 0 ? onu : nullptr;
}

ov_batch_onu_flag_e flag_of(const ov_sOnuTable_attr_t* onu, const char* type) {
    if (onu == nullptr)
        return OV_BATCH_ONU_NOT_THERE;
    return std::strcmp(onu->sOnuTableOnuTypeProfileName, type) == 0 ? OV_BATCH_ONU_CONFIG
                                                                    : OV_BATCH_ONU_WRONG_TYPE;
}

ov_ifindex_t port_of(const ActionRow& row) {
    return port_ifindex(PORT_TYPE_GPON, row.slotID, std::atoi(row.sActionParam1));
}

bool names_a_port(const ActionRow& row) {
    return row.shelfID == GPON_SHELF && fits(row.slotID, ov_gpon_maxslot_get()) &&
           fits(std::atoi(row.sActionParam1), ov_gpon_maxpon_get());
}

ActionEnd refuse(const char* text) {
    OV_LOG_ERROR(LOG_TAG, "%s", text);
    return ActionEnd::FAILED;
}

// The codes of the first 64 ONUs and of the others.
void keep_result(ActionRow& row, const ov_batch_cfg_rtn_t& result) {
    constexpr size_t HALF = sizeof result.errorCode / 2;
    static_assert(HALF < ACTION_PARAMETER_SIZE);
    std::memset(row.sActionParam5, 0, sizeof row.sActionParam5);
    std::memset(row.sActionParam6, 0, sizeof row.sActionParam6);
    std::memcpy(row.sActionParam5, result.errorCode, HALF);
    std::memcpy(row.sActionParam6, result.errorCode + HALF, HALF);
}

} // namespace

int ov_app_onu_range_parse(const char* onuRange, ov_batch_onu_flags_t onuFlag) {
    std::string ranges = onuRange;
    char* rest = nullptr;
    for (char* piece = strtok_r(ranges.data(), BETWEEN_RANGES, &rest); piece != nullptr;
         piece = strtok_r(nullptr, BETWEEN_RANGES, &rest)) {
        unsigned char first = 0;
        unsigned char last = 0;
        if (onuid_range_match(piece, &first, &last) != 1) {
            OV_LOG_ERROR(LOG_TAG, "wrong onu range %s", piece);
            return -1;
        }
        for (size_t id = first; id <= last; ++id)
            onuFlag[id - 1] = OV_BATCH_ONU_ASKED;
    }
    return 0;
}

void ov_gpon_multi_onu_add_state_check(ov_ifindex_t ifindex, ov_batch_onu_flags_t onuFlag,
                                       const char* onuTypeProfileName) {
    for (size_t place = 0; place < onuFlag.size(); ++place)
        if (onuFlag[place] == OV_BATCH_ONU_ASKED)
            onuFlag[place] = flag_of(onu_at(ifindex, place), onuTypeProfileName);
}

int ov_gpon_onu_state_check(ov_ifindex_t ifindex, ov_batch_onu_flags_t onuFlag) {
    for (size_t place = 0; place < onuFlag.size(); ++place)
        if (onuFlag[place] == OV_BATCH_ONU_ASKED && onu_at(ifindex, place) != nullptr)
            onuFlag[place] = OV_BATCH_ONU_CONFIG;
    return std::find(onuFlag.begin(), onuFlag.end(), char{OV_BATCH_ONU_ASKED}) == onuFlag.end() ? 0 : -1;
}

// Hundreds of rows go to the card: the copy goes on in steps of the loop, and the row is running meanwhile.
ActionEnd action_config_onus(ActionRow& row) {
    OV_LOG_INFO(LOG_TAG, "NMS start multi-onu service config!");
    OV_LOG_INFO(LOG_TAG, "port %s profile %s onu %s", row.sActionParam1, row.sActionParam2,
                row.sActionParam3);
    std::array<char, TYPE_NAME_SIZE> type{};
    const auto profile = static_cast<mib_ulong>(std::strtoul(row.sActionParam2, nullptr, 10));
    if (ov_app_gpon_onu_srvprofile_check(profile, type.data()) == 0)
        return refuse("Wrong onu srvprofile id!");
    Flags flags{};
    if (!names_a_port(row) || ov_app_onu_range_parse(row.sActionParam3, flags) != 0)
        return refuse("wrong parameter!");
    ov_gpon_multi_onu_add_state_check(port_of(row), flags, type.data());
    ov_gpon_multi_onu_service_config_start(port_of(row), flags, profile,
                                           [row](const ov_batch_cfg_rtn_t& result) mutable {
                                               keep_result(row, result);
                                               action_finished(row);
                                           });
    return ActionEnd::LATER;
}

ActionEnd action_delete_onu_services(ActionRow& row) {
    Flags flags{};
    if (!names_a_port(row) || ov_app_onu_range_parse(row.sActionParam3, flags) != 0 ||
        ov_gpon_onu_state_check(port_of(row), flags) != 0)
        return refuse("wrong parameter!");
    ov_gpon_multi_onu_service_delete(port_of(row), flags);
    return ActionEnd::DONE;
}
