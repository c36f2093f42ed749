#!/usr/bin/python3
"""Runs the tests that need a real kernel's TIPC in virtual machines: see docs/vm.md.

    run.py [amd64|powerpc]... [--only TEXT]   both processors by default; only suites whose name has TEXT
"""

import argparse
import fnmatch
import json
import os
import pathlib
import re
import subprocess
import sys
import time

sys.dont_write_bytecode = True

import suites  # noqa: E402
from broker import Broker  # noqa: E402
from skips import read_skips  # noqa: E402
from vm import BUSYBOX_TOOLS, HERE, REPO, Vm, VmError  # noqa: E402

BUILDS = {"amd64": REPO / "build/dev", "powerpc": REPO / "build/target"}
HOST_BUILD = BUILDS["amd64"]
BUSYBOX = pathlib.Path("/bin/busybox")  # of the package busybox-static
#: Programs of a chassis that run inside, and those that serve the tests outside.
INSIDE = ("gpon", "gponsh", "chassis-sim", "ov_env_get", "ov_env_put", "ov_check_file")
OUTSIDE = ("gpon-sandbox", "simctl")
SYSTEM_LIMIT = 7200  # seconds
TOUR_LIMIT = 3600
RESULT = re.compile(r"^\[ *(OK|SKIPPED|FAILED) *\] (\w+\.\w+)", re.MULTILINE)
FIGURE = re.compile(r"^figure: (\d+) messages a second over (\w+)", re.MULTILINE)


def say(text=""):
    print(text, flush=True)


class Results:
    """Of one processor."""

    def __init__(self, processor):
        self.processor = processor
        self.counts = {"passed": 0, "skipped": 0, "failed": 0}
        self.wrong = []
        self.figures = {}
        self._skips = read_skips(processor)

    def left(self, suite):
        return [skip.test for skip in self._skips if skip.how == "left" and skip.suite == suite]

    def count(self, suite, passed, skipped, failed):
        """Lists of tests."""
        listed = {skip.test for skip in self._skips if skip.how == "skips" and skip.suite == suite}
        self.counts["passed"] += len(passed)
        self.counts["skipped"] += len(skipped)
        self.counts["failed"] += len(failed)
        for test in failed:
            self.fail(f"{suite}: {test} failed")
        for test in sorted(set(skipped) - listed):
            self.fail(f"{suite}: {test} skipped itself and doesn't stand in skipped.txt")
        for test in sorted(listed & set(passed)):
            self.fail(f"{suite}: {test} stands in skipped.txt and runs")

    def fail(self, what):
        self.wrong.append(what)

    def summary(self):
        counts = ", ".join(f"{count} {what}" for what, count in self.counts.items())
        return f"{self.processor}: {counts}"


# ---- unit programs -----------------------------------------------------------------------------------------------------


class Machine:
    """A virtual machine with the programs of its processor."""

    def __init__(self, processor, work):
        self.processor = processor
        self.build = BUILDS[processor]
        self.work = work
        kernel = subprocess.check_output([REPO / "third_party/linux/build.sh", processor, "--prefix"], text=True).strip()
        own_busybox = pathlib.Path(kernel) / "busybox"
        caches = [os.environ.get(name) for name in ("GPON_CACHE_DIR", "XDG_CACHE_HOME")]
        self.keep = [str(REPO), *(path for path in caches if path)]
        self.path = f"{BUSYBOX_TOOLS}:/usr/bin:/bin" if processor == "powerpc" else "/usr/bin:/bin"
        subprocess.run([REPO / "third_party/linux/build.sh", processor], check=True)
        foreign = processor == "powerpc"
        self.vm = Vm(processor, work, self.keep, own_busybox if foreign else BUSYBOX, tools=foreign)

    def env(self, **more):
        return {"PATH": f"{self.build}/bin:{self.path}", "HOME": "/tmp", "USER": "root", **more}

    def unit(self, suite, left):
        """Runs one program: its results as {"OK": [...], "SKIPPED": ..., "FAILED": ...}, and its output."""
        program = self.build / "tests/unit" / suite.name
        without = ":".join(left)
        words = [program, "--gtest_color=no", f"--gtest_filter={suite.only}" + (f"-{without}" if without else "")]
        with open(self.work / f"{suite.name}.log", "w", buffering=1) as log:
            done = self.vm.run(*words, env=self.env(**suite.env), timeout=suite.limit, on_output=log.write)
        output = done.stdout + done.stderr
        found = {"OK": [], "SKIPPED": [], "FAILED": []}
        for word, test in RESULT.findall(output):
            if test not in found[word]:
                found[word].append(test)
        if done.returncode != 0 and not found["FAILED"]:
            found["FAILED"].append(f"(the program: {'no end in time' if done.returncode is None else done.returncode})")
        return found, output


def run_unit(machine, suite, results):
    began = time.monotonic()
    found, output = machine.unit(suite, results.left(suite.name))
    results.count(suite.name, found["OK"], found["SKIPPED"], found["FAILED"])
    results.figures.update({carrier: int(rate) for rate, carrier in FIGURE.findall(output)})
    say(
        f"  {suite.name}: {len(found['OK'])} passed, {len(found['SKIPPED'])} skipped, {len(found['FAILED'])} failed,"
        f" {time.monotonic() - began:.0f} s"
    )
    if found["FAILED"]:
        say(failures(output))


def failures(output):
    """What a unit program printed of its failed tests."""
    parts = re.split(r"(?m)^(?=\[ RUN  )", output)
    return "\n".join(part for part in parts if re.search(r"(?m)^\[  FAILED  \]", part))[-6000:]


# ---- the whole chassis ---------------------------------------------------------------------------------------------------


def write_program(path, text):
    path.write_text(text)
    path.chmod(0o755)


