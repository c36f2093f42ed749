"""The simulated line cards, seen by a small daemon that speaks the named IPC."""

import itertools
import json
import socket
import struct
import subprocess
import threading
import time

import pytest

from chassis import REPO, SimctlError

HEADER_ID = 0xFACE01BC
ASYNC, REQUEST, REPLY = 0, 1, 2
CREATE, DELETE, SET, GET, GET_CURRENT = 1, 2, 3, 4, 5

PORT, ONU, RSSI, BW_TYPE, TCONT, GEMPORT, SERVPORT = 901, 903, 904, 907, 908, 909, 910
RMONU_INFO, RM_UNI, UNCFG_ONU, WN_TRAP, PM_PON, PM_ONU, PM_GEM, ONU_STATE = 914, 915, 922, 923, 924, 925, 926, 927
ANI_OPTICS, DRV_LED, DRV_CMD, AUTO_LEARN, TRAP_SYNC, SYNC_END, PROTECT_STATUS = 929, 935, 936, 938, 949, 950, 953
SIZES = {901: 124, 903: 316, 904: 84, 907: 92, 908: 144, 909: 168, 910: 52, 914: 152, 915: 80, 922: 88, 923: 88,
         924: 248, 925: 168, 926: 40, 927: 44, 929: 24, 935: 2, 938: 72, 949: 4, 950: 96, 953: 8}  # fmt: skip

# One card, and a daemon's board in slot 1.
ONE_CARD = "card-board 1\ncard 1 add\n"

# Runs inside the sandbox: makes the daemon's sockets, hands them out and stays away from them.
SOCKETS = """
import socket, array
out = socket.socket(fileno=0)
made = []
for name in ("ov_ipc/19101/11101", "ov_ipc/19111/11101", None):
    s = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    if name: s.bind("\\0" + name)
    made.append(s)
out.sendmsg([b"x"], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [s.fileno() for s in made]))])
"""


def index(kind, slot, port, onu=None, low=0):
    value = kind << 27 | 1 << 26 | slot << 21 | (port - 1) << 15
    return value | ((onu - 1) << 7 if onu else 0) | low


def pon(port=3, slot=1):
    return index(9, slot, port)


def onu_index(onu=12, port=3, slot=1):
    return index(10, slot, port, onu)


def gem_index(gem, onu=12, port=3, slot=1):
    return index(11, slot, port, onu, gem - 1)


def servport_index(number, onu=12, port=3, slot=1):
    return index(12, slot, port, onu, number - 1)


def record(number, *fields):
    """Zeros with (offset, bytes or 32-bit number) put in."""
    body = bytearray(SIZES[number])
    for offset, value in fields:
        value = struct.pack(">I", value & 0xFFFFFFFF) if isinstance(value, int) else value
        body[offset : offset + len(value)] = value
    return bytes(body)


def onu_record(onu=12, serial=b"ABCD\0\0\0\1", mode=1, pw=b"", profile=0, port=3, slot=1):
    return record(ONU, (0, onu_index(onu, port, slot)), (4, b"an ONU"), (72, mode), (76, serial), (85, pw),
                  (136, 1), (304, profile))  # fmt: skip


def tcont_record(tcont=1, onu=12, slot=1):
    return record(TCONT, (0, onu_index(onu, slot=slot)), (4, tcont), (12, b"tcont"))


def gem_record(gem=5, tcont=1, onu=12, slot=1):
    return record(GEMPORT, (0, gem_index(gem, onu, slot=slot)), (72, tcont))


def servport_record(number=1, gem=5, onu=12, slot=1):
    return record(SERVPORT, (0, servport_index(number, onu, slot=slot)), (4, gem_index(gem, onu, slot=slot)))


class Reply:
    def __init__(self, frame):
        self.frame = frame
        (self.header_id, self.version, self.ipc_type, self.service, self.sub_id, self.msg_id, self.msg_num, self.topic,
         self.op, self.cmd, self.count, self.flag, self.msg_len, self.hdr, self.retcode, self.padding, self.nlmsg_len,
         self.type, self.flags, self.seq, self.pid) = struct.unpack(">17I2H2I", frame[:80])  # fmt: skip
        self.payload = frame[80:]
        self.action, self.mask = struct.unpack(">II", self.payload[:8]) if len(self.payload) >= 8 else (None, None)
        self.record = self.payload[8 : 8 + SIZES[self.type]] if self.type in SIZES else self.payload

    def word(self, offset):
        return struct.unpack_from(">I", self.record, offset)[0]

    def u64(self, offset):
        return struct.unpack_from(">Q", self.record, offset)[0]


class FakeDaemon:
    """The daemon's side of the IPC, on the board in slot 1."""

    def __init__(self, chassis):
        ours, theirs = socket.socketpair()
        subprocess.run(chassis.sandbox.command("/usr/bin/python3", "-c", SOCKETS), stdin=theirs, timeout=20, check=True)
        _, fds, _, _ = socket.recv_fds(ours, 1, 3)
        self.replies, self.events, self.out = (socket.socket(fileno=fd) for fd in fds)
        self.replies.settimeout(5)
        self.events.settimeout(5)
        self.ids = itertools.count(1)

    def frame(self, number, action, body, mask=0, reply=True, payload=None, **words):
        if payload is None:
            payload = struct.pack(">II", action, mask) + body + bytes(-len(body) % 4 + 16)
        word = {"header_id": HEADER_ID, "version": 0, "ipc_type": REQUEST if reply else ASYNC, "service": 101,
                "sub_id": 11101, "msg_id": next(self.ids), "msg_num": 1, "topic": 1 if reply else 2, "op": 0,
                "cmd": number, "count": 1, "flag": 0, "msg_len": 52 + len(payload), "hdr": 0, "retcode": 0,
                "padding": 0, "nlmsg_len": 16 + len(payload), "type": number, "flags": 0, "seq": 0,
                "pid": 1001}  # fmt: skip
        word.update(words)
        return struct.pack(">17I2H2I", *word.values()) + payload

    def post(self, frame, slot=1):
        for _ in range(2000):
            try:
                self.out.sendto(frame, f"\0ov_ipc/19101/{10100 + slot}")
                return
            except BlockingIOError:
                time.sleep(0.001)

    def tell(self, number, action, body, slot=1, **words):
        """Without reply."""
        self.post(self.frame(number, action, body, reply=False, **words), slot)

    def ask(self, number, action, body, slot=1, **words):
        self.post(self.frame(number, action, body, **words), slot)
        return self.reply()

    def do(self, number, action, body, slot=1, **words):
        reply = self.ask(number, action, body, slot, **words)
        assert reply.retcode == 0
        return reply

    def reply(self):
        return Reply(self.replies.recv(8192))

    def no_reply(self, seconds=0.2):
        self.replies.settimeout(seconds)
        with pytest.raises(TimeoutError):
            self.replies.recv(8192)
        self.replies.settimeout(5)

    def event(self, number=None):
        """The next event, or the next of this type."""
        while True:
            event = Reply(self.events.recv(8192))
            if number in (None, event.type):
                return event

    def state(self):
        """Index and state of the next state report."""
        event = self.event(ONU_STATE)
        return event.word(0), event.record[4]

    def make_service(self, slot=1):
        """An ONU with a T-CONT, a GEM port and a service port."""
        self.do(ONU, CREATE, onu_record(slot=slot), slot)
        self.do(TCONT, CREATE, tcont_record(slot=slot), slot)
        self.do(GEMPORT, CREATE, gem_record(slot=slot), slot)
        self.do(SERVPORT, CREATE, servport_record(slot=slot), slot)


