// The hooks that MibAccessHandle runs around the callback chains.
//
// The row status life of a row:
//
//   absent         MIB_CREATEGO, or MIB_SET with 4      ACTIVE         old 4     MODE_CRE
//   absent         MIB_CREATEWAIT, or MIB_SET with 5    NOTINSERVICE   old 5     MODE_IDLE
//   NOTINSERVICE   MIB_SET with 1                       ACTIVE         old 1     MODE_CRE
//   NOTINSERVICE   MIB_SET without row status           NOTINSERVICE   kept      MODE_IDLE
//   ACTIVE         MIB_SET without row status           ACTIVE         kept      MODE_CHG
//   ACTIVE         MIB_SET with 2                       NOTINSERVICE   old 1     MODE_IDLE
//   ACTIVE         MIB_SET with 6, or MIB_DEL           absent                   MODE_DEL
//   NOTINSERVICE   MIB_SET with 6, or MIB_DEL           absent                   MODE_IDLE
//   present        MIB_SET with 4 or 5                  refused
#include <cstring>

#include "ov_refusal.h"
#include "table_module.h"
#include "table_record.h"

namespace {

bool is_create(int32_t status) {
    return status == OVRA_CREATEANDGO || status == OVRA_CREATEANDWAIT;
}

void copy_old_and_new(const ColumnDesc& column, char* row, const char* stored) {
    std::memcpy(row + column.offset, stored + column.offset, column.size);
    std::memcpy(row + column.old_offset, stored + column.old_offset, column.size);
}

} // namespace

// Numbers between the first and the last column that are neither a column nor an index column: nobody can
// write them.
MIB_Flags_t TableModule::find_missing_columns(const TableDesc& desc) {
    MIB_Flags_t missing{};
    for (int number = desc.columns.front().number; number <= desc.columns.back().number; ++number)
        mib_flag_set(missing, static_cast<unsigned>(number));
    for (const ColumnDesc& column : desc.columns)
        mib_flag_clear(missing, column.number);
    for (const ColumnDesc& column : desc.index)
        mib_flag_clear(missing, column.number);
    return missing;
}

void TableModule::copy_row(void* to, const void* from) const {
    // Stored rows come back as buffers: the notification path and the counter passes hand them around.
    if (to != from)
        std::memcpy(to, from, desc_.entry_size);
}

int TableModule::row_mode(const void* row) const {
    int32_t status = row_status_of(desc_, row);
    int32_t old_status = old_row_status_of(desc_, row);
    switch (status) {
    case OVRA_CREATEANDGO:
        return MODE_CRE;
    case OVRA_ACTIVE:
        return old_status == OVRA_NOTINSERVICE ? MODE_CRE : MODE_CHG;
    case OVRA_DESTROY:
        return old_status == OVRA_ACTIVE ? MODE_DEL : MODE_IDLE;
    default:
        return MODE_IDLE;
    }
}

bool TableModule::is_activation(const void* row) const {
    return row_status_of(desc_, row) == OVRA_ACTIVE && old_row_status_of(desc_, row) == OVRA_NOTINSERVICE;
}

// ---- start ---------------------------------------------------------------------------------------

char TableModule::access_start(int type, void* row, const MIB_Flags_t& flags) {
    if (row == nullptr)
        return 0;
    if (type == MIB_GETFIRST)
        return read_row(row, get_table_head(did()));
    if (type == MIB_GET_FUZZY)
        return read_row(row, row_get_fuzzy(did(), row));
    void* stored = row_get(did(), row);
    return stored != nullptr ? start_on_stored(type, row, stored, flags) : start_on_absent(type, row, flags);
}

char TableModule::read_row(void* row, const void* found) const {
    if (found == nullptr)
        return 0;
    copy_row(row, found);
    return 1;
}

char TableModule::start_on_stored(int type, void* row, void* stored, const MIB_Flags_t& flags) {
    switch (type) {
    case MIB_GET:
        return read_row(row, stored);
    case MIB_GETNEXT:
        return read_row(row, row_getNext(did(), row));
    case MIB_DEL:
        copy_row(row, stored);
        set_old_row_status(desc_, row, row_status_of(desc_, row));
        set_row_status(desc_, row, OVRA_DESTROY);
        return 1;
    case MIB_SET:
        if (mib_flag_is_set(flags, desc_.row_status->number) && is_create(row_status_of(desc_, row)))
            return ov_refusal_because("exists already");
        return merge(row, stored, flags);
    default:
        return ov_refusal_because("exists already"); // a create
    }
}

char TableModule::start_on_absent(int type, void* row, const MIB_Flags_t& flags) {
    switch (type) {
    case MIB_CREATEGO:
        return start_blank_row(row, OVRA_CREATEANDGO);
    case MIB_CREATEWAIT:
        return start_blank_row(row, OVRA_CREATEANDWAIT);
    case MIB_SET:
        return start_filled_row(row, flags);
    case MIB_DEL:
        return ov_refusal_because("doesn't exist");
    default:
        return 0; // a read, whose caller knows what that means
    }
}

