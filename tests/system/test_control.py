"""The daemon and the system controller: events, bad frames, lost connections."""

import os
import signal

import pytest

from chassis import QUIET_SCENARIO


@pytest.fixture
def running(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    return chassis


def slot_line(chassis, slot=1):
    lines = chassis.vty("show slot info").splitlines()
    return next(line.split() for line in lines if line.split()[:1] == [str(slot)])


def still_serves(chassis):
    assert chassis.vty("show slot info").result == 0
    assert chassis.daemon.poll() is None


def test_a_whole_single_board_start(chassis):
    chassis.start()
    chassis.start_daemon()
    chassis.wait_log(r"process slot 1 add\.$")
    chassis.wait_log(r"Process slot 1 operation up\.$")
    chassis.wait_log(r"Start connecting snmpd\.$")
    chassis.wait_log(r"Process slot 1 recovery for feature 30047\.$")
    still_serves(chassis)


def test_slot_events_show_in_the_slot_table(running):
    running.event("slot-add", slot_id=1, card_type=77)
    running.wait_log(r"process slot 1 add\.$")
    assert slot_line(running)[2] == "77"
    running.event("slot-active", slot_id=1, card_type=77)
    running.wait_log(r"Process slot 1 operation up\.$")
    running.wait_log(r"active slot 1 message channel\.$")
    assert slot_line(running)[4] == "yes"
    running.event("slot-deactive", slot_id=1, card_type=77)
    running.wait_log(r"Process slot 1 operation down\.$")
    running.wait_log(r"deactive slot 1 message channel\.$")
    assert slot_line(running)[4] == "-"
    running.event("slot-remove", slot_id=1, card_type=77)
    running.wait_log(r"process slot 1 type 77 remove\.$")
    assert slot_line(running)[2] == "-"


def test_recovery_marks_the_slot_as_synching(running):
    running.event("slot-add", slot_id=1, card_type=1)
    running.event("cfg-slot-sync-start", appid=30047, slotid=1, cfg_prio=300, appName="gpon")
    running.wait_log(r"Process slot 1 recovery for feature 30047\.$")
    assert slot_line(running)[5] == "yes"
    running.event("cfg-slot-sync-end", slotid=1)
    running.wait_log(r"Process slot 1 recovery end\.$")


def test_port_events_reach_their_handlers(running):
    running.event("new-if", ifindex="gpon-olt1/3", flags="up")
    running.event("if-admin", ifindex="gpon-olt1/3", flags="up")
    running.wait_log(r"gpon-olt1/3 admin up$")
    running.event("if-admin", ifindex="gpon-olt1/3", flags=0)
    running.wait_log(r"gpon-olt1/3 admin down$")
    running.event("if-status", ifindex="gpon-olt1/3", flags="up+running")
    running.wait_log(r"gpon-olt1/3 operation up$")
    running.event("if-status", ifindex="gpon-olt1/3", flags="up")
    running.wait_log(r"gpon-olt1/3 operation down$")


def test_a_port_that_nobody_announced_is_unknown(running):
    running.event("if-admin", ifindex="gpon-olt1/9", flags="up")
    running.wait_log(r"gpon_admin_if: unknonw interface: ")
    still_serves(running)


def test_when_an_event_connection_is_closed_the_daemon_keeps_running(running):
    running.simctl("close", "async")
    running.wait_log(r"Connection closed, exiting\.\.\.$")
    still_serves(running)


def test_a_further_event_connection_is_accepted_after_a_loss(running):
    running.simctl("close", "async")
    running.wait_log(r"Connection closed, exiting\.\.\.$")
    running.simctl("connect-async")
    running.event("slot-add", slot_id=1, card_type=5)
    running.wait_log(r"process slot 1 add\.$")


def test_several_event_connections_at_once(running):
    running.simctl("connect-async")
    running.event("slot-add", slot_id=1, card_type=5)
    running.wait_log(r"process slot 1 add\.$")
    still_serves(running)


def test_when_the_controller_dies_the_daemon_keeps_running(running):
    for pid in running.sandbox.processes("chassis-sim"):
        os.kill(pid, signal.SIGKILL)
    running.wait_log(r"Connection closed, exiting\.\.\.$")
    still_serves(running)
    assert running.vty("show mib table").result == 0


BAD_FRAMES = {
    "version 2": (["version=2", "type=45"], r"msg_read: API protocol version mismatch$"),
    "length 4097": (["type=45", "length=4097"], r"msg_read: length is too long$"),
}


@pytest.mark.parametrize("name", BAD_FRAMES)
def test_a_bad_frame_costs_its_connection_and_no_more(running, name):
    words, text = BAD_FRAMES[name]
    running.simctl("frame", *words)
    running.wait_log(text)
    running.wait_log(r"Connection closed, exiting\.\.\.$")
    still_serves(running)
    running.simctl("connect-async")
    running.event("slot-add", slot_id=1, card_type=5)
    running.wait_log(r"process slot 1 add\.$")


SLOT_ADD = "012d0008" + "00000000"  # version, type 45, length 8, sequence 0
HALF_FRAMES = {
    "half a header": (SLOT_ADD[:10], r"msg_read: Cannot read message header!$"),
    "a header alone": (SLOT_ADD, r"msg_read: Cannot read message body!$"),
    "half a body": (SLOT_ADD + "01000000", r"msg_read: Cannot read message body!$"),
}


@pytest.mark.parametrize("name", HALF_FRAMES)
def test_half_a_frame_holds_nobody_and_costs_its_connection_after_five_seconds(running, name):
    begun, text = HALF_FRAMES[name]
    half = running.simctl("connect-async")[0].split("=")[1]
    running.simctl("raw", begun, f"conn={half}")
    running.event("slot-add", slot_id=1, card_type=5)  # on the other connection
    running.wait_log(r"process slot 1 add\.$")
    still_serves(running)
    assert not running.log_lines(text)
    running.wait_log(text)
    running.wait_log(r"Connection closed, exiting\.\.\.$")
    running.event("slot-active", slot_id=1, card_type=5)
    running.wait_log(r"Process slot 1 operation up\.$")


def test_frames_in_pieces_on_two_connections_are_each_put_together(running):
    frames = {1: SLOT_ADD + "01000000" + "05000000", 2: SLOT_ADD + "02000000" + "05000000"}
    links = {slot: running.simctl("connect-async")[0].split("=")[1] for slot in frames}
    for at in range(0, len(SLOT_ADD) + 16, 2):
        for slot, link in links.items():
            running.simctl("raw", frames[slot][at : at + 2], f"conn={link}")
    for slot in frames:
        running.wait_log(rf"process slot {slot} add\.$")
    assert not running.log_lines("Connection closed")


def test_a_peer_that_floods_leaves_the_operator_served(running):
    flood = SLOT_ADD.replace("2d", "ff") + "00" * 8  # of a type that nobody knows
    for _ in range(20):
        running.simctl("raw", flood * 200)
        still_serves(running)
    running.event("slot-add", slot_id=1, card_type=5)
    running.wait_log(r"process slot 1 add\.$")


def test_an_unknown_type_is_logged_and_the_connection_goes_on(running):
    for number in (81, 82, 255, 16):
        running.simctl("frame", f"type={number}")
        running.wait_log(rf"uclient_msghandle: Unknown message type: {number}$")
    running.event("slot-add", slot_id=1, card_type=5)
    running.wait_log(r"process slot 1 add\.$")


def test_a_short_body_is_dropped_and_the_connection_goes_on(running):
    running.simctl("frame", "type=47", "body=0000")
    running.wait_log(r"body too short")
    assert not running.log_lines("operation up")
    running.event("slot-active", slot_id=1, card_type=5)
    running.wait_log(r"Process slot 1 operation up\.$")


def test_an_event_without_a_handler_is_dropped_silently(running):
    before = len(running.log_lines())
    running.event("host", name="olt7")
    running.event("slot-add", slot_id=1, card_type=5)
    running.wait_log(r"process slot 1 add\.$")
    assert not [line for line in running.log_lines()[before:] if "olt7" in line or "host" in line.lower()]
