// Which attributes a restore sets, and the walk over a slot's rows.
#include <arpa/inet.h>

#include <gmock/gmock.h>

#include <cstddef>
#include <random>
#include <tuple>

#include "../../support/log_capture.h"
#include "app_message_map.h"
#include "app_slot_rows.h"
#include "gemPmThrTable.h"
#include "onuQosTable.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_rm_queue_schedule.h"
#include "ov_app_gpon_service_port.h"
#include "sGemTable.h"
#include "sOnuTable.h"
#include "sPonTable.h"
#include "sRmIPHostTable.h"
#include "sRmOnuQosPriorityQueueScheduleTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

using testing::ElementsAre;

namespace {

// A row as it is made: all columns at their defaults.
template <typename Row>
Row fresh_row() {
    TableModule& table = table_of<Row>::module();
    table.initialize_table_data();
    Row key = {};
    return *static_cast<Row*>(table.create_entry(&key));
}

template <typename Row, typename Rule, typename Fill>
uint32_t mask_of(const Rule& rule, Fill fill) {
    Row row = fresh_row<Row>();
    fill(row);
    return static_cast<uint32_t>(rule(&row));
}

constexpr auto NOTHING = [](auto&) {};

// The rule of a map whose lines raise bits alone.
template <typename Row>
auto replay_of(std::span<const MapLine> lines) {
    return
        [map = MessageMap<Row, ov_gpon_port_attr_t>(lines)](const void* row) { return map.replay_mask(row); };
}
constexpr MapLine bit(int8_t attribute, uint8_t column, MapReplay when = MapReplay::DIFFERS, int32_t low = 0,
                      int32_t high = 0) {
    return MapLine{.column = column, .attribute = attribute}.replayed(when, low, high);
}

class RestoreMask : public testing::Test {
    LogCapture log;
};

TEST_F(RestoreMask, OfAPonPort) {
    using Row = ov_sPonTable_attr_t;
    const auto& rule = ov_pon_port_table_attr_mask_get;
    const uint32_t sync = 1u << 19; // on by default, and set nevertheless
    EXPECT_EQ(mask_of<Row>(rule, NOTHING), sync);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sPonTableMibDataSync = 0; }), 0u);
    const auto with = [&](auto fill) { return mask_of<Row>(rule, fill) & ~sync; };
    EXPECT_EQ(with([](Row& row) { row.sPonTableScbPort = 0; }), 1u << 4);
    EXPECT_EQ(with([](Row& row) { row.sPonTableScbMaxBW = 1; }), 1u << 6);
    EXPECT_EQ(with([](Row& row) { row.sPonTableMaxLogicDistance = 40; }), 1u << 9);
    EXPECT_EQ(with([](Row& row) { row.sPonTableDsFec = 1; }), 1u << 10);
    EXPECT_EQ(with([](Row& row) { row.sPonTableKeyExchangeCtrl = 1; }), 1u << 11);
    EXPECT_EQ(with([](Row& row) { row.sPonTableKeyExchangeInterval = 9999; }), 1u << 12);
    EXPECT_EQ(with([](Row& row) { row.sPonTableAutoLearn = 1; }), 1u << 13);
    EXPECT_EQ(with([](Row& row) { row.sPonTablePortProtect = 0; }), 1u << 14);
    EXPECT_EQ(with([](Row& row) { row.sPonTableAutoFind = 0; }), 1u << 15);
    EXPECT_EQ(with([](Row& row) { row.sPonTableRogueOnuDetect = 1; }), 1u << 16);
    EXPECT_EQ(with([](Row& row) { row.sPonTableSilenceOnuTime = 60; }), 1u << 18);
    // Carried by the create, or not the card's.
    EXPECT_EQ(with([](Row& row) {
                  row.sPonTableScbDwnQueueMapID = 7;
                  row.sPonTableQosPorfileID = 5;
                  strcpy(row.sPonTableQosProfileName, "gold");
                  row.sPonTableAdminState = 1;
                  row.sPonTableOperationalState = 1;
                  row.sPonTablePmEnable = 1;
                  row.sPonTableAutoFlow = 1;
              }),
              0u);
}

