// Every table as managers see it: where it is registered, what a GET of each of its columns answers, and the
// order in which GETNEXT gives them.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <arpa/inet.h>

#include "all_modules.h"
#include "snmp_pdu.h"
#include "table_record.h"

namespace {

struct Expected {
    const char* table;
    const char* oid; // below the enterprise number
    const char* index;
    unsigned first, last; // columns of the registration
    int registry_index;
    const char* access; // ro, rw (change rows), rc (make and delete them too)
};
constexpr Expected TABLES[] = {
    {"sPonTable", "1.1.1.1.1.1", "shelfID slotID portID", 4, 35, SPON, "rc"},
    {"sOnuTable", "1.1.1.1.1.2", "shelfID slotID portID onuId", 2, 25, SONU, "rc"},
    {"sOnuInitTable", "1.1.1.1.1.3", "shelfID slotID portID sOnuInitTableTmpOnuId", 2, 9, SONUINIT, "ro"},
    {"sOnuTypeProfileTable", "1.1.1.1.1.4", "onuTypeProfileId", 2, 16, SONUTYPEPROFILE, "rc"},
    {"sGemTable", "1.1.1.1.1.5", "shelfID slotID portID onuId gemID", 2, 14, SGEM, "rc"},
    {"sTcontTable", "1.1.1.1.1.6", "shelfID slotID portID onuId tcontId", 2, 6, STCONT, "rc"},
    {"sBWProfileTable", "1.1.1.1.1.7", "bwProfileId", 2, 7, SBWPROFILE, "rc"},
    {"sServiceTable", "1.1.1.1.1.8", "shelfID slotID portID onuId serviceID", 2, 13, SSERVICE, "rc"},
    {"sMcastVlanTable", "1.1.1.1.1.9", "shelfID multicastID", 2, 7, SMCASTVLAN, "rc"},
    {"sRmInfoTable", "1.1.1.1.1.10", "shelfID slotID portID onuId", 1, 22, SRMINFO, "rw"},
    {"sRmUniStatusTable", "1.1.1.1.1.11", "shelfID slotID portID onuId onuCardID onuPortType onuPortID", 4,
     20, SRMUNISTATUS, "rw"},
    {"sRmFlowTable", "1.1.1.1.1.12", "shelfID slotID portID onuId flowID onuCardID onuPortType onuPortID", 2,
     8, SRMFLOW, "rc"},
    {"sRmUniVlanTable", "1.1.1.1.1.13", "shelfID slotID portID onuId onuCardID onuPortType onuPortID", 1, 6,
     SRMUNIVLAN, "rw"},
    {"sRmMulticastTable", "1.1.1.1.1.14", "shelfID slotID portID onuId onuCardID onuPortType onuPortID", 1,
     11, SRMMULTICAST, "rw"},
    {"sRmUniPmTable", "1.1.1.1.1.15", "shelfID slotID portID onuId onuCardID onuPortType onuPortID", 1, 28,
     SRMUNIPM, "ro"},
    {"sQosProfileTable", "1.1.1.1.1.16", "qosProfileID", 2, 19, SQOSPROFILE, "rc"},
    {"sGponTrapEnableTable", "1.1.1.1.1.17", "sTableIndex", 2, 4, SGPONTRAPENABLE, "rc"},
    {"sRmServiceTable", "1.1.1.1.1.18", "shelfID slotID portID onuId rmServiceID", 2, 9, SRMSERVICE, "rc"},
    {"sActionTable", "1.1.1.1.1.19", "shelfID slotID sActionType", 2, 9, SACTION, "rc"},
    {"sOnuExtendInfoTable", "1.1.1.1.1.23", "shelfID slotID portID onuId", 1, 8, SONUEXTENDINFO, "ro"},
    {"servicePortTable", "1.1.1.1.1.25", "shelfID slotID portID onuId servicePortId", 2, 19, SSERVICEPORT,
     "rc"},
    {"sRmIPHostTable", "1.1.1.1.1.26.1", "shelfID slotID portID onuId", 1, 15, SRMIPHOST, "rc"},
    {"sRmTr069MgmtTable", "1.1.1.1.1.26.2", "shelfID slotID portID onuId", 1, 8, SRMTR069MGMT, "rw"},
    {"onuQosTable", "1.1.1.1.1.30.1", "shelfID slotID portID onuId", 1, 9, SONUQOS, "rc"},
    {"portQosTable", "1.1.1.1.1.30.2", "shelfID slotID portID", 1, 7, SPORTQOS, "rc"},
    {"qosSchedulerProfileTable", "1.1.1.1.1.30.3", "shelfID qosSchedulerProfileId", 2, 13,
     SQOSSCHEDULERPROFILE, "rc"},
    {"qosTrafficProfileTable", "1.1.1.1.1.30.4", "shelfID qosTrafficProfileId", 2, 20, SQOSTRAFFICPROFILE,
     "rc"},
    {"cosQueueMappingProfileTable", "1.1.1.1.1.30.5", "shelfID cosQueueMappingProfileId", 2, 12,
     SCOSQUEUEMAPPINGPROFILE, "rc"},
    {"cosToCosProfileTable", "1.1.1.1.1.30.6", "shelfID cosToCosProfileId", 2, 12, SQOSCOSTOCOSPROFILE, "rc"},
    {"ponPortQosTable", "1.1.1.1.1.30.7", "shelfID slotID portID", 1, 7, SPONPORTQOS, "rc"},
    {"sRmOnuCapaTable", "1.1.1.1.1.31", "shelfID slotID portID onuId", 1, 21, SRMONUCAPA, "rw"},
    {"portProtectTable", "1.1.1.1.1.32", "ppGroupId", 2, 11, SPORTPROTECT, "rc"},
    {"ponPmTable", "1.1.1.1.1.33.1", "shelfID slotID portID", 1, 35, SPONPM, "rw"},
    {"onuPmTable", "1.1.1.1.1.33.2", "shelfID slotID portID onuId", 1, 24, SONUPM, "rw"},
    {"gemPmTable", "1.1.1.1.1.33.3", "shelfID slotID portID onuId gemID", 1, 9, SGEMPM, "rw"},
    {"ponPmThrTable", "1.1.1.1.1.33.4.1", "ppmThrId", 2, 34, SPONPMTHR, "rc"},
    {"onuPmThrTable", "1.1.1.1.1.33.4.2", "opmThrId", 2, 19, SONUPMTHR, "rc"},
    {"gemPmThrTable", "1.1.1.1.1.33.4.3", "gpmThrId", 2, 8, SGEMPMTHR, "rc"},
    {"tcaAlarmTable", "1.1.1.1.1.33.5", "tcaAlarmSource tcaAlarmCode", 3, 6, STCAALM, "ro"},
    {"ponnniPmTable", "1.1.1.1.1.33.6", "shelfID slotID portID", 1, 68, SPONNNIPM, "rw"},
    {"uplinkPmTable", "1.1.1.1.1.33.7", "shelfID slotID portID", 1, 41, SUPLINKPM, "rw"},
    {"uplinkPmActTable", "1.1.1.1.1.33.8", "shelfID slotID portID", 1, 2, SUPLINKPMACT, "rc"},
    {"onuStatTable", "1.1.1.1.1.33.9", "shelfID slotID portID onuId", 1, 21, SONUSTAT, "rw"},
    {"rmServiceMacFilterModeTable", "1.1.1.1.1.34.2", "shelfID slotID portID onuId rmServiceID", 1, 2,
     SRMMACFMODE, "rw"},
    {"rmServiceMacFilterStaticTable", "1.1.1.1.1.34.3", "shelfID slotID portID onuId rmServiceID rmSmfsId", 2,
     5, SRMMACFS, "rc"},
    {"rmServiceMacFilterDynamicTable", "1.1.1.1.1.34.4", "shelfID slotID portID onuId rmServiceID", 1, 2,
     SRMMACFD, "rc"},
    {"aclGroupTable", "1.1.1.1.1.35.1", "aclGroupIndex", 2, 6, ACLGROUP, "rc"},
    {"aclStandardRuleTable", "1.1.1.1.1.35.2", "aclStandardGroupIndex aclStandardRuleIndex", 3, 9,
     ACLSTANDARDRULE, "rc"},
    {"aclExtendRuleTable", "1.1.1.1.1.35.3", "aclExtendGroupIndex aclExtendRuleIndex", 3, 25, ACLLINKRULE,
     "rc"},
    {"aclLinkRuleTable", "1.1.1.1.1.35.4", "aclLinkGroupIndex aclLinkRuleIndex", 3, 17, ACLEXTENDRULE, "rc"},
    {"aclHybridRuleTable", "1.1.1.1.1.35.5", "aclHybridGroupIndex aclHybridRuleIndex", 3, 28, ACLHYBRIDRULE,
     "rc"},
    {"aclUserRuleTable", "1.1.1.1.1.35.6", "aclUserGroupIndex aclUserRuleIndex", 3, 13, ACLUSERRULE, "rc"},
    {"aclIpv6StandardRuleTable", "1.1.1.1.1.35.7", "aclIpv6StandardGroupIndex aclIpv6StandardRuleIndex", 3, 9,
     ACLIPV6STANDARDRULE, "rc"},
    {"aclIpv6ExtendRuleTable", "1.1.1.1.1.35.8", "aclIpv6ExtendGroupIndex aclIpv6ExtendRuleIndex", 3, 24,
     ACLIPV6EXTENDRULE, "rc"},
    {"aclIpv6HybridRuleTable", "1.1.1.1.1.35.9", "aclIpv6HybridGroupIndex aclIpv6HybridRuleIndex", 3, 27,
     ACLIPV6HYBRIDRULE, "rc"},
    {"aclPacketFilterTable", "1.1.1.1.1.35.10", "shelfID slotID portID aclDirection aclGroupId aclRuleId", 4,
     5, ACLPACKETFILTER, "rc"},
    {"aclTrafficPriorityTable", "1.1.1.1.1.35.11", "shelfID slotID portID aclDirection aclGroupId aclRuleId",
     1, 6, ACLTRAFFICPRIORITY, "rc"},
    {"aclTrafficRedirectTable", "1.1.1.1.1.35.12", "shelfID slotID portID aclDirection aclGroupId aclRuleId",
     1, 3, ACLTRAFFICREDIRECT, "rc"},
    {"aclTrafficLimitTable", "1.1.1.1.1.35.13", "shelfID slotID portID aclDirection aclGroupId aclRuleId", 1,
     8, ACLTRAFFICLIMIT, "rc"},
    {"aclTrafficMirrorTable", "1.1.1.1.1.35.14", "shelfID slotID portID aclDirection aclGroupId aclRuleId", 1,
     3, ACLTRAFFICMIRROR, "rc"},
    {"aclTrafficStatTable", "1.1.1.1.1.35.15", "shelfID slotID portID aclDirection aclGroupId aclRuleId", 1,
     5, ACLTRAFFICSTAT, "rc"},
    {"sPonOpticTable", "1.1.1.1.1.36.1", "shelfID slotID portID", 4, 9, SPONOPTIC, "rc"},
    {"sPonThresholdTable", "1.1.1.1.1.36.2", "shelfID slotID portID", 1, 12, SPONTHRESHOLD, "rw"},
    {"sOnuUpdateTable", "1.1.1.1.1.37.1", "shelfID slotID portID", 1, 4, SONUUPDATE, "rc"},
    {"sOnuUpdStatusTable", "1.1.1.1.1.37.2", "shelfID slotID portID onuId", 1, 14, SONUUPDSTATUS, "ro"},
    {"sRmOnuOptThresholdTable", "1.1.1.1.1.38.1", "shelfID slotID portID onuId", 1, 11, SRMONUTHRESHOLD,
     "rw"},
    {"sOnuSrvProfileTable", "1.1.1.1.1.39.1", "onuSrvProfileId", 2, 7, SONUSRVPROFILE, "rc"},
    {"sOnuHistoryTable", "1.1.1.1.1.40.1", "shelfID slotID portID onuId", 1, 11, SONUHISTORY, "rc"},
    {"smartQinqTable", "1.1.1.1.1.41.1", "userVlanMin userVlanMax ethType cos opFlags ifIndex", 1, 9,
     SMARTQINQ, "rc"},
    {"sRmOnuQosPriorityQueueScheduleTable", "1.1.1.1.1.42.1", "shelfID slotID portID onuId", 1, 3,
     SRMQUEUESCHEDULE, "rc"},
    {"sRmTrafficProfileTable", "1.1.1.1.1.42.2", "sRmTrafficProfileId", 2, 7, SRMTRAFFICPROFILE, "rc"},
    {"sOnuRssiProfileTable", "1.1.1.1.1.43.1", "profileId", 2, 22, SONURSSIPROFILE, "rc"},
    {"sRmVoipConfigDataTable", "1.1.1.1.1.45.1", "shelfID slotID portID onuId", 1, 10, SRMVOIPCONFIGDATA,
     "rc"},
    {"sRmVoipSipAgentConfigTable", "1.1.1.1.1.45.2",
     "shelfID slotID portID onuId sRmVoipSipAgentConfigAgentID", 2, 19, SRMVOIPSIPAGENTCONFIG, "rc"},
    {"sRmVoipSipUserDataTable", "1.1.1.1.1.45.3",
     "shelfID slotID portID onuId sRmVoipSipUserDataCardType sRmVoipSipUserDataPortID "
     "sRmVoipSipUserDataCardID",
     4, 17, SRMVOIPSIPUSERDATA, "rw"},
    {"sRmVoipLineStatusTable", "1.1.1.1.1.45.4",
     "shelfID slotID portID onuId sRmVoipLineStatusCardType sRmVoipLineStatusPortID sRmVoipLineStatusCardID",
     4, 11, SRMVOIPLINESTATUS, "rc"},
    {"sRmWanTable", "1.1.1.1.1.46.1", "shelfID slotID portID onuId sRmWanIndex", 2, 21, SRMWAN, "rc"},
    {"sRmWifiTable", "1.1.1.1.1.47.1", "shelfID slotID portID onuId sRmWifiIndex", 2, 24, SRMWIFI, "rc"},
    {"sRmUniPoeTable", "1.1.1.1.1.48.1",
     "shelfID slotID portID onuId sRmUniPoeOnuCardID sRmUniPoeOnuPortType sRmUniPoeOnuPortID", 4, 18,
     SRMUNIPOE, "rc"},
    {"sRmOnuPoeTable", "1.1.1.1.1.48.2", "shelfID slotID portID onuId", 1, 11, SRMONUPOE, "rc"},
    {"sActiveAlarmTable", "1.1.1.3.1", "sActiveAlarmTableAlarmSource sActiveAlarmTableAlarmCode", 3, 10,
     SACTIVEALARM, "rc"},
};
constexpr size_t DORMANT = 16; // the ACL tables and smartQinqTable

class SnmpTables : public SnmpTest, public testing::WithParamInterface<Expected> {
protected:
    SnmpTables() : module(*table_module_find(GetParam().registry_index)) { module.initialize_table(); }

