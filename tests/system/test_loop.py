"""The daemon's event loop watches itself: who held it up is told."""

import json
import re

SHELF = """
env PDT_INFO_SHELF_TYPE 53
env PDT_INFO_CARD_SLOTID 8
env mate_slot 9
env active 1
product-facts
card-board 8
card 8 add
card 1 add
mono-ready 1
"""
PORT = "gpon-olt1/1"
COMMAND = r"fec downstream  \(enable\|disable\)"


def test_a_command_that_waits_for_its_card_is_told_and_listed(chassis):
    chassis.start(SHELF)
    chassis.start_daemon()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    for kind in ("slot-add", "slot-active"):
        chassis.event(kind, slot_id=1, card_type=27)
    chassis.event("new-if", ifindex=PORT, flags="up+running")
    chassis.wait_for(lambda: chassis.vty(f"show interface {PORT} onu status").result == 0, what="the port")

    chassis.card_fault(1, "late", ms=700, times="forever")
    assert chassis.vty("configure terminal", f"interface {PORT}", "fec downstream enable").result == 0
    (line,) = chassis.wait_log(rf"handler vtysh_read held the loop for \d+ ms: {COMMAND}")
    assert "notice/60" in line
    held = int(re.search(r"for (\d+) ms", line)[1])
    assert held >= 700

    chassis.simctl("clear-card-faults", 1)
    rows = [json.loads(row) for row in chassis.vty("json show loop").splitlines()]
    shell = next(row for row in rows if row["handler"] == "vtysh_read")
    assert shell["longest_us"] // 1000 == held
    # it waited: that is no work
    assert 0 < shell["longest_cpu_us"] <= shell["cpu_us"] and shell["longest_cpu_us"] < shell["longest_us"]
    assert re.fullmatch(COMMAND, shell["doing"])
    assert re.fullmatch(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d", shell["when"])
    longest = [row["longest_us"] for row in rows]
    assert longest == sorted(longest, reverse=True)
    assert {"hal_tipc_asyncmsg_handle_timer", "gpon_read"} <= {row["handler"] for row in rows}

    text = chassis.vty("show loop").splitlines()
    assert text[0].split() == "handler runs total us cpu us longest us longest cpu us when armed at doing".split()
    assert len(text) <= 22 and int(re.fullmatch(r"(\d+) runs held the loop for more than 100 ms", text[-1])[1]) >= 1
