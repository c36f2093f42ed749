// Random operations on every table against a simple model of what a table is, and random rows through files.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "../support/log_tap.h"
#include "../support/temp_dir.h"
#include "../support/vector_less.h"
#include "all_modules.h"

namespace {

using Row = std::vector<char>;
using Key = std::vector<uint32_t>; // in the order of the index columns

class RandomRows {
public:
    RandomRows(const TableDesc& desc, unsigned seed) : desc_(desc), random_(seed) {}

    int number(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }

    // A row with a few different keys, so that operations meet each other's rows.
    Row row() {
        Row row(desc_.entry_size);
        for (const ColumnDesc& column : desc_.index) {
            uint32_t value = number(0, 9) == 0 ? random_() : static_cast<uint32_t>(number(0, 1));
            memcpy(row.data() + column.offset, &value, sizeof(value));
        }
        for (const ColumnDesc& column : desc_.columns)
            fill(column, row.data() + column.offset);
        return row;
    }
    MIB_Flags_t flags() {
        if (number(0, 3) == 0)
            return mibDefFlags;
        MIB_Flags_t flags{};
        for (int n = desc_.columns.front().number; n <= desc_.columns.back().number; ++n) {
            if (number(0, 1) == 0)
                mib_flag_set(flags, static_cast<unsigned>(n));
        }
        return flags;
    }

private:
    void fill(const ColumnDesc& column, char* value) {
        if (column.type == ColType::ROWSTATUS) {
            int32_t status = number(0, 7);
            memcpy(value, &status, sizeof(status));
        } else if (column.type == ColType::TEXT) {
            int length = number(0, column.limit);
            for (int i = 0; i < length; ++i)
                value[i] = static_cast<char>(number(' ', '~'));
        } else {
            // Small, great and extreme numbers in turn.
            int kind = number(0, 2);
            for (size_t i = 0; i < column.size; ++i)
                value[i] = static_cast<char>(kind == 0 ? 0 : kind == 1 ? 0xFF : number(0, 255));
        }
    }

    const TableDesc& desc_;
    std::mt19937 random_;
};

std::string name_of(const testing::TestParamInfo<TableModule*>& info) {
    return info.param->name();
}

class EveryTable : public testing::TestWithParam<TableModule*> {
protected:
    EveryTable() { module.initialize_table_data(); }

    std::vector<Row> rows() {
        std::vector<Row> rows;
        for (void* row = get_table_head(module.did()); row != nullptr; row = row_getNext(module.did(), row)) {
            const char* bytes = static_cast<const char*>(row);
            rows.emplace_back(bytes, bytes + desc.entry_size);
        }
        return rows;
    }
    // The part of a record in front of the shadows.
    size_t values_size() {
        size_t size = desc.entry_size;
        for (const ColumnDesc& column : desc.columns)
            size = std::min<size_t>(size, column.old_offset);
        return size;
    }

    LogTap log;
    TableModule& module = *GetParam();
    const TableDesc& desc = module.desc();
};

TEST_P(EveryTable, RandomRowsComeBackFromTheirFileEqualAndInOrder) {
    TempDir dir;
    ScopedEnv env(MMG_MIB_DATA_DIR_ENV, dir.path());
    RandomRows random(desc, 1);
    module.load();
    for (int i = 0; i < 100; ++i) {
        Row row = random.row();
        if (row_get(module.did(), row.data()) == nullptr)
            row_add(module.did(), row.data());
    }
    std::vector<Row> before = rows();
    module.save_file();
    std::string text = dir.read(std::string(module.name()) + ".mib");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), static_cast<ptrdiff_t>(before.size()));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\x1F'),
              static_cast<ptrdiff_t>(before.size() * (desc.index.size() + desc.columns.size())));

    module.initialize_table_data();
    module.load();
    std::vector<Row> after = rows();
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < before.size(); ++i)
        ASSERT_EQ(memcmp(after[i].data(), before[i].data(), values_size()), 0) << i;
    module.save_file();
    EXPECT_EQ(dir.read(std::string(module.name()) + ".mib"), text);
}

