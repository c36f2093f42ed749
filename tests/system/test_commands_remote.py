"""What lies behind an ONU by command: its UNIs, their VLANs and counters, and what it says of itself."""

import json
import re
import shutil

import pytest

from chassis import REPO, SimctlError
from test_commands_onu import ONU, ONU_PORT, add, start_shelf
from test_demo import demo
from test_restore import replay, restart_card

SERIAL = "ABCD00000007"
TYPE = "profile onutype HOME eth 2 pots 1 card 1 video 1 down-queue 8 up-queue 8"
NO_SUCH_COMMAND = 2
NOT_COUNTED = "%UNI port does not exist or not action enable\n"


@pytest.fixture
def shelf(chassis):
    made = start_shelf(chassis)
    assert made.on_gpon(TYPE) == ([0], "")
    return made


@pytest.fixture
def home(shelf):
    """An ONU that is up, with two Ethernet ports, a telephone and video."""
    add(shelf, words=f"type HOME sn {SERIAL}")
    shelf.chassis.simctl("onu", "add", SERIAL, f"port={ONU_PORT}", "model=HOME-4", "version=V1.2.3")
    come_up(shelf)
    return shelf


def state(shelf):
    return shelf.on_port("show onu status")[1]


def come_up(shelf):
    shelf.chassis.wait_for(lambda: " operational " in state(shelf), what="the ONU to be operational")


def behind(shelf):
    """The ONU as the simulator has it, its UNIs by their words."""
    onu = json.loads("".join(shelf.chassis.simctl("show", "onu", SERIAL, "--json")))
    return onu | {"unis": {uni["uni"]: uni for uni in onu["unis"]}}


def typed(shelf, *lines):
    assert shelf.on_onu(*lines) == ([0] * len(lines), "")


def items(text):
    """The values of a show, by their names."""
    return {line[11:35].strip(): line[36:] for line in text.splitlines()[3:]}


def shown(shelf, line):
    results, text = shelf.on_onu(line)
    assert results == [0], text
    return items(text)


def saved(shelf, name=ONU):
    return [line for line in shelf.saved(name) if line.startswith(" remote ")]


# ---- UNIs ---------------------------------------------------------------------------------------------------

SETTINGS = [
    ("remote uni eth_1/1 disable", "eth_1/1", "adminStatus", 0),
    ("remote uni eth_1/1 pm enable", "eth_1/1", "pmEnabled", 1),
    ("remote uni eth_1/1 pm upstream enable", "eth_1/1", "usPmEnabled", 1),
    ("remote uni eth_1/1 pm downstream enable", "eth_1/1", "dsPmEnabled", 1),
    ("remote loop_detect uni eth_1/2 enable", "eth_1/2", "loopDetect", 1),
    ("remote uni eth_1/2 mac-limit 16", "eth_1/2", "macLrnCount", 16),
    ("remote uni veip mac-limit 8", "veip", "macLrnCount", 8),
    ("remote uni eth_1/2 auto-detection full-100", "eth_1/2", "autoDetection", 2),
    ("remote uni eth_1/2 max-frame 1522", "eth_1/2", "maxFrameSize", 1522),
    ("remote uni eth_1/2 pppoe-filter enable", "eth_1/2", "pppoeFilterEnabled", 1),
    ("remote uni eth_1/2 ethernet-interface bridged", "eth_1/2", "bridgedOrIpInd", 0),
    ("remote uni eth_1/2 power-control enable", "eth_1/2", "powerControl", 1),
    ("remote uni eth_1/2 dot1x enable", "eth_1/2", "dot1xEnabled", 1),
    ("remote uni eth_1/2 dot1x action-register auth", "eth_1/2", "dot1xActRegister", 3),
    ("remote video video_1/1 state lock", "video_1/1", "videoState", 1),
]


def test_what_is_set_at_a_uni_reaches_the_card_and_the_onu_and_is_saved(home):
    for line, uni, field, value in SETTINGS:
        typed(home, line)
        assert behind(home)["unis"][uni]["settings"][field] == value, line
    assert sorted(saved(home)) == sorted(f" {line}" for line, *_ in SETTINGS)
    assert home.chassis.card(1)["reasons"] == {}


