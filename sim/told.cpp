#include "told.h"

#include <set>

#include "card_frame.h"

namespace {

constexpr uint32_t TEMPLATE_PORT = 15;
constexpr size_t INDEX_BYTES = 4;

} // namespace

uint32_t template_of(const CardObjects& objects, uint32_t onu_index) {
    const auto* onu = objects.find(OV_HAL_MSG_GPON_ONU, onu_index);
    const uint32_t profile = onu ? get_be32(*onu, offsetof(ov_gpon_onu_attr_t, srvProfileId)) : 0;
    if (profile == 0)
        return 0;
    return index_kind::ONU << 27 | 1u << 26 | TEMPLATE_SLOT << 21 | (TEMPLATE_PORT - 1) << 15 |
           (profile - 1) << 7;
}

std::vector<const CardObjects::Bytes*> told_of(const CardObjects& objects, uint16_t number,
                                               uint32_t onu_index) {
    std::vector<const CardObjects::Bytes*> told;
    std::set<std::string> places; // keys behind the index
    for (const uint32_t index : {onu_index, template_of(objects, onu_index)})
        for (const auto& [key, bytes] : objects.of_index(number, index))
            if (places.insert(key.substr(INDEX_BYTES)).second)
                told.push_back(&bytes);
    return told;
}
