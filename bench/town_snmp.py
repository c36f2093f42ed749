"""A town as a manager writes it: the SETs that make the rows which its lines make (see town.py).

They are taken from the town's table files and the tables' descriptions, so a SET has just the columns that aren't at their
defaults. Rows that come with others (an ONU's ports, its telephones) are changed, the others created; what no table keeps, QinQ
rules and controllable multicast, no manager can write.
"""

import re

import town_tables

TABLES = "1.3.6.1.4.1.47281"
CREATE_AND_GO = 4
TEMPLATE_SLOT = 31

#: Columns that take a SET of their own: an ONU is active when it is made, and a port's model takes its profiles away.
ALONE = {"sOnuTable": "10", "ponPortQosTable": "1"}

#: In the order in which they are written, first of the whole system and of service profiles, then of ports and ONUs.
CREATED = """sOnuTypeProfileTable sBWProfileTable sRmTrafficProfileTable sOnuRssiProfileTable qosSchedulerProfileTable qosTrafficProfileTable
cosQueueMappingProfileTable cosToCosProfileTable sOnuSrvProfileTable portProtectTable sOnuTable sTcontTable sGemTable servicePortTable sRmServiceTable
sRmIPHostTable sRmVoipSipAgentConfigTable sRmWanTable sRmWifiTable rmServiceMacFilterStaticTable""".split()
CHANGED = """uplinkPmActTable portQosTable ponPortQosTable sPonTable onuQosTable sRmUniStatusTable sRmUniVlanTable sRmMulticastTable
sRmTr069MgmtTable sRmOnuQosPriorityQueueScheduleTable sRmOnuOptThresholdTable sRmVoipConfigDataTable sRmVoipSipUserDataTable
sRmUniPoeTable sRmOnuPoeTable rmServiceMacFilterModeTable rmServiceMacFilterDynamicTable""".split()
ORDER = [*CREATED[:10], *CHANGED[:4], *CREATED[10:15], *CHANGED[4:15], *CREATED[15:19], *CHANGED[15:], CREATED[19]]

TYPES = {"INT": "i", "UINT": "u", "TEXT": "s", "BIN": "x", "IPADDR": "a", "COUNTER64": "C"}
COLUMN = re.compile(
    r'^COLUMN\((?P<number>\d+), (?P<name>\w+), (?P<type>\w+)(?:<(?P<size>\d+)>)?, (?P<access>\w+), .*, (?P<default>"[^"]*"|-?\w+)\)'
    r"|^ROW_STATUS\((?P<status>\d+), \w+\)", re.M,
)  # fmt: skip


class Description:
    """What a table's description says: its entry's object, its index and its columns."""

    def __init__(self, table):
        text = (town_tables.DESCRIPTIONS / f"{table}.def").read_text()
        self.table = table
        self.entry = f"{TABLES}." + re.search(r"TABLE_OID\(([\d, ]+)\)", text)[1].replace(", ", ".") + ".1"
        self.index = re.findall(r"\((\w+), \w+", re.search(r"^INDEX\((.*?)\)\n", text, re.M | re.S)[1] + ")")
        self.columns = [match.groupdict() for match in COLUMN.finditer(text)]
        self.status = next(column["status"] for column in self.columns if column["status"])

    def written(self, fields):
        """(number, type, value) of the columns that differ from their defaults and that managers may write."""
        for column, value in zip(self.columns, fields):
            if column["status"] or column["access"] not in ("READ_CREATE", "READ_WRITE"):
                continue
            default = column["default"].strip('"')
            if column["type"] == "BIN":
                default = "00" * int(column["size"])
            elif column["type"] != "TEXT":
                default = str(int(default, 0))
            if value != default and not _is_derived(column["name"]):
                yield column["number"], TYPES[column["type"]], _typed(column["type"], value)


def _is_derived(name):
    """Columns that the daemon fills in from a name."""
    return name in ("sTcontTableBwProfileId", "sOnuTableOnuTypeProfileId", "sOnuTableOmccBwProfileId")


def _typed(kind, value):
    if kind == "IPADDR":
        number = int(value) & 0xFFFFFFFF
        return ".".join(str(number >> shift & 255) for shift in (24, 16, 8, 0))
    return value


def sets(town, tables=None):
    """(OID, type, value) triples of one SET each. tables: a directory with the town's table files."""
    directory = tables or town_tables.cached(town)
    protecting = {(port.slot, port.number) for port in town.ports() if port.role == "protect"}
    known = town_tables.rows_without_a_town()
    for of_templates in (True, False):
        for table in ORDER:
            yield from _of_table(Description(table), directory, known, protecting, of_templates)


def _of_table(told, directory, known, protecting, of_templates):
    width = len(told.index)
    for line in (directory / f"{told.table}.mib").open(newline=""):
        if (told.table, line) in known:
            continue
        fields = line.rstrip("\n").split("\x1f")[:-1]
        index, values = fields[:width], fields[width:]
        of_port = told.index[1:2] == ["slotID"]
        is_template = (not of_port and told.table != "portProtectTable") or (of_port and int(index[1]) == TEMPLATE_SLOT)
        if is_template != of_templates or (of_port and (int(index[1]), int(index[2])) in protecting):
            continue
        row = ".".join(index)
        triples = [(f"{told.entry}.{number}.{row}", kind, value) for number, kind, value in told.written(values)]
        alone = told.entry + "." + ALONE.get(told.table, "-") + "."
        behind = [one for one in triples if one[0].startswith(alone)]
        triples = [one for one in triples if one not in behind]
        if told.table in CREATED:
            triples.append((f"{told.entry}.{told.status}.{row}", "i", CREATE_AND_GO))
        both = (behind, triples) if told.table == "ponPortQosTable" else (triples, behind)
        yield from (one for one in both if one)


def line(triples):
    """A SET as the arguments of snmpset."""
    return " ".join(f"{oid} {kind} {_quoted(value)}" for oid, kind, value in triples)


def _quoted(value):
    return "'" + str(value).replace("'", "'\\''") + "'"
