#include "ov_gpon_qos_profile.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "cli_forms.h"
#include "command_syntaxes.h"
#include "ov_gpon_onu_config.h"

namespace {

// A profile's number and name, and the values behind them, in the order of the forms' names.
template <size_t Size>
struct Line {
    std::array<CliValue, Size> values;

    template <typename Profile>
    explicit Line(const Profile& profile) {
        values[0] = profile.id;
        values[1] = gpon_config_is_name(profile.name, sizeof profile.name - 1) ? CliValue(profile.name)
                                                                               : CliValue::untypable();
    }
    template <typename Value>
    void put_eight(size_t at, const Value& eight) {
        std::copy(std::begin(eight), std::end(eight), values.begin() + static_cast<ptrdiff_t>(at));
    }
};

GponQosWords texts_of(const uint32_t (&numbers)[OV_QOS_COS_NUM]) {
    GponQosWords words;
    std::ranges::transform(numbers, words.begin(), [](uint32_t number) { return std::to_string(number); });
    return words;
}

// As "MIN-MAX" and its short forms say it.
std::string bandwidth_text(int32_t min, int32_t max) {
    if (min == 0)
        return max == 0 || max == OV_QOS_TRAFFIC_NO_LIMIT ? "0" : "0-" + std::to_string(max);
    return min == max ? std::to_string(min) : std::to_string(min) + "-" + std::to_string(max);
}

bool all_are(const uint32_t (&modes)[OV_QOS_COS_NUM], uint32_t mode) {
    return std::ranges::all_of(modes, [mode](uint32_t one) { return one == mode; });
}

std::optional<int32_t> bandwidth_number(std::string_view word) {
    uint32_t number = 0;
    const char* const end = word.data() + word.size();
    const auto read = std::from_chars(word.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end || number > uint32_t{OV_QOS_TRAFFIC_BW_MAX})
        return std::nullopt;
    return static_cast<int32_t>(number);
}

template <typename Profile>
bool has_line(const Profile* profile) {
    return profile != nullptr && !gpon_qos_profile_line(*profile).empty();
}

// The mappings that every system starts with, and the number of none.
bool is_default(qos_profile_kind_e kind, uint32_t id) {
    return id == OV_QOS_DEFAULT_INDEX_ID ||
           (kind == QOS_PROFILE_COSQ_MAP && id > OV_QOS_COSQ_MAP_PROFILE_ID_MAX);
}

} // namespace

// ---- lines ------------------------------------------------------------------------------------------------

std::string gpon_qos_profile_line(const ov_app_qos_sched_profile_s& profile) {
    static const CliForms forms(gpon_command_syntaxes(),
                                {"qos-queue-scheduler", "name", "policy", "queue0", "queue1", "queue2",
                                 "queue3", "queue4", "queue5", "queue6", "queue7"});
    Line<3 + OV_QOS_COS_NUM> line(profile);
    line.values[2] = gpon_qos_policy(profile);
    if (all_are(profile.mode, OV_QOS_SCHED_WRR))
        line.put_eight(3, profile.weight);
    return forms.line(line.values);
}

std::string gpon_qos_profile_line(const ov_app_cosq_map_profile_s& profile) {
    static const CliForms forms(gpon_command_syntaxes(), {"cos-queue-map", "name", "cos0", "cos1", "cos2",
                                                          "cos3", "cos4", "cos5", "cos6", "cos7"});
    Line<2 + OV_QOS_COS_NUM> line(profile);
    line.put_eight(2, profile.cosq);
    return forms.line(line.values);
}

std::string gpon_qos_profile_line(const ov_app_qos_traffic_profile_s& profile) {
    static const CliForms forms(gpon_command_syntaxes(),
                                {"qos-queue-traffic", "name", "queue0", "queue1", "queue2", "queue3",
                                 "queue4", "queue5", "queue6", "queue7"});
    const GponQosWords words = gpon_qos_profile_words(profile);
    if (!std::ranges::all_of(words,
                             [](const auto& word) { return gpon_qos_bandwidth(word.c_str()).has_value(); }))
        return "";
    Line<2 + OV_QOS_COS_NUM> line(profile);
    line.put_eight(2, words);
    return forms.line(line.values);
}

std::string gpon_qos_profile_line(const ov_app_cos_to_cos_map_profile_s& profile) {
    static const CliForms forms(gpon_command_syntaxes(), {"cos-to-cos", "name", "cos0", "cos1", "cos2",
                                                          "cos3", "cos4", "cos5", "cos6", "cos7"});
    Line<2 + OV_QOS_COS_NUM> line(profile);
    line.put_eight(2, profile.mapped_cos);
    return forms.line(line.values);
}

// ---- words ------------------------------------------------------------------------------------------------

const char* gpon_qos_policy(const ov_app_qos_sched_profile_s& profile) {
    return all_are(profile.mode, OV_QOS_SCHED_SP)    ? "sp"
           : all_are(profile.mode, OV_QOS_SCHED_WRR) ? "wrr"
                                                     : "mixed";
}

// Without a weight a queue has its mode, such as "sp".
GponQosWords gpon_qos_profile_words(const ov_app_qos_sched_profile_s& profile) {
    GponQosWords words;
    for (unsigned queue = 0; queue < OV_QOS_COS_NUM; queue++) {
        const uint32_t mode = profile.mode[queue];
        words[queue] = mode == OV_QOS_SCHED_WRR  ? std::to_string(profile.weight[queue])
                       : mode == OV_QOS_SCHED_SP ? "sp"
                                                 : "mode" + std::to_string(mode);
    }
    return words;
}

GponQosWords gpon_qos_profile_words(const ov_app_cosq_map_profile_s& profile) {
    return texts_of(profile.cosq);
}

GponQosWords gpon_qos_profile_words(const ov_app_qos_traffic_profile_s& profile) {
    GponQosWords words;
    for (unsigned queue = 0; queue < OV_QOS_COS_NUM; queue++)
        words[queue] = bandwidth_text(profile.min_bw[queue], profile.max_bw[queue]);
    return words;
}

GponQosWords gpon_qos_profile_words(const ov_app_cos_to_cos_map_profile_s& profile) {
    return texts_of(profile.mapped_cos);
}

std::optional<GponQosBandwidth> gpon_qos_bandwidth(const char* word) {
    const std::string_view text = word;
    const size_t dash = text.find('-');
    const auto min = bandwidth_number(text.substr(0, dash));
    const auto max = dash == text.npos ? min : bandwidth_number(text.substr(dash + 1));
    if (!min || !max || *min > *max || (*min == 0 && *max != 0))
        return std::nullopt;
    return GponQosBandwidth{*min, *max};
}

// ---- those that are there ---------------------------------------------------------------------------------

bool gpon_qos_profile_is_saved(qos_profile_kind_e kind, uint32_t id) {
    if (is_default(kind, id))
        return true;
    switch (kind) {
    case QOS_PROFILE_COSQ_MAP:
        return has_line(ov_app_find_cosq_map_profile_by_id(id));
    case QOS_PROFILE_SCHED:
        return has_line(ov_app_find_sched_profile_by_id(id));
    case QOS_PROFILE_TRAFFIC:
        return has_line(ov_app_find_qos_traffic_profile_by_id(id));
    default:
        return has_line(ov_app_find_cos_to_cos_map_profile_by_id(id));
    }
}