@pytest.fixture
def daemon(chassis):
    chassis.start(ONE_CARD)
    return FakeDaemon(chassis)


def rows(chassis, name, slot=1):
    return chassis.card(slot)["objects"].get(f"OV_HAL_MSG_GPON_{name}", {"rows": []})["rows"]


# ---- requests ------------------------------------------------------------------------------------------------


def test_a_request_is_answered_to_its_sender_with_its_id(chassis, daemon):
    reply = daemon.do(ONU, CREATE, onu_record())
    assert (reply.header_id, reply.version, reply.ipc_type, reply.service, reply.sub_id) == (
        HEADER_ID, 0, REPLY, 101, 10101)  # fmt: skip
    assert reply.msg_id == 1
    assert (reply.cmd, reply.type, reply.pid) == (ONU, ONU, 1001)
    assert reply.msg_len == len(reply.frame) - 28
    assert reply.nlmsg_len == 316 + 40
    chassis.wait_record(kind="card-request", slot=1, type="onu", action="create", retcode=0, port="gpon-onu1/3:12")


def test_a_message_without_reply_is_carried_out_and_not_answered(chassis, daemon):
    daemon.tell(ONU, CREATE, onu_record())
    chassis.wait_record(kind="card-request", type="onu", ipc="async")
    daemon.no_reply()
    assert len(rows(chassis, "ONU")) == 1


def test_the_card_holds_what_it_was_told(chassis, daemon):
    daemon.make_service()
    (onu,) = rows(chassis, "ONU")
    assert (onu["ifindex"], onu["name"], onu["authAttr"]["sn"]) == (0x54210580 | 0, "an ONU", "ABCD00000001")
    (tcont,) = rows(chassis, "TCONT")
    assert (tcont["tcontId"], tcont["name"]) == (1, "tcont")
    assert rows(chassis, "SERVPORT")[0]["gemIfndex"] == gem_index(5)
    assert chassis.card(1)["objects"]["OV_HAL_MSG_GPON_TCONT"]["key"] == ["onuIfindex", "tcontId"]
    assert chassis.card(1, type="tcont")["objects"].keys() == {"OV_HAL_MSG_GPON_TCONT"}


def test_a_set_changes_only_the_attributes_of_the_mask(chassis, daemon):
    daemon.do(ONU, CREATE, onu_record())
    changed = record(ONU, (0, onu_index()), (4, b"new"), (280, 77), (284, 9))
    daemon.do(ONU, SET, changed, mask=1 << 1 | 1 << 9)  # name, spliterNum
    (onu,) = rows(chassis, "ONU")
    assert (onu["name"], onu["oltRxPw"], onu["spliterNum"]) == ("new", 0, 9)
    assert onu["authAttr"]["sn"] == "ABCD00000001"


def test_a_delete_takes_the_object_away(chassis, daemon):
    daemon.make_service()
    daemon.do(SERVPORT, DELETE, servport_record())
    assert rows(chassis, "SERVPORT") == []
    assert len(rows(chassis, "GEMPORT")) == 1


def test_an_onu_takes_what_stands_below_it_along(chassis, daemon):
    daemon.make_service()
    daemon.do(ONU, CREATE, onu_record(onu=13, serial=b"ABCD\0\0\0\2"))
    daemon.do(TCONT, CREATE, tcont_record(onu=13))
    daemon.do(ONU, DELETE, onu_record())
    assert [row["ifindex"] for row in rows(chassis, "ONU")] == [onu_index(13)]
    assert [row["onuIfindex"] for row in rows(chassis, "TCONT")] == [onu_index(13)]
    assert rows(chassis, "GEMPORT") == rows(chassis, "SERVPORT") == []


def test_a_template_is_held_by_every_card(chassis, daemon):
    template = record(TCONT, (0, index(10, 31, 15, 4)), (4, 2))
    daemon.do(TCONT, CREATE, template)
    gem = record(GEMPORT, (0, index(11, 31, 15, 4, 0)), (72, 2))
    daemon.do(GEMPORT, CREATE, gem)
    assert rows(chassis, "TCONT")[0]["onuIfindex"] == index(10, 31, 15, 4)
    # an ONU bound to a profile has its T-CONTs and GEM ports from the template
    daemon.do(ONU, CREATE, onu_record(profile=4))
    daemon.do(SERVPORT, CREATE, servport_record())


def test_plain_messages_are_taken(chassis, daemon):
    put = struct.pack(">9I", 7, *range(8))
    assert daemon.ask(708, 0, b"", payload=put, flags=1).retcode == 0
    row = chassis.card(1)["objects"]["cosq-map-put"]["rows"][0]
    assert (row["id"], row["cosq"]) == (7, list(range(8)))
    assert daemon.ask(709, 0, b"", payload=put, flags=1).retcode == 0
    assert "cosq-map-put" not in chassis.card(1)["objects"]
    limit = struct.pack(">4I", pon(), 1, 2, 3)
    assert daemon.ask(168, 0, b"", payload=limit, flags=1).retcode == 0
    counters = daemon.ask(97, 0, b"", payload=struct.pack(">I", index(2, 1, 1)) + bytes(292), flags=1)
    assert counters.payload == struct.pack(">I", index(2, 1, 1)) + bytes(292)


