#!/usr/bin/env python3
"""The whole system at its full size: 14 line cards, 28,672 ONUs, a million rows and more (bench/town.py).

    bench/full_chassis.py [PART...] [--cards 14] [--ports 16] [--onus 128]       (GPON_BUILD_DIR chooses the build)

| Part | |
|---|---|
| `tables` | the daemon with the town's table files and no card: start, memory, SNMP walks of the five biggest tables, the configuration written; one card's block of it typed into an empty daemon |
| `restore` | one card restored beside 13 full ones and alone |
| `life` | with all cards and ONUs: restored, at rest, all fibres cut and mended, worked on, protected, upgraded, saved, killed and started again |

All parts without an argument. Each line: what, the figure, what is wanted of it (or the ratio's base). Table files are made once
for each build (two minutes and more) and kept beside it.
"""

import argparse
import os
import pathlib
import re
import shutil
import socket
import statistics
import sys
import tempfile
import threading
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

import town_tables  # noqa: E402
from chassis import BIN, BUILD, CONTROL_SOCKET, Chassis, wait_for  # noqa: E402
from restore_load import Operator, bare_sends  # noqa: E402
from snmp_walk import NOOP, TABLES  # noqa: E402
from town import Town  # noqa: E402
from write_terminal import write_terminal  # noqa: E402

SLOT = 1
ENV = {"OV_IPC_CARRIER": "unix", "OV_LOG_FILE": "/tmp/product/gpon.log"}
STAGE = re.compile(rf"slot {SLOT} stage (\S+): .* using ([\d.]+) s")
WALKED = 100_000  # variables of a walk
ROW_ALLOWED = 64  # bytes beyond the record


def say(what, figure, wanted=""):
    print(f"{what:58} {figure:>42}   {wanted}", flush=True)


def is_met(met):
    return "met" if met else "MISSED"


# ---- a chassis -------------------------------------------------------------------------------------------------


class Full:
    """A chassis with a town's tables in place."""

    def __init__(self, work, town, scenario):
        self.town, self.chassis = town, Chassis(pathlib.Path(work))
        self.chassis.start(scenario)
        self.chassis.run("mkdir", "-p", town_tables.DIR)

    def fill(self, slots=None):
        """The table files, of all line cards or only of some."""
        target = self.chassis.path(town_tables.DIR)
        for path in town_tables.cached(self.town).glob("*.mib"):
            shutil.copyfile(path, target / path.name)
            if slots:
                self._keep_only(target / path.name, slots)

    def _keep_only(self, path, slots):
        if not re.search(r"^INDEX\(\(shelfID, INT\), \(slotID, INT\)", (town_tables.DESCRIPTIONS / f"{path.stem}.def").read_text(), re.M):
            return
        kept = {str(slot) for slot in (*slots, 8, 31)}  # the control card's and the profiles' rows stay
        path.write_text("".join(line for line in path.open() if line.split("\x1f", 2)[1] in kept), newline="")

    def start(self):
        """Starts the daemon; seconds until it serves, by its own account and by the clock."""
        since = self.chassis.mark()
        began = time.monotonic()
        self.chassis.start_daemon(env=ENV, timeout=300)
        spent = time.monotonic() - began
        self.chassis.wait_record(120, since=since, kind="request", type="cfg-app-sync-prio", cfg_prio=480)
        return int(re.search(r"start-up took (\d+) us", self.chassis.wait_log(r"start-up took")[-1])[1]) / 1e6, spent

    def pid(self):
        return self.chassis.daemon_pids()[0]

    def processor_time(self):
        """Seconds of the daemon, all its threads."""
        return sum(int((task / "schedstat").read_text().split()[0]) for task in pathlib.Path(f"/proc/{self.pid()}/task").iterdir()) / 1e9

    def resident(self):
        return int(re.search(r"VmRSS:\s+(\d+)", pathlib.Path(f"/proc/{self.pid()}/status").read_text())[1]) * 1024

    def sizes(self):
        """Rows and bytes of a row by table."""
        found = {}
        with self.chassis.open_vty(timeout=60) as session:
            for path in town_tables.cached(self.town).glob("*.mib"):
                if told := re.search(r"(\d+) rows of (\d+) bytes", session(f"show mib table {path.stem}")):
                    found[path.stem] = int(told[1]), int(told[2])
        return found

    def rows(self, table):
        return int(re.search(r"(\d+) rows of", self.chassis.vty(f"show mib table {table}", timeout=60))[1])

    def simctl(self, lines):
        """Commands of the simulated chassis, many of them by one connection."""
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as control:
            control.connect(str(self.chassis.path(CONTROL_SOCKET)))
            writer = threading.Thread(target=control.sendall, args=("".join(f"{line}\n" for line in lines).encode(),))
            writer.start()
            with control.makefile("r") as answers:
                left = len(lines)
                while left:
                    answer = answers.readline()
                    assert answer and not answer.startswith("error"), answer
                    left -= answer == "ok\n"
            writer.join()

    def close(self):
        self.chassis.close()