VLANS = [
    ("remote uni eth_1/1 vlan-mode hybrid pvlan 5 priority 3  tag 100 200", 4, 5, 3, [100, 200], []),
    ("remote uni eth_1/2 vlan-mode xlate 10:100 11:101", 6, 0, 0, [10, 11], [100, 101]),
    ("remote uni pots_1/1 vlan-mode access pvlan 7", 2, 7, 0, [], []),
    ("remote uni veip vlan-mode transparent", 5, 0, 0, [], []),
]


def ids_of(vlans):
    return [one["startVlan"] for one in vlans["vlanGrp"][: vlans["numVlanGrp"]]]


def test_the_vlans_of_unis_reach_the_card_and_are_saved(home):
    for line, mode, pvid, priority, ids, networks in VLANS:
        typed(home, line)
        vlans = behind(home)["unis"][line.split()[2]]["vlans"]
        assert (vlans["vlanMode"], vlans["pvid"], vlans["priority"]) == (mode, pvid, priority), line
        assert (ids_of(vlans["vlanList"]), ids_of(vlans["xlateList"])) == (ids, networks), line
    assert saved(home) == [f" {line}" for line, *_ in VLANS]
    parameters = shown(home, "show onu remote uni eth_1/2 param")
    assert (parameters["vlan-mode"], parameters["xlate"]) == ("xlate", "10:100 11:101")


def test_bad_words_and_lists_are_refused_and_change_nothing(home):
    for line, text in [
        ("remote uni eth_1 enable", "%Bad format ETHUNI eth_1\n"),
        ("remote uni lan1 enable", "%Bad format ONU interface lan1\n"),
        ("remote video video_x state lock", "%Bad format VIDEO video_x\n"),
        ("remote uni pots_1 vlan-mode transparent", "%Bad format POTS pots_1\n"),
        ("remote uni eth_1/9 max-frame 100", "%Failed to set eth_1/9 max-frame\n"),
        ("remote uni eth_1/1 vlan-mode trunk tag 0", "% Invalid vlan id or range!\n"),
        ("remote uni eth_1/1 vlan-mode trunk tag 1-33", "%Bad parameter, count over 12\n"),
        ("remote uni eth_1/1 vlan-mode xlate 10-100", "%Bad VLAN format 10-100\n"),
        ("remote uni eth_1/9 vlan-mode transparent", "%Failed to set VLAN  mode\n"),
        ("show onu remote uni eth_1/9 param", "%Failed to get uni status\n"),
        ("show onu remote uni eth_1/1 pm", NOT_COUNTED),
    ]:
        assert home.on_onu(line) == ([1], text)
    for line in ("remote uni eth_1/1 max-frame 63", "remote uni eth_1/1 vlan-mode access pvlan 4095"):
        assert home.on_onu(line)[0] == [NO_SUCH_COMMAND], line
    assert saved(home) == []
    assert home.held(1, "RM_UNI") == [] and home.held(1, "RM_UNI_VLAN") == []


def test_what_the_uni_cannot_do_is_kept_and_told_in_the_log(home):
    typed(home, "remote uni pots_1/1 max-frame 100")
    assert home.chassis.card(1)["reasons"] == {"not-on-this-uni": 1}
    assert saved(home) == [" remote uni pots_1/1 max-frame 100"]


def test_a_card_that_refuses_or_is_silent_leaves_the_row_as_it_was(home):
    for fault in (("code", "code=1"), ("no-reply",)):
        for kind, line, text in [
            ("rm-uni", "remote uni eth_1/1 max-frame 100", "%Failed to set eth_1/1 max-frame\n"),
            ("rm-uni-vlan", "remote uni eth_1/1 vlan-mode transparent", "%Failed to set VLAN  mode\n"),
        ]:
            home.chassis.simctl("card-fault", 1, *fault, f"type={kind}")
            with home.chassis.open_vty(timeout=20) as session:
                session("configure terminal")
                session(f"interface {ONU}")
                reply = session(line)
            assert (reply.result, str(reply)) == (1, text)
    assert saved(home) == []
    typed(home, "remote uni eth_1/1 max-frame 100")


