"""Protection on the wire: a line card that shares nothing with the daemon plays a group from its making to its end, and
what it receives for both ports is compared byte by byte with the documented records."""

import socket

import pytest

from chassis import wait_for
from snmp_manager import Table
from test_commands_onu import Operator
from test_provision_wire import (
    GEM, INT, ONU, PORT, SERVPORT, TCONT, TEXT, World, add_below, bits, check, record, u16, u32,
)  # fmt: skip
from wire_card import CREATE, DELETE, GET, SET, onu

IP, UINT = "IpAddress", "Gauge32"
NO, MSW, MSP = 1, 2, 3
GROUP, SWITCHED = 952, 953
RM_SERVICE, RM_UNI, RM_UNI_VLAN, RM_UNI_MCAST, ONU_QOS = 913, 915, 916, 917, 921
MAC_FILTER, IP_HOST, TR069, VOIP, SIP_AGENT, SIP_USER, WAN, WIFI = 934, 942, 943, 946, 947, 948, 955, 956
UNI_POE, ONU_POE, QOS_MODEL = 962, 963, 717
HOME = "profile onutype HOME eth 2 pots 1 card 1 video 1 down-queue 8 up-queue 8"
WORK, PROTECT = 1, 2
SERIAL = b"ABCD\x00\x00\x00\x07"


def pon(port):
    return 9 << 27 | 1 << 26 | 1 << 21 | (port - 1) << 15


def gem(port, number):
    return 11 << 27 | 1 << 26 | 1 << 21 | (port - 1) << 15 | 6 << 7 | number - 1


def service_port(port, number):
    return 12 << 27 | 1 << 26 | 1 << 21 | (port - 1) << 15 | 6 << 7 | number - 1


def eth(number=1):
    """Place of an Ethernet UNI: card, kind, number, behind the index of the ONU."""
    return {4: u16(1), 8: u32(0), 12: u16(number)}


class Protected(World):
    """The card in step, with a subscriber on ONU 7 of port 1, and a blank port 2."""

    def __init__(self, chassis):
        super().__init__(chassis)
        chassis.event("new-if", ifindex="gpon-olt1/2", flags="up+running")
        chassis.wait_for(lambda: self.port.get((1, 1, 2), 14) is not None, what="the second port's row")
        self.groups = Table(self.manager, "32", 11, {2: TEXT, 3: INT, 4: INT, 7: INT, 8: INT})
        self.iphost = Table(self.manager, "26.1", 15, {1: INT, 2: IP, 3: IP, 4: IP, 7: UINT, 8: UINT, 9: TEXT})
        self.operator = Operator(chassis)
        chassis.simctl("replay", "slot=1", "step=60000", timeout=120)
        assert self.operator.on_gpon(HOME)[0] == [0]
        assert self.operator.on_port("onu 7 type HOME sn ABCD00000007")[0] == [0]
        add_below(self)

    def told(self, since):
        """What the card was told and not asked."""
        return [m for m in self.card.messages[since:] if 700 < m.type < 800 or m.action != GET]

    def make_group(self):
        return self.groups.create((1,), {2: "north", 3: pon(WORK), 4: pon(PROTECT)})

    def typed(self, line, port=False):
        results, text = self.operator.on_port(line) if port else self.operator.on_onu(line)
        assert results == [0], (line, text)

    def active(self):
        return int(self.groups.get((1,), 7))


@pytest.fixture
def world(chassis):
    made = Protected(chassis)
    yield made
    made.close()


def check_group(message, action, active, standby):
    fields = {0: b"north", 64: u32(pon(active)), 68: u32(pon(standby)), 72: u32(1)}
    check(message, GROUP, action, 0, record(76, fields))


# ---- the copy -------------------------------------------------------------------------------------------------------


