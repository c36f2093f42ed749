"""The MIB modules: a manager's tools with their names, and what is committed against what the system is."""

import os
import re
import shutil
import subprocess
import tempfile

import pytest

import guide
from chassis import REPO, SNMPD_CONF, program
from notifications import TRAP_SINK
from snmp_manager import ENTERPRISE, Table
from test_provision import INT, Chassis as Provisioned
from test_provision import add_onu

MIBS = REPO / "mibs"
BASE = REPO / "tools" / "mibs" / "base"
TEXTS = REPO / "ov_gpon" / "ov_snmp_gpon" / "texts"
TABLES = REPO / "ov_gpon" / "ov_snmp_gpon" / "tables"
NAMED = {"MIBDIRS": f"{BASE}:{MIBS}", "MIBS": "ALL", "SNMPCONFPATH": "/tmp/snmpd", "SNMP_PERSISTENT_DIR": "/tmp/snmpd"}
TRAP_CONF = "disableAuthorization yes\n"


def environment():
    return [f"{key}={value}" for key, value in NAMED.items()]


def translate(*words):
    """snmptranslate with our modules: what it prints."""
    with tempfile.TemporaryDirectory() as place:
        os.mkdir(os.path.join(place, "cert_indexes"))  # it would say that it makes it
        env = {**os.environ, **NAMED, "SNMP_PERSISTENT_DIR": place, "SNMPCONFPATH": place}
        done = subprocess.run(["snmptranslate", *words], env=env, capture_output=True, text=True, timeout=60)
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout


def described():
    """(module-independent name, OID) of every table and column that the daemon serves, by its description."""
    served = re.findall(r"\(init_(\w+)\)", (TABLES.parent / "table_init_list.def").read_text())
    for table in served:
        text = (TABLES / f"{table}.def").read_text()
        oid = f".{ENTERPRISE}." + ".".join(re.search(r"^TABLE_OID\((.*)\)", text, re.M)[1].split(", "))
        yield table, oid
        for number, name in re.findall(r"^(?:COLUMN|ROW_STATUS)\((\d+), (\w+)", text, re.M):
            yield name, f"{oid}.1.{number}"


def shorter_names():
    """{description's name: the module's} of those that are too long for MIBs."""
    found = {}
    for file in TEXTS.glob("*.txt"):
        found.update(re.findall(r"^(?:table )?(\w+) =(\w+)", file.read_text(), re.M))
    return found


# ---- the modules by themselves -----------------------------------------------------------------------------------------


def lint(file):
    env = {**os.environ, "SMIPATH": f"{BASE}:{MIBS}"}
    done = subprocess.run(["smilint", "-l", "9", "-s", "-m", str(file)], env=env, capture_output=True, text=True, timeout=60)
    return done.stdout + done.stderr


@pytest.mark.parametrize("module", sorted(file.name for file in MIBS.glob("*.txt")))
def test_the_lint_says_nothing(module):
    assert lint(MIBS / module) == ""


@pytest.mark.parametrize(
    "found, put, said",
    [
        ("FROM SNMPv2-TC", "FROM SNMPv2-TV", "SNMPv2-TV"),
        ("SYNTAX RowStatus\n    MAX-ACCESS read-create", "SYNTAX RowStatus\n    MAX-ACCESS read-only", "RowStatus"),
        ("        sActiveAlarmTrap }", "        sOtherTrap }", "sOtherTrap"),
    ],
)
def test_the_lint_finds_what_is_wrong(tmp_path, found, put, said):
    text = (MIBS / "QRX4100-GPON-ALARM-MIB.txt").read_text()
    assert found in text
    broken = tmp_path / "QRX4100-GPON-ALARM-MIB.txt"
    broken.write_text(text.replace(found, put))
    assert said in lint(broken)


def check(texts, mibs):
    done = subprocess.run([program("mib-writer"), "--check", str(texts), str(mibs)], capture_output=True, text=True, timeout=60)
    return done.returncode, done.stderr


