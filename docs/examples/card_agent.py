#!/usr/bin/python3
"""A line card's agent in its smallest useful form: it takes what the daemon tells, answers, and has ONUs that come up.

    card_agent.py SLOT SERIAL...        ONUs with these serial numbers (ABCD00000001) have light on port 1

docs/life-of-a-card.md says why it does what it does, docs/wire-format.md has the bytes. It is for machines without
TIPC; with TIPC the socket is AF_TIPC, SOCK_RDM, and a name is (type, instance).
"""

import socket
import struct
import sys

ONE_WAY, REQUEST, REPLY = 0, 1, 2
CREATE, DELETE, SET, GET = 1, 2, 3, 4
PORT, ONU, UNCONFIGURED, STATE, DRIVER_TEXT, TRAP_SYNC, SYNC_END = 901, 903, 922, 927, 936, 949, 950
OPERATIONAL, NOT_SUPPORTED = 3, 1008
AGENTS, EVENTS = 101, 111  # service numbers; the carrier's types are these and 19000
MAGIC = 0xFACE01BC


def carrier_name(service, sub_id):
    return f"\0ov_ipc/{service + 19000}/{sub_id}".encode()


def serial_of(onu):  # offset 76 of the record: four letters, four bytes
    return onu[76:80].decode(errors="replace") + onu[80:84].hex().upper()


def serial_bytes(serial):
    return serial[:4].encode() + bytes.fromhex(serial[4:])


def port_of(key):
    return struct.unpack(">I", key)[0] >> 15 & 15


class Agent:
    def __init__(self, slot, serials):
        self.slot, self.board = slot, None  # the daemon's board is known when it has spoken
        self.objects = {}  # (message, key) -> record
        self.present = {serial: number for number, serial in enumerate(serials, 1)}  # with light; the card's own numbers
        self.strangers = set()  # serial numbers that the daemon lists as unconfigured
        self.replayed, self.told = set(), set()  # ports that are being replayed, ONUs told of meanwhile
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(carrier_name(AGENTS, 10100 + slot))

    def take(self, frame):
        kind, service, sub_id = struct.unpack(">8x3I", frame[:20])
        message, action, record = struct.unpack(">H", frame[68:70])[0], 0, frame[88:]
        if message > 900 and message != DRIVER_TEXT and len(frame) >= 92:  # the others have no action
            action = struct.unpack(">I", frame[80:84])[0]
        retcode, answer = self.carry_out(message, action, record)
        if kind == REQUEST:  # the answer comes first, all work later
            head = struct.pack(">5I", MAGIC, 0, REPLY, AGENTS, 10100 + self.slot)
            reply = head + frame[20:56] + struct.pack(">i", retcode) + frame[60:88] + answer
            self.socket.sendto(reply[: len(frame)], carrier_name(service, sub_id))
        is_new, self.board = self.board != sub_id - 11100, sub_id - 11100
        if is_new or message == TRAP_SYNC:
            self.report_all()
        elif message == ONU and action == DELETE:
            self.report_strangers()
        elif message == ONU and action in (CREATE, SET):
            self.report_onu(record)
        elif message == SYNC_END:
            self.forget_what_was_not_told()

    def carry_out(self, message, action, record):
        """The result, and the record of the answer. What exists may be created again: it stays, with the new values."""
        key = (message, record[:4] if message in (PORT, ONU) else record[:8])
        if action == GET:
            return (0, self.objects[key]) if key in self.objects else (NOT_SUPPORTED, record)
        if action == DELETE:
            self.objects.pop(key, None)
        elif action == CREATE or action == SET and key not in self.objects:
            self.objects[key] = record  # a real card takes the attributes in the mask from a set
        if message == PORT and action == CREATE:
            self.replayed.add(port_of(key[1]))
        if message == ONU:
            self.told.add(key)
        return 0, record

    def forget_what_was_not_told(self):
        for key in [k for k in self.objects if k[0] == ONU and port_of(k[1]) in self.replayed and k not in self.told]:
            del self.objects[key]
        self.replayed, self.told = set(), set()
        self.report_strangers()

    def report_onu(self, record):
        serial = serial_of(record)
        if serial not in self.present:
            return
        if serial in self.strangers:
            self.report_stranger(serial, DELETE)
        state = struct.pack(">B15s8s16x", OPERATIONAL, b"V1.0", serial_bytes(serial))
        self.event(STATE, SET, record[:4] + state)

    def report_stranger(self, serial, action):
        pon = 9 << 27 | 1 << 26 | self.slot << 21
        self.event(UNCONFIGURED, action, struct.pack(">II8s72x", pon, self.present[serial], serial_bytes(serial)))
        (self.strangers.add if action == CREATE else self.strangers.discard)(serial)

    def report_strangers(self):
        configured = {serial_of(record) for (message, _), record in self.objects.items() if message == ONU}
        for serial in self.present.keys() - configured - self.strangers:
            self.report_stranger(serial, CREATE)

    def report_all(self):
        self.strangers.clear()
        for record in [record for (message, _), record in self.objects.items() if message == ONU]:
            self.report_onu(record)
        self.report_strangers()

    def event(self, message, action, record):
        length = 24 + len(record)
        ipc = struct.pack(">7I", MAGIC, 0, ONE_WAY, AGENTS, 10100 + self.slot, 0, 0)
        hal = struct.pack(">9I", 2, 0, message, 1, 0, 36 + length, 0, 0, 0)
        body = struct.pack(">IHHIIII", length, message, 0, 0, 1001, action, 0)
        try:
            self.socket.sendto(ipc + hal + body + record, carrier_name(EVENTS, 11100 + self.board))
        except OSError:
            self.board = None  # the daemon is away: it is told everything when it speaks again


if __name__ == "__main__":
    agent = Agent(int(sys.argv[1]), sys.argv[2:])
    while True:
        datagram = agent.socket.recv(4096)
        if len(datagram) >= 80 and datagram[:4] == MAGIC.to_bytes(4, "big"):
            agent.take(datagram)
