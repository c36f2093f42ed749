// Upgrades of simulated ONUs: the two images, the stages, and what can go wrong in each.
#include "upgrades.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "card_frame.h"
#include "card_objects.h"
#include "ov_hal_gpon_records.h"

namespace {

using std::chrono::milliseconds;

constexpr uint32_t PON = 9u << 27 | 1u << 26 | 1u << 21;
constexpr int32_t START = 1, ACTIVATE = 2, COMMIT = 3, ABORT = 4;

// ---- the two images -----------------------------------------------------------------------------------

TEST(OnuImages, AreTheSameAtFirst) {
    const OnuImages images;
    for (const uint8_t number : {0, 1}) {
        const auto image = images.image(number, "V1");
        EXPECT_EQ(image.version, "V1");
        EXPECT_TRUE(image.is_valid);
        EXPECT_EQ(image.is_active, number == 0);
        EXPECT_EQ(image.is_committed, number == 0);
    }
}

TEST(OnuImages, ANewVersionGoesIntoTheOneThatDoesNotRun) {
    OnuImages images;
    images.begin_load();
    EXPECT_FALSE(images.image(1, "V1").is_valid);
    images.loaded("V2");
    EXPECT_EQ(images.image(0, "V1").version, "V1");
    EXPECT_EQ(images.image(1, "V1").version, "V2");
}

TEST(OnuImages, AStartIsFromTheCommittedOne) {
    OnuImages images;
    std::string running = "V1";
    images.begin_load();
    images.loaded("V2");
    images.start(running);
    EXPECT_EQ(running, "V1");
    images.commit_other();
    images.start(running);
    EXPECT_EQ(running, "V2");
    EXPECT_EQ(images.image(0, running).version, "V1");
    EXPECT_TRUE(images.image(1, running).is_committed);
}

TEST(OnuImages, OneThatIsOnlyActivatedIsLeftAtTheNextStart) {
    OnuImages images;
    std::string running = "V1";
    images.begin_load();
    images.loaded("V2");
    images.start_other_next();
    images.start(running);
    EXPECT_EQ(running, "V2");
    images.start(running);
    EXPECT_EQ(running, "V1");
}

TEST(OnuImages, ALoadNeverOverwritesWhatTheOnuStartsFromWithNothingElse) {
    OnuImages images;
    std::string running = "V1";
    images.begin_load();
    images.loaded("V2");
    images.commit_other();
    images.begin_load(); // before it was started
    images.start(running);
    EXPECT_EQ(running, "V1");
}

// ---- upgrades -----------------------------------------------------------------------------------------

class UpgradeRun : public testing::Test {
protected:
    UpgradeRun() {
        onus.set_delays(milliseconds(0), milliseconds(0), milliseconds(0));
        upgrades.set_delays({milliseconds(1), milliseconds(1), milliseconds(1), 16});
        std::ofstream(path) << "version: V2\nimage";
    }
    ~UpgradeRun() override { std::filesystem::remove(path); }

    // ONUs 1 to so many, which are up when this returns.
    void plug(uint32_t count) {
        for (uint32_t number = 1; number <= count; ++number) {
            Onu onu;
            onu.pon = PON;
            onu.serial = serial(number);
            onu.version = "V1";
            ASSERT_TRUE(onus.add(onu));
            std::vector<uint8_t> record(316);
            put_be32(record, 0, onu_index(PON, number));
            put_be32(record, 72, 1);
            std::copy(onu.serial.begin(), onu.serial.end(), record.begin() + 76);
            objects.put(*find_card_message(903u), record);
            onus.power_on(onu_number(number));
        }
        run_until([&] { return onu_number(count).state == OnuState::OPERATIONAL; });
    }
    static OnuSerial serial(uint32_t number) {
        return next_onu_serial(*parse_onu_serial("ABCD00000000"), number);
    }
    Onu& onu_number(uint32_t number) { return *onus.find(PON, serial(number)); }

    // A command to ONUs 1 to so many.
    void tell(int32_t action, uint32_t count = 1, const std::string& file = "") {
        ov_gpon_onu_update_attr_t record{};
        record.ifindex = PON;
        record.updAct = action;
        for (uint32_t n = 0; n < count; ++n)
            record.onuMask[n / 8] |= static_cast<uint8_t>(1u << (n & 7));
        std::memcpy(record.versionName, file.c_str(), file.size());
        upgrades.command({reinterpret_cast<const uint8_t*>(&record), sizeof record});
    }
    void start(uint32_t count = 1) { tell(START, count, path.filename().string()); }
    void set_switch(uint32_t which, uint32_t on) {
        std::vector<uint8_t> record(8);
        put_be32(record, 0, which);
        put_be32(record, 4, on);
        upgrades.set_switch(record);
    }
    ov_gpon_onu_update_status_attr_t progress(uint32_t number = 1) {
        ov_gpon_onu_update_status_attr_t record{};
        upgrades.fill_progress(onu_index(PON, number), {reinterpret_cast<uint8_t*>(&record), sizeof record});
        return record;
    }
    int32_t status(uint32_t number = 1) { return progress(number).status; }

