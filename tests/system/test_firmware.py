"""New firmware for ONUs: from the file to the version that runs, and what can go wrong on the way."""

import concurrent.futures
import os
import re

import pytest

from chassis import BIN, SNMPD_CONF, wait_for
from test_commands_onu import start_shelf

PORT = "gpon-olt1/1"
FILES = "/app/appload/onu"
FILE = "onu-v2.bin"
KNOWN_BY = " type KLM-618 sn "
MODEL = "SIM-ONU-4E2V"


def serial(onu):
    return f"ABCD{onu:08x}"


class Upgrade:
    """Two cards with so many ONUs on the first port of the first, all in operation, and a firmware file."""

    def __init__(self, chassis, onus):
        self.chassis = chassis
        self.onus = onus
        self.shelf = start_shelf(chassis, ports=1)
        lines = [f"onu {onu}{KNOWN_BY}{serial(onu)}" for onu in range(1, onus + 1)]
        results, text = self.shelf.on_port(*lines)
        assert not any(results), text
        chassis.simctl("onu", "add", serial(1), f"port={PORT}", f"count={onus}")
        self.wait_for_version("V1.0.0")
        chassis.run("mkdir", "-p", FILES, check=True)
        chassis.write(f"{FILES}/{FILE}", "version: V2.0.0\n" + "image" * 1000)
        self.session = chassis.open_vty()

    def close(self):
        self.session.close()

    def typed(self, line):
        """What a line printed that worked."""
        reply = self.session(line)
        assert reply.result == 0, (line, str(reply))
        return str(reply)

    def versions(self):
        """The version that each ONU in operation runs, as "show onu status" tells it."""
        text = self.chassis.vty("show onu status")
        return re.findall(r"^1/1:\d+ +operational .* (V\d\.\d\.\d)", text, re.MULTILINE)

    def wait_for_version(self, version):
        wait_for(lambda: self.versions() == [version] * self.onus, 20, f"{self.onus} ONUs with {version}")

    def states(self, of="all"):
        """ONU number: (file, percent, state), of the ONUs of the port."""
        rows = re.findall(
            r"^1/1:(\d+) +(\S*) +\d+ +\d+ +(\d+)  (\w+)$", self.typed(f"show cpe update-status {of}"), re.MULTILINE)  # fmt: skip
        return {int(onu): (file, int(percent), state) for onu, file, percent, state in rows}

    def count(self, state):
        return [each[2] for each in self.states().values()].count(state)

    def wait_for(self, state, count=None):
        wanted = self.onus if count is None else count
        wait_for(lambda: self.count(state) == wanted, 20, f"{wanted} ONUs in {state}: {self.states()}")

    def start(self, onus=None):
        assert self.typed(f"cpe update {FILE} {PORT} onu-range {onus or f'1-{self.onus}'}") == ""


@pytest.fixture
def few(chassis):
    made = Upgrade(chassis, 4)
    yield made
    made.close()


def test_a_port_full_of_onus_gets_a_new_version(chassis):
    made = Upgrade(chassis, 128)
    chassis.simctl("upgrade", "delays", "download=150", "write=50", "commit=20")
    assert made.typed(f"cpe update file {FILE} version V2.0.0 eqptid {MODEL}") == (
        f"%Collection 128 ONU eqptid {MODEL} need update to V2.0.0 \n")  # fmt: skip
    seen = set()

    def is_loaded():
        states = made.states(f"eqptid {MODEL}")
        seen.update(state for _, _, state in states.values())
        return [each[0] for each in states.values()] == [FILE] * 128 and made.count("DOWNLOADSUC") == 128

    wait_for(is_loaded, 30, "all ONUs to have loaded it")
    assert {"DOWNLOADING", "DOWNLOADWAITING", "DOWNLOADSUC"} <= seen
    assert made.typed(f"cpe commit file {FILE}") == f"%Collection 128 ONU version {FILE} commited success \n"
    made.wait_for("COMMITOK")
    assert made.typed(f"cpe activate file {FILE}") == f"%Collection 128 ONU version {FILE} commited success \n"
    made.wait_for_version("V2.0.0")
    made.wait_for("ACTIVEOK")
    # nobody is left that needs it
    reply = made.session(f"cpe update file {FILE} version V2.0.0 eqptid {MODEL}")
    assert (reply.result, str(reply)) == (1, "%No matched onu found \n")
    assert made.typed("cpe clear file " + FILE) == ""
    # the row of the port was started with it
    assert made.count("NULL") == 128
    made.close()


