// What is meant by a place on the time line.

import { AXIS, ROWS, middleOf } from "./lanes.js";
import { firstNotBefore } from "./sorted.js";

const NEAR = 9; // pixels within which a click means an event

/** The number of the event; -1: none is near. `view` as for paint(). */
export function eventNear(view, x, y) {
    const { places, life, seen } = view;
    let best = -1;
    let distance = NEAR;
    const from = firstNotBefore(places, view.place(x - NEAR));
    for (let at = from; at < places.length; at += 1) {
        const away = view.x(places[at]) - x;
        if (away > NEAR) {
            break;
        }
        const half = ROWS[life.lane[at]].id === "wire" ? 13 : 16;
        const here = Math.abs(middleOf(life.lane[at], life.events[at].kind) - y) < half;
        const far = Math.abs(away) - life.weight[at]; // what weighs more lies above
        if (here && seen[at] === 1 && far < distance) {
            distance = far;
            best = at;
        }
    }
    return best;
}

/** The number of the step; -1: there is none. */
export function stepNear(view, x, y) {
    return y < AXIS.top ? view.life.stepAt(view.folds.moment(view.place(x))) : -1;
}
