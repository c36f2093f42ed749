#!/usr/bin/python3
"""Shows that the tree is right on its target: 32-bit big-endian PowerPC, run on this machine by qemu-user.

    run.py [PART...]     PART: units, images, tour; all of them without one

units   the target's unit tests, but for those of skipped.txt
images  every record of the wire and a file of every table, as the target writes them and as this machine does
tour    the tour (tools/demo) with the target's daemon on this machine's simulated chassis, and with this machine's; what
        the line cards were sent is compared

Wants build/target and build/dev built. Exit status 0 if all held.
"""

import concurrent.futures
import contextlib
import dataclasses
import filecmp
import fnmatch
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import stat
import subprocess
import sys
import time

import frames

REPO = pathlib.Path(__file__).resolve().parents[2]
TARGET = REPO / "build" / "target"
NATIVE = REPO / "build" / "dev"
WORK = TARGET / "target-tests"
QEMU = "/usr/bin/qemu-ppc-static"
SKIPPED = REPO / "tests" / "target" / "skipped.txt"
PROGRAM_TIME = 900  # seconds; the longest takes a minute on two quiet cores
SILENCE = 400  # seconds after which a program of tests that says nothing has hung; on an idle machine ten are much
TOUR_TIME = 600
ASKED_AGAIN = 3  # failed tests of a program at most
FAILED_TEST, STARTED_TEST, PASSED_TEST = (
    re.compile(rf"^\[{word}\] ([\w/]+\.[\w/]+)", re.MULTILINE) for word in ("  FAILED  ", " RUN      ", "       OK ")
)


def target_command(program, name=None):
    """The command that runs a program of the target's. name: the process's, instead of the program's own."""
    qemu = WORK / "qemu" / (name or pathlib.Path(program).name)
    qemu.parent.mkdir(parents=True, exist_ok=True)
    if not qemu.is_symlink():
        qemu.symlink_to(QEMU)
    return [str(qemu), "-E", f"LD_PRELOAD={TARGET}/tests/target/libqemu_quirks.so", str(program)]


def fresh_directory(*names):
    path = WORK.joinpath(*names)
    shutil.rmtree(path, ignore_errors=True)
    path.mkdir(parents=True)
    return path


class Score:
    """What passed and what failed; says each at once."""

    def __init__(self):
        self.passed = self.failed = self.skipped = 0

    def check(self, what, problem=""):
        if problem:
            self.failed += 1
            print(f"FAILED {what}\n{problem.rstrip()}", flush=True)
        else:
            self.passed += 1
            print(f"ok     {what}", flush=True)


# ---- unit tests --------------------------------------------------------------------------------------------------------


@dataclasses.dataclass
class Skip:
    program: str
    test: str
    reason: str
    used: bool = False


def read_skips():
    lines = (line.split("#")[0].split(maxsplit=2) for line in SKIPPED.read_text().splitlines())
    return [Skip(*words) for words in lines if words]


def unit_programs():
    """(name, command, environment) of each that ctest would run."""
    listed = subprocess.run(
        ["ctest", "--test-dir", str(TARGET), "-R", "^unit_", "--show-only=json-v1"], capture_output=True, check=True
    )
    for test in json.loads(listed.stdout)["tests"]:
        properties = {p["name"]: p["value"] for p in test.get("properties", [])}
        environment = dict(word.split("=", 1) for word in properties.get("ENVIRONMENT", []))
        yield test["name"], test["command"], environment


def tests_of(command):
    """The names of all tests of a program."""
    listed = subprocess.run([*target_command(command[0]), "--gtest_list_tests"], capture_output=True, text=True, timeout=60)
    names = []
    suite = ""
    for line in listed.stdout.splitlines():
        word = line.split("#")[0].strip()
        if line.startswith("  "):
            names.append(suite + word)
        elif word.endswith("."):
            suite = word
    if not names:
        raise RuntimeError(f"{command[0]} lists no test:\n{listed.stdout}{listed.stderr}")
    return names


@dataclasses.dataclass
class UnitResult:
    passed: int = 0
    failed: int = 0
    left_out: int = 0
    again: tuple = ()  # tests that passed when they were asked again
    problem: str = ""


@dataclasses.dataclass
class Run:
    """A test program that has ended, or that was ended because it said nothing any more."""

    output: str
    returncode: int

    @property
    def hung(self):
        return self.returncode == -signal.SIGKILL

    def in_words(self):
        return f"hung: said nothing for {SILENCE} s" if self.hung else f"exit status {self.returncode}"


