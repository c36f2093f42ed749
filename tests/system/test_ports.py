"""PON ports: rows by the controller's events, settings that reach the card, readings that come from it."""

import pytest

from chassis import REPO

TABLES = "1.3.6.1.4.1.47281.1.1.1.1.1"
PORT_TABLE = f"{TABLES}.1.1"
ROW = "1.1.3"  # gpon-olt1/3
(IF_INDEX, ADMIN_STATE, OPER_STATE, TX_POWER, QOS_NAME, DISTANCE, DS_FEC, PM_ENABLE, AUTO_FLOW, ROGUE_STATE) = (
    4, 5, 6, 8, 12, 14, 15, 18, 23, 27)  # fmt: skip
CREATED, SET, GET = "create", "set", "get"


def oid(column, row=ROW):
    return f".{PORT_TABLE}.{column}.{row}"


def value(chassis, column, row=ROW):
    """A number as the manager reads it; None when there is no such object."""
    made = chassis.snmp("snmpget", oid(column, row), options=("-r", "0", "-t", "5", "-Oqve"))
    text = made.stdout.strip().strip('"')
    return None if made.returncode != 0 or text.startswith("No Such") else text


def requests(chassis, since, **pattern):
    return chassis.records(kind="card-request", type="port", since=since, **pattern)


@pytest.fixture
def shelf(chassis):
    """Three line cards with 16 ports each, and a manager that can see them."""
    chassis.start(REPO / "sim" / "scenarios" / "shelf.scn")
    chassis.start_snmpd()
    chassis.start_daemon()
    chassis.wait_for(lambda: value(chassis, IF_INDEX, "1.3.16") is not None, 30, "the last port's row")
    return chassis


def test_each_port_gets_a_row_and_its_card_hears_of_it(shelf):
    rows = shelf.snmpwalk(f"{PORT_TABLE}.{IF_INDEX}")
    assert len(rows) == 3 * 16
    for slot in 1, 2, 3:
        created = shelf.records(kind="card-request", type="port", slot=slot, action=CREATED)
        assert {r["port"] for r in created} == {f"gpon-olt{slot}/{port}" for port in range(1, 17)}
        held = shelf.card(slot, type="port")["objects"]["OV_HAL_MSG_GPON_PORT"]["rows"]
        assert [row["MaxLogicDistance"] for row in held] == [20] * 16
    assert shelf.records(kind="refused") == []


def test_a_setting_reaches_the_card_and_the_row(shelf):
    since = shelf.mark()
    shelf.snmpset(oid(DISTANCE), "i", "40")
    (request,) = requests(shelf, since)
    assert (request["slot"], request["port"], request["action"]) == ("1", "gpon-olt1/3", SET)
    assert int(request["mask"], 0) == 1 << 9
    assert value(shelf, DISTANCE) == "40"
    held = shelf.card(1, type="port")["objects"]["OV_HAL_MSG_GPON_PORT"]["rows"]
    assert [row["MaxLogicDistance"] for row in held[:4]] == [20, 20, 40, 20]


def test_a_setting_of_the_daemon_alone_stays_in_the_row(shelf):
    since = shelf.mark()
    shelf.snmpset(oid(PM_ENABLE), "i", "1", oid(DS_FEC), "i", "1")
    assert (value(shelf, PM_ENABLE), value(shelf, DS_FEC)) == ("1", "1")
    assert requests(shelf, since) == []


def test_a_setting_that_the_card_refuses_is_not_kept(shelf):
    shelf.card_fault(1, "code", type="port", code=1009)
    made = shelf.snmp("snmpset", oid(DS_FEC), "i", "1")
    assert "badValue" in made.stderr
    assert value(shelf, DS_FEC) == "0"
    shelf.wait_log("set port to hal error")


def test_a_setting_that_the_card_does_not_know_is_kept(shelf):
    shelf.card_fault(1, "code", type="port", code=1008)
    shelf.snmpset(oid(DS_FEC), "i", "1")
    assert value(shelf, DS_FEC) == "1"


def test_a_column_without_attribute_is_taken_by_the_card(shelf):
    since = shelf.mark()
    shelf.snmpset(oid(AUTO_FLOW), "i", "1")
    (request,) = requests(shelf, since)
    assert (int(request["mask"], 0), request["retcode"]) == (1 << 20, "0")
    assert value(shelf, AUTO_FLOW) == "1"


def test_an_unknown_scheduling_profile_is_refused(shelf):
    since = shelf.mark()
    made = shelf.snmp("snmpset", oid(QOS_NAME), "s", "gold")
    assert "badValue" in made.stderr
    shelf.wait_log("the qos profile was not exist")
    assert requests(shelf, since) == []


def test_each_read_of_a_live_column_asks_the_card(shelf):
    for column, mask in (OPER_STATE, 1 << 2), (TX_POWER, 1 << 8), (ROGUE_STATE, 1 << 20):
        since = shelf.mark()
        assert value(shelf, column) == {OPER_STATE: "1", TX_POWER: "0", ROGUE_STATE: "0"}[column]
        assert value(shelf, column) is not None
        asked = requests(shelf, since)
        assert [(r["action"], r["port"], int(r["mask"], 0)) for r in asked] == [(GET, "gpon-olt1/3", mask)] * 2


def test_a_live_column_of_an_absent_card_keeps_its_last_value(shelf):
    assert value(shelf, OPER_STATE) == "1"
    shelf.event("slot-deactive", slot_id=1, card_type=1)
    shelf.wait_log("Process slot 1 operation down.")
    since = shelf.mark()
    assert value(shelf, OPER_STATE) == "1"
    shelf.wait_log("failed to get pon port info")
    assert requests(shelf, since) == []
    assert value(shelf, OPER_STATE, "1.2.3") == "1"
    assert len(requests(shelf, since, slot=2)) == 1


def test_admin_state_follows_the_controller_and_reaches_no_card(shelf):
    since = shelf.mark()
    shelf.event("if-admin", ifindex="gpon-olt1/3", flags="up")
    shelf.wait_for(lambda: value(shelf, ADMIN_STATE) == "1")
    shelf.event("if-admin", ifindex="gpon-olt1/3", flags=0)
    shelf.wait_for(lambda: value(shelf, ADMIN_STATE) == "0")
    shelf.wait_log("gpon-olt1/3 admin down")
    assert requests(shelf, since) == []


def test_rows_outlive_the_daemon(shelf):
    shelf.snmpset(oid(DISTANCE), "i", "60")
    shelf.event("snmp-mib-table-save", sequence=1, tablename="sPonTable")
    shelf.wait_for(lambda: "\x1f60\x1f" in shelf.read("/var/run/product/mibdata/sPonTable.mib", missing=""))
    shelf.kill_daemon()
    shelf.start_daemon()
    shelf.wait_for(lambda: value(shelf, DISTANCE) == "60", 30)
