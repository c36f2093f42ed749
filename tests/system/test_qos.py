"""QoS with the real daemon and line cards: profiles, what is given of them, and what becomes of it when a card is new, when
the daemon starts again and when a manager is at work."""

import pytest

from snmp_manager import Manager, Table
from test_commands_onu import ONU, ONU_PORT, Operator, add
from test_commands_remote import example_of_the_guide
from test_demo import demo
from test_provision import INT, SHELF, TEXT, UINT
from test_restore import replay, restart_card

UPLINK = "xe8/1"
CLASSES = "cos0 0 cos1 0 cos2 1 cos3 1 cos4 2 cos5 2 cos6 3 cos7"
QUEUES = "queue0 0 queue1 1000 queue2 1000-2000 queue3 0 queue4 0 queue5 0 queue6 0 queue7 1-100000000"
PROFILES = [
    "profile qos-queue-scheduler 1 name strict policy sp",
    "profile qos-queue-scheduler 16 name weighted policy wrr queue0 1 queue1 2 queue2 3 queue3 4 queue4 5 queue5 6 queue6 7 queue7 100",
    f"profile cos-queue-map 4 name four {CLASSES} 0",
    f"profile cos-to-cos 7 name seven {CLASSES} 7",
    f"profile qos-queue-traffic 128 name most {QUEUES}",
]
#: What stands on each object, in the words of the saved configuration.
ON_UPLINK = ["qos-queue-scheduler 16", "cos-queue-map 4", "cos-to-cos uplink 7 downlink default", "qos-queue-traffic 128"]
ON_PON = ["qos-queue-scheduler model hierarchy", "qos-queue-scheduler 1", "qos-queue-traffic 128"]
ON_ONU = ["qos-queue-scheduler 16", "cos-queue-map downlink 4", "qos-queue-traffic 128", "qos-onu-bandwidth min 1000 max 10000000", "qos-onu-weight 127"]
ON_SERVICE_PORT = "service-port 1 cos-to-cos uplink 7"
NONE_LEFT = ["qos-queue-scheduler 1", "qos-queue-scheduler 16", "cos-queue-map 4", "cos-to-cos 7", "qos-queue-traffic 128"]

#: Profiles that every card knows: it may be told of them as well.
DEFAULTS = {"cosq-map-put": {0, 5, 6, 7}}


class Shelf(Operator):
    """A line card with one PON port and one ONU, and an uplink port of the control card."""

    def __init__(self, chassis, snmp=False):
        super().__init__(chassis)
        chassis.start(SHELF)
        if snmp:
            chassis.start_snmpd()
        self.bring_up()
        for port in (ONU_PORT, UPLINK):
            chassis.event("new-if", ifindex=port, flags="up+running")
        chassis.wait_for(lambda: self.typed((), f"interface {UPLINK}")[0] == [0], what="the uplink port")
        add(self)
        assert self.on_onu("tcont 1 profile default", "gemport 1 tcont 1", "service-port 1 gemport 1") == ([0, 0, 0], "")

    def bring_up(self):
        chassis = self.chassis
        since = chassis.mark()
        chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"})
        chassis.wait_record(since=since, kind="request", type="cfg-app-sync-prio", cfg_prio=480)
        chassis.event("slot-active", slot_id=8, card_type=2)
        chassis.event("slot-add", slot_id=1, card_type=27)
        chassis.event("slot-active", slot_id=1, card_type=27)

    def on_uplink(self, *lines):
        return self.on_port(*lines, port=UPLINK)

    def bind_all(self):
        """Profiles of each kind, all of them given to something."""
        for type_on, lines in (
            (self.on_gpon, PROFILES),
            (self.on_uplink, ON_UPLINK),
            (self.on_port, ON_PON),
            (self.on_onu, [*ON_ONU, ON_SERVICE_PORT]),
        ):
            assert type_on(*lines) == ([0] * len(lines), "")

    def unbind_all(self):
        on_both = ["qos-queue-scheduler default", "qos-queue-traffic default"]
        for type_on, lines in (
            (self.on_uplink, [*on_both, "cos-queue-map default", "cos-to-cos uplink default downlink default"]),
            (self.on_port, [*on_both, "qos-queue-scheduler model simple"]),
            (self.on_onu, [*on_both, "cos-queue-map downlink default", "qos-onu-bandwidth min 0 max 0", "qos-onu-weight default",
                           "service-port 1 cos-to-cos uplink default"]),
            (self.on_gpon, [f"no profile {profile}" for profile in NONE_LEFT]),
        ):  # fmt: skip
            assert type_on(*lines) == ([0] * len(lines), "")

    def told(self, slot=1):
        """What a card knows of QoS: profiles by number, and what has them."""
        objects = self.chassis.card(slot)["objects"]
        rows = lambda name: objects.get(name, {"rows": []})["rows"]
        ids = lambda name: sorted(row["id"] for row in rows(name) if row["id"] not in DEFAULTS.get(name, {0}))
        return {
            "profiles": [ids(kind) for kind in ("sched-put", "cosq-map-put", "cos-to-cos-put", "traffic-put")],
            "ports": [(p["qos_model"], p["qos_sched"], p["cosq_map"], p["qos_traffic"], p["cos_to_cos_profile"]) for p in rows("port-qos-model")],
            "onus": [
                (o["shedProfile"], o["trafficProfile"], o["cosq_map_profile"], o["minBw"], o["maxBw"], o["weight"]) for o in rows("OV_HAL_MSG_GPON_ONU_QOS")
            ],
            "service ports": [s["cos_to_cos_profile"] for s in rows("OV_HAL_MSG_GPON_SERVPORT")],
        }

    def refusals(self):
        return [self.chassis.card(slot)["reasons"] for slot in (1, 8)]


