"""The table files of a town, as a daemon writes them that was fed its lines (see town.py).

The daemon runs in a sandbox of its own, with the control card and the ports of line cards that aren't there: nothing is sent.
What only cards tell (states, optics, alarms, counters) is therefore not in the files.
"""

import hashlib
import pathlib
import re
import shutil
import sys
import tempfile

REPO = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import BUILD, Chassis, wait_for  # noqa: E402

DIR = "/var/run/product/mibdata"
DESCRIPTIONS = REPO / "ov_gpon/ov_snmp_gpon/tables"
CHUNK = 64  # lines that are on their way to the daemon at once


def without_cards(town):
    """The scenario of a chassis whose line cards are known and away."""
    away = "|".join(map(str, town.slots))
    lines = town.chassis_scenario(with_onus=False).splitlines()
    return "".join(f"{line}\n" for line in lines if not re.search(rf"card ({away}) add$|slot-active slot_id=({away}) ", line))


def start(chassis, scenario, town, ports=True):
    """The daemon, with all ports; returns when it takes lines."""
    chassis.start(scenario)
    chassis.run("mkdir", "-p", DIR)
    chassis.start_daemon(env={"OV_IPC_CARRIER": "unix", "OV_LOG_FILE": "/tmp/product/gpon.log"}, timeout=120)
    chassis.wait_record(120, kind="note", text="in-service")
    last = list(town.ports())[-1].name
    chassis.wait_for(lambda: _has_port(chassis, last), 60, "the ports")


def _has_port(chassis, name):
    return "not exist" not in chassis.vty(f"write terminal interface {name}")


def type_lines(chassis, lines, timeout=60):
    """Types lines, some ahead of their answers; fails at the first that is refused. Returns how many."""
    with chassis.open_vty(timeout=timeout) as session:
        count = 0
        chunk = []
        for line in lines:
            chunk.append(line)
            if len(chunk) == CHUNK:
                count += _answered(session, chunk)
                chunk = []
        return count + _answered(session, chunk)


def _answered(session, lines):
    if not lines:
        return 0
    session._socket.sendall(b"".join(line.encode() + b"\0" for line in lines))
    data, found = b"", 0
    while found < len(lines):
        end = data.find(b"\0\0\0")
        if end < 0 or len(data) < end + 4:
            more = session._socket.recv(1 << 16)
            assert more, f"the daemon hung up behind {lines[found]!r}"
            data += more
            continue
        if data[end + 3] != 0:
            raise AssertionError(f"{lines[found]!r}: {data[:end].decode(errors='replace')!r} ({session('show refusal')})")
        data = data[end + 4 :]
        found += 1
    return found


def save(chassis):
    """Has the daemon write all its table files; gives their names."""
    inits = (REPO / "ov_gpon/ov_snmp_gpon/table_init_list.def").read_text()
    names = re.findall(r"^OV_TABLE_INIT\(init_(\w+)\)", inits, re.M)
    flags = [chassis.path(f"/tmp/product/saveflag.{name}") for name in names]
    for flag in flags:
        flag.write_text("1\n")  # the daemon takes it back when the table is written
    for number, name in enumerate(names):
        chassis.event("snmp-mib-table-save", sequence=number, tablename=name)
    wait_for(lambda: not any(flag.read_text().startswith("1") for flag in flags), 120, "the tables to be saved")
    return names


def regroup(town):
    """Ends the protection groups and makes them again: a working port is copied as it is when its group is made."""
    lines = [line.strip() for line in town.commands() if line.startswith(" protectgroup ")]
    return ["configure terminal", "gpon", *(line for group in lines for line in ("no " + " ".join(group.split()[:2]), group)), "end"]


def cached(town):
    """A directory with the town's table files, made when this town was not made before. It lies beside the build."""
    sources = [path.read_bytes() for path in sorted((REPO / "bench").glob("town*.py")) + sorted(DESCRIPTIONS.glob("*.def"))]
    made_of = hashlib.sha256(b"".join(sources)).hexdigest()[:12]
    directory = BUILD / "town" / f"{town.seed}-{len(town.slots)}x{town.ports_of_card}x{town.onus_of_port}-{made_of}"
    if not (directory / "done").exists():
        shutil.rmtree(directory, ignore_errors=True)
        lines, rows = write(town, directory)
        (directory / "done").write_text(f"{lines} lines, {rows} rows\n")
    return directory


def copy(chassis, target):
    """Copies the table files that a daemon has saved; gives how many rows they have."""
    rows = 0
    for file in chassis.path(DIR).glob("*.mib"):
        shutil.copyfile(file, target / file.name)
        rows += file.read_bytes().count(b"\n")
    return rows


def rows_without_a_town():
    """The rows that a daemon has by itself: (table, line of its file)."""
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(pathlib.Path(work))
        try:
            chassis.start("mono-ready 1\n")
            chassis.run("mkdir", "-p", DIR)
            chassis.start_daemon(env={"OV_IPC_CARRIER": "unix", "OV_LOG_FILE": "/tmp/product/gpon.log"})
            chassis.wait_record(60, kind="request", type="cfg-app-sync-prio", cfg_prio=480)
            return {(name, line) for name in save(chassis) for line in chassis.path(f"{DIR}/{name}.mib").open(newline="")}
        finally:
            chassis.close()


def write(town, directory):
    """Writes the town's table files into a directory; gives how many lines were typed and how many rows there are."""
    target = pathlib.Path(directory)
    target.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(pathlib.Path(work))
        try:
            start(chassis, without_cards(town), town)
            lines = type_lines(chassis, town.commands())
            type_lines(chassis, regroup(town), timeout=600)
            save(chassis)
            return lines, copy(chassis, target)
        finally:
            chassis.close()
