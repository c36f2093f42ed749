"""A line card that is nothing but bytes: the documented heads, on raw sockets, without a line of the daemon's code."""

import socket
import struct
import subprocess

IPC_ID, ASYNC, REQUEST, REPLY = 0xFACE01BC, 0, 1, 2
CREATE, DELETE, SET, GET, GET_CURRENT = 1, 2, 3, 4, 5

MAKE_SOCKET = """
import socket, sys, array
out = socket.socket(fileno=0)
s = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
s.bind(b"\\0" + sys.argv[1].encode())
out.sendmsg([b"x"], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [s.fileno()]))])
"""


def onu(slot, port=1, number=1):
    """Index of an ONU: kind 10, shelf 1."""
    return 10 << 27 | 1 << 26 | slot << 21 | (port - 1) << 15 | (number - 1) << 7


class Message:
    """One datagram, taken apart by the documented offsets."""

    def __init__(self, data, sender=None):
        self.data = data
        (self.ipc_id, self.version, self.kind, self.service, self.sub, self.id, self.number) = struct.unpack(
            ">7I", data[:28]
        )
        (self.topic, self.op, self.cmd, self.count, self.chg, self.len, self.ipc_hdr, self.retcode, self.padding) = (
            struct.unpack(">7IiI", data[28:64])
        )
        self.nl_len, self.type, self.flags, self.seq, self.pid = struct.unpack(">IHHII", data[64:80])
        self.action, self.mask = struct.unpack(">Ii", data[80:88]) if len(data) >= 88 else (None, None)
        self.record = data[88:]


class Agent:
    """A card agent on a slot."""

    def __init__(self, chassis, slot):
        ours, theirs = socket.socketpair()
        name = f"ov_ipc/19101/{10100 + slot}"
        subprocess.run(chassis.sandbox.command("/usr/bin/python3", "-c", MAKE_SOCKET, name), stdin=theirs, check=True, timeout=20)
        _, (fd,), _, _ = socket.recv_fds(ours, 1, 1)
        ours.close()
        theirs.close()
        self.sock = socket.socket(fileno=fd)
        self.sock.settimeout(10)

    def receive(self):
        return Message(self.sock.recv(4096))

    def nothing_waits(self):
        self.sock.setblocking(False)
        try:
            self.sock.recv(4096)
            return False
        except BlockingIOError:
            return True
        finally:
            self.sock.settimeout(10)

    def frame(self, request, retcode=0, payload=None, kind=REPLY, ipc_id=None, nl_type=None, frame_len=None, nl_len=None):
        payload = request.data[80:] if payload is None else payload
        nl = struct.pack(">IHHII", 16 + len(payload) if nl_len is None else nl_len, nl_type or request.type, 0, 0, 1001)
        length = 36 + 16 + len(payload) if frame_len is None else frame_len
        head = struct.pack(">7IiI", 1, 0, request.type, 1, 0, length, 0, retcode, 0)
        ipc = struct.pack(">7I", IPC_ID, 0, kind, 101, 10101, request.id if ipc_id is None else ipc_id, 1)
        return ipc + head + nl + payload

    def send_to(self, request, data):
        self.sock.sendto(data, b"\0" + f"ov_ipc/{request.service + 19000}/{request.sub}".encode())

    def reply(self, request, *args, **kwargs):
        self.send_to(request, self.frame(request, *args, **kwargs))

    def event(self, board, kind, action, record):
        """An event of the card to the daemon's receive side."""
        payload = struct.pack(">Ii", action, 0) + record
        nl = struct.pack(">IHHII", 16 + len(payload), kind, 0, 0, 1001)
        head = struct.pack(">7IiI", 2, 0, kind, 1, 0, 36 + 16 + len(payload), 0, 0, 0)
        ipc = struct.pack(">7I", IPC_ID, 0, ASYNC, 101, 10101, 7, 1)
        self.sock.sendto(ipc + head + nl + payload, b"\0" + f"ov_ipc/19111/{11100 + board}".encode())


def check_heads(message, kind, size, ipc_kind, topic, board=1):
    """The heads of a message from the daemon on a board, and the sizes that they give for a record."""
    rounded = (size + 3) // 4 * 4
    assert message.ipc_id == IPC_ID and message.version == 0 and message.kind == ipc_kind
    assert (message.service, message.sub) == (101, 11100 + board)
    assert (message.topic, message.op, message.cmd, message.count, message.chg) == (topic, 0, kind, 1, 0)
    assert message.len == message.nl_len + 36
    assert (message.ipc_hdr, message.retcode, message.padding) == (0, 0, 0)
    assert message.nl_len == rounded + 40
    assert len(message.data) == 28 + message.len
    assert (message.type, message.pid) == (kind, 1001)
