"""What the person on call asks: is this chassis well, and why was that refused."""

import json
import re

import pytest

from chassis import VTY_SOCKET
from shelf import start_shelf
from snmp_manager import Manager
from test_gponsh import Terminal

PORTS = ("gpon-olt1/1", "gpon-olt1/2", "gpon-olt2/1")
TIME = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d"
RESTORED = 60.0  # a restore takes sixteen steps of a second
ALARM_WAIT = 60.0  # an alarm stands three seconds after its raise, on a busy machine later


def sync_start(chassis, slot, prio):
    chassis.event("cfg-slot-sync-start", appid=30047, slotid=slot, cfg_prio=prio, appName="gpon")


@pytest.fixture
def shelf(chassis):
    start_shelf(chassis, *PORTS)
    return chassis


def health(chassis):
    """(the matters, the cards by slot, the other lines by name)"""
    text = str(chassis.vty("show chassis health"))
    matters = re.findall(r"^  (?! )(\S.*)$", text, re.M) if "Look at" in text else []
    cards = {row["slot"]: row for row in map(json.loads, chassis.vty("json show chassis health").splitlines())}
    parts = dict(re.findall(r"^(\w[\w ]+?)  +(\S.*)$", text, re.M))
    assert bool(matters) != ("The chassis is well." in text)
    return matters, cards, parts


def test_a_chassis_that_is_well_says_so_and_one_that_is_not_says_where(shelf):
    matters, cards, parts = health(shelf)
    assert matters == []
    assert [(slot, card["state"], card["ports"], card["onus"]) for slot, card in cards.items()] == [
        (1, "in service", 2, 0),
        (2, "in service", 1, 0),
    ]
    assert parts["configuration"] == "never saved" and parts["counters"] == "no pass yet"

    port = ("configure terminal", f"interface {PORTS[0]}")
    for onu in (1, 2, 3):
        assert shelf.vty(*port, f"onu {onu} type KLM-618 sn ABCD0000000{onu}").result == 0
    assert health(shelf)[0] == [
        "gpon-olt1/1: none of its 3 ONUs is operational (show interface gpon-olt1/1 onu reason)"
    ]
    shelf.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/1")
    shelf.simctl("onu", "add", "ABCD000000EE", "port=gpon-olt2/1")  # nobody has told whose it is
    shelf.wait_for(lambda: health(shelf)[1][1]["up"] == 1 and health(shelf)[1][2]["waiting"] == 1, 20, "the ONUs")
    matters, cards, parts = health(shelf)
    assert matters == []
    assert (cards[1]["onus"], cards[1]["waiting"], cards[2]["onus"]) == (3, 0, 0)
    assert parts["ONUs"].startswith("3: 1 operational, ") and parts["ONUs"].endswith("; 1 unconfigured")

    shelf.card_event(2, "trap", AlarmTableAlarmSource="gpon-olt2/1", AlarmTableAlarmCode=101,
                     AlarmTableAlarmState=1, AlarmTableAlarmSeverity=4, AlarmTableAlarmSourceType=5)  # fmt: skip
    shelf.wait_for(lambda: health(shelf)[0], ALARM_WAIT, "the alarm")
    matters, _, parts = health(shelf)
    assert matters == ["1 critical alarms (show alarm)"]
    assert parts["alarms"].startswith("1 critical, 0 major, ")

    shelf.simctl("card", 1, "off")
    shelf.event("slot-deactive", slot_id=1, card_type=27)
    shelf.wait_for(lambda: health(shelf)[1][1]["state"] != "in service", 20, "the card to go")
    matters, cards, _ = health(shelf)
    assert re.fullmatch(rf"card in slot 1: away since {TIME} \(show slot info\)", matters[0]) and len(matters) == 2
    assert re.fullmatch(f"away since {TIME}", cards[1]["state"])

    # and its restore is remembered
    shelf.simctl("card", 1, "on")
    shelf.event("slot-active", slot_id=1, card_type=27)
    sync_start(shelf, 1, 300)
    shelf.wait_for(lambda: health(shelf)[1][1]["restored_at"] == "under way", 20, "the restore")
    for done, prio in ((300, 410), (410, 480)):
        shelf.wait_record(timeout=RESTORED, kind="request", type="cfg-app-notify-recover-result", cfg_prio=done)
        sync_start(shelf, 1, prio)
    shelf.wait_for(lambda: health(shelf)[1][1]["took_s"], RESTORED, "the end of the restore")
    card = health(shelf)[1][1]
    assert re.fullmatch(TIME, card["restored_at"]) and float(card["took_s"]) >= 15
    assert card["messages"] >= 3 and card["failed"] == 0 and card["state"] == "in service"


