"""What stands behind the simulated ONUs, by the messages that a card gets and by what is done at home."""

import json
import struct

import pytest

from chassis import SimctlError
from test_cards import (
    CREATE, DELETE, GEMPORT, GET, ONE_CARD, ONU, SET, TCONT, FakeDaemon, gem_record, index, onu_index, onu_record, rows,
    tcont_record,
)  # fmt: skip

SERVICE, UNI, MCAST, OPTICS, THRESHOLDS, MAC_FILTER = 913, 915, 917, 929, 931, 934
IP_HOST, TR069, QUEUES, VOIP, SIP_AGENT, SIP_USER, WAN, WIFI, UNI_POE, ONU_POE, LINE = (
    942, 943, 944, 946, 947, 948, 955, 956, 962, 963, 964)  # fmt: skip
SIZES = {SERVICE: 40, UNI: 80, MCAST: 52, OPTICS: 24, THRESHOLDS: 44, MAC_FILTER: 20, IP_HOST: 64, TR069: 200, QUEUES: 16, VOIP: 176,
         SIP_AGENT: 408, SIP_USER: 248, WAN: 116, WIFI: 252, UNI_POE: 56, ONU_POE: 40, LINE: 76}  # fmt: skip
SERIAL = "ABCD00000001"
ETH, POTS = 0, 1
NOT_SUPPORTED, NOT_FOUND, DRIVER_ERROR, ERROR = 1008, 1001, 1009, 101001


def body(number, *fields, onu=None):
    """A record of the ONU: zeros with (offset, bytes or (format, number)) put in."""
    record = bytearray(SIZES[number])
    for offset, value in [(0, (">I", onu_index() if onu is None else onu)), *fields]:
        value = value if isinstance(value, bytes) else struct.pack(*value)
        record[offset : offset + len(value)] = value
    return bytes(record)


def byte(value):
    return bytes([value])


def position(uni_type, port, at=4):
    return (at, struct.pack(">HxxiHxx", 1, uni_type, port))


def service(number, gem, vlan=100):
    return body(SERVICE, (4, (">H", number)), (20, (">i", 1)), (24, (">HH", gem, vlan)))


def user(agent, name=b"anna", password=b"secret", port=1):
    return body(SIP_USER, (4, (">IiII", 1, POTS, port, agent)), (173, name), (223, password))


def wan(number, how, lan=0, ssid=0, ssid_5g=0, user=b"", password=b"", address=0):
    return body(WAN, (4, bytes([number, 1, 2])), (8, (">H", 100)), (12, bytes([how, lan, ssid, ssid_5g])), (16, user), (41, password),
                (92, (">I", address)), (112, byte(1)))  # fmt: skip


def wifi(number, mode=5, ssid=1, radio=1):
    return body(WIFI, (4, bytes([number, mode])), (7, b"home-net"), (247, bytes([ssid, radio])))


@pytest.fixture
def daemon(chassis):
    """An ONU that is up: three Ethernet ports, a telephone, a GEM port 5."""
    chassis.start(ONE_CARD)
    chassis.simctl("onu", "add", SERIAL, "port=gpon-olt1/3", "eth=3", "pots=1")
    made = FakeDaemon(chassis)
    made.do(ONU, CREATE, onu_record())
    made.do(TCONT, CREATE, tcont_record())
    made.do(GEMPORT, CREATE, gem_record())
    assert [made.state()[1], made.state()[1]] == [2, 3]
    return made


def home(chassis):
    return json.loads("".join(chassis.simctl("show", "onu", SERIAL, "--json")))


def refused(chassis, daemon, number, action, record, retcode, reason, mask=0):
    before = chassis.card(1)["object_count"]
    assert daemon.ask(number, action, record, mask=mask).retcode == retcode
    assert chassis.wait_record(kind="refused", slot=1, reason=reason)
    assert chassis.card(1)["object_count"] == before
    chassis.simctl("clear-records")


def start_voip(daemon):
    daemon.do(VOIP, SET, body(VOIP, (5, byte(1))), mask=1 << 2)
    daemon.do(SIP_AGENT, CREATE, body(SIP_AGENT, (4, (">I", 3)), (264, b"sip.example")))
    daemon.do(SIP_USER, SET, user(3), mask=0b111110000)


def come_back(chassis, daemon):
    chassis.simctl("onu", "lose", SERIAL)
    assert daemon.state()[1] == 1
    chassis.simctl("onu", "recover", SERIAL)
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]


