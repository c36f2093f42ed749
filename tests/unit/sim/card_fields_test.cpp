#include "card_fields.h"

#include <gtest/gtest.h>

#include "onu.h"

namespace {

const HalRecordDesc& record_of(const char* name) {
    return *hal_record_desc_by_name(name);
}

TEST(CardFields, ValuesGoInAndComeOut) {
    const HalRecordDesc& desc = record_of("ov_gpon_uncfg_onu_attr_t");
    std::vector<uint8_t> bytes(desc.size);
    std::string error;
    ASSERT_TRUE(put_card_fields(
        desc, {{"ponIfindex", "gpon-olt1/3"}, {"index", "7"}, {"sn", "ABCD00000001"}, {"pw", "a b"}}, bytes,
        error))
        << error;
    EXPECT_EQ(bytes[3], 0x00);
    EXPECT_EQ(bytes[7], 7);
    EXPECT_EQ(card_record_json(desc, bytes),
              "{\"ponIfindex\": 1277231104, \"index\": 7, \"sn\": \"ABCD00000001\", \"pw\": \"a b\", "
              "\"loid\": \"\", \"loidPw\": \"\", \"eqptId\": \"\"}");
}

TEST(CardFields, NestedRecordsAndListsHaveTheirJson) {
    const HalRecordDesc& desc = record_of("ov_gpon_rmuni_vlan_attr_t");
    std::vector<uint8_t> bytes(desc.size);
    std::string error;
    ASSERT_TRUE(put_card_fields(desc, {{"uniPos.uniId", "4"}, {"vlanList.vlanGrp[1].startVlan", "100"}},
                                bytes, error))
        << error;
    const std::string json = card_record_json(desc, bytes);
    EXPECT_NE(json.find("\"uniPos\": {\"cardId\": 0, \"uniType\": 0, \"uniId\": 4}"), std::string::npos);
    EXPECT_NE(json.find("\"vlanGrp\": [{\"startVlan\": 0, \"endVlan\": 0}, {\"startVlan\": 100"),
              std::string::npos);
}

TEST(CardFields, WhatDoesNotFitIsRefused) {
    const HalRecordDesc& desc = record_of("ov_gpon_uncfg_onu_attr_t");
    std::vector<uint8_t> bytes(desc.size);
    for (const auto& [name, value] : std::vector<std::pair<std::string, std::string>>{{"nothing", "1"},
                                                                                      {"index", "x"},
                                                                                      {"index", "4294967296"},
                                                                                      {"pw", "twelve chars"},
                                                                                      {"pw", "hex:1"}}) {
        std::string error;
        EXPECT_FALSE(put_card_fields(desc, {{name, value}}, bytes, error)) << name << "=" << value;
        EXPECT_NE(error, "");
    }
    std::string error;
    EXPECT_FALSE(
        put_card_fields(record_of("ov_gpon_trap_onu_state_attr_t"), {{"states", "256"}}, bytes, error));
}

TEST(CardFields, BytesThatAreNoTextAreDigits) {
    const HalRecordDesc& desc = record_of("ov_gpon_tcont_attr_t");
    std::vector<uint8_t> bytes(desc.size);
    bytes[12] = 0xFF;
    EXPECT_NE(card_record_json(desc, bytes).find("\"name\": \"hex:ff00"), std::string::npos);
    bytes[12] = '"';
    EXPECT_NE(card_record_json(desc, bytes).find("\"name\": \"\\\"\""), std::string::npos);
}

TEST(OnuSerials, AreReadAndWritten) {
    const auto serial = parse_onu_serial("ABCD0000000f");
    ASSERT_TRUE(serial);
    EXPECT_EQ(onu_serial_text(*serial), "ABCD0000000f");
    EXPECT_EQ(onu_serial_text(next_onu_serial(*serial, 1)), "ABCD00000010");
    EXPECT_EQ(parse_onu_serial("414243440000000f"), serial);
    for (const char* bad : {"", "ABCD", "ABCD0000000", "ABCD0000000g", "ABCD0000000000001"})
        EXPECT_FALSE(parse_onu_serial(bad)) << bad;
}

} // namespace
