"""SNMP requests from inside a chassis, many of them: by OID, or by table, row and column."""

import json
import subprocess

ENTERPRISE = "1.3.6.1.4.1.47281"
ACTIVE, CREATE_AND_GO, CREATE_AND_WAIT, DESTROY = 1, 4, 5, 6

#: Runs in the sandbox: one request of the other make's library each, as JSON in and out.
MANAGER = r"""
import json, os, sys
from pysnmp import hlapi as h
auth = h.CommunityData("private", mpModel=1)
def target(): return h.UdpTransportTarget(("127.0.0.1", 161), timeout=float(os.environ.get("GPON_TEST_SNMP_TIMEOUT", "5")), retries=0)
engine = h.SnmpEngine()
def answer(error, status, index, binds):
    return {"error": str(error) if error else "", "status": status.prettyPrint() if status else "noError",
            "index": int(index or 0), "binds": [[str(o), type(v).__name__, v.prettyPrint()] for o, v in binds]}
def value(kind, v): return getattr(h, kind)(v)
for line in sys.stdin:
    ask = json.loads(line)
    if ask["do"] == "walk":
        binds = []
        for e, s, i, b in h.bulkCmd(engine, auth, target(), h.ContextData(), 0, 50,
                h.ObjectType(h.ObjectIdentity(ask["oid"])), lexicographicMode=False, lookupMib=False):
            if e or s: binds.append(["!", str(e), str(s)]); break
            binds += [[str(o), type(v).__name__, v.prettyPrint()] for o, v in b]
        print(json.dumps(binds), flush=True)
        continue
    what = {"get": h.getCmd, "set": h.setCmd, "next": h.nextCmd}[ask["do"]]
    objects = [h.ObjectType(h.ObjectIdentity(o[0]), *([value(*o[1:])] if o[1:] else [])) for o in ask["objects"]]
    print(json.dumps(answer(*next(what(engine, auth, target(), h.ContextData(), *objects, lookupMib=False)))), flush=True)
"""


class Manager:
    """A manager made of another library, in another language than the master's. One process, many requests."""

    def __init__(self, chassis):
        self._process = subprocess.Popen(
            chassis.sandbox.command("/usr/bin/python3", "-c", MANAGER),
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )

    def _ask(self, **what):
        self._process.stdin.write(json.dumps(what) + "\n")
        self._process.stdin.flush()
        line = self._process.stdout.readline()
        assert line, "the manager ended"
        return json.loads(line)

    def get(self, *oids):
        return self._ask(do="get", objects=[[oid] for oid in oids])

    def set(self, *objects):
        return self._ask(do="set", objects=[list(o) for o in objects])

    def walk(self, oid):
        return self._ask(do="walk", oid=oid)

    def close(self):
        self._process.stdin.close()
        self._process.wait(10)


class Table:
    """A table of the daemon's for a manager.

    onu = Table(manager, "2", status=17, columns={4: "Integer32", 5: "OctetString"})
    onu.create((1, 1, 1, 7), {4: 1, 5: "ABCD00000001"})      -> "noError"
    """

    def __init__(self, manager, arcs, status, columns):
        self.manager = manager
        self.entry = f"{ENTERPRISE}.1.1.1.1.1.{arcs}.1"
        self.status = status
        self.columns = dict(columns)

    def _objects(self, index, values):
        row = ".".join(map(str, index))
        return [(f"{self.entry}.{column}.{row}", self.columns[column], value) for column, value in values.items()]

    def _status(self, index, value):
        return (f"{self.entry}.{self.status}.{'.'.join(map(str, index))}", "Integer32", value)

    def _request(self, objects):
        reply = self.manager.set(*objects)
        assert reply["error"] == "", reply
        return reply["status"]

    def objects(self, index, values, status=None):
        """A row's part of a request: columns, and a row status behind them."""
        return self._objects(index, values) + ([] if status is None else [self._status(index, status)])

    def request(self, *parts):
        """One request of such parts, of this table or of others."""
        return self._request(sum(parts, []))

    def create(self, index, values=None):
        return self._request(self._objects(index, values or {}) + [self._status(index, CREATE_AND_GO)])

    def wait(self, index, values=None):
        """Makes a row that waits for its activation."""
        return self._request(self._objects(index, values or {}) + [self._status(index, CREATE_AND_WAIT)])

    def activate(self, index):
        return self._request([self._status(index, ACTIVE)])

    def set(self, index, values):
        return self._request(self._objects(index, values))

    def destroy(self, index):
        return self._request([self._status(index, DESTROY)])

    def get(self, index, column):
        """The value as text; None without such a row."""
        (_, kind, value) = self.manager.get(f"{self.entry}.{column}.{'.'.join(map(str, index))}")["binds"][0]
        return None if kind.startswith("NoSuch") else value

    def column(self, column):
        """{index: value as text} of one column."""
        head = f"{self.entry}.{column}."
        binds = self.manager.walk(head[:-1])
        assert not any(bind[0] == "!" for bind in binds), binds  # a walk that failed tells nothing
        return {tuple(map(int, oid[len(head) :].split("."))): value for oid, _, value in binds if oid.startswith(head)}
