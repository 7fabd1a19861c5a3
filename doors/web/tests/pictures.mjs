// Pictures for the tests, drawn by arithmetic: odd sizes, every type, with and without a mask.

import {rowBytes, maskRowBytes} from '../package/door.js';
import {parseLine, quoteWord} from '../page/steps.js';

const wave = (x, y, phase) => Math.round(127.5 + 127.5 * Math.sin(x / 7 + phase) * Math.cos(y / 5 - phase));

function pixelsOf(type, width, height) {
    const stride = rowBytes(type, width), pixels = new Uint8Array(stride * height);
    for (let y = 0; y < height; ++y) {
        for (let x = 0; x < width; ++x) {
            if (type === 'RGB') for (let c = 0; c < 3; ++c) pixels[y * stride + 3 * x + c] = wave(x, y, c + (x + y) / 40);
            else if (type === 'grey') pixels[y * stride + x] = wave(x, y, 1);
            else if (type === 'palette') pixels[y * stride + x] = wave(x, y, 2) % 40;
            else if (wave(x, y, 3) > 120) pixels[y * stride + (x >> 3)] |= 128 >> (x & 7);
        }
    }
    return pixels;
}

export function drawPicture(type, width, height, masked = false) {
    const maskBits = !masked ? 0 : type === 'RGB' || type === 'grey' ? 8 : 1;
    const mask = maskBits ? new Uint8Array(maskRowBytes(maskBits, width) * height) : null;
    if (mask) mask.forEach((_, i) => { mask[i] = i * 5 & 255; });
    const palette = type === 'palette' ? Uint8Array.from({length: 120}, (_, i) => i * 53 % 256) : null;
    return {type, width, height, pixels: pixelsOf(type, width, height), mask, maskBits, palette, format: null, source: null};
}

// A large RGB picture: a smaller one again and again.
export function drawLarge(width, height) {
    const part = drawPicture('RGB', 400, 300), pixels = new Uint8Array(3 * width * height);
    for (let y = 0; y < height; ++y) {
        const row = part.pixels.subarray(1200 * (y % 300), 1200 * (y % 300 + 1));
        for (let x = 0; x < width; x += 400) pixels.set(row.subarray(0, 3 * Math.min(400, width - x)), 3 * (y * width + x));
    }
    return {...part, width, height, pixels};
}

// A colour profile of four inks that knows the sixteen colours of full ones upon each other, and what lies between them.
function inkProfile() {
    const table = Buffer.alloc(52 + 8 * 2 + 16 * 6 + 6 * 2);
    table.write('mft2', 'latin1');
    table.set([4, 3, 2, 0], 8);
    for (let i = 0; i < 9; i += 4) table.writeUInt32BE(0x10000, 12 + 4 * i);
    table.writeUInt16BE(2, 48);
    table.writeUInt16BE(2, 50);
    for (let i = 0; i < 4; ++i) table.writeUInt32BE(0xffff, 52 + 4 * i);
    for (let node = 0; node < 16; ++node) {
        const [cyan, magenta, yellow, black] = [8, 4, 2, 1].map(bit => (node & bit ? 1 : 0)), light = 1 - black;
        const l = 100 * light * (1 - 0.35 * cyan) * (1 - 0.45 * magenta) * (1 - 0.08 * yellow);
        const a = light * (45 * magenta - 25 * cyan), b = light * (50 * yellow - 30 * cyan - 4 * magenta);
        [l * 652.8, (a + 128) * 256, (b + 128) * 256].forEach((value, i) => table.writeUInt16BE(Math.round(value), 68 + 6 * node + 2 * i));
    }
    for (let i = 0; i < 3; ++i) table.writeUInt32BE(0xffff, 164 + 4 * i);
    const head = Buffer.alloc(144);
    head.writeUInt32BE(144 + table.length);
    head.writeUInt32BE(0x02400000, 8);
    head.write('prtrCMYKLab ', 12, 'latin1');
    [2024, 1, 1].forEach((part, i) => head.writeUInt16BE(part, 24 + 2 * i));
    head.write('acsp', 36, 'latin1');
    [0x0000f6d6, 0x00010000, 0x0000d32d].forEach((white, i) => head.writeUInt32BE(white, 68 + 4 * i));
    head.writeUInt32BE(1, 128);
    head.write('A2B0', 132, 'latin1');
    head.writeUInt32BE(144, 136);
    head.writeUInt32BE(table.length, 140);
    return Buffer.concat([head, table]);
}

// A TIFF file of grey pages or, with `samples` 4, of inks with their profile; as plain as can be. `levelOf(page, i)` is its
// i-th byte.
export function drawTiff(pages, width, height, samples, levelOf) {
    const size = samples * width * height, profile = samples === 4 ? inkProfile() : Buffer.alloc(0);
    const begin = 8 + samples * 2 + profile.length, count = 9 + (samples === 4 ? 1 : 0), directory = 2 + count * 12 + 4;
    const file = Buffer.alloc(begin + pages * (size + directory));
    file.write('II*\0', 'latin1');
    for (let i = 0; i < samples; ++i) file.writeUInt16LE(8, 8 + 2 * i);
    profile.copy(file, 8 + 2 * samples);
    let link = 4;
    for (let page = 0; page < pages; ++page) {
        const strip = begin + page * (size + directory);
        for (let i = 0; i < size; ++i) file[strip + i] = levelOf(page, i);
        let at = strip + size;
        file.writeUInt32LE(at, link);
        const fields = [[256, width], [257, height], [258, 8, samples], [259, 1], [262, samples === 4 ? 5 : 1],
            [273, strip], [277, samples], [278, height], [279, size]];
        if (samples === 4) fields.push([34675, 8 + 2 * samples, profile.length]);
        file.writeUInt16LE(count, at);
        at += 2;
        for (const [tag, value, several = 1] of fields) {
            file.writeUInt16LE(tag, at);
            file.writeUInt16LE(tag === 34675 ? 7 : several > 1 ? 3 : 4, at + 2);
            file.writeUInt32LE(several, at + 4);
            file.writeUInt32LE(value, at + 8);
            at += 12;
        }
        link = at;
    }
    return file;
}

// A line with settings that are not the defaults: the effect's own example, and of every number that it leaves at its
// default another value within the range.
export function tryingLine(effect, seed) {
    const {values} = parseLine(`${effect.name} ${effect.example}`);
    for (const {name, kind, shared, low, high, default: usual} of effect.settings) {
        if (shared || kind !== 'number' || values.kernel || (values[name] ?? usual) !== usual) continue;
        const up = Number(usual) + Math.max(1, Math.floor((high - low) / 8));
        values[name] = String(up <= high ? up : Math.max(low, Number(usual) - 1));
    }
    const words = Object.entries(values).map(([name, value]) => `--${name} ${quoteWord(value)}`);
    return [effect.name, ...words, `--seed ${seed}`].join(' ');
}