    const netsnmp_handler_registration* registration() const {
        return table_cntl[GetParam().registry_index].reg;
    }
    // What stands in a column of a row.
    static uint32_t number(const ColumnDesc& column, uint32_t row) { return column.number * 1000u + row; }
    static std::string string(const ColumnDesc& column, uint32_t row) {
        std::string text = "c" + std::to_string(number(column, row));
        text.resize(column.type == ColType::BIN ? column.limit : std::min<size_t>(text.size(), column.limit));
        return text;
    }
    static void fill(const ColumnDesc& column, void* record, uint32_t row) {
        switch (column.type) {
        case ColType::COUNTER64:
            record_put(record, column.offset, uint64_t{number(column, row)} << 32 | 7);
            break;
        case ColType::TEXT:
        case ColType::BIN: {
            const std::string text = string(column, row);
            std::memset(record_bytes(record) + column.offset, 0, column.size); // a longer default
            std::memcpy(record_bytes(record) + column.offset, text.data(), text.size());
            break;
        }
        case ColType::IPADDR:
            record_put(record, column.offset, htonl(number(column, row)));
            break;
        default:
            record_put(record, column.offset, number(column, row));
        }
    }
    // Rows 1.1..., 1.1...2 and 2.1...; with the greatest index value in the last.
    std::vector<Oid> make_rows() {
        const size_t length = module.desc().index.size();
        std::vector<Oid> indexes(3, Oid(length, 1));
        indexes[1].back() = 2;
        indexes[2].front() = 2;
        indexes[2].back() = length > 1 ? 0xFFFFFFFF : 3;
        uint32_t number = 0;
        for (const Oid& index : indexes) {
            const std::vector<uint32_t> key(index.begin(), index.end());
            void* row = module.create_entry(key.data());
            for (const ColumnDesc& column : module.desc().columns)
                fill(column, row, ++number % 3);
            rows_.push_back(row);
        }
        return indexes;
    }
    std::vector<const ColumnDesc*> readable() const {
        std::vector<const ColumnDesc*> columns;
        for (const ColumnDesc& column : module.desc().index) {
            if (column.access == ColAccess::READ_ONLY)
                columns.push_back(&column);
        }
        for (const ColumnDesc& column : module.desc().columns)
            columns.push_back(&column);
        return columns;
    }
    static void expect_value(const netsnmp_variable_list& variable, const ColumnDesc& column,
                             const void* row) {
        const char* stored = record_bytes(row) + column.offset;
        const auto* bytes = reinterpret_cast<const char*>(variable.val.string);
        switch (column.type) {
        case ColType::INT:
        case ColType::ROWSTATUS:
            ASSERT_EQ(variable.type, 2);
            EXPECT_EQ(*variable.val.integer, record_get<int32_t>(row, column.offset));
            break;
        case ColType::UINT:
            ASSERT_EQ(variable.type, 66);
            EXPECT_EQ(static_cast<u_long>(*variable.val.integer), record_get<uint32_t>(row, column.offset));
            break;
        case ColType::IPADDR:
            ASSERT_EQ(variable.type, 64);
            EXPECT_EQ(std::string(bytes, variable.val_len), std::string(stored, 4));
            break;
        case ColType::COUNTER64:
            ASSERT_EQ(variable.type, 70);
            EXPECT_EQ(uint64_t{variable.val.counter64->high} << 32 | variable.val.counter64->low,
                      record_get<uint64_t>(row, column.offset));
            break;
        case ColType::TEXT:
            ASSERT_EQ(variable.type, 4);
            EXPECT_EQ(std::string(bytes, variable.val_len), std::string(stored));
            break;
        case ColType::BIN:
            ASSERT_EQ(variable.type, 4);
            EXPECT_EQ(std::string(bytes, variable.val_len), std::string(stored, column.limit));
            break;
        }
    }

