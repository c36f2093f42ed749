#include "card.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "card_change.h"
#include "card_fields.h"
#include "card_rules.h"
#include "onu_rules.h"
#include "port_name.h"
#include "qinq_rules.h"
#include "text.h"

using namespace card_wire;

namespace {

constexpr uint16_t PORT = 901;
constexpr uint16_t ONU = 903;
constexpr uint16_t GEMPORT = 909;
constexpr uint16_t RMONU_INFO = 914;
constexpr uint16_t RM_UNI = 915;
constexpr uint16_t RM_UNI_STATS = 918;
constexpr uint16_t WN_TRAP = 923;
constexpr uint16_t RMONU_UPDATE = 930;
constexpr uint16_t RMONU_UPD_STATUS = 940;
constexpr uint16_t TRAP_SYNC = 949;
constexpr uint16_t CONF_SYNC_END = 950;
constexpr uint16_t PON_PROTECT = 952;
constexpr uint16_t DEBUG = 966;
constexpr uint16_t ONU_NET_UPGRADE = 967;
constexpr uint16_t PORT_STAT_CLEAR = 96;
constexpr size_t DRIVER_TEXTS = 100;

bool has_bit(uint32_t mask, int bit) {
    return mask >> bit & 1;
}

// Whether an ONU's record says so, whole.
bool is_on(std::span<const uint8_t> onu) {
    return get_be32(onu, offsetof(ov_gpon_onu_attr_t, adminStatus)) != 0 &&
           get_be32(onu, offsetof(ov_gpon_onu_attr_t, active)) != 0;
}

} // namespace

Card::Card(const CardShelf& shelf, uint32_t slot)
    : shelf_(shelf), slot_(slot), receiver_(shelf.loop),
      onus_(shelf.loop, objects_,
            [this](uint16_t number, uint32_t action, std::span<const uint8_t> record) {
                return report(number, action, record);
            }),
      protection_(onus_, [this](uint16_t number, uint32_t action,
                                std::span<const uint8_t> record) { return report(number, action, record); }),
      flows_(shelf.loop, objects_, onus_), values_(objects_, onus_, flows_), upgrades_(shelf.loop, onus_) {}

bool Card::open(std::string& error) {
    return receiver_.open(
        name(), [this](std::span<const uint8_t> frame) { handle(frame); }, error);
}

IpcName Card::name() const {
    return {AGENT_SERVICE, AGENT_SUB_ID + slot_};
}

bool Card::transmit(const IpcName& to, const std::vector<uint8_t>& frame) {
    const bool sent = shelf_.sender.send(to, frame);
    if (sent)
        shelf_.capture.add_sent(slot_, name(), to, frame);
    return sent;
}

void Card::restart() {
    objects_.clear();
    alarms_.clear();
    replayed_.clear();
    driver_texts_.clear();
    flows_.settle();
    flows_.counts().clear();
    values_.restart();
    protection_.restart();
    upgrades_.restart();
    onus_.card_restarted();
}

// ---- requests --------------------------------------------------------------------------------------------

void Card::handle(std::span<const uint8_t> frame) {
    ++counters_.received;
    shelf_.capture.add_received(slot_, name(), frame);
    CardRequest request;
    auto refusal = parse_card_request(frame, request);
    if (!refusal)
        shelf_.board = request.header.sender_sub_id - GPON_SUB_ID;
    std::optional<Fault> fault;
    if (!faults_.empty())
        fault = faults_.take_for_reply(request.header.nlmsg_type);
    if (fault) {
        record_fault(request, *fault);
        if (use_fault_instead(*fault))
            return;
        if (fault->what->kind == FaultKind::STOP)
            stop_for(fault->value);
    }
    if (!refusal && request.message)
        refusal = check_card_rules(request, slot_, objects_);
    if (!refusal && request.message)
        refusal = check_onu_rules(request, objects_, onus_);
    Outcome outcome;
    if (refusal) {
        record_refusal(request, *refusal, frame.size());
        outcome.retcode = refusal->retcode;
        outcome.record.assign(request.record.begin(), request.record.end());
    } else {
        const bool only_code = fault && fault->what->kind == FaultKind::CODE;
        if (!only_code)
            outcome = perform(request);
        else
            outcome = {fault->value, {request.record.begin(), request.record.end()}};
        record_request(request, outcome.retcode);
    }
    if (request.wants_reply())
        reply(request, std::move(outcome), fault);
}

