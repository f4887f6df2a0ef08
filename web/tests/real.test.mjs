// SPDX-License-Identifier: Apache-2.0
// The main roads of the console before the host itself, on a store with the sample data. MERCATO names the program.
import assert from 'node:assert/strict';
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, afterEach, before, beforeEach, describe, test } from 'node:test';
import { axeFindings, openBrowser, openPage } from './browser.mjs';
import { RealHost, samples } from './real_host.mjs';

const program = process.env.MERCATO;

describe('The console and its host', () => {
  let browser;
  let host;
  let page;

  before(async () => {
    browser = await openBrowser();
    host = new RealHost(program);
    await host.listen();
  });
  after(async () => {
    await browser.close();
    await host.end();
  });
  beforeEach(async () => {
    page = await openPage(browser);
    await page.goto(host.entrance);
    await page.waitForSelector('.rows');
  });
  afterEach(async () => {
    assert.deepEqual(page.faults, []);
    await page.context().close();
  });

  const open = async (hash) => {
    await page.goto(host.address + hash);
    await page.waitForLoadState('networkidle');
  };
  const text = (selector) => page.locator(selector).first().innerText();
  const change = async (title, value) => {
    await page.locator('button.value', { hasText: `Change ${title}:` }).click();
    await page.fill('.change input', value);
    await page.click('.change .main');
  };

  test('AProductIsFoundOpenedChangedAndChangedBack', async () => {
    assert.equal(await text('.found'), '277 products');
    await page.fill('#query', 'copy paper pastel blue');
    await page.waitForFunction(() => document.querySelectorAll('.rows li').length === 1);
    await page.click('.rows a');
    await page.waitForSelector('.themes');
    assert.equal(await text('h1'), 'Copy paper, A4 80 g/m² pastel blue');
    assert.equal(await page.locator('.chart').count(), 2);
    await change('Buyer', 'NOBODY.AT.ALL');
    await page.waitForSelector('.change .refusal');
    assert.equal(await text('.change .refusal'), 'The product record you are trying to insert has an invalid reference to another record');
    await page.keyboard.press('Escape');
    await change('Least quantity', 'ten');
    await page.waitForSelector('.change .refusal');
    assert.equal(await text('.change .refusal'), 'Type mismatch.');
    await page.fill('.change input', '10');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.undo p');
    assert.match(await text('.undo'), /Least quantity was –, and is 10\./);
    await page.click('.undo button');
    await page.waitForSelector('.undo p', { state: 'detached' });
    assert.match(await page.locator('button.value', { hasText: 'Change Least quantity:' }).innerText(), /–$/);
    assert.match(await text('.themes'), /Paper/); // it hangs where it hung
  });

  test('ACatalogueTellsWhatAUserMayAndWhy', async () => {
    await open('#/catalogue/1?user=CHLOE.MERCIER');
    await page.waitForSelector('.branch');
    assert.equal(await text('h1'), 'House catalogue 2026');
    await page.locator('.branch .twig').first().click();
    await page.waitForSelector('.branch[aria-level="2"]');
    await page.locator('.branch').first().click();
    await page.waitForSelector('.detail table');
    assert.equal(await text('.detail h2'), 'Office');
    assert.match(await text('.detail'), /Sees\s+no, it is not laid out/);
    await page.locator('.branch', { hasText: 'Laboratory' }).first().click();
    await page.waitForFunction(() => document.querySelector('.detail h2').textContent === 'Laboratory' && document.querySelector('.detail table'));
    assert.match(await text('.detail'), /Sees\s+yes, the node is laid out for the user\s+Orders\s+yes, by the entry that decides/);
  });

  test('CodesGroupsAndUnitsAreShown', async () => {
    await open('#/classification/unspsc');
    await page.fill('#code', 'power');
    await page.locator('a.hit', { hasText: /^3020(?!\d)/ }).click();
    await page.waitForSelector('#branch-3020.active');
    assert.match(await text('#branch-10 .amount'), /^\d+\s+products$/);
    await open('#/classification/units');
    await page.waitForSelector('.hit >> text=ream');
  });

  test('APriceLineIsRefusedChangedDeletedAndPutBack', async () => {
    await open('#/product/1');
    const lines = () => page.locator('price-lines tbody tr').allInnerTexts();
    const before = await lines();
    const price = async (value) => {
      await page.locator('.action button').first().click();
      await page.fill('#price-CURRENCYCODE', value.currency ?? 'EUR');
      await page.fill('#price-PRICE', value.price);
      await page.keyboard.press('Enter');
    };
    await price({ price: '4.5', currency: 'XYZ' });
    await page.waitForSelector('dialog.price-line .refusal');
    assert.match(await text('dialog.price-line .refusal'), /invalid reference to another record/);
    await page.keyboard.press('Escape');
    const undone = async () => {
      await page.click('.undo button');
      await page.waitForSelector('.undo p', { state: 'detached' });
      assert.deepEqual(await lines(), before);
    };
    await price({ price: '4.57' });
    await page.waitForSelector('.undo p');
    assert.match((await lines())[0], /4\.57/);
    await undone();
    await page.locator('.action button').first().click();
    await page.click('dialog.price-line >> text=Delete the line');
    await page.waitForSelector('.undo p');
    assert.equal((await lines()).length, before.length - 1);
    await undone();
    await page.click('text=Add a price line');
    await page.fill('#price-PRICE', '1');
    await page.fill('#price-QUANTITYTO', '7');
    await page.fill('#price-GROUPBY', 'SITE');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.undo p');
    assert.equal((await lines()).length, before.length + 1);
    await undone();
  });

  test('APriceIsToldInTwoCurrencies', async () => {
    await open('#/prices?product=1&quantity=60&date=2026-08-01');
    await page.waitForSelector('.answer .large');
    assert.equal(await text('.answer .large'), 'EUR\u00a03.95');
    await page.fill('input[name=currency]', 'USD');
    await page.keyboard.press('Tab');
    await page.waitForFunction(() => document.querySelector('.answer .large').textContent === 'USD\u00a04.3845'); // at 1.11
  });

  test('ADocumentIsPreviewedAndUploaded', async () => {
    await open('#/upload');
    await page.setInputFiles('input[type=file]', join(samples, 'products.xml'));
    await page.click('.choice .main');
    await page.waitForSelector('.mark.done', { timeout: 20000 });
    await page.waitForSelector('.bars');
    assert.match(await text('.bars'), /COMMODITYCODE/);
    await page.click('text=Upload: bad records are left out');
    await page.waitForFunction(() => document.querySelector('h1').textContent.startsWith('Products, upload'));
    await page.waitForSelector('.mark.done', { timeout: 20000 });
    assert.match(await text('.counts'), /read\s+277/);
    const rest = await page.request.get(new URL(await page.getAttribute('a[download]', 'href'), host.address).href);
    assert.equal(rest.status(), 200);
    assert.match(await rest.text(), /QM-BAD-001/);
  });

  test('AnUploadIsCancelledAndTheRestIsADocument', async () => {
    const records = Array.from({ length: 100000 }, (_, i) =>
      `<Product buyfrompartnumber="LONG-${i}"><PARTNUMBER>L-${i}</PARTNUMBER><PRODUCTDESCRIPTION>Long document ${i}</PRODUCTDESCRIPTION><UNIT>EA</UNIT><MULTIPLEBUYER>0</MULTIPLEBUYER></Product>`);
    await open('#/upload');
    const long = join(host.folder, 'long.xml');
    writeFileSync(long, `<Products>${records.join('')}</Products>`);
    await page.setInputFiles('input[type=file]', long);
    await page.click('.choice .main');
    await page.click('text=End the preview', { timeout: 20000 });
    await page.waitForSelector('.mark.cancelled', { timeout: 30000 });
    await page.click('text=Upload: bad records are left out');
    await page.waitForFunction(() => document.querySelector('h1').textContent.startsWith('Products, upload'));
    await page.waitForFunction(() => document.querySelector('progress')?.value > 0, undefined, { timeout: 20000 });
    await page.click('text=Cancel: what is written stays');
    await page.waitForSelector('.mark.cancelled', { timeout: 30000 });
    const rest = await page.request.get(new URL(await page.getAttribute('a[download]', 'href'), host.address).href);
    assert.match(await rest.text(), /LONG-99999/);
    const inserted = Number((await page.locator('.counts div', { hasText: 'inserted' }).locator('dd').innerText()).replaceAll(',', ''));
    assert.ok(inserted > 0 && inserted < 100000, `${inserted} were inserted`);
    await open('#/find?query=long+document');
    await page.waitForSelector('.rows');
    assert.match(await text('.found'), inserted > 1000 ? /More than 1,000/ : new RegExp(`^${inserted.toLocaleString('en-GB')} products?$`));
  });

  test('AxeFindsNothing', async () => {
    for (const hash of ['#/find', '#/product/1', '#/catalogue/1?user=CHLOE.MERCIER', '#/classification/unspsc', '#/classification/groups', '#/classification/units', '#/prices?product=1', '#/upload', '#/upload/2']) {
      await open(hash);
      assert.deepEqual(await axeFindings(page), [], hash);
    }
  });

  test('AnEmptyStoreLeadsToItsFirstProducts', async () => {
    const other = new RealHost(program, { empty: true });
    try {
      await other.listen();
      await page.goto(other.entrance);
      await page.waitForSelector('.steps');
      assert.equal(await page.locator('.steps .done').count(), 0);
      const [command] = await page.locator('command-line code').allInnerTexts();
      writeFileSync(join(other.folder, 'units.csv'), 'UNITCODE,UNITDESCRIPTION\nEA,each\n');
      other.run(...command.split(' ').slice(1));
      await page.reload();
      await page.waitForSelector('.steps .done');
      await page.locator('.steps a').last().click();
      const records = [1, 2].map((i) => `<Product buyfrompartnumber="FIRST-${i}"><PARTNUMBER>F-${i}</PARTNUMBER><PRODUCTDESCRIPTION>First ${i}</PRODUCTDESCRIPTION><UNIT>EA</UNIT><MULTIPLEBUYER>0</MULTIPLEBUYER></Product>`);
      await page.setInputFiles('input[type=file]', { name: 'first.xml', mimeType: 'text/xml', buffer: Buffer.from(`<Products>${records.join('')}</Products>`) });
      await page.click('.choice .main');
      await page.waitForSelector('.mark.done', { timeout: 20000 });
      await page.click('text=Upload: bad records are left out');
      await page.waitForFunction(() => document.querySelector('h1').textContent.startsWith('Products, upload'));
      await page.waitForSelector('.mark.done', { timeout: 20000 });
      const wayBack = await text('command-line code');
      assert.equal(wayBack, `mercato uploads undo ${new URL(page.url()).hash.split('/').at(-1)}`);
      await page.click('text=Find');
      await page.waitForFunction(() => document.querySelector('.found')?.textContent === '2 products');
      assert.match(other.run(...wayBack.split(' ').slice(1)), /0 rows restored, [2-9] deleted, 0 inserted again/);
      await page.reload();
      await page.waitForFunction(() => document.querySelector('.found')?.textContent === '0 products' || document.querySelector('.steps'));
    } finally {
      await other.end();
    }
  });

  test('TheTreeOfARetailerWithTheRightsOfAUserAndAllCodesAreReached', async (context) => {
    const data = process.env.MERCATO_DATA ?? join(samples, '../../shared/data');
    const [tree, codes] = [join(data, 'categories/retail-categories.csv'), join(data, 'unspsc/unspsc-en.csv')];
    if (!existsSync(tree) || !existsSync(codes)) return context.skip(`there is no real data at ${data}; MERCATO_DATA names its folder`);
    const other = new RealHost(program, { empty: true });
    try {
      other.run('catalog', 'load', tree, '--name', 'Retail', '--active');
      other.run('reference', 'set', 'users', 'USERID=ANN', 'ISACTIVE=1');
      other.run('rights', 'grant', 'ANN', 'Retail/Connected Home & Housewares/Office Electronics');
      other.run('rights', 'populate', 'ANN');
      const items = readFileSync(codes, 'utf8').trim().split('\n').slice(1).map((line) => {
        const [code, , ...title] = line.split(',');
        const words = title.join(',').replaceAll('"', '').replaceAll('&', '&amp;').replaceAll('<', '&lt;');
        return `<UNSPSC_ITEM><CODE>${code}</CODE><DESCRIPTION>${words}</DESCRIPTION></UNSPSC_ITEM>`;
      });
      assert.equal(items.length, 20789);
      writeFileSync(join(other.folder, 'codes.xml'), `<UNSPSC_ITEMS>${items.join('')}</UNSPSC_ITEMS>`);
      other.run('unspsc', 'load', 'codes.xml');
      await other.listen();

      await page.goto(other.entrance);
      await page.waitForSelector('.steps');
      await page.goto(`${other.address}#/catalogue/1?user=ANN`);
      await page.waitForSelector('.branch');
      assert.equal(await page.getAttribute('.branch', 'aria-setsize'), '43');
      const way = ['Connected Home & Housewares', 'Office Electronics', 'Printers, Ink & Toner', 'All Printers', 'Laser Printers', 'All-In-One Laser Printers', 'Black and White All-in-one Printers'];
      for (const [level, name] of way.entries()) {
        const branch = page.locator(`.branch[aria-level="${level + 1}"]`, { hasText: name }).first();
        for (let pages = 0; pages < 40 && !(await branch.count()); ++pages) {
          await page.locator('[role=tree]').evaluate((element) => (element.scrollTop += 300));
          await page.waitForTimeout(50);
        }
        if (level + 1 === way.length) {
          await branch.click();
          break;
        }
        await branch.locator('.twig').click();
        await page.waitForSelector(`.branch[aria-level="${level + 2}"]`); // its children have come
      }
      await page.waitForSelector('.detail table');
      assert.equal(await text('.detail h2'), way.at(-1));
      assert.match(await text('.detail'), /Sees\s+yes, the node is laid out for the user/);
      assert.ok((await page.locator('.branch').count()) < 100);

      await page.goto(`${other.address}#/classification/unspsc`);
      await page.fill('#code', 'notebook computers');
      await page.locator('a.hit', { hasText: /^43211503/ }).click();
      await page.waitForSelector('#branch-43211503.active');
      assert.equal(await page.getAttribute('#branch-43211503', 'aria-level'), '4');
    } finally {
      await other.end();
    }
  });

  test('AReaderWithTheRightsOfAUserIsOfferedNoChange', async () => {
    const other = new RealHost(program);
    try {
      const { token, options } = other.token('rita', '--role', 'reader', '--user', 'CHLOE.MERCIER');
      await other.listen(0, ...options);
      await page.goto(other.address);
      await page.fill('#token', token);
      await page.keyboard.press('Enter');
      await page.waitForSelector('.rows');
      assert.notEqual(await text('.found'), '277 products');
      await page.click('.rows a');
      await page.waitForSelector('.themes');
      assert.equal(await page.locator('main button').count(), 0);
    } finally {
      await other.end();
    }
  });

  // The last one: the token of a host without a token file ends with the process.
  test('AHostThatWasKilledIsWaitedForAndAsksForItsNewToken', async () => {
    await open('#/product/1');
    const { port } = host;
    await host.kill();
    await page.locator('button.value', { hasText: 'Change Remark:' }).click();
    await page.fill('.change textarea', 'kept');
    await page.click('.change .main');
    await page.waitForSelector('.connection p');
    await host.listen(port);
    await page.waitForSelector('.connection p', { state: 'detached', timeout: 15000 });
    await page.waitForSelector('dialog.ended[open]');
    await page.fill('dialog.ended #token', new URL(host.entrance).hash.replace('#token=', ''));
    await page.click('dialog.ended .main');
    await page.waitForSelector('dialog.ended', { state: 'detached' });
    assert.equal(await page.inputValue('.change textarea'), 'kept');
  });
});
