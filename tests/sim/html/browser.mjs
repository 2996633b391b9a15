// Looks at the pages of kestrix-sim in a browser, as docs/testing.md says. Started by tools/check-pages.
//
// Usage: node browser.mjs KESTRIX-SIM EXAMPLES FOLDER [NAME]...
// FOLDER gets the documents, the pages and two pictures of each; it has the packages of package.json. With names, only
// these pages are looked at.

import { execFile } from 'node:child_process';
import { cpSync, mkdtempSync, readFileSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { cpus } from 'node:os';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';
import { DOCUMENTS } from './documents.mjs';

const [simulator, examples, folder, ...names] = process.argv.slice(2).map((each, i) => (i < 3 ? resolve(each) : each));
const load = createRequire(join(folder, 'package.json'));
const { chromium } = load('playwright-core');
const axe = readFileSync(load.resolve('axe-core/axe.min.js'), 'utf8');

const IS_TOLD = true;
const HOSTILE = '<img src=x onerror=alert(1)>.json';
// A name, the arguments, and whether the page says all that the report does, and no shorter.
const RUNS = [
  ['access-edge', 'apply edge-switch.json access-edge.json'],
  ['refusals', 'apply small-switch.json refusals.json'],
  ['three-steps', 'apply edge-switch.json shared-filter.json shared-filter-2.json shared-filter-2.json'],
  ['changed-aces', 'apply edge-switch.json access-edge.json access-edge-2.json'],
  ['type-conflict', 'apply edge-switch.json type-conflict.json'],
  ['arp-verdicts', 'apply edge-switch.json arp-verdict-1.json arp-verdict-2.json --assume vlan=opaque'],
  ['all-denied', 'apply edge-switch.json deny-all.json --drop-delay on --model'],
  ['failed-writes', 'apply edge-switch.json access-edge.json --fail-write 3 --fail-write 20'],
  ['other-registers', 'apply edge-switch.json access-edge.json --set outShadowFilter.shadowFilter[port-1].multicast=1 ' +
    '--set inShadowFilter.shadowFilter[port-1].multicast=1'],
  ['misread', 'apply edge-switch.json misread.json access-edge.json'],
  ['broken-device', 'apply broken-device.json access-edge.json'],
  ['hostile', 'apply hostile-device.json hostile.json'],
  ['hostile-errors', ['apply', 'hostile-device.json', HOSTILE, 'hostile.json']],
  ['packet', ['packet', 'edge-switch.json', 'type-conflict.json', '--interface', 'port-1', '--direction', 'ingress',
    'arp 00:00:5e:00:53:09 > ff:ff:ff:ff:ff:ff'], IS_TOLD],
  ['expectations', 'packet edge-switch.json access-edge.json --expect access-edge.expect --assume ipv4-rest=every', IS_TOLD],
  ['capture', 'packet edge-switch.json access-edge.json access-edge-2.json --interface port-1 --direction ingress ' +
    '--capture guest-traffic.pcap --fail-write 640', IS_TOLD],
  ['other-device', 'verify small-switch.json small-policy.json --dump small-switch.dump --repair', IS_TOLD],
  ['many', 'apply many-device.json many.json'],
];
const LARGE = 'many'; // Is only opened.
const LIMITS = { megabytes: 35, seconds: 20, elements: 700000 }; // Of that one, on a slow machine.
let faultCount = 0;
function fault(name, ...texts) {
  if (++faultCount <= 100) console.log(`${name}: ${texts.join(' ')}`);
}

function run(args) {
  return new Promise((done) => {
    execFile(simulator, args, { cwd: folder, maxBuffer: 1 << 30 }, (error, stdout) => done(stdout));
  });
}

async function openAll(page, areOpen) {
  await page.evaluate((open) => document.querySelectorAll('details').forEach((each) => { each.open = open; }), areOpen);
}

// Each cell of the text report is somewhere on the page. (The test of the pages in C++ looks at the places.)
async function checkCells(page, name, report) {
  const text = await page.evaluate(() => [...document.querySelectorAll('h1, h2, h3, h4, p, li, th, td, pre')]
    .map((each) => each.textContent.replace(/\s+/g, ' ').replace(/(\d),(?=\d{3}\b)/g, '$1')).join('\n'));
  const cells = report.split(/\n| {2,}|: |; |, expected |(?<=rule\[\d+\]) | (?=0x)| (?=ingress|egress)/)
    .map((each) => each.replace(/^-> |[,:]$/g, '').replace(/^\((.*)\)$/, '$1').replace(/\s+/g, ' ').trim());
  for (const each of new Set(cells)) if (!text.includes(each)) fault(name, 'only in the report:', each);
}

// Runs in the browser: texts that stand out too little from what is behind them, with their contrast. (axe-core needs
// most of a minute for this.)
function faintTexts() {
  const light = (channel) => (channel <= 10 ? channel / 3294 : ((channel / 255 + 0.055) / 1.055) ** 2.4);
  const luminance = ([red, green, blue]) => 0.2126 * light(red) + 0.7152 * light(green) + 0.0722 * light(blue);
  const numbers = (colour) => colour.match(/[\d.]+/g).map(Number);
  const behind = (node) => {
    if (!node) return [255, 255, 255];
    const colour = numbers(getComputedStyle(node).backgroundColor);
    return colour[3] === 0 ? behind(node.parentElement) : colour;
  };
  const faint = [];
  for (const node of document.body.querySelectorAll('*')) {
    if (![...node.childNodes].some((each) => each.nodeType === 3 && each.data.trim())) continue;
    const [low, high] = [numbers(getComputedStyle(node).color), behind(node)].map(luminance).sort((a, b) => a - b);
    const contrast = (high + 0.05) / (low + 0.05);
    if (contrast < 4.5) faint.push(`${node.textContent.slice(0, 40)} (${contrast.toFixed(1)})`);
  }
  return faint;
}

async function checkAccess(page, name) {
  for (const [colorScheme, width, areOpen] of [['light', 360, true], ['dark', 1280, true], ['dark', 360, false],
    ['light', 1280, false]]) {
    await page.emulateMedia({ colorScheme });
    await page.setViewportSize({ width, height: 900 });
    await openAll(page, areOpen);
    const { violations } = await page.evaluate(() => window.axe.run(
      { resultTypes: ['violations'], rules: { 'color-contrast': { enabled: false } } }));
    for (const each of new Set(await page.evaluate(faintTexts))) fault(name, colorScheme, 'is faint:', each);
    for (const { id, nodes } of violations)
      fault(name, `axe, ${colorScheme}, ${width} px, ${areOpen ? 'open' : 'closed'}:`, id, nodes[0].html.slice(0, 200));
  }
}

async function checkWidths(page, name) {
  for (const width of [360, 1920]) {
    await page.setViewportSize({ width, height: 900 });
    for (const areOpen of [false, true]) {
      await openAll(page, areOpen);
      const needed = await page.evaluate(() => document.scrollingElement.scrollWidth);
      if (needed > width) fault(name, `is ${needed} px wide at ${width} px, ${areOpen ? 'open' : 'closed'}`);
    }
    await page.emulateMedia({ colorScheme: width === 360 ? 'dark' : 'light' });
    await openAll(page, false);
    await page.screenshot({ path: join(folder, `${name}-${width}.png`), fullPage: true });
  }
}

// The keyboard opens the registers, and reaches a bit, whose meaning is then shown.
async function checkKeyboard(page, name) {
  await openAll(page, false);
  await page.evaluate(() => {
    const registers = document.querySelector('.bits').closest('details');
    for (let outer = registers.parentElement.closest('details'); outer; outer = outer.parentElement.closest('details'))
      outer.open = true;
    registers.querySelector('summary').focus();
  });
  await page.keyboard.press('Enter');
  for (let presses = 0; presses < 4; ++presses) {
    await page.keyboard.press('Tab');
    const shown = await page.evaluate(() => {
      const label = document.activeElement.matches('.bits b') && document.activeElement.getAttribute('aria-label');
      const { content, position } = getComputedStyle(document.activeElement, '::after');
      return label && position === 'fixed' && content === JSON.stringify(label);
    });
    if (shown) return;
  }
  fault(name, 'Tab reaches no register bit whose meaning is then shown');
}

// Paper has what is folded on the screen.
async function checkPrint(page, name) {
  await openAll(page, false);
  await page.emulateMedia({ media: 'print' });
  await page.evaluate(() => new Promise((done) => { requestAnimationFrame(() => requestAnimationFrame(done)); }));
  const hidden = await page.evaluate(() => [...document.querySelectorAll('details > :not(summary)')]
    .filter((each) => !each.checkVisibility() || each.getBoundingClientRect().height === 0)
    .map((each) => each.outerHTML.slice(0, 100)));
  if (hidden.length) fault(name, hidden[0], 'and', hidden.length - 1, 'more folded parts are not printed');
  const pdf = await page.pdf();
  if (pdf.length < 10000) fault(name, 'prints to', pdf.length, 'bytes');
  await page.emulateMedia({ media: 'screen' });
}

async function checkRun(browser, [name, args, isTold]) {
  const begin = Date.now();
  const words = Array.isArray(args) ? args : args.split(' ');
  const file = join(folder, `${name}.html`);
  await run([...words, '--html', file]);
  const page = await browser.newPage({ viewport: { width: 1280, height: 900 } });
  page.setDefaultTimeout(60000);
  page.on('console', (message) => fault(name, 'console:', message.text()));
  page.on('pageerror', (error) => fault(name, 'error:', error));
  page.on('request', (request) => request.url() === pathToFileURL(file).href || fault(name, 'asks for', request.url()));
  const start = Date.now();
  await page.goto(pathToFileURL(file).href);
  const seconds = (Date.now() - start) / 1000;
  const megabytes = statSync(file).size / 1e6;
  const elements = await page.evaluate(() => document.querySelectorAll('*').length);
  if (isTold) await checkCells(page, name, await run(words));
  if (name !== LARGE) {
    await page.evaluate(axe);
    await checkAccess(page, name);
    await checkWidths(page, name);
    if (!isTold && await page.$('details .bits')) await checkKeyboard(page, name);
    await checkPrint(page, name);
  } else if (megabytes > LIMITS.megabytes || seconds > LIMITS.seconds || elements > LIMITS.elements) {
    fault(name, 'is too heavy');
  }
  await page.close();
  console.log(`${name}: ${megabytes.toFixed(2)} MB, ${elements} elements, opens in ${seconds.toFixed(1)} s` +
    `, all ${((Date.now() - begin) / 1000).toFixed(1)} s`);
}

async function main() {
  cpSync(examples, folder, { recursive: true });
  for (const [name, document] of Object.entries(DOCUMENTS)) writeFileSync(join(folder, name), JSON.stringify(document));
  const profile = mkdtempSync(join(folder, 'profile-'));
  const browser = await chromium.launchPersistentContext(profile, {
    executablePath: '/usr/bin/chromium', headless: true,
    args: ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync'] });
  const left = RUNS.filter(([name]) => !names.length || names.includes(name));
  // The longest one is the last.
  left.reverse();
  await Promise.all(cpus().slice(0, 2).map(async () => {
    while (left.length) await checkRun(browser, left.shift());
  }));
  await browser.close();
  rmSync(profile, { recursive: true, force: true });
  console.log(faultCount ? `${faultCount} faults.` : 'All pages are as they should be.');
  process.exitCode = faultCount ? 1 : 0;
}

await main();
