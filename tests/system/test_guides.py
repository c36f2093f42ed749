"""The guides know what the system has."""

import re

from chassis import REPO

DATA = [*sorted(REPO.glob("gpon/commands/*.def")), *sorted(REPO.glob("lib/lib_kavo/*.def"))]
COMMAND = re.compile(r'GPON_(?:CMD|SETTING)\(\w+,\s*NODES\([^)]*\),\s*"([^"]*)"')
KEYWORD = re.compile(r"[a-z][a-z0-9_-]+")


def test_every_keyword_of_a_command_stands_in_the_operators_guide():
    guide = set(re.findall(r"[A-Za-z0-9_-]+", (REPO / "docs/operators-guide.md").read_text()))
    syntaxes = [syntax for file in DATA for syntax in COMMAND.findall(file.read_text())]
    assert len(syntaxes) > 100
    missing = {
        syntax: words
        for syntax in syntaxes
        if (words := [w for w in re.split(r"[\s()|<>]+", syntax) if KEYWORD.fullmatch(w) and w not in guide])
    }
    assert not missing


def test_links_between_the_guides_lead_somewhere():
    for page in [REPO / "README.md", *REPO.glob("docs/*.md"), *REPO.glob("*/README.md")]:
        for target in re.findall(r"\]\(([^)#\s]+)[^)]*\)", page.read_text()):
            if "://" not in target:
                assert (page.parent / target).exists(), f"{page}: {target}"


def test_the_table_of_rooms_is_that_of_the_build():
    rooms = REPO / "ov_gpon/ov_app_gpon"
    row = re.compile(r"^\| `(\w+)/` \| (.*?) \|", re.M)
    table = row.findall((REPO / "docs/architecture.md").read_text())
    told = {room: set(re.findall(r"`(\w+)`", uses)) for room, uses in table}
    line = re.compile(r"^gpon_room\((\w+)(?: ROOMS ([^)]*))?", re.M)
    built = {room: set(uses.split()) for room, uses in line.findall((rooms / "CMakeLists.txt").read_text())}
    for all_or_none in ("shape", "start"):
        del built[all_or_none]
    assert {room: told[room] for room in built} == built
    assert set(told) == {place.name for place in rooms.iterdir() if place.is_dir()}