char TableModule::start_blank_row(void* row, int32_t status) {
    void* stored = create_entry(row);
    if (stored == nullptr)
        return ov_refusal_because("no memory for another row");
    set_row_status(desc_, stored, status);
    copy_row(row, stored);
    return 1;
}

char TableModule::start_filled_row(void* row, const MIB_Flags_t& flags) {
    unsigned status_column = desc_.row_status->number;
    int32_t status = row_status_of(desc_, row);
    if (!mib_flag_is_set(flags, status_column) || !is_create(status))
        return ov_refusal_because("doesn't exist");
    void* stored = create_entry(row);
    if (stored == nullptr)
        return ov_refusal_because("no memory for another row");
    set_row_status(desc_, stored, status);
    MIB_Flags_t columns = flags;
    mib_flag_clear(columns, status_column);
    if (merge(row, stored, columns) == 0) {
        row_del(did(), stored);
        return 0;
    }
    copy_row(stored, row);
    return 1;
}

// Makes `row` what `stored` would become by writing the flagged columns of `row`, each with its present
// value in its shadow. Works in the caller's buffer: what isn't written comes from the stored row. 0 if a
// flag names a column that the table doesn't have.
char TableModule::merge(void* row, const void* stored, const MIB_Flags_t& flags) const {
    char* to = record_bytes(row);
    const char* from = record_bytes(stored);
    for (const ColumnDesc& column : desc_.columns) {
        if (mib_flag_is_set(flags, column.number)) {
            std::memcpy(to + column.old_offset, from + column.offset, column.size);
            if (column.type == ColType::TEXT)
                clear_behind_text(column, row);
        } else if (to != from) {
            copy_old_and_new(column, to, from);
        }
    }
    return MibFlagsCheck(flags, missing_columns_) == 0 || ov_refusal_because("has no such column") ? 1 : 0;
}

// ---- finish --------------------------------------------------------------------------------------

void TableModule::access_finish(char result, int type, void* row, const MIB_Flags_t& flags) {
    if (row == nullptr)
        return;
    switch (type) {
    case MIB_GET:
    case MIB_GET_FUZZY:
    case MIB_GETFIRST:
    case MIB_GETNEXT:
        if (result != 0)
            store_row(row); // with what the get callbacks wrote
        break;
    case MIB_CREATEGO:
        finish_blank_row(result, row, OVRA_CREATEANDGO, OVRA_ACTIVE);
        break;
    case MIB_CREATEWAIT:
        finish_blank_row(result, row, OVRA_CREATEANDWAIT, OVRA_NOTINSERVICE);
        break;
    case MIB_SET:
        if (mib_flag_is_set(flags, desc_.row_status->number))
            finish_set_of_status(result, row);
        else if (result != 0)
            commit(row);
        break;
    case MIB_DEL:
        if (result != 0)
            commit_delete(row);
        break;
    default:
        break;
    }
}

void TableModule::finish_blank_row(char result, void* row, int32_t old_status, int32_t status) {
    if (result == 0) {
        row_del(did(), row);
        return;
    }
    set_old_row_status(desc_, row, old_status);
    set_row_status(desc_, row, status);
    commit(row);
}

void TableModule::finish_set_of_status(char result, void* row) {
    int32_t status = row_status_of(desc_, row);
    if (result == 0) {
        if (is_create(status))
            row_del(did(), row);
        return;
    }
    if (status == OVRA_DESTROY) {
        commit_delete(row);
        return;
    }
    if (status == OVRA_CREATEANDWAIT) {
        set_old_row_status(desc_, row, OVRA_CREATEANDWAIT);
        set_row_status(desc_, row, OVRA_NOTINSERVICE);
    } else if (status == OVRA_CREATEANDGO) {
        set_old_row_status(desc_, row, OVRA_CREATEANDGO);
        set_row_status(desc_, row, OVRA_ACTIVE);
    } else if (status == OVRA_ACTIVE && old_row_status_of(desc_, row) == OVRA_NOTINSERVICE) {
        set_old_row_status(desc_, row, OVRA_ACTIVE); // activated: later writes are changes
    }
    commit(row);
}

void TableModule::store_row(void* row) {
    if (void* stored = row_get(did(), row))
        copy_row(stored, row);
}

void TableModule::commit(void* row) {
    store_row(row);
    send_trap(row);
    mark_changed();
}

void TableModule::commit_delete(void* row) {
    if (row_get(did(), row) == row) { // the stored row itself, which goes
        std::vector<std::byte> last(desc_.entry_size);
        std::memcpy(last.data(), row, last.size());
        row_del(did(), row);
        send_trap(last.data());
    } else {
        row_del(did(), row);
        send_trap(row);
    }
    mark_changed();
}

void TableModule::send_trap(void* row) const {
    if (functions_.send_trap != nullptr)
        functions_.send_trap(row);
}
