"""The operator shell against the real daemon: on a terminal, with lines given, and with files."""

import fcntl
import json
import os
import pty
import re
import select
import signal
import struct
import subprocess
import termios
import time

import pytest

from chassis import BIN, SINGLE_BOARD, VTY_SOCKET, program, wait_for

CTRL_C, CTRL_D, TAB, UP, BACKSPACE = "\x03", "\x04", "\t", "\x1b[A", "\x7f"
OK, REFUSED, USAGE, LOST, INTERRUPTED = 0, 1, 2, 3, 130


class Terminal:
    """gponsh on a terminal of its own of 80 columns, high enough for most output."""

    def __init__(self, socket, home, rows=200, args=(), **env):
        self.fd, shell_side = pty.openpty()
        fcntl.ioctl(self.fd, termios.TIOCSWINSZ, struct.pack("HHHH", rows, 80, 0, 0))
        variables = {k: v for k, v in os.environ.items() if k not in ("PAGER", "NO_COLOR", "XDG_STATE_HOME", "INPUTRC")}
        variables.update(HOME=str(home), TERM="xterm", **env)
        self.child = subprocess.Popen(
            [program("gponsh"), "-s", socket, *args],
            stdin=shell_side,
            stdout=shell_side,
            stderr=shell_side,
            env=variables,
            start_new_session=True,
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0),
        )
        os.close(shell_side)
        self.seen = ""  # not expected yet
        self.all = ""

    def type(self, text):
        os.write(self.fd, text.encode())

    def _read(self, timeout):
        if not select.select([self.fd], [], [], timeout)[0]:
            return False
        try:
            text = os.read(self.fd, 65536).decode(errors="replace")
        except OSError:  # the shell is gone
            text = ""
        self.seen += text
        self.all += text
        return bool(text)

    def expect(self, pattern, timeout=10.0):
        """Waits for output that matches and takes it away: what stood before the match."""
        deadline = time.monotonic() + timeout
        while not (match := re.search(pattern, self.seen)):
            if not self._read(max(0.0, deadline - time.monotonic())) and not re.search(pattern, self.seen):
                raise AssertionError(f"{pattern!r} didn't come; there is {self.seen!r}")
        before, self.seen = self.seen[: match.start()], self.seen[match.end() :]
        return before

    def run(self, line, prompt=r"gpon(\(\S.*\))?# $"):
        """Types a line; what it prints up to the next prompt."""
        self.type(line + "\r")
        self.expect(re.escape(line) + r"\r\n")
        return self.expect(prompt).replace("\r\n", "\n")

    def status(self, timeout=10.0):
        """The shell's exit status, once it has ended."""

        def ended():
            self._read(0.02)
            return self.child.poll() is not None

        wait_for(ended, timeout, "gponsh to end")
        return self.child.returncode

    def close(self):
        if self.child.poll() is None:
            self.child.kill()
        self.child.wait()
        os.close(self.fd)


@pytest.fixture
def running(chassis):
    chassis.start(SINGLE_BOARD)
    chassis.start_daemon()
    wait_for(lambda: enters(chassis, "gpon-olt1/16"), what="the ports")
    return chassis


@pytest.fixture
def open_terminal(running, tmp_path):
    """Opens terminals that are at their first prompt."""
    opened = []

    def open_one(wait=True, **kwargs):
        terminal = Terminal(str(running.path(VTY_SOCKET)), tmp_path, **kwargs)
        opened.append(terminal)
        if wait:
            terminal.expect("gpon# $")
        return terminal

    yield open_one
    for terminal in opened:
        terminal.close()


@pytest.fixture
def terminal(open_terminal):
    return open_terminal()


@pytest.fixture
def gponsh(running):
    """Runs gponsh without a terminal: subprocess.CompletedProcess."""

    def run(*args, **kwargs):
        command = [program("gponsh"), "-s", str(running.path(VTY_SOCKET)), *map(str, args)]
        return subprocess.run(command, capture_output=True, text=True, timeout=60, **kwargs)

    return run


# ---- a terminal ----------------------------------------------------------------------------------------------


