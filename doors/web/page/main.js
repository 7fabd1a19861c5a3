// The page: one picture with its history, the wall of effects or the panel of one, the view, and what a person does with
// them. What each of these is stands in its own file.

import {drawSeed, makeEffectPanel, openingValues} from './effect_panel.js';
import {copyToClipboard, download, formats, nameFor, readClipboard, readPicture, writePicture} from './files.js';
import {formatOf, makeFrames} from './frames.js';
import {listenToHands} from './hands.js';
import {makeHistory} from './history.js';
import list from './list.js';
import {makePreviews} from './previews.js';
import {drawSample} from './sample.js';
import {make} from './settings.js';
import {commandOf, parseLine, withSeed} from './steps.js';
import {texts} from './texts.js';
import {makeView} from './view.js';
import {makeWall} from './wall.js';
import {makeWorkers} from './workers.js';

const at = id => document.getElementById(id);
const effectOf = line => list.effects.find(({name}) => name === parseLine(line).name);
const titleOf = line => effectOf(line)?.title ?? line;

//---- Texts

document.title = texts.title;
for (const element of document.querySelectorAll('[data-text]')) element.append(texts[element.dataset.text]);
// A button's own words are its name, where it has some; the rest is a hint.
for (const element of document.querySelectorAll('[data-label]')) {
    const label = texts[element.dataset.label], isNamed = /[a-z]/i.test(element.textContent);
    if (element.tagName === 'BUTTON') element.title = label;
    if (!isNamed || element.tagName !== 'BUTTON') element.setAttribute('aria-label', label);
}
at('search').placeholder = texts.search;
at('format').append(make('option', {value: ''}, texts.formatOriginal),
    ...formats.map(({name}) => make('option', {value: name}, name.toUpperCase())));

// Said aloud too, by what reads the screen.
function say(line) {
    if (at('status').textContent !== line) at('status').textContent = line;
}
function warn(line) {
    at('notice').textContent = line;
    at('notice').hidden = !line;
}

//---- The picture

const workers = makeWorkers(), history = makeHistory();
let name = texts.sampleName, area = null;

const view = makeView(at('canvas'), {
    area: setArea,
    divider: part => { at('divider-place').value = Math.round(100 * part); },
});

const wall = makeWall(at('wall'), at('search'), {workers, valuesOf: openingValues, chosen: openEffect,
    failed: error => warn(texts.failed(error.message))});

const frames = makeFrames(at, {history, workers, changed() { clearPreview(); showState(); }});

function showState() {
    const {bitmap, lines} = history.current(), picture = frames.picture(), former = history.previous();
    const {width, height} = former?.pages[frames.shown()] ?? {};
    view.showPicture(bitmap, picture.width, picture.height,
        former?.frame === frames.shown() ? {bitmap: former.bitmap, width, height} : null);
    at('facts').textContent = [texts.opened(name, texts.types[picture.type], picture.width, picture.height),
        frames.count()].filter(Boolean).join(', ');
    at('undo').disabled = !history.canUndo();
    at('redo').disabled = !history.canRedo();
    at('steps').replaceChildren(...lines.map(line => make('li', {}, make('code', {}, line))));
    at('steps-none').hidden = lines.length > 0;
    at('command-row').hidden = at('recipe-save').disabled = lines.length === 0;
    for (const field of ['area-left', 'area-width']) at(field).max = picture.width;
    for (const field of ['area-top', 'area-height']) at(field).max = picture.height;
    if (!panelIsOpen()) showWall();
    else if (previewIsWanted) preview();
    frames.tellFormat();
    showCommand();
}

// For what is saved now: the format may be another than the picture's.
function showCommand() {
    const {pages, lines} = history.current(), format = at('format').value;
    const saved = nameFor(`new-${name}`, formats.find(own => own.name === format) ?? formatOf(pages[0]));
    at('command').value = lines.length ? commandOf(lines, name, saved, frames.toSave(format || null).page) : '';
}

function showWall() {
    const {pages} = history.current();
    wall.show(frames.picture(), pages.map(({type}) => type));
}

function beginWith({picture: {further = [], ...picture}, bitmap, notices}, given) {
    name = given;
    clearPreview();
    previewIsWanted = true;
    setArea(null, false);
    const pages = [picture, ...further.map(page => ({...page, format: picture.format, source: null}))];
    history.begin({pages, bitmap, frame: 0, lines: [], title: ''});
    frames.begin();
    document.body.dataset.opened = String(Number(document.body.dataset.opened ?? 0) + 1);
    say('');
    warn(notices?.join('. ') ?? '');
    showState();
}

