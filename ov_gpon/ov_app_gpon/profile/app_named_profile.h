// Profiles by name, one pattern for several tables: the operator names a profile and the row's id is the hash
// of the name, so that a name gives the same id on every chassis. A table states what sets it apart as data:
//
//     NamedProfileTable<ov_sBWProfileTable_attr_t> profiles({
//         .name = [](const ov_sBWProfileTable_attr_t& row) { return row.sBWProfileTableBwProfileName; },
//         .id = &ov_sBWProfileTable_attr_t::bwProfileId,
//         ...
//     });
//
// A manager chooses the index of a row that it makes, and may rename a row, so an id need not be its name's
// hash. Two names with the same hash are one row; nothing guards against that. Main thread.
#pragma once

#include <cstring>

#include "app_name_index.h"
#include "mmg_text.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_types.h"

// The id of a name.
inline mib_ulong profile_id_of(const char* name) {
    return static_cast<mib_ulong>(BKDRHash(name, static_cast<int>(std::strlen(name))));
}

template <typename Row>
class NamedProfileTable {
public:
    // Writes a line about a profile, with the id in the signed form that the lines have always had.
    using LogLine = void (*)(int id, const char* name);

    struct Description {
        const char* (*name)(const Row& row);
        mib_ulong Row::*id;
        mib_long Row::*row_status;
        unsigned id_column;
        unsigned name_column;
        unsigned row_status_column;
        // May this profile be added, as far as the table's own rules go that come before the question whether
        // it exists? 0 or the code that the add answers. Null: no such rules.
        int (*before_add)(const Row& row) = nullptr;
        // The same before a removal, for a profile that exists.
        int (*before_del)(const Row& row) = nullptr;
        LogLine exists;         // an add of a name that exists
        LogLine unknown;        // a removal of a name that doesn't
        const char* add_failed; // the table refused
        const char* del_failed;
    };

    explicit NamedProfileTable(const Description& description)
        : table_(description), by_name_(description.name) {}

    // The row of a name, null for none; valid until it is deleted.
    const Row* find(const char* name) { return name ? by_name_.find(name) : nullptr; }

    // The id of a name; 1 when there is such a profile, else 0 and `id` stays.
    char get_id(const char* name, mib_ulong* id) {
        const Row* row = find(name);
        if (!row || !id)
            return 0;
        *id = row->*table_.id;
        return 1;
    }

    // Another row, which has the name of this one under another id; null for none. For checks of a row that
    // is being made, which stands in the table already.
    const Row* other_of_same_name(const Row& row) const {
        for (const Row& other : all_rows<Row>())
            if (std::strcmp(table_.name(other), table_.name(row)) == 0 && other.*table_.id != row.*table_.id)
                return &other;
        return nullptr;
    }

    // How many profiles there are.
    int number() const {
        int rows = 0;
        for ([[maybe_unused]] const Row& row : all_rows<Row>())
            ++rows;
        return rows;
    }
    // How many there are beside this one, which may stand in the table already.
    int others_of(const Row& row) const {
        int others = 0;
        for (const Row& other : all_rows<Row>())
            others += other.*table_.id != row.*table_.id ? 1 : 0;
        return others;
    }

    // Makes a row with the columns in `flag`, to which id and row status are added, and the same in `attr`.
    // 0; OV_GPON_RET_BAD_PARAM behind a log line; what before_add answers.
    int add(Row* attr, MIB_Flags_t* flag) {
        if (!attr || !flag)
            return refuse("null pointer");
        if (!mib_flag_is_set(*flag, table_.name_column))
            return refuse("missing parameter");
        if (table_.before_add)
            if (const int code = table_.before_add(*attr))
                return code;
        if (const Row* existing = find(table_.name(*attr))) {
            ov_refusal_because("a profile \"%s\" exists already", table_.name(*attr));
            table_.exists(static_cast<int>(existing->*table_.id), table_.name(*attr));
            return OV_GPON_RET_BAD_PARAM;
        }
        attr->*table_.id = profile_id_of(table_.name(*attr));
        attr->*table_.row_status = OVRA_CREATEANDGO;
        mib_flag_set(*flag, table_.id_column);
        mib_flag_set(*flag, table_.row_status_column);
        return mib_access(MIB_SET, *attr, *flag) ? OV_GPON_RET_OK : refuse(table_.add_failed);
    }

    // Removes the row with the name in `attr`, which gets its id. 0; OV_GPON_RET_BAD_PARAM behind a log line;
    // what before_del answers.
    int del(Row* attr) {
        if (!attr)
            return refuse("null pointer");
        if (!get_id(table_.name(*attr), &(attr->*table_.id))) {
            ov_refusal_because("no profile \"%s\"", table_.name(*attr));
            table_.unknown(static_cast<int>(attr->*table_.id), table_.name(*attr));
            return OV_GPON_RET_BAD_PARAM;
        }
        if (table_.before_del)
            if (const int code = table_.before_del(*attr))
                return code;
        return mib_access(MIB_DEL, *attr) ? OV_GPON_RET_OK : refuse(table_.del_failed);
    }

private:
    static int refuse(const char* text) {
        OV_LOG_ERROR("MMG", "%s", text);
        return OV_GPON_RET_BAD_PARAM;
    }

    Description table_;
    NameIndex<Row> by_name_;
};
