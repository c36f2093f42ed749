#include "ov_gpon_olt_cli.h"

#include "cli_themes.h"
#include "ov_gpon_onu_cli.h"
#include "ov_gpon_upgrade_cli.h"

void gpon_vty_olt_cli_init() {
    gpon_port_cli_init();
    gpon_pon_protect_cli_init();
    gpon_onu_life_cli_init();
    gpon_onu_batch_cli_init();
    gpon_onu_show_cli_init();
    gpon_onu_reason_cli_init();
    gpon_onu_learnt_cli_init();
    gpon_alarm_cli_init();
    gpon_pm_cli_init();
    gpon_upgrade_cli_init();
}
