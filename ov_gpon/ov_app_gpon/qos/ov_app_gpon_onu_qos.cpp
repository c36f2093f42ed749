#include <memory>
#include <new>
#include <span>

#include "app_card_answer.h"
#include "app_restore_line.h"
#include "ov_hal_gpon_records.h"
#include "ov_hal_qos_msg.h"
#include "ov_ifindex.h"
#include "ov_refusal.h"
#include "qos_port.h"

QosList<ov_app_onu_qos_s> g_onu_qos_list;

namespace {

using Row = ov_onuQosTable_attr_t;
using Record = ov_gpon_onu_qos_attr_t;
namespace column = onuQosTable_column;

// Of a set behind a create, a replay brings the bandwidths; what else the ONU has comes with its object.
constexpr MapLine LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    MAP(onuQosTrafficProfileId, trafficProfile, OV_GPON_ONU_QOS_ATTR_INDEX_trafficProfile).create_only(),
    MAP(onuQosSchedulerProfileId, shedProfile, OV_GPON_ONU_QOS_ATTR_INDEX_shedProfile).create_only(),
    MAP(onuQosMaxBw, maxBw, OV_GPON_ONU_QOS_ATTR_INDEX_maxBw),
    MAP(onuQosMinBw, minBw, OV_GPON_ONU_QOS_ATTR_INDEX_minBw),
    MAP(onuQosWeight, weight, OV_GPON_ONU_QOS_ATTR_INDEX_weight).create_only(),
    MAP(onuQosDownlinkCosToCosProfileId, cos_to_cos_profile,
        OV_GPON_ONU_QOS_ATTR_INDEX_downlink_cos_to_cos_Profile)
        .create_only(),
    MAP(onuQosDownlinkCosQueueMapProfileId, cosq_map_profile, OV_GPON_ONU_QOS_ATTR_INDEX_cosqProfile)
        .create_only(),
};

} // namespace

constinit const MessageMap<ov_onuQosTable_attr_t, ov_gpon_onu_qos_attr_t> onu_qos_map(LINES);
RESTORE(onuqos, SONUQOS, OV_HAL_MSG_GPON_ONU_QOS, onu_qos_map, CREATED_AND_SET)
RESTORE_TEMPLATES(onuqos, SONUQOS, OV_HAL_MSG_GPON_ONU_QOS, onu_qos_map, CREATED_AND_SET)

