#include "onu_crowd.h"

#include <array>
#include <map>

#include "card_frame.h"
#include "card_json.h"
#include "port_name.h"

namespace {

constexpr uint32_t ONUS_OF_PORT = 128;
constexpr uint32_t PORTS_OF_CARD = 16;
constexpr uint32_t PORT_STEP = 1u << 15; // from the index of one port to that of the next

struct Model {
    const char* name;
    const char* vendor;
    bool is_hgu;
};
constexpr std::array MODELS = {
    Model{"HOME-4", "SIMA", false}, Model{"HOME-4W", "SIMA", true},   Model{"HOME-1", "SIMB", false},
    Model{"GATE-2", "SIMB", true},  Model{"OFFICE-8", "SIMC", false}, Model{"OFFICE-24", "SIMC", false},
    Model{"GATE-5G", "SIMD", true}, Model{"MAST-1", "SIMD", false},
};

struct Crowd {
    OnuSerial first;
    uint32_t pon;
    uint32_t ports;
    uint32_t count; // on each port
    bool power;
};

Answer plug_crowd(Chassis& chassis, const Crowd& crowd) {
    for (uint32_t n = 0; n < crowd.ports * crowd.count; ++n) {
        const Model& model = MODELS.at(n % MODELS.size());
        Onu onu;
        onu.serial = next_onu_serial(crowd.first, n);
        onu.pon = crowd.pon + n / crowd.count * PORT_STEP;
        onu.model = model.name;
        onu.vendor = model.vendor;
        onu.is_hgu = model.is_hgu;
        onu.distance = 500 + n * 7 % 19'000;
        if (Answer answer = plug_onu(chassis, onu, crowd.power); !answer.error.empty())
            return answer;
    }
    return {};
}

} // namespace

Action parse_crowd(Chassis& chassis, Arguments& args) {
    Crowd crowd = {};
    crowd.first = serial_argument(args);
    crowd.pon = pon_option(args);
    crowd.ports = args.number_option("ports", PORTS_OF_CARD).value_or(1);
    crowd.count = args.number_option("count", ONUS_OF_PORT).value_or(ONUS_OF_PORT);
    crowd.power = power_option(args);
    if (args.error().empty() && (crowd.pon / PORT_STEP) % PORTS_OF_CARD + crowd.ports > PORTS_OF_CARD)
        args.mistake(format("a card has %u ports", PORTS_OF_CARD));
    return immediate([&chassis, crowd] { return plug_crowd(chassis, crowd); });
}

Action parse_states(Chassis& chassis) {
    return immediate([&chassis] {
        std::map<OnuState, size_t> counts;
        for (const auto& [slot, card] : chassis.cards.all())
            for (const Onu* onu : card->onus().all())
                ++counts[onu->state];
        Answer answer;
        std::string line;
        for (const auto& [state, count] : counts)
            line += (line.empty() ? "" : " ") + format("%s=%zu", onu_state_name(state), count);
        answer.lines.push_back(line.empty() ? "none" : line);
        return answer;
    });
}
