"""Wrong, missing and hostile input of every command: said in words, ended with a code, nothing changed at the product."""
import json
import os
import pty
import subprocess
import unittest

from Endpoint import EndpointTest, main, programs

IDS = "6f9619ff-8b86-4d01-b42d-00cf4fc964ff;1b4e28ba-2fa1-41d2-883f-0016d3cca427;7d444840-9dc0-41d1-b245-5ffdce74fad2"
READING = ("ping", "status", "policy", "indicators", "telemetry", "actions")
CHANGES = (("outcomes",), ("kill", "--pid", "1"), ("block", "--sha1", "0" * 40), ("import", "-"),
           ("announce", "6f9619ff-8b86-4d01-b42d-00cf4fc964ff"))


class Usage(EndpointTest):
    def test_nothing_and_unknown(self):
        self.assert_wrong()
        self.assert_wrong("explode")
        for command in (*READING, "doctor", "watch"):
            self.assert_wrong(command, "--explode")
            self.assert_wrong(command, "extra")
            self.assert_wrong(command, "--timeout", "0")
            self.assert_wrong(command, "--timeout", "-1")
            self.assert_wrong(command, "--timeout", "nan")
            self.assert_wrong(command, "--timeout", "soon")
            self.assert_wrong(command, "--timeout")

    def test_positions_that_are_none(self):
        for command in ("indicators", "telemetry", "actions"):
            for position in ("-1", "x", "18446744073709551616", "1.5", ""):
                self.assert_wrong(command, f"--from={position}")

    def test_what_changes_needs_yes_and_changes_nothing_without(self):
        product = self.start_product("--wire")
        for arguments in CHANGES:
            self.assert_wrong(*arguments, given=b"x=y")
        self.assertFalse([line for line in product.lines if " request " in line])

    def test_hashes_and_identifiers_that_could_add_nodes(self):
        product = self.start_product()
        evil = '"/><NODE NAME="PID" TYPE="STRING" VALUE="1'
        for arguments in (("kill", "--pid", "1", "--sha1", evil), ("kill", "--pid", "1", "--ids", f"{evil};{evil};{evil}"),
                          ("block", "--sha256", "0" * 63), ("block", "--sha1", "g" * 40), ("block",),
                          ("kill", "--pid", "1", "--ids", IDS.replace(";", ",")),
                          ("kill", "--pid", "1", "--ids", IDS + ";" + IDS[:36]), ("announce", evil), ("announce", ""),
                          ("kill", "--pid", "-1"), ("kill",), ("kill", "--pid", "all")):
            self.assert_wrong(*arguments, "--yes")
        self.assertFalse([line for line in product.lines if " request " in line])

    def test_files_that_cannot_be_read(self):
        self.start_product()
        self.assert_wrong("import", self.folder / "none", "--yes")
        self.assert_wrong("import", self.folder, "--yes")
        self.assert_wrong("import", "-", "--blob", "--yes", given=b"\xff" * 100)

    def test_wrong_usage_is_told_as_json_where_it_is_asked_for(self):
        self.start_product()
        answer = self.ask("outcomes")
        self.assertEqual((answer["exit"], answer["problem"]["cause"]), (2, "wrong-usage"))


class Recordings(EndpointTest):
    """record and conform."""

    def test_no_file_and_unknown(self):
        self.start_product()
        file = self.folder / "endpoint.recording"
        self.assert_wrong("record", says="file is required")
        self.assert_wrong("record", file, "extra", says="extra")
        self.assert_wrong("record", file, "--explode", says="--explode")
        self.assert_wrong("record", file, "--database")
        self.assertFalse(file.exists())

    def test_number_of_replies_that_is_none(self):
        self.start_product()
        file = self.folder / "endpoint.recording"
        for number in ("-1", "0", "x", "1.5", "", "18446744073709551616"):
            self.assert_wrong("record", file, f"--most={number}", says="--most")
        self.assertFalse(file.exists())

    def test_folder_is_no_new_file(self):
        self.start_product()
        ended = self.probe("record", self.folder)
        self.assertEqual((ended.returncode, ended.stdout), (1, b""))
        self.assertEqual(ended.stderr.decode(), f"ovprobe: {self.folder} is there already\n")

    def test_conform_takes_nothing_but_its_options(self):
        product = self.start_product("--wire")
        for arguments in (("--explode",), ("extra",), ("--timeout", "0"), ("--timeout", "soon"), ("--timeout",)):
            self.assert_wrong("conform", *arguments, says=arguments[0])
        self.assertFalse([line for line in product.lines if " request " in line])


