"""The guides know what the system has."""

import re

from chassis import REPO

DATA = [*sorted(REPO.glob("gpon/commands/*.def")), *sorted(REPO.glob("lib/lib_kavo/*.def"))]
COMMAND = re.compile(r'GPON_CMD\(\w+,\s*NODES\([^)]*\),\s*"([^"]*)"')
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
