"""A home behind an ONU, as the guide sets it up, and what becomes of it when the card is new."""

import json

import pytest

from test_commands_onu import ONU_PORT, add, start_shelf
from test_commands_remote import SERIAL, come_up
from test_demo import HOME, commands
from test_restore import replay, restart_card

NO_SETTING = ("show ", "write ", "end", "remote onu reboot")
LINES = [c.text for c in commands(HOME) if c.prompt == "gpon(gpon-onu1/1:1)#" and not c.text.startswith(NO_SETTING)]


@pytest.fixture
def shelf(chassis):
    """The ONU of the home, with all that is set there."""
    made = start_shelf(chassis)
    made.card = chassis.card
    profiles = ("profile bandwidth voice fixed 1024", "profile bandwidth home assured 20000 maximum 100000")
    assert made.on_gpon(*profiles, "profile onutype HOME-4 eth 4 pots 2") == ([0, 0, 0], "")
    add(made, words=f"type HOME-4 sn {SERIAL}")
    chassis.simctl("onu", "add", SERIAL, f"port={ONU_PORT}")
    come_up(made)
    assert made.on_onu(*LINES) == ([0] * len(LINES), "")
    return made


def seen(shelf):
    """What the ONU has, but for how often it began, filters that are as every service begins, and the switch that
    multicast settings have beside that of their port."""
    told = json.loads("".join(shelf.chassis.simctl("show", "onu", SERIAL, "--json")))
    told["mac_filters"] = [f for f in told["mac_filters"] if f["settings"]["mode"] or f["settings"]["dyn_count"]]
    for multicast in told["multicast"]:
        del multicast["settings"]["enabled"]
    return {name: value for name, value in told.items() if name not in ("reboots", "mib_syncs", "restores")}


def test_a_new_card_is_told_the_whole_home_again(shelf):
    before = seen(shelf)
    assert (len(before["services"]), before["wan"][0]["state"], before["lines"][0]["state"]) == (3, "up", "registered")
    restart_card(shelf, 1)
    replay(shelf, 1)
    come_up(shelf)
    assert seen(shelf) == before
    assert shelf.chassis.card(1)["reasons"] == {}


def test_what_is_taken_away_leaves_nothing_behind(shelf):
    gone = ["no remote wan 1", "no remote wifi 1", "no remote wifi 5", "no remote sip-user pots_1/1", "no remote sip-agent 1",
            "no remote onu mgmt-ip", "no remote service 1", "no remote service 2", "no remote service 3"]  # fmt: skip
    assert shelf.on_onu(*gone) == ([0] * len(gone), "")
    now = seen(shelf)
    assert [now[name] for name in ("wan", "wifi", "sip_agents", "ip_host", "services", "mac_filters")] == [[], [], [], None, [], []]
    assert now["lines"][0]["state"] == "no-user"
    assert shelf.chassis.card(1)["reasons"] == {}


PROFILE = ["tcont 1 profile default", "gemport 1 tcont 1", "remote service 1 gem 1 vlan 100", "remote wan 1 route internet dhcp vlan-mode tag 100 priority 0",
           "remote wifi 1 mode 802.11b/g channel 6 ssid-name guests security-mode open", "remote onu mgmt-ip dhcp vlan 200",
           "remote voip protocol sip", "remote uni eth_1/1 poe adminstate enable",
           "remote sip-agent 1 registrar-server a.example proxy-server a.example outbound-proxy a.example primary-dns 10.0.0.1 "
           "secondary-dns 10.0.0.2 tcpudp-port 5060"]  # fmt: skip


def test_a_service_profile_makes_a_home(chassis):
    shelf = start_shelf(chassis)
    assert shelf.on_gpon("profile onutype HOME-4 eth 4 pots 2") == ([0], "")
    head = ("gpon", "onu-srvprofile profile-id 5 onu-type HOME-4")
    assert shelf.typed(head, "profile-name five", *PROFILE) == ([0] * (1 + len(PROFILE)), "")
    assert shelf.on_port(f"onu 7 profile five sn {SERIAL}") == ([0], "")
    chassis.simctl("onu", "add", SERIAL, f"port={ONU_PORT}")
    come_up(shelf)
    chassis.simctl("poe", SERIAL, "eth_1/1", "attach")
    now = seen(shelf)
    assert [now[name][0]["state"] for name in ("services", "wan", "wifi", "poe")] == ["up", "up", "up", "delivering"]
    assert now["ip_host"]["address"] == "10.1.1.7"
    assert now["lines"][0]["state"] == "no-user"
    assert chassis.card(1)["reasons"] == {}
