// One engine for what names QoS profiles: ports, ONUs, service ports. A kind of binding is data: its values
// with their former twins, which bit of sflag notes a change of each, which profiles are counted, what isn't
// taken back, and how the values stand in rows.
//
// The former twin is what the card has and what the use counters know. It follows the value when the card has
// taken that, and the value goes back to it when the card has refused.
#pragma once

#include <span>

#include "app_rows.h"
#include "ov_app_gpon_qos.h"
#include "ov_product_log.h"
#include "qos_rows.h"
#include "qos_use.h"

template <typename Object>
struct QosField {
    unsigned bit; // of sflag
    uint32_t& (*value)(Object&);
    uint32_t& (*before)(Object&);
    qos_profile_kind_e profile = QOS_PROFILE_KINDS; // whose id it is; QOS_PROFILE_KINDS: it is no id
    bool counts_default = true;                     // a change to profile 0 counts too
    bool taken_back = true;                         // when the card refuses

    constexpr bool is_profile() const { return profile != QOS_PROFILE_KINDS; }
    constexpr bool is_in(uint32_t changed) const { return (changed >> bit & 1u) != 0; }

    template <auto value, auto before>
    static constexpr QosField of(unsigned bit) {
        return {bit, [](Object& object) -> uint32_t& { return object.*value; },
                [](Object& object) -> uint32_t& { return object.*before; }};
    }
    template <auto value, auto before, qos_link_e link>
    static constexpr QosField of_link(unsigned bit) {
        return {bit, [](Object& object) -> uint32_t& { return (object.*value)[link]; },
                [](Object& object) -> uint32_t& { return (object.*before)[link]; }};
    }
    constexpr QosField naming(qos_profile_kind_e kind) const {
        QosField field = *this;
        field.profile = kind;
        field.counts_default = kind != QOS_PROFILE_COS_TO_COS;
        return field;
    }
    constexpr QosField kept_on_refusal() const {
        QosField field = *this;
        field.taken_back = false;
        return field;
    }
};

template <typename Object>
using QosFields = std::span<const QosField<Object>>;

// ---- changes ----------------------------------------------------------------------------------------------

template <typename Object>
void qos_binding_change(Object& object, const QosField<Object>& field, uint32_t value) {
    field.value(object) = value;
    object.sflag |= 1u << field.bit;
}

// The same for an object that may be null and a profile that may not exist: OV_QOS_RET.
template <typename Object>
int qos_binding_edit(Object* object, const QosField<Object>& field, uint32_t value) {
    if (object == nullptr)
        return OV_QOS_ERR;
    if (field.is_profile())
        if (const int result = qos_profile_must_exist(field.profile, value); result != OV_QOS_OK)
            return result;
    qos_binding_change(*object, field, value);
    return OV_QOS_OK;
}

// The card has taken these changes: moves the use counters.
template <typename Object>
void qos_binding_taken(const QosFields<Object>& fields, Object& object, uint32_t changed) {
    for (const QosField<Object>& field : fields) {
        if (!field.is_in(changed))
            continue;
        const uint32_t value = field.value(object);
        uint32_t& before = field.before(object);
        if (field.is_profile()) {
            if (value != OV_QOS_DEFAULT_INDEX_ID || field.counts_default)
                qos_profile_use(field.profile, value);
            if (before != OV_QOS_DEFAULT_INDEX_ID)
                qos_profile_leave(field.profile, before);
        }
        before = value;
    }
}

// The card has refused these changes.
template <typename Object>
void qos_binding_roll_back(const QosFields<Object>& fields, Object& object, uint32_t changed) {
    for (const QosField<Object>& field : fields)
        if (field.is_in(changed) && field.taken_back)
            field.value(object) = field.before(object);
}

// What the object holds is how it starts; nobody is told.
template <typename Object>
void qos_binding_start(const QosFields<Object>& fields, Object& object) {
    for (const QosField<Object>& field : fields)
        field.before(object) = field.value(object);
    object.sflag = 0;
}

// It enters the list, or leaves it: its profiles are bound, or free.
template <typename Object>
void qos_binding_enter(const QosFields<Object>& fields, Object& object) {
    qos_binding_start(fields, object);
    for (const QosField<Object>& field : fields)
        if (field.is_profile() && field.before(object) != OV_QOS_DEFAULT_INDEX_ID)
            qos_profile_use(field.profile, field.before(object));
}

template <typename Object>
void qos_binding_leave(const QosFields<Object>& fields, Object& object) {
    for (const QosField<Object>& field : fields) {
        if (!field.is_profile())
            continue;
        uint32_t& before = field.before(object);
        if (before != OV_QOS_DEFAULT_INDEX_ID)
            qos_profile_leave(field.profile, before);
        before = OV_QOS_DEFAULT_INDEX_ID;
    }
}

// ---- rows -------------------------------------------------------------------------------------------------

template <typename Object, typename Row>
struct QosColumn {
    QosField<Object> field;
    uint32_t (*in_row)(const Row&);
    void (*to_row)(Row&, uint32_t);
    int (*edit)(Object*, uint32_t); // OV_QOS_RET

    template <auto column>
    static constexpr QosColumn of(const QosField<Object>& field, int (*edit)(Object*, uint32_t)) {
        return {field, [](const Row& row) { return static_cast<uint32_t>(row.*column); },
                [](Row& row, uint32_t number) {
                    row.*column = static_cast<std::remove_reference_t<decltype(row.*column)>>(number);
                },
                edit};
    }
    // Whether the row brings a change: also what the card has refused is one again.
    bool changes(const Row& row, Object& object) const {
        return in_row(row) != field.value(object) || in_row(row) != field.before(object);
    }
};

// The values of a row that differ from the object's become the object's, as changes. False when one can't be,
// and then nothing has changed.
template <typename Object, typename Row>
bool qos_binding_take_row(std::span<const QosColumn<Object, Row>> columns, const Row& row, Object& object) {
    const Object kept = object;
    for (const auto& column : columns)
        if (column.changes(row, object) && column.edit(&object, column.in_row(row)) != OV_QOS_OK) {
            object = kept;
            return false;
        }
    return true;
}

// The same of a row that was there before the object; what can't be is passed over.
template <typename Object, typename Row>
void qos_binding_adopt_row(std::span<const QosColumn<Object, Row>> columns, const Row& row, Object& object) {
    for (const auto& column : columns)
        if (column.changes(row, object) && column.edit(&object, column.in_row(row)) != OV_QOS_OK)
            OV_LOG_ERROR("QOS", "%s of %#x: value %u is passed over", table_of<Row>::module().name(),
                         static_cast<unsigned>(object.ifindex), static_cast<unsigned>(column.in_row(row)));
}

template <typename Object, typename Row>
void qos_binding_fill_row(std::span<const QosColumn<Object, Row>> columns, Object& object, Row& row) {
    for (const auto& column : columns)
        column.to_row(row, column.field.value(object));
}
