#include "port_name.h"

#include <gtest/gtest.h>

namespace {

TEST(PortName, GivesTheAgreedIndexes) {
    EXPECT_EQ(ifindex_of_port("gpon-olt1/1"), 0x4c200000u);
    EXPECT_EQ(ifindex_of_port("gpon-olt3/2"), 0x4c608000u);
    EXPECT_EQ(ifindex_of_port("gpon-onu3/2:12"), 0x54608580u);
    EXPECT_EQ(ifindex_of_port("ge1/1"), 0x14200000u);
    EXPECT_EQ(ifindex_of_port("xe1/2"), 0x1c208000u);
}

TEST(PortName, ComesBackFromItsIndex) {
    for (const char* name :
         {"gpon-olt1/1", "gpon-olt31/16", "gpon-onu1/1:1", "gpon-onu16/16:256", "ge2/3", "xe1/4"})
        EXPECT_EQ(port_of_ifindex(*ifindex_of_port(name)), name);
}

TEST(PortName, RefusesOtherTexts) {
    for (const char* bad : {"", "gpon-olt", "gpon-olt1", "gpon-olt0/1", "gpon-olt1/0", "gpon-olt1/17",
                            "gpon-olt32/1", "gpon-olt1/1:1", "gpon-onu1/1", "gpon-onu1/1:", "gpon-onu1/1:257",
                            "gpon-olt01/1", "eth1/1", "gpon-olt1/1 ", "ge-1/1", "ge1/1/1"})
        EXPECT_FALSE(ifindex_of_port(bad)) << bad;
}

TEST(PortName, AnIndexWithOtherFieldsSetHasNoName) {
    EXPECT_EQ(port_of_ifindex(0), "");
    EXPECT_EQ(port_of_ifindex(0x4c200001), ""); // low bits
    EXPECT_EQ(port_of_ifindex(0x4c280000), ""); // card 1
    EXPECT_EQ(port_of_ifindex(0x48200000), ""); // shelf 0
    EXPECT_EQ(port_of_ifindex(0x5c608584), ""); // a GEM port
    EXPECT_EQ(port_of_ifindex(0xFFFFFFFF), "");
}

} // namespace
