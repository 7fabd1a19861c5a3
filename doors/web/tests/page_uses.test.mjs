// What a person does with the page beyond one effect: undo, abort, recipes, presets, areas, odd files, no network, other
// looks and other paths.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import test, {after} from 'node:test';
import zlib from 'node:zlib';

import {apply, axeFile, chooseEffect, folder, openPage, openPicture, openRecipe, save, setSetting} from './browser.mjs';
import {animateNatively, applyNatively, applyRecipeNatively, loadDoor} from './native.mjs';
import {drawLarge, drawPicture, drawTiff} from './pictures.mjs';

const door = await loadDoor();
const browser = await openPage();
const {page} = browser;
after(() => browser.close());

const asPng = picture => door.encode(picture, {format: 'png'}).bytes;
const linesShown = () => page.$$eval('#steps code', codes => codes.map(code => code.textContent));
const noticeShown = () => page.$eval('#notice', notice => (notice.hidden ? '' : notice.textContent));
const waitForNotice = words => page.waitForFunction(
    text => document.getElementById('notice').textContent.includes(text), {}, words);
const same = (a, b, what) => assert.equal(Buffer.compare(Buffer.from(a), Buffer.from(b)), 0, what);

const photograph = drawPicture('RGB', 640, 480);
const photographFile = asPng(photograph);

test('undo and redo bring back what was, step by step', async () => {
    await openPicture(browser, photographFile, 'photo.png');
    const saved = [(await save(browser)).bytes];
    for (const title of ['Solarize', 'Swirl']) {
        await chooseEffect(browser, title);
        await apply(browser);
        saved.push((await save(browser)).bytes);
    }
    for (const index of [1, 0]) {
        await page.click('#undo');
        same((await save(browser)).bytes, saved[index], `state ${index}`);
    }
    assert.equal(await page.$eval('#undo', button => button.disabled), true);
    for (const index of [1, 2]) {
        await page.click('#redo');
        same((await save(browser)).bytes, saved[index], `state ${index} again`);
    }
});

test('a recipe goes out and in again, here and on the command line', async () => {
    await openPicture(browser, photographFile, 'photo.png');
    for (const title of ['Noise', 'Median', 'Tiles']) {
        await chooseEffect(browser, title);
        await apply(browser);
    }
    const lines = await linesShown(), made = (await save(browser)).bytes;
    const recipe = await save(browser, '#recipe-save');
    assert.equal(recipe.name, 'photo.recipe');
    same(applyRecipeNatively(photographFile, recipe.bytes), made, 'the command line with the recipe');
    same(applyNatively(photographFile, lines), made, 'the command line with the steps');
    await openPicture(browser, photographFile, 'photo.png');
    await openRecipe(browser, recipe.bytes.toString());
    same((await save(browser)).bytes, made, 'the recipe opened again');
    const command = await page.$eval('#command', field => field.value);
    assert.match(command, /^velmorant apply noise photo\.png new-photo\.png .*--then median .*--then tiles /);
});

test('a text that is no recipe is told of', async () => {
    await openPicture(browser, photographFile, 'photo.png');
    const file = path.join(browser.downloads, 'wrong.recipe');
    fs.writeFileSync(file, 'velmorant recipe 1\nnoise --amount 300\n');
    await (await page.$('#recipe-file')).uploadFile(file);
    await waitForNotice('300 is outside 1..100');
    assert.deepEqual(await linesShown(), []);
});

test('an area limits an effect', async () => {
    await openPicture(browser, photographFile, 'photo.png');
    await page.click('#select');
    for (const [id, value] of [['left', 30], ['top', 20], ['width', 200], ['height', 100]]) {
        await page.$eval(`#area-${id}`, (field, given) => {
            field.value = given;
            field.dispatchEvent(new Event('change'));
        }, value);
    }
    await chooseEffect(browser, 'Solarize');
    await apply(browser);
    const [line] = await linesShown();
    assert.match(line, /--area 30,20,200x100$/);
    same((await save(browser)).bytes, applyNatively(photographFile, [line]), line);
    await page.click('#select');
});

