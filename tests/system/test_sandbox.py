"""The sandbox launcher: isolation, exit statuses, and that nothing is left behind."""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

import pytest

from chassis import Sandbox, program, wait_for

#: A time that no other run of these tests sleeps for, so that a sleep is found by its command line.
LONG = 100_000 + os.getpid()
FRESH = ["/run", "/var/run", "/tmp", "/app", "/flash", "/home/nms", "/var/agentx", "/dev/shm", "/var/lib/snmp"]


#: A search path whose directories everybody may read: one that isn't turns "not found" into "not permitted".
PLAIN_PATH = {**os.environ, "PATH": "/usr/bin:/bin"}


def run(*argv, **kwargs):
    return subprocess.run(
        [program("gpon-sandbox"), *map(str, argv)], capture_output=True, text=True, timeout=30, **kwargs
    )


def alive(pid):
    """Whether a process exists and isn't just waiting to be reaped."""
    try:
        return pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[0] != "Z"
    except OSError:
        return False


def wait_gone(*pids):
    wait_for(lambda: not any(alive(pid) for pid in pids), what=f"processes {pids} to end")


@pytest.fixture(params=["dash", "bash"])
def each_shell(request, monkeypatch):
    """Has each of the usual shells as sh: they differ in what they fork for and what they say."""
    with tempfile.TemporaryDirectory(dir="/var/tmp") as place:  # seen inside, too
        os.chmod(place, 0o755)
        (pathlib.Path(place) / "sh").symlink_to(shutil.which(request.param))
        monkeypatch.setenv("PATH", f"{place}:{os.environ['PATH']}")
        assert run("sh", "-c", "readlink /proc/$$/exe; true").stdout.strip().endswith(request.param)
        yield


@pytest.fixture
def sandbox(tmp_path):
    made = Sandbox()
    yield made
    made.close()


# ---- isolation -------------------------------------------------------------------------------------------


@pytest.mark.usefixtures("each_shell")
def test_the_daemons_places_are_fresh_and_empty(tmp_path):
    existed = {path: os.path.exists(path) for path in FRESH}
    name = f"left-by-{tmp_path.name}-{os.getpid()}"
    script = "".join(f'test -z "$(ls -A {path}/ | grep -v "^nothing$")" || echo {path}; ' for path in ("/app", "/flash"))
    script += "".join(f"touch {path}/{name} || exit 9; " for path in FRESH)
    made = run("sh", "-c", script, cwd="/")
    assert (made.returncode, made.stdout, made.stderr) == (0, "", "")
    assert {path: os.path.exists(path) for path in FRESH} == existed
    assert not [path for path in FRESH if os.path.exists(f"{path}/{name}")]


@pytest.mark.usefixtures("each_shell")
def test_files_of_the_machine_are_visible_outside_those_places():
    assert run("sh", "-c", "test -e /etc/passwd && ls /usr/bin | wc -l").stdout.strip() != "0"


def test_files_in_tmp_are_hidden(tmp_path):
    secret = tmp_path / "secret"
    secret.write_text("x")
    assert run("test", "-e", secret, cwd="/").returncode == 1


def test_bind_keeps_a_directory_below_a_fresh_place(tmp_path):
    (tmp_path / "kept").mkdir()
    (tmp_path / "kept" / "file").write_text("machine's\n")
    (tmp_path / "other").mkdir()
    made = run("--bind", tmp_path / "kept", "cat", tmp_path / "kept" / "file", cwd="/")
    assert made.stdout == "machine's\n"
    assert run("--bind", tmp_path / "kept", "test", "-e", tmp_path / "other", cwd="/").returncode == 1


def test_the_current_directory_is_kept(tmp_path):
    (tmp_path / "file").write_text("here\n")
    assert run("cat", "file", cwd=tmp_path).stdout == "here\n"


