#include <memory>
#include <new>
#include <span>

#include "app_key.h"
#include "app_set_callback.h"
#include "kavo_if.h"
#include "mono_api.h"
#include "ov_hal_qos_msg.h"
#include "ov_ifindex.h"
#include "qos_port.h"

QosList<ov_app_port_qos_s> g_port_qos_list;

namespace {

using Port = ov_app_port_qos_s;
using Field = QosField<Port>;

constexpr Field MODEL = Field::of<&Port::qos_model, &Port::qos_model_old>(OV_APP_PORT_QOS_MODEL);
constexpr Field COSQ_MAP =
    Field::of<&Port::cosq_map_profile_id, &Port::cosq_map_profile_id_old>(OV_APP_PORT_QOS_COSQ_MAP)
        .naming(QOS_PROFILE_COSQ_MAP);
constexpr Field SCHED =
    Field::of<&Port::qos_sched_profile_id, &Port::qos_sched_profile_id_old>(OV_APP_PORT_QOS_SCHED)
        .naming(QOS_PROFILE_SCHED);
constexpr Field TRAFFIC =
    Field::of<&Port::qos_traffic_profile_id, &Port::qos_traffic_profile_id_old>(OV_APP_PORT_QOS_TRAFFIC)
        .naming(QOS_PROFILE_TRAFFIC);
template <qos_link_e link>
constexpr Field
    COS_TO_COS = Field::of_link<&Port::cos_to_cos_profile_id, &Port::cos_to_cos_profile_id_old, link>(
                     OV_APP_PORT_QOS_COS_TO_COS)
                     .naming(QOS_PROFILE_COS_TO_COS);
constexpr Field FIELDS[] = {
    MODEL, COSQ_MAP, SCHED, TRAFFIC, COS_TO_COS<QOS_UP_LINK>, COS_TO_COS<QOS_DOWN_LINK>,
};
constexpr QosFields<Port> ALL(FIELDS);

// How a card is told of each attribute.
struct PortMessage {
    ov_hal_qos_msg_type_t type;
    const char* failure;
};
constexpr PortMessage MESSAGES[] = {
    {OV_HAL_MSG_PORT_QOS_MODEL_SET, "OV_HAL_MSG_PORT_QOS_MODEL_SET failed"},
    {OV_HAL_MSG_PORT_COSQ_MAP_SET, "OV_HAL_MSG_PORT_COSQ_MAP_SET failed"},
    {OV_HAL_MSG_PORT_QOS_SCHED_SET, "OV_HAL_MSG_PORT_QOS_SCHED_SET failed"},
    {OV_HAL_MSG_PORT_QOS_TRAFFIC_SET, "OV_HAL_MSG_PORT_QOS_TRAFFIC_SET failed"},
    {OV_HAL_MSG_PORT_COS_TO_COS_SET, "OV_HAL_MSG_PORT_COS_TO_COS_SET failed"},
};
constexpr unsigned ATTRIBUTES = std::size(MESSAGES);
constexpr unsigned SFLAG_BITS = 32;

bool is_pon(const Port& port) {
    return ov_ifindex_get_port_type(port.ifindex) == PORT_TYPE_GPON;
}
bool is_held(const Port* port) {
    return port != nullptr && g_port_qos_list.find(port->ifindex) == port;
}

// ---- rows -------------------------------------------------------------------------------------------------

template <typename Row>
struct PortTable;
#define PORT_QOS_TABLE(prefix)                                                                               \
    template <>                                                                                              \
    struct PortTable<ov_##prefix##Table_attr_t> {                                                            \
        using Row = ov_##prefix##Table_attr_t;                                                               \
        using Column = QosColumn<Port, Row>;                                                                 \
        static constexpr Column COLUMNS[] = {                                                                \
            Column::of<&Row::prefix##SchedulerModel>(MODEL,                                                  \
                                                     [](Port* port, uint32_t model) {                        \
                                                         return ov_app_port_qos_edit_sched_mode(             \
                                                             port, static_cast<int32_t>(model));             \
                                                     }),                                                     \
            Column::of<&Row::prefix##SchedulerProfileId>(SCHED, ov_app_port_qos_edit_qos_sched_profile),     \
            Column::of<&Row::prefix##TrafficProfileId>(TRAFFIC, ov_app_port_qos_edit_qos_traffic_profile),   \
            Column::of<&Row::prefix##CosQueueMappingProfileId>(COSQ_MAP,                                     \
                                                               ov_app_port_qos_edit_cosq_map_profile),       \
            Column::of<&Row::prefix##UplinkCosToCosProfileId>(COS_TO_COS<QOS_UP_LINK>,                       \
                                                              edit_cos_to_cos<QOS_UP_LINK>),                 \
            Column::of<&Row::prefix##DownlinkCosToCosProfileId>(COS_TO_COS<QOS_DOWN_LINK>,                   \
                                                                edit_cos_to_cos<QOS_DOWN_LINK>),             \
        };                                                                                                   \
        static constexpr std::span<const Column> ALL_COLUMNS{COLUMNS};                                       \
    }

