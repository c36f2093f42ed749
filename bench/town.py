#!/usr/bin/env python3
"""A whole network from a seed: types, profiles, homes, businesses, masts, a laboratory, protection groups, QoS and QinQ.

    bench/town.py [--seed 1] [--cards 14] [--ports 16] [--onus 128] [--commands FILE | --scenario FILE | --snmp FILE | --tables DIR]

As configuration lines (without an option, to standard output), as a scenario of the simulated chassis, as SETs of a manager (a
line each: OID, type and value by turns, for snmpset), or as table files, which an empty daemon writes that is fed the lines.

    town = Town(seed=1, cards=14, ports=16, onus=128)
    town.commands()         lines from "configure terminal" on, in an order that the daemon takes
    town.ports()            Port: where it is, its role
    town.onus()             Onu: slot, port, number, serial, type, kind of subscriber, how it proves who it is
    town.chassis_scenario() a scenario with the cards, their ports and these ONUs plugged in, and what the controller tells a
                            daemon that connects
    town.snmp()             (OID, type, value) triples of one SET each

The same seed gives the same town, and a subscriber doesn't depend on how big the town is. The first ONUs of the first port are
the laboratory's, which between them have every saved setting (as far as the port has room for them); in a town of three ports
a card or more the last two ports of each card are a protection pair, whose second port has the first one's ONUs by copy.
"""

import argparse
import dataclasses
import random
import sys

import town_subscribers as subscribers

LINE_CARDS = (1, 2, 3, 4, 5, 6, 7, 10, 11, 12, 13, 14, 15, 16)
CONTROL_CARD = 8
UPLINKS = ("xe8/1", "xe8/2")
GPON_CARD_TYPE, CONTROL_CARD_TYPE = 27, 2
STAGES = (300, 410, 480)

#: Subscribers by their share.
SHARES = {"home": 55, "flat": 20, "bound": 12, "office": 10, "mast": 3}

CLASSES = " ".join(f"cos{cos} {{{cos}}}" for cos in range(8))
WEIGHTS = "queue0 1 queue1 2 queue2 4 queue3 8 queue4 16 queue5 32 queue6 64 queue7 100"
RATES = "queue0 0 queue1 1000 queue2 1000-2000 queue3 0 queue4 0 queue5 0 queue6 0 queue7 1-100000000"

PROFILES = (
    "profile bandwidth voice fixed 512",
    "profile bandwidth home assured 2000 maximum 100000",
    "profile bandwidth office assured 10000 maximum 1000000",
    "profile bandwidth best-effort maximum 200000",
    "profile bandwidth mast fixed 1024 assured 20000 maximum 1000000",
    f"profile bandwidth {'b' * 64} assured 250",
    "profile traffic home-up cir 20000 cbs 20000 pir 40000 pbs 40000",
    "profile traffic home-down cir 100000 cbs 100000 pir 200000 pbs 200000",
    "profile traffic guests cir 64 cbs 2000 pir 10240000 pbs 10240000",
    f"profile traffic {'t' * 32} cir 64 cbs 2000 pir 64 pbs 2000",
    "profile onu-rssi 1 rxpwr-threshold -27 -25 -10 -8",
    "profile onu-rssi 2 txpwr-threshold -10 -8 4 6",
    "profile onu-rssi 32 txpwr-threshold -10 -8 4 6",
    "profile onu-rssi 32 rxpwr-threshold -30 -28 -9 -7",
    "profile onu-rssi 32 bias-threshold 1 2 60 70",
    "profile onu-rssi 32 vcc-threshold 31 32 34 35",
    "profile onu-rssi 32 temp-threshold -40 -30 70 85",
    "profile qos-queue-scheduler 1 name strict policy sp",
    f"profile qos-queue-scheduler 2 name weighted policy wrr {WEIGHTS}",
    f"profile qos-queue-scheduler 16 name {'q' * 32} policy wrr {WEIGHTS}",
    f"profile cos-queue-map 1 name voice {CLASSES.format(0, 0, 0, 0, 1, 1, 2, 3)}",
    f"profile cos-queue-map 4 name all {CLASSES.format(7, 6, 5, 4, 3, 2, 1, 0)}",
    f"profile cos-to-cos 1 name raise {CLASSES.format(1, 2, 3, 4, 5, 6, 7, 7)}",
    f"profile cos-to-cos 7 name turn {CLASSES.format(7, 6, 5, 4, 3, 2, 1, 0)}",
    f"profile qos-queue-traffic 1 name office {RATES}",
    f"profile qos-queue-traffic 128 name all {RATES}",
    "ctc enable",
)


