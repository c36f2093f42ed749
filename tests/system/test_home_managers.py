"""What stands behind an ONU beside its UNIs and services, from a manager's request to the card, over a card's restart,
and to the ONU's end."""

import pytest

from snmp_manager import Table
from test_provision import INT, TEXT, UINT, Chassis, add_onu, serial
from test_restore import replay, restart_card

IP = "IpAddress"
ONU = (1, 1, 1, 7)
POTS_1, ETH_2 = (1, 1, 1), (1, 0, 2)
SECRET = "s3cret-word"


def octets(address):
    """As the card shows it."""
    return int.from_bytes(map(int, address.split(".")), "big")



#: name: arcs below the tables, status column, columns that are written, the row's index behind the ONU's, values, what the
#: card calls it, and some fields that it then holds
TABLES = {
    "wan": ("46.1", 20, {2: INT, 3: INT, 4: INT, 8: INT, 11: TEXT, 12: TEXT, 15: IP, 21: INT}, (1,),
            {2: 1, 3: 2, 4: 100, 8: 3, 11: "user", 12: SECRET, 15: "10.1.2.3"},
            "RM_WAN", {"wanIndex": 1, "wanVlan": 100, "lan": 3, "ipAddr": octets("10.1.2.3"), "enable": 1}),
    "wifi": ("47.1", 24, {2: INT, 3: INT, 4: TEXT, 10: INT, 11: TEXT}, (1,), {2: 5, 3: 11, 4: "home-net", 10: 5, 11: SECRET},
             "RM_WIFI", {"wifiIndex": 1, "wifiChannel": 11, "wifiName": "home-net", "wifiEnable": 1}),
    "iphost": ("26.1", 15, {1: INT, 2: IP, 3: IP, 7: UINT, 9: TEXT}, (), {1: 0, 2: "192.168.1.10", 3: "255.255.255.0", 7: 46, 9: "mgmt"},
               "RMONU_IPHOST", {"mode": 0, "ipaddr": octets("192.168.1.10"), "netmask": octets("255.255.255.0"), "vlanid": 46, "identifier": "mgmt"}),
    "agent": ("45.2", 19, {2: TEXT, 4: IP, 7: UINT, 12: TEXT, 18: UINT}, (9,), {2: "p.example", 4: "10.0.0.1", 7: 5060, 12: "r.example", 18: 1},
              "RMONU_VOIP_SIP_AGENT_CONFIG",
              {"agentID": 9, "proxyServer": "p.example", "priDns": octets("10.0.0.1"), "port": 5060, "registrarServer": "r.example", "ipHost": 1}),
    "user": ("45.3", 16, {4: UINT, 5: TEXT, 7: TEXT, 8: TEXT}, POTS_1, {4: 9, 5: "anna@example", 7: "anna", 8: SECRET},
             "RMONU_VOIP_SIP_USER_DATA", {"onuPortType": 1, "onuPortID": 1, "agentID": 9, "user_aor": "anna@example", "username": "anna"}),
    "voip": ("45.1", 10, {2: INT}, (), {2: 1}, "RMONU_VOIP_CONFIG_DATA", {"sigProtocolUsed": 1}),
    "tr069": ("26.2", 8, {2: UINT, 4: TEXT, 5: INT, 6: TEXT, 7: TEXT}, (), {2: 46, 4: "http://acs", 5: 2, 6: "cpe", 7: SECRET},
              "RMONU_TR069_SRV", {"vlanid": 46, "acsAddr": "http://acs", "validateMode": 2, "username": "cpe"}),
    "queues": ("42.1", 3, {1: INT, 2: TEXT}, (), {1: 2, 2: "\x01\x02\x03\x04\x05\x06\x07\x08"}, "RMONU_QUEUE_SCHEDULE", {"qosMode": 2}),
    "unipoe": ("48.1", 18, {4: INT, 8: INT}, ETH_2, {4: 1, 8: 2}, "RM_UNI_POE", {"poeAdminState": 1, "powPri": 2}),
    "onupoe": ("48.2", 11, {5: INT, 7: UINT}, (), {5: 80, 7: 4294967295}, "RM_ONU_POE", {"usageThr": 80, "extPowAvl": 4294967295}),
}  # fmt: skip
BY_HAND = ("wan", "wifi", "iphost", "agent")


class Home(Chassis):
    def __init__(self, chassis):
        super().__init__(chassis, ports=1)
        self.tables = {name: Table(self.manager, arcs, status, columns) for name, (arcs, status, columns, *_) in TABLES.items()}
        self.thresholds = Table(self.manager, "38.1", 11, {number: INT for number in range(1, 11)})
        self.lines = Table(self.manager, "45.4", 11, {})

    def furnish(self):
        for name, (_, _, _, behind, values, *_) in TABLES.items():
            table = self.tables[name]
            write = table.create if name in BY_HAND else table.set
            assert write((*ONU, *behind), values) == "noError", name

    def held(self):
        return {name: self.objects(1, card_name) for name, (*_, card_name, _) in TABLES.items()}

    def kept(self):
        """The tables that have rows."""
        everything = {**self.tables, "thresholds": self.thresholds, "lines": self.lines}
        return [name for name, table in everything.items() if table.column(table.status)]


