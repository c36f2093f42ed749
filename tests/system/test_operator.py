"""What an operator sees: commands, control files, heartbeats, crash reports."""

import re
import signal

import pytest

from chassis import QUIET_SCENARIO, program


@pytest.fixture
def running(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    return chassis


def test_show_slot_info_on_the_view_and_enable_nodes(running):
    with running.open_vty(enable=False) as session:
        reply = session("show slot info")
        assert reply.result == 0
        assert re.search(r"^ +1 +sc", reply, re.M)
    assert "this board in slot 1" in running.vty("show slot info")


def test_show_slot_info_of_a_large_shelf(chassis):
    chassis.start("env PDT_INFO_SHELF_TYPE 53\nenv PDT_INFO_CARD_SLOTID 8\n" + QUIET_SCENARIO)
    # A chassis asks the environment for its inner address; there is none here, so it is the loopback.
    chassis.start_daemon()
    lines = chassis.vty("show slot info").splitlines()
    roles = {words[0]: words[1] for words in map(str.split, lines) if words and words[0].isdigit()}
    assert [roles[str(slot)] for slot in (1, 7, 8, 9, 16, 17, 18, 19, 21, 22)] == [
        "lc", "lc", "sc", "sc", "lc", "uplink", "uplink", "power", "fan", "backplane"
    ]
    assert len(roles) == 22


def test_show_mib_table_prints_head_and_total(running):
    lines = running.vty("show mib table").splitlines()
    assert lines[0] == "   %5s    %-25s    %9s    %s" % ("index", "name", "auto-save", "auto-sync")
    assert re.fullmatch(r" *-+", lines[1])
    assert lines[-1] == "  total %2d mib tables" % (len(lines) - 4)


def test_show_mib_table_takes_every_name_that_it_prints(running):
    running.vty("write terminal")  # looks into SPON, whose entry goes to the next table that comes
    names = [line.split()[1] for line in running.vty("show mib table").splitlines()[2:-2]]
    assert "SPON" in names and "STCONT" in names and len(names) > 60
    for name in names:
        for rest in ("", " rows"):
            answer = running.vty(f"show mib table {name}{rest}")
            assert answer.result == 0, answer
    assert running.vty("show mib table SPON").splitlines()[0].startswith("  sPonTable, index 0, ")
    assert running.vty("show mib table sPonTable") == running.vty("show mib table SPON")
    assert running.vty("show mib table SNONE").result != 0


def test_an_unknown_command_is_refused_and_the_session_goes_on(running):
    with running.open_vty() as session:
        assert session("show the moon").result != 0
        assert session("show slot info").result == 0


def test_the_shell_runs_an_operators_line(running):
    done = running.run(program("gponsh"), "-c", "show mib table")
    assert done.returncode == 0
    assert "mib tables" in done.stdout
    assert running.run(program("gponsh"), "-c", "show the moon").returncode == 1


def test_write_terminal_gives_a_configuration(running):
    for command in ("write terminal", "write terminal current", "write terminal interface gpon-olt1/1", "write file"):
        assert running.vty(command).result == 0, command


ACTIONS = ["dump_startup_info", "dump_slot_info", "dump_cmd_all", "dump_error_info"]


def test_the_action_file_offers_every_action_switched_off(running):
    text = running.read("/tmp/product/action.gpon")
    for action in ACTIONS:
        assert re.search(rf'^{action}\s*=\s*"?0"?\s*$', text, re.M)


def test_an_action_key_and_sigusr2_run_the_action(running):
    running.write("/tmp/product/action.gpon", "[action]\ndump_slot_info = 1\ndump_startup_info = 0\n")
    running.signal_daemon(signal.SIGUSR2)
    running.wait_for(lambda: "\r\n  proc actions dump_slot_info\r\n" in running.stdout(), what="the action")
    running.wait_log(r"app gpon proc user actions")
    assert "proc actions dump_startup_info" not in running.stdout()


def test_sigusr2_with_all_keys_zero_runs_no_action(running):
    running.signal_daemon(signal.SIGUSR2)
    running.wait_log(r"app gpon proc user actions")
    assert "proc actions" not in running.stdout()


def test_sigusr1_reads_the_running_file_again(running):
    running.signal_daemon(signal.SIGUSR1)
    running.wait_log(r"Re-configure app gpon")
    assert running.vty("show slot info").result == 0


def test_a_crash_leaves_a_report_and_ends_by_sigkill(running):
    running.signal_main_thread(signal.SIGSEGV)
    assert running.wait_daemon_exit(20) in (-signal.SIGKILL, 128 + signal.SIGKILL)
    out = running.stdout()
    assert "!!! CRASH !!!" in out
    saved = re.search(r"Crash output saved to: (\S+)", out)
    assert saved
    report = running.read(saved.group(1))
    # A frame of the program itself and one of a library, by name.
    assert re.search(r"gpon_main", report), report
    assert re.search(r"libc|libfrr", report)
    assert report.strip() in running.read("/app/crash/CRASH.LOG")
