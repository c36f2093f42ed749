"""Alarms of the line cards: hold-off, active alarm table, notifications, file and fault LED, in real time.

A raise waits 3 s and a clear 10 s, counted in ticks of one second, so what a test waits for comes up to a second
earlier or, on a busy machine, later.
"""

import re
import socket
import struct
import threading
import time

import pytest

from chassis import BUILD, CONTROL_SOCKET, SNMPD_CONF
from notifications import TRAP_SINK, decode_oid, received, start_receiver
from test_hal import ASYNC, SET, Agent, check_heads

# A single board: slot 1 is control card and line card at once.
BOARD = """
env PDT_INFO_SHELF_TYPE 52
env PDT_INFO_CARD_SLOTID 1
env active 1
card-board 1
card 1 add
mono-ready 1
"""

ENTERPRISE = ".1.3.6.1.4.1.47281"
ENTRY = f"{ENTERPRISE}.1.1.1.3.1.1"
FILE = "/var/run/product/mibdata/sActiveAlarmTable.mib"
US = "\x1f"

RAISE, CLEAR = 1, 2
PON_LOS, ETH_LOS, ONU_OFF = 101, 102, 201
ACTIVE, DESTROY = 1, 6
INTEGER, UNSIGNED, OCTETS, TIMETICKS = 0x02, 0x42, 0x04, 0x43
MARGIN = 60.0  # seconds for a machine that does other things as well


class Card:
    """Reports of the line card, and what came of them."""

    def __init__(self, chassis):
        self.chassis = chassis

    def report(self, source, code=ONU_OFF, state=RAISE, **fields):
        self.chassis.card_event(1, "trap", AlarmTableAlarmSource=source, AlarmTableAlarmCode=code,
                                AlarmTableAlarmState=state, **fields)  # fmt: skip

    def report_many(self, sources, states=(RAISE,)):
        """For each source these states, as fast as the chassis can, over one control session."""
        lines = [
            f"card-event 1 trap AlarmTableAlarmSource={source} AlarmTableAlarmCode={ONU_OFF} AlarmTableAlarmState={state}\n"
            for source in sources
            for state in states
        ]
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as control:
            control.connect(str(self.chassis.path(CONTROL_SOCKET)))
            writer = threading.Thread(target=control.sendall, args=["".join(lines).encode()])
            writer.start()
            with control.makefile("r") as answers:
                done = 0
                while done < len(lines):
                    line = answers.readline()
                    assert line and not line.startswith("error"), line
                    done += line == "ok\n"
            writer.join()

    def notices(self, source):
        """The notifications of a source: [{column: (type, value)}]."""
        return [n for n in map(columns, alarm_notifications(self.chassis)) if n[1][1] == source]

    def states(self, source):
        """State and row status of each notification of a source."""
        return [(n[8][1], n[10][1]) for n in self.notices(source)]

    def led(self):
        """Whether the fault LED was last said to be "on" or "off"."""
        return self.chassis.log_lines(r"Turn (on|off) the Fault LED")[-1].split("Turn ")[1].split()[0]

    def led_messages(self):
        """How many the board got."""
        return len(self.chassis.records(kind="card-request", type="OV_HAL_MSG_GPON_DRV_LED"))


def alarm_notifications(chassis):
    return [n for n in received(chassis) if decode_oid(n[1][2]) == f"{ENTERPRISE}.1.1.2.0.30"]


def columns(notification):
    """{column: (type, value)} of a notification of an alarm."""
    found = {}
    for name, kind, value in notification:
        if name.startswith(ENTRY + "."):
            signed = kind == INTEGER
            found[int(name.rsplit(".", 1)[1])] = (
                kind, value if kind == OCTETS else int.from_bytes(value, "big", signed=signed))  # fmt: skip
    return found


def table(chassis):
    """Source and code of each line of the file, in its order."""
    return [tuple(map(int, line.split(US)[:2])) for line in chassis.read(FILE, missing="-").splitlines() if US in line]


def connect_daemon(chassis):
    chassis.start_daemon()
    since = chassis.mark()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    chassis.event("slot-add", slot_id=1, card_type=1)
    chassis.event("slot-active", slot_id=1, card_type=1)
    chassis.wait_log(r"active slot 1 message channel\.$")
    return since


@pytest.fixture
def card(chassis):
    chassis.start(BOARD)
    start_receiver(chassis)
    chassis.start_snmpd(SNMPD_CONF + TRAP_SINK)
    connect_daemon(chassis)
    return Card(chassis)


