"""What a page costs: the time of a processor that its own thread takes, and how much it draws. Others compute beside us, so
that a clock on the wall tells nothing of the page."""
from Page import PageTest

FRAMES = 40
COUNTED = """
const pen = CanvasRenderingContext2D.prototype;
if (window.drawn === undefined) {
    for (const call of ['fillRect', 'fill', 'stroke', 'fillText']) {
        const drawing = pen[call];
        pen[call] = function (...parts) {
            window.drawn += 1;
            drawing.apply(this, parts);
        };
    }
}
window.drawn = 0;
"""


class FramesTest(PageTest):
    def setUp(self):
        super().setUp()
        self.browser.execute_cdp_cmd("Performance.enable", {"timeDomain": "threadTicks"})

    def spent(self):
        """Seconds of a processor that the page's thread has taken, with the drawing of what was done last."""
        self.browser.execute_async_script("const done = arguments[0]; requestAnimationFrame(() => requestAnimationFrame(() => done()));")
        metrics = self.browser.execute_cdp_cmd("Performance.getMetrics", {})["metrics"]
        return next(metric["value"] for metric in metrics if metric["name"] == "TaskDuration")

    def cost(self, act):
        before = self.spent()
        act()
        return self.spent() - before

    def frame(self, act):
        """What a frame took of a processor, and the most that one drew, of those in which `act` was done."""
        before = self.spent()
        drawn = self.browser.execute_async_script(COUNTED + f"""
            const done = arguments[0];
            const list = document.querySelector('.list');
            const canvas = document.querySelector('.frame canvas');
            const box = canvas.getBoundingClientRect();
            const wheel = (move) => canvas.dispatchEvent(new WheelEvent('wheel', {{clientX: box.left + 500, clientY: box.top + 100,
                bubbles: true, cancelable: true, ...move}}));
            const half = {FRAMES} / 2;
            let most = 0;
            let frames = 0;
            const frame = () => {{
                most = Math.max(most, window.drawn);
                window.drawn = 0;
                {act}
                frames += 1;
                if (frames < {FRAMES}) {{ requestAnimationFrame(frame); }} else {{ done(most); }}
            }};
            requestAnimationFrame(frame);""")
        return (self.spent() - before) / FRAMES, drawn
