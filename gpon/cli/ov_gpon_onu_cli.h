// The commands of ONUs; those of one ONU stand on the node of service profiles too, where they work on its
// template rows. Each init installs its theme; main thread, at start, behind the nodes.
#pragma once

#include "gpon_cli.h"
#include "kavo_vty_object.h"
#include "ov_app_gpon_onu.h"

// A port's ONUs: added, changed, deleted.
void gpon_onu_life_cli_init();
// What is shown of them.
void gpon_onu_show_cli_init();
// Why they aren't up, and the alarms that stand.
void gpon_onu_reason_cli_init();
void gpon_alarm_cli_init();
// T-CONTs and GEM ports of one ONU.
void gpon_onu_tcont_cli_init();
// Its service ports.
void gpon_onu_srvport_cli_init();
// Its quality of service.
void gpon_onu_qos_cli_init();

// A record with the index columns of the ONU that the session stands on, or of the template rows of its
// service profile, and nothing else.
template <typename Row>
Row gpon_cli_onu_key(const struct vty* vty) {
    ov_ifindex_t ifindex = 0;
    ov_get_ifindex_from_vtysh(vty, &ifindex);
    Row key = onu_key_of_ifindex<Row>(ifindex);
    key.shelfID = GPON_SHELF;
    return key;
}

// gpon_cli_fail for a text that tells the number of an object, its "%d".
int gpon_cli_fail_of(struct vty* vty, const char* text, mib_long number, int result = KAVO_CLI_FAILED);

// The index of the ONU that a command names. Prints a line and gives OV_IFINDEX_INVALID for a name that is
// none, or none of an ONU.
ov_ifindex_t gpon_cli_onu_by_name(struct vty* vty, const char* name);
