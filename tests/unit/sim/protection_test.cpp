// Protection groups of the simulated cards, and the comparison of two ports.
#include "protection.h"

#include <gtest/gtest.h>

#include <cstring>

#include "port_compare.h"

namespace {

constexpr uint32_t WORK = 9u << 27 | 1u << 26 | 1u << 21;
constexpr uint32_t OTHER = WORK | 1u << 15;

class ProtectedSplitter : public testing::Test {
protected:
    ProtectedSplitter() {
        onus.set_delays(std::chrono::milliseconds(0), std::chrono::milliseconds(0));
        for (const uint32_t port : {WORK, OTHER})
            tell_onu(port, 0);
        Onu onu;
        onu.pon = WORK;
        onu.serial = serial;
        onus.add(onu);
        onus.power_on(*onus.find(serial));
        run();
    }
    void tell_onu(uint32_t port, uint8_t fec) {
        std::vector<uint8_t> record(316);
        put_be32(record, 0, onu_of(port));
        put_be32(record, 72, 1);
        std::copy(serial.begin(), serial.end(), record.begin() + 76);
        record[300] = fec;
        objects.put(*find_card_message(903u), record);
    }
    void tell_group(uint32_t action, uint32_t work, uint32_t standby) {
        std::vector<uint8_t> record(76);
        record[0] = 'n';
        put_be32(record, 64, work);
        put_be32(record, 68, standby);
        CardRequest request;
        request.action = action;
        request.record = record;
        protection.follow(request);
        run();
    }
    void run() {
        loop.after(std::chrono::milliseconds(10), [this] { loop.stop(); });
        loop.run();
    }
    // Where the ONU is up; 0 nowhere.
    uint32_t up_on() const {
        for (const Onu* onu : onus.all())
            if (onu->state == OnuState::OPERATIONAL)
                return onu->pon;
        return 0;
    }

    const OnuSerial serial = *parse_onu_serial("ABCD00000001");
    EventLoop loop;
    CardObjects objects;
    std::vector<std::pair<uint32_t, uint32_t>> switches; // events: active, standby
    Onus::Report report = [this](uint16_t number, uint32_t, std::span<const uint8_t> record) {
        if (number == 953)
            switches.emplace_back(get_be32(record, 0), get_be32(record, 4));
        return true;
    };
    Onus onus{loop, objects, report};
    Protection protection{onus, report};
};

TEST_F(ProtectedSplitter, MovesItsOnusWhenItIsTold) {
    tell_group(card_action::CREATE, WORK, OTHER);
    EXPECT_EQ(up_on(), WORK);
    tell_group(card_action::SET, WORK, OTHER);
    EXPECT_EQ(up_on(), OTHER);
    tell_group(card_action::SET, OTHER, WORK);
    EXPECT_EQ(up_on(), WORK);
    EXPECT_TRUE(switches.empty()); // who is told needn't tell
    tell_group(card_action::SET, WORK, OTHER);
    tell_group(card_action::DELETE, OTHER, WORK);
    EXPECT_EQ(up_on(), OTHER);
    tell_group(card_action::CREATE, WORK, OTHER);
    EXPECT_EQ(up_on(), WORK);
}

TEST_F(ProtectedSplitter, SwitchesWhenItsLightGoes) {
    tell_group(card_action::CREATE, WORK, OTHER);
    protection.cut(WORK);
    run();
    EXPECT_EQ(up_on(), OTHER);
    ASSERT_EQ(switches.size(), 1u);
    EXPECT_EQ(switches[0], std::pair(OTHER, WORK));
    protection.mend(WORK); // nobody turns back
    run();
    EXPECT_EQ(up_on(), OTHER);
    protection.cut(WORK); // of the port that stands by
    protection.cut(OTHER);
    run();
    EXPECT_EQ(up_on(), 0u);
    EXPECT_EQ(switches.size(), 1u);
    protection.mend(WORK); // the first that has light again
    run();
    EXPECT_EQ(up_on(), WORK);
    ASSERT_EQ(switches.size(), 2u);
    EXPECT_EQ(switches[1], std::pair(WORK, OTHER));
}

TEST_F(ProtectedSplitter, WithoutAGroupAPortIsDarkUntilItIsMended) {
    protection.cut(WORK);
    run();
    EXPECT_EQ(up_on(), 0u);
    onus.power_off(*onus.find(serial), false);
    onus.power_on(*onus.find(serial));
    run();
    EXPECT_EQ(up_on(), 0u);
    protection.mend(WORK);
    run();
    EXPECT_EQ(up_on(), WORK);
    EXPECT_TRUE(switches.empty());
}

TEST_F(ProtectedSplitter, ComparisonTellsWhatDiffers) {
    EXPECT_EQ(compare_ports(objects, WORK, OTHER), std::vector<std::string>{});
    std::vector<uint8_t> tcont(144);
    put_be32(tcont, 0, onu_of(OTHER));
    put_be32(tcont, 4, 3);
    objects.put(*find_card_message(908u), tcont);
    const auto lines = compare_ports(objects, WORK, OTHER);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("OV_HAL_MSG_GPON_TCONT"), std::string::npos) << lines[0];
    EXPECT_NE(lines[0].find("tcontId=3 only on gpon-olt1/2"), std::string::npos) << lines[0];
    put_be32(tcont, 0, onu_of(WORK));
    put_be32(tcont, 8, 77);
    objects.put(*find_card_message(908u), tcont);
    const auto changed = compare_ports(objects, WORK, OTHER);
    ASSERT_EQ(changed.size(), 1u);
    EXPECT_NE(changed[0].find("allocId: 77 and 0"), std::string::npos) << changed[0];
}

} // namespace
