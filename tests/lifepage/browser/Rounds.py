"""Long lives as dense as real ones: the rounds of one that was played, one behind the other."""
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
    """As many rounds as `events` need. `length`: of all of them in milliseconds; None: as long as they were."""

    def __init__(self, path, events, length=None):
        self.round = lives_of(path)[-1]
        self.number = -(-events // len(self.round["events"]))
        self.each = self.round["length"] if length is None else length / self.number
        self.pace = self.each / self.round["length"]

    def count(self, member):
        return self.number * len(self.round[member])

    def life(self):
        whole = life(title="Many rounds", begin=self.round["begin"], length=self.number * self.each)
        whole["records"] = [{**records, "batches": []} for records in self.round["records"]]
        for at in range(self.number):
            self.append(whole, lambda moment, begin=at * self.each: begin + moment * self.pace)
        return whole

    def append(self, whole, when):
        first, first_task, process = len(whole["events"]), len(whole["tasks"]), len(whole["processes"])
        one = self.round
        for member in ("processes", "steps", "outages"):
            whole[member].extend(at_place(item, first, when) for item in one[member])
        for event in one["events"]:
            whole["events"].append({**moved(event, first, first_task, when), "process": event["process"] + process})
        for task in one["tasks"]:
            whole["tasks"].append({**at_place(task, first, when), "road": [at_place(station, first, when) for station in task["road"]]})
        for records, own in zip(whole["records"], one["records"]):
            last = records["batches"][-1] if records["batches"] else None
            ahead = last["from"] + last["records"] - own["batches"][0]["from"] if last else 0
            for batch in own["batches"]:
                there = at_place(batch, first, when)
                # A batch has a position in "from", and no time.
                records["batches"].append({**there, "from": batch["from"] + ahead})
        whole["neutral"].extend([text, None if event is None else event + first] for text, event in one["neutral"])
