"""Optics: what modules and ONUs read, the modules' thresholds and their switch, limits of ONUs by profile."""

import pytest

from snmp_manager import Table
from test_commands_onu import Operator
from test_provision import INT, world  # noqa: F401 - a fixture
from test_restore import replay, restart_card

PORT = (1, 1, 1)
PORT_NAME = "gpon-olt1/1"
SERIAL = "ABCD00000007"
FROZEN = "onu rssi profile set error,maybe the profile is inuse \n"


@pytest.fixture
def optics(world):  # noqa: F811
    world.threshold = Table(world.manager, "36.2", 12, {1: INT})
    world.optic = Table(world.manager, "36.1", 9, {})
    world.rssi = Table(world.manager, "43.1", 22, {column: INT for column in range(2, 22)})
    world.operator = Operator(world.chassis)
    return world


def set_admin(world, flags):  # noqa: F811
    world.chassis.event("if-admin", ifindex=PORT_NAME, flags=flags)
    wanted = "1" if flags else "0"
    world.chassis.wait_for(lambda: world.port.get(PORT, 5) == wanted, what="the port's state")


def held(world, slot, name):  # noqa: F811
    return world.card(slot)["objects"].get(f"OV_HAL_MSG_GPON_{name}", {"rows": []})["rows"]


def profiles(world, slot):  # noqa: F811
    return {row["profileId"]: row["rssiAttr"] for row in held(world, slot, "ONU_RSSI")}


# ---- modules of ports -----------------------------------------------------------------------------------------


def test_thresholds_are_the_modules_while_the_port_is_on_and_else_those_read_last(optics):
    simctl = optics.chassis.simctl
    assert optics.threshold.get(PORT, 2) == "0"  # nobody has asked the module yet
    set_admin(optics, "up")
    assert [optics.threshold.get(PORT, column) for column in range(2, 12)] == [
        "150", "500", "-3000", "-800", "3100", "3500", "500", "9000", "-500", "7500"]  # fmt: skip
    simctl("optics", PORT_NAME, "txPwr_low=-77", "temp_high=8000")
    assert [optics.threshold.get(PORT, column) for column in (2, 11)] == ["-77", "8000"]
    set_admin(optics, 0)
    simctl("optics", PORT_NAME, "txPwr_low=5")
    assert optics.threshold.get(PORT, 2) == "-77"
    set_admin(optics, "up")
    assert optics.threshold.get(PORT, 2) == "5"
    assert optics.card(1)["reasons"] == {}


def test_of_a_card_that_cannot_tell_a_manager_sees_what_was_read_last(optics):
    set_admin(optics, "up")
    for code in (1008, 1009):
        optics.chassis.card_fault(1, "code", type="pon-module-threshold", code=code)
        assert optics.threshold.get(PORT, 2) == "0"
    assert optics.threshold.get(PORT, 2) == "150"
    optics.chassis.simctl("optics", PORT_NAME, "txPwr_low=5")
    optics.chassis.card_fault(1, "code", type="pon-module-threshold", code=1009)
    assert optics.threshold.get(PORT, 2) == "150"


def test_the_switch_reaches_the_card_by_its_own_action_word(optics):
    since = optics.chassis.mark()
    assert optics.threshold.set(PORT, {1: 1}) == "noError"
    (record,) = optics.chassis.records(since=since, kind="card-request", type="pon-module-threshold")
    assert (record["slot"], record["action"], record["mask"]) == ("1", "delete", "0x2")
    assert [row["action"] for row in held(optics, 1, "PON_MODULE_THRESHOLD")] == [1]
    assert held(optics, 2, "PON_MODULE_THRESHOLD") == []
    optics.chassis.card_fault(1, "code", type="pon-module-threshold", code=1009)
    assert optics.threshold.set(PORT, {1: 0}) != "noError"
    assert optics.threshold.get(PORT, 1) == "1"
    assert optics.threshold.set(PORT, {1: 0}) == "noError"
    assert [row["action"] for row in held(optics, 1, "PON_MODULE_THRESHOLD")] == [0]
    assert optics.threshold.set(PORT, {1: 2}) != "noError"


def test_readings_of_modules_are_those_stored(optics):
    set_admin(optics, "up")
    optics.chassis.simctl("optics", PORT_NAME, "txPwr=123")
    assert [optics.optic.get(PORT, column) for column in range(4, 9)] == ["0"] * 5
    assert len(optics.optic.column(4)) == len(optics.threshold.column(1)) == 8  # one for each port


# ---- ONUs -----------------------------------------------------------------------------------------------------


def come_up(world):  # noqa: F811
    assert world.operator.on_port(f"onu 7 type KLM-618 sn {SERIAL}") == ([0], "")
    world.chassis.simctl("onu", "add", SERIAL, f"port={PORT_NAME}")
    world.chassis.wait_for(lambda: "operational" in world.operator.on_port("show onu status")[1], what="the ONU to be up")


def rx_power(world):  # noqa: F811
    results, text = world.operator.on_port("show optical module rxpower onuid 7")
    assert results == [0]
    return int(text.split()[-1])


