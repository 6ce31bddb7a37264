"""The page of a real run: what it shows, what a click does, and that a link shows the same."""
from selenium.webdriver.common.action_chains import ActionChains

from Page import PageTest, life, lives_of, main, page_with, written

EVENT = {"at": 0, "lane": "task", "kind": "log", "process": 0, "weight": 1, "text": "one"}
OUTAGE = {"from": 0, "until": 5, "over": True, "first": False, "cause": "gone", "attempts": 1, "event": 0}
# Which rims of the time line the hint reaches over.
OUTSIDE = """
const hint = document.querySelector('.hint').getBoundingClientRect();
const frame = document.querySelector('.frame').getBoundingClientRect();
return ['left', 'top'].filter((rim) => hint[rim] < frame[rim]).concat(['right', 'bottom'].filter((rim) => hint[rim] > frame[rim]));"""
KEYS = "const box = document.querySelector('.frame canvas').getBoundingClientRect();"


class Run(PageTest):
    def test_head_tells_how_it_went(self):
        self.open(written("run"))
        told = lives_of(written("run"))[-1]
        self.assertEqual(self.text("h1"), told["title"])
        self.assertEqual(self.text("header .state"), f"all {len(told['steps'])} steps as expected")
        self.assertEqual(self.complaints(), [])

    def test_every_task_stands_in_a_row_with_its_road(self):
        self.open(written("run"), "view=tasks")
        tasks = lives_of(written("run"))[-1]["tasks"]
        rows = self.all("#view-tasks tbody tr")
        self.assertEqual(len(rows), len(tasks))
        self.assertGreater(len(tasks), 0)
        for row, task in zip(rows, tasks):
            self.assertIn(task["what"], row.text)
            self.assertEqual([link.text for link in row.find_elements("css selector", ".road button")],
                             [station["text"] for station in task["road"]])

    def test_records_are_counted_by_kind(self):
        self.open(written("run"), "view=records")
        rows = {row.text.split()[0]: row.text for row in self.all("#view-records tbody tr")}
        self.assertRegex(rows["indicator"], r"^indicator 1 to \d+ ")

    def test_outages_and_first_connections_are_counted_apart_in_the_head_and_behind_the_tab(self):
        first = {**OUTAGE, "first": True, "cause": "looks for it"}
        with page_with(life(events=[EVENT], outages=[first, OUTAGE, {**first, "from": 6, "until": 7}, OUTAGE, OUTAGE])) as path:
            self.open(path, "view=outages")
            self.assertIn("3 outages, the longest of 5 ms. 2 first connections.", self.text(".story"))
            self.assertEqual(self.text("#tab-outages"), "Outages3")
            self.assertEqual(len(self.all("[aria-label='Outages'] tbody tr")), 3)
            self.assertEqual(self.text("#view-outages h3"), "2 first connections")
            self.assertEqual([row.text for row in self.all("[aria-label='First connections'] tbody tr")],
                             ["14:13:20.000 5 ms 1 looks for it", "14:13:20.006 1 ms 1 looks for it"])

    def test_lengths_are_rounded_before_their_unit_is_chosen(self):
        lengths = [(0.5, "0.5 ms"), (999.4, "999 ms"), (999.7, "1.00 s"), (9994, "9.99 s"), (9996, "10.0 s"), (59940, "59.9 s"),
                   (59970, "1 min 0 s"), (144600, "2 min 24 s"), (7199999, "1 h 59 min")]
        with page_with(life(events=[EVENT], length=8e6, outages=[{**OUTAGE, "until": length} for length, _ in lengths])) as path:
            self.open(path, "view=outages")
            self.assertEqual([row.text for row in self.all("[aria-label='Outages'] tbody tr")],
                             [f"14:13:20.000 {said} 1 gone" for _, said in lengths])

    def test_life_around_midnight_tells_its_days(self):
        # 23:59:59.500 on 21 September 2026, and a second more.
        told = life(begin=1790035199500, length=1000, events=[EVENT],
                    outages=[{**OUTAGE, "until": 1}, {**OUTAGE, "from": 600, "until": 601}])
        with page_with(told) as path:
            self.open(path, "view=outages")
            self.assertEqual([row.text for row in self.all("[aria-label='Outages'] tbody tr")],
                             ["09-21 23:59:59.500 1 ms 1 gone", "09-22 00:00:00.100 1 ms 1 gone"])

    def test_outage_that_ended_with_its_host_says_so(self):
        stopped = {**OUTAGE, "over": False, "host-stopped": True}
        with page_with(life(events=[EVENT], outages=[stopped, {**stopped, "host-stopped": False}])) as path:
            self.open(path, "view=outages")
            self.assertEqual([row.text for row in self.all("#view-outages tbody tr")],
                             ["14:13:20.000 5 ms, until the host stopped 1 gone", "14:13:20.000 5 ms, not over 1 gone"])

    def test_head_says_that_the_last_outage_is_not_over(self):
        for last, said in [({"over": False}, "2 outages, the longest of 5 ms; the last one is not over."),
                           ({"over": False, "host-stopped": True}, "2 outages, the longest of 5 ms."),
                           ({}, "2 outages, the longest of 5 ms.")]:
            with self.subTest(last=last), page_with(life(events=[EVENT], outages=[OUTAGE, {**OUTAGE, **last}])) as path:
                self.open(path)
                self.assertEqual(self.text(".story"), said + " 1 event.")

    def test_records_behind_the_tab_are_records_and_those_not_for_the_host_are_explained(self):
        batch = {"at": 1, "from": 1, "records": 8, "event": 0}
        action = {"kind": "action", "sent": 5, "stored": 5, "twice": 0, "lost": 0, "batches": [batch]}
        telemetry = {**action, "kind": "telemetry", "sent": 500, "batches": [{**batch, "records": 500}, {**batch, "records": 1000}]}
        with page_with(life(events=[EVENT], records=[action, telemetry])) as path:
            self.open(path, "view=records")
            self.assertEqual(self.text("#tab-records"), "Records1,508")
            self.assertEqual([note.text for note in self.all("#view-records > p")],
                             ["action: 3 of 8 were not for the host: of actions, only those that block are stored"])

    def test_charts_are_drawn_when_they_are_looked_at(self):
        self.open(written("run"))
        self.assertEqual(self.all("figure"), [])
        self.one("#tab-charts").click()
        titles = [title.text for title in self.all("figure h3")]
        self.assertEqual(titles, ["Records over time", "Round trips", "Tasks on their road"])
        for canvas in self.all("figure canvas"):
            self.assertGreater(self.run_script(
                "const c = arguments[0]; const data = c.getContext('2d').getImageData(0, 0, c.width, c.height).data;"
                "return data.filter((byte) => byte !== 0).length", canvas), 1000)

    def test_click_on_the_time_line_chooses_the_event_there(self):
        self.open(written("run"))
        events = lives_of(written("run"))[-1]["events"]
        request = next(at for at, event in enumerate(events) if event["kind"] == "request" and "parts" in event)
        moment = events[request]["at"]
        self.open(written("run"), f"from={moment - 2}&until={moment + 2}")
        self.browser.refresh()
        canvas = self.one(".frame canvas")
        # The middle of the picture is the moment, the upper half of the wire has the requests.
        self.run_script(KEYS + "document.querySelector('.frame canvas').dispatchEvent(new MouseEvent('click', {bubbles: true,"
                        "clientX: box.left + box.width / 2, clientY: box.top + 44 + 4 * 30 + 13}))")
        self.assertIsNotNone(canvas)
        self.assertEqual(self.address().partition("event=")[2].partition("&")[0], str(request))
        self.assertEqual(self.text("#details h2"), events[request]["text"])

    def test_request_is_taken_apart_byte_by_byte_and_leads_to_its_reply(self):
        events = lives_of(written("run"))[-1]["events"]
        request = next(at for at, event in enumerate(events) if event.get("fields") and ["name", "get-indicators"]
                       in event["fields"] and event["kind"] == "request")
        self.open(written("run"), f"event={request}")
        rows = [[cell.text for cell in row.find_elements("css selector", "th, td")] for row in self.all(".parts tbody tr")]
        self.assertEqual(rows[0], ["0000", "4", "size of the header", "12 (0xc)"])
        self.assertEqual([row[0] for row in rows[:3]], ["0000", "0004", "0008"])
        self.one("#details summary").click()
        self.assertIn("0000  0c 00 00 00 00 06 00 01 00 00 10 00", self.text(".dump"))
        reply = next(link for link in self.all("#details dd button") if link.text.startswith("after "))
        reply.click()
        self.assertIn("answers", self.text("#details dl"))

    def test_log_on_the_bus_shows_its_rows_by_the_names_of_their_symbols(self):
        events = lives_of(written("run"))[-1]["events"]
        published = next(at for at, event in enumerate(events) if "rows" in event)
        self.open(written("run"), f"event={published}")
        shown = [cell.text for cell in self.all("#details table tbody th")]
        self.assertEqual(shown[:len(events[published]["rows"][0]["symbols"])],
                         [name for name, _ in events[published]["rows"][0]["symbols"]])

    def test_what_came_on_the_same_message_is_one_click_away(self):
        told = lives_of(written("run"))[-1]
        given = told["tasks"][0]["road"][0]["event"]
        self.open(written("run"), f"event={given}")
        others = self.all(".message li")
        self.assertGreater(len(others), 3)
        self.assertEqual(self.text(".message .here strong"), "this one")
        others[1].find_element("css selector", "button").click()
        self.assertNotIn(f"event={given}&", self.address() + "&")

    def test_search_filter_and_scale_are_in_the_address(self):
        self.open(written("run"))
        self.one("#text").send_keys("indicator")
        self.until(lambda: "text=indicator" in self.address())
        self.one("#weight").send_keys("without")
        self.one("[title='Show less time']").click()
        self.until(lambda: "from=" in self.address())
        address = self.address()
        said = self.text(".said")
        self.assertRegex(said, r"^\d+ events? of \d+$")
        self.open(written("1-kill"))
        self.open(written("run"), address)
        self.assertEqual(self.text(".said"), said)
        self.assertEqual(self.one("#text").get_attribute("value"), "indicator")
        self.assertEqual(self.address(), address)

    def test_address_of_a_stranger_does_no_harm(self):
        self.open(written("run"), "life=99&view=__proto__&event=-5.5&task=1e9&weight=x&hidden=,,<b>&from=NaN&until=1&constructor=1")
        self.assertEqual(self.text("h1"), lives_of(written("run"))[-1]["title"])
        self.assertEqual(self.complaints(), [])

    def test_address_chooses_nothing_that_there_is_not(self):
        told = lives_of(written("run"))[-1]
        events, tasks = len(told["events"]), len(told["tasks"])
        for address in ["event=1.5", f"event={events}", "event=", "event=-2", "event=0x1", "weight=9", "weight=0.5", f"task={tasks}", "task=0.5",
                        "life=2", "from=5", "from=5&until=5", "from=-1&until=5", "until=1e3", "toString=1", "__proto__=1"]:
            with self.subTest(address=address):
                self.open(written("run"), f"view=events&{address}")
                self.until(lambda: self.address() == "view=events")
                self.assertEqual(self.text(".said"), f"{events} events")
                self.assertEqual(self.text("#details"), "Choose an event on the time line or in a table to see all of it.")
                self.assertEqual(self.run_script("return [document.querySelector('#weight').value, document.querySelector('#task').value]"),
                                 ["0", "-1"])
                self.assertEqual(self.complaints(), [])

    def test_address_chooses_the_last_of_everything(self):
        told = lives_of(written("run"))[-1]
        address = f"weight=3&task={len(told['tasks']) - 1}&event={len(told['events']) - 1}&from=0.5&until=20.25"
        self.open(written("run"), address)
        self.assertEqual(self.text("#details h2"), told["events"][-1]["text"])
        self.assertEqual(self.run_script("return [document.querySelector('#weight').value, document.querySelector('#task').value]"),
                         ["3", str(len(told["tasks"]) - 1)])
        self.assertEqual(self.address(), address)

    def test_filter_by_task_leaves_what_belongs_to_it(self):
        told = lives_of(written("run"))[-1]
        self.open(written("run"), "view=events&task=0")
        own = [event for event in told["events"] if 0 in event.get("tasks", [])]
        self.assertEqual(self.text(".said"), f"{len(own)} events of {len(told['events'])}")

    def test_lane_that_is_hidden_is_filtered_out(self):
        told = lives_of(written("run"))[-1]
        self.open(written("run"), "view=events")
        self.one(".lane-wire input").click()
        left = [event for event in told["events"] if event["lane"] != "wire"]
        self.assertEqual(self.text(".said"), f"{len(left)} events of {len(told['events'])}")

    def test_other_life_of_the_page_can_be_chosen(self):
        self.open(written("run"))
        self.one("#life option").click()
        self.until(lambda: "life=0" in self.address())
        self.assertEqual(self.text("h1"), lives_of(written("run"))[0]["title"])

    def test_print_shows_every_table(self):
        self.open(written("run"))
        self.run_script("dispatchEvent(new Event('beforeprint'))")
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
        for view in ["tasks", "events", "steps", "records", "outages", "charts"]:
            self.assertTrue(self.one(f"#view-{view}").is_displayed(), view)
            self.assertNotEqual(self.text(f"#view-{view}"), "", view)
        self.assertFalse(self.one("#search").is_displayed())


