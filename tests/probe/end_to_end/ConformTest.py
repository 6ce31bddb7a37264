"""ovprobe conform: a product that keeps the protocol, and products that do one thing otherwise."""
import json

from Endpoint import EndpointTest, main


class ConformTest(EndpointTest):
    def conform(self, *arguments):
        answer = self.ask("conform", "--timeout=2", *arguments)
        self.otherwise = {row["point"]: row["what"] for row in answer["rows"] if row["verdict"] != "fine"}
        return answer

    def conform_with(self, *faults):
        self.start_product(*[f"--misbehave={fault}" for fault in faults])
        return self.conform()

    def test_product_that_keeps_the_protocol_has_nothing_otherwise(self):
        product = self.start_product()
        product.say("records append indicator count=3")
        product.say("records append action count=3")
        answer = self.conform()
        self.assertEqual(answer["exit"], 0, self.otherwise)
        points = [row["point"] for row in answer["rows"]]
        self.assertEqual(len(points), len(set(points)))
        self.assertIn("legacy port: request of 200000 bytes", points)
        self.assertIn("actions from position 1 on", points)

    def test_product_is_as_it_was_afterwards(self):
        product = self.start_product()
        product.say("records append indicator count=3")
        product.say("results add 1 a;b;c")
        self.conform()
        self.assertIn("indicator=3", product.say("records"))
        self.assertIn("userdata=a;b;c", product.say("results"))
        self.assertIn("tasks=0", product.say("tasklog"))

    def test_port_that_is_missing_is_named_and_the_other_is_tried(self):
        answer = self.conform_with("no-alpc")
        self.assertEqual(answer["exit"], 1)
        self.assertEqual(list(self.otherwise), ["advanced port: ping"])

    def test_older_port_need_not_be_there(self):
        answer = self.conform_with("no-lpc")
        self.assertEqual((answer["exit"], self.otherwise), (0, {}))
        self.assertIn("nobody serves it, nor need anybody beside the advanced port",
                      [row["what"] for row in answer["rows"] if row["point"] == "legacy port: ping"])

    def test_product_is_not_asked_for_records_that_its_build_has_not(self):
        for build, kinds in ((5057, {"actions"}), (5058, {"actions", "indicators"}),
                             (5543, {"actions", "indicators", "telemetry"})):
            with self.subTest(build=build):
                product = self.start_product(f"--build={build}")
                points = {row["point"] for row in self.conform()["rows"]}
                self.assertEqual(points & {"actions", "indicators", "telemetry"}, kinds)
                product.end()

    def test_nobody_who_answers_is_not_reached(self):
        self.assertEqual(self.conform()["exit"], 3)

    def test_request_without_an_answer_is_named_and_the_next_one_is_tried(self):
        self.conform_with("hang inner=0x7FFFFFF1 transport=alpc")
        self.assertEqual(self.otherwise["advanced port: unknown request"], "no reply within 2000 ms")
        self.assertNotIn("legacy port: unknown request", self.otherwise)

    def test_request_that_nobody_knows_and_that_is_taken_is_named(self):
        self.conform_with("raw 0c0000000000000000000000 inner=0x7FFFFFF1")
        self.assertEqual(self.otherwise["legacy port: unknown request"], "taken with status 0")
        self.assertEqual(self.otherwise["advanced port: request of 200000 bytes"], "taken with status 0")

    def test_header_of_another_size_is_named(self):
        self.conform_with("header-size 16 inner=0x21")
        self.assertEqual(self.otherwise["advanced port: request"], "the first word of the reply is 16, not 12")

    def test_length_that_is_not_the_body_s_is_named(self):
        self.conform_with("value 7 inner=0x21")
        self.assertRegex(self.otherwise["legacy port: request"], r"^the reply tells a body of 7 bytes, and has \d+$")

    def test_reply_without_a_whole_header_is_named(self):
        self.conform_with("short 8 inner=0x21")
        self.assertEqual(self.otherwise["advanced port: request"], "the reply has 8 bytes; its header alone has 12")

    def test_failure_code_of_the_port_is_named(self):
        self.conform_with("code 9 inner=0x21")
        self.assertEqual(self.otherwise["legacy port: request"], "the port answers with code 9")

    def test_status_that_is_refused_is_named(self):
        self.conform_with("status 14 inner=0x21")
        self.assertEqual(self.otherwise["advanced port: request"], "a request for the status has status 14")
        self.assertIn("14", self.otherwise["protection status"])

    def test_reply_that_is_cut_without_a_word_is_named(self):
        self.conform_with("raw 0c0000000000000003000000 inner=0x21")
        self.assertEqual(self.otherwise["legacy port: reply that does not fit"], "cut short without a word")

    def test_ping_with_bytes_is_named(self):
        self.conform_with("oversized 4 command=0")
        self.assertEqual(list(self.otherwise)[:2], ["advanced port: ping", "legacy port: ping"])

    def test_records_that_cannot_be_read_are_named(self):
        self.conform_with("bad-payload inner=0x00100000")
        self.assertEqual([point for point in self.otherwise if "indicators" not in point], [])
        self.assertIn("indicators", self.otherwise)

    def recorded(self, *replies):
        """A product that answers requests for indicators from position 0 so, in this order."""
        recording = self.folder / "product.recording"
        request = "0c0000000006000100001000"
        answers = [{"request": request, "reply": reply} for reply in replies]
        recording.write_text(json.dumps({"ov-recording": 1, "build": 5600, "answers": answers}))
        self.start_product(f"--replay={recording}")
        return self.conform()

    def test_records_that_go_away_by_being_read_are_named(self):
        one = "0c00000000000000050000000a03616263"  # one record, "abc"
        none = "0c0000000000000000000000"
        self.recorded(one, none)
        self.assertEqual(self.otherwise["indicators read twice"],
                         "other records than at first: reading must take none away")

    def test_records_that_are_others_the_second_time_are_named(self):
        self.recorded("0c00000000000000050000000a03616263", "0c00000000000000050000000a03616264")
        self.assertIn("indicators read twice", self.otherwise)

    def test_position_that_is_not_counted_from_the_first_record_is_named(self):
        # Three from position 0 on; from 1 on the simulated product has none of its own.
        self.recorded("0c000000000000000f000000" "0a03616263" "0a03616264" "0a03616265")
        self.assertEqual(self.otherwise["indicators from position 1 on"],
                         "the first of them is not the second of all")

    def test_area_that_is_otherwise_is_named(self):
        product = self.start_product()
        product.say("area set version 3")
        self.conform()
        self.assertIn("area header", self.otherwise)

    def test_product_that_dies_in_the_middle_is_named(self):
        answer = self.conform_with("die inner=0x7FFFFFF1")
        self.assertNotEqual(answer["exit"], 0)
        self.assertEqual(self.otherwise["advanced port: unknown request"], "the connection breaks without an answer")


if __name__ == "__main__":
    main()
