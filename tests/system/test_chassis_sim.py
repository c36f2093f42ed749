"""The simulated chassis, seen by a small daemon that speaks the control protocol."""

import os
import socket
import struct
import subprocess

import pytest

from chassis import QUIET_SCENARIO, REPO, SINGLE_BOARD, Chassis, SimctlError, program

REPLY, GET_IF, NEW_IF, DEL_IF, IF_ADMIN = 0, 1, 2, 3, 4
GET_HOSTNAME, PROTECT_ADD, ONU_STATUS, SYNC_START, SYNC_PRIO, RECOVER_RESULT = 28, 40, 42, 49, 51, 52
TABLE_SAVE = 80
PARAM = 101004

# Runs inside the sandbox and hands its sockets out: connect, listen, send and receive are done by the test
# itself, on descriptors that were made in the sandbox's network.
SOCKETS = """
import socket, sys, array
out = socket.socket(fileno=0)
def tcp(port, listens):
    s = socket.socket()
    s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    if port: s.bind(("127.0.0.1", port))
    if listens: s.listen(5)
    return s
made = [tcp(30047, True), tcp(30046, False), tcp(0, False)]
hb = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
made.append(hb)
out.sendmsg([b"x"], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [s.fileno() for s in made]))])
"""


class FakeDaemon:
    """The daemon's side of the control protocol."""

    def __init__(self, chassis, port=30046):
        self.chassis = chassis
        ours, theirs = socket.socketpair()
        helper = subprocess.run(
            chassis.sandbox.command("/usr/bin/python3", "-c", SOCKETS), stdin=theirs, timeout=20, check=True
        )
        assert helper.returncode == 0
        _, fds, _, _ = socket.recv_fds(ours, 1, 4)
        ours.close()
        theirs.close()
        self.server, self.sync, self.plain, self.heartbeat = (socket.socket(fileno=fd) for fd in fds)
        if port == 0:
            self.sync, self.plain = self.plain, self.sync
        self.asyncs = []
        for made in (self.server, self.sync, self.heartbeat):
            made.settimeout(10)

    def connect(self):
        """Connects and accepts the connection back."""
        self.sync.connect(("127.0.0.1", 30000))
        return self.accept()

    def accept(self):
        made, _ = self.server.accept()
        made.settimeout(10)
        self.asyncs.append(made)
        return self

    def send(self, kind, body=b"", seq=1, version=1, length=None):
        self.sync.sendall(frame(kind, body, seq, version, length))

    def request(self, kind, body=b"", seq=1):
        """Sends a request; gives (errcode, data) of its reply, whose header must be right."""
        self.send(kind, body, seq)
        version, got, got_seq, body = receive(self.sync)
        assert (version, got, got_seq) == (1, REPLY, seq)
        errcode, length = struct.unpack("=II", body[:8])
        assert len(body) == 8 + length
        return errcode, body[8:]

    def receive_event(self, conn=0):
        """(type, seq, body) of the next event."""
        version, kind, seq, body = receive(self.asyncs[conn])
        assert version == 1
        return kind, seq, body

    def close(self):
        for made in (self.server, self.sync, self.plain, self.heartbeat, *self.asyncs):
            made.close()


def frame(kind, body=b"", seq=1, version=1, length=None):
    return struct.pack("!BBHI", version, kind, len(body) if length is None else length, seq) + body


def receive_exactly(sock, size):
    data = b""
    while len(data) < size:
        more = sock.recv(size - len(data))
        if not more:
            raise EOFError(data)
        data += more
    return data


def receive(sock):
    version, kind, length, seq = struct.unpack("!BBHI", receive_exactly(sock, 8))
    return version, kind, seq, receive_exactly(sock, length)


def assert_closed(sock):
    """The other side has closed, maybe with our bytes unread."""
    try:
        assert sock.recv(1) == b""
    except ConnectionResetError:
        pass


def if_body(ifindex=0, name=b"", flags=0, onu_sn=b""):
    return struct.pack("=I20sIIIII32s", ifindex, name, 0, 0, 0, 0, flags, onu_sn)


def sync_body(appid=30047, slot=0, prio=0, retcode=0, name=b"gpon"):
    return struct.pack("=IIII128s", appid, slot, prio, retcode, name)


@pytest.fixture
def sim(chassis):
    return chassis.start(QUIET_SCENARIO)


@pytest.fixture
def daemon(sim):
    made = FakeDaemon(sim)
    yield made
    made.close()


@pytest.fixture
def connected(daemon):
    return daemon.connect()


@pytest.fixture(scope="module")
def shared(tmp_path_factory):
    """(chassis, connected daemon) for tests that only exchange one message: they look at records since mark."""
    chassis = Chassis(tmp_path_factory.mktemp("shared"))
    try:
        daemon = FakeDaemon(chassis.start(QUIET_SCENARIO)).connect()
        yield chassis, daemon
        daemon.close()
    finally:
        chassis.close()


# ---- connections and requests ---------------------------------------------------------------------------------


