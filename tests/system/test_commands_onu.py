"""ONUs by command, from the PON port down to the service port, with line cards that take them."""

import random
import re

import pytest

from chassis import QUIET_SCENARIO
from table_files import table_file, write_table
from test_provision import SHELF

ONU_PORT = "gpon-olt1/1"
ONU = "gpon-onu1/1:7"
NO_SUCH_COMMAND = 2


class Operator:
    """Types lines, each from a node's way in."""

    def __init__(self, chassis):
        self.chassis = chassis

    def typed(self, node, *lines):
        """The results of lines on a node, and the text of the last one."""
        with self.chassis.open_vty() as session:
            for line in ("configure terminal", *node):
                assert session(line).result == 0, line
            replies = [session(line) for line in lines]
        return [reply.result for reply in replies], str(replies[-1])

    def on_port(self, *lines, port=ONU_PORT):
        return self.typed((f"interface {port}",), *lines)

    def on_onu(self, *lines, onu=ONU):
        return self.typed((f"interface {onu}",), *lines)

    def on_gpon(self, *lines):
        return self.typed(("gpon",), *lines)

    def on_profile(self, *lines, profile=5):
        return self.typed(("gpon", f"onu-srvprofile profile-id {profile} onu-type KLM-618"), *lines)

    def rows(self, table):
        return self.chassis.vty(f"show mib table {table} rows")

    def saved(self, name=ONU):
        """The lines of a saved block behind its head."""
        return self.chassis.vty(f"write terminal interface {name}").splitlines()[3:-1]

    def held(self, slot, name):
        return self.chassis.card(slot)["objects"].get(f"OV_HAL_MSG_GPON_{name}", {"rows": []})["rows"]


def start_shelf(chassis, ports=2, **env):
    """Two line cards in service with so many ports each."""
    chassis.start(SHELF)
    chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"} | env)
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    chassis.event("slot-active", slot_id=8, card_type=2)
    for slot in (1, 2):
        chassis.event("slot-add", slot_id=slot, card_type=27)
        chassis.event("slot-active", slot_id=slot, card_type=27)
        for port in range(1, ports + 1):
            chassis.event("new-if", ifindex=f"gpon-olt{slot}/{port}", flags="up+running")
    saved = lambda: chassis.vty("write terminal").count("interface gpon-olt")
    chassis.wait_for(lambda: saved() == 2 * ports, 30, "the ports' rows")
    return Operator(chassis)


@pytest.fixture
def shelf(chassis):
    return start_shelf(chassis)


def add(shelf, number=7, words="type KLM-618 sn ABCD00000007"):
    assert shelf.on_port(f"onu {number} {words}") == ([0], "")


# ---- a subscriber ---------------------------------------------------------------------------------------------


