#include "ov_ifindex.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../ov_common/product_test_env.h"
#include "ov_ifindex_name.h"
#include "ov_name_scan.h"

namespace {

constexpr uint16_t NO_FIELDS_KIND = 15; // the first whose profile has a port field only
constexpr ov_ifindex_t index_of_kind(uint16_t kind, uint32_t rest = 0) {
    return (uint32_t(kind) << 27) | rest;
}

std::vector<LogLine> error_line(const std::string& text) {
    return {{OV_LOG_LVL_ERROR, "LIB", text}};
}

class Ifindex : public ::testing::Test {
protected:
    ScopedVariable log_file{"OV_LOG_FILE", "/dev/null"};
    LogTap log;
};

// ---- profiles ----------------------------------------------------------------------------------------

TEST_F(Ifindex, KindsSelectTheirProfiles) {
    const uint8_t expected[] = {1, 2, 2, 2, 2, 1, 1, 1, 1, 2, 3, 4, 5, 6, 1};
    for (uint16_t kind = 0; kind < 15; kind++)
        EXPECT_EQ(_get_ifidx_profile(kind), expected[kind]) << kind;
    for (uint32_t kind = 15; kind <= UINT16_MAX; kind++)
        ASSERT_EQ(_get_ifidx_profile(uint16_t(kind)), OV_IFIDX_PROFILE_INVALID) << kind;
}

TEST_F(Ifindex, EveryProfileFillsTheWordAndNumbersItself) {
    for (uint8_t i = 0; i < OV_IFIDX_PROFILE_MAX; i++) {
        const ov_ifindex_profile& p = g_ov_ifindex_profile_table[i];
        EXPECT_EQ(p.profileid, i);
        EXPECT_EQ(p.bits_type + p.bits_field1 + p.bits_field2 + p.bits_field3 + p.bits_field4 +
                      p.bits_field5 + p.bits_field6 + p.bits_field7 + p.bits_field8,
                  32);
        EXPECT_EQ(p.pf_gen_ifindex_by_name == nullptr, i == 0);
        EXPECT_EQ(p.pf_gen_name_by_ifindex == nullptr, i == 0);
    }
}

TEST_F(Ifindex, PrefixesOfKinds) {
    const std::vector<std::string> expected = {
        "fabric", "fe",       "ge",       "xe",       "ce",       "trunk",    "vlanif", "lo",
        "eth",    "gpon-olt", "gpon-onu", "gpon-gem", "gpon-srv", "gpon-uni", "eth",    "invalid"};
    for (size_t kind = 0; kind < 16; kind++)
        EXPECT_EQ(g_port_type_str[kind], expected[kind]);
    EXPECT_STREQ(ov_port_type_text(14), "eth");
    EXPECT_STREQ(ov_port_type_text(15), "invalid");
    EXPECT_STREQ(ov_port_type_text(31), "invalid");
    EXPECT_STREQ(ov_port_type_text(UINT16_MAX), "invalid");
}

// ---- worked values -----------------------------------------------------------------------------------

TEST_F(Ifindex, WorkedValues) {
    EXPECT_EQ(ov_ifindex_gen_by_phyinfo(9, 1, 1, 0, 1, 0), 0x4c200000u);
    EXPECT_EQ(ov_ifindex_gen_by_phyinfo(9, 1, 3, 0, 2, 0), 0x4c608000u);
    EXPECT_EQ(ov_ifindex_gen_by_phyinfo(10, 1, 3, 0, 2, 12), 0x54608580u);
    EXPECT_EQ(ov_ifindex_gen_by_extendinfo(11, 1, 3, 0, 2, 12, 5, 0, 0), 0x5c608584u);
    EXPECT_EQ(ov_ifindex_gen_by_extendinfo(12, 1, 3, 0, 2, 12, 5, 0, 0), 0x64608584u);
    EXPECT_EQ(ov_ifindex_gen_by_extendinfo(13, 1, 3, 0, 2, 12, 1, OV_UNI_ETH, 4), 0x6c608583u);
    EXPECT_EQ(ov_ifindex_gen_by_vlan_id(100), 0x30000064u);
    EXPECT_EQ(ov_ifindex_gen_by_trunk_id(3), 0x28000003u);
}

TEST_F(Ifindex, WorkedValuesAreThoseOfTheirNames) {
    const std::vector<std::pair<std::string, ov_ifindex_t>> worked = {
        {"gpon-olt1/1", 0x4c200000},      {"gpon-olt3/2", 0x4c608000},
        {"gpon-onu3/2:12", 0x54608580},   {"gpon-gem3/2:12_5", 0x5c608584},
        {"gpon-srv3/2:12_5", 0x64608584}, {"gpon-uni3/2:12_eth_1/4", 0x6c608583},
        {"vlanif100", 0x30000064},        {"trunk3", 0x28000003}};
    for (const auto& [name, index] : worked) {
        char text[64];
        EXPECT_EQ(ov_ifindex_gen_by_name(name.c_str()), index) << name;
        EXPECT_STREQ(ov_gen_ifname_by_ifindex(index, text, sizeof text), name.c_str());
    }
}

// ---- round trips -------------------------------------------------------------------------------------

// Every field of every kind with a position, over its whole range.
TEST_F(Ifindex, PositionsOfAllKindsRoundTrip) {
    for (uint16_t kind : {1, 2, 3, 4, 9, 10, 11, 12, 13}) {
        const bool has_onu = kind >= 10;
        for (uint8_t slot = 0; slot < 32; slot++) {
            for (uint16_t port = 1; port <= 16; port++) {
                for (uint16_t subport = has_onu ? 1 : 0; subport <= (has_onu ? 256 : 255); subport += 5) {
                    const ov_ifindex_t i = ov_ifindex_gen_by_phyinfo(kind, 1, slot, slot % 4, port, subport);
                    ASSERT_EQ(ov_ifindex_get_port_type(i), kind);
                    ASSERT_EQ(ov_ifindex_get_shelf_id(i), 1u);
                    ASSERT_EQ(ov_ifindex_get_slot_id(i), slot);
                    ASSERT_EQ(ov_ifindex_get_card_id(i), slot % 4u);
                    ASSERT_EQ(ov_ifindex_get_port_id(i), port);
                    ASSERT_EQ(ov_ifindex_get_subport_id(i), subport);
                }
            }
        }
    }
    EXPECT_TRUE(LogTap::lines().empty());
}

TEST_F(Ifindex, EverySubportAndExtend1RoundTrips) {
    for (uint16_t kind : {11, 12}) {
        for (uint16_t onu = 1; onu <= 256; onu++) {
            for (uint16_t number = 1; number <= 128; number++) {
                const ov_ifindex_t i = ov_ifindex_gen_by_extendinfo(kind, 1, 16, 0, 16, onu, number, 0, 0);
                ASSERT_EQ(ov_ifindex_get_subport_id(i), onu);
                ASSERT_EQ(ov_ifindex_get_extend1_id(i), number);
                ASSERT_EQ(ov_ifindex_get_port_id(i), 16u);
            }
        }
    }
    for (uint16_t kind : {1, 2, 3, 4, 9, 10}) {
        for (uint16_t number = 0; number < 128; number++)
            ASSERT_EQ(
                ov_ifindex_get_extend1_id(ov_ifindex_gen_by_extendinfo(kind, 1, 1, 0, 1, 1, number, 0, 0)),
                number)
                << kind;
    }
}

TEST_F(Ifindex, EveryUniRoundTrips) {
    for (uint16_t onu = 1; onu <= 256; onu++) {
        for (uint16_t card = 1; card <= 4; card++) {
            for (uint16_t type = 0; type < 4; type++) {
                for (uint16_t uni = 1; uni <= 8; uni++) {
                    const ov_ifindex_t i =
                        ov_ifindex_gen_by_extendinfo(13, 1, 14, 0, 7, onu, card, type, uni);
                    ASSERT_EQ(ov_ifindex_get_subport_id(i), onu);
                    ASSERT_EQ(ov_ifindex_get_extend1_id(i), card);
                    ASSERT_EQ(ov_ifindex_get_extend2_id(i), type);
                    ASSERT_EQ(ov_ifindex_get_extend3_id(i), uni);
                }
            }
        }
    }
}

TEST_F(Ifindex, EveryLogicIdRoundTrips) {
    for (uint16_t kind : {0, 5, 6, 7, 8, 14}) {
        for (uint32_t id = 0; id < 32768; id++) {
            const ov_ifindex_t i = ov_ifindex_gen_by_logicinfo(kind, uint16_t(id));
            ASSERT_EQ(i, index_of_kind(kind, id));
            ASSERT_EQ(ov_ifindex_get_subport_id(i), id);
        }
        const ov_ifindex_t i = ov_ifindex_gen_by_logicinfo(kind, 0x7FFF);
        EXPECT_EQ(ov_ifindex_get_shelf_id(i) | ov_ifindex_get_slot_id(i) | ov_ifindex_get_card_id(i) |
                      ov_ifindex_get_port_id(i),
                  0u);
    }
    const ov_ifindex_t i = ov_ifindex_gen_by_logicinfo(6, 4094);
    EXPECT_EQ(ov_ifindex_get_vlan_id(i), 4094);
    EXPECT_EQ(ov_ifindex_get_trunk_id(i), 4094);
    EXPECT_EQ(ov_ifindex_get_loopback_id(i), 4094);
    EXPECT_EQ(ov_ifindex_get_eth_id(i), 4094);
    EXPECT_EQ(ov_ifindex_get_fabric_port_id(i), 4094);
}

// Each generated index must also be what the plain rule gives: field by field, low field first.
TEST_F(Ifindex, GettersAgreeWithTheProfileTableForEveryKind) {
    uint32_t pattern = 0x2545F491;
    for (uint32_t step = 0; step < 20000; step++) {
        pattern = pattern * 1664525u + 1013904223u;
        const ov_ifindex_t i = pattern;
        const ov_ifindex_profile& p = g_ov_ifindex_profile_table[_get_ifidx_profile(uint16_t(i >> 27))];
        const uint8_t widths[] = {p.bits_field8, p.bits_field7, p.bits_field6, p.bits_field5,
                                  p.bits_field4, p.bits_field3, p.bits_field2, p.bits_field1};
        const uint8_t biases[] = {p.field8_0_used, p.field7_0_used, p.field6_0_used, p.field5_0_used,
                                  p.field4_0_used, p.field3_0_used, p.field2_0_used, p.field1_0_used};
        const uint32_t got[] = {ov_ifindex_get_extend3_id(i), ov_ifindex_get_extend2_id(i),
                                ov_ifindex_get_extend1_id(i), ov_ifindex_get_subport_id(i),
                                ov_ifindex_get_port_id(i),    ov_ifindex_get_card_id(i),
                                ov_ifindex_get_slot_id(i),    ov_ifindex_get_shelf_id(i)};
        uint8_t offset = 0;
        for (size_t field = 0; field < 8; field++) {
            const uint32_t expected =
                widths[field] != 0 ? _get_int32_field(i, widths[field], offset) + biases[field] : 0;
            ASSERT_EQ(got[field], expected) << std::hex << i << " field " << 8 - field;
            offset = uint8_t(offset + widths[field]);
        }
    }
}

// ---- wrapping and masking ----------------------------------------------------------------------------

TEST_F(Ifindex, Subport0OfAnOnuIsStoredAs255AndReads256) {
    const ov_ifindex_t i = ov_ifindex_gen_by_phyinfo(10, 1, 1, 0, 1, 0);
    EXPECT_EQ((i >> 7) & 0xFF, 255u);
    EXPECT_EQ(ov_ifindex_get_subport_id(i), 256u);
    EXPECT_EQ(ov_ifindex_get_port_id(i), 1u) << "nothing spills";
}

TEST_F(Ifindex, Port0OfAPonPortIsStoredAs15AndReads16) {
    const ov_ifindex_t i = ov_ifindex_gen_by_phyinfo(9, 1, 1, 0, 0, 0);
    EXPECT_EQ((i >> 15) & 0xF, 15u);
    EXPECT_EQ(ov_ifindex_get_port_id(i), 16u);
}

TEST_F(Ifindex, Port16AndOnu256AreRepresentable) {
    const ov_ifindex_t i = ov_ifindex_gen_by_phyinfo(10, 1, 1, 0, 16, 256);
    EXPECT_EQ(ov_ifindex_get_port_id(i), 16u);
    EXPECT_EQ(ov_ifindex_get_subport_id(i), 256u);
}

TEST_F(Ifindex, Port17WrapsTo1AndOnu257To1WithoutAnyError) {
    const ov_ifindex_t i = ov_ifindex_gen_by_phyinfo(10, 1, 1, 0, 17, 257);
    EXPECT_EQ(i, ov_ifindex_gen_by_phyinfo(10, 1, 1, 0, 1, 1));
    EXPECT_EQ(ov_ifindex_get_port_id(i), 1u);
    EXPECT_EQ(ov_ifindex_get_subport_id(i), 1u);
    EXPECT_TRUE(LogTap::lines().empty());
}

TEST_F(Ifindex, Shelf2IsStoredAs0) {
    EXPECT_EQ(ov_ifindex_get_shelf_id(ov_ifindex_gen_by_phyinfo(9, 2, 1, 0, 1, 0)), 0u);
    EXPECT_EQ(ov_ifindex_get_shelf_id(ov_ifindex_gen_by_phyinfo(9, 3, 1, 0, 1, 0)), 1u);
}

TEST_F(Ifindex, TemplateOnuHasSlot31Port15) {
    const ov_ifindex_t i = ov_ifindex_gen_by_phyinfo(10, 1, 31, 0, 15, 128);
    EXPECT_EQ(ov_ifindex_get_slot_id(i), 31u);
    EXPECT_EQ(ov_ifindex_get_port_id(i), 15u);
    EXPECT_EQ(ov_ifindex_get_subport_id(i), 128u);
}

TEST_F(Ifindex, LogicIdsAbove15BitsAreMaskedByOneGeneratorAndSpillInTheOthers) {
    EXPECT_EQ(ov_ifindex_gen_by_logicinfo(6, 0x8001), 0x30000001u);
    EXPECT_EQ(ov_ifindex_gen_by_vlan_id(0x8001), 0x30008001u);
    EXPECT_EQ(ov_ifindex_gen_by_trunk_id(0x8001), 0x28008001u);
    EXPECT_EQ(ov_ifindex_gen_by_loopback_id(0x8001), 0x38008001u);
}

TEST_F(Ifindex, OutOfBandPortIsKind14WithAPortField) {
    const ov_ifindex_t i = ov_ifindex_gen_by_phyinfo(14, 1, 0, 0, 2, 0);
    EXPECT_EQ(ov_ifindex_get_port_id(i), 2u) << "stored as given";
    EXPECT_EQ(i, index_of_kind(14, (1u << 26) | (2u << 15)));
}

TEST_F(Ifindex, KindsAbove5BitsAreCutToTheField) {
    EXPECT_EQ(ov_ifindex_get_port_type(ov_ifindex_gen_by_phyinfo(33, 0, 0, 0, 5, 0)), 1);
    EXPECT_EQ(ov_ifindex_gen_by_phyinfo(UINT16_MAX, 1, 1, 1, 5, 1), index_of_kind(31, 5));
}

// ---- setting fields of an existing index -------------------------------------------------------------

TEST_F(Ifindex, SubportGeneratorCombinesKindsByXor) {
    const ov_ifindex_t kindless = ov_ifindex_gen_by_phyinfo(9, 1, 3, 0, 2, 0) & 0x07FFFFFF;
    EXPECT_EQ(ov_ifindex_gen_by_subport_id(10, kindless, 12), 0x54608580u);
    const ov_ifindex_t pon = ov_ifindex_gen_by_phyinfo(9, 1, 3, 0, 2, 0);
    EXPECT_EQ(ov_ifindex_gen_by_subport_id(10, pon, 12), 0x54608580u ^ index_of_kind(9));
    EXPECT_EQ(ov_ifindex_gen_by_subport_id(10, 0x54608580u, 12), 0x54608580u ^ index_of_kind(10) ^ (11u << 7))
        << "a field that was set is XORed";
}

TEST_F(Ifindex, SubportExtendGeneratorCombinesKindsByXor) {
    const ov_ifindex_t kindless = 0x54608580u & 0x07FFFFFF;
    EXPECT_EQ(ov_ifindex_gen_by_subport_extendid(11, kindless, 5, 0, 0), 0x5c608584u);
    EXPECT_EQ(ov_ifindex_gen_by_subport_extendid(13, kindless, 1, 0, 4), 0x6c608583u);
    EXPECT_EQ(ov_ifindex_gen_by_subport_extendid(11, 0x54608580u, 5, 0, 0), 0x5c608584u ^ index_of_kind(10));
}

// ---- low-level pair ----------------------------------------------------------------------------------

TEST_F(Ifindex, FieldIsMaskedAtItsOffset) {
    EXPECT_EQ(_get_int32_field(0x12345678, 0, 8), 0u);
    EXPECT_EQ(_get_int32_field(0x12345678, 8, 8), 0x56u);
    EXPECT_EQ(_get_int32_field(0xFFFFFFFF, 31, 0), 0x7FFFFFFFu);
    EXPECT_EQ(_get_int32_field(0x12345678, 32, 0), 0x12345678u);
    EXPECT_EQ(_get_int32_field(0x12345678, 32, 8), 0x123456u);
    EXPECT_EQ(_get_int32_field(0x12345678, 4, 32), 0u) << "an offset outside the word";
}

TEST_F(Ifindex, FieldIsSetByXor) {
    EXPECT_EQ(_set_int32_field(0x12345678, 0xFF, 0, 8), 0x12345678u);
    EXPECT_EQ(_set_int32_field(0, 0x1FF, 8, 8), 0xFF00u);
    EXPECT_EQ(_set_int32_field(0xFF00, 0x0F, 8, 8), 0xF000u);
    EXPECT_EQ(_set_int32_field(0x0000FFFF, 0xFFFFFFFF, 32, 0), 0xFFFF0000u);
    EXPECT_EQ(_set_int32_field(0, 0x12345678, 32, 8), 0x34567800u);
    EXPECT_EQ(_set_int32_field(7, 1, 4, 32), 7u) << "an offset outside the word";
}

TEST_F(Ifindex, FieldLengthAbove32IsToldOnStandardOutput) {
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(_get_int32_field(0x12345678, 33, 0), 0u);
    fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "bad filed_len 33");
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(_set_int32_field(0x12345678, 1, 255, 0), 0x12345678u);
    fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "bad filed_len 255");
}

