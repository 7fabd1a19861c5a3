// Pictures (see door.js) as the screen shows them, made smaller, and made from what the browser has decoded. Arithmetic
// alone; it runs in workers.

import {rowBytes, maskRowBytes} from './door.js';

const bitOf = (bytes, start, x) => bytes[start + (x >> 3)] >> (7 - (x & 7)) & 1;

// Colours as numbers for a Uint32Array over RGBA bytes, opaque.
function coloursOf(picture) {
    const opaque = (r, g, b) => (255 << 24 | b << 16 | g << 8 | r) >>> 0;
    if (picture.type === '1-bit') return Uint32Array.of(opaque(0, 0, 0), opaque(255, 255, 255));
    if (picture.type === 'grey') return Uint32Array.from({length: 256}, (_, i) => opaque(i, i, i));
    const {palette} = picture, colours = new Uint32Array(256).fill(opaque(0, 0, 0));
    for (let i = 0; i < palette.length / 3; ++i) {
        colours[i] = opaque(palette[3 * i], palette[3 * i + 1], palette[3 * i + 2]);
    }
    return colours;
}

function fillColours(picture, words) {
    const {type, width, height, pixels} = picture;
    if (type === 'RGB') {
        for (let i = 0, at = 0; i < words.length; ++i, at += 3) {
            words[i] = 255 << 24 | pixels[at + 2] << 16 | pixels[at + 1] << 8 | pixels[at];
        }
        return;
    }
    const colours = coloursOf(picture);
    if (type !== '1-bit') {
        for (let i = 0; i < words.length; ++i) words[i] = colours[pixels[i]];
        return;
    }
    const stride = rowBytes(type, width);
    for (let y = 0, i = 0; y < height; ++y) {
        for (let x = 0; x < width; ++x, ++i) words[i] = colours[bitOf(pixels, y * stride, x)];
    }
}

function fillAlpha(picture, bytes) {
    const {width, height, mask, maskBits} = picture;
    const stride = maskRowBytes(maskBits, width);
    for (let y = 0, at = 3; y < height; ++y) {
        for (let x = 0; x < width; ++x, at += 4) {
            bytes[at] = maskBits === 8 ? mask[y * stride + x] : 255 * bitOf(mask, y * stride, x);
        }
    }
}

// ImageData of the whole picture; its mask is the alpha.
export function imageDataOf(picture) {
    const bytes = new Uint8ClampedArray(4 * picture.width * picture.height);
    fillColours(picture, new Uint32Array(bytes.buffer));
    if (picture.mask) fillAlpha(picture, bytes);
    return new ImageData(bytes, picture.width, picture.height);
}

//---- Smaller pictures

const MOST_SAMPLES = 4;   // of a box's edge: more of them are not seen

function averaged(pixels, samples, stride, step, x, y, c) {
    const count = Math.min(step, MOST_SAMPLES), hop = step / count;
    let sum = 0;
    for (let j = 0; j < count; ++j) {
        const row = (y * step + Math.floor(j * hop)) * stride;
        for (let i = 0; i < count; ++i) sum += pixels[row + samples * (x * step + Math.floor(i * hop)) + c];
    }
    return Math.round(sum / (count * count));
}

function reducedSamples(pixels, samples, stride, step, width, height) {
    const made = new Uint8Array(samples * width * height);
    for (let y = 0, at = 0; y < height; ++y) {
        for (let x = 0; x < width; ++x) {
            for (let c = 0; c < samples; ++c) made[at++] = averaged(pixels, samples, stride, step, x, y, c);
        }
    }
    return made;
}

function pickedBytes(pixels, stride, step, width, height) {
    const made = new Uint8Array(width * height), middle = step >> 1;
    for (let y = 0, at = 0; y < height; ++y) {
        for (let x = 0; x < width; ++x) made[at++] = pixels[(y * step + middle) * stride + x * step + middle];
    }
    return made;
}

function pickedBits(pixels, stride, step, width, height) {
    const own = rowBytes('1-bit', width), made = new Uint8Array(own * height), middle = step >> 1;
    for (let y = 0; y < height; ++y) {
        for (let x = 0; x < width; ++x) {
            if (bitOf(pixels, (y * step + middle) * stride, x * step + middle)) made[y * own + (x >> 3)] |= 128 >> (x & 7);
        }
    }
    return made;
}

