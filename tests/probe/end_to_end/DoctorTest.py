"""Faults that are planted in an endpoint, and the cause that doctor must name for each."""
import os
import signal
import socket
import sqlite3
import time
import unittest

from Endpoint import AREA, BUILD, EndpointTest, main

KILL_LINE = "CKelcommChannel: Send request failed with 7"


class HealthyEndpoint(EndpointTest):
    def test_nothing_is_found_and_the_server_is_named(self):
        product = self.start_product()
        checks = self.doctor()
        self.assertEqual({check[0] for check in checks}, {"fine"}, checks)
        self.assertIn(f"served by process {product.process.pid} (simproduct)", checks[4][2])

    def test_a_running_host_is_looked_at_beside_it(self):
        self.start_product()
        host = self.start_host()
        host.wait_for("Connected to product")
        self.assertEqual({check[0] for check in self.doctor("--database", self.database, "--log", self.log)}, {"fine"})

    def test_what_of_the_host_was_not_looked_at_is_said(self):
        self.start_product()
        hint = "looked at: --log and --database, which are its log and its database, tell more."
        self.write_log("Connected to product, processing tasks")
        self.assertEqual(self.ask("doctor")["notes"][-1], f"The host was not {hint}")
        self.assertEqual(self.ask("doctor", "--log", self.log)["notes"][-1], f"The host was not wholly {hint}")
        self.store(XDR_OFFSET="0")
        self.assertNotIn(hint, self.ask("doctor", "--log", self.log, "--database", self.database)["notes"][-1])

    def test_of_several_findings_the_first_is_named_as_the_beginning(self):
        self.run_directory.mkdir(mode=0o700)
        (self.run_directory / BUILD).write_text("56x0")
        answer = self.ask("doctor")
        self.assertIn('Begin with "registration": what follows may follow from it.', answer["notes"])
        repair = [row["next"] for row in answer["rows"] if row["check"] == "registration"]
        self.assertIn(str(self.run_directory / BUILD), repair[0])

    def test_run_directory_that_is_not_there_is_doubtful(self):
        self.assert_names(self.doctor(), "doubtful", "run directory", f"{self.run_directory} is not there")

    def test_exit_codes_tell_nothing_found_something_found_and_not_reached(self):
        self.assertEqual(self.probe("doctor").returncode, 3)
        self.start_product()
        self.assertEqual(self.probe("doctor").returncode, 0)
        self.product.say("area set version 3")
        self.assertEqual(self.probe("doctor").returncode, 1)

    def test_a_pipe_gets_no_colour(self):
        self.assertNotIn(b"\x1b", self.probe("doctor").stdout)


class Registration(EndpointTest):
    def test_no_product_installed(self):
        self.start_product("--not-installed")
        self.assert_names(self.doctor(), "wrong", "registration", "no product is installed")

    def test_nothing_at_all(self):
        checks = self.doctor()
        self.assert_names(checks, "wrong", "registration", "no product is installed")
        self.assert_names(checks, "wrong", "advanced port", "no product is installed")

    def test_build_of_another_type(self):
        self.start_product()
        (self.run_directory / BUILD).write_text("5600-rc")
        self.assert_names(self.doctor(), "wrong", "registration", "is no 32-bit number")

    def test_build_that_cannot_be_read(self):
        self.start_product()
        (self.run_directory / BUILD).unlink()
        (self.run_directory / BUILD).mkdir()
        self.assert_names(self.doctor(), "wrong", "registration", "cannot be read")

    def test_product_older_than_indicators(self):
        self.start_product("--build=5057")
        self.assert_names(self.doctor(), "doubtful", "build switches on", "all tasks, but no indicators and no telemetry")

    def test_product_older_than_telemetry(self):
        self.start_product("--build=5542")
        self.assert_names(self.doctor(), "doubtful", "build switches on", "all tasks and indicators, but no telemetry")


