"""The exporter beside the daemon: what it tells a scraper, and that it never hangs."""

import http.client
import json
import re
import socket
import subprocess
import sys
import threading

import pytest
from prometheus_client.openmetrics.parser import text_string_to_metric_families

from chassis import BIN, REPO, VTY_SOCKET, wait_for
from test_oncall import PORTS, shelf  # noqa: F401

PLACE = REPO / "tools" / "exporter"
EXPORTER = PLACE / "gpon-exporter"
CATALOGUE = {
    line.split()[0]: line.split()[1] for line in (PLACE / "metrics.txt").read_text().splitlines() if line[:1] not in ("", "#")
}


class UnixConnection(http.client.HTTPConnection):
    """HTTP over a Unix socket: it needs no port of this machine."""

    def __init__(self, path, timeout=30):
        super().__init__("localhost", timeout=timeout)
        self.place = path

    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.sock.settimeout(self.timeout)
        self.sock.connect(self.place)


class Exporter:
    def __init__(self, place, vty, *options):
        self.socket = str(place / "exporter.sock")
        command = [sys.executable, str(EXPORTER), "--listen", f"unix:{self.socket}", "--vty", str(vty), *options]
        self.process = subprocess.Popen(command, stderr=subprocess.PIPE, text=True)
        assert "listens on" in self.process.stderr.readline()

    def get(self, path="/metrics"):
        connection = UnixConnection(self.socket)
        connection.request("GET", path)
        answer = connection.getresponse()
        text = answer.read().decode()
        connection.close()
        return answer, text

    def scrape(self):
        """{(name, labels): value}; every line is read strictly, and is of a name in the catalogue, of its type."""
        answer, text = self.get()
        assert answer.status == 200 and answer.headers["Content-Type"].startswith("application/openmetrics-text; version=1.0.0")
        values = {}
        for family in text_string_to_metric_families(text):
            for sample in family.samples:
                assert CATALOGUE[sample.name] == family.type and family.documentation
                key = (sample.name, tuple(sorted(sample.labels.items())))
                assert key not in values
                values[key] = sample.value
        return values

    def end(self):
        self.process.kill()
        self.process.communicate()


@pytest.fixture
def exporter(shelf, tmp_path):  # noqa: F811
    made = Exporter(tmp_path, shelf.path(VTY_SOCKET), "--onus", "--timeout", "20")
    yield made
    made.end()


def of(values, name, **labels):
    return values.get((name, tuple(sorted((key, str(value)) for key, value in labels.items()))))


def test_a_scrape_tells_what_the_shows_tell(shelf, exporter):  # noqa: F811
    port = ("configure terminal", f"interface {PORTS[0]}")
    shelf.vty(*port, "pm protocol enable", "onu 1 type KLM-618 sn ABCD00000001", "onu 2 type KLM-618 sn ABCD00000002")
    shelf.vty("configure terminal", "interface gpon-onu1/1:2", 'name a\\"b')
    shelf.simctl("onu", "add", "ABCD00000001", "port=gpon-olt1/1")
    shelf.simctl("onu", "add", "ABCD000000EE", "port=gpon-olt2/1")
    for words in (": 1 operational", "; 1 unconfigured"):
        shelf.wait_for(lambda: words in shelf.vty("show chassis health"), 20, words)  # noqa: B023
    assert shelf.vty("configure terminal", "gpon", "no profile onutype nope").result == 1
    values = exporter.scrape()
    assert of(values, "gpon_up") == 1
    states = {state: of(values, "gpon_onus", slot=1, port=1, state=state) for state in ("init", "added", "authpass", "operational")}
    assert states["operational"] == 1 and sum(states.values()) == 2
    assert of(values, "gpon_onus_unconfigured", slot=2, port=1) == 1
    assert of(values, "gpon_card_in_service", slot=1, type=27) == of(values, "gpon_card_in_service", slot=2, type=27) == 1
    assert of(values, "gpon_alarms", severity="critical") == 0
    assert of(values, "gpon_refused_requests_total", door="vty") == 1
    memory = {row["table"]: row for row in map(json.loads, shelf.vty("json show chassis memory").splitlines())}
    for table, row in memory.items():
        assert of(values, "gpon_table_rows", table=table) == row["rows"]
        assert of(values, "gpon_table_bytes", table=table) == row["bytes"]
    onus = {dict(labels)["onu"]: (dict(labels), value) for (name, labels), value in values.items() if name == "gpon_onu_state"}
    assert onus["1"][1] == 3 and onus["2"][0]["name"] == 'a\\"b'
    assert of(values, "gpon_onu_optical_reading", slot=1, port=1, onu=1, reading="PhysicalDistance") is not None
    counters = [labels for (name, labels) in values if name == "gpon_pon_counter"]
    assert len(counters) == 30
    handlers = {row["handler"] for row in map(json.loads, shelf.vty("json show loop").splitlines())}
    assert handlers & {dict(labels)["handler"] for (name, labels) in values if name == "gpon_loop_runs_total"}
    assert {name for name, _ in values} <= set(CATALOGUE)


