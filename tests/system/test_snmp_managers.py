"""Managers of other makes, other versions of the protocol, other configurations of the master."""

import signal

import pytest
from chassis import QUIET_SCENARIO, SNMPD_CONF
from snmp_manager import Manager

US = "\x1f"
DIR = "/var/run/product/mibdata"
ENTERPRISE = "1.3.6.1.4.1.47281"
TCONT = f"{ENTERPRISE}.1.1.1.1.1.6.1"
ROW_STATUS = f"{TCONT}.6"
NAME = f"{TCONT}.3"
ACTIVE, CREATE_AND_GO, CREATE_AND_WAIT, DESTROY = 1, 4, 5, 6


def start(chassis, conf=SNMPD_CONF, rows=0):
    chassis.start(QUIET_SCENARIO)
    lines = [US.join(map(str, (1, 3, 1 + n // 128, 1 + n % 128, 1, 0, f"tc{n}", 7, "default", 1))) + US + "\n" for n in range(rows)]
    if rows:
        chassis.write(f"{DIR}/sTcontTable.mib", "".join(lines))
    chassis.start_snmpd(conf)
    chassis.start_daemon()
    chassis.wait_agent(10)
    return chassis


@pytest.fixture
def other(chassis):
    managers = []

    def make(**how):
        start(chassis, **how)
        managers.append(Manager(chassis))
        return managers[-1]

    yield make
    for manager in managers:
        manager.close()


def test_a_manager_of_another_library_reads_what_the_masters_own_tools_read(chassis, other):
    manager = other(rows=300)
    theirs = chassis.bulkwalk(f".{ENTERPRISE}")
    ours = manager.walk(ENTERPRISE)
    assert len(ours) == len(theirs) >= 5 * 300
    assert [f".{oid}" for oid, _, _ in ours] == list(theirs)
    names = [value for oid, _, value in ours if oid.startswith(f"{NAME}.")]
    assert names == [f"tc{n}" for n in range(300)]


def test_a_manager_of_another_library_is_told_each_error(chassis, other):
    manager = other(rows=1)
    row = "1.3.1.1.1"
    cases = {
        "wrongType": (f"{NAME}.{row}", "Integer32", 7),
        "wrongLength": (f"{NAME}.{row}", "OctetString", "x" * 34),
        "notWritable": (f"{TCONT}.2.{row}", "Integer32", 1),
        "inconsistentValue": (f"{ROW_STATUS}.{row}", "Integer32", CREATE_AND_GO),
        "wrongValue": (f"{ROW_STATUS}.{row}", "Integer32", 9),
    }
    got = {}
    for expected, request in cases.items():
        reply = manager.set(request)
        assert reply["error"] == "", (expected, reply)
        assert reply["index"] == 1, (expected, reply)
        got[expected] = reply["status"]
    assert got == {expected: expected for expected in cases}
    assert manager.get(f"{NAME}.{row}")["binds"][0][2] == "tc0"
    assert manager.get(f"{NAME}.9.9.9.9.9")["binds"][0][1] == "NoSuchInstance"


V3_CONF = """
agentAddress udp:127.0.0.1:161
master agentx
rouser watcher priv
rwuser planner priv .1.3.6.1.4.1.47281
"""
V3_USERS = """
createUser planner SHA-256 "a long password" AES "another one"
createUser watcher SHA-256 "looking on only" AES "and on and on"
"""


def v3(chassis, tool, user, password, privacy, *words):
    return chassis.run(
        "env", "MIBS=", "SNMPCONFPATH=/tmp/none", "SNMP_PERSISTENT_DIR=/tmp/none",
        tool, "-v3", "-On", "-Oe", "-l", "authPriv", "-u", user, "-a", "SHA-256", "-A", password,
        "-x", "AES", "-X", privacy, "-r", "0", "-t", "5", "127.0.0.1", *words,
    )  # fmt: skip


def test_users_of_version_3_read_and_write_as_the_guide_sets_them_up(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_snmpd(V3_CONF + V3_USERS)  # started so, the master doesn't read its state file
    chassis.start_daemon()
    chassis.wait_agent(10)
    planner = ("planner", "a long password", "another one")
    listed = v3(chassis, "snmpwalk", *planner, f".{ENTERPRISE}")
    assert listed.returncode == 0, listed.stderr
    # A profile needs no card.
    name = f".{ENTERPRISE}.1.1.1.1.1.16.1"
    made = v3(chassis, "snmpset", *planner, f"{name}.2.77", "s", "gold", f"{name}.19.77", "i", "4")
    assert made.returncode == 0, made.stderr
    read = v3(chassis, "snmpget", "watcher", "looking on only", "and on and on", f"{name}.2.77")
    assert '"gold"' in read.stdout
    refused = v3(chassis, "snmpset", "watcher", "looking on only", "and on and on", f"{name}.19.77", "i", "6")
    assert refused.returncode != 0
    wrong = v3(chassis, "snmpget", "planner", "a wrong password", "another one", f"{name}.2.77")
    assert "Authentication failure" in wrong.stderr + wrong.stdout


def test_a_master_that_comes_back_with_another_configuration_serves_the_tables(chassis):
    start(chassis, rows=2)
    row = f".{NAME}.1.3.1.1.1"
    assert chassis.snmpget(row)
    chassis.signal_snmpd(signal.SIGKILL)
    chassis.start_snmpd("agentAddress udp:127.0.0.1:161\nrwcommunity other 127.0.0.1\nmaster agentx\nagentXTimeout 15\n")
    chassis.wait_for(
        lambda: "tc0" in chassis.snmp("snmpget", row, community="other").stdout, 8, "the tables for the new community"
    )
    assert chassis.snmp("snmpget", row, options=("-r", "0", "-t", "1")).returncode != 0
