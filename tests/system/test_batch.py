"""A service profile copied to a whole port by command, with a card that refuses, goes away and comes back, and the
services taken away again."""

import re

import pytest

from test_commands_onu import start_shelf
from test_provision import onu_of, slot_of
from test_restore import replay, restart_card

ONUS = 128
PROFILE = [
    "tcont 1 profile default name data",
    "gemport 1 tcont 1",
    "gemport 2 tcont 1",
    "service-port 1 gemport 1 user-vlan 10 vlan 100 priority 3",
    "service-port 2 gemport 2 user-vlan 11 vlan 101",
    "remote service 1 gem 1 vlan 100",
    "remote service 2 gem 2 vlan 101",
    "remote uni eth_1/1 vlan-mode access pvlan 100",
    "remote wan 1 route internet dhcp vlan-mode tag 100 priority 0",
    "remote onu mgmt-ip dhcp vlan 200",
]
# Objects of each ONU that the card holds then.
OBJECTS = {"TCONT": 1, "GEMPORT": 2, "SERVPORT": 2, "RM_SERVICE": 2, "RM_WAN": 1, "RMONU_IPHOST": 1}
TABLES = {"sTcontTable": 1, "sGemTable": 2, "servicePortTable": 2, "sRmServiceTable": 2, "sRmWanTable": 1, "sRmIPHostTable": 1}
COPY = f"multi-onusrv-cfg onu-srvprofile 5 onu 1-{ONUS}"


@pytest.fixture
def shelf(chassis):
    """Two ports, the first full of ONUs without services; a service profile of ten rows."""
    made = start_shelf(chassis, ports=1)
    made.card = chassis.card
    lines = [f"onu {n} type KLM-618 sn ABCD{n:08X}" for n in range(1, ONUS + 1)]
    assert made.on_port(*lines) == ([0] * ONUS, "")
    assert made.on_profile("profile-name homes", *PROFILE) == ([0] * (1 + len(PROFILE)), "")
    return made


def on_card(shelf, name):
    """How many objects of a message each ONU has on the card."""
    counts = {}
    for row in shelf.held(1, name):
        index = row.get("ifindex", row.get("onuIfindex"))
        if slot_of(index) != 31:
            counts[onu_of(index)[2]] = counts.get(onu_of(index)[2], 0) + 1
    return counts


def in_tables(shelf):
    """How many rows each table has; the profile's are as many as an ONU's."""
    return [int(re.search(r", (\d+) rows", shelf.chassis.vty(f"show mib table {table}"))[1]) for table in TABLES]


def rows_for(onus):
    return [number * (onus + 1) for number in TABLES.values()]


def everything(shelf):
    return [on_card(shelf, name) for name in OBJECTS]


def of_all(numbers, onus=range(1, ONUS + 1)):
    return [{onu: number for onu in onus} if number else {} for number in numbers]


def test_a_port_gets_its_services_and_loses_them(shelf):
    assert shelf.on_port(COPY) == ([0], "")
    assert everything(shelf) == of_all(OBJECTS.values())
    assert in_tables(shelf) == rows_for(ONUS)
    assert shelf.chassis.card(1)["reasons"] == {}
    again = shelf.on_port("multi-onusrv-cfg onu-srvprofile 5 onu 7 9-10")
    assert again == ([1], "Config onu 7 tcont failed \nConfig onu 9 tcont failed \nConfig onu 10 tcont failed \n")
    assert everything(shelf) == of_all(OBJECTS.values())

    assert shelf.on_port("no multi-onusrv 1-100 102-128") == ([0], "")
    shelf.chassis.wait_for(lambda: set(on_card(shelf, "TCONT")) == {101}, 20, "the services to go")
    left = [name for name, counts in zip(OBJECTS, everything(shelf)) if len(counts) == ONUS]
    assert left == ["RM_WAN", "RMONU_IPHOST"]  # they aren't taken away
    assert set(on_card(shelf, "GEMPORT")) == {101}
    assert in_tables(shelf)[:4] == rows_for(1)[:4]
    assert len(shelf.held(1, "ONU")) == ONUS


def test_onus_of_a_card_that_refuses_are_told_and_the_others_served(shelf):
    shelf.chassis.card_fault(1, "code", code=1009, type="gemport", times=3)
    result, text = shelf.on_port(COPY)
    assert result == [1]
    assert text == "".join(f"Config onu {n} gem failed \n" for n in (1, 2, 3))
    served = range(4, ONUS + 1)
    assert everything(shelf) == [*of_all([1]), *of_all(list(OBJECTS.values())[1:], served)]  # T-CONTs have all
    held = [sum(on_card(shelf, name).values()) for name in OBJECTS]
    assert in_tables(shelf) == [rows + number for rows, number in zip(held, TABLES.values())]
    assert shelf.on_port("no multi-onusrv 1-3")[0] == [0]
    shelf.chassis.wait_for(lambda: min(on_card(shelf, "TCONT")) == 4, what="the T-CONTs to go")
    assert shelf.on_port("multi-onusrv-cfg onu-srvprofile 5 onu 1-3") == ([0], "")
    assert everything(shelf) == of_all(OBJECTS.values())


def begin_copy(shelf):
    """A session whose copy, of two seconds, has begun; the answer is still to come."""
    shelf.chassis.card_fault(1, "slow", ms=2, times="forever")
    session = shelf.chassis.open_vty()
    for line in ("configure terminal", "interface gpon-olt1/1"):
        assert session(line).result == 0
    since = shelf.chassis.mark()
    session._socket.sendall(COPY.encode() + b"\0")
    shelf.chassis.wait_record(since=since, kind="card-request", type="OV_HAL_MSG_GPON_TCONT")
    return session


def test_a_session_that_closes_leaves_its_copy_to_go_on(shelf):
    session = begin_copy(shelf)
    session.close()
    shelf.chassis.wait_for(lambda: everything(shelf) == of_all(OBJECTS.values()), 30, "the copy to end")
    assert shelf.on_port("show onu status")[0] == [0]


def test_a_profile_may_go_while_it_is_copied(shelf):
    session = begin_copy(shelf)
    assert shelf.on_gpon("no onu-srvprofile profile-id 5") == ([0], "")
    shelf.chassis.wait_for(lambda: everything(shelf) == of_all(OBJECTS.values()), 30, "the copy to end")
    session.close()
    assert shelf.chassis.card(1)["reasons"] == {}


def test_a_card_that_goes_in_the_middle_has_what_the_tables_have_when_it_is_back(shelf):
    session = begin_copy(shelf)
    restart_card(shelf, 1)  # it is there again at once, and knows no ONU until it is told
    shelf.on_port("multi-onusrv-cfg onu-srvprofile 5 onu 128")  # which comes behind
    session.close()
    shelf.chassis.simctl("clear-card-faults", 1)
    replay(shelf, 1)
    held = lambda: [sum(on_card(shelf, name).values()) for name in OBJECTS]
    told = [rows - number for rows, number in zip(in_tables(shelf), TABLES.values())]
    assert told[0] > 0
    shelf.chassis.wait_for(lambda: held() == told, 30, "the card to be told")