TEST_F(RestoreMask, OfAnOnu) {
    using Row = ov_sOnuTable_attr_t;
    const auto& rule = ov_onu_table_attr_mask_get;
    EXPECT_EQ(mask_of<Row>(rule, NOTHING), 0u);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sOnuTableAdminState = 1; }), 1u << 3);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sOnuTableActiviate = 0; }), 1u << 4);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { strcpy(row.sOnuTableOmccBwProfileName, "x"); }), 1u << 6);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sOnuTableUpFec = 1; }), 1u << 10);
    for (const auto& [profile, expected] :
         {std::pair{-1, 0u}, {0, 0u}, {1, 1u << 12}, {32, 1u << 12}, {33, 0u}})
        EXPECT_EQ(mask_of<Row>(rule, [p = profile](Row& row) { row.sOnuTableRssiProfileId = p; }), expected);
}

TEST_F(RestoreMask, OfGemPortsServicePortsAndOnuQos) {
    using Gem = ov_sGemTable_attr_t;
    EXPECT_EQ(mask_of<Gem>(ov_gemport_table_attr_mask_get, NOTHING), 0u);
    EXPECT_EQ(
        mask_of<Gem>(ov_gemport_table_attr_mask_get, [](Gem& row) { row.sGemTableIfEnableEncryption = 1; }),
        1u << 9);
    using Service = ov_servicePortTable_attr_t;
    const auto& service = ov_serviceport_table_attr_mask_get;
    EXPECT_EQ(mask_of<Service>(service, NOTHING), 0u);
    EXPECT_EQ(mask_of<Service>(service, [](Service& row) { row.servicePortQueue = 3; }), 1u << 11);
    EXPECT_EQ(mask_of<Service>(service, [](Service& row) { row.servicePortCosQueueMappingProfileId = 3; }),
              1u << 10);
    EXPECT_EQ(mask_of<Service>(service, [](Service& row) { row.servicePortMacmove = 0; }), 1u << 13);
    EXPECT_EQ(mask_of<Service>(service, [](Service& row) { row.servicePortMacmove = 2; }), 0u);
    EXPECT_EQ(mask_of<Service>(service, [](Service& row) { row.servicePortMacLimit = 8; }), 1u << 14);
    using Qos = ov_onuQosTable_attr_t;
    EXPECT_EQ(mask_of<Qos>(ov_onu_qos_table_attr_mask_get, [](Qos& row) { row.onuQosWeight = 9; }), 0u);
    EXPECT_EQ(mask_of<Qos>(ov_onu_qos_table_attr_mask_get, [](Qos& row) { row.onuQosMaxBw = 9; }), 1u << 4);
    EXPECT_EQ(mask_of<Qos>(ov_onu_qos_table_attr_mask_get, [](Qos& row) { row.onuQosMinBw = 9; }), 1u << 5);
}

TEST_F(RestoreMask, OfQueueSchedulesIsAllOrNothing) {
    using Row = ov_sRmOnuQosPriorityQueueScheduleTable_attr_t;
    const auto& rule = ov_rm_queue_schedule_attr_mask_get;
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sRmQueueScheduleWeight[0] = 5; }), 0u);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sRmQueueScheduleMode = 2; }), 6u);
}

TEST_F(RestoreMask, ByAMapTakesEachColumnThatDiffersFromItsDefault) {
    using Row = ov_sPonTable_attr_t;
    constexpr MapLine lines[] = {
        bit(4, 7),   // unsigned, default 4095
        bit(8, 8),   // signed
        bit(7, 12),  // text
        bit(17, 31), // octets
    };
    const auto rule = replay_of<Row>(lines);
    EXPECT_EQ(mask_of<Row>(rule, NOTHING), 0u);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sPonTableScbPort = 0xffffffff; }), 1u << 4);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sPonTableTxPower = -1; }), 1u << 8);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { strcpy(row.sPonTableQosProfileName, "g"); }), 1u << 7);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sPonTableModelSrvProfile[3] = 1; }), 1u << 17);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sPonTableDsFec = 1; }), 0u);
}

// ---- columns of every type, whose defaults aren't zero -------------------------------------------------

// No table of the system has such defaults in addresses and counters.
struct OddRow {
    int32_t oddId;
    uint32_t oddAddress;  // 2, network order
    int32_t oddRowStatus; // 3
    uint64_t oddCounter;  // 4
    uint32_t old_oddAddress;
    int32_t old_oddRowStatus;
    uint64_t old_oddCounter;
};
constexpr int64_t ODD_ADDRESS = 0xc0a80001; // 192.168.0.1
constexpr int64_t ODD_COUNTER = int64_t{1} << 40;
constexpr int ODD_TABLE = 150; // of another application

