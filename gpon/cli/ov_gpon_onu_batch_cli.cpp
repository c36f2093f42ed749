// Service profiles copied to many ONUs of a PON port, and their services taken away again.
#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "app_rows.h"
#include "gpon_stepped_show.h"
#include "kavo_cmd_rows.h"
#include "ov_app_gpon_onusrv_batch_config.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_gpon.h"
#include "ov_gpon_onu_cli.h"
#include "ov_refusal.h"

namespace {

using Onu = ov_sOnuTable_attr_t;
using Flags = std::array<char, OV_BATCH_ONU_MAX>;

// ---- which ONUs -------------------------------------------------------------------------------------------

// The ONUs of the words, "5" or "1-32", are asked for. False at a word that is none.
bool mark(std::span<const char* const> words, Flags& onus) {
    for (const char* word : words) {
        unsigned char first = 0;
        unsigned char last = 0;
        if (onuid_range_match(word, &first, &last) != 1)
            return ov_refusal_because("\"%s\" is no number of an ONU from 1 to %zu and no range of them",
                                      word, OV_BATCH_ONU_MAX);
        for (size_t id = first; id <= last; ++id)
            onus[id - 1] = OV_BATCH_ONU_ASKED;
    }
    return true;
}

bool mark_typed(const CliCall& call, const char* name, Flags& onus) {
    if (mark(call.words.all(name), onus))
        return true;
    call.fail("%% Invalid onu id or range!%s");
    return false;
}

// Decides for each ONU that is asked for and there; tells which aren't, and how many.
template <typename Decide>
int look_for_onus(const CliCall& call, Flags& onus, Decide decide) {
    int missing = 0;
    Onu key = gpon_cli_onu_key<Onu>(call.vty);
    for (size_t n = 0; n < onus.size(); ++n) {
        if (onus[n] != OV_BATCH_ONU_ASKED)
            continue;
        key.onuId = static_cast<mib_long>(n + 1);
        if (const Onu* onu = find_row(key)) {
            onus[n] = decide(*onu);
        } else {
            call.line("Onu %d not exist", static_cast<int>(key.onuId));
            ++missing;
        }
    }
    return missing;
}

// ---- copy -------------------------------------------------------------------------------------------------

struct Failure {
    ov_gpon_config_error_t error;
    const char* text; // in front of the line's end
};
// The others have no text of their own.
constexpr Failure FAILURES[] = {
    {TCONT_ERROR, "Config onu %d tcont failed "},
    {GEM_ERROR, "Config onu %d gem failed "},
    {SRVPORT_ERROR, "Config onu %d service-port failed "},
    {RMSRV_ERROR, "Config onu %d remote service failed "},
    {RMUNI_ERROR, "Config onu %d remote uni failed "},
    {ONU_TYPE_ERROR, "Onu %d type is wrong "},
};

void print_failure(struct vty* vty, int onu, uint8_t error) {
    for (const Failure& failure : FAILURES) {
        if (failure.error != error)
            continue;
        std::string text = failure.text;
        text.replace(text.find("%d"), 2, std::to_string(onu));
        vty_out(vty, "%s%s", text.c_str(), kavo_newline(vty));
    }
}

// A copy that a session waits for.
struct Copy {
    int missing = 0;
    std::optional<ov_batch_cfg_rtn_t> result;
    std::string refusal;
};

int end_of_copy(struct vty* vty, const Copy& copy) {
    int failed = copy.missing;
    for (size_t n = 0; n < OV_BATCH_ONU_MAX; ++n) {
        print_failure(vty, static_cast<int>(n + 1), copy.result->errorCode[n]);
        failed += copy.result->errorCode[n] != NO_ERROR ? 1 : 0;
    }
    if (failed == 0)
        return 0;
    if (copy.refusal.empty())
        ov_refusal_because("%d ONUs aren't there or of another type", failed);
    else
        ov_refusal_because("%d ONUs have not all of the profile; the first: %s", failed,
                           copy.refusal.c_str());
    return KAVO_CLI_FAILED;
}

int copy_in_steps(const CliCall& call, const Flags& onus, mib_ulong profile, int missing) {
    const auto copy = std::make_shared<Copy>();
    copy->missing = missing;
    ov_ifindex_t port = 0;
    ov_get_ifindex_from_vtysh(call.vty, &port);
    ov_gpon_multi_onu_service_config_start(port, onus, profile, [copy](const ov_batch_cfg_rtn_t& result) {
        copy->result = result;
        copy->refusal = ov_gpon_multi_onu_service_config_refusal();
    });
    const auto step = [copy] {
        if (!copy->result)
            ov_gpon_multi_onu_service_config_go_on();
        return !copy->result;
    };
    return gpon_run_in_steps(call.vty, step, [vty = call.vty, copy] { return end_of_copy(vty, *copy); });
}

int ov_gpon_add_multi_onu_service_cli(CliCall& call) {
    Flags onus = {};
    if (!mark_typed(call, "onu", onus))
        return KAVO_CLI_BAD_INPUT;
    const auto profile = call.words.number<mib_ulong>("onu-srvprofile");
    char type[sizeof(ov_sOnuSrvProfileTable_attr_t::sOnuTypeProfileName)] = {};
    if (ov_app_gpon_onu_srvprofile_check(profile, type) == 0) {
        ov_refusal_because("no service profile %s", call.words.text("onu-srvprofile"));
        return call.fail("%% onu-srv-profile id not exist%s", KAVO_CLI_BAD_INPUT);
    }
    const int missing = look_for_onus(call, onus, [&type](const Onu& onu) {
        return std::string_view(onu.sOnuTableOnuTypeProfileName) == type ? OV_BATCH_ONU_CONFIG
                                                                         : OV_BATCH_ONU_WRONG_TYPE;
    });
    return copy_in_steps(call, onus, profile, missing);
}

// ---- delete -----------------------------------------------------------------------------------------------

int ov_gpon_del_multi_onu_service_cli(CliCall& call) {
    Flags onus = {};
    if (!mark_typed(call, "multi-onusrv", onus))
        return KAVO_CLI_BAD_INPUT;
    const int missing = look_for_onus(call, onus, [](const Onu& /*onu*/) { return OV_BATCH_ONU_CONFIG; });
    ov_ifindex_t port = 0;
    ov_get_ifindex_from_vtysh(call.vty, &port);
    if (std::count(onus.begin(), onus.end(), OV_BATCH_ONU_CONFIG) != 0)
        ov_gpon_multi_onu_service_delete(port, onus);
    if (missing == 0)
        return 0;
    ov_refusal_because("%d ONUs aren't there, the others lose their services", missing);
    return KAVO_CLI_FAILED;
}

const kavo_cmd_t onu_batch_cmds[] = {
#include "commands/onu_batch.def"
};

} // namespace

void gpon_onu_batch_cli_init() {
    kavo_cmd_install(onu_batch_cmds);
}
