"""WAN connections, Wi-Fi and telephony behind an ONU by command: each form entered, seen at the card and saved."""

import re

import pytest

from chassis import REPO
from test_commands_onu import ONU_PORT, add, start_shelf
from test_commands_remote import NO_SUCH_COMMAND, SERIAL, TYPE, behind, come_up, shown, start_empty, typed
from test_restore import replay, restart_card

PROFILE = ("gpon", "onu-srvprofile profile-id 5 onu-type HOME")
COMMAND = re.compile(r'GPON_(?:CMD|SETTING)\(\w+,\s*NODES\([^)]*\),\s*"([^"]*)"')
SAMPLES = {
    "USERNAME": "anna", "PASSWORD": "gre4t|secret", "SRVNAME": "isp", "ETH": "1,2", "SSID": "1,3", "SSIDADC": "5,8", "SSIDNAME": "home-net",
    "SHAREKEY": "pass-phrase", "KEYVALUE": "keyhi", "POTS": "pots_1/1", "STRING": "sip.net",
}  # fmt: skip


def sample(word, keyword):
    """A word that can stand in a line for a word of a syntax."""
    first = word.strip("()").split("|")[0].strip()
    if first.startswith("<"):
        return first.strip("<>").split("-")[0]
    if first == "A.B.C.D":
        return {"netmask": "255.255.255.0", "gw": "10.0.0.1"}.get(keyword, "10.0.0.7")
    return SAMPLES.get(first, first)


def line_of(syntax):
    words = re.findall(r"\([^)]*\)|\S+", syntax)
    return " ".join(sample(word, words[i - 1]) for i, word in enumerate(words))


def lines_of(theme):
    """A line of each form that makes a row."""
    syntaxes = COMMAND.findall((REPO / f"gpon/commands/rm_{theme}.def").read_text())
    return [line_of(syntax) for syntax in syntaxes if "priority" in syntax or " mode " in syntax]


@pytest.fixture
def shelf(chassis):
    made = start_shelf(chassis)
    assert made.on_gpon(TYPE) == ([0], "")
    return made


@pytest.fixture
def home(shelf):
    """An ONU that is up and routes, with two Ethernet ports, a telephone and two radios."""
    add(shelf, words=f"type HOME sn {SERIAL}")
    shelf.chassis.simctl("onu", "add", SERIAL, f"port={ONU_PORT}", "type=hgu")
    come_up(shelf)
    return shelf


def saved(shelf):
    return [line.strip() for line in shelf.saved() if line.startswith(" remote ")]


# ---- every form -----------------------------------------------------------------------------------------------


@pytest.mark.parametrize("theme, count", [("wan", 35), ("wifi", 12)])
def test_every_form_reaches_the_card_is_saved_and_taken_back(home, theme, count):
    lines = lines_of(theme)
    assert len(lines) == len(set(lines)) == count
    for line in lines:
        number = line.split()[2]
        typed(home, line)
        (held,) = behind(home)[theme]
        assert str(held[theme]) == number, line
        assert saved(home) == [line]
        before = held
        typed(home, f"no remote {theme} {number}")
        assert behind(home)[theme] == [] and saved(home) == [], line
        typed(home, line)
        assert behind(home)[theme] == [before], line
        typed(home, f"no remote {theme} {number}")


@pytest.mark.parametrize("theme", ["wan", "wifi"])
def test_every_form_stands_on_a_service_profile(shelf, theme):
    name = f"RM_{theme.upper()}"
    for line in lines_of(theme):
        undo = "no " + " ".join(line.split()[:3])
        results, _ = shelf.typed(PROFILE, line)
        assert results == [0], line
        assert [len(shelf.held(slot, name)) for slot in (1, 2)] == [1, 1], line
        assert f" {line}\n" in shelf.chassis.vty("write terminal")
        assert shelf.typed(PROFILE, undo) == ([0], ""), line
        assert shelf.held(1, name) == []


# ---- what comes of them ---------------------------------------------------------------------------------------

