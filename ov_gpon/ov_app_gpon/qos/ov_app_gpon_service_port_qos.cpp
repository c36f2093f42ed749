// The QoS of service ports: the one kind of QoS object that is numerous, hence a tree bounded by the chassis.
#include <memory>
#include <new>

#include "app_rows.h"
#include "app_set_callback.h"
#include "avltree.h"
#include "cosToCosProfileTable.h"
#include "ov_app_gpon_qos.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "servicePortTable.h"

avl_tree_s* g_service_port_qos_avl_entry = nullptr;

namespace {

using Qos = ov_app_service_port_qos_s;
using QosOwner = std::unique_ptr<Qos, decltype(&ov_app_service_port_qos_destroy)>;
namespace column = servicePortTable_column;

constexpr uint32_t COS_TO_COS_CHANGED = 1u << OV_GPON_SERVICE_PORT_ATTR_INDEX_cos_to_cos;

avl_tree_s* objects() {
    if (g_service_port_qos_avl_entry == nullptr)
        avl_create(&g_service_port_qos_avl_entry, static_cast<int>(qos_servport_get_max_count()),
                   qos_servport_compare);
    return g_service_port_qos_avl_entry;
}

bool is_held(const Qos* qos) {
    return qos != nullptr && ov_app_find_service_port_qos_by_ifindex(qos->index) == qos;
}

// Profile 0 is always there: each COS stays what it is.
bool is_cos_to_cos_profile(uint32_t id) {
    ov_cosToCosProfileTable_attr_t key = {};
    key.shelfID = GPON_SHELF;
    key.cosToCosProfileId = static_cast<decltype(key.cosToCosProfileId)>(id);
    return id == 0 || (id < OV_QOS_COS_TO_COS_PROFILE_INVALID && find_row(key) != nullptr);
}

ov_servicePortTable_attr_t row_key_of(ov_ifindex_t index) {
    return service_port_key_of_ifindex<ov_servicePortTable_attr_t>(index);
}

// The row's profiles, where they differ from the object's. A profile that doesn't exist is passed over.
void take_values_of(const ov_servicePortTable_attr_t& row, Qos& qos) {
    const uint32_t profiles[QOS_LINKS] = {row.servicePortUplinkCosToCosProfileId,
                                          row.servicePortDownlinkCosToCosProfileId};
    for (const qos_link_e link : {QOS_UP_LINK, QOS_DOWN_LINK})
        if (profiles[link] != 0 && profiles[link] != qos.cos_to_cos_profile_id[link] &&
            ov_app_service_port_qos_edit_cos_to_cos(&qos, profiles[link], link) != OV_QOS_OK)
            OV_LOG_ERROR("QOS", "Illegal cos to cos profile %d for service port %#x",
                         static_cast<int>(profiles[link]), qos.index);
}

void settle(Qos& qos) {
    for (const qos_link_e link : {QOS_UP_LINK, QOS_DOWN_LINK})
        qos.cos_to_cos_profile_id_old[link] = qos.cos_to_cos_profile_id[link];
    qos.sflag = 0;
}

void roll_back(Qos& qos) {
    for (const qos_link_e link : {QOS_UP_LINK, QOS_DOWN_LINK})
        qos.cos_to_cos_profile_id[link] = qos.cos_to_cos_profile_id_old[link];
    qos.sflag = 0;
}

// Tells the card the uplink profile; the downlink's is the ONU's matter there.
int sync_card(Qos& qos) {
    ov_gpon_service_port_attr_t record = {};
    record.ifindex = qos.index;
    record.cos_to_cos_profile = qos.cos_to_cos_profile_id[QOS_UP_LINK];
    if (ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_SERVPORT, OV_HAL_GPON_MSG_ACTION_SET, &record,
                             static_cast<ov_bmp_t>(COS_TO_COS_CHANGED), 1) == OV_GPON_RET_OK) {
        // TODO: the use counters of both COS-to-COS profiles; the profiles aren't there yet.
        return OV_QOS_OK;
    }
    OV_LOG_ERROR("QOS", "SYNC_HAL failed");
    roll_back(qos);
    return OV_QOS_HAL_FAIL;
}

int sync_row(const Qos& qos) {
    auto row = row_key_of(qos.index);
    row.servicePortUplinkCosToCosProfileId = qos.cos_to_cos_profile_id[QOS_UP_LINK];
    row.servicePortDownlinkCosToCosProfileId = qos.cos_to_cos_profile_id[QOS_DOWN_LINK];
    if (mib_access(MIB_SET_S_N, row,
                   columns_of(column::servicePortUplinkCosToCosProfileId,
                              column::servicePortDownlinkCosToCosProfileId)))
        return OV_QOS_OK;
    OV_LOG_ERROR("QOS", "SYNC_MIB failed");
    return OV_QOS_MIB_FAIL;
}

} // namespace

// ---- life -------------------------------------------------------------------------------------------------

unsigned qos_servport_get_max_count() {
    switch (ov_product_get_shelf_type()) {
    case OV_SHELF_TYPE_LC14:
        return 114688;
    case OV_SHELF_TYPE_SINGLE:
        return 8192;
    default:
        return 49152;
    }
}

