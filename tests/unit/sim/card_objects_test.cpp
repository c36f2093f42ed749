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

// Its set is all that there is: the weight of 1 that nobody changed is in the record, though not in the mask.
TEST_F(CardObjectsTest, TakeTheFirstSetOfAnOnusQosWhole) {
    constexpr size_t MAX_BW = 15;
    constexpr size_t WEIGHT = 23;
    const CardMessage& qos = *find_card_message(921u);
    CardObjects::Bytes record(32);
    record[MAX_BW] = 9;
    record[WEIGHT] = 1;
    objects.set(qos, 1u << 4, record);
    EXPECT_EQ(*objects.find(qos, record), record);
    record[MAX_BW] = 8;
    record[WEIGHT] = 5;
    objects.set(qos, 1u << 4, record);
    EXPECT_EQ(objects.find(qos, record)->at(MAX_BW), 8);
    EXPECT_EQ(objects.find(qos, record)->at(WEIGHT), 1);
}

} // namespace
