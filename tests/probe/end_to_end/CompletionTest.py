"""The completion for bash offers every command and every option that the program has, and no others."""
import pathlib
import re
import shlex
import subprocess
import unittest

from Endpoint import main, programs

FILE = pathlib.Path(__file__).resolve().parents[3] / "probe" / "completion" / "ovprobe.bash"


def offered(*words):
    """What bash offers for the last of the words."""
    script = f"""source {shlex.quote(str(FILE))}
COMP_WORDS=({' '.join(map(shlex.quote, words))})
COMP_CWORD={len(words) - 1}
_ovprobe
printf '%s\\n' "${{COMPREPLY[@]}}"
"""
    output = subprocess.run(["bash", "-c", script], capture_output=True, text=True, check=True).stdout
    return set(output.split())


def help_of(*command):
    return subprocess.run([programs() / "ovprobe", *command, "--help"], capture_output=True, text=True,
                          check=True).stdout


def commands():
    return re.findall(r"^  ([a-z]+) +\S", help_of().partition("Subcommands:")[2], re.M)


class Completion(unittest.TestCase):
    def test_every_command_is_offered(self):
        self.assertGreater(len(commands()), 13)
        self.assertEqual(offered("ovprobe", ""), set(commands()))

    def test_every_option_of_every_command_is_offered(self):
        for command in commands():
            options = set(re.findall(r"^  (?:-\w,)?(--[a-z0-9-]+)", help_of(command), re.M))
            self.assertIn("--json", options)
            with self.subTest(command=command):
                self.assertEqual(offered("ovprobe", command, "-"), options)

    def test_kinds_are_those_that_decode_knows(self):
        known = re.search(r"--kind TEXT:\{([^}]*)\}", help_of("decode"))[1].split(",")
        self.assertEqual(offered("ovprobe", "decode", "--kind", ""), set(known))

    def test_a_number_has_no_offer(self):
        self.assertEqual(offered("ovprobe", "kill", "--pid", ""), set())


if __name__ == "__main__":
    main()
