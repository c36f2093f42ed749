// Interface names as operators type them.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "kavo_if.h"

namespace {

using Extender = char* (*)(char*, const char*);

// The canonical form, or "(null)". The buffer has the stated size, so that the sanitizer sees any overrun.
std::string extended(const std::string& name, Extender extend = uif_extend_ifname) {
    char buffer[UIF_NAME_SIZE];
    const char* text = extend(buffer, name.c_str());
    if (text == nullptr)
        return "(null)";
    EXPECT_EQ(text, buffer);
    return text;
}

constexpr char NONE[] = "(null)";

TEST(ExtendIfname, NullsGiveNull) {
    char buffer[UIF_NAME_SIZE];
    for (Extender extend : {uif_extend_ifname, if_extend_physics_port, if_extend_trunk, if_extend_gpon}) {
        EXPECT_EQ(extend(buffer, nullptr), nullptr);
        EXPECT_EQ(extend(nullptr, "ge1/1"), nullptr);
        EXPECT_EQ(extended("", extend), NONE);
    }
}

TEST(ExtendIfname, NameShorterThan4OrLongerThan20CharactersGivesNull) {
    EXPECT_EQ(extended("t16"), NONE);
    EXPECT_EQ(extended("t016"), "trunk16");
    EXPECT_EQ(extended("x1/"), NONE);
    const std::string longest = "trunk00000000000000" + std::string("3");
    ASSERT_EQ(longest.size(), 20u);
    EXPECT_EQ(extended(longest), "trunk3");
    EXPECT_EQ(extended("trunk000000000000000" + std::string("3")), NONE);
}

TEST(ExtendIfname, OneOrTwoLetterPhysicalPrefixesGetTheirE) {
    EXPECT_EQ(extended("x2/1"), "xe2/1");
    EXPECT_EQ(extended("xe2/1"), "xe2/1");
    EXPECT_EQ(extended("f1/1"), "fe1/1");
    EXPECT_EQ(extended("fe1/1"), "fe1/1");
    EXPECT_EQ(extended("ge17/16"), "ge17/16");
    EXPECT_EQ(extended("g1/1", if_extend_physics_port), "ge1/1");
}

TEST(ExtendIfname, PhysicalNameNeedsTwoNumbers) {
    for (const char* name : {"ge1/", "ge1/x", "gexx", "xe/1", "fabric0", "x1:1", "fe1.1", "xx1/1", "fge1/1"})
        EXPECT_EQ(extended(name), NONE) << name;
}

TEST(ExtendIfname, PhysicalNameKeepsWhatStandsBehindTheNumbers) {
    EXPECT_EQ(extended("x2/1.5"), "xe2/1.5");
    EXPECT_EQ(extended("x02/01"), "xe02/01");
}

TEST(ExtendIfname, OneLetterGAloneIsNoPhysicalPort) {
    EXPECT_EQ(extended("g1/1"), NONE);
}

TEST(ExtendIfname, CanonicalFormThatDoesNotFitGivesNull) {
    const std::string fits = "x12345678/12345678"; // 18: one more with its e
    EXPECT_EQ(extended(fits), "xe12345678/12345678");
    EXPECT_EQ(extended("x12345678/123456789"), NONE);
    EXPECT_EQ(extended("x1234567890/12345678"), NONE);
    EXPECT_EQ(extended("gp123456/123456"), NONE);
    EXPECT_EQ(extended("gp1234/1234:1234"), NONE);
}

TEST(ExtendIfname, TrunkTakesAnyBeginningOfItsWord) {
    for (const char* name : {"t003", "tr03", "tru3", "trun3", "trunk3"})
        EXPECT_EQ(extended(name), "trunk3") << name;
    EXPECT_EQ(extended("t3", if_extend_trunk), "trunk3");
}

TEST(ExtendIfname, TrunkNumberOutside1To16GivesNull) {
    EXPECT_EQ(extended("trunk1"), "trunk1");
    EXPECT_EQ(extended("trunk16"), "trunk16");
    for (const char* name :
         {"trunk0", "trunk17", "trunk-1", "trunk99999999999", "trunk", "trunkx", "trunks1"}) {
        EXPECT_EQ(extended(name), NONE) << name;
        EXPECT_EQ(extended(name, if_extend_trunk), NONE) << name;
    }
}

TEST(ExtendIfname, TrunkNameEndsWithItsNumber) {
    EXPECT_EQ(extended("t1/1"), NONE);
    EXPECT_EQ(extended("trunk1x"), NONE);
    EXPECT_EQ(extended("5", if_extend_trunk), NONE);
}

TEST(ExtendIfname, PonPortTakesAnyBeginningOfItsWord) {
    for (const char* name :
         {"gp1/1", "gpo1/1", "gpon1/1", "gpon-1/1", "gpon-o1/1", "gpon-ol1/1", "gpon-olt1/1"})
        EXPECT_EQ(extended(name), "gpon-olt1/1") << name;
    EXPECT_EQ(extended("g1/1", if_extend_gpon), "gpon-olt1/1");
}

TEST(ExtendIfname, OnuNameStaysAsItIs) {
    EXPECT_EQ(extended("gpon-onu1/1:1"), "gpon-onu1/1:1");
    EXPECT_EQ(extended("gpon-onu16/16:128"), "gpon-onu16/16:128");
}

TEST(ExtendIfname, PonNameWithAnOnuNumberIsAnOnu) {
    EXPECT_EQ(extended("gp1/1:1"), "gpon-onu1/1:1");
    EXPECT_EQ(extended("gpon-1/1:1"), "gpon-onu1/1:1");
    EXPECT_EQ(extended("gpon-o1/1:1"), "gpon-onu1/1:1");
    EXPECT_EQ(extended("gpon-on1/1:1"), "gpon-onu1/1:1");
}

TEST(ExtendIfname, OltWordWithAnOnuNumberGivesNull) {
    EXPECT_EQ(extended("gpon-olt1/1:1"), NONE);
    EXPECT_EQ(extended("gpon-ol1/1:1"), NONE);
}

TEST(ExtendIfname, PonPortMustBeExactlyItsNumbers) {
    for (const char* name : {"gp01/1", "gp1/01", "gp+1/1", "gp1/1x", "gp1/1:", "gp1/", "gp1", "gpon-olt",
                             "gpx1/1", "gp99999999999/1", "gp1/1:1x", "gp1/1:1_5", "gpon-onu1/1"})
        EXPECT_EQ(extended(name), NONE) << name;
}

TEST(ExtendIfname, OtherKindsHaveNoShortForms) {
    for (const char* name :
         {"vlanif100", "eth1", "lo:1", "ce1/1", "gpon-gem1/1:1_1", "gpon-srv1/1:1_1", "1/1:1"})
        EXPECT_EQ(extended(name), NONE) << name;
}

} // namespace
