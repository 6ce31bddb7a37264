"""An endpoint for one test: a run directory of its own, the simulated product in it, and ovprobe.

usage of every suite here: <suite>.py <folder of programs> [<unittest option>...]
"""
import json
import os
import pathlib
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.dont_write_bytecode = True
PATIENCE = 30  # seconds until something counts as hung
AREA = "kelcomm61564b51to31564b51broadcast.section"
BUILD = "ovanta-agent-build"


def programs():
    return pathlib.Path(os.environ["KYR_PROGRAMS"])


class Talker:
    """A program of the lab: commands go in, events come out."""

    def __init__(self, name, arguments, environment):
        self.lines = []
        self.more = threading.Condition()
        self.process = subprocess.Popen([programs() / name, *arguments], env=environment, text=True, bufsize=1,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def _read(self):
        for line in self.process.stdout:
            with self.more:
                self.lines.append(line.rstrip("\n"))
                self.more.notify_all()

    def wait_for(self, text, since=0):
        """The first line with that text in it."""
        end = time.monotonic() + PATIENCE
        with self.more:
            while True:
                for line in self.lines[since:]:
                    if text in line:
                        return line
                if not self.more.wait(max(0, end - time.monotonic())):
                    raise AssertionError(f"no line with {text!r} in {self.lines}")

    def say(self, command):
        """Its answer."""
        since = len(self.lines)
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        return self.wait_for(f" command={command.split()[0]}", since)

    def end(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.reader.join()
        self.process.stdin.close()
        self.process.stdout.close()


class EndpointTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ovprobe-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.run_directory = self.folder / "run"
        self.environment = {**os.environ, "KELCOMM_RUNTIME_DIR": str(self.run_directory), "LC_ALL": "C"}
        self.environment.pop("NO_COLOR", None)
        self.product = None

    def start_product(self, *arguments):
        self.product = Talker("simproduct", ["--nothing-new", *arguments], self.environment)
        self.addCleanup(self.product.end)
        self.product.wait_for(" ready ")
        return self.product

    def kill_product(self):
        self.product.process.send_signal(signal.SIGKILL)
        self.product.process.wait()

    def start_host(self, *arguments):
        library = programs().parent / "lib" / "libOvAgentConnector.so"
        host = Talker("devhost", [f"--library={library}", f"--database={self.database}", f"--log={self.log}",
                                  *arguments], self.environment)
        self.addCleanup(host.end)
        host.wait_for(" ready ")
        return host

    def start_watch(self, *arguments):
        """ovprobe watch, which keeps the names of the area alive as a host does."""
        watch = Talker("ovprobe", ["watch", "--every=0.1", *arguments], self.environment)
        self.addCleanup(watch.end)
        watch.wait_for("other values of the area")
        return watch

    @property
    def database(self):
        return self.folder / "host.db"

    @property
    def log(self):
        return self.folder / "host.log"

    def store(self, **values):
        """Key-value entries, as the lab's host keeps them."""
        connection = sqlite3.connect(self.database)
        connection.execute("CREATE TABLE IF NOT EXISTS key_values (key TEXT PRIMARY KEY, value TEXT NOT NULL)")
        connection.executemany("INSERT OR REPLACE INTO key_values VALUES (?, ?)", values.items())
        connection.commit()
        connection.close()

    def write_log(self, *texts):
        stamp = time.clock_gettime_ns(time.CLOCK_MONOTONIC) - 7_000_000_000
        lines = []
        for text in texts:
            quoted = text.replace("\\", "\\\\").replace('"', '\\"')
            lines.append(f'12:00:00.000 log level=4 source=COvAgentConnector text="{quoted}" at={stamp}\n')
        self.log.write_text("".join(lines))

    def probe(self, *arguments, given=b""):
        """The program's end: returncode, stdout and stderr in bytes."""
        return subprocess.run([programs() / "ovprobe", *map(str, arguments)], env=self.environment, input=given,
                              capture_output=True, timeout=PATIENCE)

    def assert_wrong(self, *arguments, given=b"", says=""):
        """Refused as wrong usage, on the one stream for that, with these words."""
        ended = self.probe(*arguments, given=given)
        self.assertEqual((ended.returncode, ended.stdout), (2, b""), (arguments, ended))
        self.assertTrue(ended.stderr, arguments)
        self.assertIn(says, ended.stderr.decode(), arguments)
        self.assertNotIn(b"\x1b", ended.stderr)

    def ask(self, *arguments, given=b""):
        """What it says as JSON; its form holds for every command."""
        ended = self.probe(*arguments, "--json", given=given)
        self.assertEqual(ended.stdout.count(b"\n"), 1, ended)
        answer = json.loads(ended.stdout)
        self.assertEqual(list(answer)[:4], ["command", "exit", "rows", "notes"])
        self.assertEqual(answer["exit"], ended.returncode)
        self.assertEqual(answer["command"], arguments[0])
        return answer

    def doctor(self, *arguments):
        """Its checks: (verdict, check, why, next)."""
        answer = self.ask("doctor", *arguments)
        return [(row["verdict"], row["check"], row["why"], row["next"]) for row in answer["rows"]]

    def assert_names(self, checks, verdict, name, why):
        """One of the checks that are not fine says so."""
        found = [check for check in checks if check[0] != "fine"]
        self.assertTrue(any(check[:2] == (verdict, name) and why in check[2] and check[3] for check in found),
                        f"no {verdict} {name}: {why!r} among {found}")


def main():
    if len(sys.argv) > 1 and not sys.argv[1].startswith("-"):
        os.environ["KYR_PROGRAMS"] = sys.argv.pop(1)
    unittest.main(verbosity=1)
