"""Services behind an ONU with their MAC filters, and multicast of its UNIs, from a manager's request to the card and
the ONU, over a card's restart, and to the ONU's end."""

import pytest

from snmp_manager import Table
from test_provision import INT, TEXT, UINT, Chassis, add_onu, serial
from test_refusals import mark, refusals
from test_restore import replay, restart_card

ONU = (1, 1, 1, 7)
ETH_1 = (1, 0, 1)
VLAN, VLAN_UNI, TRANSPARENT = 1, 3, 5
DYNAMIC, STATIC = 1, 2


class Services(Chassis):
    def __init__(self, chassis):
        super().__init__(chassis, ports=1)
        columns = {2: UINT, 3: INT, 4: UINT, 5: INT, 6: UINT, 7: INT, 8: INT}
        self.services = Table(self.manager, "18", 9, columns)
        self.modes = Table(self.manager, "34.2", 2, {1: INT})
        self.rules = Table(self.manager, "34.3", 5, {2: INT, 3: INT, 4: TEXT})
        self.limits = Table(self.manager, "34.4", 2, {1: INT})
        self.unis = Table(self.manager, "11", 7, {6: INT})
        self.multicast = Table(self.manager, "14", 11, {1: INT, 2: INT, 4: UINT})
        self.flows = Table(self.manager, "12", 8, {2: INT, 4: UINT, 6: INT})

    def filters(self):
        """(service, entry, mode, limit, action, rule, address) of each filter that the card holds."""
        return [
            (one["flowId"], one["entryId"], one["mode"], one["dyn_count"], one["fwdFilter"], one["rule"], one["macAddress"])
            for one in self.objects(1, "RM_MAC_FLT")
        ]

    def of_service(self, number):
        (one,) = [one for one in self.objects(1, "RM_SERVICE") if one["serviceId"] == number]
        return one

    def kept(self):
        """How many rows there are of what goes with an ONU."""
        tables = (self.services, self.modes, self.rules, self.limits, self.multicast, self.unis)
        return [len(table.column(table.status)) for table in tables]


@pytest.fixture
def world(chassis):
    made = Services(chassis)
    assert add_onu(made) == "noError"
    made.chassis.simctl("onu", "add", serial(1, 1, 7), "port=gpon-olt1/1", "model=HOME-4")
    made.chassis.wait_for(lambda: made.onu.get(ONU, 11) == "3", what="the ONU to be operational")
    assert made.tcont.create((*ONU, 1), {5: "default"}) == "noError"
    for number in (1, 2):
        assert made.gem.create((*ONU, number), {5: 1}) == "noError"
    yield made
    made.close()


def vlan(number, gem=1):
    return {5: VLAN, 6: gem, 7: number}


def test_a_service_comes_with_its_filter_and_goes_with_its_rules(world):
    assert world.services.create((*ONU, 1), vlan(100)) == "noError"
    held = world.of_service(1)
    assert (held["type"], held["gemId"], held["vlan"]) == (VLAN, 1, 100)
    assert world.modes.get((*ONU, 1), 1) == "1"
    assert world.limits.set((*ONU, 1), {1: 200}) == "noError"
    assert [one[:4] for one in world.filters()] == [(1, 0, 0, 200)]
    assert world.modes.set((*ONU, 1), {1: STATIC}) == "noError"
    assert world.limits.get((*ONU, 1), 1) is None
    for rule in (1, 255):
        assert world.rules.create((*ONU, 1, rule), {2: 1, 3: 1, 4: bytes([2, 0, 0, 0, 0, rule]).decode("latin1")}) == "noError"
    assert [one[:2] for one in world.filters()] == [(1, 0), (1, 1), (1, 255)]
    assert world.filters()[2][4:6] == (1, 1)
    assert world.services.set((*ONU, 1), {7: 101}) == "noError"
    assert world.of_service(1)["vlan"] == 101
    assert world.services.destroy((*ONU, 1)) == "noError"
    assert world.objects(1, "RM_SERVICE") == [] and world.rules.column(5) == {}
    assert world.card(1)["reasons"] == {}


