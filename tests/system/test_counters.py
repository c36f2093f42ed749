"""Performance counters, from the traffic through simulated cards to the rows that a manager reads and the files of the intervals."""

import os

import pytest

from chassis import BIN, wait_for
from snmp_manager import Table
from test_provision import Chassis, add_onu, serial

PORT, ONU, GEM = (1, 1, 1), (1, 1, 1, 7), (1, 1, 1, 7, 1)
UPLINK = (1, 8, 1)
SERIAL = serial(1, 1, 7)
GPON_PORT, UPLINK_PORT = "gpon-olt1/1", "ge8/1"
INT, UINT = "Integer32", "Unsigned32"
NOT_AVAILABLE, AVAILABLE = "1", "2"
QUARTER, PASS_SLOT = 900, 5
TICK = 12  # seconds within which the daemon looks at the clock, every five, and a loaded machine

CLOCK_FILE = "/tmp/told_time"
CLOCK = {
    "LD_PRELOAD": str(BIN / "told_time.so"),
    "TOLD_TIME_FILE": CLOCK_FILE,
    "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0",
}


class Family:
    """A table of counters: where its rows are, and in a file the fields of a row behind its index."""

    def __init__(self, world, name, arcs, columns, slot):
        self.name, self.columns, self.slot = name, columns, slot
        self.table = Table(world.manager, arcs, columns["status"], {})
        self.world = world

    def get(self, index, column):
        return self.table.get(index, self.columns[column])

    def read(self, index, *columns):
        """Values as they are now: a read of the first column asks the card."""
        self.table.get(index, 1)
        return [self.get(index, column) for column in columns]

    def rows(self):
        return set(self.table.column(self.columns["status"]))

    def file(self):
        return self.world.chassis.read(f"/var/run/product/mibdata/{self.name}.mib", missing="")

    def saved(self, index):
        """The row in the file; empty when there is none."""
        for line in self.file().splitlines():
            fields = line.split("\x1f")
            if tuple(map(int, fields[: len(index)])) == index:
                values = fields[len(index) :]
                return {name: values[column - 1] for name, column in self.columns.items()}
        return {}


def family(world, name, arcs, slot, first, **counters):
    closing = {name: first + place for place, name in enumerate(("start", "stop", "valid", "status"))}
    return Family(world, name, arcs, counters | closing, slot)


class World(Chassis):
    """A chassis whose daemon is told what time it is."""

    def __init__(self, chassis):
        start = chassis.start_daemon
        chassis.start_daemon = lambda *args, env=None, **more: start(*args, env={**(env or {}), **CLOCK}, **more)
        chassis.start_sandbox()
        self.chassis, self.quarter = chassis, 1_800_000_000
        self.tell_time(self.quarter + 60)
        super().__init__(chassis, ports=1)
        self.switches = {
            "pon": Table(self.manager, "1", 13, {18: INT, 19: INT}),
            "onu": Table(self.manager, "2", 17, {19: INT}),
            "gem": Table(self.manager, "5", 9, {11: INT}),
            "uplink": Table(self.manager, "33.8", 2, {1: INT}),
        }
        self.pon = family(self, "ponPmTable", "33.1", 0, 32, bytes=3, bip8=4, ploam=14, tx_gem=24)
        self.onus = family(self, "onuPmTable", "33.2", 1, 17, bip8=6, fec=3, rx_packets=22, tx_packets=24)
        self.gems = family(self, "gemPmTable", "33.3", 2, 6, rx_packets=1, rx_bytes=2, tx_packets=3)
        self.nni = family(self, "ponnniPmTable", "33.6", 3, 65, rx_frames=11, tx_frames=46)
        self.uplinks = family(self, "uplinkPmTable", "33.7", 4, 38, rx_packets=1, tx_packets=2, errors=5)
        self.families = (self.pon, self.onus, self.gems, self.nni, self.uplinks)

    def provision(self, onu=7, slot=1):
        """An ONU with a GEM port, which is up."""
        index = (1, slot, 1, onu)
        assert add_onu(self, slot, onu=onu) == "noError"
        assert self.tcont.create((*index, 1), {5: "default"}) == "noError"
        assert self.gem.create((*index, 1), {5: 1}) == "noError"
        self.chassis.simctl("onu", "add", serial(slot, 1, onu), f"port=gpon-olt{slot}/1")
        self.chassis.wait_for(lambda: self.onu.get(index, 11) == "3", what="the ONU to be operational")

    def count(self, index, on=1):
        """Switches the counting of an object on or off."""
        switch, values = {3: ("pon", {18: on, 19: on}), 4: ("onu", {19: on}), 5: ("gem", {11: on})}[len(index)]
        assert self.switches[switch].set(index, values) == "noError"

    def traffic(self, target, *words):
        self.chassis.simctl("traffic", target, *words)

    def tell_time(self, seconds):
        path = self.chassis.path(CLOCK_FILE)
        path.with_suffix(".new").write_text(f"{seconds}\n")
        path.with_suffix(".new").replace(path)

    def end_interval(self, *families):
        """Lets a quarter of an hour end for these families: their files are written at its time."""
        self.quarter += QUARTER
        for each in families:
            now = self.quarter + PASS_SLOT * each.slot + 1
            self.tell_time(now)
            wait_for(lambda: f"\x1f{now}\x1f" in each.file(), TICK, f"{each.name} to be saved at {now}")
        self.tell_time(self.quarter + 60)