def test_cards_go_on_by_themselves_when_they_may(few):
    assert few.typed("cpe update mode auto-commit enable auto-active enable") == (
        "%  enable cpe update automatical commit\n%  enable cpe update automatical active\n")  # fmt: skip
    few.start()
    few.wait_for_version("V2.0.0")
    few.wait_for("ACTIVEOK")
    image = few.typed(f"show cpe information {PORT} onuid 1")
    assert re.search(rf"1/1:1 +{MODEL} +0 +V1.0.0 +yes +no +no$", image, re.MULTILINE), image
    assert re.search(rf"1/1:1 +{MODEL} +1 +V2.0.0 +yes +yes +yes$", image, re.MULTILINE), image


def test_each_stage_can_fail_and_leaves_the_onu_as_it_is(few):
    for onu, stage in enumerate(("download", "write", "commit", "activate"), 1):
        few.chassis.simctl("upgrade", "fail", serial(onu), stage)
    few.typed("cpe update mode auto-commit enable auto-active enable")
    few.start()
    wanted = {1: "DOWNLOADFAIL", 2: "DOWNLOADFAIL", 3: "COMMITFAIL", 4: "ACTIVEFAIL"}
    wait_for(lambda: {onu: each[2] for onu, each in few.states().items()} == wanted, 20, "the failures")
    assert few.versions() == ["V1.0.0"] * 4
    few.start()  # once more, and nothing is in the way
    few.wait_for_version("V2.0.0")


def test_an_onu_that_goes_in_the_middle_keeps_what_it_runs(few):
    few.chassis.simctl("upgrade", "delays", "download=600000")
    few.start()
    few.wait_for("DOWNLOADING")
    few.chassis.simctl("onu", "off", serial(2))
    wait_for(lambda: len(few.versions()) == 3, what="ONU 2 to be off")
    assert few.states()[2] == (FILE, 0, "DOWNLOADING")  # as it was read last
    few.chassis.simctl("onu", "on", serial(2))
    few.wait_for_version("V1.0.0")
    assert few.states()[2][2] == "DOWNLOADFAIL"
    assert few.typed(f"cpe abort {PORT} onu-range 1 3-4") == ""
    few.wait_for("DOWNLOADABORT", 3)


def test_a_card_that_restarts_in_the_middle_forgets_the_upgrades(few):
    few.chassis.simctl("upgrade", "delays", "download=600000")
    few.start()
    few.wait_for("DOWNLOADING")
    few.chassis.simctl("card", 1, "restart")
    assert few.chassis.simctl("upgrade", "list") == []
    # told of again, the ONUs come back with what they had
    lines = [f"{no}onu {onu}{words}" for onu in range(1, 5) for no, words in (("no ", ""), ("", KNOWN_BY + serial(onu)))]
    results, text = few.shelf.on_port(*lines)
    assert not any(results), text
    wait_for(lambda: few.count("NULL") == 4, 20, "the upgrades to be forgotten")
    few.wait_for_version("V1.0.0")
    few.chassis.simctl("upgrade", "delays")
    few.start()
    few.wait_for("DOWNLOADSUC")