@pytest.fixture
def home(chassis):
    made = Home(chassis)
    assert add_onu(made) == "noError"
    made.chassis.simctl("onu", "add", serial(1, 1, 7), "port=gpon-olt1/1", "eth=4", "pots=2")
    made.chassis.wait_for(lambda: made.onu.get(ONU, 11) == "3", what="the ONU to be operational")
    yield made
    made.close()


def test_a_home_reaches_its_card_comes_back_after_a_restart_and_goes_with_its_onu(home):
    assert set(home.kept()) == {*TABLES, "thresholds", "lines"} - set(BY_HAND)
    assert not any(home.held().values())  # rows that come with an ONU are as it has them
    home.furnish()
    held = home.held()
    for name, (*_, fields) in TABLES.items():
        (one,) = held[name]
        assert {field: one[field] for field in fields} == fields, name
    restart_card(home, 1)
    replay(home, 1)
    assert home.held() == held
    assert home.onu.destroy(ONU) == "noError"
    assert home.kept() == []
    assert not any(home.held().values())
    assert home.card(1)["reasons"] == {}
    assert SECRET not in "\n".join(home.chassis.log_lines())


def test_what_the_onu_knows_is_read_while_it_is_in_operation(home):
    home.furnish()
    host, power = home.tables["iphost"], home.tables["onupoe"]
    readings = lambda: [host.get(ONU, 10), power.get(ONU, 9), home.lines.get((*ONU, *POTS_1), 5)]
    live = readings()
    assert live[0] == "192.168.1.10" and live[1] != "0"
    asked = len(home.chassis.records(kind="card-request", slot=1, action="get"))
    home.chassis.simctl("onu", "remove", serial(1, 1, 7))
    home.chassis.wait_for(lambda: home.onu.get(ONU, 11) != "3", what="the ONU to be gone")
    readings()
    assert len(home.chassis.records(kind="card-request", slot=1, action="get")) == asked


def test_connections_that_exclude_each_other_are_refused_for_the_column(home):
    wan = home.tables["wan"]
    home.furnish()
    for index, values, place in [((*ONU, 2), {2: 1, 3: 2, 4: 100}, 3), ((*ONU, 2), {4: 7, 8: 2}, 2)]:
        reply = home.manager.set(*wan.objects(index, values, 4))
        assert (reply["status"], reply["index"]) == ("badValue", place)
        assert wan.get(index, 4) is None
    assert wan.create((*ONU, 256), {4: 7}) == "badValue"  # a card would take it for another
    assert wan.create((*ONU, 2), {4: 7, 8: 4}) == "noError"
    assert wan.set((*ONU, 2), {8: 5}) == "badValue"
    assert wan.get((*ONU, 2), 8) == "4"
    assert [one["lan"] for one in home.objects(1, "RM_WAN")] == [3, 4]


def test_a_connection_that_waits_is_nobodys_but_its_managers(home):
    wan = home.tables["wan"]
    assert wan.wait((*ONU, 1), {2: 1, 3: 2, 4: 100}) == "noError"
    assert home.objects(1, "RM_WAN") == []
    assert wan.create((*ONU, 2), {2: 1, 3: 2, 4: 100}) == "noError"  # which is the first
    assert wan.activate((*ONU, 1)) == "badValue"
    assert wan.destroy((*ONU, 2)) == "noError"
    assert wan.activate((*ONU, 1)) == "noError"
    assert [one["wanIndex"] for one in home.objects(1, "RM_WAN")] == [1]


def test_a_sip_agent_has_an_ip_host_to_speak_through(home):
    agent, host = home.tables["agent"], home.tables["iphost"]
    reply = home.manager.set(*agent.objects((*ONU, 9), {7: 5060, 18: 2}, 4))
    assert (reply["status"], reply["index"]) == ("badValue", 2)
    assert host.create(ONU, {1: 1}) == "noError"
    assert agent.create((*ONU, 9), {7: 5060, 18: 2}) == "noError"


def test_thresholds_are_told_and_not_told_again(home):
    """The card's own hold until the operator sets them."""
    assert home.thresholds.set(ONU, {2: -28}) == "noError"
    (held,) = home.objects(1, "RMONU_OPT_THRESHOLD")
    assert held["upperrxPwrthreshod"] == -28
    restart_card(home, 1)
    replay(home, 1)
    assert home.objects(1, "RMONU_OPT_THRESHOLD") == []
    assert home.thresholds.get(ONU, 2) == "-28"
