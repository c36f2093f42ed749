#include "ov_app_gpon_onusrv_batch_mask.h"

#include "app_columns.h"
#include "app_row_settings.h"

namespace {

// ---- service ports ----------------------------------------------------------------------------------------

using ServicePort = ov_servicePortTable_attr_t;

struct Copied {
    unsigned column;
    mib_long ServicePort::*value;
    mib_long but; // the value that isn't copied
};

constexpr Copied COPIED[] = {
    {servicePortTable_column::servicePortVlan, &ServicePort::servicePortVlan, 0},
    {servicePortTable_column::servicePortSvlan, &ServicePort::servicePortSvlan, 0},
    {servicePortTable_column::servicePortUserVlan, &ServicePort::servicePortUserVlan, 0},
    {servicePortTable_column::servicePortInnerVlan, &ServicePort::servicePortInnerVlan, 0},
    {servicePortTable_column::servicePortVlanPrio, &ServicePort::servicePortVlanPrio, 0},
    {servicePortTable_column::servicePortSvlanPrio, &ServicePort::servicePortSvlanPrio, 0},
    {servicePortTable_column::servicePortVlanPrioAction, &ServicePort::servicePortVlanPrioAction,
     SERVICEPORTVLANPRIOACTION_COPY},
    {servicePortTable_column::servicePortSvlanPrioAction, &ServicePort::servicePortSvlanPrioAction,
     SERVICEPORTSVLANPRIOACTION_COPY},
};

constexpr unsigned SERVICE_PORT_NUMBER = 1; // an index column

} // namespace

MIB_Flags_t ov_gpon_tcont_mibmask_get(const ov_sTcontTable_attr_t& row) {
    MIB_Flags_t columns = {};
    if (row.sTcontTableTcontName[0] != '\0')
        mib_flag_set(columns, sTcontTable_column::sTcontTableTcontName);
    if (row.sTcontTableBwProfileName[0] != '\0')
        mib_flag_set(columns, sTcontTable_column::sTcontTableBwProfileName);
    return columns;
}

MIB_Flags_t ov_gpon_service_port_mibmask_get(const ov_servicePortTable_attr_t& row) {
    MIB_Flags_t columns = columns_of(SERVICE_PORT_NUMBER, servicePortTable_column::servicePortGemId,
                                     servicePortTable_column::servicePortVlanAction);
    for (const Copied& copied : COPIED)
        if (row.*copied.value != copied.but)
            mib_flag_set(columns, copied.column);
    return columns;
}

MIB_Flags_t ov_gpon_rmuni_vlan_mibmask_get(const ov_sRmUniVlanTable_attr_t& row) {
    return settings_of(row);
}

MIB_Flags_t ov_gpon_onupoe_mibmask_get(const ov_sRmOnuPoeTable_attr_t& row) {
    return settings_of(row);
}

MIB_Flags_t ov_gpon_unipoe_mibmask_get(const ov_sRmUniPoeTable_attr_t& row) {
    return settings_of(row);
}
