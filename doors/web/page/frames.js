// The pages or frames of what was opened, mostly one: which of them is shown, and what of them is saved.

import {formats} from './files.js';
import {texts} from './texts.js';

export const formatOf = picture => formats.find(format => format.name === picture.format) ?? formats[0];

const FIELDS = ['frame', 'frame-range'];

// `at(id)`: an element of the page; `changed()`: another one is shown, whose bitmap its state has.
export function makeFrames(at, {history, workers, changed}) {
    let shown = 0;
    const areFrames = () => formatOf(history.current().pages[0]).name !== 'tiff';
    const word = () => (areFrames() ? texts.frame : texts.page);

    const frames = {
        // Its number from 0, and its picture.
        shown: () => shown,
        picture: () => history.current().pages[shown],

        // For a file that has been opened.
        begin() {
            const count = history.current().pages.length;
            shown = 0;
            at('frame-row').hidden = count === 1;
            at('frame-name').textContent = word();
            at('frame-count').textContent = texts.frameOf(count);
            for (const id of FIELDS) Object.assign(at(id), {max: count, value: 1});
        },

        // Shows one; of a state that was left at another one what shows it is made anew.
        async show(index = shown) {
            const state = history.current();
            shown = index;
            for (const id of FIELDS) at(id).value = index + 1;
            if (state.frame !== index) {
                const {bitmap} = await workers.run('show', {}, {picture: state.pages[index], urgency: 9});
                if (state !== history.current() || shown !== index || state.frame === index) return bitmap.close();
                const previous = state.bitmap;
                Object.assign(state, {bitmap, frame: index});
                changed();
                previous.close();
            } else changed();
            document.body.dataset.frame = String(index + 1);
        },

        // How many there are, as a text; empty for one.
        count() {
            const {length} = history.current().pages;
            return length === 1 ? '' : (areFrames() ? texts.frames : texts.pages)(length);
        },

        // What is saved in a format: all, or where it holds but one that which is shown. Without one, as it came.
        toSave(format) {
            const {pages} = history.current(), known = formats.find(({name}) => name === format) ?? formatOf(pages[0]);
            if (pages.length === 1) return pages[0];
            if (known.holdsSeveral) return {...pages[0], further: pages.slice(1)};
            return {...pages[shown], source: pages[0].source, page: shown + 1};
        },

        // What is lost is told before anything is saved.
        tellFormat() {
            const format = formats.find(({name}) => name === at('format').value);
            const {pages} = history.current(), isOneOfSeveral = pages.length > 1 || Boolean(pages[0].page);
            const isLost = format && isOneOfSeveral && !format.holdsSeveral;
            at('format-notice').hidden = !isLost;
            at('format-notice').textContent = isLost
                ? texts.onlyShown(format.name.toUpperCase(), `${word()} ${shown + 1}`.toLowerCase()) : '';
        },
    };
    for (const id of FIELDS) {
        at(id).oninput = () => {
            const index = Math.trunc(Number(at(id).value)) - 1;
            if (index >= 0 && index < history.current().pages.length) frames.show(index);
        };
    }
    return frames;
}