// ---- missing fields ----------------------------------------------------------------------------------

TEST_F(Ifindex, GettersOfMissingFieldsLogTheirWordsAndGive0) {
    struct Case {
        uint32_t (*get)(ov_ifindex_t);
        const char* text;
    };
    const ov_ifindex_t i = index_of_kind(NO_FIELDS_KIND, 0x07FFFFFF);
    for (const Case& c : {Case{ov_ifindex_get_shelf_id, "PORT TYPE 15 do not have shelf information"},
                          Case{ov_ifindex_get_slot_id, "PORT TYPE 15 do not have slot information"},
                          Case{ov_ifindex_get_card_id, "PORT TYPE 15 do not have slot information"},
                          Case{ov_ifindex_get_subport_id, "PORT TYPE 15 do not have subport information"},
                          Case{ov_ifindex_get_extend1_id, "PORT TYPE 15 do not have extend1 information"},
                          Case{ov_ifindex_get_extend2_id, "PORT TYPE 15 do not have extend1 information"},
                          Case{ov_ifindex_get_extend3_id, "PORT TYPE 15 do not have extend1 information"}}) {
        EXPECT_EQ(c.get(i), 0u);
        EXPECT_EQ(LogTap::take(), error_line(c.text));
    }
    EXPECT_EQ(ov_ifindex_get_vlan_id(i), 0);
    EXPECT_EQ(LogTap::take(), error_line("PORT TYPE 15 do not have subport information"));
    EXPECT_EQ(ov_ifindex_get_extend1_id(ov_ifindex_gen_by_vlan_id(1)), 0u);
    EXPECT_EQ(LogTap::take(), error_line("PORT TYPE 6 do not have extend1 information"));
    EXPECT_EQ(ov_ifindex_get_extend2_id(ov_ifindex_gen_by_phyinfo(9, 1, 1, 0, 1, 0)), 0u);
    EXPECT_EQ(LogTap::take(), error_line("PORT TYPE 9 do not have extend1 information"));
}

