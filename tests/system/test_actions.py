"""Actions of managers: rows of sActionTable that move files to and from a stock TFTP server and a bad one, with the real
daemon, the platform's client, and what is on the disks before and after."""

import hashlib
import os
import pathlib
import re
import time

import pytest

import guide
from chassis import BIN, REPO, SINGLE_BOARD, Chassis, wait_for
from snmp_manager import Manager, Table

INT, TEXT = "Integer32", "OctetString"
RUNNING, FAIL, SUCCESS = "1", "2", "3"
SERVED = "/tmp/served"
STOCK, BAD = "69", "6900"
CONFIG, BACKUP = "/flash/gpon.conf", "/flash/gpon.conf.bak"
MIBS = "/var/run/product/mibdata"
VERSIONS = "/app/appload/onu"
TOOLS = {**os.environ, "PATH": f"{BIN}:{os.environ.get('PATH', '')}"}
LIMIT = 2  # seconds of a transfer
ENV = {"OV_TRANSFER_TIMEOUT": str(LIMIT), "OV_ENV_ONU_VERSION_DIR": VERSIONS}


class World:
    """A single board with a master agent, a manager, the stock server in SERVED and the bad one."""

    def __init__(self, place, env=ENV, **more):
        self.chassis = Chassis(place)
        self.chassis.start(SINGLE_BOARD)
        self.chassis.start_snmpd()
        self.chassis.start_daemon(env=env, **more)
        self.chassis.wait_agent()
        for directory in (SERVED, "/flash", "/home/nms/download", VERSIONS, "/app/appload/1"):
            assert self.chassis.run("mkdir", "-p", directory).returncode == 0
        assert self.chassis.run("chmod", "777", SERVED).returncode == 0
        self.chassis.spawn(
            "tftpd", "/usr/sbin/in.tftpd", "--listen", "--foreground", "-4", "--address", f":{STOCK}", "--user", "root",
            "--create", "--secure", SERVED,
        )  # fmt: skip
        self.chassis.spawn("bad", "/usr/bin/python3", str(pathlib.Path(__file__).with_name("tftp_server.py")), BAD)
        self.chassis.wait_for(lambda: "ready" in self.chassis.output("bad"), what="the bad server")
        self.chassis.wait_for(lambda: self.listens(int(STOCK)), what="the stock server")
        self.write(CONFIG, "hostname old\n")
        self.manager = Manager(self.chassis)
        self.table = Table(self.manager, "19", 9, {**dict.fromkeys(range(2, 8), TEXT), 8: INT})

    def listens(self, port):
        return f":{port:04X} " in self.chassis.run("cat", "/proc/net/udp").stdout

    def close(self):
        self.manager.close()
        self.chassis.close()

    # ---- files ------------------------------------------------------------------------------------------

    def write(self, path, text):
        self.chassis.write(path, text)
        assert self.chassis.run("chmod", "666", path).returncode == 0

    def read(self, path):
        return self.chassis.read(path, missing="")

    def digest(self, path):
        return hashlib.md5(self.chassis.path(path).read_bytes()).hexdigest()

    def files(self, *directories):
        """Everything below these directories, with its digest."""
        found = self.chassis.run("find", *directories, "-type", "f", "-exec", "md5sum", "{}", "+").stdout
        return sorted(found.splitlines())

    # ---- actions ----------------------------------------------------------------------------------------

    def begin(self, number, *parameters):
        """Creates the row anew and leaves it to itself."""
        index = (1, 1, number)
        if self.table.get(index, 8) is not None:
            assert self.table.destroy(index) == "noError"
        values = {place: text for place, text in enumerate(parameters, 2) if text}
        assert self.table.create(index, values) == "noError"
        return index

    def act(self, number, *parameters, timeout=20.0):
        """The same, and waits for its end, which is answered."""
        index = self.begin(number, *parameters)
        return wait_for(lambda: self.ended(index), timeout, f"action {number} to end")

    def ended(self, index):
        status = self.table.get(index, 8)
        return status if status != RUNNING else None

    def told(self, number, parameter):
        return self.table.get((1, 1, number), parameter + 1)

    def clients(self):
        """The running clients, by the name that their program has."""
        return [*self.chassis.sandbox.processes("busybox"), *self.chassis.sandbox.processes("tftp")]

    def begin_or_none(self, number):
        """The outcome of an action if the daemon serves its table already."""
        try:
            return self.act(number)
        except AssertionError:
            return None

    def is_free(self):
        """Whether an action can be begun."""
        return self.act(5) == SUCCESS


