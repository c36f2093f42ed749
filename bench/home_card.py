#!/usr/bin/env python3
"""A full line card with a home on every eighth ONU: written, printed, replayed to the card, typed in again.

    bench/home_card.py         (GPON_BUILD_DIR chooses the build)

2,048 ONUs with a T-CONT, a GEM port and a service port each; 256 of them are homes as the guide sets one up (tools/demo/home.txt),
without what is asked there. Prints for each step what it took: the lines typed into an empty daemon, against a simulated card;
"write terminal"; the replay when the card is new, beside as many bare sends; the printed configuration typed into another
empty daemon, which must print the same.
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
sys.path.insert(0, str(REPO / "tools" / "demo"))

import tour  # noqa: E402
from chassis import BIN, BUILD, Chassis, wait_for  # noqa: E402

PORTS, ONUS, EVERY = 16, 128, 8
SCENARIO = "env PDT_INFO_SHELF_TYPE 53\nenv PDT_INFO_CARD_SLOTID 8\nenv slot 8\ncard-board 8\ncard 8 add\ncard 1 add\nmono-ready 1\n"
NO_SETTING = ("show ", "write ", "end", "remote onu reboot")
END = "OV_HAL_MSG_GPON_CONF_SYNC_END"
STAGE = re.compile(r"slot 1 stage (\S+): .* using ([\d.]+) s")


def guide(prompt):
    steps = tour.read_tour(REPO / "tools" / "demo" / "home.txt")
    typed = [c for step in steps for c in step.commands if c.prompt == prompt]
    return [c.text for c in typed if not c.text.startswith(NO_SETTING)]


def configuration():
    profiles = [line for line in guide("gpon(gpon)#") if line.startswith("profile ")]
    home = guide("gpon(gpon-onu1/1:1)#")
    plain = ["tcont 1 profile default", "gemport 1 tcont 1", "service-port 1 gemport 1 user-vlan 100 vlan 200"]
    lines = ["gpon", *profiles]
    for port in range(1, PORTS + 1):
        lines.append(f"interface gpon-olt1/{port}")
        lines += [f" onu {onu} type HOME-4 sn ABCD01{port:02x}{onu:04x}" for onu in range(1, ONUS + 1)]
    for port in range(1, PORTS + 1):
        for onu in range(1, ONUS + 1):
            lines.append(f"interface gpon-onu1/{port}:{onu}")
            lines += [f" {line}" for line in (home if onu % EVERY == 0 else plain)]
    return lines


class Shelf:
    """One daemon with one card, empty at first."""

    def __init__(self, work):
        self.chassis = Chassis(pathlib.Path(work))
        self.chassis.start(SCENARIO)
        self.chassis.start_daemon(env={"OV_IPC_CARRIER": "unix", "OV_LOG_FILE": "/tmp/product/gpon.log"}, timeout=120)
        self.chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
        for slot in (8, 1):
            self.chassis.event("slot-active", slot_id=slot, card_type=27)
        for port in range(1, PORTS + 1):
            self.chassis.event("new-if", ifindex=f"gpon-olt1/{port}", flags="up+running")
        time.sleep(0.5)

    def type(self, lines):
        self.chassis.write("/tmp/saved", "".join(f"{line}\n" for line in lines))
        began = time.monotonic()
        done = self.chassis.run(str(BIN / "gponsh"), "-f", "/tmp/saved")
        took = time.monotonic() - began
        assert done.returncode == 0, done.stdout[-2000:] + done.stderr[-2000:]
        card = self.chassis.card(1)
        assert card["refused"] == 0, card["reasons"]
        print(f"{len(lines)} lines typed in {took:.2f} s, {took / len(lines) * 1e6:.0f} us a line; card holds {card['object_count']} objects")

    def written(self):
        began = time.monotonic()
        text = self.chassis.run(str(BIN / "gponsh"), "-c", "write terminal").stdout
        took = time.monotonic() - began
        print(f"write terminal: {text.count(chr(10))} lines in {took:.3f} s")
        return text

    def replay(self):
        """The card comes back empty and is told all of it: messages and seconds of the daemon's work."""
        self.chassis.event("slot-deactive", slot_id=1, card_type=27)
        self.chassis.simctl("card", 1, "restart")
        self.chassis.event("slot-active", slot_id=1, card_type=27)
        wait_for(lambda: self.chassis.card(1)["object_count"] == 0, 30, "the card to be empty")
        before = self.chassis.card(1)["received"]
        since = self.chassis.mark()
        self.chassis.simctl("replay", "slot=1", "step=120000")
        self.chassis.wait_record(120, since=since, kind="request", type="cfg-app-notify-recover-result", slotid=1, cfg_prio=480)
        wait_for(lambda: END in self.chassis.card(1)["types"], 60, "the card to have read all")
        stages = [float(found[2]) for line in self.chassis.log_lines(STAGE.pattern) if (found := STAGE.search(line))]
        after = self.chassis.card(1)
        messages = after["received"] - before
        print(
            f"replay: {messages} messages, {after['object_count']} objects, refused {after['reasons']}, "
            f"{sum(stages):.3f} s of the daemon's work"
        )
        return messages, sum(stages)


def bare_sends(messages):
    bench = BUILD / "bench" / "hal_bench"
    text = subprocess.run([bench, "--benchmark_filter=Async"], capture_output=True, text=True).stdout
    rate = re.search(r"items_per_second=([\d.]+)([kM])", text)
    return messages / (float(rate[1]) * {"k": 1e3, "M": 1e6}[rate[2]])


def main():
    with tempfile.TemporaryDirectory() as work:
        shelf = Shelf(work)
        try:
            shelf.type(configuration())
            text = shelf.written()
            messages, work_of_replay = shelf.replay()
            assert shelf.written() == text
        finally:
            shelf.chassis.close()
    bare = bare_sends(messages)
    print(f"bare sends of {messages} messages: {bare:.3f} s; the replay's work is {work_of_replay / bare:.2f} of it")
    with tempfile.TemporaryDirectory() as work:
        shelf = Shelf(work)
        try:
            lines = [line for line in text.splitlines() if line.strip() and not line.startswith("!")]
            shelf.type(lines)
            assert shelf.written() == text, "the second chassis prints something else"
            print("the second chassis prints the same")
        finally:
            shelf.chassis.close()


if __name__ == "__main__":
    main()
