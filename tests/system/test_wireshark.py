"""The Wireshark dissector of the line cards' messages, as tshark shows with it what the descriptions say."""

import functools
import json
import pathlib
import random
import re
import struct
import subprocess

import pytest
import wire_frames as wire

from chassis import BUILD, REPO, SimctlError
from test_wire_docs import documented_attributes

DISSECTOR = BUILD / "share/gpon/wireshark/gpon.lua"
SAMPLE = REPO / "docs/examples/home.pcap.gz"
ONU = 10 << 27 | 1 << 26 | 3 << 21 | 4 << 7  # gpon-onu3/1:5
TCONT = 908


def tshark(*args):
    command = ["tshark", *args, "-X", f"lua_script:{DISSECTOR}"]
    done = subprocess.run(command, capture_output=True, text=True, errors="replace", timeout=120)
    assert done.returncode == 0, done.stderr
    assert "Lua" not in done.stderr, done.stderr
    assert "Lua Error:" not in done.stdout, [line for line in done.stdout.splitlines() if "Lua Error:" in line][:5]
    return done.stdout


def lines(path, *args):
    """The list that Wireshark shows."""
    return tshark("-n", "-r", str(path), *args).splitlines()


def trees(path, *args):
    """The dissected packets: the tree of "gpon" of each."""
    return [packet["_source"]["layers"]["gpon"] for packet in json.loads(tshark("-n", "-r", str(path), "-T", "json", "--no-duplicate-keys", *args))]


def found(tree, name):
    """All values of a field in a tree, in order."""
    values = []
    if isinstance(tree, dict):
        for key, value in tree.items():
            if key == name:
                values += value if isinstance(value, list) else [value]
            else:
                values += found(value, name)
    elif isinstance(tree, list):
        for one in tree:
            values += found(one, name)
    return values


@functools.cache
def field_names():
    return {line.split("\t")[2] for line in tshark("-G", "fields").splitlines() if "\tgpon." in line}


@functools.cache
def short_names():
    """{record: what filters call it}, as the built file says."""
    text = DISSECTOR.read_text().split("local ATTRIBUTES", 1)[0]
    return dict(re.findall(r'^  (\w+) = \{short = "(\w+)"', text, re.M))


# ---- values of each field ----------------------------------------------------------------------------------------


def pack(record, order, number, values):
    """A record with a value of its own in each field; what tshark has to show goes into values: {filter: [text]}."""
    size, fields = wire.records()[record]
    made = bytearray(size)
    for offset, field, kind, argument, count in fields:
        shown = values.setdefault(f"gpon.{short_names()[record]}.{field}", [])
        at = offset
        for _ in range(count):
            number[0] += 1
            octets = element(kind, argument, order, number, values, shown)
            made[at : at + len(octets)] = octets
            at += len(octets)
    return bytes(made)


def element(kind, argument, order, number, values, shown):
    n = number[0] % 200 + 3
    if kind == "RECORD":
        return pack(argument, order, number, values)
    if kind in wire.PLAIN:
        value = {"U8": n, "U16": 7000 + n, "U64": (n << 40) + 5, "IPV4": 0x0A000000 + n}.get(kind, 70000 + n)
        shown.append(f"10.0.0.{n}" if kind == "IPV4" else f"0x{value:08x}" if kind == "IFINDEX" else str(value))
        return struct.pack(order + wire.PLAIN[kind], value)
    if kind == "MAC":
        shown.append(f"00:1b:ac:00:00:{n:02x}")
        return bytes((0, 0x1B, 0xAC, 0, 0, n))
    if kind == "SERIAL":
        shown.append(f"ABCD000000{n:02x}")
        return b"ABCD\0\0\0" + bytes((n, 0))
    return octets_of(kind, int(argument), n, shown)


def octets_of(kind, size, n, shown):
    if kind == "BYTES":
        octets = bytes((n + i) % 256 for i in range(size))
        shown.append(octets.hex(":"))
        return octets
    text = f"t{n}"[:size]
    shown.append("***" if kind == "SECRET" else text)
    return text.encode().ljust(size, b"\0")


