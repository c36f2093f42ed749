"""Tables as managers see them, through a master agent: walks, SET with its errors, the life of rows."""

import random
import re
import socket
import struct
import threading

import pytest

from chassis import AGENTX_SOCKET, QUIET_SCENARIO

US = "\x1f"
DIR = "/var/run/product/mibdata"
ENTERPRISE = ".1.3.6.1.4.1.47281"
TABLES = f"{ENTERPRISE}.1.1.1.1.1"
TCONT = f"{TABLES}.6.1"
GEM = f"{TABLES}.5.1"
FLOW = f"{TABLES}.12.1"
TRAPS = f"{TABLES}.17.1"
WIFI = f"{TABLES}.47.1.1"
ROW = "1.2.3.4.5"

ACTIVE, NOT_IN_SERVICE, NOT_READY, CREATE_AND_GO, CREATE_AND_WAIT, DESTROY = 1, 2, 3, 4, 5, 6


def line(*fields):
    return "".join(str(field) + US for field in fields) + "\n"


def start(chassis, files=None):
    chassis.start(QUIET_SCENARIO)
    files = dict(files or {})
    if "sTcontTable" in files:
        files.setdefault("sOnuTable", onus_of(files["sTcontTable"]))
    for name, lines in files.items():
        chassis.write(f"{DIR}/{name}.mib", "".join(lines))
    chassis.start_snmpd()
    chassis.start_daemon()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    # A table that the daemon registers: until then the master answers for itself.
    chassis.wait_for(lambda: registered(chassis), what="the subagent's registration")
    return chassis


def registered(chassis):
    error = chassis.snmp("snmpset", f"{TCONT}.2.{ROW}", "i", "1").stderr
    return "notWritable" in error


def error_of(chassis, *oid_type_value):
    """The error that a SET is answered with."""
    made = chassis.snmp("snmpset", *map(str, oid_type_value))
    assert made.returncode != 0, made.stdout
    for text in made.stderr.splitlines():
        if text.startswith("Reason: "):
            return text.removeprefix("Reason: ").split()[0]
    return made.stderr


def create(chassis, table, status_column, index, *more, status=CREATE_AND_GO):
    return chassis.snmpset(*more, f"{table}.{status_column}.{index}", "i", status)


def onus_of(tcont_lines):
    """The ONUs of these T-CONTs, without which they can't change."""
    indexes = dict.fromkeys(tuple(text.split(US)[:4]) for text in tcont_lines)
    return [
        line(*index, 0, "", 1, "", "", "", "", 1, 1, 1, 0, "KLM-618", 0, "", "", ACTIVE, 0, 0, "", 0, 0, 0, 0)
        for index in indexes
    ]


