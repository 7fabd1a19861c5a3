// The form of an effect's settings, made from the list that the library gives: there is no other place where a range or a
// meaning is told.

import {texts} from './texts.js';

// An element with properties, attributes (those with a dash, and `for`), and children.
export function make(tag, properties = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (name.includes('-') || name === 'for' || name === 'role') element.setAttribute(name, value);
        else element[name] = value;
    }
    element.append(...children);
    return element;
}

let lastId = 0;
const freshId = () => `field${++lastId}`;

function labelled(setting, field, ...more) {
    field.id ||= freshId();
    const unit = setting.unit ? make('span', {className: 'unit'}, setting.unit) : '';
    const label = make('label', {for: field.id}, setting.label);
    const meaning = make('p', {className: 'meaning', id: `${field.id}-meaning`}, setting.meaning);
    if (setting.meaning) field.setAttribute('aria-describedby', meaning.id);
    return make('div', {className: `setting ${setting.kind}`}, label, make('div', {className: 'fields'}, field, ...more, unit),
        setting.meaning ? meaning : '');
}

// Every kind answers {element, show(value), read(), randomise()}; `changed` is called when a person has changed it.
const kinds = {
    number(setting, changed) {
        const range = {min: setting.low, max: setting.high, step: 1};
        const field = make('input', {type: 'number', inputMode: 'numeric', required: true, ...range});
        const slider = make('input', {type: 'range', 'aria-label': setting.label, ...range});
        const within = number => Math.min(Math.max(Math.round(number), setting.low), setting.high);
        slider.oninput = () => { field.value = slider.value; changed(); };
        field.oninput = () => {
            if (!field.checkValidity()) return;
            slider.value = field.value;
            changed();
        };
        field.onchange = () => {
            field.value = slider.value = within(Number(field.value) || 0);
            changed();
        };
        return {
            element: labelled(setting, field, slider),
            show(value) { field.value = slider.value = value; },
            read: () => slider.value,
            random: () => String(setting.low + Math.floor(Math.random() * (setting.high - setting.low + 1))),
        };
    },

    choice(setting, changed) {
        const options = setting.choices.map(({word, label}) => make('option', {value: word}, label));
        const select = make('select', {}, ...options);
        const meaning = make('p', {className: 'meaning', id: freshId()});
        select.setAttribute('aria-describedby', meaning.id);
        const tell = () => { meaning.textContent = setting.choices[select.selectedIndex]?.meaning ?? ''; };
        select.onchange = () => { tell(); changed(); };
        const element = labelled({...setting, meaning: ''}, select);
        element.append(meaning);
        return {
            element,
            show(value) { select.value = value; tell(); },
            read: () => select.value,
            random: () => setting.choices[Math.floor(Math.random() * setting.choices.length)].word,
        };
    },

    switch(setting, changed) {
        const box = make('input', {type: 'checkbox', onchange: changed});
        return {
            element: labelled(setting, box),
            show(value) { box.checked = value === 'on'; },
            read: () => (box.checked ? 'on' : 'off'),
            random: () => (Math.random() < 0.5 ? 'on' : 'off'),
        };
    },

    colour(setting, changed) {
        const field = make('input', {type: 'color', oninput: changed});
        return {
            element: labelled(setting, field),
            show(value) { field.value = value.toLowerCase(); },
            read: () => field.value.toUpperCase(),
            random: () => `#${Math.floor(Math.random() * 0x1000000).toString(16).padStart(6, '0').toUpperCase()}`,
        };
    },

    kernel(setting, changed, {kernels, bring}) {
        const options = [make('option', {value: ''}, texts.kernelNone),
            ...kernels.map(({name}) => make('option', {value: name}, name))];
        const select = make('select', {}, ...options);
        const side = Math.sqrt(setting.count);
        const cells = Array.from({length: setting.count}, (_, i) => make('input', {
            type: 'number', min: setting.low, max: setting.high, step: 1, required: true,
            'aria-label': texts.kernelCell(Math.floor(i / side) + 1, i % side + 1),
        }));
        const grid = make('div', {className: 'kernel-grid', role: 'group', 'aria-label': setting.meaning}, ...cells);
        const numbers = () => cells.map(cell => String(Math.trunc(Number(cell.value)) || 0)).join(' ');
        const kernelNamed = name => kernels.find(kernel => kernel.name.toLowerCase() === String(name).toLowerCase());
        const put = value => {
            const elements = kernelNamed(value)?.elements ?? String(value).split(/[\s,]+/);
            cells.forEach((cell, i) => { cell.value = elements[i] ?? 0; });
            select.value = kernelNamed(value)?.name ?? '';
        };
        select.onchange = () => {
            const kernel = kernelNamed(select.value);
            if (!kernel) return;
            put(kernel.name);
            bring({load: '', divisor: String(kernel.divisor), bias: String(kernel.bias), 'combine-mode': kernel.mode});
            changed();
        };
        grid.oninput = event => {
            if (!event.target.checkValidity()) return;
            select.value = '';
            bring({load: ''});
            changed();
        };
        const element = labelled({...setting, meaning: ''}, select);
        element.append(grid);
        return {
            element,
            show: put,
            read: () => select.value || numbers(),
            random() {
                const kernel = kernels[Math.floor(Math.random() * kernels.length)];
                bring({load: '', divisor: String(kernel.divisor), bias: String(kernel.bias), 'combine-mode': kernel.mode});
                return kernel.name;
            },
        };
    },

    // What a file brings goes where it can be changed; from a file beyond what can be set it is taken as it stands there.
    file(setting, changed, {files, writeFile, readFile, bring, reset, isWithin}) {
        if (setting.writes) {
            const button = make('button', {type: 'button', onclick: () => writeFile(setting)}, texts.kernelSave);
            return {element: labelled(setting, button), show() {}, read: () => '', random: () => ''};
        }
        let name = '';
        const input = make('input', {type: 'file', hidden: true, 'aria-label': setting.label});
        const shown = make('output', {}, texts.fileNone);
        const show = value => { name = value; shown.textContent = value || texts.fileNone; };
        input.onchange = async () => {
            const [file] = input.files;
            input.value = '';
            if (!file) return;
            const bytes = new Uint8Array(await file.arrayBuffer());
            const values = await readFile(setting, file.name, bytes);
            if (!values) return;
            if (Object.entries(values).every(([name, value]) => isWithin(name, value))) {
                show('');
                bring(values);
                shown.textContent = texts.fileTaken(file.name);
            } else {
                files[file.name] = bytes;
                reset(Object.keys(values));
                show(file.name);
            }
            changed();
        };
        const choose = make('button', {type: 'button', onclick: () => input.click()}, texts.fileChoose);
        const forget = make('button', {type: 'button', onclick: () => { show(''); changed(); }}, texts.fileForget);
        return {element: labelled(setting, choose, input, shown, forget), show, read: () => name, random: () => ''};
    },
};