constexpr ColumnDesc odd_column(const char* name, uint8_t number, ColType type, size_t offset,
                                size_t old_offset, uint16_t size, int64_t dflt) {
    return {.name = name,
            .number = number,
            .type = type,
            .access = ColAccess::READ_CREATE,
            .offset = static_cast<uint16_t>(offset),
            .old_offset = static_cast<uint16_t>(old_offset),
            .size = size,
            .limit = 0,
            .min = 0,
            .max = 0,
            .names = {},
            .dflt = dflt,
            .dflt_text = ""};
}
constexpr ColumnDesc ODD_INDEX[] = {odd_column("oddId", 1, ColType::INT, offsetof(OddRow, oddId), 0, 4, 0)};
constexpr ColumnDesc ODD_COLUMNS[] = {
    odd_column("oddAddress", 2, ColType::IPADDR, offsetof(OddRow, oddAddress),
               offsetof(OddRow, old_oddAddress), 4, ODD_ADDRESS),
    odd_column("oddRowStatus", 3, ColType::ROWSTATUS, offsetof(OddRow, oddRowStatus),
               offsetof(OddRow, old_oddRowStatus), 4, 0),
    odd_column("oddCounter", 4, ColType::COUNTER64, offsetof(OddRow, oddCounter),
               offsetof(OddRow, old_oddCounter), 8, ODD_COUNTER),
};
constexpr uint32_t ODD_OID[] = {1};
constexpr TableDesc ODD_DESC = {
    .name = "oddTable",
    .registry_index = ODD_TABLE,
    .oid = ODD_OID,
    .rows = RowUse::ON_CARDS,
    .writable = true,
    .key_size = 4,
    .entry_size = sizeof(OddRow),
    .index = ODD_INDEX,
    .columns = ODD_COLUMNS,
    .row_status = &ODD_COLUMNS[1],
};

} // namespace

template <>
struct table_of<OddRow> {
    static TableModule& module() {
        static TableModule odd(ODD_DESC, {});
        return odd;
    }
};

