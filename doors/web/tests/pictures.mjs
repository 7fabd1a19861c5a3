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
