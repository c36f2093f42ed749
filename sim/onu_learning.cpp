// ONUs that the card wasn't told of: reported as unconfigured, or on a port that learns to be learnt under a
// free number, and again after a while when nobody has provisioned them.
#include "onu.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "card_frame.h"
#include "told.h"

namespace {

constexpr uint16_t PORT = 901;
constexpr uint16_t ONU = 903;
constexpr uint16_t UNCFG_ONU = 922;
constexpr uint16_t AUTO_LEARN_ONU = 938;
constexpr uint32_t ONUS_PER_PON = 128;
constexpr size_t VENDOR_CODE = 4;

template <size_t Size>
void put_text(char (&field)[Size], std::string_view text) {
    std::memcpy(field, text.data(), std::min(text.size(), Size - 1));
}

template <typename Record>
std::span<const uint8_t> bytes_of(const Record& record) {
    return {reinterpret_cast<const uint8_t*>(&record), sizeof record};
}

} // namespace

void Onus::unknown(Onu& onu) {
    const uint32_t index = learns(onu.pon) ? free_index(onu.pon) : 0;
    if (index) {
        onu.state = OnuState::LEARNING;
        promised_[index] = Key(onu.pon, onu.serial);
        report_learnt(onu, index);
        after(onu, learn_again_delay_);
        return;
    }
    onu.state = OnuState::UNCONFIGURED;
    onu.temp_id = next_temp_id_++;
    onu.is_listed = false;
    list_unconfigured(onu);
}

void Onus::list_unconfigured(Onu& onu) {
    if (report_unconfigured(onu, card_action::CREATE))
        onu.is_listed = true;
}

// What nobody has heard isn't taken back.
void Onus::leave_unconfigured(Onu& onu) {
    if (onu.state == OnuState::UNCONFIGURED && onu.is_listed)
        report_unconfigured(onu, card_action::DELETE);
    onu.is_listed = false;
    std::erase_if(promised_, [&](const auto& entry) { return entry.second == Key(onu.pon, onu.serial); });
}

void Onus::wait_anew(Onu& onu) {
    leave_unconfigured(onu);
    unknown(onu);
}

void Onus::set_learning(uint32_t pon) {
    const OnuState other = learns(pon) ? OnuState::UNCONFIGURED : OnuState::LEARNING;
    const auto [first, last] = on_port(pon);
    for (auto it = first; it != last; ++it)
        if (it->second.state == other)
            wait_anew(it->second);
}

// 0 when the port is full.
uint32_t Onus::free_index(uint32_t pon) const {
    for (uint32_t number = 1; number <= ONUS_PER_PON; ++number) {
        const uint32_t index = onu_of(pon) | (number - 1) << 7;
        if (!objects_.find(ONU, index) && !promised_.contains(index))
            return index;
    }
    return 0;
}

bool Onus::learns(uint32_t pon) const {
    const auto* port = objects_.find(PORT, pon);
    return port && record_of<ov_gpon_port_attr_t>(*port).autolearn == 1 && !told_later_.contains(pon);
}

void Onus::replay_ended() {
    for (const uint32_t pon : std::exchange(told_later_, {}))
        set_learning(pon);
}

// ---- events ----------------------------------------------------------------------------------------------

bool Onus::report_unconfigured(const Onu& onu, uint32_t action) const {
    ov_gpon_uncfg_onu_attr_t record{};
    record.ponIfindex = onu.pon;
    record.index = onu.temp_id;
    std::memcpy(record.sn, onu.serial.data(), onu.serial.size());
    put_text(record.pw, onu.password);
    put_text(record.loid, onu.loid);
    put_text(record.loidPw, onu.loid_password);
    put_text(record.eqptId, onu.model);
    return report_(UNCFG_ONU, action, bytes_of(record));
}

void Onus::report_learnt(const Onu& onu, uint32_t index) const {
    const std::string of_serial(onu.serial.begin(), onu.serial.begin() + VENDOR_CODE);
    ov_gpon_autolearn_onu_attr_t record{};
    record.onuIfindex = index;
    std::memcpy(record.sn, onu.serial.data(), onu.serial.size());
    record.onuType = onu.is_hgu ? 1 : 0;
    put_text(record.vendorId, onu.vendor.empty() ? of_serial : onu.vendor);
    put_text(record.eqptId, onu.model);
    report_(AUTO_LEARN_ONU, card_action::CREATE, bytes_of(record));
}

void Onus::report_waiting(Onu& onu) {
    if (onu.state == OnuState::UNCONFIGURED)
        list_unconfigured(onu);
    if (onu.state != OnuState::LEARNING)
        return;
    for (const auto& [index, key] : promised_)
        if (key == Key(onu.pon, onu.serial))
            report_learnt(onu, index);
}