namespace {

using Onu = ov_app_onu_qos_s;
using Field = QosField<Onu>;

// The bits of sflag are those of the message.
constexpr Field TRAFFIC = Field::of<&Onu::qos_traffic_profile_id, &Onu::qos_traffic_profile_id_old>(
                              OV_GPON_ONU_QOS_ATTR_INDEX_trafficProfile)
                              .naming(QOS_PROFILE_TRAFFIC);
constexpr Field SCHED = Field::of<&Onu::qos_sched_profile_id, &Onu::qos_sched_profile_id_old>(
                            OV_GPON_ONU_QOS_ATTR_INDEX_shedProfile)
                            .naming(QOS_PROFILE_SCHED);
// Also when the card refuses, the mapping stays the one that was asked for: the next change of the ONU brings
// it along or back.
constexpr Field COSQ_MAP =
    Field::of<&Onu::cosq_profile_id, &Onu::cosq_profile_id_old>(OV_GPON_ONU_QOS_ATTR_INDEX_cosqProfile)
        .naming(QOS_PROFILE_COSQ_MAP)
        .kept_on_refusal();
constexpr Field MAX_BW = Field::of<&Onu::max_bw, &Onu::max_bw_old>(OV_GPON_ONU_QOS_ATTR_INDEX_maxBw);
constexpr Field MIN_BW = Field::of<&Onu::min_bw, &Onu::min_bw_old>(OV_GPON_ONU_QOS_ATTR_INDEX_minBw);
constexpr Field WEIGHT = Field::of<&Onu::weight, &Onu::weight_old>(OV_GPON_ONU_QOS_ATTR_INDEX_weight);
template <qos_link_e link>
constexpr Field
    COS_TO_COS = Field::of_link<&Onu::cos_to_cos_profile_id, &Onu::cos_to_cos_profile_id_old, link>(
                     OV_GPON_ONU_QOS_ATTR_INDEX_downlink_cos_to_cos_Profile)
                     .naming(QOS_PROFILE_COS_TO_COS);
constexpr Field FIELDS[] = {
    TRAFFIC, SCHED, COSQ_MAP, MAX_BW, MIN_BW, WEIGHT, COS_TO_COS<QOS_UP_LINK>, COS_TO_COS<QOS_DOWN_LINK>,
};
constexpr QosFields<Onu> ALL(FIELDS);

bool is_held(const Onu* onu) {
    return onu != nullptr && g_onu_qos_list.find(onu->ifindex) == onu;
}

// ---- the row ----------------------------------------------------------------------------------------------

using Column = QosColumn<Onu, Row>;

constexpr Column COLUMNS[] = {
    Column::of<&Row::onuQosSchedulerProfileId>(SCHED, ov_app_onu_qos_edit_sched_profile),
    Column::of<&Row::onuQosTrafficProfileId>(TRAFFIC, ov_app_onu_qos_edit_traffic_profile),
    Column::of<&Row::onuQosDownlinkCosToCosProfileId>(
        COS_TO_COS<QOS_DOWN_LINK>,
        [](Onu* onu, uint32_t id) { return ov_app_onu_qos_edit_cos_to_cos_profile(onu, id, QOS_DOWN_LINK); }),
    Column::of<&Row::onuQosMaxBw>(MAX_BW,
                                  [](Onu* onu, uint32_t bw) { return qos_binding_edit(onu, MAX_BW, bw); }),
    Column::of<&Row::onuQosMinBw>(MIN_BW,
                                  [](Onu* onu, uint32_t bw) { return qos_binding_edit(onu, MIN_BW, bw); }),
    Column::of<&Row::onuQosWeight>(WEIGHT, ov_app_onu_qos_edit_weight),
    Column::of<&Row::onuQosDownlinkCosQueueMapProfileId>(COSQ_MAP, ov_app_onu_qos_edit_cosq_map_profile),
};
constexpr std::span<const Column> ALL_COLUMNS(COLUMNS);

Row row_of(Onu& onu) {
    auto row = onu_key_of_ifindex<Row>(onu.ifindex);
    ov_onu_qos_app_to_mib(onu, row);
    return row;
}

// Whether there is a row; the object takes its values then.
bool adopt_row(Onu& onu) {
    const Row* row = find_row(onu_key_of_ifindex<Row>(onu.ifindex));
    if (row != nullptr)
        qos_binding_adopt_row(ALL_COLUMNS, *row, onu);
    return row != nullptr;
}

bool put_row(Onu& onu) {
    Row row = row_of(onu);
    return qos_put_row(row);
}

constexpr QosRepeated<Onu> REPEATED[] = {
    {SCHED, column::onuQosSchedulerProfileId},
    {TRAFFIC, column::onuQosTrafficProfileId},
    {COS_TO_COS<QOS_DOWN_LINK>, column::onuQosDownlinkCosToCosProfileId},
    {MAX_BW, column::onuQosMaxBw},
    {MIN_BW, column::onuQosMinBw},
    {WEIGHT, column::onuQosWeight},
    {COSQ_MAP, column::onuQosDownlinkCosQueueMapProfileId},
};

bool repeat_on_pair(Onu& onu, uint32_t changed) {
    return qos_repeat_on_pair(SYNC_ONUQOS, std::span<const QosRepeated<Onu>>(REPEATED), changed, row_of(onu));
}

// ---- the card ---------------------------------------------------------------------------------------------

// The whole record goes out; the mask names what counts of it.
int send(Onu& onu, uint32_t attributes, HalWait wait) {
    const Row row = row_of(onu);
    Record record = {};
    onu_qos_map.encode(&row, &record);
    return ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_ONU_QOS, OV_HAL_GPON_MSG_ACTION_SET, &record,
                                static_cast<ov_bmp_t>(attributes), wait == HalWait::FOR_CARD ? 1 : 0);
}

