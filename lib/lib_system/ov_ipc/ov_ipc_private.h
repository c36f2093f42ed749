// Sub ids of the client and server scheme: one number space for all slots and applications of a chassis.
#pragma once

#include <cstdint>

// slot 0 to 99, app 0 to 999.
constexpr uint32_t ov_ipc_private_get_client_recv_subid(uint32_t slot, uint32_t app) {
    return slot * 1000 + 1000000 + app;
}
constexpr uint32_t ov_ipc_private_get_client_send_subid(uint32_t slot, uint32_t app) {
    return slot * 1000 + 1100000 + app;
}
// The sub id under which the client with this sending sub id receives.
constexpr uint32_t ov_ipc_private_get_recv_subid_by_send_subid(uint32_t subid) {
    return subid - 100000;
}
constexpr uint32_t ov_ipc_private_get_server_recv_subid(uint32_t slot) {
    return slot + 1200000;
}
constexpr uint32_t ov_ipc_private_get_server_send_subid(uint32_t slot) {
    return slot + 1300000;
}