    TableModule& module;
    std::vector<void*> rows_;
};

TEST_P(SnmpTables, IsRegisteredAtItsPlaceWithItsIndexAndColumns) {
    const Expected& expected = GetParam();
    ASSERT_NE(registration(), nullptr);
    EXPECT_STREQ(module.name(), expected.table);
    std::string name;
    for (size_t i = 0; i < registration()->rootoid_len; ++i)
        name += "." + std::to_string(registration()->rootoid[i]);
    EXPECT_EQ(name, ".1.3.6.1.4.1.47281." + std::string(expected.oid));
    EXPECT_EQ(registration()->modes & HANDLER_CAN_RWRITE,
              expected.access == std::string("ro") ? HANDLER_CAN_RONLY : HANDLER_CAN_RWRITE);
    EXPECT_EQ(module.desc().row_status->access == ColAccess::READ_CREATE,
              expected.access == std::string("rc"));

    const auto* info =
        netsnmp_find_table_registration_info(const_cast<netsnmp_handler_registration*>(registration()));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->min_column, expected.first);
    EXPECT_EQ(info->max_column, expected.last);
    std::istringstream names(expected.index);
    std::string column;
    size_t count = 0;
    for (const netsnmp_variable_list* index = info->indexes; index != nullptr; index = index->next_variable) {
        ASSERT_TRUE(names >> column);
        const ColumnDesc& described = module.desc().index[count++];
        EXPECT_EQ(column, described.name);
        EXPECT_EQ(index->type, described.type == ColType::INT ? 2 : 66);
    }
    EXPECT_FALSE(names >> column);
    EXPECT_EQ(info->number_indexes, count);
}

