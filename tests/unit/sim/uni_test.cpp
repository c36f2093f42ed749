#include "uni.h"

#include <gtest/gtest.h>

#include <cstring>

#include "card_frame.h"
#include "onu_rules.h"

namespace {

constexpr uint32_t PON = 9u << 27 | 1u << 26 | 1u << 21;
constexpr uint32_t ONU_1 = 10u << 27 | 1u << 26 | 1u << 21;
constexpr UniPosition ETH_1 = {1, OV_GPON_RMUNI_TYPE_ETH, 1};

template <typename Record>
std::vector<uint8_t> bytes_of(const Record& record) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    return {bytes, bytes + sizeof record};
}

class Unis : public testing::Test {
protected:
    Unis() {
        ov_gpon_onutype_attr_t type{};
        std::strcpy(type.name, "HOME");
        type.id = 5;
        type.ethNum = 2;
        type.potsNum = 1;
        type.cardNum = 2;
        type.videoNum = 2;
        objects.put(*find_card_message(906u), bytes_of(type));
        tell("HOME");
        onus.set_delays(std::chrono::milliseconds(0), std::chrono::milliseconds(0),
                        std::chrono::milliseconds(5));
        Onu plugged;
        plugged.pon = PON;
        plugged.serial = *parse_onu_serial("ABCD00000001");
        onus.add(plugged);
        onus.power_on(*onus.find(PON, plugged.serial));
    }
    // Tells the card of the ONU, which is of a type.
    void tell(const char* type) {
        ov_gpon_onu_attr_t record{};
        record.ifindex = ONU_1;
        record.authAttr.mode = OV_GPON_ONU_AUTH_MODE_SN;
        const auto serial = *parse_onu_serial("ABCD00000001");
        std::memcpy(record.authAttr.sn, serial.data(), serial.size());
        std::strcpy(record.typeProfile, type);
        objects.put(*find_card_message(903u), bytes_of(record));
    }
    // Lets it come up. The loop runs once.
    void run() {
        loop.after(std::chrono::milliseconds(10), [this] { loop.stop(); });
        loop.run();
    }
    Onu& onu() { return *onus.find(*parse_onu_serial("ABCD00000001")); }
    // Sets a UNI as its card does.
    template <typename Set>
    void set_uni(const UniPosition& uni, Set set) {
        auto settings = uni_settings(onu(), objects, uni);
        set(settings);
        objects.put(*find_card_message(915u), bytes_of(settings));
    }
    uint64_t counted(UniWay way, bool running = true) {
        return uni_counts(onu(), ETH_1, way, running).packets;
    }
    bool pass(UniWay way, uint32_t packets, uint32_t size = 100) {
        return pass_traffic(onu(), objects, ETH_1, way, {.packets = packets, .size = size});
    }
    std::string refusal(uint16_t number, uint32_t action, const UniPosition& uni, uint32_t mask = 0) {
        ov_gpon_rmuni_attr_t record{};
        record.onuIfindex = ONU_1;
        record.uniPos.cardId = uni.card;
        record.uniPos.uniType = uni.type;
        record.uniPos.uniId = uni.port;
        auto bytes = bytes_of(record);
        bytes.resize(find_card_message(number)->record->size);
        CardRequest request;
        request.message = find_card_message(number);
        request.action = action;
        request.mask = mask;
        request.record = bytes;
        const auto refused = check_onu_rules(request, objects, onus);
        return refused ? refused->reason : "";
    }

    EventLoop loop;
    CardObjects objects;
    Onus onus{loop, objects, [](uint16_t, uint32_t, std::span<const uint8_t>) { return true; }};
};

TEST(UniWords, AreTakenApartAndPutTogether) {
    for (const char* word : {"eth_1/1", "eth_4/24", "pots_1/2", "video_2/1", "veip"})
        EXPECT_EQ(uni_text(parse_uni(word).value_or(UniPosition{9, 9, 9})), word);
    for (const char* word : {"", "eth", "eth_", "eth_1", "eth_1/", "eth_0/1", "eth_1/0", "eth_1/1x",
                             "lan_1/1", "veip1", "eth_70000/1"})
        EXPECT_FALSE(parse_uni(word)) << word;
}

