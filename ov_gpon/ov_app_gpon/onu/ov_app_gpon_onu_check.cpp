// What an ONU must be to exist: its place, its serial number, the profiles it names, and what its port has
// left.
#include <array>
#include <string_view>

#include "app_index.h"
#include "mmg_definition.h"
#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_gpon.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "sPonTable.h"

namespace {

namespace column = sOnuTable_column;
using Onu = ov_sOnuTable_attr_t;

constexpr char PASSED = 1;
constexpr char REFUSED = 0;

// The ONU makers that the brand admits: vendor codes of the serial number (ITU-T G.984.3).
constexpr std::string_view MAREVO = "MAREVO-L";
constexpr std::array<std::string_view, 10> MAREVO_VENDORS = {"MRVO", "MRVA", "MRVB", "MRVC", "MRVD",
                                                             "MRVE", "MRVF", "MRVG", "MRVH", "MRVI"};
constexpr size_t VENDOR_CODE = 4;

char refuse(const char* text) {
    OV_LOG_ERROR("MMG", "%s", text);
    return REFUSED;
}

bool sn_is_well_formed(const Onu& onu) {
    if (onu.sOnuTableSn[0] == '\0' || ov_gpon_onu_sn_is_legal(onu.sOnuTableSn))
        return true;
    ov_refusal_because_of(column::sOnuTableSn, "serial number \"%s\" isn't 4 letters and 8 hex digits",
                          onu.sOnuTableSn);
    OV_LOG_ERROR("MMG", "illegal data: %s", onu.sOnuTableSn);
    return false;
}

// The same serial number may stand on two ports: the ONU is then moved between them by its fibre.
bool sn_is_free_on_port(const Onu& onu) {
    for (const Onu& other : rows_under(onu, INDEX_TO_PORT))
        if (other.onuId != onu.onuId && ov_gpon_onu_sn_is_same(other.sOnuTableSn, onu.sOnuTableSn))
            return ov_refusal_because_of(column::sOnuTableSn,
                                         "serial number %s is that of ONU %d of the port", onu.sOnuTableSn,
                                         other.onuId);
    return true;
}

char check_new_sn(const Onu& onu) {
    if (!sn_is_well_formed(onu))
        return REFUSED;
    if (onu.sOnuTableSn[0] != '\0' && !sn_is_free_on_port(onu))
        return refuse("the onu sn have created in this pon port");
    return PASSED;
}

char check_type(Onu& onu) {
    if (ov_app_gpon_onutype_getId(onu.sOnuTableOnuTypeProfileName, &onu.sOnuTableOnuTypeProfileId) != 1) {
        ov_refusal_because_of(column::sOnuTableOnuTypeProfileName, "no ONU type \"%s\"",
                              onu.sOnuTableOnuTypeProfileName);
        return refuse("the onutype profile was not exist");
    }
    return PASSED;
}

// Reserves for a create what the service profile of a template ONU brings along, or gives it back for a
// delete: all three or none.
char reserve_templet(Onu& onu, int action) {
    if (ov_app_gpon_onu_templet_tcont_check(&onu, action) != PASSED)
        return refuse("ov_app_gpon_onu_templet_tcont_check errror");
    if (ov_app_gpon_onu_templet_gemport_check(&onu, action) != PASSED) {
        OV_LOG_ERROR("MMG", "ov_app_gpon_onu_templet_gemport_check errror");
        ov_app_gpon_onu_templet_tcont_release_reserve(&onu, action);
        return REFUSED;
    }
    if (ov_app_gpon_onu_templet_service_port_check(&onu, action) != PASSED) {
        OV_LOG_ERROR("MMG", "ov_app_gpon_onu_templet_service_port_check errror");
        ov_app_gpon_onu_templet_gemport_release_reserve(&onu, action);
        ov_app_gpon_onu_templet_tcont_release_reserve(&onu, action);
        return REFUSED;
    }
    return PASSED;
}

char check_change(Onu& onu, const MIB_Flags_t& columns) {
    if (mib_flag_is_set(columns, column::sOnuTableOmccBwProfileName) &&
        ov_app_gpon_bwtype_getId(onu.sOnuTableOmccBwProfileName, &onu.sOnuTableOmccBwProfileId) != 1) {
        ov_refusal_because_of(column::sOnuTableOmccBwProfileName, "no bandwidth profile \"%s\"",
                              onu.sOnuTableOmccBwProfileName);
        return refuse("the bwtype profile was not exist");
    }
    if (mib_flag_is_set(columns, column::sOnuTableSn) && !sn_is_well_formed(onu))
        return REFUSED;
    return mib_flag_is_set(columns, column::sOnuTableOnuTypeProfileName) ? check_type(onu) : PASSED;
}

// An ONU without profile has 0 there, and an access that means all columns means that one too.
bool names_srvprofile(const Onu& onu) {
    return onu.sOnuTableSrvProfileId != 0 || onu.sOnuTableConfigMode == SONUTABLECONFIGMODE_TEMPLET;
}

char check_create(Onu& onu, const MIB_Flags_t& columns) {
    if (!has_onu_index(onu)) {
        ov_refusal_because("index %d.%d.%d.%d is no place of an ONU", onu.shelfID, onu.slotID, onu.portID,
                           onu.onuId);
        OV_LOG_ERROR("MMG", "illega onu index:%d.%d.%d.%d:", onu.shelfID, onu.slotID, onu.portID, onu.onuId);
        return REFUSED;
    }
    if (mib_flag_is_set(columns, column::sOnuTableSn) && check_new_sn(onu) != PASSED)
        return REFUSED;
    if (mib_flag_is_set(columns, column::sOnuTableSrvProfileId) && names_srvprofile(onu) &&
        ov_app_gpon_onu_srvprofile_check(onu.sOnuTableSrvProfileId, nullptr) != 1) {
        ov_refusal_because_of(column::sOnuTableSrvProfileId, "no service profile %d",
                              static_cast<int>(onu.sOnuTableSrvProfileId));
        return refuse("the onu srv profile did not exist");
    }
    return check_type(onu);
}

} // namespace