// ---- each variable by its name, type and value --------------------------------------------------

const std::map<std::string, std::string> COLUMNS = {
#include "snmp_columns.inc"
};

struct Answer {
    Oid name;
    int type;
    std::string value; // a number in decimal, or the bytes
    bool operator==(const Answer&) const = default;
};
void PrintTo(const Answer& answer, std::ostream* out) {
    for (const oid arc : answer.name)
        *out << '.' << arc;
    *out << " = " << answer.type << ": " << answer.value;
}

Answer answer_of(const Pdu& pdu) {
    const netsnmp_variable_list& variable = pdu.variable();
    Answer answer = {pdu.name(), variable.type, {}};
    if (variable.type == 2)
        answer.value = std::to_string(*variable.val.integer);
    else if (variable.type == 66)
        answer.value = std::to_string(static_cast<u_long>(*variable.val.integer));
    else if (variable.type == 70)
        answer.value =
            std::to_string(uint64_t{variable.val.counter64->high} << 32 | variable.val.counter64->low);
    else if (variable.val.string != nullptr)
        answer.value = pdu.bytes();
    return answer;
}

// What fill() has put there, by the letter and size of the list.
Answer expected_answer(Oid name, unsigned column, uint32_t row, const std::string& type) {
    const uint32_t number = column * 1000 + row;
    const size_t size = type.size() > 1 ? std::stoul(type.substr(1)) : 0;
    std::string text = "c" + std::to_string(number);
    switch (type.front()) {
    case 'u':
        return {std::move(name), 66, std::to_string(number)};
    case 'c':
        return {std::move(name), 70, std::to_string(uint64_t{number} << 32 | 7)};
    case 'a':
        return {
            std::move(name),
            64,
            {0, static_cast<char>(number >> 16), static_cast<char>(number >> 8), static_cast<char>(number)}};
    case 't':
        return {std::move(name), 4, text.substr(0, size)};
    case 'b':
        text.resize(size);
        return {std::move(name), 4, text};
    default:
        return {std::move(name), 2, std::to_string(number)};
    }
}

