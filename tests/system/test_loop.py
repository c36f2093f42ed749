"""The daemon's event loop watches itself: who held it up is told."""

import json
import re

from shelf import start_shelf

PORT = "gpon-olt1/1"
COMMAND = r"fec downstream  \(enable\|disable\)"


def test_a_command_that_waits_for_its_card_is_told_and_listed(chassis):
    start_shelf(chassis, PORT)
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
