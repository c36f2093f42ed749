"""A subscriber's service, from the manager's request to the card and back, and what is left after thousands of
requests, right and wrong, with cards that refuse."""

import collections
import os
import random

import pytest

from resources import reserved
from snmp_manager import CREATE_AND_GO, CREATE_AND_WAIT, Manager, Table

NOT_IN_SERVICE = "2"
INT, UINT, TEXT = "Integer32", "Gauge32", "OctetString"

SHELF = """
env PDT_INFO_SHELF_TYPE 53
env PDT_INFO_CARD_SLOTID 8
env slot 8
env mate_slot 9
env active 1
card-board 8
card 8 add
card 1 add
card 2 add
mono-ready 1
"""
SLOTS = (1, 2)
TEMPLATE = (1, 31, 15)
TABLES = ".1.3.6.1.4.1.47281.1.1.1"
ALARM_FILE = "/var/run/product/mibdata/sActiveAlarmTable.mib"


class Chassis:
    """A chassis with two line cards in service, a manager, and the tables of provisioning."""

    def __init__(self, chassis, ports=4):
        self.chassis = chassis
        chassis.start(SHELF)
        chassis.start_snmpd()
        chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"})
        chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
        chassis.event("slot-active", slot_id=8, card_type=2)
        for slot in SLOTS:
            chassis.event("slot-add", slot_id=slot, card_type=27)
            chassis.event("slot-active", slot_id=slot, card_type=27)
            for port in range(1, ports + 1):
                chassis.event("new-if", ifindex=f"gpon-olt{slot}/{port}", flags="up+running")
        chassis.wait_agent(15)
        self.manager = Manager(chassis)
        self.onu = Table(self.manager, "2", 17, {3: TEXT, 4: INT, 5: TEXT, 6: TEXT, 9: INT, 10: INT, 13: TEXT, 23: UINT, 24: INT})
        self.tcont = Table(self.manager, "6", 6, {3: TEXT, 5: TEXT})
        self.gem = Table(self.manager, "5", 9, {4: TEXT, 5: UINT, 10: INT, 12: UINT})
        self.service = Table(self.manager, "25", 17, {2: INT, 3: INT, 5: INT, 7: INT, 12: INT, 19: INT})
        self.srvprofile = Table(self.manager, "39.1", 6, {3: TEXT, 4: TEXT})
        self.bandwidth = Table(self.manager, "7", 7, {2: TEXT, 3: INT, 4: INT, 5: INT, 6: INT})
        self.port = Table(self.manager, "1", 13, {5: INT, 14: INT, 15: INT, 20: INT})
        self.history = Table(self.manager, "40.1", 11, {})
        self.extend = Table(self.manager, "23", 4, {})
        chassis.wait_for(lambda: len(self.port.column(14)) == ports * len(SLOTS), what="the ports' rows")

    def card(self, slot):
        return self.chassis.card(slot)

    def objects(self, slot, name):
        """What a card holds of a message, real ONUs' objects only: templates stand on every card."""
        rows = self.card(slot)["objects"].get(f"OV_HAL_MSG_GPON_{name}", {"rows": []})["rows"]
        return [row for row in rows if slot_of(row.get("ifindex", row.get("onuIfindex"))) != 31]

    def close(self):
        self.manager.close()


def slot_of(ifindex):
    return ifindex >> 21 & 31


def onu_of(ifindex):
    """(slot, port, onu) of the index of an ONU or of something below it."""
    return slot_of(ifindex), (ifindex >> 15 & 15) + 1, (ifindex >> 7 & 255) + 1


def below(ifindex):
    """The number below the ONU: a GEM port, a service port."""
    return (ifindex & 127) + 1


@pytest.fixture
def world(chassis):
    made = Chassis(chassis)
    yield made
    made.close()


def serial(slot, port, onu):
    return f"ABCD{slot:02x}{port:02x}{onu:04x}"


def add_onu(world, slot=1, port=1, onu=7, **columns):
    values = {4: 1, 5: serial(slot, port, onu), 13: "KLM-618"} | {int(k[1:]): v for k, v in columns.items()}
    return world.onu.create((1, slot, port, onu), values)


