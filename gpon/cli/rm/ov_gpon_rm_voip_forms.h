// What the words of the commands of telephony say of their rows.
#pragma once

#include <string>

#include "cli_row_forms.h"

// SIP agents: rows of sRmVoipSipAgentConfigTable.
const CliRowForms& gpon_rm_sip_agent_forms();
// SIP users of telephones: rows of sRmVoipSipUserDataTable.
const CliRowForms& gpon_rm_sip_user_forms();

// Whether "remote onu" and this text is another command's beginning, so that the text can't be that of
// "remote onu .CMD".
bool gpon_rm_is_onu_command(const std::string& text);