def wait_while_it_speaks(process, output):
    """Waits for its end as long as its output grows; then kills it with all that it has started."""
    size, spoke = -1, time.monotonic()
    while process.poll() is None and time.monotonic() < spoke + SILENCE:
        if output.stat().st_size != size:
            size, spoke = output.stat().st_size, time.monotonic()
        time.sleep(0.05)
    with contextlib.suppress(ProcessLookupError):
        os.killpg(process.pid, signal.SIGKILL)
    return process.wait()


def run_program(command, report, chosen, environment):
    output = report.with_suffix(".out")
    with output.open("w") as stdout:
        process = subprocess.Popen(
            [*target_command(command[0]), *command[1:], f"--gtest_output=json:{report}", f"--gtest_filter={chosen}"],
            env={**os.environ, **environment}, cwd=TARGET / "tests" / "unit", stdin=subprocess.DEVNULL,
            stdout=stdout, stderr=subprocess.STDOUT, start_new_session=True,
        )  # fmt: skip
        code = wait_while_it_speaks(process, output)
    return Run(output.read_text(errors="replace"), code)


def tests_to_ask_again(run, names):
    """The failed tests if they are few; of a program that hung, the one it hung in, too, and all behind that."""
    failed = set(FAILED_TEST.findall(run.output))
    if run.hung:
        failed |= set(names[len(STARTED_TEST.findall(run.output)) - 1 :])
        return sorted(failed)
    return sorted(failed) if len(failed) <= ASKED_AGAIN else []


def passed_when_asked_again(name, command, run, names, environment):
    """The tests that failed, if all pass by themselves: a processor that is played while everything else runs beside it is
    slower than what some of them are made for. Each is told. Empty if one fails again."""
    again = tests_to_ask_again(run, names)
    if not again:
        return ()
    alone = {word: value for word, value in environment.items() if not word.startswith("GTEST_")}
    second = run_program(command, WORK / "units" / f"{name}.again.json", ":".join(again), alone)
    if second.returncode != 0:
        return ()
    return tuple(test for test in again if not run.hung or test in STARTED_TEST.findall(run.output))


def take_skips(program, tests, skips):
    """Those of a program's tests that are left out."""
    out = []
    for test in tests:
        mine = [skip for skip in skips if skip.program == program and fnmatch.fnmatchcase(test, skip.test)]
        for skip in mine:
            skip.used = True
        out += [test] if mine else []
    return out


def count_passed(result, *reports):
    """Adds up what the reports tell; a test that skips itself has failed."""
    for report in reports:
        if not report.exists():  # of a run that hung
            continue
        for suite in json.loads(report.read_text())["testsuites"]:
            for test in suite["testsuite"]:
                if test["result"] == "SKIPPED":
                    result.failed += 1
                    result.problem += f"{suite['name']}.{test['name']} skips itself and isn't in {SKIPPED.name}\n"
                elif test["result"] == "COMPLETED" and test["status"] == "RUN":
                    result.passed += not test.get("failures")


def run_unit(name, command, environment, skips):
    result = UnitResult()
    tests = tests_of(command)
    out = take_skips(pathlib.Path(command[0]).name, tests, skips)
    shard, shards = (int(environment.get(f"GTEST_{word}", default)) for word, default in (("SHARD_INDEX", 0), ("TOTAL_SHARDS", 1)))
    names = [test for test in tests if test not in out][shard::shards]
    result.left_out = len(out) if shard == 0 else 0
    report = WORK / "units" / f"{name}.json"
    run = run_program(command, report, "-" + ":".join(out), environment)
    if run.returncode != 0:
        result.again = passed_when_asked_again(name, command, run, names, environment)
    if (run.returncode != 0 and not result.again) or not (run.hung or report.exists()):
        lines = run.output.splitlines()
        result.failed = 1
        result.problem = f"{run.in_words()}\n" + "\n".join(
            [line for line in lines if line.startswith("[  FAILED  ]")] + lines[-40:]
        )
        return result
    count_passed(result, report, report.with_name(f"{name}.again.json"))
    if run.hung:
        result.passed += len(PASSED_TEST.findall(run.output))
        print(f"       {name} {run.in_words()} in {STARTED_TEST.findall(run.output)[-1]}", flush=True)
    return result


def run_unit_timed(name, command, environment, skips):
    began = time.monotonic()
    result = run_unit(name, command, environment, skips)
    return name, result, time.monotonic() - began


def check_units(score):
    fresh_directory("units")
    skips = read_skips()
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as workers:
        jobs = [workers.submit(run_unit_timed, *unit, skips) for unit in unit_programs()]
        for job in concurrent.futures.as_completed(jobs):
            name, result, seconds = job.result()
            score.skipped += result.left_out
            score.check(f"{name}: {result.passed} tests, {result.left_out} left out, {seconds:.0f} s", result.problem)
            for test in result.again:
                print(f"       {test} failed, and passed when it was asked again", flush=True)
    for skip in skips:
        if not skip.used:
            score.check(f"{SKIPPED.name}: {skip.program} {skip.test}", "names no test")