def test_the_controller_connects_back(sim, connected):
    assert sim.wait_record(kind="accepted")["port"] == "30046"
    assert sim.wait_record(kind="connected")["port"] == "30047"
    assert sorted(line.split()[1] for line in sim.simctl("connections")) == ["role=async", "role=sync"]


def test_a_client_on_another_port_is_served_but_not_connected_back(sim):
    other = FakeDaemon(sim, port=0)
    other.sync.connect(("127.0.0.1", 30000))
    assert other.request(GET_HOSTNAME, bytes(4)) == (0, b"olt")
    assert sim.simctl("count", "kind=connected") == ["0"]
    other.close()


def test_hostname_is_answered_with_the_name(sim, connected):
    assert connected.request(GET_HOSTNAME, bytes(4), seq=77) == (0, b"olt")
    sim.simctl("hostname", "rack 7")
    assert connected.request(GET_HOSTNAME, bytes(4), seq=0x7FFFFFFF) == (0, b"rack 7")


REQUESTS = [
    (GET_IF, bytes(4), {"type": "UMSG_GET_IF", "word": "0"}),
    (NEW_IF, if_body(0x54608580, b"gpon-onu3/2:12", onu_sn=b"ABCD12345678"),
     {"type": "UMSG_NEW_IF", "ifindex": "0x54608580", "port": "gpon-onu3/2:12", "onu_sn": "ABCD12345678"}),
    (DEL_IF, if_body(0x4C200000), {"type": "UMSG_DEL_IF", "port": "gpon-olt1/1"}),
    (34, struct.pack("=II", 5, 1), {"type": "UMSG_IF_LOOPDETECT", "set": "1"}),
    (35, struct.pack("=III", 1, 2, 3), {"type": "UMSG_TRUNK_SET", "tid": "2", "ifindex": "0x00000003"}),
    (PROTECT_ADD, struct.pack("=III", 0x4C200000, 0x4C208000, 2),
     {"type": "UMSG_PROTECT_GROUP_ADD", "work_port": "gpon-olt1/1", "protect_port": "gpon-olt1/2", "group_type": "2"}),
    (41, struct.pack("=III", 1, 2, 3), {"type": "UMSG_PROTECT_GROUP_DEL"}),
    (ONU_STATUS, struct.pack("=Ii9s3x", 0x54200000, -1, b"ABCD\1\2\3\4"),
     {"type": "UMSG_ONU_STATUS_NOTIFY", "status": "-1", "onu_sn": "hex:414243440102030400", "port": "gpon-onu1/1:1"}),
    (SYNC_PRIO, sync_body(prio=300), {"type": "UMSG_CFG_APP_SYNC_PRIO", "cfg_prio": "300", "appName": "gpon"}),
    (RECOVER_RESULT, sync_body(slot=1, prio=300), {"type": "UMSG_CFG_APP_NOTIFY_RECOVER_RESULT", "slotid": "1"}),
    (76, struct.pack("=II", 1, 2), {"type": "UMSG_PORT_SCHEDULER_SET", "scheduler_mode": "2"}),
    (TABLE_SAVE, struct.pack("=I64sI", 4, b"sOnuTable", 0), {"type": "UMSG_SNMP_MIB_TABLE_SAVE", "tablename": "sOnuTable"}),
]  # fmt: skip


@pytest.mark.parametrize("kind,body,fields", REQUESTS, ids=[r[2]["type"] for r in REQUESTS])
def test_a_request_is_answered_with_0_and_recorded_with_its_fields(shared, kind, body, fields):
    sim, connected = shared
    mark = sim.mark()
    errcode, _ = connected.request(kind, body, seq=5)
    assert errcode == 0
    (record,) = sim.records(since=mark, kind="request")
    assert {key: record.get(key) for key in fields} == fields
    assert (record["seq"], record["len"]) == ("5", str(len(body)))
    if kind == TABLE_SAVE:
        assert connected.receive_event() == (kind, 0, body), "the controller wants it then"


def test_requests_in_one_segment_are_all_answered(sim, connected):
    connected.sync.sendall(b"".join(frame(GET_IF, bytes(4), seq) for seq in range(1, 201)))
    assert [receive(connected.sync)[2] for _ in range(200)] == list(range(1, 201))
    assert sim.simctl("count", "kind=request") == ["200"]


def test_a_request_in_single_bytes_is_answered(connected):
    for byte in frame(GET_HOSTNAME, bytes(4), 9):
        connected.sync.sendall(bytes([byte]))
    assert receive(connected.sync)[2] == 9


