// The catalogue of GPON messages and the way out.
#include "ov_hal_gpon_msg.h"

#include <gmock/gmock.h>

#include <cstring>

#include "../support/hal_chassis.h"
#include "hal_record_desc.h"
#include "ov_ifindex.h"
#include "ov_types.h"

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StrEq;
using wire::Bytes;

namespace {

constexpr auto SET = OV_HAL_GPON_MSG_ACTION_SET;
constexpr auto GET = OV_HAL_GPON_MSG_ACTION_GET;

uint32_t pon_index(uint8_t slot) {
    return ov_ifindex_gen_by_phyinfo(9, 1, slot, 0, 4, 0);
}

// A record of counting bytes with an interface index of a slot, or a plain number, at an offset.
Bytes record_of(size_t size, size_t at, uint32_t word) {
    Bytes record(size);
    for (size_t n = 0; n < size; n++)
        record[n] = uint8_t(n + 1);
    if (size >= at + 4)
        wire::put32(record, at, word);
    return record;
}

struct Card3 {
    explicit Card3(FakeCard::Behaviour on_request = FakeCard::agree) : card(3, std::move(on_request)) {
        HalChassis::activate(3);
    }
    FakeCard card;
};

TEST(GponMsgCatalogue, Has65MessagesWithoutTheTwoFreeNumbers) {
    int count = 0;
    for (unsigned type = 0; type < 2000; type++)
        count += ov_hal_gpon_msg_desc_get(type) != nullptr;
    EXPECT_EQ(count, 65);
    for (const unsigned type : {0u, 900u, 958u, 959u, 968u, 0xFFFFFFFFu})
        EXPECT_EQ(ov_hal_gpon_msg_desc_get(type), nullptr) << type;
    EXPECT_EQ(OV_HAL_MSG_GPON_PORT, 901);
    EXPECT_EQ(OV_HAL_MSG_GPON_ONU_NET_UPGRADE, 967);
    EXPECT_EQ(OV_HAL_MSG_GPON_MAX, 968);
}

TEST(GponMsgCatalogue, SizesAreThoseOfTheRecords) {
    for (const HalMessageDesc& message : hal_message_descs()) {
        if (!message.has_action)
            continue;
        const ov_hal_gpon_msg_desc_t* desc = ov_hal_gpon_msg_desc_get(message.type);
        ASSERT_NE(desc, nullptr) << message.type;
        EXPECT_EQ(desc->size, message.size) << message.type;
        EXPECT_EQ(desc->name, message.name);
    }
}

TEST(GponMsgCatalogue, NamesArePaddedTo43CharactersAndTwoEndInTabs) {
    EXPECT_THAT(ov_hal_gpon_msg_name_get(901), StrEq("OV_HAL_MSG_GPON_PORT                       "));
    EXPECT_THAT(ov_hal_gpon_msg_name_get(965), StrEq("OV_HAL_MSG_GPON_ONU_SRV_PROFILE\t\t"));
    EXPECT_THAT(ov_hal_gpon_msg_name_get(967), StrEq("OV_HAL_MSG_GPON_ONU_NET_UPGRADE\t\t"));
    for (const unsigned type : {900u, 958u, 959u, 968u, 0u})
        EXPECT_THAT(ov_hal_gpon_msg_name_get(type), StrEq("unknown"));
    for (unsigned type = 901; type < 968; type++)
        if (ov_hal_gpon_msg_desc_get(type) && type != 965 && type != 967) {
            EXPECT_EQ(strlen(ov_hal_gpon_msg_name_get(type)), 43u) << type;
        }
}

TEST(GponMsgSend, MessageOnTheWire) {
    hal_chassis::run([](HalChassis&) {
        Card3 slot;
        Bytes record = record_of(144, 0, pon_index(3));
        ASSERT_EQ(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_TCONT, SET, record.data(), 0x80000001, 1), 0);
        const std::vector<Bytes> seen = slot.card.wait_for(1);
        ASSERT_THAT(seen, SizeIs(1));
        const Bytes& b = seen[0];
        ASSERT_THAT(b, SizeIs(wire::NL + 184));
        EXPECT_EQ(wire::get32(b, wire::NL), 184u);
        EXPECT_EQ(wire::get16(b, wire::NL + 4), 908u);
        EXPECT_EQ(wire::get32(b, wire::PAYLOAD), 3u);
        EXPECT_EQ(wire::get32(b, wire::PAYLOAD + 4), 0x80000001u);
        EXPECT_EQ(Bytes(b.begin() + wire::PAYLOAD + 8, b.begin() + wire::PAYLOAD + 152), record);
        EXPECT_EQ(Bytes(b.begin() + wire::PAYLOAD + 152, b.end()), Bytes(16)); // the spare bytes
    });
}