def one_of_each(order):
    """(frame, values) of every message that carries a record."""
    for number, (_, record, count, has_action) in wire.messages().items():
        if record is None:
            continue
        values, counter = {}, [number]
        octets = b"".join(pack(record, order, counter, values) for _ in range(count))
        octets = wire.payload(octets, order=order) if has_action else octets
        yield wire.frame(number, octets, order=order), values, number


@pytest.mark.parametrize("order", [">", "<"], ids=["big-endian", "little-endian"])
def test_each_field_of_each_message_is_shown_with_its_value(tmp_path, order):
    made = list(one_of_each(order))
    wire.write_capture(tmp_path / "all.pcap", [wire.to_card(octets) for octets, _, _ in made])
    shown = trees(tmp_path / "all.pcap")
    assert len(shown) == len(made) > 60
    for tree, (_, values, number) in zip(shown, made):
        assert found(tree, "gpon.nl.nlmsg_type") == [str(number)]
        for name, wanted in values.items():
            if wanted:  # fields that are records have none of their own
                assert found(tree, name) == wanted, (number, name)


def test_every_message_and_every_record_has_its_name():
    text = DISSECTOR.read_text()
    catalogue = (wire.HAL / "ov_hal_gpon_msg_catalogue.def").read_text()
    named = re.findall(r"^OV_HAL_GPON_MSG\((\w+), (\d+),", catalogue, re.M)
    assert len(named) > 60
    for name, number in named:
        assert re.search(rf'^  \[{number}\] = .*name = "{name}"', text, re.M), name
    for record, (_, fields) in wire.records().items():
        for _, field, _, _, _ in fields:
            assert f"gpon.{short_names()[record]}.{field}" in field_names(), (record, field)


def test_every_attribute_has_the_documented_name_at_its_bit(tmp_path):
    by_record = {record: number for number, (_, record, count, _) in wire.messages().items() if record and count == 1}
    documented = {record: names for record, names in documented_attributes().items() if record in by_record}
    assert len(documented) > 15
    frames = []
    for record, names in documented.items():
        octets = bytes(wire.records()[record][0])
        frames.append(wire.to_card(wire.frame(by_record[record], wire.payload(octets, 3, (1 << len(names)) - 1))))
    wire.write_capture(tmp_path / "masks.pcap", frames)
    for tree, (record, names) in zip(trees(tmp_path / "masks.pcap"), documented.items()):
        assert found(tree, "gpon.attribute") == names, record


# ---- what is shown of a conversation ---------------------------------------------------------------------------------


def tcont(name=b"data", size=144):
    return struct.pack(">III", ONU, 1, 0) + name.ljust(65, b"\0") + b"default".ljust(size - 77, b"\0")


def conversation():
    """A request with its refusal, then one with its answer, and an alarm."""
    asked = wire.frame(TCONT, wire.payload(tcont(), 1), msg_id=77)
    refused = wire.frame(TCONT, wire.payload(tcont(), 1), wire.REPLY, (101, 10103), 77, retcode=1005)
    got = wire.frame(TCONT, wire.payload(tcont(), 4, 0b11), msg_id=78)
    answer = wire.frame(TCONT, wire.payload(tcont(), 4, 0b11), wire.REPLY, (101, 10103), 78)
    alarm = struct.pack(">IIi", ONU, 209, 6) + bytes(32) + struct.pack(">ii", 4, 1) + bytes(32) + struct.pack(">i", 1)
    event = wire.frame(923, wire.payload(alarm, 3), 0, (101, 10103))
    return [wire.to_card(asked), wire.from_card(refused), wire.to_card(got), wire.from_card(answer), wire.from_card(event)]


