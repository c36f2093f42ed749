"""Shells that misbehave: the daemon refuses what it must and goes on with the others."""

import os
import socket

import pytest

from chassis import QUIET_SCENARIO, VTY_SOCKET
from table_files import write_table


@pytest.fixture
def running(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    return chassis


def connect(chassis, timeout=10):
    shell = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    shell.connect(str(chassis.path(VTY_SOCKET)))  # waits where many connect at once
    shell.settimeout(timeout)
    return shell


def answers(shell, count, data=b""):
    """The next answers: (text, result). Some of the first may have been read already."""
    found = []
    while len(found) < count:
        end = data.find(b"\0\0\0")
        if end >= 0 and len(data) > end + 3:
            found.append((data[:end].decode(errors="replace"), data[end + 3]))
            data = data[end + 4 :]
            continue
        more = shell.recv(65536)
        assert more, f"the daemon hung up behind {found}"
        data += more
    assert not data
    return found


def is_served(chassis):
    with connect(chassis) as shell:
        shell.sendall(b"enable\0show slot info\0")
        return [result for _, result in answers(shell, 2)] == [0, 0]


def test_a_silent_shell_disturbs_nobody(running):
    with connect(running):
        assert is_served(running)


def test_a_hundred_shells_at_once_are_all_served(running):
    shells = [connect(running) for _ in range(100)]
    for shell in shells:
        shell.sendall(b"enable\0show slot info\0")
    for shell in shells:
        assert [result for _, result in answers(shell, 2)] == [0, 0]
        shell.close()
    assert is_served(running)


@pytest.mark.parametrize("length", [4095, 4096, 5000, 10_000, 100_000])
def test_a_line_that_is_too_long_is_refused_once_and_no_part_of_it_runs(running, length):
    tail = b" write terminal"
    with connect(running) as shell:
        shell.sendall(b"enable\0")
        assert answers(shell, 1) == [("", 0)]
        shell.sendall(b"x" * (length - len(tail)) + tail + b"\0show slot info\0")
        refused, served = answers(shell, 2)
        assert refused == ("% Command is too long.\n", 1)
        assert served[1] == 0 and "this board" in served[0]


def test_the_longest_line_is_looked_at(running):
    with connect(running) as shell:
        shell.sendall(b"x" * 4094 + b"\0")
        assert answers(shell, 1)[0][1] == 2


def test_binary_junk_is_an_unknown_command(running):
    with connect(running) as shell:
        shell.sendall(bytes(range(1, 256)) + b"\0")
        assert answers(shell, 1)[0][1] == 2
        shell.sendall(b"\0\0\0")
        assert answers(shell, 3) == [("", 0)] * 3
        shell.sendall(b"enable\0")
        assert answers(shell, 1) == [("", 0)]
    for _ in range(20):
        with connect(running) as shell:
            shell.sendall(os.urandom(30_000))
    assert is_served(running)


def test_format_characters_are_only_characters(running):
    for line in ("%s%s%s%n%n", "interface %s%n", "show mib table %s%n%d"):
        for way in ((), ("configure terminal",)):
            assert running.vty(*way, line).result != 0
    assert "% Interface[%s%n] not exist" in running.vty("configure terminal", "interface %s%n")


def test_a_shell_that_goes_in_the_middle_of_its_answer_disturbs_nobody(chassis):
    chassis.start(QUIET_SCENARIO)
    write_table(chassis, "sOnuTable", [(1, 1, port, onu) for port in range(1, 17) for onu in range(1, 129)])
    chassis.start_daemon()
    for read_first in (0, 1000):
        for _ in range(5):
            with connect(chassis) as shell:
                shell.sendall(b"enable\0write terminal\0" + b"write terminal\0" * 20)
                if read_first:
                    shell.recv(read_first)
    assert is_served(chassis)


# Answers are kept until they are taken, so commands are taken no faster than their answers.
def test_a_shell_that_asks_and_never_reads_costs_no_memory(chassis):
    chassis.start(QUIET_SCENARIO)
    write_table(chassis, "sOnuTable", [(1, 1, port, onu) for port in range(1, 17) for onu in range(1, 129)])
    chassis.start_daemon()
    (pid,) = chassis.daemon_pids()

    def resident():
        with open(f"/proc/{pid}/status") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))

    before = resident()
    with connect(chassis, timeout=0.5) as shell:
        with pytest.raises(TimeoutError):
            for _ in range(1000):
                shell.sendall(b"enable\0" + b"write terminal\0" * 200)
        assert is_served(chassis)
        assert resident() - before < 64 * 1024  # kilobytes


ONUS = [(1, 1, port, onu) for port in range(1, 17) for onu in range(1, 129)]
LAST_PORT = "gpon-olt1/16"


@pytest.fixture
def big(chassis):
    """Whose configuration is many times what a socket holds; its last ONU can be deleted without a card."""
    chassis.start(QUIET_SCENARIO)
    write_table(chassis, "sPonTable", [(1, 1, port) for port in range(1, 17)])
    write_table(chassis, "sOnuTable", ONUS, sOnuTableSn="ABCD00000001")
    rows = [(*onu, tcont) for onu in ONUS[:-1] for tcont in range(1, 9)]
    write_table(chassis, "sTcontTable", rows, sTcontTableBwProfileName="b" * 60)
    chassis.start_daemon()
    chassis.event("new-if", ifindex=LAST_PORT, flags="up")
    way = ("configure terminal", f"interface {LAST_PORT}")
    chassis.wait_for(lambda: chassis.vty(*way).result == 0, what=LAST_PORT)
    return chassis


def test_others_change_what_a_shell_that_reads_slowly_is_still_to_get(big):
    last = "interface gpon-onu1/16:128\n"
    whole = str(big.vty("write terminal"))
    assert whole.count(last) == 1
    with connect(big) as shell, big.open_vty() as other:
        shell.sendall(b"enable\0write terminal\0no such\0write file\0")
        begun = b""
        while b"interface gpon-onu" not in begun:  # the ports are through
            begun += shell.recv(1000)
        for line in ("configure terminal", f"interface {LAST_PORT}", "no onu 128"):
            assert other(line).result == 0
        left = str(other("write terminal"))
        assert last not in left
        (_, entered), first, (_, refused), second = answers(shell, 4, begun)
    assert (entered, refused) == (0, 2)
    assert first == (whole.replace(last, ""), 0)
    assert second == (left, 0)


def test_a_filter_holds_to_the_end_and_a_shell_that_goes_before_disturbs_nobody(big):
    assert big.vty("write terminal | include ^interface").count("\n") == len(ONUS) + 16
    for pattern in (b"tcont", b"nothing of it"):
        with connect(big) as shell:
            shell.sendall(b"enable\0write terminal | include " + pattern + b"\0")
            assert shell.recv(4, socket.MSG_WAITALL) == bytes(4)
        assert is_served(big)
