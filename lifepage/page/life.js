// A life as the document has it, and what every view needs beside: which reply belongs to a request, which events to a
// message and a task, and what can be searched.

import { readDocument } from "./document.js";
import { wordsOf, wordsOfTables } from "./searched.js";
import { DAY, LANES, clock, count, date, span } from "./words.js";

/** The lives of a document. Throws an Error for people when it is none that this page can read. */
export function readLives(text) {
    return readDocument(text).lives.map((life) => new Life(life));
}

/** The document in the source of a page. */
export function documentIn(source) {
    const data = new DOMParser().parseFromString(source, "text/html").getElementById("lives");
    if (data === null) {
        throw new Error("This is no page with a life in it.");
    }
    return data.textContent;
}

export class Life {
    #searched = null;
    #leading = null; // what stands in tables and leads to an event, by its number

    constructor(said) {
        this.title = said.title;
        this.toldBy = said["told-by"];
        this.begin = said.begin;
        this.clock = said.clock ?? "date";
        this.length = said.length;
        this.processes = said.processes;
        this.steps = said.steps;
        this.events = said.events;
        this.tasks = said.tasks;
        this.records = said.records;
        this.outages = said.outages;
        this.neutral = said.neutral;

        const size = this.events.length;
        this.at = new Float64Array(size);
        this.lane = new Uint8Array(size);
        this.weight = new Uint8Array(size);
        this.isReply = new Uint8Array(size);
        this.reply = new Int32Array(size).fill(-1); // to a request
        this.kinds = new Set();
        this.ofMessage = new Map();
        const laneOf = new Map(LANES.map((lane, at) => [lane.id, at]));
        this.events.forEach((event, at) => {
            this.at[at] = event.at;
            this.lane[at] = laneOf.get(event.lane);
            this.weight[at] = event.weight;
            this.isReply[at] = event.kind === "reply" ? 1 : 0;
            this.kinds.add(event.kind);
            if (event.answers !== undefined) {
                this.reply[event.answers] = at;
            }
            if (event.message !== undefined) {
                const others = this.ofMessage.get(event.message);
                if (others === undefined) {
                    this.ofMessage.set(event.message, [at]);
                } else {
                    others.push(at);
                }
            }
        });
    }

    moment(milliseconds) {
        return this.begin + milliseconds;
    }

    /** When it was, with the day where there are several; or its place, where no times are known. */
    time(milliseconds) {
        if (this.clock === "order") {
            return `no. ${Math.round(milliseconds) + 1}`;
        }
        const moment = this.moment(milliseconds);
        const day = this.clock === "date" ? date(moment).slice(5) : `day ${Math.floor(moment / DAY) + 1}`;
        return this.#isOfOneDay() ? clock(moment) : `${day} ${clock(moment)}`;
    }

    #isOfOneDay() {
        return Math.floor(this.moment(0) / DAY) === Math.floor(this.moment(this.length) / DAY);
    }

    /** The same on a scale, whose lines are that far from each other. */
    tick(milliseconds, step) {
        const time = this.time(milliseconds);
        return this.clock === "order" || step < 1000 ? time : time.slice(0, -4);
    }

    /** How long. */
    span(milliseconds) {
        return this.clock === "order" ? count(Math.round(milliseconds), "event") : span(milliseconds);
    }

    /** From when to when it lasted, as far as that is known. */
    times() {
        if (this.clock === "order") {
            return "without times: events stand in their order";
        }
        const times = `${this.time(0)} to ${this.time(this.length)} UTC, ${span(this.length)}`;
        return this.clock === "date" ? `${date(this.begin)}, ${times}` : `${times}; of which day is not told`;
    }

    stepAt(milliseconds) {
        return this.steps.findIndex((step) => step.from <= milliseconds && milliseconds <= step.until);
    }

    /** All words of an event, in small letters. */
    searched(at) {
        this.#searched ??= new Array(this.events.length);
        this.#leading ??= wordsOfTables(this);
        return this.#searched[at] ??= `${wordsOf(this, at)}\n${this.#leading.get(at) ?? ""}`.toLowerCase();
    }
}

/** Times in which a product was missed that had been there. */
export function outagesOf(life) {
    return life.outages.filter((outage) => !outage.first);
}

/** Times in which a connector that was started looked for its product. */
export function firstConnectionsOf(life) {
    return life.outages.filter((outage) => outage.first);
}

/** How many records left the product in these batches. */
export function handedOf(batches) {
    return batches.reduce((sum, batch) => sum + batch.records, 0);
}

/** What is shown when a task is looked at: the piece of time that it took, with a little before and behind it, and its first event. */
export function lookAt(life, number) {
    const task = life.tasks[number];
    const rim = Math.max((task.until - task.from) / 20, 2);
    const rounded = (moment) => Math.round(moment * 1000) / 1000;
    return {
        task: number, event: task.road[0]?.event ?? -1,
        from: rounded(Math.max(task.from - rim, 0)), until: rounded(Math.min(task.until + rim, life.length)),
    };
}

/** A byte an event: whether the state lets it be seen. */
export function seenEvents(life, state) {
    const text = state.text.trim().toLowerCase();
    const hidden = new Set(LANES.flatMap((lane, at) => (state.hidden.includes(lane.id) ? [at] : [])));
    const seen = new Uint8Array(life.events.length);
    for (let at = 0; at < seen.length; at += 1) {
        const event = life.events[at];
        seen[at] = life.weight[at] >= state.weight && !hidden.has(life.lane[at]) &&
            (state.kind === "" || event.kind === state.kind) &&
            (state.task < 0 || (event.tasks?.includes(state.task) ?? false)) &&
            (text === "" || life.searched(at).includes(text)) ? 1 : 0;
    }
    return seen;
}

/** From `at` on, the next one that is seen; -1: there is none. */
export function nextSeen(seen, at, by) {
    let next = at + by;
    while (next >= 0 && next < seen.length && seen[next] === 0) {
        next += by;
    }
    return next < seen.length ? next : -1;
}

/** The numbers of those that are seen. */
export function numbersOf(seen) {
    const numbers = new Uint32Array(seen.reduce((sum, one) => sum + one, 0));
    let next = 0;
    seen.forEach((one, at) => {
        if (one === 1) {
            numbers[next] = at;
            next += 1;
        }
    });
    return numbers;
}
