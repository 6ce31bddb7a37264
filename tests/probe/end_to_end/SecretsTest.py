"""What records, policies, keys and log lines hold does not show in what doctor says, whatever is wrong."""
import unittest

from Endpoint import EndpointTest, main

CANARY = "canary-7f3a"


class Secrets(EndpointTest):
    def everything(self):
        """All that doctor writes, in both forms."""
        arguments = ["doctor", "--database", self.database, "--log", self.log, "--timeout", "1"]
        written = b""
        for form in ([], ["--json"]):
            ended = self.probe(*arguments, *form)
            written += ended.stdout + ended.stderr
        self.assertIn(b"checks: ", written)
        return written.decode()

    def plant(self):
        product = self.start_product()
        file = self.folder / "policy"
        file.write_text(f"{CANARY}=password\n" * 3)
        self.assertEqual(self.probe("import", file, "--yes").returncode, 0)
        self.assertIn(CANARY, self.probe("policy").stdout.decode())
        product.say(f"start {CANARY}")
        product.say("live on")
        product.say(f"start {CANARY}-2")
        product.say("records append indicator count=2")
        self.store(XDR_OFFSET=CANARY, XDR_TELEMETRY_OFFSET=CANARY, OV_REMEDIATION_OFFSET=CANARY, XDR_ENABLED=CANARY,
                   XDR_HOST=CANARY, OV_REMEDIATION_ENABLED=CANARY, POLICY=CANARY)
        self.write_log(f"XML request: <{CANARY}>", f"Protection status log raw content: {CANARY}",
                       f"CKelcommChannel: Send request failed with 3 {CANARY}", f"Policy is damaged: {CANARY}",
                       f"Received broadcast {CANARY}", CANARY)
        return product

    def test_none_in_what_doctor_says_of_a_working_product(self):
        self.plant()
        self.assertNotIn(CANARY, self.everything())

    def test_none_when_replies_are_malformed(self):
        for fault in (f"raw {b'0123456789ab'.hex()}{CANARY.encode().hex()} inner=0x6E",
                      f"raw 0c00000000000000{len(CANARY):02x}000000{CANARY.encode().hex()} inner=0x21",
                      f"raw 0c00000000000000{len(CANARY):02x}000000{CANARY.encode().hex()} inner=0x00100000"):
            with self.subTest(fault=fault):
                product = self.plant()
                product.say(f"misbehave {fault}")
                self.assertNotIn(CANARY, self.everything())
                product.end()

    def test_none_of_a_registration_of_another_type(self):
        self.plant()
        (self.run_directory / "ovanta-agent-build").write_text(CANARY)
        self.assertNotIn(CANARY, self.everything())


if __name__ == "__main__":
    main()
