"""Packs the zip for Windows, unpacks it into a fresh folder, and runs its programs with nothing else beside them.

usage: ZipTest.py <build folder> <source folder> <objdump> [<program that runs programs of Windows>...]
"""
import functools
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import threading
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
TASK = ("11111111-1111-1111-1111-111111111111", "22222222-2222-2222-2222-222222222222",
        "33333333-3333-3333-3333-333333333333")
PATIENCE = 90  # seconds until something counts as hung


def run(*words, **options):
    return subprocess.run([str(word) for word in words], capture_output=True, text=True, check=False, timeout=150,
                          **options)


def surroundings():
    """Those of a program, which name no other folder of programs."""
    return {name: value for name, value in os.environ.items() if name != "WINEPATH"}


@functools.lru_cache(maxsize=None)
def unpacked():
    """The folder with the programs, and the names of what was packed: some programs leave files behind."""
    temporary = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(temporary.cleanup)
    work = pathlib.Path(temporary.name)
    made = run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", work / "made")
    if made.returncode != 0:
        raise AssertionError(made.stdout + made.stderr)
    package, = (work / "made").glob("*.zip")
    with zipfile.ZipFile(package) as packed:
        packed.extractall(work / "unpacked")
    folder = work / "unpacked" / package.stem
    return folder, {path.name for path in folder.iterdir()}


class ZipTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder, cls.came = unpacked()

    def start(self, program, *words, **options):
        """Runs a program in its folder."""
        return run(*EMULATOR, self.folder / program, *words, cwd=self.folder, env=surroundings(), **options)

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

    def test_first_day_says_what_it_could_not_try_and_writes_it_down(self):
        told = self.start("firstday.exe")
        self.assertEqual((3, ""), (told.returncode, told.stderr), told.stdout)
        for line in ("contract of the ports: NOT TRIED\n", "lives of the unmodified library: NOT TRIED\n",
                     "Not tried: this system has no NtRequestPort, "):
            self.assertIn("\n" + line, told.stdout)
        report = (self.folder / "first-day.txt").read_text(encoding="utf-8")
        self.assertIn("\nlives of the unmodified library: NOT TRIED\n", report)

    def test_scenario_of_the_text_is_played(self):
        text = (self.folder / "README.txt").read_text(encoding="utf-8")
        words = re.search(r"^    labrunner\.exe (.*)$", text, re.M)[1].split()
        played = self.start("labrunner.exe", *words)
        self.assertEqual(0, played.returncode, played.stdout + played.stderr)

    def test_page_of_a_life_has_the_lines_that_every_system_tells(self):
        """What is compared of two lives; that of Linux has them, too (tests/lifepage/browser/CompareTest.py)."""
        played = self.start("labrunner.exe", "--quiet", "--programs=.", "--library=OvAgentConnector.dll", "--host-option=--port-layer",
                            "--report=life.html", "scenarios/6-records.scenario")
        self.assertEqual(0, played.returncode, played.stdout + played.stderr)
        page = (self.folder / "life.html").read_text(encoding="ascii")
        told, = json.loads(re.search(r'<script type="application/json" id="lives">(.*?)</script>', page, re.S)[1])["lives"]
        transcript = SOURCE / "tests" / "e2e" / "transcripts" / "6-records.txt"
        self.assertEqual([line for line, _ in told["neutral"]], transcript.read_text(encoding="utf-8").splitlines())


