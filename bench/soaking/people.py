"""Operators, managers and subscribers."""

import contextlib

from chassis import ChassisError
from soaking import tables
from soaking.actor import Actor
from soaking.grammar import Grammar, mistyped
from soaking.network import onu_name, place

NODES = ("enable", "config", "gpon", "port", "onu", "profile", "uplink")


class Operator(Actor):
    """Types whatever can be typed, right and wrong, on all nodes."""

    name = "operator"

    def begin(self):
        super().begin()
        self.grammar = Grammar(self.random, self.interface)

    def deeds(self):
        return [(6, self.change_an_onu), (3, self.change), (3, self.look), (1, self.mistype), (1, self.walk_away), (1, self.delete_an_onu)]

    def interface(self):
        port, onu = self.home()
        return self.random.choice((port, onu_name(port, onu), onu_name(port, onu), "gpon-olt2/2", "xe8/1", "gpon-olt9/9", "nowhere"))

    def node(self, kind):
        port, onu = self.home()
        ways = {
            "enable": (),
            "config": ("configure terminal",),
            "gpon": ("configure terminal", "gpon"),
            "port": ("configure terminal", f"interface {port}"),
            "onu": ("configure terminal", f"interface {onu_name(port, onu)}"),
            "profile": ("configure terminal", "gpon", f"onu-srvprofile profile-id {self.random.randint(1, 3)} onu-type KLM-618"),
            "uplink": ("configure terminal", "interface xe8/1"),
        }
        return ways[kind]

    def forms(self, kind):
        if not self.grammar.knows(kind):
            replies = self.type(self.node(kind), "list")
            if not replies:
                return False
            self.grammar.learn(kind, str(replies[0]))
        return True

    def some(self, kind, which, many):
        if not self.forms(kind):
            return []
        known = which(kind)
        return [self.grammar.line(self.random.choice(known)) for _ in range(many)] if known else []

    def change_an_onu(self):
        self.type(self.node("onu"), *self.some("onu", self.grammar.changes, 6))

    def change(self):
        kind = self.random.choice(NODES)
        self.type(self.node(kind), *self.some(kind, self.grammar.changes, 4))

    def look(self):
        kind = self.random.choice(NODES)
        self.type(self.node(kind), *self.some(kind, self.grammar.shows, 3), "show alarm")

    def mistype(self):
        kind = self.random.choice(NODES)
        lines = self.some(kind, self.grammar.changes, 5)
        self.type(self.node(kind), *(mistyped(self.random, line) for line in lines))

    def walk_away(self):
        """Ctrl-C, and the session is closed, before an answer is there."""
        line = self.random.choice(("write terminal", "show onu reason", "show mib table sOnuTable rows"))
        with self.network.chassis.open_vty() as session:
            session._socket.sendall(line.encode() + b"\0")
        self.note(f"{line}, and is gone")

    def delete_an_onu(self):
        port, onu = self.home()
        self.on_port(port, f"no onu {onu}", f"onu {onu} type {self.random.choice(('KLM-618', 'HOME-4'))} sn {self.network.serial(port, onu)}")


class Manager(Actor):
    """Writes any column of any row that can be written, makes rows and takes some away, and walks."""

    name = "manager"
    #: Actions move files about, and have a test of their own.
    NOT_WRITTEN = ("sActionTable",)
    #: Rows of the daemon's own making, which are there again at the next start; profile 0 of each kind is another.
    KEPT = ("sOnuTable", "sOnuSrvProfileTable", "sPonTable", "portQosTable", "ponPortQosTable", "uplinkPmActTable", "sPonOpticTable", "sPonThresholdTable")

    def begin(self):
        super().begin()
        self.tables = [tables.read(name) for name in tables.names() if name not in self.NOT_WRITTEN and not name.startswith("acl")]

    def deeds(self):
        return [(6, self.write), (3, self.make), (1, self.take_away), (2, self.walk)]

    def ask(self, *objects):
        reply = self.network.manager.set(*objects)
        self.note(f"set {objects}", reply["error"] or reply["status"])

    def rows(self, table):
        head = f"{table.oid}.{table.status}."
        binds = self.network.manager.walk(head[:-1])
        return sorted(tuple(map(int, bind[0][len(head) :].split("."))) for bind in binds if bind[0].startswith(head))

    def some_row(self):
        for table in self.random.sample(self.tables, len(self.tables)):
            rows = [row for row in self.rows(table) if not self.rests(table, row)]
            if rows:
                return table, self.random.choice(rows)
        return None

    def rests(self, table, row):
        """Rows of the working port while its partner can't follow."""
        ports = [(1, *place(port)) for port in self.network.resting()]
        return bool(ports) and (table.index[:3] != ["shelfID", "slotID", "portID"] or row[:3] in ports)

    def objects(self, table, row, many):
        columns = table.writable()
        chosen = self.random.sample(columns, min(many, len(columns)))
        tail = ".".join(map(str, row))
        return [(f"{table.oid}.{column.number}.{tail}", column.syntax, column.value(self.random)) for column in chosen]

    def write(self):
        if found := self.some_row():
            objects = self.objects(*found, self.random.choice((1, 1, 2, 3)))
            if objects:
                self.ask(*objects)

    def make(self):
        """A row beside one that is there, or one that is there already."""
        found = self.some_row()
        if not found or found[0].name in self.KEPT[2:]:
            return
        table, row = found
        place = self.random.randrange(len(row))
        row = (*row[:place], self.random.choice((row[place], 1, 2, 3, 4, row[place] + 1)), *row[place + 1 :])
        status = (f"{table.oid}.{table.status}.{'.'.join(map(str, row))}", "Integer32", self.random.choice((4, 4, 4, 5)))
        self.ask(*self.objects(table, row, self.random.randrange(4)), status)

    def take_away(self):
        found = self.some_row()
        if found and found[0].name not in self.KEPT and 0 not in found[1]:
            table, row = found
            self.ask((f"{table.oid}.{table.status}.{'.'.join(map(str, row))}", "Integer32", 6))

    def walk(self):
        table = self.random.choice(self.tables)
        binds = self.network.manager.walk(table.oid)
        self.note(f"walk {table.name}", len(binds))