def test_links_and_loops_are_shown(home):
    link = lambda: shown(home, "show onu remote uni eth_1/1 param")["link"]
    uni = lambda *words: home.chassis.simctl("uni", SERIAL, "eth_1/1", *words)
    assert link() == "up"
    uni("link", "off")
    assert link() == "down"
    uni("link", "on")
    uni("loop", "on")
    assert link() == "up"
    typed(home, "remote loop_detect uni eth_1/1 enable")
    assert link() == "down"
    uni("loop", "off")
    assert link() == "up"
    typed(home, "remote uni eth_1/1 disable")
    assert link() == "down"
    assert shown(home, "show onu remote video video_1/1")["state"] == "unlock"


# ---- counters -----------------------------------------------------------------------------------------------


def test_counters_that_run_are_those_of_the_traffic(home):
    typed(home, "remote uni eth_1/1 pm enable")
    home.chassis.simctl("uni", SERIAL, "eth_1/1", "traffic", "up=10", "down=3", "size=100")
    home.chassis.simctl("uni", SERIAL, "eth_1/1", "traffic", "up=5", "size=1400", "kind=broadcast", "errors=2")
    up = shown(home, "show onu remote uni eth_1/1 pm current upstream")
    assert (up["packets"], up["bytes"], up["broadcast packets"], up["crc errors"]) == ("15", "8000", "5", "2")
    assert (up["packets 65-127"], up["packets 1024-1518"]) == ("10", "5")
    assert shown(home, "show onu remote uni eth_1/1 pm current downstream")["packets"] == "3"
    assert home.on_onu("show onu remote uni eth_1/2 pm current upstream") == ([1], NOT_COUNTED)
    home.chassis.simctl("uni", SERIAL, "eth_1/1", "link", "off")
    with pytest.raises(SimctlError):
        home.chassis.simctl("uni", SERIAL, "eth_1/1", "traffic", "up=1")


def test_the_row_of_the_last_interval_comes_and_goes_with_the_switch(home):
    assert home.rows("sRmUniPmTable").count("eth") == 0
    typed(home, "remote uni eth_1/1 pm enable")
    for line in ("pm", "pm history upstream", "pm history downstream"):
        assert shown(home, f"show onu remote uni eth_1/1 {line}")["sampled"] == "-"
    results, text = home.on_port("show onu 7 remote uni eth_1/1 pm")
    assert results == [0] and items(text)["rx packets"] == "0"
    typed(home, "remote uni eth_1/1 pm disable")
    assert home.on_onu("show onu remote uni eth_1/1 pm") == ([1], NOT_COUNTED)


# ---- the ONU itself -----------------------------------------------------------------------------------------


def test_an_onu_tells_of_itself(home):
    info = shown(home, "show onu remote info")
    assert info["read"] == "now"
    assert (info["vendor"], info["model"], info["version"]) == ("ABCD", "HOME-4", "V1.2.3")
    assert info["serial number"].upper() == SERIAL
    for node, line in [((f"interface {ONU_PORT}",), "show onu 7 remote info"), ((), f"show interface {ONU_PORT} onu 7 remote info")]:
        results, text = home.typed(node, line)
        assert results == [0] and items(text)["model"] == "HOME-4", line
    add(home, 8, "type HOME sn ABCD00000008")
    text = home.on_port("show onu remote info")[1]
    assert re.findall(r"^(\S+) +read +(.*)$", text, re.M) == [("1/1:7", "now"), ("1/1:8", "earlier")]
    assert text.endswith("total 2\n")
    assert home.typed((), f"show interface {ONU_PORT} onu remote info")[1] == text
    assert home.chassis.vty("show onu remote info") == text
    assert home.on_port("show onu 9 remote info") == ([1], "%Onu 9 not exist\n")
    assert home.typed((), "show interface ge1/1 onu remote info") == ([1], "%Invalid PON IFNAME:ge1/1\n")
    home.chassis.simctl("card-fault", 1, "code", "code=1009", "type=rmonu-info")
    assert home.on_onu("show onu remote info") == ([1], "%Failed to get port info \n")