def make_place(machine):
    """A directory that tests take for a build: its daemon, shell and chassis run inside."""
    place = machine.work / "place"
    (place / "bin").mkdir(parents=True, exist_ok=True)
    told = {"bin": str(machine.build / "bin"), "tool": str(machine.vm.tool), "keep": machine.keep,
            "path": machine.path, "carrier": "tipc"}  # fmt: skip
    (place / "place.json").write_text(json.dumps(told))
    for name in INSIDE:
        write_program(place / "bin" / name, f'#!/bin/sh\nexec {HERE}/proxy.py {place} {name} "$@"\n')
    for name in OUTSIDE:
        (place / "bin" / name).unlink(missing_ok=True)
        (place / "bin" / name).symlink_to(HOST_BUILD / "bin" / name)
    return place


def run_system(machine, place, results):
    tests = [f"tests/system/{test}" for test in suites.SYSTEM]
    report = machine.work / "system.xml"
    report.unlink(missing_ok=True)
    env = {**os.environ, "GPON_BUILD_DIR": str(place), "PYTHONDONTWRITEBYTECODE": "1", "PYTHONPATH": f"{HERE}:{REPO}/tests/system",
           "GPON_TEST_SNMP_TIMEOUT": "30"}  # fmt: skip
    command = ["/usr/bin/python3", "-m", "pytest", "-q", "-p", "no:cacheprovider", "-p", "patience", "-n", "3", f"--junitxml={report}", *tests]
    began = time.monotonic()
    try:
        done = subprocess.run(command, cwd=REPO, env=env, capture_output=True, text=True, timeout=SYSTEM_LIMIT)
        output = done.stdout + done.stderr
    except subprocess.TimeoutExpired as late:
        output = (late.stdout or b"").decode(errors="replace")
    (machine.work / "system.log").write_text(output)
    passed, skipped, failed = junit_results(report)
    if not passed and not failed:
        failed = ["(pytest itself)"]
    results.count("system", passed, skipped, failed)
    say(f"  system tests: {len(passed)} passed, {len(skipped)} skipped, {len(failed)} failed, {time.monotonic() - began:.0f} s")
    if failed:
        say(output[-8000:])


def junit_results(report):
    import xml.etree.ElementTree as tree

    passed, skipped, failed = [], [], []
    if report.exists():
        for case in tree.parse(report).iter("testcase"):
            kinds = {child.tag for child in case}
            where = failed if kinds & {"failure", "error"} else skipped if "skipped" in kinds else passed
            where.append(case.get("name"))
    return passed, skipped, failed


def run_tour(machine, place, results):
    """The tour of ./run --demo: the host types it, and has the SNMP master and the managers."""
    began = time.monotonic()
    command = [place / "bin/gpon-sandbox", "--bind", REPO, "--", REPO / "tools/demo.sh", "--demo"]
    env = {**os.environ, "PATH": f"{place}/bin:{os.environ['PATH']}"}
    try:
        done = subprocess.run(
            command, env=env, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=TOUR_LIMIT
        )
        good, output = done.returncode == 0, done.stdout
    except subprocess.TimeoutExpired as late:
        good, output = False, (late.stdout or b"").decode(errors="replace")
    (machine.work / "tour.log").write_text(output)
    results.count("tour", ["tour"] if good else [], [], [] if good else ["tour"])
    say(f"  tour: {'holds' if good else 'failed'}, {time.monotonic() - began:.0f} s")
    if not good:
        say(output[-4000:])


# ---- all of it -----------------------------------------------------------------------------------------------------------


def compare_carriers(machine, results):
    run_unit(machine, suites.FIGURE, results)
    rates = results.figures
    if len(rates) < 2:
        results.fail("the rates of a full restore are missing")
        return
    ratio = rates["tipc"] / rates["unix"]
    say(f"  a full restore: {rates['tipc']} messages/s over TIPC, {rates['unix']} over Unix datagrams, ratio {ratio:.2f}")
    if ratio < suites.FIGURE_AT_LEAST:
        results.fail(f"a restore over TIPC has {ratio:.2f} of the other carrier's rate, less than {suites.FIGURE_AT_LEAST}")


def run_all(machine, results, only):
    for suite in suites.UNITS:
        if only in suite.name and machine.processor in suite.processors:
            run_unit(machine, suite, results)
    if only in "figure" and "tipc" in results.figures or only == "figure":
        compare_carriers(machine, results)
    place = make_place(machine)
    broker = Broker(machine.vm, place)
    try:
        if only in "system":
            run_system(machine, place, results)
        if only in "tour":
            run_tour(machine, place, results)
    finally:
        broker.close()


def run_processor(processor, only):
    results = Results(processor)
    work = REPO / "build/vm" / processor
    work.mkdir(parents=True, exist_ok=True)
    began = time.monotonic()
    try:
        machine = Machine(processor, work)
        with machine.vm as vm:
            say(f"{processor}: up after {vm.boot_seconds:.0f} s")
            run_all(machine, results, only)
            if results.wrong:
                say(f"---- the machine's console\n{vm.console()}")
    except (VmError, OSError, subprocess.CalledProcessError) as error:
        results.fail(str(error))
    say(f"{results.summary()}, {time.monotonic() - began:.0f} s")
    for what in results.wrong:
        say(f"  WRONG  {what}")
    return not results.wrong


def main():
    parser = argparse.ArgumentParser(description="Tests in virtual machines.")
    parser.add_argument("processors", nargs="*", choices=[*BUILDS, []], help="both by default")
    parser.add_argument("--only", default="", metavar="TEXT", help="suites whose name has this text")
    options = parser.parse_args()
    good = [run_processor(processor, options.only) for processor in options.processors or BUILDS]
    return 0 if all(good) else 1


if __name__ == "__main__":
    sys.exit(main())
