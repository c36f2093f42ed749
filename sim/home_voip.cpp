#include <string.h>

#include "home.h"
#include "onu.h"
#include "told.h"

namespace {

constexpr LineState INITIAL = {0, "no-sip"};
constexpr LineState REGISTERED = {1, "registered"};
constexpr LineState IN_SESSION = {2, "in-session"};
constexpr LineState NO_LOGIN = {5, "no-login"};
constexpr LineState REFUSED = {7, "refused"};
constexpr LineState NO_USER = {13, "no-user"};
constexpr LineState NO_AGENT = {13, "no-agent"};
constexpr LineState DISABLED = {15, "disabled"};
constexpr LineState ONU_DOWN = {0, "onu-down"};

constexpr uint8_t SIP = 1;

using User = ov_rm_voip_sip_user_data_attr_t;

std::optional<User> user_of(const Onu& onu, const CardObjects& objects, const UniPosition& pots) {
    for (const auto& user : told_records<User>(objects, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA, onu.index))
        if (user.onuCardID == pots.card && user.onuPortType == pots.type && user.onuPortID == pots.port)
            return user;
    return {};
}

bool speaks_sip(const Onu& onu, const CardObjects& objects) {
    const auto config = told_record<ov_rm_voip_config_data_attr_t>(
        objects, OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA, onu.index);
    return config && config->sigProtocolUsed == SIP;
}

bool has_agent(const Onu& onu, const CardObjects& objects, uint32_t id) {
    using Agent = ov_rm_voip_sip_agent_config_data_attr_t;
    const auto agents = told_records<Agent>(objects, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG, onu.index);
    return std::ranges::any_of(agents, [id](const Agent& agent) { return agent.agentID == id; });
}

const Phone* phone_at(const Onu& onu, const UniPosition& pots) {
    const auto it = onu.home.phones.find(pots);
    return it == onu.home.phones.end() ? nullptr : &it->second;
}

// Without a look at what the telephone does.
LineState registration(const Onu& onu, const CardObjects& objects, const UniPosition& pots) {
    if (onu.state != OnuState::OPERATIONAL)
        return ONU_DOWN;
    if (!speaks_sip(onu, objects))
        return INITIAL;
    if (uni_settings(onu, objects, pots).adminStatus != OV_GPON_ADMIN_ENABLE)
        return DISABLED;
    const auto user = user_of(onu, objects, pots);
    if (!user || user->agentID == 0u)
        return NO_USER;
    if (!has_agent(onu, objects, user->agentID))
        return NO_AGENT;
    if (user->username[0] == '\0' || user->password[0] == '\0')
        return NO_LOGIN;
    return onu.home.server_refuses ? REFUSED : REGISTERED;
}

} // namespace

void OnuHome::lose_live_state() {
    for (auto& [pots, phone] : phones)
        phone.called.clear();
    for (auto& [uni, port] : poe)
        port.absent = port.denied = port.overloads = port.shorts = 0;
}

LineState line_state(const Onu& onu, const CardObjects& objects, const UniPosition& pots) {
    const LineState state = registration(onu, objects, pots);
    const Phone* phone = phone_at(onu, pots);
    return state.is_registered() && phone && !phone->called.empty() ? IN_SESSION : state;
}

bool call(Onu& onu, const CardObjects& objects, const UniPosition& pots, const std::string& number) {
    if (!registration(onu, objects, pots).is_registered())
        return false;
    onu.home.phones[pots] = {true, number};
    return true;
}

void end_lost_calls(Onu& onu, const CardObjects& objects) {
    for (auto& [pots, phone] : onu.home.phones)
        if (!registration(onu, objects, pots).is_registered())
            phone.called.clear();
}