let lastOpened = null;   // of two that come one upon the other the later counts

async function openFile(file, given = file.name || texts.sampleName) {
    lastOpened = file;
    say(texts.busyOpening);
    try {
        if (await isRecipe(file)) {
            say('');
            return await openRecipe(await file.text());
        }
        const read = await readPicture(workers, file, given);
        if (file !== lastOpened) return read.bitmap.close();
        await endRun();
        beginWith(read, given);
    } catch (error) {
        warn(error.code ? texts.notAPicture(given, error.message) : error.message);
        say('');
    }
}

async function openSample() {
    const picture = drawSample();
    const {bitmap} = await workers.run('show', {}, {picture, urgency: 9});
    beginWith({picture, bitmap}, texts.sampleName);
}

//---- Previews

// Not from when something has been applied or undone to the next change: then the picture itself is to be seen.
let previewIsWanted = false;

let shownPreview = null;   // the bitmap over the picture, which nobody else has

let shownPart = null;      // likewise, over that

function clearPreview() {
    previews.end();
    view.showPreview(null);
    at('preview-state').textContent = '';
    for (const bitmap of [shownPreview, shownPart]) bitmap?.close();
    shownPreview = shownPart = null;
}

function showPreview({bitmap, width, height}) {
    const previous = [shownPreview, shownPart];
    shownPreview = bitmap;
    shownPart = null;
    view.showPreview(bitmap, width, height);
    for (const bitmap of previous) bitmap?.close();
}

function showPart(part) {
    const previous = shownPart;
    shownPart = part.bitmap;
    view.showPart(part);
    previous?.close();
}

const previewTexts = {reduced: texts.previewReduced, part: texts.previewPart, exact: texts.previewExact};

// Apart from what a file had to say, which stays.
function warnOfPreview(line) {
    at('preview-notice').textContent = line;
    at('preview-notice').hidden = !line;
    if (line) at('preview-state').textContent = '';
}

const previews = makePreviews(workers, view.seen, (kind, result) => {
    document.body.dataset.preview = kind;
    if (kind === 'working') return;
    if (kind === 'failed') return warnOfPreview(result.message);
    warnOfPreview('');
    (kind === 'part' ? showPart : showPreview)(result);
    at('preview-state').textContent = previewTexts[kind];
});

function preview() {
    previewIsWanted = true;
    const picture = frames.picture(), {effect} = panel.wish();
    if (!effect.types.includes(picture.type)) return warnOfPreview(texts.unfit(effect.title, texts.types[picture.type]));
    at('preview-state').textContent = texts.busyPreview;
    previews.show(picture, panel.wish());
}

//---- The panel of an effect

const panel = makeEffectPanel(at('panel-settings'),
    {changed: preview, writeFile: writeKernel, readFile: readKernel, area: () => area});
const isNarrow = matchMedia('(max-width: 50em)');   // as in style.css
const panelIsOpen = () => !at('panel').hidden;

function openEffect(effect) {
    wall.end();
    at('wall-panel').hidden = true;
    at('panel').hidden = false;
    panel.open(effect);
    if (isNarrow.matches) at('panel').scrollIntoView();   // under the picture, which stays at the top
    preview();
}

function closePanel() {
    clearPreview();
    warnOfPreview('');
    at('panel').hidden = true;
    at('wall-panel').hidden = false;
    showWall();
    wall.focus(panel.wish().effect);
}

// The module writes the file in a run on a picture of one pixel.
async function writeKernel(setting) {
    const picture = {type: 'RGB', width: 1, height: 1, pixels: new Uint8Array(3), mask: null, maskBits: 0, palette: null};
    const file = 'kernel.flt';
    try {
        const {files} = await workers.run('apply', {lines: [`${panel.line()} --${setting.name} ${file}`],
            files: {...panel.wish().files}}, {picture, urgency: 9});
        download(new Blob([files[file]]), file);
    } catch (error) {
        warn(texts.failed(error.message));
    }
}

// A recipe names no files, so its text has what the file says.
async function readKernel(line, files) {
    try {
        const {text} = await workers.run('recipeText', {lines: [line], files}, {urgency: 9});
        return text.trimEnd().split('\n').at(-1);
    } catch (error) {
        warn(texts.failed(error.message));
        return null;
    }
}

//---- Runs

let run = null;   // an AbortController while one is under way

// A picture that is dropped meanwhile takes the place of the one that the run is for.
async function endRun() {
    run?.abort();
    while (run) await new Promise(done => setTimeout(done));
}