@dataclasses.dataclass(frozen=True)
class Port:
    slot: int
    number: int
    role: str  # "plain", "work", "protect"
    partner: int = 0  # the number of the other port of a pair

    @property
    def name(self):
        return f"gpon-olt{self.slot}/{self.number}"


@dataclasses.dataclass(frozen=True)
class Onu:
    slot: int
    port: int
    number: int
    serial: str
    type: str
    kind: str
    model: str
    auth: str  # behind the ONU's type or profile in its command
    profile: str = ""  # the service profile that it is bound to
    is_active: bool = True  # whether it comes up: the laboratory keeps one from working

    @property
    def name(self):
        return f"gpon-onu{self.slot}/{self.port}:{self.number}"

    def secrets(self):
        """What the ONU sends to prove who it is, in the words of the simulated chassis."""
        words = self.auth.split()
        told = dict(zip(words[::2], words[1::2]))
        sent = {"loid": "loid", "pw": "loid-pw"} if "loid" in told else {"pw": "pw"}
        return {sent[word]: value for word, value in told.items() if word in sent}


def auth_of(serial, slot, port, number, rng):
    """Most are known by their serial number; some are not."""
    loid, password = f"loid-{slot}-{port}-{number}", f"p{slot:x}{port:x}{number:02x}"
    forms = (f"sn {serial} pw {password}", f"loid {loid}", f"loid {loid} pw {password}", f"pw {password}")
    choice = number - 1 if number <= len(forms) else rng.randrange(100)
    return forms[choice] if choice < len(forms) else f"sn {serial}"


