#include <memory>
#include <new>

#include "app_set_callback.h"
#include "avltree.h"
#include "ov_hal_gpon_records.h"
#include "ov_hal_qos_msg.h"
#include "ov_ifindex.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "qos_port.h"
#include "servicePortTable.h"

avl_tree_s* g_service_port_qos_avl_entry = nullptr;

namespace {

using Qos = ov_app_service_port_qos_s;
using QosOwner = std::unique_ptr<Qos, decltype(&ov_app_service_port_qos_destroy)>;
using Field = QosField<Qos>;
namespace column = servicePortTable_column;

constexpr unsigned COS_TO_COS_BIT = OV_GPON_SERVICE_PORT_ATTR_INDEX_cos_to_cos;
template <qos_link_e link>
constexpr Field COS_TO_COS =
    Field::of_link<&Qos::cos_to_cos_profile_id, &Qos::cos_to_cos_profile_id_old, link>(COS_TO_COS_BIT)
        .naming(QOS_PROFILE_COS_TO_COS);
constexpr Field FIELDS[] = {COS_TO_COS<QOS_UP_LINK>, COS_TO_COS<QOS_DOWN_LINK>};
constexpr QosFields<Qos> ALL(FIELDS);

avl_tree_s* objects() {
    if (g_service_port_qos_avl_entry == nullptr)
        avl_create(&g_service_port_qos_avl_entry, static_cast<int>(qos_servport_get_max_count()),
                   qos_servport_compare);
    return g_service_port_qos_avl_entry;
}

bool is_held(const Qos* qos) {
    return qos != nullptr && ov_app_find_service_port_qos_by_ifindex(qos->index) == qos;
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

// ---- the card ---------------------------------------------------------------------------------------------

// The card has the uplink profile; the downlink's is the ONU's matter there.
int send(const Qos& qos, HalWait wait) {
    ov_gpon_service_port_attr_t record = {};
    record.ifindex = qos.index;
    record.cos_to_cos_profile = qos.cos_to_cos_profile_id[QOS_UP_LINK];
    return ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_SERVPORT, OV_HAL_GPON_MSG_ACTION_SET, &record,
                                static_cast<ov_bmp_t>(1u << COS_TO_COS_BIT),
                                wait == HalWait::FOR_CARD ? 1 : 0);
}

int tell(const Qos& qos) {
    const int result = send(qos, HalWait::FOR_CARD);
    if (result == OV_GPON_RET_OK)
        return OV_QOS_OK;
    refuse_for_card(result, OV_HAL_MSG_GPON_SERVPORT);
    OV_LOG_ERROR("QOS", "SYNC_HAL failed");
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

// The first object whose index isn't below this one; null behind the last.
const avl_node_s* first_from(ov_ifindex_t index) {
    const avl_node_s* found = nullptr;
    for (const avl_node_s* node = avl_top(objects()); node != nullptr;) {
        const bool is_below = static_cast<const Qos*>(node->info)->index < index;
        if (!is_below)
            found = node;
        node = is_below ? node->right : node->left;
    }
    return found;
}

} // namespace

// ---- start and replay -------------------------------------------------------------------------------------

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
        if (ov_app_service_port_qos_add(qos.get(), SYNC_APP) == OV_QOS_OK)
            static_cast<void>(qos.release());
    }
}

void _restore_service_port_qos_by_onuif(ov_ifindex_t onu) {
    constexpr ov_ifindex_t MOST_BEHIND_ONU = 127;
    const ov_ifindex_t first =
        service_port_ifindex(onu_key_of_ifindex<ov_servicePortTable_attr_t>(onu), 1) & ~MOST_BEHIND_ONU;
    for (const avl_node_s* node = first_from(first); node != nullptr; node = avl_next_sort(node)) {
        const Qos& qos = *static_cast<const Qos*>(node->info);
        if (qos.index > first + MOST_BEHIND_ONU)
            return;
        if (qos.cos_to_cos_profile_id[QOS_UP_LINK] != OV_QOS_DEFAULT_INDEX_ID)
            send(qos, HalWait::NO);
    }
}

// ---- life -------------------------------------------------------------------------------------------------

ov_app_service_port_qos_s* ov_app_service_port_qos_new() {
    auto* qos = new (std::nothrow) Qos{};
    if (qos == nullptr)
        return nullptr;
    qos->cos_to_cos_profile_id[QOS_DOWN_LINK] = OV_QOS_COS_TO_COS_PROFILE_INVALID;
    qos_binding_start(ALL, *qos);
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
    if (link >= QOS_LINKS)
        return OV_QOS_ERR;
    const Field& field = link == QOS_UP_LINK ? COS_TO_COS<QOS_UP_LINK> : COS_TO_COS<QOS_DOWN_LINK>;
    return qos_binding_edit(qos, field, profile_id) == OV_QOS_OK ? OV_QOS_OK : OV_QOS_ERR;
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
        if (const int result = tell(*qos); result != OV_QOS_OK)
            return result;
    if ((flag & SYNC_APP) == 0)
        return OV_QOS_OK;
    if (avl_insert(objects(), qos) != 0)
        return OV_QOS_ERR;
    qos_binding_enter(ALL, *qos);
    return OV_QOS_OK;
}

int ov_app_service_port_qos_del(ov_app_service_port_qos_s* qos, uint32_t flag) {
    if (!is_held(qos))
        return OV_QOS_SERVICE_PORT_NOT_IN_USE;
    // Row and card lose the service port itself, with all that it has.
    if ((flag & (SYNC_HAL | SYNC_APP)) != 0)
        qos_binding_leave(ALL, *qos);
    if ((flag & SYNC_APP) != 0) {
        avl_delete(objects(), qos);
        ov_app_service_port_qos_destroy(qos);
    }
    return OV_QOS_OK;
}

int ov_app_service_port_qos_set(ov_app_service_port_qos_s* qos, uint32_t flag) {
    if (!is_held(qos))
        return OV_QOS_SERVICE_PORT_NOT_IN_USE;
    int result = OV_QOS_OK;
    if ((flag & SYNC_HAL) != 0) {
        result = tell(*qos);
        if (result == OV_QOS_OK)
            qos_binding_taken(ALL, *qos, qos->sflag);
        else
            qos_binding_roll_back(ALL, *qos, qos->sflag);
    }
    if (result == OV_QOS_OK && (flag & SYNC_MIB) != 0)
        result = sync_row(*qos);
    qos->sflag = 0;
    return result;
}
