// The wall of effects: what each makes of the picture, small, found by words.

import list from './list.js';
import {make} from './settings.js';
import {makeLine, reduceValues} from './steps.js';
import {texts} from './texts.js';

const THUMBNAIL_EDGE = 200;

// `valuesOf(effect)`: what it would open with; `chosen(effect)`: a person has chosen it; `failed(error)`: the picture cannot be
// made smaller.
export function makeWall(element, search, {workers, valuesOf, chosen, failed}) {
    const cards = list.effects.map(effect => {
        const canvas = make('canvas', {width: 4, height: 3, 'aria-hidden': 'true'});
        const card = make('button', {type: 'button', className: 'card', onclick: () => chosen(effect)},
            canvas, make('span', {className: 'card-title'}, effect.title), make('span', {className: 'card-summary'}, effect.summary));
        element.append(make('li', {}, card));
        return {effect, card, canvas};
    });
    const nothing = make('li', {className: 'none', hidden: true}, texts.noEffect);
    element.append(nothing);

    search.oninput = () => {
        const words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
        const has = text => words.every(word => text.toLowerCase().includes(word));
        const called = cards.filter(({effect}) => has(`${effect.name} ${effect.title}`));
        const told = cards.filter(({effect}) => has(`${effect.name} ${effect.title} ${effect.summary} ${effect.about}`));
        for (const {card} of cards) card.parentElement.hidden = true;
        // What is called so stands before what is only said to be so.
        for (const {card} of new Set([...called, ...told, ...cards])) element.append(card.parentElement);
        for (const {card} of told) card.parentElement.hidden = false;
        nothing.hidden = told.length > 0;
    };

    let stop = new AbortController();

    async function paint({effect, canvas}, {picture, step}, signal) {
        const fits = effect.types.includes(picture.type);
        const line = makeLine(effect, reduceValues(effect, valuesOf(effect), step), {seed: 1});
        const {bitmap} = fits ? await workers.run('apply', {lines: [line], wanted: 'bitmap'}, {picture, signal, gently: true})
            : await workers.run('show', {}, {picture, signal, gently: true});
        canvas.width = bitmap.width;
        canvas.height = bitmap.height;
        canvas.getContext('2d').drawImage(bitmap, 0, 0);
        bitmap.close();
    }

    return {
        // Paints all for a picture. `types`: of all pages that an effect would work on. A later call ends an earlier one.
        async show(picture, types) {
            stop.abort();
            stop = new AbortController();
            const {signal} = stop;
            for (const {effect, card} of cards) {
                const unfit = types.find(type => !effect.types.includes(type));
                card.disabled = Boolean(unfit);
                card.title = unfit ? texts.unfit(effect.title, texts.types[unfit]) : '';
            }
            try {
                const reduced = await workers.run('reduce', {edge: THUMBNAIL_EDGE}, {picture, signal, urgency: 5, gently: true});
                await Promise.all(cards.map(card => paint(card, reduced, signal).catch(error => {
                    if (error.name !== 'AbortError') card.card.title = error.message;
                })));
                if (!signal.aborted) element.dataset.painted = String(Number(element.dataset.painted ?? 0) + 1);
            } catch (error) {
                if (error.name !== 'AbortError') failed(error);
            }
        },
        end: () => stop.abort(),
        // The card of an effect, or where it cannot be chosen, the search.
        focus(effect) {
            const {card} = cards.find(own => own.effect === effect);
            (card.disabled || card.parentElement.hidden ? search : card).focus();
        },
    };
}
