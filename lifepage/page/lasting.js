// Draws what lasts on a time line: steps, outages and processes. Only what is in sight is looked at, and what is narrower
// than a pixel is drawn once a pixel, so that a frame takes no longer for thousands of them.

import { HEIGHT, ROWS, STEPS } from "./lanes.js";
import { firstNotBefore } from "./sorted.js";

const LETTER = 6.8; // pixels, about

/** Finds what lasts in a piece of time. */
export class Lasting {
    /** `items` have `from` and `until`, in any order. */
    constructor(items) {
        this.items = items;
        const sorted = items.map(({ from, until }, at) => ({ from, until, at })).sort((left, right) => left.from - right.from);
        let reach = -Infinity;
        this.numbers = sorted.map((one) => one.at);
        this.from = Float64Array.from(sorted, (one) => one.from);
        this.until = Float64Array.from(sorted, (one) => one.until);
        this.reach = Float64Array.from(sorted, (one) => { reach = Math.max(reach, one.until); return reach; }); // of all up to here
    }

    /** Calls `act` with the numbers of those that touch the piece, as they begin. */
    each(from, until, act) {
        for (let next = firstNotBefore(this.reach, from); next < this.numbers.length && this.from[next] <= until; next += 1) {
            if (this.until[next] >= from) {
                act(this.numbers[next]);
            }
        }
    }
}

/** All that lasts in a life; `places` are those of its events. A reply that comes at once makes no exchange. */
export function lastingOf(life, places) {
    const exchanges = [];
    life.reply.forEach((reply, at) => {
        if (reply >= 0 && places[reply] - places[at] > 0.5) {
            exchanges.push({ at, reply, from: places[at], until: places[reply] });
        }
    });
    const isProduct = (process) => process.name.startsWith("product");
    return {
        outages: new Lasting(life.outages), steps: new Lasting(life.steps), exchanges: new Lasting(exchanges),
        processes: {
            host: new Lasting(life.processes.filter((process) => !isProduct(process))),
            product: new Lasting(life.processes.filter(isProduct)),
        },
    };
}

/**
 * Calls `act` with each that is in sight, its number, and its begin and width in pixels, cut off where nobody looks. What is
 * narrower than a pixel takes all of it: the first one there, and one that weighs more.
 */
function eachStretch(view, lasting, weightOf, act) {
    let last = null;
    let heaviest = 0;
    lasting.each(view.folds.moment(view.left), view.folds.moment(view.right), (at) => {
        const item = lasting.items[at];
        const begin = Math.max(view.x(view.folds.place(item.from)), -10);
        const width = Math.min(view.x(view.folds.place(item.until)), view.width + 10) - begin;
        const pixel = Math.round(begin);
        const weight = weightOf(item);
        if (width >= 0 && (width >= 1 || pixel !== last || weight > heaviest)) {
            heaviest = pixel === last ? Math.max(weight, heaviest) : weight;
            last = pixel;
            act(item, at, width < 1 ? pixel : begin, Math.max(width, 1));
        }
    });
}

export function outages(canvas, view) {
    const top = ROWS[0].top;
    canvas.globalAlpha = 0.13;
    eachStretch(view, view.outages, (outage) => (outage.first ? 0 : 1), (outage, at, begin, width) => {
        canvas.fillStyle = outage.first ? view.colours.soft : view.colours.bad;
        canvas.fillRect(begin, top, width, HEIGHT - top);
    });
    canvas.globalAlpha = 1;
}

export function steps(canvas, view) {
    const { colours } = view;
    eachStretch(view, view.steps, (step) => (step.held ? 0 : 1), (step, at, begin, width) => {
        canvas.fillStyle = step.held ? (at % 2 === 0 ? colours.stripe : colours.ground) : colours.bad;
        canvas.fillRect(begin, STEPS.top, width, STEPS.height);
        canvas.fillStyle = step.held ? colours.line : colours.bad;
        canvas.fillRect(begin, STEPS.top, 1, STEPS.height);
        const from = Math.max(begin, 0) + 5;
        canvas.fillStyle = step.held ? colours.ink : colours.ground;
        label(canvas, `${at + 1}  ${step.text}`, from, STEPS.top + STEPS.height / 2, begin + width - from - 3, String(at + 1).length + 1);
    });
    canvas.fillStyle = colours.line;
    canvas.fillRect(0, STEPS.top + STEPS.height - 1, view.width, 1);
}

/** When they lived. */
export function processes(canvas, view) {
    canvas.fillStyle = view.colours.line;
    for (const id of ["host", "product"]) {
        const row = ROWS.find((one) => one.id === id);
        eachStretch(view, view.processes[id], () => 0, (process, at, begin, width) => {
            canvas.fillRect(begin, row.top + row.height - 3, width, 2);
        });
    }
}

/** As much of the text as there is room for; nothing when that is less than `least` letters. */
export function label(canvas, text, x, y, room, least = 4) {
    const letters = Math.floor(room / LETTER);
    if (letters >= Math.min(least, text.length)) {
        canvas.fillText(letters < text.length ? text.slice(0, Math.max(letters - 1, 1)).trimEnd() + "\u2026" : text, x, y);
    }
}
