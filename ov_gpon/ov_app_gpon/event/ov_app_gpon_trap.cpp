#include "ov_app_gpon_trap.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "hal_record_desc.h"
#include "hal_record_dump.h"
#include "ov_app_gpon_autolearn_flow.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onu_history.h"
#include "ov_app_gpon_onuinit.h"
#include "ov_app_gpon_pon_protect.h"
#include "ov_app_gpon_wn_trap.h"
#include "ov_hal_gpon_msg.h"
#include "ov_ifindex.h"
#include "ov_product_log.h"
#include "ov_refusal.h"

namespace {

// Types that cards may use for events; most are unused.
constexpr unsigned EVENT_TYPE_FIRST = OV_HAL_MSG_GPON_UNCFG_ONU;
constexpr unsigned EVENT_TYPE_LAST = 959;

constexpr size_t EVENT_MSG_MIN = sizeof(hal_nlmsghdr) + sizeof(ov_hal_gpon_msg_head_t);

struct Handler {
    unsigned type;
    void (*handle)(const void* buf, unsigned len);
};
constexpr std::array HANDLERS = {
    Handler{OV_HAL_MSG_GPON_UNCFG_ONU, ov_hal_gpon_uncfg_onu_msg},
    Handler{OV_HAL_MSG_GPON_WN_TRAP, ov_hal_gpon_wn_trap_msg},
    Handler{OV_HAL_MSG_GPON_ONUSTATES_TRAP, ov_hal_gpon_onu_states_trap_msg},
    Handler{OV_HAL_MSG_GPON_AUTO_LEARN_ONU, ov_hal_gpon_onu_autolearn_msg},
    Handler{OV_HAL_MSG_GPON_PON_PROTECT_STATUS, ov_hal_gpon_pon_protect_status_trap_msg},
};

template <typename Record>
struct Event {
    int32_t action;
    Record record;
};

// The action and a copy of the record of a body; none when the body is too short for them.
template <typename Record>
std::optional<Event<Record>> event_of(const void* buf, unsigned len) {
    if (!buf || len < EVENT_MSG_MIN + sizeof(Record))
        return std::nullopt;
    ov_hal_gpon_msg_head_t head;
    Event<Record> event = {};
    std::memcpy(static_cast<void*>(&head), buf, sizeof head);
    std::memcpy(static_cast<void*>(&event.record), static_cast<const unsigned char*>(buf) + sizeof head,
                sizeof event.record);
    event.action = head.action;
    return event;
}

// A field of a record as printable text.
template <typename Record>
std::string text_of(const Record& record, std::string_view field_name) {
    for (const HalFieldDesc& field : hal_record_desc_of<Record>().fields)
        if (field.name && field_name == field.name)
            return hal_field_text(field, &record);
    return {};
}

const char* state_text(unsigned state) {
    constexpr std::array NAMES = {" INIT ", " ADDED ", " AUTHPASS ", " OPERATIONAL "};
    return state < NAMES.size() ? NAMES[state] : "UNKNOWN ERROR";
}

} // namespace

unsigned ov_hal_gpon_msg_recv(unsigned type, void* buf, unsigned len) {
    if (type < EVENT_TYPE_FIRST || type > EVENT_TYPE_LAST)
        return 0;
    if (buf && len >= EVENT_MSG_MIN)
        ov_hal_gpon_msg_dump(type, buf);
    const auto* found =
        std::find_if(HANDLERS.begin(), HANDLERS.end(), [type](const Handler& h) { return h.type == type; });
    if (found == HANDLERS.end())
        return 0;
    const OvRefusal door("card", OvRefusal::Kind::EVENT);
    found->handle(buf, len);
    return 0;
}

