// Long actions of managers (sActionTable) and their worker.
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_action_init();
