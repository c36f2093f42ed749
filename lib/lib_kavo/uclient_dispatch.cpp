// What the controller's events set off. The order of effects within a case is part of the contract: a
// callback may rely on the slot's marks as they then stand.
#include "uclient.h"

#include <array>

#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_slot.h"

namespace {

uclient_upcalls upcalls = {};

template <auto Upcall, typename... Args>
auto call_up(Args... args) {
    using Result = decltype((upcalls.*Upcall)(args...));
    if constexpr (std::is_void_v<Result>) {
        if (upcalls.*Upcall)
            (upcalls.*Upcall)(args...);
    } else {
        return upcalls.*Upcall ? (upcalls.*Upcall)(args...) : Result{};
    }
}

// Slots are small numbers; a larger one mustn't wrap onto a slot that exists.
unsigned short flag_slot(uint32_t slot) {
    return slot <= OV_SLOT_MAX ? static_cast<unsigned short>(slot) : 0;
}

void set_active_flag_if_clear(const char* func, int line, uint32_t slot) {
    if (!call_up<&uclient_upcalls::slot_active_flag_check>(flag_slot(slot)))
        call_up<&uclient_upcalls::slot_active_flag_set>(func, line, flag_slot(slot));
}

void clear_active_flag(const char* func, int line, uint32_t slot) {
    call_up<&uclient_upcalls::slot_active_flag_clear>(func, line, flag_slot(slot));
}

void clear_active_flag_if_set(const char* func, int line, uint32_t slot) {
    if (call_up<&uclient_upcalls::slot_active_flag_check>(flag_slot(slot)))
        clear_active_flag(func, line, slot);
}

// The body's record, or nothing after a line in the log.
template <typename Record>
std::optional<Record> parse_or_log(std::span<const uint8_t> body, const char* func) {
    auto record = umsg_body_parse<Record>(body);
    if (!record)
        OV_LOG_ERROR("LIB", "%s: message body too short: %zu of %zu", func, body.size(), sizeof(Record));
    return record;
}

std::optional<uint32_t> switch_slot_or_log(std::span<const uint8_t> body, const char* func) {
    const auto slot = umsg_switch_slot_parse(body);
    if (!slot)
        OV_LOG_ERROR("LIB", "%s: message body too short: %zu of %zu", func, body.size(), sizeof(*slot));
    return slot;
}

template <typename Arg>
void call_slot(int (*callback)(Arg), Arg arg) {
    if (callback)
        callback(arg);
}

template <auto Slot>
struct RecordOf;
template <typename Record, int (*uclient_s::*Slot)(Record*)>
struct RecordOf<Slot> {
    using type = Record;
};

// The whole handling of most types: the record to the callback.
template <auto Slot>
void forward(uclient_s* client, std::span<const uint8_t> body) {
    using Record = typename RecordOf<Slot>::type;
    if (auto record = parse_or_log<Record>(body, "uclient_msghandle"))
        call_slot<Record*>(client->*Slot, &*record);
}

using Handler = void (*)(uclient_s*, std::span<const uint8_t>);

struct Dispatch {
    UMSG_TYPE type;
    Handler handle;
};

constexpr std::array DISPATCH = {
    Dispatch{UMSG_NEW_IF, forward<&uclient_s::if_new>},
    Dispatch{UMSG_DEL_IF, forward<&uclient_s::if_del>},
    Dispatch{UMSG_IF_ADMIN, forward<&uclient_s::if_admin>},
    Dispatch{UMSG_IF_STATUS, forward<&uclient_s::if_status>},
    Dispatch{UMSG_VLAN_NEW, forward<&uclient_s::vlan_create>},
    Dispatch{UMSG_VLAN_DEL, forward<&uclient_s::vlan_destroy>},
    Dispatch{UMSG_VLAN_PORT, forward<&uclient_s::vlan_port>},
    Dispatch{UMSG_IP_ADD, forward<&uclient_s::ip_add>},
    Dispatch{UMSG_IP_DEL, forward<&uclient_s::ip_del>},
    Dispatch{UMSG_IP_UPDATE, forward<&uclient_s::ip_update>},
    Dispatch{UMSG_HOST, forward<&uclient_s::host>},
    Dispatch{UMSG_TRUNK_SET, forward<&uclient_s::trunk_set>},
    Dispatch{UMSG_PROTECT_GROUP_ADD, forward<&uclient_s::protect_group_add>},
    Dispatch{UMSG_PROTECT_GROUP_DEL, forward<&uclient_s::protect_group_del>},
    Dispatch{UMSG_ONU_STATUS_NOTIFY, forward<&uclient_s::onu_status_notify>},
    Dispatch{UMSG_SLOT_ADD, uclient_handle_slot_add},
    Dispatch{UMSG_SLOT_REMOVE, uclient_handle_slot_remove},
    Dispatch{UMSG_SLOT_ACTIVE, uclient_handle_slot_active},
    Dispatch{UMSG_SLOT_DEACTIVE, uclient_handle_slot_deactive},
    Dispatch{UMSG_CFG_SLOT_SYNC_START, uclient_handle_slot_cfg_sync_start},
    Dispatch{UMSG_CFG_SLOT_SYNC_END, uclient_handle_slot_cfg_sync_end},
    Dispatch{UMSG_CFG_SC_SWITCH_2_ACTIVE_START, uclient_handle_sc_switch_2_active_start},
    Dispatch{UMSG_CFG_SC_SWITCH_2_ACTIVE_END, uclient_handle_sc_switch_2_active_end},
    Dispatch{UMSG_START_SNMP_AGENTX, uclient_handle_start_snmp_agentx},
    Dispatch{UMSG_SNMP_MIB_TABLE_SAVE, uclient_handle_mibsave_request},
};

} // namespace

