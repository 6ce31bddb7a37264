// Draws a piece of a life on a canvas: steps, axis, outages, folds, processes, marks and the road of a task.
//
// A mark is drawn once a pixel and lane, that of the greatest weight: however many events there are, one pass over those in
// sight is enough for a frame.

import { AXIS, HEIGHT, ROWS, middleOf } from "./lanes.js";
import { label, outages, processes, steps } from "./lasting.js";
import { firstNotBefore } from "./sorted.js";
import { span } from "./words.js";

const FONT = "12px system-ui, sans-serif";
const LETTER = 6.8; // pixels, about
const LABELLED = 56; // pixels of room that a label needs
const WIDE = 6; // pixels from which on a fold is shown as one
const MARK = 7; // half the height of one
const TICKS = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 30000, 60000, 300000, 600000, 1800000, 3600000,
    10800000, 21600000, 43200000, 86400000];

/**
 * `view`: {life, folds, places, seen, left and right in places, x(place), which is zero + place * scale, state, colours, width},
 * and what lasts: {outages, steps, processes, exchanges}.
 */
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

function folds(canvas, view) {
    const { colours } = view;
    const all = view.folds.folds;
    if (view.folds.widest * view.scale < WIDE) {
        return;
    }
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

/** A request and its reply are one line, as long as it took. */
function exchanges(canvas, view) {
    const { life, places } = view;
    canvas.strokeStyle = view.colours.soft;
    canvas.beginPath();
    view.exchanges.each(view.left, view.right, (number) => {
        const { at, reply } = view.exchanges.items[number];
        const begin = view.x(places[at]);
        const end = view.x(places[reply]);
        if (end - begin > 2) {
            canvas.moveTo(begin, middleOf(life.lane[at], "request"));
            canvas.lineTo(end, middleOf(life.lane[reply], "reply"));
        }
    });
    canvas.stroke();
}

function marks(canvas, view) {
    const { places, seen, zero, scale } = view;
    const { lane, isReply, weight: weights } = view.life;
    const rows = ROWS.flatMap(() => [newRow(), newRow()]);
    const from = Math.max(firstNotBefore(places, view.left) - 1, 0);
    const until = Math.min(firstNotBefore(places, view.right) + 1, places.length);
    for (let at = from; at < until; at += 1) {
        const row = rows[2 * lane[at] + isReply[at]];
        const x = Math.round(zero + places[at] * scale);
        const weight = seen[at] === 1 ? weights[at] + 1 : 0;
        if (x !== row.x) {
            drawRow(canvas, view, row, x);
            Object.assign(row, { x, weight, at, alone: true });
        } else {
            row.alone = false; // two of them have no room for a label
            if (weight > row.weight) {
                row.weight = weight;
                row.at = at;
            }
        }
    }
    rows.forEach((row) => drawRow(canvas, view, row, view.width));
    canvas.globalAlpha = 1;
}

/** What stands at one pixel of a lane. */
function newRow() {
    return { x: -1000, weight: -1, at: -1, alone: false };
}

/** The mark there, and what it says up to the next one. */
function drawRow(canvas, view, row, until) {
    if (row.at < 0) {
        return;
    }
    mark(canvas, view, row.at, row.x, row.weight);
    const room = until - row.x - 9;
    if (row.alone && room >= LABELLED && view.seen[row.at] === 1) {
        const event = view.life.events[row.at];
        canvas.globalAlpha = 1;
        canvas.fillStyle = event.weight === 0 ? view.colours.soft : view.colours.ink;
        label(canvas, event.text, row.x + 6, middleOf(view.life.lane[row.at], event.kind) + 0.5, Math.min(room, 420), 6);
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
