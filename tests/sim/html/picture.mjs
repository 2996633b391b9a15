// Takes a picture of a page, down to its first filter, with the registers of that opened, for tools/picture.
// Usage: node picture.mjs PAGE PICTURE, in a folder that has playwright-core.

import { createRequire } from 'node:module';
import { resolve } from 'node:path';
import { pathToFileURL } from 'node:url';

const [page, picture] = process.argv.slice(2);
const { chromium } = createRequire(resolve('package.json'))('playwright-core');
const browser = await chromium.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox', '--disable-gpu',
  '--disable-quic', '--no-first-run', '--disable-background-networking', '--disable-component-update', '--disable-sync'] });
const view = await browser.newPage({ viewport: { width: 1200, height: 800 }, colorScheme: 'light' });
await view.goto(pathToFileURL(page).href);
await view.evaluate(() => { document.querySelector('.bits').closest('details').open = true; });
const { y, height: filter } = await view.locator('section.filter').first().boundingBox();
await view.screenshot({ path: picture, fullPage: true, clip: { x: 0, y: 0, width: 1200, height: Math.round(y + filter) + 16 } });
await browser.close();