def test_a_service_is_kept_with_its_gem_port_and_its_filters(chassis, daemon):
    refused(chassis, daemon, SERVICE, CREATE, service(1, 6), NOT_FOUND, "no-gem-port")
    daemon.do(SERVICE, CREATE, service(1, 5))
    refused(chassis, daemon, SERVICE, CREATE, service(1, 5, vlan=200), ERROR, "exists")
    daemon.do(MAC_FILTER, SET, body(MAC_FILTER, (4, (">H", 1)), (6, byte(2))), mask=1 << 2)
    daemon.do(MAC_FILTER, CREATE, body(MAC_FILTER, (4, (">H", 1)), (8, bytes([7, 1, 0])), (11, b"\2\0\0\0\0\1")))
    refused(chassis, daemon, MAC_FILTER, CREATE, body(MAC_FILTER, (4, (">H", 2)), (8, byte(7))), NOT_FOUND, "no-service")
    seen = home(chassis)
    assert [(s["service"], s["state"], s["settings"]["gemId"]) for s in seen["services"]] == [(1, "up", 5)]
    assert [f["settings"]["entryId"] for f in seen["mac_filters"]] == [0, 7]
    daemon.do(GEMPORT, DELETE, gem_record())
    assert home(chassis)["services"][0]["state"] == "down"
    daemon.do(SERVICE, DELETE, service(1, 5))
    assert rows(chassis, "RM_SERVICE") == rows(chassis, "RM_MAC_FLT") == []


def test_a_replay_tells_the_services_anew(chassis, daemon):
    daemon.do(SERVICE, CREATE, service(1, 5))
    daemon.tell(SERVICE, CREATE, service(1, 5, vlan=200))
    chassis.wait_for(lambda: rows(chassis, "RM_SERVICE")[0]["vlan"] == 200, what="the service of the replay")
    assert chassis.card(1)["reasons"] == {}


def test_connections_get_addresses(chassis, daemon):
    daemon.do(WAN, CREATE, wan(1, 3, lan=0b011, ssid=1, user=b"home", password=b"secret"))
    daemon.do(WAN, CREATE, wan(2, 1))
    daemon.do(WAN, CREATE, wan(3, 2, address=0xC0000205))
    states = {w["wan"]: (w["state"], w.get("address")) for w in home(chassis)["wan"]}
    assert states == {1: ("up", "100.1.19.12"), 2: ("up", "10.1.35.12"), 3: ("up", "192.0.2.5")}
    refused(chassis, daemon, WAN, CREATE, wan(4, 1, lan=0b1000), NOT_FOUND, "no-such-lan")
    refused(chassis, daemon, WAN, CREATE, wan(4, 1, ssid=0b10000), NOT_FOUND, "no-such-ssid")
    chassis.simctl("onu", "off", SERIAL)
    assert daemon.state()[1] == 1
    assert home(chassis)["wan"] == []  # nobody is there
    chassis.simctl("onu", "on", SERIAL)
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    assert {w["wan"]: (w["state"], w.get("address")) for w in home(chassis)["wan"]} == states
    daemon.do(WAN, DELETE, wan(2, 1))
    assert [w["wan"] for w in home(chassis)["wan"]] == [1, 3]


def test_networks_are_up_with_radio_and_ssid(chassis, daemon):
    daemon.do(WIFI, CREATE, wifi(1))
    daemon.do(WIFI, CREATE, wifi(5, mode=8, ssid=0))
    daemon.do(WIFI, CREATE, wifi(6, mode=8, radio=0))
    assert {w["wifi"]: w["state"] for w in home(chassis)["wifi"]} == {1: "up", 5: "ssid-off", 6: "radio-off"}
    daemon.do(WIFI, SET, wifi(1, radio=0))
    assert home(chassis)["wifi"][0]["state"] == "radio-off"
    refused(chassis, daemon, WIFI, CREATE, wifi(2, mode=8), NOT_SUPPORTED, "not-on-this-radio")
    refused(chassis, daemon, WIFI, CREATE, wifi(9, mode=8), NOT_FOUND, "no-such-ssid")


def test_an_onu_may_have_fewer_networks(chassis, daemon):
    chassis.simctl("onu", "add", "ABCD00000002", "port=gpon-olt1/3", "wifi=1", "wifi-5g=0")
    daemon.do(ONU, CREATE, onu_record(onu=13, serial=b"ABCD\0\0\0\2"))
    assert [daemon.state()[1], daemon.state()[1]] == [2, 3]
    other = onu_index(13)
    assert daemon.ask(WIFI, CREATE, body(WIFI, (4, bytes([2, 5])), onu=other)).retcode == NOT_FOUND
    assert daemon.ask(WAN, CREATE, body(WAN, (4, byte(1)), (15, byte(1)), onu=other)).retcode == NOT_FOUND
    assert daemon.ask(WIFI, CREATE, body(WIFI, (4, bytes([1, 5])), onu=other)).retcode == 0


