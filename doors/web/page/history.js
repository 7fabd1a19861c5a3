// What has been done to the picture: every state with its picture and the steps that led to it, for undo and redo.

const MOST_STEPS = 20, SMALL_PIXELS = 4e6, MOST_BYTES = 512 * 2 ** 20;

const sumOf = (pages, measure) => pages.reduce((sum, page) => sum + measure(page), 0);
const bytesOf = ({pages, bitmap}) =>
    sumOf(pages, ({pixels, mask}) => pixels.length + (mask?.length ?? 0)) + 4 * bitmap.width * bitmap.height;

// A state is {pages, bitmap, frame, lines, title}: pictures, mostly one; what shows one of them, and which; `title` is that of
// the effect that led to it.
export function makeHistory() {
    let states = [], now = -1;

    // 20 steps of small pictures are kept whatever they need; of larger ones as many as there is room for.
    function forgetOldest() {
        const isSmall = states.every(({pages}) => sumOf(pages, ({width, height}) => width * height) <= SMALL_PIXELS);
        const isTooMuch = () => {
            if (states.length > MOST_STEPS + 1) return true;
            return !isSmall && states.length > 2 && states.reduce((sum, state) => sum + bytesOf(state), 0) > MOST_BYTES;
        };
        while (isTooMuch()) {
            states.shift().bitmap.close();
            --now;
        }
    }

    return {
        begin(state) {
            for (const {bitmap} of states) bitmap.close();
            states = [state];
            now = 0;
        },
        add(state) {
            for (const {bitmap} of states.splice(now + 1)) bitmap.close();
            states.push(state);
            now = states.length - 1;
            forgetOldest();
        },
        current: () => states[now] ?? null,
        previous: () => states[now - 1] ?? null,
        canUndo: () => now > 0,
        canRedo: () => now < states.length - 1,
        // The state that is left, whose title is what was undone; and the one that is gone to.
        undo: () => states[now--],
        redo: () => states[++now],
    };
}
