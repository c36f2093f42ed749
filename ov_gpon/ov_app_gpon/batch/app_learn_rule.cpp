#include "app_learn_rule.h"

#include <array>
#include <cstring>
#include <optional>
#include <string>

#include "app_text.h"

namespace {

using Port = ov_sPonTable_attr_t;
using Report = ov_gpon_autolearn_onu_attr_t;

constexpr size_t SLOTS = 4;
constexpr size_t MODEL_BYTES = 20; // of a model's name, and the most that is compared
constexpr size_t VENDOR_BYTES = 4;
static_assert(sizeof Port::sPonTableModelSrvProfileName == SLOTS * MODEL_BYTES &&
              sizeof Port::sPonTableVendorSrvProfileName == SLOTS * VENDOR_BYTES);

// The first slot whose name is `name`. A name ends where the next slot's begins only when it is as long as
// `bytes`, the most that is compared.
template <size_t Bytes>
std::optional<size_t> slot_named(const unsigned char (&names)[Bytes], std::string_view name, size_t bytes) {
    std::array<char, Bytes + 1> text{};
    std::memcpy(text.data(), names, Bytes);
    const std::string wanted(name);
    for (size_t slot = 0; slot < SLOTS; ++slot) {
        const char* const begin = text.data() + slot * (Bytes / SLOTS);
        if (*begin != '\0' && strncmp(wanted.c_str(), begin, bytes) == 0)
            return slot;
    }
    return std::nullopt;
}

LearnChoice choice_of_slot(LearnRule rule, size_t slot, const unsigned char (&profiles)[SLOTS]) {
    return {.rule = rule, .slot = static_cast<int>(slot) + 1, .profile = profiles[slot]};
}

LearnChoice choice_of(LearnRule rule, mib_long profile) {
    return {.rule = rule, .profile = static_cast<mib_ulong>(profile)};
}

} // namespace

LearnChoice choose_learn_profile(const Port& port, const Report& report) {
    if (const auto slot = slot_named(port.sPonTableModelSrvProfileName, text_in(report.eqptId), MODEL_BYTES))
        return choice_of_slot(LearnRule::MODEL, *slot, port.sPonTableModelSrvProfile);
    if (const auto slot =
            slot_named(port.sPonTableVendorSrvProfileName, text_in(report.vendorId), MODEL_BYTES))
        return choice_of_slot(LearnRule::VENDOR, *slot, port.sPonTableVendorSrvProfile);
    if (port.sPonTableSfuSrvProfile != 0 && report.onuType == 0)
        return choice_of(LearnRule::SFU, port.sPonTableSfuSrvProfile);
    if (port.sPonTableHguSrvProfile != 0 && report.onuType != 0)
        return choice_of(LearnRule::HGU, port.sPonTableHguSrvProfile);
    if (port.sPonTableSrvProfileID != 0)
        return choice_of(LearnRule::DEFAULT, port.sPonTableSrvProfileID);
    return {};
}