class Town:
    def __init__(self, seed=1, cards=14, ports=16, onus=128):
        if not (1 <= cards <= len(LINE_CARDS) and 1 <= ports <= 16 and 1 <= onus <= 128):
            raise ValueError("1 to 14 cards of 1 to 16 ports of 1 to 128 ONUs")
        self.seed, self.slots, self.ports_of_card, self.onus_of_port = seed, LINE_CARDS[:cards], ports, onus

    # ---- what there is -------------------------------------------------------------------------------------------

    def ports(self):
        for slot in self.slots:
            for number in range(1, self.ports_of_card + 1):
                role, partner = "plain", 0
                if self.ports_of_card >= 3 and number > self.ports_of_card - 2:
                    role, partner = ("protect", number - 1) if number == self.ports_of_card else ("work", number + 1)
                yield Port(slot, number, role, partner)

    def onus(self):
        """All that are configured by line; those of a protecting port are their partners' copies."""
        for port in self.ports():
            yield from self.onus_of(port)

    def onus_of(self, port):
        if port.role != "protect":
            for number in range(1, self.onus_of_port + 1):
                yield self._onu(port, number)

    def _rng(self, *what):
        return random.Random("/".join(map(str, (self.seed, *what))))

    def _onu(self, port, number):
        slot, rng = port.slot, self._rng(port.slot, port.number, number)
        kinds = list(SHARES)
        if self._laboratory(port, number):
            kind, onu_type = "lab", "LAB-4"
        else:
            # The first of each port are one of each, so that a small town has them all.
            place = number - 1 if number <= len(kinds) else None
            kind = kinds[place] if place is not None else rng.choices(kinds, SHARES.values())[0]
            onu_type = subscribers.KINDS[kind][1]
        serial = f"{rng.choice(('SIMA', 'SIMB', 'SIMC', 'SIMD'))}{slot:02X}{port.number:02X}{number:04X}"
        profile = rng.choices(list(subscribers.PROFILES.values()), (90, 8, 2))[0] if kind == "bound" else None
        if profile:
            onu_type = profile[1]
        return Onu(
            slot, port.number, number, serial, onu_type, kind, rng.choice(subscribers.MODELS[onu_type]),
            auth_of(serial, slot, port.number, number, rng), profile[0] if profile else "",
            self._laboratory(port, number) is not subscribers.lab_services,
        )  # fmt: skip

    def _laboratory(self, port, number):
        """What the laboratory's ONU has, None for others'. It is on the first port, behind one subscriber of each kind; a port of
        fewer than 16 ONUs has no room for it."""
        if port.slot != self.slots[0] or port.number != 1 or self.onus_of_port < 16:
            return None
        place = number - 1 - len(SHARES)
        return subscribers.laboratory(place) if place >= 0 else None

    #: QinQ rules of subscribers, on ports that have none themselves.
    RULES = {"office": "user-vlan 400 svlan 1500 svlancos copy-cvlan", "mast": "svlan 1501 svlancos 2", "lab": "svlan 1502"}

    # ---- as commands ---------------------------------------------------------------------------------------------

    def commands(self):
        yield "configure terminal"
        yield from self._system()
        for uplink in UPLINKS:
            yield f"interface {uplink}"
            yield from self._uplink(uplink)
        for port in self.ports():
            yield f"interface {port.name}"
            yield from self._port(port)
        yield from self._qinq_of_ports()
        for onu in self.onus():
            yield f"interface {onu.name}"
            yield from self.lines_of(onu)
        yield from self._learning()
        yield "exit"
        yield "end"

    def lines_of(self, onu):
        """The lines of an ONU's block, and its QinQ rules."""
        rng = self._rng("lines", onu.slot, onu.port, onu.number)
        lines = self._laboratory(Port(onu.slot, onu.port, ""), onu.number) if onu.kind == "lab" else subscribers.KINDS[onu.kind][0]
        yield from (f" {line}" for line in lines(onu, rng))
        if onu.kind in self.RULES and not self._has_rules(onu.slot, onu.port):
            yield f" vlan-smart-qinq ingress-port {onu.name} {self.RULES[onu.kind]}"

    def _system(self):
        yield "gpon"
        yield from (f" {line}" for line in PROFILES)
        for name, has in subscribers.TYPES.items():
            yield f" profile onutype {name} {has}"
        for group, port in enumerate((p for p in self.ports() if p.role == "work"), 1):
            name = f"pair-{port.slot}" if group > 1 else "g" * 16
            yield f" protectgroup {group} name {name} workpon {port.name} protectpon gpon-olt{port.slot}/{port.partner} typeB"
        for number, (name, onu_type, lines) in subscribers.PROFILES.items():
            yield f" onu-srvprofile profile-id {number} onu-type {onu_type}"
            yield f"  profile-name {name}"
            yield from (f"  {line}" for line in lines)
            yield "  exit"

    def _uplink(self, uplink):
        yield " pm enable"
        if uplink == UPLINKS[0]:
            yield " qos-queue-scheduler 2"
            yield " cos-queue-map 1"
            yield " cos-to-cos uplink 1 downlink default"
            yield " qos-queue-traffic 1"

    def _port(self, port):
        if port.role != "protect":
            yield from self._settings(port)
            for onu in self.onus_of(port):
                way = f"profile {onu.profile}" if onu.profile else f"type {onu.type}"
                yield f" onu {onu.number} {way} {onu.auth}"

    def _settings(self, port):
        rng = self._rng("port", port.slot, port.number)
        first = port.slot == self.slots[0] and port.number == 1
        for chance, line in (
            (0.8, "fec downstream  enable"), (0.5, "aes encryption key_exchange enable"), (0.2, "aes encryption key_exchange interval 20000"),
            (0.3, f"onu max_distance {rng.choice((30, 40, 60))}"), (0.2, "rogue-onu-detect enable"), (0.1, "uncfg-onu silence enable 60"),
            (0.3, "pm protocol enable"), (0.3, "pm data enable"), (0.2, "switch-port protected disable"), (0.1, "onu auto-discovery disable"), (0.05, "mib-data-sync disable"),
        ):  # fmt: skip
            if rng.random() < chance or first:
                yield f" {line}"
        if first:
            yield " qos-queue-scheduler model hierarchy"
            yield " qos-queue-scheduler 1"
            yield " qos-queue-traffic 128"
            yield " scb max-bandwidth 2500000"

    def _learning(self):
        """Ports that take in whom they don't know: begun when all who are known have been typed."""
        for port in self.ports():
            rng = self._rng("learning", port.slot, port.number)
            if port.role == "protect" or (port.number > 3 and rng.random() < 0.5):
                continue
            yield f"interface {port.name}"
            if port.number % 3 == 1:
                yield " onu auto-authentication enable"
                continue
            copied = " configure_onu_node enable" if port.number % 3 == 0 else ""
            yield f" onu auto-authentication enable auto-flow enable def-srv-profile bound{copied}"
            yield " onu-auto-flow sfu srv-profile bound"
            yield " onu-auto-flow hgu srv-profile gateways"
            yield " onu-auto-flow vendor 1 SIMD srv-profile gateways"
            yield f" onu-auto-flow model 4 {'M' * 20} srv-profile {'p' * 64}"

    def _has_rules(self, slot, port):
        """Whether a port has QinQ rules of its own: its ONUs may have none then."""
        return port == 2

    def _qinq_of_ports(self):
        yield "exit"
        for port in self.ports():
            if not self._has_rules(port.slot, port.number) or port.role == "protect":
                continue
            head = f"vlan-smart-qinq ingress-port {port.name}"
            for rule in (
                "user-vlan-range 100 to 199 svlan 1000", "user-vlan-range 200 to 299 svlan 1000 svlancos 7", "user-vlan 10 cos 5 svlan 2000 svlancos copy-cvlan",
                "user-vlan 11 cos 5 svlan 2000", "ether-type pppoe-data svlan 3000 svlancos 3", "ether-type 35020 svlan 3001", "user-vlan 2 svlan 4094",
                "user-vlan 3 svlan 4094 svlancos 7", "user-vlan 4 ether-type ip svlan 2", "user-vlan 5 ether-type arp svlan 2 svlancos 1",
                "cos 7 svlan 3", "cos 6 svlan 3 svlancos copy-cvlan", "ether-type rarp cos 1 svlan 4", "ether-type pppoe-control cos 2 svlan 4 svlancos 4",
            ):  # fmt: skip
                yield f"{head} {rule}"

    # ---- as a chassis --------------------------------------------------------------------------------------------

    def plugged_in(self):
        """The cards and the ONUs, as commands of the simulated chassis."""
        for slot in (CONTROL_CARD, *self.slots):
            yield f"card {slot} add"
        for onu in self.onus():
            words = "".join(f" {name}={value}" for name, value in onu.secrets().items())
            kind = "hgu" if onu.type in ("HOME-4", "LAB-4") else "sfu"
            yield f"onu add {onu.serial} port=gpon-olt{onu.slot}/{onu.port} model={onu.model} type={kind}{words}"

    def events(self, replay=False):
        """What the controller tells a daemon that has connected: cards and ports in service; with the replay of their
        configuration (16 seconds and more) or, where nothing is to be told again, only its end."""
        yield f"event slot-add slot_id={CONTROL_CARD} card_type={CONTROL_CARD_TYPE}"
        yield f"event slot-active slot_id={CONTROL_CARD} card_type={CONTROL_CARD_TYPE}"
        for uplink in UPLINKS:
            yield f"event new-if ifindex={uplink} flags=up+running"
        for slot in self.slots:
            yield f"event slot-add slot_id={slot} card_type={GPON_CARD_TYPE}"
            yield f"event slot-active slot_id={slot} card_type={GPON_CARD_TYPE}"
            for number in range(1, self.ports_of_card + 1):
                yield f"event new-if ifindex=gpon-olt{slot}/{number} flags=up+running"
        for stage in STAGES if replay else ():
            for slot in self.slots:
                yield f"event cfg-slot-sync-start appid=30047 slotid={slot} cfg_prio={stage} appName=gpon"
            for slot in self.slots:
                yield f"wait kind=request type=cfg-app-notify-recover-result slotid={slot} cfg_prio={stage} timeout=600000"
        for slot in self.slots:
            yield f"event cfg-slot-sync-end slotid={slot}"

    def chassis_scenario(self, with_onus=True, replay=False, in_operation=True):
        lines = [
            "env PDT_INFO_SHELF_TYPE 53", "env PDT_INFO_SHELF_ID 1", f"env PDT_INFO_CARD_SLOTID {CONTROL_CARD}", f"env slot {CONTROL_CARD}",
            "env active 1", "env OV_APP_FLAG_SYS_OPSTATUS 1", f"card-board {CONTROL_CARD}",
            *(line for line in self.plugged_in() if with_onus or not line.startswith("onu ")),
            "mono-ready 1", "on connect", "    env OV_APP_FLAG_SYS_OPSTATUS 0", f"    wait kind=request type=cfg-app-sync-prio cfg_prio={STAGES[-1]} timeout=0",
            *(f"    {line}" for line in self.events(replay)), 
            f"    env OV_APP_FLAG_SYS_OPSTATUS {int(in_operation)}", "    note in-service", "end",
        ]  # fmt: skip
        return "".join(f"{line}\n" for line in lines)


def main():
    parser = argparse.ArgumentParser(description="A whole network from a seed.")
    for name, default in (("seed", 1), ("cards", 14), ("ports", 16), ("onus", 128)):
        parser.add_argument(f"--{name}", type=int, default=default)
    form = parser.add_mutually_exclusive_group()
    for name, what in (("commands", "FILE"), ("scenario", "FILE"), ("snmp", "FILE"), ("tables", "DIR")):
        form.add_argument(f"--{name}", metavar=what)
    options = parser.parse_args()
    town = Town(options.seed, options.cards, options.ports, options.onus)
    if options.tables:
        import town_tables

        town_tables.write(town, options.tables)
    elif options.scenario:
        write(options.scenario, town.chassis_scenario())
    elif options.snmp:
        import town_snmp

        write(options.snmp, "".join(f"{town_snmp.line(one)}\n" for one in town_snmp.sets(town)))
    else:
        write(options.commands or "-", "".join(f"{line}\n" for line in town.commands()))


def write(path, text):
    if path == "-":
        sys.stdout.write(text)
    else:
        with open(path, "w", encoding="ascii") as file:
            file.write(text)


if __name__ == "__main__":
    main()
