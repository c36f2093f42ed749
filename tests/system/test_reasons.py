"""Why an ONU isn't up, as an operator is told: "show onu reason", "show alarm", "show slot info", and the log's line
for each change of a state."""

import re

import pytest

from shelf import start_shelf

PORTS = ("gpon-olt1/1", "gpon-olt1/2", "gpon-olt2/1")
TIME = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d"
ALARM_WAIT = 60.0  # an alarm stands three seconds after its raise, on a busy machine later


class World:
    def __init__(self, chassis):
        self.chassis = chassis
        start_shelf(chassis, *PORTS)

    def onu(self, *words):
        self.chassis.simctl("onu", *words)

    def configure(self, port, *lines):
        for line in lines:
            reply = self.chassis.vty("configure terminal", f"interface {port}", line)
            assert (reply.result, reply) == (0, ""), line

    def line(self, place):
        """What is said of an ONU: (now, since, last reason, at, remarks)."""
        for line in self.chassis.vty("show onu reason").splitlines():
            if line.startswith(place + " "):
                return line[11:28].rstrip(), line[29:48].rstrip(), line[50:65].rstrip(), line[66:85].rstrip(), line[87:].rstrip()
        return None

    def wait_now(self, place, now, reason=None):
        def is_so():
            line = self.line(place)
            return line and line[0] == now and reason in (None, line[2])

        self.chassis.wait_for(is_so, 20, f"{place} to be {now} ({reason}); it is {self.line(place)}")
        return self.line(place)


@pytest.fixture
def world(chassis):
    return World(chassis)


def test_each_way_of_not_being_up_has_its_words(world):
    world.configure(
        "gpon-olt1/1",
        "onu 1 type KLM-618 sn ABCD00000001",
        "onu 2 type KLM-618 sn ABCD00000002",
        "onu 3 type KLM-618 sn ABCD000000F3",
        "onu 4 type KLM-618 sn ABCD00000004 pw right",
        "onu 5 type KLM-618 sn ABCD00000005",
    )
    assert world.line("1/1:1") == ("never seen", "-", "-", "-", "")
    world.onu("add", "ABCD00000001", "port=gpon-olt1/1")
    world.onu("add", "ABCD00000002", "port=gpon-olt1/1")
    world.onu("add", "ABCD000000f3", "port=gpon-olt2/1")  # on the wrong port
    world.onu("add", "ABCD00000004", "port=gpon-olt1/1", "pw=wrong")
    now, since, reason, at, remarks = world.wait_now("1/1:1", "operational")
    assert re.fullmatch(TIME, since) and (reason, at, remarks) == ("-", "-", "")
    world.wait_now("1/1:2", "operational")
    assert world.wait_now("1/1:3", "on other port")[4] == "waits unconfigured on gpon-olt2/1"
    assert world.wait_now("1/1:4", "other password")[4] == "serial number ABCD00000004 waits unconfigured on its port"
    assert world.line("1/1:5")[0] == "never seen"
    assert world.line("1/1:5")[4] == "on its port unconfigured: ABCD00000004"

    world.onu("gasp", "ABCD00000001")
    now, since, reason, at, remarks = world.wait_now("1/1:1", "off", "dying gasp")
    assert re.fullmatch(TIME, since) and since == at
    world.onu("lose", "ABCD00000002")
    world.wait_now("1/1:2", "off", "loss of signal")
    world.onu("on", "ABCD00000001")
    assert world.wait_now("1/1:1", "operational")[2] == "dying gasp"

    world.configure("gpon-onu1/1:1", "name first-home", "deactive")
    world.wait_now("1/1:1", "deactivated", "deactivated")
    world.chassis.wait_log(r"notice/60 .*gpon-onu1/1:1 \(first-home\) goes from operational to added: deactivated$")
    world.configure("gpon-onu1/1:1", "active")
    world.wait_now("1/1:1", "operational", "deactivated")

    # the lines of the log, each change once
    goes = [line.split(": ", 1)[1] for line in world.chassis.log_lines(r"gpon-onu1/1:1\b.* goes from ")]
    assert goes[:4] == [
        "gpon-onu1/1:1 goes from added to authpass",
        "gpon-onu1/1:1 goes from authpass to operational",
        "gpon-onu1/1:1 goes from operational to added: dying gasp",
        "gpon-onu1/1:1 goes from added to authpass",
    ]

    # one ONU alone, and from elsewhere
    vty = world.chassis.vty
    assert vty("configure terminal", "show onu 2 reason").count("\n1/1:2 ") == 1
    assert "total 5" in vty("show interface gpon-olt1/1 onu reason")
    assert "total 1" in vty("show interface gpon-onu1/1:2 onu reason")


