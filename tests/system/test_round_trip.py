"""A town with something in every table (bench/town.py): typed, written, typed into an empty chassis, saved, restarted, told to
cards again, and protected. What is written is the same every time, and every command whose setting is saved has its line."""

import difflib
import re
import sys

import pytest

from chassis import BIN, REPO, Chassis, program

sys.path.insert(0, str(REPO / "bench"))

import town_snmp  # noqa: E402
import town_tables  # noqa: E402
from snmp_manager import Manager  # noqa: E402
from town import Town  # noqa: E402

TOWN = Town(seed=3, cards=1, ports=4, onus=24)
SLOT = TOWN.slots[0]
SAVED = "/flash/gpon.conf"
COMMAND = re.compile(r'GPON_(?:CMD|SETTING)\((\w+),\s*NODES\(([^)]*)\),\s*"([^"]*)"')

#: Tables that no command writes to, and that nothing fills as long as nothing happens.
WITHOUT_COMMANDS = {
    "sActionTable", "sActiveAlarmTable", "sGponTrapEnableTable", "sMcastVlanTable", "sOnuInitTable", "sQosProfileTable", "sRmFlowTable",
    "sServiceTable", "tcaAlarmTable",
}  # fmt: skip

#: Counters, whose rows have the time at which they began.
TIMES = {"ponPmTable", "uplinkPmTable", "onuPmTable", "gemPmTable", "ponnniPmTable", "sRmUniPmTable"}

#: What a card is told of at a replay that no command made: default profiles.
ALWAYS_TOLD = {
    "OV_HAL_MSG_GPON_BW_TYPE": 1, "OV_HAL_MSG_GPON_ONU_RSSI": 1, "OV_HAL_MSG_GPON_ONU_TYPE": 1, "OV_HAL_MSG_GPON_RMONU_TRAFFIC_PROFILE": 1,
    "cos-to-cos-put": 1, "cosq-map-put": 4, "sched-put": 1, "traffic-put": 1, "OV_HAL_MSG_GPON_CONF_SYNC_END": 1,
}  # fmt: skip

#: What no replay tells, or only where it isn't as every service begins.
NOT_TOLD_AGAIN = {"OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD", "OV_HAL_MSG_GPON_RM_MAC_FLT"}

#: Commands that show, act, lead somewhere, or take back what is then at its default and has no line.
NOT_SAVED = re.compile(
    r"show |no |debug |dump |clear |copy |delete |drv-cmd |interface |gpon$|vlan <|onu modify |protectgroup <1-16> switchover |"
    r"multi-onusrv-cfg |remote onu (reboot|restore)|onu auto-flow |"
    r".* default$|active$|.* silence disable$|onu auto-authentication disable$|remote onu tr069-mgmt untag$|"
    r"onu auto-authentication enable auto-flow disable$"
)


def syntaxes():
    """All commands of the nodes whose blocks are saved: (file, syntax)."""
    for path in sorted((REPO / "gpon/commands").glob("*.def")):
        for _, nodes, syntax in COMMAND.findall(path.read_text()):
            if re.search(r"\b[SOPGICQ]\b", nodes) and not NOT_SAVED.match(syntax.strip()):
                yield path.name, syntax.strip()


def pattern_of(syntax):
    """Matches the lines of a syntax."""

    def of_word(word):
        if word.startswith("("):
            return "(?:" + "|".join(of_word(one.strip()) for one in word[1:-1].split("|")) + ")"
        if word.startswith("<"):
            return r"\d+"
        if word.startswith("."):
            return ".+"
        return r"\S+" if word == word.upper() and re.search("[A-Z]", word) else re.escape(word)

    return re.compile(r"\s+".join(of_word(word) for word in re.findall(r"\([^)]*\)|\S+", syntax)))


def same(now, before):
    """Fails with the lines that differ."""
    assert not (diff := list(difflib.unified_diff(before.splitlines(), now.splitlines(), lineterm="", n=1))), "\n".join(diff[:60])


def written(chassis):
    return str(chassis.vty("write terminal", timeout=60))


def bring_up(chassis, town=TOWN):
    """Starts the daemon on a chassis that runs, and waits until it has told it of all ports."""
    since = chassis.mark()
    chassis.start_daemon(env={"OV_IPC_CARRIER": "unix", "OV_LOG_FILE": "/tmp/product/gpon.log"})
    chassis.wait_record(30, since=since, kind="note", text="in-service")
    chassis.wait_for(lambda: written(chassis).count("interface gpon-olt") >= len(list(town.ports())), 30, "the ports' rows")


def restart(chassis, keep_tables=True):
    """Another daemon, and a card that knows nothing."""
    chassis.kill_daemon()
    if not keep_tables:
        chassis.run("rm", "-rf", town_tables.DIR)
    chassis.simctl("card", SLOT, "restart")
    bring_up(chassis)


def shell(chassis, *args):
    """Runs the operator shell, beside the programs of its platform."""
    path = f"PATH={REPO}/tools/demo/bin:{BIN}:/usr/bin:/bin"
    done = chassis.run("env", path, program("gponsh"), *args, timeout=120)
    assert done.returncode == 0, done.stdout[-3000:] + done.stderr[-3000:]
    return done.stdout