int qos_servport_compare(void* data, void* info) {
    const ov_ifindex_t wanted = static_cast<const Qos*>(data)->index;
    const ov_ifindex_t entry = static_cast<const Qos*>(info)->index;
    return wanted == entry ? 0 : wanted < entry ? -1 : 1;
}

void ov_app_service_port_qos_init() {
    if (objects() == nullptr) {
        OV_LOG_ERROR("QOS", "no memory for the qos of service ports");
        return;
    }
    for (const ov_servicePortTable_attr_t& row : all_rows<ov_servicePortTable_attr_t>()) {
        const ov_ifindex_t index = service_port_ifindex(row);
        if (is_template_row(row) || row.servicePortRowStatus != OVRA_ACTIVE ||
            ov_app_find_service_port_qos_by_ifindex(index) != nullptr)
            continue;
        QosOwner qos(ov_app_service_port_qos_new(), ov_app_service_port_qos_destroy);
        if (!qos)
            return;
        qos->index = index;
        take_values_of(row, *qos);
        settle(*qos);
        if (ov_app_service_port_qos_add(qos.get(), SYNC_APP) == OV_QOS_OK)
            static_cast<void>(qos.release());
    }
}

ov_app_service_port_qos_s* ov_app_service_port_qos_new() {
    auto* qos = new (std::nothrow) Qos{};
    if (qos == nullptr)
        return nullptr;
    qos->cos_to_cos_profile_id[QOS_DOWN_LINK] = OV_QOS_COS_TO_COS_PROFILE_INVALID;
    settle(*qos);
    return qos;
}

void ov_app_service_port_qos_destroy(ov_app_service_port_qos_s* qos) {
    delete qos;
}

ov_app_service_port_qos_s* ov_app_find_service_port_qos_by_ifindex(ov_ifindex_t ifindex) {
    Qos key = {};
    key.index = ifindex;
    const avl_node_s* node = avl_lookup(objects(), &key);
    return node != nullptr ? static_cast<Qos*>(node->info) : nullptr;
}

// ---- values -----------------------------------------------------------------------------------------------

int ov_app_service_port_qos_edit_index(ov_app_service_port_qos_s* qos, ov_ifindex_t index) {
    // The tree orders by it.
    if (qos == nullptr || is_held(qos))
        return OV_QOS_ERR;
    qos->index = index;
    return OV_QOS_OK;
}

int ov_app_service_port_qos_edit_cos_to_cos(ov_app_service_port_qos_s* qos, uint32_t profile_id,
                                            qos_link_e link) {
    if (qos == nullptr || link >= QOS_LINKS || !is_cos_to_cos_profile(profile_id))
        return OV_QOS_ERR;
    qos->cos_to_cos_profile_id[link] = profile_id;
    qos->sflag |= COS_TO_COS_CHANGED;
    return OV_QOS_OK;
}

// ---- copies -----------------------------------------------------------------------------------------------

int ov_app_service_port_qos_add(ov_app_service_port_qos_s* qos, uint32_t flag) {
    if (qos == nullptr)
        return OV_QOS_ERR;
    if (ov_app_find_service_port_qos_by_ifindex(qos->index) != nullptr)
        return OV_QOS_SERVICE_PORT_IN_USE;
    if ((flag & SYNC_APP) != 0 &&
        static_cast<unsigned>(avl_get_tree_size(objects())) >= qos_servport_get_max_count())
        return OV_QOS_ERR;
    if ((flag & SYNC_MIB) != 0) { // the row is there already: it comes with the service port
        const auto* row = find_stored_row(row_key_of(qos->index)); // which may be coming into service
        if (row == nullptr)
            return OV_QOS_MIB_FAIL;
        take_values_of(*row, *qos);
    }
    // A card starts a service port with the defaults.
    if ((flag & SYNC_HAL) != 0 && qos->sflag != 0)
        if (const int result = sync_card(*qos); result != OV_QOS_OK)
            return result;
    settle(*qos);
    if ((flag & SYNC_APP) != 0 && avl_insert(objects(), qos) != 0)
        return OV_QOS_ERR;
    return OV_QOS_OK;
}

int ov_app_service_port_qos_del(ov_app_service_port_qos_s* qos, uint32_t flag) {
    if (!is_held(qos))
        return OV_QOS_SERVICE_PORT_NOT_IN_USE;
    // Row and card lose the service port itself, with all that it has.
    // TODO: with SYNC_HAL, the use counters of both COS-to-COS profiles; the profiles aren't there yet.
    if ((flag & SYNC_APP) != 0) {
        avl_delete(objects(), qos);
        ov_app_service_port_qos_destroy(qos);
    }
    return OV_QOS_OK;
}

int ov_app_service_port_qos_set(ov_app_service_port_qos_s* qos, uint32_t flag) {
    if (!is_held(qos))
        return OV_QOS_SERVICE_PORT_NOT_IN_USE;
    if ((flag & SYNC_HAL) != 0)
        if (const int result = sync_card(*qos); result != OV_QOS_OK)
            return result;
    const int result = (flag & SYNC_MIB) != 0 ? sync_row(*qos) : OV_QOS_OK;
    settle(*qos);
    return result;
}
