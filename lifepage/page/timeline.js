// The time line: lanes below each other, all of a life or a thousandth of a second of it, by mouse, finger and keys.

import { select, event as d3event } from "d3-selection";
import { zoom, zoomIdentity } from "d3-zoom";
import { element } from "./dom.js";
import { Folds } from "./folds.js";
import { Hint } from "./hint.js";
import { HEIGHT, ROWS } from "./lanes.js";
import { lastingOf } from "./lasting.js";
import { legend } from "./legend.js";
import { nextSeen } from "./life.js";
import { eventNear, stepNear } from "./nearest.js";
import { paint } from "./paint.js";
import { onScheme, palette } from "./palette.js";
import { firstNotBefore } from "./sorted.js";
import { leaveToThePage } from "./swipe.js";
import { count, short } from "./words.js";

const CLOSEST = 1; // milliseconds that fill the picture when it is closest
const STILL = 4; // pixels that a mouse may move between down and up of a click

export class TimeLine {
    #store;
    #life;
    #frame = 0;
    #view;
    #width = 0;
    #transform = zoomIdentity;
    #zoom;
    #moving = false; // by ourselves, so that the store knows already

    constructor(root, store, seen) {
        this.#store = store;
        this.seen = seen; // () => a byte an event
        this.#build(root);
        this.#zoom = zoom().filter(() => !d3event.button && (d3event.type !== "wheel" || d3event.ctrlKey || d3event.metaKey))
            .clickDistance(STILL).on("zoom", () => this.#zoomed())
            .on("end", () => this.#tellStore());
        select(this.canvas).call(this.#zoom).on("dblclick.zoom", null).style("touch-action", "pan-y");
        leaveToThePage(this.frame);
        new ResizeObserver(() => this.#resize()).observe(this.frame);
        onScheme(() => this.fit());
    }

    /** To other colours and another width. */
    fit() {
        this.#view.colours = palette();
        this.#resize();
        this.paintNow();
    }

    #build(root) {
        const button = (text, title, act) => element("button", { type: "button", title, "aria-label": title, onclick: act }, text);
        this.said = element("span", { class: "piece" });
        this.fold = element("input", {
            type: "checkbox", id: "fold", onchange: () => this.#store.change({ folded: this.fold.checked }),
        });
        this.lanes = element("div", { class: "lanes", role: "group", "aria-label": "Lanes" },
            ROWS.map((row) => element("label", { class: `lane lane-${row.id}` },
                element("input", { type: "checkbox", onchange: (change) => this.#showLane(row.id, change.target.checked) }),
                element("span", {}, row.name))));
        this.canvas = element("canvas", { "aria-hidden": "true" });
        this.hint = new Hint();
        this.frame = element("div", {
            class: "frame", tabindex: 0, role: "group",
            "aria-label": "Time line. Left and right choose the event before and behind, with shift they move; " +
                "plus and minus change the scale, zero shows everything.",
            onkeydown: (key) => this.#key(key),
        }, this.canvas, this.hint.root);
        this.canvas.addEventListener("click", (click) => this.#choose(click));
        this.canvas.addEventListener("mousemove", (move) => this.#point(move));
        this.canvas.addEventListener("mouseleave", () => this.hint.hide());
        this.canvas.addEventListener("wheel", (wheel) => this.#wheel(wheel), { passive: false });
        root.replaceChildren(
            element("div", { class: "bar" },
                element("h2", {}, "Time line"), this.said,
                element("label", { class: "check" }, this.fold, "fold waits"),
                element("span", { class: "buttons" },
                    button("\u2212", "Show more time", () => this.#scaleBy(1 / 2)),
                    button("+", "Show less time", () => this.#scaleBy(2)),
                    button("All", "Show all of the life", () => this.show(0, this.#life.length)))),
            element("div", { class: "drawing" }, this.lanes, this.frame), legend());
    }

    #showLane(lane, shown) {
        const others = this.#store.state.hidden.filter((one) => one !== lane);
        this.#store.change({ hidden: shown ? others : [...others, lane] });
    }

    /** Another life, or its waits folded or not. */
    setLife(life, state) {
        this.#life = life;
        const folds = new Folds(life.at, life.length, state.folded);
        const places = folds.placesOf(life.at);
        this.#view = {
            life, folds, places, colours: palette(), place: (x) => this.#place(x), x: (place) => this.#x(place), ...lastingOf(life, places),
        };
        this.fold.checked = state.folded;
        this.#limit();
        this.#showState(state);
    }

    setLanes(state) {
        this.lanes.querySelectorAll("input").forEach((box, at) => {
            box.checked = !state.hidden.includes(ROWS[at].id);
        });
        this.draw();
    }

    #base() {
        return Math.max(this.#width - 24, 1) / this.#view.folds.extent;
    }

    #x(place) {
        return this.#transform.applyX(12 + place * this.#base());
    }

    #place(x) {
        return (this.#transform.invertX(x) - 12) / this.#base();
    }

    #limit() {
        if (this.#width === 0) {
            return;
        }
        const most = Math.max(this.#view.folds.extent / CLOSEST, 1);
        this.#zoom.scaleExtent([1, most]).extent([[0, 0], [this.#width, HEIGHT]])
            .translateExtent([[0, 0], [this.#width, HEIGHT]]);
    }

    #resize() {
        const width = this.frame.clientWidth;
        if (width === this.#width || width === 0) {
            return;
        }
        this.#width = width;
        const scale = devicePixelRatio || 1;
        this.canvas.width = Math.round(width * scale);
        this.canvas.height = Math.round(HEIGHT * scale);
        this.canvas.getContext("2d").setTransform(scale, 0, 0, scale, 0, 0);
        if (this.#life !== undefined) {
            this.#limit();
            this.#showState(this.#store.state);
        }
    }

    #showState(state) {
        if (this.#width === 0) {
            return;
        }
        if (state.from >= 0 && state.until > state.from) {
            this.show(state.from, state.until, false);
        } else {
            this.show(0, this.#life.length, false);
        }
    }

    /** The piece of time between two moments. */
    show(from, until, tell = true) {
        const begin = this.#view.folds.place(Math.max(from, 0));
        const end = Math.max(this.#view.folds.place(Math.min(until, this.#life.length)), begin + 1e-3);
        const all = from <= 0 && until >= this.#life.length;
        const most = this.#zoom.scaleExtent()[1];
        const scale = all ? 1 : Math.min((this.#width - 24) / ((end - begin) * this.#base()), most);
        const left = all ? 0 : 12 - scale * (12 + begin * this.#base());
        this.#moving = !tell;
        select(this.canvas).call(this.#zoom.transform, zoomIdentity.translate(left, 0).scale(scale));
        this.#moving = false;
    }

    /** Follows the address, and so does what we did ourselves: nothing moves then. */
    follow(state) {
        const here = this.#piece();
        if (Math.abs(here.from - state.from) > 1e-3 || Math.abs(here.until - state.until) > 1e-3) {
            this.#showState(state);
        }
    }

    #zoomed() {
        this.#transform = d3event.transform;
        this.draw();
    }

    #piece() {
        if (this.#transform.k === 1) {
            return { from: -1, until: -1 };
        }
        const rounded = (moment) => Math.round(Math.min(Math.max(moment, 0), this.#life.length) * 1000) / 1000;
        return {
            from: rounded(this.#view.folds.moment(this.#place(12))),
            until: rounded(this.#view.folds.moment(this.#place(this.#width - 12))),
        };
    }

    #tellStore() {
        if (!this.#moving && this.#life !== undefined) {
            this.#store.change(this.#piece());
        }
    }

    #scaleBy(factor) {
        select(this.canvas).call(this.#zoom.scaleBy, factor);
    }

    /** Sideways it moves; up and down the page does, unless the wheel is to zoom. */
    #wheel(wheel) {
        const sideways = wheel.shiftKey ? wheel.deltaY || wheel.deltaX : wheel.deltaX;
        if (!wheel.ctrlKey && !wheel.metaKey && Math.abs(sideways) > 0 && (wheel.shiftKey || Math.abs(wheel.deltaX) > Math.abs(wheel.deltaY))) {
            wheel.preventDefault();
            select(this.canvas).call(this.#zoom.translateBy, -sideways / this.#transform.k, 0);
        }
    }

    #key(key) {
        const move = (part) => select(this.canvas).call(this.#zoom.translateBy, (part * this.#width) / this.#transform.k, 0);
        const acts = {
            "ArrowLeft": () => (key.shiftKey ? move(0.25) : this.#step(-1)),
            "ArrowRight": () => (key.shiftKey ? move(-0.25) : this.#step(1)),
            "+": () => this.#scaleBy(2),
            "=": () => this.#scaleBy(2),
            "-": () => this.#scaleBy(1 / 2),
            "0": () => this.show(0, this.#life.length),
        };
        if (key.ctrlKey || key.metaKey || key.altKey || !(key.key in acts)) {
            return;
        }
        key.preventDefault();
        acts[key.key]();
    }

    /** To the next event that is seen; from none, to the first one in sight. */
    #step(by) {
        const seen = this.seen();
        const chosen = this.#store.state.event;
        const first = firstNotBefore(this.#view.places, this.#place(0));
        const at = nextSeen(seen, chosen >= 0 ? chosen : by > 0 ? first - 1 : Math.min(first + 1, seen.length), by);
        if (at >= 0) {
            this.#store.change({ event: at });
        }
    }

    /** Brings an event into sight, if it is not. */
    reveal(at) {
        if (at < 0 || this.#width === 0 || at >= this.#view.places.length) {
            return;
        }
        const x = this.#x(this.#view.places[at]);
        if (x < 20 || x > this.#width - 20) {
            select(this.canvas).call(this.#zoom.translateTo, 12 + this.#view.places[at] * this.#base(), 0);
        }
    }

    /** All of the view that a place is looked up in. */
    #looked() {
        return Object.assign(this.#view, { seen: this.seen() });
    }

    #choose(click) {
        const view = this.#looked();
        const step = stepNear(view, click.offsetX, click.offsetY);
        if (step >= 0) {
            const { from, until } = this.#life.steps[step];
            this.show(from, until);
            return;
        }
        const at = eventNear(view, click.offsetX, click.offsetY);
        if (at >= 0) {
            this.#store.change({ event: at });
        }
    }

    #point(move) {
        const view = this.#looked();
        const step = stepNear(view, move.offsetX, move.offsetY);
        const at = step >= 0 ? -1 : eventNear(view, move.offsetX, move.offsetY);
        this.canvas.style.cursor = at >= 0 || step >= 0 ? "pointer" : "grab";
        const text = step >= 0 ? `${step + 1}  ${short(this.#life.steps[step].text, 2000)}`
            : at >= 0 ? `${this.#life.time(this.#life.at[at])}  ${short(this.#life.events[at].text, 160)}` : "";
        this.hint.tell(text, move.offsetX, move.offsetY, this.#width);
    }

    /** With the next frame, however often it is asked for. */
    draw() {
        if (this.#frame === 0) {
            this.#frame = requestAnimationFrame(() => {
                this.#frame = 0;
                this.paintNow();
            });
        }
    }

    paintNow() {
        if (this.#width === 0 || this.#life === undefined) {
            return;
        }
        const view = this.#view;
        Object.assign(view, {
            width: this.#width, state: this.#store.state, seen: this.seen(), left: this.#place(-20), right: this.#place(this.#width + 20),
            zero: this.#x(0), scale: this.#base() * this.#transform.k,
        });
        paint(this.canvas.getContext("2d"), view);
        const [left, right] = [this.#place(0), this.#place(this.#width)];
        const from = view.folds.moment(left);
        const until = view.folds.moment(right);
        const folds = view.folds.within(left, right);
        this.said.textContent = `${this.#life.span(Math.min(until, this.#life.length) - Math.max(from, 0))} in sight` +
            (folds > 0 ? `, ${count(folds, "wait")} folded` : "");
    }
}
