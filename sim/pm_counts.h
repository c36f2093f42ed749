// What a line card counts for performance monitoring: frames and errors of PON ports, ONUs, GEM ports, the
// network side and network ports. The counters stand as in the records with which they are read.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string_view>
#include <vector>

// The messages with which counters are read, and so what they are kept under.
namespace pm_message {
inline constexpr uint16_t PORT_STAT = 97;
inline constexpr uint16_t PON = 924;
inline constexpr uint16_t ONU = 925;
inline constexpr uint16_t GEM = 926;
inline constexpr uint16_t NNI = 937;
} // namespace pm_message

// Frames of one size and kind. Up is towards the network: a network port sends it and receives what is down.
struct PmTraffic {
    enum class Kind { UNICAST, BROADCAST, MULTICAST };
    uint64_t up = 0;     // frames
    uint64_t down = 0;   // frames
    uint32_t size = 512; // bytes
    Kind kind = Kind::UNICAST;
};

// An error, and where it counts: the places in the records of the ONU, the PON port, the network side and a
// network port; -1: not there.
struct PmError {
    const char* name;
    int onu;
    int pon;
    int nni;
    int port;
};
std::span<const PmError> pm_errors();
const PmError* find_pm_error(std::string_view name);

class PmCounts {
public:
    // By place: the 64-bit numbers behind the 8 bytes that say whose they are.
    using Values = std::vector<uint64_t>;
    // By message and index.
    using Table = std::map<std::pair<uint16_t, uint32_t>, Values>;

    // Counts frames at the object with this index: what passes a GEM port at its ONU too, what passes an ONU
    // at its PON port, and there at the network side.
    void pass(uint32_t index, const PmTraffic& traffic);
    // Counts errors at an ONU and its PON port, at a PON port or at a network port. False when that error is
    // none of the object's.
    bool fail(uint32_t index, const PmError& error, uint64_t count);

    // Puts them into a record behind its head. Zeros where nothing was counted.
    void read(uint16_t number, uint32_t index, std::span<uint8_t> record) const;
    void clear(uint16_t number, uint32_t index) { table_.erase({number, index}); }
    // An object that goes takes its counters along, an ONU those of its GEM ports.
    void forget_onu(uint32_t index);
    void forget_gem(uint32_t index) { clear(pm_message::GEM, index); }
    void clear() { table_.clear(); }

    // What has counted.
    const Table& table() const { return table_; }

private:
    Values& of(uint16_t number, uint32_t index);
    void pass_gem(uint32_t index, const PmTraffic& traffic);
    void pass_onu(uint32_t index, const PmTraffic& traffic);
    void pass_pon(uint32_t index, const PmTraffic& traffic);
    void pass_nni(uint32_t index, const PmTraffic& traffic);
    void pass_port(uint32_t index, const PmTraffic& traffic);

    Table table_;
};

// How many counters a message has, and the name of each ("rx_packets").
size_t pm_counter_count(uint16_t number);
std::string_view pm_counter_name(uint16_t number, size_t place);