function setRunning(on) {
    // Beside what was pressed: a recipe may be opened while no panel is.
    (panelIsOpen() ? at('apply').parentElement : at('recipe-run')).append(at('progress'), at('abort'));
    at('abort').hidden = at('progress').hidden = !on;
    at('apply').hidden = on;
    for (const id of ['undo', 'redo', 'open', 'paste', 'sample', 'back', 'recipe-open', 'frame', 'frame-range']) {
        if (on) at(id).dataset.was = at(id).disabled;
        at(id).disabled = on || at(id).dataset.was === 'true';
    }
    if (on) at('abort').focus();
    else if (panelIsOpen()) at('apply').focus();
}

// {pages, bitmap, notices} of a line on all pages, which share the cores. `tell(percent)`.
async function applyToPages(line, files, tell) {
    const {pages} = history.current(), frame = frames.shown(), done = pages.map(() => 0);
    const previewed = previews.take(pages[frame], line);
    const made = await Promise.all(pages.map((picture, i) => {
        const onProgress = ({tenths}) => {
            done[i] = tenths;
            tell(Math.floor(10 * done.reduce((sum, own) => sum + own) / pages.length));
        };
        return i === frame && previewed ? previewed
            : workers.run('apply', {lines: [line], files: {...files}, wanted: i === frame ? 'picture' : 'pixels'},
                {picture, signal: run.signal, onProgress, urgency: 9});
    }));
    return {pages: made.map(({picture}) => picture), bitmap: made[frame].bitmap,
        notices: [...new Set(made.flatMap(({notices}) => notices))]};
}

// Applies lines to the current picture; each becomes a step. True when all did.
async function applyLines(lines, files) {
    let title = '';
    run = new AbortController();
    setRunning(true);
    try {
        for (const line of lines) {
            const {lines: before} = history.current();
            title = titleOf(line);
            at('progress').value = 0;
            const {pages, bitmap, notices} = await applyToPages(line, files, percent => {
                at('progress').value = percent;
                say(texts.progress(title, percent - percent % 10));   // not each one, for whoever hears it
            });
            if (bitmap === shownPreview) shownPreview = null;
            history.add({pages, bitmap, frame: frames.shown(), lines: [...before, line], title});
            warn(notices.join('. '));
            say(texts.applied(title));
        }
        return true;
    } catch (error) {
        run.abort();   // the other pages' runs too
        if (error.name === 'AbortError') say(texts.aborted(title));
        else warn(texts.failed(error.message));
        return false;
    } finally {
        run = null;
        setRunning(false);
    }
}

async function apply() {
    if (run) return;
    const {files} = panel.wish();
    if (!await applyLines([panel.line()], {...files})) return preview();
    panel.applied();
    setArea(area, false);
    showItself();
    document.body.dataset.applied = String(Number(document.body.dataset.applied ?? 0) + 1);
}

// The picture without a preview over it.
function showItself() {
    previewIsWanted = false;
    clearPreview();
    showState();
}

function undo() {
    if (run || !history.canUndo()) return;
    previewIsWanted = false;
    say(texts.undone(history.undo().title));
    frames.show();
}

function redo() {
    if (run || !history.canRedo()) return;
    previewIsWanted = false;
    say(texts.redone(history.redo().title));
    frames.show();
}

//---- Area

const AREA_FIELDS = {x: 'area-left', y: 'area-top', width: 'area-width', height: 'area-height'};

function setArea(next, tells = true) {
    area = next;
    view.setArea(area);
    for (const [part, id] of Object.entries(AREA_FIELDS)) at(id).value = area?.[part] ?? '';
    at('area-none').disabled = !area;
    if (tells && panelIsOpen() && history.current()) preview();
}

function readArea() {
    const picture = frames.picture();
    const value = (id, otherwise) => (at(id).value === '' ? otherwise : Math.trunc(Number(at(id).value)));
    const x = Math.min(Math.max(value('area-left', 0), 0), picture.width - 1);
    const y = Math.min(Math.max(value('area-top', 0), 0), picture.height - 1);
    const width = Math.min(Math.max(value('area-width', picture.width), 1), picture.width - x);
    const height = Math.min(Math.max(value('area-height', picture.height), 1), picture.height - y);
    setArea({x, y, width, height});
}

//---- Recipes

const RECIPE_HEAD = 'velmorant recipe ';

async function isRecipe(file) {
    return /\.recipe$/i.test(file.name) || (await file.slice(0, RECIPE_HEAD.length).text()) === RECIPE_HEAD;
}

