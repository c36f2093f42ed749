// Multicast at an ONU's UNIs.
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_app_gpon_rmmulticast.h"
#include "ov_gpon_rm_cli.h"
#include "sRmUniStatusTable.h"

namespace {

using namespace cli_objects;
using namespace sRmMulticastTable_column;
using namespace sRmUniStatusTable_column;
using Multicast = ov_sRmMulticastTable_attr_t;

// What is done with the tag, and the VLAN that this takes.
struct TagAction {
    mib_long action;
    mib_long vlan;
};

TagAction action_of(const CliWords& words) {
    if (words.has("xlate"))
        return {SRMMULTICASTTABLEUPVLANACTION_XLATE, words.number("xlate")};
    if (words.has("add"))
        return {SRMMULTICASTTABLEUPVLANACTION_ADD, words.number("add")};
    if (words.has("strip"))
        return {SRMMULTICASTTABLEUPVLANACTION_STRIP, 0};
    return {SRMMULTICASTTABLEUPVLANACTION_TRANSPARENT, 0};
}

MIB_Flags_t put_upstream(Multicast& row, mib_long vlan, const TagAction& tag) {
    row.sRmMulticastTableUpVlan = vlan;
    row.sRmMulticastTableUpPonVlan = tag.vlan;
    row.sRmMulticastTableUpVlanAction = tag.action;
    return gpon_cli_columns(
        {sRmMulticastTableUpVlan, sRmMulticastTableUpPonVlan, sRmMulticastTableUpVlanAction});
}

MIB_Flags_t put_downstream(Multicast& row, mib_long vlan, const TagAction& tag) {
    row.sRmMulticastTableDownVlan = vlan;
    row.sRmMulticastTableDownUniVlan = tag.vlan;
    row.sRmMulticastTableDownVlanAction = tag.action;
    return gpon_cli_columns(
        {sRmMulticastTableDownVlan, sRmMulticastTableDownUniVlan, sRmMulticastTableDownVlanAction});
}

// All forms of "(down|up) vlan".
int set_vlan(CliCall& call) {
    Multicast row;
    if (const int refusal = gpon_rm_uni_key(call, "ETHUNI", row); refusal != 0)
        return refusal;
    cli_tell_absent(rm_multicast, call, &row);
    const mib_long vlan = call.words.has("untag") ? 0 : call.words.number("vlan");
    const TagAction tag = action_of(call.words);
    MIB_Flags_t columns =
        call.words.has("up") ? put_upstream(row, vlan, tag) : put_downstream(row, vlan, tag);
    return ov_app_gpon_rmmulticast_edit(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to set multicast vlan%s");
}
constexpr auto* ov_rm_gpon_onu_mcast_vlan_cli = set_vlan;
constexpr auto* ov_rm_gpon_onu_mcast_downvlan_strip_cli = set_vlan;
constexpr auto* ov_rm_gpon_onu_mcast_upvlan_add_cli = set_vlan;
constexpr auto* ov_rm_gpon_onu_mcast_untag_vlan_cli = set_vlan;

const CliCommand rm_multicast_cmds[] = {
#include "commands/rm_multicast.def"
};

} // namespace

void gpon_rm_multicast_cli_init() {
    cli_install(rm_multicast_cmds);
}