@pytest.fixture
def world(chassis):
    made = World(chassis)
    yield made
    made.close()


def test_what_passes_a_gem_port_is_read_on_its_way_to_the_network(world):
    world.provision()
    world.traffic(SERIAL, "gem=1", "up=99")
    for index in (PORT, ONU, GEM):
        world.count(index)
    world.traffic(SERIAL, "gem=1", "up=10", "down=3", "size=100")
    world.traffic(SERIAL, "up=5")
    world.traffic(GPON_PORT, "down=2")
    world.chassis.simctl("errors", SERIAL, "bip8=4", "fec-corrected=6")
    world.chassis.simctl("errors", GPON_PORT, "ploam=7")
    read = world.gems.read(GEM, "rx_packets", "rx_bytes", "tx_packets", "valid")
    assert read == ["10", "1000", "3", AVAILABLE], "what passed in front was cleared"
    assert world.onus.read(ONU, "rx_packets", "tx_packets", "bip8", "fec") == ["15", "3", "4", "6"]
    assert world.pon.read(PORT, "bytes", "tx_gem", "bip8", "ploam") == ["3560", "5", "4", "7"]
    assert world.nni.read(PORT, "rx_frames", "tx_frames") == ["5", "15"]
    world.chassis.simctl("onu", "off", SERIAL)
    assert world.gems.read(GEM, "rx_packets") == ["10"], "the card keeps what it has counted"
    assert world.onu.destroy(ONU) == "noError"
    assert [each.rows() for each in (world.pon, world.onus, world.gems)] == [{PORT}, set(), set()]
    world.count(PORT, on=0)
    assert world.pon.rows() == world.nni.rows() == set()


def test_a_quarter_of_an_hour_ends_the_interval_and_reaches_the_files(world):
    world.chassis.event("new-if", ifindex=UPLINK_PORT, flags="up+running")
    wait_for(lambda: UPLINK in world.switches["uplink"].column(1), what="the uplink's row")
    world.provision()
    for index in (PORT, ONU, GEM):
        world.count(index)
    assert world.switches["uplink"].set(UPLINK, {1: 1}) == "noError"
    world.traffic(SERIAL, "gem=1", "up=10", "down=3")
    world.traffic(UPLINK_PORT, "up=20", "down=30")
    world.chassis.simctl("errors", UPLINK_PORT, "rx=2")
    world.end_interval(*world.families)
    saved = [world.pon.saved(PORT)["tx_gem"], world.onus.saved(ONU)["rx_packets"], world.gems.saved(GEM)["rx_packets"],
             world.nni.saved(PORT)["tx_frames"]]  # fmt: skip
    assert saved == ["3", "10", "10", "10"]
    assert [world.uplinks.saved(UPLINK)[name] for name in ("tx_packets", "rx_packets", "errors")] == ["20", "30", "2"]
    for each, index in zip(world.families, (PORT, ONU, GEM, PORT, UPLINK)):
        assert each.saved(index)["stop"] == str(world.quarter + PASS_SLOT * each.slot + 1), each.name
        assert each.get(index, "start") == each.saved(index)["stop"], each.name
        assert each.get(index, "valid") == AVAILABLE, each.name
    world.traffic(SERIAL, "gem=1", "up=1")
    assert world.gems.read(GEM, "rx_packets") == ["1"], "the next interval begins at 0"
    assert world.uplinks.read(UPLINK, "rx_packets", "tx_packets") == ["0", "0"]
    assert world.gems.saved(GEM)["rx_packets"] == "10"


