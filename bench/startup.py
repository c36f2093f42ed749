#!/usr/bin/env python3
"""Time from the daemon's exec to its event loop, tables empty, against the simulated controller.

    bench/startup.py [RUNS]        (default 10; GPON_BUILD_DIR chooses the build)

Prints a line per run and the medians: the whole start as the daemon's own log states it, and how much of that the
look-ups in the environment store took (each is a shell tool run by the daemon).
"""

import os
import pathlib
import re
import statistics
import sys
import tempfile

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import QUIET_SCENARIO, Chassis  # noqa: E402

LINE = r"start-up took (\d+) us, environment look-ups (\d+) us"


def one_run():
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(work)
        try:
            chassis.start(QUIET_SCENARIO)
            chassis.start_daemon()
            (line,) = chassis.wait_log(LINE)
            return tuple(int(value) / 1000 for value in re.search(LINE, line).groups())
        finally:
            chassis.close()


def main():
    runs = [one_run() for _ in range(int(sys.argv[1]) if len(sys.argv) > 1 else 10)]
    for total, lookups in runs:
        print(f"{total:8.1f} ms   look-ups {lookups:7.1f} ms   rest {total - lookups:7.1f} ms")
    total, lookups = (statistics.median(column) for column in zip(*runs))
    print(f"median {total:.1f} ms, look-ups {lookups:.1f} ms, rest {total - lookups:.1f} ms (to be under 300 ms)")


if __name__ == "__main__":
    main()