@pytest.mark.parametrize(
    "kind,body,reason",
    [
        (200, b"", "unknown-type"),
        (82, b"", "unknown-type"),
        (16, b"", "not-a-request"),
        (REPLY, bytes(8), "not-a-request"),
        (NEW_IF, bytes(75), "body-size"),
        (NEW_IF, bytes(77), "body-size"),
        (GET_HOSTNAME, bytes(4096), "body-size"),
        (SYNC_PRIO, sync_body(name=b"x" * 128), "unterminated-text"),
    ],
    ids=lambda value: f"{len(value)}-bytes" if isinstance(value, bytes) else str(value),
)
def test_a_wrong_request_is_refused_and_recorded(shared, kind, body, reason):
    sim, connected = shared
    mark = sim.mark()
    assert connected.request(kind, body) == (PARAM, b"")
    assert [r["reason"] for r in sim.records(since=mark, kind="refused")] == [reason]
    assert sim.records(since=mark, kind="request") == []
    assert connected.request(GET_IF, bytes(4))[0] == 0  # the connection goes on


@pytest.mark.parametrize("version,length,reason", [(2, 4, "version"), (0, 4, "version"), (1, 4097, "length")])
def test_a_wrong_header_is_refused_and_the_connection_closed(sim, connected, version, length, reason):
    connected.send(GET_IF, bytes(4), version=version, length=length)
    assert_closed(connected.sync)
    assert sim.wait_record(kind="refused")["reason"] == reason
    assert sim.wait_record(kind="closed", role="sync")["by"] == "controller"


def test_a_frame_cut_off_by_the_end_is_recorded(sim, connected):
    connected.sync.sendall(frame(NEW_IF, if_body())[:20])
    connected.sync.close()
    record = sim.wait_record(kind="refused")
    assert (record["reason"], record["bytes"]) == ("unfinished-frame", "20")


def test_data_on_the_asynchronous_connection_is_recorded(sim, connected):
    connected.asyncs[0].sendall(b"hello")
    assert sim.wait_record(kind="refused", reason="data-on-async")["body"] == b"hello".hex()


def test_a_daemon_that_comes_again_gets_a_new_session(sim, connected):
    connected.request(SYNC_PRIO, sync_body(prio=300))
    assert len(sim.simctl("stages")) == 1
    connected.close()
    sim.wait_record(kind="closed", count=2)
    again = FakeDaemon(sim).connect()
    sim.wait_record(kind="connected", count=2)
    assert sim.simctl("stages") == []
    sim.event("start-snmp-agentx")
    assert again.receive_event() == (56, 0, b"")
    again.close()


def test_the_controller_can_stop_listening(sim, daemon):
    sim.simctl("controller", "off")
    with pytest.raises(ConnectionRefusedError):
        daemon.sync.connect(("127.0.0.1", 30000))
    sim.simctl("controller", "on")
    daemon.plain.connect(("127.0.0.1", 30000))
    assert sim.wait_record(kind="accepted")


# ---- events ------------------------------------------------------------------------------------------------------

VLANS = bytes([0b00100010]) + bytes(12) + bytes([0b11110000]) + bytes(498)  # 1, 5, 108-111
CARD = struct.pack("=IH2x", 3, 7)
IF_WORDS = ["ifindex=gpon-olt1/1", "status=1", "admin=2", "duplex=3", "speed=4", "flags=up+running", "onu_sn=SN1"]
IF_BODY = struct.pack("=I20sIIIII32s", 0x4C200000, b"gpon-olt1/1", 1, 2, 3, 4, 0x41, b"SN1")
IP_WORDS = ["ifindex=5", "ifname=vlanif5", "ip=1", "mask=2", "new_ip=3", "new_mask=4"]
IP_BODY = struct.pack("=I32sIIII", 5, b"vlanif5", 1, 2, 3, 4)

EVENTS = [
    ("new-if", IF_WORDS, 2, IF_BODY),
    ("del-if", IF_WORDS, 3, IF_BODY),
    ("if-admin", IF_WORDS, 4, IF_BODY),
    ("if-status", IF_WORDS, 5, IF_BODY),
    ("vlan-new", ["vlans=1,5,108-111"], 7, VLANS),
    ("vlan-del", ["vlans=1,5,108-111"], 8, VLANS),
    ("vlan-port", ["ifindex=xe1/2", "op=1", "tag=2", "pvid=3", "vlans=1,5,108-111"], 9,
     struct.pack("=IHHH", 0x1C208000, 1, 2, 3) + VLANS + bytes(2)),
    ("ip-add", IP_WORDS, 10, IP_BODY),
    ("ip-del", IP_WORDS, 11, IP_BODY),
    ("ip-update", IP_WORDS, 12, IP_BODY),
    ("host", ["name=olt7"], 27, b"olt7" + bytes(29)),
    ("trunk-set", ["set=1", "tid=2", "ifindex=3"], 35, struct.pack("=III", 1, 2, 3)),
    ("gpon-redist", ["op=1", "p4=5"], 38, struct.pack("=IIIII", 1, 0, 0, 0, 5)),
    ("protect-group-add", ["work_ifindex=1", "protect_ifindex=2", "group_type=3"], 40, struct.pack("=III", 1, 2, 3)),
    ("protect-group-del", ["work_ifindex=1", "protect_ifindex=2", "group_type=3"], 41, struct.pack("=III", 1, 2, 3)),
    ("onu-status-notify", ["ifindex=gpon-onu1/1:2", "status=-2", "onu_sn=hex:4142434401020304"], 42,
     struct.pack("=Ii9s3x", 0x54200080, -2, b"ABCD\1\2\3\4")),
    ("slot-add", ["slot_id=3", "card_type=7"], 45, CARD),
    ("slot-remove", ["slot_id=3", "card_type=7"], 46, CARD),
    ("slot-active", ["slot_id=3", "card_type=7"], 47, CARD),
    ("slot-deactive", ["slot_id=3", "card_type=7"], 48, CARD),
    ("cfg-slot-sync-start", ["appid=30047", "slotid=1", "cfg_prio=300", "appName=gpon"], 49,
     sync_body(slot=1, prio=300)),
    ("cfg-slot-sync-end", ["slotid=1"], 50, sync_body(appid=0, slot=1, name=b"")),
    ("cfg-sc-switch-2-active-start", ["slot_id=3", "card_type=7"], 53, CARD),
    ("cfg-sc-switch-2-active-end", ["slot_id=3", "card_type=7"], 54, CARD),
    ("start-snmp-agentx", [], 56, b""),
    ("snmp-mib-table-save", ["sequence=9", "tablename=sOnuTable"], 80, struct.pack("=I64sI", 9, b"sOnuTable", 0)),
]  # fmt: skip


