// Which attributes a restore sets, and the walk over a slot's rows.
#include "ov_app_gpon_config_restore_mask.h"

#include <gmock/gmock.h>

#include <random>
#include <tuple>

#include "../support/log_capture.h"
#include "app_slot_rows.h"
#include "onuQosTable.h"
#include "sGemTable.h"
#include "sOnuTable.h"
#include "sPonTable.h"
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

template <typename Row, typename Fill>
uint32_t mask_of(const MaskRule& rule, Fill fill) {
    Row row = fresh_row<Row>();
    fill(row);
    return static_cast<uint32_t>(rule(&row));
}

constexpr auto NOTHING = [](auto&) {};

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
    constexpr uint8_t NONE = 20;
    std::array<uint8_t, 35> map = {};
    map.fill(NONE);
    map[7] = 4;   // unsigned, default 4095
    map[8] = 8;   // signed
    map[12] = 7;  // text
    map[31] = 17; // octets
    const MaskRule rule = columns_against_defaults(SPON, map, NONE);
    EXPECT_EQ(mask_of<Row>(rule, NOTHING), 0u);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sPonTableScbPort = 0xffffffff; }), 1u << 4);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sPonTableTxPower = -1; }), 1u << 8);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { strcpy(row.sPonTableQosProfileName, "g"); }), 1u << 7);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sPonTableModelSrvProfile[3] = 1; }), 1u << 17);
    EXPECT_EQ(mask_of<Row>(rule, [](Row& row) { row.sPonTableDsFec = 1; }), 0u);
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
    for (int n = 0; n < 400; ++n)
        table_of<Tcont>::module().create_entry_at(pick({0, 1, 2, 7, -1, INT32_MIN}),
                                                  pick({0, 1, 3, 4, 31, -1}), pick({1, 2, 16, -1}),
                                                  pick({1, 2}), random() % 3);
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
