"""The network under test: a chassis with line cards and ONUs in a sandbox, a master agent, the real daemon with a clock
that is told, and the controller's part of a start and of a replay."""

import os
import re
import signal
import threading
import time
from dataclasses import dataclass

from chassis import BIN, ChassisError, Chassis, SimctlError, wait_for
from snmp_manager import Manager
from town import Town

CLOCK_FILE = "/tmp/told_time"
VERSIONS = "/app/appload/onu"
SERVED = "/tmp/served"
TABLE_DIR = "/var/run/product/mibdata"
ENV = {
    "OV_IPC_CARRIER": "unix",
    "LD_PRELOAD": str(BIN / "told_time.so"),
    "TOLD_TIME_FILE": CLOCK_FILE,
    "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0",
    "OV_PDT_RUN_FILE_MIBAVE_FLAG": "/tmp/product/mibsave",
    "OV_TRANSFER_TIMEOUT": "2",
    "OV_ENV_ONU_VERSION_DIR": VERSIONS,
}
EPOCH = 1_800_000_000  # the beginning of a quarter of an hour
CARD_TYPE = 27
CHAIN = 180  # seconds that a card's replay may take on a busy machine


@dataclass
class Scale:
    cards: tuple
    ports: int
    onus: int  # on each port that has some
    homes: tuple  # ports with subscribers
    groups: tuple  # working and protecting port of each
    learning: str
    spare: tuple
    town: object = None  # whoever lives there, from bench/town.py


def small(_seed):
    return Scale((1, 2), 4, 6, ("gpon-olt1/1", "gpon-olt1/3", "gpon-olt2/1"), (("gpon-olt1/1", "gpon-olt1/2"),), "gpon-olt2/3",
                 ("gpon-olt1/4", "gpon-olt2/4"))  # fmt: skip


def town(seed):
    """Three cards of a town, with two ports left on each."""
    made = Town(seed, cards=3, ports=14, onus=32)
    homes = tuple(port.name for port in made.ports() if port.role != "protect")
    groups = tuple((port.name, f"gpon-olt{port.slot}/{port.partner}") for port in made.ports() if port.role == "work")
    return Scale(made.slots, 16, 32, homes, groups, "gpon-olt2/16", tuple(f"gpon-olt{slot}/15" for slot in made.slots), made)


def place(port):
    """(slot, port) of a port's name."""
    return tuple(map(int, re.fullmatch(r"gpon-olt(\d+)/(\d+)", port).groups()))


def onu_name(port, onu):
    return f"{port.replace('olt', 'onu')}:{onu}"


def writes(port, *words):
    """Whether a line names a port, or an ONU of it."""
    names = re.compile(rf"\b{port}\b|\b{port.replace('olt', 'onu')}:")
    return any(names.search(word) for word in words) and not all(word.startswith("show ") for word in words)


