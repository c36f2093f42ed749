// The numbers of the records' attributes, OV_GPON_TCONT_ATTR_INDEX_name and the like: bits of the mask that
// travels in front of a record. They stand in records/attributes.def, with the field of each. What a bit is
// to a card, hal_record_desc.h tells (hal_record_attributes).
#pragma once

#include <cstdint>

// clang-format off
#define HAL_ATTRIBUTES(record) enum : int32_t {
#define HAL_ATTRIBUTE(bit, attribute, field) attribute = (bit),
#define HAL_ATTRIBUTES_END(bit, attribute) attribute = (bit) };
// clang-format on
#include "records/attributes.def"

// Of ov_gpon_qinq_attr_t; they say what to do, not which attributes count.
enum : int32_t {
    OV_GPON_QINQ_ATTR_INDEX_add = 1,
    OV_GPON_QINQ_ATTR_INDEX_del = 2,
    OV_GPON_QINQ_ATTR_INDEX_MAX = 3,
};
