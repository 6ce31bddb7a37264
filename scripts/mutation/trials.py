"""Runs the tests: all of them unchanged, to learn which changes each comes by, and then for each change those."""
import concurrent.futures
import dataclasses
import json
import os
import re
import shutil
import signal
import subprocess
import threading
import time

LIST_LINE = re.compile(r"^(?P<indent>\s*)(?P<name>\S+)")
FAILED = re.compile(r"^\[  FAILED  \] (\S+?)(?:,| \(|$)", re.M)
BEGUN = re.compile(r"^\[ RUN      \] (\S+)", re.M)
MEMORY = 4 << 30     # bytes of address space
FILE_SIZE = 256 << 20
HANG_SECONDS = 8     # of silence, beside ten times what the longest test takes unchanged
ALL_SECONDS = 600    # of one program
CHEAP_SECONDS = 0.3  # of tests that are tried together first
MIDDLE_SECONDS = 3.0
BATCH = 800          # names in one command line


@dataclasses.dataclass
class Test:
    suite: str
    name: str
    seconds: float
    reached: frozenset


class Runner:
    """One worker's place: programs run in it find it empty, and end when they take too long."""

    def __init__(self, scratch, memory=MEMORY):
        self.scratch, self.memory = scratch, memory

    @staticmethod
    def wait(process, log, seconds, end):
        """The exit status, or nothing when nothing was written for so long; every test writes as it begins."""
        size, since = 0, time.monotonic()
        while True:
            try:
                return process.wait(timeout=min(0.5, seconds))
            except subprocess.TimeoutExpired:
                now = time.monotonic()
                written = log.stat().st_size
                if written != size:
                    size, since = written, now
                if now - since >= seconds or now > end:
                    return None

    def run(self, program, filters, seconds, environment):
        shutil.rmtree(self.scratch, ignore_errors=True)
        for name in ("run", "tmp"):
            (self.scratch / name).mkdir(parents=True)
        log = self.scratch / "output"
        words = ["prlimit", f"--as={self.memory}", f"--fsize={FILE_SIZE}", "--core=0", "--", str(program),
                 "--gtest_color=no", f"--gtest_filter={':'.join(filters)}", "--gtest_fail_fast"]
        # The port layer makes the folder of its ports by itself, with the rights that it wants.
        surroundings = {**os.environ, "KELCOMM_RUNTIME_DIR": str(self.scratch / "run" / "ports"),
                        "TMPDIR": str(self.scratch / "tmp"), **environment}
        begin = time.monotonic()
        with log.open("wb") as output:
            process = subprocess.Popen(words, stdout=output, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                                       cwd=self.scratch / "tmp", env=surroundings, start_new_session=True)
            try:
                code = self.wait(process, log, seconds, begin + ALL_SECONDS)
            finally:
                # What it started must not outlive it, either.
                try:
                    os.killpg(process.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                process.wait()
        return code, time.monotonic() - begin, log.read_bytes().decode("utf-8", "replace")


def how_it_ended(code, output):
    """Nothing for a success, otherwise what showed that something is wrong, and where."""
    if code == 0:
        return None
    begun = BEGUN.findall(output)
    failed = FAILED.findall(output)
    last = begun[-1] if begun else "before the first test"
    if code is None:
        return {"how": "hang", "by": last}
    if failed:
        return {"how": "test", "by": failed[0]}
    return {"how": "crash", "by": last}


class Trials:
    def __init__(self, suites, work, jobs, highest, say=print):
        self.suites, self.work, self.jobs, self.highest, self.say = suites, work, jobs, highest, say
        self.tests = []
        self.local = threading.local()
        self.counter = iter(range(10 ** 6))
        self.lock = threading.Lock()

    def runner(self):
        if not hasattr(self.local, "runner"):
            with self.lock:
                self.local.runner = Runner(self.work / f"scratch-{next(self.counter)}")
        return self.local.runner

    def map(self, function, items):
        with concurrent.futures.ThreadPoolExecutor(self.jobs) as pool:
            yield from pool.map(function, items)

    def names(self, suite):
        shown = subprocess.run([str(self.suites[suite]), "--gtest_list_tests"], capture_output=True, text=True,
                               check=True).stdout
        group = ""
        for line in shown.splitlines():
            found = LIST_LINE.match(line)
            if found and found["indent"]:
                yield group + found["name"]
            elif found and found["name"].endswith("."):
                group = found["name"]

    # Unchanged.

    def learn(self, stamp):
        """Runs every test by itself, and each suite as a whole; ends when anything fails that should not."""
        memory = self.work / "reached.json"
        if memory.exists():
            known = json.loads(memory.read_text(encoding="utf-8"))
            if known["stamp"] == stamp:
                self.tests = [Test(suite, name, seconds, frozenset(reached))
                              for suite, name, seconds, reached in known["tests"]]
                return []
        unsteady = set()
        for _ in range(2):
            for suite in self.suites:
                code, seconds, output = self.runner().run(self.suites[suite], ["*"], 600, {"KYR_MUTANT": "0"})
                end = how_it_ended(code, output)
                self.say(f"{suite}: unchanged, {seconds:.1f} s{', ' + str(end) if end else ''}")
                if end:
                    unsteady.add((suite, end["by"]))
        alone = [(suite, name) for suite in self.suites for name in self.names(suite)]
        self.say(f"{len(alone)} tests, each by itself")
        for (suite, name), (end, seconds, reached) in zip(alone, self.map(self.look, alone)):
            if end:
                unsteady.add((suite, name))
            self.tests.append(Test(suite, name, seconds, frozenset(reached)))
        self.tests = [test for test in self.tests if (test.suite, test.name) not in unsteady]
        memory.write_text(json.dumps({"stamp": stamp, "tests": [
            [test.suite, test.name, test.seconds, sorted(test.reached)] for test in self.tests]}), encoding="utf-8")
        return sorted(unsteady)

    def look(self, place):
        suite, name = place
        runner = self.runner()
        marks = self.work / f"marks-{runner.scratch.name}"
        marks.write_bytes(bytes(self.highest + 1))
        code, seconds, output = runner.run(self.suites[suite], [name], 300,
                                           {"KYR_MUTANT": "0", "KYR_MUTANT_REACHED": str(marks)})
        reached = [number for number, mark in enumerate(marks.read_bytes()) if mark]
        return how_it_ended(code, output), seconds, reached

    # Changed.

    def of(self, number):
        """The tests that come by the change."""
        return [test for test in self.tests if number in test.reached]

    @staticmethod
    def batches(tests):
        """First what is quick, then what is less so, then the rest; one suite a batch."""
        rounds, spent = ([], [], []), 0.0
        for test in sorted(tests, key=lambda test: test.seconds):
            spent += test.seconds
            rounds[0 if spent <= CHEAP_SECONDS else 1 if spent <= MIDDLE_SECONDS else 2].append(test)
        for one in rounds:
            suites = list(dict.fromkeys(test.suite for test in one))
            for suite in suites:
                mine = [test for test in one if test.suite == suite]
                for begin in range(0, len(mine), BATCH):
                    yield mine[begin:begin + BATCH]

    def try_one(self, number):
        begin = time.monotonic()
        tests = self.of(number)
        if not tests:
            return {"status": "not reached", "seconds": 0.0, "tests": 0}
        for batch in self.batches(tests):
            seconds = HANG_SECONDS + 10 * max(test.seconds for test in batch)
            code, _, output = self.runner().run(self.suites[batch[0].suite], [test.name for test in batch], seconds,
                                                {"KYR_MUTANT": str(number)})
            end = how_it_ended(code, output)
            if end:
                return {"status": "found", "suite": batch[0].suite, **end, "tests": len(tests),
                        "seconds": round(time.monotonic() - begin, 2)}
        return {"status": "survived", "tests": len(tests), "seconds": round(time.monotonic() - begin, 2)}