TEST_F(Ifindex, PortOfAnInvalidKindIsTheLow27BitsWithoutAMessage) {
    for (uint16_t kind = 15; kind < 32; kind++) {
        EXPECT_EQ(ov_ifindex_get_port_id(index_of_kind(kind, 0x07654321)), 0x07654321u);
        EXPECT_TRUE(LogTap::lines().empty());
    }
}

TEST_F(Ifindex, SlotOfAnInvalidKindLogsTheErrorAndGives0) {
    EXPECT_EQ(ov_ifindex_get_slot_id(index_of_kind(31, 0x07654321)), 0u);
    EXPECT_EQ(LogTap::take(), error_line("PORT TYPE 31 do not have slot information"));
}

// ---- detail text -------------------------------------------------------------------------------------

TEST_F(Ifindex, DetailShowsTheFieldsThatTheProfileHas) {
    EXPECT_STREQ(ov_get_detail_by_ifindex(0x6c608583),
                 "type gpon-uni[13]slot [3]card [0]port [2]sub-port/logic-port [12]extend1 [1]extend2 "
                 "[0]extend3 [4]");
    EXPECT_STREQ(ov_get_detail_by_ifindex(0x54608580),
                 "type gpon-onu[10]slot [3]card [0]port [2]sub-port/logic-port [12]extend1 [0]");
    EXPECT_STREQ(ov_get_detail_by_ifindex(0x30000064),
                 "type vlanif[6]slot [0]card [0]port [0]sub-port/logic-port [100]");
    EXPECT_STREQ(ov_get_detail_by_ifindex(index_of_kind(31, 5)), "port [5]");
    EXPECT_TRUE(LogTap::lines().empty());
}