test('presets, defaults and what was used last', async () => {
    await openPicture(browser, photographFile, 'photo.png');
    await chooseEffect(browser, 'Swirl');
    await setSetting(browser, 'Swirl amount', '-77');
    await page.type('#preset-name', 'mine');
    await page.click('.presets button:last-of-type');
    await page.evaluate(() => [...document.querySelectorAll('.presets button')].find(own => own.textContent === 'Keep').click());
    const amount = () => page.$eval('#panel .setting.number input[type=number]', field => field.value);
    await page.click('#reset');
    assert.equal(await amount(), '45');
    await page.select('#preset-list', 'mine');
    assert.equal(await amount(), '-77');
    await apply(browser);
    await chooseEffect(browser, 'Wave');
    await chooseEffect(browser, 'Swirl');
    assert.equal(await amount(), '-77');
    await page.click('#randomise');
    await page.select('#preset-list', '');
});

test('a kernel of the list, with numbers of one\'s own', async () => {
    await openPicture(browser, photographFile, 'photo.png');
    await chooseEffect(browser, 'Filters');
    assert.equal(await page.$$eval('#panel .setting.kernel option', options => options.length), 57);
    await setSetting(browser, 'Kernel', 'Gaussian 3 by 3');
    await page.$eval('.kernel-grid input:nth-child(25)', cell => {
        cell.value = 9;
        cell.dispatchEvent(new Event('input', {bubbles: true}));
    });
    await apply(browser);
    const [line] = await linesShown();
    assert.match(line, /--kernel '0 0 /);
    same((await save(browser)).bytes, applyNatively(photographFile, [line]), line);
});

async function bringKernelFile(bytes) {
    const file = path.join(browser.downloads, 'mine.flt');
    fs.writeFileSync(file, bytes);
    await (await page.$('#panel .setting.file input[type=file]')).uploadFile(file);
}

test('a kernel file comes into the grid, or as it is where the grid does not go that far', async () => {
    const header = 'Velmorant Filter-Matrix Utility\n\r', numbers = Array(49).fill(0);
    await openPicture(browser, photographFile, 'photo.png');
    await chooseEffect(browser, 'Filters');
    numbers[24] = 3;
    numbers[25] = -2;
    await bringKernelFile(`${header} ${numbers.join(' ')} 2 7 A`);
    await page.waitForFunction(() => document.querySelector('.kernel-grid input:nth-child(26)').value === '-2');
    await apply(browser);
    const [line] = await linesShown();
    assert.match(line, /--kernel '.* 3 -2 .*' --divisor 2 --bias 7 .*--combine-mode add/);
    same((await save(browser)).bytes, applyNatively(photographFile, [line]), line);

    const {low, high} = door.list().effects.find(({name}) => name === 'filters').settings.find(({name}) => name === 'kernel');
    numbers[24] = high + 1;
    await bringKernelFile(`${header} ${numbers.join(' ')} ${1 - low} 0 R`);
    await page.waitForFunction(() => document.querySelector('#panel .setting.file output').textContent === 'mine.flt');
    await apply(browser);
    assert.match((await linesShown())[1], /--load mine\.flt/);
    await setSetting(browser, 'Kernel', 'Gaussian 3 by 3');
    await apply(browser);
    assert.doesNotMatch((await linesShown())[2], /--load/);
    await bringKernelFile('Dear Sir or Madam');
    await waitForNotice('File is not a Filter Utility File');
});

test('a photograph of 12 megapixels, aborted and then applied', async () => {
    const jpeg = door.encode(drawLarge(4000, 3000), {format: 'jpeg'}).bytes;
    await openPicture(browser, jpeg, 'large.jpg');
    await chooseEffect(browser, 'Oil Painting');
    await setSetting(browser, 'Brush size', '30');
    await page.click('#apply');
    await page.waitForSelector('#abort:not([hidden])');
    await page.click('#abort');
    await page.waitForSelector('#apply:not([hidden])');
    assert.match(await page.$eval('#status', status => status.textContent), /aborted/);
    assert.deepEqual(await linesShown(), []);
    await chooseEffect(browser, 'Wave');
    await apply(browser);
    const {name, bytes} = await save(browser), lines = await linesShown();
    assert.equal(name, 'large.jpg');
    same(bytes, applyNatively(jpeg, lines, 'jpg'), lines[0]);
});

test('the run of a recipe shows how far it is, and is aborted; what was done before stays', async () => {
    if (await page.$eval('#wall-panel', wall => wall.hidden)) await page.click('#back');
    const jpeg = door.encode(drawLarge(4000, 3000), {format: 'jpeg'}).bytes;
    await openPicture(browser, jpeg, 'large.jpg');
    const aborted = openRecipe(browser, 'velmorant recipe 1\nwave\noil-painting --brush-size 30\n');
    await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Oil Painting: '));
    await (await page.waitForSelector('#recipe #abort', {visible: true})).click();
    await aborted;
    assert.match(await page.$eval('#status', status => status.textContent), /^Oil Painting has been aborted/);
    assert.deepEqual(await linesShown(), ['wave']);
});

test('a worker that has taken much memory goes when its task is done', async () => {
    const other = await page.browser().newPage();
    await other.evaluateOnNewDocument(() => {
        window.ended = 0;
        const {terminate} = Worker.prototype;
        Worker.prototype.terminate = function () {
            ++window.ended;
            terminate.call(this);
        };
    });
    await other.goto(browser.address);
    await other.waitForSelector('#wall[data-painted]');
    assert.equal(await other.evaluate(() => window.ended), 0);
    await openPicture({page: other}, asPng(drawLarge(4000, 3000)), 'large.png');
    await chooseEffect({page: other}, 'Swirl');
    await other.waitForSelector('body[data-preview=exact]');
    assert.ok(await other.evaluate(() => window.ended) >= 2, 'that of the file and that of the preview');
    await other.close();
});

test('a worker to which a picture cannot be sent goes on with the next', async () => {
    const answers = await page.evaluate(async () => {
        const {makeWorkers} = await import('./workers.js');
        const workers = makeWorkers(1), picture = {type: 'grey', width: 1, height: 1, pixels: new Uint8Array(1), mask: null};
        const refused = {...picture, pixels() {}};   // as one for whose copy there is no memory
        const tried = [refused, picture, refused, picture].map(own => workers.run('show', {}, {picture: own}));
        return (await Promise.allSettled(tried)).map(({reason}) => reason?.message ?? 'shown');
    });
    const refused = 'there is not enough memory for a picture of this size';
    assert.deepEqual(answers, [refused, 'shown', refused, 'shown']);
});

test('TIFF goes in and out', async () => {
    const tiff = door.encode(drawPicture('grey', 90, 60, true), {format: 'tiff'}).bytes;
    await openPicture(browser, tiff, 'scan.tif');
    await chooseEffect(browser, 'Solarize');
    await apply(browser);
    const {name, bytes} = await save(browser);
    assert.equal(name, 'scan.tif');
    same(bytes, applyNatively(tiff, await linesShown(), 'tif'));
});

test('GIF goes in and out', async () => {
    const gif = door.encode(drawPicture('palette', 90, 60), {format: 'gif'}).bytes;
    await openPicture(browser, gif, 'drawing.gif');
    assert.match(await page.$eval('#facts', facts => facts.textContent), /^drawing\.gif: palette, 90 × 60/);
    await chooseEffect(browser, 'Wave');
    await apply(browser);
    const {name, bytes} = await save(browser);
    assert.equal(name, 'drawing.gif');
    same(bytes, applyNatively(gif, await linesShown(), 'gif'));
});

async function showFrame(number) {
    await page.$eval('#frame', (field, value) => {
        field.value = value;
        field.dispatchEvent(new Event('input'));
    }, number);
    await page.waitForSelector(`body[data-frame="${number}"]`);
}

// Undone and done again with another frame shown, and saved.
async function goBackAndForth(number) {
    const made = (await save(browser)).bytes;
    await page.click('#undo');
    await showFrame(number);
    await page.click('#redo');
    same((await save(browser)).bytes, made, 'undone and done again');
}

test('effects work on all frames of an animation, which stays one', async () => {
    for (const ending of ['gif', 'webp']) {
        const animation = animateNatively(asPng(drawPicture('palette', 90, 60)), 'swirl --swirl-amount 10..90', 5, ending);
        await openPicture(browser, animation, `turn.${ending}`);
        assert.match(await page.$eval('#facts', facts => facts.textContent), /90 × 60 pixels, 5 frames$/);
        assert.equal(await noticeShown(), '');
        await showFrame(3);
        for (const title of ['Slices', 'Wave']) {
            await chooseEffect(browser, title);
            await page.waitForSelector('body[data-preview=exact]');
            await apply(browser);
        }
        const lines = await linesShown(), {name, bytes} = await save(browser);
        assert.equal(name, `turn.${ending}`);
        same(bytes, applyNatively(animation, lines, ending), ending);
        assert.doesNotMatch(await page.$eval('#command', field => field.value), /--page/);
        await goBackAndForth(5);
    }
});

test('where a format holds one picture, what is lost is told before it is saved', async () => {
    const animation = animateNatively(photographFile, 'swirl --swirl-amount 10..90', 5, 'webp');
    const shown = () => page.$eval('#format-notice', notice => (notice.hidden ? '' : notice.textContent));
    await openPicture(browser, animation, 'turn.webp');
    await chooseEffect(browser, 'Solarize');
    await apply(browser);
    await showFrame(4);
    assert.equal(await shown(), '');
    const [line] = await linesShown();
    await page.select('#format', 'png');
    assert.equal(await shown(), 'PNG holds one picture: frame 4 alone is saved');
    assert.match(await page.$eval('#command', field => field.value), / new-turn\.png .*--page 4$/);
    const {name, bytes} = await save(browser);
    assert.equal(name, 'turn.png');
    same(bytes, applyNatively(animation, [`${line} --page 4`], 'webp', 'png'), 'the frame that is shown');
    await page.select('#format', 'gif');
    assert.equal(await shown(), '');
    same((await save(browser)).bytes, applyNatively(animation, [line], 'webp', 'gif'), 'all frames in another format');
    await page.select('#format', '');
});

test('of an animation beyond all bounds effects work on the first frame, and a notice says so', async () => {
    const frames = animateNatively(asPng(drawPicture('1-bit', 2600, 2000)), 'blocks --block-width 10..20', 10, 'gif');
    await openPicture(browser, frames, 'long.gif');
    assert.match(await noticeShown(), /^long\.gif has 10 pages or frames, more than 50 megapixels together: effects work on the first alone/);
    await chooseEffect(browser, 'Slices');
    await apply(browser);
    const [line] = await linesShown();
    same((await save(browser)).bytes, applyNatively(frames, [`${line} --page 1`], 'gif'));
    assert.match(await page.$eval('#command', field => field.value), / --page 1$/);
    await page.select('#format', 'png');
    assert.equal(await page.$eval('#format-notice', notice => notice.textContent), 'PNG holds one picture: frame 1 alone is saved');
    same((await save(browser)).bytes, applyNatively(frames, [`${line} --page 1`], 'gif', 'png'));
    await page.select('#format', '');
});

test('inks are seen through their profile', async () => {
    const tiff = drawTiff(1, 80, 60, 4, (_, i) => (i % 4 === 3 ? i / 4 % 50 : i * (1 + i % 4) >> 4) & 255);
    await openPicture(browser, tiff, 'print.tif');
    assert.match(await noticeShown(), /through its colour profile/);
    await chooseEffect(browser, 'Solarize');
    await apply(browser);
    same((await save(browser)).bytes, applyNatively(tiff, await linesShown(), 'tif'));
});

test('effects work on all pages of a file', async () => {
    const tiff = drawTiff(3, 30, 20, 1, (which, i) => 50 + 60 * which + i % 20);
    await openPicture(browser, tiff, 'pages.tif');
    assert.match(await page.$eval('#facts', facts => facts.textContent), /, 3 pages$/);
    assert.equal(await page.$eval('#frame-name', label => label.textContent), 'Page');
    await showFrame(2);
    await chooseEffect(browser, 'Noise');
    await apply(browser);
    const [line] = await linesShown();
    same((await save(browser)).bytes, applyNatively(tiff, [line], 'tif'));
    await goBackAndForth(3);
});

// An icon with a PNG file of 40 x 30 pixels in it: only browsers read it.
function iconOf(png) {
    const head = Buffer.alloc(22);
    [[1, 2], [1, 4], [1, 10], [32, 12], [22, 18]].forEach(([value, at]) => head.writeUInt16LE(value, at));
    head.set([40, 30], 6);
    head.writeUInt32LE(png.length, 14);
    return Buffer.concat([head, png]);
}

test('what only the browser decodes keeps the colours of what is all but transparent', async () => {
    const png = asPng(drawPicture('RGB', 40, 30, true));
    await openPicture(browser, iconOf(png), 'drawing.ico');
    same((await save(browser)).bytes, png);
});

test('what only the browser decodes comes without metadata, and a notice says so', async () => {
    const png = asPng(drawPicture('RGB', 40, 30));
    await openPicture(browser, iconOf(png), 'drawing.ico');
    assert.match(await noticeShown(), /metadata/);
    await page.waitForSelector('body[data-preview=exact]');
    assert.match(await noticeShown(), /metadata/, 'a preview takes nothing away');
    same((await save(browser)).bytes, png, 'and is saved as PNG');
    for (const format of ['webp', 'gif', 'tiff', 'jpeg', 'bmp']) {
        await page.select('#format', format);
        assert.match((await save(browser)).name, new RegExp(`^drawing\\.${format.slice(0, 2)}`));
    }
    await page.select('#format', '');
});

// Drops bytes on the page as a file.
const drop = (name, bytes) => page.evaluate((file, content) => {
    const transfer = new DataTransfer();
    transfer.items.add(new File([new Uint8Array(content)], file));
    window.dispatchEvent(new DragEvent('drop', {dataTransfer: transfer, cancelable: true}));
}, name, [...bytes]);

function emptyPng(width, height) {
    const chunk = (type, data) => {
        const body = Buffer.concat([Buffer.from(type), data]), whole = Buffer.alloc(8 + body.length);
        whole.writeUInt32BE(data.length);
        body.copy(whole, 4);
        return whole;
    };
    const head = Buffer.alloc(13);
    head.writeUInt32BE(width);
    head.writeUInt32BE(height, 4);
    head[8] = 1;
    return Buffer.concat([Buffer.from('\x89PNG\r\n\x1a\n', 'latin1'), chunk('IHDR', head), chunk('IDAT', zlib.deflateSync(''))]);
}

test('a file that is none, and one that is too large, change nothing', async () => {
    await openPicture(browser, photographFile, 'photo.png');
    await drop('letter.txt', Buffer.from('Dear Sir or Madam'));
    await waitForNotice('letter.txt is not a picture');
    await drop('huge.png', emptyPng(9000, 9000));
    await waitForNotice('huge.png has 9000 × 9000 pixels');
    await drop('cut.png', photographFile.subarray(0, 60));
    await waitForNotice('cut.png');
    same((await save(browser)).bytes, photographFile, 'the picture that was there');
});

// As a BMP file of the oldest kind has it: sizes of two bytes.
function drawOldBmp(width, height) {
    const stride = (3 * width + 3) & ~3, file = Buffer.alloc(26 + stride * height, 90);
    file.fill(0, 0, 26);
    file.write('BM', 'latin1');
    file.writeUInt32LE(file.length, 2);
    file.writeUInt32LE(26, 10);
    file.writeUInt32LE(12, 14);
    [width, height, 1, 24].forEach((value, i) => file.writeUInt16LE(value, 18 + 2 * i));
    return file;
}

test('a file whose head is an old one is not taken for a large one', async () => {
    await openPicture(browser, drawOldBmp(70, 50), 'old.bmp');
    assert.match(await page.$eval('#facts', facts => facts.textContent), /^old\.bmp: .*, 70 × 50 pixels/);
});

test('dropped and pasted pictures are opened', async () => {
    const opened = () => page.evaluate(() => document.body.dataset.opened);
    for (const kind of ['drop', 'paste']) {
        const before = await opened();
        if (kind === 'drop') await drop('dropped.png', photographFile);
        else {
            await page.evaluate(content => {
                const transfer = new DataTransfer();
                transfer.items.add(new File([new Uint8Array(content)], 'pasted.png', {type: 'image/png'}));
                window.dispatchEvent(new ClipboardEvent('paste', {clipboardData: transfer}));
            }, [...photographFile]);
        }
        await page.waitForFunction(count => document.body.dataset.opened !== count, {}, before);
    }
});

test('a picture that is dropped ends the run of another', async () => {
    await openPicture(browser, asPng(drawLarge(3000, 2000)), 'large.png');
    await chooseEffect(browser, 'Oil Painting');
    await setSetting(browser, 'Brush size', '50');
    await page.click('#apply');
    await page.waitForSelector('#abort:not([hidden])');
    await drop('next.png', photographFile);
    await page.waitForFunction(() => document.getElementById('facts').textContent.startsWith('next.png'));
    await page.waitForSelector('#apply:not([hidden])');
    assert.deepEqual(await linesShown(), []);
    same((await save(browser)).bytes, photographFile, 'the picture that was dropped');
});

test('pictures go through the clipboard, and a command does', async () => {
    await page.browser().defaultBrowserContext().overridePermissions(new URL(browser.address).origin,
        ['clipboard-read', 'clipboard-write', 'clipboard-sanitized-write']);
    await openPicture(browser, photographFile, 'photo.png');
    await page.bringToFront();
    await page.click('#copy');
    await page.waitForFunction(() => document.getElementById('status').textContent.includes('clipboard'));
    const before = await page.evaluate(() => document.body.dataset.opened);
    await page.click('#paste');
    await page.waitForFunction(count => document.body.dataset.opened !== count, {}, before);
    assert.match(await page.$eval('#facts', facts => facts.textContent), /^pasted\.png: RGB, 640 × 480/);
    await chooseEffect(browser, 'Mirror');
    await apply(browser);
    await page.click('#command-copy');
    await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('The command'));
    assert.match(await page.evaluate(() => navigator.clipboard.readText()), /^velmorant apply mirror pasted\.png /);
});

