// Moments, lengths and numbers as a person reads them.

export const DAY = 86400000;

function two(number) {
    return String(number).padStart(2, "0");
}

/** Of the day, in UTC, to the millisecond. */
export function clock(milliseconds) {
    const ofDay = ((Math.floor(milliseconds) % DAY) + DAY) % DAY;
    const seconds = Math.floor(ofDay / 1000);
    return `${two(Math.floor(seconds / 3600))}:${two(Math.floor(seconds / 60) % 60)}:${two(seconds % 60)}.` +
        String(ofDay % 1000).padStart(3, "0");
}

export function date(milliseconds) {
    return new Date(milliseconds).toISOString().slice(0, 10);
}

/** How long: "0.31 ms", "4.99 s", "2 min 24 s", "3 d 4 h". */
export function span(milliseconds) {
    const exact = Number(milliseconds.toPrecision(3));
    if (exact < 1000) {
        return `${exact} ms`;
    }
    if (exact < 10000) {
        return `${(exact / 1000).toFixed(2)} s`;
    }
    if (exact < 60000) {
        return `${(exact / 1000).toFixed(1)} s`;
    }
    const seconds = Math.max(Math.floor(milliseconds / 1000), 60);
    const minutes = Math.floor(seconds / 60);
    if (minutes < 60) {
        return `${minutes} min ${seconds % 60} s`;
    }
    const hours = Math.floor(minutes / 60);
    return hours < 24 ? `${hours} h ${minutes % 60} min` : `${Math.floor(hours / 24)} d ${hours % 24} h`;
}

export function count(number, one, many = one + "s") {
    return `${number.toLocaleString("en-GB")} ${number === 1 ? one : many}`;
}

/** A text for a line or a cell; all of it stands with its event. */
export function short(text, letters = 300) {
    return text.length > letters ? `${text.slice(0, letters - 1)}\u2026` : text;
}

export const WEIGHTS = ["detail", "ordinary", "warning", "error"];

export const LEVELS = ["", "debug", "information", "warning", "error"];

export const STATES = new Map(Object.entries({
    "given": { text: "never asked", mood: "open", means: "the product was not asked for it" },
    "asked": { text: "no reply", mood: "open", means: "the product was asked and has not answered" },
    "accepted": { text: "accepted", mood: "good", means: "the product has taken it over; no outcome was told" },
    "accepted-not-done": { text: "accepted, not done", mood: "warning", means: "the product answered that it takes it over, and did not do it" },
    "failing": { text: "to be tried again", mood: "warning", means: "it failed, and the connector has more attempts" },
    "done": { text: "done", mood: "good", means: "the server was told that it is done" },
    "done-with-warning": { text: "done, with a warning", mood: "warning", means: "the server was told that it is done, and of a warning" },
    "failed": { text: "failed", mood: "bad", means: "it failed, and is not tried again" },
    "dropped": { text: "dropped: its host ended", mood: "warning", means: "the host ended before the product had accepted it" },
    "told": { text: "outcome not told", mood: "open", means: "the server was told an outcome, and here nobody has told which" },
    "given-up": { text: "given up", mood: "bad", means: "the connector does not try it again" },
}));

export function stateOf(name) {
    return STATES.get(name);
}

export const LANES = [
    { id: "host", name: "Host" },
    { id: "bus", name: "Server, bus" },
    { id: "task", name: "Task thread" },
    { id: "watch", name: "Watch" },
    { id: "wire", name: "Wire" },
    { id: "product", name: "Product" },
    { id: "area", name: "Area" },
];
