// The door in JavaScript: applies with an instance of one module, decodes and encodes with one of the other, on the thread
// that it is called on. The page's workers and programs in node stand on it; it knows nothing of pages, workers or the
// network.
//
// A picture is a plain record, of which nothing is changed here:
//     type      "1-bit", "palette", "grey" or "RGB"
//     width, height
//     pixels    Uint8Array without gaps between rows: eight pixels a byte, an index, a grey, or red, green, blue
//     mask      Uint8Array or null: what the effects may change (alpha); `maskBits` of 8 or 1 bits a pixel
//     palette   Uint8Array of red, green, blue per entry, for palette pictures; else null
//     format    the name of the format it was read in; null for a picture that was made otherwise
//     source    Uint8Array or null: the file it was read from, which says what goes with the pixels into the next one
//     page      which page or frame of that file it is, from 1, if it is one of several; else missing. Where the format that
//               it is encoded in holds several, it goes back among the others, which stay as they are
//     further   the pages or frames behind it, records with type to palette alone; missing where there are none
//
// Every routine throws an Error with a `code` (a number of velmorant.h) where that library refuses. Any other exception
// means that the instance is past use: a picture may have been too large for its memory.

export const TYPES = ['1-bit', 'palette', 'grey', 'RGB'];

// Bytes of a picture's or a mask's row.
export function rowBytes(type, width) {
    return type === '1-bit' ? Math.ceil(width / 8) : type === 'RGB' ? 3 * width : width;
}
export const maskRowBytes = (bits, width) => (bits === 1 ? Math.ceil(width / 8) : width);

const refuse = module => {
    const error = new Error(module.UTF8ToString(module._vlm_error_line()));
    error.code = module._vlm_error_code();
    throw error;
};

// Calls `work` with a routine that lends the module memory: bytes, or so many zero ones; 0 for null.
function withMemory(module, work) {
    const lent = [];
    const lend = what => {
        if (what === null || what === undefined) return 0;
        const count = typeof what === 'number' ? what : what.length;
        const place = module._malloc(Math.max(count, 1));
        if (!place) throw new Error('out of memory');
        lent.push(place);
        if (typeof what !== 'number') module.HEAPU8.set(what, place);
        return place;
    };
    try {
        return work(lend);
    } finally {
        for (const place of lent) module._free(place);
    }
}

const textBytes = text => new TextEncoder().encode(text + '\0');
const copyOut = (module, place, count) => module.HEAPU8.slice(place, place + count);

function noticesOf(module) {
    const count = module._vlm_notice_count();
    return Array.from({length: count}, (_, i) => module.UTF8ToString(module._vlm_notice(i)));
}

//---- Pictures between here and the module

function decodeThere(module, bytes, page = 0) {
    const there = withMemory(module, lend => module._web_decode(lend(bytes), bytes.length, page));
    return there || refuse(module);
}

function pageThere(module, picture) {
    const there = withMemory(module, lend =>
        module._web_picture(TYPES.indexOf(picture.type), picture.width, picture.height, lend(picture.pixels),
            lend(picture.mask), picture.maskBits, lend(picture.palette), picture.palette ? picture.palette.length / 3 : 0));
    return there || refuse(module);
}

function pageHere(module, there) {
    const type = TYPES[module._vlm_picture_type(there)];
    const width = module._vlm_picture_width(there), height = module._vlm_picture_height(there);
    const maskBits = module._vlm_picture_mask_bits(there);
    const count = rowBytes(type, width) * height, maskCount = maskBits ? maskRowBytes(maskBits, width) * height : 0;
    return withMemory(module, lend => {
        const pixels = lend(count), mask = maskCount ? lend(maskCount) : 0;
        if (module._web_planes(there, pixels, mask)) refuse(module);
        const entries = type === 'palette' ? module._vlm_picture_palette_entries(there) : 0;
        return {
            type, width, height, maskBits,
            pixels: copyOut(module, pixels, count),
            mask: mask ? copyOut(module, mask, maskCount) : null,
            palette: entries ? copyOut(module, module._vlm_picture_palette(there), 3 * entries) : null,
        };
    });
}

