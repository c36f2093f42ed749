"""The man pages and the completion say what the programs say."""

import pathlib
import re
import subprocess

import pytest

from chassis import program

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = sorted((ROOT / "docs/man").glob("*.[1-8]"))
COMPLETION = ROOT / "tools/completion/gpon.bash"
# Programs with options: section of the page.
PROGRAMS = {"gpon": 8, "gponsh": 1, "gpon-sandbox": 1, "chassis-sim": 1, "simctl": 1, "gpon-support": 1,
            "gpon-exporter": 8}
SCRIPTS = {"gpon-exporter": ROOT / "tools/exporter/gpon-exporter"}  # not built
# Programs without, which only the page tells.
BARE = {"ov_env_get": "ov_env_get.1", "ov_env_put": "ov_env_get.1", "ov_check_file": "ov_check_file.1"}
COMPLETED = sorted(PROGRAMS)


def run(*argv, **more):
    return subprocess.run(argv, capture_output=True, text=True, timeout=60, **more)


def options_of(text):
    """The long and short options that a text names."""
    return set(re.findall(r"(?<![\w-])(--[a-z][a-z-]*|-[a-zA-Z])(?![\w-])", text))


def help_of(name):
    made = run(SCRIPTS.get(name) or program(name), "--help")
    assert made.returncode == 0, made.stderr
    return made.stdout


def rendered(page):
    made = run("mandoc", "-Tutf8", "-O", "width=200", str(page))
    assert made.returncode == 0, made.stderr
    return re.sub(".\b", "", made.stdout).replace("−", "-").replace("‐", "-")


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_page_is_without_fault(page):
    made = run("mandoc", "-Tlint", "-Wwarning", str(page))
    assert made.stdout + made.stderr == ""
    assert f".Dt {page.stem.upper()} {page.suffix[1:]}" in page.read_text()


def test_every_program_has_a_page():
    wanted = {f"{name}.{section}" for name, section in PROGRAMS.items()} | set(BARE.values())
    assert wanted <= {page.name for page in PAGES}
    for name, page in BARE.items():
        program(name)
        assert re.search(rf"^\.Nm {name}\b", (ROOT / "docs/man" / page).read_text(), re.M)


@pytest.mark.parametrize("name", PROGRAMS)
def test_page_and_help_have_the_same_options(name):
    page = rendered(ROOT / f"docs/man/{name}.{PROGRAMS[name]}")
    options = page[page.index("SYNOPSIS"):page.index("EXIT STATUS")]
    assert options_of(options) == options_of(help_of(name)) | ({"--"} & options_of(options))


def test_references_lead_to_pages_that_are_there():
    system = {("snmpd", "8"), ("md5sum", "1")}
    ours = {(page.stem, page.suffix[1:]) for page in PAGES}
    for page in PAGES:
        for name, section in re.findall(r"\.Xr (\S+) (\d)", page.read_text()):
            assert (name, section) in ours | system, page.name


@pytest.fixture(scope="module")
def sim_help():
    """What `simctl help` prints."""
    script = (f"{program('chassis-sim')} >/tmp/out & until {program('simctl')} status; do sleep 0.1; done >/tmp/out 2>&1; "
              f"{program('simctl')} help")
    made = run(program("gpon-sandbox"), "--", "sh", "-c", script)
    assert made.returncode == 0, made.stderr
    return made.stdout


def test_scenario_page_has_every_command(sim_help):
    commands = set(re.findall(r"^([a-z][a-z-]+)", sim_help, re.M))
    assert "card-fault" in commands and len(commands) > 40
    items = re.findall(r'^\.It Li "([a-z][a-z-]+)\b', (ROOT / "docs/man/chassis-scenario.5").read_text(), re.M)
    assert set(items) == commands


def test_daemon_page_has_every_variable():
    """Whatever the daemon's code reads from its environment stands in its page."""
    read = set()
    for folder in ("lib", "gpon", "ov_gpon", "hal", "mono", "platform"):
        for source in (ROOT / folder).rglob("*.cpp"):
            text = source.read_text()
            read |= set(re.findall(r'getenv\("(\w+)"\)', text))
            read |= set(re.findall(r'"(OV_ENV_[A-Z_0-9]+)"', text)) if "getenv" in text else set()
    page = (ROOT / "docs/man/gpon.8").read_text()
    private = {"KRUMROOT"}  # set for tests of the crash handler
    assert {name for name in read - private if not re.search(rf"\b{name}\b", page)} == set()


# ---- completion --------------------------------------------------------------------------------------


def completed(*words, path=""):
    """What bash offers for the last of the words, as typed."""
    quoted = " ".join("'" + word.replace("'", "'\\''") + "'" for word in words)
    script = f"""
        source {COMPLETION}
        COMP_WORDS=({quoted}); COMP_CWORD={len(words) - 1}; COMPREPLY=()
        found=$(complete -p "${{COMP_WORDS[0]}}") || exit 1
        function=${{found#*-F }}; function=${{function%% *}}
        $function "${{COMP_WORDS[0]}}"
        [ ${{#COMPREPLY[@]}} -eq 0 ] || printf '%s\\n' "${{COMPREPLY[@]}}"
    """
    made = run("bash", "-c", script, env={"PATH": f"{path}:/usr/bin:/bin"})
    assert made.returncode == 0, made.stderr
    assert made.stderr == ""
    return made.stdout.splitlines()


@pytest.mark.parametrize("name", COMPLETED)
def test_completion_has_every_option(name):
    assert options_of(help_of(name)) - {"--"} <= set(completed(name, "-"))


@pytest.mark.parametrize("name", COMPLETED)
def test_completion_offers_no_other_option(name):
    assert set(completed(name, "-")) - {"--"} <= options_of(help_of(name))


def test_completion_of_simctl_without_a_chassis(sim_help):
    commands = set(re.findall(r"^([a-z][a-z-]+)", sim_help, re.M))
    bin_dir = str(pathlib.Path(program("simctl")).parent)
    offered = completed("simctl", "--control", "/nowhere", "", path=bin_dir)
    assert set(offered) - {"--control", "--help"} == commands
    assert completed("simctl", "card-fault-n", path=bin_dir) == ["card-fault-names"]


def test_completion_of_files(tmp_path):
    (tmp_path / "saved.conf").write_text("")
    assert completed("gponsh", "-f", f"{tmp_path}/sav") == [f"{tmp_path}/saved.conf"]
    assert completed("chassis-sim", "--byte-order", "b") == ["big"]


def test_completion_of_an_operators_line(tmp_path):
    """Keywords come from the daemon; here a shell that prints as it does."""
    shell = tmp_path / "gponsh"
    shell.write_text("#!/bin/sh\n[ \"$*\" = '-s /tmp/x -c list' ] || exit 3\n"
                     "printf '  show onu status\\n  show onu WORD status\\n  show slot info\\n  exit\\n'\n")
    shell.chmod(0o755)
    assert completed("gponsh", "-s", "/tmp/x", "-c", '"show o', path=str(tmp_path)) == ["show onu status", "show onu"]
