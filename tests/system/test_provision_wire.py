"""Provisioning on the wire: what a line card that shares nothing with the daemon receives, byte by byte, and what the
daemon does when that card answers late, twice, wrongly or not at all."""

import struct
import threading
import time

import pytest

from chassis import SNMPD_CONF
from snmp_manager import ENTERPRISE, Manager, Table
from wire_card import ASYNC, CREATE, DELETE, REQUEST, SET, Agent, Message, check_heads, onu

INT, UINT, TEXT, IP = "Integer32", "Gauge32", "OctetString", "IpAddress"
PORT, ONU, ONU_TYPE, BW_TYPE, TCONT, GEM, SERVPORT, MCAST, CTC = 901, 903, 906, 907, 908, 909, 910, 919, 941
NOT_SUPPORTED, NO_RESOURCE = 1008, 1005

SHELF = """
env PDT_INFO_SHELF_TYPE 53
env PDT_INFO_CARD_SLOTID 8
env slot 8
env mate_slot 9
env active 1
card-board 8
card 8 add
mono-ready 1
"""
# A request whose answer is late shall be late, not repeated or given up by the master.
PATIENT_MASTER = SNMPD_CONF + "agentXTimeout 25\nagentXRetries 0\n"
PATIENT = ("-r", "0", "-t", "25")

SN = "ABCD0012ff78"
SN_BYTES = b"ABCD\x00\x12\xff\x78"
THE_ONU = (1, 1, 1, 7)


def u16(number):
    return struct.pack(">H", number)


def u32(number):
    return struct.pack(">I", number & 0xFFFFFFFF)


def record(size, fields):
    """A record that is zero but for {offset: bytes}."""
    made = bytearray(size)
    for offset, value in fields.items():
        made[offset : offset + len(value)] = value
    assert len(made) == size
    return bytes(made)


class Card:
    """Answers every request of the daemon on a thread of its own and keeps what came."""

    def __init__(self, chassis, slot):
        self.agent = Agent(chassis, slot)
        self.agent.sock.settimeout(0.1)
        self.messages = []
        self._odd = []  # (message type, how to answer it), each once
        self._ends = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        while not self._ends.is_set():
            try:
                message = Message(self.agent.sock.recv(4096))
            except TimeoutError:
                continue
            self.messages.append(message)
            if message.kind != REQUEST:
                continue
            odd = next((o for o in self._odd if o[0] == message.type), None)
            if odd is None:
                self.agent.reply(message)
            else:
                self._odd.remove(odd)
                odd[1](self.agent, message)

    def answer_once(self, kind, how):
        self._odd.append((kind, how))

    def of(self, *kinds, since=0):
        return [m for m in self.messages[since:] if m.type in kinds]

    def one(self, kind, since=0):
        (message,) = self.of(kind, since=since)
        return message

    def close(self):
        self._ends.set()
        self._thread.join(10)
        self.agent.sock.close()


