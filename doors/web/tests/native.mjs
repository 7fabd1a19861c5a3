// The command line of the native build, and the module, as the tests compare them.

import {execFileSync} from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import {fileURLToPath} from 'node:url';

import {listOf, openModules} from '../modules.mjs';

const root = fileURLToPath(new URL('../../../', import.meta.url));
const program = path.join(root, 'build/release/bin/velmorant');

export const temporary = fs.mkdtempSync(path.join(os.tmpdir(), 'velmorant-web-'));
process.on('exit', () => fs.rmSync(temporary, {recursive: true, force: true}));

// The doors of both modules; the list has the formats too.
export async function loadDoor() {
    const door = await openModules(path.join(root, 'build/web/wasm'));
    return {...door, list: () => listOf(door)};
}

// The words of lines as `velmorant apply` takes them: no value in them has a blank but in quotes.
const wordsOf = line => [...line.matchAll(/'([^']*)'|(\S+)/g)].map(match => match[1] ?? match[2]);

// What the command line makes of a file's bytes.
export function applyNatively(bytes, lines, ending = 'png', outputEnding = ending) {
    const input = path.join(temporary, `in.${ending}`), output = path.join(temporary, `out.${outputEnding}`);
    fs.writeFileSync(input, bytes);
    const [first, ...others] = lines.map(wordsOf);
    const then = others.flatMap(words => ['--then', ...words]);
    execFileSync(program, ['apply', first[0], input, output, ...first.slice(1), ...then, '--quiet']);
    return fs.readFileSync(output);
}

// An animation of an effect's values, made by the command line: the bytes of a file with so many frames.
export function animateNatively(bytes, line, count, ending) {
    const input = path.join(temporary, 'in.png'), output = path.join(temporary, `frames.${ending}`);
    fs.writeFileSync(input, bytes);
    const [effect, ...words] = wordsOf(line);
    execFileSync(program, ['sheet', effect, input, '--frames', output, ...words, '--count', String(count), '--quiet']);
    return fs.readFileSync(output);
}

export function applyRecipeNatively(bytes, recipe) {
    const [input, output, file] = ['in.png', 'out.png', 'steps.recipe'].map(name => path.join(temporary, name));
    fs.writeFileSync(input, bytes);
    fs.writeFileSync(file, recipe);
    execFileSync(program, ['apply', '--recipe', file, input, output, '--quiet']);
    return fs.readFileSync(output);
}
