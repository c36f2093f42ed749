"""Messages to and from line cards: the transport and the message layer against a card that is nothing but bytes.

The daemon's place is taken by hal_probe, which makes the calls of the application modules; the card agent is
that of wire_card, raw sockets.
"""

import os
import random
import struct
import subprocess
import threading
import time

import pytest

from chassis import BIN, QUIET_SCENARIO, program
from wire_card import ASYNC, CREATE, DELETE, GET, GET_CURRENT, IPC_ID, REQUEST, SET, Agent, Message, check_heads, onu

OK, FAIL, BAD_PARAM, NOT_SUPPORT, KAVO_ERR = 0, 1000, 1003, 1008, 101001

# Record sizes by where the card comes from.
BY_INDEX = {901: 124, 902: 20, 903: 316, 905: 20, 908: 144, 909: 168, 910: 52, 911: 40, 912: 8, 913: 40, 914: 152,
            915: 80, 916: 128, 917: 52, 918: 896, 921: 32, 924: 248, 925: 168, 926: 40, 928: 76, 929: 24, 930: 280,
            931: 44, 932: 48, 933: 24, 934: 20, 937: 512, 939: 64, 940: 80, 942: 64, 943: 200, 944: 16, 946: 176,
            947: 408, 948: 248, 955: 116, 956: 252, 960: 112, 961: 112, 962: 56, 963: 40, 964: 76, 967: 148}
TEMPLATES = {908, 909, 910, 913, 916, 921, 942, 946, 947, 955, 956, 962, 963}
TO_ALL = {904: 84, 919: 16, 941: 1, 949: 4, 957: 280, 965: 4, 966: 8}
BY_WORD = {906: (128, 124), 907: (92, 88), 945: (92, 88), 950: (96, 0)}
NEVER_SENT = [0, 900, 920, 922, 923, 927, 936, 938, 951, 953, 954, 958, 959, 968, 5000]

class Probe:
    """hal_probe in the sandbox."""

    def __init__(self, chassis):
        env = {**os.environ, "PATH": f"{BIN}:{os.environ['PATH']}", "OV_IPC_CARRIER": "unix"}
        self.process = subprocess.Popen(
            chassis.sandbox.command(program("hal_probe")),
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=env, bufsize=1,
        )
        assert self.line() == "ready"

    def line(self):
        return self.process.stdout.readline().rstrip("\n")

    def start(self, *words):
        self.process.stdin.write(" ".join(map(str, words)) + "\n")
        self.process.stdin.flush()

    def __call__(self, *words):
        self.start(*words)
        return self.line()

    def start_send(self, kind, action, record=b"", mask=0, reply=1):
        self.start("send", kind, action, mask, reply, record.hex() or "00")

    def result(self):
        number, record = self.line().split()
        return int(number), bytes.fromhex(record)

    def receive(self, count, ms=3000):
        self.start("recv", count, ms)
        got = []
        while (line := self.line()) != "end":
            kind, length, *data = line.split()
            got.append((int(kind), int(length), bytes.fromhex(data[0]) if data else b""))
        return got

    def close(self):
        self.process.stdin.close()
        self.process.wait(10)


@pytest.fixture
def card(chassis):
    """An agent on slot 1 of a single board, and the probe with the slot up."""
    chassis.start(QUIET_SCENARIO)
    agent, probe = Agent(chassis, 1), Probe(chassis)
    assert probe("up", 1) == "ok"
    yield agent, probe
    probe.close()


def pattern(size, first=b""):
    return (first + bytes(i % 251 for i in range(size)))[:size]


def test_every_record_travels_whole_to_the_card_of_its_index(card):
    agent, probe = card
    for kind, size in BY_INDEX.items():
        # the protection group's index stands at offset 64; all others begin with theirs
        record = pattern(size, struct.pack(">I", onu(1)))
        probe.start_send(kind, CREATE, record, mask=-1)
        message = agent.receive()
        check_heads(message, kind, size, REQUEST, 1)
        assert (message.action, message.mask) == (CREATE, -1)
        assert message.record[:size] == record, kind
        assert message.record[size:] == bytes(len(message.record) - size)
        agent.reply(message)
        assert probe.result() == (OK, record), kind


def test_the_protection_group_goes_by_the_index_at_offset_64(card):
    agent, probe = card
    record = bytes(64) + struct.pack(">I", 9 << 27 | 1 << 26 | 1 << 21) + bytes(8)
    probe.start_send(952, SET, record)
    message = agent.receive()
    check_heads(message, 952, 76, REQUEST, 1)
    agent.reply(message)
    assert probe.result()[0] == OK


