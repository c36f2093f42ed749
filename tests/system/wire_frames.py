"""Frames of the line cards and captures of them, made in Python from the records' descriptions."""

import pathlib
import re
import struct

ROOT = pathlib.Path(__file__).resolve().parents[2]
HAL = ROOT / "ov_gpon/ov_hal_gpon"
DAEMON, CARD = (19101, 11101), (19101, 10103)
SLOT = 3
REQUEST, REPLY = 1, 2
#: Bytes of an element and how it is packed.
PLAIN = {"U8": "B", "U16": "H", "U32": "I", "U64": "Q", "I32": "i", "IFINDEX": "I", "IPV4": "I", "ENUM": "i"}


def messages():
    """{number: (name, record or None, how many, whether action and mask stand in front)}"""
    catalogue = re.findall(r"^OV_HAL_GPON_MSG\((\w+), (\d+), (\d+),", (HAL / "ov_hal_gpon_msg_catalogue.def").read_text(), re.M)
    numbers = {name: int(number) for name, number, _ in catalogue}
    text = (HAL / "records/messages.def").read_text()
    found = {
        numbers[name]: (name, record, int(count), True)
        for name, record, count in re.findall(r"^HAL_MESSAGE\((\w+), (\w+), (\d+)\)", text, re.M)
    }
    for name in re.findall(r"^HAL_MESSAGE_BYTES\((\w+)\)", text, re.M):
        found[numbers[name]] = (name, None, 0, True)
    for number, record in re.findall(r"^HAL_PLAIN_MESSAGE\((\d+), (\w+)\)", text, re.M):
        found[int(number)] = (None, record, 1, False)
    return found


def records():
    """{record: (size, [(offset, field, type, argument, elements)])}"""
    found = {}
    for path in (HAL / "records").glob("*.def"):
        for record, size, body in re.findall(r"^HAL_RECORD\((\w+), (\d+)\)(.*?)^HAL_END", path.read_text(), re.M | re.S):
            fields = []
            for offset, field, kind, argument in re.findall(r"^HAL_FIELD\((\d+), (\w+), (\w+?)(?:<([^>]*)>)?\)", body, re.M):
                words = [word.strip() for word in argument.split(",")]
                many = kind in ("U32S", "I32S", "ENUMS", "RECORDS")
                count = int(words[-1]) if many else 1
                fields.append((int(offset), field, kind.removesuffix("S") if many else kind, words[0], count))
            found[record] = (int(size), fields)
    return found


def frame(number, payload, kind=REQUEST, sender=(101, 11101), msg_id=1, retcode=0, order=">"):
    """A whole frame with these bytes behind its headers."""
    heads = struct.pack(order + "IHHII", 16 + len(payload), number, 0, 0, 1001)
    size = 36 + len(heads) + len(payload)
    ipc = struct.pack(order + "7I", 0xFACE01BC, 0, kind, *sender, msg_id, 1)
    return ipc + struct.pack(order + "7IiI", 1 if kind else 2, 0, number, 1, 0, size, 0, retcode, 0) + heads + payload


def payload(record, action=1, mask=0, order=">"):
    return struct.pack(order + "II", action, mask) + record + bytes(-len(record) % 4) + bytes(16)


def to_card(octets):
    return struct.pack(">IHBB4I", 0x67706F6E, 1, 0, SLOT, *DAEMON, *CARD) + octets


def from_card(octets):
    return struct.pack(">IHBB4I", 0x67706F6E, 1, 1, SLOT, *CARD, *DAEMON) + octets


def write_capture(path, packets, link=147):
    """A pcap file with a packet each second."""
    with open(path, "wb") as file:
        file.write(struct.pack(">IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, link))
        for number, octets in enumerate(packets):
            file.write(struct.pack(">IIII", 1700000000 + number, 0, len(octets), len(octets)) + octets)


def read_capture(path):
    """(direction, slot, frame) of each packet of a file of the simulated chassis; of whole packets only."""
    octets = pathlib.Path(path).read_bytes()
    at = 24
    found = []
    while at + 16 <= len(octets):
        (size,) = struct.unpack_from(">I", octets, at + 8)
        packet = octets[at + 16 : at + 16 + size]
        if len(packet) < size:
            break
        found.append((packet[6], packet[7], packet[24:]))
        at += 16 + size
    return found
