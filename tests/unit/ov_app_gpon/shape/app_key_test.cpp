// Keys of rows and interface indexes, made of each other.
#include "app_key.h"

#include <gtest/gtest.h>
#include <string>

namespace {

struct Row {
    int32_t shelfID;
    int32_t slotID;
    int32_t portID;
    int32_t onuId;
    int32_t servicePortId;
    int32_t value;
};

std::string text(const Row& row) {
    std::string text;
    for (const int32_t number :
         {row.shelfID, row.slotID, row.portID, row.onuId, row.servicePortId, row.value})
        text += (text.empty() ? "" : ".") + std::to_string(number);
    return text;
}

constexpr Row FULL = {2, 3, 16, 128, 7, 99};

TEST(AppKey, OfNumbersHasAsManyColumnsAsItsNameSays) {
    EXPECT_EQ(text(slot_key<Row>(18)), "1.18.0.0.0.0");
    EXPECT_EQ(text(port_key<Row>(18, 16)), "1.18.16.0.0.0");
    EXPECT_EQ(text(onu_key<Row>(18, 16, 128)), "1.18.16.128.0.0");
    EXPECT_EQ(text(template_key<Row>(5)), "1.31.15.5.0.0");
}

TEST(AppKey, OfAnotherRowStaysOnThatRowsShelf) {
    EXPECT_EQ(text(port_key<Row>(FULL)), "2.3.16.0.0.0");
    EXPECT_EQ(text(onu_key<Row>(FULL)), "2.3.16.128.0.0");
}

TEST(AppKey, OfAnInterfaceIndexNamesWhatTheIndexNames) {
    for (const int32_t slot : {1, 9, 18})
        for (const int32_t port : {1, 16})
            for (const int32_t onu : {1, 77, 128}) {
                const auto key = onu_key<Row>(slot, port, onu);
                EXPECT_EQ(text(onu_key_of_ifindex<Row>(onu_ifindex_of(key))), text(key));
                EXPECT_EQ(text(port_key_of_ifindex<Row>(port_ifindex_of(key))),
                          text(port_key<Row>(slot, port)));
                Row service = key;
                service.servicePortId = 128;
                EXPECT_EQ(text(service_port_key_of_ifindex<Row>(service_port_ifindex(service))),
                          text(service));
                EXPECT_EQ(text(onu_key_of_ifindex<Row>(gemport_ifindex(key, 128))), text(key));
            }
}

TEST(AppKey, IndexesOfNumbersAreThoseOfRows) {
    const auto key = onu_key<Row>(7, 5, 33);
    EXPECT_EQ(onu_ifindex(7, 5, 33), onu_ifindex_of(key));
    EXPECT_EQ(port_ifindex(PORT_TYPE_GPON, 7, 5), port_ifindex_of(key));
    EXPECT_EQ(service_port_ifindex(FULL), service_port_ifindex(FULL, 7));
    EXPECT_NE(service_port_ifindex(FULL, 7), gemport_ifindex(FULL, 7));
}

TEST(AppKey, ARowThatMovesKeepsTheRest) {
    Row row = FULL;
    move_to_port(row, port_ifindex(PORT_TYPE_GPON, 7, 5));
    EXPECT_EQ(text(row), "2.7.5.128.7.99");
    EXPECT_FALSE(is_of_onu(row, FULL));
    move_to_onu(row, onu_key<Row>(9, 1, 4));
    EXPECT_EQ(text(row), "1.9.1.4.7.99");
    EXPECT_TRUE(is_of_onu(row, onu_key<Row>(9, 1, 4)));
}

} // namespace
