// A table module for tests: the row life of a real one on a small record, with a record of its hook calls.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "mmg_access.h"

struct FakeRow {
    int32_t slot;
    int32_t port;
    int32_t value;  // column 2
    int32_t status; // column 3
    int32_t old_value;
    int32_t old_status;
};

inline constexpr unsigned FAKE_COLUMN_VALUE = 2;
inline constexpr unsigned FAKE_COLUMN_STATUS = 3;

constexpr MIB_Flags_t columns(std::initializer_list<unsigned> numbers) {
    MIB_Flags_t set{};
    for (unsigned number : numbers)
        mib_flag_set(set, number);
    return set;
}

struct FakeTableClass {
    MibHandler base; // first, so that the hooks' handler is the object
    int table;
    std::vector<std::string> hooks;
};

class FakeTable {
public:
    explicit FakeTable(int table) {
        MibHandler_ctor(&object.base);
        object.table = table;
        object.base.mibAccessStart = start;
        object.base.mibAccessFinish = finish;
        object.base.mibGetRowStatus = row_mode;
        control = ovraMib_RegisterSnmpHanlder(did(), nullptr, &object.base, 8, sizeof(FakeRow));
    }
    // The control record must not point at an object that is gone.
    ~FakeTable() {
        table_cntl[object.table].dataOper = nullptr;
        ReleaseMutex(table_cntl[object.table].pmutex);
        table_cntl[object.table].pmutex = nullptr;
    }
    FakeTable(const FakeTable&) = delete;
    FakeTable& operator=(const FakeTable&) = delete;

    MIBDID did() const { return mmg_table_did_getbyindex(object.table); }
    FakeRow* stored(int slot, int port) const {
        FakeRow key{slot, port, 0, 0, 0, 0};
        return static_cast<FakeRow*>(row_get(did(), &key));
    }
    char access(int type, FakeRow& row, MIB_Flags_t flags = mibDefFlags) const {
        return MibAccessHandle(type, 0, did(), &row, flags, 0);
    }
    // An active row, put in without any callback.
    void put(int slot, int port, int value) const {
        FakeRow row{slot, port, value, OVRA_ACTIVE, 0, OVRA_ACTIVE};
        row_add(did(), &row);
    }
    std::vector<std::string> take_hooks() { return std::exchange(object.hooks, {}); }

    FakeTableClass object;
    table_control_t* control;

private:
    static FakeTableClass* self(MibHandler* handler) { return reinterpret_cast<FakeTableClass*>(handler); }
    static MIBDID did_of(MibHandler* handler) { return mmg_table_did_getbyindex(self(handler)->table); }

    static char copy_out(void* stored, FakeRow& row) {
        if (stored == nullptr)
            return 0;
        row = *static_cast<FakeRow*>(stored);
        return 1;
    }

    static void merge(FakeRow& row, const FakeRow& stored, MIB_Flags_t flags) {
        FakeRow merged = stored;
        if (mib_flag_is_set(flags, FAKE_COLUMN_VALUE)) {
            merged.old_value = merged.value;
            merged.value = row.value;
        }
        if (mib_flag_is_set(flags, FAKE_COLUMN_STATUS)) {
            merged.old_status = merged.status;
            merged.status = row.status;
        }
        row = merged;
    }

    static char start_create(MIBDID did, FakeRow& row, int status) {
        FakeRow blank{row.slot, row.port, 0, status, 0, 0};
        row = *static_cast<FakeRow*>(row_add(did, &blank));
        return 1;
    }

    static char start_set(MIBDID did, FakeRow* stored, FakeRow& row, MIB_Flags_t flags) {
        bool creates = mib_flag_is_set(flags, FAKE_COLUMN_STATUS) &&
                       (row.status == OVRA_CREATEANDGO || row.status == OVRA_CREATEANDWAIT);
        if (creates == (stored != nullptr))
            return 0;
        if (creates) {
            FakeRow wanted = row;
            start_create(did, row, wanted.status);
            row.value = wanted.value;
            *static_cast<FakeRow*>(row_get(did, &row)) = row;
            return 1;
        }
        merge(row, *stored, flags);
        return 1;
    }

    static char start(MibHandler* handler, int type, void* buffer, MIB_Flags_t flags) {
        self(handler)->hooks.push_back("start " + std::to_string(type));
        MIBDID did = did_of(handler);
        FakeRow& row = *static_cast<FakeRow*>(buffer);
        auto* stored = static_cast<FakeRow*>(row_get(did, &row));
        switch (type) {
        case MIB_GET:
            return copy_out(stored, row);
        case MIB_GET_FUZZY:
            return copy_out(row_get_fuzzy(did, &row), row);
        case MIB_GETFIRST:
            return copy_out(get_table_head(did), row);
        case MIB_GETNEXT:
            return stored == nullptr ? 0 : copy_out(row_getNext(did, &row), row);
        case MIB_CREATEGO:
            return stored != nullptr ? 0 : start_create(did, row, OVRA_CREATEANDGO);
        case MIB_CREATEWAIT:
            return stored != nullptr ? 0 : start_create(did, row, OVRA_CREATEANDWAIT);
        case MIB_SET:
            return start_set(did, stored, row, flags);
        case MIB_DEL:
            if (copy_out(stored, row) == 0)
                return 0;
            row.old_status = row.status;
            row.status = OVRA_DESTROY;
            return 1;
        default:
            ADD_FAILURE() << "hook type " << type;
            return 0;
        }
    }

    static void finish(MibHandler* handler, char result, int type, void* buffer, MIB_Flags_t) {
        self(handler)->hooks.push_back("finish " + std::to_string(type) + " " + std::to_string(result));
        MIBDID did = did_of(handler);
        FakeRow& row = *static_cast<FakeRow*>(buffer);
        bool is_create = row.status == OVRA_CREATEANDGO || row.status == OVRA_CREATEANDWAIT;
        if (result == 0) {
            if (type >= MIB_CREATEGO && type <= MIB_SET && is_create)
                row_del(did, &row);
            return;
        }
        if (type >= MIB_CREATEGO && row.status == OVRA_DESTROY) {
            row_del(did, &row);
            return;
        }
        if (is_create) {
            row.old_status = row.status;
            row.status = row.status == OVRA_CREATEANDGO ? OVRA_ACTIVE : OVRA_NOTINSERVICE;
        }
        if (void* stored = row_get(did, &row))
            *static_cast<FakeRow*>(stored) = row;
    }

    static int row_mode(MibHandler*, void* buffer) {
        const FakeRow& row = *static_cast<FakeRow*>(buffer);
        if (row.status == OVRA_CREATEANDGO)
            return MODE_CRE;
        if (row.status == OVRA_ACTIVE)
            return row.old_status == OVRA_NOTINSERVICE ? MODE_CRE : MODE_CHG;
        if (row.status == OVRA_DESTROY && row.old_status == OVRA_ACTIVE)
            return MODE_DEL;
        return MODE_IDLE;
    }
};