@pytest.fixture(scope="module")
def world(tmp_path_factory):
    made = World(tmp_path_factory.mktemp("actions"))
    yield made
    print(made.chassis.report())
    assert not made.chassis.log_lines("isn't on the event loop's thread")
    made.close()


# ---- a stock server ------------------------------------------------------------------------------------------


def test_configuration_goes_out_and_comes_in(world):
    assert world.act(2, "127.0.0.1", STOCK, "out.conf") == SUCCESS
    assert world.read(f"{SERVED}/out.conf") == "hostname old\n"
    world.write(f"{SERVED}/in.conf", "hostname new\n" * 5000)
    assert world.act(3, "127.0.0.1", STOCK, "in.conf") == SUCCESS
    assert world.read(CONFIG) == "hostname new\n" * 5000
    assert world.read(BACKUP) == "hostname old\n"
    assert world.act(3, "127.0.0.1", STOCK, "none.conf") == FAIL
    assert world.read(CONFIG) == "hostname new\n" * 5000


def test_a_load_is_taken_with_its_digest_or_not_at_all(world):
    world.write("/app/appload/1/previous", "x")
    world.write(f"{SERVED}/load.bin", "load" * 20000)
    assert world.act(4, "127.0.0.1", STOCK, "load.bin") == FAIL
    assert world.chassis.log_lines(r"missing md5 file load\.bin\.md5")
    world.write(f"{SERVED}/load.bin.md5", "0" * 32 + "  load.bin\n")
    assert world.act(4, "127.0.0.1", STOCK, "load.bin") == FAIL
    assert world.read("/app/appload/1/previous") == "x"
    world.write(f"{SERVED}/load.bin.md5", world.digest(f"{SERVED}/load.bin") + "  load.bin\n")
    assert world.act(4, "127.0.0.1", STOCK, "load.bin") == SUCCESS
    assert sorted(os.listdir(world.chassis.path("/app/appload/1"))) == ["load.bin", "load.bin.md5"]
    assert world.digest("/app/appload/1/load.bin") == world.digest(f"{SERVED}/load.bin")
    assert world.chassis.run("ov_env_get", "fresh_load_name", env=TOOLS).stdout == "load.bin\n"


def test_counters_tables_and_diagnostics_go_out(world):
    assert world.act(1, "127.0.0.1", STOCK, "pm") == SUCCESS
    assert all(world.chassis.exists(f"{SERVED}/pm_{end}") for end in ("UNI", "PON", "ONU", "GEM", "NNI", "ULK"))
    stored = world.files(MIBS)
    assert world.act(48, "127.0.0.1", STOCK, "ports.mib", "1000") == SUCCESS
    assert world.read(f"{SERVED}/ports.mib").startswith("1\x1f1\x1f1\x1f")
    assert world.files(MIBS) == stored
    assert world.act(48, "127.0.0.1", STOCK, "no.mib", "1056") == FAIL
    assert world.act(25, "127.0.0.1", STOCK, "diag") == SUCCESS
    listed = world.chassis.run("tar", "-tzf", f"{SERVED}/diag.tar.gz").stdout.splitlines()
    assert {"./tmplog/gpon.conf", "./tmplog/log/gpon.log"} <= set(listed)
    assert not world.chassis.exists("/app/tmplog") and not world.chassis.exists("/tmp/logs.tar.gz")


