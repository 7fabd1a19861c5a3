// example.mjs IN OUT: an old print of a picture, in node.

import {readFile, writeFile} from 'node:fs/promises';

import {apply, decode, encode} from '@velmorant/effects';

const [input, output] = process.argv.slice(2);
const picture = await decode(await readFile(input));
const steps = [
    {effect: 'noise', amount: 40, variation: 25},
    {effect: 'filters', kernel: 'Gaussian 3 by 3'},
    'solarize --threshold 200',
];
const made = await apply(picture, steps, {
    seed: 1,
    onProgress: ({step, steps: count, tenths}) => console.log(`step ${step + 1} of ${count}: ${10 * tenths} %`),
});
await writeFile(output, await encode(made));