// Every message that is sent, to the card that its destination rule names.
TEST(GponMsgSend, EachMessageFindsItsCard) {
    hal_chassis::run([](HalChassis&) {
        Card3 slot;
        size_t sent = 0;
        for (int type = 901; type < 968; type++) {
            const ov_hal_gpon_msg_desc_t* desc = ov_hal_gpon_msg_desc_get(unsigned(type));
            using enum ov_hal_gpon_msg_dest_t;
            if (!desc || desc->dest == REFUSED || desc->dest == RECEIVED_ONLY ||
                desc->dest == DRIVER_COMMAND || desc->dest == THIS_BOARD)
                continue;
            SCOPED_TRACE(type);
            const uint32_t word = desc->dest == WORD_AT ? 3 : pon_index(3);
            Bytes record = record_of(desc->size, desc->offset, word);
            ASSERT_EQ(ov_hal_gpon_msg_send(type, SET, record.data(), 0, 1), 0);
            const std::vector<Bytes> seen = slot.card.wait_for(++sent);
            ASSERT_THAT(seen, SizeIs(sent));
            EXPECT_EQ(wire::get16(seen.back(), wire::NL + 4), type);
            EXPECT_EQ(wire::get32(seen.back(), wire::NL), (desc->size + 3u) / 4 * 4 + 40);
        }
        EXPECT_EQ(sent, 65u - 5 - 3 - 1 - 1); // received only, refused, the driver command, the LED
    });
}

TEST(GponMsgSend, DestinationWordsStandWhereTheCatalogueSays) {
    using enum ov_hal_gpon_msg_dest_t;
    struct Rule {
        unsigned type;
        ov_hal_gpon_msg_dest_t dest;
        unsigned offset;
    };
    for (const Rule& rule :
         {Rule{906, WORD_AT, 124}, Rule{907, WORD_AT, 88}, Rule{945, WORD_AT, 88}, Rule{950, WORD_AT, 0},
          Rule{952, INDEX_AT, 64}, Rule{901, INDEX_AT, 0}, Rule{908, INDEX_OR_ALL, 0},
          Rule{935, THIS_BOARD, 0}, Rule{936, DRIVER_COMMAND, 0}, Rule{920, REFUSED, 0},
          Rule{953, RECEIVED_ONLY, 0}}) {
        EXPECT_EQ(ov_hal_gpon_msg_desc_get(rule.type)->dest, rule.dest) << rule.type;
        EXPECT_EQ(ov_hal_gpon_msg_desc_get(rule.type)->offset, rule.offset) << rule.type;
    }
    for (const unsigned type : {904u, 919u, 941u, 949u, 957u, 965u, 966u})
        EXPECT_EQ(ov_hal_gpon_msg_desc_get(type)->dest, EVERY_CARD) << type;
    for (const unsigned type : {908u, 909u, 910u, 913u, 916u, 921u, 942u, 946u, 947u, 955u, 956u, 962u, 963u})
        EXPECT_EQ(ov_hal_gpon_msg_desc_get(type)->dest, INDEX_OR_ALL) << type;
}

TEST(GponMsgSend, MessagesForEveryCardGoThereWithoutALookAtTheRecord) {
    hal_chassis::run([](HalChassis&) {
        Card3 slot;
        size_t sent = 0;
        for (const int type : {OV_HAL_MSG_GPON_ONU_RSSI, OV_HAL_MSG_GPON_MCAST, OV_HAL_MSG_GPON_MCAST_CTC_ACT,
                               OV_HAL_MSG_GPON_TRAP_SYNC}) {
            Bytes record(100, 0xFF); // no slot in there
            EXPECT_EQ(ov_hal_gpon_msg_send(type, SET, record.data(), 0, 0), 0);
            ++sent;
            EXPECT_THAT(slot.card.wait_for(sent), SizeIs(sent));
        }
    });
}