def test_the_prompt_tells_where_the_session_is(terminal):
    for line, prompt in (
        ("configure terminal", "gpon(config)# "),
        ("gpon", "gpon(gpon)# "),
        ("exit", "gpon(config)# "),
        ("interface gpon-olt1/1", "gpon(gpon-olt1/1)# "),
        ("int gp1/2", "gpon(gpon-olt1/2)# "),
        ("quit", "gpon(config)# "),
        ("vlan 100", "gpon(vlan 100)# "),
        ("end", "gpon# "),
        ("disable", "gpon> "),
        ("en", "gpon# "),
    ):
        terminal.run(line, re.escape(prompt) + "$")


def test_the_prompt_agrees_with_the_daemon_wherever_a_line_leads(terminal):
    """Commands that only one node has work exactly where the prompt says that node is."""
    terminal.run("configure terminal")
    terminal.run("vlan 100")
    terminal.run("exit", r"gpon\(config\)# $")
    assert "Unknown" not in terminal.run("vlan 101")
    terminal.run("end", "gpon# $")
    assert "Unknown command" in terminal.run("vlan 100")
    terminal.run("configure terminal", r"gpon\(config\)# $")
    terminal.run("interface gpon-olt1/1", r"gpon\(gpon-olt1/1\)# $")
    terminal.run("no debug gpon qos", r"gpon\(gpon-olt1/1\)# $")  # a command of the node above
    assert "Unknown" not in terminal.run("fec downstream disable", r"gpon\(gpon-olt1/1\)# $")


def test_a_refused_line_leaves_the_mode(terminal):
    terminal.run("configure terminal")
    assert "% Interface[gpon-olt9/9] not exist" in terminal.run("interface gpon-olt9/9", r"gpon\(config\)# $")


def test_tab_completes_a_keyword(terminal):
    terminal.type("sh" + TAB)
    terminal.expect("show ")
    terminal.type("sl" + TAB)
    terminal.expect("slot ")
    terminal.type("inf" + TAB + "\r")
    terminal.expect("this board in slot 1")


def test_tab_lists_what_could_follow(terminal):
    terminal.type("show mib table x r" + TAB)
    terminal.expect("ow")
    terminal.type(TAB)
    listed = terminal.expect("gpon# show mib table x row$")
    assert {"row", "rows"} <= set(listed.split())


def test_help_is_shown_and_the_line_kept(terminal):
    terminal.type("show mib ")
    terminal.type("?")
    assert "  table  Tables with their save and sync flags" in terminal.expect("gpon# show mib $")
    terminal.type("table\r")
    terminal.expect(r"total +\d+ mib tables")


def test_help_is_that_of_the_place_of_the_cursor(terminal):
    terminal.type("show mib table")
    terminal.expect("table$")
    terminal.type("\x01")  # to the beginning of the line
    terminal.type("\x06" * 5)
    terminal.type("?")
    assert "MIB store" in terminal.expect("gpon# show mib table")
    terminal.type("\r")
    terminal.expect(r"total +\d+ mib tables")


def test_help_where_nothing_fits_says_so(terminal):
    terminal.type("show nonsense ?")
    terminal.expect("% There is no matched command.\r\ngpon# show nonsense $")


def test_a_literal_question_mark_can_be_typed(terminal):
    terminal.type("show \x16?\r")
    assert "Unknown command" in terminal.expect("gpon# $")


def test_short_forms_run(terminal):
    assert "this board in slot 1" in terminal.run("sh sl i")


def test_the_place_of_the_trouble_is_marked(terminal):
    lines = terminal.run("show moon phase").splitlines()
    assert lines[0] == " " * len("gpon# show ") + "^"
    assert "Unknown command" in lines[1]


def test_an_ambiguous_word_is_told_with_its_meanings(terminal):
    text = terminal.run("e")
    assert "Ambiguous" in text
    assert re.search("could be:.* enable.* exit", text)


def test_history_is_kept_for_the_next_session(open_terminal, tmp_path):
    first = open_terminal()
    first.run("show slot info")
    first.run("show mib table")
    first.run(" show mib")  # begins with a blank: not kept
    first.type(UP)
    first.expect("show mib table")
    first.type(CTRL_C)
    first.expect("gpon# $")
    first.type(CTRL_D)
    assert first.status() == OK

    history = tmp_path / ".local/state/gponsh/history"
    assert history.read_text().splitlines() == ["show slot info", "show mib table"]
    assert history.stat().st_mode & 0o077 == 0
    second = open_terminal()
    second.type(UP + UP + "\r")
    second.expect("this board in slot 1")