def test_firmware_of_onus_is_fetched_listed_and_deleted(world):
    for number in range(1, 8):
        world.write(f"{SERVED}/v{number}", f"firmware {number}" * 1000)
        assert world.act(45, "127.0.0.1", STOCK, f"v{number}") == (SUCCESS if number <= 6 else FAIL)
    assert world.act(46) == SUCCESS
    assert [world.told(46, place) for place in range(1, 7)] == ["6", "v1", "v2", "v3", "v4", "v5"]
    assert world.act(47, "v1", "none", "v2", "../../../flash/gpon.conf") == SUCCESS
    assert sorted(os.listdir(world.chassis.path(VERSIONS))) == ["v3", "v4", "v5", "v6"]
    assert world.digest(f"{VERSIONS}/v3") == world.digest(f"{SERVED}/v3")


def test_a_station_finds_what_it_asked_for_and_leaves_what_is_to_be_taken(world):
    assert world.act(62) == SUCCESS
    assert world.told(62, 6) == "/home/nms/upload/config.tar.gz"
    assert world.chassis.run("tar", "-tzf", "/home/nms/upload/config.tar.gz").stdout == "gpon.conf\n"
    mark = world.chassis.mark()
    assert world.act(63, "sPonTable") == SUCCESS
    assert world.chassis.wait_record(kind="request", type="snmp-mib-table-save", since=mark)["tablename"] == "sPonTable"
    assert world.told(63, 6) == f"{MIBS}/sPonTable.mib"
    assert world.act(63) == FAIL
    assert world.told(63, 6) == "Inavlid table name "
    world.write("/home/nms/download/c", "hostname station\n")
    assert world.act(71, "c") == SUCCESS
    assert world.read(CONFIG) == "hostname station\n"
    world.write("/home/nms/download/load", "x")
    world.write("/home/nms/download/load.md5", world.digest("/home/nms/download/load"))
    assert world.act(72, "load") == SUCCESS
    assert world.chassis.run("ov_env_get", "boot_flag", env=TOOLS).stdout == "1\n"
    world.write("/home/nms/download/v9", "firmware")
    assert world.act(73, "v9") == SUCCESS
    assert world.read(f"{VERSIONS}/v9") == "firmware"


def test_the_system_is_told_by_its_flags(world):
    for number, flag, value in ((10, "fast_save_flag", "1"), (20, "restore_flag", "1"), (30, "reboot_flag", "2")):
        assert world.act(number) == SUCCESS
        assert world.chassis.run("ov_env_get", flag, env=TOOLS).stdout == value + "\n"


def test_a_range_of_onus_ends_with_a_byte_for_each(world):
    profiles = Table(world.manager, "39.1", 6, {3: TEXT, 4: TEXT})
    tconts = Table(world.manager, "6", 6, {5: TEXT})
    assert profiles.create((9,), {4: "KLM-618"}) == "noError"
    assert tconts.create((1, 31, 15, 9, 1), {5: "default"}) == "noError"
    assert world.act(49, "1", "9", "1-2,128") == SUCCESS
    assert world.told(49, 5) == "0x" + "07" * 2 + "00" * 62, "they aren't there"
    assert world.told(49, 6) == "0x" + "00" * 63 + "07"
    for words in (("1", "8", "1"), ("1", "9", "0"), ("17", "9", "1"), ("1", "9", "1 2")):
        assert world.act(49, *words) == FAIL
    assert world.chassis.log_lines("Wrong onu srvprofile id!") and world.chassis.log_lines("wrong parameter!")
    assert world.act(50, "1", "", "1") == FAIL


# ---- the manager's guide -------------------------------------------------------------------------------------


def test_the_guides_commands_do_what_it_says(world):
    bare = ("MIBS=", "SNMPCONFPATH=/tmp/snmpd", "SNMP_PERSISTENT_DIR=/tmp/snmpd")
    world.chassis.run("sh", "-c", f"rm -f {VERSIONS}/*")
    world.write(f"{SERVED}/hg-1.bin", "firmware")
    for number in (2, 45, 46, 48):
        world.table.destroy((1, 1, number))
    (_, settings, _), *rest = guide.steps("Actions")
    assert len(rest) == 7
    for _, commands, printed in rest:
        run = lambda: world.chassis.run("env", *bare, "sh", "-c", settings + commands).stdout
        if "snmpset" in commands:
            assert run() == printed, commands
        wait_for(lambda: "snmpset" in commands or run() == printed, what=commands)  # it may still be running
    wait_for(lambda: world.ended((1, 1, 48)), 10)
    assert world.read(f"{SERVED}/east.conf") == world.read(CONFIG)
    assert world.read(f"{SERVED}/ports.mib").startswith("1\x1f1\x1f1\x1f")