Card::Outcome Card::perform(const CardRequest& request) {
    if (!request.message) {
        keep_driver_text(request);
        return {};
    }
    ++counters_.by_type[{request.message->number, request.action}];
    if (request.action == card_action::GET || request.action == card_action::GET_CURRENT)
        return read(request);
    const bool held_before = request.message->use != CardUse::LIVE && change_objects(objects_, request);
    follow(request, held_before);
    Outcome outcome;
    if (request.wants_reply())
        outcome.record.assign(request.record.begin(), request.record.end());
    return outcome;
}

Card::Outcome Card::read(const CardRequest& request) {
    Outcome outcome;
    if (request.message->number == RM_UNI_STATS)
        end_intervals(request);
    const auto* held =
        request.message->use == CardUse::LIVE ? nullptr : objects_.find(*request.message, request.record);
    if (held)
        outcome.record = *held;
    else
        outcome.record.assign(request.record.begin(), request.record.end());
    if (!held && request.message->number == RM_UNI)
        put_uni_factory_settings(outcome.record);
    outcome.retcode = values_.fill(request, outcome.record);
    if (request.message->number == RMONU_UPD_STATUS)
        upgrades_.fill_progress(get_be32(request.record, 0), outcome.record);
    return outcome;
}

// Of the UNIs whose counters are read.
void Card::end_intervals(const CardRequest& request) {
    Onu* onu = onus_.at_index(get_be32(request.record, 0));
    const size_t size = request.message->record->size;
    for (size_t i = 0; onu && i * size < request.record.size(); ++i)
        if (has_bit(request.mask, static_cast<int>(i)))
            end_interval(*onu, *uni_of(*request.message, request.record.subspan(i * size, size)));
}

// What a change does to the ONUs, and what the commands do.
void Card::follow(const CardRequest& request, bool held_before) {
    const uint32_t index = request.record.size() >= 4 ? get_be32(request.record, 0) : 0;
    switch (request.message->number) {
    case ONU:
        follow_onu(request, held_before);
        break;
    case PORT:
        follow_port(request);
        break;
    case GEMPORT:
        if (request.action == card_action::DELETE)
            flows_.counts().forget_gem(index);
        break;
    case PON_PROTECT:
        protection_.follow(request);
        break;
    case RMONU_INFO:
        if (request.action == card_action::SET)
            command_onu(index, request);
        break;
    case RMONU_UPDATE:
        upgrades_.command(request.record);
        break;
    case ONU_NET_UPGRADE:
        upgrades_.command_from_server(request.record);
        break;
    case DEBUG:
        upgrades_.set_switch(request.record);
        break;
    case PORT_STAT_CLEAR:
        flows_.settle();
        flows_.counts().clear(pm_message::PORT_STAT, index);
        break;
    case TRAP_SYNC:
        replay();
        break;
    case CONF_SYNC_END:
        forget_what_replay_left_out();
        onus_.replay_ended();
        break;
    default:
        if (Onu* onu = request.message->parent == CardParent::ONU ? onus_.at_index(index) : nullptr)
            end_lost_calls(*onu, objects_);
        break;
    }
}

void Card::command_onu(uint32_t index, const CardRequest& request) {
    constexpr struct {
        int bit;
        size_t offset;
        void (Onus::*act)(uint32_t index);
    } COMMANDS[] = {
        {OV_GPON_RMONU_INFO_ATTR_INDEX_mibSync, offsetof(ov_gpon_rmonu_info_attr_t, mibSync),
         &Onus::synchronise_mib},
        {OV_GPON_RMONU_INFO_ATTR_INDEX_restoreDefault, offsetof(ov_gpon_rmonu_info_attr_t, restoreDefault),
         &Onus::restore_default},
        {OV_GPON_RMONU_INFO_ATTR_INDEX_reboot, offsetof(ov_gpon_rmonu_info_attr_t, reboot), &Onus::reboot},
    };
    for (const auto& command : COMMANDS)
        if (has_bit(request.mask, command.bit) && get_be32(request.record, command.offset) == 1)
            (onus_.*command.act)(index);
}

