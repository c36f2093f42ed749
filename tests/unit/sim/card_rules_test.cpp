#include "card_rules.h"

#include <gtest/gtest.h>

#include "card_change.h"
#include "qinq_rules.h"

namespace {

constexpr uint32_t SLOT = 3;

uint32_t index_at(uint32_t kind, uint32_t slot, uint32_t port, uint32_t onu, uint32_t low) {
    return kind << 27 | 1u << 26 | slot << 21 | (port - 1) << 15 | (onu - 1) << 7 | low;
}

class CardRules : public testing::Test {
protected:
    static CardRequest request(uint16_t number, uint32_t action, const std::vector<uint8_t>& record,
                               uint32_t mask = 0) {
        CardRequest made;
        made.message = find_card_message(number);
        made.action = action;
        made.mask = mask;
        made.record = record;
        return made;
    }
    std::string reason(const CardRequest& made) const {
        const auto refusal = check_card_rules(made, SLOT, objects);
        return refusal ? refusal->reason : "";
    }
    // Checks it and, when it is a good one, does it.
    std::string create(uint16_t number, const std::vector<uint8_t>& record) {
        const CardRequest made = request(number, card_action::CREATE, record);
        const std::string why = reason(made);
        if (why.empty())
            objects.put(*made.message, record);
        return why;
    }

    static std::vector<uint8_t> onu(uint32_t number, uint32_t profile = 0) {
        std::vector<uint8_t> record(316);
        put_be32(record, 0, index_at(10, SLOT, 2, number, 0));
        put_be32(record, 304, profile);
        return record;
    }
    static std::vector<uint8_t> tcont(uint32_t onu_number, uint32_t id, uint32_t slot = SLOT) {
        std::vector<uint8_t> record(144);
        put_be32(record, 0, index_at(10, slot, 2, onu_number, 0));
        put_be32(record, 4, id);
        return record;
    }
    static std::vector<uint8_t> gem(uint32_t onu_number, uint32_t id, uint32_t tcont_id,
                                    uint32_t slot = SLOT) {
        std::vector<uint8_t> record(168);
        put_be32(record, 0, index_at(11, slot, 2, onu_number, id - 1));
        put_be32(record, 72, tcont_id);
        return record;
    }
    static std::vector<uint8_t> servport(uint32_t onu_number, uint32_t id, uint32_t gem_id) {
        std::vector<uint8_t> record(52);
        put_be32(record, 0, index_at(12, SLOT, 2, onu_number, id - 1));
        put_be32(record, 4, index_at(11, SLOT, 2, onu_number, gem_id - 1));
        return record;
    }

