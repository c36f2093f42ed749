#include "pm_traffic.h"

#include <gtest/gtest.h>

#include <cstring>

#include "card_frame.h"
#include "card_rules.h"
#include "port_name.h"

namespace {

using namespace std::chrono_literals;

const uint32_t PON = *ifindex_of_port("gpon-olt1/1");
const uint32_t ONU_1 = *ifindex_of_port("gpon-onu1/1:1");
const uint32_t GEM_5 = 11u << 27 | (ONU_1 & 0x07FFFF80) | 4;
const uint32_t GE = *ifindex_of_port("ge1/1");

template <typename Record>
std::vector<uint8_t> bytes_of(const Record& record) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    return {bytes, bytes + sizeof record};
}

template <typename Record>
Record read(const PmCounts& counts, uint16_t number, uint32_t index) {
    std::vector<uint8_t> bytes(sizeof(Record), 0xEE);
    counts.read(number, index, bytes);
    Record record;
    std::memcpy(static_cast<void*>(&record), bytes.data(), bytes.size());
    return record;
}

uint64_t port_stat(const PmCounts& counts, std::string_view name) {
    std::vector<uint8_t> bytes(296);
    counts.read(pm_message::PORT_STAT, GE, bytes);
    for (size_t i = 0; i < 36; ++i)
        if (pm_counter_name(pm_message::PORT_STAT, i) == name)
            return static_cast<uint64_t>(get_be32(bytes, 8 + i * 8)) << 32 | get_be32(bytes, 12 + i * 8);
    ADD_FAILURE() << name;
    return 0;
}

TEST(PmCounts, WhatPassesAGemPortCountsOnItsWayToTheNetwork) {
    PmCounts counts;
    counts.pass(GEM_5, {.up = 10, .down = 3, .size = 100});
    const auto gem = read<ov_gpon_gem_pkt_sta_attr_t>(counts, 926, GEM_5).gemdata;
    EXPECT_EQ(gem.rx_packets, 10u);
    EXPECT_EQ(gem.rx_bytes, 1000u);
    EXPECT_EQ(gem.tx_packets, 3u);
    EXPECT_EQ(gem.tx_bytes, 300u);
    const auto onu = read<ov_gpon_onu_pkt_sta_attr_t>(counts, 925, ONU_1).onudata;
    EXPECT_EQ(onu.rx_packets, 10u);
    EXPECT_EQ(onu.tx_bytes, 300u);
    EXPECT_EQ(onu.bip8_bytes, 1000u);
    EXPECT_EQ(onu.fec_codewords, 5u);
    const auto pon = read<ov_gpon_port_pkt_sta_attr_t>(counts, 924, PON).pondata;
    EXPECT_EQ(pon.bip8_bytes, 1000u);
    EXPECT_EQ(pon.tx_gem, 3u);
    EXPECT_EQ(pon.rx_allocations_valid, 10u);
    const auto nni = read<ov_gpon_nni_pkt_sta_attr_t>(counts, 937, PON).nnidata;
    EXPECT_EQ(nni.rx_frames, 3u) << "what comes from the network";
    EXPECT_EQ(nni.tx_frames, 10u);
    EXPECT_EQ(nni.tx_bytes, 1000u);
    EXPECT_EQ(nni.rx_frames_65_127, 3u);
    EXPECT_EQ(nni.tx_unicast_frames, 10u);
    EXPECT_EQ(nni.tx_good_frames, 10u);
    EXPECT_EQ(nni.rx_fcs_errors, 0u);
}

TEST(PmCounts, ANetworkPortCountsByWayKindAndSize) {
    PmCounts counts;
    for (const uint32_t size : {64u, 65u, 127u, 1518u, 1519u, 9216u, 9217u})
        counts.pass(GE, {.up = 1, .down = 2, .size = size, .kind = PmTraffic::Kind::MULTICAST});
    counts.pass(GE, {.up = 5, .size = 64, .kind = PmTraffic::Kind::BROADCAST});
    EXPECT_EQ(port_stat(counts, "tx_packets"), 12u);
    EXPECT_EQ(port_stat(counts, "rx_packets"), 14u);
    EXPECT_EQ(port_stat(counts, "tx_broadcast"), 5u);
    EXPECT_EQ(port_stat(counts, "tx_multicast"), 7u);
    EXPECT_EQ(port_stat(counts, "tx_64"), 6u);
    EXPECT_EQ(port_stat(counts, "rx_65_127"), 4u);
    EXPECT_EQ(port_stat(counts, "tx_1024_1518"), 1u);
    EXPECT_EQ(port_stat(counts, "tx_1519_2047"), 1u);
    EXPECT_EQ(port_stat(counts, "rx_4096_9216"), 2u);
    const auto nni = read<ov_gpon_nni_pkt_sta_attr_t>(counts, 937, GE).nnidata;
    EXPECT_EQ(nni.tx_frames_9217_16383, 1u);
    EXPECT_EQ(nni.tx_broadcast_frames, 5u);
    counts.clear(pm_message::PORT_STAT, GE);
    EXPECT_EQ(port_stat(counts, "rx_packets"), 0u);
    EXPECT_EQ(read<ov_gpon_nni_pkt_sta_attr_t>(counts, 937, GE).nnidata.rx_frames, 14u);
}

