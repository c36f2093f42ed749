"""Services behind an ONU by command, its management, Power over Ethernet and optics: what reaches the ONU, what is
shown, what is refused, and what a saved configuration makes of it."""

import json

import pytest

from test_commands_onu import ONU, add
from test_commands_remote import NO_SUCH_COMMAND, SERIAL, come_up, home, saved, shelf, shown, start_empty, typed  # noqa: F401
from test_restore import replay, restart_card

GEMS = ["tcont 1 profile default", "gemport 1 tcont 1", "gemport 2 tcont 1"]


@pytest.fixture
def served(home):
    """The ONU with GEM ports for its services."""
    typed(home, *GEMS)
    return home


def behind(shelf):
    """The ONU as the simulator has it."""
    return json.loads("".join(shelf.chassis.simctl("show", "onu", SERIAL, "--json")))


def settings(things, **named):
    """What the card was told of one thing, of a list of them or the only one."""
    if not isinstance(things, list):
        return things["settings"]
    found = [thing["settings"] for thing in things if named.items() <= (thing | thing["settings"]).items()]
    assert len(found) == 1, (things, named)
    return found[0]


def reason(shelf, line, result=1):
    """What a line is refused with, and the daemon's reason."""
    with shelf.chassis.open_vty(timeout=20) as session:
        session("configure terminal")
        session(f"interface {ONU}")
        reply = session(line)
        assert reply.result == result, (line, str(reply))
        return str(reply), str(session("show refusal")).partition(" ")[2]