def test_saves_and_memory_are_told_by_table(shelf):
    def rows(command):
        return {row["table"]: row for row in map(json.loads, shelf.vty("json " + command).splitlines())}

    assert rows("show chassis saves") == {}
    before = rows("show chassis memory")
    for onu in range(1, 41):
        shelf.vty("configure terminal", f"interface {PORTS[0]}", f"onu {onu} type KLM-618 sn ABCD{onu:08}")
    row = rows("show chassis memory")["sOnuTable"]
    assert "sOnuTable" not in before and row["rows"] == 40
    assert row["bytes"] == 40 * (row["record"] + row["index"]) <= row["reserved"]
    text = shelf.vty("show chassis memory")
    assert re.search(r"^rows 0\.\d MB, process \d+\.\d MB$", text, re.M)
    # the widest first
    sizes = [each["bytes"] for each in rows("show chassis memory").values()]
    assert sizes == sorted(sizes, reverse=True)


def refused(chassis, which):
    """(item: value, the log lines) of a request that was refused."""
    items, log = {}, []
    for row in map(json.loads, chassis.vty(f"json show refused {which}").splitlines()):
        if row["item"] == "log":
            log.append(row["value"])
        else:
            items[row["item"]] = row["value"]
    return items, log


def test_a_refused_command_is_told_with_its_log_lines(shelf):
    assert "total 0" in shelf.vty("show refused")
    assert shelf.vty("show refused last") == "% no such request is kept\n"
    line = "onu 3 type nope loid HOME3 pw secret-word"
    assert "rtn=1003" in shelf.vty("configure terminal", f"interface {PORTS[0]}", line)
    items, log = refused(shelf, "last")
    assert re.fullmatch(TIME, items.pop("at"))
    assert items == {
        "number": 2,
        "door": "vty",
        "on": "gpon-olt1/1",
        "request": "onu 3 type nope loid HOME3 pw ***",
        "result": "104006 KAVO_CLI_FAILED",
        "application": "1003 OV_GPON_RET_BAD_PARAM",
        "row": "gpon-olt1/1",
        "reason": 'no ONU type "nope"',
    }
    written = [line.split("[", 1)[1] for line in shelf.log_lines("(warn|error)/")]
    assert log and all(any(text.split("] ", 1)[1] in each for each in written) for text in log)
    # by its number, and in the list
    assert refused(shelf, 2)[0]["request"] == items["request"]
    rows = [json.loads(row) for row in shelf.vty("json show refused").splitlines()]
    assert [(row["number"], row["request"], row["reason"]) for row in rows] == [
        (1, "show refused last", "no operator, manager or action was refused anything since the start"),
        (2, items["request"], items["reason"]),
    ]
    assert shelf.vty("show refused 77").result == 1


SECRETS = [
    ("remote wan 1 route internet pppoe anna hidden-1 vlan-mode tag 5 priority 0 eth 9", "pppoe anna ***"),
    ("remote sip-user pots_9/9 sip-agent 1 user-aor 1 display-name a username b password hidden-2", "password ***"),
    ("remote wifi 1 mode 802.11b/g channel 6 ssid-name a security-mode wpa2-psk share-key hid encrypt-mode aes", "share-key ***"),
    ("remote wifi 1 mode 802.11b channel 6 ssid-name a security-mode wep-64bits wep-auth open key-index 1 hid", "key-index 1 ***"),
    ("remote onu tr069-mgmt acs u validate none username a passw hidden-4", "passw ***"),
    ("tcont 1 profile nope name pw", "name pw"),
]