// How many pixels along an edge become one, so that none is much longer than `edge`; 1 where it is small enough.
export function reducingStep({width, height}, edge) {
    const step = Math.max(1, Math.floor(Math.max(width, height) / edge));
    return Math.min(width, height) < step ? 1 : step;
}

// {picture, step}: every step x step pixels become one, so that no edge is much longer than `edge`. The type stays: colours
// and greys are averaged, indices and bits picked.
export function reducePicture(picture, edge) {
    const step = reducingStep(picture, edge);
    if (step === 1) return {picture, step};
    const width = Math.floor(picture.width / step), height = Math.floor(picture.height / step);
    const stride = rowBytes(picture.type, picture.width);
    const size = [step, width, height];
    const pixels = picture.type === 'RGB' ? reducedSamples(picture.pixels, 3, stride, ...size)
        : picture.type === 'grey' ? reducedSamples(picture.pixels, 1, stride, ...size)
        : picture.type === 'palette' ? pickedBytes(picture.pixels, stride, ...size)
        : pickedBits(picture.pixels, stride, ...size);
    const maskStride = picture.mask ? maskRowBytes(picture.maskBits, picture.width) : 0;
    const mask = !picture.mask ? null
        : (picture.maskBits === 8 ? pickedBytes : pickedBits)(picture.mask, maskStride, ...size);
    return {picture: {...picture, width, height, pixels, mask, source: null}, step};
}

//---- Parts

function cutBytes(bytes, samples, stride, {x, y, width, height}) {
    const made = new Uint8Array(samples * width * height);
    for (let row = 0; row < height; ++row) {
        const from = (y + row) * stride + samples * x;
        made.set(bytes.subarray(from, from + samples * width), row * samples * width);
    }
    return made;
}

function cutBits(bytes, stride, {x, y, width, height}) {
    const own = rowBytes('1-bit', width), made = new Uint8Array(own * height);
    for (let row = 0; row < height; ++row) {
        for (let column = 0; column < width; ++column) {
            if (bitOf(bytes, (y + row) * stride, x + column)) made[row * own + (column >> 3)] |= 128 >> (column & 7);
        }
    }
    return made;
}

// A part {x, y, width, height}, which lies within the picture, as a picture of its own.
export function cutPicture(picture, part) {
    const {type, pixels, mask, maskBits} = picture, stride = rowBytes(type, picture.width);
    const maskStride = mask ? maskRowBytes(maskBits, picture.width) : 0;
    return {...picture, width: part.width, height: part.height, source: null,
        pixels: type === '1-bit' ? cutBits(pixels, stride, part) : cutBytes(pixels, type === 'RGB' ? 3 : 1, stride, part),
        mask: !mask ? null : maskBits === 1 ? cutBits(mask, maskStride, part) : cutBytes(mask, 1, maskStride, part)};
}

// What two parts share; null where that is nothing.
export function sharedPart(one, other) {
    const x = Math.max(one.x, other.x), y = Math.max(one.y, other.y);
    const width = Math.min(one.x + one.width, other.x + other.width) - x;
    const height = Math.min(one.y + one.height, other.y + other.height) - y;
    return width > 0 && height > 0 ? {x, y, width, height} : null;
}

// A part with so many pixels around, and at least twice so many wide and high, as far as the picture has them.
export function widenPart(part, reach, {width, height}) {
    const widen = (begin, count, whole) => {
        const end = Math.min(Math.max(begin + count + reach, begin + reach), whole);
        const from = Math.max(Math.min(begin - reach, end - 2 * reach), 0);
        return [from, Math.min(Math.max(end, from + 2 * reach), whole) - from];
    };
    const [x, wide] = widen(part.x, part.width, width), [y, high] = widen(part.y, part.height, height);
    return {x, y, width: wide, height: high};
}

//---- From the browser

// An RGB picture of ImageData; an alpha that is not 255 everywhere becomes its mask.
export function pictureOfImageData({data, width, height}) {
    const count = width * height, pixels = new Uint8Array(3 * count), mask = new Uint8Array(count);
    let opaque = true;
    for (let i = 0, from = 0, to = 0; i < count; ++i, from += 4) {
        pixels[to++] = data[from];
        pixels[to++] = data[from + 1];
        pixels[to++] = data[from + 2];
        mask[i] = data[from + 3];
        if (mask[i] !== 255) opaque = false;
    }
    return {type: 'RGB', width, height, pixels, mask: opaque ? null : mask, maskBits: opaque ? 0 : 8, palette: null,
        format: null, source: null};
}
