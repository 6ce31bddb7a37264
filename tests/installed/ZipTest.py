"""Packs the zip for Windows, unpacks it into a fresh folder, and runs its programs with nothing else beside them.

usage: ZipTest.py <build folder> <source folder> <objdump> [<program that runs programs of Windows>...]
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import zipfile

BUILD, SOURCE = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
OBJDUMP, *EMULATOR = sys.argv[3:]

BESIDE_EACH_OTHER = {
    "HostProbe.dll", "KyrHost.dll", "OvAgentConnector.dll", "README.txt", "devhost.exe", "documents", "firstday.exe",
    "labrunner.exe", "libPocoFoundation.dll", "libPocoUtil.dll", "libboost_chrono.dll", "libboost_filesystem.dll",
    "libboost_locale.dll", "libboost_thread.dll", "libgcc_s_dw2-1.dll", "libprotobuf.dll", "libsqlite3-0.dll",
    "libstdc++-6.dll", "libwinpthread-1.dll", "licences", "ovprobe.bash", "ovprobe.exe", "portcontract.exe", "scenarios",
    "simproduct-system.exe", "simproduct.exe", "victim.exe", "zlib1.dll",
}
# What a host loads by its name, and programs that nobody links.
LOADED = {"HostProbe.dll", "OvAgentConnector.dll"}


def run(*words, **options):
    return subprocess.run([str(word) for word in words], capture_output=True, text=True, check=False, timeout=150,
                          **options)


class ZipTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        work = pathlib.Path(folder.name)
        made = run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", work / "made")
        if made.returncode != 0:
            raise AssertionError(made.stdout + made.stderr)
        package, = (work / "made").glob("*.zip")
        with zipfile.ZipFile(package) as packed:
            packed.extractall(work / "unpacked")
        cls.folder = work / "unpacked" / package.stem
        # Some programs leave files behind; what was packed is looked at as it came.
        cls.came = {path.name for path in cls.folder.iterdir()}

    def start(self, program, *words, **options):
        """Runs a program in its folder, whose surroundings name no other."""
        surroundings = {name: value for name, value in os.environ.items() if name != "WINEPATH"}
        return run(*EMULATOR, self.folder / program, *words, cwd=self.folder, env=surroundings, **options)

    def libraries_of(self, file):
        return set(re.findall(r"DLL Name: (\S+)", run(OBJDUMP, "-p", file).stdout))

    def test_all_is_there_and_nothing_else(self):
        self.assertEqual(BESIDE_EACH_OTHER, self.came)

    def test_every_library_is_there_that_is_not_the_systems_and_none_that_nobody_needs(self):
        ours = {path.name for path in (BUILD / "bin").glob("*.dll")}
        needed = set(LOADED)
        for file in (*self.folder.glob("*.exe"), *self.folder.glob("*.dll")):
            needed |= self.libraries_of(file) & ours
        self.assertEqual(needed, {name for name in self.came if name.endswith(".dll")})

    def test_no_file_has_debug_information_or_names_a_folder_of_the_build(self):
        programs = (*self.folder.glob("*.exe"), *self.folder.glob("*.dll"))
        self.assertEqual([], [file.name for file in programs if ".debug" in run(OBJDUMP, "-h", file).stdout])
        self.assertEqual([], [file.name for file in programs if "no symbols" not in run(OBJDUMP, "-t", file).stdout])
        names = [os.fsencode(folder) for folder in (SOURCE, BUILD)]
        self.assertEqual([], [path for path in self.folder.rglob("*")
                              if path.is_file() and any(name in path.read_bytes() for name in names)])

    def test_text_has_lines_as_windows_ends_them(self):
        text = (self.folder / "README.txt").read_bytes()
        self.assertTrue(text.startswith(b"The Ov agent connector, version 0.1.0, for 32-bit Windows"), text[:80])
        self.assertEqual(text.count(b"\n"), text.count(b"\r\n"))

    def test_links_between_documents_lead_to_what_is_there(self):
        self.assertTrue((self.folder / "documents/docs/installing.md").is_file())
        checked = run(sys.executable, "-B", SOURCE / "scripts/check-docs", "--links", "--root", self.folder / "documents")
        self.assertEqual((0, ""), (checked.returncode, checked.stdout + checked.stderr))

    def test_programs_tell_how_they_are_used(self):
        for program in ("devhost", "firstday", "labrunner", "ovprobe", "simproduct", "simproduct-system"):
            with self.subTest(program=program):
                told = self.start(f"{program}.exe", "--help")
                self.assertEqual((0, ""), (told.returncode, told.stderr))
                self.assertIn("Usage: ", told.stdout)

    def test_doctor_reaches_no_product_where_the_system_has_no_ports(self):
        told = self.start("ovprobe.exe", "doctor")
        self.assertEqual(3, told.returncode, told.stdout + told.stderr)
        self.assertRegex(told.stdout, r"wrong +native functions .*NtAlpcConnectPort")

    def test_host_loads_the_library_and_ends(self):
        told = self.start("devhost.exe", "--library=OvAgentConnector.dll", input="quit\n")
        self.assertEqual(0, told.returncode, told.stdout + told.stderr)
        self.assertRegex(told.stdout, "call=destroy.*result=ok")

    def test_host_is_examined(self):
        told = self.start("devhost.exe", "--library=HostProbe.dll", input="quit\n")
        self.assertRegex(told.stdout, "HostProbe: fine resource-3: ILoggerResource")

    def test_scenario_of_the_text_is_played(self):
        text = (self.folder / "README.txt").read_text(encoding="utf-8")
        words = re.search(r"^    labrunner\.exe (.*)$", text, re.M)[1].split()
        played = self.start("labrunner.exe", *words)
        self.assertEqual(0, played.returncode, played.stdout + played.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