void Card::follow_port(const CardRequest& request) {
    const uint32_t index = get_be32(request.record, 0);
    if (request.action == card_action::CREATE) {
        replayed_[index].clear();
        forget_qinq_of_port(objects_, index);
        if (!request.wants_reply()) // a replay's
            onus_.learn_behind_replay(index);
    }
    if (request.action == card_action::SET && has_bit(request.mask, OV_GPON_PORT_ATTR_INDEX_AutoLearn))
        onus_.set_learning(index);
    if (request.action == card_action::SET && has_bit(request.mask, OV_GPON_PORT_ATTR_INDEX_adminStatus))
        onus_.set_enabled(index, get_be32(request.record, offsetof(ov_gpon_port_attr_t, adminStatus)) != 0);
}

void Card::follow_onu(const CardRequest& request, bool held_before) {
    const uint32_t index = get_be32(request.record, 0);
    if (request.action == card_action::DELETE) {
        forget_onu(index);
        return;
    }
    if (const auto port = replayed_.find(pon_of(index)); port != replayed_.end())
        port->second.insert(index);
    const bool news = onus_.told(index);
    if (request.action == card_action::CREATE && held_before) {
        // who creates it again doesn't know how it is
        if (is_on(request.record))
            onus_.set_enabled(index, true);
        if (!news)
            onus_.report_again(index);
    }
    if (request.action == card_action::SET)
        switch_onu(index, request);
}

// A new ONU is on, whatever its record says. It is switched off by either of the two attributes.
void Card::switch_onu(uint32_t index, const CardRequest& request) {
    bool is_told = false;
    bool on = true;
    for (const auto& [attribute, offset] :
         {std::pair{OV_GPON_ONU_ATTR_INDEX_adminStatus, offsetof(ov_gpon_onu_attr_t, adminStatus)},
          std::pair{OV_GPON_ONU_ATTR_INDEX_active, offsetof(ov_gpon_onu_attr_t, active)}})
        if (has_bit(request.mask, attribute)) {
            is_told = true;
            on = on && get_be32(request.record, offset) != 0;
        }
    if (is_told)
        onus_.set_enabled(index, on);
}

void Card::forget_onu(uint32_t index) {
    std::erase_if(alarms_, [index](const auto& alarm) { return alarm.first.first == index; });
    flows_.settle();
    flows_.counts().forget_onu(index);
    onus_.forgotten(index);
}

// A replay tells of each ONU that the daemon knows: any other is one of a daemon's before it, whose
// configuration is lost.
void Card::forget_what_replay_left_out() {
    std::vector<CardObjects::Bytes> left_out;
    for (const auto& [key, object] : objects_.table(ONU)) {
        const uint32_t index = get_be32(object, 0);
        const auto port = replayed_.find(pon_of(index));
        if (port != replayed_.end() && !port->second.contains(index))
            left_out.push_back(object);
    }
    replayed_.clear();
    for (const auto& object : left_out) {
        objects_.remove(*find_card_message(ONU), object);
        forget_onu(get_be32(object, 0));
    }
}

void Card::keep_driver_text(const CardRequest& request) {
    ++counters_.by_type[{static_cast<uint16_t>(DRV_CMD), 0}];
    driver_texts_.emplace_back(reinterpret_cast<const char*>(request.record.data()), request.record.size());
    if (driver_texts_.size() > DRIVER_TEXTS)
        driver_texts_.pop_front();
}

// ---- events ----------------------------------------------------------------------------------------------

void Card::replay() {
    for (const auto& [key, record] : alarms_)
        send_event(WN_TRAP, card_action::SET, 0, record);
    onus_.replay();
}

bool Card::report(uint16_t number, uint32_t action, std::span<const uint8_t> record) {
    const bool is_news = number != WN_TRAP || keep_alarm(record);
    return is_news && is_open() && send_event(number, action, 0, record);
}

bool Card::raise_event(uint16_t number, uint32_t action, uint32_t mask, std::span<const uint8_t> record,
                       uint32_t count) {
    if (number == WN_TRAP && record.size() == sizeof(ov_gpon_wanning_trap_t))
        keep_alarm(record);
    return send_event(number, action, mask, record, count);
}

// False for the clearing of an alarm that isn't raised.
bool Card::keep_alarm(std::span<const uint8_t> record) {
    constexpr uint32_t RAISED = 1;
    const std::pair key(get_be32(record, 0), get_be32(record, 4));
    if (get_be32(record, offsetof(ov_gpon_wanning_trap_t, AlarmTableAlarmState)) != RAISED)
        return alarms_.erase(key) != 0;
    alarms_[key].assign(record.begin(), record.end());
    return true;
}