# Each command, in the order of the saved lines: the kind of thing, which one it is, and what its card was told.
COMMANDS = [
    ("remote multicast eth_1/2 enable", "multicast", {"uni": "eth_1/2"}, {"enabled": 1}),
    ("remote multicast eth_1/2 igmp mode snooping", "multicast", {"uni": "eth_1/2"}, {"mode": 1}),
    ("remote multicast eth_1/2 igmp version 5", "multicast", {"uni": "eth_1/2"}, {"igmpVer": 5}),
    ("remote multicast eth_1/2 fast-leave enable", "multicast", {"uni": "eth_1/2"}, {"fastLeave": 1}),
    ("remote multicast eth_1/2 max-group 4094", "multicast", {"uni": "eth_1/2"}, {"maxGrpNum": 4094}),
    (
        "remote multicast eth_1/2 down vlan 100 tag-action xlate 200",
        "multicast",
        {"uni": "eth_1/2"},
        {"dsVlan": 100, "dsUniVlan": 200, "dsVlanAct": 4},
    ),
    (
        "remote multicast eth_1/2 up vlan untag tag-action add 100",
        "multicast",
        {"uni": "eth_1/2"},
        {"usVlan": 0, "usPonVlan": 100, "usVlanAct": 2},
    ),
    (
        "remote onu mgmt-ip 10.0.0.2 255.255.255.0 10.0.0.1 8.8.8.8 0.0.0.0 vlan 4094",
        "ip_host",
        {},
        {"mode": 0, "ipaddr": 0x0A000002, "netmask": 0xFFFFFF00, "gateway": 0x0A000001, "priDns": 0x08080808, "vlanid": 4094},
    ),
    ("remote onu tr069-mgmt state lock", "tr069", {}, {"adminstate": 1}),
    ("remote onu tr069-mgmt tag 5 pri 7", "tr069", {}, {"vlanid": 5, "pri": 7}),
    (
        "remote onu tr069-mgmt acs http://acs.example:7547 validate basic username me password secret",
        "tr069",
        {},
        {"acsAddr": "http://acs.example:7547", "validateMode": 2, "username": "me", "password": "secret"},
    ),
    ("remote onu queue-schedule wrr 1 2 3 4 5 6 7 100", "queues", {}, {"qosMode": 2, "weight": "hex:0102030405060764"}),
    ("remote service 1 gem 1 vlan 100 eth_1/1", "services", {"service": 1}, {"type": 3, "gemId": 1, "vlan": 100}),
    ("remote service 2 gem 2 vlan 200 veip", "services", {"service": 2}, {"type": 3, "gemId": 2, "vlan": 200}),
    ("remote onu optical threshold lowertxpower -10", "thresholds", {}, {"lowtxPwrthreshod": -10}),
    ("remote onu optical threshold uppertxpower 12", "thresholds", {}, {"uppertxPwrthreshod": 12}),
    ("remote onu optical threshold lowerrxpower -56", "thresholds", {}, {"lowrxPwrthreshod": -56}),
    ("remote onu optical threshold upperrxpower -16", "thresholds", {}, {"upperrxPwrthreshod": -16}),
    ("remote uni eth_1/1 poe adminstate enable", "poe_port_settings", {}, {"poeAdminState": 1}),
    ("remote uni eth_1/1 poe request_power 60", "poe_port_settings", {}, {"pseLldpReqPow": 60}),
    ("remote uni eth_1/1 poe powpairs spare", "poe_port_settings", {}, {"powPairs": 2}),
    ("remote uni eth_1/1 poe powpri high", "poe_port_settings", {}, {"powPri": 2}),
    ("remote onu poe usagethr 99", "poe_settings", {}, {"usageThr": 99}),
    ("remote onu poe arc enable", "poe_settings", {}, {"arc": 1}),
    ("remote onu poe extpowavl 4294967295", "poe_settings", {}, {"extPowAvl": 4294967295}),
    ("remote onu poe extbattpowavl 1", "poe_settings", {}, {"extBatteryPowAvl": 1}),
    ("remote mac_filter service 1 mode static", "mac_filters", {"flowId": 1, "entryId": 0}, {"mode": 2}),
    (
        "remote mac_filter service 1 rule 1 forward da 0011-2233-4455",
        "mac_filters",
        {"flowId": 1, "entryId": 1},
        {"fwdFilter": 0, "rule": 0, "macAddress": "hex:001122334455"},
    ),
    (
        "remote mac_filter service 1 rule 255 discard sa abcd-ef01-2345",
        "mac_filters",
        {"flowId": 1, "entryId": 255},
        {"fwdFilter": 1, "rule": 1, "macAddress": "hex:abcdef012345"},
    ),
    ("remote mac_filter service 2 dynamic mac_limit 255", "mac_filters", {"flowId": 2, "entryId": 0}, {"dyn_count": 255}),
]
LINES = [line for line, *_ in COMMANDS]
KINDS = {
    "RM_SERVICE": "sRmServiceTable",
    "RM_MAC_FLT": "rmServiceMacFilterModeTable",
    "RM_UNI_MCAST": "sRmMulticastTable",
    "RMONU_IPHOST": "sRmIPHostTable",
    "RMONU_TR069_SRV": "sRmTr069MgmtTable",
    "RMONU_QUEUE_SCHEDULE": "sRmOnuQosPriorityQueueScheduleTable",
    "RMONU_OPT_THRESHOLD": "sRmOnuOptThresholdTable",
    "RM_UNI_POE": "sRmUniPoeTable",
    "RM_ONU_POE": "sRmOnuPoeTable",
}


def told(shelf):
    """What stands behind the ONU without what comes of it."""
    onu = behind(shelf)
    kinds = {kind for _, kind, *_ in COMMANDS}
    return {kind: [settings(thing) for thing in onu[kind]] if isinstance(onu[kind], list) else onu[kind] and settings(onu[kind]) for kind in kinds}


# ---- what is set ---------------------------------------------------------------------------------------------


def test_what_is_set_reaches_the_onu_and_is_saved(served):
    for line, kind, which, values in COMMANDS:
        typed(served, line)
        assert values.items() <= settings(behind(served)[kind], **which).items(), line
    assert saved(served) == [f" {line}" for line in LINES]
    assert served.chassis.card(1)["reasons"] == {}
    assert {service["state"] for service in behind(served)["services"]} == {"up"}