def test_history_is_bounded(open_terminal, tmp_path):
    history = tmp_path / "state/gponsh/history"
    history.parent.mkdir(parents=True)
    history.write_text("".join(f"line {i}\n" for i in range(5000)))
    open_terminal(XDG_STATE_HOME=str(tmp_path / "state"))
    kept = history.read_text().splitlines()
    assert len(kept) == 1000
    assert kept[-1] == "line 4999"


def test_a_home_that_cannot_be_written_is_no_trouble(open_terminal):
    terminal = open_terminal(XDG_STATE_HOME="/proc/nowhere")
    assert "this board" in terminal.run("show slot info")


MORE = r"--More--[^)]*\)"


def long_output(gponsh):
    """The lines of an output that takes many pages."""
    return gponsh("-c", "configure terminal", "-c", "list").stdout.splitlines()


def test_long_output_comes_by_pages(open_terminal, gponsh):
    lines = long_output(gponsh)
    terminal = open_terminal(rows=16)
    terminal.run("configure terminal")
    terminal.type("list\r")
    page = terminal.expect(MORE).splitlines()[1:]
    assert len(page) <= 15
    terminal.type("\r")
    assert re.sub("\r *\r", "", terminal.expect(MORE)).splitlines() == lines[len(page) : len(page) + 1]
    terminal.type(" ")
    assert len(terminal.expect(MORE).splitlines()) > 10
    terminal.type("q")
    left_out = int(re.search(r"\((\d+) of %d lines not shown\)" % len(lines), terminal.expect(r"gpon\(config\)# $"))[1])
    assert 0 < left_out < len(lines) - 15


def test_all_pages_together_are_the_whole_output(open_terminal, gponsh):
    lines = long_output(gponsh)
    terminal = open_terminal(rows=24)
    terminal.run("configure terminal")
    terminal.type("list\r")
    terminal.expect("list\r\n")
    shown = ""
    prompt = r"gpon\(config\)# $"
    while True:
        shown += terminal.expect(f"{MORE}|{prompt}")
        if terminal.all.endswith("# "):
            break
        terminal.type(" ")
    text = re.sub("\r *\r", "", shown).replace("\r\n", "\n")
    assert text.splitlines() == lines


def test_terminal_length_0_turns_paging_off(open_terminal, gponsh):
    lines = long_output(gponsh)
    terminal = open_terminal(rows=24)
    terminal.run("terminal length 0")
    terminal.run("configure terminal")
    assert terminal.run("list").splitlines() == lines
    terminal.run("do terminal length 10")
    terminal.type("list\r")
    assert len(terminal.expect(MORE).splitlines()) <= 10


def test_the_users_pager_is_taken(open_terminal, tmp_path):
    target = tmp_path / "paged"
    terminal = open_terminal(rows=24, PAGER=f"cat > {target}")
    terminal.run("configure terminal")
    terminal.run("list")
    assert "vlan (1-4094)" in target.read_text()
    assert "--More--" not in terminal.all


def test_a_pager_that_ends_early_does_not_end_the_shell(open_terminal):
    terminal = open_terminal(rows=4, PAGER="true")
    terminal.run("configure terminal")
    terminal.run("list")
    terminal.run("end", "gpon# $")


def test_a_shell_that_was_stopped_goes_on_with_its_line(terminal):
    terminal.type("show slot")
    terminal.expect("show slot$")
    terminal.child.send_signal(signal.SIGSTOP)
    changed = termios.tcgetattr(terminal.fd)
    changed[3] |= termios.ICANON | termios.ECHO  # as the user's shell wants the terminal
    termios.tcsetattr(terminal.fd, termios.TCSANOW, changed)
    terminal.child.send_signal(signal.SIGCONT)
    terminal.expect("gpon# show slot$")
    terminal.type(" inf" + TAB + "\r")
    terminal.expect("this board in slot 1")


def test_ctrl_c_drops_the_line_that_is_typed(terminal):
    terminal.type("show nonsense" + CTRL_C)
    terminal.expect(r"\^C\r\ngpon# $")
    assert "this board" in terminal.run("show slot info")


