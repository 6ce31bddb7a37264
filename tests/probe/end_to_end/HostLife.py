"""One life of the real host and connector, told by its log: a kill is done, the product is killed and comes back no more,
and another kill is given up. It takes as long as the connector's look at the product, which is five seconds."""
import functools
import re
import unittest

from Endpoint import EndpointTest

DONE = ["a0000000-0000-4000-8000-00000000000" + digit for digit in "123"]
GIVEN_UP = ["b0000000-0000-4000-8000-00000000000" + digit for digit in "123"]


def kill(host, pid, identifiers):
    host.say(f"kill pid={pid} ids={','.join(identifiers)}")
    host.wait_for("deliver type=918 ")


def quit_host(host):
    host.say("quit")
    host.process.wait()
    host.reader.join()


def live(endpoint):
    """In the test `endpoint`. Its log is the host's; returned is all that the host has told, in the order of its lines."""
    product = endpoint.start_product()
    host = endpoint.start_host()
    host.wait_for("Connected to product")
    victim = re.search(r"\bpid=(\d+)", product.say("start victim"))[1]
    kill(host, victim, DONE)
    product.wait_for("action=kill")
    host.say("trigger kind=2")  # the connector asks by itself, ten seconds later
    host.wait_for("Task status received")
    host.say("trigger kind=0")  # done when the connector is through with what came before
    host.wait_for("Protection status log deserialized")
    endpoint.kill_product()
    host.wait_for("Ping failed")
    host.wait_for("Send request failed")  # what the watch asks for then
    quit_host(host)

    later = endpoint.start_host()
    later.wait_for("Connecting to product")
    kill(later, 1, GIVEN_UP)
    quit_host(later)
    return host.lines + later.lines


@functools.lru_cache(maxsize=None)
def shared():
    """One for all tests of a suite: its endpoint, and all that the host has told."""
    endpoint = EndpointTest()
    endpoint.setUp()
    unittest.addModuleCleanup(endpoint.doCleanups)
    return endpoint, live(endpoint)
