// Which rows of ONUs and of what they have can be written as commands. A manager can make rows that no
// command can: with texts that are no words or longer than commands take, numbers beyond their ranges,
// combinations that no form has. A line that says less than its row would give another service when it is
// replayed, with a weaker authentication perhaps, or without a limit; so such a row has no line, and what
// rests on it has none either, which the log says. A label that can't be written is left out by itself.
#pragma once

#include <cstddef>
#include <string>

#include "app_key.h"
#include "gpon_cli.h"
#include "gpon_config_parts.h"
#include "sGemTable.h"
#include "sOnuTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

// A record of another table for the ONU, or for the service profile, whose block is printed, with nothing but
// the index columns up to the ONU.
template <typename Row>
Row gpon_config_key_of(const gpon_config_onu_t& onu) {
    return onu_key<Row>(onu.slotID, onu.portID, onu.onuId);
}

// Whether a text can be written where a command takes one of at most so many characters.
bool gpon_config_is_name(const char* text, size_t longest);

// The command that makes the row, without its blank in front; empty when there is none.
std::string gpon_config_line(const ov_sOnuTable_attr_t& onu);
std::string gpon_config_line(const ov_sTcontTable_attr_t& tcont);
std::string gpon_config_line(const ov_sGemTable_attr_t& gem);
std::string gpon_config_line(const ov_servicePortTable_attr_t& port);
