// Where objects stand: the leading index columns of their rows, and their interface indexes (ov_ifindex.h),
// each made of numbers, of a row, or of the other.
//
// Many tables begin their index with shelfID, slotID, portID, onuId. Rows of slot 31, port 15 belong to a
// service profile, whose id stands for the ONU: the template form. Below, `Row` is the record of such a
// table; a key is a record with nothing in it but these columns, as many as its name says.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ov_ifindex.h"
#include "ov_types.h"

inline constexpr int GPON_SHELF = 1;
inline constexpr int GPON_TEMPLATE_SLOT = 31;
inline constexpr int GPON_TEMPLATE_PORT = 15;
inline constexpr size_t INDEX_TO_SLOT = 2; // leading index columns of such a table
inline constexpr size_t INDEX_TO_PORT = 3;
inline constexpr size_t INDEX_TO_ONU = 4;

// ---- keys of numbers --------------------------------------------------------------------------------

template <typename Row>
Row slot_key(int32_t slot) {
    Row key = {};
    key.shelfID = GPON_SHELF;
    key.slotID = slot;
    return key;
}

template <typename Row>
Row port_key(int32_t slot, int32_t port) {
    Row key = slot_key<Row>(slot);
    key.portID = port;
    return key;
}

template <typename Row>
Row onu_key(int32_t slot, int32_t port, int32_t onu) {
    Row key = port_key<Row>(slot, port);
    key.onuId = onu;
    return key;
}

// Of the template rows of a service profile.
template <typename Row>
Row template_key(mib_ulong profile_id) {
    return onu_key<Row>(GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, static_cast<int32_t>(profile_id));
}

// ---- rows that go elsewhere -------------------------------------------------------------------------------

// To the port of an interface index, on the same shelf.
template <typename Row>
void move_to_port(Row& row, ov_ifindex_t port) {
    row.slotID = static_cast<int32_t>(ov_ifindex_get_slot_id(port));
    row.portID = static_cast<int32_t>(ov_ifindex_get_port_id(port));
}

// To the ONU that another row belongs to.
template <typename Row, typename OnuRow>
void move_to_onu(Row& row, const OnuRow& onu) {
    row.shelfID = onu.shelfID;
    row.slotID = onu.slotID;
    row.portID = onu.portID;
    row.onuId = onu.onuId;
}

// Whether a row and another table's row belong to the same ONU.
template <typename Row, typename OnuRow>
bool is_of_onu(const Row& row, const OnuRow& onu) {
    return row.shelfID == onu.shelfID && row.slotID == onu.slotID && row.portID == onu.portID &&
           row.onuId == onu.onuId;
}

// ---- keys of rows and of interface indexes ----------------------------------------------------------

// Of the port that another table's row belongs to, on that row's shelf.
template <typename Row, typename PortRow>
Row port_key(const PortRow& of) {
    Row key = port_key<Row>(of.slotID, of.portID);
    key.shelfID = of.shelfID;
    return key;
}

// Of the ONU that another table's row belongs to.
template <typename Row, typename OnuRow>
Row onu_key(const OnuRow& of) {
    Row key = port_key<Row>(of);
    key.onuId = of.onuId;
    return key;
}

// Of the port that an interface index of any kind lies on. The shelf is ours.
template <typename Row>
Row port_key_of_ifindex(ov_ifindex_t index) {
    Row key = slot_key<Row>(static_cast<int32_t>(ov_ifindex_get_slot_id(index)));
    key.portID = static_cast<int32_t>(ov_ifindex_get_port_id(index));
    return key;
}

// Of the ONU that an interface index names, or lies behind. The shelf is the index's.
template <typename Row>
Row onu_key_of_ifindex(ov_ifindex_t index) {
    Row key = {};
    key.shelfID = static_cast<int32_t>(ov_ifindex_get_shelf_id(index));
    move_to_port(key, index);
    key.onuId = static_cast<int32_t>(ov_ifindex_get_subport_id(index));
    return key;
}

// Of the service port that an interface index names: a row of servicePortTable.
template <typename Row>
Row service_port_key_of_ifindex(ov_ifindex_t index) {
    Row key = onu_key_of_ifindex<Row>(index);
    key.servicePortId = static_cast<int32_t>(ov_ifindex_get_extend1_id(index));
    return key;
}

// ---- interface indexes ------------------------------------------------------------------------------------
// Numbers are masked to their fields without any error, as in ov_ifindex.h.

// Of a port of the kind PORT_TYPE_*.
inline ov_ifindex_t port_ifindex(uint16_t kind, int32_t slot, int32_t port) {
    return ov_ifindex_gen_by_phyinfo(kind, GPON_SHELF, static_cast<uint8_t>(slot), 0,
                                     static_cast<uint16_t>(port), 0);
}

// Of an ONU (kind PORT_TYPE_GONU).
inline ov_ifindex_t onu_ifindex(int32_t slot, int32_t port, uint32_t onu) {
    return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, GPON_SHELF, static_cast<uint8_t>(slot), 0,
                                     static_cast<uint16_t>(port), static_cast<uint16_t>(onu));
}

// Of the PON port that a row belongs to (kind PORT_TYPE_GPON).
template <typename Row>
ov_ifindex_t port_ifindex_of(const Row& row) {
    return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, static_cast<uint8_t>(row.shelfID),
                                     static_cast<uint8_t>(row.slotID), 0, static_cast<uint16_t>(row.portID),
                                     0);
}

// Of the ONU that a row belongs to (kind PORT_TYPE_GONU); of template rows with their slot 31.
template <typename Row>
ov_ifindex_t onu_ifindex_of(const Row& row) {
    return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, static_cast<uint8_t>(row.shelfID),
                                     static_cast<uint8_t>(row.slotID), 0, static_cast<uint16_t>(row.portID),
                                     static_cast<uint16_t>(row.onuId));
}

// Of an object of the ONU that a row belongs to, of one of the kinds that count behind the ONU.
template <typename Row>
ov_ifindex_t ifindex_behind_onu(uint16_t kind, const Row& row, uint32_t number) {
    return ov_ifindex_gen_by_extendinfo(kind, static_cast<uint8_t>(row.shelfID),
                                        static_cast<uint8_t>(row.slotID), 0,
                                        static_cast<uint16_t>(row.portID), static_cast<uint16_t>(row.onuId),
                                        static_cast<uint16_t>(number), 0, 0);
}

// Of a GEM port of that ONU (kind PORT_TYPE_GEMPORT).
template <typename Row>
ov_ifindex_t gemport_ifindex(const Row& row, mib_ulong gem_id) {
    return ifindex_behind_onu(PORT_TYPE_GEMPORT, row, gem_id);
}

// Of a service port of that ONU (kind PORT_TYPE_GPON_SERVPORT).
template <typename Row>
ov_ifindex_t service_port_ifindex(const Row& row, mib_ulong service_port_id) {
    return ifindex_behind_onu(PORT_TYPE_GPON_SERVPORT, row, service_port_id);
}

// Of the service port that a row of servicePortTable is.
template <typename Row>
ov_ifindex_t service_port_ifindex(const Row& row) {
    return service_port_ifindex(row, static_cast<mib_ulong>(row.servicePortId));
}
