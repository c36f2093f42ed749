"""ONUs that provision themselves: learning ports, their rules, and who is refused and why."""

import json
import re

import pytest

from chassis import SimctlError
from test_commands_onu import ONU_PORT, start_shelf
from test_restore import replay, restart_card

SERVICE = ["tcont 1 profile default", "gemport 1 tcont 1", "service-port 1 gemport 1 user-vlan 100 vlan 100",
           "remote service 1 gem 1 vlan 100"]  # fmt: skip
COPYING = "onu auto-authentication enable auto-flow enable def-srv-profile five configure_onu_node enable"
BINDING = "onu auto-authentication enable auto-flow enable def-srv-profile five"


def add_profile(shelf, number, name, *lines):
    lines = (f"profile-name {name}", *lines)
    assert shelf.on_profile(*lines, profile=number) == ([0] * len(lines), "")


@pytest.fixture
def shelf(chassis):
    """With service profiles 5, that has a service, and 6, which is empty."""
    made = start_shelf(chassis)
    made.card = chassis.card
    add_profile(made, 5, "five", *SERVICE)
    add_profile(made, 6, "six")
    return made


def learn_on(shelf, *lines, port=ONU_PORT):
    assert shelf.on_port(*lines, port=port) == ([0] * len(lines), "")


def plug(shelf, serial, port=ONU_PORT, **options):
    shelf.chassis.simctl("onu", "add", serial, f"port={port}", *(f"{k}={v}" for k, v in options.items()))


def learned(shelf, words=""):
    """What the list says of each ONU that was reported: place, serial number, rule, profile, result."""
    rows = [json.loads(line) for line in shelf.chassis.vty(f"json show onu learned{words}").splitlines()]
    return [tuple(row[name] for name in ("onu", "serial_number", "rule", "profile", "result")) for row in rows]


def own(shelf, slot, name):
    """How many such objects the card holds for ONUs, rather than for service profiles."""
    index = lambda row: next(value for key, value in row.items() if key.lower().endswith("ifindex"))
    return sum(index(row) >> 21 & 31 != 31 for row in shelf.held(slot, name))


SERVED = ("ONU", "TCONT", "GEMPORT", "SERVPORT", "RM_SERVICE")


def is_up(shelf, serial):
    return any(f"serial={serial} " in line and "state=operational" in line for line in shelf.chassis.simctl("onu", "list"))


def wait_up(shelf, *serials):
    shelf.chassis.wait_for(lambda: all(is_up(shelf, serial) for serial in serials), 15, f"{serials} to be up")


# ---- one ONU ----------------------------------------------------------------------------------------------------------


def test_an_onu_that_waits_is_taken_in_when_its_port_begins_to_learn(shelf):
    chassis = shelf.chassis
    plug(shelf, "ABCD00000001", model="HOME-4")
    chassis.wait_for(lambda: "ABCD00000001" in chassis.vty("show onu unconfig"), what="the ONU to be listed")
    learn_on(shelf, COPYING)
    wait_up(shelf, "ABCD00000001")
    assert "ABCD00000001" not in chassis.vty("show onu unconfig")
    assert learned(shelf) == [("1/1:1", "ABCD00000001", "default", 5, "copied")]
    assert [own(shelf, 1, name) for name in SERVED] == [1] * 5
    assert chassis.log_lines("gpon-onu1/1:1 is learnt: serial number ABCD00000001")
    assert chassis.card(1)["reasons"] == {}