def test_what_is_taken_back_leaves_nothing(served):
    typed(served, *LINES)
    typed(
        served,
        "no remote mac_filter service 2 dynamic mac_limit",
        "no remote mac_filter service 1 rule 255 discard sa abcd-ef01-2345",
        "no remote service 1",
        "no remote service 2",
        "remote multicast eth_1/2 disable",
        "no remote onu mgmt-ip",
        "remote onu tr069-mgmt state unlock",
        "remote onu tr069-mgmt untag",
        "no remote onu tr069-mgmt acs",
        *[f"remote onu optical threshold {name} onu_internal" for name in ("lowertxpower", "uppertxpower", "lowerrxpower", "upperrxpower")],
        "remote uni eth_1/1 poe adminstate disable",
        "remote uni eth_1/1 poe request_power 0",
        "remote onu poe arc disable",
        "remote onu poe extpowavl 0",
        "remote onu poe extbattpowavl 0",
    )
    onu = behind(served)
    assert onu["services"] == [] and onu["mac_filters"] == [] and onu["multicast"] == []
    assert onu["ip_host"]["state"] == "none" if onu["ip_host"] else True
    assert settings(onu["tr069"])["acsAddr"] == "" and settings(onu["tr069"])["password"] == ""
    # what no command takes back
    assert saved(served) == [
        " remote onu queue-schedule wrr 1 2 3 4 5 6 7 100",
        " remote uni eth_1/1 poe powpairs spare",
        " remote uni eth_1/1 poe powpri high",
        " remote onu poe usagethr 99",
    ]


FORMS = [
    ("remote service 3 gem 1", {"type": 5, "gemId": 1}),
    ("remote service 3 gem 1 eth_1/2", {"type": 6, "gemId": 1}),
    ("remote service 3 gem 1 vlan 4094", {"type": 1, "vlan": 4094}),
    ("remote service 3 gem 1 vlan 1 cos 7", {"type": 2, "vlan": 1, "cos": 7}),
    ("remote service 3 gem 1 vlan 1 iphost", {"type": 3, "vlan": 1}),
    ("remote service 3 gem 1 vlan 1 cos 0 pots_1/1", {"type": 4, "vlan": 1, "cos": 0}),
    ("remote service 32 gem 2 vlan 1", {"type": 1, "gemId": 2}),
]


def test_every_form_of_a_service_reaches_the_onu_and_is_saved(served):
    for line, values in FORMS:
        typed(served, line)
        number = int(line.split()[2])
        assert values.items() <= settings(behind(served)["services"], service=number).items(), line
        assert saved(served) == [f" {line}"]
        typed(served, f"no remote service {number}")
        assert saved(served) == []


def test_a_password_stands_in_no_log(served):
    for kind in ("tipc", "snmp detail"):
        assert served.typed((), f"debug gpon {kind}")[0] == [0]
    typed(served, "remote onu tr069-mgmt acs http://acs validate md5 username me password open-sesame")
    served.chassis.simctl("card-fault", 1, "code", "code=1", "type=rmonu-tr069-srv")
    assert served.on_onu("remote onu tr069-mgmt acs http://acs validate md5 username me password open-sesame2")[0] == [1]
    log = served.chassis.path("/tmp/product/gpon.log").read_text(errors="replace")
    assert "RmTr069" in log or "tr069" in log
    assert "open-sesame" not in log


# ---- what is refused -----------------------------------------------------------------------------------------

