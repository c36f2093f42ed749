"""What the person on call asks: is this chassis well, and why was that refused."""

import json
import re

import pytest

SHELF = """
env PDT_INFO_SHELF_TYPE 53
env PDT_INFO_CARD_SLOTID 8
env mate_slot 9
env active 1
product-facts
card-board 8
card 8 add
card 1 add
card 2 add
mono-ready 1
"""
PORTS = ("gpon-olt1/1", "gpon-olt1/2", "gpon-olt2/1")
TIME = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d"
RESTORED = 60.0  # a restore takes sixteen steps of a second
ALARM_WAIT = 60.0  # an alarm stands three seconds after its raise, on a busy machine later


def sync_start(chassis, slot, prio):
    chassis.event("cfg-slot-sync-start", appid=30047, slotid=slot, cfg_prio=prio, appName="gpon")


@pytest.fixture
def shelf(chassis):
    chassis.start(SHELF)
    chassis.start_daemon()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    for slot in (1, 2):
        chassis.event("slot-add", slot_id=slot, card_type=27)
        chassis.event("slot-active", slot_id=slot, card_type=27)
    for port in PORTS:
        chassis.event("new-if", ifindex=port, flags="up+running")
    chassis.wait_for(lambda: chassis.vty(f"show interface {PORTS[-1]} onu status").result == 0, what="the ports")
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
