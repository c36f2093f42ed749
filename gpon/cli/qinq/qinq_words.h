// The words of the commands of QinQ rules: which field of a rule each fills, and the command that a rule is
// saved with. Event loop's thread.
#pragma once

#include <string>

#include "cli_call.h"
#include "ov_app_gpon_qinq.h"

// The bits and the criteria that a line names; a line without any means all traffic.
void qinq_read_criteria(const CliCall& call, ov_gpon_qinq_attr_t& rule);
// The service VLAN and its priority.
void qinq_read_service_vlan(const CliCall& call, ov_gpon_qinq_attr_t& rule);

// The command that adds a rule; empty for a rule that no command adds.
std::string qinq_line_of(const ov_gpon_qinq_attr_t& rule);

// For people: the VLANs of users, "100" or "100-199", the Ethernet type and the priorities; "-" for a
// criterion that the rule doesn't have.
std::string qinq_user_vlans(const ov_gpon_qinq_attr_t& rule);
std::string qinq_ether_type(const ov_gpon_qinq_attr_t& rule);
std::string qinq_user_cos(const ov_gpon_qinq_attr_t& rule);
std::string qinq_service_cos(const ov_gpon_qinq_attr_t& rule);