def test_profiles_go_by_the_slot_in_the_record(card):
    agent, probe = card
    for kind, (size, offset) in BY_WORD.items():
        record = bytearray(pattern(size))
        record[offset : offset + 4] = struct.pack(">I", 1)
        probe.start_send(kind, SET, bytes(record))
        message = agent.receive()
        check_heads(message, kind, size, REQUEST, 1)
        agent.reply(message)
        assert probe.result()[0] == OK


def test_messages_to_every_card_do_not_look_at_the_record(card):
    agent, probe = card
    for kind, size in TO_ALL.items():
        probe.start_send(kind, SET, b"\xff" * size)
        message = agent.receive()
        check_heads(message, kind, size, REQUEST, 1)
        agent.reply(message)
        assert probe.result()[0] == OK, kind


def test_templates_go_to_every_card_and_other_records_of_slot_31_to_none(card):
    agent, probe = card
    for kind, size in BY_INDEX.items():
        record = pattern(size, struct.pack(">I", onu(31, 15, 3)))
        probe.start_send(kind, SET, record)
        if kind in TEMPLATES:
            agent.reply(agent.receive())
            assert probe.result()[0] == OK, kind
        else:
            assert probe.result()[0] == KAVO_ERR, kind
    assert agent.nothing_waits()


def test_types_that_are_not_sent_are_refused(card):
    agent, probe = card
    for kind in NEVER_SENT:
        probe.start_send(kind, SET)
        assert probe.result()[0] == BAD_PARAM, kind
    assert agent.nothing_waits()


def test_a_get_brings_the_cards_record_back(card):
    agent, probe = card
    for action in (GET, GET_CURRENT):
        asked = struct.pack(">I", onu(1)) + bytes(20)
        probe.start_send(933, action, asked)
        message = agent.receive()
        answer = asked[:4] + pattern(20)
        agent.reply(message, payload=message.data[80:88] + answer + bytes(16))
        assert probe.result() == (OK, answer)


def test_a_set_does_not_change_the_callers_record(card):
    agent, probe = card
    asked = struct.pack(">I", onu(1)) + bytes(20)
    probe.start_send(933, SET, asked)
    message = agent.receive()
    agent.reply(message, payload=message.data[80:88] + b"\xaa" * 24 + bytes(16))
    assert probe.result() == (OK, asked)


def test_refusals_of_the_card(card):
    agent, probe = card
    for retcode, result in ((1, KAVO_ERR), (1000, KAVO_ERR), (101001, KAVO_ERR), (-5, KAVO_ERR), (1008, NOT_SUPPORT)):
        probe.start_send(903, CREATE, struct.pack(">I", onu(1)))
        agent.reply(agent.receive(), retcode=retcode)
        assert probe.result()[0] == result, retcode


def test_a_get_to_an_absent_card_fails_and_a_set_succeeds_in_silence(card):
    agent, probe = card
    probe("down", 1)
    probe.start_send(933, GET, struct.pack(">I", onu(1)))
    assert probe.result()[0] == FAIL
    probe.start_send(933, SET, struct.pack(">I", onu(1)))
    assert probe.result()[0] == OK
    # to every card there is nobody to ask, and that is no failure
    record = struct.pack(">I", 7)
    probe.start_send(949, GET, record)
    assert probe.result() == (OK, record)
    assert agent.nothing_waits()


def test_a_slot_the_shelf_does_not_have_is_refused(card):
    agent, probe = card
    probe.start_send(903, CREATE, struct.pack(">I", onu(5)))
    assert probe.result()[0] == KAVO_ERR
    assert agent.nothing_waits()


def test_a_message_without_reply_is_one_way(card):
    agent, probe = card
    probe.start_send(908, CREATE, struct.pack(">I", onu(1)), reply=0)
    assert probe.result()[0] == OK
    check_heads(agent.receive(), 908, 144, ASYNC, 2)


BAD_REPLIES = {
    "a reply longer than the request": lambda a, m: a.reply(m, payload=m.data[80:] + bytes(4)),
    "a frame length that lies upwards": lambda a, m: a.reply(m, frame_len=5000),
}


@pytest.mark.parametrize("name", BAD_REPLIES)
def test_replies_that_are_refused(card, name):
    agent, probe = card
    asked = struct.pack(">I", onu(1)) + bytes(20)
    probe.start_send(933, GET, asked)
    BAD_REPLIES[name](agent, agent.receive())
    assert probe.result() == (KAVO_ERR, asked)