def test_what_a_port_receives_of_an_onu_is_shown_and_drifts(optics):
    come_up(optics)
    assert -1970 <= rx_power(optics) <= -1930
    optics.chassis.simctl("optics", SERIAL, "oltRxPw=-2801")
    assert rx_power(optics) == -2801
    optics.chassis.simctl("optics", SERIAL, "oltRxPw=-2801", "drift=-1000")
    optics.chassis.wait_for(lambda: rx_power(optics) < -3000, what="the light to fade")
    optics.chassis.simctl("optics", SERIAL, "rxpwr=-2222", "temperature=6001")
    text = optics.operator.on_onu("show onu remote optical info")[1]
    assert "-2222" in text and "6001" in text


# ---- limits by profile ----------------------------------------------------------------------------------------


def test_a_profile_of_limits_goes_to_every_card_and_is_frozen_while_an_onu_has_it(optics):
    gpon, on_onu = optics.operator.on_gpon, optics.operator.on_onu
    come_up(optics)
    line = "profile onu-rssi 3 rxpwr-threshold -2900 -2700 -900 -800"
    assert gpon(line) == ([0], "")
    for slot in (1, 2):
        limits = profiles(optics, slot)[3]
        assert [limits[f"rxpwr{name}"] for name in ("AlarmL", "WarnL", "WarnH", "AlarmH")] == [-2900, -2700, -900, -800]
        assert limits["tempAlarmH"] == 9000
    assert on_onu("onu-rssi-profile 3") == ([0], "")
    (onu,) = held(optics, 1, "ONU")
    assert onu["rssiProfileId"] == 3
    assert gpon("profile onu-rssi 3 vcc-threshold 1 2 3 4") == ([1], FROZEN)
    assert gpon("no profile onu-rssi 3") == ([1], "%Failed to delete onu rssi profile 3\n")
    assert optics.rssi.set((3,), {14: 1}) != "noError"
    assert optics.rssi.destroy((3,)) != "noError"
    assert optics.rssi.get((3,), 14) == "363"
    assert line in optics.chassis.vty("write terminal")
    # a card that begins anew has it before the ONU that names it
    restart_card(optics, 1)
    replay(optics, 1)
    optics.chassis.wait_for(lambda: [row["rssiProfileId"] for row in held(optics, 1, "ONU")] == [3], what="the ONU")
    assert sorted(profiles(optics, 1)) == [0, 3]
    assert on_onu("onu-rssi-profile default") == ([0], "")
    assert gpon("no profile onu-rssi 3") == ([0], "")
    assert 3 not in profiles(optics, 1) and 3 not in profiles(optics, 2)
    assert optics.card(1)["reasons"] == optics.card(2)["reasons"] == {}


def test_a_card_refuses_a_profile_that_it_was_never_told(optics):
    come_up(optics)
    assert optics.operator.on_onu("onu-rssi-profile 9") == ([1], "%Failed to add onu rssi profile\n")
    assert optics.card(1)["reasons"] == {"no-rssi-profile": 1}
    (onu,) = held(optics, 1, "ONU")
    assert onu["rssiProfileId"] == 0


def test_a_manager_makes_profiles_and_sees_the_defaults(optics):
    defaults = [900, -1400, 800, -1200, 300, -3400, 200, -3000, 13100, 200, 11000, 700, 363, 297, 347, 314, 9000, -4500, 8000, -1500]
    assert [int(optics.rssi.get((0,), column)) for column in range(2, 22)] == defaults
    assert optics.rssi.create((5,), {6: -700}) == "noError"
    limits = profiles(optics, 1)[5]
    assert (limits["rxpwrAlarmH"], limits["rxpwrAlarmL"]) == (-700, -3400)
    assert optics.rssi.destroy((5,)) == "noError"
    assert 5 not in profiles(optics, 1)


def test_the_default_profile_may_go_without_onus_and_is_back_at_the_next_start(optics):
    assert optics.rssi.destroy((0,)) == "noError"
    assert optics.operator.on_gpon("show profile onu-rssi default") == ([1], "%Invalid parameter \n")
    optics.chassis.kill_daemon()
    optics.chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"})
    results, text = optics.operator.on_gpon("show profile onu-rssi default")
    assert results == [0] and text.count("default") == 5


# ---- the simulator's own words --------------------------------------------------------------------------------


def test_readings_are_told_and_wrong_ones_refused(optics):
    simctl = optics.chassis.simctl
    simctl("optics", PORT_NAME, "temp=-5", "vcc=0x10")
    words = dict(word.split("=") for word in "".join(simctl("optics", PORT_NAME)).split())
    assert (words["temp"], words["vcc"], words["temp_high"], len(words)) == ("-5", "16", "7500", 15)
    for wrong in (("gpon-olt1/1", "temp=x"), ("gpon-olt1/1", "rxpwr=1"), ("gpon-olt5/1", "temp=1"), ("xe1/1",), (SERIAL, "rxpwr=1"), (PORT_NAME, "temp=1", "drift=x")):
        with pytest.raises(AssertionError):
            simctl("optics", *wrong)
