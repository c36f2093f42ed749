"""The manager's guide: its own commands are run as they stand on the page, and print what stands there."""

import re

import pytest

import guide
from chassis import QUIET_SCENARIO, REPO
from test_provision import Chassis as Provisioned

CHAPTER = "Provisioning an ONU"
SERIAL = "ABCD00000007"
#: The environment of a manager without MIB modules and settings of its own.
BARE = {"MIBS": "", "SNMPCONFPATH": "/tmp/snmpd", "SNMP_PERSISTENT_DIR": "/tmp/snmpd"}


@pytest.fixture
def world(chassis):
    made = Provisioned(chassis, ports=1)
    yield made
    made.close()


def plug_in(world):
    world.chassis.simctl("onu", "add", SERIAL, "port=gpon-olt1/1", "version=V1.2.3", "distance=4321")
    world.chassis.wait_for(lambda: world.onu.get((1, 1, 1, 7), 11) == "3", what="the ONU to be operational")


def held(world):
    """How many objects the card holds of each kind."""
    return [len(world.objects(1, name)) for name in ("ONU", "TCONT", "GEMPORT", "SERVPORT")]


def run(world, settings, commands):
    return world.chassis.run("env", *(f"{k}={v}" for k, v in BARE.items()), "sh", "-ec", settings + commands)


def test_a_step_without_those_before_it_is_refused_as_the_guide_says(world):
    (_, settings, _), *rest = guide.steps(CHAPTER)
    below_an_onu = [text for _, text, _ in rest if ".1.1.1.7.1 i 4" in text]
    assert len(below_an_onu) == 5
    for commands in reversed(below_an_onu):
        done = run(world, settings, commands)
        assert "badValue" in done.stderr, f"{commands}\n{done.stdout}{done.stderr}"
    assert held(world) == [0, 0, 0, 0]


def assured(world):
    """The assured bandwidth that the card has for the guide's profile."""
    rows = world.card(1)["objects"]["OV_HAL_MSG_GPON_BW_TYPE"]["rows"]
    return [row["assBw"] for row in rows if row["name"] == "gold"]


def test_the_guides_commands_provision_an_onu_and_delete_it(world):
    (_, settings, _), *rest = guide.steps(CHAPTER)
    assert len(rest) >= 10
    before = ""
    for heading, commands, printed in rest:
        if heading != before and heading == "Read the state":
            assert held(world) == [1, 1, 1, 1]
            plug_in(world)
        before = heading
        done = run(world, settings, commands)
        assert (done.stdout + done.stderr, done.returncode) == (printed, 0), f"{heading}:\n{commands}"
        if heading == "Change the bandwidth" and "snmpset" in commands:
            assert assured(world) == [int(commands.split()[-1])]
    assert held(world) == [0, 0, 0, 0]


# ---- what can be written -----------------------------------------------------------------------------------------------


def writable_objects():
    """Table, and the name of a variable that managers may write as far as its description goes."""
    tables = REPO / "ov_gpon" / "ov_snmp_gpon"
    for table in re.findall(r"init_(\w+)\)", (tables / "table_init_list.def").read_text()):
        text = (tables / "tables" / f"{table}.def").read_text()
        arcs = ".".join(re.search(r"^TABLE_OID\((.*)\)", text, re.M)[1].split(", "))
        index = re.search(r"^INDEX\((.*?)\)$", text, re.M | re.S)[1].count("(")
        columns = re.findall(r"^COLUMN\((\d+), \w+, [^,]+, READ_(?:WRITE|CREATE),", text, re.M)
        if re.search(r"^TABLE\(\w+, \w+, READ_CREATE\)", text, re.M):
            columns += re.findall(r"^ROW_STATUS\((\d+)", text, re.M)
        if columns:
            yield table, f".1.3.6.1.4.1.47281.{arcs}.1.{columns[0]}" + ".1" * index


def test_every_table_that_says_so_can_be_written(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_snmpd()
    chassis.start_daemon()
    chassis.wait_agent(15)
    tables = list(writable_objects())
    assert len(tables) > 40
    for table, name in tables:
        answer = chassis.snmp("snmpset", name, "o", ".1.3").stderr  # of no column's type: nothing is written
        assert "wrongType" in answer, f"{table}: {answer}"