def test_a_daemon_that_goes_and_comes_is_told_by_gpon_up(shelf, exporter):  # noqa: F811
    assert of(exporter.scrape(), "gpon_up") == 1
    shelf.kill_daemon()
    values = exporter.scrape()
    assert {name for name, _ in values} == {"gpon_up", "gpon_scrape_duration_seconds"} and of(values, "gpon_up") == 0
    stop = threading.Event()
    seen = set()

    def scrape_on():
        while not stop.is_set():
            seen.add(of(exporter.scrape(), "gpon_up"))

    scraper = threading.Thread(target=scrape_on)
    scraper.start()
    try:
        shelf.start_daemon()
        wait_for(lambda: 1 in seen, 30, "a scrape that succeeds")
    finally:
        stop.set()
        scraper.join(60)
    assert not scraper.is_alive() and seen == {0, 1}
    assert of(exporter.scrape(), "gpon_up") == 1


def test_one_that_says_nothing_or_nonsense_is_given_up(tmp_path):
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as silent:
        silent.bind(str(tmp_path / "vty"))
        silent.listen(8)
        exporter = Exporter(tmp_path, tmp_path / "vty", "--timeout", "0.5")
        try:
            assert of(exporter.scrape(), "gpon_up") == 0
            assert "no answer in time" in exporter.process.stderr.readline().replace("timed out", "no answer in time")

            def answer_nonsense():
                first, _ = silent.accept()  # what the scrape before left
                first.close()
                connection, _ = silent.accept()
                with connection:
                    while connection.recv(4096):
                        connection.sendall(b'gpon_onus{state="x} 5 5\0\0\0\0')

            speaker = threading.Thread(target=answer_nonsense, daemon=True)
            speaker.start()
            assert of(exporter.scrape(), "gpon_up") == 0
            speaker.join(20)
            assert exporter.get("/other")[0].status == 404
        finally:
            exporter.end()


def test_only_loopback_can_be_listened_on():
    for address in ("0.0.0.0:9747", "192.0.2.1:9747", "127.0.0.1:70000", "9747"):
        done = subprocess.run([sys.executable, EXPORTER, "--listen", address], capture_output=True, text=True, timeout=30)
        assert done.returncode == 2 and "is neither" in done.stderr


def test_once_prints_and_ends(tmp_path):
    done = subprocess.run([sys.executable, EXPORTER, "--once", "--vty", tmp_path / "none"], capture_output=True, text=True, timeout=30)
    assert done.returncode == 1 and "gpon_up 0\n" in done.stdout and done.stdout.endswith("# EOF\n")


def names_in(text):
    return set(re.findall(r"\bgpon_[a-z_]+", text))


def test_rules_dashboard_and_guide_use_names_that_are_exported():
    dashboard = json.loads((PLACE / "dashboard.json").read_text())
    expressions = [target["expr"] for panel in dashboard["panels"] for target in panel["targets"]]
    assert len(expressions) > 20
    rules = (PLACE / "rules.yml").read_text()
    alerts = re.findall(r"- alert: (\w+)\n +expr: (\|\n(?: {10}.*\n)+|.*\n)", rules)
    assert len(alerts) == rules.count("- alert:") > 8
    for text in (*expressions, *(expression for _, expression in alerts)):
        assert names_in(text) and names_in(text) <= set(CATALOGUE), text
    guide = (REPO / "docs/metrics.md").read_text()
    assert names_in(guide) - {"gpon_"} == set(CATALOGUE)
    assert set(re.findall(r"`(Gpon\w+)`", guide)) == {name for name, _ in alerts}
    # what the daemon's source prints is what the catalogue has, but for what the exporter adds
    source = (REPO / "gpon/cli/chassis/chassis_metrics.cpp").read_text()
    assert set(re.findall(r'"(gpon_[a-z_]+)"', source)) == set(CATALOGUE) - {"gpon_up", "gpon_scrape_duration_seconds"}


# ---- the page ------------------------------------------------------------------------------------------------------------------

PAGE = (REPO / "docs/metrics.md").read_text()


def documented():
    """{name: labels} and {word in the column "Is"} of the page's table, by name."""
    labels, words = {}, {}
    for names, told, text in re.findall(r"^\| (`gpon_[^|]*) \| ([^|]*?) ?\| (.*) \|$", PAGE, re.M):
        for name in re.findall(r"`(gpon_\w+)`", names):
            labels[name] = re.findall(r"`(\w+)`", told)
            words[name] = set(re.findall(r"`(\w+)`", text))
    return labels, words


UPLINK = "xe8/1"