def test_an_onu_tells_what_it_can(home):
    capability = shown(home, "show onu remote capability")
    assert [capability[name] for name in ("cards", "eth ports", "eth ports of card 1", "video ports")] == ["1", "2", "2", "1"]


def test_a_reboot_takes_the_onu_away_and_it_comes_back(home):
    typed(home, "remote uni eth_1/1 max-frame 1522")
    home.chassis.simctl("onu", "delays", "reboot=3000")
    typed(home, "remote onu reboot")
    home.chassis.wait_for(lambda: " added " in state(home), what="the ONU to be away")
    assert home.on_onu("remote onu reboot") == ([1], "%Failed to set reboot\n")
    assert shown(home, "show onu remote info")["read"] == "earlier"
    come_up(home)
    onu = behind(home)
    assert onu["reboots"] == 1
    assert onu["unis"]["eth_1/1"]["settings"]["maxFrameSize"] == 1522
    assert saved(home) == [" remote uni eth_1/1 max-frame 1522"]


def test_settings_are_written_again_and_factory_settings_restored(home):
    typed(home, "remote onu restore")
    assert behind(home)["mib_syncs"] == 1
    typed(home, "remote onu restore default")
    assert behind(home)["restores"] == 1
    come_up(home)
    assert saved(home) == []


FAILURES = {
    "show onu remote info": "%Failed to get port info \n",
    "show onu remote capability": "%Failed to get port info \n",
    "show onu remote uni eth_1/1 param": "%Failed to get uni status\n",
    "show onu remote uni eth_1/1 pm current upstream": NOT_COUNTED,
    "show onu remote uni eth_1/1 pm current downstream": NOT_COUNTED,
}


@pytest.mark.parametrize("fault", [("code", "code=1"), ("short", "len=4"), ("oversize", "len=1024"), ("duplicate",), ("wrong-message", "message=901")])
def test_answers_that_are_wrong_do_no_harm(home, fault):
    typed(home, "remote uni eth_1/1 pm enable")
    home.chassis.simctl("uni", SERIAL, "eth_1/1", "traffic", "up=10", "down=3")
    tables = {name: home.rows(name) for name in ("sRmInfoTable", "sRmUniStatusTable", "sRmUniPmTable")}
    right = {line: items(home.on_onu(line)[1]) for line in FAILURES}
    for line, failure in FAILURES.items():
        home.chassis.simctl("card-fault", 1, *fault)
        with home.chassis.open_vty(timeout=20) as session:
            session("configure terminal")
            session(f"interface {ONU}")
            reply = session(line)
        assert reply.result == 0 or str(reply) == failure, (line, str(reply))
        assert items(home.on_onu(line)[1]) == right[line], line
    assert {name: home.rows(name) for name in tables} == tables


def test_the_simulator_refuses_what_the_onu_has_not(home):
    for words in (("eth_1/3", "link", "off"), ("lan1", "link", "off"), ("eth_1/1", "traffic"), ("eth_1/1", "fire", "on")):
        with pytest.raises(SimctlError):
            home.chassis.simctl("uni", SERIAL, *words)
    with pytest.raises(SimctlError):
        home.chassis.simctl("show", "onu", "ABCD00000001")
    first, *unis = home.chassis.simctl("show", "onu", SERIAL)
    assert f"serial={SERIAL}" in first and "reboots=0" in first
    assert [line.split()[0] for line in unis] == [f"uni={uni}" for uni in ("eth_1/1", "eth_1/2", "pots_1/1", "veip", "video_1/1")]


# ---- templates, and what is saved ---------------------------------------------------------------------------


def test_the_vlans_of_a_service_profile_stand_on_every_card_and_are_saved(shelf):
    profile = lambda *lines: shelf.typed(("gpon", "onu-srvprofile profile-id 5 onu-type HOME"), *lines)
    assert profile("profile-name five", "remote uni eth_1/2 vlan-mode trunk tag 100-102") == ([0, 0], "")
    for slot in (1, 2):
        (held,) = shelf.held(slot, "RM_UNI_VLAN")
        assert ids_of(held["vlanList"]) == [100, 101, 102]
    text = shelf.chassis.vty("write terminal")
    assert " remote uni eth_1/2 vlan-mode trunk tag 100 101 102\n" in text
    assert profile("remote uni eth_1/1 enable")[0] == [NO_SUCH_COMMAND]
    shelf.on_port("onu 9 profile five sn ABCD00000009")
    assert profile("remote uni eth_1/2 vlan-mode transparent") == ([1], "%Failed to set VLAN  mode\n")


