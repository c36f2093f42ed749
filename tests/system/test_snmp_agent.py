"""The SNMP agent: its connection to the master agent, alarms, notifications."""

import concurrent.futures
import re
import signal
import socket
import struct
import threading
import time

import pytest

from chassis import AGENTX_SOCKET, QUIET_SCENARIO, SNMPD_CONF
from notifications import TRAP_SINK, decode_oid, received, start_receiver
from test_alarms import BOARD, Card, connect_daemon
from test_snmp_tables import Master

ENTERPRISE = ".1.3.6.1.4.1.47281"
ALARM = f"{ENTERPRISE}.1.1.1.3.1.1"  # the entry of the active alarm table
ROW = "5.201"  # source 5, code 201
PROFILE = f"{ENTERPRISE}.1.1.1.1.1.7.1"  # the entry of the bandwidth profile table

#: The daemon looks after its master every three seconds; each second, for tests of many losses.
QUICK = "agentXPingInterval 1\n"

LOOP_HELD = 3.0  # seconds: nothing waits for a master but 0.2 s of an attempt; with room for a very busy machine
BACK_AGAIN = 5.0  # seconds: until the tables are registered after the master's return


def start(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()


def configure_agent(chassis, text):
    """The daemon's file of the SNMP library; the machine's own stays as it is."""
    chassis.write("/tmp/agent/quagga.conf", text)
    done = chassis.run("mount", "--bind", "/tmp/agent", "/etc/snmp")
    assert done.returncode == 0, done.stderr


def create_alarm(chassis, row=ROW):
    return chassis.snmpset(f"{ALARM}.10.{row}", "i", 4)


def try_create_alarm(chassis):
    return chassis.snmp("snmpset", f"{ALARM}.10.{ROW}", "i", "4").returncode == 0


def is_served(chassis):
    """Whether the master asks our tables: the row status of the alarm can be read."""
    done = chassis.snmp("snmpget", f"{ALARM}.10.{ROW}", options=("-r", "0", "-t", "1"))
    return "INTEGER: 1" in done.stdout


def wait_served(chassis, timeout=BACK_AGAIN):
    chassis.wait_for(lambda: is_served(chassis), timeout, "the tables to be registered")


class VtyProbe:
    """Runs commands all the time; worst is the longest that one took, in seconds."""

    def __init__(self, chassis):
        self._chassis = chassis
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run)
        self.worst = 0.0
        self.count = 0
        self.error = None

    def _run(self):
        try:
            with self._chassis.open_vty(timeout=60) as session:
                while self.count == 0 or not self._stop.wait(0.01):
                    began = time.monotonic()
                    session("show slot info")
                    self.worst = max(self.worst, time.monotonic() - began)
                    self.count += 1
        except Exception as error:  # shown by the test
            self.error = error

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *exc):
        self._stop.set()
        self._thread.join()
        if exc[0] is None:
            assert self.error is None