def test_a_module_that_differs_from_the_descriptions_is_named(tmp_path):
    mibs = shutil.copytree(MIBS, tmp_path / "mibs")
    assert check(TEXTS, mibs) == (0, "")
    module = mibs / "QRX4100-GPON-ONU-MIB.txt"
    lines = module.read_text().split("\n")
    at = lines.index("            snpw(3),")
    lines[at] = "            snpw(6),"
    module.write_text("\n".join(lines))
    status, said = check(TEXTS, mibs)
    assert status == 1
    assert f"QRX4100-GPON-ONU-MIB.txt:{at + 1}:" in said and "snpw(3)" in said


def test_a_module_that_nobody_writes_is_found(tmp_path):
    mibs = shutil.copytree(MIBS, tmp_path / "mibs")
    (mibs / "QRX4100-GPON-OLD-MIB.txt").write_text("")
    assert check(TEXTS, mibs)[0] == 1


@pytest.mark.parametrize(
    "found, put, said",
    [
        (r"^sOnuTableSn: .*\n", "", "no text for sOnuTableSn"),
        (r"^sOnuTableSn: ", "sOnuTableSnn: ", "there is no sOnuTableSnn"),
        (r"^sOnuTableUpFec \{off\(0\) on\(1\)\}", "sOnuTableUpFec {off(0) on(2)}", "sOnuTableUpFec: its names"),
        (r"^onuId 1\.\.128", "onuId -9999999999..128", "onuId: its range is wider"),
        (r"^table sOnuHistoryTable: .*\n", "", "sOnuHistory"),
        (r"^onuId 1\.\.128", "onuId 1..many", '"many" isn\'t a number'),
    ],
)  # fmt: skip
def test_texts_that_do_not_fit_the_descriptions_are_refused(tmp_path, found, put, said):
    texts = shutil.copytree(TEXTS, tmp_path / "texts")
    file = texts / "onu.txt"
    text, count = re.subn(found, put, file.read_text(), flags=re.M)
    assert count == 1
    file.write_text(text)
    status, complaint = check(texts, MIBS)
    assert status == 2 and said in complaint


def test_every_object_has_the_name_and_the_oid_of_its_description():
    shorter = shorter_names()
    objects = [(shorter.get(name, name), oid) for name, oid in described()]
    assert len(objects) > 900
    assert max(len(name) for name, _ in objects) <= 32
    named = translate("-OS", *(oid for _, oid in objects)).split()
    assert [name.split("::")[1] for name in named] == [name for name, _ in objects]
    assert translate("-On", *named).split() == [oid for _, oid in objects]


def test_another_enterprise_is_one_line(tmp_path):
    mibs = shutil.copytree(MIBS, tmp_path / "mibs")
    texts = {file: file.read_text() for file in mibs.glob("*.txt")}
    assert sum(text.count("47281") for text in texts.values()) == 1
    root = mibs / "QRX4100-GPON-MIB.txt"
    root.write_text(texts[root].replace("47281", "99999"))
    assert translate("-M", f"{BASE}:{mibs}", "-IR", "-On", "sOnuTableSn").split() == [".1.3.6.1.4.1.99999.1.1.1.1.1.2.1.5"]


#: Columns whose numbers the commands have words for: the words' file and their name there.
WORDS = {
    "sRmUniStatusLinkStatus": ("ov_gpon_rm_cli.h", "GPON_RM_LINK"),
    "sRmUniPoePowPairsContAbility": ("ov_gpon_rm_poe_cli.cpp", "ABILITIES"),
    "sRmUniPoeDetectionSta": ("ov_gpon_rm_poe_cli.cpp", "DETECTION"),
    "sRmOnuPoeOperStatus": ("ov_gpon_rm_poe_cli.cpp", "SUPPLY"),
    "sRmVoipLineStatusVoipCodecUsed": ("ov_gpon_rm_voip_cli.cpp", "CODECS"),
    "sRmVoipLineStatusVoiceSerStatus": ("ov_gpon_rm_voip_cli.cpp", "SERVER_STATES"),
    "sRmVoipLineStatusSessionType": ("ov_gpon_rm_voip_cli.cpp", "SESSIONS"),
}


