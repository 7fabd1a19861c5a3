// speed.mjs [EFFECT...]: what the module takes for each effect, or for these, against the native build, in processor time,
// on a picture of 12 megapixels; for docs/web.md. The command line's time has the reading and writing of a PNM file in it.

import {spawnSync} from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import {fileURLToPath} from 'node:url';

import {loadDoor, temporary} from './native.mjs';
import {drawLarge} from './pictures.mjs';

const root = fileURLToPath(new URL('../../../', import.meta.url));
const door = await loadDoor();
const picture = drawLarge(4000, 3000);
const input = path.join(temporary, 'in.ppm'), output = path.join(temporary, 'out.ppm');
fs.writeFileSync(input, door.encode(picture, {format: 'pnm'}).bytes);

const least = (count, measure) => Math.min(...Array.from({length: count}, measure));

function nativeTime(words) {
    const {status, stderr} = spawnSync('/usr/bin/python3', ['-c', `
import resource, subprocess, sys
subprocess.run(sys.argv[1:], check=True)
used = resource.getrusage(resource.RUSAGE_CHILDREN)
print(used.ru_utime + used.ru_stime, file=sys.stderr)`, path.join(root, 'build/release/bin/velmorant'), 'apply', ...words, '--quiet']);
    if (status) throw new Error(String(stderr));
    return 1000 * Number(stderr);
}

function moduleTime(line) {
    const before = process.cpuUsage();
    door.apply(picture, [line]);
    const {user, system} = process.cpuUsage(before);
    return (user + system) / 1000;
}

const wordsOf = line => [...line.matchAll(/'([^']*)'|(\S+)/g)].map(match => match[1] ?? match[2]);
console.log('| effect | native ms | module ms | ratio |\n|---|---|---|---|');
const wanted = process.argv.slice(2);
for (const effect of door.list().effects.filter(({name}) => !wanted.length || wanted.includes(name))) {
    const line = `${effect.name} ${effect.example} --seed 1`, words = wordsOf(line);
    const native = least(3, () => nativeTime([words[0], input, output, ...words.slice(1)]));
    const made = least(3, () => moduleTime(line));
    console.log(`| ${effect.title} | ${Math.round(native)} | ${Math.round(made)} | ${(made / native).toFixed(2)} |`);
}