def test_each_figure_is_as_the_page_lists_it(shelf, exporter):  # noqa: F811
    """Every name with its labels, in both ways, on a chassis where nothing that could be told is absent."""
    shelf.vty("configure terminal", f"interface {PORTS[0]}", "pm protocol enable", "pm data enable", "onu 1 type KLM-618 sn ABCD00000001")
    shelf.vty("configure terminal", "interface gpon-onu1/1:1", "pm enable")
    shelf.event("new-if", ifindex=UPLINK, flags="up+running")
    shelf.wait_for(lambda: UPLINK in shelf.vty("show names interface"), 20, "the uplink")
    shelf.vty("configure terminal", f"interface {UPLINK}", "pm enable")
    assert shelf.vty("configure terminal", "gpon", "no profile onutype nope").result == 1
    shelf.write("/flash/gpon.conf", "gpon\n")
    for prio in (300, 410, 480):
        shelf.event("cfg-slot-sync-start", appid=30047, slotid=1, cfg_prio=prio, appName="gpon")
    shelf.event("snmp-mib-table-save", sequence=1, tablename="sPonTable")
    labels, words = documented()
    assert set(labels) == set(CATALOGUE)
    late = {"gpon_restore_ended_timestamp_seconds", "gpon_restore_duration_seconds"}  # a restore takes sixteen seconds
    passes = {name for name in labels if name.startswith("gpon_counter_pass")}  # on the quarter hour
    seen = {}

    def told():
        for name, found in exporter.scrape():
            seen.setdefault(name, set()).add(found)
        return late <= set(seen)

    wait_for(told, 90, "the end of the restore", 0.5)
    assert set(labels) - passes - set(seen) == set()
    for name, samples in seen.items():
        for found in samples:
            assert {label for label, _ in found} == set(labels[name]), name
    for name, label in (("gpon_onus", "state"), ("gpon_table_saves_total", "result")):
        assert {dict(found)[label] for found in seen[name]} == words[name] - {"show"}, name


def commands():
    """The lines of the page's first block, without their remarks."""
    block = re.search(r"((?:^    \S.*\n)+)", PAGE, re.M)[1]
    return [re.sub(r" +#.*", "", line.strip()) for line in block.splitlines()]


def fetch(chassis, what):
    script = ("import http.client,socket,sys\nc=http.client.HTTPConnection('127.0.0.1',9747)\n"
              "p=sys.argv[1]\nif p!='tcp':\n c.sock=socket.socket(socket.AF_UNIX); c.sock.connect(p)\n"
              "c.request('GET','/metrics'); print(c.getresponse().read().decode())")  # fmt: skip
    return chassis.run("/usr/bin/python3", "-c", script, what).stdout


def test_the_commands_of_the_page_do_what_it_says(chassis):
    chassis.start()
    chassis.start_daemon()
    assert [command.split()[0] for command in commands()] == ["gpon-exporter"] * 3 + ["./run"]
    path = {"PATH": f"{PLACE}:{BIN}:/usr/bin:/bin"}
    for number, (command, place) in enumerate(zip(commands(), ("tcp", "/run/gpon-exporter.sock"))):
        chassis.spawn(f"exporter{number}", "sh", "-c", f"exec {command}", env=path)
        chassis.wait_for(lambda: "listens on" in chassis.output(f"exporter{number}"), 30, command)  # noqa: B023
        assert "gpon_up 1\n" in fetch(chassis, place) and place.replace("tcp", "http://127.0.0.1:9747/metrics") in chassis.output(f"exporter{number}")
    once = chassis.run("env", f"PATH={path['PATH']}", "sh", "-c", commands()[2])
    assert once.returncode == 0 and "gpon_up 1\n" in once.stdout and once.stdout.endswith("# EOF\n")
    within = re.fullmatch(r'\./run --exec "\$PWD/(\S+)" --once', commands()[3])
    assert REPO / within[1] == EXPORTER  # what ./run --exec does, test_run.py plays


def test_options_and_samples_of_the_page_are_those_of_the_program():
    usage = subprocess.run([sys.executable, EXPORTER, "--help"], capture_output=True, text=True, timeout=30).stdout
    usage = re.sub(r"\s+", " ", usage)
    assert set(re.findall(r"^\| `(--[a-z]+)", PAGE, re.M)) == set(re.findall(r"(--[a-z]+)", usage)) - {"--help"}
    address = re.search(r'targets: \["([^"]+)"\]', PAGE)[1]
    assert f"default {address}" in usage and "for one scrape (default 10)" in usage and "for one scrape, 10;" in PAGE
    scrape_timeout = int(re.search(r"scrape_timeout: (\d+)s", PAGE)[1])
    assert 10 < scrape_timeout < int(re.search(r"scrape_interval: (\d+)s", PAGE)[1])  # "below the scraper's own"
    rules = re.search(r"rule_files:\n +- /usr/share/gpon/(\S+)", PAGE)[1]
    assert rules == "exporter/rules.yml" and (PLACE / "rules.yml").exists()
    shows = set(re.findall(r"`(show [a-z ]+?)(?: \.\.\.)?`", PAGE))
    syntaxes = " ".join(path.read_text() for path in [*REPO.glob("gpon/commands/*.def"), *REPO.glob("lib/lib_kavo/*.def")])
    assert len(shows) > 6 and [show for show in sorted(shows) if f'"{show}"' not in syntaxes] == []
