"""Table files for a daemon that is to find rows at its start (docs/table-files.md)."""

import re

from chassis import REPO

TABLES = REPO / "ov_gpon" / "ov_snmp_gpon" / "tables"
LINE = re.compile(
    r'^(?:COLUMN\(\d+, (?P<name>\w+), (?P<type>\w+)(?:<(?P<size>\d+)>)?, \w+, .*, (?P<default>"[^"]*"|-?\d+)\)'
    r"|ROW_STATUS\(\d+, (?P<status>\w+)\))",
    re.M,
)


def _default(line):
    if line["status"]:
        return "1"
    if line["type"] == "BIN":
        return "00" * int(line["size"])
    return line["default"].strip('"')


def columns_of(table):
    """The columns of a table with their defaults as a file has them; the row status is active."""
    text = (TABLES / f"{table}.def").read_text()
    return {line["name"] or line["status"]: _default(line) for line in LINE.finditer(text)}


def table_file(table, indexes, **values):
    """The text of a table's file: a row for each index (a tuple), with these values and else defaults."""
    columns = columns_of(table)
    unknown = set(values) - set(columns)
    assert not unknown, f"{table} has no {unknown}"
    fields = [str(values.get(name, default)) for name, default in columns.items()]
    return "".join("".join(f"{field}\x1f" for field in (*index, *fields)) + "\n" for index in indexes)


def write_table(chassis, table, indexes, **values):
    """Puts the file where a daemon looks for it; before it is started."""
    chassis.write(f"/var/run/product/mibdata/{table}.mib", table_file(table, indexes, **values))
