// Looking at the picture: with wheel, two fingers, mouse and keys it is enlarged and moved, held against what was before, and
// selected on. What is looked at is the canvas itself.

import assert from 'node:assert/strict';
import test, {after} from 'node:test';

import {makeHistory} from '../page/history.js';
import {apply, chooseEffect, openPage, openPicture} from './browser.mjs';
import {loadDoor} from './native.mjs';
import {drawPicture} from './pictures.mjs';

const door = await loadDoor();
const browser = await openPage();
const {page, session} = browser;
after(() => browser.close());

// Sums of the columns of the canvas, once it has been drawn anew, as a text each.
const columns = () => page.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => {
    const {width, height} = document.getElementById('canvas');
    const {data} = document.getElementById('canvas').getContext('2d').getImageData(0, 0, width, height);
    const sums = new Array(width).fill(7);
    for (let i = 0; i < data.length; ++i) {
        const x = (i >> 2) % width;
        sums[x] = (Math.imul(sums[x], 31) + data[i]) >>> 0;
    }
    done(sums);
}))));
const shown = async () => (await columns()).join();
const place = async (x, y) => {
    const box = await (await page.$('#canvas')).boundingBox();
    return [box.x + x * box.width, box.y + y * box.height];
};

async function dragFrom(from, to) {
    await page.mouse.move(...await place(...from));
    await page.mouse.down();
    await page.mouse.move(...await place(...to), {steps: 4});
    await page.mouse.up();
}

await openPicture(browser, door.encode(drawPicture('RGB', 640, 480), {format: 'png'}).bytes, 'photo.png');
const before = await columns();
await chooseEffect(browser, 'Solarize');
await page.waitForSelector('body[data-preview=exact]');
const made = await columns();

test('a key or a button held shows what was before', async () => {
    assert.notEqual(made.join(), before.join());
    await page.focus('#canvas');
    await page.keyboard.down('c');
    assert.equal(await shown(), before.join());
    await page.keyboard.up('c');
    assert.equal(await shown(), made.join());
    const button = await (await page.$('#compare')).boundingBox();
    await page.mouse.move(button.x + 5, button.y + 5);
    await page.mouse.down();
    assert.equal(await shown(), before.join());
    await page.mouse.up();
    assert.equal(await shown(), made.join());
});

test('the divider is dragged, with the mouse and with keys', async () => {
    await page.click('#divider');
    const at = async percent => {
        await page.$eval('#divider-place', (range, value) => {
            range.value = value;
            range.dispatchEvent(new Event('input'));
        }, percent);
        return columns();
    };
    const right = await at(0), left = await at(100), near = 4;   // the line between them has a width
    const check = async part => {
        const now = await columns(), line = Math.round(part * now.length);
        assert.deepEqual(now.slice(near, line - near), left.slice(near, line - near), 'before on the left');
        assert.deepEqual(now.slice(line + near, -near), right.slice(line + near, -near), 'after on the right');
    };
    await at(50);
    await check(0.5);
    await dragFrom([0.5, 0.5], [0.75, 0.5]);
    await check(0.75);
    assert.equal(await page.$eval('#divider-place', range => range.value), '75');
    await page.focus('#divider-place');
    await page.keyboard.press('ArrowLeft');
    await check(0.74);
    await page.click('#divider');
    assert.equal(await shown(), made.join());
});

test('what has been applied or undone is seen without a preview over it', async () => {
    await apply(browser);
    assert.equal(await shown(), made.join());
    assert.equal(await page.$eval('#preview-state', state => state.textContent), '');
    await page.focus('#canvas');
    await page.keyboard.down('c');
    assert.equal(await shown(), before.join(), 'held against what it was made from');
    await page.keyboard.up('c');
    await page.click('#undo');
    assert.equal(await shown(), before.join());
    await page.click('#redo');
    assert.equal(await shown(), made.join());
    await page.click('#undo');
    await chooseEffect(browser, 'Solarize');
    await page.waitForSelector('body[data-preview=exact]');
    assert.equal(await shown(), made.join(), 'and a preview again');
});