def test_ctrl_c_gives_the_prompt_back_while_the_daemon_is_slow(running, terminal):
    running.signal_daemon(signal.SIGSTOP)
    terminal.type("configure terminal\r")
    terminal.expect(r"no answer from the daemon yet")
    terminal.type(CTRL_C)
    terminal.expect(r"given up; the daemon may still run it\)\r\ngpon# $")
    running.signal_daemon(signal.SIGCONT)
    # Its answer comes now, and the prompt tells what it did.
    terminal.expect(r'"configure terminal", given up before, was run meanwhile')
    terminal.expect(r"gpon\(config\)# $")
    terminal.run("gpon", r"gpon\(gpon\)# $")


# A client that waits for the test, and brings nothing.
SLOW_CLIENT = """#!/bin/sh
until [ -e /tmp/fail ]; do sleep 0.05; done
exit 1
"""
GETTING = "Getting file from 10.0.0.1, please wait..."


def test_a_transfer_shows_how_long_it_takes_on_a_terminal_alone(chassis, tmp_path):
    chassis.start(SINGLE_BOARD)
    chassis.start_daemon(env={"PATH": f"/tmp/bin:{BIN}:{os.environ['PATH']}"})
    assert chassis.run("mkdir", "-p", "/tmp/bin").returncode == 0
    chassis.write("/tmp/bin/tftp", SLOW_CLIENT)
    assert chassis.run("chmod", "755", "/tmp/bin/tftp").returncode == 0
    terminal = Terminal(str(chassis.path(VTY_SOCKET)), tmp_path)
    try:
        terminal.expect("gpon# $")
        terminal.type("tftp onuversion 10.0.0.1 new.bin\r")
        terminal.expect(re.escape(f"\r\x1b[K{GETTING} ") + r"\d+ s")
        terminal.expect(re.escape(f"\r\x1b[K{GETTING} ") + r"\d+ s")
        chassis.write("/tmp/fail", "")
        terminal.expect(re.escape("\r\x1b[K"))
        text = terminal.expect("gpon# $")
        assert re.search(rf"{re.escape(GETTING)}\r\n.*Can't upgrade\r\n", text, re.S), text
        assert "no answer from the daemon" not in terminal.all
    finally:
        terminal.close()
    command = [program("gponsh"), "-s", str(chassis.path(VTY_SOCKET)), "-c", "tftp onuversion 10.0.0.1 new.bin"]
    printed = subprocess.run(command, capture_output=True, text=True, timeout=60)
    assert printed.stdout.startswith(f"{GETTING}\nCan't upgrade\n")


def test_a_line_behind_one_that_was_given_up_gets_its_own_answer(running, terminal):
    running.signal_daemon(signal.SIGSTOP)
    terminal.type("show mib table\r")
    terminal.expect("no answer")
    terminal.type(CTRL_C)
    terminal.expect("gpon# $")
    terminal.type("show slot info\r")
    terminal.expect("no answer")
    running.signal_daemon(signal.SIGCONT)
    text = terminal.expect("gpon# $")
    assert '"show mib table", given up before' in text
    assert "this board in slot 1" in text
    assert "mib tables" not in text


def enters(chassis, name):
    """Whether the daemon knows the interface by now."""
    return chassis.vty("configure terminal", f"interface {name}").result == 0


def test_a_daemon_that_went_away_is_told_and_found_again(running, terminal):
    terminal.run("configure terminal")
    terminal.run("interface gpon-olt1/1")
    terminal.type("half a li")
    running.kill_daemon()
    terminal.expect(r"the daemon closed the connection; the next line connects again\)\r\n")
    terminal.expect(r"gpon\(gpon-olt1/1\)# half a li$")
    terminal.type(CTRL_C)
    assert "can't be reached" in terminal.run("show slot info", r"gpon\(gpon-olt1/1\)# $")

    running.start_daemon()
    wait_for(lambda: enters(running, "gpon-olt1/1"), what="the port")
    text = terminal.run("interface gpon-olt1/2", r"gpon\(gpon-olt1/2\)# $")
    assert "connected again, in the mode of before" in text
    terminal.run("exit", r"gpon\(config\)# $")


