// The effects for programs in JavaScript, in node and in browsers: decode, apply, encode. The work is done by workers, a
// few at most, which are started when there is work and keep no program from ending. index.d.ts tells what everything is.

import list from './list.js';

const MOST_WORKERS = 4;
const isNode = typeof process === 'object' && Boolean(process.versions?.node);
const workers = [], waiting = [];

//---- Workers

async function compile(name) {
    const url = new URL(`./${name}.wasm`, import.meta.url);
    if (!isNode) return WebAssembly.compileStreaming(fetch(url));
    const {readFile} = await import('node:fs/promises');
    return WebAssembly.compile(await readFile(url));
}

let modules = null;   // a promise of both, for all workers

async function startWorker() {
    const url = new URL('./worker.js', import.meta.url);
    const slot = {job: null};
    workers.push(slot);
    try {
        modules ??= Promise.all(['effects', 'formats'].map(compile));
        const [effects, formats] = await modules;
        if (isNode) {
            const {Worker} = await import('node:worker_threads');
            slot.worker = new Worker(url);
            slot.worker.on('message', data => hear(slot, data));
            slot.worker.on('error', error => hear(slot, {error: error.message, code: null}));
        } else {
            slot.worker = new Worker(url, {type: 'module'});
            slot.worker.onmessage = ({data}) => hear(slot, data);
            slot.worker.onerror = event => hear(slot, {error: event.message || 'the worker failed', code: null});
        }
        slot.worker.postMessage({start: {effects, formats}});
    } catch (error) {
        modules = null;
        workers.splice(workers.indexOf(slot), 1);
        for (const job of waiting.splice(0)) job.reject(error);
    }
}

function end(slot) {
    slot.worker.terminate();
    workers.splice(workers.indexOf(slot), 1);
    give();
}

function hear(slot, {ready, progress, result, error, code}) {
    const {job} = slot;
    if (ready) slot.ready = true;
    else if (progress) return job?.onProgress?.(progress);
    else {
        slot.job = null;
        if (error === undefined) job?.resolve(result);
        else {
            job?.reject(Object.assign(new Error(error), {code}));
            if (code === null) return end(slot);   // the instance is past use
        }
    }
    if (isNode && !slot.job) slot.worker.unref();
    give();
}

function give() {
    for (const job of [...waiting]) {
        const slot = workers.find(own => own.ready && !own.job);
        if (!slot) break;
        waiting.splice(waiting.indexOf(job), 1);
        slot.job = job;
        if (isNode) slot.worker.ref();
        slot.worker.postMessage({task: job.task, given: job.given});
    }
    const starting = workers.filter(own => !own.ready).length;
    if (waiting.length > starting && workers.length < MOST_WORKERS) startWorker();
}

const aborted = signal => signal.reason ?? new DOMException('aborted', 'AbortError');

function run(task, given, {signal, onProgress} = {}) {
    return new Promise((resolve, reject) => {
        if (signal?.aborted) return reject(aborted(signal));
        const job = {task, given, onProgress, resolve, reject};
        signal?.addEventListener('abort', () => {
            const index = waiting.indexOf(job), slot = workers.find(own => own.job === job);
            if (index >= 0) waiting.splice(index, 1);
            reject(aborted(signal));
            if (slot) end(slot);
        }, {once: true});
        waiting.push(job);
        give();
    });
}

//---- Steps

const quote = text => `'${text.replaceAll("'", "'\\''")}'`;
const dashed = name => name.replace(/[A-Z]/g, letter => `-${letter.toLowerCase()}`);

function wordOf(value) {
    if (typeof value === 'boolean') return value ? 'on' : 'off';
    return quote(Array.isArray(value) ? value.join(' ') : String(value));
}

function lineOf(step) {
    if (typeof step === 'string') return step;
    const {effect, area, ...settings} = step;
    const words = Object.entries(settings).filter(([, value]) => value !== undefined)
        .map(([name, value]) => ` --${dashed(name)} ${wordOf(value)}`);
    if (area) words.push(` --area ${area.x},${area.y},${area.width}x${area.height}`);
    return effect + words.join('');
}

//---- For programs

export const {version, effects, kernels, formats, presets} = list;

export async function decode(bytes) {
    const {picture} = await run('decode', {bytes});
    return picture;
}

export async function encode(picture, {format, quality} = {}) {
    const {bytes} = await run('encode', {picture, format, quality});
    return bytes;
}

export async function apply(picture, steps, {seed, onProgress, signal} = {}) {
    const lines = (Array.isArray(steps) ? steps : [steps]).map(lineOf);
    const {picture: made} = await run('apply', {picture, lines, seed}, {signal, onProgress});
    return made;
}

export function pictureFrom({data, width, height}) {
    const count = width * height, pixels = new Uint8Array(3 * count), alpha = new Uint8Array(count);
    for (let i = 0; i < count; ++i) {
        pixels.set(data.subarray(4 * i, 4 * i + 3), 3 * i);
        alpha[i] = data[4 * i + 3];
    }
    const masked = alpha.some(value => value !== 255);
    return {type: 'RGB', width, height, pixels, mask: masked ? alpha : null, maskBits: masked ? 8 : 0, palette: null,
        format: null, source: null};
}