def tconts(count):
    return [line(1, 1 + i // 2048, 1 + i // 128 % 16, 1 + i % 128, 1, 1024 + i, f"tc{i}", 7, "default", 1) for i in range(count)]


# ---- walks ---------------------------------------------------------------------------------------


def test_walk_gives_every_row_of_a_table_in_order(chassis):
    start(chassis, {"sTcontTable": tconts(300)})
    for walk in chassis.snmpwalk, chassis.bulkwalk:
        names = list(walk(TCONT))
        assert len(names) == 300 * 5
        keys = [tuple(map(int, name.strip(".").split("."))) for name in names]
        assert keys == sorted(keys)


def test_walk_of_the_whole_tree_ends(chassis):
    start(chassis, {"sTcontTable": tconts(3)})
    create(chassis, FLOW, 8, "1.1.1.1.1.1.1.1")
    names = list(chassis.bulkwalk(ENTERPRISE))
    assert len([name for name in names if name.startswith(TCONT + ".")]) == 15
    assert len([name for name in names if name.startswith(FLOW + ".")]) == 7


@pytest.mark.parametrize(
    "start_at, first",
    [
        ("", "2.1.1.1.1.1"),
        (".0", "2.1.1.1.1.1"),
        (".1.9.9.9.9.9", "2.1.1.1.1.1"),
        (".3.1.1.1", "3.1.1.1.1.1"),
        (".3.1.1.1.1.1", "3.1.1.1.2.1"),
        (".3.1.1.1.1.1.0.0", "3.1.1.1.2.1"),
        (".3.1.1.1.1.4294967295", "3.1.1.1.2.1"),
        (".3.4294967295", "4.1.1.1.1.1"),
        (".3" + ".1" * 110, "3.1.1.1.2.1"),
    ],
)
def test_getnext_from_any_name(chassis, start_at, first):
    start(chassis, {"sTcontTable": tconts(3)})
    got = chassis.snmp("snmpgetnext", "-On", TCONT + start_at)
    assert got.stdout.split(" = ")[0] == f"{TCONT}.{first}", got.stderr


def test_get_of_wrong_names(chassis):
    start(chassis, {"sTcontTable": tconts(3), "sOnuTable": []})
    for name in "3.1.1.1.9.1", "3.1.1.1.1", "3.1.1.1.1.1.1", "3.1.1.1.1.4294967295", "3":
        assert "No Such" in chassis.snmp("snmpget", f"{TCONT}.{name}").stdout
    assert "No Such Object" in chassis.snmp("snmpget", f"{TCONT}.7.1.1.1.1.1").stdout
    # A number of the registration without an object: the row is looked for first.
    assert "No Such Instance" in chassis.snmp("snmpget", f"{TABLES}.2.1.25.1.1.1.1").stdout


# ---- the life of rows ----------------------------------------------------------------------------

# Tables without rules of their own: status column, an index, and a text or number to write.
PLAIN = {
    "traps": (TRAPS, 4, "7"),
    "flow": (FLOW, 8, "1.1.1.1.1.1.1.1"),
    "threshold profile of a GEM port": (f"{TABLES}.33.4.3.1", 8, "4294967295"),
}


@pytest.mark.parametrize("table", PLAIN)
def test_create_and_go_and_destroy(chassis, table):
    start(chassis)
    base, status, index = PLAIN[table]
    create(chassis, base, status, index)
    assert chassis.snmpget(f"{base}.{status}.{index}") == {f"{base}.{status}.{index}": f"INTEGER: {ACTIVE}"}
    assert error_of(chassis, f"{base}.{status}.{index}", "i", CREATE_AND_GO) == "inconsistentValue"
    assert error_of(chassis, f"{base}.{status}.{index}", "i", CREATE_AND_WAIT) == "inconsistentValue"
    chassis.snmpset(f"{base}.{status}.{index}", "i", DESTROY)
    assert "No Such Instance" in chassis.snmp("snmpget", f"{base}.{status}.{index}").stdout
    chassis.snmpset(f"{base}.{status}.{index}", "i", DESTROY)  # a second one finds what it wants


@pytest.mark.parametrize("table", PLAIN)
def test_create_and_wait_then_activate(chassis, table):
    start(chassis)
    base, status, index = PLAIN[table]
    name = f"{base}.{status}.{index}"
    create(chassis, base, status, index, status=CREATE_AND_WAIT)
    assert chassis.snmpget(name) == {name: f"INTEGER: {NOT_IN_SERVICE}"}
    chassis.snmpset(name, "i", ACTIVE)
    assert chassis.snmpget(name) == {name: f"INTEGER: {ACTIVE}"}
    chassis.snmpset(name, "i", NOT_IN_SERVICE)
    chassis.snmpset(name, "i", DESTROY)
    assert "No Such Instance" in chassis.snmp("snmpget", name).stdout


def test_odd_row_status_transitions(chassis):
    start(chassis)
    base, status, index = PLAIN["traps"]
    name = f"{base}.{status}.{index}"
    assert error_of(chassis, name, "i", ACTIVE) == "inconsistentValue"
    assert error_of(chassis, name, "i", NOT_IN_SERVICE) == "inconsistentValue"
    for value in 0, 7, -1:
        assert error_of(chassis, name, "i", value) == "wrongValue"
    assert error_of(chassis, name, "i", NOT_READY) in ("wrongValue", "inconsistentValue")
    assert error_of(chassis, name, "u", CREATE_AND_GO) == "wrongType"
    assert error_of(chassis, name, "s", "4") == "wrongType"
    assert "No Such Instance" in chassis.snmp("snmpget", name).stdout


def test_row_is_saved_with_what_a_manager_wrote(chassis):
    start(chassis)
    base, status, index = PLAIN["traps"]
    create(chassis, base, status, index, f"{base}.2.{index}", "s", "operator")
    chassis.event("snmp-mib-table-save", sequence=1, tablename="sGponTrapEnableTable")
    chassis.wait_log(r"Process mibsave request 1 for sGponTrapEnableTable\.$")
    fields = chassis.read(f"{DIR}/sGponTrapEnableTable.mib").split(US)
    assert fields[:4] == [index, "operator", "1", str(ACTIVE)]


def test_an_object_of_a_line_card_is_not_taken_out_of_service(chassis):
    start(chassis, {"sTcontTable": tconts(1)})
    before = chassis.snmpwalk(TCONT)
    assert error_of(chassis, f"{TCONT}.6.1.1.1.1.1", "i", NOT_IN_SERVICE) == "inconsistentValue"
    assert chassis.snmpwalk(TCONT) == before


def test_thresholds_of_counters_are_set_with_a_type_that_managers_have(chassis):
    start(chassis)
    for table, threshold, status in (f"{TABLES}.33.4.1.1", 4, 34), (f"{TABLES}.33.4.2.1", 4, 19), (f"{TABLES}.33.4.3.1", 4, 8):
        name = f"{table}.{threshold}.9"
        chassis.snmpset(f"{table}.{status}.9", "i", CREATE_AND_GO)
        chassis.snmpset(name, "u", 4294967295)
        assert chassis.snmpget(name) == {name: "Counter64: 4294967295"}


def test_passwords_are_not_in_the_log(chassis):
    start(chassis)
    onu = f"{TABLES}.2.1"
    made = chassis.snmp("snmpset", f"{onu}.6.1.1.1.7", "s", "hunter2", f"{onu}.17.1.1.1.7", "i", str(CREATE_AND_WAIT))
    assert made.returncode == 0, made.stderr
    chassis.wait_log(r"Set entry \[.*\] sOnuTablePw:\*\*\* $")
    assert "hunter2" not in chassis.read("/tmp/product/gpon.log")
    assert "hunter2" not in chassis.vty("show mib table sOnuTable row 1 1 1 7")


# ---- wrong requests ------------------------------------------------------------------------------


def test_wrong_requests_name_their_error_and_change_nothing(chassis):
    start(chassis, {"sTcontTable": tconts(2)})
    before = chassis.snmpwalk(TCONT)
    for error, *request in [
        ("notWritable", f"{TCONT}.2.1.1.1.1.1", "i", 1),
        ("wrongType", f"{TCONT}.4.1.1.1.1.1", "s", "1"),
        ("wrongType", f"{TCONT}.4.1.1.1.1.1", "u", 1),
        ("wrongType", f"{TCONT}.3.1.1.1.1.1", "i", 1),
        ("wrongLength", f"{TCONT}.3.1.1.1.1.1", "s", "x" * 34),
        ("resourceUnavailable", f"{TCONT}.4.1.1.1.9.1", "i", 1),
        ("inconsistentValue", f"{TCONT}.6.1.1.1.1.1", "i", CREATE_AND_GO),
        ("notWritable", f"{TABLES}.23.1.1.1.1.1.1", "i", 1),  # a table that managers only read
        # The good one beside a bad one has no effect.
        ("wrongType", f"{TCONT}.4.1.1.1.1.1", "i", 5, f"{TCONT}.3.1.1.1.1.1", "i", 1),
        ("notWritable", f"{TCONT}.6.1.1.1.9.1", "i", CREATE_AND_GO, f"{TCONT}.2.1.1.1.9.1", "i", 1),
    ]:
        assert error_of(chassis, *request) == error, request
    assert chassis.snmpwalk(TCONT) == before


def test_names_that_are_no_variable_are_refused(chassis):
    start(chassis, {"sTcontTable": tconts(2)})
    before = chassis.snmpwalk(TCONT)
    for name in "4.1.1.1.1", "4.1.1.1.1.1.1", "4", "9.1.1.1.1.1", "4294967295.1.1.1.1.1", "4" + ".1" * 110:
        error = error_of(chassis, f"{TCONT}.{name}", "i", 1)
        assert error in ("noCreation", "notWritable", "noAccess"), (name, error)
        # Beside a create in the same request.
        error_of(chassis, f"{TCONT}.6.{ROW}", "i", CREATE_AND_GO, f"{TCONT}.{name}", "i", 1)
    assert chassis.snmpwalk(TCONT) == before


def test_text_of_all_its_bytes_and_binary_content(chassis):
    start(chassis, {"sTcontTable": tconts(1)})
    name = f"{TCONT}.3.1.1.1.1.1"
    chassis.snmpset(name, "s", "x" * 33)
    assert chassis.snmpget(name) == {name: f'STRING: "{"x" * 33}"'}
    chassis.snmpset(name, "x", "FF0A00414243")  # ends at its first zero
    assert chassis.snmpget(name)[name].replace(" ", "") == "Hex-STRING:FF0A"


def test_two_variables_of_one_column(chassis):
    start(chassis, {"sTcontTable": tconts(1)})
    name = f"{TCONT}.3.1.1.1.1.1"
    made = chassis.snmp("snmpset", name, "s", "first", name, "s", "second")
    assert chassis.snmpget(name) == {name: 'STRING: "second"'}, made.stderr


def test_two_rows_in_one_request(chassis):
    start(chassis, {"sTcontTable": tconts(2)})
    one, two = f"{TCONT}.3.1.1.1.1.1", f"{TCONT}.3.1.1.1.2.1"
    chassis.snmpset(one, "s", "one", two, "s", "two")
    assert chassis.snmpget(one, two) == {one: 'STRING: "one"', two: 'STRING: "two"'}


def test_rows_of_two_tables_in_one_request_come_together_or_not_at_all(chassis):
    start(chassis)
    traps, traps_status, traps_index = PLAIN["traps"]
    flow, flow_status, flow_index = PLAIN["flow"]
    first, second = f"{traps}.{traps_status}.{traps_index}", f"{flow}.{flow_status}.{flow_index}"
    assert error_of(chassis, first, "i", CREATE_AND_GO, second, "i", ACTIVE) == "inconsistentValue"
    assert "No Such Instance" in chassis.snmp("snmpget", first).stdout
    chassis.snmpset(first, "i", CREATE_AND_GO, second, "i", CREATE_AND_GO)
    assert chassis.snmpget(second)[second] == "INTEGER: 1"


def test_values_of_odd_types_are_refused_and_the_agent_stays(chassis):
    start(chassis, {"sTcontTable": tconts(1)})
    column = f"{TCONT}.4.1.1.1.1.1"
    for kind, value in [("F", "1.5"), ("D", "1.5"), ("U", "1"), ("I", "-1"), ("n", "0"), ("o", ".1.3"), ("t", "5")]:
        assert error_of(chassis, column, kind, value)
    assert chassis.snmpget(column)[column] == "INTEGER: 7"
    assert not chassis.log_lines("connection given up")


# ---- a master that goes away in the middle of a SET ----------------------------------------------


class Master:
    """A master agent of our own making (RFC 2741), which can leave at any moment."""

    RESPONSE, TEST_SET, COMMIT_SET, UNDO_SET, CLEANUP_SET = 18, 8, 9, 10, 11

    def __init__(self, chassis):
        path = chassis.path(AGENTX_SOCKET)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.unlink(missing_ok=True)
        self.listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.listener.bind(str(path))
        self.listener.listen(4)
        self.listener.settimeout(10)
        self.packet = 100

    def accept(self, tables=65):
        """Takes the subagent's session and its registrations; the first that it doesn't give up on."""
        registered = 0
        while registered < tables:
            if registered == 0:
                self.connection, _ = self.listener.accept()
                self.connection.settimeout(5)
            try:
                while registered < tables:
                    kind, packet, _ = self.receive()
                    registered += kind == 3
                    self.answer(packet)
            except (AssertionError, BrokenPipeError):
                registered = 0

    def leave(self):
        self.connection.close()

    def receive(self):
        header = self.read(20)
        _, kind, flags, _, session, transaction, packet, length = struct.unpack(">BBBBIIII", header)
        if not flags & 0x10:
            _, session, transaction, packet, length = struct.unpack("<IIIII", header)
        self.order = ">" if flags & 0x10 else "<"
        return kind, (session, transaction, packet), self.read(length)

    def read(self, length):
        data = b""
        while len(data) < length:
            more = self.connection.recv(length - len(data))
            assert more, "the subagent closed the connection"
            data += more
        return data

    def send(self, kind, session, transaction, packet, payload):
        flags = 0x10 if self.order == ">" else 0
        self.connection.sendall(
            struct.pack(self.order + "BBBBIIII", 1, kind, flags, 0, session, transaction, packet, len(payload)) + payload
        )

    def answer(self, packet):
        session, transaction, number = packet
        self.send(self.RESPONSE, session or 7, transaction, number, struct.pack(self.order + "IHH", 0, 0, 0))

    def request(self, kind, oid=None, value=0):
        """A phase of SET on one integer; gives the error of the answer."""
        payload = b""
        if oid:
            arcs = [int(arc) for arc in oid.strip(".").split(".")]
            payload = struct.pack(self.order + f"HHBBBB{len(arcs)}Ii", 2, 0, len(arcs), 0, 0, 0, *arcs, value)
        self.packet += 1
        self.send(kind, 7, 55, self.packet, payload)
        while True:
            kind, packet, payload = self.receive()
            if kind == self.RESPONSE:
                return struct.unpack_from(self.order + "IH", payload)[1]
            self.answer(packet)  # a ping


def row_status(chassis):
    """The row status of the row in PLAIN as the daemon holds it, or None."""
    text = chassis.vty("show mib table sGponTrapEnableTable row 7")
    found = re.search(r"sGponTrapEnableTableRowStatus *: *(\w+)", text)
    return found and found[1]


@pytest.mark.parametrize(
    "phases, now, afterwards",
    [
        ([Master.TEST_SET], "NONEXISTENT", None),
        ([Master.TEST_SET, Master.COMMIT_SET], "CREATEANDGO", "ACTIVE"),
        ([Master.TEST_SET, Master.COMMIT_SET, Master.CLEANUP_SET], "ACTIVE", "ACTIVE"),
        ([Master.TEST_SET, Master.COMMIT_SET, Master.UNDO_SET], None, None),
        ([Master.TEST_SET, Master.CLEANUP_SET], None, None),
        ([Master.TEST_SET, Master.TEST_SET], "NONEXISTENT", None),
    ],
)
def test_master_that_leaves_in_the_middle_of_a_set(chassis, phases, now, afterwards):
    chassis.start(QUIET_SCENARIO)
    master = Master(chassis)
    chassis.start_daemon()
    master.accept()
    chassis.wait_record(kind="request", type="cfg-app-sync-prio", cfg_prio=480)
    base, status, index = PLAIN["traps"]
    for phase in phases:
        if phase == Master.TEST_SET:
            assert master.request(phase, f"{base}.{status}.{index}", CREATE_AND_GO) == 0
        elif phase == Master.CLEANUP_SET:
            master.send(phase, 7, 55, 999, b"")  # isn't answered
        else:
            assert master.request(phase) == 0
    chassis.wait_for(lambda: row_status(chassis) == now, what=f"status {now}")
    master.leave()
    chassis.wait_for(lambda: row_status(chassis) == afterwards, what=f"status {afterwards}")


class Nonsense:
    """What no master would say, the same in every run: requests of random content, well formed or damaged."""

    def __init__(self, seed, order, damaged):
        self.dice = random.Random(seed)
        self.order = order
        self.damaged = damaged

    def word(self):
        return self.dice.choice([0, 1, 7, 55, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, self.dice.getrandbits(32)])

    def oid(self):
        arcs = [int(arc) for arc in TCONT.strip(".").split(".")] + [self.dice.randrange(8), 1, 2, 3, 4, 5]
        arcs = arcs[: self.dice.randrange(len(arcs) + 1)]
        arcs += [self.word() for _ in range(self.dice.choice([0, 0, 0, 1, 3, 108, 200 if self.damaged else 2]))]
        return struct.pack(f"{self.order}BBBB{len(arcs)}I", len(arcs), 0, self.dice.randrange(2), 0, *arcs)

    def variable(self):
        kind = self.dice.choice([2, 4, 5, 6, 64, 65, 66, 67, 68, 70, 128, 129, 130])
        text = self.dice.randbytes(self.dice.choice([0, 4, 5, 33, 300]))
        if kind in (4, 64, 68):
            value = struct.pack(self.order + "I", len(text)) + text + bytes(-len(text) % 4)
        elif kind in (2, 65, 66, 67):
            value = struct.pack(self.order + "I", self.word())
        else:
            value = {6: self.oid, 70: lambda: self.dice.randbytes(8)}.get(kind, bytes)()
        return struct.pack(self.order + "HH", kind, 0) + self.oid() + value

    def payload(self, kind):
        if kind in (5, 6, 7):
            bulk = struct.pack(self.order + "HH", self.dice.randrange(3), self.dice.randrange(300)) if kind == 7 else b""
            return bulk + b"".join(self.oid() + self.oid() for _ in range(self.dice.randrange(4)))
        if kind == 8:
            return b"".join(self.variable() for _ in range(self.dice.randrange(4)))
        if kind == 18:
            head = struct.pack(self.order + "IHH", self.word(), self.word() & 0xFFFF, 0)
            return head + b"".join(self.variable() for _ in range(self.dice.randrange(3)))
        return b""

    def frame(self):
        kind = self.dice.choice([5, 5, 6, 6, 7, 8, 8, 9, 10, 11, 18])
        payload = bytearray(self.payload(kind))
        if self.damaged:
            for _ in range(self.dice.randrange(3)):
                if payload:
                    payload[self.dice.randrange(len(payload))] = self.dice.randrange(256)
            if self.dice.random() < 0.2:
                kind = self.dice.randrange(256)
        flags = self.dice.choice([0, 0, 0, 1, 2, 4]) | (0x10 if self.order == ">" else 0)
        session = 7 if self.dice.random() < 0.9 else self.word()
        return struct.pack(self.order + "BBBBIIII", 1, kind, flags, 0, session, 55, self.word(), len(payload)) + payload

    def last_frame(self):
        """One behind which no frame is known to begin any more: a length that lies, another version, half a header."""
        lie = bytearray(self.frame())
        where, value = self.dice.choice([(16, 0xFFFFFFFF), (16, 0x7FFFFFFF), (16, 0x80000000), (16, 1), (0, 0), (0, 0xFFFFFFFF)])
        struct.pack_into(self.order + "I", lie, where, value)
        return bytes(lie[: self.dice.choice([len(lie), len(lie), 11])])


def test_a_master_that_sends_nonsense_leaves_the_agent_working(chassis):
    chassis.start(QUIET_SCENARIO)
    chassis.write("/tmp/agent/quagga.conf", "agentXPingInterval 1\n")
    assert chassis.run("mount", "--bind", "/tmp/agent", "/etc/snmp").returncode == 0
    master = Master(chassis)
    chassis.start_daemon()
    master.accept()
    for connection in range(8):
        nonsense = Nonsense(connection, master.order, damaged=connection >= 4)
        heard = threading.Thread(target=read_to_the_end, args=(master.connection,))
        heard.start()
        try:
            for _ in range(300):
                master.connection.sendall(nonsense.frame())
            master.connection.sendall(nonsense.last_frame())
            master.connection.shutdown(socket.SHUT_WR)
        except OSError:
            pass  # the agent has left
        heard.join(30)
        assert not heard.is_alive()
        master.leave()
        assert chassis.daemon.poll() is None
        assert chassis.vty("show slot info").result == 0
        master.accept()
    base, status, index = PLAIN["traps"]
    chassis.wait_for(lambda: row_status(chassis) is None, what="no row")
    assert master.request(Master.TEST_SET, f"{base}.{status}.{index}", CREATE_AND_GO) == 0
    assert master.request(Master.COMMIT_SET) == 0
    master.send(Master.CLEANUP_SET, 7, 55, 999, b"")
    chassis.wait_for(lambda: row_status(chassis) == "ACTIVE", what="the row")


def read_to_the_end(connection):
    try:
        while connection.recv(65536):
            pass
    except OSError:
        pass