def test_a_pulled_card_tells_its_onus_and_its_slot(world):
    world.configure("gpon-olt1/1", "onu 1 type KLM-618 sn ABCD00000001")
    world.configure("gpon-olt2/1", "onu 1 type KLM-618 sn ABCD00000002")
    world.onu("add", "ABCD00000001", "port=gpon-olt1/1")
    world.wait_now("1/1:1", "operational")
    assert slot_state(world, 1) == slot_state(world, 2) == "in service"
    world.chassis.simctl("card", 1, "off")
    world.chassis.event("slot-deactive", slot_id=1, card_type=27)
    line = world.wait_now("1/1:1", "card away", "card away")
    assert re.fullmatch(TIME, line[1])
    assert world.line("2/1:1")[0] == "never seen"
    assert re.fullmatch(f"away since {TIME}", slot_state(world, 1))
    assert slot_state(world, 2) == "in service"
    assert slot_state(world, 3) == "-"
    world.chassis.simctl("card", 1, "on")
    world.chassis.event("slot-active", slot_id=1, card_type=27)
    sync_start(world, 300)
    world.wait_now("1/1:1", "card being set up", "card away")
    assert slot_state(world, 1) == "being set up"
    for done, prio in ((300, 410), (410, 480)):  # the first takes sixteen steps of a second
        world.chassis.wait_record(timeout=60, kind="request", type="cfg-app-notify-recover-result", cfg_prio=done)
        sync_start(world, prio)
    world.chassis.wait_for(lambda: slot_state(world, 1) == "in service", 60, "the end of the set-up")
    assert world.line("1/1:1")[0] != "card being set up"


def sync_start(world, prio):
    world.chassis.event("cfg-slot-sync-start", appid=30047, slotid=1, cfg_prio=prio, appName="gpon")


def slot_state(world, slot):
    for line in world.chassis.vty("show slot info").splitlines():
        words = line.split()
        if words[:1] == [str(slot)]:
            return " ".join(words[8:])
    return None


def test_alarms_stand_with_their_names_and_ages(world):
    world.configure("gpon-olt1/1", "onu 1 type KLM-618 sn ABCD00000001")
    world.onu("add", "ABCD00000001", "port=gpon-olt1/1")
    world.wait_now("1/1:1", "operational")
    assert world.chassis.vty("show alarm").endswith("total 0\n")
    world.onu("gasp", "ABCD00000001")
    world.chassis.card_event(2, "trap", AlarmTableAlarmSource="gpon-olt2/1", AlarmTableAlarmCode=101,
                             AlarmTableAlarmState=1, AlarmTableAlarmSeverity=4, AlarmTableAlarmSourceType=5)  # fmt: skip
    world.chassis.wait_for(lambda: world.chassis.vty("show alarm").endswith("total 2\n"), ALARM_WAIT, "the alarms")
    text = world.chassis.vty("show alarm")
    assert re.search(rf"^gpon-onu1/1:1 +minor +209 +dying gasp +{TIME} +0d 00:\d\d:\d\d$", text, re.M), text
    assert re.search(rf"^gpon-olt2/1 +critical +101 +oltPonLos +{TIME} +0d 00:\d\d:\d\d$", text, re.M), text
    assert "gpon-olt2/1" not in world.chassis.vty("show alarm interface gpon-olt1/1")
    assert "total 1" in world.chassis.vty("show alarm interface gpon-olt1/1")
    assert "total 1" in world.chassis.vty("configure terminal", "interface gpon-onu1/1:1", "show alarm")
    world.configure("gpon-olt2/1", "onu 1 type KLM-618 sn ABCD00000009")
    assert world.line("2/1:1")[4] == "no light on gpon-olt2/1"
