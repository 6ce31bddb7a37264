// Where things stand on the time line, from top to bottom, in CSS pixels.

import { LANES } from "./words.js";

export const STEPS = { top: 0, height: 24 };
export const AXIS = { top: 24, height: 20 };

const SINGLE = 30;
const DOUBLE = 48; // the wire: requests above, replies below

export const ROWS = LANES.map((lane) => ({ ...lane, height: lane.id === "wire" ? DOUBLE : SINGLE }));

let next = AXIS.top + AXIS.height;
for (const row of ROWS) {
    row.top = next;
    next += row.height;
}

export const HEIGHT = next;

/** The middle of the marks of an event. */
export function middleOf(lane, kind) {
    const row = ROWS[lane];
    if (row.id !== "wire") {
        return row.top + row.height / 2;
    }
    return row.top + row.height * (kind === "reply" ? 0.72 : 0.28);
}
