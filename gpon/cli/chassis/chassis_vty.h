// What the person on call asks of a chassis as a whole: "show chassis health", "show chassis memory", "show
// chassis saves", and for programs "show chassis metrics".
#pragma once

// Installs them. Main thread, at start, behind the nodes.
void chassis_vty_init();
