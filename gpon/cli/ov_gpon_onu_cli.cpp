// Settings of one ONU.
#include "ov_gpon_onu_cli.h"

#include <string>

#include "cli_command_rows.h"
#include "cli_objects.h"
#include "cli_themes.h"
#include "gpon_config_parts.h"

namespace {

using namespace cli_objects;
using namespace sOnuTable_column;

// "gpon-onu1/1:1", what an ONU is called that has no name of its own.
std::string default_name(const void* row) {
    const auto& onu = *static_cast<const ov_sOnuTable_attr_t*>(row);
    return "gpon-onu" + std::to_string(onu.slotID) + "/" + std::to_string(onu.portID) + ":" +
           std::to_string(onu.onuId);
}

const CliCommand onu_cmds[] = {
#include "commands/onu.def"
};

} // namespace

int ov_gpon_cli_onu_basic_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    if (onu.row == nullptr)
        return 0; // a service profile has none of these
    return cli_settings_print(vty, cli_objects::onu, onu.row, GPON_ONU_NODE);
}

void gpon_vty_onu_cli_init() {
    cli_install(onu_cmds);
    gpon_onu_tcont_cli_init();
    gpon_onu_srvport_cli_init();
    gpon_onu_qos_cli_init();
}