    CardObjects objects;
};

TEST_F(CardRules, AParentComesBeforeItsChildren) {
    EXPECT_EQ(create(908, tcont(12, 1)), "missing-parent");
    EXPECT_EQ(create(903, onu(12)), "");
    EXPECT_EQ(create(909, gem(12, 5, 1)), "missing-parent");
    EXPECT_EQ(create(908, tcont(12, 1)), "");
    EXPECT_EQ(create(910, servport(12, 1, 5)), "missing-parent");
    EXPECT_EQ(create(909, gem(12, 5, 1)), "");
    EXPECT_EQ(create(910, servport(12, 1, 5)), "");
    EXPECT_EQ(objects.size(), 4u);
}

TEST_F(CardRules, TheTcontOfAnotherOnuIsNoParent) {
    create(903, onu(12));
    create(903, onu(13));
    create(908, tcont(13, 1));
    EXPECT_EQ(create(909, gem(12, 5, 1)), "missing-parent");
}

TEST_F(CardRules, AProfileProvidesTheParents) {
    create(903, onu(12, 7));
    EXPECT_EQ(create(910, servport(12, 1, 5)), "");
}

TEST_F(CardRules, ATemplateIsForEveryCardAndHasItsOwnParents) {
    EXPECT_EQ(create(908, tcont(4, 1, TEMPLATE_SLOT)), "");
    EXPECT_EQ(create(909, gem(4, 1, 2, TEMPLATE_SLOT)), "missing-parent");
    EXPECT_EQ(create(909, gem(4, 1, 1, TEMPLATE_SLOT)), "");
}

TEST_F(CardRules, AnotherSlotsObjectIsRefused) {
    EXPECT_EQ(create(908, tcont(12, 1, 4)), "other-slot");
}

TEST_F(CardRules, DeletingAnOnuTakesItsNeighboursNothing) {
    for (const uint32_t number : {11u, 12u, 13u}) {
        create(903, onu(number));
        create(908, tcont(number, 1));
        create(909, gem(number, 1, 1));
        create(909, gem(number, 128, 1));
        create(910, servport(number, 128, 128));
    }
    ASSERT_EQ(objects.size(), 15u);
    EXPECT_EQ(objects.remove(*find_card_message(903u), onu(12)), 5u);
    EXPECT_EQ(objects.size(), 10u);
    EXPECT_EQ(objects.table(909).size(), 4u);
    EXPECT_EQ(objects.remove(*find_card_message(903u), onu(12)), 0u);
}

TEST_F(CardRules, WhatIsUsedStays) {
    create(903, onu(12));
    create(908, tcont(12, 1));
    create(908, tcont(12, 2));
    create(909, gem(12, 5, 1));
    create(910, servport(12, 1, 5));
    EXPECT_EQ(reason(request(908, card_action::DELETE, tcont(12, 1))), "has-children");
    EXPECT_EQ(reason(request(908, card_action::DELETE, tcont(12, 2))), "");
    EXPECT_EQ(reason(request(909, card_action::DELETE, gem(12, 5, 1))), "has-children");
}

TEST_F(CardRules, ASetTouchesTheMaskedAttributesOnly) {
    create(903, onu(12));
    auto changed = onu(12);
    changed[4] = 'n';
    put_be32(changed, 284, 9);
    objects.set(*find_card_message(903u), 1u << OV_GPON_ONU_ATTR_INDEX_spliterNum, changed);
    const auto& held = *objects.find(*find_card_message(903u), changed);
    EXPECT_EQ(held[4], 0);
    EXPECT_EQ(get_be32(held, 284), 9u);
}

TEST_F(CardRules, ABitWithoutAnAttributeIsRefused) {
    create(903, onu(12));
    EXPECT_EQ(reason(request(903, card_action::SET, onu(12), 1u << 14)), "");
    EXPECT_EQ(reason(request(903, card_action::SET, onu(12), 1u << 15)),
              ""); // "no attribute", as columns say
    EXPECT_EQ(reason(request(903, card_action::SET, onu(12), 1u << 16)), "mask");
    EXPECT_EQ(reason(request(903, card_action::CREATE, onu(12), 0xFFFFFFFF)), "");
}

TEST_F(CardRules, AnOnuHasAnRssiProfileThatTheCardWasTold) {
    constexpr size_t RSSI_AT = 300;
    constexpr uint32_t RSSI_BIT = 1u << 12;
    std::vector<uint8_t> profile(84);
    put_be32(profile, 0, 3);
    std::vector<uint8_t> record = onu(7);
    put_be32(record, RSSI_AT, 3);
    EXPECT_EQ(create(903, record), "no-rssi-profile");
    EXPECT_EQ(create(903, onu(7)), ""); // every card has profile 0
    EXPECT_EQ(reason(request(903, card_action::SET, record, RSSI_BIT)), "no-rssi-profile");
    EXPECT_EQ(reason(request(903, card_action::SET, record, 2)), "");
    EXPECT_EQ(reason(request(904, card_action::SET, profile)), "not-found");
    EXPECT_EQ(create(904, profile), "");
    EXPECT_EQ(reason(request(904, card_action::SET, profile)), "");
    EXPECT_EQ(reason(request(903, card_action::SET, record, RSSI_BIT)), "");
    put_be32(profile, 0, 0);
    EXPECT_EQ(reason(request(904, card_action::SET, profile)), "");
}

// Its thresholds are the module's; the switch alone is told, by the action that deletes elsewhere.
TEST_F(CardRules, TheSwitchOfAModuleIsKeptByTheActionThatDeletes) {
    std::vector<uint8_t> record(48);
    put_be32(record, 0, index_at(9, SLOT, 2, 1, 0));
    for (const uint8_t on : {1, 0}) {
        record[4] = on;
        const CardRequest made = request(932, card_action::DELETE, record, 2);
        EXPECT_EQ(reason(made), "");
        change_objects(objects, made);
        ASSERT_NE(objects.find(*made.message, record), nullptr);
        EXPECT_EQ((*objects.find(*made.message, record))[4], on);
    }
}

// ---- QinQ rules -------------------------------------------------------------------------------------------

class QinqRules : public CardRules {
protected:
    static constexpr uint32_t ADD = 1u << 1;
    static constexpr uint32_t DELETE = 1u << 2;
    static constexpr uint16_t PORT_RULE = 902;
    static constexpr uint16_t ONU_RULE = 905;

