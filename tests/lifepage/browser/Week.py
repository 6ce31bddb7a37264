"""A week of a connector, as one who watches all of it would tell: a look at the product every five seconds, triggers every hour,
records and tasks while people work, and times without a product."""
from Page import life

SECOND = 1000
MINUTE = 60 * SECOND
HOUR = 60 * MINUTE
DAY = 24 * HOUR
LENGTH = 7 * DAY
PING = 5 * SECOND

# Every night it is updated, which takes two minutes; on Wednesday it is away from noon until three.
NIGHTS = [(day * DAY + 3 * HOUR, day * DAY + 3 * HOUR + 2 * MINUTE) for day in range(7)]
NOON = (2 * DAY + 12 * HOUR, 2 * DAY + 15 * HOUR)
AWAY = sorted([*NIGHTS, NOON])
BATCH = 7  # records
AT_WORK = range(8, 18)  # hours of the first five days
HEADER = "0c0000000007000100000000"
PARTS = [[0, 4, "size of the header", "12 (0xc)"], [4, 4, "version", "1.7 (0x10700)"], [8, 4, "flags", "0 (0x0)"]]


class Week:
    """`life()` makes it; the members tell what is in it."""

    def __init__(self):
        self.events = []
        self.tasks = []
        self.batches = []
        self.outages = []
        self.position = 1
        self.trips = 0

    def life(self):
        for number, (begin, end) in enumerate(AWAY):
            self.present(AWAY[number - 1][1] if number else 0, begin)
            self.away(begin, end)
        self.present(AWAY[-1][1], LENGTH)
        records = [{"kind": "indicator", "sent": None, "stored": None, "twice": None, "lost": None, "batches": self.batches}]
        gone = [0, *[end for _, end in AWAY]]
        products = [{"name": f"product {number + 1}", "from": begin, "until": AWAY[number][0] if number < len(AWAY) else LENGTH, "end": ""}
                    for number, begin in enumerate(gone)]
        return life(title="A week", begin=1790553600000, length=LENGTH, events=self.events, tasks=self.tasks, records=records,
                    outages=self.outages, processes=[{"name": "host 1", "from": 0, "until": LENGTH, "end": ""}, *products])

    def tell(self, at, lane, kind, text, **members):
        self.events.append({"at": round(at, 3), "lane": lane, "kind": kind, "process": 0, "weight": 1, "text": text, **members})
        return len(self.events) - 1

    def exchange(self, at, name, took, **members):
        """A request and its reply."""
        self.trips += 1
        fields = [["id", str(self.trips)], ["transport", "alpc"], ["name", name]]
        request = self.tell(at, "wire", "request", f"{name} over ALPC", weight=0, fields=fields, **members)
        self.tell(at + took, "wire", "reply", "answered over ALPC", weight=0, fields=fields[:2], answers=request, **members)
        return request

    def present(self, begin, end):
        """Looks, and what an hour brings, as long as the product is there."""
        for look in range(-(-begin // PING), -(-end // PING)):
            at = look * PING
            self.exchange(at, "ping", 0.016 + look % 7 * 0.003)
            if at % HOUR == 0:
                self.hour(at + 2)
            hour = at % DAY // HOUR
            if at < 5 * DAY and hour in AT_WORK and at % (10 * MINUTE) == 5 * MINUTE:
                self.records(at + 3)
            if at < 5 * DAY and hour in AT_WORK and at % (2 * HOUR) == 40 * MINUTE:
                self.kill(at + 4)

    def hour(self, at):
        for number, name in enumerate(["protection status", "task results", "policies"]):
            begin = at + number * 6
            message = len(self.events)
            self.tell(begin, "watch", "publish", f"OvAgentRequest (7) for {name} published by the module", message=message)
            self.tell(begin + 0.08, "bus", "deliver", "OvAgentRequest (7) delivered to the module", message=message)
            self.exchange(begin + 1.2, name, 0.4, message=message, bytes=HEADER, length=12, parts=PARTS)
            self.tell(begin + 1.9, "task", "log", f"Answer of {len(name)} lines taken over", level=2, message=message)

    def records(self, at):
        message = len(self.events)
        self.tell(at, "watch", "publish", "OvAgentRequest (7) for indicators published by the module", message=message)
        self.tell(at + 0.05, "bus", "deliver", "OvAgentRequest (7) delivered to the module", message=message)
        request = self.exchange(at + 0.4, "get-indicators", 0.6, message=message, bytes=HEADER, length=12, parts=PARTS)
        self.batches.append({"at": round(at + 0.7, 3), "from": self.position, "records": BATCH, "event": request})
        self.position += BATCH
        self.tell(at + 5.4, "bus", "publish", "DataMinerStoreEcsIndicatorLogs (76) published by the module", message=message, rows=[
            {"name": "indicator", "symbols": [["4429-number", str(self.position)], ["4429-name", "process"]]}])

    def kill(self, at):
        task = len(self.tasks)
        own = {"tasks": [task], "message": len(self.events)}
        given = self.tell(at, "bus", "publish", "KillProcessByPid (10368) published by the server", **own)
        asked = self.exchange(at + 4, "kill", 0.3, bytes=HEADER, length=12, parts=PARTS, **own)
        told = self.tell(at + 5, "bus", "publish", "EventLog_TASK (10368) published by the module", **own)
        road = [(at, "given to the host", given), (at + 4, "product asked over ALPC", asked), (at + 5, "server is told: done", told)]
        self.tasks.append({"what": f"end process {4700 + task}", "identifiers": [f"{task:08d}-0000-0000-0000-000000000000"], "from": at,
                           "until": at + 5, "attempts": 1, "state": "done", "why": "",
                           "road": [{"at": when, "text": text, "weight": 1, "event": event} for when, text, event in road]})

    def away(self, begin, end):
        """It tries again every ten seconds."""
        lost = self.tell(begin + 1, "watch", "log", "Ping failed -> COvAgentConnector will be restarted", level=3, weight=2)
        attempts = 0
        for at in range(begin + 10 * SECOND, end, 10 * SECOND):
            attempts += 1
            self.tell(at, "task", "log", "Reconnecting to product", level=2)
        self.outages.append({"from": begin + 1, "until": end, "over": True, "first": False, "cause": "Ping failed", "attempts": attempts,
                             "event": lost})