def copied(port):
    """(type, action, mask, record) of what the blank port gets, in its order."""
    uplink = {0: u32(gem(port, 3)), 4: b"down", 72: u32(2), 101: b"gold", 134: b"silver"}
    line = {0: u32(service_port(port, 4)), 4: u32(gem(port, 3)), 8: u16(100), 10: u16(200), 12: u16(300)}
    line |= {14: u16(1), 16: u16(2), 20: u32(2), 24: u32(2), 28: u32(3), 32: u32(-1), 36: u32(5), 44: b"\1"}
    subscriber = {0: u32(onu(1, port, 7)), 4: b"gpon-onu1/%d:7" % port, 72: u32(1), 76: SERIAL}
    subscriber |= {140: u32(1), 144: b"HOME"}
    return [
        (ONU, CREATE, bits(1, 2, 5, 15), record(316, subscriber)),
        (TCONT, CREATE, bits(3, 4, 5), record(144, {0: u32(onu(1, port, 7)), 4: u32(2), 12: b"up", 77: b"default"})),
        (GEM, CREATE, bits(0, 1, 2, 10, 11, 12), record(168, uplink)),
        (GEM, SET, bits(9), record(168, uplink | {100: b"\1"})),
        (SERVPORT, CREATE, bits(11), record(52, line)),
        (SERVPORT, SET, bits(14), record(52, line | {48: u32(9)})),
    ]


def check_making(world):
    since = world.mark()
    assert world.make_group() == "noError"
    *copy, group = world.told(since)
    expected = copied(PROTECT)
    assert [(m.type, m.action) for m in copy] == [each[:2] for each in expected]
    for message, each in zip(copy, expected):
        check(message, *each)
    check_group(group, CREATE, WORK, PROTECT)
    assert world.active() == pon(WORK)


# ---- the mirror -----------------------------------------------------------------------------------------------------

SIP_AGENT_LINE = (
    "remote sip-agent 1 registrar-server reg.example.net proxy-server proxy.example.net outbound-proxy out.example.net "
    "primary-dns 10.0.0.1 secondary-dns 10.0.0.2 tcpudp-port 5060"
)
STATION = bytes.fromhex("001122334455")
FILTER = {4: u16(1)}

#: What is typed, and what the card is told of it: (type, size, action, mask, fields behind the index).
REPEATED = {
    "ONU": ("name cellar", [
        (ONU, 316, SET, bits(1), {
            4: b"cellar", 72: u32(1), 76: SERIAL, 136: u32(1), 140: u32(1), 144: b"HOME", 276: u32(1)}),
    ]),
    "QoS of an ONU": ("qos-onu-bandwidth min 100 max 2000", [
        (ONU_QOS, 32, SET, bits(4, 5), {12: u32(2000), 16: u32(100), 20: u32(1)}),
    ]),
    "UNI": ("remote uni eth_1/1 max-frame 1522", [
        (RM_UNI, 80, SET, bits(10), eth() | {16: u32(1), 48: u32(1522), 56: u32(2)}),
    ]),
    "TR-069": ("remote onu tr069-mgmt tag 5 pri 7", [(TR069, 200, SET, bits(2, 3), {8: u32(5), 12: u32(7)})]),
    "service": ("remote service 1 gem 3 vlan 100 eth_1/1", [
        (RM_SERVICE, 40, CREATE, bits(2, 3, 4, 5, 6, 7), {
            4: u16(1), 8: u16(1), 16: u16(1), 20: u32(3), 24: u16(3), 26: u16(100)}),
        (MAC_FILTER, 20, CREATE, bits(3, 8), FILTER),
    ]),
    "VLANs of a UNI": ("remote uni eth_1/1 vlan-mode hybrid pvlan 5 priority 3  tag 100 200", [
        (RM_UNI_VLAN, 128, SET, bits(2, 3, 4, 6), eth() | {
            16: u16(5), 18: u16(3), 20: u32(4), 24: u32(2), 28: u16(100), 30: u16(100), 32: u16(200), 34: u16(200)}),
    ]),
    "switch of multicast": ("remote multicast eth_1/1 enable", [
        (RM_UNI, 80, SET, bits(4), eth() | {16: u32(1), 24: u32(1), 48: u32(1522), 56: u32(2)}),
        (RM_UNI_MCAST, 52, CREATE, None, None),
    ]),
    "multicast": ("remote multicast eth_1/1 igmp version 3", [(RM_UNI_MCAST, 52, SET, None, None)]),
    "mode of a MAC filter": ("remote mac_filter service 1 mode static", [
        (MAC_FILTER, 20, DELETE, bits(3, 8), FILTER),
        (MAC_FILTER, 20, SET, bits(2), FILTER | {6: b"\2"}),
    ]),
    "rule of a MAC filter": ("remote mac_filter service 1 rule 1 forward da 0011-2233-4455", [
        (MAC_FILTER, 20, CREATE, bits(5, 6, 7, 8), FILTER | {8: b"\1", 11: STATION}),
    ]),
    "VoIP": ("remote voip protocol sip", [(VOIP, 176, SET, bits(2), {5: b"\1"})]),
    "SIP agent": (SIP_AGENT_LINE, [
        (SIP_AGENT, 408, CREATE, None, {
            4: u32(1), 8: b"proxy.example.net", 136: b"out.example.net", 264: b"reg.example.net",
            392: socket.inet_aton("10.0.0.1"), 396: socket.inet_aton("10.0.0.2"), 400: u32(5060)}),
    ]),
    "SIP user": ("remote sip-user pots_1/1 sip-agent 1 user-aor 100 display-name Anna username anna password secret", [
        (SIP_USER, 248, SET, bits(4, 5, 6, 7, 8), {
            4: u32(1), 8: u32(1), 12: u32(1), 16: u32(1), 20: b"100", 148: b"Anna", 173: b"anna", 223: b"secret"}),
    ]),
    "WAN": ("remote wan 2 route voice dhcp vlan-mode tag 200 priority 5", [
        (WAN, 116, CREATE, 0, {4: b"\2\1\3", 8: u16(200), 10: b"\1\5\1", 112: b"\1"}),
    ]),
    "Wi-Fi": ("remote wifi 2 mode 802.11b/g channel 13 ssid-name guests security-mode open", [
        (WIFI, 252, CREATE, 0, {4: b"\2\3\x0d", 7: b"guests", 48: b"\1", 247: b"\1", 248: b"\1"}),
    ]),
    "PoE of a UNI": ("remote uni eth_1/1 poe adminstate enable", [(UNI_POE, 56, SET, bits(2), eth() | {16: b"\1"})]),
    "PoE": ("remote onu poe usagethr 99", [(ONU_POE, 40, SET, bits(5), {20: u16(99)})]),
}  # fmt: skip


