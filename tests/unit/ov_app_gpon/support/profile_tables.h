// The profile tables as the cases that they share see them: names, texts and numbers.
#pragma once

#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_qosprofile.h"
#include "ov_app_gpon_rm_traffic.h"
#include "profile_support.h"
#include "sGemTable.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"
#include "sTcontTable.h"

namespace profile_test {

// Texts that end in a blank or a colon are followed by an id, and by ":" and the name.

struct BwDescription {
    using Row = ov_sBWProfileTable_attr_t;
    using Record = ov_gpon_bwprofile_attr_t;
    static constexpr auto ID = &Row::bwProfileId;
    static constexpr auto ROW_STATUS = &Row::sBWProfileTableRowStatus;
    static constexpr auto VALUE = &Row::sBWProfileTableMaxBw; // any column that may have any value
    static auto& name_of(Row& row) { return row.sBWProfileTableBwProfileName; }
    static constexpr unsigned NAME_COLUMN = 2;
    static constexpr unsigned ROW_STATUS_COLUMN = 7;

    static constexpr auto ADD = ov_app_gpon_bwtype_add;
    static constexpr auto EDIT = ov_app_gpon_bwtype_edit;
    static constexpr auto DEL = ov_app_gpon_bwtype_del;
    static constexpr auto GET_ID = ov_app_gpon_bwtype_getId;
    static constexpr auto CHECK = ov_app_gpon_bwtype_check;

    static constexpr const char* NAME_EMPTY = "bwprofile name is empty";
    static constexpr const char* EXISTS = "bwtype profile was exist ";
    static constexpr const char* UNKNOWN = "bwtype profile did not exist ";
    static constexpr const char* ADD_FAILED = "mib add error for bwtype table";
    static constexpr const char* DEL_FAILED = "mib del error for bwtype table";
    // Of a name that another id has, to a manager, and to an add with the add's answer.
    static constexpr const char* OTHER_ID = "same bwprofile name exist before ";
    static constexpr const char* ADD_OTHER_ID = OTHER_ID;
    static constexpr int ADD_OTHER_ID_CODE = OV_GPON_RET_EXISTED;

    // The rest is for tables that cards know.
    static constexpr int MESSAGE = 907;
    static constexpr const char* CARD_FAILED = "set bwtype error";
    static constexpr int MOST = 256;             // rows
    static constexpr const char* FULL = nullptr; // what the check says of one more
    static constexpr int ADD_FULL_CODE = OV_GPON_RET_NO_RESOURCE;
    static constexpr const char* DEFAULT = "default";
    static constexpr auto ADD_DEFAULT = ov_app_gpon_bwtype_add_default;
    static constexpr int ADD_DEFAULT_AGAIN_CODE = OV_GPON_RET_BAD_PARAM;
    static constexpr const char* DEFAULT_STAYS = "bwprofile name is default"; // null: silently
    static std::vector<ProfileUser> users() {
        return {
            {[](AppChassis& chassis, const std::string& profile) {
                 chassis.put_row<ov_sTcontTable_attr_t>(
                     [&](auto& row) { row.sTcontTableBwProfileId = static_cast<mib_long>(hash_of(profile)); },
                     1, AppChassis::SLOT, 4, 7, 1);
             },
             with_id("this bwfile is using in tcont table! bwfileid:", hash_of(IN_USE))},
            {[](AppChassis& chassis, const std::string& profile) {
                 chassis.put_row<ov_sOnuTable_attr_t>(
                     [&](auto& row) { row.sOnuTableOmccBwProfileId = hash_of(profile); }, 1, AppChassis::SLOT,
                     4, 7);
             },
             with_id("this bwfile is using in onu table! bwfileid:", hash_of(IN_USE))},
        };
    }
};

struct OnuTypeDescription {
    using Row = ov_sOnuTypeProfileTable_attr_t;
    using Record = ov_gpon_onutype_attr_t;
    static constexpr auto ID = &Row::onuTypeProfileId;
    static constexpr auto ROW_STATUS = &Row::sOnuTypeProfileTableRowStatus;
    static constexpr auto VALUE = &Row::sOnuTypeProfileTableVideoNum;
    static auto& name_of(Row& row) { return row.onuTypeProfileName; }
    static constexpr unsigned NAME_COLUMN = 2;
    static constexpr unsigned ROW_STATUS_COLUMN = 15;

    static constexpr auto ADD = ov_app_gpon_onutype_add;
    static constexpr auto EDIT = ov_app_gpon_onutype_edit;
    static constexpr auto DEL = ov_app_gpon_onutype_del;
    static constexpr auto GET_ID = ov_app_gpon_onutype_getId;
    static constexpr auto CHECK = ov_app_gpon_onutype_check;

    static constexpr const char* NAME_EMPTY = "onutype name is empty";
    static constexpr const char* EXISTS = "same onutype name exist before ";
    static constexpr const char* UNKNOWN = "the onutype profile name is not exist before ";
    static constexpr const char* ADD_FAILED = "mib add error for onutype table";
    static constexpr const char* DEL_FAILED = "mib del error for onutype table";
    static constexpr const char* OTHER_ID = "same onutype name exist before ";
    static constexpr const char* ADD_OTHER_ID = OTHER_ID;
    static constexpr int ADD_OTHER_ID_CODE = OV_GPON_RET_BAD_PARAM;