def test_the_first_rule_that_fits_decides(shelf):
    learn_on(shelf, BINDING, "onu-auto-flow hgu srv-profile six", "onu-auto-flow vendor 1 AAAA srv-profile six",
             "onu-auto-flow vendor 2 BBBB srv-profile six", "onu-auto-flow model 2 HOME-4 srv-profile five")  # fmt: skip
    for serial, options in {
        "ABCD00000001": {"model": "HOME-4", "vendor": "BBBB", "type": "hgu"},
        "ABCD00000002": {"model": "HOME-5", "vendor": "BBBB"},
        "ABCD00000003": {"model": "HOME-5", "vendor": "AAAA"},  # another vendor's slot follows
        "ABCD00000004": {"model": "HOME-5", "vendor": "AAAA", "type": "hgu"},
    }.items():
        plug(shelf, serial, **options)
        wait_up(shelf, serial)
    assert [(row[1][-1], *row[2:]) for row in learned(shelf)] == [
        ("1", "model 2", 5, "bound"), ("2", "vendor 2", 6, "bound"), ("3", "default", 5, "bound"), ("4", "hgu", 6, "bound"),
    ]  # fmt: skip
    assert [row["srvProfileId"] for row in shelf.held(1, "ONU")] == [5, 6, 5, 6]


def test_without_auto_flow_an_onu_comes_in_with_no_service(shelf):
    learn_on(shelf, "onu auto-authentication enable")
    plug(shelf, "ABCD00000001", type="hgu")
    wait_up(shelf, "ABCD00000001")
    assert learned(shelf)[0][2:] == (None, None, "no profile")
    assert own(shelf, 1, "TCONT") == 0


def test_a_replay_offers_no_onu_that_is_provisioned_to_be_learnt(shelf):
    chassis = shelf.chassis
    learn_on(shelf, BINDING)
    plug(shelf, "ABCD00000001")
    plug(shelf, "ABCD00000002")
    wait_up(shelf, "ABCD00000001", "ABCD00000002")
    before = chassis.mark()
    restart_card(shelf, 1)  # it ranges both while it knows nothing
    replay(shelf, 1)
    wait_up(shelf, "ABCD00000001", "ABCD00000002")
    assert not chassis.records(since=before, kind="card-event", type="OV_HAL_MSG_GPON_AUTO_LEARN_ONU")
    assert not chassis.log_lines("mib auto learn add error|delete unconfig onu failure")
    # and it learns on
    plug(shelf, "ABCD00000003")
    wait_up(shelf, "ABCD00000003")


def test_what_is_saved_learns_on(shelf):
    rules = [COPYING, "onu-auto-flow sfu srv-profile six", "onu-auto-flow hgu srv-profile five",
             "onu-auto-flow vendor 4 AAAA srv-profile six", "onu-auto-flow model 1 HOME-4 srv-profile five"]  # fmt: skip
    learn_on(shelf, *rules)
    assert [line.strip() for line in shelf.saved(ONU_PORT)] == rules
    plug(shelf, "ABCD00000001", model="HOME-4")
    wait_up(shelf, "ABCD00000001")
    restart_card(shelf, 1)
    replay(shelf, 1)
    wait_up(shelf, "ABCD00000001")
    assert learned(shelf)[0][4] == "copied"
    assert own(shelf, 1, "GEMPORT") == 1


# ---- refusals ---------------------------------------------------------------------------------------------------------


def test_a_rule_whose_profile_has_gone_refuses_until_it_is_taken_away(shelf):
    chassis = shelf.chassis
    chassis.simctl("onu", "delays", "again=300")
    learn_on(shelf, BINDING, "onu-auto-flow model 1 HOME-4 srv-profile six")
    assert shelf.on_gpon("no onu-srvprofile profile-id 6") == ([0], "")
    plug(shelf, "ABCD00000001", model="HOME-4")
    refused = ("1/1:1", "ABCD00000001", "model 1", 6, "refused: no service profile 6")
    chassis.wait_for(lambda: learned(shelf, " refused") == [refused], what="the refusal")
    assert chassis.log_lines("the onu srv profile did not exist")
    learn_on(shelf, "no onu-auto-flow model 1")
    wait_up(shelf, "ABCD00000001")
    assert learned(shelf, " refused") == []
    assert learned(shelf)[0][2:] == ("default", 5, "bound")