test('the picture is seen in every frame while its place becomes another size', async () => {
    const seen = await page.evaluate(async () => {
        const canvas = document.getElementById('canvas'), row = document.getElementById('divider-row'), found = [];
        for (let i = 0; i < 6; ++i) {
            row.hidden = !row.hidden;
            await new Promise(requestAnimationFrame);
            await new Promise(done => setTimeout(done));   // what has been painted
            const {data} = canvas.getContext('2d').getImageData(canvas.width >> 1, canvas.height >> 1, 1, 1);
            found.push(data[3]);
        }
        return found;
    });
    assert.deepEqual(seen, Array(6).fill(255));
});

test('wheel, two fingers, mouse and keys enlarge and move', async () => {
    const views = new Set([await shown()]);
    const isNew = async what => assert.equal(views.size + 1, views.add(await shown()).size, what);
    await page.mouse.move(...await place(0.4, 0.4));
    await page.mouse.wheel({deltaY: -600});
    await isNew('the wheel');
    await dragFrom([0.5, 0.5], [0.4, 0.45]);
    await isNew('a drag');
    const touch = async (type, ...points) => session.send('Input.dispatchTouchEvent', {type,
        touchPoints: await Promise.all(points.map(async (point, id) => {
            const [x, y] = await place(...point);
            return {x, y, id};
        }))});
    await touch('touchStart', [0.4, 0.5]);
    await touch('touchStart', [0.4, 0.5], [0.6, 0.5]);
    await touch('touchMove', [0.3, 0.5], [0.7, 0.5]);
    await touch('touchEnd');
    await isNew('two fingers');
    await page.focus('#canvas');
    for (const key of ['ArrowLeft', 'ArrowDown', '+']) {
        await page.keyboard.press(key);
        await isNew(key);
    }
    for (const key of ['0', '-', '1']) {   // which is the same for a picture that is smaller than its place
        await page.keyboard.press(key);
        assert.equal(await shown(), made.join(), key);
    }
});

test('a rectangle is drawn with the mouse, and taken away', async () => {
    await page.click('#select');
    await dragFrom([0.4, 0.4], [0.6, 0.7]);
    const area = await page.$$eval('#area input', fields => fields.map(field => Number(field.value)));
    assert.ok(area.every(value => value > 0 && value < 640), area.join());
    await apply(browser);
    assert.match(await page.$eval('#steps code', code => code.textContent), new RegExp(` --area ${area[0]},${area[1]},${area[2]}x${area[3]}$`));
    await page.click('#area-none');
    assert.deepEqual(await page.$$eval('#area input', fields => fields.map(field => field.value)), ['', '', '', '']);
    await page.click('#select');
});

test('on a phone the settings of an effect stand under the picture as soon as it is chosen', async () => {
    await page.setViewport({width: 390, height: 844});
    await chooseEffect(browser, 'Wave');
    const places = await page.evaluate(() => ['canvas', 'panel'].map(id => document.getElementById(id).getBoundingClientRect().top));
    assert.ok(Math.abs(places[0]) < 2 && places[1] > 0.3 * 844 && places[1] < 0.45 * 844, places.join());
    await page.setViewport({width: 1280, height: 900});
});

test('twenty steps of small pictures can be undone, and of large ones what 512 MB hold', () => {
    const undone = (steps, width, height) => {
        const history = makeHistory(), page = {width, height, pixels: {length: 3 * width * height}, mask: null};
        const state = {pages: [page], bitmap: {width, height, close() {}}};
        history.begin({...state});
        for (let i = 0; i < steps; ++i) history.add({...state});
        let count = 0;
        for (; history.canUndo(); ++count) history.undo();
        return count;
    };
    assert.equal(undone(5, 2000, 2000), 5);
    assert.equal(undone(30, 2000, 2000), 20);
    const bytes = 7 * 4000 * 3000, fitting = Math.floor(512 * 2 ** 20 / bytes);
    assert.equal(undone(30, 4000, 3000), fitting - 1);
    assert.equal(undone(30, 8000, 6000), 1, 'the last one always');
});

test('nothing went wrong unseen', () => assert.deepEqual(browser.errors, []));
