// What an outbox has to hold, added up.
#include "hal_outbox.h"

#include <array>

namespace {

// The replay of a full card of the largest shelf: 16 ports of 128 ONUs, each with four T-CONTs, eight GEM
// ports, four service ports and seven UNIs, every row with a set behind its create where the replay knows
// one.
struct Replayed {
    size_t record; // bytes
    size_t messages;
};
constexpr size_t ONUS = size_t{16} * 128;
constexpr std::array REPLAY = {
    Replayed{124, size_t{2} * 16}, // 901 ports
    Replayed{316, 2 * ONUS},       // 903 ONUs
    Replayed{144, 4 * ONUS},       // 908 T-CONTs
    Replayed{168, 2 * 8 * ONUS},   // 909 GEM ports
    Replayed{52, 2 * 4 * ONUS},    // 910 service ports
    Replayed{80, 7 * ONUS},        // 915 UNIs
    Replayed{64, 2 * ONUS},        // 942 IP hosts
    Replayed{200, ONUS},           // 943 TR-069
    Replayed{16, 8 * ONUS},        // 944 queues
    Replayed{40, 8 * ONUS},        // 913 services behind the ONU
    Replayed{128, 7 * ONUS},       // 916 VLANs of UNIs
    Replayed{52, 7 * ONUS},        // 917 multicast of UNIs
    Replayed{116, 2 * ONUS},       // 955 WAN
    Replayed{252, 4 * ONUS},       // 956 Wi-Fi
    Replayed{176, ONUS},           // 946 VoIP
    Replayed{408, ONUS},           // 947 SIP agents
    Replayed{248, 2 * ONUS},       // 948 SIP users
    Replayed{20, 3 * 8 * ONUS},    // 934 MAC filters
    Replayed{56, 7 * ONUS},        // 962 PoE of UNIs
    Replayed{40, ONUS},            // 963 PoE of ONUs
    Replayed{32, ONUS},            // 921 QoS of ONUs
    Replayed{248, 1024},           // profiles, templates, QoS of ports: few, none longer
};
constexpr size_t replay_bytes() {
    constexpr size_t HEADS = sizeof(PKTMSG_HDR_T) + 40;
    size_t sum = 0;
    for (const Replayed& part : REPLAY)
        sum += part.messages * (part.record + HEADS + HAL_OUTBOX_ENTRY);
    return sum;
}
static_assert(replay_bytes() > (size_t{50} << 20) && replay_bytes() <= HAL_OUTBOX_MAX);

} // namespace
