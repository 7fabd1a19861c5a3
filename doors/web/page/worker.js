// A worker of the page: one instance of one module, one task at a time. It is thrown away where a task is to stop, so the
// page holds all pictures; the last one that came with a task is kept here, so that it need not come again.

import {openEffects, openFormats} from './door.js';
import {cutPicture, imageDataOf, reducePicture, sharedPart} from './pixels.js';

let door, kept = null;

async function start({name, module}) {
    const {default: make} = await import(`./${name}.js`);
    door = await (name === 'formats' ? openFormats : openEffects)(make, {
        instantiateWasm(imports, done) {
            WebAssembly.instantiate(module, imports).then(done);
            return {};
        },
    });
}

const shown = picture => createImageBitmap(imageDataOf(picture));

function buffersOf(picture) {
    const own = [picture.pixels, picture.mask, picture.palette].filter(Boolean).map(bytes => bytes.buffer);
    return own.concat((picture.further ?? []).flatMap(buffersOf));
}

// Each answers [result, what of it is handed over and not copied].
const tasks = {
    async decode(_, {bytes, most}) {
        const {picture, notices, pages} = door.decode(bytes, {most});
        const bitmap = await shown(picture);
        return [{picture, notices, pages, bitmap}, [...buffersOf(picture), bytes.buffer, bitmap]];
    },
    async show(picture) {
        const bitmap = await shown(picture);
        return [{bitmap}, [bitmap]];
    },
    async reduce(picture, {edge}) {
        const reduced = reducePicture(picture, edge);
        return [reduced, []];
    },
    async reach(_, {line, width, height}) {
        return [{reach: door.reach(line, width, height)}, []];
    },
    // `within`: what of the result is wanted.
    async applyToPart(picture, {lines, files, within}) {
        const bitmap = await shown(cutPicture(door.apply(picture, lines, {files}).picture, within));
        return [{bitmap}, [bitmap]];
    },
    // `first`: the part that is looked at; it is shown before the whole is ready to be.
    async apply(picture, {lines, files, wanted, first}, tell) {
        const made = door.apply(picture, lines, {files, onProgress: (step, steps, tenths) => tell({progress: {step, steps, tenths}})});
        const part = first && sharedPart(first, {x: 0, y: 0, width: made.picture.width, height: made.picture.height});
        if (part) {
            const bitmap = await shown(cutPicture(made.picture, part));
            tell({part: {...part, bitmap}}, [bitmap]);
        }
        if (wanted === 'pixels') return [made, buffersOf(made.picture)];
        const bitmap = await shown(made.picture);
        if (wanted === 'bitmap') return [{bitmap, notices: made.notices}, [bitmap]];
        return [{...made, bitmap}, [...buffersOf(made.picture), bitmap]];
    },
    async encode(picture, {format, quality}) {
        const made = door.encode(picture, {format, quality});
        return [made, [made.bytes.buffer]];
    },
    async recipe(_, {text}) {
        return [{lines: door.recipe(text)}, []];
    },
    async recipeText(_, {lines, files}) {
        return [{text: door.recipeText(lines, {files})}, []];
    },
};

onmessage = async ({data}) => {
    try {
        if (data.start) {
            await start(data.start);
            postMessage({ready: true});
            return;
        }
        if (data.picture) kept = data.picture;
        const [result, handedOver] = await tasks[data.task](kept, data.given, postMessage);
        postMessage({result, memory: door.memory()}, handedOver);
    } catch (error) {
        // Without a code it is the instance that failed, and nothing more can be had from it.
        postMessage({error: String(error.message || error), code: error.code ?? null});
    }
};
