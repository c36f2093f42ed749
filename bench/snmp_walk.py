#!/usr/bin/env python3
"""Managers' walks, GETs and SETs of the T-CONT table through a stock master agent, beside a minimal subagent with the
SNMP library's own sorted table of the same shape and rows, in the same run.

    bench/snmp_walk.py [REPETITIONS]        (default 5; GPON_BUILD_DIR chooses the build)

Prints variables a second (the best of the repetitions) at 1,024 and 28,672 rows.
"""

import os
import pathlib
import sys
import tempfile

REPO = pathlib.Path(__file__).resolve().parents[1]
os.environ.setdefault("GPON_BUILD_DIR", str(REPO / "build" / "release"))
sys.path.insert(0, str(REPO / "tests" / "system"))

from chassis import BUILD, QUIET_SCENARIO, Chassis  # noqa: E402

US = "\x1f"
TCONT = ".1.3.6.1.4.1.47281.1.1.1.1.1.6.1"
BENCH = ".1.3.6.1.4.1.99999.1.1"
ROW = "1.1.1.1.1"
# Name, work, its number, column.
LOADS = [
    ("walk, 1 column", "walk", 1, "2"),
    ("walk, 5 columns", "walk", 5, "2"),
    ("GET", "get", 3000, f"4.{ROW}"),
    ("SET", "set", 3000, f"4.{ROW}"),
]


def rows(count):
    for i in range(count):
        fields = (1, 1 + i // 2048, 1 + i // 128 % 16, 1 + i % 128, 1, 1024 + i, "tc", 7, "default", 1)
        yield "".join(str(field) + US for field in fields) + "\n"


def load(chassis, work, oid, number):
    done = chassis.run(str(BUILD / "bench" / "snmp_load"), work, oid, str(number), timeout=300)
    if done.returncode:
        raise SystemExit(done.stderr)
    variables, seconds = done.stdout.split()
    return int(variables) / float(seconds)


def measure(count, repetitions):
    with tempfile.TemporaryDirectory() as work:
        chassis = Chassis(work)
        try:
            chassis.start(QUIET_SCENARIO)
            chassis.write("/var/run/product/mibdata/sTcontTable.mib", "".join(rows(count)))
            chassis.start_snmpd()
            chassis.start_daemon()
            chassis.spawn("tdata", str(BUILD / "bench" / "tdata_subagent"), str(count), env={"MIBS": ""})
            for oid in f"{TCONT}.2.{ROW}", f"{BENCH}.2.{ROW}":
                chassis.wait_for(lambda oid=oid: "INTEGER" in chassis.snmp("snmpget", oid).stdout, what=oid, timeout=30)
            results = {}
            for _ in range(repetitions):
                for name, kind, number, column in LOADS:
                    for who, base in ("daemon", TCONT), ("tdata", BENCH):
                        speed = load(chassis, kind, f"{base}.{column}", number)
                        results[name, who] = max(speed, results.get((name, who), 0))
            return results
        finally:
            chassis.close()


def main():
    repetitions = int(sys.argv[1]) if len(sys.argv) > 1 else 5
    counts = 1024, 28672
    results = [measure(count, repetitions) for count in counts]
    print(f"{'variables a second':20}" + "".join(f"{count:>10} rows  (tdata, ratio)   " for count in counts) + "flatness")
    for name, *_ in LOADS:
        text = f"{name:20}"
        for result in results:
            ours, theirs = result[name, "daemon"], result[name, "tdata"]
            text += f"{ours:10.0f}  ({theirs:8.0f}, {ours / theirs:4.2f})         "
        print(text + f"{results[1][name, 'daemon'] / results[0][name, 'daemon']:.2f}")


if __name__ == "__main__":
    main()