def test_a_mode_that_cannot_be_restored_is_told(running, terminal):
    terminal.run("configure terminal")
    terminal.run("interface gpon-olt1/1")
    running.kill_daemon()
    terminal.expect("the next line connects again")
    running.kill_sim()
    running.start("mono-ready 1\n")  # a chassis without PON ports
    running.start_daemon()
    text = terminal.run("show slot info", "gpon# $")
    assert '"interface gpon-olt1/1" was refused, so this is enable mode and the line wasn\'t run' in text
    assert "this board" in terminal.run("show slot info")


def test_exit_in_enable_mode_and_the_end_of_the_input_end_the_session(open_terminal):
    one = open_terminal()
    one.type("exit\r")
    assert one.status() == OK
    two = open_terminal()
    two.type(CTRL_D)
    assert two.status() == OK


def test_refusals_are_coloured_unless_that_is_unwanted(open_terminal):
    assert "\x1b[31m% [gpon] Unknown" in open_terminal().run("show the moon")
    assert "\x1b[31m" not in open_terminal(NO_COLOR="1").run("show the moon")


# ---- without a terminal --------------------------------------------------------------------------------------


def test_lines_given_run_up_to_the_first_that_fails(gponsh):
    done = gponsh("-c", "configure terminal", "-c", "nonsense", "-c", "do show slot info")
    assert done.returncode == REFUSED
    assert "Unknown command" in done.stdout
    assert "this board" not in done.stdout


def test_no_line_is_run_behind_the_end_of_the_session(gponsh):
    done = gponsh("-c", "exit", "-c", "show slot info")
    assert (done.returncode, done.stdout, done.stderr) == (OK, "", "")
    done = gponsh("-c", "configure terminal", "-c", "exit", "-c", "show slot info")
    assert done.returncode == OK
    assert "this board" in done.stdout


def test_wrong_usage_is_told(gponsh):
    for words, reason in (
        (["show"], 'what is "show"? A line is given with -c'),
        (["-f", "x", "-f", "y"], "-f takes one file"),
        (["-c", "show slot info", "-f", "x"], "-c and -f don't go together"),
        (["-c"], "option requires an argument -- 'c'"),
    ):
        done = gponsh(*words)
        assert done.returncode == USAGE
        assert done.stderr.splitlines()[0].endswith(": " + reason)
        assert "Usage: gponsh" in done.stderr


def test_exit_statuses(gponsh, tmp_path):
    assert gponsh("-c", "show slot info").returncode == OK
    assert gponsh("-c", "show the moon").returncode == REFUSED
    assert gponsh("--nonsense").returncode == USAGE
    assert gponsh("-c", "show slot info", "-f", "x").returncode == USAGE
    assert gponsh("-f", tmp_path / "missing").returncode == USAGE
    assert gponsh("-s", tmp_path / "missing", "-c", "show slot info").returncode == LOST
    assert gponsh("-s", tmp_path / "missing", input="show slot info\n").returncode == LOST


def test_lines_from_a_pipe_go_on_behind_one_that_fails(gponsh):
    done = gponsh(input="show the moon\nshow slot info\nexit\nshow slot info\n")
    assert done.returncode == REFUSED
    assert done.stdout.count("this board in slot 1") == 1


def test_nothing_is_coloured_or_held_back_without_a_terminal(gponsh):
    done = gponsh(input="show the moon\nconfigure terminal\nlist\n", env={**os.environ, "TERM": "xterm"})
    assert "\x1b" not in done.stdout + done.stderr
    assert "--More--" not in done.stdout
    assert len(done.stdout.splitlines()) > 40


def test_a_daemon_that_goes_away_under_a_line_is_told(running):
    running.signal_daemon(signal.SIGSTOP)
    shell = subprocess.Popen(
        [program("gponsh"), "-s", str(running.path(VTY_SOCKET)), "-c", "show slot info"],
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
    )
    running.kill_daemon()
    assert "the daemon" in shell.communicate(timeout=10)[0]
    assert shell.returncode == LOST


# ---- files ---------------------------------------------------------------------------------------------------


def write(path, text):
    path.write_text(text)
    return path


