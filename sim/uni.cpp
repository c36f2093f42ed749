#include "uni.h"

#include <charconv>
#include <cstring>

#include "onu.h"
#include "text.h"

namespace {

constexpr uint16_t ONU = 903;
constexpr uint16_t ONU_TYPE = 906;
constexpr uint16_t RM_UNI = 915;

struct UniKind {
    std::string_view prefix;
    int32_t type;
};
constexpr UniKind KINDS[] = {{"eth_", OV_GPON_RMUNI_TYPE_ETH},
                             {"pots_", OV_GPON_RMUNI_TYPE_POTS},
                             {"video_", OV_GPON_RMUNI_TYPE_VIDEO}};

std::optional<UniPosition> numbered(std::string_view text, int32_t type) {
    UniPosition uni{1, type, 1};
    const char* const end = text.data() + text.size();
    const auto card = std::from_chars(text.data(), end, uni.card);
    if (card.ec != std::errc() || card.ptr == end || *card.ptr != '/')
        return {};
    const auto port = std::from_chars(card.ptr + 1, end, uni.port);
    const bool whole = port.ec == std::errc() && port.ptr == end;
    return whole && uni.card != 0 && uni.port != 0 ? std::optional(uni) : std::nullopt;
}

template <typename Record>
Record read_record(std::span<const uint8_t> bytes) {
    Record record{};
    std::memcpy(static_cast<void*>(&record), bytes.data(), std::min(bytes.size(), sizeof record));
    return record;
}

// The place of a size in the counters.
size_t class_of(uint32_t size) {
    constexpr uint32_t MOST[] = {63, 64, 127, 255, 511, 1023, 1518};
    size_t place = 0;
    while (place < std::size(MOST) && size > MOST[place])
        place++;
    return place;
}

const ov_gpon_onutype_attr_t* type_named(const CardObjects& objects, std::string_view name) {
    for (const auto& [key, bytes] : objects.table(ONU_TYPE)) {
        const auto* type = reinterpret_cast<const ov_gpon_onutype_attr_t*>(bytes.data());
        if (bytes.size() >= sizeof *type &&
            name == std::string_view(type->name, strnlen(type->name, sizeof type->name)))
            return type;
    }
    return nullptr;
}

bool counts_way(const ov_gpon_rmuni_attr_t& settings, UniWay way) {
    return settings.pmEnabled == 1u ||
           (way == UniWay::UP ? settings.usPmEnabled : settings.dsPmEnabled) == 1u;
}

} // namespace

std::optional<UniPosition> parse_uni(std::string_view text) {
    if (text == "veip")
        return UniPosition{1, OV_GPON_RMUNI_TYPE_VEIP, 1};
    for (const UniKind& kind : KINDS)
        if (text.starts_with(kind.prefix))
            return numbered(text.substr(kind.prefix.size()), kind.type);
    return {};
}

std::string uni_text(const UniPosition& uni) {
    for (const UniKind& kind : KINDS)
        if (uni.type == kind.type)
            return format("%s%u/%u", kind.prefix.data(), uni.card, uni.port);
    return uni.type == OV_GPON_RMUNI_TYPE_VEIP ? "veip" : format("%d_%u/%u", uni.type, uni.card, uni.port);
}

// ---- which there are --------------------------------------------------------------------------------------

std::optional<UniPorts> ports_of(const Onu& onu, const CardObjects& objects) {
    if (onu.ports)
        return onu.ports;
    const auto* held = objects.find(ONU, onu.index);
    if (!held)
        return {};
    const auto record = read_record<ov_gpon_onu_attr_t>(*held);
    const auto* type =
        type_named(objects, std::string_view(record.typeProfile,
                                             strnlen(record.typeProfile, sizeof record.typeProfile)));
    if (!type)
        return {};
    return UniPorts{static_cast<uint32_t>(type->cardNum), static_cast<uint32_t>(type->ethNum),
                    static_cast<uint32_t>(type->potsNum), static_cast<uint32_t>(type->videoNum)};
}

std::vector<UniPosition> unis_of(const UniPorts& ports) {
    std::vector<UniPosition> unis;
    const auto add = [&unis](uint32_t cards, uint32_t count, int32_t type) {
        for (uint32_t card = 1; card <= cards; ++card)
            for (uint32_t port = 1; port <= count; ++port)
                unis.push_back({static_cast<uint16_t>(card), type, static_cast<uint16_t>(port)});
    };
    add(ports.cards, ports.eth, OV_GPON_RMUNI_TYPE_ETH);
    add(ports.cards, ports.pots, OV_GPON_RMUNI_TYPE_POTS);
    add(1, 1, OV_GPON_RMUNI_TYPE_VEIP);
    add(ports.video, ports.video, OV_GPON_RMUNI_TYPE_VIDEO);
    return unis;
}

bool has_uni(const Onu& onu, const CardObjects& objects, const UniPosition& uni) {
    const auto ports = ports_of(onu, objects);
    if (!ports)
        return true;
    const auto unis = unis_of(*ports);
    return std::find(unis.begin(), unis.end(), uni) != unis.end();
}

