// Requests for values, read, and Responses to them, written.
#include "agentx_query.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "../support/dice.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Arcs = std::vector<uint32_t>;

// A GetBulk of two ranges, and a Get in the other byte order.
// clang-format off
const Bytes BULK = {1, 7, 0x10, 0, 0, 0, 0, 7, 0, 0, 0, 55, 0, 0, 0, 9, 0, 0, 0, 40,
                    0, 1, 1, 2,                                     // 1 non-repeater, 258 repetitions
                    2, 4, 1, 0, 0, 0, 0, 1, 0x80, 0, 0, 2,          // 1.3.6.1.4.1.(2^31 + 2), included
                    0, 2, 0, 0,                                     // 1.3.6.1.2
                    3, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 3, 0, 0, 0, 6, // 1.3.6
                    0, 0, 0, 0};
const Bytes LITTLE = {1, 5, 0, 0, 7, 0, 0, 0, 55, 0, 0, 0, 9, 0, 0, 0, 12, 0, 0, 0,
                      1, 4, 0, 0, 2, 1, 0, 0, // 1.3.6.1.4.258
                      0, 0, 0, 0};
// clang-format on

Arcs arcs_of(const AgentxName& name) {
    return {name.arcs().begin(), name.arcs().end()};
}

TEST(AgentxQuery, SaysWhatIsAsked) {
    AgentxQuery query;
    ASSERT_TRUE(query.read(BULK));
    EXPECT_EQ(query.header().type, AgentxPduType::GET_BULK);
    EXPECT_EQ(query.header().packet, 9u);
    EXPECT_TRUE(query.is_network_order());
    EXPECT_EQ(query.unrepeated(), 1u);
    EXPECT_EQ(query.repetitions(), 258u);
    ASSERT_EQ(query.ranges().size(), 2u);
    const AgentxRange& first = query.ranges()[0];
    EXPECT_EQ(arcs_of(first.start), (Arcs{1, 3, 6, 1, 4, 1, 0x80000002}));
    EXPECT_TRUE(first.includes_start);
    EXPECT_EQ(arcs_of(first.end), (Arcs{1, 3, 6, 1, 2}));
    const AgentxRange& second = query.ranges()[1];
    EXPECT_EQ(arcs_of(second.start), (Arcs{1, 3, 6}));
    EXPECT_FALSE(second.includes_start);
    EXPECT_TRUE(arcs_of(second.end).empty());
}

TEST(AgentxQuery, TakesEitherByteOrderAndIsUsedAgain) {
    AgentxQuery query;
    ASSERT_TRUE(query.read(BULK));
    ASSERT_TRUE(query.read(LITTLE));
    EXPECT_FALSE(query.is_network_order());
    EXPECT_EQ(query.header().session, 7u);
    ASSERT_EQ(query.ranges().size(), 1u);
    EXPECT_EQ(arcs_of(query.ranges()[0].start), (Arcs{1, 3, 6, 1, 4, 258}));
    EXPECT_FALSE(query.ranges()[0].includes_start);
    EXPECT_EQ(query.unrepeated(), 1u);
    EXPECT_EQ(query.repetitions(), 1u);
}