TEST(PmCounts, ErrorsCountWhereTheyAreSeen) {
    PmCounts counts;
    EXPECT_TRUE(counts.fail(ONU_1, *find_pm_error("bip8"), 4));
    EXPECT_TRUE(counts.fail(ONU_1, *find_pm_error("fec-corrected"), 5));
    EXPECT_TRUE(counts.fail(PON, *find_pm_error("ploam"), 6));
    EXPECT_TRUE(counts.fail(GE, *find_pm_error("crc"), 7));
    EXPECT_FALSE(counts.fail(PON, *find_pm_error("rdi"), 1));
    EXPECT_FALSE(counts.fail(GEM_5, *find_pm_error("bip8"), 1));
    EXPECT_EQ(find_pm_error("nothing"), nullptr);
    const auto onu = read<ov_gpon_onu_pkt_sta_attr_t>(counts, 925, ONU_1).onudata;
    EXPECT_EQ(onu.bip8_errors, 4u);
    EXPECT_EQ(onu.fec_codewords_corrected, 5u);
    EXPECT_EQ(onu.rx_ploams_crc_error, 0u);
    const auto pon = read<ov_gpon_port_pkt_sta_attr_t>(counts, 924, PON).pondata;
    EXPECT_EQ(pon.bip8_errors, 4u);
    EXPECT_EQ(pon.rx_ploams_error, 6u);
    EXPECT_EQ(port_stat(counts, "rx_fcs_errors"), 7u);
    EXPECT_EQ(read<ov_gpon_nni_pkt_sta_attr_t>(counts, 937, GE).nnidata.rx_fcs_errors, 7u);
}

TEST(PmCounts, AnOnuTakesItsCountersAlong) {
    PmCounts counts;
    counts.pass(GEM_5, {.up = 1});
    counts.pass(GEM_5 + (1 << 7), {.up = 2}); // of ONU 2
    counts.forget_onu(ONU_1);
    EXPECT_FALSE(counts.table().contains({926, GEM_5}));
    EXPECT_FALSE(counts.table().contains({925, ONU_1}));
    EXPECT_EQ(counts.table().size(), 4u) << "ONU 2, its GEM port, the PON port and its network side";
}

TEST(PmCounts, EachCounterHasItsName) {
    EXPECT_EQ(pm_counter_count(924), 30u);
    EXPECT_EQ(pm_counter_count(937), 63u);
    EXPECT_EQ(pm_counter_name(924, 0), "fec_codewords");
    EXPECT_EQ(pm_counter_name(937, 62), "tx_underrun_frames");
}

class Flows : public testing::Test {
protected:
    Flows() {
        ov_gpon_onu_attr_t record{};
        record.ifindex = ONU_1;
        record.authAttr.mode = OV_GPON_ONU_AUTH_MODE_SN;
        std::memcpy(record.authAttr.sn, serial.data(), serial.size());
        objects.put(*find_card_message(903u), bytes_of(record));
        ov_gpon_gemport_attr_t gem{};
        gem.ifindex = GEM_5;
        objects.put(*find_card_message(909u), bytes_of(gem));
        onus.set_delays(0ms, 0ms);
        Onu plugged;
        plugged.pon = PON;
        plugged.serial = serial;
        onus.add(plugged);
    }
    void come_up() {
        onus.power_on(*onus.find(serial));
        loop.after(10ms, [this] { loop.stop(); });
        loop.run();
    }
    uint64_t gem_packets() {
        return read<ov_gpon_gem_pkt_sta_attr_t>(flows.counts(), 926, GEM_5).gemdata.rx_packets;
    }

    const OnuSerial serial = *parse_onu_serial("ABCD00000001");
    EventLoop loop;
    CardObjects objects;
    Onus onus{loop, objects, [](uint16_t, uint32_t, std::span<const uint8_t>) { return true; }};
    PmFlows flows{loop, objects, onus};
    std::string error;
};

TEST_F(Flows, AreFoundWhileTheirOnuIsUp) {
    EXPECT_FALSE(flows.find({serial, 0, 5}, error));
    EXPECT_EQ(error, "ABCD00000001 gem=5 is away");
    come_up();
    EXPECT_EQ(flows.find({serial, 0, 5}, error), GEM_5);
    EXPECT_EQ(flows.find({{}, ONU_1, 5}, error), GEM_5);
    EXPECT_EQ(flows.find({serial, 0, 0}, error), ONU_1);
    EXPECT_EQ(flows.find({{}, PON, 0}, error), PON);
    EXPECT_FALSE(flows.find({serial, 0, 6}, error));
    EXPECT_EQ(error, "ABCD00000001 gem=6: no such GEM port");
}

TEST_F(Flows, PassSoManyFramesASecondAndLoseNone) {
    come_up();
    const PmTarget target{serial, 0, 5};
    flows.set(target, {.up = 7, .size = 100});
    const auto start = PmFlows::Clock::now() + 1s;
    flows.settle(start);
    const uint64_t before = gem_packets();
    for (int i = 1; i <= 1000; ++i)
        flows.settle(start + i * 10ms);
    EXPECT_EQ(gem_packets() - before, 70u);
    flows.set(target, {.up = 1});
    EXPECT_EQ(flows.all().size(), 1u) << "in place of the first";
    EXPECT_TRUE(flows.stop(target));
    EXPECT_FALSE(flows.stop(target));
    flows.settle(start + 100s);
    EXPECT_EQ(gem_packets() - before, 70u);
}

TEST_F(Flows, AnOnuThatIsAwayPassesNothing) {
    come_up();
    flows.set({serial, 0, 5}, {.up = 1000});
    onus.power_off(*onus.find(serial), false);
    const uint64_t before = gem_packets();
    const auto now = PmFlows::Clock::now();
    flows.settle(now + 10s);
    EXPECT_EQ(gem_packets(), before);
}

} // namespace