class Network:
    def __init__(self, work, scale, journal):
        self.scale, self.journal = scale, journal
        self.chassis = Chassis(work)
        self.quarter = EPOCH
        self._serials = {(f"gpon-olt{onu.slot}/{onu.port}", onu.number): onu.serial for onu in scale.town.onus()} if scale.town else {}
        self.out = set()  # slots whose card is pulled
        self.cut = set()  # ports whose fibre is
        self.manager = None
        self.starts = 0
        self._replays = {}
        self.crashed = []
        self.counts = True  # what is reserved is known: no row came from a file

    # ---- the chassis -----------------------------------------------------------------------------------------

    def scenario(self):
        cards = "".join(f"card {slot} add\n" for slot in self.scale.cards)
        return (
            "hostname olt\nenv PDT_INFO_SHELF_TYPE 53\nenv PDT_INFO_SHELF_ID 1\nenv PDT_INFO_CARD_SLOTID 8\nenv slot 8\n"
            "env mate_slot 9\nenv active 1\nproduct-facts\ncard-board 8\ncard 8 add\n"
            f"{cards}onu delays again=3000\nupgrade delays download=150 write=50 commit=20\nmono-ready 1\n"
        )

    def open(self):
        self.chassis.start_sandbox()
        self.tell_time(self.quarter + 60)
        self.chassis.start(self.scenario())
        for directory in (SERVED, "/flash", VERSIONS, TABLE_DIR):
            self.chassis.run("mkdir", "-p", directory, check=True)
        self.chassis.start_snmpd()
        self.start_daemon()

    def close(self):
        if self.manager:
            self.manager.close()
        self.chassis.close()

    def tell_time(self, seconds):
        path = self.chassis.path(CLOCK_FILE)
        path.with_suffix(".new").write_text(f"{seconds}\n")
        path.with_suffix(".new").replace(path)

    # ---- the daemon --------------------------------------------------------------------------------------------

    def start_daemon(self, configuration="", wait=True):
        """Starts the daemon, and has the controller tell it what a controller tells after a start, up to the end of the
        cards' replays. configuration: lines that the platform types first."""
        since = self.chassis.mark()
        self.chassis.simctl("env", "OV_APP_FLAG_SYS_OPSTATUS", 0)
        self.chassis.start_daemon(env=ENV, timeout=60)
        self.starts += 1
        self.chassis.wait_record(60, since=since, kind="request", type="cfg-app-sync-prio", cfg_prio=480)
        self.chassis.event("slot-add", slot_id=8, card_type=2)
        self.chassis.event("slot-active", slot_id=8, card_type=2)
        self.chassis.event("start-snmp-agentx")
        for slot in self.inside():
            self.plug(slot)
        for uplink in ("xe8/1", "xe8/2"):
            self.chassis.event("new-if", ifindex=uplink, flags="up+running")
        self.chassis.event("cfg-sc-switch-2-active-end", slot_id=8, card_type=2)
        self.chassis.wait_agent(60, connections=self.starts)
        if self.manager is None:
            self.manager = Manager(self.chassis)
        wanted = len(self.inside()) * self.scale.ports
        wait_for(lambda: self.chassis.vty("write terminal", timeout=60).count("\ninterface gpon-olt") >= wanted, 60, "the ports' rows")
        if configuration:
            self.type_in(configuration)
        for slot in self.inside():
            self.replay(slot)
        if wait:
            self.wait_replays()

    def type_in(self, text):
        """Types a printed configuration, which mustn't be refused."""
        self.chassis.write("/tmp/typed.conf", text)
        done = self.chassis.run(str(BIN / "gponsh"), "-f", "/tmp/typed.conf", timeout=300)
        if done.returncode != 0:
            self.journal.note("network", "types the printed configuration", done.stderr)
        return done.stderr

    def plug(self, slot):
        """What the controller says of a card that is there."""
        self.chassis.event("slot-add", slot_id=slot, card_type=CARD_TYPE)
        self.chassis.event("slot-active", slot_id=slot, card_type=CARD_TYPE)
        for port in range(1, self.scale.ports + 1):
            self.chassis.event("new-if", ifindex=f"gpon-olt{slot}/{port}", flags="up+running")

    def kill_daemon(self):
        self._replays.clear()
        self.chassis.kill_daemon()
        self.counts = not any(self.files().get(name) for name in ("sOnuTable", "sTcontTable", "sGemTable", "servicePortTable"))

    def alive(self):
        return bool(self.chassis.daemon_pids())

    def restart_snmpd(self):
        connections = len(self.chassis.log_lines("AgentX master agent connected"))
        self.chassis.signal_snmpd(signal.SIGKILL)
        self.chassis.start_snmpd()
        self.starts += 1
        self.chassis.wait_agent(60, connections=connections + 1)

    def save_tables(self):
        flags = sorted(self.chassis.path("/tmp/product").glob("saveflag.*"))
        for flag in flags:
            flag.write_text("1\n")
            self.chassis.event("snmp-mib-table-save", sequence=1, tablename=flag.name.split(".")[1])
        wait_for(lambda: all(flag.read_text().strip() != "1" for flag in flags), 60, "the tables to be saved")

    def files(self):
        """{table: {line}}"""
        directory = self.chassis.path(TABLE_DIR)
        return {path.stem: path.read_text(errors="replace").splitlines() for path in sorted(directory.glob("*.mib"))}

    # ---- cards -------------------------------------------------------------------------------------------------

    def inside(self):
        return [slot for slot in self.scale.cards if slot not in self.out]

    def replay(self, slot):
        """Begins the replay of a card; wait_replays() waits for its end. One that fails is told in the journal, unless the daemon
        that it was of has been killed."""
        def run():
            try:
                self.chassis.simctl("replay", f"slot={slot}", "step=120000", timeout=CHAIN)
                self.chassis.event("cfg-slot-sync-end", slotid=slot)
                self.chassis.event("cfg-sc-switch-2-active-end", slot_id=8, card_type=2)  # cards say what became of their ONUs
                self.chassis.simctl("env", "OV_APP_FLAG_SYS_OPSTATUS", 1)
            except (OSError, ChassisError) as error:
                if self._replays.get(slot) is threading.current_thread():
                    self.journal.note("network", f"the replay of card {slot}", error)
        self._replays[slot] = threading.Thread(target=run, daemon=True)
        self._replays[slot].start()

    def replaying(self, slot):
        return slot in self._replays and self._replays[slot].is_alive()

    def resting(self):
        """Ports of groups whose card is away or is being told: none counts as one of a group meanwhile, and a write on the
        working one doesn't reach the other. Nobody writes them."""
        rest = {slot for slot in self.scale.cards if slot in self.out or self.replaying(slot)}
        return [port for group in self.scale.groups for port in group if place(port)[0] in rest]

    def serial(self, port, onu):
        """Of a subscriber's ONU."""
        slot, number = place(port)
        return self._serials.get((port, onu)) or f"SOAK{slot:02X}{number:02X}{onu:04X}"

    def lights(self, on):
        """All ONUs have power, or none has."""
        for line in self.chassis.simctl("onu", "list"):
            self.chassis.simctl("onu", "on" if on else "off", line.split()[0].removeprefix("serial="))

    def start_empty(self, configuration):
        """New cards, a daemon without table files, dark ONUs, and the platform types a configuration."""
        self.kill_daemon()
        for path in self.chassis.path(TABLE_DIR).glob("*.mib"):
            path.unlink()
        self.counts = True
        self.lights(False)
        for slot in self.inside():
            self.chassis.simctl("card", slot, "restart")
        self.start_daemon(configuration=configuration)
        self.lights(True)
        self.quiet()

    def difference_of_ports(self, *ports):
        """What the card holds for one of them and not for the other."""
        try:
            self.chassis.simctl("compare", *ports)
            return []
        except SimctlError as error:
            return error.lines or [error.reason]

    def wait_replays(self):
        for slot, thread in list(self._replays.items()):
            thread.join(CHAIN)
            if thread.is_alive():
                raise ChassisError(f"the replay of card {slot} doesn't end")
        self._replays.clear()

    def pull(self, slot):
        self.chassis.simctl("card", slot, "off")
        self.chassis.event("slot-deactive", slot_id=slot, card_type=CARD_TYPE)
        self.out.add(slot)

    def put_back(self, slot):
        self.chassis.simctl("card", slot, "restart")
        self.out.discard(slot)
        self.chassis.event("slot-active", slot_id=slot, card_type=CARD_TYPE)
        self.replay(slot)

    def restart_card(self, slot):
        self.pull(slot)
        self.put_back(slot)

    # ---- operators and looks -----------------------------------------------------------------------------------

    def type(self, who, node, *lines, timeout=60.0):
        """Types lines on a node, in a session of their own; the replies."""
        if any(writes(port, *node, *lines) for port in self.resting()):
            self.journal.note(who, f"waits with {' / '.join((*node[1:], *lines))[:100]}")
            return []
        replies = []
        with self.chassis.open_vty(timeout=timeout) as session:
            for line in node:
                if session(line).result != 0:
                    self.journal.note(who, f"vty {' / '.join(node)}", f"no node at {line}")
                    return []
            for line in lines:
                reply = session(line)
                self.journal.note(who, f"vty {' / '.join(node[1:])} / {line}", f"{reply.result} {str(reply)[:200]}")
                replies.append(reply)
        return replies

    def simctl(self, who, *words):
        """Something that happens outside of the daemon; None when the simulator says that it can't."""
        command = " ".join(map(str, words))
        try:
            answer = self.chassis.simctl(*words)
            self.journal.note(who, f"simctl {command}")
            return answer
        except SimctlError as error:
            self.journal.note(who, f"simctl {command}", error.reason)
            return None

    def quiet(self, seconds=2.0, timeout=90.0):
        """Waits until the cards hear nothing new and send nothing for a while."""
        def counts():
            shown = [self.chassis.card(slot) for slot in self.inside()]
            states = self.chassis.simctl("onu", "states")
            return [(card["received"], card["events"]) for card in shown], states
        began, last, since = time.monotonic(), counts(), time.monotonic()
        while time.monotonic() - since < seconds:
            time.sleep(0.25)
            if (now := counts()) != last:
                last, since = now, time.monotonic()
            if time.monotonic() - began > timeout:
                self.journal.note("network", "never quiet", last)
                return False
        return True
