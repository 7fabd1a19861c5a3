// What Apply would make, while settings change: at once on a smaller picture, then what is seen of the whole, exact, then the
// whole. What the whole preview has made is what Apply takes, so both are the same run.
//
// What is seen is made from that part and what lies around it, where the effect looks no farther than that; it is there long
// before the whole is. Of other effects the whole is run and what is seen of it shown first.
//
// The smaller picture is as small as the effect is slow. While changes follow upon each other, as under a slider that is
// dragged, one run of it is under way, whose result is shown although the wish is another by then; the last wish waits.

import {cutPicture, reducingStep, sharedPart, widenPart} from './pixels.js';
import {makeLine, reduceArea, reduceValues} from './steps.js';

const EDGES = [900, 450, 225];   // pixels, of the smaller picture
const PROMPT = 60;               // milliseconds: where a smaller picture takes longer, the next one is smaller still
const PATIENCE = 120;            // milliseconds without a change before the whole is begun
const RESPITE = 100;             // milliseconds that a run has to its end when there is another wish
const WORTHWHILE = 0.5;          // of the whole picture: a larger part is not made before it

// `seen()`: what is looked at, {x, y, width, height} in the picture's pixels, also beyond its edges. `heard(kind, result)`:
// "reduced" or "exact" with {bitmap, width, height}, "part" with {bitmap, x, y, width, height}, "failed" with an Error,
// "working".
export function makePreviews(workers, seen, heard) {
    let reduced = new Map();   // promises of `reducedOf` made smaller, by their edges
    let reducedOf = null;
    const levels = new Map();  // which of the edges an effect's previews have, where that is not the first
    let now = null, waiting = null;   // {picture, wish, line, edge, last, stop}: whose smaller picture is under way, the next one
    let stop = new AbortController(), timer = 0;   // of the last wish, as its `last`
    let isPartShown = false;
    let exact = null;          // {picture, line, result}

    const edgeFor = ({effect}) => EDGES[levels.get(effect) ?? 0];

    // A level less is a fourth of the pixels. What was ended tells only that it took longer than that.
    function learn({effect}, taken, isDone) {
        if (!isDone && taken < PROMPT) return;
        const better = (levels.get(effect) ?? 0) + Math.ceil(Math.log(taken / PROMPT) / Math.log(4));
        levels.set(effect, Math.min(Math.max(better, 0), EDGES.length - 1));
    }

    function reducedTo(edge, picture) {
        if (reducedOf !== picture) reduced = new Map();
        reducedOf = picture;
        if (!reduced.has(edge)) {
            const own = reduced, made = workers.run('reduce', {edge}, {picture, urgency: 8});
            own.set(edge, made);
            made.catch(() => own.delete(edge));
        }
        return reduced.get(edge);
    }

    // Of a picture that is small already it is the whole.
    async function showReduced(one) {
        const {picture, wish: {effect, values, seed, area, files}, edge} = one, {signal} = one.stop;
        const {picture: small, step} = edge ? await reducedTo(edge, picture) : {picture, step: 1};
        if (signal.aborted) return;
        const line = makeLine(effect, reduceValues(effect, values, step), {seed, area: reduceArea(area, step)});
        const begun = performance.now(), given = {lines: [line], files: {...files}, wanted: 'picture'};
        const made = await workers.run('apply', given, {picture: small, signal, urgency: 8, gently: true})
            .finally(() => learn(one.wish, performance.now() - begun, !signal.aborted));
        const isLast = one.last === stop, isExact = isLast && !edge;
        if (signal.aborted || (isLast && (isPartShown || exact))) return made.bitmap.close();
        if (isExact) exact = {picture, line, result: made};
        const {width, height} = made.picture;
        heard(isExact ? 'exact' : 'reduced', {bitmap: made.bitmap, width: Math.round(width * picture.width / small.width),
            height: Math.round(height * picture.height / small.height)});
    }

    async function showAllReduced() {
        while (waiting) {
            now = waiting;
            waiting = null;
            const {picture, wish, line, last, edge} = now;
            await quietly(showReduced(now));
            if (edge && last === stop && !last.signal.aborted) quietly(makePart(picture, line, wish.files, last.signal));
        }
        now = null;
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

    function endLast() {
        stop.abort();
        clearTimeout(timer);
        isPartShown = false;
        exact = null;
    }

    function end() {
        endLast();
        now?.stop.abort();
        waiting = null;
    }

    return {
        // `wish`: {effect, values, seed, area, files}.
        show(picture, wish) {
            endLast();
            stop = new AbortController();
            const last = stop, line = makeLine(wish.effect, wish.values, wish);
            const edge = reducingStep(picture, edgeFor(wish)) > 1 ? edgeFor(wish) : null;
            waiting = {picture, wish, line, edge, last, stop: new AbortController()};
            heard('working');
            if (now) {
                const {stop: former} = now;
                if (now.picture !== picture) former.abort();
                else setTimeout(() => former.abort(), RESPITE);
            } else showAllReduced();
            if (edge) timer = setTimeout(() => quietly(makeExact(picture, line, wish.files, last.signal)), PATIENCE);
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
