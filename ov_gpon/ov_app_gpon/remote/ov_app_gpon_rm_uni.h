// Rows behind an ONU that stand for its UNIs: which there are, as the ONU's type says, and where one is in
// the records of the cards. They come and go with the ONU, and with a service profile in its place.
//
// Main loop only; the rows' table is written while the owner's is locked, never the other way about.
#pragma once

#include <cstdint>
#include <span>

#include "app_follow_rows.h"
#include "app_index.h"
#include "ov_app_gpon_owner.h"
#include "ov_hal_gpon_enums.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTypeProfileTable.h"

// ---- where a UNI is ---------------------------------------------------------------------------------------

// The index columns that say which UNI a row belongs to; a table that has other names for them states these.
template <typename Row>
struct UniIndex {
    static constexpr auto CARD = &Row::onuCardID;
    static constexpr auto KIND = &Row::onuPortType;
    static constexpr auto PORT = &Row::onuPortID;
};

// A UNI's place in a record: what its row's index says. A line of a map: WIRE_INTO(uniPos, fill_uni_place).
template <typename Row, typename Record>
void fill_uni_place(const Row& row, Record& record) {
    record.uniPos.cardId = static_cast<uint16_t>(row.*UniIndex<Row>::CARD);
    record.uniPos.uniType = row.*UniIndex<Row>::KIND;
    record.uniPos.uniId = static_cast<uint16_t>(row.*UniIndex<Row>::PORT);
}

// The index of the UNI that a record means.
template <typename Row, typename Record>
Row uni_key_of_record(const Record& record) {
    auto key = onu_key_of_ifindex<Row>(record.onuIfindex);
    key.onuCardID = record.uniPos.cardId;
    key.onuPortType = record.uniPos.uniType;
    key.onuPortID = record.uniPos.uniId;
    return key;
}

// The index of the UNI that another table's row stands for.
template <typename Row, typename UniRow>
Row uni_key(const UniRow& of) {
    auto key = onu_key<Row>(of);
    key.onuCardID = of.onuCardID;
    key.onuPortType = of.onuPortType;
    key.onuPortID = of.onuPortID;
    return key;
}

// A card's number and a port's are one byte each in the ONU (ITU-T G.988).
inline constexpr mib_long UNI_NUMBER_MAX = 255;

// Whether it is a place that an ONU can have. A record holds the numbers in 16 bits: port 65537 would be
// port 1.
template <typename Row>
bool is_uni_place(const Row& row) {
    return fits(row.*UniIndex<Row>::CARD, UNI_NUMBER_MAX) && fits(row.*UniIndex<Row>::PORT, UNI_NUMBER_MAX);
}

// Whether the row's UNI can be asked: of an ONU in operation, at a place that managers haven't made up.
template <typename Row>
Asked ov_app_gpon_asked_of_uni(const Row& row) {
    return is_uni_place(row) ? ov_app_gpon_asked_of_onu(row) : Asked::NO;
}

// ---- which UNIs there are ---------------------------------------------------------------------------------

// The UNIs of one kind: `ports` of them on each of `cards` cards, both numbers of the ONU type.
struct UniKind {
    using Number = mib_long ov_sOnuTypeProfileTable_attr_t::*;

    ov_gpon_rmuni_type_t type;
    Number ports;        // null: one
    Number cards;        // null: one
    const char* failure; // logged when a row of them can't be added
};

template <typename Row>
struct UniRows {
    std::span<const UniKind> kinds; // in the order in which their rows are made
    const int* appid;               // of the accesses
    const char* no_type;            // logged when the ONU's type isn't there
    const char* left;               // logged when a row can't be removed
};

// The ONU type of that id, or, when that is 0, of that name; null behind a log line when there is none,
// `no_type` for the id.
const ov_sOnuTypeProfileTable_attr_t* ov_app_gpon_rm_onutype(mib_ulong id, const char* name,
                                                             const char* no_type);
