"""What is compared when a day is over: tables, files, counters, cards, groups, a restart, the log, the loop."""

import ipaddress
import json
import pathlib
import re

from resources import reserved
from soaking import tables
from soaking.network import place

HERE = pathlib.Path(__file__).resolve().parent
QOS_PROFILES = ("sched-put", "traffic-put", "cos-to-cos-put", "cosq-map-put")
ERROR = re.compile(r"error/100")
SLOW_MS = 100


def reasons(name):
    """The lines of a list with reasons: [(regular expression, reason)]."""
    found = []
    for line in (HERE / name).read_text().splitlines():
        if line.strip() and not line.startswith("#"):
            pattern, _, reason = line.partition("  # ")
            found.append((re.compile(pattern.strip()), reason))
    return found


def explained(line, known):
    return any(pattern.search(line) for pattern, _ in known)


# ---- tables and their files -----------------------------------------------------------------------------------


def file_value(kind, text):
    """A field of a table's file as a manager sees it: octets in hexadecimal digits, numbers as they are."""
    if kind == "BIN":
        return text.upper()
    if kind == "TEXT":
        return text.encode("latin-1", "replace").hex().upper()
    if kind == "IPADDR":
        return str(ipaddress.ip_address(int(text) & 0xFFFFFFFF))
    return text


def snmp_value(kind, text):
    if kind in ("BIN", "TEXT"):
        return text[2:].upper() if re.fullmatch(r"0x[0-9a-f]+", text) else text.encode("latin-1", "replace").hex().upper()
    return text


class TableCheck:
    """A table as it is walked, and as its file has it after a save. What is secret nobody reads; what a read asks a card for may
    be another value each time (table_reasons.txt)."""

    def __init__(self, name, known):
        self.description, self.known = tables.read(name), known
        text = (tables.TABLES / f"{name}.def").read_text()
        self.order = re.findall(r"^(?:COLUMN|ROW_STATUS)\((\d+), ", text, re.M)
        self.kinds = {str(column.number): column.kind for column in self.description.columns}
        self.names = {str(column.number): column.name for column in self.description.columns}
        self.kinds[str(self.description.status)] = "INT"
        self.secret = set(re.findall(r"^COLUMN\((\d+), [^\n]*\n    SECRET\(\)", text, re.M))

    def walked(self, manager):
        found = {}
        head = self.description.oid + "."
        for oid, kind, value in manager.walk(self.description.oid):
            if oid.startswith(head) and kind != "EndOfMibView":
                column, _, row = oid[len(head) :].partition(".")
                found.setdefault(row, {})[column] = value
        return found

    def saved(self, lines):
        many = len(self.description.index)
        return {".".join(fields[:many]): dict(zip(self.order, fields[many:])) for fields in (line.split("\x1f") for line in lines)}

    def differences(self, walked, saved):
        name = self.description.name
        for row in sorted(walked.keys() ^ saved.keys()):
            yield f"{name} {row}: only {'walked' if row in walked else 'in the file'}"
        for row in walked.keys() & saved.keys():
            for column, value in walked[row].items():
                if column in self.secret or column not in saved[row] or column not in self.kinds:
                    continue
                kind = self.kinds[column]
                if snmp_value(kind, value) != file_value(kind, saved[row][column]):
                    line = f"{name} {row} {self.names.get(column, column)}: walked {value!r}, in the file {saved[row][column]!r}"
                    if not explained(line, self.known):
                        yield line


#: Tables of more variables aren't walked: one of so many takes a manager some seconds.
WALKED = 20_000


def check_tables(network):
    known = reasons("table_reasons.txt")
    network.save_tables()
    files = network.files()
    each = [TableCheck(name, known) for name in tables.names() if name != "sActionTable"]
    each = [check for check in each if len(files.get(check.description.name, [])) * len(check.order) <= WALKED]
    walked = {check.description.name: check.walked(network.manager) for check in each}
    network.save_tables()
    files = network.files()
    for check in each:
        name = check.description.name
        if name in files:
            yield from check.differences(walked[name], check.saved(files[name]))


# ---- what is reserved ---------------------------------------------------------------------------------------------


