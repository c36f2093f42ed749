"""The scripts around the build: a tree that was moved, what ./test runs, what setup leaves behind, how it goes away."""

import os
import shutil
import subprocess

import pexpect
import pytest

from chassis import REPO, Sandbox


def script(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("#!/bin/bash\n" + text)
    path.chmod(0o755)
    return path


def copy_of(place, *names):
    for name in names:
        (place / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(REPO / name, place / name)


def run(*argv, cwd=None, **env):
    return subprocess.run(
        list(map(str, argv)), cwd=cwd, capture_output=True, text=True, timeout=60, stdin=subprocess.DEVNULL,
        env={**os.environ, **env},
    )  # fmt: skip


# ---- tools/build.sh ----------------------------------------------------------------------------------------

LISTS = """
cmake_minimum_required(VERSION 3.22)
project(small NONE)
add_custom_target(make ALL COMMAND ${CMAKE_COMMAND} -E echo ${WORD} >> ${CMAKE_SOURCE_DIR}/made)
"""
PRESETS = """{"version": 3, "configurePresets": [{"name": "dev", "generator": "Ninja",
"binaryDir": "${sourceDir}/build/${presetName}", "cacheVariables": {"WORD": "%s"}}]}"""


@pytest.fixture
def small_tree(tmp_path):
    """A tree whose build notes itself in the file "made" of the place that was built."""
    place = tmp_path / "first"
    copy_of(place, "tools/build.sh")
    (place / "CMakeLists.txt").write_text(LISTS)
    (place / "CMakePresets.json").write_text(PRESETS % "one")
    assert run("tools/build.sh", cwd=place).returncode == 0
    assert (place / "made").read_text() == "one\n"
    return place


@pytest.mark.parametrize("move", [shutil.move, lambda a, b: shutil.copytree(a, b, symlinks=True)], ids=["moved", "copied"])
def test_a_tree_elsewhere_builds_itself(small_tree, tmp_path, move):
    second = tmp_path / "second"
    move(small_tree, second)
    (second / "made").unlink()
    done = run("tools/build.sh", cwd=second)
    assert done.returncode == 0, done.stderr
    assert f"This tree was copied or moved: build/dev builds {small_tree}, so it is made anew.\n" in done.stderr
    assert (second / "made").read_text() == "one\n"
    if small_tree.exists():
        assert (small_tree / "made").read_text() == "one\n"
    assert run("tools/build.sh", cwd=second).stderr == ""


def test_a_tree_reached_through_a_link_stays_as_it_is(small_tree, tmp_path):
    (tmp_path / "link").symlink_to(small_tree)
    done = run("tools/build.sh", cwd=tmp_path / "link")
    assert (done.returncode, done.stderr) == (0, "")


def test_a_changed_preset_is_followed(small_tree):
    presets = small_tree / "CMakePresets.json"
    presets.write_text(PRESETS % "two")
    newer = (small_tree / "build" / "dev" / "build.ninja").stat().st_mtime + 1
    os.utime(presets, (newer, newer))
    assert run("tools/build.sh", cwd=small_tree).returncode == 0
    assert (small_tree / "made").read_text() == "one\ntwo\n"


# ---- ./test ------------------------------------------------------------------------------------------------


@pytest.fixture
def suite_tree(tmp_path):
    """./test with a build, unit tests and system tests that only note that they ran."""
    copy_of(tmp_path, "test")
    script(tmp_path / "tools" / "setup.sh", '[ $# -eq 0 ] || echo "got $*" >>notes')
    script(tmp_path / "tools" / "build.sh", "echo built $1 >>notes")
    script(tmp_path / "tools" / "coverage.sh", "echo counts $* >>notes")
    script(tmp_path / "bin" / "ctest", "echo unit >>notes")
    note = "def test_it():\n    open('notes', 'a').write('system\\n')\n"
    (tmp_path / "tests" / "system").mkdir(parents=True)
    (tmp_path / "tests" / "system" / "test_note.py").write_text(note)
    return tmp_path


@pytest.mark.parametrize(
    "options, ran",
    [
        ([], ["built dev", "unit", "system"]),
        (["--unit"], ["built dev", "unit"]),
        (["--system"], ["built dev", "system"]),
        (["--unit", "--system"], ["built dev", "unit", "system"]),
        (["--system", "--unit", "-k", "it"], ["built dev", "unit", "system"]),
        (["--asan", "--unit"], ["built asan", "unit"]),
        (["--tsan", "--system"], ["built tsan", "system"]),
        (["--coverage"], ["got gcovr", "built coverage", "counts --forget", "unit", "system", "counts"]),
    ],
)
def test_what_is_asked_for_is_run(suite_tree, options, ran):
    done = run("./test", *options, cwd=suite_tree, PATH=f"{suite_tree}/bin:{os.environ['PATH']}")
    assert done.returncode == 0, done.stdout + done.stderr
    assert (suite_tree / "notes").read_text().splitlines() == ran


#: Of a played ctest: fails with so many named tests, once.
FAILS_ONCE = """echo unit $* >>notes
[ ! -e failed ] || exit 0
touch failed
mkdir -p build/dev/Testing/Temporary
for n in $(seq FAILED); do echo $n:unit_$n; done >build/dev/Testing/Temporary/LastTestsFailed.log
exit 8"""


@pytest.mark.parametrize("failed, status", [(1, 0), (3, 0), (4, 1)])
def test_a_few_failed_unit_tests_are_asked_again(suite_tree, failed, status):
    script(suite_tree / "bin" / "ctest", FAILS_ONCE.replace("FAILED", str(failed)))
    done = run("./test", "--unit", cwd=suite_tree, PATH=f"{suite_tree}/bin:{os.environ['PATH']}")
    assert done.returncode == status, done.stdout + done.stderr
    names = [f"unit_{n + 1}" for n in range(failed)]
    told = [line.rsplit(": ", 1)[1] for line in done.stderr.splitlines() if "asked again" in line]
    assert told == (names if status == 0 else [])
    asked = (suite_tree / "notes").read_text().splitlines()[2:]
    assert [line.split("-R ")[1] for line in asked] == ([f"^({'|'.join(names)})$"] if status == 0 else [])


@pytest.mark.parametrize("passes, status", [("once", 1), ("later", 0)])
def test_a_failed_system_test_is_asked_again(suite_tree, passes, status):
    note = """import os, pathlib, pytest
@pytest.mark.parametrize("word", ["a b", "c - d"])
def test_it(word):
    assert os.path.exists(word) or pathlib.Path(word).touch(), "isn't there"
"""
    if passes == "once":
        note = note.replace("or pathlib", "and pathlib")
    (suite_tree / "tests" / "system" / "test_note.py").write_text(note)
    done = run("./test", "--system", cwd=suite_tree)
    assert done.returncode == status, done.stdout + done.stderr
    assert done.stderr.count("passed when asked again alone") == (2 if status == 0 else 0)


@pytest.mark.parametrize("options", [["--units"], ["--unit", "-k", "it"]])
def test_an_option_that_nobody_takes_is_refused(suite_tree, options):
    done = run("./test", *options, cwd=suite_tree)
    assert done.returncode == 2 and "unknown option" in done.stderr
    assert not (suite_tree / "notes").exists()


# ---- setup -------------------------------------------------------------------------------------------------


@pytest.fixture
def machine(tmp_path):
    """A sandbox whose /usr/sbin and package tools are only played; played(...) runs a script on it."""
    sbin = tmp_path / "sbin"
    sbin.mkdir()
    fakes = tmp_path / "fakes"
    asks = "for s in snmpd snmpd.service tftpd-hpa cron; do /usr/sbin/policy-rc.d $s start; echo $s $? >>$NOTES; done\n"
    script(fakes / "apt-get", f'echo "apt-get $*" >>$NOTES\ncase "$*" in *install*) {asks} exit $APT_STATUS ;; esac')
    script(fakes / "systemctl", 'echo "systemctl $*" >>$NOTES')
    box = Sandbox(binds=[tmp_path, REPO])
    (tmp_path / "notes").touch()

    def played(*argv, apt_status=0):
        inside = f'mount --bind {sbin} /usr/sbin && exec "$@"'
        env = {"PATH": f"{fakes}:/usr/bin:/bin", "NOTES": str(tmp_path / "notes"), "APT_STATUS": str(apt_status)}
        done = box.run("unshare", "-m", "sh", "-c", inside, "sh", *argv, env={**os.environ, **env})
        return done.returncode, (tmp_path / "notes").read_text().splitlines()

    played.sbin = sbin
    yield played
    box.close()


INSTALL = REPO / "tools" / "install_packages.sh"


def test_a_new_service_is_neither_started_nor_enabled(machine):
    status, notes = machine(INSTALL, "snmp", "snmpd", "tftpd-hpa")
    assert status == 0
    assert notes[0] == "apt-get update"
    assert notes[1].endswith("install -y --no-install-recommends snmp snmpd tftpd-hpa")
    assert notes[2:6] == ["snmpd 101", "snmpd.service 101", "tftpd-hpa 101", "cron 0"]
    assert notes[6:] == ["systemctl disable snmpd.service", "systemctl disable tftpd-hpa.service"]
    assert not list(machine.sbin.iterdir())


def test_the_notification_receivers_socket_is_disabled_too(machine):
    status, notes = machine(INSTALL, "snmptrapd")
    assert status == 0
    assert notes[2:6] == ["snmpd 0", "snmpd.service 0", "tftpd-hpa 0", "cron 0"]
    assert notes[6:] == ["systemctl disable snmptrapd.service", "systemctl disable snmptrapd.socket"]


@pytest.mark.parametrize("apt_status", [0, 100])
def test_the_machines_own_rule_for_services_stands_and_comes_back(machine, apt_status):
    own = script(machine.sbin / "policy-rc.d", "[ $1 != cron ] || exit 104\n")
    before = own.read_text()
    status, notes = machine(INSTALL, "snmpd", apt_status=apt_status)
    assert status == apt_status
    assert notes[2:6] == ["snmpd 101", "snmpd.service 101", "tftpd-hpa 0", "cron 104"]
    assert own.read_text() == before
    assert [path.name for path in machine.sbin.iterdir()] == ["policy-rc.d"]


def test_what_a_killed_setup_left_is_put_right(machine):
    script(machine.sbin / "policy-rc.d.kept-by-gpon", "exit 0 # the machine's own\n")
    script(machine.sbin / "policy-rc.d", "# of gpon's setup\nexit 101\n")
    assert machine(INSTALL, "snmpd")[0] == 0
    assert [path.name for path in machine.sbin.iterdir()] == ["policy-rc.d"]
    assert "the machine's own" in (machine.sbin / "policy-rc.d").read_text()


def test_other_packages_are_installed_as_usual(machine):
    own = script(machine.sbin / "policy-rc.d", "exit 0\n")
    status, notes = machine(INSTALL, "ninja-build")
    assert status == 0
    assert notes[2:] == ["snmpd 0", "snmpd.service 0", "tftpd-hpa 0", "cron 0"]
    assert own.exists()


@pytest.fixture
def package_tree(tmp_path):
    """setup.sh and clean.sh with packages that are only played: the file "installed" lists them."""
    copy_of(tmp_path, "tools/setup.sh", "tools/clean.sh", "tools/packages.txt", "third_party/frr/packages.txt")
    script(tmp_path / "third_party" / "frr" / "build.sh", "")
    script(tmp_path / "run", "exit ${RUNNING:-1}")
    script(
        tmp_path / "fakes" / "dpkg-query",
        'if [[ $* = *Package* ]]; then sed "s/^/installed /" installed; else grep -qx "${@: -1}" installed && echo installed; fi',
    )
    purge = 'for p in "${@:2}"; do [[ $p = -* ]] || sed -i "/^$p\\$/d" installed; done'
    gone_with = 'for p in "$@"; do [[ $p = -* || $p = purge ]] || echo "Purg $p [1]"; [ $p != libused ] || echo "Purg users-own [1]"; done'
    script(tmp_path / "fakes" / "apt-get", f'echo "$*" >>calls\nif [ $1 = -s ]; then {gone_with}; else {purge}; fi')
    script(tmp_path / "tools" / "install_packages.sh", 'printf "%s\\n" "$@" libused libfree >>installed; exit ${STATUS:-0}')
    wanted = (tmp_path / "tools" / "packages.txt").read_text().split()
    wanted += (tmp_path / "third_party" / "frr" / "packages.txt").read_text().split()
    left_out = {"snmpd", "strace"}
    (tmp_path / "installed").write_text("".join(f"{name}\n" for name in {*wanted, "users-own"} - left_out))
    return tmp_path


def in_tree(tree, *argv, **env):
    home = tree / "home"
    places = {"HOME": str(home), "XDG_STATE_HOME": "", "XDG_CACHE_HOME": "", "GPON_CACHE_DIR": ""}
    return run(*argv, cwd=tree, **{**places, "PATH": f"{tree}/fakes:{os.environ['PATH']}", **env})


def noted(tree):
    return (tree / "home" / ".local" / "state" / "gpon" / "installed-packages").read_text().split()


@pytest.mark.parametrize("status", [0, 1])
def test_setup_notes_what_is_new_on_the_machine(package_tree, status):
    done = in_tree(package_tree, "tools/setup.sh", STATUS=str(status))
    assert done.returncode == status, done.stderr
    assert noted(package_tree) == ["libfree", "libused", "snmpd", "strace"]
    assert in_tree(package_tree, "tools/setup.sh").stderr == ""


def test_setup_installs_further_packages_for_what_needs_them(package_tree):
    done = in_tree(package_tree, "tools/setup.sh", "gcovr")
    assert done.returncode == 0, done.stderr
    assert "gcovr" in noted(package_tree)


# ---- tools/clean.sh ----------------------------------------------------------------------------------------


@pytest.fixture
def used_tree(package_tree):
    """A tree that was set up, built and run."""
    assert in_tree(package_tree, "tools/setup.sh").returncode == 0
    for made in ("build/dev/bin/gpon", "tools/demo/__pycache__/tour.pyc", "docs/page.md", "home/.cache/gpon/frr-8.4.4-0123/lib.so",
                 "home/.cache/gpon/frr-8.4.4-0123.log", "home/.cache/gpon/powerpc-0123/lib/libyang.so", "home/.cache/gpon/linux-amd64-0123/vmlinux",
                 "home/.local/state/gponsh/history", "home/.cache/ccache/other"):  # fmt: skip
        (package_tree / made).parent.mkdir(parents=True, exist_ok=True)
        (package_tree / made).write_text("x")
    return package_tree


OURS = ["build", "tools/demo/__pycache__", "home/.cache/gpon", "home/.local/state/gponsh"]
OTHERS = ["docs/page.md", "tools/setup.sh", "home/.cache/ccache/other"]


def test_everything_goes_but_packages_and_others_files(used_tree):
    done = in_tree(used_tree, "tools/clean.sh")
    assert done.returncode == 0, done.stderr
    assert not [path for path in OURS if (used_tree / path).exists()]
    assert all((used_tree / path).exists() for path in OTHERS)
    assert noted(used_tree)


def test_a_dry_run_only_says_it(used_tree):
    done = in_tree(used_tree, "tools/clean.sh", "--dry-run", "--packages")
    assert done.returncode == 0, done.stderr
    assert all((used_tree / path).exists() for path in OURS + OTHERS)
    assert "would remove build (" in done.stdout and "libfree" in done.stdout
    assert "snmpd" in (used_tree / "installed").read_text()


def test_packages_of_setup_go_unless_something_else_needs_them(used_tree):
    done = in_tree(used_tree, "tools/clean.sh", "--packages", "--yes")
    assert done.returncode == 0, done.stderr
    left = (used_tree / "installed").read_text().split()
    assert not {"snmpd", "strace", "libfree"} & set(left)
    assert {"users-own", "libused", "cmake"} <= set(left)
    assert not (used_tree / "home" / ".local" / "state" / "gpon").exists()


def test_packages_stay_when_nobody_can_be_asked(used_tree):
    done = in_tree(used_tree, "tools/clean.sh", "--packages")
    assert done.returncode == 1
    assert "They stay" in done.stderr
    assert "snmpd" in (used_tree / "installed").read_text()
    assert noted(used_tree)


@pytest.mark.parametrize("answer, status", [("n", 1), ("", 1), ("y", 0)])
def test_packages_go_when_the_user_agrees(used_tree, answer, status):
    env = {**os.environ, "HOME": str(used_tree / "home"), "PATH": f"{used_tree}/fakes:{os.environ['PATH']}"}
    for name in ("XDG_STATE_HOME", "XDG_CACHE_HOME", "GPON_CACHE_DIR"):
        env.pop(name, None)
    child = pexpect.spawn("tools/clean.sh", ["--packages"], cwd=str(used_tree), env=env, encoding="utf-8", timeout=30)
    child.expect(r"Remove them\? \[y/N\] ")
    child.sendline(answer)
    child.expect(pexpect.EOF)
    child.close()
    assert child.exitstatus == status
    assert ("snmpd" in (used_tree / "installed").read_text()) == (status != 0)


def test_nothing_goes_while_a_chassis_runs(used_tree):
    done = in_tree(used_tree, "tools/clean.sh", RUNNING="0")
    assert done.returncode == 1
    assert "leave its shell first" in done.stderr
    assert all((used_tree / path).exists() for path in OURS)