// ---- index to name -----------------------------------------------------------------------------------

std::string name_of(ov_ifindex_t ifindex) {
    char name[64];
    const char* text = ov_gen_ifname_by_ifindex(ifindex, name, sizeof name);
    return text != nullptr ? text : "(null)";
}

TEST_F(Ifindex, NamesOfEachKind) {
    EXPECT_EQ(name_of(ov_ifindex_gen_by_logicinfo(0, 7)), "fabric7");
    EXPECT_EQ(name_of(ov_ifindex_gen_by_phyinfo(1, 1, 2, 0, 1, 0)), "fe2/1");
    EXPECT_EQ(name_of(ov_ifindex_gen_by_phyinfo(2, 1, 2, 0, 1, 0)), "ge2/1");
    EXPECT_EQ(name_of(ov_ifindex_gen_by_phyinfo(3, 1, 17, 0, 16, 0)), "xe17/16");
    EXPECT_EQ(name_of(ov_ifindex_gen_by_phyinfo(4, 1, 2, 0, 1, 9)), "ce2/1") << "no subport in the name";
    EXPECT_EQ(name_of(ov_ifindex_gen_by_logicinfo(5, 16)), "trunk16");
    EXPECT_EQ(name_of(ov_ifindex_gen_by_logicinfo(6, 4094)), "vlanif4094");
    EXPECT_EQ(name_of(ov_ifindex_gen_by_logicinfo(7, 1)), "lo:1");
    EXPECT_EQ(name_of(ov_ifindex_gen_by_logicinfo(8, 1)), "eth1");
    EXPECT_EQ(name_of(ov_ifindex_gen_by_logicinfo(14, 1)), "eth1");
    const char* const words[] = {"eth", "pots", "veip", "video"};
    for (uint16_t type = 0; type < 4; type++)
        EXPECT_EQ(name_of(ov_ifindex_gen_by_extendinfo(13, 1, 3, 0, 2, 12, 4, type, 8)),
                  std::string("gpon-uni3/2:12_") + words[type] + "_4/8");
    EXPECT_TRUE(LogTap::lines().empty());
}

