// Services inside an ONU.
#include "cli_command_rows.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_gpon_rm_cli.h"

namespace {

using namespace sRmServiceTable_column;
using Service = ov_sRmServiceTable_attr_t;

// The type of service that a form of the command makes, by what the form has.
struct ServiceForm {
    bool vlan;
    bool cos;
    bool uni;
    mib_long type;
};
constexpr ServiceForm FORMS[] = {
    {false, false, false, SRMSERVICETABLERMSERVICETYPE_TRANSPARNT},
    {false, false, true, SRMSERVICETABLERMSERVICETYPE_TRANSPARNT_UNI},
    {true, false, false, SRMSERVICETABLERMSERVICETYPE_VLAN},
    {true, true, false, SRMSERVICETABLERMSERVICETYPE_VLAN_COS},
    {true, false, true, SRMSERVICETABLERMSERVICETYPE_VLAN_UNI},
    {true, true, true, SRMSERVICETABLERMSERVICETYPE_VLAN_COS_UNI},
};

mib_long type_of(const CliWords& words) {
    const bool vlan = words.has("vlan");
    const bool cos = words.has("cos");
    const bool uni = words.has("ETHUNI");
    for (const ServiceForm& form : FORMS)
        if (form.vlan == vlan && form.cos == cos && form.uni == uni)
            return form.type;
    return 0;
}

// The UNI of the line, if it has one. 0, or the result of a refusal, behind its text. A keyword whose number
// was forgotten reads as a UNI.
int take_uni(const CliCall& call, Service& row) {
    row.sRmServiceTableOnuPortType = OV_GPON_RMUNI_TYPE_NONE;
    if (!call.words.has("ETHUNI"))
        return 0;
    const std::string_view word = call.words.text("ETHUNI");
    if (word == "vlan" || word == "cos")
        ov_refusal_because("\"%s\" needs a number behind it", word.data());
    return gpon_rm_put_uni(call, "ETHUNI", row);
}

// All forms of "service". What a form hasn't is written too, so that nothing is left of a service that the
// number had before.
int add_service(CliCall& call) {
    auto row = gpon_cli_onu_key<Service>(call.vty);
    row.rmServiceID = call.words.number<mib_ulong>("service");
    if (const int refusal = take_uni(call, row); refusal != 0)
        return refusal;
    row.sRmServiceTableRmServiceType = type_of(call.words);
    row.sRmServiceTableGemId = call.words.number<mib_ulong>("gem");
    row.sRmServiceTableVlanId = call.words.number_or("vlan", 0);
    row.sRmServiceTablePriorityID = call.words.number_or("cos", 0);
    MIB_Flags_t columns =
        gpon_cli_columns({sRmServiceTableOnuCardID, sRmServiceTableOnuPortType, sRmServiceTableOnuPortID,
                          sRmServiceTableRmServiceType, sRmServiceTableGemId, sRmServiceTableVlanId,
                          sRmServiceTablePriorityID});
    if (ov_app_gpon_rmservice_add(&row, &columns) == OV_GPON_RET_OK)
        return 0;
    return call.fail_of("%%Failed to add remote service %u%s", row.rmServiceID);
}
constexpr auto* ov_gpon_onu_rm_service_gem_transparent_cli = add_service;
constexpr auto* ov_rm_gpon_onu_service_gem_vlan_cli = add_service;
constexpr auto* ov_rm_gpon_onu_service_gem_vlan_uni_cli = add_service;

int ov_rm_gpon_onu_no_service_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Service>(call.vty);
    row.rmServiceID = call.words.number<mib_ulong>("service");
    if (ov_app_gpon_rmservice_del(&row) == OV_GPON_RET_OK)
        return 0;
    return call.fail_of("%%Failed to delete remote service %u%s", row.rmServiceID);
}

const CliCommand rm_service_cmds[] = {
#include "commands/rm_service.def"
};

} // namespace

void gpon_rm_service_cli_init() {
    cli_install(rm_service_cmds);
}
