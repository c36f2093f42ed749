#include "onu_rules.h"

#include "home_rules.h"
#include "text.h"
#include "told.h"

namespace {

constexpr uint16_t RM_SERVICE = 913;
constexpr uint16_t RMONU_INFO = 914;
constexpr uint16_t RM_UNI = 915;
constexpr uint16_t RM_UNI_MCAST = 917;
constexpr uint16_t SIP_USER_DATA = 948;
constexpr uint16_t RM_UNI_POE = 962;
constexpr uint16_t LINE_STATUS = 964;
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

bool is_for_kind(uint16_t number, int32_t type) {
    switch (number) {
    case RM_UNI_MCAST:
        return type == OV_GPON_RMUNI_TYPE_ETH || type == OV_GPON_RMUNI_TYPE_VEIP;
    case RM_UNI_POE:
        return type == OV_GPON_RMUNI_TYPE_ETH;
    case SIP_USER_DATA:
    case LINE_STATUS:
        return type == OV_GPON_RMUNI_TYPE_POTS;
    default:
        return true;
    }
}

std::optional<CardRefusal> check_uni(const CardRequest& request, const CardObjects& objects, const Onu& onu,
                                     const UniPosition& uni) {
    const std::string what = "uni=" + uni_text(uni);
    if (request.action != card_action::DELETE && !has_uni(onu, objects, uni))
        return CardRefusal{"no-such-uni", CARD_NOT_FOUND, what};
    if (request.action != card_action::SET)
        return {};
    if (!is_for_kind(request.message->number, uni.type))
        return CardRefusal{"not-on-this-uni", CARD_NOT_SUPPORTED, what};
    const uint32_t others = request.mask & ~attributes_of(uni);
    if (request.message->number == RM_UNI && others != 0)
        return CardRefusal{"not-on-this-uni", CARD_NOT_SUPPORTED, what + format(" mask=0x%x", others)};
    return {};
}

// The UNI that a service is of; some are of none, and the ONU's own host is no UNI.
std::optional<UniPosition> uni_of_service(std::span<const uint8_t> record) {
    const auto service = record_of<ov_gpon_rmservice_attr_t>(record);
    if (service.type != OV_GPON_RM_SERVICE_VLAN_UNI && service.type != OV_GPON_RM_SERVICE_VLAN_COS_UNI &&
        service.type != OV_GPON_RM_SERVICE_TRANSPARNT_UNI)
        return {};
    if (service.uniPos.uniType == OV_GPON_RMUNI_TYPE_IPHOST)
        return {};
    return UniPosition{service.uniPos.cardId, service.uniPos.uniType, service.uniPos.uniId};
}

UniPosition uni_of_user(std::span<const uint8_t> record) {
    const auto user = record_of<ov_rm_voip_sip_user_data_attr_t>(record);
    return {static_cast<uint16_t>(user.onuCardID), user.onuPortType, static_cast<uint16_t>(user.onuPortID)};
}

} // namespace

std::optional<UniPosition> uni_of(const CardMessage& message, std::span<const uint8_t> record) {
    if (!message.record)
        return {};
    if (message.number == RM_SERVICE)
        return uni_of_service(record);
    if (message.number == SIP_USER_DATA)
        return uni_of_user(record);
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
    if (const auto uni = uni_of(message, request.record))
        return check_uni(request, objects, *onu, *uni);
    return check_home(request, objects, *onu);
}