def test_connects_to_a_master_that_is_there_and_serves_its_tables(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_snmpd()
    chassis.start_daemon()
    create_alarm(chassis)
    assert chassis.snmpget(f"{ALARM}.10.{ROW}") == {f"{ALARM}.10.{ROW}": "INTEGER: 1"}
    assert f"{ALARM}.10.{ROW}" in chassis.bulkwalk(ENTERPRISE)


def test_connects_to_a_master_that_comes_later(chassis):
    start(chassis)
    chassis.start_snmpd()
    chassis.wait_agent(BACK_AGAIN)
    create_alarm(chassis)


def test_without_a_master_it_says_nothing_again_and_again(chassis):
    chassis.start(QUIET_SCENARIO)
    configure_agent(chassis, QUICK)
    chassis.start_daemon()
    time.sleep(3)  # two or three attempts to connect
    assert len(chassis.log_lines(r"\[SNMP\]")) <= 4


def test_a_start_of_the_agent_while_connected_changes_nothing(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_snmpd()
    chassis.start_daemon()
    create_alarm(chassis)
    before = chassis.bulkwalk(ENTERPRISE)
    for times in range(1, 4):
        chassis.event("start-snmp-agentx")
        chassis.wait_for(lambda: len(chassis.log_lines("Start connecting snmpd.")) == times, what="the start")
    assert chassis.bulkwalk(ENTERPRISE) == before
    assert len(chassis.log_lines("AgentX master agent connected")) == 1


def test_the_library_keeps_off_the_home_and_its_own_directories(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon(strace=True, env={"HOME": "/tmp/home"})
    assert not chassis.strace_lines(r"/tmp/home/\.snmp|/var/lib/snmp|/usr/share/snmp")


def test_the_master_killed_and_started_again(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_snmpd()
    chassis.start_daemon()
    create_alarm(chassis)
    before = chassis.bulkwalk(ENTERPRISE)
    with VtyProbe(chassis) as probe:
        chassis.signal_snmpd(signal.SIGKILL)
        chassis.start_snmpd()
        wait_served(chassis)
    assert probe.worst < LOOP_HELD
    assert chassis.bulkwalk(ENTERPRISE) == before


def test_the_master_killed_and_started_ten_times(chassis):
    chassis.start(QUIET_SCENARIO)
    configure_agent(chassis, QUICK)
    chassis.start_snmpd()
    chassis.start_daemon()
    create_alarm(chassis)
    with VtyProbe(chassis) as probe:
        for _ in range(10):
            chassis.signal_snmpd(signal.SIGKILL)
            chassis.start_snmpd()
            wait_served(chassis)
    assert probe.worst < LOOP_HELD
    assert len(chassis.daemon_pids()) == 1


def test_the_master_restarted_under_load_ten_times(chassis):
    chassis.start(QUIET_SCENARIO)
    configure_agent(chassis, QUICK)
    chassis.start_snmpd()
    chassis.start_daemon()
    create_alarm(chassis)
    stop = threading.Event()

    def walk():
        while not stop.is_set():
            chassis.snmp("snmpbulkwalk", ENTERPRISE, options=("-r", "0", "-t", "1"))

    walker = threading.Thread(target=walk)
    walker.start()
    try:
        with VtyProbe(chassis) as probe:
            for _ in range(10):
                chassis.signal_snmpd(signal.SIGTERM)
                chassis.start_snmpd()
                wait_served(chassis)
    finally:
        stop.set()
        walker.join()
    assert probe.worst < LOOP_HELD


def fill_the_masters_queue(chassis):
    """The connections of others, until a stopped master's queue takes no more; to be kept."""
    waiting = []
    while True:
        other = socket.socket(socket.AF_UNIX)
        other.setblocking(False)
        waiting.append(other)
        try:
            other.connect(str(chassis.path(AGENTX_SOCKET)))
        except BlockingIOError:
            return waiting


@pytest.mark.parametrize("full", [False, True], ids=["", "with a full queue of connections"])
@pytest.mark.parametrize("seconds", [1, 4])
def test_a_master_that_is_stopped_doesnt_hold_the_daemon(chassis, seconds, full):
    """Stopped for less than the daemon waits for it, and for some attempts to connect."""
    chassis.start(QUIET_SCENARIO)
    configure_agent(chassis, QUICK)
    chassis.start_snmpd()
    chassis.start_daemon()
    create_alarm(chassis)
    with VtyProbe(chassis) as probe:
        chassis.signal_snmpd(signal.SIGSTOP)
        others = fill_the_masters_queue(chassis) if full else []
        time.sleep(seconds)
        for other in others:
            other.close()
        chassis.signal_snmpd(signal.SIGCONT)
        wait_served(chassis)
    assert probe.worst < LOOP_HELD


def test_a_master_that_stops_while_tables_are_registered_doesnt_hold_the_daemon(chassis):
    """Many registrations, each of which would wait for its own answer."""
    chassis.start(QUIET_SCENARIO)
    configure_agent(chassis, QUICK)
    chassis.start_daemon()
    created = False
    with VtyProbe(chassis) as probe:
        for _ in range(3):
            chassis.start_snmpd()
            # Its socket is there, and the daemon about to connect: stop it at once, go on later.
            chassis.signal_snmpd(signal.SIGSTOP)
            time.sleep(2)
            chassis.signal_snmpd(signal.SIGCONT)
            chassis.wait_agent(BACK_AGAIN)
            if not created:  # the tables are registered behind that line
                chassis.wait_for(lambda: try_create_alarm(chassis), BACK_AGAIN, "the alarm")
                created = True
            wait_served(chassis)
            chassis.signal_snmpd(signal.SIGKILL)
    assert probe.worst < LOOP_HELD


#: Ways to write the master's address; the last two go to TCP.
ADDRESSES = [None, "/var/agentx/other", "unix:/var/agentx/other", "tcp:127.0.0.1:705", "localhost"]


@pytest.mark.parametrize("address", ADDRESSES)
def test_a_master_that_never_answers_doesnt_hold_the_daemon(chassis, address):
    chassis.start(QUIET_SCENARIO)
    configure_agent(chassis, QUICK + (f"agentXSocket {address}\n" if address else ""))
    # Takes connections and says nothing.
    chassis.run("mkdir", "-p", "/var/agentx")
    at = {None: f"'{AGENTX_SOCKET}'", "localhost": "('127.0.0.1', 705)"}.get(address)
    at = at or ("('127.0.0.1', 705)" if address.startswith("tcp") else f"'{address.removeprefix('unix:')}'")
    mute = chassis.spawn(
        "mute",
        "python3",
        "-c",
        f"import socket; at = {at}\n"
        "s = socket.socket(socket.AF_UNIX if isinstance(at, str) else socket.AF_INET); s.bind(at); s.listen(1)\n"
        "print('listens', flush=True); kept = []\nwhile True: kept.append(s.accept())",
    )
    chassis.wait_for(lambda: "listens" in chassis.output("mute"), what="the mute master")
    began = time.monotonic()
    chassis.start_daemon()
    started = time.monotonic() - began
    with VtyProbe(chassis) as probe:
        chassis.wait_log("master agent doesn't answer", 10)
    assert mute.poll() is None
    assert probe.worst < LOOP_HELD
    assert started < 5


def answer_slowly(master, seconds):
    """Answers each request of the daemon after some time, to the end of the connection; how many it registered."""
    registered = 0
    try:
        while True:
            kind, packet, _ = master.receive()
            time.sleep(seconds)
            registered += kind == 3
            if kind != master.RESPONSE:
                master.answer(packet)
    except (AssertionError, OSError):
        return registered


def test_a_slow_master_is_reached_in_one_connection(chassis):
    chassis.start(QUIET_SCENARIO)
    master = Master(chassis)
    with concurrent.futures.ThreadPoolExecutor() as pool:
        def serve():
            master.connection, _ = master.listener.accept()
            master.connection.settimeout(30)
            return answer_slowly(master, 0.02)

        registered = pool.submit(serve)
        chassis.start_daemon()
        with VtyProbe(chassis) as probe:
            chassis.wait_agent(20)  # 65 tables and more, at 20 ms each
        master.connection.shutdown(socket.SHUT_RDWR)
        assert registered.result() >= 65
    assert probe.worst < LOOP_HELD
    assert not chassis.log_lines("connection given up")


def test_half_a_request_of_the_master_waits_for_its_rest(chassis):
    chassis.start(QUIET_SCENARIO)
    master = Master(chassis)
    chassis.start_daemon()
    master.accept()
    chassis.wait_agent(15)
    name = f"{PROFILE}.7.1".strip(".").split(".")
    search = struct.pack(master.order + f"BBBB{len(name)}I", len(name), 0, 1, 0, *map(int, name)) + bytes(4)
    get = struct.pack(master.order + "BBBBIIII", 1, 5, 0x10 if master.order == ">" else 0, 0, 7, 55, 999, len(search)) + search
    with VtyProbe(chassis) as probe:
        master.connection.sendall(get[:30])
        chassis.wait_for(lambda: probe.count > 50, what="an operator to be served")
        master.connection.sendall(get[30:])
        while True:
            kind, packet, _ = master.receive()
            if kind == master.RESPONSE:
                break
            master.answer(packet)
        assert packet[2] == 999
    assert probe.worst < LOOP_HELD
    assert not chassis.log_lines("connection given up")


def test_alarms_run_without_a_master(chassis):
    """A changed table becomes the platform's mark in the next cycle of six seconds."""
    chassis.start(QUIET_SCENARIO + "env OV_APP_FLAG_SYS_OPSTATUS 1\n")
    chassis.start_daemon(env={"OV_PDT_RUN_FILE_MIBAVE_FLAG": "/tmp/mark"})
    assert not chassis.exists("/tmp/mark")
    chassis.start_snmpd()
    chassis.wait_agent(BACK_AGAIN)
    chassis.snmpset(f"{PROFILE}.2.77", "s", "a", f"{PROFILE}.7.77", "i", 4)
    chassis.signal_snmpd(signal.SIGKILL)
    chassis.wait_for(lambda: chassis.read("/tmp/mark", missing="").startswith("1"), 8, "the mark")


def test_sigalrm_stays_with_the_crash_handler(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    time.sleep(1.5)  # alarms of the library are pending and have run
    assert chassis.daemon.poll() is None
    chassis.signal_daemon(signal.SIGALRM)
    assert chassis.wait_daemon_exit() in (-signal.SIGKILL, 128 + signal.SIGKILL)
    assert "SIGALRM" in chassis.read("/app/crash/CRASH.LOG") or "signal 14" in chassis.read("/app/crash/CRASH.LOG")


# ---- notifications ---------------------------------------------------------------------------------------------

def alarm_notifications(chassis):
    return [n for n in received(chassis) if decode_oid(n[1][2]) == f"{ENTERPRISE}.1.1.2.0.30"]


def start_with_receiver(chassis):
    chassis.start(QUIET_SCENARIO)
    start_receiver(chassis)
    chassis.start_snmpd(SNMPD_CONF + TRAP_SINK)
    chassis.start_daemon()


def test_a_change_of_an_active_alarm_reaches_the_manager(chassis):
    start_with_receiver(chassis)
    began = int(time.time())
    chassis.snmpset(f"{ALARM}.10.{ROW}", "i", 4, f"{ALARM}.4.{ROW}", "s", "GPON")
    (notification,) = chassis.wait_for(lambda: alarm_notifications(chassis), 5, "the notification")
    names = [name for name, _, _ in notification]
    assert names[1] == ".1.3.6.1.6.3.1.1.4.1.0"
    assert names[2:] == [f"{ALARM}.{n}" for n in range(1, 11)] + [f"{ENTERPRISE}.1.1.2.0.1.0"]
    assert notification[5][2] == b"GPON".ljust(32, b"\0")
    _, kind, seconds = notification[-1]
    assert kind == 0x43  # TimeTicks
    assert began <= int.from_bytes(seconds, "big") <= time.time() + 1


def test_a_change_of_any_other_table_sends_nothing(chassis):
    start_with_receiver(chassis)
    chassis.snmpset(f"{PROFILE}.2.77", "s", "a", f"{PROFILE}.7.77", "i", 4)
    create_alarm(chassis)  # comes behind whatever was sent before
    chassis.wait_for(lambda: alarm_notifications(chassis), 5, "the notification")
    ours = [n for n in received(chassis) if decode_oid(n[1][2]).startswith(ENTERPRISE)]
    assert len(ours) == 1


# A storm of alarms, of which most notifications wait for the master when it is stopped.
STORM = range(1000, 5000)


@pytest.fixture
def storm(chassis):
    """A card whose alarms are about to be due, and a master that doesn't take their notifications."""
    chassis.start(BOARD)
    start_receiver(chassis)
    chassis.start_snmpd(SNMPD_CONF + TRAP_SINK)
    connect_daemon(chassis)
    wait_for_agent(chassis)
    card = Card(chassis)
    card.report_many(STORM)
    chassis.wait_for(lambda: len(alarm_notifications(chassis)) > 0, 8, "the first notification")
    chassis.signal_snmpd(signal.SIGSTOP)
    return card


def wait_for_agent(chassis):
    chassis.wait_agent(BACK_AGAIN)


def notified(chassis):
    """The sources, in the order of their notifications."""
    return [int.from_bytes(n[2][2], "big") for n in alarm_notifications(chassis)]


def test_notifications_that_wait_for_a_slow_master_all_arrive(chassis, storm):
    with VtyProbe(chassis) as probe:
        time.sleep(0.2)  # less than the daemon waits for an answer
        chassis.signal_snmpd(signal.SIGCONT)
        chassis.wait_for(lambda: chassis.output("receiver").count("\n") > len(STORM), 15, "the notifications")
    assert sorted(notified(chassis)) == list(STORM)
    assert not chassis.log_lines("notifications are lost")
    assert probe.worst < LOOP_HELD


@pytest.mark.parametrize("restart", [True, False], ids=["killed", "stopped and continued"])
def test_notifications_that_wait_when_the_connection_ends_are_lost_and_later_ones_arrive(chassis, storm, restart):
    with VtyProbe(chassis) as probe:
        if restart:
            chassis.signal_snmpd(signal.SIGKILL)
            chassis.start_snmpd(SNMPD_CONF + TRAP_SINK)
        else:
            chassis.wait_log("connection given up", 2 * BACK_AGAIN)
            chassis.signal_snmpd(signal.SIGCONT)
        chassis.wait_agent(2 * BACK_AGAIN, connections=2)
        storm.report(77)
        chassis.wait_for(lambda: 77 in notified(chassis), 10, "the notification of a later alarm")
    # Each once, and the later one last: nothing of before comes after it.
    sources = notified(chassis)
    assert sources[-1] == 77 and len(set(sources)) == len(sources) < len(STORM)
    # What still waited is told; a fast master may have had all of it, and took what it hadn't sent with it.
    lines = chassis.log_lines("notifications are lost with the master agent's connection")
    told = sum(int(re.search(r"(\d+) notifications", line)[1]) for line in lines)
    assert len(lines) == (1 if told else 0)
    assert told <= len(STORM) + 1 - len(sources)
    # The table has what the manager wasn't told.
    states = [name for name in chassis.bulkwalk(f"{ALARM}.10") if name.startswith(f"{ALARM}.10.")]
    assert len(states) == len(STORM) + 1
    assert probe.worst < LOOP_HELD
