"""The manager's guide as tests play it: a chapter's commands, and what they print, as they stand on the page."""

import re

from chassis import REPO

GUIDE = REPO / "docs" / "managers-guide.md"


def chapter(title):
    return re.search(rf"^## {title}\n(.*?)^## ", GUIDE.read_text(), re.S | re.M)[1]


def steps(title):
    """[(heading, commands, what they print)] of a chapter, in its order; the settings first."""
    found = []
    heading = ""
    for head, kind, text in re.findall(r"^### ([^\n]*)$|^```(sh|text)\n(.*?)^```$", chapter(title), re.S | re.M):
        if head:
            heading = head
        elif kind == "sh":
            found.append([heading, text, ""])
        else:
            found[-1][2] += text
    return found
