"""Handlers read the arguments of commands by names that their commands have."""

import re

from chassis import REPO

SYNTAX = re.compile(r'GPON_(?:CMD|SETTING)\([^"]*?"([^"]*)"')
READ = re.compile(r'\bwords\.(?:has|text|text_or|number|number_or|is_enable|all)(?:<\w+>)?\(\s*"([^"]+)"')
INCLUDE = re.compile(r'#include "(?:commands/)?(\w+\.def)"')
DATA = {path.name: path for path in [*REPO.glob("gpon/commands/*.def"), *REPO.glob("lib/lib_kavo/*.def")]}


def names_of(syntax):
    """All words of a syntax that a name may consist of: keywords and words in capitals."""
    return set(re.findall(r"[A-Za-z0-9][\w./:+-]*|A\.B\.C\.D", re.sub(r"<\d+-\d+>", " ", syntax)))


def known_to(source):
    """The words of the commands that a source has handlers for; all of them for one that helps others."""
    included = [DATA[name] for name in INCLUDE.findall(source) if name in DATA]
    return {w for path in included or DATA.values() for s in SYNTAX.findall(path.read_text()) for w in names_of(s)}


def test_every_name_that_is_read_is_one_of_its_commands():
    unknown = {}
    read = 0
    for path in [*REPO.glob("gpon/**/*.cpp"), *REPO.glob("gpon/**/*.h"), *REPO.glob("lib/lib_kavo/*.cpp")]:
        source = path.read_text()
        names = READ.findall(source)
        read += len(names)
        missing = [name for name in names if not set(name.split()) <= known_to(source)]
        if missing:
            unknown[path.name] = missing
    assert read > 50
    assert not unknown