def test_a_new_onu_of_a_manager_reaches_the_card_and_comes_up(world):
    assert add_onu(world) == "noError"
    (held,) = world.objects(1, "ONU")
    assert onu_of(held["ifindex"]) == (1, 1, 7)
    assert held["authAttr"]["mode"] == 1
    assert held["typeProfile"] == "KLM-618"
    assert world.onu.get((1, 1, 1, 7), 11) == "1"  # added
    world.chassis.wait_record(kind="request", type="new-if", port="gpon-onu1/1:7")

    world.chassis.simctl("onu", "add", serial(1, 1, 7), "port=gpon-olt1/1", "version=V1.2.3", "distance=4321")
    world.chassis.wait_for(lambda: world.onu.get((1, 1, 1, 7), 11) == "3", what="the ONU to be operational")
    assert world.onu.get((1, 1, 1, 7), 20) == "V1.2.3"
    assert int(world.history.get((1, 1, 1, 7), 1)) > 0  # came up
    assert world.history.get((1, 1, 1, 7), 2) == "0"
    assert world.extend.get((1, 1, 1, 7), 5) == "4321"  # read from the card

    world.chassis.simctl("onu", "off", serial(1, 1, 7))
    world.chassis.wait_for(lambda: world.onu.get((1, 1, 1, 7), 11) == "1", what="the ONU to be off")
    assert world.onu.get((1, 1, 1, 7), 20) == ""
    assert int(world.history.get((1, 1, 1, 7), 2)) > 0


def test_deleting_an_onu_takes_all_below_it_first_and_gives_everything_back(world):
    onu = (1, 1, 1, 7)
    assert add_onu(world) == "noError"
    for number in (1, 2):
        assert world.tcont.create((*onu, number), {5: "default"}) == "noError"
        assert world.gem.create((*onu, number), {5: number}) == "noError"
        assert world.service.create((*onu, number), {2: number, 3: 100 + number, 7: 2}) == "noError"
    assert len(world.objects(1, "TCONT")) == len(world.objects(1, "GEMPORT")) == len(world.objects(1, "SERVPORT")) == 2
    assert reserved(world.chassis) == ({(1, 1): (2, 2, 0)}, {1: 2})
    since = world.chassis.mark()
    assert world.onu.destroy(onu) == "noError"
    deletes = [r["type"] for r in world.chassis.records(since=since, kind="card-request", slot=1, action="delete")]
    kinds = [r.removeprefix("OV_HAL_MSG_GPON_") for r in deletes]
    assert kinds == ["SERVPORT"] * 2 + ["GEMPORT"] * 2 + ["TCONT"] * 2 + ["ONU"]
    for table in (world.onu, world.tcont, world.gem, world.service, world.history, world.extend):
        assert table.column(table.status) == {}
    assert reserved(world.chassis) == ({}, {})
    world.chassis.wait_record(since=since, kind="request", type="del-if", port="gpon-onu1/1:7")


def test_alarms_of_a_deleted_onu_stay_until_the_card_clears_them(world):
    chassis, onu = world.chassis, (1, 1, 1, 7)
    alarms = f"{TABLES}.3.1.1.8"  # the state column of the active alarms

    def report(source, code=201, state=1):
        chassis.card_event(1, "trap", AlarmTableAlarmSource=source, AlarmTableAlarmCode=code, AlarmTableAlarmState=state)

    def standing():
        rows = chassis.snmpwalk(alarms).items()
        return {tuple(map(int, name.split(".")[-2:])) for name, state in rows if not state.startswith("No Such")}

    def wait(wanted, seconds, what):
        chassis.wait_for(lambda: standing() == wanted, seconds + 6, what)

    assert add_onu(world) == "noError"
    assert world.tcont.create((*onu, 1), {5: "default"}) == "noError"
    assert world.gem.create((*onu, 1), {5: 1}) == "noError"
    ((of_onu,), (of_gem,)) = ([row["ifindex"] for row in world.objects(1, name)] for name in ("ONU", "GEMPORT"))
    # The kind of the third fills the top byte, of which it has only the upper five bits in an index of today: only
    # such go with the ONU.
    of_other_layout = 10 << 24 | 7 << 7
    for source in (of_onu, of_gem, of_other_layout):
        report(source)
    wait({(of_onu, 201), (of_gem, 201), (of_other_layout, 201)}, 3, "three alarms")
    report(of_onu, code=209)  # waits for its time while the ONU goes
    assert world.onu.destroy(onu) == "noError"
    assert standing() == {(of_onu, 201), (of_gem, 201)}
    assert "\x1f209\x1f" not in chassis.read(ALARM_FILE) and str(of_other_layout) not in chassis.read(ALARM_FILE)
    wait({(of_onu, 201), (of_onu, 209), (of_gem, 201)}, 3, "the late alarm")
    for source, code in standing():
        report(source, code, state=2)
    wait(set(), 10, "the clears")


