// Walks over stored rows, against a walk over the whole table.
#include "app_rows.h"

#include <gmock/gmock.h>

#include <random>
#include <tuple>

#include "../../support/log_capture.h"
#include "app_name_index.h"
#include "sBWProfileTable.h"
#include "sTcontTable.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Tcont = ov_sTcontTable_attr_t;
using Index = std::tuple<int, int, int, int, unsigned>;

Index index_of(const Tcont& row) {
    return {row.shelfID, row.slotID, row.portID, row.onuId, row.tcontId};
}

class AppRows : public testing::Test {
protected:
    AppRows() {
        initialize_table_sTcontTable_data();
        initialize_table_sBWProfileTable_data();
    }
    static void put(int shelf, int slot, int port, int onu, unsigned tcont) {
        auto* row =
            static_cast<Tcont*>(table_of<Tcont>::module().create_entry_at(shelf, slot, port, onu, tcont));
        if (row != nullptr)
            row->sTcontTableRowStatus = OVRA_ACTIVE;
    }
    static std::vector<Index> everything() {
        std::vector<Index> found;
        for (const Tcont& row : all_rows<Tcont>())
            found.push_back(index_of(row));
        return found;
    }
    static std::vector<Index> templates(unsigned profile) {
        std::vector<Index> found;
        for_each_template_row<Tcont>(profile, [&](const Tcont& row) { found.push_back(index_of(row)); });
        return found;
    }
    LogCapture log;
};

TEST_F(AppRows, RowsOfOneOnuAreWalkedAndNoOthers) {
    put(1, 3, 4, 6, 1);
    put(1, 3, 4, 7, 1);
    put(1, 3, 4, 7, 0);
    put(1, 3, 4, 7, 0x80000000u);
    put(1, 3, 4, 8, 1);
    Tcont key = {};
    table_of<Tcont>::module().set_index_at(&key, 1, 3, 4, 7, 99);
    std::vector<Index> found;
    for (const Tcont& row : rows_under(key, INDEX_TO_ONU))
        found.push_back(index_of(row));
    EXPECT_THAT(found,
                ElementsAre(Index{1, 3, 4, 7, 0}, Index{1, 3, 4, 7, 1}, Index{1, 3, 4, 7, 0x80000000u}));
}

// At the start, in the middle and at the end of a walk, and the only one.
TEST_F(AppRows, RowsThatWaitArePassedOver) {
    for (unsigned n = 0; n < 7; ++n)
        put(1, 3, 4, 7, n);
    const auto set_status = [](unsigned tcont, int status, int old_status) {
        Tcont key = {};
        table_of<Tcont>::module().set_index_at(&key, 1, 3, 4, 7, tcont);
        auto* row = const_cast<Tcont*>(find_stored_row(key));
        row->sTcontTableRowStatus = status;
        row->old_sTcontTableRowStatus = old_status;
    };
    set_status(0, OVRA_NOTINSERVICE, OVRA_CREATEANDWAIT);
    set_status(1, OVRA_NONEXISTENT, OVRA_NONEXISTENT); // a request is making it
    set_status(2, OVRA_ACTIVE, OVRA_NOTINSERVICE);     // is being activated
    set_status(3, OVRA_CREATEANDWAIT, OVRA_NONEXISTENT);
    set_status(4, OVRA_CREATEANDGO, OVRA_NONEXISTENT);
    set_status(5, OVRA_DESTROY, OVRA_ACTIVE); // not gone yet
    set_status(6, OVRA_DESTROY, OVRA_NOTINSERVICE);
    EXPECT_THAT(everything(), ElementsAre(Index{1, 3, 4, 7, 2}, Index{1, 3, 4, 7, 4}, Index{1, 3, 4, 7, 5}));
    Tcont key = {};
    table_of<Tcont>::module().set_index_at(&key, 1, 3, 4, 7, 0);
    EXPECT_EQ(find_row(key), nullptr);
    EXPECT_NE(find_stored_row(key), nullptr);
    EXPECT_EQ(rows_copied(key, INDEX_TO_ONU).size(), 7u);
    for (unsigned n = 1; n < 7; ++n)
        set_status(n, OVRA_NOTREADY, OVRA_NONEXISTENT);
    EXPECT_THAT(everything(), IsEmpty());
}