def test_a_text_for_the_driver_is_kept(chassis, daemon):
    daemon.tell(DRV_CMD, 0, b"", payload=b"show pon 3")
    chassis.wait_record(kind="card-request", text="show pon 3")
    assert chassis.card(1)["driver_texts"] == ["show pon 3"]


# ---- what is refused -----------------------------------------------------------------------------------------


@pytest.mark.parametrize(
    "reason, words",
    [
        ("header-id", {"header_id": 0xFACE01BD}),
        ("version", {"version": 1}),
        ("ipc-type", {"ipc_type": REPLY}),
        ("sender", {"service": 111}),
        ("sender", {"sub_id": 11200}),
        ("msg-len", {"msg_len": 100}),
        ("nlmsg-len", {"nlmsg_len": 100}),
        ("topic", {"topic": 2}),
        ("cmd", {"cmd": 901}),
        ("packet-header", {"op": 1}),
        ("packet-header", {"count": 2}),
        ("packet-header", {"padding": 1}),
        ("nlmsg-pid", {"pid": 1}),
        ("unknown-type", {"type": 959, "cmd": 959}),
        ("unknown-type", {"type": 922, "cmd": 922}),
        ("record-size", {"type": 901, "cmd": 901}),
    ],
)
def test_a_wrong_header_is_refused(chassis, daemon, reason, words):
    daemon.post(daemon.frame(ONU, CREATE, onu_record(), **words))
    refused = chassis.wait_record(kind="refused", slot=1, reason=reason)
    assert refused["retcode"] == "101004"
    assert rows(chassis, "ONU") == []
    if words.keys().isdisjoint({"ipc_type", "service", "sub_id"}):
        assert daemon.reply().retcode == 101004


def test_frames_of_a_wrong_length_are_refused(chassis, daemon):
    whole = daemon.frame(ONU, CREATE, onu_record())
    for cut in (0, 3, 27, 28, 63, 79):
        since = chassis.mark()
        daemon.post(whole[:cut])
        chassis.wait_record(kind="refused", reason="short-frame", since=since)
    daemon.post(whole + bytes(4))
    chassis.wait_record(kind="refused", reason="msg-len")
    daemon.post(whole + bytes(3000))
    chassis.wait_record(kind="refused", reason="long-frame")
    assert daemon.ask(ONU, CREATE, onu_record() + bytes(4)).retcode == 101004
    assert daemon.ask(ONU, CREATE, onu_record()[:-4]).retcode == 101004
    chassis.wait_record(kind="refused", reason="record-size", count=2)


def test_a_wrong_action_or_mask_is_refused(chassis, daemon):
    for action in (0, 6, 1000):
        assert daemon.ask(ONU, action, onu_record()).retcode == 101004
    chassis.wait_record(kind="refused", reason="unknown-action", count=3)
    daemon.do(ONU, CREATE, onu_record())
    assert daemon.ask(ONU, SET, onu_record(), mask=1 << 16).retcode == 101001
    chassis.wait_record(kind="refused", reason="mask")
    assert daemon.ask(TRAP_SYNC, GET, bytes(4)).retcode == 101001
    chassis.wait_record(kind="refused", reason="not-readable")


def test_bytes_behind_the_record_must_be_zero(chassis, daemon):
    payload = struct.pack(">II", CREATE, 0) + onu_record() + bytes(15) + b"x"
    assert daemon.ask(ONU, CREATE, b"", payload=payload).retcode == 101004
    chassis.wait_record(kind="refused", reason="spare-bytes")


def test_an_object_without_its_parent_is_refused(chassis, daemon):
    def refused(number, body):
        since = chassis.mark()
        assert daemon.ask(number, CREATE, body).retcode == 1001
        chassis.wait_record(kind="refused", reason="missing-parent", since=since)

    refused(TCONT, tcont_record())
    refused(RM_UNI, record(RM_UNI, (0, onu_index())))
    daemon.do(ONU, CREATE, onu_record())
    refused(GEMPORT, gem_record())
    refused(SERVPORT, servport_record())
    daemon.do(TCONT, CREATE, tcont_record(tcont=1))
    refused(GEMPORT, gem_record(tcont=2))
    daemon.do(GEMPORT, CREATE, gem_record(tcont=1))
    refused(SERVPORT, servport_record(gem=6))
    daemon.do(SERVPORT, CREATE, servport_record(gem=5))
    assert chassis.card(1)["reasons"] == {"missing-parent": 6}


def test_what_is_used_cannot_be_deleted(chassis, daemon):
    daemon.make_service()
    assert daemon.ask(TCONT, DELETE, tcont_record()).retcode == 101001
    assert daemon.ask(GEMPORT, DELETE, gem_record()).retcode == 101001
    chassis.wait_record(kind="refused", reason="has-children", count=2)
    daemon.do(SERVPORT, DELETE, servport_record())
    daemon.do(GEMPORT, DELETE, gem_record())
    daemon.do(TCONT, DELETE, tcont_record())


def test_an_object_of_another_slot_is_refused(chassis, daemon):
    assert daemon.ask(ONU, CREATE, onu_record(slot=2)).retcode == 101001
    assert daemon.ask(PORT, SET, record(PORT, (0, pon(slot=31)))).retcode == 101001
    assert daemon.ask(BW_TYPE, CREATE, record(BW_TYPE, (0, 1), (88, 2))).retcode == 101001
    chassis.wait_record(kind="refused", reason="other-slot", count=3)
    daemon.do(BW_TYPE, CREATE, record(BW_TYPE, (0, 1), (88, 1)))
    daemon.do(BW_TYPE, CREATE, record(BW_TYPE, (0, 2), (88, 0)))
    assert [row["id"] for row in rows(chassis, "BW_TYPE")] == [1, 2]


def test_an_index_of_another_kind_is_refused(chassis, daemon):
    assert daemon.ask(ONU, CREATE, record(ONU, (0, pon()))).retcode == 101001
    chassis.wait_record(kind="refused", reason="index-kind")
    assert daemon.ask(ONU, CREATE, record(ONU, (0, onu_index(onu=129)))).retcode == 101001
    chassis.wait_record(kind="refused", reason="index-range")


def test_setting_what_was_never_created_is_refused(chassis, daemon):
    assert daemon.ask(ONU, SET, onu_record(), mask=2).retcode == 1001
    assert daemon.ask(ONU, GET, onu_record()).retcode == 1001
    chassis.wait_record(kind="refused", reason="not-found", count=2)


