"""What gpon-exporter makes of the daemon's answers: whole and broken samples, pieces, silence, and ends that never come."""

import contextlib
import importlib.machinery
import importlib.util
import os
import signal
import socket
import subprocess
import sys
import threading
import time

import pytest
from prometheus_client.openmetrics.parser import text_string_to_metric_families

from chassis import REPO

PROGRAM = REPO / "tools/exporter/gpon-exporter"


def load():
    loader = importlib.machinery.SourceFileLoader("gpon_exporter", str(PROGRAM))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("gpon_exporter", loader))
    loader.exec_module(module)
    return module


exporter = load()
CATALOGUE = exporter.read_catalogue()
GOOD = 'gpon_alarms{severity="critical"} 0\ngpon_log_errors_total 3\ngpon_alarms{severity="major"} 2\n'


# ---- samples -----------------------------------------------------------------------------------------------------------


@pytest.mark.parametrize(
    "line",
    [
        "gpon_log_errors_total 3",
        "gpon_restore_duration_seconds{slot=\"1\"} 0.312",
        'gpon_port_optical_reading{slot="1",port="1",reading="TxPower"} -5',
        'gpon_onu_state{slot="1",port="1",onu="1",sn="",name="a\\"b\\\\ \\n,} 5"} 3',
        'gpon_onu_state{name="\u2028\x85\x0b"} 3',
        "gpon_loop_runs_total 18446744073709551615",
    ],
)
def test_a_sample_is_taken_as_it_stands(line):
    for ending in ("\n", "\r\n", ""):
        assert exporter.parse_samples(line + ending) == {line.split("{")[0].split(" ")[0]: [line]}
    made = exporter.render(exporter.parse_samples(line), {})
    assert len(list(text_string_to_metric_families(made))) == 1


@pytest.mark.parametrize(
    "line",
    [
        "% Unknown command.",
        "gpon_up",
        "gpon_up ",
        "gpon_up x",
        "gpon_up 1 2",
        "gpon_up  1",
        " gpon_up 1",
        "gpon_up 1 ",
        "gpon_up 1.",
        "gpon_up .5",
        "gpon_up \u0661",
        "GPON_up 1",
        "gpon_alarms{",
        'gpon_alarms{severity="critical"',
        'gpon_alarms{severity="critical"}',
        'gpon_alarms{severity="critical"} ',
        'gpon_alarms{severity="crit',
        'gpon_alarms{severity="a"b="c"} 1',
        'gpon_alarms{severity="a",} 1',
        'gpon_alarms{severity=critical} 1',
        'gpon_alarms{severity="a\\x"} 1',
        'gpon_alarms{severity="a"b"} 1',
        'gpon_alarms{9="a"} 1',
        "gpon_alarms{} 1",
        "gpon_up 1\rgpon_up 1",
        "gpon_up 1\x00",
    ],
)
def test_what_is_no_sample_is_refused_with_all_that_came_with_it(line):
    with pytest.raises(exporter.DaemonError, match="not a sample"):
        exporter.parse_samples(GOOD + line + "\n" + GOOD)


def test_each_half_of_a_line_is_refused_or_a_whole_one():
    """A label's value may hold what looks like the end of a line."""
    line = 'gpon_onu_state{slot="1",name="a} 5\\" b"} 3'
    for length in range(1, len(line)):
        with pytest.raises(exporter.DaemonError):
            exporter.parse_samples(line[:length])


def test_a_long_line_of_nearly_samples_is_refused_at_once():
    with pytest.raises(exporter.DaemonError) as refused:
        exporter.parse_samples("gpon_x{" + 'a="b",' * 50000 + "! 1")
    assert len(str(refused.value)) < 200


def test_lines_of_one_name_stand_together_below_its_type():
    text = exporter.render(exporter.parse_samples(GOOD), CATALOGUE)
    assert text.splitlines() == [
        "# TYPE gpon_log_errors counter",
        f"# HELP gpon_log_errors {CATALOGUE['gpon_log_errors_total'][1]}",
        "gpon_log_errors_total 3",
        "# TYPE gpon_alarms gauge",
        f"# HELP gpon_alarms {CATALOGUE['gpon_alarms'][1]}",
        'gpon_alarms{severity="critical"} 0',
        'gpon_alarms{severity="major"} 2',
        "# EOF",
    ]


def test_a_name_that_is_not_in_the_catalogue_is_told_without_a_type():
    text = exporter.render(exporter.parse_samples("gpon_new 1\n" + GOOD), CATALOGUE)
    assert "# TYPE gpon_new unknown\ngpon_new 1\n" in text
    assert {family.name for family in text_string_to_metric_families(text)} == {"gpon_new", "gpon_alarms", "gpon_log_errors"}


def test_the_catalogue_has_types_that_fit_the_names():
    assert len(CATALOGUE) > 30
    for name, (kind, text) in CATALOGUE.items():
        assert (kind == "counter") == name.endswith("_total") and kind in ("counter", "gauge") and text.endswith("."), name