@pytest.mark.parametrize("code", [1005, 101001])
def test_a_card_that_refuses_leaves_nothing_behind(world, code):
    onu = (1, 1, 1, 7)
    steps = [
        ("onu", "ONU", lambda: add_onu(world)),
        ("tcont", "TCONT", lambda: world.tcont.create((*onu, 1), {5: "default"})),
        ("gemport", "GEMPORT", lambda: world.gem.create((*onu, 1), {5: 1})),
        ("servport", "SERVPORT", lambda: world.service.create((*onu, 1), {2: 1, 3: 100, 7: 2})),
    ]
    for kind, name, create in steps:
        world.chassis.card_fault(1, "code", type=kind, code=code)
        assert create() != "noError"
        assert world.objects(1, name) == []
        assert create() == "noError"
        assert len(world.objects(1, name)) == 1


def test_a_card_that_leaves_between_two_requests_costs_an_error_and_nothing_else(world):
    assert add_onu(world) == "noError"
    world.chassis.simctl("card", "1", "off")
    assert world.tcont.create((1, 1, 1, 7, 1), {5: "default"}) != "noError"
    assert world.tcont.column(6) == {}
    world.chassis.simctl("card", "1", "on")
    assert world.tcont.create((1, 1, 1, 7, 1), {5: "default"}) == "noError"
    assert len(world.objects(1, "TCONT")) == 1


def test_a_port_holds_so_many_tconts_and_bandwidth_and_no_more(world):
    # Exactly the limits of a port: 1,200,000 in all, 800,000 of it fixed.
    assert world.bandwidth.create((11,), {2: "fixed", 3: 1, 4: 800000}) == "noError"
    assert world.bandwidth.create((12,), {2: "assured", 3: 2, 5: 400000}) == "noError"
    assert world.bandwidth.create((13,), {2: "bit", 3: 2, 5: 1}) == "noError"
    assert add_onu(world) == "noError"
    tcont = lambda n, profile: world.tcont.create((1, 1, 1, 7, n), {5: profile})
    assert tcont(1, "fixed") == "noError"
    assert tcont(2, "assured") == "noError"
    assert tcont(3, "bit") != "noError"
    assert tcont(3, "default") == "noError"  # asks for no bandwidth
    assert world.tcont.destroy((1, 1, 1, 7, 2)) == "noError"
    assert tcont(4, "bit") == "noError"
    assert len(world.objects(1, "TCONT")) == 3


# ---- rows that wait ---------------------------------------------------------------------------------------------


def test_a_row_that_waits_is_its_managers_alone(world):
    onu, other = (1, 1, 1, 7), (1, 1, 1, 8)
    values = {4: 1, 5: "ABCD0000beef", 13: "KLM-618"}
    assert world.onu.wait(onu, values) == "noError"
    assert world.onu.get(onu, 17) == "2"
    assert world.onu.get(onu, 5) == "ABCD0000beef"
    for line in ("show onu status", "write terminal"):
        assert "ABCD0000beef" not in world.chassis.vty(line), line
    assert world.tcont.create((*onu, 1), {5: "default"}) != "noError"  # no ONU there
    assert world.onu.create(other, values | {5: "ABCD0000BEEF"}) == "noError"  # no serial number in use
    assert world.onu.activate(onu) != "noError"
    assert world.onu.get(onu, 17) == "2"
    assert world.onu.destroy(other) == "noError"
    assert world.onu.activate(onu) == "noError"
    assert world.onu.create(other, values | {5: "ABCD0000BEEF"}) != "noError"
    (held,) = world.objects(1, "ONU")
    assert onu_of(held["ifindex"]) == onu[1:] and held["authAttr"]["mode"] == 1
    assert world.tcont.create((*onu, 1), {5: "default"}) == "noError"
    assert "ABCD0000beef" in world.chassis.vty("show onu status")