BOUND = {
    "profiles": [[1, 16], [4], [7], [128]],
    "ports": [(2, 1, 0, 128, [0, 0])],
    "onus": [(16, 128, 4, 1000, 10000000, 127)],
    "service ports": [7],
}


@pytest.fixture
def shelf(chassis):
    return Shelf(chassis)


# ---- made, given, shown, saved, taken away --------------------------------------------------------------------------


def test_profiles_are_made_given_shown_saved_and_taken_away(shelf):
    shelf.bind_all()
    assert shelf.told() == BOUND
    assert shelf.told(8)["ports"] == [(1, 16, 4, 128, [7, 0])]
    shown = shelf.on_gpon("show profile qos-queue-scheduler")[1].splitlines()
    assert [line.split() for line in shown if line.endswith("weighted")] == [["16", "2", "wrr", "1", "2", "3", "4", "5", "6", "7", "100", "weighted"]]
    assert "1000-2000" in shelf.typed((), "show profile qos-queue-traffic")[1]
    for dump, seen in (("onu", ONU), ("port", UPLINK), ("servport", ONU), ("sched", "strict"), ("traffic", "most"), ("cosq-map", "four"), ("cos-to-cos", "seven")):
        assert seen in shelf.on_gpon(f"dump qos {dump}")[1], dump

    text = str(shelf.chassis.vty("write terminal"))
    for head, lines in (("gpon", PROFILES), (f"interface {UPLINK}", ON_UPLINK), (f"interface {ONU_PORT}", ON_PON)):
        assert "\n".join([head, *(f" {line}" for line in lines), ""]) in text
    assert "".join(f" {line}\n" for line in ON_ONU) in text
    assert f" {ON_SERVICE_PORT}\n" in text
    with shelf.chassis.open_vty() as session:  # a saved configuration can be typed over itself
        session("configure terminal")
        blocks = text.split("!\n")
        for line in [line for block in blocks for line in block.splitlines() if "qos" in line or "cos" in line or not line.startswith(" ")]:
            assert session(line).result == 0, line
    assert str(shelf.chassis.vty("write terminal")) == text

    shelf.unbind_all()
    assert "qos" not in str(shelf.chassis.vty("write terminal"))
    left = shelf.told()
    assert (left["profiles"], left["service ports"]) == ([[], [], [], []], [0])
    assert [(port[1:]) for port in left["ports"]] == [(0, 0, 0, [0, 0])]
    assert shelf.refusals() == [{}, {}]