def wait(chassis, condition, seconds, what):
    chassis.wait_for(condition, seconds + MARGIN, what)


def test_the_life_of_alarms(card, chassis):
    began = time.monotonic()
    wall = int(time.time())
    # 1: raised. 2: raised and cleared. 3: cleared, never raised. 4: raised again and again. 5, 6: no such state.
    card.report(1, PON_LOS, AlarmTableAlarmSourceType=5, AlarmTableSystemType="GPON", AlarmTableAlarmSeverity=4,
                AlarmTableAlarmType=1, AlarmTableAlarmProbableCause="x" * 32)  # fmt: skip
    card.report(2)
    card.report(2, state=CLEAR)
    card.report(3, state=CLEAR)
    card.report(5, state=0)
    card.report(6, state=3)
    for source in (7, 8, 9, 10):
        card.report(source)
    card.report(11, ETH_LOS)
    while time.monotonic() < began + 5:
        card.report(4)
        time.sleep(0.2)
    assert card.notices(4) == []
    last_of_4 = time.monotonic()
    card.report(4)
    wait(chassis, lambda: card.notices(4), 3, "alarm 4")
    assert time.monotonic() - last_of_4 >= 2.0

    assert {source: card.states(source) for source in range(1, 12)} == {
        1: [(RAISE, ACTIVE)], 2: [], 3: [], 4: [(RAISE, ACTIVE)], 5: [(0, ACTIVE)], 6: [(3, ACTIVE)],
        7: [(RAISE, ACTIVE)], 8: [(RAISE, ACTIVE)], 9: [(RAISE, ACTIVE)], 10: [(RAISE, ACTIVE)],
        11: [(RAISE, ACTIVE)]}  # fmt: skip
    (notice,) = card.notices(1)
    stamp = notice.pop(9)
    assert notice == {
        1: (UNSIGNED, 1), 2: (INTEGER, PON_LOS), 3: (INTEGER, 5), 4: (OCTETS, b"GPON".ljust(32, b"\0")),
        5: (INTEGER, 4), 6: (INTEGER, 1), 7: (OCTETS, b"x" * 32), 8: (INTEGER, RAISE), 10: (INTEGER, ACTIVE),
    }  # fmt: skip
    assert stamp[0] == UNSIGNED and wall <= stamp[1] <= wall + MARGIN
    assert card.led() == "on"
    made = 9  # rows, each with a word to the LED
    wait(chassis, lambda: card.led_messages() == made, 1, "the LED's messages")

    # 7: cleared. 8: cleared and raised. 9: raised once more. 10: cleared twice. 11: cleared, while 1 stands.
    began = time.monotonic()
    for source in (7, 8, 10):
        card.report(source, state=CLEAR)
    card.report(8, state=RAISE)
    card.report(11, ETH_LOS, CLEAR)
    card.report(9)
    wait(chassis, lambda: card.states(9) == [(RAISE, ACTIVE)] * 2, 3, "alarm 9 once more")
    assert card.notices(9)[1][9][1] > card.notices(9)[0][9][1]
    assert card.led_messages() == made  # a row that stood already is none of the LED's business
    again = time.monotonic()
    card.report(10, state=CLEAR)
    gone = [(RAISE, ACTIVE), (CLEAR, ACTIVE), (CLEAR, DESTROY)]
    wait(chassis, lambda: card.states(7) == gone, 10, "alarm 7 to be cleared")
    assert time.monotonic() - began >= 9.0
    wait(chassis, lambda: card.states(11) == gone, 1, "alarm 11 to be cleared")
    assert card.led() == "on"  # 1 stands
    wait(chassis, lambda: card.states(10) == gone, 4, "alarm 10 to be cleared")
    assert time.monotonic() - again >= 9.0
    assert card.states(8) == [(RAISE, ACTIVE)]
    assert card.states(3) == [] and card.states(2) == []
    # The file is written behind the notifications.
    standing = [(1, PON_LOS), *((source, ONU_OFF) for source in (4, 5, 6, 8, 9))]
    wait(chassis, lambda: table(chassis) == standing, 2, "the file without alarm 10")

    # The rows stand in the table as a manager reads it.
    row = chassis.snmpget(*(f"{ENTRY}.{column}.1.101" for column in (3, 4, 8, 10)))
    assert list(row.values()) == ["INTEGER: 5", 'STRING: "GPON"', "INTEGER: 1", "INTEGER: 1"]

    # They survive the daemon, which knows them: the last clear puts the LED out.
    chassis.kill_daemon()
    connect_daemon(chassis)
    assert chassis.vty_is_up()
    for source, code in table(chassis):
        card.report(source, code, CLEAR)
    wait(chassis, lambda: card.states(1)[1:] == gone[1:] and card.states(9)[2:] == gone[1:], 10, "all clears")
    wait(chassis, lambda: table(chassis) == [], 1, "an empty file")
    assert card.led() == "off"