def test_an_upgrade_that_was_committed_survives_a_power_cut(few):
    few.start()
    few.wait_for("DOWNLOADSUC")
    few.typed(f"cpe commit {PORT} onu-range 1")
    few.wait_for("COMMITOK", 1)
    for onu in (1, 2):
        few.chassis.simctl("onu", "off", serial(onu))
    wait_for(lambda: len(few.versions()) == 2, what="two ONUs to be off")
    for onu in (1, 2):
        few.chassis.simctl("onu", "on", serial(onu))
    wait_for(lambda: few.versions() == ["V2.0.0"] + ["V1.0.0"] * 3, what="ONU 1 to run what was committed")


def test_a_card_that_refuses_is_told_with_its_reason(few):
    few.start()
    few.wait_for("DOWNLOADSUC")
    few.chassis.card_fault(1, "code", type="rmonu-update", code=1009)
    reply = few.session(f"cpe commit file {FILE}")
    assert (reply.result, str(reply)) == (
        1, f"%Collection 4 ONU version {FILE} commited success \n%Failed to commit onu \n")  # fmt: skip
    assert "refused with code 1009" in str(few.session("show refusal"))
    few.typed(f"cpe commit file {FILE}")
    few.wait_for("COMMITOK")


def test_others_are_served_while_a_card_thinks_about_a_step(few):
    few.start()
    few.wait_for("DOWNLOADSUC")
    few.chassis.card_fault(1, "late", type="rmonu-update", ms=5000)
    mark = few.chassis.mark()
    with concurrent.futures.ThreadPoolExecutor() as pool:
        committed = pool.submit(few.typed, f"cpe commit {PORT} onu-range 1-4")
        few.chassis.wait_record(kind="card-request", type="rmonu-update", since=mark)
        assert few.chassis.vty("show onu status").endswith("total 4\n")
        assert not committed.done()
        assert committed.result() == ""
    few.wait_for("COMMITOK")


def test_others_are_served_while_a_managers_step_waits_for_its_card(few):
    chassis = few.chassis
    chassis.start_snmpd(SNMPD_CONF + "agentXTimeout 60\n")  # it waits six seconds otherwise
    chassis.wait_agent(20)
    few.start()
    few.wait_for("DOWNLOADSUC")
    row = ".1.3.6.1.4.1.47281.1.1.1.1.1.37.1.1.3.1.1.1"  # sOnuUpdateAction
    commit, active = 3, 2
    patient = ("-r", "0", "-t", "60")
    chassis.card_fault(1, "late", type="rmonu-update", ms=5000)
    mark = chassis.mark()
    with concurrent.futures.ThreadPoolExecutor() as pool:
        committed = pool.submit(chassis.snmp, "snmpset", row, "i", str(commit), options=patient)
        chassis.wait_record(kind="card-request", type="rmonu-update", since=mark, timeout=20)
        assert chassis.vty("show onu status").endswith("total 4\n")
        assert not committed.done()
        assert committed.result().returncode == 0
    few.wait_for("COMMITOK")
    (told,) = chassis.records(kind="card-request", type="rmonu-update", since=mark)
    chassis.card_fault(1, "code", type="rmonu-update", code=1009)
    refused = chassis.snmp("snmpset", row, "i", str(active), options=patient)
    assert "badValue" in refused.stderr + refused.stdout
    assert "refused with code 1009" in chassis.vty("show refused last")
    assert chassis.snmpget(row)[row] == f"INTEGER: {commit}"


def test_from_a_server_the_onus_do_all_of_it(few):
    line = f"onu upgrade enable file v3.bin size 5000 version V3.0.0 eqptid {MODEL} serverip 10.0.0.1"
    assert few.typed(f"{line} {PORT} onu-range 1 3") == ""
    wait_for(lambda: few.versions() == ["V3.0.0", "V1.0.0"] * 2, 20, "ONUs 1 and 3 to run it")
    assert few.typed(f"{line} onu-all") == ""
    few.wait_for_version("V3.0.0")