template <qos_link_e link>
int edit_cos_to_cos(Port* port, uint32_t id) {
    return ov_app_port_qos_edit_cos_to_cos_profile(port, id, link);
}

PORT_QOS_TABLE(portQos);
PORT_QOS_TABLE(ponPortQos);

template <typename Row>
Row row_of(Port& port) {
    auto row = port_key_of_ifindex<Row>(port.ifindex);
    qos_binding_fill_row(PortTable<Row>::ALL_COLUMNS, port, row);
    return row;
}

// Does something with the table of the port's kind.
template <typename Act>
auto in_table_of(Port& port, Act act) {
    return is_pon(port) ? act(row_of<ov_ponPortQosTable_attr_t>(port))
                        : act(row_of<ov_portQosTable_attr_t>(port));
}

bool put_row(Port& port) {
    return in_table_of(port, [](auto row) { return qos_put_row(row); });
}

bool drop_row(Port& port) {
    return in_table_of(port, [](auto row) { return qos_drop_row(row); });
}

// These three alone.
constexpr QosRepeated<Port> REPEATED[] = {
    {MODEL, ponPortQosTable_column::ponPortQosSchedulerModel},
    {SCHED, ponPortQosTable_column::ponPortQosSchedulerProfileId},
    {TRAFFIC, ponPortQosTable_column::ponPortQosTrafficProfileId},
};

bool repeat_on_pair(Port& port, uint32_t changed) {
    return !is_pon(port) || qos_repeat_on_pair(SYNC_SPORTQOS, std::span<const QosRepeated<Port>>(REPEATED),
                                               changed, row_of<ov_ponPortQosTable_attr_t>(port));
}

// Whether there is a row; the object takes its values then.
bool adopt_row(Port& port) {
    return in_table_of(port, [&port]<typename Row>(const Row& key) {
        const Row* row = find_row(key);
        if (row != nullptr)
            qos_binding_adopt_row(PortTable<Row>::ALL_COLUMNS, *row, port);
        return row != nullptr;
    });
}

// ---- the card ---------------------------------------------------------------------------------------------

int send(const Port& port, unsigned attribute, HalWait wait) {
    ov_hal_msg_port_qos_t record = {};
    record.ifindex = port.ifindex;
    record.qos_model = port.qos_model;
    record.cosq_map = port.cosq_map_profile_id;
    record.qos_sched = port.qos_sched_profile_id;
    record.qos_traffic = port.qos_traffic_profile_id;
    for (const qos_link_e link : {QOS_UP_LINK, QOS_DOWN_LINK})
        record.cos_to_cos_profile[link] = port.cos_to_cos_profile_id[link];
    return ov_hal_port_qos_msg_send(MESSAGES[attribute].type, record,
                                    uif_get_agt_slotid_by_ifindex(port.ifindex), wait);
}

