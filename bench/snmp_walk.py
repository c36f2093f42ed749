#!/usr/bin/env python3
"""Managers' walks, GETs, SETs and creates through a stock master agent, in turns: the daemon, a minimal subagent with
the SNMP library's own sorted table of the same shape and rows, and one that does nothing but answer.

    bench/snmp_walk.py [--turns N] [--cores one|two] [--loads NAME,...]      (GPON_BUILD_DIR chooses the build)

The tables of T-CONTs and services have 1,024 and 32,768 rows, that of service ports 114,688. --cores one: manager, master and agents share
a core; two: the master has one of its own.

Prints variables a second by the clock, and by the processor time that manager, master and agent take together: on one
core one of them works at any time, so that is what the clock would show on a machine without other users. Then the
agent's own processor time for a variable in microseconds. All are the best of the turns.
"""

import argparse
import os
import pathlib
import sys
import tempfile

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import BUILD, QUIET_SCENARIO, Chassis  # noqa: E402

US = "\x1f"
TABLES = ".1.3.6.1.4.1.47281.1.1.1.1.1"
TCONT, SERVICE, SERVICE_PORT = f"{TABLES}.6.1", f"{TABLES}.8.1", f"{TABLES}.25.1"
TDATA = ".1.3.6.1.4.1.99999.1.1"
NOOP = ".1.3.6.1.4.1.99999.2.1"
ROW = "1.1.1.1.1"
MANY = 10**9

SMALL, LARGE, FULL = 1024, 32768, 114688
#: GET, SET and create are of services, which the application's chain handles without a card.
#: Name: words of the load, and by table the object of each agent. Fewer objects: the agent isn't measured.
LOADS = {
    "walk": (("walk", "1/1", MANY), dict(daemon=f"{TCONT}.2", tdata=f"{TDATA}.2", noop=f"{NOOP}.2"), (SMALL, LARGE)),
    "walk5": (("walk", "5/5", MANY), dict(daemon=f"{TCONT}.2", tdata=f"{TDATA}.2"), (SMALL, LARGE)),
    # All columns of the service ports, and six of them twice.
    "walk24": (("walk", "24/18", 300000), dict(daemon=f"{SERVICE_PORT}.2", tdata=f"{TDATA}.2", noop=f"{NOOP}.2"), (FULL,)),
    "get": (
        ("get", 6000),
        dict(daemon=f"{SERVICE}.5.{ROW}", tdata=f"{TDATA}.4.{ROW}", noop=f"{NOOP}.4.{ROW}"),
        (SMALL, LARGE),
    ),
    "set": (
        ("set", 6000),
        dict(daemon=f"{SERVICE}.5.{ROW}", tdata=f"{TDATA}.4.{ROW}", noop=f"{NOOP}.4.{ROW}"),
        (SMALL, LARGE),
    ),
    "create": (("create", 3000), dict(daemon=f"{SERVICE}.13.1.14.1.1", noop=f"{NOOP}.13.1.14.1.1"), (SMALL, LARGE)),
}