TEST_P(EveryTable, EveryColumnIsSetReadSavedAndReloaded) {
    TempDir dir;
    ScopedEnv env(MMG_MIB_DATA_DIR_ENV, dir.path());
    module.load();
    RandomRows random(desc, 2);
    Row key = random.row();
    auto put_status = [&](Row& row, int32_t status) {
        memcpy(row.data() + desc.row_status->offset, &status, sizeof(status));
    };
    put_status(key, OVRA_CREATEANDGO);
    ASSERT_EQ(MibAccessHandle(MIB_SET, 0, module.did(), key.data(), columns({desc.row_status->number}), 0),
              MIB_OK);
    for (const ColumnDesc& column : desc.columns) {
        if (column.type == ColType::ROWSTATUS)
            continue;
        Row written = random.row();
        memcpy(written.data(), key.data(), desc.key_size);
        const Row value(written.begin() + column.offset, written.begin() + column.offset + column.size);
        ASSERT_EQ(MibAccessHandle(MIB_SET, 0, module.did(), written.data(), columns({column.number}), 0),
                  MIB_OK);
        Row read(desc.entry_size);
        memcpy(read.data(), key.data(), desc.key_size);
        ASSERT_EQ(MibAccessHandle(MIB_GET, 0, module.did(), read.data(), mibDefFlags, 0), MIB_OK);
        EXPECT_EQ(memcmp(read.data() + column.offset, value.data(), column.size), 0) << column.name;
    }
    std::vector<Row> before = rows();
    module.save_file();
    module.initialize_table_data();
    module.load();
    ASSERT_EQ(rows().size(), 1u);
    EXPECT_EQ(memcmp(rows()[0].data(), before[0].data(), values_size()), 0);
}

// ---- the model ------------------------------------------------------------------------------------------

int g_check_answer, g_set_answer;
std::vector<int> g_modes;

int on_check(MIBDID, void*, MIB_Flags_t) {
    return g_check_answer;
}
int on_set(MIBDID did, void* row, MIB_Flags_t) {
    g_modes.push_back(MibRowStatusGet(did, row));
    return g_set_answer;
}

// What a table does, told as plainly as can be.
class Model {
public:
    explicit Model(const TableDesc& desc) : desc_(desc) {}

    char access(int type, Row& row, const MIB_Flags_t& flags) {
        modes.clear();
        Key key = key_of(row);
        if (type == MIB_GETFIRST || type == MIB_GETNEXT || type == MIB_GET)
            return read(type, row, key);
        if (type == MIB_SET)
            return set(row, key, flags);
        if (type == MIB_DEL)
            return destroy(row, key);
        return create_blank(type, row, key);
    }

    std::map<Key, Row, VectorLess> table; // keys in the unsigned order of their columns
    std::vector<int> modes;               // as the set chain saw them

private:
    Key key_of(const Row& row) const {
        Key key;
        for (const ColumnDesc& column : desc_.index) {
            uint32_t value;
            memcpy(&value, row.data() + column.offset, sizeof(value));
            key.push_back(value);
        }
        return key;
    }
    int32_t get(const Row& row, bool old) const {
        int32_t status;
        memcpy(&status, row.data() + (old ? desc_.row_status->old_offset : desc_.row_status->offset), 4);
        return status;
    }
    void put(Row& row, bool old, int32_t status) const {
        memcpy(row.data() + (old ? desc_.row_status->old_offset : desc_.row_status->offset), &status, 4);
    }
    Row blank(const Row& key) const {
        Row row(desc_.entry_size);
        memcpy(row.data(), key.data(), desc_.key_size);
        for (const ColumnDesc& column : desc_.columns) {
            for (size_t offset : {column.offset, column.old_offset}) {
                if (column.type == ColType::TEXT)
                    memcpy(row.data() + offset, column.dflt_text, strlen(column.dflt_text));
                else if (column.type == ColType::IPADDR)
                    for (size_t i = 0; i < 4; ++i)
                        row[offset + i] = static_cast<char>(column.dflt >> (24 - 8 * i));
                else if (column.type == ColType::COUNTER64)
                    memcpy(row.data() + offset, &column.dflt, sizeof(int64_t));
                else if (column.type != ColType::BIN) {
                    const auto number = static_cast<int32_t>(column.dflt);
                    memcpy(row.data() + offset, &number, sizeof number);
                }
            }
        }
        return row;
    }
    // The chains: true if both let the row pass.
    bool chains(const Row& row) {
        if (g_check_answer != 1)
            return false;
        int32_t now = get(row, false), before = get(row, true);
        int mode = MODE_IDLE;
        if (now == 4 || (now == 1 && before == 2))
            mode = MODE_CRE;
        else if (now == 1)
            mode = MODE_CHG;
        else if (now == 6 && before == 1)
            mode = MODE_DEL;
        if (mode == MODE_IDLE)
            return true;
        modes.push_back(mode);
        return g_set_answer == 1;
    }