# ---- reading -------------------------------------------------------------------------------------------------


def test_a_read_gives_what_the_card_holds_and_measures(chassis, daemon):
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3", "distance=4321", "version=V9.8")
    daemon.do(ONU, CREATE, onu_record())
    assert daemon.state() == (onu_index(), 2)
    assert daemon.state() == (onu_index(), 3)
    reply = daemon.do(ONU, GET, record(ONU, (0, onu_index())), mask=1 << 11)
    assert reply.word(292) == 4321
    assert reply.word(276) == 3
    assert reply.record[4:10] == b"an ONU"
    info = daemon.do(RMONU_INFO, GET, record(RMONU_INFO, (0, onu_index())))
    assert info.record[12:16] == b"ABCD"
    assert info.record[17:21] == b"V9.8"
    optics = daemon.do(ANI_OPTICS, GET_CURRENT, record(ANI_OPTICS, (0, onu_index())))
    assert -1900 < struct.unpack_from(">i", optics.record, 4)[0] < -1700


def test_an_onu_that_is_away_cannot_be_read(chassis, daemon):
    daemon.do(ONU, CREATE, onu_record())
    assert daemon.ask(ANI_OPTICS, GET, record(ANI_OPTICS, (0, onu_index()))).retcode == 1009


def test_counters_are_those_of_the_traffic_and_are_cleared_by_a_read(chassis, daemon):
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    daemon.make_service()
    assert daemon.state()[1] == 2 and daemon.state()[1] == 3
    keys = record(PM_GEM, (0, gem_index(5)))
    chassis.simctl("traffic", "ABCD00000001", "gem=5", "up=7", "down=2", "size=100")
    counted = lambda: [daemon.do(PM_GEM, GET, keys).u64(at) for at in (8, 16, 24, 32)]
    assert daemon.do(PM_GEM, GET, keys).word(0) == gem_index(5)
    assert counted() == counted() == [7, 700, 2, 200]
    assert daemon.do(PM_GEM, GET, record(PM_GEM, (0, gem_index(5)), (4, 1))).u64(8) == 7
    assert counted() == [0, 0, 0, 0]
    assert daemon.ask(PM_GEM, GET, record(PM_GEM, (0, gem_index(6)))).retcode == 1001

    chassis.simctl("traffic", "ABCD00000001", "per-second", "gem=5", "up=2000")
    chassis.wait_for(lambda: counted()[0] > 100, what="frames to pass")
    chassis.simctl("onu", "off", "ABCD00000001")
    assert counted() == counted() != [0, 0, 0, 0]
    with pytest.raises(SimctlError, match="is away"):
        chassis.simctl("traffic", "ABCD00000001", "up=1")
    chassis.simctl("onu", "on", "ABCD00000001")
    before = counted()[0]
    chassis.wait_for(lambda: counted()[0] > before, what="frames to pass again")
    chassis.simctl("traffic", "ABCD00000001", "stop", "gem=5")
    assert counted() == counted()
    chassis.simctl("card", 1, "restart")
    assert chassis.card(1)["counters"] == {}


def test_counters_and_traffic_are_shown(chassis, daemon):
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    daemon.make_service()
    assert daemon.state()[1] == 2 and daemon.state()[1] == 3
    chassis.simctl("traffic", "gpon-onu1/3:12", "gem=5", "up=7", "size=100")
    chassis.simctl("errors", "ABCD00000001", "ploam=2")
    chassis.simctl("traffic", "gpon-olt1/4", "per-second", "down=1", "size=64")
    card = chassis.card(1)
    onu, gem = "gpon-onu1/3:12", "gpon-onu1/3:12 gem=5"
    assert card["counters"]["OV_HAL_MSG_GPON_PM_GEM"][gem] == {"rx_packets": 7, "rx_bytes": 700, "tx_packets": 0, "tx_bytes": 0}
    assert card["counters"]["OV_HAL_MSG_GPON_PM_PON"]["gpon-olt1/3"]["rx_ploams_error"] == 2
    assert card["flows"] == [{"target": "gpon-olt1/4", "up": 0, "down": 1, "size": 64}]
    shown = json.loads("".join(chassis.simctl("show", "onu", "ABCD00000001", "--json")))
    assert shown["counters"]["OV_HAL_MSG_GPON_PM_ONU"][onu]["rx_ploams_crc_error"] == 2
    assert list(shown["counters"]["OV_HAL_MSG_GPON_PM_GEM"]) == [gem]
    lines = chassis.simctl("show", "onu", "ABCD00000001")
    assert "counters=pm-gem of=gpon-onu1/3:12 gem=5 rx_packets=7 rx_bytes=700" in lines
    lines = chassis.simctl("show", "card", 1)
    assert any(line.startswith("counters=pm-nni of=gpon-olt1/3 tx_frames_65_127=7 tx_frames=7") for line in lines)
    assert "flow=gpon-olt1/4 up=0 down=1 size=64" in lines
    assert chassis.simctl("show", "port", "gpon-olt1/3")[0].startswith("counters=pm-pon of=gpon-olt1/3 fec_codewords=3 ")
    chassis.simctl("traffic", "gpon-olt1/4", "stop")


def test_counters_go_with_what_they_are_of(chassis, daemon):
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    daemon.make_service()
    assert daemon.state()[1] == 2 and daemon.state()[1] == 3
    kinds = lambda: {name.removeprefix("OV_HAL_MSG_GPON_PM_") for name in chassis.card(1)["counters"]}
    chassis.simctl("traffic", "ABCD00000001", "gem=5", "up=7")
    daemon.do(SERVPORT, DELETE, servport_record())
    daemon.do(GEMPORT, DELETE, gem_record())
    assert kinds() == {"PON", "ONU", "NNI"}
    with pytest.raises(SimctlError, match="no such GEM port"):
        chassis.simctl("traffic", "ABCD00000001", "gem=5", "up=7")
    daemon.do(ONU, DELETE, onu_record())
    assert kinds() == {"PON", "NNI"}


