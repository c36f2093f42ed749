// Service profiles of ONUs. The commands of one ONU stand on the profile's node too, where they work on its
// template rows.
#include <cstdlib>
#include <cstring>

#include "app_rows.h"
#include "gpon_cli.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "kavo_vty_object.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_gpon_profile_cli.h"
#include "ov_ifindex.h"
#include "ov_refusal.h"

namespace {

int enter_profile(struct vty* vty, mib_ulong profile_id) {
    vty->node = ONU_SRV_PROFILE_NODE;
    kavo_vty_set_index(vty, onu_ifindex(GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, profile_id));
    return 0;
}

const ov_sOnuSrvProfileTable_attr_t* find_profile(mib_ulong profile_id) {
    ov_sOnuSrvProfileTable_attr_t key = {};
    key.onuSrvProfileId = profile_id;
    return find_row(key);
}

// An id that exists with the same type is entered, so that a profile can be
// changed and a saved configuration replayed over itself; with another type it is taken.
int ov_onu_srv_profile_cli(CliCall& call) {
    ov_sOnuSrvProfileTable_attr_t row = {};
    row.onuSrvProfileId = call.words.number<mib_ulong>("profile-id");
    if (!gpon_cli_copy_word(row.sOnuTypeProfileName, call.words.text("onu-type"), GPON_CLI_SHORT_NAME_MAX))
        return call.fail_name("%%Bad profile name length%s", GPON_CLI_SHORT_NAME_MAX);
    int exists = 0;
    if (ov_gpon_onu_srv_profile_exist_check(&row, &exists) != OV_GPON_RET_OK) {
        ov_refusal_because("service profile %u is there with another ONU type",
                           static_cast<unsigned>(row.onuSrvProfileId));
        return call.fail("Onu srvprofile id exist%s", KAVO_CLI_BAD_INPUT);
    }
    if (exists != 0)
        return enter_profile(call.vty, row.onuSrvProfileId);

    mib_ulong type_id = 0;
    if (ov_app_gpon_onutype_getId(row.sOnuTypeProfileName, &type_id) == 0) {
        ov_refusal_because("no ONU type \"%s\"", row.sOnuTypeProfileName);
        return call.fail("Onu type profile name not exist%s", KAVO_CLI_BAD_INPUT);
    }
    MIB_Flags_t flags = gpon_cli_columns({sOnuSrvProfileTable_column::sOnuTypeProfileName});
    if (ov_app_gpon_onu_srvprofile_add(&row, &flags) != OV_GPON_RET_OK)
        return call.fail("mib add onu srv-profile failed%s", KAVO_CLI_BAD_INPUT);
    return enter_profile(call.vty, row.onuSrvProfileId);
}

int ov_onu_srv_profile_name_cli(CliCall& call) {
    ov_ifindex_t ifindex = 0;
    ov_get_ifindex_from_vtysh(call.vty, &ifindex);
    const mib_ulong profile_id = ov_ifindex_get_subport_id(ifindex);
    const char* const name = call.words.text("profile-name");
    if (strlen(name) > GPON_CLI_PROFILE_NAME_MAX)
        return call.fail_name("%%Bad profile name length%s", GPON_CLI_PROFILE_NAME_MAX);
    mib_ulong owner = 0;
    if (ov_app_gpon_onusrvprofile_getId(name, &owner) != 0 && owner != profile_id) {
        ov_refusal_because("service profile %u has the name \"%s\"", static_cast<unsigned>(owner), name);
        return call.fail("%%Profile name not valid%s", KAVO_CLI_BAD_INPUT);
    }
    if (ov_app_gpon_onusrvprofile_setname(profile_id, name) != OV_GPON_RET_OK)
        return call.fail("%%Profile name not valid%s");
    return 0;
}

int ov_no_onu_srv_profile_cli(CliCall& call) {
    const auto profile_id = call.words.number<mib_ulong>("profile-id");
    if (ov_app_gpon_onu_srvprofile_check(profile_id, nullptr) == 0) {
        ov_refusal_because("no service profile %s", call.words.text("profile-id"));
        return call.fail("%% onu-srvprofile not exist%s", KAVO_CLI_BAD_INPUT);
    }
    if (ov_gpon_onu_service_profile_del(profile_id) != OV_GPON_RET_OK)
        return call.fail("%%Failed to delete multi srvprofile%s");
    return 0;
}

constexpr kavo_column_t COLUMNS[] = {{"id", -4}, {"onu-srvprofile", -64}, {"onu type", -33}, {"onus", 6}};

kavo_table_t begin_table(struct vty* vty) {
    const kavo_table_t table(vty, COLUMNS);
    table.line("%s", "");
    table.heading();
    return table;
}

void print_profile(const kavo_table_t& table, const ov_sOnuSrvProfileTable_attr_t& row) {
    table.row({row.onuSrvProfileId, gpon_cli_shown(row.onuSrvProfileName),
               gpon_cli_shown(row.sOnuTypeProfileName), row.sOnuSrvProfileBindCount});
}

int ov_show_onu_srv_profile_cli(CliCall& call) {
    const auto* row = find_profile(call.words.number<mib_ulong>("onu-srvprofile"));
    if (row == nullptr) {
        ov_refusal_because("no service profile %s", call.words.text("onu-srvprofile"));
        return call.fail("%% onu-srvprofile not exist%s", KAVO_CLI_BAD_INPUT);
    }
    print_profile(begin_table(call.vty), *row);
    return 0;
}

int ov_show_onu_srv_profile_all_cli(CliCall& call) {
    const kavo_table_t table = begin_table(call.vty);
    int count = 0;
    for (const auto& row : all_rows<ov_sOnuSrvProfileTable_attr_t>()) {
        print_profile(table, row);
        count++;
    }
    table.line("total %d", count);
    return 0;
}

const kavo_cmd_t srvprofile_cmds[] = {
#include "commands/srvprofile.def"
};

} // namespace

void gpon_srvprofile_cli_init() {
    kavo_cmd_install(srvprofile_cmds);
}