TEST(GponMsgSend, TemplateObjectGoesToEveryCardOnlyForTheMarkedTypes) {
    hal_chassis::run([](HalChassis& chassis) {
        Card3 slot;
        Bytes record = record_of(316, 0, pon_index(31));
        EXPECT_EQ(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_GEMPORT, SET, record.data(), 0, 1), 0);
        EXPECT_THAT(slot.card.seen(), SizeIs(1));
        EXPECT_EQ(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_ONU, SET, record.data(), 0, 1), int(KAVO_ERR));
        EXPECT_THAT(slot.card.seen(), SizeIs(1));
        EXPECT_THAT(chassis.log.lines(), Contains("message nhtype[903] have bad slot_id 31"));
    });
}

TEST(GponMsgSend, GetOverwritesTheRecordAndOtherActionsDoNot) {
    hal_chassis::run([](HalChassis&) {
        Card3 slot([](FakeCard& c, const Bytes& request) {
            Bytes b = c.reply_to(request, 0);
            std::fill(b.begin() + wire::PAYLOAD + 12, b.end(), 0x77);
            c.answer(request, b);
        });
        const Bytes before = record_of(144, 0, pon_index(3));
        for (const auto action : {OV_HAL_GPON_MSG_ACTION_CREATE, OV_HAL_GPON_MSG_ACTION_DELETE, SET}) {
            Bytes record = before;
            EXPECT_EQ(ov_hal_gpon_msg_send(908, action, record.data(), 0, 1), 0);
            EXPECT_EQ(record, before);
        }
        for (const auto action : {GET, OV_HAL_GPON_MSG_ACTION_GET_CURRENT}) {
            Bytes record = before;
            record.resize(150, 0x11);
            EXPECT_EQ(ov_hal_gpon_msg_send(908, action, record.data(), 0, 1), 0);
            EXPECT_EQ(wire::get32(record, 0), pon_index(3));
            EXPECT_EQ(record[4], 0x77);
            EXPECT_EQ(record[143], 0x77);
            EXPECT_EQ(record[144], 0x11); // the record's size and no more
        }
    });
}

TEST(GponMsgSend, GetToSlot0WithNoCardUpSucceedsAndLeavesTheRecord) {
    hal_chassis::run([](HalChassis&) {
        Bytes record = record_of(16, 0, 0);
        const Bytes before = record;
        EXPECT_EQ(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_MCAST, GET, record.data(), 0, 1), 0);
        EXPECT_EQ(record, before);
    });
}

TEST(GponMsgSend, GetToAnAbsentCardIsRefusedAndASetIsNot) {
    hal_chassis::run([](HalChassis& chassis) {
        Bytes record = record_of(144, 0, pon_index(5));
        EXPECT_EQ(ov_hal_gpon_msg_send(908, GET, record.data(), 0, 1), OV_GPON_RET_FAIL);
        EXPECT_THAT(chassis.log.lines(),
                    ElementsAre("=====> HAL GPON MSG card not exist, type = "
                                "OV_HAL_MSG_GPON_TCONT                      :908   slotId = 5"));
        EXPECT_EQ(ov_hal_gpon_msg_send(908, SET, record.data(), 0, 1), 0);
        EXPECT_EQ(ov_hal_gpon_msg_send(908, OV_HAL_GPON_MSG_ACTION_GET_CURRENT, record.data(), 0, 1), 0);
    });
}

TEST(GponMsgSend, NullAndTypesThatAreNotSentAreBadParametersWithoutALog) {
    hal_chassis::run([](HalChassis& chassis) {
        Bytes record(1000);
        EXPECT_EQ(ov_hal_gpon_msg_send(908, SET, nullptr, 0, 1), OV_GPON_RET_BAD_PARAM);
        for (const int type :
             {-1, 0, 900, 968, 958, 959, 920, 951, 954, 922, 923, 927, 938, 953, 936, 65536 + 908})
            EXPECT_EQ(ov_hal_gpon_msg_send(type, SET, record.data(), 0, 1), OV_GPON_RET_BAD_PARAM) << type;
        EXPECT_THAT(chassis.log.lines(), IsEmpty());
    });
}