TEST_F(Ifindex, NameIsCutToTwoCharactersLessThanTheBuffer) {
    const ov_ifindex_t gem = ov_ifindex_gen_by_extendinfo(11, 1, 1, 0, 16, 128, 128, 0, 0);
    char name[20];
    EXPECT_STREQ(ov_gen_ifname_by_ifindex(gem, name, sizeof name), "gpon-gem1/16:128_1");
    EXPECT_EQ(name_of(gem), "gpon-gem1/16:128_128");
    EXPECT_STREQ(ov_gen_ifname_by_ifindex(gem, name, 3), "g");
    EXPECT_STREQ(ov_gen_ifname_by_ifindex(gem, name, 2), "");
}

TEST_F(Ifindex, NameBufferOf0Or1BytesGivesNullAndIsNotTouched) {
    char name[2] = {'x', 'y'};
    EXPECT_EQ(ov_gen_ifname_by_ifindex(0x4c200000, name, 1), nullptr);
    EXPECT_EQ(ov_gen_ifname_by_ifindex(0x4c200000, name, 0), nullptr);
    EXPECT_EQ(name[0], 'x');
    EXPECT_EQ(name[1], 'y');
}

TEST_F(Ifindex, NullNameBufferIsLogged) {
    EXPECT_EQ(ov_gen_ifname_by_ifindex(0x4c200000, nullptr, 20), nullptr);
    EXPECT_EQ(LogTap::take(), error_line("ifname str is NULL."));
    EXPECT_EQ(ov_ifindex_gen_physic_portname(0x4c200000, nullptr, 20), nullptr);
    EXPECT_EQ(LogTap::take(), error_line("ifname str is NULL."));
}

