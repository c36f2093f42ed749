// A table module under its own names: each function does its work on its own table.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "mmg_internal.h"
#include "ovralist.h"
#include "sOnuTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"
#include "table_module.h"

namespace {

template <size_t N>
void put_text(char (&column)[N], std::string_view text) {
    column[text.copy(column, N - 1)] = '\0';
}

class NamedFunctions : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "tables.XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        directory_ = pattern;
        setenv("OV_PDT_RUN_MIB_DATA_DIR", directory_.c_str(), 1);
        initialize_table_sTcontTable_data();
        initialize_table_sOnuTable_data();
        initialize_table_servicePortTable_data();
    }
    void TearDown() override {
        unsetenv("OV_PDT_RUN_MIB_DATA_DIR");
        std::filesystem::remove_all(directory_);
    }

    static MIBDID tconts() { return mmg_table_did_getbyindex(STCONT); }
    std::string file_text(const char* name) const {
        std::ifstream file(directory_ / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::filesystem::path directory_;
};

TEST_F(NamedFunctions, CreateEntryPutsTheIndexAndTheDefaultsIntoTheStore) {
    sOnuTable_entry* onu = sOnuTable_createEntry(1, 2, 3, 4);
    ASSERT_NE(onu, nullptr);
    EXPECT_EQ(onu->shelfID, 1);
    EXPECT_EQ(onu->slotID, 2);
    EXPECT_EQ(onu->portID, 3);
    EXPECT_EQ(onu->onuId, 4);
    EXPECT_EQ(onu->sOnuTableAuthMode, SONUTABLEAUTHMODE_SN);
    EXPECT_EQ(onu->old_sOnuTableAuthMode, SONUTABLEAUTHMODE_SN);
    EXPECT_EQ(onu->sOnuTableActiviate, SONUTABLEACTIVIATE_ACTIVIATED);
    EXPECT_STREQ(onu->sOnuTableOnuTypeProfileName, "KLM-618");
    EXPECT_STREQ(onu->old_sOnuTableOnuTypeProfileName, "KLM-618");
    EXPECT_STREQ(onu->sOnuTableOnuName, "");
    EXPECT_EQ(onu->sOnuTableRowStatus, OVRA_NONEXISTENT);
    EXPECT_EQ(row_get(mmg_table_did_getbyindex(SONU), onu), onu);
    EXPECT_EQ(get_row_num(tconts()), 0); // and into no other table
}

TEST_F(NamedFunctions, RemoveEntryTakesTheRowOut) {
    sTcontTable_createEntry(1, 2, 3, 4, 5);
    sTcontTable_entry* second = sTcontTable_createEntry(1, 2, 3, 4, 6);
    ASSERT_EQ(get_row_num(tconts()), 2);
    sTcontTable_removeEntry(second);
    ASSERT_EQ(get_row_num(tconts()), 1);
    EXPECT_EQ(static_cast<sTcontTable_entry*>(get_table_head(tconts()))->tcontId, 5u);
}

TEST_F(NamedFunctions, SetIndexWritesTheIndexColumnsOnly) {
    sTcontTable_entry row;
    std::memset(&row, 0x5A, sizeof(row));
    sTcontTable_SetIndex(&row, 1, -2, 3, 4, 0xFFFFFFFFu);
    EXPECT_EQ(row.slotID, -2);
    EXPECT_EQ(row.tcontId, 0xFFFFFFFFu);
    EXPECT_EQ(row.sTcontTableAllocID, 0x5A5A5A5A);
}

TEST_F(NamedFunctions, IndexStringNamesTheIndexColumns) {
    sTcontTable_entry row{};
    sTcontTable_SetIndex(&row, 1, 2, 3, 4, 5);
    char text[200];
    EXPECT_STREQ(sTcontTable_get_index_string(&row, text, sizeof(text)),
                 "entry [shelfID:1 slotID:2 portID:3 onuId:4 tcontId:5 ]");
    EXPECT_STREQ(sTcontTable_get_index_string(nullptr, text, sizeof(text)), "NULL");
}

TEST_F(NamedFunctions, CompareFunctionsGoByTheIndexWithTheGreaterFirstAsMinusOne) {
    sTcontTable_entry small{};
    sTcontTable_entry great{};
    sTcontTable_SetIndex(&small, 1, 2, 3, 4, 5);
    sTcontTable_SetIndex(&great, 1, 2, 3, 4, 0x80000000u);
    EXPECT_EQ(sTcontTable_CompareIndex(&great, &small), -1);
    EXPECT_EQ(sTcontTable_CompareIndex(&small, &great), 1);
    EXPECT_EQ(sTcontTable_Comparator(&small, &great), 1);
    EXPECT_EQ(sTcontTable_ComparePartIndex(&small, &great, 0xF), 0);
    EXPECT_EQ(sTcontTable_ComparePartIndex(&small, &great, 0x10), 1);
    EXPECT_EQ(sTcontTable_Meter(&small), sizeof(sTcontTable_entry));
}

TEST_F(NamedFunctions, QueryGivesCopiesOfTheRowsThatAgree) {
    sTcontTable_createEntry(1, 2, 3, 4, 5);
    sTcontTable_createEntry(1, 2, 3, 5, 1);
    sTcontTable_createEntry(1, 9, 3, 4, 5);
    sTcontTable_entry wanted{};
    sTcontTable_SetIndex(&wanted, 1, 2, 0, 0, 0);
    EXPECT_EQ(sTcontTableClass_QBC(&wanted, 3, 0, nullptr, nullptr, nullptr), 2);
    ovralist_t result;
    ovralist_init(&result);
    EXPECT_EQ(sTcontTableClass_QBC(&wanted, 3, 1, &result, nullptr, nullptr), 2);
    EXPECT_EQ(ovralist_size(&result), 2u);
    ovralist_destroy(&result);
}

TEST_F(NamedFunctions, HooksServeTheAccessCore) {
    sTcontTable_entry row{};
    sTcontTable_SetIndex(&row, 1, 2, 3, 4, 5);
    row.sTcontTableRowStatus = OVRA_CREATEANDGO;
    put_text(row.sTcontTableTcontName, "tc5");
    MIB_Flags_t flags{};
    mib_flag_set(flags, sTcontTable_column::sTcontTableRowStatus);
    mib_flag_set(flags, sTcontTable_column::sTcontTableTcontName);
    ASSERT_EQ(MibAccessHandle(MIB_SET, 0, tconts(), &row, flags, 0), MIB_OK);
    auto* stored = static_cast<sTcontTable_entry*>(row_get(tconts(), &row));
    ASSERT_NE(stored, nullptr);
    EXPECT_STREQ(stored->sTcontTableTcontName, "tc5");
    EXPECT_EQ(stored->sTcontTableRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(sTcontTableClass_GetRowStatus(nullptr, stored), MODE_CHG);

    row = {};
    sTcontTable_SetIndex(&row, 1, 2, 3, 4, 5);
    EXPECT_EQ(sTcontTableClass_mibAccessStart(nullptr, MIB_GET, &row, mibDefFlags), 1);
    EXPECT_STREQ(row.sTcontTableTcontName, "tc5");
    sTcontTableClass_mibAccessFinish(nullptr, 1, MIB_DEL, &row, mibDefFlags);
    EXPECT_EQ(get_row_num(tconts()), 0);
}

TEST_F(NamedFunctions, ClassObjectsCarryTheThreeHooksAndNoOthers) {
    sTcontTableClass* object = sTcontTableClass_new();
    ASSERT_NE(object, nullptr);
    EXPECT_NE(object->handler.mibAccessStart, nullptr);
    EXPECT_NE(object->handler.mibAccessFinish, nullptr);
    EXPECT_NE(object->handler.mibGetRowStatus, nullptr);
    EXPECT_EQ(object->handler.mibSave, nullptr);
    EXPECT_EQ(object->handler.mibSetDefRow, nullptr);
    EXPECT_EQ(object->handler.mibQBC, nullptr);
    delete object;
}

TEST_F(NamedFunctions, FileFunctionsWorkOnTheTablesOwnFile) {
    mib_load_sTcontTable();
    mib_save_sTcontTable_changed(); // forgets the marks of other tests
    sTcontTable_createEntry(1, 2, 3, 4, 5);
    mib_save_sTcontTable_changed();
    EXPECT_EQ(file_text("sTcontTable.mib"), ""); // not marked as changed
    mib_save_sTcontTable();
    EXPECT_EQ(file_text("sTcontTable.mib"), "");
    mib_save_sTcontTable_changed();
    const std::string one_row = "1\x1f"
                                "2\x1f"
                                "3\x1f"
                                "4\x1f"
                                "5\x1f"
                                "0\x1f\x1f"
                                "0\x1f\x1f"
                                "0\x1f\n";
    EXPECT_EQ(file_text("sTcontTable.mib"), one_row);
    std::filesystem::remove(directory_ / "sTcontTable.mib");
    mib_save_sTcontTable_backdoor();
    EXPECT_EQ(file_text("sTcontTable.mib"), one_row);
    std::filesystem::remove(directory_ / "sTcontTable.mib");
    mib_save_sTcontTable_internal();
    EXPECT_EQ(file_text("sTcontTable.mib"), one_row);

    initialize_table_sTcontTable_data();
    EXPECT_EQ(get_row_num(tconts()), 0);
    mib_load_sTcontTable();
    EXPECT_EQ(get_row_num(tconts()), 1);
}

TEST_F(NamedFunctions, DumpPrintsTheRow) {
    sTcontTable_entry* row = sTcontTable_createEntry(1, 2, 3, 4, 5);
    put_text(row->sTcontTableTcontName, "tc5");
    testing::internal::CaptureStdout();
    sTcontTable_Dump(row);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_NE(text.find("sTcontTable Dump"), std::string::npos);
    EXPECT_NE(text.find(":tc5\n"), std::string::npos);
}

TEST_F(NamedFunctions, EachTableHasOneModule) {
    EXPECT_EQ(&table_module_sTcontTable(), &table_module_sTcontTable());
    EXPECT_EQ(&table_module_sTcontTable().desc(), &table_desc_sTcontTable);
    EXPECT_EQ(table_module_find("sTcontTable"), &table_module_sTcontTable());
    EXPECT_NE(&table_module_sTcontTable(), &table_module_sOnuTable());
}

} // namespace
