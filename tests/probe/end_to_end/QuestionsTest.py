"""Questions of support: each command of docs/questions-of-support.md, run at a real simulated product, gives the answer that
the page shows, in less than a second.

A question on the page is a heading, a line "Here: <situation>", the command behind "$" and lines of its answer. A line of
the page may leave out what differs from run to run: "..." stands for any text.
"""
import os
import pathlib
import re
import shlex
import shutil
import time
import unittest

import HostLife
from Endpoint import EndpointTest, main

PAGE = pathlib.Path(__file__).resolve().parents[3] / "docs" / "questions-of-support.md"
LONGEST = float(os.environ.get("KYR_LONGEST_ANSWER", "1"))  # seconds


class Situations:
    """What the page says after "Here:", as deeds."""

    @staticmethod
    def prepare(test, text):
        for part in text.split("; "):
            name, _, rest = part.partition(" ")
            getattr(Situations, name)(test, rest)

    @staticmethod
    def product(test, rest):
        test.start_product(*shlex.split(rest))

    @staticmethod
    def typed(test, rest):
        test.product.say(rest)
        if rest == "quit":
            test.product.process.wait()

    @staticmethod
    def stored(test, rest):
        test.store(**dict(pair.split("=", 1) for pair in shlex.split(rest)))

    @staticmethod
    def logged(test, rest):
        test.write_log("Connected to product, processing tasks", *shlex.split(rest))

    @staticmethod
    def lived(test, _):
        endpoint, _ = HostLife.shared()
        shutil.copy(endpoint.log, test.log)

    @staticmethod
    def file(test, rest):
        name, text = rest.split(" ", 1)
        (test.folder / name).write_bytes(bytes(text, "utf-8").decode("unicode_escape").encode("latin-1"))

    @staticmethod
    def nothing(test, _):
        pass


def questions():
    page = PAGE.read_text(encoding="utf-8")
    for section in page.split("\n## ")[1:]:
        title, _, text = section.partition("\n")
        here = re.search(r"^Here: (.*)$", text, re.M)
        block = re.search(r"^    \$ ovprobe (.*)\n((?:    .*\n)*)", text, re.M)
        code = re.search(r"^Exit code (\d)\.", text, re.M)
        assert here and block, f"{title}: no situation or no command"
        answer = [line[4:] for line in block[2].splitlines()]
        yield title, here[1].rstrip("."), shlex.split(block[1]), answer, int(code[1]) if code else 0


class Questions(EndpointTest):
    def answer(self, arguments):
        began = time.monotonic()
        ended = self.probe(*(argument.replace("HERE", str(self.folder)) for argument in arguments))
        return ended, time.monotonic() - began

    def assert_quick(self, seconds, arguments):
        """Once in ten times is enough: what else runs on the machine is slow now and then, a slow command always."""
        for _ in range(9):
            if seconds < LONGEST:
                break
            _, seconds = self.answer(arguments)
        self.assertLess(seconds, LONGEST)

    def test_page_has_at_least_twenty(self):
        titles = [title for title, *_ in questions()]
        self.assertGreaterEqual(len(titles), 20)
        self.assertEqual(len(titles), len(set(titles)))


def add(number, title, situation, arguments, answer, code):
    def test(self):
        Situations.prepare(self, situation)
        ended, seconds = self.answer(arguments)
        text = (ended.stdout + ended.stderr).decode()
        self.assertEqual(ended.returncode, code, text)
        self.assertTrue(answer, "the page shows no answer")
        for line in answer:
            pattern = re.sub(r"\s+", r"\\s+", re.sub(r"\\\.\\\.\\\.", ".*", re.escape(line).replace("\\ ", " ")))
            self.assertRegex(text, re.compile("^" + pattern + r"\s*$", re.M))
        self.assert_quick(seconds, arguments)

    test.__doc__ = None
    name = "test_%02d_%s" % (number, re.sub(r"\W+", "_", title).strip("_").lower())
    setattr(Questions, name, test)


for number, question in enumerate(questions(), 1):
    add(number, *question)

if __name__ == "__main__":
    main()
