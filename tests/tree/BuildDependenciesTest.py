"""Tests of scripts/windows/build-dependencies with a builder that only takes notes."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts/windows/build-dependencies"

# Takes half a second, and fails when it is told to.
BUILDER = """#!/bin/bash
echo begin >> "$NOTES"
sleep 0.5
echo end >> "$NOTES"
echo "$KYR_CACHE_DIR/built"
exit "${STATUS:-0}"
"""


class BuildDependencies(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def start(self, tree, **environment):
        """Starts the script of a tree of its own; all trees share one cache."""
        scripts = self.folder / tree
        scripts.mkdir()
        shutil.copy(SCRIPT, scripts)
        builder = scripts / "build-dependencies-alone"
        builder.write_text(BUILDER, encoding="utf-8")
        builder.chmod(0o755)
        return subprocess.Popen([str(scripts / SCRIPT.name)], stdout=subprocess.PIPE, text=True,
                                env={**os.environ, "KYR_CACHE_DIR": str(self.folder / "cache"),
                                     "NOTES": str(self.folder / "notes"), **environment})

    def test_two_trees_build_one_after_the_other(self):
        both = [self.start("one"), self.start("two")]
        for script in both:
            self.assertEqual((f"{self.folder}/cache/built\n", None), script.communicate(timeout=30))
            self.assertEqual(0, script.returncode)
        notes = (self.folder / "notes").read_text(encoding="utf-8").split()
        self.assertEqual(["begin", "end", "begin", "end"], notes)

    def test_failure_is_passed_on_and_leaves_no_lock(self):
        failing = self.start("one", STATUS="7")
        failing.communicate(timeout=30)
        self.assertEqual(7, failing.returncode)
        after = self.start("two")
        after.communicate(timeout=30)
        self.assertEqual(0, after.returncode)


if __name__ == "__main__":
    unittest.main()