@pytest.mark.parametrize("name,words,kind,body", EVENTS, ids=[e[0] for e in EVENTS])
def test_an_event_goes_out_with_its_body(shared, name, words, kind, body):
    sim, connected = shared
    mark = sim.mark()
    sim.simctl("event", name, "seq=6", *words)
    assert connected.receive_event() == (kind, 6, body)
    assert sim.records(since=mark, kind="event")[0]["type"] == "UMSG_" + name.upper().replace("-", "_")


def test_an_event_takes_any_body(sim, connected):
    sim.simctl("event", "auth", "body=0102ff")
    assert connected.receive_event() == (16, 0, b"\1\2\xff")
    sim.simctl("event", "UMSG_NEW_IF", "body=zeros:10")
    assert connected.receive_event() == (2, 0, bytes(10))


def test_frames_may_be_wrong(sim, connected):
    sim.simctl("frame", "type=2", "version=2", "length=76", "seq=3", "body=zeros:4")
    assert receive_exactly(connected.asyncs[0], 12) == struct.pack("!BBHI", 2, 2, 76, 3) + bytes(4)
    sim.simctl("frame", "type=250", "body=zeros:4097")
    assert receive_exactly(connected.asyncs[0], 8 + 4097)[:4] == struct.pack("!BBH", 1, 250, 4097)
    sim.simctl("raw", "0102")
    assert receive_exactly(connected.asyncs[0], 2) == b"\1\2"


def test_further_asynchronous_connections(sim, connected):
    (answer,) = sim.simctl("connect-async")
    connected.accept()
    conn = answer.removeprefix("conn=")
    sim.wait_record(kind="connected", conn=conn)
    sim.simctl("event", "start-snmp-agentx", f"conn={conn}")
    assert connected.receive_event(1) == (56, 0, b"")
    sim.event("slot-active", slot_id=1)
    assert connected.receive_event(0)[0] == 47  # the first stays the one for events
    sim.simctl("close", conn)
    assert_closed(connected.asyncs[1])


def test_events_without_a_daemon_are_an_error(sim):
    with pytest.raises(SimctlError, match="no asynchronous connection"):
        sim.event("start-snmp-agentx")


def test_a_daemon_that_does_not_read_is_dropped_in_the_end(sim, connected):
    with pytest.raises(SimctlError, match="was lost|no asynchronous"):
        for _ in range(400):
            sim.simctl("frame", "type=2", "body=zeros:65535")
    assert sim.wait_record(kind="closed", role="async")["why"] == "the daemon doesn't read"


# ---- the replay -----------------------------------------------------------------------------------------------


@pytest.fixture
def staged(connected):
    for prio in (480, 300, 410):
        connected.request(SYNC_PRIO, sync_body(prio=prio))
    return connected


def test_the_replay_calls_each_stage_in_order(sim, staged):
    sim.simctl("replay", "slot=3")
    for prio in (300, 410, 480):
        assert staged.receive_event() == (SYNC_START, 0, sync_body(slot=3, prio=prio))


def test_a_replay_in_steps_waits_for_each_result(sim, staged):
    ctl = subprocess.Popen(sim.sandbox.command(program("simctl"), "replay", "slot=3", "step=20000"),
                           stdout=subprocess.PIPE, text=True)  # fmt: skip
    for prio in (300, 410, 480):
        assert staged.receive_event()[2] == sync_body(slot=3, prio=prio)
        staged.asyncs[0].setblocking(False)
        with pytest.raises(BlockingIOError):
            staged.asyncs[0].recv(1)
        staged.asyncs[0].settimeout(10)
        assert ctl.poll() is None
        staged.request(RECOVER_RESULT, sync_body(appid=0, slot=3, prio=prio))
    out, _ = ctl.communicate(timeout=20)
    assert ctl.returncode == 0
    assert [line.split()[1] for line in out.splitlines()] == ["cfg_prio=300", "cfg_prio=410", "cfg_prio=480"]


