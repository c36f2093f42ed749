// PDUs of a master agent, sound and not.
#include "agentx_pdu.h"

#include <gtest/gtest.h>

#include <string>

#include "../support/dice.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t GET = 5, GET_BULK = 7, TEST_SET = 8, COMMIT_SET = 9, CLOSE = 2, RESPONSE = 18;

void put32(Bytes& to, uint32_t value) {
    for (const int shift : {24, 16, 8, 0})
        to.push_back(uint8_t(value >> shift));
}

void append(Bytes& to, const Bytes& more) {
    to.insert(to.end(), more.begin(), more.end());
}

Bytes oid_of(size_t arcs, uint8_t prefix = 0) {
    Bytes bytes = {uint8_t(arcs), prefix, 0, 0};
    for (size_t n = 0; n < arcs; n++)
        put32(bytes, uint32_t(n + 1));
    return bytes;
}

Bytes string_of(const std::string& text) {
    Bytes bytes;
    put32(bytes, uint32_t(text.size()));
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.resize((bytes.size() + 3) / 4 * 4);
    return bytes;
}

Bytes variable_of(uint16_t type, const Bytes& value, size_t arcs = 10) {
    Bytes bytes = {uint8_t(type >> 8), uint8_t(type), 0, 0};
    append(bytes, oid_of(arcs));
    append(bytes, value);
    return bytes;
}

Bytes pdu(uint8_t type, const Bytes& payload, uint8_t flags = 0) {
    Bytes bytes = {1, type, uint8_t(flags | 0x10), 0};
    for (const uint32_t word : {7u, 55u, 100u})
        put32(bytes, word);
    put32(bytes, uint32_t(payload.size()));
    append(bytes, payload);
    return bytes;
}

Bytes ranges(size_t count) {
    Bytes bytes;
    for (size_t n = 0; n < 2 * count; n++)
        append(bytes, oid_of(n % 2 == 0 ? 12 : 0, 4));
    return bytes;
}

std::vector<Bytes> sound_ones() {
    Bytes all_values;
    for (const uint16_t type : {2, 65, 66, 67})
        append(all_values, variable_of(type, Bytes(4)));
    for (const uint16_t type : {4, 64, 68})
        append(all_values, variable_of(type, string_of("abcde")));
    for (const uint16_t type : {5, 128, 129, 130})
        append(all_values, variable_of(type, {}));
    append(all_values, variable_of(6, oid_of(128)));
    append(all_values, variable_of(70, Bytes(8)));
    Bytes bulk(4);
    append(bulk, ranges(2));
    Bytes response(8);
    append(response, all_values);
    Bytes in_context = string_of("context");
    append(in_context, ranges(1));
    return {pdu(GET, ranges(3)),
            pdu(GET + 1, ranges(1)),
            pdu(GET_BULK, bulk),
            pdu(TEST_SET, all_values),
            pdu(COMMIT_SET, {}),
            pdu(10, {}),
            pdu(11, {}),
            pdu(RESPONSE, Bytes(8)),
            pdu(RESPONSE, response),
            pdu(CLOSE, Bytes(4)),
            pdu(GET, in_context, 0x08)};
}

