#!/usr/bin/env python3
"""An operator at work while a card floods the daemon with events: the real daemon, the simulated chassis.

    bench/event_flood.py [RUNS]        (default 5; GPON_BUILD_DIR chooses the build)

Each run has two floods of 40,960 events: one to a daemon that takes them as they come, and one while the daemon waits
for a card's reply, so that the whole of it stands in the queue when it goes on. Prints a line for each: how many events
were handled and how many found the queue full, the longest round of dispatching that was cut short, and what the
operator waited for an answer meanwhile (the wait for the card not counted).
"""

import os
import pathlib
import re
import statistics
import sys
import tempfile
import threading
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import Chassis, wait_for  # noqa: E402

EVENTS = 40960  # what the daemon's queue holds
SLOT = 1
SCENARIO = f"env PDT_INFO_CARD_SLOTID {SLOT}\ncard-board {SLOT}\ncard {SLOT} add\nmono-ready 1\n"
PROFILE = ".1.3.6.1.4.1.47281.1.1.1.1.1.7.1.{column}.77"  # of the bandwidth profiles; a new one goes to every card
HOLD_MS = 2000  # a flood takes much less to reach the queue

HANDLED = re.compile(r"New unconfig ONU")
CUT_SHORT = re.compile(r"dispatched (\d+) messages in ([\d.]+) ms, the rest waits for the next tick")
QUEUE_FULL = re.compile(r"msgq is full")
LIMIT_MS = 60


class Operator:
    """Asks one thing after the other and notes when he asked and when the answer came, in seconds."""

    def __init__(self, chassis):
        self._times = []
        self._session = chassis.open_vty(timeout=30)
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._work)
        self._thread.start()

    def _work(self):
        while not self._stop.is_set():
            began = time.monotonic()
            assert self._session("show version").result == 0
            self._times.append((began, time.monotonic()))
            time.sleep(0.001)

    def leave(self, since):
        """The waits in milliseconds, as far as they lie behind a point in time."""
        self._stop.set()
        self._thread.join()
        self._session.close()
        return [(end - max(began, since)) * 1000 for began, end in self._times if end > since]


def matches(chassis, pattern, since):
    return [found for line in chassis.log_lines()[since:] if (found := pattern.search(line))]


class Hold:
    """A manager's SET that the card answers late: the daemon's loop waits for it."""

    def __init__(self, chassis):
        self.over = 0.0
        self._chassis = chassis
        chassis.card_fault(SLOT, "late", type="bw-type", ms=HOLD_MS)
        self._thread = threading.Thread(target=self._set)
        self._thread.start()
        chassis.wait_record(kind="card-request", type="bw-type")

    def _set(self):
        columns = (2, "s", "flood"), (3, "i", 4), (6, "i", 10240), (7, "i", 4)
        values = [part for column, kind, value in columns for part in (PROFILE.format(column=column), kind, value)]
        self._chassis.snmp("snmpset", *map(str, values))
        self.over = time.monotonic()

    def wait(self):
        self._thread.join()
        return self.over


def flood(chassis, hold=None):
    since = len(chassis.log_lines())
    operator = Operator(chassis)
    if hold:
        hold = hold(chassis)
    began = time.monotonic()
    chassis.card_event(SLOT, "uncfg", ponIfindex="gpon-olt1/3", index=7, sn="ABCD00000001", count=EVENTS)
    if hold:
        began = hold.wait()

    def over():
        return len(matches(chassis, HANDLED, since)) + len(matches(chassis, QUEUE_FULL, since)) == EVENTS

    wait_for(over, 60, what="the last event", interval=0.3)
    waits = operator.leave(began)
    return {
        "handled": len(matches(chassis, HANDLED, since)),
        "dropped": len(matches(chassis, QUEUE_FULL, since)),
        "cut": [(int(found[1]), float(found[2])) for found in matches(chassis, CUT_SHORT, since)],
        "waits": waits,
    }


def one_run():
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(work)
        try:
            chassis.start(SCENARIO)
            chassis.start_snmpd()
            chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"})
            chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
            chassis.event("slot-add", slot_id=SLOT, card_type=1)
            chassis.event("slot-active", slot_id=SLOT, card_type=1)
            chassis.event("start-snmp-agentx")
            chassis.wait_log("operation up")
            # a table of the agent's
            chassis.wait_for(lambda: chassis.snmpwalk(PROFILE.split(".{")[0]), what="the agent", timeout=30)
            return {"as they come": flood(chassis), "full queue": flood(chassis, Hold)}
        finally:
            chassis.close()


def main():
    longest = 0
    for _ in range(int(sys.argv[1]) if len(sys.argv) > 1 else 5):
        for name, result in one_run().items():
            waits = result["waits"]
            longest = max(longest, *waits)
            cut = result["cut"]
            print(
                f"{name:13} handled {result['handled']}   dropped {result['dropped']}   "
                f"rounds cut short {len(cut)}, longest {max((ms for _, ms in cut), default=0):5.1f} ms   "
                f"{len(waits):4} answers, median {statistics.median(waits):5.2f} ms, longest {max(waits):5.1f} ms"
            )
    print(f"longest wait for an answer: {longest:.1f} ms (wanted: {LIMIT_MS})")


if __name__ == "__main__":
    main()
