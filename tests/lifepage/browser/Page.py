"""A page of a life in a real browser: opened, asked, and watched for requests.

usage of a suite: <Suite>Test.py <folder of the pages that were written> [<folder of axe-core>]
"""
import atexit
import contextlib
import functools
import json
import os
import pathlib
import re
import sys
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.support.ui import WebDriverWait

PATIENCE = 120  # seconds; others compute beside us
TRANSCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "e2e" / "transcripts"
DATA = re.compile(r'(<script type="application/json" id="lives">)(.*?)(</script>)', re.DOTALL)


def written(name):
    """A page that labrunner has written."""
    return pathlib.Path(sys.argv[1]) / f"{name}.html"


def lives_of(path):
    return json.loads(DATA.search(path.read_text(encoding="ascii"))[2])["lives"]


@contextlib.contextmanager
def page_with(*lives):
    """The page of a run, with other lives in it, escaped as the writer does."""
    data = json.dumps({"form": "life-of-a-connector", "version": 1, "lives": lives})
    for letter in "<>&":
        data = data.replace(letter, f"\\u{ord(letter):04x}")
    page = written("run").read_text(encoding="ascii")
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "page.html"
        path.write_text(DATA.sub(lambda parts: parts[1] + data + parts[3], page, count=1), encoding="ascii")
        yield path


def life(**members):
    """A life of nothing, but for what is given."""
    return {"title": "A life", "told-by": "a test", "begin": 1790000000000, "length": 1000.0, "processes": [], "steps": [],
            "events": [], "tasks": [], "records": [], "outages": [], "neutral": [], **members}


@functools.cache
def browser():
    """The one browser of this process, which ends with it: to start one takes longer than most tests."""
    options = webdriver.ChromeOptions()
    options.add_argument("--headless=new")
    options.add_argument("--disable-gpu")
    options.add_argument("--disable-dev-shm-usage")
    if os.geteuid() == 0:
        options.add_argument("--no-sandbox")
    options.set_capability("goog:loggingPrefs", {"performance": "ALL", "browser": "ALL"})
    started = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    atexit.register(started.quit)
    started.set_script_timeout(PATIENCE)
    return started


class PageTest(unittest.TestCase):
    """A class of tests has a tab of the browser, each test an empty page in it."""

    size = (1440, 1000)

    @classmethod
    def setUpClass(cls):
        cls.browser = browser()
        cls.browser.switch_to.new_window("tab")
        cls.addClassCleanup(cls.close)
        cls.browser.set_window_size(*cls.size)

    @classmethod
    def close(cls):
        cls.browser.close()
        cls.browser.switch_to.window(cls.browser.window_handles[0])

    def setUp(self):
        self.browser.get("about:blank")
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "", "features": []})
        self.requests()
        self.complaints()

    def open(self, path, address=""):
        self.browser.get(f"file://{path}" + (f"#{address}" if address else ""))
        self.until(lambda: self.run_script("return document.documentElement.dataset.shown !== undefined"))

    def colours(self, scheme):
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                     {"features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def run_script(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def until(self, condition):
        return WebDriverWait(self.browser, PATIENCE, poll_frequency=0.05).until(lambda _: condition())

    def one(self, selector):
        return self.browser.find_element("css selector", selector)

    def all(self, selector):
        return self.browser.find_elements("css selector", selector)

    def text(self, selector):
        return self.one(selector).text

    def press(self, *keys):
        ActionChains(self.browser).send_keys(*keys).perform()

    def focused(self):
        return self.browser.switch_to.active_element

    def address(self):
        return self.browser.current_url.partition("#")[2]

    def requests(self):
        """The addresses that were asked for since the last call, and whether the page's policy kept the request back."""
        messages = [json.loads(entry["message"])["message"] for entry in self.browser.get_log("performance")]
        kept = {message["params"]["requestId"] for message in messages
                if message["method"] == "Network.loadingFailed" and message["params"].get("blockedReason") == "csp"}
        return [(message["params"]["request"]["url"], message["params"]["requestId"] in kept) for message in messages
                if message["method"] == "Network.requestWillBeSent"]

    def complaints(self):
        """What the browser has to say of the page since the last call."""
        return [entry["message"] for entry in self.browser.get_log("browser")]

    def findings(self):
        """What axe-core has to say of the page as it is shown. `judged` is of which elements it has computed the contrast then."""
        if self.run_script("return window.axe === undefined"):
            self.run_script((pathlib.Path(sys.argv[2]) / "axe.min.js").read_text(encoding="utf-8"))
        rules, self.judged, found = self.browser.execute_async_script(
            "const done = arguments[0]; axe.run(document).then((result) => done([result.passes.length, "
            "result.passes.filter((one) => one.id === 'color-contrast').flatMap((one) => one.nodes.map((node) => node.target[0])), "
            "result.violations.map((one) => `${one.id}: ${one.help}: ${one.nodes.slice(0, 3).map((node) => node.html).join(' ')}`)]));")
        self.assertGreater(rules, 15)
        return found


def main():
    unittest.main(argv=sys.argv[:1])