def test_a_subscriber_is_provisioned_comes_up_is_seen_and_goes(shelf):
    chassis = shelf.chassis
    add(shelf)
    lines = [
        "tcont 1 profile default name data",
        "gemport 1 tcont 1 name hsi queue 2",
        "service-port 1 gemport 1 user-vlan 10 vlan 100 priority 3",
        "service-port 1 mac-limit 16",
    ]
    assert shelf.on_onu(*lines) == ([0] * 4, "")
    assert [len(shelf.held(1, name)) for name in ("ONU", "TCONT", "GEMPORT", "SERVPORT")] == [1, 1, 1, 1]
    assert shelf.held(2, "ONU") == []
    (service,) = shelf.held(1, "SERVPORT")
    assert (service["user_vlan"], service["vlan"], service["vlan_prio"], service["mac_limit"]) == (10, 100, 3, 16)

    chassis.simctl("onu", "add", "ABCD00000007", f"port={ONU_PORT}", "version=V1.2.3", "distance=4321")
    state = lambda: shelf.on_port("show onu status")[1]
    chassis.wait_for(lambda: "operational" in state(), what="the ONU to be operational")
    head, dashes, row, total = state().splitlines()[1:]
    assert dashes == "-" * 127
    assert total == "total 1"
    for heading, value in [("onu", "1/1:7"), ("state", "operational"), ("version", "V1.2.3"), ("name", ONU)]:
        assert row[head.index(heading) :].startswith(value), heading
    assert "sn:ABCD00000007" in row
    distance = shelf.typed((), f"show distance {ONU_PORT} onu 7")
    assert distance[0] == [0] and distance[1].split() == ["onu", "distance", "1/1:7", "4321"]
    power = shelf.on_port("show optical module rxpower onuid 7")
    assert power[0] == [0] and power[1].split()[:3] == ["onu", "rx", "power"]

    chassis.simctl("onu", "off", "ABCD00000007")
    chassis.wait_for(lambda: "added" in state(), what="the ONU to be off")
    head, row, total = chassis.vty("show onu history").splitlines()[1:]
    times = re.findall(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d", row)
    assert len(times) == 2 and times[0] <= times[1]
    assert row[head.index("on 1") :].startswith(times[0]) and row[head.index("off 1") :].startswith(times[1])

    assert shelf.on_port("no onu 7") == ([0], "")
    assert [shelf.held(1, name) for name in ("ONU", "TCONT", "GEMPORT", "SERVPORT")] == [[], [], [], []]
    assert shelf.saved(ONU_PORT) == []
    assert shelf.typed((), f"interface {ONU}")[0] == [1]


def test_an_onu_that_nobody_configured_is_shown_until_it_is(shelf):
    chassis = shelf.chassis
    chassis.simctl("onu", "add", "ABCD0000000a", f"port={ONU_PORT}")
    chassis.wait_for(lambda: "ABCD0000000a" in chassis.vty("show onu unconfig"), what="the unknown ONU")
    head, row, total = chassis.vty("show onu unconfig").splitlines()[1:]
    assert head.startswith("      slot       port  serial number")
    assert row.startswith("         1          1  ABCD0000000a")
    assert total == "total 1"
    assert "ABCD0000000a" in chassis.vty(f"show interface {ONU_PORT} onu unconfig")
    assert "ABCD0000000a" in shelf.on_port("show onu unconfig")[1]
    assert "ABCD0000000a" not in shelf.on_port("show onu unconfig", port="gpon-olt1/2")[1]
    reply = chassis.vty("show interface ge1/1 onu unconfig")
    assert (reply.result, str(reply)) == (1, f"\n{head}\n% ge1/1 is not a PON port\n")
    add(shelf, 1, "type KLM-618 sn ABCD0000000a")
    chassis.wait_for(lambda: "operational" in chassis.vty("show onu status"), what="the ONU to come up")
    chassis.wait_for(lambda: "ABCD0000000a" not in chassis.vty("show onu unconfig"), what="the ONU to be known")


# ---- what an ONU is known by ------------------------------------------------------------------------------------

FAILED = "add onu ponid = 1, onuid  7 failed , rtn={} \n"
BAD = ([1], "%Bad parameters\n")


@pytest.mark.parametrize(
    "words, mode",
    [
        ("sn ABCD00000007", 1),
        ("pw 1234567890", 2),
        ("sn ABCD00000007 pw 1234567890", 3),
        ("loid " + "l" * 24, 4),
        ("loid " + "l" * 24 + " pw 123456789012", 5),
    ],
)
def test_each_authentication_reaches_the_card_and_is_saved_as_typed(shelf, words, mode):
    assert shelf.on_port(f"onu 7 type KLM-618 {words}") == ([0], "")
    (held,) = shelf.held(1, "ONU")
    assert held["authAttr"]["mode"] == mode
    assert shelf.saved(ONU_PORT) == [f" onu 7 type KLM-618 {words}"]
    assert shelf.on_port("onu modify 7 sn ABCD00000099", f"onu modify 7 {words}") == ([0, 0], "")
    assert shelf.saved(ONU_PORT) == [f" onu 7 type KLM-618 {words}"]


def test_texts_at_their_limits_and_beyond(shelf):
    for words in (
        "sn 12345678901234567",
        "sn 12345678901234567 pw x",
        "sn ABCD00000007 pw 12345678901",
        "pw 12345678901",
        "loid " + "l" * 25,
        "loid x pw 1234567890123",
    ):
        assert shelf.on_port(f"onu 7 type KLM-618 {words}") == BAD, words
        assert shelf.on_port(f"onu 7 profile none {words}")[0] == [1]
        assert shelf.on_port(f"onu modify 7 {words}") == BAD, words
    # short enough, and no serial number
    for text in ("1234567890123456", "ABCD0000000G", "short"):
        assert shelf.on_port(f"onu 7 type KLM-618 sn {text}") == ([1], FAILED.format(1003)), text
    assert shelf.on_port(f"onu 7 type {'t' * 32} sn ABCD00000007") == ([1], FAILED.format(1003))
    assert shelf.on_port(f"onu 7 type {'t' * 33} sn ABCD00000007") == ([1], "%Profile name length is too long\n")
    assert shelf.on_port(f"onu 7 profile {'p' * 64} sn ABCD00000007") == ([1], "%Onu srv profile not exist\n")
    assert shelf.on_port(f"onu 7 profile {'p' * 65} sn ABCD00000007") == ([1], "%Bad profile name length\n")
    assert shelf.held(1, "ONU") == []


def test_numbers_at_their_limits_and_beyond(shelf):
    add(shelf, 1, "type KLM-618 pw one")
    add(shelf, 128, "type KLM-618 pw two")
    for line in ("onu 0 type KLM-618 pw x", "onu 129 type KLM-618 pw x", "no onu 0", "no onu 129", "onu modify 0 pw x"):
        assert shelf.on_port(line)[0] == [NO_SUCH_COMMAND], line
    assert shelf.on_port("onu 1 type KLM-618 pw x")[0] == [1]  # is there
    assert shelf.on_port("no onu 2") == ([1], "%Failed to delete ONU\n")
    assert shelf.on_port("onu 7 type KLM-618 pw")[0] == [4]  # unfinished
    assert shelf.on_port("onu 7 type KLM-618 pw x pw y")[0] == [NO_SUCH_COMMAND]


def test_two_onus_of_a_port_have_two_serial_numbers(shelf):
    add(shelf, 1, "type KLM-618 sn ABCD00000007")
    assert shelf.on_port("onu 7 type KLM-618 sn ABCD00000007") == ([1], FAILED.format(1003))
    assert shelf.on_port("onu 7 type KLM-618 sn ABCD00000007", port="gpon-olt1/2") == ([0], "")


def test_while_a_port_learns_onus_none_changes_its_authentication(shelf):
    add(shelf)
    assert shelf.on_port("onu auto-authentication enable", "onu modify 7 pw x") == ([0, 1], FAILED.format(1006))
    assert shelf.on_port("onu auto-authentication disable", "onu modify 7 pw x")[0] == [0, 0]
    assert shelf.on_port("onu modify 9 pw x") == ([1], "add onu ponid = 1, onuid  9 failed , rtn=1001 \n")
    assert shelf.on_port("onu modify 7 sn 1234567890123456") == ([1], FAILED.format(1010))


def test_what_the_card_refuses_is_told_and_not_kept(shelf):
    chassis = shelf.chassis
    chassis.card_fault(1, "code", type="onu", code=1009)
    assert shelf.on_port("onu 7 type KLM-618 sn ABCD00000007") == ([1], FAILED.format(1003))
    add(shelf)
    assert shelf.on_gpon("profile onu-rssi 3 vcc-threshold 1 2 3 4") == ([0], "")
    on_onu = [
        ("deactive", "onu", "%Failed to deactive onu\n"),
        ("name x", "onu", "%Failed to set onu name\n"),
        ("no name", "onu", "%Failed to no onu name\n"),
        ("splitter 1", "onu", "%Failed to set onu SplitterNumber\n"),
        ("no splitter", "onu", "%Failed to no onu SplitterNumber\n"),
        ("fec upstream enable", "onu", "%Failed to set fec upstream\n"),
        ("onu-rssi-profile 3", "onu", "%Failed to add onu rssi profile\n"),
        ("onu-rssi-profile default", "onu", "%Failed to config default onu rssi profile\n"),
        ("tcont 1 profile default", "tcont", "%Failed to create tcont:1\n"),
        ("gemport 1 tcont 1", "gemport", "%Faild to add GEM: 1\n"),
        ("gemport 1 encryption  enable", "gemport", "%Failed to set gemport encryption enable\n"),
        ("service-port 1 gemport 1", "servport", "%Could not assign service port: 1\n"),
        ("service-port 1 mac-limit 5", "servport", "%Could not set service port: 1\n"),
        ("service-port 1 queue 5", "servport", "%Could not set service port: 1\n"),
        ("no service-port 1", "servport", "%Could not set service port: 1\n"),
        ("no gemport 1", "gemport", "%Faild to delete GEM: 1\n"),
        ("no tcont 1", "tcont", "%Failed to delete tcont:1\n"),
    ]
    for line, kind, text in on_onu:
        before = shelf.saved()
        chassis.card_fault(1, "code", type=kind, code=1009)
        assert shelf.on_onu(line) == ([1], text)
        assert shelf.saved() == before, line
        assert shelf.on_onu(line) == ([0], ""), line
    assert shelf.saved() == [" fec upstream enable", " deactive"]
    chassis.card_fault(1, "code", type="onu", code=1009)
    assert shelf.on_onu("active") == ([1], "%Failed to active onu\n")
    chassis.card_fault(1, "code", type="onu", code=1009)
    assert shelf.on_port("onu modify 7 pw x") == ([1], FAILED.format(1003))
    chassis.card_fault(1, "code", type="onu", code=1009)
    assert shelf.on_port("no onu 7") == ([1], "%Failed to delete ONU\n")


# ---- one ONU -------------------------------------------------------------------------------------------------------


def test_each_setting_is_saved_as_typed_and_can_be_taken_back(shelf):
    add(shelf)
    assert shelf.on_gpon("profile onu-rssi 32 vcc-threshold 1 2 3 4") == ([0], "")
    for command, back in [
        ("name " + "n" * 32, "no name"),
        ("name !it's#a<strange>[name]", f"name {ONU}"),
        ("name up|down", "no name"),
        ("splitter " + "s" * 32, "no splitter"),
        ("fec upstream enable", "fec upstream disable"),
        ("onu-rssi-profile 32", "onu-rssi-profile default"),
        ("pm enable", "pm disable"),
        ("deactive", "active"),
    ]:
        assert shelf.on_onu(command) == ([0], ""), command
        assert shelf.saved() == [" " + command]
        assert shelf.on_onu(back) == ([0], ""), back
        assert shelf.saved() == []


def test_values_beyond_their_limits_are_refused_on_an_onu(shelf):
    add(shelf)
    assert shelf.on_onu("name " + "n" * 33) == ([1], "%Bad name length\n")
    assert shelf.on_onu("splitter " + "s" * 33) == ([1], "%Bad SplitterNumber length\n")
    assert shelf.on_onu("tcont 1 profile " + "p" * 65) == ([1], "%Bad profile name length\n")
    assert shelf.on_onu("tcont 1 profile " + "p" * 64) == ([1], "%Failed to create tcont:1\n")
    assert shelf.on_onu("tcont 1 profile default name " + "n" * 33) == ([1], "%Bad name length\n")
    assert shelf.on_onu("tcont 8 profile default name " + "n" * 32) == ([0], "")
    assert shelf.on_onu("gemport 1 tcont 8 name " + "n" * 33) == ([1], "%Bad GEM name length\n")
    assert shelf.on_onu("gemport 1 tcont 8 gem-car none") == ([1], "%No profile name \n")
    assert shelf.on_onu("gemport 1 tcont 8 gem-car " + "p" * 33) == ([1], "%Too long length of profile name\n")
    assert shelf.on_onu("gemport 30 tcont 8 name " + "n" * 32 + " queue 4") == ([0], "")
    assert shelf.on_onu("gemport 2 tcont 8 queue 5") == ([1], "%Faild to add GEM: 2\n")  # the type has 4
    assert shelf.on_onu("gemport 2 tcont 7") == ([1], "%Faild to add GEM: 2\n")  # no such T-CONT
    assert shelf.on_onu("service-port 1 gemport 29") == ([1], "%Could not find gemport: 29\n")
    assert shelf.on_onu("service-port 1 mac-limit 4095") == ([1], "%Could not find service port: 1\n")
    assert shelf.on_onu("no service-port 1") == ([1], "%Could not find service port: 1\n")
    assert shelf.on_onu("service-port 32 gemport 30 user-vlan 4094 transparent") == ([0], "")
    assert shelf.on_onu("service-port 32 gemport 30") == ([1], "%Could not assign service port: 32\n")  # is there
    for line in (
        "tcont 0 profile default", "tcont 9 profile default", "gemport 0 tcont 8", "gemport 31 tcont 8",
        "gemport 1 tcont 8 queue 9", "gemport 1 tcont 8 queue 0", "service-port 0 gemport 1", "service-port 33 gemport 1",
        "service-port 1 gemport 30 user-vlan 0 transparent", "service-port 1 gemport 30 user-vlan 4095 transparent",
        "service-port 32 mac-limit 4096", "service-port 32 queue 8", "onu-rssi-profile 0", "onu-rssi-profile 33",
        "service-port 1 gemport 30 user-vlan all vlan-add 5 priority 8", "gemport 1 tcont 8 queue 1 gem-car default",
    ):  # fmt: skip
        assert shelf.on_onu(line)[0] == [NO_SUCH_COMMAND], line


def test_what_is_in_use_is_not_deleted(shelf):
    add(shelf)
    shelf.on_onu("tcont 1 profile default", "gemport 1 tcont 1", "service-port 1 gemport 1")
    assert shelf.on_onu("no tcont 1") == ([1], "%Failed to delete tcont:1\n")
    assert shelf.on_onu("no gemport 1") == ([1], "%Faild to delete GEM: 1\n")
    assert shelf.on_onu("no service-port 1", "no gemport 1", "no tcont 1")[0] == [0, 0, 0]


SERVICE_PORTS = [
    # words behind the GEM port; VLAN action and what the card holds
    ("", dict(vlan_action=10)),
    (" user-vlan 10 transparent", dict(vlan_action=0, user_vlan=10)),
    (" user-vlan 10 vlan 100", dict(vlan_action=1, user_vlan=10, vlan=100, vlan_prio_action=1)),
    (" user-vlan 10 vlan 100 priority 0", dict(vlan_action=1, vlan=100, vlan_prio=0, vlan_prio_action=2)),
    (" user-vlan 10 vlan 100 svlan 200 priority 7", dict(vlan_action=2, svlan=200, svlan_prio=7, svlan_prio_action=2)),
    (" user-vlan 10 vlan 100 svlan 200 priority copy", dict(vlan_action=2, svlan_prio_action=1, vlan_prio_action=1)),
    (
        " user-vlan 10 vlan 100 priority 5 svlan 200 priority 6",
        dict(vlan_action=2, vlan_prio=5, vlan_prio_action=2, svlan_prio=6, svlan_prio_action=2),
    ),
    (" user-vlan 10 vlan 100 priority 5 svlan 200 priority copy", dict(vlan_prio=5, svlan_prio_action=1)),
    (" user-vlan untagged vlan-add 100", dict(vlan_action=7, vlan=100, vlan_prio_action=1)),
    (" user-vlan tagged vlan-add 100 priority 1", dict(vlan_action=8, vlan_prio=1, vlan_prio_action=2)),
    (" user-vlan all vlan-add 4094", dict(vlan_action=9, vlan=4094)),
]


def test_each_form_of_a_service_port_reaches_the_card_and_is_saved_as_typed(shelf):
    add(shelf)
    assert shelf.on_onu("tcont 1 profile default", "gemport 1 tcont 1")[0] == [0, 0]
    for words, expected in SERVICE_PORTS:
        command = "service-port 3 gemport 1" + words
        assert shelf.on_onu(command) == ([0], ""), command
        (held,) = shelf.held(1, "SERVPORT")
        assert {key: held[key] for key in expected} == expected, command
        assert shelf.saved()[2:] == [" " + command]
        assert shelf.on_onu("no service-port 3") == ([0], "")


def test_settings_of_a_service_port_are_shown_and_saved(shelf):
    add(shelf)
    lines = [
        "tcont 1 profile default",
        "gemport 1 tcont 1",
        "gemport 1 encryption  enable",
        "gemport 1 pm enable",
        "service-port 1 gemport 1",
        "service-port 1 mac-limit 4095",
        "service-port 1 mac-move disable",
        "service-port 1 queue 7",
        "service-port 2 gemport 1 user-vlan 10 vlan 100 svlan 200 priority 4",
    ]
    assert set(shelf.on_onu(*lines)[0]) == {0}
    assert shelf.saved() == [" " + line for line in lines]
    results, text = shelf.typed((), f"show service-port interface {ONU}")
    head, first, second, total = text.splitlines()[1:]
    assert results == [0] and total == "total 2"
    for row, heading, value in [
        (first, "action", "alltransparent"), (first, "queue", "7"), (first, "mac-move", "disable"),
        (second, "action", "add"), (second, "priority", "copy"),
    ]:  # fmt: skip
        assert row[head.index(heading) :].startswith(value + " ") or row.endswith(value), (heading, row)
    assert shelf.on_onu("service-port 1 queue default", "service-port 1 mac-move enable", "service-port 1 mac-limit 0")[0] == [0] * 3
    assert shelf.saved()[4:-1] == [" service-port 1 gemport 1"]
    shown = shelf.typed((), "show service-port interface gpon-onu9/9:1")
    assert shown == ([1], "%Invalid IFNAME: gpon-onu9/9:1\n")
    assert shelf.typed((), f"show service-port interface {ONU_PORT}") == ([1], f"%Interface {ONU_PORT} is not onu\n")


def test_showing_service_ports_is_a_command_of_five_nodes(shelf):
    add(shelf)
    shelf.chassis.event("new-if", ifindex="xe8/1", flags="up")
    command = f"show service-port interface {ONU}"
    for node in ((), ("gpon",), (f"interface {ONU_PORT}",), (f"interface {ONU}",)):
        assert shelf.typed(node, command)[0] == [0], node
    shelf.chassis.wait_for(lambda: shelf.typed((), "interface xe8/1")[0] == [0], what="the uplink port")
    assert shelf.typed(("interface xe8/1",), command)[0] == [0]
    assert shelf.chassis.vty(command).result == NO_SUCH_COMMAND  # not behind "enable"


def test_an_onu_has_a_bandwidth_and_a_weight(shelf):
    add(shelf)
    assert shelf.on_onu("qos-onu-bandwidth min 0 max 10000000", "qos-onu-weight 127") == ([0, 0], "")
    (qos,) = shelf.held(1, "ONU_QOS")
    assert (qos["minBw"], qos["maxBw"], qos["weight"]) == (0, 10000000, 127)
    assert shelf.saved()[:2] == [" qos-onu-bandwidth min 0 max 10000000", " qos-onu-weight 127"]
    assert shelf.on_onu("show qos-onu-weight interface none") == ([1], "%Invalid IFNAME: none\n")
    assert shelf.on_onu(f"show qos-onu-bandwidth interface {ONU_PORT}") == ([1], f"%Interface {ONU_PORT} is not onu\n")


# ---- which ONUs are shown ---------------------------------------------------------------------------------------------


def test_onus_are_shown_by_port_number_and_text(shelf):
    add(shelf, 1, "type KLM-618 sn ABCD000000ff")
    add(shelf, 2, "type KLM-618 loid Customer-2 pw secret")
    assert shelf.on_port("onu 1 type KLM-618 pw word", port="gpon-olt2/2")[0] == [0]
    assert shelf.on_onu("name house-7", onu="gpon-onu2/2:1")[0] == [0]

    def onus(reply):
        assert reply[0] == [0]
        rows = re.findall(r"^(\d+/\d+:\d+)\s", reply[1], re.M)
        assert reply[1].splitlines()[-1] == f"total {len(rows)}"
        return rows

    a, b, c = "1/1:1", "1/1:2", "2/2:1"
    everywhere = lambda line: onus(shelf.typed((), line))
    assert everywhere("show onu status") == [a, b, c]
    assert everywhere("show onu 1 status") == [a, c]
    assert everywhere("show interface gpon-olt2/2 onu status") == [c]
    assert onus(shelf.on_port("show onu status")) == [a, b]
    assert onus(shelf.on_port("show onu 2 status")) == [b]
    assert onus(shelf.on_port("show onu 128 status")) == []
    assert onus(shelf.on_port("show interface gpon-olt2/2 onu 1 status")) == [c]
    assert onus(shelf.on_onu("show onu status", onu="gpon-onu1/1:1")) == [a, b, c]
    assert onus(shelf.on_onu("show onu history", onu="gpon-onu1/1:1")) == [a, b, c]
    assert onus(shelf.on_port("show onu history")) == [a, b]
    assert everywhere("show onu filter sn abcd") == [a]
    assert everywhere("show onu filter loid customer") == [b]
    assert everywhere("show onu filter pwd secret") == [b]
    assert everywhere("show onu filter pwd word") == [c]
    assert everywhere("show onu filter name HOUSE") == [c]
    assert everywhere("show onu filter name none") == []
    assert onus(shelf.on_port("show onu filter name gpon-onu")) == [a, b]
    for name in ("gpon-olt9/9", "gpon-onu1/1:1", "nonsense"):
        for what in ("status", "unconfig"):  # the heading stands in front, as in every list
            result, text = shelf.on_port(f"show interface {name} onu {what}")
            assert result == [1] and text.endswith(f"\n% {name} is not a PON port\n") and "total" not in text
        assert shelf.typed((), f"show distance {name} onu 1") == ([1], f"% {name} is not a PON port\n")
    assert shelf.typed((), f"show distance {ONU_PORT} onu 128") == ([1], "%Onu 128 not exist\n")
    assert shelf.on_port("show optical module rxpower onuid 128") == ([1], "%Onu 128 not exist\n")


def test_a_reading_that_the_card_refuses_is_told(shelf):
    add(shelf)
    shelf.chassis.card_fault(1, "code", type="onu", code=1009)
    assert shelf.typed((), f"show distance {ONU_PORT} onu 7") == ([1], "%Failed to get port info \n")


# ---- service profiles ------------------------------------------------------------------------------------------------


def test_commands_of_one_onu_alone_are_none_of_a_service_profile(shelf):
    for line in (
        "active", "deactive", "name x", "no name", "splitter 1", "no splitter", "fec upstream enable", "pm enable",
        "onu-rssi-profile 1", "onu-rssi-profile default", "service-port 1 queue 1", "qos-onu-weight 1",
    ):  # fmt: skip
        assert shelf.on_profile(line)[0] == [NO_SUCH_COMMAND], line


def test_an_onu_by_profile_has_the_profiles_rows_which_then_stay(shelf):
    rows = ["tcont 1 profile default", "gemport 1 tcont 1", "service-port 1 gemport 1 user-vlan 10 vlan 100"]
    assert shelf.on_profile("profile-name home", *rows)[0] == [0, 0, 0, 0]
    assert shelf.on_port("onu 7 profile home sn ABCD00000007") == ([0], "")
    (held,) = shelf.held(1, "ONU")
    assert (held["cfgMode"], held["srvProfileId"]) == (1, 5)
    assert shelf.saved(ONU_PORT) == [" onu 7 profile home sn ABCD00000007"]
    assert shelf.saved() == []  # nothing of its own
    assert shelf.on_onu("tcont 2 profile default") == ([1], "%Failed to create tcont:2\n")
    assert shelf.on_profile("tcont 2 profile default") == ([1], "%Failed to create tcont:2\n")
    assert shelf.on_profile("no service-port 1") == ([1], "%Could not set service port: 1\n")
    assert shelf.on_port("no onu 7")[0] == [0]
    assert shelf.on_profile("no service-port 1", "tcont 2 profile default")[0] == [0, 0]


# ---- saved and typed again ----------------------------------------------------------------------------------------------


def block_lines(text):
    return [line for line in text.splitlines() if line != "!"]


def replay(chassis, text):
    """Types a saved configuration as the platform's shell does; the lines that failed."""
    failed = []
    with chassis.open_vty() as session:
        session("configure terminal")
        for line in block_lines(text):
            if session(line.strip()).result != 0:
                failed.append(line)
    return failed


WORD = "!#$%&'()*+,-./09:;<=>?@AZ[\\]^_`az{}~\""


def random_configuration(rng):
    """Commands of a chassis with ONUs of all kinds, in blocks."""
    name = lambda longest: "".join(rng.choice(WORD) for _ in range(rng.randint(1, longest)))
    maybe = lambda text: text if rng.random() < 0.5 else ""
    profile = "profile bandwidth bw assured 250"

    def services(template):
        lines = []
        for tcont in range(1, rng.randint(1, 3)):
            lines.append(f"tcont {tcont} profile {rng.choice(('default', 'bw'))}" + maybe(" name " + name(32)))
            for gem in range(10 * tcont, 10 * tcont + rng.randint(0, 3)):
                lines.append(f"gemport {gem} tcont {tcont}" + maybe(" name " + name(32)) + maybe(f" queue {rng.randint(1, 4)}"))
                lines += [maybe(f"gemport {gem} encryption  enable"), maybe(f"gemport {gem} pm enable")]
                port = f"service-port {gem}"
                lines.append(f"{port} gemport {gem}{rng.choice(SERVICE_PORTS)[0]}")
                lines += [maybe(f"{port} mac-limit {rng.randint(1, 4095)}"), maybe(f"{port} mac-move disable")]
                lines.append("" if template else maybe(f"{port} queue {rng.randint(1, 7)}"))
        return [line for line in lines if line]

    limits = [f"profile onu-rssi {number} {what}-threshold -{number} 0 1 {rng.randint(2, 9999)}"
              for number in (1, 32) for what in ("txpwr", "temp")]  # fmt: skip
    blocks = [("gpon", [profile, *limits])]
    for number, called in ((5, "home"), (6, "6")):
        named = [] if called == str(number) else [f"profile-name {called}"]
        blocks.append((f"onu-srvprofile profile-id {number} onu-type KLM-618", named + services(True)))
    for slot in (1, 2):
        for port in (1, 2):
            adds, onus = [], []
            for onu in sorted(rng.sample(range(1, 129), 3)):
                auth = rng.choice([
                    f"sn ABCD{slot:02x}{port:02x}{onu:04x}", f"pw {name(10)}", f"loid {name(24)}",
                    f"sn ABCD{slot:02x}{port:02x}{onu:04x} pw {name(10)}", f"loid {name(24)} pw {name(12)}",
                ])  # fmt: skip
                of = rng.choice(("type KLM-618", "type KLM-618", "profile home", "profile 6"))
                adds.append(f"onu {onu} {of} {auth}")
                settings = [
                    maybe("name " + name(32)), maybe("splitter " + name(32)), maybe("fec upstream enable"),
                    maybe(f"onu-rssi-profile {rng.choice((1, 32))}"), maybe("pm enable"), maybe("deactive"),
                ]  # fmt: skip
                own = services(False) if of.startswith("type") else []
                onus.append((f"interface gpon-onu{slot}/{port}:{onu}", [line for line in settings if line] + own))
            blocks += [(f"interface gpon-olt{slot}/{port}", adds), *onus]
    return blocks


TABLES = ("sOnuTable", "sTcontTable", "sGemTable", "servicePortTable", "sOnuSrvProfileTable")


@pytest.mark.parametrize("seed", range(3))
def test_a_saved_configuration_typed_on_an_empty_chassis_makes_the_same(chassis, seed):
    shelf = start_shelf(chassis)
    rng = random.Random(seed)
    configured = random_configuration(rng)
    text = "".join(f"{head}\n" + "".join(f" {line}\n" for line in lines) for head, lines in configured)
    assert replay(chassis, text) == []
    saved = chassis.vty("write terminal")
    # what was typed is what is saved, whatever the order of the blocks
    assert sorted(block_lines(saved)) == sorted(block_lines(text))
    rows = [shelf.rows(table) for table in TABLES]
    # all away, from the ONUs up
    for head, lines in configured:
        if head.startswith("interface gpon-olt"):
            for line in lines:
                assert shelf.typed((head,), f"no onu {line.split()[1]}")[0] == [0]
    assert shelf.on_gpon("no onu-srvprofile profile-id 5", "no onu-srvprofile profile-id 6", "no profile bandwidth bw")[0] == [0, 0, 0]
    assert shelf.on_gpon("no profile onu-rssi 1", "no profile onu-rssi 32") == ([0, 0], "")
    for table in TABLES:
        assert shelf.rows(table).endswith(" total 0 rows\n"), table
    assert replay(chassis, saved) == []
    assert chassis.vty("write terminal") == saved
    assert [shelf.rows(table) for table in TABLES] == rows


def test_rows_that_no_command_makes_are_in_no_saved_configuration_and_the_log_says_so(chassis):
    chassis.start(QUIET_SCENARIO)
    write_table(chassis, "sPonTable", [(1, 1, 1)], sPonTableSilenceOnuTime=30, sPonTableScbMaxBW=1)
    slow = dict(sBWProfileTableBwProfileName="slow", sBWProfileTableType=4, sBWProfileTableMaxBw=100)
    write_table(chassis, "sBWProfileTable", [(7,)], **slow)
    onus = "".join(
        table_file("sOnuTable", [(1, 1, 1, number)], **columns)
        for number, columns in [
            (1, dict(sOnuTableAuthMode=2, sOnuTablePw="two words")),
            (2, dict(sOnuTableAuthMode=3, sOnuTableSn="ABCD00000002", sOnuTablePw="longer than ten")),
            (3, dict(sOnuTableAuthMode=2, sOnuTablePw="good", sOnuTableOnuName="two words", sOnuTableSplitterNumber="ab|")),
            (4, dict(sOnuTableAuthMode=1)),  # any serial number
            (5, dict(sOnuTableAuthMode=4, sOnuTableLoid="l" * 25)),
        ]
    )
    chassis.write("/var/run/product/mibdata/sOnuTable.mib", onus)
    chassis.start_daemon()
    lines = chassis.vty("write terminal interface gpon-olt1/1").splitlines()[3:-1]
    assert lines == [" onu 3 type KLM-618 pw good"]
    assert chassis.vty("write terminal interface gpon-onu1/1:3").splitlines()[3:-1] == []
    saved = chassis.vty("write file")
    assert saved.result == 0 and "slow" not in saved
    chassis.wait_log(r"profile bandwidth slow is in no saved configuration")
    chassis.wait_log(r"gpon-onu1/1:1 onu 1 is in no saved configuration")
