#include "ov_app_gpon_action.h"

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "app_columns.h"
#include "app_rows.h"
#include "app_set_callback.h"
#include "ov_app_gpon_action_type.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ovra_thread.h"

unsigned char gpon_action_busy = 0;
sem_t gpon_action_sem;
int gpon_action_appid = 0;

namespace {

namespace column = sActionTable_column;

constexpr char LOG_TAG[] = "MMG";
constexpr unsigned WORKER_PRIORITY = 45;
constexpr unsigned WORKER_STACK = 0x20000; // bytes

// ---- one at a time -----------------------------------------------------------------------------------

// Takes the place of the one that is under way; false if there is one.
bool take_place() {
    sem_wait(&gpon_action_sem);
    const bool is_free = gpon_action_busy == 0;
    gpon_action_busy = 1;
    sem_post(&gpon_action_sem);
    return is_free;
}

void leave_place() {
    sem_wait(&gpon_action_sem);
    gpon_action_busy = 0;
    sem_post(&gpon_action_sem);
}

// ---- the end within the creation ---------------------------------------------------------------------

void end_failed(ActionRow& row) {
    row.sActionStatus = SACTIONSTATUS_FAIL;
    row.sActionRowStatus = OVRA_NOTINSERVICE;
    leave_place();
}

void end_done(ActionRow& row) {
    row.sActionStatus = SACTIONSTATUS_SUCCESS;
    row.sActionRowStatus = OVRA_ACTIVE;
    leave_place();
    OV_LOG_INFO(LOG_TAG, "action command %d finished", row.sActionType);
}

// The row is running, and the place is the worker's to leave.
void start_worker(ActionRow& row) {
    std::unique_ptr<ActionRow> copy(new (std::nothrow) ActionRow(row));
    pthread_t thread{};
    if (copy == nullptr || Ovra_ThreadCreate("actionTask", WORKER_PRIORITY, WORKER_STACK, action_task,
                                             copy.get(), &thread) != 0) {
        OV_LOG_ERROR(LOG_TAG, "create thread for actionTask FAIL");
        end_failed(row);
        return;
    }
    copy.release(); // NOLINT(bugprone-unused-return-value): the worker's from here on
}

void begin(const ActionType& type, ActionRow& row) {
    if (!action_has_required(type, row)) {
        OV_LOG_ERROR(LOG_TAG, "lack of parameter!");
        end_failed(row);
        return;
    }
    if (type.work != nullptr) {
        start_worker(row);
        return;
    }
    const ActionEnd end = type.now(row);
    if (end == ActionEnd::DONE)
        end_done(row);
    else if (end == ActionEnd::FAILED)
        end_failed(row);
}

// An action's text has blanks around it.
std::string name_of(const ActionRow& row) {
    const std::string text = ov_app_gpon_action_text(row.sActionType);
    const size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// An action that fails was refused to nobody: its row says so, and why is told by the door.
void tell_failure(OvRefusal& door, const ActionRow& row) {
    const std::string place = "sActionTable " + name_of(row);
    door.refuse(place.c_str(), "failed", {.what = "action " + name_of(row), .result = "", .object = ""});
}

void start(const ActionType& type, ActionRow& row) {
    OvRefusal door("action");
    begin(type, row);
    if (row.sActionStatus == SACTIONSTATUS_FAIL)
        tell_failure(door, row);
}

// ---- the worker's end --------------------------------------------------------------------------------

int carry_out(ActionWork& work) {
    const ActionType* type = action_type_find(work.row.sActionType);
    if (type == nullptr || type->work == nullptr)
        return 0;
    const int result = type->work(work);
    // The counters' upload says both when it fails.
    const bool odd = type->number == SACTIONTYPE_PMUPLOAD;
    if (type->outcome_word != nullptr && result != 0)
        OV_LOG_ERROR(LOG_TAG, "execute olt_snmp_action_%s %s", type->outcome_word, odd ? "fail" : "failed");
    if (type->outcome_word != nullptr && (result == 0 || odd))
        OV_LOG_DEBUG(LOG_TAG, "execute olt_snmp_action_%s success", type->outcome_word);
    return result;
}

// Writes into the row what the work has come to, if the row is still there. Its status goes along as it
// stands, but not while the creation is still being committed: a write of that would be another creation.
void write_outcome(const ActionWork& work) {
    ActionRow stored = work.row;
    if (!mib_access(MIB_GET_S, stored, mibDefFlags, gpon_action_appid))
        return;
    MIB_Flags_t columns = columns_of(column::sActionStatus);
    stored.sActionStatus = work.row.sActionStatus;
    if (stored.sActionRowStatus != OVRA_CREATEANDGO && stored.sActionRowStatus != OVRA_CREATEANDWAIT)
        mib_flag_set(columns, column::sActionRowStatus);
    if (work.has_path) {
        mib_flag_set(columns, column::sActionParam6);
        action_parameter_set(stored, 6, action_parameter(work.row, 6));
    }
    mib_access(MIB_SET_S, stored, columns, gpon_action_appid);
}

// ---- start-up ----------------------------------------------------------------------------------------

void end_cut_off_actions() {
    for (ActionRow& row : rows_copied(ActionRow{}, 0)) {
        if (row.sActionStatus != SACTIONSTATUS_RUNNING)
            continue;
        row.sActionStatus = SACTIONSTATUS_FAIL;
        mib_access(MIB_SET_S_N, row, columns_of(column::sActionStatus), gpon_action_appid);
    }
}

} // namespace

int ov_action_table_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    if (MibRowStatusGet(did, row) != MODE_CRE)
        return SET_ACCEPTED;
    if (!take_place()) {
        OV_LOG_WARN(LOG_TAG, "creation busy");
        return SET_ACCEPTED;
    }
    auto& action = *static_cast<ActionRow*>(row);
    action.sActionStatus = SACTIONSTATUS_RUNNING;
    if (const ActionType* type = action_type_find(action.sActionType))
        start(*type, action);
    else
        end_done(action);
    return SET_ACCEPTED;
}

