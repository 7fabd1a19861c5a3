// The panel of one effect: its settings, seed and presets. What they come to is `wish()`; whoever listens shows and applies
// it.

import list from './list.js';
import {make, makeSettings} from './settings.js';
import {BROUGHT, defaultsOf, makeLine, parseLine} from './steps.js';
import {forgetPreset, keepLast, keepPreset, lastLine, presetsOf} from './store.js';
import {texts} from './texts.js';

const MOST_SEED = 2 ** 32;
export const drawSeed = () => Math.floor(Math.random() * MOST_SEED);

// What an effect opens with: what it was last applied with, or what shows it well.
export function openingValues(effect) {
    const line = lastLine(effect) ?? `${effect.name} ${effect.example}`;
    return completed(effect, parseLine(line).values);
}

// With all that a kernel brings.
function completed(effect, values) {
    const kernel = list.kernels.find(({name}) => name.toLowerCase() === values.kernel?.toLowerCase());
    const brought = kernel
        ? {kernel: kernel.name, divisor: String(kernel.divisor), bias: String(kernel.bias), 'combine-mode': kernel.mode} : {};
    return {...defaultsOf(effect), ...brought, ...values, ...(kernel && {kernel: kernel.name})};
}

// `changed()`: the wish is another. `writeFile(setting)`: a person wants what is set kept in a file; `readFile(line, files)`:
// what a file brings, as a line with all in it, or null.
export function makeEffectPanel(element, {changed, writeFile, readFile, area}) {
    let effect = null, settings = null, seed = 0;
    const files = {};
    const title = make('h2', {tabIndex: -1});
    const about = make('p', {className: 'about'});
    const place = make('div');

    const seedField = make('input', {type: 'number', min: 0, max: MOST_SEED - 1, step: 1, id: 'seed', required: true});
    seedField.oninput = () => {
        if (!seedField.checkValidity()) return;
        seed = Number(seedField.value);
        changed();
    };
    const setSeed = value => { seed = value; seedField.value = value; };
    const newSeed = make('button', {type: 'button', 'aria-label': texts.seedLabel, onclick: () => { setSeed(drawSeed()); changed(); }},
        texts.newSeed);
    const seedRow = make('div', {className: 'setting'}, make('label', {for: 'seed'}, texts.seed),
        make('div', {className: 'fields'}, seedField, newSeed));

    const presetList = make('select', {id: 'preset-list'});
    const presetName = make('input', {type: 'text', id: 'preset-name', maxLength: 60, placeholder: texts.presetName,
        'aria-label': texts.presetName});
    const keep = make('button', {type: 'button'}, texts.presetKeep);
    const forget = make('button', {type: 'button'}, texts.presetForget);
    const presets = make('div', {className: 'setting presets'}, make('label', {for: 'preset-list'}, texts.presets),
        make('div', {className: 'fields'}, presetList, forget), make('div', {className: 'fields'}, presetName, keep));

    // The library's own stand first. A person's own of the same name hides it.
    const shipped = () => list.presets.filter(preset => preset.effect === effect.name);
    const group = (label, names) => make('optgroup', {label}, ...names.map(name => make('option', {value: name}, name)));
    function listPresets(chosen = '') {
        const own = Object.keys(presetsOf(effect)).sort();
        const groups = [[texts.presetsShipped, shipped().map(({name}) => name)], [texts.presetsOwn, own]];
        presetList.replaceChildren(make('option', {value: ''}, texts.presetNone),
            ...groups.filter(([, names]) => names.length).map(([label, names]) => group(label, names)));
        presetList.value = chosen;
        forget.disabled = !presetsOf(effect)[chosen];
    }
    async function readValues(setting, name, bytes) {
        const line = await readFile(makeLine(effect, {[setting.name]: name}), {[name]: bytes});
        if (!line) return null;
        const {values} = parseLine(line);
        return Object.fromEntries(['kernel', ...BROUGHT].map(own => [own, values[own]]));
    }
    const showLine = line => {
        const parsed = parseLine(line);
        settings.show(completed(effect, parsed.values));
        if (parsed.seed !== null) setSeed(Number(parsed.seed));
        changed();
    };
    presetList.onchange = () => {
        const {value} = presetList, own = presetsOf(effect)[value];
        forget.disabled = !own;
        if (value) showLine(own ?? shipped().find(({name}) => name === value).line);
    };
    // What may be kept: a file is there as long as the page is.
    const lasting = () => {
        const files = effect.settings.filter(({kind}) => kind === 'file').map(({name}) => name);
        return Object.fromEntries(Object.entries(settings.values()).filter(([name]) => !files.includes(name)));
    };
    keep.onclick = () => {
        const name = presetName.value.trim();
        if (!name) return presetName.focus();
        keepPreset(effect, name, makeLine(effect, lasting(), {seed}));
        listPresets(name);
        presetName.value = '';
    };
    forget.onclick = () => {
        forgetPreset(effect, presetList.value);
        listPresets();
    };

    const reset = make('button', {type: 'button', id: 'reset'}, texts.reset);
    reset.onclick = () => { settings.show(defaultsOf(effect)); changed(); };
    const randomise = make('button', {type: 'button', id: 'randomise'}, texts.randomise);
    randomise.onclick = () => settings.randomise();
    element.append(title, about, place, seedRow, make('div', {className: 'fields'}, reset, randomise), presets);

    return {
        open(chosen) {
            effect = chosen;
            title.textContent = effect.title;
            about.textContent = effect.about;
            settings = makeSettings(effect, {kernels: list.kernels, files, writeFile, readFile: readValues}, changed);
            place.replaceChildren(settings.element);
            settings.show(openingValues(effect));
            setSeed(drawSeed());
            seedRow.hidden = !effect.draws;
            listPresets();
            title.focus();
        },
        // As a step's line tells.
        showLine,
        files: () => files,
        wish: () => ({effect, values: settings.values(), seed, area: area(), files}),
        line() { return makeLine(effect, settings.values(), {seed, area: area()}); },
        // After it has been applied: what draws has been seen, so the next run draws anew.
        applied() {
            keepLast(effect, makeLine(effect, lasting()));
            if (effect.draws) setSeed(drawSeed());
        },
    };
}
