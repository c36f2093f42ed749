// QoS profiles: made, deleted, shown.
#include <cstring>
#include <memory>
#include <span>

#include "cli_call.h"
#include "gpon_cli.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_gpon_qos_cli.h"
#include "ov_gpon_qos_profile.h"
#include "ov_refusal.h"

namespace {

// One kind of profile: its word in commands, and what the application does with it.
template <typename Profile>
struct Kind {
    const char* word;
    qos_profile_kind_e number;
    Profile* (*make)();
    void (*destroy)(Profile*);
    int (*edit_id)(Profile*, uint32_t);
    int (*edit_name)(Profile*, const char*);
    int (*add)(Profile*, uint32_t);
    int (*del)(Profile*, uint32_t);
    Profile* (*find)(uint32_t);
    const QosList<Profile>& list;
};

constexpr Kind<ov_app_qos_sched_profile_s> SCHED = {"qos-queue-scheduler",
                                                    QOS_PROFILE_SCHED,
                                                    ov_app_qos_sched_profile_new,
                                                    ov_app_qos_sched_profile_destroy,
                                                    ov_app_qos_sched_profile_edit_id,
                                                    ov_app_qos_sched_profile_edit_name,
                                                    ov_app_qos_sched_profile_add,
                                                    ov_app_qos_sched_profile_del,
                                                    ov_app_find_sched_profile_by_id,
                                                    g_qos_sched_profile_list};
constexpr Kind<ov_app_cosq_map_profile_s> COSQ_MAP = {"cos-queue-map",
                                                      QOS_PROFILE_COSQ_MAP,
                                                      ov_app_cosq_map_profile_new,
                                                      ov_app_cosq_map_profile_destroy,
                                                      ov_app_cosq_map_profile_edit_id,
                                                      ov_app_cosq_map_profile_edit_name,
                                                      ov_app_cosq_mapping_profile_add,
                                                      ov_app_cosq_mapping_profile_del,
                                                      ov_app_find_cosq_map_profile_by_id,
                                                      g_cosq_map_profile_list};
constexpr Kind<ov_app_qos_traffic_profile_s> TRAFFIC = {"qos-queue-traffic",
                                                        QOS_PROFILE_TRAFFIC,
                                                        ov_app_qos_traffic_profile_new,
                                                        ov_app_qos_traffic_profile_destroy,
                                                        ov_app_qos_traffic_profile_edit_id,
                                                        ov_app_qos_traffic_profile_edit_name,
                                                        ov_app_qos_traffic_profile_add,
                                                        ov_app_qos_traffic_profile_del,
                                                        ov_app_find_qos_traffic_profile_by_id,
                                                        g_qos_traffic_profile_list};
constexpr Kind<ov_app_cos_to_cos_map_profile_s> COS_TO_COS = {"cos-to-cos",
                                                              QOS_PROFILE_COS_TO_COS,
                                                              ov_app_cos_to_cos_map_profile_new,
                                                              ov_app_cos_to_cos_map_profile_destroy,
                                                              ov_app_cos_to_cos_map_profile_edit_id,
                                                              ov_app_cos_to_cos_map_profile_edit_name,
                                                              ov_app_cos_to_cos_mapping_profile_add,
                                                              ov_app_cos_to_cos_mapping_profile_del,
                                                              ov_app_find_cos_to_cos_map_profile_by_id,
                                                              g_cos_to_cos_map_profile_list};

// ---- made and deleted -------------------------------------------------------------------------------------

int fail(const CliCall& call, const char* verb, const char* word) {
    call.line("%%Failed to %s %s profile %s", verb, word, call.words.text(word));
    return KAVO_CLI_FAILED;
}

// The words of the eight queues, or classes of service, as the command has them.
std::array<const char*, OV_QOS_COS_NUM> eight_words(const CliCall& call, std::string prefix) {
    std::array<const char*, OV_QOS_COS_NUM> words{};
    for (unsigned i = 0; i < OV_QOS_COS_NUM; i++)
        words[i] = call.words.text(prefix + std::to_string(i));
    return words;
}

std::array<uint32_t, OV_QOS_COS_NUM> eight_numbers(const CliCall& call, const std::string& prefix) {
    std::array<uint32_t, OV_QOS_COS_NUM> numbers{};
    for (unsigned i = 0; i < OV_QOS_COS_NUM; i++)
        numbers[i] = call.words.number<uint32_t>(prefix + std::to_string(i));
    return numbers;
}

// A profile as it was made is there already, under its number: nothing is to be done. Nobody changes one.
template <typename Profile>
bool is_there_already(const Kind<Profile>& kind, const Profile& made) {
    const Profile* held = kind.find(made.id);
    if (held == nullptr)
        return false;
    const std::string line = gpon_qos_profile_line(*held);
    if (!line.empty() && line == gpon_qos_profile_line(made))
        return true;
    ov_refusal_because("there is another %s profile %u", kind.word, made.id);
    return false;
}

// Makes a profile of the command's number and name, and what `fill` puts into it: 0, or the result of a
// refusal, behind its text.
template <typename Profile, typename Fill>
int add_profile(const CliCall& call, const Kind<Profile>& kind, Fill fill) {
    std::unique_ptr<Profile, decltype(kind.destroy)> made(kind.make(), kind.destroy);
    if (made == nullptr || kind.edit_id(made.get(), call.words.number<uint32_t>(kind.word)) != OV_QOS_OK)
        return fail(call, "add", kind.word);
    if (kind.edit_name(made.get(), call.words.text("name")) != OV_QOS_OK)
        return call.fail_name("%%Bad profile name length%s", sizeof made->name - 1);
    if (const int refusal = fill(*made); refusal != 0)
        return refusal;
    if (is_there_already(kind, *made))
        return 0;
    if (const int result = kind.add(made.get(), SYNC_EVERY_COPY); result != OV_QOS_OK) {
        gpon_qos_state_reason(result);
        return fail(call, "add", kind.word);
    }
    static_cast<void>(made.release()); // it is the application's now
    return 0;
}

template <typename Profile>
int delete_profile(const CliCall& call, const Kind<Profile>& kind) {
    const auto id = call.words.number<uint32_t>(kind.word);
    Profile* profile = kind.find(id);
    if (profile == nullptr) {
        ov_refusal_because("there is no %s profile %u", kind.word, id);
        return fail(call, "delete", kind.word);
    }
    const int result = kind.del(profile, SYNC_EVERY_COPY);
    gpon_qos_state_reason(result);
    return result == OV_QOS_OK ? 0 : fail(call, "delete", kind.word);
}

int ov_qos_queue_scheduler_profile_sp_add_cli(CliCall& call) {
    return add_profile(call, SCHED, [](auto& profile) {
        return ov_app_qos_sched_profile_edit_mode(&profile, OV_QOS_SCHED_SP);
    });
}

int ov_qos_queue_scheduler_profile_wrr_add_cli(CliCall& call) {
    return add_profile(call, SCHED, [&call](auto& profile) {
        ov_app_qos_sched_profile_edit_mode(&profile, OV_QOS_SCHED_WRR);
        return ov_app_qos_sched_profile_edit_weight(&profile, eight_numbers(call, "queue").data(),
                                                    OV_QOS_COS_NUM);
    });
}

int ov_cos_queue_map_profile_add_cli(CliCall& call) {
    return add_profile(call, COSQ_MAP, [&call](auto& profile) {
        return ov_app_cosq_map_profile_edit_cosq(&profile, eight_numbers(call, "cos").data(), OV_QOS_COS_NUM);
    });
}

int ov_cos_to_cos_map_profile_add_cli(CliCall& call) {
    return add_profile(call, COS_TO_COS, [&call](auto& profile) {
        return ov_app_cos_to_cos_map_profile_edit_mapped_cos(&profile, eight_numbers(call, "cos").data(),
                                                             OV_QOS_COS_NUM);
    });
}

int ov_qos_queue_traffic_profile_add_cli(CliCall& call) {
    return add_profile(call, TRAFFIC, [&call](auto& profile) {
        const auto words = eight_words(call, "queue");
        for (unsigned queue = 0; queue < OV_QOS_COS_NUM; queue++) {
            const auto bandwidth = gpon_qos_bandwidth(words[queue]);
            if (bandwidth && ov_app_qos_traffic_profile_edit_bw(&profile, queue, bandwidth->min,
                                                                bandwidth->max) == OV_QOS_OK)
                continue;
            ov_refusal_because("queue%u \"%s\" isn't MIN-MAX or one number, each 1 to %d, and isn't 0 for no "
                               "limit",
                               queue, words[queue], OV_QOS_TRAFFIC_BW_MAX);
            return call.fail("%%Bad parameter%s", KAVO_CLI_BAD_INPUT);
        }
        return 0;
    });
}

int ov_qos_queue_scheduler_profile_del_cli(CliCall& call) {
    return delete_profile(call, SCHED);
}
int ov_cos_queue_map_profile_del_cli(CliCall& call) {
    return delete_profile(call, COSQ_MAP);
}
int ov_cos_to_cos_map_profile_del_cli(CliCall& call) {
    return delete_profile(call, COS_TO_COS);
}
int ov_qos_queue_traffic_profile_del_cli(CliCall& call) {
    return delete_profile(call, TRAFFIC);
}

// ---- shown ------------------------------------------------------------------------------------------------

// The columns of a kind: its number, how many are bound to it, the eight values, name and description. The
// last one is dumped only.
constexpr kavo_column_t SCHED_COLUMNS[] = {{"id", 3},          {"used", 6},   {"policy", -6}, {"queue0", 6},
                                           {"queue1", 6},      {"queue2", 6}, {"queue3", 6},  {"queue4", 6},
                                           {"queue5", 6},      {"queue6", 6}, {"queue7", 6},  {"name", -128},
                                           {"description", -1}};
constexpr kavo_column_t TRAFFIC_COLUMNS[] = {
    {"id", 3},      {"used", 6},    {"queue0", 19}, {"queue1", 19}, {"queue2", 19}, {"queue3", 19},
    {"queue4", 19}, {"queue5", 19}, {"queue6", 19}, {"queue7", 19}, {"name", -64},  {"description", -1}};
constexpr kavo_column_t COS_COLUMNS[] = {{"id", 3},   {"used", 6}, {"cos0", 4},   {"cos1", 4},
                                         {"cos2", 4}, {"cos3", 4}, {"cos4", 4},   {"cos5", 4},
                                         {"cos6", 4}, {"cos7", 4}, {"name", -65}, {"description", -1}};

template <typename Profile>
uint32_t used(const Kind<Profile>& kind, uint32_t id) {
    return id < QOS_PROFILE_IDS ? g_qos_profile_use_cnt[kind.number][id] : 0;
}

// A word that is a number is one in JSON, too.
kavo_cell_t cell_of(const std::string& word) {
    const bool is_number = word.find_first_not_of("0123456789") == word.npos && !word.empty();
    return is_number ? kavo_cell_t(std::stoul(word)) : kavo_cell_t(word);
}

void put_policy(std::vector<kavo_cell_t>& cells, const ov_app_qos_sched_profile_s& profile) {
    cells.emplace_back(gpon_qos_policy(profile));
}
template <typename Profile>
void put_policy(std::vector<kavo_cell_t>& /*cells*/, const Profile& /*profile*/) {}

template <typename Profile>
int show_profiles(struct vty* vty, const Kind<Profile>& kind, std::span<const kavo_column_t> columns) {
    const kavo_table_t table(vty, columns, {.trimmed = true});
    table.line("%s", "");
    table.heading();
    for (const Profile& profile : kind.list) {
        std::vector<kavo_cell_t> cells = {profile.id, used(kind, profile.id)};
        put_policy(cells, profile);
        for (const std::string& word : gpon_qos_profile_words(profile))
            cells.push_back(cell_of(word));
        cells.emplace_back(gpon_cli_shown(profile.name));
        if (columns.size() > cells.size())
            cells.emplace_back(gpon_cli_shown(profile.desc));
        table.row(cells);
    }
    table.line("total %zu", kind.list.size());
    return 0;
}

template <size_t Size>
constexpr std::span<const kavo_column_t> without_last(const kavo_column_t (&columns)[Size]) {
    return {columns, Size - 1};
}

int ov_qos_queue_scheduler_profile_show_cli(CliCall& call) {
    return ov_app_dump_qos_queue_scheduler_profile_cfg_vtysh(call.vty);
}
int ov_cos_queue_map_profile_show_cli(CliCall& call) {
    return ov_app_dump_cos_queue_map_profile_cfg_vtysh(call.vty);
}
int ov_cos_to_cos_profile_show_cli(CliCall& call) {
    return ov_app_dump_cos_to_cos_map_profile_cfg_vtysh(call.vty);
}
int ov_qos_queue_traffic_profile_show_cli(CliCall& call) {
    return ov_app_dump_qos_queue_traffic_profile_cfg_vtysh(call.vty);
}

int ov_app_dump_qos_sched_cli(CliCall& call) {
    return show_profiles(call.vty, SCHED, SCHED_COLUMNS);
}
int ov_app_dump_cosq_map_cli(CliCall& call) {
    return show_profiles(call.vty, COSQ_MAP, COS_COLUMNS);
}
int ov_app_dump_cos_to_cos_cli(CliCall& call) {
    return show_profiles(call.vty, COS_TO_COS, COS_COLUMNS);
}
int ov_app_dump_qos_traffic_cli(CliCall& call) {
    return show_profiles(call.vty, TRAFFIC, TRAFFIC_COLUMNS);
}

const kavo_cmd_t qos_profile_cmds[] = {
#include "commands/qos_profile.def"
};

} // namespace

int ov_app_dump_qos_queue_scheduler_profile_cfg_vtysh(struct vty* vty) {
    return show_profiles(vty, SCHED, without_last(SCHED_COLUMNS));
}
int ov_app_dump_cos_queue_map_profile_cfg_vtysh(struct vty* vty) {
    return show_profiles(vty, COSQ_MAP, without_last(COS_COLUMNS));
}
int ov_app_dump_cos_to_cos_map_profile_cfg_vtysh(struct vty* vty) {
    return show_profiles(vty, COS_TO_COS, without_last(COS_COLUMNS));
}
int ov_app_dump_qos_queue_traffic_profile_cfg_vtysh(struct vty* vty) {
    return show_profiles(vty, TRAFFIC, without_last(TRAFFIC_COLUMNS));
}

void gpon_qos_profile_cli_init() {
    kavo_cmd_install(qos_profile_cmds);
}