class Talker:
    """A program of the lab: commands go in, events come out."""

    def __init__(self, *words, **options):
        self.lines = []
        self.more = threading.Condition()
        self.process = subprocess.Popen([str(word) for word in words], text=True, bufsize=1, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, **options)
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def _read(self):
        for line in self.process.stdout:
            with self.more:
                self.lines.append(line.rstrip())
                self.more.notify_all()

    def wait_for(self, text):
        with self.more:
            if not self.more.wait_for(lambda: any(text in line for line in self.lines), PATIENCE):
                raise AssertionError(f"no line with {text!r} in {self.lines}")

    def say(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()

    def end(self):
        """In good order, if it still can; its exit code."""
        if self.process.poll() is None:
            self.say("quit")
        try:
            self.process.wait(PATIENCE)
        finally:
            self.process.kill()
            self.process.wait()
            self.reader.join()
            self.process.stdin.close()
            self.process.stdout.close()
        return self.process.returncode


class ProbeOfTheZipTest(unittest.TestCase):
    """ovprobe beside the simulated product, as README.txt has them."""

    @classmethod
    def setUpClass(cls):
        cls.programs, _ = unpacked()
        temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(temporary.cleanup)
        cls.folder = pathlib.Path(temporary.name)
        # The programs' ports have names of their own: others may play beside this one.
        cls.options = {"cwd": cls.folder, "env": {**surroundings(), "KELCOMM_RUNTIME_DIR": str(cls.folder)}}
        cls.product = cls.begin("simproduct.exe", "--nothing-new")
        cls.product.wait_for(" ready ")

    @classmethod
    def begin(cls, program, *words):
        talker = Talker(*EMULATOR, cls.programs / program, *words, **cls.options)
        cls.addClassCleanup(talker.end)
        return talker

    def probe(self, *words):
        return run(*EMULATOR, self.programs / "ovprobe.exe", *words, **self.options)

    def test_doctor_finds_nothing_wrong(self):
        told = self.probe("doctor", "--port-layer")
        self.assertEqual((0, ""), (told.returncode, told.stderr), told.stdout)
        for port in ("advanced", "legacy"):
            self.assertRegex(told.stdout, fr"fine +{port} port +answers a ping in \S+ ms, served by process \d+ "
                                          r"\(simproduct\.exe\)\n")
        self.assertRegex(told.stdout, r"fine +registration +build 5600\n")
        self.assertIn("\n15 checks: 15 fine, 0 doubtful, 0 wrong\n", told.stdout)

    def test_recording_has_what_the_product_says(self):
        told = self.probe("record", "endpoint.recording", "--port-layer")
        self.assertEqual((0, ""), (told.returncode, told.stderr), told.stdout)
        self.assertIn("Written to endpoint.recording.\n", told.stdout)
        recording = json.loads((self.folder / "endpoint.recording").read_text(encoding="utf-8"))
        self.assertEqual([1, 5600], [recording["ov-recording"], recording["build"]])
        self.assertEqual(["status", "policy", "indicators", "telemetry", "actions"],
                         [answer["name"] for answer in recording["answers"]])
        self.assertTrue(all(answer["reply"] for answer in recording["answers"]), recording["answers"])

    def test_kill_that_was_refused_is_explained(self):
        self.product.say("misbehave status 14 function=KILL_PROCESS_BY_PID for=2")
        self.product.wait_for(" command=misbehave ")
        host = self.begin("devhost.exe", "--library=OvAgentConnector.dll", "--port-layer", "--database=host.db",
                          "--log=host.log")
        host.wait_for("Connected to product")
        host.say(f"kill pid=1 ids={','.join(TASK)}")
        host.wait_for("Message task was canceled because maximum retry count was reached")
        self.assertEqual(0, host.end())
        told = self.probe("explain", "--task", TASK[0], "host.log")
        self.assertEqual((1, ""), (told.returncode, told.stderr), told.stdout)
        self.assertRegex(told.stdout, r"^  kill a process: given up\n"
                                      r"      " + ";".join(TASK) + r"\n"
                                      r"      from \S+ \(host\.log:\d+\) to \S+ \(host\.log:\d+\), asked 2 times\n"
                                      r"      why:  it failed twice; the last time: the product has refused: it wants the host "
                                      r"to run with administrator's rights\n"
                                      r"      next: run the host with administrator's rights\n$")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