TEST(GponMsgSend, SizesAreRoundedUpToAMultipleOf4) {
    hal_chassis::run([](HalChassis&) {
        Card3 slot;
        FakeCard own(HalChassis::OWN_SLOT);
        HalChassis::activate(HalChassis::OWN_SLOT);
        Bytes record = {9, 8, 7, 6};
        EXPECT_EQ(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_MCAST_CTC_ACT, SET, record.data(), 0, 1), 0);
        EXPECT_EQ(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_DRV_LED, SET, record.data(), 0, 1), 0);
        EXPECT_EQ(wire::get32(slot.card.seen().at(0), wire::NL), 44u);
        EXPECT_EQ(wire::get32(slot.card.seen().at(0), wire::PAYLOAD + 8), 0x09000000u);
        const Bytes led = own.seen().at(1); // to this board's slot; the first was for every card
        EXPECT_EQ(wire::get16(led, wire::NL + 4), 935u);
        EXPECT_EQ(wire::get32(led, wire::NL), 44u);
        EXPECT_EQ(wire::get32(led, wire::PAYLOAD + 8), 0x09080000u);
    });
}

TEST(GponMsgSend, LedWithTheOwnChannelInactiveIsNotSent) {
    hal_chassis::run([](HalChassis&) {
        FakeCard own(HalChassis::OWN_SLOT);
        Bytes record(4);
        EXPECT_EQ(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_DRV_LED, SET, record.data(), 0, 0), 0);
        EXPECT_THAT(own.seen(), IsEmpty());
    });
}

TEST(GponMsgSend, RefusalOfTheCardIsTheTransportsErrorAndLeavesTheRecord) {
    hal_chassis::run([](HalChassis& chassis) {
        Card3 slot([](FakeCard& c, const Bytes& request) {
            Bytes b = c.reply_to(request, 1003);
            std::fill(b.begin() + wire::PAYLOAD, b.end(), 0x77);
            c.answer(request, b);
        });
        Bytes record = record_of(144, 0, pon_index(3));
        const Bytes before = record;
        EXPECT_EQ(ov_hal_gpon_msg_send(908, GET, record.data(), 0, 1), 101001);
        EXPECT_EQ(record, before);
        EXPECT_THAT(chassis.log.lines(),
                    Contains("=====> HAL GPON MSG return, type = OV_HAL_MSG_GPON_TCONT                      "
                             ":908   slotId = 3 ret: 101001"));
    });
}

TEST(GponMsgSend, NotSupportedReachesTheCaller) {
    hal_chassis::run([](HalChassis&) {
        Card3 slot([](FakeCard& c, const Bytes& request) { c.reply(request, 1008); });
        Bytes record = record_of(144, 0, pon_index(3));
        EXPECT_EQ(ov_hal_gpon_msg_send(908, SET, record.data(), 0, 1), OV_GPON_RET_NOT_SUPPORT);
    });
}

TEST(GponMsgSend, DebugSwitchShowsWhatIsSent) {
    hal_chassis::run([](HalChassis& chassis) {
        Bytes record = record_of(144, 0, pon_index(5));
        ov_hal_gpon_msg_send(908, SET, record.data(), 0, 0);
        EXPECT_THAT(chassis.log.lines(), IsEmpty());
        g_gpon_ipc_msg_debug_flag = 1;
        ov_hal_gpon_msg_send(908, SET, record.data(), 0, 0);
        EXPECT_THAT(chassis.log.lines(),
                    ElementsAre("=====> HAL GPON MSG send, type = OV_HAL_MSG_GPON_TCONT                      "
                                ":908   slotId = 5"));
    });
}

TEST(GponMsgDump, ShowsActionAndMaskWithTheDebugSwitchOn) {
    LogCapture log;
    Bytes body = {0, 0, 0, 3, 0xFF, 0xFF, 0xFF, 0xFF};
    ov_hal_gpon_msg_dump(927, body.data());
    EXPECT_THAT(log.lines(), IsEmpty());
    g_gpon_ipc_msg_debug_flag = 1;
    ov_hal_gpon_msg_dump(927, body.data());
    ov_hal_gpon_msg_dump(1, body.data());
    g_gpon_ipc_msg_debug_flag = 0;
    EXPECT_THAT(
        log.lines(),
        ElementsAre("=========== HAL GPON MSG recv type:OV_HAL_MSG_GPON_ONUSTATES_TRAP             :927, "
                    "action 3, mask 4294967295\n",
                    "=========== HAL GPON MSG recv type:unknown:1, action 3, mask 4294967295\n"));
}

