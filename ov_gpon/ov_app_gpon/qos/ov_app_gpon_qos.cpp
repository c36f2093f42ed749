#include "ov_app_gpon_qos.h"

void ov_app_gpon_qos_init() {
    // TODO: the profiles, and the objects of ports, PON ports and ONUs
    ov_app_service_port_qos_init();
}
