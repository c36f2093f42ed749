// SET of managers, phase by phase.
//
//   RESERVE1   types and values are checked
//   RESERVE2   a row that is asked for is made, with row status 0
//   ACTION     new values go into the row, the present ones into its old_ shadows; the application decides
//   COMMIT     a row status of create or destroy is carried out
//   FREE       instead of ACTION: a row of RESERVE2 goes
//   UNDO       instead of COMMIT: the shadows go back
//
// All variables of one request are taken to be of one row, that of the last: the application is called once.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "ov_product_log.h"
#include "table_record.h"
#include "table_snmp.h"
#include "table_snmp_ahead.h"
#include "table_snmp_open.h"
#include "table_snmp_refusal.h"
#include "table_snmp_request.h"

namespace {

// A variable of a request list, with what it names. `column` is null for a number without a column that a
// manager may write.
struct Variable {
    netsnmp_request_info* request;
    const netsnmp_table_request_info* info;
    const ColumnDesc* column;
    const netsnmp_variable_list* value;

    void* row() const { return netsnmp_extract_iterator_context(request); }
};

// Calls visit(Variable) for each variable that is of the table, until it answers false. Whether all did.
template <typename Visit>
bool each_variable(const TableModule& module, netsnmp_request_info* requests, Visit visit) {
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (snmp_is_done(request))
            continue;
        const netsnmp_table_request_info* info = netsnmp_extract_table_info(request);
        if (info == nullptr)
            continue; // the library has refused it
        const ColumnDesc* column =
            info->colnum < MIB_FLAGS_COLUMNS ? module.desc().column(static_cast<int>(info->colnum)) : nullptr;
        if (column != nullptr && column->access < ColAccess::READ_WRITE)
            column = nullptr;
        if (snmp_destroys_nothing(request, column))
            continue;
        if (!visit(Variable{request, info, column, request->requestvb}))
            return false;
    }
    return true;
}

// The row is there for managers. One that has no row status yet was made by RESERVE2 of a set that isn't
// decided: the master repeats that phase when an answer is late, and the row counts as still to be made.
bool exists(const TableDesc& desc, const void* row) {
    return row != nullptr && row_status_of(desc, row) != OVRA_NONEXISTENT;
}

bool is_row_status(const Variable& variable) {
    return variable.column != nullptr && variable.column->type == ColType::ROWSTATUS;
}

// FREE also gets values that RESERVE1 has refused, of whatever type.
bool is_create(const Variable& variable) {
    return is_row_status(variable) && netsnmp_check_vb_int(variable.value) == SNMP_ERR_NOERROR &&
           (*variable.value->val.integer == OVRA_CREATEANDGO ||
            *variable.value->val.integer == OVRA_CREATEANDWAIT);
}

// ---- RESERVE1 ------------------------------------------------------------------------------------

// The library holds integers as `long`, of 4 or 8 bytes.
int check_unsigned(const ColumnDesc& column, const netsnmp_variable_list* value) {
    const int error = netsnmp_check_vb_type_and_size(value, ASN_UNSIGNED, sizeof(long));
    if (error != SNMP_ERR_NOERROR)
        return error;
    const auto number = static_cast<int64_t>(static_cast<u_long>(*value->val.integer));
    return number < column.min || number > column.max ? SNMP_ERR_WRONGVALUE : SNMP_ERR_NOERROR;
}

// Many managers can't write a Counter64, which is a type for reading (RFC 2578, 7.1.10).
int check_counter64(const netsnmp_variable_list* value) {
    return value->type == ASN_UNSIGNED
               ? netsnmp_check_vb_type_and_size(value, ASN_UNSIGNED, sizeof(long))
               : netsnmp_check_vb_type_and_size(value, ASN_COUNTER64, sizeof(counter64));
}

// A row that is on a line card stays in service until it is deleted. Parked, it would be made a second time
// by its next activation, and its delete would leave its object on the card.
bool parks_object_of_card(const TableDesc& desc, const void* row, const netsnmp_variable_list* status) {
    return desc.rows == RowUse::ON_CARDS && *status->val.integer == OVRA_NOTINSERVICE && row != nullptr &&
           row_status_of(desc, row) == OVRA_ACTIVE;
}

