// How columns reach the card: the lines of a map, and the maps of the system against the records' attributes.
#include "app_message_map.h"

#include <gmock/gmock.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_queue_schedule.h"
#include "ov_app_gpon_rm_sip_agent_config_data.h"
#include "ov_app_gpon_rm_sip_user_data.h"
#include "ov_app_gpon_rm_tr069_mgmt.h"
#include "ov_app_gpon_rm_traffic.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rm_voip_line_status.h"
#include "ov_app_gpon_rmcapa.h"
#include "ov_app_gpon_rminfo.h"
#include "ov_app_gpon_rmmulticast.h"
#include "ov_app_gpon_rmonu_opt_threshold.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunipm.h"
#include "ov_app_gpon_rmunipoe.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_rmwifi.h"
#include "ov_app_gpon_service.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"
#include "ov_app_gpon_vlan.h"
#include "table_module.h"

using testing::ElementsAre;

namespace {

// ---- the lines, on a map that no module has --------------------------------------------------------------

using Row = ov_sGemTable_attr_t;
using Record = ov_gpon_gemport_attr_t;
namespace column = sGemTable_column;

uint32_t gem_number(const Row& row) {
    return static_cast<uint32_t>(row.gemID + 1000);
}
mib_long doubled(mib_long value) {
    return 2 * value;
}
void both_limits(const Row& row, Record& record) {
    record.dsMaxBw = static_cast<uint32_t>(row.sGemTableSrvPortNum);
    record.dsMinBw = 1;
}
bool is_encrypted(const Row& row) {
    return row.sGemTableIfEnableEncryption == 1;
}

void name_rate(const Record& record, Row& row) {
    snprintf(row.sGemTableUpTrafficName, sizeof row.sGemTableUpTrafficName, "%u kbit/s",
             static_cast<unsigned>(record.dsMinBw));
}

constexpr MapLine LINES[] = {
    WIRE_ONLY(ifindex, gem_number),
    MAP(sGemTableGemName, name, 1),
    MAP_AS(sGemTableDirection, direction, 7, doubled),
    MAP_INTO(sGemTableSrvPortNum, dsMaxBw, 5, both_limits),
    UNMASKED(sGemTableUpQueueMapID, upQmapId),
    MASK_ONLY(sGemTablePmEnable, 3),
    MAP(sGemTableTcontID, tcontId, 2).applies_when(ROW_IS(is_encrypted)),
    READ_ONLY(sGemTableGemPortID, servportCount),
    READ_INTO(sGemTableUpTrafficName, dsMinBw, name_rate),
};
constexpr MessageMap<Row, Record> invented_map(LINES,
                                               {.first = 3, .last = 12, .last_read = 7, .no_attribute = 12});

Row filled_row() {
    Row row = {};
    row.gemID = 7;
    std::strcpy(row.sGemTableGemName, "voice");
    row.sGemTableDirection = 3;
    row.sGemTableSrvPortNum = 44;
    row.sGemTableUpQueueMapID = 2;
    row.sGemTableTcontID = 5;
    row.sGemTableGemPortID = 99;
    return row;
}

MIB_Flags_t columns(std::initializer_list<unsigned> numbers) {
    MIB_Flags_t flags = {};
    for (const unsigned number : numbers)
        mib_flag_set(flags, number);
    return flags;
}

TEST(MessageMap, FillsTheRecordByItsLines) {
    Record record;
    std::memset(&record, 0xee, sizeof record);
    ov_bmp_t mask = -1;
    invented_map.convert(filled_row(), record, {}, mask);
    Record expected = {};
    expected.ifindex = 1007;
    std::strcpy(expected.name, "voice");
    expected.direction = 6;
    expected.dsMaxBw = 44;
    expected.dsMinBw = 1;
    expected.upQmapId = 2;
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0); // no T-CONT, nothing of what is read
    EXPECT_EQ(mask, 0);
}

TEST(MessageMap, CutsATextAtItsField) {
    Row row = {};
    std::memset(row.sGemTableGemName, 'x', sizeof row.sGemTableGemName - 1);
    Record record = {};
    invented_map.encode(&row, &record);
    EXPECT_EQ(strnlen(record.name, sizeof record.name),
              std::min(sizeof record.name, sizeof row.sGemTableGemName) - 1);
}