def test_the_launchers_own_directory_is_kept(tmp_path):
    copy = tmp_path / "bin" / "gpon-sandbox"
    copy.parent.mkdir()
    shutil.copy(program("gpon-sandbox"), copy)
    made = subprocess.run([copy, "test", "-x", copy], cwd="/", timeout=30)
    assert made.returncode == 0


def test_a_bind_that_would_uncover_a_fresh_place_is_refused():
    made = run("--bind", "/tmp", "true")
    assert made.returncode == 125
    assert "--bind /tmp: it would uncover /tmp" in made.stderr


def test_a_bind_that_does_not_exist_is_refused():
    made = run("--bind", "/nonexistent/place", "true")
    assert made.returncode == 125
    assert "/nonexistent/place" in made.stderr


def test_the_network_is_a_loopback_of_its_own():
    script = """
import socket, sys
s = socket.socket(); s.bind(("127.0.0.1", 30000)); s.listen()
c = socket.create_connection(("127.0.0.1", 30000))
print(sorted(name for _, name in socket.if_nameindex() if name == "lo"))
sys.stdout.flush(); sys.stdin.read()
"""
    command = [program("gpon-sandbox"), "/usr/bin/python3", "-c", script]
    boxes = [
        subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, cwd="/") for _ in range(2)
    ]
    assert [box.stdout.readline() for box in boxes] == ["['lo']\n", "['lo']\n"]  # the same port, twice at once
    for box in boxes:
        box.communicate(timeout=20)
        assert box.returncode == 0


@pytest.mark.usefixtures("each_shell")
def test_processes_outside_are_out_of_sight():
    made = run("sh", "-c", "cat /proc/1/comm; ls -d /proc/[0-9]* | wc -l; id -u")
    name, count, uid = made.stdout.split()
    assert name == "gpon-sandbox"
    assert int(count) < 6
    assert uid == "0"


def test_mounts_of_a_sandbox_are_not_seen_outside(sandbox):
    inside = sandbox.run("cat", "/proc/self/mountinfo").stdout
    assert " /flash " in inside
    assert " /flash " not in pathlib.Path("/proc/self/mountinfo").read_text()


# ---- the command ------------------------------------------------------------------------------------------


@pytest.mark.usefixtures("each_shell")
@pytest.mark.parametrize("status", [0, 1, 7, 255])
def test_exit_status_is_the_commands(status):
    assert run("sh", "-c", f"exit {status}").returncode == status


@pytest.mark.usefixtures("each_shell")
def test_a_command_ended_by_a_signal_ends_the_launcher_by_it():
    assert run("sh", "-c", "kill -SEGV $$").returncode == -signal.SIGSEGV


def test_a_command_that_is_not_found_gives_127():
    made = run("no-such-command", env=PLAIN_PATH)
    assert made.returncode == 127
    assert "no-such-command" in made.stderr


def test_a_command_that_cannot_be_run_gives_126():
    assert run("/etc/passwd").returncode == 126


@pytest.mark.parametrize(
    "argv",
    [[], ["--nonsense", "true"], ["--hold", "true"], ["--enter", "x", "true"], ["--enter", "1", "--hold"], ["--bind"]],
)
def test_wrong_usage_gives_125_and_a_reason(argv):
    made = run(*argv)
    assert made.returncode == 125
    assert made.stderr.startswith("gpon-sandbox: ")


def test_help_names_every_option():
    made = run("--help")
    assert made.returncode == 0
    for word in ("--bind", "--pid-file", "--hold", "--enter", "Exit status"):
        assert word in made.stdout


@pytest.mark.usefixtures("each_shell")
def test_signals_are_passed_to_the_command():
    script = 'trap "echo got; exit 5" USR1; echo up; while :; do sleep 0.02; done'
    box = subprocess.Popen([program("gpon-sandbox"), "sh", "-c", script], stdout=subprocess.PIPE, text=True)
    assert box.stdout.readline() == "up\n"
    box.send_signal(signal.SIGUSR1)
    assert box.stdout.readline() == "got\n"
    assert box.wait(20) == 5
    box.stdout.close()


