#!/usr/bin/env python3
"""Makes the Wireshark dissector of the line cards' messages: make_dissector.py SOURCE-TREE OUTPUT

What stands in the messages comes from the descriptions that the daemon is built from (ov_gpon/ov_hal_gpon and the two
headers below); how it is shown stands in dissector.lua. Both together are the one file that Wireshark loads.
"""

import pathlib
import re
import sys

#: Bytes of one element, by the name of the type (ov_gpon/ov_hal_gpon/hal_wire_type.h).
SIZES = {"U8": 1, "U16": 2, "U32": 4, "U64": 8, "I32": 4, "IFINDEX": 4, "IPV4": 4, "MAC": 6, "SERIAL": 9}
#: Types whose argument is their size.
OCTETS = {"TEXT", "SECRET", "BYTES"}
#: Lists: the type of one element.
LISTS = {"U32S": "U32", "I32S": "I32", "ENUMS": "ENUM", "RECORDS": "RECORD"}
NUMBERS = {"U8", "U16", "U32", "I32", "ENUM"}

#: Fields whose values have their names in a table's description: (file, column).
NAMES_ELSEWHERE = {
    "AlarmTableAlarmCode": ("ov_gpon/ov_snmp_gpon/tables/sActiveAlarmTable.def", "sActiveAlarmTableAlarmCode"),
}


class Descriptions:
    """What the source tree says of the wire."""

    def __init__(self, tree):
        self.tree = pathlib.Path(tree)
        hal = self.tree / "ov_gpon/ov_hal_gpon"
        self.enumerations = enumerations((hal / "ov_hal_gpon_enums.h").read_text())
        self.records = {}
        for path in sorted((hal / "records").glob("*.def")):
            if path.name not in ("all.def", "attributes.def", "messages.def"):
                self.records.update(self.records_of(path.read_text()))
        self.attributes = attributes((hal / "records/attributes.def").read_text())
        self.attributes["ov_gpon_qinq_attr_t"] = qinq_switches((hal / "ov_hal_gpon_attr_index.h").read_text())
        self.messages = self.read_messages(hal)
        self.results = self.read_results()

    def records_of(self, text):
        found = {}
        pattern = r"((?:^//[^\n]*\n)*)^HAL_RECORD\((\w+), (\d+)\)\n(.*?)^HAL_END"
        for comment, name, size, body in re.findall(pattern, text, re.M | re.S):
            lines = re.findall(r"^HAL_FIELD\((\d+), (\w+), (.+?)\)(?:  // (.*))?$", body, re.M)
            assert len(lines) == body.count("HAL_FIELD("), f"{name}: a field that isn't understood"
            fields = [self.field(int(offset), field, type_, said) for offset, field, type_, said in lines]
            found[name] = {"size": int(size), "about": plain(comment), "fields": fields}
        return found

    def field(self, offset, name, type_, said):
        kind, argument = re.fullmatch(r"(\w+)(?:<(.+)>)?", type_).groups()
        count = 1
        if kind in LISTS:
            kind = LISTS[kind]
            *argument, count = [word.strip() for word in argument.split(",")]
            argument = argument[0] if argument else None
        made = {"offset": offset, "name": name, "kind": kind, "count": int(count), "about": said}
        if kind in OCTETS:
            made["size"] = int(argument)
        elif kind == "RECORD":
            made["record"] = argument
        else:
            made["size"] = SIZES.get(kind, 4)
        if kind == "ENUM":
            made["values"] = self.enumerations[argument]
        elif kind in NUMBERS:
            made["values"] = self.names_elsewhere(name)
            made["remarks"] = values_in(said)
        return made

    def names_elsewhere(self, field):
        if field not in NAMES_ELSEWHERE:
            return {}
        path, column = NAMES_ELSEWHERE[field]
        part = (self.tree / path).read_text().split(f"NAMES_OF({column})", 1)[1].split("\n\n", 1)[0]
        return {int(value): name for name, value in re.findall(r"NAME\(\w+, (\w+), (-?\d+)\)", part)}

    def read_messages(self, hal):
        """By their numbers. What has neither a record here nor a name of the catalogue has its name alone."""
        found = {}
        numbers = {}
        for name, number, size in re.findall(
            r"^OV_HAL_GPON_MSG\((\w+), (\d+), (\d+),", (hal / "ov_hal_gpon_msg_catalogue.def").read_text(), re.M
        ):
            numbers[name] = int(number)
            found[int(number)] = {"name": name, "size": int(size), "action": True}
        text = (hal / "records/messages.def").read_text()
        for name, record, count in re.findall(r"^HAL_MESSAGE\((\w+), (\w+), (\d+)\)", text, re.M):
            found[numbers[name]] |= {"record": record, "count": int(count)}
        for name, said in re.findall(r"^HAL_MESSAGE_BYTES\((\w+)\)  // (.*)$", text, re.M):
            found[numbers[name]] |= {"about": said}
        found[numbers["OV_HAL_MSG_GPON_DRV_CMD"]]["action"] = False
        qos = dict(re.findall(r"^    (OV_HAL_MSG_\w+) = (\d+),", (hal / "ov_hal_qos_msg.h").read_text(), re.M))
        qos = {int(number): name for name, number in qos.items()}
        for number, record in re.findall(r"^HAL_PLAIN_MESSAGE\((\d+), (\w+)\)", text, re.M):
            found[int(number)] = {"name": qos[int(number)], "record": record, "count": 1, "action": False}
        plain_names = (self.tree / "sim/card_messages.def").read_text()
        for number, name in re.findall(r'^CARD_PLAIN\((\d+), "([^"]+)"', plain_names, re.M):
            found.setdefault(int(number), {"name": name, "action": False})
        return found

    def read_results(self):
        """{code of a reply: what it means}"""
        types = (self.tree / "lib/lib_system/ov_platform_lib/ov_types.h").read_text()
        codes = {name: int(code) for name, code in re.findall(r"^    (\w+) = (\d+),", types, re.M)}
        said = dict(re.findall(r'case (\w+):\s+return "([^"]+)"', (self.tree / "hal/hal_sock_tipc.cpp").read_text()))
        said |= {"OV_GPON_RET_OK": "done", "OV_GPON_RET_NOT_SUPPORT": "it can't do that, which counts as done"}
        found = {codes[name]: f"{name}: {text}" for name, text in said.items()}
        for name, code in codes.items():
            if name.startswith(("OV_GPON_RET_", "OV_ONU_", "KAVO_")):
                found.setdefault(code, name)
        return found


