"""A protection group through its life: two ports of a card at one splitter, of which one carries the ONUs. Its
configuration is copied and mirrored, operator and card switch over, and the card holds the same for both ports."""

import concurrent.futures
import functools
import re

import pytest

from chassis import SNMPD_CONF, SimctlError, wait_for
from snmp_manager import Table
from test_provision import INT, TEXT, Chassis, add_onu, serial
from test_restore import replay, restart_card

WORK, PROTECT = "gpon-olt1/1", "gpon-olt1/2"
GROUP = f"protectgroup 1 name north workpon {WORK} protectpon {PROTECT} typeB"
NO, MSW, MSP = 1, 2, 3


def pon(port, slot=1):
    return 9 << 27 | 1 << 26 | slot << 21 | (port - 1) << 15


class Pair(Chassis):
    """The card in slot 1 in step, with subscribers on port 1."""

    def __init__(self, chassis, onus=3):
        super().__init__(chassis, ports=3)
        self.groups = Table(self.manager, "32", 11, {2: TEXT, 3: INT, 4: INT, 7: INT, 8: INT})
        replay(self, 1)
        for onu in range(1, onus + 1):
            self.subscribe(onu)
        chassis.simctl("onu", "add", serial(1, 1, 1), f"port={WORK}", f"count={onus}")
        self.wait_up(1, onus)

    def subscribe(self, onu):
        index = (1, 1, 1, onu)
        assert add_onu(self, *index[1:]) == "noError"
        assert self.tcont.create((*index, 1), {5: "default"}) == "noError"
        assert self.gem.create((*index, 1), {5: 1}) == "noError"
        assert self.service.create((*index, 1), {2: 1, 3: 100 + onu, 7: 1}) == "noError"

    def up(self, port):
        """The ONUs of a port that are in operation."""
        return sorted(index[3] for index, state in self.onu.column(11).items() if index[2] == port and state == "3")

    def wait_up(self, port, onus):
        wait_for(lambda: self.up(port) == list(range(1, onus + 1)), what=f"{onus} ONUs of port {port} to be up")

    def vty(self, *lines):
        return self.chassis.vty("configure terminal", "gpon", *lines)

    def differences(self):
        """What the card holds for the two ports, compared."""
        try:
            self.chassis.simctl("compare", WORK, PROTECT)
            return ""
        except SimctlError as error:
            return error.reason

    def wait_equal(self):
        try:
            wait_for(lambda: self.differences() == "", what="both ports to be equal")
        finally:
            assert self.differences() == ""


@pytest.fixture
def world(chassis):
    made = Pair(chassis)
    yield made
    made.close()


def test_a_group_is_made_switched_by_both_sides_and_ended(world):
    chassis = world.chassis
    assert world.differences() != ""
    assert world.vty(GROUP) == ""
    world.wait_equal()
    assert world.groups.get((1,), 7) == str(pon(1))
    assert re.search(rf"^1 +north +{WORK} .*{PROTECT} .*{WORK} ", world.vty("show protectgroup 1"), re.M)
    assert f" {GROUP}" in chassis.vty("write terminal")

    # What is written on the working port is repeated; the protecting one takes nothing.
    world.subscribe(4)
    assert world.port.set((1, 1, 1), {15: 1}) == "noError"
    assert world.port.set((1, 1, 2), {15: 0}) != "noError"
    assert add_onu(world, port=2, onu=9) != "noError"
    world.wait_equal()
    assert world.vty("profile qos-queue-scheduler 1 name strict policy sp") == ""
    for where, line in (("gpon-onu1/1:1", "qos-onu-weight 127"), ("gpon-onu1/1:1", "qos-onu-bandwidth min 1000 max 100000"),
                        (WORK, "qos-queue-scheduler 1")):  # fmt: skip
        assert world.vty(f"interface {where}", line) == ""
    qos = Table(world.manager, "30.1", 7, {})
    wait_for(lambda: qos.get((1, 1, 2, 1), 6) == qos.get((1, 1, 1, 1), 6) == "127", what="the weight to be repeated")
    port_qos = Table(world.manager, "30.7", 7, {})
    wait_for(lambda: port_qos.get((1, 1, 2), 2) == port_qos.get((1, 1, 1), 2) == "1", what="the scheduler to be repeated")
    world.wait_equal()
    chassis.simctl("onu", "add", serial(1, 1, 4), f"port={WORK}")
    world.wait_up(1, 4)

    # The fibre of the working port is cut while traffic flows: the card switches and reports.
    chassis.simctl("traffic", serial(1, 1, 1), "per-second", "up=1000", "down=1000")
    chassis.simctl("fibre", WORK, "cut")
    world.wait_up(2, 4)
    assert world.up(1) == []
    wait_for(lambda: world.groups.get((1,), 7) == str(pon(2)), what="the group's active port")
    assert world.vty("protectgroup 1 switchover p2w") != ""  # it serves already
    world.subscribe(5)  # still by way of the working port
    world.wait_equal()
    chassis.simctl("fibre", WORK, "mend")
    assert world.groups.get((1,), 7) == str(pon(2))  # nobody turns back by himself

    # The operator and a manager switch, too.
    assert world.vty("protectgroup 1 switchover w2p") == ""
    world.wait_up(1, 4)
    assert world.groups.set((1,), {8: MSP}) == "noError"
    world.wait_up(2, 4)
    assert world.groups.set((1,), {8: MSP}) != "noError"
    assert world.groups.set((1,), {8: NO}) == "noError"  # swaps, too
    world.wait_up(1, 4)

    assert world.groups.destroy((1,)) == "noError"
    assert world.differences() == ""
    assert world.port.set((1, 1, 2), {15: 0}) == "noError"
    assert world.card(1)["reasons"] == {}