@pytest.mark.usefixtures("each_shell")
def test_orphans_are_reaped(sandbox):
    sandbox.run("sh", "-c", "sh -c 'true &' ; true")
    assert sandbox.run("sh", "-c", "grep -l '^State:.Z' /proc/[0-9]*/status").stdout == ""


def test_pid_file_names_the_first_process_and_goes_away(tmp_path):
    path = tmp_path / "pid"
    box = subprocess.Popen([program("gpon-sandbox"), "--pid-file", path, "cat"], stdin=subprocess.PIPE)
    wait_for(path.exists)
    assert pathlib.Path(f"/proc/{int(path.read_text())}/comm").read_text() == "gpon-sandbox\n"
    box.communicate(timeout=20)
    assert box.returncode == 0
    assert not list(tmp_path.iterdir())


def test_a_pid_file_that_cannot_be_written_is_said_before_the_command_runs():
    made = run("--pid-file", "/nonexistent/pid", "echo", "ran")
    assert (made.returncode, made.stdout) == (125, "")
    assert "/nonexistent/pid" in made.stderr


# ---- the end ------------------------------------------------------------------------------------------------


@pytest.mark.usefixtures("each_shell")
def test_background_processes_end_with_the_command():
    made = run("sh", "-c", f"setsid sleep {LONG} >/dev/null 2>&1 & echo up")
    assert made.returncode == 0
    assert not [pid for pid in os.listdir("/proc") if command_line(pid) == f"sleep {LONG}"]


def command_line(pid):
    try:
        return pathlib.Path(f"/proc/{pid}/cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace").strip()
    except OSError:
        return ""


@pytest.mark.usefixtures("each_shell")
def test_nothing_is_left_after_sigkill_of_the_launcher():
    mounts = pathlib.Path("/proc/self/mountinfo").read_text()
    box = Sandbox()
    child = subprocess.Popen(box.command("sh", "-c", f"setsid sleep {LONG} & echo up; sleep {LONG}"), stdout=subprocess.PIPE)
    assert child.stdout.readline() == b"up\n"
    inside = list(box.processes())
    assert len(inside) >= 3  # the first process, one in the background, one in front
    box.launcher.kill()
    wait_gone(*inside)
    assert child.wait(20) == -signal.SIGKILL
    child.stdout.close()
    box.close()
    assert pathlib.Path("/proc/self/mountinfo").read_text() == mounts


@pytest.mark.usefixtures("each_shell")
def test_sigkill_of_a_launcher_with_a_command_ends_the_command():
    box = subprocess.Popen([program("gpon-sandbox"), "sh", "-c", f"echo up; exec sleep {LONG}"], stdout=subprocess.PIPE)
    try:
        assert box.stdout.readline() == b"up\n"
        sleeping = wait_for(lambda: [pid for pid in os.listdir("/proc") if command_line(pid) == f"sleep {LONG}"])
    finally:
        box.kill()
        box.wait(20)
    box.stdout.close()
    wait_gone(*sleeping)


def test_hold_lasts_until_its_input_closes():
    box = Sandbox()
    assert box.launcher.poll() is None
    inside = list(box.processes())
    box.launcher.stdin.close()
    assert box.launcher.wait(20) == 0
    assert not [pid for pid in inside if alive(pid)]
    box.close()


def test_hold_ends_on_sigterm(sandbox):
    sandbox.launcher.terminate()
    assert sandbox.launcher.wait(20) == -signal.SIGTERM
    assert not alive(sandbox.init)


def test_a_sandbox_is_made_within_200_ms():
    best = 9.0
    for _ in range(3):
        begin = time.monotonic()
        box = Sandbox()
        best = min(best, time.monotonic() - begin)
        box.close()
    assert best < 0.2


# ---- enter --------------------------------------------------------------------------------------------------


