#include "pm_counts.h"

#include <algorithm>
#include <cstddef>

#include "card_frame.h"
#include "card_objects.h"
#include "ov_hal_gpon_records.h"

namespace {

constexpr size_t RECORD_HEAD = 8;
constexpr uint64_t CODEWORD_DATA = 239; // bytes, of RS(255, 239)

#define PLACE(record, field) static_cast<int>(offsetof(record, field) / sizeof(uint64_t))
#define ONU_PLACE(field) PLACE(pkt_sta_data_onu, field)
#define PON_PLACE(field) PLACE(pkt_sta_data_port, field)
#define NNI_PLACE(field) PLACE(pkt_sta_data_nni, field)

// Counters of a network port come in pairs, received and sent, then by size.
constexpr const char* PORT_NAMES[] = {
    "rx_packets",   "tx_packets",   "rx_bytes",      "tx_bytes",     "rx_errors",    "tx_errors",
    "rx_dropped",   "tx_dropped",   "rx_broadcast",  "tx_broadcast", "rx_multicast", "tx_multicast",
    "rx_pause",     "tx_pause",     "rx_fcs_errors", "rx_jabber",    "tx_sqe_test",  "tx_late",
    "rx_64",        "rx_65_127",    "rx_128_255",    "rx_256_511",   "rx_512_1023",  "rx_1024_1518",
    "rx_1519_2047", "rx_2048_4095", "rx_4096_9216",  "tx_64",        "tx_65_127",    "tx_128_255",
    "tx_256_511",   "tx_512_1023",  "tx_1024_1518",  "tx_1519_2047", "tx_2048_4095", "tx_4096_9216"};
constexpr size_t PORT_PACKETS = 0;
constexpr size_t PORT_BYTES = 2;
constexpr int PORT_ERRORS = 4;
constexpr int PORT_DROPPED = 6;
constexpr size_t PORT_BROADCAST = 8;
constexpr size_t PORT_MULTICAST = 10;
constexpr int PORT_FCS_ERRORS = 14;
constexpr size_t PORT_SIZES[] = {18, 27}; // received, sent
constexpr size_t PORT_SIZE_CLASSES = 9;

constexpr PmError ERRORS[] = {
    {"bip8", ONU_PLACE(bip8_errors), PON_PLACE(bip8_errors), -1, -1},
    {"fec-bytes", ONU_PLACE(fec_bytes_corrected), -1, -1, -1},
    {"fec-corrected", ONU_PLACE(fec_codewords_corrected), -1, -1, -1},
    {"fec-uncorrected", ONU_PLACE(fec_codewords_uncorrected), PON_PLACE(fec_codewords_uncorrected), -1, -1},
    {"ploam", ONU_PLACE(rx_ploams_crc_error), PON_PLACE(rx_ploams_error), -1, -1},
    {"omci-crc", ONU_PLACE(rx_omci_packets_crc_error), -1, -1, -1},
    {"drift", ONU_PLACE(positive_drift), -1, -1, -1},
    {"negative-drift", ONU_PLACE(negative_drift), -1, -1, -1},
    {"burst", ONU_PLACE(unreceived_burst), PON_PLACE(rx_allocations_invalid), -1, -1},
    {"lcdg", ONU_PLACE(lcdg_errors), -1, -1, -1},
    {"rdi", ONU_PLACE(rdi_errors), -1, -1, -1},
    {"gem-dropped", -1, PON_PLACE(rx_gem_dropped), -1, -1},
    {"gem-corrected", -1, PON_PLACE(rx_gem_corrected), -1, -1},
    {"gem-illegal", -1, PON_PLACE(rx_gem_illegal), -1, -1},
    {"key", -1, PON_PLACE(rx_key_errors), -1, -1},
    {"crc", -1, PON_PLACE(rx_crc_errors), NNI_PLACE(rx_fcs_errors), PORT_FCS_ERRORS},
    {"rx", -1, -1, -1, PORT_ERRORS},
    {"tx", -1, -1, -1, PORT_ERRORS + 1},
    {"dropped", -1, PON_PLACE(rx_packets_dropped), -1, PORT_DROPPED},
};

// What the network side counts in one way, from the first of its fields on: by size, then these.
constexpr size_t NNI_WAYS[] = {NNI_PLACE(rx_frames_64), NNI_PLACE(tx_frames_64)};
constexpr size_t NNI_FRAMES = NNI_PLACE(rx_frames);
constexpr size_t NNI_BYTES = NNI_PLACE(rx_bytes);
constexpr size_t NNI_GOOD = NNI_PLACE(rx_good_frames);
constexpr size_t NNI_UNICAST = NNI_PLACE(rx_unicast_frames);
constexpr size_t NNI_MULTICAST = NNI_PLACE(rx_multicast_frames);
constexpr size_t NNI_BROADCAST = NNI_PLACE(rx_broadcast_frames);
constexpr size_t NNI_TX = NNI_PLACE(tx_frames_64);
static_assert(NNI_PLACE(tx_frames) == NNI_TX + NNI_FRAMES && NNI_PLACE(tx_bytes) == NNI_TX + NNI_BYTES &&
              NNI_PLACE(tx_good_frames) == NNI_TX + NNI_GOOD &&
              NNI_PLACE(tx_unicast_frames) == NNI_TX + NNI_UNICAST &&
              NNI_PLACE(tx_multicast_frames) == NNI_TX + NNI_MULTICAST &&
              NNI_PLACE(tx_broadcast_frames) == NNI_TX + NNI_BROADCAST);

// The place of a size in the counters by size.
size_t size_class(uint32_t size) {
    constexpr uint32_t MOST[] = {64, 127, 255, 511, 1023, 1518, 2047, 4095, 9216};
    return static_cast<size_t>(std::lower_bound(std::begin(MOST), std::end(MOST), size) - std::begin(MOST));
}

size_t nni_kind(PmTraffic::Kind kind) {
    switch (kind) {
    case PmTraffic::Kind::BROADCAST:
        return NNI_BROADCAST;
    case PmTraffic::Kind::MULTICAST:
        return NNI_MULTICAST;
    default:
        return NNI_UNICAST;
    }
}

void count_nni(uint64_t* way, uint64_t frames, const PmTraffic& traffic) {
    way[size_class(traffic.size)] += frames;
    way[NNI_FRAMES] += frames;
    way[NNI_BYTES] += frames * traffic.size;
    way[NNI_GOOD] += frames;
    way[nni_kind(traffic.kind)] += frames;
}

// The way is 0 for what a network port receives, 1 for what it sends.
void count_port(PmCounts::Values& port, size_t way, uint64_t frames, const PmTraffic& traffic) {
    port[PORT_PACKETS + way] += frames;
    port[PORT_BYTES + way] += frames * traffic.size;
    if (traffic.kind == PmTraffic::Kind::BROADCAST)
        port[PORT_BROADCAST + way] += frames;
    if (traffic.kind == PmTraffic::Kind::MULTICAST)
        port[PORT_MULTICAST + way] += frames;
    if (size_class(traffic.size) < PORT_SIZE_CLASSES)
        port[PORT_SIZES[way] + size_class(traffic.size)] += frames;
}

} // namespace