def test_a_replay_step_without_result_is_an_error(sim, staged):
    with pytest.raises(SimctlError, match="stage 300 of slot 3: no result"):
        sim.simctl("replay", "slot=3", "step=30")


def test_a_replay_without_stages_is_an_error(sim, connected):
    with pytest.raises(SimctlError, match="hasn't registered"):
        sim.simctl("replay", "slot=1")


# ---- faults ---------------------------------------------------------------------------------------------------


def test_no_reply(sim, connected):
    sim.fault("no-reply")
    connected.send(GET_IF, bytes(4), seq=1)
    sim.wait_record(kind="fault", fault="no-reply")
    assert connected.request(GET_HOSTNAME, bytes(4), seq=2)[0] == 0  # its reply is the first to come


def test_a_late_reply_comes_after_the_time(sim, connected):
    sim.fault("late", ms=80)
    connected.send(GET_IF, bytes(4), seq=1)
    sim.wait_record(kind="fault", fault="late")
    assert connected.request(GET_HOSTNAME, bytes(4), seq=2)[0] == 0
    assert receive(connected.sync)[2] == 1


def test_a_chosen_code(sim, connected):
    sim.fault("code", code=1005, type="new-if", times=2)
    assert connected.request(GET_IF, bytes(4))[0] == 0
    assert [connected.request(NEW_IF, if_body())[0] for _ in range(3)] == [1005, 1005, 0]


def test_wrong_sequence_number(sim, connected):
    sim.fault("wrong-seq")
    connected.send(GET_IF, bytes(4), seq=41)
    assert receive(connected.sync)[1:3] == (REPLY, 42)


def test_wrong_type(sim, connected):
    sim.fault("wrong-type", reply_type=7)
    connected.send(GET_IF, bytes(4), seq=41)
    assert receive(connected.sync)[1:3] == (7, 41)


def test_oversize_reply(sim, connected):
    sim.fault("oversize", len=4088)
    connected.send(GET_IF, bytes(4))
    assert len(receive(connected.sync)[3]) == 4096
    sim.fault("oversize")
    connected.send(GET_IF, bytes(4))
    body = receive(connected.sync)[3]
    assert (len(body), struct.unpack("=II", body[:8])) == (8 + 4096, (0, 4096))


def test_a_length_of_data_that_is_not_there(sim, connected):
    sim.fault("bad-len", add=100)
    connected.send(GET_IF, bytes(4))
    assert receive(connected.sync)[3] == struct.pack("=II", 0, 100)


def test_a_reply_shorter_than_its_head(sim, connected):
    sim.fault("short", len=3)
    connected.send(GET_IF, bytes(4))
    assert receive(connected.sync)[3] == bytes(3)


def test_a_reply_of_another_version(sim, connected):
    sim.fault("bad-version")
    connected.send(GET_IF, bytes(4))
    assert receive(connected.sync)[0] == 2


def test_a_reply_that_is_cut_off(sim, connected):
    sim.fault("truncated", len=5)
    connected.send(GET_IF, bytes(4))
    with pytest.raises(EOFError) as cut:
        receive_exactly(connected.sync, 8)
    assert len(cut.value.args[0]) == 5


def test_the_connection_is_closed_in_place_of_a_reply(sim, connected):
    sim.fault("close")
    connected.send(GET_IF, bytes(4))
    assert_closed(connected.sync)
    sim.event("start-snmp-agentx")  # the other one stands
    assert connected.receive_event()[0] == 56


def test_closing_on_request(sim, connected):
    sim.simctl("close", "async")
    assert_closed(connected.asyncs[0])
    sim.simctl("close", "sync")
    assert_closed(connected.sync)
    with pytest.raises(SimctlError, match="no such connection"):
        sim.simctl("close", "all")


def test_no_connection_back(sim, daemon):
    sim.fault("no-connect-back")
    daemon.sync.connect(("127.0.0.1", 30000))
    sim.wait_record(kind="fault", fault="no-connect-back")
    assert daemon.request(GET_IF, bytes(4))[0] == 0
    assert sim.simctl("count", "kind=connected") == ["0"]
    sim.simctl("connect-async")  # later after all
    daemon.accept()
    sim.event("start-snmp-agentx")
    assert daemon.receive_event()[0] == 56


def test_a_late_connection_back(sim, daemon):
    sim.fault("late-connect-back", ms=50)
    daemon.sync.connect(("127.0.0.1", 30000))
    sim.wait_record(kind="fault")
    assert sim.simctl("count", "kind=connected") == ["0"]
    daemon.accept()


