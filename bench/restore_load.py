#!/usr/bin/env python3
"""The replay of a full line card's configuration: the real daemon, the simulated chassis.

    bench/restore_load.py [CARDS...]       (default 1 14; GPON_BUILD_DIR chooses the build)

Each card has 2,048 ONUs with four T-CONTs and eight GEM ports each, and 8,000 service ports, in the table files that the
daemon starts with. One card, slot 1, is replayed. For each number of cards: the messages that the card received and what it
refused, the seconds of each stage's work by the daemon's own log, their sum, and what an operator who asks one thing after
the other waited. Beside it, what the sends of as many messages of the same sizes take.
"""

import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import BUILD, Chassis, wait_for  # noqa: E402
from table_files import columns_of  # noqa: E402

SLOT = 1
PORTS, ONUS, TCONTS, GEMS, SERVICES = 16, 128, 4, 8, 8000
LINE_CARDS = [1, 2, 3, 4, 5, 6, 7, 10, 11, 12, 13, 14, 15, 16]
STAGE = re.compile(r"slot 1 stage (\S+): .* using ([\d.]+) s")
DIR = "/var/run/product/mibdata"


def row_maker(table, **fixed):
    """A function from index and changed columns to the line of a table's file."""
    columns = columns_of(table) | {name: str(value) for name, value in fixed.items()}

    def make(*index, **values):
        return "".join(f"{field}\x1f" for field in (*index, *(columns | values).values())) + "\n"

    return make


def bkdr(name):
    value = 0
    for byte in name.encode():
        value = value * 131 + byte & 0xFFFFFFFF
    return value


def ifindex(kind, slot, port, onu=1, below=1):
    return kind << 27 | 1 << 26 | slot << 21 | (port - 1) << 15 | (onu - 1) << 7 | (below - 1)


def write_tables(chassis, slots):
    onu_type, bandwidth = bkdr("KLM-618"), bkdr("default")
    port = row_maker("sPonTable", sPonTableMaxLogicDistance=40)
    onu = row_maker("sOnuTable", sOnuTableOnuTypeProfileId=onu_type, sOnuTableOnuTypeProfileName="KLM-618", sOnuTableAdminState=1)
    tcont = row_maker("sTcontTable", sTcontTableBwProfileName="default", sTcontTableBwProfileId=bandwidth - (1 << 32))
    gem = row_maker("sGemTable")
    service = row_maker("servicePortTable", servicePortVlan=100, servicePortVlanAction=2)
    files = {name: open(chassis.path(f"{DIR}/{name}.mib"), "w") for name in ("sPonTable", "sOnuTable", "sTcontTable", "sGemTable", "servicePortTable")}
    for slot in slots:
        left = SERVICES
        for number in range(1, PORTS + 1):
            files["sPonTable"].write(port(1, slot, number, sPonTableIfIndex=ifindex(9, slot, number)))
            for n in range(1, ONUS + 1):
                here = (1, slot, number, n)
                serial = f"ABCD{slot:02x}{number:02x}{n:04x}"
                files["sOnuTable"].write(onu(*here, sOnuTableSn=serial, sOnuTableIfIndex=ifindex(10, slot, number, n)))
                for t in range(1, TCONTS + 1):
                    files["sTcontTable"].write(tcont(*here, t))
                for g in range(1, GEMS + 1):
                    columns = {"sGemTableTcontID": (g + 1) // 2, "sGemTableIfIndex": ifindex(11, slot, number, n, g)}
                    files["sGemTable"].write(gem(*here, g, **columns))
                for s in range(1, min(4, left) + 1):
                    files["servicePortTable"].write(service(*here, s, servicePortGemId=str(s)))
                left -= min(4, left)
    for file in files.values():
        file.close()


class Operator(threading.Thread):
    """Asks one thing after the other and keeps the waits, in milliseconds."""

    def __init__(self, chassis):
        super().__init__()
        self._session = chassis.open_vty(timeout=60)
        self._stop_it = threading.Event()
        self.waits = []
        self.start()

    def run(self):
        while not self._stop_it.is_set():
            began = time.monotonic()
            assert self._session("show version").result == 0
            self.waits.append((time.monotonic() - began) * 1000)
            time.sleep(0.002)

    def leave(self):
        self._stop_it.set()
        self.join()
        return self.waits


def run(cards):
    slots = LINE_CARDS[:cards]
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(pathlib.Path(work))
        try:
            scenario = "env PDT_INFO_SHELF_TYPE 53\nenv PDT_INFO_CARD_SLOTID 8\nenv slot 8\ncard-board 8\ncard 8 add\n"
            chassis.start(scenario + "".join(f"card {slot} add\n" for slot in slots) + "mono-ready 1\n")
            chassis.run("mkdir", "-p", DIR)
            write_tables(chassis, slots)
            began = time.monotonic()
            chassis.start_daemon(env={"OV_IPC_CARRIER": "unix", "OV_LOG_FILE": "/tmp/product/gpon.log"}, timeout=120)
            chassis.wait_record(60, kind="request", type="cfg-app-sync-prio", cfg_prio=480)
            started = time.monotonic() - began
            for slot in (8, *slots):
                chassis.event("slot-active", slot_id=slot, card_type=27)
            time.sleep(0.5)
            before = chassis.card(SLOT)
            operator = Operator(chassis)
            since = chassis.mark()
            chassis.simctl("replay", f"slot={SLOT}", "step=120000")
            chassis.wait_record(90, since=since, kind="request", type="cfg-app-notify-recover-result", slotid=SLOT, cfg_prio=480)
            waits = operator.leave()
            stages = [(found[1], float(found[2])) for line in chassis.log_lines(STAGE.pattern) if (found := STAGE.search(line))]
            wait_for(lambda: chassis.card(SLOT, type="onu")["object_count"] > 0, 30, "the card to have read all")
            time.sleep(1)
            after = chassis.card(SLOT)
            received = after["received"] - before["received"]
            busy = sum(seconds for _, seconds in stages)
            print(
                f"{cards:2} cards: daemon ready after {started:.1f} s; {received} messages, {after['object_count']} objects, "
                f"refused {after['reasons']}; stages "
                + ", ".join(f"{name} {seconds:.3f}" for name, seconds in stages if seconds > 0.0005)
                + f"; sum {busy:.3f} s; operator's waits: median {statistics.median(waits):.1f} ms, longest {max(waits):.0f} ms",
                flush=True,
            )
            return received, busy
        finally:
            chassis.close()


def bare_sends(messages):
    """Seconds that so many sends without an answer take."""
    text = subprocess.run([BUILD / "bench" / "hal_bench", "--benchmark_filter=Async"], capture_output=True, text=True).stdout
    rate = re.search(r"items_per_second=([\d.]+)([kM])", text)
    return messages / (float(rate[1]) * {"k": 1e3, "M": 1e6}[rate[2]])


def main():
    results = {cards: run(cards) for cards in (map(int, sys.argv[1:]) if sys.argv[1:] else (1, 14))}
    if len(results) > 1:
        first, *_, last = results
        print(f"work with {last} cards in the tables: {results[last][1] / results[first][1]:.2f} of that with {first}")
    if (BUILD / "bench" / "hal_bench").exists():
        received = next(iter(results.values()))[0]
        print(f"bare sends of {received} messages: {bare_sends(received):.3f} s")


if __name__ == "__main__":
    main()