class Ports(EndpointTest):
    def test_product_not_running(self):
        self.start_product()
        self.product.say("quit")
        self.product.process.wait()
        checks = self.doctor()
        self.assert_names(checks, "wrong", "advanced port", "nobody serves")
        self.assert_names(checks, "wrong", "legacy port", "nobody serves")

    def test_killed_product_leaves_its_area(self):
        self.start_product()
        self.start_watch()
        self.kill_product()
        self.assert_names(self.doctor(), "doubtful", "area", "left by a product that is gone")

    def test_advanced_port_absent(self):
        self.start_product("--misbehave=no-alpc")
        self.assert_names(self.doctor(), "doubtful", "advanced port", "nobody serves")

    def test_legacy_port_absent_is_as_it_may_be(self):
        self.start_product("--misbehave=no-lpc")
        self.assertEqual({check[0] for check in self.doctor()}, {"fine"})

    def test_run_directory_that_others_may_enter(self):
        self.start_product()
        self.run_directory.chmod(0o755)
        self.assert_names(self.doctor(), "wrong", "run directory", "its mode must be 0700")

    @unittest.skipIf(os.geteuid() != 0, "takes two users")
    def test_run_directory_of_another_user(self):
        self.start_product()
        os.chown(self.run_directory, 65534, 65534)
        self.assert_names(self.doctor(), "wrong", "run directory", "belongs to user 65534")

    @unittest.skipIf(os.geteuid() != 0, "takes two users")
    def test_port_of_another_user(self):
        self.start_product("--misbehave=no-alpc")
        # Who serves a port is asked of the system, which takes the user at the time of listening.
        port = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        self.addCleanup(port.close)
        port.bind(str(self.run_directory / "kelcomm31564b51to61564b51commportalpc.port"))
        os.seteuid(65534)
        try:
            port.listen()
        finally:
            os.seteuid(0)
        self.assert_names(self.doctor(), "wrong", "advanced port", "served by another one")

    def test_product_hung(self):
        self.start_product("--misbehave=hang command=any")
        checks = self.doctor("--timeout=0.5")
        self.assert_names(checks, "wrong", "advanced port", "no answer to a ping within 500 ms")
        self.assertEqual([check[2] for check in checks if check[1] == "area"], ["4096 bytes"])

    def test_product_stopped_by_a_signal(self):
        self.start_product()
        self.product.process.send_signal(signal.SIGSTOP)
        self.assert_names(self.doctor("--timeout=0.5"), "wrong", "advanced port", "no answer to a ping")

    def test_product_hangs_with_requests_only(self):
        self.start_product("--misbehave=hang inner=0x21")
        began = time.monotonic()
        self.assert_names(self.doctor("--timeout=0.5"), "wrong", "protection status", "no reply within 500 ms")
        self.assertLess(time.monotonic() - began, 15)

    def test_product_slow(self):
        self.start_product("--misbehave=delay 1200 command=any transport=alpc")
        self.assert_names(self.doctor(), "doubtful", "advanced port", "answers a ping in 1")

    def test_product_closes_connections(self):
        self.start_product("--misbehave=drop command=any")
        self.assert_names(self.doctor(), "wrong", "advanced port", "ends without a reply")

    def test_product_answers_with_a_code(self):
        self.start_product("--misbehave=code 3 command=any")
        self.assert_names(self.doctor(), "wrong", "advanced port", "answers with code 3")


