#include "card_qos.h"

#include <array>

#include <gtest/gtest.h>

#include "card_change.h"
#include "card_rules.h"

namespace {

constexpr uint32_t SLOT = 3;
constexpr uint32_t NO_LIMIT = 0xffffffff;
constexpr uint16_t ONU_QOS = 921;
constexpr uint16_t SERVPORT = 910;
constexpr uint16_t COSQ_MAP_PUT = 708;
constexpr uint16_t SCHED_PUT = 710;
constexpr uint16_t TRAFFIC_PUT = 712;
constexpr uint16_t COS_TO_COS_PUT = 718;

uint32_t index_at(uint32_t kind, uint32_t slot, uint32_t port, uint32_t onu, uint32_t low) {
    return kind << 27 | 1u << 26 | slot << 21 | (port - 1) << 15 | (onu - 1) << 7 | low;
}
const uint32_t PON = index_at(9, SLOT, 2, 1, 0);
const uint32_t UPLINK = index_at(3, 17, 1, 1, 0);
const uint32_t ONU = index_at(10, SLOT, 2, 12, 0);

using Bytes = std::vector<uint8_t>;

Bytes words(std::initializer_list<uint32_t> numbers, size_t size) {
    Bytes record(size);
    size_t at = 0;
    for (const uint32_t number : numbers) {
        put_be32(record, at, number);
        at += 4;
    }
    return record;
}
// A profile of eight equal values, and eight further ones where its kind has them.
Bytes profile(uint32_t id, uint32_t value, size_t values = 8) {
    Bytes record = words({id}, 4 + 4 * values);
    for (size_t at = 4; at <= 32; at += 4)
        put_be32(record, at, value);
    return record;
}

class CardQos : public testing::Test {
protected:
    void SetUp() override {
        Bytes type(128);
        type[0] = 't';
        put_be32(type, 116, 4); // downstream queues
        EXPECT_EQ(tell(906, type, card_action::CREATE), "");
        Bytes onu(316);
        put_be32(onu, 0, ONU);
        onu[144] = 't';
        EXPECT_EQ(tell(903, onu, card_action::CREATE), "");
    }
    // Tells the card, which does it unless it refuses, with this reason.
    std::string tell(uint16_t number, const Bytes& record, uint32_t action = 0, uint32_t mask = 1) {
        CardRequest request;
        request.message = find_card_message(number);
        request.action = action ? action : request.message->action;
        request.mask = mask;
        request.record = record;
        const auto refusal = check_card_rules(request, SLOT, objects);
        if (refusal)
            return refusal->reason;
        change_objects(objects, request);
        return "";
    }
    std::string tell_onu(int bit, size_t word, uint32_t id, uint32_t index = ONU) {
        Bytes record = words({index}, 32);
        put_be32(record, word * 4, id);
        return tell(ONU_QOS, record, card_action::SET, 1u << bit);
    }
    uint32_t held(uint16_t number, uint32_t index, size_t word) const {
        const auto* object = objects.find(number, index);
        return object ? get_be32(*object, word * 4) : 0xDEAD;
    }

