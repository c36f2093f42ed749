"""Who works on the network from outside of it: field staff, planners, firmware, the clock, and the killer."""

import time

from chassis import ChassisError, wait_for
from soaking.actor import Actor
from soaking.network import EPOCH, SERVED, TABLE_DIR, onu_name, place

QUARTER, PASS_SLOT = 900, 5
PATIENCE = 60  # seconds for a pass that is due, of a daemon that may be started meanwhile
FAMILIES = ("ponPmTable", "onuPmTable", "gemPmTable", "ponnniPmTable", "uplinkPmTable")


class Field(Actor):
    """Cards are pulled, put back, restarted and swapped; fibres are cut and mended."""

    name = "field"

    def deeds(self):
        return [(2, self.pull_and_put_back), (2, self.restart_a_card), (1, self.swap_a_card), (3, self.cut_or_mend)]

    def a_card(self):
        slots = [slot for slot in self.network.inside() if not self.network.replaying(slot)]
        return self.random.choice(slots) if slots else None

    def pull_and_put_back(self):
        network = self.network
        if network.out:
            slot = min(network.out)
            self.note(f"puts card {slot} back")
            network.put_back(slot)
        elif slot := self.a_card():
            self.note(f"pulls card {slot}")
            network.pull(slot)

    def restart_a_card(self):
        if slot := self.a_card():
            self.note(f"restarts card {slot}")
            self.network.restart_card(slot)

    def swap_a_card(self):
        """Out for good, with all that was configured on it, and another one in."""
        network = self.network
        slot = self.a_card()
        if not slot or slot in {place(port)[0] for group in network.scale.groups for port in group}:
            return
        self.note(f"swaps card {slot}")
        network.pull(slot)
        lines = len(network.chassis.log_lines(f"Delete all onu on slot {slot}"))
        network.chassis.event("slot-remove", slot_id=slot, card_type=27)
        wait_for(lambda: len(network.chassis.log_lines(f"Delete all onu on slot {slot}")) > lines, 120, f"the rows of card {slot} to go")
        network.chassis.simctl("card", slot, "restart")
        network.out.discard(slot)
        network.plug(slot)
        network.replay(slot)

    def cut_or_mend(self):
        network = self.network
        port = self.random.choice((*self.random.choice(network.scale.groups), self.random.choice(network.scale.homes)))
        if port in network.cut:
            network.cut.discard(port)
            self.simctl("fibre", port, "mend")
        else:
            network.cut.add(port)
            self.simctl("fibre", port, "cut")

    def mend_all(self):
        for port in sorted(self.network.cut):
            self.simctl("fibre", port, "mend")
        self.network.cut.clear()


SERVICE = (
    "tcont 1 profile home", "gemport 1 tcont 1", "service-port 1 gemport 1 user-vlan 10 vlan 100", "remote service 1 gem 1 vlan 100",
)  # fmt: skip
HOME = (
    *SERVICE, "gemport 2 tcont 1", "remote service 2 gem 2 vlan 200", "remote uni eth_1/1 vlan-mode access pvlan 100",
    "remote onu mgmt-ip dhcp vlan 200", "remote voip protocol sip",
    "remote wan 1 route internet dhcp vlan-mode tag 100 priority 0",
    "remote wifi 1 mode 802.11b/g/n channel auto bandwidth 20MHz ssid-name at-home security-mode wpa2-psk share-key to-be-kept-secret",
    "remote mac_filter service 2 dynamic mac_limit 32", "pm enable", "gemport 1 pm enable",
)  # fmt: skip