def test_a_saved_configuration_typed_again_makes_the_same(home):
    typed(home, *[line for line, *_ in SETTINGS], *[line for line, *_ in VLANS])
    lines = home.saved()
    objects = {name: home.held(1, name) for name in ("RM_UNI", "RM_UNI_VLAN")}
    assert home.on_port("no onu 7") == ([0], "")
    assert home.held(1, "RM_UNI") == [] and home.rows("sRmUniStatusTable").count("1.1.1.7") == 0
    add(home, words=f"type HOME sn {SERIAL}")
    come_up(home)
    typed(home, *[line.strip() for line in lines])
    assert home.saved() == lines
    assert {name: home.held(1, name) for name in objects} == objects


def test_a_card_that_comes_up_is_told_again(home):
    typed(home, *[line for line, *_ in SETTINGS], *[line for line, *_ in VLANS])
    before = behind(home)["unis"]
    home.card = home.chassis.card
    restart_card(home, 1)
    assert home.held(1, "RM_UNI") == []
    replay(home, 1)
    come_up(home)
    assert behind(home)["unis"] == before
    assert home.chassis.card(1)["reasons"] == {}


def start_empty(chassis, ports=2):
    """A daemon without tables in the place of the one that ran, on the same chassis."""
    chassis.kill_daemon()
    shutil.rmtree(chassis.path("/var/run/product/mibdata"), ignore_errors=True)
    since = chassis.mark()
    chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"})
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480, since=since)
    chassis.event("slot-active", slot_id=8, card_type=2)
    for slot in (1, 2):
        chassis.event("slot-add", slot_id=slot, card_type=27)
        chassis.event("slot-active", slot_id=slot, card_type=27)
        for port in range(1, ports + 1):
            chassis.event("new-if", ifindex=f"gpon-olt{slot}/{port}", flags="up+running")
    chassis.wait_for(lambda: chassis.vty("write terminal").count("interface gpon-olt") == 2 * ports, 30, "the ports' rows")


def test_an_empty_daemon_takes_the_saved_configuration_and_saves_the_same(home):
    chassis = home.chassis
    typed(home, *[line for line, *_ in SETTINGS], *[line for line, *_ in VLANS])
    profile = ("gpon", "onu-srvprofile profile-id 5 onu-type HOME")
    assert home.typed(profile, "profile-name five", *[line for line, *_ in VLANS])[0] == [0] * (1 + len(VLANS))
    add(home, 9, "profile five sn ABCD00000009")
    text = str(chassis.vty("write terminal"))
    assert text.count(" remote ") == len(SETTINGS) + 2 * len(VLANS)
    start_empty(chassis)
    assert " remote " not in chassis.vty("write terminal")
    with chassis.open_vty() as session:
        session("configure terminal")
        for line in text.splitlines():
            assert line == "!" or session(line).result == 0, (line, session("show refusal"))
    assert chassis.vty("write terminal") == text


# ---- the guide ----------------------------------------------------------------------------------------------


def example_of_the_guide(mark="compares"):
    """An example of the operator's guide in the form of the tour: what stands below a command is in its output."""
    guide = (REPO / "docs/operators-guide.md").read_text()
    session = re.search(rf"a test plays this and {mark}: begin -->\n```\n(.*?)```", guide, re.S)[1]
    for line in session.splitlines():
        if re.match(r"gpon\S*# |\$ ", line):
            yield line
        else:
            words = [".*" if word == "..." else re.escape(word) for word in line.split()]
            yield "=> 10s ^ *" + " +".join(words)


def test_the_example_of_the_guide_works(tmp_path):
    steps = list(example_of_the_guide())
    assert len(steps) > 30
    other = tmp_path / "example.txt"
    other.write_text("## Behind an ONU\nText.\n" + "\n".join(steps) + "\n")
    status, output = demo("--demo", other, binds=[tmp_path])
    assert status == 0, output
