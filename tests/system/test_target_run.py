"""A program of tests that hangs on the target is ended, told, and asked again for what it left undone."""

import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "target"))
import run as target_run  # noqa: E402

TESTS = ["A.a", "A.b", "A.c", "B.d"]
HANGS_WHEN = {"once": "chosen.startswith('-')", "always": "True", "never": "False"}

# Four tests, the second of which may hang; lists and reports as a program of GoogleTest does.
PROGRAM = """#!/usr/bin/python3
import json, sys, time
options = dict(word[8:].split("=", 1) for word in sys.argv[1:] if "=" in word)
if "--gtest_list_tests" in sys.argv:
    sys.exit(print("A.\\n  a\\n  b\\n  c\\nB.\\n  d"))
chosen = options["filter"]
passed = []
for test in {tests} if chosen.startswith("-") else chosen.split(":"):
    print("[ RUN      ] " + test, flush=True)
    if test == "A.b" and {hangs}:
        time.sleep(600)
    print("[       OK ] " + test, flush=True)
    passed.append({{"name": test, "result": "COMPLETED", "status": "RUN"}})
with open(options["output"].removeprefix("json:"), "w") as report:
    json.dump({{"testsuites": [{{"name": "all", "testsuite": passed}}]}}, report)
"""


@pytest.fixture
def play(tmp_path, monkeypatch):
    (tmp_path / "units").mkdir()
    (tmp_path / "tests" / "unit").mkdir(parents=True)
    monkeypatch.setattr(target_run, "WORK", tmp_path)
    monkeypatch.setattr(target_run, "TARGET", tmp_path)
    monkeypatch.setattr(target_run, "SILENCE", 2)
    monkeypatch.setattr(target_run, "target_command", lambda program, name=None: [str(program)])

    def play_program(hangs):
        program = tmp_path / "program"
        program.write_text(PROGRAM.format(tests=TESTS, hangs=HANGS_WHEN[hangs]))
        program.chmod(0o755)
        return target_run.run_unit("program", [str(program)], {}, [])

    return play_program


def test_a_program_that_ends_is_counted(play):
    result = play("never")
    assert (result.passed, result.failed, result.again) == (4, 0, ())


def test_a_program_that_hangs_once_is_told_and_its_rest_is_run(play, capsys):
    result = play("once")
    assert (result.passed, result.failed, result.again) == (4, 0, ("A.b",))
    assert "program hung: said nothing for 2 s in A.b" in capsys.readouterr().out


def test_a_program_that_hangs_again_has_failed_and_says_where(play):
    result = play("always")
    assert (result.failed, result.again) == (1, ())
    assert result.problem.splitlines()[0] == "hung: said nothing for 2 s"
    assert result.problem.splitlines()[-1] == "[ RUN      ] A.b"