class SnmpAnswers : public SnmpTables {
protected:
    // Of a row of make_rows(), which fills it with 1, 2, 0 and again in the order of columns.
    std::vector<Answer> expected(const std::vector<Oid>& indexes) const {
        std::vector<Answer> answers;
        std::istringstream list(COLUMNS.at(GetParam().table));
        for (std::string word; list >> word;) {
            size_t digits = 0;
            const auto column = static_cast<unsigned>(std::stoul(word, &digits));
            for (size_t row = 0; row < indexes.size(); ++row) {
                Oid name = variable_name(module, column, indexes[row]);
                const ColumnDesc* stored = module.desc().column(static_cast<int>(column));
                if (stored == nullptr) // one of the index
                    answers.push_back(of_index(std::move(name), column, indexes[row], word[digits]));
                else
                    answers.push_back(
                        expected_answer(std::move(name), column, filled(*stored, row), word.substr(digits)));
            }
        }
        return answers;
    }

private:
    Answer of_index(Oid name, unsigned column, const Oid& index, char type) const {
        size_t place = 0;
        while (module.desc().index[place].number != static_cast<int>(column))
            ++place;
        const auto value = static_cast<uint32_t>(index[place]);
        return type == 'u' ? Answer{std::move(name), 66, std::to_string(value)}
                           : Answer{std::move(name), 2, std::to_string(static_cast<int32_t>(value))};
    }
    uint32_t filled(const ColumnDesc& column, size_t row) const {
        const auto place = static_cast<size_t>(&column - module.desc().columns.data());
        return static_cast<uint32_t>((row * module.desc().columns.size() + place + 1) % 3);
    }
};