// ---- what they do -----------------------------------------------------------------------------------------

void put_uni_factory_settings(std::span<uint8_t> record) {
    auto settings = read_record<ov_gpon_rmuni_attr_t>(record);
    settings.adminStatus = OV_GPON_ADMIN_ENABLE;
    settings.maxFrameSize = 2000;
    settings.bridgedOrIpInd = 2;
    std::memcpy(record.data(), &settings, std::min(record.size(), sizeof settings));
}

ov_gpon_rmuni_attr_t uni_settings(const Onu& onu, const CardObjects& objects, const UniPosition& uni) {
    ov_gpon_rmuni_attr_t settings{};
    settings.onuIfindex = onu.index;
    settings.uniPos.cardId = uni.card;
    settings.uniPos.uniType = uni.type;
    settings.uniPos.uniId = uni.port;
    const std::span bytes(reinterpret_cast<uint8_t*>(&settings), sizeof settings);
    if (const auto* held = objects.find(*find_card_message(RM_UNI), bytes))
        return read_record<ov_gpon_rmuni_attr_t>(*held);
    put_uni_factory_settings(bytes);
    return settings;
}

bool uni_is_up(const Onu& onu, const CardObjects& objects, const UniPosition& uni) {
    const auto settings = uni_settings(onu, objects, uni);
    const auto it = onu.unis.find(uni);
    const bool has_link = it == onu.unis.end() || it->second.has_link;
    const bool is_blocked = it != onu.unis.end() && it->second.has_loop && settings.loopDetect == 1u;
    return onu.state == OnuState::OPERATIONAL && settings.adminStatus == OV_GPON_ADMIN_ENABLE && has_link &&
           !is_blocked;
}

void UniCounts::add(const UniCounts& more) {
    bytes += more.bytes;
    packets += more.packets;
    broadcast += more.broadcast;
    multicast += more.multicast;
    errors += more.errors;
    for (size_t i = 0; i < std::size(sizes); ++i)
        sizes[i] += more.sizes[i];
}

UniCounts counts_of(const UniTraffic& traffic) {
    UniCounts counts;
    counts.packets = traffic.packets;
    counts.bytes = uint64_t{traffic.packets} * traffic.size;
    counts.broadcast = traffic.kind == UniTraffic::Kind::BROADCAST ? traffic.packets : 0;
    counts.multicast = traffic.kind == UniTraffic::Kind::MULTICAST ? traffic.packets : 0;
    counts.errors = traffic.errors;
    counts.sizes[class_of(traffic.size)] = traffic.packets;
    return counts;
}

bool pass_traffic(Onu& onu, const CardObjects& objects, const UniPosition& uni, UniWay way,
                  const UniTraffic& traffic) {
    if (!uni_is_up(onu, objects, uni))
        return false;
    const UniCounts counts = counts_of(traffic);
    Uni& its = onu.unis[uni];
    its.total[static_cast<size_t>(way)].add(counts);
    if (counts_way(uni_settings(onu, objects, uni), way))
        its.running[static_cast<size_t>(way)].add(counts);
    return true;
}

UniCounts uni_counts(const Onu& onu, const UniPosition& uni, UniWay way, bool running) {
    const auto it = onu.unis.find(uni);
    if (it == onu.unis.end())
        return {};
    return (running ? it->second.running : it->second.finished)[static_cast<size_t>(way)];
}

void end_interval(Onu& onu, const UniPosition& uni) {
    const auto it = onu.unis.find(uni);
    if (it == onu.unis.end())
        return;
    for (const UniWay way : {UniWay::UP, UniWay::DOWN}) {
        const auto place = static_cast<size_t>(way);
        it->second.finished[place] = it->second.running[place];
        it->second.running[place] = {};
    }
}

void put_uni_counts(const UniCounts& counts, std::span<uint8_t> record) {
    auto stats = read_record<ov_gpon_rmuni_stats_attr_t>(record);
    const auto number = [](uint64_t value) { return static_cast<uint32_t>(value); };
    stats.fcsErr = stats.crcErr = number(counts.errors);
    stats.rxByte = number(counts.bytes);
    stats.rxPkt = number(counts.packets);
    stats.bcPkt = number(counts.broadcast);
    stats.mcPkt = number(counts.multicast);
    stats.pktLessThan64 = stats.undersizePkts = number(counts.sizes[0]);
    stats.pkt64 = number(counts.sizes[1]);
    stats.pkt65To127 = number(counts.sizes[2]);
    stats.pkt128To255 = number(counts.sizes[3]);
    stats.pkt256To511 = number(counts.sizes[4]);
    stats.pkt512To1023 = number(counts.sizes[5]);
    stats.pkt1024To1518 = number(counts.sizes[6]);
    stats.pktLargerThan1518 = stats.oversizePkts = stats.frmTooLong = number(counts.sizes[7]);
    std::memcpy(record.data(), &stats, std::min(record.size(), sizeof stats));
}
