// What the page remembers on this machine: each effect's last values, and a person's presets, as lines. Where the browser
// keeps nothing for the page, nothing is remembered.

function read(key) {
    try {
        return JSON.parse(localStorage.getItem(key)) ?? {};
    } catch {
        return {};
    }
}

function write(key, value) {
    try {
        localStorage.setItem(key, JSON.stringify(value));
    } catch {
        // A private window, or no room.
    }
}

const LAST = 'last-lines', PRESETS = 'presets';

export const lastLine = effect => read(LAST)[effect.name] ?? null;
export const keepLast = (effect, line) => write(LAST, {...read(LAST), [effect.name]: line});

// Lines by their names.
export const presetsOf = effect => read(PRESETS)[effect.name] ?? {};
export function keepPreset(effect, name, line) {
    const all = read(PRESETS);
    write(PRESETS, {...all, [effect.name]: {...all[effect.name], [name]: line}});
}
export function forgetPreset(effect, name) {
    const all = read(PRESETS);
    delete all[effect.name]?.[name];
    write(PRESETS, all);
}
