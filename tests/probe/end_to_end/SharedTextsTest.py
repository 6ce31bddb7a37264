"""What the probe repeats of the connector, since the connector keeps it to itself, is still the same there."""
import pathlib
import re
import unittest

from Endpoint import main

TREE = pathlib.Path(__file__).resolve().parents[3]


def read(path):
    return (TREE / path).read_text(encoding="utf-8")


def number(path, name):
    return int(re.search(rf"\b{name} = (\d+);", read(path))[1])


class Shared(unittest.TestCase):
    def test_builds_from_which_on_records_are_asked_for(self):
        for what in ("Indicators", "Telemetry"):
            self.assertEqual(number("probe/session/Registration.h", f"kFirstBuildWith{what}"),
                             number("module/PeriodicWatch.cpp", f"kLastBuildWithout{what}") + 1)

    def test_numbers_of_the_protocol_are_those_of_the_connector(self):
        for ours, theirs in (("kPingCommand", "kPing"), ("kRequestCommand", "kRequest"), ("kSuccessStatus", "kSuccess"),
                             ("kReplyTooSmallStatus", "kReplyBufferTooSmall"),
                             ("kNotAnAdministratorStatus", "kCommandFailed"),
                             ("kNoValueStatus", "kSuccessWithoutValue")):
            self.assertEqual(number("probe/ProductNumbers.h", ours), number("kelcomm/KelcommChannel.cpp", theirs), ours)
        status = number("probe/ProductNumbers.h", "kNotAnAdministratorStatus")
        self.assertEqual(read("probe/explain/Patterns.cpp").count(f"failed with {status},"), 2)

    def test_keys_of_the_database_are_those_of_the_connector(self):
        ours = set(re.findall(r'"((?:XDR|OV)_[A-Z_]+)"', read("probe/doctor/DatabaseChecks.cpp")))
        theirs = set()
        for folder in ("connector/tasks", "module"):
            for file in (TREE / folder).glob("*.cpp"):
                theirs |= set(re.findall(r'"((?:XDR|OV)_[A-Z_]+)"', file.read_text(encoding="utf-8")))
        self.assertEqual(len(ours), 6)
        self.assertEqual(ours, theirs)


if __name__ == "__main__":
    main()
