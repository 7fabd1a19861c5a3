// The modules that a build has made, in node: what puts the page and the package together opens them, and what tries them.

import fs from 'node:fs';
import path from 'node:path';
import {pathToFileURL} from 'node:url';

import {openEffects, openFormats} from './package/door.js';

export const MODULES = ['effects', 'formats'];

// The doors of both in one record; `folder` is the build's.
export async function openModules(folder) {
    const open = async (openDoor, name) => {
        const {default: make} = await import(pathToFileURL(path.resolve(folder, `${name}.mjs`)));
        return openDoor(make, {wasmBinary: fs.readFileSync(path.join(folder, `${name}.wasm`))});
    };
    return {...await open(openEffects, 'effects'), ...await open(openFormats, 'formats')};
}

// Not every server knows what .mjs is.
export function copyModules(from, to) {
    for (const name of MODULES) {
        fs.copyFileSync(path.join(from, `${name}.mjs`), path.join(to, `${name}.js`));
        fs.copyFileSync(path.join(from, `${name}.wasm`), path.join(to, `${name}.wasm`));
    }
}

// Everybody may read what is handed out, whoever's modes the sources have.
export function openToAll(folder) {
    for (const name of fs.readdirSync(folder)) fs.chmodSync(path.join(folder, name), 0o644);
}

// All that both say of themselves.
export const listOf = door => ({...door.list(), formats: door.formats()});