def address_of(daemon):
    return struct.unpack_from(">I", daemon.do(IP_HOST, GET, body(IP_HOST)).payload, 8 + 8)[0]


def test_the_ip_host_tells_the_address_that_it_has(chassis, daemon):
    daemon.do(IP_HOST, CREATE, body(IP_HOST, (8, (">II", 0xC0000207, 0xFFFFFF00)), (28, (">I", 40))))
    assert address_of(daemon) == 0xC0000207
    daemon.do(IP_HOST, DELETE, body(IP_HOST))
    daemon.do(IP_HOST, CREATE, body(IP_HOST, (4, byte(1)), (28, (">I", 40))))
    assert address_of(daemon) == 0x0A01030C
    assert home(chassis)["ip_host"]["address"] == "10.1.3.12"
    chassis.simctl("onu", "lose", SERIAL)
    assert daemon.ask(IP_HOST, GET, body(IP_HOST)).retcode == DRIVER_ERROR


def line(chassis):
    (one,) = home(chassis)["lines"]
    return one["state"]


def test_a_line_registers_and_is_called(chassis, daemon):
    with pytest.raises(SimctlError, match="isn't registered: no-sip"):
        chassis.simctl("phone", SERIAL, "pots_1/1", "call", "100")
    refused(chassis, daemon, SIP_USER, SET, user(3), NOT_FOUND, "no-agent", mask=0b111110000)
    start_voip(daemon)
    assert line(chassis) == "registered"
    chassis.simctl("phone", SERIAL, "pots_1/1", "call", "0049891234")
    status = daemon.do(LINE, GET, body(LINE, position(POTS, 1))).payload[8:]
    assert (status[18], status[19], status[24:35]) == (2, 1, b"0049891234\0")
    assert struct.unpack_from(">H", status, 16) == (8,)
    (one,) = home(chassis)["lines"]
    assert (one["hook"], one["call"], one["status"]) == ("off", "0049891234", 2)
    chassis.simctl("phone", SERIAL, "pots_1/1", "on-hook")
    assert line(chassis) == "registered"


def test_a_server_that_refuses_ends_calls(chassis, daemon):
    start_voip(daemon)
    chassis.simctl("phone", SERIAL, "pots_1/1", "call", "100")
    chassis.simctl("sip-server", SERIAL, "refuse")
    assert daemon.do(LINE, GET, body(LINE, position(POTS, 1))).payload[8 + 18] == 7
    chassis.simctl("sip-server", SERIAL, "accept")
    assert line(chassis) == "registered"


def test_a_call_ends_with_its_agent_and_with_the_onu(chassis, daemon):
    start_voip(daemon)
    chassis.simctl("phone", SERIAL, "pots_1/1", "call", "100")
    daemon.do(SIP_AGENT, DELETE, body(SIP_AGENT, (4, (">I", 3))))
    assert line(chassis) == "no-agent"
    daemon.do(SIP_AGENT, CREATE, body(SIP_AGENT, (4, (">I", 3))))
    assert line(chassis) == "registered"
    chassis.simctl("phone", SERIAL, "pots_1/1", "call", "100")
    come_back(chassis, daemon)
    assert line(chassis) == "registered"


def poe(on, port=1, request=0):
    return body(UNI_POE, position(ETH, port), (16, byte(on)), (48, (">H", request)))


def test_a_port_feeds_what_is_attached(chassis, daemon):
    daemon.do(UNI_POE, SET, poe(1), mask=1 << 2)
    chassis.simctl("poe", SERIAL, "eth_1/1", "attach", "watts=12")
    told = daemon.do(UNI_POE, GET, body(UNI_POE, position(ETH, 1))).payload[8:]
    assert (told[16], told[19], told[28]) == (1, 3, 3)
    assert struct.unpack_from(">HHH", told, 48) == (0, 12, 15)
    whole = daemon.do(ONU_POE, GET, body(ONU_POE)).payload[8:]
    assert struct.unpack_from(">I", whole, 4) == (60,) and struct.unpack_from(">II", whole, 12) == (12, 15)
    chassis.simctl("poe", SERIAL, "eth_1/1", "short")
    chassis.simctl("poe", SERIAL, "eth_1/2", "attach")
    states = {p["uni"]: p["state"] for p in home(chassis)["poe"]}
    assert states == {"eth_1/1": "fault", "eth_1/2": "disabled", "eth_1/3": "disabled"}
    assert daemon.do(UNI_POE, GET, body(UNI_POE, position(ETH, 1))).payload[8 + 47] == 1
    heading, *ports = chassis.simctl("show", "onu", SERIAL)[-3:]
    assert (heading, [port.split()[0] for port in ports]) == ("power over Ethernet:", ["uni=eth_1/1", "uni=eth_1/2"])
    chassis.simctl("poe", SERIAL, "eth_1/1", "detach")
    assert home(chassis)["poe"][0]["state"] == "searching"
    refused(chassis, daemon, UNI_POE, SET, body(UNI_POE, position(POTS, 1)), NOT_SUPPORTED, "not-on-this-uni", mask=1 << 2)