def test_a_group_outlives_daemon_and_card(world):
    chassis = world.chassis
    index = (1,)
    assert world.groups.create(index, {2: "north", 3: pon(1), 4: pon(2)}) == "noError"
    assert world.groups.set(index, {8: MSP}) == "noError"
    world.wait_up(2, 3)
    restart_card(world, 1)
    replay(world, 1)
    world.wait_up(2, 3)
    world.wait_equal()
    # the card was told which port serves
    (group,) = world.card(1)["objects"]["OV_HAL_MSG_GPON_PON_PROTECT"]["rows"]
    assert (group["ifindex_work_pon"], group["ifindex_stdby_pon"]) == (pon(2), pon(1))
    assert world.vty("protectgroup 1 switchover w2p") == ""
    world.wait_up(1, 3)


# ---- a manager's group ---------------------------------------------------------------------------------------

#: The time that the master gives a subagent for each phase of a SET.
PATIENT = SNMPD_CONF + "agentXTimeout 60\n"
HASTY = SNMPD_CONF + "agentXTimeout 1\nagentXRetries 0\n"
NEW_GROUP = {2: "north", 3: pon(1), 4: pon(2)}


@pytest.fixture
def managed(chassis, request, monkeypatch):
    """The same with a master that has such patience."""
    monkeypatch.setenv("GPON_TEST_SNMP_TIMEOUT", "60")
    chassis.start_snmpd = functools.partial(chassis.start_snmpd, conf=request.param)
    made = Pair(chassis)
    yield made
    made.close()


@pytest.mark.parametrize("managed", [PATIENT], indirect=True, ids=["patient"])
def test_others_are_served_while_a_managers_group_is_copied(managed):
    chassis = managed.chassis
    mark = chassis.mark()
    chassis.card_fault(1, "late", type="tcont", ms=2000, times=3)
    with chassis.open_vty(timeout=60) as session, concurrent.futures.ThreadPoolExecutor() as pool:
        for line in ("configure terminal", "gpon", "interface gpon-olt1/3"):
            assert session(line).result == 0
        made = pool.submit(managed.groups.create, (1,), NEW_GROUP)
        chassis.wait_record(kind="card-request", type="tcont", since=mark, timeout=20)
        assert session("fec downstream enable").result == 0
        assert made.result() == "noError"
    told = [(record["type"].split("_GPON_")[-1], record.get("port")) for record in chassis.records(since=mark, kind="card-request", slot=1)]
    first = lambda kind, port: told.index((kind, port))
    assert first("TCONT", "gpon-onu1/2:1") < first("PORT", "gpon-olt1/3") < first("PON_PROTECT", WORK), told
    assert managed.groups.get((1,), 7) == str(pon(1))
    managed.wait_equal()
    assert managed.groups.create((1,), NEW_GROUP) == "inconsistentValue"
    assert managed.groups.destroy((1,)) == "noError"
    # Both ports have ONUs now: the set is refused as ever, with its reason.
    assert managed.groups.create((1,), NEW_GROUP) != "noError"
    assert "protecting port has ONUs" in chassis.vty("show refused last")
    assert managed.groups.get((1,), 7) is None


@pytest.mark.parametrize("managed", [HASTY], indirect=True, ids=["hasty"])
def test_a_managers_group_that_the_master_gives_up_is_taken_back(managed):
    chassis = managed.chassis
    chassis.card_fault(1, "late", type="tcont", ms=2000, times=1)
    reply = managed.manager.set(*managed.groups.objects((1,), NEW_GROUP, 4))
    assert reply["status"] != "noError"
    on_second = lambda: [row for row in managed.objects(1, "ONU") if row["ifindex"] >> 15 & 15 == 1]
    wait_for(lambda: on_second() == [], 20, "the copy to be taken back")
    # No group is left, neither port has a role, and the second one is blank.
    assert "No protect group 1" in managed.vty("show protectgroup 1")
    wait_for(lambda: managed.vty(GROUP) == "", 20, "the group to be made by somebody else")
    managed.wait_equal()
    assert managed.card(1)["reasons"] == {}


@pytest.mark.parametrize(
    "protect, before",
    [
        ("gpon-olt2/1", None),  # another card
        (WORK, None),
        (PROTECT, {14: 40}),  # not blank
    ],
)
def test_ports_that_dont_fit_are_refused_with_a_reason(chassis, protect, before):
    world = Chassis(chassis, ports=2)
    if before:
        assert world.port.set((1, 1, 2), before) == "noError"
    reply = chassis.vty("configure terminal", "gpon", GROUP.replace(PROTECT, protect, 1))
    assert "Failed to add gpon protect group" in reply
    assert world.chassis.records(kind="card-request", type="pon-protect") == []
    world.close()


def test_a_port_is_copied_and_cleared(world):
    assert world.port.set((1, 1, 1), {14: 40, 15: 1}) == "noError"
    assert world.vty(f"copy config src {WORK} dst {PROTECT}") == ""
    assert world.differences() == ""
    assert [row[2] for row in world.onu.column(4)] == [1, 1, 1, 2, 2, 2]
    assert world.vty(f"clear config {PROTECT}") == ""
    assert [row[2] for row in world.onu.column(4)] == [1, 1, 1]
    assert world.port.get((1, 1, 2), 14) == "20"
    assert "Invalid IFNAME: nowhere" in world.vty("clear config nowhere")
    assert world.card(1)["reasons"] == {}
