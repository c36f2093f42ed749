"""What was done, a line for each deed, so that a failure can be told and done again."""

import time


class Journal:
    """Lines "SECONDS DAY ACTOR: what was done -> what came of it". seconds: since the beginning."""

    def __init__(self, path, loud=False):
        self._file = open(path, "a", buffering=1)
        self._began = time.monotonic()
        self._loud = loud
        self.day = 0
        self.deeds = {}  # actor: {deed: how often}

    def note(self, who, what, outcome=""):
        line = f"{time.monotonic() - self._began:8.2f} {self.day} {who}: {what}"
        if outcome != "":
            line += f" -> {str(outcome)!r}"
        self._file.write(line + "\n")
        if self._loud:
            print(line, flush=True)

    def count(self, who, deed):
        mine = self.deeds.setdefault(who, {})
        mine[deed] = mine.get(deed, 0) + 1