test('a recipe that is dropped is applied', async () => {
    for (const given of ['old.recipe', 'steps.txt']) {
        await openPicture(browser, photographFile, 'photo.png');
        await drop(given, Buffer.from('velmorant recipe 1\nmirror\nwave --amplitude 12\n'));
        await page.waitForFunction(() => document.querySelectorAll('#steps code').length === 2);
        same((await save(browser)).bytes, applyNatively(photographFile, await linesShown()));
    }
});

test('an effect can be chosen as soon as a picture that it works on is there', async () => {
    const cardOf = title => `[...document.querySelectorAll('.card')].find(card => card.textContent.startsWith('${title}'))`;
    if (await page.$eval('#wall-panel', wall => wall.hidden)) await page.click('#back');
    await openPicture(browser, asPng(drawPicture('1-bit', 40, 30)), 'bits.png');
    assert.equal(await page.evaluate(`${cardOf('Solarize')}.disabled`), true);
    await chooseEffect(browser, 'Slices');
    await openPicture(browser, photographFile, 'photo.png');
    await page.evaluate(`document.getElementById('back').click(); ${cardOf('Solarize')}.click()`);
    assert.equal(await page.$eval('#panel h2', title => title.textContent), 'Solarize');
});

test('effects are found by words', async () => {
    if (await page.$eval('#wall-panel', wall => wall.hidden)) await page.click('#back');
    const found = async words => {
        await page.$eval('#search', (field, given) => {
            field.value = given;
            field.dispatchEvent(new Event('input'));
        }, words);
        return page.$$eval('#wall > li:not([hidden]) .card-title', cards => cards.map(card => card.textContent));
    };
    assert.deepEqual(await found('lens bulges'), ['Fisheye']);
    assert.deepEqual((await found('wave')).slice(0, 2), ['Wave', 'Ripple'], 'what is called so first');
    assert.deepEqual(await found('no such thing'), []);
    assert.equal((await found('')).length, door.list().effects.length);
});

