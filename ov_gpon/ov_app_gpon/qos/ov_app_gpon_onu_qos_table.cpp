// The table of the QoS of ONUs, and the tables whose rows bring an object along: what a row must meet, and
// how it reaches the object.
#include <memory>

#include "app_index.h"
#include "app_key.h"
#include "app_set_callback.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_pair.h"
#include "ov_product_log.h"
#include "qos_port.h"
#include "qos_profile.h"

namespace {

using Onu = ov_app_onu_qos_s;
using OnuPtr = std::unique_ptr<Onu>;
using Row = ov_onuQosTable_attr_t;

bool failed(const char* what, ov_ifindex_t ifindex, const char* ending) {
    OV_LOG_ERROR("QOS", "%s onu qos 0x%x %s", what, ifindex, ending);
    return false;
}

Onu* find(ov_ifindex_t ifindex) {
    Onu* onu = ov_app_find_onu_qos_by_ifindex(ifindex);
    if (onu == nullptr) {
        ov_refusal_because("ONU %#x has no QoS", static_cast<unsigned>(ifindex));
        OV_LOG_ERROR("QOS", "onu qos 0x%x does not exist", ifindex);
    }
    return onu;
}

// ---- the table --------------------------------------------------------------------------------------------

bool create(const Row& row, ov_ifindex_t ifindex) {
    OnuPtr onu(ov_app_onu_qos_new());
    if (!onu || ov_app_onu_qos_edit_ifindex(onu.get(), ifindex) != OV_QOS_OK ||
        !ov_onu_qos_mib_to_app(row, *onu) || ov_app_onu_qos_add(onu.get(), SYNC_HAL | SYNC_APP) != OV_QOS_OK)
        return failed("add", ifindex, "failed");
    static_cast<void>(onu.release());
    return true;
}

bool change(const Row& row, ov_ifindex_t ifindex) {
    Onu* onu = find(ifindex);
    if (onu == nullptr)
        return false;
    if (!ov_onu_qos_mib_to_app(row, *onu))
        return failed("add", ifindex, "failed");
    return ov_app_onu_qos_set(onu, SYNC_HAL) == OV_QOS_OK || failed("set", ifindex, "failed");
}

bool remove(ov_ifindex_t ifindex) {
    Onu* onu = find(ifindex);
    if (onu == nullptr)
        return false;
    return ov_app_onu_qos_del(onu, SYNC_HAL | SYNC_APP) == OV_QOS_OK || failed("del", ifindex, "failed");
}

bool apply(const Row& row, int mode) {
    const ov_ifindex_t ifindex = onu_ifindex_of(row);
    switch (mode) {
    case MODE_CRE:
        return create(row, ifindex);
    case MODE_CHG:
        return change(row, ifindex);
    case MODE_DEL:
        return remove(ifindex);
    default:
        return true;
    }
}

// ---- objects that come and go with an ONU or a service profile --------------------------------------------

void add_object(ov_ifindex_t ifindex) {
    if (ov_app_find_onu_qos_by_ifindex(ifindex) != nullptr)
        return;
    OnuPtr onu(ov_app_onu_qos_new());
    if (!onu || ov_app_onu_qos_edit_ifindex(onu.get(), ifindex) != OV_QOS_OK ||
        ov_app_onu_qos_edit_all_def(onu.get()) != OV_QOS_OK ||
        ov_app_onu_qos_add(onu.get(), SYNC_MIB | SYNC_APP) != OV_QOS_OK)
        failed("add", ifindex, "failed");
    else
        static_cast<void>(onu.release());
}

void del_object(ov_ifindex_t ifindex) {
    Onu* onu = ov_app_find_onu_qos_by_ifindex(ifindex);
    if (onu != nullptr && ov_app_onu_qos_del(onu, SYNC_EVERY_COPY) != OV_QOS_OK)
        failed("del", ifindex, "failed");
}

// The owner's change goes on whatever becomes of its object: its card knows of it already.
int follow(int mode, ov_ifindex_t ifindex) {
    if (mode == MODE_CRE)
        add_object(ifindex);
    else if (mode == MODE_DEL)
        del_object(ifindex);
    return SET_ACCEPTED;
}

} // namespace

int ov_onu_qos_mib_data_check(MIBDID did, void* pending, MIB_Flags_t /*column_flag*/) {
    const Row& row = *static_cast<const Row*>(pending);
    if (row.shelfID != GPON_SHELF || row.slotID == 0 || row.portID == 0 || !fits(row.onuId, GPON_ONU_MAX)) {
        ov_refusal_because("no ONU %d/%d:%d of shelf %d", static_cast<int>(row.slotID),
                           static_cast<int>(row.portID), static_cast<int>(row.onuId),
                           static_cast<int>(row.shelfID));
        return SET_REFUSED;
    }
    if (!qos_gives_values(MibRowStatusGet(did, pending)))
        return SET_ACCEPTED;
    return qos_row_may_name(QOS_PROFILE_SCHED, row.onuQosSchedulerProfileId) &&
                   qos_row_may_name(QOS_PROFILE_TRAFFIC, row.onuQosTrafficProfileId)
               ? SET_ACCEPTED
               : SET_REFUSED;
}

int ov_onu_qos_table_set_callback(MIBDID did, void* pending, MIB_Flags_t column_flag) {
    Row& row = *static_cast<Row*>(pending);
    if (ov_onu_qos_mib_data_check(did, pending, column_flag) != SET_ACCEPTED)
        return SET_REFUSED;
    const int mode = MibRowStatusGet(did, pending);
    if (!apply(row, mode))
        return SET_REFUSED;
    const auto action = hal_action_of(mode);
    return action ? ov_app_gpon_follow_on_pair(SYNC_ONUQOS, RowChange<Row>{row, column_flag, *action})
                  : SET_ACCEPTED;
}

int ov_app_gpon_onu_qos_on_onu_table_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return follow(MibRowStatusGet(did, row), onu_ifindex_of(*static_cast<const ov_sOnuTable_attr_t*>(row)));
}

int ov_onu_qos_onu_srvprofile_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    const auto& profile = *static_cast<const ov_sOnuSrvProfileTable_attr_t*>(row);
    return follow(MibRowStatusGet(did, row), onu_ifindex_of(ov_app_gpon_template_owner(profile)));
}