TEST_F(Ifindex, KindWithoutNamesIsLogged) {
    char name[20];
    EXPECT_EQ(ov_gen_ifname_by_ifindex(0xF8000001, name, sizeof name), nullptr);
    EXPECT_EQ(LogTap::take(), error_line("failed to get generate name func for type 31 profile id 0 ifindex "
                                         "0xf8000001."));
    EXPECT_EQ(ov_get_ifname_by_ifindex(OV_IFINDEX_INVALID), nullptr);
}

TEST_F(Ifindex, GemServicePortAndUniNamesRefuseOtherKinds) {
    char name[32];
    EXPECT_EQ(ov_ifindex_gen_gpon_onugem_name(0x64608584, name, sizeof name), nullptr);
    EXPECT_EQ(LogTap::take(), error_line("ifindex 0x64608584 port type 12 is not gem port"));
    EXPECT_EQ(ov_ifindex_gen_gpon_onusrv_name(0x5c608584, name, sizeof name), nullptr);
    EXPECT_EQ(LogTap::take(), error_line("ifindex 0x5c608584 port type 11 is not onu service port"));
    EXPECT_EQ(ov_ifindex_gen_gpon_onuuni_name(0x5c608584, name, sizeof name), nullptr);
    EXPECT_TRUE(LogTap::lines().empty());
}

TEST_F(Ifindex, StaticNameBufferHolds18Characters) {
    EXPECT_STREQ(ov_get_ifname_by_ifindex(0x54608580), "gpon-onu3/2:12");
    EXPECT_STREQ(ov_get_ifname_by_ifindex(ov_ifindex_gen_by_extendinfo(11, 1, 1, 0, 16, 128, 128, 0, 0)),
                 "gpon-gem1/16:128_1");
}

// ---- name to index -----------------------------------------------------------------------------------

TEST_F(Ifindex, NamesOfAllKindsRoundTrip) {
    std::vector<ov_ifindex_t> indexes;
    for (uint16_t kind : {0, 5, 6, 7, 8})
        for (uint16_t id : {0, 1, 4094, 32767})
            indexes.push_back(ov_ifindex_gen_by_logicinfo(kind, id));
    for (uint8_t slot = 0; slot < 32; slot++) {
        for (uint16_t port = 1; port <= 16; port++) {
            for (uint16_t kind : {1, 2, 3, 4, 9})
                indexes.push_back(ov_ifindex_gen_by_phyinfo(kind, 1, slot, 0, port, 0));
            for (uint16_t onu : {1, 128, 256}) {
                indexes.push_back(ov_ifindex_gen_by_phyinfo(10, 1, slot, 0, port, onu));
                for (uint16_t number : {1, 128}) {
                    indexes.push_back(ov_ifindex_gen_by_extendinfo(11, 1, slot, 0, port, onu, number, 0, 0));
                    indexes.push_back(ov_ifindex_gen_by_extendinfo(12, 1, slot, 0, port, onu, number, 0, 0));
                }
                for (uint16_t type = 0; type < 4; type++)
                    indexes.push_back(ov_ifindex_gen_by_extendinfo(13, 1, slot, 0, port, onu, 4, type, 8));
            }
        }
    }
    for (ov_ifindex_t i : indexes)
        ASSERT_EQ(ov_ifindex_gen_by_name(name_of(i).c_str()), i) << name_of(i);
}