class Subscribers(Actor):
    """Switch their ONUs on and off, lose their light, use what they have; and some who nobody knows."""

    name = "subscribers"

    def begin(self):
        super().begin()
        self.strangers = 0
        if self.network.scale.town:
            for line in self.network.scale.town.plugged_in():
                if line.startswith("onu "):
                    self.simctl(*line.split())
            return
        for port in self.network.scale.homes:
            for onu in range(1, self.network.scale.onus + 1):
                self.simctl("onu", "add", self.network.serial(port, onu), f"port={port}", "model=SIM-ONU-4E2V", "vendor=SOAK")

    def deeds(self):
        return [(3, self.come_and_go), (1, self.stranger), (2, self.traffic), (1, self.alarms), (1, self.storm), (2, self.use_unis),
                (1, self.telephone), (1, self.feed), (1, self.light_fades)]  # fmt: skip

    def mine(self):
        return self.network.serial(*self.home())

    def come_and_go(self):
        for _ in range(3):
            self.simctl("onu", self.random.choice(("on", "on", "off", "gasp", "lose", "recover", "recover")), self.mine())

    def stranger(self):
        self.strangers += 1
        who = f"XXXX{self.strangers:08X}"
        port = self.random.choice((self.network.scale.learning,) * 3 + self.network.scale.homes)
        self.simctl("onu", "add", who, f"port={port}", f"type={self.random.choice(('sfu', 'hgu'))}", "model=HOME-4")
        if self.strangers > 6:
            self.simctl("onu", "remove", f"XXXX{self.strangers - 6:08X}")

    def traffic(self):
        for _ in range(3):
            self.simctl("traffic", self.mine(), f"up={self.random.randrange(1000)}", f"down={self.random.randrange(1000)}")
        self.simctl("errors", self.mine(), "bip8=3")

    def alarms(self):
        port, onu = self.home()
        slot = int(port[8 : port.index("/")])
        for _ in range(3):
            code, state = self.random.choice((201, 205, 209, 210)), self.random.choice((1, 2))
            self.simctl("card-event", slot, "trap", f"AlarmTableAlarmSource={onu_name(port, onu)}", f"AlarmTableAlarmCode={code}",
                        f"AlarmTableAlarmState={state}")  # fmt: skip

    def storm(self):
        port, onu = self.home()
        slot = int(port[8 : port.index("/")])
        with contextlib.suppress(ChassisError):
            for state in (1, 2):
                self.simctl("card-event", slot, "trap", "count=500", f"AlarmTableAlarmSource={onu_name(port, onu)}",
                            "AlarmTableAlarmCode=205", f"AlarmTableAlarmState={state}")  # fmt: skip

    def use_unis(self):
        uni = self.random.choice(("eth_1/1", "eth_1/2", "pots_1/1"))
        self.simctl("uni", self.mine(), uni, self.random.choice(("link", "loop")), self.random.choice(("on", "off")))
        self.simctl("uni", self.mine(), "eth_1/1", "traffic", "up=10", "down=20")

    def telephone(self):
        for what in (("off-hook",), ("on-hook",), ("call", "4711")):
            self.simctl("phone", self.mine(), "pots_1/1", *what)

    def feed(self):
        self.simctl("poe", self.mine(), "eth_1/4", *self.random.choice((("attach", "watts=6"), ("detach",), ("overload",))))

    def light_fades(self):
        port, onu = self.home()
        self.simctl("optics", self.network.serial(port, onu), f"rxpwr={-self.random.randrange(1500, 3500)}")
        self.on_port(port, f"show optical module rxpower onuid {onu}")