function axeFinds() {
    return page.evaluate(async () => (await axe.run()).violations.map(({id, nodes}) => `${id}: ${nodes[0].html}`));
}

const fitsAcross = () => page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth);

test('text of twice the size has its place, on a desktop and on a phone', async () => {
    for (const [width, height] of [[1280, 900], [390, 800]]) {
        await page.setViewport({width, height});
        await browser.session.send('Page.setFontSizes', {fontSizes: {standard: 32}});
        assert.equal(await page.evaluate(() => getComputedStyle(document.documentElement).fontSize), '32px');
        for (const title of ['Filters', 'Noise']) {
            await chooseEffect(browser, title);
            assert.ok(await fitsAcross(), `${title}, ${width} pixels`);
        }
        await page.click('#back');
        assert.ok(await fitsAcross(), `wall, ${width} pixels`);
    }
    await browser.session.send('Page.setFontSizes', {fontSizes: {standard: 16}});
    await page.setViewport({width: 1280, height: 900});
});

test('axe finds nothing, on the wall and in a panel, by day and by night, on a desktop and on a phone', async () => {
    await page.reload();
    await page.waitForSelector('body[data-ready=true]');
    await page.evaluate(fs.readFileSync(axeFile, 'utf8'));
    await openPicture(browser, animateNatively(photographFile, 'swirl --swirl-amount 10..90', 5, 'webp'), 'turn.webp');
    await page.select('#format', 'png');
    for (const [width, height, scheme] of [[1280, 900, 'light'], [390, 800, 'dark']]) {
        await page.setViewport({width, height});
        await page.emulateMediaFeatures([{name: 'prefers-color-scheme', value: scheme},
            {name: 'prefers-reduced-motion', value: 'reduce'}]);   // a colour on its way to another is no contrast
        assert.deepEqual(await axeFinds(), [], `wall, ${scheme}`);
        assert.ok(await fitsAcross(), 'nothing reaches beyond the side');
        for (const title of ['Filters', 'Noise']) {
            await chooseEffect(browser, title);
            assert.deepEqual(await axeFinds(), [], `${title}, ${scheme}`);
        }
        await page.click('#back');
    }
    await page.emulateMediaFeatures([]);
    await page.setViewport({width: 1280, height: 900});
    await page.reload();
    await page.waitForSelector('body[data-ready=true]');
});

