"""Installs a build for Windows and makes a host from nothing but what is there, as it is done beside the tree's own build.

usage: WindowsHostTest.py <build folder> <source folder> <folder of the libraries of others>
                          [<program that runs programs of Windows>...]
"""
import pathlib
import sys
import tempfile
import unittest

import ExampleHost

BUILD, SOURCE, LIBRARIES = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
EMULATOR = sys.argv[4:]


class WindowsHostTest(unittest.TestCase):
    def test_minimal_host_gives_all_that_is_examined(self):
        with tempfile.TemporaryDirectory() as folder:
            work = pathlib.Path(folder)
            ExampleHost.run("cmake", "--install", BUILD, "--strip", "--prefix", work / "installed")
            ExampleHost.build(SOURCE, work / "host", "--toolchain", SOURCE / "cmake/toolchains/windows-i686.cmake",
                              f"-DKYR_WINDOWS_PREFIX={LIBRARIES}", f"-DOvAgentConnector_DIR={work / 'installed/cmake'}",
                              f"-DCMAKE_CXX_FLAGS=-isystem {BUILD / 'generated/system'} -Wall -Wextra -Werror")
            # Windows looks for a program's libraries beside it.
            program = (work / "host/minimal-host.exe").rename(work / "installed/minimal-host.exe")
            ExampleHost.assert_gives_all_that_is_examined(self, *EMULATOR, program, "HostProbe.dll", cwd=program.parent)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
