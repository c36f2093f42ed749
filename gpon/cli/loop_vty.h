// A look at who held up the event loop.
#pragma once

// Installs "show loop". Main thread, at start, behind the nodes.
void loop_vty_init();
