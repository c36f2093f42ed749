"""QoS by a manager: profiles, what is bound to them, and the scheduler model of a PON port."""

import pytest

from chassis import REPO
from test_ports import TABLES, value

PON_QOS, SCHEDULERS, PORTS = (f"{TABLES}.{table}.1" for table in ("30.7", "30.3", "1"))
MODEL, SCHED = 1, 2
MODES, WEIGHT_0, SCHED_STATUS = 4, 5, 13
SCB_MAX_BW = 9
SIMPLE, HIERARCHY = "1", "2"
CREATE_AND_GO, DESTROY = "4", "6"
ROW = "1.1.3"  # gpon-olt1/3
PROFILE = "1.5"


def at(table, column, row):
    return f".{table}.{column}.{row}"


@pytest.fixture
def shelf(chassis):
    """Three line cards with 16 ports each, and a manager that can see them."""
    chassis.start(REPO / "sim" / "scenarios" / "shelf.scn")
    chassis.start_snmpd()
    chassis.start_daemon()
    chassis.wait_for(lambda: number(chassis, PON_QOS, MODEL, "1.3.16") is not None, 30, "the last port's row")
    return chassis


def number(chassis, table, column, row=ROW):
    made = chassis.snmp("snmpget", at(table, column, row), options=("-r", "0", "-t", "5", "-Oqve"))
    text = made.stdout.strip()
    return None if made.returncode != 0 or text.startswith("No Such") else text


def write(chassis, *columns):
    """One request; whether it was accepted."""
    return chassis.snmp("snmpset", *columns).returncode == 0


def add_scheduler(chassis, modes="572662306"):  # 0x22222222
    return write(
        chassis, at(SCHEDULERS, SCHED_STATUS, PROFILE), "i", CREATE_AND_GO, at(SCHEDULERS, MODES, PROFILE), "u", modes,
        at(SCHEDULERS, WEIGHT_0, PROFILE), "i", "127")  # fmt: skip


def drop_scheduler(chassis):
    return write(chassis, at(SCHEDULERS, SCHED_STATUS, PROFILE), "i", DESTROY)


def told(chassis, since):
    """What the first card was told of the QoS of ports."""
    requests = chassis.records(kind="card-request", slot=1, since=since)
    return [r["type"] for r in requests if r["type"].startswith("port-qos")]


def test_each_port_has_its_row_and_nothing_fails(shelf):
    assert len(shelf.snmpwalk(f"{PON_QOS}.{MODEL}")) == 3 * 16
    assert not [line for line in shelf.log_lines() if "port qos" in line]


def test_a_bound_profile_stays_until_nothing_is_bound(shelf):
    assert not write(shelf, at(PON_QOS, SCHED, ROW), "i", "5")
    assert add_scheduler(shelf)
    since = shelf.mark()
    assert write(shelf, at(PON_QOS, SCHED, ROW), "i", "5")
    assert told(shelf, since) == ["port-qos-sched"]
    assert not drop_scheduler(shelf)
    shelf.wait_log(r"qos sched profile is still used, don't be deleted. id\[5\]")
    assert number(shelf, SCHEDULERS, WEIGHT_0, PROFILE) == "127"
    assert not write(shelf, at(SCHEDULERS, WEIGHT_0, PROFILE), "i", "1")  # nobody edits one
    assert number(shelf, SCHEDULERS, WEIGHT_0, PROFILE) == "127"
    assert write(shelf, at(PON_QOS, SCHED, ROW), "i", "0")
    assert drop_scheduler(shelf)
    assert number(shelf, SCHEDULERS, WEIGHT_0, PROFILE) is None


def test_a_scheduler_of_no_known_mode_is_refused(shelf):
    assert not add_scheduler(shelf, modes="286331157")  # 0x11111115
    assert number(shelf, SCHEDULERS, MODES, PROFILE) is None


def test_a_port_that_turns_to_hierarchy_loses_its_profiles_and_may_have_a_limit(shelf):
    limit = at(PORTS, SCB_MAX_BW, ROW)
    assert not write(shelf, limit, "u", "1000")
    assert add_scheduler(shelf)
    assert write(shelf, at(PON_QOS, SCHED, ROW), "i", "5")
    since = shelf.mark()
    assert write(shelf, at(PON_QOS, MODEL, ROW), "i", HIERARCHY)
    assert told(shelf, since) == ["port-qos-model"]
    assert (number(shelf, PON_QOS, MODEL), number(shelf, PON_QOS, SCHED)) == (HIERARCHY, "0")
    shelf.wait_record(kind="request", type="port-scheduler-set", scheduler_mode=2)
    assert write(shelf, limit, "u", "1000")
    assert value(shelf, SCB_MAX_BW) == "1000"
    assert drop_scheduler(shelf)


def test_what_the_card_refuses_is_not_kept(shelf):
    assert add_scheduler(shelf)
    shelf.card_fault(1, "code", type="port-qos-sched", code=1009)
    assert not write(shelf, at(PON_QOS, SCHED, ROW), "i", "5")
    assert number(shelf, PON_QOS, SCHED) == "0"
    shelf.wait_log("OV_HAL_MSG_PORT_QOS_SCHED_SET failed")
    assert drop_scheduler(shelf)
