// assemble_package.mjs MODULES FOLDER LICENCES: puts the npm package together in FOLDER, with types made from the library's
// list and a file of others' licences. `npm pack` there makes the file that is published.

import fs from 'node:fs';
import path from 'node:path';
import {fileURLToPath} from 'node:url';

import {copyModules, listOf, openModules, openToAll} from './modules.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
const [modules, folder, licences] = process.argv.slice(2).map(name => path.resolve(name));
fs.rmSync(folder, {recursive: true, force: true});
fs.mkdirSync(folder, {recursive: true});
const write = (name, text) => fs.writeFileSync(path.join(folder, name), text);

for (const name of ['index.js', 'worker.js', 'door.js', 'README.md']) {
    fs.copyFileSync(path.join(here, 'package', name), path.join(folder, name));
}
copyModules(modules, folder);
fs.copyFileSync(path.join(here, '../../LICENSE'), path.join(folder, 'LICENSE'));
fs.copyFileSync(licences, path.join(folder, 'LICENCE.others.txt'));   // npm takes this name along unasked

const list = listOf(await openModules(modules));
write('list.js', `// What the library says of itself; made when the package was put together.\nexport default ${JSON.stringify(list)};\n`);

write('package.json', `${JSON.stringify({
    name: '@velmorant/effects',
    version: /^\d+\.\d+\.\d+$/.test(list.version) ? list.version : `${list.version.match(/^\d+\.\d+/)[0]}.0`,
    description: 'Picture effects in WebAssembly, with the pixels of the velmorant command line',
    license: 'MIT',
    type: 'module',
    engines: {node: '>=18'},
    exports: {'.': {types: './index.d.ts', import: './index.js'}, './package.json': './package.json'},
    types: './index.d.ts',
    files: ['*.js', '*.wasm', '*.d.ts'],
}, null, 2)}\n`);

//---- Types

const camel = name => name.replace(/-([a-z])/g, (_, letter) => letter.toUpperCase());
const pascal = name => camel(`-${name}`);
const words = list.kernels.map(({name}) => JSON.stringify(name)).join(' | ');

function typeOf({kind, choices}) {
    switch (kind) {
    case 'number': return 'number';
    case 'numbers': return 'number[]';
    case 'kernel': return 'KernelName | number[]';
    case 'choice': return choices.map(({word}) => JSON.stringify(word)).join(' | ');
    case 'switch': return 'boolean';
    case 'colour': return '`#${string}`';
    default: return 'string';
    }
}

function commentOf({kind, meaning, low, high, default: usual, unit, choices}) {
    const parts = [meaning];
    if (kind === 'number') parts.push(`${low}..${high}${unit && ` ${unit}`}, usually ${usual}`);
    else if (kind === 'choice') parts.push(...choices.map(choice => `${choice.word}: ${choice.meaning}`), `usually ${usual}`);
    else if (kind !== 'kernel' && usual) parts.push(`usually ${usual}`);
    return parts.filter(Boolean).join('; ').replaceAll('*/', '* /');
}

function interfaceOf(effect) {
    const settings = effect.settings.filter(({kind, name}) => kind !== 'file' && name !== 'priority');
    const fields = settings.map(setting => `    /** ${commentOf(setting)} */\n    ${camel(setting.name)}?: ${typeOf(setting)};\n`);
    return `/** ${effect.title}: ${effect.summary}. Works on ${effect.types.join(', ')} pictures. */
export interface ${pascal(effect.name)}Step extends AnyStep {
    effect: '${effect.name}';
${fields.join('')}}
`;
}

write('index.d.ts', `// Made from the library's own list of effects when the package was put together.

export type PictureType = '1-bit' | 'palette' | 'grey' | 'RGB';

/** A picture as it is worked on; nothing of it is changed. */
export interface Picture {
    type: PictureType;
    width: number;
    height: number;
    /** Without gaps between rows: eight pixels a byte (1-bit), an index, a grey, or red, green, blue. */
    pixels: Uint8Array;
    /** What the effects may change (alpha): \`maskBits\` of 8 or 1 bits a pixel. */
    mask: Uint8Array | null;
    maskBits: 0 | 1 | 8;
    /** Red, green, blue per entry, of palette pictures. */
    palette: Uint8Array | null;
    /** The format it was read in. */
    format: string | null;
    /** The file it was read from: what that says besides pixels goes into the next one. */
    source: Uint8Array | null;
    /** Which page or frame of that file it is, from 1, where it is one of several: encoded in a format that holds several, it
     * goes back among the others. */
    page?: number;
    /** The pages or frames behind it, of a TIFF, GIF or WebP file with several. */
    further?: Pick<Picture, 'type' | 'width' | 'height' | 'pixels' | 'mask' | 'maskBits' | 'palette'>[];
}

export interface AnyStep {
    /** Of what the effect draws at random: the same seed gives the same picture. */
    seed?: number;
    /** The selected area, in pixels of the picture as the step finds it. */
    area?: {x: number; y: number; width: number; height: number};
}

export type KernelName = ${words};

export type FormatName = ${list.formats.map(({name}) => JSON.stringify(name)).join(' | ')};

${list.effects.map(interfaceOf).join('\n')}
/** A step as a record, or in the command line's words: \`'wave --amplitude 20'\`. */
export type Step = string | ${list.effects.map(({name}) => `${pascal(name)}Step`).join(' | ')};

export interface ApplyOptions {
    /** The seed of all steps without one of their own. */
    seed?: number;
    onProgress?: (progress: {step: number; steps: number; tenths: number}) => void;
    /** Ends the run at once; the promise is rejected with its reason. */
    signal?: AbortSignal;
}

/** A picture from the bytes of a file, in any of \`formats\`, with all its pages or frames. */
export function decode(bytes: Uint8Array): Promise<Picture>;
/** The bytes of a file, in the format that the picture was read in, or PNG. \`quality\`: 1..100, of JPEG and WebP. */
export function encode(picture: Picture, options?: {format?: FormatName; quality?: number}): Promise<Uint8Array>;
/** The picture with all steps applied. Rejected with an Error whose \`message\` is a line for a person. */
export function apply(picture: Picture, steps: Step | Step[], options?: ApplyOptions): Promise<Picture>;
/** A picture of ImageData or the like. */
export function pictureFrom(image: {data: Uint8ClampedArray; width: number; height: number}): Picture;

export interface Setting {
    name: string; label: string; meaning: string; unit: string; kind: string;
    low: number; high: number; default: string; count: number; shared: boolean; writes: boolean; bringsOthers: boolean;
    choices: {word: string; label: string; meaning: string}[];
}
export interface Effect {
    name: string; title: string; summary: string; about: string; example: string; types: PictureType[];
    changesSize: boolean; draws: boolean; settings: Setting[];
}
export const version: string;
export const effects: Effect[];
export const kernels: {name: KernelName; mode: string; elements: number[]; divisor: number; bias: number}[];
export const formats: {name: FormatName; endings: string; mime: string; takesQuality: boolean; holdsSeveral: boolean}[];
export const presets: {name: string; effect: string; summary: string; line: string}[];
`);
openToAll(folder);
