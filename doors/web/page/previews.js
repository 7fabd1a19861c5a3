// What Apply would make, while settings change: at once on a smaller picture, then what is seen of the whole, exact, then the
// whole. What the whole preview has made is what Apply takes, so both are the same run.
//
// What is seen is made from that part and what lies around it, where the effect looks no farther than that; it is there long
// before the whole is. Of other effects the whole is run and what is seen of it shown first.

import {cutPicture, sharedPart, widenPart} from './pixels.js';
import {makeLine, reduceArea, reduceValues} from './steps.js';

const REDUCED_EDGE = 900, PATIENCE = 120;   // pixels; milliseconds without a change before the whole is begun
const WORTHWHILE = 0.5;                     // of the whole picture: a larger part is not made before it

// `seen()`: what is looked at, {x, y, width, height} in the picture's pixels, also beyond its edges. `heard(kind, result)`:
// "reduced" or "exact" with {bitmap, width, height}, "part" with {bitmap, x, y, width, height}, "failed" with an Error,
// "working".
export function makePreviews(workers, seen, heard) {
    let reduced = null;    // a promise of the picture made smaller, of `reducedOf`
    let reducedOf = null;
    let stop = new AbortController(), timer = 0;
    let isPartShown = false;
    let exact = null;      // {picture, line, result}

    async function showReduced(picture, {effect, values, seed, area, files}, signal) {
        if (reducedOf !== picture) {
            reducedOf = picture;
            reduced = workers.run('reduce', {edge: REDUCED_EDGE}, {picture, urgency: 8});
            reduced.catch(() => { reducedOf = null; });
        }
        const {picture: small, step} = await reduced;
        if (step === 1 || signal.aborted) return;
        const line = makeLine(effect, reduceValues(effect, values, step), {seed, area: reduceArea(area, step)});
        const made = await workers.run('apply', {lines: [line], files: {...files}, wanted: 'picture'},
            {picture: small, signal, urgency: 8, gently: true});
        if (signal.aborted || isPartShown || exact) return made.bitmap.close();
        const {width, height} = made.picture;
        heard('reduced', {bitmap: made.bitmap, width: Math.round(width * picture.width / small.width),
            height: Math.round(height * picture.height / small.height)});
    }

    const isWorthwhile = (part, {width, height}) => part.width * part.height <= WORTHWHILE * width * height;

    function showPart(part, signal) {
        if (signal.aborted || exact) return part.bitmap.close();
        isPartShown = true;
        heard('part', part);
    }

    async function makePart(picture, line, files, signal) {
        const part = sharedPart(seen(), {x: 0, y: 0, width: picture.width, height: picture.height});
        if (!part || !isWorthwhile(part, picture)) return;
        const {width, height} = picture;
        const {reach} = await workers.run('reach', {line, width, height}, {signal, urgency: 8, gently: true});
        if (reach < 0) return;
        const wide = widenPart(part, reach, picture);
        if (!isWorthwhile(wide, picture)) return;
        const within = {...part, x: part.x - wide.x, y: part.y - wide.y};
        const {bitmap} = await workers.run('applyToPart', {lines: [line], files: {...files}, within},
            {picture: cutPicture(picture, wide), signal, urgency: 7, gently: true});
        showPart({...part, bitmap}, signal);
    }

    async function makeExact(picture, line, files, signal) {
        const first = isWorthwhile(seen(), picture) ? seen() : null;
        const result = await workers.run('apply', {lines: [line], files, wanted: 'picture', first},
            {picture, signal, urgency: 4, onPart: part => showPart(part, signal)});
        if (signal.aborted) return result.bitmap.close();
        exact = {picture, line, result};
        heard('exact', {bitmap: result.bitmap, width: result.picture.width, height: result.picture.height});
    }

    const quietly = promise => promise.catch(error => {
        if (error.name !== 'AbortError') heard('failed', error);
    });

    function end() {
        stop.abort();
        clearTimeout(timer);
        isPartShown = false;
        exact = null;
    }

    return {
        // `wish`: {effect, values, seed, area, files}.
        show(picture, wish) {
            end();
            stop = new AbortController();
            const {signal} = stop, line = makeLine(wish.effect, wish.values, wish);
            heard('working');
            quietly(showReduced(picture, wish, signal).then(() => makePart(picture, line, wish.files, signal)));
            timer = setTimeout(() => quietly(makeExact(picture, line, wish.files, signal)), PATIENCE);
        },
        // The whole preview's result where it is of this line on this picture; it is the caller's from here on.
        take(picture, line) {
            const taken = exact?.picture === picture && exact.line === line ? exact.result : null;
            end();
            return taken;
        },
        end,
    };
}