class Area(EndpointTest):
    def setUp(self):
        super().setUp()
        self.start_product()

    def test_wrong_version(self):
        self.product.say("area set version 3")
        self.assert_names(self.doctor(), "wrong", "area header", "version 3: must be 2")

    def test_wrong_header_size(self):
        self.product.say("area set header-size 40")
        self.assert_names(self.doctor(), "wrong", "area header", "size of the head 40")

    def test_wrong_magic(self):
        self.product.say("area set magic 0")
        self.assert_names(self.doctor(), "wrong", "area header", "magic")

    def test_more_data_than_the_section_has(self):
        self.product.say("area set data-size 100000")
        self.assert_names(self.doctor(), "wrong", "area bounds", "more than the 4096 bytes of the section")

    def test_values_outside_of_the_data(self):
        self.product.say("area set data-size 60")
        self.assert_names(self.doctor(), "wrong", "area bounds", "value 7: outside of the area")

    def test_module_table_outside(self):
        self.product.say("area set first-module 1020")
        self.assert_names(self.doctor(), "wrong", "module table", "outside of the area")

    def test_block_of_the_server_plug_in_too_small(self):
        self.product.say("area set user-size 4")
        self.assert_names(self.doctor(), "wrong", "module table", "too small for value 10")

    def test_too_short(self):
        os.truncate(self.run_directory / AREA, 16)
        self.assert_names(self.doctor(), "wrong", "area", "16 bytes: too short for its header")

    def test_empty(self):
        os.truncate(self.run_directory / AREA, 0)
        self.assert_names(self.doctor(), "wrong", "area", "empty")

    def test_absent(self):
        (self.run_directory / AREA).unlink()
        self.assert_names(self.doctor(), "wrong", "area", "not there")

    def test_mutex_absent(self):
        (self.run_directory / AREA.replace("broadcast.section", "broadcastmutex.mutex")).unlink()
        self.assert_names(self.doctor(), "wrong", "area mutex", "not there")

    def test_mutex_held(self):
        self.product.say("area hold")
        self.assert_names(self.doctor(), "wrong", "area mutex", "held by somebody")

    def test_mutex_abandoned(self):
        self.start_watch()
        self.product.process.stdin.write("area die\n")
        self.product.process.stdin.flush()
        self.product.process.wait()
        self.assert_names(self.doctor(), "doubtful", "area mutex", "abandoned")


class Requests(EndpointTest):
    def fault(self, fault):
        self.start_product(f"--misbehave={fault}")
        return self.doctor()

    def test_ovprobe_is_no_administrator_and_the_host_perhaps_neither(self):
        refused = [check for check in self.fault("status 14 inner=0x21") if check[1] == "protection status"]
        self.assertEqual(refused, [
            ("wrong", "protection status",
             "the product refuses the request with status 14: ovprobe is not an administrator; a host that runs as "
             "this user likely meets the same", "run ovprobe as an administrator, and the host, too")])

    def test_product_older_than_a_task(self):
        self.assert_names(self.fault("status 1 inner=0x00100000"), "wrong", "indicators", "older than this task")

    def test_product_without_actions_may_be_as_it_should(self):
        checks = self.fault("status 1 inner=0x00100001")
        self.assert_names(checks, "doubtful", "actions", "older than this task")
        self.store(OV_REMEDIATION_ENABLED="0")
        self.assertEqual({check[0] for check in self.doctor("--database", self.database)}, {"fine"})
        self.store(OV_REMEDIATION_ENABLED="1")
        self.assert_names(self.doctor("--database", self.database), "wrong", "actions", "older than this task")

    def test_status_is_not_xml(self):
        self.assert_names(self.fault("raw 0c00000000000000030000003c613e inner=0x21"), "wrong", "protection status",
                          "malformed")

    def test_reply_of_another_protocol(self):
        self.assert_names(self.fault("header-size 16 inner=0x6E"), "wrong", "configuration", "wrong size")

    def test_short_reply(self):
        self.assert_names(self.fault("short 6 inner=0x6E"), "wrong", "configuration", "not full enough")

    def test_records_are_not_served(self):
        self.assert_names(self.fault("result-code 9 inner=0x00100002"), "wrong", "telemetry", "result code 9")

    def test_position_ahead_of_a_product_that_was_installed_anew(self):
        self.start_product()
        self.product.say("records append indicator count=3")
        self.store(XDR_OFFSET="5")
        self.assert_names(self.doctor("--database", self.database), "doubtful", "indicators",
                          "fewer of them than the stored position 5")
        self.store(XDR_OFFSET="3")
        self.assertEqual({check[0] for check in self.doctor("--database", self.database)}, {"fine"})