WANS = [
    "remote wan 1 route tr069_internet pppoe anna gre4t|secret isp vlan-mode tag 100 priority 3 eth 1 ssid 1,2 ssid-5g 5",
    "remote wan 2 route voice dhcp vlan-mode tag 200 priority 5",
    "remote wan 3 route other static ip-address 10.9.0.7 netmask 255.255.255.128 gw 10.9.0.1 primary-dns 10.9.0.2 "
    "secondary-dns 0.0.0.0 vlan-mode tag 300 priority 0 ssid-5g 6,7",
    "remote wan 8 bridge internet bridge-mode ip-bridge vlan-mode tag 4094 priority 7 eth 2",
]
NETWORKS = [
    "remote wifi 1 mode 802.11b/g/n channel auto bandwidth 20/40MHz ssid-name home-net security-mode wpa2-psk share-key pass|phrase",
    "remote wifi 2 mode 802.11b/g channel 13 ssid-name guests security-mode open",
    "remote wifi 2 ssid disable",
    "remote wifi 5 mode 802.11ac/n/a channel 100 bandwidth 20/40/80MHz ssid-name home-5g security-mode wpa-psk/wpa2-psk share-key pass|phrase",
    "remote wifi 6 mode 802.11a channel 36 ssid-name old-5g security-mode wep-128bits wep-auth share key-index 4 0123456789abcdefABCDEF0123",
    "remote wifi 6 disable",
]
PHONES = [
    "remote voip protocol sip",
    "remote onu voip vlan 200 mac 0011-2233-4455",
    "remote sip-agent 1 registrar-server reg.example.net proxy-server proxy.example.net outbound-proxy out.example.net "
    "primary-dns 10.0.0.1 secondary-dns 10.0.0.2 tcpudp-port 5060",
    "remote sip-user pots_1/1 sip-agent 1 user-aor 100 display-name Anna username anna password gre4t|secret",
]
ALL = PHONES + WANS + NETWORKS


def test_connections_come_up_with_their_addresses(home):
    typed(home, *WANS)
    wans = {wan["wan"]: wan for wan in behind(home)["wan"]}
    assert {number: wan["state"] for number, wan in wans.items()} == {1: "up", 2: "up", 3: "up", 8: "bridged"}
    assert wans[3]["address"] == "10.9.0.7" and wans[3]["netmask"] == "255.255.255.128"
    assert saved(home) == WANS


def test_networks_are_on_the_air_until_they_are_switched_off(home):
    typed(home, *NETWORKS)
    assert {one["wifi"]: one["state"] for one in behind(home)["wifi"]} == {1: "up", 2: "ssid-off", 5: "up", 6: "radio-off"}
    assert saved(home) == NETWORKS
    typed(home, "remote wifi 2 ssid enable", "remote wifi 6 enable")
    assert {one["state"] for one in behind(home)["wifi"]} == {"up"}


def test_a_telephone_registers_and_its_state_is_shown(home):
    status = lambda: shown(home, "show onu remote sip-user pots_1/1 status")
    assert status()["server status"] == "none"
    typed(home, *PHONES)
    assert saved(home) == PHONES
    assert status()["server status"] == "registered"
    home.chassis.simctl("phone", SERIAL, "pots_1/1", "off-hook")
    home.chassis.simctl("phone", SERIAL, "pots_1/1", "call", "5551234")
    line = status()
    assert (line["server status"], line["session"], line["codec"], line["call 1 to"]) == ("in session", "2 way", "PCMA", "5551234")
    home.chassis.simctl("sip-server", SERIAL, "refuse")
    assert status()["server status"] == "registration failed: server"
    typed(home, "no remote sip-user pots_1/1")
    assert status()["server status"] == "port not configured"
    assert saved(home) == PHONES[:-1]


# ---- refusals -------------------------------------------------------------------------------------------------

DHCP = "remote wan 2 route internet dhcp vlan-mode tag 101 priority 0"
OPEN = "mode 802.11b channel 1 ssid-name net security-mode open"


def test_bad_words_are_refused_and_change_nothing(home):
    typed(home, WANS[0], NETWORKS[0])
    before = behind(home)
    add_failure = "%Failed to add remote wan, please check \n"
    for line, text in [
        (DHCP + " eth 1,5", "%Unknown ETH string \n"),
        (DHCP + " ssid x", "%Unknown SSID string \n"),
        (DHCP + " ssid-5g 1", "%Unknown SSIDADC string \n"),
        ("remote wan 2 bridge internet bridge-mode ip-bridge vlan-mode tag 101 priority 0 ssid-5g 1", "%Unknown SSID-5G string \n"),
        ("remote wan 1 route internet dhcp vlan-mode tag 101 priority 0", "%wan[1] exist \n"),
        (DHCP + " eth 1", add_failure),  # another has it
        (DHCP + " eth 3", add_failure),  # the ONU hasn't
        ("remote wan 2 route voice dhcp vlan-mode tag 101 priority 0 eth 2", "%Unknown wan type\n"),
        (f"remote wan 2 route other pppoe {'x' * 26} pw vlan-mode tag 101 priority 0", "%Username or password len exceed range\n"),
        ("no remote wan 2", "%Failed to delete remote wan[2] \n"),
        ("remote wifi 1 " + OPEN, "%Failed to add remote wifi \n"),
        ("remote wifi 2 mode 802.11b channel 1 ssid-name net security-mode wpa-psk share-key 1234567 encrypt-mode aes",
         "%Share key len error\n"),
        ("remote wifi 2 mode 802.11b channel 1 ssid-name net security-mode wep-64bits wep-auth open key-index 1 abcdef", "%Invalid key value\n"),
        ("remote wifi 5 mode 802.11n/a channel 36 bandwidth 20/40/80MHz ssid-name net security-mode open",
         "%Only 802.11ac/n/a support 20/40/80MHz\n"),
        ("remote wifi 3 disable", "%Failed to config remote wifi \n"),
        ("remote wifi 3 ssid disable", "%Failed to config remote wifi ssid\n"),
        ("no remote sip-agent 9", "%Failed to no sip-agent\n"),
        ("remote sip-user pots_1/1 sip-agent 9 user-aor 1 display-name A username a password b", "%Failed to add remote sip user \n"),
        ("show onu remote sip-user pots_1/2 status", "%Failed to get voip voice server status\n"),
        ("remote onu reboot now", "%Bad params reboot now\n"),
    ]:  # fmt: skip
        assert home.on_onu(line) == ([1], text)
    for line in ("remote wan 9 route internet dhcp vlan-mode tag 1 priority 0", "remote wifi 5 " + OPEN, "remote voip protocol h323"):
        assert home.on_onu(line)[0] == [NO_SUCH_COMMAND], line
    for line in (DHCP, "no remote wifi 1", "remote voip protocol sip", "remote onu some words"):
        assert home.on_port(line)[0] == [NO_SUCH_COMMAND], line
    assert behind(home) == before
    assert saved(home) == [WANS[0], NETWORKS[0]]