class World:
    """The daemon with such a card on slot 1, its port 1 in service, and a manager."""

    def __init__(self, chassis):
        self.chassis = chassis
        chassis.start(SHELF)
        self.card = Card(chassis, 1)
        chassis.start_snmpd(conf=PATIENT_MASTER)
        chassis.start_daemon(env={"OV_IPC_CARRIER": "unix"})
        chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
        chassis.event("slot-active", slot_id=8, card_type=2)
        chassis.event("slot-add", slot_id=1, card_type=27)
        chassis.event("slot-active", slot_id=1, card_type=27)
        chassis.event("new-if", ifindex="gpon-olt1/1", flags="up+running")
        chassis.wait_agent(15)
        self.manager = Manager(chassis)
        table = lambda arcs, status, columns: Table(self.manager, arcs, status, columns)
        texts = dict.fromkeys((3, 5, 6, 7, 8, 13, 15, 16), TEXT)
        numbers = dict.fromkeys((4, 9, 10, 18, 22, 24), INT)
        self.onu = table("2", 17, texts | numbers | {23: UINT})
        self.port = table("1", 13, {14: INT})
        self.onutype = table("4", 15, dict.fromkeys(range(3, 17), INT) | {2: TEXT})
        self.bandwidth = table("7", 7, dict.fromkeys(range(3, 7), INT) | {2: TEXT})
        self.tcont = table("6", 6, {3: TEXT, 5: TEXT})
        self.gem = table("5", 9, {4: TEXT, 5: UINT, 8: INT, 10: INT, 12: UINT, 13: TEXT, 14: TEXT})
        self.service = table("25", 17, dict.fromkeys(range(2, 20), INT))
        self.mcast = table("9", 7, {2: INT, 3: TEXT, 4: IP, 5: UINT})
        self.srvprofile = table("39.1", 6, {3: TEXT, 4: TEXT})
        chassis.wait_for(lambda: self.port.get((1, 1, 1), 14) is not None, what="the port's row")

    def mark(self):
        return len(self.card.messages)

    def add_onu(self, index=THE_ONU, sn=SN, **columns):
        values = {4: 1, 5: sn, 13: "KLM-618"} | {int(k[1:]): v for k, v in columns.items()}
        return self.onu.create(index, values)

    def add_onu_slowly(self, index=THE_ONU, sn=SN):
        """The same by a manager who waits for long: the text of its answer."""
        name = lambda column: f".{ENTERPRISE}.1.1.1.1.1.2.1.{column}.{'.'.join(map(str, index))}"
        words = (name(4), "i", "1", name(5), "s", sn, name(13), "s", "KLM-618", name(17), "i", "4")
        made = self.chassis.snmp("snmpset", *words, options=PATIENT)
        return made.stdout + made.stderr

    def close(self):
        self.manager.close()
        self.card.close()


@pytest.fixture
def world(chassis):
    made = World(chassis)
    yield made
    made.close()


def check(message, kind, action, mask, expected):
    check_heads(message, kind, len(expected), REQUEST, 1, board=8)
    assert (message.action, message.mask & 0xFFFFFFFF) == (action, mask)
    got = message.record[: len(expected)]
    differing = [n for n, (a, b) in enumerate(zip(got, expected)) if a != b]
    assert got == expected, differing
    assert message.record[len(expected) :] == bytes(len(message.record) - len(expected))


def bits(*numbers):
    return sum(1 << n for n in set(numbers))


# ---- the records ------------------------------------------------------------------------------------------------


def test_a_pon_port_goes_out_whole_with_the_bit_of_the_change(world):
    since = world.mark()
    assert world.port.set((1, 1, 1), {14: 37}) == "noError"
    fields = {0: u32(0x4C200000), 8: u32(3), 16: u32(4095), 20: u32(37), 28: u32(10000), 109: b"\1", 110: b"\1", 120: b"\1"}
    fields |= {4: u32(int(world.port.get((1, 1, 1), 5)))}
    fields |= {40 + 32 + 4 * queue: u32(1) for queue in range(8)}  # no profile: equal weights
    check(world.card.one(PORT, since), PORT, SET, bits(9), record(124, fields))


def test_an_onu_is_created_with_every_field_in_its_place(world):
    assert world.srvprofile.create((5,), {4: "KLM-618"}) == "noError"
    since = world.mark()
    columns = dict(_3="cellar", _9=1, _10=0, _15="default", _16="12", _18=1, _22=3, _23=5, _24=1)
    assert world.add_onu(**columns) == "noError"
    fields = {
        0: u32(onu(1, 1, 7)),
        4: b"cellar",
        72: u32(1),
        76: SN_BYTES,
        136: u32(1),
        140: u32(0),
        144: b"KLM-618",
        209: b"default",
        284: u32(12),
        288: b"\1",
        300: u32(3),
        304: u32(5),
        308: u32(1),
    }
    mask = bits(1, 2, 3, 4, 5, 6, 10, 12, 15)
    check(world.card.one(ONU, since), ONU, CREATE, mask, record(316, fields))