@pytest.mark.usefixtures("each_shell")
def test_enter_shares_files_network_and_processes(sandbox):
    assert sandbox.run("sh", "-c", "echo hello > /app/note").returncode == 0
    made = sandbox.run("sh", "-c", "cat /app/note; cat /proc/1/comm; id -u")
    assert made.stdout.split() == ["hello", "gpon-sandbox", "0"]
    assert sandbox.path("/app/note").read_text() == "hello\n"


@pytest.mark.usefixtures("each_shell")
def test_enter_gives_the_commands_exit_status(sandbox):
    assert sandbox.run("sh", "-c", "exit 9").returncode == 9
    assert sandbox.run("sh", "-c", "kill -KILL $$").returncode == -signal.SIGKILL
    assert sandbox.run("no-such-command", env=PLAIN_PATH).returncode == 127


def test_enter_of_something_else_than_a_sandbox_is_refused():
    made = run("--enter", os.getpid(), "true")
    assert made.returncode == 125
    assert "is not in a sandbox" in made.stderr


def test_enter_of_a_process_that_is_gone_is_refused():
    child = subprocess.Popen(["true"])
    child.wait()
    assert run("--enter", child.pid, "true").returncode == 125


@pytest.mark.usefixtures("each_shell")
def test_an_entered_command_ends_with_its_launcher(sandbox):
    entered = subprocess.Popen(sandbox.command("sh", "-c", f"echo up; exec sleep {LONG}"), stdout=subprocess.PIPE)
    assert entered.stdout.readline() == b"up\n"
    inside = list(sandbox.processes("sleep"))
    entered.kill()
    entered.wait()
    entered.stdout.close()
    wait_gone(*inside)


def test_path_follows_absolute_links_inside(sandbox):
    assert str(sandbox.path("/var/run/gpon.vty")).endswith("/root/run/gpon.vty")
    sandbox.run("ln", "-s", "/flash", "/app/link")
    assert str(sandbox.path("/app/link/x")) == f"/proc/{sandbox.init}/root/flash/x"


# ---- an ordinary user -----------------------------------------------------------------------------------------


@pytest.fixture
def as_nobody(tmp_path_factory):
    """Runs the launcher, from a place that everybody may read, as nobody."""
    if os.geteuid() != 0:
        yield run  # these tests are an ordinary user's already
        return
    place = pathlib.Path(f"/var/tmp/gpon-sandbox-test-{os.getpid()}")
    place.mkdir(mode=0o755)
    copy = place / "gpon-sandbox"
    shutil.copy(program("gpon-sandbox"), copy)

    def run_it(*argv):
        return subprocess.run(
            ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", str(copy), *map(str, argv)],
            cwd="/", capture_output=True, text=True, timeout=30, env={"PATH": os.environ["PATH"], "HOME": "/nonexistent"},
        )  # fmt: skip

    yield run_it
    shutil.rmtree(place)


def user_spaces_allowed():
    command = ["unshare", "--user", "true"]
    if os.geteuid() == 0:
        command = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", *command]
    return subprocess.run(command, capture_output=True).returncode == 0


def test_an_ordinary_user_is_root_inside(as_nobody):
    made = as_nobody("sh", "-c", "id -u; echo x > /app/x && echo y > /run/y && ls /app /run")
    if not user_spaces_allowed():
        assert made.returncode == 125
        assert "user namespace: not permitted" in made.stderr or "limit reached" in made.stderr
        return
    assert made.stderr == ""
    assert made.stdout.split() == ["0", "/app:", "x", "/run:", "y"]


def test_an_ordinary_user_gets_a_loopback(as_nobody):
    script = "import socket; s=socket.socket(); s.bind(('127.0.0.1',0)); s.listen(); socket.create_connection(s.getsockname())"
    if user_spaces_allowed():
        assert as_nobody("/usr/bin/python3", "-c", script).returncode == 0
