// Which rules of an interface are in each other's way, and which rule a request means.
#include "../support/qinq_chassis.h"

using namespace qinq_test;

namespace {

const ov_ifindex_t PORT = port_at(4);

bool meets(const Rule& entry, const Rule& added) {
    return ov_app_gpon_qinq_attr_conflict_matchfunc(entry, added);
}

Rule both(const Rule& one, const Rule& other) {
    Rule rule = one;
    rule.opflag = one.opflag | other.opflag;
    if (other.opflag & ETHER)
        rule.ether_type = other.ether_type;
    if (other.opflag & COS)
        rule.cos = other.cos;
    return rule;
}

const Rule EVERYTHING = rule_on(PORT, TSP);

TEST(QinqConflict, RulesOfOtherInterfacesNeverMeet) {
    EXPECT_FALSE(meets(vlan_rule(PORT, 10), vlan_rule(port_at(5), 10)));
    EXPECT_FALSE(meets(EVERYTHING, rule_on(port_at(5), TSP)));
}

TEST(QinqConflict, ARuleForAllTrafficMeetsAnyThatIsThere) {
    for (const Rule& entry : {EVERYTHING, vlan_rule(PORT, 10), range_rule(PORT, 10, 20), cos_rule(PORT, 3)})
        EXPECT_TRUE(meets(entry, EVERYTHING));
}

// Only the new rule's word counts: behind it others are let in when a criterion differs from its 0.
TEST(QinqConflict, BehindTheRuleForAllTrafficOthersAreSeparatedByTheirValues) {
    EXPECT_FALSE(meets(EVERYTHING, vlan_rule(PORT, 10)));
    EXPECT_FALSE(meets(EVERYTHING, range_rule(PORT, 10, 20)));
    EXPECT_FALSE(meets(EVERYTHING, ether_rule(PORT, 0x800)));
    EXPECT_FALSE(meets(EVERYTHING, cos_rule(PORT, 3)));
    EXPECT_TRUE(meets(EVERYTHING, cos_rule(PORT, 0)));
}

TEST(QinqConflict, SingleVlansMeetWhenTheyAreTheSame) {
    EXPECT_TRUE(meets(vlan_rule(PORT, 10), vlan_rule(PORT, 10)));
    EXPECT_FALSE(meets(vlan_rule(PORT, 10), vlan_rule(PORT, 11)));
}

TEST(QinqConflict, RangesMeetWhenTheyOverlap) {
    const struct {
        uint16_t first, last;
        bool meets;
    } cases[] = {{10, 20, true}, {12, 15, true}, {5, 10, true},   {20, 30, true},
                 {5, 30, true},  {1, 9, false},  {21, 30, false}, {20, 20, true}};
    for (const auto& c : cases)
        EXPECT_EQ(meets(range_rule(PORT, 10, 20), range_rule(PORT, c.first, c.last)), c.meets)
            << c.first << "-" << c.last;
}

TEST(QinqConflict, ARangeWithoutAnEndIsItsFirstVlan) {
    EXPECT_TRUE(meets(range_rule(PORT, 10, 20), range_rule(PORT, 20, 0)));
    EXPECT_FALSE(meets(range_rule(PORT, 10, 20), range_rule(PORT, 21, 0)));
    EXPECT_FALSE(meets(range_rule(PORT, 10, 20), range_rule(PORT, 0, 0)));
}

// A single VLAN that is there counts as a range that ends at 0.
TEST(QinqConflict, ASingleVlanAndARangeMeetAtTheSameBeginningAndInOneOrderOnly) {
    EXPECT_TRUE(meets(range_rule(PORT, 10, 20), vlan_rule(PORT, 10)));
    EXPECT_FALSE(meets(range_rule(PORT, 10, 20), vlan_rule(PORT, 15)));
    EXPECT_FALSE(meets(vlan_rule(PORT, 10), range_rule(PORT, 10, 20)));
    EXPECT_FALSE(meets(vlan_rule(PORT, 15), range_rule(PORT, 10, 20)));
}

// Records that no command makes: with a last VLAN and without the bit of ranges.
TEST(QinqConflict, ALastVlanOfTheNewRuleCountsWithTheSingleVlan) {
    Rule added = vlan_rule(PORT, 10);
    added.user_vlan_max = 20;
    EXPECT_TRUE(meets(vlan_rule(PORT, 10), added));
    EXPECT_TRUE(meets(vlan_rule(PORT, 15), added));
    EXPECT_TRUE(meets(vlan_rule(PORT, 20), added));
    EXPECT_FALSE(meets(vlan_rule(PORT, 9), added));
    EXPECT_FALSE(meets(vlan_rule(PORT, 21), added));
}

TEST(QinqConflict, AnotherEthernetTypeOrPrioritySeparates) {
    EXPECT_TRUE(meets(ether_rule(PORT, 0x800), ether_rule(PORT, 0x800)));
    EXPECT_FALSE(meets(ether_rule(PORT, 0x800), ether_rule(PORT, 0x806)));
    EXPECT_TRUE(meets(cos_rule(PORT, 3), cos_rule(PORT, 3)));
    EXPECT_FALSE(meets(cos_rule(PORT, 3), cos_rule(PORT, 4)));
}

TEST(QinqConflict, RulesOfDifferentKindsAreSeparatedByTheFirstDifference) {
    EXPECT_FALSE(meets(vlan_rule(PORT, 10), ether_rule(PORT, 0x800)));
    EXPECT_FALSE(meets(ether_rule(PORT, 0x800), cos_rule(PORT, 3)));
    EXPECT_TRUE(meets(ether_rule(PORT, 0), cos_rule(PORT, 0))); // no difference
    const Rule tagged_ip = both(vlan_rule(PORT, 10), ether_rule(PORT, 0x800));
    EXPECT_FALSE(meets(tagged_ip, vlan_rule(PORT, 10))); // Ethernet type 0x800 and 0
    EXPECT_FALSE(meets(vlan_rule(PORT, 10), tagged_ip));
    EXPECT_FALSE(meets(tagged_ip, both(vlan_rule(PORT, 10), ether_rule(PORT, 0x806))));
    EXPECT_TRUE(meets(both(vlan_rule(PORT, 10), cos_rule(PORT, 0)), vlan_rule(PORT, 10)));
}

TEST(QinqConflict, RulesWithoutACriterionMeet) {
    EXPECT_TRUE(meets(rule_on(PORT, 0), rule_on(PORT, 1)));
    EXPECT_TRUE(meets(EVERYTHING, rule_on(PORT, 0)));
}

// ---- the same rule ----------------------------------------------------------------------------------------

bool means(const Rule& entry, const Rule& request) {
    return ov_app_gpon_qinq_match_byall(entry, request);
}

TEST(QinqMatch, TheCriteriaOfTheRequestCountAndTheServiceVlanDoesnt) {
    EXPECT_TRUE(means(vlan_rule(PORT, 10, 100), vlan_rule(PORT, 10, 200)));
    EXPECT_FALSE(means(vlan_rule(PORT, 10), vlan_rule(PORT, 11)));
    EXPECT_FALSE(means(vlan_rule(PORT, 10), vlan_rule(port_at(5), 10)));
    EXPECT_TRUE(means(range_rule(PORT, 10, 20), range_rule(PORT, 10, 20)));
    EXPECT_FALSE(means(range_rule(PORT, 10, 20), range_rule(PORT, 10, 21)));
    EXPECT_FALSE(means(range_rule(PORT, 10, 20), range_rule(PORT, 9, 20)));
    EXPECT_FALSE(means(ether_rule(PORT, 1), ether_rule(PORT, 2)));
    EXPECT_FALSE(means(cos_rule(PORT, 1), cos_rule(PORT, 2)));
    EXPECT_FALSE(means(both(vlan_rule(PORT, 10), cos_rule(PORT, 0)), vlan_rule(PORT, 10)));
}

TEST(QinqMatch, WhatTheBitsDontNameDoesntCount) {
    Rule odd = cos_rule(PORT, 3);
    odd.user_vlan_min = 77;
    EXPECT_TRUE(means(cos_rule(PORT, 3), odd));
}

TEST(QinqMatch, TheBitForAllMeansAnyOfTheInterface) {
    EXPECT_TRUE(means(vlan_rule(PORT, 10), rule_on(PORT, ALL)));
    EXPECT_TRUE(means(EVERYTHING, rule_on(PORT, ALL | VLAN)));
    EXPECT_FALSE(means(vlan_rule(PORT, 10), rule_on(port_at(5), ALL)));
}

} // namespace