TEST(AgentxQuery, TwoZerosAreNoName) {
    Bytes get = {1, 5, 0x10, 0, 0, 0, 0, 7, 0, 0, 0, 55, 0, 0, 0, 9, 0, 0, 0, 24};
    const Bytes zeros = {2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    get.insert(get.end(), zeros.begin(), zeros.end());
    get.insert(get.end(), zeros.begin(), zeros.end());
    AgentxQuery query;
    ASSERT_TRUE(query.read(get));
    EXPECT_TRUE(arcs_of(query.ranges()[0].start).empty());
    EXPECT_TRUE(arcs_of(query.ranges()[0].end).empty());
}

TEST(AgentxQuery, LeavesWhatIsOutOfTheOrdinary) {
    AgentxQuery query;
    EXPECT_FALSE(query.read({}));
    for (const uint8_t flags : {0x11, 0x12, 0x14, 0x18, 0x30, 0x50, 0x90}) {
        Bytes flagged = BULK;
        flagged[2] = flags;
        EXPECT_FALSE(query.read(flagged)) << int(flags);
    }
    for (const uint8_t type : {0, 1, 2, 8, 9, 10, 11, 12, 13, 18, 255}) {
        Bytes other = BULK;
        other[1] = type;
        EXPECT_FALSE(query.read(other)) << int(type);
    }
    Bytes none = BULK;
    none.resize(24);
    EXPECT_FALSE(query.read(none));
    for (size_t size = 0; size < BULK.size(); size++) {
        Bytes cut = BULK;
        cut.resize(size);
        AgentxQuery other;
        const bool is_first_range_alone = size == 40;
        EXPECT_EQ(other.read(cut), is_first_range_alone) << size;
    }
    Bytes many = {1, 5, 0x10, 0, 0, 0, 0, 7, 0, 0, 0, 55, 0, 0, 0, 9, 0, 0, 0, 0};
    many.resize(20 + AgentxQuery::MAX_RANGES * 8);
    EXPECT_TRUE(query.read(many));
    many.resize(many.size() + 8);
    EXPECT_FALSE(query.read(many));
}

TEST(AgentxQuery, NamesSortByTheirArcsAndThePrefixFirst) {
    const Arcs sorted[] = {
        {}, {0}, {1}, {1, 0}, {1, 3, 6}, {1, 3, 6, 0}, {1, 3, 0x7FFFFFFF}, {1, 3, 0x80000000}, {2}};
    for (size_t a = 0; a < std::size(sorted); a++)
        for (size_t b = 0; b < std::size(sorted); b++) {
            const int order = agentx_compare(sorted[a], sorted[b]);
            EXPECT_EQ(order < 0, a < b) << a << " " << b;
            EXPECT_EQ(order == 0, a == b) << a << " " << b;
        }
}

TEST(AgentxQuery, ANameHasRoomFor128Arcs) {
    AgentxName name;
    for (uint32_t arc = 0; arc < AgentxName::MAX_ARCS; arc++)
        EXPECT_TRUE(name.append(arc));
    EXPECT_FALSE(name.append(1));
    EXPECT_EQ(name.arcs().size(), AgentxName::MAX_ARCS);
    const Arcs more(200, 1);
    name = more;
    EXPECT_EQ(name.arcs().size(), AgentxName::MAX_ARCS);
    const AgentxName copy = name;
    EXPECT_EQ(arcs_of(copy), Arcs(AgentxName::MAX_ARCS, 1));
}

// ---- answers -----------------------------------------------------------------------------------------

const Arcs ONE = {1, 3, 6, 1, 4, 1, 5};
const uint8_t TEXT[] = {'a', 'b', 'c', 'd', 'e'};

Bytes answer_to(const Bytes& request, size_t slots, const std::function<void(AgentxAnswer&)>& fill) {
    AgentxQuery query;
    EXPECT_TRUE(query.read(request));
    AgentxAnswer answer;
    answer.begin(query);
    fill(answer);
    Bytes response;
    answer.finish(slots, response);
    EXPECT_TRUE(agentx_pdu_is_sound(response));
    EXPECT_EQ(agentx_response_error(response), 0u);
    return response;
}

TEST(AgentxAnswer, IsInTheByteOrderOfTheQuestion) {
    const auto number = [](AgentxArcs name) {
        return [name](AgentxAnswer& answer) {
            answer.add(0, name, {.type = 2, .number = 0x01020304, .bytes = {}});
            answer.add(1, name, {.type = 70, .number = 0x0102030405060708, .bytes = {}});
        };
    };
    const Bytes network = {1, 18, 0x10, 0, 0, 0, 0, 7, 0, 0, 0, 55, 0, 0, 0, 9, 0, 0, 0, 52, //
                           0, 0,  0,    0, 0, 0, 0, 0,                                       //
                           0, 2,  0,    0, 2, 4, 0, 0, 0, 0, 0, 1,  0, 0, 0, 5, 1, 2, 3, 4,  //
                           0, 70, 0,    0, 2, 4, 0, 0, 0, 0, 0, 1,  0, 0, 0, 5, 1, 2, 3, 4,  5, 6, 7, 8};
    EXPECT_EQ(answer_to(BULK, 2, number(ONE)), network);
    const Bytes little = {1,  18, 0, 0, 7, 0, 0, 0, 55, 0, 0, 0, 9, 0, 0, 0, 52, 0, 0, 0, //
                          0,  0,  0, 0, 0, 0, 0, 0,                                       //
                          2,  0,  0, 0, 2, 4, 0, 0, 1,  0, 0, 0, 5, 0, 0, 0, 4,  3, 2, 1, //
                          70, 0,  0, 0, 2, 4, 0, 0, 1,  0, 0, 0, 5, 0, 0, 0, 8,  7, 6, 5, 4, 3, 2, 1};
    EXPECT_EQ(answer_to(LITTLE, 2, number(ONE)), little);
}

TEST(AgentxAnswer, VariablesStandInTheOrderOfTheirSlots) {
    const auto exception = [](uint16_t type) { return AgentxValue{.type = type, .number = 0, .bytes = {}}; };
    const Arcs names[] = {{1}, {2}, {3}};
    const auto fill = [&](std::vector<size_t> order) {
        return [&, order](AgentxAnswer& answer) {
            for (const size_t slot : order)
                answer.add(slot, names[slot], exception(uint16_t(128 + slot)));
        };
    };
    const Bytes expected = answer_to(BULK, 3, fill({0, 1, 2}));
    EXPECT_EQ(answer_to(BULK, 3, fill({2, 0, 1})), expected);
    EXPECT_EQ(answer_to(BULK, 3, fill({1, 2, 0})), expected);
    EXPECT_EQ(answer_to(BULK, 0, fill({})).size(), 28u);
}

TEST(AgentxAnswer, OctetStringsAreFilledUpToAWord) {
    for (size_t size = 0; size <= std::size(TEXT); size++) {
        const Bytes response = answer_to(BULK, 1, [&](AgentxAnswer& answer) {
            answer.add(0, ONE, {.type = 4, .number = 0, .bytes = std::span(TEXT).first(size)});
        });
        ASSERT_EQ(response.size(), 28u + 16 + 4 + (size + 3) / 4 * 4);
        EXPECT_EQ(response[47], size);
        EXPECT_TRUE(std::equal(TEXT, TEXT + size, response.begin() + 48));
        for (size_t i = 48 + size; i < response.size(); i++)
            EXPECT_EQ(response[i], 0);
    }
}

TEST(AgentxAnswer, NamesArePrefixedWhereTheyCanBe) {
    struct Case {
        Arcs name;
        Bytes head;
    };
    const Case cases[] = {{{1, 3, 6, 1, 4, 1}, {1, 4, 0, 0}},
                          {{1, 3, 6, 1, 255}, {0, 255, 0, 0}},
                          {{1, 3, 6, 1, 256}, {5, 0, 0, 0}},
                          {{1, 3, 6, 1, 0}, {5, 0, 0, 0}},
                          {{1, 3, 6, 1}, {4, 0, 0, 0}},
                          {{1, 3, 6, 2, 4}, {5, 0, 0, 0}},
                          {{}, {2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}}};
    for (const auto& [name, head] : cases) {
        const Bytes response = answer_to(BULK, 1, [&](AgentxAnswer& answer) {
            answer.add(0, name, {.type = 130, .number = 0, .bytes = {}});
        });
        EXPECT_TRUE(std::equal(head.begin(), head.end(), response.begin() + 32)) << name.size();
    }
}

// ---- any bytes ---------------------------------------------------------------------------------------

TEST(AgentxFuzz, AQueryIsReadFromAnyBytes) {
    Dice dice(15);
    AgentxQuery query;
    int taken = 0;
    constexpr int ROUNDS = 50000;
    for (int round = 0; round < ROUNDS; round++) {
        const Bytes bytes =
            dice.one_in(20) ? dice.bytes(dice.below(400)) : dice.damaged(dice.one_in(2) ? BULK : LITTLE);
        if (!query.read(bytes))
            continue;
        taken++;
        EXPECT_LE(query.unrepeated(), query.ranges().size());
        for (const AgentxRange& range : query.ranges())
            EXPECT_LE(std::max(range.start.arcs().size(), range.end.arcs().size()), AgentxName::MAX_ARCS);
    }
    EXPECT_GT(taken, ROUNDS / 50);
    EXPECT_LT(taken, ROUNDS);
}

} // namespace