@pytest.mark.parametrize("name", WORDS)
def test_labels_stand_for_the_numbers_that_commands_have_words_for(name):
    file, words = WORDS[name]
    text = (REPO / "gpon" / "cli" / "rm" / file).read_text()
    listed = re.search(rf"ColName {words}\[\] = \{{(.*?)\}};", text, re.S)[1]
    constants = dict(re.findall(r"constexpr mib_long (\w+) = (\d+);", text))
    numbers = {int(constants.get(value, value)) for value in re.findall(r"\{(\w+), \"", listed)}
    syntax = re.search(r"SYNTAX\s+INTEGER \{(.*?)\}", translate("-Td", "-IR", name), re.S)[1]
    assert {int(value) for value in re.findall(r"\((-?\d+)\)", syntax)} == numbers


# ---- with the system ---------------------------------------------------------------------------------------------------


class Town(Provisioned):
    """A port with an ONU, its T-CONT, GEM port and service port, recorded and furnished."""

    def __init__(self, chassis):
        super().__init__(chassis, ports=1)

    def snmp(self, tool, *words):
        """A tool with our names. Its output."""
        done = self.chassis.run(
            "env", *environment(), tool, "-v2c", "-c", "private", "-r", "0", "-t", "10", "127.0.0.1", *words, timeout=120
        )
        assert (done.returncode, done.stderr) == (0, ""), done.args
        return done.stdout

    def provision(self):
        """By names and labels alone."""
        self.snmp(
            "snmpset", "sOnuTableAuthMode.1.1.1.7", "=", "sn", "sOnuTableSn.1.1.1.7", "=", "ABCD00000007",
            "sOnuTableOnuTypeProfileName.1.1.1.7", "=", "KLM-618", "sOnuTableRowStatus.1.1.1.7", "=", "createAndGo",
        )  # fmt: skip
        self.snmp(
            "snmpset", "sTcontTableBwProfileName.1.1.1.7.1", "s", "default",
            "sTcontTableRowStatus.1.1.1.7.1", "i", "createAndGo",
        )  # fmt: skip
        self.snmp("snmpset", "sGemTableTcontID.1.1.1.7.1", "u", "1", "sGemTableRowStatus.1.1.1.7.1", "i", "createAndGo")
        self.snmp(
            "snmpset", "servicePortGemId.1.1.1.7.1", "i", "1", "servicePortVlan.1.1.1.7.1", "i", "100",
            "servicePortUserVlan.1.1.1.7.1", "i", "10", "servicePortVlanAction.1.1.1.7.1", "i", "xlate",
            "servicePortRowStatus.1.1.1.7.1", "i", "createAndGo",
        )  # fmt: skip


@pytest.fixture
def town(chassis):
    made = Town(chassis)
    yield made
    made.close()


def test_an_onu_is_provisioned_and_read_by_names(town):
    town.provision()
    assert [len(town.objects(1, name)) for name in ("ONU", "TCONT", "GEMPORT", "SERVPORT")] == [1, 1, 1, 1]
    read = town.snmp("snmpget", "sOnuTableOnuState.1.1.1.7", "sOnuTableSn.1.1.1.7", "servicePortVlanAction.1.1.1.7.1")
    assert read.splitlines() == [
        "QRX4100-GPON-ONU-MIB::sOnuTableOnuState.1.1.1.7 = INTEGER: added(1)",
        "QRX4100-GPON-ONU-MIB::sOnuTableSn.1.1.1.7 = STRING: ABCD00000007",
        "QRX4100-GPON-SERVICE-MIB::servicePortVlanAction.1.1.1.7.1 = INTEGER: xlate(2)",
    ]
    town.snmp("snmpset", "sOnuTableRowStatus.1.1.1.7", "i", "destroy")
    assert town.objects(1, "ONU") == []


