#include "ov_app_gpon_qosprofile.h"

#include "app_named_profile.h"
#include "app_set_callback.h"
#include "sPonTable.h"

int gpon_qosprofile_appid = 0;

namespace {

using Row = ov_sQosProfileTable_attr_t;
namespace column = sQosProfileTable_column;

void log_exists(int id, const char* name) {
    OV_LOG_ERROR("MMG", "qosprofile was exist %d:%s", id, name);
}

void log_unknown(int id, const char* name) {
    OV_LOG_ERROR("MMG", "qosprofile did not exist %d:%s", id, name);
}

NamedProfileTable<Row>& profiles() {
    static NamedProfileTable<Row> table({
        .name = [](const Row& row) -> const char* { return row.sQosProfileTableQueueName; },
        .id = &Row::qosProfileID,
        .row_status = &Row::sQosProfileTableRowStatus,
        .id_column = 1,
        .name_column = column::sQosProfileTableQueueName,
        .row_status_column = column::sQosProfileTableRowStatus,
        .exists = log_exists,
        .unknown = log_unknown,
        .add_failed = "mib add error for qos_profile table",
        .del_failed = "mib del error for qos_profile table",
    });
    return table;
}

bool is_free_of_ports(const Row& row) {
    for (const ov_sPonTable_attr_t& port : all_rows<ov_sPonTable_attr_t>())
        if (port.sPonTableQosPorfileID == row.qosProfileID) {
            ov_refusal_because("gpon-olt%d/%d has this profile", port.slotID, port.portID);
            OV_LOG_ERROR("MMG", "this qosprofile is using in pon table! qosProfileID:%d",
                         static_cast<int>(row.qosProfileID));
            return false;
        }
    return true;
}

bool may_come(const Row& row) {
    if (row.sQosProfileTableQueueName[0] == '\0') {
        ov_refusal_because_of(column::sQosProfileTableQueueName, "the name is empty");
        OV_LOG_ERROR("MMG", "qosprofile name is empty");
        return false;
    }
    if (const Row* other = profiles().other_of_same_name(row)) {
        ov_refusal_because_of(column::sQosProfileTableQueueName, "QoS profile %u has the name \"%s\" already",
                              static_cast<unsigned>(other->qosProfileID), row.sQosProfileTableQueueName);
        OV_LOG_ERROR("MMG", "same qosprofile name exist before %d:%s", static_cast<int>(other->qosProfileID),
                     row.sQosProfileTableQueueName);
        return false;
    }
    return true;
}

} // namespace

void ov_app_gpon_qosprofile_init() {
    gpon_qosprofile_appid = AssignAppId();
    const CallbackRegistration callbacks{"app_qosprofile", gpon_qosprofile_appid,
                                         "app_qosprofile register set call back error"};
    callbacks.add(SQOSPROFILE, CALLBACK_SET, ov_qosprofile_table_set_callback, mibDefFlags);
}

char ov_app_gpon_qosprofile_getId(const char* qosProfileName, mib_ulong* qosPorfileId) {
    return profiles().get_id(qosProfileName, qosPorfileId);
}

int ov_app_gpon_qosprofile_add(ov_sQosProfileTable_attr_t* attr, MIB_Flags_t* flag) {
    return profiles().add(attr, flag);
}

int ov_app_gpon_qosprofile_edit(ov_sQosProfileTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_OK;
}

int ov_app_gpon_qosprofile_del(ov_sQosProfileTable_attr_t* attr) {
    return profiles().del(attr);
}

char ov_app_gpon_qosprofile_check(ov_sQosProfileTable_attr_t* attr, int mode, MIB_Flags_t /*flags*/) {
    switch (mode) {
    case MODE_CRE:
        return may_come(*attr) ? 1 : 0;
    case MODE_CHG:
        // A port keeps what it took from its profile: the profile must not change under it, but may go.
        return is_free_of_ports(*attr) ? 1 : 0;
    default:
        return 1;
    }
}

int ov_qosprofile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    const int mode = MibRowStatusGet(did, row);
    return ov_app_gpon_qosprofile_check(static_cast<Row*>(row), mode, column_flag) == 1 ? SET_ACCEPTED
                                                                                        : SET_REFUSED;
}
