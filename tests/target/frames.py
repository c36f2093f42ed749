"""Comparison of what two runs sent to line cards, in the files of chassis-sim's --capture."""

import collections
import struct

# Of the IPC's header: the transaction's id, which is random, and the sender's running count.
MASKED = ((20, 24), (24, 28))
MESSAGE_TYPE = slice(28 + 8, 28 + 12)
SHOWN = 10
# Of the file, of a packet in it, and in front of a frame.
FILE_HEAD, PACKET_HEAD, FRAME_HEAD = 24, 16, 24
TO_CARD = 0


def packets(path):
    """(direction, slot, frame) of each packet, in order."""
    octets = path.read_bytes()
    at = FILE_HEAD
    while at < len(octets):
        (size,) = struct.unpack_from(">I", octets, at + 8)
        packet = octets[at + PACKET_HEAD : at + PACKET_HEAD + size]
        yield packet[6], packet[7], packet[FRAME_HEAD:]
        at += PACKET_HEAD + size


def read(path):
    """The frames that each slot was sent, in order, masked."""
    slots = collections.defaultdict(list)
    for direction, slot, octets in packets(path):
        if direction != TO_CARD:
            continue
        frame = bytearray(octets)
        for begin, end in MASKED:
            frame[begin:end] = bytes(end - begin)
        slots[slot].append(bytes(frame))
    return slots


def describe(slot, frame):
    return f"slot {slot} message {int.from_bytes(frame[MESSAGE_TYPE], 'big')}: {frame.hex()}"


def compare(one, other):
    """(number of frames, text of the differences). What depends on the time of day or on when an answer came may come in
    another order or another number of times: each frame that one run sent must be among the other's."""
    first, second = read(one), read(other)
    lines = []
    for slot in sorted({*first, *second}):
        mine, theirs = dict.fromkeys(first[slot]), dict.fromkeys(second[slot])
        lines += [f"only {one.stem}: {describe(slot, frame)}" for frame in mine if frame not in theirs]
        lines += [f"only {other.stem}: {describe(slot, frame)}" for frame in theirs if frame not in mine]
    number = sum(len(frames) for frames in second.values())
    if number == 0:
        lines.append(f"{other} has no frame")
    return number, "\n".join(lines[:SHOWN])