def test_everything_else_is_kept_and_shown(chassis, daemon):
    daemon.do(MCAST, SET, body(MCAST, position(ETH, 2), (16, (">i", 1)), (32, (">I", 8))), mask=1 << 2 | 1 << 6)
    daemon.do(MCAST, SET, body(MCAST, position(ETH, 1), (32, (">I", 4))), mask=1 << 6)
    daemon.do(TR069, SET, body(TR069, (16, b"http://acs.example/")), mask=1 << 4)
    daemon.do(QUEUES, SET, body(QUEUES, (4, byte(2)), (5, bytes(range(1, 9)))), mask=0b110)
    daemon.do(THRESHOLDS, SET, body(THRESHOLDS, (4, (">i", -50))), mask=1 << 1)
    daemon.do(ONU_POE, SET, body(ONU_POE, (20, (">H", 80))), mask=1 << 5)
    seen = home(chassis)
    assert [(m["uni"], m["state"], m["settings"]["maxGrpNum"]) for m in seen["multicast"]] == [
        ("eth_1/1", "disabled", 4), ("eth_1/2", "enabled", 8),
    ]  # fmt: skip
    daemon.do(UNI, SET, body(UNI, position(ETH, 1), (24, (">I", 1))), mask=1 << 4)
    assert home(chassis)["multicast"][0]["state"] == "enabled"
    assert (seen["tr069"]["state"], seen["queues"]["settings"]["qosMode"]) == ("up", 2)
    assert (seen["thresholds"]["settings"]["lowrxPwrthreshod"], seen["poe_settings"]["settings"]["usageThr"]) == (-50, 80)
    told = daemon.do(THRESHOLDS, GET, body(THRESHOLDS)).payload[8:]
    low_rx, *_, low_volts, high_volts, _, _, low_temp, _ = struct.unpack_from(">10i", told, 4)
    assert (low_rx, low_volts < high_volts, low_temp < 0) == (-50, True, True)
    text = chassis.simctl("show", "onu", SERIAL)
    assert [t for t in text if t.endswith(":")] == ["multicast:", "TR-069 client:", "queues:", "optical thresholds:", "PoE settings:"]
    assert "  uni=eth_1/2 state=enabled enabled=1 maxGrpNum=8" in text


def test_what_a_service_profile_holds_is_its_onus(chassis, daemon):
    template = index(10, 31, 15, 4)
    daemon.do(VOIP, SET, body(VOIP, (5, byte(1)), onu=template), mask=1 << 2)
    daemon.do(SIP_AGENT, CREATE, body(SIP_AGENT, (4, (">I", 3)), onu=template))
    daemon.do(WAN, CREATE, body(WAN, (4, bytes([1, 1, 2])), (12, byte(1)), (112, byte(1)), onu=template))
    daemon.do(ONU, CREATE, onu_record(profile=4))
    daemon.do(SIP_USER, SET, user(3), mask=0b111110000)
    assert line(chassis) == "registered"
    assert [w["address"] for w in home(chassis)["wan"]] == ["10.1.19.12"]


@pytest.mark.parametrize(
    "words, error",
    [
        ("phone ABCD00000001 eth_1/1 on-hook", "must be a port as pots_1/1, not eth_1/1"),
        ("phone ABCD00000001 pots_1/1 ring", "must be off-hook, on-hook or call"),
        ("phone ABCD00000001 pots_1/1 call", "NUMBER is missing"),
        ("phone ABCD00000001 pots_1/2 on-hook", "has no UNI pots_1/2"),
        ("sip-server ABCD00000001 sleep", "must be accept or refuse"),
        ("sip-server ABCD00000009 refuse", "no ONU ABCD00000009"),
        ("poe ABCD00000001 pots_1/1 attach", "must be a port as eth_1/1, not pots_1/1"),
        ("poe ABCD00000001 eth_1/1 attach watts=101", "watts must be a number up to 100"),
        ("poe ABCD00000001 eth_1/1 melt", "must be attach, detach, overload or short"),
        ("onu add ABCD00000009 port=gpon-olt1/3 wifi=5", "wifi must be a number up to 4"),
    ],
)
def test_mistakes_are_told(chassis, daemon, words, error):
    with pytest.raises(SimctlError, match=error):
        chassis.simctl(*words.split())


