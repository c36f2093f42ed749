#!/usr/bin/env python3
"""The running configuration of a full chassis, printed: the real daemon with 28,672 ONUs in its table files.

    bench/write_terminal.py        (GPON_BUILD_DIR chooses the build)

Prints the lines and the time of "write terminal" for a quarter of the chassis and for all of it with 6 lines an ONU, and for
all of it with 42, read from the socket without a look at them, and the longest that another operator waited meanwhile.
"""

import os
import pathlib
import sys
import tempfile
import threading
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import QUIET_SCENARIO, Chassis  # noqa: E402
from table_files import write_table  # noqa: E402


def write_terminal(session):
    """Seconds and lines."""
    began = time.monotonic()
    session._socket.sendall(b"write terminal\0")
    lines, tail = 0, b""
    while not tail[:-1].endswith(b"\0\0\0"):
        got = session._socket.recv(1 << 20)
        lines += got.count(b"\n")
        tail = (tail + got)[-4:]
    return time.monotonic() - began, lines


def children(onus, count):
    return [(*onu, number) for onu in onus for number in range(1, count + 1)]


def run(slots, tconts=1, gems=1, services=1):
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(pathlib.Path(work))
        try:
            chassis.start(QUIET_SCENARIO)
            ports = [(1, slot, port) for slot in range(1, slots + 1) for port in range(1, 17)]
            onus = [(*port, onu) for port in ports for onu in range(1, 129)]
            write_table(chassis, "sPonTable", ports, sPonTableDsFec=1)
            write_table(chassis, "sOnuTable", onus, sOnuTableSn="ABCD00000001", sOnuTableUpFec=1)
            write_table(chassis, "sTcontTable", children(onus, tconts), sTcontTableBwProfileName="default")
            write_table(chassis, "sGemTable", children(onus, gems), sGemTableTcontID=1)
            vlans = {"servicePortGemId": 1, "servicePortVlanAction": 2, "servicePortUserVlan": 100, "servicePortVlan": 200}
            write_table(chassis, "servicePortTable", children(onus, services), **vlans)
            chassis.start_daemon(timeout=120)
            with chassis.open_vty(timeout=60) as writer, chassis.open_vty(timeout=60) as other:
                waits, stop = [], threading.Event()

                def ask():
                    while not stop.is_set():
                        began = time.monotonic()
                        other("show version")
                        waits.append(time.monotonic() - began)

                asker = threading.Thread(target=ask)
                asker.start()
                spent, lines = min(write_terminal(writer) for _ in range(5))
                stop.set()
                asker.join()
            print(
                f"{len(onus)} ONUs: {lines} lines in {spent:.3f} s, {lines / spent:.0f} a second; "
                f"another operator waited {max(waits) * 1000:.0f} ms at the longest"
            )
        finally:
            chassis.close()


if __name__ == "__main__":
    run(4)
    run(14)
    run(14, tconts=8, gems=16, services=16)