def check_pair(world, since, expected, index):
    """What the card is told of the working port it is told of the other one, and nothing else."""
    of_both = 2 * len(expected)
    wait_for(lambda: len(world.told(since)) >= of_both, 20, "the repetition")
    told = world.told(since)
    assert [(m.type, m.action) for m in told] == [each[::2][:2] for each in expected] * 2
    for place, port in ((0, WORK), (len(expected), PROTECT)):
        for message, first, (kind, size, action, mask, fields) in zip(told[place:], told, expected):
            if mask is None:  # a row that is made is made with all columns there
                assert message.mask & first.mask == first.mask and (action == CREATE or message.mask == first.mask)
                mask = message.mask & 0xFFFFFFFF
            elif isinstance(mask, tuple):
                mask = mask[place > 0]
            fields = {4: first.record[4:size]} if fields is None else fields  # as long as it is the same for both
            check(message, kind, action, mask, record(size, {0: u32(index(port))} | fields))


def of_onu(port):
    return onu(1, port, 7)


def check_repeated(world, kind):
    line, expected = REPEATED[kind]
    since = world.mark()
    world.typed(line)
    check_pair(world, since, expected, of_onu)


def check_port_repeated(world):
    since = world.mark()
    assert world.port.set((1, 1, 1), {14: 37}) == "noError"
    wait_for(lambda: len(world.told(since)) == 2, 20, "the repetition")
    for message, port in zip(world.told(since), (WORK, PROTECT)):
        fields = {0: u32(pon(port)), 8: u32(3), 16: u32(4095), 20: u32(37), 28: u32(10000)}
        fields |= {4: u32(int(world.port.get((1, 1, port), 5))), 109: b"\1", 110: b"\1", 120: b"\1"}
        fields |= {40 + 32 + 4 * queue: u32(1) for queue in range(8)}
        check(message, PORT, SET, bits(9), record(124, fields))


def check_scheduler_repeated(world):
    for model, word in ((2, "hierarchy"), (1, "simple")):
        since = world.mark()
        world.typed(f"qos-queue-scheduler model {word}", port=True)
        told = lambda: [m for m in world.told(since) if m.type == QOS_MODEL]
        wait_for(lambda: len(told()) == 2, 20, "the repetition")
        for message, port in zip(told(), (WORK, PROTECT)):
            assert message.data[80:108] == record(28, {0: u32(pon(port)), 4: u32(model)})


