#include "home.h"
#include "onu.h"
#include "onu_rules.h"
#include "told.h"

namespace {

constexpr uint8_t CAN_BE_CHOSEN = 1; // RFC 3621: which pairs carry the power
constexpr uint8_t POWER_ON = 1;
constexpr uint32_t INPUT_VOLTS = 54;
constexpr uint16_t PCMA = 8; // RTP payload type
constexpr uint16_t PACKET_MS = 20;
constexpr uint8_t TWO_WAY = 1;

// Reads a record from the bytes, has it changed, and writes it back.
template <typename Record, typename Change>
void change_record(std::span<uint8_t> bytes, Change change) {
    auto record = record_of<Record>(bytes);
    change(record);
    std::memcpy(bytes.data(), &record, std::min(bytes.size(), sizeof record));
}

UniPosition position_of(const ov_gpon_rmuni_pos_t& position) {
    return {position.cardId, position.uniType, position.uniId};
}

// The thresholds that the ONU is made with; the others are set.
void fill_thresholds(ov_gpon_rmonu_opt_threshold_attr_t& thresholds) {
    thresholds.lowvoltthreshod = 3000;
    thresholds.uppervoltthreshod = 3600;
    thresholds.lowbiasthreshod = 200;
    thresholds.upperbiasthreshod = 9000;
    thresholds.lowtempthreshod = -4000;
    thresholds.uppertempthreshod = 8500;
}

void fill_ip_host(const Onu& onu, const CardObjects& objects, ov_gpon_onu_iphost_attr_t& answer) {
    const auto told =
        told_record<ov_gpon_onu_iphost_attr_t>(objects, OV_HAL_MSG_GPON_RMONU_IPHOST, onu.index);
    if (!told)
        return;
    const auto index = answer.onuIfindex;
    answer = *told;
    answer.onuIfindex = index;
    const Ipv4Setting in_use = ip_host_connection(onu, *told).in_use;
    answer.ipaddr = in_use.address;
    answer.netmask = in_use.netmask;
    answer.gateway = in_use.gateway;
    answer.priDns = in_use.dns;
    answer.secDns = in_use.dns_2;
}

void fill_uni_poe(const Onu& onu, const CardObjects& objects, ov_gpon_rmuni_poe_attr_t& answer) {
    const UniPosition uni = position_of(answer.uniPos);
    const auto powers = poe_powers(onu, objects);
    const auto power = powers.find(uni);
    if (power == powers.end())
        return;
    const auto it = onu.home.poe.find(uni);
    const PoePort port = it == onu.home.poe.end() ? PoePort() : it->second;
    const auto settings = poe_settings(onu, objects, uni);
    answer.poeAdminState = settings.poeAdminState;
    answer.powPairs = settings.powPairs;
    answer.powPri = settings.powPri;
    answer.pseLldpReqPow = settings.pseLldpReqPow;
    answer.powPairsContAbility = CAN_BE_CHOSEN;
    answer.detectionSta = static_cast<uint8_t>(power->second.detection);
    answer.powClassification = power->second.device_class;
    answer.pseConsumPow = static_cast<uint16_t>(power->second.consumed);
    answer.pseAllocatePow = static_cast<uint16_t>(power->second.allocated);
    answer.mpsAbsentCount = port.absent;
    answer.powDeniedCount = port.denied;
    answer.overLoadCount = port.overloads;
    answer.shortCount = port.shorts;
}

void fill_onu_poe(const Onu& onu, const CardObjects& objects, ov_gpon_rmonu_poe_attr_t& answer) {
    const PoePower total = poe_total(onu, objects);
    answer.nominalPoePow = POE_BUDGET;
    answer.operStatus = POWER_ON;
    answer.pseConsumPow = total.consumed;
    answer.pseAllocatePow = total.allocated;
    answer.inputVoltage = INPUT_VOLTS;
    answer.inputCur = total.consumed * 1000 / INPUT_VOLTS; // mA
}

void fill_line(const Onu& onu, const CardObjects& objects, ov_rm_voip_line_status_attr_t& answer) {
    const UniPosition pots = position_of(answer.uniPos);
    const LineState state = line_state(onu, objects, pots);
    answer.voipVoiceSerStatus = state.status;
    const auto phone = onu.home.phones.find(pots);
    if (phone == onu.home.phones.end() || phone->second.called.empty())
        return;
    answer.voipCodecUsed = PCMA;
    answer.voipPortSessionType = TWO_WAY;
    answer.voipCall1PktPeriod = PACKET_MS;
    std::string_view called = phone->second.called;
    called = called.substr(0, sizeof answer.voipCall1DstAddr - 1);
    std::ranges::copy(called, answer.voipCall1DstAddr);
}

} // namespace

void fill_home(uint16_t number, const Onu& onu, const CardObjects& objects, std::span<uint8_t> record) {
    switch (number) {
    case OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD:
        return change_record<ov_gpon_rmonu_opt_threshold_attr_t>(record, fill_thresholds);
    case OV_HAL_MSG_GPON_RMONU_IPHOST:
        return change_record<ov_gpon_onu_iphost_attr_t>(
            record, [&](auto& answer) { fill_ip_host(onu, objects, answer); });
    case OV_HAL_MSG_GPON_RM_UNI_POE:
        return change_record<ov_gpon_rmuni_poe_attr_t>(
            record, [&](auto& answer) { fill_uni_poe(onu, objects, answer); });
    case OV_HAL_MSG_GPON_RM_ONU_POE:
        return change_record<ov_gpon_rmonu_poe_attr_t>(
            record, [&](auto& answer) { fill_onu_poe(onu, objects, answer); });
    case OV_HAL_MSG_GPON_RMONU_VOIP_LINE_STATUS:
        return change_record<ov_rm_voip_line_status_attr_t>(
            record, [&](auto& answer) { fill_line(onu, objects, answer); });
    default:
        return;
    }
}
