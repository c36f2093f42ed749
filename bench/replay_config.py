#!/usr/bin/env python3
"""A saved configuration of a full line card typed into an empty daemon by the operator shell.

    bench/replay_config.py         (GPON_BUILD_DIR chooses the build)

2,048 ONUs with a T-CONT, a GEM port and a service port each: about 10,000 lines through `gponsh -f`, against a simulated
card. Beside it the same operations called directly in the daemon's libraries, with a simulated card too (provision_bench),
and what "write terminal" takes to print it all back.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import BIN, BUILD, Chassis  # noqa: E402

PORTS, ONUS = 16, 128
SCENARIO = "env PDT_INFO_SHELF_TYPE 53\nenv PDT_INFO_CARD_SLOTID 8\nenv slot 8\ncard-board 8\ncard 8 add\ncard 1 add\nmono-ready 1\n"


def configuration():
    lines = []
    for port in range(1, PORTS + 1):
        lines.append(f"interface gpon-olt1/{port}")
        lines += [f" onu {onu} type KLM-618 sn ABCD01{port:02x}{onu:04x}" for onu in range(1, ONUS + 1)]
    for port in range(1, PORTS + 1):
        for onu in range(1, ONUS + 1):
            lines.append(f"interface gpon-onu1/{port}:{onu}")
            lines.append(" tcont 1 profile default")
            lines.append(" gemport 1 tcont 1")
            lines.append(" service-port 1 gemport 1 user-vlan 100 vlan 200")
    return lines


def main():
    lines = configuration()
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(pathlib.Path(work))
        try:
            chassis.start(SCENARIO)
            chassis.start_daemon(env={"OV_IPC_CARRIER": "unix", "OV_LOG_FILE": "/dev/null"})
            chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
            for slot in (8, 1):
                chassis.event("slot-active", slot_id=slot, card_type=27)
            for port in range(1, PORTS + 1):
                chassis.event("new-if", ifindex=f"gpon-olt1/{port}", flags="up+running")
            time.sleep(0.5)
            chassis.write("/tmp/saved", "".join(f"{line}\n" for line in lines))
            began = time.monotonic()
            done = chassis.run(str(BIN / "gponsh"), "-f", "/tmp/saved")
            replay = time.monotonic() - began
            assert done.returncode == 0, done.stderr[-2000:]
            began = time.monotonic()
            written = chassis.run(str(BIN / "gponsh"), "-c", "write terminal").stdout.count("\n")
            writing = time.monotonic() - began
            card = chassis.card(1)
            assert card["refused"] == 0, card["reasons"]
        finally:
            chassis.close()
    text = subprocess.run(
        [BUILD / "bench" / "provision_bench", "--sim", BIN / "chassis-sim", "1"],
        capture_output=True, text=True, env=os.environ | {"OV_LOG_FILE": "/dev/null"},
    ).stdout  # fmt: skip
    direct = float(re.search(r"provision .* mean ([\d.]+) us", text)[1]) * PORTS * ONUS / 1e6
    print(f"{len(lines)} lines in {replay:.2f} s, {replay / len(lines) * 1e6:.0f} us a line; card holds {card['object_count']} objects")
    print(f"the same called directly: {direct:.2f} s; replay {replay / direct:.2f} of it")
    print(f"write terminal: {written} lines in {writing:.3f} s, {written / writing:.0f} lines a second")


if __name__ == "__main__":
    main()
