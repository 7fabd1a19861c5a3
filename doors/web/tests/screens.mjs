// screens.mjs FOLDER: the pictures of docs/web.md, on a desktop, at night and on a phone. For whoever looks at them.

import path from 'node:path';

import {chooseEffect, openPage} from './browser.mjs';

const folder = process.argv[2];
const shots = [['desktop', {}, null], ['dark', {dark: true}, 'Filters'], ['phone', {width: 390, height: 844}, 'Wave']];
for (const [name, looks, title] of shots) {
    const browser = await openPage(looks);
    const {page} = browser;
    await page.waitForSelector('#wall[data-painted]');
    if (title) {
        await chooseEffect(browser, title);
        await page.waitForSelector('body[data-preview=exact]');
        await page.$eval('#divider', button => button.click());   // which may lie behind the picture
    }
    await page.evaluate(() => new Promise(done => setTimeout(done, 400)));   // colours are on their way
    await page.screenshot({path: path.join(folder, `${name}.png`)});
    await browser.close();
}