class Place:
    """A Full in a directory of its own, closed at the end."""

    def __init__(self, town, scenario):
        self._work = tempfile.TemporaryDirectory()
        self._full = Full(self._work.name, town, scenario)

    def __enter__(self):
        return self._full

    def __exit__(self, *exc):
        self._full.close()
        self._work.cleanup()


# ---- tables ----------------------------------------------------------------------------------------------------


def tables(town):
    with Place(town, "mono-ready 1\n") as empty:
        bare, _ = empty.start()
        blank = empty.resident()
    with Place(town, town_tables.without_cards(town)) as full:
        full.fill()
        files = list(full.chassis.path(town_tables.DIR).glob("*.mib"))
        began = time.monotonic()
        for path in files:
            path.read_bytes().count(b"\n")
        read = time.monotonic() - began
        spent, _ = full.start()
        work = full.processor_time()
        sizes = full.sizes()
        rows = sum(count for count, _ in sizes.values())
        say("start", f"{rows} rows in {spent:.2f} s, {work:.2f} s of work ({bare:.2f} s without, {(spent - bare) / read:.1f} bare reads)", f"at most 3 s: {is_met(spent <= 3)}")
        allowed = sum(count * (size + ROW_ALLOWED) for count, size in sizes.values())
        took = (full.resident() - blank) / allowed
        say("memory", f"{(full.resident() - blank) / 1e6:.0f} MB, {took:.2f} of records + 64 bytes", f"at most 1.25: {is_met(took <= 1.25)}")
        wait_for(lambda: "in-service" in str(full.chassis.records(kind="note")), 300, "the ports")
        text = written(full)
        walks(full, sizes)
    replayed(town, text)


def written(full):
    """The configuration printed while another operator asks; its text."""
    with full.chassis.open_vty(timeout=300) as session:
        operator = Operator(full.chassis)
        best = min(write_terminal(session) for _ in range(3))
        waits = operator.leave()
        text = str(session("write terminal"))
    rate = best[1] / best[0]
    say("configuration written", f"{best[1]} lines in {best[0]:.2f} s, {rate:.0f} a second", f"at least 200000: {is_met(rate >= 200_000)}")
    say("  another operator waited", f"{statistics.median(waits):.1f} ms, {max(waits):.0f} ms at the longest")
    return text


def first_column(table):
    """The first readable column's object and how many stand behind it without a gap."""
    text = (town_tables.DESCRIPTIONS / f"{table}.def").read_text()
    arcs = re.search(r"TABLE_OID\(1, 1, 1, 1, 1, ([\d, ]+)\)", text)[1].replace(", ", ".")
    numbers = [int(number) for number in re.findall(r"^(?:COLUMN|ROW_STATUS)\((\d+),", text, re.M)]
    count = next((i for i, number in enumerate(sorted(numbers)) if number != min(numbers) + i), len(numbers))
    return f"{TABLES}.{arcs}.1.{min(numbers)}", min(count, 8)