TEST_F(Ifindex, PrefixAloneHasNoIndex) {
    EXPECT_EQ(ov_ifindex_gen_by_name("ge"), OV_IFINDEX_INVALID);
    EXPECT_EQ(LogTap::take(), error_line("failed to find correspond port type for ge."));
    EXPECT_EQ(ov_ifindex_gen_by_physic_portname(2, "ge"), OV_IFINDEX_INVALID);
    EXPECT_EQ(ov_ifindex_gen_by_gpon_onuuni_name(13, "gpon-uni"), OV_IFINDEX_INVALID);
    EXPECT_TRUE(LogTap::lines().empty());
}

TEST_F(Ifindex, GexScansNothingAndKeepsTheDefaults) {
    const ov_ifindex_t i = ov_ifindex_gen_by_name("gex");
    EXPECT_EQ(ov_ifindex_get_port_type(i), 2);
    EXPECT_EQ(ov_ifindex_get_shelf_id(i), 1u);
    EXPECT_EQ(ov_ifindex_get_slot_id(i), 1u);
    EXPECT_EQ(ov_ifindex_get_port_id(i), 16u) << "0 is stored as 15";
}

TEST_F(Ifindex, EthGivesKind8AndNoNameGivesKind14) {
    const ov_ifindex_t i = ov_ifindex_gen_by_name("eth1");
    EXPECT_EQ(ov_ifindex_get_port_type(i), 8);
    EXPECT_EQ(ov_ifindex_get_eth_id(i), 1);
    EXPECT_EQ(name_of(ov_ifindex_gen_by_logicinfo(14, 1)), "eth1");
}

TEST_F(Ifindex, LoopbackParserSkipsOneCharacterBehindThePrefix) {
    EXPECT_EQ(ov_ifindex_gen_by_name("lo:1"), ov_ifindex_gen_by_loopback_id(1));
    EXPECT_EQ(ov_ifindex_gen_by_name("lo1"), ov_ifindex_gen_by_loopback_id(0));
    EXPECT_EQ(ov_ifindex_gen_by_name("lo:"), ov_ifindex_gen_by_loopback_id(0));
    EXPECT_EQ(ov_ifindex_gen_by_name("lo12"), ov_ifindex_gen_by_loopback_id(2));
}

TEST_F(Ifindex, SlotAboveTheCardsParsesLikeAnyOther) {
    EXPECT_EQ(ov_ifindex_gen_by_name("gpon-olt17/1"), ov_ifindex_gen_by_phyinfo(9, 1, 17, 0, 1, 0));
}

