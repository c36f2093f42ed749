// The records are a contract with the card agents, to the byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "hal_record_desc.h"
#include "hal_record_dump.h"

namespace {

constexpr char LAYOUT[] =
#include "records_layout.inc"
    ;

struct Place {
    size_t offset;
    size_t bytes;
};
struct Layout {
    size_t bytes = 0;
    std::map<std::string, Place> fields;
};

std::map<std::string, Layout> expected_layouts() {
    std::map<std::string, Layout> layouts;
    std::istringstream text(LAYOUT);
    std::string word;
    std::string record;
    while (text >> word) {
        const size_t at = word.find('@');
        if (at != std::string::npos) {
            const size_t colon = word.find(':', at);
            layouts[record].fields[word.substr(0, at)] = {std::stoul(word.substr(at + 1, colon - at - 1)),
                                                          std::stoul(word.substr(colon + 1))};
            continue;
        }
        record = word;
        text >> layouts[record].bytes >> word; // the size, "="
    }
    return layouts;
}

const Layout& expected_layout(const std::string& record) {
    static const std::map<std::string, Layout> layouts = expected_layouts();
    return layouts.at(record);
}

// Values whose bytes tell their order, and what they have to look like on the wire.
constexpr uint64_t MARK = 0x0102030405060708;

void mark(uint8_t& field) {
    field = 0x08;
}
void mark(big_uint16_at& field) {
    field = uint16_t(MARK);
}
void mark(big_uint32_at& field) {
    field = uint32_t(MARK);
}
void mark(big_int32_at& field) {
    field = int32_t(uint32_t(MARK));
}
void mark(big_uint64_at& field) {
    field = MARK;
}
template <size_t N>
void mark(char (&field)[N]) {
    memset(field, 0x08, N);
}
template <class Record>
requires std::is_class_v<Record>
void mark(Record& record) {
    memset(static_cast<void*>(&record), 0x08, sizeof(record));
}
template <class Element, size_t N>
void mark(Element (&field)[N]) {
    for (Element& element : field)
        mark(element);
}

// The bytes that mark() has to leave: the low bytes of MARK in each element, high byte first.
std::vector<uint8_t> marked_bytes(size_t bytes, size_t element_size) {
    std::vector<uint8_t> expected;
    while (expected.size() < bytes) {
        for (size_t i = element_size; i > 0; i--)
            expected.push_back(uint8_t(MARK >> (8 * (i - 1))));
    }
    return expected;
}

template <class Field>
constexpr size_t integer_size() {
    using Element = std::remove_all_extents_t<Field>;
    constexpr bool is_integer =
        std::is_same_v<Element, big_uint16_at> || std::is_same_v<Element, big_uint32_at> ||
        std::is_same_v<Element, big_int32_at> || std::is_same_v<Element, big_uint64_at>;
    return is_integer ? sizeof(Element) : 1;
}

// Marks one field of a record that is else zero, and expects the bytes at the place of the table and nowhere
// else.
template <class Record, class Field>
void expect_field_at_its_place(const char* record_name, const char* field_name, Field Record::*member) {
    SCOPED_TRACE(std::string(record_name) + "." + field_name);
    const Layout& layout = expected_layout(record_name);
    ASSERT_TRUE(layout.fields.contains(field_name));
    const Place place = layout.fields.at(field_name);

    Record record{};
    mark(record.*member);

    std::vector<uint8_t> expected(layout.bytes, 0);
    std::vector<uint8_t> marked(place.bytes, 0x08);
    if (integer_size<Field>() > 1)
        marked = marked_bytes(place.bytes, integer_size<Field>());
    ASSERT_LE(place.offset + marked.size(), expected.size());
    std::ranges::copy(marked, expected.begin() + std::ptrdiff_t(place.offset));
    ASSERT_EQ(expected.size(), sizeof(record));
    EXPECT_EQ(0, memcmp(expected.data(), &record, sizeof(record)));
}

template <class Record>
void expect_all_zero(const char* record_name) {
    SCOPED_TRACE(record_name);
    alignas(Record) uint8_t bytes[sizeof(Record)];
    memset(bytes, 0xff, sizeof(bytes));
    auto* record = new (bytes) Record{};
    const uint8_t zeros[sizeof(Record)] = {};
    EXPECT_EQ(0, memcmp(zeros, record, sizeof(Record)));
}

// expect_fields_of_<record>(), for each record.
#define HAL_RECORD(record, size)                                                                             \
    void expect_fields_of_##record() {                                                                       \
        using Record = record;                                                                               \
        const char* record_name = #record;
#define HAL_FIELD(offset, field, ...) expect_field_at_its_place(record_name, #field, &Record::field);
#define HAL_END(record) }
#include "records/all.def"

TEST(RecordsLayout, EveryFieldIsWrittenAtItsPlaceHighByteFirst) {
#define HAL_RECORD(record, size) expect_fields_of_##record();
#include "records/all.def"
}

TEST(RecordsLayout, AFreshRecordIsZeroInEveryByte) {
#define HAL_RECORD(record, size) expect_all_zero<record>(#record);
#include "records/all.def"
}

TEST(RecordsLayout, DescriptorsHaveTheFieldsOfTheTableAndNoOthers) {
    const std::map<std::string, Layout> layouts = expected_layouts();
    ASSERT_EQ(70u, layouts.size());
    ASSERT_EQ(layouts.size(), hal_record_descs().size());
    for (const HalRecordDesc* desc : hal_record_descs()) {
        SCOPED_TRACE(desc->name);
        ASSERT_TRUE(layouts.contains(desc->name));
        const Layout& layout = layouts.at(desc->name);
        EXPECT_EQ(layout.bytes, desc->size);
        size_t found = 0;
        for (const HalFieldDesc& field : desc->fields) {
            if (field.kind == HalFieldKind::PAD)
                continue;
            SCOPED_TRACE(field.name);
            found++;
            ASSERT_TRUE(layout.fields.contains(field.name));
            EXPECT_EQ(layout.fields.at(field.name).offset, field.offset);
            EXPECT_EQ(layout.fields.at(field.name).bytes, field.size());
            EXPECT_EQ(field.kind == HalFieldKind::RECORD, field.sub != nullptr);
            if (field.sub != nullptr) {
                EXPECT_EQ(field.element_size, field.sub->size);
            }
        }
        EXPECT_EQ(layout.fields.size(), found);
    }
}

TEST(RecordsLayout, ATcontHasTheseBytes) {
    ov_gpon_tcont_attr_t tcont{};
    tcont.onuIfindex = 0x54600000;
    tcont.tcontId = 3;
    tcont.allocId = 1024;
    memcpy(tcont.name, "up", 2);
    memcpy(tcont.bwProfile, "default", 7);

    uint8_t expected[144] = {0x54, 0x60, 0, 0, 0, 0, 0, 3, 0, 0, 4, 0, 'u', 'p'};
    memcpy(expected + 77, "default", 8);
    EXPECT_EQ(0, memcmp(expected, &tcont, sizeof(expected)));
}

TEST(RecordsLayout, AServicePortHasTheseBytes) {
    ov_gpon_service_port_attr_t port{};
    port.ifindex = 0x64600001;
    port.gemIfndex = 0x5c600001;
    port.vlan = 4094;
    port.svlan = 100;
    port.user_vlan = 7;
    port.vlan_prio = 5;
    port.svlan_prio = 6;
    port.vlan_action = ovVlanActionAllXparent;
    port.vlan_prio_action = ovVlanPrioActionNew;
    port.svlan_prio_action = ovVlanPrioActionCopy;
    port.cosq_map = -1;
    port.queue = 7;
    port.mac_move = 1;
    port.mac_limit = 4095;

    const uint8_t expected[52] = {0x64, 0x60, 0x00, 0x01, 0x5c, 0x60, 0x00, 0x01, 0x0f, 0xfe, 0x00,
                                  0x64, 0x00, 0x07, 0x00, 0x05, 0x00, 0x06, 0x00, 0x00, 0x00, 0x00,
                                  0x00, 0x0a, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x01, 0xff,
                                  0xff, 0xff, 0xff, 0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x00, 0x00,
                                  0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0f, 0xff};
    EXPECT_EQ(0, memcmp(expected, &port, sizeof(expected)));
}

TEST(RecordsLayout, ANumberFromTheWireIsReadHighByteFirst) {
    uint8_t wire[sizeof(ov_gpon_gem_pkt_sta_attr_t)] = {};
    wire[8] = 0x80;  // rx_packets, beyond 63 bits
    wire[15] = 0x01; // and its last byte
    ov_gpon_gem_pkt_sta_attr_t gem;
    memcpy(&gem, wire, sizeof(gem));
    EXPECT_EQ(0x8000000000000001u, uint64_t(gem.gemdata.rx_packets));
    EXPECT_EQ(0u, uint64_t(gem.gemdata.rx_bytes));
}

TEST(RecordsLayout, RssiProfileCarriesItsThresholdsBehindItsNumber) {
    ov_gpon_onu_rssi_profile_t profile{};
    profile.profileId = 3;
    profile.rssiAttr.txpwrAlarmL = -1400;
    const uint8_t expected[12] = {0, 0, 0, 3, 0, 0, 0, 0, 0xff, 0xff, 0xfa, 0x88};
    EXPECT_EQ(0, memcmp(expected, &profile, sizeof(expected)));
    EXPECT_EQ(84u, sizeof(profile));
}

// ---- messages ----

TEST(RecordsMessages, EveryMessageHasItsSize) {
    const std::map<unsigned, unsigned> sizes = {
        {901, 124}, {902, 20},  {903, 316}, {904, 84},  {905, 20},  {906, 128}, {907, 92},  {908, 144},
        {909, 168}, {910, 52},  {911, 40},  {912, 8},   {913, 40},  {914, 152}, {915, 80},  {916, 128},
        {917, 52},  {918, 896}, {919, 16},  {921, 32},  {922, 88},  {923, 88},  {924, 248}, {925, 168},
        {926, 40},  {927, 44},  {928, 76},  {929, 24},  {930, 280}, {931, 44},  {932, 48},  {933, 24},
        {934, 20},  {935, 2},   {937, 512}, {938, 72},  {939, 64},  {940, 80},  {941, 1},   {942, 64},
        {943, 200}, {944, 16},  {945, 92},  {946, 176}, {947, 408}, {948, 248}, {949, 4},   {950, 96},
        {952, 76},  {953, 8},   {955, 116}, {956, 252}, {957, 280}, {960, 112}, {961, 112}, {962, 56},
        {963, 40},  {964, 76},  {965, 4},   {966, 8},   {967, 148}};
    size_t with_action = 0;
    for (const HalMessageDesc& message : hal_message_descs()) {
        if (!message.has_action)
            continue;
        SCOPED_TRACE(message.name);
        with_action++;
        ASSERT_TRUE(sizes.contains(message.type));
        EXPECT_EQ(sizes.at(message.type), message.size);
    }
    EXPECT_EQ(sizes.size(), with_action);
}

TEST(RecordsMessages, UniStatisticsAreEightRecordsInARow) {
    const HalMessageDesc* message = hal_message_desc(918);
    ASSERT_NE(nullptr, message);
    EXPECT_EQ(&hal_record_desc_of<ov_gpon_rmuni_stats_attr_t>(), message->record);
    EXPECT_EQ(8, message->count);
    EXPECT_EQ(1, hal_message_desc(960)->count);
    EXPECT_EQ(1, hal_message_desc(961)->count);
}

TEST(RecordsMessages, PlainQosMessagesCarryTheirRecordWithoutAction) {
    const std::map<unsigned, unsigned> sizes = {{708, 36}, {709, 36}, {710, 68}, {711, 68}, {712, 68},
                                                {713, 68}, {714, 28}, {715, 28}, {716, 28}, {717, 28},
                                                {718, 36}, {719, 36}, {720, 28}};
    for (const auto& [type, size] : sizes) {
        SCOPED_TRACE(type);
        const HalMessageDesc* message = hal_message_desc(type);
        ASSERT_NE(nullptr, message);
        EXPECT_EQ(size, message->size);
        EXPECT_FALSE(message->has_action);
        EXPECT_EQ(nullptr, message->name);
    }
}

TEST(RecordsMessages, NumbersThatCarryNothingHaveNoDescription) {
    for (unsigned type : {0u, 900u, 920u, 936u, 951u, 954u, 958u, 959u, 968u, 0xffffffffu}) {
        EXPECT_EQ(nullptr, hal_message_desc(type)) << type;
    }
}

TEST(RecordsMessages, ARecordIsFoundByItsName) {
    EXPECT_EQ(&hal_record_desc_ov_gpon_tcont_attr_t, hal_record_desc_by_name("ov_gpon_tcont_attr_t"));
    EXPECT_EQ(nullptr, hal_record_desc_by_name("ov_gpon_tcont_attr"));
    EXPECT_EQ(nullptr, hal_record_desc_by_name(""));
}

// ---- values ----

TEST(RecordsValues, AttributeIndexesFitTheMask) {
    EXPECT_EQ(22, OV_GPON_RMONU_INFO_ATTR_INDEX_MAX);
    EXPECT_EQ(20, OV_GPON_PORT_ATTR_INDEX_MAX);
    EXPECT_EQ(15, OV_GPON_ONU_ATTR_INDEX_MAX);
    EXPECT_EQ(15, OV_GPON_SERVICE_PORT_ATTR_INDEX_MAX);
    EXPECT_EQ(13, OV_GPON_SERVICE_PORT_ATTR_INDEX_mac_move);
    EXPECT_EQ(1, OV_GPON_QINQ_ATTR_INDEX_add);
    EXPECT_EQ(2, OV_GPON_QINQ_ATTR_INDEX_del);
}

TEST(RecordsValues, AttributesNameTheFieldsOfTheirBits) {
    const auto tcont = hal_record_attributes(hal_record_desc_ov_gpon_tcont_attr_t);
    ASSERT_EQ(size_t{OV_GPON_TCONT_ATTR_INDEX_MAX}, tcont.size());
    EXPECT_STREQ("OV_GPON_TCONT_ATTR_INDEX_bwProfile", tcont[OV_GPON_TCONT_ATTR_INDEX_bwProfile].name);
    EXPECT_STREQ("bwProfile", tcont[OV_GPON_TCONT_ATTR_INDEX_bwProfile].field);
    // Attributes stand in the mask in another order than fields in the record.
    const auto port = hal_record_attributes(hal_record_desc_ov_gpon_port_attr_t);
    EXPECT_EQ(offsetof(ov_gpon_port_attr_t, txPwr), port[OV_GPON_PORT_ATTR_INDEX_txPwr].offset);
    EXPECT_EQ(sizeof(ov_gpon_port_attr_t::sched), port[OV_GPON_PORT_ATTR_INDEX_sched].size);
    // Rules of QinQ count as a whole.
    EXPECT_TRUE(hal_record_attributes(hal_record_desc_ov_gpon_qinq_attr_t).empty());
}

TEST(RecordsValues, NoUniTypeTravelsAsMinusOne) {
    ov_gpon_rmuni_pos_t position{};
    position.uniType = OV_GPON_RMUNI_TYPE_NONE;
    const uint8_t expected[12] = {0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 0, 0, 0, 0};
    EXPECT_EQ(0, memcmp(expected, &position, sizeof(expected)));
}

TEST(RecordsValues, TransparentAndNoVlanActionAreOneNumber) {
    EXPECT_EQ(int(ovVlanActionNone), int(ovVlanActionXparent));
}

} // namespace