def test_a_refused_line_ends_its_block_and_the_next_block_runs(gponsh, tmp_path):
    file = write(
        tmp_path / "file",
        "configure terminal\n"
        "interface gpon-olt1/1\n"
        " nonsense\n"
        " vlan 4000\n"
        "!\n"
        "interface gpon-olt9/1\n"
        " vlan 4001\n"
        "exit\n"
        "end\n"
        "show slot info\n",
    )
    done = gponsh("-f", file)
    assert done.returncode == REFUSED
    assert f"{file}:3: refused: nonsense\n    % [gpon] Unknown command: nonsense\n" in done.stderr
    assert "(ends the block of line 2: interface gpon-olt1/1)" in done.stderr
    assert f"{file}:6: refused: interface gpon-olt9/1\n    % Interface[gpon-olt9/1] not exist\n" in done.stderr
    assert "this board in slot 1" in done.stdout
    assert done.stderr.endswith("2 refused; 2 blocks refused, 0 lines skipped\n")


def test_lines_behind_a_refused_one_are_not_run(running, gponsh, tmp_path):
    file = write(tmp_path / "file", "gpon\n nonsense\n hostname spoiled\n list\n!\n")
    done = gponsh("-f", file)
    assert done.stderr.endswith("2 lines run, 1 refused; 1 blocks refused, 2 lines skipped\n")
    assert done.stdout == ""


def test_a_file_without_trouble_ends_well(gponsh, tmp_path):
    done = gponsh("-f", write(tmp_path / "file", "! saved\ngpon\n!\nint gpon-olt1/1\n!\nvlan 12\nend\n"))
    assert (done.returncode, done.stdout) == (OK, "")
    assert done.stderr.endswith("4 lines run, 0 refused; 0 blocks refused, 0 lines skipped\n")


def test_what_write_file_prints_can_be_run(gponsh):
    saved = gponsh("-c", "write file")
    assert saved.returncode == OK
    replayed = gponsh("-f", "-", input=saved.stdout)
    assert replayed.returncode == OK, replayed.stderr


def test_a_long_file_runs_whole(gponsh, tmp_path):
    lines = [f"interface gpon-olt1/{i % 4 + 1}\nexit" for i in range(2000)] + ["x" * 4000, "y" * 3600] * 3
    done = gponsh("-f", write(tmp_path / "file", "\n".join(lines)))
    assert done.returncode == REFUSED
    assert "4006 lines run, 6 refused; 0 blocks refused" in done.stderr


def test_ctrl_c_ends_a_file_with_a_summary(running, tmp_path):
    file = write(tmp_path / "file", "configure terminal\n" + "vlan 1\n" * 5)
    running.signal_daemon(signal.SIGSTOP)
    terminal = Terminal(str(running.path(VTY_SOCKET)), tmp_path, args=["-f", str(file)])
    try:
        terminal.expect("no answer from the daemon yet; Ctrl-C ends")
        terminal.type(CTRL_C)
        assert terminal.status() == INTERRUPTED
        assert "ended by Ctrl-C" in terminal.all
    finally:
        terminal.close()
        running.signal_daemon(signal.SIGCONT)


def test_a_daemon_that_goes_away_under_a_file_is_told_with_the_line(running, tmp_path):
    file = write(tmp_path / "file", "show slot info\n" * 200000)
    shell = subprocess.Popen(
        [program("gponsh"), "-s", str(running.path(VTY_SOCKET)), "-f", str(file)],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
    )
    for _ in range(100):
        shell.stdout.readline()
    running.kill_daemon()
    _, errors = shell.communicate(timeout=30)
    assert shell.returncode == LOST
    assert re.search(r"the daemon answered up to line \d+", errors)


# ---- what is already there ---------------------------------------------------------------------------------------


PROFILES = "gpon\n profile bandwidth home assured 20000 maximum 100000\n profile bandwidth work maximum 500000\n!\n"


def test_a_file_of_nuls_is_refused_with_its_line(gponsh, tmp_path):
    file = tmp_path / "lost"
    file.write_bytes(b"gpon\n" + b"\0" * 4096 + b"\n!\n" + b"\0\n")
    done = gponsh("-f", file)
    assert done.returncode == REFUSED
    assert f"{file}:2: refused: " in done.stderr
    assert f"{file}:4: refused: " in done.stderr
    assert "NUL" in done.stderr


