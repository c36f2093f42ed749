#!/usr/bin/env python3
"""A card of fourteen that stops reading while its full configuration is replayed: the real daemon, the simulated chassis.

    bench/stopped_card.py [STAGE]       (default 9; GPON_BUILD_DIR chooses the build)

The tables of one full card (restore_load.py says what stands in them) are replayed to the card of slot 1, whose agent stops
reading before and goes on at the end of the given stage. Meanwhile an operator asks one thing after the other. Printed: the
longest that the operator waited, which is what the loop was held for, the daemon's memory at the moment when the card goes
on and at the end, the time from there until the card had everything, and what the card was told, refused and holds.
"""

import pathlib
import statistics
import sys
import tempfile
import time

from restore_load import DIR, GEMS, LINE_CARDS, ONUS, PORTS, SERVICES, SLOT, TCONTS, Operator, write_tables

from chassis import Chassis, wait_for

SCENARIO = "env PDT_INFO_SHELF_TYPE 53\nenv PDT_INFO_CARD_SLOTID 8\nenv slot 8\ncard-board 8\ncard 8 add\n"
OBJECTS = PORTS + PORTS * ONUS * (1 + TCONTS + GEMS) + SERVICES  # and profiles


def resident_mib(chassis):
    pid = chassis.daemon_pids()[0]
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    return next(int(line.split()[1]) for line in status.splitlines() if line.startswith("VmRSS")) / 1024


def start(chassis):
    chassis.start(SCENARIO + "".join(f"card {slot} add\n" for slot in LINE_CARDS) + "mono-ready 1\n")
    chassis.run("mkdir", "-p", DIR)
    write_tables(chassis, [SLOT])
    chassis.start_daemon(env={"OV_IPC_CARRIER": "unix", "OV_LOG_FILE": "/tmp/product/gpon.log"}, timeout=120)
    chassis.wait_record(60, kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    for slot in (8, *LINE_CARDS):
        chassis.event("slot-active", slot_id=slot, card_type=27)
    wait_for(lambda: chassis.log_lines("slot 16 message channel"), 30, "the channels to be open")


def catch_up(chassis, began):
    """Seconds until the card had everything, or nothing more came for a while."""
    last, since = 0, time.monotonic()
    while time.monotonic() - since < 5:
        count = chassis.card(SLOT, type="onu")["object_count"]
        if count != last:
            last, since = count, time.monotonic()
        if count >= OBJECTS:
            break
        time.sleep(0.05)
    return since - began


def main():
    stage = sys.argv[1] if len(sys.argv) > 1 else "9"
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(pathlib.Path(work))
        try:
            start(chassis)
            operator = Operator(chassis)
            chassis.simctl("card", SLOT, "stop")
            chassis.event("cfg-slot-sync-start", slotid=SLOT, cfg_prio=300)
            chassis.wait_log(rf"slot {SLOT} stage {stage}: ", timeout=600)
            stopped_at, memory = chassis.card(SLOT)["received"], resident_mib(chassis)
            chassis.simctl("card", SLOT, "continue")
            began = time.monotonic()
            took = catch_up(chassis, began)
            chassis.wait_record(600, kind="request", type="cfg-app-notify-recover-result", slotid=SLOT, cfg_prio=300)
            waits = operator.leave()
            card = chassis.card(SLOT)
            print(
                f"operator's waits: median {statistics.median(waits):.1f} ms, longest {max(waits):.0f} ms; {stopped_at} messages "
                f"read before the stop, {card['received']} in all, {took:.1f} s to catch up; {card['object_count']} objects of {OBJECTS} and "
                f"the profiles, refused {card['reasons']}; sends that failed {len(chassis.log_lines('Send async message .* fail'))}; "
                f"memory {memory:.0f} MiB with what waited, {resident_mib(chassis):.0f} MiB at the end"
            )
        finally:
            chassis.close()


if __name__ == "__main__":
    main()
