// Rows that stand for the POTS ports of an ONU.
#pragma once

#include "ov_app_gpon_rm_uni.h"

inline constexpr UniKind POTS_KINDS[] = {
    {OV_GPON_RMUNI_TYPE_POTS, &ov_sOnuTypeProfileTable_attr_t::sOnuTypeProfileTablePotsNum,
     &ov_sOnuTypeProfileTable_attr_t::sOnuTypeProfileTableCardNum, "can't add ONUPORTTYPE_POTS"},
};
