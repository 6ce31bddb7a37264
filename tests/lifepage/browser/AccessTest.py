"""Contrast, labels and roles, as axe-core checks them, in both schemes, wide and narrow: in every view of a real life, and of one in
which everything went wrong that can."""
from Page import PageTest, life, lives_of, main, page_with, written

VIEWS = ["tasks", "events", "steps", "records", "outages", "charts", "compare"]
STATES = {
    "open": ["given", "asked", "told"],
    "good": ["accepted", "done"],
    "warning": ["accepted-not-done", "failing", "done-with-warning", "dropped"],
    "bad": ["failed", "given-up"],
}
WEIGHTS = ["detail", "ordinary", "warning", "error"]
WHY = "it was tried as often as a task may be; the last time: no exchange with the product"


def troubled():
    """Every state of a task, every weight, a failed step, wrong bytes, outages of each kind, and lines to compare."""
    events = [{"at": 10.0 * (at + 1), "lane": "task", "kind": "log", "process": 0, "weight": at, "level": at + 1,
               "text": f"a line: {weight}", "fields": [["source", "module"]], "message": 0, "tasks": list(range(11))}
              for at, weight in enumerate(WEIGHTS)]
    events.append({
        "at": 60.0, "lane": "wire", "kind": "request", "process": 0, "weight": 1, "text": "get-status over ALPC, 4 bytes",
        "bytes": "0c000000", "length": 4, "parts": [[0, 2, "size", "12"]], "rows": [{"name": "0", "symbols": [["1-id", "7"]]}], "tasks": [0]})
    events.append({
        "at": 62.0, "lane": "wire", "kind": "reply", "process": 1, "weight": 3, "text": "status 0 over ALPC, 4 bytes",
        "bytes": "ff" * 4, "length": 9, "parts": [[0, 4, "size of the header", "4294967295", "more than there are"], [4, 0, "payload", "", "cut off"]], "answers": 4})
    road = [{"at": event["at"], "text": event["text"], "weight": event["weight"], "event": at} for at, event in enumerate(events[:4])]
    road[3]["at"] = 3000.0  # a wait is told
    tasks = [{"what": f"end process {state}", "identifiers": ["a0000000-0000-4000-8000-000000000001"], "from": 10.0, "until": 40.0,
              "attempts": 2, "state": state, "why": WHY, "road": road} for states in STATES.values() for state in states]
    outage = {"from": 10.0, "until": 20.0, "over": True, "first": False, "host-stopped": False, "cause": WHY, "attempts": 2, "event": 3}
    batches = [{"at": 50.0, "from": 1, "records": 8, "event": 5}]
    neutral = [[f"line {number}", number % 5] for number in range(30)]
    return life(
        title="A life in which everything went wrong", length=5000.0, events=events, tasks=tasks, neutral=neutral,
        processes=[{"name": "host 1", "from": 0, "until": 4000, "end": "with code 0"},
                   {"name": "product 1", "from": 0, "until": 70, "end": ""}],
        steps=[{"from": 0, "until": 20, "text": "It begins well", "held": True, "failure": ""},
               {"from": 20, "until": 70, "text": "It does not end well", "held": False, "failure": "line 7: the host never said: log"}],
        records=[{"kind": "action", "sent": 5, "stored": 5, "twice": 0, "lost": 0, "batches": batches},
                 {"kind": "telemetry", "sent": None, "stored": None, "twice": None, "lost": 3, "batches": batches}],
        outages=[outage, {**outage, "over": False}, {**outage, "over": False, "host-stopped": True}, {**outage, "first": True}])


def compared():
    """The same life in other words: a line is another one, one is missing, one is more."""
    one = troubled()
    lines = one["neutral"]
    return {**one, "neutral": [*lines[:10], ["another line", 0], *lines[11:20], *lines[21:], ["one more", None]]}


