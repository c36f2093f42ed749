// The commands of QoS. Each init installs its theme; main thread, at start, behind the nodes.
#pragma once

#include <cstdint>

class CliCall;
struct vty;

// Profiles: made, deleted, shown, dumped.
void gpon_qos_profile_cli_init();
// What is bound to them.
void gpon_qos_binding_cli_init();
// The objects of ONUs, ports and service ports, as they are stored.
void gpon_qos_dump_cli_init();

// The profiles of a kind, one line each. 0.
int ov_app_dump_qos_queue_scheduler_profile_cfg_vtysh(struct vty* vty);
int ov_app_dump_cos_queue_map_profile_cfg_vtysh(struct vty* vty);
int ov_app_dump_cos_to_cos_map_profile_cfg_vtysh(struct vty* vty);
int ov_app_dump_qos_queue_traffic_profile_cfg_vtysh(struct vty* vty);

// States why a function of QoS answered so (OV_QOS_RET), where it didn't say it itself.
void gpon_qos_state_reason(int result);

// Ends a command that gives an ONU or a port a profile, or an ONU its weight: 0, or the result of a failure
// behind its text, which tells the number that wasn't taken.
int gpon_qos_onu_answer(const CliCall& call, int result, uint32_t number);
int gpon_qos_port_answer(const CliCall& call, int result, uint32_t number);