TEST_F(Unis, AreThoseOfTheType) {
    run();
    EXPECT_TRUE(has_uni(onu(), objects, {2, OV_GPON_RMUNI_TYPE_ETH, 2}));
    EXPECT_FALSE(has_uni(onu(), objects, {3, OV_GPON_RMUNI_TYPE_ETH, 1}));
    EXPECT_FALSE(has_uni(onu(), objects, {1, OV_GPON_RMUNI_TYPE_ETH, 3}));
    EXPECT_FALSE(has_uni(onu(), objects, {1, OV_GPON_RMUNI_TYPE_POTS, 2}));
    EXPECT_TRUE(has_uni(onu(), objects, {2, OV_GPON_RMUNI_TYPE_VIDEO, 2}));
    EXPECT_TRUE(has_uni(onu(), objects, {1, OV_GPON_RMUNI_TYPE_VEIP, 1}));
    EXPECT_EQ(unis_of(*ports_of(onu(), objects)).size(), 4u + 2u + 1u + 4u);
    tell("unknown");
    EXPECT_TRUE(has_uni(onu(), objects, {9, OV_GPON_RMUNI_TYPE_ETH, 9}));
    onu().ports = UniPorts{1, 1, 0, 0};
    EXPECT_FALSE(has_uni(onu(), objects, {1, OV_GPON_RMUNI_TYPE_ETH, 2}));
}

TEST_F(Unis, TakeTrafficWhileTheyAreUp) {
    run();
    EXPECT_TRUE(uni_is_up(onu(), objects, ETH_1));
    EXPECT_TRUE(pass(UniWay::UP, 5));
    onu().unis[ETH_1].has_link = false;
    EXPECT_FALSE(pass(UniWay::UP, 5));
    onu().unis[ETH_1].has_link = true;
    set_uni(ETH_1, [](auto& uni) { uni.adminStatus = OV_GPON_ADMIN_DISABLE; });
    EXPECT_FALSE(pass(UniWay::UP, 5));
    set_uni(ETH_1, [](auto& uni) { uni.adminStatus = OV_GPON_ADMIN_ENABLE; });
    EXPECT_TRUE(pass(UniWay::UP, 5));
    onus.power_off(onu(), false);
    EXPECT_FALSE(pass(UniWay::UP, 5));
    EXPECT_EQ(onu().unis[ETH_1].total[0].packets, 10u);
}

TEST_F(Unis, ALoopTakesDownAUniThatLooksForOne) {
    run();
    onu().unis[ETH_1].has_loop = true;
    EXPECT_TRUE(uni_is_up(onu(), objects, ETH_1));
    set_uni(ETH_1, [](auto& uni) { uni.loopDetect = 1; });
    EXPECT_FALSE(uni_is_up(onu(), objects, ETH_1));
    onu().unis[ETH_1].has_loop = false;
    EXPECT_TRUE(uni_is_up(onu(), objects, ETH_1));
}

TEST_F(Unis, CountWhatTheyAreToldTo) {
    run();
    pass(UniWay::UP, 5);
    EXPECT_EQ(counted(UniWay::UP), 0u);
    set_uni(ETH_1, [](auto& uni) { uni.usPmEnabled = 1; });
    pass(UniWay::UP, 5);
    pass(UniWay::DOWN, 5);
    EXPECT_EQ(counted(UniWay::UP), 5u);
    EXPECT_EQ(counted(UniWay::DOWN), 0u);
    set_uni(ETH_1, [](auto& uni) { uni.pmEnabled = 1; });
    pass(UniWay::DOWN, 7);
    EXPECT_EQ(counted(UniWay::DOWN), 7u);
}

TEST_F(Unis, AnIntervalEndsAndTheNextBegins) {
    run();
    set_uni(ETH_1, [](auto& uni) { uni.pmEnabled = 1; });
    pass(UniWay::UP, 5);
    end_interval(onu(), ETH_1);
    pass(UniWay::UP, 2);
    EXPECT_EQ(counted(UniWay::UP, false), 5u);
    EXPECT_EQ(counted(UniWay::UP), 2u);
    end_interval(onu(), ETH_1);
    EXPECT_EQ(counted(UniWay::UP, false), 2u);
    EXPECT_EQ(counted(UniWay::UP), 0u);
}

