"""./run on a terminal: the keys that end or stop programs end and stop nothing of the chassis, and its end is asked for."""

import os
import shutil

import pexpect
import pytest

from chassis import BIN, REPO, wait_for

HOST = "HOST> "
PROMPT = r"gpon# $"
QUESTION = r"This takes the chassis down\. Leave\? \[y/N\] $"
CARDS_WORK = r"1 +lc +27 +yes +yes[^\n]*\n[^\n]* 2 +lc +27 +yes +yes"


def make_tree(place):
    """A copy of what ./run consists of, with these programs as the built ones."""
    shutil.copy(REPO / "run", place)
    for part in ("tools", "mibs", "sim/scenarios", "third_party"):
        shutil.copytree(REPO / part, place / part, ignore=shutil.ignore_patterns("__pycache__"))
    for script in ("setup.sh", "build.sh"):
        (place / "tools" / script).write_text("#!/bin/sh\n")
    (place / "build" / "dev").mkdir(parents=True)
    (place / "build" / "dev" / "bin").symlink_to(BIN)
    return place


class Terminal:
    """A host's shell with job control, and ./run in it."""

    def __init__(self, tree):
        env = {**os.environ, "TERM": "dumb", "PS1": HOST, "XDG_STATE_HOME": str(tree / "state")}
        env.pop("PAGER", None)
        self.child = pexpect.spawn(
            "bash", ["--norc", "--noprofile", "-i"], cwd=str(tree), env=env, dimensions=(2000, 200), encoding="utf-8",
            codec_errors="replace", timeout=60,
        )  # fmt: skip
        self.expect(HOST)
        self.type("./run")
        self.expect(PROMPT)

    def expect(self, pattern):
        try:
            self.child.expect(pattern)
        except (pexpect.TIMEOUT, pexpect.EOF) as error:
            pytest.fail(f"no {pattern!r}; the terminal showed: {self.child.before!r} ({type(error).__name__})")
        return self.child.before + self.child.after

    def type(self, line):
        self.child.sendline(line)

    def press(self, key):
        self.child.sendcontrol(key)

    def expect_alive(self):
        """The chassis answers the shell in front."""
        self.type("show slot info")
        self.expect(CARDS_WORK)
        self.expect(PROMPT)

    def expect_alive_beside(self):
        """The chassis answers another command of the host's shell."""
        self.type('./run --exec gponsh -c "show slot info"')
        self.expect(CARDS_WORK)
        self.expect(HOST)
        self.type("./run --exec snmpget -v2c -c public -m ALL 127.0.0.1 sPonTableMaxLogicDistance.1.1.1")
        self.expect(r"QRX4100-GPON-PORT-MIB::sPonTableMaxLogicDistance\.1\.1\.1 = INTEGER: km20\(20\)")
        self.expect(HOST)

    def expect_gone(self):
        self.expect(HOST)
        self.type("./run --exec true")
        self.expect("No chassis runs")
        self.expect(HOST)


@pytest.fixture
def terminal(tmp_path):
    made = Terminal(make_tree(tmp_path))
    yield made
    made.child.close(force=True)


def test_keys_that_end_or_stop_programs_leave_the_chassis_alone(terminal):
    terminal.press("c")
    terminal.expect(PROMPT)
    terminal.expect_alive()
    terminal.press("\\")
    terminal.expect_alive()
    terminal.press("z")
    terminal.expect("Stopped")
    terminal.expect(HOST)
    terminal.expect_alive_beside()
    terminal.type("fg")
    terminal.expect_alive()


def test_the_last_exit_asks(terminal):
    for answer in ("n", "", "what"):
        terminal.type("exit")
        terminal.expect(QUESTION)
        terminal.type(answer)
        terminal.expect(PROMPT)
    terminal.type("exit")
    terminal.expect(QUESTION)
    terminal.press("c")
    terminal.expect(PROMPT)
    terminal.expect_alive()
    terminal.type("exit")
    terminal.expect(QUESTION)
    terminal.press("\\")
    terminal.type("y")
    terminal.expect_gone()


def test_the_end_of_the_input_asks_and_a_second_one_leaves(terminal):
    terminal.press("d")
    terminal.expect(QUESTION)
    terminal.type("n")
    terminal.expect(PROMPT)
    terminal.press("d")
    terminal.expect(QUESTION)
    terminal.press("d")
    terminal.expect_gone()


def test_a_terminal_that_goes_away_takes_the_chassis_with_it(terminal, tmp_path):
    first = int((tmp_path / "build" / "run.pid").read_text())
    terminal.child.close()
    wait_for(lambda: not os.path.exists(f"/proc/{first}"), what="the chassis to end")