test('the keyboard is enough', async () => {
    await page.focus('#search');
    await page.keyboard.press('Tab');
    await page.keyboard.press('Enter');
    await page.waitForSelector('#panel:not([hidden])');
    await page.waitForSelector('body[data-preview=exact]');
    await page.focus('#apply');
    await page.keyboard.press('Enter');
    await page.waitForFunction(() => document.querySelectorAll('#steps code').length === 1);
    await page.keyboard.press('Escape');
    await page.waitForSelector('#wall-panel:not([hidden])');
    assert.match(await page.evaluate(() => document.activeElement.textContent), /^Filters/, 'back where one came from');
    await page.focus('#canvas');
    for (const key of ['+', 'ArrowLeft', '-', '0', '1']) await page.keyboard.press(key);
    await page.keyboard.down('Control');
    await page.keyboard.press('z');
    await page.keyboard.up('Control');
    assert.deepEqual(await linesShown(), []);
});

test('what has the focus is seen', async () => {
    for (const [width, height] of [[1280, 800], [390, 844]]) {
        await page.setViewport({width, height});
        await chooseEffect(browser, 'Ripple');
        for (let i = 0; i < 16; ++i) {
            await page.keyboard.press('Tab');
            const covered = await page.evaluate(() => {
                const own = document.activeElement, {x, y, width: wide, height: high} = own.getBoundingClientRect();
                const top = document.elementFromPoint(x + wide / 2, y + high / 2);
                return own === document.body || own.contains(top) ? '' : own.outerHTML;
            });
            assert.equal(covered, '', `${width} pixels`);
        }
    }
    await page.setViewport({width: 1280, height: 900});
});