class Access(PageTest):
    def check(self, scheme):
        self.colours(scheme)
        told = lives_of(written("run"))[-1]
        request = next(at for at, event in enumerate(told["events"]) if "parts" in event)
        self.open(written("run"))
        for view in VIEWS:
            with self.subTest(view=view):
                self.go(f"view={view}&event={request}&task=0")
                self.assertEqual(self.findings(), [])

    def check_troubled(self, scheme):
        self.colours(scheme)
        with page_with(compared(), troubled()) as path:
            self.open(path)
            for address, selectors in self.looks():
                with self.subTest(address=address):
                    self.go(address)
                    self.run_script("document.querySelectorAll('details').forEach((one) => { one.open = true; })")
                    self.assertEqual(self.findings(), [])
                    for selector, least in selectors.items():
                        self.assertGreaterEqual(self.judged_of(selector), least, selector)

    @staticmethod
    def looks():
        """What is looked at, and of what the contrast must be computed there, how often at least."""
        yield "view=tasks", {".state.open": 3, ".state.good": 2, ".state.warning": 4, "#view-tasks .state.bad": 2, "header .state.bad": 1,
                             ".why": 11, ".identifiers li": 11, ".states dd": 11, ".wait": 11, "header p": 3,
                             **{f".road .link.{weight}": 11 for weight in WEIGHTS}}
        task = 0
        for mood, states in STATES.items():
            yield f"view=tasks&task={task}", {f"tr.here .state.{mood}": 1, "tr.here .why": 1,
                                              "tr.here .link.error": 1, "tr.here .link.detail": 1}
            task += len(states)
        yield "view=events", {f".row.{weight} .text": 1 for weight in WEIGHTS}
        for event, weight in enumerate(WEIGHTS):
            yield f"view=events&event={event}", {f"#details .mood.{weight}": 1, "#details dt": 3, ".message strong": 1}
        yield "view=events&event=4", {"#details .parts td": 2, "#details .dump": 1, "#details dd .link": 1}
        yield "view=events&event=5", {"#details .parts .bad": 2, "#details .dump": 1}
        yield "view=events&text=nowhere", {"#view-events .empty": 1, ".said": 1}
        yield "view=steps", {"#view-steps .state.good": 1, "#view-steps .state.bad": 1, "#view-steps .why": 1}
        yield "view=records", {"#view-records td": 10, "#view-records > p": 1}
        yield "view=outages", {"[aria-label='Outages'] td": 5, "[aria-label='Outages'] .bad": 1, "[aria-label='First connections'] td": 2}
        yield "view=charts", {"#view-charts h3": 2, "#view-charts p": 2}
        yield "view=compare", {"#view-compare .bad": 1, ".first :is(.link, td)": 2, ".differs:not(.first) :is(.link, td)": 2,
                               ".left-out td": 1, ".same :is(.link, td)": 10}

    def go(self, address):
        self.run_script("location.hash = arguments[0]", address)
        self.until(lambda: self.run_script("return document.querySelector('[role=tab][aria-selected=true]').id") ==
                   "tab-" + address.partition("view=")[2].partition("&")[0])

    def judged_of(self, selector):
        return self.run_script("return arguments[0].filter((one) => document.querySelector(one)?.matches(arguments[1])).length",
                               self.judged, selector)

    def test_light(self):
        self.check("light")

    def test_dark(self):
        self.check("dark")

    def test_light_when_everything_goes_wrong(self):
        self.check_troubled("light")

    def test_dark_when_everything_goes_wrong(self):
        self.check_troubled("dark")

    def test_dark_is_dark(self):
        self.colours("dark")
        self.open(written("run"))
        ground = self.one("body").value_of_css_property("background-color")
        self.assertLess(sum(int(part) for part in ground.strip("rgba()").split(",")[:3]), 150)


class Narrow(Access):
    """The colours are those of the wide page."""
    size = (500, 900)
    test_dark = test_dark_when_everything_goes_wrong = test_dark_is_dark = None


if __name__ == "__main__":
    main()
