"""What an operator finds in each mode: the daemon's commands, and of its library only those that mean something."""

import itertools
import re

import pytest
from chassis import SINGLE_BOARD, VTY_SOCKET, Vty

#: Names of programs that aren't this one.
OTHER_PROGRAMS = re.compile(r"frr|quagga|zebra|kunihiro", re.IGNORECASE)

ONU_LINE = "onu 1 type KLM-618 sn ABCD00000001"
#: The ways to each mode from enable mode; None: view mode.
MODES = {
    "view": None,
    "enable": [],
    "config": ["configure terminal"],
    "gpon": ["configure terminal", "gpon"],
    "profile": ["configure terminal", "gpon", "onu-srvprofile profile-id 1 onu-type KLM-618"],
    "vlan": ["configure terminal", "vlan 5"],
    "port": ["configure terminal", "interface gpon-olt1/1"],
    "onu": ["configure terminal", "interface gpon-onu1/1:1"],
    "uplink": ["configure terminal", "interface ge1/1"],
}
#: What a mode has from the library, as "list" prints it.
EVERYWHERE = {"exit", "quit", "list [permutations]", "find REGEX..."}
SHOW = {"show thread cpu [FILTER]", "show thread poll", "show thread timers"}
TERMINAL = {"terminal length (0-512)", "terminal no length"}
WRITE = {"write [<file|terminal>]", "write terminal current", "write terminal interface IFNAME", "show running-config"}
FROM_LIBRARY = {
    "view": EVERYWHERE | SHOW | TERMINAL | {"enable"},
    "enable": EVERYWHERE | SHOW | TERMINAL | WRITE | {"enable", "disable", "end", "configure [terminal]"},
}
BELOW_CONFIG = EVERYWHERE | WRITE | {"end"}

#: Words for the variables of a syntax.
WORDS = {"IFNAME": ["gpon-olt1/1", "gpon-onu1/1:1", "ge1/1"], "ONUTYPENAME": ["KLM-618"], "FILTER": ["rw"], "REGEX": ["onu"],
         "TABLE": ["sOnuTable"], "INDEX": ["1"], "A.B.C.D": ["10.0.0.1"], "ONUID": ["1", "1-2"], "RANGE": ["1"],
         "XPATH": ["/x"], "TYPE": ["KLM-618"], "SN": ["ABCD00000002"]}  # fmt: skip

GONE = [
    "show startup-config", "show configuration running", "show configuration running json",
    "show configuration running xml", "sh conf run j", "show yang module", "show yang operational-data /x",
    "show yang module-translator", "copy running-config startup-config", "cop r s", "write memory", "wr m",
    "hostname x", "no hostname", "domainname x", "password x", "enable password x", "no enable password",
    "service password-encryption", "service terminal-length 5", "service cputime-stats", "banner motd default",
    "banner motd line x", "log stdout", "log file x", "log syslog", "no log commands", "clear log filter-text",
    "show logging", "logmsg errors x", "terminal monitor", "line vty", "who", "show history", "show work-queues",
    "show debugging hashtable", "show commandtree", "show cli graph", "debug vrf", "debug northbound",
    "debug memstats-at-exit", "debug unique-id 1 backtrace", "yang module-translator load x",
    "allow-reserved-ranges", "autocomplete a b c", "show", "echo x",
]  # fmt: skip


def variants(syntax):
    """Lines that a syntax of "list" stands for: each alternative, with and without what may be left out."""
    choices = []
    at = 0
    for token in re.finditer(r"\[[^\]]*\]|<(?:[^<>]|<[^<>]*>)*>|\(-?\d+--?\d+\)|\{[^}]*\}|[^\s<>\[\]{}]+", syntax):
        text = token.group()
        assert syntax[at : token.start()].strip() == "", f"not understood: {syntax}"
        at = token.end()
        if text[0] in "[<{":
            inside = text[1:-1].strip("<>{}")
            options = [""] if text[0] == "[" else []
            for part in inside.split("|"):
                options += variants(part)
            choices.append(options)
        elif numbers := re.fullmatch(r"\((-?\d+)-(-?\d+)\)", text):
            choices.append([numbers[1]])
        elif re.fullmatch(r"[A-Z][-_A-Z0-9:.]+(\.\.\.)?", text):
            choices.append(WORDS.get(text.removesuffix("..."), ["1"]))
        elif text != "...":
            choices.append([text])
    return [" ".join(" ".join(words).split()) for words in itertools.product(*choices)]


