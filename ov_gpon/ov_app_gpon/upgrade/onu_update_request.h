// An action on the ONUs of a port, told to its card as a request: the answer comes when it comes.
//
// Main loop only.
#pragma once

#include <functional>
#include <string>

#include "hal_request.h"
#include "sOnuUpdateTable.h"

// What the row says. When that is SENT, `take` is called once, from the loop: the result is that of
// ov_hal_gpon_msg_send, and the reason why it failed is empty where the transport has stated none.
using OnuUpdateTaker = std::function<void(int result, const std::string& reason)>;
HalRequest onu_update_request(const ov_sOnuUpdateTable_attr_t& row, OnuUpdateTaker take);
