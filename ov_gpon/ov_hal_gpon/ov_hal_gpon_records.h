// The attribute records of the messages between the daemon and the line cards, as they stand on the wire.
//
// The records are described in records/*.def, one line for each field with its offset:
//
//   HAL_RECORD(ov_gpon_tcont_attr_t, 144)      opens a record of 144 bytes
//   HAL_FIELD(4, tcontId, U32)                 a field at offset 4; the type is one of hal_wire_type.h
//   HAL_PAD(142, 2)                            two bytes without meaning
//   HAL_END(ov_gpon_tcont_attr_t)              closes it
//
// From the same lines come the structs here, the checks of their layout and the descriptors of
// hal_record_desc.h.
//
// Every byte of a record belongs to a field, gaps included, so `ov_gpon_tcont_attr_t attr{};` is all zeros
// and nothing of our memory leaves with it. Fields convert by themselves: `attr.tcontId = 3`. Texts from a
// card need not be terminated: read them with strnlen() of the field's size.
#pragma once

#include "hal_wire_type.h"
#include "ov_hal_gpon_attr_index.h"
#include "ov_hal_gpon_enums.h"

#define HAL_RECORD(record, size) struct record {
#define HAL_FIELD(offset, field, ...) hal_type::__VA_ARGS__::storage field;
#define HAL_PAD(offset, size) hal_type::PAD<size>::storage pad_at_##offset;
// clang-format off
#define HAL_END(record) };
// clang-format on
#include "records/all.def"
