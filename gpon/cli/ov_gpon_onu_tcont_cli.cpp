// T-CONTs and GEM ports of an ONU, or of a service profile.
#include "ov_app_gpon_tcont.h"

#include "kavo_cmd_rows.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_rm_traffic.h"
#include "ov_gpon_onu_cli.h"
#include "ov_refusal.h"

namespace {

using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;

// ---- T-CONTs -------------------------------------------------------------------------------------------

Tcont tcont_of(const struct vty* vty, const char* number) {
    Tcont row = gpon_cli_onu_key<Tcont>(vty);
    row.tcontId = static_cast<mib_ulong>(gpon_cli_number(number));
    return row;
}

// <1-8> PROFILE [NAME]
int ov_gpon_add_tcont_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    using namespace sTcontTable_column;
    Tcont row = tcont_of(vty, argv[0]);
    MIB_Flags_t flags = gpon_cli_columns({sTcontTableBwProfileName});
    if (!gpon_cli_copy_word(row.sTcontTableBwProfileName, argv[1], GPON_CLI_PROFILE_NAME_MAX))
        return gpon_cli_fail_name(vty, "%%Bad profile name length%s", GPON_CLI_PROFILE_NAME_MAX);
    if (argc > 2) {
        if (!gpon_cli_copy_word(row.sTcontTableTcontName, argv[2], GPON_CLI_SHORT_NAME_MAX))
            return gpon_cli_fail_name(vty, "%%Bad name length%s", GPON_CLI_SHORT_NAME_MAX);
        mib_flag_set(flags, sTcontTableTcontName);
    }
    if (ov_app_gpon_tcont_add(&row, &flags, 1) == OV_GPON_RET_OK)
        return 0;
    return gpon_cli_fail_of(vty, "%%Failed to create tcont:%d%s", static_cast<mib_long>(row.tcontId));
}

int ov_gpon_del_tcont_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    Tcont row = tcont_of(vty, argv[0]);
    if (ov_app_gpon_tcont_del(&row) == OV_GPON_RET_OK)
        return 0;
    return gpon_cli_fail_of(vty, "%%Failed to delete tcont:%d%s", static_cast<mib_long>(row.tcontId));
}

// ---- GEM ports ------------------------------------------------------------------------------------------

Gem gem_of(const struct vty* vty, const char* number) {
    Gem row = gpon_cli_onu_key<Gem>(vty);
    row.gemID = static_cast<mib_ulong>(gpon_cli_number(number));
    return row;
}

// What a form names beside the GEM port and its T-CONT, null for what it doesn't.
struct GemWords {
    const char* name = nullptr;
    const char* queue = nullptr;
    const char* upstream = nullptr;   // traffic profile
    const char* downstream = nullptr; // the same
};

// A traffic profile into its column; 0, or the result of a refusal.
template <size_t Size>
int take_traffic_profile(struct vty* vty, const char* name, char (&field)[Size], unsigned column,
                         MIB_Flags_t& flags) {
    mib_ulong id = 0;
    if (name == nullptr)
        return 0;
    if (!gpon_cli_copy_word(field, name, GPON_CLI_SHORT_NAME_MAX))
        return gpon_cli_fail_name(vty, "%%Too long length of profile name%s", GPON_CLI_SHORT_NAME_MAX);
    if (ov_app_gpon_rm_traffic_getId(name, &id) == 0) {
        ov_refusal_because("no traffic profile \"%s\"", name);
        return gpon_cli_fail(vty, "%%No profile name %s", KAVO_CLI_BAD_INPUT);
    }
    mib_flag_set(flags, column);
    return 0;
}

int take_words(struct vty* vty, const GemWords& words, Gem& row, MIB_Flags_t& flags) {
    using namespace sGemTable_column;
    if (words.name != nullptr) {
        if (!gpon_cli_copy_word(row.sGemTableGemName, words.name, GPON_CLI_SHORT_NAME_MAX))
            return gpon_cli_fail_name(vty, "%%Bad GEM name length%s", GPON_CLI_SHORT_NAME_MAX);
        mib_flag_set(flags, sGemTableGemName);
    }
    if (words.queue != nullptr) {
        row.sGemTableUpQueueMapID = static_cast<mib_ulong>(gpon_cli_number(words.queue));
        mib_flag_set(flags, sGemTableUpQueueMapID);
    }
    if (const int refusal = take_traffic_profile(vty, words.upstream, row.sGemTableUpTrafficName,
                                                 sGemTableUpTrafficName, flags);
        refusal != 0)
        return refusal;
    return take_traffic_profile(vty, words.downstream, row.sGemTableDownTrafficName, sGemTableDownTrafficName,
                                flags);
}

