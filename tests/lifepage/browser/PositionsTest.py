"""Positions of records: those that came again, those that nobody asked for, and those that came late."""
from Page import PageTest, life, main, page_with

EVENT = {"at": 0, "lane": "wire", "kind": "reply", "process": 0, "weight": 1, "text": "one"}


def kind(name, *batches, sent=None):
    """`batches`: the first position and how many."""
    return {"kind": name, "sent": sent, "stored": None, "twice": None, "lost": None,
            "batches": [{"at": at, "from": begin, "records": records, "event": 0} for at, (begin, records) in enumerate(batches)]}


class Positions(PageTest):
    def shown(self, *kinds):
        """By kind what stands in the column of positions."""
        with page_with(life(events=[EVENT], records=list(kinds))) as path:
            self.open(path, "view=records")
            return {row.find_element("css selector", "th").text: row.find_elements("css selector", "td")[0].text
                    for row in self.all("[aria-label='Records by kind'] tbody tr")}

    def test_records_that_came_again_and_those_not_asked_for_are_told(self):
        # 1 to 10, 6 to 15, 21 to 25
        self.assertEqual(self.shown(kind("indicator", (1, 10), (6, 10), (21, 5))),
                         {"indicator": "1 to 25; 16 to 20 not asked for, 6 to 10 again"})

    def test_kinds_are_told_each_for_itself(self):
        kinds = [kind("indicator", (1, 10), (11, 5)), kind("action", (1, 3), (1, 3), (1, 3)), kind("telemetry", (5, 2), (9, 1))]
        self.assertEqual(self.shown(*kinds),
                         {"indicator": "1 to 15", "action": "1 to 3; 1 to 3 again, 1 to 3 again",
                          "telemetry": "5 to 9; 7 to 8 not asked for"})

    def test_records_that_came_late_are_neither_missing_nor_twice(self):
        self.assertEqual(self.shown(kind("indicator", (1, 5), (11, 5), (6, 5)), kind("telemetry", (11, 10), (1, 10))),
                         {"indicator": "1 to 15", "telemetry": "1 to 20"})

    def test_batch_over_two_others_came_again_where_they_were(self):
        # 1 to 5, 11 to 15, then 4 to 12
        self.assertEqual(self.shown(kind("indicator", (1, 5), (11, 5), (4, 9))), {"indicator": "1 to 15; 4 to 5 again, 11 to 12 again"})

    def test_reply_without_records_has_no_position(self):
        self.assertEqual(self.shown(kind("indicator", (1, 5), (3, 0), (9, 0)), kind("telemetry", (1, 0)), kind("action")),
                         {"indicator": "1 to 5", "telemetry": "none", "action": "none"})

    def test_actions_that_came_again_count_once_among_those_not_for_the_host(self):
        # 1 to 8 and 5 to 12 are twelve, of which ten were for the host.
        self.shown(kind("action", (1, 8), (5, 8), sent=10))
        self.assertEqual([note.text for note in self.all("#view-records > p")],
                         ["action: 2 of 12 were not for the host: of actions, only those that block are stored"])

    def test_many_of_them_are_folded_and_all_there(self):
        # 1, 3, 5 ... 399: before each but the first one is missing.
        self.shown(kind("indicator", *[(1 + 2 * at, 1) for at in range(200)]))
        cell = self.one("[aria-label='Records by kind'] tbody td")
        self.assertTrue(cell.text.startswith("1 to 399; 2 to 2 not asked for, 4 to 4 not asked for, "))
        self.assertLess(len(cell.text), 1100)
        cell.find_element("css selector", "summary").click()
        self.assertTrue(cell.text.endswith(", 396 to 396 not asked for, 398 to 398 not asked for"))


if __name__ == "__main__":
    main()