ODD_MESSAGES = {
    "another id": lambda a, m: a.reply(m, ipc_id=m.id ^ 1),
    "a request": lambda a, m: a.reply(m, kind=REQUEST),
    "one way": lambda a, m: a.reply(m, kind=ASYNC),
    "nothing at all": lambda a, m: a.send_to(m, b""),
    "three bytes": lambda a, m: a.send_to(m, b"abc"),
    "a wrong head": lambda a, m: a.send_to(m, b"\0" * 200),
    "a head alone": lambda a, m: a.send_to(m, a.frame(m, ipc_id=m.id ^ 1)[:28]),
}


@pytest.mark.parametrize("name", ODD_MESSAGES)
def test_what_is_not_the_reply_is_passed_over_and_the_reply_is_taken(card, name):
    agent, probe = card
    probe.start_send(903, CREATE, struct.pack(">I", onu(1)))
    message = agent.receive()
    ODD_MESSAGES[name](agent, message)
    agent.reply(message)
    assert probe.result()[0] == OK


def test_a_second_reply_is_dropped_by_the_next_request(card):
    agent, probe = card
    probe.start_send(903, CREATE, struct.pack(">I", onu(1)))
    first = agent.receive()
    agent.reply(first, retcode=0)
    agent.reply(first, retcode=1)
    assert probe.result()[0] == OK
    probe.start_send(903, DELETE, struct.pack(">I", onu(1)))
    agent.reply(agent.receive())
    assert probe.result()[0] == OK


def test_a_short_reply_to_a_get_leaves_the_rest_of_the_record(card):
    agent, probe = card
    asked = struct.pack(">I", onu(1)) + bytes(range(100, 120))
    probe.start_send(933, GET, asked)
    message = agent.receive()
    agent.reply(message, payload=message.data[80:88] + asked[:4] + b"\x55" * 4)
    assert probe.result() == (OK, asked[:4] + b"\x55" * 4 + asked[8:])


def test_a_message_length_that_lies_is_bounded(card):
    agent, probe = card
    asked = struct.pack(">I", onu(1)) + bytes(20)
    for nl_len in (0, 3, 16, 0x7FFFFFFF, 0xFFFFFFFF):
        probe.start_send(933, GET, asked)
        agent.reply(agent.receive(), nl_len=nl_len)
        assert probe.result()[0] in (OK, KAVO_ERR)
    probe.start_send(903, CREATE, struct.pack(">I", onu(1)))
    agent.reply(agent.receive())
    assert probe.result()[0] == OK


def test_a_card_that_is_gone_is_a_failed_send_at_once(card):
    agent, probe = card
    agent.sock.close()
    began = time.monotonic()
    probe.start_send(903, CREATE, struct.pack(">I", onu(1)))
    assert probe.result()[0] == KAVO_ERR
    assert time.monotonic() - began < 5


def test_events_are_queued_and_taken_in_order(card):
    agent, probe = card
    for number in range(300):
        agent.event(1, 927, SET, struct.pack(">II", onu(1), number))
    got = probe.receive(300)
    assert [kind for kind, _, _ in got] == [927] * 300
    assert [struct.unpack(">I", data[12:16])[0] for _, _, data in got] == list(range(300))


def test_short_and_lying_events_do_not_reach_the_queue_or_are_cut(card):
    agent, probe = card
    name = b"\0ov_ipc/19111/11101"
    ipc = struct.pack(">7I", IPC_ID, 0, ASYNC, 101, 10101, 7, 1)
    for data in (b"", b"x", ipc, ipc + b"\0" * 35):
        agent.sock.sendto(data, name)
    agent.event(1, 923, SET, b"good")
    assert [kind for kind, _, _ in probe.receive(5, 1000)] == [923]


def test_a_restores_worth_of_messages_arrives_whole(card):
    agent, probe = card
    count = 60000
    seen = []

    def drain():
        for _ in range(count):
            seen.append(struct.unpack(">I", agent.sock.recv(4096)[88 + 140 : 88 + 144])[0])

    reader = threading.Thread(target=drain)
    reader.start()
    assert probe("many", count, 908, CREATE, 0, struct.pack(">I", onu(1)).hex()) == "0"
    reader.join(60)
    assert not reader.is_alive()
    assert seen == list(range(count))


def test_a_driver_command_is_a_text_behind_the_head(card):
    agent, probe = card
    probe.start("driver", "led on")
    message = Message(agent.sock.recv(4096) + bytes(8))
    assert probe.line() == "0"
    assert (message.type, message.kind) == (936, ASYNC)
    assert message.data[80:86] == b"led on" and message.nl_len == 16 + 6


# ---- the real daemon -------------------------------------------------------------------------------


@pytest.fixture
def daemon_with_card(chassis):
    """The real daemon on a single board, with an agent on slot 1."""
    chassis.start(QUIET_SCENARIO)
    agent = Agent(chassis, 1)
    chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"})
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    return chassis, agent


