// The UNIs of a simulated ONU: which there are, whether they have a link, and what they count.
//
// What an operator sets at a UNI reaches the ONU by way of its card, which keeps it (message 915); an ONU
// that is up has the card's settings. Performance is counted where it is switched on, in intervals: a read of
// the last finished one (message 918) ends the one that runs, as the quarter of an hour does it in a real
// ONU.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "card_objects.h"
#include "ov_hal_gpon_records.h"

struct Onu;

// "eth_1/2", "pots_1/1", "video_1/1", "veip": card and port count from 1.
struct UniPosition {
    uint16_t card = 1;
    int32_t type = OV_GPON_RMUNI_TYPE_ETH;
    uint16_t port = 1;
    auto operator<=>(const UniPosition&) const = default;
};
std::optional<UniPosition> parse_uni(std::string_view text);
std::string uni_text(const UniPosition& uni);

// How many ports an ONU has: Ethernet and telephone on each card.
struct UniPorts {
    uint32_t cards = 1;
    uint32_t eth = 0;
    uint32_t pots = 0;
    uint32_t video = 0;
};

// What a UNI counts in one direction.
struct UniCounts {
    uint64_t bytes = 0;
    uint64_t packets = 0;
    uint64_t broadcast = 0;
    uint64_t multicast = 0;
    uint64_t errors = 0;
    uint64_t sizes[8] = {}; // below 64, 64, up to 127, 255, 511, 1023, 1518, and above

    void add(const UniCounts& more);
};

// Frames of one kind, one size and one direction.
struct UniTraffic {
    enum class Kind { UNICAST, BROADCAST, MULTICAST };
    uint32_t packets = 0;
    uint32_t size = 512; // bytes
    Kind kind = Kind::UNICAST;
    uint32_t errors = 0; // of these frames are damaged
};
UniCounts counts_of(const UniTraffic& traffic);

enum class UniWay { UP, DOWN };

struct Uni {
    bool has_link = true;
    bool has_loop = false;
    // By way: all frames since the ONU was switched on; those of the interval that runs; of the last one.
    UniCounts total[2];
    UniCounts running[2];
    UniCounts finished[2];

    // What counts begins at 0 again.
    void clear_counts() {
        for (UniCounts* counts : {total, running, finished})
            counts[0] = counts[1] = {};
    }
};

// ---- the UNIs of an ONU -----------------------------------------------------------------------------------

// Its ports: those that it was plugged in with, else those of the ONU type that its card was told. Nothing
// for an ONU of a type that the card doesn't know.
std::optional<UniPorts> ports_of(const Onu& onu, const CardObjects& objects);
// All of them; an ONU with video ports has as many video cards.
std::vector<UniPosition> unis_of(const UniPorts& ports);
// Whether the ONU has it; of one whose ports aren't known, any.
bool has_uni(const Onu& onu, const CardObjects& objects, const UniPosition& uni);

// A UNI as it is made, in a record with nothing but its keys.
void put_uni_factory_settings(std::span<uint8_t> record);
// As it is set.
ov_gpon_rmuni_attr_t uni_settings(const Onu& onu, const CardObjects& objects, const UniPosition& uni);
// Whether frames pass: the ONU is up, the UNI is switched on, has a link, and no loop that it looks for.
bool uni_is_up(const Onu& onu, const CardObjects& objects, const UniPosition& uni);

// Lets frames pass. False when the UNI isn't up.
bool pass_traffic(Onu& onu, const CardObjects& objects, const UniPosition& uni, UniWay way,
                  const UniTraffic& traffic);
// What counts at the UNI in a way, of the interval that runs or of the last one.
UniCounts uni_counts(const Onu& onu, const UniPosition& uni, UniWay way, bool running);
void end_interval(Onu& onu, const UniPosition& uni);
// Puts them into a record of message 918, 960 or 961.
void put_uni_counts(const UniCounts& counts, std::span<uint8_t> record);
