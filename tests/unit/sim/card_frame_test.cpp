#include "card_frame.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

constexpr uint16_t TCONT = 908;

CardHeader tcont_header(size_t payload) {
    CardHeader header;
    header.ipc_type = static_cast<uint32_t>(IpcType::REQUEST);
    header.sender_service = 101;
    header.sender_sub_id = 11101;
    header.msg_id = 77;
    header.topic = 1;
    header.cmd = TCONT;
    header.nlmsg_type = TCONT;
    header.nlmsg_len = static_cast<uint32_t>(16 + payload);
    header.msg_len = header.nlmsg_len + 36;
    return header;
}

std::vector<uint8_t> tcont_frame() {
    std::vector<uint8_t> record(144);
    put_be32(record, 0, 0x54210580);
    put_be32(record, 4, 3);
    const auto payload = card_payload(card_action::CREATE, 5, record);
    return build_card_frame(tcont_header(payload.size()), payload);
}

std::string reason_of(const std::vector<uint8_t>& frame) {
    CardRequest request;
    const auto refusal = parse_card_request(frame, request);
    return refusal ? refusal->reason : "";
}

TEST(CardFrame, ReadsAGoodRequest) {
    const auto frame = tcont_frame();
    ASSERT_EQ(frame.size(), 28u + 36u + 144u + 40u);
    CardRequest request;
    ASSERT_FALSE(parse_card_request(frame, request));
    EXPECT_EQ(request.message->number, TCONT);
    EXPECT_EQ(request.action, card_action::CREATE);
    EXPECT_EQ(request.mask, 5u);
    EXPECT_EQ(request.record.size(), 144u);
    EXPECT_EQ(get_be32(request.record, 4), 3u);
    EXPECT_EQ(request.header.msg_id, 77u);
    EXPECT_TRUE(request.wants_reply());
}

TEST(CardFrame, WordsStandWhereTheWireHasThem) {
    const auto frame = tcont_frame();
    EXPECT_EQ(get_be32(frame, 0), 0xface01bcu);
    EXPECT_EQ(get_be32(frame, 8), 1u);              // IPC_REQUEST
    EXPECT_EQ(get_be32(frame, 28), 1u);             // topic
    EXPECT_EQ(get_be32(frame, 36), TCONT);          // msg_cmd
    EXPECT_EQ(get_be32(frame, 48), 144 + 40 + 36u); // msg_len
    EXPECT_EQ(get_be32(frame, 64), 144 + 40u);      // nlmsg_len
    EXPECT_EQ(get_be16(frame, 68), TCONT);
    EXPECT_EQ(get_be32(frame, 76), 1001u); // nlmsg_pid
    EXPECT_EQ(get_be32(frame, 80), card_action::CREATE);
    EXPECT_EQ(get_be32(frame, 84), 5u);
}

TEST(CardFrame, AFrameOfAnyLengthIsReadWithinItsEnd) {
    const auto whole = tcont_frame();
    for (size_t size = 0; size < whole.size(); ++size) {
        const std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
        EXPECT_NE(reason_of(cut), "") << size;
    }
}

TEST(CardFrame, EveryWrongByteOfTheHeadersIsSeen) {
    const auto whole = tcont_frame();
    for (size_t at = 0; at < 84; ++at) {
        const bool free_word = (at >= 20 && at < 28)     // msg_id, msg_num
                               || (at >= 70 && at < 76); // nlmsg_flags, nlmsg_seq
        auto frame = whole;
        frame[at] ^= 0x40;
        EXPECT_EQ(reason_of(frame).empty(), free_word) << at;
    }
}

TEST(CardFrame, BytesBehindTheRecordMustBeZero) {
    auto frame = tcont_frame();
    frame.back() = 1;
    EXPECT_EQ(reason_of(frame), "spare-bytes");
}

TEST(CardFrame, ARecordIsRoundedUpToFourBytes) {
    const std::vector<uint8_t> led{2, 1};
    const auto payload = card_payload(card_action::SET, 0, led);
    EXPECT_EQ(payload.size() + 16, 44u);
    CardHeader header = tcont_header(payload.size());
    header.cmd = header.nlmsg_type = 935;
    EXPECT_EQ(reason_of(build_card_frame(header, payload)), "");
}

TEST(CardFrame, ADriversTextNeedsACharacter) {
    const std::vector<uint8_t> text{'x'};
    CardHeader header = tcont_header(text.size());
    header.cmd = header.nlmsg_type = 936;
    EXPECT_EQ(reason_of(build_card_frame(header, text)), "");
    header = tcont_header(0);
    header.cmd = header.nlmsg_type = 936;
    EXPECT_EQ(reason_of(build_card_frame(header, {})), "record-size");
}

TEST(CardMessages, EachHasItsKeyAndAttributesInsideItsRecord) {
    for (const CardMessage& message : card_messages()) {
        if (message.record) {
            EXPECT_EQ(message.size % message.record->size, 0) << message.name;
        }
        for (const auto* parts : {&message.key, &message.attributes}) {
            for (const CardPart& part : *parts) {
                EXPECT_GT(part.size, 0) << message.name << " " << part.name;
                EXPECT_LE(part.offset + part.size, message.size) << message.name << " " << part.name;
            }
        }
    }
}

TEST(CardMessages, AreFoundByNameShortNameAndNumber) {
    const CardMessage* gem = find_card_message(909u);
    ASSERT_NE(gem, nullptr);
    EXPECT_EQ(find_card_message("OV_HAL_MSG_GPON_GEMPORT"), gem);
    EXPECT_EQ(find_card_message("gemport"), gem);
    EXPECT_EQ(find_card_message("909"), gem);
    EXPECT_EQ(find_card_message(959u), nullptr);
    EXPECT_EQ(find_card_message(100000u), nullptr);
    EXPECT_EQ(find_card_message("nothing"), nullptr);
    EXPECT_EQ(find_card_event("state")->number, 927);
}

TEST(CardMessages, AMaskHasAFieldForEachBit) {
    const CardMessage& onu = *find_card_message(903u);
    ASSERT_EQ(onu.attributes.size(), static_cast<size_t>(OV_GPON_ONU_ATTR_INDEX_MAX));
    EXPECT_EQ(onu.attributes[OV_GPON_ONU_ATTR_INDEX_authAttr].offset, 72);
    EXPECT_EQ(onu.attributes[OV_GPON_ONU_ATTR_INDEX_phyDistance].offset, 292);
    EXPECT_EQ(find_card_message(901u)->attributes.size(), static_cast<size_t>(OV_GPON_PORT_ATTR_INDEX_MAX));
    EXPECT_TRUE(find_card_message(902u)->attributes.empty()); // its bits aren't attributes
}

} // namespace
