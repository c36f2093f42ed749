#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "hal_record_dump.h"
#include "ov_hal_gpon_attr_dump.h"
#include "ov_product_log.h"

namespace {

using Lines = std::vector<std::string>;

template <class Record>
Lines dump(const Record& record) {
    Lines lines;
    hal_record_dump(
        hal_record_desc_of<Record>(), &record,
        {[](void* context, std::string_view text) { static_cast<Lines*>(context)->emplace_back(text); },
         &lines});
    return lines;
}

// The lines of the debug log while it lives.
class LogTap {
public:
    LogTap() {
        lines().clear();
        ov_product_log_set_tap([](int level, const char*, const char* text) {
            if (level == OV_LOG_LVL_DEBUG)
                lines().emplace_back(text);
        });
    }
    ~LogTap() { ov_product_log_set_tap(nullptr); }
    LogTap(const LogTap&) = delete;
    LogTap& operator=(const LogTap&) = delete;

    static Lines& lines() {
        static Lines all;
        return all;
    }
};

template <class Field>
const HalFieldDesc& field_of(const char* name) {
    for (const HalFieldDesc& field : hal_record_desc_of<Field>().fields) {
        if (field.name != nullptr && strcmp(field.name, name) == 0)
            return field;
    }
    throw std::runtime_error(name);
}

TEST(RecordsDump, EveryFieldIsALineInTheOrderOfTheWire) {
    ov_gpon_tcont_attr_t tcont{};
    tcont.onuIfindex = 0x54600000;
    tcont.tcontId = 3;
    memcpy(tcont.name, "up", 2);
    memcpy(tcont.bwProfile, "default", 7);
    EXPECT_EQ((Lines{"onuIfindex: 1415577600", "tcontId: 3", "allocId: 0", "name: up", "bwProfile: default"}),
              dump(tcont));
}

TEST(RecordsDump, FieldsOfInnerRecordsBearTheirPath) {
    ov_gpon_rmservice_attr_t service{};
    service.uniPos.cardId = 1;
    service.uniPos.uniType = OV_GPON_RMUNI_TYPE_NONE;
    service.uniPos.uniId = 4;
    const Lines lines = dump(service);
    EXPECT_EQ("uniPos.cardId: 1", lines.at(2));
    EXPECT_EQ("uniPos.uniType: -1", lines.at(3));
    EXPECT_EQ("uniPos.uniId: 4", lines.at(4));
    EXPECT_EQ("mib_gem: 0000000000000000", lines.back());
}

TEST(RecordsDump, PasswordsAndKeysAreNotShown) {
    ov_gpon_onu_attr_t onu{};
    memcpy(onu.authAttr.pw, "hunter2", 7);
    memcpy(onu.authAttr.loid, "customer", 8);
    const Lines lines = dump(onu);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "authAttr.pw: ***"), lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(), "authAttr.loidPw: ***"), lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(), "authAttr.loid: customer"), lines.end());
    // A field that is named like one is marked.
    for (const HalRecordDesc* record : hal_record_descs())
        for (const HalFieldDesc& field : record->fields) {
            const std::string name = field.name == nullptr ? "" : field.name;
            const bool is_one =
                field.kind == HalFieldKind::TEXT &&
                (name == "pw" || name.find("Pw") != name.npos || name.find("Pwd") != name.npos ||
                 name.find("passw") != name.npos || name.find("Key") != name.npos);
            EXPECT_EQ(field.secret, is_one) << record->name << "." << name;
        }
}

