// Chromium or Firefox with the page in it, as a person has it: its own server, a folder of downloads, files chosen and
// dropped. What Chromium alone can be asked goes through `session`, which is null in Firefox.

import fs from 'node:fs';
import {createRequire} from 'node:module';
import path from 'node:path';
import {fileURLToPath} from 'node:url';

import {parseLine} from '../page/steps.js';
import {makeServer} from '../serve.mjs';
import {temporary} from './native.mjs';
import {tryingLine} from './pictures.mjs';

const root = fileURLToPath(new URL('../../../', import.meta.url));
export const folder = path.join(root, 'build/page');
const installed = createRequire(path.join(root, 'build/npm/package.json'));
const puppeteer = installed('puppeteer-core');
export const axeFile = installed.resolve('axe-core/axe.min.js');

const LONG = 60000;   // milliseconds: a busy machine is no fault of the page's

const launchings = {
    chromium: () => ({executablePath: '/usr/bin/chromium', args: ['--no-sandbox', '--disable-gpu']}),
    firefox: downloads => ({browser: 'firefox', executablePath: '/usr/bin/firefox-esr', extraPrefsFirefox: {
        'browser.download.folderList': 2, 'browser.download.dir': downloads, 'browser.download.useDownloadDir': true}}),
};

async function letDownload(page, downloads) {
    const session = await page.createCDPSession();
    await session.send('Browser.setDownloadBehavior', {behavior: 'allow', downloadPath: downloads, eventsEnabled: true});
    return session;
}

// {page, address, downloads, requests, errors, ...}; `close` ends all of it.
export async function openPage({width = 1280, height = 900, prefix = '/', dark = false, kind = 'chromium'} = {}) {
    const server = makeServer(folder, prefix);
    await new Promise(done => server.listen(0, '127.0.0.1', done));
    const address = `http://localhost:${server.address().port}${prefix}`;
    const downloads = fs.mkdtempSync(path.join(temporary, 'downloads-'));
    const browser = await puppeteer.launch({timeout: LONG, protocolTimeout: 3 * LONG, ...launchings[kind](downloads)});
    const page = await browser.newPage();
    page.setDefaultTimeout(LONG);
    await page.setViewport({width, height});
    if (dark) await page.emulateMediaFeatures([{name: 'prefers-color-scheme', value: 'dark'}]);
    const requests = [], errors = [];
    page.on('request', request => requests.push(request.url()));
    page.on('console', message => { if (message.type() === 'error') errors.push(message.text()); });
    page.on('pageerror', error => errors.push(String(error)));
    const session = kind === 'chromium' ? await letDownload(page, downloads) : null;
    await page.goto(address);
    await page.waitForSelector('body[data-ready=true]');
    return {page, session, address, downloads, requests, errors, server, async close() {
        await browser.close();
        server.close();
        server.closeAllConnections?.();
    }};
}

const countOf = (page, name) => page.evaluate(key => Number(document.body.dataset[key] ?? 0), name);

// Acts and waits until the page has counted one more of what `name` counts.
async function counted(page, name, act) {
    const before = await countOf(page, name);
    await act();
    await page.waitForFunction((key, count) => Number(document.body.dataset[key] ?? 0) > count, {}, name, before);
}

export async function openPicture({page}, bytes, name) {
    const file = path.join(temporary, name);
    fs.writeFileSync(file, bytes);
    await counted(page, 'opened', async () => (await page.$('#file')).uploadFile(file));
}

// Applies a recipe that a person opens.
export async function openRecipe({page}, text) {
    const file = path.join(temporary, 'recipe.txt');
    fs.writeFileSync(file, text);
    await counted(page, 'applied', async () => (await page.$('#recipe-file')).uploadFile(file));
}

export async function chooseEffect({page}, title) {
    if (await page.$eval('#wall-panel', wall => wall.hidden)) await page.click('#back');
    const card = await page.waitForSelector(`::-p-xpath(//button[contains(@class,"card")][.//span[.="${title}"]])`);
    await card.evaluate(button => button.click());
}

// Gives a setting of the open panel a value, as a hand does.
export async function setSetting({page}, label, value) {
    await page.evaluate((wanted, given) => {
        const title = [...document.querySelectorAll('#panel .setting > label')].find(own => own.textContent === wanted);
        const field = document.getElementById(title.htmlFor);
        if (field.type === 'checkbox') field.checked = given === 'on';
        else field.value = given;
        for (const name of ['input', 'change']) field.dispatchEvent(new Event(name, {bubbles: true}));
    }, label, value);
}

export async function apply({page}) {
    await counted(page, 'applied', () => page.click('#apply'));
}

// Gives the panel of an effect settings that are not the defaults, and a seed.
export async function workPanel(browser, effect) {
    await chooseEffect(browser, effect.title);
    const {values} = parseLine(tryingLine(effect, 7));
    for (const setting of effect.settings) {
        const isSet = values[setting.name] !== undefined && ['number', 'choice', 'colour'].includes(setting.kind);
        if (isSet) await setSetting(browser, setting.label, values[setting.name]);
    }
    if (effect.draws) await setSetting(browser, 'Seed', '7');
}

//---- Downloads

async function downloadedByChromium({page, session}, button) {
    let name;
    const done = new Promise(resolve => {
        const begun = event => { name = event.suggestedFilename; };
        session.once('Browser.downloadWillBegin', begun);
        const progress = event => {
            if (event.state !== 'completed') return;
            session.off('Browser.downloadProgress', progress);
            resolve();
        };
        session.on('Browser.downloadProgress', progress);
    });
    await page.click(button);
    await done;
    return name;
}

// Firefox tells of none: a file is whole once there is something in it and no part of one beside it.
async function downloadedByFirefox({page, downloads}, button) {
    for (const name of fs.readdirSync(downloads)) fs.rmSync(path.join(downloads, name));
    await page.click(button);
    for (const end = Date.now() + LONG; Date.now() < end;) {
        const names = fs.readdirSync(downloads);
        if (names.length === 1 && !names[0].endsWith('.part') && fs.statSync(path.join(downloads, names[0])).size) return names[0];
        await new Promise(done => setTimeout(done, 20));
    }
    throw new Error('nothing was saved');
}

// The bytes of what the page saves, and the name it gives them.
export async function save(browser, button = '#save') {
    const name = await (browser.session ? downloadedByChromium : downloadedByFirefox)(browser, button);
    const file = path.join(browser.downloads, name), bytes = fs.readFileSync(file);
    fs.rmSync(file);
    return {name, bytes};
}
