// The commands of ONUs; those of one ONU stand on the node of service profiles too, where they work on its
// template rows. Each init installs its theme; main thread, at start, behind the nodes.
#pragma once

#include "cli_call.h"
#include "gpon_cli.h"
#include "kavo_vty_object.h"
#include "ov_app_gpon_onu.h"

// A port's ONUs: added, changed, deleted.
void gpon_onu_life_cli_init();
void gpon_onu_batch_cli_init();
// What is shown of them.
void gpon_onu_show_cli_init();
// Why they aren't up, and the alarms that stand.
void gpon_onu_reason_cli_init();
void gpon_alarm_cli_init();
// Who provisioned themselves.
void gpon_onu_learnt_cli_init();
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
