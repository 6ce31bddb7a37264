// The one store of the page: what is shown and chosen. Views read it, change it and are told.

export class Store {
    #state;
    #watchers = [];

    constructor(state) {
        this.#state = Object.freeze({ ...state });
    }

    get state() {
        return this.#state;
    }

    /** Calls `watcher` with the state, now and whenever one of the `keys` has changed. */
    watch(keys, watcher) {
        this.#watchers.push({ keys, watcher });
        watcher(this.#state);
    }

    change(patch) {
        const before = this.#state;
        const changed = Object.keys(patch).filter((key) => !same(before[key], patch[key]));
        if (changed.length === 0) {
            return;
        }
        this.#state = Object.freeze({ ...before, ...patch });
        for (const { keys, watcher } of this.#watchers) {
            if (keys.some((key) => changed.includes(key))) {
                watcher(this.#state);
            }
        }
    }
}

function same(left, right) {
    return left === right || (Array.isArray(left) && Array.isArray(right) && left.join() === right.join());
}