class Planner(Actor):
    """Builds the network and rebuilds it: profiles, ONUs, protection groups, copies of ports, services for many at once."""

    name = "planner"

    def begin(self):
        super().begin()
        if self.network.scale.town:
            self.network.type_in("\n".join(self.network.scale.town.commands()))
        self.on_gpon("profile bandwidth home assured 2000 maximum 100000", "profile bandwidth voice fixed 256",
                     "profile onutype HOME-4 eth 4 pots 2", "profile traffic car cir 64 cbs 2000 pir 64 pbs 2000")  # fmt: skip
        for number, (name, lines) in enumerate((("homes", HOME[:10]), ("flats", SERVICE), ("offices", SERVICE)), 1):
            self.type(("configure terminal", "gpon", f"onu-srvprofile profile-id {number} onu-type KLM-618"), f"profile-name {name}", *lines)
        if self.network.scale.town:
            self.learn()
            return
        for port in self.network.scale.homes:
            self.provision(port)
        self.on_port(self.network.scale.homes[0], "pm protocol enable", "pm data enable")
        self.learn()
        self.protect()

    def deeds(self):
        return [(3, self.provision), (2, self.homes), (2, self.protect_or_not), (3, self.switch_over), (2, self.copy_a_port),
                (2, self.clear_a_port), (2, self.copy_services), (2, self.take_services), (1, self.learn), (1, self.bind), (1, self.qinq),
                (1, self.save), (1, self.drop_a_profile)]  # fmt: skip

    def provision(self, port=None):
        """The ONUs that are missing, with a service or a home."""
        port = port or self.random.choice(self.network.scale.homes)
        for onu in range(1, self.network.scale.onus + 1):
            replies = self.on_port(port, f"onu {onu} type KLM-618 sn {self.network.serial(port, onu)}")
            if replies and replies[0].result == 0:
                self.on_onu(onu_name(port, onu), *(HOME if onu % 2 else SERVICE))

    def homes(self):
        self.on_onu(onu_name(*self.home()), *HOME)

    def protect(self, number=1):
        work, protect = self.network.scale.groups[number - 1]
        self.on_gpon(f"protectgroup {number} name north workpon {work} protectpon {protect} typeB")

    def a_group(self):
        return self.random.randint(1, len(self.network.scale.groups))

    def protect_or_not(self):
        number = self.a_group()
        ports = self.network.scale.groups[number - 1]
        if not self.network.cut & set(ports):
            self.on_gpon(f"no protectgroup {number}", f"clear config {ports[1]}")
            self.protect(number)

    def switch_over(self):
        self.on_gpon(f"protectgroup {self.a_group()} switchover {self.random.choice(('p2w', 'w2p'))}")

    def copy_a_port(self):
        spare = self.random.choice(self.network.scale.spare)
        source = self.random.choice([port for port in self.network.scale.homes if place(port)[0] == place(spare)[0]])
        self.on_gpon(f"copy config src {source} dst {spare}")

    def clear_a_port(self):
        self.on_gpon(f"clear config {self.random.choice(self.network.scale.spare)}")

    def copy_services(self):
        self.on_port(self.random.choice(self.network.scale.homes), f"multi-onusrv-cfg onu-srvprofile {self.random.randint(1, 3)} onu 1-6")

    def take_services(self):
        self.on_port(self.random.choice(self.network.scale.homes), f"no multi-onusrv {self.random.choice(('1-6', '2 4', '1-3'))}")

    def learn(self):
        port = self.network.scale.learning
        self.on_port(port, self.random.choice((
            "onu auto-authentication enable auto-flow enable def-srv-profile flats configure_onu_node enable",
            "onu auto-authentication enable auto-flow enable def-srv-profile homes",
            "onu auto-authentication enable")), "onu-auto-flow hgu srv-profile homes")  # fmt: skip

    def bind(self):
        """An ONU that has a service profile instead of rows of its own."""
        port, onu = self.home()
        self.on_port(port, f"no onu {onu}", f"onu {onu} profile {self.random.choice(('homes', 'flats', 'offices'))} sn {self.network.serial(port, onu)}")

    def qinq(self):
        port, onu = self.home()
        where = self.random.choice((port, onu_name(port, onu)))
        vlan = self.random.randrange(10, 14)
        line = f"vlan-smart-qinq ingress-port {where} user-vlan {vlan}"
        self.type(("configure terminal",), self.random.choice((f"{line} svlan {vlan + 1000}", f"no {line}")))

    def drop_a_profile(self):
        self.on_gpon("no onu-srvprofile profile-id 3", "no profile bandwidth voice", "no profile onu-rssi 1", "no profile traffic car",
                     "profile bandwidth voice fixed 256", "profile traffic car cir 64 cbs 2000 pir 64 pbs 2000")  # fmt: skip
        self.type(("configure terminal", "gpon", "onu-srvprofile profile-id 3 onu-type KLM-618"), "profile-name offices", *SERVICE)

    def save(self):
        self.network.save_tables()
        self.note("saves the tables")


