// SPDX-License-Identifier: Apache-2.0
// Makes the pictures of docs/console/ before the host itself, with the sample data:
//   CONSOLE_FOLDER=build/web node web/tests/pictures.mjs PROGRAM FOLDER
// pngquant, where it is installed, makes them a third as large.
import { spawnSync } from 'node:child_process';
import { mkdirSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { openBrowser, openPage } from './browser.mjs';
import { RealHost, samples } from './real_host.mjs';

const [program, folder] = process.argv.slice(2).map((path) => resolve(path));
mkdirSync(folder, { recursive: true });

const views = {
  find: ['#/find?query=paper', (page) => page.waitForSelector('.rows')],
  product: ['#/product/1', (page) => page.waitForSelector('.themes')],
  'price-line': ['#/product/1', async (page) => {
    await page.locator('.action button').nth(1).click();
    await page.fill('#price-PRICE', '3.85');
  }],
  catalogue: ['#/catalogue/1?user=CHLOE.MERCIER', async (page) => {
    await page.locator('.branch .twig').first().click();
    await page.waitForSelector('.branch[aria-level="2"]');
    await page.locator('.branch').nth(1).click();
    await page.waitForSelector('.detail table');
  }],
  classification: ['#/classification/unspsc?query=tools', async (page) => {
    await page.locator('a.hit').first().click();
    await page.waitForSelector('.branch[aria-level="2"]');
  }],
  groups: ['#/classification/groups', (page) => page.waitForSelector('.rows, .empty')],
  units: ['#/classification/units', (page) => page.waitForSelector('.rows')],
  prices: ['#/prices?product=1&quantity=60', (page) => page.waitForSelector('.answer .large')],
  upload: ['#/upload', async (page) => {
    await page.setInputFiles('input[type=file]', join(samples, 'products.xml'));
    await page.click('.choice .main');
    await page.waitForSelector('.mark.done');
    await page.waitForSelector('.bars');
  }],
  report: [undefined, async (page) => {
    await page.click('text=Upload: bad records are left out');
    await page.waitForFunction(() => document.querySelector('h1').textContent.includes('upload:'));
    await page.waitForSelector('.bars');
  }],
  uploads: ['#/upload', (page) => page.waitForSelector('.rows')],
};

const written = [];
const take = async (page, name, options = {}) => {
  const path = join(folder, `${name}.png`);
  await page.screenshot({ path, ...options });
  written.push(path);
};

const forms = {
  wide: { viewport: { width: 1200, height: 720 } },
  narrow: { viewport: { width: 360, height: 720 }, colorScheme: 'dark', hasTouch: true },
};

const browser = await openBrowser();
const host = new RealHost(program);
const first = new RealHost(program, { empty: true });
try {
  await host.listen();
  await first.listen();
  for (const [form, options] of Object.entries(forms)) {
    const page = await openPage(browser, options);
    await page.goto(first.entrance);
    await page.waitForSelector('.steps');
    await take(page, `first-${form}`);
    await page.goto(host.entrance);
    await page.waitForSelector('.rows');
    for (const [name, [hash, prepare]] of Object.entries(views)) {
      if (hash) await page.goto(host.address + hash);
      await page.waitForLoadState('networkidle');
      await prepare(page);
      await page.waitForTimeout(200); // colours change slowly
      await take(page, `${name}-${form}`, { fullPage: name === 'product' && form === 'wide' });
    }
  }
} finally {
  await browser.close();
  await host.end();
  await first.end();
}
for (const path of written) spawnSync('pngquant', ['--force', '--skip-if-larger', '--quality=80-98', '--output', path, '64', path]);