def test_a_connection_back_that_is_refused_is_recorded(sim, daemon):
    daemon.server.close()
    daemon.sync.connect(("127.0.0.1", 30000))
    sim.wait_record(kind="accepted")
    record = sim.wait_record(kind="c[lo]*", role="async")  # closed, or connect-failed: as the kernel tells it
    assert "refused" in (record.get("why") or record["error"])


def test_faults_are_used_in_order_listed_and_forgotten(sim, connected):
    first = sim.fault("code", code=1)
    second = sim.fault("code", code=2, times="forever")
    assert sim.simctl("faults") == ["id=1 fault=code code=1 times=1", "id=2 fault=code code=2 times=forever"]
    assert [connected.request(GET_IF, bytes(4))[0] for _ in range(3)] == [1, 2, 2]
    assert (first, second) == (["id=1"], ["id=2"])
    sim.simctl("clear-faults", "2")
    assert connected.request(GET_IF, bytes(4))[0] == 0
    with pytest.raises(SimctlError, match="no fault 2"):
        sim.simctl("clear-faults", "2")


# ---- heartbeats and the environment store -----------------------------------------------------------------------


def heartbeat(sim, message):
    script = (
        "import socket,sys; socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)"
        ".sendto(bytes.fromhex(sys.argv[1]), '/tmp/uds_hb.socket')"
    )
    return sim.run("/usr/bin/python3", "-c", script, message.hex())


def test_heartbeats_are_recorded(sim):
    for pid in (1234, 1234, 99):
        assert heartbeat(sim, struct.pack("=I", pid)).returncode == 0
    sim.wait_record(kind="heartbeat", pid=99)
    assert [line.rsplit(" ", 1)[0] for line in sim.simctl("heartbeats")] == ["pid=99 count=1", "pid=1234 count=2"]


def test_a_heartbeat_of_another_size_is_refused(sim):
    heartbeat(sim, b"12345")
    record = sim.wait_record(kind="refused")
    assert (record["reason"], record["len"]) == ("heartbeat-size", "5")


def test_without_a_monitor_nobody_is_there(sim):
    sim.simctl("monitor", "off")
    assert "FileNotFoundError" in heartbeat(sim, bytes(4)).stderr
    sim.simctl("monitor", "on")
    assert heartbeat(sim, bytes(4)).returncode == 0


def test_environment_values_are_files(sim):
    sim.simctl("env", "PDT_INFO_PDT_NAME", "a b=c")
    assert sim.read("/var/run/product/env/PDT_INFO_PDT_NAME") == "a b=c"
    assert sim.simctl("env", "PDT_INFO_PDT_NAME") == ["a b=c"]
    sim.write("/var/run/product/env/active", "1\n")  # as the tool may write it
    assert sim.simctl("env", "active") == ["1"]
    assert sim.simctl("env") == ["PDT_INFO_PDT_NAME=a%20b=c", "active=1", "mono_ready=1"]
    sim.simctl("env-unset", "active")
    with pytest.raises(SimctlError, match="active is not set"):
        sim.simctl("env", "active")


def test_mono_ready_needs_a_listening_controller(chassis):
    chassis.start("controller off\n")
    assert chassis.read("/var/run/product/env/mono_ready") == "0"
    with pytest.raises(SimctlError, match="isn't listening"):
        chassis.simctl("mono-ready", "1")
    chassis.simctl("controller", "on")
    chassis.simctl("mono-ready", "1")
    assert chassis.read("/var/run/product/env/mono_ready") == "1"


def test_mono_ready_ends_with_the_controller(sim):
    assert sim.read("/var/run/product/env/mono_ready") == "1"
    sim.simctl("quit")
    assert sim.sim.wait(10) == 0
    assert sim.read("/var/run/product/env/mono_ready") == "0"
    assert not sim.exists("/var/run/chassis-sim.ctl")
    assert not sim.exists("/tmp/uds_hb.socket")


def test_the_directory_of_the_store_can_be_chosen(chassis):
    chassis.start_sandbox()
    chassis.spawn("other", program("chassis-sim"), env={"OV_ENV_DIR": "/app/env"})
    chassis.wait_for(lambda: chassis.read("/app/env/mono_ready", missing="") == "0")


# ---- records and waits --------------------------------------------------------------------------------------------


def test_wait_sees_what_was_and_what_comes(sim):
    sim.simctl("note", "early")
    assert sim.wait_record(kind="note", text="ea*")["text"] == "early"
    mark = sim.mark()
    with pytest.raises(SimctlError, match="timeout after 20 ms: 0 of 1"):
        sim.wait_record(timeout=0.02, since=mark, kind="note")
    waiting = subprocess.Popen(
        sim.sandbox.command(program("simctl"), "wait", f"since={mark}", "count=2", "kind=note"),
        stdout=subprocess.PIPE, text=True,
    )  # fmt: skip
    sim.simctl("note", "one")
    assert waiting.poll() is None
    sim.simctl("note", "two % words")
    out, _ = waiting.communicate(timeout=20)
    assert (waiting.returncode, len(out.splitlines())) == (0, 2)
    assert "text=two%20%25%20words" in out


