"""Tests of scripts/install-dependencies with a package manager that only takes notes."""
import os
import pathlib
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "install-dependencies"

# Says "installed" of everything but the packages in MISSING.
DPKG_QUERY = """#!/bin/bash
for package; do :; done
[[ " $MISSING " == *" $package "* ]] && exit 1
echo -n installed
"""

APT_GET = """#!/bin/bash
echo "apt-get $*" >> "$NOTES"
[[ $1 == update ]] && exit "${APT_UPDATE_STATUS:-0}"
exit "${APT_STATUS:-0}"
"""

SUDO = """#!/bin/bash
exec "$@"
"""


class InstallDependencies(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name, text in {"dpkg-query": DPKG_QUERY, "apt-get": APT_GET, "sudo": SUDO}.items():
            program = self.folder / name
            program.write_text(text, encoding="utf-8")
            program.chmod(0o755)

    def run_script(self, *arguments, **environment):
        path = f"{self.folder}:{os.environ['PATH']}"
        return subprocess.run([str(SCRIPT), *arguments], capture_output=True, text=True, check=False,
                              env={**os.environ, "PATH": path, "NOTES": str(self.folder / "notes"), **environment})

    def notes(self):
        notes = self.folder / "notes"
        return notes.read_text(encoding="utf-8").splitlines() if notes.exists() else []

    def test_nothing_missing_leaves_the_package_manager_alone(self):
        result = self.run_script()
        self.assertEqual((0, "Nothing to install.\n"), (result.returncode, result.stdout))
        self.assertEqual([], self.notes())

    def test_nothing_missing_is_silent_when_asked(self):
        self.assertEqual("", self.run_script("-q").stdout)

    def test_only_what_is_missing_is_installed(self):
        self.assertEqual(0, self.run_script(MISSING="ccache clang-tidy").returncode)
        self.assertEqual(["apt-get update -q",
                          "apt-get install -q -y --no-install-recommends ccache clang-tidy"], self.notes())

    def test_failure_to_install_is_passed_on(self):
        self.assertEqual(100, self.run_script(MISSING="ccache", APT_STATUS="100").returncode)

    def test_list_that_cannot_be_refreshed_does_not_stop_the_installation(self):
        result = self.run_script(MISSING="ccache", APT_UPDATE_STATUS="100")
        self.assertEqual(0, result.returncode)
        self.assertIn("Some package lists could not be refreshed; trying with what there is.", result.stdout)
        self.assertEqual(["apt-get update -q", "apt-get install -q -y --no-install-recommends ccache"],
                         self.notes())


if __name__ == "__main__":
    unittest.main()
