#include "messages.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

const BodyLayout& layout_of(uint8_t type) {
    return *find_message(type)->event;
}

std::vector<uint8_t> body_of(uint8_t type, const Fields& fields) {
    std::vector<uint8_t> body;
    std::string error;
    EXPECT_TRUE(encode_body(layout_of(type), fields, body, error)) << error;
    return body;
}

std::string refusal(uint8_t type, const Fields& fields) {
    std::vector<uint8_t> body;
    std::string error;
    EXPECT_FALSE(encode_body(layout_of(type), fields, body, error));
    return error;
}

std::string value_of(const NamedValues& values, std::string_view name) {
    const auto it =
        std::find_if(values.begin(), values.end(), [&](const auto& v) { return v.first == name; });
    return it == values.end() ? "(none)" : it->second;
}

TEST(Messages, AreFoundByNumberAndByAnyFormOfTheirName) {
    for (const char* name : {"UMSG_NEW_IF", "umsg_new_if", "new-if", "NEW-IF", "new_if", "2"}) {
        const MessageType* type = find_message(std::string_view(name));
        ASSERT_TRUE(type) << name;
        EXPECT_EQ(type->number, UMSG_NEW_IF);
    }
    for (const char* name : {"", "if", "new", "82", "256", "UMSG_MAX"})
        EXPECT_FALSE(find_message(std::string_view(name))) << name;
    EXPECT_FALSE(find_message(uint8_t{82}));
}

TEST(Messages, StandInTheOrderOfTheirNumbersWithFieldsInsideTheirRecords) {
    for (size_t i = 0; i < all_messages().size(); ++i) {
        const MessageType& type = all_messages()[i];
        EXPECT_EQ(type.number, i);
        EXPECT_EQ(find_message(std::string_view(short_name(type))), &type);
        for (const BodyLayout* layout : {type.event, type.request}) {
            for (const Field& field : layout ? layout->fields : std::span<const Field>())
                EXPECT_LE(size_t{field.offset} + field.size, layout->size) << type.name << " " << field.name;
        }
    }
}

TEST(Messages, ABodyComesBackAsItsFields) {
    const auto body =
        body_of(UMSG_NEW_IF, {{"ifindex", "gpon-olt1/2"}, {"flags", "up+running"}, {"onu_sn", "ABCD"}});
    ASSERT_EQ(body.size(), sizeof(umsg_if_t));
    const NamedValues values = decode_body(layout_of(UMSG_NEW_IF), body);
    EXPECT_EQ(value_of(values, "ifindex"), "0x4c208000");
    EXPECT_EQ(value_of(values, "port"), "gpon-olt1/2");
    EXPECT_EQ(value_of(values, "name"), "gpon-olt1/2");
    EXPECT_EQ(value_of(values, "flags"), "0x00000041");
    EXPECT_EQ(value_of(values, "onu_sn"), "ABCD");
}

TEST(Messages, AGivenNameIsNotReplacedByThePorts) {
    const auto body = body_of(UMSG_NEW_IF, {{"ifindex", "gpon-olt1/2"}, {"name", "other"}});
    EXPECT_EQ(value_of(decode_body(layout_of(UMSG_NEW_IF), body), "name"), "other");
}

TEST(Messages, VlanSetsAreRangesOfBits) {
    const auto body = body_of(UMSG_VLAN_NEW, {{"vlans", "0,1,7-9,4095"}});
    EXPECT_EQ(body[0], 0b10000011);
    EXPECT_EQ(body[1], 0b00000011);
    EXPECT_EQ(body[511], 0x80);
    EXPECT_EQ(value_of(decode_body(layout_of(UMSG_VLAN_NEW), body), "vlans"), "0-1,7-9,4095");
    for (const char* bad : {"4096", "5-4", "x", "1,,2", "1-", "-1"})
        EXPECT_NE(refusal(UMSG_VLAN_NEW, {{"vlans", bad}}), "") << bad;
}

TEST(Messages, WrongFieldsAndValuesAreNamed) {
    EXPECT_EQ(refusal(UMSG_NEW_IF, {{"colour", "1"}}), "umsg_if_t has no field \"colour\"");
    EXPECT_EQ(refusal(UMSG_SLOT_ADD, {{"card_type", "65536"}}), "bad value for card_type: \"65536\"");
    EXPECT_EQ(refusal(UMSG_NEW_IF, {{"flags", "up+"}}), "bad value for flags: \"up+\"");
    EXPECT_EQ(refusal(UMSG_START_SNMP_AGENTX, {{"x", "1"}}), "no body has no field \"x\"");
}

TEST(Messages, ATextLeavesRoomForItsEnd) {
    body_of(UMSG_HOST, {{"name", std::string(32, 'a')}});
    EXPECT_NE(refusal(UMSG_HOST, {{"name", std::string(33, 'a')}}), "");
}

TEST(Messages, ATextInHexMayFillItsFieldAndIsThenFoundUnterminated) {
    std::string hex = "hex:";
    for (int i = 0; i < 33; ++i)
        hex += "61";
    const auto body = body_of(UMSG_HOST, {{"name", hex}});
    ASSERT_TRUE(unterminated_text(layout_of(UMSG_HOST), body));
    EXPECT_STREQ(unterminated_text(layout_of(UMSG_HOST), body)->name, "name");
    EXPECT_FALSE(unterminated_text(layout_of(UMSG_HOST), body_of(UMSG_HOST, {{"name", "x"}})));
}

TEST(Messages, UnprintableTextIsShownInHex) {
    const auto body = body_of(UMSG_ONU_STATUS_NOTIFY, {{"onu_sn", "hex:4142000102"}});
    EXPECT_EQ(value_of(decode_body(layout_of(UMSG_ONU_STATUS_NOTIFY), body), "onu_sn"),
              "hex:414200010200000000");
}

} // namespace