int check_row_status(const TableDesc& desc, const Variable& variable) {
    const int error =
        netsnmp_check_vb_rowstatus(variable.value, exists(desc, variable.row()) ? RS_ACTIVE : RS_NONEXISTENT);
    if (error == SNMP_ERR_NOERROR && parks_object_of_card(desc, variable.row(), variable.value))
        return SNMP_ERR_INCONSISTENTVALUE;
    return error;
}

int check(const TableModule& module, const Variable& variable) {
    const netsnmp_variable_list* value = variable.value;
    if (variable.column == nullptr || module.awaits_module())
        return SNMP_ERR_NOTWRITABLE;
    const ColumnDesc& column = *variable.column;
    switch (column.type) {
    case ColType::INT:
        return netsnmp_check_vb_int_range(value, static_cast<int>(column.min), static_cast<int>(column.max));
    case ColType::UINT:
        return check_unsigned(column, value);
    case ColType::COUNTER64:
        return check_counter64(value);
    case ColType::IPADDR:
        return netsnmp_check_vb_type_and_size(value, ASN_IPADDRESS, column.size);
    case ColType::TEXT:
    case ColType::BIN:
        return netsnmp_check_vb_type_and_max_size(value, ASN_OCTET_STR, column.limit);
    case ColType::ROWSTATUS:
        return check_row_status(module.desc(), variable);
    }
    return SNMP_ERR_NOTWRITABLE;
}

void reserve1(TableModule& module, netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    each_variable(module, requests, [&](const Variable& variable) {
        const int error = check(module, variable);
        if (error != SNMP_ERR_NOERROR)
            netsnmp_set_request_error(reqinfo, variable.request, error);
        return error == SNMP_ERR_NOERROR;
    });
}

// ---- new values ----------------------------------------------------------------------------------

void put_bytes(const Variable& variable, void* row) {
    const ColumnDesc& column = *variable.column;
    char* to = record_bytes(row) + column.offset;
    const size_t length = std::min<size_t>(variable.value->val_len, column.limit);
    std::memset(to, 0, column.size);
    if (length != 0)
        std::memcpy(to, variable.value->val.string, length);
    if (column.type == ColType::TEXT)
        clear_behind_text(column, row);
}

uint64_t counter64_of(const netsnmp_variable_list* value) {
    if (value->type == ASN_UNSIGNED)
        return static_cast<uint32_t>(*value->val.integer);
    const counter64& counter = *value->val.counter64;
    return uint64_t{counter.high} << 32 | (counter.low & 0xFFFFFFFFu);
}

void put_value(const Variable& variable, void* row) {
    const ColumnDesc& column = *variable.column;
    switch (column.type) {
    case ColType::INT:
    case ColType::UINT:
    case ColType::ROWSTATUS:
        record_put(row, column.offset, static_cast<uint32_t>(*variable.value->val.integer));
        break;
    case ColType::COUNTER64:
        record_put(row, column.offset, counter64_of(variable.value));
        break;
    case ColType::IPADDR:
        std::memcpy(record_bytes(row) + column.offset, variable.value->val.string, column.size);
        break;
    case ColType::TEXT:
    case ColType::BIN:
        put_bytes(variable, row);
        break;
    }
}

// With the present value in its shadow.
void replace_value(const TableModule& module, const Variable& variable, void* row) {
    const ColumnDesc& column = *variable.column;
    std::memcpy(record_bytes(row) + column.old_offset, record_bytes(row) + column.offset, column.size);
    put_value(variable, row);
    if (is_create(variable))
        set_old_row_status(module.desc(), row, OVRA_NONEXISTENT);
}

// ---- RESERVE2 ------------------------------------------------------------------------------------

int make_row(TableModule& module, const Variable& variable) {
    if (void* row = variable.row())
        return exists(module.desc(), row) ? SNMP_ERR_INCONSISTENTVALUE : SNMP_ERR_NOERROR;
    SnmpRowKey key;
    void* row = snmp_row_key(module.desc(), *variable.info, key) ? module.create_entry(key.data()) : nullptr;
    if (row == nullptr)
        return SNMP_ERR_RESOURCEUNAVAILABLE;
    snmp_open_note(module, key, SnmpSetState::RESERVED, {});
    // To all variables of this row. In RESERVE1 this would crash on a variable that the library has refused.
    netsnmp_insert_iterator_context(variable.request, row);
    return SNMP_ERR_NOERROR;
}

