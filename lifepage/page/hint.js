// What the pointer on the time line is at, beside it and inside of the picture.

import { element } from "./dom.js";
import { HEIGHT } from "./lanes.js";

const RIGHT = 12; // of the pointer, in pixels
const BESIDE = 14; // below or above it

export class Hint {
    constructor() {
        this.root = element("div", { class: "hint", hidden: true });
    }

    hide() {
        this.root.hidden = true;
    }

    /** At that place of a picture that is so wide; no text hides it. */
    tell(text, x, y, width) {
        this.root.textContent = text;
        this.root.hidden = text === "";
        const { style } = this.root;
        style.left = "0"; // where it is as wide as it may be
        style.left = `${Math.max(Math.min(x + RIGHT, width - this.root.offsetWidth), 0)}px`;
        const above = y > HEIGHT / 2; // where there is more room
        style.top = above ? "auto" : `${y + BESIDE}px`;
        style.bottom = above ? `${HEIGHT - y + BESIDE}px` : "auto";
    }
}