def test_a_changed_authentication_carries_the_credentials_of_its_mode_alone(world):
    assert world.add_onu(_6="first", _7="logical", _8="key") == "noError"
    used = {1: "s", 2: "p", 3: "sp", 4: "l", 5: "lw"}
    for mode in (3, 5, 2, 4, 1):
        since = world.mark()
        values = {4: mode, 5: SN, 6: "secret", 7: "identity", 8: "word"}
        assert world.onu.set(THE_ONU, values) == "noError"
        fields = {0: u32(onu(1, 1, 7)), 72: u32(mode), 136: u32(1), 140: u32(1), 144: b"KLM-618", 276: u32(1)}
        fields |= {76: SN_BYTES} if "s" in used[mode] else {}
        fields |= {85: b"secret"} if "p" in used[mode] else {}
        fields |= {96: b"identity"} if "l" in used[mode] else {}
        fields |= {121: b"word"} if "w" in used[mode] else {}
        check(world.card.one(ONU, since), ONU, SET, bits(2, 15), record(316, fields))
        stored = [world.onu.get(THE_ONU, column) for column in (5, 6, 7, 8)]
        wanted = [v if c in used[mode] else "" for c, v in zip("splw", (SN, "secret", "identity", "word"))]
        assert stored == wanted


def test_a_deleted_onu_is_named_whole(world):
    assert world.add_onu() == "noError"
    since = world.mark()
    assert world.onu.destroy(THE_ONU) == "noError"
    fields = {0: u32(onu(1, 1, 7)), 72: u32(1), 76: SN_BYTES, 136: u32(1), 140: u32(1), 144: b"KLM-618", 276: u32(1)}
    check(world.card.one(ONU, since), ONU, DELETE, bits(15), record(316, fields))


def test_an_onu_type_goes_to_every_card(world):
    since = world.mark()
    values = {5: 3, 6: 4, 7: 5, 8: 6, 9: 7, 10: 8, 11: 9, 12: 10, 13: 11, 14: 12, 16: 13}
    assert world.onutype.create((4000000001,), values | {2: "HG-16"}) == "noError"
    fields = {0: b"HG-16", 68: u32(4000000001), 72: u32(0)}
    in_order = (3, 10, 11, 9, 4, 12, 5, 8, 6, 7, 13)  # cardNum at 80, then every 4 bytes to videoNum
    fields |= {80 + 4 * n: u32(value) for n, value in enumerate(in_order)}
    mask = bits(0, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14)
    check(world.card.one(ONU_TYPE, since), ONU_TYPE, CREATE, mask, record(128, fields))


def test_a_bandwidth_profile_goes_to_every_card(world):
    since = world.mark()
    assert world.bandwidth.create((4000000001,), {2: "gold", 3: 5, 4: 100, 5: 200, 6: 300}) == "noError"
    fields = {0: u32(4000000001), 4: b"gold", 72: u32(5), 76: u32(100), 80: u32(200), 84: u32(300)}
    check(world.card.one(BW_TYPE, since), BW_TYPE, CREATE, bits(1, 2, 3, 4, 5), record(92, fields))


def add_below(world, onu_index=THE_ONU):
    assert world.tcont.create((*onu_index, 2), {3: "up", 5: "default"}) == "noError"
    assert world.gem.create((*onu_index, 3), {4: "down", 5: 2, 8: 1, 10: 1, 12: 4, 13: "gold", 14: "silver"}) == "noError"
    values = {2: 3, 3: 100, 4: 200, 5: 300, 7: 3, 8: 1, 9: 2, 10: 2, 11: 3, 12: 5, 14: 1, 18: 1, 19: 9}
    assert world.service.create((*onu_index, 4), values) == "noError"


def test_what_hangs_off_an_onu_goes_out_byte_by_byte(world):
    assert world.add_onu() == "noError"
    since = world.mark()
    add_below(world)
    fields = {0: u32(onu(1, 1, 7)), 4: u32(2), 12: b"up", 77: b"default"}
    # the name has the marker's bit, as cards know it
    check(world.card.one(TCONT, since), TCONT, CREATE, bits(4, 5), record(144, fields))

    gem_index = 11 << 27 | 1 << 26 | 1 << 21 | 6 << 7 | 2
    fields = {0: u32(gem_index), 4: b"down", 72: u32(2), 80: u32(4), 92: u32(1), 100: b"\1", 101: b"gold", 134: b"silver"}
    check(world.card.one(GEM, since), GEM, CREATE, bits(1, 2, 7, 9, 10, 11, 12), record(168, fields))

    fields = {0: u32(12 << 27 | 1 << 26 | 1 << 21 | 6 << 7 | 3), 4: u32(gem_index)}
    fields |= {8: u16(100), 10: u16(200), 12: u16(300), 14: u16(1), 16: u16(2)}
    fields |= {20: u32(2), 24: u32(2), 28: u32(3), 32: u32(-1), 36: u32(5), 44: b"\1", 48: u32(9)}
    check(world.card.one(SERVPORT, since), SERVPORT, CREATE, bits(11, 13, 14), record(52, fields))