TEST_P(SnmpAnswers, GetAnswersEachVariableWithItsTypeAndValue) {
    for (const Answer& answer : expected(make_rows())) {
        Pdu pdu(module);
        pdu.add(answer.name).run(MODE_GET);
        EXPECT_EQ(answer_of(pdu), answer);
    }
}

TEST_P(SnmpAnswers, GetNextLeadsFromEachVariableToTheNext) {
    Oid at(module.table_oid().begin(), module.table_oid().end());
    for (const Answer& answer : expected(make_rows())) {
        Pdu pdu(module);
        pdu.add(at).run(MODE_GETNEXT);
        ASSERT_EQ(answer_of(pdu), answer);
        at = answer.name;
    }
    Pdu end(module);
    end.add(at).run(MODE_GETNEXT);
    EXPECT_TRUE(end.type() == ASN_NULL || end.type() == SNMP_NOSUCHOBJECT);
}

TEST_P(SnmpTables, GetAnswersEachColumn) {
    const std::vector<Oid> indexes = make_rows();
    for (size_t row = 0; row < indexes.size(); ++row) {
        Pdu pdu(module);
        for (const ColumnDesc* column : readable())
            pdu.get(column->number, indexes[row]);
        pdu.run(MODE_GET);
        for (size_t i = 0; i < readable().size(); ++i) {
            SCOPED_TRACE(readable()[i]->name);
            expect_value(pdu.variable(i), *readable()[i], rows_[row]);
        }
    }
}