void uclient_set_upcalls(const uclient_upcalls* table) {
    upcalls = table ? *table : uclient_upcalls{};
}

int uclient_msghandle(uclient_s* client, const msg* msg, int /*fd*/) {
    const OvRefusal door("controller", OvRefusal::Kind::EVENT);
    for (const Dispatch& row : DISPATCH) {
        if (row.type != msg->hdr.msgtype)
            continue;
        row.handle(client, msg_body(msg));
        return 0;
    }
    OV_LOG_ERROR("LIB", "uclient_msghandle: Unknown message type: %d", msg->hdr.msgtype);
    return 0;
}

void uclient_handle_slot_add(uclient_s* client, std::span<const uint8_t> body) {
    const auto card = parse_or_log<umsg_card_t>(body, __func__);
    if (!card)
        return;
    call_slot(client->slot_add, card->slot_id);
    OV_LOG_NOTICE("LIB", "process slot %d add.", card->slot_id);
    ov_slot_create(card->slot_id, card->card_type, 1);
}

void uclient_handle_slot_remove(uclient_s* client, std::span<const uint8_t> body) {
    auto card = parse_or_log<umsg_card_t>(body, __func__);
    if (!card)
        return;
    const uint32_t slot = card->slot_id;
    const uint16_t type = card->card_type;
    clear_active_flag(__func__, __LINE__, slot);
    ov_slot_delete(slot);
    call_slot(client->slot_remove, &*card);
    OV_LOG_NOTICE("LIB", "process slot %d type %d remove.", slot, type);
}

void uclient_handle_slot_active(uclient_s* client, std::span<const uint8_t> body) {
    const auto card = parse_or_log<umsg_card_t>(body, __func__);
    if (!card)
        return;
    OV_LOG_NOTICE("LIB", "Process slot %d operation up.", card->slot_id);
    ov_slot_set_connected(card->slot_id, 1);
    set_active_flag_if_clear(__func__, __LINE__, card->slot_id);
    call_slot(client->slot_active, card->slot_id);
}

void uclient_handle_slot_deactive(uclient_s* client, std::span<const uint8_t> body) {
    auto card = parse_or_log<umsg_card_t>(body, __func__);
    if (!card)
        return;
    OV_LOG_NOTICE("LIB", "Process slot %d operation down.", card->slot_id);
    ov_slot_set_connected(card->slot_id, 0);
    clear_active_flag_if_set(__func__, __LINE__, card->slot_id);
    call_slot(client->slot_deactive, &*card);
}

void uclient_handle_slot_cfg_sync_start(uclient_s* client, std::span<const uint8_t> body) {
    auto sync = parse_or_log<umsg_cfg_sync_t>(body, __func__);
    if (!sync)
        return;
    OV_LOG_NOTICE("LIB", "Process slot %d recovery for feature %d.", sync->slotid, sync->appid);
    ov_slot_set_synching(sync->slotid, 1);
    ov_slot_set_synched(sync->slotid, 0);
    set_active_flag_if_clear(__func__, __LINE__, sync->slotid);
    call_slot(client->slot_cfg_sync_start, &*sync);
}

void uclient_handle_slot_cfg_sync_end(uclient_s* client, std::span<const uint8_t> body) {
    auto sync = parse_or_log<umsg_cfg_sync_t>(body, __func__);
    if (!sync)
        return;
    OV_LOG_NOTICE("LIB", "Process slot %d recovery end.", sync->slotid);
    call_slot(client->slot_cfg_sync_end, &*sync);
}

void uclient_handle_sc_switch_2_active_start(uclient_s* client, std::span<const uint8_t> body) {
    const auto slot = switch_slot_or_log(body, __func__);
    if (!slot)
        return;
    OV_LOG_NOTICE("LIB", "Process sc card %d change to active start.", *slot);
    // The message channel stays as it is: the agents that this board takes over are reported active, or get
    // their configuration replayed, one by one, and only that opens it.
    ov_slot_set_connected(*slot, 1);
    // Slot 0 would ask for this board's own role.
    if (*slot != 0 && ov_product_is_slot_sc(*slot))
        ov_slot_set_active_sc(*slot);
    call_slot(client->slot_switch_2_active_start, *slot);
    call_up<&uclient_upcalls::init_hal_backup>();
}

void uclient_handle_sc_switch_2_active_end(uclient_s* client, std::span<const uint8_t> body) {
    const auto slot = switch_slot_or_log(body, __func__);
    if (!slot)
        return;
    OV_LOG_NOTICE("LIB", "Process sc card %d change to active end.", *slot);
    ov_slot_set_synching(*slot, 0);
    ov_slot_set_synched(*slot, 1);
    ov_slot_set_active_sc(*slot);
    call_slot(client->slot_switch_2_active_end, *slot);
}

void uclient_handle_start_snmp_agentx(uclient_s* /*client*/, std::span<const uint8_t> /*body*/) {
    OV_LOG_NOTICE("LIB", "Start connecting snmpd.");
    call_up<&uclient_upcalls::snmp_agent_start>();
}

void uclient_handle_mibsave_request(uclient_s* /*client*/, std::span<const uint8_t> body) {
    const auto request = parse_or_log<umsg_snmp_save_req_t>(body, __func__);
    if (!request || !upcalls.mmg_table_save_immediate)
        return;
    if (upcalls.mmg_table_save_immediate(request->tablename) == 0)
        OV_LOG_NOTICE("LIB", "Process mibsave request %d for %s.", request->sequence, request->tablename);
}