std::span<const PmError> pm_errors() {
    return ERRORS;
}

const PmError* find_pm_error(std::string_view name) {
    const auto it = std::ranges::find(ERRORS, name, &PmError::name);
    return it == std::end(ERRORS) ? nullptr : it;
}

size_t pm_counter_count(uint16_t number) {
    return number == pm_message::PORT_STAT
               ? std::size(PORT_NAMES)
               : (find_card_message(number)->size - RECORD_HEAD) / sizeof(uint64_t);
}

std::string_view pm_counter_name(uint16_t number, size_t place) {
    if (number == pm_message::PORT_STAT)
        return PORT_NAMES[place];
    const HalFieldDesc& data = find_card_message(number)->record->fields[1];
    return data.sub->fields[place].name;
}

// ---- counting ---------------------------------------------------------------------------------------------

PmCounts::Values& PmCounts::of(uint16_t number, uint32_t index) {
    Values& values = table_[{number, index}];
    values.resize(pm_counter_count(number));
    return values;
}

void PmCounts::pass(uint32_t index, const PmTraffic& traffic) {
    switch (kind_of(index)) {
    case index_kind::GEM:
        pass_gem(index, traffic);
        break;
    case index_kind::ONU:
        pass_onu(index, traffic);
        break;
    case index_kind::PON:
        pass_pon(index, traffic);
        break;
    default:
        pass_port(index, traffic);
    }
}