TEST(AgentxPdu, WhatAMasterSendsIsSound) {
    for (const Bytes& good : sound_ones())
        EXPECT_TRUE(agentx_pdu_is_sound(good)) << int(good[1]);
    // Little-endian words.
    const Bytes little = {1, RESPONSE, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0, 1, 0,
                          0, 0,        8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_TRUE(agentx_pdu_is_sound(little));
}

TEST(AgentxPdu, EndsWhereItsPartsEnd) {
    for (const Bytes& good : sound_ones()) {
        for (size_t size = 0; size < good.size(); size++)
            EXPECT_FALSE(agentx_pdu_is_sound(std::span(good).first(size))) << int(good[1]) << " " << size;
        // The same with a header that tells the truth.
        const size_t payload = good.size() - 20;
        for (size_t size = 0; size < payload; size++) {
            const Bytes cut =
                pdu(good[1], Bytes(good.begin() + 20, good.begin() + 20 + ptrdiff_t(size)), good[2]);
            const bool may_end = size % 4 == 0 && agentx_pdu_is_sound(cut);
            EXPECT_TRUE(!agentx_pdu_is_sound(cut) || may_end) << int(good[1]) << " " << size;
        }
        Bytes longer = good;
        longer.resize(longer.size() + 4);
        EXPECT_FALSE(agentx_pdu_is_sound(longer)) << int(good[1]);
    }
    EXPECT_FALSE(agentx_pdu_is_sound(pdu(COMMIT_SET, Bytes(4))));
    EXPECT_FALSE(agentx_pdu_is_sound(pdu(CLOSE, Bytes(8))));
    EXPECT_FALSE(agentx_pdu_is_sound(pdu(GET, oid_of(3)))); // half a range
}

TEST(AgentxPdu, AnObjectIdentifierHas128ArcsWithItsPrefix) {
    const auto get = [](const Bytes& oid) {
        Bytes range = oid;
        append(range, oid_of(0));
        return agentx_pdu_is_sound(pdu(GET, range));
    };
    EXPECT_TRUE(get(oid_of(128)));
    EXPECT_FALSE(get(oid_of(129)));
    EXPECT_TRUE(get(oid_of(123, 4)));
    EXPECT_FALSE(get(oid_of(124, 4)));
    EXPECT_FALSE(get(oid_of(255)));
    EXPECT_FALSE(agentx_pdu_is_sound(pdu(TEST_SET, variable_of(5, {}, 129))));
    EXPECT_FALSE(agentx_pdu_is_sound(pdu(TEST_SET, variable_of(6, oid_of(129)))));
}

TEST(AgentxPdu, LengthsTypesAndVersionsThatLieAreRefused) {
    for (const uint32_t lie : {6u, 100u, 0x7fffffffu, 0xfffffffdu, 0xffffffffu}) {
        Bytes text;
        put32(text, lie);
        text.resize(8);
        EXPECT_FALSE(agentx_pdu_is_sound(pdu(TEST_SET, variable_of(4, text)))) << lie;
    }
    for (const uint16_t type : {0, 1, 3, 7, 69, 71, 127, 131, 0xffff})
        EXPECT_FALSE(agentx_pdu_is_sound(pdu(TEST_SET, variable_of(type, Bytes(4))))) << type;
    for (const uint8_t type : {0, 1, 3, 4, 12, 13, 14, 15, 16, 17, 19, 255}) // a subagent's, or nobody's
        EXPECT_FALSE(agentx_pdu_is_sound(pdu(type, {}))) << int(type);
    Bytes other = pdu(COMMIT_SET, {});
    other[0] = 2;
    EXPECT_FALSE(agentx_pdu_is_sound(other));
}

TEST(AgentxGate, PassesAStreamInAnyPieces) {
    Bytes stream;
    for (const Bytes& good : sound_ones())
        append(stream, good);
    for (const size_t piece :
         {size_t(1), size_t(3), size_t(19), size_t(20), size_t(21), size_t(100), stream.size()}) {
        AgentxGate gate;
        for (size_t at = 0; at < stream.size(); at += piece)
            ASSERT_TRUE(gate.pass(std::span(stream).subspan(at, std::min(piece, stream.size() - at))))
                << piece;
    }
}

TEST(AgentxGate, RefusesAPduThatIsTooLongByItsHeader) {
    for (const uint32_t size : {0x00100000u, 0x7ffffffcu, 0xfffffffcu}) {
        Bytes head = pdu(GET, {});
        head.resize(16);
        put32(head, size);
        EXPECT_FALSE(AgentxGate().pass(head)) << size;
        AgentxGate in_bytes;
        bool passed = true;
        for (const uint8_t byte : head)
            passed = passed && in_bytes.pass({&byte, 1});
        EXPECT_FALSE(passed) << size;
    }
}

TEST(AgentxFuzz, TheGateDecidesAlikeWhereverAStreamIsCut) {
    Dice dice(14);
    const std::vector<Bytes> good = sound_ones();
    int passed = 0;
    constexpr int ROUNDS = 20000;
    for (int round = 0; round < ROUNDS; round++) {
        Bytes stream;
        for (size_t n = 1 + dice.below(3); n > 0; n--)
            append(stream, good[dice.below(good.size())]);
        stream = dice.one_in(20) ? dice.bytes(dice.below(400)) : dice.damaged(stream);
        AgentxGate whole;
        const bool expected = whole.pass(stream);
        AgentxGate cut;
        bool got = true;
        for (size_t at = 0; at < stream.size() && got;) {
            const size_t piece = std::min(1 + dice.below(60), stream.size() - at);
            got = cut.pass(std::span(stream).subspan(at, piece));
            at += piece;
        }
        ASSERT_EQ(got, expected) << "round " << round;
        passed += got;
    }
    EXPECT_GT(passed, ROUNDS / 50);
    EXPECT_LT(passed, ROUNDS);
}

} // namespace
