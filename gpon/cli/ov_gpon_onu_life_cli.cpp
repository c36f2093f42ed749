// ONUs of a PON port: added, changed, deleted.
#include <cstring>

#include "kavo_cmd_rows.h"
#include "onu_auth_forms.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_gpon_onu_cli.h"
#include "ov_refusal.h"

namespace {

using namespace sOnuTable_column;
using Onu = ov_sOnuTable_attr_t;

// A record with the index of an ONU of the session's port.
Onu onu_of_port(const CliCall& call, const char* keyword = "onu") {
    Onu row = gpon_cli_onu_key<Onu>(call.vty);
    row.onuId = call.words.number(keyword);
    return row;
}

int failed(const CliCall& call, const Onu& row, int rtn) {
    ov_refusal_note_code(rtn);
    call.line("add onu ponid = %u, onuid  %u failed , rtn=%d ", static_cast<unsigned>(row.portID),
              static_cast<unsigned>(row.onuId), rtn);
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

// Whether the line has the form: its keyword and a text, and the second text if it has one.
bool is_form(const CliWords& words, const OnuAuthForm& form) {
    const bool by_password = form.first.column == sOnuTablePw;
    const bool with_password = !by_password && words.has("pw");
    return words.has(form.keyword) && by_password == !(words.has("sn") || words.has("loid")) &&
           with_password == (form.second.column != 0);
}

// What an ONU is known by. False for a form that there isn't, or a text too long.
bool take_auth(const CliWords& words, Onu& row, MIB_Flags_t& flags) {
    for (const OnuAuthForm& form : ONU_AUTH_FORMS) {
        if (!is_form(words, form))
            continue;
        row.sOnuTableAuthMode = form.mode;
        mib_flag_set(flags, sOnuTableAuthMode);
        return take_credential(form.first, form.keyword, words.text(form.keyword), row, flags) &&
               (form.second.column == 0 || take_credential(form.second, "pw", words.text("pw"), row, flags));
    }
    return ov_refusal_because("an ONU is known by sn, pw, loid, sn with pw, or loid with pw");
}

// ---- the commands ---------------------------------------------------------------------------------------

// Whether the session stands on a port; a line for one that doesn't.
bool on_port(const CliCall& call) {
    ov_ifindex_t ifindex = 0;
    ov_get_ifindex_from_vtysh(call.vty, &ifindex);
    if (ifindex != 0)
        return true;
    call.fail("PON port not found%s");
    return false;
}

int add_onu(const CliCall& call, Onu& row, MIB_Flags_t& flags) {
    if (!take_auth(call.words, row, flags))
        return call.fail("%%Bad parameters%s");
    const int rtn = ov_app_gpon_onu_add(&row, &flags, 1);
    return rtn == OV_GPON_RET_OK ? 0 : failed(call, row, rtn);
}

int ov_gpon_add_onu_cli(CliCall& call) {
    if (!on_port(call))
        return KAVO_CLI_FAILED;
    Onu row = onu_of_port(call);
    row.sOnuTableConfigMode = SONUTABLECONFIGMODE_MANUALLY;
    if (!gpon_cli_copy_word(row.sOnuTableOnuTypeProfileName, call.words.text("type"),
                            GPON_CLI_SHORT_NAME_MAX))
        return call.fail_name("%%Profile name length is too long%s", GPON_CLI_SHORT_NAME_MAX);
    MIB_Flags_t flags = gpon_cli_columns({sOnuTableOnuTypeProfileName});
    return add_onu(call, row, flags);
}

int ov_gpon_add_onu_with_srv_cli(CliCall& call) {
    if (!on_port(call))
        return KAVO_CLI_FAILED;
    const char* const profile = call.words.text("profile");
    if (strlen(profile) > GPON_CLI_PROFILE_NAME_MAX)
        return call.fail_name("%%Bad profile name length%s", GPON_CLI_PROFILE_NAME_MAX);
    Onu row = onu_of_port(call);
    row.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
    if (ov_app_gpon_onusrvprofile_getId(profile, &row.sOnuTableSrvProfileId) == 0) {
        ov_refusal_because("no service profile \"%s\"", profile);
        return call.fail("%%Onu srv profile not exist%s", KAVO_CLI_BAD_INPUT);
    }
    MIB_Flags_t flags = gpon_cli_columns({sOnuTableSrvProfileId, sOnuTableConfigMode});
    return add_onu(call, row, flags);
}

int ov_gpon_modify_onu_cli(CliCall& call) {
    if (!on_port(call))
        return KAVO_CLI_FAILED;
    Onu row = onu_of_port(call, "modify");
    MIB_Flags_t flags = {};
    if (!take_auth(call.words, row, flags))
        return call.fail("%%Bad parameters%s");
    const int rtn = ov_app_gpon_onu_edit(&row, &flags);
    return rtn == OV_GPON_RET_OK ? 0 : failed(call, row, rtn);
}

int ov_gpon_del_onu_cli(CliCall& call) {
    Onu row = onu_of_port(call);
    if (ov_app_gpon_onu_del(&row) == OV_GPON_RET_OK)
        return 0;
    return call.fail("%%Failed to delete ONU%s");
}

const kavo_cmd_t onu_life_cmds[] = {
#include "commands/onu_life.def"
};

} // namespace

void gpon_onu_life_cli_init() {
    kavo_cmd_install(onu_life_cmds);
}