// For an application that has something to do ahead of ACTION: the row as that is going to make it.
void keep_row_to_be(const TableModule& module, netsnmp_request_info* requests) {
    std::vector<char> row;
    const void* stored = nullptr;
    MIB_Flags_t columns{};
    each_variable(module, requests, [&](const Variable& variable) {
        if (variable.row() != stored) {
            stored = variable.row();
            row.assign(record_bytes(stored), record_bytes(stored) + module.desc().entry_size);
        }
        mib_flag_set(columns, variable.info->colnum);
        if (variable.column != nullptr)
            replace_value(module, variable, row.data());
        return true;
    });
    if (stored != nullptr)
        snmp_ahead_keep(module, std::move(row), columns);
}

void reserve2(TableModule& module, netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    if (module.desc().row_status->access != ColAccess::READ_CREATE)
        return;
    const bool made = each_variable(module, requests, [&](const Variable& variable) {
        const int error = is_create(variable) ? make_row(module, variable) : SNMP_ERR_NOERROR;
        if (error != SNMP_ERR_NOERROR)
            netsnmp_set_request_error(reqinfo, variable.request, error);
        return error == SNMP_ERR_NOERROR;
    });
    if (!made)
        return;
    // The order of the variables in a request means nothing: the row status may be the last.
    const bool all_there = each_variable(module, requests, [&](const Variable& variable) {
        if (variable.row() == nullptr)
            netsnmp_set_request_error(reqinfo, variable.request, SNMP_ERR_RESOURCEUNAVAILABLE);
        return variable.row() != nullptr;
    });
    if (all_there && snmp_ahead_is_wanted(module))
        keep_row_to_be(module, requests);
}

// ---- ACTION --------------------------------------------------------------------------------------

void log_value(const TableModule& module, const ColumnDesc& column, const void* row) {
    char index[TableModule::MAX_INDEX_TEXT];
    module.index_string(row, index, sizeof(index));
    const std::string text = TableModule::log_text(column, row);
    OV_LOG_INFO("SNMP", "Set %s %s:%s ", index, column.name, text.c_str());
}

void write_value(const TableModule& module, const Variable& variable) {
    replace_value(module, variable, variable.row());
    if (!is_row_status(variable))
        log_value(module, *variable.column, variable.row());
}

// The row that stands for a request in ACTION. It is looked up at each use: callbacks may remove it.
struct ActionRow {
    const TableModule& module;
    const netsnmp_table_request_info* info = nullptr; // of the last variable
    MIB_Flags_t flags{};

    void* find() const { return snmp_find_row(module, *info); }
    bool run(int chain) const {
        void* row = find();
        return row != nullptr && Run_MibCallbackFunc(0, module.did(), chain, row, flags) == 1;
    }
};

bool run_set_chain(const ActionRow& target) {
    char index[TableModule::MAX_INDEX_TEXT];
    target.module.index_string(target.find(), index, sizeof(index));
    const bool result = target.run(CALLBACK_SET);
    OV_LOG_INFO("SNMP", "Set %s result:%d ", index, result ? 1 : 0);
    return result;
}

// A row that came into service is a present one for the writes to come. Its row status may stand anywhere
// among the variables: they are all as if at once (RFC 3416, 4.2.5).
void note_activation(const ActionRow& target) {
    const TableDesc& desc = target.module.desc();
    void* row = target.find();
    if (row != nullptr && mib_flag_is_set(target.flags, desc.row_status->number) &&
        row_status_of(desc, row) == OVRA_ACTIVE && old_row_status_of(desc, row) == OVRA_NOTINSERVICE)
        set_old_row_status(desc, row, OVRA_ACTIVE);
}

// What the row holds is kept for an undo.
void keep_row(TableModule& module, const Variable& variable) {
    SnmpRowKey key;
    if (snmp_row_key(module.desc(), *variable.info, key))
        snmp_open_keep(module, key, variable.row());
}

// For an undo, and for the case that the master goes away before the next phase.
void note_state(TableModule& module, netsnmp_request_info* requests, SnmpSetState state,
                const MIB_Flags_t& columns) {
    each_variable(module, requests, [&](const Variable& variable) {
        SnmpRowKey key;
        if (snmp_row_key(module.desc(), *variable.info, key))
            snmp_open_note(module, key, state, columns);
        return true;
    });
}