TEST_F(Unis, CountBySizeAndKind) {
    run();
    ov_gpon_rmuni_stats_attr_t record{};
    UniCounts all;
    for (const uint32_t size : {63u, 64u, 127u, 128u, 511u, 512u, 1518u, 1519u})
        all.add(counts_of({.packets = 1, .size = size}));
    all.add(counts_of({.packets = 10, .size = 64, .kind = UniTraffic::Kind::BROADCAST, .errors = 3}));
    all.add(counts_of({.packets = 20, .size = 64, .kind = UniTraffic::Kind::MULTICAST}));
    put_uni_counts(all, {reinterpret_cast<uint8_t*>(&record), sizeof record});
    EXPECT_EQ(record.rxPkt, 38u);
    EXPECT_EQ(record.bcPkt, 10u);
    EXPECT_EQ(record.mcPkt, 20u);
    EXPECT_EQ(record.crcErr, 3u);
    EXPECT_EQ(record.pktLessThan64, 1u);
    EXPECT_EQ(record.pkt64, 31u);
    EXPECT_EQ(record.pkt65To127, 1u);
    EXPECT_EQ(record.pkt256To511, 1u);
    EXPECT_EQ(record.pkt1024To1518, 1u);
    EXPECT_EQ(record.pktLargerThan1518, 1u);
    EXPECT_EQ(record.rxByte, 63u + 64 + 127 + 128 + 511 + 512 + 1518 + 1519 + 30 * 64);
}

TEST_F(Unis, RefuseWhatTheyAreNot) {
    run();
    using namespace card_action;
    constexpr UniPosition POTS = {1, OV_GPON_RMUNI_TYPE_POTS, 1};
    EXPECT_EQ(refusal(915, SET, ETH_1, 1u << OV_GPON_RMUNI_ATTR_INDEX_maxFrameSize), "");
    EXPECT_EQ(refusal(915, SET, ETH_1, 1u << OV_GPON_RMUNI_ATTR_INDEX_videoState), "not-on-this-uni");
    EXPECT_EQ(refusal(915, SET, POTS, 1u << OV_GPON_RMUNI_ATTR_INDEX_adminStatus), "");
    EXPECT_EQ(refusal(915, SET, POTS, 1u << OV_GPON_RMUNI_ATTR_INDEX_maxFrameSize), "not-on-this-uni");
    for (const uint16_t number : {915, 916, 960, 961}) {
        EXPECT_EQ(refusal(number, GET, ETH_1), "") << number;
        EXPECT_EQ(refusal(number, GET, {1, OV_GPON_RMUNI_TYPE_ETH, 3}), "no-such-uni") << number;
    }
    EXPECT_EQ(refusal(914, SET, ETH_1, 1u << OV_GPON_RMONU_INFO_ATTR_INDEX_reboot), "");
    onus.power_off(onu(), false);
    EXPECT_EQ(refusal(915, SET, {1, OV_GPON_RMUNI_TYPE_ETH, 3}, 4), "") << "nobody is there to say no";
    EXPECT_EQ(refusal(914, SET, ETH_1, 1u << OV_GPON_RMONU_INFO_ATTR_INDEX_reboot), "onu-down");
}

TEST_F(Unis, AnOnuThatStartsAgainIsAwayAndHasCountedNothing) {
    loop.after(std::chrono::milliseconds(10), [this] {
        set_uni(ETH_1, [](auto& uni) { uni.pmEnabled = 1; });
        EXPECT_TRUE(pass(UniWay::UP, 5));
        onu().unis[ETH_1].has_loop = true;
        onus.synchronise_mib(ONU_1);
        onus.restore_default(ONU_1);
        EXPECT_EQ(onu().state, OnuState::LOST);
        onus.synchronise_mib(ONU_1);
        onus.reboot(ONU_1);
    });
    loop.after(std::chrono::milliseconds(100), [this] { loop.stop(); });
    loop.run();
    EXPECT_EQ(onu().state, OnuState::OPERATIONAL);
    EXPECT_EQ(counted(UniWay::UP), 0u);
    EXPECT_TRUE(onu().unis[ETH_1].has_loop) << "that is outside of it";
    EXPECT_EQ(onu().restores, 1u);
    EXPECT_EQ(onu().reboots, 1u) << "the second one found it away";
    EXPECT_EQ(onu().mib_syncs, 1u) << "so did this";
}

} // namespace
