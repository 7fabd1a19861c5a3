// The npm package as people get it: packed, installed in a folder of its own, and the example run there.

import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import {fileURLToPath, pathToFileURL} from 'node:url';

import {applyNatively, loadDoor, temporary} from './native.mjs';
import {drawPicture} from './pictures.mjs';

const root = fileURLToPath(new URL('../../../', import.meta.url));
const home = path.join(temporary, 'home');
const place = path.join(home, 'node_modules/@velmorant/effects');
fs.mkdirSync(place, {recursive: true});
const packed = JSON.parse(execFileSync('npm', ['pack', '--json', '--silent', '--pack-destination', temporary],
    {cwd: path.join(root, 'build/package'), stdio: ['ignore', 'pipe', 'ignore']}))[0];
execFileSync('tar', ['-xzf', path.join(temporary, packed.filename.replace('@', '').replace('/', '-')), '--strip-components=1', '-C', place]);

const door = await loadDoor();
const file = door.encode(drawPicture('RGB', 200, 150), {format: 'png'}).bytes;
const {apply, decode, effects, encode, pictureFrom} = await import(pathToFileURL(path.join(place, 'index.js')));
const same = (a, b) => assert.equal(Buffer.compare(Buffer.from(a), Buffer.from(b)), 0);

test('the example makes what the command line makes', () => {
    const example = path.join(root, 'doors/web/package/example.mjs');
    fs.copyFileSync(example, path.join(home, 'example.mjs'));
    fs.writeFileSync(path.join(home, 'in.png'), file);
    const said = execFileSync('node', ['example.mjs', 'in.png', 'out.png'], {cwd: home, encoding: 'utf8'});
    assert.match(said, /step 3 of 3: 100 %/);
    const lines = ['noise --amount 40 --variation 25 --seed 1', "filters --kernel 'Gaussian 3 by 3'", 'solarize --threshold 200'];
    same(fs.readFileSync(path.join(home, 'out.png')), applyNatively(file, lines));
    const code = fs.readFileSync(example, 'utf8').split('\n').filter(line => line && !line.startsWith('//'));
    assert.ok(code.length <= 20);
});

test('settings of every kind as values', async () => {
    const picture = await decode(file);
    const kernel = [0, 1, 0, 1, -4, 1, 0, 1, 0];
    const made = await apply(picture, [
        {effect: 'ripple', amplitude: 20, fade: false, area: {x: 5, y: 6, width: 100, height: 90}},
        {effect: 'wave', orientation: 'columns', background: '#102030'},
        {effect: 'filters', kernel: Array.from({length: 49}, (_, i) => {
            const [row, column] = [Math.floor(i / 7) - 2, i % 7 - 2];
            return row >= 0 && row < 3 && column >= 0 && column < 3 ? kernel[3 * row + column] : 0;
        }), bias: 100},
    ]);
    const numbers = ['0 0 0 0 0 0 0', '0 0 0 0 0 0 0', '0 0 0 1 0 0 0', '0 0 1 -4 1 0 0', '0 0 0 1 0 0 0', '0 0 0 0 0 0 0', '0 0 0 0 0 0 0'];
    same(await encode(made), applyNatively(file, [
        'ripple --amplitude 20 --fade off --area 5,6,100x90', 'wave --orientation columns --background #102030',
        `filters --kernel '${numbers.join(' ')}' --bias 100`,
    ]));
});

test('what is wrong is said, and pictures side by side come out right', async () => {
    const picture = await decode(file);
    await assert.rejects(apply(picture, {effect: 'wave', amplitude: 300}), /300 is outside 1\.\.50/);
    await assert.rejects(apply(picture, 'wiggle'), {code: 3});
    await assert.rejects(decode(new Uint8Array([1, 2, 3])), {code: 8});
    const many = await Promise.all(effects.map(({name}) => apply(picture, name, {seed: 4})));
    assert.equal(many.length, effects.length);
    same(await encode(many[effects.findIndex(({name}) => name === 'melt')]), applyNatively(file, ['melt --seed 4']));
});

test('a signal ends a run', async () => {
    const large = pictureFrom({data: new Uint8ClampedArray(4 * 3000 * 2000).fill(255), width: 3000, height: 2000});
    const stop = new AbortController();
    const run = apply(large, {effect: 'oil-painting', brushSize: 50}, {signal: stop.signal, onProgress: () => stop.abort()});
    await assert.rejects(run, {name: 'AbortError'});
    assert.equal((await apply(await decode(file), 'mirror')).width, 400);
});

test('the types name every setting', () => {
    const types = fs.readFileSync(path.join(place, 'index.d.ts'), 'utf8');
    for (const {name} of effects) assert.ok(types.includes(`effect: '${name}';`), name);
    assert.match(types, /blockWidth\?: number;/);
});
