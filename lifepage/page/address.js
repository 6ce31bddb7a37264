// The state of the page in its address, behind the "#", so that a link shows the same.

const NUMBERS = ["life", "weight", "task", "event", "from", "until"];
const LISTS = ["hidden"];
const PLACES = ["life", "view", "task", "event"]; // whoever goes from one to another can go back

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

/** Only what has the form that it must have: an address may come from anybody. */
export function fromAddress(address, plain) {
    const state = { ...plain };
    for (const [key, value] of new URLSearchParams(address)) {
        if (!(key in plain)) {
            continue;
        }
        if (NUMBERS.includes(key)) {
            state[key] = Number.isFinite(Number(value)) ? Number(value) : plain[key];
        } else if (LISTS.includes(key)) {
            state[key] = value.split(",").filter((word) => /^[a-z]+$/.test(word));
        } else if (typeof plain[key] === "boolean") {
            state[key] = value === "true";
        } else {
            state[key] = value;
        }
    }
    return state;
}

/**
 * Keeps both the same. The way back leads through the places where somebody was, and not through every letter that was typed,
 * through every piece of time that was shown or through all that a held key went past.
 */
export function bindAddress(store, plain) {
    let here = store.state;
    let held = false; // a key
    addEventListener("keydown", (key) => { held = key.repeat; }, true);
    addEventListener("keyup", () => { held = false; }, true);
    store.watch(Object.keys(plain), (state) => {
        const gone = !held && state.text === here.text && PLACES.some((key) => state[key] !== here[key]);
        here = state;
        const address = toAddress(state, plain);
        if (address !== location.hash.slice(1)) {
            const url = address === "" ? location.pathname + location.search : "#" + address;
            history[gone ? "pushState" : "replaceState"](null, "", url);
        }
    });
    addEventListener("hashchange", () => {
        const state = fromAddress(location.hash.slice(1), plain);
        here = state;
        store.change(state);
    });
}
