// What is saved of uplink ports.
#include "app_rows.h"
#include "cli_objects.h"
#include "gpon_config_parts.h"
#include "gpon_config_writer.h"
#include "kavo_cmd.h"
#include "kavo_if.h"
#include "kavo_vty_object.h"
#include "uplinkPmActTable.h"

namespace {

using Row = ov_uplinkPmActTable_attr_t;

// The port of a row: one that isn't there has no name, and no command can enter it.
const uif_t* port_of(const Row& row) {
    return uif_get_uplink_port_by_phy_info(static_cast<uint8_t>(row.shelfID),
                                           static_cast<uint8_t>(row.slotID),
                                           static_cast<uint16_t>(row.portID));
}

int print_port(struct vty* vty, const Row& row) {
    const uif_t* port = row.uplinkPmAction == UPLINKPMACTION_ENABLE ? port_of(row) : nullptr;
    if (port == nullptr || !gpon_config_port_wanted(vty, port->name))
        return 0;
    vty_out(vty, "interface %s%s", port->name, kavo_newline(vty));
    return 1 + cli_settings_print(vty, cli_objects::uplink_pm, &row, IF_NODE);
}

} // namespace

int ov_gpon_uplink_pm_cfg(struct vty* vty) {
    int lines = 0;
    for (const Row& row : all_rows<Row>())
        lines += print_port(vty, row);
    return lines;
}
