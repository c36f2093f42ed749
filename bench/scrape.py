#!/usr/bin/env python3
"""What the person on call and a scraper cost on a full chassis: 28,672 ONUs on 14 cards, 1,000 alarms, counters of all ports.

    bench/scrape.py [--turns N]                              (GPON_BUILD_DIR chooses the build)

Prints for "show chassis health", "show chassis metrics" and "... onus" the lines, the seconds until the last of them (the
best of the turns), and the longest that the event loop was held meanwhile, in milliseconds; fails above 100.
"""

import argparse
import json
import os
import pathlib
import sys
import tempfile
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import QUIET_SCENARIO, Chassis  # noqa: E402
from table_files import write_table  # noqa: E402

PORTS = [(1, slot, port) for slot in range(1, 15) for port in range(1, 17)]
ONUS = [(*port, onu) for port in PORTS for onu in range(1, 129)]
COMMANDS = ("show chassis health", "show chassis metrics", "show chassis metrics onus")
HELD_MAX = 100  # ms


def start(chassis):
    chassis.start(QUIET_SCENARIO)
    for table, indexes in (("sPonTable", PORTS), ("ponPmTable", PORTS), ("sOnuTable", ONUS), ("sOnuExtendInfoTable", ONUS)):
        write_table(chassis, table, indexes)
    write_table(chassis, "sActiveAlarmTable", [(number, 201) for number in range(1000)], sActiveAlarmTableAlarmSeverity=2)
    chassis.start_daemon(timeout=60)


def held(session):
    """The longest run of the shell's handlers, in milliseconds."""
    rows = map(json.loads, session("json show loop").splitlines())
    return max(row["longest_us"] for row in rows if row["handler"].startswith("vty")) / 1000


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--turns", type=int, default=5)
    turns = parser.parse_args().turns
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(pathlib.Path(work))
        try:
            start(chassis)
            with chassis.open_vty(timeout=60) as session:
                for command in COMMANDS:
                    times = []
                    for _ in range(turns):
                        began = time.monotonic()
                        text = session(command)
                        times.append(time.monotonic() - began)
                    print(f"{command:28} {text.count(chr(10)):8} lines {min(times):8.3f} s {held(session):8.1f} ms held")
                return 1 if held(session) > HELD_MAX else 0
        finally:
            chassis.close()


if __name__ == "__main__":
    sys.exit(main())