void ov_hal_gpon_uncfg_onu_msg(const void* buf, unsigned len) {
    auto event = event_of<ov_gpon_uncfg_onu_attr_t>(buf, len);
    if (!event ||
        (event->action != OV_HAL_GPON_MSG_ACTION_CREATE && event->action != OV_HAL_GPON_MSG_ACTION_DELETE))
        return;
    ov_gpon_uncfg_onu_attr_t& onu = event->record;
    const std::string serial = text_of(onu, "sn");
    if (event->action == OV_HAL_GPON_MSG_ACTION_CREATE) {
        OV_LOG_DEBUG("LIB", "!!!!!!!!New unconfig ONU: ifindex = %u, tmpOnuId=%u, sn=%s\n",
                     onu.ponIfindex.value(), onu.index.value(), serial.c_str());
        // A card that is asked for all that it has says it again.
        if (!ov_app_gpon_unconfig_onu_is_listed(&onu))
            ov_app_gpon_unconfig_onu_add_by_lowlayer(&onu);
    } else {
        OV_LOG_DEBUG("LIB", "!!!!!!!!Del unconfig ONU: ifindex = %u, tmpOnuId=%u, sn=%s\n",
                     onu.ponIfindex.value(), onu.index.value(), serial.c_str());
        ov_app_gpon_unconfig_onu_del_by_lowlayer(&onu);
    }
}

void ov_hal_gpon_wn_trap_msg(const void* buf, unsigned len) {
    auto event = event_of<ov_gpon_wanning_trap_t>(buf, len);
    if (!event || event->action != OV_HAL_GPON_MSG_ACTION_SET)
        return;
    ov_gpon_wanning_trap_t& trap = event->record;
    OV_LOG_DEBUG("LIB",
                 "!!!!!!!!New Wn trap : AlarmTableAlarmSourceType = %u, AlarmTableAlarmSeverity=%u, "
                 "AlarmTableSystemType=%s AlarmTableAlarmState=%u\r\n",
                 static_cast<unsigned>(trap.AlarmTableAlarmSourceType),
                 static_cast<unsigned>(trap.AlarmTableAlarmSeverity),
                 text_of(trap, "AlarmTableSystemType").c_str(),
                 static_cast<unsigned>(trap.AlarmTableAlarmState));
    ov_app_gpon_wn_trap_set_by_lowlayer(&trap);
}

void ov_hal_gpon_onu_states_trap_msg(const void* buf, unsigned len) {
    auto event = event_of<ov_gpon_trap_onu_state_attr_t>(buf, len);
    if (!event || event->action != OV_HAL_GPON_MSG_ACTION_SET)
        return;
    ov_gpon_trap_onu_state_attr_t& state = event->record;
    OV_LOG_DEBUG("LIB", "!!!!!!!!New ONU state: ifindex = %u, state =%s, sn=%s\n", state.onuIfindex.value(),
                 state_text(state.states), text_of(state, "sn").c_str());
    ov_app_gpon_onu_state_update(&state);
    ov_app_gpon_onu_state_historytable_update(&state);
}

void ov_hal_gpon_onu_autolearn_msg(const void* buf, unsigned len) {
    auto event = event_of<ov_gpon_autolearn_onu_attr_t>(buf, len);
    if (!event || event->action != OV_HAL_GPON_MSG_ACTION_CREATE)
        return;
    ov_gpon_autolearn_onu_attr_t& onu = event->record;
    OV_LOG_DEBUG("LIB", "!!!!!!!!autolearn  ONU: ifindex = %u, profile=%s, sn=%s\n", onu.onuIfindex.value(),
                 text_of(onu, "profile").c_str(), text_of(onu, "sn").c_str());
    ov_app_gpon_autolearn_onu_add(&onu);
}

void ov_hal_gpon_pon_protect_status_trap_msg(const void* buf, unsigned len) {
    auto event = event_of<ov_gpon_pon_protect_group_attr_t>(buf, len);
    if (!event || event->action != OV_HAL_GPON_MSG_ACTION_SET)
        return;
    ov_gpon_pon_protect_group_attr_t& group = event->record;
    OV_LOG_INFO("LIB", "!!!!!!!!New TRAP FOR pon switchover to new active pon: ponid = %u, slotid = %u \n",
                ov_ifindex_get_port_id(group.ActivePonIfindex),
                ov_ifindex_get_slot_id(group.ActivePonIfindex));
    ov_app_gpon_pon_protect_status_switch_set(&group);
}
