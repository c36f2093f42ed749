// A look at the counters of what each line card holds.
#pragma once

// Installs "show gpon resources". Main thread, at start, behind the nodes.
void resource_vty_init();