def test_reports_that_cannot_be_right(card, chassis):
    for source in (0, 4294967295, 0x0A010000):
        for code in (0, 4294967295, 999999):
            card.report(source, code, AlarmTableAlarmSourceType=99, AlarmTableAlarmSeverity=4294967295)
    card.report("gpon-onu1/3:12", 7)
    chassis.simctl("card-event", 1, "trap", "action=1", "AlarmTableAlarmSource=77", "AlarmTableAlarmState=1")
    chassis.simctl("card-event", 1, "trap", "action=2", "AlarmTableAlarmSource=77", "AlarmTableAlarmState=1")
    for size in (0, 1, 68):  # 16 spare bytes follow
        chassis.simctl("card-frame", 1, "type=923", "action=3", f"body=zeros:{size}")
    wait(chassis, lambda: len(table(chassis)) >= 10, 3, "the table")
    wait(chassis, lambda: len(alarm_notifications(chassis)) == 10, 1, "ten notifications")
    assert not [row for row in table(chassis) if row[0] == 77]
    assert [row for row in table(chassis) if row[0] == 0] == [(0, 0), (0, 999999), (0, -1)]
    assert chassis.daemon.poll() is None


def test_the_tick_runs_without_a_master_agent(chassis):
    chassis.start(BOARD)
    connect_daemon(chassis)
    Card(chassis).report(5)
    wait(chassis, lambda: table(chassis) == [(5, ONU_OFF)], 3, "the alarm")


def test_the_fault_led_goes_out_as_two_bytes(chassis):
    chassis.start(BOARD.replace("card 1 add\n", ""))
    board = Agent(chassis, 1)  # in the card's place: its bytes as they are
    connect_daemon(chassis)

    def report(state):
        texts = b"GPON".ljust(32, b"\0"), b"fibre".ljust(32, b"\0")
        board.event(1, 923, SET, struct.pack(">III32sII32sI", 9, PON_LOS, 5, texts[0], 4, 1, texts[1], state))

    def led():
        board.sock.settimeout(10 + MARGIN)
        while (message := board.receive()).type != 935:
            pass
        check_heads(message, 935, 2, ASYNC, 2)
        assert (message.action, message.mask) == (SET, 0)
        assert message.record[2:] == bytes(len(message.record) - 2)
        return tuple(message.record[:2])

    report(RAISE)
    assert led() == (2, 0)  # the fault LED, on
    report(CLEAR)
    assert led() == (2, 1)  # off


def test_a_storm_loses_no_alarm_and_no_notification(card, chassis):
    sources = range(1000, 6000)
    card.report(1, PON_LOS)
    card.report_many(sources)
    wait(chassis, lambda: len(table(chassis)) == 5001, 8, "5001 rows")
    wait(chassis, lambda: chassis.output("receiver").count("\n") >= 5002, 10, "the notifications")
    seen = {columns(n)[1][1] for n in alarm_notifications(chassis)}
    assert seen == {1, *sources}
    assert not chassis.log_lines(r"connection given up")
    types = chassis.card(1, type="onu")["types"]
    assert types["OV_HAL_MSG_GPON_DRV_LED"] == {"set": 5001}
    assert chassis.vty("show slot info").result == 0


def test_a_storm_of_events_that_cancel_each_other_leaves_nothing(card, chassis):
    (pid,) = chassis.sandbox.processes("gpon")
    sources = range(1000, 3000)

    def memory():
        status = open(f"/proc/{pid}/status").read()
        return int(re.search(r"VmRSS:\s+(\d+)", status)[1])

    def go():
        card.report_many(sources, (RAISE, CLEAR))

    go()
    first = memory()
    for _ in range(5):
        go()
    if BUILD.name != "asan":  # it keeps what is freed for a while
        assert memory() < first + 4096  # kB
    time.sleep(4)
    assert table(chassis) == [] and alarm_notifications(chassis) == []
