#include "card_values.h"

#include <algorithm>
#include <cstring>

#include "onu_rules.h"

namespace {

constexpr uint16_t ONU = 903;
constexpr uint16_t RMONU_INFO = 914;
constexpr uint16_t RM_UNI = 915;
constexpr uint16_t RM_UNI_STATS = 918;
constexpr uint16_t RMONU_CAPA = 928;
constexpr uint16_t RM_UNI_STATS_US = 960;
constexpr uint16_t RM_UNI_STATS_DS = 961;
constexpr uint16_t RMONU_IMG_INFO = 939;
constexpr uint16_t PORT_STAT = 97;
constexpr uint16_t PORT_RATE_STAT = 110;
constexpr size_t RX_RATE_AT = 296; // of message 110, behind the counters of message 97
constexpr size_t TX_RATE_AT = 304;

// Messages with which counters are read.
constexpr uint16_t COUNTER_MESSAGES[] = {924, 925, 926, 937};

// Of what the card holds these are told by the ONU all the same: it has them in use, or adds to them.
constexpr uint16_t IN_USE_MESSAGES[] = {931, 942, 962, 963};

bool is_one_of(std::span<const uint16_t> numbers, uint16_t number) {
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

// Messages for which the card has to ask the ONU itself.
bool asks_onu(const CardMessage& message) {
    return is_one_of(IN_USE_MESSAGES, message.number) ||
           (message.use == CardUse::LIVE && message.parent == CardParent::ONU && message.number != 925 &&
            message.number != 940);
}

void put_number(const HalRecordDesc& record, std::span<uint8_t> bytes, const char* field, int64_t value) {
    const CardPart part = card_part(record, field);
    for (size_t i = 0; i < part.size; ++i)
        bytes[part.offset + part.size - 1 - i] = static_cast<uint8_t>(value >> (i * 8));
}

void put_text(const HalRecordDesc& record, std::span<uint8_t> bytes, const char* field,
              std::string_view text) {
    const CardPart part = card_part(record, field);
    const auto to = bytes.subspan(part.offset, part.size);
    std::fill(to.begin(), to.end(), 0);
    std::copy_n(text.begin(), std::min<size_t>(text.size(), part.size - 1), to.begin());
}

void fill_readings(const CardMessage& message, const SetReadings& set, std::span<uint8_t> bytes) {
    for (const Reading& reading : readings_of(message.number, get_be32(bytes, 0), set))
        put_number(*message.record, bytes, reading.field.c_str(), reading.value);
}

void fill_image(const HalRecordDesc& record, std::span<uint8_t> bytes, const std::string& region,
                const OnuImages::Image& image) {
    put_text(record, bytes, (region + "Name").c_str(), image.version);
    put_number(record, bytes, (region + "isvalid").c_str(), image.is_valid ? 1 : 0);
    put_number(record, bytes, (region + "isactive").c_str(), image.is_active ? 1 : 0);
    put_number(record, bytes, (region + "iscommit").c_str(), image.is_committed ? 1 : 0);
}

void fill_identity(const CardMessage& message, const Onu& onu, std::span<uint8_t> bytes) {
    const HalRecordDesc& record = *message.record;
    const std::string_view serial(reinterpret_cast<const char*>(onu.serial.data()), onu.serial.size());
    if (message.number == RMONU_INFO) {
        put_text(record, bytes, "vendorId", serial.substr(0, 4));
        put_text(record, bytes, "version", onu.version);
        put_text(record, bytes, "sn", serial);
        put_text(record, bytes, "loid", onu.loid);
        put_text(record, bytes, "loidPw", onu.loid_password);
        put_text(record, bytes, "eqptId", onu.model);
        put_number(record, bytes, "onuType", onu.is_hgu ? 1 : 0);
    }
    if (message.number == RMONU_IMG_INFO) {
        put_text(record, bytes, "product_code", onu.model);
        fill_image(record, bytes, "region1_", onu.images.image(0, onu.version));
        fill_image(record, bytes, "region2_", onu.images.image(1, onu.version));
    }
}

// Of each card the Ethernet ports, up to the fourth.
void fill_ports(const HalRecordDesc& record, const UniPorts& ports, std::span<uint8_t> bytes) {
    put_number(record, bytes, "cardNum", ports.cards);
    put_number(record, bytes, "ethuniNum", int64_t{ports.cards} * ports.eth);
    put_number(record, bytes, "veipNum", 1);
    put_number(record, bytes, "videoNum", ports.video);
    constexpr const char* BY_CARD[] = {"card1ethuniNum", "card2ethuniNum", "card3ethuniNum",
                                       "card4ethuniNum"};
    for (uint32_t card = 0; card < ports.cards && card < std::size(BY_CARD); ++card)
        put_number(record, bytes, BY_CARD[card], ports.eth);
}

// The daemon's words: 0 init, 1 added, 2 authenticated, 3 operational.
int state_number(const Onu* onu) {
    if (!onu)
        return 1;
    return onu->state == OnuState::OPERATIONAL ? 3 : 2;
}

} // namespace

void CardValues::restart() {
    modules_.clear();
}

// A read with read_clean set clears what it reads.
void CardValues::fill_counters(uint16_t number, std::span<uint8_t> record) {
    const uint32_t index = get_be32(record, 0);
    flows_.settle();
    flows_.counts().read(number, index, record);
    if (get_be32(record, 4) != 0)
        flows_.counts().clear(number, index);
}

// Counters of a network port, and perhaps its present rates.
void CardValues::fill_port_counters(uint16_t number, std::span<uint8_t> record) {
    const uint32_t index = get_be32(record, 0);
    flows_.settle();
    flows_.counts().read(PORT_STAT, index, record.first(std::min(record.size(), RX_RATE_AT)));
    if (number != PORT_RATE_STAT)
        return;
    const auto [up, down] = flows_.rates(index);
    put_be64(record, RX_RATE_AT, down);
    put_be64(record, TX_RATE_AT, up);
}

// The ONU's own UNIs: how many, links, and what they count.
void CardValues::fill_unis(const CardRequest& request, const Onu& onu, std::span<uint8_t> record) const {
    const CardMessage& message = *request.message;
    if (message.number == RMONU_CAPA)
        fill_ports(*message.record, ports_of(onu, objects_).value_or(UniPorts()), record);
    if (message.number == RM_UNI)
        put_number(*message.record, record, "linkstauts",
                   uni_is_up(onu, objects_, *uni_of(message, record)) ? 1 : 0);
    const bool is_counter = message.number == RM_UNI_STATS || message.number == RM_UNI_STATS_US ||
                            message.number == RM_UNI_STATS_DS;
    const auto way = message.number == RM_UNI_STATS_DS ? UniWay::DOWN : UniWay::UP;
    const bool running = message.number != RM_UNI_STATS && request.action == card_action::GET_CURRENT;
    for (size_t at = 0; is_counter && at < record.size(); at += message.record->size) {
        const auto one = record.subspan(at, message.record->size);
        put_uni_counts(uni_counts(onu, *uni_of(message, one), way, running), one);
    }
}

uint32_t CardValues::fill(const CardRequest& request, std::span<uint8_t> record) {
    const CardMessage& message = *request.message;
    if (!message.record) {
        if (message.number == PORT_STAT || message.number == PORT_RATE_STAT)
            fill_port_counters(message.number, record);
        return 0;
    }
    const Onu* onu = message.kind == index_kind::ONU ? onus_.at_index(get_be32(record, 0)) : nullptr;
    if (asks_onu(message) && (!onu || onu->state != OnuState::OPERATIONAL))
        return CARD_DRIVER_ERROR;
    if (is_one_of(COUNTER_MESSAGES, message.number))
        fill_counters(message.number, record);
    const bool measured = message.kind != index_kind::ONU || onu;
    if (measured)
        fill_readings(message, onu ? onu->readings : modules_[get_be32(record, 0)], record);
    if (onu)
        fill_identity(message, *onu, record);
    if (message.number == ONU) {
        put_number(*message.record, record, "status", state_number(onu));
        put_number(*message.record, record, "phyDistance", onu ? onu->distance : 0);
    }
    if (onu) {
        fill_unis(request, *onu, record);
        fill_home(message.number, *onu, objects_, record);
    }
    return 0;
}