    template <typename Done>
    void run_until(Done done) {
        for (int tries = 0; tries < 5000 && !done(); ++tries) {
            loop.after(milliseconds(1), [this] { loop.stop(); });
            loop.run();
        }
        EXPECT_TRUE(done());
    }
    void wait_for(int32_t wanted, uint32_t number = 1) {
        run_until([&] { return status(number) == wanted; });
        EXPECT_EQ(status(number), wanted);
    }

    std::filesystem::path path = "/tmp/upgrades-test-" + std::to_string(getpid()) + ".bin";
    EventLoop loop;
    CardObjects objects;
    Onus onus{loop, objects, [](uint16_t, uint32_t, std::span<const uint8_t>) { return true; }};
    Upgrades upgrades{loop, onus};
};

TEST_F(UpgradeRun, GoesInItsSteps) {
    plug(1);
    start();
    wait_for(4);
    EXPECT_EQ(progress().verSize, 17);
    EXPECT_EQ(progress().transmitted, 17);
    EXPECT_EQ(std::string(progress().verName), path.filename().string());
    tell(COMMIT);
    wait_for(6);
    EXPECT_EQ(onu_number(1).version, "V1");
    tell(ACTIVATE);
    EXPECT_EQ(status(), 8);
    wait_for(9);
    EXPECT_EQ(onu_number(1).version, "V2");
    EXPECT_EQ(onu_number(1).reboots, 1u);
}

TEST_F(UpgradeRun, GoesOnByItselfWhenItMay) {
    plug(1);
    set_switch(2, 1);
    set_switch(3, 1);
    start();
    wait_for(9);
    EXPECT_EQ(onu_number(1).version, "V2");
}

TEST_F(UpgradeRun, FailsOnceAtTheStageThatIsToFail) {
    plug(1);
    set_switch(2, 1);
    set_switch(3, 1);
    const std::pair<UpgradeStage, int32_t> stages[] = {{UpgradeStage::DOWNLOAD, 11},
                                                       {UpgradeStage::WRITE, 11},
                                                       {UpgradeStage::COMMIT, 7},
                                                       {UpgradeStage::ACTIVATE, 10}};
    for (const auto& [stage, failed] : stages) {
        upgrades.fail_next(serial(1), stage);
        start();
        wait_for(failed);
        EXPECT_EQ(onu_number(1).version, "V1");
    }
    start();
    wait_for(9);
}

TEST_F(UpgradeRun, APortTakesSoManyAtATime) {
    upgrades.set_delays({std::chrono::minutes(10), milliseconds(1), milliseconds(1), 2});
    plug(3);
    start(3);
    EXPECT_EQ(status(1), 2);
    EXPECT_EQ(status(2), 2);
    EXPECT_EQ(status(3), 13);
    tell(ABORT, 1);
    EXPECT_EQ(status(1), 12);
    EXPECT_EQ(status(3), 2);
    tell(0, 3);
    EXPECT_TRUE(upgrades.lines().empty());
}

TEST_F(UpgradeRun, AnOnuThatGoesKeepsWhatItRuns) {
    upgrades.set_delays({std::chrono::minutes(10), milliseconds(1), milliseconds(1), 2});
    plug(1);
    start();
    onus.power_off(onu_number(1), false);
    onus.power_on(onu_number(1));
    run_until([&] { return onu_number(1).state == OnuState::OPERATIONAL; });
    EXPECT_EQ(status(), 11);
    EXPECT_EQ(onu_number(1).version, "V1");
    EXPECT_FALSE(onu_number(1).images.other_is_valid());
    tell(COMMIT);
    EXPECT_EQ(status(), 7);
    tell(ACTIVATE);
    EXPECT_EQ(status(), 10);
}

TEST_F(UpgradeRun, WithoutItsFileItFails) {
    plug(1);
    tell(START, 1, "no-such-file.bin");
    EXPECT_EQ(status(), 11);
    EXPECT_TRUE(onu_number(1).images.other_is_valid());
}

TEST_F(UpgradeRun, ACardThatRestartsForgetsIt) {
    plug(1);
    set_switch(2, 1);
    start();
    upgrades.restart();
    EXPECT_EQ(status(), 0);
    start();
    wait_for(4); // and stays there: it goes on for nobody
    EXPECT_EQ(onu_number(1).version, "V1");
}

TEST_F(UpgradeRun, FromAServerTheOnusOfAModelDoAllOfIt) {
    plug(2);
    onu_number(2).model = "OTHER";
    ov_gpon_onu_network_upgrade_attr_t record{};
    record.ifindex = PON;
    record.enable = 1;
    record.filesize = 100;
    record.onuMask[0] = 3;
    std::memcpy(record.filename, "v3.bin", 6);
    std::memcpy(record.fileVer, "V3", 2);
    std::memcpy(record.eqptid, "SIM-ONU-4E2V", 12);
    upgrades.command_from_server({reinterpret_cast<const uint8_t*>(&record), sizeof record});
    wait_for(9);
    EXPECT_EQ(onu_number(1).version, "V3");
    EXPECT_EQ(status(2), 0);
}

} // namespace
