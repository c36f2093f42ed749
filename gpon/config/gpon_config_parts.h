// The parts that a saved configuration is put together from; config_parts.def lists them and tells what each
// owes.
#pragma once

#include "sOnuTable.h"
#include "sPonTable.h"

struct vty;

// An ONU whose commands are printed: its place, and its row. For a service profile the place is that of its
// template rows and there is no row.
struct gpon_config_onu_t {
    mib_long slotID;
    mib_long portID;
    mib_long onuId;
    const ov_sOnuTable_attr_t* row;
};

#define CONFIG_PART(block, function) int function(struct vty* vty);
#define PORT_PART(function) int function(struct vty* vty, const ov_sPonTable_attr_t& port);
#define ONU_PART(function) int function(struct vty* vty, const gpon_config_onu_t& onu);
#include "config_parts.def"
#undef CONFIG_PART
#undef PORT_PART
#undef ONU_PART

// Whether a text can stand in a command line, as cli_is_word says.
bool gpon_config_is_word(const char* text);