// What marks metadata in files is called like an address and is none.
const NAMESPACES = /^http:\/\/ns\.(adobe\.com|google\.com\/photos)\//;

test('the page runs no text as a program and asks no other host', async () => {
    // Not from here, where the browser lets it: by what the page itself has put there.
    const refused = await page.evaluate(() => new Promise(resolve => {
        const violations = [];
        document.addEventListener('securitypolicyviolation', event => {
            if (violations.push(event.effectiveDirective) === 2) resolve(violations.sort());
        });
        const script = document.createElement('script');
        script.textContent = 'window.ran = true';
        document.body.append(script);
        setTimeout('window.ran = true');
        setTimeout(() => resolve(violations), 5000);
    }));
    assert.deepEqual(refused, ['script-src', 'script-src-elem']);
    assert.equal(await page.evaluate(() => window.ran), undefined);
    browser.errors.splice(0, browser.errors.length, ...browser.errors.filter(line => !line.includes('Content Security Policy')));
    const origin = new URL(browser.address).origin;
    assert.deepEqual(browser.requests.filter(url => !url.startsWith(origin) && !url.startsWith('blob:') && !url.startsWith('data:')), []);
    for (const name of fs.readdirSync(folder).filter(own => !own.endsWith('.txt'))) {   // licences may name any
        const text = fs.readFileSync(path.join(folder, name), 'latin1');
        const named = [...text.matchAll(/(https?|wss?):\/\/[\w.:/-]*/gi)].map(([address]) => address);
        assert.deepEqual(named.filter(address => !NAMESPACES.test(address) && !address.startsWith('http://localhost')), [], name);
    }
});

