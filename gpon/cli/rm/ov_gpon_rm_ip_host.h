// Which addresses an ONU's IP host can have: those that an ONU could use.
//
//   address         of a host, and neither the first nor the last of its network
//   netmask         ones, then zeros (RFC 950), neither none nor all 32 of them
//   gateway         another host of the same network, or 0.0.0.0 for none
//   DNS servers     of a host, or 0.0.0.0 for none
#pragma once

#include "sRmIPHostTable.h"

struct RmAddressFault {
    const char* text;   // what refuses it, as CliCall::fail takes it
    const char* reason; // in an operator's words
};

// What is wrong with the addresses of a static IP host, null for nothing. The fault lives on.
const RmAddressFault* gpon_rm_address_fault(const ov_sRmIPHostTable_attr_t& host);
