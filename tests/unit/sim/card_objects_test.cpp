// What a card holds, and how it counts what changes.
#include "card_objects.h"

#include <gtest/gtest.h>

namespace {

class CardObjectsTest : public testing::Test {
protected:
    static CardObjects::Bytes tcont(uint8_t alloc_id) {
        CardObjects::Bytes record(144);
        record[3] = 0x80; // onuIfindex
        record[7] = 1;    // tcontId
        record[11] = alloc_id;
        return record;
    }
    const CardMessage& message = *find_card_message(908);
    static constexpr uint32_t ALLOC_ID = 1u << 2;
    CardObjects objects;
};

TEST_F(CardObjectsTest, CountWhatIsMadeChangedAndTakenAway) {
    objects.put(message, tcont(7));
    EXPECT_EQ(objects.changes(), 1u);
    objects.put(message, tcont(8));
    EXPECT_EQ(objects.changes(), 2u);
    objects.set(message, ALLOC_ID, tcont(9));
    EXPECT_EQ(objects.changes(), 3u);
    EXPECT_EQ(objects.remove(message, tcont(9)), 1u);
    EXPECT_EQ(objects.changes(), 4u);
}

TEST_F(CardObjectsTest, DontCountWhatTheyAreToldAgain) {
    objects.put(message, tcont(7));
    objects.put(message, tcont(7));
    objects.set(message, ALLOC_ID, tcont(7));
    objects.set(message, 0, tcont(9)); // no attribute is meant
    EXPECT_EQ(objects.changes(), 1u);
    objects.remove(message, tcont(7));
    EXPECT_EQ(objects.remove(message, tcont(7)), 0u);
    EXPECT_EQ(objects.changes(), 2u);
}

} // namespace