# ---- the daemon's side of the socket -------------------------------------------------------------------------------------


class Daemon:
    """A socket behind which each session is served by a function of its connection."""

    def __init__(self, place, serve):
        self.path = str(place / "vty")
        self.serve = serve
        self.listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.listener.bind(self.path)
        self.listener.listen(8)
        threading.Thread(target=self.run, daemon=True).start()

    def run(self):
        with contextlib.suppress(OSError):
            while True:
                connection, _ = self.listener.accept()
                threading.Thread(target=self.session, args=(connection,), daemon=True).start()

    def session(self, connection):
        with connection, contextlib.suppress(OSError):
            while line := read_line(connection):
                self.serve(connection, line)

    def read(self, timeout=20.0):
        """(the text for a scraper, why the daemon couldn't be read)"""
        return exporter.Source(self.path, timeout, False, CATALOGUE).read()

    def close(self):
        self.listener.close()


def read_line(connection):
    line = b""
    while not line.endswith(b"\0"):
        octet = connection.recv(1)
        if not octet:
            return b""
        line += octet
    return line


@pytest.fixture
def daemon(tmp_path):
    made = []

    def make(serve):
        made.append(Daemon(tmp_path, serve))
        return made[-1]

    yield make
    for one in made:
        one.close()


def answers(text, pieces=None, enable=b"\0\0\0\0"):
    """Serves "enable" and then the text, in pieces of so many bytes."""

    def serve(connection, line):
        octets = enable if line == b"enable\0" else text
        for at in range(0, len(octets), pieces or len(octets)):
            connection.sendall(octets[at : at + (pieces or len(octets))])

    return serve


WHOLE = GOOD.encode() + b"\0\0\0\0"


@pytest.mark.parametrize("pieces", [1, 2, 3, 7, None])
def test_an_answer_is_put_together_from_its_pieces(daemon, pieces):
    text, failure = daemon(answers(WHOLE, pieces)).read()
    assert failure is None and "gpon_up 1\n" in text
    assert all(line in text for line in GOOD.splitlines())


def test_a_large_answer_is_read_to_its_end(daemon):
    lines = "".join(f'gpon_onu_counter{{onu="{number}"}} {number}\n' for number in range(40000))
    text, failure = daemon(answers(lines.encode() + b"\0\0\0\0", 8191)).read(60.0)
    assert failure is None and text.count("gpon_onu_counter{") == 40000


def alone(text):
    """Nothing of the chassis but that it can't be read."""
    families = list(text_string_to_metric_families(text))
    return {family.name: family.samples[0].value for family in families if family.name != "gpon_scrape_duration_seconds"} == {"gpon_up": 0}


@pytest.mark.parametrize(
    ("serve", "why"),
    [
        (answers(GOOD.encode() + b"gpon_half{\0\0\0\0"), "not a sample: 'gpon_half{'"),
        (answers(b"% Unknown command.\n\0\0\0\2"), '"show chassis metrics" was refused: % Unknown command.'),
        (answers(WHOLE, enable=b"no\0\0\0\1"), '"enable" was refused: no'),
        (answers(b"\xff\xfe\0\0\0\0"), "not a sample"),
    ],
)
def test_a_wrong_answer_is_told_and_nothing_of_it_handed_on(daemon, serve, why):
    text, failure = daemon(serve).read()
    assert alone(text) and failure.startswith(why)


@pytest.mark.parametrize("length", range(0, len(WHOLE), 7))
def test_a_session_that_ends_within_the_answer_is_told(daemon, length):
    def serve(connection, line):
        connection.sendall(b"\0\0\0\0" if line == b"enable\0" else WHOLE[:length])
        if line != b"enable\0":
            connection.shutdown(socket.SHUT_RDWR)

    text, failure = daemon(serve).read()
    assert alone(text) and failure == "the daemon closed the session"


def silent(connection, line):
    pass


def trickling(connection, line):
    """Says something all the time, and never ends."""
    while True:
        connection.sendall(b"gpon_x 1\n")
        time.sleep(0.01)


@pytest.mark.parametrize("serve", [silent, trickling])
def test_a_daemon_that_does_not_come_to_an_end_is_given_up(daemon, serve):
    text, failure = daemon(serve).read(timeout=0.3)
    assert alone(text) and failure.endswith(("no answer in time", "timed out"))


def test_an_answer_without_end_is_given_up_for_its_length(daemon, monkeypatch):
    monkeypatch.setattr(exporter, "LARGEST_ANSWER", 100000)

    def serve(connection, line):
        while True:
            connection.sendall(b"gpon_x 1\n" * 1000)

    text, failure = daemon(serve).read(60.0)
    assert alone(text) and failure == "the answer has no end"


