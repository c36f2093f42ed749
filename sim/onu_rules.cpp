#include "onu_rules.h"

#include "text.h"

namespace {

constexpr uint16_t RMONU_INFO = 914;
constexpr uint16_t RM_UNI = 915;
constexpr uint16_t RM_SERVICE = 913;
constexpr uint32_t CARD_NOT_SUPPORTED = 1008;

template <typename... Bits>
constexpr uint32_t mask_of(Bits... bits) {
    return ((1u << bits) | ...);
}

// The attributes of a UNI of each kind, beside its index; and what every one may be told: the bit behind the
// last attribute stands for columns that cards take no notice of.
constexpr uint32_t INDEX_BITS = mask_of(OV_GPON_RMUNI_ATTR_INDEX_onuIfindex, OV_GPON_RMUNI_ATTR_INDEX_uniPos,
                                        OV_GPON_RMUNI_ATTR_INDEX_MAX);
constexpr uint32_t POTS_BITS = mask_of(OV_GPON_RMUNI_ATTR_INDEX_adminStatus);
constexpr uint32_t VIDEO_BITS =
    mask_of(OV_GPON_RMUNI_ATTR_INDEX_adminStatus, OV_GPON_RMUNI_ATTR_INDEX_videoState,
            OV_GPON_RMUNI_ATTR_INDEX_powerControl);
constexpr uint32_t VEIP_BITS =
    mask_of(OV_GPON_RMUNI_ATTR_INDEX_adminStatus, OV_GPON_RMUNI_ATTR_INDEX_pmEnabled,
            OV_GPON_RMUNI_ATTR_INDEX_mcastEnabled, OV_GPON_RMUNI_ATTR_INDEX_macLrnCount,
            OV_GPON_RMUNI_ATTR_INDEX_usPmEnabled, OV_GPON_RMUNI_ATTR_INDEX_dsPmEnabled);
constexpr uint32_t ETH_BITS =
    VEIP_BITS | mask_of(OV_GPON_RMUNI_ATTR_INDEX_loopDetect, OV_GPON_RMUNI_ATTR_INDEX_autoDetection,
                        OV_GPON_RMUNI_ATTR_INDEX_maxFrameSize, OV_GPON_RMUNI_ATTR_INDEX_pppoeFiltetEnabled,
                        OV_GPON_RMUNI_ATTR_INDEX_bridgedOrIpInd, OV_GPON_RMUNI_ATTR_INDEX_powerControl,
                        OV_GPON_RMUNI_ATTR_INDEX_dot1xEnabled, OV_GPON_RMUNI_ATTR_INDEX_dot1xActRegister);

uint32_t attributes_of(const UniPosition& uni) {
    switch (uni.type) {
    case OV_GPON_RMUNI_TYPE_POTS:
        return INDEX_BITS | POTS_BITS;
    case OV_GPON_RMUNI_TYPE_VIDEO:
        return INDEX_BITS | VIDEO_BITS;
    case OV_GPON_RMUNI_TYPE_VEIP:
        return INDEX_BITS | VEIP_BITS;
    default:
        return INDEX_BITS | ETH_BITS;
    }
}

std::optional<CardRefusal> check_uni(const CardRequest& request, const CardObjects& objects, const Onu& onu,
                                     const UniPosition& uni) {
    const std::string what = "uni=" + uni_text(uni);
    if (request.action != card_action::DELETE && !has_uni(onu, objects, uni))
        return CardRefusal{"no-such-uni", CARD_NOT_FOUND, what};
    const bool is_set = request.message->number == RM_UNI && request.action == card_action::SET;
    if (const uint32_t others = request.mask & ~attributes_of(uni); is_set && others != 0)
        return CardRefusal{"not-on-this-uni", CARD_NOT_SUPPORTED, what + format(" mask=0x%x", others)};
    return {};
}

// Most messages are about the UNI that they name. A service is when it takes the traffic of one UNI, and that
// isn't the ONU's own IP host.
bool is_about_uni(const CardRequest& request, const UniPosition& uni) {
    if (request.message->number != RM_SERVICE)
        return true;
    switch (get_be32(request.record, card_part(*request.message->record, "type").offset)) {
    case OV_GPON_RM_SERVICE_VLAN_UNI:
    case OV_GPON_RM_SERVICE_VLAN_COS_UNI:
    case OV_GPON_RM_SERVICE_TRANSPARNT_UNI:
        return uni.type >= OV_GPON_RMUNI_TYPE_ETH && uni.type <= OV_GPON_RMUNI_TYPE_VIDEO;
    default:
        return false;
    }
}

} // namespace

std::optional<UniPosition> uni_of(const CardMessage& message, std::span<const uint8_t> record) {
    if (!message.record)
        return {};
    const CardPart card = card_part(*message.record, "uniPos.cardId");
    const CardPart type = card_part(*message.record, "uniPos.uniType");
    const CardPart port = card_part(*message.record, "uniPos.uniId");
    if (card.size == 0)
        return {};
    return UniPosition{get_be16(record, card.offset), static_cast<int32_t>(get_be32(record, type.offset)),
                       get_be16(record, port.offset)};
}

std::optional<CardRefusal> check_onu_rules(const CardRequest& request, const CardObjects& objects,
                                           const Onus& onus) {
    const CardMessage& message = *request.message;
    if (message.kind != index_kind::ONU || message.parent != CardParent::ONU || request.record.size() < 4)
        return {};
    const Onu* onu = onus.at_index(get_be32(request.record, message.owner_at));
    const bool is_up = onu && onu->state == OnuState::OPERATIONAL;
    if (message.number == RMONU_INFO && request.action == card_action::SET && !is_up)
        return CardRefusal{"onu-down", CARD_DRIVER_ERROR, onu ? onu_state_name(onu->state) : "absent"};
    // of several UNIs each is looked at by itself, when it is read
    if (!is_up || request.record.size() != message.record->size)
        return {};
    const auto uni = uni_of(message, request.record);
    return uni && is_about_uni(request, *uni) ? check_uni(request, objects, *onu, *uni) : std::nullopt;
}
