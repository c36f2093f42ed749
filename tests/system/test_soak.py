"""A short day of the network that bench/soak.py keeps at work for a week: everybody does each of his deeds once, and then
tables, files, counters, cards and both ports of the protection group are compared."""

import sys

import pytest

from chassis import REPO

sys.path.insert(0, str(REPO / "bench"))
from soak import Soak  # noqa: E402

SEED = 20


@pytest.fixture
def soak(tmp_path):
    made = Soak(tmp_path, SEED)
    try:
        made.open()
        yield made
    finally:
        made.close()
        print((tmp_path / "journal.txt").read_text()[-20_000:])


def test_after_everybody_has_done_everything_nothing_differs(soak):
    soak.everything_once()
    soak.end_of_day(whole=False)
    assert all(actor.has_done_all for actor in soak.actors.values())
    assert soak.findings == []