def test_who_waits_for_another_scrape_has_no_more_time_than_that(daemon):
    source = exporter.Source(daemon(silent).path, 0.3, False, CATALOGUE)
    source.turn.acquire()
    text, failure = source.read()
    assert alone(text) and failure == "the scrape before this one still runs"
    source.turn.release()
    with pytest.raises(exporter.DaemonError, match="no answer in time"):  # what is left of it may be nothing
        exporter.Vty(source.vty, time.monotonic() - 1)


@pytest.mark.parametrize("path", ["/nowhere/vty", "/dev/null", "/", "x" * 200])
def test_what_is_no_socket_is_told(path):
    text, failure = exporter.Source(path, 5, False, CATALOGUE).read()
    assert alone(text) and failure.startswith(f"{path}: ")


# ---- the scraper's side ----------------------------------------------------------------------------------------------------


@contextlib.contextmanager
def served(path, listen, **env):
    command = [sys.executable, PROGRAM, "--listen", listen, "--vty", path, "--timeout", "20"]
    process = subprocess.Popen(command, stderr=subprocess.PIPE, text=True, env={**os.environ, **env})
    try:
        assert "listens on" in process.stderr.readline()
        yield process
    finally:
        process.kill()
        process.communicate()


def ask(path, request=b"GET /metrics HTTP/1.0\r\n\r\n"):
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as scraper:
        scraper.settimeout(30)
        scraper.connect(path)
        scraper.sendall(request)
        return b"".join(iter(lambda: scraper.recv(65536), b""))


def test_a_scraper_that_has_left_is_no_trouble(daemon, tmp_path):
    asked, go_on = threading.Event(), threading.Event()

    def serve(connection, line):
        if line != b"enable\0":
            asked.set()
            go_on.wait(20)
        connection.sendall(b"\0\0\0\0" if line == b"enable\0" else WHOLE)

    place = str(tmp_path / "web")
    with served(daemon(serve).path, f"unix:{place}") as process:
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as impatient:
            impatient.connect(place)
            impatient.sendall(b"GET /metrics HTTP/1.0\r\n\r\n")
            assert asked.wait(20)
        go_on.set()
        assert b"gpon_up 1\n" in ask(place)
        process.send_signal(signal.SIGINT)
        assert process.stderr.read() == "" and process.wait(20) == 0  # no word of the one that left


@pytest.mark.parametrize("request_", [b"\r\n\r\n", b"\xff\xfe\r\n\r\n", b"GET /metrics HTTP/9.9\r\n\r\n", b"POST /metrics HTTP/1.0\r\n\r\n",
                                      b"GET " + b"/" * 70000 + b" HTTP/1.0\r\n\r\n", b"GET /../metrics.txt HTTP/1.0\r\n\r\n"])  # fmt: skip
def test_an_odd_request_gets_no_figures_and_the_next_one_does(daemon, tmp_path, request_):
    place = str(tmp_path / "web")
    with served(daemon(answers(WHOLE)).path, f"unix:{place}"):
        with contextlib.suppress(ConnectionError):
            assert b"gpon_up" not in ask(place, request_)
        assert b"gpon_up 1\n" in ask(place)


def test_the_socket_of_one_that_serves_is_left_alone_and_that_of_a_killed_one_taken(daemon, tmp_path):
    place, path = str(tmp_path / "web"), daemon(answers(WHOLE)).path
    with served(path, f"unix:{place}"):
        second = subprocess.run([sys.executable, PROGRAM, "--listen", f"unix:{place}"], capture_output=True, text=True, timeout=60)
        assert second.returncode == 2 and "can't listen" in second.stderr
        assert b"gpon_up 1\n" in ask(place)
    with served(path, f"unix:{place}"):
        assert b"gpon_up 1\n" in ask(place)
    (tmp_path / "file").write_text("somebody's")
    third = subprocess.run([sys.executable, PROGRAM, "--listen", f"unix:{tmp_path}/file"], capture_output=True, text=True, timeout=60)
    assert third.returncode == 2 and (tmp_path / "file").read_text() == "somebody's"


def test_its_service_manager_is_told_when_it_listens(daemon, tmp_path):
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.bind(str(tmp_path / "notify"))
        manager.settimeout(20)
        with served(daemon(answers(WHOLE)).path, f"unix:{tmp_path}/web", NOTIFY_SOCKET=str(tmp_path / "notify")):
            assert manager.recv(100) == b"READY=1"
            assert b"gpon_up 1\n" in ask(str(tmp_path / "web"))
    with served("/nowhere", f"unix:{tmp_path}/web", NOTIFY_SOCKET="/nowhere/at/all"):
        assert b"gpon_up 0\n" in ask(str(tmp_path / "web"))


@pytest.mark.parametrize("text", ["0", "-1", "nan", "inf", "1e9", "x", ""])
def test_a_time_that_is_none_is_refused(text):
    done = subprocess.run([sys.executable, PROGRAM, "--once", "--timeout", text], capture_output=True, text=True, timeout=60)
    assert done.returncode == 2 and "isn't a number of seconds" in done.stderr