# ---- images ------------------------------------------------------------------------------------------------------------

NATIVE_IMAGES = [str(NATIVE / "bin" / "byte_images")]


def target_images():
    return target_command(TARGET / "bin" / "byte_images")


def output_of(*command):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True, timeout=PROGRAM_TIME).stdout


def check_records(score):
    native = output_of(*NATIVE_IMAGES, "records").splitlines()
    target = output_of(*target_images(), "records").splitlines()
    differences = [f"  here   {a}\n  target {b}" for a, b in zip(native, target) if a != b]
    problem = "\n".join(differences) if len(native) == len(target) else f"{len(native)} records here, {len(target)} there"
    score.check(f"images of {len(native)} records of the wire", problem)


def differing_files(one, other):
    names = sorted({path.name for path in [*one.iterdir(), *other.iterdir()]})
    return [name for name in names if not filecmp.cmp(one / name, other / name, shallow=False)]


def check_table_files(score):
    native = fresh_directory("tables", "native")
    target = fresh_directory("tables", "target")
    output_of(*NATIVE_IMAGES, "tables", native)
    output_of(*target_images(), "tables", target)
    score.check(f"files of {len(list(native.iterdir()))} tables, written by both", "\n".join(differing_files(native, target)))
    for what, source, program in (("this machine's", native, target_images()), ("the target's", target, NATIVE_IMAGES)):
        copy = WORK / "tables" / "copy"
        shutil.rmtree(copy, ignore_errors=True)
        shutil.copytree(source, copy)
        output_of(*program, "resave", copy)
        score.check(f"{what} files, loaded and saved by the other", "\n".join(differing_files(source, copy)))


# ---- the tour ----------------------------------------------------------------------------------------------------------


def write_script(path, *command):
    path.unlink(missing_ok=True)
    path.write_text(f'#!/bin/sh\nexec {shlex.join(map(str, command))} "$@"\n')
    path.chmod(path.stat().st_mode | stat.S_IXUSR | stat.S_IXGRP | stat.S_IXOTH)


def make_bin(name, daemon, *simulator_options):
    """A directory of programs: this machine's own, but for the daemon and the options of the simulated chassis."""
    bin_dir = fresh_directory(name, "bin")
    for program in (NATIVE / "bin").iterdir():
        (bin_dir / program.name).symlink_to(program)
    write_script(bin_dir / "gpon", *daemon)
    write_script(bin_dir / "chassis-sim", NATIVE / "bin" / "chassis-sim", *simulator_options)
    return bin_dir


def play_tour(name, daemon, *simulator_options):
    """Plays the tour; gives what went wrong and the file of what the cards were sent."""
    capture = WORK / f"{name}.capture"
    bin_dir = make_bin(name, daemon, "--capture", capture, *simulator_options)
    binds = [word for path in (REPO, *library_places()) for word in ("--bind", str(path))]
    tour = subprocess.run(
        [str(NATIVE / "bin" / "gpon-sandbox"), *binds, "--", str(REPO / "tools" / "demo.sh"), "--demo"],
        env={**os.environ, "PATH": f"{bin_dir}:{os.environ['PATH']}"}, stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace", timeout=TOUR_TIME,
    )  # fmt: skip
    return (tour.stdout if tour.returncode != 0 else ""), capture


def library_places():
    """Where the programs' libraries are, which the sandbox would hide."""
    recipes = (["third_party/frr/build.sh"], ["third_party/frr/build.sh", "--target"], ["third_party/powerpc/build.sh"])
    return [output_of(REPO / recipe[0], *recipe[1:], "--prefix").strip() for recipe in recipes]


def check_tour(score):
    problem, native = play_tour("native", [NATIVE / "bin" / "gpon"])
    score.check("the tour with this machine's daemon", problem)
    problem, target = play_tour("target", target_command(TARGET / "bin" / "gpon"), "--byte-order", "big")
    score.check("the tour with the target's daemon", problem)
    number, differences = frames.compare(native, target)
    score.check(f"what the line cards were sent: {number} frames", differences)


PARTS = {"units": (check_units,), "images": (check_records, check_table_files), "tour": (check_tour,)}


def main():
    wanted = sys.argv[1:] or list(PARTS)
    if any(part not in PARTS for part in wanted):
        sys.exit(__doc__)
    score = Score()
    for part in wanted:
        for check in PARTS[part]:
            check(score)
    print(f"{score.passed} passed, {score.failed} failed, {score.skipped} skipped")
    sys.exit(1 if score.failed else 0)


if __name__ == "__main__":
    main()