def test_patterns_match_numbers_ports_and_short_names(sim, connected):
    connected.request(NEW_IF, if_body(0x4C200000, flags=1))
    for pattern in ("ifindex=0x4c200000", "ifindex=1277165568", "ifindex=gpon-olt1/1", "port=gpon-olt1/*",
                    "type=new-if", "type=2", "flags=1", "type=UMSG_NEW_*"):  # fmt: skip
        assert sim.simctl("count", "kind=request", pattern) == ["1"], pattern
    for pattern in ("ifindex=1", "type=del-if", "nothing=1", "port=gpon-olt1/2"):
        assert sim.simctl("count", "kind=request", pattern) == ["0"], pattern


def test_records_can_be_cut_and_cleared(sim):
    for text in "abc":
        sim.simctl("note", text)
    first = int(sim.records(kind="note")[0]["id"])
    assert [r["text"] for r in sim.records(kind="note", since=first)] == ["b", "c"]
    assert [r["text"] for r in sim.records(kind="note", limit=1)] == ["a"]
    sim.simctl("clear-records")
    assert sim.records() == []
    sim.simctl("note", "d")
    assert int(sim.records()[0]["id"]) > first + 2


def test_a_client_that_leaves_takes_its_wait_along(sim):
    waiting = subprocess.Popen(sim.sandbox.command(program("simctl"), "wait", "timeout=0", "kind=never"))
    sim.simctl("status")
    waiting.kill()
    waiting.wait()
    assert sim.simctl("status")[0] == "controller=on"


# ---- scenarios ------------------------------------------------------------------------------------------------


def test_on_connect_runs_for_each_connection(chassis):
    chassis.start(
        "mono-ready 1\n"
        "on connect\n"
        "  wait kind=request type=get-hostname timeout=0\n"
        "  event slot-active slot_id=1\n"
        "end\n"
    )
    for turn in (1, 2):
        daemon = FakeDaemon(chassis).connect()
        daemon.request(GET_HOSTNAME, bytes(4))
        assert daemon.receive_event()[0] == 47
        chassis.wait_record(kind="scenario", result="done", count=turn)
        daemon.close()
        chassis.wait_record(kind="closed", count=2 * turn)


def test_a_lost_connection_stops_the_script(chassis):
    chassis.start("on connect\n  note begun\n  wait kind=note text=go timeout=0\n  note ran-on\nend\n")
    FakeDaemon(chassis).connect().close()
    chassis.wait_record(kind="closed", count=2)
    chassis.simctl("note", "go")
    assert [r["text"] for r in chassis.records(kind="note")] in (["begun", "go"], ["go"])


def test_the_single_board_takes_a_daemon_through_its_start(chassis):
    chassis.start(SINGLE_BOARD)
    daemon = FakeDaemon(chassis).connect()
    assert daemon.request(GET_HOSTNAME, bytes(4)) == (0, b"olt1")
    for prio in (300, 410, 480):
        daemon.request(SYNC_PRIO, sync_body(prio=prio))
    kinds = [daemon.receive_event()[0] for _ in range(24)]
    assert kinds == [45, 47, *[NEW_IF] * 20, 56, SYNC_START]
    assert chassis.simctl("env", "OV_APP_FLAG_SYS_OPSTATUS") == ["0"]
    for prio, event in ((300, SYNC_START), (410, SYNC_START), (480, 50)):
        daemon.request(RECOVER_RESULT, sync_body(appid=0, slot=1, prio=prio))
        assert daemon.receive_event()[0] == event
    chassis.wait_record(kind="scenario", result="done")
    assert chassis.simctl("env", "OV_APP_FLAG_SYS_OPSTATUS") == ["1"]
    daemon.close()


@pytest.mark.parametrize(
    "text,error",
    [
        ("note fine\nnosuch\n", ':2: no command "nosuch"'),
        ("event nosuch\n", ':1: event: no message type "nosuch"'),
        ("\n# c\nevent new-if colour=1\n", ':3: event: umsg_if_t has no field "colour"'),
        ("event new-if ifindex=gpon-olt1/17\n", ":1: event: bad value for ifindex"),
        ("event auth\n", ":1: event: UMSG_AUTH has no known body"),
        ('note "open\n', ":1: a quote isn't closed"),
        ("on connect\nnote x\n", ':2: "end" is missing'),
        ("end\n", ':1: "end" without "on connect"'),
        ("on something\n", ':1: only "on connect"'),
        ("mono-ready 2\n", ":1: mono-ready: must be 0 or 1"),
        ("replay\n", ":1: replay: slot= is missing"),
        ("fault late ms=x\n", ":1: fault: ms must be a number"),
        ("wait timeout=5\n", ":1: wait: a KEY=PATTERN is missing"),
        ("status now\n", ':1: status: unexpected "now"'),
        ("status now=1\n", ":1: status: unknown option now="),
    ],
)
def test_a_mistake_in_a_scenario_is_named_with_its_line(tmp_path, text, error):
    path = tmp_path / "bad.scn"
    path.write_text(text)
    made = subprocess.run(
        [program("chassis-sim"), "--check", "--scenario", str(path)], capture_output=True, text=True, timeout=20
    )
    assert made.returncode == 2
    assert made.stderr.startswith(f"chassis-sim: {path}{error}")


