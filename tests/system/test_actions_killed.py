"""The daemon is killed at every step of an action that handles files, and started again: what stood before is there,
or what was to come, each whole, and the same action does its work then."""

import hashlib
import os

import pytest

from chassis import BIN, wait_for
from test_actions import CONFIG, ENV, MIBS, SERVED, STOCK, SUCCESS, TOOLS, VERSIONS, World

DOWNLOAD = "/home/nms/download"
BOOT = "/app/appload"
PACK = "/app/config/config.tar.gz"

# In front of the programs that steps are made of. At the step that the test asks for it does the half of the work, as
# far as there is one to see (a move within a directory has none), and stays; a program ends with the daemon that started it.
GATE = """#!/bin/sh
name=${0##*/}
PATH=${PATH#*:}
case "$name $1" in
    "ov_env_put fresh_"* | "ov_env_put boot_"*) ;;
    ov_env_put*) exec ov_env_put "$@" ;;
esac
if [ -e /tmp/gate/at ]; then
    echo "$name $*" >>/tmp/gate/steps
    if [ $(wc -l </tmp/gate/steps) -eq $(cat /tmp/gate/at) ]; then
        case $name in
            mv | cp) [ -f "$1" ] && [ "${1%/*}" != "${2%/*}" ] && head -c $(($(wc -c <"$1") / 2)) "$1" >"$2" ;;
            tar) head -c 40 /dev/zero >"$2" ;;
        esac
        : >/tmp/gate/here
        exec sleep 1000
    fi
fi
exec $name "$@"
"""
PROGRAMS = ("tftp", "mv", "cp", "tar", "rm", "sync", "ov_check_file", "ov_env_put")


class Gated(World):
    """The world of actions with a gate in front of each program."""

    def __init__(self, place):
        self.env = {**ENV, "PATH": f"/tmp/gates:{BIN}:{os.environ['PATH']}"}
        super().__init__(place, env=self.env)
        for directory in ("/tmp/gates", "/tmp/gate", f"{BOOT}/0"):
            assert self.chassis.run("mkdir", "-p", directory).returncode == 0
        for name in PROGRAMS:
            self.write(f"/tmp/gates/{name}", GATE)
            assert self.chassis.run("chmod", "755", f"/tmp/gates/{name}").returncode == 0
        self.write(f"{BOOT}/0/running", "the load that runs" * 1000)

    def put(self, path, text):
        self.write(path, text)
        return hashlib.md5(text.encode()).hexdigest()

    def ask_for_stop(self, step):
        self.chassis.run("rm", "-f", "/tmp/gate/here", "/tmp/gate/steps")
        self.write("/tmp/gate/at", f"{step}\n")

    def stands(self):
        return self.chassis.exists("/tmp/gate/here")

    def stopped_or_ended(self, index):
        """"stopped" when the action stands at the step, or its outcome when it has no such step."""
        return "stopped" if self.stands() else self.ended(index)

    def restart(self):
        self.chassis.kill_daemon()
        self.chassis.run("rm", "-f", "/tmp/gate/at")
        self.chassis.start_daemon(env=self.env)
        wait_for(lambda: self.begin_or_none(5) == SUCCESS, 20, "the next daemon to act")

    def kill_at_each_step(self, number, parameters, prepare, check):
        """The steps, in their order. `prepare` puts what the action needs; `check` looks behind each death."""
        for step in range(1, 20):
            prepare(self)
            before = self.tables()
            self.ask_for_stop(step)
            index = self.begin(number, *parameters)
            if wait_for(lambda: self.stopped_or_ended(index), 20, f"step {step}") != "stopped":
                break
            self.restart()
            assert self.tables() == before, f"tables behind step {step}"
            assert self.read(f"{BOOT}/0/running") == "the load that runs" * 1000
            check(self)
        self.chassis.run("rm", "-f", "/tmp/gate/at")
        prepare(self)
        assert self.act(number, *parameters) == SUCCESS
        return [line.split()[0] for line in self.read("/tmp/gate/steps").splitlines()]

    def tables(self):
        """The table files, but that of the actions themselves, and what an upload has set aside."""
        return [line for line in self.files(MIBS) if "sActionTable" not in line and not line.endswith(".bak")]

    def whole(self, path, *digests):
        assert self.digest(path) in digests, path


@pytest.fixture(scope="module")
def world(tmp_path_factory):
    made = Gated(tmp_path_factory.mktemp("killed"))
    yield made
    print(made.chassis.report())
    made.close()


def nothing(_world):
    pass


OLD, NEW = "hostname old\n" * 3000, "hostname new\n" * 4000


def digest(text):
    return hashlib.md5(text.encode()).hexdigest()


def test_counters_that_go_out(world):
    assert world.kill_at_each_step(1, ("127.0.0.1", STOCK, "k"), nothing, nothing) == ["tftp"] * 6


