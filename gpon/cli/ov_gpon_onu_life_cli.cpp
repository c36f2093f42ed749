// ONUs of a PON port: added, changed, deleted.
#include "kavo_cmd_rows.h"
#include "onu_auth_forms.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_gpon_onu_cli.h"
#include "ov_refusal.h"

namespace {

using namespace sOnuTable_column;
using Onu = ov_sOnuTable_attr_t;

// A record with the index of an ONU of the session's port.
Onu onu_of_port(const struct vty* vty, const char* number) {
    Onu row = gpon_cli_onu_key<Onu>(vty);
    row.onuId = gpon_cli_number(number);
    return row;
}

int failed(struct vty* vty, const Onu& row, int rtn) {
    vty_out(vty, "add onu ponid = %u, onuid  %u failed , rtn=%d %s", static_cast<unsigned>(row.portID),
            static_cast<unsigned>(row.onuId), rtn, kavo_newline(vty));
    return KAVO_CLI_FAILED;
}

// ---- what an ONU is known by ----------------------------------------------------------------------------

bool take_credential(const OnuCredential& credential, const char* keyword, const char* word, Onu& row,
                     MIB_Flags_t& flags) {
    if (!gpon_cli_copy_word(row.*credential.text, word, credential.longest))
        return ov_refusal_because("%s takes at most %zu characters", keyword, credential.longest);
    mib_flag_set(flags, credential.column);
    return true;
}

// (sn|pw|loid) STRING [pw STRING]: the keyword, a text, and perhaps a second one. False for a form that there
// isn't, or a text too long.
bool take_auth(int argc, const char** argv, Onu& row, MIB_Flags_t& flags) {
    for (const OnuAuthForm& form : onu_auth_forms) {
        const int words = form.second.column == 0 ? 2 : 3;
        if (argc != words || argv[0][0] != form.keyword[0])
            continue;
        row.sOnuTableAuthMode = form.mode;
        mib_flag_set(flags, sOnuTableAuthMode);
        return take_credential(form.first, form.keyword, argv[1], row, flags) &&
               (words == 2 || take_credential(form.second, "pw", argv[2], row, flags));
    }
    return ov_refusal_because("an ONU is known by sn, pw, loid, sn with pw, or loid with pw");
}

// <1-128> TYPE and the authentication; the record tells whether TYPE is one, or the name of a service profile
// that the caller has looked up. 0, or the result of a refusal.
int parser_ov_gpon_onu_add_cmd_param(struct vty* vty, int argc, const char** argv, Onu& row,
                                     MIB_Flags_t& flags) {
    if (row.sOnuTableConfigMode == SONUTABLECONFIGMODE_TEMPLET) {
        mib_flag_set(flags, sOnuTableSrvProfileId);
        mib_flag_set(flags, sOnuTableConfigMode);
    } else {
        if (!gpon_cli_copy_word(row.sOnuTableOnuTypeProfileName, argv[1], GPON_CLI_SHORT_NAME_MAX))
            return gpon_cli_fail_name(vty, "%%Profile name length is too long%s", GPON_CLI_SHORT_NAME_MAX);
        mib_flag_set(flags, sOnuTableOnuTypeProfileName);
    }
    return take_auth(argc - 2, argv + 2, row, flags) ? 0 : gpon_cli_fail(vty, "%%Bad parameters%s");
}

// <1-128> and the authentication.
int parser_ov_gpon_onu_modify_cmd_param(struct vty* vty, int argc, const char** argv, Onu& row,
                                        MIB_Flags_t& flags) {
    return take_auth(argc - 1, argv + 1, row, flags) ? 0 : gpon_cli_fail(vty, "%%Bad parameters%s");
}

// ---- the commands ---------------------------------------------------------------------------------------

// Whether the session stands on a port; a line for one that doesn't.
bool on_port(struct vty* vty) {
    ov_ifindex_t ifindex = 0;
    ov_get_ifindex_from_vtysh(vty, &ifindex);
    if (ifindex != 0)
        return true;
    gpon_cli_fail(vty, "PON port not found%s");
    return false;
}

int add_onu(struct vty* vty, Onu& row, int argc, const char** argv) {
    MIB_Flags_t flags = {};
    if (const int refusal = parser_ov_gpon_onu_add_cmd_param(vty, argc, argv, row, flags); refusal != 0)
        return refusal;
    const int rtn = ov_app_gpon_onu_add(&row, &flags, 1);
    return rtn == OV_GPON_RET_OK ? 0 : failed(vty, row, rtn);
}

int ov_gpon_add_onu_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    if (!on_port(vty))
        return KAVO_CLI_FAILED;
    Onu row = onu_of_port(vty, argv[0]);
    row.sOnuTableConfigMode = SONUTABLECONFIGMODE_MANUALLY;
    return add_onu(vty, row, argc, argv);
}

int ov_gpon_add_onu_with_srv_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    if (!on_port(vty))
        return KAVO_CLI_FAILED;
    if (strlen(argv[1]) > GPON_CLI_PROFILE_NAME_MAX)
        return gpon_cli_fail_name(vty, "%%Bad profile name length%s", GPON_CLI_PROFILE_NAME_MAX);
    Onu row = onu_of_port(vty, argv[0]);
    row.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
    if (ov_app_gpon_onusrvprofile_getId(argv[1], &row.sOnuTableSrvProfileId) == 0) {
        ov_refusal_because("no service profile \"%s\"", argv[1]);
        return gpon_cli_fail(vty, "%%Onu srv profile not exist%s", KAVO_CLI_BAD_INPUT);
    }
    return add_onu(vty, row, argc, argv);
}

int ov_gpon_modify_onu_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    if (!on_port(vty))
        return KAVO_CLI_FAILED;
    Onu row = onu_of_port(vty, argv[0]);
    MIB_Flags_t flags = {};
    if (const int refusal = parser_ov_gpon_onu_modify_cmd_param(vty, argc, argv, row, flags); refusal != 0)
        return refusal;
    const int rtn = ov_app_gpon_onu_edit(&row, &flags);
    return rtn == OV_GPON_RET_OK ? 0 : failed(vty, row, rtn);
}

int ov_gpon_del_onu_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    Onu row = onu_of_port(vty, argv[0]);
    if (ov_app_gpon_onu_del(&row) == OV_GPON_RET_OK)
        return 0;
    return gpon_cli_fail(vty, "%%Failed to delete ONU%s");
}

const kavo_cmd_t onu_life_cmds[] = {
#include "commands/onu_life.def"
};

} // namespace

void gpon_onu_life_cli_init() {
    kavo_cmd_install(onu_life_cmds);
}
