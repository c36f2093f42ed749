#include "ov_product.h"

#include <chrono>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ov_product_info.h"
#include "product_test_env.h"

namespace {

using ::testing::Contains;
using ::testing::StrEq;

class Product : public ::testing::Test {
protected:
    FakePlatform platform;
    LogTap log;
};

// ---- the product record ------------------------------------------------------------------------------

TEST_F(Product, RecordReadsEachKeyOnceAtTheFirstQuery) {
    ov_product_info_init();
    ov_product_info_init();
    ov_product_get_shelf_type();
    ov_product_sn_get();
    const auto runs = platform.runs();
    EXPECT_EQ(runs.size(), OV_PRODUCT_INFO_KEY_NUM);
    for (size_t i = 0; i < OV_PRODUCT_INFO_KEY_NUM && i < runs.size(); i++)
        EXPECT_EQ(runs[i], ov_product_info_key(i));
    EXPECT_EQ(std::set<std::string>(runs.begin(), runs.end()).size(), OV_PRODUCT_INFO_KEY_NUM);
    EXPECT_EQ(ov_product_info_key(OV_PRODUCT_INFO_KEY_NUM), nullptr);
}

TEST_F(Product, RecordGivesTheTextOfEachKey) {
    for (size_t i = 0; i < OV_PRODUCT_INFO_KEY_NUM; i++)
        platform.set(ov_product_info_key(i), std::string("value of ") + ov_product_info_key(i));
    for (size_t i = 0; i < OV_PRODUCT_INFO_KEY_NUM; i++)
        EXPECT_EQ(ov_product_info_get(ov_product_info_key(i)),
                  std::string("value of ") + ov_product_info_key(i));
    EXPECT_TRUE(LogTap::lines().empty());
}

TEST_F(Product, MissingValueIsLoggedAndReadsEmpty) {
    EXPECT_STREQ(ov_product_info_get("PDT_INFO_CARD_SN"), "");
    EXPECT_THAT(LogTap::lines(),
                Contains(LogLine{OV_LOG_LVL_WARN, "LIB", "Failed to get env PDT_INFO_CARD_SN"}));
    EXPECT_EQ(LogTap::lines().size(), OV_PRODUCT_INFO_KEY_NUM);
}

TEST_F(Product, ValueOf63CharactersFitsAndOneOf64IsLoggedAndReadsEmpty) {
    const std::string fits(63, 'f');
    const std::string big(64, 'b');
    platform.set("PDT_INFO_CARD_SN", fits);
    platform.set("PDT_INFO_PDT_NAME", big);
    EXPECT_EQ(ov_product_sn_get(), fits);
    EXPECT_STREQ(ov_product_get_sysinfo_product_name(), "");
    EXPECT_THAT(LogTap::lines(),
                Contains(LogLine{OV_LOG_LVL_ERROR, "LIB",
                                 "ENV PDT_INFO_PDT_NAME value " + big + " length 64 too big than 63."}));
}

TEST_F(Product, UnknownKeyReadsEmpty) {
    EXPECT_STREQ(ov_product_info_get("NO_SUCH_KEY"), "");
    EXPECT_EQ(platform.runs_of("NO_SUCH_KEY"), 0);
}

TEST_F(Product, EmptyValueIsNotMissing) {
    platform.set("PDT_INFO_PDT_NAME", "");
    EXPECT_STREQ(ov_product_get_sysinfo_product_name(), "");
    EXPECT_FALSE(LogTap::has("Failed to get env PDT_INFO_PDT_NAME"));
}

TEST_F(Product, ValuesAreTakenByteForByte) {
    const char* const values[] = {
        "C:\\new\\table\\0101\\c", "-n",    "-e \\n", "%s%d", "$HOME `id` \"quoted\" 'x'", "  blanks  ",
        "PDT_INFO_CARD_SN=7",      "tail\\"};
    for (const char* value : values) {
        platform.set("PDT_INFO_PDT_NAME", value);
        ov_product_deinit();
        EXPECT_STREQ(ov_product_get_sysinfo_product_name(), value);
        EXPECT_STREQ(ov_product_sn_get(), "");
    }
}

TEST_F(Product, NumbersOfTextsAreBoundedAndFallBackWhenThereAreNone) {
    EXPECT_EQ(ov_product_number_of_text("42", 7), 42u);
    EXPECT_EQ(ov_product_number_of_text("  42 cards", 7), 42u);
    EXPECT_EQ(ov_product_number_of_text("0", 7), 0u);
    EXPECT_EQ(ov_product_number_of_text("", 7), 7u);
    EXPECT_EQ(ov_product_number_of_text("-3", 7), 7u);
    EXPECT_EQ(ov_product_number_of_text("many", 7), 7u);
    EXPECT_EQ(ov_product_number_of_text("4294967295", 7), UINT32_MAX);
    EXPECT_EQ(ov_product_number_of_text("4294967296", 7), UINT32_MAX);
    EXPECT_EQ(ov_product_number_of_text("99999999999999999999999999999999", 7), UINT32_MAX);
}

TEST_F(Product, CostOfLookUpsIsCounted) {
    EXPECT_EQ(ov_product_env_cost_get().lookups, 0u);
    ov_product_info_init();
    const ov_product_env_cost cost = ov_product_env_cost_get();
    EXPECT_EQ(cost.lookups, OV_PRODUCT_INFO_KEY_NUM);
    EXPECT_GT(cost.usec, OV_PRODUCT_INFO_KEY_NUM * 10); // a process each: far more than 10 us
    ov_product_get_shelf_type();
    EXPECT_EQ(ov_product_env_cost_get().lookups, cost.lookups);
}

// ---- facts -------------------------------------------------------------------------------------------

TEST_F(Product, EnterpriseIdIsCutTo24Bits) {
    platform.set("PDT_INFO_ENTERPRISE_ID", "16789216"); // 0x1002EE0
    EXPECT_EQ(ov_product_enterprise_id_get(), 0x002EE0u);
}

TEST_F(Product, EnterpriseIdOf0OrNoneIsTheBuiltInOne) {
    EXPECT_EQ(ov_product_enterprise_id_get(), 47281u);
    ov_product_deinit();
    platform.set("PDT_INFO_ENTERPRISE_ID", "16777216"); // 0 in its low 24 bits
    EXPECT_EQ(ov_product_enterprise_id_get(), 47281u);
}

TEST_F(Product, UnsetOrUnknownShelfTypeIsTheSingleBoard) {
    EXPECT_EQ(ov_product_get_shelf_type(), 52u);
    for (const char* value : {"0", "50", "54", "chassis", "99999999999999"}) {
        ov_product_deinit();
        platform.set("PDT_INFO_SHELF_TYPE", value);
        EXPECT_EQ(ov_product_get_shelf_type(), 52u) << value;
    }
    EXPECT_TRUE(ov_product_is_slot_1u());
}

TEST_F(Product, ProductTypeFollowsTheShelfWhenNotStated) {
    struct Case {
        const char* shelf;
        const char* stated;
        uint32_t type;
    };
    for (const Case& c : {Case{"52", nullptr, 1}, Case{"51", nullptr, 2}, Case{"53", nullptr, 2},
                          Case{"53", "1", 1}, Case{"52", "2", 2}, Case{"53", "9", 2}}) {
        ov_product_deinit();
        platform.set("PDT_INFO_SHELF_TYPE", c.shelf);
        platform.unset("PDT_INFO_PDT_TYPE");
        if (c.stated != nullptr)
            platform.set("PDT_INFO_PDT_TYPE", c.stated);
        EXPECT_EQ(ov_product_get_product_type(), c.type) << c.shelf;
    }
}

TEST_F(Product, OwnSlotIsTheFirstControlCardWhenNotStatedOrImpossible) {
    struct Case {
        const char* shelf;
        const char* stated;
        uint32_t slot;
    };
    for (const Case& c : {Case{"52", nullptr, 1}, Case{"51", nullptr, 7}, Case{"53", nullptr, 8},
                          Case{"53", "9", 9}, Case{"53", "0", 8}, Case{"53", "32", 8}, Case{"53", "x", 8}}) {
        ov_product_deinit();
        platform.set("PDT_INFO_SHELF_TYPE", c.shelf);
        platform.unset("PDT_INFO_CARD_SLOTID");
        if (c.stated != nullptr)
            platform.set("PDT_INFO_CARD_SLOTID", c.stated);
        EXPECT_EQ(ov_product_slot_id_get(), c.slot) << c.shelf;
    }
}

TEST_F(Product, ShelfIdIs1WhenNotStated) {
    EXPECT_EQ(ov_product_shelf_id_get(), 1u);
    ov_product_deinit();
    platform.set("PDT_INFO_SHELF_ID", "4");
    EXPECT_EQ(ov_product_shelf_id_get(), 4u);
}

TEST_F(Product, TextsOfTheProductComeFromTheirKeys) {
    platform.set("PDT_INFO_VENDER_PDT_NAME", "ACME");
    platform.set("PDT_INFO_PDT_NAME", "QRX4100");
    platform.set("PDT_INFO_CARD_SN", "SN0001");
    EXPECT_STREQ(ov_product_get_sysinfo_product_vender(), "ACME");
    EXPECT_STREQ(ov_product_get_sysinfo_product_name(), "QRX4100");
    EXPECT_STREQ(ov_product_sn_get(), "SN0001");
}

// ---- roles of slots ----------------------------------------------------------------------------------

struct Roles {
    const char* shelf_type;
    std::set<uint32_t> control;
    std::set<uint32_t> line;
    std::set<uint32_t> uplink;
    int standby;
};

class ProductShelf : public ::testing::TestWithParam<Roles> {
protected:
    FakePlatform platform;
    LogTap log;
};

TEST_P(ProductShelf, EverySlotHasItsRole) {
    const Roles& roles = GetParam();
    platform.set("PDT_INFO_SHELF_TYPE", roles.shelf_type);
    for (uint32_t slot = 1; slot <= 40; slot++) {
        EXPECT_EQ(ov_product_is_slot_sc(slot), roles.control.contains(slot)) << slot;
        EXPECT_EQ(ov_product_is_slot_lc(slot), roles.line.contains(slot)) << slot;
        EXPECT_EQ(ov_product_is_slot_uplink(slot), roles.uplink.contains(slot)) << slot;
        EXPECT_EQ(ov_product_if_slot_contain_pon_port(slot), roles.line.contains(slot)) << slot;
    }
    EXPECT_FALSE(ov_product_is_slot_uplink(0));
    EXPECT_FALSE(ov_product_is_slot_lc(UINT32_MAX));
    EXPECT_EQ(ov_product_get_standby_sc_supported(), roles.standby);
}

INSTANTIATE_TEST_SUITE_P(
    ShelfTypes, ProductShelf,
    ::testing::Values(Roles{"51", {7, 8}, {1, 2, 3, 4, 5, 6}, {9, 10}, 1}, Roles{"52", {1}, {1}, {}, 0},
                      Roles{"53", {8, 9}, {1, 2, 3, 4, 5, 6, 7, 10, 11, 12, 13, 14, 15, 16}, {17, 18}, 1}),
    [](const auto& info) { return std::string("type") + info.param.shelf_type; });

TEST_F(Product, Slot0MeansThisBoardForLineAndControlCards) {
    platform.set("PDT_INFO_SHELF_TYPE", "53");
    platform.set("PDT_INFO_CARD_SLOTID", "9");
    EXPECT_TRUE(ov_product_is_slot_sc(0));
    EXPECT_FALSE(ov_product_is_slot_lc(0));

    ov_product_deinit();
    platform.set("PDT_INFO_CARD_SLOTID", "3");
    EXPECT_FALSE(ov_product_is_slot_sc(0));
    EXPECT_TRUE(ov_product_is_slot_lc(0));

    ov_product_deinit();
    platform.set("PDT_INFO_SHELF_TYPE", "52");
    platform.unset("PDT_INFO_CARD_SLOTID");
    EXPECT_TRUE(ov_product_is_slot_sc(0));
    EXPECT_TRUE(ov_product_is_slot_lc(0));
}

TEST_F(Product, OnlyThisBoardOfASingleBoardShelfHasPonPorts) {
    platform.set("PDT_INFO_SHELF_TYPE", "52");
    EXPECT_TRUE(ov_product_if_slot_contain_pon_port(1));
    EXPECT_FALSE(ov_product_if_slot_contain_pon_port(2));
    EXPECT_FALSE(ov_product_if_slot_contain_pon_port(0));
}

TEST_F(Product, SingleBoardIsAControlCardInWhateverSlotItStands) {
    platform.set("PDT_INFO_SHELF_TYPE", "52");
    platform.set("PDT_INFO_CARD_SLOTID", "3");
    EXPECT_TRUE(ov_product_is_slot_sc(3));
    EXPECT_TRUE(ov_product_is_slot_sc(0));
    EXPECT_TRUE(ov_product_if_slot_contain_pon_port(3));
}

// ---- flags -------------------------------------------------------------------------------------------

TEST_F(Product, MonoIsReadyWhileItsValueHolds1) {
    EXPECT_FALSE(ov_product_mono_ready_flag_get());
    platform.set("mono_ready", "0");
    EXPECT_FALSE(ov_product_mono_ready_flag_get());
    platform.set("mono_ready", "1");
    EXPECT_TRUE(ov_product_mono_ready_flag_get());
    platform.unset("mono_ready");
    EXPECT_FALSE(ov_product_mono_ready_flag_get());
}

TEST_F(Product, SystemIsOperationalWhileItsValueHolds1AndIsAskedAnew) {
    EXPECT_FALSE(ov_product_sys_oper_status_get());
    platform.set("OV_APP_FLAG_SYS_OPSTATUS", "1");
    EXPECT_TRUE(ov_product_sys_oper_status_get());
    platform.set("OV_APP_FLAG_SYS_OPSTATUS", "0");
    EXPECT_FALSE(ov_product_sys_oper_status_get());
    EXPECT_EQ(platform.runs_of("OV_APP_FLAG_SYS_OPSTATUS"), 3);
}

TEST_F(Product, HaRecoveryIsTheFirstCharacterOfTheFlagFile) {
    platform.set("OV_APP_FLAG_FILE_HA_RECOVERY", platform.file("ha", "1\n"));
    EXPECT_TRUE(ov_product_ha_recoverying_flag_get());
    platform.file("ha", "0");
    EXPECT_FALSE(ov_product_ha_recoverying_flag_get());
    platform.file("ha", "10");
    EXPECT_TRUE(ov_product_ha_recoverying_flag_get());
    platform.file("ha", "01");
    EXPECT_FALSE(ov_product_ha_recoverying_flag_get());
    platform.file("ha", "");
    EXPECT_FALSE(ov_product_ha_recoverying_flag_get());
    EXPECT_EQ(platform.runs_of("OV_APP_FLAG_FILE_HA_RECOVERY"), 1) << "the name is kept";
}

TEST_F(Product, HaRecoveryFlagThatChangesAfterALongTimeIsSeenAtTheClocksNextTick) {
    const std::string path = platform.file("ha", "0");
    platform.set("OV_APP_FLAG_FILE_HA_RECOVERY", path);
    EXPECT_FALSE(ov_product_ha_recoverying_flag_get());
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    for (int message = 0; message < 3; message++)
        EXPECT_FALSE(ov_product_ha_recoverying_flag_get());
    platform.file("ha", "1");
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
    EXPECT_TRUE(ov_product_ha_recoverying_flag_get());
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    for (int message = 0; message < 3; message++)
        EXPECT_TRUE(ov_product_ha_recoverying_flag_get());
    std::filesystem::remove(path);
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
    EXPECT_FALSE(ov_product_ha_recoverying_flag_get());
}

TEST_F(Product, HaRecoveryWithoutAFlagFileIsFalse) {
    platform.set("OV_APP_FLAG_FILE_HA_RECOVERY", "/nonexistent/flag");
    EXPECT_FALSE(ov_product_ha_recoverying_flag_get());
}

TEST_F(Product, HaRecoveryWithoutAFileNameIsLoggedAndFalseAndNotAskedForEachMessage) {
    for (int message = 0; message < 100; message++)
        EXPECT_FALSE(ov_product_ha_recoverying_flag_get());
    EXPECT_TRUE(LogTap::has("Failed to get env OV_APP_FLAG_FILE_HA_RECOVERY"));
    EXPECT_LE(platform.runs_of("OV_APP_FLAG_FILE_HA_RECOVERY"), 2);
}

TEST_F(Product, AnswersAreKeptForAllThreads) {
    platform.set("OV_APP_FLAG_FILE_HA_RECOVERY", platform.file("ha", "1"));
    const auto ask = [] {
        for (int message = 0; message < 1000; message++) {
            EXPECT_TRUE(ov_product_ha_recoverying_flag_get());
            EXPECT_EQ(ov_product_enterprise_id_get(), OV_DEFAULT_ENTERPRISE_ID);
            EXPECT_STREQ(ov_product_sn_get(), "");
            EXPECT_STREQ(ov_product_get_sc_internal_ip_addr(), "127.0.0.1");
        }
    };
    std::thread other(ask);
    ask();
    other.join();
    EXPECT_EQ(platform.runs_of("OV_APP_FLAG_FILE_HA_RECOVERY"), 1);
    EXPECT_EQ(platform.runs_of("PDT_INFO_ENTERPRISE_ID"), 1);
}

TEST_F(Product, MateSlotIs0WhenTheCommandFails) {
    EXPECT_EQ(ov_product_get_mate_sc_slot_id(), 0u);
    platform.set("mate_slot", "9");
    EXPECT_EQ(ov_product_get_mate_sc_slot_id(), 9u);
    for (const char* bad : {"none", "", "-1", "32", "4294967297"}) {
        platform.set("mate_slot", bad);
        EXPECT_EQ(ov_product_get_mate_sc_slot_id(), 0u) << bad;
    }
}

TEST_F(Product, ControlCardIsActiveByTheEnvironmentAndASingleBoardAlways) {
    EXPECT_EQ(ov_product_sc_active_flag_get(), 1);
    ov_product_deinit();
    platform.set("PDT_INFO_SHELF_TYPE", "53");
    EXPECT_EQ(ov_product_sc_active_flag_get(), 0);
    platform.set("active", "1");
    EXPECT_EQ(ov_product_sc_active_flag_get(), 1);
    platform.set("active", "0");
    EXPECT_EQ(ov_product_sc_active_flag_get(), 0);
}

// ---- address and files -------------------------------------------------------------------------------

TEST_F(Product, InternalAddressIsTheLoopbackOnASingleBoard) {
    platform.set("qcx9_self", "10.1.2.3");
    EXPECT_STREQ(ov_product_get_sc_internal_ip_addr(), "127.0.0.1");
}

TEST_F(Product, InternalAddressOfAChassisControlCardComesFromTheEnvironmentAndIsKept) {
    platform.set("PDT_INFO_SHELF_TYPE", "53");
    EXPECT_STREQ(ov_product_get_sc_internal_ip_addr(), "127.0.0.1") << "missing";
    EXPECT_TRUE(LogTap::has("Failed to get env qcx9_self"));
    platform.set("qcx9_self", "not an address");
    EXPECT_STREQ(ov_product_get_sc_internal_ip_addr(), "127.0.0.1");
    platform.set("qcx9_self", "10.1.2.3");
    EXPECT_STREQ(ov_product_get_sc_internal_ip_addr(), "10.1.2.3");
    EXPECT_STREQ(ov_product_get_sc_internal_ip_addr(), "10.1.2.3");
    EXPECT_EQ(platform.runs_of("qcx9_self"), 3);
}

TEST_F(Product, InternalAddressOfALineCardIsTheLoopback) {
    platform.set("PDT_INFO_SHELF_TYPE", "53");
    platform.set("PDT_INFO_CARD_SLOTID", "3");
    platform.set("qcx9_self", "10.1.2.3");
    EXPECT_STREQ(ov_product_get_sc_internal_ip_addr(), "127.0.0.1");
}

TEST_F(Product, IniFilesAreTheEnvironmentVariables) {
    {
        ScopedVariable pdt("OV_ENV_PDT_INI_FILE", nullptr);
        ScopedVariable pm("OV_ENV_PM_INI_FILE", nullptr);
        EXPECT_EQ(ov_product_pdt_ini_file(), nullptr);
        EXPECT_EQ(ov_product_pm_ini_file(), nullptr);
    }
    ScopedVariable pdt("OV_ENV_PDT_INI_FILE", "/etc/pdt.ini");
    ScopedVariable pm("OV_ENV_PM_INI_FILE", "/etc/pm.ini");
    EXPECT_THAT(ov_product_pdt_ini_file(), StrEq("/etc/pdt.ini"));
    EXPECT_THAT(ov_product_pm_ini_file(), StrEq("/etc/pm.ini"));
}

TEST_F(Product, UndeclaredOnuImageDirectoryIsToldOnStandardErrorAndADeclaredOneIsKept) {
    {
        ScopedVariable dir("OV_ENV_ONU_VERSION_DIR", nullptr);
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(ov_product_onu_version_path_get(), nullptr);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "OV_ENV_ONU_VERSION_DIR was not declared \n");
    }
    {
        ScopedVariable dir("OV_ENV_ONU_VERSION_DIR", "/app/appload/onu");
        EXPECT_THAT(ov_product_onu_version_path_get(), StrEq("/app/appload/onu"));
    }
    ScopedVariable dir("OV_ENV_ONU_VERSION_DIR", nullptr);
    EXPECT_THAT(ov_product_onu_version_path_get(), StrEq("/app/appload/onu"));
}

} // namespace