def test_the_guides_codes_are_those_of_the_tables(world):
    told = re.findall(r"\b(1\d{3}) `(\w+)`", guide.GUIDE.read_text())
    listed = (REPO / "ov_gpon/ov_app_gpon/action/action_tables.def").read_text()
    names = re.findall(r"^ACTION_TABLE\((\w+)\)", listed, re.M)
    assert told == [(str(code), name) for code, name in enumerate(names, 1000)]


# ---- words from outside --------------------------------------------------------------------------------------

BAD_WORDS = ("a b", 'a"b', "a'b", "a;touch /tmp/x", "`touch /tmp/x`", "$(touch /tmp/x)", "../flash/x", "x/../../flash/y",
             "-x", "a\nb", "gr\xfcn", "a|b", "a>b", "a\\b", "a&b", "*", "~")  # fmt: skip


def test_words_that_may_not_stand_in_a_command_line_start_nothing(world):
    places = (SERVED, "/flash", "/app", "/home/nms", MIBS)
    before = world.files(*places)
    tmp = sorted(os.listdir(world.chassis.path("/tmp")))
    for word in BAD_WORDS:
        for number in (1, 2, 3, 4, 25, 45, 48):
            assert world.act(number, "127.0.0.1", STOCK, word, "1000") == FAIL, (number, word)
        assert world.act(3, word, STOCK, "in.conf") == FAIL
        assert world.act(3, "127.0.0.1", word, "in.conf") == FAIL
        for number in (63, 71, 72, 73):
            assert world.act(number, word) == FAIL, (number, word)
        assert world.act(47, word) == SUCCESS
    assert world.files(*places) == before
    assert sorted(os.listdir(world.chassis.path("/tmp"))) == tmp


# ---- a bad server --------------------------------------------------------------------------------------------


@pytest.mark.parametrize("way", ["silent", "slow", "cut", "endless", "refused"])
def test_a_bad_server_ends_in_a_failure_and_changes_nothing(world, way):
    world.write(CONFIG, "x" * 10_000)
    before = world.files("/flash", "/app", MIBS)
    begun = time.monotonic()
    for number in (3, 4, 45) if way == "endless" else (2, 3, 4, 45):
        assert world.act(number, "127.0.0.1", BAD, f"{way}.x") == FAIL, number
    assert time.monotonic() - begun < 4 * (LIMIT + 5)
    backups = [line for line in world.files("/flash", "/app", MIBS) if BACKUP not in line]
    assert backups == [line for line in before if BACKUP not in line]
    assert not [name for name in os.listdir(world.chassis.path("/tmp")) if name.startswith((way, "gpon.conf"))]
    assert not world.clients()


def test_others_are_served_while_an_action_is_under_way_and_a_second_one_is_ignored(world):
    index = world.begin(3, "127.0.0.1", BAD, "silent.conf")
    assert world.table.get(index, 8) == RUNNING
    second = world.begin(30)
    assert world.table.get(second, 8) == "0"
    assert world.chassis.wait_log("creation busy")
    for _ in range(20):
        begun = time.monotonic()
        assert "gpon" in world.chassis.vty("show version").lower()
        assert time.monotonic() - begun < 1
    assert wait_for(lambda: world.ended(index), 10) == FAIL
    assert world.table.get(second, 8) == "0", "it stays as it was written"
    assert not world.chassis.log_lines("(?i)loop.*held")


def test_a_row_may_be_deleted_while_it_runs(world):
    index = world.begin(3, "127.0.0.1", BAD, "silent.conf")
    world.chassis.wait_for(world.clients, what="the client")
    assert world.table.destroy(index) == "noError"
    world.chassis.wait_for(lambda: not world.clients(), 10, "the client to be given up")
    wait_for(world.is_free, 10, "the next action")
    assert world.table.get(index, 8) is None


