#!/usr/bin/python3
"""What the daemon keeps in memory in a virtual machine: with an empty chassis, and with one full card.

    memory.py [amd64|powerpc]...    both processors by default

The full card is one of the bench's town (bench/town.py): 16 ports of 128 ONUs with all that belongs to them. Its table files are
made on this machine, once for each build, by this machine's own daemon; the machine's daemon loads them. The card itself
is away: what is measured is its configuration, not what waits for it.
"""

import argparse
import os
import re
import sys

sys.dont_write_bytecode = True

from run import BUILDS, HOST_BUILD, Machine  # noqa: E402
from vm import REPO, VmError  # noqa: E402

os.environ["GPON_BUILD_DIR"] = str(HOST_BUILD)
sys.path[:0] = [str(REPO / "bench"), str(REPO / "tests/system")]

import town_tables  # noqa: E402
from town import Town  # noqa: E402

TIME = 1800  # seconds for one daemon's start; nothing here is measured by a clock
EMPTY = "mono-ready 1\n"

#: $1: the scenario; $2: table files or nothing. The daemon serves when its socket is there, and has loaded all by then.
SCRIPT = """
set -e
mkdir -p /var/run/product/mibdata /tmp/product
[ -z "$2" ] || cp "$2"/*.mib /var/run/product/mibdata/
chassis-sim --scenario "$1" >/tmp/sim.out 2>&1 &
until grep -q "chassis-sim: ready" /tmp/sim.out; do sleep 1; done
gpon >/tmp/gpon.out 2>&1 &
daemon=$!
until [ -S /var/run/gpon.vty ]; do sleep 1; kill -0 $daemon; done
gponsh -c "show chassis health" -c "show chassis memory"
cat /proc/$daemon/status
"""


def measure(machine, scenario, tables=""):
    """Figures by name: kB of /proc/PID/status, and "rows", what the daemon says of its rows."""
    file = machine.work / "memory.scn"
    file.write_text(scenario)
    sandbox = [machine.build / "bin/gpon-sandbox", *(word for path in machine.keep for word in ("--bind", path)), "--"]
    done = machine.vm.run(*sandbox, "/bin/sh", "-c", SCRIPT, "sh", file, tables, env=machine.env(OV_IPC_CARRIER="unix"), timeout=TIME)
    output = done.stdout + done.stderr
    (machine.work / "memory.log").write_text(output)
    found = {name: int(value) for name, value in re.findall(r"^(Vm\w+|Rss\w+):\s+(\d+) kB", output, re.MULTILINE)}
    rows = re.search(r"^rows (.+), process", output, re.MULTILINE)
    if done.returncode != 0 or "VmRSS" not in found or not rows:
        raise VmError(f"the daemon's memory can't be told:\n{output[-3000:]}")
    return {**found, "rows": rows[1]}


def say(what, found):
    print(
        f"  {what}: {found['VmRSS'] / 1024:.1f} MiB resident ({found['RssAnon'] / 1024:.1f} its own,"
        f" {found['RssFile'] / 1024:.1f} of files), {found['rows']} in rows",
        flush=True,
    )


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("processors", nargs="*", choices=[*BUILDS, []], help="both by default")
    processors = parser.parse_args().processors or list(BUILDS)
    town = Town(cards=1)
    tables = town_tables.cached(town)
    for processor in processors:
        work = REPO / "build/vm" / processor
        work.mkdir(parents=True, exist_ok=True)
        machine = Machine(processor, work)
        with machine.vm:
            print(processor, flush=True)
            say("empty chassis", measure(machine, EMPTY))
            say(f"one card, {town.ports_of_card * town.onus_of_port} ONUs", measure(machine, town_tables.without_cards(town), tables))


if __name__ == "__main__":
    main()