    static constexpr int MESSAGE = 906;
    static constexpr const char* CARD_FAILED = "set onutype to hal error";
    static constexpr int MOST = 256;
    static constexpr const char* FULL = "the max onu type profile number is 256";
    static constexpr int ADD_FULL_CODE = OV_GPON_RET_BAD_PARAM;
    static constexpr const char* DEFAULT = "KLM-618";
    static constexpr auto ADD_DEFAULT = ov_app_gpon_profile_onutype_add_default;
    static constexpr int ADD_DEFAULT_AGAIN_CODE = OV_GPON_RET_OK;
    static constexpr const char* DEFAULT_STAYS = nullptr;
    static std::vector<ProfileUser> users() {
        return {
            {[](AppChassis& chassis, const std::string& profile) {
                 chassis.put_row<ov_sOnuTable_attr_t>(
                     [&](auto& row) { row.sOnuTableOnuTypeProfileId = hash_of(profile); }, 1,
                     AppChassis::SLOT, 4, 7);
             },
             with_id("this onutype is using in onu table! onutype profile id:", hash_of(IN_USE))},
            {[](AppChassis& chassis, const std::string& profile) {
                 chassis.put_row<ov_sOnuSrvProfileTable_attr_t>(
                     [&](auto& row) { put_text(row.sOnuTypeProfileName, profile); }, 5);
             },
             "this onutype is using in srv-profile table! profile name:" + IN_USE, OV_GPON_RET_EXISTED},
        };
    }
};

struct QosDescription {
    using Row = ov_sQosProfileTable_attr_t;
    static constexpr auto ID = &Row::qosProfileID;
    static constexpr auto ROW_STATUS = &Row::sQosProfileTableRowStatus;
    static constexpr auto VALUE = &Row::sQosProfileTableWeightOfQ8;
    static auto& name_of(Row& row) { return row.sQosProfileTableQueueName; }
    static constexpr unsigned NAME_COLUMN = 2;
    static constexpr unsigned ROW_STATUS_COLUMN = 19;

    static constexpr auto ADD = ov_app_gpon_qosprofile_add;
    static constexpr auto EDIT = ov_app_gpon_qosprofile_edit;
    static constexpr auto DEL = ov_app_gpon_qosprofile_del;
    static constexpr auto GET_ID = ov_app_gpon_qosprofile_getId;

    static constexpr const char* NAME_EMPTY = "qosprofile name is empty";
    static constexpr const char* EXISTS = "qosprofile was exist ";
    static constexpr const char* UNKNOWN = "qosprofile did not exist ";
    static constexpr const char* ADD_FAILED = "mib add error for qos_profile table";
    static constexpr const char* OTHER_ID = "same qosprofile name exist before ";
    static constexpr const char* ADD_OTHER_ID = EXISTS;
    static constexpr int ADD_OTHER_ID_CODE = OV_GPON_RET_BAD_PARAM;

    static constexpr int MESSAGE = 0; // the daemon's alone
};

struct TrafficDescription {
    using Row = ov_sRmTrafficProfileTable_attr_t;
    using Record = ov_gpon_trfprofile_attr_t;
    static constexpr auto ID = &Row::sRmTrafficProfileId;
    static constexpr auto ROW_STATUS = &Row::sRmTrafficProfileRowStatus;
    static constexpr auto VALUE = &Row::sRmTrafficProfilePIR;
    static auto& name_of(Row& row) { return row.sRmTrafficProfileName; }
    static constexpr unsigned NAME_COLUMN = 2;
    static constexpr unsigned ROW_STATUS_COLUMN = 7;

    static constexpr auto ADD = ov_app_gpon_rm_traffic_add;
    static constexpr auto DEL = ov_app_gpon_rm_traffic_del;
    static constexpr auto GET_ID = ov_app_gpon_rm_traffic_getId;
    static constexpr auto CHECK = ov_app_gpon_rm_traffic_check;

    static constexpr const char* NAME_EMPTY = "traffic profile name is empty";
    static constexpr const char* EXISTS = "traffic profile was exist ";
    static constexpr const char* UNKNOWN = "traffic profile did not exist ";
    static constexpr const char* ADD_FAILED = "mib add error for traffic profile ";
    static constexpr const char* DEL_FAILED = "mib del error for traffic profile ";
    static constexpr const char* OTHER_ID = "same traffic profile name exist before ";
    static constexpr const char* ADD_OTHER_ID = EXISTS;
    static constexpr int ADD_OTHER_ID_CODE = OV_GPON_RET_BAD_PARAM;

    static constexpr int MESSAGE = 945;
    static constexpr const char* CARD_FAILED = "set rm traffic to hal error";
    static constexpr int MOST = 128;
    static constexpr const char* FULL = nullptr;
    static constexpr int ADD_FULL_CODE = OV_GPON_RET_BAD_PARAM;
    static constexpr const char* DEFAULT = "default";
    static constexpr auto ADD_DEFAULT = ov_app_gpon_rm_traffic_add_default;
    static constexpr int ADD_DEFAULT_AGAIN_CODE = OV_GPON_RET_BAD_PARAM;
    static constexpr const char* DEFAULT_STAYS = "trfprofile name is default";
    static std::vector<ProfileUser> users() {
        const auto gem_with = [](auto column) {
            return [column](AppChassis& chassis, const std::string& profile) {
                chassis.put_row<ov_sGemTable_attr_t>([&](auto& gem) { put_text(gem.*column, profile); }, 1,
                                                     AppChassis::SLOT, 4, 7, 1);
            };
        };
        const std::string refusal =
            with_id("this traffic profile is using in onu table! tarffic profileid:", hash_of(IN_USE));
        return {{gem_with(&ov_sGemTable_attr_t::sGemTableUpTrafficName), refusal},
                {gem_with(&ov_sGemTable_attr_t::sGemTableDownTrafficName), refusal}};
    }
};

using BwProfiles = Profiles<BwDescription>;
using OnuTypeProfiles = Profiles<OnuTypeDescription>;
using QosProfiles = Profiles<QosDescription>;
using TrafficProfiles = Profiles<TrafficDescription>;

} // namespace profile_test
