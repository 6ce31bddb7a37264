"""Installs a build into a prefix of its own, moves that, and makes a host from nothing but what is there.

usage: InstalledTest.py <build folder> <source folder> <work folder>

The host is examples/minimal-host. It asks the simulated product to end a process.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

import ExampleHost

BUILD, SOURCE, WORK = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
# What is found must be in the prefix; nothing of the caller's surroundings leads to another one.
CLEAN = {name: os.environ[name] for name in ("PATH", "HOME", "LANG") if name in os.environ}


def run(*words, **options):
    return ExampleHost.run(*words, **{"env": CLEAN, **options})


class Product:
    """The simulated product with a process to end."""

    def __init__(self, folder):
        self.environment = {**CLEAN, "KELCOMM_RUNTIME_DIR": str(folder)}
        self.process = subprocess.Popen([BUILD / "bin/simproduct"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        text=True, env=self.environment)
        self.wait_for("ready")
        self.tell("start one")
        self.victim = re.search(r"pid=(\d+)", self.wait_for("started")).group(1)

    def wait_for(self, text):
        for line in self.process.stdout:
            if f" {text}" in line:
                return line
        raise AssertionError(f"the product ended without: {text}")

    def tell(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()

    def end(self):
        self.process.stdin.close()
        self.process.stdout.read()
        self.process.stdout.close()
        self.process.wait(timeout=60)


class InstalledTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(WORK, ignore_errors=True)
        WORK.mkdir(parents=True)
        cls.prefix = WORK / "moved"
        run("cmake", "--install", BUILD, "--strip", "--prefix", WORK / "installed")
        (WORK / "installed").rename(cls.prefix)
        ExampleHost.build(SOURCE, WORK / "host", f"-DCMAKE_PREFIX_PATH={cls.prefix}",
                          "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror", env=CLEAN)

    def find(self, pattern):
        found = sorted(self.prefix.glob(pattern))
        self.assertEqual(1, len(found), f"{pattern}: {found}")
        return found[0]

    def test_no_file_names_a_folder_of_the_build(self):
        self.assertGreater(len(self.names(self.prefix)), 50)
        self.assertEqual([], self.files_with_names(self.prefix))

    @staticmethod
    def files_with_names(prefix):
        names = [os.fsencode(folder) for folder in (SOURCE, BUILD, WORK / "installed")]
        return [path for path in prefix.rglob("*")
                if path.is_file() and any(name in path.read_bytes() for name in names)]

    def test_every_header_compiles_by_itself(self):
        flags = self.pkg_config("--cflags")
        root = self.find("include/ov-agent-connector")
        headers = sorted(path.relative_to(root) for path in root.rglob("*.h"))
        self.assertIn(pathlib.Path("host/kernel/IModule.h"), headers)
        # One after another in one source: what a header lacks, one before it in the alphabet can seldom give.
        for order in (headers, headers[::-1]):
            source = "".join(f'#include "{header}"\n' for header in order)
            run("g++", "-std=c++17", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", *flags, "-x", "c++", "-", input=source)

    def test_pkg_config_names_files_that_are_there(self):
        for variable in ("module", "hostprobe"):
            self.assertTrue(pathlib.Path(self.pkg_config(f"--variable={variable}")[0]).is_file(), variable)
        self.assertTrue(any(flag == f"-L{self.find('lib*/**/libKyrHost.so').parent}"
                            for flag in map(self.real, self.pkg_config("--libs"))))

    @staticmethod
    def real(flag):
        return "-L" + os.path.realpath(flag[2:]) if flag.startswith("-L") else flag

    def pkg_config(self, *words):
        folder = self.find("lib*/**/ov-agent-connector.pc").parent
        return run("pkg-config", *words, "ov-agent-connector", env={**CLEAN, "PKG_CONFIG_PATH": str(folder)}).split()

    def test_debian_package_has_the_same_and_names_what_it_needs(self):
        run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", WORK / "package")
        package, = (WORK / "package").glob("ov-agent-connector_*.deb")
        needed = {word.split(" ")[0] for word in run("dpkg-deb", "-f", package, "Depends").strip().split(", ")}
        self.assertLessEqual({"libboost-thread1.81.0", "libc6", "libpocofoundation80", "libprotobuf32", "libstdc++6", "zlib1g"},
                             needed)
        run("dpkg-deb", "-x", package, WORK / "unpacked")
        self.assertEqual(self.names(self.prefix), self.names(WORK / "unpacked/usr"))
        self.assertEqual([], self.files_with_names(WORK / "unpacked"))

    @staticmethod
    def names(prefix):
        # The one is a prefix of its own, the other the system's, where Debian has a folder for each kind of computer.
        return sorted(path.relative_to(prefix).name for path in prefix.rglob("*") if path.is_file())

    def test_the_probe_runs_from_the_prefix(self):
        self.assertIn("decode", run(self.prefix / "bin/ovprobe", "--help"))

    def test_completion_of_the_probe_is_where_bash_looks_for_it(self):
        file = self.find("share/bash-completion/completions/ovprobe")
        self.assertIn("doctor", run("bash", "-c", f"source {file}; COMP_WORDS=(ovprobe do); COMP_CWORD=1; _ovprobe; "
                                                  "echo ${COMPREPLY[@]}"))

    def test_terms_of_others_are_there_for_all_that_the_programs_carry(self):
        terms = self.find("share/doc/ov-agent-connector/of-others")
        self.assertEqual(["kurkle-color.txt", "libcli11-dev.txt", "libjs-chart.js.txt", "nlohmann-json3-dev.txt", "node-d3-ease.txt",
                          "node-d3-zoom.txt"], sorted(path.name for path in terms.iterdir()))
        self.assertIn("Copyright: 2022 Jukka Kurkela", (terms / "kurkle-color.txt").read_text())
        self.assertIn("Permission is hereby granted", (terms / "libjs-chart.js.txt").read_text())  # to which the other one leads

    def test_links_between_documents_lead_to_what_is_installed(self):
        documents = self.find("share/doc/ov-agent-connector/docs/installing.md").parents[1]
        self.assertEqual("", run(sys.executable, "-B", SOURCE / "scripts/check-docs", "--links", "--root", documents))

    def test_minimal_host_gets_a_kill_task_done(self):
        library = self.find("lib*/**/libOvAgentConnector.so")
        product = Product(WORK / "run")
        self.addCleanup(product.end)
        host = subprocess.Popen([WORK / "host/minimal-host", library, product.victim], stdout=subprocess.PIPE, text=True,
                                env=product.environment)
        self.assertIn("outcome=done", product.wait_for("did action=kill"))
        product.tell("broadcast index=8")
        output, _ = host.communicate(timeout=120)
        self.assertTrue(output.endswith("\nthe task is done\n"), output)
        self.assertEqual(0, host.returncode, output)

    def test_minimal_host_says_when_there_is_nothing_to_kill(self):
        product = Product(WORK / "run-refused")
        self.addCleanup(product.end)
        host = subprocess.Popen([WORK / "host/minimal-host", self.find("lib*/**/libOvAgentConnector.so"), "1"],
                                stdout=subprocess.PIPE, text=True, env=product.environment)
        self.assertIn("outcome=refused", product.wait_for("did action=kill"))
        product.tell("broadcast index=8")
        output, _ = host.communicate(timeout=120)
        self.assertTrue(output.endswith("\nthe task is not done\n"), output)
        self.assertEqual(1, host.returncode, output)

    def test_minimal_host_gives_all_that_is_examined(self):
        ExampleHost.assert_gives_all_that_is_examined(self, WORK / "host/minimal-host", self.find("lib*/**/libHostProbe.so"),
                                                      env=CLEAN)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
