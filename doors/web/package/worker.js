// A worker of the package: an instance of each module that its tasks need, one task at a time, in node as in browsers.

import {openEffects, openFormats} from './door.js';
import makeEffects from './effects.js';
import makeFormats from './formats.js';

const isNode = typeof process === 'object' && Boolean(process.versions?.node);
const port = isNode ? (await import('node:worker_threads')).parentPort : globalThis;
let compiled, effects, formats;   // both modules, and a promise of each one's door

const by = module => ({
    instantiateWasm(imports, done) {
        WebAssembly.instantiate(module, imports).then(done);
        return {};
    },
});
const effectsDoor = () => effects ??= openEffects(makeEffects, by(compiled.effects));
const formatsDoor = () => formats ??= openFormats(makeFormats, by(compiled.formats));

const tasks = {
    decode: async ({bytes}) => (await formatsDoor()).decode(bytes),
    encode: async ({picture, format, quality}) => (await formatsDoor()).encode(picture, {format, quality}),
    apply: async ({picture, lines, seed}) => (await effectsDoor()).apply(picture, lines, {seed,
        onProgress: (step, steps, tenths) => port.postMessage({progress: {step, steps, tenths}})}),
};

async function work({start, task, given}) {
    try {
        if (start) {
            compiled = start;
            return port.postMessage({ready: true});
        }
        port.postMessage({result: await tasks[task](given)});
    } catch (error) {
        port.postMessage({error: String(error.message || error), code: error.code ?? null});
    }
}

if (isNode) port.on('message', work);
else globalThis.onmessage = ({data}) => work(data);