void PmCounts::pass_gem(uint32_t index, const PmTraffic& traffic) {
    Values& gem = of(pm_message::GEM, index);
    gem[PLACE(pkt_sta_data_gem, rx_packets)] += traffic.up;
    gem[PLACE(pkt_sta_data_gem, rx_bytes)] += traffic.up * traffic.size;
    gem[PLACE(pkt_sta_data_gem, tx_packets)] += traffic.down;
    gem[PLACE(pkt_sta_data_gem, tx_bytes)] += traffic.down * traffic.size;
    pass_onu(onu_of(index), traffic);
}

void PmCounts::pass_onu(uint32_t index, const PmTraffic& traffic) {
    Values& onu = of(pm_message::ONU, index);
    const uint64_t received = traffic.up * traffic.size;
    onu[ONU_PLACE(rx_packets)] += traffic.up;
    onu[ONU_PLACE(rx_bytes)] += received;
    onu[ONU_PLACE(tx_packets)] += traffic.down;
    onu[ONU_PLACE(tx_bytes)] += traffic.down * traffic.size;
    onu[ONU_PLACE(bip8_bytes)] += received;
    onu[ONU_PLACE(fec_codewords)] += (received + CODEWORD_DATA - 1) / CODEWORD_DATA;
    pass_pon(pon_of(index), traffic);
}

void PmCounts::pass_pon(uint32_t index, const PmTraffic& traffic) {
    Values& pon = of(pm_message::PON, index);
    const uint64_t received = traffic.up * traffic.size;
    pon[PON_PLACE(bip8_bytes)] += received;
    pon[PON_PLACE(fec_codewords)] += (received + CODEWORD_DATA - 1) / CODEWORD_DATA;
    pon[PON_PLACE(rx_allocations_valid)] += traffic.up;
    pon[PON_PLACE(tx_gem)] += traffic.down;
    pass_nni(index, traffic);
}

void PmCounts::pass_nni(uint32_t index, const PmTraffic& traffic) {
    Values& nni = of(pm_message::NNI, index);
    count_nni(nni.data() + NNI_WAYS[0], traffic.down, traffic);
    count_nni(nni.data() + NNI_WAYS[1], traffic.up, traffic);
}

void PmCounts::pass_port(uint32_t index, const PmTraffic& traffic) {
    Values& port = of(pm_message::PORT_STAT, index);
    count_port(port, 0, traffic.down, traffic);
    count_port(port, 1, traffic.up, traffic);
    pass_nni(index, traffic);
}

bool PmCounts::fail(uint32_t index, const PmError& error, uint64_t count) {
    const auto add = [&](uint16_t number, uint32_t where, int place) {
        if (place >= 0)
            of(number, where)[static_cast<size_t>(place)] += count;
    };
    const uint32_t kind = kind_of(index);
    const int place = kind == index_kind::ONU ? error.onu : kind == index_kind::PON ? error.pon : error.port;
    if (place < 0 || kind == index_kind::GEM)
        return false;
    if (kind == index_kind::ONU)
        add(pm_message::ONU, index, error.onu);
    if (kind == index_kind::ONU || kind == index_kind::PON)
        add(pm_message::PON, pon_of(index), error.pon);
    else {
        add(pm_message::PORT_STAT, index, error.port);
        add(pm_message::NNI, index, error.nni);
    }
    return true;
}

// ---- reading ----------------------------------------------------------------------------------------------

void PmCounts::read(uint16_t number, uint32_t index, std::span<uint8_t> record) const {
    const auto it = table_.find({number, index});
    const size_t count = it == table_.end() ? 0 : it->second.size();
    for (size_t i = 0; RECORD_HEAD + (i + 1) * sizeof(uint64_t) <= record.size(); ++i)
        put_be64(record, RECORD_HEAD + i * sizeof(uint64_t), i < count ? it->second[i] : 0);
}

void PmCounts::forget_onu(uint32_t index) {
    clear(pm_message::ONU, index);
    std::erase_if(table_, [index](const auto& entry) {
        return entry.first.first == pm_message::GEM && onu_of(entry.first.second) == index;
    });
}