    static std::vector<uint8_t> rule(uint16_t number, uint32_t place, uint16_t id, uint16_t vlan = 10) {
        std::vector<uint8_t> record(20);
        put_be32(record, 0,
                 number == PORT_RULE ? index_at(9, SLOT, place, 1, 0) : index_at(10, SLOT, 2, place, 0));
        put_be16(record, 4, id);
        put_be16(record, 6, vlan);
        return record;
    }
    std::string tell(uint16_t number, const std::vector<uint8_t>& record, uint32_t mask,
                     uint32_t action = card_action::SET) {
        const CardRequest made = request(number, action, record, mask);
        const std::string why = reason(made);
        if (why.empty())
            change_objects(objects, made);
        return why;
    }
};

TEST_F(QinqRules, TheMaskSaysWhetherARuleComesOrGoes) {
    EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 1), ADD), "");
    EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 32), ADD), "");
    EXPECT_EQ(objects.table(PORT_RULE).size(), 2u);
    EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 1), DELETE), "");
    EXPECT_EQ(objects.table(PORT_RULE).size(), 1u);
    for (const uint32_t mask : {0u, ADD | DELETE, 1u, 8u})
        EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 2), mask), "mask");
    for (const uint32_t action : {card_action::CREATE, card_action::DELETE, card_action::GET})
        EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 2), ADD, action), "qinq-action");
}

TEST_F(QinqRules, AnIdIsOneOf32AndStandsOnceOnAnInterface) {
    for (const uint16_t id : {0, 33, 65535})
        EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, id), ADD), "rule-id");
    EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 1, 10), ADD), "");
    EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 1, 11), ADD), "exists");
    EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 1, 10), ADD), ""); // told again
    EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 3, 1, 11), ADD), "");
    EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 1, 10), DELETE), "");
    EXPECT_EQ(tell(PORT_RULE, rule(PORT_RULE, 2, 1, 11), ADD), "");
}

TEST_F(QinqRules, AnOnuThatTheCardDoesntKnowHasNone) {
    EXPECT_EQ(tell(ONU_RULE, rule(ONU_RULE, 12, 1), ADD), "missing-parent");
    create(903, onu(12));
    EXPECT_EQ(tell(ONU_RULE, rule(ONU_RULE, 12, 1), ADD), "");
    objects.remove(*find_card_message(903u), onu(12));
    EXPECT_EQ(objects.table(ONU_RULE).size(), 0u);
    EXPECT_EQ(tell(PORT_RULE, rule(ONU_RULE, 12, 1), ADD), "index-kind");
}

TEST_F(QinqRules, APortThatIsCreatedAnewHasNone) {
    for (const uint32_t number : {12u, 128u}) {
        create(903, onu(number));
        tell(ONU_RULE, rule(ONU_RULE, number, 1), ADD);
    }
    tell(PORT_RULE, rule(PORT_RULE, 2, 1), ADD);
    tell(PORT_RULE, rule(PORT_RULE, 3, 1), ADD);
    forget_qinq_of_port(objects, index_at(9, SLOT, 2, 1, 0));
    EXPECT_EQ(objects.table(ONU_RULE).size(), 0u);
    EXPECT_EQ(objects.table(PORT_RULE).size(), 1u);
    EXPECT_NE(objects.find(*find_card_message(uint32_t(PORT_RULE)), rule(PORT_RULE, 3, 1)), nullptr);
}

} // namespace
