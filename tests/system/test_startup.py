"""The daemon's start: its order, its waits, its failures and its end."""

import re
import signal
import time

import pytest

from chassis import PID_FILE, QUIET_SCENARIO, REPO, STRACE_FILE, VTY_SOCKET, program

CONTROLLER_NOT_READY = "mono-ready 0\n"


def status_field(chassis, name):
    (pid,) = chassis.daemon_pids()
    with open(f"/proc/{pid}/status") as status:
        return next(line.split(":", 1)[1].strip() for line in status if line.startswith(name + ":"))


def signal_in(mask, signo):
    return bool(int(mask, 16) & (1 << (signo - 1)))


def heartbeat_behind_terminal(chassis):
    """The heartbeat's socket is made when the loop runs, behind the operator's."""
    lines = chassis.strace_lines()
    terminal = next((i for i, line in enumerate(lines) if re.search(r'bind\(.*"/var/run/gpon\.vty"', line)), len(lines))
    return any("SOCK_DGRAM" in line for line in lines[terminal:])


def test_start_steps_follow_their_order(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon(strace=True)
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    chassis.wait_for(lambda: heartbeat_behind_terminal(chassis), what="the heartbeat behind the operator's socket")
    chassis.strace_order(
        r"/app/crash/",  # crash handlers: mkdir -p
        r'"/tmp/product/action\.gpon"',  # application control files
        r'execve\(".*ov_env_get", \["ov_env_get", "PDT_INFO_',  # chassis facts
        r'execve\(".*ov_env_get", \["ov_env_get", "mono_ready"\]',  # the wait for the controller
        r'"/var/run/gpon\.pid"',
        r"bind\(.*htons\(30047\)",
        r"listen\(",
        r"bind\(.*htons\(30046\)",
        r"connect\(.*htons\(30000\)",
        r"accept4?\(",
        r'bind\(.*"/var/run/gpon\.vty"',
    )


def test_recovery_stages_are_registered_in_order_with_our_feature_id(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    stages = chassis.records(kind="request", type="cfg-app-sync-prio")
    assert [record["cfg_prio"] for record in stages] == ["300", "410", "480"]
    assert {record["appid"] for record in stages} == {"30047"}
    assert {record["appName"] for record in stages} == {"gpon"}


def test_says_that_it_starts_and_then_serves(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    (line,) = chassis.wait_log(r"Gpon 6\.1 starting")
    assert " notice/60 [LIB] " in line
    assert chassis.read(PID_FILE).strip().isdigit()


def test_with_the_ready_flag_never_set_it_waits_and_opens_no_socket(chassis):
    chassis.start(CONTROLLER_NOT_READY)
    chassis.start_daemon(wait=False)
    # It has come as far as the wait once the action file stands and the flag has been asked for.
    chassis.wait_for(lambda: chassis.exists("/tmp/product/action.gpon"), what="the control files")
    time.sleep(0.5)
    assert chassis.daemon_pids()
    assert not chassis.exists(PID_FILE)
    assert not chassis.exists(VTY_SOCKET)
    assert "connection 0" not in chassis.simctl("connections")
    chassis.simctl("mono-ready", "1")
    chassis.wait_for(chassis.vty_is_up, what="the operator's socket")


def test_actions_are_served_during_the_wait_for_the_controller(chassis):
    chassis.start(CONTROLLER_NOT_READY)
    chassis.start_daemon(wait=False)
    chassis.wait_for(lambda: "dump_slot_info" in chassis.read("/tmp/product/action.gpon", ""), what="action file")
    chassis.write("/tmp/product/action.gpon", "[action]\ndump_slot_info = 1\n")
    chassis.signal_daemon(signal.SIGUSR2)
    chassis.wait_for(lambda: "  proc actions dump_slot_info\r\n" in chassis.stdout(), what="the action")


def test_without_the_option_it_stays_in_the_foreground(chassis):
    chassis.start(QUIET_SCENARIO)
    daemon = chassis.start_daemon()
    assert daemon.poll() is None


@pytest.mark.parametrize("option", ["-d", "--daemon"])
def test_with_the_option_it_goes_to_the_background(chassis, option):
    chassis.start(QUIET_SCENARIO)
    daemon = chassis.start_daemon(option)
    assert daemon.wait(10) == 0
    (pid,) = chassis.daemon_pids()
    inside = chassis.sandbox.processes("gpon")[pid][0]
    assert int(chassis.read(PID_FILE)) == inside
    assert chassis.vty("show slot info").result == 0


def test_an_unknown_option_is_ignored(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon("--frobnicate", "-x", "words")
    assert chassis.vty("show slot info").result == 0
    assert chassis.daemon.poll() is None
    assert "frobnicate" not in chassis.stdout()


@pytest.mark.parametrize(
    "options, said",
    [
        (["--help"], r"Usage: gpon \[-d\|--daemon\]\n"),
        (["--version"], r"gpon 6\.1\nbuilt 20\d\d-\d\d-\d\d \d\d:\d\d:\d\d UTC, commit ([0-9a-f]{10}\+?|unknown), "),
        (["-x", "-d", "words", "--version"], r"gpon 6\.1\n"),
    ],
)
def test_help_and_version_are_answered_before_anything_is_touched(chassis, options, said):
    done = chassis.run("strace", "-f", "-qq", "-e", "trace=%file,%network,%process", "-o", STRACE_FILE, program("gpon"), *options)
    assert done.returncode == 0
    assert re.match(said, done.stdout), done.stdout
    assert done.stderr == ""
    touching = [line for line in chassis.strace_lines() if not re.search(r"O_RDONLY|execve|access\(|readlink|stat|exit|arch_prctl", line)]
    assert touching == []


def test_an_answer_that_cannot_be_written_ends_with_status_1(chassis):
    assert chassis.run("sh", "-c", f"{program('gpon')} --version >/dev/full").returncode == 1


def test_a_second_daemon_ends_with_status_1_at_the_pid_file(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    second = chassis.spawn("second", program("gpon"))
    assert second.wait(20) == 1
    assert len(chassis.daemon_pids()) == 1
    assert chassis.vty("show slot info").result == 0


def test_a_controller_that_refuses_ends_the_start_with_status_1(chassis):
    chassis.start(CONTROLLER_NOT_READY)
    chassis.start_daemon(wait=False)
    chassis.wait_for(lambda: chassis.exists("/tmp/product/action.gpon"), what="the wait")
    chassis.simctl("controller", "off")
    chassis.simctl("env", "mono_ready", "1")
    assert chassis.wait_daemon_exit(20) == 1
    assert chassis.log_lines(r"uclient_connect: sync connect failed:  \d+ Connection refused$")
    assert chassis.log_lines(r"Failed to create uclient$")


@pytest.mark.parametrize("signo", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_a_terminating_signal_ends_it_by_default_action(chassis, signo):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    chassis.wait_log(r"Gpon 6\.1 starting")
    chassis.signal_daemon(signo)
    assert chassis.wait_daemon_exit() in (-signo, 128 + signo)
    assert not chassis.log_lines("Terminating on signal")
    assert not chassis.log_lines("SIGHUP received")


def test_signals_keep_their_stated_dispositions(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    ignored, caught = status_field(chassis, "SigIgn"), status_field(chassis, "SigCgt")
    assert signal_in(ignored, signal.SIGPIPE)
    for signo in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        assert not signal_in(ignored, signo) and not signal_in(caught, signo)
    for signo in (signal.SIGUSR1, signal.SIGUSR2, signal.SIGSEGV, signal.SIGALRM, signal.SIGRTMIN):
        assert signal_in(caught, signo)


def test_files_are_made_with_the_daemons_mask(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    assert int(status_field(chassis, "Umask"), 8) == 0o027


LOG_LINE = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} (debug/20|info/40|notice/60|warning/80|error/100|fatal/120) \[\S+\] \S+ \S+: "


@pytest.mark.parametrize("scenario, cards", [("single-board", 1), ("demo", 2)])
def test_a_clean_start_leaves_no_line_of_a_warning_or_an_error(chassis, scenario, cards):
    chassis.start_snmpd()
    chassis.start(REPO / "sim" / "scenarios" / f"{scenario}.scn")
    chassis.start_daemon()
    # the last stage of the replay of every card
    chassis.wait_record(timeout=90, kind="request", type="cfg-app-notify-recover-result", cfg_prio=480, count=cards)
    # behind what the cards repeat when they are asked for all that they have
    chassis.wait_record(kind="event", type="cfg-slot-sync-end", count=cards)
    chassis.wait_agent()
    lines = chassis.log_lines()
    assert len(lines) > 100
    assert [line for line in lines if not re.match(LOG_LINE, line)] == []
    assert [line for line in lines if re.match(r"\S+ \S+ (warning|error|fatal)/", line)] == []


def test_what_the_platform_does_not_tell_is_a_warning_each(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    assert chassis.log_lines(r"warning/80 \[LIB\] .*: Failed to get env PDT_INFO_CARD_MAC$")
    assert chassis.log_lines(r" (error|fatal)/") == []