# ---- full disks ----------------------------------------------------------------------------------------------


class Full:
    """A file system with so much room left and no more, for a while."""

    def __init__(self, world, place, room):
        self.world, self.place, self.room = world, place, room

    def size(self, size):
        done = self.world.chassis.run("mount", "-o", f"remount,size={size}", self.place)
        assert done.returncode == 0, done.stderr

    def __enter__(self):
        used = int(self.world.chassis.run("df", "-B1", "--output=used", self.place).stdout.split()[-1])
        self.size(used + self.room)

    def __exit__(self, *exc):
        self.size("256m")


def test_full_disks_leave_what_is_there_whole(world):
    world.write(f"{SERVED}/big", "x" * 300_000)
    world.write(f"{SERVED}/big.md5", world.digest(f"{SERVED}/big") + "\n")
    world.write("/home/nms/download/big", "x" * 300_000)
    before = world.files("/flash", "/app/appload", MIBS)
    with Full(world, "/flash", 65536):
        assert world.act(3, "127.0.0.1", STOCK, "big") == FAIL
        assert world.act(71, "big") == FAIL
        assert world.digest(CONFIG) == next(line.split()[0] for line in before if line.endswith(CONFIG))
    with Full(world, "/app", 65536):
        assert world.act(45, "127.0.0.1", STOCK, "big") == FAIL
        assert world.act(73, "big") == FAIL
        assert world.act(25, "127.0.0.1", STOCK, "diag2") in (SUCCESS, FAIL)
    with Full(world, "/tmp", 0):
        assert world.act(3, "127.0.0.1", STOCK, "big") == FAIL
        assert world.act(48, "127.0.0.1", STOCK, "again", "1001") in (SUCCESS, FAIL)
    with Full(world, "/run", 0):
        world.act(48, "127.0.0.1", STOCK, "again", "1000")
    assert [line for line in world.files("/flash", "/app/appload", MIBS) if BACKUP not in line] == [
        line for line in before if BACKUP not in line
    ]
    assert world.chassis.exists("/home/nms/download/big")


# ---- what is executed, and the daemon's end ------------------------------------------------------------------


@pytest.fixture
def own(tmp_path):
    made = World(tmp_path, strace=True)
    yield made
    print(made.chassis.report())
    made.close()


def test_no_word_from_outside_meets_a_shell_and_the_daemons_end_is_that_of_its_client(own):
    world, name = own, "seen-word"
    world.write(f"{SERVED}/{name}", "x")
    for number in (1, 2, 3, 4, 25, 45, 48):
        world.act(number, "127.0.0.1", STOCK, name, "1000")
    for number in (63, 71, 72, 73, 47):
        world.act(number, name)
    lines = [line for line in world.chassis.strace_lines(r"execve\(") if name in line]
    programs = {match[1] for line in lines if (match := re.search(r'execve\("[^"]*/([^"/]+)"', line))}
    assert {"tftp", "mv"} <= programs <= {"tftp", "busybox", "mv", "rm", "ov_check_file", "ov_env_put"}, programs
    assert not [line for line in lines if '"-c"' in line]
    world.write(CONFIG, "x" * 10_000)
    before = world.files("/flash", "/app/appload", MIBS)
    for number in (3, 4, 45, 2):
        world.begin(number, "127.0.0.1", BAD, "slow.bin")
        world.chassis.wait_for(world.clients, what="the client")
        world.chassis.kill_daemon()
        world.chassis.wait_for(lambda: not world.clients(), what="the client to end with the daemon")
        world.chassis.start_daemon(env=ENV)
        world.chassis.wait_agent(connections=len(world.chassis.log_lines("AgentX master agent connected")))
        wait_for(lambda: world.table.get((1, 1, 5), 8) is None and world.chassis.vty_is_up(), 10)
        wait_for(lambda: world.begin_or_none(5) == SUCCESS, 15, "the next daemon to act")
    assert [line for line in world.files("/flash", "/app/appload", MIBS) if BACKUP not in line] == [
        line for line in before if BACKUP not in line
    ]