// A port that schedules by ONU has no profiles of its own any more.
void take_profiles_off(Port& port) {
    ov_app_port_qos_edit_all_def(&port);
    if (!put_row(port))
        OV_LOG_ERROR("QOS", "port_qos_edit_all_def to ov_mmg_app_port_qos_set failed");
}

void follow_model(Port& port, uint32_t before) {
    if (port.qos_model == before)
        return;
    if (port.qos_model == OV_QOS_SCHED_HIERARCHY)
        take_profiles_off(port);
    else if (is_pon(port))
        _restore_onu_qos_by_ponif(port.ifindex);
    if (mono_api_port_scheduler_mode_set(port.ifindex, port.qos_model) != 0)
        OV_LOG_WARN("QOS", "the controller wasn't told the scheduler model of port %#x",
                    static_cast<unsigned>(port.ifindex));
}

// Tells one attribute; OV_QOS_RET.
int tell(Port& port, unsigned attribute) {
    const int result = send(port, attribute, HalWait::FOR_CARD);
    if (result == OV_GPON_RET_OK) {
        const uint32_t model_before = port.qos_model_old;
        qos_binding_taken(ALL, port, 1u << attribute);
        if (attribute == OV_APP_PORT_QOS_MODEL)
            follow_model(port, model_before);
        return OV_QOS_OK;
    }
    refuse_for_card(result, MESSAGES[attribute].type);
    OV_LOG_ERROR("QOS", "%s", MESSAGES[attribute].failure);
    return OV_QOS_HAL_FAIL;
}

// What has changed, an attribute at a time. What isn't told any more, because the card has refused one, is as
// before.
int ov_app_port_qos_app_to_hal(Port& port) {
    const uint32_t changed = port.sflag;
    for (unsigned bit = 0; bit < SFLAG_BITS; ++bit) {
        if ((changed >> bit & 1u) == 0)
            continue;
        if (bit >= ATTRIBUTES) {
            OV_LOG_ERROR("QOS", "You should never be here");
            continue;
        }
        if (const int result = tell(port, bit); result != OV_QOS_OK) {
            qos_binding_roll_back(ALL, port, changed & ~((1u << bit) - 1));
            return result;
        }
    }
    return OV_QOS_OK;
}

// The same for an object that comes with values: they are how it starts.
int tell_new(const Port& port) {
    for (unsigned attribute = 0; attribute < ATTRIBUTES; ++attribute)
        if ((port.sflag >> attribute & 1u) != 0 &&
            send(port, attribute, HalWait::FOR_CARD) != OV_GPON_RET_OK) {
            OV_LOG_ERROR("QOS", "%s", MESSAGES[attribute].failure);
            return OV_QOS_HAL_FAIL;
        }
    return OV_QOS_OK;
}

// The model that a port of its kind starts with.
uint32_t first_model(const Port& port) {
    return is_pon(port) && g_qos_pon_def_mode_value == OV_QOS_SCHED_HIERARCHY ? OV_QOS_SCHED_HIERARCHY
                                                                              : OV_QOS_SCHED_SIMPLE;
}

uint32_t attributes_beside_defaults(Port& port) {
    uint32_t attributes = 0;
    for (const Field& field : FIELDS)
        if (field.value(port) != (field.is_profile() ? OV_QOS_DEFAULT_INDEX_ID : first_model(port)))
            attributes |= 1u << field.bit;
    return attributes;
}

} // namespace

// ---- rows of others ---------------------------------------------------------------------------------------

bool ov_app_port_qos_mib_to_app(const ov_portQosTable_attr_t& row, Port& port) {
    return qos_binding_take_row(PortTable<ov_portQosTable_attr_t>::ALL_COLUMNS, row, port);
}

bool ov_app_port_qos_mib_to_app(const ov_ponPortQosTable_attr_t& row, Port& port) {
    return qos_binding_take_row(PortTable<ov_ponPortQosTable_attr_t>::ALL_COLUMNS, row, port);
}

void ov_app_port_qos_app_to_mib(Port& port, ov_portQosTable_attr_t& row) {
    qos_binding_fill_row(PortTable<ov_portQosTable_attr_t>::ALL_COLUMNS, port, row);
}