def numbers(count):
    """Shelf, slot, port, ONU and object of each row; the subagents have the same."""
    return [(1, 1 + i // 8192, 1 + i // 512 % 16, 1 + i // 4 % 128, 1 + i % 4) for i in range(count)]


def tconts(count):
    return [(*index, 1024, "tc", 7, "default", 1) for index in numbers(count)]


def services(count):
    return [(*index, 0, "service", 1, 100, 0, 200, 0, 0, 0, 0, 0, 1) for index in numbers(count)]


def service_ports(count):
    return [(*index, 1, 100, 0, 200, 0, 2, 0, 0, 1, 1, 0, 0, 1, 0, 0, 1, 1, 0) for index in numbers(count)]


def lines(rows):
    return "".join("".join(f"{field}{US}" for field in row) + "\n" for row in rows)


class Agents:
    """A master agent with the three subagents, in a chassis of its own."""

    def __init__(self, work, count, cores):
        self.manager_core, self.master_core = (1, 1) if cores == "one" else (1, 0)
        self.chassis = chassis = Chassis(work)
        chassis.start(QUIET_SCENARIO)
        tables = {"sTcontTable": tconts, "sServiceTable": services}
        if count == FULL:
            tables = {"servicePortTable": service_ports}
        for table, rows in tables.items():
            chassis.write(f"/var/run/product/mibdata/{table}.mib", lines(rows(count)))
        chassis.start_snmpd()
        chassis.start_daemon(timeout=60)
        for name in "tdata", "noop":
            chassis.spawn(name, str(BUILD / "bench" / f"{name}_subagent"), str(count), env={"MIBS": ""})
        probe = f"{SERVICE_PORT if count == FULL else SERVICE}.5.{ROW}"
        for oid in probe, f"{TDATA}.2.{ROW}", f"{NOOP}.2.{ROW}":
            chassis.wait_for(lambda oid=oid: "INTEGER" in chassis.snmp("snmpget", oid).stdout, what=oid, timeout=60)
        for pid, (_, name) in chassis.sandbox.processes().items():
            for thread in os.listdir(f"/proc/{pid}/task"):
                os.sched_setaffinity(int(thread), {self.master_core if name == "snmpd" else self.manager_core})

    def processor_time(self, who):
        """Of a process, with all its threads, in seconds."""
        name = {"daemon": "gpon", "tdata": "tdata_subagent", "noop": "noop_subagent", "master": "snmpd"}[who]
        ((pid, _),) = self.chassis.sandbox.processes(name).items()
        threads = pathlib.Path(f"/proc/{pid}/task").iterdir()
        return sum(int((thread / "schedstat").read_text().split()[0]) for thread in threads) / 1e9

    def run_load(self, words, oid):
        kind, *rest = map(str, words)
        command = [str(BUILD / "bench" / "snmp_load"), kind, oid, *rest]
        done = self.chassis.run("taskset", "-c", str(self.manager_core), *command, timeout=300)
        if done.returncode:
            raise SystemExit(f"{kind} {oid}: {done.stderr}")
        return map(float, done.stdout.split())

    def load(self, words, who, oid):
        """Seconds for a variable: by the clock, processor time of all, processor time of the agent."""
        before = self.processor_time(who), self.processor_time("master")
        variables, seconds, manager = self.run_load(words, oid)
        agent, master = self.processor_time(who) - before[0], self.processor_time("master") - before[1]
        if words[0] == "create":
            self.run_load(("destroy", *words[1:]), oid)
        return [time / variables for time in (seconds, manager + master + agent, agent)]


def measure(turns, cores, names):
    """What Agents.load gives, the best of each, by load, rows and agent."""
    results = {}
    counts = sorted({count for name in names for count in LOADS[name][2]})
    with tempfile.TemporaryDirectory() as work:
        agents = {}
        try:
            for count in counts:
                place = pathlib.Path(work, str(count))
                place.mkdir()
                agents[count] = Agents(place, count, cores)
            for _ in range(turns):
                for name in names:
                    words, objects, sizes = LOADS[name]
                    for count in sizes:
                        for who, oid in objects.items():
                            times = agents[count].load(words, who, oid)
                            best = results.get((name, count, who), times)
                            results[name, count, who] = list(map(min, times, best))
        finally:
            for each in agents.values():
                each.chassis.close()
    return results


AGENTS = "daemon", "tdata", "noop"


def line_of(results, name, count, kind):
    """Variables a second of the three, and the daemon's divided by each of the others'."""
    ours, *others = (results.get((name, count, who)) for who in AGENTS)
    speeds = "".join(f"{1 / times[kind]:9.0f}" if times else f"{'':9}" for times in (ours, *others))
    return speeds + "".join(f"{times[kind] / ours[kind]:8.2f}" if times else f"{'':8}" for times in others)


def report(results, names):
    head = "".join(f"{who:>9}" for who in AGENTS) + f"{'/tdata':>8}{'/noop':>8}"
    print(f"{'load':8}{'rows':>7} |{head} |{head} | us of the agent")
    for name in names:
        for count in LOADS[name][2]:
            own = (f"{who} {results[name, count, who][2] * 1e6:.1f}" for who in AGENTS if (name, count, who) in results)
            clock, cpu = (line_of(results, name, count, kind) for kind in (0, 1))
            print(f"{name:8}{count:7} |{clock} |{cpu} | {', '.join(own)}")
    for kind, title in enumerate(("clock", "processor time")):
        for name in names:
            if LOADS[name][2] == (SMALL, LARGE):
                flat = results[name, SMALL, "daemon"][kind] / results[name, LARGE, "daemon"][kind]
                print(f"{title}: {name} at {LARGE} rows against {SMALL}: {flat:.2f}")
        if {"get", "set"} <= set(names):
            for who in AGENTS:
                costs = [results["set", count, who][kind] / results["get", count, who][kind] for count in (SMALL, LARGE)]
                print(f"{title}: a SET in GETs, {who}: " + ", ".join(f"{cost:.2f}" for cost in costs))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--turns", type=int, default=5)
    parser.add_argument("--cores", choices=("one", "two"), default="one")
    parser.add_argument("--loads", default=",".join(LOADS), help="of " + ", ".join(LOADS))
    options = parser.parse_args()
    names = options.loads.split(",")
    report(measure(options.turns, options.cores, names), names)


if __name__ == "__main__":
    main()
