"""Whatever stands on the page can be searched: it leads to the events that say it, or to which it leads."""
from Page import PageTest, life, main, page_with

EVENT = {"lane": "bus", "kind": "log", "process": 0, "weight": 1, "text": "one"}
# 17 bytes, so that letters stand in two lines.
BYTES = b"\x00\xFFletters of bytes".hex()
LIFE = life(
    begin=1_790_000_000_000, length=100,
    processes=[{"name": "quiet host", "from": 0, "until": 100, "end": ""}, {"name": "odd product", "from": 0, "until": 100, "end": ""}],
    steps=[{"from": 3, "until": 5, "text": "Stepping stone", "held": False, "failure": "Stumbled"}],
    events=[
        {**EVENT, "at": 0, "text": "Said by the EVENT"},
        {**EVENT, "at": 1, "kind": "unusual", "level": 3, "lane": "watch"},
        {**EVENT, "at": 2, "fields": [["colour", "green"]], "rows": [{"name": "rowing", "symbols": [["9-oar", "wood"]]}]},
        {**EVENT, "at": 3, "bytes": BYTES, "length": 18,
         "parts": [[0, 1, "first part", "its value"], [1, 1, "second part", "", "out of bounds"]]},
        {**EVENT, "at": 4, "process": 1}, {**EVENT, "at": 5}, {**EVENT, "at": 6}, {**EVENT, "at": 7}, {**EVENT, "at": 8}],
    tasks=[{"what": "mow the lawn", "identifiers": ["a0000000-0000"], "from": 5, "until": 6, "attempts": 7,
            "state": "accepted-not-done", "why": "it rains",
            "road": [{"at": 5, "text": "told", "weight": 1, "event": 5}, {"at": 6, "text": "put off", "weight": 2, "event": 6}]}],
    records=[{"kind": "vinyl", "stored": None, "twice": None, "lost": None, "batches": [{"at": 7, "from": 1, "records": 1, "event": 7}]}],
    outages=[{"from": 8, "until": 9, "over": True, "first": False, "cause": "lightning", "attempts": 5, "event": 8}],
    neutral=[["the same in every run", 8], ["silent", None]])
FOUND = {
    "said by the event": [0], "unusual": [1], "warning": [1], "watch": [1], "colour=green": [2], "colour": [2], "GREEN": [2],
    "rowing": [2], "9-oar": [2], "wood": [2], "first part": [3], "its value": [3], "second part": [3], "out of bounds": [3],
    "00 ff 6c": [3], "letters of bytes": [3], "odd product": [4], "14:13:20.004": [4],
    "stepping stone": [3], "stumbled": [3],
    "mow the lawn": [5, 6], "a0000000-0000": [5, 6], "accepted, not done": [5, 6], "it rains": [5, 6], "attempts: 7": [5, 6],
    "put off": [6], "vinyl": [7], "lightning": [8], "attempts: 5": [8], "the same in every run": [8], "nowhere": [],
}


class Search(PageTest):
    def test_every_text_leads_to_its_events(self):
        with page_with(LIFE) as path:
            self.open(path, "view=events")
            for text, numbers in FOUND.items():
                with self.subTest(text=text):
                    self.run_script("const box = document.querySelector('#text'); box.value = arguments[0];"
                                    "box.dispatchEvent(new Event('input', {bubbles: true}))", text)
                    self.until(lambda: self.run_script("return new URLSearchParams(location.hash.slice(1)).get('text')") == text)
                    self.assertEqual([int(row.get_attribute("data-at")) for row in self.all(".row")], numbers)

    def test_search_without_an_event_says_so(self):
        with page_with(LIFE) as path:
            self.open(path, "view=events&text=nowhere")
            self.assertEqual(self.text("#view-events"), "0 events of 9\nNo event is as the search and the filter want it.")

    def test_filter_is_told_when_the_address_shows_another_life_with_it(self):
        with page_with(LIFE, {**LIFE, "title": "Other"}) as path:
            self.open(path, "life=0&kind=log&task=0")
            self.run_script("location.hash = 'life=1&kind=log&task=0'")
            self.until(lambda: self.text("h1") == "Other")
            self.assertEqual(self.run_script("return ['kind', 'task'].map((id) => document.getElementById(id).value)"), ["log", "0"])


if __name__ == "__main__":
    main()