class Firmware(Actor):
    """Images come by TFTP, go to ONUs, are committed and started, and go again."""

    name = "firmware"
    FILE = "soak.bin"

    def begin(self):
        super().begin()
        chassis = self.network.chassis
        chassis.run("chmod", "777", SERVED)
        chassis.spawn("tftpd", "/usr/sbin/in.tftpd", "--listen", "--foreground", "-4", "--address", ":69", "--user", "root", "--create",
                      "--secure", SERVED)  # fmt: skip
        chassis.wait_for(lambda: ":0045 " in chassis.run("cat", "/proc/net/udp").stdout, 20, "the TFTP server")
        self.version = 0

    def deeds(self):
        return [(2, self.fetch), (3, self.update), (2, self.commit), (2, self.activate), (1, self.of_the_model), (1, self.abort),
                (1, self.from_a_server), (1, self.mode), (1, self.look)]  # fmt: skip

    def on_enable(self, *lines):
        return self.type((), *lines)

    def fetch(self):
        self.version += 1
        self.network.chassis.write(f"{SERVED}/{self.FILE}", f"version: V3.{self.version}.0\n" + "image" * 500)
        self.on_enable(f"delete onuversion {self.FILE}", f"tftp onuversion 127.0.0.1 {self.FILE}")

    def some(self):
        return f"{self.random.choice(self.network.scale.homes)} onu-range {self.random.choice(('1-3', '2', '4 6'))}"

    def update(self):
        self.on_enable(f"cpe update {self.FILE} {self.some()}")

    def commit(self):
        self.on_enable(f"cpe commit {self.some()}", f"cpe commit file {self.FILE}")

    def activate(self):
        self.on_enable(f"cpe activate {self.some()}", f"cpe activate file {self.FILE}")

    def of_the_model(self):
        self.on_enable(f"cpe update file {self.FILE} version V3.{self.version}.0 eqptid SIM-ONU-4E2V")

    def abort(self):
        self.on_enable(f"cpe abort {self.some()}", f"cpe clear file {self.FILE}")

    def from_a_server(self):
        line = f"file v{self.version}.bin size 5000 version V4.{self.version}.0 eqptid SIM-ONU-4E2V serverip 10.0.0.1"
        self.on_enable(f"onu upgrade enable {line} {self.some()}")

    def mode(self):
        switch = self.random.choice(("enable", "disable"))
        self.on_enable(f"cpe update mode auto-commit {switch} auto-active {switch}")

    def look(self):
        port, onu = self.home()
        self.on_enable("show cpe update-status all", f"show cpe information {port} onuid {onu}")


class Clock(Actor):
    """Quarters of an hour go by: at each, the counters of one family are read, cleared and saved."""

    name = "clock"

    def deeds(self):
        return [(1, self.end_a_quarter)]

    def begin(self):
        super().begin()
        self.pending = None
        self.told = 0.0

    def end_a_quarter(self):
        """Comes to the next quarter, unless the pass of the last one hasn't been seen yet. Nobody waits for it."""
        network = self.network
        if self.pending and not self.seen():
            if time.monotonic() - self.told > PATIENCE and self.network.alive():
                name, now = self.pending
                self.pending = None
                raise ChassisError(f"{name} wasn't saved at {now - EPOCH}")
            return
        network.quarter += QUARTER
        family = network.quarter // QUARTER % len(FAMILIES)
        now = network.quarter + PASS_SLOT * family + 1
        network.tell_time(now)
        self.pending, self.told = (FAMILIES[family], now), time.monotonic()
        self.note(f"{FAMILIES[family]} at {now - EPOCH}")

    def seen(self):
        name, now = self.pending
        path = self.network.chassis.path(f"{TABLE_DIR}/{name}.mib")
        text = path.read_text(errors="replace") if path.exists() else ""
        return f"\x1f{now}\x1f" in text or (path.exists() and text == "")


class Killer(Actor):
    """Ends the daemon after a save, or the power of the whole chassis without one, and the master agent. The platform starts
    them again."""

    name = "killer"

    def deeds(self):
        return [(1, self.kill_after_a_save), (1, self.cut_the_power), (2, self.kill_the_master)]

    def again(self, what):
        self.note(what)
        for slot in sorted(self.network.out):  # the controller's part of a start knows cards that are there
            self.network.chassis.simctl("card", slot, "restart")
        self.network.out.clear()
        self.network.kill_daemon()
        self.network.start_daemon(wait=False)

    def kill_after_a_save(self):
        self.network.save_tables()
        self.again("kills the daemon after a save")

    def cut_the_power(self):
        """What wasn't saved is lost. Cards that stay while the daemon goes would have more than it, which nobody takes away."""
        self.network.kill_daemon()
        for slot in self.network.scale.cards:
            self.network.chassis.simctl("card", slot, "restart")
        self.network.out.clear()
        self.note("cuts the power")
        self.network.start_daemon(wait=False)

    def kill_the_master(self):
        self.note("kills the master agent")
        self.network.restart_snmpd()