NOT_TAKEN = [
    ("remote service 1 gem 2 vlan 300 veip", "%Failed to add remote service 1\n", "exists already"),
    ("remote service 3 gem 1", "%Failed to add remote service 3\n", "remote service 1"),
    ("remote service 3 gem 9 vlan 7 eth_1/2", "%Failed to add remote service 3\n", "code 1001"),
    ("remote service 3 gem 1 vlan", "%Bad format ONU interface vlan\n", '"vlan" needs a number behind it'),
    ("remote service 3 gem 1 vlan 7 eth_1", "%Bad format ETHUNI eth_1\n", '"eth_1" isn\'t eth_CARD/PORT'),
    ("no remote service 9", "%Failed to delete remote service 9\n", "doesn't exist"),
    ("remote mac_filter service 9 mode static", "%Failed to set mac filter mode\n", "no remote service 9"),
    ("remote mac_filter service 1 dynamic mac_limit 3", "%Failed to set mac filter mode\n", "no remote service 1 of mode dynamic"),
    ("remote mac_filter service 1 rule 2 forward da 0011:2233:4455", "% invalid mac format!\n", "isn't an address as 0011-2233-4455"),
    ("remote mac_filter service 1 rule 2 discard sa 0011-2233-4455", "%Failed to add mac filter static rule\n", "rule 1 of the service"),
    ("no remote mac_filter service 1 rule 7 forward da 0011-2233-4455", "%Failed to delete mac filter static rule\n", "doesn't exist"),
    ("remote multicast eth_1/9 enable", "%Failed to set eth_1/9 multicast\n", "the ONU has no UNI eth_1/9"),
    ("remote multicast eth_1/1 max-group 3", "%Failed to set multicast max group number\n", "multicast isn't enabled at eth_1/1"),
    ("remote multicast eth_1/1 down vlan 3 tag-action strip", "%Failed to set multicast vlan\n", "multicast isn't enabled at eth_1/1"),
    ("remote onu mgmt-ip 10.0.0.3 255.255.255.0 10.0.0.1 0.0.0.0 0.0.0.0 vlan 5", "%Failed to add mgmt ip\n", "exists already"),
    ("remote onu mgmt-ip 10.0.0.3 255.255.0.255 10.0.0.1 0.0.0.0 0.0.0.0 vlan 5", "%Inconsistent ip netmask\n", "ones and then zeros"),
    ("remote onu mgmt-ip 10.0.0.3 255.255.255.0 10.1.0.1 0.0.0.0 0.0.0.0 vlan 5", "%Inconsistent ip gateway\n", "another host"),
    (f"remote onu tr069-mgmt acs {'x' * 129} validate disable", "%String length exceeds\n", "at most 128 characters"),
    ("remote onu optical threshold lowerrxpower -2o", "%Bad params -2o\n", '"-2o" isn\'t a whole number'),
    ("remote uni pots_1/1 poe powpri high", "%Failed to set pots_1/1 poe powpri\n", "pots_1/1 has no Power over Ethernet"),
    ("show onu remote uni pots_1/1 poe", "%Failed to get uni poe \n", "no Power over Ethernet"),
]


def test_what_cannot_be_is_refused_with_its_reason_and_changes_nothing(served):
    typed(served, *LINES)
    before = told(served)
    for line, text, why in NOT_TAKEN:
        assert reason(served, line)[0] == text, line
        assert why in reason(served, line)[1], line
    for line in ("remote service 33 gem 1", "remote multicast eth_1/1 max-group 4095", "remote uni eth_1/1 poe request_power 61"):
        assert served.on_onu(line)[0] == [NO_SUCH_COMMAND], line
    for line in ("remote onu queue-schedule wrr 1", "remote onu poe usagethr 100", "remote onu mgmt-ip dhcp"):
        assert served.on_onu(line)[0] == [1], line
    assert told(served) == before
    assert saved(served) == [f" {line}" for line in LINES]


REFUSED_BY_THE_CARD = [
    ("rm-service", "remote service 1 gem 1 vlan 5", "%Failed to add remote service 1\n"),
    ("rm-uni-mcast", "remote multicast eth_1/1 max-group 5", "%Failed to set multicast max group number\n"),
    ("rmonu-iphost", "remote onu mgmt-ip dhcp vlan 5", "%Failed to add mgmt ip\n"),
    ("rmonu-tr069-srv", "remote onu tr069-mgmt state lock", "%Failed to set state\n"),
    ("rmonu-queue-schedule", "remote onu queue-schedule strict-priority", "%Failed to set queue-schedule\n"),
    ("rmonu-opt-threshold", "remote onu optical threshold lowerrxpower -5", "%Failed to set lowerrxpower -5\n"),
    ("rm-uni-poe", "remote uni eth_1/1 poe adminstate enable", "%Failed to set eth_1/1 poe adminstate\n"),
    ("rm-onu-poe", "remote onu poe usagethr 5", "%Failed to set onu poe usage threshold\n"),
]


