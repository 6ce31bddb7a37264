// What is drawn and not styled is drawn for paper while the page is printed: light, as wide as paper, and whether it is in
// sight or not. The class "printing" gives it the place to be drawn in.

const root = document.documentElement;

/** Calls `drawn` with true when the page begins to be printed, and with false when it is back on its screen. */
export function onPaper(drawn) {
    const change = (printing) => () => {
        root.classList.toggle("printing", printing);
        drawn(printing);
    };
    addEventListener("beforeprint", change(true));
    addEventListener("afterprint", change(false));
}