int tell(Onu& onu) {
    const int result = send(onu, onu.sflag, HalWait::FOR_CARD);
    if (result == OV_GPON_RET_OK)
        return OV_QOS_OK;
    refuse_for_card(result, OV_HAL_MSG_GPON_ONU_QOS);
    OV_LOG_ERROR("QOS", "SYNC_HAL failed");
    return OV_QOS_HAL_FAIL;
}

void ov_app_onu_qos_rollback(Onu& onu) {
    qos_binding_roll_back(ALL, onu, onu.sflag);
}

void ov_app_onu_qos_profile_use_cnt(Onu& onu) {
    qos_binding_taken(ALL, onu, onu.sflag);
}

void set_defaults(Onu& onu) {
    for (const Field& field : FIELDS)
        field.value(onu) = 0;
    onu.cos_to_cos_profile_id[QOS_UP_LINK] = OV_QOS_COS_TO_COS_PROFILE_INVALID;
    onu.weight = OV_APP_ONU_QOS_WEIGHT_DEFAULT;
    ov_app_onu_cosq_defId(onu.ifindex, &onu.cosq_profile_id);
}

uint32_t attributes_beside_defaults(Onu& onu) {
    Onu fresh = {};
    fresh.ifindex = onu.ifindex;
    set_defaults(fresh);
    uint32_t attributes = 0;
    for (const Field& field : FIELDS)
        if (field.value(onu) != field.value(fresh))
            attributes |= 1u << field.bit;
    return attributes;
}

// The objects whose indexes agree with `index` but for its lowest bits.
void replay(ov_ifindex_t index, unsigned bits) {
    const ov_ifindex_t first = index >> bits << bits;
    const ov_ifindex_t last = first | ((1u << bits) - 1);
    for (auto at = g_onu_qos_list.at_or_above(first); at != g_onu_qos_list.end() && (*at).ifindex <= last;
         ++at) {
        if (const uint32_t attributes = attributes_beside_defaults(*at); attributes != 0)
            send(*at, attributes, HalWait::NO);
        _restore_service_port_qos_by_onuif((*at).ifindex);
    }
}

} // namespace

ov_bmp_t ov_onu_qos_table_attr_mask_get(const void* row) {
    return onu_qos_map.replay_mask(row);
}

bool ov_onu_qos_mib_to_app(const ov_onuQosTable_attr_t& row, Onu& onu) {
    return qos_binding_take_row(ALL_COLUMNS, row, onu);
}

void ov_onu_qos_app_to_mib(Onu& onu, ov_onuQosTable_attr_t& row) {
    qos_binding_fill_row(ALL_COLUMNS, onu, row);
}

// ---- start and replay -------------------------------------------------------------------------------------

void qos_onu_adopt(ov_ifindex_t ifindex) {
    if (ov_app_find_onu_qos_by_ifindex(ifindex) != nullptr)
        return;
    std::unique_ptr<Onu> onu(ov_app_onu_qos_new());
    if (!onu)
        return;
    ov_app_onu_qos_edit_ifindex(onu.get(), ifindex);
    if (adopt_row(*onu) && ov_app_onu_qos_add(onu.get(), SYNC_APP) == OV_QOS_OK)
        static_cast<void>(onu.release());
}

void _restore_onu_qos_by_slot(int slot) {
    constexpr unsigned BELOW_SLOT = 21;
    replay(onu_ifindex(slot, 1, 1), BELOW_SLOT);
}