def test_names_that_fill_their_column_keep_their_terminator_in_a_record(world):
    longest, fits, too_long = "n" * 65, "f" * 33, "t" * 34
    for number, name in enumerate((longest, fits, too_long)):
        since = world.mark()
        assert world.bandwidth.create((51 + number,), {2: name, 3: 4, 6: 1000}) == "noError"
        assert world.card.one(BW_TYPE, since).record[4:72] == name[:64].encode().ljust(68, b"\0")
    since = world.mark()
    assert world.add_onu(_15=fits) == "noError"
    assert world.card.one(ONU, since).record[209:276] == fits.encode().ljust(67, b"\0")
    # an ONU's column has less room than a profile's name: such a profile can't be named, nor is one of its beginning
    assert world.onu.set(THE_ONU, {15: too_long}) == "wrongLength"
    assert world.onu.set(THE_ONU, {15: too_long[:33]}) == "badValue"
    since = world.mark()
    assert world.tcont.create((*THE_ONU, 1), {3: "c" * 33, 5: longest}) == "noError"
    names = world.card.one(TCONT, since).record[12:144]
    assert names == b"c" * 33 + bytes(32) + b"n" * 64 + bytes(3)


def test_a_multicast_vlan_goes_to_every_card(world):
    since = world.mark()
    assert world.mcast.create((1, 9), {2: 300, 3: "abcdef", 4: "239.1.2.3", 5: 0x4C200000}) == "noError"
    fields = {0: u16(9), 2: u16(300), 4: b"abcdef", 12: u32(0x4C200000)}
    check(world.card.one(MCAST, since), MCAST, CREATE, bits(1, 2, 3, 4), record(16, fields))


def test_controllable_multicast_goes_out_as_one_byte(world):
    since = world.mark()
    for words in ("ctc enable", "ctc disable"):
        assert world.chassis.vty("configure terminal", "gpon", words).result == 0
    world.chassis.wait_for(lambda: len(world.card.of(CTC, since=since)) == 2, what="both messages")
    for message, byte in zip(world.card.of(CTC, since=since), (b"\1", b"\0")):
        check_heads(message, CTC, 1, ASYNC, 2, board=8)
        assert (message.action, message.mask & 0xFFFFFFFF, message.record[:1]) == (SET, 1, byte)


def test_an_onu_goes_behind_all_that_hangs_off_it(world):
    assert world.add_onu() == "noError"
    add_below(world)
    assert world.service.create((*THE_ONU, 1), {2: 3, 3: 7, 7: 2}) == "noError"
    since = world.mark()
    assert world.onu.destroy(THE_ONU) == "noError"
    deletes = [m for m in world.card.of(ONU, TCONT, GEM, SERVPORT, since=since)]
    assert [(m.type, m.action) for m in deletes] == [
        (SERVPORT, DELETE), (SERVPORT, DELETE), (GEM, DELETE), (TCONT, DELETE), (ONU, DELETE)
    ]  # fmt: skip
    below = [struct.unpack(">I", m.record[:4])[0] & 127 for m in deletes[:2]]
    assert below == [0, 3]  # service ports 1 and 4
    assert all(m.kind == REQUEST for m in deletes)  # each waits for the one before


def test_a_service_profiles_removal_is_one_way_and_has_a_number_of_its_own(world):
    assert world.srvprofile.create((5,), {4: "KLM-618"}) == "noError"
    since = world.mark()
    assert world.srvprofile.destroy((5,)) == "noError"
    world.chassis.wait_for(lambda: world.card.of(965, since=since), what="the card to hear of it")
    message = world.card.one(965, since)
    assert (message.kind, message.action, message.mask, message.record[:4]) == (ASYNC, 3, 0, u32(5))


# ---- the card's answers -----------------------------------------------------------------------------------------


def late(agent, message):
    time.sleep(2)
    agent.reply(message)