def test_a_table_is_shown_with_its_columns(town):
    town.snmp("snmpset", "sBWProfileTableBwProfileName.11", "s", "gold", "sBWProfileTableType.11", "i", "type2",
              "sBWProfileTableAssBw.11", "i", "100000", "sBWProfileTableRowStatus.11", "i", "createAndGo")  # fmt: skip
    lines = town.snmp("snmptable", "-Ci", "-Cb", "-Cf", "|", "sBWProfileTable").splitlines()
    (title,) = [line for line in lines if line.startswith("index|")]
    assert title == "index|BwProfileName|Type|FixBw|AssBw|MaxBw|RowStatus"
    assert "11|gold|type2|0 kbit/s|100000 kbit/s|0 kbit/s|active" in lines


def test_a_threshold_of_64_bits_is_written_by_its_name(town):
    town.snmp("snmpset", "ppmThrName.5", "s", "strict", "ppmThrRowStatus.5", "i", "createAndGo")
    town.snmp("snmpset", "ppmThrBip8Errors.5", "=", "4294967297")
    assert town.snmp("snmpget", "-OqvU", "ppmThrBip8Errors.5") == "4294967297\n"


def switches(town):
    """Turns on what brings rows along."""
    town.snmp("snmpset", "sPonTablePmEnable.1.1.1", "i", "on", "sPonTableNniPmEnable.1.1.1", "i", "on")
    town.snmp("snmpset", "sOnuTablePmEnable.1.1.1.7", "i", "on")
    town.snmp("snmpset", "sGemTablePmEnable.1.1.1.7.1", "i", "on")
    town.snmp(
        "snmpset", "sRmUniStatusTablePmEnable.1.1.1.7.1.ethUni.1", "i", "on",
        "sRmUniStatusTableMcastEnable.1.1.1.7.1.ethUni.1", "i", "on",
    )  # fmt: skip
    for service, vlan in (("1.1.1.7.1", "10"), ("1.1.1.7.2", "20")):
        town.snmp(
            "snmpset", f"sRmServiceTableRmServiceType.{service}", "i", "vlan", f"sRmServiceTableGemId.{service}", "u", "1",
            f"sRmServiceTableOnuPortType.{service}", "i", "none", f"sRmServiceTableVlanId.{service}", "i", vlan,
            f"sRmServiceTableRowStatus.{service}", "i", "createAndGo",
        )  # fmt: skip
    town.snmp("snmpset", "rmSmfmMode.1.1.1.7.1", "i", "static")


#: Rows that a manager makes: the row's status and its index, and what must come along.
MADE = {
    "cosToCosProfileRowStatus.1.1": ("cosToCosProfileName.1.1", "same"),
    "qosSchedulerProfileRowStatus.1.1": ("qosSchedulerProfileName.1.1", "strict"),
    "qosTrafficProfileRowStatus.1.1": ("qosTrafficProfileName.1.1", "free"),
    "sActiveAlarmTableRowStatus.5.onuOff": ("sActiveAlarmTableAlarmSeverity.5.onuOff", "major"),
    "sActionRowStatus.1.1.showonuver": (),
    "sGponTrapEnableTableRowStatus.1": ("sGponTrapEnableTableTableName.1", "sOnuTable"),
    "sMcastVlanTableRowStatus.1.1": (
        "sMcastVlanTableMulticasVlanID.1.1", "200", "sMcastVlanTableMulticasMacAdd.1.1", "1:0:5e:0:0:1",
    ),
    "sOnuSrvProfileRowStatus.3": ("onuSrvProfileName.3", "home", "sOnuTypeProfileName.3", "KLM-618"),
    "sQosProfileTableRowStatus.9": ("sQosProfileTableQueueName.9", "old"),
    "sRmFlowTableRowStatus.1.1.1.7.1.1.ethUni.1": (),
    "sRmIPHostRowStatus.1.1.1.7": ("sRmIPHostMode.1.1.1.7", "static", "sRmIPHostIpAddress.1.1.1.7", "192.168.1.10"),
    "sRmWanRowStatus.1.1.1.7.1": ("sRmWanMode.1.1.1.7.1", "route", "sRmWanType.1.1.1.7.1", "internet"),
    "sRmWifiRowStatus.1.1.1.7.1": ("sRmWifiMode.1.1.1.7.1", "bgn", "sRmWifiName.1.1.1.7.1", "home-net"),
    "sServiceTableRowStatus.1.1.1.7.1": (),
    "sRmVoipSipAgentConfigRowStatus.1.1.1.7.9": ("sRmVoipSipAgentConfigRegistrar.1.1.1.7.9", "sip.example.net"),
    "rmSmfsRowStatus.1.1.1.7.1.1": ("rmSmfsRule.1.1.1.7.1.1", "sa", "rmSmfsMac.1.1.1.7.1.1", "2:0:0:0:0:fe"),
}  # fmt: skip