class Rows:
    """The rows of a table by file: {index: {column: text}}, only those in service."""

    def __init__(self, files, name):
        order = list(re.findall(r"^(?:COLUMN\(\d+|ROW_STATUS\(\d+), (\w+)", (tables.TABLES / f"{name}.def").read_text(), re.M))
        description = tables.read(name)
        many = len(description.index)
        self.all = {}
        for line in files.get(name, []):
            fields = line.split("\x1f")
            self.all[tuple(map(int, fields[:many]))] = dict(zip(order, fields[many:]))
        status = next(column for column in order if column.endswith("RowStatus"))
        self.active = {index: row for index, row in self.all.items() if row[status] != "2"}


def counters_of(files):
    """{(slot, port): (T-CONTs, GEM ports, fixed and assured bandwidth)} and {slot: service ports} that the rows reserve."""
    onus = Rows(files, "sOnuTable").active
    bandwidth = {row["sBWProfileTableBwProfileName"]: int(row["sBWProfileTableFixBw"]) + int(row["sBWProfileTableAssBw"])
                 for row in Rows(files, "sBWProfileTable").active.values()}  # fmt: skip
    bound = {}
    for index, row in onus.items():
        if row["sOnuTableConfigMode"] == "1":
            bound.setdefault(int(row["sOnuTableSrvProfileId"]), []).append(index)
    ports, cards = {}, {}

    def owners(index):
        return [index] if index[1] != 31 else bound.get(index[3], [])

    for which, name in enumerate(("sTcontTable", "sGemTable")):
        for index, row in Rows(files, name).active.items():
            for owner in owners(index):
                sums = ports.setdefault(owner[1:3], [0, 0, 0])
                sums[which] += 1
                if which == 0:
                    sums[2] += bandwidth.get(row["sTcontTableBwProfileName"], 0)
    for index in Rows(files, "servicePortTable").active:
        for owner in owners(index):
            cards[owner[1]] = cards.get(owner[1], 0) + 1
    return {port: tuple(held) for port, held in ports.items()}, cards


def check_counters(network):
    if not network.counts:
        return  # rows of a file are counted nowhere
    shown, wanted = reserved(network.chassis), counters_of(network.files())
    for what, have, rows in zip(("port", "card"), shown, wanted):
        for key in sorted(have.keys() | rows.keys()):
            empty = (0, 0, 0) if what == "port" else 0
            if have.get(key, empty) != rows.get(key, empty):
                yield f"counters of {what} {key}: shown {have.get(key)}, the rows have {rows.get(key)}"


# ---- cards and groups -------------------------------------------------------------------------------------------------


def part_of(row, path):
    """A field by its dotted name; fields of lists have numbers."""
    for name in path.split("."):
        row = row[int(name)] if isinstance(row, list) else row[name]
    return row


def held(network, slot):
    """What a card holds, by message and key: what is the ONU's or the card's own to tell is left out."""
    live = re.compile(r"^(status|linkstatus|linkStatus|onuState)$")
    found = {}
    for name, table in network.chassis.card(slot)["objects"].items():
        if name in QOS_PROFILES:
            continue
        for row in table["rows"]:
            key = tuple(json.dumps(part_of(row, part)) for part in table["key"])
            of_key = {part.split(".")[0] for part in table["key"]}
            found[name, key] = {field: value for field, value in row.items() if field not in of_key and not live.match(field)}
    return found


def is_plain(value):
    """Whether there is nothing but zeros: a card that was never told of such an object is the same."""
    if isinstance(value, dict):
        return all(map(is_plain, value.values()))
    if isinstance(value, list):
        return all(map(is_plain, value))
    return value in (0, "", None)


def refused_since(network, slot, since):
    """{(message, index)} of what a card was told anew and refused, which check_refused() looks at."""
    records = network.chassis.records(since=since, kind="refused", slot=slot)
    return {(record["type"], str(int(record["ifindex"], 0))) for record in records if "ifindex" in record and record["action"] != "get"}


