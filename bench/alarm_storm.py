#!/usr/bin/env python3
"""A minute's storm of alarms: the real daemon, a stock master agent, the simulated chassis, and an operator at work.

    bench/alarm_storm.py [EVENTS_A_SECOND [SECONDS]]        (default 10000 60; GPON_BUILD_DIR chooses the build)

Of ten events one is a new alarm that stays, five repeat alarms that have been reported before and so wait on, and four
are two alarms that come and go at once. Prints the rate that was reached, what the operator waited for his answers,
the daemon's memory, and at the end what was lost: events, rows and notifications.
"""

import collections
import os
import pathlib
import re
import socket
import statistics
import sys
import tempfile
import threading
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import CONTROL_SOCKET, SNMPD_CONF, Chassis, wait_for  # noqa: E402
from event_flood import Operator  # noqa: E402
from notifications import TRAP_SINK, received, start_receiver  # noqa: E402
from test_alarms import BOARD, columns, connect_daemon, table  # noqa: E402

RAISE, CLEAR = 1, 2
CODE = 201
BATCH_SECONDS = 0.05
REPEATED = 5000  # alarms that are reported again and again: each before its three seconds are over
REPEATED_FROM, PASSING_FROM, STAYING_FROM = 1_000_000, 2_000_000, 3_000_000


def storm(count):
    """(source, state) of that many events."""
    for n in range(count // 10):
        yield STAYING_FROM + n, RAISE
        for repeated in range(5):
            yield REPEATED_FROM + (n * 5 + repeated) % REPEATED, RAISE
        for passing in range(2):
            yield PASSING_FROM + n * 2 + passing, RAISE
            yield PASSING_FROM + n * 2 + passing, CLEAR


class Card:
    """Reports at a rate, over one session of the chassis's control."""

    def __init__(self, chassis):
        self._control = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._control.connect(str(chassis.path(CONTROL_SOCKET)))
        self._errors = 0
        self._done = 0
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        with self._control.makefile("r") as answers:
            for line in answers:
                self._done += line == "ok\n"
                self._errors += line.startswith("error")

    def report(self, events, rate):
        """Returns the seconds that it took."""
        events = list(events)
        batch = max(1, int(rate * BATCH_SECONDS))
        began = time.monotonic()
        for at in range(0, len(events), batch):
            lines = (
                f"card-event 1 trap AlarmTableAlarmSource={source} AlarmTableAlarmCode={CODE} AlarmTableAlarmState={state}\n"
                for source, state in events[at : at + batch]
            )
            self._control.sendall("".join(lines).encode())
            time.sleep(max(0.0, began + (at + batch) / rate - time.monotonic()))
        wait_for(lambda: self._done + self._errors >= len(events), 120, what="the chassis", interval=0.05)
        assert self._errors == 0
        return time.monotonic() - began


def memory_kb(pid):
    return {
        name: int(value)
        for name, value in re.findall(r"(VmRSS|VmHWM):\s+(\d+)", pathlib.Path(f"/proc/{pid}/status").read_text())
    }


def main():
    rate = int(sys.argv[1]) if len(sys.argv) > 1 else 10000
    seconds = int(sys.argv[2]) if len(sys.argv) > 2 else 60
    count = rate * seconds // 10 * 10
    staying = {STAYING_FROM + n for n in range(count // 10)}
    lasting = staying | {REPEATED_FROM + n for n in range(min(REPEATED, count // 2))}
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(work)
        try:
            chassis.start(BOARD)
            start_receiver(chassis)
            chassis.start_snmpd(SNMPD_CONF + TRAP_SINK)
            connect_daemon(chassis)
            (pid,) = chassis.sandbox.processes("gpon")
            before = memory_kb(pid)["VmRSS"]
            operator = Operator(chassis)
            since = time.monotonic()
            took = Card(chassis).report(storm(count), rate)
            waits = operator.leave(since)
            wait_for(lambda: len(table(chassis)) == len(lasting), 60, what="the rows", interval=0.5)
            rows = {source for source, _ in table(chassis)}
            wait_for(lambda: chassis.output("receiver").count("\n") > len(lasting), 120, what="notifications", interval=1)
            told = collections.Counter(columns(notice).get(1, (0, 0))[1] for notice in received(chassis))
            memory = memory_kb(pid)
            print(f"{count} events in {took:.1f} s: {count / took:.0f} a second")
            print(
                f"operator: {len(waits)} answers, median {statistics.median(waits):.2f} ms, "
                f"99 of 100 within {sorted(waits)[len(waits) * 99 // 100]:.1f} ms, longest {max(waits):.1f} ms"
            )
            print(
                f"memory: {before / 1024:.1f} MB before, {memory['VmHWM'] / 1024:.1f} MB at most, "
                f"{memory['VmRSS'] / 1024:.1f} MB behind it with {len(rows)} rows"
            )
            print(
                f"lost: {len(lasting - rows)} rows, {len(lasting - told.keys())} notifications; "
                f"events too many in the queue: {len(chassis.log_lines('msgq is full'))}, "
                f"storms of notifications: {len(chassis.log_lines('notifications wait for the master'))}; "
                f"rows that shouldn't be: {len(rows - lasting)}"
            )
        finally:
            chassis.close()


if __name__ == "__main__":
    main()
