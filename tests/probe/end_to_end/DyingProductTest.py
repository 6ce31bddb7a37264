"""A product that dies, hangs or closes the connection in the middle of each command; and one that comes and goes under a
watch."""
import json
import os
import pty
import signal
import subprocess
import time
import unittest

from Endpoint import EndpointTest, main, programs

COMMANDS = (("status",), ("policy",), ("indicators",), ("telemetry",), ("actions",), ("outcomes", "--yes"),
            ("kill", "--pid=1", "--yes"), ("block", "--sha1=" + "0" * 40, "--yes"), ("import", "-", "--yes"),
            ("announce", "6f9619ff-8b86-4d01-b42d-00cf4fc964ff", "--yes"))


class Dying(EndpointTest):
    def each(self, fault, *arguments):
        """The answer of each command to a product with that fault."""
        for command in COMMANDS:
            with self.subTest(command=command[0]):
                product = self.start_product(f"--misbehave={fault}")
                began = time.monotonic()
                answer = self.ask(*command, *arguments)
                self.assertLess(time.monotonic() - began, 30)
                self.assertEqual(answer["exit"], 3, answer)
                yield answer
                product.end()

    def test_product_dies_in_the_middle(self):
        for answer in self.each("die", "--timeout=60"):
            self.assertEqual(answer["problem"]["cause"], "port-absent")
            self.assertIn("went away while it was asked", answer["problem"]["text"])

    def test_product_closes_the_connection_in_the_middle(self):
        for answer in self.each("drop", "--timeout=60"):
            self.assertEqual(answer["problem"]["cause"], "not-answering")

    def test_product_hangs_in_the_middle(self):
        for answer in self.each("hang", "--timeout=0.3"):
            self.assertEqual(answer["problem"]["cause"], "not-answering")
            self.assertIn("no reply within 300 ms", answer["problem"]["text"])

    def test_product_hangs_on_the_older_port_in_the_middle(self):
        self.start_product("--misbehave=no-alpc", "--misbehave=hang transport=lpc")
        answer = self.ask("status", "--timeout=0.3")
        self.assertEqual((answer["exit"], answer["problem"]["cause"]), (3, "not-answering"))

    def test_who_waits_at_a_terminal_is_told_so_and_a_file_is_not(self):
        self.start_product("--misbehave=hang")
        arguments = [programs() / "ovprobe", "status", "--json", "--timeout=1.5"]
        terminal, side = pty.openpty()
        self.addCleanup(os.close, terminal)
        ended = subprocess.run(arguments, env=self.environment, stdout=subprocess.PIPE, stderr=side)
        os.close(side)
        self.assertEqual(os.read(terminal, 1000), b"waiting for the product, 1 s\r\n")
        self.assertEqual(json.loads(ended.stdout)["exit"], 3)
        ended = subprocess.run(arguments, env=self.environment, capture_output=True)
        self.assertEqual(ended.stderr, b"")

    def test_outcomes_that_were_taken_are_told_when_the_next_one_is_refused(self):
        ids = ";".join(digit * 8 + "-1111-1111-1111-" + digit * 12 for digit in "123")
        product = self.start_product()
        product.say(f"results add 1 {ids}")
        taken = self.probe("outcomes", "--yes", "--raw").stdout
        product.end()
        recording = self.folder / "product.recording"
        request = "0c0000000006000170000000"
        recording.write_text(json.dumps({"ov-recording": 1, "build": 5600, "answers": [
            {"request": request, "reply": taken.hex()}, {"request": request, "refused": 14}]}))
        self.start_product(f"--replay={recording}")
        answer = self.ask("outcomes", "--yes", "--count=3")
        self.assertEqual((answer["exit"], len(answer["rows"])), (1, 1), answer)
        self.assertEqual(answer["rows"][0]["first"], "11111111-1111-1111-1111-111111111111")
        self.assertIn("14", answer["problem"]["text"])

    def test_product_dies_under_doctor_and_ping(self):
        for fault in ("die command=any", "die inner=0x21", "die inner=0x00100001"):
            product = self.start_product(f"--misbehave={fault}")
            answer = self.ask("doctor")
            self.assertEqual(answer["exit"], 3 if "any" in fault else 1, answer)
            product.end()
        self.start_product("--misbehave=die command=any")
        answer = self.ask("ping")
        self.assertEqual((answer["exit"], answer["problem"]["cause"]), (3, "port-absent"))

    def test_large_replies_come_whole(self):
        self.start_product()
        given = b"key=value\n" * 200000
        self.assertEqual(self.probe("import", "-", "--yes", given=given).returncode, 0)
        self.assertEqual(self.probe("policy", "--raw").stdout[12:], given)


class Watch(EndpointTest):
    def test_not_reached_at_the_beginning(self):
        ended = self.probe("watch", "--for=1")
        self.assertEqual(ended.returncode, 3)
        self.assertIn(b"not registered", ended.stderr)

    def test_changes_are_told_as_they_come(self):
        product = self.start_product()
        watch = self.start_watch("--json")
        product.say("broadcast index=2 value=7")
        self.assertIn('"now":"7","the connector":"asks for the status', watch.wait_for('"before":"-1"'))
        product.say("broadcast index=8 value=9")
        self.assertIn("asks for outcomes", watch.wait_for('"now":"9"'))
        product.say("broadcast index=3 value=5")
        self.assertIn("nothing: it does not look", watch.wait_for('"now":"5"'))
        product.say("broadcast index=10 value=4")
        watch.wait_for('"now":"4"')
        product.say("protection set antivirus 2")
        watch.wait_for('"before":"0 0","now":"0 0 2"')
        product.say("install build=5100")
        watch.wait_for('"before":"5600","now":"5100"')

    def test_product_goes_and_another_one_comes(self):
        self.start_product()
        watch = self.start_watch()
        self.kill_product()
        watch.wait_for("gone")
        self.start_product()
        watch.wait_for("gone  answers")

    def test_product_hangs_and_recovers(self):
        product = self.start_product()
        watch = self.start_watch("--timeout=0.3")
        product.process.send_signal(signal.SIGSTOP)
        watch.wait_for("not answering")
        product.process.send_signal(signal.SIGCONT)
        self.assertIn("waits with it", watch.wait_for("no reply within 300 ms"))
        watch.wait_for("no reply within 300 ms  answers")

    def test_product_that_closes_the_connection_is_not_waited_for(self):
        product = self.start_product()
        watch = self.start_watch()
        product.say("misbehave drop inner=0x21")
        self.assertIn("notices within five seconds", watch.wait_for("ends without a reply"))

    def test_ends_by_signals_and_by_its_time(self):
        self.start_product()
        for sent in (signal.SIGINT, signal.SIGTERM):
            watch = self.start_watch()
            watch.process.send_signal(sent)
            self.assertEqual(watch.process.wait(), 0)
        began = time.monotonic()
        ended = self.probe("watch", "--for=0.5")
        self.assertEqual(ended.returncode, 0)
        self.assertEqual(ended.stdout.splitlines()[-1], b"nothing has changed since the watch began")
        self.assertLess(time.monotonic() - began, 30)


if __name__ == "__main__":
    main()
