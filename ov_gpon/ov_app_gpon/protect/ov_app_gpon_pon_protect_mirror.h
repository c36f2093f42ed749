// The mirror of a protection group: how a write to a table's row on the working port is repeated on the
// protecting one (ov_app_gpon_pair.h hands it over).
//
// It goes past the check callbacks, which keep everybody else off the protecting port, and through the set
// callbacks: what the row takes is counted on that port too, and the card is told. Both ports have their ONUs
// under the same numbers.
//
// Main loop only; it waits for the card.
#pragma once

// Enters a writer for each table but those of QoS, which has its own (ov_app_gpon_qos_pair.h). Start-up.
void ov_app_pon_protect_group_sync_init();