def test_network_ports_have_statistics_that_are_cleared_by_a_message(chassis, daemon):
    ge = index(2, 1, 1)
    ask = lambda number, size: daemon.ask(number, 0, b"", payload=struct.pack(">I", ge) + bytes(size - 4), flags=1).payload
    chassis.simctl("traffic", "ge1/1", "up=20", "down=30", "size=64", "kind=broadcast")
    chassis.simctl("errors", "ge1/1", "crc=3")
    statistics = lambda: struct.unpack(">36Q", ask(97, 296)[8:296])
    found = statistics()
    assert (found[:4], found[8:10], found[14], found[18], found[27]) == ((30, 20, 1920, 1280), (30, 20), 3, 30, 20)
    (text,) = chassis.simctl("show", "port", "ge1/1")[:1]
    assert "rx_packets=30 tx_packets=20" in text
    shown = json.loads("".join(chassis.simctl("show", "port", "ge1/1", "--json")))
    assert shown["port-stat"]["ge1/1"]["rx_fcs_errors"] == 3
    assert shown["OV_HAL_MSG_GPON_PM_NNI"]["ge1/1"]["rx_fcs_errors"] == 3
    ask(96, 56)
    assert statistics() == (0,) * 36
    chassis.simctl("traffic", "ge1/1", "per-second", "up=10", "down=20")
    assert struct.unpack(">2Q", ask(110, 312)[296:312]) == (10240, 5120)


def test_traffic_and_errors_that_cannot_be(chassis, daemon):
    for words in (("traffic", "nobody", "up=1"), ("traffic", "ABCD00000001", "up=1"), ("traffic", "gpon-olt1/3", "gem=5", "up=1"),
                  ("traffic", "gpon-olt1/3"), ("traffic", "gpon-olt1/3", "up=1", "size=63"), ("traffic", "gpon-olt2/3", "up=1"),
                  ("traffic", "gpon-olt1/3", "stop"), ("traffic", "gpon-olt1/3", "now", "up=1"), ("errors", "gpon-olt1/3"),
                  ("errors", "gpon-olt1/3", "rdi=1"), ("errors", "gpon-olt1/3", "fire=1"), ("show", "port", "gpon-olt2/1")):  # fmt: skip
        with pytest.raises(SimctlError):
            chassis.simctl(*words)
    assert chassis.card(1)["counters"] == {}


def test_every_readable_message_is_answered(chassis, daemon):
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    daemon.make_service()
    assert daemon.state()[1] == 2 and daemon.state()[1] == 3
    # messages that are kept before they can be read, and those that never are
    defined = {903: onu_record(), 908: tcont_record(), 909: gem_record(), 910: servport_record()}
    unread = {902, 905, 906, 907, 945, 930, 935, 941, 949, 950, 957, 965, 966, 967}
    sizes = {911: 40, 912: 8, 913: 40, 916: 128, 917: 52, 918: 896, 919: 16, 921: 32, 928: 76,
             931: 44, 932: 48, 933: 24, 934: 20, 937: 512, 939: 64, 940: 80, 942: 64, 943: 200, 944: 16, 946: 176,
             947: 408, 948: 248, 952: 76, 955: 116, 956: 252, 960: 112, 961: 112, 962: 56, 963: 40,
             964: 76, **SIZES}  # fmt: skip
    of_port = {901, 924, 932, 933, 937}
    read = 0
    for line in chassis.simctl("card-types"):
        number = int(line.split()[0])
        if number < 901 or number in unread or number in (922, 923, 927, 938, 953):
            continue
        body = bytearray(defined.get(number, bytes(sizes[number])))
        if number == 952:
            body[64:68] = struct.pack(">I", pon())
        elif number == 926:
            body[:4] = struct.pack(">I", gem_index(5))
        elif number not in defined and number not in (904, 919):
            body[:4] = struct.pack(">I", pon() if number in of_port else onu_index())
        for action in (GET, GET_CURRENT):
            reply = daemon.ask(number, action, bytes(body))
            assert reply.retcode == 0, (line, chassis.records(kind="refused"))
            assert len(reply.payload) == 24 + (len(body) + 3) // 4 * 4
        read += 1
    assert read == 42


# ---- ONUs ----------------------------------------------------------------------------------------------------


def test_an_onu_that_the_card_knows_comes_up_and_goes_down(chassis, daemon):
    daemon.do(ONU, CREATE, onu_record())
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3", "version=V1.2.3", "pw=secret")
    event = daemon.event()
    assert (event.type, event.ipc_type, event.topic, event.action) == (ONU_STATE, ASYNC, 2, SET)
    assert (event.word(0), event.record[4], event.record[29:35]) == (onu_index(), 2, b"secret")
    event = daemon.event()
    assert (event.record[4], event.record[5:11]) == (3, b"V1.2.3")
    assert event.record[20:28] == b"ABCD\0\0\0\1"
    chassis.simctl("onu", "off", "ABCD00000001")
    alarm = daemon.event()
    assert (alarm.type, alarm.word(0), alarm.word(4), alarm.word(84)) == (WN_TRAP, onu_index(), 201, 1)
    assert daemon.state() == (onu_index(), 1)
    chassis.simctl("onu", "on", "ABCD00000001")
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    alarm = daemon.event(WN_TRAP)
    assert (alarm.word(4), alarm.word(84)) == (201, 2)


def test_a_dying_gasp_is_told_apart(chassis, daemon):
    daemon.do(ONU, CREATE, onu_record())
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    chassis.simctl("onu", "gasp", "ABCD00000001")
    assert daemon.event(WN_TRAP).word(4) == 209
    assert chassis.card(1)["alarms"][0]["AlarmTableAlarmCode"] == 209


def test_an_unknown_onu_is_reported_until_the_card_is_told_of_it(chassis, daemon):
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3", "pw=pw1", "loid=me", "loid-pw=it", "model=M1")
    event = daemon.event()
    assert (event.type, event.action, event.word(0)) == (UNCFG_ONU, CREATE, pon())
    assert event.record[8:16] == b"ABCD\0\0\0\1"
    assert event.record[17:21] == b"pw1\0" and event.record[28:31] == b"me\0"
    assert event.record[53:56] == b"it\0" and event.record[66:69] == b"M1\0"
    daemon.do(ONU, CREATE, onu_record())
    gone = daemon.event()
    assert (gone.type, gone.action, gone.word(4)) == (UNCFG_ONU, DELETE, event.word(4))
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    daemon.do(ONU, DELETE, onu_record())
    assert daemon.event(UNCFG_ONU).action == CREATE


def test_an_onu_proves_itself_as_the_card_was_told(chassis, daemon):
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3", "pw=right")
    assert daemon.event().type == UNCFG_ONU
    daemon.do(ONU, CREATE, onu_record(mode=3, pw=b"wrong"))
    assert chassis.card(1)["onus"][0]["state"] == "unconfigured"
    daemon.do(ONU, SET, onu_record(mode=3, pw=b"right"), mask=1 << 2)
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    daemon.do(ONU, SET, onu_record(mode=3, pw=b"other"), mask=1 << 2)
    assert daemon.state() == (onu_index(), 1)
    assert daemon.event(UNCFG_ONU).action == CREATE