TEST(RecordsDump, ElementsOfListsBearTheirNumber) {
    ov_gpon_rmuni_vlan_attr_t vlan{};
    vlan.vlanList.vlanGrp[11].endVlan = 4094;
    const Lines lines = dump(vlan);
    // index, three of the position, pvid, priority, mode, and twice a number with 12 ranges of two
    ASSERT_EQ(7u + 2 * (1 + 24), lines.size());
    EXPECT_EQ("vlanList.vlanGrp[11].endVlan: 4094", lines.at(7 + 24));
    EXPECT_EQ("xlateList.numVlanGrp: 0", lines.at(7 + 25));

    ov_gpon_port_attr_t port{};
    port.sched.weight[7] = 100;
    const Lines port_lines = dump(port);
    EXPECT_NE(port_lines.end(), std::ranges::find(port_lines, "sched.weight[7]: 100"));
}

TEST(RecordsDump, AddressesHaveTheirUsualForms) {
    ov_gpon_onu_iphost_attr_t host{};
    host.ipaddr = ntohl(inet_addr("10.1.2.3"));
    EXPECT_EQ("10.1.2.3", hal_field_text(field_of<ov_gpon_onu_iphost_attr_t>("ipaddr"), &host));

    ov_gpon_mcast_vlan_attr_t multicast{};
    const uint8_t group[6] = {0x01, 0x00, 0x5e, 0x0a, 0xbc, 0xff};
    memcpy(multicast.mac, group, sizeof(group));
    EXPECT_EQ("01:00:5e:0a:bc:ff", hal_field_text(field_of<ov_gpon_mcast_vlan_attr_t>("mac"), &multicast));
}

TEST(RecordsDump, ASerialNumberIsItsVendorAndEightDigits) {
    ov_gpon_onu_auth_attr_t auth{};
    const uint8_t serial[8] = {'A', 'B', 'C', 'D', 0x00, 0x1f, 0xa0, 0xff};
    memcpy(auth.sn, serial, sizeof(serial));
    EXPECT_EQ("ABCD001fa0ff", hal_field_text(field_of<ov_gpon_onu_auth_attr_t>("sn"), &auth));
}

TEST(RecordsDump, ATextWithoutTerminatorEndsWithItsField) {
    ov_gpon_tcont_attr_t tcont{};
    memset(tcont.name, 'n', sizeof(tcont.name));
    memset(tcont.bwProfile, 'p', sizeof(tcont.bwProfile));
    EXPECT_EQ(std::string(65, 'n'), hal_field_text(field_of<ov_gpon_tcont_attr_t>("name"), &tcont));
    EXPECT_EQ("bwProfile: " + std::string(65, 'p'), dump(tcont).back());
}

TEST(RecordsDump, ACardCannotForgeLinesOfTheLog) {
    ov_gpon_wanning_trap_t trap{};
    memcpy(trap.AlarmTableSystemType, "x\nFATAL \xff\\", 10);
    EXPECT_EQ("x\\x0aFATAL \\xff\\x5c",
              hal_field_text(field_of<ov_gpon_wanning_trap_t>("AlarmTableSystemType"), &trap));
}

TEST(RecordsDump, CountersAreUnsignedAndLevelsAreSigned) {
    pkt_sta_data_gem gem{};
    gem.rx_packets = UINT64_MAX;
    EXPECT_EQ("18446744073709551615", hal_field_text(field_of<pkt_sta_data_gem>("rx_packets"), &gem));

    ov_gpon_pon_optic_attr_t optic{};
    optic.rxPwr = -2750;
    EXPECT_EQ("-2750", hal_field_text(field_of<ov_gpon_pon_optic_attr_t>("rxPwr"), &optic));
    EXPECT_EQ(-2750, int64_t(hal_field_number(field_of<ov_gpon_pon_optic_attr_t>("rxPwr"), &optic)));
}

TEST(RecordsDump, AnElementBehindTheLastIsNothing) {
    ov_qos_sched_attr_t sched{};
    for (big_int32_at& weight : sched.weight)
        weight = 9;
    const HalFieldDesc& field = field_of<ov_qos_sched_attr_t>("weight");
    EXPECT_EQ(9u, hal_field_number(field, &sched, 7));
    EXPECT_EQ(0u, hal_field_number(field, &sched, 8));
    EXPECT_EQ("", hal_field_text(field, &sched, 8));
}