async function openRecipe(text) {
    let lines;
    try {
        ({lines} = await workers.run('recipe', {text}, {urgency: 9}));
    } catch (error) {
        return warn(texts.badRecipe(error.message));
    }
    warn('');
    await endRun();
    clearPreview();
    await applyLines(lines.map(line => withSeed(effectOf(line), line, drawSeed())), {});
    showItself();
    document.body.dataset.applied = String(Number(document.body.dataset.applied ?? 0) + 1);
}

async function saveRecipe() {
    try {
        const {text} = await workers.run('recipeText', {lines: history.current().lines, files: panel.files()}, {urgency: 9});
        download(new Blob([text], {type: 'text/plain'}), nameFor(name, {ending: 'recipe'}));
    } catch (error) {
        warn(texts.failed(error.message));
    }
}

//---- What a person presses

const on = (id, act) => { at(id).onclick = act; };
const choose = (id, input, taken) => {
    on(id, () => at(input).click());
    at(input).onchange = () => {
        const [file] = at(input).files;
        at(input).value = '';
        if (file) taken(file);
    };
};

at('format').onchange = () => {
    frames.tellFormat();
    showCommand();
};
choose('open', 'file', openFile);
choose('camera', 'camera-file', openFile);
choose('recipe-open', 'recipe-file', async file => openRecipe(await file.text()));
on('sample', openSample);
on('undo', undo);
on('redo', redo);
on('back', closePanel);
on('apply', apply);
on('abort', () => run?.abort());
on('fit', view.fit);
on('actual', view.actual);
on('zoom-in', () => view.zoom(1.5));
on('zoom-out', () => view.zoom(1 / 1.5));
on('area-none', () => setArea(null));
on('select', () => {
    const pressed = at('select').getAttribute('aria-pressed') !== 'true';
    at('select').setAttribute('aria-pressed', pressed);
    at('area').hidden = !pressed;
    view.setSelecting(pressed);
    if (!pressed) setArea(null);
});
for (const id of Object.values(AREA_FIELDS)) at(id).onchange = readArea;

on('divider', () => {
    const pressed = at('divider').getAttribute('aria-pressed') !== 'true';
    at('divider').setAttribute('aria-pressed', pressed);
    at('divider-row').hidden = !pressed;
    view.setDivider(pressed ? Number(at('divider-place').value) / 100 : null);
});
at('divider-place').oninput = () => view.setDivider(Number(at('divider-place').value) / 100);

for (const [begin, end] of [['pointerdown', 'pointerup'], ['pointerdown', 'pointerleave']]) {
    at('compare').addEventListener(begin, () => view.hold(true));
    at('compare').addEventListener(end, () => view.hold(false));
}

on('save', async () => {
    say(texts.busySaving);
    try {
        const wanted = at('format').value || null;
        const {blob, format, notices} = await writePicture(workers, frames.toSave(wanted), wanted);
        const file = nameFor(name, format);
        download(blob, file);
        say(texts.saved(file));
        if (notices.length) warn(notices.join('. '));
    } catch (error) {
        warn(texts.failed(error.message));
    }
});
on('copy', () => copyToClipboard(workers, frames.toSave('png')).then(() => say(texts.copied), () => warn(texts.cannotCopy)));
on('paste', async () => {
    try {
        const blob = await readClipboard();
        if (blob) await openFile(blob, texts.sampleName.replace('sample', 'pasted'));
        else warn(texts.nothingToPaste);
    } catch {
        warn(texts.cannotPaste);
    }
});
on('recipe-save', saveRecipe);
on('command-copy', async () => {
    at('command').select();
    // Where the page is not secure, the browser copies what is marked, if anything.
    const copied = await navigator.clipboard?.writeText(at('command').value).then(() => true, () => false);
    if (copied ?? document.execCommand('copy')) say(texts.commandCopied);
    else warn(texts.cannotCopy);
});

listenToHands(at, view, {undo, redo, open: openFile, leave() {
    if (run) run.abort();
    else if (panelIsOpen()) closePanel();
    else return false;
    return true;
}});

//---- Start

openSample().then(() => {
    document.body.dataset.ready = 'true';
    workers.expectFiles();
}, error => warn(texts.failed(error.message)));

if ('serviceWorker' in navigator) {
    navigator.serviceWorker.register('./sw.js').then(() => navigator.serviceWorker.ready)
        .then(() => { document.body.dataset.offline = 'true'; }, () => {});
}