def twice(agent, message):
    agent.reply(message, retcode=0)
    agent.reply(message, retcode=NO_RESOURCE)


def of_another_request_first(agent, message):
    agent.reply(message, ipc_id=message.id ^ 1, retcode=NO_RESOURCE)
    agent.reply(message)


def with_other_bytes_first(agent, message):
    for data in (b"", b"abc", b"\0" * 200, agent.frame(message)[:27]):
        agent.send_to(message, data)
    agent.reply(message)


def without_record(agent, message):
    agent.reply(message, payload=b"")


@pytest.mark.parametrize("how", [late, twice, of_another_request_first, with_other_bytes_first, without_record])
def test_an_odd_answer_that_says_yes_makes_the_onu(world, how):
    since = world.mark()
    world.card.answer_once(ONU, how)
    assert world.add_onu() == "noError"
    assert world.onu.get(THE_ONU, 11) == "1"
    # what was too much of it doesn't answer the next request
    assert world.tcont.create((*THE_ONU, 1), {5: "default"}) == "noError"
    assert world.onu.set(THE_ONU, {9: 0}) == "noError"
    assert [(m.type, m.action) for m in world.card.of(ONU, TCONT, since=since)] == [(ONU, CREATE), (TCONT, CREATE), (ONU, SET)]


def cut_in_its_head(agent, message):
    agent.send_to(message, agent.frame(message)[:40])


def with_a_length_that_lies(agent, message):
    agent.reply(message, frame_len=5000)


@pytest.mark.parametrize("how", [cut_in_its_head, with_a_length_that_lies])
def test_an_answer_that_says_nothing_makes_no_onu(world, how):
    since = world.mark()
    world.card.answer_once(ONU, how)
    assert "badValue" in world.add_onu_slowly()
    assert world.onu.column(17) == {}
    world.chassis.wait_log("set ONU error")
    assert world.add_onu() == "noError"
    assert [m.action for m in world.card.of(ONU, since=since)] == [CREATE, CREATE]


def test_a_silent_card_costs_twelve_seconds_and_its_late_answer_does_no_harm(world):
    since = world.mark()
    kept = []
    world.card.answer_once(ONU, lambda agent, message: kept.append(message))
    began = time.monotonic()
    assert "badValue" in world.add_onu_slowly()
    assert time.monotonic() - began > 11.5
    assert len(world.card.of(ONU, since=since)) == 1  # asked once
    assert world.onu.column(17) == {}
    world.card.agent.reply(kept[0], retcode=NO_RESOURCE)  # when nobody waits any more
    assert world.add_onu() == "noError"
    assert world.onu.get(THE_ONU, 11) == "1"


def test_an_onu_that_the_card_does_not_support_stands_in_the_table_alone(world):
    since, announced = world.mark(), world.chassis.mark()
    world.card.answer_once(ONU, lambda agent, message: agent.reply(message, retcode=NOT_SUPPORTED))
    assert world.add_onu() == "noError"
    assert world.onu.get(THE_ONU, 17) == "1"
    assert world.onu.get(THE_ONU, 11) == "0"  # not added
    world.chassis.wait_log("set to which not support")
    assert world.onu.destroy(THE_ONU) == "noError"
    assert [m.action for m in world.card.of(ONU, since=since)] == [CREATE, DELETE]
    assert world.chassis.records(since=announced, kind="request", type="new-if") == []


def test_a_change_that_the_card_refuses_leaves_the_row_as_it_was(world):
    assert world.onutype.create((77,), {2: "HG-16"}) == "noError"
    assert world.add_onu(_6="secret") == "noError"
    before = {column: world.onu.get(THE_ONU, column) for column in range(2, 25)}
    for values in ({13: "HG-16"}, {4: 4, 7: "identity"}, {15: "default", 9: 0}):
        world.card.answer_once(ONU, lambda agent, message: agent.reply(message, retcode=NO_RESOURCE))
        assert world.onu.set(THE_ONU, values) == "badValue"
        assert {column: world.onu.get(THE_ONU, column) for column in range(2, 25)} == before, values
    assert world.onu.set(THE_ONU, {13: "HG-16"}) == "noError"
    assert world.onu.get(THE_ONU, 12) == "77"