TEST(MessageMap, RaisesTheBitsOfASetsColumns) {
    const Row row = filled_row();
    const auto mask = [&](std::initializer_list<unsigned> numbers) {
        return static_cast<uint32_t>(invented_map.set_mask(&row, columns(numbers)));
    };
    EXPECT_EQ(mask({}), 0u);
    EXPECT_EQ(mask({4}), 1u << 1);
    EXPECT_EQ(mask({8, 6, 11}), 1u << 7 | 1u << 5 | 1u << 3);
    EXPECT_EQ(mask({12}), 1u << 12); // no bit of its own: the one that cards ignore
    EXPECT_EQ(mask({1, 2}), 0u);     // in front of the mapped columns
    EXPECT_EQ(mask({13, 14, 100}), 0u);
}

TEST(MessageMap, LeavesOutWhatTheRowDoesNotMean) {
    Row row = filled_row();
    EXPECT_EQ(invented_map.set_mask(&row, columns({5, 4})), 1 << 1);
    row.sGemTableIfEnableEncryption = 1;
    EXPECT_EQ(invented_map.set_mask(&row, columns({5, 4})), 1 << 2 | 1 << 1);
    Record record = {};
    invented_map.encode(&row, &record);
    EXPECT_EQ(record.tcontId, 5u);
}

TEST(MessageMap, AsksForTheColumnsOfAReadUpToTheLastOne) {
    EXPECT_EQ(invented_map.get_mask(columns({4, 8})), 1 << 1);
    EXPECT_EQ(invented_map.get_mask(columns({3})), 1 << 12);
}

TEST(MessageMap, TakesOutOfAnAnswerWhatWasAsked) {
    Record record = {};
    std::strcpy(record.name, "card's");
    record.servportCount = 3;
    record.direction = 8;
    Row row = filled_row();
    invented_map.decode(&record, &row, columns({3, 8}));
    EXPECT_EQ(row.sGemTableGemPortID, 3);
    EXPECT_STREQ(row.sGemTableGemName, "voice"); // not asked
    EXPECT_EQ(row.sGemTableDirection, 3);        // a converted column isn't read back
    invented_map.decode(&record, &row, columns({4}));
    EXPECT_STREQ(row.sGemTableGemName, "card's");
}

TEST(MessageMap, MakesAColumnOfAnAnswer) {
    Record record = {};
    record.dsMinBw = 512;
    Row row = {};
    invented_map.decode(&record, &row, columns({3}));
    EXPECT_STREQ(row.sGemTableUpTrafficName, "");
    invented_map.decode(&record, &row, mibDefFlags);
    EXPECT_STREQ(row.sGemTableUpTrafficName, "512 kbit/s");
}

TEST(MessageMap, ReadsATextThatFillsItsField) {
    Record record = {};
    std::memset(record.name, 'y', sizeof record.name);
    Row row = {};
    invented_map.decode(&record, &row, columns({4}));
    EXPECT_EQ(strnlen(row.sGemTableGemName, sizeof row.sGemTableGemName),
              std::min(sizeof record.name, sizeof row.sGemTableGemName - 1));
}

// ---- the maps of the system ------------------------------------------------------------------------------

struct SystemMap {
    const char* name;
    const AnyMessageMap& map;
    TableModule& table;
};