    char read(int type, Row& row, const Key& key) {
        auto found = type == MIB_GETFIRST ? table.begin() : table.find(key);
        if (type == MIB_GETNEXT && found != table.end())
            ++found;
        if (found == table.end())
            return MIB_FAIL;
        row = found->second;
        return MIB_OK;
    }
    char create_blank(int type, Row& row, const Key& key) {
        if (table.count(key) != 0)
            return MIB_FAIL;
        row = blank(row);
        put(row, false, type == MIB_CREATEGO ? 4 : 5);
        if (!chains(row))
            return MIB_FAIL;
        put(row, true, type == MIB_CREATEGO ? 4 : 5);
        put(row, false, type == MIB_CREATEGO ? 1 : 2);
        table[key] = row;
        return MIB_OK;
    }
    char destroy(Row& row, const Key& key) {
        if (table.count(key) == 0)
            return MIB_FAIL;
        row = table[key];
        put(row, true, get(row, false));
        put(row, false, 6);
        if (!chains(row))
            return MIB_FAIL;
        table.erase(key);
        return MIB_OK;
    }
    char set(Row& row, const Key& key, const MIB_Flags_t& flags) {
        bool writes_status = mib_flag_is_set(flags, desc_.row_status->number);
        int32_t status = get(row, false);
        bool creates = writes_status && (status == 4 || status == 5);
        bool present = table.count(key) != 0;
        if (present == creates)
            return MIB_FAIL;
        Row future = present ? table[key] : blank(row);
        if (creates)
            put(future, false, status);
        for (const ColumnDesc& column : desc_.columns) {
            if (!mib_flag_is_set(flags, column.number) || (creates && column.type == ColType::ROWSTATUS))
                continue;
            memcpy(future.data() + column.old_offset, future.data() + column.offset, column.size);
            memcpy(future.data() + column.offset, row.data() + column.offset, column.size);
        }
        row = future;
        for (int n = desc_.columns.front().number; n <= desc_.columns.back().number; ++n) {
            if (mib_flag_is_set(flags, static_cast<unsigned>(n)) && !has_number(n))
                return MIB_FAIL;
        }
        if (!chains(row))
            return MIB_FAIL;
        if (writes_status && status == 6) {
            table.erase(key);
            return MIB_OK;
        }
        if (creates) {
            put(row, true, status);
            put(row, false, status == 4 ? 1 : 2);
        } else if (writes_status && status == 1 && get(row, true) == 2) {
            put(row, true, 1);
        }
        table[key] = row;
        return MIB_OK;
    }
    bool has_number(int number) const {
        auto is_it = [&](const ColumnDesc& column) { return column.number == number; };
        return std::any_of(desc_.columns.begin(), desc_.columns.end(), is_it) ||
               std::any_of(desc_.index.begin(), desc_.index.end(), is_it);
    }

    const TableDesc& desc_;
};

TEST_P(EveryTable, RandomOperationsGiveTheRowsModesAndResultsOfTheModel) {
    MibRegisterCallback(module.did(), CALLBACK_CHECK, "check", 1, on_check, mibDefFlags);
    MibRegisterCallback(module.did(), CALLBACK_SET, "set", 1, on_set, mibDefFlags);
    RandomRows random(desc, 3);
    Model model(desc);
    const int types[] = {MIB_GET, MIB_GETFIRST, MIB_GETNEXT, MIB_CREATEGO, MIB_CREATEWAIT,
                         MIB_SET, MIB_SET,      MIB_SET,     MIB_SET,      MIB_DEL};
    for (int i = 0; i < 3000; ++i) {
        int type = types[random.number(0, std::size(types) - 1)];
        g_check_answer = random.number(0, 9) != 0;
        g_set_answer = random.number(0, 9) != 0;
        g_modes.clear();
        Row row = random.row();
        Row expected = row;
        MIB_Flags_t flags = random.flags();
        if (flags.flags[0] == 0 && flags.flags[1] == 0)
            continue; // no column at all: no callback is concerned
        char result = MibAccessHandle(type, 0, module.did(), row.data(), flags, 0);
        ASSERT_EQ(result, model.access(type, expected, flags)) << "operation " << i << " type " << type;
        ASSERT_EQ(g_modes, model.modes) << "operation " << i << " type " << type;
        ASSERT_TRUE(row == expected) << "operation " << i << " type " << type;
        ASSERT_EQ(static_cast<size_t>(module.row_count()), model.table.size());
    }
    std::vector<Row> stored = rows();
    ASSERT_GT(stored.size(), 0u);
    size_t n = 0;
    for (const auto& [key, row] : model.table)
        ASSERT_TRUE(stored[n++] == row) << n;
}

INSTANTIATE_TEST_SUITE_P(Tables, EveryTable, testing::ValuesIn(all_modules()), name_of);

} // namespace