namespace {

TEST_F(RestoreMask, OfAddressesComparesThemAsTheyAreWritten) {
    constexpr MapLine lines[] = {bit(5, 2)};
    const auto rule = replay_of<OddRow>(lines);
    EXPECT_EQ(mask_of<OddRow>(rule, NOTHING), 0u);
    const auto with = [&](const char* address) {
        return mask_of<OddRow>(rule, [&](OddRow& row) { row.oddAddress = inet_addr(address); });
    };
    EXPECT_EQ(with("192.168.0.1"), 0u);
    EXPECT_EQ(with("1.0.168.192"), 1u << 5); // the same in the other order
    EXPECT_EQ(with("0.0.0.0"), 1u << 5);
    EXPECT_EQ(with("255.255.255.255"), 1u << 5);
}

TEST_F(RestoreMask, OfCountersComparesAllTheirBits) {
    constexpr MapLine lines[] = {bit(31, 4)};
    const auto rule = replay_of<OddRow>(lines);
    EXPECT_EQ(mask_of<OddRow>(rule, NOTHING), 0u);
    for (const uint64_t other : {uint64_t{0}, uint64_t{ODD_COUNTER} + 1, uint64_t{1} << 41, UINT64_MAX})
        EXPECT_EQ(mask_of<OddRow>(rule, [&](OddRow& row) { row.oddCounter = other; }), 1u << 31) << other;
}

TEST_F(RestoreMask, ByConditionsLooksAtWholeAddressesAndCounters) {
    constexpr MapLine lines[] = {
        bit(1, 4, MapReplay::NOT_ZERO),
        bit(2, 4, MapReplay::ZERO),
        bit(3, 4, MapReplay::IN_RANGE, 1, 32),
        bit(4, 2, MapReplay::NOT_ZERO),
        bit(5, 2, MapReplay::ZERO),
        bit(6, 2, MapReplay::IN_RANGE, 1, 32),
        bit(7, 2), // differs
        bit(8, 4),
        bit(9, 4, MapReplay::CREATE_ONLY),
    };
    const auto rule = replay_of<OddRow>(lines);
    const auto with = [&](uint64_t counter, const char* address) {
        return mask_of<OddRow>(rule, [&](OddRow& row) {
            row.oddCounter = counter;
            row.oddAddress = inet_addr(address);
        });
    };
    const auto bits = [](std::initializer_list<int> attributes) {
        uint32_t mask = 0;
        for (const int attribute : attributes)
            mask |= 1u << attribute;
        return mask;
    };
    EXPECT_EQ(with(ODD_COUNTER, "192.168.0.1"), bits({1, 4}));
    EXPECT_EQ(with(0, "0.0.0.0"), bits({2, 5, 7, 8}));
    EXPECT_EQ(with(32, "0.0.0.32"), bits({1, 3, 4, 6, 7, 8}));
    // Nothing of theirs is cut off.
    EXPECT_EQ(with((uint64_t{1} << 32) + 5, "5.0.0.0"), bits({1, 4, 7, 8}));
    EXPECT_EQ(with(UINT64_MAX, "255.255.255.255"), bits({1, 4, 7, 8}));
}

TEST_F(RestoreMask, OfTablesOfTheSystemHasTheirAddressesAndCounters) {
    using Host = ov_sRmIPHostTable_attr_t;
    constexpr MapLine host_lines[] = {bit(0, 1), bit(1, 2), bit(2, 3), bit(3, 4), bit(4, 5), bit(5, 6)};
    const auto host = replay_of<Host>(host_lines);
    EXPECT_EQ(mask_of<Host>(host, NOTHING), 0u);
    EXPECT_EQ(mask_of<Host>(host, [](Host& row) { row.sRmIPHostIpAddress = inet_addr("10.0.0.1"); }),
              1u << 1);
    EXPECT_EQ(mask_of<Host>(host, [](Host& row) { row.sRmIPHostGateway = inet_addr("0.0.0.1"); }), 1u << 3);
    using Limits = ov_gemPmThrTable_attr_t;
    constexpr MapLine limits_lines[] = {bit(0, 3), bit(1, 4), bit(2, 5), bit(3, 6), bit(4, 7)};
    const auto limits = replay_of<Limits>(limits_lines);
    EXPECT_EQ(mask_of<Limits>(limits, NOTHING), 0u);
    EXPECT_EQ(mask_of<Limits>(limits, [](Limits& row) { row.gpmThrRxBytes = uint64_t{1} << 32; }), 1u << 2);
    EXPECT_EQ(mask_of<Limits>(limits, [](Limits& row) { row.gpmThrTxBytes = UINT64_MAX; }), 1u << 4);
}

// ---- rows of a slot ----------------------------------------------------------------------------------

using Tcont = ov_sTcontTable_attr_t;
using Index = std::tuple<int, int, int, int, unsigned>;
Index index_of(const Tcont& row) {
    return {row.shelfID, row.slotID, row.portID, row.onuId, row.tcontId};
}

TEST(SlotRows, AreThoseOfAWalkOverTheWholeTable) {
    LogCapture log;
    initialize_table_sTcontTable_data();
    std::mt19937 random(7);
    const auto pick = [&random](std::vector<int> values) { return values[random() % values.size()]; };
    for (int n = 0; n < 400; ++n) {
        auto* row = static_cast<Tcont*>(table_of<Tcont>::module().create_entry_at(
            pick({0, 1, 2, 7, -1, INT32_MIN}), pick({0, 1, 3, 4, 31, -1}), pick({1, 2, 16, -1}), pick({1, 2}),
            random() % 3));
        if (row != nullptr)
            row->sTcontTableRowStatus = pick({OVRA_ACTIVE, OVRA_ACTIVE, OVRA_NOTINSERVICE});
    }
    for (const int slot : {0, 1, 2, 3, 4, 31, -1}) {
        std::vector<Index> walked;
        std::vector<Index> walked_port;
        for (const Tcont& row : all_rows<Tcont>()) {
            if (row.slotID == slot)
                walked.push_back(index_of(row));
            if (row.slotID == slot && row.portID == 2)
                walked_port.push_back(index_of(row));
        }
        std::vector<Index> found;
        for_each_row_of_any_shelf<Tcont>(std::array{slot},
                                         [&](const Tcont& row) { found.push_back(index_of(row)); });
        EXPECT_EQ(found, walked) << slot;
        found.clear();
        for_each_row_of_any_shelf<Tcont>(std::array{slot, 2},
                                         [&](const Tcont& row) { found.push_back(index_of(row)); });
        EXPECT_EQ(found, walked_port) << slot;
    }
}

} // namespace