def test_services_that_take_the_same_traffic_are_refused(world):
    assert world.services.create((*ONU, 1), vlan(100)) == "noError"
    for wrong in (vlan(100), {5: TRANSPARENT, 6: 2}, {5: VLAN_UNI, 6: 2, 7: 200, 2: 1, 3: 0, 4: 1}):
        assert world.services.create((*ONU, 2), wrong) != "noError"
    assert world.services.create((*ONU, 2), vlan(101)) == "noError"
    assert [one["serviceId"] for one in world.objects(1, "RM_SERVICE")] == [1, 2]
    assert world.kept()[:4] == [2, 2, 0, 2]


def test_filters_that_cannot_be_are_refused_and_change_nothing(world):
    assert world.services.create((*ONU, 1), vlan(100)) == "noError"
    assert world.services.create((*ONU, 2), vlan(200)) == "noError"
    assert world.rules.create((*ONU, 1, 1), {4: "abcdef"}) == "noError"
    before = world.filters()
    assert world.rules.create((*ONU, 1, 2), {4: "abcdef"}) != "noError"
    assert world.rules.create((*ONU, 1, 256), {4: "ghijkl"}) != "noError"
    assert world.rules.create((1, 1, 1, 8, 1, 1), {4: "abcdef"}) != "noError"  # no such ONU
    assert world.limits.destroy((*ONU, 1)) != "noError"
    assert world.limits.create((*ONU, 3)) != "noError"
    assert world.modes.set((*ONU, 3), {1: STATIC}) != "noError"
    assert world.filters() == before
    assert world.rules.create((*ONU, 2, 2), {4: "abcdef"}) == "noError"
    assert world.kept()[:4] == [2, 2, 2, 2]


def test_a_refused_request_says_why_and_names_the_variable(world):
    assert world.services.create((*ONU, 1), vlan(100)) == "noError"
    assert world.rules.create((*ONU, 1, 1), {4: "abcdef"}) == "noError"
    assert world.srvprofile.create((1,), {4: "KLM-618"}) == "noError"
    cases = [
        (world.services, (*ONU, 2), vlan(100) | {9: 4}, 1,
         "remote service 1 of type 1 takes the same traffic, or tells it apart otherwise"),
        (world.services, (*ONU, 1), {7: 5, 6: 65537}, 2, "65537 is no number of the ONU's"),
        (world.services, (1, 1, 1, 9, 1), vlan(1) | {9: 4}, 1, "no ONU gpon-onu1/1:9"),
        (world.services, (1, 31, 15, 2, 1), vlan(1) | {9: 4}, 1, "no service profile 2"),
        (world.services, (1, 31, 15, 1, 1), {5: 1, 7: 1, 6: 3, 9: 4}, 3, "service profile 1 has no GEM port 3"),
        (world.rules, (*ONU, 1, 2), {2: 1, 4: "abcdef", 5: 4}, 2, "rule 1 of the service has this address"),
        (world.rules, (*ONU, 1, 256), {4: "ghijkl", 5: 4}, 1, "rule 256 of remote service 1 can't be"),
        (world.limits, (*ONU, 1), {2: 6}, 1, "the row is there while remote service 1 filters dynamically"),
    ]
    wrong = []
    for table, index, values, place, reason in cases:
        before = mark(world.chassis)
        name = ".".join(map(str, index))
        kinds = table.columns | {table.status: INT}
        answer = world.manager.set(*((f"{table.entry}.{column}.{name}", kinds[column], value) for column, value in values.items()))
        (logged,) = refusals(world.chassis, before) or ("",)
        if (answer["status"], answer["index"]) != ("badValue", place) or not logged.endswith(f": {reason}"):
            wrong.append((index, values, answer["status"], answer["index"], logged))
    assert wrong == []


