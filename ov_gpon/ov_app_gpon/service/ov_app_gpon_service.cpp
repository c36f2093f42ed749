#include "ov_app_gpon_service.h"

#include "app_resource.h"
#include "app_rows.h"
#include "app_set_callback.h"
#include "app_write_row.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_service_port.h"
#include "ov_gpon.h"

int gpon_service_appid = 0;

namespace {

using Service = ov_sServiceTable_attr_t;
namespace column = sServiceTable_column;

void fill_ifindex(Service& row) {
    if (row.sServiceTableIfIndex == 0)
        row.sServiceTableIfIndex = service_port_ifindex(row, row.serviceID);
}

bool service_admits(RowChange<Service>& change) {
    return ov_app_gpon_owner_admits(change.row);
}

bool service_reserve(RowChange<Service>& change) {
    return reserve_one(SRVPORT_LIMIT_INDEX, change.row, change.action);
}

ov_ifindex_t gem_index_of(const Service& row) {
    return gemport_ifindex(row, row.sServiceTableGemID);
}
int32_t no_mapping_of(const Service& /*row*/) {
    return -1;
}

// None of these has an attribute that can be set alone.
using Row = Service;
using Record = ov_gpon_servport_attr_t;
constexpr MapLine SERVICE_LINES[] = {
    UNMASKED(sServiceTableIfIndex, ifindex),     WIRE_ONLY(gemIfndex, gem_index_of),
    UNMASKED(sServiceTablecTagO, vlan),          UNMASKED(sServiceTablecTagI, user_vlan),
    UNMASKED(sServiceTablesTagO, svlan),         WIRE_ONLY(cosq_map, no_mapping_of),
    UNMASKED(sServiceTableDwnQueueMapID, queue),
};

} // namespace

constinit const MessageMap<ov_sServiceTable_attr_t, ov_gpon_servport_attr_t> service_map(SERVICE_LINES);

void ov_app_gpon_service_init() {
    gpon_service_appid = AssignAppId();
    const CallbackRegistration registration = {"app_gemport", gpon_service_appid,
                                               "service: register callback failed"};
    registration.add(SSERVICE, CALLBACK_SET, ov_service_table_set_callback, mibDefFlags);
}

int ov_app_gpon_service_add(ov_sServiceTable_attr_t* attr, MIB_Flags_t* flag) {
    if (attr && flag) {
        fill_ifindex(*attr);
        attr->sServiceTableRowStatus = OVRA_CREATEANDGO;
        mib_flag_set(*flag, column::sServiceTableIfIndex);
        mib_flag_set(*flag, column::sServiceTableRowStatus);
    }
    return write_row(MIB_SET, attr, flag, gpon_service_appid, "mib add error for service table");
}

int ov_app_gpon_service_edit(ov_sServiceTable_attr_t* attr, MIB_Flags_t* flag) {
    return write_row(MIB_SET, attr, flag, gpon_service_appid, "mib set error for service table");
}

int ov_app_gpon_service_del(ov_sServiceTable_attr_t* attr) {
    return write_row(MIB_DEL, attr, &mibDefFlags, gpon_service_appid, "mib del error for service table");
}

char ov_app_gpon_service_check(ov_sServiceTable_attr_t* attr, int action, MIB_Flags_t /*flag*/) {
    return ov_app_gpon_owner_admits(*attr) && reserve_one(SRVPORT_LIMIT_INDEX, *attr, action) ? 1 : 0;
}

void sservice_mib_data_convert_to_hal(ov_sServiceTable_attr_t* mib, ov_gpon_servport_attr_t* hal,
                                      const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    service_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

int ov_service_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Service, ov_gpon_servport_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_SERVPORT,
        .map = &service_map,
        .prepare = fill_ifindex,
        .check = service_admits,
        .reserve = service_reserve,
        .dumps = true,
        .give_back = give_back_one<SRVPORT_LIMIT_INDEX>,
        .failure = "set service to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}
