// What a person saves from the page is the file that the command line writes, to the byte: every effect, worked in its
// panel with settings that are not the defaults, on colour, palette and 1-bit pictures.

import assert from 'node:assert/strict';
import test, {after} from 'node:test';

import {apply, openPage, openPicture, save, workPanel} from './browser.mjs';
import {applyNatively, loadDoor} from './native.mjs';
import {drawPicture} from './pictures.mjs';

const door = await loadDoor();
const list = door.list();
const browser = await openPage();
after(() => browser.close());

const linesShown = () => browser.page.$$eval('#steps code', codes => codes.map(code => code.textContent));

for (const effect of list.effects) {
    test(effect.title, async () => {
        for (const type of effect.types.filter(own => own !== 'grey')) {
            const {bytes} = door.encode(drawPicture(type, 97, 71), {format: 'png'});
            await openPicture(browser, bytes, `${type}.png`);
            await workPanel(browser, effect);
            await apply(browser);
            const lines = await linesShown();
            assert.equal(lines.length, 1);
            assert.notEqual(lines[0].split(' --').length, 1, 'settings that are not the defaults');
            const saved = await save(browser);
            assert.equal(saved.name, `${type}.png`);
            assert.equal(Buffer.compare(saved.bytes, applyNatively(bytes, lines)), 0, `${lines[0]} on ${type}`);
        }
    });
}

test('nothing went wrong unseen', () => assert.deepEqual(browser.errors, []));