def test_a_file_applied_again_changes_nothing(gponsh, tmp_path):
    file = write(tmp_path / "file", PROFILES)
    assert gponsh("-f", file).returncode == OK
    assert gponsh("-f", file).returncode == REFUSED  # they are there
    again = gponsh("-f", file, "--apply")
    assert again.returncode == OK, again.stderr
    assert again.stderr.endswith("1 lines run, 0 refused; 0 blocks refused, 0 lines skipped; 2 lines stood already\n")


def test_what_is_missing_is_applied(gponsh, tmp_path):
    assert gponsh("-f", write(tmp_path / "part", PROFILES.replace("work", "other"))).returncode == OK
    assert gponsh("-f", write(tmp_path / "whole", PROFILES), "--apply").returncode == OK
    assert "profile bandwidth work maximum 500000" in gponsh("-c", "write file").stdout


def test_behind_a_line_that_takes_away_nothing_is_left_out(gponsh, tmp_path):
    assert gponsh("-f", write(tmp_path / "file", PROFILES)).returncode == OK
    anew = write(tmp_path / "anew", "gpon\n no profile bandwidth home\n" + PROFILES.split("\n", 1)[1])
    done = gponsh("-f", anew, "--apply")
    assert f"{anew}:4: refused: profile bandwidth work maximum 500000" in done.stderr
    assert "profile bandwidth home assured" in gponsh("-c", "write file").stdout


def test_a_check_tells_what_would_change_and_runs_nothing(gponsh, tmp_path):
    file = write(tmp_path / "file", PROFILES + "interface gpon-olt1/1\n nonsense\n!\n")
    before = gponsh("-c", "write file").stdout
    done = gponsh("-f", file, "--check")
    assert done.returncode == REFUSED
    assert done.stdout == (
        "gpon(gpon)# \n"
        "    profile bandwidth home assured 20000 maximum 100000\n"
        "    profile bandwidth work maximum 500000\n"
        "gpon(gpon-olt1/1)# \n"
        "  ? nonsense\n"
    )
    assert done.stderr.endswith('3 lines would run, 0 stand already; 1 ("?") are no commands there\n')
    assert gponsh("-c", "write file").stdout == before
    assert gponsh("-f", "-", "--check", input=before).returncode == OK


# ---- what is done with output --------------------------------------------------------------------------------------


def test_output_is_filtered_and_counted(gponsh):
    lines = gponsh("-c", "show slot info").stdout.splitlines()
    assert gponsh("-c", "show slot info | include YES").stdout.splitlines() == [l for l in lines if "yes" in l]
    assert gponsh("-c", "show slot info | exclude yes").stdout.splitlines() == [l for l in lines if "yes" not in l]
    counted = gponsh("-c", "show slot info | include yes | count")
    assert counted.stdout == f"{sum('yes' in line for line in lines)}\n"
    wrong = gponsh("-c", "show slot info | sort")
    assert (wrong.returncode, wrong.stdout[:2]) == (REFUSED, "% ")


def test_tables_come_as_json(gponsh, tmp_path):
    assert gponsh("-f", write(tmp_path / "file", PROFILES)).returncode == OK
    done = gponsh("-c", "configure terminal", "-c", "show profile bandwidth | json")
    rows = {row["bandwidth_profile"]: row for row in json.loads(done.stdout)}
    assert rows["home"] == {"bandwidth_profile": "home", "type": 3, "fixed": 0, "assured": 20000, "maximum": 100000}
    assert gponsh("-c", "configure terminal", "-c", "show profile bandwidth | count").stdout == f"{len(rows)}\n"
    for command in ("show slot info", "show onu status", "show onu unconfig", "show onu history", "show gpon resources"):
        assert isinstance(json.loads(gponsh("-c", f"{command} | json").stdout), list), command
    assert gponsh("-c", "show mib table | json").returncode == REFUSED


def test_a_show_is_repeated(gponsh):
    once = gponsh("-c", "show slot info").stdout
    assert gponsh("-c", "show slot info repeat 1 2").stdout == once * 2
    assert gponsh("-c", "show slot info repeat 0").returncode == REFUSED


