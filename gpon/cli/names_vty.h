// The names of what exists, for shells that complete them.
#pragma once

#include <cstddef>

// Names that one command prints at most.
inline constexpr size_t GPON_NAMES_MAX = 500;

// Installs "show names". Main thread, at start, behind the nodes.
void names_vty_init();