void action(TableModule& module, netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    const bool complete = each_variable(module, requests, [&](const Variable& variable) {
        if (variable.row() == nullptr)
            netsnmp_set_request_error(reqinfo, variable.request, SNMP_ERR_RESOURCEUNAVAILABLE);
        return variable.row() != nullptr;
    });
    if (!complete)
        return; // a row has gone since RESERVE2; nothing is written
    ActionRow target{module};
    each_variable(module, requests, [&](const Variable& variable) {
        keep_row(module, variable);
        mib_flag_set(target.flags, variable.info->colnum);
        target.info = variable.info;
        if (variable.column != nullptr)
            write_value(module, variable);
        return true;
    });
    if (target.info == nullptr)
        return;
    const bool accepted = target.run(CALLBACK_CHECK) && run_set_chain(target);
    note_state(module, requests, accepted ? SnmpSetState::ACCEPTED : SnmpSetState::REFUSED, target.flags);
    if (!accepted) {
        snmp_refuse_row(module, reqinfo, requests, SNMP_ERR_BADVALUE);
        return;
    }
    if (void* row = target.find())
        module.send_trap(row);
    note_activation(target);
}

// ---- COMMIT, FREE, UNDO --------------------------------------------------------------------------

void remove_row(TableModule& module, netsnmp_request_info* requests, void* row) {
    snmp_detach_row(requests, row); // later variables shall not touch it
    module.remove_entry(row);
}

void commit_row_status(TableModule& module, netsnmp_request_info* requests, const Variable& variable) {
    const TableDesc& desc = module.desc();
    void* row = variable.row();
    if (row == nullptr)
        return;
    switch (*variable.value->val.integer) {
    case OVRA_CREATEANDWAIT:
        set_old_row_status(desc, row, row_status_of(desc, row));
        set_row_status(desc, row, OVRA_NOTINSERVICE);
        break;
    case OVRA_CREATEANDGO:
        set_old_row_status(desc, row, row_status_of(desc, row));
        set_row_status(desc, row, OVRA_ACTIVE);
        break;
    case OVRA_DESTROY:
        remove_row(module, requests, row);
        break;
    default:
        break;
    }
}

void commit(TableModule& module, netsnmp_request_info* requests) {
    each_variable(module, requests, [&](const Variable& variable) {
        if (is_row_status(variable))
            commit_row_status(module, requests, variable);
        return true;
    });
    module.mark_changed();
}

// A row that went through COMMIT has one of the two statuses, and stays.
bool is_committed(const TableDesc& desc, const void* row) {
    const int32_t status = row_status_of(desc, row);
    return status == OVRA_ACTIVE || status == OVRA_NOTINSERVICE;
}

void free_rows(TableModule& module, netsnmp_request_info* requests) {
    each_variable(module, requests, [&](const Variable& variable) {
        void* row = variable.row();
        if (row != nullptr && is_create(variable) && !is_committed(module.desc(), row))
            remove_row(module, requests, row);
        return true;
    });
}

void undo(TableModule& module, netsnmp_request_info* requests) {
    each_variable(module, requests, [&](const Variable& variable) {
        void* row = variable.row();
        SnmpRowKey key;
        if (row == nullptr || variable.column == nullptr)
            return true;
        if (is_create(variable))
            remove_row(module, requests, row);
        else if (snmp_row_key(module.desc(), *variable.info, key))
            snmp_open_take_back(module, key, row);
        return true;
    });
}

} // namespace

void snmp_serve_set(TableModule& module, netsnmp_agent_request_info* reqinfo,
                    netsnmp_request_info* requests) {
    switch (reqinfo->mode) {
    case MODE_SET_RESERVE1:
        reserve1(module, reqinfo, requests);
        break;
    case MODE_SET_RESERVE2:
        reserve2(module, reqinfo, requests);
        break;
    case MODE_SET_ACTION:
        action(module, reqinfo, requests);
        break;
    case MODE_SET_COMMIT:
        snmp_open_forget(module);
        commit(module, requests);
        break;
    case MODE_SET_FREE:
        snmp_open_forget(module);
        free_rows(module, requests);
        break;
    case MODE_SET_UNDO:
        undo(module, requests);
        snmp_open_forget(module);
        break;
    default:
        break;
    }
}