# ---- thousands of requests --------------------------------------------------------------------------------------


class Storm:
    """Random requests, of which many must be refused, on a few ONUs so that they meet."""

    PORTS = (1, 1, 2)
    ONUS = (1,) * 6 + (2,) * 4 + (128, 129, 0)
    NUMBERS = (1, 1, 1, 2, 2, 3)
    PROFILES = ("default",) * 3 + ("small",) * 3 + ("large", "none such")

    def __init__(self, world, seed):
        self.world = world
        self.random = random.Random(seed)
        self.accepted = self.refused = 0
        self.tally = collections.Counter()
        for number, (name, assured) in enumerate([("small", 1000), ("large", 300000)]):
            assert world.bandwidth.create((21 + number,), {2: name, 3: 2, 5: assured}) == "noError"
        for profile in (5, 6):
            assert world.srvprofile.create((profile,), {4: "KLM-618"}) == "noError"

    def onu_index(self):
        pick = self.random.choice
        if self.random.random() < 0.15:
            return (*TEMPLATE, pick((5, 6, 7)))
        return (1, pick(SLOTS), pick(self.PORTS), pick(self.ONUS))

    def step(self):
        pick = self.random.choice
        if self.random.random() < 0.03:  # most requests are refused before a card hears of them
            self.world.chassis.card_fault(
                pick(SLOTS), "code", type=pick(["onu", "tcont", "gemport", "servport"]), code=pick([1005, 1001, 101001])
            )
        elif self.random.random() < 0.05:
            # An answer that never comes costs 12 seconds: those have tests of their own.
            fault, options = pick([("duplicate", {}), ("late", {"ms": 20})])
            self.world.chassis.card_fault(pick(SLOTS), fault, **options)
        kind = pick(
            [self.create_onu] * 4 + [self.destroy_onu, self.change_onu]
            + [self.create_tcont] * 4 + [self.destroy_tcont, self.change_tcont]
            + [self.create_gem] * 4 + [self.destroy_gem, self.change_gem]
            + [self.create_service] * 4 + [self.destroy_service, self.change_service]
            + [self.wait_for_row] * 3 + [self.change_waiting, self.activate, self.activate, self.destroy_waiting]
            + [self.two_tables, self.two_waiting]
        )  # fmt: skip
        answer = kind()
        self.tally[kind.__name__, answer] += 1
        if answer == "noError":
            self.accepted += 1
        else:
            self.refused += 1

    def create_onu(self):
        pick = self.random.choice
        index = self.onu_index()
        own = serial(*index[1:])
        values = {4: 1, 5: pick([own] * 4 + [serial(1, 1, 1), ""]), 13: pick(["KLM-618"] * 5 + ["none such"])}
        if self.random.random() < 0.2:
            values |= {23: pick((5, 6, 9)), 24: 1}
        return self.world.onu.create(index, values)

    def destroy_onu(self):
        return self.world.onu.destroy(self.onu_index())

    def change_onu(self):
        pick = self.random.choice
        return self.world.onu.set(self.onu_index(), pick([{9: pick((0, 1))}, {4: 1, 5: serial(9, 9, pick(range(40)))}, {5: "bad"}]))

    def create_tcont(self):
        return self.world.tcont.create((*self.onu_index(), self.random.choice(self.NUMBERS)), {5: self.random.choice(self.PROFILES)})

    def destroy_tcont(self):
        return self.world.tcont.destroy((*self.onu_index(), self.random.choice(self.NUMBERS)))

    def change_tcont(self):
        index = (*self.onu_index(), self.random.choice(self.NUMBERS))
        return self.world.tcont.set(index, {3: "renamed"})

    def create_gem(self):
        pick = self.random.choice
        return self.world.gem.create((*self.onu_index(), pick(self.NUMBERS)), {5: pick(self.NUMBERS), 12: pick((0, 0, 4, 5))})

    def destroy_gem(self):
        return self.world.gem.destroy((*self.onu_index(), self.random.choice(self.NUMBERS)))

    def change_gem(self):
        return self.world.gem.set((*self.onu_index(), self.random.choice(self.NUMBERS)), {10: self.random.choice((0, 1))})

    def create_service(self):
        pick = self.random.choice
        return self.world.service.create((*self.onu_index(), pick(self.NUMBERS)), {2: pick(self.NUMBERS), 3: pick((0, 100, 100, 4095, 4096)), 7: pick((1, 2, 2, 8, 9))})

    def destroy_service(self):
        return self.world.service.destroy((*self.onu_index(), self.random.choice(self.NUMBERS)))

    def change_service(self):
        pick = self.random.choice
        return self.world.service.set((*self.onu_index(), pick(self.NUMBERS)), pick([{19: pick((0, 10, 4096))}, {12: pick((0, 7, 8))}]))

    # ---- rows that wait, and requests for two tables

    def any_row(self):
        """A table, an index and values: whatever would do for a create."""
        pick = self.random.choice
        onu, number = self.onu_index(), pick(self.NUMBERS)
        own = pick((str, str.upper))(serial(*onu[1:])[4:])
        return pick(
            [
                (self.world.onu, onu, {4: 1, 5: "ABCD" + own, 13: pick(["KLM-618"] * 3 + ["none such"])}),
                (self.world.tcont, (*onu, number), {5: pick(self.PROFILES)}),
                (self.world.gem, (*onu, number), {5: pick(self.NUMBERS), 12: pick((0, 4, 5))}),
                (self.world.service, (*onu, number), {2: pick(self.NUMBERS), 3: pick((0, 100, 4096)), 7: pick((1, 2, 9))}),
            ]
        )

    def waiting_row(self):
        """The table and the index of a row that waits, if there is one."""
        tables = [self.world.onu, self.world.tcont, self.world.gem, self.world.service]
        self.random.shuffle(tables)
        for table in tables:
            if waiting := [index for index, status in table.column(table.status).items() if status == NOT_IN_SERVICE]:
                return table, self.random.choice(waiting)
        return self.any_row()[:2]

    def wait_for_row(self):
        table, index, values = self.any_row()
        return table.wait(index, values)

    def change_waiting(self):
        table, index = self.waiting_row()
        column, value = {self.world.onu.entry: (5, "bad"), self.world.tcont.entry: (5, "none such")}.get(table.entry, (5, 2))
        return table.set(index, {column: value})

    def activate(self):
        table, index = self.waiting_row()
        return table.activate(index)

    def destroy_waiting(self):
        table, index = self.waiting_row()
        return table.destroy(index)

    def two_tables(self):
        """A change that no card hears of, and one that it does: nothing is left behind on a card when either is
        refused."""
        pick = self.random.choice
        onu = (1, pick(SLOTS), pick(self.PORTS), pick((1, 2)))
        tcont = self.world.tcont.objects((*onu, pick(self.NUMBERS)), {3: "both"})
        gem = self.world.gem.objects((*onu, pick(self.NUMBERS)), {5: pick(self.NUMBERS), 12: 0}, CREATE_AND_GO)
        return self.world.tcont.request(*pick([(tcont, gem), (gem, tcont)]))

    def two_waiting(self):
        onu, number = self.onu_index(), self.random.choice(self.NUMBERS)
        tcont = self.world.tcont.objects((*onu, number), {5: "default"}, CREATE_AND_WAIT)
        gem = self.world.gem.objects((*onu, number), {5: number}, CREATE_AND_WAIT)
        return self.world.tcont.request(tcont, gem)