class Answers(EndpointTest):
    def test_bytes_of_a_reply_are_those_that_the_product_sent(self):
        product = self.start_product("--wire")
        for command in ("status", "policy", "actions"):
            raw = self.probe(command, "--raw").stdout
            product.wait_for(f"bytes={raw.hex()} ")

    def test_a_ping_has_no_bytes(self):
        self.start_product()
        self.assertEqual(self.probe("ping", "--raw").stdout, b"")

    def test_configuration_that_would_move_a_terminal_is_shown_harmless(self):
        self.start_product()
        evil = b"a=\x1b]0;owned\x07\x9b31m\xc2\x9b2J\nb=\xff"
        self.assertEqual(self.probe("import", "-", "--yes", given=evil).returncode, 0)
        shown = self.probe("policy").stdout
        for byte in (b"\x1b", b"\x07", b"\x9b", b"\xff"):
            self.assertNotIn(byte, shown)
        self.assertEqual(self.probe("policy", "--raw").stdout[12:], evil)
        json.loads(self.probe("policy", "--json").stdout)

    def test_records_that_are_no_text(self):
        self.start_product("--misbehave=raw 0c00000000000000050000000a031b5b41 inner=0x00100000")
        ended = self.probe("indicators")
        self.assertIn(b'"\\x1b[A"', ended.stdout)

    def test_wrong_replies_of_every_reading_command(self):
        for fault in ("short 3", "header-size 99", "bad-payload", "raw ff", "raw 0c0000000000000001000000",
                      "result-code 5", "value 4000000000"):
            product = self.start_product(f"--misbehave={fault}")
            for command in READING[1:]:
                with self.subTest(fault=fault, command=command):
                    answer = self.ask(command)
                    self.assertIn(answer["exit"], (0, 1))
                    if fault in ("short 3", "header-size 99", "raw ff"):
                        self.assertEqual(answer["problem"]["cause"], "wrong-reply")
            product.end()

    def test_symbols_of_the_status_are_as_logs_have_them(self):
        self.start_product()
        self.assertEqual(self.ask("status")["rows"][0], {
            "status": 0, "meaning": "fine", "category": "0x0710000000000301", "text": "0x0710000000000311",
            "description": None})

    def test_outcome_without_identifiers_is_gone_but_told(self):
        product = self.start_product()
        product.say("results add 1 nobody")
        ended = self.probe("outcomes", "--yes")
        self.assertEqual(ended.returncode, 1)
        self.assertIn(b'user data: "nobody"', ended.stdout)

    def test_refusals_are_told_by_their_status(self):
        self.start_product("--misbehave=status 7")
        for arguments in (*((command,) for command in READING[1:]), *((*change, "--yes") for change in CHANGES)):
            ended = self.probe(*arguments)
            self.assertEqual(ended.returncode, 1, arguments)
            self.assertIn(b"the product refuses: status 7", ended.stderr)

    def test_kill_carries_what_the_task_carries(self):
        product = self.start_product("--wire")
        ended = self.probe("kill", "--pid=4711", "--sha1", "A" * 40, "--sha256", "b" * 64, "--ids", IDS, "--yes")
        self.assertEqual(ended.returncode, 0)
        request = product.wait_for("function=KILL_PROCESS_BY_PID").partition(" bytes=")[2].split()[0]
        self.assertEqual(bytes.fromhex(request[24:]).decode(),
                         '<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">'
                         '<REQUEST FUNCTION="KILL_PROCESS_BY_PID"><DATA>'
                         '<NODE NAME="PID" TYPE="STRING" VALUE="4711" />'
                         f'<NODE NAME="HASH_SHA1" TYPE="STRING" VALUE="{"A" * 40}" />'
                         f'<NODE NAME="HASH_SHA2_256" TYPE="STRING" VALUE="{"b" * 64}" />'
                         f'<NODE NAME="USERDATA" TYPE="STRING" VALUE="{IDS}" />'
                         '</DATA></REQUEST></MESSAGE></TULK>')

    def test_block_carries_whether_to_delete(self):
        product = self.start_product()
        self.assertEqual(self.probe("block", "--sha1", "c" * 40, "--delete", "--yes").returncode, 0)
        self.assertIn("delete=yes", product.wait_for(" did action=block"))

    def test_announce_tells_the_instance(self):
        product = self.start_product()
        self.assertEqual(self.probe("announce", IDS[:36], "--yes").returncode, 0)
        self.assertIn(f"uuid={IDS[:36]}", product.wait_for(" did action=agent-uuid"))

    def test_output_that_is_lost_is_no_success(self):
        self.start_product()
        with open("/dev/full", "wb") as full:
            ended = subprocess.run([programs() / "ovprobe", "status"], env=self.environment, stdout=full,
                                   stderr=subprocess.PIPE)
        self.assertEqual(ended.returncode, 1)
        self.assertIn(b"the output was lost", ended.stderr)

    def test_colour_is_for_a_terminal_that_does_not_forbid_it(self):
        self.start_product()

        def on_terminal(**environment):
            ours, theirs = pty.openpty()
            subprocess.run([programs() / "ovprobe", "doctor"], env={**self.environment, **environment}, stdout=theirs,
                           stderr=theirs)
            os.close(theirs)
            text = b""
            try:
                while piece := os.read(ours, 65536):
                    text += piece
            except OSError:
                pass  # nobody has the other end any more
            os.close(ours)
            return text

        self.assertIn(b"\x1b[32mfine", on_terminal())
        self.assertNotIn(b"\x1b", on_terminal(NO_COLOR="1"))
        self.assertIn(b"\x1b[32mfine", on_terminal(NO_COLOR=""))


if __name__ == "__main__":
    main()
