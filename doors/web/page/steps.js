// Steps as text: the command line's words, one step a line. Values are texts by the settings' names.

// Words as a POSIX shell splits them.
export function splitWords(line) {
    const words = [];
    for (const [whole] of line.matchAll(/(?:'[^']*'|"(?:\\.|[^"\\])*"|\\.|[^\s'"\\])+/g)) {
        words.push(whole.replace(/'([^']*)'|"((?:\\.|[^"\\])*)"|\\(.)/g, (_, single, double, escaped) =>
            single ?? (double !== undefined ? double.replace(/\\(["\\$`])/g, '$1') : escaped)));
    }
    return words;
}

export function quoteWord(word) {
    return /^[\w@%+=:,./#-]+$/.test(word) && !word.startsWith('#') ? word : `'${word.replaceAll("'", "'\\''")}'`;
}

// {name, values, seed, area} of a line; `seed` and `area` are texts or null.
export function parseLine(line) {
    const [name, ...words] = splitWords(line);
    const values = {};
    for (let i = 0; i < words.length; ++i) {
        const [, option, joined] = words[i].match(/^--([^=]+)(?:=(.*))?$/s) ?? [];
        if (!option) continue;
        if (joined !== undefined) {
            values[option] = joined;
            continue;
        }
        const given = [];
        while (i + 1 < words.length && !words[i + 1].startsWith('--')) given.push(words[++i]);
        values[option] = given.join(' ');
    }
    const {seed = null, area = null, ...own} = values;
    return {name, values: own, seed, area};
}

export const defaultsOf = effect => Object.fromEntries(effect.settings.map(setting => [setting.name, setting.default]));

// A kernel sets what else the dialog holds, so where one is given, those are too.
export const BROUGHT = ['divisor', 'bias', 'combine-mode'];
function isGiven(effect, setting, values) {
    if (setting.kind === 'file') return Boolean(values[setting.name]);
    if (values[setting.name] !== setting.default) return true;
    const brought = effect.settings.some(other =>
        other.kind === 'kernel' && values[other.name] !== undefined && values[other.name] !== other.default);
    return brought && !values.load && BROUGHT.includes(setting.name);
}

// The line of an effect with values, without those that are the defaults.
export function makeLine(effect, values, {seed = null, area = null} = {}) {
    const words = [effect.name];
    for (const setting of effect.settings) {
        const value = values[setting.name];
        if (value === undefined || !isGiven(effect, setting, values)) continue;
        words.push(`--${setting.name}`, quoteWord(String(value)));
    }
    if (seed !== null && effect.draws) words.push('--seed', String(seed));
    if (area) words.push('--area', `${area.x},${area.y},${area.width}x${area.height}`);
    return words.join(' ');
}

// The same on a picture of which every step x step pixels have become one: what is told in pixels shrinks with it.
export function reduceValues(effect, values, step) {
    if (step === 1) return values;
    const reduced = {...values};
    for (const {name, kind, unit, low} of effect.settings) {
        if (kind === 'number' && unit === 'pixels') {
            reduced[name] = String(Math.max(low, Math.round(Number(values[name]) / step)));
        }
    }
    return reduced;
}

export function reduceArea(area, step) {
    if (!area || step === 1) return area;
    return {x: Math.floor(area.x / step), y: Math.floor(area.y / step),
        width: Math.max(1, Math.round(area.width / step)), height: Math.max(1, Math.round(area.height / step))};
}

// The line with a seed, where its effect draws and it has none.
export function withSeed(effect, line, seed) {
    return effect?.draws && parseLine(line).seed === null ? `${line} --seed ${seed}` : line;
}

// The command that makes the same file; of one with several pages or frames from all, or from `page` alone.
export function commandOf(lines, input, output, page = 0) {
    const [first, ...others] = lines.map(line => [line.match(/^\S+/)[0], line.slice(line.match(/^\S+/)[0].length).trim()]);
    const then = others.map(([name, rest]) => ` --then ${name}${rest && ' '}${rest}`).join('');
    return `velmorant apply ${first[0]} ${quoteWord(input)} ${quoteWord(output)}${first[1] && ' '}${first[1]}${then}${page ? ` --page ${page}` : ''}`;
}