def real(rows):
    return {index for index in rows if index[1] != 31}


def in_service(table):
    """The rows of a table that don't wait."""
    return {index for index, status in table.column(table.status).items() if status != NOT_IN_SERVICE}


def agree(world):
    """Tables and cards hold the same objects, with the same values where the card is told of them."""
    gem_tcont, gem_aes = world.gem.column(5), world.gem.column(10)
    service_gem, service_vlan, service_limit = (world.service.column(n) for n in (2, 3, 19))
    for slot in SLOTS:
        of = lambda rows: {index[1:] for index in real(rows) if index[1] == slot}
        assert {onu_of(o["ifindex"]) for o in world.objects(slot, "ONU")} == of(in_service(world.onu))
        assert {(*onu_of(o["onuIfindex"]), o["tcontId"]) for o in world.objects(slot, "TCONT")} == of(in_service(world.tcont))
        gems = {(*onu_of(o["ifindex"]), below(o["ifindex"])): o for o in world.objects(slot, "GEMPORT")}
        assert set(gems) == of(in_service(world.gem))
        services = {(*onu_of(o["ifindex"]), below(o["ifindex"])): o for o in world.objects(slot, "SERVPORT")}
        assert set(services) == of(in_service(world.service))
        for index, held in gems.items():
            assert held["tcontId"] == int(gem_tcont[(1, *index)]), index
            assert held["isEncyption"] == int(gem_aes[(1, *index)]), index
        for index, held in services.items():
            assert below(held["gemIfndex"]) == int(service_gem[(1, *index)]), index
            assert held["vlan"] == int(service_vlan[(1, *index)]), index
            assert held["mac_limit"] == int(service_limit[(1, *index)]), index