def check_indexes_below(world):
    index = (1, 1, 1, 7)
    since = world.mark()
    assert world.tcont.create((*index, 3), {3: "more", 5: "default"}) == "noError"
    fields = {4: u32(3), 12: b"more", 77: b"default"}
    check_pair(world, since, [(TCONT, 144, CREATE, (bits(4, 5), bits(1, 2, 3, 4, 5)), fields)], of_onu)
    since = world.mark()
    assert world.gem.create((*index, 5), {4: "more", 5: 2}) == "noError"
    check_pair(world, since, [(GEM, 168, CREATE, None, {4: b"more", 72: u32(2)})], lambda port: gem(port, 5))
    since = world.mark()
    assert world.service.create((*index, 6), {2: 3, 3: 77, 7: 1}) == "noError"
    wait_for(lambda: len(world.told(since)) == 2, 20, "the repetition")
    first, second = world.told(since)
    for message, port in ((first, WORK), (second, PROTECT)):
        assert (message.type, message.action) == (SERVPORT, CREATE)
        assert message.record[:10] == u32(service_port(port, 6)) + u32(gem(port, 3)) + u16(77)
    assert first.record[8:] == second.record[8:]


def check_ip_host_repeated(world):
    since = world.mark()
    values = {1: 0, 2: "10.1.2.3", 3: "255.255.255.0", 4: "10.1.2.1", 7: 30, 8: 5, 9: "host"}
    assert world.iphost.create((1, 1, 1, 7), values) == "noError"
    fields = {8: socket.inet_aton("10.1.2.3"), 12: socket.inet_aton("255.255.255.0"), 16: socket.inet_aton("10.1.2.1")}
    fields |= {28: u32(30), 32: u32(5), 36: b"host"}
    action = world.told(since)[0].action
    check_pair(world, since, [(IP_HOST, 64, action, None, fields)], of_onu)


def check_protecting_port_closed(world):
    since = world.mark()
    assert world.port.set((1, 1, 2), {14: 30}) != "noError"
    assert world.onu.destroy((1, 1, 2, 7)) != "noError"
    assert world.told(since) == []


# ---- switch-over, and the end ----------------------------------------------------------------------------------------


def check_switches_of_the_card(world):
    for active, standby in ((PROTECT, WORK), (WORK, PROTECT)):
        since = world.mark()
        world.card.agent.event(8, SWITCHED, SET, u32(pon(active)) + u32(pon(standby)))
        wait_for(lambda: world.active() == pon(active), 20, "the port in service")
        assert world.told(since) == []
    world.card.agent.event(8, SWITCHED, SET, u32(pon(5)) + u32(pon(6)))  # of no group
    world.card.agent.event(8, SWITCHED, SET, u32(pon(PROTECT)) + u32(pon(WORK)))
    wait_for(lambda: world.active() == pon(PROTECT), 20, "the events to be through")


def check_switches_of_others(world):
    """Of the operator and of a manager; a group is told with the port in service first, as it is before the switch."""
    steps = [
        (lambda: world.operator.on_gpon("protectgroup 1 switchover w2p")[0] == [0], PROTECT, WORK),
        (lambda: world.operator.on_gpon("protectgroup 1 switchover p2w")[0] == [0], WORK, PROTECT),
        (lambda: world.groups.set((1,), {8: MSW}) == "noError", PROTECT, WORK),
        (lambda: world.groups.set((1,), {8: MSP}) == "noError", WORK, PROTECT),
        (lambda: world.groups.set((1,), {8: NO}) == "noError", PROTECT, WORK),
    ]
    for switch, before, behind in steps:
        since = world.mark()
        assert switch()
        (message,) = world.told(since)
        check_group(message, SET, before, behind)
        assert world.active() == pon(behind)
    since = world.mark()
    assert world.groups.set((1,), {8: MSW}) != "noError"  # it serves already
    assert world.told(since) == []


def check_end(world):
    since = world.mark()
    assert world.groups.destroy((1,)) == "noError"
    (message,) = world.told(since)
    check_group(message, DELETE, WORK, PROTECT)
    assert world.onu.get((1, 1, 2, 7), 3) == "cellar"  # the port keeps what it has


def test_a_foreign_card_plays_a_group_from_its_making_to_its_end(world):
    check_making(world)
    for kind in REPEATED:
        check_repeated(world, kind)
    check_port_repeated(world)
    check_scheduler_repeated(world)
    check_indexes_below(world)
    check_ip_host_repeated(world)
    check_protecting_port_closed(world)
    check_switches_of_the_card(world)
    check_switches_of_others(world)
    check_end(world)