def test_no_password_is_kept(shelf):
    shelf.vty("configure terminal", f"interface {PORTS[0]}", "onu 1 type KLM-618 sn ABCD00000001")
    session = shelf.open_vty()
    for line in ("configure terminal", "interface gpon-onu1/1:1"):
        assert session(line).result == 0
    wrong = []
    for line, shown in SECRETS:
        result = session(line).result
        text = " ".join(map(str, refused(shelf, "last")[0].values())) if result == 1 else ""
        if result != 1 or shown not in text or "hid" in text:
            wrong.append((line, result, text))
    assert wrong == []
    everything = [str(shelf.vty(f"show refused {number}")) for number in range(1, len(SECRETS) + 1)]
    assert not any("hid" in text for text in everything)


def test_managers_and_cards_are_told_beside_operators(shelf):
    shelf.start_snmpd()
    shelf.wait_agent()
    shelf.vty("configure terminal", f"interface {PORTS[0]}", "onu 1 type KLM-618 sn ABCD00000001")
    manager = Manager(shelf)
    tcont = "1.3.6.1.4.1.47281.1.1.1.1.1.6.1"
    answer = manager.set((f"{tcont}.6.1.1.1.1.3", "Integer32", 4), (f"{tcont}.5.1.1.1.1.3", "OctetString", "nope"))
    manager.close()
    assert answer["status"] == "badValue"
    items, _ = refused(shelf, "last")
    del items["number"], items["at"]
    assert items == {
        "door": "snmp",
        "request": "SET sTcontTableBwProfileName.1.1.1.1.3",
        "result": "3 badValue",
        "row": "sTcontTable gpon-onu1/1:1 T-CONT 3",
        "reason": 'no bandwidth profile "nope"',
    }
    report = {"ponIfindex": PORTS[0], "index": 3, "sn": "ABCD0000beef"}
    shelf.card_event(1, "uncfg", **report)
    shelf.card_event(1, "uncfg", **{**report, "sn": "ABCD0000bee0"})
    shelf.wait_for(lambda: '"door":"card"' in shelf.vty("json show refused"), 20, "the card's")
    doors = [json.loads(row)["door"] for row in shelf.vty("json show refused").splitlines()]
    assert doors == ["snmp", "card"]
    assert refused(shelf, "last")[0]["door"] == "snmp"  # of people


def test_a_storm_of_refusals_leaves_the_last_ones(shelf):
    session = shelf.open_vty()
    for line in ("configure terminal", "gpon"):
        session(line)
    for number in range(1, 131):
        assert session(f"no profile onutype gone-{number}").result == 1
    rows = [json.loads(row) for row in shelf.vty("json show refused").splitlines()]
    assert [row["number"] for row in rows] == list(range(31, 131))
    assert rows[-1]["request"] == "no profile onutype gone-130"


def test_a_terminal_is_told_where_more_stands(shelf, tmp_path):
    terminal = Terminal(str(shelf.path(VTY_SOCKET)), tmp_path)
    try:
        terminal.expect("gpon# $")
        terminal.run("configure terminal")
        terminal.run("gpon")
        text = terminal.run("no profile onutype nope")
        assert '  no profile "nope" (gpon)\n  % see: show refused 1\n' in text
        assert "no profile onutype nope" in terminal.run("show refused 1")  # where he stands
        assert "see: show" not in terminal.run("no profile onutype")  # not understood: nothing is kept
        terminal.type("show ref\t")
        terminal.expect("show refused")
        terminal.type("\x15show chassis ?")
        for word in ("health", "memory", "metrics", "saves"):
            terminal.expect(word)
    finally:
        terminal.close()
