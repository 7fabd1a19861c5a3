// The page's workers: tasks wait here for one that is free, the most urgent first. A task that is stopped takes its worker
// with it, and another comes in its place.

import {texts} from './texts.js';

// Which module a task needs.
const EFFECTS = 'effects', FORMATS = 'formats';
const moduleOf = task => (task === 'decode' || task === 'encode' ? FORMATS : EFFECTS);

// Compiled once for all workers of it, and fetched when the first one needs it.
const compiled = new Map();

function moduleNamed(name) {
    if (!compiled.has(name)) {
        const url = new URL(`./${name}.wasm`, import.meta.url);
        // A server may not know what a .wasm file is.
        const module = WebAssembly.compileStreaming(fetch(url))
            .catch(async () => WebAssembly.compile(await (await fetch(url)).arrayBuffer()))
            .catch(error => { throw error instanceof WebAssembly.CompileError ? new Error(texts.tooOld) : error; });
        compiled.set(name, module);
        module.catch(() => compiled.delete(name));
    }
    return compiled.get(name);
}

// What is nearly done is cheaper to wait for than a new worker.
const GRACE = 200;   // milliseconds

// A worker gives no memory back: with more than this it goes when its task is done, and a fresh one comes in its place.
const MOST_MEMORY = 64 * 2 ** 20;   // bytes: more than thumbnails, small previews and small pictures need

const aborted = () => new DOMException('aborted', 'AbortError');

// `onFree()`: it may have another job; `onFailed(slot, error)`: it could not be started.
function makeWorker(slot, onFree, onFailed) {
    const worker = new Worker(new URL('./worker.js', import.meta.url), {type: 'module'});
    Object.assign(slot, {worker, ready: false, picture: null, job: null});
    worker.onmessage = ({data}) => {
        const {job} = slot;
        if (data.ready) slot.ready = true;
        else if (data.progress) return job?.onProgress?.(data.progress);
        else if (data.part) return job ? job.onPart(data.part) : data.part.bitmap.close();
        else {
            slot.job = null;
            if (data.error !== undefined) {
                const line = data.code === null && /memory|allocation/i.test(data.error) ? texts.noMemory : data.error;
                job?.reject(Object.assign(new Error(line), {code: data.code}));
                if (!slot.ready) onFailed(slot, new Error(data.error));
                else if (data.code === null) replaceWorker(slot, onFree, onFailed);
            } else {
                job?.resolve(data.result);
                if (data.memory > MOST_MEMORY) replaceWorker(slot, onFree, onFailed);
            }
        }
        onFree();
    };
    worker.onerror = event => {
        event.preventDefault?.();
        const error = new Error(event.message || 'a worker could not be started');
        slot.job?.reject(error);
        slot.job = null;
        if (slot.ready) replaceWorker(slot, onFree, onFailed);
        else onFailed(slot, error);
    };
    moduleNamed(slot.name).then(module => worker.postMessage({start: {name: slot.name, module}}),
        error => onFailed(slot, error));
}

function replaceWorker(slot, ...heard) {
    slot.worker.terminate();
    makeWorker(slot, ...heard);
}

// So many workers with the effects, and one with the formats when a task first asks for it.
const weightOf = ({picture}) => (picture ? picture.pixels.length : 0);

export function makeWorkers(count = Math.min(Math.max(navigator.hardwareConcurrency || 2, 2), 4)) {
    const slots = [], waiting = [];

    function addSlot(name) {
        const slot = {name};
        slots.push(slot);
        makeWorker(slot, next, fail);
    }

    // Whoever waits for a worker of a module waits in vain once none of its slots is left; a later task tries anew.
    function fail(slot, error) {
        slot.worker.terminate();
        if (!slots.includes(slot)) return;
        slots.splice(slots.indexOf(slot), 1);
        if (slots.some(({name}) => name === slot.name)) return;
        const jobs = waiting.filter(({name}) => name === slot.name);
        for (const job of jobs) {
            waiting.splice(waiting.indexOf(job), 1);
            job.reject(error);
        }
    }

    // Where there is no memory for the picture's copy, the worker is as free as before.
    function give(slot, job) {
        const picture = slot.picture === job.picture ? null : job.picture;
        try {
            slot.worker.postMessage({task: job.task, given: job.given, picture}, job.handedOver);
        } catch {
            return job.reject(new Error(texts.noMemory));
        }
        slot.job = job;
        slot.picture = job.picture ?? slot.picture;
    }

    function next() {
        for (const name of [EFFECTS, FORMATS]) {
            const jobs = waiting.filter(job => job.name === name).sort((a, b) => b.urgency - a.urgency || a.number - b.number);
            for (const job of jobs) {
                const free = slots.filter(slot => slot.name === name && slot.ready && !slot.job);
                if (!free.length) break;
                waiting.splice(waiting.indexOf(job), 1);
                // A large picture stays where it is, so that it need not be sent again.
                const lightest = free.reduce((one, other) => (weightOf(other) < weightOf(one) ? other : one));
                give(free.find(slot => slot.picture === job.picture) ?? lightest, job);
            }
        }
    }

    function stop(job) {
        const index = waiting.indexOf(job);
        if (index >= 0) waiting.splice(index, 1);
        const slot = slots.find(({job: current}) => current === job);
        job.reject(aborted());
        if (!slot) return;
        if (!job.gently) return replaceWorker(slot, next, fail);
        setTimeout(() => {
            if (slot.job === job) replaceWorker(slot, next, fail);
        }, GRACE);
    }

    let number = 0;
    for (let i = 0; i < count; ++i) addSlot(EFFECTS);

    const addMissing = name => slots.some(slot => slot.name === name) || addSlot(name);

    return {
        // A file may be opened soon: the module for it is made ready while nobody waits.
        expectFiles: () => addMissing(FORMATS),

        // The result of a task of worker.js. `picture`: what it works on; `onPart`: is given what a task shows before its
        // result; `gently`: a short one, whose worker stays where it is stopped.
        run(task, given, {picture = null, urgency = 0, signal, onProgress, onPart, gently = false, handedOver = []} = {}) {
            return new Promise((resolve, reject) => {
                if (signal?.aborted) return reject(aborted());
                const name = moduleOf(task);
                addMissing(name);
                const job = {task, given, picture, urgency, onProgress, onPart, name, gently, handedOver, resolve, reject, number: number++};
                signal?.addEventListener('abort', () => stop(job), {once: true});
                waiting.push(job);
                next();
            });
        },
    };
}