def differences_of_cards(before, after, where, refused=()):
    known = reasons("card_reasons.txt")
    for key in sorted(before.keys() | after.keys()):
        only = before.get(key) if key not in after else after.get(key) if key not in before else None
        if (only is not None and is_plain(only)) or (key[1] and (key[0], key[1][0]) in refused):
            continue
        name = f"{where} {key[0]} {' '.join(key[1])}"
        if key not in after:
            lines = [f"{name}: gone: {before[key]}"]
        elif key not in before:
            lines = [f"{name}: new: {after[key]}"]
        else:
            lines = [f"{name} {field}: {value!r} became {after[key].get(field)!r}"
                     for field, value in before[key].items() if after[key].get(field) != value]  # fmt: skip
        yield from (line for line in lines if not explained(line, known))


def check_cards(network):
    """Each card begins anew and is told everything: it must hold what it held."""
    since = network.chassis.mark()
    before = {slot: held(network, slot) for slot in network.inside()}
    for slot in network.inside():
        network.restart_card(slot)
    network.wait_replays()
    network.quiet()
    for slot in network.inside():
        yield from differences_of_cards(before[slot], held(network, slot), f"card {slot} after a replay:", refused_since(network, slot, since))


def check_refused(network, since):
    """Since a mark from when nobody is at work any more."""
    known = reasons("refused_reasons.txt")
    for slot in network.inside():
        for record in network.chassis.records(since=since, kind="refused", slot=slot):
            line = f"card {slot} refused {record.get('reason')}: {record}"
            if not explained(line, known):
                yield line


def check_groups(network):
    known = reasons("group_reasons.txt")
    for (group,), row in Rows(network.files(), "portProtectTable").active.items():
        ports = [int(row[column]) for column in ("ppWorkPonIfindex", "ppProtectPonIfindex")]
        names = [f"gpon-olt{port >> 21 & 31}/{(port >> 15 & 63) + 1}" for port in ports]
        for line in network.difference_of_ports(*names):
            line = f"group {group}, {names[0]} and {names[1]}: {line}"
            if not explained(line, known):
                yield line


def check_states(network):
    """ONUs that are up, as the simulator has them and as a manager reads it; and those that wait to be configured."""
    up, waiting = set(), set()
    for line in network.chassis.simctl("onu", "list"):
        words = dict(word.split("=", 1) for word in line.split() if "=" in word)
        if words["state"] == "operational":
            up.add((words["serial"].upper(), words["port"]))
        elif words["state"] in ("unconfigured", "waiting"):
            waiting.add((words["serial"].upper(), words["port"]))
    network.save_tables()
    files = network.files()
    rows = Rows(files, "sOnuTable").all
    seen = [(index, row) for index, row in rows.items() if row["sOnuTableOnuState"] == "3"]
    serving = {(index[1], index[2]) for index, _ in seen}
    ports = {port for _, port in up}
    for slot, port in serving ^ {place(port) for port in ports}:
        yield f"port {slot}/{port}: ONUs are up {'by the tables alone' if (slot, port) in serving else 'that no table has'}"
    for port in ports:
        have = sum(index[1:3] == place(port) for index, _ in seen)
        wanted = sum(where == port for _, where in up)
        if have != wanted:
            yield f"{port}: {wanted} ONUs are up, the tables say {have}"
    listed = {(row["sOnuInitTableSn"].upper(), f"gpon-olt{index[1]}/{index[2]}") for index, row in Rows(files, "sOnuInitTable").all.items()}
    from_file = network.starts > 1
    for who, port in sorted(waiting - listed if from_file else waiting ^ listed):  # of a file's rows nobody says that they went
        yield f"unconfigured: {who} at {port} is {'listed and not there' if (who, port) in listed else 'there and not listed'}"


# ---- a restart ---------------------------------------------------------------------------------------------------------


def without_live(text):
    return [line for line in text.splitlines() if not line.startswith("!")]


