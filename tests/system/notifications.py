"""Notifications as a manager receives them: a receiver in the sandbox and a decoder of what it got."""

#: For the master agent's configuration: where the receiver listens.
TRAP_SINK = "trap2sink 127.0.0.1:1162 public\n"

TRAP_RECEIVER = """
import socket, sys
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 26)
s.bind(("127.0.0.1", 1162))
print("ready", flush=True)
while True:
    print(s.recv(65536).hex(), flush=True)
"""


def decode_oid(data):
    arcs, value = [], 0
    for byte in data:
        value = value << 7 | byte & 0x7F
        if byte < 0x80:
            arcs.append(value)
            value = 0
    return "." + ".".join(map(str, [arcs[0] // 40, arcs[0] % 40, *arcs[1:]]))


def elements(data):
    """The elements of a BER sequence: (tag, content)."""
    found = []
    while data:
        tag, length, at = data[0], data[1], 2
        if length >= 0x80:
            at += length & 0x7F
            length = int.from_bytes(data[2:at], "big")
        found.append((tag, data[at : at + length]))
        data = data[at + length :]
    return found


def bindings(packet):
    """The variables of an SNMPv2c notification: [(OID, tag, content)]."""
    ((_, message),) = elements(packet)
    (_, _, (tag, pdu)) = elements(message)
    assert tag == 0xA7  # SNMPv2-Trap
    return [
        (decode_oid(name), kind, value)
        for _, binding in elements(elements(pdu)[3][1])
        for (_, name), (kind, value) in [elements(binding)]
    ]


def start_receiver(chassis):
    """Before the master agent is started."""
    chassis.spawn("receiver", "python3", "-c", TRAP_RECEIVER)
    chassis.wait_for(lambda: "ready" in chassis.output("receiver"), what="the receiver")


def received(chassis):
    """All notifications so far, each as bindings() gives it."""
    return [bindings(bytes.fromhex(line)) for line in chassis.output("receiver").split()[1:]]