#: Tables without a row there: they take a second port, an uplink port, an alarm of a counter, and so on.
EMPTY = {"portProtectTable", "portQosTable", "tcaAlarmTable", "uplinkPmActTable", "uplinkPmTable"}


def make_rows(town):
    for status, values in MADE.items():
        pairs = [word for name, value in zip(values[::2], values[1::2]) for word in (name, "=", value)]
        town.snmp("snmpset", *pairs, status, "=", "createAndGo")


def test_a_walk_has_names_and_the_types_that_the_modules_say(town):
    town.provision()
    switches(town)
    make_rows(town)
    town.chassis.simctl("onu", "add", "WXYZ00000001", "port=gpon-olt1/1")
    town.chassis.wait_for(lambda: "WXYZ00000001" in town.snmp("snmpwalk", "sOnuInitTableSn"), 30, "the unknown ONU")
    columns = {name: oid for name, oid in described()}
    shorter = shorter_names()
    known = {shorter.get(name, name) for name in columns}
    numbers = town.chassis.bulkwalk(f".{ENTERPRISE}.1.1.1")
    named = town.snmp("snmpbulkwalk", f".{ENTERPRISE}.1.1.1").splitlines()
    named = [line for line in named if "::" in line]
    assert len(named) == len(numbers)
    wrong = [line for line in named if "Wrong Type" in line or "enterprises" in line]
    assert not wrong
    readable_index = {"onuSrvProfileId"}
    names = {re.match(r"QRX4100-GPON-\w+-MIB::(\w+)", line)[1] for line in named}
    assert names <= known | readable_index
    tables = {oid: name for name, oid in columns.items() if (TABLES / f"{name}.def").exists()}
    seen = {name for oid, name in tables.items() if any(number.startswith(oid + ".1.") for number in numbers)}
    assert len(seen) > 50
    assert sorted(set(tables.values()) - seen - EMPTY) == []


def test_ranges_of_the_index_are_those_that_the_system_takes(town):
    def most(name):
        return int(re.search(r"SYNTAX.*\(\d+\.\.(\d+)\)", translate("-Td", "-IR", name))[1])

    onus = Table(town.manager, "2", 17, {4: INT})
    assert onus.create((1, 1, 1, most("onuId") + 1)) == "badValue"
    assert add_onu(town, onu=most("onuId")) == "noError"
    key = (1, 1, 1, most("onuId"))
    assert town.tcont.create((*key, 1), {5: "default"}) == "noError"
    assert town.gem.create((*key, most("gemID") + 1), {5: 1}) == "badValue"
    assert town.gem.create((*key, most("gemID")), {5: 1}) == "noError"
    values = {2: most("gemID"), 3: 100, 5: 10, 7: 2}
    assert town.service.create((*key, most("servicePortId") + 1), values) == "badValue"
    assert town.service.create((*key, most("servicePortId")), values) == "noError"


def test_the_guides_commands_do_what_stands_there(town):
    (_, settings, _), *steps = guide.steps("MIB files")
    assert len(steps) >= 5
    bare = {"GPON": str(REPO), "SNMPCONFPATH": "/tmp/snmpd", "SNMP_PERSISTENT_DIR": "/tmp/snmpd"}
    for _, commands, printed in steps:
        done = town.chassis.run("env", *(f"{k}={v}" for k, v in bare.items()), "sh", "-ec", settings + commands)
        assert (done.stdout + done.stderr, done.returncode) == (printed, 0), commands


def test_the_guide_tells_of_every_module():
    assert sorted(re.findall(r"^\| `([\w-]+)` \|", guide.chapter("MIB files"), re.M)) == sorted(file.stem for file in MIBS.glob("*.txt"))