    CardObjects objects;
};

// ---- profiles ---------------------------------------------------------------------------------------------

TEST_F(CardQos, ProfilesComeAndGo) {
    for (const auto& [put, record] :
         {std::pair(COSQ_MAP_PUT, profile(3, 7)), std::pair(SCHED_PUT, profile(16, 4, 16)),
          std::pair(TRAFFIC_PUT, profile(128, 1000, 16)), std::pair(COS_TO_COS_PUT, profile(7, 7))}) {
        EXPECT_EQ(tell(put, record), "") << put;
        EXPECT_EQ(tell(put, record), "") << "told again when the card came up";
        EXPECT_EQ(objects.table(put).size(), 1u);
        EXPECT_EQ(tell(static_cast<uint16_t>(put + 1), record), "");
        EXPECT_TRUE(objects.table(put).empty());
    }
}

TEST_F(CardQos, ValuesThatDontExistAreRefused) {
    EXPECT_EQ(tell(COSQ_MAP_PUT, profile(8, 0)), "value");
    EXPECT_EQ(tell(COSQ_MAP_PUT, profile(1, 8)), "value");
    EXPECT_EQ(tell(COS_TO_COS_PUT, profile(1, 8)), "value");
    EXPECT_EQ(tell(SCHED_PUT, profile(1, 0, 16)), "value");
    EXPECT_EQ(tell(SCHED_PUT, profile(1, 5, 16)), "value");
    EXPECT_EQ(tell(SCHED_PUT, profile(17, 1, 16)), "value");
    EXPECT_EQ(tell(TRAFFIC_PUT, profile(129, 1, 16)), "value");
}

TEST_F(CardQos, AWeightIsAtMost127) {
    Bytes wrr = profile(1, 2, 16);
    put_be32(wrr, 36 + 4 * 7, 127);
    EXPECT_EQ(tell(SCHED_PUT, wrr), "");
    put_be32(wrr, 36 + 4 * 7, 128);
    EXPECT_EQ(tell(SCHED_PUT, wrr), "value");
}

TEST_F(CardQos, ABandwidthWithoutLimitIsMoreThanAny) {
    Bytes traffic = profile(1, NO_LIMIT, 16);
    EXPECT_EQ(tell(TRAFFIC_PUT, traffic), "");
    put_be32(traffic, 36, 100000000);
    EXPECT_EQ(tell(TRAFFIC_PUT, traffic), "");
    put_be32(traffic, 4, 99999999);
    EXPECT_EQ(tell(TRAFFIC_PUT, traffic), "value");
    put_be32(traffic, 4, 100000001);
    EXPECT_EQ(tell(TRAFFIC_PUT, traffic), "value");
}

// ---- what names them --------------------------------------------------------------------------------------

TEST_F(CardQos, APortHasProfilesThatTheCardWasTold) {
    for (const uint32_t port : {PON, UPLINK}) {
        EXPECT_EQ(tell(714, words({port, 0, 4}, 28)), "no-cosq-map");
        EXPECT_EQ(tell(715, words({port, 0, 0, 2}, 28)), "no-sched");
        EXPECT_EQ(tell(716, words({port, 0, 0, 0, 2}, 28)), "no-traffic");
        EXPECT_EQ(tell(720, words({port, 0, 0, 0, 0, 2, 0}, 28)), "no-cos-to-cos");
        EXPECT_EQ(tell(720, words({port, 0, 0, 0, 0, 0, 2}, 28)), "no-cos-to-cos");
    }
    tell(COSQ_MAP_PUT, profile(4, 7));
    for (const uint32_t port : {PON, UPLINK}) {
        EXPECT_EQ(tell(714, words({port, 0, 4}, 28)), "");
        EXPECT_EQ(held(717, port, 1), 1u) << "a port is simple until it is told";
        EXPECT_EQ(held(717, port, 2), 4u);
    }
}

TEST_F(CardQos, EachMessageToAPortSetsItsFieldOnly) {
    tell(SCHED_PUT, profile(2, 1, 16));
    EXPECT_EQ(tell(715, words({PON, 2, 7, 2, 7, 7, 7}, 28)), "");
    EXPECT_EQ(*objects.find(717, PON), words({PON, 1, 0, 2}, 28));
}

TEST_F(CardQos, DefaultsAreKnownWithoutBeingTold) {
    for (const uint32_t id : {0u, 5u, 6u, 7u, 8u})
        EXPECT_EQ(tell(714, words({PON, 0, id}, 28)), "") << id;
    EXPECT_EQ(tell_onu(3, 7, 8), "");
    EXPECT_EQ(tell_onu(7, 6, 8), "");
    EXPECT_EQ(tell_onu(2, 2, 0), "");
    EXPECT_EQ(tell_onu(1, 1, 0), "");
}

TEST_F(CardQos, AnotherCardsPortIsRefused) {
    EXPECT_EQ(tell(715, words({index_at(9, SLOT + 1, 2, 1, 0)}, 28)), "other-slot");
}

TEST_F(CardQos, AnOnuHasProfilesThatTheCardWasTold) {
    EXPECT_EQ(tell_onu(1, 1, 2), "no-traffic");
    EXPECT_EQ(tell_onu(2, 2, 2), "no-sched");
    EXPECT_EQ(tell_onu(3, 7, 2), "no-cosq-map");
    EXPECT_EQ(tell_onu(7, 6, 2), "no-cos-to-cos");
    EXPECT_EQ(tell_onu(6, 2, 2), "") << "what the mask doesn't name isn't looked at";
    tell(TRAFFIC_PUT, profile(2, 1000, 16));
    EXPECT_EQ(tell_onu(1, 1, 2), "");
    EXPECT_EQ(held(ONU_QOS, ONU, 1), 2u);
}

TEST_F(CardQos, AMappingMustFitTheOnusQueues) {
    tell(COSQ_MAP_PUT, profile(1, 3));
    tell(COSQ_MAP_PUT, profile(2, 4));
    EXPECT_EQ(tell_onu(3, 7, 1), "");
    EXPECT_EQ(tell_onu(3, 7, 2), "no-such-queue");
    EXPECT_EQ(held(ONU_QOS, ONU, 7), 1u);
    EXPECT_EQ(tell_onu(3, 7, 0), "") << "cards know what to do with their own mappings";
}

TEST_F(CardQos, TemplatesComeBeforeTheProfiles) {
    EXPECT_EQ(tell_onu(1, 1, 2, index_at(10, TEMPLATE_SLOT, 16, 4, 0)), "");
}

class CardQosOfServicePort : public CardQos {
protected:
    void SetUp() override {
        CardQos::SetUp();
        Bytes tcont = words({ONU, 1}, 144);
        EXPECT_EQ(tell(908, tcont, card_action::CREATE), "");
        Bytes gem = words({index_at(11, SLOT, 2, 12, 0)}, 168);
        put_be32(gem, 72, 1);
        EXPECT_EQ(tell(909, gem, card_action::CREATE), "");
        EXPECT_EQ(tell(SERVPORT, port(0, NO_LIMIT), card_action::CREATE), "");
    }
    static Bytes port(uint32_t cos_to_cos, uint32_t mapping) {
        Bytes record = words({index_at(12, SLOT, 2, 12, 0), index_at(11, SLOT, 2, 12, 0)}, 52);
        put_be32(record, 32, mapping);
        put_be32(record, 40, cos_to_cos);
        return record;
    }
};

TEST_F(CardQosOfServicePort, ItHasProfilesThatTheCardWasTold) {
    EXPECT_EQ(tell(SERVPORT, port(5, 0), card_action::SET, 1u << OV_GPON_SERVICE_PORT_ATTR_INDEX_cos_to_cos),
              "no-cos-to-cos");
    EXPECT_EQ(tell(SERVPORT, port(0, 3), card_action::SET, 1u << OV_GPON_SERVICE_PORT_ATTR_INDEX_cosq_map),
              "no-cosq-map");
    tell(COS_TO_COS_PUT, profile(5, 1));
    EXPECT_EQ(tell(SERVPORT, port(5, 0), card_action::SET, 1u << OV_GPON_SERVICE_PORT_ATTR_INDEX_cos_to_cos),
              "");
    EXPECT_EQ(tell(719, profile(5, 1)), "in-use");
}

// ---- deletion, and the model of a port --------------------------------------------------------------------

TEST_F(CardQos, AProfileThatIsBoundStays) {
    tell(TRAFFIC_PUT, profile(2, 1000, 16));
    tell(TRAFFIC_PUT, profile(3, 1000, 16));
    tell_onu(1, 1, 2);
    tell(716, words({PON, 0, 0, 0, 3}, 28));
    EXPECT_EQ(tell(713, profile(2, 0, 16)), "in-use");
    EXPECT_EQ(tell(713, profile(3, 0, 16)), "in-use");
    tell_onu(1, 1, 3);
    tell(716, words({PON, 0, 0, 0, 0}, 28));
    EXPECT_EQ(tell(713, profile(2, 0, 16)), "");
    EXPECT_EQ(tell(713, profile(3, 0, 16)), "in-use");
    Bytes onu = words({ONU}, 316);
    tell(903, onu, card_action::DELETE);
    EXPECT_EQ(tell(713, profile(3, 0, 16)), "");
}

TEST_F(CardQos, ATemplateBindsNothing) {
    tell(TRAFFIC_PUT, profile(2, 1000, 16));
    tell_onu(1, 1, 2, index_at(10, TEMPLATE_SLOT, 16, 4, 0));
    EXPECT_EQ(tell(713, profile(2, 0, 16)), "");
}

TEST_F(CardQos, AHierarchicalSchedulerBeginsWithoutProfiles) {
    tell(SCHED_PUT, profile(2, 1, 16));
    tell(715, words({PON, 0, 0, 2}, 28));
    EXPECT_EQ(tell(717, words({PON, 3}, 28)), "value");
    EXPECT_EQ(tell(717, words({PON, 2}, 28)), "");
    EXPECT_EQ(*objects.find(717, PON), words({PON, 2}, 28));
    tell(715, words({PON, 0, 0, 2}, 28));
    EXPECT_EQ(tell(717, words({PON, 2}, 28)), "") << "no change";
    EXPECT_EQ(*objects.find(717, PON), words({PON, 2, 0, 2}, 28));
}

TEST_F(CardQos, ASimpleSchedulerHasNothingLeftOfTheOnus) {
    tell(717, words({PON, 2}, 28));
    tell_onu(6, 5, 12);
    tell(717, words({UPLINK, 2}, 28));
    tell(717, words({UPLINK, 1}, 28));
    EXPECT_EQ(objects.table(ONU_QOS).size(), 1u) << "another port's";
    tell(717, words({PON, 1}, 28));
    EXPECT_TRUE(objects.table(ONU_QOS).empty());
}

} // namespace