// {element, values(), show(values), randomise()}. `surroundings`: {kernels, files, writeFile(setting), readFile(setting, name,
// bytes)}, the last a promise of the values that a file brings, or null. Without `scope` and `priority`: there are no
// floating objects here, and a worker has no priority.
export function makeSettings(effect, surroundings, changed) {
    const settings = effect.settings.filter(setting => !setting.shared);
    const fields = new Map();
    const bring = values => Object.entries(values).forEach(([name, value]) => fields.get(name)?.show(value));
    const defaultOf = wanted => settings.find(({name}) => name === wanted).default;
    const reset = names => bring(Object.fromEntries(names.map(name => [name, defaultOf(name)])));
    const isWithin = (name, value) => {
        const {kind, low, high} = settings.find(own => own.name === name);
        const numbers = kind === 'number' || kind === 'kernel' ? String(value).split(/\s+/).map(Number) : [];
        return numbers.every(number => number >= low && number <= high);
    };
    for (const setting of settings) {
        const kind = kinds[setting.kind === 'numbers' ? 'number' : setting.kind];
        fields.set(setting.name, kind(setting, changed, {...surroundings, bring, reset, isWithin}));
    }
    const form = make('form', {className: 'settings', onsubmit: event => event.preventDefault()},
        ...[...fields.values()].map(field => field.element));
    return {
        element: form,
        values: () => Object.fromEntries([...fields].map(([name, field]) => [name, field.read()])),
        show(values) {
            for (const [name, field] of fields) field.show(values[name] ?? defaultOf(name));
        },
        randomise() {
            for (const field of fields.values()) {
                const value = field.random();
                if (value !== '') field.show(value);
            }
            changed();
        },
    };
}