TEST(RecordsDump, ARecordMayStandAtAnyAddress) {
    uint8_t frame[1 + sizeof(pkt_sta_data_gem)] = {};
    frame[sizeof(frame) - 1] = 5;
    EXPECT_EQ(5u, hal_field_number(field_of<pkt_sta_data_gem>("tx_bytes"), frame + 1));
}

TEST(RecordsDump, EveryRecordCanBeDumpedWhateverItsBytes) {
    const std::vector<uint8_t> bytes(1024, 0xff);
    for (const HalRecordDesc* desc : hal_record_descs()) {
        size_t lines = 0;
        hal_record_dump(*desc, bytes.data(),
                        {[](void* context, std::string_view text) {
                             EXPECT_NE(std::string_view::npos, text.find(": "));
                             ++*static_cast<size_t*>(context);
                         },
                         &lines});
        EXPECT_GT(lines, 0u) << desc->name;
    }
}

TEST(RecordsDump, AnAttributeDumpWritesEachFieldToTheDebugLog) {
    LogTap tap;
    ov_gpon_rmflow_vlan_attr_t flow_vlan{};
    flow_vlan.onuIfindex = 7;
    flow_vlan.flowId = 2;
    flow_vlan.vlan = 100;
    ov_gpon_rmflow_vlan_attr_dump(&flow_vlan);
    EXPECT_EQ((Lines{"ov_gpon_rmflow_vlan_attr_t: onuIfindex: 7", "ov_gpon_rmflow_vlan_attr_t: flowId: 2",
                     "ov_gpon_rmflow_vlan_attr_t: vlan: 100"}),
              LogTap::lines());
}

template <class Record>
size_t logged_lines(void (*attr_dump)(const Record*)) {
    LogTap tap;
    const Record record{};
    attr_dump(&record);
    const std::string prefix = hal_record_desc_of<Record>().name + std::string(": ");
    for (const std::string& line : LogTap::lines())
        EXPECT_EQ(0u, line.find(prefix)) << line;
    EXPECT_EQ(dump(record).size(), LogTap::lines().size());
    return LogTap::lines().size();
}

TEST(RecordsDump, EachAttributeDumpLogsItsOwnRecord) {
    EXPECT_EQ(35u, logged_lines(ov_gpon_port_attr_dump)); // 19 fields, and 16 of the scheduling
    EXPECT_EQ(20u, logged_lines(ov_gpon_onu_attr_dump));  // 15 fields, and 5 of the authentication
    EXPECT_EQ(16u, logged_lines(ov_gpon_onutype_attr_dump));
    EXPECT_EQ(7u, logged_lines(ov_gpon_bwprofile_attr_dump));
    EXPECT_EQ(5u, logged_lines(ov_gpon_tcont_attr_dump));
    EXPECT_EQ(12u, logged_lines(ov_gpon_gemport_attr_dump));
    EXPECT_EQ(15u, logged_lines(ov_gpon_servport_attr_dump));
    EXPECT_EQ(9u, logged_lines(ov_gpon_rmflow_attr_dump));
    EXPECT_EQ(3u, logged_lines(ov_gpon_rmflow_vlan_attr_dump));
    EXPECT_EQ(57u, logged_lines(ov_gpon_rmuni_vlan_attr_dump));
    EXPECT_EQ(20u, logged_lines(ov_gpon_rmuni_attr_dump));
    EXPECT_EQ(10u, logged_lines(ov_gpon_rmservice_attr_dump));
    EXPECT_EQ(15u, logged_lines(ov_gpon_rmuni_mcast_attr_dump));
}

TEST(RecordsDump, ANullRecordIsPassedOver) {
    LogTap tap;
    ov_gpon_onu_attr_dump(nullptr);
    EXPECT_TRUE(LogTap::lines().empty());
}

} // namespace