def enter(chassis, mode):
    """A session that stands in a mode."""
    session = Vty(str(chassis.path(VTY_SOCKET)), timeout=30, enable=MODES[mode] is not None)
    for line in MODES[mode] or []:
        assert session(line).result == 0, line
    return session


@pytest.fixture
def system(chassis):
    chassis.start(SINGLE_BOARD)
    chassis.start_daemon()
    there = lambda name: chassis.vty("configure terminal", f"interface {name}").result == 0
    chassis.wait_for(lambda: there("gpon-olt1/1") and there("ge1/1"), what="the ports")
    prepare(chassis)
    return chassis


def prepare(chassis):
    """What the modes stand on, and lines may have taken away."""
    chassis.vty("configure terminal", "interface gpon-olt1/1", ONU_LINE)


def listed(chassis, mode):
    with enter(chassis, mode) as session:
        return [line.strip() for line in session("list").splitlines() if line.strip()]


@pytest.mark.parametrize("mode", MODES)
def test_every_line_of_list_runs_and_names_no_other_program(system, mode):
    (pid,) = system.daemon_pids()
    lines = [line for syntax in listed(system, mode) for line in variants(syntax)]
    assert len(lines) > 10
    for line in lines:
        with enter(system, mode) as session:
            answer = session(line)
            assert not OTHER_PROGRAMS.search(answer), (line, answer)
            assert "nknown command" not in answer, line  # the syntax was understood here
        prepare(system)
    assert system.daemon_pids() == [pid]


@pytest.mark.parametrize("mode", MODES)
def test_a_mode_has_just_the_commands_of_the_library_that_mean_something(system, mode):
    found = set(listed(system, mode))
    expected = FROM_LIBRARY.get(mode, BELOW_CONFIG)
    library = {"exit", "quit", "list", "find", "end", "enable", "disable", "configure", "terminal", "write", "copy",
               "clear", "debug", "log", "service", "who", "hostname", "password", "banner", "line", "logmsg", "yang"}  # fmt: skip
    own = ("debug gpon", "debug agent onu upgrade", "clear config IFNAME", "copy config src IFNAME dst IFNAME")
    named = {line for line in found if line.split()[0] in library and not line.startswith(own)}
    assert named | (found & (SHOW | WRITE)) == expected
    if mode in ("view", "enable", "config"):  # the modes below have what stands on the configuration's
        assert {"help", "show version", "show memory"} <= found


@pytest.mark.parametrize("mode", MODES)
def test_what_means_nothing_here_is_unknown_in_full_and_short(system, mode):
    (pid,) = system.daemon_pids()
    with enter(system, mode) as session:
        for line in GONE:
            for typed in (line, f"do {line}"):
                answer = session(typed)
                assert answer.result != 0, typed
                assert not OTHER_PROGRAMS.search(answer), (typed, answer)
                assert re.search(r"Unknown command|Ambiguous command|Command incomplete", answer), (typed, answer)
    assert system.daemon_pids() == [pid]


def test_the_version_is_the_products(system):
    system.simctl("env", "PDT_INFO_PDT_NAME", "QRX4100")
    answer = system.vty("show version")
    assert answer.result == 0
    assert re.search(r"^  version +gpon \d+\.\d+$", answer, re.MULTILINE)
    for word in ("product", "built", "started"):
        assert re.search(rf"^  {word} +\S", answer, re.MULTILINE), answer
    assert re.search(r"started +\d{4}-\d\d-\d\d \d\d:\d\d:\d\d, up 0 days 00:0\d:\d\d", answer)


def test_memory_and_help_say_something(system):
    assert re.search(r"heap in use \d+ bytes", system.vty("show memory"))
    assert "list" in system.vty("help")


def test_every_form_of_write_prints_commands(system):
    whole = system.vty("write terminal")
    assert "interface gpon-olt1/1" in whole
    for line in ("write", "write file", "show running-config"):
        assert system.vty(line) == whole
