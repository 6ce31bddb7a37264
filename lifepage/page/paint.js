// Draws a piece of a life on a canvas: steps, axis, outages, folds, processes, marks and the road of a task.
//
// A mark is drawn once a pixel and lane, that of the greatest weight: however many events there are, one pass over those in
// sight is enough for a frame.

import { AXIS, HEIGHT, ROWS, STEPS, middleOf } from "./lanes.js";
import { firstNotBefore } from "./life.js";
import { span } from "./words.js";

const FONT = "12px system-ui, sans-serif";
const LETTER = 6.8; // pixels, about
const LABELLED = 56; // pixels of room that a label needs
const WIDE = 6; // pixels from which on a fold is shown as one
const MARK = 7; // half the height of one
const TICKS = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 30000, 60000, 300000, 600000, 1800000, 3600000,
    10800000, 21600000, 43200000, 86400000];

/** `view`: {life, folds, places, seen, left and right in places, x(place), state, colours, width}. */
export function paint(canvas, view) {
    canvas.clearRect(0, 0, view.width, HEIGHT);
    canvas.font = FONT;
    canvas.textBaseline = "middle";
    ground(canvas, view);
    outages(canvas, view);
    folds(canvas, view);
    steps(canvas, view);
    axis(canvas, view);
    processes(canvas, view);
    exchanges(canvas, view);
    road(canvas, view);
    marks(canvas, view);
    chosen(canvas, view);
}

function ground(canvas, { colours, width }) {
    ROWS.forEach((row, at) => {
        canvas.fillStyle = at % 2 === 0 ? colours.stripe : colours.ground;
        canvas.fillRect(0, row.top, width, row.height);
    });
}

/** Begin and end in pixels, cut off where nobody looks. */
function stretch(view, from, until) {
    const begin = Math.max(view.x(view.folds.place(from)), -10);
    const end = Math.min(view.x(view.folds.place(until)), view.width + 10);
    return { begin, end, width: end - begin };
}

function outages(canvas, view) {
    const first = ROWS[0].top;
    for (const outage of view.life.outages) {
        const { begin, width } = stretch(view, outage.from, outage.until);
        if (width > 0) {
            canvas.globalAlpha = 0.13;
            canvas.fillStyle = outage.first ? view.colours.soft : view.colours.bad;
            canvas.fillRect(begin, first, Math.max(width, 1), HEIGHT - first);
            canvas.globalAlpha = 1;
        }
    }
}

function folds(canvas, view) {
    const { colours } = view;
    const all = view.folds.folds;
    canvas.textAlign = "center";
    for (let at = view.folds.firstFrom(view.left); at < all.length && all[at].place < view.right; at += 1) {
        const begin = view.x(all[at].place);
        const width = view.x(all[at].end) - begin;
        if (width < WIDE) {
            continue;
        }
        canvas.fillStyle = colours.line;
        canvas.fillRect(begin + 2, AXIS.top + AXIS.height - 3, width - 4, 2);
        const wait = all[at].until - all[at].from;
        const text = [span(wait), `${Math.round(wait / 1000)} s`].find((one) => width > one.length * LETTER);
        if (text !== undefined) {
            canvas.fillStyle = colours.soft;
            canvas.fillText(text, begin + width / 2, AXIS.top + AXIS.height / 2 - 2);
        }
    }
    canvas.textAlign = "left";
}

function steps(canvas, view) {
    const { colours } = view;
    view.life.steps.forEach((step, at) => {
        const { begin, width } = stretch(view, step.from, step.until);
        if (width <= 0) {
            return;
        }
        canvas.fillStyle = step.held ? (at % 2 === 0 ? colours.stripe : colours.ground) : colours.bad;
        canvas.fillRect(begin, STEPS.top, Math.max(width, 1), STEPS.height);
        canvas.fillStyle = colours.line;
        canvas.fillRect(begin, STEPS.top, 1, STEPS.height);
        const from = Math.max(begin, 0) + 5;
        canvas.fillStyle = step.held ? colours.ink : colours.ground;
        label(canvas, `${at + 1}  ${step.text}`, from, STEPS.top + STEPS.height / 2, begin + width - from - 3, String(at + 1).length + 1);
    });
    canvas.fillStyle = colours.line;
    canvas.fillRect(0, STEPS.top + STEPS.height - 1, view.width, 1);
}

/** As much of the text as there is room for; nothing when that is less than `least` letters. */
function label(canvas, text, x, y, room, least = 4) {
    const letters = Math.floor(room / LETTER);
    if (letters >= Math.min(least, text.length)) {
        canvas.fillText(letters < text.length ? text.slice(0, Math.max(letters - 1, 1)).trimEnd() + "\u2026" : text, x, y);
    }
}

function axis(canvas, view) {
    const { life, colours } = view;
    const inSight = view.folds.moment(view.place(view.width)) - view.folds.moment(view.place(0));
    const step = TICKS.find((tick) => (tick * view.width) / inSight >= 90) ?? TICKS[TICKS.length - 1];
    let behind = 0;
    canvas.textAlign = "left";
    while (behind < view.width) {
        const moment = life.moment(Math.max(view.folds.moment(view.place(behind)), 0));
        const tick = Math.ceil(moment / step) * step;
        const x = view.x(view.folds.place(tick - life.begin));
        if (tick - life.begin > life.length || x > view.width) {
            return;
        }
        if (isFolded(view, tick - life.begin)) {
            behind = Math.max(behind, x) + 24;
            continue;
        }
        canvas.fillStyle = colours.line;
        canvas.fillRect(x, AXIS.top, 1, HEIGHT - AXIS.top);
        canvas.fillStyle = colours.soft;
        const text = life.tick(tick - life.begin, step);
        canvas.fillText(text, x + 4, AXIS.top + AXIS.height / 2 - 2);
        behind = Math.max(behind + 1, x + (text.length + 2) * LETTER);
    }
}