TEST_F(AppRows, AWalkOfNoRowsEndsAtOnce) {
    EXPECT_THAT(everything(), IsEmpty());
    EXPECT_THAT(templates(5), IsEmpty());
    put(1, 3, 4, 7, 1);
    Tcont key = {};
    table_of<Tcont>::module().set_index_at(&key, 1, 3, 5, 0, 0);
    EXPECT_THAT(rows_copied(key, INDEX_TO_PORT), IsEmpty());
}

TEST_F(AppRows, TemplateRowsAreThoseThatAWalkOfTheWholeTableFinds) {
    std::mt19937 random(7);
    const int odd[] = {0, 1, 2, 5, 15, 30, 31, 32, 0x7fffffff, -1};
    auto pick = [&] { return odd[random() % std::size(odd)]; };
    for (int n = 0; n < 400; ++n)
        put(pick(), n % 2 ? 31 : pick(), pick(), n % 3 ? 5 : pick(), random() % 3);
    for (const int profile : odd) {
        std::vector<Index> expected;
        for (const Index& index : everything())
            if (std::get<1>(index) == 31 && std::get<3>(index) == profile)
                expected.push_back(index);
        EXPECT_EQ(templates(static_cast<unsigned>(profile)), expected) << profile;
    }
    EXPECT_THAT(templates(5), testing::Not(IsEmpty()));
}

class Names : public AppRows {
protected:
    static void put_profile(unsigned id, const char* name) {
        ov_sBWProfileTable_attr_t row = {};
        row.bwProfileId = id;
        snprintf(row.sBWProfileTableBwProfileName, sizeof row.sBWProfileTableBwProfileName, "%s", name);
        row.sBWProfileTableRowStatus = OVRA_CREATEANDGO;
        ASSERT_TRUE(mib_access(MIB_SET, row));
    }
    unsigned id_of(const char* name) {
        const auto* row = index.find(name);
        return row ? row->bwProfileId : 0;
    }
    NameIndex<ov_sBWProfileTable_attr_t> index{
        [](const ov_sBWProfileTable_attr_t& row) -> const char* { return row.sBWProfileTableBwProfileName; }};
};

TEST_F(Names, AreFoundAsSoonAsTheyAreThereAndNoLonger) {
    EXPECT_EQ(id_of("gold"), 0u);
    put_profile(7, "gold");
    EXPECT_EQ(id_of("gold"), 7u);
    EXPECT_EQ(id_of("gol"), 0u);
    ov_sBWProfileTable_attr_t row = {};
    row.bwProfileId = 7;
    ASSERT_TRUE(mib_access(MIB_DEL, row));
    EXPECT_EQ(id_of("gold"), 0u);
}

TEST_F(Names, OfTwoRowsWithOneNameTheFirstOfTheTableCounts) {
    put_profile(9, "gold");
    EXPECT_EQ(id_of("gold"), 9u);
    put_profile(3, "gold");
    EXPECT_EQ(id_of("gold"), 3u);
}

// A manager's request writes into the stored row before it is decided, and takes it back when it is refused;
// nothing tells the index of either.
TEST_F(Names, FollowARowWhoseRenamingIsNotDecided) {
    const auto rename = [](unsigned id, const char* name) {
        ov_sBWProfileTable_attr_t key = {};
        key.bwProfileId = id;
        auto* stored = const_cast<ov_sBWProfileTable_attr_t*>(find_row(key));
        ASSERT_NE(stored, nullptr);
        snprintf(stored->sBWProfileTableBwProfileName, sizeof stored->sBWProfileTableBwProfileName, "%s",
                 name);
    };
    put_profile(3, "gold");
    put_profile(9, "silver");
    EXPECT_EQ(id_of("gold"), 3u);
    rename(3, "silver");
    EXPECT_EQ(id_of("gold"), 0u);
    put_profile(20, "bronze"); // meanwhile the index is built anew
    EXPECT_EQ(id_of("silver"), 3u);
    rename(3, "gold");
    EXPECT_EQ(id_of("gold"), 3u);
    EXPECT_EQ(id_of("silver"), 9u);
}

} // namespace
