// The types of actions: one line for each, with what it needs and what carries it out. A number without a
// line is an action that does nothing.
#pragma once

#include <cstddef>
#include <string>

#include "ov_app_gpon_action.h"

// ---- parameters --------------------------------------------------------------------------------------

inline constexpr int ACTION_PARAMETERS = 6;
inline constexpr size_t ACTION_PARAMETER_SIZE = sizeof ActionRow::sActionParam1; // with the terminator

// One of them, 1 to 6.
char* action_parameter(ActionRow& row, int number);
const char* action_parameter(const ActionRow& row, int number);
// Writes one, cut at `longest` bytes, with zeros behind it.
void action_parameter_set(ActionRow& row, int number, const char* text,
                          size_t longest = ACTION_PARAMETER_SIZE - 1);

// Sets of parameters.
constexpr unsigned action_parameters(auto... number) {
    return ((1u << number) | ... | 0u);
}

// ---- what carries an action out ----------------------------------------------------------------------

// Within the creation, on the loop.
enum class ActionEnd {
    DONE,
    FAILED,
    LATER, // somebody calls action_finished() when it is through
};
using action_now_t = ActionEnd (*)(ActionRow& row);

// By the worker, which has the row for itself. 0 or a code; a path that it has made it writes into parameter
// 6 and says so.
struct ActionWork {
    ActionRow row;
    bool has_path = false;
};
using action_work_t = int (*)(ActionWork& work);

struct ActionType {
    int number;
    const char* text;         // in log lines
    unsigned required;        // parameters that must be there
    action_now_t now;         // one of these two
    action_work_t work;       //
    const char* outcome_word; // "execute olt_snmp_action_... failed" or "success"; null for no such lines
};

// Null for a number that no action has.
const ActionType* action_type_find(int number);

// Whether all parameters that an action needs are there. One that may not stand in a command line is as good
// as missing.
bool action_has_required(const ActionType& type, const ActionRow& row);

// An action that was to be finished later has succeeded. The row is written by its key, if it is still there:
// status, and parameters 5 and 6 byte for byte. Main loop.
void action_finished(const ActionRow& row);

// ---- the functions of the table, by source -----------------------------------------------------------

// ov_app_gpon_action_system.cpp
ActionEnd action_save_config(ActionRow& row);
ActionEnd action_config_to_default(ActionRow& row);
ActionEnd action_reboot(ActionRow& row);
ActionEnd action_debug_level(ActionRow& row);
ActionEnd action_clear_port(ActionRow& row);
ActionEnd action_show_onu_versions(ActionRow& row);
ActionEnd action_delete_onu_versions(ActionRow& row);
// ov_app_gpon_action_onu.cpp
ActionEnd action_config_onus(ActionRow& row);
ActionEnd action_delete_onu_services(ActionRow& row);
// ov_app_gpon_action_transfer.cpp
int action_upload_pm(ActionWork& work);
int action_upload_config(ActionWork& work);
int action_download_config(ActionWork& work);
int action_upgrade(ActionWork& work);
int action_send_diagnostics(ActionWork& work);
int action_fetch_onu_version(ActionWork& work);
// ov_app_gpon_action_table.cpp
int action_upload_table(ActionWork& work);
// ov_app_gpon_action_station.cpp
int action_pack_pm(ActionWork& work);
int action_pack_config(ActionWork& work);
int action_pack_table(ActionWork& work);
int action_pack_log(ActionWork& work);
int action_pack_diagnostics(ActionWork& work);
int action_take_config(ActionWork& work);
int action_take_load(ActionWork& work);
int action_take_onu_version(ActionWork& work);
