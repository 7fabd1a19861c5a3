// A worker of the package: one instance of the module, one task at a time, in node as in browsers.

import {openDoor} from './door.js';
import make from './effects-tiff.js';

const isNode = typeof process === 'object' && Boolean(process.versions?.node);
const port = isNode ? (await import('node:worker_threads')).parentPort : globalThis;
let door;

const tasks = {
    start: async module => {
        door = await openDoor(make, {
            instantiateWasm(imports, done) {
                WebAssembly.instantiate(module, imports).then(done);
                return {};
            },
        });
    },
    decode: ({bytes}) => door.decode(bytes),
    encode: ({picture, format, quality}) => door.encode(picture, {format, quality}),
    apply: ({picture, lines, seed}) => door.apply(picture, lines, {seed,
        onProgress: (step, steps, tenths) => port.postMessage({progress: {step, steps, tenths}})}),
};

async function work({start, task, given}) {
    try {
        if (start) {
            await tasks.start(start);
            return port.postMessage({ready: true});
        }
        port.postMessage({result: await tasks[task](given)});
    } catch (error) {
        port.postMessage({error: String(error.message || error), code: error.code ?? null});
    }
}

if (isNode) port.on('message', work);
else globalThis.onmessage = ({data}) => work(data);
