"""Tables as managers see them, through a master agent: walks, SET with its errors, the life of rows."""

import time

import pytest

from chassis import QUIET_SCENARIO, ChassisError

US = "\x1f"
DIR = "/var/run/product/mibdata"
ENTERPRISE = ".1.3.6.1.4.1.47281"
TABLES = f"{ENTERPRISE}.1.1.1.1.1"
TCONT = f"{TABLES}.6.1"
GEM = f"{TABLES}.5.1"
WAN = f"{TABLES}.46.1.1"
ALARM_ENABLE = f"{TABLES}.17.1"
ROW = "1.2.3.4.5"

ACTIVE, NOT_IN_SERVICE, NOT_READY, CREATE_AND_GO, CREATE_AND_WAIT, DESTROY = 1, 2, 3, 4, 5, 6


def line(*fields):
    return "".join(str(field) + US for field in fields) + "\n"


def start(chassis, files=None):
    chassis.start(QUIET_SCENARIO)
    for name, lines in (files or {}).items():
        chassis.write(f"{DIR}/{name}.mib", "".join(lines))
    chassis.start_snmpd()
    chassis.start_daemon()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    # A table that the daemon registers: until then the master answers for itself.
    chassis.wait_for(lambda: registered(chassis), what="the subagent's registration")
    return chassis


def registered(chassis):
    error = chassis.snmp("snmpset", f"{TCONT}.2.{ROW}", "i", "1").stderr
    return "notWritable" in error


def error_of(chassis, *oid_type_value):
    """The error that a SET is answered with."""
    made = chassis.snmp("snmpset", *map(str, oid_type_value))
    assert made.returncode != 0, made.stdout
    for text in made.stderr.splitlines():
        if text.startswith("Reason: "):
            return text.removeprefix("Reason: ").split()[0]
    return made.stderr


def create(chassis, table, status_column, index, *more, status=CREATE_AND_GO):
    return chassis.snmpset(*more, f"{table}.{status_column}.{index}", "i", status)