void _restore_onu_qos_by_ponif(ov_ifindex_t pon) {
    constexpr unsigned BELOW_PORT = 15;
    replay(onu_ifindex(static_cast<int32_t>(ov_ifindex_get_slot_id(pon)),
                       static_cast<int32_t>(ov_ifindex_get_port_id(pon)), 1),
           BELOW_PORT);
}

// Service profiles belong to every card.
int ov_app_onu_qos_config_restore(int slot) {
    _restore_onu_qos_by_slot(GPON_TEMPLATE_SLOT);
    _restore_onu_qos_by_slot(slot);
    return OV_QOS_OK;
}

// ---- life -------------------------------------------------------------------------------------------------

Onu* ov_app_onu_qos_new() {
    auto* onu = new (std::nothrow) Onu{};
    if (onu != nullptr) {
        onu->weight = OV_APP_ONU_QOS_WEIGHT_DEFAULT;
        onu->cos_to_cos_profile_id[QOS_UP_LINK] = OV_QOS_COS_TO_COS_PROFILE_INVALID;
        qos_binding_start(ALL, *onu);
    }
    return onu;
}

void ov_app_onu_qos_destroy(Onu* onu) {
    delete onu;
}

int ov_app_onu_qos_add(Onu* onu, uint32_t flag) {
    if (onu == nullptr)
        return OV_QOS_ERR;
    if (ov_app_find_onu_qos_by_ifindex(onu->ifindex) != nullptr) {
        ov_refusal_because("ONU %#x has its QoS already", static_cast<unsigned>(onu->ifindex));
        return OV_ONU_QOS_IN_USE;
    }
    const bool has_row = (flag & SYNC_MIB) != 0 && adopt_row(*onu);
    if ((flag & SYNC_HAL) != 0)
        if (const int result = tell(*onu); result != OV_QOS_OK)
            return result;
    if ((flag & SYNC_MIB) != 0 && !has_row && !put_row(*onu))
        return OV_QOS_MIB_FAIL;
    if ((flag & SYNC_APP) != 0) {
        qos_binding_enter(ALL, *onu);
        g_onu_qos_list.take(onu->ifindex, onu);
    }
    return OV_QOS_OK;
}

int ov_app_onu_qos_del(Onu* onu, uint32_t flag) {
    if (!is_held(onu))
        return OV_ONU_QOS_NOT_IN_USE;
    Row key = row_of(*onu);
    if ((flag & SYNC_MIB) != 0 && !qos_drop_row(key))
        return OV_QOS_MIB_FAIL;
    if ((flag & (SYNC_HAL | SYNC_APP)) != 0)
        qos_binding_leave(ALL, *onu);
    if ((flag & SYNC_APP) != 0)
        g_onu_qos_list.drop(onu->ifindex);
    return OV_QOS_OK;
}

int ov_app_onu_qos_set(Onu* onu, uint32_t flag) {
    if (!is_held(onu))
        return OV_ONU_QOS_NOT_IN_USE;
    int result = OV_QOS_OK;
    if ((flag & SYNC_HAL) != 0) {
        result = tell(*onu);
        if (result == OV_QOS_OK)
            ov_app_onu_qos_profile_use_cnt(*onu);
        else
            ov_app_onu_qos_rollback(*onu);
    }
    if (result == OV_QOS_OK && (flag & SYNC_MIB) != 0 &&
        (!put_row(*onu) || !repeat_on_pair(*onu, onu->sflag))) {
        OV_LOG_ERROR("QOS", "SYNC_MIB failed");
        result = OV_QOS_MIB_FAIL;
    }
    onu->sflag = 0;
    return result;
}

Onu* ov_app_find_onu_qos_by_ifindex(ov_ifindex_t ifindex) {
    return g_onu_qos_list.find(ifindex);
}

// ---- values -----------------------------------------------------------------------------------------------

