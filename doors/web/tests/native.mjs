// The command line of the native build, and the module, as the tests compare them.

import {execFileSync} from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import {fileURLToPath} from 'node:url';

import {openDoor} from '../package/door.js';

const root = fileURLToPath(new URL('../../../', import.meta.url));
const program = path.join(root, 'build/release/bin/velmorant');

export const temporary = fs.mkdtempSync(path.join(os.tmpdir(), 'velmorant-web-'));
process.on('exit', () => fs.rmSync(temporary, {recursive: true, force: true}));

// An instance of the module; `name` is "effects" or "effects-tiff".
export async function loadDoor(name = 'effects') {
    const folder = path.join(root, 'build/web/wasm');
    const {default: make} = await import(path.join(folder, `${name}.mjs`));
    return openDoor(make, {wasmBinary: fs.readFileSync(path.join(folder, `${name}.wasm`))});
}

// The words of lines as `velmorant apply` takes them: no value in them has a blank but in quotes.
const wordsOf = line => [...line.matchAll(/'([^']*)'|(\S+)/g)].map(match => match[1] ?? match[2]);

// What the command line makes of a file's bytes.
export function applyNatively(bytes, lines, ending = 'png') {
    const input = path.join(temporary, `in.${ending}`), output = path.join(temporary, `out.${ending}`);
    fs.writeFileSync(input, bytes);
    const [first, ...others] = lines.map(wordsOf);
    const then = others.flatMap(words => ['--then', ...words]);
    execFileSync(program, ['apply', first[0], input, output, ...first.slice(1), ...then, '--quiet']);
    return fs.readFileSync(output);
}

export function applyRecipeNatively(bytes, recipe) {
    const [input, output, file] = ['in.png', 'out.png', 'steps.recipe'].map(name => path.join(temporary, name));
    fs.writeFileSync(input, bytes);
    fs.writeFileSync(file, recipe);
    execFileSync(program, ['apply', '--recipe', file, input, output, '--quiet']);
    return fs.readFileSync(output);
}
