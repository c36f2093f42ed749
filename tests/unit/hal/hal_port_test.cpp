// The messages about physical ports: types, lengths and where the values stand.
#include "hal_port.h"

#include <gmock/gmock.h>

#include <functional>

#include "../support/hal_chassis.h"
#include "ov_types.h"

using testing::IsEmpty;
using testing::SizeIs;
using wire::Bytes;

namespace {

constexpr uint32_t SLOT = 3;
constexpr uint32_t INDEX = 0x12345678;

// A call, its message's type and length, and the words that aren't 0 by their offset behind the head.
struct PortCall {
    const char* name;
    std::function<unsigned()> call;
    uint16_t type;
    uint32_t len;
    std::vector<std::pair<size_t, uint32_t>> words;
};

const hal_port_t PORTS[2] = {{1, 2, 3, 0, big_uint32_at{0x11}}, {4, 5, 6, 0, big_uint32_at{0x22}}};
const uint32_t MEMBERS[2] = {0x77, 0x88};

hal_msg_if_t some_settings() {
    hal_msg_if_t info = {};
    info.ifindex = INDEX;
    info.mtu = 1500;
    return info;
}
const hal_msg_if_t SETTINGS = some_settings();

const std::vector<PortCall> CALLS = {
    {"add",
     [] { return hal_port_add(2, PORTS, SLOT); },
     3,
     532,
     {{0, 2}, {4, 0x01020300}, {8, 0x11}, {12, 0x04050600}, {16, 0x22}}},
    {"add_finished", [] { return hal_port_add_finished(SLOT); }, 22, 20, {}},
    {"enable_set", [] { return hal_port_enable_set(INDEX, 1, SLOT); }, 91, 72, {{0, INDEX}, {4, 1}}},
    {"speed", [] { return hal_port_speed(INDEX, 2, SLOT); }, 92, 72, {{0, INDEX}, {12, 2}}},
    {"pause", [] { return hal_port_pause(INDEX, 3, SLOT); }, 93, 72, {{0, INDEX}, {36, 3}}},
    {"autoneg", [] { return hal_port_autoneg(INDEX, 4, SLOT); }, 94, 72, {{0, INDEX}, {24, 4}}},
    {"duplex", [] { return hal_port_duplex(INDEX, 5, SLOT); }, 95, 72, {{0, INDEX}, {20, 5}}},
    {"stat_clear", [] { return hal_port_stat_clear(INDEX, SLOT); }, 96, 72, {{0, INDEX}}},
    {"mtu", [] { return hal_port_mtu(INDEX, 6, SLOT); }, 99, 72, {{0, INDEX}, {16, 6}}},
    {"rate_limit",
     [] { return hal_port_rate_limit(INDEX, 1, 7, 8, SLOT); },
     100,
     72,
     {{0, INDEX}, {8, 1}, {44, 7}, {48, 8}}},
    {"storm", [] { return hal_port_storm(INDEX, 2, 9, SLOT); }, 101, 72, {{0, INDEX}, {8, 2}, {44, 9}}},
    {"portected_set",
     [] { return hal_port_portected_set(MEMBERS, 2, SLOT); },
     102,
     276,
     {{0, 2}, {4, 0x77}, {8, 0x88}}},
    {"loopback", [] { return hal_port_loopback(INDEX, 1, SLOT); }, 104, 72, {{0, INDEX}, {32, 1}}},
    {"storm_pps",
     [] { return hal_port_storm_pps(INDEX, 2, 9, SLOT); },
     107,
     72,
     {{0, INDEX}, {8, 2}, {48, 9}}},
    {"storm_pps_cpu", [] { return hal_port_storm_pps_cpu(2, 9, SLOT); }, 108, 72, {{8, 2}, {48, 9}}},
    {"cfg_recovery",
     [] { return hal_port_cfg_recovery(&SETTINGS, SLOT); },
     109,
     72,
     {{0, INDEX}, {16, 1500}}},
    {"macmove", [] { return hal_port_macmove(INDEX, 1, SLOT); }, 113, 72, {{0, INDEX}, {52, 0x01000000}}},
    {"rate_limit_forcpu", [] { return hal_port_rate_limit_forcpu(10, SLOT); }, 114, 72, {{48, 10}}},
    {"vlan_check", [] { return hal_port_vlan_check(INDEX, 1, SLOT); }, 115, 72, {{0, INDEX}, {32, 1}}},
    {"vlan_check_forcpu", [] { return hal_port_vlan_check_forcpu(1, SLOT); }, 116, 72, {{32, 1}}},
    {"mirror_set", [] { return hal_port_mirror_set(1, 2, 3, SLOT); }, 181, 36, {{0, 1}, {4, 2}, {8, 3}}},
    {"mirror_vlan_set", [] { return hal_port_mirror_vlan_set(1, 2, 182, SLOT); }, 182, 36, {{0, 1}, {4, 2}}},
};

TEST(HalPort, EachFunctionSendsItsMessageWithTheValuesBehindTheHead) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(SLOT);
        HalChassis::activate(SLOT);
        size_t sent = 0;
        for (const PortCall& c : CALLS) {
            SCOPED_TRACE(c.name);
            ASSERT_EQ(c.call(), 0u);
            const std::vector<Bytes> seen = card.wait_for(++sent);
            ASSERT_THAT(seen, SizeIs(sent));
            const Bytes& b = seen.back();
            ASSERT_THAT(b, SizeIs(wire::NL + c.len));
            EXPECT_EQ(wire::get32(b, wire::NL), c.len);
            EXPECT_EQ(wire::get16(b, wire::NL + 4), c.type);
            EXPECT_EQ(wire::get16(b, wire::NL + 6), 1u);
            Bytes expected(c.len - 16);
            for (const auto& [at, value] : c.words)
                wire::put32(expected, at, value);
            EXPECT_EQ(Bytes(b.begin() + wire::PAYLOAD, b.end()), expected);
        }
    });
}