def test_the_list_says_who_told_whom_what(tmp_path):
    wire.write_capture(tmp_path / "talk.pcap", conversation())
    shown = [re.sub(r"^ *\d+ +[\d.]+ +", "", line) for line in lines(tmp_path / "talk.pcap")]
    assert [re.sub(r" +", " ", line) for line in shown] == [
        'daemon → slot 3 GPON 272 TCONT create gpon-onu3/1:5 "data" request',
        'slot 3 → daemon GPON 272 TCONT create gpon-onu3/1:5 "data" reply: OV_GPON_RET_NO_RESOURCE',
        'daemon → slot 3 GPON 272 TCONT get gpon-onu3/1:5 "data" [onuIfindex, tcontId] request',
        'slot 3 → daemon GPON 272 TCONT get gpon-onu3/1:5 "data" [onuIfindex, tcontId] reply: done',
        "slot 3 → daemon GPON 216 WN_TRAP set gpon-onu3/1:5 one-way",
    ]


def test_requests_and_replies_find_each_other(tmp_path):
    wire.write_capture(tmp_path / "talk.pcap", conversation())
    asked, refused, got, answer, event = trees(tmp_path / "talk.pcap", "-2")
    assert found(asked, "gpon.reply_in") == ["2"] and found(refused, "gpon.request_in") == ["1"]
    assert found(got, "gpon.reply_in") == ["4"] and found(answer, "gpon.request_in") == ["3"]
    assert found(refused, "gpon.took") == ["1.000000000"]
    assert not found(event, "gpon.reply_in") + found(event, "gpon.request_in")
    text = tshark("-n", "-r", str(tmp_path / "talk.pcap"), "-V")
    assert "The card answered OV_GPON_RET_NO_RESOURCE: it has no room for more" in text
    assert "AlarmTableAlarmCode: onuDyingGasp (209)" in text
    assert "AlarmTableAlarmSeverity: 4 (critical)" in text


def test_the_time_of_a_reply_is_a_time_whatever_the_capture_says(tmp_path):
    """Captures have nanoseconds, too; and clocks are set back."""
    asked, refused, *_ = conversation()
    began = 10**18 + 500000000  # in nanoseconds since 1970
    for after, shown in ((499999700, "0.500000000"), (999999700, "1.000000000"), (3 * 10**18, "3000000000.000000000"), (-(10**9), "0.000000000")):
        with (tmp_path / "times.pcap").open("wb") as file:
            file.write(struct.pack(">IHHiIII", 0xA1B23C4D, 2, 4, 0, 0, 65535, 147))
            for at, octets in ((began, asked), (began + after, refused)):
                file.write(struct.pack(">IIII", *divmod(at, 10**9), len(octets), len(octets)) + octets)
        _, reply = trees(tmp_path / "times.pcap")
        assert found(reply, "gpon.took") == [shown], after


def test_filters_take_what_is_looked_for(tmp_path):
    wire.write_capture(tmp_path / "talk.pcap", conversation())
    for wanted, number in (
        ('gpon.object == "gpon-onu3/1:5"', 5),
        ("gpon.hal.retcode != 0", 1),
        ('gpon.attribute == "tcontId"', 2),
        ("gpon.head.slot == 3 && gpon.head.direction == 1", 3),
        ("gpon.action == 4", 2),
        ('gpon.tcont.name == "data"', 4),
    ):
        assert len(lines(tmp_path / "talk.pcap", "-Y", wanted)) == number, wanted


def test_passwords_are_shown_on_request_only(tmp_path):
    sizes = {record: size for record, (size, _) in wire.records().items()}
    wifi = bytearray(sizes["ov_gpon_rmwifi_attr_t"])
    wifi[49 : 49 + 14] = b"planted-secret"
    wire.write_capture(tmp_path / "wifi.pcap", [wire.to_card(wire.frame(956, wire.payload(bytes(wifi))))])
    shown = tshark("-n", "-r", str(tmp_path / "wifi.pcap"), "-V")
    assert "wifiShareKey: ***" in shown and "planted-secret" not in shown
    shown = tshark("-n", "-o", "gpon.secrets:TRUE", "-r", str(tmp_path / "wifi.pcap"), "-V")
    assert "wifiShareKey: planted-secret" in shown


# ---- damaged frames ---------------------------------------------------------------------------------------------------


