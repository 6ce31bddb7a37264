"""Wrong and missing files, logs, digits and identifiers of what needs no product: decode and explain."""
from Endpoint import EndpointTest, main

STATUS_REQUEST = "0c000000 00060001 21000000"
TASK = "11111111-1111-1111-1111-111111111111"


class Bytes(EndpointTest):
    """decode, however it is given what it takes apart."""
    TABLE = (b"000000  size of the header  12 (0xc)\n"
             b"000004  marker              16778752 (0x1000600)\n"
             b"000008  command             33 (0x21), get-status\n"
             b"request: 3 fields, nothing wrong\n")

    def setUp(self):
        super().setUp()
        self.file = self.folder / "bytes"

    def assert_taken_apart(self, *arguments, given=b""):
        ended = self.probe("decode", *arguments, given=given)
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, self.TABLE, b""), arguments)

    def test_the_same_request_from_a_file_from_the_input_and_as_digits(self):
        self.file.write_bytes(bytes.fromhex(STATUS_REQUEST))
        self.assert_taken_apart(self.file)
        self.assert_taken_apart(given=bytes.fromhex(STATUS_REQUEST))
        self.assert_taken_apart("-", given=bytes.fromhex(STATUS_REQUEST))
        self.assert_taken_apart("-", "--hex-text", given=STATUS_REQUEST.encode())
        self.assert_taken_apart("--hex", STATUS_REQUEST)
        self.file.write_text(STATUS_REQUEST)
        self.assert_taken_apart(self.file, "--hex-text")

    def test_digits_that_are_taken_for_bytes(self):
        self.file.write_text(STATUS_REQUEST)
        self.assert_wrong("decode", self.file, says="cannot tell what this is: say it with --kind")

    def test_nothing_to_take_apart(self):
        self.file.write_bytes(b"")
        for arguments in ((self.file,), (self.file, "--hex-text"), (), ("-",), ("--hex-text",), ("--hex", " "),
                          (self.file, "--kind", "request")):
            self.assert_wrong("decode", *arguments, says="there is nothing to take apart: no byte was given")

    def test_file_that_cannot_be_read(self):
        for file in (self.folder / "none", self.folder):
            self.assert_wrong("decode", file, says=f"{file}: cannot be read")
            self.assert_wrong("decode", file, "--hex-text", says=f"{file}: cannot be read")

    def test_digits_that_are_none(self):
        self.assert_wrong("decode", "--hex", "zz", says="line 1: no hexadecimal digit: z")
        self.assert_wrong("decode", "--hex", "0c0", says="line 1: half a byte")
        self.assert_wrong("decode", "--hex-text", given=b"0c00\nxyz", says="line 2: no hexadecimal digit: x")

    def test_options_that_are_none(self):
        self.file.write_bytes(bytes.fromhex(STATUS_REQUEST))
        self.assert_wrong("decode", "--explode", says="--explode")
        self.assert_wrong("decode", self.file, "extra", says="extra")
        self.assert_wrong("decode", self.file, "--kind", "letter", says="letter")
        self.assert_wrong("decode", self.file, "--command", "explode", says="no command of the product: explode")
        self.assert_wrong("decode", "--hex-text", "--hex", "00", says="--hex excludes --hex-text")
        self.assert_wrong("decode", "--hex")


class Logs(EndpointTest):
    """explain, and which logs and identifiers it takes."""

    def write_kill(self):
        nodes = f'<NODE NAME="USERDATA" TYPE="STRING" VALUE="{TASK};{TASK.replace("1", "2")};{TASK.replace("1", "3")}" />'
        self.write_log("Connected to product, processing tasks", "Sending kill process by pid request to product",
                       'XML request: <?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1"><REQUEST '
                       f'FUNCTION="KILL_PROCESS_BY_PID"><DATA>{nodes}</DATA></REQUEST></MESSAGE></TULK>')

    def test_no_log_and_unknown(self):
        self.write_kill()
        self.assert_wrong("explain", says="log is required")
        self.assert_wrong("explain", "--explode", self.log, says="--explode")
        self.assert_wrong("explain", self.log, "--task", says="--task")

    def test_log_that_cannot_be_read(self):
        self.write_kill()
        for file in (self.folder / "none", self.folder):
            self.assert_wrong("explain", file, says=f"{file} cannot be read: ")
            self.assert_wrong("explain", self.log, file, says=f"{file} cannot be read: ")

    def test_log_that_is_given_twice(self):
        self.write_kill()
        self.assert_wrong("explain", self.log, self.log, says="a log is given twice")
        self.assert_wrong("explain", "-", "-", says="a log is given twice")

    def test_log_without_a_line(self):
        self.log.write_text("")
        for arguments in ((self.log,), ("-",), (self.log, "--task", TASK)):
            ended = self.probe("explain", *arguments)
            self.assertEqual((ended.returncode, ended.stderr), (1, b""))
            self.assertTrue(ended.stdout.startswith(b"the log is empty\n"), ended.stdout)

    def test_identifiers_that_are_none(self):
        self.write_kill()
        for text in ("kill", "", "{}", "{" + TASK, TASK + "}", TASK + "1", TASK.replace("-", "_"), f"{TASK};{TASK}"):
            self.assert_wrong("explain", f"--task={text}", self.log, says="no identifier of a task")

    def test_identifier_is_taken_in_braces_and_by_its_beginning(self):
        self.write_kill()
        plain = self.probe("explain", "--task", TASK, self.log)
        self.assertEqual((plain.returncode, plain.stderr), (1, b""))
        self.assertTrue(plain.stdout.startswith(b"  kill a process: "), plain.stdout)
        self.assertIn(b"\n      " + TASK.encode() + b";", plain.stdout)
        for text in ("{" + TASK + "}", TASK[:9], "{1111}"):
            self.assertEqual(self.probe("explain", "--task", text, self.log).stdout, plain.stdout, text)


if __name__ == "__main__":
    main()