def test_diagnostics_that_go_out(world):
    world.write(CONFIG, OLD)
    steps = world.kill_at_each_step(
        25, ("127.0.0.1", STOCK, "kd"), nothing, lambda world: world.whole(CONFIG, digest(OLD))
    )
    assert steps[0] == "sync" and steps[-2:] == ["tar", "tftp"]
    assert not world.chassis.exists("/app/tmplog") and not world.chassis.exists("/tmp/logs.tar.gz")
    assert "./tmplog/gpon.conf" in world.chassis.run("tar", "-tzf", f"{SERVED}/kd.tar.gz").stdout


def test_a_table_that_goes_out(world):
    assert world.act(63, "sPonTable") == SUCCESS  # stored as it is now
    steps = world.kill_at_each_step(48, ("127.0.0.1", STOCK, "ports.mib", "1000"), nothing, nothing)
    assert steps == ["mv", "mv", "mv", "tftp", "rm"]
    assert not world.chassis.exists(f"{MIBS}/sPonTable.mib.bak")
    assert world.read(f"{SERVED}/ports.mib").startswith("1\x1f1\x1f1\x1f")


def test_a_configuration_that_is_packed(world):
    def check(world):
        world.whole(CONFIG, digest(OLD))
        if world.chassis.exists(PACK):  # that of before
            assert world.chassis.run("tar", "-tzf", PACK).stdout == "gpon.conf\n"

    world.write(CONFIG, OLD)
    assert world.act(62) == SUCCESS
    assert world.kill_at_each_step(62, (), nothing, check) == ["tar"]
    check(world)


def test_a_table_that_the_station_asks_for(world):
    assert world.act(63, "sPonTable") == SUCCESS
    world.chassis.fault("no-reply", type="snmp-mib-table-save")
    before, mark = world.tables(), world.chassis.mark()
    world.begin(63, "sPonTable")
    world.chassis.wait_record(kind="request", type="snmp-mib-table-save", since=mark)
    world.restart()
    assert world.tables() == before
    world.chassis.simctl("clear-faults")
    assert world.act(63, "sPonTable") == SUCCESS


def test_a_configuration_that_the_station_brought(world):
    def prepare(world):
        world.write(CONFIG, OLD)
        world.write(f"{DOWNLOAD}/c", NEW)

    def check(world):
        world.whole(CONFIG, digest(OLD), digest(NEW))
        if world.digest(CONFIG) == digest(OLD):  # nothing is lost
            world.whole(f"{DOWNLOAD}/c", digest(NEW))

    assert world.kill_at_each_step(71, ("c",), prepare, check) == ["cp", "mv", "sync"]
    world.whole(CONFIG, digest(NEW))


def test_a_load_that_the_station_brought(world):
    text = "load" * 20000

    def prepare(world):
        world.write(f"{BOOT}/1/previous", "x")
        world.write(f"{DOWNLOAD}/load", text)
        world.write(f"{DOWNLOAD}/load.md5", digest(text) + "\n")
        assert world.chassis.run("ov_env_put", "boot_flag", "0", env=TOOLS).returncode == 0

    def check(world):
        """Each file is in one of the two places, and whole there; the system starts from nothing else."""
        places = (f"{BOOT}/1/load", f"{DOWNLOAD}/load")
        found = [path for path in places if world.chassis.exists(path)]
        assert found
        for path in found:
            world.whole(path, digest(text))
        if world.chassis.run("ov_env_get", "boot_flag", env=TOOLS).stdout == "1\n":
            world.whole(places[0], digest(text))
            assert world.read(f"{BOOT}/1/load.md5") == digest(text) + "\n"

    steps = world.kill_at_each_step(72, ("load",), prepare, check)
    assert steps == ["ov_check_file", "mv", "mv", "ov_env_put", "ov_env_put", "ov_env_put"]
    assert sorted(name for name in os.listdir(world.chassis.path(f"{BOOT}/1"))) == ["load", "load.md5"]


def test_firmware_of_onus_that_the_station_brought(world):
    text = "firmware" * 20000

    def prepare(world):
        world.chassis.run("sh", "-c", f"rm -f {VERSIONS}/*")
        world.write(f"{VERSIONS}/v1", "x")
        world.write(f"{DOWNLOAD}/v2", text)

    def check(world):
        assert world.read(f"{VERSIONS}/v1") == "x"
        found = [path for path in (f"{VERSIONS}/v2", f"{DOWNLOAD}/v2") if world.chassis.exists(path)]
        assert found
        for path in found:
            world.whole(path, digest(text))

    assert world.kill_at_each_step(73, ("v2",), prepare, check) == ["mv"]
    assert sorted(os.listdir(world.chassis.path(VERSIONS))) == ["v1", "v2"]
    world.whole(f"{VERSIONS}/v2", digest(text))