test('what is fetched is no more than 1.2 MB', () => {
    const counted = fs.readdirSync(folder).filter(name => /\.(wasm|js|html|css)$/.test(name));
    const sizes = counted.map(name => zlib.gzipSync(fs.readFileSync(path.join(folder, name)), {level: 9}).length);
    assert.ok(sizes.reduce((a, b) => a + b) <= 1.2e6, `${sizes.reduce((a, b) => a + b)} bytes`);
});

test('the licences are beside what they are of', async () => {
    for (const [name, words] of [['LICENSE.txt', /Copyright/], ['licences-of-others.txt', /libtiff.*giflib|giflib.*libtiff/si]]) {
        assert.match(fs.readFileSync(path.join(folder, name), 'utf8'), words, name);
        assert.equal(await page.$$eval(`footer a[href="${name}"]`, links => links.length), 1, name);
    }
});

test('nothing went wrong unseen', () => assert.deepEqual(browser.errors, []));

test('a browser that cannot compile the module is told of', async () => {
    const old = await page.browser().newPage();
    await old.evaluateOnNewDocument(() => {
        const refuse = async () => { throw new WebAssembly.CompileError('an instruction that is not known'); };
        WebAssembly.compileStreaming = WebAssembly.compile = refuse;
    });
    await old.goto(browser.address);
    await old.waitForFunction(() => document.getElementById('notice').textContent.includes('too old'));
    await old.close();
});

