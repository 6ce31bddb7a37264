// What is drawn and not styled is drawn for paper while the page is printed: light, as wide as paper, and whether it is in
// sight or not. The class "printing" gives it the place to be drawn in. What is folded in tables is open on paper.

const root = document.documentElement;
let unfolded = [];

/** Calls `drawn` with true when the page begins to be printed, and with false when it is back on its screen. */
export function onPaper(drawn) {
    const change = (printing) => () => {
        root.classList.toggle("printing", printing);
        if (!printing) {
            unfold(false);
        }
        drawn(printing);
        if (printing) {
            unfold(true); // what is drawn for paper alone, too
        }
    };
    addEventListener("beforeprint", change(true));
    addEventListener("afterprint", change(false));
}

function unfold(printing) {
    if (printing) {
        unfolded.push(...document.querySelectorAll("[role='tabpanel'] details:not([open])"));
    }
    unfolded.forEach((details) => { details.open = printing; });
    unfolded = printing ? unfolded : [];
}
