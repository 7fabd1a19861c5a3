// assemble.mjs MODULES FOLDER LICENCES: puts the page together in FOLDER from what stands here and the modules that the
// build has made: the list of effects as a script, icons drawn by the effects themselves, the licences (a file of those of
// others), and a service worker that knows what all that is.

import {createHash} from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import {fileURLToPath} from 'node:url';

import {copyModules, listOf, openModules, openToAll} from './modules.mjs';
import {drawSample} from './page/sample.js';

const here = path.dirname(fileURLToPath(import.meta.url));
const [modules, folder, licences] = process.argv.slice(2).map(name => path.resolve(name));
fs.rmSync(folder, {recursive: true, force: true});
fs.mkdirSync(folder, {recursive: true});

const write = (name, content) => fs.writeFileSync(path.join(folder, name), content);

copyModules(modules, folder);
fs.copyFileSync(licences, path.join(folder, 'licences-of-others.txt'));
fs.copyFileSync(path.join(here, '../../LICENSE'), path.join(folder, 'LICENSE.txt'));
for (const name of fs.readdirSync(path.join(here, 'page'))) fs.copyFileSync(path.join(here, 'page', name), path.join(folder, name));
fs.copyFileSync(path.join(here, 'package/door.js'), path.join(folder, 'door.js'));

const door = await openModules(modules);
write('list.js', `// What the library says of itself; made when the page was put together.\nexport default ${JSON.stringify(listOf(door))};\n`);
for (const edge of [192, 512]) {
    const {picture} = door.apply(drawSample(edge, edge), ['swirl --swirl-amount 200', 'fisheye --lens-power 15']);
    write(`icon-${edge}.png`, door.encode(picture, {format: 'png'}).bytes);
}

const files = fs.readdirSync(folder).filter(name => name !== 'sw.js').sort();
const hash = createHash('sha256');
for (const name of files) hash.update(name).update(fs.readFileSync(path.join(folder, name)));
const worker = fs.readFileSync(path.join(folder, 'sw.js'), 'utf8')
    .replace('@NAME@', `velmorant-${hash.digest('hex').slice(0, 16)}`)
    .replace("['@FILES@']", JSON.stringify(['./', ...files]));
write('sw.js', worker);
openToAll(folder);