void ov_app_port_qos_app_to_mib(Port& port, ov_ponPortQosTable_attr_t& row) {
    qos_binding_fill_row(PortTable<ov_ponPortQosTable_attr_t>::ALL_COLUMNS, port, row);
}

// ---- start and replay -------------------------------------------------------------------------------------

void qos_port_adopt(ov_ifindex_t ifindex) {
    if (ov_app_find_port_qos_by_ifindex(ifindex) != nullptr)
        return;
    std::unique_ptr<Port> port(ov_app_port_qos_new());
    if (!port)
        return;
    ov_app_port_qos_edit_ifindex(port.get(), ifindex);
    if (adopt_row(*port) && ov_app_port_qos_add(port.get(), SYNC_APP) == OV_QOS_OK)
        static_cast<void>(port.release());
}

int ov_app_port_qos_config_restore(int slot) {
    for (Port& port : g_port_qos_list) {
        if (uif_get_agt_slotid_by_ifindex(port.ifindex) != static_cast<uint32_t>(slot))
            continue;
        const uint32_t told = attributes_beside_defaults(port);
        for (unsigned attribute = 0; attribute < ATTRIBUTES; ++attribute)
            if ((told >> attribute & 1u) != 0)
                send(port, attribute, HalWait::NO);
    }
    return OV_QOS_OK;
}

// ---- life -------------------------------------------------------------------------------------------------

Port* ov_app_port_qos_new() {
    auto* port = new (std::nothrow) Port{};
    if (port != nullptr) {
        port->qos_model = OV_QOS_SCHED_SIMPLE;
        qos_binding_start(ALL, *port);
    }
    return port;
}

void ov_app_port_qos_destroy(Port* port) {
    delete port;
}

int ov_app_port_qos_add(Port* port, uint32_t flag) {
    if (port == nullptr)
        return OV_QOS_ERR;
    if (ov_app_find_port_qos_by_ifindex(port->ifindex) != nullptr) {
        ov_refusal_because("port %#x has its QoS already", static_cast<unsigned>(port->ifindex));
        return OV_PORT_QOS_IN_USE;
    }
    const bool has_row = (flag & SYNC_MIB) != 0 && adopt_row(*port);
    if ((flag & SYNC_HAL) != 0)
        if (const int result = tell_new(*port); result != OV_QOS_OK)
            return result;
    if ((flag & SYNC_MIB) != 0 && !has_row && !put_row(*port))
        return OV_QOS_MIB_FAIL;
    if ((flag & SYNC_APP) != 0) {
        qos_binding_enter(ALL, *port);
        g_port_qos_list.take(port->ifindex, port);
    }
    return OV_QOS_OK;
}

int ov_app_port_qos_del(Port* port, uint32_t flag) {
    if (!is_held(port))
        return OV_PORT_QOS_NO_IN_USE;
    if ((flag & SYNC_MIB) != 0 && !drop_row(*port))
        return OV_QOS_MIB_FAIL;
    if ((flag & (SYNC_HAL | SYNC_APP)) != 0)
        qos_binding_leave(ALL, *port);
    if ((flag & SYNC_APP) != 0)
        g_port_qos_list.drop(port->ifindex);
    return OV_QOS_OK;
}

int ov_app_port_qos_set(Port* port, uint32_t flag) {
    if (!is_held(port))
        return OV_PORT_QOS_NO_IN_USE;
    const uint32_t changed = port->sflag;
    int result = (flag & SYNC_HAL) != 0 ? ov_app_port_qos_app_to_hal(*port) : OV_QOS_OK;
    if (result == OV_QOS_OK && (flag & SYNC_MIB) != 0 &&
        (!put_row(*port) || !repeat_on_pair(*port, changed))) {
        OV_LOG_ERROR("QOS", "SYNC_MIB failed");
        result = OV_QOS_MIB_FAIL;
    }
    port->sflag = 0;
    return result;
}

Port* ov_app_find_port_qos_by_ifindex(ov_ifindex_t ifindex) {
    return g_port_qos_list.find(ifindex);
}

