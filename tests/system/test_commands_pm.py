"""Counters by command: shown, and recorded."""

import json
import re
import subprocess

import pytest

from chassis import VTY_SOCKET, program
from test_commands_frame import new_port
from test_commands_onu import ONU_PORT, add, start_shelf
from test_commands_remote import SERIAL, TYPE, come_up

UPLINK = ("configure terminal", "interface ge1/1")
FAILED = "%Failed to get port info \n"


@pytest.fixture
def shelf(chassis):
    """A shelf with an ONU that is up and has a GEM port."""
    made = start_shelf(chassis)
    assert made.on_gpon(TYPE) == ([0], "")
    add(made, words=f"type HOME sn {SERIAL}")
    chassis.simctl("onu", "add", SERIAL, f"port={ONU_PORT}")
    come_up(made)
    assert made.on_onu("tcont 1 profile default", "gemport 3 tcont 1") == ([0, 0], "")
    return made


def statistic(shelf, words, clear="disable"):
    """Result and text of a show on the configuration node."""
    results, text = shelf.typed((), f"show statistic {words} clear {clear}")
    assert len(results) == 1
    return results[0], text


def counters(shelf, words):
    """The values of a show, by their names."""
    result, text = statistic(shelf, words)
    assert result == 0, text
    lines = text.splitlines()
    assert lines[0] == "" and set(lines[2]) == {"-"} and {len(line) for line in lines[1:]} == {len(lines[2])}
    name = slice(lines[1].index("counter"), lines[1].index("counter") + 30)
    return {line[name].strip(): int(line[name.stop :]) for line in lines[3:]}


def test_each_thing_has_its_counters(shelf):
    for words, count, one in (
        (f"{ONU_PORT} protocol", 30, "rx ploams not idle"),
        (f"{ONU_PORT} data", 63, "tx frames 9217-16638"),
        (f"{ONU_PORT} onu 7", 19, "fec code words corrected"),
        (f"{ONU_PORT} onu 7 gem 3", 4, "tx bytes"),
    ):
        found = counters(shelf, words)
        assert len(found) == count and one in found, words


def test_traffic_of_a_gem_port_counts_there_at_its_onu_and_at_the_port(shelf):
    shelf.chassis.simctl("traffic", SERIAL, "gem=3", "up=10", "down=4", "size=100")
    gem = counters(shelf, f"{ONU_PORT} onu 7 gem 3")
    assert gem == {"rx packets": 10, "rx bytes": 1000, "tx packets": 4, "tx bytes": 400}
    onu = counters(shelf, f"{ONU_PORT} onu 7")
    assert (onu["rx packets"], onu["rx bytes"], onu["tx packets"]) == (10, 1000, 4)
    assert (onu["tx bytes"], onu["bip8 errors"]) == (400, 0)
    # What comes up from the ONUs, the port sends to the switch.
    data = counters(shelf, f"{ONU_PORT} data")
    assert (data["tx frames"], data["rx frames"]) == (10, 4)
    assert (data["tx frames 65-127"], data["rx frames 65-127"], data["tx frames 128-255"]) == (10, 4, 0)


def test_a_card_begins_at_0_behind_a_show_that_clears(shelf):
    shelf.chassis.simctl("traffic", SERIAL, "gem=3", "up=10")
    words = f"{ONU_PORT} onu 7 gem 3"
    assert counters(shelf, words)["rx packets"] == 10
    assert counters(shelf, words)["rx packets"] == 10
    result, text = statistic(shelf, words, clear="enable")
    assert result == 0 and re.search(r" rx packets +10$", text, re.M)
    assert counters(shelf, words)["rx packets"] == 0


def test_counters_are_shown_where_their_things_are(shelf):
    onu, port = f"show statistic {ONU_PORT} onu 7 clear disable", f"show statistic {ONU_PORT} data clear disable"
    for line in (onu, port):
        shown = shelf.typed((), line)
        assert shown[0] == [0]
        assert [name[:4] for name in shown[1].split()[:1]] == ["onu" if line == onu else "port"]
    assert shelf.on_onu(onu)[0] == [0]
    assert shelf.on_port(port)[0] == [0]
    assert shelf.chassis.vty(onu).result == 2, "not in enable mode"


def test_json_has_the_numbers_as_numbers(shelf):
    results, text = shelf.typed((), f"json show statistic {ONU_PORT} onu 7 gem 3 clear disable")
    rows = [json.loads(line) for line in text.splitlines()]
    assert results == [0]
    assert [(row["onu"], row["gem"], row["counter"]) for row in rows][3] == ("1/1:7", 3, "tx bytes")
    assert all(isinstance(row["value"], int) for row in rows)


def test_the_shell_tells_what_a_repeated_show_gains(shelf):
    line = f"show statistic {ONU_PORT} onu 7 gem 3 clear disable repeat 1 2"
    shell = [program("gponsh"), "-s", str(shelf.chassis.path(VTY_SOCKET)), "-c", "configure terminal", "-c", line]
    shown = subprocess.run(shell, capture_output=True, text=True, timeout=60)
    assert shown.returncode == 0
    rates = re.findall(r"^1/1:7 +3 (\S+ \S+) +\d+ +(\S+)$", shown.stdout, re.M)
    assert [name for name, _ in rates] == ["rx packets", "rx bytes", "tx packets", "tx bytes"] * 2
    assert [rate for _, rate in rates[:4]] == ["-"] * 4
    assert all(re.fullmatch(r"\d+\.\d", rate) for _, rate in rates[4:])
    assert shown.stdout.count(" value       per second\n") == 2


def test_what_is_not_there_is_refused(shelf):
    assert statistic(shelf, "ge1/1 data") == (1, "% ge1/1 is not a PON port\n")
    assert statistic(shelf, f"{ONU_PORT} onu 8") == (1, "%Onu 8 not exist\n")
    assert statistic(shelf, f"{ONU_PORT} onu 8 gem 3") == (1, "%Onu 8 not exist\n")
    assert statistic(shelf, f"{ONU_PORT} onu 7 gem 4") == (1, FAILED)
    assert statistic(shelf, f"{ONU_PORT} onu 129")[0] == 2
    assert statistic(shelf, f"{ONU_PORT} onu 7 gem 31")[0] == 2


def test_a_card_that_is_pulled_has_no_counters(shelf):
    assert statistic(shelf, f"{ONU_PORT} protocol")[0] == 0
    shelf.chassis.simctl("card", 1, "off")
    shelf.chassis.event("slot-deactive", slot_id=1, card_type=27)
    shelf.chassis.wait_for(lambda: statistic(shelf, f"{ONU_PORT} protocol") == (1, FAILED), what="the card to be missed")


def test_records_of_an_uplink_port_are_saved_and_replayed(shelf):
    def on_uplink(line):
        return shelf.chassis.vty(*UPLINK, line)

    new_port(shelf.chassis, "ge1/1")
    assert "interface ge1/1" not in shelf.chassis.vty("write terminal")
    assert on_uplink("pm both").result == 2
    assert on_uplink("pm enable").result == 0
    saved = "interface ge1/1\n pm enable\n!\n"
    assert saved in shelf.chassis.vty("write terminal")
    assert str(on_uplink("write terminal current")).endswith(saved)
    assert on_uplink("pm disable").result == 0
    assert "interface ge1/1" not in shelf.chassis.vty("write terminal")
    for line in saved.splitlines()[1:2]:
        assert on_uplink(line.strip()).result == 0
    assert saved in shelf.chassis.vty("write terminal")
