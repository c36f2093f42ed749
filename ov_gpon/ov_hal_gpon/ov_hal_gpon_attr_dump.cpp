#include "ov_hal_gpon_attr_dump.h"

#include "hal_record_dump.h"

namespace {

template <class Record>
void log_record(const Record* record) {
    if (record != nullptr)
        hal_record_log(hal_record_desc_of<Record>(), record);
}

} // namespace

void ov_gpon_port_attr_dump(const ov_gpon_port_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_onu_attr_dump(const ov_gpon_onu_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_onutype_attr_dump(const ov_gpon_onutype_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_bwprofile_attr_dump(const ov_gpon_bwprofile_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_tcont_attr_dump(const ov_gpon_tcont_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_gemport_attr_dump(const ov_gpon_gemport_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_servport_attr_dump(const ov_gpon_service_port_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_rmflow_attr_dump(const ov_gpon_rmflow_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_rmflow_vlan_attr_dump(const ov_gpon_rmflow_vlan_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_rmuni_vlan_attr_dump(const ov_gpon_rmuni_vlan_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_rmuni_attr_dump(const ov_gpon_rmuni_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_rmservice_attr_dump(const ov_gpon_rmservice_attr_t* attr) {
    log_record(attr);
}

void ov_gpon_rmuni_mcast_attr_dump(const ov_gpon_rmuni_mcast_attr_t* attr) {
    log_record(attr);
}