int ov_app_qos_port_model_get_by_ifindex(ov_ifindex_t ifindex, int* model) {
    const Port* port = ov_app_find_port_qos_by_ifindex(ifindex);
    if (port == nullptr || model == nullptr)
        return OV_PORT_QOS_NO_IN_USE;
    *model = static_cast<int>(port->qos_model);
    return OV_QOS_OK;
}

// ---- values -----------------------------------------------------------------------------------------------

int ov_app_port_qos_edit_ifindex(Port* port, ov_ifindex_t ifindex) {
    // The list orders by it.
    if (port == nullptr || is_held(port))
        return OV_QOS_ERR;
    port->ifindex = ifindex;
    port->qos_model = first_model(*port);
    port->qos_model_old = port->qos_model;
    return OV_QOS_OK;
}

int ov_app_port_qos_edit_sched_mode(Port* port, int32_t model) {
    if (port == nullptr || (model != OV_QOS_SCHED_SIMPLE && model != OV_QOS_SCHED_HIERARCHY))
        return OV_QOS_ERR;
    if (model == OV_QOS_SCHED_SIMPLE && is_pon(*port) && g_qos_pon_simple_mode_enable == 0) {
        ov_refusal_because("PON ports of this product have no simple scheduler");
        return OV_QOS_NOT_SUPPORT;
    }
    return qos_binding_edit(port, MODEL, static_cast<uint32_t>(model));
}

int ov_app_port_qos_edit_qos_sched_profile(Port* port, uint32_t id) {
    return qos_binding_edit(port, SCHED, id);
}

int ov_app_port_qos_edit_qos_traffic_profile(Port* port, uint32_t id) {
    return qos_binding_edit(port, TRAFFIC, id);
}

int ov_app_port_qos_edit_cosq_map_profile(Port* port, uint32_t id) {
    return qos_binding_edit(port, COSQ_MAP, id);
}

int ov_app_port_qos_edit_cos_to_cos_profile(Port* port, uint32_t id, qos_link_e link) {
    if (link >= QOS_LINKS)
        return OV_QOS_ERR;
    return qos_binding_edit(port, link == QOS_UP_LINK ? COS_TO_COS<QOS_UP_LINK> : COS_TO_COS<QOS_DOWN_LINK>,
                            id);
}

int ov_app_port_qos_edit_all_def(Port* port) {
    if (port == nullptr)
        return OV_QOS_ERR;
    if (is_held(port))
        qos_binding_leave(ALL, *port);
    for (const Field& field : FIELDS)
        if (field.is_profile()) {
            field.value(*port) = OV_QOS_DEFAULT_INDEX_ID;
            field.before(*port) = OV_QOS_DEFAULT_INDEX_ID;
        }
    return OV_QOS_OK;
}

ov_ifindex_t ov_app_port_qos_get_ifindex(const Port* port) {
    return port != nullptr ? port->ifindex : OV_IFINDEX_INVALID;
}

int32_t ov_app_port_qos_get_sched_mode(const Port* port) {
    return port != nullptr ? static_cast<int32_t>(port->qos_model) : 0;
}

uint32_t ov_app_port_qos_get_qos_sched_profile(const Port* port) {
    return port != nullptr ? port->qos_sched_profile_id : OV_QOS_DEFAULT_INDEX_ID;
}

uint32_t ov_app_port_qos_get_qos_traffic_profile(const Port* port) {
    return port != nullptr ? port->qos_traffic_profile_id : OV_QOS_DEFAULT_INDEX_ID;
}

uint32_t ov_app_port_qos_get_cosq_map_profile(const Port* port) {
    return port != nullptr ? port->cosq_map_profile_id : OV_QOS_DEFAULT_INDEX_ID;
}

uint32_t ov_app_port_qos_get_cos_to_cos_profile(const Port* port, qos_link_e link) {
    return port != nullptr && link < QOS_LINKS ? port->cos_to_cos_profile_id[link] : OV_QOS_DEFAULT_INDEX_ID;
}
