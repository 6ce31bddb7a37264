// The state of the page in its address, behind the "#", so that a link shows the same.

import { WEIGHTS } from "./words.js";

const NUMBERS = ["life", "weight", "task", "event"];
const MOMENTS = ["from", "until"];
const LISTS = ["hidden"];
const PLACES = ["life", "view", "task", "event"]; // whoever goes from one to another can go back
const PAUSE = 300; // milliseconds between two writings: browsers allow a hundred in half a minute
const LONG_PAUSE = 5000; // after one that was refused

/** What is shown when the address says nothing. */
export const PLAIN = Object.freeze({
    life: 0, // which of the lives
    view: "tasks",
    text: "", // that an event must contain
    kind: "",
    weight: 0, // the least
    task: -1,
    hidden: [], // lanes
    event: -1, // the chosen one
    from: -1, // the piece of time that is shown
    until: -1,
    folded: true, // waits
});

export function toAddress(state, plain) {
    const words = new URLSearchParams();
    for (const [key, usual] of Object.entries(plain)) {
        const value = String(state[key]);
        if (value !== String(usual)) {
            words.set(key, value);
        }
    }
    return words.toString();
}

/** Only what has the form that it must have, and what there is: an address may come from anybody. */
export function fromAddress(address, plain, lives) {
    const state = { ...plain };
    for (const [key, value] of new URLSearchParams(address)) {
        if (!Object.hasOwn(plain, key)) {
            continue;
        }
        if (NUMBERS.includes(key)) {
            state[key] = /^\d+$/.test(value) ? Number(value) : plain[key];
        } else if (MOMENTS.includes(key)) {
            state[key] = /^\d+(\.\d+)?$/.test(value) ? Number(value) : plain[key];
        } else if (LISTS.includes(key)) {
            state[key] = value.split(",").filter((word) => /^[a-z]+$/.test(word));
        } else if (typeof plain[key] === "boolean") {
            state[key] = value === "true";
        } else {
            state[key] = value;
        }
    }
    return { ...state, ...whatIsNot(state, plain, lives) };
}

/** What is shown instead of that which the lives do not have. */
function whatIsNot(state, plain, lives) {
    const life = lives[state.life] ?? lives[plain.life];
    const ends = { life: lives.length, weight: WEIGHTS.length, task: life.tasks.length, event: life.events.length };
    const keys = NUMBERS.filter((key) => state[key] >= ends[key]);
    if (state.from < 0 || state.from >= state.until) {
        keys.push(...MOMENTS);
    }
    return Object.fromEntries(keys.map((key) => [key, plain[key]]));
}

/**
 * Keeps both the same. The way back leads through the places where somebody was, and not through every letter that was typed,
 * through every piece of time that was shown or through all that a held key went past.
 */
export function bindAddress(store, plain, lives) {
    let here = store.state;
    let held = false; // a key
    const writer = new Writer(plain);
    addEventListener("keydown", (key) => { held = key.repeat; }, true);
    addEventListener("keyup", () => { held = false; }, true);
    store.watch(Object.keys(plain), (state) => {
        const gone = !held && state.text === here.text && PLACES.some((key) => state[key] !== here[key]);
        here = state;
        if (gone) {
            writer.add(state);
        } else {
            writer.replace(state);
        }
    });
    addEventListener("hashchange", () => {
        const state = fromAddress(location.hash.slice(1), plain, lives);
        here = state;
        store.change(state);
        writer.replace(state); // it may be written differently
    });
    addEventListener("popstate", () => writer.forget());
    addEventListener("pagehide", () => writer.finish());
}

/** Writes the address: entries of their own at once, and of all other states the last one behind a pause. */
class Writer {
    #plain;
    #waiting = null; // a state
    #pause = 0; // 0: there is none

    constructor(plain) {
        this.#plain = plain;
    }

    /** What waits belongs to the entry that is left. */
    add(state) {
        this.finish();
        if (this.#write("pushState", state)) {
            this.#waiting = null;
        } else {
            this.#waiting = state;
            this.#rest(LONG_PAUSE);
        }
    }

    replace(state) {
        this.#waiting = state;
        if (this.#pause === 0 && !this.#isWritten(state)) {
            this.#rest(this.finish() ? PAUSE : LONG_PAUSE);
        }
    }

    /** What waits belongs to an entry that was left already. */
    forget() {
        this.#waiting = null;
    }

    /** Writes what waits. Whether nothing waits any more. */
    finish() {
        if (this.#waiting !== null && this.#write("replaceState", this.#waiting)) {
            this.#waiting = null;
        }
        return this.#waiting === null;
    }

    #rest(pause) {
        clearTimeout(this.#pause);
        this.#pause = setTimeout(() => {
            this.#pause = 0;
            if (this.#waiting !== null) {
                this.replace(this.#waiting);
            }
        }, pause);
    }

    #isWritten(state) {
        return location.hash.slice(1) === toAddress(state, this.#plain);
    }

    /** Whether it stands there then: a browser to which it is too often throws, or does nothing. */
    #write(how, state) {
        const address = toAddress(state, this.#plain);
        if (!this.#isWritten(state)) {
            try {
                history[how](null, "", address === "" ? location.pathname + location.search : "#" + address);
            } catch {
                return false;
            }
        }
        return this.#isWritten(state);
    }
}
