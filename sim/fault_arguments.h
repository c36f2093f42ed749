// What the fault commands of the controller and of the line cards share.
#pragma once

#include "command.h"

// FAULT [type=TYPE] [times=N|forever] [VALUE]. find_type puts the type and its name into the fault, or gives
// false.
Fault fault_argument(Arguments& args, std::span<const FaultName> names,
                     bool (*find_type)(const std::string& name, Fault& fault));
std::optional<uint32_t> optional_fault_id(Arguments& args);

Answer list_faults(const Faults& faults);
Answer list_fault_names(std::span<const FaultName> names);
// One fault, or all.
Answer clear_faults(Faults& faults, std::optional<uint32_t> id);
