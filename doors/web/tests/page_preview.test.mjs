// What previews show: every bitmap that the page draws over the picture and calls exact, as it is drawn, is held against the
// picture that Apply leaves and the page saves: what is seen of the whole, and the whole. For every effect, at 1:1.

import assert from 'node:assert/strict';
import {createHash} from 'node:crypto';
import path from 'node:path';
import test, {after} from 'node:test';
import {pathToFileURL} from 'node:url';

import {apply, chooseEffect, folder, openPage, openPicture, save, workPanel} from './browser.mjs';
import {loadDoor} from './native.mjs';
import {drawLarge} from './pictures.mjs';

const LOCAL = ['Filters', 'Median', 'Oil Painting'];   // these look around a pixel, and no farther

const door = await loadDoor();
const browser = await openPage();
const {page} = browser;
after(() => browser.close());

// Keeps of what is drawn on the picture's canvas where that is, and a sum of its colours; of the last preview alone.
await page.evaluate(() => {
    const draw = CanvasRenderingContext2D.prototype.drawImage, seen = new WeakSet();
    const sumOf = async image => {
        const {width, height} = image, copy = new OffscreenCanvas(width, height).getContext('2d');
        copy.drawImage(image, 0, 0);
        const {data} = copy.getImageData(0, 0, width, height), colours = new Uint8Array(3 * width * height);
        for (let from = 0, to = 0; from < data.length; ++from) if (from % 4 < 3) colours[to++] = data[from];
        const sum = new Uint8Array(await crypto.subtle.digest('SHA-256', colours));
        return [...sum].map(byte => byte.toString(16).padStart(2, '0')).join('');
    };
    window.drawn = [];
    new MutationObserver(() => {
        if (document.body.dataset.preview === 'working') window.drawn = [];
    }).observe(document.body, {attributeFilter: ['data-preview']});
    CanvasRenderingContext2D.prototype.drawImage = function (image, x, y, width) {
        const {preview} = document.body.dataset;
        const isNew = this.canvas.id === 'canvas' && ['part', 'exact'].includes(preview) && !seen.has(image);
        if (isNew && Math.round(width) === image.width) {   // not a smaller picture
            seen.add(image);
            window.drawn.push({preview, x, y, width: image.width, height: image.height, sum: sumOf(image)});
        }
        return draw.apply(this, arguments);
    };
});

const takeDrawn = () => page.evaluate(() => Promise.all(window.drawn.map(async own => ({...own, sum: await own.sum}))));

async function savedPicture() {
    await page.select('#format', 'bmp');
    const {bytes} = await save(browser);
    await page.select('#format', '');
    return door.decode(bytes).picture;
}

// Of an RGB picture's colours, or of a part of it.
function sumOf(picture, {x, y, width, height} = {x: 0, y: 0, ...picture}) {
    const sum = createHash('sha256');
    for (let row = y; row < y + height; ++row) {
        const from = 3 * (row * picture.width + x);
        sum.update(picture.pixels.subarray(from, from + 3 * width));
    }
    return sum.digest('hex');
}

// The whole and the part of what was drawn, held against what was saved. The picture as it was before has been drawn too.
function compare(drawn, picture, before, title) {
    const wholes = drawn.filter(({width, height}) => width === picture.width && height === picture.height);
    const whole = wholes.find(({preview, sum}) => preview === 'exact' && sum !== before);
    assert.ok(whole, `${title}: the whole was shown, and is another picture`);
    assert.equal(whole.sum, sumOf(picture), `${title}, the whole`);
    const parts = drawn.filter(({preview, width, height}) => preview === 'part' && width * height <= picture.width * picture.height / 2);
    for (const {x, y, width, height, sum} of parts) {
        const part = {x: Math.round(x - whole.x), y: Math.round(y - whole.y), width, height};
        assert.equal(sum, sumOf(picture, part), `${title}, the part ${Object.values(part)}`);
    }
    return parts.length;
}

const large = drawLarge(2600, 1900), file = door.encode(large, {format: 'png'}).bytes;

async function openEnlarged(bytes = file) {
    await openPicture(browser, bytes, 'large.png');
    await page.click('#actual');
    await page.focus('#canvas');
    for (let i = 0; i < 5; ++i) await page.keyboard.press('ArrowRight');
}

test('previews of every effect, what is seen and the whole, are what Apply makes', async () => {
    await openEnlarged();
    for (const effect of door.list().effects) {
        await page.click('#actual');
        await workPanel(browser, effect);
        await page.waitForSelector('body[data-preview=exact]');
        await page.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done))));
        const drawn = await takeDrawn();
        await apply(browser);
        const parts = compare(drawn, await savedPicture(), sumOf(large), effect.title);
        if (LOCAL.includes(effect.title)) assert.ok(parts > 0, `${effect.title} showed what is seen first`);
        await page.click('#undo');
    }
});

test('while a slider is dragged its previews are seen', async () => {
    for (const bytes of [file, door.encode(drawLarge(700, 500), {format: 'png'}).bytes]) {
        await openPicture(browser, bytes, 'picture.png');
        await chooseEffect(browser, 'Swirl');
        await page.waitForSelector('body[data-preview=exact]');
        const seen = await page.evaluate(async () => {
            const slider = document.querySelector('#panel .setting input[type=range]'), end = performance.now() + 20000;
            let found = 0;
            new MutationObserver(() => {
                if (document.body.dataset.preview !== 'working') ++found;
            }).observe(document.body, {attributeFilter: ['data-preview']});
            for (let i = 0; found < 5 && performance.now() < end; ++i) {
                slider.value = Number(slider.min) + i % 50;
                slider.dispatchEvent(new Event('input'));
                await new Promise(done => setTimeout(done, 8));
            }
            return found;
        });
        assert.ok(seen >= 5, `${seen} of 5`);
    }
});

test('the smaller picture of a slow effect becomes smaller still, and no run of it outlasts many changes', async () => {
    const {makePreviews} = await import(pathToFileURL(path.join(folder, 'previews.js')));
    const edges = [], heard = [], picture = {width: 4000, height: 3000};
    let running = 0, most = 0;
    const wait = time => new Promise(done => setTimeout(done, time));
    const workers = {async run(task, {edge}, {signal} = {}) {
        if (task === 'reduce') {
            edges.push(edge);
            return {picture: {width: 1000, height: 750}, step: 4};
        }
        if (task === 'reach') return {reach: -1};
        most = Math.max(most, ++running);
        await Promise.race([wait(300), new Promise(done => signal?.addEventListener('abort', done))]);
        --running;
        if (signal?.aborted) throw new DOMException('aborted', 'AbortError');
        return {picture, bitmap: {close() {}}};
    }};
    const previews = makePreviews(workers, () => ({x: 0, y: 0, width: 4000, height: 3000}), kind => heard.push(kind));
    const effect = {name: 'slow', settings: []};
    for (let seed = 1; seed < 3; ++seed) {
        previews.show(picture, {effect, values: {}, seed, area: null, files: {}});
        while (heard.length < 3 * seed) await wait(10);
    }
    assert.deepEqual(heard, ['working', 'reduced', 'exact', 'working', 'reduced', 'exact']);
    assert.deepEqual(edges, [900, 225]);
    most = 0;
    for (let i = 0; i < 20; ++i) {
        previews.show(picture, {effect, values: {}, seed: i, area: null, files: {}});
        await wait(5);
    }
    previews.end();
    assert.equal(most, 1);
});

test('nothing went wrong unseen', () => assert.deepEqual(browser.errors, []));
