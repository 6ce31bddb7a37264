"""Long lives as dense as real ones: rounds of some that were played, one behind the other."""
from Page import life, lives_of


def moved(event, first, first_task, when):
    """An event of a round, with the numbers and the time that it has in the whole."""
    there = {**event, "at": when(event["at"])}
    for key in ("answers", "message"):
        if key in event:
            there[key] = event[key] + first
    if "tasks" in event:
        there["tasks"] = [task + first_task for task in event["tasks"]]
    return there


def at_place(item, first, when):
    """What lasts and what happened once, each leading to its event."""
    times = {key: when(item[key]) for key in ("at", "from", "until") if key in item}
    event = {"event": item["event"] + first} if "event" in item else {}
    return {**item, **times, **event}


class Rounds:
    """As many rounds of all these lives as `events` need. `length`: of all in milliseconds; None: as long as they were."""

    def __init__(self, paths, events, length=None):
        self.lives = [lives_of(path)[-1] for path in paths]
        self.last = self.lives[-1]
        self.number = -(-events // sum(len(one["events"]) for one in self.lives))
        whole = self.number * sum(one["length"] for one in self.lives)
        self.length = whole if length is None else length
        self.pace = self.length / whole

    def count(self, member):
        return self.number * sum(len(one[member]) for one in self.lives)

    def life(self):
        whole = life(title="Many rounds", begin=self.last["begin"], length=self.length)
        begin = 0
        for one in self.number * self.lives:
            self.append(whole, one, lambda moment, begin=begin: begin + moment * self.pace)
            begin += one["length"] * self.pace
        return whole

    @staticmethod
    def append(whole, one, when):
        first, first_task, process = len(whole["events"]), len(whole["tasks"]), len(whole["processes"])
        for member in ("processes", "steps", "outages"):
            whole[member].extend(at_place(item, first, when) for item in one[member])
        for event in one["events"]:
            whole["events"].append({**moved(event, first, first_task, when), "process": event["process"] + process})
        for task in one["tasks"]:
            whole["tasks"].append({**at_place(task, first, when), "road": [at_place(station, first, when) for station in task["road"]]})
        for own in one["records"]:
            records = next((records for records in whole["records"] if records["kind"] == own["kind"]), None)
            if records is None:
                records = {**own, "batches": []}
                whole["records"].append(records)
            last = records["batches"][-1] if records["batches"] else None
            ahead = last["from"] + last["records"] - own["batches"][0]["from"] if last and own["batches"] else 0
            for batch in own["batches"]:
                there = at_place(batch, first, when)
                # A batch has a position in "from", and no time.
                records["batches"].append({**there, "from": batch["from"] + ahead})
        whole["neutral"].extend([text, None if event is None else event + first] for text, event in one["neutral"])