TEST(HalPort, ReadersAskByIndexAndCopyTheReply) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(SLOT, [](FakeCard& c, const Bytes& request) {
            Bytes b = c.reply_to(request, 0);
            for (size_t at = wire::PAYLOAD + 8; at + 8 <= b.size(); at += 8)
                wire::put32(b, at + 4, uint32_t((at - wire::PAYLOAD) / 8));
            c.answer(request, b);
        });
        HalChassis::activate(SLOT);
        hal_msg_stat_t stat = {};
        ASSERT_EQ(hal_port_stat_get(INDEX, &stat, SLOT), 0u);
        EXPECT_EQ(stat.ifindex, INDEX);
        EXPECT_EQ(stat.counter[0], 1u);
        EXPECT_EQ(stat.counter[35], 36u);
        hal_msg_rate_stat_t rates = {};
        ASSERT_EQ(hal_port_rate_stat_get(INDEX, &rates, SLOT), 0u);
        EXPECT_EQ(rates.rx_rate, 37u);
        EXPECT_EQ(rates.tx_rate, 38u);
        hal_msg_if_t info = {};
        ASSERT_EQ(hal_get_port_info(INDEX, &info, SLOT), 0u);
        EXPECT_EQ(info.ifindex, INDEX);
        EXPECT_EQ(info.speed, 1u);
        const std::vector<Bytes> seen = card.seen();
        ASSERT_THAT(seen, SizeIs(3));
        const std::pair<uint16_t, uint32_t> expected[] = {{97, 312}, {110, 328}, {98, 72}};
        for (size_t n = 0; n < 3; n++) {
            EXPECT_EQ(wire::get16(seen[n], wire::NL + 4), expected[n].first);
            EXPECT_EQ(wire::get32(seen[n], wire::NL), expected[n].second);
            EXPECT_EQ(wire::get32(seen[n], wire::PAYLOAD), INDEX);
        }
    });
}

TEST(HalPort, FailedReadLeavesTheRecord) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(SLOT, [](FakeCard& c, const Bytes& request) { c.reply(request, 1); });
        HalChassis::activate(SLOT);
        hal_msg_stat_t stat = {};
        stat.counter[3] = 42;
        EXPECT_EQ(hal_port_stat_get(INDEX, &stat, SLOT), KAVO_ERR);
        EXPECT_EQ(stat.counter[3], 42u);
    });
}

TEST(HalPort, TooManyPortsAndNullRecordsAreRefused) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(SLOT);
        HalChassis::activate(SLOT);
        EXPECT_EQ(hal_port_add(65, PORTS, SLOT), KAVO_PARAM);
        EXPECT_EQ(hal_port_add(1, nullptr, SLOT), KAVO_PARAM);
        EXPECT_EQ(hal_port_portected_set(MEMBERS, 65, SLOT), KAVO_PARAM);
        EXPECT_EQ(hal_port_cfg_recovery(nullptr, SLOT), KAVO_PARAM);
        EXPECT_EQ(hal_port_stat_get(INDEX, nullptr, SLOT), KAVO_PARAM);
        EXPECT_THAT(card.seen(), IsEmpty());
    });
}

} // namespace
