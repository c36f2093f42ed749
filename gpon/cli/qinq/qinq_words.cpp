#include "qinq_words.h"

#include <array>
#include <cstdlib>
#include <string_view>

#include "cli_forms.h"
#include "command_syntaxes.h"

namespace {

using Rule = ov_gpon_qinq_attr_t;
using Field = decltype(Rule::opflag) Rule::*;

constexpr const char* COPY = "copy-cvlan";

// What a line can name beside the interface, and the bit of a rule that has it.
struct Criterion {
    const char* keyword;
    unsigned bit;
    Field field;
    uint16_t (*number)(const char* word);
    std::string (*word)(uint16_t number);
};

uint16_t number_of(const char* word) {
    return static_cast<uint16_t>(std::strtol(word, nullptr, 10));
}

std::string word_of(uint16_t number) {
    return std::to_string(number);
}

// The name that commands have for an Ethernet type, or its number.
std::string ether_type_of(uint16_t number) {
    for (const char* name : {"ip", "ipv6", "arp", "rarp", "pppoe-control", "pppoe-data"})
        if (ov_gpon_qinq_ethtype_parser(name) == number)
            return name;
    return std::to_string(number);
}

constexpr Criterion CRITERIA[] = {
    {"user-vlan", OV_GPON_ONU_QINQ_OP_USERVLAN, &Rule::user_vlan_min, number_of, word_of},
    {"user-vlan-range", OV_GPON_ONU_QINQ_OP_USERVLAN_RANGE, &Rule::user_vlan_min, number_of, word_of},
    {"to", OV_GPON_ONU_QINQ_OP_USERVLAN_RANGE, &Rule::user_vlan_max, number_of, word_of},
    {"ether-type", OV_GPON_ONU_QINQ_OP_ETHTYPE, &Rule::ether_type, ov_gpon_qinq_ethtype_parser,
     ether_type_of},
    {"cos", OV_GPON_ONU_QINQ_OP_COS, &Rule::cos, number_of, word_of},
};
constexpr size_t CRITERIA_COUNT = std::size(CRITERIA);

// A rule without a criterion is one of all traffic.
uint16_t or_all_traffic(unsigned bits) {
    return bits != 0 ? static_cast<uint16_t>(bits) : ov_gpon_qinq_op(OV_GPON_ONU_QINQ_OP_PORT_TSP);
}

uint16_t bits_of(const CliCall& call) {
    unsigned bits = 0;
    for (const Criterion& criterion : CRITERIA)
        if (call.words.has(criterion.keyword))
            bits |= ov_gpon_qinq_op(criterion.bit);
    return or_all_traffic(bits);
}

// Whether a command gives just these bits.
bool is_typed(const Rule& rule) {
    unsigned bits = 0;
    for (const Criterion& criterion : CRITERIA)
        bits |= rule.opflag & ov_gpon_qinq_op(criterion.bit);
    return rule.opflag == or_all_traffic(bits);
}

std::string name_of(ov_ifindex_t ifindex) {
    const char* const name = ov_get_ifname_by_ifindex(ifindex);
    return name != nullptr ? name : "";
}

std::string service_cos_word(const Rule& rule) {
    return rule.svlancos == OV_GPON_QINQ_SVLANCOS_COPY ? COPY : std::to_string(rule.svlancos);
}

} // namespace

void qinq_read_criteria(const CliCall& call, ov_gpon_qinq_attr_t& rule) {
    rule.opflag = bits_of(call);
    for (const Criterion& criterion : CRITERIA)
        if (call.words.has(criterion.keyword))
            rule.*criterion.field = criterion.number(call.words.text(criterion.keyword));
}

void qinq_read_service_vlan(const CliCall& call, ov_gpon_qinq_attr_t& rule) {
    rule.svlan = call.words.number<uint16_t>("svlan");
    const std::string_view cos = call.words.text_or("svlancos", "0");
    rule.svlancos = cos == COPY ? OV_GPON_QINQ_SVLANCOS_COPY : number_of(cos.data());
}

// A number for a range, or the keyword of a choice; none for an empty word, which the value points at.
static CliValue value_of(const std::string& word) {
    const bool is_number = !word.empty() && word.front() >= '0' && word.front() <= '9';
    return is_number ? CliValue(number_of(word.c_str())) : CliValue(word);
}

std::string qinq_line_of(const ov_gpon_qinq_attr_t& rule) {
    static const CliForms forms(gpon_command_syntaxes(), {"ingress-port", "svlan", "svlancos", "user-vlan",
                                                          "user-vlan-range", "to", "ether-type", "cos"});
    if (!is_typed(rule))
        return "";
    const std::string name = name_of(rule.ifindex);
    const std::string service_cos = rule.svlancos == 0 ? "" : service_cos_word(rule);
    std::array<std::string, CRITERIA_COUNT> words;
    std::array<CliValue, 3 + CRITERIA_COUNT> values = {name, rule.svlan.value(), value_of(service_cos)};
    for (size_t i = 0; i < CRITERIA_COUNT; ++i)
        if (ov_gpon_qinq_has(rule, CRITERIA[i].bit)) {
            words[i] = CRITERIA[i].word(rule.*CRITERIA[i].field);
            values[3 + i] = value_of(words[i]);
        }
    return forms.line(values);
}

// ---- for people -------------------------------------------------------------------------------------------

std::string qinq_user_vlans(const ov_gpon_qinq_attr_t& rule) {
    const std::string first = std::to_string(rule.user_vlan_min);
    if (ov_gpon_qinq_has(rule, OV_GPON_ONU_QINQ_OP_USERVLAN_RANGE))
        return first + "-" + std::to_string(rule.user_vlan_max);
    return ov_gpon_qinq_has(rule, OV_GPON_ONU_QINQ_OP_USERVLAN) ? first : "-";
}

std::string qinq_ether_type(const ov_gpon_qinq_attr_t& rule) {
    return ov_gpon_qinq_has(rule, OV_GPON_ONU_QINQ_OP_ETHTYPE) ? ether_type_of(rule.ether_type) : "-";
}

std::string qinq_user_cos(const ov_gpon_qinq_attr_t& rule) {
    return ov_gpon_qinq_has(rule, OV_GPON_ONU_QINQ_OP_COS) ? std::to_string(rule.cos) : "-";
}

std::string qinq_service_cos(const ov_gpon_qinq_attr_t& rule) {
    return service_cos_word(rule);
}