def test_the_daemon_receives_on_a_thread_of_its_own_under_a_lock(daemon_with_card):
    chassis, _ = daemon_with_card
    (pid,) = chassis.daemon_pids()
    names = set()
    for task in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{task}/comm") as comm:
            names.add(comm.read().strip())
    assert "ipc_rcv_111_11101"[:15] in names
    assert chassis.exists("/var/run/ov_ipc_receive_111_11101.lock")


def test_a_flood_of_events_leaves_the_operator_served(daemon_with_card):
    chassis, agent = daemon_with_card
    stop = threading.Event()

    def flood():
        number = 0
        while not stop.is_set() and number < 40960:
            agent.event(1, 927, SET, struct.pack(">II", onu(1), number) + bytes(60))
            number += 1

    sender = threading.Thread(target=flood)
    sender.start()
    answers = [chassis.vty("show slot info").result for _ in range(10)]
    sender.join(30)
    stop.set()
    assert answers == [0] * 10
    assert chassis.vty("show mib table").result == 0
    assert chassis.daemon.poll() is None


def test_wrong_frames_of_a_card_leave_the_daemon_standing(daemon_with_card):
    chassis, agent = daemon_with_card
    name = b"\0ov_ipc/19111/11101"
    good = struct.pack(">7I", IPC_ID, 0, ASYNC, 101, 10101, 7, 1)
    for head in (good, struct.pack(">7I", 1, 2, 3, 4, 5, 6, 7), b""):
        for size in (0, 1, 20, 35, 36, 51, 52, 60, 2048):
            agent.sock.sendto(head + b"\xff" * size, name)
            agent.sock.sendto(head + b"\0" * size, name)
    for kind in (922, 923, 927, 938, 953, 0, 0xFFFF):
        for action in (0, 1, 2, 3, 99, 0xFFFFFFFF):
            agent.event(1, kind, action & 0x7FFFFFFF, b"")
            agent.event(1, kind, action & 0x7FFFFFFF, b"\xff" * 300)
    for _ in range(20):
        assert chassis.vty("show slot info").result == 0
    assert chassis.daemon.poll() is None


def test_events_of_any_bytes_leave_the_daemon_standing(daemon_with_card):
    """Whole events with random records, and damaged frames; the same in every run."""
    chassis, agent = daemon_with_card
    dice = random.Random(13)
    name = b"\0ov_ipc/19111/11101"
    for number in range(4000):
        size = {922: 88, 923: 88, 927: 44, 938: 72, 953: 8}
        kind = dice.choice([*size, dice.randrange(900, 968)])
        record = bytearray(dice.randbytes(size.get(kind, dice.randrange(300))))
        if len(record) >= 4 and dice.random() < 0.7:  # an ONU that may be there
            record[:4] = struct.pack(">I", onu(1, dice.randrange(1, 17), dice.randrange(1, 129)))
        payload = struct.pack(">II", dice.choice([1, 2, 3, 4, 0, 0xFFFFFFFF]), dice.getrandbits(32)) + record
        nl = struct.pack(">IHHII", 16 + len(payload), kind, 0, 0, 1001)
        head = struct.pack(">7IiI", 2, 0, kind, 1, 0, 52 + len(payload), 0, 0, 0)
        data = bytearray(struct.pack(">7I", IPC_ID, 0, ASYNC, 101, 10101, number, number) + head + nl + payload)
        if dice.random() < 0.5:
            for _ in range(dice.randrange(1, 5)):
                data[dice.randrange(28, len(data))] = dice.randrange(256)
            del data[dice.choice([len(data), dice.randrange(len(data) + 1)]) :]
        agent.sock.sendto(data, name)
    for _ in range(5):
        assert chassis.vty("show slot info").result == 0
    assert chassis.daemon.poll() is None


@pytest.mark.skipif(os.path.exists("/proc/net/tipc"), reason="this kernel has TIPC")
def test_a_carrier_that_the_kernel_lacks_ends_the_start(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon(wait=False, env={"OV_IPC_CARRIER": "tipc"})
    assert chassis.wait_daemon_exit(20) == 1
    assert chassis.log_lines("IPC Registration Client message handler failed, exiting!$")


@pytest.mark.skipif(os.path.exists("/proc/net/tipc"), reason="this kernel has TIPC")
def test_without_a_word_on_the_carrier_one_line_says_which_was_taken(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.start_daemon()
    assert len(chassis.log_lines("The kernel has no TIPC: the named IPC runs over Unix sockets$")) == 1
    assert chassis.vty("show slot info").result == 0