def save(chassis):
    """Saves configuration and tables; gives the configuration that the file has."""
    assert re.search("tables are saved", shell(chassis, "-c", "write memory"))
    return chassis.read(SAVED)


def load(chassis, text):
    """Types a saved configuration as the platform does at a start."""
    chassis.write("/tmp/saved.conf", text)
    shell(chassis, "-f", "/tmp/saved.conf")


def tables(chassis, names):
    """The rows of the tables' files, each behind its table's name; those of counters aside."""
    return "\n".join(f"{name} {row}" for name in names if name not in TIMES for row in chassis.read(f"{town_tables.DIR}/{name}.mib", missing="").splitlines())


def held(chassis, besides=()):
    """How many objects the card was told of, by kind of message, and without so many of some."""
    counts = {kind: len(of["rows"]) - dict(besides).get(kind, 0) for kind, of in chassis.card(SLOT)["objects"].items()}
    return "\n".join(f"{kind} {count}" for kind, count in sorted(counts.items()) if count and kind not in NOT_TOLD_AGAIN)


@pytest.fixture
def second(tmp_path):
    (tmp_path / "second").mkdir()
    made = Chassis(tmp_path / "second")
    yield made
    made.close()


def test_a_town_goes_round_and_stays_the_same(chassis, second):
    for one, in_operation in ((chassis, True), (second, False)):
        one.start(TOWN.chassis_scenario(with_onus=False, in_operation=in_operation))
        bring_up(one)
    town_tables.type_lines(chassis, TOWN.commands())
    text = written(chassis)
    assert chassis.card(SLOT)["reasons"] == {}

    # Nothing is missing: no table, no command.
    names = town_tables.save(chassis)
    empty = {name for name in names if not chassis.read(f"{town_tables.DIR}/{name}.mib", missing="")}
    assert empty <= WITHOUT_COMMANDS
    lines = {line.strip() for line in text.splitlines()}
    missing = [one for one in syntaxes() if not any(pattern_of(one[1]).fullmatch(line) for line in lines)]
    assert not missing, "\n".join(map(str, missing))
    words = {" ".join(line.split()) for line in lines}
    typed = {" ".join(line.split()) for line in TOWN.commands()} - words - {"configure terminal", "exit", "end"}
    assert not typed, "\n".join(sorted(typed))

    # Into an empty chassis, saved, and started again with a new card.
    load(second, text)
    same(written(second), text)
    same(save(second), text)
    same(tables(second, names), tables(chassis, names))
    restart(second)
    shell(second, "-f", SAVED, "--apply")  # what no table keeps: QinQ rules, controllable multicast
    same(written(second), text)
    second.simctl("replay", f"slot={SLOT}", "step=60000", timeout=90)
    second.simctl("env", "OV_APP_FLAG_SYS_OPSTATUS", 1)
    same(written(second), text)
    same(held(second, ALWAYS_TOLD), held(chassis))
    assert second.card(SLOT)["reasons"] == {}

    # With the card in step a group's second port has what the first one has; the lines of both are saved, and taken at a start.
    group = next(line.strip() for line in lines if line.startswith("protectgroup 1 "))
    second.vty("configure terminal", "gpon", "no protectgroup 1")
    with second.open_vty(timeout=60) as session:
        for line in ("configure terminal", "gpon", group):
            assert session(line).result == 0, (line, session("show refusal"))
    text = written(second)
    assert text.count(f"interface gpon-onu{SLOT}/4:") == text.count(f"interface gpon-onu{SLOT}/3:") == 24
    saved = save(second)
    restart(second, keep_tables=False)
    load(second, saved)
    same(written(second), text)


#: What snmpset's types are to the manager.
KINDS = {"i": "Integer32", "u": "Gauge32", "s": "OctetString", "x": "OctetString", "a": "IpAddress"}


def test_a_manager_makes_the_same_town(chassis, second, tmp_path):
    town = Town(seed=3, cards=1, ports=3, onus=16)
    town_tables.start(chassis, town_tables.without_cards(town), town)
    town_tables.type_lines(chassis, town.commands())
    town_tables.save(chassis)
    assert town_tables.copy(chassis, tmp_path) > 1000
    second.start_snmpd()
    town_tables.start(second, town_tables.without_cards(town), town)
    second.wait_agent()
    manager = Manager(second)
    try:
        for triples in town_snmp.sets(town, tmp_path):
            reply = manager.set(*([oid, KINDS[kind], bytes.fromhex(value).decode("latin-1") if kind == "x" else value] for oid, kind, value in triples))
            assert (reply["status"], reply["error"]) == ("noError", ""), (triples, reply, second.vty("show refusal"))
    finally:
        manager.close()
    before = "\n".join(line for line in written(chassis).splitlines() if "qinq" not in line and line not in (" ctc enable", "!"))
    same("\n".join(line for line in written(second).splitlines() if line != "!"), before)
