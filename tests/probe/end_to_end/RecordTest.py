"""ovprobe record writes what a product says of itself, and simproduct --replay says it again."""
import json
import os
import pty
import stat
import subprocess

from Endpoint import EndpointTest, main, programs

SECRET = "canary-4711"
STATUS_REQUEST = "0c0000000006000121000000"

LIFE = """title A product gives its records and its status
step  It starts, and a host with it
start product {product}
expect product ready
{records}
start host
expect host log text="Connected to product, processing tasks"
step  All that it has is fetched
host  trigger kind=3
expect host mined name=DataMinerStoreEcsIndicatorLogs records=2
host  trigger kind=3
expect host mined name=DataMinerStoreEcsIndicatorLogs records=1
host  trigger kind=5
expect host publish name=DataMinerOutOfOrderEventMessage
host  trigger kind=0
expect host publish name=StatusLog_PROTECTION_STATUS
step  It ends
quit  host
quit  product
"""


class RecordTest(EndpointTest):
    def setUp(self):
        super().setUp()
        self.file = self.folder / "endpoint.recording"

    def record(self, *arguments):
        answer = self.ask("record", self.file, *arguments)
        return answer, json.loads(self.file.read_text())

    def names(self, recording):
        return [answer["name"] for answer in recording["answers"]]

    def test_recording_has_build_area_checks_and_every_answer(self):
        self.start_product("--build=5544").say("records append indicator count=2")
        answer, recording = self.record()
        self.assertEqual(answer["exit"], 0)
        self.assertEqual(recording["ov-recording"], 1)
        self.assertRegex(recording["taken"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertRegex(recording["by"], r"^ovprobe \d")
        self.assertIs(recording["redacted"], False)
        self.assertEqual(recording["build"], 5544)
        # The header's size, 0, and the protocol's name.
        self.assertEqual(recording["area"][:32], "2000000000000000" "4b656c436f6d6d20")
        self.assertEqual(self.names(recording),
                         ["status", "policy", "indicators", "indicators", "telemetry", "actions"])
        self.assertIn("verdict", recording["doctor"][0])

    def test_reply_is_kept_byte_for_byte(self):
        self.start_product("--misbehave=raw 0c00000000000000050000003c613e for=1 inner=0x21")
        _, recording = self.record()
        self.assertEqual(recording["answers"][0],
                         {"name": "status", "request": STATUS_REQUEST,
                          "reply": "0c00000000000000050000003c613e", "length": 15})

    def test_refusal_is_kept_by_its_status(self):
        self.start_product("--misbehave=status 14 inner=0x21")
        answer, recording = self.record()
        self.assertEqual(recording["answers"][0],
                         {"name": "status", "request": STATUS_REQUEST, "reply": None, "refused": 14})
        self.assertEqual(answer["rows"][0]["reply"], "refused, status 14")

    def test_records_are_asked_for_as_the_connector_asks_each_behind_the_last(self):
        product = self.start_product()
        product.say("records limit batch=2")
        product.say("records append indicator count=5")
        _, recording = self.record()
        requests = [answer["request"][24:] for answer in recording["answers"] if answer["name"] == "indicators"]
        self.assertEqual(requests, ["", "0802", "0804", "0805"])  # no offset, then 2, 4, 5

    def test_records_begin_where_the_host_has_come_to(self):
        self.store(XDR_OFFSET="3")
        self.start_product().say("records append indicator count=5")
        _, recording = self.record(f"--database={self.database}")
        requests = [answer["request"][24:] for answer in recording["answers"] if answer["name"] == "indicators"]
        self.assertEqual(requests, ["0803", "0805"])

    def test_no_more_replies_are_taken_than_was_said(self):
        product = self.start_product()
        product.say("records limit batch=1")
        product.say("records append indicator count=9")
        _, recording = self.record("--most=4")
        self.assertEqual(self.names(recording).count("indicators"), 4)

    def test_redacted_recording_has_no_contents_but_lengths(self):
        product = self.start_product()
        product.say("records append indicator count=1 size=400")
        self.probe("import", "-", "--yes", given=SECRET.encode())
        answer, recording = self.record("--redact")
        self.assertIs(recording["redacted"], True)
        kept = {answer["name"]: answer for answer in recording["answers"] if answer["name"] != "indicators"}
        self.assertIsNone(kept["policy"]["reply"])
        self.assertEqual(kept["policy"]["length"], 12 + len(SECRET))
        self.assertIsNotNone(kept["status"]["reply"])
        text = self.file.read_text()
        self.assertNotIn(SECRET, text)
        self.assertNotIn(SECRET.encode().hex(), text)
        self.assertNotIn("sequence".encode().hex(), text)  # of a record

    def test_recording_that_was_not_redacted_carries_the_policy(self):
        self.start_product()
        self.probe("import", "-", "--yes", given=SECRET.encode())
        self.record()
        self.assertIn(SECRET.encode().hex(), self.file.read_text())

    def test_endpoint_without_a_product_is_recorded_as_it_is(self):
        answer, recording = self.record()
        self.assertEqual(answer["exit"], 3)
        self.assertEqual([recording["build"], recording["area"], recording["answers"]], [None, None, []])
        self.assertTrue(any(check["verdict"] == "wrong" for check in recording["doctor"]))

    def test_product_that_dies_in_the_middle_leaves_what_was_said_until_then(self):
        self.start_product("--misbehave=die inner=0x6E")
        answer, recording = self.record()
        self.assertEqual(answer["exit"], 3)
        self.assertEqual(self.names(recording), ["status"])

    def test_who_waits_for_many_short_replies_at_a_terminal_is_told_so(self):
        self.start_product("--misbehave=delay 700 for=3")
        terminal, side = pty.openpty()
        self.addCleanup(os.close, terminal)
        ended = subprocess.run([programs() / "ovprobe", "record", self.file], env=self.environment, stdout=subprocess.PIPE,
                               stderr=side)
        os.close(side)
        self.assertEqual(ended.returncode, 0, ended)
        self.assertTrue(os.read(terminal, 1000).startswith(b"waiting for the product, 1 s\r\n"))

    def test_recording_without_a_product_says_that_it_has_no_answer(self):
        answer = self.ask("record", self.file)
        self.assertEqual(answer["exit"], 3)
        self.assertIn("It has no answer of the product.", answer["notes"])

    def test_recording_that_breaks_off_says_that_it_carries_the_policy(self):
        self.start_product("--misbehave=drop inner=0x00100000")
        answer = self.ask("record", self.file)
        self.assertEqual((answer["exit"], [row["request"] for row in answer["rows"]]), (3, ["status", "policy"]), answer)
        self.assertTrue(any("It carries the policy" in note for note in answer["notes"]), answer)

    def test_recording_does_not_go_to_standard_output(self):
        self.start_product()
        ended = self.probe("record", "-")
        self.assertEqual(ended.returncode, 1, ended)
        self.assertIn(b"a recording goes into a file", ended.stdout + ended.stderr)

    def test_mutex_that_was_abandoned_is_in_the_checks(self):
        product = self.start_product()
        self.start_watch()
        product.process.stdin.write("area die\n")
        product.process.stdin.flush()
        product.process.wait()
        _, recording = self.record()
        mutex = [check for check in recording["doctor"] if check["check"] == "area mutex"]
        self.assertEqual([check["why"] for check in mutex], ["abandoned: who held it has died"])

    def test_file_that_is_there_stays_as_it_is(self):
        self.file.write_text("dear")
        self.start_product()
        answer = self.ask("record", self.file)
        self.assertEqual([answer["exit"], answer["problem"]["text"]], [1, f"{self.file} is there already"])
        self.assertEqual(self.file.read_text(), "dear")

    def test_file_that_cannot_be_made_is_told(self):
        self.start_product()
        answer = self.ask("record", self.folder / "missing" / "file")
        self.assertEqual(answer["exit"], 1)
        self.assertIn("cannot make", answer["problem"]["text"])

    def test_file_is_for_its_owner_alone(self):
        self.start_product()
        self.record()
        self.assertEqual(stat.S_IMODE(os.stat(self.file).st_mode), 0o600)

    def told(self, name, product, records):
        """What host and wire tell in a life with that product; not what the product says it did."""
        folder = self.folder / name
        (folder / "known").mkdir(parents=True)
        (folder / "known" / "life.txt").write_text("")  # so that the run writes its own
        scenario = folder / "life.scenario"
        scenario.write_text(LIFE.format(product=product, records=records))
        library = programs().parent / "lib" / "libOvAgentConnector.so"
        played = subprocess.run([programs() / "labrunner", f"--programs={programs()}", f"--library={library}", "--quiet",
                                 "--colour=never", f"--transcripts={folder / 'known'}", f"--work={folder / 'work'}", scenario],
                                env=self.environment, capture_output=True, text=True, timeout=120)
        neutral = folder / "work" / "life" / "neutral.txt"
        self.assertTrue(neutral.exists(), played.stdout)
        return [line for line in neutral.read_text().splitlines()
                if not line.startswith(("product 1: handed", "product 1: did"))]

    def test_life_with_the_recording_of_a_product_is_the_life_with_that_product(self):
        records = self.folder / "product.records"
        product = self.start_product("--nothing-new", f"--records={records}")
        product.say("records limit batch=2")
        product.say("records append indicator count=3")
        product.say("records append action count=2")
        self.record()
        product.end()
        lived = self.told("lived", f"--nothing-new --records={records}", "product records limit batch=2")
        replayed = self.told("replayed", f"--nothing-new --replay={self.file}", "")
        self.assertEqual(lived, replayed)
        self.assertTrue(any("Publishing ECS indicator logs" in line for line in replayed))


if __name__ == "__main__":
    main()
