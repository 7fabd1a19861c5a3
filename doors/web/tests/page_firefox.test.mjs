// The page in Firefox: that every effect comes out as the command line writes it there too, and what goes through the
// browser's own workers, downloads and keys. What is the page's alone is tried in Chromium.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test, {after} from 'node:test';

import {apply, chooseEffect, openPage, openPicture, openRecipe, save, setSetting, workPanel} from './browser.mjs';
import {applyNatively, loadDoor} from './native.mjs';
import {drawLarge, drawPicture} from './pictures.mjs';

const door = await loadDoor();
const browser = await openPage({kind: 'firefox'});
const {page} = browser;
after(() => browser.close());

const linesShown = () => page.$$eval('#steps code', codes => codes.map(code => code.textContent));
const same = (a, b, what) => assert.equal(Buffer.compare(Buffer.from(a), Buffer.from(b)), 0, what);
const fileOf = (picture, format = 'png') => door.encode(picture, {format}).bytes;

for (const effect of door.list().effects) {
    test(effect.title, async () => {
        const bytes = fileOf(drawPicture('RGB', 97, 71));
        await openPicture(browser, bytes, 'picture.png');
        await workPanel(browser, effect);
        await apply(browser);
        const [line] = await linesShown();
        same((await save(browser)).bytes, applyNatively(bytes, [line]), line);
    });
}

test('palette and 1-bit pictures stay what they are', async () => {
    for (const type of ['palette', '1-bit']) {
        const bytes = fileOf(drawPicture(type, 97, 71));
        await openPicture(browser, bytes, `${type}.png`);
        await openRecipe(browser, 'velmorant recipe 1\nwave\nslices --seed 4\n');
        same((await save(browser)).bytes, applyNatively(bytes, await linesShown()), type);
    }
});

test('a damaged file is refused, whatever the browser would make of it, and names are kept', async () => {
    const pgm = fileOf(drawPicture('grey', 30, 20), 'pnm'), jpeg = fileOf(drawPicture('RGB', 400, 300), 'jpeg');
    await openPicture(browser, pgm, 'grey.pgm');
    const file = path.join(browser.downloads, 'cut.jpg');
    fs.writeFileSync(file, jpeg.subarray(0, jpeg.length / 2));
    await (await page.$('#file')).uploadFile(file);
    await page.waitForFunction(() => document.getElementById('notice').textContent.startsWith('cut.jpg is not a picture'));
    fs.rmSync(file);
    const {name, bytes} = await save(browser);
    assert.equal(name, 'grey.pgm');
    same(bytes, pgm, 'the picture that was there');
});

test('a run is aborted, another is undone and done again', async () => {
    const jpeg = fileOf(drawLarge(4000, 3000), 'jpeg');
    await openPicture(browser, jpeg, 'large.jpg');
    await chooseEffect(browser, 'Oil Painting');
    await setSetting(browser, 'Brush size', '30');
    await page.click('#apply');
    await page.waitForSelector('#abort:not([hidden])');
    await page.keyboard.press('Escape');
    await page.waitForSelector('#apply:not([hidden])');
    assert.match(await page.$eval('#status', status => status.textContent), /aborted/);
    assert.deepEqual(await linesShown(), []);
    await chooseEffect(browser, 'Swirl');
    await apply(browser);
    const [line] = await linesShown(), made = (await save(browser)).bytes;
    same(made, applyNatively(jpeg, [line], 'jpg'), line);
    await page.click('#undo');
    assert.deepEqual(await linesShown(), []);
    await page.click('#redo');
    same((await save(browser)).bytes, made, 'done again');
});

test('nothing went wrong unseen', () => assert.deepEqual(browser.errors, []));
