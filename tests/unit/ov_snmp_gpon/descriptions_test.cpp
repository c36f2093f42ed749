// The table descriptions as the compiler sees them: records, numbers, accesses, defaults.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "../support/vector_less.h"
#include "mmg_definition.h"
#include "onuPmTable.h"
#include "ponPmTable.h"
#include "ponnniPmTable.h"
#include "rmServiceMacFilterStaticTable.h"
#include "sActionTable.h"
#include "sActiveAlarmTable.h"
#include "sMcastVlanTable.h"
#include "sOnuRssiProfileTable.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"
#include "sPonTable.h"
#include "sRmFlowTable.h"
#include "sRmIPHostTable.h"
#include "sRmUniStatusTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"
#include "smartQinqTable.h"
#include "table_list.h"
#include "table_modules.h"
#include "tcaAlarmTable.h"
#include "uplinkPmActTable.h"

namespace {

using testing::ElementsAre;

const TableDesc& table(const char* name) {
    const TableDesc* found = table_desc_find(name);
    EXPECT_NE(found, nullptr) << name;
    return found != nullptr ? *found : *table_desc_list().front();
}

// Every column of every table, with its table's name in front.
template <class Visit>
void each_column(Visit visit) {
    for (const TableDesc* desc : table_desc_list())
        for (const ColumnDesc& column : desc->columns)
            visit(*desc, column, std::string(desc->name) + "." + column.name);
}

std::vector<std::string> columns_where(const TableDesc& desc, auto&& wanted) {
    std::vector<std::string> found;
    for (const ColumnDesc& column : desc.columns)
        if (wanted(column))
            found.emplace_back(column.name);
    return found;
}

std::vector<std::pair<int, std::string>> names_of(const ColumnDesc& column) {
    std::vector<std::pair<int, std::string>> names;
    for (const ColName& name : column.names)
        names.emplace_back(name.value, name.name);
    return names;
}

// ---- the whole set -------------------------------------------------------------------------------

TEST(Descriptions, AllTablesAndColumnsAreThere) {
    size_t columns = 0;
    for (const TableDesc* desc : table_desc_list()) {
        columns += desc->columns.size();
        for (const ColumnDesc& column : desc->index)
            columns += column.access != ColAccess::NOT_ACCESSIBLE;
    }
    EXPECT_EQ(table_desc_list().size(), 81u);
    EXPECT_EQ(columns, 1071u);
}

TEST(Descriptions, NamesRegistryIndexesAndObjectIdentifiersAreUnique) {
    std::set<std::string> names;
    std::set<int> indexes;
    std::set<std::vector<uint32_t>, VectorLess> oids;
    for (const TableDesc* desc : table_desc_list()) {
        EXPECT_TRUE(names.insert(desc->name).second) << desc->name;
        EXPECT_TRUE(indexes.insert(desc->registry_index).second) << desc->name;
        EXPECT_TRUE(oids.insert({desc->oid.begin(), desc->oid.end()}).second) << desc->name;
    }
}

TEST(Descriptions, EveryTableHasARowStatusAmongItsColumns) {
    for (const TableDesc* desc : table_desc_list()) {
        ASSERT_NE(desc->row_status, nullptr) << desc->name;
        EXPECT_EQ(desc->column(desc->row_status->number), desc->row_status) << desc->name;
        EXPECT_EQ(desc->row_status->type, ColType::ROWSTATUS) << desc->name;
        EXPECT_EQ(desc->row_status->min, 1);
        EXPECT_EQ(desc->row_status->max, 6);
    }
}

TEST(Descriptions, TheStartUpListNamesAllTablesButTheDormantOnes) {
    std::set<std::string> started;
#define OV_TABLE_INIT(function) started.insert(std::string(#function).substr(5));
#include "table_init_list.def"
#undef OV_TABLE_INIT
    EXPECT_EQ(started.size(), 65u);
    std::set<std::string> described;
    for (const TableDesc* desc : table_desc_list())
        if (!std::string(desc->name).starts_with("acl") && std::string(desc->name) != "smartQinqTable")
            described.insert(desc->name);
    EXPECT_EQ(started, described);
}

TEST(Descriptions, RegistryNamesAreThoseOfTheTables) {
    const std::map<std::string, std::string> expected = {
        {"sPonTable", "SPON"},
        {"sTcontTable", "STCONT"},
        {"sRmUniPmTable", "SRMUNIPM"},
        {"tcaAlarmTable", "STCAALM"},
        {"cosToCosProfileTable", "SQOSCOSTOCOSPROFILE"},
        {"cosQueueMappingProfileTable", "SCOSQUEUEMAPPINGPROFILE"},
        {"rmServiceMacFilterDynamicTable", "SRMMACFD"},
        {"sRmOnuQosPriorityQueueScheduleTable", "SRMQUEUESCHEDULE"},
        {"sRmOnuOptThresholdTable", "SRMONUTHRESHOLD"},
        {"aclExtendRuleTable", "ACLLINKRULE"},
        {"aclLinkRuleTable", "ACLEXTENDRULE"},
    };
    const std::map<std::string, int> index_of = {
#define MMG_TABLE(name, index, save, sync) {#name, index},
#define MMG_TABLE_REPEATED(name, index, repeated)
#include "mmg_table_list.def"
    };
    for (const auto& [name, registry] : expected)
        EXPECT_EQ(table(name.c_str()).registry_index, index_of.at(registry)) << name;
}

TEST(Descriptions, ObjectIdentifiersStandBelowTheEnterpriseNumber) {
    auto arcs = [](const char* name) {
        const auto oid = table(name).oid;
        return std::vector<uint32_t>(oid.begin(), oid.end());
    };
    EXPECT_THAT(arcs("sTcontTable"), ElementsAre(1, 1, 1, 1, 1, 6));
    EXPECT_THAT(arcs("ponPmThrTable"), ElementsAre(1, 1, 1, 1, 1, 33, 4, 1));
    EXPECT_THAT(arcs("sActiveAlarmTable"), ElementsAre(1, 1, 1, 3, 1));
}

// ---- records -------------------------------------------------------------------------------------

TEST(Records, TcontRowIsIndexThenColumnsThenShadows) {
    EXPECT_EQ(offsetof(sTcontTable_entry, shelfID), 0u);
    EXPECT_EQ(offsetof(sTcontTable_entry, slotID), 4u);
    EXPECT_EQ(offsetof(sTcontTable_entry, portID), 8u);
    EXPECT_EQ(offsetof(sTcontTable_entry, onuId), 12u);
    EXPECT_EQ(offsetof(sTcontTable_entry, tcontId), 16u);
    EXPECT_EQ(offsetof(sTcontTable_entry, sTcontTableAllocID), 20u);
    EXPECT_EQ(offsetof(sTcontTable_entry, sTcontTableTcontName), 24u);
    EXPECT_EQ(sizeof(sTcontTable_entry::sTcontTableTcontName), 34u);
    EXPECT_EQ(offsetof(sTcontTable_entry, sTcontTableBwProfileId), 60u);
    EXPECT_EQ(offsetof(sTcontTable_entry, sTcontTableBwProfileName), 64u);
    EXPECT_EQ(sizeof(sTcontTable_entry::sTcontTableBwProfileName), 66u);
    EXPECT_EQ(offsetof(sTcontTable_entry, sTcontTableRowStatus), 132u);
    EXPECT_EQ(offsetof(sTcontTable_entry, old_sTcontTableAllocID), 136u);
    EXPECT_EQ(offsetof(sTcontTable_entry, old_sTcontTableTcontName), 140u);
    EXPECT_EQ(offsetof(sTcontTable_entry, old_sTcontTableBwProfileId), 176u);
    EXPECT_EQ(offsetof(sTcontTable_entry, old_sTcontTableBwProfileName), 180u);
    EXPECT_EQ(offsetof(sTcontTable_entry, old_sTcontTableRowStatus), 248u);
    EXPECT_EQ(sizeof(sTcontTable_entry), 252u);
    static_assert(std::is_same_v<decltype(sTcontTable_entry::onuId), int32_t>);
    static_assert(std::is_same_v<decltype(sTcontTable_entry::tcontId), uint32_t>);
    static_assert(std::is_same_v<ov_sTcontTable_attr_t, sTcontTable_entry>);
    static_assert(std::is_standard_layout_v<sTcontTable_entry> && std::is_trivial_v<sTcontTable_entry>);
}

TEST(Records, OnuRowKeepsItsRowStatusInTheMiddle) {
    EXPECT_EQ(offsetof(sOnuTable_entry, sOnuTableIfIndex), 16u);
    EXPECT_EQ(offsetof(sOnuTable_entry, sOnuTableOnuName), 20u);
    EXPECT_EQ(offsetof(sOnuTable_entry, sOnuTableAuthMode), 56u);
    EXPECT_EQ(offsetof(sOnuTable_entry, sOnuTableSn), 60u);
    EXPECT_EQ(offsetof(sOnuTable_entry, sOnuTablePw), 93u);
    EXPECT_EQ(offsetof(sOnuTable_entry, sOnuTableAdminState), 192u);
    EXPECT_EQ(offsetof(sOnuTable_entry, sOnuTableUpFec),
              offsetof(sOnuTable_entry, sOnuTableRowStatus) + sizeof(int32_t));
    EXPECT_EQ(offsetof(sOnuTable_entry, old_sOnuTableIfIndex),
              offsetof(sOnuTable_entry, sOnuTableConfigMode) + sizeof(int32_t));
    EXPECT_EQ(table("sOnuTable").row_status->number, 17);
}

TEST(Records, SixtyFourBitCountersAreAlignedToEight) {
    EXPECT_EQ(table("ponPmTable").key_size, 12u);
    EXPECT_EQ(offsetof(ponPmTable_entry, ppmFecCodeWords), 16u);
    EXPECT_EQ(offsetof(onuPmTable_entry, opmFecCodeWords), 16u);
    EXPECT_EQ(offsetof(onuPmTable_entry, opmThrProfileId), 16u + 15 * 8);
    EXPECT_EQ(offsetof(onuPmTable_entry, opmRxBytes), 16u + 15 * 8 + 24); // five words and a gap
    EXPECT_EQ(sizeof(onuPmTable_entry), 16u + 2 * (15 * 8 + 24 + 4 * 8));
    static_assert(std::is_same_v<decltype(onuPmTable_entry::opmRxBytes), uint64_t>);
}

TEST(Records, BinariesHaveNoTerminatorAndAddressesAreFourBytes) {
    EXPECT_EQ(sizeof(sMcastVlanTable_entry::sMcastVlanTableMulticasMacAdd), 6u);
    EXPECT_EQ(offsetof(sMcastVlanTable_entry, sMcastVlanTableMulticasIP), 20u);
    EXPECT_EQ(sizeof(sMcastVlanTable_entry::sMcastVlanTableOnuIndexList), 64u);
    EXPECT_EQ(sizeof(sPonTable_entry::sPonTableModelSrvProfileName), 80u);
    EXPECT_EQ(sizeof(rmServiceMacFilterStaticTable_entry::rmSmfsMac), 6u);
    static_assert(std::is_same_v<decltype(sRmIPHostTable_entry::sRmIPHostIpAddress), in_addr_t>);
    EXPECT_EQ(table("sRmIPHostTable").column(2)->type, ColType::IPADDR);
}

TEST(Records, TheHeadOfARssiProfileIsTheRecordThatCardsGet) {
    EXPECT_EQ(offsetof(sOnuRssiProfileTable_entry, sOnuRssiProfileRowStatus), 84u);
}

TEST(Records, KeysAreTheirIndexColumns) {
    EXPECT_EQ(table("sPonTable").key_size, 12);
    EXPECT_EQ(table("sOnuTable").key_size, 16);
    EXPECT_EQ(table("sTcontTable").key_size, 20);
    EXPECT_EQ(table("sRmFlowTable").key_size, 32);
    EXPECT_EQ(table("portProtectTable").key_size, 4);
    for (const TableDesc* desc : table_desc_list()) {
        EXPECT_EQ(desc->key_size, desc->index.size() * 4) << desc->name;
        for (const ColumnDesc& column : desc->index)
            EXPECT_TRUE(column.type == ColType::INT || column.type == ColType::UINT) << column.name;
    }
}

TEST(Records, TextsHaveRoomForATerminatorBehindTheirLimit) {
    each_column([](const TableDesc&, const ColumnDesc& column, const std::string& name) {
        if (column.type == ColType::TEXT) {
            EXPECT_EQ(column.size, column.limit + 1) << name;
            EXPECT_EQ(column.max, column.limit) << name;
        } else if (column.type == ColType::BIN) {
            EXPECT_EQ(column.size, column.limit) << name;
        } else {
            EXPECT_EQ(column.limit, 0) << name;
        }
    });
}

TEST(Records, OffsetsInTheDescriptionAreThoseOfTheRecord) {
    const TableDesc& desc = table("servicePortTable");
    EXPECT_EQ(desc.entry_size, sizeof(servicePortTable_entry));
    EXPECT_EQ(desc.index.back().offset, offsetof(servicePortTable_entry, servicePortId));
    const ColumnDesc* column = desc.column(servicePortTable_column::servicePortMacLimit);
    ASSERT_NE(column, nullptr);
    EXPECT_EQ(column->offset, offsetof(servicePortTable_entry, servicePortMacLimit));
    EXPECT_EQ(column->old_offset, offsetof(servicePortTable_entry, old_servicePortMacLimit));
}

// ---- numbers -------------------------------------------------------------------------------------

TEST(Columns, AreFoundByTheirNumber) {
    EXPECT_STREQ(table("sTcontTable").column(4)->name, "sTcontTableBwProfileId");
    EXPECT_EQ(table("sTcontTable").column(1), nullptr);
    EXPECT_EQ(table("sTcontTable").column(7), nullptr);
    EXPECT_EQ(table("sOnuTable").column(25), nullptr);
    EXPECT_EQ(table("sPonTable").column(-1), nullptr);
}

TEST(Columns, NumbersAndLimitsAreConstantsForTheApplication) {
    EXPECT_EQ(sPonTable_column::sPonTableAdminState, 5u);
    EXPECT_EQ(sPonTable_column::sPonTableRowStatus, 13u);
    EXPECT_EQ(sTcontTable_limit::sTcontTableTcontName, 33u);
    EXPECT_EQ(sPonTable_limit::sPonTableVendorSrvProfileName, 16u);
    EXPECT_EQ(ponnniPmTable_column::ppmRxBytes, 12u);
}

TEST(Columns, TablesAreRegisteredForTheirColumnsAndReadableIndexes) {
    auto range = [](const char* name) {
        return std::pair(table(name).min_column(), table(name).max_column());
    };
    EXPECT_EQ(range("sTcontTable"), std::pair(2, 6));
    EXPECT_EQ(range("sPonTable"), std::pair(4, 35));
    EXPECT_EQ(range("sOnuTable"), std::pair(2, 25));
    EXPECT_EQ(range("onuQosTable"), std::pair(1, 9));
    EXPECT_EQ(range("sOnuSrvProfileTable"), std::pair(2, 7));
    EXPECT_EQ(range("smartQinqTable"), std::pair(1, 9));
    EXPECT_EQ(range("ponnniPmTable"), std::pair(1, 68));
}

TEST(Columns, IndexColumnsBearTheNumberOfTheirOwnTableOnly) {
    auto numbers = [](const char* name) {
        std::vector<int> found;
        for (const ColumnDesc& column : table(name).index)
            found.push_back(column.number);
        return found;
    };
    EXPECT_THAT(numbers("sPonTable"), ElementsAre(1, 2, 3));
    EXPECT_THAT(numbers("sTcontTable"), ElementsAre(0, 0, 0, 0, 1));
    EXPECT_THAT(numbers("gemPmTable"), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_THAT(numbers("sRmUniStatusTable"), ElementsAre(0, 0, 0, 0, 1, 2, 3));
    EXPECT_THAT(numbers("sActiveAlarmTable"), ElementsAre(1, 2));
    EXPECT_THAT(numbers("sOnuSrvProfileTable"), ElementsAre(2));
    EXPECT_THAT(numbers("smartQinqTable"), ElementsAre(1, 2, 3, 4, 5, 6));
}

// ---- access --------------------------------------------------------------------------------------

TEST(Access, ReadOnlyTablesAndColumns) {
    auto writable = [](const ColumnDesc& column) { return column.access > ColAccess::READ_ONLY; };
    auto read_only = [](const ColumnDesc& column) { return column.access == ColAccess::READ_ONLY; };
    std::set<std::string> closed;
    for (const TableDesc* desc : table_desc_list())
        if (!desc->writable)
            closed.insert(desc->name);
    EXPECT_EQ(closed, (std::set<std::string>{"sOnuInitTable", "sRmUniPmTable", "sOnuExtendInfoTable",
                                             "tcaAlarmTable", "sOnuUpdStatusTable"}));
    EXPECT_THAT(columns_where(table("sPonTable"), read_only),
                ElementsAre("sPonTableIfIndex", "sPonTableOperationalState", "sPonTableTxPower",
                            "sPonTableRogueOnuDetectState"));
    EXPECT_THAT(columns_where(table("sTcontTable"), read_only), ElementsAre("sTcontTableAllocID"));
    EXPECT_THAT(columns_where(table("sGemTable"), read_only),
                ElementsAre("sGemTableIfIndex", "sGemTableGemPortID"));
    EXPECT_THAT(columns_where(table("sOnuTypeProfileTable"), read_only),
                ElementsAre("sOnuTypeProfileTableIsDefaultProfile", "sOnuTypeProfileTableInUse"));
    EXPECT_THAT(columns_where(table("sOnuTable"), read_only),
                ElementsAre("sOnuTableIfIndex", "sOnuTableOnuState", "sOnuTableOnuActVersion"));
    EXPECT_THAT(columns_where(table("ponPmTable"), writable), ElementsAre("ppmThrProfileId"));
    EXPECT_THAT(columns_where(table("uplinkPmTable"), writable), ElementsAre("uplinkPmThrProfileId"));
    EXPECT_THAT(columns_where(table("onuStatTable"), writable), ElementsAre("onuStatReadClearOperation"));
    EXPECT_THAT(columns_where(table("tcaAlarmTable"), writable), ElementsAre());
    EXPECT_THAT(columns_where(table("ponPmThrTable"), read_only), ElementsAre());
}

TEST(Access, RowsCanBeCreatedWhereTheRowStatusIsReadCreate) {
    EXPECT_EQ(table("sTcontTable").row_status->access, ColAccess::READ_CREATE);
    EXPECT_EQ(table("uplinkPmActTable").row_status->access, ColAccess::READ_CREATE);
    EXPECT_EQ(table("sRmInfoTable").row_status->access, ColAccess::READ_ONLY);
    EXPECT_EQ(table("sRmInfoTable").column(18)->access, ColAccess::READ_WRITE);
    EXPECT_EQ(table("sTcontTable").column(3)->access, ColAccess::READ_CREATE);
    EXPECT_EQ(table("sTcontTable").index[4].access, ColAccess::NOT_ACCESSIBLE);
    EXPECT_EQ(table("smartQinqTable").index[0].access, ColAccess::READ_ONLY);
}

// ---- defaults, ranges, names ---------------------------------------------------------------------

TEST(Defaults, AreTheseAndElseZero) {
    std::map<std::string, int64_t> numbers;
    std::map<std::string, std::string> texts;
    each_column([&](const TableDesc&, const ColumnDesc& column, const std::string&) {
        if (column.dflt != 0)
            numbers[column.name] = column.dflt;
        if (*column.dflt_text != '\0')
            texts[column.name] = column.dflt_text;
    });
    const std::map<std::string, int64_t> expected = {
        {"sPonTableOperationalState", 3},
        {"sPonTableScbPort", 4095},
        {"sPonTableMaxLogicDistance", 20},
        {"sPonTableKeyExchangeInterval", 10000},
        {"sPonTablePortProtect", 1},
        {"sPonTableAutoFind", 1},
        {"sPonTableMibDataSync", 1},
        {"sOnuTableAuthMode", 1},
        {"sOnuTableActiviate", 1},
        {"sRmUniStatusTableAdminState", 1},
        {"sRmUniStatusMaxFrameSize", 2000},
        {"sRmUniStatusTableBridgedOrIpInd", 2},
        {"sRmUniVlanTableVlanMode", 1},
        {"sGponTrapEnableTableTrapEnable", 1},
        {"servicePortVlanAction", 1},
        {"servicePortVlanPrioAction", 1},
        {"servicePortSvlanPrioAction", 1},
        {"servicePortQueueSelectMode", 1},
        {"servicePortMacmove", 1},
        {"onuQosWeight", 1},
        {"portQosSchedulerModel", 1},
        {"ponPortQosSchedulerModel", 1},
        {"qosSchedulerProfileQueueScheduleMode", 0x11111111},
        {"ppWorkPonPortState", 1},
        {"ppProtectPonPortState", 1},
        {"ppExternalCommand", 1},
        {"ppCurrentSwitchRequest", 1},
        {"ppProtectType", 1},
        {"rmSmfmMode", 1},
        {"aclGroupType", 1},
        {"aclTrafficPriorityDscp", -1},
        {"aclTrafficPriorityIpPrecedence", -1},
        {"aclTrafficPriorityCos", -1},
        {"aclTrafficPriorityLocalPrecedence", -1},
        {"aclTrafficPriorityDropPrecedence", -1},
        {"aclTrafficRedirectType", 1},
        {"aclTrafficMirrorType", 1},
        {"sRmOnuOptThresholdLowRxpwr", -255},
        {"sRmOnuOptThresholdUpperRxpwr", -255},
        {"sRmOnuOptThresholdLowTxpwr", -127},
        {"sRmOnuOptThresholdUpperTxpwr", -127},
        {"sOnuRssiHighTxpwrAlm", 900},
        {"sOnuRssiLowTxpwrAlm", -1400},
        {"sOnuRssiHighTxpwrWarn", 800},
        {"sOnuRssiLowTxpwrWarn", -1200},
        {"sOnuRssiHighRxpwrAlm", 300},
        {"sOnuRssiLowRxpwrAlm", -3400},
        {"sOnuRssiHighRxpwrWarn", 200},
        {"sOnuRssiLowRxpwrWarn", -3000},
        {"sOnuRssiHighBiasAlm", 13100},
        {"sOnuRssiLowBiasAlm", 200},
        {"sOnuRssiHighBiasWarn", 11000},
        {"sOnuRssiLowBiasWarn", 700},
        {"sOnuRssiHighVccAlm", 363},
        {"sOnuRssiLowVccAlm", 297},
        {"sOnuRssiHighVccWarn", 347},
        {"sOnuRssiLowVccWarn", 314},
        {"sOnuRssiHighTempAlm", 9000},
        {"sOnuRssiLowTempAlm", -4500},
        {"sOnuRssiHighTempWarn", 8000},
        {"sOnuRssiLowTempWarn", -1500},
        {"sRmWanEnable", 1},
        {"sRmWifiSsidEnable", 1},
        {"sRmWifiEnable", 1},
    };
    EXPECT_EQ(numbers, expected);
    EXPECT_EQ(texts, (std::map<std::string, std::string>{{"sOnuTableOnuTypeProfileName", "KLM-618"}}));
}

TEST(Ranges, ComeFromTheDescriptionOrTheType) {
    const ColumnDesc* auth = table("sOnuTable").column(sOnuTable_column::sOnuTableAuthMode);
    EXPECT_EQ(std::pair(auth->min, auth->max), std::pair(int64_t{1}, int64_t{5}));
    const ColumnDesc* fec = table("sOnuTable").column(sOnuTable_column::sOnuTableUpFec);
    EXPECT_EQ(std::pair(fec->min, fec->max), std::pair(int64_t{0}, int64_t{1}));
    const ColumnDesc* frame =
        table("sRmUniStatusTable").column(sRmUniStatusTable_column::sRmUniStatusMaxFrameSize);
    EXPECT_EQ(std::pair(frame->min, frame->max), std::pair(int64_t{64}, int64_t{2000}));
    const ColumnDesc* id = table("sTcontTable").column(sTcontTable_column::sTcontTableBwProfileId);
    EXPECT_EQ(std::pair(id->min, id->max), std::pair(int64_t{INT32_MIN}, int64_t{INT32_MAX}));
    const ColumnDesc* profile = table("sOnuTable").column(sOnuTable_column::sOnuTableSrvProfileId);
    EXPECT_EQ(std::pair(profile->min, profile->max), std::pair(int64_t{0}, int64_t{UINT32_MAX}));
}

// A row of servicePortTable is judged as a whole by its callback, whose answers managers know.
TEST(Ranges, ServicePortColumnsHaveNamesButNoRangeOfTheirOwn) {
    const ColumnDesc* action =
        table("servicePortTable").column(servicePortTable_column::servicePortVlanAction);
    EXPECT_EQ(action->names.size(), 8u);
    EXPECT_EQ(action->min, INT32_MIN);
}

TEST(Names, StandWithTheirColumnInOrder) {
    EXPECT_THAT(names_of(*table("sPonTable").column(sPonTable_column::sPonTableOperationalState)),
                ElementsAre(std::pair(1, "greenonop"), std::pair(2, "redonop"), std::pair(3, "ledoff"),
                            std::pair(4, "redonnoop"), std::pair(5, "ledoffnoop")));
    EXPECT_THAT(names_of(*table("sPonTable").column(sPonTable_column::sPonTableDsFec)),
                ElementsAre(std::pair(0, "dsiable"), std::pair(1, "enable")));
    EXPECT_TRUE(table("sPonTable").column(sPonTable_column::sPonTableScbPort)->names.empty());
}

TEST(Names, OfIndexColumnsStandWithTheIndex) {
    const ColumnDesc& kind = table("sRmUniStatusTable").index[5];
    EXPECT_STREQ(kind.name, "onuPortType");
    EXPECT_EQ(kind.names.size(), 4u);
    EXPECT_EQ(table("sActionTable").index[2].names.size(), 24u);
    EXPECT_TRUE(table("sActionTable").column(2)->names.empty());
}

TEST(Names, AreEnumeratorsForTheApplication) {
    EXPECT_EQ(SPONTABLEADMINSTATE_DISABLED, 0);
    EXPECT_EQ(SPONTABLEADMINSTATE_ENABLED, 1);
    EXPECT_EQ(SPONTABLEOPERATIONALSTATE_LEDOFF, 3);
    EXPECT_EQ(SPONTABLEROGUEONUDETECTSTATE_STAGE1, 0);
    EXPECT_EQ(SPONTABLEROGUEONUDETECTSTATE_STAGE9, 8);
    EXPECT_EQ(SPONTABLEMAXLOGICDISTANCE_KM60, 60);
    EXPECT_EQ(SONUTABLEACTIVIATE_DEACTIVIATED, 0);
    EXPECT_EQ(SONUTABLECONFIGMODE_TEMPLET, 1);
    EXPECT_EQ(SERVICEPORTVLANACTION_ALLTRANSPARENT, 8);
    EXPECT_EQ(SACTIONTYPE_SFTPDOWNLOADONUFIRM, 73);
    EXPECT_EQ(SACTIVEALARMTABLEALARMTYPE_CONTROL_PLANE, 7);
    EXPECT_EQ(SACTIVEALARMTABLEALARMCODE_OLT_PON_LOS, 101);
    EXPECT_EQ(SACTIVEALARMTABLEALARMCODE_EQPTFANCRITICAL, 1310);
    EXPECT_EQ(TCAALARMCODE_PPMTXDROPPEDVIDMISS, 39);
    EXPECT_EQ(TCAALARMCODE_OPMRDIERRORS, 114);
    EXPECT_EQ(TCAALARMCODE_GPMTXBYTES, 203);
    EXPECT_EQ(OPMDATAVALID_AVAILABLE, 2);
    EXPECT_EQ(UPLINKPMACTION_ENABLE, 1);
}

// ---- the module's face ---------------------------------------------------------------------------

TEST(Module, FunctionsTakeTheIndexColumnsInTheirTypes) {
    static_assert(std::is_same_v<decltype(sTcontTable_createEntry),
                                 sTcontTable_entry*(int32_t, int32_t, int32_t, int32_t, uint32_t)>);
    static_assert(
        std::is_same_v<decltype(sOnuSrvProfileTable_createEntry), sOnuSrvProfileTable_entry*(uint32_t)>);
    static_assert(std::is_same_v<decltype(sRmFlowTable_SetIndex),
                                 void(sRmFlowTable_entry*, int32_t, int32_t, int32_t, int32_t, uint32_t,
                                      uint32_t, int32_t, uint32_t)>);
    static_assert(std::is_same_v<decltype(init_sTcontTable), void()>);
    static_assert(std::is_same_v<decltype(mib_save_sTcontTable_backdoor), void()>);
    static_assert(
        std::is_same_v<decltype(sTcontTableClass_QBC),
                       int(void*, int, int, ovralist_t*, element_comparator, Mib_Index_Compare_Ptr)>);
}

// What is named like a password or a key is marked as one: no log shows it.
TEST(Descriptions, PasswordsAndKeysAreSecrets) {
    each_column([](const TableDesc&, const ColumnDesc& column, const std::string& name) {
        const std::string own = column.name;
        const auto ends_with = [&](const char* end) { return own.ends_with(end); };
        const bool is_one =
            column.type == ColType::TEXT && (ends_with("Pw") || ends_with("Pwd") || ends_with("Pass") ||
                                             ends_with("Password") || own.find("Key") != own.npos);
        EXPECT_EQ(column.secret, is_one) << name;
    });
    EXPECT_TRUE(table("sOnuTable").column(6)->secret);
    EXPECT_FALSE(table("sOnuTable").column(7)->secret);
}

// Managers are let in to a table with a module as soon as that is there; the default is a table that is only
// stored.
TEST(Descriptions, RowsThatAreOnlyStoredAreThoseOfNoModule) {
    std::set<std::string> stored;
    for (const TableDesc* desc : table_desc_list())
        if (desc->rows == RowUse::STORED && desc->writable && !std::string(desc->name).starts_with("acl"))
            stored.insert(desc->name);
    EXPECT_THAT(stored, ElementsAre("gemPmThrTable", "onuPmThrTable", "ponPmThrTable", "sActiveAlarmTable",
                                    "sGponTrapEnableTable", "sOnuHistoryTable", "sPonOpticTable",
                                    "sRmFlowTable", "sServiceTable"));
}

} // namespace