std::vector<SystemMap> system_maps() {
#define SYSTEM_MAP(map, row)                                                                                 \
    { #map, map, table_of < row> ::module() }
    return {
        SYSTEM_MAP(pon_port_map, ov_sPonTable_attr_t),
        SYSTEM_MAP(onu_map, ov_sOnuTable_attr_t),
        SYSTEM_MAP(onu_qos_map, ov_onuQosTable_attr_t),
        SYSTEM_MAP(tcont_map, ov_sTcontTable_attr_t),
        SYSTEM_MAP(gem_map, ov_sGemTable_attr_t),
        SYSTEM_MAP(service_port_map, ov_servicePortTable_attr_t),
        SYSTEM_MAP(bwtype_map, ov_sBWProfileTable_attr_t),
        SYSTEM_MAP(onutype_map, ov_sOnuTypeProfileTable_attr_t),
        SYSTEM_MAP(rm_traffic_map, ov_sRmTrafficProfileTable_attr_t),
        SYSTEM_MAP(service_map, ov_sServiceTable_attr_t),
        SYSTEM_MAP(mcast_vlan_map, ov_sMcastVlanTable_attr_t),
        SYSTEM_MAP(rminfo_map, ov_sRmInfoTable_attr_t),
        SYSTEM_MAP(rmcapa_map, ov_sRmOnuCapaTable_attr_t),
        SYSTEM_MAP(unistatus_map, ov_sRmUniStatusTable_attr_t),
        SYSTEM_MAP(univlan_map, ov_sRmUniVlanTable_attr_t),
        SYSTEM_MAP(unipm_map, ov_sRmUniPmTable_attr_t),
        SYSTEM_MAP(rmwan_map, ov_sRmWanTable_attr_t),
        SYSTEM_MAP(rmwifi_map, ov_sRmWifiTable_attr_t),
        SYSTEM_MAP(rm_iphost_map, ov_sRmIPHostTable_attr_t),
        SYSTEM_MAP(rm_iphost_current_map, ov_sRmIPHostTable_attr_t),
        SYSTEM_MAP(rm_tr069_mgmt_map, ov_sRmTr069MgmtTable_attr_t),
        SYSTEM_MAP(rm_queue_schedule_map, ov_sRmOnuQosPriorityQueueScheduleTable_attr_t),
        SYSTEM_MAP(rm_voip_config_data_map, ov_sRmVoipConfigDataTable_attr_t),
        SYSTEM_MAP(rm_sip_agent_map, ov_sRmVoipSipAgentConfigTable_attr_t),
        SYSTEM_MAP(rm_sip_user_map, ov_sRmVoipSipUserDataTable_attr_t),
        SYSTEM_MAP(rm_voip_line_status_map, ov_sRmVoipLineStatusTable_attr_t),
        SYSTEM_MAP(unipoe_map, ov_sRmUniPoeTable_attr_t),
        SYSTEM_MAP(onupoe_map, ov_sRmOnuPoeTable_attr_t),
        SYSTEM_MAP(rmonu_opt_threshold_map, ov_sRmOnuOptThresholdTable_attr_t),
        SYSTEM_MAP(rmservice_map, ov_sRmServiceTable_attr_t),
        SYSTEM_MAP(mac_filter_mode_map, ov_rmServiceMacFilterModeTable_attr_t),
        SYSTEM_MAP(mac_filter_dyn_map, ov_rmServiceMacFilterDynamicTable_attr_t),
        SYSTEM_MAP(mac_filter_static_map, ov_rmServiceMacFilterStaticTable_attr_t),
        SYSTEM_MAP(rmmulticast_map, ov_sRmMulticastTable_attr_t),
    };
}

TEST(SystemMaps, RaiseTheBitOfTheirField) {
    for (const SystemMap& system : system_maps()) {
        const auto attributes = hal_record_attributes(system.map.record());
        for (const MapLine& line : system.map.lines()) {
            if (!line.has_attribute() || line.field == nullptr)
                continue;
            ASSERT_LT(static_cast<size_t>(line.attribute), attributes.size()) << system.name;
            EXPECT_STREQ(attributes[static_cast<size_t>(line.attribute)].field, line.field) << system.name;
        }
    }
}

TEST(SystemMaps, FillNoFieldTwiceAndNameColumnsThatThereAre) {
    for (const SystemMap& system : system_maps()) {
        std::multiset<std::string> fields;
        for (const MapLine& line : system.map.lines()) {
            if (line.field != nullptr) {
                EXPECT_EQ(fields.count(line.field), 0u) << system.name << " " << line.field;
                fields.insert(line.field);
            }
            const bool index = line.column <= 1;
            EXPECT_TRUE(line.column == MapLine::NO_COLUMN || index ||
                        system.table.desc().column(line.column) != nullptr)
                << system.name << " " << int{line.column};
        }
    }
}

// The bits of a T-CONT come one column late behind its allocation id.
TEST(SystemMaps, OfATcontHaveItsBitsOneColumnLate) {
    std::map<int, int> bits;
    for (const MapLine& line : tcont_map.lines())
        if (line.has_attribute())
            bits[line.column] = line.attribute;
    EXPECT_THAT(bits, ElementsAre(std::pair(1, 1), std::pair(2, 2), std::pair(4, 3), std::pair(5, 4)));
}

} // namespace