function withPicture(module, there, work) {
    try {
        return work(there);
    } finally {
        module._vlm_picture_free(there);
    }
}

const withPage = (module, there, index, work) => withPicture(module, module._web_page(there, index) || refuse(module), work);

// All its pages; `dress(page, index)` is called for each before they come together.
function pictureThere(module, picture, dress = () => {}) {
    const there = pageThere(module, picture);
    try {
        dress(there, 0);
        (picture.further ?? []).forEach((further, i) => withPicture(module, pageThere(module, further), page => {
            dress(page, i + 1);
            if (module._vlm_picture_add_page(there, page)) refuse(module);
        }));
        return there;
    } catch (error) {
        module._vlm_picture_free(there);
        throw error;
    }
}

// All pages, or the first alone where all have more pixels than `most`.
function pictureHere(module, there, {format, source, page}, most = Infinity) {
    const picture = {...pageHere(module, there), format, source, ...(page && {page})}, further = [];
    let pixels = picture.width * picture.height;
    for (let i = 1; i < module._vlm_picture_pages(there); ++i) {
        withPage(module, there, i, one => {
            pixels += module._vlm_picture_width(one) * module._vlm_picture_height(one);
            if (pixels <= most) further.push(pageHere(module, one));
        });
        if (pixels > most) return {...picture, page: 1};
    }
    return further.length ? {...picture, further} : picture;
}

//---- Steps

// Lines of the command line's words; an empty list of steps changes nothing.
function withSteps(module, lines, seed, work) {
    const steps = module._vlm_steps_new();
    try {
        lines.forEach((line, index) => {
            withMemory(module, lend => {
                if (module._vlm_steps_add_line(steps, lend(textBytes(line)))) refuse(module);
            });
            if (seed !== undefined && !/(^|\s)--seed(=|\s)/.test(line)) module._vlm_steps_set_seed(steps, index, seed >>> 0);
        });
        return work(steps);
    } finally {
        module._vlm_steps_free(steps);
    }
}

//---- The two modules

async function start(make, options) {
    // An instance asks for it when it starts. Browsers have it always, node 18 keeps it elsewhere.
    globalThis.crypto ??= (await import('node:crypto')).webcrypto;
    return make(options);
}

// Bytes that the instance has taken; it gives none back before its end.
const memoryOf = module => module.HEAPU8.length;

function takeText(module, text) {
    try {
        return module.UTF8ToString(text);
    } finally {
        module._vlm_free(text);
    }
}

