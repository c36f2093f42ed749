// A look at the requests that were refused (ov_refused_ring.h).
#pragma once

// Installs "show refused" and its kin. Main thread, at start, behind the nodes.
void refused_vty_init();
