// The form that a document must have, as README.md tells it. A page of somebody else may be opened, and one that was cut off or
// written by hand: what has another form is refused as a whole, in words, before anything of it is shown.

import { LANES, STATES, short } from "./words.js";

const FORM = "life-of-a-connector";
const VERSION = 1;
const FARTHEST = 4e15; // milliseconds: also the sum of two has a date

/** The document in a text. Throws an Error for people when it is none that this page can read. */
export function readDocument(text) {
    let said = null;
    try {
        said = JSON.parse(text);
    } catch {
        throw new Error("This is no JSON document.");
    }
    if (said === null || said.form !== FORM) {
        throw new Error("This is no life of a connector.");
    }
    if (said.version !== VERSION) {
        throw new Error(`This life is of form ${short(JSON.stringify(said.version) ?? "none", 60)}; this page reads form ${VERSION}.`);
    }
    const wrong = DOCUMENT(said);
    if (wrong !== "") {
        throw new Error(`This life cannot be read: ${wrong.slice(1)}.`);
    }
    return said;
}

// A check takes a value and the life that it is in, and tells what is wrong, behind where it is; "": nothing is.

const is = (what, holds) => (value, life) => (holds(value, life) ? "" : ` is not ${what}`);
const text = is("a text", (value) => typeof value === "string");
const yesOrNo = is("true or false", (value) => typeof value === "boolean");
const moment = is("a moment", (value) => Number.isFinite(value) && Math.abs(value) <= FARTHEST);
const lasting = is("a length of time", (value) => Number.isFinite(value) && value >= 0 && value <= FARTHEST);
const amount = is("an amount", (value) => Number.isFinite(value) && value >= 0);
const place = is("a number of what is counted from 0 on", (value) => Number.isInteger(value) && value >= 0);
const event = is("the number of an event", (value, life) => isPlaceIn(value, life.events));
const task = is("the number of a task", (value, life) => isPlaceIn(value, life.tasks));
const digits = is("pairs of hexadecimal digits",
    (value) => typeof value === "string" && value.length % 2 === 0 && !/[^0-9a-f]/.test(value));
const from = (least, most) => is(`a number from ${least} to ${most}`,
    (value) => Number.isInteger(value) && value >= least && value <= most);
const oneOf = (words) => is(words.map((word) => `"${word}"`).join(" or "), (value) => words.includes(value));

const orNull = (check) => (value, life) => (value === null ? "" : check(value, life));
const ifThere = (check) => (value, life) => (value === undefined ? "" : check(value, life));

/** A list of any length, each of its elements checked by `check`. */
const list = (check) => (value, life) => {
    if (!Array.isArray(value)) {
        return " is not a list";
    }
    for (let at = 0; at < value.length; at += 1) {
        const wrong = check(value[at], life);
        if (wrong !== "") {
            return `[${at}]${wrong}`;
        }
    }
    return "";
};

/** A list of as many elements as there are checks; those from `least` on may be missing. */
const row = (checks, least = checks.length) => (value, life) => {
    if (!Array.isArray(value) || value.length < least || value.length > checks.length) {
        return ` is not a list of ${least === checks.length ? least : `${least} to ${checks.length}`}`;
    }
    for (let at = 0; at < value.length; at += 1) {
        const wrong = checks[at](value[at], life);
        if (wrong !== "") {
            return `[${at}]${wrong}`;
        }
    }
    return "";
};

const object = (members) => {
    const checks = Object.entries(members);
    return (value, life) => {
        if (value === null || typeof value !== "object" || Array.isArray(value)) {
            return " is not an object";
        }
        for (const [name, check] of checks) {
            const wrong = check(value[name], life);
            if (wrong !== "") {
                return `.${name}${wrong}`;
            }
        }
        return "";
    };
};

const pairs = list(row([text, text]));

const EVENT_ITSELF = object({
    at: moment, lane: oneOf(LANES.map((lane) => lane.id)), kind: text, process: place, weight: from(0, 3), text, level: ifThere(from(1, 4)), fields: ifThere(pairs),
    rows: ifThere(list(object({ name: text, symbols: pairs }))), bytes: ifThere(digits), length: ifThere(amount),
    parts: ifThere(list(row([place, place, text, text, text], 4))), answers: ifThere(event), message: ifThere(event),
    tasks: ifThere(list(task)),
});

const EVENT = (value, life) => EVENT_ITSELF(value, life) ||
    (value.bytes !== undefined && value.length === undefined ? ".length is not an amount" : "");

const TASK = object({
    what: text, identifiers: list(text), from: moment, until: moment, attempts: amount, state: oneOf([...STATES.keys()]), why: text,
    road: list(object({ at: moment, text, weight: from(0, 3), event })),
});

// What a page of an earlier day has not: `sent`, `host-stopped`.
const RECORDS = object({
    kind: text, sent: ifThere(orNull(amount)), stored: orNull(amount), twice: orNull(amount), lost: orNull(amount),
    batches: list(object({ at: moment, from: amount, records: amount, event })),
});

const OUTAGE = object({
    from: moment, until: moment, over: yesOrNo, first: yesOrNo, "host-stopped": ifThere(yesOrNo), cause: text, attempts: amount, event,
});

const LIFE = object({
    title: text, "told-by": text, begin: moment, length: lasting, clock: ifThere(oneOf(["time-of-day", "order"])),
    processes: list(object({ name: text, from: moment, until: moment, end: text })),
    steps: list(object({ from: moment, until: moment, text, held: yesOrNo, failure: text })), events: list(EVENT), tasks: list(TASK),
    records: list(RECORDS), outages: list(OUTAGE), neutral: list(row([text, orNull(event)])),
});

// What has numbers by which others name it.
const NUMBERED = object({ events: list(() => ""), tasks: list(() => "") });

const DOCUMENT = object({ lives: list((life) => NUMBERED(life) || LIFE(life, life)) });

function isPlaceIn(value, elements) {
    return Number.isInteger(value) && value >= 0 && value < elements.length;
}