def check_restart(network):
    """A daemon that starts from the saved files prints the same, holds the same, and tells the cards nothing else."""
    network.save_tables()
    before = without_live(network.chassis.vty("write terminal", timeout=60))
    files = network.files()
    cards = {slot: held(network, slot) for slot in network.inside()}
    network.kill_daemon()
    network.start_daemon()
    network.quiet()
    after = without_live(network.chassis.vty("write terminal", timeout=60))
    known = reasons("restart_reasons.txt")
    for line in difference(before, after):
        line = f"write terminal after a restart: {line}"
        if not explained(line, known):
            yield line
    for slot in network.inside():
        yield from differences_of_cards(cards[slot], held(network, slot), f"card {slot} after the daemon's restart:")
    network.save_tables()
    now = network.files()
    for name in sorted(files.keys() | now.keys()):
        for line in difference(files.get(name, []), now.get(name, [])):
            line = f"file {name} after a restart: {line.translate({0x1F: '|'})}"
            if not explained(line, known):
                yield line


def check_typed(network):
    """The printed configuration makes the same network out of an empty one. It is typed once before: what a manager wrote and
    no command can say, or an ONU refuses now that it is there, is gone then."""
    network.start_empty(network.chassis.vty("write terminal", timeout=60))
    text = network.chassis.vty("write terminal", timeout=60)
    cards = {slot: held(network, slot) for slot in network.inside()}
    network.start_empty(text)
    known = reasons("typed_reasons.txt")
    again = network.chassis.vty("write terminal", timeout=60)
    lines = [f"write terminal, typed in: {line}" for line in difference(without_live(text), without_live(again))]
    for slot in network.inside():
        lines += differences_of_cards(cards[slot], held(network, slot), f"card {slot}, typed in:")
    yield from (line for line in lines if not explained(line, known))


def difference(before, after):
    """The lines that only one of the two has, wherever they stand."""
    were, are = set(before), set(after)
    return [f"- {line}" for line in before if line not in are] + [f"+ {line}" for line in after if line not in were]


# ---- log, loop, growth -----------------------------------------------------------------------------------------------------


class LogCheck:
    """Error lines from when nobody asked for anything, crash reports, and whatever must stand nowhere. A refused request has
    error lines of its own: those of the day's work are passed over."""

    def __init__(self):
        self.read = 0
        self.known = reasons("log_reasons.txt")

    def __call__(self, network, at_work):
        lines = network.chassis.log_lines()
        new, self.read = lines[self.read :], len(lines)
        seen = set()
        for line in new:
            wrong = "isn't on the event loop's thread" in line or ("error/" in line and not at_work)
            if wrong and not explained(line, self.known):
                short = re.sub(r"\d+", "N", line.split(": ", 1)[-1])
                if short not in seen:
                    seen.add(short)
                    yield f"log: {line}"
        crashes = network.chassis.run("find", "/app/crash", "-type", "f").stdout.split()
        for crash in sorted(set(crashes) - set(network.crashed)):
            network.crashed.append(crash)
            yield f"crash report {crash}: {network.chassis.read(crash)[:1500]}"


def check_loop(network):
    known = reasons("loop_reasons.txt")
    for row in map(json.loads, network.chassis.vty("json show loop").splitlines()):
        line = f"{row['handler']} {row.get('doing') or ''}".strip()
        if row["longest_us"] > SLOW_MS * 1000 and not explained(line, known):
            yield f"loop: {line} held it for {row['longest_us'] // 1000} ms at {row.get('when')}, at most {row['longest_cpu_us'] // 1000} ms of the processor's"


class GrowthCheck:
    """Memory, descriptors and threads of one daemon: more than at its first day's end by a bound is a leak."""

    BOUNDS = {"VmRSS": 8192, "fds": 8, "Threads": 2}

    def __init__(self):
        self.first = {}

    @staticmethod
    def now(network):
        (pid,) = network.chassis.daemon_pids()
        status = pathlib.Path(f"/proc/{pid}/status").read_text()
        numbers = {name: int(re.search(rf"^{name}:\s+(\d+)", status, re.M)[1]) for name in ("VmRSS", "Threads")}
        return numbers | {"fds": len(list(pathlib.Path(f"/proc/{pid}/fd").iterdir()))}

    def __call__(self, network):
        now = self.now(network)
        network.journal.note("growth", str(now))
        for name, value in now.items():
            first = self.first.setdefault(name, value)
            if value > first + self.BOUNDS[name]:
                yield f"growth: {name} {first} at first, {value} now"