def walks(full, sizes):
    chassis = full.chassis
    chassis.start_snmpd()
    chassis.event("start-snmp-agentx")
    chassis.wait_agent(60)
    chassis.spawn("noop", str(BUILD / "bench" / "noop_subagent"), "114688", env={"MIBS": ""})
    wait_for(lambda: "INTEGER" in chassis.snmp("snmpget", f"{NOOP}.2.1.1.1.1.1").stdout, 60, "the subagent to measure against")
    base = walk(full, f"{NOOP}.2", 8, None)
    say("SNMP walk: an agent that only answers", f"{base[0]:.0f} variables a second")
    for table in sorted(sizes, key=lambda name: -sizes[name][0])[:5]:
        oid, columns = first_column(table)
        rate, cost = walk(full, oid, columns, full)
        say(f"SNMP walk: {table}", f"{sizes[table][0]} rows, {rate:.0f} a second, {cost * 1e6:.1f} us each", f"{rate / base[0]:.2f} of an agent that only answers")


def walk(full, oid, columns, measured):
    """Variables a second and the daemon's seconds for one."""
    best = (0, 0)
    for _ in range(2):
        before = measured.processor_time() if measured else 0
        done = full.chassis.run(str(BUILD / "bench" / "snmp_load"), "walk", oid, f"{columns}/{columns}", str(WALKED), timeout=300)
        assert done.returncode == 0, done.stderr
        variables, seconds, _ = map(float, done.stdout.split())
        spent = (measured.processor_time() - before) / variables if measured else 0
        best = max(best, (variables / seconds, spent))
    return best


def replayed(town, text):
    """One card's part of the configuration, typed by the operator shell where the card is."""
    away = {str(slot) for slot in town.slots[1:]}
    blocks = re.split(r"^(?=\S)", text, flags=re.M)
    of_slot = re.compile(r"interface gpon-\w+?(\d+)/|vlan-smart-qinq ingress-port gpon-\w+?(\d+)/")
    kept = [block for block in blocks if not ((found := of_slot.match(block)) and (found[1] or found[2]) in away)]
    lines = "".join(kept).splitlines()
    lines = [line for line in lines if not re.match(r" protectgroup (?!1 )", line)]
    one = Town(town.seed, 1, town.ports_of_card, town.onus_of_port)
    with Place(one, one.chassis_scenario(with_onus=False, in_operation=False)) as full:
        full.start()
        full.chassis.wait_record(60, kind="note", text="in-service")
        full.chassis.write("/tmp/saved", "\n".join(lines) + "\n")
        began, work = time.monotonic(), full.processor_time()
        done = full.chassis.run(str(BIN / "gponsh"), "-f", "/tmp/saved", timeout=600)
        spent, work = time.monotonic() - began, full.processor_time() - work
        assert done.returncode == 0, done.stdout[-1000:] + done.stderr[-1000:]
        say("configuration of one card typed", f"{len(lines)} lines in {spent:.1f} s, {spent / len(lines) * 1e6:.0f} us each", f"the daemon's own {work / len(lines) * 1e6:.0f} us")


# ---- restore ---------------------------------------------------------------------------------------------------