def test_a_port_that_learns_offers_the_onu_a_number(chassis, daemon):
    daemon.do(PORT, SET, record(PORT, (0, pon()), (108, b"\1")), mask=1 << 13)
    daemon.do(ONU, CREATE, onu_record(onu=1, serial=b"XXXX\0\0\0\1"))
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3", "model=HG1", "type=hgu")
    event = daemon.event()
    assert (event.type, event.action, event.word(0)) == (AUTO_LEARN, CREATE, onu_index(2))
    assert event.record[4:12] == b"ABCD\0\0\0\1"
    assert event.record[45] == 1 and event.record[46:50] == b"ABCD" and event.record[51:55] == b"HG1\0"
    daemon.do(ONU, CREATE, onu_record(onu=2))
    assert daemon.state() == (onu_index(2), 2)


def test_a_disabled_onu_or_port_goes_down(chassis, daemon):
    daemon.do(ONU, CREATE, onu_record())
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    for number, key, bit, at in ((ONU, onu_index(), 3, 136), (PORT, pon(), 1, 4)):
        daemon.do(number, SET, record(number, (0, key), (at, 0)), mask=1 << bit)
        assert daemon.state() == (onu_index(), 1)
        daemon.do(number, SET, record(number, (0, key), (at, 1)), mask=1 << bit)
        assert [daemon.state()[1], daemon.state()[1]] == [2, 3]


def test_the_card_repeats_its_state_when_asked(chassis, daemon):
    daemon.do(ONU, CREATE, onu_record())
    daemon.do(ONU, CREATE, onu_record(onu=13, serial=b"ABCD\0\0\0\2"))
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    chassis.simctl("onu", "add", "EFGH00000001", "port=gpon-olt1/4")
    chassis.simctl("card-event", 1, "trap", f"AlarmTableAlarmSource={pon()}", "AlarmTableAlarmCode=101",
                   "AlarmTableAlarmState=1")  # fmt: skip
    seen = [daemon.event().type for _ in range(4)]
    assert sorted(seen) == [UNCFG_ONU, WN_TRAP, ONU_STATE, ONU_STATE]
    daemon.tell(TRAP_SYNC, SET, bytes(4))
    again = [daemon.event() for _ in range(4)]
    assert [event.type for event in again] == [WN_TRAP, ONU_STATE, ONU_STATE, UNCFG_ONU]
    assert again[0].word(4) == 101
    assert [(event.word(0), event.record[4]) for event in again[1:3]] == [(onu_index(), 3), (onu_index(13), 1)]


def test_an_onu_that_is_created_again_reports_how_it_is(chassis, daemon):
    daemon.do(ONU, CREATE, onu_record())
    daemon.do(ONU, CREATE, onu_record(onu=13, serial=b"ABCD\0\0\0\2"))
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    for onu, serial, state in ((12, b"ABCD\0\0\0\1", 3), (13, b"ABCD\0\0\0\2", 1)):
        daemon.do(ONU, CREATE, onu_record(onu=onu, serial=serial))
        assert daemon.state() == (onu_index(onu), state)
    daemon.do(ONU, SET, onu_record(), mask=1 << 2)  # who sets something knows the state
    daemon.do(ONU, CREATE, onu_record(serial=b"ABCD\0\0\0\3"))
    assert daemon.state() == (onu_index(), 1)  # once: the ONU that was meant before goes down
    assert daemon.event().type == UNCFG_ONU


def test_an_onu_that_is_created_again_is_on_if_its_record_says_so(chassis, daemon):
    daemon.do(ONU, CREATE, onu_record())
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    off = onu_record()[:136] + bytes(8) + onu_record()[144:]
    on = off[:136] + b"\0\0\0\1" * 2 + off[144:]
    daemon.do(ONU, SET, off, mask=1 << 4)
    assert daemon.state()[1] == 1
    daemon.do(ONU, CREATE, off)
    assert daemon.state()[1] == 1
    assert chassis.card(1)["onus"][0]["state"] == "lost"
    daemon.do(ONU, CREATE, on)
    assert [daemon.state()[1] for _ in range(3)] == [1, 2, 3]


def test_what_a_replay_leaves_out_is_unconfigured_again(chassis, daemon):
    for serial in ("ABCD00000001", "ABCD00000002", "EFGH00000001"):
        chassis.simctl("onu", "add", serial, "port=gpon-olt1/4" if serial[0] == "E" else "port=gpon-olt1/3")
    daemon.make_service()
    daemon.do(ONU, CREATE, onu_record(onu=13, serial=b"ABCD\0\0\0\2"))
    daemon.do(ONU, CREATE, onu_record(onu=1, serial=b"EFGH\0\0\0\1", port=4))
    chassis.wait_for(lambda: {onu["state"] for onu in chassis.card(1)["onus"]} == {"operational"}, what="the ONUs to be up")
    end = record(SYNC_END, (0, 1))

    daemon.do(SYNC_END, SET, end)  # nothing was replayed: nothing was left out
    assert len(rows(chassis, "ONU")) == 3
    daemon.do(PORT, CREATE, record(PORT, (0, pon())))
    daemon.do(ONU, CREATE, onu_record(onu=13, serial=b"ABCD\0\0\0\2"))
    daemon.do(SYNC_END, SET, end)
    assert [row["ifindex"] for row in rows(chassis, "ONU")] == [onu_index(13), onu_index(1, port=4)]
    assert rows(chassis, "TCONT") == rows(chassis, "SERVPORT") == []
    chassis.wait_record(kind="card-event", type="*UNCFG_ONU", action="create", sn="ABCD00000001")
    assert {onu["serial"]: onu["state"] for onu in chassis.card(1)["onus"]} == {
        "ABCD00000001": "unconfigured", "ABCD00000002": "operational", "EFGH00000001": "operational",
    }  # fmt: skip
    daemon.do(SYNC_END, SET, end)  # the replay is over
    assert len(rows(chassis, "ONU")) == 2


# ---- events by command ---------------------------------------------------------------------------------------