def test_what_the_card_refuses_is_not_kept(served):
    typed(served, "remote multicast eth_1/1 enable")
    for kind, line, text in REFUSED_BY_THE_CARD:
        served.chassis.simctl("card-fault", 1, "code", "code=1", f"type={kind}")
        refused, why = reason(served, line)
        assert (refused, "code 1" in why) == (text, True), (line, refused, why)
    assert saved(served) == [" remote multicast eth_1/1 enable"]
    typed(served, *[line for _, line, _ in REFUSED_BY_THE_CARD])
    assert len(saved(served)) == 1 + len(REFUSED_BY_THE_CARD)


# ---- what is shown -------------------------------------------------------------------------------------------


def test_the_ip_host_is_shown_with_the_addresses_in_use(served):
    assert shown(served, "show onu remote mgmt-ip") == {"mode": "none"}
    typed(served, "remote onu mgmt-ip dhcp vlan 100")
    host = shown(served, "show onu remote mgmt-ip")
    assert (host["read"], host["mode"], host["vlan"], host["ip address"]) == ("now", "dhcp", "100", "0.0.0.0")
    assert (host["current ip address"], host["current gateway"]) == ("10.1.1.7", "10.1.1.254")
    typed(served, "no remote onu mgmt-ip", "remote onu mgmt-ip 10.9.0.2 255.255.255.0 10.9.0.1 0.0.0.0 0.0.0.0 vlan 100")
    host = shown(served, "show onu remote mgmt-ip")
    assert (host["mode"], host["ip address"], host["current ip address"]) == ("static", "10.9.0.2", "10.9.0.2")


def test_power_over_ethernet_is_shown_as_the_onu_tells_it(served):
    typed(served, "remote uni eth_1/1 poe adminstate enable", "remote onu poe usagethr 80")
    port = lambda: shown(served, "show onu remote uni eth_1/1 poe")
    assert (port()["adminstate"], port()["detection"], port()["power consumed"]) == ("enable", "searching", "0")
    served.chassis.simctl("poe", SERIAL, "eth_1/1", "attach", "watts=12")
    assert (port()["detection"], port()["power consumed"]) == ("delivering", "12")
    onu = shown(served, "show onu remote poe")
    assert (onu["supply"], onu["nominal power"], onu["power consumed"], onu["usagethr"]) == ("on", "60", "12", "80")
    served.chassis.simctl("poe", SERIAL, "eth_1/1", "short")
    assert (port()["detection"], port()["short circuits"]) == ("fault", "1")


def test_optics_are_shown_with_their_thresholds(served):
    typed(served, "remote onu optical threshold lowerrxpower -56")
    optics = shown(served, "show onu remote optical info")
    assert (optics["read"], optics["lowerrxpower"], optics["upperrxpower"]) == ("now", "-56", "onu_internal")
    assert -1900 < int(optics["rx power"]) < -1700 and int(optics["upper temperature"]) == 8500
    power = shown(served, "show onu power")
    assert -2050 < int(power["olt rx power"]) < -1850 and -1900 < int(power["onu rx power"]) < -1700


def test_an_onu_that_is_off_shows_what_is_known(served):
    typed(served, "remote onu mgmt-ip dhcp vlan 100", "remote onu optical threshold lowerrxpower -56")
    served.chassis.simctl("onu", "off", SERIAL)
    served.chassis.wait_for(lambda: " added " in served.on_port("show onu status")[1], what="the ONU to be away")
    assert shown(served, "show onu remote mgmt-ip")["read"] == "earlier"
    optics = shown(served, "show onu remote optical info")
    assert (optics["read"], optics["lowerrxpower"], "rx power" in optics) == ("earlier", "-56", False)
    for line, text in [
        ("show onu power", "%Failed to get port info \n"),
        ("show onu remote poe", "%failed to get onu poe , please verify onu is operational! \n"),
        ("show onu remote uni eth_1/1 poe", "%failed to get onu uni poe , please verify onu is operational! \n"),
    ]:
        assert reason(served, line) == (text, f"the ONU isn't operational ({ONU})\n")
    typed(served, "remote uni eth_1/1 poe powpairs signal")
    served.chassis.simctl("onu", "on", SERIAL)
    come_up(served)
    assert shown(served, "show onu remote uni eth_1/1 poe")["powpairs"] == "signal"