class Waits(PageTest):
    def test_waits_are_folded_and_tell_their_length(self):
        events = [{"at": at, "lane": "task", "kind": "log", "process": 0, "weight": 1, "text": "one", "level": 2}
                  for at in [0, 100, 10_100, 10_110, 3_610_110]]
        with page_with(life(events=events, length=3_610_120)) as path:
            self.open(path)
            self.until(lambda: self.text(".piece") == "1 h 0 min in sight, 2 waits folded")
            self.one("#fold").click()
            self.until(lambda: self.text(".piece") == "1 h 0 min in sight")
            self.assertIn("folded=false", self.address())

    def test_waits_are_counted_that_are_in_sight(self):
        events = [{"at": at, "lane": "task", "kind": "log", "process": 0, "weight": 1, "text": "one", "level": 2}
                  for at in [0, 100, 10_100, 10_110, 20_110, 20_120, 3_620_120]]
        with page_with(life(events=events, length=3_620_130)) as path:
            self.open(path, "from=9000&until=10120")
            self.until(lambda: self.text(".piece").endswith(" in sight, 2 waits folded"))
            self.one("[title='Show all of the life']").click()
            self.until(lambda: self.text(".piece").endswith(" in sight, 3 waits folded"))


class Pointing(PageTest):
    # In the middle of its lane, the lowest one, and of the picture.
    EVENT = {"at": 500, "lane": "area", "kind": "log", "process": 0, "weight": 1, "text": "one"}

    def mouse(self, x, y):
        """One that goes there, from the left upper corner of the picture."""
        canvas = self.one(".frame canvas")
        width, height = canvas.size["width"], canvas.size["height"]
        return ActionChains(self.browser, duration=20).move_to_element_with_offset(canvas, x - width // 2, y - height // 2)

    def test_mouse_that_moves_a_little_chooses(self):
        with page_with(life(events=[self.EVENT])) as path:
            self.open(path, "folded=false")
            middle = self.one(".frame canvas").size["width"] // 2
            self.mouse(middle, 257).click_and_hold().move_by_offset(1, 0).move_by_offset(2, 1).release().perform()
            self.until(lambda: self.address() == "event=0&folded=false")

    def test_mouse_that_drags_moves_and_chooses_nothing(self):
        with page_with(life(events=[self.EVENT])) as path:
            self.open(path, "from=400&until=600&folded=false")
            middle = self.one(".frame canvas").size["width"] // 2
            self.mouse(middle, 257).click_and_hold().move_by_offset(3, 0).move_by_offset(3, 0).release().perform()
            self.until(lambda: "from=400&" not in self.address())
            self.assertNotIn("event=", self.address())

    def test_hint_is_never_cut_off(self):
        lanes = {"host": 59, "bus": 89, "task": 119, "watch": 149, "wire": 177, "product": 227, "area": 257}  # and their middles
        events = [{**self.EVENT, "at": at, "lane": lane, "text": "a few words, " * 20} for lane in lanes for at in (0, 500, 1000)]
        with page_with(life(events=sorted(events, key=lambda event: event["at"]))) as path:
            self.open(path, "folded=false")
            width = self.one(".frame canvas").size["width"]
            for lane, y in lanes.items():
                for x in (12, width // 2, width - 12):
                    with self.subTest(lane=lane, x=x):
                        self.mouse(x, y).perform()
                        self.assertTrue(self.one(".hint").is_displayed())
                        self.assertEqual(self.run_script(OUTSIDE), [])
                        self.mouse(200, y).perform()
                        self.assertFalse(self.one(".hint").is_displayed())

    def test_step_tells_all_of_its_text(self):
        text = "The product has records to give, and gives them in three replies: " * 4
        with page_with(life(steps=[{"from": 0, "until": 1000, "text": text.strip(), "held": True, "failure": ""}])) as path:
            self.open(path)
            self.run_script(KEYS + "document.querySelector('.frame canvas').dispatchEvent(new MouseEvent('mousemove', {bubbles: true,"
                            "clientX: box.left + 300, clientY: box.top + 8}))")
            self.assertEqual(self.run_script("return document.querySelector('.hint').textContent"), "1  " + text.strip())
            self.assertTrue(self.one(".hint").is_displayed())

    def test_legend_names_what_is_drawn(self):
        self.open(written("run"))
        self.assertEqual([entry.text.lstrip("\u25b6\u25c0\n ") for entry in self.all(".legend .entry")],
                         ["not connected", "looks for the product at first", "request", "reply", "event", "detail", "warning", "error",
                          "filtered out", "a process runs"])
        self.assertEqual(self.one(".key.warning").value_of_css_property("background-color"), "rgba(147, 86, 0, 1)")


if __name__ == "__main__":
    main()
