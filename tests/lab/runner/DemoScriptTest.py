"""Tests of scripts/demo with a tree that is built, and lives that are short.

usage: DemoScriptTest.py <build folder>
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[3]
BUILD = pathlib.Path(sys.argv[1]).resolve()
FAILED = """title It fails
start product
expect product answer within 10ms
quit product
"""


class DemoScript(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        # A build folder of its own, so that the page of nobody else is replaced.
        self.built = self.folder / "built"
        self.built.mkdir()
        for part in ("bin", "lib"):
            (self.built / part).symlink_to(BUILD / part)

    def show(self, *arguments):
        return subprocess.run([SOURCE / "scripts" / "demo", f"--built={self.built}", f"--work={self.folder / 'work'}", *arguments],
                              capture_output=True, text=True, check=False, timeout=100, cwd=self.folder)

    def page_of(self, shown):
        """The page whose path stands in the last line."""
        page = pathlib.Path(shown.stdout.splitlines()[-1].removeprefix("To look at in a browser: "))
        self.assertEqual(page, self.built.resolve() / "demo.html")
        return page.read_text(encoding="ascii")

    def test_life_as_expected_ends_with_zero_and_the_path_of_its_page(self):
        shown = self.show(SOURCE / "lab" / "scenarios" / "1-kill.scenario")
        self.assertEqual((shown.returncode, shown.stderr), (0, ""))
        self.assertIn("A kill task from the server ends a process", shown.stdout)
        page = self.page_of(shown)
        self.assertIn('"title":"A kill task from the server ends a process"', page)
        self.assertIn('"state":"accepted"', page)

    def test_failed_life_ends_with_one_and_the_path_of_its_page(self):
        failed = self.folder / "failed.scenario"
        failed.write_text(FAILED, encoding="ascii")
        shown = self.show(SOURCE / "lab" / "scenarios" / "1-kill.scenario", failed.name)
        self.assertEqual(shown.returncode, 1)
        page = self.page_of(shown)
        self.assertIn('"title":"It fails"', page)
        self.assertIn('"held":false', page)

    def test_life_that_is_not_there_is_not_shown(self):
        shown = self.show("no.scenario")
        self.assertNotEqual(shown.returncode, 0)
        self.assertIn("no.scenario", shown.stderr)
        self.assertFalse((self.built / "demo.html").exists())

    def test_tree_that_is_not_built_is_not_shown(self):
        (self.built / "bin").unlink()
        shown = self.show(SOURCE / "lab" / "scenarios" / "1-kill.scenario")
        self.assertNotEqual(shown.returncode, 0)
        self.assertFalse((self.built / "demo.html").exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