def test_a_card_that_refuses_leaves_nothing_behind(home):
    for kind, line in [("rm-wan", WANS[1]), ("rm-wifi", NETWORKS[1])]:
        home.chassis.simctl("card-fault", 1, "code", "code=1", f"type={kind}")
        assert home.on_onu(line)[0] == [1]
        assert saved(home) == []
        typed(home, line)
        typed(home, "no " + " ".join(line.split()[:3]))


def test_no_log_has_a_password(home):
    for line in ("debug gpon tipc", "debug gpon snmp detail"):
        assert home.typed((), line) == ([0], "")
    typed(home, *ALL)
    home.on_onu(WANS[0])  # is refused: it is there already
    home.on_onu("remote wan 4 route other pppoe anna gre4t|secret vlan-mode tag 0 priority 0")
    log = "\n".join(home.chassis.log_lines())
    assert "refused: vty" in log
    assert "gre4t" not in log and "pass|phrase" not in log and "abcdefABCDEF" not in log


# ---- what is saved --------------------------------------------------------------------------------------------


def held(shelf, slot=1):
    return {name: rows for name, rows in shelf.chassis.card(slot)["objects"].items() if re.search("WAN|WIFI|VOIP", name)}


def test_a_saved_configuration_typed_again_makes_the_same(home):
    typed(home, *ALL)
    assert saved(home) == ALL
    lines, objects = home.saved(), held(home)
    assert home.on_port("no onu 7") == ([0], "")
    assert home.held(1, "RM_WAN") == [] and home.held(1, "RM_WIFI") == []
    for table in ("sRmWanTable", "sRmWifiTable", "sRmVoipSipAgentConfigTable", "sRmVoipSipUserDataTable"):
        assert "1.1.1.7" not in home.rows(table), table
    add(home, words=f"type HOME sn {SERIAL}")
    come_up(home)
    assert saved(home) == []
    typed(home, *[line.strip() for line in lines])
    assert home.saved() == lines
    assert held(home) == objects


def test_a_card_that_comes_up_is_told_again(home):
    typed(home, *ALL)
    before = behind(home)
    home.card = home.chassis.card
    restart_card(home, 1)
    assert home.held(1, "RM_WAN") == []
    replay(home, 1)
    come_up(home)
    after = behind(home)
    assert {name: after[name] for name in ("wan", "wifi", "sip_agents", "sip_users", "voip")} == {
        name: before[name] for name in ("wan", "wifi", "sip_agents", "sip_users", "voip")
    }
    assert home.chassis.card(1)["reasons"] == {}


def test_an_empty_daemon_takes_the_saved_configuration_and_saves_the_same(home):
    chassis = home.chassis
    typed(home, *ALL)
    of_profile = [PHONES[0], PHONES[2], *WANS, *NETWORKS]
    assert home.typed(PROFILE, "profile-name five", *of_profile)[0] == [0] * (1 + len(of_profile))
    text = str(chassis.vty("write terminal"))
    assert text.count("\n remote ") == len(ALL) + len(of_profile)
    start_empty(chassis)
    assert " remote " not in chassis.vty("write terminal")
    with chassis.open_vty() as session:
        session("configure terminal")
        for line in text.splitlines():
            assert line == "!" or session(line).result == 0, (line, session("show refusal"))
    assert chassis.vty("write terminal") == text