CardHeader Card::event_header(uint16_t number, size_t payload_size) {
    CardHeader header;
    header.sender_service = AGENT_SERVICE;
    header.sender_sub_id = AGENT_SUB_ID + slot_;
    header.msg_num = ++msg_num_;
    header.msg_id = msg_num_ * 2654435761u;
    header.topic = 2;
    header.cmd = number;
    header.nlmsg_type = number;
    header.nlmsg_len = static_cast<uint32_t>(NETLINK_HEADER + payload_size);
    header.msg_len = static_cast<uint32_t>(PACKET_HEADER + header.nlmsg_len);
    return header;
}

bool Card::send_bytes(const std::vector<uint8_t>& bytes, uint32_t count) {
    const IpcName daemon{GPON_SERVICE, GPON_SUB_ID + shelf_.board};
    for (uint32_t i = 1; i < count; ++i) {
        if (!transmit(daemon, bytes))
            return false;
    }
    return transmit(daemon, bytes);
}

bool Card::send_event(uint16_t number, uint32_t action, uint32_t mask, std::span<const uint8_t> record,
                      uint32_t count) {
    const auto payload = card_payload(action, mask, record);
    const auto frame = build_card_frame(event_header(number, payload.size()), payload);
    const bool sent = send_bytes(frame, count);
    counters_.events += count;
    if (!may_record())
        return sent;
    const CardMessage* message = find_card_event(std::to_string(number));
    NamedValues values{{"slot", std::to_string(slot_)},
                       {"type", message ? message->name : std::to_string(number)},
                       {"action", card_action_name(action)},
                       {"count", std::to_string(count)},
                       {"sent", sent ? "1" : "0"}};
    if (message && message->size == record.size()) {
        for (auto& value : card_values_of(*message->record, record))
            values.push_back(std::move(value));
    }
    shelf_.records.add("card-event", std::move(values));
    return sent;
}

// ---- records ---------------------------------------------------------------------------------------------

// A restore is tens of thousands of messages: beyond some in a second they are only counted.
bool Card::may_record() {
    const auto now = Onus::Clock::now();
    if (now - second_ >= std::chrono::seconds(1)) {
        second_ = now;
        recorded_ = 0;
    }
    if (recorded_ < shelf_.records_per_second) {
        ++recorded_;
        return true;
    }
    ++counters_.unrecorded;
    return false;
}

NamedValues Card::describe(const CardRequest& request) const {
    const CardMessage* message = request.message;
    NamedValues values{{"slot", std::to_string(slot_)},
                       {"type", message ? message->name : std::to_string(request.header.nlmsg_type)},
                       {"ipc", request.wants_reply() ? "request" : "async"}};
    if (!message || request.record.size() < 4)
        return values;
    values.emplace_back("action", card_action_name(request.action));
    values.emplace_back("mask", format("0x%x", request.mask));
    const bool has_index = message->owner == CardOwner::INDEX || message->owner == CardOwner::SHARED_INDEX;
    if (!has_index)
        return values;
    const uint32_t index = get_be32(request.record, message->owner_at);
    values.emplace_back("ifindex", format("0x%08x", index));
    if (std::string port = port_of_ifindex(index); !port.empty())
        values.emplace_back("port", std::move(port));
    return values;
}

void Card::record_request(const CardRequest& request, uint32_t retcode) {
    if (!may_record())
        return;
    NamedValues values = describe(request);
    values.emplace_back("retcode", std::to_string(retcode));
    if (!request.message)
        values.emplace_back("text", driver_texts_.empty() ? "" : driver_texts_.back());
    shelf_.records.add("card-request", std::move(values));
}

void Card::record_refusal(const CardRequest& request, const CardRefusal& refusal, size_t frame_size) {
    ++counters_.refused;
    ++counters_.reasons[refusal.reason];
    if (!may_record())
        return;
    NamedValues values = describe(request);
    values.emplace_back("reason", refusal.reason);
    values.emplace_back("detail", refusal.detail);
    values.emplace_back("retcode", std::to_string(refusal.retcode));
    values.emplace_back("len", std::to_string(frame_size));
    shelf_.records.add("refused", std::move(values));
}

void Card::record_fault(const CardRequest& request, const Fault& fault) {
    if (!may_record())
        return;
    NamedValues values = describe(request);
    values.emplace_back("fault", fault.what->name);
    shelf_.records.add("fault", std::move(values));
}
