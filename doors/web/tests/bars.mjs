// bars.mjs [EFFECT...]: how long a person waits for the page, for docs/web.md: opened again, the wall, and the previews of each effect
// after a change, on a picture of 12 megapixels. Milliseconds on the clock, the middle one of five; the load is told, since
// whatever else runs makes it longer.

import os from 'node:os';

import {chooseEffect, openPage, openPicture} from './browser.mjs';
import {loadDoor} from './native.mjs';
import {drawLarge} from './pictures.mjs';

const TIMES = 5;
const middle = numbers => [...numbers].sort((a, b) => a - b)[numbers.length >> 1];
const load = () => os.loadavg()[0].toFixed(1);

const door = await loadDoor();
const browser = await openPage();
const {page} = browser;
const begun = load();

// When each attribute of the body was last set, and the wall's; once what has changed has been drawn.
await page.evaluateOnNewDocument(() => {
    window.moments = {};
    addEventListener('DOMContentLoaded', () => new MutationObserver(changes => {
        const names = changes.map(({target, attributeName: name}) => (name === 'data-preview' ? `${name}-${target.dataset.preview}` : name));
        requestAnimationFrame(() => names.forEach(name => { window.moments[name] ??= performance.now(); }));
    }).observe(document.body, {attributes: true, subtree: true, attributeFilter: ['data-ready', 'data-preview', 'data-painted', 'data-opened']}));
});
const momentOf = name => page.waitForFunction(key => window.moments[key], {}, name).then(handle => handle.jsonValue());

await page.waitForSelector('body[data-offline=true]');
const ready = [];
for (let i = 0; i < TIMES; ++i) {
    await page.reload();
    ready.push(await momentOf('data-ready'));
}

const large = door.encode(drawLarge(4000, 3000), {format: 'jpeg', quality: 90}).bytes;
const painted = [];
for (let i = 0; i < TIMES; ++i) {
    await page.waitForSelector('#wall[data-painted]');
    await page.evaluate(() => { window.moments = {}; });
    await openPicture(browser, large, 'large.jpg');
    painted.push(await momentOf('data-painted') - await momentOf('data-opened'));
}

// Changes a setting of the open panel, or the seed where there is none that is a number or a choice, and answers when.
const change = (label, value) => page.evaluate((wanted, given) => {
    const title = [...document.querySelectorAll('#panel .setting > label')].find(own => own.textContent === wanted);
    const field = document.getElementById(title.htmlFor);
    window.moments = {};
    const now = performance.now();
    field.value = given;
    field.dispatchEvent(new Event(field.tagName === 'SELECT' ? 'change' : 'input'));
    return now;
}, label, value);

function valuesOf({settings}) {
    const number = settings.find(({kind, shared}) => kind === 'number' && !shared);
    const choice = settings.find(({kind, shared}) => kind === 'choice' && !shared);
    if (number) {
        const usual = Number(number.default), other = usual < number.high ? usual + 1 : usual - 1;
        return [number.label, String(other), number.default];
    }
    return choice ? [choice.label, choice.choices[1].word, choice.choices[0].word] : ['Seed', '1', '2'];
}

// Until the preview of a kind is seen after a change.
async function waited(kind, [label, ...values]) {
    const taken = [];
    for (let i = 0; i < TIMES; ++i) {
        const from = await change(label, values[i % 2]);
        taken.push(await momentOf(`data-preview-${kind}`) - from);
        await momentOf('data-preview-exact');
    }
    return Math.round(middle(taken));
}

console.log(`Page ready, opened again: ${Math.round(middle(ready))} ms`);
console.log(`Wall of thumbnails: ${Math.round(middle(painted))} ms`);
console.log('| effect | smaller picture | what is seen at 1:1 | the whole |\n|---|---|---|---|');
const wanted = process.argv.slice(2);
for (const effect of door.list().effects.filter(({name}) => !wanted.length || wanted.includes(name))) {
    const values = valuesOf(effect);
    await page.click('#fit');
    await chooseEffect(browser, effect.title);
    const reduced = await waited('reduced', values), exact = await waited('exact', values);
    await page.click('#actual');
    console.log(`| ${effect.title} | ${reduced} | ${await waited('part', values)} | ${exact} |`);
}
console.log(`${os.cpus().length} cores, load ${begun} at the begin and ${load()} at the end, this among it.`);
await browser.close();