def test_a_card_that_refuses_a_row_leaves_the_onu_with_what_it_has(shelf):
    chassis = shelf.chassis
    learn_on(shelf, COPYING)
    chassis.card_fault(1, "code", code=1005, type="gemport")
    plug(shelf, "ABCD00000001")
    wait_up(shelf, "ABCD00000001")
    (row,) = learned(shelf, " refused")
    assert row[4].startswith("copy failed: ") and "GEM port 1" in row[4]
    assert [own(shelf, 1, name) for name in SERVED] == [1, 1, 0, 0, 0]
    assert "learnt with a part of service profile 5" in chassis.vty("show onu reason")
    assert chassis.log_lines("onu traffic auto learn failed")


def test_the_same_onu_reported_twice_and_on_two_ports(shelf):
    chassis = shelf.chassis
    for port in (ONU_PORT, "gpon-olt2/2"):
        learn_on(shelf, COPYING, port=port)
    for slot, port, number in ((1, "1/1", 1), (1, "1/1", 1), (1, "1/1", 2), (2, "2/2", 1)):
        chassis.card_event(slot, "learn", onuIfindex=f"gpon-onu{port}:{number}", sn="hex:4142434400000009")
    chassis.wait_for(lambda: len(learned(shelf)) == 2, what="both")
    assert [(row[0], row[1], row[4]) for row in learned(shelf)] == [
        ("1/1:1", "ABCD00000009", "copied"), ("2/2:1", "ABCD00000009", "copied"),
    ]  # fmt: skip
    assert [own(shelf, slot, "ONU") for slot in (1, 2)] == [1, 1]
    assert len(chassis.log_lines("mib auto learn add error for onu table")) == 2


def test_reports_that_name_no_place_make_nothing(shelf):
    chassis = shelf.chassis
    learn_on(shelf, BINDING)
    chassis.card_event(1, "learn", onuIfindex="gpon-onu1/1:129", sn="hex:4142434400000001")
    chassis.wait_log("wrong onuId or wrong onuTypeName")
    chassis.card_event(1, "learn", onuIfindex="gpon-onu1/9:1", sn="hex:4142434400000001")
    chassis.wait_log("MIB get pon table failed")
    assert [row[4] for row in learned(shelf)] == [
        "refused: ONU numbers are 1 to 128", "refused: its PON port isn't there",
    ]  # fmt: skip
    assert own(shelf, 1, "ONU") == 0


# ---- very many --------------------------------------------------------------------------------------------------------


def test_2048_onus_at_once(chassis):
    shelf = start_shelf(chassis, ports=16)
    add_profile(shelf, 5, "five", *SERVICE)
    for port in range(1, 17):
        learn_on(shelf, COPYING, port=f"gpon-olt1/{port}")
    chassis.simctl("onu", "crowd", "TOWN00000001", "port=gpon-olt1/1", "ports=16")
    seen = 0
    while chassis.simctl("onu", "states") != ["operational=2048"]:  # others are served meanwhile
        assert re.search(r"^total \d+$", chassis.vty("show onu status", timeout=30), re.MULTILINE)
        seen += 1
        assert seen < 2000
    assert "total 2048, refused 0" in chassis.vty("show onu learned summary")
    assert [own(shelf, 1, name) for name in SERVED] == [2048] * 5
    assert chassis.card(1)["reasons"] == {}


@pytest.mark.parametrize(
    "options, said",
    [
        (["port=gpon-olt1/2", "ports=16"], "a card has 16 ports"),
        (["port=gpon-olt1/1", "ports=17"], "ports must be a number up to 16"),
        (["port=gpon-olt1/1", "count=129"], "count must be a number up to 128"),
        (["port=ge1/1"], "port= must name a PON port"),
        (["port=gpon-olt7/1"], "slot 7 is empty"),
    ],
)
def test_a_crowd_is_plugged_in_where_it_can_be(shelf, options, said):
    with pytest.raises(SimctlError, match=said):
        shelf.chassis.simctl("onu", "crowd", "TOWN00000001", *options)
    assert shelf.chassis.simctl("onu", "states") == ["none"]
