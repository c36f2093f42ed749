#!/usr/bin/env python3
"""Makes the list of the tables' secret columns for gpon-support: make_secret_columns.py SOURCE-TREE OUTPUT

One line for each table that has some, with the places of the fields in a line of its file, from 0: the columns that the
table's description marks (SECRET), and the logical ONU ids, which let an ONU in as a password does.
"""

import pathlib
import re
import sys


def secret_fields(text):
    index = text.split("\nINDEX(", 1)[1].split("\n", 1)[0]
    fields = re.findall(r"\((\w+), \w+", "(" + index)
    secret = []
    for name, mark in re.findall(r"^(?:COLUMN|ROW_STATUS)\(\d+, (\w+)|^ +(SECRET)\(\)", text, re.M):
        if mark or name.endswith("Loid"):
            secret.append(len(fields) - (1 if mark else 0))
        if name:
            fields.append(name)
    return sorted(set(secret))


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    tree, output = map(pathlib.Path, sys.argv[1:])
    lines = []
    for path in sorted((tree / "ov_gpon/ov_snmp_gpon/tables").glob("*.def")):
        places = secret_fields(path.read_text())
        if places:
            lines.append(f'{{"{path.stem}", {{{", ".join(map(str, places))}}}}},\n')
    output.write_text("".join(lines))


if __name__ == "__main__":
    main()
