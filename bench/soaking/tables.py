"""The tables as their descriptions have them: columns, kinds, access, and values that a manager may try."""

import re
from dataclasses import dataclass, field

from snmp_manager import ENTERPRISE
from table_files import TABLES

ROW_STATUS = "ROW_STATUS"
_OID = re.compile(r"^TABLE_OID\(([\d, ]+)\)", re.M)
_INDEX = re.compile(r"^INDEX\((.*?)\)\)?$\n", re.M | re.S)
_COLUMN = re.compile(r"^COLUMN\((\d+), (\w+), (\w+)(?:<(\d+)>)?, (\w+), (.*), (\"[^\"]*\"|-?\d+)\)", re.M)
_NAME = re.compile(r"^    NAME\(\w+, \w+, (-?\d+)\)", re.M)
_STATUS = re.compile(r"^ROW_STATUS\((\d+), (\w+)\)", re.M)
_SYNTAX = {"INT": "Integer32", "UINT": "Gauge32", "TEXT": "OctetString", "BIN": "OctetString", "IPADDR": "IpAddress"}


#: Columns that no manager tries: what an ONU has reserved stays when it is no longer bound, and its card may go by the serial
#: number of before until it is told anew; a weight that no ONU has is kept by the row alone.
NOT_TRIED = ("sOnuTableConfigMode", "sOnuTableSrvProfileId", "sOnuTableSn", "onuQosWeight")


@dataclass
class Column:
    number: int
    name: str
    kind: str
    size: int
    access: str
    allowed: str
    names: list = field(default_factory=list)

    @property
    def syntax(self):
        return _SYNTAX.get(self.kind)

    def value(self, random):
        """A value to try, mostly one that is allowed."""
        if self.name == "sOnuTableRssiProfileId":
            return 0  # a card that is away takes any number, and has no ONU then when it is told again
        if self.kind in ("TEXT", "BIN"):
            texts = ("", "default", "home", "homes", "KLM-618", "x" * random.randrange(1, max(2, self.size + 2)))
            return random.choice(texts)
        if self.kind == "IPADDR":
            return f"10.{random.randrange(256)}.0.{random.randrange(1, 255)}"
        if self.names and random.random() < 0.9:
            return random.choice(self.names)
        if found := re.match(r"RANGE\((-?\d+), (-?\d+)\)", self.allowed):
            low, high = map(int, found.groups())
            return random.choice((low, high, random.randint(low, high), random.randint(low, min(high, low + 8))))
        return random.choice((0, 0, 1, 1, 2, 3, 5, 7, 100, 4096))


@dataclass
class Description:
    name: str
    oid: str  # of the entry
    index: list  # the names of the index columns
    columns: list  # those in front of and behind the row status, without it
    status: int

    def writable(self):
        return [column for column in self.columns if column.access == "READ_CREATE" and column.syntax and column.name not in NOT_TRIED]


def _split(arguments):
    return [part.strip(" ()").split(",")[0].strip() for part in re.split(r"\)\s*,\s*\(", arguments)]


def read(name):
    text = (TABLES / f"{name}.def").read_text()
    arcs = ".".join(_OID.search(text)[1].replace(" ", "").split(","))
    columns, last = [], None
    for line in text.splitlines():
        if found := _COLUMN.match(line):
            number, column, kind, size, access, allowed, _ = found.groups()
            last = Column(int(number), column, kind, int(size or 0), access, allowed)
            columns.append(last)
        elif (found := _NAME.match(line)) and last:
            last.names.append(int(found[1]))
    index = _split(re.search(r"^INDEX\((.*?)\)\)", text, re.M | re.S)[1] + ")")
    return Description(name, f"{ENTERPRISE}.{arcs}.1", index, columns, int(_STATUS.search(text)[1]))


def names():
    return sorted(path.stem for path in TABLES.glob("*.def"))