TEST_P(SnmpTables, GetNextGivesAllColumnsInOrderAndThenLeavesTheTable) {
    const std::vector<Oid> indexes = make_rows();
    Oid at(module.table_oid().begin(), module.table_oid().end());
    for (const ColumnDesc* column : readable()) {
        for (size_t row = 0; row < indexes.size(); ++row) {
            Pdu pdu(module);
            pdu.add(at).run(MODE_GETNEXT);
            at = variable_name(module, column->number, indexes[row]);
            ASSERT_EQ(pdu.name(), at) << column->name;
            expect_value(pdu.variable(), *column, rows_[row]);
        }
    }
    Pdu end(module);
    end.add(at).run(MODE_GETNEXT);
    EXPECT_TRUE(end.type() == ASN_NULL || end.type() == SNMP_NOSUCHOBJECT);
    EXPECT_EQ(end.error(), 0);
}

TEST_P(SnmpTables, GetOfWhatIsntThereSaysSo) {
    const Oid index = make_rows().front();
    const auto answer = [&](oid column, const Oid& at) {
        return Pdu(module).get(column, at).run(MODE_GET).type();
    };
    Oid absent = index;
    absent.back() = 77;
    const oid column = module.desc().columns.front().number;
    EXPECT_EQ(answer(column, absent), SNMP_NOSUCHINSTANCE);
    EXPECT_EQ(answer(GetParam().last + 1, index), SNMP_NOSUCHOBJECT);
    for (unsigned number = GetParam().first; number <= GetParam().last; ++number) {
        const auto columns = readable();
        const bool there = std::any_of(columns.begin(), columns.end(),
                                       [&](const ColumnDesc* c) { return c->number == number; });
        EXPECT_EQ(answer(number, index) == SNMP_NOSUCHOBJECT, !there) << number;
    }
}

TEST_P(SnmpTables, SetOfWhatManagersMayNotWriteIsNotWritable) {
    const Oid index = make_rows().front();
    play_module(module);
    for (unsigned number = GetParam().first; number <= GetParam().last; ++number) {
        const ColumnDesc* column = module.desc().column(static_cast<int>(number));
        const bool writable =
            module.desc().writable && column != nullptr && column->access >= ColAccess::READ_WRITE;
        // A type that no column has: whoever may write is told so.
        Pdu pdu(module);
        pdu.text(number, index, "x", ASN_OPAQUE).run(MODE_SET_RESERVE1);
        EXPECT_EQ(pdu.error(), writable ? SNMP_ERR_WRONGTYPE : SNMP_ERR_NOTWRITABLE) << number;
    }
}

std::string name_of_table(const testing::TestParamInfo<Expected>& info) {
    return info.param.table;
}
INSTANTIATE_TEST_SUITE_P(Every, SnmpTables, testing::ValuesIn(TABLES), name_of_table);
INSTANTIATE_TEST_SUITE_P(Every, SnmpAnswers, testing::ValuesIn(TABLES), name_of_table);

class SnmpStart : public SnmpTest {};

TEST_F(SnmpStart, RegistersTheTablesOnceInTheOrderOfTheStart) {
    std::map<std::string, std::string> names;
    for (const Expected& table : TABLES)
        names[table.oid] = table.table;
    std::vector<std::string> registered;
    for (const std::string& name : registered_at_start())
        registered.push_back(names[name]);
    EXPECT_EQ(registered, tables_of_start());
    EXPECT_EQ(registered.size(), std::size(TABLES) - DORMANT);
}

} // namespace