def test_a_card_that_goes_in_the_middle_of_a_pass_costs_its_rows_alone(world):
    for onu in range(1, 11):
        world.provision(onu)
        world.count((1, 1, 1, onu))
        world.traffic(serial(1, 1, onu), f"up={onu}")
    other = (1, 2, 1, 7)
    world.provision(slot=2)
    world.count(other)
    world.traffic(serial(2, 1, 7), "up=77")
    world.chassis.card_fault(1, "slow", ms=0, type="pm-onu", times=3)
    world.chassis.card_fault(1, "late", ms=60000, type="pm-onu", times="forever")
    world.quarter += QUARTER
    now = str(world.quarter + PASS_SLOT + 1)
    world.tell_time(now)
    wait_for(lambda: world.onus.get((1, 1, 1, 3), "stop") == now, TICK, "the third answer")
    world.chassis.simctl("card", 1, "remove")
    world.chassis.event("slot-deactive", slot_id=1, card_type=27)
    wait_for(lambda: f"\x1f{now}\x1f" in world.onus.file(), 60, "the pass to end")
    world.tell_time(world.quarter + 60)
    rows = {onu: world.onus.saved((1, 1, 1, onu)) for onu in range(1, 11)}
    assert [rows[onu]["rx_packets"] for onu in (1, 2, 3)] == ["1", "2", "3"]
    assert [row["valid"] for row in rows.values()] == [AVAILABLE] * 3 + [NOT_AVAILABLE] * 7
    assert {row["stop"] for row in rows.values()} == {now}
    assert world.onus.rows() == {(1, 1, 1, onu) for onu in rows} | {other}
    assert (world.onus.saved(other)["rx_packets"], world.onus.saved(other)["valid"]) == ("77", AVAILABLE)
    assert world.chassis.vty("show version"), "it serves on"


def test_answers_that_are_late_twice_or_out_of_order_reach_their_rows(world):
    onus = range(1, 9)
    for onu in onus:
        world.provision(onu)
        world.count((1, 1, 1, onu))
        world.traffic(serial(1, 1, onu), f"up={onu}")
    for fault in ("swap", "duplicate", "late"):
        world.chassis.card_fault(1, fault, type="pm-onu", times=2, **({"ms": 30} if fault == "late" else {}))
    world.end_interval(world.onus)
    saved = {onu: world.onus.saved((1, 1, 1, onu)) for onu in onus}
    assert {onu: row["rx_packets"] for onu, row in saved.items()} == {onu: str(onu) for onu in onus}
    assert {row["valid"] for row in saved.values()} == {AVAILABLE}
    assert world.chassis.vty("show version")


def test_statistics_of_an_onu_are_read_and_perhaps_cleared(world):
    statistics = Table(world.manager, "33.9", 21, {20: INT})
    packets = lambda: statistics.get(ONU, 2)
    world.provision()
    world.traffic(SERIAL, "up=9")
    assert [packets(), packets()] == ["9", "9"]
    assert statistics.set(ONU, {20: 1}) == "noError"
    assert [packets(), packets()] == ["9", "0"]
    assert world.onu.destroy(ONU) == "noError"
    assert packets() is None


def test_a_card_that_starts_again_counts_from_0(world):
    world.provision()
    world.count(PORT)
    world.traffic(GPON_PORT, "up=7", "down=5")
    assert world.nni.read(PORT, "rx_frames", "tx_frames", "valid") == ["5", "7", AVAILABLE]
    started = world.nni.get(PORT, "start")
    world.chassis.simctl("card", 1, "restart")
    assert world.nni.read(PORT, "rx_frames", "tx_frames", "valid") == ["0", "0", AVAILABLE]
    assert world.nni.get(PORT, "start") == started, "the row doesn't tell"
    world.chassis.simctl("card", 1, "off")
    world.chassis.event("slot-deactive", slot_id=1, card_type=27)
    world.count(ONU)  # its first read fails
    assert world.onus.get(ONU, "valid") == NOT_AVAILABLE