def tconts(count):
    return [line(1, 1 + i // 2048, 1 + i // 128 % 16, 1 + i % 128, 1, 1024 + i, f"tc{i}", 7, "default", 1) for i in range(count)]


# ---- walks ---------------------------------------------------------------------------------------


def test_walk_gives_every_row_of_a_table_in_order(chassis):
    start(chassis, {"sTcontTable": tconts(300)})
    for walk in chassis.snmpwalk, chassis.bulkwalk:
        names = list(walk(TCONT))
        assert len(names) == 300 * 5
        keys = [tuple(map(int, name.strip(".").split("."))) for name in names]
        assert keys == sorted(keys)


def test_walk_of_the_whole_tree_ends(chassis):
    start(chassis, {"sTcontTable": tconts(3)})
    create(chassis, WAN, 20, "1.1.1.1.1")
    names = list(chassis.bulkwalk(ENTERPRISE))
    assert len([name for name in names if name.startswith(TCONT + ".")]) == 15
    assert len([name for name in names if name.startswith(WAN + ".")]) >= 19


@pytest.mark.parametrize(
    "start_at, first",
    [
        ("", "2.1.1.1.1.1"),
        (".0", "2.1.1.1.1.1"),
        (".1.9.9.9.9.9", "2.1.1.1.1.1"),
        (".3.1.1.1", "3.1.1.1.1.1"),
        (".3.1.1.1.1.1", "3.1.1.1.2.1"),
        (".3.1.1.1.1.1.0.0", "3.1.1.1.2.1"),
        (".3.1.1.1.1.4294967295", "3.1.1.1.2.1"),
        (".3.4294967295", "4.1.1.1.1.1"),
        (".3" + ".1" * 110, "3.1.1.1.2.1"),
    ],
)
def test_getnext_from_any_name(chassis, start_at, first):
    start(chassis, {"sTcontTable": tconts(3)})
    got = chassis.snmp("snmpgetnext", "-On", TCONT + start_at)
    assert got.stdout.split(" = ")[0] == f"{TCONT}.{first}", got.stderr


def test_get_of_wrong_names(chassis):
    start(chassis, {"sTcontTable": tconts(3)})
    for name in "3.1.1.1.9.1", "3.1.1.1.1", "3.1.1.1.1.1.1", "3.1.1.1.1.4294967295", "3":
        assert "No Such" in chassis.snmp("snmpget", f"{TCONT}.{name}").stdout
    assert "No Such Object" in chassis.snmp("snmpget", f"{TCONT}.7.1.1.1.1.1").stdout
    # A number of the registration without an object: the row is looked for first.
    assert "No Such Instance" in chassis.snmp("snmpget", f"{TABLES}.2.1.25.1.1.1.1").stdout


# ---- the life of rows ----------------------------------------------------------------------------

# Tables without rules of their own: status column, an index, and a text or number to write.
PLAIN = {
    "wan": (WAN, 20, "1.1.1.1.1"),
    "wifi": (f"{TABLES}.47.1.1", 24, "1.1.1.1.1"),
    "threshold profile of a GEM port": (f"{TABLES}.33.4.3.1", 8, "4294967295"),
}


@pytest.mark.parametrize("table", PLAIN)
def test_create_and_go_and_destroy(chassis, table):
    start(chassis)
    base, status, index = PLAIN[table]
    create(chassis, base, status, index)
    assert chassis.snmpget(f"{base}.{status}.{index}") == {f"{base}.{status}.{index}": f"INTEGER: {ACTIVE}"}
    assert error_of(chassis, f"{base}.{status}.{index}", "i", CREATE_AND_GO) == "inconsistentValue"
    assert error_of(chassis, f"{base}.{status}.{index}", "i", CREATE_AND_WAIT) == "inconsistentValue"
    chassis.snmpset(f"{base}.{status}.{index}", "i", DESTROY)
    assert "No Such Instance" in chassis.snmp("snmpget", f"{base}.{status}.{index}").stdout
    assert error_of(chassis, f"{base}.{status}.{index}", "i", DESTROY) == "resourceUnavailable"


@pytest.mark.parametrize("table", PLAIN)
def test_create_and_wait_then_activate(chassis, table):
    start(chassis)
    base, status, index = PLAIN[table]
    name = f"{base}.{status}.{index}"
    create(chassis, base, status, index, status=CREATE_AND_WAIT)
    assert chassis.snmpget(name) == {name: f"INTEGER: {NOT_IN_SERVICE}"}
    chassis.snmpset(name, "i", ACTIVE)
    assert chassis.snmpget(name) == {name: f"INTEGER: {ACTIVE}"}
    chassis.snmpset(name, "i", NOT_IN_SERVICE)
    chassis.snmpset(name, "i", DESTROY)
    assert "No Such Instance" in chassis.snmp("snmpget", name).stdout


def test_odd_row_status_transitions(chassis):
    start(chassis)
    base, status, index = PLAIN["wan"]
    name = f"{base}.{status}.{index}"
    assert error_of(chassis, name, "i", ACTIVE) == "inconsistentValue"
    assert error_of(chassis, name, "i", NOT_IN_SERVICE) == "inconsistentValue"
    for value in 0, 7, -1:
        assert error_of(chassis, name, "i", value) == "wrongValue"
    assert error_of(chassis, name, "i", NOT_READY) in ("wrongValue", "inconsistentValue")
    assert error_of(chassis, name, "u", CREATE_AND_GO) == "wrongType"
    assert error_of(chassis, name, "s", "4") == "wrongType"
    assert "No Such Instance" in chassis.snmp("snmpget", name).stdout


def test_row_is_saved_with_what_a_manager_wrote(chassis):
    start(chassis)
    base, status, index = PLAIN["wan"]
    create(chassis, base, status, index, f"{base}.11.{index}", "s", "operator")
    chassis.event("snmp-mib-table-save", sequence=1, tablename="sRmWanTable")
    chassis.wait_log(r"Process mibsave request 1 for sRmWanTable\.$")
    fields = chassis.read(f"{DIR}/sRmWanTable.mib").split(US)
    assert fields[:5] == ["1"] * 5
    assert fields[5 + 11 - 2] == "operator"
    assert fields[5 + status - 2] == str(ACTIVE)


# ---- wrong requests ------------------------------------------------------------------------------


def test_wrong_requests_name_their_error_and_change_nothing(chassis):
    start(chassis, {"sTcontTable": tconts(2)})
    before = chassis.snmpwalk(TCONT)
    for error, *request in [
        ("notWritable", f"{TCONT}.2.1.1.1.1.1", "i", 1),
        ("wrongType", f"{TCONT}.4.1.1.1.1.1", "s", "1"),
        ("wrongType", f"{TCONT}.4.1.1.1.1.1", "u", 1),
        ("wrongType", f"{TCONT}.3.1.1.1.1.1", "i", 1),
        ("wrongLength", f"{TCONT}.3.1.1.1.1.1", "s", "x" * 34),
        ("resourceUnavailable", f"{TCONT}.4.1.1.1.9.1", "i", 1),
        ("inconsistentValue", f"{TCONT}.6.1.1.1.1.1", "i", CREATE_AND_GO),
        ("notWritable", f"{TABLES}.23.1.1.1.1.1.1", "i", 1),  # a table that managers only read
        # The good one beside a bad one has no effect.
        ("wrongType", f"{TCONT}.4.1.1.1.1.1", "i", 5, f"{TCONT}.3.1.1.1.1.1", "i", 1),
        ("notWritable", f"{TCONT}.6.1.1.1.9.1", "i", CREATE_AND_GO, f"{TCONT}.2.1.1.1.9.1", "i", 1),
    ]:
        assert error_of(chassis, *request) == error, request
    assert chassis.snmpwalk(TCONT) == before


def test_names_that_are_no_variable_are_refused(chassis):
    start(chassis, {"sTcontTable": tconts(2)})
    before = chassis.snmpwalk(TCONT)
    for name in "4.1.1.1.1", "4.1.1.1.1.1.1", "4", "9.1.1.1.1.1", "4294967295.1.1.1.1.1", "4" + ".1" * 110:
        error = error_of(chassis, f"{TCONT}.{name}", "i", 1)
        assert error in ("noCreation", "notWritable", "noAccess"), (name, error)
        # Beside a create in the same request.
        error_of(chassis, f"{TCONT}.6.{ROW}", "i", CREATE_AND_GO, f"{TCONT}.{name}", "i", 1)
    assert chassis.snmpwalk(TCONT) == before


def test_text_of_all_its_bytes_and_binary_content(chassis):
    start(chassis, {"sTcontTable": tconts(1)})
    name = f"{TCONT}.3.1.1.1.1.1"
    chassis.snmpset(name, "s", "x" * 33)
    assert chassis.snmpget(name) == {name: f'STRING: "{"x" * 33}"'}
    chassis.snmpset(name, "x", "FF0A00414243")  # ends at its first zero
    assert chassis.snmpget(name)[name].replace(" ", "") == "Hex-STRING:FF0A"


def test_two_variables_of_one_column(chassis):
    start(chassis, {"sTcontTable": tconts(1)})
    name = f"{TCONT}.3.1.1.1.1.1"
    made = chassis.snmp("snmpset", name, "s", "first", name, "s", "second")
    assert chassis.snmpget(name) == {name: 'STRING: "second"'}, made.stderr


def test_two_rows_in_one_request(chassis):
    start(chassis, {"sTcontTable": tconts(2)})
    one, two = f"{TCONT}.3.1.1.1.1.1", f"{TCONT}.3.1.1.1.2.1"
    chassis.snmpset(one, "s", "one", two, "s", "two")
    assert chassis.snmpget(one, two) == {one: 'STRING: "one"', two: 'STRING: "two"'}


def test_rows_of_two_tables_in_one_request_come_together_or_not_at_all(chassis):
    start(chassis)
    wan, wan_status, index = PLAIN["wan"]
    wifi, wifi_status, _ = PLAIN["wifi"]
    assert error_of(chassis, f"{wan}.{wan_status}.{index}", "i", CREATE_AND_GO, f"{wifi}.{wifi_status}.{index}", "i", ACTIVE) == "inconsistentValue"
    assert "No Such Instance" in chassis.snmp("snmpget", f"{wan}.{wan_status}.{index}").stdout
    chassis.snmpset(f"{wan}.{wan_status}.{index}", "i", CREATE_AND_GO, f"{wifi}.{wifi_status}.{index}", "i", CREATE_AND_GO)
    assert chassis.snmpget(f"{wifi}.{wifi_status}.{index}")[f"{wifi}.{wifi_status}.{index}"] == "INTEGER: 1"
