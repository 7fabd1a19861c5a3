// Pictures into the page and out of it: files of the formats that the library reads, what only the browser decodes, the
// clipboard, downloads.

import {decodeByBrowser} from './decoded.js';
import list from './list.js';
import {texts} from './texts.js';

export const MOST_PIXELS = 50e6;

export const formats = list.formats.map(({name, mime, endings, holdsSeveral}) =>
    ({name, mime, ending: endings.split(' ')[0], endings, holdsSeveral}));

const startOf = bytes => String.fromCharCode(...bytes.subarray(0, 4));

function checkSize(name, {width, height}) {
    if (width * height > MOST_PIXELS) throw new Error(texts.tooLarge(name, width, height));
}

// Sizes as the heads of PNG, BMP, GIF and JPEG files tell them, so that nothing is unpacked in vain; null where they do not.
function sizeInHead(bytes) {
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    if (startOf(bytes) === '\x89PNG' && bytes.length > 24) return {width: view.getUint32(16), height: view.getUint32(20)};
    if (startOf(bytes).startsWith('BM') && bytes.length > 26 && view.getUint32(14, true) >= 40) {   // older heads are shorter
        return {width: Math.abs(view.getInt32(18, true)), height: Math.abs(view.getInt32(22, true))};
    }
    if (startOf(bytes) === 'GIF8' && bytes.length > 10) return {width: view.getUint16(6, true), height: view.getUint16(8, true)};
    if (bytes[0] !== 0xff || bytes[1] !== 0xd8) return null;
    for (let at = 2; at + 9 < bytes.length && bytes[at] === 0xff; at += 2 + view.getUint16(at + 2)) {
        const marker = bytes[at + 1], isFrame = marker >= 0xc0 && marker <= 0xcf && ![0xc4, 0xc8, 0xcc].includes(marker);
        if (isFrame) return {width: view.getUint16(at + 7), height: view.getUint16(at + 5)};
    }
    return null;
}

// The beginnings of files that the library reads: where it refuses one, that is damaged, or beyond what it does.
const OWN_BEGINNING = /^(\x89PNG|BM|GIF8|RIFF|II[*+]\0|MM\0[*+]|\xff\xd8\xff|P[1-7]\s)/;

// {picture, bitmap, notices} of a File or Blob: the bitmap shows its first page or frame. Throws an Error with a line for a
// person.
export async function readPicture(workers, file, name) {
    const bytes = new Uint8Array(await file.arrayBuffer());
    const size = sizeInHead(bytes);
    if (size) checkSize(name, size);
    let refused;
    try {
        const read = await workers.run('decode', {bytes: bytes.slice(), most: MOST_PIXELS}, {urgency: 9});
        checkSize(name, read.picture);
        if (read.picture.page) read.notices.push(texts.onlyFirst(name, read.pages));
        return read;
    } catch (error) {
        if (!error.code || OWN_BEGINNING.test(startOf(bytes))) throw error;
        refused = error;
    }
    try {
        return {...await decodeByBrowser(file, bitmap => checkSize(name, bitmap)), notices: [texts.metadataGone]};
    } catch (error) {
        if (error.message.includes(name)) throw error;
        throw new Error(texts.notAPicture(name, refused.message), {cause: error});
    }
}

// {blob, format, notices} of a picture, in a format of `formats` by its name, or null for that in which the picture came.
export async function writePicture(workers, picture, format) {
    const name = format ?? picture.format ?? 'png';
    const {bytes, notices} = await workers.run('encode', {format: name}, {picture, urgency: 9});
    const known = formats.find(({name: own}) => own === name);
    // Firefox gives a file the ending of its type; .pbm, .pgm and .ppm are one format here.
    const type = name === 'pnm' ? 'application/octet-stream' : known.mime;
    return {blob: new Blob([bytes], {type}), format: known, notices};
}

// The name with the format's ending, unless it has one of that format's already.
export function nameFor(name, format) {
    const [, stem, ending = ''] = name.match(/^(.*?)(?:\.([^.]*))?$/s);
    const endings = (format.endings ?? format.ending).split(' ');
    return endings.includes(ending.toLowerCase()) ? name : `${stem || 'picture'}.${format.ending}`;
}

export function download(blob, name) {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(blob);
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

export async function copyToClipboard(workers, picture) {
    // As a promise: a browser lets the page write for a moment after a person has asked, and a large picture takes longer.
    const blob = writePicture(workers, picture, 'png').then(written => written.blob);
    await navigator.clipboard.write([new ClipboardItem({'image/png': blob})]);
}

// The first picture of the clipboard as a Blob, or null.
export async function readClipboard() {
    for (const item of await navigator.clipboard.read()) {
        const type = item.types.find(own => own.startsWith('image/'));
        if (type) return item.getType(type);
    }
    return null;
}