#: Rows whose columns have ranges that the system's own rules give, not the descriptions; and what makes a rule count.
JUDGED = {
    "servicePortTable": (".1.1.1.7.1", {"servicePortCosQueueMappingProfileId": ("servicePortQueueSelectMode", "2")}),
    "onuQosTable": (".1.1.1.7", {}),
    "ponPortQosTable": (".1.1.1", {}),
    "qosTrafficProfileTable": (".1.1", {}),
}


def narrower(table):
    """(column, least, most) of the texts where the description has no range."""
    ranges = {}
    for file in TEXTS.glob("*.txt"):
        found = re.findall(r"^(\w+)(?: =\w+)? (-?\d+)\.\.(\d+)[: ]", file.read_text(), re.M)
        ranges.update({name: (int(least), int(most)) for name, least, most in found})
    columns = re.findall(r"^COLUMN\(\d+, (\w+), INT, \w+, ANY", (TABLES / f"{table}.def").read_text(), re.M)
    return [(name, *ranges[name]) for name in columns if name in ranges]


def test_the_system_refuses_what_is_outside_of_a_narrower_range(town):
    town.provision()
    switches(town)
    make_rows(town)
    oids = dict(described())
    tried = 0
    for table, (row, along) in JUDGED.items():
        for name, least, most in narrower(table):
            switch = [(oids[along[name][0]] + row, "Integer32", int(along[name][1]))] if name in along else []
            for value in (least - 1, most + 1):
                reply = town.manager.set((oids[name] + row, "Integer32", value), *switch)
                assert (reply["error"], reply["status"]) == ("", "badValue"), (name, value)
                tried += 1
    assert tried > 50


def test_a_notification_comes_with_names(chassis):
    chassis.start("mono-ready 1\n")
    chassis.write("/tmp/snmptrapd.conf", TRAP_CONF)
    receiver = ["/usr/sbin/snmptrapd", "-C", "-c", "/tmp/snmptrapd.conf", "-f", "-Lo", "-n", "udp:127.0.0.1:1162"]
    chassis.spawn("snmptrapd", *receiver, env=NAMED)
    chassis.wait_for(lambda: "NET-SNMP version" in chassis.output("snmptrapd"), 30, "the receiver")
    chassis.start_snmpd(SNMPD_CONF + TRAP_SINK)
    chassis.start_daemon()
    chassis.wait_agent(15)
    done = chassis.run(
        "env", *environment(), "snmpset", "-v2c", "-c", "private", "127.0.0.1",
        "sActiveAlarmTableAlarmState.5.onuOff", "i", "set",
        "sActiveAlarmTableAlarmSeverity.5.onuOff", "i", "major", "sActiveAlarmTableRowStatus.5.onuOff", "i", "createAndGo",
    )  # fmt: skip
    assert done.returncode == 0, done.stderr
    chassis.wait_for(lambda: "gponTrapTime" in chassis.output("snmptrapd"), 30, "the notification")
    text = chassis.output("snmptrapd")
    assert "OID: QRX4100-GPON-ALARM-MIB::sActiveAlarmTrap" in text
    found = re.findall(r"QRX4100-GPON-ALARM-MIB::(\w+)(?:\.0)? = (\w+): (\S*)", text)
    values = {name: value for name, _, value in found}
    assert values["sActiveAlarmTableAlarmSource"] == "5"
    assert values["sActiveAlarmTableAlarmCode"] == "onuOff(201)"
    assert values["sActiveAlarmTableAlarmSeverity"] == "major(3)"
    assert values["sActiveAlarmTableAlarmState"] == "set(1)"
    assert "gponTrapTime" in values
    module = (MIBS / "QRX4100-GPON-ALARM-MIB.txt").read_text()
    listed = re.search(r"sActiveAlarmTrap NOTIFICATION-TYPE\s+OBJECTS \{(.*?)\}", module, re.S)[1]
    index = ["sActiveAlarmTableAlarmSource", "sActiveAlarmTableAlarmCode"]
    assert [name for name, _, _ in found] == [*index, *re.findall(r"\w+", listed), "gponTrapTime"]