// `make`: what effects.mjs gives; `options`: how it comes by the module's bytes.
export async function openEffects(make, options) {
    const module = await start(make, options);
    return {
        memory: () => memoryOf(module),

        // Effects with their settings, kernels, presets, the version.
        list: () => JSON.parse(takeText(module, module._web_list())),

        // Throws where the effects do not take what the steps say; nothing runs.
        check(lines) {
            withSteps(module, lines, undefined, steps => {
                if (module._vlm_steps_check(steps, 0)) refuse(module);
            });
        },

        // How far around a pixel of a picture of this size a line's effect looks; -1 where other things count too.
        reach(line, width, height) {
            return withSteps(module, [line], undefined, steps => module._vlm_steps_reach(steps, 0, width, height));
        },

        // The lines of a recipe's text, checked; each that draws has the seed that the recipe gives it.
        recipe(text) {
            const there = withMemory(module, lend => module._web_recipe_lines(lend(textBytes(text))));
            if (!there) refuse(module);
            const lines = takeText(module, there).split('\n').filter(Boolean);
            const [seed] = lines[0]?.match(/ --seed \d+/) ?? [''];
            return lines.map(line => (/ --seed /.test(line) ? line : line + seed));
        },

        // Lines as a recipe's text. `files` as below.
        recipeText(lines, {files = {}} = {}) {
            for (const [name, bytes] of Object.entries(files)) module.FS.writeFile(name, bytes);
            return withSteps(module, lines, undefined, steps => {
                const there = module._vlm_recipe_text(steps);
                if (!there) refuse(module);
                return takeText(module, there);
            });
        },

        // {picture, notices}. `seed` is that of all steps without one. `onProgress(step, steps, tenths)` is called while
        // it works. `files`: what settings that name a file find, by name; those that steps write are put there.
        apply(picture, lines, {seed, onProgress, files = {}} = {}) {
            for (const [name, bytes] of Object.entries(files)) module.FS.writeFile(name, bytes);
            const before = new Set(module.FS.readdir('.'));
            module.onProgress = onProgress;
            return withSteps(module, lines, seed, steps => withPicture(module, pictureThere(module, picture), there => {
                if (module._web_apply(steps, there)) refuse(module);
                const notices = noticesOf(module);
                for (const name of module.FS.readdir('.')) {
                    const written = !before.has(name) || name in files;
                    if (!written || !module.FS.isFile(module.FS.stat(name).mode)) continue;
                    files[name] = module.FS.readFile(name);
                    module.FS.unlink(name);
                }
                return {picture: pictureHere(module, there, picture), notices, files};
            }));
        },
    };
}

// One page in its place among the others of its file.
function amongOthers(module, picture) {
    const whole = decodeThere(module, picture.source), index = picture.page - 1;
    try {
        withPicture(module, pageThere(module, picture), page => withPage(module, whole, index, own => {
            if (module._vlm_picture_take_metadata(page, own) || module._vlm_picture_set_page(whole, index, page)) refuse(module);
        }));
        return whole;
    } catch (error) {
        module._vlm_picture_free(whole);
        throw error;
    }
}

// With what the picture's file says besides pixels, of each page its own; with the file's other pages where it is one of
// them and `format` holds several.
function dressedThere(module, picture, format) {
    if (!picture.source) return pictureThere(module, picture);
    const holdsSeveral = name => JSON.parse(takeText(module, module._web_formats())).find(own => own.name === name)?.holdsSeveral;
    if (picture.page && !picture.further && holdsSeveral(format)) return amongOthers(module, picture);
    const first = picture.further ? 0 : picture.page ?? 1;
    return withPicture(module, decodeThere(module, picture.source, first), source =>
        pictureThere(module, picture, (page, index) => withPage(module, source, index, own =>
            module._vlm_picture_take_metadata(page, own))));
}

// `make`: what formats.mjs gives; `options` as above.
export async function openFormats(make, options) {
    const module = await start(make, options);
    return {
        memory: () => memoryOf(module),

        // Each with its name, endings and type.
        formats: () => JSON.parse(takeText(module, module._web_formats())),

        // {picture, notices, pages} from the bytes of a file, with all `pages` or frames, or the first alone where all have more
        // than `most` pixels.
        decode(bytes, {most} = {}) {
            return withPicture(module, decodeThere(module, bytes), there => {
                const notices = noticesOf(module), pages = module._vlm_picture_pages(there);
                const format = module.UTF8ToString(module._web_format(there));
                return {picture: pictureHere(module, there, {format, source: bytes}, most), notices, pages};
            });
        },

        // {bytes, notices}: a file. Without `format` it is that which the picture was read in, or PNG; `quality` 1..100.
        encode(picture, {format, quality = 0} = {}) {
            const name = format || picture.format || 'png';
            return withPicture(module, dressedThere(module, picture, name), there => {
                const bytes = withMemory(module, lend => module._web_encode(there, lend(textBytes(name)), quality));
                if (!bytes) refuse(module);
                const notices = noticesOf(module);
                const count = module._web_encoded_count();
                const copy = copyOut(module, bytes, count);
                module._vlm_free(bytes);
                return {bytes: copy, notices};
            });
        },
    };
}
