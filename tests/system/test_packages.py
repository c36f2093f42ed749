"""What the packages are made from fits together. tests/packages/run makes them and tries them on fresh machines."""

import pathlib
import re
import subprocess

import pytest

from chassis import BUILD, program

ROOT = pathlib.Path(__file__).resolve().parents[2]
DEBIAN = ROOT / "debian"
UNITS = ["gpon.service", "gpon-sim.chassis-sim.service", "gpon-tools.gpon-exporter.service"]


def built():
    """{installed program of a unit: that of this build}"""
    exporter = ROOT / "tools/exporter/gpon-exporter"
    return {"/usr/sbin/gpon": program("gpon"), "/usr/bin/chassis-sim": program("chassis-sim"), "/usr/bin/gpon-exporter": exporter}


def run(*argv, **more):
    return subprocess.run([str(word) for word in argv], capture_output=True, text=True, timeout=60, **more)


@pytest.fixture(params=UNITS)
def unit(request, tmp_path):
    """The unit with the programs of this build in place of the installed ones."""
    text = (DEBIAN / request.param).read_text()
    for installed, name in built().items():
        text = re.sub(rf"={installed}(?=\s)", f"={name}", text)
    path = tmp_path / re.sub(r"^gpon-(?:sim|tools)\.", "", request.param)
    path.write_text(text)
    return path


def faults(unit):
    """Of the unit itself: what else is wrong on this machine isn't ours."""
    made = run("systemd-analyze", "verify", "--man=no", unit)
    return [line for line in (made.stdout + made.stderr).splitlines() if unit.name in line]


def test_unit_has_no_fault(unit):
    assert faults(unit) == []
    unit.write_text(unit.read_text() + "NoSuchDirective=1\n")
    assert len(faults(unit)) == 1


def test_unit_shuts_off_what_it_can(unit):
    """20 of 100 are left: the network, and what the platform shares."""
    made = run("systemd-analyze", "security", "--offline=yes", "--threshold=25", unit)
    assert made.returncode == 0, made.stdout
    assert re.search(r"^(?:User=gpon|DynamicUser=yes)$", unit.read_text(), re.M)
    for wanted in ("NoNewPrivileges", "ProtectSystem", "SystemCallFilter"):
        assert re.search(rf"^{wanted}=", unit.read_text(), re.M)


def test_scripts_can_be_read_by_a_shell():
    scripts = [path for path in DEBIAN.iterdir() if path.suffix in (".postinst", ".prerm", ".postrm")]
    assert len(scripts) == 5
    for script in ("gpon.prerm", "gpon-sim.prerm"):  # started without debhelper, which then doesn't stop them
        assert re.search(r'"\$1" = remove.*\n +deb-systemd-invoke stop', (DEBIAN / script).read_text())
    for script in scripts:
        made = run("sh", "-n", script)
        assert made.returncode == 0, made.stderr
        assert "#DEBHELPER#" in script.read_text() and script.read_text().startswith("#!/bin/sh\nset -e\n")


def packages():
    return set(re.findall(r"^Package: (\S+)", (DEBIAN / "control").read_text(), re.M))


def test_every_package_is_filled_and_told_of():
    staged = set(re.findall(r"call stage,([\w-]+),", (DEBIAN / "rules").read_text()))
    page = (ROOT / "docs/installation.md").read_text()
    assert staged == packages()
    assert packages() <= set(re.findall(r"^\| `([\w-]+)`", page, re.M))


def test_build_needs_stand_in_the_control_file():
    """What the tree's own setup installs to build, without what only tests need."""
    control = (DEBIAN / "control").read_text()
    needs = control[control.index("Build-Depends:"):control.index("\n\n")]
    implied = {"build-essential", "dpkg-dev", "g++", "gcc", "make", "patch"}
    listed = (ROOT / "third_party/frr/packages.txt").read_text().split()
    assert {name for name in listed if name not in implied and not re.search(rf"[ ,]{re.escape(name)}\b", needs)} == set()


# ---- what is installed -------------------------------------------------------------------------------


@pytest.fixture(scope="module")
def installed(tmp_path_factory):
    """All components of this build, as the packages have them."""
    place = tmp_path_factory.mktemp("installed")
    components = re.findall(r"call stage,[\w-]+,([\w-]+)", (DEBIAN / "rules").read_text())
    for component in components:
        made = run("cmake", "--install", BUILD, "--prefix", place / "usr", "--component", component)
        assert made.returncode == 0, made.stderr
    return place / "usr"


def test_every_page_is_installed(installed):
    pages = {path.name for path in (ROOT / "docs/man").iterdir()}
    assert {path.name for path in (installed / "share/man").rglob("*") if path.is_file()} == pages
    guides = {path.name for path in (ROOT / "docs").glob("*.md")}
    assert {path.name for path in (installed / "share/doc/gpon").glob("*.md")} == guides


def test_every_completed_program_has_its_completion(installed):
    completed = set(re.findall(r"^complete .* (\S+)$", (ROOT / "tools/completion/gpon.bash").read_text(), re.M))
    assert {path.name for path in (installed / "share/bash-completion/completions").iterdir()} == completed


def test_installed_programs_start(installed):
    """They find libfrr where the package has it, and nothing of the tree."""
    for name in ("sbin/gpon", "bin/gponsh", "bin/chassis-sim", "bin/simctl", "bin/gpon-sandbox"):
        made = run(installed / name, "--help", env={})
        assert made.returncode == 0 and "Usage" in made.stdout, made.stderr
        libraries = run("ldd", installed / name, env={"PATH": "/usr/bin:/bin"}).stdout
        assert "not found" not in libraries
        found = re.search(r"libfrr\S* => (\S+)", libraries)
        assert found is None or pathlib.Path(found[1]).resolve() == installed / "lib/gpon/libfrr.so.0"


# ---- guides ------------------------------------------------------------------------------------------


def test_every_page_can_be_reached_from_the_readme():
    """By links, or by names in the README's table; examples from the guides."""
    found, todo = set(), [ROOT / "README.md"]
    while todo:
        page = todo.pop()
        if page in found:
            continue
        found.add(page)
        text = page.read_text()
        targets = {page.parent / target for target in re.findall(r"\]\(([^)#:]+\.md)", text)}
        targets |= {each for name in re.findall(r"`((?:docs|gpon|bench)/[\w./*-]+\.md)`", text) for each in ROOT.glob(name)}
        todo += [target.resolve() for target in targets]
    assert {path for path in (ROOT / "docs").glob("*.md")} <= found
    told = "".join(page.read_text() for page in found)
    assert [path.name for path in (ROOT / "docs/examples").iterdir() if path.name not in told] == []


def test_index_lists_every_guide():
    index = (ROOT / "docs/index.md").read_text()
    guides = {path.name for path in (ROOT / "docs").glob("*.md")} - {"index.md"}
    assert set(re.findall(r"\]\(([\w-]+\.md)\)", index)) == guides
    pages = {path.stem for path in (ROOT / "docs/man").iterdir()}
    assert {name for name in re.findall(r"`man (?:\d )?([\w.-]+)`", index)} <= pages


def test_guides_link_to_what_is_there():
    for page in [*(ROOT / "docs").glob("*.md"), ROOT / "README.md"]:
        for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", page.read_text()):
            assert (page.parent / target).exists(), f"{page.name}: {target}"
