// "show slot info": marks and the state in words.
#include "slot_vty.h"

#include <ctime>
#include <gmock/gmock.h>
#include <sstream>

#include "frr_fixture.h"
#include "ov_slot.h"

#include "../support/test_shelf.h"

using testing::MatchesRegex;

namespace {

int g_replayed = 0;

class SlotVty : public testing::Test {
protected:
    SlotVty() {
        g_replayed = 0;
        slot_vty_set_replay_query([](int slot) { return slot == 2 ? g_replayed : 0; });
    }
    ~SlotVty() override { slot_vty_set_replay_query(nullptr); }

    // What is said of a slot behind its marks.
    std::string state(int slot) {
        slot_vty_dump_all(session_.vty);
        std::istringstream lines(session_.output());
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string word, rest;
            words >> word;
            if (word != std::to_string(slot))
                continue;
            for (int i = 0; i < 7; i++)
                words >> word;
            std::getline(words >> std::ws, rest);
            return rest;
        }
        return "no line";
    }

    TestShelf shelf_{53};
    FrrSession session_{ENABLE_NODE};
};

constexpr char AWAY[] = "away since ....-..-.. ..:..:..";

TEST_F(SlotVty, APulledCardAndAHealthyOneDiffer) {
    EXPECT_EQ(state(2), "-");
    ov_slot_create(2, 27, 1);
    EXPECT_EQ(state(2), "not yet up");
    ov_slot_set_connected(2, 1);
    EXPECT_EQ(state(2), "in service");
    ov_slot_set_connected(2, 0);
    EXPECT_THAT(state(2), MatchesRegex(AWAY));
    ov_slot_set_connected(2, 1);
    EXPECT_EQ(state(2), "in service");
    ov_slot_delete(2);
    EXPECT_EQ(state(2), "-");
}

TEST_F(SlotVty, ACardIsSetUpUntilItsReplayHasEnded) {
    ov_slot_create(2, 27, 1);
    ov_slot_set_connected(2, 1);
    ov_slot_set_synching(2, 1);
    EXPECT_EQ(state(2), "being set up");
    g_replayed = 1; // the mark stays
    EXPECT_EQ(state(2), "in service");
    ov_slot_set_connected(2, 0);
    EXPECT_THAT(state(2), MatchesRegex(AWAY));
}

TEST_F(SlotVty, SlotsWithoutAnAgentHaveNoState) {
    for (const int slot : {17, 19, 21, 22})
        EXPECT_EQ(state(slot), "-") << slot;
}

} // namespace
