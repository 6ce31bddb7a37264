// Where a moment stands on the time line. Times in which nothing is told are folded: they keep a width that grows with the
// number of their digits only, so that seconds of waiting leave room for milliseconds of work.

import { firstNotBefore } from "./sorted.js";

const SHORTEST = 200; // milliseconds; a shorter wait is drawn as it is

export class Folds {
    /** `moments` in their order, in milliseconds. Places are milliseconds of what is not folded. */
    constructor(moments, length, folded) {
        this.folds = [];
        const knots = [0];
        const places = [0];
        const go = (until, width) => {
            knots.push(until);
            places.push(places[places.length - 1] + width);
        };
        let last = 0;
        const pass = (moment) => {
            const wait = moment - last;
            if (folded && wait > SHORTEST) {
                if (last > knots[knots.length - 1]) {
                    go(last, last - knots[knots.length - 1]);
                }
                this.folds.push({ from: last, until: moment, place: places[places.length - 1] });
                go(moment, SHORTEST * (1 + Math.log10(wait / SHORTEST)));
                this.folds[this.folds.length - 1].end = places[places.length - 1];
            }
            last = moment;
        };
        moments.forEach(pass);
        pass(length);
        if (length > knots[knots.length - 1] || knots.length === 1) {
            go(Math.max(length, 1), Math.max(length, 1) - knots[knots.length - 1]);
        }
        this.knots = Float64Array.from(knots);
        this.places = Float64Array.from(places);
        this.extent = places[places.length - 1];
        this.widest = this.folds.reduce((widest, fold) => Math.max(widest, fold.end - fold.place), 0);
    }

    place(moment) {
        return between(this.knots, this.places, moment);
    }

    moment(place) {
        return between(this.places, this.knots, place);
    }

    /** The number of the first fold that is not over before that place. */
    firstFrom(place) {
        let low = 0;
        let high = this.folds.length;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (this.folds[middle].end < place) {
                low = middle + 1;
            } else {
                high = middle;
            }
        }
        return low;
    }

    /** How many of them are to be seen between two places. */
    within(left, right) {
        const last = this.firstFrom(right);
        return last - this.firstFrom(left) + (last < this.folds.length && this.folds[last].place < right ? 1 : 0);
    }

    /** The places of all moments, which stand in their order. */
    placesOf(moments) {
        const all = new Float64Array(moments.length);
        let knot = 1;
        moments.forEach((moment, at) => {
            while (knot < this.knots.length - 1 && this.knots[knot] < moment) {
                knot += 1;
            }
            all[at] = onLine(this.knots, this.places, knot, moment);
        });
        return all;
    }
}

function between(from, to, value) {
    return onLine(from, to, Math.min(Math.max(firstNotBefore(from, value), 1), from.length - 1), value);
}

/** On the line that ends at the knot of that number. */
function onLine(from, to, knot, value) {
    const width = from[knot] - from[knot - 1];
    const part = width === 0 ? 0 : (value - from[knot - 1]) / width;
    return to[knot - 1] + part * (to[knot] - to[knot - 1]);
}
