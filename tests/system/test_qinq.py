"""QinQ rules by command: at the card, shown, saved, replayed, and gone with their ONU or card."""

import re

import pytest

from test_commands_onu import ONU, ONU_PORT, add, start_shelf
from test_commands_remote import start_empty
from test_restore import restart_card

PORT = "gpon-olt1/2"
RULES = [
    f"vlan-smart-qinq ingress-port {PORT} user-vlan 10 svlan 100",
    f"vlan-smart-qinq ingress-port {PORT} user-vlan-range 200 to 299 svlan 101 svlancos 3",
    f"vlan-smart-qinq ingress-port {PORT} ether-type pppoe-data svlan 102 svlancos copy-cvlan",
    f"vlan-smart-qinq ingress-port {PORT} ether-type arp cos 5 svlan 103",
    f"vlan-smart-qinq ingress-port {ONU} user-vlan 10 ether-type ipv6 svlan 104",
    f"vlan-smart-qinq ingress-port {ONU} user-vlan 11 cos 0 svlan 105",
    f"vlan-smart-qinq ingress-port {ONU} cos 7 svlan 106",
]


@pytest.fixture
def shelf(chassis):
    """In operation, with an ONU on the first port."""
    made = start_shelf(chassis)
    made.card = chassis.card
    operate(made)
    add(made)
    return made


def operate(shelf, yes=1):
    shelf.chassis.simctl("env", "OV_APP_FLAG_SYS_OPSTATUS", yes)


def typed(shelf, *lines):
    results, text = shelf.typed((), *lines)
    assert (results, text) == ([0] * len(lines), ""), text


def refused(shelf, line):
    results, text = shelf.typed((), line)
    assert results != [0], line
    return text


def held(shelf, slot=1):
    """The rules of a card: interface, id, bits, VLANs, Ethernet type, priority, service VLAN and its priority."""
    rows = shelf.held(slot, "PORT_QINQ") + shelf.held(slot, "ONU_QINQ")
    names = ("ifindex", "qinqId", "opflag", "user_vlan_min", "user_vlan_max", "ether_type", "cos", "svlan", "svlancos")
    return sorted(tuple(row[name] for name in names) for row in rows)


def saved(shelf):
    return [line for line in shelf.chassis.vty("write terminal").splitlines() if "qinq" in line]


def test_rules_reach_the_card_are_shown_and_saved_and_go_again(shelf):
    typed(shelf, *RULES)
    assert [rule[1:] for rule in held(shelf)] == [
        (1, 0x08, 10, 0, 0, 0, 100, 0),
        (2, 0x10, 200, 299, 0, 0, 101, 3),
        (3, 0x20, 0, 0, 0x8864, 0, 102, 8),
        (4, 0x60, 0, 0, 0x806, 5, 103, 0),
        (1, 0x28, 10, 0, 0x86DD, 0, 104, 0),
        (2, 0x48, 11, 0, 0, 0, 105, 0),
        (3, 0x40, 0, 0, 0, 7, 106, 0),
    ]
    assert saved(shelf) == RULES
    text = shelf.typed((), "show qinq")[1]
    lines = text.splitlines()
    assert lines[-1] == "total 7" and len({len(line) for line in lines[1:-1]}) == 1, text
    assert "total 4" in shelf.typed((), f"show qinq port {PORT}")[1]
    assert "total 3" in shelf.on_onu("show qinq")[1]
    typed(shelf, f"no vlan-smart-qinq ingress-port {PORT} user-vlan 10", f"no vlan-smart-qinq ingress-port {ONU} mode all")
    assert [rule[1] for rule in held(shelf)] == [2, 3, 4]
    typed(shelf, f"vlan-smart-qinq ingress-port {PORT} user-vlan 12 svlan 107")  # has the free id
    assert [rule[1] for rule in held(shelf)] == [1, 2, 3, 4]
    assert shelf.chassis.card(1)["reasons"] == {}


def test_what_can_not_be_is_refused_with_its_reason(shelf):
    typed(shelf, *RULES)
    rule = "vlan-smart-qinq ingress-port"
    for line, text, reason in [
        (f"{rule} {PORT} user-vlan-range 250 to 350 svlan 1000", "%Failed to add qinq rule", "it meets traffic of rule 2 of gpon-olt1/2"),
        (RULES[0], "%Failed to add qinq rule", "a QinQ rule with these criteria is there already"),
        (f"{rule} {ONU_PORT} cos 1 svlan 100", "%Failed to add qinq rule", "ONUs of gpon-olt1/1 have QinQ rules, so the port can't have any"),
        (f"{rule} {ONU} user-vlan-range 10 to 20 svlan 100", "% qinq uservlan range can only applied on pon interface!", ""),
        (f"{rule} {PORT} user-vlan-range 20 to 10 svlan 100", "% user end vlan should greater than begin vlan", ""),
        (f"{rule} gpon-onu1/1:9 svlan 100", "% qinq can only applied on pon and onu interface!", ""),
        (f"no {rule} {PORT} mode tsp", "%Failed to delete qinq rule", "no QinQ rule has these criteria"),
    ]:
        assert refused(shelf, line).startswith(text), line
        assert shelf.chassis.log_lines(re.escape(reason)), reason
    shelf.chassis.card_fault(1, "code", code=1009, type="port-qinq", times=1)
    assert refused(shelf, f"{rule} {PORT} cos 1 svlan 100") == "%Failed to add qinq rule\n"
    assert saved(shelf) == RULES


def test_the_thirty_third_rule_of_a_port_is_refused(shelf):
    operate(shelf, 0)  # 33 messages are not the matter
    lines = [f"vlan-smart-qinq ingress-port {PORT} user-vlan {vlan} svlan 100" for vlan in range(10, 42)]
    typed(shelf, *lines)
    assert refused(shelf, f"vlan-smart-qinq ingress-port {PORT} user-vlan 42 svlan 100") == "%Failed to add qinq rule\n"
    assert shelf.chassis.log_lines("an interface has at most 32 QinQ rules")
    assert saved(shelf) == lines and held(shelf) == []


def test_rules_go_with_their_onu(shelf):
    typed(shelf, *RULES)
    assert shelf.on_port("no onu 7") == ([0], "")
    assert saved(shelf) == RULES[:4] and shelf.held(1, "ONU_QINQ") == []
    assert shelf.chassis.card(1)["reasons"] == {}


def test_a_card_that_comes_up_is_told_again(shelf):
    chassis = shelf.chassis
    typed(shelf, *RULES)
    before = held(shelf)
    operate(shelf, 0)  # as at a start
    restart_card(shelf, 1)
    assert held(shelf) == []
    chassis.simctl("replay", "slot=1", "step=60000", timeout=60)
    assert held(shelf) == before
    assert chassis.card(1)["reasons"] == {}


def test_an_empty_daemon_takes_the_saved_configuration_before_it_is_in_operation(shelf):
    chassis = shelf.chassis
    typed(shelf, *RULES)
    text = str(chassis.vty("write terminal"))
    operate(shelf, 0)
    start_empty(chassis)
    assert saved(shelf) == []
    since = chassis.mark()
    with chassis.open_vty() as session:
        session("configure terminal")
        for line in text.splitlines():
            assert line == "!" or session(line).result == 0, (line, session("show refusal"))
    assert chassis.vty("write terminal") == text
    assert not [r for r in chassis.records(since=since, kind="card-request") if "QINQ" in r["type"]]