def test_what_is_wrong_is_said(tmp_path):
    whole = wire.frame(TCONT, wire.payload(tcont(), 1))
    cases = {
        "hdr_id isn't 0xface01bc": b"\xfa\xce\x01\xbd" + whole[4:],
        "The frame ends in the HAL header": whole[:40],
        "The frame ends in front of the Message header": whole[:64],
        "The frame ends in action and mask": whole[:84],
        "84 bytes of the record are missing": whole[:148],
        "msg_len is 220, not 230": whole + bytes(10),
        "26 bytes behind the record": whole + bytes(10),
        "nlmsg_type is 909, not 908": whole[:68] + struct.pack(">H", 909) + whole[70:],
        "Message 899 has no description": wire.frame(899, b"1234"),
        "Bits 30 stand for no attribute": wire.frame(TCONT, wire.payload(tcont(), 3, 1 << 30)),
        "No request before it has this msg_id": wire.frame(TCONT, wire.payload(tcont()), wire.REPLY, msg_id=5),
        "The reply leaves out 44 bytes of the record": wire.frame(TCONT, wire.payload(tcont())[:108], wire.REPLY),
        "more than 2076": wire.frame(TCONT, bytes(3000)),
        "msg_type 9": wire.frame(TCONT, wire.payload(tcont()), 9),
    }
    packets = [wire.to_card(octets) for octets in cases.values()] + [wire.to_card(b""), b"something else"]
    wire.write_capture(tmp_path / "bad.pcap", packets)
    shown = tshark("-n", "-r", str(tmp_path / "bad.pcap"), "-V").split("\nFrame ")
    wanted = [*cases, "No frame behind the capture head", "Neither a frame nor what the simulated chassis puts"]
    assert len(shown) == len(wanted)
    for text, tree in zip(wanted, shown):
        assert text in tree, tree


def test_whole_frames_of_every_message_raise_no_complaint(tmp_path):
    wire.write_capture(tmp_path / "all.pcap", [wire.to_card(octets) for octets, _, _ in one_of_each(">")])
    assert lines(tmp_path / "all.pcap", "-Y", "_ws.expert") == []


def damaged(chance, frames):
    octets = bytearray(chance.choice(frames))
    kind = chance.randrange(4)
    if kind == 0:
        return bytes(octets[: chance.randrange(len(octets))])
    if kind == 1:
        return bytes(octets) + chance.randbytes(chance.randrange(1, 3000))
    for _ in range(chance.randrange(1, 30)):
        at = chance.randrange(24 if kind == 2 else 0, min(len(octets), 130 if kind == 2 else len(octets)))
        octets[at] = chance.choice((0, 0xFF, 0x80, chance.randrange(256)))
    return bytes(octets)


def test_damaged_frames_are_shown_as_far_as_they_go(tmp_path):
    chance = random.Random(5)
    frames = [wire.to_card(octets) for order in "><" for octets, _, _ in one_of_each(order)] + conversation()
    cut = [frame[:length] for frame in frames[::9] for length in range(0, len(frame), 5)]
    packets = cut + [damaged(chance, frames) for _ in range(3000)] + [chance.randbytes(n) for n in range(200)]
    wire.write_capture(tmp_path / "fuzz.pcap", packets)
    assert len(tshark("-n", "-2", "-r", str(tmp_path / "fuzz.pcap"), "-V").split("\nFrame ")) == len(packets)


# ---- captures ---------------------------------------------------------------------------------------------------------


def test_frames_of_a_real_network_are_found_in_tipc(tmp_path):
    """A capture of a shelf's own network: Ethernet, TIPC's head for a message to a name, the frame."""
    octets = wire.frame(TCONT, wire.payload(tcont(), 1))
    size = 40 + len(octets)
    words = (2 << 29 | 0 << 25 | 10 << 21 | size, 2 << 29, 0, 0x01001001, 1234, 5678, 0x01001001, 0x01001002, 19101, 10103)
    ethernet = bytes(6) + b"\x02" + bytes(5) + b"\x88\xca"
    wire.write_capture(tmp_path / "tipc.pcap", [ethernet + struct.pack(">10I", *words) + octets], link=1)
    (line,) = lines(tmp_path / "tipc.pcap")
    assert 'GPON 302 TCONT create gpon-onu3/1:5 "data" request' in re.sub(r" +", " ", line)