# ---- lives ---------------------------------------------------------------------------------------------------


def test_a_deleted_onu_takes_all_of_it_along_and_the_saved_lines_make_it_again(served):
    typed(served, *LINES)
    lines, before = served.saved(), told(served)
    assert served.on_port("no onu 7") == ([0], "")
    for kind, table in KINDS.items():
        assert served.held(1, kind) == [], kind
        assert served.rows(table).count("1.1.1.7") == 0, table
    add(served, words=f"type HOME sn {SERIAL}")
    come_up(served)
    assert saved(served) == []
    typed(served, *[line.strip() for line in lines])
    assert served.saved() == lines
    assert told(served) == before


def test_a_card_that_comes_up_is_told_again(served):
    typed(served, *LINES)
    served.card = served.chassis.card
    before = told(served)
    del before["thresholds"]  # those are told again by no card's start
    restart_card(served, 1)
    replay(served, 1)
    come_up(served)
    after = told(served)
    assert after.pop("thresholds") is None
    for onu in (before, after):
        del onu["multicast"][0]["enabled"]  # that is the UNI's again, which says so itself
    assert after == before
    (uni,) = (uni for uni in behind(served)["unis"] if uni["uni"] == "eth_1/2")
    assert uni["settings"]["mcastEnabled"] == 1
    assert served.chassis.card(1)["reasons"] == {}


TEMPLATES = [
    "remote onu mgmt-ip dhcp vlan 100",
    "remote service 1 gem 1 vlan 100 eth_1/1",
    "remote service 2 gem 2 vlan 200 cos 3 veip",
    "remote uni eth_1/1 poe adminstate enable",
    "remote uni eth_1/1 poe request_power 30",
    "remote uni eth_1/1 poe powpri low",
    "remote onu poe usagethr 80",
    "remote onu poe arc enable",
    "remote onu poe extpowavl 7",
    "remote onu poe extbattpowavl 8",
]
OF_ONE_TYPE = [TEMPLATES[0], "remote service 1 gem 1 vlan 100 cos 1 eth_1/1", *TEMPLATES[2:]]


def test_an_empty_daemon_takes_the_saved_configuration_and_saves_the_same(served):
    chassis = served.chassis
    typed(served, *LINES)
    profile = ("gpon", "onu-srvprofile profile-id 5 onu-type HOME")
    results, text = served.typed(profile, "profile-name five", *GEMS, *TEMPLATES[:2], TEMPLATES[2])
    assert (results[-1], text) == (1, "%Failed to add remote service 2\n")
    assert served.typed(profile, "no remote service 1", *OF_ONE_TYPE[1:])[0] == [0] * len(OF_ONE_TYPE)
    for line in ("remote multicast eth_1/1 enable", "remote mac_filter service 1 mode static", "remote uni eth_1/1 poe powpairs signal"):
        assert served.typed(profile, line)[0] == [NO_SUCH_COMMAND], line
    add(served, 9, "profile five sn ABCD00000009")
    assert served.typed(profile, "no remote service 1") == ([1], "%Failed to delete remote service 1\n")
    text = str(chassis.vty("write terminal"))
    assert text.count(" remote ") == len(LINES) + len(OF_ONE_TYPE)
    start_empty(chassis)
    assert " remote " not in chassis.vty("write terminal")
    with chassis.open_vty() as session:
        session("configure terminal")
        for line in text.splitlines():
            assert line == "!" or session(line).result == 0, (line, session("show refusal"))
    assert chassis.vty("write terminal") == text
