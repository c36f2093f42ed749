// QoS on the test chassis: rows as a manager writes them, messages without action and mask, ONUs with so many
// queues.
#pragma once

#include <gmock/gmock.h>

#include <set>
#include <string>

#include "../support/provisioning_chassis.h"
#include "app_text.h"
#include "cosQueueMappingProfileTable.h"
#include "cosToCosProfileTable.h"
#include "onuQosTable.h"
#include "ov_app_gpon_onu.h"
#include "ov_hal_qos_msg.h"
#include "ponPortQosTable.h"
#include "portQosTable.h"
#include "qosSchedulerProfileTable.h"
#include "qosTrafficProfileTable.h"
#include "table_record.h"

namespace qos_test {

using provisioning::logged;
using provisioning::SLOT;
using SchedRow = ov_qosSchedulerProfileTable_attr_t;
using CosqRow = ov_cosQueueMappingProfileTable_attr_t;
using TrafficRow = ov_qosTrafficProfileTable_attr_t;
using CosRow = ov_cosToCosProfileTable_attr_t;
using PonQosRow = ov_ponPortQosTable_attr_t;
using UplinkQosRow = ov_portQosTable_attr_t;
using OnuQosRow = ov_onuQosTable_attr_t;

inline constexpr int PORT = 4;
inline constexpr int OTHER_PORT = 5;
inline constexpr int UPLINK_SLOT = 8;  // of the control card
inline constexpr uint32_t REFUSED = 1; // a card's return code

// ---- messages ---------------------------------------------------------------------------------------------

// The record of a message that has neither action nor mask.
template <typename Record>
Record plain(const CardMessage& message) {
    wire::Bytes bytes;
    wire::put32(bytes, 0, static_cast<uint32_t>(message.action));
    wire::put32(bytes, 4, message.mask);
    bytes.insert(bytes.end(), message.bytes.begin(), message.bytes.end());
    EXPECT_EQ(bytes.size(), sizeof(Record));
    Record record = {};
    std::memcpy(static_cast<void*>(&record), bytes.data(), std::min(bytes.size(), sizeof record));
    return record;
}

inline std::vector<int> types(const std::vector<CardMessage>& messages) {
    std::vector<int> all;
    for (const CardMessage& message : messages)
        all.push_back(message.type);
    return all;
}
inline std::vector<int> types(const AppChassis& chassis, size_t at_least = 0) {
    return types(chassis.messages(at_least));
}

// ---- rows of a manager ------------------------------------------------------------------------------------

// All columns of a row that isn't there yet.
template <typename Row>
bool create(Row row) {
    set_row_status(table_of<Row>::module().desc(), &row, OVRA_CREATEANDGO);
    return mib_access(MIB_SET, row);
}
template <typename Row>
bool destroy(Row key) {
    return mib_access(MIB_DEL, key);
}
template <typename Row, typename... Column>
bool set(Row row, Column... columns) {
    return mib_access(MIB_SET, row, columns_of(columns...));
}

// With the values that a row starts with.
template <typename Row, typename... Index>
Row fresh(Index... index) {
    TableModule& table = table_of<Row>::module();
    Row row = {};
    table.set_index_at(&row, index...);
    for (const ColumnDesc& column : table.desc().columns)
        if (column.type == ColType::INT || column.type == ColType::UINT)
            record_put(&row, column.offset, static_cast<int32_t>(column.dflt));
    return row;
}
inline SchedRow sched(int id, uint32_t modes = 0x11111111) {
    auto row = fresh<SchedRow>(GPON_SHELF, id);
    row.qosSchedulerProfileQueueScheduleMode = modes;
    return row;
}
// COS 0 to queue `first`, the others to queue 0.
inline CosqRow cosq(int id, int first) {
    auto row = fresh<CosqRow>(GPON_SHELF, id);
    row.cosQueueMappingCos0Queue = first;
    return row;
}
// The bandwidths of queue 0; the other queues have none.
inline TrafficRow traffic(int id, int min = 0, int max = 0) {
    auto row = fresh<TrafficRow>(GPON_SHELF, id);
    row.qosTrafficQueue0MinBw = min;
    row.qosTrafficQueue0MaxBw = max;
    return row;
}
// COS 7 to `last`, the others to 0.
inline CosRow cos_map(int id, int last) {
    auto row = fresh<CosRow>(GPON_SHELF, id);
    row.cos7ToCos = last;
    return row;
}

// A profile of each kind with this id, all unlike any other.
inline void add_profiles(int id) {
    ASSERT_TRUE(create(sched(id)));
    ASSERT_TRUE(create(traffic(id)));
    ASSERT_TRUE(id > 4 || create(cosq(id, id)));
    ASSERT_TRUE(id > 7 || create(cos_map(id, id)));
}

// ---- ports and ONUs ---------------------------------------------------------------------------------------

inline ov_ifindex_t pon(int port = PORT) {
    return port_ifindex(PORT_TYPE_GPON, SLOT, port);
}
inline ov_ifindex_t onu(int id, int port = PORT) {
    return onu_ifindex(SLOT, port, static_cast<uint32_t>(id));
}
inline ov_app_port_qos_s* pon_qos(int port = PORT) {
    return ov_app_find_port_qos_by_ifindex(pon(port));
}
inline ov_app_onu_qos_s* onu_qos(int id, int port = PORT) {
    return ov_app_find_onu_qos_by_ifindex(onu(id, port));
}
inline PonQosRow pon_key(int port = PORT) {
    return port_key<PonQosRow>(SLOT, port);
}
inline OnuQosRow onu_key_at(int id, int port = PORT) {
    return onu_key<OnuQosRow>(SLOT, port, id);
}

inline void add_port(ov_ifindex_t ifindex) {
    auto* qos = ov_app_port_qos_new();
    ASSERT_EQ(ov_app_port_qos_edit_ifindex(qos, ifindex), OV_QOS_OK);
    ASSERT_EQ(ov_app_port_qos_add(qos, SYNC_EVERY_COPY), OV_QOS_OK);
}

// An ONU type with so many queues, by name: "q8" has 8.
inline void put_type(const AppChassis& chassis, int queues) {
    const std::string name = "q" + std::to_string(queues);
    chassis.put_row<ov_sOnuTypeProfileTable_attr_t>(
        [&](auto& row) {
            set_text(row.onuTypeProfileName, name);
            row.sOnuTypeProfileTableUpQueueNum = queues;
            row.sOnuTypeProfileTableDwnQueueNum = queues;
        },
        BKDRHash(name.c_str(), static_cast<int>(name.size())));
}
// As a manager does: the ONU's callbacks run.
inline bool add_onu(int id, int queues = 8, int port = PORT) {
    auto row = fresh<ov_sOnuTable_attr_t>(GPON_SHELF, SLOT, port, id);
    row.sOnuTableAuthMode = OV_GPON_ONU_AUTH_MODE_SN;
    const std::string serial = "GPON0000" + std::to_string(1000 + port) + std::to_string(1000 + id);
    set_text(row.sOnuTableSn, serial.substr(0, 4) + serial.substr(serial.size() - 8));
    set_text(row.sOnuTableOnuTypeProfileName, "q" + std::to_string(queues));
    MIB_Flags_t columns = columns_of(sOnuTable_column::sOnuTableAuthMode, sOnuTable_column::sOnuTableSn,
                                     sOnuTable_column::sOnuTableOnuTypeProfileName);
    return ov_app_gpon_onu_add(&row, &columns, 1) == 0;
}
inline bool del_onu(int id, int port = PORT) {
    auto key = onu_key<ov_sOnuTable_attr_t>(SLOT, port, id);
    return mib_access(MIB_DEL, key);
}

// ONU types of 1, 2, 3, 4 and 8 queues, PON ports 4 and 5, whose coming nobody looks at.
inline void run(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&body](AppChassis& chassis) {
        ASSERT_EQ(ov_pon_protect_group_pon_status_init(), KAVO_OK);
        for (const int queues : {1, 2, 3, 4, 8})
            put_type(chassis, queues);
        for (const int port : {PORT, OTHER_PORT}) {
            chassis.put_port(port);
            add_port(pon(port));
        }
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

inline uint32_t uses(qos_profile_kind_e kind, uint32_t id) {
    return g_qos_profile_use_cnt[kind][id];
}

} // namespace qos_test