test('the server answers whatever it is asked, with files of its folder alone', async () => {
    const {port} = browser.server.address();
    const answerTo = address => new Promise((resolve, reject) => {
        http.get({port, host: '127.0.0.1', path: address}, response => resolve(response.resume().statusCode)).on('error', reject);
    });
    for (const address of ['/%zz', '//', '/%00', '/..%2f..%2f..%2fetc/passwd', '/nothing']) {
        assert.equal(await answerTo(address), 404, address);
    }
    assert.equal(await answerTo('/'), 200);
});

test('below another path, and without the network', async () => {
    const other = await openPage({prefix: '/some/where/'});
    try {
        await other.page.waitForSelector('body[data-offline=true]');
        const {installabilityErrors} = await other.session.send('Page.getInstallabilityErrors');
        assert.deepEqual(installabilityErrors, []);
        other.server.close();
        other.server.closeAllConnections?.();
        await other.page.reload();
        await other.page.waitForSelector('body[data-ready=true]');
        await openPicture(other, photographFile, 'photo.png');
        await chooseEffect(other, 'Swirl');
        await apply(other);
        const [line] = await other.page.$$eval('#steps code', codes => codes.map(code => code.textContent));
        same((await save(other)).bytes, applyNatively(photographFile, [line]), line);
    } finally {
        await other.close();
    }
});