void* action_task(void* taskArg) {
    const std::unique_ptr<ActionRow> row(static_cast<ActionRow*>(taskArg));
    if (row == nullptr) {
        OV_LOG_ERROR(LOG_TAG, "action_task get arg fail");
        return nullptr;
    }
    ActionWork work = {.row = *row};
    OvRefusal door("action");
    const int result = carry_out(work);
    const char* text = ov_app_gpon_action_text(row->sActionType);
    work.row.sActionStatus = result != 0 ? SACTIONSTATUS_FAIL : SACTIONSTATUS_SUCCESS;
    if (result != 0)
        OV_LOG_ERROR(LOG_TAG, "exec command %d:%s failure", row->sActionType, text);
    else
        OV_LOG_DEBUG(LOG_TAG, "exec command %d:%s success", row->sActionType, text);
    if (result != 0)
        tell_failure(door, *row);
    write_outcome(work);
    leave_place();
    return nullptr;
}

// Results of a copy to ONUs are bytes and no text, zeros in them: they go into the stored row as they are.
void action_finished(const ActionRow& row) {
    TableModule& table = table_of<ActionRow>::module();
    {
        const OvraMutexGuard lock(getMutex(table.did()));
        ActionRow key = row;
        if (auto* stored = static_cast<ActionRow*>(row_get(table.did(), &key))) {
            stored->sActionStatus = SACTIONSTATUS_SUCCESS;
            std::memcpy(stored->sActionParam5, row.sActionParam5, sizeof row.sActionParam5);
            std::memcpy(stored->sActionParam6, row.sActionParam6, sizeof row.sActionParam6);
            table.send_trap(stored);
            table.mark_changed();
        }
    }
    leave_place();
    OV_LOG_INFO(LOG_TAG, "action command %d finished", row.sActionType);
}

void ov_app_gpon_action_init() {
    sem_init(&gpon_action_sem, 0, 1);
    end_cut_off_actions();
    table_of<ActionRow>::module().set_whole_text([](const ColumnDesc& text, const void* row) {
        return static_cast<const ActionRow*>(row)->sActionType == SACTIONTYPE_MULTIONUSRVCFG &&
               (text.number == column::sActionParam5 || text.number == column::sActionParam6);
    });
    CallbackRegistration{"app_action", gpon_action_appid, "app_action register set call back error"}.add(
        SACTION, CALLBACK_SET, ov_action_table_set_callback, mibDefFlags);
}