function isFolded(view, moment) {
    const all = view.folds.folds;
    const at = view.folds.firstFrom(view.folds.place(moment));
    return at < all.length && all[at].from < moment && moment < all[at].until &&
        view.x(all[at].end) - view.x(all[at].place) > WIDE;
}

/** When they lived. */
function processes(canvas, view) {
    canvas.fillStyle = view.colours.line;
    for (const process of view.life.processes) {
        const row = ROWS.find((one) => one.id === (process.name.startsWith("product") ? "product" : "host"));
        const { begin, width } = stretch(view, process.from, process.until);
        if (width > 0) {
            canvas.fillRect(begin, row.top + row.height - 3, Math.max(width, 1), 2);
        }
    }
}

/** A request and its reply are one line, as long as it took. */
function exchanges(canvas, view) {
    const { life, places } = view;
    canvas.strokeStyle = view.colours.soft;
    canvas.beginPath();
    for (const at of view.exchanges) {
        const reply = life.reply[at];
        const begin = view.x(places[at]);
        const end = view.x(places[reply]);
        if (end > 0 && begin < view.width && end - begin > 2) {
            canvas.moveTo(begin, middleOf(life.lane[at], "request"));
            canvas.lineTo(end, middleOf(life.lane[reply], "reply"));
        }
    }
    canvas.stroke();
}

function marks(canvas, view) {
    const { life, places, seen } = view;
    const rows = ROWS.map(() => [newRow(), newRow()]);
    const from = Math.max(firstNotBefore(places, view.left) - 1, 0);
    const until = Math.min(firstNotBefore(places, view.right) + 1, places.length);
    for (let at = from; at < until; at += 1) {
        const row = rows[life.lane[at]][life.events[at].kind === "reply" ? 1 : 0];
        const x = Math.round(view.x(places[at]));
        const weight = seen[at] === 1 ? life.weight[at] + 1 : 0;
        if (x === row.x && weight <= row.weight) {
            row.label = -1; // two of them have no room for a label
            continue;
        }
        if (x !== row.x) {
            labelOf(canvas, view, row, x);
            row.label = at;
        } else {
            row.label = -1;
        }
        row.x = x;
        row.weight = weight;
        mark(canvas, view, at, x, weight);
    }
    rows.flat().forEach((row) => labelOf(canvas, view, row, view.width));
    canvas.globalAlpha = 1;
}

function newRow() {
    return { x: -1000, weight: -1, label: -1 };
}

/** What the mark that was drawn last says, up to the next one. */
function labelOf(canvas, view, row, until) {
    const room = until - row.x - 9;
    if (row.label >= 0 && room >= LABELLED && view.seen[row.label] === 1) {
        const event = view.life.events[row.label];
        canvas.globalAlpha = 1;
        canvas.fillStyle = event.weight === 0 ? view.colours.soft : view.colours.ink;
        label(canvas, event.text, row.x + 6, middleOf(view.life.lane[row.label], event.kind) + 0.5, Math.min(room, 420), 6);
    }
}

/** `weight`: one more than the event's, and 0 for one that is filtered out. */
function mark(canvas, view, at, x, weight) {
    const { kind } = view.life.events[at];
    const middle = middleOf(view.life.lane[at], kind);
    const half = weight < 2 ? MARK - 3 : MARK;
    canvas.globalAlpha = weight === 0 ? 0.25 : 1;
    canvas.fillStyle = colourOf(view.colours, kind, weight);
    canvas.beginPath();
    if (kind === "request" || kind === "reply") {
        const tip = kind === "request" ? half : -half;
        canvas.moveTo(x, middle - half);
        canvas.lineTo(x + tip, middle);
        canvas.lineTo(x, middle + half);
        canvas.fill();
    } else {
        canvas.fillRect(x - 1, middle - half, weight > 2 ? 4 : 3, 2 * half);
    }
}

function colourOf(colours, kind, weight) {
    if (weight === 4) {
        return colours.bad;
    }
    if (weight === 3) {
        return colours.warning;
    }
    if (weight < 2) {
        return colours.faint;
    }
    return kind === "request" ? colours.accent : kind === "reply" ? colours.reply : colours.ink;
}

/** From event to event of the task that is looked at, below what stands in the lanes. */
function road(canvas, view) {
    const task = view.life.tasks[view.state.task];
    if (task === undefined) {
        return;
    }
    canvas.strokeStyle = view.colours.road;
    canvas.lineWidth = 2;
    canvas.beginPath();
    for (const station of task.road) {
        const { kind } = view.life.events[station.event];
        canvas.lineTo(view.x(view.places[station.event]), middleOf(view.life.lane[station.event], kind) + MARK + 2);
    }
    canvas.stroke();
    canvas.lineWidth = 1;
}

function chosen(canvas, view) {
    const at = view.state.event;
    if (at < 0 || at >= view.places.length) {
        return;
    }
    const x = Math.round(view.x(view.places[at]));
    const middle = middleOf(view.life.lane[at], view.life.events[at].kind);
    canvas.fillStyle = view.colours.road;
    canvas.fillRect(x, AXIS.top, 1, HEIGHT - AXIS.top);
    canvas.strokeStyle = view.colours.road;
    canvas.lineWidth = 2;
    canvas.strokeRect(x - 7, middle - MARK - 3, 14, 2 * MARK + 6);
    canvas.lineWidth = 1;
}