def restore(town):
    results = {}
    for slots in ((SLOT,), town.slots):
        with Place(town, town.chassis_scenario(with_onus=False, in_operation=False)) as full:
            full.fill(None if len(slots) > 1 else slots)
            full.start()
            full.chassis.wait_record(300, kind="note", text="in-service")
            before = full.chassis.card(SLOT)["received"]
            operator = Operator(full.chassis)
            since = full.chassis.mark()
            full.chassis.simctl("replay", f"slot={SLOT}", "step=120000", timeout=300)
            full.chassis.wait_record(120, since=since, kind="request", type="cfg-app-notify-recover-result", slotid=SLOT, cfg_prio=480)
            waits = operator.leave()
            wait_for(lambda: "OV_HAL_MSG_GPON_CONF_SYNC_END" in full.chassis.card(SLOT)["types"], 120, "the card to have read all")
            card = full.chassis.card(SLOT)
            stages = [float(STAGE.search(line)[2]) for line in full.chassis.log_lines(STAGE.pattern)]
            results[len(slots)] = sum(stages), card["received"] - before
            say(
                f"restore of one card of {len(slots)}", f"{card['received'] - before} messages, {sum(stages):.2f} s of work",
                f"refused {card['reasons']}, operators waited {statistics.median(waits):.1f} ms, {max(waits):.0f} at most",
            )  # fmt: skip
    alone, beside = (results[key] for key in sorted(results))
    bare = bare_sends(beside[1])
    say("  beside 13 full ones", f"{beside[0] / alone[0]:.2f} of alone, {beside[0] / bare:.2f} of bare sends", f"at most 1.2 of alone: {is_met(beside[0] <= 1.2 * alone[0])}")


# ---- a life ----------------------------------------------------------------------------------------------------


def states(full):
    """How many ONUs the daemon has in which state."""
    text = full.chassis.vty("configure terminal", "show onu status", timeout=120)
    found = re.findall(r"^ *\d+/\d+:\d+ +(\w+)", text, re.M)
    return {state: found.count(state) for state in set(found)}


def life(town):
    onus = [onu for onu in town.onus() if onu.is_active]
    with Place(town, town.chassis_scenario(replay=True)) as full:
        full.fill()
        began = time.monotonic()
        full.start()
        full.chassis.wait_record(1200, kind="note", text="in-service")
        say("all cards restored", f"{time.monotonic() - began:.0f} s", "16 s and more by the stages")
        up = lambda: states(full).get("operational", 0) >= len(onus)
        wait_for(up, 600, "the ONUs to come up", interval=2)
        say("ONUs up", f"{len(onus)} {time.monotonic() - began:.0f} s behind the start")
        at_rest(full)
        storm(full, onus)
        work(full, onus)
        upgrade(full)
        protect(full)
        end(full)


def at_rest(full, seconds=30):
    time.sleep(5)
    began, work = time.monotonic(), full.processor_time()
    time.sleep(seconds)
    share = (full.processor_time() - work) / (time.monotonic() - began) * 100
    say("at rest", f"{share:.2f} % of a processor core", f"at most 0.2 %: {is_met(share <= 0.2)}")


def storm(full, onus):
    """The fibres of all ports are cut, and mended, fifty a second: each ONU is reported, and its alarm comes and goes. All at once
    they would be more than the queue of events may hold, 40,960."""
    ports = [port.name for port in full.town.ports() if port.role == "plain"]
    lost = sum(onu.port <= full.town.ports_of_card - 2 for onu in onus)
    for what, state, least in (("cut", "added", lost), ("mend", "operational", len(onus))):
        operator = Operator(full.chassis)
        began, work = time.monotonic(), full.processor_time()
        for name in ports:
            full.simctl([f"fibre {name} {what}"])
            time.sleep(0.02)
        alarms = (lambda: full.rows("sActiveAlarmTable") >= lost) if what == "cut" else (lambda: full.rows("sActiveAlarmTable") < lost / 10)
        wait_for(alarms, 300, "the alarms", interval=0.2)
        spent, work = time.monotonic() - began, full.processor_time() - work
        waits = operator.leave()
        full_queue = len(full.chassis.log_lines("msgq is full"))
        wait_for(lambda: states(full).get(state, 0) >= least, 300, "the states", interval=1)
        say(f"all fibres {what}: {lost} states and alarms", f"{spent:.1f} s, {work:.1f} s of work, {full_queue} events lost", f"operators waited {statistics.median(waits):.1f} ms, {max(waits):.0f} at most")  # fmt: skip