TEST_F(Ifindex, WhatIsNotInTheTextKeepsItsDefault) {
    EXPECT_EQ(ov_ifindex_gen_by_name("gpon-olt3"), ov_ifindex_gen_by_phyinfo(9, 1, 3, 0, 0, 0));
    EXPECT_EQ(ov_ifindex_gen_by_name("gpon-olt3:2"), ov_ifindex_gen_by_phyinfo(9, 1, 3, 0, 0, 0));
    EXPECT_EQ(ov_ifindex_gen_by_name("gpon-onu3/2"), ov_ifindex_gen_by_phyinfo(10, 1, 3, 0, 2, 0));
    EXPECT_EQ(ov_ifindex_gen_by_name("gpon-gem3/2:12"),
              ov_ifindex_gen_by_extendinfo(11, 1, 3, 0, 2, 12, 0, 0, 0));
    EXPECT_EQ(ov_ifindex_gen_by_name("gpon-srvx"), ov_ifindex_gen_by_extendinfo(12, 1, 1, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(ov_ifindex_gen_by_name("gpon-uni3/2_eth"),
              ov_ifindex_gen_by_extendinfo(13, 1, 3, 0, 2, 0, 0, 0, 0));
    EXPECT_EQ(ov_ifindex_gen_by_name("vlanifx"), ov_ifindex_gen_by_vlan_id(0));
    EXPECT_EQ(ov_ifindex_gen_by_name("ge2/1 and more"), ov_ifindex_gen_by_phyinfo(2, 1, 2, 0, 1, 0));
}

TEST_F(Ifindex, NumbersFarOutOfRangeAreBoundedAndCut) {
    const ov_ifindex_t huge = ov_ifindex_gen_by_name("ge99999999999999999999/99999999999999999999");
    EXPECT_EQ(huge, ov_ifindex_gen_by_phyinfo(2, 1, 0xFF, 0, 0xFFFF, 0)) << "INT_MAX, cut";
    EXPECT_EQ(ov_ifindex_get_slot_id(huge), 31u);
    const ov_ifindex_t deep = ov_ifindex_gen_by_name("ge-99999999999999999999/-99999999999999999999");
    EXPECT_EQ(deep, ov_ifindex_gen_by_phyinfo(2, 1, 0, 0, 0, 0)) << "INT_MIN, cut";
    EXPECT_EQ(ov_ifindex_gen_by_name("vlanif65637"), ov_ifindex_gen_by_vlan_id(101));
    EXPECT_EQ(ov_ifindex_gen_by_name("ge-1/1"), ov_ifindex_gen_by_phyinfo(2, 1, 31, 0, 1, 0));
}

TEST_F(Ifindex, NullAndEmptyNamesAreLogged) {
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(ov_ifindex_gen_by_name(name), OV_IFINDEX_INVALID);
        EXPECT_EQ(LogTap::take(), error_line("ifname str is NULL."));
        EXPECT_EQ(ov_ifindex_gen_by_physic_portname(2, name), OV_IFINDEX_INVALID);
        EXPECT_EQ(LogTap::take(), error_line("ifname str is NULL."));
    }
}

TEST_F(Ifindex, NamesWithoutAKnownPrefixAreLogged) {
    for (const char* name : {"bond0", "GE1/1", "g", "invalid1", "gpon", " ge1/1"}) {
        EXPECT_EQ(ov_ifindex_gen_by_name(name), OV_IFINDEX_INVALID) << name;
        EXPECT_EQ(LogTap::take(),
                  error_line(std::string("failed to find correspond port type for ") + name + "."));
    }
}

TEST_F(Ifindex, VeryLongNamesAreRead) {
    const std::string name = "vlanif" + std::string(20000, '1');
    EXPECT_EQ(ov_ifindex_gen_by_name(name.c_str()), ov_ifindex_gen_by_logicinfo(6, 0xFFFF));
}

TEST_F(Ifindex, UniNamesLogWhatWasReadAtDebugLevel) {
    const char* const words[] = {"eth", "pots", "veip", "video"};
    for (uint16_t type = 0; type < 4; type++) {
        const std::string word = words[type];
        EXPECT_EQ(ov_ifindex_gen_by_name(("gpon-uni3/2:12_" + word + "_1/4").c_str()),
                  ov_ifindex_gen_by_extendinfo(13, 1, 3, 0, 2, 12, 1, type, 4));
        EXPECT_EQ(LogTap::take(),
                  (std::vector<LogLine>{{OV_LOG_LVL_DEBUG, "LIB",
                                         "iftype gpon-uni, slot 3, port 2 onu_id 12 uni_type " + word +
                                             " uni_card 1 uni_id 4."}}));
    }
}

TEST_F(Ifindex, UniWordsAreSearchedInOrder) {
    EXPECT_EQ(ov_ifindex_get_extend2_id(ov_ifindex_gen_by_name("gpon-uni3/2:12_pots_1/4 eth")), OV_UNI_ETH);
    EXPECT_EQ(ov_ifindex_get_extend2_id(ov_ifindex_gen_by_name("gpon-uni3/2:12_video_1/4 veip")),
              OV_UNI_VEIP);
}

TEST_F(Ifindex, UniNameWithoutAWordIsLogged) {
    EXPECT_EQ(ov_ifindex_gen_by_name("gpon-uni3/2:12_wifi_1/4"), OV_IFINDEX_INVALID);
    EXPECT_EQ(LogTap::take(), error_line("ifname gpon-uni3/2:12_wifi_1/4 have unknwn uni type."));
}

// ---- the reader of numbers ---------------------------------------------------------------------------

TEST(NameScan, StopsWhereTheTextDepartsFromThePattern) {
    int a = -1;
    int b = -1;
    auto scan = ov_name_scan("3/x", "#/#", {&a, &b});
    EXPECT_EQ(scan.converted, 1);
    EXPECT_STREQ(scan.rest, "x");
    EXPECT_EQ(a, 3);
    EXPECT_EQ(b, -1);
    scan = ov_name_scan("", "#", {&a});
    EXPECT_EQ(scan.converted, 0);
    EXPECT_STREQ(scan.rest, "");
    scan = ov_name_scan("7 rest", "#", {&a});
    EXPECT_STREQ(scan.rest, " rest");
}

TEST(NameScan, NumbersAreBoundedToInt) {
    int a = 0;
    int b = 0;
    ov_name_scan("2147483648/-2147483649", "#/#", {&a, &b});
    EXPECT_EQ(a, INT32_MAX);
    EXPECT_EQ(b, INT32_MIN);
}

} // namespace