def test_a_refusal_of_the_card_leaves_all_as_it_was(world):
    assert world.services.create((*ONU, 1), vlan(100)) == "noError"
    assert world.modes.set((*ONU, 1), {1: STATIC}) == "noError"
    assert world.rules.create((*ONU, 1, 1), {4: "abcdef"}) == "noError"
    rows = [(table.entry, table.column(table.status)) for table in (world.services, world.modes, world.rules)]
    world.chassis.card_fault(1, "code", code=1009, type="rm-mac-flt", times="forever")
    assert world.services.create((*ONU, 2), vlan(200)) != "noError"
    assert world.services.destroy((*ONU, 1)) != "noError"
    assert world.modes.set((*ONU, 1), {1: DYNAMIC}) != "noError"
    assert world.modes.get((*ONU, 1), 1) == "2"
    assert [(table.entry, table.column(table.status)) for table in (world.services, world.modes, world.rules)] == rows
    world.chassis.simctl("clear-card-faults", 1)
    assert world.services.destroy((*ONU, 1)) == "noError"


def test_multicast_follows_the_switch_of_its_uni(world):
    assert world.multicast.set((*ONU, *ETH_1), {4: 64}) != "noError"  # switched off
    assert world.unis.set((*ONU, *ETH_1), {6: 1}) == "noError"
    assert world.multicast.set((*ONU, *ETH_1), {1: 3, 2: 1, 4: 64}) == "noError"
    (held,) = world.objects(1, "RM_UNI_MCAST")
    assert (held["enabled"], held["igmpVer"], held["mode"], held["maxGrpNum"]) == (1, 3, 1, 64)
    assert world.unis.set((*ONU, *ETH_1), {6: 0}) == "noError"
    assert world.objects(1, "RM_UNI_MCAST") == [] and world.multicast.column(11) == {}
    assert world.card(1)["reasons"] == {}


def test_a_card_that_comes_up_and_an_onu_that_goes(world):
    for number in (1, 2, 3):
        assert world.services.create((*ONU, number), vlan(number)) == "noError"
    assert world.modes.set((*ONU, 1), {1: STATIC}) == "noError"
    assert world.rules.create((*ONU, 1, 9), {2: 1, 4: "abcdef"}) == "noError"
    assert world.limits.set((*ONU, 2), {1: 16}) == "noError"
    assert world.unis.set((*ONU, *ETH_1), {6: 1}) == "noError"
    assert world.multicast.set((*ONU, *ETH_1), {4: 64}) == "noError"
    services = world.objects(1, "RM_SERVICE")
    restart_card(world, 1)
    replay(world, 1)
    assert world.objects(1, "RM_SERVICE") == services
    assert [one["maxGrpNum"] for one in world.objects(1, "RM_UNI_MCAST")] == [64]
    assert [one["mcastEnabled"] for one in world.objects(1, "RM_UNI")] == [1]
    assert [one[:4] for one in world.filters()] == [(1, 0, STATIC, 0), (1, 9, 0, 0), (2, 0, 0, 16)]
    assert world.onu.destroy(ONU) == "noError"
    assert world.kept() == [0] * 6
    assert [world.objects(1, name) for name in ("ONU", "RM_SERVICE", "RM_MAC_FLT", "RM_UNI_MCAST")] == [[]] * 4


def test_flows_are_stored_and_no_card_hears_of_them(world):
    requests = len(world.chassis.records(kind="card-request", slot=1))
    row = (*ONU, 5, *ETH_1)
    assert world.flows.create(row, {2: 1, 4: 3, 6: 100}) == "noError"
    assert world.flows.set(row, {6: 200}) == "noError"
    assert world.flows.get(row, 6) == "200"
    assert world.flows.destroy(row) == "noError"
    assert len(world.chassis.records(kind="card-request", slot=1)) == requests
