#include "kavo_trunk.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(Trunk, IsMadeOnDemandByName) {
    for (uint32_t tid = 1; tid <= 16; tid++) {
        std::string name = "trunk" + std::to_string(tid);
        trunk_t* trunk = trunk_get_by_name(name.c_str());
        ASSERT_NE(trunk, nullptr) << name;
        EXPECT_EQ(trunk->tid, tid);
        EXPECT_EQ(trunk->name, name);
        EXPECT_EQ(trunk_get_by_name(name.c_str()), trunk);
    }
    EXPECT_NE(trunk_get_by_name("trunk1"), trunk_get_by_name("trunk2"));
}

TEST(Trunk, DoesNotExistUnderAnyOtherName) {
    for (const char* name : {"", "trunk", "trunk0", "trunk17", "trunk01", "trunk-1", "trunk1x", "trunk 1",
                             "tr1", "Trunk1", "trunk4294967297", "xtrunk1", "trunk+1"})
        EXPECT_EQ(trunk_get_by_name(name), nullptr) << name;
    EXPECT_EQ(trunk_get_by_name(nullptr), nullptr);
}

} // namespace