def test_a_file_that_is_deleted_is_gone_for_good(few):
    assert few.typed(f"delete onuversion {FILE}") == ""
    assert not few.chassis.exists(f"{FILES}/{FILE}")
    reply = few.session(f"cpe update {FILE} {PORT} onu-range 1")
    assert (reply.result, str(reply)) == (1, f"%Failed to get filenme {FILE}\n")
    told = few.chassis.records(kind="card-request", type="onuver-action")
    assert {record["slot"] for record in told} == {"1", "2", "8"}


# A client that waits for the test, and then brings the file, or not.
CLIENT = """#!/bin/sh
echo "$@" >>/tmp/asked
until [ -e /tmp/bring ] || [ -e /tmp/fail ]; do sleep 0.01; done
[ ! -e /tmp/fail ] && while [ $# -gt 0 ]; do
    [ "$1" != -l ] || echo "version: V5.0.0" >"$2"
    shift
done
"""


@pytest.fixture
def files(chassis):
    """Without ONUs, and with a client of the test's own."""
    start_shelf(chassis, ports=1, PATH=f"/tmp/bin:{BIN}:{os.environ['PATH']}")
    chassis.run("mkdir", "-p", FILES, "/tmp/bin", check=True)
    chassis.write("/tmp/bin/tftp", CLIENT)
    chassis.run("chmod", "755", "/tmp/bin/tftp", check=True)
    return chassis


GETTING = "Getting file from 10.0.0.1, please wait...\n"


def fetch(chassis, name="new.bin"):
    with chassis.open_vty(timeout=30) as session:
        reply = session(f"tftp onuversion 10.0.0.1 {name}")
    return reply.result, str(reply)


def asked(chassis):
    return chassis.read("/tmp/asked", missing="").splitlines()


def test_a_file_is_fetched_while_everybody_else_is_served(files):
    with concurrent.futures.ThreadPoolExecutor() as pool:
        fetched = pool.submit(fetch, files)
        wait_for(lambda: asked(files), what="the client to run")
        assert fetch(files) == (1, f"{GETTING}Can't upgrade\n")  # nobody fetches it a second time
        assert files.vty("show onu status").endswith("total 0\n")
        assert not fetched.done()
        files.write("/tmp/bring", "")
        assert fetched.result() == (0, GETTING)
    assert asked(files) == ["-r new.bin -l /tmp/new.bin -g 10.0.0.1"]
    assert files.read(f"{FILES}/new.bin") == "version: V5.0.0\n"
    assert not files.exists("/tmp/new.bin")
    assert fetch(files) == (1, "onu version new.bin have existed.\n")


def test_a_file_that_does_not_come_leaves_nothing(files):
    files.write("/tmp/fail", "")
    assert fetch(files) == (1, f"{GETTING}Can't upgrade\n")
    assert len(asked(files)) == 1
    for name in ("a;touch$IFS/tmp/done", "$(touch)", "`touch`", "../../tmp/x", "-x", "n" * 64, "f\u00e4"):
        assert fetch(files, name)[0] == 1
    assert len(asked(files)) == 1
    assert files.run("ls", FILES, "/tmp/done").stdout == f"{FILES}:\n"


def test_who_leaves_while_a_file_is_fetched_gets_it_all_the_same(files):
    session = files.open_vty()
    session._socket.sendall(b"tftp onuversion 10.0.0.1 new.bin\0")
    wait_for(lambda: asked(files), what="the client to run")
    session.close()
    files.write("/tmp/bring", "")
    wait_for(lambda: files.exists(f"{FILES}/new.bin"), what="the file")
    assert files.vty("show onu status").endswith("total 0\n")


def test_there_are_six_files_at_most(files):
    files.write("/tmp/bring", "")
    for number in range(6):
        assert fetch(files, f"file{number}")[0] == 0
    assert fetch(files, "one-more") == (1, "Maximum version number reached.\n")
