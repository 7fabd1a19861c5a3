// The module makes the files that the command line makes, to the byte: every effect, every type of picture.

import assert from 'node:assert/strict';
import test from 'node:test';

import {drawPicture, drawTiff, tryingLine} from './pictures.mjs';
import {animateNatively, applyNatively, loadDoor} from './native.mjs';

const door = await loadDoor();
const list = door.list();

function compare(picture, lines) {
    const {bytes} = door.encode(picture, {format: 'png'});
    const {picture: read} = door.decode(bytes);
    const made = door.encode(door.apply(read, lines).picture).bytes;
    assert.deepEqual(Buffer.from(made).compare(applyNatively(bytes, lines)), 0, `${lines} on ${picture.type}`);
}

for (const effect of list.effects) {
    test(`${effect.name} makes the command line's file`, () => {
        for (const type of effect.types) {
            for (const masked of [false, true]) compare(drawPicture(type, 61, 43, masked), [tryingLine(effect, 7)]);
        }
    });
}

test('every format comes out as the command line writes it', () => {
    const steps = ['slices --seed 2'];
    for (const {name, endings} of list.formats) {
        for (const type of ['RGB', 'palette']) {
            const {bytes} = door.encode(drawPicture(type, 61, 43, true), {format: name});
            const {bytes: made} = door.encode(door.apply(door.decode(bytes).picture, steps).picture);
            assert.equal(Buffer.from(made).compare(applyNatively(bytes, steps, endings.split(' ')[0])), 0, `${type} in ${name}`);
        }
    }
});

test('frames and pages come out as the command line writes them', () => {
    const {bytes: still} = door.encode(drawPicture('RGB', 61, 43), {format: 'png'});
    const files = {tif: drawTiff(3, 61, 43, 1, (page, i) => 70 * page + i % 61), ...Object.fromEntries(['gif', 'webp'].map(ending =>
        [ending, animateNatively(still, 'swirl --swirl-amount 10..90', 5, ending)]))};
    for (const [ending, bytes] of Object.entries(files)) {
        const {picture, pages} = door.decode(bytes), lines = ['slices --seed 2', 'wave'];
        assert.equal(picture.further.length, pages - 1);
        const {bytes: made} = door.encode(door.apply(picture, lines).picture);
        assert.equal(Buffer.from(made).compare(applyNatively(bytes, lines, ending)), 0, ending);
        const {picture: first} = door.decode(bytes, {most: 61 * 43 * (pages - 1)});
        assert.deepEqual([first.page, first.further], [1, undefined]);
    }
});

test('steps follow each other', () => {
    compare(drawPicture('RGB', 80, 50), ['noise --seed 3', 'median --radius 2', 'wave --area 5,6,40x30']);
});