// argv begins with the GEM port and the T-CONT.
int add_gem(struct vty* vty, const char** argv, const GemWords& words) {
    Gem row = gem_of(vty, argv[0]);
    row.sGemTableTcontID = static_cast<mib_ulong>(gpon_cli_number(argv[1]));
    MIB_Flags_t flags = gpon_cli_columns({sGemTable_column::sGemTableTcontID});
    if (const int refusal = take_words(vty, words, row, flags); refusal != 0)
        return refusal;
    if (ov_app_gpon_gemport_add(&row, &flags, 1) == OV_GPON_RET_OK)
        return 0;
    return gpon_cli_fail_of(vty, "%%Faild to add GEM: %d%s", static_cast<mib_long>(row.gemID));
}

int ov_gpon_add_gemport_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    return add_gem(vty, argv, {.name = argc > 2 ? argv[2] : nullptr});
}
int ov_gpon_add_gemport_map_queue_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                      const char** argv) {
    return add_gem(vty, argv, {.queue = argv[2]});
}
int ov_gpon_add_gemport_with_name_map_queue_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                                const char** argv) {
    return add_gem(vty, argv, {.name = argv[2], .queue = argv[3]});
}
int ov_gpon_add_gemport_car_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                const char** argv) {
    return add_gem(vty, argv, {.upstream = argv[2]});
}
int ov_gpon_add_gemport_car_ds_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                   const char** argv) {
    return add_gem(vty, argv, {.downstream = argv[2]});
}
int ov_gpon_add_gemport_car_both_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                     const char** argv) {
    return add_gem(vty, argv, {.upstream = argv[2], .downstream = argv[3]});
}
int ov_gpon_add_gemport_car_with_name_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                          const char** argv) {
    return add_gem(vty, argv, {.name = argv[2], .upstream = argv[3]});
}
int ov_gpon_add_gemport_car_ds_with_name_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                             const char** argv) {
    return add_gem(vty, argv, {.name = argv[2], .downstream = argv[3]});
}
int ov_gpon_add_gemport_car_both_with_name_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                               const char** argv) {
    return add_gem(vty, argv, {.name = argv[2], .upstream = argv[3], .downstream = argv[4]});
}

int ov_gpon_del_gemport_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    Gem row = gem_of(vty, argv[0]);
    if (ov_app_gpon_gemport_del(&row) == OV_GPON_RET_OK)
        return 0;
    return gpon_cli_fail_of(vty, "%%Faild to delete GEM: %d%s", static_cast<mib_long>(row.gemID));
}

int ov_gem_aes_encryption_ctrl_config_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                          const char** argv) {
    Gem row = gem_of(vty, argv[0]);
    row.sGemTableIfEnableEncryption = gpon_cli_is_enable(argv[1]) ? 1 : 0;
    MIB_Flags_t flags = gpon_cli_columns({sGemTable_column::sGemTableIfEnableEncryption});
    if (ov_app_gpon_gemport_edit(&row, &flags) == OV_GPON_RET_OK)
        return 0;
    vty_out(vty, "%%Failed to set gemport encryption %s%s", argv[1], kavo_newline(vty));
    return KAVO_CLI_FAILED;
}

int ov_gem_performace_statistic_tca_report_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                               const char** argv) {
    Gem row = gem_of(vty, argv[0]);
    row.sGemTablePmEnable = gpon_cli_is_enable(argv[1]) ? 1 : 0;
    MIB_Flags_t flags = gpon_cli_columns({sGemTable_column::sGemTablePmEnable});
    if (ov_app_gpon_gemport_edit(&row, &flags) == OV_GPON_RET_OK)
        return 0;
    return gpon_cli_fail(vty, "%%Failed to set gemport pm %s");
}

const kavo_cmd_t onu_tcont_cmds[] = {
#include "commands/onu_tcont.def"
};

} // namespace

void gpon_onu_tcont_cli_init() {
    kavo_cmd_install(onu_tcont_cmds);
}
