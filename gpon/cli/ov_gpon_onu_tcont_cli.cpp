// T-CONTs and GEM ports of an ONU, or of a service profile.
#include "ov_app_gpon_tcont.h"

#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_rm_traffic.h"
#include "ov_gpon_onu_cli.h"
#include "ov_refusal.h"

namespace {

using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;

// ---- T-CONTs -------------------------------------------------------------------------------------------

Tcont tcont_of(const CliCall& call) {
    Tcont row = gpon_cli_onu_key<Tcont>(call.vty);
    row.tcontId = call.words.number<mib_ulong>("tcont");
    return row;
}

int ov_gpon_add_tcont_cli(CliCall& call) {
    using namespace sTcontTable_column;
    Tcont row = tcont_of(call);
    MIB_Flags_t flags = gpon_cli_columns({sTcontTableBwProfileName});
    if (!gpon_cli_copy_word(row.sTcontTableBwProfileName, call.words.text("profile"),
                            GPON_CLI_PROFILE_NAME_MAX))
        return call.fail_name("%%Bad profile name length%s", GPON_CLI_PROFILE_NAME_MAX);
    if (call.words.has("name")) {
        if (!gpon_cli_copy_word(row.sTcontTableTcontName, call.words.text("name"), GPON_CLI_SHORT_NAME_MAX))
            return call.fail_name("%%Bad name length%s", GPON_CLI_SHORT_NAME_MAX);
        mib_flag_set(flags, sTcontTableTcontName);
    }
    if (ov_app_gpon_tcont_add(&row, &flags, 1) == OV_GPON_RET_OK)
        return 0;
    return call.fail_of("%%Failed to create tcont:%d%s", row.tcontId);
}

int ov_gpon_del_tcont_cli(CliCall& call) {
    Tcont row = tcont_of(call);
    if (ov_app_gpon_tcont_del(&row) == OV_GPON_RET_OK)
        return 0;
    return call.fail_of("%%Failed to delete tcont:%d%s", row.tcontId);
}

// ---- GEM ports ------------------------------------------------------------------------------------------

Gem gem_of(const CliCall& call) {
    Gem row = gpon_cli_onu_key<Gem>(call.vty);
    row.gemID = call.words.number<mib_ulong>("gemport");
    return row;
}

// A traffic profile into its column, if the line names one; 0, or the result of a refusal.
template <size_t Size>
int take_traffic_profile(const CliCall& call, const char* keyword, char (&field)[Size], unsigned column,
                         MIB_Flags_t& flags) {
    const char* const name = call.words.text_or(keyword, nullptr);
    mib_ulong id = 0;
    if (name == nullptr)
        return 0;
    if (!gpon_cli_copy_word(field, name, GPON_CLI_SHORT_NAME_MAX))
        return call.fail_name("%%Too long length of profile name%s", GPON_CLI_SHORT_NAME_MAX);
    if (ov_app_gpon_rm_traffic_getId(name, &id) == 0) {
        ov_refusal_because("no traffic profile \"%s\"", name);
        return call.fail("%%No profile name %s", KAVO_CLI_BAD_INPUT);
    }
    mib_flag_set(flags, column);
    return 0;
}

// What the line names beside the GEM port and its T-CONT; 0, or the result of a refusal.
int take_words(const CliCall& call, Gem& row, MIB_Flags_t& flags) {
    using namespace sGemTable_column;
    if (call.words.has("name")) {
        if (!gpon_cli_copy_word(row.sGemTableGemName, call.words.text("name"), GPON_CLI_SHORT_NAME_MAX))
            return call.fail_name("%%Bad GEM name length%s", GPON_CLI_SHORT_NAME_MAX);
        mib_flag_set(flags, sGemTableGemName);
    }
    if (call.words.has("queue")) {
        row.sGemTableUpQueueMapID = call.words.number<mib_ulong>("queue");
        mib_flag_set(flags, sGemTableUpQueueMapID);
    }
    if (const int refusal =
            take_traffic_profile(call, "gem-car", row.sGemTableUpTrafficName, sGemTableUpTrafficName, flags);
        refusal != 0)
        return refusal;
    return take_traffic_profile(call, "gem-car-ds", row.sGemTableDownTrafficName, sGemTableDownTrafficName,
                                flags);
}

int add_gemport(CliCall& call) {
    Gem row = gem_of(call);
    row.sGemTableTcontID = call.words.number<mib_ulong>("tcont");
    MIB_Flags_t flags = gpon_cli_columns({sGemTable_column::sGemTableTcontID});
    if (const int refusal = take_words(call, row, flags); refusal != 0)
        return refusal;
    if (ov_app_gpon_gemport_add(&row, &flags, 1) == OV_GPON_RET_OK)
        return 0;
    return call.fail_of("%%Faild to add GEM: %d%s", row.gemID);
}

// The system's names for the forms of the command; what a line names tells them apart.
constexpr auto* ov_gpon_add_gemport_cli = add_gemport;
constexpr auto* ov_gpon_add_gemport_map_queue_cli = add_gemport;
constexpr auto* ov_gpon_add_gemport_with_name_map_queue_cli = add_gemport;
constexpr auto* ov_gpon_add_gemport_car_cli = add_gemport;
constexpr auto* ov_gpon_add_gemport_car_ds_cli = add_gemport;
constexpr auto* ov_gpon_add_gemport_car_both_cli = add_gemport;
constexpr auto* ov_gpon_add_gemport_car_with_name_cli = add_gemport;
constexpr auto* ov_gpon_add_gemport_car_ds_with_name_cli = add_gemport;
constexpr auto* ov_gpon_add_gemport_car_both_with_name_cli = add_gemport;

int ov_gpon_del_gemport_cli(CliCall& call) {
    Gem row = gem_of(call);
    if (ov_app_gpon_gemport_del(&row) == OV_GPON_RET_OK)
        return 0;
    return call.fail_of("%%Faild to delete GEM: %d%s", row.gemID);
}

using namespace cli_objects;
using namespace sGemTable_column;
const CliCommand onu_tcont_cmds[] = {
#include "commands/onu_tcont.def"
};

} // namespace

void gpon_onu_tcont_cli_init() {
    cli_install(onu_tcont_cmds);
}