def test_a_profile_that_something_has_stays(shelf):
    shelf.bind_all()
    for profile in NONE_LEFT:
        answer = shelf.on_gpon(f"no profile {profile}")
        kind, number = profile.split()
        assert answer == ([1], f"%Failed to delete {kind} profile {number}\n")
    assert shelf.told() == BOUND
    assert len(shelf.chassis.log_lines("refused: vty: .* (objects have|object has) ")) == len(NONE_LEFT)
    assert len(shelf.chassis.log_lines("is still used, don't be deleted. id")) == len(NONE_LEFT)
    assert shelf.on_port("no onu 7") == ([0], "")  # what it had is free
    assert shelf.on_gpon("no profile cos-to-cos 7")[0] == [1]  # the uplink port has it
    assert shelf.on_uplink("cos-to-cos uplink default downlink default", "cos-queue-map default") == ([0, 0], "")
    assert shelf.on_gpon("no profile cos-to-cos 7", "no profile cos-queue-map 4") == ([0, 0], "")
    assert shelf.refusals() == [{}, {}]


def test_what_a_card_refuses_is_as_before(shelf):
    assert shelf.on_gpon(*PROFILES)[0] == [0] * 5
    before = str(shelf.chassis.vty("write terminal"))
    shelf.chassis.card_fault(1, "code", times="forever", code=1004)
    for line in ("qos-queue-scheduler 16", "qos-queue-traffic 128", "qos-queue-scheduler model hierarchy"):
        assert shelf.on_port(line)[0] == [1], line
    for line in ("qos-queue-scheduler 16", "qos-onu-weight 9", "qos-onu-bandwidth min 1 max 2", ON_SERVICE_PORT):
        assert shelf.on_onu(line)[0] == [1], line
    shelf.chassis.simctl("clear-card-faults", 1)
    assert str(shelf.chassis.vty("write terminal")) == before
    assert shelf.on_gpon(*(f"no profile {profile}" for profile in NONE_LEFT)) == ([0] * 5, "")
    shelf.bind_all()
    assert shelf.told() == BOUND


# ---- cards and daemons that start again -----------------------------------------------------------------------------


def test_a_new_card_is_told_everything_again(shelf):
    shelf.bind_all()
    shelf.card = shelf.chassis.card
    restart_card(shelf, 1)
    replay(shelf, 1)
    assert shelf.told() == BOUND
    assert shelf.refusals() == [{}, {}]


TABLES = """sPonTable sOnuTable sTcontTable sGemTable servicePortTable qosSchedulerProfileTable qosTrafficProfileTable
cosQueueMappingProfileTable cosToCosProfileTable portQosTable ponPortQosTable onuQosTable""".split()


def test_a_daemon_that_starts_again_knows_it_all(shelf):
    chassis = shelf.chassis
    shelf.bind_all()
    text = str(chassis.vty("write terminal"))
    for number, table in enumerate(TABLES):
        chassis.event("snmp-mib-table-save", sequence=number, tablename=table)
        chassis.wait_log(rf"Process mibsave request {number} for {table}\.$")
    chassis.kill_daemon()
    shelf.bring_up()
    for port in (ONU_PORT, UPLINK):
        chassis.event("new-if", ifindex=port, flags="up+running")
    chassis.wait_for(lambda: shelf.typed((), f"interface {UPLINK}")[0] == [0], what="the uplink port")
    assert str(chassis.vty("write terminal")) == text
    for profile in NONE_LEFT:  # what has them is known, too
        assert shelf.on_gpon(f"no profile {profile}")[0] == [1], profile
    shelf.unbind_all()
    assert shelf.told()["profiles"] == [[], [], [], []]
    assert shelf.refusals() == [{}, {}]


# ---- managers -------------------------------------------------------------------------------------------------------