def counters_of_rows(world):
    """What the rows reserve: {(slot, port): (T-CONTs, GEM ports, fixed and assured bandwidth)}, and service ports by
    slot. An ONU with a service profile reserves the profile's rows for itself."""
    assured = dict(zip(world.bandwidth.column(2).values(), map(int, world.bandwidth.column(5).values())))
    modes, profiles, onus = world.onu.column(24), world.onu.column(23), in_service(world.onu)
    bound = {index: int(profiles[index]) for index, mode in modes.items() if mode == "1" and index in onus}
    ports, cards = {}, {}

    def owners(index):
        return [index] if index[1] != 31 else [onu for onu, profile in bound.items() if profile == index[3]]

    def add(index, tconts=0, gems=0, bandwidth=0):
        held = ports.setdefault(index[1:3], [0, 0, 0])
        for place, by in enumerate((tconts, gems, bandwidth)):
            held[place] += by

    bandwidths = world.tcont.column(5)
    for index in in_service(world.tcont):
        for owner in owners(index):
            add(owner, tconts=1, bandwidth=assured[bandwidths[index]])
    for index in in_service(world.gem):
        for owner in owners(index):
            add(owner, gems=1)
    for index in in_service(world.service):
        for owner in owners(index):
            cards[owner[1]] = cards.get(owner[1], 0) + 1
    return {port: tuple(held) for port, held in ports.items() if any(held)}, cards


@pytest.mark.parametrize("seed", [1, 2])
def test_after_thousands_of_requests_tables_cards_and_counters_agree(world, seed):
    seed = int(os.environ.get("GPON_STORM_SEED", seed))
    storm = Storm(world, seed)
    for _ in range(int(os.environ.get("GPON_STORM_STEPS", 2500))):
        storm.step()
    for slot in SLOTS:
        world.chassis.simctl("clear-card-faults", slot)
    assert storm.accepted > 200 and storm.refused > 400, storm.tally
    agree(world)
    assert reserved(world.chassis) == counters_of_rows(world)
    serials, onus = world.onu.column(5), in_service(world.onu)
    on_ports = [(index[:3], serials[index].lower()) for index in onus if serials[index]]
    assert len(on_ports) == len(set(on_ports))
    assert {answer for (kind, answer) in storm.tally if kind == "activate"} >= {"noError", "badValue"}, storm.tally
    assert {answer for (kind, answer) in storm.tally if kind == "two_tables"} >= {"noError", "badValue"}, storm.tally
    # Everything can be taken away again: no counter holds less than the rows.
    for table in (world.service, world.gem, world.tcont, world.onu):
        for index in real(table.column(table.status)):
            assert table.destroy(index) == "noError", (table.entry, index)
    for slot in SLOTS:
        for name in ("ONU", "TCONT", "GEMPORT", "SERVPORT"):
            assert world.objects(slot, name) == []
    assert reserved(world.chassis) == ({}, {})