char ov_app_gpon_onu_may_become(ov_sOnuTable_attr_t* onu, int action, MIB_Flags_t columns) {
    switch (action) {
    case OV_HAL_GPON_MSG_ACTION_SET:
        return check_change(*onu, columns);
    case OV_HAL_GPON_MSG_ACTION_CREATE:
        return check_create(*onu, columns);
    default:
        return PASSED;
    }
}

char ov_app_gpon_onu_reserve(ov_sOnuTable_attr_t* onu, int action) {
    const bool counts = action == OV_HAL_GPON_MSG_ACTION_CREATE || action == OV_HAL_GPON_MSG_ACTION_DELETE;
    return counts ? reserve_templet(*onu, action) : PASSED;
}

char ov_app_gpon_onu_check(ov_sOnuTable_attr_t* pmib_attr, int action, MIB_Flags_t column_flag) {
    return ov_app_gpon_onu_may_become(pmib_attr, action, column_flag) == PASSED
               ? ov_app_gpon_onu_reserve(pmib_attr, action)
               : REFUSED;
}

char ov_app_gpon_onu_marevo_check(const ov_sOnuTable_attr_t* attr, int action) {
    const char* vendor = ov_product_get_sysinfo_product_vender();
    if (action != OV_HAL_GPON_MSG_ACTION_CREATE || !vendor || vendor != MAREVO)
        return PASSED;
    const auto code = std::string_view(attr->sOnuTableSn).substr(0, VENDOR_CODE);
    for (const std::string_view admitted : MAREVO_VENDORS)
        if (code == admitted)
            return PASSED;
    ov_refusal_because_of(column::sOnuTableSn, "this product admits no ONU of vendor \"%.4s\"",
                          attr->sOnuTableSn);
    if (mmg_get_debug_info_flag() != 0)
        OV_LOG_ERROR("MMG", "illegal onu sn: %s, marevo check failed", attr->sOnuTableSn);
    return REFUSED;
}

int ov_app_gpon_port_autolearn_get(ov_sOnuTable_attr_t* onuAttr, int* autolearn) {
    const ov_sPonTable_attr_t* port = onuAttr ? find_row(port_key<ov_sPonTable_attr_t>(*onuAttr)) : nullptr;
    if (!port || !autolearn) {
        ov_refusal_because("its PON port isn't there");
        OV_LOG_ERROR("MMG", "mib get error for port table");
        return OV_GPON_RET_BAD_PARAM;
    }
    *autolearn = port->sPonTableAutoLearn;
    return OV_GPON_RET_OK;
}