int ov_app_onu_qos_edit_ifindex(Onu* onu, ov_ifindex_t ifindex) {
    // The list orders by it.
    if (onu == nullptr || is_held(onu))
        return OV_QOS_ERR;
    onu->ifindex = ifindex;
    return OV_QOS_OK;
}

int ov_app_onu_qos_edit_sched_profile(Onu* onu, uint32_t id) {
    return qos_binding_edit(onu, SCHED, id);
}

int ov_app_onu_qos_edit_traffic_profile(Onu* onu, uint32_t id) {
    return qos_binding_edit(onu, TRAFFIC, id);
}

int ov_app_onu_qos_edit_cos_to_cos_profile(Onu* onu, uint32_t id, qos_link_e link) {
    if (link >= QOS_LINKS)
        return OV_QOS_ERR;
    return qos_binding_edit(onu, link == QOS_UP_LINK ? COS_TO_COS<QOS_UP_LINK> : COS_TO_COS<QOS_DOWN_LINK>,
                            id);
}

int ov_app_onu_qos_edit_cosq_map_profile(Onu* onu, uint32_t id) {
    uint32_t own = OV_QOS_DEFAULT_INDEX_ID;
    if (onu != nullptr && ov_app_onu_cosq_defId(onu->ifindex, &own) == OV_QOS_OK && id == own) {
        qos_binding_change(*onu, COSQ_MAP, id);
        return OV_QOS_OK;
    }
    return qos_binding_edit(onu, COSQ_MAP, id);
}

int ov_app_onu_qos_edit_bw(Onu* onu, uint32_t min_bw, uint32_t max_bw) {
    const int result = qos_binding_edit(onu, MIN_BW, min_bw);
    return result == OV_QOS_OK ? qos_binding_edit(onu, MAX_BW, max_bw) : result;
}

int ov_app_onu_qos_edit_weight(Onu* onu, uint32_t weight) {
    return qos_binding_edit(onu, WEIGHT, weight);
}

int ov_app_onu_qos_edit_all_def(Onu* onu) {
    if (onu == nullptr)
        return OV_QOS_ERR;
    const bool held = is_held(onu);
    if (held)
        qos_binding_leave(ALL, *onu);
    set_defaults(*onu);
    if (held)
        qos_binding_enter(ALL, *onu);
    else
        qos_binding_start(ALL, *onu);
    return OV_QOS_OK;
}

ov_ifindex_t ov_app_onu_qos_get_ifindex(const Onu* onu) {
    return onu != nullptr ? onu->ifindex : OV_IFINDEX_INVALID;
}

uint32_t ov_app_onu_qos_get_sched_profile(const Onu* onu) {
    return onu != nullptr ? onu->qos_sched_profile_id : OV_QOS_DEFAULT_INDEX_ID;
}

uint32_t ov_app_onu_qos_get_traffic_profile(const Onu* onu) {
    return onu != nullptr ? onu->qos_traffic_profile_id : OV_QOS_DEFAULT_INDEX_ID;
}

uint32_t ov_app_onu_qos_get_cosq_map_profile(const Onu* onu) {
    return onu != nullptr ? onu->cosq_profile_id : OV_QOS_DEFAULT_INDEX_ID;
}

uint32_t ov_app_onu_qos_get_cos_to_cos_profile(const Onu* onu, qos_link_e link) {
    return onu != nullptr && link < QOS_LINKS ? onu->cos_to_cos_profile_id[link] : OV_QOS_DEFAULT_INDEX_ID;
}

uint32_t ov_app_onu_qos_get_max_bw(const Onu* onu) {
    return onu != nullptr ? onu->max_bw : 0;
}

uint32_t ov_app_onu_qos_get_min_bw(const Onu* onu) {
    return onu != nullptr ? onu->min_bw : 0;
}

uint32_t ov_app_onu_qos_get_weight(const Onu* onu) {
    return onu != nullptr ? onu->weight : 0;
}