def test_the_sample_shows_a_home_being_set_up():
    shown = lines(SAMPLE)
    for wanted in (
        r"daemon → slot 1 +GPON \d+ PORT create gpon-olt1/1 request",
        r"slot 1 → daemon +GPON \d+ PORT create gpon-olt1/1 reply: done",
        r"daemon → slot 1 +GPON \d+ ONU create gpon-onu1/1:1 .*request",
        r"daemon → slot 1 +GPON \d+ SERVPORT create gpon-onu1/1:1 service port 1",
        r"daemon → slot 1 +GPON \d+ RM_WIFI \w+ gpon-onu1/1:1",
        r"slot 1 → daemon \(events\) +GPON \d+ ONUSTATES_TRAP set gpon-onu1/1:1 one-way",
    ):
        assert any(re.search(wanted, line) for line in shown), wanted
    assert lines(SAMPLE, "-Y", "_ws.malformed || gpon.wrong.cut || gpon.wrong.length || gpon.wrong.word") == []


def test_the_simulated_chassis_writes_what_wireshark_reads(chassis):
    chassis.start(REPO / "sim/scenarios/demo.scn", args=("--capture", "/tmp/wire.pcap"))
    chassis.start_daemon()
    capture = chassis.path("/tmp/wire.pcap")
    last = (1, 2, 953)

    def kinds():
        return {(direction, slot, int.from_bytes(octets[68:70], "big")) for direction, slot, octets in wire.read_capture(capture)}

    chassis.wait_for(lambda: {(0, 2, 901), (1, 2, 901), (1, 1, 922)} <= kinds(), 30, "the cards' restore in the capture")
    chassis.simctl("card-event", 2, "protect")
    chassis.wait_for(lambda: last in kinds(), 20, "the event in the capture")
    shown = "\n".join(lines(capture))
    for wanted in (
        "daemon → slot 2 .* PORT create gpon-olt2/1 request",
        "slot 2 → daemon .* PORT create gpon-olt2/1 reply: done",
        r"slot 1 → daemon \(events\) .* UNCFG_ONU create gpon-olt1/1 one-way",
        r"slot 2 → daemon \(events\) .* PON_PROTECT_STATUS set",
    ):
        assert re.search(wanted, shown), wanted


def test_a_capture_that_the_disk_has_no_room_for_ends_with_a_whole_frame(chassis):
    chassis.start_sandbox()
    made = chassis.run("sh", "-c", "mkdir /tmp/small && mount -t tmpfs -o size=8k none /tmp/small")
    assert made.returncode == 0, made.stderr
    chassis.start("mono-ready 1\ncard 3 add\n", args=("--capture", "/tmp/small/wire.pcap"))
    name = "import socket,sys; s=socket.socket(socket.AF_UNIX,socket.SOCK_DGRAM); s.bind(b'\\0ov_ipc/19111/11101'); s.recv(4096)"
    chassis.spawn("reader", "/usr/bin/python3", "-c", name.replace("s.recv(4096)", "[s.recv(4096) for _ in iter(int, 1)]"))

    def ended():
        try:
            chassis.simctl("card-event", 3, "protect", "count=20")
        except SimctlError:
            pass  # nobody has the daemon's name yet
        return "the capture ends" in chassis.output("chassis-sim")

    chassis.wait_for(ended, 30, "the end of the capture")
    octets = pathlib.Path(chassis.path("/tmp/small/wire.pcap")).read_bytes()
    frames = wire.read_capture(chassis.path("/tmp/small/wire.pcap"))
    assert frames and 24 + sum(16 + 24 + len(frame) for _, _, frame in frames) == len(octets)
    assert chassis.simctl("show", "cards") is not None  # the chassis goes on