TEST(GponDrvMsg, OnAChassisNothingIsSent) {
    hal_chassis::run([](HalChassis&) {
        Card3 slot;
        char text[] = "show";
        EXPECT_EQ(ov_hal_gpon_drv_msg_send(936, text), 0);
        EXPECT_THAT(slot.card.seen(), IsEmpty());
    });
}

void on_single_board(const std::function<void(FakeCard&)>& body) {
    private_root::run([&] {
        if (unshare(CLONE_NEWNET) != 0)
            _exit(private_root::EXIT_NO_NAMESPACE);
        HalChassis chassis(OV_SHELF_TYPE_SINGLE, 1);
        chassis.open();
        FakeCard card(1);
        HalChassis::activate(1);
        body(card);
    });
}

TEST(GponDrvMsg, TextGoesWithoutItsTerminatorForTheTypeItselfAndWithItForAnyOther) {
    on_single_board([](FakeCard& card) {
        char text[] = "show";
        EXPECT_EQ(ov_hal_gpon_drv_msg_send(936, text), 0);
        EXPECT_EQ(ov_hal_gpon_drv_msg_send(1, text), 0);
        const std::vector<Bytes> seen = card.wait_for(2);
        ASSERT_THAT(seen, SizeIs(2));
        EXPECT_EQ(Bytes(seen[0].begin() + wire::PAYLOAD, seen[0].end()), (Bytes{'s', 'h', 'o', 'w'}));
        EXPECT_EQ(Bytes(seen[1].begin() + wire::PAYLOAD, seen[1].end()), (Bytes{'s', 'h', 'o', 'w', 0}));
        for (size_t n = 0; n < 2; n++) {
            EXPECT_EQ(wire::get16(seen[n], wire::NL + 4), 936u);
            EXPECT_EQ(wire::get32(seen[n], wire::NL), 20u + n);
            EXPECT_EQ(wire::get32(seen[n], 8), 0u); // without reply
        }
    });
}

TEST(GponDrvMsg, LengthOutside1To2048Fails) {
    on_single_board([](FakeCard& card) {
        std::string text;
        EXPECT_EQ(ov_hal_gpon_drv_msg_send(936, text.data()), OV_GPON_RET_FAIL);
        EXPECT_EQ(ov_hal_gpon_drv_msg_send(1, text.data()), 0); // its terminator alone
        text.assign(2048, 'x');
        EXPECT_EQ(ov_hal_gpon_drv_msg_send(936, text.data()), 0);
        EXPECT_EQ(ov_hal_gpon_drv_msg_send(1, text.data()), OV_GPON_RET_FAIL);
        text.assign(2049, 'x');
        EXPECT_EQ(ov_hal_gpon_drv_msg_send(936, text.data()), OV_GPON_RET_FAIL);
        EXPECT_EQ(ov_hal_gpon_drv_msg_send(936, nullptr), OV_GPON_RET_FAIL);
        EXPECT_THAT(card.wait_for(1), SizeIs(1));
    });
}

TEST(GponCfgLimit, RecordStandsBehindTheHeadWithoutActionAndMask) {
    hal_chassis::run([](HalChassis&) {
        Card3 slot;
        Bytes record = record_of(16, 0, pon_index(3));
        EXPECT_EQ(ov_hal_gpon_msg_cfg_limit(record.data()), 0);
        const Bytes b = slot.card.seen().at(0);
        ASSERT_THAT(b, SizeIs(wire::NL + 32));
        EXPECT_EQ(wire::get32(b, 8), 1u); // with reply
        EXPECT_EQ(wire::get32(b, wire::NL), 32u);
        EXPECT_EQ(wire::get16(b, wire::NL + 4), 168u);
        EXPECT_EQ(wire::get16(b, wire::NL + 6), 1u);
        EXPECT_EQ(Bytes(b.begin() + wire::PAYLOAD, b.end()), record);
        EXPECT_EQ(ov_hal_gpon_msg_cfg_limit(nullptr), OV_GPON_RET_BAD_PARAM);
    });
}

} // namespace
