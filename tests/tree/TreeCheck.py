"""What the tests of the tree's checks share: a small tree made for each case, and the check run on it."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"


class TreeCheck(unittest.TestCase):
    script = None  # the name of the check, given by the derived class

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def write(self, path, *lines):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("".join(line + "\n" for line in lines), encoding="utf-8")

    def run_check(self, *arguments):
        return subprocess.run([sys.executable, "-B", str(SCRIPTS / self.script), "--root", str(self.root), *arguments],
                              capture_output=True, text=True, check=False)

    def assert_holds(self):
        result = self.run_check()
        self.assertEqual((0, "", ""), (result.returncode, result.stdout, result.stderr))

    def assert_finds(self, *findings, arguments=()):
        result = self.run_check(*arguments)
        self.assertEqual("".join(finding + "\n" for finding in findings), result.stdout + result.stderr)
        self.assertEqual(1, result.returncode)