class Database(EndpointTest):
    def found(self, **values):
        self.start_product()
        self.store(**values)
        return self.doctor("--database", self.database)

    def test_position_that_is_no_number(self):
        checks = self.found(XDR_OFFSET="12a", XDR_TELEMETRY_OFFSET="", OV_REMEDIATION_OFFSET="0x1")
        self.assert_names(checks, "wrong", "position of indicators", "no number can be read")
        self.assert_names(checks, "wrong", "position of actions", "no number can be read")
        self.assertIn(("fine", "position of telemetry", "none is stored: they begin at 0", None), checks)

    def test_collection_switched_on_by_another_word(self):
        self.assert_names(self.found(XDR_ENABLED="true", XDR_HOST="a"), "wrong", "collection of records",
                          "XDR_ENABLED is neither 0 nor 1")

    def test_collection_without_a_server(self):
        self.assert_names(self.found(XDR_ENABLED="1"), "wrong", "collection of records", "XDR_HOST is empty")

    def test_remediation_flag_is_no_boolean(self):
        self.assert_names(self.found(OV_REMEDIATION_ENABLED="yes"), "wrong", "remediation actions",
                          "OV_REMEDIATION_ENABLED is neither 0 nor 1")

    def test_another_database_is_told_by_its_tables(self):
        connection = sqlite3.connect(self.database)
        connection.execute("CREATE TABLE settings (name TEXT)")
        connection.close()
        self.start_product()
        self.assert_names(self.doctor("--database", self.database), "wrong", "host's database", "it has: settings")
        self.assertEqual(self.probe("doctor", "--database", self.database).returncode, 1)

    def test_text_with_lines_of_keys_and_values(self):
        self.database.write_text("XDR_OFFSET=12a\n")
        self.assert_names(self.doctor("--database", self.database), "wrong", "position of indicators",
                          "no number can be read")

    def test_database_that_is_none(self):
        self.database.write_text("this is a text, and no database" * 100)
        self.assert_names(self.doctor("--database", self.database), "wrong", "host's database", "cannot be read")

    def test_database_that_is_not_there_is_not_made(self):
        self.assert_names(self.doctor("--database", self.database), "wrong", "host's database", "cannot be read")
        self.assertFalse(self.database.exists())


class Log(EndpointTest):
    def found(self, *texts):
        self.start_product()
        self.write_log("Connected to product, processing tasks", *texts)
        return self.doctor("--log", self.log)

    def test_task_given_up(self):
        self.assert_names(self.found("Message task was canceled because maximum retry count was reached"), "doubtful",
                          "log", "given up: it failed twice")

    def test_refusal_with_its_status(self):
        self.assert_names(self.found(KILL_LINE), "doubtful", "log", "the product has refused with status 7")

    def test_damaged_policy(self):
        self.assert_names(self.found("Policy is damaged: not a compressed blob"), "doubtful", "log", "damaged")

    def test_what_is_over_is_not_told(self):
        checks = self.found(KILL_LINE, "Received broadcast 8", "Connected to product, processing tasks")
        self.assertEqual({check[0] for check in checks}, {"fine"})
        self.assertIn(("fine", "last change of the area", "value 8, noticed 7 s ago", None), checks)

    def test_log_of_somebody_else(self):
        self.log.write_text("Nov 23 kernel: something\n")
        self.assert_names(self.doctor("--log", self.log), "doubtful", "host's log", "no line of it is a host's, of 1")

    def test_log_that_is_not_there(self):
        self.assert_names(self.doctor("--log", self.log), "wrong", "host's log", "cannot be read")

    def test_policy_of_a_wrong_version_in_a_real_life(self):
        self.start_product("--misbehave=status 7 inner=0x6D")
        host = self.start_host()
        host.wait_for("Connected to product")
        host.say("policy text=version-of-next-year")
        host.wait_for("connector module failed with: CKelcommChannel: Send request failed with 7")
        self.assert_names(self.doctor("--log", self.log), "doubtful", "log",
                          "a policy of a wrong version, for example; its status is 7")


if __name__ == "__main__":
    main()