// Whether an ONU type's numbers of this kind are such that an ONU can have them; states which isn't.
bool ov_app_gpon_rm_uni_fits(const UniKind& kind, const ov_sOnuTypeProfileTable_attr_t& type);

template <typename Row>
bool add_uni(const UniRows<Row>& rows, const UniKind& kind, const ov_sOnuTable_attr_t& owner, mib_long card,
             mib_long port) {
    auto row = onu_key<Row>(owner);
    row.*UniIndex<Row>::CARD = static_cast<mib_ulong>(card);
    row.*UniIndex<Row>::KIND = kind.type;
    row.*UniIndex<Row>::PORT = static_cast<mib_ulong>(port);
    return mib_access(MIB_CREATEGO_N, row, mibDefFlags, *rows.appid) ||
           ov_refusal_because("UNI %d/%d of kind %d can't be added", card, port, static_cast<int>(kind.type));
}

template <typename Row>
bool add_unis_of(const UniRows<Row>& rows, const UniKind& kind, const ov_sOnuTable_attr_t& owner,
                 const ov_sOnuTypeProfileTable_attr_t& type) {
    const mib_long ports = kind.ports ? type.*kind.ports : 1;
    const mib_long cards = kind.cards ? type.*kind.cards : 1;
    bool added = ov_app_gpon_rm_uni_fits(kind, type);
    for (mib_long port = 1; added && port <= ports; ++port)
        for (mib_long card = 1; added && card <= cards; ++card)
            added = add_uni(rows, kind, owner, card, port);
    if (!added)
        OV_LOG_ERROR("MMG", "%s", kind.failure);
    return added;
}

// Adds the rows of an owner, which is of that type. False at the first that fails, those before it stay.
template <typename Row>
bool add_unis(const UniRows<Row>& rows, const ov_sOnuTable_attr_t& owner, mib_ulong type_id,
              const char* type_name) {
    const auto* type = ov_app_gpon_rm_onutype(type_id, type_name, rows.no_type);
    if (type == nullptr)
        return false;
    for (const UniKind& kind : rows.kinds)
        if (!add_unis_of(rows, kind, owner, *type))
            return false;
    return true;
}

// Removes all rows of an owner. False at the first that can't be removed.
template <typename Row>
bool remove_unis(const UniRows<Row>& rows, const ov_sOnuTable_attr_t& owner) {
    const OwnedRows<Row> owned = {.appid = rows.appid, .stops = true};
    if (remove_owned_rows(owned, owner))
        return true;
    OV_LOG_ERROR("MMG", "%s", rows.left);
    return false;
}

// The set callbacks on the tables of the owners.
template <typename Row>
int unis_follow_onu(const UniRows<Row>& rows, MIBDID did, void* pending) {
    const auto& onu = *static_cast<const ov_sOnuTable_attr_t*>(pending);
    const int mode = MibRowStatusGet(did, pending);
    const bool followed =
        mode == MODE_CRE ? add_unis(rows, onu, onu.sOnuTableOnuTypeProfileId, onu.sOnuTableOnuTypeProfileName)
        : mode == MODE_DEL ? remove_unis(rows, onu)
                           : true;
    return followed ? SET_ACCEPTED : SET_REFUSED;
}

template <typename Row>
int unis_follow_profile(const UniRows<Row>& rows, MIBDID did, void* pending) {
    const auto& profile = *static_cast<const ov_sOnuSrvProfileTable_attr_t*>(pending);
    const auto owner = ov_app_gpon_template_owner(profile);
    const int mode = MibRowStatusGet(did, pending);
    const bool followed = mode == MODE_CRE   ? add_unis(rows, owner, 0, profile.sOnuTypeProfileName)
                          : mode == MODE_DEL ? remove_unis(rows, owner)
                                             : true;
    return followed ? SET_ACCEPTED : SET_REFUSED;
}