@pytest.mark.parametrize(
    "name, number, action, fields, checks",
    [
        ("uncfg", 922, 1, {"ponIfindex": "gpon-olt1/3", "index": 7, "sn": "ABCD00000001"}, {0: pon(), 4: 7}),
        ("uncfg", 922, 2, {"ponIfindex": "gpon-olt1/3", "action": "delete"}, {0: pon()}),
        ("trap", 923, 3, {"AlarmTableAlarmSource": 5, "AlarmTableAlarmState": 2}, {0: 5, 84: 2}),
        ("state", 927, 3, {"onuIfindex": "gpon-onu1/3:12", "states": 3}, {0: onu_index(), 4: 0x03000000}),
        ("learn", 938, 1, {"onuIfindex": "gpon-onu1/3:12"}, {0: onu_index()}),
        ("protect", 953, 3, {"ActivePonIfindex": "gpon-olt1/3", "StandbyPonIfindex": "gpon-olt1/4"},
         {0: pon(3), 4: pon(4)}),
    ],
)  # fmt: skip
def test_every_event_can_be_sent(chassis, daemon, name, number, action, fields, checks):
    chassis.card_event(1, name, **fields)
    event = daemon.event()
    assert (event.type, event.cmd, event.action, event.service, event.sub_id) == (number, number, action, 101, 10101)
    assert (event.nlmsg_len, event.msg_len) == (SIZES[number] + 40, SIZES[number] + 76)
    assert {at: event.word(at) for at in checks} == checks


def test_a_flood_loses_nothing(chassis, daemon):
    chassis.card_event(1, "state", onuIfindex="gpon-onu1/3:12", states=3, count=20000)
    for _ in range(20000):
        daemon.events.recv(512)
    assert chassis.card(1)["events"] == 20000
    chassis.wait_record(kind="card-event", type="onustates-trap", count=1)


def test_frames_that_are_wrong_can_be_sent(chassis, daemon):
    chassis.simctl("card-frame", 1, "type=922", "action=9", "header-id=1", "version=2", "ipc-type=7", "msg-len=5",
                   "nlmsg-len=6", "body=zeros:88", "length=100")  # fmt: skip
    event = daemon.event()
    assert (event.header_id, event.version, event.ipc_type, event.msg_len, event.nlmsg_len, len(event.frame)) == (
        1, 2, 7, 5, 6, 100)  # fmt: skip
    chassis.simctl("card-raw", 1, "face01bc", "count=2")
    assert [daemon.events.recv(100), daemon.events.recv(100)] == [b"\xfa\xce\x01\xbc"] * 2


def test_an_event_without_a_daemon_is_an_error(chassis):
    chassis.start(ONE_CARD)
    with pytest.raises(SimctlError, match="doesn't listen"):
        chassis.card_event(1, "state")


# ---- faults --------------------------------------------------------------------------------------------------


def test_a_fault_is_used_as_often_as_was_said(chassis, daemon):
    chassis.card_fault(1, "code", code=1008, type="onu", times=2)
    assert daemon.ask(TCONT, CREATE, tcont_record()).retcode == 1001
    assert [daemon.ask(ONU, CREATE, onu_record()).retcode for _ in range(3)] == [1008, 1008, 0]
    chassis.wait_record(kind="fault", fault="code", type="onu", count=2)
    fault = chassis.card_fault(1, "code", code=5, times="forever")[0].split("=")[1]
    assert [daemon.ask(PORT, SET, record(PORT, (0, pon())), mask=2).retcode for _ in range(3)] == [5, 5, 5]
    chassis.simctl("clear-card-faults", 1, fault)
    assert chassis.simctl("card-faults", 1) == []
    daemon.do(PORT, SET, record(PORT, (0, pon())), mask=2)


def test_a_lost_answer_and_a_lost_request(chassis, daemon):
    chassis.card_fault(1, "no-reply")
    daemon.post(daemon.frame(ONU, CREATE, onu_record()))
    daemon.no_reply()
    assert len(rows(chassis, "ONU")) == 1
    chassis.card_fault(1, "lose")
    daemon.post(daemon.frame(ONU, DELETE, onu_record()))
    daemon.no_reply()
    assert len(rows(chassis, "ONU")) == 1


def test_a_late_answer(chassis, daemon):
    chassis.card_fault(1, "late", ms=200)
    start = time.monotonic()
    daemon.do(ONU, CREATE, onu_record())
    assert time.monotonic() - start > 0.19


def test_a_slow_card_answers_thousands_one_after_the_other(chassis, daemon):
    chassis.card_fault(1, "slow", ms=2, type="onu", times="forever")
    start = time.monotonic()
    frame = [daemon.frame(ONU, CREATE, onu_record()) for _ in range(2000)]
    asker = threading.Thread(target=lambda: [daemon.post(one) for one in frame])
    asker.start()
    answered = [daemon.reply().msg_id for _ in frame]
    asker.join()
    assert answered == sorted(answered) and len(set(answered)) == 2000
    assert time.monotonic() - start > 3.9


def test_answers_change_places(chassis, daemon):
    chassis.card_fault(1, "swap", type="onu")
    sent = [daemon.frame(ONU, CREATE, onu_record()) for _ in range(2)]
    for frame in sent:
        daemon.post(frame)
    assert [daemon.reply().msg_id for _ in sent] == [Reply(frame).msg_id for frame in reversed(sent)]
    chassis.card_fault(1, "swap", ms=50, type="onu")
    daemon.do(ONU, CREATE, onu_record())  # by itself when there is none behind it


def test_a_card_that_has_gone_answers_no_more(chassis, daemon):
    chassis.card_fault(1, "late", ms=100)
    daemon.post(daemon.frame(ONU, CREATE, onu_record()))
    chassis.wait_record(kind="fault")
    chassis.simctl("card", 1, "remove")
    daemon.no_reply(0.3)


def test_a_double_answer(chassis, daemon):
    chassis.card_fault(1, "duplicate")
    daemon.post(daemon.frame(ONU, CREATE, onu_record()))
    assert daemon.reply().frame == daemon.reply().frame


@pytest.mark.parametrize(
    "fault, options, field, value",
    [
        ("oversize", {"len": 1000}, "msg_len", 1000 + 76),
        ("short", {"len": 4}, "msg_len", 4 + 76),
        ("wrong-id", {"add": 5}, "msg_id", 6),
        ("wrong-type", {"ipc-type": 0}, "ipc_type", 0),
        ("wrong-message", {"message": 908}, "type", 908),
        ("bad-msg-len", {"add": 100}, "msg_len", 316 + 176),
        ("bad-nlmsg-len", {"add": 100}, "nlmsg_len", 316 + 140),
    ],
)
def test_an_answer_with_something_wrong(chassis, daemon, fault, options, field, value):
    chassis.card_fault(1, fault, **options)
    assert getattr(daemon.ask(ONU, CREATE, onu_record()), field) == value


