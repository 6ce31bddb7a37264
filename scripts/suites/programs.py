"""The suites of a tree: which program has which test file, and how one test of it is run."""
import os
import re
import subprocess
import tempfile
from typing import NamedTuple

SUITE = re.compile(r"\b(?:kyr_add_test_suite|target_sources)\(\s*(\w+)\s+(?:SOURCES|PRIVATE)\s+([^)]*)\)")
ELSEWHERE = re.compile(r"^if\(WIN32\).*?^(?:else|endif)\(\)", re.M | re.S)
PATIENCE = 120  # seconds, as CTest gives a whole suite


class Test(NamedTuple):
    program: str  # the suite that has it
    path: str
    name: str     # Suite.Name, without the names of parameters


class NotRun(Exception):
    """A test that the built program does not have, or that it passed over."""


def test_files(root, folder="tests"):
    """(program, path) of the test files that are built here, not on Windows only."""
    for list_file in sorted((root / folder).rglob("CMakeLists.txt")):
        for program, words in SUITE.findall(ELSEWHERE.sub("", list_file.read_text(encoding="utf-8"))):
            for name in words.split():
                if name.endswith("Test.cpp"):
                    yield program, (list_file.parent / name).relative_to(root).as_posix()


def run(programs, test):
    """Runs the test, each of its variants; (whether all passed, output). REQUIRES: the folder `programs` has it built."""
    suite, name = test.name.split(".")
    names = ":".join([f"{suite}.{name}", f"{suite}/*.{name}", f"*/{suite}.{name}/*"])
    with tempfile.TemporaryDirectory() as place:
        try:
            done = subprocess.run([str(programs / test.program), f"--gtest_filter={names}"], timeout=PATIENCE, cwd=place,
                                  env={**os.environ, "KELCOMM_RUNTIME_DIR": f"{place}/run"}, capture_output=True,
                                  text=True, check=False, errors="replace")
        except subprocess.TimeoutExpired as late:
            return False, (late.stdout or b"").decode("utf-8", "replace")
    if "Running 0 tests" in done.stdout:
        raise NotRun(f"{test.program} has no test {test.name}")
    if "[  SKIPPED ]" in done.stdout:
        raise NotRun(f"{test.program} passed {test.name} over")
    return done.returncode == 0, done.stdout + done.stderr