def work(full, onus):
    """A service made and taken away again at ONUs everywhere."""
    plain = [onu for onu in onus if onu.kind == "flat"][:: max(1, len(onus) // 1000)][:50]
    with full.chassis.open_vty(timeout=60) as session:
        began = time.monotonic()
        for onu in plain:
            lines = ("configure terminal", f"interface {onu.name}", "gemport 9 tcont 1", "service-port 9 gemport 9", "no service-port 9", "no gemport 9", "end")
            for line in lines:
                assert session(line).result == 0, (onu.name, line, session("show refusal"))
        spent = time.monotonic() - began
    say("a service made and taken away", f"{spent / len(plain) * 1e3:.2f} ms, seven lines")


def upgrade(full):
    """A port's ONUs get new firmware, sixteen of them at a time; a card does that in a tenth of a second for each."""
    image, port = "town.bin", next(port for port in full.town.ports() if port.number == 2)
    assert full.chassis.run(str(REPO / "tools/demo/bin/put-firmware"), image, "V9.9.9").returncode == 0
    count = full.town.onus_of_port
    full.simctl(["upgrade delays download=100 write=10 commit=10"])
    operator = Operator(full.chassis)
    began = time.monotonic()
    told = full.chassis.vty(f"cpe update {image} {port.name} onu-range 1-{count}", timeout=120)
    assert told.result == 0, told
    done = lambda: full.chassis.vty(f"show cpe update-status file {image}", timeout=60).count("DOWNLOADSUC") >= count
    wait_for(done, 300, "the downloads", interval=0.2)
    spent = time.monotonic() - began
    waits = operator.leave()
    say(f"firmware for {count} ONUs of a port", f"{spent:.1f} s", f"operators waited {statistics.median(waits):.1f} ms, {max(waits):.0f} at most")


def protect(full):
    """The working fibre of a pair is cut: its ONUs come up at the other one."""
    port = next(port for port in full.town.ports() if port.role == "work")
    began = time.monotonic()
    full.simctl([f"fibre {port.name} cut"])
    other = f"gpon-olt{port.slot}/{port.partner}"
    wait_for(lambda: re.search(rf"{other} +no +", full.chassis.vty("configure terminal", "gpon", "show protectgroup 1", timeout=60)), 60, "the switch-over")
    say("a protection pair switched", f"{time.monotonic() - began:.2f} s")
    full.simctl([f"fibre {port.name} mend"])


def end(full):
    """Saved, killed, and started from what was saved."""
    sizes = full.sizes()
    rows = sum(count for count, _ in sizes.values())
    began = time.monotonic()
    town_tables.save(full.chassis)
    spent = time.monotonic() - began
    say("all tables saved", f"{rows} rows in {spent:.1f} s, {rows / spent:.0f} a second")
    text = str(full.chassis.vty("write terminal", timeout=300))
    full.chassis.kill_daemon(60)
    began = time.monotonic()
    spent, _ = full.start()
    work = full.processor_time()
    say("killed and started", f"{spent:.2f} s, {work:.2f} s of work", f"at most 3 s: {is_met(spent <= 3)}")
    full.chassis.wait_record(1200, since=full.chassis.mark(), kind="note", text="in-service")
    say("  and all cards restored", f"{time.monotonic() - began:.0f} s")
    lost = set(text.splitlines()) - set(str(full.chassis.vty("write terminal", timeout=300)).splitlines())
    lost = {line for line in lost if "qinq" not in line and line != " ctc enable"}  # those come with the saved configuration
    say("  and nothing lost", f"{len(lost)} lines lost", is_met(not lost))


PARTS = {"tables": tables, "restore": restore, "life": life}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("parts", nargs="*", metavar="PART", help="of " + ", ".join(PARTS))
    for name, default in (("cards", 14), ("ports", 16), ("onus", 128)):
        parser.add_argument(f"--{name}", type=int, default=default)
    options = parser.parse_args()
    town = Town(1, options.cards, options.ports, options.onus)
    for name in options.parts or PARTS:
        PARTS[name](town)


if __name__ == "__main__":
    main()