def test_the_socket_can_go_away_in_place_of_an_answer(chassis, daemon):
    chassis.card_fault(1, "close", ms=150)
    daemon.post(daemon.frame(ONU, CREATE, onu_record()))
    chassis.wait_record(kind="fault", fault="close")
    with pytest.raises(ConnectionRefusedError):
        daemon.post(daemon.frame(ONU, CREATE, onu_record()))
    chassis.wait_for(lambda: chassis.card(1)["up"], 5)
    daemon.do(ONU, CREATE, onu_record())


def test_a_card_that_stops_reads_on_where_it_was(chassis, daemon):
    before = chassis.card(1)["received"]
    chassis.simctl("card", 1, "stop")
    for number in range(1, 6):
        daemon.post(daemon.frame(ONU, CREATE, onu_record(onu=number)))
    assert chassis.card(1)["stopped"] and chassis.card(1)["received"] == before
    chassis.simctl("card", 1, "continue")
    chassis.wait_for(lambda: chassis.card(1)["received"] == before + 5, 5)
    assert chassis.card(1)["object_count"] == 5 and not chassis.card(1)["stopped"]


def test_a_card_can_stop_behind_an_answer_and_goes_on_by_itself(chassis, daemon):
    chassis.card_fault(1, "stop", ms=200)
    daemon.do(ONU, CREATE, onu_record())
    chassis.wait_record(kind="fault", fault="stop")
    daemon.do(ONU, GET, onu_record())


# ---- cards that come and go ----------------------------------------------------------------------------------


def test_a_card_leaves_and_comes_back_with_what_it_was_told(chassis, daemon):
    daemon.do(ONU, CREATE, onu_record())
    chassis.simctl("card", 1, "off")
    with pytest.raises(ConnectionRefusedError):
        daemon.post(daemon.frame(ONU, GET, onu_record()))
    chassis.simctl("card", 1, "on")
    daemon.do(ONU, GET, onu_record())


def test_a_card_restarts_empty_and_its_onus_come_again(chassis, daemon):
    chassis.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/3")
    assert daemon.event().type == UNCFG_ONU
    daemon.do(ONU, CREATE, onu_record())
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    chassis.simctl("card", 1, "restart", "ms=100")
    chassis.wait_for(lambda: chassis.card(1)["up"], 5)
    assert chassis.card(1)["objects"] == {}
    chassis.wait_for(lambda: chassis.card(1)["onus"][0]["state"] == "unconfigured", 5)


def test_cards_are_plugged_in_and_out(chassis, daemon):
    chassis.simctl("card", 2, "add")
    daemon.do(ONU, CREATE, onu_record(slot=2), slot=2)
    assert rows(chassis, "ONU") == [] and len(rows(chassis, "ONU", slot=2)) == 1
    with pytest.raises(SimctlError, match="has a card"):
        chassis.simctl("card", 2, "add")
    chassis.simctl("card", 2, "remove")
    with pytest.raises(SimctlError, match="is empty"):
        chassis.card(2)
    with pytest.raises(ConnectionRefusedError):
        daemon.post(daemon.frame(ONU, GET, onu_record()), slot=2)


def test_the_shelf_has_three_line_cards_and_the_daemon_in_the_control_slot(chassis):
    chassis.start(REPO / "sim" / "scenarios" / "shelf.scn")
    *cards, board = chassis.simctl("show", "cards")
    assert [line.split()[:2] for line in cards] == [[f"slot={slot}", "up=1"] for slot in (1, 2, 3, 8)]
    assert board.startswith("board=8 ")


def test_the_real_daemon_starts_in_the_shelf_and_has_a_channel_to_every_card(chassis):
    chassis.start(REPO / "sim" / "scenarios" / "shelf.scn")
    chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"})
    chassis.wait_log("Process slot 1 recovery for feature 30047")  # what the scenario does once all cards are up
    rows = (line.split() for line in chassis.vty("show slot info").splitlines())
    slots = {int(row[0]): row[1:] for row in rows if row and row[0].isdigit()}
    # role, card type, present, connected
    line_card, control_card = ["lc", "1", "yes", "yes"], ["sc", "2", "yes", "yes"]
    assert {slot: row[:4] for slot, row in slots.items() if row[3] == "yes"} == {
        1: line_card, 2: line_card, 3: line_card, 8: control_card}  # fmt: skip
    channels = chassis.log_lines(r"active slot \d+ message channel\.$")
    assert [int(line.split()[-3]) for line in channels] == [8, 1, 2, 3]
    assert not chassis.log_lines("message channel.*deactive|bad slot_id|failed, exiting")
    for slot in (1, 2, 3):
        chassis.card_event(slot, "state", onuIfindex=f"gpon-onu{slot}/1:1", states=3)
        (event,) = chassis.records(kind="card-event", slot=slot)
        assert event["sent"] == "1"
    assert chassis.vty("show slot info").result == 0
    assert chassis.daemon.poll() is None


# ---- amounts -------------------------------------------------------------------------------------------------


def test_a_restore_is_held_whole_and_recorded_in_part(chassis, daemon):
    chassis.simctl("card-records", 50)
    for onu in range(1, 129):
        daemon.tell(ONU, CREATE, onu_record(onu=onu, serial=struct.pack(">4sI", b"ABCD", onu)))
        for tcont in range(1, 9):
            daemon.tell(TCONT, CREATE, tcont_record(tcont, onu))
        for gem in range(1, 33):
            daemon.tell(GEMPORT, CREATE, gem_record(gem, gem % 8 + 1, onu))
    chassis.wait_for(lambda: chassis.card(1, type="onu")["received"] == 128 * 41, 10)
    card = chassis.card(1)
    assert card["refused"] == 0
    assert {name: len(table["rows"]) for name, table in card["objects"].items()} == {
        "OV_HAL_MSG_GPON_ONU": 128, "OV_HAL_MSG_GPON_TCONT": 1024, "OV_HAL_MSG_GPON_GEMPORT": 4096}  # fmt: skip
    assert card["unrecorded"] > 0
    assert len(chassis.records(kind="card-request")) + card["unrecorded"] == 128 * 41