def test_ctrl_c_ends_the_repeats(terminal):
    terminal.type("show slot info repeat 1\r")
    terminal.expect("every 1 s; Ctrl-C ends")
    terminal.expect("every 1 s; Ctrl-C ends")
    terminal.type(CTRL_C)
    terminal.expect("gpon# $")
    assert "this board" in terminal.run("show slot info")


def test_tab_offers_what_exists(terminal, gponsh, tmp_path):
    assert gponsh("-f", write(tmp_path / "file", PROFILES)).returncode == OK
    terminal.run("configure terminal")
    terminal.type("interface gpon-olt1/" + TAB)
    terminal.expect(r"(?s)gpon-olt1/1 .*gpon-olt1/9 .*gpon-olt1/10 ")
    terminal.type("\x15gpon\r")
    terminal.expect(r"gpon\(gpon\)# $")
    terminal.type("no profile bandwidth wo" + TAB)
    terminal.expect("no profile bandwidth work ")
    terminal.type("\x15no prof band ho" + TAB)
    terminal.expect("no prof band home ")


def test_tab_behind_a_bar_offers_filters(terminal):
    terminal.type("show slot info | ex" + TAB)
    terminal.expect("exclude ")


def test_tab_offers_the_unis_of_the_onu(terminal, gponsh, tmp_path):
    lines = "gpon\n profile onutype HOME-2 eth 2 pots 1\n!\ninterface gpon-olt1/1\n onu 1 type HOME-2 sn DEMO00000001\n!\n"
    assert gponsh("-f", write(tmp_path / "file", lines)).returncode == OK
    terminal.run("configure terminal")
    terminal.run("interface gpon-onu1/1:1", r"gpon\(gpon-onu1/1:1\)# $")
    terminal.type("remote uni eth_" + TAB)
    terminal.expect(r"(?s)eth_1/1 .*eth_1/2 ")
    terminal.type("\x15remote sip-user " + TAB)
    terminal.expect("remote sip-user pots_1/1 ")


def test_a_tab_of_pasted_lines_is_a_blank(terminal):
    terminal.type("configure\tterminal\r\tno\tdebug gpon qos\rend\r")
    terminal.expect(r"gpon\(config\)# +no debug gpon qos")
    terminal.expect("gpon# $")


NAMES = """gpon
 profile bandwidth T\u00fcr maximum 100000
!
interface gpon-olt1/1
 onu 1 type KLM-618 sn DEMO00000001
!
interface gpon-onu1/1:1
 name M\u00fcllers-B\u00fcro
 tcont 1 profile T\u00fcr
!
"""


def test_names_in_utf8_are_shown_and_saved_as_they_were_typed(gponsh, tmp_path):
    saved = write(tmp_path / "file", NAMES)
    assert gponsh("-f", saved).returncode == OK
    assert gponsh("-f", saved, "--check").returncode == OK  # all of it stands
    assert "M\u00fcllers-B\u00fcro" in gponsh("-c", "show onu status").stdout
    assert '"name":"M\u00fcllers-B\u00fcro"' in gponsh("-c", "show onu status | json").stdout
    shown = gponsh("-c", "configure terminal", "-c", "gpon", "-c", "show profile bandwidth").stdout.splitlines()
    named, default = (next(line for line in shown if line.startswith(name)) for name in ("T\u00fcr ", "default "))
    assert len(named) == len(default)  # the columns stand under each other


def test_a_command_of_another_mode_is_told_the_way(gponsh):
    said = gponsh("-c", "profile bandwidth x maximum 1000").stdout
    assert said.endswith("\n  typed on gpon (gpon)\n")
    said = gponsh("-c", "configure terminal", "-c", "cpe clear file x").stdout
    assert said.endswith("\n  typed on the enable mode (do ...)\n")


def test_no_refusal_says_the_same_twice_or_names_nothing(gponsh):
    asked = gponsh("-c", "show refused 99999").stdout
    assert asked == "% no such request is kept\n  show refused lists those that are kept, the last hundred of each door\n"
    asked = gponsh("-c", "configure terminal", "-c", "gpon", "-c", "show profile onu-srvprofile 1").stdout
    assert asked == "% onu-srvprofile not exist\n  no service profile 1 (gpon)\n"