def plain(comment):
    """A comment as text; without its line about the messages."""
    words = " ".join(line.lstrip("/ ") for line in comment.splitlines())
    return re.sub(r"\s*Messages? OV_HAL\w+ \(.*$", "", words).strip()


def enumerations(text):
    """{type: {value: name}}; of two names with one value the second, which says more than "none"."""
    found = {}
    for name, body in re.findall(r"^enum (\w+) : int32_t \{(.*?)^\};", text, re.M | re.S):
        values = re.findall(r"^    (\w+) = (-?\d+),", body, re.M)
        found[name] = {int(value): label for label, value in values[:-1]}  # the last stands behind the values
    return found


def values_in(said):
    """{value: what it means} of a field's comment such as "0 static, 1 DHCP; read", which needn't name all values."""
    if said.startswith("bit "):
        return {}
    segments = [re.fullmatch(r"(?:\.\.\. )?(\d+)(:?) (?!to |or |and |per )(.+)", part) for part in re.split(r", ", said.split(";")[0])]
    found = {int(match[1]): match[3] for match in segments if match}
    return found if len(found) > 1 or any(match and match[2] for match in segments) else {}


def attributes(text):
    """{record: {bit: name}}"""
    found = {}
    for record, body in re.findall(r"^HAL_ATTRIBUTES\((\w+)\)(.*?)^HAL_ATTRIBUTES_END", text, re.M | re.S):
        lines = re.findall(r"^HAL_ATTRIBUTE\((\d+), (\w+), \w+\)", body, re.M)
        found[record] = {int(bit): re.sub(r"^\w+?_(?:ATTR|INDEX)_(?:INDEX_)?", "", name) for bit, name in lines}
    return found


def qinq_switches(text):
    names = re.findall(r"^    OV_GPON_QINQ_ATTR_INDEX_(\w+) = (\d+),", text, re.M)
    return {int(bit): name for name, bit in names if name != "MAX"}


def short_records(names):
    """{"ov_gpon_tcont_attr_t": "tcont"}: what filters call them. Of two that would have one name the second keeps more."""
    found = {}
    for name in sorted(names, key=lambda name: name.endswith("_attr_t")):
        bare = re.sub(r"^(ov_hal_msg_|hal_msg_|ov_gpon_|ov_)", "", name)
        short = re.sub(r"_(attr_)?t$", "", bare)
        found[name] = short if short not in found.values() else bare
    assert len(set(found.values())) == len(names)
    return found


def short_message(name):
    return re.sub(r"^OV_HAL_MSG_(GPON_)?", "", name)


def lua(value):
    """A Python value as Lua writes it."""
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, int):
        return str(value)
    if isinstance(value, str):
        return '"' + value.replace("\\", "\\\\").replace('"', '\\"') + '"'
    if isinstance(value, list):
        return "{" + ", ".join(lua(one) for one in value) + "}"
    return "{" + ", ".join(f"{lua_key(key)} = {lua(one)}" for key, one in value.items() if one not in (None, {}, "")) + "}"


def lua_key(key):
    return key if isinstance(key, str) and key.isidentifier() else f"[{lua(key)}]"


def lua_table(name, entries):
    return f"local {name} = {{\n" + "".join(f"  {lua_key(key)} = {lua(value)},\n" for key, value in entries.items()) + "}\n"


def data(said):
    shorts = short_records(said.records)
    records = {name: {"short": shorts[name], **record} for name, record in said.records.items()}
    messages = {number: {"short": short_message(message["name"]), **message} for number, message in sorted(said.messages.items())}
    return "".join(
        lua_table(name, entries)
        for name, entries in (("RECORDS", records), ("ATTRIBUTES", said.attributes), ("MESSAGES", messages), ("RESULTS", said.results))
    )


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    tree, output = map(pathlib.Path, sys.argv[1:])
    engine = (pathlib.Path(__file__).parent / "dissector.lua").read_text()
    head = "-- Made by tools/wireshark/make_dissector.py from the descriptions of the records; don't change it here.\n"
    output.parent.mkdir(parents=True, exist_ok=True)
    output.write_text(head + data(Descriptions(tree)) + engine)


if __name__ == "__main__":
    main()