def test_shipped_scenarios_have_no_mistake():
    for path in (REPO / "sim" / "scenarios").glob("*.scn"):
        assert subprocess.run([program("chassis-sim"), "--check", "--scenario", str(path)], timeout=20).returncode == 0


def test_a_scenario_that_fails_ends_the_program(chassis):
    chassis.start_sandbox()
    chassis.write("/tmp/s.scn", "note x\nevent start-snmp-agentx\n")
    made = chassis.run(program("chassis-sim"), "--scenario", "/tmp/s.scn")
    assert made.returncode == 1
    assert "/tmp/s.scn:2: no asynchronous connection" in made.stderr


# ---- the program and simctl -----------------------------------------------------------------------------------


def simctl(sim, *words):
    return sim.run(program("simctl"), *words)


def test_a_second_chassis_at_the_same_place_is_refused(sim):
    made = sim.run(program("chassis-sim"))
    assert made.returncode == 1
    assert "/var/run/chassis-sim.ctl: another program is serving it" in made.stderr
    made = sim.run(program("chassis-sim"), "--control", "/tmp/other.ctl")
    assert made.returncode == 1
    assert "127.0.0.1 port 30000: Address already in use" in made.stderr
    assert not sim.exists("/tmp/other.ctl")
    assert sim.simctl("status")  # the first goes on


def test_a_control_socket_left_by_a_dead_chassis_is_taken_over(sim):
    for pid in sim.sandbox.processes("chassis-sim"):
        os.kill(pid, 9)
    sim.sim.wait(10)
    assert sim.exists("/var/run/chassis-sim.ctl")
    sim.start(None)
    assert sim.simctl("status")


def test_a_control_path_that_is_not_a_socket_is_refused(chassis):
    chassis.start_sandbox()
    chassis.write("/tmp/file", "precious")
    made = chassis.run(program("chassis-sim"), "--control", "/tmp/file")
    assert (made.returncode, chassis.read("/tmp/file")) == (1, "precious")
    assert "exists and is not a socket" in made.stderr


@pytest.mark.parametrize("argv", [["--nonsense"], ["stray"], ["--scenario"], ["--scenario", "/nonexistent"]])
def test_wrong_options_give_2(argv):
    made = subprocess.run([program("chassis-sim"), *argv], capture_output=True, text=True, timeout=20)
    assert made.returncode == 2
    assert made.stderr.startswith("chassis-sim: ")


def test_help_texts(sim):
    for name in ("chassis-sim", "simctl"):
        made = sim.run(program(name), "--help")
        assert made.returncode == 0
        assert made.stdout.startswith(f"Usage: {name}")
    listed = simctl(sim, "help").stdout
    for command in ("event", "fault", "replay", "wait", "mono-ready", "close"):
        assert f"\n{command} " in listed
        assert simctl(sim, "help", command).stdout.startswith(command)


def test_simctl_prints_answers_and_gives_0(sim):
    made = simctl(sim, "note", 'it "is" \\ # fine')
    assert (made.returncode, made.stdout, made.stderr) == (0, "", "")
    assert sim.records(kind="note")[0]["text"] == 'it "is" \\ # fine'
    assert simctl(sim, "count", "kind=note").stdout == "1\n"


def test_simctl_gives_1_for_an_error(sim):
    made = simctl(sim, "close", "77")
    assert (made.returncode, made.stdout, made.stderr) == (1, "", "simctl: no connection 77\n")


def test_simctl_gives_2_without_a_chassis(chassis):
    chassis.start_sandbox()
    made = simctl(chassis, "status")
    assert made.returncode == 2
    assert "is chassis-sim running?" in made.stderr
    assert simctl(chassis).returncode == 2


def test_a_line_without_end_closes_the_control_connection(sim):
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as ctl:
        ctl.settimeout(10)
        ctl.connect(str(sim.path("/var/run/chassis-sim.ctl")))
        try:
            ctl.sendall(b"x" * 200_000)
            assert_closed(ctl)
        except (BrokenPipeError, ConnectionResetError):
            pass
    assert sim.simctl("status")


def test_the_control_connection_takes_command_after_command(sim):
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as ctl:
        ctl.settimeout(10)
        ctl.connect(str(sim.path("/var/run/chassis-sim.ctl")))
        ctl.sendall(b"delay 20\nnote a\nnonsense\n\nmark\n")
        ctl.shutdown(socket.SHUT_WR)
        answer = ctl.makefile().read()
    assert answer.splitlines()[:2] == ["ok", "ok"]
    assert [line.split()[0] for line in answer.splitlines()] == ["ok", "ok", "error", "error", "=", "ok"]
