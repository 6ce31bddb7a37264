"""What became of a task, and what choosing one does."""
from Page import PageTest, life, main, page_with

EVENT = {"at": 1, "lane": "bus", "kind": "log", "process": 0, "weight": 1, "text": "one"}
TASK = {"what": "end process 4711", "identifiers": [], "from": 1, "until": 1, "attempts": 1, "state": "accepted", "why": "",
        "road": [{"at": 1, "text": "given to the host", "weight": 1, "event": 0}]}


class Tasks(PageTest):
    def test_task_that_was_accepted_and_not_done_warns_and_says_why(self):
        undone = {**TASK, "state": "accepted-not-done", "why": "product does not do it: not a lab process"}
        with page_with(life(events=[EVENT], tasks=[TASK, undone])) as path:
            self.open(path)
            good, warned = self.all("#view-tasks .state")
            self.assertEqual(good.text, "accepted")
            self.assertEqual(warned.text, "accepted, not done")
            self.assertIn("warning", warned.get_attribute("class"))
            self.assertEqual(self.text("#view-tasks .why"), "product does not do it: not a lab process")
            self.assertIn("2 tasks: 1 accepted; 1 accepted, not done.", self.text(".story"))

    def test_states_that_there_are_are_explained(self):
        with page_with(life(events=[EVENT], tasks=[TASK, {**TASK, "state": "done"}])) as path:
            self.open(path)
            self.assertEqual(self.one("#view-tasks .state").get_attribute("title"),
                             "the product has taken it over; no outcome was told")
            self.one("#view-tasks > details summary").click()
            self.assertEqual(self.text(".states"), "accepted\nthe product has taken it over; no outcome was told\n"
                                                   "done\nthe server was told that it is done")

    def test_task_that_is_chosen_shows_its_first_event_in_place_of_a_strangers(self):
        events = [{**EVENT, "text": text} for text in ["of another", "of the first", "of the second"]]
        tasks = [{**TASK, "road": [{**TASK["road"][0], "event": 1}]}, {**TASK, "road": [{**TASK["road"][0], "event": 2}]}]
        with page_with(life(events=events, tasks=tasks)) as path:
            self.open(path, "event=0")
            self.assertEqual(self.text("#details h2"), "of another")
            self.one("#view-tasks tbody th button").click()
            self.assertEqual(self.text("#details h2"), "of the first")
            self.assertIn("task=0&event=1&", self.address())
            self.all("#task option")[2].click()
            self.until(lambda: "task=1&event=2&" in self.address())
            self.assertEqual(self.text("#details h2"), "of the second")

    def test_task_without_a_road_leaves_nothing_chosen(self):
        with page_with(life(events=[EVENT], tasks=[{**TASK, "road": []}])) as path:
            self.open(path, "event=0")
            self.one("#view-tasks tbody th button").click()
            self.assertNotIn("event=", self.address())


if __name__ == "__main__":
    main()