def test_managers_make_profiles_and_bind_them(chassis):
    shelf = Shelf(chassis, snmp=True)
    chassis.wait_agent(15)
    manager = Manager(chassis)
    sched = Table(manager, "30.3", 13, {2: TEXT, 4: UINT, **{column: INT for column in range(5, 13)}})
    traffic = Table(manager, "30.4", 20, {2: TEXT, **{column: INT for column in range(4, 20)}})
    mapping = Table(manager, "30.5", 12, {2: TEXT, **{column: INT for column in range(4, 12)}})
    onu = Table(manager, "30.1", 7, {1: INT, 2: INT, 4: UINT, 6: INT, 8: INT})
    pon = Table(manager, "30.7", 7, {1: INT, 2: INT, 3: INT})
    weights = {column: 127 for column in range(5, 13)}
    assert sched.create((1, 2), {2: "managed", 4: 0x22222222, **weights}) == "noError"
    assert sched.create((1, 3), {4: 0x22222225}) != "noError"
    assert sched.create((1, 3), {5: 128}) != "noError"
    assert sched.set((1, 2), {5: 1}) != "noError"  # nobody edits a profile
    assert traffic.create((1, 9), {2: "nine"}) == "noError"
    assert traffic.get((1, 9), 4) == "-1"  # no limit
    assert mapping.create((1, 1), {column: 7 for column in range(4, 12)}) == "noError"
    assert onu.set((1, 1, 1, 7), {1: 2, 2: 9, 4: 5000, 6: 20, 8: 1}) == "noError"
    assert onu.set((1, 1, 1, 7), {1: 3}) != "noError"
    assert pon.set((1, 1, 1), {2: 2, 3: 9}) == "noError"
    told = shelf.told()
    assert told["profiles"] == [[2], [1], [], [9]]
    assert told["onus"] == [(2, 9, 1, 0, 5000, 20)]
    assert told["ports"] == [(1, 2, 0, 9, [0, 0])]
    assert sched.destroy((1, 2)) != "noError"
    assert [sched.get((1, 2), 2), onu.get((1, 1, 1, 7), 1), pon.get((1, 1, 1), 2)] == ["managed", "2", "2"]
    # weights above 100 no command gives: neither the profile nor what has it is saved
    text = str(chassis.vty("write terminal"))
    assert "qos-queue-scheduler" not in text and " qos-queue-traffic 9\n" in text and " qos-onu-weight 20\n" in text
    assert onu.set((1, 1, 1, 7), {1: 0}) == "noError"
    assert pon.set((1, 1, 1), {2: 0}) == "noError"
    assert sched.destroy((1, 2)) == "noError"
    assert shelf.refusals() == [{}, {}]
    manager.close()


def test_a_card_that_refuses_the_third_message_of_a_binding(chassis):
    shelf = Shelf(chassis, snmp=True)
    chassis.wait_agent(15)
    manager = Manager(chassis)
    assert shelf.on_gpon(*PROFILES)[0] == [0] * 5
    uplink = Table(manager, "30.2", 7, {2: INT, 3: INT, 4: INT})
    chassis.card_fault(8, "code", type="port-qos-traffic", code=1004)
    wanted = {2: 16, 3: 128, 4: 4}
    assert uplink.set((1, 8, 1), wanted) != "noError"
    assert [uplink.get((1, 8, 1), column) for column in wanted] == ["0", "0", "0"]
    assert uplink.set((1, 8, 1), wanted) == "noError"
    assert [uplink.get((1, 8, 1), column) for column in wanted] == ["16", "128", "4"]
    assert shelf.told(8)["ports"] == [(1, 16, 4, 128, [0, 0])]
    assert uplink.set((1, 8, 1), {2: 0, 3: 0, 4: 0}) == "noError"
    assert shelf.on_gpon(*(f"no profile {profile}" for profile in NONE_LEFT)) == ([0] * 5, "")  # nothing counts twice
    assert shelf.refusals() == [{}, {}]
    manager.close()


# ---- the guide ------------------------------------------------------------------------------------------------------


def test_the_example_of_the_guide_works(tmp_path):
    steps = list(example_of_the_guide("compares the quality of service"))
    assert len(steps) > 25
    played = tmp_path / "example.txt"
    played.write_text("## Quality of service\nText.\n" + "\n".join(steps) + "\n")
    status, output = demo("--demo", played, binds=[tmp_path])
    assert status == 0, output
